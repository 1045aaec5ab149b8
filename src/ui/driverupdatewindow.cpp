#include "ui/driverupdatewindow.h"

#include "base/runningthreads.h"
#include "ui/closebutton.h"
#include "ui/errordialog.h"
#include "workflows/driverupdatethread.h"
#include "workflows/failure.h"
#include "workflows/replaceprintersthread.h"

#include <QBoxLayout>
#include <QCloseEvent>
#include <QHeaderView>
#include <QWindow>

#include <utility>

using DriverCheck::Printer;

namespace {

constexpr QSize windowSize(480, 320);

const auto familyStyle = QStringLiteral(
    "#sideBar{background-color: rgb(10, 23, 40);color: rgb(255, 255, 255);font-size:14px;padding:30px 9px;}"
    "DriverUpdateWindow{background-color: rgb(240, 243, 247);} #meaning{font-size:15px;} QTreeWidget{border:none;}"
    "QProgressBar{border:none;border-radius:2px;background-color: rgb(208, 214, 222);}"
    "QProgressBar::chunk{border-radius:2px;background-color: rgb(0, 138, 255);}"
    "#action{font-size:14px;border:none;border-radius:4px;padding:7px;background-color: rgb(10, 23, 40);"
    "color: rgb(255, 255, 255);} #action:disabled{background-color: rgb(160, 168, 178);}");

QString stateOf(const Printer &printer)
{
    const QString state = ReplacePrintersThread::isTemporary(printer.name) ? QStringLiteral("上次替换没有完成")
                          : printer.isOutdated()                           ? QStringLiteral("旧型号")
                                                                           : QStringLiteral("正常");
    return printer.jobs == 0 ? state : state + QStringLiteral("，%1个任务等待").arg(printer.jobs);
}

} // namespace

DriverUpdateWindow::DriverUpdateWindow(QWidget *parent)
    : QWidget(parent, Qt::FramelessWindowHint)
{
    setWindowTitle(QStringLiteral("Orvo驱动更新"));
    setFixedSize(windowSize);
    setAttribute(Qt::WA_StyledBackground);
    setStyleSheet(familyStyle);
    m_meaning.setObjectName(QStringLiteral("meaning"));
    m_printers.setColumnCount(2); // name and state
    m_printers.setHeaderHidden(true);
    m_printers.header()->setSectionResizeMode(QHeaderView::Stretch);
    m_printers.setRootIsDecorated(false);
    m_printers.setSelectionMode(QAbstractItemView::NoSelection);
    m_progress.setTextVisible(false);
    m_progress.setFixedHeight(4);
    (new QHBoxLayout(&m_buttons))->setContentsMargins(0, 0, 0, 0);
    m_update = addButton<DriverUpdateThread>(QStringLiteral("更新驱动"));
    m_replace = addButton<ReplacePrintersThread>(QStringLiteral("替换旧型号打印机"));
    layOut();
    refresh();
}

void DriverUpdateWindow::layOut()
{
    auto *close = new CloseButton;
    connect(close, &CloseButton::clicked, this, &DriverUpdateWindow::close);
    auto *page = new QGridLayout;
    page->setContentsMargins(16, 12, 16, 16);
    page->setVerticalSpacing(6);
    page->setColumnStretch(0, 1);
    page->addWidget(&m_versions, 0, 0);
    page->addWidget(close, 0, 1);
    page->addWidget(&m_meaning, 1, 0, 1, 2);
    page->addWidget(&m_printers, 2, 0, 1, 2);
    page->addWidget(&m_progress, 3, 0, 1, 2);
    page->addWidget(&m_buttons, 4, 0, 1, 2);

    auto *sideBar =
        new QLabel(QStringLiteral("<img src=':/image/resource/logo.png' width='61'><p>%1</p>").arg(windowTitle()));
    sideBar->setObjectName(QStringLiteral("sideBar"));
    sideBar->setAlignment(Qt::AlignTop | Qt::AlignHCenter);
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    row->addWidget(sideBar);
    row->addLayout(page, 1);
}

template <typename Worker>
QPushButton *DriverUpdateWindow::addButton(const QString &text)
{
    auto *button = new QPushButton(text);
    button->setObjectName(QStringLiteral("action"));
    connect(button, &QPushButton::clicked, this, [this] { start(new Worker); });
    m_buttons.layout()->addWidget(button);
    return button;
}

void DriverUpdateWindow::refresh()
{
    const DriverCheck::Versions versions = DriverCheck::versions();
    m_versions.setText(QStringLiteral("已安装：%1　驱动包：%2").arg(versions.installed, versions.package));
    m_meaning.setText(versions.meaning());
    m_update->setEnabled(versions.state == DriverCheck::State::PackageNewer);
    m_progress.setRange(0, 1);
    m_progress.reset();
    m_printers.clear();
    m_replace->hide();
    try {
        showPrinters(DriverCheck::queues(&Printer::isBound));
    } catch (const Failure &failure) {
        m_meaning.setText(failure.message);
    }
}

void DriverUpdateWindow::showPrinters(const QList<Printer> &printers)
{
    for (const Printer &printer : printers) {
        setState(printer.name, stateOf(printer));
        if (printer.isOutdated() || ReplacePrintersThread::isTemporary(printer.name))
            m_replace->show();
    }
}

void DriverUpdateWindow::setState(const QString &printer, const QString &state)
{
    const QList<QTreeWidgetItem *> found = m_printers.findItems(printer, Qt::MatchExactly);
    QTreeWidgetItem *item = found.isEmpty() ? new QTreeWidgetItem(&m_printers, {printer}) : found.first();
    item->setText(1, state);
    item->setToolTip(1, state);
}

void DriverUpdateWindow::start(MaintenanceThread *worker)
{
    connect(worker, &MaintenanceThread::progress, this, &DriverUpdateWindow::showProgress);
    connect(worker, &MaintenanceThread::result, this,
            [this](MaintenanceThread::Outcome, const QString &message) { finish(message); });
    m_progress.setRange(0, 0); // at work, of unknown length
    m_buttons.setEnabled(false);
    RunningThreads::start(worker);
}

void DriverUpdateWindow::showProgress(int done, int total, const QString &printer, const QString &failure)
{
    m_progress.setRange(0, total);
    m_progress.setValue(done);
    m_meaning.setText(QStringLiteral("第%1台，共%2台").arg(done).arg(total));
    setState(printer, failure.isEmpty() ? QStringLiteral("完成") : failure);
    if (!failure.isEmpty())
        m_failures.insert(printer, failure);
}

void DriverUpdateWindow::finish(const QString &message)
{
    m_buttons.setEnabled(true);
    refresh();
    const QMap<QString, QString> failures = std::exchange(m_failures, {});
    for (auto failure = failures.cbegin(); failure != failures.cend(); ++failure)
        setState(failure.key(), failure.value());
    showMessage(message.section(QLatin1Char('\n'), 0, 1)); // the message box has no room for more
}

void DriverUpdateWindow::closeEvent(QCloseEvent *event)
{
    event->setAccepted(m_buttons.isEnabled());
}

void DriverUpdateWindow::mousePressEvent(QMouseEvent *)
{
    windowHandle()->startSystemMove();
}
