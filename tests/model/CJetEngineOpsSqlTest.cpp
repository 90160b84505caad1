// SQL literals and statements, each run on a real project file, so that a
// literal the engine misreads fails here.

#include <gtest/gtest.h>

#include <optional>

#include "dbcontract/DaoConstants.h"
#include "dbcontract/DaoTestSupport.h"
#include "model/CJetEngineOpsTestSupport.h"
#include "runtime/Conversions.h"

namespace vorn {
namespace {

class SqlLiteralTest : public ::testing::Test {
  protected:
    void SetUp() override {
        testing::MakeJetOpsSession();
        project.db->Execute("CREATE TABLE [SAMPLE] ([PointID] TEXT(20), [Depth] DOUBLE)");
    }

    std::int32_t Count(const std::string& sql) {
        auto rows = project.db->OpenRecordset(sql, dao::dbOpenSnapshot, dao::dbReadOnly);
        std::int32_t n = 0;
        for (; !rows->Eof(); rows->MoveNext()) ++n;
        return n;
    }

    testing::NewProject project;
};

TEST_F(SqlLiteralTest, LiteralsReadBackAsTheValueGiven) {
    struct Case {
        const char* value;
        const char* delimiter;
        const char* literal;
        const char* readBack;  // CStr of what the engine evaluates
    };
    for (const Case& c : {Case{"O'Brien", "'", "'O''Brien'", "O'Brien"},
                          Case{"say \"hi\"", "\"", "'say \"hi\"'", "say \"hi\""},  // the quote switches to "'"
                          Case{"2004-05-06T10:00:00", "#", "#2004/05/06 10:00:00#", "5/6/2004 10:00:00 AM"},
                          Case{"12", "", "12", "12"}}) {
        const std::string literal = JetOps().WhereFieldFnS(c.value, c.delimiter);
        EXPECT_EQ(literal, c.literal) << c.value;
        auto rows = project.db->OpenRecordset("SELECT " + literal + " AS V", dao::dbOpenSnapshot, dao::dbReadOnly);
        EXPECT_EQ(CStr(rows->Fields().Item(0)->Value()), c.readBack) << c.value;
    }
    EXPECT_EQ(JetOps().WhereFieldFnS("", ""), "Null ");
    // A lookup token is resolved by the host later and stays as written.
    EXPECT_EQ(JetOps().WhereFieldFnS("<<LOOKUP(A'B)>>", "'"), "'<<LOOKUP(A'B)>>'");
    // A word with a T is no date; it loses the letter and stays text.
    EXPECT_EQ(JetOps().WhereFieldFnS("Tuesday", "#"), "# uesday#");
    // Servers get the month first and a twelve-hour clock.
    EXPECT_EQ(JetOps().WhereField2FnS("2004-05-06T15:04:05", "#"), "#05/06/2004 03:04:05 PM#");
}

TEST_F(SqlLiteralTest, PageSelectionFindsUnnamedPagesUnderBothNames) {
    project.db->Execute("CREATE TABLE [\x7fGIDPAGE] ([PageType] LONG, [Name] TEXT(50))");
    project.db->TableDefs().Item("\x7fGIDPAGE")->Fields().Item("Name")->SetAllowZeroLength(true);
    for (const char* row : {"1, ''", "1, '>Unnamed<'", "1, 'Plan'", "2, ''", "3, 'Plan'"}) {
        project.db->Execute("INSERT INTO [\x7fGIDPAGE] VALUES (" + std::string(row) + ")");
    }
    const auto pages = [&](const Variant& type, std::optional<std::string> name) {
        return Count(name ? JetOps().PageTypeSqlFnS("[Name]", type, *name) : JetOps().PageTypeSqlFnS("[Name]", type));
    };
    EXPECT_EQ(pages(1, std::nullopt), 3);
    EXPECT_EQ(pages(1, ""), 2);
    EXPECT_EQ(pages(1, "Plan"), 1);
    EXPECT_EQ(pages("1,3", "Plan"), 2);
    EXPECT_EQ(pages("1,2", ""), 3);
}

TEST_F(SqlLiteralTest, DataFieldValidProvesTheNamesAndSaysWhatIsMissing) {
    struct Case {
        const char* source;
        bool tableDotField;
        bool unchanged;
        bool valid;
        const char* sourceAfter;
        std::int32_t messageId;  // 0: the message stays as it was
        const char* replacement;
    };
    const Case cases[] = {
        {"SAMPLE", false, false, false, "SAMPLE", 0, ""},
        {"<<TAB!SAMPLE.Depth>>", false, false, false, "<<TAB!SAMPLE.Depth>>", 0, ""},
        {"<<SAMPLE.Depth>>", false, false, true, "SAMPLE", 0, ""},
        {"SAMPLE.Depth", true, false, true, "[SAMPLE].[Depth]", 0, ""},
        {"SAMPLE.Depth", false, true, true, "SAMPLE.Depth", 0, ""},
        {"[\x7fTEXTMACRO].Depth", false, false, false, "[\x7fTEXTMACRO].Depth", 4127, "Text Macros"},
        {"SAMPLE.Nope", false, false, false, "SAMPLE.Nope", 4128, "Nope"},
    };
    for (const Case& c : cases) {
        std::string source = c.source;
        std::string message = "before";
        EXPECT_EQ(JetOps().DataFieldValidFnB(source, *project.db, &message, c.tableDotField, c.unchanged), c.valid)
            << c.source;
        EXPECT_EQ(source, c.sourceAfter) << c.source;
        EXPECT_EQ(message, c.messageId == 0 ? "before" : TextStr().TextStringGetFnS(c.messageId, {c.replacement}))
            << c.source;
    }
    EXPECT_EQ(JetOps().TableFromFieldSpecFnS("<<SAMPLE.Depth>>") + "|" + JetOps().FieldFromFieldSpecFnS("a.b.c"),
              "SAMPLE|b");
}

}  // namespace
}  // namespace vorn
