#pragma once

#include <memory>
#include <string>

#include "dbcontract/DatabaseBackend.h"
#include "dbcontract/ServerConnection.h"

namespace vorn {

// An enterprise database seen through the data access objects: the tables
// of the server's catalog (views left out) with their fields, indexes and
// foreign keys, and rows through recordsets. A recordset over one table's
// columns can add, change and delete rows, found again by the table's
// primary key or the engine's row id; any other is read only. The design
// is read, never changed: schema changes go to the server as SQL through a
// DalConnection.
class EnterpriseBackend : public DatabaseBackend {
  public:
    // What SQL its Execute and OpenRows take: SQL Server's text (an
    // IdaoDatabase) or Jet SQL (a Database that DBEngine opened on the
    // enterprise database), each rewritten by the engine.
    enum class Sql { SqlServer, Jet };

    // `connect` is what Database.Connect answers (the IDAO connect string,
    // or the connect string DBEngine.OpenDatabase was given).
    EnterpriseBackend(std::shared_ptr<ServerConnection> connection, std::string connect,
                      bool readOnly, Sql sql = Sql::SqlServer);

    std::string Name() const override;
    std::string Connect() const override { return connect_; }
    std::string Version() const override { return "4.0"; }
    bool Updatable() const override { return !readOnly_; }

    std::vector<TableInfo> ReadTables() override;
    std::vector<RelationInfo> ReadRelations() override;
    std::vector<QueryInfo> ReadQueries() override { return {}; }
    std::vector<PropertyInfo> ReadProperties(const PropertyOwnerKey&) override { return {}; }

    // Each fails: the enterprise design changes only through SQL.
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

    // Runs the statement through the connection's rewrite of its SQL; 3027
    // when read only. On a Jet database a statement that is no query or
    // change of rows (DROP TABLE, ALTER TABLE ... DROP CONSTRAINT) goes as
    // SQL Server's text, as Jet passes such a statement to the server.
    std::int64_t Execute(std::string_view sql, std::int32_t options) override;
    std::unique_ptr<RowSource> OpenRows(const RowRequest& request) override;

    // A server transaction, unless one is open already (then the caller's
    // transaction covers the work and these do nothing).
    void BeginTrans() override;
    void CommitTrans() override;
    void Rollback() override;

    void Close() override;

  private:
    ServerConnection& Connection() const;
    void RefuseReadOnly() const;
    [[noreturn]] static void RefuseDesign();

    std::shared_ptr<ServerConnection> connection_;
    std::string connect_;
    bool readOnly_;
    Sql sql_;
    // One entry per open BeginTrans: true when it opened the server
    // transaction itself.
    std::vector<bool> transactions_;
};

}  // namespace vorn
