#include "ui/driverupdatewindow.h"

#include "base/runningthreads.h"
#include "ui/closebutton.h"
#include "ui/errordialog.h"
#include "workflows/driverupdatethread.h"
#include "workflows/replaceprintersthread.h"

#include <QBoxLayout>
#include <QCloseEvent>
#include <QHeaderView>
#include <QIcon>
#include <QLabel>
#include <QProgressBar>
#include <QTreeWidget>
#include <QWindow>

namespace {

constexpr QSize windowSize(480, 320);

const auto familyStyle = QStringLiteral(
    "#sideBar{background-color: rgb(10, 23, 40);} #sideBar QLabel{font-size:14px;color:rgb(255, 255, 255);}"
    "#page{background-color: rgb(240, 243, 247);} #meaning{font-size:15px;} QTreeWidget{border:none;}"
    "QProgressBar{border:none;border-radius:2px;background-color: rgb(208, 214, 222);}"
    "QProgressBar::chunk{border-radius:2px;background-color: rgb(0, 138, 255);}"
    "#action{font-size:14px;border:none;border-radius:4px;padding:7px;background-color: rgb(10, 23, 40);"
    "color: rgb(255, 255, 255);} #action:disabled{background-color: rgb(160, 168, 178);}");

QString stateOf(const DriverCheck::CloudQueue &printer)
{
    const QString state = ReplacePrintersThread::isTemporary(printer.queue.name) ? QStringLiteral("上次替换没有完成")
                          : printer.isOutdated()                                 ? QStringLiteral("旧型号")
                                                                                 : QStringLiteral("正常");
    return printer.queue.jobs == 0 ? state : state + QStringLiteral("，%1个任务等待").arg(printer.queue.jobs);
}

} // namespace

DriverUpdateWindow::DriverUpdateWindow(QWidget *parent)
    : QMainWindow(parent)
    , m_versions(new QLabel)
    , m_meaning(new QLabel)
    , m_printers(new QTreeWidget)
    , m_progress(new QProgressBar)
    , m_buttons(new QWidget)
{
    setWindowTitle(QStringLiteral("Orvo驱动更新"));
    setWindowFlags(Qt::FramelessWindowHint);
    setFixedSize(windowSize);
    setStyleSheet(familyStyle);
    setCentralWidget(new QWidget);
    auto *row = new QHBoxLayout(centralWidget());
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    row->addWidget(sideBar());
    row->addWidget(page(), 1);
    refresh();
}

QWidget *DriverUpdateWindow::sideBar()
{
    auto *bar = new QWidget;
    bar->setObjectName(QStringLiteral("sideBar"));
    auto *logo = new QLabel;
    logo->setPixmap(QIcon(QStringLiteral(":/image/resource/logo.png")).pixmap(61, 61));
    auto *column = new QVBoxLayout(bar);
    column->addSpacing(30);
    column->addWidget(logo, 0, Qt::AlignHCenter);
    column->addWidget(new QLabel(windowTitle()));
    column->addStretch(1);
    return bar;
}

QWidget *DriverUpdateWindow::page()
{
    auto *page = new QWidget;
    page->setObjectName(QStringLiteral("page"));
    m_meaning->setObjectName(QStringLiteral("meaning"));
    m_printers->setColumnCount(2); // name and state
    m_printers->setHeaderHidden(true);
    m_printers->header()->setSectionResizeMode(QHeaderView::Stretch);
    m_printers->setRootIsDecorated(false);
    m_printers->setSelectionMode(QAbstractItemView::NoSelection);
    m_progress->setTextVisible(false);
    m_progress->setFixedHeight(4);
    auto *close = new CloseButton;
    connect(close, &CloseButton::clicked, this, &DriverUpdateWindow::close);
    (new QHBoxLayout(m_buttons))->setContentsMargins(0, 0, 0, 0);
    m_update = addButton(QStringLiteral("更新驱动"), &DriverUpdateWindow::startUpdate);
    m_replace = addButton(QStringLiteral("替换旧型号打印机"), &DriverUpdateWindow::startReplacement);

    auto *top = new QHBoxLayout;
    top->addWidget(m_versions, 1);
    top->addWidget(close);
    auto *column = new QVBoxLayout(page);
    column->setContentsMargins(16, 12, 16, 16);
    column->addLayout(top);
    for (QWidget *part : {static_cast<QWidget *>(m_meaning), static_cast<QWidget *>(m_printers),
                          static_cast<QWidget *>(m_progress), m_buttons})
        column->addWidget(part);
    return page;
}

QPushButton *DriverUpdateWindow::addButton(const QString &text, void (DriverUpdateWindow::*clicked)())
{
    auto *button = new QPushButton(text);
    button->setObjectName(QStringLiteral("action"));
    connect(button, &QPushButton::clicked, this, clicked);
    m_buttons->layout()->addWidget(button);
    return button;
}

void DriverUpdateWindow::refresh()
{
    const DriverCheck::Versions versions = DriverCheck::versions();
    m_versions->setText(QStringLiteral("已安装：%1　驱动包：%2").arg(versions.installed, versions.package));
    m_meaning->setText(versions.meaning());
    m_update->setEnabled(versions.state == DriverCheck::State::PackageNewer);
    m_progress->setRange(0, 1);
    m_progress->reset();
    showPrinters();
}

void DriverUpdateWindow::showPrinters()
{
    m_printers->clear();
    bool anyToReplace = false;
    const auto printers = DriverCheck::cloudQueues().value_or(QList<DriverCheck::CloudQueue>());
    for (const DriverCheck::CloudQueue &printer : printers) {
        const QString &name = printer.queue.name;
        setState(name, stateOf(printer));
        anyToReplace |= printer.isOutdated() || ReplacePrintersThread::isTemporary(name);
    }
    m_replace->setVisible(anyToReplace);
}

void DriverUpdateWindow::setState(const QString &printer, const QString &state)
{
    const QList<QTreeWidgetItem *> found = m_printers->findItems(printer, Qt::MatchExactly);
    QTreeWidgetItem *item = found.isEmpty() ? new QTreeWidgetItem(m_printers, {printer}) : found.first();
    item->setText(1, state);
    item->setToolTip(1, state);
}

void DriverUpdateWindow::startUpdate()
{
    start(new DriverUpdateThread);
}

void DriverUpdateWindow::startReplacement()
{
    start(new ReplacePrintersThread);
}

void DriverUpdateWindow::start(MaintenanceThread *worker)
{
    connect(worker, &MaintenanceThread::progress, this, &DriverUpdateWindow::showProgress);
    connect(worker, &MaintenanceThread::result, this,
            [this](MaintenanceThread::Outcome, const QString &message) { finish(message); });
    m_failures.clear();
    m_progress->setRange(0, 0); // at work, of unknown length
    m_buttons->setEnabled(false);
    RunningThreads::start(worker);
}

void DriverUpdateWindow::showProgress(int done, int total, const QString &printer, const QString &failure)
{
    m_progress->setRange(0, total);
    m_progress->setValue(done);
    m_meaning->setText(QStringLiteral("第%1台，共%2台").arg(done).arg(total));
    setState(printer, failure.isEmpty() ? QStringLiteral("完成") : failure);
    if (!failure.isEmpty())
        m_failures.append(QStringLiteral("“%1”：%2").arg(printer, failure));
}

void DriverUpdateWindow::finish(const QString &message)
{
    m_buttons->setEnabled(true);
    refresh();
    showMessage((QStringList(message) + m_failures).join(QLatin1Char('\n')));
}

void DriverUpdateWindow::closeEvent(QCloseEvent *event)
{
    event->setAccepted(m_buttons->isEnabled());
}

void DriverUpdateWindow::mousePressEvent(QMouseEvent *event)
{
    windowHandle()->startSystemMove();
    QMainWindow::mousePressEvent(event);
}
