#include "dbcontract/sqlite/SqliteDialect.h"

#include "dbcontract/ServerConnection.h"
#include "dbcontract/SqlTokenizer.h"
#include "dbcontract/sqlite/SqliteDateText.h"
#include "runtime/Utf8.h"

namespace vorn {
namespace {

// A stored CREATE TABLE text taken apart at the commas between its columns
// and constraints, so that one element can be added, changed or removed and
// the rest kept as written.
struct TableText {
    std::string head;  // up to and with the opening "("
    std::vector<std::string> elements;
    std::string tail;  // from the closing ")"
};

std::vector<SqlToken> TokensOf(std::string_view text) {
    return SqlTokenizer(SqlTokenizerOptions::SqlServer()).Tokenize(text);
}

TableText SplitTableText(const std::string& sql) {
    const std::vector<SqlToken> tokens = TokensOf(sql);
    TableText text;
    int depth = 0;
    std::size_t start = 0;
    for (const SqlToken& token : tokens) {
        if (token.IsSymbol("(")) {
            if (depth++ == 0) {
                text.head = sql.substr(0, token.offset + 1);
                start = token.offset + 1;
            }
        } else if (token.IsSymbol(")")) {
            if (--depth == 0) {
                text.elements.emplace_back(utf8::Trim(sql.substr(start, token.offset - start)));
                text.tail = sql.substr(token.offset);
                return text;
            }
        } else if (depth == 1 && token.IsSymbol(",")) {
            text.elements.emplace_back(utf8::Trim(sql.substr(start, token.offset - start)));
            start = token.offset + 1;
        }
    }
    throw ServerFailure("SQLite", "The stored definition of a table cannot be read: " + sql);
}

std::string JoinTableText(const TableText& text) {
    std::string sql = text.head;
    for (std::size_t i = 0; i < text.elements.size(); ++i)
        sql += (i ? ", " : "") + text.elements[i];
    return sql + text.tail;
}

bool IsConstraintElement(const std::string& element) {
    const SqlToken first = TokensOf(element).front();
    return first.Is("CONSTRAINT") || first.Is("PRIMARY") || first.Is("UNIQUE") ||
           first.Is("FOREIGN") || first.Is("CHECK");
}

// The position of the definition of `column`; elements.size() when none.
std::size_t ColumnElement(const TableText& text, std::string_view column) {
    for (std::size_t i = 0; i < text.elements.size(); ++i) {
        if (IsConstraintElement(text.elements[i])) continue;
        if (utf8::EqualsIgnoreCase(TokensOf(text.elements[i]).front().value, column)) return i;
    }
    return text.elements.size();
}

// Where a new column goes: behind the last column, before the constraints.
std::size_t ColumnInsertPosition(const TableText& text) {
    std::size_t at = 0;
    for (std::size_t i = 0; i < text.elements.size(); ++i) {
        if (!IsConstraintElement(text.elements[i])) at = i + 1;
    }
    return at;
}

// The DEFAULT clause of a column definition ("" when it has none), and the
// definition without it in `rest`.
std::string TakeDefault(const std::string& element, std::string& rest) {
    const std::vector<SqlToken> tokens = TokensOf(element);
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        if (!tokens[i].Is("DEFAULT")) continue;
        std::size_t end = i + 1;
        if (tokens[end].IsSymbol("+") || tokens[end].IsSymbol("-")) ++end;
        if (tokens[end].IsSymbol("(")) {
            int depth = 0;
            for (; end < tokens.size(); ++end) {
                if (tokens[end].IsSymbol("(")) ++depth;
                if (tokens[end].IsSymbol(")") && --depth == 0) break;
            }
        }
        const std::size_t from = tokens[i].offset;
        const std::size_t to =
            tokens[end + 1].kind == SqlTokenKind::End ? element.size() : tokens[end + 1].offset;
        rest = std::string(utf8::Trim(element.substr(0, from) + element.substr(to)));
        return std::string(utf8::Trim(element.substr(from, to - from)));
    }
    rest = element;
    return {};
}

std::string TypeText(const ServerType& type) {
    const std::string n = "(" + std::to_string(type.length > 0 ? type.length : 1) + ")";
    const bool max = type.length == ServerType::kMax;
    switch (type.kind) {
        case ServerType::Kind::Bit:
            return "BIT";
        case ServerType::Kind::TinyInt:
            return "TINYINT";
        case ServerType::Kind::SmallInt:
            return "SMALLINT";
        case ServerType::Kind::Int:
            return "INT";
        case ServerType::Kind::BigInt:
            return "BIGINT";
        case ServerType::Kind::Money:
            return "MONEY";
        case ServerType::Kind::SmallMoney:
            return "SMALLMONEY";
        case ServerType::Kind::Real:
            return "REAL";
        case ServerType::Kind::Float:
            return "FLOAT";
        case ServerType::Kind::Decimal:
            return "DECIMAL(" + std::to_string(type.precision > 0 ? type.precision : 18) + "," +
                   std::to_string(type.scale) + ")";
        case ServerType::Kind::DateTime:
            return "DATETIME";
        case ServerType::Kind::SmallDateTime:
            return "SMALLDATETIME";
        case ServerType::Kind::Date:
            return "DATE";
        case ServerType::Kind::Char:
            return "CHAR" + n;
        case ServerType::Kind::NChar:
            return "NCHAR" + n;
        case ServerType::Kind::VarChar:
            return max ? "TEXT" : "VARCHAR" + n;
        case ServerType::Kind::NVarChar:
            return max ? "NTEXT" : "NVARCHAR" + n;
        case ServerType::Kind::Text:
            return "TEXT";
        case ServerType::Kind::NText:
            return "NTEXT";
        case ServerType::Kind::Binary:
            return "BINARY" + n;
        case ServerType::Kind::VarBinary:
            return max ? "BLOB" : "VARBINARY" + n;
        case ServerType::Kind::Image:
            return "BLOB";
    }
    return "BLOB";
}

std::string DefaultText(const SqlExpr& value) {
    return " DEFAULT " + (value.literal ? value.sql : "(" + value.sql + ")");
}

}  // namespace

std::string SqliteDialect::StoredIndexName(std::string_view table, std::string_view index) {
    return std::string(table) + "." + std::string(index);
}

std::string SqliteDialect::IndexNameFromStored(std::string_view table, std::string_view stored) {
    const std::string prefix = std::string(table) + ".";
    if (stored.size() > prefix.size() &&
        utf8::EqualsIgnoreCase(stored.substr(0, prefix.size()), prefix)) {
        return std::string(stored.substr(prefix.size()));
    }
    return std::string(stored);
}

std::string SqliteDialect::IdentityTriggerName(std::string_view table) {
    return std::string(table) + ".identity";
}

std::string SqliteDialect::Quote(std::string_view name) const {
    return connection_.QuoteName(name);
}

std::optional<TableInfo> SqliteDialect::FindTable(std::string_view name) {
    return connection_.ReadTable(name);
}

std::vector<RelationInfo> SqliteDialect::Relations() { return connection_.ReadRelations(); }

bool SqliteDialect::AnyRow(const std::string& query) {
    std::vector<Variant> row;
    return connection_.Query(query, {})->Next(row);
}

void SqliteDialect::CheckName(std::string_view name, std::string_view what) const {
    if (name.empty()) throw ServerFailure("SQLite", "A " + std::string(what) + " needs a name.");
    if (utf8::EqualsIgnoreCase(name.substr(0, 7), "sqlite_")) {
        throw ServerFailure(
            "SQLite", "The " + std::string(what) + " name '" + std::string(name) +
                          "' is reserved for SQLite's own objects (names beginning 'sqlite_').");
    }
}

// ---- Definitions -----------------------------------------------------------------

std::string SqliteDialect::ColumnDefinition(const ServerColumn& column, bool rowId,
                                            const std::string& keyName) const {
    std::string text = Quote(column.name) + " ";
    if (rowId) {
        text += "INTEGER";
        if (!keyName.empty()) text += " CONSTRAINT " + Quote(keyName);
        return text + " PRIMARY KEY AUTOINCREMENT NOT NULL";
    }
    text += TypeText(column.type);
    // The word that tells an identity when the design is read back; the
    // trigger of the table gives the numbers.
    if (column.identity) text += " IDENTITY";
    if (column.type.IsText()) text += " COLLATE NOCASE";
    if (column.notNull && !column.identity) text += " NOT NULL";
    if (column.defaultValue) text += DefaultText(*column.defaultValue);
    return text;
}

std::string SqliteDialect::ForeignKeyClause(const ServerForeignKey& key) const {
    std::string text = key.name.empty() ? std::string() : "CONSTRAINT " + Quote(key.name) + " ";
    std::string columns;
    std::string parents;
    for (std::size_t i = 0; i < key.columns.size(); ++i) {
        columns += (i ? ", " : "") + Quote(key.columns[i]);
        parents += (i ? ", " : "") + Quote(key.parentColumns[i]);
    }
    text += "FOREIGN KEY (" + columns + ") REFERENCES " + Quote(key.parent) + " (" + parents + ")";
    if (key.updateCascade) text += " ON UPDATE CASCADE";
    if (key.deleteCascade) text += " ON DELETE CASCADE";
    return text;
}

std::string SqliteDialect::IdentityTrigger(std::string_view table, std::string_view column) const {
    const std::string t = Quote(table);
    const std::string c = Quote(column);
    return "CREATE TRIGGER " + Quote(IdentityTriggerName(table)) + " AFTER INSERT ON " + t +
           " FOR EACH ROW WHEN NEW." + c + " IS NULL BEGIN UPDATE " + t + " SET " + c +
           " = NEW.rowid WHERE rowid = NEW.rowid; END";
}

std::string SqliteDialect::CreateTable(const ServerTable& table) {
    const ServerKey* primary = table.PrimaryKey();
    const ServerColumn* identity = table.IdentityColumn();
    // The identity that is the whole key becomes the row id.
    const bool rowId = identity != nullptr && identity->type.kind == ServerType::Kind::Int &&
                       primary != nullptr && primary->columns.size() == 1 &&
                       !primary->columns[0].descending &&
                       utf8::EqualsIgnoreCase(primary->columns[0].name, identity->name);
    std::vector<std::string> elements;
    for (const ServerColumn& column : table.columns) {
        const bool isRowId = rowId && &column == identity;
        elements.push_back(
            ColumnDefinition(column, isRowId, isRowId ? primary->name : std::string()));
    }
    if (primary != nullptr && !rowId) {
        std::string columns;
        for (const ServerKeyColumn& c : primary->columns) {
            columns +=
                (columns.empty() ? "" : ", ") + Quote(c.name) + (c.descending ? " DESC" : "");
        }
        elements.push_back(
            (primary->name.empty() ? std::string() : "CONSTRAINT " + Quote(primary->name) + " ") +
            "PRIMARY KEY (" + columns + ")");
    }
    for (const ServerForeignKey& key : table.foreignKeys) elements.push_back(ForeignKeyClause(key));
    std::string sql = "CREATE TABLE " + Quote(table.name) + " (";
    for (std::size_t i = 0; i < elements.size(); ++i) sql += (i ? ", " : "") + elements[i];
    sql += ")";
    // Unique constraints become indexes of their own name, which SQLite's
    // automatic indexes would not keep.
    int unnamed = 0;
    for (const ServerKey& key : table.keys) {
        if (key.primary) continue;
        ServerIndex index{table.name, key};
        if (index.key.name.empty())
            index.key.name = "UQ_" + table.name + "_" + std::to_string(++unnamed);
        sql += ";\n" + CreateIndex(index);
    }
    if (identity != nullptr && !rowId) sql += ";\n" + IdentityTrigger(table.name, identity->name);
    return sql;
}

std::string SqliteDialect::CreateIndex(const ServerIndex& index) {
    std::string columns;
    for (const ServerKeyColumn& c : index.key.columns) {
        columns += (columns.empty() ? "" : ", ") + Quote(c.name) + (c.descending ? " DESC" : "");
    }
    return std::string("CREATE ") + (index.key.unique ? "UNIQUE " : "") + "INDEX " +
           Quote(StoredIndexName(index.table, index.key.name)) + " ON " + Quote(index.table) +
           " (" + columns + ")";
}

std::string SqliteDialect::CreateSql(std::string_view table) {
    if (const auto found = edited_.find(utf8::ToUpper(table)); found != edited_.end())
        return found->second;
    std::vector<Variant> row;
    auto rows = connection_.Query("SELECT sql FROM sqlite_master WHERE type = 'table' AND name = ?",
                                  {Variant(std::string(table))});
    if (!rows->Next(row) || !row[0].IsText()) {
        throw ServerFailure("SQLite",
                            "The table '" + std::string(table) + "' has no stored definition.");
    }
    return row[0].AsText();
}

// Replaces the stored CREATE TABLE text of `table`: the rows stay as they
// are, which is right for the changes made this way (the rewriter has checked
// them). The schema version changes so that every connection reads it anew;
// it moves in large steps because other statements of the same text move it
// by one each, and a version set twice would go unnoticed.
std::string SqliteDialect::SchemaEdit(std::string_view table, const std::string& createSql) {
    std::vector<Variant> row;
    auto rows = connection_.Query("PRAGMA schema_version", {});
    const std::int64_t version =
        rows->Next(row) ? static_cast<std::int64_t>(row[0].NumberValue()) : 0;
    rows.reset();
    edited_[utf8::ToUpper(table)] = createSql;
    return "PRAGMA writable_schema = ON;\nUPDATE sqlite_master SET sql = " +
           StringLiteral(createSql) + " WHERE type = 'table' AND name = " + StringLiteral(table) +
           ";\nPRAGMA schema_version = " + std::to_string(version + 1000 * ++edits_) +
           ";\nPRAGMA writable_schema = RESET";
}

// Columns are added in the stored text in one edit, so that a column NOT NULL
// can join an empty table and a column's default reaches new rows only: SQL
// Server leaves the rows there Null in a column that may be Null, where
// SQLite's ADD COLUMN would show them the default.
std::string SqliteDialect::AddColumns(const TableInfo& table,
                                      const std::vector<ServerColumn>& columns) {
    TableText text = SplitTableText(CreateSql(table.name));
    std::size_t at = ColumnInsertPosition(text);
    std::vector<std::string> after;
    for (const ServerColumn& column : columns) {
        text.elements.insert(text.elements.begin() + static_cast<std::ptrdiff_t>(at++),
                             ColumnDefinition(column, false, {}));
        const std::string t = Quote(table.name);
        const std::string c = Quote(column.name);
        if (column.identity) {
            after.push_back("UPDATE " + t + " SET " + c + " = rowid");
            after.push_back(IdentityTrigger(table.name, column.name));
        } else if (column.defaultValue && !column.notNull) {
            after.push_back("UPDATE " + t + " SET " + c + " = NULL");
        }
    }
    std::string sql = SchemaEdit(table.name, JoinTableText(text));
    for (const std::string& statement : after) sql += ";\n" + statement;
    return sql;
}

std::string SqliteDialect::AlterColumn(const TableInfo& table, const ServerColumn& column) {
    TableText text = SplitTableText(CreateSql(table.name));
    const std::size_t at = ColumnElement(text, column.name);
    if (at == text.elements.size()) {
        throw ServerFailure("SQLite", "The column '" + column.name +
                                          "' is not in the stored definition of '" + table.name +
                                          "'.");
    }
    std::string rest;
    const std::string defaultClause = TakeDefault(text.elements[at], rest);
    if (utf8::ToUpper(rest).find("AUTOINCREMENT") != std::string::npos) {
        throw ServerFailure("SQLite", "The identity key column '" + column.name + "' of '" +
                                          table.name +
                                          "' is the table's row id and cannot be altered.");
    }
    ServerColumn changed = column;
    changed.defaultValue.reset();
    text.elements[at] =
        ColumnDefinition(changed, false, {}) + (defaultClause.empty() ? "" : " " + defaultClause);
    return SchemaEdit(table.name, JoinTableText(text));
}

std::string SqliteDialect::DropColumn(const TableInfo& table, std::string_view column) {
    return "ALTER TABLE " + Quote(table.name) + " DROP COLUMN " + Quote(column);
}

std::string SqliteDialect::AddForeignKey(const TableInfo& table, const ServerForeignKey& key,
                                         bool) {
    TableText text = SplitTableText(CreateSql(table.name));
    text.elements.push_back(ForeignKeyClause(key));
    return SchemaEdit(table.name, JoinTableText(text));
}

std::string SqliteDialect::DropForeignKey(const TableInfo& table, std::string_view name) {
    TableText text = SplitTableText(CreateSql(table.name));
    for (std::size_t i = 0; i < text.elements.size(); ++i) {
        const std::vector<SqlToken> tokens = TokensOf(text.elements[i]);
        if (tokens.size() > 2 && tokens[0].Is("CONSTRAINT") &&
            utf8::EqualsIgnoreCase(tokens[1].value, name) && tokens[2].Is("FOREIGN")) {
            text.elements.erase(text.elements.begin() + static_cast<std::ptrdiff_t>(i));
            return SchemaEdit(table.name, JoinTableText(text));
        }
    }
    throw ServerFailure("SQLite", "The foreign key '" + std::string(name) +
                                      "' is not in the stored definition of '" + table.name + "'.");
}

std::string SqliteDialect::DropDefault(const TableInfo& table, std::string_view column) {
    TableText text = SplitTableText(CreateSql(table.name));
    const std::size_t at = ColumnElement(text, column);
    if (at == text.elements.size()) return {};
    std::string rest;
    if (TakeDefault(text.elements[at], rest).empty()) return {};
    text.elements[at] = rest;
    return SchemaEdit(table.name, JoinTableText(text));
}

std::string SqliteDialect::DropIndex(const TableInfo& table, std::string_view index) {
    auto rows = connection_.Query("SELECT name FROM pragma_index_list(?)", {Variant(table.name)});
    std::vector<Variant> row;
    while (rows->Next(row)) {
        const std::string stored = row[0].AsText();
        if (utf8::EqualsIgnoreCase(IndexNameFromStored(table.name, stored), index)) {
            return "DROP INDEX " + Quote(stored);
        }
    }
    return "DROP INDEX " + Quote(StoredIndexName(table.name, index));
}

// ---- Expressions -----------------------------------------------------------------

std::string SqliteDialect::StringLiteral(std::string_view text) const {
    std::string literal = "'";
    for (const char c : text) {
        literal += c;
        if (c == '\'') literal += '\'';
    }
    return literal + "'";
}

std::string SqliteDialect::DateLiteral(double serial) const {
    const std::optional<std::string> text = SqliteDateText::FromSerial(serial);
    if (!text) throw ServerFailure("SQLite", "A date lies outside the years 100 to 9999.");
    return "'" + *text + "'";
}

std::string SqliteDialect::Concat(const std::vector<std::string>& parts) const {
    std::string text = "(";
    for (std::size_t i = 0; i < parts.size(); ++i) text += (i ? " || " : "") + parts[i];
    return text + ")";
}

std::string SqliteDialect::ToText(const SqlExpr& value, std::int32_t length, bool fixed,
                                  int style) const {
    std::string text;
    if (style == 112 && value.kind != SqlValueKind::Text) {
        // Dates are stored as "YYYY-MM-DD HH:MM:SS" text.
        text = "strftime('%Y%m%d', " + value.sql + ")";
    } else if (value.kind == SqlValueKind::Text) {
        text = value.sql;
    } else {
        text = "CAST(" + value.sql + " AS TEXT)";
    }
    if (length == ServerType::kMax) return text;
    const std::string n = std::to_string(length);
    if (fixed)
        return "substr(" + text + " || '" + std::string(static_cast<std::size_t>(length), ' ') +
               "', 1, " + n + ")";
    return "substr(" + text + ", 1, " + n + ")";
}

std::string SqliteDialect::ToNumber(const SqlExpr& value, const ServerType& type) const {
    switch (type.kind) {
        case ServerType::Kind::Bit:
            return "(CASE WHEN " + value.sql + " IS NULL THEN NULL WHEN " + value.sql +
                   " <> 0 THEN 1 ELSE 0 END)";
        case ServerType::Kind::TinyInt:
        case ServerType::Kind::SmallInt:
        case ServerType::Kind::Int:
        case ServerType::Kind::BigInt:
            return "CAST(" + value.sql + " AS INTEGER)";
        default:
            return "CAST(" + value.sql + " AS REAL)";
    }
}

// Only a REAL is cut: a text or a whole number is stored as before. A
// named parameter binds one value however often it stands.
std::string SqliteDialect::CutFraction(const SqlExpr& parameter) const {
    return "(CASE WHEN typeof(" + parameter.sql + ") = 'real' THEN CAST(" + parameter.sql +
           " AS INTEGER) ELSE " + parameter.sql + " END)";
}

std::string SqliteDialect::ToDate(const SqlExpr& value) const {
    if (value.kind == SqlValueKind::Date) return value.sql;
    return "vorn_cdate(" + value.sql + ")";
}

std::optional<std::string> SqliteDialect::Function(std::string_view name,
                                                   const std::vector<SqlExpr>& args) const {
    const auto arg = [&](std::size_t i) { return args.at(i).sql; };
    if (name == "ISNUMERIC") return "vorn_isnumeric(" + arg(0) + ")";
    if (name == "ISDATE") return "vorn_isdate(" + arg(0) + ")";
    if (name == "CHARINDEX") {
        // SQL Server compares as its collation does: ignoring case.
        if (args.size() == 2) return "instr(lower(" + arg(1) + "), lower(" + arg(0) + "))";
        const std::string found =
            "instr(lower(substr(" + arg(1) + ", " + arg(2) + ")), lower(" + arg(0) + "))";
        return "(CASE WHEN " + found + " > 0 THEN " + found + " + (" + arg(2) + ") - 1 ELSE 0 END)";
    }
    if (name == "SPACE") {
        // SPACE of a negative count is Null on SQL Server.
        return "(CASE WHEN (" + arg(0) + ") >= 0 THEN printf('%*s', " + arg(0) + ", '') END)";
    }
    // LEN leaves out trailing blanks.
    if (name == "LEN") return "length(rtrim(" + arg(0) + "))";
    if (name == "DATALENGTH") return "length(CAST(" + arg(0) + " AS BLOB))";
    if (name == "LEFT") return "substr(" + arg(0) + ", 1, " + arg(1) + ")";
    if (name == "RIGHT")
        return "(CASE WHEN (" + arg(1) + ") > 0 THEN substr(" + arg(0) + ", -(" + arg(1) +
               ")) ELSE '' END)";
    if (name == "SUBSTRING") return "substr(" + arg(0) + ", " + arg(1) + ", " + arg(2) + ")";
    if (name == "GETDATE") return "strftime('%Y-%m-%d %H:%M:%S', 'now', 'localtime')";
    if (name == "ISNULL") return "coalesce(" + arg(0) + ", " + arg(1) + ")";
    return std::nullopt;
}

std::string SqliteDialect::InsertDefaults(std::string_view table) const {
    return "INSERT INTO " + std::string(table) + " DEFAULT VALUES";
}

}  // namespace vorn
