#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

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
    // closed; when the cache is full, the idle statements go first.
    void Give(const std::string& sql, sqlite3_stmt* statement) noexcept;

    // Finalizes every idle statement; whatever is given back later is
    // finalized at once. The connection closes after this.
    void Close() noexcept;

private:
    void FinalizeIdle() noexcept;

    static constexpr std::size_t kLimit = 128;

    // By text; an entry stays when its statements are taken, so that taking
    // and giving back allocate nothing once a text has been seen.
    std::unordered_map<std::string, std::vector<sqlite3_stmt*>> idle_;
    std::size_t count_ = 0;  // idle statements in all
    bool closed_ = false;
};

}  // namespace vorn
