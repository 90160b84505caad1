#pragma once

#include <cstdint>

// The numbers of the data access objects, compared by value throughout the
// system: type codes, recordset types and options, attribute bits.
namespace vorn::dao {

// Field types.
inline constexpr std::int16_t dbBoolean = 1;
inline constexpr std::int16_t dbByte = 2;
inline constexpr std::int16_t dbInteger = 3;
inline constexpr std::int16_t dbLong = 4;
inline constexpr std::int16_t dbCurrency = 5;
inline constexpr std::int16_t dbSingle = 6;
inline constexpr std::int16_t dbDouble = 7;
inline constexpr std::int16_t dbDate = 8;
inline constexpr std::int16_t dbBinary = 9;
inline constexpr std::int16_t dbText = 10;
inline constexpr std::int16_t dbLongBinary = 11;
inline constexpr std::int16_t dbMemo = 12;
inline constexpr std::int16_t dbGUID = 15;
inline constexpr std::int16_t dbBigInt = 16;
inline constexpr std::int16_t dbVarBinary = 17;
inline constexpr std::int16_t dbChar = 18;
inline constexpr std::int16_t dbNumeric = 19;
inline constexpr std::int16_t dbDecimal = 20;
inline constexpr std::int16_t dbFloat = 21;
inline constexpr std::int16_t dbTime = 22;
inline constexpr std::int16_t dbTimeStamp = 23;
// A counter is a long with dbAutoIncrField; some callers name it as a type.
inline constexpr std::int16_t dbCounter = 24;

// Recordset types.
inline constexpr std::int32_t dbOpenTable = 1;
inline constexpr std::int32_t dbOpenDynaset = 2;
inline constexpr std::int32_t dbOpenSnapshot = 4;
inline constexpr std::int32_t dbOpenForwardOnly = 8;

// Recordset and Execute options.
inline constexpr std::int32_t dbDenyWrite = 1;
inline constexpr std::int32_t dbDenyRead = 2;
inline constexpr std::int32_t dbReadOnly = 4;
inline constexpr std::int32_t dbAppendOnly = 8;
inline constexpr std::int32_t dbInconsistent = 16;
inline constexpr std::int32_t dbConsistent = 32;
inline constexpr std::int32_t dbSQLPassThrough = 64;
inline constexpr std::int32_t dbFailOnError = 128;
inline constexpr std::int32_t dbForwardOnly = 256;
inline constexpr std::int32_t dbSeeChanges = 512;

// OpenDatabase options.
inline constexpr std::int32_t dbDriverNoPrompt = 1;
inline constexpr std::int32_t dbDriverComplete = 0;

// Field attributes.
inline constexpr std::int32_t dbFixedField = 1;
inline constexpr std::int32_t dbVariableField = 2;
inline constexpr std::int32_t dbAutoIncrField = 16;
inline constexpr std::int32_t dbUpdatableField = 32;
inline constexpr std::int32_t dbSystemField = 8192;
inline constexpr std::int32_t dbHyperlinkField = 32768;
// Index field attribute.
inline constexpr std::int32_t dbDescending = 1;

// Table attributes.
inline constexpr std::int32_t dbAttachExclusive = 0x10000;
inline constexpr std::int32_t dbAttachSavePWD = 0x20000;
inline constexpr std::int32_t dbSystemObject = static_cast<std::int32_t>(0x80000002u);
inline constexpr std::int32_t dbAttachedTable = 0x40000000;
inline constexpr std::int32_t dbAttachedODBC = 0x20000000;
inline constexpr std::int32_t dbHiddenObject = 1;

// Relation attributes.
inline constexpr std::int32_t dbRelationUnique = 1;
inline constexpr std::int32_t dbRelationDontEnforce = 2;
inline constexpr std::int32_t dbRelationInherited = 4;
inline constexpr std::int32_t dbRelationUpdateCascade = 256;
inline constexpr std::int32_t dbRelationDeleteCascade = 4096;
inline constexpr std::int32_t dbRelationLeft = 16777216;
inline constexpr std::int32_t dbRelationRight = 33554432;

// The size DAO reports for a memo or long binary field.
inline constexpr std::int32_t kLongValueSize = 0x7FFFFFFE;

}  // namespace vorn::dao
