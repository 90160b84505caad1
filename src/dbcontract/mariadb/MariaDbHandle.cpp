#include "dbcontract/mariadb/MariaDbHandle.h"

#include <mysqld_error.h>

#include <mutex>


namespace vorn {

namespace {

constexpr const char* kSource = "vOrnDAL.MariaDB";

// The client library's global set-up is not thread safe; do it once.
void InitLibrary() {
    static std::once_flag once;
    std::call_once(once, [] { mysql_library_init(0, nullptr, nullptr); });
}

void SetOption(MYSQL* mysql, mysql_option option, const void* value) {
    if (mysql_optionsv(mysql, option, value) != 0) {
        RaiseMariaDbFailure("the client library refused a connection option");
    }
}

}  // namespace

void RaiseMariaDbFailure(std::string_view message, std::string_view context) {
    std::string description(context);
    if (!description.empty()) description += ": ";
    description += message;
    throw ServerFailure(kSource, description);
}

MariaDbHandle MariaDbHandle::Connect(const ServerTarget& target, const MariaDbTimeouts& timeouts) {
    InitLibrary();
    MYSQL* raw = mysql_init(nullptr);
    if (raw == nullptr) RaiseMariaDbFailure("out of memory", "Cannot connect to " + target.Describe());
    MariaDbHandle handle(raw);
    SetOption(raw, MYSQL_OPT_CONNECT_TIMEOUT, &timeouts.connectSeconds);
    SetOption(raw, MYSQL_OPT_READ_TIMEOUT, &timeouts.readSeconds);
    SetOption(raw, MYSQL_OPT_WRITE_TIMEOUT, &timeouts.readSeconds);
    SetOption(raw, MYSQL_SET_CHARSET_NAME, "utf8mb4");
    const std::string setup(kMariaDbSessionSetup);
    SetOption(raw, MYSQL_INIT_COMMAND, setup.c_str());

    const bool viaSocket = !target.socket.empty();
    const std::string host = viaSocket || target.host.empty() ? "localhost" : target.host;
    // CLIENT_FOUND_ROWS: an UPDATE reports the rows it matched, as the
    // callers' other servers do, not only those whose values changed.
    if (mysql_real_connect(raw, host.c_str(), target.user.c_str(), target.password.c_str(),
                           target.database.empty() ? nullptr : target.database.c_str(),
                           viaSocket ? 0U : static_cast<unsigned>(target.port),
                           viaSocket ? target.socket.c_str() : nullptr, CLIENT_FOUND_ROWS) == nullptr) {
        handle.Fail("Cannot connect to " + target.Describe());
    }
    return handle;
}

std::uint64_t MariaDbHandle::Run(std::string_view sql) {
    if (mysql_real_query(get(), sql.data(), sql.size()) != 0) Fail();
    // Statements that return rows (SHOW, SELECT) are read and dropped.
    const MariaDbResultPtr result(mysql_store_result(get()));
    if (!result && mysql_field_count(get()) != 0) Fail();
    return mysql_affected_rows(get());
}

bool MariaDbHandle::Use(std::string_view database) {
    const std::string name(database);
    if (mysql_select_db(get(), name.c_str()) == 0) return true;
    if (mysql_errno(get()) == ER_BAD_DB_ERROR) return false;
    Fail("Cannot use database '" + name + "'");
    return false;
}

void MariaDbHandle::Fail(std::string_view context) const {
    RaiseMariaDbFailure(mysql_error(get()), context);
}

}  // namespace vorn
