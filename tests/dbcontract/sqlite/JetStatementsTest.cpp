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

// ---- The statements of the key sets, transfers and drawing pages -------------

// Every row of a query, columns joined by "|", rows by ";"; values as CStr
// gives them ("Null" for Null, "<n bytes>" for binary).
std::string AllRows(Database& db, const std::string& sql, std::int32_t type = dao::dbOpenSnapshot,
                    std::int32_t options = 0) {
    std::string rows;
    auto rs = db.OpenRecordset(sql, type, options);
    for (; !rs->Eof(); rs->MoveNext()) {
        if (!rows.empty()) rows += ";";
        for (std::int32_t i = 0; i < rs->Fields().Count(); ++i) {
            const Variant value = (*rs)[i].Value();
            rows += (i > 0 ? "|" : "") +
                    (value.IsNull()     ? std::string("Null")
                     : value.IsBinary() ? "<" + std::to_string(value.AsBinary().size()) + " bytes>"
                                        : CStr(value));
        }
    }
    return rows;
}

const std::string kDel = "\x7f";

// A small project as the transfer code finds it: PROJECT, POINT and SAMPLE
// with their key sets, the link tables of POINT, and the drawing page tables.
// All made by Jet SQL.
class ProjectStatements : public JetStatements {
protected:
    void SetUp() override {
        Run("CREATE TABLE [PROJECT] ([ProjectID] TEXT(20), [Name] TEXT(50), [vORNProjectID] LONG, "
            "[Started] DATETIME)");
        Run("INSERT INTO [PROJECT] VALUES ('9', 'Nine', 1, #5/6/2004 10:00:00#)");
        Run("INSERT INTO [PROJECT] VALUES ('10', '  ', 2, #12/31/1752#)");
        Run("INSERT INTO [PROJECT] VALUES ('-5', 'O''Brien', 3, #1/1/1753#)");
        Run("INSERT INTO [PROJECT] VALUES ('1E5', Null, 4, Null)");
        Run("INSERT INTO [PROJECT] VALUES ('abc', 'Text', 5, #1/1/2000 1:30:00 PM#)");
        Run("CREATE TABLE [POINT] ([PointID] TEXT(20) NOT NULL, [Elevation] DOUBLE, "
            "[VornRecID] COUNTER)");
        Run("CREATE UNIQUE INDEX VORNINDEX ON [POINT] ([PointID]) WITH PRIMARY");
        for (const char* id : {"10", "9", "-2", "BH1", "1E5", "2.5", "TP3"})
            Run(std::string("INSERT INTO [POINT] ([PointID]) VALUES ('") + id + "')");
        Run("UPDATE [POINT] SET [Elevation] = 10.5 WHERE [PointID] = '10'");
        Run("UPDATE [POINT] SET [Elevation] = 3 WHERE [PointID] = 'bh1'");
        Run("UPDATE [POINT] SET [Elevation] = -2.25 WHERE [PointID] = '9'");
        Run("CREATE TABLE [SAMPLE] ([PointID] TEXT(20) NOT NULL, [Depth] DOUBLE NOT NULL, "
            "[SampleRef] TEXT(20), [Taken] DATETIME, CONSTRAINT VORNINDEX PRIMARY KEY "
            "([PointID], [Depth]), CONSTRAINT POINTSAMPLE FOREIGN KEY ([PointID]) REFERENCES "
            "[POINT] ([PointID]) ON UPDATE CASCADE ON DELETE CASCADE)");
        const char* samples[] = {"'10', 1, 'S1', #5/6/2004 10:00:00#", "'9', 2, 'S2', #5/6/2004#",
                                 "'9', 5, 'S3', Null",  "'-2', 1, 'S4', Null",
                                 "'BH1', 1, 'S5', Null", "'1E5', 1, 'S6', Null",
                                 "'2.5', 3, 'S7', Null"};
        for (const char* values : samples)
            Run(std::string("INSERT INTO [SAMPLE] VALUES (") + values + ")");

        Run("CREATE TABLE [" + kDel + "GIDPAGE] ([PageType] SHORT, [PageID] COUNTER CONSTRAINT "
            "PrimaryKey PRIMARY KEY, [Name] TEXT(255), [Date] DATETIME, [Description] MEMO, "
            "[Thumbnail] LONGBINARY, [Properties] LONGBINARY)");
        Run("CREATE TABLE [" + kDel + "GIDLAYER] ([PageID] LONG, [LayerID] COUNTER CONSTRAINT "
            "PrimaryKey PRIMARY KEY, [Name] TEXT(255), [Date] DATETIME, [Description] TEXT(255), "
            "[Color] LONG, [Hidden] BIT, [Locked] BIT, [System] BIT)");
        Run("CREATE TABLE [" + kDel + "GIDENTITY] ([LayerID] LONG, [EntityID] COUNTER CONSTRAINT "
            "PrimaryKey PRIMARY KEY, [Type] SHORT, [MinX] DOUBLE, [MinY] DOUBLE, [MaxX] DOUBLE, "
            "[MaxY] DOUBLE, [Coor] LONGBINARY, [Properties] LONGBINARY, [PrivateBlock] TEXT(255), "
            "[PrintOrder] SHORT, [Opaque] BIT)");
        Run("INSERT INTO [" + kDel + "GIDPAGE] ([PageType], [Name]) VALUES (1, '>Unnamed<')");
        Run("INSERT INTO [" + kDel + "GIDPAGE] ([PageType], [Name], [Date]) VALUES (3, 'Plan', "
            "#5/6/2004#)");
        Run("INSERT INTO [" + kDel + "GIDPAGE] ([PageType], [Name]) VALUES (2, '')");
        Run("INSERT INTO [" + kDel + "GIDLAYER] ([PageID], [Name], [Hidden], [Locked], [System]) "
            "VALUES (2, 'Base', False, False, True)");
        Run("INSERT INTO [" + kDel + "GIDLAYER] ([PageID], [Name], [Hidden], [Locked], [System]) "
            "VALUES (2, 'Holes', True, False, False)");
        Run("INSERT INTO [" + kDel + "GIDENTITY] ([LayerID], [Type], [MinX], [MinY], [MaxX], "
            "[MaxY], [PrivateBlock], [PrintOrder], [Opaque]) VALUES (2, 7, 0, 0, 1.5, 2.5, 'blk', "
            "3, True)");
    }
};

// Queries on the project file: each with the rows Jet gives.
TEST_F(ProjectStatements, QueriesOfTheTransferAndKeySetCodeGiveJetsRows) {
    const std::string page = "[" + kDel + "GIDPAGE]";
    const std::string layer = "[" + kDel + "GIDLAYER]";
    const std::string entity = "[" + kDel + "GIDENTITY]";
    // The key-set ORDER BY: a text key wrapped in the number sort, the leaf descending.
    const std::string f = "[SAMPLE].[PointID]";
    const std::string keySort = "IIf(ISNUMERIC(" + f + ")AND " + f + " NOT LIKE '*[de]*',IIf(Val(" +
                                f + ")< 0,Format(1/Abs(Val(" + f +
                                ")),' 0000000000.00000'),Format(" + f +
                                ",'00000000000.00000'))," + f + ")";
    const std::string id = "[ProjectID]";
    const std::string selectionSort =
        "IIf(ISNUMERIC(" + id + ")AND " + id + " NOT LIKE '*[de]*',IIf(Val(" + id +
        ")< 0,Format(1/Val(" + id + "),'00000000000.00000'),Format(" + id +
        ",'00000000000.00000'))," + id + ")";
    struct Case {
        std::string sql;
        const char* rows;
    };
    const Case cases[] = {
        // Key sets.
        {"SELECT [PointID],[Depth] FROM [SAMPLE] ORDER BY " + keySort + ",[SAMPLE].[Depth] DESC",
         "-2|1;2.5|3;9|5;9|2;10|1;1E5|1;BH1|1"},
        // Field probes: a count of a field, the names proved by a query without rows.
        {"SELECT Count(Elevation)  FROM [POINT]", "3"},
        {"SELECT Count([Taken])  FROM [SAMPLE]", "2"},
        {"SELECT [Depth] FROM [SAMPLE] WHERE 0=1", ""},
        // Literals as the codec writes them.
        {"SELECT [SampleRef] FROM [SAMPLE] WHERE [Taken]=#2004/05/06 10:00:00#", "S1"},
        {"SELECT [SampleRef] FROM [SAMPLE] WHERE [Taken]=#2004/05/06 00:00:00#", "S2"},
        {"SELECT [ProjectID] FROM [PROJECT] WHERE [Name]='O''Brien'", "-5"},
        {"SELECT Count(*) FROM [POINT] WHERE [Elevation]=Null ", "0"},
        {"SELECT Count(*) FROM [POINT] WHERE [Elevation]<>Null ", "0"},
        // The page filter.
        {"SELECT [PageID] FROM " + page +
             " WHERE ([PageType] IN(1,2)) AND (([Name]='') OR ([Name]='>Unnamed<'))",
         "1;3"},
        {"SELECT [PageID],[Name] FROM " + page + " WHERE ([PageType]=3) AND ([Name]='PLAN')",
         "2|Plan"},
        // Project selection and identity.
        {"SELECT Count(*)  FROM [PROJECT]", "5"},
        {"SELECT [ProjectID],[Name],[vORNProjectID] FROM [PROJECT] ORDER BY " + selectionSort,
         "-5|O'Brien|3;9|Nine|1;10|  |2;1E5|Null|4;abc|Text|5"},
        {"SELECT [ProjectID] FROM [PROJECT] WHERE [PROJECT].vORNProjectID=2", "10"},
        {"SELECT [ProjectID] FROM PROJECT WHERE vORNProjectID=3", "-5"},
        {"select * from PROJECT ORDER BY vORNProjectID DESC",
         "abc|Text|5|1/1/2000 1:30:00 PM;1E5|Null|4|Null;-5|O'Brien|3|1/1/1753;10|  |2|12/31/1752;"
         "9|Nine|1|5/6/2004 10:00:00 AM"},
        {"SELECT [ProjectID] FROM PROJECT", "9;10;-5;1E5;abc"},
        {"SELECT Count(*)  FROM [PROJECT] WHERE [ProjectID] = '10'", "1"},
        {"SELECT vORNProjectID FROM [PROJECT] WHERE [Started] = #1/1/2000 1:30:00 PM#", "5"},
        {"SELECT vORNProjectID FROM [PROJECT] WHERE [vORNProjectID] = 4", "4"},
        {"SELECT [ProjectID],[Name],[ProjectID]+','+[Name] FROM PROJECT WHERE vORNProjectID IN "
         "(1,4)",
         "9|Nine|9,Nine;1E5|Null|Null"},
        // Validation of the source.
        {"SELECT COUNT( [Started] ) FROM [PROJECT] WHERE [Started]  < #1/1/1753# ", "1"},
        {"SELECT [ProjectID],[vORNProjectID] FROM [PROJECT] WHERE [Started] < #1/1/1753# ",
         "10|2"},
        {"SELECT Count(*)  FROM PROJECT WHERE TRIM([Name])<>\"\"", "3"},
        // Table comparison: the longest text, Null for no rows.
        {"select max(len([SampleRef])) FROM [SAMPLE]", "2"},
        {"select max(len([Name])) FROM [PROJECT]", "7"},
        {"select max(len([Name])) FROM " + layer + " WHERE 1 = 2", "Null"},
        // Record links: the key joined with "&", numbers and dates as text.
        {"SELECT Count(*) FROM [SAMPLE] WHERE [PointID] & ',' & [Depth]='9,5'", "1"},
        {"SELECT Count(*) FROM [SAMPLE] WHERE [PointID] & ',' & [Depth]='2.5,3'", "1"},
        {"SELECT [PointID] & ',' & [Taken] FROM [SAMPLE] WHERE [Taken] Is Not Null ORDER BY "
         "[SampleRef]",
         "10,5/6/2004 10:00:00 AM;9,5/6/2004"},
        // Drawing pages.
        {"SELECT [PageID],[Name] FROM " + page, "1|>Unnamed<;2|Plan;3|"},
        {"SELECT [LayerID],[Name] FROM " + layer + " WHERE [System]=0 AND [PageID] = 2", "2|Holes"},
        {"SELECT [LayerID],[Hidden],[System] FROM " + layer + " WHERE [PageID] = 2",
         "1|False|True;2|True|False"},
        {"SELECT * FROM " + entity + " WHERE LayerID=2",
         "2|1|7|0|0|1.5|2.5|Null|Null|blk|3|True"},
        {"SELECT LayerID, Type, MinX, MinY, MaxX, MaxY, Coor, Properties, PrivateBlock, "
         "PrintOrder, Opaque FROM " +
             entity + " WHERE LayerID = 2",
         "2|7|0|0|1.5|2.5|Null|Null|blk|3|True"},
    };
    for (const auto& c : cases) EXPECT_EQ(AllRows(db(), c.sql), c.rows) << c.sql;
}

// The recordset options the callers pass: a dynaset that sees changes, a
// read-only snapshot, a forward-only reading.
TEST_F(ProjectStatements, QueriesOpenWithTheOptionsTheCallersPass) {
    struct Case {
        const char* sql;
        std::int32_t type;
        std::int32_t options;
        const char* rows;
    };
    const Case cases[] = {
        {"SELECT [PointID] FROM [POINT] WHERE [Elevation] > 0", dao::dbOpenDynaset,
         dao::dbSeeChanges, "10;BH1"},
        {"SELECT Count(*) FROM [SAMPLE] WHERE [PointID] & ',' & [Depth]='10,1'",
         dao::dbOpenSnapshot, dao::dbReadOnly, "1"},
        {"select max(len([PointID])) FROM [POINT]", dao::dbOpenForwardOnly, dao::dbForwardOnly,
         "3"},
        {"SELECT [PointID] FROM [SAMPLE] WHERE 1 = 2 ", dao::dbOpenDynaset, dao::dbAppendOnly, ""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(AllRows(db(), c.sql, c.type, c.options), c.rows) << c.sql;
}

// A missing table and a missing field fail with the numbers the field probe
// tells apart.
TEST_F(ProjectStatements, AProbeOfAMissingTableOrFieldFailsWithItsNumber) {
    EXPECT_EQ(FailureNumber([&] {
                  db().OpenRecordset("SELECT [Depth] FROM [NOSUCH] WHERE 0=1", dao::dbOpenDynaset,
                                     dao::dbSeeChanges);
              }),
              errnum::kJetInputTableNotFound);
    EXPECT_EQ(FailureNumber([&] {
                  db().OpenRecordset("SELECT [Nosuch] FROM [SAMPLE] WHERE 0=1", dao::dbOpenDynaset,
                                     dao::dbSeeChanges);
              }),
              errnum::kJetTableNotFound);
    // A "]" in a name is not escaped by the length query: Jet reads a name that ends early.
    EXPECT_NE(FailureNumber([&] { AllRows(db(), "select max(len([a]b])) FROM [SAMPLE]"); }), 0);
}

// The link tables: made by SELECT ... INTO, filled through a recordset of
// "WHERE 1 = 2", copied one into the other by INSERT INTO ... SELECT *.
TEST_F(ProjectStatements, LinkTablesAreMadeAndFilledAsTheTransferDoes) {
    const std::string link = "[" + kDel + "POINTLINK]";
    const std::string link2 = "[" + kDel + "POINTLINKLINK]";
    Run("SELECT [PointID] INTO " + link + " FROM [POINT]");
    EXPECT_EQ(db().RecordsAffected(), 7);
    EXPECT_EQ(Table(kDel + "POINTLINK")->Fields().Item("PointID")->Size(), 20);
    Run("DELETE FROM " + link);
    Run("SELECT * INTO " + link2 + " FROM " + link);
    EXPECT_EQ(Table(kDel + "POINTLINKLINK")->Fields().Count(), 1);

    auto write = db().OpenRecordset("SELECT [PointID] FROM " + link + " WHERE 1 = 2 ",
                                    dao::dbOpenDynaset);
    for (const char* id : {"BH1", "TP3"}) {
        write->AddNew();
        (*write)[0].SetValue(Variant(id));
        write->Update();
    }
    write->Close();
    Run("INSERT INTO " + link2 + " SELECT * FROM " + link);
    EXPECT_EQ(db().RecordsAffected(), 2);
    EXPECT_EQ(AllRows(db(), "SELECT * FROM " + link2 + " ORDER BY [PointID]"), "BH1;TP3");
    Run("DROP TABLE " + link2);
    EXPECT_EQ(FailureNumber([&] { Table(kDel + "POINTLINKLINK"); }), errnum::kJetItemNotFound);
}

// Rows copied back into a file: an append-only recordset of "WHERE 1 = 2",
// and the counter of the new row read through LastModified.
TEST_F(ProjectStatements, RowsAreAddedThroughAnEmptyQueryAndTheirCounterReadBack) {
    auto rows = db().OpenRecordset("SELECT [PointID],[Depth],[SampleRef],[Taken] FROM [SAMPLE] "
                                   "WHERE 1 = 2 ",
                                   dao::dbOpenDynaset, dao::dbAppendOnly);
    rows->AddNew();
    (*rows)["PointID"].SetValue(Variant("TP3"));
    (*rows)["Depth"].SetValue(Variant(0.25));
    (*rows)["SampleRef"].SetValue(Variant("S8"));
    (*rows)["Taken"].SetValue(Variant::FromDate(38113.5));  // 5/6/2004 12:00
    rows->Update();
    rows->Close();
    EXPECT_EQ(AllRows(db(), "SELECT [SampleRef],[Taken] FROM [SAMPLE] WHERE [Taken] > "
                            "#2004/05/06 11:00:00#"),
              "S8|5/6/2004 12:00:00 PM");

    auto pages = db().OpenRecordset("SELECT * FROM [" + kDel + "GIDPAGE] WHERE 1 = 2 ",
                                    dao::dbOpenDynaset);
    pages->AddNew();
    (*pages)["PageType"].SetValue(Variant(std::int16_t{4}));
    (*pages)["Name"].SetValue(Variant("Section"));
    (*pages)["Thumbnail"].SetValue(Variant(Variant::Binary{1, 2, 3}));
    pages->Update();
    pages->SetBookmark(pages->LastModified());
    EXPECT_EQ(CStr((*pages)["PageID"].Value()), "4");
    pages->Close();
    EXPECT_EQ(AllRows(db(), "SELECT [Name],[Thumbnail] FROM [" + kDel + "GIDPAGE] WHERE "
                            "[PageID] = 4"),
              "Section|<3 bytes>");
}

// The field changes of the schema code: a type behind the name with its
// blank, a column dropped.
TEST_F(ProjectStatements, AColumnChangedToTextKeepsJetsTextOfItsNumbers) {
    Run("ALTER TABLE [POINT] ALTER COLUMN [Elevation] TEXT (255)");
    EXPECT_EQ(Table("POINT")->Fields().Item("Elevation")->Type(), dao::dbText);
    EXPECT_EQ(AllRows(db(), "SELECT [Elevation] FROM [POINT] WHERE [Elevation] Is Not Null "
                            "ORDER BY [Elevation]"),
              "-2.25;10.5;3");
    Run("ALTER TABLE [POINT] ALTER COLUMN [Elevation] DOUBLE");
    EXPECT_EQ(AllRows(db(), "SELECT Sum([Elevation]) FROM [POINT]"), "11.25");
    Run("ALTER TABLE [POINT] DROP COLUMN [Elevation]");
    EXPECT_EQ(Table("POINT")->Fields().Count(), 2);
}

// A type that keeps the stored class of the old one (integers, reals) still
// converts each value: a long becomes a currency of the same amount, a yes/no
// a number -1 or 0, and a value that does not fit fails the change.
TEST_F(ProjectStatements, ATypeChangeInsideOneStoredClassConvertsTheValues) {
    struct Case {
        const char* column;
        const char* type;
        const char* rows;  // the values after, or "" when the change fails
    };
    const Case cases[] = {
        {"[L]", " CURRENCY", "1;100000"},
        {"[L]", " DOUBLE", "1;100000"},
        {"[L]", " SHORT", ""},
        {"[L]", " BIT", "True;True"},
        {"[B]", " LONG", "-1;0"},
        {"[B]", " CURRENCY", "-1;0"},
        {"[B]", " SHORT", "-1;0"},
        {"[C]", " LONG", "2;-2"},
        {"[C]", " TINYINT", ""},
        {"[D]", " SINGLE", "2.5;-1.25"},
    };
    for (const auto& c : cases) {
        Run("CREATE TABLE [Kinds] ([L] LONG, [B] BIT, [C] CURRENCY, [D] DOUBLE)");
        Run("INSERT INTO [Kinds] VALUES (1, True, 2.4, 2.5)");
        Run("INSERT INTO [Kinds] VALUES (100000, False, -2.4, -1.25)");
        const std::string alter =
            std::string("ALTER TABLE [Kinds] ALTER COLUMN ") + c.column + c.type;
        const std::string read = std::string("SELECT ") + c.column + " FROM [Kinds]";
        const std::string was = AllRows(db(), read);
        if (*c.rows == '\0') {
            EXPECT_EQ(FailureNumber([&] { Run(alter); }), errnum::kJetNumericOverflow) << alter;
            // The change fails whole: the values stay as they were.
            EXPECT_EQ(AllRows(db(), read), was) << alter;
        } else {
            Run(alter);
            EXPECT_EQ(AllRows(db(), read), c.rows) << alter;
        }
        Run("DROP TABLE [Kinds]");
    }
}

// The test of a text key for the sort it needs: a dynaset of the key that
// sees changes, filtered for dates written with "/" and for numbers.
TEST_F(ProjectStatements, KeyValuesAreTestedForDatesAndNumbersThroughAFilter) {
    Run("CREATE TABLE [READING] ([Taken] TEXT(20), [Code] TEXT(20), [Num] TEXT(20))");
    Run("INSERT INTO [READING] VALUES ('1/2/2003', 'ab', '10')");
    Run("INSERT INTO [READING] VALUES ('12/31/1752 10:00', 'cd', '9.5')");
    struct Case {
        const char* field;
        std::int32_t leftAfterDates;
        std::int32_t leftAfterNumbers;
    };
    const Case cases[] = {{"[Taken]", 0, 0}, {"[Code]", 2, 0}, {"[Num]", 2, 2}};
    for (const auto& c : cases) {
        const std::string f = c.field;
        auto rows = db().OpenRecordset("SELECT " + f + " FROM [READING]", dao::dbOpenDynaset,
                                       dao::dbSeeChanges);
        rows->MoveLast();
        EXPECT_EQ(rows->RecordCount(), 2) << f;
        const auto left = [&](const std::string& filter) {
            rows->SetFilter(filter);
            auto rest = rows->OpenRecordset();
            std::int32_t count = 0;
            for (; !rest->Eof(); rest->MoveNext()) ++count;
            return count;
        };
        EXPECT_EQ(left("Not (IsDate(" + f + ") AND InStr(" + f + ",'/'))"), c.leftAfterDates) << f;
        EXPECT_EQ(left("IsNumeric(" + f + ")"), c.leftAfterNumbers) << f;
    }
    // Every value a date: the key sorts by its date.
    EXPECT_EQ(AllRows(db(), "SELECT [Code] FROM [READING] ORDER BY Format([Taken],'yyyymmddhhnn')"),
              "cd;ab");
}

struct QueryRows {
    const char* sql;
    const char* rows;
};

// Runs each query on a Jet fixture and compares all its rows.
void ExpectRowsOfJetFile(const char* fixture, const std::vector<QueryRows>& cases) {
    auto jet = DaoEngine().OpenDatabase((vorn::testing::SourceDir() / "tests/data/jet" / fixture).string(), 0, true);
    for (const auto& c : cases) EXPECT_EQ(AllRows(*jet, c.sql), c.rows) << c.sql;
    jet->Close();
}

// The validation queries on a Jet file: dates before 1753 found, in years
// of three digits too.
TEST(JetSourceStatements, ValidationQueriesReadAJetFile) {
    ExpectRowsOfJetFile("dates.mdb", {
        {"SELECT COUNT( [DateTimeCol] ) FROM [DateTest] WHERE [DateTimeCol]  < #1/1/1753# ", "1"},
        {"SELECT [IDCol] FROM [DateTest] WHERE [DateTimeCol] < #1/1/1753# ", "4"},
        {"SELECT [IDCol] FROM [DateTest] WHERE [DateCol] < #1/1/1900# ORDER BY [DateCol] DESC",
         "3;4"},
        {"SELECT Count(*)  FROM DateTest WHERE TRIM([ShortTextCol])<>\"\"", "6"},
        {"select max(len([ShortTextCol])) FROM [DateTest]", "30"},
        {"SELECT [IDCol] FROM [DateTest] WHERE [IDCol] & ',' & [DateCol]='2,1/1/9999'", "2"},
    });
}

// Yes and No are Jet's names of True and False, as the saved queries of a
// Jet file write them.
TEST(JetSourceStatements, YesAndNoAreTrueAndFalse) {
    ExpectRowsOfJetFile("nwind.mdb", {
        {"SELECT Count(*) FROM Products WHERE Discontinued = No", "69"},
        {"SELECT Count(*) FROM Products WHERE Discontinued <> Yes", "69"},
        {"SELECT Count(*) FROM Products WHERE Discontinued = yes", "8"},
        {"SELECT Count(*) FROM [Current Product List]", "69"},
        {"SELECT TOP 1 ProductName FROM [Products by Category] ORDER BY ProductName",
         "Aniseed Syrup"},
        {"SELECT TOP 1 ProductName FROM [Current Product List] ORDER BY ProductName", "Aniseed Syrup"},
    });
}

}  // namespace
}  // namespace vorn
