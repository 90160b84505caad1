#include <gtest/gtest.h>

#include "support/TestSupport.h"

#include <string>
#include <vector>

#include "foundation/CAx0.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

using testing::FailureNumber;


struct AddCase {
    std::string list;
    std::string append;
    bool split;
    std::string expected;
};

TEST(CAx0CommaList, AddWritesTheCommaAndSkipsItemsPresent) {
    const CAx0 ax;
    const std::vector<AddCase> cases = {
        {"", "A", false, ",A"},
        {",A", "a", false, ",A"},  // the presence test ignores case
        {",A", "", false, ",A"},
        {",A", "B", false, ",A,B"},
        {"AB", "A", false, "AB,A"},  // a part of an item is no item
        {",É", "é", false, ",É"},
        {"", "a,b,A", true, ",a,b"},
        {",A", "b,,a,c", true, ",A,b,c"},
    };
    for (const AddCase& c : cases) {
        std::string list = c.list;
        ax.AddToCommaList(list, c.append, c.split);
        EXPECT_EQ(list, c.expected) << c.list << " + " << c.append;
    }
}

struct RemoveCase {
    std::string list;
    std::string item;
    std::int16_t compare;
    std::string expected;
};

TEST(CAx0CommaList, RemoveTakesWholeItemsOnly) {
    const CAx0 ax;
    const std::vector<RemoveCase> cases = {
        {"a,a,b", "a", CAx0::kBinaryCompare, "a,b"},  // of two neighbours only the first goes
        {"a,b,a", "a", CAx0::kBinaryCompare, "b"},
        {"a,b,c", "b", CAx0::kBinaryCompare, "a,c"},
        {"a", "a", CAx0::kBinaryCompare, ""},
        {"a,b", "a", CAx0::kBinaryCompare, "b"},
        {"ab,b", "b", CAx0::kBinaryCompare, "ab"},
        {"a,B", "b", CAx0::kBinaryCompare, "a,B"},
        {"a,B", "b", CAx0::kTextCompare, "a"},
        {"x,Ä", "ä", CAx0::kTextCompare, "x"},
        {"", "x", CAx0::kBinaryCompare, ""},
    };
    for (const RemoveCase& c : cases) {
        std::string list = c.list;
        ax.RemoveFromCommaList(list, c.item, c.compare);
        EXPECT_EQ(list, c.expected) << c.list << " - " << c.item;
    }
    std::string list = "a,b";
    EXPECT_EQ(FailureNumber([&] { ax.RemoveFromCommaList(list, "a", 2); }), errnum::kInvalidProcedureCall);
}

struct FindCase {
    std::string list;
    std::string item;
    std::string delimiter;
    std::int32_t position;
};

TEST(CAx0CommaList, ItemsAreFoundWholeIgnoringCase) {
    const CAx0 ax;
    const std::vector<FindCase> cases = {
        {"aa,b,cc", "b", ",", 4},
        {"aa,b,cc", "CC", ",", 6},
        {"aa,b,cc", "aa", ",", 1},
        {"aa,b", "a", ",", 0},
        {"aa,b", "", ",", 0},
        {"a,b", "a,b", ",", 1},
        {"x;y", "Y", ";", 3},
        {"é,ü", "Ü", ",", 3},
        {"a||bb||c", "BB", "||", 4},
        {"", "a", ",", 0},
    };
    for (const FindCase& c : cases) {
        EXPECT_EQ(ax.PsInCommaListFnL(c.list, c.item, c.delimiter), c.position) << c.list << " " << c.item;
        EXPECT_EQ(ax.StringInDelimitedListFnB(c.list, c.item, c.delimiter), c.position > 0) << c.list;
        if (c.delimiter == ",") {
            EXPECT_EQ(ax.StringInCommaListFnB(c.list, c.item), c.position > 0) << c.list;
        }
    }
}

TEST(CAx0CommaList, CountIsBinaryOnlyForTextWithoutLetters) {
    const CAx0 ax;
    const std::vector<std::tuple<std::string, std::string, std::int32_t>> cases = {
        {"aXaxa", "x", 2},  {"a--b--", "--", 2}, {"aaaa", "aa", 2}, {"abc", "", 0},
        {"1.2.3", ".", 2},  {"ÄäA", "ä", 2},     {"abc", "abcd", 0},
    };
    for (const auto& [source, search, count] : cases) {
        EXPECT_EQ(ax.StringCountFnL(source, search), count) << source << " / " << search;
    }
}

TEST(CAx0CommaList, ToArrayPutsTheFirstItemAtTheStart) {
    const CAx0 ax;
    VArray items;
    EXPECT_EQ(ax.CommaListToArrayFnL("a,b,c", items), 3);
    EXPECT_EQ(items.LBound(), 0);
    EXPECT_EQ(items[0], Variant(""));
    EXPECT_EQ(items[1], Variant("a"));
    EXPECT_EQ(items[3], Variant("c"));

    EXPECT_EQ(ax.CommaListToArrayFnL("a,b", items, 0), 1);
    EXPECT_EQ(items[0], Variant("a"));

    EXPECT_EQ(ax.CommaListToArrayFnL("x;y", items, 3, ";"), 4);
    EXPECT_EQ(items[2], Variant(""));
    EXPECT_EQ(items[3], Variant("x"));
    EXPECT_EQ(items[4], Variant("y"));

    EXPECT_EQ(ax.CommaListToArrayFnL("a,,", items), 3);
    EXPECT_EQ(items[3], Variant(""));
}

TEST(CAx0CommaList, ToArrayLeavesTheArrayAloneForAnEmptyList) {
    const CAx0 ax;
    VArray items = VArray::FromStrings({"keep"});
    EXPECT_EQ(ax.CommaListToArrayFnL("", items), 0);
    EXPECT_EQ(items, VArray::FromStrings({"keep"}));
}

TEST(CAx0CommaList, ToArrayRepeatsOnlyTheDelimitersFirstCharacter) {
    const CAx0 ax;
    VArray items;
    // "|" in front of "a||b" makes "|a" the item at 0: the upper bound is 1.
    EXPECT_EQ(ax.CommaListToArrayFnL("a||b", items, 1, "||"), 1);
    EXPECT_EQ(items[0], Variant("|a"));
    EXPECT_EQ(FailureNumber([&] { ax.CommaListToArrayFnL("a", items, 1, ""); }),
              errnum::kInvalidProcedureCall);
}

TEST(CAx0DelimList, JoinFromElementZero) {
    const CAx0 ax;
    const VArray items = VArray::FromItems({Variant("a"), Variant::Null(), Variant(3)});
    EXPECT_EQ(ax.DelimListFnS("-", items), "a--3");
    EXPECT_EQ(ax.DelimListFnS(", ", VArray::FromStrings({"x"})), "x");
    const VArray fromOne = VArray::FromItems({Variant("a")}, 1);
    EXPECT_EQ(FailureNumber([&] { ax.DelimListFnS(",", fromOne); }), errnum::kSubscriptOutOfRange);
}

TEST(CAx0DelimList, ItemByNumber) {
    const CAx0 ax;
    const std::vector<std::tuple<std::string, std::int32_t, std::string, std::string>> cases = {
        {"a,b,c", 2, ",", "b"}, {"a,b,c", 0, ",", ""},  {"a,b,c", 4, ",", ""}, {"", 1, ",", ""},
        {"a||b", 2, "||", "b"}, {"a,,c", 2, ",", ""},   {"a,b", -1, ",", ""},
    };
    for (const auto& [list, number, separator, expected] : cases) {
        EXPECT_EQ(ax.DelimListItemFnS(list, number, separator), expected) << list << " #" << number;
    }
}

TEST(CAx0DelimList, FirstDataSkipsEmptyElements) {
    const CAx0 ax;
    EXPECT_EQ(ax.FirstDataFnS(VArray::FromItems({Variant(""), Variant(), Variant::Null(), Variant("x"),
                                                 Variant("y")},
                                                -2)),
              "x");
    EXPECT_EQ(ax.FirstDataFnS(VArray::FromStrings({"", ""})), "");
    VArray wide;
    wide.ReDim(32767, 32768);
    EXPECT_EQ(FailureNumber([&] { ax.FirstDataFnS(wide); }), errnum::kOverflow);
}

TEST(CAx0CommaList, TrimCommasCutsOnlyCommas) {
    const CAx0 ax;
    const std::vector<std::tuple<std::string, std::int16_t, std::string>> cases = {
        {",,a,,", fr_TrimCommas_LeftRight, "a"},
        {",,a,,", fr_TrimCommas_Left, "a,,"},
        {",,a,,", fr_TrimCommas_Right, ",,a"},
        {",,a,,", fr_TrimCommas_No, ",,a,,"},
        {"a,,  ", fr_TrimCommas_Right, "a"},    // blanks at the right end are looked past
        {"a, ,", fr_TrimCommas_Right, "a, "},   // a blank between commas stops the cut
        {", ,a", fr_TrimCommas_Left, " ,a"},
        {",,,", fr_TrimCommas_LeftRight, ""},
        {"a,b", fr_TrimCommas_LeftRight, "a,b"},
    };
    for (const auto& [text, option, expected] : cases) {
        std::string value = text;
        ax.TrimCommas(value, option);
        EXPECT_EQ(value, expected) << "'" << text << "' option " << option;
    }
}

}  // namespace
}  // namespace vorn
