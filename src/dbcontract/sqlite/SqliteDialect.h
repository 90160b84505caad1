#pragma once

#include <map>
#include <string>
#include <string_view>

#include "dbcontract/SqlDialect.h"

namespace vorn {

class ServerConnection;

// SQLite's words for the statements of SqlServerRewriter, on the embedded
// enterprise engine (SqliteServerConnection).
//
// Columns keep the server type they were given, spelled so SQLite takes it
// (NVARCHAR(255), NTEXT for nvarchar(max), BLOB for varbinary(max), MONEY,
// ...), so that the design reads back from SQLite's own catalog; text
// columns compare ignoring case (COLLATE NOCASE), as SQL Server's do.
// An identity that is the table's whole key is SQLite's row id (INTEGER
// PRIMARY KEY AUTOINCREMENT); any other is declared "INT IDENTITY" and
// numbered from the row id by a trigger.
// Index names are one name space per file in SQLite, so an index is stored
// as "<table>.<index>" and read back under its own name.
// What SQLite cannot change in place (a column made NOT NULL, a column NOT
// NULL added to an empty table, a foreign key added or dropped, a default
// dropped) is changed in the table's stored CREATE TABLE text, which keeps
// the rows as they are; the rewriter has checked the rows first.
class SqliteDialect final : public SqlDialect {
  public:
    // REQUIRES: `connection` is a SQLite server connection that outlives this.
    explicit SqliteDialect(ServerConnection& connection) : connection_(connection) {}

    // The stored name of index `index` of `table`.
    static std::string StoredIndexName(std::string_view table, std::string_view index);
    // The index's own name from its stored name; the stored name when it was
    // not made so.
    static std::string IndexNameFromStored(std::string_view table, std::string_view stored);
    // The name of the trigger that numbers the identity of `table`.
    static std::string IdentityTriggerName(std::string_view table);

    std::string_view EngineName() const override { return "SQLite"; }
    std::string Quote(std::string_view name) const override;

    std::optional<TableInfo> FindTable(std::string_view name) override;
    std::vector<RelationInfo> Relations() override;
    bool AnyRow(const std::string& query) override;
    void CheckName(std::string_view name, std::string_view what) const override;

    std::string CreateTable(const ServerTable& table) override;
    std::string CreateIndex(const ServerIndex& index) override;
    std::string AddColumns(const TableInfo& table,
                           const std::vector<ServerColumn>& columns) override;
    std::string AlterColumn(const TableInfo& table, const ServerColumn& column) override;
    std::string DropColumn(const TableInfo& table, std::string_view column) override;
    std::string AddForeignKey(const TableInfo& table, const ServerForeignKey& key,
                              bool checkRows) override;
    std::string DropForeignKey(const TableInfo& table, std::string_view name) override;
    std::string DropDefault(const TableInfo& table, std::string_view column) override;
    std::string DropIndex(const TableInfo& table, std::string_view index) override;

    std::string StringLiteral(std::string_view text) const override;
    std::string DateLiteral(double serial) const override;
    std::string Concat(const std::vector<std::string>& parts) const override;
    std::string ToText(const SqlExpr& value, std::int32_t length, bool fixed,
                       int style) const override;
    std::string ToNumber(const SqlExpr& value, const ServerType& type) const override;
    std::string ToDate(const SqlExpr& value) const override;
    std::string CutFraction(const SqlExpr& parameter) const override;
    std::optional<std::string> Function(std::string_view upperName,
                                        const std::vector<SqlExpr>& args) const override;
    std::string LikePattern(const SqlExpr& pattern) const override { return pattern.sql; }
    std::string InsertDefaults(std::string_view table) const override;

  private:
    std::string ColumnDefinition(const ServerColumn& column, bool rowId,
                                 const std::string& keyName) const;
    std::string ForeignKeyClause(const ServerForeignKey& key) const;
    std::string IdentityTrigger(std::string_view table, std::string_view column) const;
    std::string CreateSql(std::string_view table);
    std::string SchemaEdit(std::string_view table, const std::string& createSql);

    ServerConnection& connection_;
    // Stored texts as the edits of this statement leave them, by upper-case
    // table name, so that a second edit of one table builds on the first.
    std::map<std::string, std::string> edited_;
    int edits_ = 0;
};

}  // namespace vorn
