#include "dbcontract/mariadb/MariaDbRunDatabase.h"

#include <map>

#include "runtime/Utf8.h"

namespace vorn {

namespace {

// One process, one thread: the objects of this layer are used from one thread.
std::map<std::string, std::string>& Registry() {
    static std::map<std::string, std::string> registry;
    return registry;
}

std::string ServerKey(const ServerTarget& server) {
    if (!server.socket.empty()) return "socket:" + server.socket;
    return "tcp:" + utf8::ToLower(server.host.empty() ? std::string("localhost") : server.host) + ":" +
           std::to_string(server.port);
}

}  // namespace

void MariaDbRunDatabase::Set(const ServerTarget& server, std::string_view database) {
    if (IsSystemDatabase(database)) return;
    Registry()[ServerKey(server)] = std::string(database);
}

std::optional<std::string> MariaDbRunDatabase::Find(const ServerTarget& server) {
    const auto found = Registry().find(ServerKey(server));
    if (found == Registry().end()) return std::nullopt;
    return found->second;
}

void MariaDbRunDatabase::Forget(const ServerTarget& server, std::string_view database) {
    const auto found = Registry().find(ServerKey(server));
    if (found != Registry().end() && found->second == database) Registry().erase(found);
}

void MariaDbRunDatabase::ResetForTests() {
    Registry().clear();
}

bool MariaDbRunDatabase::IsSystemDatabase(std::string_view database) {
    return database.empty() || utf8::CompareIgnoreCase(database, "information_schema") == 0;
}

}  // namespace vorn
