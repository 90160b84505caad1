// Every form of Jet statement the system sends to a project file, run
// through the DAO objects on a real file, with the result Jet gives.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "dbcontract/DaoConstants.h"
#include "dbcontract/DaoTestSupport.h"
#include "dbcontract/Field.h"
#include "dbcontract/Index.h"
#include "dbcontract/Recordset.h"
#include "dbcontract/TableDef.h"
#include "dbcontract/sqlite/LdbLock.h"
#include "runtime/Conversions.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

using testing::FailureNumber;
using testing::NewProject;

// The values of the first column, each as CStr gives it ("Null" for Null).
std::vector<std::string> FirstColumn(Database& db, const std::string& sql) {
    std::vector<std::string> values;
    auto rs = db.OpenRecordset(sql, dao::dbOpenSnapshot);
    for (; !rs->Eof(); rs->MoveNext()) {
        const Variant value = (*rs)[0].Value();
        values.push_back(value.IsNull() ? "Null" : CStr(value));
    }
    return values;
}

// The one value of a query that gives one row.
std::string Scalar(Database& db, const std::string& sql) {
    const auto values = FirstColumn(db, sql);
    return values.size() == 1 ? values.front() : "rows: " + std::to_string(values.size());
}

// The message of the failure that `step` raises.
std::string FailureText(const std::function<void()>& step) {
    try {
        step();
    } catch (const VornError& e) {
        return e.what();
    }
    return {};
}

// Hole: a text key, a depth, a drilling date, a text code and a number;
// Sample below it, related by REFERENCES. All made by Jet SQL.
class JetStatements : public ::testing::Test {
protected:
    void SetUp() override {
        Run("CREATE TABLE [Hole] ([HoleID] TEXT(20) NOT NULL PRIMARY KEY, [Depth] DOUBLE, "
            "[Drilled] DATETIME, [Code] TEXT(10), [Seq] LONG)");
        Run("INSERT INTO Hole VALUES ('BH1', 10.5, #1/1/1753#, '9', 1)");
        Run("INSERT INTO Hole VALUES ('BH2', 3, #2001/02/03 04:05:06#, '10', 2)");
        Run("INSERT INTO Hole (HoleID, Code, Seq) VALUES ('bh3', 'de', 3)");
        Run("CREATE TABLE Sample (HoleID TEXT(20) REFERENCES Hole (HoleID), [Top] DOUBLE)");
        Run("INSERT INTO Sample VALUES ('BH1', 1)");
        Run("INSERT INTO Sample VALUES ('BH1', 2)");
        Run("INSERT INTO Sample VALUES ('BH2', 1)");
    }

    void Run(const std::string& sql) { db().Execute(sql); }
    Database& db() { return *project.db; }
    std::shared_ptr<TableDef> Table(const std::string& name) {
        db().TableDefs().Refresh();
        return db().TableDefs().Item(name);
    }

    NewProject project;
};

// ---- Counts, Max and probes -----------------------------------------------------

TEST_F(JetStatements, CountsMaxAndProbesAnswerAsJetDoes) {
    struct Case {
        const char* sql;
        const char* expected;
    };
    const Case cases[] = {
        {"SELECT Count(*) FROM Hole", "3"},
        {"SELECT Count(Depth) FROM Hole", "2"},
        {"SELECT Max(Depth) FROM Hole", "10.5"},
        {"SELECT Max(Seq) AS Last FROM [Hole] WHERE Code <> 'de'", "2"},
        {"SELECT Count(*) FROM Hole WHERE HoleID = 'BH3'", "1"},  // text ignores case
        {"SELECT Count(*) FROM Hole WHERE Seq IN (1, 3)", "2"},
        {"SELECT Count(*) FROM Hole WHERE Seq NOT IN (1, 3)", "1"},
        {"SELECT Count(*) FROM Hole WHERE Code IN ('DE', '9')", "2"},
    };
    for (const auto& c : cases) EXPECT_EQ(Scalar(db(), c.sql), c.expected) << c.sql;
    for (const char* probe : {"SELECT * FROM Hole WHERE 0=1", "SELECT * FROM Hole WHERE 1 = 2"}) {
        auto rs = db().OpenRecordset(probe, dao::dbOpenSnapshot);
        EXPECT_TRUE(rs->Eof()) << probe;
        ASSERT_EQ(rs->Fields().Count(), 5) << probe;
        EXPECT_EQ(rs->Fields().Item("Drilled")->Type(), dao::dbDate) << probe;
    }
}

TEST_F(JetStatements, CorrelatedSubqueriesSeeTheOuterRow) {
    EXPECT_EQ(FirstColumn(db(), "SELECT HoleID FROM Hole AS h WHERE EXISTS "
                                "(SELECT * FROM Sample s WHERE s.HoleID = h.HoleID) ORDER BY Seq"),
              (std::vector<std::string>{"BH1", "BH2"}));
    EXPECT_EQ(FirstColumn(db(), "SELECT (SELECT Count(*) FROM Sample WHERE Sample.HoleID = "
                                "h.HoleID) AS n FROM Hole h ORDER BY h.Seq"),
              (std::vector<std::string>{"2", "1", "0"}));
    EXPECT_EQ(FirstColumn(db(), "SELECT HoleID FROM Hole WHERE HoleID NOT IN "
                                "(SELECT HoleID FROM Sample)"),
              (std::vector<std::string>{"bh3"}));
}

// ---- Literals, operators and LIKE ----------------------------------------------

TEST_F(JetStatements, LiteralsOperatorsAndLikeKeepJetsMeaning) {
    struct Case {
        const char* sql;
        const char* expected;
    };
    const Case cases[] = {
        {"SELECT Count(*) FROM Hole WHERE Drilled = #1/1/1753#", "1"},
        {"SELECT Count(*) FROM Hole WHERE Drilled > #2001/02/03 04:05:05#", "1"},
        {"SELECT Count(*) FROM Hole WHERE Drilled < #1/2/1753#", "1"},
        {"SELECT Count(*) FROM Hole WHERE Code = \"de\"", "1"},
        {"SELECT HoleID & '-' & Code FROM Hole WHERE Seq = 1", "BH1-9"},
        {"SELECT HoleID & Depth FROM Hole WHERE Seq = 3", "bh3"},  // & skips Null
        {"SELECT HoleID + Depth FROM Hole WHERE Seq = 3", "Null"},  // + spreads it
        {"SELECT HoleID + \"x\" FROM Hole WHERE Seq = 2", "BH2x"},
        {"SELECT Seq + 1 FROM Hole WHERE Seq = 2", "3"},
        {"SELECT Count(*) FROM Hole WHERE HoleID LIKE 'bh*'", "3"},
        {"SELECT Count(*) FROM Hole WHERE Code LIKE '[de]*'", "1"},
        {"SELECT Count(*) FROM Hole WHERE Code LIKE '1?'", "1"},
        {"SELECT Count(*) FROM Hole WHERE HoleID NOT LIKE '*2'", "2"},
        {"SELECT Len(Trim('  ab ')) + InStr(HoleID, '1') + Abs(-2) FROM Hole WHERE Seq = 1",
         "7"},
    };
    for (const auto& c : cases) EXPECT_EQ(Scalar(db(), c.sql), c.expected) << c.sql;
}

// The sort expressions of the column ordering: numbers in text by value.
TEST_F(JetStatements, SortExpressionsPutNineBeforeTen) {
    EXPECT_EQ(FirstColumn(db(), "SELECT Code FROM Hole ORDER BY Code"),
              (std::vector<std::string>{"10", "9", "de"}));
    for (const char* order :
         {"IIf(IsNumeric(Code), Val(Code), 1E+300)",
          "IIf(IsNumeric([Code]), Format(Val([Code]), '0000000000'), [Code])",
          "IIf(IsDate(Code), 2, IIf(IsNumeric(Code), 0, 1)), Val(Code)"}) {
        EXPECT_EQ(FirstColumn(db(), std::string("SELECT Code FROM Hole ORDER BY ") + order),
                  (std::vector<std::string>{"9", "10", "de"}))
            << order;
    }
}

// ---- Names -------------------------------------------------------------------

TEST_F(JetStatements, NamesInBracketsBackticksAndDoubleQuotesAreNamesOnly) {
    Run("CREATE TABLE [Site Data] ([Field One] TEXT(10), [It's] LONG)");
    Run("INSERT INTO [Site Data] ([Field One], [It's]) VALUES ('a', 1)");
    EXPECT_EQ(Scalar(db(), "SELECT [Field One] FROM [Site Data]"), "a");
    EXPECT_EQ(Scalar(db(), "SELECT `Field One` FROM `Site Data` WHERE `It's` = 1"), "a");
    // The source read with an enterprise engine's quoting: double quotes name.
    EXPECT_EQ(Scalar(db(), "SELECT \"Field One\" FROM \"Site Data\" WHERE \"It's\" = 1"), "a");

    const std::string evil = "x\"; DROP TABLE Hole; --";
    Run("CREATE TABLE [" + evil + "] ([a]]b] TEXT(5))");
    Run("INSERT INTO [" + evil + "] VALUES ('v')");
    EXPECT_EQ(Scalar(db(), "SELECT [a]]b] FROM [" + evil + "]"), "v");
    EXPECT_EQ(Table(evil)->Fields().Item(0)->Name(), "a]b");
    EXPECT_EQ(Scalar(db(), "SELECT Count(*) FROM Hole"), "3");
}

// ---- Writing rows ---------------------------------------------------------------

TEST_F(JetStatements, InsertUpdateAndDeleteCountTheirRows) {
    Run("INSERT INTO Hole (HoleID, Depth) SELECT HoleID & 'x', Depth * 2 FROM Hole WHERE Seq < 3");
    EXPECT_EQ(db().RecordsAffected(), 2);
    EXPECT_EQ(Scalar(db(), "SELECT Depth FROM Hole WHERE HoleID = 'BH1x'"), "21");
    Run("UPDATE Hole SET Code = Code & '!' WHERE Code IS NOT NULL");
    EXPECT_EQ(db().RecordsAffected(), 3);
    Run("DELETE FROM Hole WHERE HoleID LIKE '*x'");
    EXPECT_EQ(db().RecordsAffected(), 2);
    // A value is stored as its field keeps it: text into a date, a number into text.
    Run("UPDATE Hole SET Drilled = '2020-05-06', Code = 12 WHERE Seq = 3");
    EXPECT_EQ(Scalar(db(), "SELECT Count(*) FROM Hole WHERE Drilled = #5/6/2020#"), "1");
    EXPECT_EQ(Scalar(db(), "SELECT Code FROM Hole WHERE Seq = 3"), "12");
}

TEST_F(JetStatements, InsertSelectReadsAndWritesAnotherFileNamedByIn) {
    const std::string other = (project.folder / "o'ther file.vpj").string();
    {
        auto remote = DaoEngine().CreateDatabase(other, testing::kJetLocale);
        remote->Execute("CREATE TABLE Bore (Ref TEXT(20), Level DOUBLE)");
        remote->Execute("INSERT INTO Bore VALUES ('R1', 4.5)");
        remote->Execute("INSERT INTO Bore VALUES ('R2', 6)");
        remote->Close();
    }
    std::string literal;
    for (const char c : other) literal += c == '\'' ? std::string("''") : std::string(1, c);
    Run("INSERT INTO Hole (HoleID, Depth) SELECT Ref, Level FROM Bore IN '" + literal + "'");
    EXPECT_EQ(db().RecordsAffected(), 2);
    EXPECT_EQ(Scalar(db(), "SELECT Max(Depth) FROM Hole WHERE HoleID LIKE 'R*'"), "6");
    Run("INSERT INTO Bore IN '" + literal + "' (Ref) SELECT HoleID FROM Hole WHERE Seq = 1");
    // A statement lets the file go when it is done, or when the transaction
    // that used it is.
    const auto lock = LdbLock::NameFor(other);
    EXPECT_FALSE(LdbLock::IsHeld(lock));
    db().BeginTrans();
    Run("DELETE FROM Bore IN '" + literal + "' WHERE Ref = 'BH1'");
    EXPECT_EQ(db().RecordsAffected(), 1);
    EXPECT_TRUE(LdbLock::IsHeld(lock));
    db().Rollback();
    EXPECT_FALSE(LdbLock::IsHeld(lock));

    EXPECT_EQ(Scalar(db(), "SELECT Count(*) FROM Bore IN '" + literal + "'"), "3");
    EXPECT_EQ(FailureNumber([&] {
                  Run("INSERT INTO Hole SELECT * FROM Nothing IN '" + literal + "'");
              }),
              errnum::kJetInputTableNotFound);
}

// ---- Schema statements ----------------------------------------------------------

TEST_F(JetStatements, SelectIntoMakesATableWithTheTypesOfItsColumns) {
    Run("SELECT HoleID, Depth, Drilled, Seq INTO Copy FROM Hole WHERE Depth > 5");
    EXPECT_EQ(db().RecordsAffected(), 1);
    const auto copy = Table("Copy");
    ASSERT_EQ(copy->Fields().Count(), 4);
    EXPECT_EQ(copy->Fields().Item("HoleID")->Type(), dao::dbText);
    EXPECT_EQ(copy->Fields().Item("HoleID")->Size(), 20);
    EXPECT_EQ(copy->Fields().Item("Depth")->Type(), dao::dbDouble);
    EXPECT_EQ(copy->Fields().Item("Drilled")->Type(), dao::dbDate);
    EXPECT_EQ(copy->Fields().Item("Seq")->Type(), dao::dbLong);
    EXPECT_EQ(Scalar(db(), "SELECT Drilled FROM Copy"), CStr(Variant::FromDate(-53688)));
    EXPECT_EQ(FailureNumber([&] { Run("SELECT * INTO Copy FROM Hole"); }),
              errnum::kJetTableExists);
}

TEST_F(JetStatements, AlterTableChangesTheDesignInTableDefs) {
    Run("ALTER TABLE Hole ADD COLUMN Note MEMO, Weight CURRENCY");
    EXPECT_EQ(Table("Hole")->Fields().Item("Note")->Type(), dao::dbMemo);
    EXPECT_EQ(Table("Hole")->Fields().Item("Weight")->OrdinalPosition(), 6);

    // 'de' is no number: the change fails whole and the table stays.
    EXPECT_EQ(FailureNumber([&] { Run("ALTER TABLE Hole ALTER COLUMN Code LONG"); }),
              errnum::kJetConversionError);
    EXPECT_EQ(Table("Hole")->Fields().Item("Code")->Type(), dao::dbText);
    EXPECT_EQ(Scalar(db(), "SELECT Code FROM Hole WHERE Seq = 3"), "de");

    Run("UPDATE Hole SET Code = '-1' WHERE Code = 'de'");
    Run("ALTER TABLE Hole ALTER COLUMN Code LONG");
    EXPECT_EQ(Table("Hole")->Fields().Item("Code")->Type(), dao::dbLong);
    EXPECT_EQ(FirstColumn(db(), "SELECT Code FROM Hole ORDER BY Code"),
              (std::vector<std::string>{"-1", "9", "10"}));
    Run("ALTER TABLE Hole ALTER COLUMN Code TEXT(5)");
    EXPECT_EQ(Table("Hole")->Fields().Item("Code")->Size(), 5);
    EXPECT_EQ(Scalar(db(), "SELECT Code FROM Hole WHERE Seq = 2"), "10");
    EXPECT_EQ(FailureNumber([&] { Run("ALTER TABLE Hole ALTER COLUMN Code TEXT(1)"); }),
              errnum::kJetFieldTooSmall);
    EXPECT_EQ(Table("Hole")->Fields().Item("Code")->Size(), 5);

    Run("ALTER TABLE Hole DROP COLUMN Seq");
    EXPECT_EQ(Table("Hole")->Fields().Count(), 6);
    EXPECT_EQ(FailureNumber([&] { Table("Hole")->Fields().Item("Seq"); }),
              errnum::kJetItemNotFound);
    EXPECT_EQ(FailureNumber([&] { Run("ALTER TABLE Hole DROP COLUMN Seq"); }),
              errnum::kJetItemNotFound);
}

TEST_F(JetStatements, CreateAndDropIndexAndTable) {
    Run("CREATE UNIQUE INDEX ByDepth ON Hole (Depth DESC, HoleID)");
    const auto index = Table("Hole")->Indexes().Item("ByDepth");
    EXPECT_TRUE(index->Unique());
    ASSERT_EQ(index->Fields().Count(), 2);
    EXPECT_NE(index->Fields().Item(0)->Attributes() & dao::dbDescending, 0);
    EXPECT_EQ(index->Fields().Item(1)->Attributes() & dao::dbDescending, 0);
    EXPECT_EQ(FailureNumber([&] { Run("CREATE INDEX ByDepth ON Hole (Seq)"); }),
              errnum::kJetIndexExists);
    Run("DROP INDEX ByDepth ON Hole");
    EXPECT_EQ(FailureNumber([&] { Table("Hole")->Indexes().Item("ByDepth"); }),
              errnum::kJetItemNotFound);

    db().Relations().Refresh();
    EXPECT_EQ(db().Relations().Count(), 1);  // made by REFERENCES
    EXPECT_EQ(FailureNumber([&] { Run("INSERT INTO Sample VALUES ('none', 1)"); }),
              errnum::kJetRelatedRecordRequired);
    Run("SELECT * INTO Spare FROM Sample");
    Run("DROP TABLE Spare");
    EXPECT_EQ(FailureNumber([&] { Table("Spare"); }), errnum::kJetItemNotFound);
    EXPECT_EQ(FailureNumber([&] { Run("DROP TABLE Spare"); }), errnum::kJetTableDoesNotExist);
}

// ---- Recordsets ----------------------------------------------------------------

TEST_F(JetStatements, FilterAndSortOfARecordsetNarrowAndOrderItsRows) {
    auto rs = db().OpenRecordset("Hole", dao::dbOpenDynaset);
    rs->SetFilter("HoleID LIKE 'BH*' AND Drilled >= #1/1/1753#");
    rs->SetSort("Seq DESC");
    auto filtered = rs->OpenRecordset();
    filtered->MoveLast();
    EXPECT_EQ(filtered->RecordCount(), 2);
    filtered->MoveFirst();
    EXPECT_EQ(CStr((*filtered)["HoleID"].Value()), "BH2");
    // Its rows are still the table's: a change goes back to it.
    filtered->Edit();
    (*filtered)["Code"].SetValue(Variant("X"));
    filtered->Update();
    EXPECT_EQ(Scalar(db(), "SELECT Code FROM Hole WHERE Seq = 2"), "X");

    auto grouped = db().OpenRecordset("SELECT HoleID, Count(*) AS n FROM Sample GROUP BY HoleID",
                                      dao::dbOpenDynaset);
    grouped->SetFilter("n > 1");
    EXPECT_EQ(CStr((*grouped->OpenRecordset())["HoleID"].Value()), "BH1");
}

// ---- Failures ------------------------------------------------------------------

TEST_F(JetStatements, AFailingStatementChangesNothingAndSaysWhy) {
    // The second row clashes with the key: neither goes in.
    EXPECT_EQ(FailureNumber([&] {
                  Run("INSERT INTO Hole (HoleID) SELECT HoleID & 'z' FROM Hole WHERE Seq = 1 "
                      "UNION ALL SELECT 'BH2' FROM Hole WHERE Seq = 1");
              }),
              errnum::kJetDuplicateValue);
    EXPECT_EQ(Scalar(db(), "SELECT Count(*) FROM Hole"), "3");

    const std::string odd = "FROBNICATE Hole";
    const auto message = FailureText([&] { Run(odd); });
    EXPECT_NE(message.find(odd), std::string::npos) << message;
    EXPECT_EQ(FailureNumber([&] { Run(odd); }), errnum::kJetInvalidSqlStatement);

    EXPECT_EQ(FailureNumber([&] { Run("DELETE FROM Hole WHERE HoleID = [Which one]"); }),
              errnum::kJetTableNotFound);
    EXPECT_EQ(FailureNumber([&] { Run("SELECT * FROM Hole"); }), errnum::kJetCannotExecuteSelect);
    EXPECT_EQ(FailureNumber([&] { Run("UPDATE MSysVornTables SET Position = 0"); }),
              errnum::kJetOperationNotSupported);
    EXPECT_EQ(Scalar(db(), "SELECT Count(*) FROM Hole"), "3");

    project.Reopen(true);
    EXPECT_EQ(FailureNumber([&] { Run("DELETE FROM Hole"); }), errnum::kJetReadOnly);
    EXPECT_EQ(FailureNumber([&] { Run("DROP TABLE Sample"); }), errnum::kJetReadOnly);
}

}  // namespace
}  // namespace vorn
