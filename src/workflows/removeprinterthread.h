#pragma once

#include "spooler/cprinter.h"
#include "store/driverinfo.h"

#include <QThread>

/// Deletes the queue of one cloud printer and, if requested, the driver and its packages unless another printer uses
/// them. The printer's port stays for a later add. The interface thread creates it, sets its options, starts it once
/// and deletes it through finished(). Nothing is rolled back.
class RemovePrinterThread : public QThread
{
    Q_OBJECT

public:
    explicit RemovePrinterThread(const DriverInfo &info, QObject *parent = nullptr);

    /// Whether the driver is removed with the queue. Off by default.
    bool removeDriver() const { return m_removeDriver; }
    void setRemoveDriver(bool remove) { m_removeDriver = remove; }

    /// Whether the driver's packages are removed with the driver. Off by default.
    bool removeDriverPackage() const { return m_removeDriverPackage; }
    void setRemoveDriverPackage(bool remove) { m_removeDriverPackage = remove; }

signals:
    /// Emitted exactly once, with the record as it was given.
    void removeResult(bool success, const QString &message, const DriverInfo &driverinfo);

protected:
    void run() override;

private:
    struct Outcome
    {
        bool success;
        QString message;
    };

    Outcome removePrinter();
    Outcome removeDriverAndPackages();
    bool isDriverInUse();

    const DriverInfo m_info;
    bool m_removeDriver = false;
    bool m_removeDriverPackage = false;
    CPrinter m_printer;
};
