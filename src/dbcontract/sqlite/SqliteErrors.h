#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "runtime/VornError.h"

struct sqlite3;

namespace vorn {

// The failures of the project-file engine: each a VornError with the data
// engine's number where it has one and a message that says what happened.
class SqliteErrors {
public:
    // An error of the engine's own.
    static VornError Jet(std::int32_t number, std::string description);

    // The error for a failed SQLite call, from its extended result code and
    // message: constraint failures become 3022, 3314, 3315, 3163, 3058,
    // 3200, 3201; unknown names 3078 and 3061; anything else keeps SQLite's
    // message under the nearest number.
    static VornError FromSqlite(int extendedCode, std::string_view message);

    // The error of the last failed call on `db`.
    static VornError FromHandle(sqlite3* db);

    // Common failures, with the texts the data engine gave.
    static VornError ReadOnly(std::string_view what);
    static VornError ItemNotFound(std::string_view name);
    static VornError TableExists(std::string_view name);
    static VornError ObjectExists(std::string_view name);
    static VornError InputTableNotFound(std::string_view name);
    static VornError ConversionError(std::string_view detail);
};

}  // namespace vorn
