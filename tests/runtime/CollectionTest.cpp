#include "runtime/Collection.h"

#include <gtest/gtest.h>

#include "support/TestSupport.h"

#include "runtime/ErrorNumbers.h"

namespace vorn {
namespace {

using testing::FailureNumber;


TEST(Collection, KeysIgnoreCaseAndPositionsCountFromOne) {
    Collection<int> tables;
    tables.Add(1, "POINT");
    tables.Add(2, "Sample");
    tables.Add(3);  // no key
    EXPECT_EQ(tables.Count(), 3);
    EXPECT_EQ(tables.Item(1), 1);
    EXPECT_EQ(tables.Item(3), 3);
    EXPECT_EQ(tables.Item("point"), 1);
    EXPECT_EQ(tables.Item("SAMPLE"), 2);
    EXPECT_EQ(tables.KeyAt(2), "Sample");
    EXPECT_TRUE(tables.Contains("sample"));
    EXPECT_EQ(tables.Find("nothing"), nullptr);
}

TEST(Collection, DuplicateKeyFailsWith457AndLeavesTheCollectionAsItWas) {
    Collection<int> c;
    c.Add(1, "Umsätze");
    EXPECT_EQ(FailureNumber([&] { c.Add(2, "UMSÄTZE"); }), errnum::kDuplicateKey);
    EXPECT_EQ(c.Count(), 1);
}

TEST(Collection, MissingKeyOrPositionFailsWith5) {
    Collection<int> c;
    c.Add(1, "a");
    EXPECT_EQ(FailureNumber([&] { c.Item("b"); }), errnum::kInvalidProcedureCall);
    EXPECT_EQ(FailureNumber([&] { c.Item(0); }), errnum::kInvalidProcedureCall);
    EXPECT_EQ(FailureNumber([&] { c.Item(2); }), errnum::kInvalidProcedureCall);
    EXPECT_EQ(FailureNumber([&] { c.Remove("b"); }), errnum::kInvalidProcedureCall);
}

TEST(Collection, RemoveShiftsPositionsAndFreesTheKey) {
    Collection<std::string> c;
    c.Add("one", "1");
    c.Add("two", "2");
    c.Add("three", "3");
    c.Remove("2");
    EXPECT_EQ(c.Count(), 2);
    EXPECT_EQ(c.Item(2), "three");
    c.Add("two again", "2");  // the key can be used again
    EXPECT_EQ(c.Item(3), "two again");
    c.Remove(1);
    EXPECT_EQ(c.Item("3"), "three");
    EXPECT_EQ(c.Item(1), "three");
}

TEST(Collection, InsertBeforeAndAfter) {
    Collection<int> c;
    c.Add(10, "a");
    c.Add(30, "c");
    c.AddBefore(20, "b", 2);
    c.AddAfter(40, "d", 3);
    std::vector<int> seen;
    c.ForEach([&](int v) { seen.push_back(v); });
    EXPECT_EQ(seen, (std::vector<int>{10, 20, 30, 40}));
    EXPECT_EQ(c.Item("d"), 40);
}

}  // namespace
}  // namespace vorn
