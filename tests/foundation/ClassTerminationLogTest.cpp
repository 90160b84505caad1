#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

#include "FoundationTestHelpers.h"
#include "foundation/CFile.h"
#include "foundation/CTextString.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/SessionSlot.h"
#include "runtime/VornError.h"
#include "support/TestSupport.h"

namespace vorn {
namespace {

using testing::ReadFile;
using testing::WriteFile;

class ClassTerminationLogTest : public ::testing::Test {
protected:
    std::string LogPath() const { return (folder_ / "ends.txt").string(); }
    std::string Log() const { return ReadFile(LogPath()); }

    testing::TempFolder folder_;
    CFile file_{"vorn"};
};

TEST_F(ClassTerminationLogTest, OnlyAnExistingFileSwitchedOnIsWritten) {
    file_.ClassTerminationLogFile(true, LogPath());
    file_.ClassTerminated("CAx0");
    EXPECT_FALSE(std::filesystem::exists(LogPath()));

    WriteFile(LogPath(), "   ");
    file_.ClassTerminationLogFile(false, LogPath());
    file_.ClassTerminated("CAx0");
    EXPECT_EQ(Log(), "   ");

    file_.ClassTerminationLogFile(true, LogPath());
    file_.ClassTerminated("CTextString");
    EXPECT_EQ(Log(), "vorn.CTextString - 1");

    WriteFile(LogPath(), "");
    CFile plain;  // without prefix the name still has its dot
    plain.ClassTerminationLogFile(true, LogPath());
    plain.ClassTerminated("clsTables");
    EXPECT_EQ(Log(), ".clsTables - 1");
}

TEST_F(ClassTerminationLogTest, CountsGrowInTheOrderOfFirstEndMatchingNamesExactly) {
    WriteFile(LogPath(), "vorn.clsLock - 41\r\nvorn.cax0 - 4");
    file_.ClassTerminationLogFile(true, LogPath());
    for (const char* name : {"CAx0", "clsTables", "CAx0", "clsLock"}) file_.ClassTerminated(name);
    EXPECT_EQ(Log(), "vorn.clsLock - 42\r\nvorn.cax0 - 4\r\nvorn.CAx0 - 2\r\nvorn.clsTables - 1");
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
        EXPECT_EQ(testing::FailureNumber([&] { file_.ClassTerminated("CAx0"); }), number) << content;
        EXPECT_EQ(Log(), content);
    }
}

// The classes of the system record their end through the session's File, and
// a failure of the log does not escape an end.
TEST_F(ClassTerminationLogTest, SessionClassesRecordTheirEnd) {
    const testing::RecordedUi ui;
    SessionSlot<CFile>::Make(std::make_unique<CFile>("vorn"));
    File().ClassTerminationLogFile(true, LogPath());
    WriteFile(LogPath(), "");
    WriteFile(folder_ / "TextStrings_EN.tsv", "1\tone\n'end\n");
    { const CTextString texts(folder_.path().string()); }
    EXPECT_EQ(Log(), "vorn.CTextString - 1");

    WriteFile(LogPath(), "no count here");
    EXPECT_NO_THROW(RecordClassEnd("CAx0"));
    EXPECT_EQ(Log(), "no count here");
    SessionSlot<CFile>::ResetForTests();
}

}  // namespace
}  // namespace vorn
