#include "dbcontract/mariadb/MariaDbDialect.h"

#include <cctype>
#include <cstdio>

#include "dbcontract/DaoConstants.h"
#include "dbcontract/ServerConnection.h"
#include "dbcontract/mariadb/MariaDbSqlText.h"
#include "runtime/DateSerial.h"
#include "runtime/Utf8.h"

namespace vorn {
namespace {

constexpr const char* kSource = "MariaDB";
// utf8mb4 keeps a character in up to 4 bytes, and an index counts them all.
constexpr int kBytesPerCharacter = 4;

std::string TypeText(const ServerType& type) {
    const std::string n = "(" + std::to_string(type.length > 0 ? type.length : 1) + ")";
    const bool max = type.length == ServerType::kMax;
    switch (type.kind) {
        case ServerType::Kind::Bit:
            return "TINYINT(1)";
        case ServerType::Kind::TinyInt:
            return "TINYINT UNSIGNED";
        case ServerType::Kind::SmallInt:
            return "SMALLINT";
        case ServerType::Kind::Int:
            return "INT";
        case ServerType::Kind::BigInt:
            return "BIGINT";
        case ServerType::Kind::Money:
            return "DECIMAL(19,4)";
        case ServerType::Kind::SmallMoney:
            return "DECIMAL(10,4)";
        // This server's REAL is an 8-byte DOUBLE and its FLOAT the 4-byte
        // single: SQL Server's words mean the reverse.
        case ServerType::Kind::Real:
            return "FLOAT";
        case ServerType::Kind::Float:
            return "DOUBLE";
        case ServerType::Kind::Decimal:
            return "DECIMAL(" + std::to_string(type.precision > 0 ? type.precision : 18) + "," +
                   std::to_string(type.scale) + ")";
        case ServerType::Kind::DateTime:
        case ServerType::Kind::SmallDateTime:
            return "DATETIME";
        case ServerType::Kind::Date:
            return "DATE";
        case ServerType::Kind::Char:
        case ServerType::Kind::NChar:
            return max ? "LONGTEXT" : "CHAR" + n;
        case ServerType::Kind::VarChar:
        case ServerType::Kind::NVarChar:
            return max ? "LONGTEXT" : "VARCHAR" + n;
        case ServerType::Kind::Text:
        case ServerType::Kind::NText:
            return "LONGTEXT";
        case ServerType::Kind::Binary:
            return "BINARY" + n;
        case ServerType::Kind::VarBinary:
            return max ? "LONGBLOB" : "VARBINARY" + n;
        case ServerType::Kind::Image:
            return "LONGBLOB";
    }
    return "LONGBLOB";
}

// Bytes a value of a column takes in an index key.
std::int64_t FieldKeyBytes(const FieldInfo& field) {
    switch (field.type) {
        case dao::dbBoolean:
        case dao::dbByte:
            return 1;
        case dao::dbInteger:
            return 2;
        case dao::dbLong:
        case dao::dbSingle:
            return 4;
        case dao::dbCurrency:
            return 9;
        case dao::dbDouble:
        case dao::dbBigInt:
        case dao::dbDate:
            return 8;
        case dao::dbDecimal:
            return 17;
        case dao::dbText:
        case dao::dbChar:
            return static_cast<std::int64_t>(field.size > 0 ? field.size : 1) * kBytesPerCharacter;
        case dao::dbBinary:
        case dao::dbVarBinary:
            return field.size > 0 ? field.size : 1;
        default:
            return MariaDbDialect::kMaxKeyBytes + 1;
    }
}

const FieldInfo* FieldOf(const TableInfo& table, std::string_view name) {
    for (const FieldInfo& field : table.fields) {
        if (utf8::EqualsIgnoreCase(field.name, name)) return &field;
    }
    return nullptr;
}

const ServerColumn* ColumnOf(const std::vector<ServerColumn>& columns, std::string_view name) {
    for (const ServerColumn& column : columns) {
        if (utf8::EqualsIgnoreCase(column.name, name)) return &column;
    }
    return nullptr;
}

std::string ColumnList(const std::vector<std::string>& columns) {
    std::string text;
    for (const std::string& column : columns)
        text += (text.empty() ? "" : ", ") + MariaDbSqlText::QuoteName(column);
    return text;
}

VornError KeyTooLong(const std::string& what, std::int64_t bytes) {
    return ServerFailure(
        kSource, what + " needs " + std::to_string(bytes) +
                     " bytes; MariaDB keeps at most 3,072 bytes in an index key (text counts 4 "
                     "bytes a character, so 768 characters in all).");
}

}  // namespace

std::string MariaDbDialect::Quote(std::string_view name) const {
    return MariaDbSqlText::QuoteName(name);
}

std::optional<TableInfo> MariaDbDialect::FindTable(std::string_view name) {
    return connection_.ReadTable(name);
}

std::vector<RelationInfo> MariaDbDialect::Relations() { return connection_.ReadRelations(); }

bool MariaDbDialect::AnyRow(const std::string& query) {
    std::vector<Variant> row;
    return connection_.Query(query, {})->Next(row);
}

void MariaDbDialect::CheckName(std::string_view name, std::string_view what) const {
    const std::int64_t length = utf8::Length(name);
    if (length == 0) throw ServerFailure(kSource, "A " + std::string(what) + " needs a name.");
    if (length > static_cast<std::int64_t>(kMaxNameLength)) {
        throw ServerFailure(kSource,
                            "The " + std::string(what) + " name '" + std::string(name) + "' has " +
                                std::to_string(length) +
                                " characters; MariaDB allows at most 64 characters in a name.");
    }
}

// ---- Definitions -----------------------------------------------------------------

std::string MariaDbDialect::ColumnDefinition(const ServerColumn& column) const {
    std::string text = Quote(column.name) + " " + TypeText(column.type);
    text += column.notNull || column.identity ? " NOT NULL" : " NULL";
    if (column.identity) return text + " AUTO_INCREMENT";
    if (column.defaultValue) {
        const SqlExpr& value = *column.defaultValue;
        text += " DEFAULT " + (value.literal ? value.sql : "(" + value.sql + ")");
    }
    return text;
}

std::string MariaDbDialect::KeyList(const std::vector<ServerKeyColumn>& columns) const {
    std::string text;
    for (const ServerKeyColumn& c : columns) {
        text += (text.empty() ? "" : ", ") + Quote(c.name) + (c.descending ? " DESC" : "");
    }
    return text;
}

std::string MariaDbDialect::ForeignKeyClause(const ServerForeignKey& key) const {
    std::string text = key.name.empty() ? std::string() : "CONSTRAINT " + Quote(key.name) + " ";
    text += "FOREIGN KEY (" + ColumnList(key.columns) + ") REFERENCES " + Quote(key.parent) + " (" +
            ColumnList(key.parentColumns) + ")";
    if (key.deleteCascade) text += " ON DELETE CASCADE";
    if (key.updateCascade) text += " ON UPDATE CASCADE";
    return text;
}

// A foreign key needs a real index on both sides: the server makes the
// child's, and the parent's must be one it can use, not a hash.
void MariaDbDialect::CheckForeignKeyBytes(const std::string& table, const ServerForeignKey& key,
                                          const std::vector<ServerColumn>* creating) {
    const auto bytesOf = [&](const std::string& owner, const std::vector<std::string>& names) {
        std::int64_t bytes = 0;
        const bool self = creating != nullptr && utf8::EqualsIgnoreCase(owner, table);
        const std::optional<TableInfo> info = self ? std::nullopt : FindTable(owner);
        for (const std::string& name : names) {
            if (self) {
                if (const ServerColumn* column = ColumnOf(*creating, name))
                    bytes += column->type.KeyBytes(kBytesPerCharacter);
            } else if (info) {
                if (const FieldInfo* field = FieldOf(*info, name)) bytes += FieldKeyBytes(*field);
            }
        }
        return bytes;
    };
    const std::string label = key.name.empty() ? "A foreign key of '" + table + "'"
                                               : "The foreign key '" + key.name + "'";
    const std::int64_t child = bytesOf(table, key.columns);
    if (child > kMaxKeyBytes) throw KeyTooLong(label + " (its columns in '" + table + "')", child);
    const std::int64_t parent = bytesOf(key.parent, key.parentColumns);
    if (parent > kMaxKeyBytes)
        throw KeyTooLong(label + " (the key of its parent '" + key.parent + "')", parent);
}

std::string MariaDbDialect::CreateTable(const ServerTable& table) {
    std::vector<std::string> elements;
    for (const ServerColumn& column : table.columns) elements.push_back(ColumnDefinition(column));
    bool identityLeads = false;
    const ServerColumn* identity = table.IdentityColumn();
    int unnamed = 0;
    for (const ServerKey& key : table.keys) {
        std::int64_t bytes = 0;
        for (const ServerKeyColumn& c : key.columns) {
            if (const ServerColumn* column = ColumnOf(table.columns, c.name))
                bytes += column->type.KeyBytes(kBytesPerCharacter);
        }
        if (key.primary) {
            if (bytes > kMaxKeyBytes)
                throw KeyTooLong("The primary key of '" + table.name + "'", bytes);
            // The server names every primary key PRIMARY; the comment keeps
            // the name the statement gave.
            elements.push_back(
                "PRIMARY KEY (" + KeyList(key.columns) + ")" +
                (key.name.empty() ? std::string() : " COMMENT " + StringLiteral(key.name)));
        } else {
            const std::string name =
                key.name.empty() ? "UQ_" + table.name + "_" + std::to_string(++unnamed) : key.name;
            elements.push_back("UNIQUE KEY " + Quote(name) + " (" + KeyList(key.columns) + ")");
        }
        if (identity != nullptr && utf8::EqualsIgnoreCase(key.columns.front().name, identity->name))
            identityLeads = true;
    }
    // AUTO_INCREMENT needs a key that the column leads.
    if (identity != nullptr && !identityLeads) {
        elements.push_back("KEY " + Quote(kIdentityKey) + " (" + Quote(identity->name) + ")");
    }
    for (const ServerForeignKey& key : table.foreignKeys) {
        CheckForeignKeyBytes(table.name, key, &table.columns);
        elements.push_back(ForeignKeyClause(key));
    }
    std::string sql = "CREATE TABLE " + Quote(table.name) + " (";
    for (std::size_t i = 0; i < elements.size(); ++i) sql += (i ? ", " : "") + elements[i];
    return sql + ")";
}

std::string MariaDbDialect::CreateIndex(const ServerIndex& index) {
    if (!index.key.unique) {
        const std::optional<TableInfo> table = FindTable(index.table);
        std::int64_t bytes = 0;
        for (const ServerKeyColumn& c : index.key.columns) {
            if (table) {
                if (const FieldInfo* field = FieldOf(*table, c.name))
                    bytes += FieldKeyBytes(*field);
            }
        }
        if (bytes > kMaxKeyBytes)
            throw KeyTooLong("The index '" + index.key.name + "' of '" + index.table + "'", bytes);
    }
    return std::string("CREATE ") + (index.key.unique ? "UNIQUE " : "") + "INDEX " +
           Quote(index.key.name) + " ON " + Quote(index.table) + " (" + KeyList(index.key.columns) +
           ")";
}

// SQL Server leaves the rows there Null in a new column that may be Null,
// whatever its default; this server would give them the default, so such a
// column gets its default once it stands.
std::string MariaDbDialect::AddColumns(const TableInfo& table,
                                       const std::vector<ServerColumn>& columns) {
    const bool rows = AnyRow("SELECT 1 FROM " + Quote(table.name) + " LIMIT 1");
    std::string sql = "ALTER TABLE " + Quote(table.name);
    std::vector<std::string> after;
    bool first = true;
    for (const ServerColumn& column : columns) {
        ServerColumn added = column;
        if (rows && column.defaultValue && !column.notNull) {
            const SqlExpr& value = *column.defaultValue;
            after.push_back("ALTER TABLE " + Quote(table.name) + " ALTER COLUMN " +
                            Quote(column.name) + " SET DEFAULT " +
                            (value.literal ? value.sql : "(" + value.sql + ")"));
            added.defaultValue.reset();
        }
        sql += std::string(first ? " " : ", ") + "ADD COLUMN " + ColumnDefinition(added);
        if (column.identity)
            sql += ", ADD KEY " + Quote(kIdentityKey) + " (" + Quote(column.name) + ")";
        first = false;
    }
    for (const std::string& statement : after) sql += ";\n" + statement;
    return sql;
}

std::string MariaDbDialect::AlterColumn(const TableInfo& table, const ServerColumn& column) {
    ServerColumn changed = column;
    std::string sql =
        "ALTER TABLE " + Quote(table.name) + " MODIFY COLUMN " + ColumnDefinition(changed);
    // MODIFY states the whole column: the default stays as it was, as SQL
    // Server keeps a default constraint through ALTER COLUMN.
    const FieldInfo* field = FieldOf(table, column.name);
    if (!column.identity && field != nullptr && !field->defaultValue.empty())
        sql += " DEFAULT " + field->defaultValue;
    return sql;
}

std::string MariaDbDialect::DropColumn(const TableInfo& table, std::string_view column) {
    return "ALTER TABLE " + Quote(table.name) + " DROP COLUMN " + Quote(column);
}

std::string MariaDbDialect::AddForeignKey(const TableInfo& table, const ServerForeignKey& key,
                                          bool checkRows) {
    CheckForeignKeyBytes(table.name, key, nullptr);
    const std::string sql = "ALTER TABLE " + Quote(table.name) + " ADD " + ForeignKeyClause(key);
    if (checkRows) return sql;
    return "SET SESSION foreign_key_checks = 0;\n" + sql + ";\nSET SESSION foreign_key_checks = 1";
}

// The server made an index for the key; it goes with it, as SQL Server has
// none.
std::string MariaDbDialect::DropForeignKey(const TableInfo& table, std::string_view name) {
    std::string sql = "ALTER TABLE " + Quote(table.name) + " DROP FOREIGN KEY " + Quote(name);
    for (const IndexInfo& index : table.indexes) {
        if (index.foreign && utf8::EqualsIgnoreCase(index.name, name)) {
            sql += ";\nALTER TABLE " + Quote(table.name) + " DROP INDEX " + Quote(index.name);
        }
    }
    return sql;
}

std::string MariaDbDialect::DropDefault(const TableInfo& table, std::string_view column) {
    return "ALTER TABLE " + Quote(table.name) + " ALTER COLUMN " + Quote(column) + " DROP DEFAULT";
}

std::string MariaDbDialect::DropIndex(const TableInfo& table, std::string_view index) {
    return "DROP INDEX " + Quote(index) + " ON " + Quote(table.name);
}

// ---- Expressions -----------------------------------------------------------------

std::string MariaDbDialect::StringLiteral(std::string_view text) const {
    // The session reads a backslash as plain text (NO_BACKSLASH_ESCAPES).
    std::string literal = "'";
    for (const char c : text) {
        if (c == '\'') literal += '\'';
        literal += c;
    }
    return literal + "'";
}

std::string MariaDbDialect::DateLiteral(double serial) const {
    if (serial < kMinDateSerial || serial > kMaxDateSerial + 1) {
        throw ServerFailure(kSource, "A date lies outside the years 100 to 9999.");
    }
    const DateParts p = DatePartsFromSerial(serial);
    char text[32];
    std::snprintf(text, sizeof text, "'%04d-%02d-%02d %02d:%02d:%02d'", p.year, p.month, p.day,
                  p.hour, p.minute, p.second);
    return text;
}

std::string MariaDbDialect::Concat(const std::vector<std::string>& parts) const {
    std::string text = "CONCAT(";
    for (std::size_t i = 0; i < parts.size(); ++i) text += (i ? ", " : "") + parts[i];
    return text + ")";
}

std::string MariaDbDialect::ToText(const SqlExpr& value, std::int32_t length, bool fixed,
                                   int style) const {
    std::string text;
    if (style == 112 && value.kind != SqlValueKind::Text) {
        text = "DATE_FORMAT(" + value.sql + ", '%Y%m%d')";
    } else if (value.kind == SqlValueKind::Text) {
        text = value.sql;
    } else {
        text = "CAST(" + value.sql + " AS CHAR)";
    }
    if (length == ServerType::kMax) return text;
    const std::string n = std::to_string(length);
    return fixed ? "RPAD(" + text + ", " + n + ", ' ')" : "LEFT(" + text + ", " + n + ")";
}

std::string MariaDbDialect::ToNumber(const SqlExpr& value, const ServerType& type) const {
    switch (type.kind) {
        case ServerType::Kind::Bit:
            return "(" + value.sql + " <> 0)";
        case ServerType::Kind::TinyInt:
        case ServerType::Kind::SmallInt:
        case ServerType::Kind::Int:
        case ServerType::Kind::BigInt:
            // SQL Server cuts the fraction off; CAST would round.
            return "CAST(TRUNCATE(" + value.sql + ", 0) AS SIGNED)";
        case ServerType::Kind::Decimal:
            return "CAST(" + value.sql + " AS DECIMAL(" +
                   std::to_string(type.precision > 0 ? type.precision : 18) + "," +
                   std::to_string(type.scale) + "))";
        case ServerType::Kind::Money:
        case ServerType::Kind::SmallMoney:
            return "CAST(" + value.sql + " AS DECIMAL(19,4))";
        default:
            return "CAST(" + value.sql + " AS DOUBLE)";
    }
}

std::string MariaDbDialect::CutFraction(const SqlExpr& parameter) const {
    return "TRUNCATE(" + parameter.sql + ", 0)";
}

std::string MariaDbDialect::ToDate(const SqlExpr& value) const {
    if (value.kind == SqlValueKind::Date) return value.sql;
    return "CAST(" + value.sql + " AS DATETIME)";
}

std::optional<std::string> MariaDbDialect::Function(std::string_view name,
                                                    const std::vector<SqlExpr>& args) const {
    const auto arg = [&](std::size_t i) { return args.at(i).sql; };
    if (name == "ISNUMERIC") {
        return "COALESCE(CAST(" + arg(0) +
               " AS CHAR) REGEXP "
               "'^[[:space:]]*[-+$]?([0-9]+([.][0-9]*)?|[.][0-9]+)([eEdD][-+]?[0-9]+)?[[:space:]]*$"
               "', 0)";
    }
    if (name == "ISDATE") {
        if (args[0].kind == SqlValueKind::Date)
            return "(CASE WHEN " + arg(0) + " IS NULL THEN 0 ELSE 1 END)";
        // A date written year first or month first, with "-", "/" or ".",
        // and a real day of a real month; STR_TO_DATE alone takes "5" for a
        // year.
        const std::string text = "TRIM(CAST(" + arg(0) + " AS CHAR))";
        const std::string day =
            "REPLACE(REPLACE(SUBSTRING_INDEX(" + text + ", ' ', 1), '/', '-'), '.', '-')";
        const auto valid = [&](const char* format) {
            return "COALESCE(DAYOFMONTH(STR_TO_DATE(" + day + ", '" + format + "')) > 0, 0)";
        };
        return "(CASE WHEN " + text +
               " REGEXP '^[0-9]{4}[-/.][0-9]{1,2}[-/.][0-9]{1,2}([ T].*)?$' THEN " +
               valid("%Y-%m-%d") + " WHEN " + text +
               " REGEXP '^[0-9]{1,2}[-/.][0-9]{1,2}[-/.][0-9]{4}( .*)?$' THEN " +
               valid("%m-%d-%Y") + " ELSE 0 END)";
    }
    if (name == "CHARINDEX") {
        return "LOCATE(" + arg(0) + ", " + arg(1) +
               (args.size() > 2 ? ", " + arg(2) : std::string()) + ")";
    }
    if (name == "SPACE") return "(CASE WHEN (" + arg(0) + ") >= 0 THEN SPACE(" + arg(0) + ") END)";
    if (name == "LEN") return "CHAR_LENGTH(RTRIM(" + arg(0) + "))";
    if (name == "DATALENGTH") return "LENGTH(" + arg(0) + ")";
    if (name == "LEFT" || name == "RIGHT")
        return std::string(name) + "(" + arg(0) + ", " + arg(1) + ")";
    if (name == "SUBSTRING") return "SUBSTRING(" + arg(0) + ", " + arg(1) + ", " + arg(2) + ")";
    if (name == "GETDATE") return std::string("NOW()");
    if (name == "ISNULL") return "IFNULL(" + arg(0) + ", " + arg(1) + ")";
    return std::nullopt;
}

// A backslash is LIKE's escape here; in SQL Server's pattern it is a
// character like any other.
std::string MariaDbDialect::LikePattern(const SqlExpr& pattern) const {
    if (!pattern.literal || pattern.kind != SqlValueKind::Text) return pattern.sql;
    return StringLiteral(utf8::Replace(pattern.text, "\\", "\\\\"));
}

std::string MariaDbDialect::InsertDefaults(std::string_view table) const {
    return "INSERT INTO " + std::string(table) + " () VALUES ()";
}

}  // namespace vorn

namespace vorn {

// ---- Jet SQL -------------------------------------------------------------------------

std::string MariaDbDialect::JetConcat(const std::vector<std::string>& parts) const {
    // CONCAT_WS passes over Null, as & takes it for "".
    std::string text = "CONCAT_WS(''";
    for (const std::string& part : parts) text += ", " + part;
    return text + ")";
}

std::string MariaDbDialect::IntegerDivide(const std::string& left, const std::string& right) const {
    return "(" + left + ") DIV (" + right + ")";
}

// Jet's wildcards: * any run, ? one character, # one digit, [a-z] and [!a]
// a set. Plain wildcards become LIKE's; a digit or a set needs REGEXP, which
// compares ignoring case under the database's collation as LIKE does.
std::optional<std::string> MariaDbDialect::JetLike(const SqlExpr& value,
                                                   const SqlExpr& pattern) const {
    if (!pattern.literal || pattern.kind != SqlValueKind::Text) return std::nullopt;
    const std::string& jet = pattern.text;
    if (jet.find_first_of("#[") == std::string::npos) {
        std::string like;
        for (const char c : jet) {
            if (c == '*') {
                like += '%';
            } else if (c == '?') {
                like += '_';
            } else {
                if (c == '%' || c == '_' || c == '\\') like += '\\';
                like += c;
            }
        }
        return value.sql + " LIKE " + StringLiteral(like);
    }
    std::string regex = "^";
    for (std::size_t i = 0; i < jet.size(); ++i) {
        const char c = jet[i];
        if (c == '*') {
            regex += ".*";
        } else if (c == '?') {
            regex += '.';
        } else if (c == '#') {
            regex += "[0-9]";
        } else if (c == '[') {
            const std::size_t close = jet.find(']', i + 1);
            if (close == std::string::npos) return std::nullopt;
            std::string set = jet.substr(i + 1, close - i - 1);
            if (!set.empty() && set[0] == '!') set[0] = '^';
            regex += "[" + set + "]";
            i = close;
        } else {
            if (std::string_view(".^$|()+{}\\").find(c) != std::string_view::npos) regex += '\\';
            regex += c;
        }
    }
    return value.sql + " REGEXP " + StringLiteral(regex + "$");
}

// Format with the patterns the sort expressions use: digits ("0000.00000",
// with leading literal text) and dates ("yyyymmddhhnn").
std::optional<std::string> MariaDbDialect::JetFormat(const SqlExpr& value,
                                                     const SqlExpr& pattern) const {
    if (!pattern.literal || pattern.kind != SqlValueKind::Text) return std::nullopt;
    const std::string& format = pattern.text;
    const std::size_t digits = format.find('0');
    if (digits != std::string::npos &&
        format.find_first_not_of("0.", digits) == std::string::npos) {
        const std::string prefix = format.substr(0, digits);
        const std::string number = format.substr(digits);
        const std::size_t point = number.find('.');
        const std::size_t decimals = point == std::string::npos ? 0 : number.size() - point - 1;
        const std::string x = "CAST(" + value.sql + " AS DOUBLE)";
        const std::string d = std::to_string(decimals);
        return "CONCAT(IF(" + x + " < 0, '-', ''), " + StringLiteral(prefix) +
               ", LPAD(CAST(ROUND(ABS(" + x + "), " + d + ") AS DECIMAL(65," + d + ")), " +
               std::to_string(number.size()) + ", '0'))";
    }
    std::string mapped;
    for (std::size_t i = 0; i < format.size();) {
        const auto run = [&](char c) {
            std::size_t n = 0;
            while (i + n < format.size() &&
                   std::tolower(static_cast<unsigned char>(format[i + n])) == c)
                ++n;
            return n;
        };
        const char c = static_cast<char>(std::tolower(static_cast<unsigned char>(format[i])));
        const std::size_t n = run(c);
        if (c == 'y' && (n == 4 || n == 2)) {
            mapped += n == 4 ? "%Y" : "%y";
        } else if (c == 'm' && n == 2) {
            mapped += "%m";
        } else if (c == 'd' && n == 2) {
            mapped += "%d";
        } else if (c == 'h' && n == 2) {
            mapped += "%H";
        } else if (c == 'n' && n == 2) {
            mapped += "%i";
        } else if (c == 's' && n == 2) {
            mapped += "%s";
        } else if (std::isalpha(static_cast<unsigned char>(c))) {
            return std::nullopt;
        } else {
            mapped += format.substr(i, n);
        }
        i += n;
    }
    return "DATE_FORMAT(" + value.sql + ", " + StringLiteral(mapped) + ")";
}

std::optional<SqlExpr> MariaDbDialect::JetFunction(std::string_view name,
                                                   const std::vector<SqlExpr>& args) const {
    const auto arg = [&](std::size_t i) { return args.at(i).sql; };
    const auto count = [&](std::size_t low, std::size_t high) {
        return args.size() >= low && args.size() <= high;
    };
    const SqlValueKind text = SqlValueKind::Text;
    const SqlValueKind number = SqlValueKind::Number;
    if (name == "IIF" && count(3, 3)) {
        return SqlExpr("IF(" + arg(0) + ", " + arg(1) + ", " + arg(2) + ")",
                       args[1].kind != SqlValueKind::Unknown ? args[1].kind : args[2].kind);
    }
    if (name == "NZ" && count(1, 2)) {
        return SqlExpr(
            "IFNULL(" + arg(0) + ", " + (args.size() > 1 ? arg(1) : std::string("''")) + ")",
            args[0].kind);
    }
    if (name == "ISNUMERIC" || name == "ISDATE") {
        if (!count(1, 1)) return std::nullopt;
        return SqlExpr(*Function(name, args), number);
    }
    if (name == "VAL" && count(1, 1)) return SqlExpr("CAST(" + arg(0) + " AS DOUBLE)", number);
    if (name == "FORMAT" && count(1, 2)) {
        if (args.size() == 1) return SqlExpr("CAST(" + arg(0) + " AS CHAR)", text);
        const std::optional<std::string> formatted = JetFormat(args[0], args[1]);
        if (!formatted) return std::nullopt;
        return SqlExpr(*formatted, text);
    }
    if (name == "LEN" && count(1, 1)) return SqlExpr("CHAR_LENGTH(" + arg(0) + ")", number);
    if (name == "INSTR" && count(2, 3)) {
        // InStr([start,] text, found)
        if (args.size() == 2) return SqlExpr("LOCATE(" + arg(1) + ", " + arg(0) + ")", number);
        return SqlExpr("LOCATE(" + arg(2) + ", " + arg(1) + ", " + arg(0) + ")", number);
    }
    if (name == "MID" && count(2, 3))
        return SqlExpr(
            "SUBSTRING(" +
                [&] {
                    std::string list = arg(0);
                    for (std::size_t i = 1; i < args.size(); ++i) list += ", " + arg(i);
                    return list;
                }() +
                ")",
            text);
    if ((name == "LEFT" || name == "RIGHT") && count(2, 2))
        return SqlExpr(*Function(name, args), text);
    if ((name == "TRIM" || name == "LTRIM" || name == "RTRIM") && count(1, 1)) {
        return SqlExpr(std::string(name) + "(" + arg(0) + ")", text);
    }
    if (name == "UCASE" && count(1, 1)) return SqlExpr("UPPER(" + arg(0) + ")", text);
    if (name == "LCASE" && count(1, 1)) return SqlExpr("LOWER(" + arg(0) + ")", text);
    if (name == "SPACE" && count(1, 1)) return SqlExpr("SPACE(" + arg(0) + ")", text);
    if (name == "CSTR" && count(1, 1)) return SqlExpr("CAST(" + arg(0) + " AS CHAR)", text);
    if ((name == "CLNG" || name == "CINT") && count(1, 1)) {
        return SqlExpr("CAST(ROUND(" + arg(0) + ") AS SIGNED)", number);
    }
    if ((name == "CDBL" || name == "CSNG") && count(1, 1))
        return SqlExpr("CAST(" + arg(0) + " AS DOUBLE)", number);
    if (name == "CDATE" && count(1, 1)) return SqlExpr(ToDate(args[0]), SqlValueKind::Date);
    if (name == "ABS" && count(1, 1)) return SqlExpr("ABS(" + arg(0) + ")", number);
    if (name == "INT" && count(1, 1)) return SqlExpr("FLOOR(" + arg(0) + ")", number);
    if (name == "FIX" && count(1, 1)) return SqlExpr("TRUNCATE(" + arg(0) + ", 0)", number);
    if (name == "SGN" && count(1, 1)) return SqlExpr("SIGN(" + arg(0) + ")", number);
    if (name == "ROUND" && count(1, 2)) {
        return SqlExpr("ROUND(" + arg(0) + (args.size() > 1 ? ", " + arg(1) : std::string()) + ")",
                       number);
    }
    if (name == "NOW" && count(0, 0)) return SqlExpr("NOW()", SqlValueKind::Date);
    if (name == "DATE" && count(0, 0)) return SqlExpr("CURDATE()", SqlValueKind::Date);
    for (const char* part : {"YEAR", "MONTH", "DAY", "HOUR", "MINUTE", "SECOND"}) {
        if (name == part && count(1, 1))
            return SqlExpr(std::string(part) + "(" + arg(0) + ")", number);
    }
    return std::nullopt;
}

}  // namespace vorn
