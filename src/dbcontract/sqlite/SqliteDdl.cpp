#include "dbcontract/sqlite/SqliteDdl.h"

#include "dbcontract/DaoConstants.h"
#include "dbcontract/sqlite/SqliteValueCodec.h"
#include "runtime/Conversions.h"
#include "runtime/Utf8.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

using namespace dao;

bool InIndex(const IndexInfo& index, std::string_view field) {
    for (const auto& member : index.fields) {
        if (utf8::EqualsIgnoreCase(member.name, field)) return true;
    }
    return false;
}

bool IsDateType(std::int16_t type) {
    return type == dbDate || type == dbTime || type == dbTimeStamp;
}

// ---- Default values ---------------------------------------------------------

std::string Unquote(std::string_view text) {
    const char quote = text.front();
    std::string result;
    for (std::size_t i = 1; i + 1 < text.size(); ++i) {
        result += text[i];
        if (text[i] == quote && text[i + 1] == quote) ++i;
    }
    return result;
}

// The constant a DefaultValue expression stands for: a quoted text, a
// #date#, a number or a truth word.
std::optional<Variant> DefaultLiteral(std::string_view text) {
    const char first = text.front();
    if (text.size() >= 2 && (first == '"' || first == '\'') && text.back() == first) {
        return Variant(Unquote(text));
    }
    if (text.size() >= 2 && first == '#' && text.back() == '#') {
        const auto serial = ParseDate(text.substr(1, text.size() - 2));
        if (!serial) return std::nullopt;
        return Variant::FromDate(*serial);
    }
    const std::string upper = utf8::ToUpper(text);
    if (upper == "TRUE" || upper == "YES" || upper == "ON") return Variant(true);
    if (upper == "FALSE" || upper == "NO" || upper == "OFF") return Variant(false);
    if (ParseNumber(text)) return Variant(std::string(text));
    return std::nullopt;
}

// Date(), Now() and Time() as SQLite expressions giving the stored form.
std::optional<std::string> DateExpression(std::string_view text) {
    std::string name = utf8::ToUpper(text);
    if (name.size() > 2 && name.substr(name.size() - 2) == "()") name.resize(name.size() - 2);
    if (name == "DATE") return "strftime('%Y-%m-%d 00:00:00', 'now', 'localtime')";
    if (name == "NOW") return "strftime('%Y-%m-%d %H:%M:%S', 'now', 'localtime')";
    if (name == "TIME") return "'1899-12-30 ' || strftime('%H:%M:%S', 'now', 'localtime')";
    return std::nullopt;
}

std::string_view DefaultText(const FieldInfo& field) {
    std::string_view text = utf8::Trim(field.defaultValue);
    if (!text.empty() && text.front() == '=') text = utf8::Trim(text.substr(1));
    return text;
}

bool HasExpressionDefault(const FieldInfo& field) {
    const auto text = DefaultText(field);
    return !text.empty() && IsDateType(field.type) && DateExpression(text).has_value();
}

// ---- Column checks ----------------------------------------------------------

std::string Check(std::string_view rule, const FieldInfo& field, std::string_view condition) {
    return " CONSTRAINT " + SqliteDdl::Quote(std::string(rule) + ":" + field.name) + " CHECK (" +
           std::string(condition) + ")";
}

std::string ColumnChecks(const TableInfo& table, const FieldInfo& field) {
    const std::string column = SqliteDdl::Quote(field.name);
    std::string checks;
    const bool sized = field.type == dbText || field.type == dbChar || field.type == dbBinary ||
                       field.type == dbVarBinary;
    if (sized && field.size > 0) {
        checks += Check("size", field, "length(" + column + ") <= " + std::to_string(field.size));
    }
    if (SqliteValueCodec::IsTextType(field.type) && !field.allowZeroLength) {
        checks += Check("zerolength", field, column + " <> ''");
    }
    const auto* primary = SqliteDdl::PrimaryIndex(table);
    if (primary != nullptr && InIndex(*primary, field.name) && !field.required &&
        !SqliteDdl::IsCounter(field)) {
        checks += Check("primarykey", field, column + " IS NOT NULL");
    }
    return checks;
}

// ---- Relation triggers ------------------------------------------------------

std::string TriggerName(std::string_view relation, std::string_view kind) {
    return SqliteDdl::Quote("vornrel/" + std::string(relation) + "/" + std::string(kind));
}

// "<left>.<a> = <right>.<b> AND ..." over the pairs of key fields; `left`
// names the child's row when `leftIsChild`, else the parent's.
std::string Pairs(const RelationInfo& r, std::string_view left, bool leftIsChild,
                  std::string_view right) {
    std::vector<std::string> parts;
    for (const auto& f : r.fields) {
        const auto& mine = leftIsChild ? f.foreignName : f.name;
        const auto& theirs = leftIsChild ? f.name : f.foreignName;
        parts.push_back(std::string(left) + "." + SqliteDdl::Quote(mine) + " = " +
                        std::string(right) + "." + SqliteDdl::Quote(theirs));
    }
    return SqliteDdl::Join(parts, " AND ");
}

// True in a parent update trigger when a key field changed; `binary` also
// counts a change of case.
std::string KeyChanged(const RelationInfo& r, bool binary) {
    std::vector<std::string> parts;
    for (const auto& f : r.fields) {
        const auto column = SqliteDdl::Quote(f.name);
        parts.push_back("OLD." + column + " IS NOT NEW." + column +
                        (binary ? " COLLATE BINARY" : ""));
    }
    return "(" + SqliteDdl::Join(parts, " OR ") + ")";
}

std::string FieldList(const RelationInfo& r, bool child) {
    std::vector<std::string> names;
    for (const auto& f : r.fields)
        names.push_back(SqliteDdl::Quote(child ? f.foreignName : f.name));
    return SqliteDdl::Join(names, ", ");
}

std::string Raise(std::int32_t number, const std::string& text) {
    return "SELECT RAISE(ABORT, " +
           SqliteValueCodec::SqlLiteral(std::string("#" + std::to_string(number) + " " + text)) +
           ")";
}

std::string ChildCheck(const RelationInfo& r, std::string_view event, std::string_view kind) {
    std::vector<std::string> notNull;
    for (const auto& f : r.fields)
        notNull.push_back("NEW." + SqliteDdl::Quote(f.foreignName) + " IS NOT NULL");
    const auto parent = SqliteDdl::Quote(r.table);
    return "CREATE TRIGGER " + TriggerName(r.name, kind) + " BEFORE " + std::string(event) +
           " ON " + SqliteDdl::Quote(r.foreignTable) + " FOR EACH ROW WHEN " +
           SqliteDdl::Join(notNull, " AND ") + " AND NOT EXISTS (SELECT 1 FROM " + parent +
           " WHERE " + Pairs(r, parent, false, "NEW") + ") BEGIN " +
           Raise(3201,
                 "You cannot add or change a record because a related record is required "
                 "in table '" +
                     r.table + "'.") +
           "; END";
}

std::string ChildrenExist(const RelationInfo& r) {
    const auto child = SqliteDdl::Quote(r.foreignTable);
    return "EXISTS (SELECT 1 FROM " + child + " WHERE " + Pairs(r, child, true, "OLD") + ")";
}

std::string RelatedRecordsRaise(const RelationInfo& r) {
    return Raise(3200, "The record cannot be deleted or changed because table '" + r.foreignTable +
                           "' includes related records.");
}

std::string ParentDelete(const RelationInfo& r) {
    const auto head = "CREATE TRIGGER " + TriggerName(r.name, "pd");
    const auto parent = SqliteDdl::Quote(r.table);
    const auto child = SqliteDdl::Quote(r.foreignTable);
    if ((r.attributes & dbRelationDeleteCascade) != 0) {
        return head + " AFTER DELETE ON " + parent + " FOR EACH ROW BEGIN DELETE FROM " + child +
               " WHERE " + Pairs(r, child, true, "OLD") + "; END";
    }
    return head + " BEFORE DELETE ON " + parent + " FOR EACH ROW WHEN " + ChildrenExist(r) +
           " BEGIN " + RelatedRecordsRaise(r) + "; END";
}

std::string ParentUpdate(const RelationInfo& r) {
    const auto head = "CREATE TRIGGER " + TriggerName(r.name, "pu");
    const auto parent = SqliteDdl::Quote(r.table);
    const auto child = SqliteDdl::Quote(r.foreignTable);
    const auto event =
        " UPDATE OF " + FieldList(r, false) + " ON " + parent + " FOR EACH ROW WHEN ";
    if ((r.attributes & dbRelationUpdateCascade) != 0) {
        // A change of case alone also reaches the children, so compare binary.
        std::vector<std::string> sets;
        for (const auto& f : r.fields) {
            sets.push_back(SqliteDdl::Quote(f.foreignName) + " = NEW." + SqliteDdl::Quote(f.name));
        }
        return head + " AFTER" + event + KeyChanged(r, true) + " BEGIN UPDATE " + child + " SET " +
               SqliteDdl::Join(sets, ", ") + " WHERE " + Pairs(r, child, true, "OLD") + "; END";
    }
    return head + " BEFORE" + event + KeyChanged(r, false) + " AND " + ChildrenExist(r) +
           " BEGIN " + RelatedRecordsRaise(r) + "; END";
}

}  // namespace

std::string SqliteDdl::Quote(std::string_view name) {
    std::string quoted = "\"";
    for (const char c : name) {
        quoted += c;
        if (c == '"') quoted += '"';
    }
    return quoted + "\"";
}

std::string SqliteDdl::Qualified(std::string_view schema, std::string_view name) {
    return Quote(schema) + "." + Quote(name);
}

std::string SqliteDdl::Join(const std::vector<std::string>& parts, std::string_view separator) {
    std::string joined;
    for (const auto& part : parts) {
        if (!joined.empty()) joined += separator;
        joined += part;
    }
    return joined;
}

std::string SqliteDdl::IndexObjectName(std::string_view table, std::string_view index) {
    // "/" in the table name is doubled so that no two pairs give one name.
    std::string name = "vornidx/";
    for (const char c : table) {
        name += c;
        if (c == '/') name += '/';
    }
    return name + "/" + std::string(index);
}

std::string SqliteDdl::RebuildName(std::string_view table) {
    return "vornrebuild/" + std::string(table);
}

bool SqliteDdl::IsCounter(const FieldInfo& field) {
    return (field.attributes & dbAutoIncrField) != 0 &&
           (field.type == dbLong || field.type == dbCounter);
}

const IndexInfo* SqliteDdl::PrimaryIndex(const TableInfo& table) {
    for (const auto& index : table.indexes) {
        if (index.primary) return &index;
    }
    return nullptr;
}

const FieldInfo* SqliteDdl::RowidCounter(const TableInfo& table) {
    const auto* primary = PrimaryIndex(table);
    if (primary == nullptr || primary->fields.size() != 1) return nullptr;
    for (const auto& field : table.fields) {
        if (IsCounter(field) && utf8::EqualsIgnoreCase(field.name, primary->fields[0].name)) {
            return &field;
        }
    }
    return nullptr;
}

std::string SqliteDdl::ColumnDefinition(const TableInfo& table, const FieldInfo& field) {
    std::string column = Quote(field.name);
    if (RowidCounter(table) == &field) return column + " INTEGER PRIMARY KEY AUTOINCREMENT";
    column += " ";
    column += SqliteValueCodec::StorageType(field.type);
    const auto collation = SqliteValueCodec::Collation(field.type);
    if (!collation.empty()) column += " COLLATE " + std::string(collation);
    // A counter gets its number after the row is in, so it may be Null for a
    // moment.
    if (field.required && !IsCounter(field)) column += " NOT NULL";
    if (const auto clause = DefaultClause(field)) column += " " + *clause;
    return column + ColumnChecks(table, field);
}

std::string SqliteDdl::CreateTable(const TableInfo& table, std::string_view sqliteName) {
    std::vector<std::string> columns;
    for (const auto& field : table.fields) columns.push_back(ColumnDefinition(table, field));
    return "CREATE TABLE " + Quote(sqliteName) + " (" + SqliteDdl::Join(columns, ", ") + ")";
}

bool SqliteDdl::CanAddInPlace(const TableInfo& table, const FieldInfo& field) {
    if (RowidCounter(table) != nullptr &&
        utf8::EqualsIgnoreCase(RowidCounter(table)->name, field.name)) {
        return false;
    }
    if (HasExpressionDefault(field)) return false;
    const auto* primary = PrimaryIndex(table);
    if (primary != nullptr && InIndex(*primary, field.name)) return false;
    return !field.required || IsCounter(field) || DefaultClause(field).has_value();
}

std::string SqliteDdl::CreateIndex(const TableInfo& table, const IndexInfo& index) {
    std::vector<std::string> keys;
    for (const auto& field : index.fields) {
        keys.push_back(Quote(field.name) + ((field.attributes & dbDescending) != 0 ? " DESC" : ""));
    }
    const bool unique = index.unique || index.primary;
    return std::string("CREATE ") + (unique ? "UNIQUE " : "") + "INDEX " +
           Quote(IndexObjectName(table.name, index.name)) + " ON " + Quote(table.name) + " (" +
           SqliteDdl::Join(keys, ", ") + ")";
}

std::optional<std::string> SqliteDdl::CounterTrigger(const TableInfo& table) {
    const FieldInfo* counter = nullptr;
    for (const auto& field : table.fields) {
        if (IsCounter(field)) counter = &field;
    }
    if (counter == nullptr || counter == RowidCounter(table)) return std::nullopt;
    const auto name = Quote(table.name);
    const auto column = Quote(counter->name);
    return "CREATE TRIGGER " + Quote("vorncounter/" + table.name) + " AFTER INSERT ON " + name +
           " FOR EACH ROW WHEN NEW." + column + " IS NULL BEGIN UPDATE " + name + " SET " + column +
           " = (SELECT IFNULL(MAX(" + column + "), 0) + 1 FROM " + name +
           ") WHERE _rowid_ = NEW._rowid_; END";
}

std::vector<std::string> SqliteDdl::RelationTriggerNames(std::string_view relation) {
    return {TriggerName(relation, "ci"), TriggerName(relation, "cu"), TriggerName(relation, "pd"),
            TriggerName(relation, "pu")};
}

std::vector<std::string> SqliteDdl::RelationTriggers(const RelationInfo& relation) {
    if ((relation.attributes & dbRelationDontEnforce) != 0 || relation.fields.empty()) return {};
    return {ChildCheck(relation, "INSERT", "ci"),
            ChildCheck(relation, "UPDATE OF " + FieldList(relation, true), "cu"),
            ParentDelete(relation), ParentUpdate(relation)};
}

std::optional<std::string> SqliteDdl::DefaultClause(const FieldInfo& field) {
    const auto text = DefaultText(field);
    if (text.empty()) return std::nullopt;
    if (IsDateType(field.type)) {
        if (const auto expression = DateExpression(text)) return "DEFAULT (" + *expression + ")";
    }
    const auto literal = DefaultLiteral(text);
    if (!literal) return std::nullopt;
    try {
        const auto stored = SqliteValueCodec::Encode(*literal, field);
        if (std::holds_alternative<std::monostate>(stored)) return std::nullopt;
        return "DEFAULT " + SqliteValueCodec::SqlLiteral(stored);
    } catch (const VornError&) {
        // A default that does not fit the field stays in the design only.
        return std::nullopt;
    }
}

}  // namespace vorn
