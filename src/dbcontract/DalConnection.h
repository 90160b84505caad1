#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "dbcontract/DalRelation.h"
#include "dbcontract/DalSortedList.h"
#include "dbcontract/ServerConnection.h"
#include "dbcontract/TableDef.h"
#include "runtime/Collection.h"
#include "runtime/VArray.h"

namespace vorn {

// A connection to an enterprise database that takes SQL text. Made by the
// caller for each run: SetProviderType first, then ConnectString from one of
// the BuildConnectString forms. There is no separate open: the first
// statement attaches to the server. Every failure of the server reaches the
// caller as a VornError numbered errnum::kDalGenericFailure (-2146233088)
// with the server's own message; a provider without an engine in this build
// (Oracle 2, SQL Server 4) or an unknown code fails at the first statement,
// naming the provider. Statements go through the engine's rewrite of SQL
// Server text (ServerConnection::Prepare); values always travel as bound
// parameters.
class DalConnection {
  public:
    DalConnection() = default;
    ~DalConnection();
    DalConnection(const DalConnection&) = delete;
    DalConnection& operator=(const DalConnection&) = delete;

    void SetProviderType(std::int16_t code) { provider_ = code; }
    std::int32_t ProviderType() const { return provider_; }

    // The connect string of the provider; nothing changes on the connection.
    // Without database and account: integrated sign-on to the server's
    // default database. "" for a provider the system does not know.
    std::string BuildConnectString(std::string_view server) const;
    std::string BuildConnectString(std::string_view server, std::string_view database) const;
    std::string BuildConnectString(std::string_view server, std::string_view database,
                                   std::string_view user, std::string_view password) const;

    const std::string& ConnectString() const { return connectString_; }
    // Attaches the connection to that target; an earlier attachment ends.
    void SetConnectString(std::string connect);

    // Recorded, as on a connection made from a stored connect string.
    const std::string& Server() const { return server_; }
    void SetServer(std::string server) { server_ = std::move(server); }
    const std::string& DatabaseName() const { return databaseName_; }
    void SetDatabaseName(std::string name) { databaseName_ = std::move(name); }

    // Runs a statement that returns nothing.
    void Execute(std::string_view sql);
    // The same with markers "@param0", "@param1"...: `names` holds the
    // markers (with or without "@"), `values` their values at the same
    // positions. The arrays are left as they were.
    void ExecuteParams(std::string_view sql, VArray& names, VArray& values);
    // The first column of the first row as a Long; 0 for Null or no row.
    std::int32_t ExecuteLong(std::string_view sql);
    // The same as text; "" for Null or no row.
    std::string ExecuteText(std::string_view sql);
    // A query of two columns as pairs sorted by the first.
    DalSortedList QueryPairs(std::string_view sql);
    // Adds one row: `columns` and `values` are one-dimensional arrays of the
    // same length; each value is stored as its column's type.
    void InsertRow(std::string_view table, const VArray& columns, const VArray& values);

    // One server transaction; the name is for the log only. Rollback
    // leaves the database as it was at BeginTransaction, DDL included.
    void BeginTransaction(std::string_view name);
    void Commit();
    void Rollback();
    bool InTransaction() const;

    // Asked on a connection to the provider's system database.
    bool DatabaseExists(std::string_view name);
    // Makes an empty database; false with the reason in `errorText` when it
    // cannot.
    bool CreateDatabase(std::string_view name, std::string& errorText);

    bool TableExists(std::string_view name);
    // The column names of `table` in order, 0-based; `owner` is not used
    // (a database has one owner of its tables here).
    VArray TableColumns(std::string_view table, std::string_view owner = {});
    // A collection keyed by the table's name holding the one table, with
    // its Fields and Indexes; empty when there is no such table.
    Collection<std::shared_ptr<TableDef>> TableSchema(std::string_view table);
    // The columns of an index in key order, 0-based; fails when the table
    // has no such index.
    VArray IndexColumns(std::string_view table, std::string_view index);
    bool IndexColumnDescending(std::string_view table, std::string_view index,
                               std::string_view column);
    void DropColumnDefault(std::string_view table, std::string_view field);
    // The foreign keys of the database as relations.
    std::vector<DalRelation> Relations();

    // A table or column name in the provider's quoting: [a]]b] for SQL
    // Server, `a``b` for MySQL, "a""b" for Oracle and SQLite.
    std::string QuoteName(std::string_view name) const;

    // Detaches; the object is not used again.
    void Close();
    // Detaches; the next statement attaches again.
    void Disconnect();

    // The engine connection, attached now if it is not yet.
    ServerConnection& Engine();

  private:
    ServerTarget Target() const;
    std::unique_ptr<ServerCursor> Query(std::string_view sql);
    Variant FirstValue(std::string_view sql);
    TableInfo RequireTable(std::string_view table);
    const IndexInfo& RequireIndex(const TableInfo& table, std::string_view index) const;

    std::int16_t provider_ = 0;
    std::string connectString_;
    std::string server_;
    std::string databaseName_;
    std::unique_ptr<ServerConnection> engine_;
};

}  // namespace vorn
