#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

#include "foundation/CFile.h"
#include "foundation/CTextString.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/RecordingUserInterface.h"
#include "runtime/SessionSlot.h"
#include "runtime/VornError.h"
#include "support/TestSupport.h"

namespace vorn {
namespace {

using testing::ReadFile;
using testing::TempFolder;
using testing::WriteFile;

class ClassTerminationLogTest : public ::testing::Test {
protected:
    std::string LogPath() const { return (folder_ / "ends.txt").string(); }
    std::string Log() const { return ReadFile(LogPath()); }

    TempFolder folder_;
    CFile file_{"vorn"};
};

TEST_F(ClassTerminationLogTest, AbsentFileIsNeverCreated) {
    file_.ClassTerminationLogFile(true, LogPath());
    file_.ClassTerminated("CAx0");
    EXPECT_FALSE(std::filesystem::exists(LogPath()));
}

TEST_F(ClassTerminationLogTest, SwitchedOffLeavesTheFileAlone) {
    WriteFile(LogPath(), "");
    file_.ClassTerminationLogFile(false, LogPath());
    file_.ClassTerminated("CAx0");
    EXPECT_EQ(Log(), "");
}

TEST_F(ClassTerminationLogTest, FirstEndInAnEmptyFileGivesOneLine) {
    const std::pair<const char*, const char*> cases[] = {{"", "vorn.CTextString - 1"},
                                                         {"   ", "vorn.CTextString - 1"}};
    for (const auto& [content, expected] : cases) {
        WriteFile(LogPath(), content);
        file_.ClassTerminationLogFile(true, LogPath());
        file_.ClassTerminated("CTextString");
        EXPECT_EQ(Log(), expected) << "[" << content << "]";
    }
}

TEST_F(ClassTerminationLogTest, WithoutPrefixTheNameStillHasItsDot) {
    WriteFile(LogPath(), "");
    CFile plain;
    plain.ClassTerminationLogFile(true, LogPath());
    plain.ClassTerminated("clsTables");
    EXPECT_EQ(Log(), ".clsTables - 1");
}

TEST_F(ClassTerminationLogTest, CountsGrowInTheOrderOfFirstEnd) {
    WriteFile(LogPath(), "vorn.clsLock - 41");
    file_.ClassTerminationLogFile(true, LogPath());
    for (const char* name : {"CAx0", "clsTables", "CAx0", "clsLock"}) file_.ClassTerminated(name);
    EXPECT_EQ(Log(), "vorn.clsLock - 42\r\nvorn.CAx0 - 2\r\nvorn.clsTables - 1");
}

TEST_F(ClassTerminationLogTest, NamesMatchExactlyCaseIncluded) {
    WriteFile(LogPath(), "vorn.cax0 - 4\r\nVORN.CAx0 - 2");
    file_.ClassTerminationLogFile(true, LogPath());
    file_.ClassTerminated("CAx0");
    EXPECT_EQ(Log(), "vorn.cax0 - 4\r\nVORN.CAx0 - 2\r\nvorn.CAx0 - 1");
}

TEST_F(ClassTerminationLogTest, MalformedLinesFailAndLeaveTheFile) {
    const std::pair<const char*, std::int32_t> cases[] = {
        {"vorn.CAx0", errnum::kSubscriptOutOfRange},
        {"vorn.CAx0 - 1\r\n", errnum::kSubscriptOutOfRange},  // a trailing line end is a line of its own
        {"vorn.CAx0 - many", errnum::kTypeMismatch},
    };
    file_.ClassTerminationLogFile(true, LogPath());
    for (const auto& [content, number] : cases) {
        WriteFile(LogPath(), content);
        try {
            file_.ClassTerminated("CAx0");
            ADD_FAILURE() << "no failure for [" << content << "]";
        } catch (const VornError& e) {
            EXPECT_EQ(e.Number(), number) << content;
        }
        EXPECT_EQ(Log(), content);
    }
}

// The classes of the system record their end through the session's File.
class ClassEndTest : public ClassTerminationLogTest {
protected:
    void SetUp() override {
        SessionSlot<CFile>::Make(std::make_unique<CFile>("vorn"));
        File().ClassTerminationLogFile(true, LogPath());
        WriteFile(LogPath(), "");
        oldUi_ = SetUi(std::make_unique<RecordingUserInterface>());
    }
    void TearDown() override {
        SetUi(std::move(oldUi_));
        SessionSlot<CFile>::ResetForTests();
    }
    std::unique_ptr<UserInterface> oldUi_;
};

TEST_F(ClassEndTest, TextTableRecordsItsEnd) {
    WriteFile(folder_ / "TextStrings_EN.tsv", "1\tone\n'end\n");
    { const CTextString texts(folder_.path().string()); }
    EXPECT_EQ(Log(), "vorn.CTextString - 1");
}

TEST_F(ClassEndTest, FailureOfTheLogDoesNotEscapeAnEnd) {
    WriteFile(LogPath(), "no count here");
    EXPECT_NO_THROW(RecordClassEnd("CAx0"));
    EXPECT_EQ(Log(), "no count here");
}

}  // namespace
}  // namespace vorn
