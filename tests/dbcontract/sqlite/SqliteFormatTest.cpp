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

    // The first column of the first row, "" when there is none.
    std::string Text(const std::string& sql) {
        sqlite3_stmt* statement = nullptr;
        sqlite3_prepare_v2(db_, sql.c_str(), -1, &statement, nullptr);
        std::string text;
        if (statement != nullptr && sqlite3_step(statement) == SQLITE_ROW) {
            const auto* value = sqlite3_column_text(statement, 0);
            if (value != nullptr) text = reinterpret_cast<const char*>(value);
        }
        sqlite3_finalize(statement);
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
            INSERT INTO MSysVornTables VALUES ('Reading', 0, NULL, NULL, 2);
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
              (1, '2024-03-01 08:30:00.250', 0, '0.001', NULL, NULL, NULL, NULL),
              (1, 45352.5, 'True', NULL, NULL, NULL, NULL, NULL),
              (1, '2024-03-01', 'no', NULL, NULL, NULL, NULL, NULL);
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
    ASSERT_EQ(tables[2].name, "Reading");
    EXPECT_EQ(tables[2].fields[3].precision, 12);
    EXPECT_EQ(tables[2].fields[3].scale, 3);
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
                     Variant::Null(), Variant::Null(), Variant::Null()},
                    // A REAL day number, kept as text by the TEXT column, and a day
                    // alone; yes/no values written as words.
                    {Variant(1), Variant::FromDate(45352.5), Variant(true), Variant::Null(),
                     Variant::Null(), Variant::Null(), Variant::Null(), Variant::Null()},
                    {Variant(1), Variant::FromDate(45352.0), Variant(false), Variant::Null(),
                     Variant::Null(), Variant::Null(), Variant::Null(), Variant::Null()}}));
    EXPECT_EQ(All(*db->OpenRows(Table("Named"))), (Rows{{Variant("North field")}}));
    // The engine takes the file on from here: counters and design changes.
    sites->Insert({std::nullopt, Variant("South field")});
    EXPECT_EQ(All(*db->OpenRows(Table("Site"))).back()[0], Variant(2));
    // A counter that is not the row id is numbered by the document's trigger.
    db->Execute("INSERT INTO Visit (Code) VALUES ('a')", 0);
    db->Execute("INSERT INTO Visit (Code) VALUES ('b')", 0);
    EXPECT_EQ(All(*db->OpenRows(Table("Visit"))),
              (Rows{{Variant("a"), Variant(1)}, {Variant("b"), Variant(2)}}));
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

FieldInfo Field(std::string name, std::int16_t type, std::int32_t size = 0) {
    FieldInfo field;
    field.name = std::move(name);
    field.type = type;
    field.size = size;
    return field;
}

TEST_F(SqliteFormatTest, TheEngineStoresEveryTypeInTheDocumentedForm) {
    struct Case {
        FieldInfo field;
        Variant value;
        std::string typeOf;  // SQLite's typeof() of the stored value
        std::string quoted;  // its quote()
    };
    auto decimal = Field("Dec", dbDecimal);
    decimal.precision = 10;
    decimal.scale = 3;
    const std::vector<Case> cases = {
        {Field("Txt", dbText, 10), Variant("it's"), "text", "'it''s'"},
        {Field("Empty", dbMemo), Variant(""), "text", "''"},
        {Field("None", dbMemo), Variant::Null(), "null", "NULL"},
        {Field("Byt", dbByte), Variant(std::uint8_t{200}), "integer", "200"},
        {Field("Int", dbInteger), Variant(std::int16_t{-32768}), "integer", "-32768"},
        {Field("Lng", dbLong), Variant(100000), "integer", "100000"},
        {Field("Cur", dbCurrency), Variant(Currency::FromScaled(12345)), "integer", "12345"},
        // A double given to a single keeps its 32-bit value: 2^24 + 1 is 2^24.
        {Field("Sng", dbSingle), Variant(16777217.0), "real", "16777216.0"},
        {Field("Dbl", dbDouble), Variant(0.5), "real", "0.5"},
        {Field("Dt", dbDate), Variant::FromDate(-1.25), "text", "'1899-12-29 06:00:00'"},
        {Field("Ms", dbDate), Variant::FromDate(45352.0 + 0.5 / 86400), "text",
         "'2024-03-01 00:00:00.500'"},
        {Field("Tm", dbTime), Variant::FromDate(0.5), "text", "'1899-12-30 12:00:00'"},
        {Field("Yn", dbBoolean), Variant(true), "integer", "1"},
        {Field("Bin", dbBinary, 8), Variant(Variant::Binary{1, 255}), "blob", "X'01FF'"},
        {Field("LBin", dbLongBinary), Variant(Variant::Binary{0}), "blob", "X'00'"},
        {Field("G", dbGUID), Variant("{0000000a-0000-0000-0000-0000000000ff}"), "text",
         "'{0000000A-0000-0000-0000-0000000000FF}'"},
        {decimal, Variant(*Decimal::Parse("-1.5")), "text", "'-1.5'"},
        {Field("Big", dbBigInt), Variant(*Decimal::Parse("-9000000000000")), "integer",
         "-9000000000000"},
    };
    {
        auto db = SqliteProjectFile::Create(path, "");
        TableInfo table;
        table.name = "All/Types";
        std::vector<std::optional<Variant>> row;
        for (const auto& c : cases) {
            table.fields.push_back(c.field);
            row.emplace_back(c.value);
        }
        table.fields[1].allowZeroLength = true;
        db->CreateTable(table);
        db->OpenRows(Table("All/Types"))->Insert(row);
    }
    PlainSqlite plain(path, SQLITE_OPEN_READONLY);
    for (std::size_t i = 0; i < cases.size(); ++i) {
        const auto column = "\"" + cases[i].field.name + "\"";
        const auto sql = "SELECT typeof(" + column + ") || ' ' || quote(" + column +
                         ") FROM \"All/Types\"";
        EXPECT_EQ(plain.Text(sql), cases[i].typeOf + " " + cases[i].quoted) << cases[i].field.name;
        EXPECT_EQ(plain.Text("SELECT Position || ' ' || Type FROM MSysVornFields WHERE TableName = "
                             "'All/Types' AND Name = '" + cases[i].field.name + "'"),
                  std::to_string(i) + " " + std::to_string(cases[i].field.type));
    }
    EXPECT_EQ(plain.Text("SELECT Value FROM MSysVornProperties WHERE TableName = 'All/Types' AND "
                         "FieldName = 'Dec' AND Name = 'Scale' AND Type = 2"),
              "3");
}

TEST_F(SqliteFormatTest, IndexesRelationsAndCountersHaveTheDocumentedNamesAndRows) {
    {
        auto db = SqliteProjectFile::Create(path, ";LANGID=0x0409;CP=1252;COUNTRY=0");
        TableInfo parent;
        parent.name = "A/B";
        auto counter = Field("Seq", dbLong, 4);
        counter.attributes = dbAutoIncrField;
        parent.fields = {Field("Code", dbText, 10), counter};
        IndexInfo primary;
        primary.name = "PrimaryKey";
        primary.primary = true;
        primary.unique = true;
        primary.fields = {{"Code", dbDescending}};
        parent.indexes = {primary};
        db->CreateTable(parent);
        TableInfo child;
        child.name = "Child";
        child.fields = {Field("Code", dbText, 10)};
        db->CreateTable(child);
        RelationInfo relation;
        relation.name = "Owns";
        relation.table = "A/B";
        relation.foreignTable = "Child";
        relation.attributes = dbRelationDeleteCascade;
        relation.fields = {{"Code", "Code"}};
        db->CreateRelation(relation);
    }
    PlainSqlite plain(path, SQLITE_OPEN_READONLY);
    const std::vector<std::pair<std::string, std::string>> expected = {
        {"SELECT Value FROM MSysVornInfo WHERE Name = 'FormatVersion'", "1"},
        {"SELECT Value FROM MSysVornInfo WHERE Name = 'Locale'",
         ";LANGID=0x0409;CP=1252;COUNTRY=0"},
        {"SELECT group_concat(Name || ':' || Position, ',') FROM MSysVornTables", "A/B:0,Child:1"},
        {"SELECT IsPrimary || IsUnique || IgnoreNulls || IsForeign FROM MSysVornIndexes "
         "WHERE TableName = 'A/B'", "1100"},
        {"SELECT FieldName || ':' || Attributes FROM MSysVornIndexFields WHERE TableName = 'A/B'",
         "Code:1"},
        {"SELECT IsPrimary || IsUnique || IsForeign FROM MSysVornIndexes "
         "WHERE TableName = 'Child' AND Name = 'Owns'", "001"},
        {"SELECT ParentTable || '>' || ChildTable || ':' || Attributes FROM MSysVornRelations",
         "A/B>Child:4096"},
        {"SELECT Name || '>' || ForeignName FROM MSysVornRelationFields "
         "WHERE RelationName = 'Owns' AND Position = 0", "Code>Code"},
        {"SELECT tbl_name FROM sqlite_schema WHERE type = 'index' AND "
         "name = 'vornidx/A//B/PrimaryKey'", "A/B"},
        {"SELECT tbl_name FROM sqlite_schema WHERE type = 'index' AND name = 'vornidx/Child/Owns'",
         "Child"},
        {"SELECT count(*) FROM sqlite_schema WHERE type = 'trigger' AND name IN "
         "('vorncounter/A/B', 'vornrel/Owns/ci', 'vornrel/Owns/cu', 'vornrel/Owns/pd', "
         "'vornrel/Owns/pu')", "5"},
        {"PRAGMA journal_mode", "delete"},
    };
    for (const auto& [sql, text] : expected) EXPECT_EQ(plain.Text(sql), text) << sql;
}

}  // namespace
}  // namespace vorn
