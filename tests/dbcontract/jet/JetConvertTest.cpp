// Jet files converted to project files of our own format: the new file
// holds the same tables, rows and values, appears whole or not at all, and
// never replaces a file unless asked to.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "dbcontract/DaoConstants.h"
#include "dbcontract/jet/JetCopyWriter.h"
#include "dbcontract/jet/JetProjectFile.h"
#include "dbcontract/jet/JetSourceDatabase.h"
#include "dbcontract/jet/JetTestData.h"
#include "dbcontract/sqlite/SqliteProjectFile.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

namespace fs = std::filesystem;
using testing::jet::Converted;
using testing::jet::Fixture;

class JetConvertTest : public ::testing::TestWithParam<const char*> {};

TEST_P(JetConvertTest, TheProjectFileHoldsTheSameTablesRowsAndValues) {
    const auto& converted = Converted(GetParam());
    // Some saved queries use SQL our engine cannot run yet; they are named.
    for (const std::string& warning : converted.warnings) EXPECT_TRUE(warning.starts_with("The query '")) << warning;
    auto database = SqliteProjectFile::Open(converted.path.string(), true);
    testing::jet::ExpectSameContent(GetParam(), *database);
    database->Close();
}

TEST_P(JetConvertTest, JetsOwnSystemTablesStayBehind) {
    auto database = SqliteProjectFile::Open(Converted(GetParam()).path.string(), true);
    const auto tables = database->ReadTables();
    EXPECT_EQ(testing::jet::FindTable(tables, "MSysObjects"), nullptr);
    EXPECT_EQ(testing::jet::FindTable(tables, "MSysRelationships"), nullptr);
    database->Close();
}

INSTANTIATE_TEST_SUITE_P(Jet3, JetConvertTest, ::testing::Values("nwind.mdb"));
INSTANTIATE_TEST_SUITE_P(Jet4, JetConvertTest, ::testing::Values("dates.mdb", "jet4-decimal.mdb"));
INSTANTIATE_TEST_SUITE_P(Ace, JetConvertTest, ::testing::Values("ace16-bigint.accdb"));

class JetConvertTargetTest : public ::testing::Test {
protected:
    testing::TempFolder temp_;
    fs::path target_ = temp_ / "site.vpj";
    std::string source_ = Fixture("jet4-decimal.mdb").string();
};

TEST_F(JetConvertTargetTest, AnExistingTargetIsKeptWithoutReplace) {
    testing::WriteFile(target_, "someone's file");
    try {
        JetProjectFile::Convert(source_, target_.string(), false);
        FAIL() << "replaced";
    } catch (const VornError& error) {
        EXPECT_EQ(error.Number(), errnum::kJetDatabaseExists);
        EXPECT_NE(error.Description().find("--force"), std::string::npos);
    }
    EXPECT_EQ(testing::ReadFile(target_), "someone's file");
}

TEST_F(JetConvertTargetTest, ReplaceWritesAWholeNewFile) {
    testing::WriteFile(target_, "someone's file");
    JetProjectFile::Convert(source_, target_.string(), true);
    EXPECT_TRUE(SqliteProjectFile::LooksLikeProjectFile(target_.string()));
    EXPECT_EQ(std::distance(fs::directory_iterator(temp_.path()), fs::directory_iterator()), 1);
}

TEST_F(JetConvertTargetTest, AFailedConversionLeavesTheTargetAsItWas) {
    testing::WriteFile(target_, "someone's file");
    EXPECT_THROW(JetProjectFile::Convert(Fixture("encrypted.accdb").string(), target_.string(), true), VornError);
    const std::string damaged = testing::ReadFile(Fixture("jet4-decimal.mdb")).substr(0, 4096 * 3);
    testing::WriteFile(temp_ / "damaged.mdb", damaged);
    EXPECT_THROW(JetProjectFile::Convert((temp_ / "damaged.mdb").string(), target_.string(), true), VornError);
    EXPECT_EQ(testing::ReadFile(target_), "someone's file");
    EXPECT_EQ(std::distance(fs::directory_iterator(temp_.path()), fs::directory_iterator()), 2);
}

TEST_F(JetConvertTargetTest, ProgressCountsTheRows) {
    JetOpenOptions options;
    std::int64_t lastDone = 0;
    std::int64_t lastTotal = 0;
    options.progress = [&](const std::string&, std::int64_t done, std::int64_t total) {
        EXPECT_GE(done, lastDone);
        lastDone = done;
        lastTotal = total;
    };
    JetProjectFile::Convert(Fixture("dates.mdb").string(), target_.string(), false, options);
    EXPECT_GT(lastDone, 0);
    EXPECT_EQ(lastDone, lastTotal);
}

// ---- Rules that rows of the file break ----------------------------------------

// Records as the reader would send them: a table whose field is Required
// and refuses empty text, and rows that break both rules (Jet adds such
// rules without checking the rows already there).
void SendRuleBreakingTable(JetRecordSink& sink) {
    TableInfo table;
    table.name = "Samples";
    FieldInfo id;
    id.name = "ID";
    id.type = dao::dbLong;
    id.size = 4;
    FieldInfo label;
    label.name = "Label";
    label.type = dao::dbText;
    label.size = 20;
    label.required = true;
    label.ordinalPosition = 1;
    table.fields = {id, label};
    sink.Table(table, 3);
    sink.BeginRows("Samples");
    sink.Row({Variant(std::int32_t{1}), Variant("S-1")});
    sink.Row({Variant(std::int32_t{2}), Variant::Null()});
    sink.Row({Variant(std::int32_t{3}), Variant("")});
    sink.EndRows();
    sink.End();
}

TEST(JetRuleBreakingRowsTest, AreCopiedAndTheRuleIsDroppedFromAProjectFileWithAWarning) {
    testing::TempFolder temp;
    auto target = SqliteProjectFile::Create((temp / "t.vpj").string(), ";LANGID=0x0409;CP=1252;COUNTRY=0");
    JetCopyWriter writer("source.mdb", *target, JetCopyWriter::Mode::kConvert);
    SendRuleBreakingTable(writer);
    EXPECT_EQ(writer.RowCounts().at("Samples"), 3);
    ASSERT_FALSE(writer.Warnings().empty());
    EXPECT_NE(writer.Warnings()[0].find("Label"), std::string::npos);
    const auto tables = target->ReadTables();
    EXPECT_FALSE(testing::jet::FindTable(tables, "Samples")->fields[1].required);
    EXPECT_EQ(testing::jet::ReadRows(*target, "Samples").size(), 3u);
    target->Close();
}

TEST(JetRuleBreakingRowsTest, AServedCopyStillAnswersWithTheFilesRules) {
    testing::TempFolder temp;
    const fs::path copyPath = temp / "copy.vpj";
    JetCopyWriter::Design design;
    {
        auto target = SqliteProjectFile::Create(copyPath.string(), ";LANGID=0x0409;CP=1252;COUNTRY=0");
        JetCopyWriter writer("source.mdb", *target, JetCopyWriter::Mode::kServe);
        SendRuleBreakingTable(writer);
        EXPECT_TRUE(writer.Warnings().empty()) << writer.Warnings().front();
        design = writer.Designed();
        target->Close();
    }
    const fs::path folder = temp / "private";
    fs::create_directory(folder);
    JetSourceDatabase served(SqliteProjectFile::Open(copyPath.string(), true), copyPath, folder, "/data/source.mdb",
                             "4.0", design, {});
    const auto tables = served.ReadTables();
    ASSERT_EQ(tables.size(), 1u);
    EXPECT_TRUE(tables[0].fields[1].required);
    EXPECT_FALSE(tables[0].fields[1].allowZeroLength);
    EXPECT_EQ(testing::jet::ReadRows(served, "Samples").size(), 3u);
    served.Close();
    EXPECT_FALSE(fs::exists(folder));
}

TEST(JetServedCopyTest, AFailureNamingTheCopyNamesTheSource) {
    testing::TempFolder temp;
    const fs::path copyPath = temp / "copy.vpj";
    SqliteProjectFile::Create(copyPath.string(), ";LANGID=0x0409;CP=1252;COUNTRY=0")->Close();
    JetSourceDatabase served(SqliteProjectFile::Open(copyPath.string(), true), copyPath, temp / "none",
                             "/data/Site 7.mdb", "3.0", {}, {});
    EXPECT_EQ(served.Name(), "/data/Site 7.mdb");
    EXPECT_EQ(served.Version(), "3.0");
    try {
        TableInfo table;
        table.name = "New";
        table.fields.push_back(FieldInfo{});
        table.fields[0].name = "A";
        served.CreateTable(table);
        FAIL() << "a read-only copy took a new table";
    } catch (const VornError& error) {
        EXPECT_EQ(error.Number(), errnum::kJetReadOnly);
        EXPECT_EQ(error.Description().find(copyPath.string()), std::string::npos) << error.Description();
    }
    served.Close();
}

}  // namespace
}  // namespace vorn
