#include "dbcontract/IdaoDatabase.h"

namespace vorn {

IdaoDatabase::IdaoDatabase(std::unique_ptr<EnterpriseBackend> backend)
    : Database(std::move(backend)) {}

}  // namespace vorn
