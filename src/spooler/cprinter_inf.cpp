#include "spooler/cprinter.h"

#include "spooler/inffile.h"

#include <QDebug>
#include <QFile>

namespace {

bool openInf(QFile &file, const char *failureText)
{
    if (file.open(QIODevice::ReadOnly | QIODevice::Text))
        return true;
    qDebug() << failureText << file.errorString();
    return false;
}

} // namespace

QString CPrinter::GetInfVersion(const QString &fileName)
{
    qDebug() << "1165_CPrinter GetInfVersion()" << fileName;
    QFile file(fileName);
    return openInf(file, "1165_CPrinter") ? InfFile::version(file) : QString();
}

QString CPrinter::GetInfManufacturer(const QString &fileName)
{
    qDebug() << "1242_CPrinter GetInfManufacturer()" << fileName;
    QFile file(fileName);
    return openInf(file, "1246_CPrinter") ? InfFile::manufacturer(file) : QString();
}

QSet<QString> CPrinter::GetInfDrivers(const QString &fileName)
{
    qDebug() << "1194_CPrinter GetInfDrivers()" << fileName;
    const QString section = GetInfManufacturer(fileName);
    if (section.isEmpty())
        return {};
    QFile file(fileName);
    return openInf(file, "1203_CPrinter") ? InfFile::models(file, section) : QSet<QString>();
}
