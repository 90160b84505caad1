// Key sets read from tables: of a project file, of a Jet file, and of
// enterprise databases on SQLite and MariaDB.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "model/CVornIndex.h"
#include "model/KeysTestSupport.h"
#include "runtime/Conversions.h"

namespace vorn {
namespace {

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
        {"SAMPLE", kfoBracketed | kfoStandardKeys, "", "[PointID],[Depth]", 2},
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
    const auto reading =
        db->TableDefs().Item("READING");  // held: the INSERTs reload the collections
    std::int32_t level = kfoSortOrder;
    const std::string orderBy =
        TheIndex().VornIndexFieldsFnS(*reading, level, db.get(), "READING", ", ");
    EXPECT_NE(orderBy.find(", [READING].[Depth], [READING].[Reading] DESC"), std::string::npos)
        << orderBy;
    for (const char* row : {"'10', 1, 5", "'9', 1, 5", "'9', 1, 7", "'9', 0.5, 1", "'B', 1, 1"}) {
        db->Execute(std::string("INSERT INTO READING (PointID, Depth, Reading) VALUES (") + row +
                    ")");
    }
    auto ordered = db->OpenRecordset("SELECT * FROM READING ORDER BY " + orderBy, 4, 4);
    std::vector<std::string> seen;
    for (; !ordered->Eof(); ordered->MoveNext()) {
        seen.push_back(CStr((*ordered)["PointID"].Value()) + "/" +
                       CStr((*ordered)["Depth"].Value()) + "/" +
                       CStr((*ordered)["Reading"].Value()));
    }
    EXPECT_EQ(seen, (std::vector<std::string>{"9/0.5/1", "9/1/7", "9/1/5", "10/1/5", "B/1/1"}));

    level = kfoSortOrder | kfoFromLeaf;
    EXPECT_EQ(TheIndex().VornIndexFieldsFnS(*reading, level, db.get(), "", ","), "[Reading] DESC");
    level = kfoSortOrder;
    const std::string plainFirst =
        TheIndex().VornIndexFieldsFnS(Table("SAMPLE"), level, db.get(), "", ",", 1);
    EXPECT_EQ(plainFirst.rfind("[PointID],[Depth],", 0), 0u)
        << "the omitted key stays plain: " << plainFirst;
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
    EXPECT_FALSE(required[2].AsBoolean());
    EXPECT_TRUE(required[3].AsBoolean());
    EXPECT_FALSE(TheIndex().IsTextKeyFnB(Table("POINT"), "Elev")) << "not a key field";
}

TEST_F(KeySetOfTables, JetFilesWithoutVornIndexHaveNoKeyAndRaiseNothing) {
    auto nwind = DaoEngine().OpenDatabase(testing::JetFixture("nwind.mdb"), 4, true);
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
void ExpectEnterpriseKeySets(testing::EnterpriseDb& site, bool hasReading) {
    auto server = site.Open();
    TableDef& sample = *server->TableDefs().Item("SAMPLE");
    std::int32_t level = kfoStandardKeys;
    EXPECT_EQ(TheIndex().VornIndexFieldsFnS(sample, level, server.get()), "PointID,Depth");
    EXPECT_EQ(level, 2);
    EXPECT_FALSE(TheIndex().HasCachedConnection()) << "a connection opened for one call is closed";
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

TEST_F(KeySetOfTables, EnterpriseDatabaseOnSqliteReadsTheServerIndex) {
    testing::SqliteEnterpriseDb site;
    testing::BuildEnterpriseProject(site, false);
    ExpectEnterpriseKeySets(site, false);
}

TEST_F(KeySetOfTables, EnterpriseDatabaseOnMariaDbReadsTheServerIndex) {
    testing::MariaDbEnterpriseDb site;
    testing::BuildEnterpriseProject(site, true);
    ExpectEnterpriseKeySets(site, true);
}

}  // namespace
}  // namespace vorn
