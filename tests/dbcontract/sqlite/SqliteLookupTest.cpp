// Finding names in the catalog through its keys, and statements kept for
// reuse on a connection: the faster paths must answer as the plain ones did.

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "dbcontract/sqlite/SqliteHandle.h"
#include "dbcontract/sqlite/SqliteProjectFile.h"
#include "dbcontract/sqlite/SqliteStatement.h"
#include "support/TestSupport.h"

namespace vorn {
namespace {

class SqliteLookupTest : public ::testing::Test {
protected:
    void SetUp() override {
        auto db = SqliteProjectFile::Create(path, ";LANGID=0x0409;CP=1252;COUNTRY=0");
        TableInfo table;
        table.name = "Échantillon";
        FieldInfo field;
        field.name = "Été";
        table.fields.push_back(field);
        db->CreateTable(table);
        db->Close();
    }

    // Rows of properties as another program may write them: NULL where the
    // format writes '' for "no table" or "no field".
    void WriteForeignRows() {
        const SqliteHandle plain(path, SQLITE_OPEN_READWRITE);
        plain.Exec(
            "INSERT INTO MSysVornProperties VALUES (NULL, NULL, 'Owner', 10, 'survey'), "
            "('Échantillon', NULL, 'Note', 10, 'table note')");
    }

    testing::TempFolder folder;
    std::string path = (folder / "lookup.vpj").string();
};

TEST_F(SqliteLookupTest, OwnersAndPropertiesAreFoundIgnoringCaseBeyondAscii) {
    auto db = SqliteProjectFile::Open(path, false);
    db->SaveProperty({"ÉCHANTILLON", "ÉTÉ"}, {"Caption", 10, Variant("Summer")});
    db->SaveProperty({"échantillon", "été"}, {"CAPTION", 10, Variant("Été")});
    const auto properties = db->ReadProperties({"Échantillon", "Été"});
    ASSERT_EQ(properties.size(), 1u);
    EXPECT_EQ(properties[0].name, "CAPTION");  // replaced, with the spelling given last
    EXPECT_EQ(properties[0].value, Variant("Été"));
    EXPECT_NE(testing::FailureNumber([&] { db->SaveProperty({"Échantillon", "Hiver"}, {"X", 10, Variant("")}); }), 0);
    EXPECT_NE(testing::FailureNumber([&] { db->SaveProperty({"Nowhere", ""}, {"X", 10, Variant("")}); }), 0);
    db->Close();
}

TEST_F(SqliteLookupTest, NullOwnerColumnsWrittenByAnotherProgramAreTheSameOwner) {
    WriteForeignRows();
    auto db = SqliteProjectFile::Open(path, false);
    ASSERT_EQ(db->ReadProperties({}).size(), 1u);
    ASSERT_EQ(db->ReadProperties({"Échantillon", ""}).size(), 1u);
    // Replaced in place, not added beside.
    db->SaveProperty({}, {"owner", 10, Variant("lab")});
    db->SaveProperty({"échantillon", ""}, {"NOTE", 10, Variant("changed")});
    auto database = db->ReadProperties({});
    auto table = db->ReadProperties({"Échantillon", ""});
    ASSERT_EQ(database.size(), 1u);
    ASSERT_EQ(table.size(), 1u);
    EXPECT_EQ(database[0].value, Variant("lab"));
    EXPECT_EQ(table[0].name, "NOTE");
    EXPECT_EQ(table[0].value, Variant("changed"));
    db->DeleteProperty({}, "OWNER");
    db->DeleteProperty({"Échantillon", ""}, "note");
    EXPECT_TRUE(db->ReadProperties({}).empty());
    EXPECT_TRUE(db->ReadProperties({"Échantillon", ""}).empty());
    db->Close();
}

TEST_F(SqliteLookupTest, AScratchCopyForgetsTheDesignsARollbackUndid) {
    auto db = SqliteProjectFile::Open(path, false);
    db->WriteAsScratch();
    FieldInfo extra;
    extra.name = "Extra";
    extra.type = 4;
    db->BeginTrans();
    db->AddField("Échantillon", extra);
    // A query reads the table's design, with the field, between changes.
    RowRequest query;
    query.source = "SELECT * FROM [Échantillon]";
    EXPECT_EQ(db->OpenRows(query)->Columns().size(), 2u);
    db->Rollback();
    // Kept designs would still show the field and refuse it as a duplicate.
    db->AddField("échantillon", extra);
    const auto tables = db->ReadTables();
    ASSERT_FALSE(tables.empty());
    EXPECT_EQ(tables[0].fields.size(), 2u);
    // A change that fails in the middle is undone, and forgotten too.
    FieldInfo again = extra;
    EXPECT_NE(testing::FailureNumber([&] { db->AddField("Échantillon", again); }), 0);
    extra.name = "Later";
    db->AddField("Échantillon", extra);
    EXPECT_EQ(db->ReadTables()[0].fields.size(), 3u);
    db->Close();
}

TEST(SqliteStatementReuseTest, AKeptStatementFollowsTheSchemaAndItsBindingsDoNotLinger) {
    testing::TempFolder folder;
    const SqliteHandle db((folder / "kept.db").string(),
                          SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
    db.Exec("CREATE TABLE t(a); INSERT INTO t VALUES (1), (2)");
    const std::string count = "SELECT count(*) FROM t WHERE a = ?1 OR ?1 IS NULL";
    {
        SqliteStatement first(db, count);
        first.BindInt(1, 2);
        ASSERT_TRUE(first.Step());
        EXPECT_EQ(first.Int(0), 1);
    }
    db.Exec("DROP TABLE t; CREATE TABLE t(b, a); INSERT INTO t VALUES (0, 5), (0, 6), (0, 7)");
    {
        // Reused: prepared again for the new table, with no value bound.
        SqliteStatement again(db, count);
        ASSERT_TRUE(again.Step());
        EXPECT_EQ(again.Int(0), 3);
        // The same text twice at once: two statements, each with its rows.
        SqliteStatement rows(db, "SELECT a FROM t ORDER BY a");
        SqliteStatement other(db, "SELECT a FROM t ORDER BY a");
        ASSERT_TRUE(rows.Step());
        ASSERT_TRUE(rows.Step());
        ASSERT_TRUE(other.Step());
        EXPECT_EQ(rows.Int(0), 6);
        EXPECT_EQ(other.Int(0), 5);
    }
}

}  // namespace
}  // namespace vorn
