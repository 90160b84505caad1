#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "dbcontract/IdaoDatabase.h"

namespace vorn {

// Opens enterprise databases as IdaoDatabase objects from the IDAO connect
// string: the provider's tag, ";", and a DalConnection connect string
// ("SQLSERVER; Server=...;Database=...;", "SQLITE;Server=...;"). One per
// upsize object.
class IdaoEngine {
  public:
    // `name` and `options` are not used (always "" and 0). A read-only
    // database fails every write with 3027. An unknown tag, a provider
    // without an engine, or a server that refuses fails with
    // kDalGenericFailure.
    std::shared_ptr<IdaoDatabase> OpenDatabase(std::string_view name, std::int32_t options,
                                               bool readOnly, std::string_view connect);
};

}  // namespace vorn
