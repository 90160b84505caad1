// A served copy's tables attached from other project files read through to
// those files.

#include <gtest/gtest.h>

#include <filesystem>

#include "dbcontract/DaoConstants.h"
#include "dbcontract/jet/JetSourceDatabase.h"
#include "dbcontract/jet/JetTestData.h"
#include "dbcontract/sqlite/SqliteProjectFile.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

namespace fs = std::filesystem;
constexpr const char* kLocale = ";LANGID=0x0409;CP=1252;COUNTRY=0";

class JetAttachedTableTest : public ::testing::Test {
protected:
    void SetUp() override {
        // The attached project file, with the rows.
        auto library = SqliteProjectFile::Create((temp_ / "library.vlb").string(), kLocale);
        TableInfo units;
        units.name = "Units";
        FieldInfo code;
        code.name = "Code";
        code.type = dao::dbText;
        code.size = 10;
        units.fields = {code};
        library->CreateTable(units);
        auto rows = library->OpenRows({"Units", true, dao::dbOpenTable, 0, {}, {}});
        rows->Insert({Variant("m")});
        rows->Insert({Variant("kPa")});
        rows.reset();
        library->Close();
        // The served copy of a Jet file that attaches it, by a relative path.
        SqliteProjectFile::Create((temp_ / "copy.vpj").string(), kLocale)->Close();
        TableInfo attached;
        attached.name = "Site Units";
        attached.attributes = dao::dbAttachedTable;
        attached.connect = ";DATABASE=library.vlb";
        attached.sourceTableName = "Units";
        design_.tables = {attached};
        design_.heldProperties[{"Site Units", ""}] = {{"Description", dao::dbText, Variant("Units of the site")}};
    }
    std::unique_ptr<JetSourceDatabase> Served() {
        return std::make_unique<JetSourceDatabase>(
            SqliteProjectFile::Open((temp_ / "copy.vpj").string(), true), temp_ / "copy.vpj", fs::path(),
            (temp_ / "site.mdb").string(), "4.0", design_,
            [](const std::string& path) { return SqliteProjectFile::Open(path, true); });
    }

    testing::TempFolder temp_;
    JetCopyWriter::Design design_;
};

TEST_F(JetAttachedTableTest, ShowsTheFieldsAndRowsOfTheAttachedFile) {
    auto served = Served();
    const auto tables = served->ReadTables();
    ASSERT_EQ(tables.size(), 1u);
    EXPECT_EQ(tables[0].connect, ";DATABASE=library.vlb");
    EXPECT_EQ(tables[0].attributes & dao::dbAttachedTable, dao::dbAttachedTable);
    ASSERT_EQ(tables[0].fields.size(), 1u);
    EXPECT_EQ(tables[0].fields[0].name, "Code");
    const auto rows = testing::jet::ReadRows(*served, "Site Units");
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[1][0], Variant("kPa"));
    EXPECT_EQ(served->ReadProperties({"Site Units", ""})[0].value, Variant("Units of the site"));
    served->Close();
}

TEST_F(JetAttachedTableTest, AMissingAttachedFileIs3024WhenItsRowsAreRead) {
    fs::remove(temp_ / "library.vlb");
    auto served = Served();
    EXPECT_TRUE(served->ReadTables()[0].fields.empty());
    try {
        testing::jet::ReadRows(*served, "Site Units");
        FAIL() << "rows of a missing file";
    } catch (const VornError& error) {
        EXPECT_EQ(error.Number(), errnum::kJetFileNotFound);
        EXPECT_NE(error.Description().find("library.vlb"), std::string::npos);
    }
    served->Close();
}

}  // namespace
}  // namespace vorn
