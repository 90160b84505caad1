#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dbcontract/ServerConnection.h"
#include "dbcontract/mariadb/MariaDbCatalog.h"
#include "dbcontract/mariadb/MariaDbHandle.h"
#include "dbcontract/mariadb/MariaDbRollbackJournal.h"

namespace vorn {

class MariaDbSqlText;
enum class MariaDbStatementKind;

// The MariaDB/MySQL engine (provider 8) through MariaDB Connector/C.
//
// Reaching the run's tables: a connection attached to "information_schema"
// makes the run's database (MariaDbRunDatabase) its default before each
// statement, so bare table names reach the run's tables.
// Table names are resolved ignoring case whatever the server's
// lower_case_table_names: every name in a statement that equals a table's
// name but for case is replaced by the stored name before it is sent.
// SQL Server's text is rewritten by SqlServerRewriter with MariaDbDialect.
// Transactions: the server commits by itself before each DDL statement, so
// a transaction keeps a journal of what it made and inserted, and Rollback
// undoes it (MariaDbRollbackJournal).
class MariaDbConnection final : public ServerConnection {
public:
    explicit MariaDbConnection(const ServerTarget& target, const MariaDbTimeouts& timeouts = {});
    ~MariaDbConnection() override;

    const ServerTarget& Target() const override { return target_; }
    std::string Prepare(std::string_view sql) override;
    std::string PrepareCondition(std::string_view condition) override;
    std::string PrepareOrderList(std::string_view list) override;
    // Jet SQL through SqlServerRewriter's Jet reading, with MariaDbDialect.
    JetQuery PrepareJetQuery(std::string_view source, bool isTable, std::string_view filter,
                             std::string_view sort, bool passThrough) override;
    std::string PrepareJetChange(std::string_view sql) override;
    // Runs each statement of `sql` (statements separated by ";" at the top
    // level, as Prepare gives them) in order; "?" markers are bound across
    // them in order. Returns the rows they changed together.
    std::int64_t Execute(std::string_view sql, const std::vector<Variant>& params = {}) override;
    std::int64_t ExecuteNamed(std::string_view sql, const std::vector<NamedValue>& params) override;
    std::unique_ptr<ServerCursor> Query(std::string_view sql, const std::vector<Variant>& params = {}) override;
    std::int64_t LastInsertId() override;
    std::string RowIdColumn() const override { return {}; }

    void BeginTransaction() override;
    void Commit() override;
    void Rollback() override;
    bool InTransaction() const override { return inTransaction_; }

    std::vector<std::string> TableNames() override;
    bool TableExists(std::string_view table) override;
    std::optional<TableInfo> ReadTable(std::string_view table) override;
    std::vector<RelationInfo> ReadRelations() override;
    void DropColumnDefault(std::string_view table, std::string_view column) override;
    std::string QuoteName(std::string_view name) const override;
    bool DatabaseExists(std::string_view name) override;
    void CreateDatabase(std::string_view name) override;
    void Close() noexcept override;

    // The session's default database now ("" for none).
    const std::string& CurrentDatabase() const { return currentDatabase_; }

private:
    // What a table looks like, for telling what an ALTER made.
    struct Shape {
        std::vector<std::string> fields;
        std::vector<std::string> indexes;
        std::vector<std::string> foreignKeys;
    };

    MariaDbHandle& Handle();
    void EnsureDatabase();
    std::optional<std::string> StoredTableName(std::string_view table);
    std::string Resolve(std::string_view sql);
    std::int64_t ExecuteOne(std::string_view sql, const std::vector<Variant>& params);
    std::int64_t Run(const std::string& sql, const std::vector<Variant>& params, std::uint64_t* insertId = nullptr);
    std::int64_t RunInTransaction(const MariaDbSqlText& text, const std::vector<Variant>& params);
    std::int64_t RunDdl(const MariaDbSqlText& text, const std::vector<Variant>& params);
    std::int64_t RunWrite(const MariaDbSqlText& text, const std::vector<Variant>& params);
    std::int64_t RunAlter(const MariaDbSqlText& text, const std::vector<Variant>& params);
    void JournalInsert(const MariaDbSqlText& text, const std::vector<Variant>& params, std::int64_t affected,
                       std::uint64_t insertId);
    Shape ShapeOf(const std::string& table);
    const TableInfo* CachedTable(const std::string& table);
    void ForgetDesign();

    ServerTarget target_;
    std::optional<MariaDbHandle> handle_;
    std::optional<MariaDbCatalog> catalog_;
    bool attachedToSystem_ = false;
    std::string currentDatabase_;
    std::optional<std::map<std::string, std::string>> tableNames_;  // lower-case name -> stored name
    std::map<std::string, TableInfo> tables_;                       // designs read during a transaction
    bool inTransaction_ = false;
    MariaDbRollbackJournal journal_;
    // The last statement rewritten, for the statement a row copy sends for
    // every row; forgotten with the design.
    std::string preparedSql_;
    std::string preparedText_;
};

}  // namespace vorn
