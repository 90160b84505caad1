#include "dbcontract/sqlite/SqliteServerConnection.h"

#include <sqlite3.h>

#include <filesystem>
#include <map>
#include <mutex>
#include <set>

#include "dbcontract/DaoConstants.h"
#include "dbcontract/SqlServerRewriter.h"
#include "dbcontract/SqlTokenizer.h"
#include "dbcontract/sqlite/SqliteCollations.h"
#include "dbcontract/sqlite/SqliteDialect.h"
#include "dbcontract/sqlite/JetSqlTranslator.h"
#include "dbcontract/sqlite/SqliteFunctions.h"
#include "dbcontract/sqlite/SqliteValueCodec.h"
#include "runtime/Utf8.h"

namespace vorn {

// One SQLite connection to one database file, shared by every server
// connection of the process to that file. The transaction belongs to the
// file, so all of them see it.
class SqliteServerFile {
  public:
    explicit SqliteServerFile(std::string path);
    ~SqliteServerFile() { sqlite3_close_v2(db_); }
    SqliteServerFile(const SqliteServerFile&) = delete;
    SqliteServerFile& operator=(const SqliteServerFile&) = delete;

    // The file's shared connection, opened when no one holds it yet.
    static std::shared_ptr<SqliteServerFile> Open(const std::string& path);

    sqlite3* Db() const noexcept { return db_; }
    const std::string& Path() const noexcept { return path_; }
    // The server connection whose BeginTransaction is open, or nullptr.
    const void* transactionOwner = nullptr;

  private:
    std::string path_;
    sqlite3* db_ = nullptr;
};

namespace {

constexpr std::string_view kSource = "SQLite";

VornError Failure(std::string_view message) { return ServerFailure(kSource, message); }

VornError LastFailure(sqlite3* db) { return Failure(sqlite3_errmsg(db)); }

// Whether `word` (a folded system database name) stands for the folder
// rather than for a file.
bool IsFolderDatabase(std::string_view database) {
    return database.empty() || utf8::EqualsIgnoreCase(database, "master");
}

// Owns one prepared statement.
class Statement {
  public:
    // Prepares the first statement of `sql`; `rest` gets the text after it.
    Statement(sqlite3* db, std::string_view sql, std::string_view* rest = nullptr) : db_(db) {
        const char* tail = nullptr;
        if (sqlite3_prepare_v2(db, sql.data(), static_cast<int>(sql.size()), &stmt_, &tail) !=
            SQLITE_OK) {
            throw LastFailure(db);
        }
        if (rest) *rest = sql.substr(static_cast<std::size_t>(tail - sql.data()));
    }
    ~Statement() { sqlite3_finalize(stmt_); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    sqlite3_stmt* Get() const noexcept { return stmt_; }
    bool Empty() const noexcept { return stmt_ == nullptr; }

    // Steps once: true with a row, false when done.
    bool Step() {
        const int rc = sqlite3_step(stmt_);
        if (rc == SQLITE_ROW) return true;
        if (rc == SQLITE_DONE) return false;
        throw LastFailure(db_);
    }
    void Run() {
        while (Step()) {
        }
    }

  private:
    sqlite3* db_;
    sqlite3_stmt* stmt_ = nullptr;
};

// Binds one value in the stored form of the project files.
void BindValue(sqlite3* db, sqlite3_stmt* stmt, int index, const Variant& value) {
    int rc = SQLITE_OK;
    switch (value.Kind()) {
        case VariantKind::Empty:
        case VariantKind::Null:
            rc = sqlite3_bind_null(stmt, index);
            break;
        case VariantKind::Boolean:
            rc = sqlite3_bind_int(stmt, index, value.AsBoolean() ? 1 : 0);
            break;
        case VariantKind::Byte:
        case VariantKind::Integer:
        case VariantKind::Long:
            rc = sqlite3_bind_int64(stmt, index, static_cast<sqlite3_int64>(value.NumberValue()));
            break;
        case VariantKind::Currency:
            rc = sqlite3_bind_int64(stmt, index, value.AsCurrency().Scaled());
            break;
        case VariantKind::Single:
        case VariantKind::Double:
            rc = sqlite3_bind_double(stmt, index, value.NumberValue());
            break;
        case VariantKind::Text: {
            const std::string& text = value.AsText();
            rc = sqlite3_bind_text64(stmt, index, text.data(), text.size(), SQLITE_TRANSIENT,
                                     SQLITE_UTF8);
            break;
        }
        case VariantKind::Binary: {
            const auto& bytes = value.AsBinary();
            // An empty buffer has no data pointer, which SQLite would bind as NULL.
            rc = bytes.empty() ? sqlite3_bind_zeroblob(stmt, index, 0)
                               : sqlite3_bind_blob64(stmt, index, bytes.data(), bytes.size(),
                                                     SQLITE_TRANSIENT);
            break;
        }
        case VariantKind::Date: {
            FieldInfo field;
            field.type = dao::dbDate;
            const StoredValue stored = SqliteValueCodec::Encode(value, field);
            const std::string& text = std::get<std::string>(stored);
            rc = sqlite3_bind_text64(stmt, index, text.data(), text.size(), SQLITE_TRANSIENT,
                                     SQLITE_UTF8);
            break;
        }
        case VariantKind::Decimal: {
            // The exact digits, as the project files keep a decimal.
            const std::string text = value.AsDecimal().ToString();
            rc = sqlite3_bind_text64(stmt, index, text.data(), text.size(), SQLITE_TRANSIENT,
                                     SQLITE_UTF8);
            break;
        }
        case VariantKind::Array:
            throw Failure("An array cannot be passed as a parameter value.");
    }
    if (rc != SQLITE_OK) throw LastFailure(db);
}

void BindPositional(sqlite3* db, sqlite3_stmt* stmt, const std::vector<Variant>& params,
                    std::size_t& next) {
    const int count = sqlite3_bind_parameter_count(stmt);
    for (int i = 1; i <= count; ++i) {
        if (next >= params.size()) throw Failure("A parameter of the statement has no value.");
        BindValue(db, stmt, i, params[next++]);
    }
}

void BindNamed(sqlite3* db, sqlite3_stmt* stmt, const std::vector<NamedValue>& params) {
    const int count = sqlite3_bind_parameter_count(stmt);
    for (int i = 1; i <= count; ++i) {
        const char* marker = sqlite3_bind_parameter_name(stmt, i);
        const std::string_view name =
            marker ? std::string_view(marker).substr(1) : std::string_view{};
        const NamedValue* found = nullptr;
        for (const NamedValue& p : params) {
            if (!name.empty() && utf8::EqualsIgnoreCase(p.name, name)) {
                found = &p;
                break;
            }
        }
        if (!found) {
            throw Failure("The parameter '" + std::string(marker ? marker : "?") +
                          "' has no value.");
        }
        BindValue(db, stmt, i, found->value);
    }
}

// Runs every statement of `sql`, binding each with `bind`; returns the rows
// the statements changed.
template <class Bind>
std::int64_t RunAll(sqlite3* db, std::string_view sql, Bind&& bind) {
    std::int64_t changed = 0;
    std::string_view rest = sql;
    while (!utf8::Trim(rest).empty()) {
        Statement statement(db, rest, &rest);
        if (statement.Empty()) break;  // only a comment or ";" was left
        bind(statement.Get());
        statement.Run();
        if (!sqlite3_stmt_readonly(statement.Get())) changed += sqlite3_changes64(db);
    }
    return changed;
}

StoredValue ColumnValue(sqlite3_stmt* stmt, int column) {
    switch (sqlite3_column_type(stmt, column)) {
        case SQLITE_INTEGER:
            return static_cast<std::int64_t>(sqlite3_column_int64(stmt, column));
        case SQLITE_FLOAT:
            return sqlite3_column_double(stmt, column);
        case SQLITE_TEXT: {
            const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, column));
            return std::string(text, static_cast<std::size_t>(sqlite3_column_bytes(stmt, column)));
        }
        case SQLITE_BLOB: {
            const auto* bytes = static_cast<const std::uint8_t*>(sqlite3_column_blob(stmt, column));
            return StoredBlob(bytes, bytes + sqlite3_column_bytes(stmt, column));
        }
        default:
            return std::monostate{};
    }
}

// A stored value read for a column of DAO type `type` (0: no declared type).
Variant DecodeColumn(const StoredValue& stored, std::int16_t type) {
    if (type == 0) return SqliteValueCodec::DecodeUntyped(stored);
    // A currency column may hold a REAL that a plain number parameter put
    // there; only INTEGER is the ten-thousandths form.
    if (type == dao::dbCurrency) {
        if (const auto* d = std::get_if<double>(&stored)) return Currency::FromDouble(*d);
    }
    return SqliteValueCodec::Decode(stored, type);
}

std::string Text(sqlite3_stmt* stmt, int column) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, column));
    return text ? std::string(text) : std::string();
}

// The rows of one query; keeps the file open while it lives.
class SqliteCursor : public ServerCursor {
  public:
    // `given` types the columns where it holds a type other than 0.
    SqliteCursor(std::shared_ptr<SqliteServerFile> file, std::unique_ptr<Statement> statement,
                 const std::vector<std::int16_t>& given = {})
        : file_(std::move(file)), statement_(std::move(statement)) {
        sqlite3_stmt* stmt = statement_->Get();
        const int count = sqlite3_column_count(stmt);
        for (int i = 0; i < count; ++i) {
            FieldInfo field;
            field.name = sqlite3_column_name(stmt, i);
            field.ordinalPosition = static_cast<std::int16_t>(i);
            const char* declared = sqlite3_column_decltype(stmt, i);
            if (declared) MapDeclaredType(declared, field);
            const std::size_t at = static_cast<std::size_t>(i);
            if (at < given.size() && given[at] != 0) {
                field.type = given[at];
                declared = "";
            }
            types_.push_back(declared ? field.type : std::int16_t{0});
            if (const char* table = sqlite3_column_table_name(stmt, i)) field.sourceTable = table;
            if (const char* origin = sqlite3_column_origin_name(stmt, i))
                field.sourceField = origin;
            columns_.push_back(std::move(field));
        }
    }

    const std::vector<FieldInfo>& Columns() const override { return columns_; }

    bool Next(std::vector<Variant>& row) override {
        if (done_ || !statement_->Step()) {
            done_ = true;
            return false;
        }
        sqlite3_stmt* stmt = statement_->Get();
        row.clear();
        for (std::size_t i = 0; i < columns_.size(); ++i) {
            const StoredValue stored = ColumnValue(stmt, static_cast<int>(i));
            row.push_back(DecodeColumn(stored, types_[i]));
            // An expression column takes the type of its first value.
            if (types_[i] == 0 && !row.back().IsNull() && columns_[i].sourceField.empty()) {
                columns_[i].type = SqliteValueCodec::UntypedDaoType(stored);
            }
        }
        return true;
    }

  private:
    std::shared_ptr<SqliteServerFile> file_;
    std::unique_ptr<Statement> statement_;
    std::vector<FieldInfo> columns_;
    std::vector<std::int16_t> types_;
    bool done_ = false;
};

// ---- Reading the design from the CREATE TABLE text ---------------------------

// The names that constraints carry in the CREATE TABLE text: the primary
// key's, and each foreign key's with its child columns, since SQLite's own
// lists forget them.
struct ConstraintNames {
    std::string primaryKey;
    std::vector<std::pair<std::vector<std::string>, std::string>> foreignKeys;  // columns, name
};

std::vector<std::string> NameList(const std::vector<SqlToken>& tokens, std::size_t& i) {
    std::vector<std::string> names;
    if (!tokens[i].IsSymbol("(")) return names;
    for (++i; i < tokens.size() && !tokens[i].IsSymbol(")"); ++i) {
        if (tokens[i].kind == SqlTokenKind::Word || tokens[i].kind == SqlTokenKind::QuotedName) {
            names.push_back(tokens[i].value);
        }
    }
    return names;
}

ConstraintNames ReadConstraintNames(std::string_view createSql) {
    ConstraintNames names;
    std::vector<SqlToken> tokens;
    try {
        tokens = SqlTokenizer(SqlTokenizerOptions::SqlServer()).Tokenize(createSql);
    } catch (const VornError&) {
        return names;  // a text the tokenizer cannot read keeps SQLite's names
    }
    for (std::size_t i = 0; i + 3 < tokens.size(); ++i) {
        if (!tokens[i].Is("CONSTRAINT")) continue;
        const std::string name = tokens[i + 1].value;
        if (tokens[i + 2].Is("PRIMARY")) {
            names.primaryKey = name;
        } else if (tokens[i + 2].Is("FOREIGN") && tokens[i + 3].Is("KEY")) {
            std::size_t j = i + 4;
            names.foreignKeys.emplace_back(NameList(tokens, j), name);
        }
    }
    return names;
}

bool SameNames(const std::vector<std::string>& a, const std::vector<std::string>& b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (!utf8::EqualsIgnoreCase(a[i], b[i])) return false;
    }
    return true;
}

// The CREATE TABLE text with the DEFAULT clause of `column` taken out; the
// text unchanged when the column has none.
std::string WithoutDefault(const std::string& createSql, std::string_view column) {
    const auto tokens = SqlTokenizer(SqlTokenizerOptions::SqlServer()).Tokenize(createSql);
    int depth = 0;
    bool inColumn = false;
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        const SqlToken& t = tokens[i];
        if (t.IsSymbol("(")) {
            ++depth;
            if (depth == 1 && i + 1 < tokens.size())
                inColumn = utf8::EqualsIgnoreCase(tokens[i + 1].value, column);
            continue;
        }
        if (t.IsSymbol(")")) {
            --depth;
            continue;
        }
        if (depth == 1 && t.IsSymbol(",")) {
            inColumn = i + 1 < tokens.size() && utf8::EqualsIgnoreCase(tokens[i + 1].value, column);
            continue;
        }
        if (!(inColumn && depth == 1 && t.Is("DEFAULT"))) continue;
        // The default is a literal, a signed number, a word or a
        // parenthesised expression.
        std::size_t end = i + 1;
        if (tokens[end].IsSymbol("+") || tokens[end].IsSymbol("-")) ++end;
        if (tokens[end].IsSymbol("(")) {
            int inner = 0;
            for (; end < tokens.size(); ++end) {
                if (tokens[end].IsSymbol("(")) ++inner;
                if (tokens[end].IsSymbol(")") && --inner == 0) break;
            }
        }
        const std::size_t from = t.offset;
        const std::size_t to = tokens[end + 1].offset;
        return createSql.substr(0, from) + " " + createSql.substr(to);
    }
    return createSql;
}

}  // namespace

// ---- The shared file ----------------------------------------------------------

SqliteServerFile::SqliteServerFile(std::string path) : path_(std::move(path)) {
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_FULLMUTEX;
    if (sqlite3_open_v2(path_.c_str(), &db_, flags, nullptr) != SQLITE_OK) {
        const std::string message = db_ ? sqlite3_errmsg(db_) : "out of memory";
        sqlite3_close_v2(db_);
        db_ = nullptr;
        throw Failure("Cannot open the database file '" + path_ + "': " + message);
    }
    sqlite3_extended_result_codes(db_, 1);
    // Another process writing the file makes us wait, never hang.
    sqlite3_busy_timeout(db_, 10000);
    if (sqlite3_exec(db_, "PRAGMA foreign_keys=ON", nullptr, nullptr, nullptr) != SQLITE_OK) {
        const std::string message = sqlite3_errmsg(db_);
        sqlite3_close_v2(db_);
        db_ = nullptr;
        throw Failure(message);
    }
    // The rewritten statements call the functions of the expression service
    // (vorn_isnumeric, ...) and compare as the project files do.
    try {
        SqliteFunctions::Register(db_);
        SqliteCollations::Register(db_);
    } catch (...) {
        sqlite3_close_v2(db_);
        db_ = nullptr;
        throw;
    }
}

std::shared_ptr<SqliteServerFile> SqliteServerFile::Open(const std::string& path) {
    static std::mutex guard;
    static std::map<std::string, std::weak_ptr<SqliteServerFile>> open;
    const std::lock_guard lock(guard);
    std::error_code ignored;
    const std::string key = std::filesystem::weakly_canonical(path, ignored).string();
    if (auto file = open[key].lock()) return file;
    if (!std::filesystem::is_regular_file(path)) {
        throw Failure("The database file '" + path + "' does not exist.");
    }
    auto file = std::make_shared<SqliteServerFile>(path);
    open[key] = file;
    return file;
}

// ---- The connection -------------------------------------------------------------

std::unique_ptr<ServerConnection> OpenSqliteServerConnection(const ServerTarget& target) {
    return std::make_unique<SqliteServerConnection>(target);
}

std::string SqliteServerConnection::DatabasePath(std::string_view server, std::string_view name) {
    const std::filesystem::path folder =
        server.empty() ? std::filesystem::path(".") : std::filesystem::path(server);
    return (folder / (std::string(name) + ".sqlite")).string();
}

SqliteServerConnection::SqliteServerConnection(ServerTarget target) : target_(std::move(target)) {
    if (!IsFolderDatabase(target_.database)) {
        file_ = SqliteServerFile::Open(DatabasePath(target_.server, target_.database));
    }
}

SqliteServerConnection::~SqliteServerConnection() { Close(); }

SqliteServerFile& SqliteServerConnection::File() const {
    if (!file_) {
        throw Failure("The connection to the folder '" + target_.server +
                      "' has no database; name one in the connect string.");
    }
    return *file_;
}

std::string SqliteServerConnection::Prepare(std::string_view sql) {
    std::int64_t version = 0;
    {
        Statement read(File().Db(), "PRAGMA schema_version");
        if (read.Step()) version = sqlite3_column_int64(read.Get(), 0);
    }
    if (lastPrepared_.schemaVersion == version && lastPrepared_.sql == sql) return lastPrepared_.text;
    SqliteDialect dialect(*this);
    std::string text = SqlServerRewriter(dialect).Rewrite(sql);
    // Only a change of rows is kept: a definition may depend on the rows
    // there (a column NOT NULL added to an empty table), which change
    // without the schema.
    if (SqlServerRewriter::IsRowStatement(sql)) lastPrepared_ = {std::string(sql), version, text};
    return text;
}

std::string SqliteServerConnection::PrepareCondition(std::string_view condition) {
    SqliteDialect dialect(*this);
    return SqlServerRewriter(dialect).RewriteCondition(condition);
}

std::string SqliteServerConnection::PrepareOrderList(std::string_view list) {
    SqliteDialect dialect(*this);
    return SqlServerRewriter(dialect).RewriteOrderList(list);
}

std::int64_t SqliteServerConnection::Execute(std::string_view sql,
                                             const std::vector<Variant>& params) {
    sqlite3* db = File().Db();
    std::size_t next = 0;
    return RunAll(db, sql, [&](sqlite3_stmt* stmt) { BindPositional(db, stmt, params, next); });
}

std::int64_t SqliteServerConnection::ExecuteNamed(std::string_view sql,
                                                  const std::vector<NamedValue>& params) {
    sqlite3* db = File().Db();
    return RunAll(db, sql, [&](sqlite3_stmt* stmt) { BindNamed(db, stmt, params); });
}

std::unique_ptr<ServerCursor> SqliteServerConnection::Query(std::string_view sql,
                                                            const std::vector<Variant>& params) {
    sqlite3* db = File().Db();
    auto statement = std::make_unique<Statement>(db, sql);
    if (statement->Empty()) throw Failure("The query is empty.");
    std::size_t next = 0;
    BindPositional(db, statement->Get(), params, next);
    return std::make_unique<SqliteCursor>(file_, std::move(statement));
}

std::unique_ptr<ServerCursor> SqliteServerConnection::QueryAs(std::string_view sql,
                                                              const std::vector<std::int16_t>& columnTypes) {
    sqlite3* db = File().Db();
    auto statement = std::make_unique<Statement>(db, sql);
    if (statement->Empty()) throw Failure("The query is empty.");
    return std::make_unique<SqliteCursor>(file_, std::move(statement), columnTypes);
}

namespace {

// The tables of the server database as the Jet translator asks for them;
// and one more, the rows of a statement in the server's text, under a name
// of its own.
class ServerJetCatalog final : public JetCatalogView {
  public:
    explicit ServerJetCatalog(SqliteServerConnection& connection, std::optional<TableInfo> rows = std::nullopt)
        : connection_(connection), rows_(std::move(rows)) {}
    std::optional<TableInfo> FindTable(std::string_view name) const override {
        if (rows_ && utf8::EqualsIgnoreCase(name, rows_->name)) return rows_;
        return connection_.ReadTable(name);
    }
    std::optional<TableInfo> FindTableIn(std::string_view, std::string_view) const override { return std::nullopt; }
    bool IsQuery(std::string_view name) const override { return rows_ && utf8::EqualsIgnoreCase(name, rows_->name); }

  private:
    SqliteServerConnection& connection_;
    std::optional<TableInfo> rows_;
};

constexpr const char* kPassedThrough = "vorn_passed_through";

// What the translator gives, checked for what a server database can run.
JetTranslation Checked(JetTranslation translation, std::string_view sql) {
    if (translation.kind == JetStatementKind::SchemaChange) {
        throw Failure("The design of an enterprise database is changed through SQL on its connection, not "
                      "through its Database: \"" + std::string(sql) + "\"");
    }
    if (!translation.parameters.empty() || !translation.attachments.empty()) {
        throw Failure("A statement with parameters or other files is not run on an enterprise database: \"" +
                      std::string(sql) + "\"");
    }
    return translation;
}

}  // namespace

ServerConnection::JetQuery SqliteServerConnection::PrepareJetQuery(std::string_view source, bool isTable,
                                                                 std::string_view filter, std::string_view sort,
                                                                 bool passThrough) {
    if (passThrough && !isTable) {
        // The server's text runs as it is; Jet's Filter and Sort apply to its
        // rows, named in a WITH clause.
        const std::string rows = Prepare(source);
        if (filter.empty() && sort.empty()) return {rows, {}};
        TableInfo described;
        described.name = kPassedThrough;
        described.fields = Query(rows, {})->Columns();
        const ServerJetCatalog catalog(*this, described);
        const JetTranslation translation =
            Checked(JetSqlTranslator(catalog).TranslateRows(kPassedThrough, true, filter, sort), filter);
        JetQuery query;
        query.sql = "WITH " + QuoteName(kPassedThrough) + " AS (" + rows + ") " + translation.sql;
        for (const FieldInfo& column : translation.columns) query.columnTypes.push_back(column.type);
        return query;
    }
    const ServerJetCatalog catalog(*this);
    const JetTranslation translation =
        Checked(JetSqlTranslator(catalog).TranslateRows(source, isTable, filter, sort), source);
    if (translation.kind != JetStatementKind::Query) {
        throw Failure("The statement gives no rows: \"" + std::string(source) + "\"");
    }
    JetQuery query;
    query.sql = translation.sql;
    for (const FieldInfo& column : translation.columns) query.columnTypes.push_back(column.type);
    return query;
}

std::string SqliteServerConnection::PrepareJetChange(std::string_view sql) {
    const ServerJetCatalog catalog(*this);
    const JetTranslation translation = Checked(JetSqlTranslator(catalog).Translate(sql), sql);
    if (translation.kind != JetStatementKind::DataChange) {
        throw VornError(3065, "DAO.Database", "Cannot execute a select query.");
    }
    return translation.sql;
}

std::int64_t SqliteServerConnection::LastInsertId() {
    return sqlite3_last_insert_rowid(File().Db());
}

void SqliteServerConnection::BeginTransaction() {
    SqliteServerFile& file = File();
    if (file.transactionOwner)
        throw Failure("A server transaction is already open on this database.");
    Execute("BEGIN IMMEDIATE", {});
    file.transactionOwner = this;
}

void SqliteServerConnection::Commit() {
    SqliteServerFile& file = File();
    if (!file.transactionOwner) throw Failure("No server transaction is open to commit.");
    Execute("COMMIT", {});
    file.transactionOwner = nullptr;
}

void SqliteServerConnection::Rollback() {
    SqliteServerFile& file = File();
    if (!file.transactionOwner) throw Failure("No server transaction is open to roll back.");
    file.transactionOwner = nullptr;
    // SQLite may have ended the transaction itself after a failure.
    if (!sqlite3_get_autocommit(file.Db())) Execute("ROLLBACK", {});
}

bool SqliteServerConnection::InTransaction() const {
    return file_ && file_->transactionOwner != nullptr;
}

std::vector<std::string> SqliteServerConnection::TableNames() {
    std::vector<std::string> names;
    auto rows = Query(
        "SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite\\_%' ESCAPE "
        "'\\' "
        "ORDER BY name",
        {});
    std::vector<Variant> row;
    while (rows->Next(row)) names.push_back(row[0].AsText());
    return names;
}

std::optional<std::string> SqliteServerConnection::StoredTableName(std::string_view table) {
    for (std::string& name : TableNames()) {
        if (utf8::EqualsIgnoreCase(name, table)) return std::move(name);
    }
    return std::nullopt;
}

bool SqliteServerConnection::TableExists(std::string_view table) {
    return StoredTableName(table).has_value();
}

namespace {

// The fields of `table` from its table_info, with the rowid alias found.
std::vector<FieldInfo> ReadFields(sqlite3* db, const std::string& table, std::string& rowidAlias) {
    Statement info(db, "SELECT name, type, \"notnull\", dflt_value, pk FROM pragma_table_info(?)");
    sqlite3_bind_text(info.Get(), 1, table.c_str(), -1, SQLITE_TRANSIENT);
    std::vector<FieldInfo> fields;
    int keyColumns = 0;
    std::string keyColumn;
    std::string keyType;
    while (info.Step()) {
        FieldInfo field;
        field.name = Text(info.Get(), 0);
        const std::string declared = Text(info.Get(), 1);
        MapDeclaredType(declared, field);
        field.ordinalPosition = static_cast<std::int16_t>(fields.size());
        field.required = sqlite3_column_int(info.Get(), 2) != 0;
        field.defaultValue = Text(info.Get(), 3);
        if (utf8::ToLower(declared).find("identity") != std::string::npos)
            field.attributes |= dao::dbAutoIncrField;
        if (sqlite3_column_int(info.Get(), 4) > 0) {
            ++keyColumns;
            keyColumn = field.name;
            keyType = declared;
        }
        field.allowZeroLength = field.type == dao::dbText || field.type == dao::dbMemo;
        if (field.type != dao::dbText && field.type != dao::dbMemo)
            field.attributes |= dao::dbFixedField;
        else
            field.attributes |= dao::dbVariableField;
        fields.push_back(std::move(field));
    }
    // A lone INTEGER primary key is the row id: numbered by the engine.
    if (keyColumns == 1 && utf8::EqualsIgnoreCase(keyType, "INTEGER")) rowidAlias = keyColumn;
    for (FieldInfo& field : fields) {
        if (field.name == rowidAlias) field.attributes |= dao::dbAutoIncrField;
        if (field.attributes & dao::dbAutoIncrField) field.required = true;
    }
    return fields;
}

std::vector<IndexFieldInfo> ReadIndexFields(sqlite3* db, const std::string& index) {
    Statement info(db,
                   "SELECT name, \"desc\" FROM pragma_index_xinfo(?) WHERE key = 1 ORDER BY seqno");
    sqlite3_bind_text(info.Get(), 1, index.c_str(), -1, SQLITE_TRANSIENT);
    std::vector<IndexFieldInfo> fields;
    while (info.Step()) {
        fields.push_back(
            {Text(info.Get(), 0), sqlite3_column_int(info.Get(), 1) != 0 ? dao::dbDescending : 0});
    }
    return fields;
}

std::vector<IndexInfo> ReadIndexes(sqlite3* db, const std::string& table,
                                   const std::string& rowidAlias, const ConstraintNames& names) {
    std::vector<IndexInfo> indexes;
    if (!rowidAlias.empty()) {
        IndexInfo primary;
        primary.name = names.primaryKey.empty() ? "PK_" + table : names.primaryKey;
        primary.primary = primary.unique = primary.required = true;
        primary.fields.push_back({rowidAlias, 0});
        indexes.push_back(std::move(primary));
    }
    Statement list(db,
                   "SELECT name, \"unique\", origin FROM pragma_index_list(?) ORDER BY seq DESC");
    sqlite3_bind_text(list.Get(), 1, table.c_str(), -1, SQLITE_TRANSIENT);
    while (list.Step()) {
        IndexInfo index;
        const std::string stored = Text(list.Get(), 0);
        index.unique = sqlite3_column_int(list.Get(), 1) != 0;
        index.primary = Text(list.Get(), 2) == "pk";
        index.required = index.primary;
        index.name = SqliteDialect::IndexNameFromStored(table, stored);
        if (index.primary) index.name = names.primaryKey.empty() ? "PK_" + table : names.primaryKey;
        index.fields = ReadIndexFields(db, stored);
        indexes.push_back(std::move(index));
    }
    return indexes;
}

std::string CreateSql(sqlite3* db, const std::string& table) {
    Statement sql(db, "SELECT sql FROM sqlite_master WHERE type = 'table' AND name = ?");
    sqlite3_bind_text(sql.Get(), 1, table.c_str(), -1, SQLITE_TRANSIENT);
    return sql.Step() ? Text(sql.Get(), 0) : std::string();
}

}  // namespace

std::optional<TableInfo> SqliteServerConnection::ReadTable(std::string_view table) {
    const auto stored = StoredTableName(table);
    if (!stored) return std::nullopt;
    sqlite3* db = File().Db();
    TableInfo info;
    info.name = *stored;
    std::string rowidAlias;
    info.fields = ReadFields(db, info.name, rowidAlias);
    info.indexes =
        ReadIndexes(db, info.name, rowidAlias, ReadConstraintNames(CreateSql(db, info.name)));
    return info;
}

std::vector<RelationInfo> SqliteServerConnection::ReadRelations() {
    sqlite3* db = File().Db();
    std::vector<RelationInfo> relations;
    for (const std::string& child : TableNames()) {
        const ConstraintNames names = ReadConstraintNames(CreateSql(db, child));
        Statement list(db,
                       "SELECT id, \"table\", \"from\", \"to\", on_update, on_delete "
                       "FROM pragma_foreign_key_list(?) ORDER BY id DESC, seq");
        sqlite3_bind_text(list.Get(), 1, child.c_str(), -1, SQLITE_TRANSIENT);
        std::map<int, RelationInfo> byId;
        std::vector<int> order;
        while (list.Step()) {
            const int id = sqlite3_column_int(list.Get(), 0);
            RelationInfo& relation = byId[id];
            if (relation.foreignTable.empty()) {
                order.push_back(id);
                relation.foreignTable = child;
                relation.table = StoredTableName(Text(list.Get(), 1)).value_or(Text(list.Get(), 1));
                if (Text(list.Get(), 4) == "CASCADE")
                    relation.attributes |= dao::dbRelationUpdateCascade;
                if (Text(list.Get(), 5) == "CASCADE")
                    relation.attributes |= dao::dbRelationDeleteCascade;
            }
            relation.fields.push_back({Text(list.Get(), 3), Text(list.Get(), 2)});
        }
        int unnamed = 0;
        for (const int id : order) {
            RelationInfo& relation = byId[id];
            std::vector<std::string> columns;
            for (const auto& f : relation.fields) columns.push_back(f.foreignName);
            for (const auto& [keyColumns, name] : names.foreignKeys) {
                if (SameNames(keyColumns, columns)) relation.name = name;
            }
            if (relation.name.empty()) relation.name = child + "_FK" + std::to_string(++unnamed);
            // A key that names no parent columns refers to the parent's primary key.
            if (relation.fields.front().name.empty()) {
                const auto parent = ReadTable(relation.table);
                const IndexInfo* primary = nullptr;
                if (parent) {
                    for (const auto& index : parent->indexes) {
                        if (index.primary) primary = &index;
                    }
                }
                for (std::size_t i = 0;
                     primary && i < relation.fields.size() && i < primary->fields.size(); ++i) {
                    relation.fields[i].name = primary->fields[i].name;
                }
            }
            relations.push_back(std::move(relation));
        }
    }
    return relations;
}

void SqliteServerConnection::DropColumnDefault(std::string_view table, std::string_view column) {
    const auto stored = StoredTableName(table);
    if (!stored) throw Failure("no such table: " + std::string(table));
    sqlite3* db = File().Db();
    const std::string before = CreateSql(db, *stored);
    const std::string after = WithoutDefault(before, column);
    if (after == before) return;
    // A column default lives only in the schema text; changing that text
    // in place is the way SQLite documents for it, the rows stay as they are.
    Statement version(db, "PRAGMA schema_version");
    const std::int64_t next = version.Step() ? sqlite3_column_int64(version.Get(), 0) + 1 : 1;
    Execute("PRAGMA writable_schema = ON", {});
    try {
        Execute("UPDATE sqlite_master SET sql = ? WHERE type = 'table' AND name = ?",
                {Variant(after), Variant(*stored)});
        Execute("PRAGMA schema_version = " + std::to_string(next), {});
    } catch (...) {
        Execute("PRAGMA writable_schema = OFF", {});
        throw;
    }
    Execute("PRAGMA writable_schema = OFF", {});
}

std::string SqliteServerConnection::QuoteName(std::string_view name) const {
    std::string quoted = "\"";
    for (const char c : name) {
        quoted += c;
        if (c == '"') quoted += '"';
    }
    return quoted + "\"";
}

bool SqliteServerConnection::DatabaseExists(std::string_view name) {
    return std::filesystem::is_regular_file(DatabasePath(target_.server, name));
}

void SqliteServerConnection::CreateDatabase(std::string_view name) {
    if (IsFolderDatabase(name) || name.find_first_of("/\\") != std::string_view::npos) {
        throw Failure("'" + std::string(name) + "' cannot name a database.");
    }
    const std::string path = DatabasePath(target_.server, name);
    if (std::filesystem::exists(path))
        throw Failure("The database '" + std::string(name) + "' already exists.");
    sqlite3* db = nullptr;
    const int rc =
        sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    // The file exists once something is written: the schema header.
    const int written = rc == SQLITE_OK
                            ? sqlite3_exec(db, "PRAGMA user_version = 1", nullptr, nullptr, nullptr)
                            : rc;
    const std::string message = db ? sqlite3_errmsg(db) : "out of memory";
    sqlite3_close_v2(db);
    if (written != SQLITE_OK)
        throw Failure("Cannot create the database file '" + path + "': " + message);
}

void SqliteServerConnection::Close() noexcept {
    if (!file_) return;
    // A transaction that its connection leaves open is rolled back.
    if (file_->transactionOwner == this) {
        file_->transactionOwner = nullptr;
        if (!sqlite3_get_autocommit(file_->Db()))
            sqlite3_exec(file_->Db(), "ROLLBACK", nullptr, nullptr, nullptr);
    }
    file_.reset();
}

}  // namespace vorn
