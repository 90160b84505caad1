#include "runtime/VArray.h"

#include <gtest/gtest.h>

#include "support/TestSupport.h"

#include <functional>
#include <string>
#include <vector>

#include "runtime/Variant.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

using testing::FailureNumber;


TEST(VArray, UndimensionedRaisesSubscriptOutOfRange) {
    VArray array;
    EXPECT_FALSE(array.IsDimensioned());
    EXPECT_EQ(array.Dimensions(), 0);
    EXPECT_EQ(array.Count(), 0U);
    EXPECT_EQ(FailureNumber([&] { array.LBound(); }), 9);
    EXPECT_EQ(FailureNumber([&] { array.UBound(); }), 9);
    EXPECT_EQ(FailureNumber([&] { array.At(0); }), 9);
}

TEST(VArray, ReDimWithOwnBounds) {
    VArray array;
    array.ReDim(1, 3);
    EXPECT_TRUE(array.IsDimensioned());
    EXPECT_EQ(array.LBound(), 1);
    EXPECT_EQ(array.UBound(), 3);
    EXPECT_EQ(array.Count(), 3U);
    EXPECT_TRUE(array[1].IsEmpty());
    array[3] = Variant("last");
    EXPECT_EQ(array.At(3), Variant("last"));
    EXPECT_EQ(FailureNumber([&] { array.At(0); }), 9);
    EXPECT_EQ(FailureNumber([&] { array.At(4); }), 9);
    EXPECT_EQ(FailureNumber([&] { array.UBound(2); }), 9);
    EXPECT_EQ(FailureNumber([&] { array.LBound(0); }), 9);
    EXPECT_EQ(FailureNumber([&] { array.At(1, 1); }), 9);

    array.ReDim(-2, 2);  // a plain ReDim clears
    EXPECT_EQ(array.LBound(), -2);
    EXPECT_TRUE(array[2].IsEmpty());
}

TEST(VArray, EmptyRangeIsDimensionedWithoutItems) {
    VArray array;
    array.ReDim(0, -1);
    EXPECT_TRUE(array.IsDimensioned());
    EXPECT_EQ(array.UBound(), -1);
    EXPECT_EQ(array.Count(), 0U);
    EXPECT_EQ(FailureNumber([&] { array.At(0); }), 9);
    EXPECT_EQ(FailureNumber([&] { array.ReDim(0, -2); }), 9);
}

TEST(VArray, ReDimPreserveKeepsItemsAndChangesOnlyTheUpperBound) {
    VArray array;
    array.ReDimPreserve(0, 1);  // an undimensioned array is simply dimensioned
    array[0] = Variant(10);
    array[1] = Variant(11);
    array.ReDimPreserve(0, 3);
    EXPECT_EQ(array[0], Variant(10));
    EXPECT_EQ(array[1], Variant(11));
    EXPECT_TRUE(array[3].IsEmpty());
    array.ReDimPreserve(0, 0);
    EXPECT_EQ(array.UBound(), 0);
    EXPECT_EQ(array[0], Variant(10));
    EXPECT_EQ(FailureNumber([&] { array.ReDimPreserve(1, 3); }), 9);
    EXPECT_EQ(FailureNumber([&] { array.ReDimPreserve(0, 1, 0, 1); }), 9);
}

TEST(VArray, TwoDimensions) {
    VArray grid;
    grid.ReDim(1, 2, 0, 2);
    EXPECT_EQ(grid.Dimensions(), 2);
    EXPECT_EQ(grid.LBound(1), 1);
    EXPECT_EQ(grid.UBound(1), 2);
    EXPECT_EQ(grid.LBound(2), 0);
    EXPECT_EQ(grid.UBound(2), 2);
    EXPECT_EQ(grid.Count(), 6U);
    for (int r = 1; r <= 2; ++r) {
        for (int c = 0; c <= 2; ++c) {
            grid.At(r, c) = Variant(r * 10 + c);
        }
    }
    EXPECT_EQ(grid.At(2, 1), Variant(21));
    EXPECT_EQ(FailureNumber([&] { grid.At(0, 0); }), 9);
    EXPECT_EQ(FailureNumber([&] { grid.At(1, 3); }), 9);
    EXPECT_EQ(FailureNumber([&] { grid.At(1); }), 9);
    EXPECT_EQ(FailureNumber([&] { grid.UBound(3); }), 9);

    // Only the last dimension may change under Preserve.
    grid.ReDimPreserve(1, 2, 0, 3);
    EXPECT_EQ(grid.At(2, 1), Variant(21));
    EXPECT_EQ(grid.At(1, 2), Variant(12));
    EXPECT_TRUE(grid.At(2, 3).IsEmpty());
    EXPECT_EQ(FailureNumber([&] { grid.ReDimPreserve(1, 3, 0, 3); }), 9);
    EXPECT_EQ(FailureNumber([&] { grid.ReDimPreserve(1, 2, 1, 3); }), 9);
    EXPECT_EQ(FailureNumber([&] { grid.ReDimPreserve(0, 5); }), 9);
}

TEST(VArray, EraseAndCopy) {
    VArray array = VArray::FromStrings({"a", "b"});
    VArray copy = array;
    copy[0] = Variant("changed");
    EXPECT_EQ(array[0], Variant("a"));  // copies are deep
    EXPECT_FALSE(array == copy);
    array.Erase();
    EXPECT_FALSE(array.IsDimensioned());
    EXPECT_EQ(FailureNumber([&] { array.UBound(); }), 9);
    EXPECT_EQ(copy.ToStrings(), (std::vector<std::string>{"changed", "b"}));
}

TEST(VArray, FromItemsStartsAtTheLowerBound) {
    const VArray array = VArray::FromItems({Variant(1), Variant(2)}, 1);
    EXPECT_EQ(array.LBound(), 1);
    EXPECT_EQ(array.UBound(), 2);
    EXPECT_EQ(array[2], Variant(2));
    const VArray none = VArray::FromStrings({});
    EXPECT_EQ(none.UBound(), -1);
}

TEST(VArray, ArraysInsideVariantsHaveValueSemantics) {
    VArray inner;
    inner.ReDim(0, 0);
    inner[0] = Variant(VArray::FromStrings({"x"}));
    Variant outer(inner);
    Variant copy = outer;
    copy.AsArray()[0].AsArray()[0] = Variant("y");
    EXPECT_EQ(outer.AsArray()[0].AsArray()[0], Variant("x"));
    EXPECT_EQ(copy.AsArray()[0].AsArray()[0], Variant("y"));
}

}  // namespace
}  // namespace vorn
