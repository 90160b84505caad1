#include "dbcontract/mariadb/MariaDbCatalog.h"

#include <algorithm>

#include "dbcontract/DaoConstants.h"
#include "dbcontract/mariadb/MariaDbDialect.h"
#include "dbcontract/mariadb/MariaDbStatement.h"
#include "dbcontract/mariadb/MariaDbTypeMap.h"
#include "runtime/Utf8.h"

namespace vorn {

namespace {

using Rows = std::vector<std::vector<Variant>>;

Rows QueryRows(MariaDbHandle& handle, std::string_view sql, const std::vector<Variant>& params) {
    MariaDbStatement statement(handle, sql);
    statement.Execute(params);
    Rows rows;
    std::vector<Variant> row;
    while (statement.Fetch(row)) rows.push_back(row);
    return rows;
}

std::string Text(const Variant& value) {
    return value.IsText() ? value.AsText() : std::string();
}

std::int64_t Number(const Variant& value) {
    return value.IsNumericKind() ? static_cast<std::int64_t>(value.NumberValue()) : 0;
}

// COLUMN_DEFAULT as this server writes it: NULL (text) for none.
std::string DefaultText(const Variant& value) {
    const std::string text = Text(value);
    return utf8::ToUpper(text) == "NULL" ? std::string() : text;
}

std::int32_t RuleBits(const std::string& rule, std::int32_t cascade) {
    return utf8::ToUpper(rule) == "CASCADE" ? cascade : 0;
}

}  // namespace

std::vector<std::string> MariaDbCatalog::TableNames() {
    std::vector<std::string> names;
    for (const auto& row : QueryRows(handle_,
                                     "SELECT TABLE_NAME FROM information_schema.TABLES WHERE TABLE_SCHEMA = DATABASE() "
                                     "AND TABLE_TYPE = 'BASE TABLE' ORDER BY TABLE_NAME",
                                     {})) {
        names.push_back(Text(row[0]));
    }
    return names;
}

std::vector<FieldInfo> MariaDbCatalog::ReadFields(const std::string& table) {
    const Rows rows = QueryRows(handle_,
                                "SELECT COLUMN_NAME, DATA_TYPE, COLUMN_TYPE, CHARACTER_MAXIMUM_LENGTH, NUMERIC_PRECISION, "
                                "NUMERIC_SCALE, EXTRA, IS_NULLABLE, COLUMN_DEFAULT FROM information_schema.COLUMNS "
                                "WHERE TABLE_SCHEMA = DATABASE() AND TABLE_NAME = ? ORDER BY ORDINAL_POSITION",
                                {Variant(table)});
    std::vector<FieldInfo> fields;
    for (const auto& row : rows) {
        FieldInfo field;
        field.name = Text(row[0]);
        MariaDbColumnType column{Text(row[1]), Text(row[2]), Number(row[3]), static_cast<int>(Number(row[4])),
                                 static_cast<int>(Number(row[5])), Text(row[6])};
        MariaDbTypeMap::Describe(column, field);
        field.required = Text(row[7]) == "NO";
        // A server text column takes "" whatever its other rules.
        field.allowZeroLength = field.type == dao::dbText || field.type == dao::dbMemo;
        field.defaultValue = DefaultText(row[8]);
        field.ordinalPosition = static_cast<std::int16_t>(fields.size());
        fields.push_back(std::move(field));
    }
    return fields;
}

std::vector<IndexInfo> MariaDbCatalog::ReadIndexes(const std::string& table) {
    // COLLATION is 'D' for a descending key column.
    const Rows rows = QueryRows(handle_,
                                "SELECT INDEX_NAME, NON_UNIQUE, COLUMN_NAME, COLLATION, INDEX_COMMENT "
                                "FROM information_schema.STATISTICS "
                                "WHERE TABLE_SCHEMA = DATABASE() AND TABLE_NAME = ? ORDER BY INDEX_NAME = 'PRIMARY' DESC, "
                                "INDEX_NAME, SEQ_IN_INDEX",
                                {Variant(table)});
    const std::vector<std::string> foreignKeys = ForeignKeyNames(table);
    std::vector<IndexInfo> indexes;
    std::string current;
    for (const auto& row : rows) {
        const std::string name = Text(row[0]);
        // The key that only serves an identity is not part of the design.
        if (name == MariaDbDialect::kIdentityKey) continue;
        if (indexes.empty() || current != name) {
            current = name;
            IndexInfo index;
            // A primary key keeps its given name in its comment.
            const std::string comment = Text(row[4]);
            index.name = name == "PRIMARY" && !comment.empty() ? comment : name;
            index.primary = name == "PRIMARY";
            index.unique = Number(row[1]) == 0;
            index.required = index.primary;
            index.foreign = std::find(foreignKeys.begin(), foreignKeys.end(), name) != foreignKeys.end();
            indexes.push_back(std::move(index));
        }
        indexes.back().fields.push_back({Text(row[2]), Text(row[3]) == "D" ? dao::dbDescending : 0});
    }
    return indexes;
}

std::optional<TableInfo> MariaDbCatalog::ReadTable(const std::string& table) {
    TableInfo info;
    info.name = table;
    info.fields = ReadFields(table);
    if (info.fields.empty()) return std::nullopt;
    info.indexes = ReadIndexes(table);
    return info;
}

std::vector<std::string> MariaDbCatalog::ForeignKeyNames(const std::string& table) {
    std::vector<std::string> names;
    for (const auto& row : QueryRows(handle_,
                                     "SELECT CONSTRAINT_NAME FROM information_schema.REFERENTIAL_CONSTRAINTS "
                                     "WHERE CONSTRAINT_SCHEMA = DATABASE() AND TABLE_NAME = ? ORDER BY CONSTRAINT_NAME",
                                     {Variant(table)})) {
        names.push_back(Text(row[0]));
    }
    return names;
}

std::vector<RelationInfo> MariaDbCatalog::ReadRelations() {
    const Rows rows = QueryRows(
        handle_,
        "SELECT r.CONSTRAINT_NAME, r.REFERENCED_TABLE_NAME, r.TABLE_NAME, r.UPDATE_RULE, r.DELETE_RULE, "
        "k.REFERENCED_COLUMN_NAME, k.COLUMN_NAME FROM information_schema.REFERENTIAL_CONSTRAINTS r "
        "JOIN information_schema.KEY_COLUMN_USAGE k ON k.CONSTRAINT_SCHEMA = r.CONSTRAINT_SCHEMA "
        "AND k.TABLE_NAME = r.TABLE_NAME AND k.CONSTRAINT_NAME = r.CONSTRAINT_NAME "
        "WHERE r.CONSTRAINT_SCHEMA = DATABASE() ORDER BY r.TABLE_NAME, r.CONSTRAINT_NAME, k.ORDINAL_POSITION",
        {});
    std::vector<RelationInfo> relations;
    for (const auto& row : rows) {
        const std::string name = Text(row[0]);
        const std::string child = Text(row[2]);
        if (relations.empty() || relations.back().name != name || relations.back().foreignTable != child) {
            RelationInfo relation;
            relation.name = name;
            relation.table = Text(row[1]);
            relation.foreignTable = child;
            relation.attributes = RuleBits(Text(row[3]), dao::dbRelationUpdateCascade) |
                                  RuleBits(Text(row[4]), dao::dbRelationDeleteCascade);
            relations.push_back(std::move(relation));
        }
        relations.back().fields.push_back({Text(row[5]), Text(row[6])});
    }
    return relations;
}

std::optional<std::string> MariaDbCatalog::FindDatabase(std::string_view name) {
    for (const auto& row : QueryRows(handle_, "SELECT SCHEMA_NAME FROM information_schema.SCHEMATA", {})) {
        if (utf8::CompareIgnoreCase(Text(row[0]), name) == 0) return Text(row[0]);
    }
    return std::nullopt;
}

}  // namespace vorn
