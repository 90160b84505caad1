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
inline constexpr std::int32_t kJetInvalidArgument = 3001;
inline constexpr std::int32_t kJetTableExists = 3010;
inline constexpr std::int32_t kJetObjectExists = 3012;
inline constexpr std::int32_t kJetUpdateWithoutEdit = 3020;
inline constexpr std::int32_t kJetNoCurrentRecord = 3021;
inline constexpr std::int32_t kJetDuplicateValue = 3022;
inline constexpr std::int32_t kJetFileNotFound = 3024;
inline constexpr std::int32_t kJetReadOnly = 3027;
inline constexpr std::int32_t kJetNotValidPassword = 3031;
inline constexpr std::int32_t kJetCannotPerform = 3032;
inline constexpr std::int32_t kJetCommitWithoutBegin = 3034;
inline constexpr std::int32_t kJetDiskOrNetworkError = 3043;
inline constexpr std::int32_t kJetNotValidPath = 3044;
inline constexpr std::int32_t kJetFileInUse = 3045;
inline constexpr std::int32_t kJetDatabaseDamaged = 3049;
inline constexpr std::int32_t kJetCannotOpenFile = 3051;
inline constexpr std::int32_t kJetNotOnAttachedTable = 3057;
inline constexpr std::int32_t kJetKeyCannotBeNull = 3058;
inline constexpr std::int32_t kJetTableNotFound = 3061;  // "too few parameters": an unknown name in a query
inline constexpr std::int32_t kJetCannotExecuteSelect = 3065;
inline constexpr std::int32_t kJetMustBeUpdatable = 3073;
inline constexpr std::int32_t kJetSyntaxErrorInExpression = 3075;
inline constexpr std::int32_t kJetInputTableNotFound = 3078;
inline constexpr std::int32_t kJetAmbiguousField = 3079;
inline constexpr std::int32_t kJetUndefinedFunction = 3085;
inline constexpr std::int32_t kJetNotValidName = 3125;
inline constexpr std::int32_t kJetUnknownFieldInInsert = 3127;
inline constexpr std::int32_t kJetDeleteNeedsTable = 3128;
inline constexpr std::int32_t kJetInvalidSqlStatement = 3129;
inline constexpr std::int32_t kJetSyntaxErrorInFrom = 3131;
inline constexpr std::int32_t kJetSyntaxErrorInInsert = 3134;
inline constexpr std::int32_t kJetCharactersAfterEnd = 3142;
inline constexpr std::int32_t kJetSyntaxErrorInUpdate = 3144;
inline constexpr std::int32_t kJetFieldTooSmall = 3163;
inline constexpr std::int32_t kJetFieldNotUpdatable = 3164;
inline constexpr std::int32_t kJetRecordDeleted = 3167;
inline constexpr std::int32_t kJetInstallableIsamNotFound = 3170;
inline constexpr std::int32_t kJetFieldDefinedTwice = 3191;
inline constexpr std::int32_t kJetRelatedRecordsExist = 3200;
inline constexpr std::int32_t kJetRelatedRecordRequired = 3201;
inline constexpr std::int32_t kJetDatabaseExists = 3204;
inline constexpr std::int32_t kJetTableInUse = 3211;
inline constexpr std::int32_t kJetInvalidOperation = 3219;
inline constexpr std::int32_t kJetDevelopmentRuntime = 3228;
inline constexpr std::int32_t kJetOperationNotSupported = 3251;
inline constexpr std::int32_t kJetInvalidFieldType = 3259;
inline constexpr std::int32_t kJetCouldNotUpdateLocked = 3260;
inline constexpr std::int32_t kJetNoFieldsDefined = 3264;
inline constexpr std::int32_t kJetItemNotFound = 3265;
inline constexpr std::int32_t kJetPropertyNotFound = 3270;
inline constexpr std::int32_t kJetFieldInIndex = 3280;
inline constexpr std::int32_t kJetPrimaryKeyExists = 3283;
inline constexpr std::int32_t kJetIndexAlreadyExists = 3284;
inline constexpr std::int32_t kJetFieldInRelationshipInvalid = 3285;
inline constexpr std::int32_t kJetSyntaxErrorInCreateTable = 3290;
inline constexpr std::int32_t kJetSyntaxErrorInCreateIndex = 3291;
inline constexpr std::int32_t kJetSyntaxErrorInAlterTable = 3293;
inline constexpr std::int32_t kJetSyntaxErrorInDrop = 3295;
inline constexpr std::int32_t kJetFieldInRelationship = 3303;
inline constexpr std::int32_t kJetFieldRequired = 3314;
inline constexpr std::int32_t kJetZeroLengthNotAllowed = 3315;
inline constexpr std::int32_t kJetValidationRule = 3317;
inline constexpr std::int32_t kJetUnrecognizedFormat = 3343;
inline constexpr std::int32_t kJetValueCountMismatch = 3346;
inline constexpr std::int32_t kJetNumericOverflow = 3349;
inline constexpr std::int32_t kJetAlreadyInCollection = 3367;
inline constexpr std::int32_t kJetConstraintNotFound = 3371;
inline constexpr std::int32_t kJetIndexExists = 3375;
inline constexpr std::int32_t kJetTableDoesNotExist = 3376;
inline constexpr std::int32_t kJetFieldExists = 3380;
inline constexpr std::int32_t kJetObjectInvalid = 3420;
inline constexpr std::int32_t kJetConversionError = 3421;
inline constexpr std::int32_t kJetTypeMismatchInCriteria = 3464;
inline constexpr std::int32_t kJetNoUniqueIndexForRelation = 3609;

// The closed data libraries: their generic failure, and the number under
// which the property stores raise their own texts.
inline constexpr std::int32_t kDalGenericFailure = -2146233088;
inline constexpr std::int32_t kPropertyStoreFailure = -2147221500;

// The data model's own: a relation names a child table the database lacks.
inline constexpr std::int32_t kRelationTableMissing = static_cast<std::int32_t>(0x800403E8u);

}  // namespace vorn::errnum
