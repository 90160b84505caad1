#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "foundation/CFile.h"
#include "runtime/VornError.h"
#include "support/TestSupport.h"

namespace vorn {
namespace {

using testing::ReadFile;
using testing::WriteFile;

TEST(CFileBackupsTest, AutomaticBackupsKeepTwoGenerations) {
    const testing::TempFolder temp;
    CFile file;
    const std::string project = (temp / "Grube Nord.vpj").string();
    for (const char* content : {"one", "two", "three"}) {
        WriteFile(project, content);
        file.FileBackupAutomatic(project);
    }
    EXPECT_EQ(ReadFile(project + ".bak1"), "three");
    EXPECT_EQ(ReadFile(project + ".bak2"), "two");
    EXPECT_EQ(ReadFile(project), "three");
    try {
        file.FileBackupAutomatic((temp / "missing.vpj").string());
        FAIL() << "no failure";
    } catch (const VornError& error) {
        EXPECT_EQ(error.Number(), 53);
        EXPECT_NE(error.Source().find("CFile.FileBackup"), std::string::npos) << error.Source();
    }
}

TEST(CFileBackupsTest, OriginalMarkOverwritesTheExtensionInPlace) {
    const std::pair<const char*, const char*> rows[] = {
        {"a.x", "a.o"},  // one character to overwrite
        {"a.json", "a.orgn"},
        {"noext", "orgxt"},          // no dot: the first three characters
        {"/d.x/file", "/d.orgile"},  // the last dot may stand in a folder
    };
    const CFile file;
    for (const auto& [input, marked] : rows) {
        std::string name = input;
        bool existed = true;
        std::string final = "untouched";
        EXPECT_FALSE(file.FileBackupNumberedFailedFnB(name, existed, final)) << input;
        EXPECT_EQ(name, marked);
        EXPECT_FALSE(existed);
        EXPECT_EQ(final, "untouched");
    }
}

TEST(CFileBackupsTest, NumberedBackupsCountUpToNine) {
    const testing::TempFolder temp;
    const CFile file;
    WriteFile(temp / "Öl b.org", "");
    WriteFile(temp / "Öl b.or1", "");
    std::string name = (temp / "Öl b.vpj").string();
    bool existed = false;
    std::string final;
    EXPECT_FALSE(file.FileBackupNumberedFailedFnB(name, existed, final));
    EXPECT_EQ(name, (temp / "Öl b.or2").string());
    EXPECT_TRUE(existed);
    EXPECT_EQ(final, "Öl b.or2");

    for (int i = 2; i <= 9; ++i) WriteFile(temp / ("Öl b.or" + std::to_string(i)), "");
    name = (temp / "Öl b.vpj").string();
    EXPECT_TRUE(file.FileBackupNumberedFailedFnB(name, existed, final));
    EXPECT_EQ(final, "Öl b.or9");
}

}  // namespace
}  // namespace vorn
