#include "dbcontract/mariadb/MariaDbConnection.h"

#include <algorithm>

#include "dbcontract/DaoConstants.h"
#include "dbcontract/SqlServerRewriter.h"
#include "dbcontract/mariadb/MariaDbDialect.h"
#include "dbcontract/mariadb/MariaDbRunDatabase.h"
#include "dbcontract/mariadb/MariaDbSqlText.h"
#include "dbcontract/mariadb/MariaDbStatement.h"
#include "runtime/Utf8.h"

namespace vorn {

namespace {

constexpr const char* kSource = "vOrnDAL.MariaDB";

// The rows of a query, held on the client.
class MariaDbCursor final : public ServerCursor {
public:
    explicit MariaDbCursor(std::unique_ptr<MariaDbStatement> statement) : statement_(std::move(statement)) {
        for (const MariaDbColumn& column : statement_->Columns()) {
            FieldInfo field;
            field.name = column.name;
            field.type = column.daoType;
            field.size = column.size;
            field.required = column.notNull;
            if (column.autoIncrement) field.attributes |= dao::dbAutoIncrField;
            field.ordinalPosition = static_cast<std::int16_t>(columns_.size());
            field.sourceTable = column.orgTable;
            field.sourceField = column.orgName;
            columns_.push_back(std::move(field));
        }
    }
    const std::vector<FieldInfo>& Columns() const override { return columns_; }
    bool Next(std::vector<Variant>& row) override { return statement_->Fetch(row); }

private:
    std::unique_ptr<MariaDbStatement> statement_;
    std::vector<FieldInfo> columns_;
};

bool IsDdl(MariaDbStatementKind kind) {
    return kind == MariaDbStatementKind::CreateTable || kind == MariaDbStatementKind::CreateView ||
           kind == MariaDbStatementKind::CreateIndex || kind == MariaDbStatementKind::AlterTable ||
           kind == MariaDbStatementKind::OtherDdl;
}

std::string Excerpt(std::string_view sql) {
    constexpr std::size_t kLength = 120;
    return sql.size() <= kLength ? std::string(sql) : std::string(sql.substr(0, kLength)) + "...";
}

std::size_t PositionOf(const std::vector<std::string>& names, std::string_view name) {
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (utf8::CompareIgnoreCase(names[i], name) == 0) return i;
    }
    return names.size();
}

bool Contains(const std::vector<std::string>& names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

// The key that finds a row again: the primary key, else a unique index of
// required fields; empty when the table has neither.
std::vector<std::string> RowKeyOf(const TableInfo& table) {
    const auto required = [&](const std::string& name) {
        return std::any_of(table.fields.begin(), table.fields.end(),
                           [&](const FieldInfo& f) { return f.name == name && f.required; });
    };
    for (const bool wantPrimary : {true, false}) {
        for (const IndexInfo& index : table.indexes) {
            if (index.primary != wantPrimary || !index.unique) continue;
            std::vector<std::string> columns;
            for (const IndexFieldInfo& field : index.fields) columns.push_back(field.name);
            if (std::all_of(columns.begin(), columns.end(), required)) return columns;
        }
    }
    return {};
}

std::string CounterOf(const TableInfo& table) {
    for (const FieldInfo& field : table.fields) {
        if ((field.attributes & dao::dbAutoIncrField) != 0) return field.name;
    }
    return {};
}

}  // namespace

std::unique_ptr<ServerConnection> OpenMariaDbConnection(const ServerTarget& target) {
    return std::make_unique<MariaDbConnection>(target);
}

MariaDbConnection::MariaDbConnection(const ServerTarget& target, const MariaDbTimeouts& timeouts)
    : target_(target),
      handle_(MariaDbHandle::Connect(target, timeouts)),
      attachedToSystem_(MariaDbRunDatabase::IsSystemDatabase(target.database)),
      currentDatabase_(target.database) {
    catalog_.emplace(*handle_);
    MariaDbRunDatabase::Set(target_, target_.database);
}

MariaDbConnection::~MariaDbConnection() {
    Close();
}

MariaDbHandle& MariaDbConnection::Handle() {
    if (!handle_) throw ServerFailure(kSource, "The connection to " + target_.Describe() + " is closed");
    return *handle_;
}

// A connection attached to the system database works in the run's database.
void MariaDbConnection::EnsureDatabase() {
    Handle();
    if (!attachedToSystem_) return;
    const std::optional<std::string> run = MariaDbRunDatabase::Find(target_);
    if (!run || *run == currentDatabase_) return;
    if (!handle_->Use(*run)) {
        // Dropped since it was named: the run has no database of its own
        // until it names another, and the connection stays where it is.
        MariaDbRunDatabase::Forget(target_, *run);
        return;
    }
    currentDatabase_ = *run;
    ForgetDesign();
}

void MariaDbConnection::ForgetDesign() {
    tableNames_.reset();
    tables_.clear();
    preparedSql_.clear();
    preparedText_.clear();
}

std::string MariaDbConnection::Prepare(std::string_view sql) {
    EnsureDatabase();
    if (!preparedSql_.empty() && preparedSql_ == sql) return preparedText_;
    MariaDbDialect dialect(*this);
    std::string text = SqlServerRewriter(dialect).Rewrite(sql);
    // Only a change of rows is kept: a definition may depend on the rows
    // there, which change without the design.
    if (SqlServerRewriter::IsRowStatement(sql)) {
        preparedSql_ = std::string(sql);
        preparedText_ = text;
    }
    return text;
}

std::string MariaDbConnection::PrepareCondition(std::string_view condition) {
    EnsureDatabase();
    MariaDbDialect dialect(*this);
    return SqlServerRewriter(dialect).RewriteCondition(condition);
}

std::string MariaDbConnection::PrepareOrderList(std::string_view list) {
    EnsureDatabase();
    MariaDbDialect dialect(*this);
    return SqlServerRewriter(dialect).RewriteOrderList(list);
}

std::optional<std::string> MariaDbConnection::StoredTableName(std::string_view table) {
    EnsureDatabase();
    const std::string key = utf8::ToLower(table);
    // Another connection may have made the table since the names were read.
    if (tableNames_ && tableNames_->find(key) == tableNames_->end()) tableNames_.reset();
    if (!tableNames_) {
        tableNames_.emplace();
        for (std::string& name : catalog_->TableNames()) (*tableNames_)[utf8::ToLower(name)] = std::move(name);
        // Views are reached by name too.
        MariaDbStatement views(*handle_,
                               "SELECT TABLE_NAME FROM information_schema.VIEWS WHERE TABLE_SCHEMA = DATABASE()");
        views.Execute();
        std::vector<Variant> row;
        while (views.Fetch(row)) (*tableNames_)[utf8::ToLower(row[0].AsText())] = row[0].AsText();
    }
    const auto found = tableNames_->find(key);
    if (found == tableNames_->end()) return std::nullopt;
    return found->second;
}

std::string MariaDbConnection::Resolve(std::string_view sql) {
    return MariaDbSqlText(sql).WithStoredNames(
        [this](const std::string& name) { return StoredTableName(name); });
}

// Sends one statement: the text protocol when it has no values (every
// statement the server knows runs that way), else a prepared statement.
std::int64_t MariaDbConnection::Run(const std::string& sql, const std::vector<Variant>& params,
                                    std::uint64_t* insertId) {
    if (params.empty()) {
        const std::uint64_t affected = Handle().Run(sql);
        if (insertId != nullptr) *insertId = Handle().InsertId();
        return static_cast<std::int64_t>(affected);
    }
    MariaDbStatement statement(Handle(), sql);
    const std::uint64_t affected = statement.Execute(params);
    if (insertId != nullptr) *insertId = statement.InsertId();
    return static_cast<std::int64_t>(affected);
}

ServerConnection::JetQuery MariaDbConnection::PrepareJetQuery(std::string_view source, bool isTable,
                                                              std::string_view filter, std::string_view sort,
                                                              bool passThrough) {
    EnsureDatabase();
    MariaDbDialect dialect(*this);
    SqlServerRewriter rewriter(dialect);
    if (!passThrough || isTable) return {rewriter.RewriteJetRows(source, isTable, filter, sort), {}};
    std::string sql = rewriter.Rewrite(source);
    if (filter.empty() && sort.empty()) return {sql, {}};
    sql = "SELECT * FROM (" + sql + ") AS " + QuoteName("filtered");
    if (!filter.empty()) sql += " WHERE " + rewriter.RewriteJetCondition(filter);
    if (!sort.empty()) sql += " ORDER BY " + rewriter.RewriteJetOrderList(sort);
    return {sql, {}};
}

std::string MariaDbConnection::PrepareJetChange(std::string_view sql) {
    EnsureDatabase();
    MariaDbDialect dialect(*this);
    std::string text = SqlServerRewriter(dialect).RewriteJet(sql);
    if (MariaDbSqlText(text).Kind() == MariaDbStatementKind::Other && utf8::ToUpper(text.substr(0, 6)) == "SELECT") {
        throw VornError(3065, "DAO.Database", "Cannot execute a select query.");
    }
    return text;
}

std::int64_t MariaDbConnection::Execute(std::string_view sql, const std::vector<Variant>& params) {
    if (sql.find(';') == std::string_view::npos) return ExecuteOne(sql, params);
    std::vector<SqlToken> tokens;
    try {
        tokens = SqlTokenizer(SqlTokenizerOptions::SqlServer()).Tokenize(sql);
    } catch (const VornError&) {
        return ExecuteOne(sql, params);  // the server will say what is wrong with it
    }
    std::int64_t affected = 0;
    std::size_t start = 0;
    std::size_t next = 0;  // the first marker of the statement
    std::size_t markers = 0;
    for (const SqlToken& token : tokens) {
        if (token.kind == SqlTokenKind::Parameter) ++markers;
        if (!token.IsSymbol(";") && token.kind != SqlTokenKind::End) continue;
        const std::string_view piece = utf8::Trim(sql.substr(start, token.offset - start));
        if (!piece.empty()) {
            const auto first = params.begin() + static_cast<std::ptrdiff_t>(std::min(next, params.size()));
            const auto last = params.begin() + static_cast<std::ptrdiff_t>(std::min(markers, params.size()));
            affected += ExecuteOne(piece, std::vector<Variant>(first, last));
        }
        next = markers;
        start = token.offset + token.text.size();
    }
    return affected;
}

std::int64_t MariaDbConnection::ExecuteOne(std::string_view sql, const std::vector<Variant>& params) {
    if (utf8::Trim(sql).empty()) return 0;
    EnsureDatabase();
    const MariaDbSqlText text(Resolve(sql));
    if (inTransaction_) return RunInTransaction(text, params);
    const std::int64_t affected = Run(text.Text(), params);
    if (IsDdl(text.Kind())) ForgetDesign();
    return affected;
}

std::int64_t MariaDbConnection::ExecuteNamed(std::string_view sql, const std::vector<NamedValue>& params) {
    std::vector<Variant> ordered;
    const std::string positional = MariaDbSqlText(sql).WithPositionalMarkers(params, ordered);
    return Execute(positional, ordered);
}

std::unique_ptr<ServerCursor> MariaDbConnection::Query(std::string_view sql, const std::vector<Variant>& params) {
    EnsureDatabase();
    auto statement = std::make_unique<MariaDbStatement>(Handle(), Resolve(sql));
    statement->Execute(params);
    return std::make_unique<MariaDbCursor>(std::move(statement));
}

std::int64_t MariaDbConnection::LastInsertId() {
    MariaDbStatement statement(Handle(), "SELECT LAST_INSERT_ID()");
    statement.Execute();
    std::vector<Variant> row;
    if (!statement.Fetch(row) || row[0].IsNull()) return 0;
    return static_cast<std::int64_t>(row[0].NumberValue());
}

// One statement inside a transaction, with what it makes written down.
std::int64_t MariaDbConnection::RunInTransaction(const MariaDbSqlText& text, const std::vector<Variant>& params) {
    const MariaDbStatementKind kind = text.Kind();
    if (!IsDdl(kind)) return RunWrite(text, params);
    journal_.ImplicitCommit();
    try {
        const std::int64_t affected = RunDdl(text, params);
        Handle().Run("START TRANSACTION");
        return affected;
    } catch (const VornError&) {
        // A DDL statement commits before it runs, even when it then fails;
        // after the commit the session is out of its transaction.
        Handle().Run("START TRANSACTION");
        throw;
    }
}

std::int64_t MariaDbConnection::RunDdl(const MariaDbSqlText& text, const std::vector<Variant>& params) {
    switch (text.Kind()) {
        case MariaDbStatementKind::CreateTable: {
            const bool existed = TableExists(text.SubjectTable());
            const std::int64_t affected = Run(text.Text(), params);
            ForgetDesign();
            if (!existed) journal_.TableCreated(StoredTableName(text.SubjectTable()).value_or(text.SubjectTable()));
            return affected;
        }
        case MariaDbStatementKind::CreateView: {
            const std::int64_t affected = Run(text.Text(), params);
            ForgetDesign();
            journal_.ViewCreated(text.SubjectTable());
            return affected;
        }
        case MariaDbStatementKind::CreateIndex:
        case MariaDbStatementKind::AlterTable: return RunAlter(text, params);
        default: {
            const std::int64_t affected = Run(text.Text(), params);
            ForgetDesign();
            journal_.Unrecorded("cannot undo: " + Excerpt(text.Text()));
            journal_.ImplicitCommit();
            return affected;
        }
    }
}

// INSERT, UPDATE, DELETE inside a transaction: the server undoes them unless
// a DDL statement commits them first; inserts are written down for that case.
std::int64_t MariaDbConnection::RunWrite(const MariaDbSqlText& text, const std::vector<Variant>& params) {
    if (text.Kind() == MariaDbStatementKind::Insert) {
        std::uint64_t insertId = 0;
        const std::int64_t affected = Run(text.Text(), params, &insertId);
        JournalInsert(text, params, affected, insertId);
        return affected;
    }
    const std::int64_t affected = Run(text.Text(), params);
    if (affected > 0) journal_.Unrecorded("cannot undo after a later change of design: " + Excerpt(text.Text()));
    return affected;
}

MariaDbConnection::Shape MariaDbConnection::ShapeOf(const std::string& table) {
    Shape shape;
    if (const std::optional<TableInfo> info = catalog_->ReadTable(table)) {
        for (const FieldInfo& field : info->fields) shape.fields.push_back(field.name);
        for (const IndexInfo& index : info->indexes) shape.indexes.push_back(index.name);
    }
    shape.foreignKeys = catalog_->ForeignKeyNames(table);
    return shape;
}

// CREATE INDEX and ALTER TABLE: what the table gained is dropped again on
// Rollback; what it lost cannot be brought back.
std::int64_t MariaDbConnection::RunAlter(const MariaDbSqlText& text, const std::vector<Variant>& params) {
    const std::string table = StoredTableName(text.SubjectTable()).value_or(text.SubjectTable());
    if (journal_.Made(table)) {
        const std::int64_t affected = Run(text.Text(), params);
        ForgetDesign();
        return affected;
    }
    const Shape before = ShapeOf(table);
    const std::int64_t affected = Run(text.Text(), params);
    ForgetDesign();
    const Shape after = ShapeOf(table);
    // Indexes first: undone newest first, a foreign key is dropped before
    // the index the server made for it.
    for (const std::string& index : after.indexes) {
        if (!Contains(before.indexes, index)) journal_.IndexCreated(table, index);
    }
    for (const std::string& key : after.foreignKeys) {
        if (!Contains(before.foreignKeys, key)) journal_.ForeignKeyCreated(table, key);
    }
    for (const std::string& field : after.fields) {
        if (!Contains(before.fields, field)) journal_.ColumnAdded(table, field);
    }
    const bool lost = std::any_of(before.fields.begin(), before.fields.end(),
                                  [&](const std::string& f) { return !Contains(after.fields, f); }) ||
                      std::any_of(before.indexes.begin(), before.indexes.end(),
                                  [&](const std::string& i) { return !Contains(after.indexes, i); });
    if (lost) {
        journal_.Unrecorded("cannot undo: " + Excerpt(text.Text()));
        journal_.ImplicitCommit();
    }
    return affected;
}

const TableInfo* MariaDbConnection::CachedTable(const std::string& table) {
    auto found = tables_.find(table);
    if (found == tables_.end()) {
        std::optional<TableInfo> info = catalog_->ReadTable(table);
        if (!info) return nullptr;
        found = tables_.emplace(table, std::move(*info)).first;
    }
    return &found->second;
}

// Writes down how to find the inserted rows again: by the counter's values
// when the server numbered them, else by the key the statement gave.
void MariaDbConnection::JournalInsert(const MariaDbSqlText& text, const std::vector<Variant>& params,
                                      std::int64_t affected, std::uint64_t insertId) {
    const std::string table = StoredTableName(text.SubjectTable()).value_or(text.SubjectTable());
    if (affected <= 0 || journal_.Made(table)) return;
    const TableInfo* info = CachedTable(table);
    const std::optional<MariaDbInsertShape> shape = text.Insert(params);
    if (info == nullptr || !shape) return journal_.Unrecorded("cannot undo: " + Excerpt(text.Text()));

    std::vector<std::string> columns = shape->columns;
    if (columns.empty()) {
        for (const FieldInfo& field : info->fields) columns.push_back(field.name);
    }
    const std::string counter = CounterOf(*info);
    std::vector<std::string> key = RowKeyOf(*info);
    const bool wholeRow = key.empty();
    if (wholeRow) key = columns;

    // Rows the server numbered: the counter was not given in any row.
    const std::size_t counterAt = counter.empty() ? columns.size() : PositionOf(columns, counter);
    const bool numbered =
        !counter.empty() && key == std::vector<std::string>{counter} &&
        (shape->rows.empty() ? counterAt == columns.size()
                             : std::all_of(shape->rows.begin(), shape->rows.end(), [&](const auto& row) {
                                   return counterAt >= row.size() ||
                                          row[counterAt].form != MariaDbInsertValue::Form::Given;
                               }));
    if (numbered && insertId != 0) {
        journal_.RowsNumbered(table, counter, static_cast<std::int64_t>(insertId), affected);
        return;
    }
    for (const auto& row : shape->rows) {
        std::vector<Variant> values;
        for (const std::string& column : key) {
            const std::size_t at = PositionOf(columns, column);
            const bool known = at < row.size() && (row[at].form == MariaDbInsertValue::Form::Given ||
                                                   (wholeRow && row[at].form == MariaDbInsertValue::Form::Null));
            if (!known) return journal_.Unrecorded("cannot undo: " + Excerpt(text.Text()));
            values.push_back(row[at].form == MariaDbInsertValue::Form::Given ? row[at].value : Variant::Null());
        }
        journal_.RowInserted(table, key, std::move(values), wholeRow);
    }
    if (shape->rows.empty()) journal_.Unrecorded("cannot undo: " + Excerpt(text.Text()));
}

void MariaDbConnection::BeginTransaction() {
    if (inTransaction_) throw ServerFailure(kSource, "A transaction is already open on " + target_.Describe());
    EnsureDatabase();
    Handle().Run("START TRANSACTION");
    journal_.Start();
    inTransaction_ = true;
}

void MariaDbConnection::Commit() {
    if (!inTransaction_) throw ServerFailure(kSource, "No transaction is open on " + target_.Describe());
    inTransaction_ = false;
    journal_.Clear();
    Handle().Run("COMMIT");
}

// The server's ROLLBACK, then the journal's steps, newest first. Steps that
// fail do not stop the others; what could not be undone is reported after.
void MariaDbConnection::Rollback() {
    if (!inTransaction_) throw ServerFailure(kSource, "No transaction is open on " + target_.Describe());
    inTransaction_ = false;
    MariaDbRollbackJournal journal = std::move(journal_);
    journal_.Clear();
    Handle().Run("ROLLBACK");
    std::vector<std::string> problems = journal.Losses();
    // The undo removes parents and children in the order they were made;
    // the checks would only stand in the way of doing that.
    Handle().Run("SET SESSION foreign_key_checks = 0");
    for (const MariaDbRollbackJournal::Step& step : journal.UndoSteps()) {
        try {
            Run(step.sql, step.params);
        } catch (const VornError& failure) {
            problems.push_back(step.sql + ": " + failure.Description());
        }
    }
    Handle().Run("SET SESSION foreign_key_checks = 1");
    ForgetDesign();
    if (problems.empty()) return;
    std::string message = "The rollback could not undo everything:";
    for (const std::string& problem : problems) message += "\n" + problem;
    throw ServerFailure(kSource, message);
}

std::vector<std::string> MariaDbConnection::TableNames() {
    EnsureDatabase();
    return catalog_->TableNames();
}

bool MariaDbConnection::TableExists(std::string_view table) {
    const std::optional<std::string> stored = StoredTableName(table);
    return stored && Contains(catalog_->TableNames(), *stored);
}

std::optional<TableInfo> MariaDbConnection::ReadTable(std::string_view table) {
    const std::optional<std::string> stored = StoredTableName(table);
    if (!stored) return std::nullopt;
    return catalog_->ReadTable(*stored);
}

std::vector<RelationInfo> MariaDbConnection::ReadRelations() {
    EnsureDatabase();
    return catalog_->ReadRelations();
}

void MariaDbConnection::DropColumnDefault(std::string_view table, std::string_view column) {
    Execute("ALTER TABLE " + QuoteName(table) + " ALTER COLUMN " + QuoteName(column) + " DROP DEFAULT");
}

std::string MariaDbConnection::QuoteName(std::string_view name) const {
    return MariaDbSqlText::QuoteName(name);
}

bool MariaDbConnection::DatabaseExists(std::string_view name) {
    const std::optional<std::string> stored = catalog_->FindDatabase(name);
    if (stored) MariaDbRunDatabase::Set(target_, *stored);
    return stored.has_value();
}

void MariaDbConnection::CreateDatabase(std::string_view name) {
    // Text compares ignoring case, as on the servers the statements were written for.
    Handle().Run("CREATE DATABASE " + QuoteName(name) + " CHARACTER SET utf8mb4 COLLATE utf8mb4_general_ci");
    MariaDbRunDatabase::Set(target_, name);
}

void MariaDbConnection::Close() noexcept {
    // An open transaction ends with the connection, and what the server's
    // commits before DDL statements kept is undone with it.
    if (handle_ && inTransaction_) {
        try {
            Rollback();
        } catch (...) {  // NOLINT(bugprone-empty-catch): closing cannot report
        }
    }
    inTransaction_ = false;
    catalog_.reset();
    handle_.reset();
}

}  // namespace vorn
