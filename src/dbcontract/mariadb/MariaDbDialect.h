#pragma once

#include <string>
#include <string_view>

#include "dbcontract/SqlDialect.h"

namespace vorn {

class ServerConnection;

// MariaDB's words for the statements of SqlServerRewriter.
//
// Types are mapped explicitly: real is FLOAT (4 bytes) and float DOUBLE (8),
// the reverse of what the words mean on this server; money is DECIMAL(19,4);
// bit is TINYINT(1); nvarchar(n) is VARCHAR(n) in the database's utf8mb4.
// An identity is AUTO_INCREMENT; one that leads no key gets a key of its
// own named kIdentityKey, which the catalog does not show. A primary key
// keeps its name in the key's comment (the server names every primary key
// PRIMARY).
// What the server cannot hold is refused with the reason: a name longer than
// 64 characters, a primary key, an index that is not unique, or the key of a
// foreign key longer than 3,072 bytes (text counts 4 bytes a character; a
// longer unique index is kept by a hash, which no foreign key can use).
// The session reads a backslash in text as plain text; LIKE still takes it
// for its escape, so a pattern has its backslashes doubled.
class MariaDbDialect final : public SqlDialect {
  public:
    static constexpr const char* kIdentityKey = "vorn_identity";
    static constexpr std::size_t kMaxNameLength = 64;
    static constexpr std::int64_t kMaxKeyBytes = 3072;

    // REQUIRES: `connection` is a MariaDB connection that outlives this.
    explicit MariaDbDialect(ServerConnection& connection) : connection_(connection) {}

    std::string_view EngineName() const override { return "MariaDB"; }
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
    std::string LikePattern(const SqlExpr& pattern) const override;
    std::string InsertDefaults(std::string_view table) const override;

    std::optional<SqlExpr> JetFunction(std::string_view upperName,
                                       const std::vector<SqlExpr>& args) const override;
    std::optional<std::string> JetLike(const SqlExpr& value, const SqlExpr& pattern) const override;
    std::string JetConcat(const std::vector<std::string>& parts) const override;
    std::string IntegerDivide(const std::string& left, const std::string& right) const override;

  private:
    std::optional<std::string> JetFormat(const SqlExpr& value, const SqlExpr& pattern) const;
    std::string ColumnDefinition(const ServerColumn& column) const;
    std::string ForeignKeyClause(const ServerForeignKey& key) const;
    std::string KeyList(const std::vector<ServerKeyColumn>& columns) const;
    void CheckForeignKeyBytes(const std::string& table, const ServerForeignKey& key,
                              const std::vector<ServerColumn>* creating);

    ServerConnection& connection_;
};

}  // namespace vorn
