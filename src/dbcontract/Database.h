#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "dbcontract/DaoCollection.h"
#include "dbcontract/DatabaseBackend.h"
#include "dbcontract/Properties.h"
#include "dbcontract/QueryDef.h"
#include "dbcontract/Recordset.h"
#include "dbcontract/Relation.h"
#include "dbcontract/TableDef.h"

namespace vorn {

// An open database: a project file, or an enterprise database seen through
// the same objects. Made by DBEngine::OpenDatabase or CreateDatabase; the
// caller closes it. Its collections are live: appending a TableDef creates
// the table, deleting one drops it. After Close every object of the
// database fails with 3420.
class Database {
public:
    explicit Database(std::unique_ptr<DatabaseBackend> backend);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    // The full path of the file.
    const std::string& Name() const { return name_; }
    // "" for a project file.
    const std::string& Connect() const { return connect_; }
    const std::string& Version() const { return version_; }
    bool Updatable() const;
    // The rows the last Execute touched.
    std::int64_t RecordsAffected() const { return recordsAffected_; }

    DaoCollection<TableDef>& TableDefs() { return tableDefs_; }
    DaoCollection<Relation>& Relations() { return relations_; }
    DaoCollection<QueryDef>& QueryDefs() { return queryDefs_; }
    Properties& GetProperties() { return properties_; }

    std::shared_ptr<TableDef> CreateTableDef(const std::string& name = {}, std::int32_t attributes = 0,
                                             const std::string& sourceTableName = {},
                                             const std::string& connect = {});
    std::shared_ptr<Relation> CreateRelation(const std::string& name = {}, const std::string& table = {},
                                             const std::string& foreignTable = {}, std::int32_t attributes = 0);
    // With a name, the query is stored at once, as the engine did.
    std::shared_ptr<QueryDef> CreateQueryDef(const std::string& name = {}, const std::string& sql = {});
    std::shared_ptr<Property> CreateProperty(const std::string& name = {}, std::int16_t type = 10,
                                             const Variant& value = {});

    // Opens rows of a table, a stored query or a statement. The type
    // defaults to a table for a local table and a dynaset otherwise.
    std::unique_ptr<Recordset> OpenRecordset(const std::string& source, std::int32_t type = 0,
                                             std::int32_t options = 0);

    // Runs a statement that returns no rows. Schema statements are seen by
    // the collections at their next use.
    void Execute(const std::string& sql, std::int32_t options = 0);

    // Transactions of this database; the workspace runs them over all.
    void BeginTrans();
    void CommitTrans();
    void Rollback();

    void Close();
    bool IsOpen() const { return backend_ != nullptr; }

private:
    std::shared_ptr<DatabaseBackend> Backend() const;
    void SetHooks();
    void MakeBuiltIns();
    void ReloadCollections();

    std::shared_ptr<DatabaseBackend> backend_;
    std::string name_;
    std::string connect_;
    std::string version_;
    std::int64_t recordsAffected_ = 0;
    DaoCollection<TableDef> tableDefs_;
    DaoCollection<Relation> relations_;
    DaoCollection<QueryDef> queryDefs_;
    Properties properties_;
};

}  // namespace vorn
