// The table design record and the callbacks it uses.

#include <gtest/gtest.h>

#include <string>

#include "model/CTableDesignData.h"
#include "model/ModelTestSupport.h"

namespace vorn {
namespace {

class TableDesign : public testing::SampleProjectTest {
  protected:
    void Set(const std::string& name, std::int16_t type, const Variant& value) {
        auto target = db->TableDefs().Item("READING");
        target->GetProperties().Append(target->CreateProperty(name, type, value));
    }
};

TEST_F(TableDesign, PropertiesFillTheirMembersAndTheKeyTheRest) {
    Set("vornCaption", dao::dbText, Variant("Readings   "));
    Set("vornKeyIsCounter", dao::dbBoolean, Variant(true));
    Set("vornKeepDataInClone", dao::dbText, Variant("True"));
    Set("vornColHeadingLines", dao::dbInteger, Variant(std::int16_t{0}));
    Set("vornNoDisplay", dao::dbBoolean, Variant(true));

    CTableDesignData design;
    design.LoadFromTabledef(*db, "reading");
    EXPECT_EQ(design.sCaption, "Readings");
    EXPECT_TRUE(design.bKeyIsCounter && design.bKeepDataInClone && design.bNoDisplay);
    EXPECT_EQ(design.lColHeadingLines, 1) << "raised to at least one line";
    EXPECT_EQ(design.sDesc, "") << "a missing property leaves its member";
    EXPECT_EQ(design.sWorkingName, "reading");
    EXPECT_EQ(design.sKeyset, "PointID,Depth,Reading");
    EXPECT_EQ(design.sKeysUnique, design.sKeyset);
    EXPECT_TRUE(design.bDescending && design.bNonUnique) << "READING's leaf sorts descending";

    CTableDesignData sample;
    sample.LoadFromTabledef(*db, "SAMPLE");
    EXPECT_EQ(sample.sKeyset, "PointID,Depth,SampleNo");
    EXPECT_FALSE(sample.bDescending || sample.bNonUnique);
    EXPECT_EQ(sample.lColHeadingLines, 0) << "no property: no line count";

    // The short load of an output source reads the caption and the key only.
    CTableDesignData output;
    output.IsOutputDataSource = true;
    output.LoadFromTabledef(*db, "READING");
    EXPECT_EQ(output.sCaption + "|" + output.sKeyset, "Readings|PointID,Depth,Reading");
    EXPECT_FALSE(output.bNoDisplay);
}

TEST_F(TableDesign, MissingTablesAndKeysLeaveMembersAsTheyWere) {
    CTableDesignData missing;
    missing.sCaption = "kept";
    missing.LoadFromTabledef(*db, "NOSUCH");
    EXPECT_EQ(missing.sWorkingName + "|" + missing.sCaption + "|" + missing.sKeyset,
              "NOSUCH|kept|");

    auto nwind = testing::OpenNwind();
    CTableDesignData jet;
    jet.bDescending = true;
    jet.LoadFromTabledef(*nwind, "Categories");
    EXPECT_EQ(jet.sCaption + jet.sKeyset, "") << "no design properties, no VORNINDEX";
    EXPECT_TRUE(jet.bDescending) << "the key members stay as they were";

    // The callbacks never name a parent, and say nothing of why.
    Variant name("unchanged");
    EXPECT_EQ(Callbacks().ParentNameFnS("Products", *nwind, &name), "") << "Categories is its";
    EXPECT_EQ(name, Variant("unchanged"));
    EXPECT_EQ(Callbacks().ParentNameFnS("", *nwind), "");
    EXPECT_FALSE(Err().IsSet());
    nwind->Close();
}

}  // namespace
}  // namespace vorn
