#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "dbcontract/DatabaseBackend.h"
#include "dbcontract/jet/JetCopyWriter.h"

namespace vorn {

// A Jet file as the contract serves it: the copy in our own format that was
// made of it, opened read only, answering with the Jet file's identity. Its
// Name is the Jet file's full path, its Version the file's Jet version, and
// a failure that names the copy names the Jet file instead. Where the copy
// cannot hold the design as Jet has it (system and attached tables, dates,
// rules that rows break, queries the engine cannot run), the design read
// from the file answers. A table attached from another project file reads
// through to that file when it is there. Close drops the copy and its
// private folder.
class JetSourceDatabase : public DatabaseBackend {
public:
    // Opens an attached project file by its path, read only.
    using LinkOpener = std::function<std::unique_ptr<DatabaseBackend>(const std::string& path)>;

    // `copy` is the copy, open read only, at `copyPath` in `folder`, which
    // this object owns and removes. `sourcePath` is the Jet file's full path.
    JetSourceDatabase(std::unique_ptr<DatabaseBackend> copy, std::filesystem::path copyPath, std::filesystem::path folder,
                      std::string sourcePath, std::string version, JetCopyWriter::Design design,
                      LinkOpener openLinked);
    ~JetSourceDatabase() override;

    std::string Name() const override { return sourcePath_; }
    std::string Connect() const override { return {}; }
    std::string Version() const override { return version_; }
    bool Updatable() const override { return false; }

    std::vector<TableInfo> ReadTables() override;
    std::vector<RelationInfo> ReadRelations() override;
    std::vector<QueryInfo> ReadQueries() override;
    std::vector<PropertyInfo> ReadProperties(const PropertyOwnerKey& owner) override;

    void CreateTable(const TableInfo& table) override;
    void DropTable(std::string_view table) override;
    void RenameTable(std::string_view table, std::string_view newName) override;
    void AddField(std::string_view table, const FieldInfo& field) override;
    void DropField(std::string_view table, std::string_view field) override;
    void AlterField(std::string_view table, std::string_view field, const FieldInfo& changed) override;
    void CreateIndex(std::string_view table, const IndexInfo& index) override;
    void DropIndex(std::string_view table, std::string_view index) override;
    void CreateRelation(const RelationInfo& relation) override;
    void DropRelation(std::string_view relation) override;
    void CreateQuery(const QueryInfo& query) override;
    void DropQuery(std::string_view query) override;
    void SaveProperty(const PropertyOwnerKey& owner, const PropertyInfo& property) override;
    void DeleteProperty(const PropertyOwnerKey& owner, std::string_view name) override;
    std::int64_t Execute(std::string_view sql, std::int32_t options) override;

    std::unique_ptr<RowSource> OpenRows(const RowRequest& request) override;

    void BeginTrans() override;
    void CommitTrans() override;
    void Rollback() override;
    void Close() override;

private:
    // Runs a call on the copy; a failure that names the copy names the
    // source instead.
    template <class F>
    auto OnCopy(F&& call) const -> decltype(call());
    [[noreturn]] void ReadOnly() const;
    DatabaseBackend& Copy() const;
    // The attached project file of a table, open; nullptr when the table is
    // not attached from a project file. Raises 3024 when that file is gone.
    std::shared_ptr<DatabaseBackend> LinkedFile(const TableInfo& table);
    // The copy's answer for a table, with what Jet says that it cannot keep.
    static TableInfo Overlay(TableInfo copied, const TableInfo& jet);
    const TableInfo* Designed(std::string_view table) const;
    bool Shown(const std::string& table) const;
    void RemoveFolder();

    std::unique_ptr<DatabaseBackend> copy_;
    std::filesystem::path copyPath_;
    std::filesystem::path folder_;
    std::string sourcePath_;
    std::string version_;
    JetCopyWriter::Design design_;
    LinkOpener openLinked_;
    std::map<std::string, std::shared_ptr<DatabaseBackend>> linked_;
};

}  // namespace vorn
