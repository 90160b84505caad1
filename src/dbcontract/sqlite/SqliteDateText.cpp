#include "dbcontract/sqlite/SqliteDateText.h"

#include <cmath>
#include <cstdint>

#include "runtime/DateSerial.h"

namespace vorn {
namespace {

constexpr std::int64_t kMillisecondsPerDay = 86'400'000;

// Reads exactly `count` digits at `pos`.
std::optional<int> Digits(std::string_view text, std::size_t pos, std::size_t count) {
    if (pos + count > text.size()) return std::nullopt;
    int value = 0;
    for (std::size_t i = pos; i < pos + count; ++i) {
        if (text[i] < '0' || text[i] > '9') return std::nullopt;
        value = value * 10 + (text[i] - '0');
    }
    return value;
}

// Milliseconds of the fraction after the "." at `pos`, rounded; the digits
// end the text.
std::optional<std::int64_t> Fraction(std::string_view text, std::size_t pos) {
    const std::size_t count = text.size() - pos;
    if (count < 1 || count > 9) return std::nullopt;
    const auto digits = Digits(text, pos, count);
    if (!digits) return std::nullopt;
    return std::llround(*digits * std::pow(10.0, 3.0 - static_cast<double>(count)));
}

// Milliseconds of "HH:MM:SS[.f]" at `pos`.
std::optional<std::int64_t> TimeOfDay(std::string_view text, std::size_t pos) {
    const auto hour = Digits(text, pos, 2);
    const auto minute = Digits(text, pos + 3, 2);
    const auto second = Digits(text, pos + 6, 2);
    if (!hour || !minute || !second || text[pos + 2] != ':' || text[pos + 5] != ':') {
        return std::nullopt;
    }
    if (*hour > 23 || *minute > 59 || *second > 59) return std::nullopt;
    std::int64_t ms = ((*hour * 60LL + *minute) * 60 + *second) * 1000;
    if (text.size() == pos + 8) return ms;
    if (text[pos + 8] != '.') return std::nullopt;
    const auto fraction = Fraction(text, pos + 9);
    if (!fraction) return std::nullopt;
    return ms + *fraction;
}

}  // namespace

std::optional<std::string> SqliteDateText::FromSerial(double serial) {
    // The first day's times lie below its serial, as the time counts
    // forward from midnight: the range is checked on the day.
    if (!(serial > kMinDateSerial - 1.0 && serial < kMaxDateSerial + 1.0)) return std::nullopt;
    const double whole = std::trunc(serial);
    auto day = static_cast<std::int64_t>(whole);
    auto ms = std::llround(std::fabs(serial - whole) * static_cast<double>(kMillisecondsPerDay));
    if (ms >= kMillisecondsPerDay) {
        // Rounded up to midnight: the time counts forward, so the next day.
        ms -= kMillisecondsPerDay;
        ++day;
    }
    if (static_cast<double>(day) > kMaxDateSerial) return std::nullopt;
    const DateParts date = DatePartsFromSerial(static_cast<double>(day));
    std::string text = "0000-00-00 00:00:00";
    const auto put = [&text](std::size_t end, std::int64_t value, int digits) {
        for (int i = 1; i <= digits; ++i, value /= 10)
            text[end - i] = static_cast<char>('0' + value % 10);
    };
    const auto seconds = ms / 1000;
    put(4, date.year, 4);
    put(7, date.month, 2);
    put(10, date.day, 2);
    put(13, seconds / 3600, 2);
    put(16, seconds / 60 % 60, 2);
    put(19, seconds % 60, 2);
    if (ms % 1000 != 0) {
        text += ".000";
        put(23, ms % 1000, 3);
    }
    return text;
}

std::optional<double> SqliteDateText::ToSerial(std::string_view text) {
    const auto year = Digits(text, 0, 4);
    const auto month = Digits(text, 5, 2);
    const auto day = Digits(text, 8, 2);
    if (!year || !month || !day || text[4] != '-' || text[7] != '-') return std::nullopt;
    DateParts parts;
    parts.year = *year;
    parts.month = *month;
    parts.day = *day;
    if (!IsValidDateParts(parts)) return std::nullopt;
    std::int64_t ms = 0;
    if (text.size() != 10) {
        if (text.size() < 19 || (text[10] != ' ' && text[10] != 'T')) return std::nullopt;
        const auto time = TimeOfDay(text, 11);
        if (!time || *time >= kMillisecondsPerDay) return std::nullopt;
        ms = *time;
    }
    const double whole = DateSerialFromParts(parts);
    const double fraction = static_cast<double>(ms) / static_cast<double>(kMillisecondsPerDay);
    return whole >= 0 ? whole + fraction : whole - fraction;
}

bool SqliteDateText::IsStoredForm(std::string_view text) {
    if (text.size() != 19 && text.size() != 23) return false;
    if (text.size() == 23 && !Digits(text, 20, 3)) return false;
    return ToSerial(text).has_value();
}

}  // namespace vorn
