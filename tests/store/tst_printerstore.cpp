#include "store/printerstore.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>
#include <QVariant>

namespace {

DriverInfo record(const QString &name)
{
    return {name, "0123456789ABCDEF", "OXCloud007", 8107, "Orvo OX-410T", "127.0.0.1"};
}

QStringList names()
{
    QList<DriverInfo> printers;
    PrinterStore::loadPrinters(printers);
    QStringList result;
    for (const DriverInfo &info : qAsConst(printers))
        result << info.printerName;
    return result;
}

/// Another program's hand in the same file.
QVariant execute(const QString &statement)
{
    QVariant first;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase("QSQLITE", "other");
        database.setDatabaseName("task.db");
        if (database.open()) {
            QSqlQuery query(database);
            if (query.exec(statement) && query.next())
                first = query.value(0);
        }
    }
    QSqlDatabase::removeDatabase("other");
    return first;
}

void expectLine(const char *begin)
{
    QTest::ignoreMessage(QtDebugMsg, QRegularExpression(QStringLiteral("\\A") + QRegularExpression::escape(begin)));
}

} // namespace

class PrinterStoreTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>(QDir::currentPath() + "/store");
        m_before = QDir::currentPath();
        QVERIFY(QDir::setCurrent(m_folder->path()));
    }
    void cleanup() { QDir::setCurrent(m_before); }

    void keepsRecords();
    void createsTheTableOnInsertOnly();
    void updatesOneColumn();
    void textGoesIntoTheStatementAsItIs();
    void cutsThePortTo16Bits();
    void fileInTheWay_data();
    void fileInTheWay();

private:
    QString m_before;
    std::unique_ptr<QTemporaryDir> m_folder;
};

void PrinterStoreTest::keepsRecords()
{
    QVERIFY(PrinterStore::insertPrinter(record("前台")));
    QVERIFY(PrinterStore::insertPrinter(record("a%1b%%\\c")));
    expectLine("Insert printer error");
    QVERIFY(!PrinterStore::insertPrinter(record("前台")));

    QList<DriverInfo> printers{record("already in the list")};
    QVERIFY(PrinterStore::loadPrinters(printers));
    QCOMPARE(printers.size(), 3);
    QCOMPARE(printers[1].printerName, QString("前台"));
    QCOMPARE(printers[1].cloudSn, QString("0123456789ABCDEF"));
    QCOMPARE(printers[1].portName, QString("OXCloud007"));
    QCOMPARE(printers[1].portNum, quint16(8107));
    QCOMPARE(printers[1].driverName, QString("Orvo OX-410T"));
    QCOMPARE(printers[1].ip, QString("127.0.0.1"));
    QCOMPARE(printers[2].printerName, QString("a%1b%%\\c"));

    QVERIFY(PrinterStore::deletePrinter("前台"));
    QVERIFY(PrinterStore::deletePrinter("not there"));
    QCOMPARE(names(), QStringList("a%1b%%\\c"));
}

void PrinterStoreTest::createsTheTableOnInsertOnly()
{
    QList<DriverInfo> printers;
    for (int i = 0; i < 3; ++i)
        expectLine("QSqlError");
    QVERIFY(!PrinterStore::loadPrinters(printers));
    QVERIFY(!PrinterStore::deletePrinter("a"));
    QVERIFY(!PrinterStore::updatePrinter("a", "cloud_sn", "'b'"));
    QVERIFY(PrinterStore::insertPrinter(record("a")));
    QVERIFY(PrinterStore::deletePrinter("a"));
    QVERIFY(PrinterStore::loadPrinters(printers));
    QVERIFY(printers.isEmpty());
    QCOMPARE(execute("select sql from sqlite_master where name = 'driver'").toString(),
             QString("CREATE TABLE driver(id integer PRIMARY KEY autoincrement, printer_name text UNIQUE, driver_name "
                     "text, cloud_sn text, port_name text, port_num INTEGER, ip text,  ts TIMESTAMP DEFAULT "
                     "(datetime('now','localtime')))"));
}

void PrinterStoreTest::updatesOneColumn()
{
    QVERIFY(PrinterStore::insertPrinter(record("a")));
    QVERIFY(PrinterStore::insertPrinter(record("b")));
    QVERIFY(PrinterStore::updatePrinter("a", "cloud_sn", "'FFFF000011112222'"));
    QVERIFY(PrinterStore::updatePrinter("a", "printer_name", "'%1 %3'"));
    expectLine("QSqlError");
    QVERIFY2(!PrinterStore::updatePrinter("b", "cloud_sn", "ABCD"), "a value without quotes is no text");
    QList<DriverInfo> printers;
    QVERIFY(PrinterStore::loadPrinters(printers));
    QCOMPARE(printers[0].printerName, QString("%1 %3"));
    QCOMPARE(printers[0].cloudSn, QString("FFFF000011112222"));
    QCOMPARE(printers[1].cloudSn, QString("0123456789ABCDEF"));
}

void PrinterStoreTest::textGoesIntoTheStatementAsItIs()
{
    QVERIFY(PrinterStore::insertPrinter(record("it's")));
    expectLine("Insert printer error");
    QVERIFY(!PrinterStore::insertPrinter(record("a \"b\"")));
    expectLine("QSqlError");
    QVERIFY(!PrinterStore::deletePrinter("it's"));
    QCOMPARE(names(), QStringList("it's"));
}

void PrinterStoreTest::cutsThePortTo16Bits()
{
    QVERIFY(PrinterStore::insertPrinter(record("a")));
    execute("update driver set port_num = 65536 + 8107");
    QList<DriverInfo> printers;
    QVERIFY(PrinterStore::loadPrinters(printers));
    QCOMPARE(printers[0].portNum, quint16(8107));
}

void PrinterStoreTest::fileInTheWay_data()
{
    QTest::addColumn<bool>("folder");
    QTest::addColumn<QString>("insertLine");
    QTest::addColumn<QString>("loadLine");
    QTest::newRow("a folder in its place") << true << "Error: Fail to open task.db."
                                           << "Error: Fail to open task.db.";
    QTest::newRow("not a database") << false << "QSqlError"
                                    << "QSqlError";
}

void PrinterStoreTest::fileInTheWay()
{
    QFETCH(bool, folder);
    QFETCH(QString, insertLine);
    QFETCH(QString, loadLine);
    if (folder) {
        QVERIFY(QDir().mkdir("task.db"));
    } else {
        QFile file("task.db");
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(8192, 'x'));
    }
    expectLine(qPrintable(insertLine));
    if (!folder)
        expectLine("Create table driver error");
    QVERIFY(!PrinterStore::insertPrinter(record("a")));
    expectLine(qPrintable(loadLine));
    QList<DriverInfo> printers;
    QVERIFY(!PrinterStore::loadPrinters(printers));
    QVERIFY(printers.isEmpty());
}

QTEST_GUILESS_MAIN(PrinterStoreTest)
#include "tst_printerstore.moc"
