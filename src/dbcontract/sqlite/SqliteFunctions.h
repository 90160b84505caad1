#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "runtime/Variant.h"

struct sqlite3;
struct sqlite3_value;

// The functions of Jet's expression service as SQLite functions, built on
// the runtime core, so that a statement rewritten from Jet SQL answers as
// the same expression does in C++.
//
// Values come and go in the forms the engine stores (SqliteValueCodec):
// dates as text "YYYY-MM-DD HH:MM:SS[.fff]", currency as ten-thousandths,
// booleans as 1 or 0. Between functions a date travels as its stored text
// marked with the subtype kDateSubtype, so that Format, CStr and the like
// see a Date and not a string; functions that give a date give it so. A
// Boolean result is 1 or 0, a Currency or Decimal result a REAL.
// vorn_store(value, daoType[, precision, scale]) gives the stored form of a
// value for a field of that type, converted as SqliteValueCodec converts.
//
// The functions follow the runtime's rules with one difference: where the
// runtime raises 94 (invalid use of Null), the SQL function gives Null, as a
// Jet query shows an error in one cell rather than failing as a whole. Any
// other failure fails the statement with the runtime's text and number,
// "<description> (<number>)".
namespace vorn {

class SqliteFunctions {
  public:
    // The subtype that marks stored date text as a Date between functions.
    static constexpr unsigned kDateSubtype = 'D';

    // Registers every function with `db` (all named "vorn_..." so that none
    // hides one of SQLite's). The collations are not among them: the
    // connection has them from SqliteHandle. Raises VornError 3001 with
    // SQLite's message when SQLite refuses one.
    // REQUIRES: db is open.
    static void Register(sqlite3* db);

    // A value as the functions take it: NULL is Null, INTEGER a Long (a
    // Double beyond its range), REAL a Double, TEXT a String (a Date when it
    // carries kDateSubtype), BLOB a byte buffer.
    static Variant ToVariant(sqlite3_value* value);

    // ---- Jet's LIKE --------------------------------------------------------

    // Whether `text` matches a Jet pattern, ignoring case: "*" any run of
    // characters, "?" any one, "#" one digit, "[abc]", "[a-z]" and "[!abc]"
    // one of (or none of) a set; "[*]" stands for "*" itself.
    // REQUIRES: IsValidLikePattern(pattern).
    static bool LikeMatches(std::string_view text, std::string_view pattern);
    // False for a pattern with an unclosed "[".
    static bool IsValidLikePattern(std::string_view pattern);

    // The runtime error number that a failed function put at the end of its
    // message, "... (13)"; nullopt when there is none.
    static std::optional<std::int32_t> ErrorNumberIn(std::string_view message);
};

}  // namespace vorn
