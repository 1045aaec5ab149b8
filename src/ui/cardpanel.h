#pragma once

#include <QMargins>
#include <QWidget>

/// The white panel of a card with its round corners and soft shadow. All panels of a size share one cached picture: a
/// graphics effect would blur the card again at every step of a spinner and while scrolling. Main thread.
class CardPanel : public QWidget
{
    Q_OBJECT

public:
    static constexpr int cornerRadius = 85; // of the upper left and the lower right corner; the others are square

    using QWidget::QWidget;

    /// The space that the shadow needs around the white panel.
    static QMargins shadowMargins();

protected:
    void paintEvent(QPaintEvent *event) override;
};
