// CAx0: data tokens, delimiter matching, table-dot-field specs and the
// cursor parsers (plain pieces, CSV fields, fixed-width fields).

#include <algorithm>

#include "foundation/CAx0.h"
#include "runtime/Utf8.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

std::int32_t Len(std::string_view text) { return static_cast<std::int32_t>(utf8::Length(text)); }

bool StartsWith(std::string_view text, std::string_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

bool EndsWith(std::string_view text, std::string_view suffix) {
    return text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix;
}

// The characters that may not stand in a field name.
constexpr std::string_view kBadFieldChars = "![]`.,";

}  // namespace

// ---- Data tokens and delimiters --------------------------------------------

std::int32_t CAx0::MatchDelimFnL(std::int32_t plPsCsr, std::string_view psSource,
                                 std::string_view psOpen, std::string_view psClose) const {
    constexpr const char* kMember = "CAx0.MatchDelimFnL";
    if (psOpen.empty() || psClose.empty()) return 0;
    std::int32_t openPs = Search(plPsCsr, psSource, psOpen, false, kMember);
    if (openPs != plPsCsr) return 0;  // the cursor must stand on an opener
    const std::int32_t openLen = Len(psOpen);
    const std::int32_t closeLen = Len(psClose);
    const std::int32_t sourceLen = Len(psSource);
    std::int32_t closeSearch = openPs;
    std::int32_t openers = 0;
    std::int32_t closers = 0;
    while (true) {
        const std::int32_t closePs = Search(closeSearch, psSource, psClose, false, kMember);
        if (closePs == 0) return 0;
        closeSearch = closePs + closeLen;
        ++closers;
        if (closers < openers) continue;
        if (closeSearch <= openPs) break;  // no opener left before this closer
        // Count the openers that stand before the closer just found. The
        // opener position always rests on the next opener not yet counted.
        do {
            openPs = Search(openPs + openLen, psSource, psOpen, false, kMember);
            if (openPs == 0) openPs = sourceLen + 1;
            ++openers;
        } while (openPs < closeSearch);
        if (openers == closers) break;
    }
    return closeSearch - plPsCsr;
}

std::string CAx0::DataTokenGetFnS(std::int32_t& plPsCsr, std::string_view psSource) const {
    std::string ignored;
    return DataTokenGetFnS(plPsCsr, psSource, ignored);
}

std::string CAx0::DataTokenGetFnS(std::int32_t& plPsCsr, std::string_view psSource,
                                  std::string& psTempLine) const {
    plPsCsr = std::max(plPsCsr, 1);
    while (true) {
        psTempLine += ParseStringFnS(plPsCsr, psSource, kTokenOpen);
        if (plPsCsr == 0) return {};
        plPsCsr -= static_cast<std::int32_t>(kTokenOpen.size());
        const std::int32_t length = MatchDelimFnL(plPsCsr, psSource, kTokenOpen, kTokenClose);
        if (length > 0) {
            std::string inner = utf8::Mid(psSource, plPsCsr + 2, length - 4);
            plPsCsr += length;
            return inner;
        }
        // An opener without a closer is plain text.
        psTempLine += kTokenOpen;
        plPsCsr += static_cast<std::int32_t>(kTokenOpen.size());
    }
}

bool CAx0::DataTokenSkipFnB(std::int32_t& plPsCsr, std::string_view psSource) const {
    while (true) {
        plPsCsr = Search(plPsCsr, psSource, kTokenOpen, false, "CAx0.DataTokenSkipFnB");
        if (plPsCsr < 1) return false;
        const std::int32_t length = MatchDelimFnL(plPsCsr, psSource, kTokenOpen, kTokenClose);
        if (length > 0) {
            plPsCsr += length;
            return true;
        }
        plPsCsr += static_cast<std::int32_t>(kTokenOpen.size());
    }
}

std::string CAx0::DataTokenMakeFnS(std::string_view psData) const {
    if (psData.empty()) return {};
    const std::string_view data = utf8::Trim(psData);
    // An existing token is refused, not passed through: callers test first.
    if (StartsWith(data, kTokenOpen)) return {};
    return std::string(kTokenOpen).append(data).append(kTokenClose);
}

std::string CAx0::FieldTokenMakeFnS(std::string_view psTable, std::string_view psField) const {
    if (psField.empty()) return DataTokenMakeFnS(psTable);
    return DataTokenMakeFnS(std::string(psTable).append(".").append(psField));
}

void CAx0::RemoveFieldDelim(std::string& psCurData) const {
    std::string data(utf8::Trim(psCurData));
    if (StartsWith(data, kTokenOpen) && EndsWith(data, kTokenClose) &&
        data.size() >= kTokenOpen.size() + kTokenClose.size()) {
        const std::string_view inner = std::string_view(data).substr(
            kTokenOpen.size(), data.size() - kTokenOpen.size() - kTokenClose.size());
        data = std::string(utf8::Trim(inner));
    }
    psCurData = std::move(data);
}

std::string CAx0::FieldNameFromFieldSpecFnS(std::string_view psSource) const {
    const std::size_t dot = psSource.find('.');
    if (dot == std::string_view::npos) return std::string(psSource);
    return std::string(psSource.substr(dot + 1));
}

void CAx0::ParentChildSpecParse(std::string_view psFullSpec, std::string& psParent,
                                std::string& psChild) const {
    const std::int64_t bang = utf8::InStrRev(psFullSpec, "!");
    if (bang == 0) {
        psParent = utf8::ToUpper(psFullSpec);
        // The child is taken from a fixed far position, so that a very long
        // field spec without "!" still yields its tail as the child.
        psChild = utf8::ToUpper(utf8::Trim(utf8::Mid(psFullSpec, 32767)));
        return;
    }
    psParent = utf8::ToUpper(utf8::Left(psFullSpec, bang - 1));
    psChild = utf8::ToUpper(utf8::Trim(utf8::Mid(psFullSpec, bang + 1)));
}

bool CAx0::TableFieldStringValidFnB(std::string_view psTableField, bool pbCheckFieldChars,
                                    std::int32_t& plPsDot, std::string& psMsg) const {
    constexpr const char* kMember = "CAx0.TableFieldStringValidFnB";
    plPsDot = 0;
    const std::string spec = utf8::ToUpper(psTableField);
    const std::int32_t dot = Search(1, spec, ".", false, kMember);
    if (dot > 32767) throw VornError::Overflow(kMember);  // held in 16 bits
    if (dot == 0) {
        psMsg = Text(5272);
        return false;
    }
    if (Search(dot + 1, spec, ".", false, kMember) > 0) {
        psMsg = Text(5273);
        return false;
    }
    if (pbCheckFieldChars) {
        const std::u32string chars = utf8::ToU32(spec);
        std::size_t end = chars.size();
        // The closer of a "<<TABLE.FIELD>>" form is not field text.
        if (StartsWith(spec, kTokenOpen)) end = end >= 2 ? end - 2 : 0;
        for (std::size_t i = static_cast<std::size_t>(dot); i < end; ++i) {
            if (chars[i] < 0x80 && kBadFieldChars.find(static_cast<char>(chars[i])) !=
                                       std::string_view::npos) {
                psMsg = Text(5274, {std::string(kBadFieldChars)});
                return false;
            }
        }
    }
    plPsDot = dot;
    return true;
}

// ---- Cursor parsers --------------------------------------------------------

std::string CAx0::ParseStringFnS(std::int32_t& plPsCsr, std::string_view psSrhStrg,
                                 std::string_view psDelim) const {
    plPsCsr = std::max(plPsCsr, 1);
    const std::int32_t found = Search(plPsCsr, psSrhStrg, psDelim, false, "CAx0.ParseStringFnS");
    if (found == 0) {
        std::string rest = utf8::Mid(psSrhStrg, plPsCsr);
        plPsCsr = 0;
        return rest;
    }
    std::string piece = utf8::Mid(psSrhStrg, plPsCsr, found - plPsCsr);
    plPsCsr = found + Len(psDelim);
    return piece;
}

std::string CAx0::ParseCSVFnS(std::int32_t& plCurrPs, std::string_view psSrhStrg,
                              std::string_view psQuote) const {
    constexpr const char* kMember = "CAx0.ParseCSVFnS";
    const std::u32string line = utf8::ToU32(psSrhStrg);
    const auto lineLen = static_cast<std::int32_t>(line.size());
    // Blanks, tabs and control characters before the field are skipped.
    std::int32_t cursor = std::max(plCurrPs, 1);
    while (cursor <= lineLen && line[static_cast<std::size_t>(cursor - 1)] <= U' ') ++cursor;
    plCurrPs = cursor;

    const auto isDoubledQuote = [&](std::int32_t at) {
        return utf8::Mid(psSrhStrg, at, 2) == "\"\"";
    };
    std::int32_t fieldStart = cursor;
    std::int32_t found = 0;
    std::int32_t closingQuoteLen = 0;
    if (utf8::Mid(psSrhStrg, cursor, 1) == psQuote) {
        fieldStart = cursor + 1;
        found = Search(fieldStart, psSrhStrg, psQuote, false, kMember);
        // The doubling test is against the double-quote pair whatever the
        // quote character is.
        while (found > 0 && isDoubledQuote(found)) {
            found = Search(found + 2, psSrhStrg, psQuote, false, kMember);
        }
        if (found > 0) closingQuoteLen = 1;
    } else {
        found = Search(cursor, psSrhStrg, ",", false, kMember);
    }

    std::string field;
    if (found == 0) {
        field = utf8::Mid(psSrhStrg, fieldStart);
        plCurrPs = 0;
    } else {
        field = utf8::Mid(psSrhStrg, fieldStart, std::max(found - fieldStart, 0));
        // Whatever stands between a closing quote and the next comma is dropped.
        const std::int32_t comma = Search(found + closingQuoteLen, psSrhStrg, ",", false, kMember);
        plCurrPs = comma > 0 ? comma + 1 : 0;
    }
    return utf8::Replace(field, "\"\"", psQuote);
}

void CAx0::CSVLineSplit(std::string_view pvsLine, VArray& prsLineV) const {
    constexpr std::int32_t kGrowth = 100;
    const std::string_view line = utf8::Trim(pvsLine);
    if (line.empty()) {
        prsLineV.ReDim(0, 0);
        prsLineV[0] = std::string();
        return;
    }
    prsLineV.ReDim(0, kGrowth);
    prsLineV[0] = std::string();
    std::int32_t count = 0;
    std::int32_t upper = kGrowth;
    std::int32_t cursor = 1;
    do {
        std::string field = ParseCSVFnS(cursor, line, "\"");
        if (++count > upper) {
            upper += kGrowth;
            prsLineV.ReDimPreserve(0, upper);
        }
        prsLineV[count] = std::move(field);
    } while (cursor > 0);
    prsLineV.ReDimPreserve(0, count);
}

std::int32_t CAx0::EndQuotePsFnL(std::int32_t& plStartPs, std::string_view psText) const {
    constexpr const char* kMember = "CAx0.EndQuotePsFnL";
    const std::int32_t open = Search(plStartPs, psText, "\"", false, kMember);
    if (open == 0) return 0;
    std::int32_t close = Search(open + 1, psText, "\"", false, kMember);
    while (close > 0 && utf8::Mid(psText, close, 2) == "\"\"") {
        close = Search(close + 2, psText, "\"", false, kMember);
    }
    if (close == 0) return 0;
    plStartPs = open;
    return close + 1;
}

std::string CAx0::GetFxFldFnS(std::int16_t& piPsCsr, std::int16_t piFLen,
                              std::string_view psData) const {
    constexpr const char* kMember = "CAx0.GetFxFldFnS";
    if (piPsCsr < 1 || piFLen < 0) throw VornError::InvalidArgument(kMember);
    const std::int32_t next = piPsCsr + piFLen;
    if (next > 32767) throw VornError::Overflow(kMember);
    std::string field(utf8::Trim(utf8::Mid(psData, piPsCsr, piFLen)));
    piPsCsr = static_cast<std::int16_t>(next);
    return field;
}

void CAx0::ReplaceString(std::int32_t& plPsCsr, std::string& psSource, std::string_view psWas,
                         std::string_view psNew) const {
    if (plPsCsr < 1) return;
    plPsCsr = Search(plPsCsr, psSource, psWas, true, "CAx0.ReplaceString");
    if (plPsCsr == 0) return;
    const std::size_t from = utf8::ByteOffset(psSource, plPsCsr - 1);
    const std::size_t count = utf8::ByteOffset(std::string_view(psSource).substr(from), Len(psWas));
    psSource.replace(from, count, psNew);
    plPsCsr += Len(psNew);
}

}  // namespace vorn
