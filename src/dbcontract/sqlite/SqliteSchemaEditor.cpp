#include "dbcontract/sqlite/SqliteSchemaEditor.h"

#include <algorithm>
#include <ctime>

#include "dbcontract/DaoConstants.h"
#include "dbcontract/sqlite/SqliteAttachments.h"
#include "dbcontract/sqlite/SqliteDdl.h"
#include "dbcontract/sqlite/SqliteErrors.h"
#include "dbcontract/sqlite/SqliteHandle.h"
#include "dbcontract/sqlite/SqliteStatement.h"
#include "dbcontract/sqlite/SqliteValueCodec.h"
#include "runtime/Conversions.h"
#include "runtime/DateSerial.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/Utf8.h"

namespace vorn {
namespace {

using namespace dao;

constexpr std::int64_t kMaxNameLength = 64;

bool Same(std::string_view a, std::string_view b) { return utf8::EqualsIgnoreCase(a, b); }

template <class Items>
auto FindNamed(Items& items, std::string_view name) {
    return std::find_if(items.begin(), items.end(),
                        [name](const auto& item) { return Same(item.name, name); });
}

double NowSerial() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    DateParts parts;
    parts.year = local.tm_year + 1900;
    parts.month = local.tm_mon + 1;
    parts.day = local.tm_mday;
    parts.hour = local.tm_hour;
    parts.minute = local.tm_min;
    parts.second = std::min(local.tm_sec, 59);
    return DateSerialFromParts(parts);
}

void CheckName(std::string_view name) {
    bool valid = !name.empty() && utf8::Length(name) <= kMaxNameLength;
    for (const char c : name) valid = valid && static_cast<unsigned char>(c) >= 0x20;
    if (!valid) {
        throw SqliteErrors::Jet(errnum::kJetNotValidName,
                                "'" + std::string(name) + "' is not a valid name.");
    }
}

std::vector<std::string> OwnNames(const TableInfo& table) {
    std::vector<std::string> names;
    for (const auto& field : table.fields) names.push_back(field.name);
    return names;
}

bool IndexHasField(const IndexInfo& index, std::string_view field) {
    return std::any_of(index.fields.begin(), index.fields.end(),
                       [field](const auto& member) { return Same(member.name, field); });
}

bool RelationUsesField(const RelationInfo& r, std::string_view table, std::string_view field) {
    for (const auto& pair : r.fields) {
        if (Same(r.table, table) && Same(pair.name, field)) return true;
        if (Same(r.foreignTable, table) && Same(pair.foreignName, field)) return true;
    }
    return false;
}

// True when `index` is unique and has exactly the fields `names`, in any order.
bool IsUniqueOn(const IndexInfo& index, const std::vector<std::string>& names) {
    if (!(index.unique || index.primary) || index.fields.size() != names.size()) return false;
    return std::all_of(names.begin(), names.end(),
                       [&index](const auto& name) { return IndexHasField(index, name); });
}

std::vector<std::string> ParentKey(const RelationInfo& r) {
    std::vector<std::string> names;
    for (const auto& pair : r.fields) names.push_back(pair.name);
    return names;
}

VornError InRelationship(std::string_view what) {
    return SqliteErrors::Jet(errnum::kJetFieldInRelationship,
                             "Cannot delete or change " + std::string(what) +
                                 "; it is part of one or more relationships.");
}

std::string SettingText(const Variant& value) {
    return value.IsNull() || value.IsEmpty() ? std::string() : CStr(value);
}

std::uint8_t SettingNumber(const Variant& value) {
    return value.IsNull() || value.IsEmpty() ? 0 : CByte(value);
}

// A field with one of its design settings changed by property name.
FieldInfo WithSetting(FieldInfo field, std::string_view name, const Variant& value) {
    if (Same(name, "DefaultValue")) field.defaultValue = SettingText(value);
    if (Same(name, "ValidationRule")) field.validationRule = SettingText(value);
    if (Same(name, "ValidationText")) field.validationText = SettingText(value);
    if (Same(name, "Precision")) field.precision = SettingNumber(value);
    if (Same(name, "Scale")) field.scale = SettingNumber(value);
    return field;
}

}  // namespace

SqliteSchemaEditor::SqliteSchemaEditor(const SqliteHandle& db, SqliteAttachments& attachments)
    : db_(db), attachments_(attachments), catalog_(db), sync_(db, catalog_) {}

// ---- Checks -------------------------------------------------------------------

TableInfo SqliteSchemaEditor::ExistingTable(std::string_view name) const {
    auto table = catalog_.FindTable(name);
    if (!table) throw SqliteErrors::ItemNotFound(name);
    return std::move(*table);
}

TableInfo SqliteSchemaEditor::LocalTable(std::string_view name) const {
    auto table = ExistingTable(name);
    if (!table.connect.empty()) {
        throw SqliteErrors::Jet(
            errnum::kJetNotOnAttachedTable,
            "Operation is not supported on attached tables ('" + table.name + "').");
    }
    return table;
}

void SqliteSchemaEditor::CheckNewName(std::string_view name, bool isTable) const {
    CheckName(name);
    if (SqliteCatalog::IsCatalogTable(name) || catalog_.FindTable(name)) {
        throw isTable ? SqliteErrors::TableExists(name) : SqliteErrors::ObjectExists(name);
    }
    if (catalog_.FindQuery(name)) throw SqliteErrors::ObjectExists(name);
}

// The field as it is stored: a counter type is a long with the counter
// attribute, fixed-size types carry their size. `replacing` is the name of
// the field it takes the place of, "" for a new one.
FieldInfo SqliteSchemaEditor::CheckedField(const TableInfo& table, FieldInfo field,
                                           std::string_view replacing) const {
    CheckName(field.name);
    for (const auto& other : table.fields) {
        if (Same(other.name, field.name) && !Same(other.name, replacing)) {
            throw SqliteErrors::Jet(errnum::kJetFieldDefinedTwice,
                                    "Field '" + field.name + "' is defined more than once.");
        }
    }
    if (field.type == dbCounter) {
        field.type = dbLong;
        field.attributes |= dbAutoIncrField;
    }
    const bool counterMisplaced = (field.attributes & dbAutoIncrField) != 0 && field.type != dbLong;
    if (!SqliteValueCodec::IsKnownType(field.type) || counterMisplaced) {
        throw SqliteErrors::Jet(errnum::kJetInvalidFieldType,
                                "Invalid field data type for field '" + field.name + "'.");
    }
    if (const auto size = SqliteValueCodec::FixedSize(field.type); size != 0) field.size = size;
    field.sourceTable.clear();
    field.sourceField.clear();
    return field;
}

void SqliteSchemaEditor::CheckIndex(const TableInfo& table, const IndexInfo& index) const {
    CheckName(index.name);
    if (FindNamed(table.indexes, index.name) != table.indexes.end()) {
        throw SqliteErrors::Jet(
            errnum::kJetIndexAlreadyExists,
            "Index '" + index.name + "' already exists on table '" + table.name + "'.");
    }
    if (index.primary && SqliteDdl::PrimaryIndex(table) != nullptr) {
        throw SqliteErrors::Jet(errnum::kJetPrimaryKeyExists,
                                "Table '" + table.name + "' already has a primary key.");
    }
    if (index.fields.empty()) {
        throw SqliteErrors::Jet(errnum::kJetNoFieldsDefined,
                                "No field defined; cannot append index '" + index.name + "'.");
    }
    for (const auto& member : index.fields) {
        if (FindNamed(table.fields, member.name) == table.fields.end()) {
            throw SqliteErrors::ItemNotFound(member.name);
        }
    }
}

// ---- Tables -------------------------------------------------------------------

void SqliteSchemaEditor::CreateTable(const TableInfo& table) {
    if (!table.connect.empty()) return CreateAttached(table);
    CheckNewName(table.name, true);
    if (table.fields.empty()) {
        throw SqliteErrors::Jet(errnum::kJetNoFieldsDefined,
                                "No field defined; cannot append table '" + table.name + "'.");
    }
    TableInfo stored = table;
    stored.fields.clear();
    stored.indexes.clear();
    stored.attributes &= ~(dbAttachedTable | dbAttachedODBC | dbSystemObject);
    for (const auto& field : table.fields) stored.fields.push_back(CheckedField(stored, field, ""));
    const auto counters =
        std::count_if(stored.fields.begin(), stored.fields.end(), SqliteDdl::IsCounter);
    if (counters > 1) {
        throw SqliteErrors::Jet(errnum::kJetInvalidFieldType,
                                "Table '" + table.name + "' can have only one counter field.");
    }
    for (const auto& index : table.indexes) {
        CheckIndex(stored, index);
        stored.indexes.push_back(index);
    }
    stored.dateCreated = stored.dateCreated != 0 ? stored.dateCreated : NowSerial();
    stored.lastUpdated = stored.dateCreated;
    catalog_.AddTable(stored);
    sync_.CreateTable(stored);
}

// An attached table keeps the design of its source, read now.
void SqliteSchemaEditor::CreateAttached(const TableInfo& table) {
    const auto file = SqliteAttachments::DatabaseOf(table.connect);
    if (!file) {
        throw SqliteErrors::Jet(errnum::kJetInstallableIsamNotFound,
                                "Could not find installable ISAM for '" + table.connect + "'.");
    }
    const auto alias = attachments_.Attach(*file);
    const auto source = SqliteCatalog(db_, alias).FindTable(table.sourceTableName);
    // A source that is itself attached cannot be reached through it.
    if (!source || !source->connect.empty()) {
        throw SqliteErrors::InputTableNotFound(table.sourceTableName);
    }
    CheckNewName(table.name, true);
    TableInfo stored = *source;
    stored.name = table.name;
    stored.attributes = (table.attributes | dbAttachedTable) & ~dbSystemObject;
    stored.connect = table.connect;
    stored.sourceTableName = source->name;
    stored.validationRule.clear();
    stored.validationText.clear();
    stored.dateCreated = NowSerial();
    stored.lastUpdated = stored.dateCreated;
    catalog_.AddTable(stored);
    attachments_.Show(stored);
}

void SqliteSchemaEditor::DropTable(std::string_view name) {
    const auto table = ExistingTable(name);
    for (const auto& relation : catalog_.ReadRelations()) {
        if (Same(relation.table, table.name) || Same(relation.foreignTable, table.name)) {
            throw InRelationship("table '" + table.name + "'");
        }
    }
    catalog_.DeleteTable(table.name);
    if (!table.connect.empty()) {
        attachments_.Hide(table.name);
    } else {
        sync_.DropTable(table.name);
    }
}

void SqliteSchemaEditor::RenameTable(std::string_view name, std::string_view newName) {
    const auto table = ExistingTable(name);
    if (Same(table.name, newName)) {
        CheckName(newName);
    } else {
        CheckNewName(newName, true);
    }
    TableInfo after = table;
    after.name = std::string(newName);
    after.lastUpdated = NowSerial();
    catalog_.ReplaceTable(table.name, after);
    catalog_.RenameTableReferences(table.name, after.name);
    if (!table.connect.empty()) {
        attachments_.Hide(table.name);
        attachments_.Show(after);
    } else {
        sync_.Rename(table, after);
    }
}

void SqliteSchemaEditor::ChangeTable(const TableInfo& before, TableInfo after,
                                     const std::vector<std::string>& sources) {
    after.lastUpdated = NowSerial();
    catalog_.ReplaceTable(before.name, after);
    sync_.Apply(before, after, sources);
}

void SqliteSchemaEditor::ChangeTable(const TableInfo& before, const TableInfo& after) {
    ChangeTable(before, after, OwnNames(before));
}

// ---- Fields -------------------------------------------------------------------

void SqliteSchemaEditor::AddField(std::string_view tableName, const FieldInfo& field) {
    const auto table = LocalTable(tableName);
    TableInfo after = table;
    after.fields.push_back(CheckedField(table, field, ""));
    after.fields.back().ordinalPosition = static_cast<std::int16_t>(table.fields.size());
    if (SqliteDdl::IsCounter(after.fields.back()) &&
        std::count_if(table.fields.begin(), table.fields.end(), SqliteDdl::IsCounter) > 0) {
        throw SqliteErrors::Jet(errnum::kJetInvalidFieldType,
                                "Table '" + table.name + "' can have only one counter field.");
    }
    auto sources = OwnNames(table);
    sources.emplace_back();
    ChangeTable(table, after, sources);
}

void SqliteSchemaEditor::DropField(std::string_view tableName, std::string_view fieldName) {
    const auto table = LocalTable(tableName);
    const auto field = FindNamed(table.fields, fieldName);
    if (field == table.fields.end()) throw SqliteErrors::ItemNotFound(fieldName);
    for (const auto& relation : catalog_.ReadRelations()) {
        if (RelationUsesField(relation, table.name, field->name)) {
            throw InRelationship("field '" + field->name + "'");
        }
    }
    for (const auto& index : table.indexes) {
        if (IndexHasField(index, field->name)) {
            throw SqliteErrors::Jet(errnum::kJetFieldInIndex,
                                    "Cannot delete field '" + field->name +
                                        "'; it is part of index '" + index.name + "'.");
        }
    }
    if (table.fields.size() == 1) {
        throw SqliteErrors::Jet(errnum::kJetNoFieldsDefined,
                                "Cannot delete the last field of table '" + table.name + "'.");
    }
    TableInfo after = table;
    after.fields.erase(after.fields.begin() + (field - table.fields.begin()));
    catalog_.DeleteFieldProperties(table.name, field->name);
    ChangeTable(table, after, OwnNames(after));
}

void SqliteSchemaEditor::AlterField(std::string_view tableName, std::string_view fieldName,
                                    const FieldInfo& changed) {
    const auto table = LocalTable(tableName);
    const auto field = FindNamed(table.fields, fieldName);
    if (field == table.fields.end()) throw SqliteErrors::ItemNotFound(fieldName);
    const auto position = static_cast<std::size_t>(field - table.fields.begin());
    TableInfo after = table;
    after.fields[position] = CheckedField(table, changed, field->name);
    after.fields[position].ordinalPosition = field->ordinalPosition;
    const auto& newName = after.fields[position].name;
    for (auto& index : after.indexes) {
        for (auto& member : index.fields) {
            if (Same(member.name, field->name)) member.name = newName;
        }
    }
    if (newName != field->name) catalog_.RenameFieldReferences(table.name, field->name, newName);
    ChangeTable(table, after, OwnNames(table));
}

// ---- Indexes ------------------------------------------------------------------

void SqliteSchemaEditor::CreateIndex(std::string_view tableName, const IndexInfo& index) {
    const auto table = LocalTable(tableName);
    CheckIndex(table, index);
    TableInfo after = table;
    after.indexes.push_back(index);
    ChangeTable(table, after);
}

void SqliteSchemaEditor::DropIndex(std::string_view tableName, std::string_view indexName) {
    const auto table = LocalTable(tableName);
    const auto index = FindNamed(table.indexes, indexName);
    if (index == table.indexes.end()) throw SqliteErrors::ItemNotFound(indexName);
    if (index->foreign) throw InRelationship("index '" + index->name + "'");
    for (const auto& relation : catalog_.ReadRelations()) {
        if (!Same(relation.table, table.name) || !IsUniqueOn(*index, ParentKey(relation))) continue;
        const auto others = std::count_if(
            table.indexes.begin(), table.indexes.end(),
            [&](const auto& other) { return IsUniqueOn(other, ParentKey(relation)); });
        if (others < 2) throw InRelationship("index '" + index->name + "'");
    }
    TableInfo after = table;
    after.indexes.erase(after.indexes.begin() + (index - table.indexes.begin()));
    ChangeTable(table, after);
}

// ---- Relations ----------------------------------------------------------------

void SqliteSchemaEditor::CheckRelationKeys(const RelationInfo& relation, const TableInfo& parent,
                                           const TableInfo& child) const {
    if (relation.fields.empty()) {
        throw SqliteErrors::Jet(
            errnum::kJetNoFieldsDefined,
            "No field defined; cannot append relation '" + relation.name + "'.");
    }
    for (const auto& pair : relation.fields) {
        if (FindNamed(parent.fields, pair.name) == parent.fields.end()) {
            throw SqliteErrors::ItemNotFound(pair.name);
        }
        if (FindNamed(child.fields, pair.foreignName) == child.fields.end()) {
            throw SqliteErrors::ItemNotFound(pair.foreignName);
        }
    }
    const auto key = ParentKey(relation);
    if (std::none_of(parent.indexes.begin(), parent.indexes.end(),
                     [&key](const auto& index) { return IsUniqueOn(index, key); })) {
        throw SqliteErrors::Jet(errnum::kJetNoUniqueIndexForRelation,
                                "No unique index found for the referenced field of the primary "
                                "table '" +
                                    parent.name + "'.");
    }
    if (FindNamed(child.indexes, relation.name) != child.indexes.end()) {
        throw SqliteErrors::Jet(
            errnum::kJetIndexAlreadyExists,
            "Index '" + relation.name + "' already exists on table '" + child.name + "'.");
    }
}

void SqliteSchemaEditor::CheckNoOrphans(const RelationInfo& r) const {
    std::string notNull;
    std::string match;
    for (const auto& pair : r.fields) {
        const auto childField = "c." + SqliteDdl::Quote(pair.foreignName);
        notNull += childField + " IS NOT NULL AND ";
        match += (match.empty() ? "" : " AND ") + std::string("p.") + SqliteDdl::Quote(pair.name) +
                 " = " + childField;
    }
    SqliteStatement orphans(db_, "SELECT 1 FROM " + SqliteDdl::Quote(r.foreignTable) +
                                           " AS c WHERE " + notNull + "NOT EXISTS (SELECT 1 FROM " +
                                           SqliteDdl::Quote(r.table) + " AS p WHERE " + match +
                                           ") LIMIT 1");
    if (orphans.Step()) {
        throw SqliteErrors::Jet(errnum::kJetRelatedRecordRequired,
                                "Data in table '" + r.foreignTable +
                                    "' violates referential integrity rules: a related record is "
                                    "required in table '" +
                                    r.table + "'.");
    }
}

void SqliteSchemaEditor::CreateRelation(const RelationInfo& relation) {
    CheckName(relation.name);
    if (catalog_.FindRelation(relation.name)) throw SqliteErrors::ObjectExists(relation.name);
    const auto parent = ExistingTable(relation.table);
    const auto child = ExistingTable(relation.foreignTable);
    CheckRelationKeys(relation, parent, child);
    RelationInfo stored = relation;
    stored.table = parent.name;
    stored.foreignTable = child.name;
    for (auto& pair : stored.fields) {
        pair.name = FindNamed(parent.fields, pair.name)->name;
        pair.foreignName = FindNamed(child.fields, pair.foreignName)->name;
    }
    const bool attached = !parent.connect.empty() || !child.connect.empty();
    if (attached) {
        // Rows of another file cannot be checked from this one.
        stored.attributes |= dbRelationDontEnforce;
        catalog_.AddRelation(stored);
        return;
    }
    if ((stored.attributes & dbRelationDontEnforce) == 0) CheckNoOrphans(stored);
    catalog_.AddRelation(stored);
    IndexInfo foreign;
    foreign.name = stored.name;
    foreign.foreign = true;
    foreign.unique = (stored.attributes & dbRelationUnique) != 0;
    for (const auto& pair : stored.fields) foreign.fields.push_back({pair.foreignName, 0});
    TableInfo after = child;
    after.indexes.push_back(foreign);
    after.lastUpdated = NowSerial();
    catalog_.ReplaceTable(child.name, after);
    sync_.AddRelation(after, foreign, stored);
}

void SqliteSchemaEditor::DropRelation(std::string_view name) {
    const auto relation = catalog_.FindRelation(name);
    if (!relation) throw SqliteErrors::ItemNotFound(name);
    catalog_.DeleteRelation(relation->name);
    sync_.DropRelationTriggers(relation->name);
    const auto child = catalog_.FindTable(relation->foreignTable);
    if (!child || !child->connect.empty()) return;
    TableInfo after = *child;
    const auto foreign = FindNamed(after.indexes, relation->name);
    if (foreign == after.indexes.end() || !foreign->foreign) return;
    after.indexes.erase(foreign);
    ChangeTable(*child, after);
}

// ---- Queries ------------------------------------------------------------------

void SqliteSchemaEditor::CreateQuery(const QueryInfo& query, const std::string& viewSql) {
    CheckNewName(query.name, false);
    catalog_.AddQuery(query);
    if (viewSql.empty()) return;
    db_.Exec("CREATE VIEW main." + SqliteDdl::Quote(query.name) + " AS " + viewSql);
    ShowQuery(query, viewSql);
}

void SqliteSchemaEditor::DropQuery(std::string_view name) {
    const auto query = catalog_.FindQuery(name);
    if (!query) throw SqliteErrors::ItemNotFound(name);
    catalog_.DeleteQuery(query->name);
    db_.Exec("DROP VIEW IF EXISTS main." + SqliteDdl::Quote(query->name) +
             "; DROP VIEW IF EXISTS temp." + SqliteDdl::Quote(query->name));
}

void SqliteSchemaEditor::ShowQuery(const QueryInfo& query, const std::string& viewSql) {
    if (viewSql.empty()) return;
    try {
        db_.Exec("CREATE TEMP VIEW IF NOT EXISTS " + SqliteDdl::Quote(query.name) + " AS " +
                 viewSql);
    } catch (const VornError&) {
        // A query that SQLite cannot take stays in the catalog; it fails
        // when it is run, as a broken query did.
    }
}

// ---- Properties ---------------------------------------------------------------

PropertyOwnerKey SqliteSchemaEditor::ResolveOwner(const PropertyOwnerKey& owner) const {
    if (owner.table.empty()) return {};
    if (const auto table = catalog_.StoredTableName(owner.table)) {
        if (owner.field.empty()) return {*table, ""};
        const auto field = catalog_.StoredFieldName(*table, owner.field);
        if (!field) throw SqliteErrors::ItemNotFound(owner.field);
        return {*table, *field};
    }
    // The catalog tables have properties too, if none of their own.
    for (const auto& system : catalog_.ReadSystemTables()) {
        if (!Same(system.name, owner.table)) continue;
        if (owner.field.empty()) return {system.name, ""};
        const auto field = FindNamed(system.fields, owner.field);
        if (field == system.fields.end()) throw SqliteErrors::ItemNotFound(owner.field);
        return {system.name, field->name};
    }
    throw SqliteErrors::ItemNotFound(owner.table);
}

void SqliteSchemaEditor::SaveProperty(const PropertyOwnerKey& owner, const PropertyInfo& property) {
    const auto stored = ResolveOwner(owner);
    if (SqliteCatalog::IsCatalogTable(stored.table)) throw SqliteErrors::ReadOnly(stored.table);
    CheckName(property.name);
    if (!stored.field.empty() && SqliteCatalog::IsDesignProperty(stored, property.name)) {
        // A field's design setting changes the column, as AlterField does.
        const auto table = LocalTable(stored.table);
        const auto field = *FindNamed(table.fields, stored.field);
        return AlterField(table.name, field.name,
                          WithSetting(field, property.name, property.value));
    }
    catalog_.SaveProperty(stored, property);
}

void SqliteSchemaEditor::DeleteProperty(const PropertyOwnerKey& owner, std::string_view name) {
    const auto stored = ResolveOwner(owner);
    if (!stored.field.empty() && SqliteCatalog::IsDesignProperty(stored, name)) {
        const auto table = LocalTable(stored.table);
        const auto field = *FindNamed(table.fields, stored.field);
        return AlterField(table.name, field.name, WithSetting(field, name, Variant::Null()));
    }
    if (!catalog_.DeleteProperty(stored, name)) throw SqliteErrors::ItemNotFound(name);
}

}  // namespace vorn
