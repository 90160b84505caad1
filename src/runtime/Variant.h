#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "runtime/Currency.h"
#include "runtime/Decimal.h"
#include "runtime/VArray.h"

namespace vorn {

// The runtime's VarType numbers. An array reports Array | element type:
// a VArray is Array | Variant (8204), a byte buffer Array | Byte (8209).
enum class VarType : std::int32_t {
    Empty = 0,
    Null = 1,
    Integer = 2,
    Long = 3,
    Single = 4,
    Double = 5,
    Currency = 6,
    Date = 7,
    String = 8,
    Object = 9,
    Error = 10,
    Boolean = 11,
    Variant = 12,
    DataObject = 13,
    Decimal = 14,
    Byte = 17,
    Array = 8192,
};

constexpr VarType operator|(VarType a, VarType b) noexcept {
    return static_cast<VarType>(static_cast<std::int32_t>(a) | static_cast<std::int32_t>(b));
}

// What a Variant holds.
enum class VariantKind : std::uint8_t {
    Empty,
    Null,
    Boolean,
    Byte,
    Integer,   // int16
    Long,      // int32
    Currency,
    Single,
    Double,
    Date,      // double serial, days since 1899-12-30
    Text,      // UTF-8
    Binary,    // byte buffer (a Byte() array)
    Decimal,
    Array,     // VArray of Variants
};

// The runtime's variant value. Value semantics throughout: copying a Variant
// that holds an array copies the array.
//
// Construction from C++ types picks the kind the runtime would: bool is
// Boolean, std::uint8_t Byte, std::int16_t Integer, int Long, float Single,
// double Double, text Text. Other integer types become Long when they fit
// and Double otherwise. Dates need Variant::FromDate, since a serial is a double.
class Variant {
public:
    using Binary = std::vector<std::uint8_t>;

    Variant() noexcept = default;  // Empty
    Variant(bool value) noexcept : kind_(VariantKind::Boolean), data_(value) {}
    Variant(std::uint8_t value) noexcept : kind_(VariantKind::Byte), data_(value) {}
    Variant(std::int16_t value) noexcept : kind_(VariantKind::Integer), data_(value) {}
    Variant(std::int32_t value) noexcept : kind_(VariantKind::Long), data_(value) {}
    Variant(float value) noexcept : kind_(VariantKind::Single), data_(value) {}
    Variant(double value) noexcept : kind_(VariantKind::Double), data_(value) {}
    Variant(Currency value) noexcept : kind_(VariantKind::Currency), data_(value) {}
    Variant(const Decimal& value) noexcept : kind_(VariantKind::Decimal), data_(value) {}
    Variant(const char* text) : kind_(VariantKind::Text), data_(std::string(text)) {}
    Variant(std::string text) noexcept : kind_(VariantKind::Text), data_(std::move(text)) {}
    Variant(std::string_view text) : kind_(VariantKind::Text), data_(std::string(text)) {}
    Variant(VArray array) noexcept : kind_(VariantKind::Array), data_(std::move(array)) {}
    Variant(Binary bytes) noexcept : kind_(VariantKind::Binary), data_(std::move(bytes)) {}
    // Any other integer type: Long when it fits, else Double.
    template <std::integral T>
        requires(!std::same_as<T, bool> && !std::same_as<T, std::uint8_t> &&
                 !std::same_as<T, std::int16_t> && !std::same_as<T, std::int32_t> &&
                 !std::same_as<T, char>)
    Variant(T value) noexcept : Variant(FromInteger(static_cast<std::int64_t>(value))) {}
    Variant(std::nullptr_t) = delete;

    static Variant Null() noexcept;
    static Variant FromDate(double serial) noexcept;
    // Long when -2^31..2^31-1, otherwise Double (the runtime had no wider
    // integer in a variant).
    static Variant FromInteger(std::int64_t value) noexcept;

    VariantKind Kind() const noexcept { return kind_; }
    // The runtime's VarType number.
    VarType Type() const noexcept;
    // The runtime's TypeName: "Empty", "Null", "Boolean", "Byte", "Integer",
    // "Long", "Currency", "Single", "Double", "Date", "String", "Decimal",
    // "Byte()", "Variant()".
    std::string TypeName() const;

    bool IsEmpty() const noexcept { return kind_ == VariantKind::Empty; }
    bool IsNull() const noexcept { return kind_ == VariantKind::Null; }
    bool IsText() const noexcept { return kind_ == VariantKind::Text; }
    bool IsDate() const noexcept { return kind_ == VariantKind::Date; }
    bool IsBoolean() const noexcept { return kind_ == VariantKind::Boolean; }
    bool IsArray() const noexcept { return kind_ == VariantKind::Array; }
    bool IsBinary() const noexcept { return kind_ == VariantKind::Binary; }
    // Byte, Integer, Long, Currency, Single, Double, Decimal (not Boolean,
    // not Date).
    bool IsNumericKind() const noexcept;
    // Byte, Integer, Long.
    bool IsIntegerKind() const noexcept;

    // The held value. Each raises 13 (type mismatch) when the kind differs;
    // for conversions use the C* functions of Conversions.h.
    bool AsBoolean() const;
    std::uint8_t AsByte() const;
    std::int16_t AsInteger() const;
    std::int32_t AsLong() const;
    Currency AsCurrency() const;
    float AsSingle() const;
    double AsDouble() const;
    double AsDateSerial() const;
    const std::string& AsText() const;
    const Binary& AsBinary() const;
    const Decimal& AsDecimal() const;
    const VArray& AsArray() const;
    VArray& AsArray();

    // The number held by a numeric kind, Boolean (-1/0) or Date (its serial),
    // Empty as 0. Raises 13 for others (text is not read here).
    double NumberValue() const;

    // Same kind and same value (Double NaN equals itself). For tests and
    // containers; the runtime's "=" is Compare below.
    friend bool operator==(const Variant& a, const Variant& b);

private:
    using Storage = std::variant<std::monostate, bool, std::uint8_t, std::int16_t, std::int32_t,
                                 Currency, float, double, std::string, Binary, Decimal, VArray>;
    template <class T>
    const T& Held(VariantKind expected) const;

    VariantKind kind_ = VariantKind::Empty;
    Storage data_;
};

// gtest and log printing: "Long 5", "String \"abc\"", "Null".
std::ostream& operator<<(std::ostream& out, const Variant& value);

// ---- Operators, as the runtime evaluates them on variants ----------------
// Null in any operand gives Null (except Concat, where Null acts as "").
// Empty acts as 0 (or "" beside text). Text beside a number is read as a
// Double (13 when it is not numeric). Integer kinds that overflow widen
// (Byte -> Integer -> Long -> Double); Currency and Decimal overflow raises 6.

// "+": addition, or concatenation when both sides are text; one Empty side
// gives the other unchanged. Addition and subtraction widen in the order Byte,
// Integer, Long, Single, Double, Currency, Decimal (a Single with a Long gives
// a Double); a Date with a number gives a Date, Date - Date a Double.
Variant operator+(const Variant& a, const Variant& b);
Variant operator-(const Variant& a, const Variant& b);
// "*": as "+", but Currency ranks below Double and dates count as Doubles.
Variant operator*(const Variant& a, const Variant& b);
// "/": Double; Single for a Single beside a Single, Integer or Byte (Double if
// that overflows); Decimal when either side is. Division by zero raises 11,
// 0/0 raises 6.
Variant operator/(const Variant& a, const Variant& b);
// Unary minus.
Variant operator-(const Variant& a);
// "\": operands rounded half to even to Long (or Integer/Byte when both
// are), truncating division; 11 on zero.
Variant IntDiv(const Variant& a, const Variant& b);
// "Mod": operands rounded to integers, the remainder has the dividend's sign.
Variant Mod(const Variant& a, const Variant& b);
// "^": Double. 0 ^ negative raises 11, a negative base with a fractional
// exponent 5.
Variant Pow(const Variant& a, const Variant& b);
// "&": text of both sides, Null and Empty as "". Null & Null is Null.
Variant Concat(const Variant& a, const Variant& b);

// How a number meets text in a comparison. Between two variants the runtime
// never reads the text: the number is simply less. Where one side was a typed
// number (not a variant), the text was read as a number instead, and text
// that is no number raised 13.
enum class MixedCompare { NumberLess, ReadTextAsNumber };

// The runtime's comparison of two variants: -1, 0, 1; nullopt when either is
// Null. Numbers (with Boolean as -1/0 and Date as its serial) compare
// numerically; text compares binary (by code point) or, with textCompare,
// ignoring case; a number beside text follows `mixed`; Empty is 0 beside a
// number and "" beside text, and equals Empty. Arrays and byte buffers
// raise 13.
std::optional<int> Compare(const Variant& a, const Variant& b, bool textCompare = false,
                           MixedCompare mixed = MixedCompare::NumberLess);

// "=" and "<>" as the runtime would answer in an If: Null counts as false.
bool VarEquals(const Variant& a, const Variant& b, bool textCompare = false,
               MixedCompare mixed = MixedCompare::NumberLess);

}  // namespace vorn
