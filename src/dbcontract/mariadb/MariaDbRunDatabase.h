#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "dbcontract/ServerConnection.h"

namespace vorn {

// The database a run works in, per MariaDB server.
//
// The drivers attach provider 8 connections to "information_schema" and
// never change them, yet send statements on them that name the run's
// tables bare. So the engine remembers, per server (socket, or host and
// port), the database the run last named: a connection opened on a real
// database, a database made by CreateDatabase, or one found by
// DatabaseExists. A connection attached to "information_schema" (or to no
// database) makes that database its default (USE) before its next
// statement; one attached to a real database stays there.
class MariaDbRunDatabase {
public:
    static void Set(const ServerTarget& server, std::string_view database);
    static std::optional<std::string> Find(const ServerTarget& server);
    // Forgets `database` as the run's database of `server`, when it is.
    static void Forget(const ServerTarget& server, std::string_view database);
    static void ResetForTests();

    // Whether a connection to `database` stands for "the server" only.
    static bool IsSystemDatabase(std::string_view database);
};

}  // namespace vorn
