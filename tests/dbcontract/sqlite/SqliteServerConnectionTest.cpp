#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <sstream>

#include "dbcontract/DalConnection.h"
#include "dbcontract/DaoConstants.h"
#include "dbcontract/ProviderRules.h"
#include "runtime/DateSerial.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/VornError.h"
#include "support/TestSupport.h"

namespace vorn {
namespace {

std::string FailureOf(const std::function<void()>& work) {
    try {
        work();
    } catch (const VornError& e) {
        EXPECT_EQ(e.Number(), errnum::kDalGenericFailure) << e.Description();
        return e.Description();
    }
    ADD_FAILURE() << "no failure";
    return {};
}

// The DAO type of a column from its declared type, one line a case.
TEST(MapDeclaredType, GivesDaoTypeSizeAndScale) {
    struct Case {
        const char* declared;
        std::int16_t type;
        std::int32_t size;
        int precision;
        int scale;
    };
    const Case cases[] = {
        {"int", dao::dbLong, 4, 0, 0},
        {"INTEGER", dao::dbLong, 4, 0, 0},
        {"int IDENTITY(1,1)", dao::dbLong, 4, 0, 0},
        {"smallint", dao::dbInteger, 2, 0, 0},
        {"tinyint", dao::dbByte, 1, 0, 0},
        {"bit", dao::dbBoolean, 1, 0, 0},
        {"bigint", dao::dbBigInt, 8, 0, 0},
        {"money", dao::dbCurrency, 8, 0, 0},
        {"Currency", dao::dbCurrency, 8, 0, 0},
        {"real", dao::dbSingle, 4, 0, 0},
        {"float", dao::dbDouble, 8, 0, 0},
        {"double precision", dao::dbDouble, 8, 0, 0},
        {"datetime", dao::dbDate, 8, 0, 0},
        {"nvarchar(50)", dao::dbText, 50, 0, 0},
        {"[nvarchar] (255)", dao::dbText, 255, 0, 0},
        {"varchar(1000)", dao::dbText, 1000, 0, 0},
        {"National Character Varying(12)", dao::dbText, 12, 0, 0},
        {"text(20)", dao::dbText, 20, 0, 0},
        {"nvarchar(max)", dao::dbMemo, 0, 0, 0},
        {"text", dao::dbMemo, 0, 0, 0},
        {"ntext", dao::dbMemo, 0, 0, 0},
        {"varbinary(max)", dao::dbLongBinary, 0, 0, 0},
        {"varbinary(16)", dao::dbLongBinary, 0, 0, 0},
        {"blob", dao::dbLongBinary, 0, 0, 0},
        {"image", dao::dbLongBinary, 0, 0, 0},
        {"binary(8)", dao::dbBinary, 8, 0, 0},
        {"decimal(18, 4)", dao::dbDecimal, 17, 18, 4},
        {"numeric", dao::dbDecimal, 17, 18, 0},
        {"uniqueidentifier", dao::dbGUID, 16, 0, 0},
        {"", dao::dbMemo, 0, 0, 0},
    };
    for (const Case& c : cases) {
        FieldInfo field;
        MapDeclaredType(c.declared, field);
        EXPECT_EQ(field.type, c.type) << c.declared;
        EXPECT_EQ(field.size, c.size) << c.declared;
        EXPECT_EQ(field.precision, c.precision) << c.declared;
        EXPECT_EQ(field.scale, c.scale) << c.declared;
    }
}

// A database "site" made through CreateDatabase in a temp folder, and a
// second connection attached to it, as the upsize makes them.
class SqliteServerTest : public ::testing::Test {
  protected:
    void SetUp() override {
        DalConnection system;
        system.SetProviderType(provider::kSqlite);
        system.SetConnectString(system.BuildConnectString(folder.path().string()));
        ASSERT_FALSE(system.DatabaseExists("site"));
        std::string why;
        ASSERT_TRUE(system.CreateDatabase("site", why)) << why;
        ASSERT_TRUE(system.DatabaseExists("site"));
        db.SetProviderType(provider::kSqlite);
        db.SetConnectString(db.BuildConnectString(folder.path().string(), "site", "", ""));
    }

    std::vector<std::vector<Variant>> Rows(const std::string& sql) {
        auto cursor = db.Engine().Query(sql);
        std::vector<std::vector<Variant>> rows;
        std::vector<Variant> row;
        while (cursor->Next(row)) rows.push_back(row);
        return rows;
    }

    testing::TempFolder folder;
    DalConnection db;
};

TEST_F(SqliteServerTest, DatabaseIsAFileInTheServerFolder) {
    EXPECT_TRUE(std::filesystem::is_regular_file(folder / "site.sqlite"));
    DalConnection system;
    system.SetProviderType(provider::kSqlite);
    system.SetConnectString(system.BuildConnectString(folder.path().string()));
    std::string why;
    EXPECT_FALSE(system.CreateDatabase("site", why));
    EXPECT_NE(why.find("already exists"), std::string::npos) << why;
    // The system connection holds no database: statements fail, saying so.
    EXPECT_NE(FailureOf([&] { system.Execute("CREATE TABLE t (a int)"); }).find("has no database"),
              std::string::npos);
}

TEST_F(SqliteServerTest, MissingDatabaseFailsNamingTheFile) {
    DalConnection missing;
    missing.SetProviderType(provider::kSqlite);
    missing.SetConnectString(missing.BuildConnectString(folder.path().string(), "nowhere"));
    const std::string why = FailureOf([&] { missing.ExecuteLong("SELECT 1"); });
    EXPECT_NE(why.find("nowhere.sqlite"), std::string::npos) << why;
    EXPECT_FALSE(std::filesystem::exists(folder / "nowhere.sqlite"));
}

TEST_F(SqliteServerTest, FailingStatementCarriesTheServersMessage) {
    db.Execute("CREATE TABLE [t] (a int PRIMARY KEY)");
    db.Execute("INSERT INTO [t] VALUES (1)");
    EXPECT_NE(FailureOf([&] {
                  db.Execute("INSERT INTO [t] VALUES (1)");
              }).find("UNIQUE constraint failed"),
              std::string::npos);
    EXPECT_NE(FailureOf([&] { db.Execute("SELEC 1"); }).find("syntax error"), std::string::npos);
    EXPECT_EQ(db.ExecuteLong("SELECT Count(*) FROM [t]"), 1);
}

TEST_F(SqliteServerTest, ExecuteLongAndTextOfNullAndOfNoRow) {
    db.Execute("CREATE TABLE [t] (a int, b nvarchar(20))");
    EXPECT_EQ(db.ExecuteLong("SELECT Max(a) FROM [t]"), 0);
    EXPECT_EQ(db.ExecuteLong("SELECT a FROM [t]"), 0);
    EXPECT_EQ(db.ExecuteText("SELECT Max(b) FROM [t]"), "");
    db.Execute("INSERT INTO [t] VALUES (41, 'x')");
    EXPECT_EQ(db.ExecuteLong("SELECT Max(a) + 1 FROM [t]"), 42);
    EXPECT_EQ(db.ExecuteText("SELECT b + CONVERT(VARCHAR(12), a) FROM [t]"), "x41");
}

TEST_F(SqliteServerTest, QueryPairsAreSortedByKey) {
    db.Execute("CREATE TABLE [l] (computer nvarchar(50), usr nvarchar(50))");
    db.Execute(
        "INSERT INTO [l] VALUES ('pc-b', 'bea'), ('pc-a', 'al'), ('pc-c', 'cy'), (NULL, 'none')");
    const DalSortedList pairs = db.QueryPairs("SELECT computer, usr FROM [l]");
    ASSERT_EQ(pairs.Count(), 3);
    EXPECT_EQ(pairs.GetKey(0), Variant("pc-a"));
    EXPECT_EQ(pairs.GetByIndex(0), Variant("al"));
    EXPECT_EQ(pairs.GetKey(2), Variant("pc-c"));
    EXPECT_THROW(pairs.GetKey(3), VornError);
    const DalSortedList numbers =
        db.QueryPairs("SELECT 10, 'ten' UNION ALL SELECT 9, 'nine' UNION ALL SELECT 10, 'again'");
    ASSERT_EQ(numbers.Count(), 2);
    EXPECT_EQ(numbers.GetByIndex(0), Variant("nine"));  // 9 before 10: by value, not by text
    EXPECT_EQ(numbers.GetByIndex(1), Variant("ten"));
}

TEST_F(SqliteServerTest, RollbackAfterDdlAndInsertsLeavesTheDatabaseAsItWas) {
    db.Execute("CREATE TABLE [keep] (a int)");
    db.Execute("INSERT INTO [keep] VALUES (1)");
    db.BeginTransaction("System_Table_Upsize");
    db.Execute("CREATE TABLE [added] (id int PRIMARY KEY, n nvarchar(10))");
    db.Execute("CREATE INDEX [ix_keep] ON [keep] (a)");
    db.Execute("INSERT INTO [added] VALUES (1, 'x')");
    db.Execute("INSERT INTO [keep] VALUES (2)");
    db.Execute("DELETE FROM [keep] WHERE a = 1");
    EXPECT_TRUE(db.TableExists("ADDED"));
    db.Rollback();
    EXPECT_FALSE(db.InTransaction());
    EXPECT_FALSE(db.TableExists("added"));
    FailureOf([&] { db.IndexColumns("keep", "ix_keep"); });
    const auto rows = Rows("SELECT a FROM [keep]");
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0][0], Variant(1));
}

TEST_F(SqliteServerTest, ConnectionClosedInsideATransactionRollsItBack) {
    db.Execute("CREATE TABLE [t] (a int)");
    {
        DalConnection other;
        other.SetProviderType(provider::kSqlite);
        other.SetConnectString(db.ConnectString());
        other.BeginTransaction("System_Table_Create");
        other.Execute("INSERT INTO [t] VALUES (5)");
        EXPECT_EQ(db.ExecuteLong("SELECT Count(*) FROM [t]"), 1)
            << "one connection per file sees the work";
        other.Close();
    }
    EXPECT_EQ(db.ExecuteLong("SELECT Count(*) FROM [t]"), 0);
}

// The design and rows of the database, to compare before and after.
std::string SqliteSnapshot(DalConnection& cn, const std::vector<std::string>& tables) {
    std::ostringstream out;
    auto design = cn.Engine().Query("SELECT type, name, sql FROM sqlite_master ORDER BY type, name");
    std::vector<Variant> row;
    while (design->Next(row)) out << row[0] << " " << row[1] << ": " << row[2] << "\n";
    for (const std::string& table : tables) {
        auto rows = cn.Engine().Query("SELECT * FROM \"" + table + "\" ORDER BY 1");
        while (rows->Next(row)) {
            for (const Variant& value : row) out << " " << value;
            out << "\n";
        }
    }
    return out.str();
}

// The upsize per project: a committed project stays whole when the next
// one fails part-way through a batch and is rolled back after DDL of every
// kind and inserts into new and existing tables.
TEST_F(SqliteServerTest, ProjectsAppendedOneAfterAnother) {
    db.Execute("CREATE TABLE [keep] ([id] [int] IDENTITY(1,1) NOT NULL, [name] [nvarchar] (20) NULL, "
               "CONSTRAINT [PK_keep] PRIMARY KEY CLUSTERED ([id]))");
    db.Execute("INSERT INTO [keep] ([name]) VALUES ('old')");
    VArray names = VArray::FromStrings({"@param1"});

    db.BeginTransaction("System_Table_Upsize");
    db.Execute("CREATE TABLE [hole] ([HoleID] [nvarchar] (20) NOT NULL, [Depth] [float] NULL, "
               "CONSTRAINT [PK_hole] PRIMARY KEY NONCLUSTERED ([HoleID]))");
    db.InsertRow("hole", VArray::FromStrings({"HoleID", "Depth"}), VArray::FromItems({Variant("BH1"), Variant(2.5)}));
    VArray first = VArray::FromItems({Variant("first")});
    db.ExecuteParams("INSERT INTO [keep] ([name]) VALUES (@param1)", names, first);
    db.Commit();
    const std::vector<std::string> tables = {"keep", "hole"};
    const std::string afterFirst = SqliteSnapshot(db, tables);

    db.BeginTransaction("System_Table_Upsize");
    db.Execute("CREATE TABLE [sample] ([ID] [int] NOT NULL, [HoleID] [nvarchar] (20) NULL, [Note] [nvarchar] (max) "
               "NULL, CONSTRAINT [PK_sample] PRIMARY KEY NONCLUSTERED ([ID]))");
    db.Execute("ALTER TABLE [sample] WITH CHECK ADD CONSTRAINT [fkHole] FOREIGN KEY ([HoleID]) REFERENCES [hole] "
               "([HoleID]) ON UPDATE CASCADE ON DELETE CASCADE");
    db.Execute("CREATE INDEX [ixDepth] ON [hole] ([Depth] DESC)");
    db.Execute("ALTER TABLE [hole] ADD [Extra] [int] NULL");
    db.Execute("CREATE VIEW [holes] AS SELECT [HoleID] FROM [hole]");
    VArray second = VArray::FromItems({Variant("second")});
    db.ExecuteParams("INSERT INTO [keep] ([name]) VALUES (@param1)", names, second);
    db.InsertRow("sample", VArray::FromStrings({"ID", "HoleID"}), VArray::FromItems({Variant(1), Variant("BH1")}));
    // A batch (engine text: the rewriter takes one statement) that fails
    // part-way: its first statement ran, the rest did not.
    FailureOf([&] {
        db.Engine().Execute("INSERT INTO hole (HoleID) VALUES (?); INSERT INTO hole (HoleID) VALUES (?); "
                            "INSERT INTO hole (HoleID) VALUES (?)",
                            {Variant("BH2"), Variant("BH1"), Variant("BH3")});
    });
    EXPECT_EQ(db.ExecuteLong("SELECT Count(*) FROM [hole]"), 2) << "the batch stopped at its failure";
    db.Rollback();
    EXPECT_EQ(SqliteSnapshot(db, tables), afterFirst);
}

// Values far over a page's size travel whole both ways.
TEST_F(SqliteServerTest, VeryLongTextAndBinaryRoundTrip) {
    db.Execute("CREATE TABLE [big] ([id] [int] NOT NULL PRIMARY KEY, [t] [nvarchar] (max) NULL, "
               "[b] [varbinary] (max) NULL)");
    std::string text;
    for (int i = 0; text.size() < 3'000'000; ++i) text += "Zeile " + std::to_string(i) + " ä€😀\\'\"\n";
    Variant::Binary bytes(2'500'000);
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(i * 7919 % 256);
    VArray names = VArray::FromStrings({"@param1", "@param2", "@param3"});
    VArray values = VArray::FromItems({Variant(1), Variant(text), Variant(bytes)});
    db.ExecuteParams("INSERT INTO [big] VALUES (@param1, @param2, @param3)", names, values);
    const auto rows = Rows("SELECT t, b FROM big");
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_TRUE(rows[0][0] == Variant(text)) << "text of " << rows[0][0].AsText().size() << " bytes";
    EXPECT_TRUE(rows[0][1] == Variant(bytes));
}

TEST_F(SqliteServerTest, NamesAndValuesWithQuotesInjectNothing) {
    const std::string table = "we\"ird ]name'";
    db.Execute("CREATE TABLE " + db.QuoteName(table) + " (" + db.QuoteName("co\"l") +
               " nvarchar(50))");
    VArray names = VArray::FromStrings({"@param0"});
    VArray values = VArray::FromItems({Variant("x'); DROP TABLE t; --")});
    db.ExecuteParams("INSERT INTO " + db.QuoteName(table) + " VALUES (@param0)", names, values);
    EXPECT_EQ(db.TableColumns(table)[0], Variant("co\"l"));
    EXPECT_EQ(db.ExecuteText("SELECT * FROM " + db.QuoteName(table)), "x'); DROP TABLE t; --");
    EXPECT_EQ(names, VArray::FromStrings({"@param0"})) << "the arrays stay as they were";
}

TEST_F(SqliteServerTest, SchemaServiceReadsIndexesInKeyOrderWithSortSense) {
    db.Execute(
        "CREATE TABLE [s] (a int NOT NULL, b nvarchar(20), c float, d int DEFAULT 7, "
        "CONSTRAINT [PK_s] PRIMARY KEY (a))");
    db.Execute("CREATE UNIQUE INDEX [ix_cb] ON [s] (c DESC, b)");
    const VArray columns = db.IndexColumns("S", "IX_CB");
    ASSERT_EQ(columns.Count(), 2u);
    EXPECT_EQ(columns[0], Variant("c"));
    EXPECT_EQ(columns[1], Variant("b"));
    EXPECT_TRUE(db.IndexColumnDescending("s", "ix_cb", "C"));
    EXPECT_FALSE(db.IndexColumnDescending("s", "ix_cb", "b"));
    auto schema = db.TableSchema("s");
    ASSERT_EQ(schema.Count(), 1);
    auto& index = *schema.Item("s")->Indexes().Item("ix_cb");
    EXPECT_TRUE(index.Unique());
    EXPECT_EQ(index.Fields().Count(), 2);
    EXPECT_EQ(index.Fields().Item(0)->Name(), "c");
    EXPECT_TRUE(schema.Item("s")->Indexes().Item("PK_s")->Primary());
    EXPECT_EQ(db.TableSchema("nothing").Count(), 0);

    db.Execute("INSERT INTO [s] (a) VALUES (1)");
    db.DropColumnDefault("s", "d");
    db.Execute("INSERT INTO [s] (a) VALUES (2)");
    EXPECT_EQ(db.ExecuteLong("SELECT d FROM [s] WHERE a = 1"), 7)
        << "existing rows keep their value";
    EXPECT_EQ(db.ExecuteText("SELECT Coalesce(d, 'null') FROM [s] WHERE a = 2"), "null");
}

}  // namespace
}  // namespace vorn
