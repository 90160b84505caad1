#pragma once

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "dbcontract/ServerConnection.h"

namespace vorn::testing {

// The throwaway server that the test run started (scripts/mariadb-test-server.sh,
// a CTest fixture), found through VORN_TEST_MARIADB_SOCKET. A test that
// needs it and finds none fails.
inline ServerTarget MariaDbTestTarget(const std::string& database = "information_schema") {
    const char* socket = std::getenv("VORN_TEST_MARIADB_SOCKET");
    if (socket == nullptr || *socket == '\0') {
        ADD_FAILURE() << "VORN_TEST_MARIADB_SOCKET is not set: start a server with "
                         "scripts/mariadb-test-server.sh start DIR (ctest does it)";
        return {};
    }
    ServerTarget target;
    target.provider = 8;
    target.server = socket;
    target.host = "localhost";
    target.socket = socket;
    target.user = "root";
    target.database = database;
    return target;
}

inline bool HaveMariaDbTestServer() {
    const char* socket = std::getenv("VORN_TEST_MARIADB_SOCKET");
    return socket != nullptr && *socket != '\0';
}

}  // namespace vorn::testing
