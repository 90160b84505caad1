#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dbcontract/CatalogInfo.h"

namespace vorn {

// The SQLite statements that stand for a table's design. A table's CREATE
// TABLE, its indexes and its triggers are functions of the catalog alone, so
// the engine can always make them again.
//
// A column: its storage type, COLLATE VORNNOCASE (text) or VORNDECIMAL
// (decimal), NOT NULL when Required, a DEFAULT when the DefaultValue is a
// constant or Date()/Now()/Time(), and named checks "size:<field>",
// "zerolength:<field>", "primarykey:<field>" whose names tell the engine
// which rule failed. A counter alone in the primary index is the table's
// INTEGER PRIMARY KEY AUTOINCREMENT; any other counter is filled by a trigger
// with one more than the largest value.
class SqliteDdl {
public:
    // "name" with embedded quotes doubled.
    static std::string Quote(std::string_view name);
    // "schema"."name".
    static std::string Qualified(std::string_view schema, std::string_view name);
    // The parts with `separator` between them.
    static std::string Join(const std::vector<std::string>& parts,
                            std::string_view separator = ", ");

    // The SQLite name of a design index, unique across the file.
    static std::string IndexObjectName(std::string_view table, std::string_view index);
    // The name a table has while it is rebuilt.
    static std::string RebuildName(std::string_view table);

    static bool IsCounter(const FieldInfo& field);
    // The primary index, if the table has one.
    static const IndexInfo* PrimaryIndex(const TableInfo& table);
    // The counter that is the table's row id, if there is one.
    static const FieldInfo* RowidCounter(const TableInfo& table);

    // CREATE TABLE under `sqliteName` (the table's name, or its rebuild name).
    static std::string CreateTable(const TableInfo& table, std::string_view sqliteName);
    static std::string ColumnDefinition(const TableInfo& table, const FieldInfo& field);
    // True when ALTER TABLE ADD COLUMN can add the field in place.
    static bool CanAddInPlace(const TableInfo& table, const FieldInfo& field);

    static std::string CreateIndex(const TableInfo& table, const IndexInfo& index);
    // The trigger that numbers a counter that is not the row id.
    static std::optional<std::string> CounterTrigger(const TableInfo& table);

    // The names and statements of the triggers that enforce a relation;
    // none when it is not enforced.
    static std::vector<std::string> RelationTriggerNames(std::string_view relation);
    static std::vector<std::string> RelationTriggers(const RelationInfo& relation);

    // The DEFAULT clause of a field, if its DefaultValue can be one.
    static std::optional<std::string> DefaultClause(const FieldInfo& field);
};

}  // namespace vorn
