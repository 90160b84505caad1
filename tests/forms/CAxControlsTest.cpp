#include "forms/CAxControls.h"

#include <gtest/gtest.h>

#include <memory>

#include "foundation/CTextString.h"
#include "runtime/RecordingUserInterface.h"
#include "runtime/SessionSlot.h"
#include "support/TestSupport.h"

namespace vorn {
namespace {

class AxControlsTest : public ::testing::Test {
protected:
    void SetUp() override {
        oldUi_ = SetUi(std::make_unique<RecordingUserInterface>());
        testing::WriteFile(folder_ / "TextStrings_EN.tsv",
                           "28423\tFile\n28432\tEdit\n28437\tHelp\n10008\tOK\n10001\tCancel\n"
                           "4397\tWorking\n'end\n");
        SessionSlot<CTextString>::Make(std::make_unique<CTextString>(folder_.path().string()));
    }
    void TearDown() override {
        SessionSlot<CTextString>::ResetForTests();
        SetUi(std::move(oldUi_));
    }

    testing::TempFolder folder_;
    std::unique_ptr<UserInterface> oldUi_;
};

TEST_F(AxControlsTest, CaptionsComeFromTheTextTableWithDistinctHotKeys) {
    std::vector<FormControl> controls = {
        {"10001", true}, {"10008", true}, {"!!4397...", false}, {"@5", false}, {"Close", true}, {"Wait", false},
    };
    CAxControls().ControlLabelTextStrings(controls);
    const char* expected[] = {"&Cancel", "&OK", "!!&Working...", "5", "C&lose", "W&ait"};
    ASSERT_EQ(controls.size(), std::size(expected));
    for (std::size_t i = 0; i < controls.size(); ++i) EXPECT_EQ(controls[i].caption, expected[i]) << i;
}

}  // namespace
}  // namespace vorn
