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

TEST(CAx0CommaList, AddWritesTheCommaAndSkipsItemsPresent) {
    const CAx0 ax;
    const std::vector<std::tuple<std::string, std::string, bool, std::string>> cases = {
        {"", "A", false, ",A"},
        {",A", "a", false, ",A"},  // the presence test ignores case
        {",A", "", false, ",A"},
        {"AB", "A", false, "AB,A"},  // a part of an item is no item
        {",É", "é", false, ",É"},
        {",A", "b,,a,c", true, ",A,b,c"},
    };
    for (const auto& [start, append, split, expected] : cases) {
        std::string list = start;
        ax.AddToCommaList(list, append, split);
        EXPECT_EQ(list, expected) << start << " + " << append;
    }
}

TEST(CAx0CommaList, RemoveTakesWholeItemsOnly) {
    const CAx0 ax;
    const std::vector<std::tuple<std::string, std::string, std::int16_t, std::string>> cases = {
        {"a,a,b", "a", CAx0::kBinaryCompare, "a,b"},  // of two neighbours only the first goes
        {"a,b,a", "a", CAx0::kBinaryCompare, "b"},
        {"a,b,c", "b", CAx0::kBinaryCompare, "a,c"},
        {"a", "a", CAx0::kBinaryCompare, ""},
        {"ab,b", "b", CAx0::kBinaryCompare, "ab"},
        {"a,B", "b", CAx0::kBinaryCompare, "a,B"},
        {"x,Ä", "ä", CAx0::kTextCompare, "x"},
    };
    for (const auto& [start, item, compare, expected] : cases) {
        std::string list = start;
        ax.RemoveFromCommaList(list, item, compare);
        EXPECT_EQ(list, expected) << start << " - " << item;
    }
    std::string list = "a,b";
    EXPECT_EQ(FailureNumber([&] { ax.RemoveFromCommaList(list, "a", 2); }), errnum::kInvalidProcedureCall);
}

TEST(CAx0CommaList, ItemsAreFoundWholeIgnoringCase) {
    const CAx0 ax;
    const std::vector<std::tuple<std::string, std::string, std::string, std::int32_t>> cases = {
        {"aa,b,cc", "CC", ",", 6}, {"aa,b", "a", ",", 0},    {"aa,b", "", ",", 0},
        {"a,b", "a,b", ",", 1},    {"é,ü", "Ü", ",", 3},     {"a||bb||c", "BB", "||", 4},
    };
    for (const auto& [list, item, delimiter, position] : cases) {
        EXPECT_EQ(ax.PsInCommaListFnL(list, item, delimiter), position) << list << " " << item;
        EXPECT_EQ(ax.StringInDelimitedListFnB(list, item, delimiter), position > 0) << list;
    }
    EXPECT_TRUE(ax.StringInCommaListFnB("aa,b", "B"));

    const std::vector<std::tuple<std::string, std::string, std::int32_t>> counts = {
        {"aXaxa", "x", 2}, {"aaaa", "aa", 2}, {"abc", "", 0}, {"1.2.3", ".", 2}, {"ÄäA", "ä", 2},
    };
    for (const auto& [source, search, count] : counts) {
        EXPECT_EQ(ax.StringCountFnL(source, search), count) << source << " / " << search;
    }
}

TEST(CAx0CommaList, ToArrayPutsTheFirstItemAtTheStart) {
    const CAx0 ax;
    VArray items;
    EXPECT_EQ(ax.CommaListToArrayFnL("a,b,c", items), 3);
    EXPECT_EQ(items, VArray::FromStrings({"", "a", "b", "c"}));
    EXPECT_EQ(ax.CommaListToArrayFnL("a,b", items, 0), 1);
    EXPECT_EQ(items, VArray::FromStrings({"a", "b"}));
    EXPECT_EQ(ax.CommaListToArrayFnL("x;y", items, 3, ";"), 4);
    EXPECT_EQ(items, VArray::FromStrings({"", "", "", "x", "y"}));
    // Only the delimiter's first character is repeated in front: "|a" is the item at 0.
    EXPECT_EQ(ax.CommaListToArrayFnL("a||b", items, 1, "||"), 1);
    EXPECT_EQ(items[0], Variant("|a"));

    items = VArray::FromStrings({"keep"});
    EXPECT_EQ(ax.CommaListToArrayFnL("", items), 0);
    EXPECT_EQ(items, VArray::FromStrings({"keep"}));
    EXPECT_EQ(FailureNumber([&] { ax.CommaListToArrayFnL("a", items, 1, ""); }), errnum::kInvalidProcedureCall);
}

TEST(CAx0DelimList, JoinItemAndFirstData) {
    const CAx0 ax;
    EXPECT_EQ(ax.DelimListFnS("-", VArray::FromItems({Variant("a"), Variant::Null(), Variant(3)})), "a--3");
    const VArray fromOne = VArray::FromItems({Variant("a")}, 1);
    EXPECT_EQ(FailureNumber([&] { ax.DelimListFnS(",", fromOne); }), errnum::kSubscriptOutOfRange);

    const std::vector<std::tuple<std::string, std::int32_t, std::string, std::string>> cases = {
        {"a,b,c", 2, ",", "b"}, {"a,b,c", 0, ",", ""}, {"a,b,c", 4, ",", ""}, {"a||b", 2, "||", "b"},
    };
    for (const auto& [list, number, separator, expected] : cases) {
        EXPECT_EQ(ax.DelimListItemFnS(list, number, separator), expected) << list << " #" << number;
    }

    EXPECT_EQ(ax.FirstDataFnS(VArray::FromItems({Variant(""), Variant(), Variant::Null(), Variant("x")}, -2)), "x");
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
        {"a,,  ", fr_TrimCommas_Right, "a"},   // blanks at the right end are looked past
        {"a, ,", fr_TrimCommas_Right, "a, "},  // a blank between commas stops the cut
        {",,,", fr_TrimCommas_LeftRight, ""},
    };
    for (const auto& [text, option, expected] : cases) {
        std::string value = text;
        ax.TrimCommas(value, option);
        EXPECT_EQ(value, expected) << "'" << text << "' option " << option;
    }
}

}  // namespace
}  // namespace vorn
