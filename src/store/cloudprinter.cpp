#include "store/cloudprinter.h"

#include <QRegularExpression>

namespace {

const auto portPrefix = QStringLiteral("OXCloud");
const auto makerPrefix = QStringLiteral("Orvo ");
constexpr int portDigits = 3;
constexpr int portNumberBase = 8100;

} // namespace

QString CloudPrinter::portName(int number)
{
    return portPrefix + QStringLiteral("%1").arg(number, portDigits, 10, QLatin1Char('0'));
}

quint16 CloudPrinter::portNumber(int number)
{
    return static_cast<quint16>(portNumberBase + number);
}

bool CloudPrinter::isCloudQueue(const QString &driver, const QString &port)
{
    return driver == driverName && isCloudPort(port);
}

bool CloudPrinter::isCloudPort(const QString &port)
{
    return port.contains(portPrefix);
}

bool CloudPrinter::isPortName(const QString &port)
{
    static const QRegularExpression name(QRegularExpression::anchoredPattern(portPrefix + QStringLiteral("\\d{3,}")));
    return name.match(port).hasMatch();
}

bool CloudPrinter::isOurDriver(const QString &driver)
{
    return driver.startsWith(makerPrefix, Qt::CaseInsensitive);
}

bool CloudPrinter::isSerial(const QString &text)
{
    static const QRegularExpression serial(QRegularExpression::anchoredPattern(QStringLiteral("[0-9A-F]{16}")));
    return serial.match(text).hasMatch();
}

bool CloudPrinter::isSameName(const QString &one, const QString &other)
{
    return one.compare(other, Qt::CaseInsensitive) == 0;
}
