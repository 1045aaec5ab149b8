#pragma once

#include <QString>

/// Prints a file as one raw job. False when any step of the spooler failed.
bool printFile(const QString &queue, const QString &fileName);
