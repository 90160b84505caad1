#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <regex>

#include "dbcontract/DaoConstants.h"
#include "dbcontract/sqlite/SqliteProjectFile.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/VornError.h"
#include "support/TestSupport.h"

namespace vorn {
namespace {

using namespace dao;
using Rows = std::vector<std::vector<Variant>>;

// A plain SQLite connection, as another program has it: no collations of
// ours, no engine.
class PlainSqlite {
public:
    PlainSqlite(const std::string& path, int flags) {
        sqlite3_open_v2(path.c_str(), &db_, flags, nullptr);
    }
    ~PlainSqlite() { sqlite3_close(db_); }
    PlainSqlite(const PlainSqlite&) = delete;
    PlainSqlite& operator=(const PlainSqlite&) = delete;

    // Registers a VORNNOCASE of its own, as the document tells another
    // program to; folding ASCII is enough for the rows written here.
    void RegisterNoCase() {
        sqlite3_create_collation(db_, "VORNNOCASE", SQLITE_UTF8, nullptr,
                                 [](void*, int sizeA, const void* a, int sizeB, const void* b) {
                                     const int common = std::min(sizeA, sizeB);
                                     const int order =
                                         sqlite3_strnicmp(static_cast<const char*>(a),
                                                          static_cast<const char*>(b), common);
                                     return order != 0 ? order : sizeA - sizeB;
                                 });
    }

    // SQLite's message, "" when the statements ran.
    std::string Run(const std::string& sql) {
        char* message = nullptr;
        sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, &message);
        std::string text = message != nullptr ? message : "";
        sqlite3_free(message);
        return text;
    }

private:
    sqlite3* db_ = nullptr;
};

// The ```sql blocks of the format document, in order.
std::vector<std::string> SqlBlocksOfTheFormatDocument() {
    const auto text = testing::ReadFile(testing::SourceDir() / "docs" / "project-file-format.md");
    const std::regex block("```sql\n([^`]*)```");
    std::vector<std::string> blocks;
    for (auto it = std::sregex_iterator(text.begin(), text.end(), block);
         it != std::sregex_iterator(); ++it) {
        blocks.push_back((*it)[1]);
    }
    return blocks;
}

Rows All(RowSource& rows) {
    Rows all;
    std::vector<Variant> row;
    while (rows.Next(row)) all.push_back(row);
    return all;
}

RowRequest Table(std::string name) {
    RowRequest request;
    request.source = std::move(name);
    request.isTable = true;
    request.type = dbOpenDynaset;
    return request;
}

class SqliteFormatTest : public ::testing::Test {
protected:
    testing::TempFolder folder;
    std::string path = (folder / "written.vpf").string();
};

TEST_F(SqliteFormatTest, AFileWrittenFromTheDocumentAloneOpensAndReads) {
    const auto blocks = SqlBlocksOfTheFormatDocument();
    ASSERT_GE(blocks.size(), 2u);
    {
        PlainSqlite plain(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
        plain.RegisterNoCase();
        ASSERT_EQ(plain.Run(blocks.front()), "");  // the catalog tables
        ASSERT_EQ(plain.Run(blocks.back()), "");   // the worked example
        // Every other stored form, in a table without indexes, a relation
        // between the two, a saved query and properties.
        ASSERT_EQ(plain.Run(R"sql(
            INSERT INTO MSysVornTables VALUES ('Reading', 0, NULL, NULL, 1);
            INSERT INTO MSysVornFields VALUES
              ('Reading', 'SiteID', 0, 4, 4, 1, 0, 0), ('Reading', 'Taken', 1, 8, 8, 1, 0, 0),
              ('Reading', 'Ok', 2, 1, 1, 1, 0, 0), ('Reading', 'Level', 3, 20, 17, 1, 0, 0),
              ('Reading', 'Tag', 4, 15, 16, 1, 0, 0), ('Reading', 'Raw', 5, 11, 0, 2, 0, 0),
              ('Reading', 'Note', 6, 12, 0, 2, 0, 1), ('Reading', 'Ratio', 7, 7, 8, 1, 0, 0);
            INSERT INTO MSysVornProperties VALUES
              ('Reading', 'Level', 'Precision', 2, 12), ('Reading', 'Level', 'Scale', 2, 3),
              ('Reading', 'Note', 'Description', 10, 'free text'), ('', '', 'Owner', 10, 'survey');
            CREATE TABLE "Reading" ("SiteID" INTEGER, "Taken" TEXT, "Ok" INTEGER,
              "Level" TEXT, "Tag" TEXT, "Raw" BLOB, "Note" TEXT, "Ratio" REAL);
            INSERT INTO "Reading" VALUES
              (1, '1899-12-29 06:00:00', 1, '-123456789.125', '{00000000-0000-0000-0000-0000000000FF}',
               X'00FF', '', 0.5),
              (1, '2024-03-01 08:30:00.250', 0, '0.001', NULL, NULL, NULL, NULL);
            INSERT INTO MSysVornRelations VALUES ('SiteReading', 'Site', 'Reading', 2);
            INSERT INTO MSysVornRelationFields VALUES ('SiteReading', 0, 'ID', 'SiteID');
            INSERT INTO MSysVornQueries VALUES ('Named', 'SELECT "Name" FROM "Site"');
        )sql"),
                  "");
    }
    auto db = SqliteProjectFile::Open(path, false);
    auto sites = db->OpenRows(Table("Site"));
    EXPECT_EQ(sites->Columns()[3].type, dbCurrency);
    EXPECT_EQ(All(*sites),
              (Rows{{Variant(1), Variant("North field"), Variant::FromDate(45352.0 + 8.5 / 24),
                     Variant(Currency::FromScaled(125000000))}}));
    const auto tables = db->ReadTables();
    EXPECT_TRUE(SqliteProjectFile::LooksLikeProjectFile(path));
    EXPECT_EQ(tables[1].fields[3].precision, 12);
    EXPECT_EQ(tables[1].fields[3].scale, 3);
    EXPECT_EQ(db->ReadProperties({"Reading", "Note"})[0].value, Variant("free text"));
    EXPECT_EQ(db->ReadProperties({})[0].value, Variant("survey"));
    EXPECT_EQ(db->ReadRelations()[0].fields[0].foreignName, "SiteID");
    EXPECT_EQ(All(*db->OpenRows(Table("Reading"))),
              (Rows{{Variant(1), Variant::FromDate(-1.25), Variant(true),
                     Variant(*Decimal::Parse("-123456789.125")),
                     Variant("{00000000-0000-0000-0000-0000000000FF}"),
                     Variant(Variant::Binary{0, 255}), Variant(""), Variant(0.5)},
                    {Variant(1), Variant::FromDate(45352.0 + (8.5 * 3600 + 0.25) / 86400),
                     Variant(false), Variant(*Decimal::Parse("0.001")), Variant::Null(),
                     Variant::Null(), Variant::Null(), Variant::Null()}}));
    EXPECT_EQ(All(*db->OpenRows(Table("Named"))), (Rows{{Variant("North field")}}));
    // The engine takes the file on from here: counters and design changes.
    sites->Insert({std::nullopt, Variant("South field")});
    EXPECT_EQ(All(*db->OpenRows(Table("Site"))).back()[0], Variant(2));
    IndexInfo unique;
    unique.name = "Name";
    unique.unique = true;
    unique.fields = {{"Name", 0}};
    db->CreateIndex("Site", unique);
    try {
        db->Execute("INSERT INTO Site (Name) VALUES ('NORTH FIELD')", 0);
        ADD_FAILURE() << "a name that differs only in case was taken";
    } catch (const VornError& error) {
        EXPECT_EQ(error.Number(), errnum::kJetDuplicateValue);
    }
}

TEST_F(SqliteFormatTest, ProgramsWithoutTheCollationsStillReadTheFile) {
    {
        auto db = SqliteProjectFile::Create(path, "");
        TableInfo site;
        site.name = "Site";
        FieldInfo name;
        name.name = "Name";
        name.type = dbText;
        name.size = 20;
        site.fields = {name};
        IndexInfo unique;
        unique.name = "Name";
        unique.unique = true;
        unique.fields = {{"Name", 0}};
        site.indexes = {unique};
        db->CreateTable(site);
        db->Execute("INSERT INTO Site VALUES ('b')", 0);
        db->Execute("INSERT INTO Site VALUES ('A')", 0);
    }
    PlainSqlite plain(path, SQLITE_OPEN_READONLY);
    EXPECT_EQ(plain.Run("SELECT * FROM \"Site\""), "");
    EXPECT_EQ(plain.Run("SELECT * FROM \"Site\" WHERE \"Name\" = 'a' COLLATE NOCASE"), "");
    EXPECT_EQ(plain.Run("SELECT * FROM \"Site\" ORDER BY \"Name\" COLLATE BINARY"), "");
    EXPECT_EQ(plain.Run("SELECT * FROM MSysVornFields WHERE Name = 'Name'"), "");
    // Comparing by the column's own collation is what needs it.
    EXPECT_NE(plain.Run("SELECT * FROM \"Site\" WHERE \"Name\" = 'a'").find("VORNNOCASE"),
              std::string::npos);
}

}  // namespace
}  // namespace vorn
