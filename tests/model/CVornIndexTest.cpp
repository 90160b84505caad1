// The key set rules: on the text of a list, and read from tables of a
// project file, a Jet file and enterprise databases on SQLite and MariaDB.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "model/ModelTestSupport.h"

namespace vorn {
namespace {

using KeysetText = testing::ModelTest;

TEST_F(KeysetText, SubsetsCutAroundTheLeafOrByLevel) {
    struct Case {
        std::string list;
        std::int32_t option;
        std::string expected;
    };
    const std::vector<Case> cases = {
        {"PointID,Depth,Test", kfoStandardKeys, "PointID,Depth"},
        {"PointID,Depth,Test", kfoAllFields, "Test"},  // other options list the extended keys
        {"vORNProjectID,PointID,Depth", kfoStandardKeys, "PointID,Depth"},
        {"PointID,Depth,Test,Run", kfoLeafOnward, "Depth,Test,Run"},
        {"PointID,Depth,Test,Run", kfoParentKeys, "PointID"},
        {"PointID,Depth,Test,Run", kfoAfterLeaf, "Test,Run"},
        {"PointID,Test", kfoParentKeys, ""},      // a leaf in the first column has no parents
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
    EXPECT_EQ(TheIndex().DataTypeFromKeyNameFnI("[SAMPLE].[depth]"), 7);
    EXPECT_EQ(TheIndex().DataTypeFromKeyNameFnI("Reading2"), 10) << "Reading is a number";
    EXPECT_EQ(TheIndex().DataTypeFromKeyNameFnI("T.X.Depth"), 10) << "only the first dot divides";
    EXPECT_FALSE(TheIndex().PointRelatedKeysetFnB("PointIDX,Depth"));
}

using KeySetOfTables = testing::SampleProjectTest;

TEST_F(KeySetOfTables, EachOptionGivesItsFormAndLevel) {
    struct Case {
        std::string table;
        std::int32_t option;
        std::string psTable, list;
        std::int32_t level;
    };
    const std::vector<Case> cases = {
        {"SAMPLE", kfoAllFields, "", "PointID,Depth,SampleNo", 3},
        {"SAMPLE", 0, "", "PointID,Depth", 2},  // no option acts as kfoStandardKeys
        {"SAMPLE", kfoStandardKeepLevel, "", "PointID,Depth", 3},
        {"SAMPLE", kfoAfterLeaf, "", "SampleNo", 3},
        {"SAMPLE", kfoBracketed, "S", "[S].[PointID],[S].[Depth],[S].[SampleNo]", 3},
        {"PROJECT", kfoSortOrder, "P", "", 0},  // no VORNINDEX: no key, never a failure
    };
    for (const Case& c : cases) {
        std::int32_t level = c.option;
        EXPECT_EQ(TheIndex().VornIndexFieldsFnS(Table(c.table), level, db.get(), c.psTable), c.list)
            << c.table << " option " << std::hex << c.option;
        EXPECT_EQ(level, c.level) << c.table << " option " << std::hex << c.option;
    }
}

TEST_F(KeySetOfTables, SortFormOrdersTextKeysByValueAndADescendingLeafDown) {
    const auto reading = db->TableDefs().Item("READING");  // held: INSERTs reload collections
    std::int32_t level = kfoSortOrder;
    const std::string orderBy =
        TheIndex().VornIndexFieldsFnS(*reading, level, db.get(), "READING", ", ");
    for (const char* row : {"'10', 1, 5", "'9', 1, 5", "'9', 1, 7", "'9', 0.5, 1", "'B', 1, 1"}) {
        db->Execute(std::string("INSERT INTO READING (PointID, Depth, Reading) VALUES (") + row +
                    ")");
    }
    EXPECT_EQ(testing::Column(*db,
                              "SELECT PointID & '/' & Depth & '/' & Reading FROM READING "
                              "ORDER BY " +
                                  orderBy),
              (std::vector<std::string>{"9/0.5/1", "9/1/7", "9/1/5", "10/1/5", "B/1/1"}))
        << orderBy;

    level = kfoSortOrder | kfoFromLeaf;
    EXPECT_EQ(TheIndex().VornIndexFieldsFnS(*reading, level, db.get(), "", ","), "[Reading] DESC");
    level = kfoSortOrder;
    const std::string plainFirst =
        TheIndex().VornIndexFieldsFnS(Table("SAMPLE"), level, db.get(), "", ",", 1);
    EXPECT_EQ(plainFirst.rfind("[PointID],[Depth],", 0), 0u) << "the omitted key stays plain";
}

TEST_F(KeySetOfTables, UniquenessTypesAndRequiredFlagsComeFromTheIndex) {
    struct Case {
        std::string table;
        bool unique, allowDupe, extended;
        std::string types;
    };
    const std::vector<Case> cases = {
        {"POINT", true, false, false, "10"},
        {"SAMPLE", true, true, true, "10,7,10"},  // SampleNo after the leaf allows repeated depths
        {"READING", false, true, false, "10,7,7"},
        {"PROJECT", false, true, false, ""},
    };
    for (const Case& c : cases) {
        TableDef& table = Table(c.table);
        EXPECT_EQ(TheIndex().VornIndexIsUniqueFnB(table), c.unique) << c.table;
        EXPECT_EQ(TheIndex().VornIndexAllowDupeFnB(table), c.allowDupe) << c.table;
        EXPECT_EQ(TheIndex().HasExtendedKeysFnB(table), c.extended) << c.table;
        EXPECT_EQ(TheIndex().VornIndexFieldTypesFnS(table), c.types) << c.table;
    }
    const VArray required = TheIndex().VornIndexFieldsReqVFnB(Table("SAMPLE"), db.get());
    ASSERT_EQ(required.UBound(), 3);
    EXPECT_TRUE(!required[2].AsBoolean() && required[3].AsBoolean());
    EXPECT_FALSE(TheIndex().IsTextKeyFnB(Table("POINT"), "Elev")) << "not a key field";

    // A Jet file without VORNINDEX has no key and raises nothing.
    auto nwind = testing::OpenNwind();
    TableDef& orders = *nwind->TableDefs().Item("Order Details");
    std::int32_t level = kfoSortOrder;
    EXPECT_EQ(TheIndex().VornIndexFieldsFnS(orders, level, nwind.get(), "T"), "");
    EXPECT_EQ(level, 0);
    EXPECT_FALSE(TheIndex().VornIndexIsUniqueFnB(orders));
    EXPECT_TRUE(Recorded().Messages().empty());
    nwind->Close();
}

// The same project in an enterprise database gives the project file's
// standard key sets; vORNProjectID shows only in the full list.
TEST_F(KeySetOfTables, EnterpriseDatabasesReadTheServerIndex) {
    testing::EnterpriseServers servers;
    for (testing::EnterpriseDb* site : servers.All()) {
        SCOPED_TRACE(site->idaoConnect);
        const bool hasReading = site == &servers.mariadb;
        testing::BuildEnterpriseProject(*site, hasReading);
        auto server = site->Open();
        TableDef& sample = *server->TableDefs().Item("SAMPLE");
        std::int32_t level = kfoStandardKeys;
        EXPECT_EQ(TheIndex().VornIndexFieldsFnS(sample, level, server.get()), "PointID,Depth");
        EXPECT_EQ(level, 2);
        EXPECT_FALSE(TheIndex().HasCachedConnection()) << "a connection for one call is closed";
        // PROJECT has no VORNINDEX: vORNProject_UID stands in.
        TableDef& project = *server->TableDefs().Item("PROJECT");
        level = kfoAllFields;
        EXPECT_EQ(TheIndex().VornIndexFieldsFnS(project, level, server.get()), "vORNProjectID");
        EXPECT_EQ(level, 1);
        EXPECT_TRUE(TheIndex().VornIndexIsUniqueFnB(project));
        EXPECT_EQ(Join(TheIndex().VornIndexFieldTypesVFnI(project), ","), "4");

        // With the connection set for the job, calls without a database read the server.
        TheIndex().ConnectionSet(server.get());
        EXPECT_EQ(TheIndex().VornIndexFieldsFnS(sample, kfoAllFields),
                  "vORNProjectID,PointID,Depth,SampleNo");
        EXPECT_TRUE(TheIndex().HasExtendedKeysFnB(sample)) << "vORNProjectID is no standard key";
        if (hasReading) {
            level = kfoSortOrder | kfoFromLeaf;
            EXPECT_EQ(TheIndex().VornIndexFieldsFnS(*server->TableDefs().Item("READING"), level),
                      "[Reading] DESC");
        }
        TheIndex().ConnectionSet();
        server->Close();
    }
}

}  // namespace
}  // namespace vorn
