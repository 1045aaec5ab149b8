#pragma once

#include <QString>

// The spooler's names of the processor platforms that a driver can be installed for.
const auto EnvX86 = QStringLiteral("Windows NT x86");
const auto EnvX64 = QStringLiteral("Windows x64");
const auto EnvIA64 = QStringLiteral("Windows IA64");
