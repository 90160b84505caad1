#include "runtime/Utf8.h"

#include <gtest/gtest.h>

namespace vorn::utf8 {
namespace {

TEST(Utf8, LengthsAndPositionsCountCharactersNotBytes) {
    EXPECT_EQ(Length(""), 0);
    EXPECT_EQ(Length("Umsätze"), 7);
    EXPECT_EQ(Length("€1"), 2);
    EXPECT_EQ(Mid("Umsätze", 4, 2), "ät");
    EXPECT_EQ(Mid("Umsätze", 4), "ätze");
    EXPECT_EQ(Mid("abc", 5), "");
    EXPECT_EQ(Left("Umsätze", 4), "Umsä");
    EXPECT_EQ(Right("Umsätze", 4), "ätze");
    EXPECT_EQ(Right("ab", 5), "ab");
    EXPECT_EQ(Left("ab", 0), "");
}

TEST(Utf8, BrokenBytesCountAsOneCharacterEach) {
    const std::string broken = std::string("a") + '\xE9' + "b";  // a stray Latin-1 byte
    EXPECT_EQ(Length(broken), 3);
    EXPECT_EQ(ToUpper(broken), std::string("A") + '\xE9' + "B");  // kept, not widened
}

struct InStrCase {
    std::int64_t start;
    const char* text;
    const char* needle;
    bool ignoreCase;
    std::int64_t expected;
};

TEST(Utf8, InStrFindsOneBasedPositions) {
    const InStrCase cases[] = {
        {1, "abcabc", "c", false, 3},     {4, "abcabc", "c", false, 6},
        {1, "abc", "", false, 1},         {4, "abc", "", false, 4},
        {5, "abc", "", false, 0},         {1, "abc", "d", false, 0},
        {1, "ABC", "b", false, 0},        {1, "ABC", "b", true, 2},
        {1, "Straße ÄB", "äb", true, 8},  {2, "äää", "ä", false, 2},
        {0, "abc", "a", false, 0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(InStr(c.start, c.text, c.needle, c.ignoreCase), c.expected)
            << c.text << " / " << c.needle << " from " << c.start;
    }
}

TEST(Utf8, InStrRevFindsTheLastMatchEndingAtStart) {
    EXPECT_EQ(InStrRev("a.b.c", "."), 4);
    EXPECT_EQ(InStrRev("a.b.c", ".", 3), 2);
    EXPECT_EQ(InStrRev("a.b.c", ".", 1), 0);
    EXPECT_EQ(InStrRev("äxäx", "Äx", -1, true), 3);
    EXPECT_EQ(InStrRev("abc", "z"), 0);
}

TEST(Utf8, CaseFoldsAsciiAndLatin1Only) {
    EXPECT_EQ(ToUpper("abc äöü ÿ ß ÷"), "ABC ÄÖÜ ÿ ß ÷");
    EXPECT_EQ(ToLower("ABC ÄÖÜ × Ω"), "abc äöü × Ω");
    EXPECT_TRUE(EqualsIgnoreCase("Point", "POINT"));
    EXPECT_TRUE(EqualsIgnoreCase("umsätze", "UMSÄTZE"));
    EXPECT_FALSE(EqualsIgnoreCase("point", "points"));
    EXPECT_LT(CompareIgnoreCase("a", "B"), 0);
    EXPECT_GT(CompareIgnoreCase("b", "A"), 0);
}

TEST(Utf8, ReplaceAndTrim) {
    EXPECT_EQ(Replace("a<<CR>>b<<cr>>", "<<CR>>", "\r\n"), "a\r\nb<<cr>>");
    EXPECT_EQ(Replace("a<<CR>>b<<cr>>", "<<CR>>", "|", true), "a|b|");
    EXPECT_EQ(Replace("aaa", "", "x"), "aaa");
    EXPECT_EQ(Trim("  a b  "), "a b");
    EXPECT_EQ(LTrim("  a "), "a ");
    EXPECT_EQ(RTrim(" a  "), " a");
    EXPECT_EQ(Trim("\ta\t"), "\ta\t");  // only blanks are trimmed
    EXPECT_EQ(Trim("   "), "");
}

TEST(Utf8, CodePointsRoundTrip) {
    const std::string text = "aé€😀";
    EXPECT_EQ(ToU32(text), U"aé€😀");
    EXPECT_EQ(FromU32(ToU32(text)), text);
    EXPECT_EQ(FromLatin1("\xE4"), "ä");
}

}  // namespace
}  // namespace vorn::utf8
