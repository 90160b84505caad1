#pragma once

#include <iosfwd>

#include "dbcontract/Database.h"

namespace vorn {

// The design of a database in a stable text form: tables (system tables
// last), their fields with types and sizes, indexes, then relations, queries
// and the database's properties. Everything is listed in name order, so that
// two files with the same design print the same text.
class SchemaReport {
public:
    explicit SchemaReport(Database& database) : database_(database) {}

    void WriteText(std::ostream& out);
    void WriteJson(std::ostream& out);

    // "Text(255)", "Long", "Memo", "Decimal(18,4)" ...
    static std::string TypeName(const FieldInfo& field);

private:
    Database& database_;
};

}  // namespace vorn
