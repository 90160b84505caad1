#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "dbcontract/CatalogInfo.h"
#include "dbcontract/RowSource.h"

namespace vorn {

// What a recordset asks of an engine.
struct RowRequest {
    // A table name (`isTable`) or a statement in the database's SQL.
    std::string source;
    bool isTable = false;
    std::int32_t type = 0;     // dbOpenTable, dbOpenDynaset, dbOpenSnapshot, dbOpenForwardOnly
    std::int32_t options = 0;  // dbReadOnly, dbAppendOnly, dbSeeChanges, ...
    // A recordset's Filter and Sort, applied on top of the source.
    std::string filter;
    std::string sort;
};

// One open database as an engine serves it: the seam between the DAO
// objects, which hold the rules that every engine shares (collections,
// properties, recordset positioning), and the engine, which stores things.
// Every failure is a VornError with the data engine's number where it has
// one (3265, 3010, 3284, 3609, 3022, ...) and the engine's own message.
// A read-only database fails every write with 3027 and changes nothing.
class DatabaseBackend {
public:
    virtual ~DatabaseBackend() = default;
    DatabaseBackend() = default;
    DatabaseBackend(const DatabaseBackend&) = delete;
    DatabaseBackend& operator=(const DatabaseBackend&) = delete;

    // The full path of a file, or the name of a server database.
    virtual std::string Name() const = 0;
    // "" for a project file; the connect string of an enterprise database.
    virtual std::string Connect() const = 0;
    // The format version, "4.0" as Jet 4 answers.
    virtual std::string Version() const = 0;
    virtual bool Updatable() const = 0;

    // The design as it is now. Tables include the system tables.
    virtual std::vector<TableInfo> ReadTables() = 0;
    virtual std::vector<RelationInfo> ReadRelations() = 0;
    virtual std::vector<QueryInfo> ReadQueries() = 0;
    virtual std::vector<PropertyInfo> ReadProperties(const PropertyOwnerKey& owner) = 0;

    // Schema changes. Each either happens whole or not at all.
    virtual void CreateTable(const TableInfo& table) = 0;  // fields and indexes with it
    virtual void DropTable(std::string_view table) = 0;
    virtual void RenameTable(std::string_view table, std::string_view newName) = 0;
    virtual void AddField(std::string_view table, const FieldInfo& field) = 0;
    virtual void DropField(std::string_view table, std::string_view field) = 0;
    // Changes a field's name, type, size, Required, AllowZeroLength,
    // DefaultValue or validation; `field.name` is the new name. A new type
    // or size converts every stored value; one that does not convert fails
    // the change whole with the data engine's number (3421, 3349, 3163).
    virtual void AlterField(std::string_view table, std::string_view field, const FieldInfo& changed) = 0;
    virtual void CreateIndex(std::string_view table, const IndexInfo& index) = 0;
    virtual void DropIndex(std::string_view table, std::string_view index) = 0;
    // Makes the relation and, as Jet does, a foreign index named after it on
    // the child table. 3284 when that name clashes; 3609 when the parent
    // fields have no unique index.
    virtual void CreateRelation(const RelationInfo& relation) = 0;
    virtual void DropRelation(std::string_view relation) = 0;
    virtual void CreateQuery(const QueryInfo& query) = 0;
    virtual void DropQuery(std::string_view query) = 0;
    virtual void SaveProperty(const PropertyOwnerKey& owner, const PropertyInfo& property) = 0;
    virtual void DeleteProperty(const PropertyOwnerKey& owner, std::string_view name) = 0;

    // Runs a statement that returns no rows; returns the rows it touched.
    virtual std::int64_t Execute(std::string_view sql, std::int32_t options) = 0;

    // Opens rows; the caller owns them and drops them before Close.
    virtual std::unique_ptr<RowSource> OpenRows(const RowRequest& request) = 0;

    // Transactions; they nest as the workspace's do.
    virtual void BeginTrans() = 0;
    virtual void CommitTrans() = 0;
    virtual void Rollback() = 0;

    // Releases the file or connection; nothing is used after it.
    virtual void Close() = 0;
};

}  // namespace vorn
