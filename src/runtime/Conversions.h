#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "runtime/Variant.h"

// The runtime's conversion functions, as they behaved in the en-US locale:
// decimal point ".", thousands separator ",", currency symbol "$", dates
// m/d/yyyy, times h:nn:ss AM/PM. Failures raise VornError: 13 type mismatch
// (text that is no number or date, arrays), 6 overflow (out of the target's
// range), 94 invalid use of Null, 5 invalid argument.
namespace vorn {

// ---- To text ---------------------------------------------------------------

// CStr: Empty gives "", Null raises 94, Boolean "True"/"False", numbers
// in their shortest form (Single 7, Double 15 significant digits, E notation
// outside 1E-4 <= |x| < 1E15 for Double, 1E-4 <= |x| < 1E7 for Single),
// Currency and Decimal in full, dates "m/d/yyyy h:nn:ss AM/PM" with the time
// left out at midnight and the date left out on day 0. Arrays raise 13.
std::string CStr(const Variant& value);
// The number forms alone.
std::string DoubleToString(double value);
std::string SingleToString(float value);
std::string DateToString(double serial);
// Str: like CStr for numbers, with a leading blank for values >= 0. Null
// gives Null (as a Variant), text that is no number raises 13.
Variant Str(const Variant& value);

// ---- Tests -----------------------------------------------------------------

// IsNumeric: numbers, Boolean and Empty are numeric; Null, dates, arrays are
// not; text is numeric when the whole of it reads as a number (see
// ParseNumber).
bool IsNumeric(const Variant& value);
// IsDate: a Date variant, or text that reads as a date (see ParseDate).
// Numbers are not dates.
bool IsDate(const Variant& value);

// ---- Readers ---------------------------------------------------------------

// Reads text as a number the way the runtime's coercion did: blanks around,
// a leading or trailing sign, "$", thousands separators in the integer part,
// one ".", an exponent "e"/"E"/"d"/"D", parentheses for a negative number,
// "&H"/"&O" integers. nullopt when the text is no number.
std::optional<double> ParseNumber(std::string_view text);
// Reads text as a date/time serial: the date forms m/d/y, y/m/d, d/m/y when
// the first number cannot be a month, with "/", "-", "." or blanks between
// parts, month names and abbreviations, two-digit years (00-29 -> 20xx,
// 30-99 -> 19xx), a missing year as the current year; times h:nn[:ss] with
// AM/PM, alone (day 0) or after the date. nullopt when the text is no date.
std::optional<double> ParseDate(std::string_view text);

// Val: reads a number from the left of text, skipping blanks, tabs and line
// feeds anywhere, stopping at the first character it cannot read; "&H" hex
// and "&O" octal (16-bit when they fit, so "&HFFFF" is -1, else 32-bit);
// exponent "e" or "d". "" gives 0.
double Val(std::string_view text);

// ---- To numbers ------------------------------------------------------------
// Text is read with ParseNumber (and, for those that take one, as a date or
// as "True"/"False"): otherwise 13. Null raises 94. Integer targets round
// half to even.

double CDbl(const Variant& value);
float CSng(const Variant& value);
std::int32_t CLng(const Variant& value);
std::int16_t CInt(const Variant& value);
std::uint8_t CByte(const Variant& value);
Currency CCur(const Variant& value);
Decimal CDec(const Variant& value);
bool CBool(const Variant& value);
// CDate: the serial of a date, of a number (6 outside 100-01-01 to
// 9999-12-31), or of text that reads as a date (ParseDate); text holding a
// plain number is no date (13). CVDate: the same as a Date variant, Null
// staying Null.
double CDate(const Variant& value);
Variant CVDate(const Variant& value);

// ---- Number functions ------------------------------------------------------
// Keep the kind of their argument (text becomes Double); Null gives Null.

// Int: largest integer <= x. Fix: integer part, towards 0.
Variant Int(const Variant& value);
Variant Fix(const Variant& value);
// Round(x, digits): half to even. digits < 0 raises 5.
Variant Round(const Variant& value, int digits = 0);
Variant Abs(const Variant& value);
// Sgn: -1, 0, 1 as Integer.
Variant Sgn(const Variant& value);
// Hex/Oct of the number rounded to Long (Integer values as 16 bits: Hex(-1)
// of an Integer is "FFFF", of a Long "FFFFFFFF"). Null gives Null.
Variant Hex(const Variant& value);
Variant Oct(const Variant& value);
std::string Hex(std::int32_t value);
std::string Oct(std::int32_t value);

// ---- Characters ------------------------------------------------------------

// Chr: the character of a code point, 0-255 as Latin-1. Raises 5 outside
// 0..0x10FFFF and for surrogates.
std::string Chr(std::int64_t code);
// Asc: the code point of the first character. "" raises 5.
std::int32_t Asc(std::string_view text);
// Space(n) and String(n, ch): n < 0 raises 5.
std::string Space(std::int64_t count);
std::string String(std::int64_t count, std::string_view character);
std::string String(std::int64_t count, std::int64_t code);

// ---- Split and Join --------------------------------------------------------

// Split: a 0-based array of text. "" gives the array 0 to -1; an empty
// delimiter gives the whole text as the one item; limit >= 0 caps the count
// of items, the last holding the rest.
VArray Split(std::string_view text, std::string_view delimiter = " ", std::int32_t limit = -1,
             bool textCompare = false);
// Join: the items' text (CStr; Empty as "") between delimiters. Raises 5
// for a two-dimensional array; an undimensioned array gives "".
std::string Join(const VArray& items, std::string_view delimiter = " ");

}  // namespace vorn
