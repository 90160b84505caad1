#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "runtime/VornError.h"

namespace vorn {

struct DaoError {
    std::int32_t number = 0;
    std::string source;
    std::string description;
};

// The engine's messages of the last failure (DBEngine.Errors): a handler
// that trapped a failure without a number reads the reason from item 0.
class DaoErrors {
public:
    std::int32_t Count() const { return static_cast<std::int32_t>(errors_.size()); }
    // The error at 0-based `index`; 3265 outside.
    const DaoError& Item(std::int32_t index) const;
    void Clear() { errors_.clear(); }
    // Replaces the list with one failure.
    void Record(const VornError& error);

private:
    std::vector<DaoError> errors_;
};

// The Errors collection of the process's engine.
DaoErrors& EngineErrors();

// Runs `step`; a failure it raises is also kept in EngineErrors() before it
// goes on to the caller.
template <class Step>
decltype(auto) WithDaoErrors(Step&& step) {
    try {
        return std::forward<Step>(step)();
    } catch (const VornError& e) {
        EngineErrors().Record(e);
        throw;
    }
}

}  // namespace vorn
