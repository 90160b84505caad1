// Table classes, aliases and link table names.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "model/ModelTestSupport.h"

namespace vorn {
namespace {

using testing::kDel;
using testing::MakeTable;

using TableClasses = testing::SampleProjectTest;

TEST_F(TableClasses, LinkNamesNestAndLeadBackToTheUpperCasedParent) {
    struct Case {
        std::string table, link, parent;
        bool isLink;
    };
    const std::vector<Case> cases = {
        {"Sample", kDel + "SAMPLELINK", "Sample", false},
        {kDel + "SAMPLELINK", kDel + "SAMPLELINKLINK", "SAMPLE", true},
        {kDel + "SampleLinkLink", kDel + "SAMPLELINKLINKLINK", "Sample", true},
        {"SAMPLELINK", kDel + "SAMPLELINKLINK", "SAMPLELINK", false},  // no mark, no link
        {kDel + "LINK", kDel + "LINKLINK", "", true},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(UserTab().LinkTableNameFnS(c.table), c.link) << c.table;
        EXPECT_EQ(UserTab().ParentFromLinkFnS(c.table), c.parent) << c.table;
        EXPECT_EQ(UserTab().IsLinkTableNameFnB(c.table), c.isLink) << c.table;
    }
    // Fixed aliases map both ways, the page table's from the alias only.
    EXPECT_EQ(UserTab().TableAliasFnS(kDel + "textmacro"), "Text Macros");
    EXPECT_EQ(UserTab().AliasTableFnS(TextStr().TextStringGetFnS(5184)), "[" + kDel + "GIDPAGE]");
    EXPECT_EQ(UserTab().TableAliasFnS(kDel + "GIDPAGE"), kDel + "GIDPAGE");
    EXPECT_TRUE(UserTab().IsAliasedFnB("Text Macros"));
    EXPECT_FALSE(UserTab().IsAliasedFnB("SAMPLE"));
}

TEST_F(TableClasses, CriteriaDecideWhichTablesAreTheUsers) {
    const testing::FieldSpec recId{"VornRecID", dao::dbLong};
    MakeTable(*db, kDel + "TEXTMACRO", {recId}, {"VornRecID"});
    MakeTable(*db, kDel + "SAMPLELINK", {{"PointID", dao::dbText, 20}, recId}, {"PointID"});
    const std::string otherFile = (folder / "other.vpj").string();
    auto other = DaoEngine().CreateDatabase(otherFile, testing::kLocale);
    MakeTable(*other, "SRC", {{"PointID", dao::dbText, 20}, recId}, {"PointID"});
    other->Close();
    auto attached =
        db->CreateTableDef("LINKED", dao::dbAttachSavePWD, "SRC", ";DATABASE=" + otherFile + ";");
    attached->Fields().Append(attached->CreateField("PointID", dao::dbText, 20));
    db->TableDefs().Append(attached);

    struct Case {
        std::string table;
        bool any, keyed, zero, negative, data;  // criteria 1, 32767, 0, -1; a data table
    };
    const std::vector<Case> cases = {
        {"POINT", true, true, true, false, true},
        {"PROJECT", true, false, false, false, true},            // no index
        {kDel + "TEXTMACRO", true, false, false, false, false},  // aliased: criterion 1 only
        {kDel + "SAMPLELINK", false, false, false, false, false},
        {"LINKED", false, false, false, false, true},  // attached: data, never the user's
    };
    for (const Case& c : cases) {
        TableDef& table = Table(c.table);
        std::string name = "unchanged";
        EXPECT_EQ(UserTab().VornUserTableFnB(table, &name, 1), c.any) << c.table;
        EXPECT_EQ(name, c.table == "LINKED" ? "" : c.table);
        EXPECT_EQ(UserTab().VornUserTableFnB(table, nullptr, 32767), c.keyed) << c.table;
        EXPECT_EQ(UserTab().VornUserTableFnB(table, nullptr, 0), c.zero) << c.table;
        EXPECT_EQ(UserTab().VornUserTableFnB(table, nullptr, -1), c.negative) << c.table;
        EXPECT_EQ(UserTab().VornDataTableFnB(table, name), c.data) << c.table;
    }
    EXPECT_EQ(UserTab().UserTablesCountFnI(*db), 3) << "POINT, SAMPLE, READING";
    std::string link = "none";
    EXPECT_TRUE(UserTab().LinkTableExistsFnB("Sample", *db, link));
    EXPECT_EQ(link, kDel + "SAMPLELINK");
    EXPECT_FALSE(UserTab().LinkTableExistsFnB("POINT", *db, link));
}

TEST_F(TableClasses, ProjectsAndDrawingFilesAreTold) {
    EXPECT_TRUE(UserTab().HasVornTableDefsFnB(*db));
    auto nwind = testing::OpenNwind();
    std::string name;
    EXPECT_FALSE(UserTab().VornDataTableFnB(*nwind->TableDefs().Item("MSysObjects"), name));
    EXPECT_FALSE(UserTab().HasVornTableDefsFnB(*nwind));
    nwind->Close();
    auto drawing = DaoEngine().CreateDatabase((folder / "pages.vpj").string(), testing::kLocale);
    MakeTable(*drawing, kDel + "GIDPAGE", {{"PageID", dao::dbLong}}, {});
    EXPECT_TRUE(UserTab().HasVornTableDefsFnB(*drawing)) << "a file of drawing pages alone";
    MakeTable(*drawing, "POINT", {{"PointID", dao::dbText, 20}}, {"PointID"}, false);
    MakeTable(*drawing, "PROJECT", {{"Name", dao::dbText, 20}}, {});
    drawing->TableDefs().Delete(kDel + "GIDPAGE");
    EXPECT_FALSE(UserTab().HasVornTableDefsFnB(*drawing)) << "POINT's key is not unique";
    drawing->Close();

    testing::MariaDbEnterpriseDb site;
    testing::BuildEnterpriseProject(site, true);
    auto server = site.Open();
    auto schema = site.cn.TableSchema("SAMPLE");
    EXPECT_TRUE(
        UserTab().VornUserTableFnB(*server->TableDefs().Item("SAMPLE"), nullptr, 32767, &schema));
    EXPECT_EQ(UserTab().UserTablesCountFnI(*server), 2) << "PROJECT has no VornRecID";
    server->Close();
}

}  // namespace
}  // namespace vorn
