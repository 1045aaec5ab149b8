// The disk fills up under the running program: what it cannot write is dropped as a whole, and nothing else suffers.

#include "tests/resilience/storecontent.h"
#include "tests/resilience/textpieces.h"

#include "tests/endtoend/user.h"
#include "tests/support/installation.h"

#include <QFile>
#include <QTest>

namespace {
constexpr int outcomeTime = 10000; // ms
} // namespace

class FullDiskTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void dropsWhatItCannotWrite();

private:
    QString journal(const QString &serial) { return m_installation.folder().journal(serial); }
    void print(const QString &queue, int size);
    void expectJobs(int count);

    Installation m_installation;
    User m_user{m_installation.folder()};
};

void FullDiskTest::initTestCase()
{
    QVERIFY(m_installation.startCloud({"--polls", "0"}));
    QVERIFY(m_installation.addPrinters({}));
    ProgramFolder &folder = m_installation.folder();
    folder.setEnvironment("FULL_DISK_SWITCH", folder.path("full"));
    folder.setEnvironment("FULL_DISK_FOLDER", folder.path());
    folder.setEnvironment("LD_PRELOAD", qEnvironmentVariable("FULL_DISK_LIBRARY"));
    // A sanitizer's library wants to be the first.
    folder.setEnvironment("ASAN_OPTIONS", qEnvironmentVariable("ASAN_OPTIONS") + ":verify_asan_link_order=0");
    QVERIFY(m_user.startProgram());
}

void FullDiskTest::print(const QString &queue, int size)
{
    QVERIFY(m_installation.print(queue, "document", QByteArray(size, 'x')));
}

void FullDiskTest::expectJobs(int count)
{
    QTRY_COMPARE_WITH_TIMEOUT(m_installation.posts().size(), count, outcomeTime);
}

void FullDiskTest::dropsWhatItCannotWrite()
{
    const QStringList serials{"00000000000000AA", "00000000000000BB", "00000000000000CC"};
    ProgramFolder &folder = m_installation.folder();
    QVERIFY(m_user.addPrinter("Desk 1", serials[0]));
    print("Desk 1", 1);
    QTRY_VERIFY_WITH_TIMEOUT(journal(serials[0]).contains(";打印成功;1;"), outcomeTime);

    QFile full(folder.path("full"));
    QVERIFY(full.open(QIODevice::WriteOnly));
    const QString log = folder.log();
    print("Desk 1", 2);
    expectJobs(2);
    print("Desk 1", 3); // once the printer is free again
    expectJobs(3);
    QVERIFY(m_user.addPrinter("Desk 2", serials[1]));
    print("Desk 2", 4);
    expectJobs(4);
    QTest::qWait(1500); // until that job is at its end, too
    QVERIFY(folder.log() == log);
    QVERIFY(full.remove());

    print("Desk 1", 5);
    print("Desk 2", 6);
    QTRY_VERIFY_WITH_TIMEOUT(journal(serials[0]).contains(";打印成功;5;"), outcomeTime);
    QTRY_VERIFY_WITH_TIMEOUT(journal(serials[1]).contains(";打印成功;6;"), outcomeTime);
    QVERIFY(m_user.addPrinter("Desk 3", serials[2]));
    QTRY_COMPARE(storeContent(folder.path("task.db")),
                 (QStringList{"ok", storedPrinter(1, serials[0]), storedPrinter(3, serials[2])}));
    QCOMPARE(m_user.program()->state(), QProcess::Running);

    const TextPieces first = journalRecords(journal(serials[0]));
    const TextPieces second = journalRecords(journal(serials[1]));
    const TextPieces lines = logLines(folder.log());
    for (const TextPieces &pieces : {first, second, lines}) {
        QCOMPARE(pieces.broken, QString());
        QCOMPARE(pieces.unfinished, QString());
    }
    QCOMPARE(first.whole, 2);
    QCOMPARE(second.whole, 1);
}

QTEST_MAIN(FullDiskTest)
#include "tst_fulldisk.moc"
