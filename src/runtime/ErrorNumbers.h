#pragma once

#include <cstdint>

// Error numbers that the system compares or raises. The runtime's own
// numbers keep the values that the classic runtime gave them, the data
// engine's numbers keep Jet's, so handlers read as the original ones did.
namespace vorn::errnum {

// The runtime.
inline constexpr std::int32_t kNone = 0;
inline constexpr std::int32_t kInvalidProcedureCall = 5;  // invalid argument
inline constexpr std::int32_t kOverflow = 6;
inline constexpr std::int32_t kOutOfMemory = 7;
inline constexpr std::int32_t kSubscriptOutOfRange = 9;
inline constexpr std::int32_t kDivisionByZero = 11;
inline constexpr std::int32_t kTypeMismatch = 13;
inline constexpr std::int32_t kInternalError = 51;  // a failure that is not a VornError
inline constexpr std::int32_t kBadFileNameOrNumber = 52;
inline constexpr std::int32_t kFileNotFound = 53;
inline constexpr std::int32_t kFileAlreadyExists = 58;
inline constexpr std::int32_t kPermissionDenied = 70;
inline constexpr std::int32_t kPathFileAccessError = 75;
inline constexpr std::int32_t kPathNotFound = 76;
inline constexpr std::int32_t kObjectVariableNotSet = 91;
inline constexpr std::int32_t kInvalidUseOfNull = 94;
inline constexpr std::int32_t kObjectRequired = 424;
inline constexpr std::int32_t kMethodNotSupported = 438;
inline constexpr std::int32_t kDuplicateKey = 457;

// The Jet data engine.
inline constexpr std::int32_t kJetNoCurrentRecord = 3021;
inline constexpr std::int32_t kJetFileNotFound = 3024;
inline constexpr std::int32_t kJetNotValidPassword = 3031;
inline constexpr std::int32_t kJetDatabaseDamaged = 3049;
inline constexpr std::int32_t kJetOperationNotSupported = 3251;
inline constexpr std::int32_t kJetTableNotFound = 3061;  // "too few parameters" in a query
inline constexpr std::int32_t kJetInputTableNotFound = 3078;
inline constexpr std::int32_t kJetDevelopmentRuntime = 3228;
inline constexpr std::int32_t kJetItemNotFound = 3265;
inline constexpr std::int32_t kJetPropertyNotFound = 3270;
inline constexpr std::int32_t kJetIndexAlreadyExists = 3284;
inline constexpr std::int32_t kJetFieldInRelationshipInvalid = 3285;
inline constexpr std::int32_t kJetUnrecognizedFormat = 3343;
inline constexpr std::int32_t kJetNoUniqueIndexForRelation = 3609;

// The closed data libraries: their generic failure, and the number under
// which the property stores raise their own texts.
inline constexpr std::int32_t kDalGenericFailure = -2146233088;
inline constexpr std::int32_t kPropertyStoreFailure = -2147221500;

}  // namespace vorn::errnum
