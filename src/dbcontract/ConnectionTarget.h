#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "dbcontract/ServerConnection.h"

namespace vorn {

// Where a user points the system: a provider, a server, a database and an
// account. Built from a URL on the command line or by a host:
//   sqlite:PATH                                   provider 16; PATH is the
//       database file, ".sqlite" added when missing
//   mysql://USER@HOST[:PORT]/DATABASE             provider 8 over TCP
//   mysql://USER@localhost/DATABASE?socket=PATH   provider 8 on a unix socket
// The password never comes from the URL: it is taken from the environment
// variable VORN_PASSWORD, or asked for.
struct ConnectionTarget {
    std::int16_t provider = 0;
    std::string server;
    std::string database;
    std::string user;
    std::string password;

    // Parses a URL of the forms above. Fails with 5 (invalid argument) and a
    // message that quotes the URL when it is of no known form, or holds a
    // password.
    static ConnectionTarget FromUrl(std::string_view url);

    // Sets `password` from VORN_PASSWORD, else from `ask` (given a prompt
    // that names the target), when the target has a user and no password.
    void ResolvePassword(const std::function<std::string(std::string_view prompt)>& ask);

    // The DalConnection connect string of the target.
    std::string ConnectString() const;
};

// The connect strings of DalConnection: "Server=<s>;Database=<d>;Uid=<u>;
// Pwd=<p>;", "Trusted_Connection=yes;" in place of the account for
// integrated sign-on. A value holding ";", "=", "{" or outer blanks is put in
// braces, "}" doubled inside. The same form serves every provider. An
// empty `database` leaves its part out.
std::string BuildConnectText(std::string_view server, std::string_view database,
                             std::string_view user, std::string_view password, bool integrated);

// The target of a connect string of `provider`; keys compare ignoring case
// ("Data Source" and "Initial Catalog", "User ID" and "Password" are taken
// too). A MySQL server text is taken apart into host, port and socket: a
// text starting with "/" is a socket on localhost.
ServerTarget ParseConnectText(std::int16_t provider, std::string_view text);

// The enterprise database that the connect string of a Database names: the
// IDAO form, a provider's tag, ";" and a connect string ("SQLITE;
// Server=...;Database=...;"), or an ODBC string, "ODBC;" optional, whose
// Driver names the provider ("Driver={SQL Server};Server=...;UID=...;
// PWD=...;Database=...;", see ProviderFromDriver). nullopt for any other
// text (the connect string of a project file, ";PWD=..."). Fails with
// kDalGenericFailure quoting the driver when an ODBC string names a driver
// of no provider.
std::optional<ServerTarget> EnterpriseTargetOf(std::string_view connect);

}  // namespace vorn
