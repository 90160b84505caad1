#include "dbcontract/Workspace.h"

#include <algorithm>

#include "runtime/ErrorNumbers.h"

namespace vorn {

std::vector<std::shared_ptr<Database>> Workspace::OpenDatabases() {
    std::erase_if(databases_, [](const auto& db) { return !db->IsOpen(); });
    return databases_;
}

DaoCollection<Database> Workspace::Databases() {
    DaoCollection<Database> collection;
    collection.Adopt(OpenDatabases());
    return collection;
}

void Workspace::Add(std::shared_ptr<Database> database) {
    OpenDatabases();
    // A database opened inside a transaction joins it at the depth reached,
    // so that the commit or rollback covers it too.
    for (std::int32_t level = 0; level < depth_; ++level) database->BeginTrans();
    databases_.push_back(std::move(database));
}

void Workspace::BeginTrans() {
    for (const auto& db : OpenDatabases()) db->BeginTrans();
    ++depth_;
}

void Workspace::CommitTrans(std::int32_t) {
    if (depth_ == 0) {
        throw VornError(errnum::kJetCommitWithoutBegin, "DAO.Workspace", "Commit or Rollback without BeginTrans.");
    }
    for (const auto& db : OpenDatabases()) db->CommitTrans();
    --depth_;
}

void Workspace::Rollback() {
    if (depth_ == 0) {
        throw VornError(errnum::kJetCommitWithoutBegin, "DAO.Workspace", "Commit or Rollback without BeginTrans.");
    }
    for (const auto& db : OpenDatabases()) db->Rollback();
    --depth_;
}

}  // namespace vorn
