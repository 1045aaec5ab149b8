#include "tests/ui/roadfixture.h"

#include "src/base/runningthreads.h"
#include "src/store/journal.h"
#include "tests/support/freeport.h"
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
#include <QTcpSocket>
#include <QTest>

#include "emulator/win32/control.h"

#include <utility>

namespace {

constexpr unsigned regSz = 1;
constexpr unsigned regBinary = 3;
constexpr unsigned jobPrinting = 0x10;

QString baseAddress;

QDir detailFolder()
{
    return QDir(QCoreApplication::applicationDirPath() + "/details");
}

} // namespace

QString cloudBaseAddress()
{
    return baseAddress;
}

void setCloudBaseAddress(const QString &address)
{
    baseAddress = address;
}

Road::Road(const QString &cloudAddress, int printers, const QString &firstQueue)
{
    setCloudBaseAddress(cloudAddress);
    prepareAppearance();
    detailFolder().removeRecursively();
    detailFolder().mkpath(".");
    QFile::remove("task.db");
    Win32Emulator::reset();
    Win32Emulator::addDriver();
    for (int printer = 0; printer < printers; ++printer)
        addPrinter(printer, printer == 0 ? firstQueue.toStdString() : "queue " + std::to_string(printer));
    m_window = std::make_unique<VelMainWindow>();
    m_window->show();
    QObject::connect(&m_user, &QTimer::timeout, [this] { answerDialog(); });
    m_user.start(50);
}

void Road::addPrinter(int printer, const std::string &queue)
{
    const quint16 port = freePort();
    m_printers.push_back({queue, port});
    const std::string portName = "OXCloud00" + std::to_string(printer + 1);
    Win32Emulator::addPort(portName, "127.0.0.1", port);
    Win32Emulator::addPrinter(queue, portName);
    Win32Emulator::setPrinterData(queue, "CloudId", regSz, serial(printer).toStdString() + '\0');
    Win32Emulator::setPrinterData(queue, "CloudPort", regBinary, {char(port & 0xff), char(port >> 8)});
}

QString Road::serial(int printer)
{
    return QString::number(0x0123456789ABCDEF + printer, 16).rightJustified(16, '0').toUpper();
}

Road::~Road()
{
    m_window.reset();
    detailFolder().removeRecursively();
}

void Road::answerDialog()
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
    const auto buttons = dialog->findChildren<QPushButton *>();
    for (QPushButton *button : buttons)
        if (button->text() == "确定")
            button->click();
}

DriverItem *Road::card() const
{
    return m_window->findChild<DriverItem *>();
}

QString Road::deviceState() const
{
    return card()->findChild<QLineEdit *>("deviceState")->text();
}

void Road::print(const QString &document, const QByteArray &bytes, int printer)
{
    const unsigned job = Win32Emulator::addJob(m_printers.at(size_t(printer)).queue, document.toStdString(), "",
                                               QDateTime({2026, 11, 21}, {1, 2, 3}, Qt::UTC));
    Win32Emulator::setJobStatus(job, jobPrinting);
    const int relays = log.count("12_PrinterThread init");
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, port(printer));
    QVERIFY(socket.waitForConnected());
    socket.write(bytes);
    socket.disconnectFromHost();
    QVERIFY(socket.state() == QAbstractSocket::UnconnectedState || socket.waitForDisconnected());
    // The label is read when the relay begins; then the spooler is done with the job.
    QVERIFY(QTest::qWaitFor([&] { return log.count("12_PrinterThread init") > relays; }, 10000));
    Win32Emulator::removeJob(job);
}

QStringList Road::records(int count, int timeout, int printer)
{
    return recordsOf(serial(printer), count, timeout);
}

QStringList Road::recordsOf(const QString &cloudSerial, int count, int timeout)
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

bool Road::takesTheNextJob(const QString &goodCloudAddress)
{
    const int before = records(0, 0).size();
    setCloudBaseAddress(goodCloudAddress);
    print("next");
    return records(before + 1).mid(before) == QStringList("next;09:02:03;打印成功;5");
}

void RoadTestCase::init()
{
    m_good = std::make_unique<CloudService>();
    QVERIFY(m_good->listen());
}

void RoadTestCase::cleanup()
{
    QVERIFY(RunningThreads::endAll(std::chrono::seconds(20)));
    QCOMPARE(Win32Emulator::openHandles(), 0);
}
