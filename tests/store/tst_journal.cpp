#include "src/store/journal.h"
#include "tests/support/filesizelimit.h"

#include <QCoreApplication>
#include <QDate>
#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

namespace {

const QString key = "0123456789ABCDEF";

QDir folder()
{
    return QDir(QCoreApplication::applicationDirPath() + "/details");
}

QString fileOf(int daysAgo)
{
    return key + QDate::currentDate().addDays(-daysAgo).toString("yyyy-MM-dd") + ".txt";
}

} // namespace

class JournalTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        folder().removeRecursively();
        QVERIFY(folder().mkpath("."));
    }
    void cleanupTestCase() { folder().removeRecursively(); }

    void appendsPerPrinter()
    {
        Journal::appendDetail(key, "通知.pdf;09:08:07;打印成功;12;09:08:09");
        Journal::appendDetail("FEDCBA9876543210", "other");
        Journal::appendDetail(key, "");
        const QString text = "通知.pdf;09:08:07;打印成功;12;09:08:09!+!!+!";
        QCOMPARE(Journal::readDetails(key), text);
        QCOMPARE(Journal::detailSize(key), quint32(text.toLocal8Bit().size()));
        QCOMPARE(Journal::readDetails("FEDCBA9876543210"), QString("other!+!"));
        QCOMPARE(folder().entryList({fileOf(0)}, QDir::Files).size(), 1);
    }

    void reportsWhatCannotBeOpened()
    {
        const auto expectReport = [] { // QFileDevice::OpenError and its text
            QTest::ignoreMessage(QtDebugMsg, QRegularExpression("\\A5\\z"));
            QTest::ignoreMessage(QtDebugMsg, QRegularExpression("\\A\".+\"\\z"));
        };
        QVERIFY(folder().mkdir(fileOf(0)));
        expectReport();
        Journal::appendDetail(key, "dropped");

        QVERIFY(folder().removeRecursively());
        expectReport();
        QCOMPARE(Journal::readDetails(key), QString());
        Journal::clearOldDetails();
        QVERIFY(!folder().exists());
    }

    void leavesNoTornRecord()
    {
        const QString whole = "a;09:08:07;打印成功;12;09:08:09";
        Journal::appendDetail(key, whole);
        {
            LIMIT_FILE_SIZE(Journal::detailSize(key) + 10);
            Journal::appendDetail(key, "longer than what fits");
            Journal::appendDetail(key, QString(100000, 'x')); // more than the file's buffer holds
        }
        QCOMPARE(Journal::readDetails(key), whole + "!+!");
        Journal::appendDetail(key, whole);
        QCOMPARE(Journal::readDetails(key), whole + "!+!" + whole + "!+!");
    }

    void clearsOldFiles()
    {
        const QStringList kept{fileOf(0), fileOf(1), fileOf(-1), key + "notes.txt", fileOf(9) + ".bak"};
        for (const QString &name : kept + QStringList{fileOf(2), fileOf(300)}) {
            QFile file(folder().filePath(name));
            QVERIFY(file.open(QIODevice::WriteOnly));
        }
        Journal::clearOldDetails();
        const QStringList left = folder().entryList(QDir::Files);
        QCOMPARE(QSet<QString>(left.begin(), left.end()), QSet<QString>(kept.begin(), kept.end()));
    }
};

QTEST_GUILESS_MAIN(JournalTest)
#include "tst_journal.moc"
