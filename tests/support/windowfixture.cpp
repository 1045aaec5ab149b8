#include "tests/support/windowfixture.h"

#include "src/base/runningthreads.h"
#include "src/store/journal.h"
#include "tests/support/machine.h"
#include "tests/support/printjob.h"
#include "src/ui/appearance.h"
#include "src/ui/driveritem.h"
#include "src/ui/errordialog.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QTest>

#include "emulator/win32/control.h"

#include <algorithm>
#include <utility>

namespace {

constexpr unsigned jobPrinting = 0x10;

QDir detailFolder()
{
    return QDir(QCoreApplication::applicationDirPath() + "/details");
}

} // namespace

WindowFixture::WindowFixture(const QString &cloudAddress, int printers, const QString &firstQueue, quint16 firstPort)
{
    setCloudBaseAddress(cloudAddress);
    prepareAppearance();
    detailFolder().removeRecursively();
    detailFolder().mkpath(".");
    QFile::remove("task.db");
    Win32Emulator::reset();
    Win32Emulator::addDriver();
    for (int printer = 0; printer < printers; ++printer) {
        know(printer == 0 ? firstQueue : QString("queue %1").arg(printer), quint16(firstPort + printer));
        const QString portName = QString("OXCloud%1").arg(printer + 1, 3, 10, QChar('0'));
        addCloudPrinter(m_printers.back().queue, portName, m_printers.back().port, serial(printer));
    }
    reopen();
    QObject::connect(&m_user, &QTimer::timeout, [this] { answerDialog(); });
    m_user.start(50);
}

void WindowFixture::reopen()
{
    m_window.reset();
    m_window = std::make_unique<VelMainWindow>();
    m_window->show();
}

QString WindowFixture::serial(int printer)
{
    return QString::number(0x0123456789ABCDEF + printer, 16).rightJustified(16, '0').toUpper();
}

WindowFixture::~WindowFixture()
{
    m_window.reset();
    detailFolder().removeRecursively();
}

void WindowFixture::answerDialog()
{
    auto *dialog = qobject_cast<ErrorDialog *>(QApplication::activeModalWidget());
    if (!dialog)
        return;
    if (const auto action = std::exchange(m_action, nullptr)) {
        m_user.stop();
        action();
        m_user.start();
    }
    m_messages << dialog->findChild<QLabel *>()->text();
    confirmButton(dialog)->click();
}

QPushButton *WindowFixture::confirmButton(const QWidget *dialog)
{
    const auto buttons = dialog->findChildren<QPushButton *>();
    const auto confirms = [](const QPushButton *button) { return button->text() == "确定"; };
    return *std::find_if(buttons.begin(), buttons.end(), confirms);
}

DriverItem *WindowFixture::card() const
{
    return m_window->findChild<DriverItem *>();
}

QString WindowFixture::deviceState() const
{
    return card()->findChild<QLineEdit *>("deviceState")->text();
}

void WindowFixture::print(const QString &document, const QByteArray &bytes, int printer)
{
    const unsigned job =
        Win32Emulator::addJob(m_printers.at(size_t(printer)).queue.toStdString(), document.toStdString(), "",
                              QDateTime({2026, 11, 21}, {1, 2, 3}, Qt::UTC));
    Win32Emulator::setJobStatus(job, jobPrinting);
    const int relays = log.count("12_PrinterThread init");
    QVERIFY(sendJob(port(printer), bytes));
    // The label is read when the relay begins; then the spooler is done with the job.
    QVERIFY(QTest::qWaitFor([&] { return log.count("12_PrinterThread init") > relays; }, 10000));
    Win32Emulator::removeJob(job);
}

QStringList WindowFixture::records(int count, int timeout, int printer)
{
    return recordsOf(serial(printer), count, timeout);
}

QStringList WindowFixture::recordsOf(const QString &cloudSerial, int count, int timeout)
{
    QStringList all;
    const auto enough = [&] {
        all = Journal::split(Journal::readDetails(cloudSerial));
        return all.size() >= count;
    };
    if (!QTest::qWaitFor(enough, timeout))
        qWarning() << "too few records:" << all;
    static const QRegularExpression ending(";[0-2][0-9]:[0-5][0-9]:[0-5][0-9]$");
    for (QString &record : all)
        record = record.contains(ending) ? record.remove(ending) : "no time in " + record;
    return all;
}

bool WindowFixture::takesTheNextJob(const QString &goodCloudAddress)
{
    const int before = records(0, 0).size();
    setCloudBaseAddress(goodCloudAddress);
    print("next");
    return records(before + 1).mid(before) == QStringList("next;09:02:03;打印成功;5");
}

void WindowTestCase::init()
{
    m_good = std::make_unique<CloudService>();
    QVERIFY(m_good->listen());
}

void WindowTestCase::cleanup()
{
    QVERIFY(RunningThreads::endAll(std::chrono::seconds(20)));
    QCOMPARE(Win32Emulator::openHandles(), 0);
}
