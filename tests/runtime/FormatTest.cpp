#include "runtime/Format.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "runtime/Currency.h"
#include "runtime/DateSerial.h"
#include "runtime/Decimal.h"
#include "runtime/Variant.h"
#include "runtime/VornError.h"
#include "support/TestSupport.h"

namespace vorn {
namespace {

using testing::FailureNumber;

struct NumberCase {
    double value;
    const char* format;
    const char* expected;
};

void ExpectNumbers(const std::vector<NumberCase>& cases) {
    for (const NumberCase& c : cases) {
        EXPECT_EQ(FormatDouble(c.value, c.format), c.expected)
            << "Format(" << c.value << ", \"" << c.format << "\")";
    }
}

// The formats the system itself writes: axis labels, sort keys.
TEST(FormatNumber, SystemPatterns) {
    ExpectNumbers({
        {1234.5, "#,##0", "1,235"},
        {0, "#,##0", "0"},
        {-1234567.891, "#,##0", "-1,234,568"},
        {1234567.891, "#,##0.00", "1,234,567.89"},
        {0.5, "#,##0.00", "0.50"},
        {-1234.5, "#,##0.00", "-1,234.50"},
        {2.5, "0.", "3."},
        {2.25, "0.0", "2.3"},
        {1.0625, "0.000", "1.063"},
        {0.00049, "0.000", "0.000"},
        {123.456, "00000000000.00000", "00000000123.45600"},
        {-0.25, "00000000000.00000", "-00000000000.25000"},
        {12345678901.5, "00000000000.00000", "12345678901.50000"},
    });
}

TEST(FormatNumber, DigitPlaceholdersAndLiterals) {
    ExpectNumbers({
        {19, "000", "019"},
        {19, "###", "19"},
        {19, "#", "19"},
        {12345, "000", "12345"},
        {19.9, "###.00", "19.90"},
        {19.9, "###.##", "19.9"},
        {0.5, "#.##", ".5"},
        {12.5, ".00", "12.50"},
        {0.5, "0.##", "0.5"},
        {1, "0.##", "1."},
        {0, "#.##", "."},
        {0, "#", ""},
        {1.5, "0.0#", "1.5"},
        {1.505, "0.0#", "1.51"},
        {10, "$#", "$10"},
        {19, "\\####\\#", "#19#"},
        {19, "\"##\"###\"##\"", "##19##"},
        {1234567, "000-0000", "123-4567"},
        {12345678, "000-0000", "1234-5678"},
        {5551234, "(###) ###-####", "() 555-1234"},
        {-5, "(0)", "-(5)"},
        {5, "+0 \"m\"", "+5 m"},
    });
}

TEST(FormatNumber, ThousandsScalingPercentAndScientific) {
    ExpectNumbers({
        {1900000, "0,,", "2"},
        {1900000, "0,,.0", "1.9"},
        {1234567, "#,##0,", "1,235"},
        {1234567, "#,##0,.00", "1,234.57"},
        {1500, "0,", "2"},
        {499, "0,", "0"},
        {123456789, "#,#", "123,456,789"},
        {0.75, "0.0%", "75.0%"},
        {0.1234, "0.00%", "12.34%"},
        {-0.5, "0%", "-50%"},
        {1000, "0.00E+00", "1.00E+03"},
        {0.001, "0.00E+00", "1.00E-03"},
        {1234, "0.00E-00", "1.23E03"},
        {0.00123, "0.00E-00", "1.23E-03"},
        {1234, "0.00e+0", "1.23e+3"},
        {1234, "0.##E+00", "1.23E+03"},
        {1000, "0.##E+00", "1.E+03"},
        {123456, "00.0E+00", "12.3E+04"},
        {9.996, "0.00E+00", "1.00E+01"},
        {0, "0.00E+00", "0.00E+00"},
        {-1234, "0.00E+00", "-1.23E+03"},
        {1e-300, "0.0E+000", "1.0E-300"},
    });
}

TEST(FormatNumber, Sections) {
    ExpectNumbers({
        {5, "$#,##0;($#,##0)", "$5"},
        {-5, "$#,##0;($#,##0)", "($5)"},
        {0, "$#,##0;($#,##0)", "$0"},
        {-5, "$#,##0;;\\Z\\e\\r\\o", "-$5"},
        {0, "$#,##0;;\\Z\\e\\r\\o", "Zero"},
        {0, "0.0;(0.0);\"nil\"", "nil"},
        {0.001, "0.00;(0.00);\"nil\"", "0.00"},
        {-0.001, "0.00;(0.00);\"nil\"", "(0.00)"},
        {-3, "0;0", "3"},
        {-3, "0;;", "-3"},
        {0, "0;0;", "0"},
        {7, "0;(0);\\z;\\N\\u\\l\\l", "7"},
        {-7, "\"a;b\" 0;\\;0", ";7"},
    });
}

// Rounding is half away from zero on the fifteen digits a double reads as:
// 0.125 and 2.5 are exact halves, and 0.075, held as 0.07499999..., reads
// as 0.0750000000000000 and rounds up as a user reading it expects.
TEST(FormatNumber, RoundsHalfAwayFromZeroOnTheDigitsTheValueReadsAs) {
    ExpectNumbers({
        {2.5, "0", "3"},
        {3.5, "0", "4"},
        {-2.5, "0", "-3"},
        {0.5, "#", "1"},
        {0.4, "#", ""},
        {99.5, "0", "100"},
        {0.125, "0.00", "0.13"},
        {-0.125, "0.00", "-0.13"},
        {0.075, "$#.##", "$.08"},
        {0.075, "$#.###", "$.075"},
        {2.145, "#.00", "2.15"},
        {4.685, "#.00", "4.69"},
        {22.225, "0.00", "22.23"},
        {9.995, "0.00", "10.00"},
        {2.675, "0.00", "2.68"},
        {1.005, "0.00", "1.01"},
        {0.999, "0.00", "1.00"},
    });
}

TEST(FormatNumber, NegativeValueRoundingToZeroKeepsItsSign) {
    ExpectNumbers({
        {-0.001, "0.00", "-0.00"},
        {-0.4, "0", "-0"},
        {-0.001, "#,##0.00", "-0.00"},
        {-0.0, "0.00", "0.00"},
    });
}

TEST(FormatNumber, LargeAndTinyValuesShowFifteenDigits) {
    ExpectNumbers({
        {1e20, "#,##0", "100,000,000,000,000,000,000"},
        {123456789012345678.0, "0", "123456789012346000"},
        {999999999999999.9, "0", "1000000000000000"},
        {0.1, "0.00000000000000000000", "0.10000000000000000000"},
        {1.0 / 3.0, "0.000000000000000000", "0.333333333333333000"},
        {1e-20, "0.00", "0.00"},
        {-1e-20, "0.00", "-0.00"},
    });
    // Exact kinds keep every digit.
    EXPECT_EQ(FormatExact("1234567890123456789", "#,##0"), "1,234,567,890,123,456,789");
    EXPECT_EQ(FormatExact("922337203685477.5807", "#,##0.0000"), "922,337,203,685,477.5807");
    EXPECT_EQ(FormatExact("1.2345", "0.000"), "1.235");
    EXPECT_EQ(FormatExact("-0.0001", "0.00"), "-0.00");
    EXPECT_EQ(FormatExact("-12.5", ""), "-12.5");
}

TEST(FormatNumber, NamedFormats) {
    ExpectNumbers({
        {1234.5, "Currency", "$1,234.50"},
        {-1234.5, "Currency", "($1,234.50)"},
        {0, "Currency", "$0.00"},
        {1234.567, "currency", "$1,234.57"},
        {-1234.567, "Fixed", "-1234.57"},
        {0.5, "Fixed", "0.50"},
        {1234567.891, "Standard", "1,234,567.89"},
        {0.1234, "Percent", "12.34%"},
        {1234, "Scientific", "1.23E+03"},
        {0, "Yes/No", "No"},
        {5, "Yes/No", "Yes"},
        {-1, "YES/NO", "Yes"},
        {0, "True/False", "False"},
        {0.5, "True/False", "True"},
        {0, "On/Off", "Off"},
        {2, "on/off", "On"},
    });
}

double At(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
    return DateSerial(year, month, day) + TimeSerial(hour, minute, second);
}

struct DateCase {
    double serial;
    const char* format;
    const char* expected;
};

void ExpectDates(const std::vector<DateCase>& cases) {
    for (const DateCase& c : cases) {
        EXPECT_EQ(FormatDateSerial(c.serial, c.format), c.expected)
            << "serial " << c.serial << ", \"" << c.format << "\"";
    }
}

// Monday, January 5, 2004, 13:05:09.
const double kMonday = At(2004, 1, 5, 13, 5, 9);

TEST(FormatDate, NamedFormats) {
    ExpectDates({
        {kMonday, "General Date", "1/5/2004 1:05:09 PM"},
        {kMonday, "Long Date", "Monday, January 5, 2004"},
        {kMonday, "Medium Date", "05-Jan-04"},
        {kMonday, "Short Date", "1/5/2004"},
        {kMonday, "short date", "1/5/2004"},
        {kMonday, "Long Time", "1:05:09 PM"},
        {kMonday, "Medium Time", "01:05 PM"},
        {kMonday, "Short Time", "13:05"},
        {At(2004, 1, 5), "General Date", "1/5/2004"},
        {0.5, "General Date", "12:00:00 PM"},
    });
}

TEST(FormatDate, EveryCode) {
    ExpectDates({
        {kMonday, "d", "5"},
        {kMonday, "dd", "05"},
        {kMonday, "ddd", "Mon"},
        {kMonday, "dddd", "Monday"},
        {kMonday, "ddddd", "1/5/2004"},
        {kMonday, "dddddd", "Monday, January 5, 2004"},
        {kMonday, "w", "2"},
        {kMonday, "ww", "2"},
        {kMonday, "m", "1"},
        {kMonday, "mm", "01"},
        {kMonday, "mmm", "Jan"},
        {kMonday, "mmmm", "January"},
        {kMonday, "q", "1"},
        {kMonday, "y", "5"},
        {kMonday, "yy", "04"},
        {kMonday, "yyyy", "2004"},
        {kMonday, "h", "13"},
        {kMonday, "hh", "13"},
        {kMonday, "n", "5"},
        {kMonday, "nn", "05"},
        {kMonday, "s", "9"},
        {kMonday, "ss", "09"},
        {kMonday, "ttttt", "1:05:09 PM"},
        {kMonday, "c", "1/5/2004 1:05:09 PM"},
        {kMonday, "h AM/PM", "1 PM"},
        {kMonday, "h am/pm", "1 pm"},
        {kMonday, "h A/P", "1 P"},
        {kMonday, "h a/p", "1 p"},
        {kMonday, "h AMPM", "1 PM"},
        {kMonday, "HH:NN", "13:05"},
        {kMonday, "YYYY-MM-DD", "2004-01-05"},
        {At(2004, 1, 1), "ww w", "1 5"},
        {At(2000, 12, 31), "ww y", "54 366"},
        {At(2004, 11, 30), "q", "4"},
        {At(2004, 1, 5, 0, 0, 0), "h:nn AM/PM", "12:00 AM"},
        {At(2004, 1, 5, 12, 0, 0), "hh:nn am/pm", "12:00 pm"},
    });
}

// The examples of the runtime's documentation, for December 7, 1958, 20:50:35.
TEST(FormatDate, DocumentedExamples) {
    const double d = At(1958, 12, 7, 20, 50, 35);
    ExpectDates({
        {d, "m/d/yy", "12/7/58"},
        {d, "d-mmm", "7-Dec"},
        {d, "d-mmmm-yy", "7-December-58"},
        {d, "d mmmm", "7 December"},
        {d, "mmmm yy", "December 58"},
        {d, "hh:mm AM/PM", "08:50 PM"},
        {d, "h:mm:ss a/p", "8:50:35 p"},
        {d, "h:mm", "20:50"},
        {d, "h:mm:ss", "20:50:35"},
        {d, "m/d/yy h:mm", "12/7/58 20:50"},
    });
}

// "m" is the minute after an hour code or before a seconds code, literals
// between or not; elsewhere it is the month.
TEST(FormatDate, MinuteOrMonth) {
    const double d = At(2004, 5, 6, 10, 30, 15);
    ExpectDates({
        {d, "yyyy/mm/dd hh`mm`ss AM/PM", "2004/05/06 10`30`15 AM"},
        {d, "yyyymmddhhnn", "200405061030"},
        {d, "yyyy/mm/dd hh:nn:ss", "2004/05/06 10:30:15"},
        {d, "mm:ss", "30:15"},
        {d, "h m", "10 30"},
        {d, "m/d h", "5/6 10"},
        {d, "mm", "05"},
        {d, "h\" h \"mm", "10 h 30"},
    });
}

// The date keyword formats a host may set.
TEST(FormatDate, HostDateFormats) {
    ExpectDates({
        {kMonday, "m/d/yyyy", "1/5/2004"},
        {kMonday, "d/m/yy", "5/1/04"},
        {kMonday, "mm-dd-yy", "01-05-04"},
        {kMonday, "yy.mm.dd", "04.01.05"},
        {kMonday, "mmm dd, yy", "Jan 05, 04"},
        {kMonday, "dd mmmm yyyy", "05 January 2004"},
        {kMonday, "mmmm d\"\x01\", yyyy", "January 5\x01, 2004"},
        {kMonday, "d\"th of\" mmmm", "5th of January"},
        {kMonday, "\\d\\a\\y d", "day 5"},
    });
}

// Before 1900 the serial is negative and its fraction still counts forward
// from midnight; times round to the nearest second.
TEST(FormatDate, EarlyDatesAndRounding) {
    ExpectDates({
        {-1.25, "m/d/yyyy hh:nn", "12/29/1899 06:00"},
        {At(1800, 7, 4) - 0.75, "dddd m/d/yyyy h:nn", "Friday 7/4/1800 18:00"},
        {-0.5, "c", "12:00:00 PM"},
        {0, "c", "12:00:00 AM"},
        {1, "c", "12/31/1899"},
        {At(100, 1, 1), "m/d/yyyy", "1/1/100"},
        {At(2004, 1, 5) + (86399.6 / 86400.0), "m/d/yyyy hh:nn:ss", "1/6/2004 00:00:00"},
    });
}

TEST(FormatDate, NumbersAndDatesCrossOver) {
    EXPECT_EQ(FormatDouble(38000.5, "m/d/yyyy h:nn"), "1/14/2004 12:00");
    EXPECT_EQ(FormatDateSerial(38000.5, "0.00"), "38000.50");
    EXPECT_EQ(FormatDateSerial(38000.5, "Fixed"), "38000.50");
}

TEST(FormatDate, OutOfRangeRaisesOverflow) {
    EXPECT_EQ(FailureNumber([] { FormatDateSerial(3.0e6, "yyyy"); }), 6);
    EXPECT_EQ(FailureNumber([] { FormatDouble(-700000.0, "Short Date"); }), 6);
}

struct TextCase {
    const char* text;
    const char* format;
    const char* expected;
};

TEST(FormatText, Placeholders) {
    const std::vector<TextCase> cases = {
        {"abc", "@@@@@", "  abc"},
        {"abc", "!@@@@@", "abc  "},
        {"abc", "&&&&&", "abc"},
        {"abcdef", "@@@", "abcdef"},
        {"abcdef", "(@@@)", "(abcdef)"},
        {"abcdef", "!(@@@)", "(abcdef)"},
        {"5551234", "@@@-@@@@", "555-1234"},
        {"1234", "@@@-@@@@", "   -1234"},
        {"1234", "&&&-&&&&", "-1234"},
        {"1234", "!&&&-&&&&", "123-4"},
        {"Hello", ">", "HELLO"},
        {"Hello", "<", "hello"},
        {"été", ">@@@@", " ÉTÉ"},
        {"ab", "\\[@@@\\]", "[ ab]"},
        {"", "@;\\n\\o\\n\\e", "none"},
        {"x", "@;\\n\\o\\n\\e", "x"},
        {"abc", "0.00", "abc"},
        {"abc", "yyyy", "abc"},
    };
    for (const TextCase& c : cases) {
        EXPECT_EQ(FormatText(c.text, c.format), c.expected)
            << "\"" << c.text << "\", \"" << c.format << "\"";
    }
}

// ---- Through a Variant ------------------------------------------------------

struct VariantCase {
    Variant value;
    const char* format;
    const char* expected;
};

TEST(FormatVariant, Dispatch) {
    const std::vector<VariantCase> cases = {
        {Variant::Null(), "", ""},
        {Variant::Null(), "0.00", ""},
        {Variant::Null(), "0;0;0;\\N\\u\\l\\l", "Null"},
        {Variant::Null(), "@;\\-", "-"},
        {Variant(), "", ""},
        {Variant(1234.5), "", "1234.5"},
        {Variant(1234567.891), "General Number", "1234567.891"},
        {Variant(true), "", "True"},
        {Variant(true), "0", "-1"},
        {Variant(true), "Yes/No", "Yes"},
        {Variant(false), "True/False", "False"},
        {Variant(std::int16_t{5}), "000", "005"},
        {Variant(123), "@@@@@", "  123"},
        {Variant(0.1f), "0.0000000000", "0.1000000000"},
        {Variant(Currency::FromScaled(12345)), "0.000", "1.235"},
        {Variant(Currency::FromScaled(-12345000)), "Currency", "($1,234.50)"},
        {Variant::FromDate(38000.5), "0.00", "38000.50"},
        {Variant::FromDate(38000.5), "General Date", "1/14/2004 12:00:00 PM"},
        {Variant::FromDate(38000.5), "", "1/14/2004 12:00:00 PM"},
        {Variant(38000.0), "Short Date", "1/14/2004"},
        {Variant("1234.5"), "#,##0.00", "1,234.50"},
        {Variant("-3"), "0;(0)", "(3)"},
        {Variant("abc"), "0.00", "abc"},
        {Variant("abc"), "", "abc"},
        {Variant("2004-05-06 10:30"), "yyyymmddhhnn", "200405061030"},
        // Text under a date format is read as a date first: "0.5" is 0:05.
        {Variant("0.5"), "HH:MM AM/PM", "12:05 AM"},
        {Variant("2.523"), "HH:MM AM/PM", "12:33 PM"},
        {Variant(0.5), "HH:MM AM/PM", "12:00 PM"},
        {Variant("hello"), "@@@@@@@", "  hello"},
        {Variant("hello"), "Short Date", "hello"},
    };
    for (const VariantCase& c : cases) {
        EXPECT_EQ(Format(c.value, c.format), c.expected) << c.value << ", \"" << c.format << "\"";
    }
}

TEST(FormatVariant, DecimalKeepsAllItsDigits) {
    const auto value = Decimal::Parse("12345678901234567890.125");
    ASSERT_TRUE(value.has_value());
    EXPECT_EQ(Format(Variant(*value), "#,##0.00"), "12,345,678,901,234,567,890.13");
}

TEST(FormatVariant, ArraysRaiseTypeMismatch) {
    EXPECT_EQ(FailureNumber([] { Format(Variant(VArray()), "0"); }), 13);
}

}  // namespace
}  // namespace vorn
