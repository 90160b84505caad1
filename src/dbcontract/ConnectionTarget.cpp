#include "dbcontract/ConnectionTarget.h"

#include <cstdlib>
#include <filesystem>
#include <map>
#include <vector>

#include "dbcontract/ProviderRules.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/Utf8.h"

namespace vorn {
namespace {

VornError BadUrl(std::string_view url, std::string_view why) {
    return VornError(errnum::kInvalidProcedureCall, "ConnectionTarget",
                     "The connection target '" + std::string(url) + "' " + std::string(why) +
                         ". Use sqlite:PATH, mysql://USER@HOST[:PORT]/DATABASE or "
                         "mysql://USER@localhost/DATABASE?socket=PATH.");
}

// "sqlite:PATH": the folder of the file and its name without ".sqlite".
ConnectionTarget FromSqliteUrl(std::string_view url, std::string_view path) {
    if (path.empty()) throw BadUrl(url, "names no database file");
    std::filesystem::path file{std::string(path)};
    if (file.extension() == ".sqlite") file.replace_extension();
    ConnectionTarget target;
    target.provider = provider::kSqlite;
    target.server = file.parent_path().string();
    target.database = file.filename().string();
    if (target.database.empty()) throw BadUrl(url, "names no database file");
    return target;
}

// "mysql://USER@HOST[:PORT]/DATABASE[?socket=PATH]".
ConnectionTarget FromMySqlUrl(std::string_view url, std::string_view rest) {
    const auto at = rest.find('@');
    const auto slash = rest.find('/', at == std::string_view::npos ? 0 : at);
    if (at == std::string_view::npos || slash == std::string_view::npos) {
        throw BadUrl(url, "needs a user, a host and a database");
    }
    ConnectionTarget target;
    target.provider = provider::kMySql;
    target.user = std::string(rest.substr(0, at));
    if (const auto colon = target.user.find(':'); colon != std::string::npos) {
        // The message must not repeat the password.
        const std::string shown =
            "mysql://" + target.user.substr(0, colon) + ":***" + std::string(rest.substr(at));
        throw BadUrl(shown, "holds a password; give it in VORN_PASSWORD or when asked");
    }
    const std::string_view host = rest.substr(at + 1, slash - at - 1);
    std::string_view path = rest.substr(slash + 1);
    std::string_view query;
    if (const auto mark = path.find('?'); mark != std::string_view::npos) {
        query = path.substr(mark + 1);
        path = path.substr(0, mark);
    }
    target.database = std::string(path);
    if (target.user.empty() || host.empty() || target.database.empty()) {
        throw BadUrl(url, "needs a user, a host and a database");
    }
    target.server = std::string(host);
    if (!query.empty()) {
        constexpr std::string_view kSocket = "socket=";
        if (query.substr(0, kSocket.size()) != kSocket || query.size() == kSocket.size()) {
            throw BadUrl(url, "has an option other than socket=PATH");
        }
        if (host != "localhost") throw BadUrl(url, "uses a socket on a host other than localhost");
        // A socket path stands as the server text: it starts with "/".
        target.server = std::string(query.substr(kSocket.size()));
    }
    return target;
}

// Whether a value must be put in braces to survive parsing.
bool NeedsBraces(std::string_view value) {
    if (value.empty()) return false;
    return value.find_first_of(";={}") != std::string_view::npos || value.front() == ' ' ||
           value.back() == ' ';
}

void AppendPart(std::string& out, std::string_view key, std::string_view value) {
    out += key;
    out += '=';
    if (!NeedsBraces(value)) {
        out += value;
    } else {
        out += '{';
        for (const char c : value) {
            out += c;
            if (c == '}') out += '}';
        }
        out += '}';
    }
    out += ';';
}

// The key=value parts of a connect string, keys upper-cased.
std::map<std::string, std::string> SplitParts(std::string_view text) {
    std::map<std::string, std::string> parts;
    std::size_t i = 0;
    while (i < text.size()) {
        const auto eq = text.find('=', i);
        if (eq == std::string_view::npos) break;
        const std::string key = utf8::ToUpper(utf8::Trim(text.substr(i, eq - i)));
        std::size_t j = eq + 1;
        while (j < text.size() && text[j] == ' ') ++j;
        std::string value;
        if (j < text.size() && text[j] == '{') {
            for (++j; j < text.size(); ++j) {
                if (text[j] == '}') {
                    if (j + 1 < text.size() && text[j + 1] == '}') {
                        value += '}';
                        ++j;
                        continue;
                    }
                    ++j;
                    break;
                }
                value += text[j];
            }
            const auto semi = text.find(';', j);
            i = semi == std::string_view::npos ? text.size() : semi + 1;
        } else {
            const auto semi = text.find(';', j);
            const auto end = semi == std::string_view::npos ? text.size() : semi;
            value = std::string(utf8::Trim(text.substr(j, end - j)));
            i = end + 1;
        }
        parts.emplace(key, std::move(value));
    }
    return parts;
}

std::string FirstOf(const std::map<std::string, std::string>& parts,
                    std::initializer_list<const char*> keys) {
    for (const char* key : keys) {
        if (const auto it = parts.find(key); it != parts.end()) return it->second;
    }
    return {};
}

// "host", "host:port" or "/socket/path" into the target's parts.
void SplitServer(ServerTarget& target) {
    const std::string& server = target.server;
    if (!server.empty() && server.front() == '/') {
        target.host = "localhost";
        target.socket = server;
        return;
    }
    const auto colon = server.rfind(':');
    if (colon != std::string::npos && colon + 1 < server.size() &&
        server.find_first_not_of("0123456789", colon + 1) == std::string::npos &&
        server.size() - colon <= 6) {
        const long port = std::strtol(server.c_str() + colon + 1, nullptr, 10);
        if (port > 0 && port < 65536) {
            target.host = server.substr(0, colon);
            target.port = static_cast<std::uint16_t>(port);
            return;
        }
    }
    target.host = server.empty() ? "localhost" : server;
}

}  // namespace

ConnectionTarget ConnectionTarget::FromUrl(std::string_view url) {
    constexpr std::string_view kSqlite = "sqlite:";
    constexpr std::string_view kMySql = "mysql://";
    if (url.substr(0, kSqlite.size()) == kSqlite)
        return FromSqliteUrl(url, url.substr(kSqlite.size()));
    if (url.substr(0, kMySql.size()) == kMySql) return FromMySqlUrl(url, url.substr(kMySql.size()));
    throw BadUrl(url, "is of no known form");
}

void ConnectionTarget::ResolvePassword(
    const std::function<std::string(std::string_view prompt)>& ask) {
    if (user.empty() || !password.empty()) return;
    if (const char* fromEnvironment = std::getenv("VORN_PASSWORD")) {
        password = fromEnvironment;
        return;
    }
    if (ask) password = ask("Password for " + user + " on " + server + ": ");
}

std::string ConnectionTarget::ConnectString() const {
    return BuildConnectText(server, database, user, password, user.empty());
}

std::string BuildConnectText(std::string_view server, std::string_view database,
                             std::string_view user, std::string_view password, bool integrated) {
    std::string text;
    AppendPart(text, "Server", server);
    if (!database.empty()) AppendPart(text, "Database", database);
    if (integrated) {
        text += "Trusted_Connection=yes;";
    } else {
        AppendPart(text, "Uid", user);
        AppendPart(text, "Pwd", password);
    }
    return text;
}

ServerTarget ParseConnectText(std::int16_t providerCode, std::string_view text) {
    const auto parts = SplitParts(text);
    ServerTarget target;
    target.provider = providerCode;
    target.server = FirstOf(parts, {"SERVER", "DATA SOURCE"});
    target.database = FirstOf(parts, {"DATABASE", "INITIAL CATALOG"});
    target.user = FirstOf(parts, {"UID", "USER ID"});
    target.password = FirstOf(parts, {"PWD", "PASSWORD"});
    if (providerCode == provider::kMySql) SplitServer(target);
    return target;
}

std::optional<ServerTarget> EnterpriseTargetOf(std::string_view connect) {
    const std::string_view text = utf8::Trim(connect);
    const auto semicolon = text.find(';');
    if (semicolon != std::string_view::npos) {
        if (const std::int16_t code = ProviderFromTag(text.substr(0, semicolon)); code != 0) {
            return ParseConnectText(code, text.substr(semicolon + 1));
        }
    }
    std::string_view odbc = text;
    if (utf8::EqualsIgnoreCase(odbc.substr(0, 5), "ODBC;")) odbc.remove_prefix(5);
    const auto parts = SplitParts(odbc);
    const auto driver = parts.find("DRIVER");
    if (driver == parts.end()) return std::nullopt;
    const std::int16_t code = ProviderFromDriver(driver->second);
    if (code == 0) {
        throw ServerFailure("DBEngine", "The ODBC driver '" + driver->second +
                                            "' serves no provider this system knows (SQL Server, Oracle, MySQL, "
                                            "SQLite).");
    }
    ServerTarget target = ParseConnectText(code, odbc);
    if (const auto trusted = parts.find("TRUSTED_CONNECTION");
        trusted != parts.end() && utf8::EqualsIgnoreCase(trusted->second, "yes")) {
        target.user.clear();
        target.password.clear();
    }
    return target;
}

}  // namespace vorn
