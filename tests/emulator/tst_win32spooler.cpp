// The emulated spooler must be as strict as that of Windows, or it would hide faults of its callers.

#include <QTest>

#include <windows.h>
#include <winspool.h>

#include "quaylink/portdata.h"
#include "emulator/win32/control.h"

#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

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
    explicit OpenQueue(DWORD access, const QString &name = queueName)
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

DWORD errorOf(BOOL succeeded)
{
    return succeeded ? ERROR_SUCCESS : GetLastError();
}

} // namespace

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

    void buffersAreNotOverrun()
    {
        DWORD needed = 0;
        DWORD returned = 0;
        const auto enumerate = [&](QByteArray &block, DWORD size) {
            return errorOf(EnumPrintersW(PRINTER_ENUM_LOCAL, nullptr, 2, reinterpret_cast<LPBYTE>(block.data()), size,
                                         &needed, &returned));
        };
        QByteArray none;
        QCOMPARE(enumerate(none, 0), DWORD(ERROR_INSUFFICIENT_BUFFER));
        constexpr char guard = '\x5a';
        QByteArray block(static_cast<int>(needed) + 8, guard);
        QCOMPARE(enumerate(block, needed - 1), DWORD(ERROR_INSUFFICIENT_BUFFER));
        QCOMPARE(block.count(guard), block.size());

        QCOMPARE(enumerate(block, needed), DWORD(ERROR_SUCCESS));
        const auto *info = reinterpret_cast<const PRINTER_INFO_2W *>(block.constData());
        const auto *name = reinterpret_cast<const char *>(info->pPrinterName);
        QVERIFY2(name > block.constData() && name < block.constData() + needed, "texts lie in the caller's buffer");
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

    void onlyAPortItselfIsConfigured_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<DWORD>("expected");
        QTest::newRow("monitor") << ",XcvMonitor Standard TCP/IP Port" << DWORD(ERROR_INVALID_HANDLE);
        QTest::newRow("port") << ",XcvPort OXCloud001" << DWORD(ERROR_SUCCESS);
    }

    void onlyAPortItselfIsConfigured()
    {
        QFETCH(QString, name);
        QFETCH(DWORD, expected);
        const OpenQueue monitor(SERVER_ACCESS_ADMINISTER, name);
        Quaylink::PortData data = {{}, 1, Quaylink::rawProtocol, sizeof data, 0, {}, {}, 0, {}, {}, {}, 8102, 0, 0};
        std::memcpy(data.portName, wide("OXCloud001"), sizeof u"OXCloud001");
        DWORD needed = 0;
        DWORD status = 0;
        QVERIFY(XcvDataW(monitor, wide("ConfigPort"), reinterpret_cast<PBYTE>(&data), sizeof data, nullptr, 0, &needed,
                         &status));
        QCOMPARE(status, expected);
        QCOMPARE(Win32Emulator::ports()[0].number, expected == ERROR_SUCCESS ? 8102U : 8101U);
    }

    void anOddTextGrowsBeforeAZeroByte()
    {
        const OpenQueue queue(PRINTER_ACCESS_ADMINISTER);
        for (const auto &[next, size] : {std::pair('\xff', 17U), std::pair('\0', 19U)}) {
            QByteArray text = QByteArray("0123456789ABCDEF") + '\0' + next;
            QCOMPARE(SetPrinterDataW(queue, wide("CloudId"), REG_SZ, reinterpret_cast<LPBYTE>(text.data()), 17),
                     DWORD(ERROR_SUCCESS));
            DWORD needed = 0;
            QCOMPARE(GetPrinterDataW(queue, wide("CloudId"), nullptr, nullptr, 0, &needed), DWORD(ERROR_MORE_DATA));
            QCOMPARE(needed, size);
        }
    }

    void networkPrintersAreListedIfAskedFor()
    {
        const auto sizeOfList = [](DWORD flags) {
            DWORD needed = 0;
            DWORD returned = 0;
            EnumPrintersW(flags, nullptr, 2, nullptr, 0, &needed, &returned);
            return needed;
        };
        QVERIFY(sizeOfList(PRINTER_ENUM_LOCAL) > 0 && sizeOfList(PRINTER_ENUM_CONNECTIONS) > 0);
        QCOMPARE(sizeOfList(PRINTER_ENUM_LOCAL | PRINTER_ENUM_CONNECTIONS),
                 sizeOfList(PRINTER_ENUM_LOCAL) + sizeOfList(PRINTER_ENUM_CONNECTIONS));
    }

    void threadsDoNotDisturbEachOther()
    {
        std::atomic<int> faults = 0;
        const auto use = [&] {
            for (int i = 0; i < 250; ++i) {
                const OpenQueue queue(PRINTER_ACCESS_USE);
                if (information(queue).isEmpty() ||
                    errorOf(SetPrinterW(queue, 0, nullptr, PRINTER_CONTROL_PURGE)) != ERROR_ACCESS_DENIED)
                    ++faults;
            }
        };
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back(use);
        for (std::thread &thread : threads)
            thread.join();
        QCOMPARE(int(faults), 0);
        QCOMPARE(Win32Emulator::openHandles(), 0);
    }
};

QTEST_GUILESS_MAIN(TestWin32Spooler)

#include "tst_win32spooler.moc"
