#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dbcontract/CatalogInfo.h"

// Rewrites Jet SQL into SQLite SQL with the meaning it has in Jet, for the
// engine that keeps project files in SQLite. The statement is tokenized and
// parsed whole before anything is written, so a statement is either
// translated entirely or refused with Jet's error number and a message that
// quotes it; it is never run half-translated.
//
// What the output relies on:
// - the functions and the collation of SqliteFunctions are registered with
//   the connection that runs it;
// - tables hold their values in the engine's stored forms (SqliteValueCodec:
//   dates as text, currency as ten-thousandths, booleans as 1 or 0), and
//   values written by a statement are converted to the form of their field;
// - every name is written in SQLite's quoting, "name" with '"' doubled, so
//   a name with quotes, brackets, blanks or any letter injects nothing.
namespace vorn {

// What the translator may ask of the database: its tables (and saved
// queries, described as tables of their result columns). Read only.
class JetCatalogView {
  public:
    virtual ~JetCatalogView() = default;
    JetCatalogView() = default;
    JetCatalogView(const JetCatalogView&) = delete;
    JetCatalogView& operator=(const JetCatalogView&) = delete;

    // The table or saved query of that name, compared ignoring case, with
    // its fields in order and its indexes; nullopt when there is none. A
    // table linked to another project file keeps its Connect
    // (";DATABASE=<file>;") and SourceTableName, and statements read and
    // write through to that file.
    virtual std::optional<TableInfo> FindTable(std::string_view name) const = 0;

    // The same for a table of another project file, named in a statement by
    // IN '<file>'. nullopt when the file or the table is not there.
    virtual std::optional<TableInfo> FindTableIn(std::string_view file,
                                                 std::string_view name) const = 0;

    // True when `name` (as FindTable found it) is a saved query, whose rows
    // cannot be changed through a query on it.
    virtual bool IsQuery(std::string_view name) const = 0;
};

// Another project file that a statement reads or writes, named by IN
// '<file>' or by the connect string ";DATABASE=<file>;" of a linked table:
// the engine runs ATTACH DATABASE with the file (bound, or as an escaped
// literal) AS "<schema>" before the statement and DETACH after it. The
// statement names the file's tables "<schema>"."<table>".
struct JetAttachment {
    std::string file;
    std::string schema;
};

// One schema change, in DAO's terms, for the engine to carry out through
// its own schema operations so that its catalog stays in step.
struct JetSchemaOperation {
    enum class Kind {
        CreateTable,  // `tableInfo`, with its fields and indexes
        DropTable,    // `table`
        AddField,     // `table`, `field`
        AlterField,   // `table`, `name` (the field now), `field` (its new definition: type, size,
                      // required)
        DropField,    // `table`, `name`
        CreateIndex,  // `table`, `index`
        DropIndex,    // `table`, `name`
        CreateRelation,  // `relation`
        DropRelation,    // `name`
    };
    Kind kind = Kind::CreateTable;
    std::string table;
    std::string name;
    TableInfo tableInfo;
    FieldInfo field;
    IndexInfo index;
    RelationInfo relation;
};

enum class JetStatementKind {
    Query,         // `sql` is a SELECT; `columns` describe its result
    DataChange,    // `sql` is an INSERT, UPDATE or DELETE
    SchemaChange,  // `schema` lists the operations; for SELECT ... INTO, `sql` then fills the new
                   // table
};

struct JetTranslation {
    JetStatementKind kind = JetStatementKind::Query;
    // The SQLite statement (empty for a schema change that has none).
    std::string sql;
    // Query: one entry per result column, in order: the name Jet gives it,
    // the DAO type of its values as they come (type 0 when not known: read
    // the value as SQLite gives it), and sourceTable/sourceField for a
    // column taken straight from a table. A column of type dbDate holds
    // stored date text, dbCurrency ten-thousandths, dbBoolean 1 or 0.
    std::vector<FieldInfo> columns;
    // The parameters ("?" and "@name") in the order of their numbers: the
    // statement uses ?1, ?2, ...; one name used twice is one number. "?"
    // markers have an empty name.
    std::vector<std::string> parameters;
    // Other project files the statement needs, in the order of first use.
    std::vector<JetAttachment> attachments;
    std::vector<JetSchemaOperation> schema;
    // A query whose rows are rows of one table (no join, no grouping, no
    // DISTINCT, no UNION, not a saved query) names that table as the catalog
    // names it, so that its rows can be changed; empty otherwise.
    std::string updatableTable;
    // Set when the row id of that table was asked for: the index of the
    // extra last column, named kRowKeyColumn, that holds it. That column is
    // not in `columns`.
    std::optional<std::size_t> rowKeyColumn;
};

struct JetTranslateOptions {
    // For a query of one table: add the table's row id as a last column.
    bool withRowKey = false;
    // The schema under which the engine has attached (or will attach) a
    // file, for an engine that keeps its own aliases; when empty, the
    // translator names them "vorn_in1", "vorn_in2", ... Either way the
    // files are listed in `attachments`.
    std::function<std::string(const std::string& file)> schemaOf;
};

class JetSqlTranslator {
  public:
    // The name of the row-id column that withRowKey adds.
    static constexpr const char* kRowKeyColumn = "vorn_rowkey";

    // REQUIRES: `catalog` outlives the translator.
    explicit JetSqlTranslator(const JetCatalogView& catalog);

    // Translates one Jet statement (a trailing ";" is allowed). Raises
    // VornError with Jet's number when Jet would refuse it: 3075 syntax
    // error in an expression, 3129 not a statement Jet knows, 3131 FROM,
    // 3134 INSERT INTO, 3144 UPDATE, 3290 CREATE TABLE, 3291 CREATE INDEX,
    // 3293 ALTER TABLE, 3295 DROP, 3142 characters after the end; 3078 an
    // unknown table, 3061 an unknown name ("too few parameters"), 3079 an
    // ambiguous name, 3085 an unknown function, 3127 an unknown field of an
    // INSERT INTO, 3346 values that do not match the fields, 3464 a value
    // that does not fit its field or date, 3128 a DELETE of a join without
    // its table; 3010 a table that exists, 3376 a table that does not, 3380
    // a field that exists, 3191 a field named twice, 3375 an index that
    // exists, 3265 an unknown field or index in a schema change, 3259 an
    // unknown field type; and 3251 for Jet SQL this translator does not
    // handle (TOP ... PERCENT, PARAMETERS, TRANSFORM, an outer join in an
    // UPDATE). Every message quotes the statement and the position.
    JetTranslation Translate(std::string_view jetSql,
                             const JetTranslateOptions& options = {}) const;

    // The rows a recordset opens: a table by name or a Jet statement, with
    // a recordset's Filter (a Jet expression over the recordset's fields)
    // and Sort (a Jet ORDER BY list without the words) applied on top; both
    // may be empty. The result is a query as Translate gives it.
    JetTranslation TranslateRows(std::string_view source, bool isTable, std::string_view filter,
                                 std::string_view sort,
                                 const JetTranslateOptions& options = {}) const;

    // A name in SQLite's quoting: "a""b".
    static std::string QuoteName(std::string_view name);

  private:
    const JetCatalogView& catalog_;
};

}  // namespace vorn
