#pragma once

#include <string>
#include <string_view>

#include "dbcontract/SqlDialect.h"

namespace vorn {

// Rewrites a statement written in SQL Server's dialect, as the system sends
// it on every provider, into the dialect of one engine, so that it runs with
// the meaning it has on SQL Server.
//
// The statement is read whole into tokens and shapes before a word is
// written, so it is either rewritten entirely or refused; it is never run
// half-translated. Names are written in the engine's quoting whatever quotes
// the text used ([x], `x`, "x" or none).
//
// What it reads: SELECT (DISTINCT, TOP, joins, sub-queries, UNION, GROUP BY,
// ORDER BY), INSERT (VALUES, SELECT, DEFAULT VALUES), UPDATE, DELETE;
// CREATE TABLE (types, IDENTITY, DEFAULT, NULL, PRIMARY KEY, UNIQUE, FOREIGN
// KEY, CLUSTERED, WITH (...), ON <filegroup>, TEXTIMAGE_ON, a trailing comma),
// CREATE INDEX, CREATE VIEW, ALTER TABLE (ADD, ALTER COLUMN, DROP
// CONSTRAINT, DROP COLUMN, WITH CHECK ADD CONSTRAINT, CHECK CONSTRAINT), DROP
// TABLE, VIEW and INDEX; a trailing ";".
//
// What it refuses as SQL Server refuses it (each with a message that quotes
// the statement and names the engine): an unknown type ([????]), a syntax
// error (an index list with two commas), two identity columns in a table, an
// index on a (max) column, a foreign key whose parent columns are not a
// primary key or unique index of the parent, a foreign key with a cascade
// that makes a second cascade path or a cycle, a column NOT NULL without
// default added to a table that has rows; and what an engine cannot hold
// (see the dialects: name lengths, key sizes).
class SqlServerRewriter {
  public:
    // Whether `sql` starts as a query or a change of rows does (SELECT,
    // INSERT, UPDATE, DELETE): its rewrite depends on the design only.
    static bool IsRowStatement(std::string_view sql);

    // REQUIRES: `dialect` outlives the rewriter.
    explicit SqlServerRewriter(SqlDialect& dialect) : dialect_(dialect) {}

    // The statement in the engine's dialect: one statement or, where the
    // engine needs several, statements separated by ";". "" for a statement
    // that has nothing to do on the engine (CHECK CONSTRAINT of a foreign key
    // the engine enforces anyway). Raises VornError kDalGenericFailure.
    std::string Rewrite(std::string_view sql);

    // A search condition alone, as a recordset's filter.
    std::string RewriteCondition(std::string_view condition);
    // An ORDER BY list without the words, as a recordset's sort.
    std::string RewriteOrderList(std::string_view list);

    // Jet SQL of a Database on the engine (a subset: SELECT, INSERT,
    // UPDATE, DELETE with Jet's operators, literals, LIKE patterns and the
    // functions of SqlDialect::JetFunction); anything else is refused.
    std::string RewriteJet(std::string_view sql);
    // The rows of a table or a Jet SELECT, with a Jet Filter and Sort.
    std::string RewriteJetRows(std::string_view source, bool isTable, std::string_view filter,
                               std::string_view sort);
    // A Jet condition alone, a Jet ORDER BY list alone.
    std::string RewriteJetCondition(std::string_view condition);
    std::string RewriteJetOrderList(std::string_view list);

  private:
    SqlDialect& dialect_;
};

}  // namespace vorn
