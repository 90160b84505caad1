// The key set rules on the text of a list.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "model/CVornIndex.h"
#include "model/KeysTestSupport.h"

namespace vorn {
namespace {

using KeysetText = testing::KeysTest;

TEST_F(KeysetText, SubsetsCutAroundTheLeafOrByLevel) {
    struct Case {
        std::string list;
        std::int32_t option;
        std::string expected;
    };
    const std::vector<Case> cases = {
        {"PointID,Depth,Test", kfoStandardKeys, "PointID,Depth"},
        {"PointID,Depth,Test", kfoAllFields, "Test"},  // any other option lists the extended keys
        {"vORNProjectID,PointID,Depth", kfoStandardKeys, "PointID,Depth"},
        {"PointID,Depth,Test,Run", kfoLeafOnward, "Depth,Test,Run"},
        {"PointID,Depth,Test,Run", kfoParentKeys, "PointID"},
        {"PointID,Depth,Test,Run", kfoAfterLeaf, "Test,Run"},
        {"PointID,Test", kfoParentKeys, ""},  // a leaf in the first column has no parents
        {"PointID,Depth,Reading", 3, "PointID,Depth,Reading"},
        {"PointID,Depth,Reading", 4, "PointID"},  // the wrap goes on: field 5 is Depth
    };
    for (const Case& c : cases) {
        EXPECT_EQ(TheIndex().VornKeyFieldsSubsetFnS(c.list, c.option), c.expected)
            << c.list << " option " << std::hex << c.option;
    }
}

TEST_F(KeysetText, FieldByLevelWrapsPastTheEndAndCountsBackFromIt) {
    struct Case {
        std::string list;
        std::int16_t level;
        bool nonVorn;
        std::string expected;
    };
    const std::vector<Case> cases = {
        {"A,B", 3, true, "A"},
        {"A,B", 4, true, "B"},
        {"A,B", -1, true, "B"},
        {"A,B", -2, true, "A"},
        {"Name,Code", 2, false, "Code"},            // no standard field: the whole list
        {"PointID,Name,Depth", 2, false, "Depth"},  // the standard part unless non-vorn
        {"PointID,Name,Depth", 2, true, "Name"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(TheIndex().KeyFieldByLevelFnS(c.list, c.level, c.nonVorn), c.expected)
            << c.list << " level " << c.level;
    }
}

TEST_F(KeysetText, LeafParentsAndAdditionalUniqueKeys) {
    struct Case {
        std::string list;
        std::int16_t leafColumn;
        std::string omitLeaf, additional;
    };
    const std::vector<Case> cases = {
        {"PointID", 1, "PointID", ""},  // a single field is its own parent list
        {"Name,Depth", 2, "Name", ""},
        {"PointID,Depth,Test,Run", 2, "PointID", "Test,Run"},
        {"A,B,C", 3, "A,B", ""},  // no standard field: the last one is the leaf
        {"PointID,Test", 1, "PointID,Test", "Test"},
        {"[PointID],[Depth],[Run]", 2, "[PointID]", "[Run]"},
        {"", 0, "", ""},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(TheIndex().LeafKeyColFnI(c.list), c.leafColumn) << c.list;
        EXPECT_EQ(TheIndex().KeysOmitLeaf(c.list), c.omitLeaf) << c.list;
        EXPECT_EQ(TheIndex().KeysAddlUniqueFnS(c.list), c.additional) << c.list;
    }
}

TEST_F(KeysetText, KeyNamesTellTheirTypeAndStandingByNameAlone) {
    EXPECT_EQ(TheIndex().DataTypeFromKeyNameFnI("[SAMPLE].[depth]"), 7);
    EXPECT_EQ(TheIndex().DataTypeFromKeyNameFnI("Reading2"), 10)
        << "text, although Reading is a number";
    EXPECT_EQ(TheIndex().DataTypeFromKeyNameFnI("T.X.Depth"), 10) << "only the first dot divides";
    EXPECT_TRUE(TheIndex().VornKeysetFieldFnB("[pointid]"));
    EXPECT_FALSE(TheIndex().PointRelatedKeysetFnB("PointIDX,Depth"));
}

}  // namespace
}  // namespace vorn
