#include <QDateTime>
#include <QTest>

#include <cstring>
#include <functional>
#include <thread>

#include <windows.h>
#include <winspool.h>

#include "win32/control.h"

namespace {

LPWSTR wide(const QString &text)
{
    return reinterpret_cast<LPWSTR>(const_cast<ushort *>(text.utf16()));
}

QString text(LPCWSTR wideText)
{
    return QString::fromUtf16(wideText);
}

/// An open printer; closed with the object.
class OpenQueue
{
public:
    explicit OpenQueue(const QString &name, DWORD access = PRINTER_ALL_ACCESS)
    {
        PRINTER_DEFAULTSW defaults = {nullptr, nullptr, access};
        OpenPrinterW(wide(name), &m_handle, &defaults);
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

PRINTER_INFO_2W &printerInfo(QByteArray &block)
{
    return *reinterpret_cast<PRINTER_INFO_2W *>(block.data());
}

bool rename(HANDLE queue, const QString &name)
{
    QByteArray block = information(queue);
    printerInfo(block).pPrinterName = wide(name);
    return SetPrinterW(queue, 2, reinterpret_cast<LPBYTE>(block.data()), 0);
}

DWORD openError(const QString &name)
{
    HANDLE handle = nullptr;
    SetLastError(0);
    if (OpenPrinterW(wide(name), &handle, nullptr))
        ClosePrinter(handle);
    return GetLastError();
}

using Enumerate = std::function<BOOL(LPBYTE buffer, DWORD size, LPDWORD needed, LPDWORD returned)>;

} // namespace

Q_DECLARE_METATYPE(Enumerate)

class TestWin32Spooler : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void namesCompareWithoutCase();
    void badArgumentsAreRefused();
    void twoCallProtocol_data();
    void twoCallProtocol();
    void nothingToEnumerate();
    void rightsAreChecked_data();
    void rightsAreChecked();
    void printerDataKeepsItsBytes_data();
    void printerDataKeepsItsBytes();
    void renaming();
    void deletionWaitsForTheJobs();
    void jobsByPosition();
    void driversByEnvironment();
    void faultsTakeTheirTurn();
    void machineChangesBetweenTwoCalls();
    void callsAreRecorded();
    void lastErrorIsPerThread();
};

void TestWin32Spooler::init()
{
    Win32Emulator::reset();
    Win32Emulator::addDriver();
    Win32Emulator::addPort("OXCloud001", "127.0.0.1", 8101);
    Win32Emulator::addPrinter("前台 Café", "OXCloud001");
}

void TestWin32Spooler::namesCompareWithoutCase()
{
    QCOMPARE(openError("前台 CAFÉ"), DWORD(ERROR_SUCCESS));
    QCOMPARE(openError("前台 Cafe"), DWORD(ERROR_INVALID_PRINTER_NAME));
    QCOMPARE(openError(""), DWORD(ERROR_INVALID_PRINTER_NAME));
    QVERIFY_EXCEPTION_THROWN(Win32Emulator::addPrinter("前台 cafÉ", "OXCloud001"), std::runtime_error);
    QVERIFY_EXCEPTION_THROWN(Win32Emulator::addPort("OXCLOUD001", "127.0.0.1", 8102), std::runtime_error);
}

void TestWin32Spooler::badArgumentsAreRefused()
{
    DWORD needed = 0;
    const OpenQueue queue("前台 Café");
    QVERIFY(!OpenPrinterW(wide("前台 Café"), nullptr, nullptr));
    QCOMPARE(GetLastError(), DWORD(ERROR_INVALID_PARAMETER));
    QVERIFY(!GetPrinterW(queue, 2, nullptr, 0, nullptr));
    QCOMPARE(GetLastError(), DWORD(ERROR_INVALID_PARAMETER));
    QVERIFY(!GetPrinterW(queue, 2, nullptr, 10000, &needed));
    QCOMPARE(GetLastError(), DWORD(ERROR_INVALID_USER_BUFFER));
    QVERIFY(!SetPrinterW(queue, 2, nullptr, 0));
    QCOMPARE(GetLastError(), DWORD(ERROR_INVALID_PARAMETER));
    QCOMPARE(SetPrinterDataW(queue, nullptr, REG_SZ, nullptr, 0), DWORD(ERROR_INVALID_PARAMETER));
    QCOMPARE(GetPrinterDataW(queue, nullptr, nullptr, nullptr, 0, &needed), DWORD(ERROR_FILE_NOT_FOUND));
    QVERIFY(!EnumPortsW(nullptr, 2, nullptr, 0, &needed, nullptr));
    QVERIFY(!EnumPortsW(nullptr, 1, nullptr, 0, &needed, &needed));
    QCOMPARE(GetLastError(), DWORD(ERROR_INVALID_LEVEL));

    HANDLE server = nullptr;
    QVERIFY(OpenPrinterW(nullptr, &server, nullptr));
    QVERIFY(!GetPrinterW(server, 2, nullptr, 0, &needed));
    QCOMPARE(GetLastError(), DWORD(ERROR_INVALID_HANDLE));
    QVERIFY(ClosePrinter(server));
    QVERIFY(!ClosePrinter(server));
    QCOMPARE(GetLastError(), DWORD(ERROR_INVALID_HANDLE));
    QCOMPARE(GetPrinterDataW(server, wide("CloudId"), nullptr, nullptr, 0, &needed), DWORD(ERROR_INVALID_HANDLE));
    QCOMPARE(Win32Emulator::openHandles(), 1);
}

void TestWin32Spooler::twoCallProtocol_data()
{
    QTest::addColumn<Enumerate>("enumerate");
    QTest::addColumn<QString>("firstName");
    QTest::addColumn<int>("nameOffset");
    QTest::addColumn<DWORD>("count");

    const Enumerate printer = [](LPBYTE buffer, DWORD size, LPDWORD needed, LPDWORD returned) {
        *returned = 1;
        return GetPrinterW(OpenQueue("前台 Café", 0), 2, buffer, size, needed);
    };
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
        return EnumJobsW(OpenQueue("前台 Café", 0), 0, 9, 2, buffer, size, needed, returned);
    };
    const auto offset = [](std::size_t bytes) { return static_cast<int>(bytes); };
    QTest::newRow("printer") << printer << "前台 Café" << offset(offsetof(PRINTER_INFO_2W, pPrinterName)) << DWORD(1);
    QTest::newRow("printers") << printers << "前台 Café" << offset(offsetof(PRINTER_INFO_2W, pPrinterName)) << DWORD(2);
    QTest::newRow("ports") << ports << "OXCloud001" << offset(offsetof(PORT_INFO_2W, pPortName)) << DWORD(1);
    QTest::newRow("drivers") << drivers << "Orvo OX-410T" << offset(offsetof(DRIVER_INFO_3W, pName)) << DWORD(1);
    QTest::newRow("jobs") << jobs << "报告 𝄞.pdf" << offset(offsetof(JOB_INFO_2W, pDocument)) << DWORD(2);
}

void TestWin32Spooler::twoCallProtocol()
{
    QFETCH(Enumerate, enumerate);
    QFETCH(QString, firstName);
    QFETCH(int, nameOffset);
    QFETCH(DWORD, count);
    Win32Emulator::addPrinter("b", "OXCloud001");
    Win32Emulator::addJob("前台 Café", "报告 𝄞.pdf", "bytes");
    Win32Emulator::addJob("前台 Café", "two", "bytes");

    DWORD needed = 0;
    DWORD returned = 0;
    QVERIFY(!enumerate(nullptr, 0, &needed, &returned));
    QCOMPARE(GetLastError(), DWORD(ERROR_INSUFFICIENT_BUFFER));
    QVERIFY(needed > 0);

    constexpr char guard = '\x5a';
    QByteArray block(static_cast<int>(needed) + 8, guard);
    const auto buffer = reinterpret_cast<LPBYTE>(block.data());
    const DWORD size = needed;
    QVERIFY(!enumerate(buffer, size - 1, &needed, &returned));
    QCOMPARE(GetLastError(), DWORD(ERROR_INSUFFICIENT_BUFFER));
    QCOMPARE(block.count(guard), block.size());

    QVERIFY(enumerate(buffer, size, &needed, &returned));
    QCOMPARE(needed, size);
    QCOMPARE(returned, count);
    LPCWSTR name = nullptr;
    std::memcpy(&name, block.constData() + nameOffset, sizeof name);
    const auto *place = reinterpret_cast<const char *>(name);
    QVERIFY(place > block.constData() && place < block.constData() + size);
    QCOMPARE(text(name), firstName);
    QCOMPARE(block.right(8), QByteArray(8, guard));
}

void TestWin32Spooler::nothingToEnumerate()
{
    Win32Emulator::reset();
    DWORD needed = 1;
    DWORD returned = 1;
    QVERIFY(EnumPrintersW(PRINTER_ENUM_LOCAL, nullptr, 2, nullptr, 0, &needed, &returned));
    QCOMPARE(needed, DWORD(0));
    QCOMPARE(returned, DWORD(0));
}

void TestWin32Spooler::rightsAreChecked_data()
{
    QTest::addColumn<DWORD>("access");
    QTest::addColumn<bool>("mayChange");

    QTest::newRow("default") << DWORD(0) << false;
    QTest::newRow("use") << DWORD(PRINTER_ACCESS_USE) << false;
    QTest::newRow("administer") << DWORD(PRINTER_ACCESS_ADMINISTER) << true;
    QTest::newRow("all") << DWORD(PRINTER_ALL_ACCESS) << true;
}

void TestWin32Spooler::rightsAreChecked()
{
    QFETCH(DWORD, access);
    QFETCH(bool, mayChange);
    const DWORD expected = mayChange ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
    const OpenQueue queue("前台 Café", access);
    const auto errorOf = [](BOOL succeeded) { return succeeded ? DWORD(ERROR_SUCCESS) : GetLastError(); };

    QByteArray block = information(queue);
    QVERIFY(!block.isEmpty());
    BYTE byte = 1;
    QCOMPARE(SetPrinterDataW(queue, wide("CloudPort"), REG_BINARY, &byte, 1), expected);
    QCOMPARE(errorOf(SetPrinterW(queue, 2, reinterpret_cast<LPBYTE>(block.data()), 0)), expected);
    QCOMPARE(errorOf(SetPrinterW(queue, 0, nullptr, PRINTER_CONTROL_PURGE)), expected);
    QCOMPARE(errorOf(DeletePrinter(queue)), expected);
}

void TestWin32Spooler::printerDataKeepsItsBytes_data()
{
    QTest::addColumn<DWORD>("type");
    QTest::addColumn<QByteArray>("bytes");

    QTest::newRow("single-byte text of odd length") << DWORD(REG_SZ) << QByteArray("0123456789ABCDEF", 17);
    QTest::newRow("text without an end") << DWORD(REG_SZ) << QByteArray("0123456789ABCDEF");
    QTest::newRow("a port") << DWORD(REG_BINARY) << QByteArray("\xa5\x1f");
    QTest::newRow("one byte") << DWORD(REG_BINARY) << QByteArray("\0", 1);
    QTest::newRow("no byte") << DWORD(REG_NONE) << QByteArray();
}

void TestWin32Spooler::printerDataKeepsItsBytes()
{
    QFETCH(DWORD, type);
    QFETCH(QByteArray, bytes);
    const OpenQueue queue("前台 Café");
    const auto size = static_cast<DWORD>(bytes.size());
    BYTE old = 1;
    QCOMPARE(SetPrinterDataW(queue, wide("VALUE"), REG_DWORD, &old, 1), DWORD(ERROR_SUCCESS));
    QCOMPARE(SetPrinterDataW(queue, wide("Value"), type, reinterpret_cast<LPBYTE>(bytes.data()), size),
             DWORD(ERROR_SUCCESS));

    DWORD needed = 0;
    DWORD readType = 0;
    const DWORD queryResult = size ? ERROR_MORE_DATA : ERROR_SUCCESS;
    QCOMPARE(GetPrinterDataW(queue, wide("value"), &readType, nullptr, 0, &needed), queryResult);
    QCOMPARE(needed, size);
    QCOMPARE(readType, type);

    QByteArray block(bytes.size() + 1, '\x5a');
    const auto buffer = reinterpret_cast<LPBYTE>(block.data());
    if (size > 1)
        QCOMPARE(GetPrinterDataW(queue, wide("value"), nullptr, buffer, size - 1, &needed), DWORD(ERROR_MORE_DATA));
    QCOMPARE(GetPrinterDataW(queue, wide("value"), &readType, buffer, size, &needed), DWORD(ERROR_SUCCESS));
    QCOMPARE(block, bytes + '\x5a');
    QCOMPARE(Win32Emulator::printerData("前台 Café", "Value")->second, bytes.toStdString());
    QCOMPARE(GetPrinterDataW(queue, wide("Other"), &readType, nullptr, 0, &needed), DWORD(ERROR_FILE_NOT_FOUND));
}

void TestWin32Spooler::renaming()
{
    Win32Emulator::addPrinter("Taken", "OXCloud001");
    Win32Emulator::setPrinterData("前台 Café", "CloudId", REG_SZ, "id");
    const OpenQueue queue("前台 Café");
    QVERIFY(!rename(queue, "TAKEN"));
    QCOMPARE(GetLastError(), DWORD(ERROR_PRINTER_ALREADY_EXISTS));
    QVERIFY(!rename(queue, "a\\b"));
    QCOMPARE(GetLastError(), DWORD(ERROR_INVALID_PRINTER_NAME));
    QCOMPARE(openError("前台 Café"), DWORD(ERROR_SUCCESS));

    QVERIFY(rename(queue, "二楼"));
    QVERIFY(rename(queue, "二楼 b"));
    QVERIFY(rename(queue, "二楼 B"));
    QByteArray block = information(queue);
    QCOMPARE(text(printerInfo(block).pPrinterName), QString("二楼 B"));
    QCOMPARE(text(printerInfo(block).pPortName), QString("OXCloud001"));
    QCOMPARE(openError("前台 Café"), DWORD(ERROR_INVALID_PRINTER_NAME));
    QCOMPARE(Win32Emulator::printerData("二楼 B", "CloudId")->second, std::string("id"));

    const QString nowhere = "nowhere";
    printerInfo(block).pPortName = wide(nowhere);
    QVERIFY(!SetPrinterW(queue, 2, reinterpret_cast<LPBYTE>(block.data()), 0));
    QCOMPARE(GetLastError(), DWORD(ERROR_UNKNOWN_PORT));
}

void TestWin32Spooler::deletionWaitsForTheJobs()
{
    Win32Emulator::addJob("前台 Café", "one", "1");
    const unsigned job = Win32Emulator::addJob("前台 Café", "two", "2");
    const OpenQueue queue("前台 Café");
    QVERIFY(DeletePrinter(queue));
    QByteArray block = information(queue);
    QCOMPARE(printerInfo(block).cJobs, DWORD(2));
    QCOMPARE(printerInfo(block).Status, DWORD(PRINTER_STATUS_PENDING_DELETION));
    QVERIFY_EXCEPTION_THROWN(Win32Emulator::addJob("前台 Café", "three", "3"), std::runtime_error);
    Win32Emulator::removeJob(job);
    QCOMPARE(openError("前台 Café"), DWORD(ERROR_SUCCESS));

    QVERIFY(SetPrinterW(queue, 0, nullptr, PRINTER_CONTROL_PURGE));
    QCOMPARE(openError("前台 Café"), DWORD(ERROR_INVALID_PRINTER_NAME));
    DWORD needed = 0;
    QVERIFY(!GetPrinterW(queue, 2, nullptr, 0, &needed));
    QCOMPARE(GetLastError(), DWORD(ERROR_PRINTER_DELETED));

    // A new queue of that name is another one.
    Win32Emulator::addPrinter("前台 Café", "OXCloud001");
    QVERIFY(!GetPrinterW(queue, 2, nullptr, 0, &needed));
}

void TestWin32Spooler::jobsByPosition()
{
    Win32Emulator::addPrinter("other", "OXCloud001");
    for (const char *document : {"one", "two", "three"}) {
        Win32Emulator::addJob("前台 Café", document, "12345", Win32Emulator::SubmissionTime(2024, 2, 29, 23, 30, 5));
        Win32Emulator::addJob("other", document, {});
    }
    Win32Emulator::setJobStatus(3, JOB_STATUS_PRINTING);
    const OpenQueue queue("前台 Café", 0);
    std::vector<JOB_INFO_2W> block(30);
    DWORD needed = 0;
    DWORD returned = 0;
    const auto size = static_cast<DWORD>(block.size() * sizeof block[0]);
    const auto buffer = reinterpret_cast<LPBYTE>(block.data());
    QVERIFY(EnumJobsW(queue, 1, 1, 2, buffer, size, &needed, &returned));
    QCOMPARE(returned, DWORD(1));
    QCOMPARE(text(block[0].pDocument), QString("two"));
    QCOMPARE(block[0].JobId, DWORD(3));
    QCOMPARE(block[0].Position, DWORD(2));
    QCOMPARE(block[0].Status, DWORD(JOB_STATUS_PRINTING));
    QCOMPARE(block[0].Size, DWORD(5));
    const SYSTEMTIME &time = block[0].Submitted;
    QCOMPARE(QDateTime(QDate(time.wYear, time.wMonth, time.wDay), QTime(time.wHour, time.wMinute, time.wSecond)),
             QDateTime(QDate(2024, 2, 29), QTime(23, 30, 5)));
    QCOMPARE(time.wDayOfWeek, WORD(4));

    QVERIFY(EnumJobsW(queue, 2, 10, 2, buffer, size, &needed, &returned));
    QCOMPARE(returned, DWORD(1));
    QVERIFY(EnumJobsW(queue, 3, 10, 2, buffer, size, &needed, &returned));
    QCOMPARE(returned, DWORD(0));
    QVERIFY(!EnumJobsW(queue, 0, 1, 1, buffer, size, &needed, &returned));
    QCOMPARE(GetLastError(), DWORD(ERROR_INVALID_LEVEL));
}

void TestWin32Spooler::driversByEnvironment()
{
    DWORD needed = 0;
    DWORD returned = 0;
    QVERIFY(EnumPrinterDriversW(nullptr, wide("Windows NT x86"), 3, nullptr, 0, &needed, &returned));
    QVERIFY(!EnumPrinterDriversW(nullptr, wide("ALL"), 3, nullptr, 0, &needed, &returned));
    QCOMPARE(GetLastError(), DWORD(ERROR_INSUFFICIENT_BUFFER));
    QVERIFY(!EnumPrinterDriversW(nullptr, wide("Windows Zx64"), 3, nullptr, 0, &needed, &returned));
    QCOMPARE(GetLastError(), DWORD(ERROR_INVALID_ENVIRONMENT));
}

void TestWin32Spooler::faultsTakeTheirTurn()
{
    Win32Emulator::failCalls("OpenPrinterW", ERROR_ACCESS_DENIED, 1, 2);
    Win32Emulator::failCalls("OpenPrinterW", ERROR_INVALID_HANDLE, 0, -1);
    const QVector<DWORD> expected = {ERROR_SUCCESS, ERROR_ACCESS_DENIED, ERROR_ACCESS_DENIED, ERROR_INVALID_HANDLE,
                                     ERROR_INVALID_HANDLE};
    QVector<DWORD> errors;
    while (errors.size() < expected.size())
        errors << openError("前台 Café");
    QCOMPARE(errors, expected);
}

void TestWin32Spooler::machineChangesBetweenTwoCalls()
{
    DWORD needed = 0;
    DWORD returned = 0;
    EnumPrintersW(PRINTER_ENUM_LOCAL, nullptr, 2, nullptr, 0, &needed, &returned);
    QByteArray block(static_cast<int>(needed), 0);
    const DWORD before = needed;
    Win32Emulator::beforeCall("EnumPrintersW", [] { Win32Emulator::addPrinter("late", "OXCloud001"); });
    QVERIFY(!EnumPrintersW(PRINTER_ENUM_LOCAL, nullptr, 2, reinterpret_cast<LPBYTE>(block.data()), needed, &needed,
                           &returned));
    QCOMPARE(GetLastError(), DWORD(ERROR_INSUFFICIENT_BUFFER));
    QVERIFY(needed > before);
    QCOMPARE(returned, DWORD(0));
}

void TestWin32Spooler::callsAreRecorded()
{
    {
        const OpenQueue queue("前台 Café", PRINTER_ACCESS_ADMINISTER);
        SetPrinterW(queue, 0, nullptr, PRINTER_CONTROL_PURGE);
    }
    QStringList calls;
    for (const Win32Emulator::Call &call : Win32Emulator::calls())
        calls << QString::fromStdString(call.function + ' ' + call.arguments);
    QCOMPARE(calls, QStringList({"OpenPrinterW 前台 Café access=0x4", "SetPrinterW 前台 Café level=0 command=3",
                                 "ClosePrinter 前台 Café"}));
    QCOMPARE(Win32Emulator::calls("SetPrinterW").size(), std::size_t(1));
    Win32Emulator::clearCalls();
    QVERIFY(Win32Emulator::calls().empty());
}

void TestWin32Spooler::lastErrorIsPerThread()
{
    SetLastError(7);
    DWORD seen = 7;
    std::thread thread([&] {
        openError("nobody");
        seen = GetLastError();
    });
    thread.join();
    QCOMPARE(seen, DWORD(ERROR_INVALID_PRINTER_NAME));
    QCOMPARE(GetLastError(), DWORD(7));
}

QTEST_GUILESS_MAIN(TestWin32Spooler)

#include "tst_win32spooler.moc"
