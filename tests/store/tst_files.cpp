// What the program keeps in files: the log, the journal and the printers.

#include "src/base/diagnosticlog.h"
#include "src/store/cloudprinter.h"
#include "src/store/journal.h"
#include "src/store/printerstore.h"
#include "src/store/printrecord.h"
#include "tests/support/filesizelimit.h"
#include "tests/support/logrecorder.h"
#include "tests/support/storecontent.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QRegularExpression>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTest>

#include <atomic>
#include <thread>

namespace {

const QString key = "0123456789ABCDEF";

/// A kind of text file of a day, with what works on it.
struct DayFile
{
    QString name;  ///< "%1" is the date
    int oldestDay; ///< that is kept
    void (*append)(const QString &text);
    void (*clear)();

    QString path(const QString &date) const { return QCoreApplication::applicationDirPath() + '/' + name.arg(date); }
    QString path(int daysAgo) const { return path(QDate::currentDate().addDays(-daysAgo).toString("yyyy-MM-dd")); }
    QDir folder() const { return QFileInfo(path("")).dir(); }
    QString today() const
    {
        QFile file(path(0));
        return file.open(QIODevice::ReadOnly) ? QString::fromLocal8Bit(file.readAll()) : QString();
    }
};

void log(QtMsgType type, const QString &message)
{
    messageOutput(type, QMessageLogContext("file.cpp", 7, "function", "category"), message);
}

const DayFile logs{"logs/%1.log", 5, [](const QString &text) { log(QtInfoMsg, text); }, [] { LogFileManage(5); }};
const DayFile journals{"details/" + key + "%1.txt", 1, [](const QString &text) { Journal::appendDetail(key, text); },
                       Journal::clearOldDetails};

DriverInfo printer(const QString &name)
{
    return {name, key, "OXCloud007", 8107, "Orvo OX-410T", "127.0.0.1"};
}

} // namespace

class FilesTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        while (QTime::currentTime() > QTime(23, 59, 50)) // no test goes on into the next day's file
            QTest::qSleep(1000);
        for (QDir folder : {logs.folder(), journals.folder()})
            QVERIFY(folder.removeRecursively() && folder.mkpath("."));
        QVERIFY(QFile::remove("task.db") || QDir().rmdir("task.db") || !QFile::exists("task.db"));
    }
    void cleanup() { QVERIFY(!QSqlDatabase::database(QSqlDatabase::defaultConnection, false).isOpen()); }

    void dayFilesGoAfterTheirDays()
    {
        for (const DayFile &kind : {logs, journals}) {
            const QStringList kept{kind.path(-3), kind.path(kind.oldestDay), kind.path("notes"), kind.path(9) + ".bak"};
            const QStringList old{kind.path(kind.oldestDay + 1), kind.path(400)};
            for (const QString &path : kept + old)
                QVERIFY(QFile(path).open(QIODevice::WriteOnly));
            kind.clear();
            for (const QString &path : kept + old)
                QVERIFY2(QFile::exists(path) == kept.contains(path), qPrintable(path));
        }
    }

    /// Also when two threads write at once and when the disk is full: it takes a part of a record then.
    void dayFilesKeepWholeRecords()
    {
        for (const DayFile &kind : {logs, journals}) {
            LIMIT_FILE_SIZE(100000);
            std::atomic<bool> isWritten = false;
            std::thread other([&] {
                while (!isWritten)
                    kind.append(QString(100000, 'x'));
            });
            for (int i = 0; i < 100; ++i, QTest::qSleep(1)) // wakes up at any moment of the other's work
                kind.append("short");
            isWritten = true;
            other.join();
            kind.append(QString(95000 - kind.today().size(), 'x'));
            const QString written = kind.today();
            QCOMPARE(written.count("short"), 100);
            kind.append(QString(5000, 'x')); // fits into the file's buffer, but not into the file
            QVERIFY(kind.today() == written);
        }
    }

    void logHasTimeAndLevel()
    {
        log(QtDebugMsg, "one");
        log(QtWarningMsg, "%1 %2 %3 %%");
        log(QtCriticalMsg, "");
        log(QtInfoMsg, "打印");
        const QString time = "\\[(\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d \\d{3})\\] ";
        const QStringList lines{"Debug: one", "Warning: %1 %2 %3 %%", "Critical: ", "Info: 打印\r\n"};
        const auto match = QRegularExpression("\\A" + time + lines.join("\r\n" + time) + "\\z").match(logs.today());
        QVERIFY2(match.hasMatch(), qPrintable(logs.today()));
        const QDateTime local = QDateTime::fromString(match.captured(1), "yyyy-MM-dd hh:mm:ss zzz");
        QVERIFY(qAbs(local.secsTo(QDateTime::currentDateTime())) < 60);
    }

    void journalGivesBackTheRecords()
    {
        const QStringList labels{JobLabel{"报告.docx", "31:02:03"}.text(), "测试页;10:00:00", "一份测试页;10:00:00",
                                 "测试页.pdf;10:00:00", ""};
        QVector<bool> testPages;
        for (const QString &label : labels) {
            const JobRecord job{key, label, 12, "09:02:09"};
            testPages << job.isTestPage();
            Journal::appendDetail(key, job.text("打印成功"));
            Journal::appendDetail("FEDCBA9876543210", "another printer's");
        }
        QCOMPARE(testPages, QVector<bool>({false, true, true, false, false}));

        QStringList records;
        for (const QString &text : Journal::split(Journal::readDetails(key))) {
            const PrintRecord r = PrintRecord::parse(text);
            records << QStringList({r.document, r.submissionTime, r.status, r.size, r.processingTime}).join('|');
        }
        const QString rest = "|打印成功|12|09:02:09";
        QCOMPARE(records, QStringList({"报告.docx|31:02:03" + rest, "测试页|10:00:00" + rest,
                                       "一份测试页|10:00:00" + rest, "测试页.pdf|10:00:00" + rest, rest + '|'}));
        QCOMPARE(Journal::readDetails(key, Journal::detailSize(key) - 5), QString("09!+!"));
    }

    void storeKeepsPrinters()
    {
        const LogRecorder log;
        for (const char *name : {"前台", "a%1b%%\\c", "it's"})
            QVERIFY(PrinterStore::insertPrinter(printer(name)));
        QVERIFY(!PrinterStore::insertPrinter(printer("前台")));
        QVERIFY(PrinterStore::updatePrinter("前台", "cloud_sn", "'FFFF000011112222'"));
        QVERIFY(PrinterStore::updatePrinter("前台", "printer_name", "'%1 %3'"));
        QVERIFY(PrinterStore::deletePrinter("a%1b%%\\c"));
        // Intended: texts go into the statement as they are.
        QVERIFY(!PrinterStore::insertPrinter(printer("a \"b\"")));
        QVERIFY(!PrinterStore::deletePrinter("it's"));
        const QString isNow = "abs(julianday(ts) - julianday('now', 'localtime')) < 0.01"; // of the insertion, in days
        QVERIFY(PrinterStore::updatePrinter("%1 %3", "ip", isNow));
        QCOMPARE(log.lines().size(), 3); // the failures

        QList<DriverInfo> printers{printer("in the list")};
        QVERIFY(PrinterStore::loadPrinters(printers));
        QStringList loaded;
        for (const DriverInfo &p : qAsConst(printers))
            loaded << p.printerName + ';' + p.driverName + ';' + p.cloudSn + ';' + p.portName + ';' +
                          QString::number(p.portNum) + ';' + p.ip;
        const QString rest = ";Orvo OX-410T;0123456789ABCDEF;OXCloud007;8107;127.0.0.1";
        const QStringList expected{"%1 %3;Orvo OX-410T;FFFF000011112222;OXCloud007;8107;1", "it's" + rest};
        QCOMPARE(loaded, QStringList("in the list" + rest) + expected);
        QCOMPARE(storeContent("task.db"), QStringList("ok") + expected);
    }

    void portsOfOthersAreNotOurs()
    {
        QVERIFY(CloudPrinter::isPortName("OXCloud1000") && !CloudPrinter::isPortName("MyOXCloud001"));
    }

    void storeFailsAndWorksAgain()
    {
        QVERIFY(QDir().mkdir("task.db") && !PrinterStore::insertPrinter(printer("a")));
        QList<DriverInfo> printers;
        QVERIFY(QDir().rmdir("task.db") && !PrinterStore::loadPrinters(printers));
        QVERIFY(!PrinterStore::deletePrinter("a"));
        QVERIFY(!PrinterStore::updatePrinter("a", "cloud_sn", "'b'"));
        QVERIFY(PrinterStore::insertPrinter(printer("a"))); // which alone creates the table
        {
            QSqlDatabase other = QSqlDatabase::addDatabase("QSQLITE", "other");
            other.setDatabaseName("task.db");
            QVERIFY(other.open());
            other.exec("BEGIN EXCLUSIVE");
            const QDeadlineTimer soon(3000); // the interface waits for it
            QVERIFY(!PrinterStore::deletePrinter("a"));
            QVERIFY(!soon.hasExpired());
        }
        QSqlDatabase::removeDatabase("other");
    }
};

QTEST_GUILESS_MAIN(FilesTest)
#include "tst_files.moc"
