#include "foundation/CErrorCache.h"

#include <utility>

#include "runtime/ErrorRecord.h"

namespace vorn {

CErrorCache::CErrorCache()
    : number_(Err().number), source_(Err().source), description_(Err().description) {}

CErrorCache::~CErrorCache() {
    ErrorRecord& error = Err();
    error.number = number_;
    // Moved, not copied: a destructor must not fail for want of memory.
    error.description = std::move(description_);
    error.source = std::move(source_);
}

}  // namespace vorn
