#include "runtime/Utf8.h"

#include <algorithm>

namespace vorn::utf8 {
namespace {

// Length in bytes of the sequence that starts with `lead`; an invalid lead
// byte is taken as a sequence of one, so that broken text still has a length.
std::size_t SequenceLength(unsigned char lead) {
    if (lead < 0x80) return 1;
    if ((lead & 0xE0) == 0xC0) return 2;
    if ((lead & 0xF0) == 0xE0) return 3;
    if ((lead & 0xF8) == 0xF0) return 4;
    return 1;
}

// Offset of the character after the one at `offset`, with the same rules
// for broken sequences as CodePointAt.
std::size_t NextOffset(std::string_view text, std::size_t offset) {
    CodePointAt(text, offset);
    return offset;
}

// Upper case of ASCII and Latin-1 letters. Latin-1 has no upper form of
// U+00DF and U+00FF inside the range, so both are kept.
char32_t FoldUpper(char32_t c) {
    if (c >= U'a' && c <= U'z') return c - 32;
    if (c >= 0xE0 && c <= 0xFE && c != 0xF7) return c - 32;
    return c;
}

char32_t FoldLower(char32_t c) {
    if (c >= U'A' && c <= U'Z') return c + 32;
    if (c >= 0xC0 && c <= 0xDE && c != 0xD7) return c + 32;
    return c;
}

template <class Fold>
std::string MapCodePoints(std::string_view text, Fold fold) {
    std::string out;
    out.reserve(text.size());
    std::size_t offset = 0;
    while (offset < text.size()) {
        const std::size_t start = offset;
        const char32_t c = CodePointAt(text, offset);
        const bool strayByte = c >= 0x80 && offset - start == 1;
        const char32_t mapped = strayByte ? c : fold(c);
        if (mapped == c) {
            out.append(text.substr(start, offset - start));  // keeps invalid bytes as they are
        } else {
            out += FromCodePoint(mapped);
        }
    }
    return out;
}

// The text to search in and the text to search for, folded when the search
// ignores case. Folding keeps byte lengths (both cases of a Latin-1 letter
// take two bytes, and stray bytes are kept), so byte offsets found in the
// folded text are offsets in the original.
struct SearchPair {
    std::string hay;
    std::string pin;
    SearchPair(std::string_view text, std::string_view needle, bool ignoreCase)
        : hay(ignoreCase ? ToUpper(text) : std::string(text)),
          pin(ignoreCase ? ToUpper(needle) : std::string(needle)) {}
};

}  // namespace

std::int64_t Length(std::string_view text) {
    std::int64_t count = 0;
    for (std::size_t offset = 0; offset < text.size(); offset = NextOffset(text, offset)) ++count;
    return count;
}

std::size_t ByteOffset(std::string_view text, std::int64_t index) {
    std::size_t offset = 0;
    for (std::int64_t i = 0; i < index && offset < text.size(); ++i) offset = NextOffset(text, offset);
    return offset;
}

std::string Mid(std::string_view text, std::int64_t start, std::int64_t length) {
    const std::size_t from = ByteOffset(text, start - 1);
    if (length < 0) return std::string(text.substr(from));
    const std::size_t to = from + ByteOffset(text.substr(from), length);
    return std::string(text.substr(from, to - from));
}

std::string Left(std::string_view text, std::int64_t length) {
    return std::string(text.substr(0, ByteOffset(text, std::max<std::int64_t>(length, 0))));
}

std::string Right(std::string_view text, std::int64_t length) {
    const std::int64_t total = Length(text);
    if (length >= total) return std::string(text);
    return std::string(text.substr(ByteOffset(text, total - std::max<std::int64_t>(length, 0))));
}

std::int64_t InStr(std::int64_t start, std::string_view text, std::string_view needle,
                   bool ignoreCase) {
    const std::int64_t total = Length(text);
    if (start < 1 || start > total + 1) return needle.empty() && start == total + 1 ? start : 0;
    if (needle.empty()) return start;
    const SearchPair search(text, needle, ignoreCase);
    const std::size_t at = search.hay.find(search.pin, ByteOffset(text, start - 1));
    if (at == std::string::npos) return 0;
    return Length(text.substr(0, at)) + 1;
}

std::int64_t InStrRev(std::string_view text, std::string_view needle, std::int64_t start,
                      bool ignoreCase) {
    const std::int64_t total = Length(text);
    if (start == -1) start = total;
    if (start < 1 || start > total) return 0;
    if (needle.empty()) return start;
    const SearchPair search(text, needle, ignoreCase);
    // The match must end at or before code point `start`.
    const std::size_t limit = ByteOffset(text, start);
    if (search.pin.size() > limit) return 0;
    const std::size_t at = search.hay.rfind(search.pin, limit - search.pin.size());
    if (at == std::string::npos) return 0;
    return Length(text.substr(0, at)) + 1;
}

std::string ToUpper(std::string_view text) { return MapCodePoints(text, FoldUpper); }
std::string ToLower(std::string_view text) { return MapCodePoints(text, FoldLower); }

int CompareIgnoreCase(std::string_view a, std::string_view b) {
    std::size_t i = 0;
    std::size_t j = 0;
    while (i < a.size() && j < b.size()) {
        const auto byteA = static_cast<unsigned char>(a[i]);
        const auto byteB = static_cast<unsigned char>(b[j]);
        if (byteA < 0x80 && byteB < 0x80) {
            // ASCII on both sides, the common case of names: no decoding.
            const auto x = static_cast<char32_t>(byteA >= 'a' && byteA <= 'z' ? byteA - 32 : byteA);
            const auto y = static_cast<char32_t>(byteB >= 'a' && byteB <= 'z' ? byteB - 32 : byteB);
            if (x != y) return x < y ? -1 : 1;
            ++i;
            ++j;
            continue;
        }
        const char32_t x = FoldUpper(CodePointAt(a, i));
        const char32_t y = FoldUpper(CodePointAt(b, j));
        if (x != y) return x < y ? -1 : 1;
    }
    if (i < a.size()) return 1;
    if (j < b.size()) return -1;
    return 0;
}

std::string FromCodePoint(char32_t cp) {
    std::string out;
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
    return out;
}

char32_t CodePointAt(std::string_view text, std::size_t& byteOffset) {
    const auto lead = static_cast<unsigned char>(text[byteOffset]);
    const std::size_t n = SequenceLength(lead);
    if (n == 1 || byteOffset + n > text.size()) {
        ++byteOffset;
        return lead;  // ASCII, or a stray byte read as its Latin-1 character
    }
    char32_t cp = lead & (0xFF >> (n + 1));
    for (std::size_t k = 1; k < n; ++k) {
        const auto next = static_cast<unsigned char>(text[byteOffset + k]);
        if ((next & 0xC0) != 0x80) {
            ++byteOffset;
            return lead;
        }
        cp = (cp << 6) | (next & 0x3F);
    }
    byteOffset += n;
    return cp;
}

std::u32string ToU32(std::string_view text) {
    std::u32string out;
    for (std::size_t offset = 0; offset < text.size();) out += CodePointAt(text, offset);
    return out;
}

std::string FromU32(std::u32string_view text) {
    std::string out;
    for (const char32_t c : text) out += FromCodePoint(c);
    return out;
}

std::string FromLatin1(std::string_view bytes) {
    std::string out;
    for (const char c : bytes) out += FromCodePoint(static_cast<unsigned char>(c));
    return out;
}

std::string Replace(std::string_view text, std::string_view from, std::string_view to,
                    bool ignoreCase) {
    if (from.empty()) return std::string(text);
    const SearchPair search(text, from, ignoreCase);
    std::string out;
    std::size_t pos = 0;
    while (true) {
        const std::size_t at = search.hay.find(search.pin, pos);
        if (at == std::string::npos) break;
        out.append(text.substr(pos, at - pos));
        out.append(to);
        pos = at + from.size();
    }
    out.append(text.substr(pos));
    return out;
}

std::string_view LTrim(std::string_view text) {
    const std::size_t first = text.find_first_not_of(' ');
    return first == std::string_view::npos ? std::string_view{} : text.substr(first);
}

std::string_view RTrim(std::string_view text) {
    const std::size_t last = text.find_last_not_of(' ');
    return last == std::string_view::npos ? std::string_view{} : text.substr(0, last + 1);
}

std::string_view Trim(std::string_view text) { return RTrim(LTrim(text)); }

}  // namespace vorn::utf8
