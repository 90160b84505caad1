#pragma once

#include <compare>
#include <cstdint>
#include <string>

namespace vorn {

// The runtime's Currency: an exact fixed-point number with four decimals,
// held as a 64-bit count of ten-thousandths. Range about +/-922337203685477.5807.
class Currency {
public:
    static constexpr std::int64_t kScale = 10000;

    constexpr Currency() noexcept = default;

    // From a count of ten-thousandths: FromScaled(12345) is 1.2345.
    static constexpr Currency FromScaled(std::int64_t scaled) noexcept {
        Currency c;
        c.scaled_ = scaled;
        return c;
    }
    // From a whole number. Raises 6 (overflow) outside the range.
    static Currency FromInteger(std::int64_t whole);
    // From a double, rounded half to even at the fourth decimal. Raises 6
    // outside the range (and for NaN or infinity).
    static Currency FromDouble(double value);

    constexpr std::int64_t Scaled() const noexcept { return scaled_; }
    double ToDouble() const noexcept;

    // En-US text without thousands separators or trailing zeros: "1.5",
    // "-0.0001", "12".
    std::string ToString() const;

    // Arithmetic raises 6 (overflow) when a result leaves the range.
    // Products and quotients round half to even at the fourth decimal;
    // division by zero raises 11.
    Currency operator+(Currency other) const;
    Currency operator-(Currency other) const;
    Currency operator*(Currency other) const;
    Currency operator/(Currency other) const;
    Currency operator-() const;

    friend constexpr bool operator==(Currency, Currency) noexcept = default;
    friend constexpr auto operator<=>(Currency, Currency) noexcept = default;

private:
    std::int64_t scaled_ = 0;
};

}  // namespace vorn
