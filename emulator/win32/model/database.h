#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>

struct sqlite3;
struct sqlite3_stmt;

namespace Win32Emulator::Model {

/// Bytes bound as a blob; a plain std::string is bound as text.
struct Blob
{
    const std::string &bytes;
};

/// One prepared statement with its values bound; finalised with the object. Columns count from 0. Throws
/// std::runtime_error when SQLite refuses.
class Statement
{
public:
    template <typename... Values>
    Statement(sqlite3 *database, const std::string &sql, const Values &...values)
        : m_database(database)
    {
        prepare(sql);
        int position = 0;
        (bind(++position, values), ...);
    }
    ~Statement();
    Statement(const Statement &) = delete;
    Statement &operator=(const Statement &) = delete;

    /// Moves to the next row; false when there is none left.
    bool next();

    std::int64_t number(int column) const;
    std::string text(int column) const; ///< also a blob's bytes

private:
    void prepare(const std::string &sql);
    template <typename Number, typename = std::enable_if_t<std::is_integral_v<Number>>>
    void bind(int position, Number number)
    {
        bindNumber(position, static_cast<std::int64_t>(number));
    }
    void bind(int position, const std::string &text);
    void bind(int position, const Blob &blob);
    void bindNumber(int position, std::int64_t number);
    void check(int result) const;

    sqlite3 *m_database;
    sqlite3_stmt *m_statement = nullptr;
};

/// A connection to the state of the emulated machine. Each thread has its own.
class Database
{
public:
    /// The calling thread's connection to the state in the home folder, opened (and the state made) when needed.
    static Database &current();

    explicit Database(const std::string &folder);
    ~Database();
    Database(const Database &) = delete;
    Database &operator=(const Database &) = delete;

    template <typename... Values>
    Statement query(const std::string &sql, const Values &...values)
    {
        return Statement(m_database, sql, values...);
    }

    /// Runs a statement to its end; returns how many rows it changed.
    template <typename... Values>
    int run(const std::string &sql, const Values &...values)
    {
        Statement statement(m_database, sql, values...);
        while (statement.next()) {
        }
        return changes();
    }

    /// Runs several statements without values.
    void runScript(const char *sql);

    std::int64_t lastInsertedId() const;
    bool isInTransaction() const;

private:
    bool serves(const std::string &folder) const;
    int changes() const;

    std::string m_folder;
    std::uint64_t m_fileIdentity = 0;
    sqlite3 *m_database = nullptr;
};

/// A write transaction: rolled back unless committed. It takes the write lock at once, so what is read in it still
/// holds when it writes. Inside another one of the thread it is a part of that, which commits or rolls back for both.
class Transaction
{
public:
    Transaction();
    ~Transaction();
    Transaction(const Transaction &) = delete;
    Transaction &operator=(const Transaction &) = delete;

    void commit();

private:
    Database &m_database;
    bool m_open;
};

} // namespace Win32Emulator::Model
