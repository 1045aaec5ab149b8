#include "tests/support/storecontent.h"

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QVariant>

QStringList storeContent(const QString &fileName)
{
    const QString name = "storecontent";
    QStringList rows;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase("QSQLITE", name);
        database.setDatabaseName(fileName);
        database.open();
        for (const QString query : {"pragma integrity_check",
                                    "select printer_name || ';' || driver_name || ';' || cloud_sn || ';' || port_name "
                                    "|| ';' || port_num || ';' || ip from driver order by id"})
            for (QSqlQuery answer(query, database); answer.next();)
                rows << answer.value(0).toString();
    }
    QSqlDatabase::removeDatabase(name);
    return rows;
}

QString storedPrinter(int number, const QString &serial)
{
    return QString("Desk %1;Orvo OX-410T;%2;OXCloud00%1;810%1;127.0.0.1").arg(number).arg(serial);
}
