#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "dbcontract/DaoCollection.h"
#include "dbcontract/Database.h"

namespace vorn {

// The default workspace: the open databases of the process and the one
// transaction that spans all of them.
class Workspace {
public:
    Workspace() = default;
    Workspace(const Workspace&) = delete;
    Workspace& operator=(const Workspace&) = delete;

    const std::string& Name() const { return name_; }

    // The databases opened through the engine and not yet closed, in the
    // order they were opened.
    DaoCollection<Database> Databases();
    void Add(std::shared_ptr<Database> database);

    bool IsolateODBCTrans() const { return isolateODBCTrans_; }
    void SetIsolateODBCTrans(bool isolate) { isolateODBCTrans_ = isolate; }

    // A transaction over every open database; they nest. Commit and
    // Rollback without a transaction fail with 3034.
    void BeginTrans();
    void CommitTrans(std::int32_t options = 0);
    void Rollback();
    std::int32_t TransactionDepth() const { return depth_; }

private:
    std::vector<std::shared_ptr<Database>> OpenDatabases();

    std::string name_ = "#Default Workspace#";
    std::vector<std::shared_ptr<Database>> databases_;
    bool isolateODBCTrans_ = false;
    std::int32_t depth_ = 0;
};

}  // namespace vorn
