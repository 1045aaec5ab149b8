#include "store/printerstore.h"

#include <QDebug>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

namespace {

const auto tableCheck = QStringLiteral("select count(*) from sqlite_master where type = 'table' and name = 'driver'");
const auto createTable = QStringLiteral(
    "create table driver(id integer PRIMARY KEY autoincrement, printer_name text UNIQUE, driver_name text, cloud_sn "
    "text, port_name text, port_num INTEGER, ip text,  ts TIMESTAMP DEFAULT (datetime('now','localtime')))");
// SQLite takes the double-quoted values as texts because no column has such a name.
const auto insertRow =
    QStringLiteral("INSERT INTO driver(printer_name, driver_name, cloud_sn, port_name, port_num, ip) "
                   "VALUES( \"%1\", \"%2\", \"%3\", \"%4\", %5, \"%6\")");
const auto deleteRow = QStringLiteral("delete from driver where printer_name = '%1'");
const auto updateRow = QStringLiteral("update driver set %1 = %2 where printer_name = '%3'");
const auto selectRows = QStringLiteral("select * from driver");

QSqlDatabase connection()
{
    const auto name = QStringLiteral("qt_sql_default_connection");
    if (QSqlDatabase::contains(name))
        return QSqlDatabase::database(name);
    QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"));
    // Another program may hold the file locked; the interface must not freeze for Qt's default of 5 s.
    database.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=500"));
    return database;
}

/// Opens task.db, lets `work` use it and closes it again, whatever the outcome.
template <typename Work>
bool withDatabase(Work work)
{
    QSqlDatabase database = connection();
    database.setDatabaseName(QStringLiteral("task.db"));
    if (!database.open()) {
        qDebug() << "Error: Fail to open task.db." << database.lastError();
        return false;
    }
    // A query must be destroyed before its connection closes.
    const bool done = [&] {
        QSqlQuery query(database);
        return work(query);
    }();
    database.close();
    return done;
}

bool run(QSqlQuery &query, const QString &statement)
{
    if (query.exec(statement))
        return true;
    qDebug() << query.lastError();
    return false;
}

bool tableExists(QSqlQuery &query)
{
    return run(query, tableCheck) && query.next() && query.value(0).toInt() > 0;
}

bool insertInto(QSqlQuery &query, const QString &statement)
{
    if (!tableExists(query) && !query.exec(createTable)) {
        qDebug() << "Create table driver error" << query.lastError();
        return false;
    }
    if (!query.exec(statement)) {
        qDebug() << "Insert printer error" << query.lastError();
        return false;
    }
    return true;
}

DriverInfo currentRow(const QSqlQuery &query)
{
    DriverInfo info;
    info.driverName = query.value(QStringLiteral("driver_name")).toString();
    info.ip = query.value(QStringLiteral("ip")).toString();
    info.portName = query.value(QStringLiteral("port_name")).toString();
    info.portNum = static_cast<quint16>(query.value(QStringLiteral("port_num")).toInt());
    info.printerName = query.value(QStringLiteral("printer_name")).toString();
    info.cloudSn = query.value(QStringLiteral("cloud_sn")).toString();
    return info;
}

} // namespace

namespace PrinterStore {

bool insertPrinter(const DriverInfo &info)
{
    const QString statement = insertRow.arg(info.printerName, info.driverName, info.cloudSn, info.portName,
                                            QString::number(info.portNum), info.ip);
    return withDatabase([&](QSqlQuery &query) { return insertInto(query, statement); });
}

bool deletePrinter(const QString &printerName)
{
    return withDatabase([&](QSqlQuery &query) { return run(query, deleteRow.arg(printerName)); });
}

bool updatePrinter(const QString &printerName, const QString &column, const QString &value)
{
    return withDatabase([&](QSqlQuery &query) { return run(query, updateRow.arg(column, value, printerName)); });
}

bool loadPrinters(QList<DriverInfo> &printers)
{
    return withDatabase([&](QSqlQuery &query) {
        if (!run(query, selectRows))
            return false;
        while (query.next())
            printers.append(currentRow(query));
        return true;
    });
}

} // namespace PrinterStore
