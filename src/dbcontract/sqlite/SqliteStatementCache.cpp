#include "dbcontract/sqlite/SqliteStatementCache.h"

#include <sqlite3.h>

namespace vorn {

SqliteStatementCache::~SqliteStatementCache() { Close(); }

sqlite3_stmt* SqliteStatementCache::Take(const std::string& sql) noexcept {
    const auto found = idle_.find(sql);
    if (found == idle_.end() || found->second.empty()) return nullptr;
    sqlite3_stmt* statement = found->second.back();
    found->second.pop_back();
    --count_;
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
    if (count_ >= kLimit || idle_.size() >= kLimit) {
        // No order of use is kept: dropping them all keeps the cache small,
        // and the common statements come back at their next use.
        FinalizeIdle();
    }
    try {
        idle_[sql].push_back(statement);
        ++count_;
    } catch (...) {
        sqlite3_finalize(statement);
    }
}

void SqliteStatementCache::Close() noexcept {
    closed_ = true;
    FinalizeIdle();
}

void SqliteStatementCache::FinalizeIdle() noexcept {
    for (const auto& [sql, statements] : idle_) {
        for (sqlite3_stmt* statement : statements) sqlite3_finalize(statement);
    }
    idle_.clear();
    count_ = 0;
}

}  // namespace vorn
