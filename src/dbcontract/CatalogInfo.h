#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "runtime/Variant.h"

// Plain records of a database's design, as an engine reads and writes it.
// The DAO objects (TableDef, Field, Index, ...) are built from these records
// and turned back into them when they are appended; engines see nothing else.
namespace vorn {

struct FieldInfo {
    std::string name;
    std::int16_t type = 10;        // a DAO type code (DaoConstants.h)
    std::int32_t size = 0;         // bytes: 255 for text, 4 for long, 0 for memo...
    std::int32_t attributes = 0;   // dbAutoIncrField, dbFixedField, dbVariableField, ...
    bool required = false;
    bool allowZeroLength = false;
    std::int16_t ordinalPosition = 0;  // 0-based position in the table
    std::string defaultValue;          // as DAO keeps it: expression text, "" for none
    std::string validationRule;
    std::string validationText;
    // Decimal fields only.
    std::uint8_t precision = 0;
    std::uint8_t scale = 0;
    // Recordset fields: the table and field the column comes from, if known.
    std::string sourceTable;
    std::string sourceField;
};

struct IndexFieldInfo {
    std::string name;
    std::int32_t attributes = 0;  // dbDescending
};

struct IndexInfo {
    std::string name;
    bool primary = false;
    bool unique = false;
    bool ignoreNulls = false;
    bool required = false;
    bool foreign = false;  // made by a relation; not appended by callers
    bool clustered = false;
    std::vector<IndexFieldInfo> fields;
};

struct TableInfo {
    std::string name;
    std::int32_t attributes = 0;
    std::string connect;          // ";DATABASE=<file>;" for an attached table
    std::string sourceTableName;  // the table's name in the attached database
    std::string validationRule;
    std::string validationText;
    double dateCreated = 0;  // date serials
    double lastUpdated = 0;
    std::vector<FieldInfo> fields;
    std::vector<IndexInfo> indexes;
};

struct RelationFieldInfo {
    std::string name;         // the field of the parent table
    std::string foreignName;  // the field of the child table
};

struct RelationInfo {
    std::string name;
    std::string table;         // the parent
    std::string foreignTable;  // the child
    std::int32_t attributes = 0;
    std::vector<RelationFieldInfo> fields;
};

struct QueryInfo {
    std::string name;
    std::string sql;
};

// A user-defined property, or the stored value of a built-in one that the
// engine keeps (such as a field's Description).
struct PropertyInfo {
    std::string name;
    std::int16_t type = 10;  // a DAO type code
    Variant value;
};

// Whose properties: the database (both empty), a table (field empty) or a
// field.
struct PropertyOwnerKey {
    std::string table;
    std::string field;
};

}  // namespace vorn
