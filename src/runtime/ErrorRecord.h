#pragma once

#include <cstdint>
#include <exception>
#include <string>
#include <utility>

#include "runtime/VornError.h"

namespace vorn {

// The current error: what a handler trapped last. Handlers set it when they
// catch a failure and read it to decide; an "ignore errors" step clears it;
// the error cache saves and restores it around work that must not disturb it.
struct ErrorRecord {
    std::int32_t number = 0;
    std::string source;
    std::string description;

    bool IsSet() const { return number != 0; }
    void Clear() { *this = ErrorRecord{}; }

    // Sets the record from a caught failure.
    void Set(const VornError& error);

    // Throws the recorded failure. REQUIRES: IsSet().
    [[noreturn]] void Raise() const;

    // The record of a failure, also of one that is not a VornError (number 51).
    static ErrorRecord FromCurrentException();
};

// The current error of the process. There is one thread, as there was one
// error object in the classic runtime.
ErrorRecord& Err();

// Runs `step`; a failure it raises is recorded in Err() and goes no further.
// Returns true when the step ran to its end. This is the handler that goes on
// to the next statement and then looks at the error number.
template <class Step>
bool TryStep(Step&& step) {
    try {
        std::forward<Step>(step)();
        return true;
    } catch (...) {
        Err() = ErrorRecord::FromCurrentException();
        return false;
    }
}

// Runs `step` and forgets any failure it raises, leaving Err() clear.
template <class Step>
bool IgnoreErrors(Step&& step) {
    const bool ran = TryStep(std::forward<Step>(step));
    Err().Clear();
    return ran;
}

}  // namespace vorn
