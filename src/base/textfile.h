#pragma once

class QFile;
class QString;

/// Appends the text in the system's 8-bit code page to a file that is open for appending, and closes it. All or
/// nothing: on a write error, such as a full disk, the file is truncated to its old size, so that no partial record
/// remains. Callable from any thread, but by one thread at a time per file.
void appendAtomically(QFile &file, const QString &text);
