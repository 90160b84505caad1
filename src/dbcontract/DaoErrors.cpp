#include "dbcontract/DaoErrors.h"

#include "runtime/ErrorNumbers.h"

namespace vorn {

const DaoError& DaoErrors::Item(std::int32_t index) const {
    if (index < 0 || index >= Count()) {
        throw VornError(errnum::kJetItemNotFound, "DAO.Errors", "Item not found in this collection.");
    }
    return errors_[static_cast<std::size_t>(index)];
}

void DaoErrors::Record(const VornError& error) {
    errors_.assign(1, DaoError{error.Number(), error.Source(), error.Description()});
}

DaoErrors& EngineErrors() {
    static DaoErrors errors;
    return errors;
}

}  // namespace vorn
