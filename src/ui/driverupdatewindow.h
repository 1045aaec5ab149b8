#pragma once

#include <QMainWindow>
#include <QStringList>

class MaintenanceThread;
class QLabel;
class QProgressBar;
class QPushButton;
class QTreeWidget;

/// The main window of the driver update: the driver's versions, the cloud printers with their state, and a button for
/// each worker. While a worker runs the window cannot be closed. Main thread.
class DriverUpdateWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit DriverUpdateWindow(QWidget *parent = nullptr);

protected:
    void closeEvent(QCloseEvent *event) override;
    /// Drags the frameless window.
    void mousePressEvent(QMouseEvent *event) override;

private:
    QWidget *sideBar();
    QWidget *page();
    QPushButton *addButton(const QString &text, void (DriverUpdateWindow::*clicked)());

    /// Reads the state from the spooler and the package again and shows it.
    void refresh();
    void showPrinters();
    void setState(const QString &printer, const QString &state);

    void startUpdate();
    void startReplacement();
    void start(MaintenanceThread *worker);
    void showProgress(int done, int total, const QString &printer, const QString &failure);
    void finish(const QString &message);

    QLabel *m_versions;
    QLabel *m_meaning;
    QTreeWidget *m_printers;
    QProgressBar *m_progress;
    QWidget *m_buttons;
    QPushButton *m_update;
    QPushButton *m_replace;
    QStringList m_failures; ///< of the last run, each with its printer
};
