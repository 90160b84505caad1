#include "dbcontract/Database.h"

#include <string_view>

#include "dbcontract/DaoConstants.h"
#include "dbcontract/DaoErrors.h"
#include "runtime/Conversions.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/Utf8.h"

namespace vorn {
namespace {

// A source that is one name, bare or in brackets, and no statement: the
// engine looks it up as a table or query and never parses it as SQL.
bool IsOneName(std::string_view source) {
    const std::string_view bare = UnbracketedName(source);
    if (bare.empty()) return false;
    if (bare.size() != source.size()) return bare.find_first_of("[]") == std::string_view::npos;
    return source.find_first_of(" \t\r\n;,()*=") == std::string_view::npos;
}

}  // namespace

Database::Database(std::unique_ptr<DatabaseBackend> backend) : backend_(std::move(backend)) {
    name_ = backend_->Name();
    connect_ = backend_->Connect();
    version_ = backend_->Version();
    SetHooks();
    MakeBuiltIns();
}

Database::~Database() {
    if (!backend_) return;
    // A database that its caller forgot to close still releases its file; a
    // failure then has no one to go to.
    try {
        backend_->Close();
    } catch (...) {
    }
}

std::shared_ptr<DatabaseBackend> Database::Backend() const {
    if (!backend_) throw VornError(errnum::kJetObjectInvalid, "DAO.Database", "Object invalid or no longer set.");
    return backend_;
}

bool Database::Updatable() const { return backend_ && backend_->Updatable(); }

void Database::SetHooks() {
    const std::weak_ptr<DatabaseBackend> weak = backend_;
    tableDefs_.SetHooks({.append = [this, weak](const std::shared_ptr<TableDef>& table) {
                             WithDaoErrors([&] {
                                 // An attached table takes its fields from its source.
                                 if (table->Fields().Count() == 0 && table->Connect().empty()) {
                                     throw VornError(errnum::kJetNoFieldsDefined, "DAO.TableDefs",
                                                     "No field defined - cannot append TableDef or Index.");
                                 }
                                 Backend()->CreateTable(table->Info());
                                 if (table->Connect().empty()) return;
                                 // Appended, an attached table shows what it is attached to.
                                 for (const TableInfo& stored : Backend()->ReadTables()) {
                                     if (utf8::EqualsIgnoreCase(stored.name, table->Name())) {
                                         table->TakeStoredDesign(stored);
                                     }
                                 }
                             });
                             table->BindLive(weak);
                         },
                         .remove = [this](const std::shared_ptr<TableDef>& table) {
                             WithDaoErrors([&] { Backend()->DropTable(table->Name()); });
                         },
                         .refresh = [this, weak] {
                             std::vector<std::shared_ptr<TableDef>> tables;
                             for (const TableInfo& info : WithDaoErrors([&] { return Backend()->ReadTables(); })) {
                                 tables.push_back(std::make_shared<TableDef>(info, weak));
                             }
                             return tables;
                         },
                         .duplicateNumber = errnum::kJetTableExists});
    relations_.SetHooks({.append = [this](const std::shared_ptr<Relation>& relation) {
                             WithDaoErrors([&] { Backend()->CreateRelation(relation->Info()); });
                             relation->MarkAppended();
                             // The relation's foreign index now stands on the child table.
                             if (auto child = tableDefs_.Find(relation->ForeignTable())) child->Indexes().Refresh();
                         },
                         .remove = [this](const std::shared_ptr<Relation>& relation) {
                             WithDaoErrors([&] { Backend()->DropRelation(relation->Name()); });
                             if (auto child = tableDefs_.Find(relation->ForeignTable())) child->Indexes().Refresh();
                         },
                         .refresh = [this] {
                             std::vector<std::shared_ptr<Relation>> relations;
                             for (const RelationInfo& info : WithDaoErrors([&] { return Backend()->ReadRelations(); })) {
                                 relations.push_back(std::make_shared<Relation>(info));
                             }
                             return relations;
                         },
                         .duplicateNumber = errnum::kJetObjectExists});
    queryDefs_.SetHooks({.append = [this, weak](const std::shared_ptr<QueryDef>& query) {
                             WithDaoErrors([&] { Backend()->CreateQuery({query->Name(), query->SQL()}); });
                             query->BindLive(weak, true);
                         },
                         .remove = [this](const std::shared_ptr<QueryDef>& query) {
                             WithDaoErrors([&] { Backend()->DropQuery(query->Name()); });
                         },
                         .refresh = [this, weak] {
                             std::vector<std::shared_ptr<QueryDef>> queries;
                             for (const QueryInfo& info : WithDaoErrors([&] { return Backend()->ReadQueries(); })) {
                                 auto query = std::make_shared<QueryDef>(info.name, info.sql);
                                 query->BindLive(weak, true);
                                 queries.push_back(std::move(query));
                             }
                             return queries;
                         },
                         .duplicateNumber = errnum::kJetObjectExists});
    properties_.Attach({.save = [this](const Property& p) {
                            WithDaoErrors([&] { Backend()->SaveProperty({}, {p.Name(), p.Type(), p.Value()}); });
                        },
                        .remove = [this](std::string_view name) {
                            WithDaoErrors([&] { Backend()->DeleteProperty({}, name); });
                        },
                        .load = [this] {
                            std::vector<std::shared_ptr<Property>> loaded;
                            for (const PropertyInfo& p : Backend()->ReadProperties({})) {
                                loaded.push_back(std::make_shared<Property>(p.name, p.type, p.value));
                            }
                            return loaded;
                        }});
}

void Database::MakeBuiltIns() {
    using P = Property;
    properties_.SetBuiltIns({
        P::BuiltIn("Name", dao::dbText, [this] { return Variant(name_); }),
        P::BuiltIn("Connect", dao::dbMemo, [this] { return Variant(connect_); }),
        P::BuiltIn("Transactions", dao::dbBoolean, [] { return Variant(true); }),
        P::BuiltIn("Updatable", dao::dbBoolean, [this] { return Variant(Updatable()); }),
        P::BuiltIn("CollatingOrder", dao::dbLong, [] { return Variant(std::int32_t{1033}); }),
        P::BuiltIn("QueryTimeout", dao::dbInteger, [] { return Variant(std::int16_t{60}); }),
        P::BuiltIn("Version", dao::dbText, [this] { return Variant(version_); }),
        P::BuiltIn("RecordsAffected", dao::dbLong,
                   [this] { return Variant(static_cast<std::int32_t>(recordsAffected_)); }),
    });
}

std::shared_ptr<TableDef> Database::CreateTableDef(const std::string& name, std::int32_t attributes,
                                                   const std::string& sourceTableName, const std::string& connect) {
    return std::make_shared<TableDef>(name, attributes, sourceTableName, connect);
}

std::shared_ptr<Relation> Database::CreateRelation(const std::string& name, const std::string& table,
                                                   const std::string& foreignTable, std::int32_t attributes) {
    return std::make_shared<Relation>(name, table, foreignTable, attributes);
}

std::shared_ptr<QueryDef> Database::CreateQueryDef(const std::string& name, const std::string& sql) {
    auto query = std::make_shared<QueryDef>(name, sql);
    query->BindLive(backend_, false);
    if (!name.empty()) queryDefs_.Append(query);
    return query;
}

std::shared_ptr<Property> Database::CreateProperty(const std::string& name, std::int16_t type, const Variant& value) {
    return std::make_shared<Property>(name, type, value);
}

std::unique_ptr<Recordset> Database::OpenRecordset(const std::string& source, std::int32_t type,
                                                   std::int32_t options) {
    return WithDaoErrors([&] {
        RowRequest request{.source = source, .isTable = false, .type = type, .options = options,
                           .filter = {}, .sort = {}};
        if (const auto table = tableDefs_.Find(source)) {
            request.source = table->Name();
            request.isTable = true;
            if (request.type == 0) request.type = table->Connect().empty() ? dao::dbOpenTable : dao::dbOpenDynaset;
        } else if (const auto query = queryDefs_.Find(source)) {
            request.source = query->SQL();
        } else if (IsOneName(source)) {
            throw VornError(errnum::kJetInputTableNotFound, "DAO.Database",
                            "The database engine cannot find the input table or query '" +
                                std::string(UnbracketedName(source)) +
                                "'. Make sure it exists and that its name is spelled correctly.");
        }
        if (request.type == 0) request.type = dao::dbOpenDynaset;
        if (request.type == dao::dbOpenTable && !request.isTable) {
            throw VornError(errnum::kJetInvalidOperation, "DAO.Database",
                            "Invalid operation: only a local table opens as a table.");
        }
        const std::weak_ptr<DatabaseBackend> weak = backend_;
        Recordset::Opener opener = [weak](const RowRequest& r) {
            auto backend = weak.lock();
            if (!backend) throw VornError(errnum::kJetObjectInvalid, "DAO.Database", "Object invalid or no longer set.");
            return WithDaoErrors([&] { return backend->OpenRows(r); });
        };
        auto rows = opener(request);
        return std::make_unique<Recordset>(request, std::move(rows), opener, weak);
    });
}

void Database::Execute(const std::string& sql, std::int32_t options) {
    recordsAffected_ = WithDaoErrors([&] { return Backend()->Execute(sql, options); });
    ReloadCollections();
}

void Database::ReloadCollections() {
    // The statement may have changed the design; the collections read it
    // again at their next use, and objects that callers hold stay usable.
    tableDefs_.Invalidate();
    relations_.Invalidate();
    queryDefs_.Invalidate();
}

void Database::BeginTrans() { WithDaoErrors([&] { Backend()->BeginTrans(); }); }
void Database::CommitTrans() { WithDaoErrors([&] { Backend()->CommitTrans(); }); }
void Database::Rollback() {
    WithDaoErrors([&] { Backend()->Rollback(); });
    ReloadCollections();
}

void Database::Close() {
    if (!backend_) return;
    const auto backend = std::move(backend_);
    backend_.reset();
    WithDaoErrors([&] { backend->Close(); });
}

}  // namespace vorn
