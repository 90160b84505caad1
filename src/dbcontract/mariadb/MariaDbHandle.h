#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <mysql.h>

#include "dbcontract/ServerConnection.h"

namespace vorn {

// Time-outs, so that a dead or unreachable server fails instead of
// hanging. The read time-out is long: an index on a large table may take
// minutes to build.
struct MariaDbTimeouts {
    unsigned connectSeconds = 10;
    unsigned readSeconds = 600;
};

// The settings every session runs with.
// NO_BACKSLASH_ESCAPES: stored Windows paths hold backslashes, and the
// statements we send are written for servers where a backslash is plain text.
// ANSI_QUOTES: the statements are written in a dialect where "x" is a name,
// never text, and the statement scanner here reads them the same way.
// STRICT_ALL_TABLES: a value that does not fit fails instead of being cut.
// NO_AUTO_VALUE_ON_ZERO: copied rows keep a counter value of 0.
inline constexpr std::string_view kMariaDbSessionSetup =
    "SET SESSION sql_mode = 'STRICT_ALL_TABLES,NO_BACKSLASH_ESCAPES,ANSI_QUOTES,"
    "NO_ENGINE_SUBSTITUTION,NO_AUTO_VALUE_ON_ZERO,ERROR_FOR_DIVISION_BY_ZERO', "
    "NAMES utf8mb4 COLLATE utf8mb4_general_ci";

// Raises the failure of the MariaDB engines: number -2146233088 and the
// server's own message, after `context` when it is given.
[[noreturn]] void RaiseMariaDbFailure(std::string_view message, std::string_view context = {});

// Owns one open connection (MYSQL*). Statements are prepared on it by
// MariaDbStatement; plain text without results runs through Run.
class MariaDbHandle {
public:
    // Connects with the session settings applied. A failure names the
    // target (without the password) and carries the server's message.
    static MariaDbHandle Connect(const ServerTarget& target, const MariaDbTimeouts& timeouts = {});

    MYSQL* get() const noexcept { return mysql_.get(); }

    // Runs one statement through the text protocol and drops any rows.
    // Returns the rows it touched.
    std::uint64_t Run(std::string_view sql);

    // The first counter value of the last insert.
    std::uint64_t InsertId() const { return mysql_insert_id(get()); }

    // Makes `database` the session's default database; false when the
    // server has no such database (any other refusal fails).
    bool Use(std::string_view database);

    // Raises the connection's last error.
    [[noreturn]] void Fail(std::string_view context = {}) const;

private:
    struct Closer {
        void operator()(MYSQL* mysql) const noexcept { mysql_close(mysql); }
    };
    explicit MariaDbHandle(MYSQL* mysql) : mysql_(mysql) {}

    std::unique_ptr<MYSQL, Closer> mysql_;
};

// Owner of a result set.
struct MariaDbResultFree {
    void operator()(MYSQL_RES* result) const noexcept { mysql_free_result(result); }
};
using MariaDbResultPtr = std::unique_ptr<MYSQL_RES, MariaDbResultFree>;

}  // namespace vorn
