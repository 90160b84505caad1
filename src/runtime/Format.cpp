#include "runtime/Format.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "runtime/Conversions.h"
#include "runtime/DateSerial.h"
#include "runtime/Utf8.h"
#include "runtime/Variant.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

constexpr const char* kSource = "Format";
constexpr auto npos = std::string_view::npos;

// Significant digits the runtime shows of a Double and of a Single; further
// digits of the integer part come out as zeros.
constexpr int kDoubleDigits = 15;
constexpr int kSingleDigits = 7;

// ---- Reading a format -------------------------------------------------------

char LowerAscii(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

// True when `word` (lower case) stands at `at`, in any case.
bool MatchesAt(std::string_view text, std::size_t at, std::string_view word) {
    if (text.size() - at < word.size()) {
        return false;
    }
    for (std::size_t k = 0; k < word.size(); ++k) {
        if (LowerAscii(text[at + k]) != word[k]) {
            return false;
        }
    }
    return true;
}

// Bytes of the UTF-8 character that starts at `at`.
std::size_t CharBytes(std::string_view text, std::size_t at) {
    const auto lead = static_cast<unsigned char>(text[at]);
    const std::size_t bytes = lead < 0xC0 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    return std::min(bytes, text.size() - at);
}

// A literal at `at` ("quoted text" or "\x"): appends its text to `out`, moves
// `at` past it and returns true. An unclosed quote runs to the end.
bool TakeLiteral(std::string_view text, std::size_t& at, std::string& out) {
    if (text[at] == '"') {
        const std::size_t close = text.find('"', at + 1);
        const std::size_t end = close == npos ? text.size() : close;
        out.append(text.substr(at + 1, end - at - 1));
        at = close == npos ? text.size() : close + 1;
        return true;
    }
    if (text[at] == '\\') {
        ++at;
        if (at < text.size()) {
            const std::size_t bytes = CharBytes(text, at);
            out.append(text.substr(at, bytes));
            at += bytes;
        }
        return true;
    }
    return false;
}

// The sections of a format, split at ";" outside literals.
std::vector<std::string_view> SplitSections(std::string_view format) {
    std::vector<std::string_view> sections;
    std::size_t start = 0;
    std::size_t at = 0;
    std::string ignored;
    while (at < format.size()) {
        if (TakeLiteral(format, at, ignored)) {
            continue;
        }
        if (format[at] == ';') {
            sections.push_back(format.substr(start, at - start));
            start = at + 1;
        }
        ++at;
    }
    sections.push_back(format.substr(start));
    return sections;
}

enum class SpecKind { GeneralNumber, Words, Number, Date, Text };

// A format resolved: its kind and the pattern it stands for.
struct Spec {
    SpecKind kind;
    std::string_view pattern;
};

struct NamedFormat {
    std::string_view name;
    SpecKind kind;
    std::string_view pattern;
};

// The named formats in en-US. "Words" patterns hold the non-zero and the
// zero word.
constexpr std::array<NamedFormat, 16> kNamedFormats{{
    {"general number", SpecKind::GeneralNumber, ""},
    {"currency", SpecKind::Number, "$#,##0.00;($#,##0.00)"},
    {"fixed", SpecKind::Number, "0.00"},
    {"standard", SpecKind::Number, "#,##0.00"},
    {"percent", SpecKind::Number, "0.00%"},
    {"scientific", SpecKind::Number, "0.00E+00"},
    {"yes/no", SpecKind::Words, "Yes;No"},
    {"true/false", SpecKind::Words, "True;False"},
    {"on/off", SpecKind::Words, "On;Off"},
    {"general date", SpecKind::Date, "c"},
    {"long date", SpecKind::Date, "dddddd"},
    {"medium date", SpecKind::Date, "dd-mmm-yy"},
    {"short date", SpecKind::Date, "ddddd"},
    {"long time", SpecKind::Date, "ttttt"},
    {"medium time", SpecKind::Date, "hh:nn AM/PM"},
    {"short time", SpecKind::Date, "hh:nn"},
}};

// Whether a pattern is a text, date or number format, by the codes it holds
// outside literals.
SpecKind Classify(std::string_view pattern) {
    bool date = false;
    std::size_t at = 0;
    std::string ignored;
    while (at < pattern.size()) {
        if (TakeLiteral(pattern, at, ignored)) {
            continue;
        }
        switch (LowerAscii(pattern[at])) {
            case '@':
            case '&':
            case '<':
            case '>':
            case '!':
                return SpecKind::Text;
            case 'c':
            case 'd':
            case 'w':
            case 'm':
            case 'q':
            case 'y':
            case 'h':
            case 'n':
            case 's':
                date = true;
                break;
            case 't':
                date = date || MatchesAt(pattern, at, "ttttt");
                break;
            case 'a':
                date = date || MatchesAt(pattern, at, "am/pm") || MatchesAt(pattern, at, "a/p") ||
                       MatchesAt(pattern, at, "ampm");
                break;
            default:
                break;
        }
        ++at;
    }
    return date ? SpecKind::Date : SpecKind::Number;
}

Spec Resolve(std::string_view format) {
    if (format.size() <= 14) {
        for (const NamedFormat& named : kNamedFormats) {
            if (named.name.size() == format.size() && MatchesAt(format, 0, named.name)) {
                return {named.kind, named.pattern};
            }
        }
    }
    return {Classify(format), format};
}

// ---- Numbers as decimal digits ----------------------------------------------

// A number as its decimal digits: magnitude = 0.digits x 10^pointPos.
struct DecimalNumber {
    bool negative = false;
    std::string digits;      // no leading or trailing zeros; empty for zero
    int pointPos = 0;        // how many digits stand before the point
    int maxSignificant = 0;  // digits shown at most (the rest as zeros); 0: all

    bool IsZero() const noexcept { return digits.empty(); }
};

void StripZeros(DecimalNumber& n) {
    const std::size_t lead = n.digits.find_first_not_of('0');
    if (lead == std::string::npos) {
        n.digits.clear();
        n.pointPos = 0;
        return;
    }
    n.digits.erase(0, lead);
    n.pointPos -= static_cast<int>(lead);
    n.digits.erase(n.digits.find_last_not_of('0') + 1);
}

// Reads "-123.450" (sign, digits, point); other characters are skipped.
DecimalNumber FromPlainText(std::string_view text) {
    DecimalNumber n;
    bool afterPoint = false;
    for (const char c : text) {
        if (c == '-') {
            n.negative = true;
        } else if (c == '.') {
            afterPoint = true;
        } else if (c >= '0' && c <= '9') {
            n.digits += c;
            n.pointPos += afterPoint ? 0 : 1;
        }
    }
    StripZeros(n);
    n.negative = n.negative && !n.IsZero();
    return n;
}

// The exact value of a double. Its binary fraction has as many decimal
// places as binary places, so fixed notation with that many is exact.
DecimalNumber FromDouble(double value, int maxSignificant) {
    if (!std::isfinite(value)) {
        throw VornError::Overflow(kSource);
    }
    const double magnitude = std::fabs(value);
    int binaryExponent = 0;
    const double fraction = std::frexp(magnitude, &binaryExponent);
    auto mantissa = static_cast<std::uint64_t>(std::ldexp(fraction, 53));
    int lowestBit = binaryExponent - 53;
    while (mantissa != 0 && (mantissa & 1U) == 0) {
        mantissa >>= 1U;
        ++lowestBit;
    }
    std::array<char, 1600> buffer{};
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), magnitude,
                                      std::chars_format::fixed, std::max(0, -lowestBit));
    DecimalNumber n = FromPlainText(std::string_view(buffer.data(), result.ptr - buffer.data()));
    n.negative = value < 0 && !n.IsZero();
    n.maxSignificant = maxSignificant;
    return n;
}

// Keeps the first `keep` digits, rounding half away from zero.
void RoundAt(DecimalNumber& n, int keep) {
    if (n.IsZero() || keep >= static_cast<int>(n.digits.size())) {
        return;
    }
    if (keep < 0) {
        n.digits.clear();
        n.pointPos = 0;
        return;
    }
    const bool up = n.digits[static_cast<std::size_t>(keep)] >= '5';
    n.digits.resize(static_cast<std::size_t>(keep));
    if (up) {
        int at = keep - 1;
        while (at >= 0 && n.digits[static_cast<std::size_t>(at)] == '9') {
            n.digits[static_cast<std::size_t>(at--)] = '0';
        }
        if (at < 0) {
            n.digits.insert(0, 1, '1');
            ++n.pointPos;
        } else {
            ++n.digits[static_cast<std::size_t>(at)];
        }
    }
    StripZeros(n);
}

// Rounds to `places` decimals, half away from zero. A number with a
// significance limit is first rounded to that many digits, the digits it
// reads as: 2.675, held as 2.67499999999999982..., has the 15 digits
// 2.67500000000000 and so gives 2.68 at two places.
void RoundTo(DecimalNumber& n, int places) {
    if (n.maxSignificant > 0) {
        RoundAt(n, n.maxSignificant);
    }
    RoundAt(n, n.pointPos + places);
}

// The digit at `place`: 0 units, 1 tens, -1 tenths.
char DigitAt(const DecimalNumber& n, int place) {
    const int index = n.pointPos - 1 - place;
    return (index >= 0 && index < static_cast<int>(n.digits.size()))
               ? n.digits[static_cast<std::size_t>(index)]
               : '0';
}

// Digits of the integer part; "" below 1.
std::string IntegerDigits(const DecimalNumber& n) {
    std::string out;
    for (int place = n.pointPos - 1; place >= 0; --place) {
        out += DigitAt(n, place);
    }
    return out;
}

// "-123.45", every digit held.
std::string PlainText(const DecimalNumber& n) {
    std::string out = n.negative ? "-" : "";
    const std::string whole = IntegerDigits(n);
    out += whole.empty() ? "0" : whole;
    const int places = static_cast<int>(n.digits.size()) - n.pointPos;
    if (places > 0) {
        out += '.';
        for (int place = -1; place >= -places; --place) {
            out += DigitAt(n, place);
        }
    }
    return out;
}

// A value under a number format: its digits, its double for date formats,
// and where it came from for its plain text form.
struct NumberValue {
    enum class Source { Double, Single, Exact };
    DecimalNumber number;
    double approx = 0.0;
    Source source = Source::Double;
};

NumberValue DoubleValue(double value) {
    return {FromDouble(value, kDoubleDigits), value, NumberValue::Source::Double};
}

NumberValue SingleValue(float value) {
    return {FromDouble(value, kSingleDigits), value, NumberValue::Source::Single};
}

NumberValue ExactValue(std::string_view text) {
    NumberValue v{FromPlainText(text), 0.0, NumberValue::Source::Exact};
    std::from_chars(text.data(), text.data() + text.size(), v.approx);
    return v;
}

// The number as CStr writes it.
std::string GeneralText(const NumberValue& v) {
    switch (v.source) {
        case NumberValue::Source::Double:
            return DoubleToString(v.approx);
        case NumberValue::Source::Single:
            return SingleToString(static_cast<float>(v.approx));
        case NumberValue::Source::Exact:
            break;
    }
    return PlainText(v.number);
}

// ---- Number patterns --------------------------------------------------------

enum class NumberPart { Literal, Digit, Point, Exponent };
enum class Region { Integer, Fraction, Exponent };

struct NumberToken {
    NumberPart part;
    Region region;
    bool zero = false;  // "0" rather than "#"
    std::string text;   // literal text; "E" or "e" for the exponent
};

// One section of a number format.
struct NumberPattern {
    std::vector<NumberToken> tokens;
    int integerDigits = 0;
    int fractionDigits = 0;
    int lastFractionZero = -1;  // index of the last "0" after the point
    int exponentZeros = 0;
    int thousandsScale = 0;  // commas before the point: each divides by 1000
    int percents = 0;
    bool grouping = false;
    bool scientific = false;
    bool exponentPlus = false;
};

// Handles one placeholder, "0" or "#", of a number section.
void AddDigit(NumberPattern& p, Region region, bool zero, int& pendingCommas) {
    if (region == Region::Integer) {
        // A comma between placeholders groups thousands.
        p.grouping = p.grouping || (pendingCommas > 0 && p.integerDigits > 0);
        pendingCommas = 0;
        ++p.integerDigits;
    } else if (region == Region::Fraction) {
        p.lastFractionZero = zero ? p.fractionDigits : p.lastFractionZero;
        ++p.fractionDigits;
    } else {
        p.exponentZeros += zero ? 1 : 0;
    }
    p.tokens.push_back({NumberPart::Digit, region, zero, {}});
}

NumberPattern ParseNumberPattern(std::string_view section) {
    NumberPattern p;
    Region region = Region::Integer;
    int pendingCommas = 0;
    // Commas with no placeholder after them before the point (or the end)
    // scale the number down by 1000 each.
    const auto closeInteger = [&] {
        p.thousandsScale += region == Region::Integer ? pendingCommas : 0;
        pendingCommas = 0;
    };
    std::size_t at = 0;
    while (at < section.size()) {
        std::string literal;
        if (TakeLiteral(section, at, literal)) {
            p.tokens.push_back({NumberPart::Literal, region, false, std::move(literal)});
            continue;
        }
        const char c = section[at];
        const bool exponentSign =
            at + 1 < section.size() && (section[at + 1] == '+' || section[at + 1] == '-');
        if (c == '0' || c == '#') {
            AddDigit(p, region, c == '0', pendingCommas);
        } else if (c == '.' && region == Region::Integer) {
            closeInteger();
            region = Region::Fraction;
            p.tokens.push_back({NumberPart::Point, region, false, "."});
        } else if (c == ',') {
            pendingCommas += region == Region::Integer ? 1 : 0;
        } else if ((c == 'E' || c == 'e') && exponentSign && region != Region::Exponent) {
            closeInteger();
            region = Region::Exponent;
            p.scientific = true;
            p.exponentPlus = section[at + 1] == '+';
            p.tokens.push_back({NumberPart::Exponent, region, false, std::string(1, c)});
            ++at;
        } else {
            const std::size_t bytes = CharBytes(section, at);
            p.percents += c == '%' ? 1 : 0;
            p.tokens.push_back(
                {NumberPart::Literal, region, false, std::string(section.substr(at, bytes))});
            at += bytes - 1;
        }
        ++at;
    }
    closeInteger();
    return p;
}

// Moves the point of a scientific mantissa so that it has as many integer
// digits as the pattern, rounds it, and returns the exponent.
int ToScientific(DecimalNumber& n, const NumberPattern& p) {
    if (n.IsZero()) {
        return 0;
    }
    int exponent = n.pointPos - p.integerDigits;
    DecimalNumber mantissa = n;
    mantissa.pointPos -= exponent;
    RoundTo(mantissa, p.fractionDigits);
    if (mantissa.pointPos > p.integerDigits) {
        // Rounding carried into a new digit (9.99 to 10.0): one more power.
        ++exponent;
        mantissa = n;
        mantissa.pointPos -= exponent;
        RoundTo(mantissa, p.fractionDigits);
    }
    n = mantissa;
    return exponent;
}

// Integer digits per placeholder, filled from the right; the leftmost
// placeholder also takes the digits that have no placeholder of their own.
std::vector<std::string> FillIntegerPlaceholders(const NumberPattern& p,
                                                 const std::string& digits) {
    std::vector<bool> zeros;
    for (const NumberToken& t : p.tokens) {
        if (t.part == NumberPart::Digit && t.region == Region::Integer) {
            zeros.push_back(t.zero);
        }
    }
    std::vector<std::string> filled(zeros.size());
    auto next = static_cast<std::ptrdiff_t>(digits.size()) - 1;
    for (auto k = static_cast<std::ptrdiff_t>(zeros.size()) - 1; k >= 0; --k) {
        const auto slot = static_cast<std::size_t>(k);
        if (next >= 0) {
            filled[slot] = std::string(1, digits[static_cast<std::size_t>(next--)]);
        } else if (zeros[slot]) {
            filled[slot] = "0";
        }
    }
    if (next >= 0 && !filled.empty()) {
        filled[0].insert(0, digits.substr(0, static_cast<std::size_t>(next + 1)));
    }
    return filled;
}

// Fraction digits to show: all up to the last "0" placeholder, then as long
// as they are not trailing zeros.
std::string FractionDigits(const NumberPattern& p, const DecimalNumber& n) {
    std::string out;
    for (int k = 1; k <= p.fractionDigits; ++k) {
        out += DigitAt(n, -k);
    }
    while (static_cast<int>(out.size()) > p.lastFractionZero + 1 && out.back() == '0') {
        out.pop_back();
    }
    return out;
}

std::string ExponentDigits(const NumberPattern& p, int exponent) {
    std::string digits = std::to_string(std::abs(exponent));
    if (static_cast<int>(digits.size()) < p.exponentZeros) {
        digits.insert(0, static_cast<std::size_t>(p.exponentZeros) - digits.size(), '0');
    }
    return digits;
}

// The magnitude of `n` under one section (the sign is the caller's).
std::string RenderNumber(const NumberPattern& p, DecimalNumber n) {
    if (!n.IsZero()) {
        n.pointPos += 2 * p.percents - 3 * p.thousandsScale;
    }
    int exponent = 0;
    if (p.scientific) {
        exponent = ToScientific(n, p);
    } else {
        RoundTo(n, p.fractionDigits);
    }
    const std::vector<std::string> integer = FillIntegerPlaceholders(p, IntegerDigits(n));
    std::size_t integerLeft = 0;
    for (const std::string& s : integer) {
        integerLeft += s.size();
    }
    const std::string fraction = FractionDigits(p, n);
    std::size_t integerSlot = 0;
    std::size_t fractionSlot = 0;
    bool exponentShown = false;
    std::string out;
    for (const NumberToken& t : p.tokens) {
        if (t.part == NumberPart::Literal) {
            out += t.text;
        } else if (t.part == NumberPart::Point) {
            // Without integer placeholders the integer digits stand before the point.
            out += (p.integerDigits == 0 ? IntegerDigits(n) : std::string()) + t.text;
        } else if (t.part == NumberPart::Exponent) {
            out += t.text + (exponent < 0 ? "-" : p.exponentPlus ? "+" : "");
        } else if (t.region == Region::Integer) {
            for (const char digit : integer[integerSlot]) {
                out += digit;
                --integerLeft;
                if (p.grouping && integerLeft > 0 && integerLeft % 3 == 0) {
                    out += ',';
                }
            }
            ++integerSlot;
        } else if (t.region == Region::Fraction) {
            if (fractionSlot < fraction.size()) {
                out += fraction[fractionSlot];
            }
            ++fractionSlot;
        } else if (!exponentShown) {
            out += ExponentDigits(p, exponent);
            exponentShown = true;
        }
    }
    return out;
}

// A number under a number pattern of up to four sections: positive,
// negative, zero, Null. A negative value in its own section loses its sign;
// an empty or missing section falls back to the first.
std::string FormatNumberSections(const NumberValue& v, std::string_view pattern) {
    const std::vector<std::string_view> sections = SplitSections(pattern);
    const DecimalNumber& n = v.number;
    std::string_view section = sections[0];
    bool minus = false;
    if (n.negative && sections.size() >= 2 && !sections[1].empty()) {
        section = sections[1];
    } else if (n.IsZero() && sections.size() >= 3 && !sections[2].empty()) {
        section = sections[2];
    } else {
        // The sign comes from the value before rounding: -0.001 gives "-0.00".
        minus = n.negative;
    }
    if (section.empty()) {
        return GeneralText(v);
    }
    return (minus ? "-" : "") + RenderNumber(ParseNumberPattern(section), n);
}

// "Yes;No" and the like: the first word for any non-zero value.
std::string Words(std::string_view pattern, bool zero) {
    const std::size_t split = pattern.find(';');
    return std::string(zero ? pattern.substr(split + 1) : pattern.substr(0, split));
}

// ---- Dates ------------------------------------------------------------------

constexpr std::array<std::string_view, 7> kDayNames{"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                    "Thursday", "Friday", "Saturday"};
constexpr std::array<std::string_view, 12> kMonthNames{
    "January", "February", "March",     "April",   "May",      "June",
    "July",    "August",   "September", "October", "November", "December"};

enum class DateCode {
    Literal,
    General,
    Day,
    Day2,
    DayAbbr,
    DayName,
    ShortDate,
    LongDate,
    Weekday,
    Week,
    MonthOrMinute,
    MonthOrMinute2,
    Month,
    Month2,
    MonthAbbr,
    MonthName,
    Minute,
    Minute2,
    Quarter,
    DayOfYear,
    Year2,
    Year4,
    Hour,
    Hour2,
    Second,
    Second2,
    LongTime,
    AmPm,
};

struct DateToken {
    DateCode code;
    std::string text;  // literal text, or the morning marker
    std::string pm;    // the afternoon marker
};

// Letters of one code repeated at `at`, in any case.
std::size_t RunLength(std::string_view text, std::size_t at) {
    std::size_t end = at;
    while (end < text.size() && LowerAscii(text[end]) == LowerAscii(text[at])) {
        ++end;
    }
    return end - at;
}

// A code picked by how many letters it takes, at most codes.size().
DateToken PickByLength(std::initializer_list<DateCode> codes, std::size_t run, std::size_t& taken) {
    taken = std::min(run, codes.size());
    return {*(codes.begin() + (taken - 1)), {}, {}};
}

// An AM/PM code at `at`, or false.
bool TakeAmPm(std::string_view section, std::size_t& at, std::vector<DateToken>& tokens) {
    if (MatchesAt(section, at, "am/pm")) {
        tokens.push_back({DateCode::AmPm, std::string(section.substr(at, 2)),
                          std::string(section.substr(at + 3, 2))});
        at += 5;
    } else if (MatchesAt(section, at, "ampm")) {
        tokens.push_back({DateCode::AmPm, "AM", "PM"});  // the locale's markers
        at += 4;
    } else if (MatchesAt(section, at, "a/p")) {
        tokens.push_back({DateCode::AmPm, std::string(section.substr(at, 1)),
                          std::string(section.substr(at + 2, 1))});
        at += 3;
    } else {
        return false;
    }
    return true;
}

// The code of the letters at `at`; a letter that starts no code is a literal.
DateToken TakeDateCode(std::string_view section, std::size_t& at) {
    const std::size_t run = RunLength(section, at);
    std::size_t taken = 1;
    DateToken token{DateCode::Literal, {}, {}};
    switch (LowerAscii(section[at])) {
        case 'c':
            token.code = DateCode::General;
            break;
        case 'q':
            token.code = DateCode::Quarter;
            break;
        case 'd':
            token = PickByLength({DateCode::Day, DateCode::Day2, DateCode::DayAbbr,
                                  DateCode::DayName, DateCode::ShortDate, DateCode::LongDate},
                                 run, taken);
            break;
        case 'w':
            token = PickByLength({DateCode::Weekday, DateCode::Week}, run, taken);
            break;
        case 'm':
            token = PickByLength({DateCode::MonthOrMinute, DateCode::MonthOrMinute2,
                                  DateCode::MonthAbbr, DateCode::MonthName},
                                 run, taken);
            break;
        case 'y':
            taken = run >= 4 ? 4 : run >= 2 ? 2 : 1;
            token.code = taken == 4   ? DateCode::Year4
                         : taken == 2 ? DateCode::Year2
                                      : DateCode::DayOfYear;
            break;
        case 'h':
            token = PickByLength({DateCode::Hour, DateCode::Hour2}, run, taken);
            break;
        case 'n':
            token = PickByLength({DateCode::Minute, DateCode::Minute2}, run, taken);
            break;
        case 's':
            token = PickByLength({DateCode::Second, DateCode::Second2}, run, taken);
            break;
        case 't':
            if (run >= 5) {
                token.code = DateCode::LongTime;
                taken = 5;
            }
            break;
        default:
            break;
    }
    if (token.code == DateCode::Literal) {
        taken = CharBytes(section, at);
        token.text = std::string(section.substr(at, taken));
    }
    at += taken;
    return token;
}

bool IsCode(const DateToken& t, DateCode a, DateCode b) { return t.code == a || t.code == b; }

// "m" and "mm" are minutes right after an hour code or right before a
// seconds code, with only literals between ("hh`mm`ss" gives minutes).
void ResolveMinutes(std::vector<DateToken>& tokens) {
    for (std::size_t k = 0; k < tokens.size(); ++k) {
        if (!IsCode(tokens[k], DateCode::MonthOrMinute, DateCode::MonthOrMinute2)) {
            continue;
        }
        bool minute = false;
        for (std::size_t back = k; back-- > 0;) {
            if (tokens[back].code != DateCode::Literal) {
                minute = IsCode(tokens[back], DateCode::Hour, DateCode::Hour2);
                break;
            }
        }
        for (std::size_t ahead = k + 1; !minute && ahead < tokens.size(); ++ahead) {
            if (tokens[ahead].code != DateCode::Literal) {
                minute = IsCode(tokens[ahead], DateCode::Second, DateCode::Second2);
                break;
            }
        }
        const bool two = tokens[k].code == DateCode::MonthOrMinute2;
        tokens[k].code = minute ? (two ? DateCode::Minute2 : DateCode::Minute)
                                : (two ? DateCode::Month2 : DateCode::Month);
    }
}

std::vector<DateToken> ParseDatePattern(std::string_view section) {
    std::vector<DateToken> tokens;
    std::size_t at = 0;
    while (at < section.size()) {
        std::string literal;
        if (TakeLiteral(section, at, literal)) {
            // The en-US separators: "/" for dates, ":" for times, as written.
            tokens.push_back({DateCode::Literal, std::move(literal), {}});
        } else if (LowerAscii(section[at]) != 'a' || !TakeAmPm(section, at, tokens)) {
            tokens.push_back(TakeDateCode(section, at));
        }
    }
    ResolveMinutes(tokens);
    return tokens;
}

// A date value taken apart, rounded to the second.
struct DateContext {
    DateParts parts;
    double day = 0.0;  // serial of the day alone
    bool twelveHour = false;
};

std::string TwoDigits(int value) {
    return value < 10 ? "0" + std::to_string(value) : std::to_string(value);
}

int TwelveHour(int hour) { return hour % 12 == 0 ? 12 : hour % 12; }

std::string DayName(double day) {
    return std::string(kDayNames[static_cast<std::size_t>(WeekdayOfSerial(day) - 1)]);
}

std::string MonthName(int month) {
    return std::string(kMonthNames[static_cast<std::size_t>(month - 1)]);
}

std::string ShortDateText(const DateParts& p) {
    return std::to_string(p.month) + "/" + std::to_string(p.day) + "/" + std::to_string(p.year);
}

std::string LongDateText(const DateContext& c) {
    const DateParts& p = c.parts;
    return DayName(c.day) + ", " + MonthName(p.month) + " " + std::to_string(p.day) + ", " +
           std::to_string(p.year);
}

std::string LongTimeText(const DateParts& p) {
    return std::to_string(TwelveHour(p.hour)) + ":" + TwoDigits(p.minute) + ":" +
           TwoDigits(p.second) + (p.hour < 12 ? " AM" : " PM");
}

// "c": the date and the time, without the date on day 0 and without the
// time at midnight.
std::string GeneralDateText(const DateContext& c) {
    const DateParts& p = c.parts;
    if (c.day == 0.0) {
        return LongTimeText(p);
    }
    if (p.hour == 0 && p.minute == 0 && p.second == 0) {
        return ShortDateText(p);
    }
    return ShortDateText(p) + " " + LongTimeText(p);
}

// Week of the year, weeks starting on Sunday, week 1 holding January 1.
int WeekOfYear(const DateContext& c) {
    const int firstWeekday = WeekdayOfSerial(DateSerial(c.parts.year, 1, 1));
    return (DayOfYearOfSerial(c.day) - 1 + firstWeekday - 1) / 7 + 1;
}

std::string RenderDateCode(const DateToken& t, const DateContext& c) {
    const DateParts& p = c.parts;
    const int hour = c.twelveHour ? TwelveHour(p.hour) : p.hour;
    switch (t.code) {
        case DateCode::Literal:
            return t.text;
        case DateCode::General:
            return GeneralDateText(c);
        case DateCode::Day:
            return std::to_string(p.day);
        case DateCode::Day2:
            return TwoDigits(p.day);
        case DateCode::DayAbbr:
            return DayName(c.day).substr(0, 3);
        case DateCode::DayName:
            return DayName(c.day);
        case DateCode::ShortDate:
            return ShortDateText(p);
        case DateCode::LongDate:
            return LongDateText(c);
        case DateCode::Weekday:
            return std::to_string(WeekdayOfSerial(c.day));
        case DateCode::Week:
            return std::to_string(WeekOfYear(c));
        case DateCode::Month:
            return std::to_string(p.month);
        case DateCode::Month2:
            return TwoDigits(p.month);
        case DateCode::MonthAbbr:
            return MonthName(p.month).substr(0, 3);
        case DateCode::MonthName:
            return MonthName(p.month);
        case DateCode::Quarter:
            return std::to_string((p.month - 1) / 3 + 1);
        case DateCode::DayOfYear:
            return std::to_string(DayOfYearOfSerial(c.day));
        case DateCode::Year2:
            return TwoDigits(p.year % 100);
        case DateCode::Year4:
            return std::to_string(p.year);
        case DateCode::Hour:
            return std::to_string(hour);
        case DateCode::Hour2:
            return TwoDigits(hour);
        case DateCode::Minute:
            return std::to_string(p.minute);
        case DateCode::Minute2:
            return TwoDigits(p.minute);
        case DateCode::Second:
            return std::to_string(p.second);
        case DateCode::Second2:
            return TwoDigits(p.second);
        case DateCode::LongTime:
            return LongTimeText(p);
        case DateCode::AmPm:
            return p.hour < 12 ? t.text : t.pm;
        case DateCode::MonthOrMinute:
        case DateCode::MonthOrMinute2:
            break;  // resolved when parsed
    }
    return {};
}

// A date serial under a date pattern (its first section).
std::string RenderDate(double serial, std::string_view pattern) {
    if (!(serial >= kMinDateSerial && serial < kMaxDateSerial + 1.0)) {
        throw VornError::Overflow(kSource);
    }
    const std::vector<DateToken> tokens = ParseDatePattern(SplitSections(pattern)[0]);
    DateContext c;
    c.parts = DatePartsFromSerial(serial);
    c.day = DateSerial(c.parts.year, c.parts.month, c.parts.day);
    c.twelveHour = std::any_of(tokens.begin(), tokens.end(),
                               [](const DateToken& t) { return t.code == DateCode::AmPm; });
    std::string out;
    for (const DateToken& t : tokens) {
        out += RenderDateCode(t, c);
    }
    return out;
}

// ---- Text -------------------------------------------------------------------

struct TextPattern {
    struct Piece {
        bool placeholder = false;
        bool blankWhenMissing = false;  // "@" rather than "&"
        std::string literal;
    };
    std::vector<Piece> pieces;
    std::size_t placeholders = 0;
    bool leftToRight = false;
    char fold = 0;  // '<' lower, '>' upper, 0 as is
};

TextPattern ParseTextPattern(std::string_view section) {
    TextPattern p;
    std::size_t at = 0;
    while (at < section.size()) {
        std::string literal;
        if (TakeLiteral(section, at, literal)) {
            p.pieces.push_back({false, false, std::move(literal)});
            continue;
        }
        const char c = section[at];
        if (c == '@' || c == '&') {
            p.pieces.push_back({true, c == '@', {}});
            ++p.placeholders;
        } else if (c == '<' || c == '>') {
            p.fold = c;
        } else if (c == '!') {
            p.leftToRight = true;
        } else {
            p.pieces.push_back(
                {false, false, std::string(section.substr(at, CharBytes(section, at)))});
            at += CharBytes(section, at) - 1;
        }
        ++at;
    }
    return p;
}

// Text under a text pattern of one or two sections (text; empty text and
// Null). Placeholders fill from the right unless "!" asks for the left;
// characters beyond the placeholders stand next to the outermost one.
std::string RenderText(std::string_view text, std::string_view pattern) {
    const std::vector<std::string_view> sections = SplitSections(pattern);
    const TextPattern p =
        ParseTextPattern(text.empty() && sections.size() >= 2 ? sections[1] : sections[0]);
    const std::string folded = p.fold == '<'   ? utf8::ToLower(text)
                               : p.fold == '>' ? utf8::ToUpper(text)
                                               : std::string(text);
    const std::u32string chars = utf8::ToU32(folded);
    const auto length = static_cast<std::ptrdiff_t>(chars.size());
    const auto count = static_cast<std::ptrdiff_t>(p.placeholders);
    // Index of the character for placeholder 0; later ones follow on.
    const std::ptrdiff_t first = p.leftToRight ? 0 : length - count;
    std::string out;
    std::ptrdiff_t slot = 0;
    for (const TextPattern::Piece& piece : p.pieces) {
        if (!piece.placeholder) {
            out += piece.literal;
            continue;
        }
        if (slot == 0 && first > 0) {
            out += utf8::FromU32(
                std::u32string_view(chars).substr(0, static_cast<std::size_t>(first)));
        }
        const std::ptrdiff_t index = first + slot;
        if (index >= 0 && index < length) {
            out += utf8::FromCodePoint(chars[static_cast<std::size_t>(index)]);
        } else if (piece.blankWhenMissing) {
            out += ' ';
        }
        if (++slot == count && p.leftToRight && length > count) {
            out +=
                utf8::FromU32(std::u32string_view(chars).substr(static_cast<std::size_t>(count)));
        }
    }
    return count == 0 ? out + folded : out;
}

// ---- Dispatch ---------------------------------------------------------------

// A number under a resolved format of any kind.
std::string FormatNumberValue(const NumberValue& v, const Spec& spec) {
    switch (spec.kind) {
        case SpecKind::GeneralNumber:
            return GeneralText(v);
        case SpecKind::Words:
            return Words(spec.pattern, v.number.IsZero());
        case SpecKind::Date:
            return RenderDate(v.approx, spec.pattern);
        case SpecKind::Text:
            return RenderText(GeneralText(v), spec.pattern);
        case SpecKind::Number:
            break;
    }
    return FormatNumberSections(v, spec.pattern);
}

// What Null and Empty give: the Null section of a number format or the
// second section of a text format, else "".
std::string NullSection(std::string_view format) {
    if (format.empty()) {
        return {};
    }
    const Spec spec = Resolve(format);
    const std::vector<std::string_view> sections = SplitSections(spec.pattern);
    if (spec.kind == SpecKind::Number && sections.size() >= 4) {
        return RenderNumber(ParseNumberPattern(sections[3]), DecimalNumber{});
    }
    if (spec.kind == SpecKind::Text && sections.size() >= 2) {
        return RenderText({}, spec.pattern);
    }
    return {};
}

// The number a non-text variant holds, with its exact digits where it has them.
NumberValue NumberOf(const Variant& value) {
    switch (value.Kind()) {
        case VariantKind::Double:
            return DoubleValue(value.AsDouble());
        case VariantKind::Date:
            return DoubleValue(value.AsDateSerial());
        case VariantKind::Single:
            return SingleValue(value.AsSingle());
        case VariantKind::Currency:
            return ExactValue(value.AsCurrency().ToString());
        case VariantKind::Decimal:
            return ExactValue(value.AsDecimal().ToString());
        case VariantKind::Boolean:
            return ExactValue(value.AsBoolean() ? "-1" : "0");
        case VariantKind::Byte:
            return ExactValue(std::to_string(value.AsByte()));
        case VariantKind::Integer:
            return ExactValue(std::to_string(value.AsInteger()));
        case VariantKind::Long:
            return ExactValue(std::to_string(value.AsLong()));
        default:
            break;
    }
    throw VornError::TypeMismatch(kSource);
}

// Text is formatted as the number or date it reads as, when the format
// wants one; otherwise it comes back as it is.
std::string FormatTextVariant(const std::string& text, std::string_view format) {
    if (format.empty()) {
        return text;
    }
    const Spec spec = Resolve(format);
    if (spec.kind == SpecKind::Text) {
        return RenderText(text, spec.pattern);
    }
    if (spec.kind == SpecKind::Date) {
        if (const auto serial = ParseDate(text)) {
            return RenderDate(*serial, spec.pattern);
        }
    }
    if (const auto number = ParseNumber(text)) {
        return FormatNumberValue(DoubleValue(*number), spec);
    }
    return text;
}

}  // namespace

std::string Format(const Variant& value, std::string_view format) {
    switch (value.Kind()) {
        case VariantKind::Null:
        case VariantKind::Empty:
            return NullSection(format);
        case VariantKind::Text:
            return FormatTextVariant(value.AsText(), format);
        case VariantKind::Array:
            throw VornError::TypeMismatch(kSource);
        case VariantKind::Binary:
            return FormatText(CStr(value), format);
        default:
            break;
    }
    if (format.empty()) {
        return CStr(value);
    }
    const Spec spec = Resolve(format);
    if (spec.kind == SpecKind::Text) {
        return RenderText(CStr(value), spec.pattern);
    }
    return FormatNumberValue(NumberOf(value), spec);
}

std::string FormatDouble(double value, std::string_view format) {
    return format.empty() ? DoubleToString(value)
                          : FormatNumberValue(DoubleValue(value), Resolve(format));
}

std::string FormatExact(std::string_view decimalText, std::string_view format) {
    const NumberValue v = ExactValue(decimalText);
    return format.empty() ? PlainText(v.number) : FormatNumberValue(v, Resolve(format));
}

std::string FormatDateSerial(double serial, std::string_view format) {
    if (format.empty()) {
        return DateToString(serial);
    }
    const Spec spec = Resolve(format);
    if (spec.kind == SpecKind::Text) {
        return RenderText(DateToString(serial), spec.pattern);
    }
    return FormatNumberValue(DoubleValue(serial), spec);
}

std::string FormatText(std::string_view text, std::string_view format) {
    const Spec spec = Resolve(format);
    return spec.kind == SpecKind::Text && !format.empty() ? RenderText(text, spec.pattern)
                                                          : std::string(text);
}

}  // namespace vorn
