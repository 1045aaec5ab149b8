#include "emulator/win32/model/schema.h"

#include "emulator/win32/model/database.h"
#include "emulator/win32/model/home.h"

#include <filesystem>
#include <vector>

namespace Win32Emulator::Model {

namespace {

// The journal mode needs the file for itself for a moment; the set-up lock and the busy time-out see to that.
constexpr const char *connectionSettings = R"(
    PRAGMA journal_mode = WAL;
    PRAGMA synchronous = OFF;
    PRAGMA foreign_keys = ON;
)";

// Numbers of printers and jobs are never used twice: a stale handle or job number must not meet a newer one.
constexpr const char *tables = R"(
    CREATE TABLE services (
        name TEXT PRIMARY KEY COLLATE WINDOWS_NAME,
        depends_on TEXT NOT NULL DEFAULT '' COLLATE WINDOWS_NAME,
        state INTEGER NOT NULL,
        check_point INTEGER NOT NULL DEFAULT 0,
        wait_hint INTEGER NOT NULL DEFAULT 0);
    CREATE TABLE service_scripts (
        id INTEGER PRIMARY KEY AUTOINCREMENT,
        service TEXT NOT NULL COLLATE WINDOWS_NAME,
        state INTEGER NOT NULL,
        check_point INTEGER NOT NULL,
        wait_hint INTEGER NOT NULL);
    CREATE TABLE driver_packages (
        inf_path TEXT NOT NULL COLLATE WINDOWS_NAME,
        environment TEXT NOT NULL COLLATE WINDOWS_NAME,
        PRIMARY KEY (inf_path, environment));
    CREATE TABLE drivers (
        id INTEGER PRIMARY KEY,
        name TEXT NOT NULL COLLATE WINDOWS_NAME,
        environment TEXT NOT NULL COLLATE WINDOWS_NAME,
        version TEXT NOT NULL,
        inf_path TEXT NOT NULL,
        UNIQUE (name, environment));
    CREATE TABLE ports (
        id INTEGER PRIMARY KEY,
        name TEXT NOT NULL UNIQUE COLLATE WINDOWS_NAME,
        host TEXT NOT NULL,
        number INTEGER NOT NULL);
    CREATE TABLE printers (
        id INTEGER PRIMARY KEY AUTOINCREMENT,
        name TEXT NOT NULL UNIQUE COLLATE WINDOWS_NAME,
        share TEXT NOT NULL DEFAULT '',
        port TEXT NOT NULL COLLATE WINDOWS_NAME,
        driver TEXT NOT NULL COLLATE WINDOWS_NAME,
        pending_deletion INTEGER NOT NULL DEFAULT 0);
    CREATE TABLE printer_data (
        printer INTEGER NOT NULL REFERENCES printers ON DELETE CASCADE,
        name TEXT NOT NULL COLLATE WINDOWS_NAME,
        type INTEGER NOT NULL,
        bytes BLOB NOT NULL,
        PRIMARY KEY (printer, name));
    CREATE TABLE jobs (
        id INTEGER PRIMARY KEY AUTOINCREMENT,
        printer INTEGER NOT NULL REFERENCES printers ON DELETE CASCADE,
        document TEXT NOT NULL,
        size INTEGER NOT NULL,
        submitted INTEGER NOT NULL,
        status INTEGER NOT NULL DEFAULT 0,
        file TEXT NOT NULL);
    CREATE INDEX jobs_of_printer ON jobs (printer);
    CREATE TRIGGER finish_deletion AFTER DELETE ON jobs BEGIN
        DELETE FROM printers WHERE id = old.printer AND pending_deletion
            AND NOT EXISTS (SELECT 1 FROM jobs WHERE printer = old.printer);
    END;
    CREATE TABLE faults (
        id INTEGER PRIMARY KEY,
        function TEXT NOT NULL,
        error INTEGER NOT NULL,
        skip INTEGER NOT NULL,
        times INTEGER NOT NULL);
    CREATE TABLE calls (
        id INTEGER PRIMARY KEY AUTOINCREMENT,
        function TEXT NOT NULL,
        arguments TEXT NOT NULL);
)";

constexpr const char *freshContent = R"(
    DELETE FROM services;
    DELETE FROM service_scripts;
    DELETE FROM driver_packages;
    DELETE FROM drivers;
    DELETE FROM ports;
    DELETE FROM jobs;
    DELETE FROM printers;
    DELETE FROM faults;
    DELETE FROM calls;
    DELETE FROM sqlite_sequence;
    INSERT INTO services (name, state) VALUES ('Spooler', 4 /* running */);
)";

// Raise it with every change of the tables.
constexpr int schemaVersion = 2;

bool hasTables(Database &database)
{
    Statement version = database.query("PRAGMA user_version");
    return version.next() && version.number(0) == schemaVersion;
}

/// The tables of another version go with what they hold: it is only an emulated machine.
void dropTables(Database &database)
{
    std::vector<std::string> names;
    {
        Statement row =
            database.query("SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite_%'");
        while (row.next())
            names.push_back(row.text(0));
    }
    for (const std::string &name : names)
        database.run("DROP TABLE " + name);
}

} // namespace

void setUp(Database &database)
{
    database.runScript(connectionSettings);
    if (hasTables(database))
        return;
    database.runScript("BEGIN IMMEDIATE");
    dropTables(database);
    database.runScript(tables);
    database.runScript(freshContent);
    database.run("PRAGMA user_version = " + std::to_string(schemaVersion));
    database.runScript("COMMIT");
}

void resetState()
{
    Transaction transaction;
    Database::current().runScript(freshContent);
    transaction.commit();
    std::filesystem::remove_all(spoolFolder());
}

} // namespace Win32Emulator::Model
