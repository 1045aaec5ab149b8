// The exports of the helper library over the emulated machine. What the program makes of them is tested with adding a
// printer, removing a driver and stopping a service.

#include <QLibrary>
#include <QTest>

#include "quaylink/quaylink.h"
#include "emulator/win32/control.h"

namespace {

LPCWSTR wide(const QString &text)
{
    return reinterpret_cast<LPCWSTR>(text.utf16());
}

/// An export by name. The library stays loaded until the process ends.
template <typename Function>
Function *resolve(const char *name)
{
    return reinterpret_cast<Function *>(QLibrary::resolve("Quaylink.dll", name));
}

const QString portName = "OXCloud001";
const QString host = "127.0.0.1";
const QString environment = "Windows x64";
constexpr int invalid = ERROR_INVALID_PARAMETER;

} // namespace

class QuaylinkTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_add = resolve<Quaylink::AddStandardTcpPort>("AddStandardTcpPort");
        m_config = resolve<Quaylink::ConfigStandardTcpPort>("ConfigStandardTcpPort");
        m_delete = resolve<Quaylink::DeleteStandardTcpPort>("DeleteStandardTcpPort");
        m_read = resolve<Quaylink::GetConfigStandardTcpPort>("GetConfigStandardTcpPort");
        m_stop = resolve<Quaylink::StopDependentServices>("StopDependentServices");
        m_deleteDriver = resolve<Quaylink::QDeletePrinterDriver>("QDeletePrinterDriver");
        QVERIFY(m_add && m_config && m_delete && m_read && m_stop && m_deleteDriver);
    }

    void init() { Win32Emulator::reset(); }
    void cleanup() { QCOMPARE(Win32Emulator::openHandles(), 0); }

    void lifeOfAPort()
    {
        QCOMPARE(m_add(wide(portName), wide(host), 8101), 0);
        QCOMPARE(Win32Emulator::calls("XcvDataW")[0].arguments,
                 std::string(",XcvMonitor Standard TCP/IP Port AddPort protocol=1 snmp=0"));
        QCOMPARE(m_add(wide(portName), wide(host), 8102), ERROR_ALREADY_EXISTS);
        QCOMPARE(m_config(wide(portName), wide(host), 65535), 0);
        WCHAR buffer[Quaylink::hostCapacity] = {};
        DWORD number = 0;
        QCOMPARE(m_read(wide(portName), buffer, &number), 0);
        QCOMPARE(QString::fromUtf16(buffer), host);
        QCOMPARE(number, DWORD(65535));
        Win32Emulator::failCalls("XcvDataW", ERROR_INVALID_HANDLE);
        QCOMPARE(m_delete(wide(portName)), ERROR_INVALID_HANDLE);
        QCOMPARE(m_delete(wide(portName)), 0);
        QVERIFY(Win32Emulator::ports().empty());
        QCOMPARE(m_delete(wide(portName)), ERROR_UNKNOWN_PORT);
    }

    void longestTexts()
    {
        const QString name(63, 'p');
        const QString address(48, 'h');
        QCOMPARE(m_add(wide(name), wide(address), 1), 0);
        // The buffer has the agreed size; nothing may be written beyond it.
        WCHAR buffer[Quaylink::hostCapacity + 8];
        std::fill(std::begin(buffer), std::end(buffer), WCHAR('#'));
        DWORD number = 0;
        QCOMPARE(m_read(wide(name), buffer, &number), 0);
        QCOMPARE(QString::fromUtf16(buffer), address);
        QVERIFY(std::all_of(buffer + Quaylink::hostCapacity, std::end(buffer), [](WCHAR c) { return c == '#'; }));

        QCOMPARE(m_add(wide(QString(64, 'p')), wide(host), 1), invalid);
        QCOMPARE(m_add(wide(portName), wide(QString(49, 'h')), 1), invalid);
        QCOMPARE(m_config(wide(name), wide(QString(100000, 'h')), 1), invalid);
        QCOMPARE(m_delete(wide(QString(64, 'p'))), invalid);
        QCOMPARE(m_read(wide(QString(100000, 'p')), buffer, &number), invalid);
        DWORD error = 0;
        QCOMPARE(m_deleteDriver(wide(QString(260, 'd')), wide(environment), &error), FALSE);
        QCOMPARE(error, DWORD(invalid));
    }

    void missingArguments()
    {
        WCHAR buffer[Quaylink::hostCapacity] = {};
        DWORD number = 7;
        QCOMPARE(m_add(nullptr, wide(host), 1), invalid);
        QCOMPARE(m_add(wide(portName), nullptr, 1), invalid);
        QCOMPARE(m_add(wide(portName), wide(host), 65536), invalid);
        QCOMPARE(m_config(nullptr, nullptr, 0), invalid);
        QCOMPARE(m_delete(nullptr), invalid);
        QCOMPARE(m_read(nullptr, buffer, &number), invalid);
        QCOMPARE(m_read(wide(portName), nullptr, &number), invalid);
        QCOMPARE(m_read(wide(portName), buffer, nullptr), invalid);
        QCOMPARE(m_stop(nullptr, nullptr), FALSE);
        QCOMPARE(m_deleteDriver(nullptr, nullptr, nullptr), FALSE);
        QVERIFY(Win32Emulator::calls().empty());
    }

private:
    Quaylink::AddStandardTcpPort *m_add = nullptr;
    Quaylink::ConfigStandardTcpPort *m_config = nullptr;
    Quaylink::DeleteStandardTcpPort *m_delete = nullptr;
    Quaylink::GetConfigStandardTcpPort *m_read = nullptr;
    Quaylink::StopDependentServices *m_stop = nullptr;
    Quaylink::QDeletePrinterDriver *m_deleteDriver = nullptr;
};

QTEST_GUILESS_MAIN(QuaylinkTest)
#include "tst_quaylink.moc"
