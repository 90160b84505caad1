#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace vorn {

// One value as SQLite holds it: NULL, INTEGER, REAL, TEXT (UTF-8) or BLOB.
using StoredBlob = std::vector<std::uint8_t>;
using StoredValue = std::variant<std::monostate, std::int64_t, double, std::string, StoredBlob>;

}  // namespace vorn
