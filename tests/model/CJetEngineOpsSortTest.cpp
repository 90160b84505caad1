// Sort expressions of text keys: numbers stored as text must sort by value
// ("9" before "10"), negatives first, dates by time, other text as text.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "dbcontract/DaoConstants.h"
#include "dbcontract/DaoTestSupport.h"
#include "model/CJetEngineOps.h"
#include "model/CJetEngineOpsTestSupport.h"

namespace vorn {
namespace {

using testing::NewProject;

class SortExpressionTest : public ::testing::Test {
  protected:
    void SetUp() override { testing::MakeJetOpsSession(); }

    // A table KEYS with a text key holding `values`, in that order.
    void MakeKeys(const std::vector<std::string>& values) {
        project.db->Execute("CREATE TABLE [KEYS] ([vORNProjectID] LONG, [Code] TEXT(20))");
        std::int32_t id = 0;
        for (const std::string& value : values) {
            project.db->Execute("INSERT INTO [KEYS] ([vORNProjectID], [Code]) VALUES (" + std::to_string(++id) + ", " +
                                JetOps().WhereFieldFnS(value, "'") + ")");
        }
    }

    std::vector<std::string> Ordered(const std::string& orderBy) {
        auto rows = project.db->OpenRecordset("SELECT [Code] FROM [KEYS] ORDER BY " + orderBy, dao::dbOpenSnapshot,
                                              dao::dbReadOnly);
        std::vector<std::string> codes;
        for (; !rows->Eof(); rows->MoveNext()) codes.push_back(JetOps().FieldDataToStringFnS((*rows)["Code"]));
        return codes;
    }

    NewProject project;
};

const std::vector<std::string> kMixed = {"10", "9", "-2", "-10", "2.5", "abc", "1E5"};
// By value, negatives first; exponent forms and words stay text, after the numbers.
const std::vector<std::string> kMixedSorted = {"-10", "-2", "2.5", "9", "10", "1E5", "abc"};

TEST_F(SortExpressionTest, KeySortPutsNumbersInOrderOfValueBeforeText) {
    MakeKeys(kMixed);
    auto table = project.db->TableDefs().Item("KEYS");
    EXPECT_EQ(Ordered(SortExpressionFnS("Code", table.get(), nullptr, "", false, false)), kMixedSorted);
    EXPECT_EQ(Ordered(SortExpressionFnS("KEYS.Code", table.get(), project.db.get(), "KEYS", false, false)),
              kMixedSorted);
    // The project selection's own form, on a table shaped like PROJECT.
    clsEnterpriseDbData data;
    data.IdentifierFieldName = "Code";
    const std::string selection = data.ProjectSelectionSQLDAO();
    EXPECT_EQ(Ordered(selection.substr(selection.find(" ORDER BY ") + 10)), kMixedSorted);
}

TEST_F(SortExpressionTest, DatesSortByTime) {
    MakeKeys({"1/2/2004", "abc", "12/1/2003", "5"});
    auto table = project.db->TableDefs().Item("KEYS");
    EXPECT_EQ(Ordered(SortExpressionFnS("Code", table.get(), nullptr, "", true, false)),
              (std::vector<std::string>{"5", "12/1/2003", "1/2/2004", "abc"}));
    // Without the date check the dates compare as text.
    EXPECT_EQ(Ordered(SortExpressionFnS("Code", table.get(), nullptr, "", false, false)),
              (std::vector<std::string>{"5", "1/2/2004", "12/1/2003", "abc"}));
    // A key of dates only, seen so by its values, sorts by time.
    project.db->Execute("DELETE FROM [KEYS] WHERE [Code] IN ('abc', '5')");
    EXPECT_EQ(Ordered(SortExpressionFnS("Code", nullptr, project.db.get(), "KEYS", false, false)),
              (std::vector<std::string>{"12/1/2003", "1/2/2004"}));
}

TEST_F(SortExpressionTest, FormatNeededLooksAtEveryValue) {
    struct Case {
        std::vector<std::string> values;
        bool allDates;
        bool noneNumeric;
    };
    const Case cases[] = {{{"1/2/2004", "12/1/2003"}, true, false}, {{"1/2/2004", "7"}, false, false},
                          {{"2004-01-02", "x"}, false, true},  // a date without "/" is no date here
                          {{"abc", "def"}, false, true},        {{"1", "abc"}, false, false},
                          {{}, false, false}};
    for (const Case& c : cases) {
        NewProject fresh;
        fresh.db->Execute("CREATE TABLE [KEYS] ([Code] TEXT(20))");
        for (const std::string& value : c.values) {
            fresh.db->Execute("INSERT INTO [KEYS] ([Code]) VALUES ('" + value + "')");
        }
        bool allDates = true;
        bool noneNumeric = true;
        IsFormatNeeded(nullptr, fresh.db.get(), "KEYS", "Code", allDates, noneNumeric);
        EXPECT_EQ(allDates, c.allDates) << ::testing::PrintToString(c.values);
        EXPECT_EQ(noneNumeric, c.noneNumeric) << ::testing::PrintToString(c.values);
    }
}

// The server form is SQL Server text, rewritten by the connection.
TEST_F(SortExpressionTest, ServerSelectionSortsNineBeforeTenOnTheEngines) {
    testing::EnterpriseServers servers;
    for (testing::EnterpriseDb* server : servers.All()) {
        server->cn.Execute("CREATE TABLE [PROJECT] ([vORNProjectID] int, [ProjNo] varchar(20))");
        server->cn.Execute("INSERT INTO [PROJECT] VALUES (1, '10'), (2, '9'), (3, 'abc'), (4, '2.5'), (5, '100')");
        clsEnterpriseDbData data;
        data.IdentifierFieldName = "ProjNo";
        data.IDAndDescription = "ProjNo";
        std::vector<std::string> ids;
        auto db = server->Open(true);
        auto rows = db->OpenRecordset(data.ProjectSelectionSQL(), 0, 0);
        for (; !rows->Eof(); rows->MoveNext()) ids.push_back(JetOps().FieldDataToStringFnS((*rows)["ProjNo"]));
        // Whole numbers padded on the left; a number with a point stays as it is.
        EXPECT_EQ(ids, (std::vector<std::string>{"9", "10", "100", "2.5", "abc"})) << server->idaoConnect;
    }
}

}  // namespace
}  // namespace vorn
