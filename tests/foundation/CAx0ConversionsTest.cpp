#include <gtest/gtest.h>

#include "support/TestSupport.h"

#include <string>
#include <vector>

#include "foundation/CAx0.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/ErrorRecord.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

using testing::FailureNumber;

struct NumberCase {
    std::string text;
    double asDouble;
    std::int32_t asLong;
    std::int16_t asInteger;
};

TEST(CAx0Conversions, TextToNumbersNeverFailsAndClearsTheError) {
    const CAx0 ax;
    const std::vector<NumberCase> cases = {
        {"2.5", 2.5, 2, 2},  // integers round half to even
        {" -7 ", -7, -7, -7},
        {"abc", 0, 0, 0},
        {"True", -1, -1, -1},
        {"40000", 40000, 40000, 0},  // out of 16-bit range
        {"3000000000", 3e9, 0, 0},   // out of 32-bit range
        {"1e400", 0, 0, 0},
    };
    for (const NumberCase& c : cases) {
        Err().Set(VornError::Overflow("earlier"));
        EXPECT_DOUBLE_EQ(ax.CVDblFnD(c.text), c.asDouble) << c.text;
        EXPECT_FLOAT_EQ(ax.CVSngFnN(c.text), static_cast<float>(c.asDouble)) << c.text;
        EXPECT_EQ(ax.CVLngFnL(c.text), c.asLong) << c.text;
        EXPECT_EQ(ax.CVIntFnI(c.text), c.asInteger) << c.text;
        EXPECT_FALSE(Err().IsSet()) << c.text;
    }
    for (const auto& [text, expected] : std::vector<std::pair<std::string, bool>>{
             {" True ", true}, {"0", false}, {"5", true}, {"yes", false}}) {
        EXPECT_EQ(ax.CVBoolFnB(text), expected) << text;
    }
}

TEST(CAx0Conversions, VariantsReadOnlyWhenNumeric) {
    const CAx0 ax;
    EXPECT_TRUE(ax.CVarBoolFnB(Variant("-1")));
    EXPECT_TRUE(ax.CVarBoolFnB(Variant(true)));
    EXPECT_FALSE(ax.CVarBoolFnB(Variant("True")));  // text that is no number
    EXPECT_FALSE(ax.CVarBoolFnB(Variant::Null()));
    EXPECT_FALSE(ax.CVarBoolFnB(Variant::FromDate(1.0)));

    EXPECT_EQ(ax.CVarLongFnL(Variant("12")), 12);
    EXPECT_EQ(ax.CVarLongFnL(Variant(2.5)), 2);
    EXPECT_EQ(ax.CVarLongFnL(Variant::Null()), 0);
    EXPECT_EQ(ax.CVarLongFnL(Variant(1e12)), 0);

    EXPECT_EQ(ax.CVarStrFnS(Variant::Null()), "");
    EXPECT_EQ(ax.CVarStrFnS(Variant(true)), "True");
    EXPECT_EQ(ax.CVarStrFnS(Variant(VArray::FromStrings({"a"}))), "");
    EXPECT_FALSE(Err().IsSet());
}

TEST(CAx0Conversions, FourBytesLittleEndian) {
    const CAx0 ax;
    EXPECT_EQ(ax.CVByteFnL({9, 0x78, 0x56, 0x34, 0x12}, 1), 0x12345678);
    EXPECT_EQ(ax.CVByteFnL({0xFF, 0xFF, 0xFF, 0x7F}, 0), 2147483647);
    EXPECT_EQ(FailureNumber([&] { ax.CVByteFnL({0, 0, 0, 0x80}, 0); }), errnum::kOverflow);
    EXPECT_EQ(FailureNumber([&] { ax.CVByteFnL({1, 2, 3, 4, 5}, 2); }), errnum::kSubscriptOutOfRange);
    EXPECT_EQ(FailureNumber([&] { ax.CVByteFnL({1, 2, 3, 4}, -1); }), errnum::kSubscriptOutOfRange);
}

TEST(CAx0Conversions, ColourNumbers) {
    const CAx0 ax;
    const std::vector<std::tuple<std::string, bool, std::int32_t>> cases = {
        {"16777215", true, 16777215}, {"16777216", false, -7}, {"-1", false, -7},  {"12.5", true, 13},
        {"abc", false, -7},           {"&HFF", true, 255},     {"-0.6", false, -7},
    };
    for (const auto& [text, valid, number] : cases) {
        std::int32_t colour = -7;
        EXPECT_EQ(ax.IsColorNumberFnB(text, colour), valid) << text;
        EXPECT_EQ(colour, number) << text;
    }
}

TEST(CAx0Characters, AnsiCodeLeftNumberAndLongestString) {
    const CAx0 ax;
    const std::vector<std::pair<std::string, std::int16_t>> codes = {
        {"", -1}, {"éa", 233}, {"€", 128}, {"中", 63}, {"\xC2\x81", 129}, {"\xC2\x80", 63},
    };
    for (const auto& [text, code] : codes) EXPECT_EQ(ax.AscFnI(text), code) << text;

    const std::vector<std::pair<std::string, std::string>> numbers = {
        {"12.5 m", "12.5"}, {"abc", ""},  {"-3e2x", "-3e2"}, {"1,000kg", "1,000"},
        {" 7 ", " 7"},      {"1e", "1"},  {"&H1Fz", "&H1F"}, {"2.5.1", "2.5"},
    };
    for (const auto& [datum, expected] : numbers) EXPECT_EQ(ax.LeftNumberFnS(datum), expected) << datum;
    EXPECT_EQ(FailureNumber([&] { ax.LeftNumberFnS(std::string(32768, '1')); }), errnum::kOverflow);
    EXPECT_EQ(ax.LeftNumberFnS(std::string(32767, 'x')), "");

    const VArray items = VArray::FromItems({Variant("a"), Variant("abcd"), Variant("ab"), Variant("é")});
    EXPECT_EQ(ax.LongestStrFnI(items, 2), 2);
    EXPECT_EQ(ax.LongestStrFnI(items, 4), 0);
    const VArray huge = VArray::FromStrings({std::string(32768, 'x')});
    EXPECT_EQ(FailureNumber([&] { ax.LongestStrFnI(huge, 0); }), errnum::kOverflow);
}

}  // namespace
}  // namespace vorn
