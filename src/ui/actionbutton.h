#pragma once

#include <QWidget>

class QLabel;
class QPushButton;

/// One of a card's actions: a round picture that is pressed, and its caption below. Main thread.
class ActionButton : public QWidget
{
    Q_OBJECT

public:
    static constexpr int pictureSize = 44; // logical pixels

    /// The picture is ":/image/resource/NAME.png"; the button proper gets the object name "NAMEButton".
    ActionButton(const QString &name, const QString &caption, QWidget *parent = nullptr);

    void setCaption(const QString &caption);

    /// What is pressed; owned by this widget.
    QPushButton *button() const { return m_button; }

signals:
    void clicked(bool checked);

private:
    QPushButton *m_button;
    QLabel *m_caption;
};
