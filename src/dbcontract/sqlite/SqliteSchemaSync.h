#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "dbcontract/CatalogInfo.h"

namespace vorn {

class SqliteCatalog;
class SqliteHandle;

// Keeps the SQLite tables, indexes and triggers of a project file in line
// with its catalog. The catalog is written first; these calls then make the
// file match it. Every index and trigger on a project table belongs to the
// engine and is made again from the catalog whenever the table changes.
class SqliteSchemaSync {
public:
    SqliteSchemaSync(const SqliteHandle& db, const SqliteCatalog& catalog);

    // Makes a table with its indexes and triggers.
    void CreateTable(const TableInfo& table) const;

    // Changes the SQLite table of `before` to the design `after` (same
    // name). `sources` gives, for each field of `after`, the field of
    // `before` whose values it keeps, "" for a new field. Adds columns in
    // place when SQLite can, otherwise rebuilds the table keeping its row
    // ids; values whose type changed are converted as the runtime converts.
    void Apply(const TableInfo& before, const TableInfo& after,
               const std::vector<std::string>& sources) const;

    void Rename(const TableInfo& before, const TableInfo& after) const;
    void DropTable(std::string_view name) const;

    // Makes the table's indexes and triggers again, and the triggers of the
    // relations it takes part in.
    void RefreshDerived(const TableInfo& table) const;
    void DropRelationTriggers(std::string_view relation) const;
    // Makes a new relation's foreign index on `child` and its triggers. The
    // tables' other indexes and triggers stay as they are: a relation added
    // to a full table must not build them again.
    void AddRelation(const TableInfo& child, const IndexInfo& foreign, const RelationInfo& relation) const;

private:
    void DropDerived(std::string_view table) const;
    void CreateDerived(const TableInfo& table) const;
    // The counter trigger and the triggers of the table's relations.
    void CreateTriggers(const TableInfo& table) const;
    bool AddInPlace(const TableInfo& before, const TableInfo& after,
                    const std::vector<std::string>& sources) const;
    void Rebuild(const TableInfo& before, const TableInfo& after,
                 const std::vector<std::string>& sources) const;
    void CopyRows(const TableInfo& before, const TableInfo& after,
                  const std::vector<std::string>& sources, std::string_view into) const;
    void ConvertRows(const TableInfo& before, const TableInfo& after,
                     const std::vector<std::string>& sources, std::string_view into) const;
    void NumberNewCounters(const TableInfo& after, const std::vector<std::string>& sources) const;
    void RenameSqliteTable(std::string_view from, std::string_view to) const;

    const SqliteHandle& db_;
    const SqliteCatalog& catalog_;
};

}  // namespace vorn
