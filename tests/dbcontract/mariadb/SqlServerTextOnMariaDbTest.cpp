// SQL Server's text on MariaDB: the statements the system sends, run or
// refused as SQL Server would, and what they make read back; and what this
// server cannot hold, refused with the reason.

#include <gtest/gtest.h>

#include "dbcontract/ConnectionTarget.h"
#include "dbcontract/DaoTestSupport.h"
#include "dbcontract/ProviderRules.h"
#include "dbcontract/SqlServerCorpus.h"
#include "dbcontract/mariadb/MariaDbTestServer.h"
#include "support/TestSupport.h"

namespace vorn {
namespace {

using testing::Engine;

class SqlServerTextOnMariaDb : public ::testing::Test {
  protected:
    void SetUp() override {
        const ServerTarget server = testing::MariaDbTestTarget();
        ASSERT_FALSE(server.socket.empty());
        database = "dialect_" +
                   std::string(::testing::UnitTest::GetInstance()->current_test_info()->name());
        system.SetProviderType(provider::kMySql);
        system.SetConnectString(
            system.BuildConnectString(server.socket, "information_schema", "root", ""));
        if (system.DatabaseExists(database))
            system.Engine().Execute("DROP DATABASE " + system.QuoteName(database));
        std::string why;
        ASSERT_TRUE(system.CreateDatabase(database, why)) << why;
        cn.SetProviderType(provider::kMySql);
        cn.SetConnectString(cn.BuildConnectString(server.socket, database, "root", ""));
        idaoConnect = "MYSQL; " + cn.ConnectString();
        testing::RunSteps(cn, Engine::MariaDb, testing::DesignCorpus());
    }

    void TearDown() override {
        cn.Close();
        if (!database.empty())
            system.Engine().Execute("DROP DATABASE IF EXISTS " + system.QuoteName(database));
        system.Close();
    }

    std::string database;
    DalConnection system;
    DalConnection cn;
    std::string idaoConnect;
};

TEST_F(SqlServerTextOnMariaDb, DesignReadsBackAsOnSqlServer) {
    auto db = IdaoEngine().OpenDatabase("", 0, true, idaoConnect);
    testing::ExpectDesign(*db);
    db->Close();
}

TEST_F(SqlServerTextOnMariaDb, DataStatementsMeanWhatTheyMeanOnSqlServer) {
    testing::ExpectDataStatements(cn);
}

TEST_F(SqlServerTextOnMariaDb, StatementsNotUnderstoodAreRefusedWhole) {
    testing::ExpectNotUnderstoodRefusedWhole(cn, Engine::MariaDb);
}

TEST_F(SqlServerTextOnMariaDb, GisViewHasItsColumns) { testing::ExpectGisView(cn, idaoConnect); }

TEST_F(SqlServerTextOnMariaDb, TransferStatementsMeanWhatTheyMeanOnSqlServer) {
    testing::ExpectTransferStatements(cn, idaoConnect);
}

TEST_F(SqlServerTextOnMariaDb, PageStatementsKeepTheirValues) {
    testing::ExpectPageStatements(cn, idaoConnect);
}

TEST_F(SqlServerTextOnMariaDb, LockStatementsAnswerAsOnSqlServer) {
    testing::ExpectLockStatements(cn);
}

// real is the 4-byte single and float the 8-byte double, the reverse of this
// server's words; money is exact.
TEST_F(SqlServerTextOnMariaDb, NumbersKeepTheirSizeAndExactness) {
    cn.Execute("INSERT INTO [PROJECT] (vORNProjectID, ProjectName, Budget) VALUES (1, 'p', 0.1)");
    cn.Execute(
        "INSERT INTO [POINT] (vORNProjectID, PointID, East, Elevation) VALUES (1, 'a', 0.1, 0.1)");
    cn.Execute("UPDATE [PROJECT] SET Budget = Budget + 0.2");
    EXPECT_EQ(cn.ExecuteText("SELECT CONVERT(VARCHAR(30), Budget) FROM [PROJECT]"), "0.3000");
    EXPECT_EQ(testing::Column(cn, "SELECT East FROM [POINT]").at(0), Variant(0.1));
    EXPECT_EQ(testing::Column(cn, "SELECT Elevation FROM [POINT]").at(0), Variant(0.1f));
}

TEST_F(SqlServerTextOnMariaDb, WhatTheServerCannotHoldIsRefusedWithTheReason) {
    const std::string longName(65, 'N');
    struct Case {
        std::string sql;
        const char* why;
    };
    const Case cases[] = {
        {"CREATE TABLE [" + longName + "] ([a] [int] NULL)", "at most 64 characters"},
        {"CREATE TABLE [T] ([" + longName + "] [int] NULL)", "at most 64 characters"},
        {"CREATE  NONCLUSTERED INDEX [Wide] ON [TempTab] ([SAMP_REF] ASC, [SAMP_TYPE] ASC, "
         "[SPEC_REF] ASC, [PROJ_LDUS1] ASC)",
         "3,072 bytes"},
        {"CREATE TABLE [K] ([a] [nvarchar](255) NOT NULL, [b] [nvarchar](255) NOT NULL, [c] "
         "[nvarchar](255) NOT "
         "NULL, [d] [nvarchar](255) NOT NULL, CONSTRAINT [PK_K] PRIMARY KEY ([a], [b], [c], [d]))",
         "3,072 bytes"},
        // The wide unique index is kept by a hash, which no key can refer to.
        {"CREATE TABLE [C] ([vORNProjectID] [int] NOT NULL, [PointID] [nvarchar](255) NOT NULL, "
         "[SAMP_Depth] [float] NULL, [SAMP_REF] [nvarchar](255) NULL, [SAMP_TYPE] [nvarchar](255) "
         "NULL, [Depth] [float] NOT NULL, [SPEC_REF] [nvarchar](255) NULL, CONSTRAINT [FK_C] "
         "FOREIGN KEY ([vORNProjectID], [PointID], [SAMP_Depth], [SAMP_REF], [SAMP_TYPE], [Depth], "
         "[SPEC_REF]) REFERENCES [TempTab] ([vORNProjectID], [PointID], [SAMP_Depth], [SAMP_REF], "
         "[SAMP_TYPE], [Depth], [SPEC_REF]))",
         "3,072 bytes"},
    };
    for (const Case& c : cases) {
        const std::string why = testing::FailureText([&] { cn.Execute(c.sql); });
        EXPECT_TRUE(testing::Holds(why, c.why)) << c.sql << "\n" << why;
        EXPECT_TRUE(testing::Holds(why, "MariaDB")) << why;
    }
    EXPECT_FALSE(cn.TableExists("K"));
    EXPECT_FALSE(cn.TableExists("C"));
}

// The same project asked as a project file and as the enterprise database
// that DBEngine opens by its connect string.
TEST_F(SqlServerTextOnMariaDb, EnterpriseDatabaseAnswersAsTheProjectFileDoes) {
    testing::FillProject(cn);
    testing::NewProject file;
    testing::FillProject(*file.db);
    testing::ExpectAnswersAsAProjectFile(*file.db, false);
    const ServerTarget server = testing::MariaDbTestTarget();
    for (const std::string& connect :
         {idaoConnect, "ODBC;Driver={MariaDB ODBC 3.1 Driver};Server=" + server.socket +
                           ";UID=root;PWD=;Database=" + database + ";"}) {
        auto db = DaoEngine().OpenDatabase("", connect == idaoConnect ? 1 : 512, false, connect);
        EXPECT_EQ(db->Connect(), connect);
        testing::ExpectAnswersAsAProjectFile(*db, true);
        db->Close();
    }
    testing::ExpectUpsizeInfoAndDesignChangeThroughDbEngine(idaoConnect);
}

}  // namespace
}  // namespace vorn
