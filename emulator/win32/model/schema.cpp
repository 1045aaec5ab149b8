#include "emulator/win32/model/schema.h"

#include "emulator/win32/model/basics.h"
#include "emulator/win32/model/database.h"
#include "emulator/win32/model/jobs.h"

namespace Win32Emulator {

const char *const stateFile = "state-3.db";

const char *const connectionSettings = R"(
    PRAGMA synchronous = OFF;
    PRAGMA foreign_keys = ON;
)";

// Numbers of printers and jobs are never reused: a stale handle or job number must not refer to a newer one.
const char *const createTables = R"(
    PRAGMA journal_mode = WAL;
    BEGIN IMMEDIATE;
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
        port TEXT NOT NULL COLLATE WINDOWS_NAME,
        driver TEXT NOT NULL COLLATE WINDOWS_NAME,
        pending_deletion INTEGER NOT NULL DEFAULT 0);
    CREATE TABLE printer_data (
        printer INTEGER NOT NULL REFERENCES printers ON DELETE CASCADE,
        name TEXT NOT NULL COLLATE WINDOWS_NAME,
        type INTEGER NOT NULL,
        bytes TEXT NOT NULL,
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
    INSERT INTO services (name, state) VALUES ('Spooler', 4 /* running */);
    PRAGMA user_version = 1;
    COMMIT;
)";

void resetState()
{
    Transaction transaction;
    removeJobs();
    for (const char *table : {"services", "service_scripts", "driver_packages", "drivers", "ports", "printers",
                              "faults", "calls", "sqlite_sequence"})
        run(std::string("DELETE FROM ") + table);
    run("INSERT INTO services (name, state) VALUES ('Spooler', 4)");
    transaction.commit();
}

} // namespace Win32Emulator
