#pragma once

#include <QString>

/// Whether ordinary users may change a file or folder: add to it, write, delete, or change its rights. True also when
/// its rights cannot be read.
bool isOpenToUsers(const QString &path);
