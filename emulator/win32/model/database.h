#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// SQL over the state of the emulated machine in the home folder. Each thread has its own connection, opened (and
/// the state created) on first use. Everything here throws std::runtime_error when SQLite refuses.
namespace Win32Emulator {

/// A value to bind or a column of a row: a number, or a text, which may hold any bytes.
struct Value
{
    Value(std::int64_t value)
        : number(value)
    {
    }
    Value(std::string value)
        : text(std::move(value))
        , isText(true)
    {
    }

    std::int64_t number = 0;
    std::string text;
    bool isText = false;

    operator unsigned() const { return static_cast<unsigned>(number); }
    operator const std::string &() const { return text; }
};

using Values = std::vector<Value>;

/// Runs a statement; returns its rows.
std::vector<Values> query(const std::string &sql, const Values &values = {});

/// Runs a statement; returns how many rows it changed.
int run(const std::string &sql, const Values &values = {});

/// The rows of a query as records.
template <typename Record>
std::vector<Record> records(Record (*read)(const Values &), const std::string &sql, const Values &values = {})
{
    std::vector<Record> result;
    for (const Values &row : query(sql, values))
        result.push_back(read(row));
    return result;
}

/// The first row of a query as a record.
template <typename Record>
std::optional<Record> record(Record (*read)(const Values &), const std::string &sql, const Values &values = {})
{
    const std::vector<Values> rows = query(sql, values);
    return rows.empty() ? std::nullopt : std::optional<Record>(read(rows.front()));
}

std::int64_t lastInsertedId();

/// A write transaction: rolled back unless committed. It takes the write lock at once, so what is read in it still
/// holds when it writes. A nested one is part of the outer one, which commits or rolls back for both.
class Transaction
{
public:
    Transaction();
    ~Transaction();
    Transaction(const Transaction &) = delete;
    Transaction &operator=(const Transaction &) = delete;

    void commit();

private:
    bool m_open;
};

} // namespace Win32Emulator
