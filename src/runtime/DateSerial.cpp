#include "runtime/DateSerial.h"

#include <cassert>
#include <cmath>

namespace vorn {
namespace {

// Days from the civil epoch 1970-01-01, proleptic Gregorian (H. Hinnant's
// algorithm), and back. Day 0 of a date serial is 1899-12-30, which is
// 25569 days before 1970-01-01.
constexpr std::int64_t kSerialOf1970 = 25569;

std::int64_t DaysFromCivil(std::int64_t y, unsigned m, unsigned d) {
    y -= m <= 2;
    const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
    const unsigned yoe = static_cast<unsigned>(y - era * 400);
    const unsigned doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + static_cast<std::int64_t>(doe) - 719468;
}

void CivilFromDays(std::int64_t z, int& year, int& month, int& day) {
    z += 719468;
    const std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
    const unsigned doe = static_cast<unsigned>(z - era * 146097);
    const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const unsigned mp = (5 * doy + 2) / 153;
    day = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
    month = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
    year = static_cast<int>(static_cast<std::int64_t>(yoe) + era * 400 + (month <= 2));
}

}  // namespace

bool IsLeapYear(int year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

int DaysInMonth(int year, int month) {
    static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    assert(month >= 1 && month <= 12);
    return month == 2 && IsLeapYear(year) ? 29 : kDays[month - 1];
}

bool IsValidDateParts(const DateParts& p) {
    if (p.year < 100 || p.year > 9999 || p.month < 1 || p.month > 12) return false;
    if (p.day < 1 || p.day > DaysInMonth(p.year, p.month)) return false;
    return p.hour >= 0 && p.hour <= 23 && p.minute >= 0 && p.minute <= 59 && p.second >= 0 &&
           p.second <= 59;
}

double DateSerial(int year, int month, int day) {
    // Month and day carry, as the runtime's DateSerial lets them.
    std::int64_t y = year;
    std::int64_t m0 = static_cast<std::int64_t>(month) - 1;
    y += m0 >= 0 ? m0 / 12 : (m0 - 11) / 12;
    m0 -= (m0 >= 0 ? m0 / 12 : (m0 - 11) / 12) * 12;
    const std::int64_t first = DaysFromCivil(y, static_cast<unsigned>(m0 + 1), 1);
    return static_cast<double>(first + kSerialOf1970 + day - 1);
}

double TimeSerial(int hour, int minute, int second) {
    return (static_cast<double>(hour) * 3600.0 + minute * 60.0 + second) / 86400.0;
}

double DateSerialFromParts(const DateParts& p) {
    assert(IsValidDateParts(p));
    const double day = DateSerial(p.year, p.month, p.day);
    const double time = TimeSerial(p.hour, p.minute, p.second);
    // Before day 0 the time still counts forward from midnight, so it is
    // taken away from the (negative) day number.
    return day < 0 ? day - time : day + time;
}

DateParts DatePartsFromSerial(double serial) {
    double day = std::trunc(serial);
    double fraction = std::fabs(serial - day);
    auto seconds = static_cast<std::int64_t>(std::floor(fraction * 86400.0 + 0.5));
    if (seconds >= 86400) {
        // Rounding reached the next midnight: the next calendar day, which
        // is one more on either side of day 0.
        seconds -= 86400;
        day += 1;
    }
    DateParts p;
    CivilFromDays(static_cast<std::int64_t>(day) - kSerialOf1970, p.year, p.month, p.day);
    p.hour = static_cast<int>(seconds / 3600);
    p.minute = static_cast<int>(seconds / 60 % 60);
    p.second = static_cast<int>(seconds % 60);
    return p;
}

int WeekdayOfSerial(double serial) {
    // Day 0, 1899-12-30, was a Saturday (7).
    const auto day = static_cast<std::int64_t>(std::trunc(serial));
    const std::int64_t r = ((day % 7) + 7 + 6) % 7;
    return static_cast<int>(r) + 1;
}

int DayOfYearOfSerial(double serial) {
    const DateParts p = DatePartsFromSerial(serial);
    return static_cast<int>(DateSerial(p.year, p.month, p.day) - DateSerial(p.year, 1, 1)) + 1;
}

}  // namespace vorn
