#include "dbcontract/sqlite/SqliteSavepoint.h"

#include "dbcontract/sqlite/SqliteDdl.h"
#include "dbcontract/sqlite/SqliteHandle.h"
#include "dbcontract/sqlite/SqliteStatement.h"

namespace vorn {

SqliteSavepoint::SqliteSavepoint(const SqliteHandle& db, std::string name)
    : db_(db), name_(SqliteDdl::Quote(name)) {
    // Outside a transaction the work gets a write lock first: a deferred
    // one that reads before it writes cannot wait for another process's
    // write, SQLite fails it at once as "database is locked".
    outermost_ = !db_.InTransaction();
    // Kept statements: a savepoint is taken for every change, thousands of
    // times in a copy.
    SqliteStatement(db_, outermost_ ? "BEGIN IMMEDIATE" : "SAVEPOINT " + name_).Run();
}

SqliteSavepoint::~SqliteSavepoint() {
    if (!open_) return;
    try {
        db_.DesignChanged();
        db_.Exec(outermost_ ? "ROLLBACK" : "ROLLBACK TO " + name_ + "; RELEASE " + name_);
    } catch (...) {
        // A failed rollback leaves the outer transaction to the caller's
        // handler; a destructor has no one to tell.
    }
}

void SqliteSavepoint::Release() {
    SqliteStatement(db_, outermost_ ? "COMMIT" : "RELEASE " + name_).Run();
    open_ = false;
}

}  // namespace vorn
