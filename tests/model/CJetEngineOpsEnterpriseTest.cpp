// Enterprise names, how an enterprise database says how projects are known,
// record links, and the sort expressions that put numbers stored as text in
// order of value ("9" before "10") on a project file and on both engines.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "model/CJetEngineOpsRecordLinks.h"
#include "model/ModelTestSupport.h"

namespace vorn {
namespace {

using testing::Column;
using testing::EnterpriseDb;
using Strings = std::vector<std::string>;

class EnterpriseTest : public testing::ModelTest {
  protected:
    // PROJECT with projects 2 ("10") and 3 ("9"), POINT with a point of each,
    // and WH_UpsizeInfo naming the identification columns.
    static void MakeProjects(EnterpriseDb& server) {
        server.cn.Execute(
            "CREATE TABLE [WH_UpsizeInfo] ([ProjectUniqueID] varchar(50), "
            "[ProjectDescription] varchar(50))");
        server.cn.Execute("INSERT INTO [WH_UpsizeInfo] VALUES ('ProjNo', 'Title')");
        server.cn.Execute(
            "CREATE TABLE [PROJECT] ([vORNProjectID] int, [ProjNo] varchar(20), "
            "[Title] varchar(50))");
        server.cn.Execute("INSERT INTO [PROJECT] VALUES (2, '10', 'North'), (3, '9', 'South')");
        server.cn.Execute("CREATE TABLE [POINT] ([vORNProjectID] int, [PointID] varchar(20))");
        server.cn.Execute("INSERT INTO [POINT] VALUES (2, 'B1'), (3, 'B2')");
    }

    // A table KEYS in the project file with a text key holding `values`.
    void MakeKeys(const Strings& values) {
        project.db->Execute("CREATE TABLE [KEYS] ([vORNProjectID] LONG, [Code] TEXT(20))");
        std::int32_t id = 0;
        for (const std::string& value : values) {
            project.db->Execute("INSERT INTO [KEYS] VALUES (" + std::to_string(++id) + ", " +
                                JetOps().WhereFieldFnS(value, "'") + ")");
        }
    }
    Strings Ordered(const std::string& orderBy) {
        return Column(*project.db, "SELECT [Code] FROM [KEYS] ORDER BY " + orderBy);
    }

    testing::NewProject project;
};

TEST_F(EnterpriseTest, NamesOfServersDatabasesAndOwnedTables) {
    CJetEngineOps& ops = JetOps();
    std::string server = "-";
    std::string database = "-";
    EXPECT_FALSE(ops.IsEnterpriseNameFnB("SRV:DB", &server, &database) ||
                 ops.IsEnterpriseNameFnB("A: B: C") || ops.IsEnterpriseNameFnB(""));
    EXPECT_EQ(server + database, "--");
    EXPECT_TRUE(ops.IsEnterpriseNameFnB("SRV: DB", &server, &database));
    EXPECT_EQ(server + "|" + database, "SRV|DB");
    EXPECT_EQ(ops.MakeEnterpriseNameFnS("SRV", "DB") + "|" + ops.MakeEnterpriseNameFnS("", "DB"),
              "SRV: DB|DB");
    EXPECT_EQ(ops.EntBaseTableNameFnS("dbo.SAMPLE") + ops.EntBaseTableNameFnS("POINT"),
              "SAMPLEPOINT");
    project.db->Execute("CREATE TABLE [POINT] ([PointID] TEXT(20))");
    EXPECT_FALSE(ops.IsEnterpriseDBFnB(*project.db) || ops.IsMultiProjectDBFnB(*project.db));
    EXPECT_EQ(ops.EnterpriseCurrUserProjectID(*project.db, 2), "");
}

TEST_F(EnterpriseTest, OpeningAnEnterpriseDatabaseReadsHowProjectsAreKnown) {
    testing::EnterpriseServers servers;
    for (EnterpriseDb* server : servers.All()) {
        SCOPED_TRACE(server->idaoConnect);
        MakeProjects(*server);
        auto db = JetOps().OpenEnterpriseDbFnDB(server->idaoConnect);
        ASSERT_TRUE(JetOps().IsEnterpriseDBFnB(*db));
        const auto data = JetOps().EnterpriseDbData();
        ASSERT_NE(data, nullptr);
        EXPECT_EQ(data->IDAndDescription, "ProjNo,Title");
        EXPECT_TRUE(JetOps().IsMultiProjectDBFnB(*db));
        EXPECT_EQ(JetOps().EnterpriseCurrUserProjectID(*db, 3), "9");
        EXPECT_EQ(data->UniqueID(*db, 99), "");
        // The selection lists each project, identification first, 9 before 10.
        EXPECT_EQ(Column(*db, data->ProjectSelectionSQL()), (Strings{"9", "10"}));
        // Each point with its project's identification.
        std::string expression;
        std::string orderBy;
        data->SqlExpressions("POINT", "PointID", "Project", expression, orderBy);
        EXPECT_EQ(
            Column(*db, "SELECT [Project] FROM (SELECT " + expression + " FROM [POINT]) AS P"),
            (Strings{"10", "9"}));
        EXPECT_EQ(Column(*db, "SELECT " + data->ProjIDPointIDConcatenation("-") + " FROM [POINT]"),
                  (Strings{"2-B1", "3-B2"}));
        db->Close();

        server->cn.Execute("DELETE FROM [PROJECT] WHERE [vORNProjectID]=3");
        db = server->Open();
        EXPECT_FALSE(JetOps().IsMultiProjectDBFnB(*db)) << "one project";
        db->Close();
    }
}

// A table name with an owner ("dbo.SAMPLE"; SQLite's is "main") is
// bracketed part by part in the statements built here.
TEST_F(EnterpriseTest, OwnerQualifiedTablesAreBracketedPartByPart) {
    testing::SqliteEnterpriseDb server;
    server.cn.Execute("CREATE TABLE [SAMPLE] ([PointID] varchar(20), [Depth] float)");
    server.cn.Execute("CREATE TABLE [COPY] ([PointID] varchar(20), [Depth] float)");
    server.cn.Execute("INSERT INTO [SAMPLE] VALUES ('B1', 1.5)");
    auto db = server.Open();
    EXPECT_TRUE(JetOps().FieldHasDataFnB(*db, "main.SAMPLE", "Depth"));
    JetOps().ExecuteSql(JetOps().InsertIntoSqlFnS("main.COPY", "*", "main.SAMPLE"), *db);
    EXPECT_EQ(Column(*db, "SELECT [PointID] FROM [COPY]"), Strings{"B1"});
    JetOps().DropTableSql(*db, "main.COPY");
    EXPECT_EQ(server.cn.ExecuteLong("SELECT Count(*) FROM sqlite_master WHERE name='COPY'"), 0);
    db->Close();
}

TEST_F(EnterpriseTest, RecordLinksAreCheckedAgainstTheRowsKeysInTheCurrentProject) {
    project.db->Execute("CREATE TABLE [SAMPLE] ([PointID] TEXT(20), [Depth] DOUBLE)");
    JetOps().IndexCreate("PointID,Depth", "VORNINDEX", *project.db->TableDefs().Item("SAMPLE"),
                         true);
    project.db->Execute("INSERT INTO [SAMPLE] VALUES ('B1', 1.5)");
    std::string message = "old";
    EXPECT_FALSE(RecordLinkCheckFailedFnB(*project.db, "", message) || !message.empty());
    EXPECT_FALSE(RecordLinkCheckFailedFnB(*project.db, "SAMPLE!B1,1.5\r\n", message));
    EXPECT_TRUE(RecordLinkCheckFailedFnB(
        *project.db, "SAMPLE!B1,1.5\r\nSAMPLE!B1,2\r\nNOPE!x\r\nSAMPLE!O'B", message));
    // One line a failed link, the good one left out.
    EXPECT_EQ(message.find("SAMPLE!B1,1.5"), std::string::npos) << message;
    for (const char* link : {"\r\nSAMPLE!B1,2: ", "\r\nNOPE!x: ", "\r\nSAMPLE!O'B: "}) {
        EXPECT_NE(message.find(link), std::string::npos) << message;
    }

    testing::EnterpriseServers servers;
    for (EnterpriseDb* server : servers.All()) {
        SCOPED_TRACE(server->idaoConnect);
        server->cn.Execute(
            "CREATE TABLE [SAMPLE] ([PointID] varchar(20) NOT NULL, [Depth] float NOT NULL, "
            "[vORNProjectID] int NOT NULL)");
        server->cn.Execute(
            "CREATE UNIQUE INDEX [VORNINDEX] ON [SAMPLE] ([PointID], [Depth], [vORNProjectID])");
        server->cn.Execute("INSERT INTO [SAMPLE] VALUES ('B1', 1.5, 2)");
        auto db = server->Open(true);
        TheDalSession().SetCurrentProjectID(2);
        EXPECT_FALSE(RecordLinkCheckFailedFnB(*db, "SAMPLE!B1,1.5", message)) << message;
        TheDalSession().SetCurrentProjectID(3);
        EXPECT_TRUE(RecordLinkCheckFailedFnB(*db, "SAMPLE!B1,1.5", message));
        TheDalSession().SetCurrentProjectID(0);
        db->Close();
    }
}

TEST_F(EnterpriseTest, KeySortPutsNumbersInOrderOfValueBeforeText) {
    MakeKeys({"10", "9", "-2", "-10", "2.5", "abc", "1E5"});
    // Negatives first; exponent forms and words stay text, after the numbers.
    const Strings sorted = {"-10", "-2", "2.5", "9", "10", "1E5", "abc"};
    auto table = project.db->TableDefs().Item("KEYS");
    EXPECT_EQ(Ordered(SortExpressionFnS("Code", table.get(), nullptr, "", false, false)), sorted);
    EXPECT_EQ(Ordered(SortExpressionFnS("KEYS.Code", table.get(), project.db.get(), "KEYS", false,
                                        false)),
              sorted);
    // The project selection's own form, on a table shaped like PROJECT.
    clsEnterpriseDbData data;
    data.IdentifierFieldName = "Code";
    const std::string selection = data.ProjectSelectionSQLDAO();
    EXPECT_EQ(Ordered(selection.substr(selection.find(" ORDER BY ") + 10)), sorted);
}

TEST_F(EnterpriseTest, DatesSortByTimeWhenAskedOrWhenAllValuesAreDates) {
    MakeKeys({"1/2/2004", "abc", "12/1/2003", "5"});
    auto table = project.db->TableDefs().Item("KEYS");
    EXPECT_EQ(Ordered(SortExpressionFnS("Code", table.get(), nullptr, "", true, false)),
              (Strings{"5", "12/1/2003", "1/2/2004", "abc"}));
    EXPECT_EQ(Ordered(SortExpressionFnS("Code", table.get(), nullptr, "", false, false)),
              (Strings{"5", "1/2/2004", "12/1/2003", "abc"}));
    project.db->Execute("DELETE FROM [KEYS] WHERE [Code] IN ('abc', '5')");
    EXPECT_EQ(Ordered(SortExpressionFnS("Code", nullptr, project.db.get(), "KEYS", false, false)),
              (Strings{"12/1/2003", "1/2/2004"}));
}

// The server form is written once and rewritten by each connection.
TEST_F(EnterpriseTest, ServerSelectionSortsNineBeforeTenOnTheEngines) {
    testing::EnterpriseServers servers;
    for (EnterpriseDb* server : servers.All()) {
        server->cn.Execute("CREATE TABLE [PROJECT] ([vORNProjectID] int, [ProjNo] varchar(20))");
        server->cn.Execute(
            "INSERT INTO [PROJECT] VALUES (1, '10'), (2, '9'), (3, 'abc'), (4, '2.5'), (5, '100')");
        clsEnterpriseDbData data;
        data.IdentifierFieldName = "ProjNo";
        data.IDAndDescription = "ProjNo";
        // Whole numbers padded on the left; a number with a point stays as it is.
        EXPECT_EQ(Column(*server->Open(true), data.ProjectSelectionSQL()),
                  (Strings{"9", "10", "100", "2.5", "abc"}))
            << server->idaoConnect;
    }
}

}  // namespace
}  // namespace vorn
