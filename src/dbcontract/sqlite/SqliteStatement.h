#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "dbcontract/sqlite/SqliteStoredValue.h"

struct sqlite3;
struct sqlite3_stmt;

namespace vorn {

class SqliteHandle;
class SqliteStatementCache;

// Owns one prepared statement. Parameters and columns count as SQLite
// counts them: parameters from 1, columns from 0.
class SqliteStatement {
public:
    // Prepares the first statement of `sql`; raises the mapped error.
    SqliteStatement(sqlite3* db, std::string_view sql);
    // The same for one statement that is run again and again: taken from
    // the handle's kept statements when one is idle, and given back to them
    // (reset) when dropped.
    SqliteStatement(const SqliteHandle& handle, std::string_view sql);
    ~SqliteStatement();
    SqliteStatement(SqliteStatement&& other) noexcept;
    SqliteStatement& operator=(SqliteStatement&& other) noexcept;
    SqliteStatement(const SqliteStatement&) = delete;
    SqliteStatement& operator=(const SqliteStatement&) = delete;

    SqliteStatement& Bind(int index, const StoredValue& value);
    SqliteStatement& BindText(int index, std::string_view text);
    SqliteStatement& BindInt(int index, std::int64_t value);

    // Steps once: true when a row is there, false when done.
    bool Step();
    // Steps to the end, for statements that return no rows.
    void Run();
    // Back to before the first row; bindings stay.
    void Reset() noexcept;

    int ColumnCount() const noexcept;
    bool IsNull(int column) const noexcept;
    StoredValue Column(int column) const;
    std::string Text(int column) const;
    std::int64_t Int(int column) const noexcept;

    // Metadata of a result column: its name, declared type, and where it
    // comes from (empty for an expression).
    std::string ColumnName(int column) const;
    std::string DeclaredType(int column) const;
    std::string OriginSchema(int column) const;
    std::string OriginTable(int column) const;
    std::string OriginField(int column) const;

    // True when the statement changes nothing.
    bool ReadOnly() const noexcept;
    // The text after the first statement of the prepared SQL.
    const std::string& Tail() const noexcept { return tail_; }

private:
    // Finalizes the statement, or gives it back to the kept statements.
    void Release() noexcept;

    sqlite3* db_ = nullptr;
    sqlite3_stmt* statement_ = nullptr;
    std::string tail_;
    std::string sql_;
    // Set when the statement goes back to the handle's kept statements.
    std::shared_ptr<SqliteStatementCache> cache_;
};

}  // namespace vorn
