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
        {"AddQuotesToList", quoteList, "", "\"\""},
        {"AddSingleQuotes", single, "O'Brien", "'O''Brien'"},
        {"AddSingleQuotes", single, "", "''"},
        {"AddSingleQuotesToList", singleList, "a,b", "'a','b'"},
        {"AddSingleQuotesToList", singleList, "O'B,c", "'O''''B','c'"},  // fourfold on purpose
        {"StripQuotes", strip, "\"a\"", "a"},
        {"StripQuotes", strip, "'a'", "a"},
        {"StripQuotes", strip, "\"a'", "\"a'"},
        {"StripQuotes", strip, "\"", "\""},
        {"StripQuotes", strip, "\"\"", ""},
        {"StripQuotes", strip, "\"é\"", "é"},
        {"StripQuotes", strip, "\"a\"b", "\"a\"b"},
        {"AddBrackets", brackets, "T.F", "[T].[F]"},
        {"AddBrackets", brackets, "T", "[T]"},
        {"AddBrackets", brackets, "", ""},
        {"AddBrackets", brackets, "a[b.c", "a[b.c"},
        {"AddBracketsToList", bracketList, "a,b", "[a],[b]"},
        {"AddBracketsToList", bracketList, "", ""},
        {"AddBracketsToList", bracketList, "[a],b", "[a],b"},
        {"RemoveBrackets", unbracket, "[a].[b]]", "a.b"},
        {"FilenameInSQL", inSql, "/data/x.vpj", " In '/data/x.vpj'"},
        {"FilenameInSQL", inSql, "/data/o'b.vpj", " In \"/data/o'b.vpj\""},
        {"AmpersandDouble", ampDouble, "a&b&&c", "a&&b&&&&c"},
        {"AmpersandSingle", ampSingle, "a&&b", "a&b"},
        {"AmpersandSingle", ampSingle, "&File", "File"},
        {"AmpersandSingle", ampSingle, "a&&&b", "a&b"},
        {"AmpersandSingle", ampSingle, "&&&&", "&&"},
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
    EXPECT_EQ(ax.BracketedTableFieldFnS("T", ""), "[T]");
    EXPECT_EQ(ax.BracketedTableFieldFnS("", "F"), "[F]");
    EXPECT_EQ(ax.BracketedTableFieldFnS("", ""), "");
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
        {"TrimLineTrailingSpaces", trimLines, "a \nb", "a\nb"},
        {"TrimLineTrailingSpaces", trimLines, "a \r \n", "a\r\n"},
        {"TrimLineTrailingSpaces", trimLines, "a \r\r\n", "a \r\r\n"},
        {"RemoveLineCont", joinLines, "a _\r\n   b", "a b"},
        {"RemoveLineCont", joinLines, "a _\n  b _\n c", "a b c"},
        {"RemoveLineCont", joinLines, "x__\r\n\r\ny", "xy"},  // a joined line may end in "_" again
        {"RemoveLineCont", joinLines, "a_b", "a_b"},
        {"RemoveLineCont", joinLines, "a_ \r\nb", "a_ \r\nb"},
        {"RemoveLineCont", joinLines, "a_", "a_"},
    };
    for (const RewriteCase& c : cases) EXPECT_EQ(c.apply(ax, c.input), c.expected) << c.member << ": " << c.input;
}

TEST(CAx0Rewrites, ReduceRepeatedChars) {
    const CAx0 ax;
    const std::vector<std::tuple<std::string, std::string, std::string>> cases = {
        {"a    b", " ", "a b"}, {"a--b-c", "-", "a-b-c"}, {"x", "", "x"}, {"ababab", "ab", "ab"}, {"ééé", "é", "é"},
    };
    for (const auto& [text, character, expected] : cases) {
        std::string value = text;
        ax.ReduceRepeatedChars(value, character);
        EXPECT_EQ(value, expected) << text;
    }
}

TEST(CAx0Rewrites, RemoveCharsTakesOnlyAsManyCharactersAsTheSourceHas) {
    const CAx0 ax;
    const std::vector<std::tuple<std::string, std::string, bool, std::string>> cases = {
        {"ab", "xyab", true, "ab"},
        {"abcabc", "ca", true, "bb"},
        {"aAbB", "ab", true, "AB"},
        {"aAbB", "ab", false, ""},
        {"Ééx", "é", false, "x"},
        {"", "a", true, ""},
    };
    for (const auto& [source, chars, caseSensitive, expected] : cases) {
        EXPECT_EQ(ax.RemoveCharsFnS(source, chars, caseSensitive), expected) << source << " - " << chars;
    }
    EXPECT_EQ(FailureNumber([&] { ax.RemoveCharsFnS(std::string(32768, 'a'), "a"); }), errnum::kOverflow);
    EXPECT_EQ(ax.RemoveCharsFnS(std::string(32767, 'a') , "a"), "");
}

TEST(CAx0Rewrites, StripQuotesHoldsItsLengthInSixteenBits) {
    const CAx0 ax;
    const std::string longest = "\"" + std::string(32765, 'x') + "\"";
    EXPECT_EQ(ax.StripQuotesFnS(longest), std::string(32765, 'x'));
    EXPECT_EQ(FailureNumber([&] { ax.StripQuotesFnS(longest + " "); }), errnum::kOverflow);
}

struct StripCase {
    std::string source;
    bool left;
    std::string expected;
};

TEST(CAx0Rewrites, StripCrLfCutsLineEndsAndMarks) {
    const CAx0 ax;
    const std::vector<StripCase> cases = {
        {"x\r\n<<CR>>", false, "x\r\n"},  // a line end uncovered by a cut mark stays
        {"  x  \r\n \r\n ", false, "  x"},
        {"x\n\n", false, "x"},
        {"x<<CR>> <<CR>>", false, "x"},
        {"x<<cr>>", false, "x<<cr>>"},  // the right end is exact
        {" \r\n<<cr>> \r\n x \n", true, "\r\n x"},  // line ends behind a cut mark stay
        {"<<cr>> <<CR>>x", true, "x"},  // the left end ignores case
        {"<<CR>>\r\nx", true, "\r\nx"},
        {"\r\n\r\n", true, ""},
        {"", true, ""},
    };
    for (const StripCase& c : cases) EXPECT_EQ(ax.StripCrLfFnS(c.source, c.left), c.expected) << c.source;
}

struct CaseChange {
    char op;
    std::string text;
    std::int16_t start;
    std::int16_t end;
    std::string expected;
};

TEST(CAx0Rewrites, ChangeCaseWithinTheRange) {
    const CAx0 ax;
    const std::vector<CaseChange> cases = {
        {'U', "abc", 0, 0, "ABC"},
        {'L', "ABC", 2, 0, "Abc"},
        {'U', "abcd", 2, 3, "aBCd"},
        {'U', "abc", 2, 9, "aBC"},
        {'U', "abc", 3, 2, "abc"},
        {'U', "abc", 5, 0, "abc"},
        {'U', "àÿß", 0, 0, "Àÿß"},      // Latin-1 has no capitals of these two
        {'L', "ÀÉ", 0, 0, "àé"},
        {'R', "aBé", 0, 0, "AbÉ"},
        {'R', "É1", 0, 0, "É1"},         // only A to Z are lowered
        {'T', "hello wORLD-x y\nz", 0, 0, "Hello World-X Y\nZ"},
        {'T', "  élan 2nd", 0, 0, "  Élan 2nd"},
        {'T', "ab cd", 2, 0, "aB Cd"},   // the flag starts set at the range start
        {'X', "abc", 0, 0, "abc"},
    };
    for (const CaseChange& c : cases) {
        EXPECT_EQ(ax.ChangeCaseFnS(c.op, c.text, c.start, c.end), c.expected) << c.op << " " << c.text;
    }
}

TEST(CAx0Rewrites, ChangeCaseTakesTheLengthInSixteenBits) {
    const CAx0 ax;
    const std::string text(32768, 'a');
    EXPECT_EQ(FailureNumber([&] { ax.ChangeCaseFnS('U', text, 1, 0); }), errnum::kOverflow);
    EXPECT_EQ(ax.ChangeCaseFnS('U', text, 1, 2).substr(0, 3), "AAa");
}

}  // namespace
}  // namespace vorn
