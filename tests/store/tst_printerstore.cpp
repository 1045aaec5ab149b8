#include "src/store/printerstore.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>

namespace {

DriverInfo record(const QString &name)
{
    return {name, "0123456789ABCDEF", "OXCloud007", 8107, "Orvo OX-410T", "127.0.0.1"};
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

    void keepsRecords()
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
    }

    void fileThatIsLockedFailsSoon()
    {
        QVERIFY(PrinterStore::insertPrinter(record("a")));
        {
            QSqlDatabase other = QSqlDatabase::addDatabase("QSQLITE", "other");
            other.setDatabaseName("task.db");
            QVERIFY(other.open());
            QSqlQuery lock("BEGIN EXCLUSIVE", other);
            QElapsedTimer timer;
            timer.start();
            QVERIFY(!PrinterStore::deletePrinter("a"));
            QVERIFY2(timer.elapsed() < 3000, "the interface waits for it");
        }
        QSqlDatabase::removeDatabase("other");
    }

    void changesRecords()
    {
        for (const char *name : {"a", "b", "c"})
            QVERIFY(PrinterStore::insertPrinter(record(name)));
        QVERIFY(PrinterStore::updatePrinter("b", "cloud_sn", "'FFFF000011112222'"));
        QVERIFY(PrinterStore::updatePrinter("b", "printer_name", "'%1 %3'"));
        QVERIFY(PrinterStore::deletePrinter("a"));
        QVERIFY(PrinterStore::deletePrinter("not there"));
        QList<DriverInfo> printers;
        QVERIFY(PrinterStore::loadPrinters(printers));
        QCOMPARE(printers.size(), 2);
        QCOMPARE(printers[0].printerName, QString("%1 %3"));
        QCOMPARE(printers[0].cloudSn, QString("FFFF000011112222"));
        QCOMPARE(printers[1].cloudSn, QString("0123456789ABCDEF"));
    }

    void onlyInsertCreatesTheTable()
    {
        for (int i = 0; i < 3; ++i)
            expectLine("QSqlError");
        QList<DriverInfo> printers;
        QVERIFY(!PrinterStore::loadPrinters(printers));
        QVERIFY(!PrinterStore::deletePrinter("a"));
        QVERIFY(!PrinterStore::updatePrinter("a", "cloud_sn", "'b'"));
        QVERIFY(PrinterStore::insertPrinter(record("a")));
        QVERIFY(PrinterStore::loadPrinters(printers));
    }

    /// Intended: texts go into the statement as they are.
    void quotesBreakStatements()
    {
        QVERIFY(PrinterStore::insertPrinter(record("it's")));
        expectLine("Insert printer error");
        QVERIFY(!PrinterStore::insertPrinter(record("a \"b\"")));
        expectLine("QSqlError");
        QVERIFY(!PrinterStore::deletePrinter("it's"));
    }

    void fileInTheWay_data()
    {
        QTest::addColumn<bool>("folder");
        QTest::addColumn<QStringList>("insertLines");
        QTest::addColumn<QString>("loadLine");
        const QString notOpened = "Error: Fail to open task.db.";
        QTest::newRow("a folder in its place") << true << QStringList{notOpened} << notOpened;
        QTest::newRow("not a database") << false << QStringList{"QSqlError", "Create table driver error"}
                                        << "QSqlError";
    }

    void fileInTheWay()
    {
        QFETCH(bool, folder);
        QFETCH(QStringList, insertLines);
        QFETCH(QString, loadLine);
        if (folder) {
            QVERIFY(QDir().mkdir("task.db"));
        } else {
            QFile file("task.db");
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(QByteArray(8192, 'x'));
        }
        for (const QString &line : qAsConst(insertLines))
            expectLine(qPrintable(line));
        QVERIFY(!PrinterStore::insertPrinter(record("a")));
        expectLine(qPrintable(loadLine));
        QList<DriverInfo> printers;
        QVERIFY(!PrinterStore::loadPrinters(printers));
    }

private:
    QString m_before;
    std::unique_ptr<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(PrinterStoreTest)
#include "tst_printerstore.moc"
