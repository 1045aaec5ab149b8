#include <QTest>

#include <windows.h>
#include <winspool.h>

#include "win32/control.h"
#include "win32/tcpxcv.h"

namespace {

LPWSTR wide(const QString &text)
{
    return reinterpret_cast<LPWSTR>(const_cast<ushort *>(text.utf16()));
}

HANDLE openMonitor(const QString &name, DWORD access)
{
    PRINTER_DEFAULTSW defaults = {nullptr, nullptr, access};
    HANDLE handle = nullptr;
    OpenPrinterW(wide(name), &handle, &defaults);
    return handle;
}

constexpr DWORD notDelivered = 0xFFFFFFFF;

} // namespace

/// The port monitor's checks of what it is sent, which no caller of ours provokes.
class Win32PortMonitorTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        Win32Emulator::reset();
        Win32Emulator::addPort("P1", "127.0.0.1", 8101);
    }

    void checks_data();
    void checks();
    void configInfo();
    void foreignHandles();
};

void Win32PortMonitorTest::checks_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<DWORD>("access");
    QTest::addColumn<DWORD>("version");
    QTest::addColumn<DWORD>("size");
    QTest::addColumn<DWORD>("status");
    constexpr DWORD administer = SERVER_ACCESS_ADMINISTER;
    constexpr DWORD full = sizeof(PORT_DATA_1);
    QTest::newRow("taken") << "AddPort" << administer << 1U << full << DWORD(ERROR_ALREADY_EXISTS);
    QTest::newRow("configured") << "ConfigPort" << administer << 1U << full << DWORD(ERROR_SUCCESS);
    QTest::newRow("no right") << "AddPort" << DWORD(SERVER_ACCESS_ENUMERATE) << 1U << full
                              << DWORD(ERROR_ACCESS_DENIED);
    QTest::newRow("short input") << "AddPort" << administer << 1U << full - 1 << DWORD(ERROR_INVALID_DATA);
    QTest::newRow("version") << "ConfigPort" << administer << 2U << full << DWORD(ERROR_INVALID_LEVEL);
    QTest::newRow("unknown command") << "PortIsValid" << administer << 1U << full << DWORD(ERROR_INVALID_PARAMETER);
}

void Win32PortMonitorTest::checks()
{
    QFETCH(QString, command);
    QFETCH(DWORD, access);
    QFETCH(DWORD, version);
    QFETCH(DWORD, size);
    PORT_DATA_1 data = {};
    data.sztPortName[0] = 'p';
    data.sztPortName[1] = '1';
    data.dwVersion = version;
    data.dwProtocol = PROTOCOL_RAWTCP_TYPE;
    data.cbSize = sizeof data;
    const HANDLE monitor = openMonitor(",XcvMonitor Standard TCP/IP Port", access);
    DWORD needed = 0;
    DWORD status = notDelivered;
    QVERIFY(XcvDataW(monitor, wide(command), reinterpret_cast<PBYTE>(&data), size, nullptr, 0, &needed, &status));
    QTEST(status, "status");
    ClosePrinter(monitor);
}

void Win32PortMonitorTest::configInfo()
{
    CONFIG_INFO_DATA_1 question = {};
    question.dwVersion = 1;
    PORT_DATA_1 answer = {};
    const auto ask = [&](HANDLE port, PORT_DATA_1 *place, DWORD size) {
        DWORD needed = 0;
        DWORD status = notDelivered;
        XcvDataW(port, wide("GetConfigInfo"), reinterpret_cast<PBYTE>(&question), sizeof question,
                 reinterpret_cast<PBYTE>(place), size, &needed, &status);
        return status;
    };
    const HANDLE port = openMonitor(",XcvPort P1", SERVER_ACCESS_ADMINISTER);
    QCOMPARE(ask(port, nullptr, 0), DWORD(ERROR_INVALID_PARAMETER));
    QCOMPARE(ask(port, &answer, sizeof answer - 1), DWORD(ERROR_INSUFFICIENT_BUFFER));
    QCOMPARE(ask(port, &answer, sizeof answer), DWORD(ERROR_SUCCESS));
    QCOMPARE(QString::fromUtf16(answer.sztHostAddress), QString("127.0.0.1"));
    ClosePrinter(port);
    // It is asked of a port, not of the monitor.
    const HANDLE monitor = openMonitor(",XcvMonitor Standard TCP/IP Port", SERVER_ACCESS_ADMINISTER);
    QCOMPARE(ask(monitor, &answer, sizeof answer), DWORD(ERROR_INVALID_PARAMETER));
    ClosePrinter(monitor);
}

void Win32PortMonitorTest::foreignHandles()
{
    for (const char *name : {",XcvPort P2", ",XcvMonitor Local Port"}) {
        QVERIFY(!openMonitor(name, SERVER_ACCESS_ADMINISTER));
        QCOMPARE(GetLastError(), DWORD(ERROR_UNKNOWN_PORT));
    }
    Win32Emulator::addDriver();
    Win32Emulator::addPrinter("q", "P1");
    const HANDLE queue = openMonitor("q", PRINTER_ALL_ACCESS);
    DWORD needed = 0;
    DWORD status = notDelivered;
    QVERIFY(!XcvDataW(queue, wide("AddPort"), nullptr, 0, nullptr, 0, &needed, &status));
    QCOMPARE(GetLastError(), DWORD(ERROR_INVALID_HANDLE));
    ClosePrinter(queue);
}

QTEST_GUILESS_MAIN(Win32PortMonitorTest)
#include "tst_win32portmonitor.moc"
