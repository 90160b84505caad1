#include "runtime/Conversions.h"

#include <array>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <limits>

#include "runtime/DateSerial.h"
#include "runtime/Utf8.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

constexpr const char* kSource = "Conversions";

bool IsDigit(char32_t c) { return c >= '0' && c <= '9'; }
bool IsHexDigit(char32_t c) {
    return IsDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}
int HexValue(char32_t c) {
    if (IsDigit(c)) {
        return static_cast<int>(c - '0');
    }
    return static_cast<int>((c | 0x20) - 'a' + 10);
}
// Blanks as the runtime's parsers skip them: ASCII white space, the
// no-break space and the ideographic space.
bool IsBlank(char32_t c) {
    return c == ' ' || (c >= '\t' && c <= '\r') || c == 0xA0 || c == 0x3000;
}
bool IsAsciiLetter(char32_t c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

// ---- Number text -----------------------------------------------------------

// A number read from text: decimal digits with a power of ten, or the value
// of a "&H"/"&O" literal.
struct NumberText {
    bool negative = false;
    bool radix = false;        // "&H" or "&O"
    std::int64_t radixValue = 0;
    std::string digits;        // significant decimal digits, may be empty for 0
    int exponent = 0;          // value = digits * 10^exponent

    std::string Scientific() const {
        return (negative ? "-" : "") + (digits.empty() ? std::string("0") : digits) + "e" +
               std::to_string(exponent);
    }
    double ToDouble() const {
        if (radix) {
            return static_cast<double>(negative ? -radixValue : radixValue);
        }
        return std::strtod(Scientific().c_str(), nullptr);
    }
};

// A "&H"/"&O" literal becomes an Integer bit pattern when it fits 16 bits,
// else a Long bit pattern; nullopt beyond 32 bits.
std::optional<std::int64_t> RadixPattern(std::uint64_t bits) {
    if (bits <= 0xFFFF) {
        return static_cast<std::int16_t>(static_cast<std::uint16_t>(bits));
    }
    if (bits <= 0xFFFFFFFF) {
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(bits));
    }
    return std::nullopt;
}

// The state of reading a number from text, character by character.
class NumberReader {
public:
    explicit NumberReader(std::string_view text) : text_(utf8::ToU32(text)) {}

    std::optional<NumberText> Read() {
        if (!ReadLeading() || !ReadBody() || !ReadTrailing()) {
            return std::nullopt;
        }
        if (pos_ != text_.size() || (parens_ && !closed_) || !sawDigit_) {
            return std::nullopt;
        }
        if (radixBase_ != 0) {
            const std::optional<std::int64_t> value = RadixPattern(radixBits_);
            if (!value) {
                return std::nullopt;
            }
            result_.radix = true;
            result_.radixValue = *value;
        }
        result_.negative = negative_;
        return result_;
    }

private:
    char32_t Peek(std::size_t ahead = 0) const {
        return pos_ + ahead < text_.size() ? text_[pos_ + ahead] : U'\0';
    }

    // Blanks, one "+", one "-", one "$", one "(" in any order, and perhaps
    // the decimal point. A thousands separator may not come before a digit.
    bool ReadLeading() {
        bool plus = false;
        while (pos_ < text_.size()) {
            const char32_t c = Peek();
            if (c == '.') {
                decimal_ = true;
                ++pos_;
                return true;
            }
            if (IsBlank(c)) {
                ++pos_;
            } else if (c == ',') {
                return false;
            } else if (c == '+' && !plus) {
                plus = true;
                leadingPlus_ = true;
                ++pos_;
            } else if (c == '-' && !leadingMinus_) {
                leadingMinus_ = negative_ = true;
                ++pos_;
            } else if (c == '$' && !currency_) {
                currency_ = true;
                ++pos_;
            } else if (c == '(' && !parens_) {
                parens_ = true;
                ++pos_;
            } else {
                break;
            }
        }
        if (!currency_ && Peek() == '&') {
            const char32_t kind = Peek(1) | 0x20;
            if (kind == 'h' || kind == 'o') {
                radixBase_ = kind == 'h' ? 16 : 8;
                pos_ += 2;
            }
        }
        return true;
    }

    bool ReadBody() {
        while (pos_ < text_.size()) {
            const char32_t c = Peek();
            if (radixBase_ != 0) {
                const bool digit = radixBase_ == 16 ? IsHexDigit(c) : (c >= '0' && c <= '7');
                if (!digit) {
                    break;
                }
                radixBits_ = std::min<std::uint64_t>(radixBits_ * radixBase_ + HexValue(c),
                                                     std::uint64_t{1} << 40);
                sawDigit_ = true;
            } else if (IsDigit(c)) {
                AddDigit(c);
            } else if (c == ',' && !decimal_ && !exponentSeen_) {
                // Thousands separators are taken anywhere in the whole part
                // once a digit was seen, without checking the grouping.
            } else if (c == '.' && !decimal_ && !exponentSeen_) {
                decimal_ = true;
            } else if ((c | 0x20) == 'e' || (c | 0x20) == 'd') {
                // "d" is the old double-precision exponent letter.
                if (currency_ || exponentSeen_) {
                    break;
                }
                ++pos_;
                return ReadExponent();
            } else {
                break;
            }
            ++pos_;
        }
        return true;
    }

    void AddDigit(char32_t c) {
        sawDigit_ = true;
        if (result_.digits.empty() && c == '0') {
            result_.exponent -= decimal_ ? 1 : 0;
            return;
        }
        result_.digits.push_back(static_cast<char>(c));
        result_.exponent -= decimal_ ? 1 : 0;
    }

    bool ReadExponent() {
        exponentSeen_ = true;
        bool negativeExponent = false;
        if (Peek() == '+' || Peek() == '-') {
            negativeExponent = Peek() == '-';
            ++pos_;
        }
        if (!IsDigit(Peek())) {
            return false;
        }
        int value = 0;
        while (IsDigit(Peek())) {
            value = std::min(value * 10 + static_cast<int>(Peek() - '0'), 100000);
            ++pos_;
        }
        result_.exponent += negativeExponent ? -value : value;
        return ReadBody();
    }

    // Thousands separators, blanks, a "+" or "-" not given in front, the
    // closing parenthesis, "$".
    bool ReadTrailing() {
        while (pos_ < text_.size()) {
            const char32_t c = Peek();
            if (c == ',' && radixBase_ == 0) {
                ++pos_;
            } else if (IsBlank(c)) {
                ++pos_;
            } else if (c == '+' && !leadingPlus_ && !trailingSign_) {
                trailingSign_ = true;
                ++pos_;
            } else if (c == '-' && !leadingMinus_ && !trailingSign_) {
                trailingSign_ = negative_ = true;
                ++pos_;
            } else if (c == ')' && parens_ && !closed_) {
                closed_ = negative_ = true;
                ++pos_;
            } else if (c == '$' && radixBase_ == 0) {
                ++pos_;
            } else {
                break;
            }
        }
        return true;
    }

    std::u32string text_;
    std::size_t pos_ = 0;
    NumberText result_;
    bool negative_ = false;
    bool leadingPlus_ = false;
    bool leadingMinus_ = false;
    bool trailingSign_ = false;
    bool currency_ = false;
    bool parens_ = false;
    bool closed_ = false;
    bool decimal_ = false;
    bool exponentSeen_ = false;
    bool sawDigit_ = false;
    int radixBase_ = 0;
    std::uint64_t radixBits_ = 0;
};

std::optional<NumberText> ReadNumberText(std::string_view text) {
    return NumberReader(text).Read();
}

// ---- Number to text --------------------------------------------------------

std::string FormatFloating(double value, int significantDigits) {
    if (std::isnan(value)) {
        return "1.#QNAN";
    }
    if (std::isinf(value)) {
        return value < 0 ? "-1.#INF" : "1.#INF";
    }
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.*G", significantDigits, value);
    std::string text(buffer);
    // A negative zero, or a negative value rounded to zero digits, prints "0".
    if (text == "-0") {
        return "0";
    }
    return text;
}

std::string BinaryToText(const Variant::Binary& bytes) {
    // A byte buffer read as text holds UTF-16 code units, low byte first.
    std::u32string code;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        char32_t unit = static_cast<char32_t>(bytes[i] | (bytes[i + 1] << 8));
        if (unit >= 0xD800 && unit <= 0xDBFF && i + 3 < bytes.size()) {
            const char32_t low = static_cast<char32_t>(bytes[i + 2] | (bytes[i + 3] << 8));
            if (low >= 0xDC00 && low <= 0xDFFF) {
                unit = 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
                i += 2;
            }
        }
        code.push_back(unit);
    }
    return utf8::FromU32(code);
}

// ---- Number conversions ----------------------------------------------------

[[noreturn]] void RaiseForKind(const Variant& value) {
    if (value.IsNull()) {
        throw VornError::InvalidUseOfNull(kSource);
    }
    throw VornError::TypeMismatch(kSource);
}

NumberText NumberOfText(const std::string& text) {
    std::optional<NumberText> number = ReadNumberText(text);
    if (!number) {
        throw VornError::TypeMismatch(kSource);
    }
    return *number;
}

// The whole number a Decimal holds (its fraction dropped), when it fits 64 bits.
std::optional<std::int64_t> WholeOf(const Decimal& d) {
    const std::string text = d.Truncate().ToString();
    std::int64_t whole = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), whole);
    if (error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return whole;
}

// A value that converts to an integer of [min, max], rounded half to even.
std::int64_t RoundedInteger(const Variant& value, std::int64_t min, std::int64_t max) {
    std::optional<std::int64_t> result;
    switch (value.Kind()) {
        case VariantKind::Byte: result = value.AsByte(); break;
        case VariantKind::Integer: result = value.AsInteger(); break;
        case VariantKind::Long: result = value.AsLong(); break;
        case VariantKind::Currency:
            result = WholeOf(Decimal::FromCurrency(value.AsCurrency().Scaled()).RoundHalfEven(0));
            break;
        case VariantKind::Decimal: result = WholeOf(value.AsDecimal().RoundHalfEven(0)); break;
        default: {
            const double d = CDbl(value);
            if (d >= static_cast<double>(min) - 0.5 && d < static_cast<double>(max) + 0.5) {
                result = static_cast<std::int64_t>(std::nearbyint(d));
            }
        }
    }
    if (!result || *result < min || *result > max) {
        throw VornError::Overflow(kSource);
    }
    return *result;
}

Decimal DecimalOfSingle(float value) {
    // Seven significant digits, as a Single holds.
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%.6e", static_cast<double>(value));
    const std::optional<Decimal> d = Decimal::Parse(buffer);
    if (!d) {
        throw VornError::Overflow(kSource);
    }
    return *d;
}

Decimal DecimalOfText(const std::string& text) {
    const NumberText number = NumberOfText(text);
    if (number.radix) {
        return Decimal::FromInt64(number.negative ? -number.radixValue : number.radixValue);
    }
    const std::optional<Decimal> d = Decimal::Parse(number.Scientific());
    if (!d) {
        throw VornError::Overflow(kSource);
    }
    return *d;
}

bool EqualsIgnoreCaseAscii(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) {
        return false;
    }
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(a[i])) !=
            std::tolower(static_cast<unsigned char>(b[i]))) {
            return false;
        }
    }
    return true;
}

// ---- Dates -----------------------------------------------------------------

constexpr std::array<const char*, 12> kMonthNames = {
    "January", "February", "March", "April", "May", "June", "July",
    "August", "September", "October", "November", "December"};
constexpr std::array<const char*, 12> kMonthAbbreviations = {
    "Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr std::array<const char*, 14> kDayNames = {
    "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday", "Sunday",
    "Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};

// What a number of a date text is marked with: the separator behind it, a
// month name, AM or PM behind it.
enum DateFlag : unsigned {
    kTimeSeparator = 1,
    kDateSeparator = 2,
    kMonthName = 4,
    kAm = 8,
    kPm = 16,
};

// The numbers of a date text and their marks, as the tokenizer found them.
struct DateFields {
    int count = 0;
    unsigned flags[7] = {};
    unsigned values[7] = {};
    unsigned anyAmPm = 0;

    bool HasAmPm(int i) const { return (flags[i] & (kAm | kPm)) != 0; }
};

int CurrentYear() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    return local.tm_year + 1900;
}

// Case-insensitive prefix match of an ASCII word at `pos`.
bool MatchesWord(const std::u32string& text, std::size_t pos, std::string_view word) {
    if (pos + word.size() > text.size()) {
        return false;
    }
    for (std::size_t i = 0; i < word.size(); ++i) {
        const char32_t c = text[pos + i];
        if (c > 127 || std::tolower(static_cast<int>(c)) != std::tolower(word[i])) {
            return false;
        }
    }
    return true;
}

// Reads a word at `pos`: a month name becomes a number, a day name is
// skipped, AM/PM (or "a"/"p" alone) marks the number before it. Returns the
// length read, 0 when the word is none of these.
std::size_t ReadDateWord(const std::u32string& text, std::size_t pos, DateFields& fields) {
    for (std::size_t m = 0; m < 24; ++m) {
        const std::string_view name = m < 12 ? kMonthNames[m] : kMonthAbbreviations[m - 12];
        if (MatchesWord(text, pos, name)) {
            fields.values[fields.count] = static_cast<unsigned>(m % 12 + 1);
            fields.flags[fields.count] |= kMonthName | kDateSeparator;
            ++fields.count;
            return name.size();
        }
    }
    for (const char* day : kDayNames) {
        if (MatchesWord(text, pos, day)) {
            return std::string_view(day).size();
        }
    }
    const char32_t c = text[pos] | 0x20;
    if ((c == 'a' || c == 'p') && fields.count > 0 && fields.anyAmPm == 0) {
        const unsigned mark = c == 'a' ? kAm : kPm;
        fields.flags[fields.count - 1] |= mark;
        fields.anyAmPm = mark;
        return MatchesWord(text, pos + 1, "m") ? 2 : 1;
    }
    return 0;
}

// Splits a date text into at most six numbers with their marks.
std::optional<DateFields> TokenizeDate(std::string_view input) {
    const std::u32string text = utf8::ToU32(input);
    DateFields fields;
    int dateSeparators = 0;
    std::size_t pos = 0;
    while (pos < text.size()) {
        if (fields.count > 6) {
            return std::nullopt;
        }
        const char32_t c = text[pos];
        const bool last = pos + 1 == text.size();
        if (IsDigit(c)) {
            unsigned value = 0;
            while (pos < text.size() && IsDigit(text[pos])) {
                value = std::min(value * 10 + static_cast<unsigned>(text[pos] - '0'), 100000000U);
                ++pos;
            }
            fields.values[fields.count++] = value;
            continue;
        }
        if (IsAsciiLetter(c)) {
            const std::size_t length = ReadDateWord(text, pos, fields);
            if (length == 0) {
                return std::nullopt;
            }
            pos += length;
            continue;
        }
        if (c == ':' || c == '.') {
            if (fields.count == 0 || last) {
                return std::nullopt;
            }
            fields.flags[fields.count - 1] |= kTimeSeparator;
        } else if (c == '-' || c == '/') {
            if (++dateSeparators > 2 || fields.count == 0 || last) {
                return std::nullopt;
            }
            fields.flags[fields.count - 1] |= kDateSeparator;
        } else if (c == ',') {
            if (last) {
                return std::nullopt;
            }
        } else if (!IsBlank(c)) {
            return std::nullopt;
        }
        ++pos;
    }
    if (fields.count == 0 || fields.count > 6 || (fields.count == 1 && fields.anyAmPm == 0)) {
        return std::nullopt;
    }
    return fields;
}

struct TimeOfDay {
    unsigned hour = 0;
    unsigned minute = 0;
    unsigned second = 0;
};

// No ":" or ".": a lone hour needs AM or PM; two or three date numbers may
// have an hour marked AM or PM before or after them.
std::optional<int> SplitHourOnly(const DateFields& f, TimeOfDay& time, int& offset) {
    const int n = f.count;
    if (n == 1) {
        time = {f.values[0], 0, 0};
        return 0;
    }
    if (n > 4 || (n == 2 && f.anyAmPm != 0)) {
        return std::nullopt;
    }
    if (n == 2 || (n == 3 && f.anyAmPm == 0)) {
        return n;
    }
    if (f.HasAmPm(0)) {
        time = {f.values[0], 0, 0};
        offset = 1;
        return n - 1;
    }
    if (f.HasAmPm(n - 1)) {
        time = {f.values[n - 1], 0, 0};
        return n - 1;
    }
    return std::nullopt;
}

// Which numbers are the time and where the date numbers begin. The time
// numbers are those joined by ":" or "."; the rest are date numbers, before
// or after the time. Returns the count of date numbers.
std::optional<int> SplitTime(const DateFields& f, TimeOfDay& time, int& offset) {
    unsigned pattern = 0;
    for (int i = 0; i < 5; ++i) {
        pattern |= (f.flags[i] & kTimeSeparator) << i;
    }
    const int n = f.count;
    auto amPmIn = [&f](int from, int to) {
        for (int i = from; i <= to; ++i) {
            if (f.HasAmPm(i)) {
                return true;
            }
        }
        return false;
    };
    offset = 0;
    switch (pattern) {
        case 0x1:  // h:m, alone or before a date of two or three numbers
            if ((n > 3 && amPmIn(2, 4)) || (n != 2 && n != 4 && n != 5)) {
                return std::nullopt;
            }
            time = {f.values[0], f.values[1], 0};
            offset = 2;
            return n - 2;
        case 0x3:  // h:m:s, alone or before a date
            if ((n > 4 && amPmIn(3, 5)) || (n != 3 && n != 5 && n != 6)) {
                return std::nullopt;
            }
            time = {f.values[0], f.values[1], f.values[2]};
            offset = 3;
            return n - 3;
        case 0x4:  // two date numbers, h:m
            if (n != 4 || amPmIn(0, 1)) {
                return std::nullopt;
            }
            time = {f.values[2], f.values[3], 0};
            return 2;
        case 0x8:  // three date numbers, h:m
            if (n != 5 || amPmIn(0, 2)) {
                return std::nullopt;
            }
            time = {f.values[3], f.values[4], 0};
            return 3;
        case 0xC:  // two date numbers, h:m:s
            if (n != 5 || amPmIn(0, 1)) {
                return std::nullopt;
            }
            time = {f.values[2], f.values[3], f.values[4]};
            return 2;
        case 0x18:  // three date numbers, h:m:s
            if (n != 6 || amPmIn(0, 2)) {
                return std::nullopt;
            }
            time = {f.values[3], f.values[4], f.values[5]};
            return 3;
        case 0x0:
            return SplitHourOnly(f, time, offset);
        default:
            return std::nullopt;
    }
}

// The orders in which three numbers can make a date.
enum DateOrder : unsigned {
    kMdy = 1,
    kYmd = 2,
    kYdm = 4,
    kDmy = 8,
    kMyd = 16,  // month and year alone, the day being 1
};

struct CalendarDay {
    unsigned day = 0;
    unsigned month = 0;
    unsigned year = 0;
};

bool IsValidMonthDay(unsigned day, unsigned month, unsigned year) {
    if (day == 0 || month == 0 || month > 12) {
        return false;
    }
    const int y = static_cast<int>(std::min(year, 100000U));
    return static_cast<int>(day) <= DaysInMonth(IsLeapYear(y) ? 2000 : 1999, static_cast<int>(month));
}

CalendarDay InOrder(DateOrder order, unsigned v1, unsigned v2, unsigned v3) {
    switch (order) {
        case kMdy: return {v2, v1, v3};
        case kYmd: return {v3, v2, v1};
        case kYdm: return {v2, v3, v1};
        case kDmy: return {v1, v2, v3};
        default: return {v3, v1, v2};
    }
}

// Tries the orders allowed in `orders`: first month/day/year (the en-US
// order), then those that keep the month before the day, then the rest.
std::optional<CalendarDay> TryOrders(unsigned orders, unsigned v1, unsigned v2, unsigned v3) {
    constexpr std::array<DateOrder, 5> kSequence = {kMdy, kYmd, kYdm, kDmy, kMyd};
    for (int attempt = 0; attempt < 3 && orders != 0; ++attempt) {
        const unsigned trying = attempt == 0   ? orders & kMdy
                                : attempt == 1 ? orders & ~(kDmy | kYdm)
                                               : orders;
        for (const DateOrder order : kSequence) {
            if ((trying & order) == 0) {
                continue;
            }
            const CalendarDay day = InOrder(order, v1, v2, v3);
            if (IsValidMonthDay(day.day, day.month, day.year)) {
                return day;
            }
            orders &= ~static_cast<unsigned>(order);
        }
    }
    return std::nullopt;
}

// The calendar day of the date numbers: a month name fixes the month's
// place; two numbers take the current year, or failing that are month and
// year of the first day.
std::optional<CalendarDay> DateOfFields(const DateFields& f, int count, int offset) {
    if (count == 0) {
        return CalendarDay{30, 12, 1899};
    }
    const unsigned v1 = f.values[offset];
    const unsigned v2 = f.values[offset + 1];
    const unsigned v3 = count == 2 ? static_cast<unsigned>(CurrentYear()) : f.values[offset + 2];
    unsigned orders = kMdy | kDmy | (count > 2 ? kYmd | kYdm : 0U);
    if ((f.flags[offset] & kMonthName) != 0) {
        orders = kMdy;
    } else if ((f.flags[offset + 1] & kMonthName) != 0) {
        orders = kDmy | (count > 2 ? kYmd : 0U);
    } else if (count > 2 && (f.flags[offset + 2] & kMonthName) != 0) {
        orders = kYdm;
    }
    std::optional<CalendarDay> day = TryOrders(orders, v1, v2, v3);
    if (!day && count == 2) {
        day = TryOrders(kYmd | kMyd, v1, v2, 1);
    }
    return day;
}

std::optional<double> SerialOfFields(const DateFields& fields) {
    TimeOfDay time;
    int offset = 0;
    const std::optional<int> count = SplitTime(fields, time, offset);
    if (!count) {
        return std::nullopt;
    }
    const std::optional<CalendarDay> day = DateOfFields(fields, *count, offset);
    if (!day || time.hour > 23 || time.minute > 59 || time.second > 59) {
        return std::nullopt;
    }
    // AM/PM only moves hours of the 12-hour clock; "13:00 AM" stays 13:00.
    if (time.hour < 12 && fields.anyAmPm == kPm) {
        time.hour += 12;
    } else if (time.hour == 12 && fields.anyAmPm == kAm) {
        time.hour = 0;
    }
    const unsigned year = day->year < 30 ? 2000 + day->year : day->year < 100 ? 1900 + day->year : day->year;
    DateParts parts;
    parts.year = static_cast<int>(std::min(year, 100000U));
    parts.month = static_cast<int>(day->month);
    parts.day = static_cast<int>(day->day);
    parts.hour = static_cast<int>(time.hour);
    parts.minute = static_cast<int>(time.minute);
    parts.second = static_cast<int>(time.second);
    if (!IsValidDateParts(parts)) {
        return std::nullopt;
    }
    return DateSerialFromParts(parts);
}

// ---- Val -------------------------------------------------------------------

// Val of "&H..." or "&O...": the digits up to the first that does not
// belong, as an Integer or Long bit pattern.
double ValOfRadix(const std::u32string& s) {
    const unsigned base = (s[1] | 0x20) == 'h' ? 16 : 8;
    std::uint64_t bits = 0;
    for (std::size_t i = 2; i < s.size(); ++i) {
        const bool digit = base == 16 ? IsHexDigit(s[i]) : (s[i] >= '0' && s[i] <= '7');
        if (!digit) {
            break;
        }
        bits = std::min<std::uint64_t>(bits * base + HexValue(s[i]), std::uint64_t{1} << 40);
    }
    const std::optional<std::int64_t> value = RadixPattern(bits);
    if (!value) {
        throw VornError::Overflow(kSource);
    }
    return static_cast<double>(*value);
}

// The exponent Val reads after a mantissa at `pos`: "e" or "d", a sign,
// digits. Empty when no digit follows the letter.
std::string ValExponent(const std::u32string& s, std::size_t pos) {
    if (pos >= s.size() || ((s[pos] | 0x20) != 'e' && (s[pos] | 0x20) != 'd')) {
        return {};
    }
    std::size_t e = pos + 1;
    std::string exponent = "e";
    if (e < s.size() && (s[e] == '+' || s[e] == '-')) {
        exponent.push_back(static_cast<char>(s[e++]));
    }
    if (e >= s.size() || !IsDigit(s[e])) {
        return {};
    }
    for (; e < s.size() && IsDigit(s[e]); ++e) {
        exponent.push_back(static_cast<char>(s[e]));
    }
    return exponent;
}

// Val of a decimal number: a sign, digits with one ".", an exponent.
double ValOfDecimal(const std::u32string& s) {
    std::string number;
    std::size_t pos = 0;
    if (pos < s.size() && (s[pos] == '+' || s[pos] == '-')) {
        number.push_back(static_cast<char>(s[pos++]));
    }
    bool point = false;
    bool digits = false;
    for (; pos < s.size() && (IsDigit(s[pos]) || (s[pos] == '.' && !point)); ++pos) {
        digits = digits || IsDigit(s[pos]);
        point = point || s[pos] == '.';
        number.push_back(static_cast<char>(s[pos]));
    }
    if (!digits) {
        return 0.0;
    }
    number += ValExponent(s, pos);
    const double value = std::strtod(number.c_str(), nullptr);
    if (!std::isfinite(value)) {
        throw VornError::Overflow(kSource);
    }
    return value == 0.0 ? 0.0 : value;  // no negative zero
}

// ---- Number functions ------------------------------------------------------

// Applies a rounding of whole numbers to a value, keeping its kind.
template <class DoubleFn, class DecimalFn>
Variant RoundKeepingKind(const Variant& value, DoubleFn onDouble, DecimalFn onDecimal) {
    switch (value.Kind()) {
        case VariantKind::Null: return Variant::Null();
        case VariantKind::Empty: return Variant(std::int16_t{0});
        case VariantKind::Boolean: return Variant(static_cast<std::int16_t>(value.AsBoolean() ? -1 : 0));
        case VariantKind::Byte:
        case VariantKind::Integer:
        case VariantKind::Long: return value;
        case VariantKind::Single: return Variant(static_cast<float>(onDouble(value.AsSingle())));
        case VariantKind::Double: return Variant(onDouble(value.AsDouble()));
        case VariantKind::Date: return Variant::FromDate(onDouble(value.AsDateSerial()));
        case VariantKind::Currency: {
            const Decimal d = onDecimal(Decimal::FromCurrency(value.AsCurrency().Scaled()));
            return Variant(CCur(Variant(d)));
        }
        case VariantKind::Decimal: return Variant(onDecimal(value.AsDecimal()));
        case VariantKind::Text: return Variant(onDouble(CDbl(value)));
        default: throw VornError::TypeMismatch(kSource);
    }
}

std::string ToRadix(std::uint32_t bits, unsigned shift) {
    const unsigned mask = (1U << shift) - 1;
    std::string digits;
    do {
        digits.insert(digits.begin(), "0123456789ABCDEF"[bits & mask]);
        bits >>= shift;
    } while (bits != 0);
    return digits;
}

// The bit pattern Hex and Oct print: 16 bits for Integer and Boolean, 32 for
// the rest, which are first rounded to a Long.
std::optional<std::uint32_t> RadixBits(const Variant& value) {
    switch (value.Kind()) {
        case VariantKind::Null: return std::nullopt;
        case VariantKind::Empty: return 0U;
        case VariantKind::Byte: return value.AsByte();
        case VariantKind::Integer: return static_cast<std::uint16_t>(value.AsInteger());
        case VariantKind::Boolean: return value.AsBoolean() ? 0xFFFFU : 0U;
        default: return static_cast<std::uint32_t>(CLng(value));
    }
}

}  // namespace

// ---- To text ---------------------------------------------------------------

std::string DoubleToString(double value) {
    return FormatFloating(value, 15);
}

std::string SingleToString(float value) {
    return FormatFloating(static_cast<double>(value), 7);
}

std::string DateToString(double serial) {
    if (!(serial >= kMinDateSerial && serial < kMaxDateSerial + 1.0)) {
        throw VornError::InvalidArgument(kSource);
    }
    const DateParts p = DatePartsFromSerial(serial);
    const bool timeOnly = std::trunc(serial) == 0.0;
    const bool dateOnly = p.hour == 0 && p.minute == 0 && p.second == 0 && !timeOnly;
    std::string text;
    if (!timeOnly) {
        text = std::to_string(p.month) + "/" + std::to_string(p.day) + "/" + std::to_string(p.year);
    }
    if (!dateOnly) {
        char time[32];
        const int hour12 = p.hour % 12 == 0 ? 12 : p.hour % 12;
        std::snprintf(time, sizeof time, "%d:%02d:%02d %s", hour12, p.minute, p.second,
                      p.hour < 12 ? "AM" : "PM");
        text += (text.empty() ? "" : " ") + std::string(time);
    }
    return text;
}

std::string CStr(const Variant& value) {
    switch (value.Kind()) {
        case VariantKind::Empty: return std::string();
        case VariantKind::Null: throw VornError::InvalidUseOfNull(kSource);
        case VariantKind::Boolean: return value.AsBoolean() ? "True" : "False";
        case VariantKind::Byte: return std::to_string(value.AsByte());
        case VariantKind::Integer: return std::to_string(value.AsInteger());
        case VariantKind::Long: return std::to_string(value.AsLong());
        case VariantKind::Currency: return value.AsCurrency().ToString();
        case VariantKind::Single: return SingleToString(value.AsSingle());
        case VariantKind::Double: return DoubleToString(value.AsDouble());
        case VariantKind::Date: return DateToString(value.AsDateSerial());
        case VariantKind::Text: return value.AsText();
        case VariantKind::Binary: return BinaryToText(value.AsBinary());
        case VariantKind::Decimal: return value.AsDecimal().ToString();
        case VariantKind::Array: break;
    }
    throw VornError::TypeMismatch(kSource);
}

Variant Str(const Variant& value) {
    if (value.IsNull()) {
        return Variant::Null();
    }
    if (value.IsBoolean() || value.IsDate()) {
        return Variant(CStr(value));
    }
    const Variant number = value.IsText() ? Variant(CDbl(value))
                           : value.IsEmpty() ? Variant(std::int16_t{0})
                                             : value;
    std::string text = CStr(number);
    const bool negative = !text.empty() && text[0] == '-';
    const std::size_t digitsAt = negative ? 1 : 0;
    // Str leaves out the zero before the decimal point: " .5", "-.25".
    if (text.compare(digitsAt, 2, "0.") == 0) {
        text.erase(digitsAt, 1);
    }
    return Variant(negative ? text : " " + text);
}

// ---- Tests -----------------------------------------------------------------

bool IsNumeric(const Variant& value) {
    switch (value.Kind()) {
        case VariantKind::Empty:
        case VariantKind::Boolean:
        case VariantKind::Byte:
        case VariantKind::Integer:
        case VariantKind::Long:
        case VariantKind::Currency:
        case VariantKind::Single:
        case VariantKind::Double:
        case VariantKind::Decimal:
            return true;
        case VariantKind::Text:
            return ParseNumber(value.AsText()).has_value();
        default:
            return false;
    }
}

bool IsDate(const Variant& value) {
    if (value.IsDate()) {
        return true;
    }
    return value.IsText() && ParseDate(value.AsText()).has_value();
}

// ---- Readers ---------------------------------------------------------------

std::optional<double> ParseNumber(std::string_view text) {
    const std::optional<NumberText> number = ReadNumberText(text);
    if (!number) {
        return std::nullopt;
    }
    const double value = number->ToDouble();
    if (!std::isfinite(value)) {
        return std::nullopt;
    }
    return value;
}

std::optional<double> ParseDate(std::string_view text) {
    const std::optional<DateFields> fields = TokenizeDate(text);
    if (!fields) {
        return std::nullopt;
    }
    return SerialOfFields(*fields);
}

double Val(std::string_view text) {
    std::u32string s;
    for (const char32_t c : utf8::ToU32(text)) {
        // Blanks, tabs and line feeds are dropped wherever they stand.
        if (c != ' ' && c != '\t' && c != '\n') {
            s.push_back(c);
        }
    }
    if (s.size() >= 2 && s[0] == '&' && ((s[1] | 0x20) == 'h' || (s[1] | 0x20) == 'o')) {
        return ValOfRadix(s);
    }
    return ValOfDecimal(s);
}

// ---- To numbers ------------------------------------------------------------

double CDbl(const Variant& value) {
    switch (value.Kind()) {
        case VariantKind::Text: {
            const NumberText number = NumberOfText(value.AsText());
            const double d = number.ToDouble();
            if (!std::isfinite(d)) {
                throw VornError::Overflow(kSource);
            }
            return d;
        }
        case VariantKind::Null:
        case VariantKind::Array:
        case VariantKind::Binary:
            RaiseForKind(value);
        default:
            return value.NumberValue();
    }
}

float CSng(const Variant& value) {
    const double d = CDbl(value);
    if (std::fabs(d) > static_cast<double>(std::numeric_limits<float>::max())) {
        throw VornError::Overflow(kSource);
    }
    return static_cast<float>(d);
}

std::int32_t CLng(const Variant& value) {
    return static_cast<std::int32_t>(RoundedInteger(value, std::numeric_limits<std::int32_t>::min(),
                                                    std::numeric_limits<std::int32_t>::max()));
}

std::int16_t CInt(const Variant& value) {
    return static_cast<std::int16_t>(RoundedInteger(value, -32768, 32767));
}

std::uint8_t CByte(const Variant& value) {
    return static_cast<std::uint8_t>(RoundedInteger(value, 0, 255));
}

Currency CCur(const Variant& value) {
    switch (value.Kind()) {
        case VariantKind::Currency: return value.AsCurrency();
        case VariantKind::Byte:
        case VariantKind::Integer:
        case VariantKind::Long: return Currency::FromInteger(CLng(value));
        case VariantKind::Decimal:
        case VariantKind::Text: {
            // Exact: text and decimals do not pass through a double.
            const Decimal scaled = CDec(value).RoundHalfEven(4) * Decimal::FromInt64(Currency::kScale);
            const std::optional<std::int64_t> whole = WholeOf(scaled);
            if (!whole) {
                throw VornError::Overflow(kSource);
            }
            return Currency::FromScaled(*whole);
        }
        default: return Currency::FromDouble(CDbl(value));
    }
}

Decimal CDec(const Variant& value) {
    switch (value.Kind()) {
        case VariantKind::Decimal: return value.AsDecimal();
        case VariantKind::Currency: return Decimal::FromCurrency(value.AsCurrency().Scaled());
        case VariantKind::Byte:
        case VariantKind::Integer:
        case VariantKind::Long: return Decimal::FromInt64(CLng(value));
        case VariantKind::Single: return DecimalOfSingle(value.AsSingle());
        case VariantKind::Text: return DecimalOfText(value.AsText());
        default: return Decimal::FromDouble(CDbl(value));
    }
}

bool CBool(const Variant& value) {
    switch (value.Kind()) {
        case VariantKind::Boolean: return value.AsBoolean();
        case VariantKind::Text: {
            const std::string& text = value.AsText();
            if (EqualsIgnoreCaseAscii(text, "True") || EqualsIgnoreCaseAscii(text, "#TRUE#")) {
                return true;
            }
            if (EqualsIgnoreCaseAscii(text, "False") || EqualsIgnoreCaseAscii(text, "#FALSE#")) {
                return false;
            }
            return CDbl(value) != 0.0;
        }
        case VariantKind::Decimal: return !value.AsDecimal().IsZero();
        case VariantKind::Currency: return value.AsCurrency().Scaled() != 0;
        default: return CDbl(value) != 0.0;
    }
}

double CDate(const Variant& value) {
    if (value.IsDate()) {
        return value.AsDateSerial();
    }
    if (value.IsText()) {
        const std::optional<double> serial = ParseDate(value.AsText());
        if (!serial) {
            throw VornError::TypeMismatch(kSource);
        }
        return *serial;
    }
    const double d = CDbl(value);
    if (std::ceil(d) < kMinDateSerial || std::floor(d) > std::floor(kMaxDateSerial)) {
        throw VornError::Overflow(kSource);
    }
    return d;
}

Variant CVDate(const Variant& value) {
    if (value.IsNull()) {
        return Variant::Null();
    }
    return Variant::FromDate(CDate(value));
}

// ---- Number functions ------------------------------------------------------

Variant Int(const Variant& value) {
    return RoundKeepingKind(value, [](double d) { return std::floor(d); },
                            [](const Decimal& d) { return d.Floor(); });
}

Variant Fix(const Variant& value) {
    return RoundKeepingKind(value, [](double d) { return std::trunc(d); },
                            [](const Decimal& d) { return d.Truncate(); });
}

Variant Round(const Variant& value, int digits) {
    if (digits < 0) {
        throw VornError::InvalidArgument(kSource);
    }
    const double scale = std::pow(10.0, digits);
    return RoundKeepingKind(
        value,
        [scale](double d) {
            const double scaled = d * scale;
            // Beyond 2^52 a double has no fraction left to round.
            if (!std::isfinite(scaled) || std::fabs(scaled) >= 4503599627370496.0) {
                return d;
            }
            return std::nearbyint(scaled) / scale;
        },
        [digits](const Decimal& d) { return d.RoundHalfEven(digits); });
}

Variant Abs(const Variant& value) {
    switch (value.Kind()) {
        case VariantKind::Null: return Variant::Null();
        case VariantKind::Byte: return value;
        case VariantKind::Single: return Variant(std::fabs(value.AsSingle()));
        case VariantKind::Double:
        case VariantKind::Date: return Variant(std::fabs(value.NumberValue()));
        case VariantKind::Text: return Variant(std::fabs(CDbl(value)));
        case VariantKind::Decimal:
            return Variant(value.AsDecimal().IsNegative() ? -value.AsDecimal() : value.AsDecimal());
        case VariantKind::Array:
        case VariantKind::Binary: throw VornError::TypeMismatch(kSource);
        default: {
            // Integer kinds, Boolean, Empty and Currency: negation widens an
            // Integer or Long that has no positive counterpart.
            const Variant zero(std::int16_t{0});
            const std::optional<int> order = Compare(value, zero);
            return order.value_or(0) < 0 ? -value : value + zero;
        }
    }
}

Variant Sgn(const Variant& value) {
    if (value.IsNull()) {
        throw VornError::InvalidUseOfNull(kSource);
    }
    const Variant number = value.IsText() ? Variant(CDbl(value)) : value;
    if (number.IsArray() || number.IsBinary()) {
        throw VornError::TypeMismatch(kSource);
    }
    const std::optional<int> order = Compare(number, Variant(std::int16_t{0}));
    return Variant(static_cast<std::int16_t>(order.value_or(0)));
}

Variant Hex(const Variant& value) {
    const std::optional<std::uint32_t> bits = RadixBits(value);
    return bits ? Variant(ToRadix(*bits, 4)) : Variant::Null();
}

Variant Oct(const Variant& value) {
    const std::optional<std::uint32_t> bits = RadixBits(value);
    return bits ? Variant(ToRadix(*bits, 3)) : Variant::Null();
}

std::string Hex(std::int32_t value) {
    return ToRadix(static_cast<std::uint32_t>(value), 4);
}

std::string Oct(std::int32_t value) {
    return ToRadix(static_cast<std::uint32_t>(value), 3);
}

// ---- Characters ------------------------------------------------------------

std::string Chr(std::int64_t code) {
    if (code < 0 || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) {
        throw VornError::InvalidArgument(kSource);
    }
    // 0-255 are the Latin-1 characters, which share their numbers with Unicode.
    return utf8::FromCodePoint(static_cast<char32_t>(code));
}

std::int32_t Asc(std::string_view text) {
    if (text.empty()) {
        throw VornError::InvalidArgument(kSource);
    }
    std::size_t offset = 0;
    return static_cast<std::int32_t>(utf8::CodePointAt(text, offset));
}

std::string Space(std::int64_t count) {
    if (count < 0) {
        throw VornError::InvalidArgument(kSource);
    }
    return std::string(static_cast<std::size_t>(count), ' ');
}

std::string String(std::int64_t count, std::string_view character) {
    if (count < 0 || character.empty()) {
        throw VornError::InvalidArgument(kSource);
    }
    const std::string first = utf8::Left(character, 1);
    std::string text;
    text.reserve(first.size() * static_cast<std::size_t>(count));
    for (std::int64_t i = 0; i < count; ++i) {
        text += first;
    }
    return text;
}

std::string String(std::int64_t count, std::int64_t code) {
    if (code < 0) {
        throw VornError::InvalidArgument(kSource);
    }
    // A code above 255 is taken modulo 256, as the runtime did.
    return String(count, Chr(code % 256));
}

// ---- Split and Join --------------------------------------------------------

VArray Split(std::string_view text, std::string_view delimiter, std::int32_t limit,
             bool textCompare) {
    std::vector<Variant> items;
    if (text.empty() || limit == 0) {
        return VArray::FromItems(std::move(items));
    }
    std::size_t start = 0;
    while (limit < 0 || static_cast<std::int32_t>(items.size()) < limit - 1) {
        std::size_t found = std::string_view::npos;
        if (!delimiter.empty()) {
            if (textCompare) {
                const std::int64_t startChar = utf8::Length(text.substr(0, start)) + 1;
                const std::int64_t at = utf8::InStr(startChar, text, delimiter, true);
                found = at == 0 ? std::string_view::npos : utf8::ByteOffset(text, at - 1);
            } else {
                found = text.find(delimiter, start);
            }
        }
        if (found == std::string_view::npos) {
            break;
        }
        items.emplace_back(std::string(text.substr(start, found - start)));
        const std::size_t matched = textCompare
            ? utf8::ByteOffset(text.substr(found), utf8::Length(delimiter))
            : delimiter.size();
        start = found + matched;
    }
    items.emplace_back(std::string(text.substr(start)));
    return VArray::FromItems(std::move(items));
}

std::string Join(const VArray& items, std::string_view delimiter) {
    if (items.Dimensions() > 1) {
        throw VornError::InvalidArgument(kSource);
    }
    std::string text;
    bool first = true;
    for (const Variant& item : items.Items()) {
        if (!first) {
            text += delimiter;
        }
        text += CStr(item);
        first = false;
    }
    return text;
}

}  // namespace vorn
