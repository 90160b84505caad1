#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "dbcontract/jet/JetChildProcess.h"

namespace vorn {

// How a Jet file is opened or converted.
struct JetOpenOptions {
    // The database password of a Jet 3 or Jet 4 file that has one. When not
    // given, it is taken from the environment variable VORN_JET_PASSWORD, or
    // asked for through the user interface when someone can answer.
    std::optional<std::string> password;
    // Limits of the child process that reads the file.
    JetChildLimits limits;
    // Rows copied so far of the total, and the table being copied.
    std::function<void(const std::string& table, std::int64_t done, std::int64_t total)> progress;
    // What could not be read or copied, one text per object, given once at
    // the end. Without a handler, the texts are shown in one message box.
    std::function<void(const std::vector<std::string>& warnings)> warnings;
};

}  // namespace vorn
