#include "ui/velmainwindow.h"

#include "base/diagnosticlog.h"
#include "base/runningthreads.h"
#include "capture/printerserver.h"
#include "spooler/cprinter.h"
#include "store/cloudprinter.h"
#include "store/journal.h"
#include "store/printerstore.h"
#include "ui/appearance.h"
#include "ui/driveritem.h"
#include "ui/errordialog.h"
#include "ui/waittingdlg.h"
#include "ui_velmainwindow.h"
#include "workflows/addprinterthread.h"

#include <QCoreApplication>
#include <QDebug>
#include <QHostAddress>
#include <QLabel>
#include <QMessageBox>
#include <QMouseEvent>
#include <QTimerEvent>
#include <QVBoxLayout>

#include <chrono>

using namespace std::chrono_literals;

namespace {

constexpr auto cleanUpDelay = 5min;
constexpr int logRetention = 5; // days

const auto otherStyle = QStringLiteral(
    "QPushButton{background-color: rgba(255, 255, 255,0);border:none;font-size : 14px;color:rgb(255, 255, "
    "255);}QPushButton:hover{background-color: rgba(0, 138, 255, 51);border:none;color:rgb(255, 255, 255);}");
const auto selectedStyle = QStringLiteral(
    "QPushButton{background-color: rgba(0, 138, 255,140);border:none;font-size : 14px;color:rgb(255, 255, 255);}");

// The items' own box leaves room for the icons and for the selected item's border.
const auto trayMenuStyle =
    QStringLiteral("QMenu::item:selected {background:rgba(82,130,164,1);border:1px solid rgba(82,130,164,1);}"
                   "QMenu{background-color:white;border:1px solid rgb(208, 214, 222);padding:4px;}"
                   "QMenu::item{padding:5px 24px 5px 8px;border:1px solid transparent;color:black;}"
                   "QMenu::item:selected{color:white;}"
                   "QMenu::icon{padding-left:8px;}"
                   "QMenu::separator{height:1px;background-color:rgb(208, 214, 222);margin:4px 8px;}");

/// Moves the letters of a label closer together if its text is a little wider than the label.
void tightenToFit(QLabel *label)
{
    label->ensurePolished();
    const QString text = label->text();
    const int excess = label->fontMetrics().horizontalAdvance(text) - label->contentsRect().width();
    if (excess <= 0)
        return;
    QFont font = label->font();
    font.setLetterSpacing(QFont::AbsoluteSpacing, -double(excess + 1) / text.size());
    label->setFont(font);
}

/// Designer's pixmaps ignore the "@2x" files; QIcon does not.
void showPicture(QLabel *label, const QString &path)
{
    label->setPixmap(QIcon(path).pixmap(label->size()));
}

} // namespace

VelMainWindow::VelMainWindow(QWidget *parent)
    : QMainWindow(parent)
    , m_ui(new Ui::VelMainWindow)
{
    m_ui->setupUi(this);
    setWindowFlags(Qt::FramelessWindowHint);
    setFixedSize(size());
    prepareForm();
    buildCardList();
    serveExistingPrinters();
    buildTray();
    m_cleanUpTimer = startTimer(cleanUpDelay, Qt::CoarseTimer);
    buildWaitingDialog();
}

VelMainWindow::~VelMainWindow() = default;

void VelMainWindow::prepareForm()
{
    on_pushButton_manage_clicked();
    showPicture(m_ui->label_2, QStringLiteral(":/image/resource/logo.png"));
    showPicture(m_ui->label_3, QStringLiteral(":/image/resource/guid.png"));
    tightenToFit(m_ui->label_ver);
    const auto buttons = findChildren<QPushButton *>();
    for (QPushButton *button : buttons) {
        button->setAutoDefault(true); // Enter presses it
        if (button != m_ui->pushButton_ok)
            button->setFocusPolicy(Qt::TabFocus);
    }
    connect(m_ui->lineEdit_name, &QLineEdit::returnPressed, m_ui->pushButton_ok, &QPushButton::click);
    connect(m_ui->lineEdit_num, &QLineEdit::returnPressed, m_ui->pushButton_ok, &QPushButton::click);
}

void VelMainWindow::buildCardList()
{
    m_cardContainer = new QWidget;
    m_cardContainer->setObjectName(QStringLiteral("cards"));
    m_cardContainer->setStyleSheet(QStringLiteral("background-color:transparent;border:none"));
    m_cardLayout = new QVBoxLayout(m_cardContainer);
    m_cardLayout->setContentsMargins(0, 0, 0, 0);
    m_cardLayout->setSpacing(4); // the cards' shadows keep them apart
    m_ui->scrollArea->setWidget(m_cardContainer);
    m_ui->scrollArea->setWidgetResizable(true);
    m_ui->scrollArea->setStyleSheet(m_ui->scrollArea->styleSheet() + slimScrollBar);
    buildEmptyHint();
}

void VelMainWindow::buildEmptyHint()
{
    m_emptyHint = new QLabel(QStringLiteral("您还没有打印机，请点击“<a href=\"add\" style=\"color:rgb(0, 138, 255)\">"
                                            "添加打印机</a>”开始使用"),
                             m_ui->groupBox_2);
    m_emptyHint->setObjectName(QStringLiteral("emptyHint"));
    m_emptyHint->setStyleSheet(QStringLiteral("font-size : 15px;background-color: rgba(255, 255, 255,0);"));
    m_emptyHint->setTextInteractionFlags(Qt::LinksAccessibleByMouse | Qt::LinksAccessibleByKeyboard);
    connect(m_emptyHint, &QLabel::linkActivated, this, &VelMainWindow::on_pushButton_add_clicked);
    m_emptyHint->adjustSize();
    m_emptyHint->move(m_ui->scrollArea->geometry().center() - m_emptyHint->rect().center());
}

/// Call it after a card was added or removed.
void VelMainWindow::updateEmptyHint()
{
    m_emptyHint->setVisible(!m_cardLayout->itemAt(0)->widget()); // only the stretch is left
}

void VelMainWindow::buildTray()
{
    const QIcon programIcon(QStringLiteral(":/printerid/resource/orvoIcon.ico"));
    m_trayIcon = new QSystemTrayIcon(this);
    m_trayMenu.addAction(programIcon, QStringLiteral("显示主界面"), this, &VelMainWindow::on_showMainAction);
    m_trayMenu.addSeparator();
    m_trayMenu.addAction(QIcon(QStringLiteral(":/printerid/resource/close.png")), QStringLiteral("退出"), this,
                         &VelMainWindow::on_exitAppAction);
    m_trayMenu.setStyleSheet(trayMenuStyle);
    m_trayIcon->setContextMenu(&m_trayMenu);

    m_trayIcon->setIcon(programIcon);
    m_trayIcon->setToolTip(QStringLiteral("Veltra云驱动管家"));
    connect(m_trayIcon, &QSystemTrayIcon::activated, this, &VelMainWindow::on_activatedSysTrayIcon);
    m_trayIcon->setVisible(true);
}

void VelMainWindow::buildWaitingDialog()
{
    m_waitingDialog = std::make_unique<WaittingDlg>();
    m_waitingDialog->setWindowModality(Qt::ApplicationModal);
    connect(&m_timer, &QTimer::timeout, this, &VelMainWindow::on_timeout);
}

void VelMainWindow::serveExistingPrinters()
{
    QList<Queue> queues;
    CPrinter().EnumLocalPrinters(queues);
    for (const Queue &queue : qAsConst(queues)) {
        qDebug() << "::" << queue.driver;
        if (CloudPrinter::isCloudQueue(queue.driver, queue.port))
            serveExistingPrinter(queue);
    }
    m_cardLayout->addStretch(1);
    updateEmptyHint();

    // Loading opens the store; which printers are served is decided by the spooler alone.
    QList<DriverInfo> records;
    PrinterStore::loadPrinters(records);
}

void VelMainWindow::serveExistingPrinter(const Queue &queue)
{
    CPrinter printer;
    DriverInfo info;
    info.driverName = queue.driver;
    info.portName = queue.port;
    info.printerName = queue.name;
    QString host;
    unsigned short portNumber = 0;
    const int result = printer.GetPortInfo(info.portName, host, portNumber);
    qDebug() << "GetPortInfo" << result << host << portNumber;
    printer.GetCloudPrinterId(info.printerName, info.cloudSn);
    if (!printer.GetPrinterPortNum(info.printerName, info.portNum)) {
        qDebug() << QStringLiteral("GetPrinterPortNum name: %1, port: %2 failed")
                        .arg(info.printerName, QString::number(info.portNum));
        return;
    }
    auto *card = new DriverItem(info, m_cardContainer);
    m_cardLayout->addWidget(card);
    startServer(info, card, this);
}

void VelMainWindow::AddValidDriver(const DriverInfo &info, quint16 portNumber)
{
    qDebug() << "AddValidDriver " << info.printerName << info.cloudSn << info.portName << portNumber;
    CPrinter printer;
    Queue queue;
    if (!printer.GetCloudPrinterInfo(info.printerName, queue) || !CloudPrinter::isCloudQueue(queue.driver, queue.port))
        return;
    QString id;
    printer.GetCloudPrinterId(info.printerName, id);
    qDebug() << QStringLiteral("AddValidDriver driver name: %1, id: %2").arg(queue.driver, id);

    DriverInfo served = info;
    served.portNum = portNumber;
    auto *card = new DriverItem(served, m_cardContainer);
    m_cardLayout->insertWidget(0, card);
    putFirstInTabOrder(card);
    updateEmptyHint();
    // Unlike those found at start-up this server belongs to its card and is destroyed with it.
    startServer(served, card, card);
}

/// The tab order follows the positions of the cards, not the order of their creation.
void VelMainWindow::putFirstInTabOrder(const DriverItem *card)
{
    QWidget *previous = m_ui->scrollArea;
    const auto parts = card->findChildren<QWidget *>();
    for (QWidget *part : parts) {
        if (part->focusPolicy() == Qt::NoFocus)
            continue;
        setTabOrder(previous, part);
        previous = part;
    }
}

void VelMainWindow::startServer(const DriverInfo &info, DriverItem *card, QObject *serverParent)
{
    auto *server = new PrinterServer(info, serverParent);
    connect(server, &PrinterServer::cloudResule, card, &DriverItem::onCloudResut);
    connect(card, &DriverItem::driverInfoChanged, server, &PrinterServer::onDriverInfoChanged);
    connect(card, &DriverItem::portBusy, server, &PrinterServer::on_PortBusy);
    connect(card, &DriverItem::removeResult, this, &VelMainWindow::onRemoveResult);
    connect(card, &DriverItem::removeResult, server,
            [this, server](bool ok, const QString &, const DriverInfo &removed) {
                if (ok)
                    server->stopListening(m_servers, removed);
            });
    m_servers.append(server);
    if (server->listen(QHostAddress(CloudPrinter::localAddress), info.portNum))
        return;
    qCritical("listen ip: %s port: %d, failed", qUtf8Printable(CloudPrinter::localAddress), info.portNum);
    qCritical() << server->errorString();
}

void VelMainWindow::on_pushButton_ok_clicked()
{
    const QString serial = m_ui->lineEdit_num->text().toUpper();
    if (serial.isEmpty()) {
        showMessage(QStringLiteral("请输入云序号!"));
        return;
    }
    qDebug() << serial;
    if (!CloudPrinter::isSerial(serial)) {
        showMessage(QStringLiteral("云序号输入错误!"));
        return;
    }
    const QString name = m_ui->lineEdit_name->text();
    if (name.isEmpty()) {
        showMessage(QStringLiteral("请输入打印机名称!"));
        return;
    }
    DriverInfo info;
    info.printerName = name;
    info.cloudSn = serial;
    startAdding(info);
}

void VelMainWindow::startAdding(const DriverInfo &info)
{
    auto *thread = new AddPrinterThread(info);
    connect(thread, &AddPrinterThread::addResult, this, &VelMainWindow::on_addPrinterResult);
    // The worker waits: the new queue must not print to the server of a printer that was deleted in Windows.
    connect(thread, &AddPrinterThread::aboutToCreateQueue, this, &VelMainWindow::updateStaleCards,
            Qt::BlockingQueuedConnection);
    RunningThreads::start(thread);
    m_waitingDialog->move(geometry().center() - m_waitingDialog->rect().center());
    m_waitingDialog->start();
}

void VelMainWindow::updateStaleCards(const DriverInfo &added)
{
    const auto cards = m_cardContainer->findChildren<DriverItem *>();
    for (DriverItem *card : cards)
        card->updateIfStale(added);
}

void VelMainWindow::on_addPrinterResult(bool ok, const QString &message, const DriverInfo &info)
{
    m_waitingDialog->stop();
    m_timer.stop();
    if (!ok) {
        showMessage(message);
        return;
    }
    showMessage(QStringLiteral("添加成功"));
    AddValidDriver(info, info.portNum);
    PrinterStore::insertPrinter(info);
}

void VelMainWindow::onRemoveResult(bool ok, const QString &message, const DriverInfo &info)
{
    if (!ok) {
        QMessageBox box(QMessageBox::Warning, QStringLiteral("错误"), message, QMessageBox::Close, this);
        box.setButtonText(QMessageBox::Close, QStringLiteral("关闭"));
        box.exec();
        return;
    }
    if (auto *card = qobject_cast<DriverItem *>(sender())) {
        m_cardLayout->removeWidget(card);
        card->deleteLater();
        updateEmptyHint();
    }
    PrinterStore::deletePrinter(info.printerName);
}

void VelMainWindow::on_exitAppAction()
{
    QMessageBox question(QMessageBox::Warning, QStringLiteral("注意"),
                         QStringLiteral("关闭后将无法进行云打印，确定关闭？"), QMessageBox::Yes | QMessageBox::Cancel,
                         this, Qt::Dialog | Qt::MSWindowsFixedSizeDialogHint);
    question.setButtonText(QMessageBox::Cancel, QStringLiteral("取消"));
    question.setButtonText(QMessageBox::Yes, QStringLiteral("确定"));
    if (question.exec() != QMessageBox::Yes)
        return;
    m_trayIcon->hide();
    QCoreApplication::exit(0);
}

void VelMainWindow::on_pushButton_manage_clicked()
{
    m_ui->pushButton_manage->setStyleSheet(selectedStyle);
    m_ui->pushButton_add->setStyleSheet(otherStyle);
    m_ui->stackedWidget->setCurrentWidget(m_ui->devlist);
    m_ui->scrollArea->setFocus();
}

void VelMainWindow::on_pushButton_add_clicked()
{
    m_ui->pushButton_add->setStyleSheet(selectedStyle);
    m_ui->pushButton_manage->setStyleSheet(otherStyle);
    m_ui->stackedWidget->setCurrentWidget(m_ui->addprinter);
    m_ui->lineEdit_name->setFocus();
}

void VelMainWindow::on_pushButton_4_clicked()
{
    hide();
}

void VelMainWindow::on_pushButton_clicked()
{
    hide();
}

void VelMainWindow::on_pushButton_Min_clicked()
{
    showMinimized();
}

void VelMainWindow::on_pushButton_2_clicked()
{
    showMinimized();
}

void VelMainWindow::on_activatedSysTrayIcon(QSystemTrayIcon::ActivationReason reason)
{
    if (reason != QSystemTrayIcon::DoubleClick)
        return;
    showNormal();
    activateWindow();
}

void VelMainWindow::on_showMainAction()
{
    showNormal();
    raise();
    activateWindow();
}

void VelMainWindow::mousePressEvent(QMouseEvent *event)
{
    m_dragOffset = event->globalPos() - pos();
    QMainWindow::mousePressEvent(event);
}

void VelMainWindow::mouseMoveEvent(QMouseEvent *event)
{
    dragTo(event);
    QMainWindow::mouseMoveEvent(event);
}

void VelMainWindow::mouseReleaseEvent(QMouseEvent *event)
{
    dragTo(event);
    QMainWindow::mouseReleaseEvent(event);
}

void VelMainWindow::dragTo(const QMouseEvent *event)
{
    move(event->globalPos() - m_dragOffset);
}

void VelMainWindow::timerEvent(QTimerEvent *event)
{
    QMainWindow::timerEvent(event);
    if (event->timerId() != m_cleanUpTimer)
        return;
    LogFileManage(logRetention);
    Journal::clearOldDetails();
    qDebug() << "删除旧日志";
    killTimer(m_cleanUpTimer);
}

void VelMainWindow::on_timeout()
{
    m_timer.stop();
    m_waitingDialog->stop();
}
