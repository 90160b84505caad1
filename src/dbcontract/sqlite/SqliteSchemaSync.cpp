#include "dbcontract/sqlite/SqliteSchemaSync.h"

#include <algorithm>

#include <sqlite3.h>

#include <optional>
#include <string>
#include <vector>

#include "dbcontract/sqlite/SqliteCatalog.h"
#include "dbcontract/sqlite/SqliteDdl.h"
#include "dbcontract/sqlite/SqliteHandle.h"
#include "dbcontract/sqlite/SqliteStatement.h"
#include "dbcontract/sqlite/SqliteValueCodec.h"
#include "runtime/Utf8.h"

namespace vorn {
namespace {

const FieldInfo* FieldNamed(const TableInfo& table, std::string_view name) {
    for (const auto& field : table.fields) {
        if (utf8::EqualsIgnoreCase(field.name, name)) return &field;
    }
    return nullptr;
}

bool TypeChanged(const FieldInfo& from, const FieldInfo& to) {
    return from.type != to.type || from.scale != to.scale || from.precision != to.precision;
}

// True when a field keeps its rows but changes its type, so that each value
// must be converted to the new type's stored form.
bool AnyTypeChanged(const TableInfo& before, const TableInfo& after,
                    const std::vector<std::string>& sources) {
    for (std::size_t i = 0; i < sources.size(); ++i) {
        const auto* from = FieldNamed(before, sources[i]);
        if (from != nullptr && TypeChanged(*from, after.fields[i])) return true;
    }
    return false;
}

// The sequence SQLite keeps for an AUTOINCREMENT table, so that a rebuild
// does not hand out old numbers again.
std::optional<std::int64_t> Sequence(const SqliteHandle& db, std::string_view table) {
    SqliteStatement exists(db.Get(), "SELECT 1 FROM sqlite_schema WHERE name = 'sqlite_sequence'");
    if (!exists.Step()) return std::nullopt;
    SqliteStatement query(db.Get(), "SELECT seq FROM sqlite_sequence WHERE name = ?1");
    query.BindText(1, table);
    if (!query.Step()) return std::nullopt;
    return query.Int(0);
}

void RestoreSequence(const SqliteHandle& db, std::string_view table, std::int64_t saved) {
    SqliteStatement update(db.Get(),
                           "UPDATE sqlite_sequence SET seq = MAX(seq, ?2) WHERE name = ?1");
    update.BindText(1, table).BindInt(2, saved).Run();
    if (db.Changes() != 0) return;
    SqliteStatement insert(db.Get(), "INSERT INTO sqlite_sequence(name, seq) VALUES (?1, ?2)");
    insert.BindText(1, table).BindInt(2, saved).Run();
}

}  // namespace

SqliteSchemaSync::SqliteSchemaSync(const SqliteHandle& db, const SqliteCatalog& catalog)
    : db_(db), catalog_(catalog) {}

void SqliteSchemaSync::CreateTable(const TableInfo& table) const {
    db_.Exec(SqliteDdl::CreateTable(table, table.name));
    CreateDerived(table);
}

void SqliteSchemaSync::Apply(const TableInfo& before, const TableInfo& after,
                             const std::vector<std::string>& sources) const {
    bool same =
        SqliteDdl::CreateTable(before, before.name) == SqliteDdl::CreateTable(after, before.name);
    for (std::size_t i = 0; same && i < sources.size(); ++i) {
        same = sources[i] == after.fields[i].name;
    }
    // Types kept in one storage class (a long that becomes a currency, a
    // yes/no that becomes a number) leave the table's text as it is, but not
    // the values: those go through the rebuild, which converts them.
    const bool convert = AnyTypeChanged(before, after, sources);
    if (same && !convert) {
        RefreshDerived(after);
    } else if (convert || !AddInPlace(before, after, sources)) {
        Rebuild(before, after, sources);
    }
}

bool SqliteSchemaSync::AddInPlace(const TableInfo& before, const TableInfo& after,
                                  const std::vector<std::string>& sources) const {
    if (after.fields.size() < before.fields.size()) return false;
    for (std::size_t i = 0; i < before.fields.size(); ++i) {
        if (sources[i] != before.fields[i].name ||
            SqliteDdl::ColumnDefinition(before, before.fields[i]) !=
                SqliteDdl::ColumnDefinition(after, after.fields[i])) {
            return false;
        }
    }
    for (std::size_t i = before.fields.size(); i < after.fields.size(); ++i) {
        if (!sources[i].empty() || !SqliteDdl::CanAddInPlace(after, after.fields[i])) return false;
    }
    DropDerived(before.name);
    for (std::size_t i = before.fields.size(); i < after.fields.size(); ++i) {
        db_.Exec("ALTER TABLE " + SqliteDdl::Quote(after.name) + " ADD COLUMN " +
                 SqliteDdl::ColumnDefinition(after, after.fields[i]));
    }
    NumberNewCounters(after, sources);
    CreateDerived(after);
    return true;
}

void SqliteSchemaSync::Rebuild(const TableInfo& before, const TableInfo& after,
                               const std::vector<std::string>& sources) const {
    const auto temporary = SqliteDdl::RebuildName(after.name);
    DropDerived(before.name);
    db_.Exec(SqliteDdl::CreateTable(after, temporary));
    CopyRows(before, after, sources, temporary);
    const auto sequence = Sequence(db_, before.name);
    db_.Exec("DROP TABLE " + SqliteDdl::Quote(before.name));
    RenameSqliteTable(temporary, after.name);
    if (sequence && SqliteDdl::RowidCounter(after) != nullptr) {
        RestoreSequence(db_, after.name, *sequence);
    }
    NumberNewCounters(after, sources);
    CreateDerived(after);
}

void SqliteSchemaSync::CopyRows(const TableInfo& before, const TableInfo& after,
                                const std::vector<std::string>& sources,
                                std::string_view into) const {
    if (AnyTypeChanged(before, after, sources)) {
        ConvertRows(before, after, sources, into);
        return;
    }
    // Row ids are kept, so that bookmarks stay valid, unless a counter
    // becomes the row id.
    const bool keepRowid = SqliteDdl::RowidCounter(after) == nullptr;
    std::vector<std::string> targets;
    std::vector<std::string> values;
    if (keepRowid) {
        targets.push_back("_rowid_");
        values.push_back("_rowid_");
    }
    for (std::size_t i = 0; i < sources.size(); ++i) {
        if (sources[i].empty()) continue;
        targets.push_back(SqliteDdl::Quote(after.fields[i].name));
        values.push_back(SqliteDdl::Quote(sources[i]));
    }
    if (targets.empty()) {
        // Only new fields: the rows still come over, numbered afresh.
        targets.push_back("_rowid_");
        values.push_back("NULL");
    }
    db_.Exec("INSERT INTO " + SqliteDdl::Quote(into) + " (" + SqliteDdl::Join(targets) +
             ") SELECT " + SqliteDdl::Join(values) + " FROM " + SqliteDdl::Quote(before.name));
}

// The slow way, a row at a time through the runtime's conversions, for a
// field whose type changed.
void SqliteSchemaSync::ConvertRows(const TableInfo& before, const TableInfo& after,
                                   const std::vector<std::string>& sources,
                                   std::string_view into) const {
    const bool keepRowid = SqliteDdl::RowidCounter(after) == nullptr;
    std::vector<std::string> targets;
    std::vector<std::string> values{"_rowid_"};
    std::vector<std::string> markers;
    if (keepRowid) {
        targets.push_back("_rowid_");
        markers.push_back("?1");
    }
    std::vector<std::pair<const FieldInfo*, const FieldInfo*>> pairs;
    for (std::size_t i = 0; i < sources.size(); ++i) {
        if (sources[i].empty()) continue;
        targets.push_back(SqliteDdl::Quote(after.fields[i].name));
        values.push_back(SqliteDdl::Quote(sources[i]));
        markers.push_back("?" + std::to_string(markers.size() + 1));
        pairs.emplace_back(FieldNamed(before, sources[i]), &after.fields[i]);
    }
    SqliteStatement read(
        db_, "SELECT " + SqliteDdl::Join(values) + " FROM " + SqliteDdl::Quote(before.name));
    SqliteStatement write(db_, "INSERT INTO " + SqliteDdl::Quote(into) + " (" +
                                         SqliteDdl::Join(targets) + ") VALUES (" +
                                         SqliteDdl::Join(markers) + ")");
    const int first = keepRowid ? 2 : 1;
    while (read.Step()) {
        write.Reset();
        if (keepRowid) write.BindInt(1, read.Int(0));
        for (std::size_t i = 0; i < pairs.size(); ++i) {
            const auto value = SqliteValueCodec::Decode(read.Column(static_cast<int>(i + 1)),
                                                        pairs[i].first->type);
            write.Bind(static_cast<int>(i) + first,
                       SqliteValueCodec::Encode(value, *pairs[i].second));
        }
        write.Run();
    }
}

// A counter added to a table that has rows numbers them in row order.
void SqliteSchemaSync::NumberNewCounters(const TableInfo& after,
                                         const std::vector<std::string>& sources) const {
    for (std::size_t i = 0; i < after.fields.size(); ++i) {
        const auto& field = after.fields[i];
        if (!sources[i].empty() || !SqliteDdl::IsCounter(field) ||
            SqliteDdl::RowidCounter(after) == &field) {
            continue;
        }
        const auto table = SqliteDdl::Quote(after.name);
        const auto column = SqliteDdl::Quote(field.name);
        db_.Exec("UPDATE " + table + " SET " + column +
                 " = numbered.n FROM (SELECT _rowid_ AS r, "
                 "row_number() OVER (ORDER BY _rowid_) AS n FROM " +
                 table +
                 ") AS numbered "
                 "WHERE " +
                 table + "._rowid_ = numbered.r");
    }
}

void SqliteSchemaSync::Rename(const TableInfo& before, const TableInfo& after) const {
    DropDerived(before.name);
    if (sqlite3_stricmp(before.name.c_str(), after.name.c_str()) == 0) {
        // SQLite takes names that differ only in case for the same name.
        const auto temporary = SqliteDdl::RebuildName(after.name);
        RenameSqliteTable(before.name, temporary);
        RenameSqliteTable(temporary, after.name);
    } else {
        RenameSqliteTable(before.name, after.name);
    }
    CreateDerived(after);
}

void SqliteSchemaSync::RenameSqliteTable(std::string_view from, std::string_view to) const {
    db_.Exec("ALTER TABLE " + SqliteDdl::Quote(from) + " RENAME TO " + SqliteDdl::Quote(to));
}

void SqliteSchemaSync::DropTable(std::string_view name) const {
    db_.Exec("DROP TABLE IF EXISTS " + SqliteDdl::Quote(name));
}

void SqliteSchemaSync::RefreshDerived(const TableInfo& table) const {
    // An index that stays as it was is kept: building it again reads every
    // row, and a relation added to a full table must not cost that.
    std::vector<std::string> wanted;
    for (const auto& index : table.indexes) wanted.push_back(SqliteDdl::CreateIndex(table, index));
    std::vector<std::string> drops;
    std::vector<std::string> kept;
    SqliteStatement query(db_,
                          "SELECT type, name, sql FROM sqlite_schema WHERE tbl_name = ?1 "
                          "COLLATE NOCASE AND type IN ('index', 'trigger') AND sql IS "
                          "NOT NULL");
    query.BindText(1, table.name);
    while (query.Step()) {
        const std::string type = query.Text(0);
        const std::string sql = query.Text(2);
        if (type == "index" && std::find(wanted.begin(), wanted.end(), sql) != wanted.end()) {
            kept.push_back(sql);
            continue;
        }
        drops.push_back("DROP " + utf8::ToUpper(type) + " " + SqliteDdl::Quote(query.Text(1)));
    }
    for (const auto& drop : drops) db_.Exec(drop);
    for (const auto& create : wanted) {
        if (std::find(kept.begin(), kept.end(), create) == kept.end()) db_.Exec(create);
    }
    CreateTriggers(table);
}

void SqliteSchemaSync::AddRelation(const TableInfo& child, const IndexInfo& foreign,
                                   const RelationInfo& relation) const {
    db_.Exec(SqliteDdl::CreateIndex(child, foreign));
    for (const auto& trigger : SqliteDdl::RelationTriggers(relation)) db_.Exec(trigger);
}

void SqliteSchemaSync::DropRelationTriggers(std::string_view relation) const {
    for (const auto& name : SqliteDdl::RelationTriggerNames(relation)) {
        db_.Exec("DROP TRIGGER IF EXISTS " + name);
    }
}

void SqliteSchemaSync::DropDerived(std::string_view table) const {
    std::vector<std::string> drops;
    SqliteStatement query(db_,
                          "SELECT type, name FROM sqlite_schema WHERE tbl_name = ?1 "
                          "COLLATE NOCASE AND type IN ('index', 'trigger') AND sql IS "
                          "NOT NULL");
    query.BindText(1, table);
    while (query.Step()) {
        drops.push_back("DROP " + utf8::ToUpper(query.Text(0)) + " " +
                        SqliteDdl::Quote(query.Text(1)));
    }
    for (const auto& drop : drops) db_.Exec(drop);
}

void SqliteSchemaSync::CreateDerived(const TableInfo& table) const {
    for (const auto& index : table.indexes) db_.Exec(SqliteDdl::CreateIndex(table, index));
    CreateTriggers(table);
}

void SqliteSchemaSync::CreateTriggers(const TableInfo& table) const {
    if (const auto trigger = SqliteDdl::CounterTrigger(table)) db_.Exec(*trigger);
    for (const auto& relation : catalog_.ReadRelations()) {
        if (!utf8::EqualsIgnoreCase(relation.table, table.name) &&
            !utf8::EqualsIgnoreCase(relation.foreignTable, table.name)) {
            continue;
        }
        DropRelationTriggers(relation.name);
        for (const auto& trigger : SqliteDdl::RelationTriggers(relation)) db_.Exec(trigger);
    }
}

}  // namespace vorn
