#pragma once

#include <QtGlobal>

/// Kills the real program at random moments, while jobs run and while printers are stored, and starts it again. Checks
/// that it serves its printers, that no job is submitted twice, and that log, journal and store stay whole. Prints
/// what it did, and the first error. False when there was one. Needs a QApplication.
bool runKills(int kills, quint32 seed);
