// SQL Server's text on the embedded SQLite engine: the statements the system
// sends, run or refused as SQL Server would, and what they make read back.

#include <gtest/gtest.h>

#include <sqlite3.h>

#include "dbcontract/DalSession.h"
#include "dbcontract/DaoTestSupport.h"
#include "dbcontract/ProviderRules.h"
#include "dbcontract/SqlServerCorpus.h"
#include "runtime/SessionSlot.h"
#include "support/TestSupport.h"

namespace vorn {
namespace {

using testing::Engine;

class SqlServerTextOnSqlite : public ::testing::Test {
  protected:
    void SetUp() override {
        idaoConnect = testing::NewSqliteEnterpriseDatabase(folder, "site", cn);
        testing::RunSteps(cn, Engine::Sqlite, testing::DesignCorpus());
    }

    // A query straight on the file, as another tool reads it.
    std::vector<std::string> Plain(const std::string& sql) {
        sqlite3* db = nullptr;
        sqlite3_open_v2((folder / "site.sqlite").string().c_str(), &db, SQLITE_OPEN_READONLY,
                        nullptr);
        sqlite3_stmt* stmt = nullptr;
        std::vector<std::string> values;
        if (sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt, nullptr) == SQLITE_OK) {
            while (sqlite3_step(stmt) == SQLITE_ROW) {
                const auto* text = sqlite3_column_text(stmt, 0);
                values.emplace_back(text ? reinterpret_cast<const char*>(text) : "");
            }
        } else {
            ADD_FAILURE() << sqlite3_errmsg(db);
        }
        sqlite3_finalize(stmt);
        sqlite3_close(db);
        return values;
    }

    testing::TempFolder folder;
    DalConnection cn;
    std::string idaoConnect;
};

TEST_F(SqlServerTextOnSqlite, DesignReadsBackAsOnSqlServer) {
    auto db = IdaoEngine().OpenDatabase("", 0, true, idaoConnect);
    testing::ExpectDesign(*db);
    db->Close();
}

TEST_F(SqlServerTextOnSqlite, DataStatementsMeanWhatTheyMeanOnSqlServer) {
    testing::ExpectDataStatements(cn);
}

TEST_F(SqlServerTextOnSqlite, StatementsNotUnderstoodAreRefusedWhole) {
    testing::ExpectNotUnderstoodRefusedWhole(cn, Engine::Sqlite);
}

TEST_F(SqlServerTextOnSqlite, GisViewHasItsColumns) { testing::ExpectGisView(cn, idaoConnect); }

TEST_F(SqlServerTextOnSqlite, TransferStatementsMeanWhatTheyMeanOnSqlServer) {
    testing::ExpectTransferStatements(cn, idaoConnect);
}

TEST_F(SqlServerTextOnSqlite, PageStatementsKeepTheirValues) {
    testing::ExpectPageStatements(cn, idaoConnect);
}

TEST_F(SqlServerTextOnSqlite, LockStatementsAnswerAsOnSqlServer) {
    testing::ExpectLockStatements(cn);
}

// Another program reading the file sees the server types and the key
// indexes, each VORNINDEX under a name of its own table.
TEST_F(SqlServerTextOnSqlite, FileKeepsServerTypesAndTableScopedIndexNames) {
    EXPECT_EQ(Plain("SELECT type FROM pragma_table_info('POINT') ORDER BY cid"),
              (std::vector<std::string>{"INTEGER", "INT", "NVARCHAR(255)", "FLOAT", "FLOAT", "REAL",
                                        "DATETIME", "BLOB", "NTEXT", "SMALLINT", "BIT"}));
    EXPECT_EQ(
        Plain("SELECT name FROM sqlite_master WHERE type = 'index' AND name LIKE '%VORNINDEX' "
              "ORDER BY name"),
        (std::vector<std::string>{"INSTALL.vornindex", "LOOKUP.VORNINDEX", "POINT.VORNINDEX",
                                  "SAMPLE.VORNINDEX", "SITE VISIT.VORNINDEX"}));
    EXPECT_EQ(Plain("SELECT type FROM pragma_table_info('WH_Lock') WHERE name = 'LockID'"),
              std::vector<std::string>{"INTEGER"});
}

// The same project asked as a project file and as the enterprise database
// that DBEngine opens by its connect string.
TEST_F(SqlServerTextOnSqlite, EnterpriseDatabaseAnswersAsTheProjectFileDoes) {
    testing::FillProject(cn);
    testing::NewProject file;
    testing::FillProject(*file.db);
    testing::ExpectAnswersAsAProjectFile(*file.db, false);
    SessionSlot<DalSession>::Make(std::make_unique<DalSession>());
    for (const std::string& connect :
         {idaoConnect, "Driver={SQLite};Server=" + folder.path().string() + ";Database=site;"}) {
        auto db = DaoEngine().OpenDatabase("", connect == idaoConnect ? 1 : 512, false, connect);
        EXPECT_EQ(db->Connect(), connect);
        testing::ExpectAnswersAsAProjectFile(*db, true);
        // Its connection, for the statements that go to the server.
        const auto connection = TheDalSession().ConnectionFor(db->Connect());
        ASSERT_NE(connection, nullptr) << connect;
        EXPECT_EQ(connection->ExecuteLong("SELECT Count(*)  FROM [POINT]"), 4) << connect;
        connection->Close();
        db->Close();
    }
    SessionSlot<DalSession>::ResetForTests();
    testing::ExpectUpsizeInfoAndDesignChangeThroughDbEngine(idaoConnect);
}

TEST_F(SqlServerTextOnSqlite, ConnectStringsOfNoEngineFailClearly) {
    const std::string noEngine = testing::FailureText([&] {
        DaoEngine().OpenDatabase(
            "", 512, false, "ODBC;Driver={SQL Server};Server=s;Trusted_Connection=yes;Database=d;");
    });
    EXPECT_TRUE(testing::Holds(noEngine, "SQL Server (provider 4)")) << noEngine;
    const std::string unknown = testing::FailureText(
        [&] { DaoEngine().OpenDatabase("", 512, false, "Driver={Paradox};Server=s;Database=d;"); });
    EXPECT_TRUE(testing::Holds(unknown, "Paradox")) << unknown;
}

}  // namespace
}  // namespace vorn
