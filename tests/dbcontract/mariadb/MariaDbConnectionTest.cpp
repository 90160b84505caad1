#include "dbcontract/mariadb/MariaDbConnection.h"

#include <gtest/gtest.h>

#include <atomic>
#include <sstream>
#include <unistd.h>

#include "dbcontract/DaoConstants.h"
#include "dbcontract/mariadb/MariaDbRunDatabase.h"
#include "runtime/Conversions.h"
#include "runtime/DateSerial.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/VornError.h"
#include "dbcontract/mariadb/MariaDbTestServer.h"

namespace vorn {
namespace {

using vorn::testing::MariaDbTestTarget;

// A fresh database per test, made through CreateDatabase on a connection to
// the system database, and a second connection attached to it by name.
class MariaDbConnectionTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(vorn::testing::HaveMariaDbTestServer()) << "no test server";
        static std::atomic<int> counter{0};
        database_ = "vorn_t" + std::to_string(::getpid()) + "_" + std::to_string(counter++);
        MariaDbRunDatabase::ResetForTests();
        system_ = std::make_unique<MariaDbConnection>(MariaDbTestTarget());
        system_->CreateDatabase(database_);
        db_ = std::make_unique<MariaDbConnection>(MariaDbTestTarget(database_));
    }
    void TearDown() override {
        db_.reset();
        if (system_) system_->Execute("DROP DATABASE IF EXISTS " + system_->QuoteName(database_));
        MariaDbRunDatabase::ResetForTests();
    }

    std::vector<std::vector<Variant>> Rows(const std::string& sql, const std::vector<Variant>& params = {}) {
        auto cursor = db_->Query(sql, params);
        std::vector<std::vector<Variant>> rows;
        std::vector<Variant> row;
        while (cursor->Next(row)) rows.push_back(row);
        return rows;
    }

    std::string database_;
    std::unique_ptr<MariaDbConnection> system_;
    std::unique_ptr<MariaDbConnection> db_;
};

const FieldInfo& FieldNamed(const TableInfo& table, const std::string& name) {
    for (const FieldInfo& field : table.fields) {
        if (field.name == name) return field;
    }
    throw std::runtime_error("no field " + name);
}

const IndexInfo& IndexNamed(const TableInfo& table, const std::string& name) {
    for (const IndexInfo& index : table.indexes) {
        if (index.name == name) return index;
    }
    throw std::runtime_error("no index " + name);
}

// A connection to the server alone works in the database the run named
// last; once that database is dropped, it works on without it.
TEST_F(MariaDbConnectionTest, ADroppedRunDatabaseIsLeftBehind) {
    db_.reset();
    system_->Execute("DROP DATABASE " + system_->QuoteName(database_));
    MariaDbConnection fresh(MariaDbTestTarget());
    std::vector<Variant> row;
    ASSERT_TRUE(fresh.Query("SELECT 1 + 1")->Next(row));
    EXPECT_EQ(CLng(row[0]), 2);
    EXPECT_FALSE(fresh.DatabaseExists(database_));
}

TEST_F(MariaDbConnectionTest, ColumnsReadBackWithDaoTypes) {
    db_->Execute(
        "CREATE TABLE Samples (ID INT AUTO_INCREMENT PRIMARY KEY, Flag TINYINT(1) NOT NULL, Bits BIT(1), "
        "Small TINYINT UNSIGNED, Short SMALLINT, Money DECIMAL(19,4), Single FLOAT, Dbl DOUBLE, R REAL, "
        "At DATETIME, Name VARCHAR(50), Note LONGTEXT, Bl LONGBLOB, Bytes VARBINARY(20), Num DECIMAL(12,3))");
    const auto table = db_->ReadTable("SAMPLES");
    ASSERT_TRUE(table.has_value());
    EXPECT_EQ(table->name, "Samples");
    struct Expect {
        const char* name;
        std::int16_t type;
        std::int32_t size;
    };
    const Expect expected[] = {{"ID", 4, 4},     {"Flag", 1, 1},   {"Bits", 1, 1},  {"Small", 2, 1},
                               {"Short", 3, 2},  {"Money", 5, 8},  {"Single", 6, 4}, {"Dbl", 7, 8},
                               {"R", 7, 8},   {"At", 8, 8},     {"Name", 10, 50}, {"Note", 12, 0},
                               {"Bl", 11, 0},  {"Bytes", 11, 0}, {"Num", 20, 16}};
    ASSERT_EQ(table->fields.size(), std::size(expected));
    for (std::size_t i = 0; i < std::size(expected); ++i) {
        SCOPED_TRACE(expected[i].name);
        EXPECT_EQ(table->fields[i].name, expected[i].name);
        EXPECT_EQ(table->fields[i].type, expected[i].type);
        EXPECT_EQ(table->fields[i].size, expected[i].size);
        EXPECT_EQ(table->fields[i].ordinalPosition, static_cast<std::int16_t>(i));
    }
    EXPECT_EQ(FieldNamed(*table, "ID").attributes & dao::dbAutoIncrField, dao::dbAutoIncrField);
    EXPECT_EQ(FieldNamed(*table, "Name").attributes & dao::dbAutoIncrField, 0);
    EXPECT_TRUE(FieldNamed(*table, "Flag").required);
    EXPECT_FALSE(FieldNamed(*table, "Name").required);
    EXPECT_EQ(FieldNamed(*table, "Num").precision, 12);
    EXPECT_EQ(FieldNamed(*table, "Num").scale, 3);
}

TEST_F(MariaDbConnectionTest, IndexesAndRelationsReadBack) {
    db_->Execute("CREATE TABLE Parent (A INT NOT NULL, B VARCHAR(10) NOT NULL, C INT, PRIMARY KEY (A, B))");
    db_->Execute("CREATE UNIQUE INDEX ixC ON Parent (C DESC)");
    db_->Execute("CREATE TABLE Child (ID INT PRIMARY KEY, PA INT, PB VARCHAR(10), Other INT)");
    db_->Execute("CREATE INDEX ixMixed ON Child (Other DESC, PB ASC, PA DESC)");
    db_->Execute("ALTER TABLE child ADD CONSTRAINT fkBoth FOREIGN KEY (PA, PB) REFERENCES parent (A, B) "
                 "ON UPDATE CASCADE ON DELETE CASCADE");
    db_->Execute("CREATE TABLE Plain (ID INT PRIMARY KEY, P INT, FOREIGN KEY (P) REFERENCES Child (ID))");

    const auto parent = db_->ReadTable("parent");
    ASSERT_TRUE(parent.has_value());
    const IndexInfo& primary = IndexNamed(*parent, "PRIMARY");
    EXPECT_TRUE(primary.primary);
    EXPECT_TRUE(primary.unique);
    ASSERT_EQ(primary.fields.size(), 2u);
    EXPECT_EQ(primary.fields[0].name, "A");
    EXPECT_EQ(primary.fields[1].name, "B");
    const IndexInfo& unique = IndexNamed(*parent, "ixC");
    EXPECT_FALSE(unique.primary);
    EXPECT_TRUE(unique.unique);
    EXPECT_EQ(unique.fields.at(0).attributes, dao::dbDescending);

    const auto child = db_->ReadTable("Child");
    ASSERT_TRUE(child.has_value());
    const IndexInfo& mixed = IndexNamed(*child, "ixMixed");
    EXPECT_FALSE(mixed.unique);
    ASSERT_EQ(mixed.fields.size(), 3u);
    EXPECT_EQ(mixed.fields[0].name, "Other");
    EXPECT_EQ(mixed.fields[0].attributes, dao::dbDescending);
    EXPECT_EQ(mixed.fields[1].name, "PB");
    EXPECT_EQ(mixed.fields[1].attributes, 0);
    EXPECT_EQ(mixed.fields[2].name, "PA");
    EXPECT_EQ(mixed.fields[2].attributes, dao::dbDescending);

    const auto relations = db_->ReadRelations();
    ASSERT_EQ(relations.size(), 2u);
    const RelationInfo& both = relations[0].name == "fkBoth" ? relations[0] : relations[1];
    const RelationInfo& plain = relations[0].name == "fkBoth" ? relations[1] : relations[0];
    EXPECT_EQ(both.table, "Parent");
    EXPECT_EQ(both.foreignTable, "Child");
    EXPECT_EQ(both.attributes, dao::dbRelationUpdateCascade | dao::dbRelationDeleteCascade);
    ASSERT_EQ(both.fields.size(), 2u);
    EXPECT_EQ(both.fields[0].name, "A");
    EXPECT_EQ(both.fields[0].foreignName, "PA");
    EXPECT_EQ(both.fields[1].name, "B");
    EXPECT_EQ(both.fields[1].foreignName, "PB");
    EXPECT_EQ(plain.table, "Child");
    EXPECT_EQ(plain.foreignTable, "Plain");
    EXPECT_EQ(plain.attributes, 0);

    EXPECT_EQ(db_->TableNames(), (std::vector<std::string>{"Child", "Parent", "Plain"}));
}

TEST_F(MariaDbConnectionTest, EveryValueTypeRoundTripsExactly) {
    db_->Execute(
        "CREATE TABLE V (ID INT PRIMARY KEY, Flag TINYINT(1), B TINYINT UNSIGNED, I SMALLINT, L INT, "
        "S FLOAT, D DOUBLE, M DECIMAL(19,4), Dt DATETIME, T LONGTEXT, Bin LONGBLOB, N DECIMAL(28,10))");
    const std::string text = "it's \"quoted\" `tick` C:\\Data\\new\\x.mdb ä ß € 😀 \\'";
    const Variant::Binary bytes{0x00, 0xFF, 0x27, 0x5C, 0x60, 0x80};
    struct Row {
        std::vector<Variant> values;
    };
    const std::vector<Row> rows = {
        {{Variant(1), Variant(true), Variant(std::uint8_t{255}), Variant(std::int16_t{-32768}),
          Variant(std::int32_t{-2147483647 - 1}), Variant(3.4028235e38F), Variant(1.7976931348623157e308),
          Variant(Currency::FromScaled(-9223372036854775807LL)), Variant::FromDate(DateSerial(1753, 1, 1)),
          Variant(text), Variant(bytes), Variant(*Decimal::Parse("-123456789012345678.0123456789"))}},
        {{Variant(2), Variant(false), Variant(std::uint8_t{0}), Variant(std::int16_t{32767}),
          Variant(std::int32_t{2147483647}), Variant(-1.17549435e-38F), Variant(4.9406564584124654e-324),
          Variant(Currency::FromScaled(9223372036854775807LL)),
          Variant::FromDate(DateSerial(9999, 12, 31) + TimeSerial(23, 59, 59)), Variant(std::string()),
          Variant(Variant::Binary{}), Variant(*Decimal::Parse("0.0000000001"))}},
        {{Variant(3), Variant::Null(), Variant::Null(), Variant::Null(), Variant::Null(), Variant::Null(),
          Variant::Null(), Variant::Null(), Variant::Null(), Variant::Null(), Variant::Null(), Variant::Null()}},
    };
    for (const Row& row : rows) {
        std::vector<NamedValue> named;
        for (std::size_t i = 0; i < row.values.size(); ++i) {
            named.push_back({"param" + std::to_string(i), row.values[i]});
        }
        EXPECT_EQ(db_->ExecuteNamed("INSERT INTO v VALUES (@param0, @param1, @param2, @param3, @param4, @param5, "
                                    "@param6, @param7, @param8, @param9, @param10, @param11)",
                                    named),
                  1);
    }
    const auto read = Rows("SELECT * FROM V ORDER BY ID");
    ASSERT_EQ(read.size(), rows.size());
    for (std::size_t r = 0; r < rows.size(); ++r) {
        for (std::size_t c = 0; c < rows[r].values.size(); ++c) {
            EXPECT_EQ(read[r][c], rows[r].values[c]) << "row " << r << " column " << c;
        }
    }
    // A backslash in a string literal is a plain character to the server too.
    EXPECT_EQ(Rows("SELECT ID FROM V WHERE LOCATE('C:\\Data\\new\\', T) > 0").size(), 1u);
}

TEST_F(MariaDbConnectionTest, NamesAndValuesInjectNothing) {
    const std::string name = "Odd` Name'\"]\\";
    db_->Execute("CREATE TABLE " + db_->QuoteName(name) + " (" + db_->QuoteName("Col`'") + " VARCHAR(40))");
    const std::string value = "'); DROP TABLE x; -- `\\";
    db_->Execute("INSERT INTO " + db_->QuoteName(name) + " VALUES (?)", {Variant(value)});
    EXPECT_TRUE(db_->TableExists(name));
    const auto rows = Rows("SELECT * FROM " + db_->QuoteName(name));
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0][0], Variant(value));
}

TEST_F(MariaDbConnectionTest, TableNamesResolveIgnoringCase) {
    db_->Execute("CREATE TABLE PointData (ID INT PRIMARY KEY, Depth DOUBLE)");
    db_->Execute("INSERT INTO POINTDATA (id, depth) VALUES (1, 2.5)");
    db_->Execute("UPDATE pointdata SET Depth = 3 WHERE `POINTDATA`.ID = 1");
    EXPECT_EQ(Rows("SELECT Depth FROM Pointdata")[0][0], Variant(3.0));
    EXPECT_TRUE(db_->TableExists("POINTDATA"));
    EXPECT_FALSE(db_->TableExists("PointDat"));
    // A table of a differing case is the same table.
    EXPECT_THROW(db_->Execute("CREATE TABLE pointdata (x INT)"), VornError);
}

TEST_F(MariaDbConnectionTest, SystemDatabaseConnectionWorksInTheRunDatabase) {
    // The drivers attach to information_schema and name the run's tables bare.
    EXPECT_TRUE(system_->DatabaseExists(database_));
    system_->Execute("CREATE TABLE Log (ID INT AUTO_INCREMENT PRIMARY KEY, Msg VARCHAR(20))");
    system_->Execute("INSERT INTO log (Msg) VALUES (?)", {Variant("hi")});
    EXPECT_EQ(system_->CurrentDatabase(), database_);
    EXPECT_EQ(system_->LastInsertId(), 1);
    EXPECT_EQ(Rows("SELECT Msg FROM Log")[0][0], Variant("hi"));
    EXPECT_FALSE(system_->DatabaseExists("vorn_no_such_database"));
}

TEST_F(MariaDbConnectionTest, DropColumnDefaultRemovesIt) {
    db_->Execute("CREATE TABLE D (ID INT PRIMARY KEY, N INT DEFAULT 7)");
    EXPECT_EQ(FieldNamed(*db_->ReadTable("D"), "N").defaultValue, "7");
    db_->DropColumnDefault("d", "N");
    EXPECT_EQ(FieldNamed(*db_->ReadTable("D"), "N").defaultValue, "");
}

// The whole visible state of the database: design and rows.
std::string Snapshot(MariaDbConnection& db) {
    std::string out;
    for (const std::string& table : db.TableNames()) {
        const auto info = db.ReadTable(table);
        out += "table " + table + ":";
        for (const FieldInfo& f : info->fields) out += " " + f.name;
        for (const IndexInfo& i : info->indexes) out += " [" + i.name + "]";
        out += "\n";
        auto cursor = db.Query("SELECT * FROM " + db.QuoteName(table) + " ORDER BY 1");
        std::vector<Variant> row;
        while (cursor->Next(row)) {
            std::ostringstream line;
            for (const Variant& v : row) line << " " << v;
            out += line.str() + "\n";
        }
    }
    for (const RelationInfo& r : db.ReadRelations()) out += "relation " + r.name + "\n";
    return out;
}

TEST_F(MariaDbConnectionTest, RollbackAfterDdlAndInsertsLeavesTheDatabaseAsItWas) {
    db_->Execute("CREATE TABLE Project (ID INT AUTO_INCREMENT PRIMARY KEY, Name VARCHAR(20))");
    db_->Execute("CREATE TABLE Tag (Code VARCHAR(10) PRIMARY KEY, Note VARCHAR(20))");
    db_->Execute("CREATE TABLE Loose (A INT, B VARCHAR(5))");
    db_->Execute("INSERT INTO Project (Name) VALUES ('kept')");
    db_->Execute("INSERT INTO Tag VALUES ('K', 'kept')");
    db_->Execute("INSERT INTO Loose VALUES (1, 'x')");
    const std::string before = Snapshot(*db_);
    const std::int64_t projectsBefore = Rows("SELECT COUNT(*) FROM Project")[0][0].AsLong();

    db_->BeginTransaction();
    db_->Execute("INSERT INTO project (Name) VALUES (?), (?)", {Variant("a"), Variant("b")});
    db_->Execute("INSERT INTO Tag (Code, Note) VALUES ('N1', 'new'), (?, 'new')", {Variant("N2")});
    db_->Execute("INSERT INTO Loose VALUES (1, 'x')");  // a twin of a kept row
    db_->Execute("CREATE TABLE Sample (ID INT PRIMARY KEY, ProjectID INT, Depth DOUBLE)");
    db_->Execute("INSERT INTO Sample VALUES (1, 1, 2.5)");
    db_->Execute("CREATE INDEX ixDepth ON Sample (Depth DESC)");
    db_->Execute("CREATE INDEX ixName ON Project (Name)");
    db_->Execute("ALTER TABLE Sample ADD CONSTRAINT fkProject FOREIGN KEY (ProjectID) REFERENCES Project (ID) "
                 "ON DELETE CASCADE");
    db_->Execute("ALTER TABLE Tag ADD COLUMN Extra INT");
    db_->Execute("ALTER TABLE Tag ADD CONSTRAINT fkTagProject FOREIGN KEY (Extra) REFERENCES Project (ID)");
    db_->Execute("CREATE VIEW SampleView AS SELECT ID FROM Sample");
    db_->Execute("INSERT INTO Project (Name) VALUES ('after ddl')");  // left to the server's ROLLBACK
    db_->Rollback();

    EXPECT_FALSE(db_->InTransaction());
    EXPECT_EQ(Snapshot(*db_), before);
    EXPECT_EQ(Rows("SELECT COUNT(*) FROM Project")[0][0].AsLong(), projectsBefore);
    EXPECT_EQ(Rows("SELECT COUNT(*) FROM Loose")[0][0].AsLong(), 1);
    EXPECT_EQ(Rows("SELECT COUNT(*) FROM information_schema.VIEWS WHERE TABLE_SCHEMA = DATABASE()")[0][0].AsLong(), 0);
}

TEST_F(MariaDbConnectionTest, CommitKeepsTheWork) {
    db_->BeginTransaction();
    db_->Execute("CREATE TABLE K (ID INT PRIMARY KEY)");
    db_->Execute("INSERT INTO K VALUES (1)");
    db_->Commit();
    EXPECT_EQ(Rows("SELECT COUNT(*) FROM K")[0][0].AsLong(), 1);
    EXPECT_THROW(db_->Commit(), VornError);
}

TEST_F(MariaDbConnectionTest, RollbackReportsWhatItCouldNotUndo) {
    db_->Execute("CREATE TABLE U (ID INT PRIMARY KEY, N INT)");
    db_->Execute("INSERT INTO U VALUES (1, 1)");
    db_->BeginTransaction();
    db_->Execute("UPDATE U SET N = 2");
    db_->Execute("CREATE TABLE W (ID INT)");  // commits the update
    try {
        db_->Rollback();
        FAIL() << "no failure";
    } catch (const VornError& e) {
        EXPECT_EQ(e.Number(), errnum::kDalGenericFailure);
        EXPECT_NE(e.Description().find("UPDATE U SET N = 2"), std::string::npos) << e.Description();
    }
    EXPECT_FALSE(db_->TableExists("W"));
}

// Rows written after the last DDL statement are the server ROLLBACK's to
// undo; the journal must not delete a kept twin of such a row again.
TEST_F(MariaDbConnectionTest, RollbackKeepsTwinsOfRowsTheServerAlreadyUndid) {
    db_->Execute("CREATE TABLE Loose (A INT, B VARCHAR(5))");
    db_->Execute("CREATE TABLE Keyed (ID INT AUTO_INCREMENT PRIMARY KEY, N INT)");
    db_->Execute("INSERT INTO Loose VALUES (1, 'x'), (1, 'x')");
    db_->Execute("INSERT INTO Keyed (N) VALUES (1)");
    const std::string before = Snapshot(*db_);
    db_->BeginTransaction();
    db_->Execute("INSERT INTO Loose VALUES (1, 'x')");  // committed by the CREATE below
    db_->Execute("CREATE TABLE Made (ID INT PRIMARY KEY)");
    db_->Execute("INSERT INTO Loose VALUES (?, ?)", {Variant(1), Variant("x")});  // left to ROLLBACK
    db_->Execute("INSERT INTO Keyed (N) VALUES (2)");
    db_->Rollback();
    EXPECT_EQ(Snapshot(*db_), before);
}

// The upsize as it runs per project: a second connection sees only what
// the transaction's DDL committed, and after Rollback the database as it
// was; a project committed before a rolled-back one stays whole.
TEST_F(MariaDbConnectionTest, ProjectsAppendedOneAfterAnother) {
    db_->Execute("CREATE TABLE Existing (ID INT AUTO_INCREMENT PRIMARY KEY, Name VARCHAR(20))");
    db_->Execute("INSERT INTO Existing (Name) VALUES ('old')");
    MariaDbConnection other(MariaDbTestTarget(database_));

    db_->BeginTransaction();
    db_->Execute("CREATE TABLE Hole (HoleID VARCHAR(20) PRIMARY KEY, Depth DOUBLE)");
    db_->Execute("INSERT INTO Existing (Name) VALUES (?)", {Variant("first")});
    db_->Execute("INSERT INTO Hole VALUES (?, ?)", {Variant("BH1"), Variant(2.5)});
    EXPECT_TRUE(other.TableExists("hole"));
    auto count = [&](MariaDbConnection& cn, const std::string& table) {
        std::vector<Variant> row;
        auto cursor = cn.Query("SELECT COUNT(*) FROM " + table);
        return cursor->Next(row) ? row[0].AsLong() : -1;
    };
    EXPECT_EQ(count(other, "Existing"), 1) << "uncommitted rows are the transaction's own";
    db_->Commit();
    EXPECT_EQ(count(other, "Existing"), 2);
    EXPECT_EQ(count(other, "Hole"), 1);
    const std::string afterFirst = Snapshot(*db_);

    db_->BeginTransaction();
    db_->Execute("INSERT INTO hole VALUES ('BH2', 1)");
    db_->Execute("INSERT INTO Existing (Name) VALUES ('second')");
    db_->Execute("CREATE TABLE Sample (ID INT PRIMARY KEY, HoleID VARCHAR(20), Note LONGTEXT)");
    db_->Execute("ALTER TABLE Sample ADD CONSTRAINT fkHole FOREIGN KEY (HoleID) REFERENCES Hole (HoleID)");
    db_->Execute("CREATE INDEX ixDepth ON Hole (Depth)");
    db_->Execute("CREATE VIEW Holes AS SELECT HoleID FROM Hole");
    db_->Execute("INSERT INTO Sample VALUES (1, 'BH1', 'n')");
    // A batch that fails part-way: its first statement ran, the rest did not.
    EXPECT_THROW(db_->Execute("INSERT INTO Hole VALUES (?, 3); INSERT INTO Hole VALUES (?, 4); "
                              "INSERT INTO Hole VALUES (?, 5)",
                              {Variant("BH3"), Variant("BH1"), Variant("BH4")}),
                 VornError);
    EXPECT_EQ(count(*db_, "Hole"), 3);
    db_->Rollback();
    EXPECT_EQ(Snapshot(*db_), afterFirst);
    EXPECT_EQ(Snapshot(other), afterFirst);
    EXPECT_FALSE(other.TableExists("Holes"));
}

// A table another connection made after this one read the names (the
// upsize's connection while a Database stays open) is found and read.
TEST_F(MariaDbConnectionTest, TablesMadeByAnotherConnectionAreFound) {
    db_->Execute("CREATE TABLE Early (ID INT)");
    ASSERT_TRUE(db_->TableExists("early"));
    system_->Execute("CREATE TABLE Later (ID INT PRIMARY KEY, Name VARCHAR(10))");
    EXPECT_TRUE(db_->TableExists("LATER"));
    const std::optional<TableInfo> later = db_->ReadTable("later");
    ASSERT_TRUE(later.has_value());
    EXPECT_EQ(later->fields.size(), 2u);
    EXPECT_EQ(db_->Execute("INSERT INTO later VALUES (1, 'x')"), 1);
}

// A connection closed inside its transaction ends it as Rollback does,
// also undoing what the server's own commits before DDL statements kept.
TEST_F(MariaDbConnectionTest, ConnectionClosedInsideATransactionRollsItBack) {
    db_->Execute("CREATE TABLE Existing (ID INT PRIMARY KEY)");
    db_->Execute("INSERT INTO Existing VALUES (1)");
    const std::string before = Snapshot(*db_);
    {
        MariaDbConnection other(MariaDbTestTarget(database_));
        other.BeginTransaction();
        other.Execute("INSERT INTO Existing VALUES (2)");
        other.Execute("CREATE TABLE Made (ID INT PRIMARY KEY)");
        other.Close();
    }
    EXPECT_EQ(Snapshot(*db_), before);
}

// Values far over a packet's usual size travel whole both ways.
TEST_F(MariaDbConnectionTest, VeryLongTextAndBinaryRoundTrip) {
    db_->Execute("CREATE TABLE Big (ID INT PRIMARY KEY, T LONGTEXT, B LONGBLOB)");
    std::string text;
    for (int i = 0; text.size() < 3'000'000; ++i) text += "Zeile " + std::to_string(i) + " ä€😀\\'\"\n";
    Variant::Binary bytes(2'500'000);
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(i * 7919 % 256);
    db_->Execute("INSERT INTO Big VALUES (?, ?, ?)", {Variant(1), Variant(text), Variant(bytes)});
    const auto rows = Rows("SELECT T, B FROM Big");
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_TRUE(rows[0][0] == Variant(text)) << "text of " << rows[0][0].AsText().size() << " bytes";
    EXPECT_TRUE(rows[0][1] == Variant(bytes));
}

TEST_F(MariaDbConnectionTest, FailingStatementCarriesTheServersMessage) {
    try {
        db_->Execute("SELECT * FROM NoSuchTable");
        FAIL() << "no failure";
    } catch (const VornError& e) {
        EXPECT_EQ(e.Number(), errnum::kDalGenericFailure);
        EXPECT_NE(e.Description().find("doesn't exist"), std::string::npos) << e.Description();
    }
}

// A connection that fails names the target, never the password.
struct BadTargetCase {
    const char* label;
    void (*spoil)(ServerTarget&);
    const char* expected;  // part of the server's message
};

class MariaDbBadTargetTest : public ::testing::TestWithParam<BadTargetCase> {};

TEST_P(MariaDbBadTargetTest, FailsQuicklyWithAClearMessage) {
    ASSERT_TRUE(vorn::testing::HaveMariaDbTestServer()) << "no test server";
    {
        MariaDbConnection admin(vorn::testing::MariaDbTestTarget());
        admin.Execute("CREATE USER IF NOT EXISTS 'vorn_pw'@'localhost' IDENTIFIED BY 'Secret-Pw-1'");
    }
    ServerTarget target = vorn::testing::MariaDbTestTarget();
    target.user = "vorn_pw";
    target.password = "Wrong-Pw-9";
    GetParam().spoil(target);
    try {
        MariaDbConnection connection(target, MariaDbTimeouts{2, 5});
        FAIL() << "connected";
    } catch (const VornError& e) {
        EXPECT_EQ(e.Number(), errnum::kDalGenericFailure);
        EXPECT_NE(e.Description().find(GetParam().expected), std::string::npos) << e.Description();
        EXPECT_NE(e.Description().find(target.server), std::string::npos) << e.Description();
        EXPECT_EQ(e.Description().find("Wrong-Pw-9"), std::string::npos) << e.Description();
        EXPECT_EQ(e.Description().find("Secret-Pw-1"), std::string::npos) << e.Description();
    }
}

std::string BadTargetName(const ::testing::TestParamInfo<BadTargetCase>& param) {
    return param.param.label;
}

INSTANTIATE_TEST_SUITE_P(Targets, MariaDbBadTargetTest,
                         ::testing::Values(BadTargetCase{"WrongPassword", [](ServerTarget&) {}, "Access denied"},
                                           BadTargetCase{"MissingDatabase",
                                                         [](ServerTarget& target) {
                                                             target.user = "root";
                                                             target.password.clear();
                                                             target.database = "vorn_missing_db";
                                                         },
                                                         "Unknown database"},
                                           BadTargetCase{"UnreachableSocket",
                                                         [](ServerTarget& target) { target.server = target.socket = "/nonexistent/vorn.sock"; },
                                                         "Can't connect"}),
                         BadTargetName);

}  // namespace
}  // namespace vorn
