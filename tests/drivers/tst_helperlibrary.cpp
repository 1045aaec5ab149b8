#include "src/spooler/cprinter.h"
#include "tests/support/logrecorder.h"
#include "src/workflows/addprinterthread.h"

#include <QCoreApplication>
#include <QFile>
#include <QSignalSpy>
#include <QTest>

#include "emulator/win32/control.h"

#include <atomic>
#include <thread>

namespace {

QString libraryPath()
{
    return QCoreApplication::applicationDirPath() + "/Quaylink.dll";
}

/// Calls one wrapper. True if it returned the result for a missing library.
using Wrapper = bool (*)(CPrinter &);

struct WrapperCase
{
    const char *name;
    Wrapper call;
    const char *loadFailed;
    const char *resolveFailed;
};

const WrapperCase wrappers[] = {
    {"add", [](CPrinter &printer) { return printer.addStandardTcpPort("OXCloud001", "127.0.0.1", 8101) == -1; },
     "44_CPrinter addStandardTcpPort load Quaylink.dll failed", "32_CPrinter resolve Quaylink.dll failed"},
    {"config", [](CPrinter &printer) { return printer.ConfigStandardTcpPort("OXCloud001", "127.0.0.1", 8101) == -1; },
     "71_CPrinter load Quaylink.dll failed", "59_CPrinter resolve Quaylink.dll failed"},
    {"delete", [](CPrinter &printer) { return printer.DeleteStandardTcpPort("OXCloud001") == -1; },
     "98_CPrinter load Quaylink.dll failed", "86_CPrinter resolve Quaylink.dll failed"},
    {"read",
     [](CPrinter &printer) {
         QString host = "untouched";
         unsigned short number = 7;
         return printer.GetPortInfo("OXCloud001", host, number) == -1 && host == "untouched" && number == 7;
     },
     "464_CPrinter GetConfigStandardTcpPort load Quaylink.dll failed", "444_CPrinter resolve Quaylink.dll failed"},
    {"stop dependents", [](CPrinter &printer) { return !printer.StopDependentServices(nullptr, nullptr); },
     "929_CPrinter StopDependentServices load Quaylink.dll failed", "917_CPrinter resolve Quaylink.dll failed"},
    {"remove driver", [](CPrinter &printer) { return !printer.RemovePrinterDriver("Orvo OX-410T", "Windows x64"); },
     "1024_CPrinter load Quaylink.dll failed", "1032_CPrinter resolve Quaylink.dll failed"},
};

} // namespace

/// The binding of a helper library that is missing, incomplete or slow.
class HelperLibraryTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { Win32Emulator::reset(); }

    void missingLibrary()
    {
        QFile::remove(libraryPath());
        checkWrappers(&WrapperCase::loadFailed);
        checkAdd();
    }

    void missingExport()
    {
        QFile::remove(libraryPath());
        QVERIFY(QFile::copy("empty/Quaylink.dll", libraryPath()));
        checkWrappers(&WrapperCase::resolveFailed);
        checkAdd();
        // Calls find the file as it is now: nothing is kept loaded between them.
        QVERIFY(QFile::remove(libraryPath()));
        QVERIFY(QFile::copy(qEnvironmentVariable("ORVO_BIN") + "/Quaylink.dll", libraryPath()));
        QCOMPARE(CPrinter().addStandardTcpPort("OXCloud001", "127.0.0.1", 8101), 0);
        QCOMPARE(Win32Emulator::ports().size(), size_t(1));
    }

    /// A thread that unloads the library does not unmap it for another one.
    void threadsShareTheLibrary()
    {
        constexpr int calls = 200;
        QFile::remove(libraryPath());
        QVERIFY(QFile::copy("slow/Quaylink.dll", libraryPath()));
        const LogRecorder log;
        std::atomic<int> answered{0};
        const auto callOften = [&] {
            QString host;
            unsigned short number = 0;
            for (int i = 0; i < calls; ++i)
                answered += CPrinter().GetPortInfo("", host, number) == 0 ? 1 : 0;
        };
        std::thread other(callOften);
        callOften();
        other.join();
        QCOMPARE(answered.load(), 2 * calls);
    }

private:
    static void checkWrappers(const char *WrapperCase::*text)
    {
        CPrinter printer;
        for (const WrapperCase &wrapper : wrappers) {
            LogRecorder log;
            QVERIFY2(wrapper.call(printer), wrapper.name);
            // The entry and the failure: the export is not called, the spooler not restarted.
            QCOMPARE(log.lines().size(), 2);
            QCOMPARE(log.lines().last(), QString(wrapper.*text));
        }
    }

    static void checkAdd()
    {
        const LogRecorder log;
        AddPrinterThread thread({"前台", "0123456789ABCDEF", {}, 0, {}, {}});
        const QSignalSpy results(&thread, &AddPrinterThread::addResult);
        thread.start();
        QVERIFY(thread.wait());
        QCOMPARE(results.size(), 1);
        QCOMPARE(results[0][0].toBool(), false);
        QCOMPARE(results[0][1].toString(), QString("添加打印机失败，无法添加端口"));
        QCOMPARE(log.lines().last(), QString("85_AddPrinterThread addStandardTcpPort failed"));
        QVERIFY(Win32Emulator::ports().empty() && Win32Emulator::printers().empty());
    }
};

QTEST_GUILESS_MAIN(HelperLibraryTest)
#include "tst_helperlibrary.moc"
