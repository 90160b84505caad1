#include <gtest/gtest.h>

#include <functional>

#include "dbcontract/DaoConstants.h"
#include "dbcontract/sqlite/SqliteErrors.h"
#include "dbcontract/sqlite/SqliteProjectFile.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/VornError.h"
#include "support/TestSupport.h"

namespace vorn {
namespace {

using testing::FailureNumber;

using namespace dao;
using Rows = std::vector<std::vector<Variant>>;

FieldInfo Field(const char* name, std::int16_t type, std::int32_t size = 0,
                std::int32_t attributes = 0) {
    FieldInfo field;
    field.name = name;
    field.type = type;
    field.size = size;
    field.attributes = attributes;
    return field;
}


Rows All(RowSource& rows) {
    Rows all;
    std::vector<Variant> row;
    while (rows.Next(row)) all.push_back(row);
    return all;
}

RowRequest Table(std::string name, std::int32_t type = dbOpenDynaset, std::int32_t options = 0) {
    RowRequest request;
    request.source = std::move(name);
    request.isTable = true;
    request.type = type;
    request.options = options;
    return request;
}

RowRequest Sql(std::string sql, std::int32_t type = dbOpenDynaset) {
    RowRequest request;
    request.source = std::move(sql);
    request.type = type;
    return request;
}

RowSource::Changes Values(std::vector<std::optional<Variant>> values) { return values; }

// Rows of a "Site" table: a counter key, a required name that may not be
// empty, a short code, and a child table related to it.
class SqliteRowsTest : public ::testing::Test {
protected:
    void SetUp() override {
        db = SqliteProjectFile::Create((folder / "p.vpf").string(), "");
        TableInfo site;
        site.name = "Site";
        auto name = Field("Name", dbText, 20);
        name.required = true;
        auto code = Field("Code", dbText, 3);
        code.allowZeroLength = true;
        site.fields = {Field("ID", dbLong, 4, dbAutoIncrField), name, code,
                       Field("Depth", dbDouble)};
        IndexInfo key;
        key.name = "PrimaryKey";
        key.primary = true;
        key.fields = {{"ID", 0}};
        IndexInfo unique;
        unique.name = "Name";
        unique.unique = true;
        unique.fields = {{"Name", 0}};
        site.indexes = {key, unique};
        db->CreateTable(site);
        TableInfo sample;
        sample.name = "Sample";
        sample.fields = {Field("SiteID", dbLong), Field("Label", dbText, 20)};
        db->CreateTable(sample);
        db->CreateRelation({"SiteSample", "Site", "Sample", 0, {{"ID", "SiteID"}}});
        db->Execute("INSERT INTO Site (Name, Code, Depth) VALUES ('north', 'N', 1.5)", 0);
        db->Execute("INSERT INTO Site (Name, Code, Depth) VALUES ('south', '', NULL)", 0);
    }

    testing::TempFolder folder;
    std::unique_ptr<SqliteProjectFile> db;
};

TEST_F(SqliteRowsTest, ATableShowsItsDesignAndItsRows) {
    auto rows = db->OpenRows(Table("Site"));
    ASSERT_EQ(rows->Columns().size(), 4u);
    EXPECT_EQ(rows->Columns()[1].name, "Name");
    EXPECT_TRUE(rows->Columns()[1].required);
    EXPECT_EQ(rows->Columns()[3].type, dbDouble);
    EXPECT_EQ(rows->Columns()[3].sourceTable, "Site");
    EXPECT_EQ(rows->Columns()[3].sourceField, "Depth");
    EXPECT_TRUE(rows->Updatable());
    EXPECT_EQ(rows->KnownCount(), 2);
    EXPECT_EQ(All(*rows), (Rows{{Variant(1), Variant("north"), Variant("N"), Variant(1.5)},
                                {Variant(2), Variant("south"), Variant(""), Variant::Null()}}));
    db->Execute("INSERT INTO Site (Name) VALUES ('east')", 0);
    rows->Restart();
    EXPECT_EQ(All(*rows).size(), 3u);
    EXPECT_EQ(rows->KnownCount(), 3);
}

TEST_F(SqliteRowsTest, RowsAreChangedByTheirKeys) {
    auto rows = db->OpenRows(Table("Site"));
    std::vector<Variant> row;
    ASSERT_TRUE(rows->Next(row));
    const auto north = rows->CurrentKey();
    EXPECT_EQ(north.size(), 8u);
    const auto added =
        rows->Insert(Values({std::nullopt, Variant("west"), std::nullopt, Variant(3)}));
    ASSERT_TRUE(rows->Read(added, row));
    EXPECT_EQ(row,
              (std::vector<Variant>{Variant(3), Variant("west"), Variant::Null(), Variant(3.0)}));
    rows->Update(north, Values({std::nullopt, Variant("NORTH"), std::nullopt, std::nullopt}));
    ASSERT_TRUE(rows->Read(north, row));
    EXPECT_EQ(row[1], Variant("NORTH"));
    EXPECT_EQ(row[3], Variant(1.5));
    rows->Delete(added);
    EXPECT_FALSE(rows->Read(added, row));
    EXPECT_EQ(FailureNumber([&] { rows->Delete(added); }), errnum::kJetRecordDeleted);
    EXPECT_EQ(FailureNumber([&] {
                  rows->Update(added, Values({std::nullopt, Variant("x")}));
              }),
              errnum::kJetRecordDeleted);
    EXPECT_EQ(FailureNumber([&] { rows->Update(north, Values({Variant(9)})); }),
              errnum::kJetFieldNotUpdatable);
}

TEST_F(SqliteRowsTest, WritesFailWithTheEnginesNumbers) {
    auto sites = db->OpenRows(Table("Site"));
    auto samples = db->OpenRows(Table("Sample"));
    struct Case {
        const char* what;
        std::function<void()> write;
        std::int32_t number;
    };
    const Case cases[] = {
        {"duplicate ignoring case",
         [&] {
             sites->Insert(Values({std::nullopt, Variant("NORTH")}));
         },
         errnum::kJetDuplicateValue},
        {"required Null",
         [&] {
             sites->Insert(Values({std::nullopt, std::nullopt, Variant("a")}));
         },
         errnum::kJetFieldRequired},
        {"zero length",
         [&] {
             sites->Insert(Values({std::nullopt, Variant("")}));
         },
         errnum::kJetZeroLengthNotAllowed},
        {"too long",
         [&] {
             sites->Insert(Values({std::nullopt, Variant("x"), Variant("ABCD")}));
         },
         errnum::kJetFieldTooSmall},
        {"not a number",
         [&] {
             sites->Insert(Values({std::nullopt, Variant("x"), std::nullopt, Variant("deep")}));
         },
         errnum::kJetConversionError},
        {"no parent",
         [&] {
             samples->Insert(Values({Variant(99), Variant("s")}));
         },
         errnum::kJetRelatedRecordRequired},
    };
    for (const auto& c : cases) EXPECT_EQ(FailureNumber(c.write), c.number) << c.what;
    samples->Insert(Values({Variant(1), Variant("s")}));
    std::vector<Variant> row;
    ASSERT_TRUE(sites->Next(row));
    EXPECT_EQ(FailureNumber([&] { sites->Delete(sites->CurrentKey()); }),
              errnum::kJetRelatedRecordsExist);
    EXPECT_EQ(All(*db->OpenRows(Table("Site"))).size(), 2u);
}

TEST_F(SqliteRowsTest, SnapshotsAndReadOnlyRequestsAreNotUpdatable) {
    for (const auto& request : {Table("Site", dbOpenSnapshot), Table("Site", dbOpenForwardOnly),
                                Table("Site", dbOpenDynaset, dbReadOnly)}) {
        auto rows = db->OpenRows(request);
        EXPECT_FALSE(rows->Updatable());
        EXPECT_EQ(FailureNumber([&] {
                      rows->Insert(Values({std::nullopt, Variant("x")}));
                  }),
                  errnum::kJetReadOnly);
        EXPECT_EQ(All(*rows).size(), 2u);
    }
    auto appendOnly = db->OpenRows(Table("Site", dbOpenDynaset, dbAppendOnly));
    EXPECT_EQ(appendOnly->KnownCount(), 0);
    EXPECT_TRUE(All(*appendOnly).empty());
    appendOnly->Insert(Values({std::nullopt, Variant("added")}));
    EXPECT_EQ(db->OpenRows(Table("Site"))->KnownCount(), 3);
}

TEST_F(SqliteRowsTest, FilterAndSortApplyOnTopOfTheSource) {
    auto request = Table("[Site]");
    request.filter = "Depth IS NULL OR Depth > 1";
    request.sort = "Name DESC";
    auto rows = db->OpenRows(request);
    EXPECT_EQ(rows->KnownCount(), std::nullopt);
    EXPECT_EQ(All(*rows).front()[1], Variant("south"));
    auto bySql = Sql("SELECT Name, Code FROM Site");
    bySql.filter = "Code = 'n'";
    auto filtered = db->OpenRows(bySql);
    EXPECT_TRUE(filtered->Updatable());
    EXPECT_EQ(All(*filtered), (Rows{{Variant("north"), Variant("N")}}));
}

TEST_F(SqliteRowsTest, ASelectOfOneTableIsUpdatableAndOthersAreNot) {
    auto one = db->OpenRows(Sql("SELECT Name AS SiteName, Depth FROM Site WHERE ID = 1"));
    ASSERT_TRUE(one->Updatable());
    EXPECT_EQ(one->Columns()[0].name, "SiteName");
    EXPECT_EQ(one->Columns()[0].sourceField, "Name");
    std::vector<Variant> row;
    ASSERT_TRUE(one->Next(row));
    one->Update(one->CurrentKey(), Values({Variant("renamed")}));
    ASSERT_TRUE(one->Read(one->CurrentKey(), row));
    EXPECT_EQ(row, (std::vector<Variant>{Variant("renamed"), Variant(1.5)}));

    auto counted = db->OpenRows(Sql("SELECT Count(*) AS N, Max(Name) AS Last FROM Site"));
    EXPECT_FALSE(counted->Updatable());
    EXPECT_EQ(counted->Columns()[0].type, dbLong);
    EXPECT_EQ(counted->Columns()[1].type, dbText);
    EXPECT_EQ(All(*counted), (Rows{{Variant(2), Variant("south")}}));

    for (const char* sql : {"SELECT DISTINCT Name FROM Site",
                            "SELECT s.Name, x.Label FROM Site s INNER JOIN Sample x ON x.SiteID = s.ID",
                            "SELECT Name FROM Site UNION SELECT Label FROM Sample"}) {
        EXPECT_FALSE(db->OpenRows(Sql(sql))->Updatable()) << sql;
    }
    EXPECT_EQ(FailureNumber([&] { db->OpenRows(Sql("DELETE FROM Site")); }),
              errnum::kJetInvalidOperation);
    EXPECT_EQ(FailureNumber([&] { db->OpenRows(Sql("SELECT 1; SELECT 2")); }),
              errnum::kJetCharactersAfterEnd);
    EXPECT_EQ(FailureNumber([&] { db->OpenRows(Table("Nothing")); }), errnum::kJetInputTableNotFound);
}

TEST_F(SqliteRowsTest, ExecuteChangesRowsButNeverTheCatalogTablesDirectly) {
    EXPECT_EQ(db->Execute("UPDATE Site SET Depth = 2", 0), 2);
    EXPECT_EQ(FailureNumber([&] { db->Execute("SELECT * FROM Site", 0); }),
              errnum::kJetCannotExecuteSelect);
    for (const char* sql : {"DELETE FROM MSysVornTables", "UPDATE MSysVornFields SET Size = 1",
                            "INSERT INTO MSysVornInfo (Name, Value) VALUES ('x', 'y')"}) {
        EXPECT_EQ(FailureNumber([&] { db->Execute(sql, 0); }), errnum::kJetOperationNotSupported) << sql;
    }
    for (const char* sql : {"PRAGMA foreign_keys = ON", "BEGIN", "VACUUM"}) {
        EXPECT_EQ(FailureNumber([&] { db->Execute(sql, 0); }), errnum::kJetInvalidSqlStatement) << sql;
    }
    EXPECT_EQ(FailureNumber([&] { db->Execute("UPDATE Site SET Depth = 1; DROP TABLE Sample", 0); }),
              errnum::kJetCharactersAfterEnd);
    EXPECT_EQ(FailureNumber([&] { db->Execute("UPDATE Absent SET a = 1", 0); }),
              errnum::kJetInputTableNotFound);
    // A failing statement takes back what it did before it failed.
    EXPECT_EQ(FailureNumber([&] { db->Execute("UPDATE Site SET Depth = 5, Name = NULL", 0); }),
              errnum::kJetFieldRequired);
    EXPECT_EQ(All(*db->OpenRows(Sql("SELECT Depth FROM Site"))),
              (Rows{{Variant(2.0)}, {Variant(2.0)}}));
}

TEST_F(SqliteRowsTest, AttachedTablesReadAndWriteThroughToTheirFile) {
    const auto otherPath = (folder / "other.vpf").string();
    {
        auto other = SqliteProjectFile::Create(otherPath, "");
        TableInfo bore;
        bore.name = "Bore";
        bore.fields = {Field("Ref", dbText, 10), Field("Level", dbCurrency)};
        other->CreateTable(bore);
        other->Execute("INSERT INTO Bore VALUES ('B1', 1.25)", 0);
        TableInfo link;
        link.name = "Linked";
        link.connect = ";DATABASE=" + (folder / "p.vpf").string() + ";";
        link.sourceTableName = "Site";
        other->CreateTable(link);
    }
    TableInfo attached;
    attached.name = "Bores";
    attached.connect = ";DATABASE=" + otherPath + ";";
    attached.sourceTableName = "bore";
    db->CreateTable(attached);
    auto rows = db->OpenRows(Table("Bores"));
    EXPECT_EQ(rows->Columns()[1].type, dbCurrency);
    EXPECT_TRUE(rows->Updatable());
    EXPECT_EQ(All(*rows), (Rows{{Variant("B1"), Variant(Currency::FromScaled(12500))}}));
    rows->Insert(Values({Variant("B2"), Variant(Currency::FromScaled(5))}));
    EXPECT_EQ(All(*db->OpenRows(Sql("SELECT Ref FROM Bores ORDER BY Ref"))),
              (Rows{{Variant("B1")}, {Variant("B2")}}));
    EXPECT_EQ(FailureNumber([&] { db->AddField("Bores", Field("X", dbLong)); }),
              errnum::kJetNotOnAttachedTable);

    attached.name = "Twice";
    attached.sourceTableName = "Linked";
    EXPECT_EQ(FailureNumber([&] { db->CreateTable(attached); }), errnum::kJetInputTableNotFound);
    attached.sourceTableName = "Nothing";
    EXPECT_EQ(FailureNumber([&] { db->CreateTable(attached); }), errnum::kJetInputTableNotFound);
    attached.connect = ";DATABASE=" + (folder / "missing.vpf").string() + ";";
    EXPECT_EQ(FailureNumber([&] { db->CreateTable(attached); }), errnum::kJetFileNotFound);

    db->Close();
    auto other = SqliteProjectFile::Open(otherPath, true);
    EXPECT_EQ(All(*other->OpenRows(Table("Bore"))).size(), 2u);
    other.reset();
    db = SqliteProjectFile::Open((folder / "p.vpf").string(), false);
    db->DropTable("bores");
    EXPECT_EQ(FailureNumber([&] { db->OpenRows(Sql("SELECT * FROM Bores")); }),
              errnum::kJetInputTableNotFound);
}

}  // namespace
}  // namespace vorn
