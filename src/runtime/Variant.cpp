#include "runtime/Variant.h"

#include <cmath>
#include <limits>
#include <ostream>

#include "runtime/Conversions.h"
#include "runtime/DateSerial.h"
#include "runtime/Utf8.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

constexpr const char* kSource = "Variant";

}  // namespace

// ---- The value -------------------------------------------------------------

Variant Variant::Null() noexcept {
    Variant v;
    v.kind_ = VariantKind::Null;
    return v;
}

Variant Variant::FromDate(double serial) noexcept {
    Variant v(serial);
    v.kind_ = VariantKind::Date;
    return v;
}

Variant Variant::FromInteger(std::int64_t value) noexcept {
    if (value >= std::numeric_limits<std::int32_t>::min() &&
        value <= std::numeric_limits<std::int32_t>::max()) {
        return Variant(static_cast<std::int32_t>(value));
    }
    return Variant(static_cast<double>(value));
}

VarType Variant::Type() const noexcept {
    switch (kind_) {
        case VariantKind::Empty: return VarType::Empty;
        case VariantKind::Null: return VarType::Null;
        case VariantKind::Boolean: return VarType::Boolean;
        case VariantKind::Byte: return VarType::Byte;
        case VariantKind::Integer: return VarType::Integer;
        case VariantKind::Long: return VarType::Long;
        case VariantKind::Currency: return VarType::Currency;
        case VariantKind::Single: return VarType::Single;
        case VariantKind::Double: return VarType::Double;
        case VariantKind::Date: return VarType::Date;
        case VariantKind::Text: return VarType::String;
        case VariantKind::Binary: return VarType::Array | VarType::Byte;
        case VariantKind::Decimal: return VarType::Decimal;
        case VariantKind::Array: return VarType::Array | VarType::Variant;
    }
    return VarType::Empty;
}

std::string Variant::TypeName() const {
    switch (kind_) {
        case VariantKind::Empty: return "Empty";
        case VariantKind::Null: return "Null";
        case VariantKind::Boolean: return "Boolean";
        case VariantKind::Byte: return "Byte";
        case VariantKind::Integer: return "Integer";
        case VariantKind::Long: return "Long";
        case VariantKind::Currency: return "Currency";
        case VariantKind::Single: return "Single";
        case VariantKind::Double: return "Double";
        case VariantKind::Date: return "Date";
        case VariantKind::Text: return "String";
        case VariantKind::Binary: return "Byte()";
        case VariantKind::Decimal: return "Decimal";
        case VariantKind::Array: return "Variant()";
    }
    return "Empty";
}

bool Variant::IsNumericKind() const noexcept {
    switch (kind_) {
        case VariantKind::Byte:
        case VariantKind::Integer:
        case VariantKind::Long:
        case VariantKind::Currency:
        case VariantKind::Single:
        case VariantKind::Double:
        case VariantKind::Decimal:
            return true;
        default:
            return false;
    }
}

bool Variant::IsIntegerKind() const noexcept {
    return kind_ == VariantKind::Byte || kind_ == VariantKind::Integer ||
           kind_ == VariantKind::Long;
}

template <class T>
const T& Variant::Held(VariantKind expected) const {
    if (kind_ != expected) {
        throw VornError::TypeMismatch(kSource);
    }
    return std::get<T>(data_);
}

bool Variant::AsBoolean() const { return Held<bool>(VariantKind::Boolean); }
std::uint8_t Variant::AsByte() const { return Held<std::uint8_t>(VariantKind::Byte); }
std::int16_t Variant::AsInteger() const { return Held<std::int16_t>(VariantKind::Integer); }
std::int32_t Variant::AsLong() const { return Held<std::int32_t>(VariantKind::Long); }
Currency Variant::AsCurrency() const { return Held<Currency>(VariantKind::Currency); }
float Variant::AsSingle() const { return Held<float>(VariantKind::Single); }
double Variant::AsDouble() const { return Held<double>(VariantKind::Double); }
double Variant::AsDateSerial() const { return Held<double>(VariantKind::Date); }
const std::string& Variant::AsText() const { return Held<std::string>(VariantKind::Text); }
const Variant::Binary& Variant::AsBinary() const { return Held<Binary>(VariantKind::Binary); }
const Decimal& Variant::AsDecimal() const { return Held<Decimal>(VariantKind::Decimal); }
const VArray& Variant::AsArray() const { return Held<VArray>(VariantKind::Array); }
VArray& Variant::AsArray() {
    if (kind_ != VariantKind::Array) {
        throw VornError::TypeMismatch(kSource);
    }
    return std::get<VArray>(data_);
}

double Variant::NumberValue() const {
    switch (kind_) {
        case VariantKind::Empty: return 0.0;
        case VariantKind::Boolean: return AsBoolean() ? -1.0 : 0.0;
        case VariantKind::Byte: return AsByte();
        case VariantKind::Integer: return AsInteger();
        case VariantKind::Long: return AsLong();
        case VariantKind::Currency: return AsCurrency().ToDouble();
        case VariantKind::Single: return AsSingle();
        case VariantKind::Double:
        case VariantKind::Date: return std::get<double>(data_);
        case VariantKind::Decimal: return AsDecimal().ToDouble();
        default: throw VornError::TypeMismatch(kSource);
    }
}

bool operator==(const Variant& a, const Variant& b) {
    if (a.kind_ != b.kind_) {
        return false;
    }
    if (a.kind_ == VariantKind::Double || a.kind_ == VariantKind::Date) {
        const double x = std::get<double>(a.data_);
        const double y = std::get<double>(b.data_);
        return x == y || (std::isnan(x) && std::isnan(y));
    }
    return a.data_ == b.data_;
}

std::ostream& operator<<(std::ostream& out, const Variant& value) {
    out << value.TypeName();
    switch (value.Kind()) {
        case VariantKind::Empty:
        case VariantKind::Null:
            return out;
        case VariantKind::Text:
            return out << " \"" << value.AsText() << '"';
        case VariantKind::Binary:
            return out << " (" << value.AsBinary().size() << " bytes)";
        case VariantKind::Array: {
            const VArray& array = value.AsArray();
            if (!array.IsDimensioned()) {
                return out << " (undimensioned)";
            }
            out << " (" << array.LBound(1) << " To " << array.UBound(1);
            if (array.Dimensions() == 2) {
                out << ", " << array.LBound(2) << " To " << array.UBound(2);
            }
            return out << ')';
        }
        case VariantKind::Date:
            return out << ' ' << CStr(value) << " (" << value.AsDateSerial() << ')';
        default:
            return out << ' ' << CStr(value);
    }
}

// ---- Arithmetic ------------------------------------------------------------
namespace {

// The numeric kinds in the order in which addition and subtraction widen.
enum class Rank { Byte, Integer, Long, Single, Double, Currency, Decimal };

// An operand made ready for arithmetic: Boolean and Empty as Integer, text
// read as a Double. Dates are kept apart by the callers.
Variant Numeric(const Variant& v) {
    switch (v.Kind()) {
        case VariantKind::Empty: return Variant(std::int16_t{0});
        case VariantKind::Boolean: return Variant(static_cast<std::int16_t>(v.AsBoolean() ? -1 : 0));
        case VariantKind::Text: return Variant(CDbl(v));
        case VariantKind::Array:
        case VariantKind::Binary:
        case VariantKind::Null: throw VornError::TypeMismatch(kSource);
        default: return v;
    }
}

Rank RankOf(const Variant& v) {
    switch (v.Kind()) {
        case VariantKind::Byte: return Rank::Byte;
        case VariantKind::Integer: return Rank::Integer;
        case VariantKind::Long: return Rank::Long;
        case VariantKind::Single: return Rank::Single;
        case VariantKind::Currency: return Rank::Currency;
        case VariantKind::Decimal: return Rank::Decimal;
        default: return Rank::Double;
    }
}

std::int64_t IntegerValue(const Variant& v) {
    switch (v.Kind()) {
        case VariantKind::Byte: return v.AsByte();
        case VariantKind::Integer: return v.AsInteger();
        default: return v.AsLong();
    }
}

Currency CurrencyValue(const Variant& v) {
    switch (v.Kind()) {
        case VariantKind::Currency: return v.AsCurrency();
        case VariantKind::Byte:
        case VariantKind::Integer:
        case VariantKind::Long: return Currency::FromInteger(IntegerValue(v));
        default: return Currency::FromDouble(v.NumberValue());
    }
}

Decimal DecimalValue(const Variant& v) {
    switch (v.Kind()) {
        case VariantKind::Decimal: return v.AsDecimal();
        case VariantKind::Currency: return Decimal::FromCurrency(v.AsCurrency().Scaled());
        case VariantKind::Byte:
        case VariantKind::Integer:
        case VariantKind::Long: return Decimal::FromInt64(IntegerValue(v));
        default: return Decimal::FromDouble(v.NumberValue());
    }
}

// An integer result in the narrowest of Byte, Integer, Long at or above
// `rank` that holds it; a Double beyond Long, as a variant overflowed.
Variant WidenedInteger(std::int64_t value, Rank rank) {
    if (rank == Rank::Byte && value >= 0 && value <= 255) {
        return Variant(static_cast<std::uint8_t>(value));
    }
    if (rank <= Rank::Integer && value >= -32768 && value <= 32767) {
        return Variant(static_cast<std::int16_t>(value));
    }
    return Variant::FromInteger(value);
}

Variant CheckedDouble(double value) {
    if (!std::isfinite(value)) {
        throw VornError::Overflow(kSource);
    }
    return Variant(value);
}

// A Single result, or a Double when it overflows the Single range.
Variant SingleOrDouble(double value) {
    if (std::fabs(value) > std::numeric_limits<float>::max()) {
        return CheckedDouble(value);
    }
    return Variant(static_cast<float>(value));
}

Variant DateOrDouble(double value) {
    if (value < kMinDateSerial || value > kMaxDateSerial) {
        return CheckedDouble(value);
    }
    return Variant::FromDate(value);
}

enum class Op { Add, Subtract, Multiply };

// One arithmetic step on two numeric operands of the given result rank.
Variant Arithmetic(Op op, const Variant& a, const Variant& b, Rank rank) {
    switch (rank) {
        case Rank::Byte:
        case Rank::Integer:
        case Rank::Long: {
            const std::int64_t x = IntegerValue(a);
            const std::int64_t y = IntegerValue(b);
            return WidenedInteger(op == Op::Add ? x + y : op == Op::Subtract ? x - y : x * y, rank);
        }
        case Rank::Currency: {
            const Currency x = CurrencyValue(a);
            const Currency y = CurrencyValue(b);
            return Variant(op == Op::Add ? x + y : op == Op::Subtract ? x - y : x * y);
        }
        case Rank::Decimal: {
            const Decimal x = DecimalValue(a);
            const Decimal y = DecimalValue(b);
            return Variant(op == Op::Add ? x + y : op == Op::Subtract ? x - y : x * y);
        }
        default: {
            const double x = a.NumberValue();
            const double y = b.NumberValue();
            const double r = op == Op::Add ? x + y : op == Op::Subtract ? x - y : x * y;
            return rank == Rank::Single ? SingleOrDouble(r) : CheckedDouble(r);
        }
    }
}

// The result rank of addition and subtraction: the wider operand, except
// that a Single with a Long gives a Double.
Rank AdditiveRank(Rank x, Rank y) {
    if ((x == Rank::Single && y == Rank::Long) || (x == Rank::Long && y == Rank::Single)) {
        return Rank::Double;
    }
    return std::max(x, y);
}

// Multiplication orders Currency below Double.
int MultiplicativeOrder(Rank r) {
    switch (r) {
        case Rank::Currency: return 5;
        case Rank::Double: return 6;
        case Rank::Decimal: return 7;
        default: return static_cast<int>(r);
    }
}

Rank MultiplicativeRank(Rank x, Rank y) {
    if ((x == Rank::Single && y == Rank::Long) || (x == Rank::Long && y == Rank::Single)) {
        return Rank::Double;
    }
    return MultiplicativeOrder(x) >= MultiplicativeOrder(y) ? x : y;
}

// Addition and subtraction once Null, text pairs and Empty are dealt with.
Variant Additive(Op op, const Variant& a, const Variant& b) {
    const bool decimal = a.Kind() == VariantKind::Decimal || b.Kind() == VariantKind::Decimal;
    if ((a.IsDate() || b.IsDate()) && !decimal) {
        const double r = op == Op::Add ? Numeric(a).NumberValue() + Numeric(b).NumberValue()
                                       : Numeric(a).NumberValue() - Numeric(b).NumberValue();
        // The difference of two dates is a number of days, not a date.
        return (op == Op::Subtract && a.IsDate() && b.IsDate()) ? CheckedDouble(r) : DateOrDouble(r);
    }
    const Variant x = Numeric(a.IsDate() ? Variant(a.AsDateSerial()) : a);
    const Variant y = Numeric(b.IsDate() ? Variant(b.AsDateSerial()) : b);
    return Arithmetic(op, x, y, AdditiveRank(RankOf(x), RankOf(y)));
}

// Division gives a Single only for a Single beside a Single, Integer or
// Byte (Boolean and Empty count as Integer); everything else a Double.
bool DividesAsSingle(const Variant& x, const Variant& y) {
    auto small = [](const Variant& v) {
        return v.Kind() == VariantKind::Byte || v.Kind() == VariantKind::Integer ||
               v.Kind() == VariantKind::Single;
    };
    return small(x) && small(y) &&
           (x.Kind() == VariantKind::Single || y.Kind() == VariantKind::Single);
}

// An operand of "\" and "Mod": rounded to Byte, Integer or Long.
Variant IntegerOperand(const Variant& v) {
    const Variant n = Numeric(v);
    if (n.IsIntegerKind()) {
        return n;
    }
    return Variant(CLng(n));
}

// Rank of a "\" or "Mod" result: Byte for two Bytes, Integer for anything up
// to Integer, else Long.
Rank IntegerRank(const Variant& x, const Variant& y) {
    return std::max(RankOf(x), RankOf(y));
}

Variant IntegerDivision(const Variant& a, const Variant& b, bool remainder) {
    if (a.IsNull() || b.IsNull()) {
        return Variant::Null();
    }
    const Variant x = IntegerOperand(a);
    const Variant y = IntegerOperand(b);
    const std::int64_t divisor = IntegerValue(y);
    if (divisor == 0) {
        throw VornError::DivisionByZero(kSource);
    }
    const std::int64_t dividend = IntegerValue(x);
    const std::int64_t result = remainder ? dividend % divisor : dividend / divisor;
    const Rank rank = IntegerRank(x, y);
    if (rank == Rank::Long && result > std::numeric_limits<std::int32_t>::max()) {
        throw VornError::Overflow(kSource);
    }
    return WidenedInteger(result, rank);
}

}  // namespace

Variant operator+(const Variant& a, const Variant& b) {
    if (a.IsNull() || b.IsNull()) {
        return Variant::Null();
    }
    if (a.IsText() && b.IsText()) {
        return Variant(a.AsText() + b.AsText());
    }
    if (a.IsEmpty() && b.IsEmpty()) {
        return Variant(std::int16_t{0});
    }
    // One Empty side gives the other side unchanged, text included.
    if (a.IsEmpty() || b.IsEmpty()) {
        const Variant& other = a.IsEmpty() ? b : a;
        if (other.IsArray() || other.IsBinary()) {
            throw VornError::TypeMismatch(kSource);
        }
        return other;
    }
    return Additive(Op::Add, a, b);
}

Variant operator-(const Variant& a, const Variant& b) {
    if (a.IsNull() || b.IsNull()) {
        return Variant::Null();
    }
    return Additive(Op::Subtract, a, b);
}

Variant operator*(const Variant& a, const Variant& b) {
    if (a.IsNull() || b.IsNull()) {
        return Variant::Null();
    }
    const Variant x = Numeric(a.IsDate() ? Variant(a.AsDateSerial()) : a);
    const Variant y = Numeric(b.IsDate() ? Variant(b.AsDateSerial()) : b);
    return Arithmetic(Op::Multiply, x, y, MultiplicativeRank(RankOf(x), RankOf(y)));
}

Variant operator/(const Variant& a, const Variant& b) {
    if (a.IsNull() || b.IsNull()) {
        return Variant::Null();
    }
    const Variant x = Numeric(a);
    const Variant y = Numeric(b);
    if (x.Kind() == VariantKind::Decimal || y.Kind() == VariantKind::Decimal) {
        return Variant(DecimalValue(x) / DecimalValue(y));
    }
    const double divisor = y.NumberValue();
    const double dividend = x.NumberValue();
    if (divisor == 0.0) {
        // The runtime reports 0/0 as an overflow, anything else as division by zero.
        if (dividend == 0.0) {
            throw VornError::Overflow(kSource);
        }
        throw VornError::DivisionByZero(kSource);
    }
    if (DividesAsSingle(x, y)) {
        return SingleOrDouble(dividend / divisor);
    }
    return CheckedDouble(dividend / divisor);
}

Variant operator-(const Variant& a) {
    if (a.IsNull()) {
        return Variant::Null();
    }
    if (a.IsDate()) {
        return DateOrDouble(-a.AsDateSerial());
    }
    return Variant(std::int16_t{0}) - a;
}

Variant IntDiv(const Variant& a, const Variant& b) {
    return IntegerDivision(a, b, false);
}

Variant Mod(const Variant& a, const Variant& b) {
    return IntegerDivision(a, b, true);
}

Variant Pow(const Variant& a, const Variant& b) {
    if (a.IsNull() || b.IsNull()) {
        return Variant::Null();
    }
    const double base = Numeric(a).NumberValue();
    const double exponent = Numeric(b).NumberValue();
    if (base == 0.0 && exponent < 0.0) {
        throw VornError::DivisionByZero(kSource);
    }
    const double r = std::pow(base, exponent);
    if (std::isnan(r)) {
        throw VornError::InvalidArgument(kSource);
    }
    return CheckedDouble(r);
}

Variant Concat(const Variant& a, const Variant& b) {
    if (a.IsNull() && b.IsNull()) {
        return Variant::Null();
    }
    const std::string left = a.IsNull() ? std::string() : CStr(a);
    const std::string right = b.IsNull() ? std::string() : CStr(b);
    return Variant(left + right);
}

// ---- Comparison ------------------------------------------------------------
namespace {

int Sign(double x, double y) {
    return x < y ? -1 : (x > y ? 1 : 0);
}

template <class T>
int Order(const T& x, const T& y) {
    return x < y ? -1 : (y < x ? 1 : 0);
}

// Numeric comparison of two numeric operands (Boolean, Date, Empty already
// made numbers). Currency and Decimal compare exactly; a Double beside a
// Single is first rounded to Single precision.
int CompareNumbers(const Variant& x, const Variant& y) {
    const Rank rx = RankOf(x);
    const Rank ry = RankOf(y);
    try {
        if (rx == Rank::Decimal || ry == Rank::Decimal) {
            return Decimal::Compare(DecimalValue(x), DecimalValue(y));
        }
        if (rx == Rank::Currency || ry == Rank::Currency) {
            return Order(CurrencyValue(x), CurrencyValue(y));
        }
    } catch (const VornError&) {
        // A double beyond the exact type's range: compare as doubles.
    }
    if (rx <= Rank::Long && ry <= Rank::Long) {
        return Order(IntegerValue(x), IntegerValue(y));
    }
    if ((rx == Rank::Single) != (ry == Rank::Single) && rx <= Rank::Double && ry <= Rank::Double) {
        return Order(static_cast<float>(x.NumberValue()), static_cast<float>(y.NumberValue()));
    }
    return Sign(x.NumberValue(), y.NumberValue());
}

int CompareTexts(const std::string& x, const std::string& y, bool textCompare) {
    if (textCompare) {
        const int c = utf8::CompareIgnoreCase(x, y);
        return c < 0 ? -1 : (c > 0 ? 1 : 0);
    }
    // Byte order of UTF-8 is code point order.
    const int c = x.compare(y);
    return c < 0 ? -1 : (c > 0 ? 1 : 0);
}

Variant AsNumber(const Variant& v) {
    if (v.IsDate()) {
        return Variant(v.AsDateSerial());
    }
    return Numeric(v);
}

}  // namespace

std::optional<int> Compare(const Variant& a, const Variant& b, bool textCompare,
                           MixedCompare mixed) {
    if (a.IsNull() || b.IsNull()) {
        return std::nullopt;
    }
    if (a.IsArray() || b.IsArray() || a.IsBinary() || b.IsBinary()) {
        throw VornError::TypeMismatch(kSource);
    }
    if (a.IsEmpty() && b.IsEmpty()) {
        return 0;
    }
    if (a.IsText() || b.IsText()) {
        const Variant& other = a.IsText() ? b : a;
        if (other.IsText() || other.IsEmpty()) {
            return CompareTexts(a.IsEmpty() ? std::string() : a.AsText(),
                                b.IsEmpty() ? std::string() : b.AsText(), textCompare);
        }
        if (mixed == MixedCompare::NumberLess) {
            return a.IsText() ? 1 : -1;
        }
    }
    return CompareNumbers(AsNumber(a), AsNumber(b));
}

bool VarEquals(const Variant& a, const Variant& b, bool textCompare, MixedCompare mixed) {
    const std::optional<int> order = Compare(a, b, textCompare, mixed);
    return order.has_value() && *order == 0;
}

}  // namespace vorn
