#include <gtest/gtest.h>

#include "support/TestSupport.h"

#include <functional>
#include <string>
#include <vector>

#include "foundation/CAx0.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

using testing::FailureNumber;

// One row: a member applied to an input, and what it must give.
struct RewriteCase {
    const char* member;
    std::function<std::string(const CAx0&, const std::string&)> apply;
    std::string input;
    std::string expected;
};

std::string InPlace(void (CAx0::*member)(std::string&) const, const CAx0& ax, const std::string& text) {
    std::string value = text;
    (ax.*member)(value);
    return value;
}

TEST(CAx0Rewrites, QuotesBracketsAndMarks) {
    const CAx0 ax;
    const auto quotes = [](const CAx0& a, const std::string& s) { return a.AddQuotesFnS(s); };
    const auto quoteList = [](const CAx0& a, const std::string& s) { return a.AddQuotesToListFnS(s); };
    const auto single = [](const CAx0& a, const std::string& s) { return a.AddSingleQuotesFnS(s); };
    const auto singleList = [](const CAx0& a, const std::string& s) { return a.AddSingleQuotesToListFnS(s); };
    const auto strip = [](const CAx0& a, const std::string& s) { return a.StripQuotesFnS(s); };
    const auto brackets = [](const CAx0& a, const std::string& s) { return InPlace(&CAx0::AddBrackets, a, s); };
    const auto bracketList = [](const CAx0& a, const std::string& s) { return a.AddBracketsToListFnS(s); };
    const auto unbracket = [](const CAx0& a, const std::string& s) { return a.RemoveBracketsFnS(s); };
    const auto inSql = [](const CAx0& a, const std::string& s) { return a.FilenameInSQLFnS(s); };
    const auto ampDouble = [](const CAx0& a, const std::string& s) { return a.AmpersandDoubleFnS(s); };
    const auto ampSingle = [](const CAx0& a, const std::string& s) { return a.AmpersandSingleFnS(s); };
    const auto tabs = [](const CAx0& a, const std::string& s) { return a.TabReplaceFnS(s); };
    const auto nulls = [](const CAx0& a, const std::string& s) { return a.StripNullCharFnS(s); };
    const std::string nul(1, '\0');
    const std::vector<RewriteCase> cases = {
        {"AddQuotes", quotes, "a\"b", "\"a\"b\""},
        {"AddQuotesToList", quoteList, "a,b", "\"a\",\"b\""},
        {"AddSingleQuotes", single, "O'Brien", "'O''Brien'"},
        {"AddSingleQuotesToList", singleList, "O'B,c", "'O''''B','c'"},  // fourfold on purpose
        {"StripQuotes", strip, "\"a\"", "a"},
        {"StripQuotes", strip, "\"a'", "\"a'"},
        {"StripQuotes", strip, "\"", "\""},
        {"StripQuotes", strip, "\"a\"b", "\"a\"b"},
        {"AddBrackets", brackets, "T.F", "[T].[F]"},
        {"AddBrackets", brackets, "", ""},
        {"AddBrackets", brackets, "a[b.c", "a[b.c"},
        {"AddBracketsToList", bracketList, "a,b", "[a],[b]"},
        {"AddBracketsToList", bracketList, "[a],b", "[a],b"},
        {"RemoveBrackets", unbracket, "[a].[b]]", "a.b"},
        {"FilenameInSQL", inSql, "/data/x.vpj", " In '/data/x.vpj'"},
        {"FilenameInSQL", inSql, "/data/o'b.vpj", " In \"/data/o'b.vpj\""},
        {"AmpersandDouble", ampDouble, "a&b&&c", "a&&b&&&&c"},
        {"AmpersandSingle", ampSingle, "a&&b", "a&b"},
        {"AmpersandSingle", ampSingle, "a&&&b", "a&b"},
        {"AmpersandSingle", ampSingle, "a" + nul + "b", "a&b"},  // code 0 holds the pairs' place
        {"TabReplace", tabs, "a\tb\t", "a  b  "},
        {"StripNullChar", nulls, nul + "a" + nul + nul + "b", "ab"},
    };
    for (const RewriteCase& c : cases) EXPECT_EQ(c.apply(ax, c.input), c.expected) << c.member << ": " << c.input;
}

TEST(CAx0Rewrites, TableFieldBracketsAndObjectNames) {
    const CAx0 ax;
    EXPECT_EQ(ax.BracketedTableFieldFnS("T", "F"), "[T].[F]");
    EXPECT_EQ(ax.BracketedTableFieldFnS("S.T", "F"), "[S].[T].[F]");
    EXPECT_EQ(ax.BracketedTableFieldFnS("", "F"), "[F]");
    EXPECT_EQ(ax.ObjNameFromStringFnS("Table 'Point' not found"), "Point");
    EXPECT_EQ(ax.ObjNameFromStringFnS("Table 'Point"), "");
    EXPECT_EQ(ax.ObjNameFromStringFnS("'Point' x"), "");
}

TEST(CAx0Rewrites, LineEndsAndContinuations) {
    const CAx0 ax;
    const auto trimLines = [](const CAx0& a, const std::string& s) {
        return InPlace(&CAx0::TrimLineTrailingSpaces, a, s);
    };
    const auto joinLines = [](const CAx0& a, const std::string& s) { return InPlace(&CAx0::RemoveLineCont, a, s); };
    const std::vector<RewriteCase> cases = {
        {"TrimLineTrailingSpaces", trimLines, "a  \r\nb \r\nc  ", "a\r\nb\r\nc  "},
        {"TrimLineTrailingSpaces", trimLines, "a \r \n", "a\r\n"},
        {"TrimLineTrailingSpaces", trimLines, "a \r\r\n", "a \r\r\n"},
        {"RemoveLineCont", joinLines, "a _\r\n   b", "a b"},
        {"RemoveLineCont", joinLines, "x__\r\n\r\ny", "xy"},  // a joined line may end in "_" again
        {"RemoveLineCont", joinLines, "a_b", "a_b"},
        {"RemoveLineCont", joinLines, "a_ \r\nb", "a_ \r\nb"},
    };
    for (const RewriteCase& c : cases) EXPECT_EQ(c.apply(ax, c.input), c.expected) << c.member << ": " << c.input;
}

TEST(CAx0Rewrites, ReduceRepeatedAndRemoveChars) {
    const CAx0 ax;
    const std::vector<std::tuple<std::string, std::string, std::string>> reduce = {
        {"a    b", " ", "a b"}, {"x", "", "x"}, {"ababab", "ab", "ab"}, {"ééé", "é", "é"},
    };
    for (const auto& [text, character, expected] : reduce) {
        std::string value = text;
        ax.ReduceRepeatedChars(value, character);
        EXPECT_EQ(value, expected) << text;
    }
    // Only as many characters of the set are taken as the source has.
    const std::vector<std::tuple<std::string, std::string, bool, std::string>> remove = {
        {"ab", "xyab", true, "ab"}, {"abcabc", "ca", true, "bb"}, {"aAbB", "ab", false, ""}, {"Ééx", "é", false, "x"},
    };
    for (const auto& [source, chars, caseSensitive, expected] : remove) {
        EXPECT_EQ(ax.RemoveCharsFnS(source, chars, caseSensitive), expected) << source << " - " << chars;
    }
}

TEST(CAx0Rewrites, StripCrLfCutsLineEndsAndMarks) {
    const CAx0 ax;
    const std::vector<std::tuple<std::string, bool, std::string>> cases = {
        {"x\r\n<<CR>>", false, "x\r\n"},  // a line end uncovered by a cut mark stays
        {"  x  \r\n \r\n ", false, "  x"},
        {"x<<CR>> <<CR>>", false, "x"},
        {"x<<cr>>", false, "x<<cr>>"},              // the right end is exact
        {" \r\n<<cr>> \r\n x \n", true, "\r\n x"},  // line ends behind a cut mark stay
        {"<<cr>> <<CR>>x", true, "x"},              // the left end ignores case
    };
    for (const auto& [source, left, expected] : cases) EXPECT_EQ(ax.StripCrLfFnS(source, left), expected) << source;
}

TEST(CAx0Rewrites, ChangeCaseWithinTheRange) {
    const CAx0 ax;
    const std::vector<std::tuple<char, std::string, std::int16_t, std::int16_t, std::string>> cases = {
        {'U', "abcd", 2, 3, "aBCd"},
        {'U', "abc", 3, 2, "abc"},
        {'U', "àÿß", 0, 0, "Àÿß"},  // Latin-1 has no capitals of these two
        {'R', "aBé", 0, 0, "AbÉ"},
        {'R', "É1", 0, 0, "É1"},  // only A to Z are lowered
        {'T', "hello wORLD-x y\nz", 0, 0, "Hello World-X Y\nZ"},
        {'T', "ab cd", 2, 0, "aB Cd"},  // the flag starts set at the range start
        {'X', "abc", 0, 0, "abc"},
    };
    for (const auto& [op, text, start, end, expected] : cases) {
        EXPECT_EQ(ax.ChangeCaseFnS(op, text, start, end), expected) << op << " " << text;
    }
}

TEST(CAx0Rewrites, LengthsAreHeldInSixteenBits) {
    const CAx0 ax;
    const std::string longest = "\"" + std::string(32765, 'x') + "\"";
    EXPECT_EQ(ax.StripQuotesFnS(longest), std::string(32765, 'x'));
    EXPECT_EQ(FailureNumber([&] { ax.StripQuotesFnS(longest + " "); }), errnum::kOverflow);
    const std::string text(32768, 'a');
    EXPECT_EQ(FailureNumber([&] { ax.ChangeCaseFnS('U', text, 1, 0); }), errnum::kOverflow);
    EXPECT_EQ(ax.ChangeCaseFnS('U', text, 1, 2).substr(0, 3), "AAa");
    EXPECT_EQ(FailureNumber([&] { ax.RemoveCharsFnS(std::string(32768, 'a'), "a"); }), errnum::kOverflow);
    EXPECT_EQ(ax.RemoveCharsFnS(std::string(32767, 'a'), "a"), "");
}

}  // namespace
}  // namespace vorn
