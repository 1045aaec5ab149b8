#pragma once

#include <QIcon>
#include <QWidget>

class QCircleProcess;
class QLabel;
class QPushButton;

/// One of a card's actions: a round button with its caption below. Main thread.
class ActionButton : public QWidget
{
    Q_OBJECT

public:
    /// The button shows ":/image/resource/NAME.png" and has the object name "NAMEButton".
    ActionButton(const QString &name, const QString &caption, QWidget *parent = nullptr);

    void setCaption(const QString &caption);

    /// While busy a spinner replaces the picture.
    void setBusy(bool busy);

    /// The button itself; owned by this widget.
    QPushButton *button() const { return m_button; }

signals:
    void clicked(bool checked);

private:
    QCircleProcess *buildSpinner() const;

    QIcon m_picture;
    QPushButton *m_button;
    QLabel *m_caption;
    QCircleProcess *m_spinner = nullptr; // built on first use: most actions are never busy
};
