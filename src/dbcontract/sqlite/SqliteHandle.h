#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

struct sqlite3;

namespace vorn {

class SqliteStatementCache;

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

    // The prepared statements kept for reuse on this connection (see
    // SqliteStatement's constructor from a handle).
    const std::shared_ptr<SqliteStatementCache>& Statements() const noexcept { return statements_; }

    // Runs one or more statements that return no rows.
    void Exec(std::string_view sql) const;

    // Designs a catalog may keep. Kept only while this connection is the
    // file's one writer (a copy being filled), and dropped whenever a
    // table's design may have changed: every catalog write of tables, fields,
    // indexes or properties, and every rollback, moves the epoch on.
    void KeepDesigns(bool keep) noexcept { keepDesigns_ = keep; }
    bool KeepsDesigns() const noexcept { return keepDesigns_; }
    void DesignChanged() const noexcept { ++designEpoch_; }
    std::uint64_t DesignEpoch() const noexcept { return designEpoch_; }

    std::int64_t Changes() const noexcept;
    std::int64_t LastInsertRowid() const noexcept;
    bool InTransaction() const noexcept;

    // Closes the connection; kept statements are finalized first, and
    // statements still open are finalized by SQLite when their owners drop
    // them.
    void Close() noexcept;

private:
    sqlite3* db_ = nullptr;
    std::shared_ptr<SqliteStatementCache> statements_;
    bool keepDesigns_ = false;
    mutable std::uint64_t designEpoch_ = 0;
};

}  // namespace vorn
