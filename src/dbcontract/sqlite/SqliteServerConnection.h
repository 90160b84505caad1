#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dbcontract/ServerConnection.h"

namespace vorn {

class SqliteServerFile;

// The embedded enterprise engine: a server is a folder, a database the file
// "<folder>/<database>.sqlite". Every connection to one file in the process
// shares one SQLite connection (SqliteServerFile), so reads through an
// IdaoDatabase inside a transaction of a DalConnection see its work.
// Foreign keys are enforced, cascades included. A connection whose target
// names no database (or the SQL Server system database "master") is a
// connection to the folder: it answers DatabaseExists and CreateDatabase,
// and every statement fails.
//
// SQL Server's text is rewritten by SqlServerRewriter with SqliteDialect,
// which says how tables, types, identities and index names are kept.
//
// Values are stored as the project files store them, so that they compare
// and round-trip alike: currency as INTEGER ten-thousandths, dates as TEXT
// "YYYY-MM-DD HH:MM:SS[.fff]", booleans 1/0, decimals as TEXT of their
// digits, binary as BLOB. A column's declared type decides how a stored
// value is read back.
class SqliteServerConnection : public ServerConnection {
  public:
    // Opens the database file of `target` (when it names one). Fails when
    // the file does not exist.
    explicit SqliteServerConnection(ServerTarget target);
    ~SqliteServerConnection() override;

    const ServerTarget& Target() const override { return target_; }
    std::string Prepare(std::string_view sql) override;
    std::string PrepareCondition(std::string_view condition) override;
    std::string PrepareOrderList(std::string_view list) override;
    // Jet SQL through the translator of the project files: the values are
    // stored in the same forms here.
    JetQuery PrepareJetQuery(std::string_view source, bool isTable, std::string_view filter,
                             std::string_view sort, bool passThrough) override;
    std::string PrepareJetChange(std::string_view sql) override;
    std::unique_ptr<ServerCursor> QueryAs(std::string_view sql,
                                          const std::vector<std::int16_t>& columnTypes) override;
    std::int64_t Execute(std::string_view sql, const std::vector<Variant>& params) override;
    std::int64_t ExecuteNamed(std::string_view sql, const std::vector<NamedValue>& params) override;
    std::unique_ptr<ServerCursor> Query(std::string_view sql,
                                        const std::vector<Variant>& params) override;
    std::int64_t LastInsertId() override;
    std::string RowIdColumn() const override { return "rowid"; }
    void BeginTransaction() override;
    void Commit() override;
    void Rollback() override;
    bool InTransaction() const override;
    std::vector<std::string> TableNames() override;
    bool TableExists(std::string_view table) override;
    std::optional<TableInfo> ReadTable(std::string_view table) override;
    std::vector<RelationInfo> ReadRelations() override;
    void DropColumnDefault(std::string_view table, std::string_view column) override;
    std::string QuoteName(std::string_view name) const override;
    bool DatabaseExists(std::string_view name) override;
    void CreateDatabase(std::string_view name) override;
    void Close() noexcept override;

    // The file of database `name` in the folder of `server`.
    static std::string DatabasePath(std::string_view server, std::string_view name);

  private:
    SqliteServerFile& File() const;
    std::optional<std::string> StoredTableName(std::string_view table);

    ServerTarget target_;
    std::shared_ptr<SqliteServerFile> file_;
    // The last statement rewritten, for the statement a row copy sends for
    // every row; good while the schema version is the same.
    struct PreparedText {
        std::string sql;
        std::int64_t schemaVersion = -1;
        std::string text;
    } lastPrepared_;
};

}  // namespace vorn
