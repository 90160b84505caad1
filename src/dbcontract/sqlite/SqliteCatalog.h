#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dbcontract/CatalogInfo.h"

namespace vorn {

class SqliteHandle;

// The design of a project file as its catalog tables (MSysVorn*) keep it,
// in the main file or in an attached one (`schema`). Names are found
// ignoring case, as the data engine found them, and stored as given.
//
// Settings of fields and tables that the catalog tables have no column for
// are rows of MSysVornProperties under their built-in names: DefaultValue,
// ValidationRule, ValidationText, Precision, Scale of a field; ValidationRule,
// ValidationText, DateCreated, LastUpdated of a table. They come back in
// FieldInfo and TableInfo, not among the user properties.
class SqliteCatalog {
public:
    static constexpr std::string_view kFormatVersion = "1";

    explicit SqliteCatalog(const SqliteHandle& db, std::string schema = "main");

    // The names of the catalog tables.
    static const std::vector<std::string>& TableNames();
    static bool IsCatalogTable(std::string_view name);
    // True for a property name that is kept in FieldInfo (field) or TableInfo.
    static bool IsDesignProperty(const PropertyOwnerKey& owner, std::string_view name);

    // Makes the catalog tables and the info rows of a new file.
    void Create(std::string_view localeText) const;
    // True when the file has the catalog tables this engine needs.
    bool Present() const;
    // A row of MSysVornInfo, "" when missing.
    std::string Info(std::string_view name) const;

    // ---- Tables (with their fields and indexes) ----
    std::vector<TableInfo> ReadTables() const;
    // The catalog tables themselves, described as system tables.
    std::vector<TableInfo> ReadSystemTables() const;
    std::optional<TableInfo> FindTable(std::string_view name) const;
    // A table's or a field's name as stored, found ignoring case; nullopt
    // when there is none. Far cheaper than FindTable when only the name is
    // wanted, as for every property a copy writes.
    std::optional<std::string> StoredTableName(std::string_view name) const;
    std::optional<std::string> StoredFieldName(std::string_view storedTable,
                                               std::string_view field) const;
    // Adds a table after the others.
    void AddTable(const TableInfo& table) const;
    // Replaces the design of `storedName` by `table` (which may carry a new
    // name), keeping its place among the tables.
    void ReplaceTable(std::string_view storedName, const TableInfo& table) const;
    // Removes a table's design and every property of it and its fields.
    void DeleteTable(std::string_view storedName) const;
    // Follows a table's new name in relations and properties.
    void RenameTableReferences(std::string_view oldName, std::string_view newName) const;
    // Follows a field's new name in relations and properties.
    void RenameFieldReferences(std::string_view table, std::string_view oldName,
                               std::string_view newName) const;

    // ---- Relations ----
    std::vector<RelationInfo> ReadRelations() const;
    std::optional<RelationInfo> FindRelation(std::string_view name) const;
    void AddRelation(const RelationInfo& relation) const;
    void DeleteRelation(std::string_view storedName) const;

    // ---- Saved queries ----
    std::vector<QueryInfo> ReadQueries() const;
    std::optional<QueryInfo> FindQuery(std::string_view name) const;
    void AddQuery(const QueryInfo& query) const;
    void DeleteQuery(std::string_view storedName) const;

    // ---- User properties of an owner given by its stored names ----
    std::vector<PropertyInfo> ReadProperties(const PropertyOwnerKey& owner) const;
    // Adds the property, or replaces the one of the same name.
    void SaveProperty(const PropertyOwnerKey& owner, const PropertyInfo& property) const;
    // False when there is none of that name.
    bool DeleteProperty(const PropertyOwnerKey& owner, std::string_view name) const;
    // Removes every property of a field.
    void DeleteFieldProperties(std::string_view table, std::string_view field) const;

private:
    std::string Table(std::string_view name) const;
    std::vector<TableInfo> ReadTablesNamed(const std::string* exactName) const;
    void ReadFields(std::vector<TableInfo>& tables, const std::string* exactName) const;
    void ReadIndexes(std::vector<TableInfo>& tables, const std::string* exactName) const;
    void ReadDesignProperties(std::vector<TableInfo>& tables, const std::string* exactName) const;
    void WriteTable(const TableInfo& table, std::int64_t position) const;
    void WriteField(const TableInfo& table, const FieldInfo& field, std::int32_t position) const;
    void WriteIndex(const TableInfo& table, const IndexInfo& index) const;
    void WriteDesignProperties(const TableInfo& table) const;
    void DeleteDesign(std::string_view storedName) const;
    std::optional<std::string> StoredName(std::string_view table, std::string_view column,
                                          std::string_view name) const;
    std::optional<std::string> StoredPropertyName(const PropertyOwnerKey& owner,
                                                  std::string_view name) const;

    const SqliteHandle& db_;
    std::string schema_;
    // Designs read, by folded name, while the handle lets them be kept, and
    // the handle's design epoch they belong to.
    mutable std::map<std::string, TableInfo> designs_;
    mutable std::uint64_t designsEpoch_ = 0;
};

}  // namespace vorn
