#include "runtime/VornError.h"

#include "runtime/ErrorNumbers.h"

namespace vorn {

VornError::VornError(std::int32_t number, std::string source, std::string description)
    : number_(number),
      source_(std::move(source)),
      description_(std::move(description)),
      what_(description_ + " (" + std::to_string(number_) + ")") {}

std::string VornError::RuntimeDescription(std::int32_t number) {
    switch (number) {
        case errnum::kInvalidProcedureCall: return "Invalid procedure call or argument";
        case errnum::kOverflow: return "Overflow";
        case errnum::kOutOfMemory: return "Out of memory";
        case errnum::kSubscriptOutOfRange: return "Subscript out of range";
        case errnum::kDivisionByZero: return "Division by zero";
        case errnum::kTypeMismatch: return "Type mismatch";
        case errnum::kInternalError: return "Internal error";
        case errnum::kBadFileNameOrNumber: return "Bad file name or number";
        case errnum::kFileNotFound: return "File not found";
        case errnum::kFileAlreadyExists: return "File already exists";
        case errnum::kPermissionDenied: return "Permission denied";
        case errnum::kPathFileAccessError: return "Path/File access error";
        case errnum::kPathNotFound: return "Path not found";
        case errnum::kObjectVariableNotSet: return "Object variable or With block variable not set";
        case errnum::kInvalidUseOfNull: return "Invalid use of Null";
        case errnum::kObjectRequired: return "Object required";
        case errnum::kMethodNotSupported: return "Object doesn't support this property or method";
        case errnum::kDuplicateKey: return "This key is already associated with an element of this collection";
        default: return "Application-defined or object-defined error";
    }
}

namespace {
VornError Runtime(std::int32_t number, std::string source) {
    return VornError(number, std::move(source), VornError::RuntimeDescription(number));
}
}  // namespace

VornError VornError::InvalidArgument(std::string source) { return Runtime(errnum::kInvalidProcedureCall, std::move(source)); }
VornError VornError::Overflow(std::string source) { return Runtime(errnum::kOverflow, std::move(source)); }
VornError VornError::SubscriptOutOfRange(std::string source) { return Runtime(errnum::kSubscriptOutOfRange, std::move(source)); }
VornError VornError::TypeMismatch(std::string source) { return Runtime(errnum::kTypeMismatch, std::move(source)); }
VornError VornError::DuplicateKey(std::string source) { return Runtime(errnum::kDuplicateKey, std::move(source)); }
VornError VornError::DivisionByZero(std::string source) { return Runtime(errnum::kDivisionByZero, std::move(source)); }
VornError VornError::InvalidUseOfNull(std::string source) { return Runtime(errnum::kInvalidUseOfNull, std::move(source)); }
VornError VornError::ObjectNotSet(std::string source) { return Runtime(errnum::kObjectVariableNotSet, std::move(source)); }

}  // namespace vorn
