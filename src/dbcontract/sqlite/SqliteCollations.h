#pragma once

struct sqlite3;

namespace vorn {

// The collations that project files name on their columns:
// VORNNOCASE compares text ignoring the case of ASCII and Latin-1 letters
// (as the data engine compared text); VORNDECIMAL compares decimal numbers
// kept as text by their value.
// The engine owns them: SqliteHandle registers them once on every
// connection it opens, and the SQL translator names kNoCase.
class SqliteCollations {
public:
    static constexpr const char* kNoCase = "VORNNOCASE";
    static constexpr const char* kDecimal = "VORNDECIMAL";

    static void Register(sqlite3* db);
};

}  // namespace vorn
