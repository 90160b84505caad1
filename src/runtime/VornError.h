#pragma once

#include <cstdint>
#include <exception>
#include <string>

namespace vorn {

// The one failure type of the system. It carries what the classic runtime's
// error object carried: a number (see ErrorNumbers.h), the source that raised
// it, and a description for the user. Thrown where an operation raises,
// caught only where an operation has a handler of its own.
class VornError : public std::exception {
public:
    VornError(std::int32_t number, std::string source, std::string description);

    std::int32_t Number() const noexcept { return number_; }
    const std::string& Source() const noexcept { return source_; }
    const std::string& Description() const noexcept { return description_; }

    // "<description> (<number>)", for logs and std::exception users.
    const char* what() const noexcept override { return what_.c_str(); }

    // The runtime's own failures, with the runtime's descriptions.
    static VornError InvalidArgument(std::string source);
    static VornError Overflow(std::string source);
    static VornError SubscriptOutOfRange(std::string source);
    static VornError TypeMismatch(std::string source);
    static VornError DuplicateKey(std::string source);
    static VornError DivisionByZero(std::string source);
    static VornError InvalidUseOfNull(std::string source);
    static VornError ObjectNotSet(std::string source);

    // The text that the classic runtime gave for its own error numbers;
    // "Application-defined or object-defined error" for the rest.
    static std::string RuntimeDescription(std::int32_t number);

private:
    std::int32_t number_;
    std::string source_;
    std::string description_;
    std::string what_;
};

}  // namespace vorn
