#pragma once

#include <QMargins>
#include <QWidget>

/// The white panel of a card with its round corners and its soft shadow. The picture is drawn once for all panels of a
/// size and kept: a graphics effect would blur it again for every step of a spinner and while scrolling. Main thread.
class CardPanel : public QWidget
{
    Q_OBJECT

public:
    static constexpr int cornerRadius = 85; // of the upper left and the lower right corner; the others are square

    using QWidget::QWidget;

    /// What the shadow needs around the white.
    static QMargins shadowMargins();

protected:
    void paintEvent(QPaintEvent *event) override;
};
