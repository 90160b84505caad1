#pragma once

#include <memory>

#include "dbcontract/Database.h"
#include "dbcontract/EnterpriseBackend.h"

namespace vorn {

// An enterprise database seen as the data access objects see a project
// file: TableDefs (the server's tables, views left out) with Fields (DAO
// type codes mapped from the server's types), Indexes (fields in key order
// with their sort sense) and Relations (from the foreign keys); rows through
// OpenRecordset. The forms in use: (sql, 2, 512) can AddNew, Edit and
// Update rows of one table; (sql, 2, 4), (sql, 8, 256) and (sql, 0, 0)
// read. Statements go through the engine's rewrite of SQL Server text.
// Made by IdaoEngine::OpenDatabase; the caller closes it.
class IdaoDatabase : public Database {
  public:
    explicit IdaoDatabase(std::unique_ptr<EnterpriseBackend> backend);
};

}  // namespace vorn
