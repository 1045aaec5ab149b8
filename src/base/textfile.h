#pragma once

class QFile;
class QString;

/// Appends the text in the system's 8-bit code page to a file that is open for appending, and closes it. Of a text that
/// cannot be written wholly, as on a full disk, nothing stays in the file: a torn piece would spoil the text behind it.
/// Callable from any thread; one at a time for a file.
void appendWhole(QFile &file, const QString &text);
