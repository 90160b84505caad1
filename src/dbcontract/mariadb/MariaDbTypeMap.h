#pragma once

#include <cstdint>
#include <string>

#include <mysql.h>

#include "dbcontract/CatalogInfo.h"

namespace vorn {

// A column as information_schema.COLUMNS describes it.
struct MariaDbColumnType {
    std::string dataType;    // DATA_TYPE: "int", "varchar", "decimal"
    std::string columnType;  // COLUMN_TYPE: "tinyint(1)", "int(10) unsigned"
    std::int64_t charLength = 0;  // CHARACTER_MAXIMUM_LENGTH
    int precision = 0;            // NUMERIC_PRECISION
    int scale = 0;                // NUMERIC_SCALE
    std::string extra;            // EXTRA: "auto_increment"
};

// The server's column types and the DAO type codes, both ways.
// FLOAT is the 4-byte single and DOUBLE the 8-byte double here; REAL is a
// double on this server (the reverse of another server's naming), so the
// types written are always FLOAT or DOUBLE, never REAL.
// Money is DECIMAL(19,4): exact, with the currency's range and four decimals.
class MariaDbTypeMap {
public:
    // Fills the type, Size, attributes, precision and scale of `field`.
    static void Describe(const MariaDbColumnType& column, FieldInfo& field);

    // The DAO type code of a column of a result set.
    static std::int16_t DaoTypeOfResult(const MYSQL_FIELD& field);

    // The precision of a DECIMAL column of a result set.
    static int DecimalPrecision(const MYSQL_FIELD& field);

    // The server type that stores a field of this DAO type, with
    // AUTO_INCREMENT when the field counts.
    static std::string ServerType(const FieldInfo& field);
};

}  // namespace vorn
