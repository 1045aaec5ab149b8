#pragma once

#include "store/driverinfo.h"

#include <QList>

/// The printers that the user has added, one row each in the table "driver" of the SQLite file "task.db" in the working
/// directory. Each call opens the file, runs one operation and closes it. Main thread only: Qt's SQL connections belong
/// to one thread. All return true on success; a failure is logged.
///
/// Values are inserted verbatim, deliberately without escaping: a name with a quote character makes the statement fail,
/// which is logged, and the printer works without its row.
namespace PrinterStore {

/// Adds a row and creates the table where it is missing. Fails when the printer name is taken.
bool insertPrinter(const DriverInfo &info);

/// Deletes the row of a printer; also true when there is none.
bool deletePrinter(const QString &printerName);

/// Sets one column of a printer's row. `value` is inserted verbatim; callers quote text values.
bool updatePrinter(const QString &printerName, const QString &column, const QString &value);

/// Appends every row to the list.
bool loadPrinters(QList<DriverInfo> &printers);

} // namespace PrinterStore
