#include "foundation/CDoTrace.h"

#include <gtest/gtest.h>
#include <sys/utsname.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <regex>
#include <vector>

#include "foundation/CFile.h"
#include "runtime/ErrorRecord.h"
#include "runtime/SessionSlot.h"
#include "runtime/VornError.h"
#include "support/TestSupport.h"

namespace vorn {
namespace {

namespace fs = std::filesystem;
using testing::ReadFile;
using testing::TempFolder;
using testing::WriteFile;

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::size_t start = 0;
    for (auto end = text.find("\r\n"); end != std::string::npos; end = text.find("\r\n", start)) {
        lines.push_back(text.substr(start, end - start));
        start = end + 2;
    }
    if (start < text.size()) lines.push_back(text.substr(start));
    return lines;
}

// Every test starts with a fresh trace and a session File whose folders lie
// in a temp folder, so that the default folder is never the user's.
class TraceTest : public ::testing::Test {
protected:
    void SetUp() override {
        CDoTrace::ResetStateForTests();
        Err().Clear();
        auto file = std::make_unique<CFile>();
        file->AppPath((folder_ / "app/").string());
        file->RootPath((folder_ / "root/").string());
        SessionSlot<CFile>::Make(std::move(file));
        fs::create_directories(folder_ / "app");
        fs::create_directories(folder_ / "dbg");
    }
    void TearDown() override {
        CDoTrace::ResetStateForTests();
        SessionSlot<CFile>::ResetForTests();
        Err().Clear();
    }

    std::string DebugFolder() const { return (folder_ / "dbg").string(); }  // no trailing "/"
    fs::path DebugLog() const { return folder_ / "dbg" / std::string(CDoTrace::kLogFileName); }
    fs::path DefaultLog() const { return folder_ / "root" / "settings" / std::string(CDoTrace::kLogFileName); }

    TempFolder folder_;
    CDoTrace trace_;
};

// ---- Starting and writing --------------------------------------------------

TEST_F(TraceTest, NothingIsWrittenBeforeAStart) {
    trace_.DoTrace("x");
    trace_.DoTrace("y", 2);  // no log path known yet
    EXPECT_FALSE(CDoTrace::Started());
    EXPECT_FALSE(fs::exists(DefaultLog()));
}

TEST_F(TraceTest, DebugSwitchNamesTheFolderAndTheStartWritesAHeader) {
    trace_.DoTrace("/DEBUG=" + DebugFolder());
    EXPECT_FALSE(fs::exists(DebugLog()));
    trace_.DoTrace("first", 65);  // option 65: no times on the lines
    EXPECT_EQ(CDoTrace::LogPath(), DebugLog().string());
    const std::vector<std::string> lines = Lines(ReadFile(DebugLog()));
    utsname names{};
    ASSERT_EQ(uname(&names), 0);
    ASSERT_GE(lines.size(), 8u);
    EXPECT_EQ(lines[0], "====================");
    EXPECT_EQ(lines[1].rfind("vORN " + fs::read_symlink("/proc/self/exe").string(), 0), 0u) << lines[1];
    EXPECT_EQ(lines[4].rfind(names.sysname, 0), 0u) << lines[4];
    EXPECT_EQ(lines[7], "first");
}

TEST_F(TraceTest, SecondStartAppendsWithTheGapSinceTheLastLine) {
    trace_.DoTrace("/DEBUG=" + DebugFolder());
    trace_.DoTrace("one", 1);
    trace_.DoTrace("two", 1);
    const std::vector<std::string> lines = Lines(ReadFile(DebugLog()));
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "===================="), 2);  // one header
    ASSERT_GE(lines.size(), 2u);
    EXPECT_TRUE(std::regex_match(lines[lines.size() - 2], std::regex(R"(one - Time: \d+\.\d{3})")));
    EXPECT_TRUE(std::regex_match(lines.back(), std::regex(R"(two - Time: \d+\.\d{3}; \d+\.\d{3})")))
        << lines.back();
}

TEST_F(TraceTest, OptionsThatWriteAndOptionsThatDoNot) {
    trace_.DoTrace("/DEBUG=" + DebugFolder());
    trace_.DoTrace("start", 65);
    trace_.DoTrace("held", 4);
    trace_.DoTrace("zero", 0);
    trace_.DoTrace("times off", 64);  // option 0 with the flag
    trace_.DoTrace("plain", 64 + 7);
    trace_.DoTrace("default");
    const std::vector<std::string> lines = Lines(ReadFile(DebugLog()));
    ASSERT_GE(lines.size(), 3u);
    EXPECT_EQ(lines[lines.size() - 3], "start");
    EXPECT_EQ(lines[lines.size() - 2], "plain");
    // Timing was switched off at the start; later options do not switch it on.
    EXPECT_EQ(lines.back(), "default");
}

TEST_F(TraceTest, ContinueAppendsToAKnownLogWithoutAHeader) {
    trace_.DoTrace("go on", 2 + 64, false, DebugFolder());
    EXPECT_TRUE(CDoTrace::Started());
    EXPECT_EQ(ReadFile(DebugLog()), "go on\r\n");
}

TEST_F(TraceTest, DefaultFolderIsTheSystemSettingsFolder) {
    trace_.DoTrace("x", 65);
    EXPECT_EQ(Lines(ReadFile(DefaultLog())).back(), "x");

    // It follows the system folder of the storage file.
    CDoTrace::ResetStateForTests();
    fs::create_directories(folder_ / "system");
    WriteFile(folder_ / "app" / "pth.vsy", (folder_ / "system/").string() + "|" + (folder_ / "user/").string());
    trace_.DoTrace("y", 65);
    EXPECT_TRUE(fs::exists(folder_ / "system" / "settings" / std::string(CDoTrace::kLogFileName)));
}

// ---- Tracing never disturbs the run ------------------------------------------

TEST_F(TraceTest, TracingKeepsTheErrorRecordAndFailsInSilence) {
    const ErrorRecord error{3265, "DAO.Fields", "Item not found in this collection."};
    const auto expectKept = [&] {
        EXPECT_EQ(Err().number, error.number);
        EXPECT_EQ(Err().source, error.source);
        EXPECT_EQ(Err().description, error.description);
    };
    trace_.DoTrace("/DEBUG=" + DebugFolder());
    trace_.DoTrace("start", 65);
    Err() = error;
    trace_.DoTrace("in handler");
    EXPECT_EQ(Lines(ReadFile(DebugLog())).back(), "in handler (Error = Item not found in this collection.) ");
    expectKept();

    CDoTrace::ResetStateForTests();
    WriteFile(folder_ / "blocker", "a file, not a folder");
    trace_.DoTrace("/DEBUG=" + (folder_ / "blocker" / "sub").string());
    EXPECT_NO_THROW(trace_.DoTrace("x", 1));
    EXPECT_NO_THROW(trace_.DoTrace("y"));
    expectKept();
}

// ---- Failure chain -------------------------------------------------------------

TEST(FailureChainTest, SourceTellsTheWayOfTheFailureAndRaisingPassesItOn) {
    const std::pair<const char*, const char*> cases[] = {
        {"vorn", "CFile.FileBackup"},
        {"dao.Recordset", "CFile.FileBackup"},
        {"Scripting.FileSystemObject", "CFile.FileBackup calling Scripting.FileSystemObject"},
        {"CAx0.Read calling X", "CFile.FileBackup calling CAx0.Read calling X"},
        {"DAOx", "CFile.FileBackup calling DAOx"},
    };
    for (const auto& [source, expected] : cases) {
        Err() = ErrorRecord{53, source, "File not found"};
        ErrorChainExtend("CFile.FileBackup");
        EXPECT_EQ(Err().source, expected) << source;
        EXPECT_EQ(Err().description, "File not found");
    }
    Err() = ErrorRecord{0, "Other", ""};
    ErrorChainExtend("CFile.FileBackup");
    EXPECT_EQ(Err().source, "Other");
    Err().Clear();

    try {
        try {
            throw VornError(75, "CAx0.Open", "Path/File access error");
        } catch (...) {
            RaiseThroughChain("CFile.FileBackup");
        }
        FAIL() << "not raised";
    } catch (const VornError& e) {
        EXPECT_EQ(e.Number(), 75);
        EXPECT_EQ(e.Source(), "CFile.FileBackup calling CAx0.Open");
        EXPECT_EQ(e.Description(), "Path/File access error");
    }
    Err().Clear();
}

// ---- Storage locations ------------------------------------------------------------

TEST(StorageLocationTest, EntriesOfTheStorageFileElseTheRootPath) {
    TempFolder folder;
    CFile file;
    file.AppPath(folder.path().string() + "/");
    file.RootPath("/root-path/");
    EXPECT_EQ(file.FetchWritableStorageLocationFnS(0), "/root-path/");
    WriteFile(folder / "pth.vsy", "\xEF\xBB\xBF/sys/|/user/\r\nsecond line|x\r\n");
    const std::pair<std::int32_t, const char*> cases[] = {
        {0, "/sys/"}, {1, "/user/"}, {5, "/root-path/"}, {-1, "/root-path/"}};
    for (const auto& [index, expected] : cases) EXPECT_EQ(file.FetchWritableStorageLocationFnS(index), expected) << index;
    EXPECT_EQ(file.SysPropsGetSystemFilesFolderFnS(), "/sys/");
    EXPECT_EQ(file.SysPropsGetUserFilesFolderFnS(), "/user/");

    // The settings folder is made where the system folder exists, else in the root.
    file.RootPath((folder / "root").string());  // no trailing "/": the folder lies inside all the same
    fs::create_directories(folder / "system");
    WriteFile(folder / "pth.vsy", (folder / "missing").string() + "|x");
    EXPECT_EQ(file.SysPropsGetSystemSettingsFolderFnS(), (folder / "root" / "settings/").string());
    EXPECT_TRUE(fs::is_directory(folder / "root" / "settings"));
    WriteFile(folder / "pth.vsy", (folder / "system").string() + "|x");
    EXPECT_EQ(file.SysPropsGetSystemSettingsFolderFnS(), (folder / "system" / "settings/").string());
    EXPECT_TRUE(fs::is_directory(folder / "system" / "settings"));
}

}  // namespace
}  // namespace vorn
