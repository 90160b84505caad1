#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>

struct sqlite3_stmt;

namespace vorn {

// Prepared statements of one connection kept for reuse, by their SQL text.
// Preparing costs far more than running for the small statements that the
// catalog and the row writes repeat (a copy of a project runs the same
// insert thousands of times), so a statement given back is reset and kept.
// SQLite prepares a kept statement again by itself when the schema changes.
class SqliteStatementCache {
public:
    SqliteStatementCache() = default;
    ~SqliteStatementCache();
    SqliteStatementCache(const SqliteStatementCache&) = delete;
    SqliteStatementCache& operator=(const SqliteStatementCache&) = delete;

    // An idle statement prepared from `sql`, or nullptr when none is kept.
    sqlite3_stmt* Take(const std::string& sql) noexcept;

    // Takes back a statement prepared from `sql`: reset, its bindings
    // cleared, kept for the next Take. Finalized instead once the cache is
    // closed, or when it holds its limit.
    void Give(const std::string& sql, sqlite3_stmt* statement) noexcept;

    // Finalizes every idle statement; whatever is given back later is
    // finalized at once. The connection closes after this.
    void Close() noexcept;

private:
    static constexpr std::size_t kLimit = 128;

    std::unordered_multimap<std::string, sqlite3_stmt*> idle_;
    bool closed_ = false;
};

}  // namespace vorn
