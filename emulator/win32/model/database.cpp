#include "emulator/win32/model/database.h"

#include "emulator/win32/model/basics.h"
#include "emulator/win32/model/schema.h"

#include <QLockFile>

#include <sqlite3.h>

#include <map>
#include <memory>

namespace Win32Emulator {

namespace {

constexpr int busyTimeoutMilliseconds = 10000;

struct Closer
{
    void operator()(sqlite3 *database) const { sqlite3_close(database); }
    void operator()(sqlite3_stmt *statement) const { sqlite3_finalize(statement); }
};

int compareForSqlite(void *, int leftSize, const void *left, int rightSize, const void *right)
{
    return compareNames({static_cast<const char *>(left), static_cast<std::size_t>(leftSize)},
                        {static_cast<const char *>(right), static_cast<std::size_t>(rightSize)});
}

/// A thread's connection, with the statements it has prepared.
class Connection
{
public:
    explicit Connection(const std::string &folder)
        : home(folder)
    {
        sqlite3 *opened = nullptr;
        const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
        const int result = sqlite3_open_v2((folder + '/' + stateFile).c_str(), &opened, flags, nullptr);
        m_database.reset(opened);
        check(result == SQLITE_OK);
        sqlite3_busy_timeout(opened, busyTimeoutMilliseconds);
        sqlite3_create_collation(opened, "WINDOWS_NAME", SQLITE_UTF8, nullptr, compareForSqlite);
        // Otherwise the last process to leave folds the log into the file and gets in the way of one that starts.
        sqlite3_db_config(opened, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
        runScript(connectionSettings);
        if (!hasTables())
            makeTables();
    }

    std::vector<Values> query(const std::string &sql, const Values &values)
    {
        sqlite3_stmt *statement = prepared(sql);
        bind(statement, values);
        std::vector<Values> rows;
        int result = 0;
        while ((result = sqlite3_step(statement)) == SQLITE_ROW)
            rows.push_back(row(statement));
        sqlite3_reset(statement);
        check(result == SQLITE_DONE);
        return rows;
    }

    sqlite3 *handle() const { return m_database.get(); }

    const std::string home;

private:
    void check(bool succeeded) const
    {
        if (!succeeded)
            throw std::runtime_error(stateFile + std::string(": ") + sqlite3_errmsg(m_database.get()));
    }

    void runScript(const char *script)
    {
        check(sqlite3_exec(m_database.get(), script, nullptr, nullptr, nullptr) == SQLITE_OK);
    }

    bool hasTables() { return query("PRAGMA user_version", {})[0][0].number != 0; }

    /// One process after the other: it sets the journal mode, too, which needs the file for itself.
    void makeTables()
    {
        QLockFile lock(QString::fromStdString(home + "/state.lock"));
        lock.lock();
        if (!hasTables())
            runScript(createTables);
    }

    sqlite3_stmt *prepared(const std::string &sql)
    {
        auto &statement = m_statements[sql];
        sqlite3_stmt *made = nullptr;
        if (!statement) {
            check(sqlite3_prepare_v2(m_database.get(), sql.c_str(), -1, &made, nullptr) == SQLITE_OK);
            statement.reset(made);
        }
        return statement.get();
    }

    void bind(sqlite3_stmt *statement, const Values &values)
    {
        int position = 0;
        for (const Value &value : values) {
            ++position;
            check(SQLITE_OK == (value.isText ? sqlite3_bind_text64(statement, position, value.text.data(),
                                                                   value.text.size(), SQLITE_STATIC, SQLITE_UTF8)
                                             : sqlite3_bind_int64(statement, position, value.number)));
        }
    }

    static Values row(sqlite3_stmt *statement)
    {
        Values columns;
        for (int column = 0; column < sqlite3_column_count(statement); ++column) {
            if (sqlite3_column_type(statement, column) == SQLITE_INTEGER) {
                columns.emplace_back(std::int64_t(sqlite3_column_int64(statement, column)));
            } else {
                const auto *text = static_cast<const char *>(sqlite3_column_blob(statement, column));
                columns.emplace_back(text ? std::string(text, size_t(sqlite3_column_bytes(statement, column))) : "");
            }
        }
        return columns;
    }

    std::unique_ptr<sqlite3, Closer> m_database;
    std::map<std::string, std::unique_ptr<sqlite3_stmt, Closer>> m_statements; ///< by their text
};

Connection &connection()
{
    thread_local std::unique_ptr<Connection> current;
    const std::string home = homeFolder();
    if (!current || current->home != home)
        current = std::make_unique<Connection>(home);
    return *current;
}

} // namespace

std::vector<Values> query(const std::string &sql, const Values &values)
{
    return connection().query(sql, values);
}

int run(const std::string &sql, const Values &values)
{
    query(sql, values);
    return sqlite3_changes(connection().handle());
}

std::int64_t lastInsertedId()
{
    return sqlite3_last_insert_rowid(connection().handle());
}

Transaction::Transaction()
    : m_open(sqlite3_get_autocommit(connection().handle()) != 0)
{
    if (m_open)
        run("BEGIN IMMEDIATE");
}

Transaction::~Transaction()
{
    if (!m_open)
        return;
    try {
        run("ROLLBACK");
    } catch (const std::exception &) {
        // SQLite has rolled back by itself.
    }
}

void Transaction::commit()
{
    if (m_open)
        run("COMMIT");
    m_open = false;
}

} // namespace Win32Emulator
