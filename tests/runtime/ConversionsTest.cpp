#include "runtime/Conversions.h"

#include <gtest/gtest.h>

#include "support/TestSupport.h"

#include <cmath>
#include <ctime>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "runtime/DateSerial.h"
#include "runtime/VornError.h"

// Expected values are those the classic runtime gives in the en-US locale:
// from its documentation's examples and from the conversions it is known for.
namespace vorn {
namespace {

using testing::FailureNumber;


double Date(int y, int m, int d, int h = 0, int mi = 0, int s = 0) {
    const double day = DateSerial(y, m, d);
    const double time = TimeSerial(h, mi, s);
    // For days before 1899-12-30 the time still counts forward from midnight.
    return day < 0 ? day - time : day + time;
}

int ThisYear() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    return local.tm_year + 1900;
}

// ---- CStr ------------------------------------------------------------------

TEST(CStr, Doubles) {
    struct Case { double value; const char* text; };
    const std::vector<Case> cases = {
        {1e15, "1E+15"},
        {123456789012345.0, "123456789012345"},
        {1234567890123456.0, "1.23456789012346E+15"},
        {0.0001, "0.0001"},
        {0.00001, "1E-05"},
        {1.0 / 3.0, "0.333333333333333"},
        {2.0 / 3.0, "0.666666666666667"},
        {1.5e20, "1.5E+20"},
        {-1.5e-20, "-1.5E-20"},
        {1e100, "1E+100"},
        {437.324, "437.324"},
        {0.1 + 0.2, "0.3"},
        {100.0, "100"},
        {-2.5, "-2.5"},
        {-0.0, "0"},
        {0.0, "0"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(CStr(Variant(c.value)), c.text) << c.value;
    }
}

TEST(CStr, SinglesKeepSevenDigits) {
    struct Case { float value; const char* text; };
    const std::vector<Case> cases = {
        {1.0f / 3.0f, "0.3333333"},
        {0.1f, "0.1"},
        {1e7f, "1E+07"},
        {1234567.0f, "1234567"},
        {static_cast<float>(75.3421115), "75.34211"},
        {-0.5f, "-0.5"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(CStr(Variant(c.value)), c.text) << c.value;
    }
}

TEST(CStr, OtherKinds) {
    EXPECT_EQ(CStr(Variant()), "");
    EXPECT_EQ(CStr(Variant(true)), "True");
    EXPECT_EQ(CStr(Variant(false)), "False");
    EXPECT_EQ(CStr(Variant(std::int16_t{-32768})), "-32768");
    EXPECT_EQ(CStr(Variant(std::uint8_t{255})), "255");
    EXPECT_EQ(CStr(Variant(2147483647)), "2147483647");
    EXPECT_EQ(CStr(Variant(Currency::FromScaled(10864292))), "1086.4292");
    EXPECT_EQ(CStr(Variant(Currency::FromScaled(15000))), "1.5");
    EXPECT_EQ(CStr(Variant(Currency::FromScaled(-1))), "-0.0001");
    EXPECT_EQ(CStr(Variant(Currency::FromScaled(120000))), "12");
    EXPECT_EQ(CStr(Variant(*Decimal::Parse("10000000.0587"))), "10000000.0587");
    EXPECT_EQ(CStr(Variant("text")), "text");
    // A byte buffer holds UTF-16 text.
    EXPECT_EQ(CStr(Variant(Variant::Binary{'H', 0, 'i', 0, 0xE9, 0})), "Hi\xC3\xA9");
    EXPECT_EQ(FailureNumber([] { CStr(Variant::Null()); }), 94);
    EXPECT_EQ(FailureNumber([] { CStr(Variant(VArray())); }), 13);
}

TEST(CStr, Dates) {
    struct Case { double serial; const char* text; };
    const std::vector<Case> cases = {
        {Date(2000, 1, 1), "1/1/2000"},
        {Date(2000, 1, 1, 12), "1/1/2000 12:00:00 PM"},
        {Date(2011, 6, 30, 1, 20, 34), "6/30/2011 1:20:34 AM"},
        {Date(2004, 12, 25, 23, 59, 59), "12/25/2004 11:59:59 PM"},
        {0.0, "12:00:00 AM"},
        {0.5, "12:00:00 PM"},
        {0.75, "6:00:00 PM"},
        {TimeSerial(0, 0, 1), "12:00:01 AM"},
        {-1.0, "12/29/1899"},
        {1.0, "12/31/1899"},
        {2958465.0, "12/31/9999"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(CStr(Variant::FromDate(c.serial)), c.text) << c.serial;
    }
}

TEST(Str, LeadingBlankForNonNegative) {
    EXPECT_EQ(Str(Variant(123)), Variant(" 123"));
    EXPECT_EQ(Str(Variant(-1)), Variant("-1"));
    EXPECT_EQ(Str(Variant(0.5)), Variant(" .5"));
    EXPECT_EQ(Str(Variant(-0.25)), Variant("-.25"));
    EXPECT_EQ(Str(Variant(1e15)), Variant(" 1E+15"));
    EXPECT_EQ(Str(Variant("42")), Variant(" 42"));
    EXPECT_TRUE(Str(Variant::Null()).IsNull());
    EXPECT_EQ(FailureNumber([] { Str(Variant("x")); }), 13);
}

// ---- IsNumeric -------------------------------------------------------------

TEST(IsNumeric, Text) {
    struct Case { const char* text; bool numeric; };
    const std::vector<Case> cases = {
        {"53", true},
        {"459.95", true},
        {"45 Help", false},
        {"", false},
        {" ", false},
        {"  12  ", true},
        {"\t7\t", true},
        {"+5", true},
        {"-5", true},
        {"5-", true},   // a trailing sign is read
        {"5+", true},
        {"-5-", false},  // but not a second one
        {"--5", false},
        {"(5)", true},   // parentheses make it negative
        {"(5", false},
        {"5)", false},
        {"1,000", true},
        {"1,000.50", true},
        {"1,00,0", true},  // separators are not checked for grouping
        {",5", false},     // nor allowed before the first digit
        {"1.5,5", false},  // nor in the fraction
        {"1 000", false},
        {"$5", true},
        {"$1,234.56", true},
        {"5$", true},
        {"$", false},
        {"1e5", true},
        {"1E-5", true},
        {"1.5e+20", true},
        {"1d5", true},     // the double-precision exponent letter
        {"1D-2", true},
        {"1e", false},
        {"1e+", false},
        {"e5", false},
        {"&H1F", true},
        {"&hff", true},
        {"&O17", true},
        {"&H", false},
        {"&HG", false},
        {"0x10", false},
        {".5", true},
        {"5.", true},
        {".", false},
        {"1.2.3", false},
        {"abc", false},
        {"1/1/2000", false},
        {"12:30", false},
        {"True", false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(IsNumeric(Variant(c.text)), c.numeric) << '"' << c.text << '"';
    }
}

TEST(IsNumeric, Kinds) {
    EXPECT_TRUE(IsNumeric(Variant()));
    EXPECT_FALSE(IsNumeric(Variant::Null()));
    EXPECT_TRUE(IsNumeric(Variant(true)));
    EXPECT_FALSE(IsNumeric(Variant::FromDate(36526.0)));
    EXPECT_TRUE(IsNumeric(Variant(5)));
    EXPECT_TRUE(IsNumeric(Variant(2.5)));
    EXPECT_TRUE(IsNumeric(Variant(Currency::FromScaled(1))));
    EXPECT_TRUE(IsNumeric(Variant(Decimal::FromInt64(1))));
    EXPECT_FALSE(IsNumeric(Variant(VArray())));
}

// ---- Val -------------------------------------------------------------------

TEST(Val, ReadsFromTheLeft) {
    struct Case { const char* text; double value; };
    const std::vector<Case> cases = {
        {"2457", 2457},
        {" 2 45 7", 2457},
        {"24 and 57", 24},
        {"    1615 198th Street N.E.", 1615198},
        {"1 2 3", 123},
        {"\t1\n2", 12},
        {"&HFFFF", -1},
        {"&H10000", 65536},
        {"&HFFFFFFFF", -1},
        {"&H7FFF", 32767},
        {"&O17", 15},
        {"&O177777", -1},
        {"1e5", 100000},
        {"1d5", 100000},
        {"12E-2", 0.12},
        {"1e", 1},
        {"", 0},
        {"abc", 0},
        {"1,000", 1},
        {"$5", 0},
        {".5", 0.5},
        {"-3.5abc", -3.5},
        {"+7", 7},
        {"1.2.3", 1.2},
        {"- 4", -4},
    };
    for (const Case& c : cases) {
        EXPECT_DOUBLE_EQ(Val(c.text), c.value) << '"' << c.text << '"';
    }
}

// ---- Dates -----------------------------------------------------------------

TEST(ParseDate, AcceptedForms) {
    struct Case { const char* text; double serial; };
    const int year = ThisYear();
    const std::vector<Case> cases = {
        {"04/28/2014", Date(2014, 4, 28)},
        {"April 28, 2014", Date(2014, 4, 28)},
        {"1/2/1970", Date(1970, 1, 2)},
        {"1-2-1970", Date(1970, 1, 2)},
        {"1 2 1970", Date(1970, 1, 2)},
        {"6/30/11", Date(2011, 6, 30)},
        {"1/2/29", Date(2029, 1, 2)},
        {"1/2/30", Date(1930, 1, 2)},
        {"1/2/99", Date(1999, 1, 2)},
        {"1/2/00", Date(2000, 1, 2)},
        {"2004/01/05", Date(2004, 1, 5)},
        {"2004-01-05", Date(2004, 1, 5)},
        {"1970-1-13", Date(1970, 1, 13)},
        {"2004/01/05 10:30:15", Date(2004, 1, 5, 10, 30, 15)},
        {"2013-05-14 02:04:12", Date(2013, 5, 14, 2, 4, 12)},
        {"6/30/2011 01:20:34", Date(2011, 6, 30, 1, 20, 34)},
        {"6/30/2011 01:20:34 AM", Date(2011, 6, 30, 1, 20, 34)},
        {"6/30/2011 01:20:34 PM", Date(2011, 6, 30, 13, 20, 34)},
        {"1/1/2000 12:00 AM", Date(2000, 1, 1)},
        {"1/1/2000 12:00 PM", Date(2000, 1, 1, 12)},
        {"January 5, 2004", Date(2004, 1, 5)},
        {"5-Jan-2004", Date(2004, 1, 5)},
        {"Jan 5 2004", Date(2004, 1, 5)},
        {"2 January 1970", Date(1970, 1, 2)},
        {"2/Jan/1970", Date(1970, 1, 2)},
        {"Monday, January 5, 2004", Date(2004, 1, 5)},
        {"13/1/2004", Date(2004, 1, 13)},   // 13 cannot be a month
        {"13-1-1970", Date(1970, 1, 13)},
        {"14 2 3", Date(2014, 2, 3)},       // then year, month, day
        {"32 2 3", Date(1932, 2, 3)},
        {"2 14 3", Date(2003, 2, 14)},
        {"30 2", Date(1930, 2, 1)},         // two numbers that are no day: month and year
        {"2 30", Date(1930, 2, 1)},
        {"Jan 35", Date(1935, 1, 1)},
        {"35-Jan", Date(1935, 1, 1)},
        {"1/2", Date(year, 1, 2)},          // no year: the current one
        {"14 1", Date(year, 1, 14)},
        {"Jan 2", Date(year, 1, 2)},
        {"12:30", TimeSerial(12, 30, 0)},
        {"3:5", TimeSerial(3, 5, 0)},
        {"12:30:45", TimeSerial(12, 30, 45)},
        {"4:35:47 PM", TimeSerial(16, 35, 47)},
        {"1 am", TimeSerial(1, 0, 0)},
        {"12:59 AM", TimeSerial(0, 59, 0)},
        {"12:59 a", TimeSerial(0, 59, 0)},
        {"00:00 pm", 0.5},
        {"13:00 AM", TimeSerial(13, 0, 0)},  // AM/PM is ignored past 12
        {"04.28.14", TimeSerial(4, 28, 14)},  // "." separates times
        {"2.5", TimeSerial(2, 5, 0)},
    };
    for (const Case& c : cases) {
        const std::optional<double> serial = ParseDate(c.text);
        ASSERT_TRUE(serial.has_value()) << '"' << c.text << '"';
        EXPECT_NEAR(*serial, c.serial, 1e-9) << '"' << c.text << '"';
    }
}

TEST(ParseDate, RefusedForms) {
    const std::vector<const char*> cases = {
        "", "abc", "True", "2004-13-45", "13/32/2014", "04.28.2014", "02.01.1970",
        "0", "1", "0.60", "24.00", "0:60", "24:00", "1 2 am", "1.5 2", "2 32 3",
        "1 2 3 4", "1/2/3/4", "1;2;3", "(1:2)", "1.1-", "-1.1", ".0", "0.",
        "2013-05-14 02:04:12.017", "2/29/2001", "2004-05-06T10:00:00", "32 49",
    };
    for (const char* text : cases) {
        EXPECT_FALSE(ParseDate(text).has_value()) << '"' << text << '"';
    }
}

TEST(IsDate, Kinds) {
    EXPECT_TRUE(IsDate(Variant("2/29/2004")));
    EXPECT_FALSE(IsDate(Variant("2/29/2003")));
    EXPECT_TRUE(IsDate(Variant::FromDate(5.0)));
    EXPECT_FALSE(IsDate(Variant(5)));
    EXPECT_FALSE(IsDate(Variant(36526.0)));
    EXPECT_FALSE(IsDate(Variant()));
    EXPECT_FALSE(IsDate(Variant::Null()));
}

TEST(CDate, ConvertsAndFails) {
    EXPECT_DOUBLE_EQ(CDate(Variant("February 12, 1969")), Date(1969, 2, 12));
    EXPECT_DOUBLE_EQ(CDate(Variant(5)), 5.0);
    EXPECT_DOUBLE_EQ(CDate(Variant(36526.5)), 36526.5);
    EXPECT_DOUBLE_EQ(CDate(Variant(true)), -1.0);
    EXPECT_EQ(CVDate(Variant("1/1/2000")), Variant::FromDate(Date(2000, 1, 1)));
    EXPECT_TRUE(CVDate(Variant::Null()).IsNull());
    EXPECT_EQ(FailureNumber([] { CDate(Variant("abc")); }), 13);
    EXPECT_EQ(FailureNumber([] { CDate(Variant("36526")); }), 13);  // numbers in text are no dates
    EXPECT_EQ(FailureNumber([] { CDate(Variant::Null()); }), 94);
    EXPECT_EQ(FailureNumber([] { CDate(Variant(3e6)); }), 6);
    EXPECT_EQ(FailureNumber([] { CDate(Variant(-700000)); }), 6);
}

// ---- The C* conversions ----------------------------------------------------

// One conversion of one value: the expected number, or the expected error.
struct ConversionCase {
    const char* name;
    std::function<double()> convert;
    double expected;
    int error = 0;
};

void ExpectConversions(const std::vector<ConversionCase>& cases) {
    for (const ConversionCase& c : cases) {
        if (c.error != 0) {
            EXPECT_EQ(FailureNumber([&] { c.convert(); }), c.error) << c.name;
        } else {
            double value = 0;
            EXPECT_EQ(FailureNumber([&] { value = c.convert(); }), 0) << c.name;
            EXPECT_DOUBLE_EQ(value, c.expected) << c.name;
        }
    }
}

template <class F>
std::function<double()> Of(F f, Variant v) {
    return [f, v] { return static_cast<double>(f(v)); };
}

TEST(CInt, RoundsHalfToEven) {
    const auto cint = [](const Variant& v) { return CInt(v); };
    ExpectConversions({
        {"CInt(2.5)", Of(cint, Variant(2.5)), 2},
        {"CInt(3.5)", Of(cint, Variant(3.5)), 4},
        {"CInt(-2.5)", Of(cint, Variant(-2.5)), -2},
        {"CInt(0.5)", Of(cint, Variant(0.5)), 0},
        {"CInt(1.5)", Of(cint, Variant(1.5)), 2},
        {"CInt(2345.5678)", Of(cint, Variant(2345.5678)), 2346},
        {"CInt(-32768.5)", Of(cint, Variant(-32768.5)), -32768},
        {"CInt(32767.5)", Of(cint, Variant(32767.5)), 0, 6},
        {"CInt(40000&)", Of(cint, Variant(40000)), 0, 6},
        {"CInt(True)", Of(cint, Variant(true)), -1},
        {"CInt(Empty)", Of(cint, Variant()), 0},
        {"CInt(\"1,000\")", Of(cint, Variant("1,000")), 1000},
        {"CInt(\" 12 \")", Of(cint, Variant(" 12 ")), 12},
        {"CInt(\"(12)\")", Of(cint, Variant("(12)")), -12},
        {"CInt(\"2.5\")", Of(cint, Variant("2.5")), 2},
        {"CInt(\"&HFFFF\")", Of(cint, Variant("&HFFFF")), -1},
        {"CInt(CCur 2.5)", Of(cint, Variant(Currency::FromScaled(25000))), 2},
        {"CInt(CCur 3.5)", Of(cint, Variant(Currency::FromScaled(35000))), 4},
        {"CInt(\"True\")", Of(cint, Variant("True")), 0, 13},
        {"CInt(\"\")", Of(cint, Variant("")), 0, 13},
        {"CInt(\"abc\")", Of(cint, Variant("abc")), 0, 13},
        {"CInt(Null)", Of(cint, Variant::Null()), 0, 94},
    });
}

TEST(CLng, RoundsAndChecksRange) {
    const auto clng = [](const Variant& v) { return CLng(v); };
    ExpectConversions({
        {"CLng(25427.45)", Of(clng, Variant(25427.45)), 25427},
        {"CLng(25427.55)", Of(clng, Variant(25427.55)), 25428},
        {"CLng(-2147483648.5)", Of(clng, Variant(-2147483648.5)), -2147483648.0},
        {"CLng(2147483647.5)", Of(clng, Variant(2147483647.5)), 0, 6},
        {"CLng(Date)", Of(clng, Variant::FromDate(36526.75)), 36527},
        {"CLng(CDec 2.5)", Of(clng, Variant(*Decimal::Parse("2.5"))), 2},
        {"CLng(\"&H10000\")", Of(clng, Variant("&H10000")), 65536},
        {"CLng(\"5-\")", Of(clng, Variant("5-")), -5},
        {"CLng(\"1/1/2000\")", Of(clng, Variant("1/1/2000")), 0, 13},
        {"CLng(Array)", Of(clng, Variant(VArray())), 0, 13},
    });
}

TEST(CByte, RangeZeroTo255) {
    const auto cbyte = [](const Variant& v) { return CByte(v); };
    ExpectConversions({
        {"CByte(125.5678)", Of(cbyte, Variant(125.5678)), 126},
        {"CByte(-0.5)", Of(cbyte, Variant(-0.5)), 0},
        {"CByte(254.5)", Of(cbyte, Variant(254.5)), 254},
        {"CByte(255.5)", Of(cbyte, Variant(255.5)), 0, 6},
        {"CByte(-1)", Of(cbyte, Variant(-1)), 0, 6},
    });
}

TEST(CDbl, ReadsLocaleText) {
    const auto cdbl = [](const Variant& v) { return CDbl(v); };
    ExpectConversions({
        {"CDbl(\"1,000\")", Of(cdbl, Variant("1,000")), 1000},
        {"CDbl(\"$5\")", Of(cdbl, Variant("$5")), 5},
        {"CDbl(\"$1,234.50\")", Of(cdbl, Variant("$1,234.50")), 1234.5},
        {"CDbl(\"1d2\")", Of(cdbl, Variant("1d2")), 100},
        {"CDbl(\" 1.5 \")", Of(cdbl, Variant(" 1.5 ")), 1.5},
        {"CDbl(\"(2.5)\")", Of(cdbl, Variant("(2.5)")), -2.5},
        {"CDbl(\".5\")", Of(cdbl, Variant(".5")), 0.5},
        {"CDbl(Empty)", Of(cdbl, Variant()), 0},
        {"CDbl(True)", Of(cdbl, Variant(true)), -1},
        {"CDbl(Date)", Of(cdbl, Variant::FromDate(36526.25)), 36526.25},
        {"CDbl(CCur)", Of(cdbl, Variant(Currency::FromScaled(12345))), 1.2345},
        {"CDbl(\"abc\")", Of(cdbl, Variant("abc")), 0, 13},
        {"CDbl(\"1/1/2000\")", Of(cdbl, Variant("1/1/2000")), 0, 13},
        {"CDbl(\"True\")", Of(cdbl, Variant("True")), 0, 13},
        {"CDbl(Null)", Of(cdbl, Variant::Null()), 0, 94},
    });
}

TEST(CSng, SinglePrecision) {
    EXPECT_EQ(CStr(Variant(CSng(Variant(75.3421115)))), "75.34211");
    EXPECT_EQ(CStr(Variant(CSng(Variant(75.3421555)))), "75.34216");
    EXPECT_EQ(CSng(Variant("0.1")), 0.1f);
    EXPECT_EQ(FailureNumber([] { CSng(Variant(1e39)); }), 6);
}

TEST(CCur, FourDecimalsHalfToEven) {
    EXPECT_EQ(CCur(Variant(543.214588 * 2)), Currency::FromScaled(10864292));
    EXPECT_EQ(CCur(Variant("1,234.56789")), Currency::FromScaled(12345679));
    EXPECT_EQ(CCur(Variant("0.00015")), Currency::FromScaled(2));
    EXPECT_EQ(CCur(Variant("0.00025")), Currency::FromScaled(2));
    EXPECT_EQ(CCur(Variant("$-3")), Currency::FromScaled(-30000));
    EXPECT_EQ(CCur(Variant(7)), Currency::FromScaled(70000));
    EXPECT_EQ(CCur(Variant(*Decimal::Parse("922337203685477.5807"))),
              Currency::FromScaled(9223372036854775807));
    EXPECT_EQ(FailureNumber([] { CCur(Variant(1e15)); }), 6);
    EXPECT_EQ(FailureNumber([] { CCur(Variant("922337203685477.5808")); }), 6);
    EXPECT_EQ(FailureNumber([] { CCur(Variant("x")); }), 13);
}

TEST(CDec, ExactDigits) {
    EXPECT_EQ(CDec(Variant("79228162514264337593543950335")).ToString(),
              "79228162514264337593543950335");
    EXPECT_EQ(CDec(Variant("0.0000000000000000000000000001")).ToString(),
              "0.0000000000000000000000000001");
    EXPECT_EQ(CDec(Variant("1,234.5")).ToString(), "1234.5");
    EXPECT_EQ(CDec(Variant(0.1)).ToString(), "0.1");  // fifteen digits of the double
    EXPECT_EQ(CDec(Variant(0.1f)).ToString(), "0.1");
    EXPECT_EQ(CDec(Variant(Currency::FromScaled(100000000587))).ToString(), "10000000.0587");
    EXPECT_EQ(FailureNumber([] { CDec(Variant("79228162514264337593543950336")); }), 6);
}

TEST(CBool, TextAndNumbers) {
    EXPECT_TRUE(CBool(Variant("True")));
    EXPECT_TRUE(CBool(Variant("true")));
    EXPECT_FALSE(CBool(Variant("FALSE")));
    EXPECT_TRUE(CBool(Variant("#TRUE#")));
    EXPECT_FALSE(CBool(Variant("0")));
    EXPECT_TRUE(CBool(Variant("-1")));
    EXPECT_TRUE(CBool(Variant("5")));
    EXPECT_TRUE(CBool(Variant(0.5)));
    EXPECT_FALSE(CBool(Variant()));
    EXPECT_TRUE(CBool(Variant(Currency::FromScaled(1))));
    EXPECT_EQ(FailureNumber([] { CBool(Variant("abc")); }), 13);
    EXPECT_EQ(FailureNumber([] { CBool(Variant("")); }), 13);
    EXPECT_EQ(FailureNumber([] { CBool(Variant(" True")); }), 13);
    EXPECT_EQ(FailureNumber([] { CBool(Variant::Null()); }), 94);
}

// ---- Number functions ------------------------------------------------------

TEST(IntFix, TruncateKeepingKind) {
    EXPECT_EQ(Int(Variant(99.8)), Variant(99.0));
    EXPECT_EQ(Fix(Variant(99.2)), Variant(99.0));
    EXPECT_EQ(Int(Variant(-99.8)), Variant(-100.0));
    EXPECT_EQ(Fix(Variant(-99.8)), Variant(-99.0));
    EXPECT_EQ(Int(Variant(-99.2)), Variant(-100.0));
    EXPECT_EQ(Int(Variant(-2.5f)), Variant(-3.0f));
    EXPECT_EQ(Int(Variant(Currency::FromScaled(-15000))), Variant(Currency::FromScaled(-20000)));
    EXPECT_EQ(Fix(Variant(Currency::FromScaled(-15000))), Variant(Currency::FromScaled(-10000)));
    EXPECT_EQ(Int(Variant(*Decimal::Parse("-1.5"))).AsDecimal().ToString(), "-2");
    EXPECT_EQ(Int(Variant::FromDate(36526.75)), Variant::FromDate(36526.0));
    EXPECT_EQ(Int(Variant("2.5")), Variant(2.0));
    EXPECT_EQ(Int(Variant(7)), Variant(7));
    EXPECT_EQ(Int(Variant(true)), Variant(std::int16_t{-1}));
    EXPECT_TRUE(Int(Variant::Null()).IsNull());
}

TEST(Round, HalfToEven) {
    EXPECT_EQ(Round(Variant(2.5)), Variant(2.0));
    EXPECT_EQ(Round(Variant(3.5)), Variant(4.0));
    EXPECT_EQ(Round(Variant(-2.5)), Variant(-2.0));
    EXPECT_EQ(Round(Variant(0.125), 2), Variant(0.12));
    EXPECT_EQ(Round(Variant(0.375), 2), Variant(0.38));
    EXPECT_EQ(Round(Variant(1.23456), 3), Variant(1.235));
    EXPECT_EQ(Round(Variant(1e20), 2), Variant(1e20));
    EXPECT_EQ(Round(Variant(Currency::FromScaled(12345)), 3), Variant(Currency::FromScaled(12340)));
    EXPECT_EQ(Round(Variant(*Decimal::Parse("2.675")), 2).AsDecimal().ToString(), "2.68");
    EXPECT_EQ(Round(Variant(5)), Variant(5));
    EXPECT_TRUE(Round(Variant::Null()).IsNull());
    EXPECT_EQ(FailureNumber([] { Round(Variant(1.5), -1); }), 5);
}

TEST(AbsSgn, SignsAndWidening) {
    EXPECT_EQ(Abs(Variant(-2.5)), Variant(2.5));
    EXPECT_EQ(Abs(Variant(std::int16_t{-32768})), Variant(32768));
    EXPECT_EQ(Abs(Variant(std::int16_t{-5})), Variant(std::int16_t{5}));
    EXPECT_EQ(Abs(Variant(true)), Variant(std::int16_t{1}));
    EXPECT_EQ(Abs(Variant(Currency::FromScaled(-5))), Variant(Currency::FromScaled(5)));
    EXPECT_EQ(Abs(Variant("-3")), Variant(3.0));
    EXPECT_TRUE(Abs(Variant::Null()).IsNull());
    EXPECT_EQ(Sgn(Variant(-0.1)), Variant(std::int16_t{-1}));
    EXPECT_EQ(Sgn(Variant(0)), Variant(std::int16_t{0}));
    EXPECT_EQ(Sgn(Variant("12")), Variant(std::int16_t{1}));
    EXPECT_EQ(FailureNumber([] { Sgn(Variant::Null()); }), 94);
}

TEST(HexOct, BitPatterns) {
    EXPECT_EQ(Hex(Variant(255)), Variant("FF"));
    EXPECT_EQ(Hex(Variant(std::int16_t{-1})), Variant("FFFF"));
    EXPECT_EQ(Hex(Variant(-1)), Variant("FFFFFFFF"));
    EXPECT_EQ(Hex(Variant(true)), Variant("FFFF"));
    EXPECT_EQ(Hex(Variant(255.5)), Variant("100"));  // rounded to even first
    EXPECT_EQ(Hex(Variant()), Variant("0"));
    EXPECT_TRUE(Hex(Variant::Null()).IsNull());
    EXPECT_EQ(Oct(Variant(8)), Variant("10"));
    EXPECT_EQ(Oct(Variant(std::int16_t{-1})), Variant("177777"));
    EXPECT_EQ(Hex(459), "1CB");
    EXPECT_EQ(Oct(459), "713");
    EXPECT_EQ(FailureNumber([] { Hex(Variant(1e10)); }), 6);
}

// ---- Characters ------------------------------------------------------------

TEST(Characters, ChrAscSpaceString) {
    EXPECT_EQ(Chr(65), "A");
    EXPECT_EQ(Chr(233), "\xC3\xA9");         // Latin-1 e acute
    EXPECT_EQ(Chr(8364), "\xE2\x82\xAC");    // beyond 255: the code point
    EXPECT_EQ(Chr(0), std::string(1, '\0'));
    EXPECT_EQ(FailureNumber([] { Chr(-1); }), 5);
    EXPECT_EQ(FailureNumber([] { Chr(0xD800); }), 5);
    EXPECT_EQ(Asc("Apple"), 65);
    EXPECT_EQ(Asc("\xC3\xA9t\xC3\xA9"), 233);
    EXPECT_EQ(FailureNumber([] { Asc(""); }), 5);
    EXPECT_EQ(Space(3), "   ");
    EXPECT_EQ(Space(0), "");
    EXPECT_EQ(String(3, "ab"), "aaa");
    EXPECT_EQ(String(2, "\xC3\xA9x"), "\xC3\xA9\xC3\xA9");
    EXPECT_EQ(String(2, 65), "AA");
    EXPECT_EQ(String(2, 321), "AA");  // codes above 255 wrap
    EXPECT_EQ(FailureNumber([] { String(-1, "a"); }), 5);
    EXPECT_EQ(FailureNumber([] { String(1, ""); }), 5);
    EXPECT_EQ(FailureNumber([] { Space(-1); }), 5);
}

// ---- Split and Join --------------------------------------------------------

std::vector<std::string> Items(const VArray& array) {
    return array.ToStrings();
}

TEST(Split, Bounds) {
    const VArray empty = Split("", ",");
    EXPECT_TRUE(empty.IsDimensioned());
    EXPECT_EQ(empty.LBound(), 0);
    EXPECT_EQ(empty.UBound(), -1);

    const VArray parts = Split("a,b,,c", ",");
    EXPECT_EQ(parts.LBound(), 0);
    EXPECT_EQ(parts.UBound(), 3);
    EXPECT_EQ(Items(parts), (std::vector<std::string>{"a", "b", "", "c"}));
    EXPECT_EQ(Items(Split("a,b,", ",")), (std::vector<std::string>{"a", "b", ""}));
    EXPECT_EQ(Items(Split("one two")), (std::vector<std::string>{"one", "two"}));
    EXPECT_EQ(Items(Split("abc", "")), (std::vector<std::string>{"abc"}));
    EXPECT_EQ(Items(Split("a||b", "||")), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(Items(Split("a,b,c", ",", 2)), (std::vector<std::string>{"a", "b,c"}));
    EXPECT_EQ(Split("a,b", ",", 0).UBound(), -1);
}

TEST(Split, TextCompareIgnoresCase) {
    EXPECT_EQ(Items(Split("1x2X3", "x")), (std::vector<std::string>{"1", "2X3"}));
    EXPECT_EQ(Items(Split("1x2X3", "x", -1, true)), (std::vector<std::string>{"1", "2", "3"}));
    EXPECT_EQ(Items(Split("\xC3\xA9" "a\xC3\x89" "b", "\xC3\xA9", -1, true)),
              (std::vector<std::string>{"", "a", "b"}));
}

TEST(Join, ItemsAsText) {
    EXPECT_EQ(Join(Split("a,b,,c", ","), "-"), "a-b--c");
    EXPECT_EQ(Join(VArray::FromItems({Variant(1), Variant(), Variant(true), Variant(2.5)}), ","),
              "1,,True,2.5");
    EXPECT_EQ(Join(Split("", ","), ","), "");
    EXPECT_EQ(Join(VArray(), ","), "");
    VArray grid;
    grid.ReDim(0, 1, 0, 1);
    EXPECT_EQ(FailureNumber([&] { Join(grid, ","); }), 5);
}

}  // namespace
}  // namespace vorn
