#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dbcontract/CatalogInfo.h"
#include "runtime/Variant.h"
#include "runtime/VornError.h"

namespace vorn {

// Where a server connection goes: what a connect string says, parsed.
struct ServerTarget {
    std::int16_t provider = 0;
    // The server as the user gave it: a folder (SQLite), "host",
    // "host:port" or a unix socket path (MariaDB).
    std::string server;
    // The server text taken apart (MariaDB): the host ("localhost" for a
    // socket), the port (0: the default) and the socket path ("" for TCP).
    std::string host;
    std::uint16_t port = 0;
    std::string socket;
    // "" attaches to the server's default or system database.
    std::string database;
    // "" for integrated sign-on.
    std::string user;
    std::string password;

    // "provider 8, server 'h:3306', database 'x', user 'u'": for messages;
    // never shows the password.
    std::string Describe() const;
};

// A parameter of a statement with named markers: `name` is the marker
// without its "@" ("param0" for "@param0").
struct NamedValue {
    std::string name;
    Variant value;
};

// The rows of one query, read forward once. Owned by the caller; it must be
// dropped before its connection closes.
class ServerCursor {
  public:
    virtual ~ServerCursor() = default;
    ServerCursor() = default;
    ServerCursor(const ServerCursor&) = delete;
    ServerCursor& operator=(const ServerCursor&) = delete;

    // The result columns in order: name, DAO type (from the server's type
    // of the column, or of the value for an expression), size, and the
    // table and column the result column comes from when the server knows.
    virtual const std::vector<FieldInfo>& Columns() const = 0;

    // Reads the next row into `row`, one value per column: Null for SQL
    // NULL, otherwise the Variant kind of the column's DAO type (Currency
    // for 5, Date for 8, Boolean for 1, Binary for 11, Decimal for 20...).
    // False at the end. Failures as the connection's.
    virtual bool Next(std::vector<Variant>& row) = 0;
};

// One open connection to one database of one server engine: the seam under
// DalConnection and IdaoDatabase. An engine subclasses it in
// src/dbcontract/<engine>/ and is reached only through OpenServerConnection.
//
// Every failure is a VornError numbered errnum::kDalGenericFailure
// (-2146233088) whose description is the server's own message (with the
// target, never the password, when the connection itself fails).
// Statements take the engine's own SQL: text written for SQL Server goes
// through Prepare first. Values always travel as bound parameters, never as
// text; names in generated SQL always go through QuoteName.
class ServerConnection {
  public:
    virtual ~ServerConnection() = default;
    ServerConnection() = default;
    ServerConnection(const ServerConnection&) = delete;
    ServerConnection& operator=(const ServerConnection&) = delete;

    virtual const ServerTarget& Target() const = 0;

    // The statement, written in SQL Server's dialect as the system sends it
    // on every provider, in this engine's dialect (SqlServerRewriter with the
    // engine's SqlDialect): one statement, or several separated by ";" that
    // Execute runs in order; "" for one with nothing to do here. Raises
    // kDalGenericFailure, quoting the statement and naming the engine, for
    // a statement it does not understand or that SQL Server would refuse.
    // DalConnection and IdaoDatabase pass every statement of the system
    // through it; SQL made by the engines themselves does not. The base
    // returns the text unchanged.
    virtual std::string Prepare(std::string_view sql) { return std::string(sql); }
    // The same for a search condition alone and for an ORDER BY list alone
    // (a recordset's Filter and Sort).
    virtual std::string PrepareCondition(std::string_view condition) { return std::string(condition); }
    virtual std::string PrepareOrderList(std::string_view list) { return std::string(list); }

    // Jet SQL, as a Database of the data access objects takes it, in this
    // engine's dialect, with the meaning it has in Jet. A query: the rows of
    // a table (`isTable`) or of a SELECT, with a recordset's Filter (a Jet
    // condition) and Sort (a Jet ORDER BY list) on top, both may be empty.
    // `passThrough` (option dbSQLPassThrough): the SELECT is the server's
    // text, SQL Server's dialect, and only Filter and Sort are Jet's.
    // `columnTypes` gives the DAO type of each result column as its values
    // come from QueryAs (0: as the engine reads it). Raises
    // kDalGenericFailure, quoting the statement and naming the engine, for
    // Jet SQL it does not understand; a change of design is refused (it
    // goes to the server through a DalConnection). The base has no Jet.
    struct JetQuery {
        std::string sql;
        std::vector<std::int16_t> columnTypes;
    };
    virtual JetQuery PrepareJetQuery(std::string_view source, bool isTable, std::string_view filter,
                                     std::string_view sort, bool passThrough = false);
    // An INSERT, UPDATE or DELETE of Jet SQL in this engine's dialect.
    virtual std::string PrepareJetChange(std::string_view sql);
    // Query with the result columns read as `columnTypes` says (a
    // PrepareJetQuery's); the base reads them as Query does.
    virtual std::unique_ptr<ServerCursor> QueryAs(std::string_view sql, const std::vector<std::int16_t>& columnTypes) {
        (void)columnTypes;
        return Query(sql);
    }

    // Runs one statement that returns no rows, with "?" markers bound to
    // `params` in order. Returns the rows it changed.
    virtual std::int64_t Execute(std::string_view sql, const std::vector<Variant>& params = {}) = 0;

    // The same with named markers "@name"; every marker needs a value of
    // that name (the names compare ignoring case); extra values are unused.
    virtual std::int64_t ExecuteNamed(std::string_view sql,
                                      const std::vector<NamedValue>& params) = 0;

    // Runs a query with "?" markers; the caller reads the rows.
    virtual std::unique_ptr<ServerCursor> Query(std::string_view sql,
                                                const std::vector<Variant>& params = {}) = 0;

    // The identity (auto-increment) value of the row inserted last on this
    // connection.
    virtual std::int64_t LastInsertId() = 0;

    // A column that identifies a row in every table of this engine even
    // without a primary key ("rowid" on SQLite); "" when the engine has
    // none, and rows are then found by the primary key alone.
    virtual std::string RowIdColumn() const = 0;

    // One server transaction at a time. Rollback leaves the database as it
    // was at BeginTransaction, DDL included (an engine whose DDL commits by
    // itself records what it made and wrote, and undoes it).
    // REQUIRES for Commit and Rollback: InTransaction().
    virtual void BeginTransaction() = 0;
    virtual void Commit() = 0;
    virtual void Rollback() = 0;
    virtual bool InTransaction() const = 0;

    // The base tables of the database (no views, no tables of the engine's
    // own), in name order.
    virtual std::vector<std::string> TableNames() = 0;
    // Whether the table exists; the name compares ignoring case.
    virtual bool TableExists(std::string_view table) = 0;
    // The design of one table, found ignoring case, under its stored name:
    // fields in order with DAO type codes mapped from the server's types,
    // Size, Required, AllowZeroLength, Attributes (dbAutoIncrField 16 on an
    // identity column) and default text; indexes with their fields in key
    // order and each field's sort sense (dbDescending 1), primary, unique.
    // nullopt when there is no such table.
    virtual std::optional<TableInfo> ReadTable(std::string_view table) = 0;
    // The foreign keys of the database as relations: `table` the parent,
    // `foreignTable` the child, field pairs in key order, attributes with
    // dbRelationUpdateCascade 256 and dbRelationDeleteCascade 4096. A
    // relation without a name of its own is named "<child>_FK<n>".
    virtual std::vector<RelationInfo> ReadRelations() = 0;
    // Removes the default of a column; nothing when it has none.
    virtual void DropColumnDefault(std::string_view table, std::string_view column) = 0;

    // A table or column name in this engine's quoting, with its escaping:
    // nothing in the name can end the quoted name.
    virtual std::string QuoteName(std::string_view name) const = 0;

    // Databases of the server, by name.
    virtual bool DatabaseExists(std::string_view name) = 0;
    virtual void CreateDatabase(std::string_view name) = 0;

    // Releases the connection; nothing else is used after it. Never fails.
    virtual void Close() noexcept = 0;
};

// Opens a connection to `target` with its provider's engine. Fails with
// kDalGenericFailure naming the provider when there is no engine for it
// (SQL Server and Oracle, whose engines come later, and unknown codes), or
// naming the target when the server cannot be reached or refuses.
std::unique_ptr<ServerConnection> OpenServerConnection(const ServerTarget& target);

// The MariaDB/MySQL engine (provider 8), defined in src/dbcontract/mariadb/.
std::unique_ptr<ServerConnection> OpenMariaDbConnection(const ServerTarget& target);

// The embedded SQLite engine (provider 16), defined in src/dbcontract/sqlite/.
std::unique_ptr<ServerConnection> OpenSqliteServerConnection(const ServerTarget& target);

// The DAO type, size, precision and scale of a column from the type the
// server declares for it, in SQL Server's or the engine's words: int and
// integer 4 (smallint 3, tinyint 2, bit 1, bigint 16), money and currency 5,
// real 6, float and double 7, datetime, date and time 8, char/varchar/
// nvarchar/text(n) 10 with size n, their (max) forms, text, ntext and
// longtext 12, binary/varbinary(n) 9 with size n, blob, image and the
// unsized binaries 11, decimal and numeric(p,s) 20, uniqueidentifier 15.
// An unknown or empty type gives 12 (SQLite columns may have none).
// Sets field.type, size, precision and scale; leaves the rest.
void MapDeclaredType(std::string_view declared, FieldInfo& field);

// `value` as a column of `field`'s DAO type holds it (CCur for currency,
// CVDate for a date, CBool for a boolean...), so that every engine stores a
// currency as currency and a date as a date whatever kind the caller gave.
// Null and Empty give Null. Fails with kDalGenericFailure naming the field
// when the value does not convert.
Variant ValueForField(const Variant& value, const FieldInfo& field);

// The failure that the engines raise: kDalGenericFailure, `source`, and the
// server's `message`.
VornError ServerFailure(std::string_view source, std::string_view message);

}  // namespace vorn
