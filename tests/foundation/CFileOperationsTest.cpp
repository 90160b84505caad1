#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "foundation/CFile.h"
#include "FoundationTestHelpers.h"
#include "runtime/ErrorRecord.h"
#include "runtime/VornError.h"
#include "support/TestSupport.h"

namespace vorn {
namespace {

namespace fs = std::filesystem;
using testing::ReadFile;
using testing::TempFolder;
using testing::WriteFile;

// Whether a file can really be made in the folder, whoever runs the test.
bool CanWriteInto(const fs::path& folder) {
    const fs::path probe = folder / "probe.tmp";
    const bool made = static_cast<bool>(std::ofstream(probe));
    std::error_code ec;
    fs::remove(probe, ec);
    return made;
}

class CFileOperationsTest : public ::testing::Test {
protected:
    std::string P(const std::string& name) const { return (temp_ / name).string(); }

    TempFolder temp_;
    CFile file_;
};

TEST_F(CFileOperationsTest, ExistSeesFilesOnlyAndMatchesWildCards) {
    WriteFile(temp_ / "Bohrung Ä1.vpj", "");
    WriteFile(temp_ / ".hidden", "");
    fs::create_directory(temp_ / "folder.vpj");
    const std::pair<std::string, bool> rows[] = {
        {P("Bohrung Ä1.vpj"), true},
        {P("bohrung ä1.vpj"), false},  // exact names keep their case
        {P("*.VPJ"), true},            // patterns ignore it
        {P("*.txt"), false},
        {P(".hidden"), false},
        {P("folder.vpj"), false},
        {P(""), true},  // the folder holds a file
        {"", false},
    };
    for (const auto& [name, exists] : rows) EXPECT_EQ(file_.ExistFnB(name), exists) << name;
    EXPECT_TRUE(file_.DirExistsFnB(P("folder.vpj")));
    EXPECT_FALSE(file_.DirExistsFnB(P("Bohrung Ä1.vpj")));
    EXPECT_FALSE(file_.DirExistsFnB(""));
    EXPECT_FALSE(file_.FileIsRemoteFnB(P("missing/deeper/file.vpj")));
    EXPECT_FALSE(file_.PathIsOnNetworkFnB(temp_.path().string()));
}

TEST_F(CFileOperationsTest, WritableFoldersAreFoundByTrying) {
    file_.ExtensionPrefix("v");
    file_.ExtensionTemporary("tm");
    std::string path = temp_.path().string();
    EXPECT_TRUE(file_.PathWritableFnB(path));
    EXPECT_EQ(path, temp_.path().string() + "/");
    EXPECT_TRUE(file_.IsFolderWriteEnabledFnB(temp_.path().string()));
    EXPECT_TRUE(fs::is_empty(temp_.path())) << "the probe file stays behind";

    EXPECT_FALSE(file_.IsFolderWriteEnabledFnB(P("missing")));
    // No file can be made in /proc, whatever the user's rights.
    path = "/proc";
    EXPECT_FALSE(file_.PathWritableFnB(path));
    EXPECT_FALSE(file_.IsFolderWriteEnabledFnB("/proc"));

    // Permission bits do not stop the superuser, so the expectation is what
    // a real write attempt shows.
    fs::create_directory(temp_ / "ro");
    fs::permissions(temp_ / "ro", fs::perms::owner_read | fs::perms::owner_exec);
    const bool writable = CanWriteInto(temp_ / "ro");
    path = P("ro");
    EXPECT_EQ(file_.PathWritableFnB(path), writable);
    EXPECT_EQ(file_.IsFolderWriteEnabledFnB(P("ro")), writable);
    fs::permissions(temp_ / "ro", fs::perms::owner_all);
}

TEST_F(CFileOperationsTest, AppendingIsTriedOnExistingFilesOnly) {
    WriteFile(temp_ / "log.txt", "a");
    EXPECT_TRUE(file_.FileOkToAppendFnB(P("log.txt")));
    EXPECT_EQ(ReadFile(temp_ / "log.txt"), "a");
    EXPECT_TRUE(file_.FileOkToAppendFnB(P("new.txt")));
    EXPECT_FALSE(fs::exists(temp_ / "new.txt"));
    // A running program cannot be opened for writing, by the superuser
    // neither.
    EXPECT_FALSE(file_.FileOkToAppendFnB(fs::read_symlink("/proc/self/exe").string()));
}

TEST_F(CFileOperationsTest, CopyAnswersTrueOnSuccessMoveOnFailure) {
    WriteFile(temp_ / "a b.txt", "new");
    WriteFile(temp_ / "ü.txt", "old");
    EXPECT_TRUE(file_.FileCopyFnB(P("a b.txt"), P("ü.txt")));
    EXPECT_EQ(ReadFile(temp_ / "ü.txt"), "new");
    Err().number = 5;
    EXPECT_FALSE(file_.FileCopyFnB(P("missing"), P("x")));
    EXPECT_FALSE(Err().IsSet());

    // Moving answers true on failure.
    fs::create_directory(temp_ / "Ziel Ordner");
    WriteFile(temp_ / "Öl probe.vpj", "data");
    EXPECT_FALSE(file_.FileMoveFnB(P("Öl probe.vpj"), P("Ziel Ordner/Öl probe.vpj")));
    EXPECT_FALSE(fs::exists(temp_ / "Öl probe.vpj"));
    EXPECT_EQ(ReadFile(temp_ / "Ziel Ordner" / "Öl probe.vpj"), "data");

    WriteFile(temp_ / "other.vpj", "other");
    EXPECT_TRUE(file_.FileMoveFnB(P("other.vpj"), P("Ziel Ordner/Öl probe.vpj")));
    EXPECT_EQ(ReadFile(temp_ / "Ziel Ordner" / "Öl probe.vpj"), "data");
    EXPECT_TRUE(fs::exists(temp_ / "other.vpj"));
}

TEST_F(CFileOperationsTest, MoveAcrossFileSystemsCopiesAndDeletes) {
    const fs::path shm = "/dev/shm";
    struct stat here {};
    struct stat there {};
    if (::stat(temp_.path().c_str(), &here) != 0 || ::stat(shm.c_str(), &there) != 0 ||
        here.st_dev == there.st_dev) {
        GTEST_SKIP() << "no second file system at hand";
    }
    const fs::path target = shm / ("vorn-move-" + temp_.path().filename().string());
    WriteFile(temp_ / "a.vpj", "bytes");
    const bool failed = file_.FileMoveFnB(P("a.vpj"), target.string());
    const std::string moved = ReadFile(target);
    std::error_code ec;
    fs::remove(target, ec);
    EXPECT_FALSE(failed);
    EXPECT_EQ(moved, "bytes");
    EXPECT_FALSE(fs::exists(temp_ / "a.vpj"));
}

TEST_F(CFileOperationsTest, CreateAndKillAnswerErrorNumbers) {
    WriteFile(temp_ / "full.txt", "x");
    EXPECT_EQ(file_.FileCreateFnL(P("full.txt")), 0);
    EXPECT_EQ(ReadFile(temp_ / "full.txt"), "");
    EXPECT_EQ(file_.FileCreateFnL(P("no/such/file.txt")), 76);

    EXPECT_EQ(file_.FileKillAnyFnL(""), 0);
    EXPECT_EQ(file_.FileKillAnyFnL(P("full.txt")), 0);
    EXPECT_EQ(file_.FileKillAnyFnL(P("full.txt")), 53);
    fs::create_directory(temp_ / "dir");
    EXPECT_EQ(file_.FileKillAnyFnL(P("dir")), 53);
    EXPECT_EQ(file_.FileKillVornFnL(P("gone.vpj"), true, false, "x"), 53);

    // Wild cards spare hidden files and folders.
    WriteFile(temp_ / "a.tmp", "");
    WriteFile(temp_ / "B.TMP", "");
    WriteFile(temp_ / "keep.vpj", "");
    WriteFile(temp_ / ".x.tmp", "");
    fs::create_directory(temp_ / "d.tmp");
    EXPECT_EQ(file_.FileKillAnyFnL(P("*.tmp")), 0);
    EXPECT_FALSE(fs::exists(temp_ / "B.TMP"));
    EXPECT_TRUE(fs::exists(temp_ / "keep.vpj"));
    EXPECT_TRUE(fs::exists(temp_ / ".x.tmp"));
    EXPECT_TRUE(fs::exists(temp_ / "d.tmp"));
    EXPECT_EQ(file_.FileKillAnyFnL(P("*.tmp")), 53);
}

TEST_F(CFileOperationsTest, FolderKillRemovesOnlyEmptyFoldersMkDirMakesParents) {
    fs::create_directories(temp_ / "full" / "sub");
    fs::create_directory(temp_ / "empty");
    EXPECT_EQ(file_.FolderKillFnL(P("empty/")), 0);
    EXPECT_FALSE(fs::exists(temp_ / "empty"));
    EXPECT_EQ(file_.FolderKillFnL(P("full")), 75);
    EXPECT_EQ(file_.FolderKillFnL(P("missing")), 76);

    EXPECT_TRUE(file_.MkDirRecursive(P("a/b c/ü/")).AsBoolean());  // parents are made
    EXPECT_TRUE(fs::is_directory(temp_ / "a" / "b c" / "ü"));
    WriteFile(temp_ / "file", "");
    EXPECT_FALSE(file_.MkDirRecursive(P("file/sub")).AsBoolean());
}

TEST_F(CFileOperationsTest, DelTreeRemovesEverythingButFollowsNoLink) {
    TempFolder outside;
    WriteFile(outside / "precious.txt", "keep");
    const fs::path tree = temp_ / "tree";
    fs::create_directories(tree / "sub" / ".hidden dir");
    WriteFile(tree / "ro.txt", "x");
    fs::permissions(tree / "ro.txt", fs::perms::owner_read);
    WriteFile(tree / ".dot", "x");
    WriteFile(tree / "sub" / "ä b.txt", "x");
    WriteFile(tree / "sub" / ".hidden dir" / "f", "x");
    fs::create_directory_symlink(outside.path(), tree / "sub" / "link");
    fs::permissions(tree / "sub", fs::perms::owner_read | fs::perms::owner_exec);

    EXPECT_FALSE(file_.DelTreeFnB(tree.string()));
    EXPECT_FALSE(fs::exists(tree));
    EXPECT_EQ(ReadFile(outside / "precious.txt"), "keep");

    EXPECT_TRUE(file_.DelTreeFnB(P("missing")));
    fs::create_directory_symlink(outside.path(), temp_ / "linked");
    EXPECT_TRUE(file_.DelTreeFnB(P("linked")));
    EXPECT_TRUE(fs::exists(outside / "precious.txt"));
}

TEST_F(CFileOperationsTest, CreateCrLfFileReplacesInBuffers) {
    file_.ExtensionPrefix("v");
    WriteFile(temp_ / "in.txt", "a|b|c||d");
    std::string name = P("in.txt");
    std::string temp;
    file_.CreateCrLfFile(temp_.path().string(), 3, "|", 8, name, temp);
    EXPECT_EQ(name, temp);
    EXPECT_TRUE(temp.ends_with(".vtm")) << temp;
    EXPECT_EQ(ReadFile(temp), "a\r\nb\r\nc\r\n\r\nd");
    EXPECT_EQ(ReadFile(temp_ / "in.txt"), "a|b|c||d");

    // A two-character mark that spans two buffers stays.
    WriteFile(temp_ / "in2.txt", "ab##cd#");
    name = P("in2.txt");
    file_.CreateCrLfFile(temp_.path().string(), 3, "##", 7, name, temp);
    EXPECT_EQ(ReadFile(temp), "ab##cd#");
    name = P("in2.txt");
    file_.CreateCrLfFile(temp_.path().string(), 2, "##", 7, name, temp);
    EXPECT_EQ(ReadFile(temp), "ab\r\ncd#");

    name = P("missing.txt");
    EXPECT_EQ(testing::FailureNumber([&] { file_.CreateCrLfFile(temp_.path().string(), 3, "|", 8, name, temp); }), 53);
}

// DirCreate asks first; the answers come from a recording interface.
TEST_F(CFileOperationsTest, DirCreateAsksAndMakesEachFolderUpToTheLastSlash) {
    const testing::RecordedUi ui;
    const testing::SessionTexts texts("4148\tCreate it?\n4649\tNo such folder.\n");
    ui->QueueAnswer(MsgAnswer::kNo);
    std::int32_t error = 0;
    file_.DirCreate(P("new/"), "Folders", error);
    EXPECT_EQ(error, -1);
    EXPECT_FALSE(fs::exists(temp_ / "new"));
    ASSERT_EQ(ui->Messages().size(), 1u);
    EXPECT_EQ(ui->Messages()[0].text, P("new/") + ": No such folder. Create it?");
    EXPECT_EQ(ui->Messages()[0].buttons, MsgButtons::kYesNo);

    ui->QueueAnswer(MsgAnswer::kYes);
    error = 0;
    file_.DirCreate(P("neu 1/ä\\b/tail"), "Folders", error);
    EXPECT_EQ(error, 0);
    EXPECT_TRUE(fs::is_directory(temp_ / "neu 1" / "ä" / "b"));
    EXPECT_FALSE(fs::exists(temp_ / "neu 1" / "ä" / "b" / "tail"));

    WriteFile(temp_ / "plain", "");  // a file in the way stops with its number
    ui->QueueAnswer(MsgAnswer::kYes);
    file_.DirCreate(P("plain/sub/"), "Folders", error);
    EXPECT_EQ(error, 75);
}

}  // namespace
}  // namespace vorn
