#pragma once

#include <QMetaType>
#include <QString>

/// The record of one cloud printer. A plain value, registered as meta-type "DriverInfo" at start-up so that queued
/// signals can carry it between threads.
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
