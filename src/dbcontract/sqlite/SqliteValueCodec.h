#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "dbcontract/CatalogInfo.h"
#include "dbcontract/sqlite/SqliteStoredValue.h"
#include "runtime/Variant.h"

namespace vorn {

// Values between the runtime's Variant and the form a project file stores
// for a field's DAO type: text and memo as TEXT; byte, integer, long and big
// integer as INTEGER; single and double as REAL; currency as INTEGER
// ten-thousandths; decimal as TEXT of its exact digits; dates as TEXT
// "YYYY-MM-DD HH:MM:SS[.fff]"; booleans as 1 or 0; binary as BLOB; GUID as
// TEXT "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}"; Null as NULL.
class SqliteValueCodec {
public:
    // The stored form of `value` for `field`, converted as the runtime
    // converts (a decimal rounded to the field's scale). Null and Empty give
    // NULL. Raises 3421 when the value cannot be converted, 3349 when it
    // does not fit.
    static StoredValue Encode(const Variant& value, const FieldInfo& field);

    // The value of a stored form read for a field of DAO type `type`. Never
    // fails: a stored form of another class than the format says (written
    // by another program) is read as well as it can be.
    static Variant Decode(const StoredValue& stored, std::int16_t type);

    // The value of a stored form whose type is not known (a computed
    // column): by its storage class, TEXT of the stored date form as a date.
    static Variant DecodeUntyped(const StoredValue& stored);

    // The DAO type that DecodeUntyped gives for a stored form.
    static std::int16_t UntypedDaoType(const StoredValue& stored);

    // The SQLite column type of a DAO type: TEXT, INTEGER, REAL or BLOB.
    static std::string_view StorageType(std::int16_t type);
    // The collation a column of that type carries, "" for none.
    static std::string_view Collation(std::int16_t type);
    // True for DAO types stored as TEXT that compare ignoring case.
    static bool IsTextType(std::int16_t type);
    // True for a DAO type this engine stores.
    static bool IsKnownType(std::int16_t type);
    // The byte size the data engine reports for a fixed-size type, 0 for
    // text, memo and binary types.
    static std::int32_t FixedSize(std::int16_t type);

    // An SQL literal of a stored form: NULL, 12, 1.5, 'text', X'00FF'.
    static std::string SqlLiteral(const StoredValue& stored);
};

}  // namespace vorn
