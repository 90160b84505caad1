#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "foundation/CFile.h"
#include "runtime/VornError.h"
#include "support/TestSupport.h"

namespace vorn {
namespace {

namespace fs = std::filesystem;
using testing::ReadFile;
using testing::TempFolder;
using testing::WriteFile;

class CFileBackupsTest : public ::testing::Test {
protected:
    std::string P(const std::string& name) const { return (temp_ / name).string(); }

    TempFolder temp_;
    CFile file_;
};

TEST_F(CFileBackupsTest, AutomaticBackupsKeepTwoGenerations) {
    const std::string project = P("Grube Nord.vpj");
    WriteFile(project, "one");
    file_.FileBackupAutomatic(project);
    EXPECT_EQ(ReadFile(project + ".bak1"), "one");
    EXPECT_FALSE(fs::exists(project + ".bak2"));

    WriteFile(project, "two");
    file_.FileBackupAutomatic(project);
    WriteFile(project, "three");
    file_.FileBackupAutomatic(project);
    EXPECT_EQ(ReadFile(project + ".bak1"), "three");
    EXPECT_EQ(ReadFile(project + ".bak2"), "two");
    EXPECT_EQ(ReadFile(project), "three");
}

TEST_F(CFileBackupsTest, AutomaticBackupOfAMissingFileRaisesUnderItsName) {
    try {
        file_.FileBackupAutomatic(P("missing.vpj"));
        FAIL() << "no failure";
    } catch (const VornError& error) {
        EXPECT_EQ(error.Number(), 53);
        EXPECT_NE(error.Source().find("CFile.FileBackup"), std::string::npos) << error.Source();
    }
}

TEST_F(CFileBackupsTest, OriginalMarkOverwritesTheExtensionInPlace) {
    struct Row {
        const char* name;
        const char* marked;
    };
    const Row rows[] = {
        {"a.x", "a.o"},  // one character to overwrite
        {"a.vp", "a.or"},
        {"a.vpj", "a.org"},
        {"a.json", "a.orgn"},
        {"noext", "orgxt"},          // no dot: the first three characters
        {"/d.x/file", "/d.orgile"},  // the last dot may stand in a folder
        {"/p.q/a.b.c", "/p.q/a.b.o"},
    };
    for (const Row& row : rows) {
        std::string name = row.name;
        bool existed = true;
        std::string final = "untouched";
        EXPECT_FALSE(file_.FileBackupNumberedFailedFnB(name, existed, final)) << row.name;
        EXPECT_EQ(name, row.marked);
        EXPECT_FALSE(existed);
        EXPECT_EQ(final, "untouched");
    }
}

TEST_F(CFileBackupsTest, NumberedBackupsCountUpToNine) {
    WriteFile(temp_ / "Öl b.org", "");
    WriteFile(temp_ / "Öl b.or1", "");
    std::string name = P("Öl b.vpj");
    bool existed = false;
    std::string final;
    EXPECT_FALSE(file_.FileBackupNumberedFailedFnB(name, existed, final));
    EXPECT_EQ(name, P("Öl b.or2"));
    EXPECT_TRUE(existed);
    EXPECT_EQ(final, "Öl b.or2");

    for (int i = 2; i <= 9; ++i) WriteFile(temp_ / ("Öl b.or" + std::to_string(i)), "");
    name = P("Öl b.vpj");
    EXPECT_TRUE(file_.FileBackupNumberedFailedFnB(name, existed, final));
    EXPECT_EQ(name, P("Öl b.or9"));
    EXPECT_EQ(final, "Öl b.or9");
}

}  // namespace
}  // namespace vorn
