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

FieldInfo Field(const char* name, std::int16_t type, std::int32_t size = 0,
                std::int32_t attributes = 0) {
    FieldInfo field;
    field.name = name;
    field.type = type;
    field.size = size;
    field.attributes = attributes;
    field.allowZeroLength = true;
    return field;
}

IndexInfo Index(const char* name, std::vector<IndexFieldInfo> fields, bool primary = false,
                bool unique = false) {
    IndexInfo index;
    index.name = name;
    index.fields = std::move(fields);
    index.primary = primary;
    index.unique = unique || primary;
    return index;
}


// Design changes on a file with a parent and a child table.
class SqliteSchemaTest : public ::testing::Test {
protected:
    void SetUp() override {
        db = SqliteProjectFile::Create((folder / "p.vpf").string(), "");
        TableInfo parent;
        parent.name = "Parent";
        parent.fields = {Field("ID", dbLong, 4, dbAutoIncrField), Field("Code", dbText, 10),
                         Field("Name", dbText, 50)};
        parent.indexes = {Index("PrimaryKey", {{"ID", 0}}, true),
                          Index("Code", {{"Code", 0}}, false, true)};
        db->CreateTable(parent);
        TableInfo child;
        child.name = "Child";
        child.fields = {Field("Code", dbText, 10), Field("Note", dbText, 50)};
        db->CreateTable(child);
    }

    std::vector<std::vector<Variant>> Rows(const std::string& sql) {
        RowRequest request;
        request.source = sql;
        auto rows = db->OpenRows(request);
        std::vector<std::vector<Variant>> all;
        std::vector<Variant> row;
        while (rows->Next(row)) all.push_back(row);
        return all;
    }

    void Relate(std::int32_t attributes, const char* name = "ParentChild") {
        db->CreateRelation({name, "Parent", "Child", attributes, {{"Code", "Code"}}});
    }

    TableInfo Table(const std::string& name) {
        for (auto& table : db->ReadTables()) {
            if (table.name == name) return table;
        }
        return {};
    }

    testing::TempFolder folder;
    std::unique_ptr<SqliteProjectFile> db;
};

TEST_F(SqliteSchemaTest, NamesAreFoundIgnoringCaseAsTheEngineFoundThem) {
    TableInfo again;
    again.name = "PARENT";
    again.fields = {Field("X", dbLong)};
    EXPECT_EQ(FailureNumber([&] { db->CreateTable(again); }), errnum::kJetTableExists);
    again.name = "Ä";
    db->CreateTable(again);
    again.name = "ä";
    EXPECT_EQ(FailureNumber([&] { db->CreateTable(again); }), errnum::kJetTableExists);
    again.name = "MSysVornTables";
    EXPECT_EQ(FailureNumber([&] { db->CreateTable(again); }), errnum::kJetTableExists);
    db->CreateQuery({"Q", "SELECT 1 AS One"});
    again.name = "q";
    EXPECT_EQ(FailureNumber([&] { db->CreateTable(again); }), errnum::kJetObjectExists);
    EXPECT_EQ(FailureNumber([&] { db->CreateQuery({"child", "SELECT 1"}); }), errnum::kJetObjectExists);
    EXPECT_EQ(FailureNumber([&] { db->DropTable("nothing"); }), errnum::kJetItemNotFound);
    TableInfo empty;
    empty.name = "Empty";
    EXPECT_EQ(FailureNumber([&] { db->CreateTable(empty); }), errnum::kJetNoFieldsDefined);
    TableInfo twice;
    twice.name = "Twice";
    twice.fields = {Field("A", dbLong), Field("a", dbText)};
    EXPECT_EQ(FailureNumber([&] { db->CreateTable(twice); }), errnum::kJetFieldDefinedTwice);
}

TEST_F(SqliteSchemaTest, UniqueIndexesRefuseValuesThatDifferOnlyInCase) {
    db->Execute("INSERT INTO Parent (Code) VALUES ('abc')", 0);
    EXPECT_EQ(FailureNumber([&] { db->Execute("INSERT INTO Parent (Code) VALUES ('ABC')", 0); }),
              errnum::kJetDuplicateValue);
    db->Execute("INSERT INTO Parent (Code) VALUES ('Ä')", 0);
    EXPECT_EQ(FailureNumber([&] { db->Execute("INSERT INTO Parent (Code) VALUES ('ä')", 0); }),
              errnum::kJetDuplicateValue);
    // Lookups ignore case too.
    EXPECT_EQ(Rows("SELECT ID FROM Parent WHERE Code = 'ABC'").size(), 1u);
    EXPECT_EQ(Rows("SELECT ID FROM Parent WHERE Code = 'ä'").size(), 1u);
}

TEST_F(SqliteSchemaTest, CountersNumberRowsWhetherOrNotTheyAreTheRowId) {
    db->Execute("INSERT INTO Parent (Code) VALUES ('a')", 0);
    db->Execute("INSERT INTO Parent (Code) VALUES ('b')", 0);
    db->Execute("INSERT INTO Child (Code) VALUES ('a')", 0);
    db->AddField("Child", Field("Counter", dbLong, 4, dbAutoIncrField));
    db->Execute("INSERT INTO Child (Code) VALUES ('b')", 0);
    EXPECT_EQ(Rows("SELECT Counter FROM Child ORDER BY Counter"),
              (std::vector<std::vector<Variant>>{{Variant(1)}, {Variant(2)}}));
    db->Execute("DELETE FROM Parent WHERE ID = 2", 0);
    db->Execute("INSERT INTO Parent (Code) VALUES ('c')", 0);
    // The row-id counter does not hand out a number again.
    EXPECT_EQ(Rows("SELECT ID FROM Parent WHERE Code = 'c'")[0][0], Variant(3));
    TableInfo two;
    two.name = "Two";
    two.fields = {Field("A", dbLong, 4, dbAutoIncrField), Field("B", dbLong, 4, dbAutoIncrField)};
    EXPECT_EQ(FailureNumber([&] { db->CreateTable(two); }), errnum::kJetInvalidFieldType);
    two.fields = {Field("A", dbText, 4, dbAutoIncrField)};
    EXPECT_EQ(FailureNumber([&] { db->CreateTable(two); }), errnum::kJetInvalidFieldType);
}

TEST_F(SqliteSchemaTest, AddingARequiredFieldRebuildsTheTableAndKeepsItsRows) {
    db->Execute("INSERT INTO Parent (Code, Name) VALUES ('a', 'first')", 0);
    db->Execute("INSERT INTO Parent (Code, Name) VALUES ('b', 'second')", 0);
    auto required = Field("Size", dbLong);
    required.required = true;
    EXPECT_EQ(FailureNumber([&] { db->AddField("Parent", required); }), errnum::kJetFieldRequired);
    EXPECT_EQ(Table("Parent").fields.size(), 3u);  // the failed change left nothing behind
    required.defaultValue = "7";
    db->AddField("Parent", required);
    EXPECT_EQ(Rows("SELECT ID, Code, Size FROM Parent ORDER BY ID"),
              (std::vector<std::vector<Variant>>{{Variant(1), Variant("a"), Variant(7)},
                                                 {Variant(2), Variant("b"), Variant(7)}}));
    EXPECT_EQ(FailureNumber([&] { db->Execute("INSERT INTO Parent (Code) VALUES ('A')", 0); }),
              errnum::kJetDuplicateValue);  // indexes came back with the new table
    EXPECT_EQ(FailureNumber([&] { db->Execute("UPDATE Parent SET Size = NULL", 0); }),
              errnum::kJetFieldRequired);
}

TEST_F(SqliteSchemaTest, DroppingAFieldFailsWhileAnIndexOrRelationNeedsIt) {
    Relate(0);
    EXPECT_EQ(FailureNumber([&] { db->DropField("Parent", "Code"); }), errnum::kJetFieldInRelationship);
    EXPECT_EQ(FailureNumber([&] { db->DropField("Child", "code"); }), errnum::kJetFieldInRelationship);
    EXPECT_EQ(FailureNumber([&] { db->DropField("Parent", "ID"); }), errnum::kJetFieldInIndex);
    EXPECT_EQ(FailureNumber([&] { db->DropField("Parent", "Nope"); }), errnum::kJetItemNotFound);
    db->Execute("INSERT INTO Parent (Code, Name) VALUES ('a', 'kept')", 0);
    db->DropField("Parent", "Name");
    EXPECT_EQ(Rows("SELECT * FROM Parent"),
              (std::vector<std::vector<Variant>>{{Variant(1), Variant("a")}}));
}

TEST_F(SqliteSchemaTest, AlteringAFieldRenamesItEverywhereAndConvertsItsValues) {
    Relate(0);
    db->Execute("INSERT INTO Parent (Code, Name) VALUES ('12', 'x')", 0);
    db->Execute("INSERT INTO Child (Code, Note) VALUES ('12', '42')", 0);
    auto number = Field("Number", dbLong);
    db->AlterField("Child", "Note", number);
    EXPECT_EQ(Rows("SELECT Number FROM Child")[0][0], Variant(42));
    db->AlterField("Parent", "Code", Field("Key", dbText, 10));
    EXPECT_EQ(db->ReadRelations()[0].fields[0].name, "Key");
    EXPECT_EQ(Table("Parent").indexes[1].fields[0].name, "Key");
    // The relation still holds under the new name.
    EXPECT_EQ(FailureNumber([&] { db->Execute("INSERT INTO Child (Code) VALUES ('99')", 0); }),
              errnum::kJetRelatedRecordRequired);
    auto wrong = Field("Name", dbLong);
    EXPECT_EQ(FailureNumber([&] { db->AlterField("Parent", "Name", wrong); }),
              errnum::kJetConversionError);
    EXPECT_EQ(FailureNumber([&] { db->AlterField("Parent", "Name", Field("Key", dbText)); }),
              errnum::kJetFieldDefinedTwice);
}

TEST_F(SqliteSchemaTest, IndexesFailAsTheEngineFails) {
    EXPECT_EQ(FailureNumber([&] {
                  db->CreateIndex("Parent", Index("code", {{"Name", 0}}));
              }),
              errnum::kJetIndexAlreadyExists);
    EXPECT_EQ(FailureNumber([&] {
                  db->CreateIndex("Parent", Index("Second", {{"Name", 0}}, true));
              }),
              errnum::kJetPrimaryKeyExists);
    EXPECT_EQ(FailureNumber([&] {
                  db->CreateIndex("Parent", Index("Bad", {{"Nothing", 0}}));
              }),
              errnum::kJetItemNotFound);
    db->Execute("INSERT INTO Child (Code, Note) VALUES ('x', 'abc')", 0);
    db->Execute("INSERT INTO Child (Code, Note) VALUES ('y', 'ABC')", 0);
    EXPECT_EQ(FailureNumber([&] {
                  db->CreateIndex("Child", Index("Note", {{"Note", 0}}, false, true));
              }),
              errnum::kJetDuplicateValue);
    EXPECT_TRUE(Table("Child").indexes.empty());
    db->CreateIndex("Child", Index("PrimaryKey", {{"Code", 0}}, true));
    EXPECT_EQ(FailureNumber([&] { db->Execute("INSERT INTO Child (Note) VALUES ('z')", 0); }),
              errnum::kJetKeyCannotBeNull);
    db->DropIndex("Child", "primarykey");
    db->Execute("INSERT INTO Child (Note) VALUES ('z')", 0);
}

TEST_F(SqliteSchemaTest, RelationsNeedAUniqueParentKeyAndAFreeIndexName) {
    EXPECT_EQ(FailureNumber([&] {
                  db->CreateRelation({"R", "Parent", "Child", 0, {{"Name", "Note"}}});
              }),
              errnum::kJetNoUniqueIndexForRelation);
    db->CreateIndex("Child", Index("Clash", {{"Note", 0}}));
    EXPECT_EQ(FailureNumber([&] { Relate(0, "Clash"); }), errnum::kJetIndexAlreadyExists);
    EXPECT_EQ(FailureNumber([&] {
                  db->CreateRelation({"R", "Parent", "Nope", 0, {{"Code", "Code"}}});
              }),
              errnum::kJetItemNotFound);
    Relate(0);
    EXPECT_EQ(FailureNumber([&] { Relate(0, "parentchild"); }), errnum::kJetObjectExists);
    EXPECT_EQ(FailureNumber([&] { db->DropIndex("Child", "ParentChild"); }),
              errnum::kJetFieldInRelationship);
    EXPECT_EQ(FailureNumber([&] { db->DropIndex("Parent", "Code"); }), errnum::kJetFieldInRelationship);
    EXPECT_EQ(FailureNumber([&] { db->DropTable("Child"); }), errnum::kJetFieldInRelationship);
    db->DropRelation("PARENTCHILD");
    EXPECT_EQ(Table("Child").indexes.size(), 1u);  // the foreign index went with it
    db->DropTable("Child");
}

TEST_F(SqliteSchemaTest, EnforcedRelationsGuardTheRowsOnBothSides) {
    db->Execute("INSERT INTO Child (Code) VALUES ('orphan')", 0);
    EXPECT_EQ(FailureNumber([&] { Relate(0); }), errnum::kJetRelatedRecordRequired);
    db->Execute("DELETE FROM Child", 0);
    Relate(0);
    db->Execute("INSERT INTO Parent (Code) VALUES ('ABC')", 0);
    db->Execute("INSERT INTO Child (Code) VALUES ('abc')", 0);
    db->Execute("INSERT INTO Child (Code) VALUES (NULL)", 0);
    EXPECT_EQ(FailureNumber([&] { db->Execute("INSERT INTO Child (Code) VALUES ('x')", 0); }),
              errnum::kJetRelatedRecordRequired);
    EXPECT_EQ(FailureNumber([&] { db->Execute("DELETE FROM Parent", 0); }),
              errnum::kJetRelatedRecordsExist);
    EXPECT_EQ(FailureNumber([&] { db->Execute("UPDATE Parent SET Code = 'new'", 0); }),
              errnum::kJetRelatedRecordsExist);
    db->Execute("UPDATE Parent SET Code = 'Abc'", 0);  // the same key, ignoring case
}

TEST_F(SqliteSchemaTest, CascadesReachChildrenThatMatchIgnoringCase) {
    Relate(dbRelationUpdateCascade | dbRelationDeleteCascade);
    db->Execute("INSERT INTO Parent (Code) VALUES ('ABC')", 0);
    db->Execute("INSERT INTO Parent (Code) VALUES ('keep')", 0);
    db->Execute("INSERT INTO Child (Code, Note) VALUES ('abc', '1')", 0);
    db->Execute("INSERT INTO Child (Code, Note) VALUES ('Abc', '2')", 0);
    db->Execute("INSERT INTO Child (Code, Note) VALUES ('keep', '3')", 0);
    EXPECT_EQ(db->Execute("UPDATE Parent SET Code = 'xyz' WHERE Code = 'abc'", 0), 1);
    EXPECT_EQ(Rows("SELECT Code FROM Child WHERE Note <> '3' ORDER BY Note"),
              (std::vector<std::vector<Variant>>{{Variant("xyz")}, {Variant("xyz")}}));
    db->Execute("DELETE FROM Parent WHERE Code = 'XYZ'", 0);
    EXPECT_EQ(Rows("SELECT Note FROM Child"), (std::vector<std::vector<Variant>>{{Variant("3")}}));
}

TEST_F(SqliteSchemaTest, RenamingATableKeepsRowsIndexesAndRelations) {
    Relate(0);
    db->Execute("INSERT INTO Parent (Code) VALUES ('a')", 0);
    db->RenameTable("Parent", "Mother");
    db->RenameTable("Mother", "MOTHER");
    EXPECT_EQ(db->ReadRelations()[0].table, "MOTHER");
    EXPECT_EQ(Rows("SELECT Code FROM MOTHER")[0][0], Variant("a"));
    EXPECT_EQ(FailureNumber([&] { db->Execute("INSERT INTO MOTHER (Code) VALUES ('A')", 0); }),
              errnum::kJetDuplicateValue);
    EXPECT_EQ(FailureNumber([&] { db->Execute("INSERT INTO Child (Code) VALUES ('b')", 0); }),
              errnum::kJetRelatedRecordRequired);
    EXPECT_EQ(FailureNumber([&] { db->RenameTable("MOTHER", "child"); }), errnum::kJetTableExists);
}

TEST_F(SqliteSchemaTest, SavedQueriesAreViewsAndPropertiesFollowTheirOwners) {
    db->Execute("INSERT INTO Parent (Code) VALUES ('b')", 0);
    db->Execute("INSERT INTO Parent (Code) VALUES ('a')", 0);
    db->CreateQuery({"Codes", "SELECT Code FROM Parent ORDER BY Code"});
    db->CreateQuery({"Wipe", "DELETE FROM Child"});
    EXPECT_EQ(Rows("SELECT * FROM Codes"),
              (std::vector<std::vector<Variant>>{{Variant("a")}, {Variant("b")}}));
    db->DropQuery("codes");
    EXPECT_EQ(FailureNumber([&] { Rows("SELECT * FROM Codes"); }), errnum::kJetInputTableNotFound);
    EXPECT_EQ(db->ReadQueries().size(), 1u);

    db->SaveProperty({"Parent", "Name"}, {"Caption", dbText, Variant("Name of it")});
    db->SaveProperty({"Parent", "Name"}, {"caption", dbText, Variant("Renamed")});
    db->AlterField("Parent", "Name", Field("Title", dbText, 50));
    ASSERT_EQ(db->ReadProperties({"Parent", "Title"}).size(), 1u);
    EXPECT_EQ(db->ReadProperties({"Parent", "Title"})[0].value, Variant("Renamed"));
    // A design setting set as a property changes the field.
    db->SaveProperty({"Parent", "Title"}, {"DefaultValue", dbText, Variant("\"none\"")});
    db->Execute("INSERT INTO Parent (Code) VALUES ('c')", 0);
    EXPECT_EQ(Rows("SELECT Title FROM Parent WHERE Code = 'c'")[0][0], Variant("none"));
    EXPECT_TRUE(db->ReadProperties({"Parent", "Title"}).size() == 1u);
    EXPECT_EQ(FailureNumber([&] {
                  db->DeleteProperty({"Parent", "Title"}, "Missing");
              }),
              errnum::kJetItemNotFound);
    EXPECT_EQ(FailureNumber([&] {
                  db->ReadProperties({"Parent", "Missing"});
              }),
              errnum::kJetItemNotFound);
    db->DropTable("Parent");
    EXPECT_EQ(FailureNumber([&] { db->ReadProperties({"Parent", ""}); }), errnum::kJetItemNotFound);
}

}  // namespace
}  // namespace vorn
