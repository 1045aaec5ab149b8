#include "emulator/win32/model/database.h"

#include "emulator/win32/model/filelock.h"
#include "emulator/win32/model/home.h"
#include "emulator/win32/model/names.h"
#include "emulator/win32/model/schema.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <memory>
#include <stdexcept>

namespace Win32Emulator::Model {

namespace {

constexpr int busyTimeoutMilliseconds = 10000;

std::string stateFile(const std::string &folder)
{
    return folder + "/state.db";
}

/// The file's inode; 0 when there is no such file.
std::uint64_t fileIdentity(const std::string &path)
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 ? status.st_ino : 0;
}

int compareForSqlite(void *, int leftSize, const void *left, int rightSize, const void *right)
{
    return compareNames({static_cast<const char *>(left), static_cast<std::size_t>(leftSize)},
                        {static_cast<const char *>(right), static_cast<std::size_t>(rightSize)});
}

[[noreturn]] void fail(sqlite3 *database)
{
    throw std::runtime_error(std::string("state.db: ") + sqlite3_errmsg(database));
}

} // namespace

void Statement::prepare(const std::string &sql)
{
    check(sqlite3_prepare_v2(m_database, sql.data(), static_cast<int>(sql.size()), &m_statement, nullptr));
}

Statement::~Statement()
{
    sqlite3_finalize(m_statement);
}

bool Statement::next()
{
    const int result = sqlite3_step(m_statement);
    if (result != SQLITE_ROW && result != SQLITE_DONE)
        fail(m_database);
    return result == SQLITE_ROW;
}

std::int64_t Statement::number(int column) const
{
    return sqlite3_column_int64(m_statement, column);
}

std::string Statement::text(int column) const
{
    const void *bytes = sqlite3_column_blob(m_statement, column);
    const auto size = static_cast<std::size_t>(sqlite3_column_bytes(m_statement, column));
    return bytes ? std::string(static_cast<const char *>(bytes), size) : std::string();
}

void Statement::bind(int position, const std::string &text)
{
    check(sqlite3_bind_text64(m_statement, position, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8));
}

void Statement::bind(int position, const Blob &blob)
{
    check(sqlite3_bind_blob64(m_statement, position, blob.bytes.data(), blob.bytes.size(), SQLITE_TRANSIENT));
}

void Statement::bindNumber(int position, std::int64_t number)
{
    check(sqlite3_bind_int64(m_statement, position, number));
}

void Statement::check(int result) const
{
    if (result != SQLITE_OK)
        fail(m_database);
}

Database &Database::current()
{
    thread_local std::unique_ptr<Database> database;
    const std::string folder = homeFolder();
    if (!database || !database->serves(folder)) {
        database.reset();
        database = std::make_unique<Database>(folder);
    }
    return *database;
}

Database::Database(const std::string &folder)
    : m_folder(folder)
{
    // Opening sets the journal mode and may make the tables: one process after the other.
    const FileLock lock(folder + "/state.lock", FileLock::Wait);
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
    try {
        if (sqlite3_open_v2(stateFile(folder).c_str(), &m_database, flags, nullptr) != SQLITE_OK)
            fail(m_database);
        sqlite3_busy_timeout(m_database, busyTimeoutMilliseconds);
        sqlite3_create_collation(m_database, "WINDOWS_NAME", SQLITE_UTF8, nullptr, compareForSqlite);
        // The last process out would fold the log into the file, in the way of one that is just coming in.
        sqlite3_db_config(m_database, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
        setUp(*this);
    } catch (...) {
        sqlite3_close(m_database);
        throw;
    }
    m_fileIdentity = fileIdentity(stateFile(folder));
}

Database::~Database()
{
    sqlite3_close(m_database);
}

bool Database::serves(const std::string &folder) const
{
    // A test may have deleted the folder and made a new one of the same name.
    return m_folder == folder && m_fileIdentity == fileIdentity(stateFile(folder));
}

void Database::runScript(const char *sql)
{
    if (sqlite3_exec(m_database, sql, nullptr, nullptr, nullptr) != SQLITE_OK)
        fail(m_database);
}

std::int64_t Database::lastInsertedId() const
{
    return sqlite3_last_insert_rowid(m_database);
}

int Database::changes() const
{
    return sqlite3_changes(m_database);
}

bool Database::isInTransaction() const
{
    return sqlite3_get_autocommit(m_database) == 0;
}

Transaction::Transaction()
    : m_database(Database::current())
    , m_open(!m_database.isInTransaction())
{
    if (m_open)
        m_database.run("BEGIN IMMEDIATE");
}

Transaction::~Transaction()
{
    if (!m_open)
        return;
    try {
        m_database.run("ROLLBACK");
    } catch (const std::exception &) {
        // SQLite has rolled back by itself.
    }
}

void Transaction::commit()
{
    if (m_open)
        m_database.run("COMMIT");
    m_open = false;
}

} // namespace Win32Emulator::Model
