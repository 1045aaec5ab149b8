#pragma once

#include <QDialog>

class QMovie;

/// A small round dialog with an animated busy indicator. The caller owns it, makes it modal, places it, and stops it:
/// while it waits, neither Escape nor a close request of the window manager hides it. Main thread.
class WaittingDlg : public QDialog
{
    Q_OBJECT

public:
    explicit WaittingDlg(QWidget *parent = nullptr);

    void start();
    void stop();

    void reject() override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QMovie *m_movie;
};
