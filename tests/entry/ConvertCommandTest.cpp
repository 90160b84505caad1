// `vornc convert` as a user runs it: the exit codes, a target that is
// whole or untouched, and a converted file that opens through the engine.

#include "entry/ConvertCommand.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "dbcontract/DBEngine.h"
#include "dbcontract/DaoConstants.h"
#include "support/TestSupport.h"

namespace vorn {
namespace {

namespace fs = std::filesystem;

int Convert(std::vector<std::string> args) {
    args.insert(args.begin(), {"vornc", "convert"});
    std::vector<char*> argv;
    for (auto& arg : args) argv.push_back(arg.data());
    return RunConvert(static_cast<int>(argv.size()), argv.data());
}

std::string Fixture(const std::string& name) {
    return (testing::SourceDir() / "tests/data/jet" / name).string();
}

// The files in `folder`, by name.
std::vector<std::string> FilesIn(const fs::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename().string());
    return names;
}

// The names of the tables that are not the engine's own, in order.
std::vector<std::string> UserTables(Database& db) {
    std::vector<std::string> names;
    for (std::int32_t i = 0; i < db.TableDefs().Count(); ++i) {
        const auto table = db.TableDefs().Item(i);
        if ((table->Attributes() & dao::dbSystemObject) == 0) names.push_back(table->Name());
    }
    std::sort(names.begin(), names.end());
    return names;
}

class ConvertCommandTest : public ::testing::Test {
protected:
    testing::TempFolder folder;
    std::string target = (folder / "site.vpj").string();
};

TEST_F(ConvertCommandTest, AJetFileBecomesAProjectFileThatOpensWithTheSameTables) {
    ASSERT_EQ(Convert({Fixture("nwind.mdb"), target}), 0);
    auto copy = DaoEngine().OpenDatabase(target, 0, true);
    auto source = DaoEngine().OpenDatabase(Fixture("nwind.mdb"), 0, true);
    EXPECT_EQ(UserTables(*copy), UserTables(*source));
    EXPECT_EQ(copy->QueryDefs().Count(), source->QueryDefs().Count());
    auto rows = copy->OpenRecordset("SELECT COUNT(*) FROM [Order Details]");
    auto sourceRows = source->OpenRecordset("SELECT COUNT(*) FROM [Order Details]");
    EXPECT_EQ(rows->Fields().Item(0)->Value(), sourceRows->Fields().Item(0)->Value());
    copy->Close();
    source->Close();
    EXPECT_EQ(FilesIn(folder.path()), std::vector<std::string>{"site.vpj"});
}

TEST_F(ConvertCommandTest, AnExistingTargetIsReplacedOnlyWithForce) {
    testing::WriteFile(target, "someone's file");
    EXPECT_EQ(Convert({Fixture("jet4-decimal.mdb"), target}), 1);
    EXPECT_EQ(testing::ReadFile(target), "someone's file");
    EXPECT_EQ(Convert({Fixture("jet4-decimal.mdb"), target, "--force"}), 0);
    EXPECT_NE(testing::ReadFile(target), "someone's file");
    // A project file of ours converts too: compacted into the new target.
    const std::string again = (folder / "again.vpj").string();
    EXPECT_EQ(Convert({target, again}), 0);
    auto copy = DaoEngine().OpenDatabase(again, 0, true);
    EXPECT_GT(copy->TableDefs().Count(), 0);
    copy->Close();
}

TEST_F(ConvertCommandTest, AFailedConversionLeavesNothingBehindAndKeepsTheTarget) {
    testing::WriteFile(target, "someone's file");
    const fs::path damaged = folder / "damaged.mdb";
    testing::WriteFile(damaged, testing::ReadFile(Fixture("jet4-decimal.mdb")).substr(0, 4096 * 3));
    EXPECT_EQ(Convert({damaged.string(), target, "--force"}), 1);
    EXPECT_EQ(Convert({(folder / "missing.mdb").string(), target, "--force"}), 1);
    EXPECT_EQ(testing::ReadFile(target), "someone's file");
    auto files = FilesIn(folder.path());
    std::sort(files.begin(), files.end());
    EXPECT_EQ(files, (std::vector<std::string>{"damaged.mdb", "site.vpj"}));
}

TEST_F(ConvertCommandTest, ForceNeverReplacesTheSourceOrAFolder) {
    const fs::path source = folder / "site.mdb";
    fs::copy_file(Fixture("jet4-decimal.mdb"), source);
    const std::string bytes = testing::ReadFile(source);
    EXPECT_EQ(Convert({source.string(), source.string(), "--force"}), 1);
    // The same file under another name is still the source.
    EXPECT_EQ(Convert({source.string(), (folder / "." / "site.mdb").string(), "--force"}), 1);
    EXPECT_EQ(testing::ReadFile(source), bytes);
    fs::create_directory(folder / "sub");
    EXPECT_EQ(Convert({source.string(), (folder / "sub").string(), "--force"}), 1);
    EXPECT_TRUE(fs::is_directory(folder / "sub"));
    EXPECT_EQ(Convert({source.string(), (folder / "no" / "such.vpj").string()}), 1);
    auto files = FilesIn(folder.path());
    std::sort(files.begin(), files.end());
    EXPECT_EQ(files, (std::vector<std::string>{"site.mdb", "sub"}));
}

TEST_F(ConvertCommandTest, WrongArgumentsAreRefusedWithTwo) {
    EXPECT_EQ(Convert({}), 2);
    EXPECT_EQ(Convert({Fixture("nwind.mdb")}), 2);
    EXPECT_EQ(Convert({Fixture("nwind.mdb"), target, "--replace"}), 2);
    EXPECT_EQ(Convert({Fixture("nwind.mdb"), target, "third"}), 2);
    EXPECT_FALSE(fs::exists(target));
}

}  // namespace
}  // namespace vorn
