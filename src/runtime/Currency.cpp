#include "runtime/Currency.h"

#include <cmath>
#include <limits>

#include "runtime/VornError.h"

namespace vorn {
namespace {

constexpr const char* kSource = "Currency";

__extension__ using Int128 = __int128;

// Rounds a 128-bit quotient n / d half to even.
Int128 DivideRoundHalfEven(Int128 n, Int128 d) {
    Int128 q = n / d;
    const Int128 r = n % d;
    const Int128 twice = (r < 0 ? -r : r) * 2;
    const Int128 absD = d < 0 ? -d : d;
    if (twice > absD || (twice == absD && (q % 2) != 0)) {
        q += ((n < 0) != (d < 0)) ? -1 : 1;
    }
    return q;
}

Currency FromWide(Int128 scaled) {
    if (scaled > std::numeric_limits<std::int64_t>::max() ||
        scaled < std::numeric_limits<std::int64_t>::min()) {
        throw VornError::Overflow(kSource);
    }
    return Currency::FromScaled(static_cast<std::int64_t>(scaled));
}

}  // namespace

Currency Currency::FromInteger(std::int64_t whole) {
    return FromWide(static_cast<Int128>(whole) * kScale);
}

Currency Currency::FromDouble(double value) {
    const double scaled = value * static_cast<double>(kScale);
    // 2^63 is exactly representable; anything at or beyond it does not fit.
    if (!std::isfinite(scaled) || scaled >= 9223372036854775808.0 ||
        scaled < -9223372036854775808.0) {
        throw VornError::Overflow(kSource);
    }
    // The runtime rounds the fifth decimal half to even.
    return FromScaled(static_cast<std::int64_t>(std::nearbyint(scaled)));
}

double Currency::ToDouble() const noexcept {
    return static_cast<double>(scaled_) / static_cast<double>(kScale);
}

std::string Currency::ToString() const {
    const bool negative = scaled_ < 0;
    // Through unsigned so the minimum value negates safely.
    const std::uint64_t magnitude =
        negative ? 0 - static_cast<std::uint64_t>(scaled_) : static_cast<std::uint64_t>(scaled_);
    std::string text = std::to_string(magnitude / kScale);
    std::uint64_t fraction = magnitude % kScale;
    if (fraction != 0) {
        std::string digits = std::to_string(fraction);
        digits.insert(0, 4 - digits.size(), '0');
        while (digits.back() == '0') {
            digits.pop_back();
        }
        text += '.' + digits;
    }
    return negative ? '-' + text : text;
}

Currency Currency::operator+(Currency other) const {
    return FromWide(static_cast<Int128>(scaled_) + other.scaled_);
}

Currency Currency::operator-(Currency other) const {
    return FromWide(static_cast<Int128>(scaled_) - other.scaled_);
}

Currency Currency::operator*(Currency other) const {
    return FromWide(DivideRoundHalfEven(static_cast<Int128>(scaled_) * other.scaled_, kScale));
}

Currency Currency::operator/(Currency other) const {
    if (other.scaled_ == 0) {
        throw VornError::DivisionByZero(kSource);
    }
    return FromWide(DivideRoundHalfEven(static_cast<Int128>(scaled_) * kScale, other.scaled_));
}

Currency Currency::operator-() const {
    return FromWide(-static_cast<Int128>(scaled_));
}

}  // namespace vorn
