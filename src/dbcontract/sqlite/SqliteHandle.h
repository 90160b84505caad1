#pragma once

#include <cstdint>
#include <string>
#include <string_view>

struct sqlite3;

namespace vorn {

// Owns one SQLite connection. The connection knows the engine's collations
// (VORNNOCASE, VORNDECIMAL) from the moment it is open.
class SqliteHandle {
public:
    // Opens `path` with sqlite3_open_v2 flags; raises the mapped error when
    // SQLite cannot.
    SqliteHandle(const std::string& path, int flags);
    ~SqliteHandle();
    SqliteHandle(const SqliteHandle&) = delete;
    SqliteHandle& operator=(const SqliteHandle&) = delete;

    sqlite3* Get() const noexcept { return db_; }

    // Runs one or more statements that return no rows.
    void Exec(std::string_view sql) const;

    std::int64_t Changes() const noexcept;
    std::int64_t LastInsertRowid() const noexcept;
    bool InTransaction() const noexcept;

    // Closes the connection; statements still open are finalized by SQLite
    // when their owners drop them.
    void Close() noexcept;

private:
    sqlite3* db_ = nullptr;
};

}  // namespace vorn
