#pragma once

#include <string>
#include <string_view>

// The runtime's Format(expression, format) as it behaved in the en-US locale
// (decimal point ".", thousands separator ",", "$", dates m/d/yyyy, times
// h:nn:ss AM/PM, date separator "/", time separator ":").
//
// A format is either a named format ("General Number", "Currency", "Fixed",
// "Standard", "Percent", "Scientific", "Yes/No", "True/False", "On/Off",
// "General Date", "Long Date", "Medium Date", "Short Date", "Long Time",
// "Medium Time", "Short Time"; matched ignoring case) or a pattern of codes:
// - numbers: 0 # . , % E+ E- e+ e-, up to four sections separated by ";"
//   (positive; negative; zero; Null);
// - dates: c d dd ddd dddd ddddd dddddd w ww m mm mmm mmmm q y yy yyyy h hh
//   n nn s ss ttttt AM/PM am/pm A/P a/p AMPM / :
// - text: @ & < > ! and two sections (text; empty text and Null).
// "\x" and "quoted text" are literals in all three.
//
// Numbers round half away from zero on their exact value (so 0.125 gives
// "0.13" with "0.00", and 0.075, held as 0.07499999..., gives ".07" with
// "#.##"); a Double shows at most 15 significant digits and a Single 7, the
// rest as zeros. A negative value that rounds to zero keeps its sign in a
// section that adds one: Format(-0.001, "0.00") is "-0.00".
namespace vorn {

class Variant;

// Format(value, format). An empty format gives CStr(value), Null and Empty
// give "" (or the Null section of the format). A Date with a number format
// formats its serial, a number with a date format is read as a serial; text
// that reads as a number (or, under a date format, as a date) is formatted
// as one, other text comes back unchanged unless the format is a text
// format. Arrays raise 13; a date outside 100-01-01..9999-12-31 raises 6.
std::string Format(const Variant& value, std::string_view format = {});

// The same rules on plain values, for callers that hold no Variant.
std::string FormatDouble(double value, std::string_view format);
// An exact number given as plain decimal text ("-1234.5600"), as Currency,
// Decimal and the integer kinds are formatted: all its digits count.
// REQUIRES: optional "-", digits, optional "." and digits.
std::string FormatExact(std::string_view decimalText, std::string_view format);
// A date serial (days since 1899-12-30).
std::string FormatDateSerial(double serial, std::string_view format);
// Text under a text format; a number or date format leaves it unchanged
// (this does not read the text as a number or a date, Format does).
std::string FormatText(std::string_view text, std::string_view format);

}  // namespace vorn
