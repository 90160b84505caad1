#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vorn {

// The runtime's Decimal: a 96-bit unsigned magnitude, a sign and a scale of
// 0 to 28 decimal places, value = (-1)^sign * magnitude / 10^scale. Enough for
// the exact decimals of the database engines (up to 28 digits).
class Decimal {
public:
    static constexpr int kMaxScale = 28;

    Decimal() noexcept = default;

    // From parts: the magnitude in three 32-bit words (hi:mid:lo).
    // REQUIRES: 0 <= scale <= 28.
    static Decimal FromParts(std::uint32_t hi, std::uint64_t lo, int scale, bool negative);
    static Decimal FromInt64(std::int64_t value) noexcept;
    // From a double, keeping at most 15 significant digits as the runtime
    // does. Raises 6 (overflow) beyond the range, and for NaN or infinity.
    static Decimal FromDouble(double value);
    static Decimal FromCurrency(std::int64_t scaledBy10000) noexcept;
    // Reads plain decimal text: optional sign, digits, one ".", optional
    // exponent "e"/"E" with sign. Extra digits beyond 28 decimals are rounded
    // half to even. Returns nullopt for anything else or on overflow.
    static std::optional<Decimal> Parse(std::string_view text);

    double ToDouble() const noexcept;
    // En-US text: all significant digits, no trailing zeros, no exponent:
    // "1.5", "-0.001", "79228162514264337593543950335".
    std::string ToString() const;

    bool IsZero() const noexcept { return hi_ == 0 && lo_ == 0; }
    bool IsNegative() const noexcept { return negative_ && !IsZero(); }
    int Scale() const noexcept { return scale_; }
    std::uint32_t High() const noexcept { return hi_; }
    std::uint64_t Low() const noexcept { return lo_; }

    // Rounds to `digits` decimals, half to even (the runtime's Round).
    Decimal RoundHalfEven(int digits) const;
    // Drops the fraction towards zero (Fix) or towards minus infinity (Int).
    Decimal Truncate() const;
    Decimal Floor() const;

    // Arithmetic raises 6 (overflow) when a result does not fit; division
    // by zero raises 11. Results keep up to 28 decimals, rounded half to even.
    Decimal operator+(const Decimal& other) const;
    Decimal operator-(const Decimal& other) const;
    Decimal operator*(const Decimal& other) const;
    Decimal operator/(const Decimal& other) const;
    Decimal operator-() const;

    // Numeric comparison: 1.50 equals 1.5, -0 equals 0.
    friend bool operator==(const Decimal& a, const Decimal& b) noexcept {
        return Compare(a, b) == 0;
    }
    friend std::strong_ordering operator<=>(const Decimal& a, const Decimal& b) noexcept {
        return Compare(a, b) <=> 0;
    }
    static int Compare(const Decimal& a, const Decimal& b) noexcept;

private:
    std::uint64_t lo_ = 0;
    std::uint32_t hi_ = 0;
    std::uint8_t scale_ = 0;
    bool negative_ = false;
};

}  // namespace vorn
