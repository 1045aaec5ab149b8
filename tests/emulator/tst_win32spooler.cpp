// The emulated spooler must be as strict as the platform's, or it would hide faults of its callers.

#include <QTest>

#include <cstring>
#include <functional>

#include <windows.h>
#include <winspool.h>

#include "win32/control.h"

namespace {

const QString queueName = "前台 Café";

LPWSTR wide(const QString &text)
{
    return reinterpret_cast<LPWSTR>(const_cast<ushort *>(text.utf16()));
}

/// An open printer; closed with the object.
class OpenQueue
{
public:
    explicit OpenQueue(DWORD access)
    {
        PRINTER_DEFAULTSW defaults = {nullptr, nullptr, access};
        OpenPrinterW(wide(queueName), &m_handle, &defaults);
    }
    ~OpenQueue() { ClosePrinter(m_handle); }
    Q_DISABLE_COPY(OpenQueue)

    operator HANDLE() const { return m_handle; }

private:
    HANDLE m_handle = nullptr;
};

/// Level-2 information of a queue; empty on failure.
QByteArray information(HANDLE queue)
{
    DWORD needed = 0;
    GetPrinterW(queue, 2, nullptr, 0, &needed);
    QByteArray block(static_cast<int>(needed), 0);
    if (!GetPrinterW(queue, 2, reinterpret_cast<LPBYTE>(block.data()), needed, &needed))
        block.clear();
    return block;
}

DWORD errorOf(BOOL succeeded)
{
    return succeeded ? ERROR_SUCCESS : GetLastError();
}

using Enumerate = std::function<BOOL(LPBYTE buffer, DWORD size, LPDWORD needed, LPDWORD returned)>;

} // namespace

Q_DECLARE_METATYPE(Enumerate)

class TestWin32Spooler : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        Win32Emulator::reset();
        Win32Emulator::addDriver();
        Win32Emulator::addPort("OXCloud001", "127.0.0.1", 8101);
        Win32Emulator::addPrinter(queueName.toStdString(), "OXCloud001");
        Win32Emulator::addJob(queueName.toStdString(), "报告 𝄞.pdf", "bytes");
    }

    void twoCallProtocol_data()
    {
        QTest::addColumn<Enumerate>("enumerate");
        QTest::addColumn<QString>("firstName");
        QTest::addColumn<size_t>("nameOffset");

        const Enumerate printers = [](LPBYTE buffer, DWORD size, LPDWORD needed, LPDWORD returned) {
            return EnumPrintersW(PRINTER_ENUM_LOCAL, nullptr, 2, buffer, size, needed, returned);
        };
        const Enumerate ports = [](LPBYTE buffer, DWORD size, LPDWORD needed, LPDWORD returned) {
            return EnumPortsW(nullptr, 2, buffer, size, needed, returned);
        };
        const Enumerate drivers = [](LPBYTE buffer, DWORD size, LPDWORD needed, LPDWORD returned) {
            return EnumPrinterDriversW(nullptr, nullptr, 3, buffer, size, needed, returned);
        };
        const Enumerate jobs = [](LPBYTE buffer, DWORD size, LPDWORD needed, LPDWORD returned) {
            return EnumJobsW(OpenQueue(0), 0, 9, 2, buffer, size, needed, returned);
        };
        QTest::newRow("printers") << printers << queueName << offsetof(PRINTER_INFO_2W, pPrinterName);
        QTest::newRow("ports") << ports << "OXCloud001" << offsetof(PORT_INFO_2W, pPortName);
        QTest::newRow("drivers") << drivers << "Orvo OX-410T" << offsetof(DRIVER_INFO_3W, pName);
        QTest::newRow("jobs") << jobs << "报告 𝄞.pdf" << offsetof(JOB_INFO_2W, pDocument);
    }

    void twoCallProtocol()
    {
        QFETCH(Enumerate, enumerate);
        QFETCH(QString, firstName);
        QFETCH(size_t, nameOffset);
        DWORD needed = 0;
        DWORD returned = 0;
        QCOMPARE(errorOf(enumerate(nullptr, 0, &needed, &returned)), DWORD(ERROR_INSUFFICIENT_BUFFER));

        constexpr char guard = '\x5a';
        QByteArray block(static_cast<int>(needed) + 8, guard);
        const auto buffer = reinterpret_cast<LPBYTE>(block.data());
        const DWORD size = needed;
        QCOMPARE(errorOf(enumerate(buffer, size - 1, &needed, &returned)), DWORD(ERROR_INSUFFICIENT_BUFFER));
        QCOMPARE(block.count(guard), block.size());

        QVERIFY(enumerate(buffer, size, &needed, &returned));
        QCOMPARE(returned, DWORD(1));
        LPCWSTR name = nullptr;
        std::memcpy(&name, buffer + nameOffset, sizeof name);
        const auto *place = reinterpret_cast<const BYTE *>(name);
        QVERIFY2(place > buffer && place < buffer + size, "texts lie in the caller's buffer");
        QCOMPARE(QString::fromUtf16(name), firstName);
        QCOMPARE(block.right(8), QByteArray(8, guard));
    }

    void rightsAreChecked_data()
    {
        QTest::addColumn<DWORD>("access");
        QTest::addColumn<DWORD>("expected");
        QTest::newRow("use") << DWORD(PRINTER_ACCESS_USE) << DWORD(ERROR_ACCESS_DENIED);
        QTest::newRow("administer") << DWORD(PRINTER_ACCESS_ADMINISTER) << DWORD(ERROR_SUCCESS);
    }

    void rightsAreChecked()
    {
        QFETCH(DWORD, access);
        QFETCH(DWORD, expected);
        const OpenQueue queue(access);
        QByteArray block = information(queue);
        BYTE byte = 1;
        QCOMPARE(SetPrinterDataW(queue, wide("CloudPort"), REG_BINARY, &byte, 1), expected);
        QCOMPARE(errorOf(SetPrinterW(queue, 2, reinterpret_cast<LPBYTE>(block.data()), 0)), expected);
        QCOMPARE(errorOf(SetPrinterW(queue, 0, nullptr, PRINTER_CONTROL_PURGE)), expected);
        QCOMPARE(errorOf(DeletePrinter(queue)), expected);
    }

    void deletionWaitsForTheJobs()
    {
        const OpenQueue queue(PRINTER_ALL_ACCESS);
        QVERIFY(DeletePrinter(queue));
        const QByteArray block = information(queue);
        const auto *info = reinterpret_cast<const PRINTER_INFO_2W *>(block.constData());
        QCOMPARE(info->cJobs, DWORD(1));
        QCOMPARE(info->Status, DWORD(PRINTER_STATUS_PENDING_DELETION));
        QVERIFY(SetPrinterW(queue, 0, nullptr, PRINTER_CONTROL_PURGE));
        QVERIFY(information(queue).isEmpty());
        QCOMPARE(GetLastError(), DWORD(ERROR_PRINTER_DELETED));
    }
};

QTEST_GUILESS_MAIN(TestWin32Spooler)

#include "tst_win32spooler.moc"
