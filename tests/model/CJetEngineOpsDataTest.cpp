// The field codec and SQL literals on a real project file: text goes into a
// field and comes back, and each literal is run, so one the engine misreads
// fails here.

#include <gtest/gtest.h>

#include <optional>

#include "model/ModelTestSupport.h"

namespace vorn {
namespace {

using testing::FailureNumber;

class FieldCodecTest : public testing::ModelTest {
  protected:
    void SetUp() override {
        ModelTest::SetUp();
        project.db->Execute(
            "CREATE TABLE [CODEC] ([VornRecID] COUNTER, [Flag] BIT, [Num] LONG, [Amount] DOUBLE, "
            "[Stamp] DATETIME, [Line] TEXT(50), [Free] TEXT(50), [Notes] MEMO)");
        auto table = project.db->TableDefs().Item("CODEC");
        table->Fields().Item("Line")->SetAllowZeroLength(false);
        table->Fields().Item("Free")->SetAllowZeroLength(true);
    }

    // Writes `data` into `field` of a new row and reads the row back.
    std::unique_ptr<Recordset> WriteNew(const std::string& field, std::string& data,
                                        bool nullKey = false, bool enterprise = false) {
        auto rows = project.db->OpenRecordset("CODEC", dao::dbOpenDynaset);
        rows->AddNew();
        JetOps().FieldDataWrite(data, (*rows)[field], false, nullKey, enterprise);
        rows->Update();
        rows->SetBookmark(rows->LastModified());
        return project.db->OpenRecordset(
            "SELECT * FROM [CODEC] WHERE [VornRecID]=" + CStr((*rows)["VornRecID"].Value()),
            dao::dbOpenSnapshot, dao::dbReadOnly);
    }

    testing::NewProject project;
};

TEST_F(FieldCodecTest, TextGoesInAndComesBackByTheFieldsRules) {
    struct Case {
        const char* field;
        const char* data;
        bool nullKey;
        bool storedNull;
        const char* text;       // what FieldDataToStringFnS reads back
        const char* dataAfter;  // the argument as the caller sees it afterwards
    };
    const Case cases[] = {
        {"Flag", "True", false, false, "-1", "True"},
        {"Num", "42", false, false, "42", "42"},
        {"Num", "", true, false, "-32768", ""},
        {"Num", "", false, true, "", ""},
        {"Stamp", "2004-05-06 10:30", false, false, "5/6/2004 10:30:00 AM", "2004-05-06 10:30"},
        {"Stamp", "", false, true, "", ""},
        {"Line", "a\r\nb\nc", false, false, "a<<CR>>b<<CR>>c", "a<<CR>>b<<CR>>c"},
        {"Notes", "a\nb", false, false, "a\r\nb", "a\r\nb"},
        {"Notes", "a\r\nb\nc", false, false, "a\r\nb\nc", "a\r\nb\nc"},  // the pair is found
        {"Line", "", false, true, "", ""},
        {"Free", "", false, false, "", ""},
    };
    for (const Case& c : cases) {
        std::string data = c.data;
        auto row = WriteNew(c.field, data, c.nullKey);
        const std::string label = std::string(c.field) + " <- '" + c.data + "'";
        EXPECT_EQ((*row)[c.field].Value().IsNull(), c.storedNull) << label;
        EXPECT_EQ(JetOps().FieldDataToStringFnS((*row)[c.field]), c.text) << label;
        EXPECT_EQ(data, c.dataAfter) << label;
    }
}

TEST_F(FieldCodecTest, KeysAndServersKeepEmptyValuesAndNullsStayUntouched) {
    // The field refuses "": the failure shows that "" was stored, not Null.
    for (const bool key : {true, false}) {
        std::string empty;
        EXPECT_EQ(FailureNumber([&] { WriteNew("Line", empty, key, !key); }),
                  errnum::kJetZeroLengthNotAllowed);
    }
    std::string empty;
    EXPECT_EQ(CDbl((*WriteNew("Stamp", empty, true))["Stamp"].Value()), -32768.0);

    // A snapshot refuses every write: writing nothing is the only way through.
    project.db->Execute("INSERT INTO [CODEC] ([Num], [Amount]) VALUES (Null, 1)");
    auto rows = project.db->OpenRecordset("SELECT * FROM [CODEC] WHERE [Amount]=1",
                                          dao::dbOpenSnapshot, dao::dbReadOnly);
    empty.clear();
    EXPECT_NO_THROW(JetOps().FieldDataWrite(empty, (*rows)["Num"]));
    EXPECT_NE(FailureNumber([&] { JetOps().FieldDataWrite(empty, (*rows)["Amount"]); }), 0);
}

TEST_F(FieldCodecTest, LiteralsAndDefaultsReadBackAsTheValueGiven) {
    struct Case {
        const char* value;
        const char* delimiter;
        const char* literal;
        const char* readBack;  // what the engine evaluates
    };
    for (const Case& c :
         {Case{"O'Brien", "'", "'O''Brien'", "O'Brien"},
          Case{"say \"hi\"", "\"", "'say \"hi\"'", "say \"hi\""},
          Case{"2004-05-06T10:00:00", "#", "#2004/05/06 10:00:00#", "5/6/2004 10:00:00 AM"}}) {
        const std::string literal = JetOps().WhereFieldFnS(c.value, c.delimiter);
        EXPECT_EQ(literal, c.literal) << c.value;
        EXPECT_EQ(testing::Column(*project.db, "SELECT " + literal + " AS V"),
                  std::vector<std::string>{c.readBack})
            << c.value;
    }
    EXPECT_EQ(JetOps().WhereFieldFnS("", ""), "Null ");
    EXPECT_EQ(JetOps().DefaultValueStoreFnS("12.5"), "12.5");
    EXPECT_EQ(JetOps().DefaultValueStoreFnS("say \"hi\""), "\"say \"\"hi\"\"\"");
    // Server columns without a DAO type are read by size: long text is memo.
    EXPECT_EQ(JetOps().DaoDataTypeFromODBC(Field("f", 23, 0x7FFFFFFE)), dao::dbMemo);
    // A lookup token is resolved by the host later and stays as written.
    EXPECT_EQ(JetOps().WhereFieldFnS("<<LOOKUP(A'B)>>", "'"), "'<<LOOKUP(A'B)>>'");
    // Servers get the month first and a twelve-hour clock.
    EXPECT_EQ(JetOps().WhereField2FnS("2004-05-06T15:04:05", "#"), "#05/06/2004 03:04:05 PM#");
}

TEST_F(FieldCodecTest, PageSelectionFindsUnnamedPagesUnderBothNames) {
    project.db->Execute("CREATE TABLE [\x7fGIDPAGE] ([PageType] LONG, [Name] TEXT(50))");
    project.db->TableDefs().Item("\x7fGIDPAGE")->Fields().Item("Name")->SetAllowZeroLength(true);
    for (const char* row : {"1, ''", "1, '>Unnamed<'", "1, 'Plan'", "2, ''", "3, 'Plan'"}) {
        project.db->Execute("INSERT INTO [\x7fGIDPAGE] VALUES (" + std::string(row) + ")");
    }
    const auto pages = [&](const Variant& type, std::optional<std::string> name) {
        const std::string where = name ? JetOps().PageTypeSqlFnS("[Name]", type, *name)
                                       : JetOps().PageTypeSqlFnS("[Name]", type);
        return testing::Column(*project.db, where).size();
    };
    EXPECT_EQ(pages(1, std::nullopt), 3u);
    EXPECT_EQ(pages(1, ""), 2u);
    EXPECT_EQ(pages("1,3", "Plan"), 2u);
    EXPECT_EQ(pages("1,2", ""), 3u);
}

TEST_F(FieldCodecTest, DataFieldValidProvesTheNamesAndSaysWhatIsMissing) {
    project.db->Execute("CREATE TABLE [SAMPLE] ([PointID] TEXT(20), [Depth] DOUBLE)");
    struct Case {
        const char* source;
        bool tableDotField, unchanged, valid;
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
        {"[\x7fTEXTMACRO].Depth", false, false, false, "[\x7fTEXTMACRO].Depth", 4127,
         "Text Macros"},
        {"SAMPLE.Nope", false, false, false, "SAMPLE.Nope", 4128, "Nope"},
    };
    for (const Case& c : cases) {
        std::string source = c.source;
        std::string message = "before";
        EXPECT_EQ(
            JetOps().DataFieldValidFnB(source, *project.db, &message, c.tableDotField, c.unchanged),
            c.valid)
            << c.source;
        EXPECT_EQ(source, c.sourceAfter) << c.source;
        EXPECT_EQ(message, c.messageId == 0
                               ? "before"
                               : TextStr().TextStringGetFnS(c.messageId, {c.replacement}))
            << c.source;
    }
    EXPECT_EQ(JetOps().TableFromFieldSpecFnS("<<SAMPLE.Depth>>") + "|" +
                  JetOps().FieldFromFieldSpecFnS("a.b.c"),
              "SAMPLE|b");
}

}  // namespace
}  // namespace vorn
