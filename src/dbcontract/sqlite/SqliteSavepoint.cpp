#include "dbcontract/sqlite/SqliteSavepoint.h"

#include "dbcontract/sqlite/SqliteDdl.h"
#include "dbcontract/sqlite/SqliteHandle.h"

namespace vorn {

SqliteSavepoint::SqliteSavepoint(const SqliteHandle& db, std::string name)
    : db_(db), name_(SqliteDdl::Quote(name)) {
    db_.Exec("SAVEPOINT " + name_);
}

SqliteSavepoint::~SqliteSavepoint() {
    if (!open_) return;
    try {
        db_.Exec("ROLLBACK TO " + name_ + "; RELEASE " + name_);
    } catch (...) {
        // A failed rollback leaves the outer transaction to the caller's
        // handler; a destructor has no one to tell.
    }
}

void SqliteSavepoint::Release() {
    db_.Exec("RELEASE " + name_);
    open_ = false;
}

}  // namespace vorn
