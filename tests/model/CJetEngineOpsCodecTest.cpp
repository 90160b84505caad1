// The field codec on a real project file: the host's text goes into a field
// and comes back, with the rules for Null, keys, line breaks and booleans.

#include <gtest/gtest.h>

#include "dbcontract/DaoConstants.h"
#include "dbcontract/DaoTestSupport.h"
#include "model/CJetEngineOpsTestSupport.h"
#include "runtime/Conversions.h"

namespace vorn {
namespace {

class FieldCodecTest : public ::testing::Test {
  protected:
    void SetUp() override {
        testing::MakeJetOpsSession();
        project.db->Execute(
            "CREATE TABLE [CODEC] ([VornRecID] COUNTER, [Flag] BIT, [Num] LONG, [Amount] DOUBLE, "
            "[Stamp] DATETIME, [Line] TEXT(50), [Free] TEXT(50), [Notes] MEMO)");
        auto table = project.db->TableDefs().Item("CODEC");
        table->Fields().Item("Line")->SetAllowZeroLength(false);
        table->Fields().Item("Free")->SetAllowZeroLength(true);
    }

    // Writes `data` into `field` of a new row and reads the row back.
    std::unique_ptr<Recordset> WriteNew(const std::string& field, std::string& data, bool nullKey = false,
                                        bool enterprise = false) {
        auto rows = project.db->OpenRecordset("CODEC", dao::dbOpenDynaset);
        rows->AddNew();
        JetOps().FieldDataWrite(data, (*rows)[field], false, nullKey, enterprise);
        rows->Update();
        rows->SetBookmark(rows->LastModified());
        return project.db->OpenRecordset("SELECT * FROM [CODEC] WHERE [VornRecID]=" + CStr((*rows)["VornRecID"].Value()),
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
        {"Flag", "0", false, false, "0", "0"},
        {"Num", "42", false, false, "42", "42"},
        {"Num", "", true, false, "-32768", ""},
        {"Num", "", false, true, "", ""},
        {"Amount", "2.5", false, false, "2.5", "2.5"},
        {"Stamp", "2004-05-06 10:30", false, false, "5/6/2004 10:30:00 AM", "2004-05-06 10:30"},
        {"Stamp", "", false, true, "", ""},
        {"Line", "a\nb", false, false, "a<<CR>>b", "a<<CR>>b"},
        {"Line", "a\r\nb\nc", false, false, "a<<CR>>b<<CR>>c", "a<<CR>>b<<CR>>c"},
        {"Notes", "a\nb", false, false, "a\r\nb", "a\r\nb"},
        {"Notes", "a\r\nb\nc", false, false, "a\r\nb\nc", "a\r\nb\nc"},  // one pair: taken as in form
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

TEST_F(FieldCodecTest, KeysAndServersKeepEmptyValues) {
    // The field refuses "": the failure shows that "" was stored, not Null.
    for (const bool key : {true, false}) {
        std::string empty;
        EXPECT_EQ(testing::FailureNumber([&] { WriteNew("Line", empty, key, !key); }), errnum::kJetZeroLengthNotAllowed);
    }
    std::string empty;
    EXPECT_EQ(CDbl((*WriteNew("Stamp", empty, true))["Stamp"].Value()), -32768.0);
}

TEST_F(FieldCodecTest, EmptyTextLeavesANullNumberUntouched) {
    project.db->Execute("INSERT INTO [CODEC] ([Num], [Amount]) VALUES (Null, 1)");
    // A snapshot refuses every write: writing nothing is the only way through.
    auto rows = project.db->OpenRecordset("CODEC", dao::dbOpenSnapshot, dao::dbReadOnly);
    std::string empty;
    EXPECT_NO_THROW(JetOps().FieldDataWrite(empty, (*rows)["Num"]));
    EXPECT_NE(testing::FailureNumber([&] { JetOps().FieldDataWrite(empty, (*rows)["Amount"]); }), 0);
}

TEST(FieldTypeCodesTest, DefaultValuesAreQuotedUnlessNumeric) {
    testing::MakeJetOpsSession();
    EXPECT_EQ(JetOps().DefaultValueStoreFnS("12.5"), "12.5");
    EXPECT_EQ(JetOps().DefaultValueStoreFnS("say \"hi\""), "\"say \"\"hi\"\"\"");
    // Server columns DAO has no type for are read by size: long text is memo.
    EXPECT_EQ(JetOps().DaoDataTypeFromODBC(Field("f", 23, 0x7FFFFFFE)), dao::dbMemo);
    EXPECT_EQ(JetOps().DaoDataTypeFromODBC(Field("f", 0, 255)), dao::dbText);
}

}  // namespace
}  // namespace vorn
