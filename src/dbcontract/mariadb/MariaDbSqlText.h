#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dbcontract/ServerConnection.h"
#include "dbcontract/SqlTokenizer.h"
#include "runtime/Variant.h"

namespace vorn {

// What a statement does, as far as the MariaDB connection cares: whether it
// commits by itself (DDL) and what it makes, so that a transaction can be
// undone.
enum class MariaDbStatementKind {
    Other,        // queries, updates, deletes, and what the server keeps in a transaction
    CreateTable,
    CreateView,
    CreateIndex,
    AlterTable,
    Insert,
    OtherDdl,     // DROP, RENAME, TRUNCATE, CREATE DATABASE...: commits, cannot be undone
};

// One value of an inserted row as the statement gives it.
struct MariaDbInsertValue {
    enum class Form { Given, Null, Default, Expression };
    Form form = Form::Expression;
    Variant value;  // for Given
};

// The rows an INSERT ... VALUES statement gives, column by column.
struct MariaDbInsertShape {
    std::string table;
    std::vector<std::string> columns;  // empty: every column in order
    std::vector<std::vector<MariaDbInsertValue>> rows;  // empty for INSERT ... SELECT / SET
};

// A statement in the server's dialect, split into tokens for the rewrites
// the connection makes before sending it. Text that does not split is
// passed on unchanged, and the server reports on it.
class MariaDbSqlText {
public:
    explicit MariaDbSqlText(std::string_view sql);

    const std::string& Text() const { return sql_; }

    // The statement with each "@name" marker turned into "?", and the values
    // in marker order. A marker without a value (names ignore case) fails.
    std::string WithPositionalMarkers(const std::vector<NamedValue>& named, std::vector<Variant>& ordered) const;

    // The statement with every name that is a table's name but for case
    // replaced by the table's stored name. Names are resolved ignoring case
    // whatever the server's lower_case_table_names; column names and
    // aliases that happen to equal a table name ignoring case are rewritten
    // too, which is harmless since the server compares those ignoring case.
    std::string WithStoredNames(const std::function<std::optional<std::string>(const std::string&)>& stored) const;

    MariaDbStatementKind Kind() const;

    // The table the statement creates, alters, indexes or inserts into.
    std::string SubjectTable() const;
    // CREATE ... IF NOT EXISTS.
    bool IfNotExists() const;

    // The rows of an INSERT, with "?" markers read from `params`.
    std::optional<MariaDbInsertShape> Insert(const std::vector<Variant>& params) const;

    // A name quoted with backticks, a backtick inside doubled.
    static std::string QuoteName(std::string_view name);

private:
    // Index of the first token after the leading words of the statement's
    // kind (past CREATE [UNIQUE] INDEX, ALTER TABLE, INSERT INTO...).
    std::size_t NameIndex() const;
    std::string NameAt(std::size_t index, std::size_t* next = nullptr) const;
    std::string Rebuild(const std::function<std::optional<std::string>(const SqlToken&)>& replace) const;
    MariaDbInsertValue ValueOf(std::size_t begin, std::size_t end, const std::vector<Variant>& params) const;
    std::size_t ParameterIndex(std::size_t token) const;

    std::string sql_;
    std::vector<SqlToken> tokens_;  // empty when the text did not split
};

}  // namespace vorn
