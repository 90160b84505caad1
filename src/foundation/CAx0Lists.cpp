// CAx0: comma and delimited lists, quoting, brackets and the small text
// rewrites that the host and the SQL builders lean on.

#include <algorithm>

#include "foundation/CAx0.h"
#include "runtime/Conversions.h"
#include "runtime/Utf8.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

std::string Framed(std::string_view delimiter, std::string_view text) {
    return std::string(delimiter).append(text).append(delimiter);
}

// An element's text as the runtime's "&" would take it: Null and Empty as "".
std::string ElementText(const Variant& value) {
    if (value.IsNull() || value.IsEmpty()) return {};
    return CStr(value);
}

bool IsLineFeedAt(std::string_view text, std::size_t at) { return at < text.size() && text[at] == '\n'; }

// Bytes of the line end at `at` (LF or CR LF), 0 when none stands there.
std::size_t LineEndAt(std::string_view text, std::size_t at) {
    if (IsLineFeedAt(text, at)) return 1;
    if (at < text.size() && text[at] == '\r' && IsLineFeedAt(text, at + 1)) return 2;
    return 0;
}

// Bytes of the line end that closes the text, 0 when none.
std::size_t LineEndBefore(std::string_view text) {
    if (text.empty() || text.back() != '\n') return 0;
    return text.size() >= 2 && text[text.size() - 2] == '\r' ? 2 : 1;
}

}  // namespace

// ---- Comma and delimited lists ---------------------------------------------

void CAx0::AddToCommaList(std::string& psCommaList, std::string_view psAppend,
                          bool pbSplitList) const {
    if (pbSplitList) {
        std::int32_t cursor = 1;
        while (cursor > 0) AddToCommaList(psCommaList, ParseStringFnS(cursor, psAppend, ","));
        return;
    }
    if (psAppend.empty() || StringInCommaListFnB(psCommaList, psAppend)) return;
    // The comma is written even before the first item; callers rely on it.
    psCommaList.append(",").append(psAppend);
}

void CAx0::RemoveFromCommaList(std::string& psList, std::string_view psItem,
                               std::int16_t piCompare) const {
    if (piCompare != kBinaryCompare && piCompare != kTextCompare) {
        throw VornError::InvalidArgument("CAx0.RemoveFromCommaList");
    }
    const std::string list =
        utf8::Replace(Framed(",", psList), Framed(",", psItem), ",", piCompare == kTextCompare);
    // The framed list is at least the one comma left by a removed last item.
    psList = list.size() < 2 ? std::string() : list.substr(1, list.size() - 2);
}

bool CAx0::StringInCommaListFnB(std::string_view psSource, std::string_view psSearch) const {
    return PsInCommaListFnL(psSource, psSearch, ",") > 0;
}

bool CAx0::StringInDelimitedListFnB(std::string_view psSource, std::string_view psSearch,
                                    std::string_view psDelimiter) const {
    return PsInCommaListFnL(psSource, psSearch, psDelimiter) > 0;
}

std::int32_t CAx0::PsInCommaListFnL(std::string_view psCommaList, std::string_view psString,
                                    std::string_view psDelim) const {
    if (psString.empty()) return 0;
    // The position in the framed list is the item's position in the list,
    // since the frame adds one delimiter in front of both.
    return static_cast<std::int32_t>(
        utf8::InStr(1, Framed(psDelim, psCommaList), Framed(psDelim, psString), true));
}

std::int32_t CAx0::StringCountFnL(std::string_view psSource, std::string_view psSearch) const {
    if (psSearch.empty()) return 0;
    const bool textCompare = utf8::ToUpper(psSearch) != utf8::ToLower(psSearch);
    const std::int32_t searchLen = static_cast<std::int32_t>(utf8::Length(psSearch));
    std::int32_t count = 0;
    for (std::int32_t at = Search(1, psSource, psSearch, textCompare, "CAx0.StringCountFnL"); at > 0;
         at = Search(at + searchLen, psSource, psSearch, textCompare, "CAx0.StringCountFnL")) {
        ++count;
    }
    return count;
}

std::int32_t CAx0::CommaListToArrayFnL(std::string_view psCommaList, VArray& psCommaListV,
                                       std::int32_t plStart, std::string_view psDelim) const {
    if (psCommaList.empty()) return 0;
    // Leading delimiters push the first item up to plStart. Only the first
    // character of the delimiter is repeated; an empty delimiter fails with 5.
    const std::string list = String(plStart, utf8::Left(psDelim, 1)).append(psCommaList);
    psCommaListV = Split(list, psDelim);
    return psCommaListV.UBound();
}

std::string CAx0::DelimListFnS(std::string_view psDelim, const VArray& pvListV) const {
    std::string joined = ElementText(pvListV.At(0));
    const std::int32_t upper = pvListV.UBound();
    for (std::int32_t i = 1; i <= upper; ++i) joined.append(psDelim).append(ElementText(pvListV.At(i)));
    return joined;
}

std::string CAx0::DelimListItemFnS(std::string_view psList, std::int32_t plEleNum,
                                   std::string_view psSep) const {
    if (psList.empty() || plEleNum < 1) return {};
    const VArray items = Split(psList, psSep);
    if (plEleNum - 1 > items.UBound()) return {};
    return ElementText(items.At(plEleNum - 1));
}

std::string CAx0::FirstDataFnS(const VArray& pvList) const {
    constexpr const char* kMember = "CAx0.FirstDataFnS";
    const std::int32_t lower = pvList.LBound();
    const std::int32_t upper = pvList.UBound();
    // The bounds are held in 16 bits.
    if (lower < -32768 || lower > 32767 || upper < -32768 || upper > 32767) {
        throw VornError::Overflow(kMember);
    }
    for (std::int32_t i = lower; i <= upper; ++i) {
        std::string text = ElementText(pvList.At(i));
        if (!text.empty()) return text;
    }
    return {};
}

std::string CAx0::AddLeadingCommaFnS(std::string_view psText) const {
    if (psText.empty() || psText.front() == ',') return std::string(psText);
    return std::string(",").append(psText);
}

void CAx0::TrimCommas(std::string& psText, std::int16_t piTrimCommasOption) const {
    if ((piTrimCommasOption & fr_TrimCommas_Right) != 0) {
        psText.resize(utf8::RTrim(psText).size());
        const std::size_t last = psText.find_last_not_of(',');
        psText.resize(last == std::string::npos ? 0 : last + 1);
    }
    if ((piTrimCommasOption & fr_TrimCommas_Left) != 0) {
        psText.erase(0, std::min(psText.find_first_not_of(','), psText.size()));
    }
}

// ---- Quotes and brackets ---------------------------------------------------

std::string CAx0::AddParenFnS(std::string_view psString) const {
    return std::string("(").append(psString).append(")");
}

std::string CAx0::AddQuotesFnS(std::string_view psData) const { return Framed("\"", psData); }

std::string CAx0::AddQuotesToListFnS(std::string_view psList) const {
    return utf8::Replace(AddQuotesFnS(psList), ",", "\",\"");
}

std::string CAx0::AddSingleQuotesFnS(std::string_view psString) const {
    return Framed("'", utf8::Replace(psString, "'", "''"));
}

std::string CAx0::AddSingleQuotesToListFnS(std::string_view psList) const {
    // Quotes are doubled twice on purpose: the result is embedded once more
    // by its callers.
    const std::string doubled = utf8::Replace(psList, "'", "''");
    return utf8::Replace(AddSingleQuotesFnS(doubled), ",", "','");
}

std::string CAx0::StripQuotesFnS(std::string_view psSource) const {
    const std::int16_t length = Length16(psSource, "CAx0.StripQuotesFnS");
    if (length < 2) return std::string(psSource);
    const char first = psSource.front();
    if ((first == '"' || first == '\'') && psSource.back() == first) {
        return std::string(psSource.substr(1, psSource.size() - 2));
    }
    return std::string(psSource);
}

void CAx0::AddBrackets(std::string& psName) const {
    if (psName.empty() || psName.find('[') != std::string::npos) return;
    psName = "[" + utf8::Replace(psName, ".", "].[") + "]";
}

std::string CAx0::AddBracketsFnS(std::string_view psName) const {
    std::string name(psName);
    AddBrackets(name);
    return name;
}

std::string CAx0::AddBracketsToListFnS(std::string_view psList) const {
    if (psList.empty() || psList.find('[') != std::string_view::npos) return std::string(psList);
    return "[" + utf8::Replace(psList, ",", "],[") + "]";
}

std::string CAx0::BracketedTableFieldFnS(std::string_view psTable, std::string_view psField) const {
    if (!psTable.empty() && !psField.empty()) {
        return AddBracketsFnS(psTable) + "." + AddBracketsFnS(psField);
    }
    if (!psTable.empty()) return AddBracketsFnS(psTable);
    if (!psField.empty()) return AddBracketsFnS(psField);
    return {};
}

std::string CAx0::RemoveBracketsFnS(std::string_view psSource) const {
    std::string out;
    out.reserve(psSource.size());
    for (const char c : psSource) {
        if (c != '[' && c != ']') out += c;
    }
    return out;
}

std::string CAx0::FilenameInSQLFnS(std::string_view psFileSpec) const {
    const bool hasSingleQuote = psFileSpec.find('\'') != std::string_view::npos;
    return " In " + (hasSingleQuote ? AddQuotesFnS(psFileSpec) : AddSingleQuotesFnS(psFileSpec));
}

// ---- Mechanical rewrites ---------------------------------------------------

std::string CAx0::AmpersandDoubleFnS(std::string_view psSource) const {
    return utf8::Replace(psSource, "&", "&&");
}

std::string CAx0::AmpersandSingleFnS(std::string_view psSource) const {
    const std::string_view placeHolder("\0", 1);
    const std::string pairsHeld = utf8::Replace(psSource, "&&", placeHolder);
    return utf8::Replace(utf8::Replace(pairsHeld, "&", ""), placeHolder, "&");
}

std::string CAx0::TabReplaceFnS(std::string_view psData) const {
    return utf8::Replace(psData, "\t", "  ");
}

std::string CAx0::StripNullCharFnS(std::string_view psInput) const {
    std::string out(psInput);
    std::erase(out, '\0');
    return out;
}

void CAx0::TrimLineTrailingSpaces(std::string& psString) const {
    // One pass reaches the state that repeated replacing of " " + line end
    // would: no blank before a LF, nor before the CR of a CR LF (blanks that
    // stood between that CR and LF included).
    std::string out;
    out.reserve(psString.size());
    const auto dropBlanks = [&out] {
        while (!out.empty() && out.back() == ' ') out.pop_back();
    };
    for (const char c : psString) {
        if (c == '\n') {
            dropBlanks();
            if (!out.empty() && out.back() == '\r') {
                out.pop_back();
                dropBlanks();
                out += '\r';
            }
        }
        out += c;
    }
    psString = std::move(out);
}

void CAx0::RemoveLineCont(std::string& psSource) const {
    std::size_t at = psSource.find('_');
    while (at != std::string::npos) {
        const std::size_t lineEnd = LineEndAt(psSource, at + 1);
        if (lineEnd == 0) {
            at = psSource.find('_', at + 1);
            continue;
        }
        std::size_t end = at + 1 + lineEnd;
        while (end < psSource.size() && psSource[end] == ' ') ++end;
        psSource.erase(at, end - at);
        // A "_" just before the cut may now stand before a line end.
        at = psSource.find('_', at == 0 ? 0 : at - 1);
    }
}

void CAx0::ReduceRepeatedChars(std::string& psString, std::string_view psChar) const {
    if (psChar.empty()) return;
    const std::string pair = std::string(psChar).append(psChar);
    while (psString.find(pair) != std::string::npos) psString = utf8::Replace(psString, pair, psChar);
}

std::string CAx0::RemoveCharsFnS(std::string_view psSource, std::string_view psChars,
                                 bool pbCaseSensitive) const {
    // The pass count is the source's length, not that of psChars: characters
    // of psChars beyond it are deliberately left alone.
    const std::int16_t passes = Length16(psSource, "CAx0.RemoveCharsFnS");
    std::string out(psSource);
    const std::u32string chars = utf8::ToU32(psChars);
    const std::size_t taken = std::min(chars.size(), static_cast<std::size_t>(passes));
    for (std::size_t i = 0; i < taken; ++i) {
        out = utf8::Replace(out, utf8::FromCodePoint(chars[i]), "", !pbCaseSensitive);
    }
    return out;
}

std::string CAx0::StripCrLfFnS(std::string_view psSource, bool pbStripLeft) const {
    constexpr std::string_view kCrMark = "<<CR>>";
    std::string_view text = utf8::RTrim(psSource);
    for (std::size_t end = LineEndBefore(text); end > 0; end = LineEndBefore(text)) {
        text = utf8::RTrim(text.substr(0, text.size() - end));
    }
    // Exact case on the right; line ends uncovered here stay.
    while (text.size() >= kCrMark.size() && text.substr(text.size() - kCrMark.size()) == kCrMark) {
        text = utf8::RTrim(text.substr(0, text.size() - kCrMark.size()));
    }
    if (!pbStripLeft) return std::string(text);
    text = utf8::LTrim(text);
    for (std::size_t start = LineEndAt(text, 0); start > 0; start = LineEndAt(text, 0)) {
        text = utf8::LTrim(text.substr(start));
    }
    // Any case on the left: a deliberate difference from the right end.
    while (text.size() >= kCrMark.size() && utf8::ToUpper(text.substr(0, kCrMark.size())) == kCrMark) {
        text = utf8::LTrim(text.substr(kCrMark.size()));
    }
    return std::string(text);
}

}  // namespace vorn
