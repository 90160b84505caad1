#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "dbcontract/CatalogInfo.h"
#include "dbcontract/sqlite/SqliteCatalog.h"
#include "dbcontract/sqlite/SqliteSchemaSync.h"

namespace vorn {

class SqliteAttachments;
class SqliteHandle;

// The design changes of a project file, each checked as the data engine
// checks it and then written to the catalog and the SQLite schema. The
// caller runs each inside a savepoint, so a failure leaves the file as it
// was.
class SqliteSchemaEditor {
public:
    SqliteSchemaEditor(const SqliteHandle& db, SqliteAttachments& attachments);

    const SqliteCatalog& Catalog() const noexcept { return catalog_; }

    void CreateTable(const TableInfo& table);
    void DropTable(std::string_view table);
    void RenameTable(std::string_view table, std::string_view newName);
    void AddField(std::string_view table, const FieldInfo& field);
    void DropField(std::string_view table, std::string_view field);
    void AlterField(std::string_view table, std::string_view field, const FieldInfo& changed);
    void CreateIndex(std::string_view table, const IndexInfo& index);
    void DropIndex(std::string_view table, std::string_view index);
    void CreateRelation(const RelationInfo& relation);
    void DropRelation(std::string_view relation);
    // `viewSql` is the query's SELECT in SQLite's dialect, "" for a query
    // that is no SELECT (it is then kept in the catalog only).
    void CreateQuery(const QueryInfo& query, const std::string& viewSql);
    void DropQuery(std::string_view query);
    // Shows a saved query to this connection as a TEMP view, which unlike
    // the stored view also reaches attached tables.
    void ShowQuery(const QueryInfo& query, const std::string& viewSql);
    void SaveProperty(const PropertyOwnerKey& owner, const PropertyInfo& property);
    void DeleteProperty(const PropertyOwnerKey& owner, std::string_view name);

    // The owner as stored (names as the catalog spells them). Raises 3265
    // for a table or field that is not there.
    PropertyOwnerKey ResolveOwner(const PropertyOwnerKey& owner) const;
    // A table of this file (not attached). Raises 3265, or 3057 for an
    // attached table.
    TableInfo LocalTable(std::string_view name) const;

private:
    TableInfo ExistingTable(std::string_view name) const;
    void CheckNewName(std::string_view name, bool isTable) const;
    FieldInfo CheckedField(const TableInfo& table, FieldInfo field,
                           std::string_view replacing) const;
    void CheckIndex(const TableInfo& table, const IndexInfo& index) const;
    void CheckRelationKeys(const RelationInfo& relation, const TableInfo& parent,
                           const TableInfo& child) const;
    void CheckNoOrphans(const RelationInfo& relation) const;
    void CreateAttached(const TableInfo& table);
    void ChangeTable(const TableInfo& before, TableInfo after,
                     const std::vector<std::string>& sources);
    void ChangeTable(const TableInfo& before, const TableInfo& after);

    const SqliteHandle& db_;
    SqliteAttachments& attachments_;
    SqliteCatalog catalog_;
    SqliteSchemaSync sync_;
};

}  // namespace vorn
