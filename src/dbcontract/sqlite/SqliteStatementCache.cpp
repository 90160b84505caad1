#include "dbcontract/sqlite/SqliteStatementCache.h"

#include <sqlite3.h>

namespace vorn {

SqliteStatementCache::~SqliteStatementCache() { Close(); }

sqlite3_stmt* SqliteStatementCache::Take(const std::string& sql) noexcept {
    const auto found = idle_.find(sql);
    if (found == idle_.end()) return nullptr;
    sqlite3_stmt* statement = found->second;
    idle_.erase(found);
    return statement;
}

void SqliteStatementCache::Give(const std::string& sql, sqlite3_stmt* statement) noexcept {
    if (statement == nullptr) return;
    sqlite3_reset(statement);
    sqlite3_clear_bindings(statement);
    if (closed_) {
        sqlite3_finalize(statement);
        return;
    }
    if (idle_.size() >= kLimit) {
        // No order of use is kept: dropping any one keeps the cache small
        // and the common statements come back at their next use.
        sqlite3_finalize(idle_.begin()->second);
        idle_.erase(idle_.begin());
    }
    try {
        idle_.emplace(sql, statement);
    } catch (...) {
        sqlite3_finalize(statement);
    }
}

void SqliteStatementCache::Close() noexcept {
    closed_ = true;
    for (const auto& [sql, statement] : idle_) sqlite3_finalize(statement);
    idle_.clear();
}

}  // namespace vorn
