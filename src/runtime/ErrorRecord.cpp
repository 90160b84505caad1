#include "runtime/ErrorRecord.h"

#include <cassert>

#include "runtime/ErrorNumbers.h"

namespace vorn {

void ErrorRecord::Set(const VornError& error) {
    number = error.Number();
    source = error.Source();
    description = error.Description();
}

void ErrorRecord::Raise() const {
    assert(IsSet());
    throw VornError(number, source, description);
}

ErrorRecord ErrorRecord::FromCurrentException() {
    ErrorRecord record;
    try {
        throw;
    } catch (const VornError& e) {
        record.Set(e);
    } catch (const std::bad_alloc&) {
        record.Set(VornError(errnum::kOutOfMemory, "vorn", VornError::RuntimeDescription(errnum::kOutOfMemory)));
    } catch (const std::exception& e) {
        record.Set(VornError(errnum::kInternalError, "vorn", e.what()));
    }
    return record;
}

ErrorRecord& Err() {
    static ErrorRecord current;
    return current;
}

}  // namespace vorn
