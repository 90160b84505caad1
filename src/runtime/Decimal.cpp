#include "runtime/Decimal.h"

#include <array>
#include <cmath>
#include <cstdio>

#include "runtime/VornError.h"

namespace vorn {
namespace {

constexpr const char* kSource = "Decimal";

__extension__ using UInt128 = unsigned __int128;

// An unsigned integer of 192 bits in 32-bit limbs, least significant first:
// wide enough for a product of two 96-bit magnitudes, or a 96-bit magnitude
// scaled up by 10^28.
class Wide {
public:
    Wide() = default;
    explicit Wide(UInt128 value) {
        for (std::size_t i = 0; i < 4; ++i) {
            limbs_[i] = static_cast<std::uint32_t>(value >> (32 * i));
        }
    }

    bool IsZero() const {
        for (const std::uint32_t limb : limbs_) {
            if (limb != 0) {
                return false;
            }
        }
        return true;
    }
    bool FitsIn96() const { return limbs_[3] == 0 && limbs_[4] == 0 && limbs_[5] == 0; }
    bool IsOdd() const { return (limbs_[0] & 1U) != 0; }
    // REQUIRES: FitsIn96() (or at least 128 bits).
    UInt128 Low128() const {
        UInt128 value = 0;
        for (std::size_t i = 4; i-- > 0;) {
            value = (value << 32) | limbs_[i];
        }
        return value;
    }

    // this = this * factor + addend; false on overflow of 192 bits.
    bool MulAdd(std::uint32_t factor, std::uint32_t addend) {
        std::uint64_t carry = addend;
        for (std::uint32_t& limb : limbs_) {
            const std::uint64_t v = static_cast<std::uint64_t>(limb) * factor + carry;
            limb = static_cast<std::uint32_t>(v);
            carry = v >> 32;
        }
        return carry == 0;
    }
    // this /= divisor; returns the remainder.
    std::uint32_t DivSmall(std::uint32_t divisor) {
        std::uint64_t rem = 0;
        for (std::size_t i = limbs_.size(); i-- > 0;) {
            const std::uint64_t v = (rem << 32) | limbs_[i];
            limbs_[i] = static_cast<std::uint32_t>(v / divisor);
            rem = v % divisor;
        }
        return static_cast<std::uint32_t>(rem);
    }
    void Add(const Wide& other) {
        std::uint64_t carry = 0;
        for (std::size_t i = 0; i < limbs_.size(); ++i) {
            const std::uint64_t v = static_cast<std::uint64_t>(limbs_[i]) + other.limbs_[i] + carry;
            limbs_[i] = static_cast<std::uint32_t>(v);
            carry = v >> 32;
        }
    }
    // REQUIRES: *this >= other.
    void Subtract(const Wide& other) {
        std::int64_t borrow = 0;
        for (std::size_t i = 0; i < limbs_.size(); ++i) {
            std::int64_t v = static_cast<std::int64_t>(limbs_[i]) - other.limbs_[i] - borrow;
            borrow = v < 0 ? 1 : 0;
            if (v < 0) {
                v += std::int64_t{1} << 32;
            }
            limbs_[i] = static_cast<std::uint32_t>(v);
        }
    }
    static int Compare(const Wide& a, const Wide& b) {
        for (std::size_t i = a.limbs_.size(); i-- > 0;) {
            if (a.limbs_[i] != b.limbs_[i]) {
                return a.limbs_[i] < b.limbs_[i] ? -1 : 1;
            }
        }
        return 0;
    }
    // Product of two values of at most 96 bits.
    static Wide Multiply(const Wide& a, const Wide& b) {
        Wide result;
        for (std::size_t i = 0; i < 3; ++i) {
            std::uint64_t carry = 0;
            for (std::size_t j = 0; j < 3; ++j) {
                const std::uint64_t v = static_cast<std::uint64_t>(a.limbs_[i]) * b.limbs_[j] +
                                        result.limbs_[i + j] + carry;
                result.limbs_[i + j] = static_cast<std::uint32_t>(v);
                carry = v >> 32;
            }
            result.limbs_[i + 3] = static_cast<std::uint32_t>(carry);
        }
        return result;
    }

private:
    std::array<std::uint32_t, 6> limbs_{};
};

// Digits dropped from the right of a value, for rounding half to even:
// the first dropped digit, and whether any later dropped digit was non-zero.
struct Dropped {
    int digit = 0;
    bool sticky = false;

    void Push(std::uint32_t next) {
        sticky = sticky || digit != 0;
        digit = static_cast<int>(next);
    }
    bool RoundsUp(bool odd) const { return digit > 5 || (digit == 5 && (sticky || odd)); }
};

constexpr UInt128 kMax96 = (static_cast<UInt128>(1) << 96) - 1;

}  // namespace

// A sign, a magnitude and a scale that may be too wide: drops digits with
// rounding until the magnitude fits 96 bits and the scale is at most 28.
// Raises 6 when the integer part alone does not fit.
static Decimal Normalize(Wide value, int scale, bool negative, Dropped dropped = {}) {
    while (true) {
        while (scale > Decimal::kMaxScale || !value.FitsIn96()) {
            if (scale == 0) {
                throw VornError::Overflow(kSource);
            }
            dropped.Push(value.DivSmall(10));
            --scale;
        }
        if (!dropped.RoundsUp(value.IsOdd())) {
            break;
        }
        value.MulAdd(1, 1);
        dropped = {};
        if (value.FitsIn96()) {
            break;
        }
    }
    if (scale < 0) {
        throw VornError::Overflow(kSource);
    }
    const UInt128 magnitude = value.Low128();
    return Decimal::FromParts(static_cast<std::uint32_t>(magnitude >> 64),
                              static_cast<std::uint64_t>(magnitude), scale, negative);
}

static UInt128 MagnitudeOf(const Decimal& d) {
    return (static_cast<UInt128>(d.High()) << 64) | d.Low();
}

// The magnitude of `d` scaled up to `scale` (>= d.Scale()).
static Wide ScaledMagnitude(const Decimal& d, int scale) {
    Wide value(MagnitudeOf(d));
    for (int i = d.Scale(); i < scale; ++i) {
        value.MulAdd(10, 0);
    }
    return value;
}

Decimal Decimal::FromParts(std::uint32_t hi, std::uint64_t lo, int scale, bool negative) {
    Decimal d;
    d.hi_ = hi;
    d.lo_ = lo;
    d.scale_ = static_cast<std::uint8_t>(scale);
    d.negative_ = negative;
    return d;
}

Decimal Decimal::FromInt64(std::int64_t value) noexcept {
    const bool negative = value < 0;
    const std::uint64_t magnitude =
        negative ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
    return FromParts(0, magnitude, 0, negative);
}

Decimal Decimal::FromCurrency(std::int64_t scaledBy10000) noexcept {
    Decimal d = FromInt64(scaledBy10000);
    d.scale_ = 4;
    return d;
}

Decimal Decimal::FromDouble(double value) {
    if (!std::isfinite(value)) {
        throw VornError::Overflow(kSource);
    }
    // Fifteen significant digits, as the runtime keeps, so 0.1 stays 0.1.
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%.14e", value);
    const std::optional<Decimal> parsed = Parse(buffer);
    if (!parsed) {
        throw VornError::Overflow(kSource);
    }
    return *parsed;
}

std::optional<Decimal> Decimal::Parse(std::string_view text) {
    std::size_t pos = 0;
    bool negative = false;
    if (pos < text.size() && (text[pos] == '+' || text[pos] == '-')) {
        negative = text[pos++] == '-';
    }
    Wide value;
    Dropped dropped;
    int kept = 0;       // significant digits held in `value`
    int exponent = 0;   // value * 10^exponent
    bool anyDigit = false;
    bool afterPoint = false;
    for (; pos < text.size(); ++pos) {
        const char c = text[pos];
        if (c == '.' && !afterPoint) {
            afterPoint = true;
            continue;
        }
        if (c < '0' || c > '9') {
            break;
        }
        anyDigit = true;
        if (kept == 0 && c == '0') {
            exponent -= afterPoint ? 1 : 0;
            continue;
        }
        if (kept < 40) {
            value.MulAdd(10, static_cast<std::uint32_t>(c - '0'));
            ++kept;
            exponent -= afterPoint ? 1 : 0;
        } else {
            // Beyond any precision the type holds: only rounding needs them.
            dropped.Push(static_cast<std::uint32_t>(c - '0'));
            exponent += afterPoint ? 0 : 1;
        }
    }
    if (!anyDigit) {
        return std::nullopt;
    }
    if (pos < text.size() && (text[pos] == 'e' || text[pos] == 'E')) {
        ++pos;
        bool expNegative = false;
        if (pos < text.size() && (text[pos] == '+' || text[pos] == '-')) {
            expNegative = text[pos++] == '-';
        }
        int e = 0;
        bool expDigit = false;
        for (; pos < text.size() && text[pos] >= '0' && text[pos] <= '9'; ++pos) {
            e = std::min(e * 10 + (text[pos] - '0'), 10000);
            expDigit = true;
        }
        if (!expDigit) {
            return std::nullopt;
        }
        exponent += expNegative ? -e : e;
    }
    if (pos != text.size()) {
        return std::nullopt;
    }
    if (value.IsZero()) {
        return FromParts(0, 0, 0, negative);
    }
    for (; exponent > 0; --exponent) {
        if (!value.MulAdd(10, 0) || !value.FitsIn96()) {
            return std::nullopt;
        }
    }
    // A value far below the smallest step rounds to zero without dividing
    // digit by digit through thousands of places.
    if (exponent < -(kMaxScale + 2 + kept)) {
        return FromParts(0, 0, 0, negative);
    }
    try {
        return Normalize(value, -exponent, negative, dropped);
    } catch (const VornError&) {
        return std::nullopt;
    }
}

double Decimal::ToDouble() const noexcept {
    return std::strtod(ToString().c_str(), nullptr);
}

std::string Decimal::ToString() const {
    UInt128 magnitude = MagnitudeOf(*this);
    std::string digits;
    do {
        digits.insert(digits.begin(), static_cast<char>('0' + static_cast<int>(magnitude % 10)));
        magnitude /= 10;
    } while (magnitude != 0);
    if (digits.size() <= scale_) {
        digits.insert(0, scale_ - digits.size() + 1, '0');
    }
    std::string whole = digits.substr(0, digits.size() - scale_);
    std::string fraction = digits.substr(digits.size() - scale_);
    while (!fraction.empty() && fraction.back() == '0') {
        fraction.pop_back();
    }
    std::string text = IsNegative() ? "-" + whole : whole;
    return fraction.empty() ? text : text + "." + fraction;
}

Decimal Decimal::RoundHalfEven(int digits) const {
    if (digits >= scale_) {
        return *this;
    }
    Wide value(MagnitudeOf(*this));
    Dropped dropped;
    for (int s = scale_; s > digits; --s) {
        dropped.Push(value.DivSmall(10));
    }
    if (dropped.RoundsUp(value.IsOdd())) {
        value.MulAdd(1, 1);
    }
    return Normalize(value, digits, negative_);
}

Decimal Decimal::Truncate() const {
    Wide value(MagnitudeOf(*this));
    for (int s = scale_; s > 0; --s) {
        value.DivSmall(10);
    }
    return Normalize(value, 0, negative_);
}

Decimal Decimal::Floor() const {
    const Decimal whole = Truncate();
    if (IsNegative() && Compare(whole, *this) != 0) {
        return whole - FromInt64(1);
    }
    return whole;
}

Decimal Decimal::operator+(const Decimal& other) const {
    const int scale = std::max<int>(scale_, other.scale_);
    Wide a = ScaledMagnitude(*this, scale);
    Wide b = ScaledMagnitude(other, scale);
    if (negative_ == other.negative_) {
        a.Add(b);
        return Normalize(a, scale, negative_);
    }
    if (Wide::Compare(a, b) >= 0) {
        a.Subtract(b);
        return Normalize(a, scale, negative_);
    }
    b.Subtract(a);
    return Normalize(b, scale, other.negative_);
}

Decimal Decimal::operator-(const Decimal& other) const {
    return *this + (-other);
}

Decimal Decimal::operator*(const Decimal& other) const {
    const Wide product = Wide::Multiply(Wide(MagnitudeOf(*this)), Wide(MagnitudeOf(other)));
    return Normalize(product, scale_ + other.scale_, negative_ != other.negative_);
}

Decimal Decimal::operator/(const Decimal& other) const {
    const UInt128 divisor = MagnitudeOf(other);
    if (divisor == 0) {
        throw VornError::DivisionByZero(kSource);
    }
    UInt128 quotient = MagnitudeOf(*this) / divisor;
    UInt128 remainder = MagnitudeOf(*this) % divisor;
    int scale = scale_ - other.scale_;
    // Long division, one decimal digit at a time, while the quotient has room.
    while ((scale < 0 || (remainder != 0 && scale < kMaxScale)) && quotient <= kMax96 / 10) {
        remainder *= 10;
        quotient = quotient * 10 + remainder / divisor;
        remainder %= divisor;
        ++scale;
    }
    if (scale < 0) {
        throw VornError::Overflow(kSource);
    }
    const UInt128 twice = remainder * 2;
    if (twice > divisor || (twice == divisor && (quotient & 1) != 0)) {
        ++quotient;
    }
    return Normalize(Wide(quotient), scale, negative_ != other.negative_);
}

Decimal Decimal::operator-() const {
    Decimal d = *this;
    d.negative_ = !negative_;
    return d;
}

int Decimal::Compare(const Decimal& a, const Decimal& b) noexcept {
    const bool aNeg = a.IsNegative();
    const bool bNeg = b.IsNegative();
    if (aNeg != bNeg) {
        return aNeg ? -1 : 1;
    }
    const int scale = std::max<int>(a.scale_, b.scale_);
    const int magnitudeOrder = Wide::Compare(ScaledMagnitude(a, scale), ScaledMagnitude(b, scale));
    return aNeg ? -magnitudeOrder : magnitudeOrder;
}

}  // namespace vorn
