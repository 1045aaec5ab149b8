#pragma once

#include <QString>

/// Where the code under test looks for the cloud. Takes the place of the address that is built into the program in
/// each executable that contains cloudaddress.cpp.
void setCloudBaseAddress(const QString &address);
