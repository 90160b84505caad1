// The table design record and the callbacks it uses.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "model/CCallbacks.h"
#include "model/CTableDesignData.h"
#include "model/KeysTestSupport.h"
#include "runtime/ErrorRecord.h"

namespace vorn {
namespace {

class TableDesign : public testing::SampleProjectTest {
  protected:
    void Set(const std::string& table, const std::string& name, std::int16_t type,
             const Variant& value) {
        auto target = db->TableDefs().Item(table);
        target->GetProperties().Append(target->CreateProperty(name, type, value));
    }
};

TEST_F(TableDesign, PropertiesFillTheirMembersAndTheKeyTheRest) {
    Set("READING", "vornCaption", dao::dbText, Variant("Readings   "));
    Set("READING", "vornKeyIsCounter", dao::dbBoolean, Variant(true));
    Set("READING", "vornKeepDataInClone", dao::dbText, Variant("True"));
    Set("READING", "vornColHeadingLines", dao::dbInteger, Variant(std::int16_t{0}));
    Set("READING", "vornGroupName", dao::dbText, Variant("Lab  "));
    Set("READING", "vornLookupKeyHide", dao::dbText, Variant("-1"));

    CTableDesignData design;
    design.LoadFromTabledef(*db, "reading");
    EXPECT_EQ(design.sCaption, "Readings");
    EXPECT_TRUE(design.bKeyIsCounter);
    EXPECT_TRUE(design.bKeepDataInClone);
    EXPECT_EQ(design.lColHeadingLines, 1) << "raised to at least one line";
    EXPECT_EQ(design.sGroupName, "Lab");
    EXPECT_TRUE(design.bLookupKeyHide);
    EXPECT_EQ(design.sDesc, "") << "a missing property leaves its member";
    EXPECT_EQ(design.sWorkingName, "reading");
    EXPECT_EQ(design.sKeyset, "PointID,Depth,Reading");
    EXPECT_EQ(design.sKeysUnique, design.sKeyset);
    EXPECT_TRUE(design.bDescending) << "READING's leaf sorts descending";
    EXPECT_TRUE(design.bNonUnique);

    CTableDesignData sample;
    sample.LoadFromTabledef(*db, "SAMPLE");
    EXPECT_EQ(sample.sKeyset, "PointID,Depth,SampleNo");
    EXPECT_FALSE(sample.bDescending);
    EXPECT_FALSE(sample.bNonUnique);
    EXPECT_EQ(sample.lColHeadingLines, 0) << "no property: no line count";
}

TEST_F(TableDesign, TheShortLoadAndMissingTablesLeaveMembersAsTheyWere) {
    Set("READING", "vornCaption", dao::dbText, Variant("Readings"));
    Set("READING", "vornNoDisplay", dao::dbBoolean, Variant(true));
    CTableDesignData output;
    output.IsOutputDataSource = true;
    output.LoadFromTabledef(*db, "READING");
    EXPECT_EQ(output.sCaption, "Readings");
    EXPECT_FALSE(output.bNoDisplay);
    EXPECT_EQ(output.sKeyset, "PointID,Depth,Reading");

    CTableDesignData missing;
    missing.sCaption = "kept";
    missing.LoadFromTabledef(*db, "NOSUCH");
    EXPECT_EQ(missing.sWorkingName, "NOSUCH");
    EXPECT_EQ(missing.sCaption, "kept");
    EXPECT_EQ(missing.sKeyset, "");

    auto nwind = DaoEngine().OpenDatabase(testing::JetFixture("nwind.mdb"), 4, true);
    CTableDesignData jet;
    jet.bDescending = true;
    jet.LoadFromTabledef(*nwind, "Categories");
    EXPECT_EQ(jet.sCaption + jet.sKeyset, "") << "no design properties, no VORNINDEX";
    EXPECT_TRUE(jet.bDescending) << "the key members stay as they were";
    nwind->Close();
}

TEST_F(TableDesign, CallbacksNeverNameAParent) {
    auto nwind = DaoEngine().OpenDatabase(testing::JetFixture("nwind.mdb"), 4, true);
    Variant name("unchanged");
    EXPECT_EQ(Callbacks().ParentNameFnS("Products", *nwind, &name), "")
        << "Categories is its parent";
    EXPECT_EQ(name, Variant("unchanged"));
    EXPECT_EQ(Callbacks().ParentNameFnS("", *nwind), "");
    EXPECT_FALSE(Err().IsSet());
    nwind->Close();
}

}  // namespace
}  // namespace vorn
