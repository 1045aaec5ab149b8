#include "store/driverinfo.h"

#include <QRegularExpression>

bool CloudPrinter::isSerial(const QString &text)
{
    static const QRegularExpression serial(QRegularExpression::anchoredPattern(QStringLiteral("[0-9A-F]{16}")));
    return serial.match(text).hasMatch();
}
