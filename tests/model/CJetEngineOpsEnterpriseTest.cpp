// Enterprise names, the project identification of an enterprise database,
// and the questions that differ between a project file and a server.

#include <gtest/gtest.h>

#include <string>

#include "dbcontract/DaoTestSupport.h"
#include "model/CJetEngineOpsRecordLinks.h"
#include "model/CJetEngineOpsTestSupport.h"
#include "runtime/Conversions.h"

namespace vorn {
namespace {

using testing::EnterpriseDb;
using testing::NewProject;

class EnterpriseNamesTest : public ::testing::Test {
  protected:
    void SetUp() override { testing::MakeJetOpsSession(); }

    // PROJECT with projects 2 ("10") and 3 ("9"), POINT with a point of each,
    // and WH_UpsizeInfo naming the identification columns.
    static void MakeProjects(EnterpriseDb& server, const std::string& description = "Title") {
        server.cn.Execute("CREATE TABLE [WH_UpsizeInfo] ([ProjectUniqueID] varchar(50), [ProjectDescription] varchar(50))");
        server.cn.Execute("INSERT INTO [WH_UpsizeInfo] VALUES ('ProjNo', '" + description + "')");
        server.cn.Execute("CREATE TABLE [PROJECT] ([vORNProjectID] int, [ProjNo] varchar(20), [Title] varchar(50))");
        server.cn.Execute("INSERT INTO [PROJECT] VALUES (2, '10', 'North'), (3, '9', 'South')");
        server.cn.Execute("CREATE TABLE [POINT] ([vORNProjectID] int, [PointID] varchar(20))");
        server.cn.Execute("INSERT INTO [POINT] VALUES (2, 'B1'), (3, 'B2')");
    }

    static std::vector<std::string> Column(Database& db, const std::string& sql) {
        auto rows = db.OpenRecordset(sql, 0, 0);
        std::vector<std::string> values;
        for (; !rows->Eof(); rows->MoveNext()) values.push_back(JetOps().FieldDataToStringFnS(*rows->Fields().Item(0)));
        return values;
    }
};

TEST_F(EnterpriseNamesTest, NamesOfServersDatabasesAndOwnedTables) {
    CJetEngineOps& ops = JetOps();
    std::string server = "-";
    std::string database = "-";
    EXPECT_FALSE(ops.IsEnterpriseNameFnB("SRV:DB", &server, &database) || ops.IsEnterpriseNameFnB("A: B: C") ||
                 ops.IsEnterpriseNameFnB(""));
    EXPECT_EQ(server + database, "--");
    EXPECT_TRUE(ops.IsEnterpriseNameFnB("SRV: DB", &server, &database));
    EXPECT_EQ(server + "|" + database, "SRV|DB");
    EXPECT_EQ(ops.MakeEnterpriseNameFnS("SRV", "DB"), "SRV: DB");
    EXPECT_EQ(ops.MakeEnterpriseNameFnS("", "DB"), "DB");
    EXPECT_EQ(ops.MakeEnterpriseNameFnS("SRV", ""), "SRV");
    EXPECT_EQ(ops.EntBaseTableNameFnS("dbo.SAMPLE") + ops.EntBaseTableNameFnS("POINT") + ops.EntBaseTableNameFnS(""),
              "SAMPLEPOINT");
    NewProject project;
    project.db->Execute("CREATE TABLE [POINT] ([PointID] TEXT(20))");
    EXPECT_FALSE(ops.IsEnterpriseDBFnB(*project.db) || ops.IsEnterpriseDBFnB(nullptr));
    EXPECT_FALSE(ops.IsMultiProjectDBFnB(*project.db));
    EXPECT_EQ(ops.EnterpriseCurrUserProjectID(*project.db, 2), "");
}

TEST_F(EnterpriseNamesTest, OpeningAnEnterpriseDatabaseReadsHowProjectsAreKnown) {
    testing::EnterpriseServers servers;
    for (EnterpriseDb* server : servers.All()) {
        SCOPED_TRACE(server->idaoConnect);
        MakeProjects(*server);
        auto db = JetOps().OpenEnterpriseDbFnDB(server->idaoConnect);
        ASSERT_TRUE(JetOps().IsEnterpriseDBFnB(*db));
        const auto data = JetOps().EnterpriseDbData();
        ASSERT_NE(data, nullptr);
        EXPECT_EQ(data->IdentifierFieldName, "ProjNo");
        EXPECT_EQ(data->DescriptionFieldName, "Title");
        EXPECT_EQ(data->IDAndDescription, "ProjNo,Title");
        EXPECT_TRUE(JetOps().IsMultiProjectDBFnB(*db));
        EXPECT_EQ(JetOps().EnterpriseCurrUserProjectID(*db, 3), "9");
        EXPECT_EQ(data->UniqueID(*db, 2), "10");
        EXPECT_EQ(data->UniqueID(*db, 99), "");
        // The selection lists each project with its number, identification first.
        EXPECT_EQ(Column(*db, data->ProjectSelectionSQL()), (std::vector<std::string>{"9", "10"}));
        db->Close();

        server->cn.Execute("DELETE FROM [PROJECT] WHERE [vORNProjectID]=3");
        db = server->Open();
        EXPECT_FALSE(JetOps().IsMultiProjectDBFnB(*db)) << "one project";
        db->Close();
    }
}

TEST_F(EnterpriseNamesTest, ProjectExpressionsRunOnTheServers) {
    testing::EnterpriseServers servers;
    for (EnterpriseDb* server : servers.All()) {
        SCOPED_TRACE(server->idaoConnect);
        MakeProjects(*server);
        clsEnterpriseDbData data;
        data.IdentifierFieldName = "ProjNo";
        std::string expression;
        std::string orderBy;
        data.SqlExpressions("POINT", "PointID", "Project", expression, orderBy);
        auto db = server->Open(true);
        // Each point with its project's identification, ordered by it.
        EXPECT_EQ(Column(*db, "SELECT [PointID], " + expression + " FROM [POINT] ORDER BY " + orderBy),
                  (std::vector<std::string>{"B1", "B2"}));
        EXPECT_EQ(Column(*db, "SELECT [Project] FROM (SELECT " + expression + " FROM [POINT]) AS P"),
                  (std::vector<std::string>{"10", "9"}));
        EXPECT_EQ(Column(*db, data.UniqueIDSQL("3")), (std::vector<std::string>{"9"}));
        EXPECT_EQ(Column(*db, "SELECT " + data.ProjIDPointIDConcatenation("-") + " FROM [POINT]"),
                  (std::vector<std::string>{"2-B1", "3-B2"}));
        db->Close();
    }
}

TEST_F(EnterpriseNamesTest, RecordLinksAreCheckedAgainstTheRowsKeys) {
    NewProject project;
    project.db->Execute("CREATE TABLE [SAMPLE] ([PointID] TEXT(20), [Depth] DOUBLE)");
    JetOps().IndexCreate("PointID,Depth", "VORNINDEX", *project.db->TableDefs().Item("SAMPLE"), true);
    project.db->Execute("INSERT INTO [SAMPLE] VALUES ('B1', 1.5)");
    std::string message = "old";
    EXPECT_FALSE(RecordLinkCheckFailedFnB(*project.db, "", message) || !message.empty());
    EXPECT_FALSE(RecordLinkCheckFailedFnB(*project.db, "SAMPLE!B1,1.5\r\n", message));
    EXPECT_TRUE(RecordLinkCheckFailedFnB(*project.db, "SAMPLE!B1,1.5\r\nSAMPLE!B1,2\r\nNOPE!x\r\nSAMPLE!O'B", message));
    const std::string notFound = TextStr().TextStringGetFnS(3961, {TextStr().TextStringGetFnS(4897)});
    const std::string noTable = TextStr().TextStringGetFnS(3961, {TextStr().TextStringGetFnS(4103)});
    EXPECT_EQ(message, "\r\nSAMPLE!B1,2: " + notFound + "\r\nNOPE!x: " + noTable + "\r\nSAMPLE!O'B: " + notFound);
}

TEST_F(EnterpriseNamesTest, RecordLinksOnAServerAreCheckedInTheCurrentProject) {
    testing::EnterpriseServers servers;
    for (EnterpriseDb* server : servers.All()) {
        SCOPED_TRACE(server->idaoConnect);
        server->cn.Execute("CREATE TABLE [SAMPLE] ([PointID] varchar(20) NOT NULL, [Depth] float NOT NULL, "
                           "[vORNProjectID] int NOT NULL)");
        server->cn.Execute("CREATE UNIQUE INDEX [VORNINDEX] ON [SAMPLE] ([PointID], [Depth], [vORNProjectID])");
        server->cn.Execute("INSERT INTO [SAMPLE] VALUES ('B1', 1.5, 2)");
        auto db = server->Open(true);
        std::string message;
        TheDalSession().SetCurrentProjectID(2);
        EXPECT_FALSE(RecordLinkCheckFailedFnB(*db, "SAMPLE!B1,1.5", message)) << message;
        TheDalSession().SetCurrentProjectID(3);
        EXPECT_TRUE(RecordLinkCheckFailedFnB(*db, "SAMPLE!B1,1.5", message));
        TheDalSession().SetCurrentProjectID(0);
        db->Close();
    }
}

}  // namespace
}  // namespace vorn
