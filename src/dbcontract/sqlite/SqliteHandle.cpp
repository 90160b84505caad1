#include "dbcontract/sqlite/SqliteHandle.h"

#include <sqlite3.h>

#include "dbcontract/sqlite/SqliteCollations.h"
#include "dbcontract/sqlite/SqliteErrors.h"
#include "dbcontract/sqlite/SqliteStatementCache.h"
#include "runtime/ErrorNumbers.h"

namespace vorn {
namespace {

constexpr int kBusyTimeoutMs = 2000;

}  // namespace

SqliteHandle::SqliteHandle(const std::string& path, int flags)
    : statements_(std::make_shared<SqliteStatementCache>()) {
    const int rc = sqlite3_open_v2(path.c_str(), &db_, flags, nullptr);
    if (rc != SQLITE_OK) {
        auto error = db_ != nullptr ? SqliteErrors::FromHandle(db_) : SqliteErrors::FromSqlite(rc, sqlite3_errstr(rc));
        if ((rc & 0xFF) == SQLITE_CANTOPEN) {
            // SQLite's own text does not say which file.
            error = SqliteErrors::Jet(errnum::kJetCannotOpenFile,
                                      "Could not open the file '" + path + "' (" + sqlite3_errstr(rc) + ").");
        }
        Close();
        throw error;
    }
    sqlite3_extended_result_codes(db_, 1);
    // Another process's write holds the file for a moment; wait for it.
    sqlite3_busy_timeout(db_, kBusyTimeoutMs);
    SqliteCollations::Register(db_);
}

SqliteHandle::~SqliteHandle() { Close(); }

void SqliteHandle::Exec(std::string_view sql) const {
    const std::string text(sql);
    char* message = nullptr;
    const int rc = sqlite3_exec(db_, text.c_str(), nullptr, nullptr, &message);
    sqlite3_free(message);
    if (rc != SQLITE_OK) throw SqliteErrors::FromHandle(db_);
}

std::int64_t SqliteHandle::Changes() const noexcept { return sqlite3_changes64(db_); }

std::int64_t SqliteHandle::LastInsertRowid() const noexcept {
    return sqlite3_last_insert_rowid(db_);
}

bool SqliteHandle::InTransaction() const noexcept { return sqlite3_get_autocommit(db_) == 0; }

void SqliteHandle::Close() noexcept {
    if (db_ == nullptr) return;
    statements_->Close();
    sqlite3_close_v2(db_);
    db_ = nullptr;
}

}  // namespace vorn
