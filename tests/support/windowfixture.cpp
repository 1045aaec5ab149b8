#include "tests/support/windowfixture.h"

#include "src/base/runningthreads.h"
#include "src/store/journal.h"
#include "tests/support/machine.h"
#include "tests/support/printjob.h"
#include "src/ui/appearance.h"
#include "src/ui/driveritem.h"
#include "src/ui/errordialog.h"

#include <QApplication>
#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <QTest>

#include "emulator/win32/control.h"

#include <utility>

namespace {

constexpr unsigned jobPrinting = 0x10;

/// The record without the time at its end, which must be a local time of the last minutes.
QString withoutTime(const QString &record)
{
    constexpr int day = 24 * 60 * 60; // s
    const QTime ended = QTime::fromString(record.section(';', -1), "HH:mm:ss");
    const int age = (ended.secsTo(QTime::currentTime()) + day) % day;
    return ended.isValid() && age < 300 ? record.section(';', 0, -2) : "wrong time: " + record;
}

} // namespace

WindowFixture::WindowFixture(const QString &cloudAddress, int printers, const QString &firstQueue, quint16 firstPort)
{
    setCloudBaseAddress(cloudAddress);
    prepareAppearance();
    m_details.removeRecursively();
    m_details.mkpath(".");
    QFile::remove("task.db");
    Win32Emulator::reset();
    Win32Emulator::addDriver();
    for (int printer = 0; printer < printers; ++printer) {
        know(printer == 0 ? firstQueue : QString("queue %1").arg(printer), quint16(firstPort + printer));
        const Printer &added = m_printers.back();
        addCloudPrinter(added.queue, QString("OXCloud%1").arg(printer + 1, 3, 10, QChar('0')), added.port,
                        serial(printer));
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

void WindowFixture::answerDialog()
{
    auto *dialog = qobject_cast<ErrorDialog *>(QApplication::activeModalWidget());
    if (!dialog)
        return;
    m_user.stop();
    if (const auto action = std::exchange(m_action, nullptr))
        action();
    m_user.start();
    m_messages << dialog->findChild<QLabel *>()->text();
    dialog->findChild<QPushButton *>("confirmButton")->click();
}

DriverItem *WindowFixture::card(int printer) const
{
    return m_window->findChildren<DriverItem *>().value(printer);
}

unsigned WindowFixture::send(const QString &document, const QByteArray &bytes, int printer)
{
    const QDateTime submitted({2026, 11, 21}, {1, 2, 3}, Qt::UTC);
    const std::string queue = m_printers.at(size_t(printer)).queue.toStdString();
    const unsigned job = Win32Emulator::addJob(queue, document.toStdString(), "", submitted);
    Win32Emulator::setJobStatus(job, jobPrinting);
    if (!sendJob(port(printer), bytes))
        qFatal("nobody listens on port %d", port(printer));
    return job;
}

void WindowFixture::print(const QString &document, const QByteArray &bytes, int printer)
{
    const int relays = log.count("12_PrinterThread init");
    const unsigned job = send(document, bytes, printer);
    // The label is read when the relay begins; then the spooler is done with the job.
    QVERIFY(QTest::qWaitFor([&] { return log.count("12_PrinterThread init") > relays; }, 10000));
    Win32Emulator::removeJob(job);
}

QStringList WindowFixture::recordsOf(const QString &cloudSerial, int count, int timeout)
{
    const auto all = [&] { return Journal::split(Journal::readDetails(cloudSerial)); };
    if (!QTest::qWaitFor([&] { return all().size() >= count; }, timeout))
        qWarning("too few records");
    QStringList records = all();
    for (QString &record : records)
        record = withoutTime(record);
    return records;
}

void WindowTestCase::init()
{
    // The journal has a file for each day: here midnight is hours away, and the local time is not UTC.
    qputenv("TZ", QDateTime::currentDateTimeUtc().time().hour() < 12 ? "East-6" : "West+6");
    m_good = std::make_unique<CloudService>();
    QVERIFY(m_good->listen());
}

void WindowTestCase::cleanup()
{
    QVERIFY(RunningThreads::endAll(std::chrono::seconds(20)));
    QCOMPARE(Win32Emulator::openHandles(), 0);
}
