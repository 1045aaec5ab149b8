#pragma once

namespace Win32Emulator::Model {

class Database;

/// Prepares a new connection: its settings, and the tables of a fresh machine when there are none yet.
void setUp(Database &database);

/// Brings the machine to its fresh state: the Spooler service running, nothing else; numbering starts anew.
void resetState();

} // namespace Win32Emulator::Model
