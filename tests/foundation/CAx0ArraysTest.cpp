#include <gtest/gtest.h>

#include "support/TestSupport.h"

#include <algorithm>
#include <string>
#include <vector>

#include "foundation/CAx0.h"
#include "runtime/Conversions.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

using testing::FailureNumber;

VArray Texts(const std::vector<std::string>& items, std::int32_t lower = 0) {
    std::vector<Variant> values(items.begin(), items.end());
    return VArray::FromItems(std::move(values), lower);
}

VArray Longs(const std::vector<std::int32_t>& items, std::int32_t lower = 0) {
    std::vector<Variant> values(items.begin(), items.end());
    return VArray::FromItems(std::move(values), lower);
}

// A grid (column, row) with columns 0..cols-1 and rows 0..rows.
VArray Grid(std::int32_t cols, std::int32_t rows) {
    VArray grid;
    grid.ReDim(0, cols - 1, 0, rows);
    return grid;
}

std::vector<std::string> Column(const VArray& grid, std::int32_t col, std::int32_t fromRow) {
    std::vector<std::string> texts;
    for (std::int32_t row = fromRow; row <= grid.UBound(2); ++row) texts.push_back(CStr(grid.At(col, row)));
    return texts;
}

// ---- Searches -------------------------------------------------------------------

TEST(CAx0ArraySearch, FindExactAnswersRelativeToTheStartPassed) {
    const CAx0 ax;
    VArray abc = Texts({"a", "b", "c"});
    const std::vector<std::tuple<std::int32_t, std::string, std::int32_t>> cases = {
        {0, "B", 1}, {1, "b", 0}, {1, "a", -1},  // before the start: the same value as absence
        {-5, "c", 2},                            // a start below the lower bound counts from the bound
    };
    for (const auto& [start, find, expected] : cases) {
        std::int32_t at = start;
        ax.FindExact(abc, at, find);
        EXPECT_EQ(at, expected) << start << " " << find;
    }
    VArray far = Texts({"a"}, 40000);  // positions are held in 16 bits
    std::int32_t at = 0;
    EXPECT_EQ(FailureNumber([&] { ax.FindExact(far, at, "a"); }), errnum::kOverflow);

    VArray items = Texts({"x", "Ärger"}, 5);
    at = 99;
    EXPECT_TRUE(ax.FindExactFnB(items, at, "äRGER"));
    EXPECT_EQ(at, 6);  // the array's own index
    at = 99;
    EXPECT_FALSE(ax.FindExactFnB(items, at, "ärge"));
    EXPECT_EQ(at, 99);
}

TEST(CAx0ArraySearch, ColumnAndVariantSearchesStartAtTheCallersIndex) {
    const CAx0 ax;
    VArray grid;
    grid.ReDim(0, 1, 1, 4);
    const std::vector<std::string> column1 = {"p", "q", "r", "q"};
    for (std::int32_t row = 1; row <= 4; ++row) grid.At(1, row) = Variant(column1[static_cast<std::size_t>(row - 1)]);
    std::int32_t at = 3;
    ax.FindExactMultiDim(grid, at, "Q", 1);
    EXPECT_EQ(at, 1);  // row 4, relative to row 3

    VArray items = VArray::FromItems({Variant("a"), Variant::Null(), Variant(7), Variant("A")}, 1);
    at = 2;
    EXPECT_TRUE(ax.FindExactVarArrayFnB(items, at, "a"));
    EXPECT_EQ(at, 4);
    at = 1;
    EXPECT_TRUE(ax.FindExactVarArrayFnB(items, at, ""));  // Null reads as ""
    EXPECT_EQ(at, 2);

    VArray numbers = Longs({4, 9, 4, 2}, 1);
    ax.FindExactLong(numbers, 4, at);
    EXPECT_EQ(at, 3);  // the upper of two
    ax.FindExactLong(numbers, 5, at);
    EXPECT_EQ(at, -1);
}

TEST(CAx0ArraySearch, SubstringSearchesFromTheRaisedStart) {
    const CAx0 ax;
    VArray items = Texts({"", "Borehole", "no hole"}, 1);
    std::int32_t at = 3;
    ax.FindSubstringInStringArray(items, at, "HOLE");
    EXPECT_EQ(at, 3);
    at = -4;
    EXPECT_FALSE(ax.SearchVectorAnyPosFnB(items, at, "pit"));
    EXPECT_EQ(at, 1);  // left raised to the lower bound
    at = 0;
    EXPECT_TRUE(ax.SearchVectorAnyPosFnB(items, at, ""));
    EXPECT_EQ(at, 2);  // an empty element holds nothing, not even ""
}

TEST(CAx0ArraySearch, BinarySearchFindsEveryElementAndZeroWhenAbsent) {
    const CAx0 ax;
    for (std::int32_t lower : {0, 7, -3}) {
        for (std::int32_t n = 1; n <= 30; ++n) {
            std::vector<std::string> items;
            for (std::int32_t i = 0; i < n; ++i) items.push_back("k" + std::string(1, static_cast<char>('a' + i)));
            VArray sorted = Texts(items, lower);
            for (std::int32_t i = 0; i < n; ++i) {
                std::int32_t at = -1;
                ax.FindStringBinary(sorted, at, " " + items[static_cast<std::size_t>(i)] + " ");
                EXPECT_EQ(at, lower + i) << "n=" << n << " lower=" << lower;
            }
            for (const std::string& probe : {std::string("a"), std::string("z"), items.front() + "x"}) {
                std::int32_t at = 5;
                ax.FindStringBinary(sorted, at, probe);
                EXPECT_EQ(at, 0) << "n=" << n << " " << probe;
            }
        }
    }
    VArray one = Texts({"only"});
    std::int32_t at = 3;
    ax.FindStringBinary(one, at, "other");
    EXPECT_EQ(at, 0);
}

TEST(CAx0ArraySearch, AnUndimensionedArrayFailsAtItsBounds) {
    const CAx0 ax;
    VArray empty;
    std::int32_t at = 0;
    EXPECT_EQ(FailureNumber([&] { ax.FindExact(empty, at, "a"); }), errnum::kSubscriptOutOfRange);
    EXPECT_EQ(FailureNumber([&] { ax.FindExactLong(empty, 1, at); }), errnum::kSubscriptOutOfRange);
    EXPECT_EQ(FailureNumber([&] { ax.SortArray(empty); }), errnum::kSubscriptOutOfRange);
}

// ---- Sorts ------------------------------------------------------------------------

TEST(CAx0ArraySort, ArraySortStrgOrdersTheRangeIgnoringCase) {
    const CAx0 ax;
    VArray items = Texts({"zeta", "b", "Éclair", "A", "c", "B2", "a1", "first"}, 1);
    ax.ArraySortStrg(items, 2, 7);
    EXPECT_EQ(items.ToStrings(), (std::vector<std::string>{"zeta", "A", "a1", "b", "B2", "c", "Éclair", "first"}));

    std::vector<std::string> many;
    for (int i = 0; i < 200; ++i) many.push_back(std::to_string((i * 7919) % 1000 + 1000));
    VArray array = Texts(many);
    ax.ArraySortStrg(array, 0, 199);
    std::sort(many.begin(), many.end());
    EXPECT_EQ(array.ToStrings(), many);
}

struct SortCase {
    std::vector<std::string> items;
    std::int16_t dir;
    std::vector<std::string> expected;
};

TEST(CAx0ArraySort, SortArrayKeyKindAndDirection) {
    const CAx0 ax;
    const std::vector<SortCase> cases = {
        {{"10", "9", "-1", "2.5"}, 1, {"-1", "2.5", "9", "10"}},  // all numbers: by value
        {{"10", "9", "x", "2.5"}, 1, {"10", "2.5", "9", "x"}},    // one text: all as text
        {{"b", "C", "a"}, -1, {"C", "b", "a"}},
        {{"1", "2", "3"}, 0, {"3", "2", "1"}},  // sorted: toggles to descending
        {{"2", "1", "3"}, 0, {"1", "2", "3"}},  // unsorted: ascending
        {{}, 1, {}},
    };
    for (const SortCase& c : cases) {
        VArray array = Texts(c.items, 1);
        ax.SortArray(array, 0, c.dir);
        EXPECT_EQ(array.ToStrings(), c.expected) << c.dir << " " << c.items.size();
    }
}

TEST(CAx0ArraySort, SortArrayMovesWholeRowsAndFollowsOne) {
    const CAx0 ax;
    VArray grid = Grid(3, 3);
    const std::vector<std::vector<std::string>> rows = {
        {"r0", "30", "c"}, {"r1", "4", "a"}, {"r2", "100", "b"}, {"r3", "4.5", "d"}};
    for (std::int32_t row = 0; row <= 3; ++row) {
        for (std::int32_t col = 0; col < 3; ++col)
            grid.At(col, row) = Variant(rows[static_cast<std::size_t>(row)][static_cast<std::size_t>(col)]);
    }
    std::int32_t count = -1;
    std::int32_t current = 2;  // the row "r2"
    ax.SortArray(grid, 1, 1, count, current);
    EXPECT_EQ(count, 4);
    EXPECT_EQ(Column(grid, 0, 0), (std::vector<std::string>{"r1", "r3", "r0", "r2"}));
    EXPECT_EQ(Column(grid, 2, 0), (std::vector<std::string>{"a", "d", "c", "b"}));
    EXPECT_EQ(current, 3);

    // Only the first two rows, and a followed row outside them stays.
    std::int32_t two = 2;
    ax.SortArray(grid, 2, -1, two, current);
    EXPECT_EQ(Column(grid, 0, 0), (std::vector<std::string>{"r3", "r1", "r0", "r2"}));
    EXPECT_EQ(current, 3);

    // A permutation with several cycles: each followed row ends at its own place.
    const std::vector<std::int32_t> values = {5, 3, 8, 1, 7, 2, 6, 4};
    for (std::int32_t follow = 1; follow <= 8; ++follow) {
        VArray array = Longs(values, 1);
        std::int32_t all = -1;
        current = follow;
        ax.SortArray(array, 0, 1, all, current);
        EXPECT_EQ(current, values[static_cast<std::size_t>(follow - 1)]);
        EXPECT_EQ(array, Longs({1, 2, 3, 4, 5, 6, 7, 8}, 1));
    }
}

// A grid of 3 columns (key, sort, id) and rows 1..n.
VArray KeyGrid(const std::vector<std::string>& keys, const std::vector<std::int32_t>& ids) {
    VArray grid = Grid(3, static_cast<std::int32_t>(keys.size()));
    for (std::size_t i = 0; i < keys.size(); ++i) {
        const auto row = static_cast<std::int32_t>(i + 1);
        grid.At(0, row) = Variant(keys[i]);
        grid.At(1, row) = Variant(std::to_string(row));
        grid.At(2, row) = Variant(std::to_string(ids[i]));
    }
    return grid;
}

TEST(CAx0ArraySort, TextKeySortOrdersTheNumberPartByValue) {
    const CAx0 ax;
    const std::vector<std::pair<std::vector<std::string>, std::vector<std::string>>> cases = {
        {{"B10", "B9", "A1"}, {"A1", "B9", "B10"}},
        {{"P1A10", "P1A9", "P1B1"}, {"P1A9", "P1A10", "P1B1"}},  // suffix numbers widened
        {{"Z\t2", "A\t10", "A\t9"}, {"A\t9", "A\t10", "Z\t2"}},  // prefix through the tab
        {{"7", "", "10", "X"}, {"", "7", "10", "X"}},
        {{"9\t1", "10\t1"}, {"10\t1", "9\t1"}},  // digits before a tab are prefix text
    };
    for (const auto& [keys, ordered] : cases) {
        const auto n = static_cast<std::int32_t>(keys.size());
        VArray grid = KeyGrid(keys, std::vector<std::int32_t>(keys.size(), 0));
        ax.VornTextKeySort(grid, n, 0, 1, -1, true);
        EXPECT_EQ(Column(grid, 0, 1), ordered) << keys[0];
        std::vector<std::string> ranks;
        for (std::int32_t i = 1; i <= n; ++i) ranks.push_back(std::to_string(i));
        EXPECT_EQ(Column(grid, 1, 1), ranks) << keys[0];
    }
}

TEST(CAx0ArraySort, TextKeySortMarksOnlyRowsWhoseRankChanged) {
    const CAx0 ax;
    VArray grid = KeyGrid({"B10", "B9", "A1", "C1"}, {11, 12, 0, 14});
    ax.VornTextKeySort(grid, 4, 0, 1, 2, false);
    // Rows stay where they are; the sort column holds the new ranks.
    EXPECT_EQ(Column(grid, 1, 1), (std::vector<std::string>{"3", "2", "1", "4"}));
    EXPECT_EQ(Column(grid, 2, 1), (std::vector<std::string>{"-11", "12", "0", "14"}));

    const VArray ranked = KeyGrid({"A1", "A2", "A10", "B"}, {5, 6, 7, 8});
    VArray same = ranked;
    ax.VornTextKeySort(same, 4, 0, 1, 2);
    EXPECT_EQ(same, ranked);
}

// ---- Dimensions, moves, concatenation ------------------------------------------------

TEST(CAx0ArrayShape, DimensionsAndDimmedTests) {
    const CAx0 ax;
    VArray none;
    VArray emptySplit = Texts({});
    VArray grid = Grid(2, 0);
    EXPECT_EQ(ax.ArrayDimensionsFnI(none), 0);
    EXPECT_EQ(ax.ArrayDimensionsFnI(Variant(grid)), 2);
    EXPECT_FALSE(ax.ArrayIsDimmedFnB(none));
    EXPECT_FALSE(ax.ArrayIsDimmedFnB(emptySplit));
    EXPECT_FALSE(ax.ArrayIsDimmedFnB(Texts({"a", "b"}, -3)));  // upper bound -2
    EXPECT_TRUE(ax.ArrayIsDimmedFnB(grid, 2));                 // upper bound 0 counts
    EXPECT_FALSE(ax.ArrayIsDimmedFnB(grid, 3));
    EXPECT_FALSE(ax.ArrayIsDimmedFnB(Variant(7)));
}

struct MoveCase {
    std::int32_t firstIndex, oldPlace, newPlace, positionCode;
    std::vector<std::int32_t> expected;
    std::int32_t newPlaceAfter;
};

TEST(CAx0ArrayShape, ArrayMemberMoveLongClosesTheGap) {
    const CAx0 ax;
    const std::vector<MoveCase> cases = {
        {1, 2, 4, 0, {10, 12, 13, 11, 14}, 4},
        {1, 2, 4, -1, {10, 12, 11, 13, 14}, 3},  // up, placed before the target
        {1, 5, 2, 1, {10, 11, 14, 12, 13}, 3},   // down, placed after the target
        {1, 3, 2, 1, {10, 11, 12, 13, 14}, 3},   // turned back onto itself
        {1, 3, 3, 1, {10, 11, 12, 13, 14}, 4},   // turned back past itself
        {3, 1, 4, 0, {10, 11, 13, 10, 14}, 4},   // elements before the first index stay
    };
    for (const MoveCase& c : cases) {
        VArray array = Longs({10, 11, 12, 13, 14}, 1);
        std::int32_t newPlace = c.newPlace;
        ax.ArrayMemberMoveLong(array, c.firstIndex, c.oldPlace, newPlace, c.positionCode);
        EXPECT_EQ(array, Longs(c.expected, 1)) << c.oldPlace << "->" << c.newPlace << " code " << c.positionCode;
        EXPECT_EQ(newPlace, c.newPlaceAfter);
    }
    VArray array = Longs({7, 8, 9}, 0);
    std::int32_t newPlace = 0;
    ax.ArrayMemberMoveLong(array, 0, 9, newPlace, 0, true);  // by value
    EXPECT_EQ(array, Longs({9, 7, 8}, 0));
    EXPECT_EQ(FailureNumber([&] { ax.ArrayMemberMoveLong(array, 0, 42, newPlace, 0, true); }),
              errnum::kSubscriptOutOfRange);
    EXPECT_EQ(array, Longs({9, 7, 8}, 0));
}

TEST(CAx0ArrayShape, ConcatenationAppendsAlongTheLastIndex) {
    const CAx0 ax;
    VArray base;
    base.ReDim(0, 1, 1, 2);
    VArray add;
    add.ReDim(0, 1, 5, 5);
    for (std::int32_t col = 0; col <= 1; ++col) {
        base.At(col, 2) = Variant("b" + std::to_string(col));
        add.At(col, 5) = Variant("a" + std::to_string(col));
    }
    ax.ConcatenateArrays2D(base, add);
    ASSERT_EQ(base.UBound(2), 3);
    EXPECT_EQ(base.LBound(2), 1);
    EXPECT_EQ(CStr(base.At(0, 2)), "b0");
    EXPECT_EQ(CStr(base.At(1, 3)), "a1");

    const VArray before = base;
    VArray wide;
    wide.ReDim(0, 4, 0, 0);
    EXPECT_EQ(FailureNumber([&] { ax.ConcatenateArrays2D(base, wide); }), errnum::kSubscriptOutOfRange);
    EXPECT_EQ(base, before);
    VArray undimensioned;
    ax.ConcatenateArrays2D(undimensioned, add);
    EXPECT_EQ(undimensioned, add);

    VArray first = Texts({"a", "b"}, 1);
    VArray second = Longs({3}, 4);
    EXPECT_EQ(ax.ConcatenateArraysFnVS(first, second), Texts({"a", "b", "3"}));  // numbered from zero
}

}  // namespace
}  // namespace vorn
