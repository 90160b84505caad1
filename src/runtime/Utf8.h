#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// Text is UTF-8 in memory and on disk. Positions and lengths count code
// points, as the classic runtime counted characters, and are 1-based where a
// caller passes or receives a position (0 meaning none).
namespace vorn::utf8 {

// Number of code points. An invalid byte counts as one character.
std::int64_t Length(std::string_view text);

// Byte offset of the code point at 0-based index `index`; text.size() when
// the index is at or beyond the end.
std::size_t ByteOffset(std::string_view text, std::int64_t index);

// Mid$(text, start, length): `start` is 1-based, `length` < 0 means to the
// end. A start beyond the end gives "". REQUIRES: start >= 1.
std::string Mid(std::string_view text, std::int64_t start, std::int64_t length = -1);
std::string Left(std::string_view text, std::int64_t length);
std::string Right(std::string_view text, std::int64_t length);

// 1-based position of `needle` in `text` from code point `start`, 0 if not
// found. An empty needle is found at `start` (when start <= Length + 1).
std::int64_t InStr(std::int64_t start, std::string_view text, std::string_view needle,
                   bool ignoreCase = false);
// Last position of `needle` at or before `start` (-1: from the end), 0 if none.
std::int64_t InStrRev(std::string_view text, std::string_view needle, std::int64_t start = -1,
                      bool ignoreCase = false);

// Case folding of ASCII and Latin-1 letters; every other character is kept.
std::string ToUpper(std::string_view text);
std::string ToLower(std::string_view text);

// Comparison ignoring case (as ToUpper folds): <0, 0, >0. Ordering is by
// code point of the folded text.
int CompareIgnoreCase(std::string_view a, std::string_view b);
inline bool EqualsIgnoreCase(std::string_view a, std::string_view b) {
    return CompareIgnoreCase(a, b) == 0;
}

// Code point <-> UTF-8.
std::string FromCodePoint(char32_t cp);
char32_t CodePointAt(std::string_view text, std::size_t& byteOffset);  // advances byteOffset
std::u32string ToU32(std::string_view text);
std::string FromU32(std::u32string_view text);

// Latin-1 (the classic code page for 0-255) <-> UTF-8, for Chr/Asc and for
// single-byte file texts.
std::string FromLatin1(std::string_view bytes);

// Replace every occurrence of `from` by `to`, exact or ignoring case.
std::string Replace(std::string_view text, std::string_view from, std::string_view to,
                    bool ignoreCase = false);

// Trim blanks (code 32 only, as the runtime's Trim) on the left, right or both.
std::string_view LTrim(std::string_view text);
std::string_view RTrim(std::string_view text);
std::string_view Trim(std::string_view text);

}  // namespace vorn::utf8
