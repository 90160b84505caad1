#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "dbcontract/CatalogInfo.h"

// The statement shapes that SqlServerRewriter reads out of SQL Server text,
// and the engine side that writes them again in its own dialect. The
// rewriter checks everything SQL Server would check before a dialect sees a
// shape, so a dialect only chooses words; where an engine needs more than
// one statement (a schema edit, a trigger), its text holds them all,
// separated by ";".
namespace vorn {

// A column type as the statement spells it, read into its kind.
struct ServerType {
    enum class Kind {
        Bit,
        TinyInt,
        SmallInt,
        Int,
        BigInt,
        Money,
        SmallMoney,
        Real,
        Float,
        Decimal,
        DateTime,
        SmallDateTime,
        Date,
        Char,
        VarChar,
        NChar,
        NVarChar,
        Text,
        NText,
        Binary,
        VarBinary,
        Image,
    };
    // The length of "(max)".
    static constexpr std::int32_t kMax = -1;

    Kind kind = Kind::Int;
    std::int32_t length = 0;  // characters or bytes; kMax; 0 when not given
    int precision = 0;        // Decimal
    int scale = 0;

    bool IsText() const;
    bool IsBinary() const;
    // A type no index key may hold: (max), text, ntext, image.
    bool IsLong() const;
    // Bytes one value takes at most in an index key, characters counted at
    // `bytesPerCharacter`.
    std::int64_t KeyBytes(int bytesPerCharacter) const;
};

// What a value is, as far as the rewriter can tell: it decides what "+"
// means and how CONVERT formats.
enum class SqlValueKind { Unknown, Text, Number, Date, Binary };

// An expression written in the engine's dialect.
struct SqlExpr {
    SqlExpr() = default;
    SqlExpr(std::string sqlText, SqlValueKind valueKind = SqlValueKind::Unknown,
            bool isLiteral = false, std::string literalText = {})
        : sql(std::move(sqlText)),
          kind(valueKind),
          literal(isLiteral),
          text(std::move(literalText)) {}

    std::string sql;
    SqlValueKind kind = SqlValueKind::Unknown;
    // A plain literal (number, string, NULL): written bare where the engine
    // wants a constant, as in DEFAULT.
    bool literal = false;
    // The value of a string literal, unquoted.
    std::string text;
};

struct ServerColumn {
    std::string name;
    ServerType type;
    bool identity = false;
    bool notNull = false;
    std::optional<SqlExpr> defaultValue;
    // The column is the whole primary key (a column constraint, or the
    // table's key naming it alone).
    bool primaryKey = false;
};

struct ServerKeyColumn {
    std::string name;
    bool descending = false;
};

// A primary key or unique constraint of a table, or an index.
struct ServerKey {
    std::string name;  // "" when the statement gives none
    bool primary = false;
    bool unique = false;
    std::vector<ServerKeyColumn> columns;
};

struct ServerForeignKey {
    std::string name;
    std::vector<std::string> columns;
    std::string parent;
    std::vector<std::string> parentColumns;
    bool updateCascade = false;
    bool deleteCascade = false;
};

struct ServerTable {
    std::string name;
    std::vector<ServerColumn> columns;
    std::vector<ServerKey> keys;  // primary key first, then unique constraints
    std::vector<ServerForeignKey> foreignKeys;

    const ServerKey* PrimaryKey() const;
    // The column of an identity, or nullptr.
    const ServerColumn* IdentityColumn() const;
};

struct ServerIndex {
    std::string table;
    ServerKey key;
};

// One engine's words. Each Write... returns the whole text to run, or
// raises the engine's refusal (a VornError numbered kDalGenericFailure).
class SqlDialect {
  public:
    virtual ~SqlDialect() = default;
    SqlDialect() = default;
    SqlDialect(const SqlDialect&) = delete;
    SqlDialect& operator=(const SqlDialect&) = delete;

    // "SQLite", "MariaDB": for messages.
    virtual std::string_view EngineName() const = 0;
    virtual std::string Quote(std::string_view name) const = 0;

    // ---- What the database holds (for checks and for typing columns) -------
    virtual std::optional<TableInfo> FindTable(std::string_view name) = 0;
    virtual std::vector<RelationInfo> Relations() = 0;
    // Whether a query (written in the engine's dialect) gives any row.
    virtual bool AnyRow(const std::string& query) = 0;

    // ---- Names -------------------------------------------------------------
    // Raises when the engine cannot hold `name` as the name of a `what`
    // ("table", "column", "index", "constraint").
    virtual void CheckName(std::string_view name, std::string_view what) const = 0;

    // ---- Definitions -------------------------------------------------------
    virtual std::string CreateTable(const ServerTable& table) = 0;
    virtual std::string CreateIndex(const ServerIndex& index) = 0;
    // `table` as the catalog knows it.
    virtual std::string AddColumns(const TableInfo& table,
                                   const std::vector<ServerColumn>& columns) = 0;
    virtual std::string AlterColumn(const TableInfo& table, const ServerColumn& column) = 0;
    virtual std::string DropColumn(const TableInfo& table, std::string_view column) = 0;
    // `checkRows` false (WITH NOCHECK): the rows there are not checked.
    // REQUIRES: key.parentColumns given, in the order of the parent's key.
    virtual std::string AddForeignKey(const TableInfo& table, const ServerForeignKey& key,
                                      bool checkRows) = 0;
    virtual std::string DropForeignKey(const TableInfo& table, std::string_view name) = 0;
    virtual std::string DropDefault(const TableInfo& table, std::string_view column) = 0;
    virtual std::string DropIndex(const TableInfo& table, std::string_view index) = 0;
    // These four read alike on every engine so far.
    virtual std::string DropTable(std::string_view table);
    virtual std::string CreateView(std::string_view name, const std::string& select);
    virtual std::string DropView(std::string_view name, bool ifExists);
    // Whether `name` is the foreign key of `table` (its child).
    virtual bool HasForeignKey(const TableInfo& table, std::string_view name);

    // ---- Expressions -------------------------------------------------------
    virtual std::string StringLiteral(std::string_view text) const = 0;
    virtual std::string DateLiteral(double serial) const = 0;
    virtual std::string Concat(const std::vector<std::string>& parts) const = 0;
    // CONVERT and CAST to a text type: `length` characters (kMax: no
    // limit), padded with blanks when `fixed`; `style` 112 writes a date as
    // yyyymmdd, 0 the engine's text.
    virtual std::string ToText(const SqlExpr& value, std::int32_t length, bool fixed,
                               int style) const = 0;
    virtual std::string ToNumber(const SqlExpr& value, const ServerType& type) const = 0;
    virtual std::string ToDate(const SqlExpr& value) const = 0;
    // A parameter written to a whole-number column: a fraction it holds is
    // cut off, as SQL Server converts a float to an integer (the engines
    // round it).
    virtual std::string CutFraction(const SqlExpr& parameter) const = 0;
    // A function of SQL Server that engines spell differently: ISNUMERIC,
    // ISDATE, CHARINDEX, SPACE, LEN, LEFT, RIGHT, SUBSTRING, GETDATE,
    // ISNULL, DATALENGTH. nullopt for one the engine cannot give.
    virtual std::optional<std::string> Function(std::string_view upperName,
                                                const std::vector<SqlExpr>& args) const = 0;
    // The pattern of LIKE with its ESCAPE clause, when the engine needs one.
    virtual std::string LikePattern(const SqlExpr& pattern) const = 0;
    // INSERT of a row of defaults only.
    virtual std::string InsertDefaults(std::string_view table) const = 0;

    // ---- Jet SQL, for an engine that rewrites it with SqlServerRewriter ----
    // A function of Jet's expression service (IIf, Val, Format, Nz, Mid,
    // ...), by its upper-case name; nullopt for one the engine cannot give.
    virtual std::optional<SqlExpr> JetFunction(std::string_view upperName,
                                               const std::vector<SqlExpr>& args) const;
    // `value` LIKE a Jet pattern (* ? # [a-z] [!a]); nullopt when the pattern
    // is not a literal.
    virtual std::optional<std::string> JetLike(const SqlExpr& value, const SqlExpr& pattern) const;
    // & of Jet: text joined, Null taken as "".
    virtual std::string JetConcat(const std::vector<std::string>& parts) const;
    // \ of Jet, the whole quotient, and ^.
    virtual std::string IntegerDivide(const std::string& left, const std::string& right) const;
    virtual std::string Power(const std::string& base, const std::string& exponent) const;
};

}  // namespace vorn
