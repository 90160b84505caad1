#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <mysql.h>

#include "dbcontract/mariadb/MariaDbHandle.h"
#include "runtime/Variant.h"

namespace vorn {

// A column of a statement's result.
struct MariaDbColumn {
    std::string name;       // the name or alias as selected
    std::string table;      // the table (alias) it comes from, if any
    std::string orgTable;   // the stored table
    std::string orgName;    // the stored column
    std::int16_t daoType = 10;
    std::int32_t size = 0;
    bool autoIncrement = false;
    bool primaryKey = false;
    bool notNull = false;
};

// One prepared statement (MYSQL_STMT*) with "?" markers. Every value travels
// as a bound parameter of its own type; results are read into Variants of
// the DAO type their column maps to, and are held on the client, so the
// connection is free for other statements while the rows are read.
class MariaDbStatement {
public:
    // Prepares `sql`; a failure carries the server's message.
    MariaDbStatement(MariaDbHandle& handle, std::string_view sql);
    ~MariaDbStatement();
    MariaDbStatement(const MariaDbStatement&) = delete;
    MariaDbStatement& operator=(const MariaDbStatement&) = delete;

    std::size_t ParameterCount() const;

    // Runs the statement with one value per marker. Returns the rows it
    // touched (for a query, the rows it returned).
    std::uint64_t Execute(const std::vector<Variant>& values = {});

    // The first value the statement's insert gave an AUTO_INCREMENT column.
    std::uint64_t InsertId() const;

    // The result's columns; empty for a statement without rows.
    const std::vector<MariaDbColumn>& Columns() const { return columns_; }

    // Reads the next row; false after the last.
    bool Fetch(std::vector<Variant>& row);

    // Starts the rows again from the first.
    void Rewind();

private:
    struct Closer {
        void operator()(MYSQL_STMT* stmt) const noexcept { mysql_stmt_close(stmt); }
    };
    struct ParamSlot;
    struct ResultSlot;

    [[noreturn]] void Fail() const;
    void BindParameters(const std::vector<Variant>& values);
    void PrepareResult();
    Variant ReadColumn(std::size_t index);

    std::unique_ptr<MYSQL_STMT, Closer> stmt_;
    std::vector<ParamSlot> params_;
    std::vector<MYSQL_BIND> paramBinds_;
    std::vector<ResultSlot> results_;
    std::vector<MYSQL_BIND> resultBinds_;
    std::vector<MariaDbColumn> columns_;
};

}  // namespace vorn
