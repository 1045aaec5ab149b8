#pragma once

#include <QByteArray>

/// What each target defines: requires of its parser what must hold for this input. It is called under the code page of
/// a development machine, and under that of the machines that the program is for.
void checkInput(const QByteArray &bytes);

/// Ends the run, which keeps the input as a finding, unless the promise holds.
void require(bool holds, const char *promise);
