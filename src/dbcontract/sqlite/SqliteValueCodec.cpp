#include "dbcontract/sqlite/SqliteValueCodec.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <optional>

#include "dbcontract/DaoConstants.h"
#include "dbcontract/sqlite/SqliteCollations.h"
#include "dbcontract/sqlite/SqliteDateText.h"
#include "dbcontract/sqlite/SqliteErrors.h"
#include "runtime/Conversions.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/Utf8.h"

namespace vorn {
namespace {

using namespace dao;

bool IsDateType(std::int16_t type) {
    return type == dbDate || type == dbTime || type == dbTimeStamp;
}

bool IsBinaryType(std::int16_t type) {
    return type == dbBinary || type == dbLongBinary || type == dbVarBinary;
}

std::string BytesAsText(const Variant::Binary& bytes) { return {bytes.begin(), bytes.end()}; }

// ---- Encoding ---------------------------------------------------------------

std::int64_t DecimalToInt64(const Decimal& value) {
    const std::string text = value.RoundHalfEven(0).ToString();
    std::int64_t result = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), result);
    if (error != std::errc() || end != text.data() + text.size()) {
        throw SqliteErrors::Jet(errnum::kJetNumericOverflow, "Numeric field overflow.");
    }
    return result;
}

std::int64_t BigIntOf(const Variant& value) {
    if (value.IsIntegerKind()) return CLng(value);
    return DecimalToInt64(CDec(value));
}

// Digits before the decimal point of a decimal's text.
std::size_t IntegerDigits(const std::string& text) {
    std::size_t count = 0;
    for (const char c : text) {
        if (c == '.') break;
        if (c >= '0' && c <= '9') ++count;
    }
    return count;
}

std::string DecimalText(const Variant& value, const FieldInfo& field) {
    Decimal number = CDec(value);
    if (field.precision == 0) return number.ToString();
    number = number.RoundHalfEven(field.scale);
    const std::string text = number.ToString();
    if (IntegerDigits(text) > static_cast<std::size_t>(field.precision - field.scale) &&
        !number.Truncate().IsZero()) {
        throw SqliteErrors::Jet(errnum::kJetNumericOverflow, "Numeric field overflow.");
    }
    return text;
}

std::string DateText(const Variant& value) {
    double serial = 0;
    if (value.IsText()) {
        const auto stored = SqliteDateText::ToSerial(value.AsText());
        serial = stored ? *stored : CDate(value);
    } else {
        serial = value.IsDate() ? value.AsDateSerial() : CDate(value);
    }
    const auto text = SqliteDateText::FromSerial(serial);
    if (!text) throw SqliteErrors::Jet(errnum::kJetNumericOverflow, "Date value out of range.");
    return *text;
}

bool IsHex(std::string_view text) {
    for (const char c : text) {
        if (!std::isxdigit(static_cast<unsigned char>(c))) return false;
    }
    return true;
}

// The GUID of 16 bytes in the order the system's GUID structure keeps them.
std::string GuidFromBytes(const Variant::Binary& b) {
    char buffer[40];
    std::snprintf(buffer, sizeof buffer,
                  "{%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X}", b[3],
                  b[2], b[1], b[0], b[5], b[4], b[7], b[6], b[8], b[9], b[10], b[11], b[12], b[13],
                  b[14], b[15]);
    return buffer;
}

std::string GuidText(const Variant& value) {
    if (value.IsBinary() && value.AsBinary().size() == 16) return GuidFromBytes(value.AsBinary());
    std::string_view text = value.IsText() ? std::string_view(value.AsText()) : "";
    if (text.size() == 38 && text.front() == '{' && text.back() == '}') {
        text = text.substr(1, 36);
    }
    const bool shaped = text.size() == 36 && text[8] == '-' && text[13] == '-' && text[18] == '-' &&
                        text[23] == '-';
    std::string digits;
    for (const char c : text) {
        if (c != '-') digits += c;
    }
    if (!shaped || !IsHex(digits)) throw SqliteErrors::ConversionError("not a GUID");
    return "{" + utf8::ToUpper(text) + "}";
}

StoredBlob BinaryOf(const Variant& value) {
    if (value.IsBinary()) return value.AsBinary();
    const std::string text = CStr(value);
    return StoredBlob(text.begin(), text.end());
}

std::string TextOf(const Variant& value) {
    return value.IsBinary() ? BytesAsText(value.AsBinary()) : CStr(value);
}

StoredValue EncodeNumber(const Variant& value, std::int16_t type) {
    switch (type) {
        case dbBoolean:
            return std::int64_t{CBool(value) ? 1 : 0};
        case dbByte:
            return std::int64_t{CByte(value)};
        case dbInteger:
            return std::int64_t{CInt(value)};
        case dbBigInt:
            return BigIntOf(value);
        case dbCurrency:
            return value.Kind() == VariantKind::Currency ? value.AsCurrency().Scaled()
                                                         : CCur(value).Scaled();
        case dbSingle:
            return static_cast<double>(CSng(value));
        case dbDouble:
        case dbFloat:
            return CDbl(value);
        default:
            return std::int64_t{CLng(value)};  // long and counter
    }
}

StoredValue EncodeValue(const Variant& value, const FieldInfo& field) {
    const auto type = field.type;
    if (SqliteValueCodec::IsTextType(type)) return TextOf(value);
    if (IsDateType(type)) return DateText(value);
    if (IsBinaryType(type)) return BinaryOf(value);
    if (type == dbGUID) return GuidText(value);
    if (type == dbDecimal || type == dbNumeric) return DecimalText(value, field);
    return EncodeNumber(value, type);
}

// ---- Decoding ---------------------------------------------------------------

double NumberOf(const StoredValue& stored) {
    if (const auto* i = std::get_if<std::int64_t>(&stored)) return static_cast<double>(*i);
    if (const auto* d = std::get_if<double>(&stored)) return *d;
    if (const auto* t = std::get_if<std::string>(&stored)) return ParseNumber(*t).value_or(0.0);
    return 0.0;
}

// A yes/no value: a number not 0, or a word another program wrote for it.
bool BooleanOf(const StoredValue& stored) {
    if (const auto* t = std::get_if<std::string>(&stored)) {
        for (const char* word : {"true", "yes", "on"}) {
            if (utf8::EqualsIgnoreCase(*t, word)) return true;
        }
    }
    return NumberOf(stored) != 0.0;
}

std::int64_t IntegerOf(const StoredValue& stored) {
    if (const auto* i = std::get_if<std::int64_t>(&stored)) return *i;
    return std::llround(NumberOf(stored));
}

Variant DecodeInteger(const StoredValue& stored, std::int16_t type) {
    const std::int64_t value = IntegerOf(stored);
    if (type == dbByte && value >= 0 && value <= 255) return static_cast<std::uint8_t>(value);
    if (type == dbInteger && value >= -32768 && value <= 32767)
        return static_cast<std::int16_t>(value);
    if (type == dbBigInt) return Decimal::FromInt64(value);
    return Variant::FromInteger(value);
}

Variant DecodeDecimal(const StoredValue& stored) {
    if (const auto* t = std::get_if<std::string>(&stored)) {
        if (const auto number = Decimal::Parse(*t)) return *number;
        return *t;
    }
    if (const auto* i = std::get_if<std::int64_t>(&stored)) return Decimal::FromInt64(*i);
    return Decimal::FromDouble(NumberOf(stored));
}

// A day number another program stored in a date column: the column is
// declared TEXT, so SQLite keeps a REAL or INTEGER put there as its text.
std::optional<double> DayNumberText(const std::string& text) {
    double serial = 0;
    const char* const last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, serial);
    if (error != std::errc() || end != last || !std::isfinite(serial)) return std::nullopt;
    if (!SqliteDateText::FromSerial(serial)) return std::nullopt;
    return serial;
}

Variant DecodeDate(const StoredValue& stored) {
    if (const auto* t = std::get_if<std::string>(&stored)) {
        if (const auto serial = SqliteDateText::ToSerial(*t)) return Variant::FromDate(*serial);
        if (const auto serial = DayNumberText(*t)) return Variant::FromDate(*serial);
        return *t;
    }
    return Variant::FromDate(NumberOf(stored));
}

Variant DecodeText(const StoredValue& stored) {
    if (const auto* t = std::get_if<std::string>(&stored)) return *t;
    if (const auto* i = std::get_if<std::int64_t>(&stored)) return std::to_string(*i);
    if (const auto* d = std::get_if<double>(&stored)) return DoubleToString(*d);
    const auto& blob = std::get<StoredBlob>(stored);
    return std::string(blob.begin(), blob.end());
}

Variant DecodeBinary(const StoredValue& stored) {
    if (const auto* b = std::get_if<StoredBlob>(&stored)) return *b;
    const std::string text = DecodeText(stored).AsText();
    return Variant::Binary(text.begin(), text.end());
}

Variant DecodeNumber(const StoredValue& stored, std::int16_t type) {
    switch (type) {
        case dbBoolean:
            return BooleanOf(stored);
        case dbCurrency:
            return Currency::FromScaled(IntegerOf(stored));
        case dbSingle:
            return static_cast<float>(NumberOf(stored));
        case dbDouble:
        case dbFloat:
            return NumberOf(stored);
        default:
            return DecodeInteger(stored, type);
    }
}

}  // namespace

StoredValue SqliteValueCodec::Encode(const Variant& value, const FieldInfo& field) {
    if (value.IsNull() || value.IsEmpty()) return std::monostate{};
    try {
        return EncodeValue(value, field);
    } catch (const VornError& error) {
        if (error.Number() == errnum::kOverflow) {
            throw SqliteErrors::Jet(errnum::kJetNumericOverflow,
                                    "Numeric field overflow (field '" + field.name + "').");
        }
        if (error.Number() == errnum::kTypeMismatch ||
            error.Number() == errnum::kInvalidUseOfNull) {
            throw SqliteErrors::ConversionError("field '" + field.name + "'");
        }
        throw;
    }
}

Variant SqliteValueCodec::Decode(const StoredValue& stored, std::int16_t type) {
    if (std::holds_alternative<std::monostate>(stored)) return Variant::Null();
    if (IsTextType(type) || type == dbGUID) return DecodeText(stored);
    if (IsDateType(type)) return DecodeDate(stored);
    if (IsBinaryType(type)) return DecodeBinary(stored);
    if (type == dbDecimal || type == dbNumeric) return DecodeDecimal(stored);
    if (std::holds_alternative<StoredBlob>(stored)) return DecodeBinary(stored);
    return DecodeNumber(stored, type);
}

Variant SqliteValueCodec::DecodeUntyped(const StoredValue& stored) {
    if (const auto* t = std::get_if<std::string>(&stored)) {
        return SqliteDateText::IsStoredForm(*t) ? DecodeDate(stored) : Variant(*t);
    }
    if (const auto* i = std::get_if<std::int64_t>(&stored)) return Variant::FromInteger(*i);
    if (const auto* d = std::get_if<double>(&stored)) return *d;
    if (const auto* b = std::get_if<StoredBlob>(&stored)) return *b;
    return Variant::Null();
}

std::int16_t SqliteValueCodec::UntypedDaoType(const StoredValue& stored) {
    if (const auto* t = std::get_if<std::string>(&stored)) {
        if (SqliteDateText::IsStoredForm(*t)) return dbDate;
        return utf8::Length(*t) > 255 ? dbMemo : dbText;
    }
    if (const auto* i = std::get_if<std::int64_t>(&stored)) {
        return *i >= INT32_MIN && *i <= INT32_MAX ? dbLong : dbDouble;
    }
    if (std::holds_alternative<double>(stored)) return dbDouble;
    if (std::holds_alternative<StoredBlob>(stored)) return dbLongBinary;
    return dbText;
}

std::string_view SqliteValueCodec::StorageType(std::int16_t type) {
    if (IsTextType(type) || IsDateType(type) || type == dbGUID || type == dbDecimal ||
        type == dbNumeric) {
        return "TEXT";
    }
    if (IsBinaryType(type)) return "BLOB";
    if (type == dbSingle || type == dbDouble || type == dbFloat) return "REAL";
    return "INTEGER";
}

std::string_view SqliteValueCodec::Collation(std::int16_t type) {
    if (IsTextType(type)) return SqliteCollations::kNoCase;
    if (type == dbDecimal || type == dbNumeric) return SqliteCollations::kDecimal;
    return "";
}

bool SqliteValueCodec::IsTextType(std::int16_t type) {
    return type == dbText || type == dbMemo || type == dbChar;
}

bool SqliteValueCodec::IsKnownType(std::int16_t type) {
    return (type >= dbBoolean && type <= dbMemo) || (type >= dbGUID && type <= dbCounter);
}

std::int32_t SqliteValueCodec::FixedSize(std::int16_t type) {
    switch (type) {
        case dbBoolean:
        case dbByte:
            return 1;
        case dbInteger:
            return 2;
        case dbLong:
        case dbSingle:
            return 4;
        case dbCurrency:
        case dbDouble:
        case dbFloat:
        case dbDate:
        case dbTime:
        case dbTimeStamp:
        case dbBigInt:
            return 8;
        case dbGUID:
            return 16;
        case dbDecimal:
        case dbNumeric:
            return 17;
        default:
            return 0;
    }
}

std::string SqliteValueCodec::SqlLiteral(const StoredValue& stored) {
    if (const auto* i = std::get_if<std::int64_t>(&stored)) return std::to_string(*i);
    if (const auto* d = std::get_if<double>(&stored)) {
        char buffer[40];
        std::snprintf(buffer, sizeof buffer, "%.17g", *d);
        return buffer;
    }
    if (const auto* t = std::get_if<std::string>(&stored)) {
        std::string quoted = "'";
        for (const char c : *t) {
            quoted += c;
            if (c == '\'') quoted += '\'';
        }
        return quoted + "'";
    }
    if (const auto* b = std::get_if<StoredBlob>(&stored)) {
        static constexpr char kHex[] = "0123456789ABCDEF";
        std::string hex = "X'";
        for (const auto byte : *b) {
            hex += kHex[byte >> 4];
            hex += kHex[byte & 15];
        }
        return hex + "'";
    }
    return "NULL";
}

}  // namespace vorn
