// The books of a run under load must not balance when something was lost, doubled or mixed up.

#include "tests/soak/books.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

Q_DECLARE_METATYPE(Circumstance)

namespace {

const QString serial = "0123456789ABCDEF";

void append(const QString &fileName, const QByteArray &bytes)
{
    QFile file(fileName);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Append));
    file.write(bytes);
}

QByteArray posted(int size, const QByteArray &fate = "printed", const QByteArray &hash = "abc")
{
    return "{\"size\":" + QByteArray::number(size) + ",\"dsNumber\":\"" + serial.toLatin1() + "\",\"sha256\":\"" +
           hash + "\",\"fate\":\"" + fate + "\"}\n";
}

QByteArray record(int size, const QByteArray &status = "打印成功", const QByteArray &document = "a")
{
    return document + ";10:00:00;" + status + ';' + QByteArray::number(size) + ";10:00:02!+!";
}

} // namespace

class BooksTest : public QObject
{
    Q_OBJECT

private slots:
    void balance_data();
    void balance();
};

void BooksTest::balance_data()
{
    QTest::addColumn<Circumstance>("circumstance");
    QTest::addColumn<QByteArray>("cloud");
    QTest::addColumn<QByteArray>("journal");
    QTest::addColumn<int>("posts");
    QTest::addColumn<QString>("exception");
    QTest::addColumn<QString>("fault"); // part of the one that is to be found

    const QByteArray none;
    const QString no;
    const auto alone = Circumstance::Alone;
    const auto crowd = Circumstance::InCrowd;
    const auto removed = Circumstance::OnRemoved;
    QTest::newRow("good") << alone << posted(7) << record(7) << 1 << no << no;
    QTest::newRow("fate") << alone << posted(7, "offline") << record(7, "打印失败:设备离线") << 1 << no << no;
    QTest::newRow("no record by intention")
        << alone << posted(7, "result-invalid") << none << 1 << "\"Invalid receive json\": no record" << no;
    QTest::newRow("lost in the slot") << crowd << none << none << 0 << "superseded in the single slot: not relayed"
                                      << no;
    QTest::newRow("removed") << removed << posted(7) << none << 1 << "printer removed while the job ran: no record"
                             << no;
    QTest::newRow("other label") << Circumstance::InSlot << posted(7) << record(7, "打印成功", "b") << 1
                                 << "waited in the slot: under another job's label or none" << no;
    QTest::newRow("no label") << Circumstance::InSlot << posted(7) << QByteArray(";打印成功;7;10:00:02!+!") << 1
                              << "waited in the slot: under another job's label or none" << no;

    QTest::newRow("never relayed") << alone << none << none << 0 << no << "neither submitted nor journalled";
    QTest::newRow("twice") << alone << posted(7) + posted(7) << record(7) << 1 << no << "submitted 2 times";
    QTest::newRow("two records") << alone << posted(7) << record(7) + record(7) << 1 << no << "journalled 2 times";
    QTest::newRow("no record") << crowd << posted(7) << none << 1 << no << "has no record";
    QTest::newRow("other bytes") << alone << posted(7, "printed", "abd") << record(7) << 1 << no << "other bytes";
    QTest::newRow("other outcome") << alone << posted(7, "offline") << record(7) << 1 << no << "fate \"offline\"";
    QTest::newRow("failure without cause")
        << alone << none << record(7, "打印失败:网络访问异常") << 1 << no << "fate \"none\"";
    QTest::newRow("wrong label") << alone << posted(7) << record(7, "打印成功", "b") << 1 << no << "as \"b\"";
    QTest::newRow("stranger") << alone << posted(7) << record(7) + record(8) << 1 << no << "8 bytes that nobody";
    QTest::newRow("torn") << alone << posted(7) << record(7) + "x!+!" << 1 << no << "cannot be read";
    QTest::newRow("a post too many") << alone << posted(7) << record(7) << 2 << no << "2 submissions";
}

void BooksTest::balance()
{
    QFETCH(Circumstance, circumstance);
    QFETCH(QByteArray, cloud);
    QFETCH(QByteArray, journal);
    QFETCH(int, posts);
    QFETCH(QString, exception);
    QFETCH(QString, fault);
    const QTemporaryDir folder;
    for (const char *name : {"details", "logs"})
        QVERIFY(QDir(folder.path()).mkdir(name));
    Books books(folder.path(), folder.path());
    books.enter({7, "abc", serial, "a", QDateTime::currentDateTime(), circumstance});

    // In pieces, as the books meet them.
    append(folder.filePath("jobs.jsonl"), cloud.left(5));
    books.update();
    append(folder.filePath("jobs.jsonl"), cloud.mid(5));
    append(folder.filePath("details/" + serial + "2026-11-21.txt"), journal.left(9));
    books.update();
    append(folder.filePath("details/" + serial + "2026-11-21.txt"), journal.mid(9));
    books.update();
    const QByteArray relay =
        "24_PrinterServer incomingConnection\r\n12_PrinterThread init\r\n45_Cloud request post to:\r\n"
        "printComplete\r\n";
    append(folder.filePath("logs/2026-11-21.log"), relay.repeated(posts));

    const Balance balance = books.balance();
    QCOMPARE(QStringList(balance.exceptions.keys()), exception.isEmpty() ? QStringList() : QStringList(exception));
    QCOMPARE(balance.faults.isEmpty(), fault.isEmpty());
    QVERIFY2(fault.isEmpty() || balance.faults.join('\n').contains(fault), qPrintable(balance.faults.join('\n')));
}

QTEST_GUILESS_MAIN(BooksTest)
#include "tst_books.moc"
