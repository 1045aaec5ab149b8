#pragma once

#include "workflows/drivercheck.h"

#include <QLabel>
#include <QMap>
#include <QProgressBar>
#include <QTreeWidget>
#include <QWidget>

class MaintenanceThread;
class QPushButton;

/// The main window of the driver update: the driver's versions, the cloud printers with their state, and a button for
/// each worker. While a worker runs the window cannot be closed, so a log-off waits for it. Main thread.
class DriverUpdateWindow : public QWidget
{
    Q_OBJECT

public:
    explicit DriverUpdateWindow(QWidget *parent = nullptr);

protected:
    void closeEvent(QCloseEvent *event) override;
    /// Drags the frameless window.
    void mousePressEvent(QMouseEvent *event) override;

private:
    void layOut();
    template <typename Worker>
    QPushButton *addButton(const QString &text);

    /// Reads the state from the spooler and the package again and shows it.
    void refresh();
    void showPrinters(const QList<DriverCheck::Printer> &printers);
    void setState(const QString &printer, const QString &state);

    void start(MaintenanceThread *worker);
    void showProgress(int done, int total, const QString &printer, const QString &failure);
    void finish(const QString &message);

    QMap<QString, QString> m_failures; // of the worker that runs, by printer
    QLabel m_versions;
    QLabel m_meaning;
    QTreeWidget m_printers;
    QProgressBar m_progress;
    QWidget m_buttons; // disabled while a worker runs
    QPushButton *m_update = nullptr;
    QPushButton *m_replace = nullptr;
};
