// The real program between a real spooler and a real cloud service, each a process of its own, and what becomes of jobs
// when one of them is killed.

#include "tests/support/printjob.h"
#include "tests/support/world.h"

#include <QFile>
#include <QRegularExpression>
#include <QTest>

namespace {

void kill(QProcess *process)
{
    process->kill();
    QVERIFY(process->waitForFinished());
}

/// Waits for the n-th record of a printer, and expects no more.
void expectRecord(const World &world, int printer, int number, const QString &pattern)
{
    QTRY_VERIFY_WITH_TIMEOUT(world.records(printer).size() >= number, 15000);
    QCOMPARE(world.records(printer).size(), number);
    const QString record = world.records(printer).last();
    QVERIFY2(QRegularExpression('^' + pattern + ";\\d\\d:\\d\\d:\\d\\d$").match(record).hasMatch(), qPrintable(record));
}

} // namespace

class EndToEndTest : public QObject
{
    Q_OBJECT

private slots:
    void jobsOfADay()
    {
        World world;
        QVERIFY(world.addPrinters({"前台打印机", "it's %1"}) && world.startSpooler());
        // The spooler alone knows which printers there are.
        QFile brokenStore(world.path("task.db"));
        QVERIFY(brokenStore.open(QIODevice::WriteOnly) && brokenStore.write(QByteArray(5000, 'x')) == 5000);
        brokenStore.close();
        QProcess *cloud = world.startCloud({"--polls", "0"});
        QVERIFY(world.print(0, "waits for the program", "x"));
        QVERIFY(world.startReadyProgram());
        expectRecord(world, 0, 1, ".*;打印成功;1");
        const QByteArray large = jobBytes(3000000);
        QVERIFY(world.print(0, "报告.docx", large) && world.print(0, "waits for the first", "second"));
        expectRecord(world, 0, 3, ".*;打印成功;6");
        QVERIFY(world.journal(world.serial(0)).contains(QRegularExpression("报告.docx;[0-9:]+;打印成功;3000000;")));
        QVERIFY(world.received(2) == large && world.received(3) == "second");
        QVERIFY(world.print(1, "empty", ""));
        expectRecord(world, 1, 1, ".*;打印成功;0");
        QVERIFY(world.posts().last().contains(world.serial(1).toLatin1()));

        kill(cloud);
        QVERIFY(world.print(0, "no cloud", "y"));
        expectRecord(world, 0, 4, ".*;打印失败:网络访问异常;1");

        // Killed while the cloud has a job but has not answered, the program neither sends it again nor loses the next.
        cloud = world.startCloud({"--delay", "100000"});
        QVERIFY(world.print(0, "in the cloud", "z"));
        QTRY_COMPARE_WITH_TIMEOUT(world.posts().size(), 5, 10000);
        kill(world.program());
        kill(cloud);
        QVERIFY(world.startCloud({"--polls", "0"}) && world.startProgram());
        QVERIFY(world.print(0, "next", "next"));
        expectRecord(world, 0, 5, ".*;打印成功;4");
        QCOMPARE(world.posts().size(), 6);
        QCOMPARE(world.received(6), QByteArray("next"));

        // Both starts are in the log, from their first line on.
        const QRegularExpression start("(^|\r\n)\\[[^\\]]+\\] Debug: application run argc= 1\r\n");
        QVERIFY(world.log().contains(QRegularExpression('^' + start.pattern())));
        QCOMPARE(world.log().count(start), 2);
    }
};

QTEST_GUILESS_MAIN(EndToEndTest)
#include "tst_endtoend.moc"
