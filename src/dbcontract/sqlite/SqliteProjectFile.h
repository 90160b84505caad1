#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "dbcontract/DatabaseBackend.h"
#include "dbcontract/sqlite/SqliteRowOpener.h"

namespace vorn {

class JetSqlTranslator;
class LdbLock;
class SqliteAttachments;
class SqliteCatalogView;
class SqliteHandle;
class SqliteSchemaEditor;
struct JetSchemaOperation;
struct JetTranslateOptions;

// A project file: one SQLite database whose design lives in the MSysVorn*
// catalog tables (docs/project-file-format.md). While it is open, a shared
// lock is held on the ".ldb" file beside it. Opened read only, it is opened
// so by SQLite as well: no write reaches it and no journal is made.
// Every statement, filter and sort arrives in Jet SQL and runs through the
// SQL translator, with the data engine's functions registered on the
// connection; schema statements change the design through the schema
// editor, so that the catalog stays in step.
class SqliteProjectFile final : public DatabaseBackend {
public:
    // Opens a project file. Raises 3024 when it is missing and 3343 when it
    // is no project file of this format.
    static std::unique_ptr<SqliteProjectFile> Open(const std::string& path, bool readOnly);

    // Makes a new, empty project file and opens it. `localeText` (such as
    // ";LANGID=0x0409;CP=1252;COUNTRY=0") is kept in MSysVornInfo. Raises
    // 3204 when the file exists, 3044 when its folder does not.
    static std::unique_ptr<SqliteProjectFile> Create(const std::string& path,
                                                     std::string_view localeText);

    // Writes a compacted copy of `source` to the new file `destination`.
    // Raises 3204 when the destination exists.
    static void Compact(const std::string& source, const std::string& destination);

    // Flushes the file's bytes to the disk: for a file written as scratch
    // before it is put in place.
    static void SyncToDisk(const std::string& path);

    // True when `path` is an SQLite file with this format's catalog.
    static bool LooksLikeProjectFile(const std::string& path);

    ~SqliteProjectFile() override;

    // For a new file that one writer fills whole and that is thrown away if
    // the filling fails, such as a copy being converted: the rollback
    // journal stays in memory (savepoints still roll back) and nothing is
    // synced to the disk, which otherwise costs more than the writing. The
    // caller syncs the file (SyncToDisk) before it puts it in place. The
    // designs read are kept between changes, since no one else writes.
    // REQUIRES: no transaction is open.
    void WriteAsScratch();

    // A new file (as Create) to be written as scratch: not even the
    // making of its catalog is synced.
    static std::unique_ptr<SqliteProjectFile> CreateScratch(const std::string& path, std::string_view localeText);

    std::string Name() const override { return path_; }
    std::string Connect() const override { return ""; }
    std::string Version() const override { return "4.0"; }
    bool Updatable() const override { return !readOnly_; }

    std::vector<TableInfo> ReadTables() override;
    std::vector<RelationInfo> ReadRelations() override;
    std::vector<QueryInfo> ReadQueries() override;
    std::vector<PropertyInfo> ReadProperties(const PropertyOwnerKey& owner) override;

    void CreateTable(const TableInfo& table) override;
    void DropTable(std::string_view table) override;
    void RenameTable(std::string_view table, std::string_view newName) override;
    void AddField(std::string_view table, const FieldInfo& field) override;
    void DropField(std::string_view table, std::string_view field) override;
    void AlterField(std::string_view table, std::string_view field,
                    const FieldInfo& changed) override;
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
    SqliteProjectFile(std::string path, bool readOnly);
    // Makes the file with its catalog; `synced` as any design change is.
    static void MakeFile(const std::string& path, std::string_view localeText, bool synced);
    void OpenConnection();
    void ShowAttachedTablesAndQueries();
    JetTranslateOptions TranslateOptions(bool forStatement) const;
    // A saved query as SQLite views: the one stored in the file, and the
    // one shown for this connection (which may reach attached files); empty
    // where the query is no view at all.
    struct Views {
        std::string stored;
        std::string shown;
    };
    Views ViewSql(const QueryInfo& query) const;
    void RunSchemaOperation(const JetSchemaOperation& operation);
    std::int64_t RunDataChange(const std::string& sql);
    void CheckOpen() const;
    // Runs a design change inside a savepoint, after refusing it on a file
    // opened read only.
    template <class Work>
    void Change(Work&& work);

    std::string path_;
    bool readOnly_;
    std::unique_ptr<LdbLock> lock_;
    std::unique_ptr<SqliteHandle> db_;
    std::unique_ptr<SqliteAttachments> attachments_;
    std::unique_ptr<SqliteSchemaEditor> editor_;
    std::unique_ptr<SqliteRowOpener> rows_;
    std::unique_ptr<SqliteCatalogView> view_;
    std::unique_ptr<JetSqlTranslator> translator_;
    int transactionDepth_ = 0;
};

}  // namespace vorn
