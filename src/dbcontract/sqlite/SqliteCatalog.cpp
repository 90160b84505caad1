#include "dbcontract/sqlite/SqliteCatalog.h"

#include <map>
#include <utility>

#include "dbcontract/DaoConstants.h"
#include "dbcontract/sqlite/SqliteCollations.h"
#include "dbcontract/sqlite/SqliteDdl.h"
#include "dbcontract/sqlite/SqliteHandle.h"
#include "dbcontract/sqlite/SqliteStatement.h"
#include "dbcontract/sqlite/SqliteValueCodec.h"
#include "runtime/Utf8.h"

namespace vorn {
namespace {

using namespace dao;

const std::vector<std::string> kTableNames = {
    "MSysVornTables",      "MSysVornFields",     "MSysVornIndexes",
    "MSysVornIndexFields", "MSysVornRelations",  "MSysVornRelationFields",
    "MSysVornQueries",     "MSysVornProperties", "MSysVornInfo"};

const std::vector<std::string> kCreateStatements = {
    "CREATE TABLE MSysVornTables(Name TEXT PRIMARY KEY, Attributes INTEGER, Connect TEXT, "
    "SourceTableName TEXT, Position INTEGER)",
    "CREATE TABLE MSysVornFields(TableName TEXT, Name TEXT, Position INTEGER, Type INTEGER, "
    "Size INTEGER, Attributes INTEGER, Required INTEGER, AllowZeroLength INTEGER, "
    "PRIMARY KEY(TableName, Name))",
    "CREATE TABLE MSysVornIndexes(TableName TEXT, Name TEXT, IsPrimary INTEGER, IsUnique INTEGER, "
    "IgnoreNulls INTEGER, IsForeign INTEGER, PRIMARY KEY(TableName, Name))",
    "CREATE TABLE MSysVornIndexFields(TableName TEXT, IndexName TEXT, Position INTEGER, "
    "FieldName TEXT, Attributes INTEGER)",
    "CREATE TABLE MSysVornRelations(Name TEXT PRIMARY KEY, ParentTable TEXT, ChildTable TEXT, "
    "Attributes INTEGER)",
    "CREATE TABLE MSysVornRelationFields(RelationName TEXT, Position INTEGER, Name TEXT, "
    "ForeignName TEXT)",
    "CREATE TABLE MSysVornQueries(Name TEXT PRIMARY KEY, SQL TEXT)",
    "CREATE TABLE MSysVornProperties(TableName TEXT, FieldName TEXT, Name TEXT, Type INTEGER, "
    "Value, PRIMARY KEY(TableName, FieldName, Name))",
    "CREATE TABLE MSysVornInfo(Name TEXT PRIMARY KEY, Value TEXT)"};

// The name a catalog row stores for `select`'s last term (a "<column> = ?N"):
// the exact name first, through the key; then ignoring case, by the engine's
// collation, which folds as names compare everywhere else but cannot use the
// key, so a catalog being filled name by name is not searched row by row.
template <class Bind>
std::optional<std::string> ExactThenFolded(const SqliteHandle& db, const std::string& select, Bind bind) {
    for (const std::string& sql : {select, select + " COLLATE " + SqliteCollations::kNoCase}) {
        SqliteStatement query(db, sql);
        bind(query);
        if (query.Step()) return query.Text(0);
    }
    return std::nullopt;
}

// The rows of one property owner, ?1 the table and ?2 the field ('' for
// none), found through the primary key. A file written by another program
// may hold NULL for '', which only an owner with an empty name can match.
std::string OwnerRows(const PropertyOwnerKey& owner) {
    if (!owner.table.empty() && !owner.field.empty()) return "(TableName = ?1 AND FieldName = ?2)";
    return "((TableName = ?1 AND FieldName = ?2) OR "
           "(TableName IS NULL AND ?1 = '' AND (FieldName = ?2 OR (FieldName IS NULL AND ?2 = ''))) OR "
           "(TableName = ?1 AND FieldName IS NULL AND ?2 = ''))";
}

const std::vector<std::string> kFieldDesign = {"DefaultValue", "ValidationRule", "ValidationText",
                                               "Precision", "Scale"};
const std::vector<std::string> kTableDesign = {"ValidationRule", "ValidationText", "DateCreated",
                                               "LastUpdated"};

// "Name IN (...)" of every built-in setting name: the user properties, most
// of the rows, are left to SQLite to skip.
std::string DesignNamesOnly() {
    std::string names;
    for (const auto* list : {&kFieldDesign, &kTableDesign}) {
        for (const auto& name : *list) names += (names.empty() ? "'" : ", '") + name + "'";
    }
    return "Name COLLATE " + std::string(SqliteCollations::kNoCase) + " IN (" + names + ")";
}

bool Contains(const std::vector<std::string>& names, std::string_view name) {
    for (const auto& candidate : names) {
        if (utf8::EqualsIgnoreCase(candidate, name)) return true;
    }
    return false;
}

// A catalog table and one of its columns.
using TableColumn = std::pair<std::string_view, std::string_view>;

std::string Key(std::string_view name) { return utf8::ToUpper(name); }

// Tables by their folded names, for joining the rows of the other tables.
std::map<std::string, TableInfo*> ByName(std::vector<TableInfo>& tables) {
    std::map<std::string, TableInfo*> byName;
    for (auto& table : tables) byName[Key(table.name)] = &table;
    return byName;
}

TableInfo* Lookup(const std::map<std::string, TableInfo*>& byName, std::string_view name) {
    const auto found = byName.find(Key(name));
    return found == byName.end() ? nullptr : found->second;
}

// " WHERE <column> = ?1" when reading one table, "" when reading all.
std::string Filter(const std::string* exactName, std::string_view column) {
    return exactName != nullptr ? " WHERE " + std::string(column) + " = ?1" : "";
}

void BindFilter(SqliteStatement& statement, const std::string* exactName) {
    if (exactName != nullptr) statement.BindText(1, *exactName);
}

std::int16_t SystemFieldType(const std::string& declared) {
    const std::string upper = utf8::ToUpper(declared);
    if (upper == "INTEGER") return dbLong;
    if (upper == "TEXT") return dbText;
    return dbMemo;
}

FieldInfo PropertyField(std::int16_t type) {
    FieldInfo field;
    field.name = "Value";
    field.type = type;
    return field;
}

// A design setting read from a property row into the field or table.
void ApplyFieldSetting(FieldInfo& field, const std::string& name, const Variant& value) {
    const auto text = [&value] { return value.IsText() ? value.AsText() : std::string(); };
    const auto number = [&value] {
        return static_cast<std::uint8_t>(value.IsNumericKind() ? value.NumberValue() : 0);
    };
    if (utf8::EqualsIgnoreCase(name, "DefaultValue")) field.defaultValue = text();
    if (utf8::EqualsIgnoreCase(name, "ValidationRule")) field.validationRule = text();
    if (utf8::EqualsIgnoreCase(name, "ValidationText")) field.validationText = text();
    if (utf8::EqualsIgnoreCase(name, "Precision")) field.precision = number();
    if (utf8::EqualsIgnoreCase(name, "Scale")) field.scale = number();
}

void ApplyTableSetting(TableInfo& table, const std::string& name, const Variant& value) {
    const auto text = value.IsText() ? value.AsText() : std::string();
    const auto serial = value.IsDate() ? value.AsDateSerial() : 0.0;
    if (utf8::EqualsIgnoreCase(name, "ValidationRule")) table.validationRule = text;
    if (utf8::EqualsIgnoreCase(name, "ValidationText")) table.validationText = text;
    if (utf8::EqualsIgnoreCase(name, "DateCreated")) table.dateCreated = serial;
    if (utf8::EqualsIgnoreCase(name, "LastUpdated")) table.lastUpdated = serial;
}

}  // namespace

SqliteCatalog::SqliteCatalog(const SqliteHandle& db, std::string schema)
    : db_(db), schema_(std::move(schema)) {}

const std::vector<std::string>& SqliteCatalog::TableNames() { return kTableNames; }

bool SqliteCatalog::IsCatalogTable(std::string_view name) { return Contains(kTableNames, name); }

bool SqliteCatalog::IsDesignProperty(const PropertyOwnerKey& owner, std::string_view name) {
    if (owner.table.empty()) return false;
    return Contains(owner.field.empty() ? kTableDesign : kFieldDesign, name);
}

std::string SqliteCatalog::Table(std::string_view name) const {
    return SqliteDdl::Qualified(schema_, name);
}

void SqliteCatalog::Create(std::string_view localeText) const {
    db_.DesignChanged();
    for (const auto& statement : kCreateStatements) db_.Exec(statement);
    SqliteStatement insert(db_, "INSERT INTO MSysVornInfo(Name, Value) VALUES (?1, ?2)");
    insert.BindText(1, "FormatVersion").BindText(2, kFormatVersion).Run();
    insert.Reset();
    insert.BindText(1, "Locale").BindText(2, localeText).Run();
}

bool SqliteCatalog::Present() const {
    SqliteStatement query(db_, "SELECT count(*) FROM " + Table("sqlite_schema") +
                                         " WHERE type = 'table' AND name COLLATE NOCASE IN "
                                         "('MSysVornTables', 'MSysVornFields', 'MSysVornInfo')");
    return query.Step() && query.Int(0) == 3;
}

std::string SqliteCatalog::Info(std::string_view name) const {
    SqliteStatement query(db_,
                          "SELECT Value FROM " + Table("MSysVornInfo") + " WHERE Name = ?1");
    query.BindText(1, name);
    return query.Step() ? query.Text(0) : std::string();
}

// ---- Tables -------------------------------------------------------------------

std::vector<TableInfo> SqliteCatalog::ReadTables() const { return ReadTablesNamed(nullptr); }

std::optional<std::string> SqliteCatalog::StoredTableName(std::string_view name) const {
    return StoredName("MSysVornTables", "Name", name);
}

std::optional<std::string> SqliteCatalog::StoredFieldName(std::string_view storedTable,
                                                          std::string_view field) const {
    return ExactThenFolded(db_, "SELECT Name FROM " + Table("MSysVornFields") + " WHERE TableName = ?1 AND Name = ?2",
                           [&](SqliteStatement& query) { query.BindText(1, storedTable).BindText(2, field); });
}

std::optional<TableInfo> SqliteCatalog::FindTable(std::string_view name) const {
    const bool keep = db_.KeepsDesigns() && schema_ == "main";
    if (keep) {
        if (designsEpoch_ != db_.DesignEpoch()) {
            designs_.clear();
            designsEpoch_ = db_.DesignEpoch();
        }
        if (const auto kept = designs_.find(Key(name)); kept != designs_.end()) return kept->second;
    }
    const auto stored = StoredTableName(name);
    if (!stored) return std::nullopt;
    auto tables = ReadTablesNamed(&*stored);
    if (tables.empty()) return std::nullopt;
    if (keep) designs_[Key(name)] = tables.front();
    return std::move(tables.front());
}

std::vector<TableInfo> SqliteCatalog::ReadTablesNamed(const std::string* exactName) const {
    SqliteStatement query(db_, "SELECT Name, Attributes, Connect, SourceTableName FROM " +
                                         Table("MSysVornTables") + Filter(exactName, "Name") +
                                         " ORDER BY Position, Name");
    BindFilter(query, exactName);
    std::vector<TableInfo> tables;
    while (query.Step()) {
        TableInfo table;
        table.name = query.Text(0);
        table.attributes = static_cast<std::int32_t>(query.Int(1));
        table.connect = query.Text(2);
        table.sourceTableName = query.Text(3);
        tables.push_back(std::move(table));
    }
    ReadFields(tables, exactName);
    ReadIndexes(tables, exactName);
    ReadDesignProperties(tables, exactName);
    return tables;
}

void SqliteCatalog::ReadFields(std::vector<TableInfo>& tables, const std::string* exactName) const {
    const auto byName = ByName(tables);
    SqliteStatement query(db_,
                          "SELECT TableName, Name, Type, Size, Attributes, Required, "
                          "AllowZeroLength FROM " +
                              Table("MSysVornFields") + Filter(exactName, "TableName") +
                              " ORDER BY TableName, Position");
    BindFilter(query, exactName);
    while (query.Step()) {
        auto* table = Lookup(byName, query.Text(0));
        if (table == nullptr) continue;
        FieldInfo field;
        field.name = query.Text(1);
        field.type = static_cast<std::int16_t>(query.Int(2));
        field.size = static_cast<std::int32_t>(query.Int(3));
        field.attributes = static_cast<std::int32_t>(query.Int(4));
        field.required = query.Int(5) != 0;
        field.allowZeroLength = query.Int(6) != 0;
        field.ordinalPosition = static_cast<std::int16_t>(table->fields.size());
        table->fields.push_back(std::move(field));
    }
}

void SqliteCatalog::ReadIndexes(std::vector<TableInfo>& tables,
                                const std::string* exactName) const {
    const auto byName = ByName(tables);
    SqliteStatement indexes(db_,
                            "SELECT TableName, Name, IsPrimary, IsUnique, IgnoreNulls, IsForeign "
                            "FROM " +
                                Table("MSysVornIndexes") + Filter(exactName, "TableName") +
                                " ORDER BY rowid");
    BindFilter(indexes, exactName);
    while (indexes.Step()) {
        auto* table = Lookup(byName, indexes.Text(0));
        if (table == nullptr) continue;
        IndexInfo index;
        index.name = indexes.Text(1);
        index.primary = indexes.Int(2) != 0;
        index.unique = indexes.Int(3) != 0 || index.primary;
        index.ignoreNulls = indexes.Int(4) != 0;
        index.foreign = indexes.Int(5) != 0;
        table->indexes.push_back(std::move(index));
    }
    SqliteStatement members(db_, "SELECT TableName, IndexName, FieldName, Attributes FROM " +
                                           Table("MSysVornIndexFields") +
                                           Filter(exactName, "TableName") +
                                           " ORDER BY TableName, IndexName, Position");
    BindFilter(members, exactName);
    while (members.Step()) {
        auto* table = Lookup(byName, members.Text(0));
        if (table == nullptr) continue;
        for (auto& index : table->indexes) {
            if (!utf8::EqualsIgnoreCase(index.name, members.Text(1))) continue;
            index.fields.push_back({members.Text(2), static_cast<std::int32_t>(members.Int(3))});
        }
    }
}

void SqliteCatalog::ReadDesignProperties(std::vector<TableInfo>& tables,
                                         const std::string* exactName) const {
    const auto byName = ByName(tables);
    SqliteStatement query(db_,
                          "SELECT TableName, IFNULL(FieldName, ''), Name, Type, Value FROM " +
                              Table("MSysVornProperties") + Filter(exactName, "TableName") +
                              (exactName != nullptr ? " AND " : " WHERE ") + DesignNamesOnly());
    BindFilter(query, exactName);
    while (query.Step()) {
        auto* table = Lookup(byName, query.Text(0));
        const auto field = query.Text(1);
        const auto name = query.Text(2);
        if (table == nullptr || !IsDesignProperty({table->name, field}, name)) continue;
        const auto value =
            SqliteValueCodec::Decode(query.Column(4), static_cast<std::int16_t>(query.Int(3)));
        if (field.empty()) {
            ApplyTableSetting(*table, name, value);
            continue;
        }
        for (auto& member : table->fields) {
            if (utf8::EqualsIgnoreCase(member.name, field)) ApplyFieldSetting(member, name, value);
        }
    }
}

std::vector<TableInfo> SqliteCatalog::ReadSystemTables() const {
    std::vector<TableInfo> tables;
    for (const auto& name : kTableNames) {
        SqliteStatement columns(db_, "SELECT name, type FROM pragma_table_info(?1, ?2)");
        columns.BindText(1, name).BindText(2, schema_);
        TableInfo table;
        table.name = name;
        table.attributes = dbSystemObject;
        while (columns.Step()) {
            FieldInfo field;
            field.name = columns.Text(0);
            field.type = SystemFieldType(columns.Text(1));
            field.size = field.type == dbText ? 255 : SqliteValueCodec::FixedSize(field.type);
            field.ordinalPosition = static_cast<std::int16_t>(table.fields.size());
            table.fields.push_back(std::move(field));
        }
        if (!table.fields.empty()) tables.push_back(std::move(table));
    }
    return tables;
}

void SqliteCatalog::AddTable(const TableInfo& table) const {
    db_.DesignChanged();
    SqliteStatement next(db_,
                         "SELECT IFNULL(MAX(Position), -1) + 1 FROM " + Table("MSysVornTables"));
    next.Step();
    WriteTable(table, next.Int(0));
}

void SqliteCatalog::ReplaceTable(std::string_view storedName, const TableInfo& table) const {
    db_.DesignChanged();
    SqliteStatement position(
        db_, "SELECT Position FROM " + Table("MSysVornTables") + " WHERE Name = ?1");
    position.BindText(1, storedName);
    const std::int64_t place = position.Step() ? position.Int(0) : 0;
    position.Reset();
    DeleteDesign(storedName);
    WriteTable(table, place);
}

void SqliteCatalog::DeleteTable(std::string_view storedName) const {
    db_.DesignChanged();
    DeleteDesign(storedName);
    SqliteStatement properties(
        db_, "DELETE FROM " + Table("MSysVornProperties") + " WHERE TableName = ?1");
    properties.BindText(1, storedName).Run();
}

void SqliteCatalog::DeleteDesign(std::string_view storedName) const {
    for (const auto& [table, column] : {TableColumn{"MSysVornTables", "Name"},
                                        TableColumn{"MSysVornFields", "TableName"},
                                        TableColumn{"MSysVornIndexes", "TableName"},
                                        TableColumn{"MSysVornIndexFields", "TableName"}}) {
        SqliteStatement remove(db_, "DELETE FROM " + Table(table) + " WHERE " +
                                              std::string(column) + " = ?1");
        remove.BindText(1, storedName).Run();
    }
    // The design settings go with the design; user properties stay.
    const auto quoted = [](const std::vector<std::string>& names) {
        std::string list;
        for (const auto& name : names) list += (list.empty() ? "'" : ", '") + name + "'";
        return list;
    };
    SqliteStatement settings(db_,
                             "DELETE FROM " + Table("MSysVornProperties") +
                                 " WHERE TableName = ?1 AND ((IFNULL(FieldName, '') = '' "
                                 "AND Name COLLATE NOCASE IN (" +
                                 quoted(kTableDesign) +
                                 ")) OR (IFNULL(FieldName, '') <> '' AND Name COLLATE "
                                 "NOCASE IN (" +
                                 quoted(kFieldDesign) + ")))");
    settings.BindText(1, storedName).Run();
}

void SqliteCatalog::WriteTable(const TableInfo& table, std::int64_t position) const {
    SqliteStatement insert(db_, "INSERT INTO " + Table("MSysVornTables") +
                                          "(Name, Attributes, Connect, SourceTableName, Position) "
                                          "VALUES (?1, ?2, NULLIF(?3, ''), NULLIF(?4, ''), ?5)");
    insert.BindText(1, table.name).BindInt(2, table.attributes).BindText(3, table.connect);
    insert.BindText(4, table.sourceTableName).BindInt(5, position).Run();
    for (std::size_t i = 0; i < table.fields.size(); ++i) {
        WriteField(table, table.fields[i], static_cast<std::int32_t>(i));
    }
    for (const auto& index : table.indexes) WriteIndex(table, index);
    WriteDesignProperties(table);
}

void SqliteCatalog::WriteField(const TableInfo& table, const FieldInfo& field,
                               std::int32_t position) const {
    SqliteStatement insert(db_, "INSERT INTO " + Table("MSysVornFields") +
                                          "(TableName, Name, Position, Type, Size, Attributes, "
                                          "Required, AllowZeroLength) VALUES (?1, ?2, ?3, ?4, ?5, "
                                          "?6, ?7, ?8)");
    insert.BindText(1, table.name).BindText(2, field.name).BindInt(3, position);
    insert.BindInt(4, field.type).BindInt(5, field.size).BindInt(6, field.attributes);
    insert.BindInt(7, field.required ? 1 : 0).BindInt(8, field.allowZeroLength ? 1 : 0).Run();
}

void SqliteCatalog::WriteIndex(const TableInfo& table, const IndexInfo& index) const {
    SqliteStatement insert(db_, "INSERT INTO " + Table("MSysVornIndexes") +
                                          "(TableName, Name, IsPrimary, IsUnique, IgnoreNulls, "
                                          "IsForeign) VALUES (?1, ?2, ?3, ?4, ?5, ?6)");
    insert.BindText(1, table.name).BindText(2, index.name).BindInt(3, index.primary ? 1 : 0);
    insert.BindInt(4, index.unique || index.primary ? 1 : 0).BindInt(5, index.ignoreNulls ? 1 : 0);
    insert.BindInt(6, index.foreign ? 1 : 0).Run();
    SqliteStatement member(db_, "INSERT INTO " + Table("MSysVornIndexFields") +
                                          "(TableName, IndexName, Position, FieldName, Attributes) "
                                          "VALUES (?1, ?2, ?3, ?4, ?5)");
    for (std::size_t i = 0; i < index.fields.size(); ++i) {
        member.Reset();
        member.BindText(1, table.name)
            .BindText(2, index.name)
            .BindInt(3, static_cast<std::int64_t>(i));
        member.BindText(4, index.fields[i].name).BindInt(5, index.fields[i].attributes).Run();
    }
}

void SqliteCatalog::WriteDesignProperties(const TableInfo& table) const {
    const auto save = [this](const PropertyOwnerKey& owner, const char* name, Variant value,
                             std::int16_t type) {
        SaveProperty(owner, {name, type, std::move(value)});
    };
    const PropertyOwnerKey tableOwner{table.name, ""};
    if (!table.validationRule.empty())
        save(tableOwner, "ValidationRule", table.validationRule, dbText);
    if (!table.validationText.empty())
        save(tableOwner, "ValidationText", table.validationText, dbText);
    if (table.dateCreated != 0)
        save(tableOwner, "DateCreated", Variant::FromDate(table.dateCreated), dbDate);
    if (table.lastUpdated != 0)
        save(tableOwner, "LastUpdated", Variant::FromDate(table.lastUpdated), dbDate);
    for (const auto& field : table.fields) {
        const PropertyOwnerKey owner{table.name, field.name};
        if (!field.defaultValue.empty()) save(owner, "DefaultValue", field.defaultValue, dbText);
        if (!field.validationRule.empty())
            save(owner, "ValidationRule", field.validationRule, dbText);
        if (!field.validationText.empty())
            save(owner, "ValidationText", field.validationText, dbText);
        if (field.precision != 0) save(owner, "Precision", field.precision, dbByte);
        if (field.scale != 0) save(owner, "Scale", field.scale, dbByte);
    }
}

void SqliteCatalog::RenameTableReferences(std::string_view oldName,
                                          std::string_view newName) const {
    db_.DesignChanged();
    for (const auto& [table, column] : {TableColumn{"MSysVornRelations", "ParentTable"},
                                        TableColumn{"MSysVornRelations", "ChildTable"},
                                        TableColumn{"MSysVornProperties", "TableName"}}) {
        const std::string name(column);
        SqliteStatement update(db_, "UPDATE " + Table(table) + " SET " + name +
                                              " = ?2 WHERE " + name + " = ?1");
        update.BindText(1, oldName).BindText(2, newName).Run();
    }
}

void SqliteCatalog::RenameFieldReferences(std::string_view table, std::string_view oldName,
                                          std::string_view newName) const {
    db_.DesignChanged();
    const auto relations = Table("MSysVornRelations");
    const auto fields = Table("MSysVornRelationFields");
    const std::string statements[] = {
        "UPDATE " + fields +
            " SET Name = ?3 WHERE Name = ?2 AND RelationName IN (SELECT Name "
            "FROM " +
            relations + " WHERE ParentTable = ?1)",
        "UPDATE " + fields +
            " SET ForeignName = ?3 WHERE ForeignName = ?2 AND RelationName IN "
            "(SELECT Name FROM " +
            relations + " WHERE ChildTable = ?1)",
        "UPDATE " + Table("MSysVornProperties") +
            " SET FieldName = ?3 WHERE TableName = ?1 AND FieldName = ?2"};
    for (const auto& sql : statements) {
        SqliteStatement update(db_, sql);
        update.BindText(1, table).BindText(2, oldName).BindText(3, newName).Run();
    }
}

// ---- Relations ----------------------------------------------------------------

std::vector<RelationInfo> SqliteCatalog::ReadRelations() const {
    std::vector<RelationInfo> relations;
    SqliteStatement query(db_, "SELECT Name, ParentTable, ChildTable, Attributes FROM " +
                                         Table("MSysVornRelations") + " ORDER BY rowid");
    while (query.Step()) {
        RelationInfo relation;
        relation.name = query.Text(0);
        relation.table = query.Text(1);
        relation.foreignTable = query.Text(2);
        relation.attributes = static_cast<std::int32_t>(query.Int(3));
        relations.push_back(std::move(relation));
    }
    SqliteStatement fields(db_, "SELECT RelationName, Name, ForeignName FROM " +
                                          Table("MSysVornRelationFields") +
                                          " ORDER BY RelationName, Position");
    while (fields.Step()) {
        for (auto& relation : relations) {
            if (utf8::EqualsIgnoreCase(relation.name, fields.Text(0))) {
                relation.fields.push_back({fields.Text(1), fields.Text(2)});
            }
        }
    }
    return relations;
}

std::optional<RelationInfo> SqliteCatalog::FindRelation(std::string_view name) const {
    for (auto& relation : ReadRelations()) {
        if (utf8::EqualsIgnoreCase(relation.name, name)) return std::move(relation);
    }
    return std::nullopt;
}

void SqliteCatalog::AddRelation(const RelationInfo& relation) const {
    SqliteStatement insert(db_, "INSERT INTO " + Table("MSysVornRelations") +
                                          "(Name, ParentTable, ChildTable, Attributes) VALUES "
                                          "(?1, ?2, ?3, ?4)");
    insert.BindText(1, relation.name).BindText(2, relation.table);
    insert.BindText(3, relation.foreignTable).BindInt(4, relation.attributes).Run();
    SqliteStatement field(db_, "INSERT INTO " + Table("MSysVornRelationFields") +
                                         "(RelationName, Position, Name, ForeignName) VALUES "
                                         "(?1, ?2, ?3, ?4)");
    for (std::size_t i = 0; i < relation.fields.size(); ++i) {
        field.Reset();
        field.BindText(1, relation.name).BindInt(2, static_cast<std::int64_t>(i));
        field.BindText(3, relation.fields[i].name)
            .BindText(4, relation.fields[i].foreignName)
            .Run();
    }
}

void SqliteCatalog::DeleteRelation(std::string_view storedName) const {
    SqliteStatement relation(db_,
                             "DELETE FROM " + Table("MSysVornRelations") + " WHERE Name = ?1");
    relation.BindText(1, storedName).Run();
    SqliteStatement fields(
        db_, "DELETE FROM " + Table("MSysVornRelationFields") + " WHERE RelationName = ?1");
    fields.BindText(1, storedName).Run();
}

// ---- Queries ------------------------------------------------------------------

std::vector<QueryInfo> SqliteCatalog::ReadQueries() const {
    std::vector<QueryInfo> queries;
    SqliteStatement query(db_,
                          "SELECT Name, SQL FROM " + Table("MSysVornQueries") + " ORDER BY rowid");
    while (query.Step()) queries.push_back({query.Text(0), query.Text(1)});
    return queries;
}

std::optional<QueryInfo> SqliteCatalog::FindQuery(std::string_view name) const {
    for (auto& query : ReadQueries()) {
        if (utf8::EqualsIgnoreCase(query.name, name)) return std::move(query);
    }
    return std::nullopt;
}

void SqliteCatalog::AddQuery(const QueryInfo& query) const {
    SqliteStatement insert(
        db_, "INSERT INTO " + Table("MSysVornQueries") + "(Name, SQL) VALUES (?1, ?2)");
    insert.BindText(1, query.name).BindText(2, query.sql).Run();
}

void SqliteCatalog::DeleteQuery(std::string_view storedName) const {
    SqliteStatement remove(db_,
                           "DELETE FROM " + Table("MSysVornQueries") + " WHERE Name = ?1");
    remove.BindText(1, storedName).Run();
}

// ---- Properties ---------------------------------------------------------------

std::vector<PropertyInfo> SqliteCatalog::ReadProperties(const PropertyOwnerKey& owner) const {
    SqliteStatement query(db_, "SELECT Name, Type, Value FROM " +
                                         Table("MSysVornProperties") +
                                         " WHERE " + OwnerRows(owner) + " ORDER BY rowid");
    query.BindText(1, owner.table).BindText(2, owner.field);
    std::vector<PropertyInfo> properties;
    while (query.Step()) {
        PropertyInfo property;
        property.name = query.Text(0);
        if (IsDesignProperty(owner, property.name)) continue;
        property.type = static_cast<std::int16_t>(query.Int(1));
        property.value = SqliteValueCodec::Decode(query.Column(2), property.type);
        properties.push_back(std::move(property));
    }
    return properties;
}

void SqliteCatalog::SaveProperty(const PropertyOwnerKey& owner,
                                 const PropertyInfo& property) const {
    // Only the design settings kept as properties are part of a kept design.
    if (IsDesignProperty(owner, property.name)) db_.DesignChanged();
    const auto stored = SqliteValueCodec::Encode(property.value, PropertyField(property.type));
    const auto existing = StoredPropertyName(owner, property.name);
    const std::string sql =
        existing ? "UPDATE " + Table("MSysVornProperties") +
                       " SET Type = ?4, Value = ?5, Name = ?3 WHERE " + OwnerRows(owner) +
                       " AND Name = ?6"
                 : "INSERT INTO " + Table("MSysVornProperties") +
                       "(TableName, FieldName, Name, Type, Value) VALUES (?1, ?2, ?3, ?4, ?5)";
    SqliteStatement write(db_, sql);
    write.BindText(1, owner.table).BindText(2, owner.field).BindText(3, property.name);
    write.BindInt(4, property.type).Bind(5, stored);
    if (existing) write.BindText(6, *existing);
    write.Run();
}

bool SqliteCatalog::DeleteProperty(const PropertyOwnerKey& owner, std::string_view name) const {
    if (IsDesignProperty(owner, name)) db_.DesignChanged();
    const auto existing = StoredPropertyName(owner, name);
    if (!existing) return false;
    SqliteStatement remove(db_, "DELETE FROM " + Table("MSysVornProperties") +
                                          " WHERE " + OwnerRows(owner) + " AND Name = ?3");
    remove.BindText(1, owner.table).BindText(2, owner.field).BindText(3, *existing).Run();
    return true;
}

void SqliteCatalog::DeleteFieldProperties(std::string_view table, std::string_view field) const {
    db_.DesignChanged();
    SqliteStatement remove(db_, "DELETE FROM " + Table("MSysVornProperties") +
                                          " WHERE TableName = ?1 AND FieldName = ?2");
    remove.BindText(1, table).BindText(2, field).Run();
}

std::optional<std::string> SqliteCatalog::StoredPropertyName(const PropertyOwnerKey& owner,
                                                             std::string_view name) const {
    // Ignoring case at once: the key finds the owner's rows, and an owner
    // has few properties.
    SqliteStatement query(db_, "SELECT Name FROM " + Table("MSysVornProperties") + " WHERE " + OwnerRows(owner) +
                                   " AND Name = ?3 COLLATE " + SqliteCollations::kNoCase);
    query.BindText(1, owner.table).BindText(2, owner.field).BindText(3, name);
    if (query.Step()) return query.Text(0);
    return std::nullopt;
}

std::optional<std::string> SqliteCatalog::StoredName(std::string_view table,
                                                     std::string_view column,
                                                     std::string_view name) const {
    return ExactThenFolded(db_,
                           "SELECT " + std::string(column) + " FROM " + Table(table) + " WHERE " + std::string(column) + " = ?1",
                           [&](SqliteStatement& query) { query.BindText(1, name); });
}

}  // namespace vorn
