#pragma once

#include <QMetaType>
#include <QString>

/// What marks a queue of the spooler as one of ours.
namespace CloudPrinter {
const auto driverName = QStringLiteral("Orvo OX-410T");
/// Port number n takes at least three digits; its capture server listens on 8100 + n.
const auto portNameTemplate = QStringLiteral("OXCloud%1");
constexpr int portNamePrefixLength = 7;
const auto localAddress = QStringLiteral("127.0.0.1");

/// Whether the text is a cloud serial: 16 digits from 0-9 and A-F, upper case.
bool isSerial(const QString &text);
} // namespace CloudPrinter

/// What the program knows of one cloud printer. A plain value; registered with the meta-type system as "DriverInfo" at
/// start-up so that it crosses threads in queued signals.
struct DriverInfo
{
    QString printerName; ///< name of the spooler queue; the key of the printer's row in the store
    QString cloudSn;     ///< cloud serial: 16 digits from 0-9 and A-F
    QString portName;    ///< spooler port, "OXCloud" and a number of at least three digits
    quint16 portNum = 0; ///< local TCP port that the printer's capture server listens on
    QString driverName;  ///< spooler driver
    QString ip;          ///< address of the capture server
};

Q_DECLARE_METATYPE(DriverInfo)
