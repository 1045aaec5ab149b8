#pragma once

#include "store/driverinfo.h"

#include <QList>
#include <QMainWindow>
#include <QMenu>
#include <QPoint>
#include <QSystemTrayIcon>
#include <QTimer>

#include <memory>

class DriverItem;
class QLabel;
class PrinterServer;
class QVBoxLayout;
class WaittingDlg;
struct Queue;

namespace Ui {
class VelMainWindow;
}

/// The application's only main window and the owner of all that runs per printer. On construction it serves the cloud
/// printers that it finds in the spooler: a card and a capture server each. Closing it hides it in the tray; the
/// process ends through the tray's menu only. Main thread.
class VelMainWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit VelMainWindow(QWidget *parent = nullptr);
    ~VelMainWindow() override;

public slots:
    void on_activatedSysTrayIcon(QSystemTrayIcon::ActivationReason reason);

    // Any move with any button drags the frameless window, which has no title bar.
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

    void on_showMainAction();
    void on_exitAppAction();

    /// The end of an AddPrinterThread.
    void on_addPrinterResult(bool ok, const QString &message, const DriverInfo &info);
    /// The end of a removal that the sending card has begun.
    void onRemoveResult(bool ok, const QString &message, const DriverInfo &info);

    void on_pushButton_manage_clicked();
    void on_pushButton_ok_clicked();
    void on_timeout();
    void on_pushButton_4_clicked();
    void on_pushButton_Min_clicked();
    void on_pushButton_add_clicked();
    void on_pushButton_clicked();
    void on_pushButton_2_clicked();

protected:
    /// The one clean-up of old logs and journal files, five minutes after the start.
    void timerEvent(QTimerEvent *event) override;

private:
    void prepareForm();
    void buildCardList();
    void buildEmptyHint();
    void buildTray();
    void buildWaitingDialog();

    void serveExistingPrinters();
    void serveExistingPrinter(const Queue &queue);
    /// Serves a printer that has just been added, as the first of the list.
    void AddValidDriver(const DriverInfo &info, quint16 portNumber);
    void putFirstInTabOrder(const DriverItem *card);
    void updateEmptyHint();
    void startServer(const DriverInfo &info, DriverItem *card, QObject *serverParent);
    void startAdding(const DriverInfo &info);
    /// The port and the name of `added` are free in the spooler. A card that still has one of them follows its queue,
    /// which was renamed, or is removed.
    void updateStaleCards(const DriverInfo &added);
    void dragTo(const QMouseEvent *event);

    std::unique_ptr<Ui::VelMainWindow> m_ui;
    QList<PrinterServer *> m_servers;
    QVBoxLayout *m_cardLayout = nullptr;
    QWidget *m_cardContainer = nullptr;
    QLabel *m_emptyHint = nullptr; // over the list while there is no card
    QMenu m_trayMenu;
    QSystemTrayIcon *m_trayIcon = nullptr;
    std::unique_ptr<WaittingDlg> m_waitingDialog;
    QTimer m_timer; // never started: adding a printer has no time-out
    int m_cleanUpTimer = 0;
    QPoint m_dragOffset;
};
