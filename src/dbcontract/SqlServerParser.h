#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dbcontract/SqlDialect.h"
#include "dbcontract/SqlTokenizer.h"

namespace vorn {

// The reader behind SqlServerRewriter: one statement's tokens, read by
// recursive descent, written out through the dialect as they are read.
// Internal to the rewriter; SqlServerParser.cpp holds the queries and
// expressions, SqlServerParserDdl.cpp the definitions and their checks.
class SqlServerParser {
  public:
    // Raises the tokenizer's failure as a refusal of the statement. `jet`:
    // the text is Jet SQL (a Database's), not SQL Server's: "x" is text,
    // & joins text, Jet's functions and LIKE patterns, and only queries and
    // changes of rows.
    SqlServerParser(SqlDialect& dialect, std::string_view sql, bool jet = false);

    std::string Statement();
    std::string ConditionOnly();
    std::string OrderListOnly();

  private:
    // A table in reach of a column name: its alias (or its name) and its
    // design when the catalog knows it.
    struct ScopeTable {
        std::string alias;
        std::optional<TableInfo> info;
    };

    // ---- Tokens ------------------------------------------------------------
    const SqlToken& Peek(std::size_t ahead = 0) const;
    const SqlToken& Next();
    bool Accept(std::string_view word);
    void Expect(std::string_view word);
    bool AcceptSymbol(std::string_view symbol);
    void ExpectSymbol(std::string_view symbol);
    bool AtStatementEnd() const;
    void ExpectStatementEnd();
    bool IsNameToken(const SqlToken& token) const;
    [[noreturn]] void SyntaxError(const SqlToken& at) const;
    [[noreturn]] void Refuse(const std::string& why) const;

    // ---- Names -------------------------------------------------------------
    std::string Name();
    // A table name, its owner or database part dropped: the engines have
    // neither.
    std::string TableName();
    std::string QuotedTable(const std::string& name);
    const std::optional<TableInfo>& Table(const std::string& name);
    TableInfo RequireTable(const std::string& name);
    static const FieldInfo* FieldOf(const TableInfo& table, std::string_view name);

    // ---- Queries -----------------------------------------------------------
    std::string Select();
    std::string SelectCore(std::string& limit);
    std::string SelectList();
    std::string FromClause();
    std::string TableReference();
    std::string OrderList();
    std::vector<ScopeTable> ScanFrom(std::size_t from);

    // ---- Expressions -------------------------------------------------------
    SqlExpr Expression();
    SqlExpr OrExpression();
    SqlExpr AndExpression();
    SqlExpr NotExpression();
    SqlExpr Predicate();
    SqlExpr Additive();
    SqlExpr Multiplicative();
    SqlExpr Unary();
    SqlExpr Power();
    SqlExpr Primary();
    SqlExpr Literal();
    SqlExpr ColumnReference();
    SqlExpr FunctionCall(const std::string& name);
    SqlExpr Aggregate(const std::string& name);
    SqlExpr Case();
    SqlExpr Convert();
    SqlExpr Cast();
    SqlExpr ConvertTo(const ServerType& type, const SqlExpr& value, int style);
    SqlExpr Parenthesized();
    std::vector<SqlExpr> Arguments();
    SqlExpr Combine(const SqlExpr& left, const std::string& op, const SqlExpr& right);
    SqlExpr Coerced(const SqlExpr& value, SqlValueKind target) const;
    SqlExpr Written(const SqlExpr& value, const FieldInfo& field, const std::string& table) const;
    SqlValueKind KindOfColumn(const std::vector<std::string>& parts) const;

    // ---- Data changes ------------------------------------------------------
    std::string Insert();
    std::string Update();
    std::string Delete();

    // ---- Definitions -------------------------------------------------------
    std::string Create();
    std::string CreateTable();
    std::string CreateIndex(bool unique);
    std::string CreateView();
    std::string AlterTable();
    std::string AlterAdd(const TableInfo& table, bool checkRows);
    std::string AlterColumn(const TableInfo& table);
    std::string DropConstraint(const TableInfo& table);
    std::string Drop();
    ServerType Type();
    ServerColumn ColumnDefinition(ServerTable* table);
    void ColumnConstraint(ServerColumn& column, ServerTable* table, const std::string& name);
    ServerKey KeyConstraint(const std::string& name, bool primary);
    ServerForeignKey ForeignKey(const std::string& name, std::vector<std::string> columns);
    std::vector<ServerKeyColumn> KeyColumns();
    void IndexOptions();
    SqlExpr DefaultValue();

    // ---- Checks ------------------------------------------------------------
    void CheckTable(ServerTable& table);
    bool HasRows(const std::string& table);
    void CheckRowsFit(const TableInfo& table, const ServerColumn& column);
    void CheckRowsReferenceParents(const std::string& child, const ServerForeignKey& key);
    void CheckNotReferenced(const std::string& table);
    void CheckKeyColumns(const std::string& table, const std::vector<ServerKeyColumn>& columns,
                         const std::vector<ServerColumn>* creating,
                         const TableInfo* existing) const;
    // Also fills in the parent's columns when the key names none, and puts
    // the column pairs in the order of the parent's key.
    void CheckForeignKey(const std::string& child, ServerForeignKey& key,
                         const ServerTable* creating);
    void CheckCascadePaths(const std::string& child, const ServerForeignKey& key,
                           const std::vector<ServerForeignKey>& alsoAdded);

    SqlDialect& dialect_;
    bool jet_ = false;
    std::string sql_;
    std::vector<SqlToken> tokens_;
    std::size_t pos_ = 0;
    std::vector<std::vector<ScopeTable>> scopes_;
    std::map<std::string, std::optional<TableInfo>> tables_;  // by upper-case name
};

}  // namespace vorn
