#include <algorithm>
#include <map>
#include <set>

#include "dbcontract/DaoConstants.h"
#include "dbcontract/SqlServerParser.h"
#include "runtime/Utf8.h"

namespace vorn {
namespace {

struct TypeName {
    const char* spelled;
    ServerType::Kind kind;
};

// SQL Server's type names and the ANSI spellings that statements use.
constexpr TypeName kTypeNames[] = {
    {"BIT", ServerType::Kind::Bit},
    {"TINYINT", ServerType::Kind::TinyInt},
    {"SMALLINT", ServerType::Kind::SmallInt},
    {"INT", ServerType::Kind::Int},
    {"INTEGER", ServerType::Kind::Int},
    {"BIGINT", ServerType::Kind::BigInt},
    {"MONEY", ServerType::Kind::Money},
    {"SMALLMONEY", ServerType::Kind::SmallMoney},
    {"REAL", ServerType::Kind::Real},
    {"FLOAT", ServerType::Kind::Float},
    {"DOUBLE PRECISION", ServerType::Kind::Float},
    {"DECIMAL", ServerType::Kind::Decimal},
    {"DEC", ServerType::Kind::Decimal},
    {"NUMERIC", ServerType::Kind::Decimal},
    {"DATETIME", ServerType::Kind::DateTime},
    {"SMALLDATETIME", ServerType::Kind::SmallDateTime},
    {"DATE", ServerType::Kind::Date},
    {"CHAR", ServerType::Kind::Char},
    {"CHARACTER", ServerType::Kind::Char},
    {"VARCHAR", ServerType::Kind::VarChar},
    {"CHARACTER VARYING", ServerType::Kind::VarChar},
    {"CHAR VARYING", ServerType::Kind::VarChar},
    {"NCHAR", ServerType::Kind::NChar},
    {"NATIONAL CHARACTER", ServerType::Kind::NChar},
    {"NATIONAL CHAR", ServerType::Kind::NChar},
    {"NVARCHAR", ServerType::Kind::NVarChar},
    {"NATIONAL CHARACTER VARYING", ServerType::Kind::NVarChar},
    {"NATIONAL CHAR VARYING", ServerType::Kind::NVarChar},
    {"TEXT", ServerType::Kind::Text},
    {"NTEXT", ServerType::Kind::NText},
    {"BINARY", ServerType::Kind::Binary},
    {"VARBINARY", ServerType::Kind::VarBinary},
    {"BINARY VARYING", ServerType::Kind::VarBinary},
    {"IMAGE", ServerType::Kind::Image},
};

bool IsIntegerType(const ServerType& type) {
    switch (type.kind) {
        case ServerType::Kind::TinyInt:
        case ServerType::Kind::SmallInt:
        case ServerType::Kind::Int:
        case ServerType::Kind::BigInt:
            return true;
        case ServerType::Kind::Decimal:
            return type.scale == 0;
        default:
            return false;
    }
}

bool SameNameSet(const std::vector<std::string>& a, const std::vector<std::string>& b) {
    if (a.size() != b.size()) return false;
    std::set<std::string> left;
    std::set<std::string> right;
    for (const std::string& name : a) left.insert(utf8::ToUpper(name));
    for (const std::string& name : b) right.insert(utf8::ToUpper(name));
    return left == right && left.size() == a.size();
}

std::vector<std::string> ColumnNames(const std::vector<ServerKeyColumn>& columns) {
    std::vector<std::string> names;
    for (const ServerKeyColumn& column : columns) names.push_back(column.name);
    return names;
}

std::vector<std::string> FieldNames(const IndexInfo& index) {
    std::vector<std::string> names;
    for (const IndexFieldInfo& field : index.fields) names.push_back(field.name);
    return names;
}

const ServerColumn* ColumnOf(const std::vector<ServerColumn>& columns, std::string_view name) {
    for (const ServerColumn& column : columns) {
        if (utf8::EqualsIgnoreCase(column.name, name)) return &column;
    }
    return nullptr;
}

// The name SQL Server's upsizing gives a column's default constraint:
// "DV_" and the upper-case table and column joined by "_", blanks as "_".
std::string DefaultConstraintName(std::string_view table, std::string_view column) {
    std::string name = "DV_" + utf8::ToUpper(std::string(table) + "_" + std::string(column));
    std::replace(name.begin(), name.end(), ' ', '_');
    return name;
}

std::string JoinStatements(const std::vector<std::string>& statements) {
    std::string text;
    for (const std::string& statement : statements) {
        if (statement.empty()) continue;
        text += (text.empty() ? "" : ";\n") + statement;
    }
    return text;
}

}  // namespace

// ---- Types -------------------------------------------------------------------

ServerType SqlServerParser::Type() {
    const SqlToken& first = Peek();
    if (first.kind != SqlTokenKind::Word && first.kind != SqlTokenKind::QuotedName)
        SyntaxError(first);
    std::string spelled = utf8::ToUpper(Next().value);
    // The words of the ANSI names: National Character Varying, Double Precision.
    while (Peek().kind == SqlTokenKind::Word && (Peek().Is("CHARACTER") || Peek().Is("CHAR") ||
                                                 Peek().Is("VARYING") || Peek().Is("PRECISION"))) {
        spelled += " " + utf8::ToUpper(Next().text);
    }
    ServerType type;
    bool known = false;
    for (const TypeName& name : kTypeNames) {
        if (spelled == name.spelled) {
            type.kind = name.kind;
            known = true;
        }
    }
    if (!known) Refuse("Cannot find data type " + spelled);
    if (!AcceptSymbol("(")) return type;
    if (Accept("MAX")) {
        if (!type.IsText() && !type.IsBinary()) Refuse("(max) does not go with " + spelled);
        type.length = ServerType::kMax;
    } else {
        if (Peek().kind != SqlTokenKind::Number) SyntaxError(Peek());
        const int first_number = std::stoi(Next().text);
        if (type.kind == ServerType::Kind::Decimal) {
            type.precision = first_number;
            if (AcceptSymbol(",")) {
                if (Peek().kind != SqlTokenKind::Number) SyntaxError(Peek());
                type.scale = std::stoi(Next().text);
            }
        } else if (type.kind == ServerType::Kind::Float) {
            // float(24) and below is the 4-byte real.
            if (first_number <= 24) type.kind = ServerType::Kind::Real;
        } else if (type.IsText() || type.IsBinary()) {
            if (first_number < 1) Refuse("the length of " + spelled + " must be at least 1");
            type.length = first_number;
        } else {
            SyntaxError(Peek());
        }
    }
    ExpectSymbol(")");
    return type;
}

// ---- CREATE --------------------------------------------------------------------

std::string SqlServerParser::Create() {
    Expect("CREATE");
    if (Peek().Is("TABLE")) return CreateTable();
    if (Peek().Is("VIEW")) return CreateView();
    const bool unique = Accept("UNIQUE");
    if (!Accept("CLUSTERED")) Accept("NONCLUSTERED");
    if (!Peek().Is("INDEX")) SyntaxError(Peek());
    return CreateIndex(unique);
}

std::string SqlServerParser::CreateTable() {
    Expect("TABLE");
    ServerTable table;
    table.name = TableName();
    ExpectSymbol("(");
    while (true) {
        // SQL Server takes a comma behind the last element.
        if (!table.columns.empty() && AcceptSymbol(")")) break;
        const bool constraint = Peek().Is("CONSTRAINT") || Peek().Is("PRIMARY") ||
                                Peek().Is("UNIQUE") || Peek().Is("FOREIGN") || Peek().Is("CHECK");
        if (constraint) {
            std::string name;
            if (Accept("CONSTRAINT")) name = Name();
            if (Accept("PRIMARY")) {
                Expect("KEY");
                table.keys.push_back(KeyConstraint(name, true));
            } else if (Accept("UNIQUE")) {
                table.keys.push_back(KeyConstraint(name, false));
            } else if (Accept("FOREIGN")) {
                Expect("KEY");
                ExpectSymbol("(");
                std::vector<std::string> columns{Name()};
                while (AcceptSymbol(",")) columns.push_back(Name());
                ExpectSymbol(")");
                table.foreignKeys.push_back(ForeignKey(name, columns));
            } else if (Peek().Is("CHECK")) {
                Refuse("CHECK constraints are not supported");
            } else {
                SyntaxError(Peek());
            }
        } else {
            table.columns.push_back(ColumnDefinition(&table));
        }
        if (AcceptSymbol(",")) continue;
        ExpectSymbol(")");
        break;
    }
    // Where SQL Server stores the table: nothing to the engines.
    while (Accept("ON") || Accept("TEXTIMAGE_ON")) {
        if (Peek().kind != SqlTokenKind::QuotedName && Peek().kind != SqlTokenKind::Word)
            SyntaxError(Peek());
        Next();
    }
    CheckTable(table);
    return dialect_.CreateTable(table);
}

ServerColumn SqlServerParser::ColumnDefinition(ServerTable* table) {
    ServerColumn column;
    column.name = Name();
    if (Peek().Is("AS")) Refuse("computed columns are not supported");
    column.type = Type();
    bool explicitNull = false;
    while (true) {
        std::string name;
        if (Accept("CONSTRAINT")) name = Name();
        if (name.empty() && Accept("NOT")) {
            Expect("NULL");
            column.notNull = true;
        } else if (name.empty() && Accept("NULL")) {
            explicitNull = true;
        } else if (name.empty() && (Accept("IDENTITY") || Accept("AUTO_INCREMENT"))) {
            if (AcceptSymbol("(")) {
                const std::string seed = Next().text;
                ExpectSymbol(",");
                const std::string step = Next().text;
                ExpectSymbol(")");
                if (seed != "1" || step != "1") Refuse("only IDENTITY(1,1) is supported");
            }
            column.identity = true;
        } else if (Accept("DEFAULT")) {
            column.defaultValue = DefaultValue();
            if (column.defaultValue->sql == "NULL") column.defaultValue.reset();
        } else if (Peek().Is("PRIMARY") || Peek().Is("UNIQUE") || Peek().Is("REFERENCES")) {
            ColumnConstraint(column, table, name);
        } else if (Peek().Is("COLLATE") || Peek().Is("CHECK") || Peek().Is("ROWGUIDCOL") ||
                   Peek().Is("SPARSE")) {
            Refuse(utf8::ToUpper(Peek().text) + " is not supported in a column definition");
        } else {
            if (!name.empty()) SyntaxError(Peek());
            break;
        }
    }
    if (explicitNull && column.notNull)
        Refuse("the column '" + column.name + "' is both NULL and NOT NULL");
    if (explicitNull && column.primaryKey) {
        Refuse("Cannot define PRIMARY KEY constraint on nullable column '" + column.name + "'");
    }
    return column;
}

void SqlServerParser::ColumnConstraint(ServerColumn& column, ServerTable* table,
                                       const std::string& name) {
    if (table == nullptr) {
        Refuse("a key added with a column is not supported; add it as a constraint of its own");
    }
    if (Peek().Is("REFERENCES")) {
        table->foreignKeys.push_back(ForeignKey(name, {column.name}));
        return;
    }
    const bool primary = Accept("PRIMARY");
    if (primary) {
        Expect("KEY");
    } else {
        Expect("UNIQUE");
    }
    if (!Accept("CLUSTERED")) Accept("NONCLUSTERED");
    IndexOptions();
    ServerKey key;
    key.name = name;
    key.primary = primary;
    key.unique = true;
    key.columns.push_back({column.name, false});
    if (primary) column.primaryKey = true;
    table->keys.push_back(std::move(key));
}

ServerKey SqlServerParser::KeyConstraint(const std::string& name, bool primary) {
    ServerKey key;
    key.name = name;
    key.primary = primary;
    key.unique = true;
    if (!Accept("CLUSTERED")) Accept("NONCLUSTERED");
    key.columns = KeyColumns();
    IndexOptions();
    return key;
}

std::vector<ServerKeyColumn> SqlServerParser::KeyColumns() {
    ExpectSymbol("(");
    std::vector<ServerKeyColumn> columns;
    do {
        ServerKeyColumn column;
        column.name = Name();
        if (Accept("DESC")) {
            column.descending = true;
        } else {
            Accept("ASC");
        }
        columns.push_back(std::move(column));
    } while (AcceptSymbol(","));
    ExpectSymbol(")");
    return columns;
}

ServerForeignKey SqlServerParser::ForeignKey(const std::string& name,
                                             std::vector<std::string> columns) {
    ServerForeignKey key;
    key.name = name;
    key.columns = std::move(columns);
    Expect("REFERENCES");
    key.parent = TableName();
    if (AcceptSymbol("(")) {
        do {
            key.parentColumns.push_back(Name());
        } while (AcceptSymbol(","));
        ExpectSymbol(")");
    }
    while (Accept("ON")) {
        const bool update = Accept("UPDATE");
        if (!update) Expect("DELETE");
        bool cascade = false;
        if (Accept("CASCADE")) {
            cascade = true;
        } else if (Accept("NO")) {
            Expect("ACTION");
        } else if (Peek().Is("SET")) {
            Refuse("ON " + std::string(update ? "UPDATE" : "DELETE") + " SET ... is not supported");
        } else {
            SyntaxError(Peek());
        }
        (update ? key.updateCascade : key.deleteCascade) = cascade;
    }
    if (Peek().Is("NOT") && Peek(1).Is("FOR")) Refuse("NOT FOR REPLICATION is not supported");
    return key;
}

// WITH (option = value, ...) and ON <filegroup> of a key or index. Options
// that only tune SQL Server's storage go; one that changes what the statement
// does (IGNORE_DUP_KEY = ON, DROP_EXISTING = ON) is refused.
void SqlServerParser::IndexOptions() {
    if (Peek().Is("WITH") && Peek(1).IsSymbol("(")) {
        Next();
        Next();
        do {
            const std::string option = utf8::ToUpper(Name());
            ExpectSymbol("=");
            const SqlToken& value = Next();
            if (value.kind != SqlTokenKind::Word && value.kind != SqlTokenKind::Number)
                SyntaxError(value);
            if ((option == "IGNORE_DUP_KEY" || option == "DROP_EXISTING") && value.Is("ON")) {
                Refuse(option + " = ON is not supported");
            }
        } while (AcceptSymbol(","));
        ExpectSymbol(")");
    }
    if (Peek().Is("ON") && (Peek(1).kind == SqlTokenKind::QuotedName || Peek(1).Is("PRIMARY"))) {
        Next();
        Next();
    }
}

SqlExpr SqlServerParser::DefaultValue() {
    std::size_t opened = 0;
    while (Peek().IsSymbol("(")) {
        Next();
        ++opened;
    }
    SqlExpr value = Expression();
    for (std::size_t i = 0; i < opened; ++i) ExpectSymbol(")");
    return value;
}

std::string SqlServerParser::CreateIndex(bool unique) {
    Expect("INDEX");
    ServerIndex index;
    index.key.name = Name();
    index.key.unique = unique;
    Expect("ON");
    index.table = TableName();
    index.key.columns = KeyColumns();
    if (Peek().Is("INCLUDE") || Peek().Is("WHERE"))
        Refuse(utf8::ToUpper(Peek().text) + " in an index is not supported");
    IndexOptions();
    const TableInfo table = RequireTable(index.table);
    index.table = table.name;
    dialect_.CheckName(index.key.name, "index");
    CheckKeyColumns(table.name, index.key.columns, nullptr, &table);
    return dialect_.CreateIndex(index);
}

std::string SqlServerParser::CreateView() {
    Expect("VIEW");
    const std::string name = TableName();
    if (Peek().IsSymbol("(")) Refuse("a column list of a view is not supported");
    Expect("AS");
    dialect_.CheckName(name, "view");
    return dialect_.CreateView(name, Select());
}

// ---- ALTER TABLE -----------------------------------------------------------------

std::string SqlServerParser::AlterTable() {
    Expect("ALTER");
    Expect("TABLE");
    const TableInfo table = RequireTable(TableName());
    if (Accept("WITH")) {
        const bool check = Accept("CHECK");
        if (!check) Expect("NOCHECK");
        Expect("ADD");
        return AlterAdd(table, check);
    }
    if (Accept("ADD")) return AlterAdd(table, true);
    if (Accept("ALTER")) {
        Expect("COLUMN");
        return AlterColumn(table);
    }
    if (Accept("DROP")) {
        if (Accept("COLUMN")) {
            const std::string column = Name();
            if (FieldOf(table, column) == nullptr) {
                Refuse("ALTER TABLE DROP COLUMN failed because column '" + column +
                       "' does not exist in table '" + table.name + "'");
            }
            return dialect_.DropColumn(table, column);
        }
        Expect("CONSTRAINT");
        return DropConstraint(table);
    }
    if (Accept("CHECK")) {
        // The engines check a foreign key from the moment it is made.
        Expect("CONSTRAINT");
        const std::string name = Name();
        if (!dialect_.HasForeignKey(table, name))
            Refuse("Constraint '" + name + "' does not exist");
        return {};
    }
    if (Peek().Is("NOCHECK"))
        Refuse("NOCHECK CONSTRAINT is not supported: the engines always check");
    SyntaxError(Peek());
}

std::string SqlServerParser::AlterAdd(const TableInfo& table, bool checkRows) {
    std::vector<ServerColumn> columns;
    std::vector<std::string> statements;
    std::vector<ServerForeignKey> added;
    bool hasIdentity =
        std::any_of(table.fields.begin(), table.fields.end(),
                    [](const FieldInfo& f) { return (f.attributes & dao::dbAutoIncrField) != 0; });
    do {
        Accept("COLUMN");
        const bool constraint = Peek().Is("CONSTRAINT") || Peek().Is("PRIMARY") ||
                                Peek().Is("UNIQUE") || Peek().Is("FOREIGN") || Peek().Is("CHECK");
        if (!constraint) {
            ServerColumn column = ColumnDefinition(nullptr);
            dialect_.CheckName(column.name, "column");
            if (FieldOf(table, column.name) != nullptr ||
                ColumnOf(columns, column.name) != nullptr) {
                Refuse("Column names in each table must be unique. Column name '" + column.name +
                       "' in table '" + table.name + "' is specified more than once");
            }
            if (column.identity) {
                if (hasIdentity) {
                    Refuse("Multiple identity columns specified for table '" + table.name +
                           "'. Only one identity column per table is allowed");
                }
                if (!IsIntegerType(column.type)) {
                    Refuse("Identity column '" + column.name + "' must be of an integer type");
                }
                hasIdentity = true;
                column.notNull = true;
            } else if (column.notNull && !column.defaultValue && HasRows(table.name)) {
                Refuse(
                    "ALTER TABLE only allows columns to be added that can contain nulls, or have a "
                    "DEFAULT "
                    "definition specified, or the column being added is an identity column, or the "
                    "table "
                    "must be empty. Column '" +
                    column.name + "' cannot be added to non-empty table '" + table.name + "'");
            }
            columns.push_back(std::move(column));
            continue;
        }
        std::string name;
        if (Accept("CONSTRAINT")) name = Name();
        if (Accept("FOREIGN")) {
            Expect("KEY");
            ExpectSymbol("(");
            std::vector<std::string> keyColumns{Name()};
            while (AcceptSymbol(",")) keyColumns.push_back(Name());
            ExpectSymbol(")");
            ServerForeignKey key = ForeignKey(name, keyColumns);
            dialect_.CheckName(key.name, "constraint");
            CheckForeignKey(table.name, key, nullptr);
            CheckCascadePaths(table.name, key, added);
            if (checkRows) CheckRowsReferenceParents(table.name, key);
            statements.push_back(dialect_.AddForeignKey(table, key, checkRows));
            added.push_back(std::move(key));
        } else if (Accept("UNIQUE")) {
            ServerIndex index{table.name, KeyConstraint(name, false)};
            if (index.key.name.empty()) Refuse("a UNIQUE constraint added to a table needs a name");
            dialect_.CheckName(index.key.name, "index");
            CheckKeyColumns(table.name, index.key.columns, nullptr, &table);
            statements.push_back(dialect_.CreateIndex(index));
        } else if (Peek().Is("PRIMARY")) {
            Refuse("adding a primary key to an existing table is not supported");
        } else if (Peek().Is("DEFAULT")) {
            Refuse("ADD CONSTRAINT ... DEFAULT ... FOR is not supported");
        } else if (Peek().Is("CHECK")) {
            Refuse("CHECK constraints are not supported");
        } else {
            SyntaxError(Peek());
        }
    } while (AcceptSymbol(","));
    if (!columns.empty())
        statements.insert(statements.begin(), dialect_.AddColumns(table, columns));
    return JoinStatements(statements);
}

std::string SqlServerParser::AlterColumn(const TableInfo& table) {
    ServerColumn column;
    column.name = Name();
    column.type = Type();
    if (Accept("NOT")) {
        Expect("NULL");
        column.notNull = true;
    } else {
        Accept("NULL");
    }
    if (Peek().Is("COLLATE")) Refuse("COLLATE is not supported");
    const FieldInfo* field = FieldOf(table, column.name);
    if (field == nullptr) {
        Refuse("Cannot find the column '" + column.name + "' in table '" + table.name + "'");
    }
    column.name = field->name;
    column.identity = (field->attributes & dao::dbAutoIncrField) != 0;
    if (column.identity) column.notNull = true;
    if (column.type.IsLong()) {
        for (const IndexInfo& index : table.indexes) {
            for (const IndexFieldInfo& key : index.fields) {
                if (utf8::EqualsIgnoreCase(key.name, column.name)) {
                    Refuse("The index '" + index.name + "' is dependent on column '" + column.name +
                           "'");
                }
            }
        }
    }
    CheckRowsFit(table, column);
    return dialect_.AlterColumn(table, column);
}

std::string SqlServerParser::DropConstraint(const TableInfo& table) {
    if (Accept("IF")) Expect("EXISTS");
    const std::string name = Name();
    if (dialect_.HasForeignKey(table, name)) return dialect_.DropForeignKey(table, name);
    for (const FieldInfo& field : table.fields) {
        if (utf8::EqualsIgnoreCase(DefaultConstraintName(table.name, field.name), name)) {
            return dialect_.DropDefault(table, field.name);
        }
    }
    for (const IndexInfo& index : table.indexes) {
        if (!utf8::EqualsIgnoreCase(index.name, name)) continue;
        if (index.primary) Refuse("dropping the primary key of a table is not supported");
        return dialect_.DropIndex(table, index.name);
    }
    Refuse("'" + name + "' is not a constraint. Could not drop constraint");
}

// ---- DROP ----------------------------------------------------------------------

std::string SqlServerParser::Drop() {
    Expect("DROP");
    if (Accept("TABLE")) {
        const bool ifExists = Accept("IF");
        if (ifExists) Expect("EXISTS");
        std::vector<std::string> statements;
        do {
            const std::string name = TableName();
            const auto& table = Table(name);
            if (!table) {
                if (ifExists) continue;
                Refuse("Cannot drop the table '" + name + "', because it does not exist");
            }
            CheckNotReferenced(table->name);
            statements.push_back(dialect_.DropTable(table->name));
        } while (AcceptSymbol(","));
        return JoinStatements(statements);
    }
    if (Accept("VIEW")) {
        const bool ifExists = Accept("IF");
        if (ifExists) Expect("EXISTS");
        return dialect_.DropView(TableName(), ifExists);
    }
    if (Accept("INDEX")) {
        if (Accept("IF")) Expect("EXISTS");
        std::string first = Name();
        std::string tableName;
        std::string index;
        if (AcceptSymbol(".")) {
            tableName = first;
            index = Name();
        } else {
            Expect("ON");
            index = first;
            tableName = TableName();
        }
        const TableInfo table = RequireTable(tableName);
        for (const IndexInfo& candidate : table.indexes) {
            if (utf8::EqualsIgnoreCase(candidate.name, index))
                return dialect_.DropIndex(table, candidate.name);
        }
        Refuse("Cannot drop the index '" + tableName + "." + index +
               "', because it does not exist");
    }
    SyntaxError(Peek());
}

// ---- Checks --------------------------------------------------------------------

bool SqlServerParser::HasRows(const std::string& table) {
    return dialect_.AnyRow("SELECT 1 FROM " + dialect_.Quote(table) + " LIMIT 1");
}

// ALTER COLUMN keeps every value or fails, as SQL Server does; the engines
// would keep values the new definition does not allow.
void SqlServerParser::CheckRowsFit(const TableInfo& table, const ServerColumn& column) {
    const std::string where = " FROM " + dialect_.Quote(table.name) + " WHERE ";
    const SqlExpr value{dialect_.Quote(column.name), SqlValueKind::Unknown};
    if (column.notNull && dialect_.AnyRow("SELECT 1" + where + value.sql + " IS NULL LIMIT 1")) {
        Refuse("Cannot insert the value NULL into column '" + column.name + "', table '" +
               table.name + "'; column does not allow nulls");
    }
    if (column.type.IsText() && column.type.length > 0) {
        const std::optional<std::string> length = dialect_.Function("LEN", {value});
        if (length && dialect_.AnyRow("SELECT 1" + where + *length + " > " +
                                      std::to_string(column.type.length) + " LIMIT 1")) {
            Refuse("String or binary data would be truncated in table '" + table.name +
                   "', column '" + column.name + "'");
        }
    }
}

// WITH CHECK: every row that names a parent must find it.
void SqlServerParser::CheckRowsReferenceParents(const std::string& child,
                                                const ServerForeignKey& key) {
    const std::string c = dialect_.Quote("c");
    const std::string p = dialect_.Quote("p");
    std::string given;
    std::string joined;
    for (std::size_t i = 0; i < key.columns.size(); ++i) {
        given += " AND " + c + "." + dialect_.Quote(key.columns[i]) + " IS NOT NULL";
        joined += std::string(i == 0 ? "" : " AND ") + p + "." +
                  dialect_.Quote(key.parentColumns[i]) + " = " + c + "." +
                  dialect_.Quote(key.columns[i]);
    }
    const std::string query = "SELECT 1 FROM " + dialect_.Quote(child) + " AS " + c +
                              " WHERE 1 = 1" + given + " AND NOT EXISTS (SELECT 1 FROM " +
                              dialect_.Quote(key.parent) + " AS " + p + " WHERE " + joined +
                              ") LIMIT 1";
    if (dialect_.AnyRow(query)) {
        Refuse("The ALTER TABLE statement conflicted with the FOREIGN KEY constraint \"" +
               key.name + "\". The conflict occurred in table \"" + key.parent + "\"");
    }
}

// SQL Server keeps a parent while a foreign key refers to it; SQLite would
// drop it and cascade the deletes.
void SqlServerParser::CheckNotReferenced(const std::string& table) {
    for (const RelationInfo& relation : dialect_.Relations()) {
        if (utf8::EqualsIgnoreCase(relation.table, table) &&
            !utf8::EqualsIgnoreCase(relation.foreignTable, table)) {
            Refuse("Could not drop object '" + table +
                   "' because it is referenced by the FOREIGN KEY constraint '" + relation.name +
                   "' of table '" + relation.foreignTable + "'");
        }
    }
}

// What SQL Server checks of a new table before it makes it.
void SqlServerParser::CheckTable(ServerTable& table) {
    dialect_.CheckName(table.name, "table");
    std::set<std::string> names;
    int identities = 0;
    for (const ServerColumn& column : table.columns) {
        dialect_.CheckName(column.name, "column");
        if (!names.insert(utf8::ToUpper(column.name)).second) {
            Refuse("Column names in each table must be unique. Column name '" + column.name +
                   "' in table '" + table.name + "' is specified more than once");
        }
        if (column.identity) {
            ++identities;
            if (!IsIntegerType(column.type))
                Refuse("Identity column '" + column.name + "' must be of an integer type");
        }
    }
    if (identities > 1) {
        Refuse("Multiple identity columns specified for table '" + table.name +
               "'. Only one identity column per table is allowed");
    }
    const auto primaries = std::count_if(table.keys.begin(), table.keys.end(),
                                         [](const ServerKey& k) { return k.primary; });
    if (primaries > 1)
        Refuse("Cannot add multiple PRIMARY KEY constraints to table '" + table.name + "'");
    for (const ServerKey& key : table.keys) {
        if (!key.name.empty()) dialect_.CheckName(key.name, "constraint");
        CheckKeyColumns(table.name, key.columns, &table.columns, nullptr);
        if (!key.primary) continue;
        // The columns of a primary key take no Null.
        for (ServerColumn& column : table.columns) {
            for (const ServerKeyColumn& keyColumn : key.columns) {
                if (utf8::EqualsIgnoreCase(column.name, keyColumn.name)) column.notNull = true;
            }
            column.primaryKey =
                key.columns.size() == 1 && utf8::EqualsIgnoreCase(column.name, key.columns[0].name);
        }
    }
    std::vector<ServerForeignKey> earlier;
    for (ServerForeignKey& key : table.foreignKeys) {
        if (!key.name.empty()) dialect_.CheckName(key.name, "constraint");
        CheckForeignKey(table.name, key, &table);
        CheckCascadePaths(table.name, key, earlier);
        earlier.push_back(key);
    }
}

void SqlServerParser::CheckKeyColumns(const std::string& table,
                                      const std::vector<ServerKeyColumn>& columns,
                                      const std::vector<ServerColumn>* creating,
                                      const TableInfo* existing) const {
    std::set<std::string> seen;
    for (const ServerKeyColumn& key : columns) {
        if (!seen.insert(utf8::ToUpper(key.name)).second) {
            Refuse("the column '" + key.name + "' stands twice in a key of table '" + table + "'");
        }
        bool longType = false;
        bool found = false;
        if (creating != nullptr) {
            if (const ServerColumn* column = ColumnOf(*creating, key.name)) {
                found = true;
                longType = column->type.IsLong();
            }
        }
        if (existing != nullptr) {
            if (const FieldInfo* field = FieldOf(*existing, key.name)) {
                found = true;
                longType = field->type == dao::dbMemo || field->type == dao::dbLongBinary;
            }
        }
        if (!found)
            Refuse("Column name '" + key.name + "' does not exist in the target table '" + table +
                   "'");
        if (longType) {
            Refuse("Column '" + key.name + "' in table '" + table +
                   "' is of a type that is invalid for use as a key column in an index");
        }
    }
}

// A foreign key must name existing columns and refer to a primary key or a
// unique index of its parent with exactly its columns: SQL Server refuses
// the rest, which SQLite and MariaDB would take.
void SqlServerParser::CheckForeignKey(const std::string& child, ServerForeignKey& key,
                                      const ServerTable* creating) {
    const std::string label =
        key.name.empty() ? std::string("of table '") + child + "'" : "'" + key.name + "'";
    std::vector<std::vector<std::string>> candidates;  // the parent's unique column sets
    std::vector<std::string> primary;
    if (creating != nullptr && utf8::EqualsIgnoreCase(creating->name, key.parent)) {
        for (const ServerKey& k : creating->keys) {
            candidates.push_back(ColumnNames(k.columns));
            if (k.primary) primary = candidates.back();
        }
    } else {
        const auto& parent = Table(key.parent);
        if (!parent)
            Refuse("Foreign key " + label + " references invalid table '" + key.parent + "'");
        for (const IndexInfo& index : parent->indexes) {
            if (!index.unique && !index.primary) continue;
            candidates.push_back(FieldNames(index));
            if (index.primary) primary = candidates.back();
        }
        for (const std::string& column : key.parentColumns) {
            if (FieldOf(*parent, column) == nullptr) {
                Refuse("Foreign key " + label + " references invalid column '" + column +
                       "' in referenced table '" + key.parent + "'");
            }
        }
    }
    const std::vector<std::string> parentColumns =
        key.parentColumns.empty() ? primary : key.parentColumns;
    if (parentColumns.size() != key.columns.size()) {
        Refuse("The number of columns in the referencing column list for foreign key " + label +
               " does not match those of the primary key in the referenced table '" + key.parent +
               "'");
    }
    const auto match = std::find_if(
        candidates.begin(), candidates.end(),
        [&](const std::vector<std::string>& c) { return SameNameSet(c, parentColumns); });
    if (match == candidates.end()) {
        Refuse("There are no primary or candidate keys in the referenced table '" + key.parent +
               "' that match the referencing column list in the foreign key " + label);
    }
    // The pairs in the order of the parent's key, which is the order an
    // engine looks for in the parent's index.
    std::vector<std::string> children;
    for (const std::string& parentColumn : *match) {
        for (std::size_t i = 0; i < parentColumns.size(); ++i) {
            if (utf8::EqualsIgnoreCase(parentColumns[i], parentColumn))
                children.push_back(key.columns[i]);
        }
    }
    key.columns = children;
    key.parentColumns = *match;
    if (creating == nullptr || !utf8::EqualsIgnoreCase(creating->name, child)) {
        const TableInfo table = RequireTable(child);
        for (const std::string& column : key.columns) {
            if (FieldOf(table, column) == nullptr) {
                Refuse("Foreign key " + label + " references invalid column '" + column +
                       "' in referencing table '" + child + "'");
            }
        }
    } else {
        for (const std::string& column : key.columns) {
            if (ColumnOf(creating->columns, column) == nullptr) {
                Refuse("Foreign key " + label + " references invalid column '" + column +
                       "' in referencing table '" + child + "'");
            }
        }
    }
}

// SQL Server allows one path of cascading actions from a table to another
// and no cycle; a new cascading key from P to C is refused when a table that
// reaches P (or P itself) already reaches C or a table below C.
void SqlServerParser::CheckCascadePaths(const std::string& child, const ServerForeignKey& key,
                                        const std::vector<ServerForeignKey>& alsoAdded) {
    if (!key.updateCascade && !key.deleteCascade) return;
    std::map<std::string, std::set<std::string>> below;  // parent -> children, upper case
    std::map<std::string, std::set<std::string>> above;
    const auto addEdge = [&](const std::string& parent, const std::string& table) {
        below[utf8::ToUpper(parent)].insert(utf8::ToUpper(table));
        above[utf8::ToUpper(table)].insert(utf8::ToUpper(parent));
    };
    for (const RelationInfo& relation : dialect_.Relations()) {
        if ((relation.attributes & (dao::dbRelationUpdateCascade | dao::dbRelationDeleteCascade)) !=
            0) {
            addEdge(relation.table, relation.foreignTable);
        }
    }
    for (const ServerForeignKey& earlier : alsoAdded) {
        if (earlier.updateCascade || earlier.deleteCascade) addEdge(earlier.parent, child);
    }
    const auto closure = [](const std::map<std::string, std::set<std::string>>& edges,
                            const std::string& start) {
        std::set<std::string> reached;
        std::vector<std::string> work{start};
        while (!work.empty()) {
            const std::string at = work.back();
            work.pop_back();
            const auto found = edges.find(at);
            if (found == edges.end()) continue;
            for (const std::string& next : found->second) {
                if (reached.insert(next).second) work.push_back(next);
            }
        }
        return reached;
    };
    const std::string parent = utf8::ToUpper(key.parent);
    const std::string table = utf8::ToUpper(child);
    std::set<std::string> sources = closure(above, parent);
    sources.insert(parent);
    std::set<std::string> targets = closure(below, table);
    targets.insert(table);
    bool refused = sources.count(table) > 0;
    for (const std::string& source : sources) {
        if (refused) break;
        for (const std::string& reached : closure(below, source)) {
            if (targets.count(reached) > 0) refused = true;
        }
    }
    if (refused) {
        Refuse("Introducing FOREIGN KEY constraint '" + key.name + "' on table '" + child +
               "' may cause cycles or multiple cascade paths");
    }
}

}  // namespace vorn
