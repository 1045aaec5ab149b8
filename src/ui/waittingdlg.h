#pragma once

#include <QDialog>

class QMovie;

/// A small round dialog with a moving picture that asks for patience. Its user makes it modal, places it, and owns it;
/// only its user can take it away: neither Escape nor a close request of the window manager hides it while it waits.
/// Main thread.
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
