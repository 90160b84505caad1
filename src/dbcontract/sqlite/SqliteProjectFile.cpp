#include "dbcontract/sqlite/SqliteProjectFile.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>

#include "dbcontract/DaoConstants.h"
#include "dbcontract/sqlite/JetSqlTranslator.h"
#include "dbcontract/sqlite/LdbLock.h"
#include "dbcontract/sqlite/SqliteAttachments.h"
#include "dbcontract/sqlite/SqliteCatalog.h"
#include "dbcontract/sqlite/SqliteCatalogView.h"
#include "dbcontract/sqlite/SqliteErrors.h"
#include "dbcontract/sqlite/SqliteFunctions.h"
#include "dbcontract/sqlite/SqliteHandle.h"
#include "dbcontract/sqlite/SqliteRowOpener.h"
#include "dbcontract/sqlite/SqliteSavepoint.h"
#include "dbcontract/sqlite/SqliteSchemaEditor.h"
#include "dbcontract/sqlite/SqliteStatement.h"
#include "runtime/ErrorNumbers.h"

namespace vorn {
namespace {

namespace fs = std::filesystem;

constexpr char kSqliteHeader[] = "SQLite format 3";  // and its terminating zero

VornError FileNotFound(const std::string& path) {
    return SqliteErrors::Jet(errnum::kJetFileNotFound, "Could not find file '" + path + "'.");
}

VornError NotAProjectFile(const std::string& path) {
    return SqliteErrors::Jet(errnum::kJetUnrecognizedFormat,
                             "Unrecognized database format '" + path + "'.");
}

VornError DatabaseExists(const std::string& path) {
    return SqliteErrors::Jet(errnum::kJetDatabaseExists, "Database '" + path + "' already exists.");
}

bool HasSqliteHeader(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    char header[sizeof kSqliteHeader] = {};
    in.read(header, sizeof header);
    return in.gcount() == sizeof header && std::memcmp(header, kSqliteHeader, sizeof header) == 0;
}

// What the SQLite side of a statement given to Execute may do: change rows
// of project tables. The design changes through the schema editor only
// (the translator hands schema statements over as operations), so that the
// catalog stays true, and the catalog tables are not written by SQL.
int GuardExecute(void* refused, int action, const char* first, const char*, const char*,
                 const char*) {
    auto& reason = *static_cast<std::string*>(refused);
    switch (action) {
        case SQLITE_INSERT:
        case SQLITE_UPDATE:
        case SQLITE_DELETE:
            if (first != nullptr &&
                (SqliteCatalog::IsCatalogTable(first) || std::strncmp(first, "sqlite_", 7) == 0)) {
                reason = std::string("the system table '") + first + "' cannot be written";
                return SQLITE_DENY;
            }
            return SQLITE_OK;
        case SQLITE_READ:
        case SQLITE_SELECT:
        case SQLITE_FUNCTION:
        case SQLITE_RECURSIVE:
            return SQLITE_OK;
        default:
            reason = "the statement would change the design behind the catalog's back";
            return SQLITE_DENY;
    }
}

// A statement of Execute, prepared under the guard above.
SqliteStatement PrepareGuarded(sqlite3* db, std::string_view sql) {
    std::string refused;
    sqlite3_set_authorizer(db, GuardExecute, &refused);
    try {
        SqliteStatement statement(db, sql);
        sqlite3_set_authorizer(db, nullptr, nullptr);
        return statement;
    } catch (const VornError&) {
        sqlite3_set_authorizer(db, nullptr, nullptr);
        if (refused.empty()) throw;
        throw SqliteErrors::Jet(errnum::kJetOperationNotSupported,
                                "Operation is not supported: " + refused + ".");
    }
}

// 3061, as Jet refuses a statement whose parameters have no values.
void RefuseParameters(const JetTranslation& translation) {
    if (translation.parameters.empty()) return;
    throw SqliteErrors::Jet(errnum::kJetTableNotFound,
                            "Too few parameters. Expected " +
                                std::to_string(translation.parameters.size()) + ".");
}

// Detaches the files a statement named by IN '<file>' once it is done,
// whether it worked or failed.
class StatementFiles {
public:
    explicit StatementFiles(SqliteAttachments& attachments) : attachments_(attachments) {}
    ~StatementFiles() { attachments_.ReleaseStatementFiles(); }
    StatementFiles(const StatementFiles&) = delete;
    StatementFiles& operator=(const StatementFiles&) = delete;

private:
    SqliteAttachments& attachments_;
};

std::string WithoutBrackets(std::string_view name) {
    if (name.size() >= 2 && name.front() == '[' && name.back() == ']') {
        return std::string(name.substr(1, name.size() - 2));
    }
    return std::string(name);
}

}  // namespace

SqliteProjectFile::SqliteProjectFile(std::string path, bool readOnly)
    : path_(std::move(path)), readOnly_(readOnly) {}

SqliteProjectFile::~SqliteProjectFile() { Close(); }

// ---- Opening, making, compacting ------------------------------------------------

bool SqliteProjectFile::LooksLikeProjectFile(const std::string& path) {
    std::error_code error;
    if (!fs::is_regular_file(path, error) || !HasSqliteHeader(path)) return false;
    try {
        // Read-write where the file allows it: the journal of a process that
        // died while writing must be rolled back before anyone can read, and
        // only a writer can do that.
        const bool writable = ::access(path.c_str(), W_OK) == 0;
        const SqliteHandle db(path, writable ? SQLITE_OPEN_READWRITE : SQLITE_OPEN_READONLY);
        return SqliteCatalog(db).Present();
    } catch (const VornError& failure) {
        // A file another process is writing cannot be looked into now; that
        // is no answer to what it is.
        if (failure.Number() == errnum::kJetCouldNotUpdateLocked) throw;
        return false;
    }
}

std::unique_ptr<SqliteProjectFile> SqliteProjectFile::Open(const std::string& path, bool readOnly) {
    std::error_code error;
    if (!fs::exists(path, error)) throw FileNotFound(path);
    if (!LooksLikeProjectFile(path)) throw NotAProjectFile(path);
    const auto absolute = fs::absolute(path).lexically_normal().string();
    std::unique_ptr<SqliteProjectFile> file(new SqliteProjectFile(absolute, readOnly));
    try {
        file->lock_ = std::make_unique<LdbLock>(absolute);
    } catch (const VornError&) {
        // A file on read-only media can still be read, unlocked.
        if (!readOnly) throw;
    }
    file->OpenConnection();
    return file;
}

void SqliteProjectFile::OpenConnection() {
    const int flags = (readOnly_ ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE) | SQLITE_OPEN_URI;
    db_ = std::make_unique<SqliteHandle>(path_, flags);
    // Renames must not rewrite the saved queries' views (the data engine did
    // not either), and temporary objects stay in memory so that a file
    // opened read only gets no companion files.
    db_->Exec(
        "PRAGMA legacy_alter_table = ON; PRAGMA temp_store = MEMORY; "
        "PRAGMA foreign_keys = OFF");
    // The translated statements call them; the collations came with db_.
    SqliteFunctions::Register(db_->Get());
    const SqliteCatalog catalog(*db_);
    const auto version = catalog.Info("FormatVersion");
    if (!version.empty() && version != SqliteCatalog::kFormatVersion) {
        throw SqliteErrors::Jet(errnum::kJetUnrecognizedFormat,
                                "'" + path_ + "' has format version " + version +
                                    ", which this program does not know.");
    }
    attachments_ = std::make_unique<SqliteAttachments>(*db_, readOnly_);
    editor_ = std::make_unique<SqliteSchemaEditor>(*db_, *attachments_);
    rows_ = std::make_unique<SqliteRowOpener>(*db_, *attachments_, editor_->Catalog());
    view_ = std::make_unique<SqliteCatalogView>(editor_->Catalog(), *rows_);
    translator_ = std::make_unique<JetSqlTranslator>(*view_);
    ShowAttachedTablesAndQueries();
}

void SqliteProjectFile::ShowAttachedTablesAndQueries() {
    for (const auto& table : editor_->Catalog().ReadTables()) {
        if (!table.connect.empty()) attachments_->Show(table);
    }
    for (const auto& query : editor_->Catalog().ReadQueries()) {
        editor_->ShowQuery(query, ViewSql(query).shown);
    }
}

std::unique_ptr<SqliteProjectFile> SqliteProjectFile::Create(const std::string& path,
                                                             std::string_view localeText) {
    MakeFile(path, localeText, true);
    return Open(path, false);
}

std::unique_ptr<SqliteProjectFile> SqliteProjectFile::CreateScratch(const std::string& path,
                                                                    std::string_view localeText) {
    MakeFile(path, localeText, false);
    auto file = Open(path, false);
    file->WriteAsScratch();
    return file;
}

void SqliteProjectFile::MakeFile(const std::string& path, std::string_view localeText, bool synced) {
    std::error_code error;
    if (fs::exists(path, error)) throw DatabaseExists(path);
    const auto folder = fs::absolute(path).parent_path();
    if (!fs::is_directory(folder, error)) {
        throw SqliteErrors::Jet(errnum::kJetNotValidPath, "'" + path + "' is not a valid path.");
    }
    try {
        const SqliteHandle db(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
        if (!synced) db.Exec("PRAGMA journal_mode = MEMORY; PRAGMA synchronous = OFF");
        db.Exec("BEGIN");
        SqliteCatalog(db).Create(localeText);
        db.Exec("COMMIT");
    } catch (const VornError&) {
        fs::remove(path, error);
        throw;
    }
}

void SqliteProjectFile::WriteAsScratch() {
    CheckOpen();
    db_->Exec("PRAGMA journal_mode = MEMORY; PRAGMA synchronous = OFF");
    db_->KeepDesigns(true);
}

void SqliteProjectFile::SyncToDisk(const std::string& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    const bool synced = fd >= 0 && ::fsync(fd) == 0;
    if (fd >= 0) ::close(fd);
    if (!synced) {
        throw SqliteErrors::Jet(errnum::kJetDiskOrNetworkError, "The file '" + path + "' could not be written to the disk.");
    }
}

void SqliteProjectFile::Compact(const std::string& source, const std::string& destination) {
    std::error_code error;
    if (!fs::exists(source, error)) throw FileNotFound(source);
    if (!LooksLikeProjectFile(source)) throw NotAProjectFile(source);
    if (fs::exists(destination, error)) throw DatabaseExists(destination);
    const SqliteHandle db(source, SQLITE_OPEN_READONLY);
    SqliteStatement vacuum(db.Get(), "VACUUM INTO ?1");
    vacuum.BindText(1, destination).Run();
}

void SqliteProjectFile::Close() {
    if (!db_) return;
    translator_.reset();
    view_.reset();
    rows_.reset();
    editor_.reset();
    attachments_->Close();
    attachments_.reset();
    db_->Close();
    db_.reset();
    lock_.reset();
    transactionDepth_ = 0;
}

// ---- SQL ----------------------------------------------------------------------

// How the translator names other project files: a file that one statement
// names by IN '<file>' is attached for that statement only; the files of
// rows and views stay attached while they may be read.
JetTranslateOptions SqliteProjectFile::TranslateOptions(bool forStatement) const {
    JetTranslateOptions options;
    SqliteAttachments* attachments = attachments_.get();
    if (forStatement) {
        options.schemaOf = [attachments](const std::string& file) {
            return attachments->AttachForStatement(file);
        };
    } else {
        options.schemaOf = [attachments](const std::string& file) {
            return attachments->Attach(file);
        };
    }
    return options;
}

// A saved query's view: its SELECT in SQLite's dialect; "" for an action
// query, one with parameters, or one the translator refuses. The view
// `stored` in the file cannot reach other files: "" for a query that does.
SqliteProjectFile::Views SqliteProjectFile::ViewSql(const QueryInfo& query) const {
    try {
        const auto translation = translator_->Translate(query.sql, TranslateOptions(false));
        if (translation.kind != JetStatementKind::Query || !translation.parameters.empty()) return {};
        // A view stored in the file cannot reach another file.
        return {translation.attachments.empty() ? translation.sql : std::string(), translation.sql};
    } catch (const VornError&) {
        return {};
    }
}

// ---- Design -------------------------------------------------------------------

void SqliteProjectFile::CheckOpen() const {
    if (!db_)
        throw SqliteErrors::Jet(errnum::kJetObjectInvalid, "Object invalid or no longer set.");
}

template <class Work>
void SqliteProjectFile::Change(Work&& work) {
    CheckOpen();
    if (readOnly_) throw SqliteErrors::ReadOnly(path_);
    SqliteSavepoint savepoint(*db_, "vorn_change");
    work();
    savepoint.Release();
}

std::vector<TableInfo> SqliteProjectFile::ReadTables() {
    CheckOpen();
    auto tables = editor_->Catalog().ReadTables();
    for (auto& system : editor_->Catalog().ReadSystemTables()) tables.push_back(std::move(system));
    return tables;
}

std::vector<RelationInfo> SqliteProjectFile::ReadRelations() {
    CheckOpen();
    return editor_->Catalog().ReadRelations();
}

std::vector<QueryInfo> SqliteProjectFile::ReadQueries() {
    CheckOpen();
    return editor_->Catalog().ReadQueries();
}

std::vector<PropertyInfo> SqliteProjectFile::ReadProperties(const PropertyOwnerKey& owner) {
    CheckOpen();
    return editor_->Catalog().ReadProperties(editor_->ResolveOwner(owner));
}

void SqliteProjectFile::CreateTable(const TableInfo& table) {
    Change([&] { editor_->CreateTable(table); });
}

void SqliteProjectFile::DropTable(std::string_view table) {
    Change([&] { editor_->DropTable(table); });
}

void SqliteProjectFile::RenameTable(std::string_view table, std::string_view newName) {
    Change([&] { editor_->RenameTable(table, newName); });
}

void SqliteProjectFile::AddField(std::string_view table, const FieldInfo& field) {
    Change([&] { editor_->AddField(table, field); });
}

void SqliteProjectFile::DropField(std::string_view table, std::string_view field) {
    Change([&] { editor_->DropField(table, field); });
}

void SqliteProjectFile::AlterField(std::string_view table, std::string_view field,
                                   const FieldInfo& changed) {
    Change([&] { editor_->AlterField(table, field, changed); });
}

void SqliteProjectFile::CreateIndex(std::string_view table, const IndexInfo& index) {
    Change([&] { editor_->CreateIndex(table, index); });
}

void SqliteProjectFile::DropIndex(std::string_view table, std::string_view index) {
    Change([&] { editor_->DropIndex(table, index); });
}

void SqliteProjectFile::CreateRelation(const RelationInfo& relation) {
    Change([&] { editor_->CreateRelation(relation); });
}

void SqliteProjectFile::DropRelation(std::string_view relation) {
    Change([&] { editor_->DropRelation(relation); });
}

void SqliteProjectFile::CreateQuery(const QueryInfo& query) {
    Change([&] {
        const auto views = ViewSql(query);
        editor_->CreateQuery(query, views.stored);
        editor_->ShowQuery(query, views.shown);
    });
}

void SqliteProjectFile::DropQuery(std::string_view query) {
    Change([&] { editor_->DropQuery(query); });
}

void SqliteProjectFile::SaveProperty(const PropertyOwnerKey& owner, const PropertyInfo& property) {
    Change([&] { editor_->SaveProperty(owner, property); });
}

void SqliteProjectFile::DeleteProperty(const PropertyOwnerKey& owner, std::string_view name) {
    Change([&] { editor_->DeleteProperty(owner, name); });
}

// ---- Rows ---------------------------------------------------------------------

// Runs one Jet statement whole or not at all: a schema change through the
// schema editor (then, for SELECT ... INTO, the rows), a data change as the
// translator writes it.
std::int64_t SqliteProjectFile::Execute(std::string_view sql, std::int32_t options) {
    static_cast<void>(options);  // a failing statement always fails whole here
    CheckOpen();
    const StatementFiles files(*attachments_);
    std::int64_t changed = 0;
    Change([&] {
        const auto statement = translator_->Translate(sql, TranslateOptions(true));
        if (statement.kind == JetStatementKind::Query) {
            throw SqliteErrors::Jet(errnum::kJetCannotExecuteSelect,
                                    "Cannot execute a select query.");
        }
        RefuseParameters(statement);
        for (const auto& operation : statement.schema) RunSchemaOperation(operation);
        if (!statement.sql.empty()) changed = RunDataChange(statement.sql);
    });
    return changed;
}

void SqliteProjectFile::RunSchemaOperation(const JetSchemaOperation& operation) {
    using Kind = JetSchemaOperation::Kind;
    switch (operation.kind) {
        case Kind::CreateTable:
            return editor_->CreateTable(operation.tableInfo);
        case Kind::DropTable:
            return editor_->DropTable(operation.table);
        case Kind::AddField:
            return editor_->AddField(operation.table, operation.field);
        case Kind::AlterField:
            return editor_->AlterField(operation.table, operation.name, operation.field);
        case Kind::DropField:
            return editor_->DropField(operation.table, operation.name);
        case Kind::CreateIndex:
            return editor_->CreateIndex(operation.table, operation.index);
        case Kind::DropIndex:
            return editor_->DropIndex(operation.table, operation.name);
        case Kind::CreateRelation:
            return editor_->CreateRelation(operation.relation);
        case Kind::DropRelation:
            return editor_->DropRelation(operation.name);
    }
}

// The one SQLite statement of a data change; returns the rows it touched.
std::int64_t SqliteProjectFile::RunDataChange(const std::string& sql) {
    auto statement = PrepareGuarded(db_->Get(), sql);
    statement.Run();
    return db_->Changes();
}

std::unique_ptr<RowSource> SqliteProjectFile::OpenRows(const RowRequest& request) {
    CheckOpen();
    SqliteRowOpener::Options options;
    options.writable = !readOnly_ && request.type != dao::dbOpenSnapshot &&
                       request.type != dao::dbOpenForwardOnly &&
                       (request.options & dao::dbReadOnly) == 0;
    options.appendOnly = (request.options & dao::dbAppendOnly) != 0;
    options.wholeTable = request.isTable && request.filter.empty();
    auto translate = TranslateOptions(false);
    translate.withRowKey = options.writable;
    const auto source = request.isTable ? WithoutBrackets(request.source) : request.source;
    const auto query = translator_->TranslateRows(source, request.isTable, request.filter,
                                                  request.sort, translate);
    if (query.kind != JetStatementKind::Query) {
        throw SqliteErrors::Jet(errnum::kJetInvalidOperation,
                                "Invalid operation: the statement returns no rows.");
    }
    RefuseParameters(query);
    return rows_->ForQuery(query, options);
}

// ---- Transactions -------------------------------------------------------------

void SqliteProjectFile::BeginTrans() {
    CheckOpen();
    db_->Exec("SAVEPOINT vorn_trans_" + std::to_string(transactionDepth_ + 1));
    ++transactionDepth_;
}

void SqliteProjectFile::CommitTrans() {
    CheckOpen();
    if (transactionDepth_ == 0) {
        throw SqliteErrors::Jet(errnum::kJetCommitWithoutBegin,
                                "You tried to commit or roll back a transaction without first "
                                "beginning a transaction.");
    }
    db_->Exec("RELEASE vorn_trans_" + std::to_string(transactionDepth_));
    --transactionDepth_;
    // Files that statements of the transaction named can go now.
    if (transactionDepth_ == 0) attachments_->ReleaseStatementFiles();
}

void SqliteProjectFile::Rollback() {
    CheckOpen();
    if (transactionDepth_ == 0) {
        throw SqliteErrors::Jet(errnum::kJetCommitWithoutBegin,
                                "You tried to commit or roll back a transaction without first "
                                "beginning a transaction.");
    }
    const auto name = "vorn_trans_" + std::to_string(transactionDepth_);
    db_->DesignChanged();
    db_->Exec("ROLLBACK TO " + name + "; RELEASE " + name);
    --transactionDepth_;
    if (transactionDepth_ == 0) attachments_->ReleaseStatementFiles();
}

}  // namespace vorn
