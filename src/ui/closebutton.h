#pragma once

#include <QPushButton>

/// The round close button of the dialogs. It turns blue under the mouse and shows the keyboard focus as a ring, which a
/// border image alone does not. Main thread.
class CloseButton : public QPushButton
{
    Q_OBJECT

public:
    static constexpr int side = 16; // px

    explicit CloseButton(QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;
};
