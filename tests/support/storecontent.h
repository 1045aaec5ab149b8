#pragma once

#include <QStringList>

/// What the integrity check says of the program's store, then the rows of its printers in the order of their addition.
QStringList storeContent(const QString &fileName);

/// The row of "Desk NUMBER" when the n-th printer has been added by hand under that name; from 1 to 9.
QString storedPrinter(int number, const QString &serial);
