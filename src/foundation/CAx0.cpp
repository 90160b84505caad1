// CAx0: creation, the session accessor, conversions that never fail, case
// changes and the small single-purpose members.

#include "foundation/CAx0.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "foundation/CFile.h"
#include "foundation/CTextString.h"
#include "runtime/Conversions.h"
#include "runtime/ErrorRecord.h"
#include "runtime/SessionSlot.h"
#include "runtime/Utf8.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

// Windows-1252 codes 0x80..0x9F by the character they stand for; 0 marks a
// code without a character.
constexpr std::array<char32_t, 32> kWindows1252High = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,  //
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0,      0x017D, 0,       //
    0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,  //
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

// The Windows-1252 code of a character, 63 ("?") for one it lacks. The five
// codes without a character stand for the control characters of their own
// number, as the system's conversion mapped them.
std::int16_t Windows1252Code(char32_t c) {
    if (c < 0x80 || (c >= 0xA0 && c <= 0xFF)) return static_cast<std::int16_t>(c);
    for (std::size_t i = 0; i < kWindows1252High.size(); ++i) {
        const char32_t mapped = kWindows1252High[i] == 0 ? 0x80 + i : kWindows1252High[i];
        if (mapped == c) return static_cast<std::int16_t>(0x80 + i);
    }
    return 63;
}

// Characters that can stand in a text that reads as a number: no numeric
// text goes past the first character outside them.
bool MayBeInNumber(char32_t c) {
    constexpr std::u32string_view kNumberChars = U"0123456789abcdefABCDEFhHoO+-$(),.& \t\n\v\f\r";
    return kNumberChars.find(c) != std::u32string_view::npos || c == 0xA0 || c == 0x3000;
}

char32_t UpperOf(char32_t c) { return utf8::ToU32(utf8::ToUpper(utf8::FromCodePoint(c)))[0]; }
char32_t LowerOf(char32_t c) { return utf8::ToU32(utf8::ToLower(utf8::FromCodePoint(c)))[0]; }

// Title case: upper after a blank, line feed or "-" (and at the start),
// lower elsewhere; the marks themselves stay.
void TitleCase(std::u32string& text) {
    bool capital = true;
    for (char32_t& c : text) {
        if (c == U' ' || c == U'\n' || c == U'-') {
            capital = true;
        } else if (capital) {
            c = UpperOf(c);
            capital = false;
        } else {
            c = LowerOf(c);
        }
    }
}

// Runs a conversion; on any failure gives `fallback`. Err() is left clear.
template <class T, class Convert>
T Converted(Convert convert, T fallback) {
    T result = fallback;
    if (!IgnoreErrors([&] { result = convert(); })) result = fallback;
    return result;
}

}  // namespace

CAx0::CAx0() : localizedTrue_(CStr(Variant(true))) {}

CAx0::~CAx0() { RecordClassEnd("CAx0"); }

CAx0& Ax() { return SessionSlot<CAx0>::Get(); }

std::string CAx0::Text(std::int32_t id, const std::vector<std::string>& replacements) {
    return TextStr().TextStringGetFnS(id, replacements);
}

std::int32_t CAx0::Search(std::int64_t start, std::string_view psText, std::string_view psFind,
                          bool textCompare, const char* member) {
    if (start < 1) throw VornError::InvalidArgument(member);
    return static_cast<std::int32_t>(utf8::InStr(start, psText, psFind, textCompare));
}

std::int16_t CAx0::Length16(std::string_view psText, const char* member) {
    const std::int64_t length = utf8::Length(psText);
    if (length > 32767) throw VornError::Overflow(member);
    return static_cast<std::int16_t>(length);
}

// ---- Conversions that never fail -------------------------------------------

double CAx0::CVDblFnD(std::string_view psSource) const {
    const double failed = psSource == localizedTrue_ ? -1.0 : 0.0;
    return Converted<double>([&] { return CDbl(Variant(psSource)); }, failed);
}

float CAx0::CVSngFnN(std::string_view psSource) const {
    const float failed = psSource == localizedTrue_ ? -1.0F : 0.0F;
    return Converted<float>([&] { return CSng(Variant(psSource)); }, failed);
}

std::int32_t CAx0::CVLngFnL(std::string_view psSource) const {
    const std::int32_t failed = psSource == localizedTrue_ ? -1 : 0;
    return Converted<std::int32_t>([&] { return CLng(Variant(psSource)); }, failed);
}

std::int16_t CAx0::CVIntFnI(std::string_view psSource) const {
    const std::int16_t failed = psSource == localizedTrue_ ? -1 : 0;
    return Converted<std::int16_t>([&] { return CInt(Variant(psSource)); }, failed);
}

bool CAx0::CVBoolFnB(std::string_view psSource) const {
    return Converted<bool>([&] { return CBool(Variant(utf8::Trim(psSource))); }, false);
}

bool CAx0::CVarBoolFnB(const Variant& pvSource) const {
    return Converted<bool>([&] { return IsNumeric(pvSource) && CBool(pvSource); }, false);
}

std::int32_t CAx0::CVarLongFnL(const Variant& pvSource) const {
    return Converted<std::int32_t>([&] { return IsNumeric(pvSource) ? CLng(pvSource) : 0; }, 0);
}

std::string CAx0::CVarStrFnS(const Variant& pvSource) const {
    return Converted<std::string>(
        [&] { return pvSource.IsNull() ? std::string() : CStr(pvSource); }, std::string());
}

std::int32_t CAx0::CVByteFnL(const std::vector<std::uint8_t>& pyBuffV, std::int32_t plStart) const {
    constexpr const char* kMember = "CAx0.CVByteFnL";
    if (plStart < 0 || static_cast<std::size_t>(plStart) + 4 > pyBuffV.size()) {
        throw VornError::SubscriptOutOfRange(kMember);
    }
    std::uint32_t value = 0;
    for (std::size_t i = 4; i-- > 0;) value = (value << 8) | pyBuffV[static_cast<std::size_t>(plStart) + i];
    // The value lands in a signed 32-bit integer, so the top bit overflows.
    if (value > 0x7FFFFFFFU) throw VornError::Overflow(kMember);
    return static_cast<std::int32_t>(value);
}

bool CAx0::IsColorNumberFnB(std::string_view psColor, std::int32_t& plColorNumber) const {
    if (!IsNumeric(Variant(psColor))) return false;
    // Rounded by the classic floor of value + 0.5, so that -1, the usual
    // mark of "no colour", stays out of range.
    const double rounded = std::floor(CVDblFnD(psColor) + 0.5);
    if (!(rounded >= 0.0 && rounded <= 16777215.0)) return false;
    plColorNumber = static_cast<std::int32_t>(rounded);
    return true;
}

// ---- Case and single characters --------------------------------------------

std::string CAx0::ChangeCaseFnS(std::int16_t piChangeOp, std::string_view psText,
                                std::int16_t piPsStart, std::int16_t piPsEnd) const {
    const std::int32_t start = piPsStart < 1 ? 1 : piPsStart;
    const std::int32_t end = piPsEnd < 1 ? Length16(psText, "CAx0.ChangeCaseFnS") : piPsEnd;
    std::u32string text = utf8::ToU32(psText);
    if (start > end || static_cast<std::size_t>(start) > text.size()) return std::string(psText);
    const auto first = text.begin() + (start - 1);
    const auto last = text.begin() + std::min<std::size_t>(static_cast<std::size_t>(end), text.size());
    std::u32string range(first, last);
    switch (piChangeOp) {
        case 'L': std::transform(range.begin(), range.end(), range.begin(), LowerOf); break;
        case 'U': std::transform(range.begin(), range.end(), range.begin(), UpperOf); break;
        case 'R':
            std::transform(range.begin(), range.end(), range.begin(), [](char32_t c) {
                return c >= U'A' && c <= U'Z' ? LowerOf(c) : UpperOf(c);
            });
            break;
        case 'T': TitleCase(range); break;
        default: return std::string(psText);
    }
    std::copy(range.begin(), range.end(), first);
    return utf8::FromU32(text);
}

std::int16_t CAx0::AscFnI(std::string_view psString) const {
    if (psString.empty()) return -1;
    std::size_t offset = 0;
    return Windows1252Code(utf8::CodePointAt(psString, offset));
}

bool CAx0::KeySameAsShiftFnB(std::int16_t piKeyCode) const {
    return piKeyCode == 16 || piKeyCode == 17 || piKeyCode == 18;
}

std::string CAx0::XforTrueFnS(bool pbData) const { return pbData ? "X" : ""; }

std::string CAx0::HTMLStartTagFnS(std::string_view psTag) const {
    return std::string("<").append(psTag).append(">");
}

std::string CAx0::HTMLEndTagFnS(std::string_view psTag) const {
    return std::string("</").append(psTag).append(">");
}

void CAx0::ConvertRichText(std::string& /*psData*/) const {}

// ---- Reading pieces of text ------------------------------------------------

std::string CAx0::LeftNumberFnS(std::string_view psDatum) const {
    const std::u32string datum = utf8::ToU32(psDatum);
    if (datum.size() > 32767) throw VornError::Overflow("CAx0.LeftNumberFnS");
    const auto limit = static_cast<std::size_t>(
        std::find_if_not(datum.begin(), datum.end(), MayBeInNumber) - datum.begin());
    for (std::size_t length = limit; length > 0; --length) {
        const std::string left = utf8::FromU32(datum.substr(0, length));
        if (ParseNumber(left).has_value()) return std::string(utf8::RTrim(left));
    }
    return {};
}

std::int16_t CAx0::LongestStrFnI(const VArray& psDataV, std::int16_t piStartEl) const {
    std::int64_t longest = 0;
    const std::int32_t upper = psDataV.UBound();
    for (std::int32_t i = piStartEl; i <= upper; ++i) {
        const Variant& item = psDataV.At(i);
        if (item.IsNull() || item.IsEmpty()) continue;
        longest = std::max(longest, utf8::Length(CStr(item)));
    }
    if (longest > 32767) throw VornError::Overflow("CAx0.LongestStrFnI");
    return static_cast<std::int16_t>(longest);
}

std::string CAx0::ObjNameFromStringFnS(std::string_view psSource) const {
    const std::size_t open = psSource.find(" '");
    if (open == std::string_view::npos) return {};
    const std::size_t close = psSource.find('\'', open + 2);
    if (close == std::string_view::npos) return {};
    return std::string(psSource.substr(open + 2, close - open - 2));
}

}  // namespace vorn
