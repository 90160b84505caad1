#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dbcontract/CatalogInfo.h"
#include "dbcontract/mariadb/MariaDbHandle.h"

namespace vorn {

// The design of the session's current database, read from
// information_schema. Table names here are the stored names; the
// connection resolves the caller's spelling first.
class MariaDbCatalog {
public:
    explicit MariaDbCatalog(MariaDbHandle& handle) : handle_(handle) {}

    // The base tables of the current database, in name order.
    std::vector<std::string> TableNames();
    // A table's fields and indexes; nullopt when it does not exist.
    std::optional<TableInfo> ReadTable(const std::string& table);
    // The names of the foreign keys of a (child) table.
    std::vector<std::string> ForeignKeyNames(const std::string& table);
    // Every foreign key of the current database as a relation.
    std::vector<RelationInfo> ReadRelations();
    // The stored name of a database of the server, found ignoring case.
    std::optional<std::string> FindDatabase(std::string_view name);

private:
    std::vector<FieldInfo> ReadFields(const std::string& table);
    std::vector<IndexInfo> ReadIndexes(const std::string& table);

    MariaDbHandle& handle_;
};

}  // namespace vorn
