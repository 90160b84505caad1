#include "dbcontract/jet/JetSourceDatabase.h"

#include "dbcontract/DaoConstants.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/Utf8.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

// The file named by ";DATABASE=<file>;" in a connect string; "" for an
// ODBC connect string or none.
std::string AttachedFile(const std::string& connect) {
    if (utf8::ToUpper(connect.substr(0, 5)) == "ODBC;") return {};
    const std::string upper = utf8::ToUpper(connect);
    const auto at = upper.find("DATABASE=");
    if (at == std::string::npos) return {};
    const auto start = at + 9;
    const auto end = connect.find(';', start);
    return connect.substr(start, end == std::string::npos ? std::string::npos : end - start);
}

// Rows of an attached file's table; they keep that file open.
class AttachedRows : public RowSource {
public:
    AttachedRows(std::shared_ptr<DatabaseBackend> file, std::unique_ptr<RowSource> rows)
        : file_(std::move(file)), rows_(std::move(rows)) {}
    ~AttachedRows() override { rows_.reset(); }

    const std::vector<FieldInfo>& Columns() const override { return rows_->Columns(); }
    bool Next(std::vector<Variant>& row) override { return rows_->Next(row); }
    void Restart() override { rows_->Restart(); }
    std::optional<std::int64_t> KnownCount() override { return rows_->KnownCount(); }
    bool Updatable() const override { return false; }
    RowKey CurrentKey() const override { return rows_->CurrentKey(); }
    RowKey Insert(const Changes& values) override { return rows_->Insert(values); }
    void Update(const RowKey& key, const Changes& changes) override { rows_->Update(key, changes); }
    void Delete(const RowKey& key) override { rows_->Delete(key); }
    bool Read(const RowKey& key, std::vector<Variant>& row) override { return rows_->Read(key, row); }

private:
    std::shared_ptr<DatabaseBackend> file_;
    std::unique_ptr<RowSource> rows_;
};

}  // namespace

JetSourceDatabase::JetSourceDatabase(std::unique_ptr<DatabaseBackend> copy, std::filesystem::path copyPath,
                                     std::filesystem::path folder, std::string sourcePath, std::string version,
                                     JetCopyWriter::Design design, LinkOpener openLinked)
    : copy_(std::move(copy)),
      copyPath_(std::move(copyPath)),
      folder_(std::move(folder)),
      sourcePath_(std::move(sourcePath)),
      version_(std::move(version)),
      design_(std::move(design)),
      openLinked_(std::move(openLinked)) {}

JetSourceDatabase::~JetSourceDatabase() {
    // A database its caller forgot to close still drops its copy; a failure
    // then has no one to go to.
    try {
        Close();
    } catch (...) {
    }
}

template <class F>
auto JetSourceDatabase::OnCopy(F&& call) const -> decltype(call()) {
    try {
        return call();
    } catch (const VornError& error) {
        const std::string copy = copyPath_.string();
        if (copy.empty() || error.Description().find(copy) == std::string::npos) throw;
        throw VornError(error.Number(), error.Source(), utf8::Replace(error.Description(), copy, sourcePath_));
    }
}

DatabaseBackend& JetSourceDatabase::Copy() const {
    if (!copy_) throw VornError(3420, "DAO.Database", "Object invalid or no longer set.");
    return *copy_;
}

std::shared_ptr<DatabaseBackend> JetSourceDatabase::LinkedFile(const TableInfo& table) {
    if (table.connect.empty() || !openLinked_) return nullptr;
    std::filesystem::path file = AttachedFile(table.connect);
    if (file.empty()) return nullptr;
    if (file.is_relative()) file = std::filesystem::path(sourcePath_).parent_path() / file;
    const std::string key = file.lexically_normal().string();
    if (const auto found = linked_.find(key); found != linked_.end()) return found->second;
    std::error_code error;
    if (!std::filesystem::is_regular_file(file, error)) {
        throw VornError(errnum::kJetFileNotFound, "DAO.DBEngine",
                        "Could not find file '" + key + "', attached to '" + sourcePath_ + "' as table '" +
                            table.name + "'.");
    }
    std::shared_ptr<DatabaseBackend> opened = openLinked_(key);
    linked_[key] = opened;
    return opened;
}

const TableInfo* JetSourceDatabase::Designed(std::string_view table) const {
    for (const TableInfo& info : design_.tables) {
        if (utf8::EqualsIgnoreCase(info.name, table)) return &info;
    }
    return nullptr;
}

bool JetSourceDatabase::Shown(const std::string& table) const {
    const TableInfo* info = Designed(table);
    return info != nullptr && (design_.copied.count(info->name) != 0 || !info->connect.empty());
}

TableInfo JetSourceDatabase::Overlay(TableInfo copied, const TableInfo& jet) {
    // The engine keeps its own attributes and dates for a table it made,
    // and rules that rows of the file break were dropped from the copy.
    copied.attributes = jet.attributes;
    copied.dateCreated = jet.dateCreated;
    copied.lastUpdated = jet.lastUpdated;
    copied.validationRule = jet.validationRule;
    copied.validationText = jet.validationText;
    for (FieldInfo& field : copied.fields) {
        for (const FieldInfo& original : jet.fields) {
            if (!utf8::EqualsIgnoreCase(original.name, field.name)) continue;
            field.required = original.required;
            field.allowZeroLength = original.allowZeroLength;
            field.validationRule = original.validationRule;
            field.validationText = original.validationText;
            field.defaultValue = original.defaultValue;
        }
    }
    return copied;
}

std::vector<TableInfo> JetSourceDatabase::ReadTables() {
    const auto copied = OnCopy([&] { return Copy().ReadTables(); });
    std::vector<TableInfo> tables;
    for (const TableInfo& jet : design_.tables) {
        if (design_.copied.count(jet.name) != 0) {
            for (const TableInfo& table : copied) {
                if (utf8::EqualsIgnoreCase(table.name, jet.name)) tables.push_back(Overlay(table, jet));
            }
        } else if (!jet.connect.empty()) {
            tables.push_back(jet);
        }
    }
    for (TableInfo& table : tables) {
        if (!table.fields.empty() || table.connect.empty()) continue;
        // An attached table's fields are the attached file's; a file that is
        // not there leaves the table without fields, as the design holds it.
        try {
            const auto file = LinkedFile(table);
            if (!file) continue;
            for (const TableInfo& there : file->ReadTables()) {
                if (utf8::EqualsIgnoreCase(there.name, table.sourceTableName)) {
                    table.fields = there.fields;
                    table.indexes = there.indexes;
                }
            }
        } catch (const VornError&) {
        }
    }
    return tables;
}

std::vector<RelationInfo> JetSourceDatabase::ReadRelations() {
    std::vector<RelationInfo> relations;
    for (const RelationInfo& relation : design_.relations) {
        if (Shown(relation.table) && Shown(relation.foreignTable)) relations.push_back(relation);
    }
    return relations;
}

std::vector<QueryInfo> JetSourceDatabase::ReadQueries() { return design_.queries; }

std::vector<PropertyInfo> JetSourceDatabase::ReadProperties(const PropertyOwnerKey& owner) {
    const TableInfo* table = owner.table.empty() ? nullptr : Designed(owner.table);
    if (table != nullptr && design_.copied.count(table->name) == 0) {
        const auto held = design_.heldProperties.find({table->name, owner.field});
        return held == design_.heldProperties.end() ? std::vector<PropertyInfo>() : held->second;
    }
    return OnCopy([&] { return Copy().ReadProperties(owner); });
}

// The copy is open read only: every change is refused by it, with its
// answer for a read-only file, so both formats answer alike.
void JetSourceDatabase::CreateTable(const TableInfo& table) { OnCopy([&] { Copy().CreateTable(table); }); }
void JetSourceDatabase::DropTable(std::string_view table) { OnCopy([&] { Copy().DropTable(table); }); }
void JetSourceDatabase::RenameTable(std::string_view table, std::string_view newName) {
    OnCopy([&] { Copy().RenameTable(table, newName); });
}
void JetSourceDatabase::AddField(std::string_view table, const FieldInfo& field) {
    OnCopy([&] { Copy().AddField(table, field); });
}
void JetSourceDatabase::DropField(std::string_view table, std::string_view field) {
    OnCopy([&] { Copy().DropField(table, field); });
}
void JetSourceDatabase::AlterField(std::string_view table, std::string_view field, const FieldInfo& changed) {
    OnCopy([&] { Copy().AlterField(table, field, changed); });
}
void JetSourceDatabase::CreateIndex(std::string_view table, const IndexInfo& index) {
    OnCopy([&] { Copy().CreateIndex(table, index); });
}
void JetSourceDatabase::DropIndex(std::string_view table, std::string_view index) {
    OnCopy([&] { Copy().DropIndex(table, index); });
}
void JetSourceDatabase::CreateRelation(const RelationInfo& relation) { OnCopy([&] { Copy().CreateRelation(relation); }); }
void JetSourceDatabase::DropRelation(std::string_view relation) { OnCopy([&] { Copy().DropRelation(relation); }); }
void JetSourceDatabase::CreateQuery(const QueryInfo& query) { OnCopy([&] { Copy().CreateQuery(query); }); }
void JetSourceDatabase::DropQuery(std::string_view query) { OnCopy([&] { Copy().DropQuery(query); }); }
void JetSourceDatabase::SaveProperty(const PropertyOwnerKey& owner, const PropertyInfo& property) {
    OnCopy([&] { Copy().SaveProperty(owner, property); });
}
void JetSourceDatabase::DeleteProperty(const PropertyOwnerKey& owner, std::string_view name) {
    OnCopy([&] { Copy().DeleteProperty(owner, name); });
}
std::int64_t JetSourceDatabase::Execute(std::string_view sql, std::int32_t options) {
    return OnCopy([&] { return Copy().Execute(sql, options); });
}

std::unique_ptr<RowSource> JetSourceDatabase::OpenRows(const RowRequest& request) {
    const TableInfo* table = request.isTable ? Designed(request.source) : nullptr;
    if (table != nullptr && !table->connect.empty() && design_.copied.count(table->name) == 0) {
        const auto file = LinkedFile(*table);
        if (!file) {
            throw VornError(errnum::kJetOperationNotSupported, "DAO.DBEngine",
                            "The table '" + table->name + "' of '" + sourcePath_ +
                                "' is attached through a connection that cannot be opened here: " + table->connect);
        }
        RowRequest there = request;
        there.source = table->sourceTableName;
        return std::make_unique<AttachedRows>(file, file->OpenRows(there));
    }
    return OnCopy([&] { return Copy().OpenRows(request); });
}

void JetSourceDatabase::BeginTrans() { OnCopy([&] { Copy().BeginTrans(); }); }
void JetSourceDatabase::CommitTrans() { OnCopy([&] { Copy().CommitTrans(); }); }
void JetSourceDatabase::Rollback() { OnCopy([&] { Copy().Rollback(); }); }

void JetSourceDatabase::Close() {
    for (auto& [path, file] : linked_) {
        if (file.use_count() == 1) file->Close();
    }
    linked_.clear();
    if (copy_) {
        const auto copy = std::move(copy_);
        copy_.reset();
        try {
            copy->Close();
        } catch (...) {
            RemoveFolder();
            throw;
        }
    }
    RemoveFolder();
}

void JetSourceDatabase::RemoveFolder() {
    if (folder_.empty()) return;
    std::error_code ignored;  // a folder already gone needs no removing
    std::filesystem::remove_all(folder_, ignored);
    folder_.clear();
}

}  // namespace vorn
