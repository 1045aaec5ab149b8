#pragma once

/// Whether the process may open so many files and sockets more. Always where the system has no limit that it
/// could reach, as on Windows. Cheap enough to ask before every job; callable from any thread.
bool descriptorsAreLeft(int count);
