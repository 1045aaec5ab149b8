#pragma once

#include <QIcon>
#include <QWidget>

class QCircleProcess;
class QLabel;
class QPushButton;

/// One of a card's actions: a round picture that is pressed, and its caption below. Main thread.
class ActionButton : public QWidget
{
    Q_OBJECT

public:
    /// The picture is ":/image/resource/NAME.png"; the button proper gets the object name "NAMEButton".
    ActionButton(const QString &name, const QString &caption, QWidget *parent = nullptr);

    void setCaption(const QString &caption);

    /// While it is at work a ring turns in the picture's place.
    void setBusy(bool busy);

    /// What is pressed; owned by this widget.
    QPushButton *button() const { return m_button; }

signals:
    void clicked(bool checked);

private:
    void buildSpinner();

    QIcon m_picture;
    QPushButton *m_button;
    QLabel *m_caption;
    QCircleProcess *m_spinner = nullptr;
};
