#include "dbcontract/sqlite/JetSqlTranslator.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <map>
#include <string>
#include <vector>

#include "dbcontract/DaoConstants.h"
#include "dbcontract/sqlite/SqliteCollations.h"
#include "dbcontract/sqlite/SqliteFunctions.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/Utf8.h"
#include "runtime/VornError.h"
#include "support/TestSupport.h"

namespace vorn {
namespace {

using Kind = JetSchemaOperation::Kind;

struct Col {
    std::string name;
    std::int16_t type;
    std::int32_t size = 0;
};

// The SQLite column type that holds a DAO type in a project file.
const char* StorageType(std::int16_t type) {
    switch (type) {
        case dao::dbBoolean:
        case dao::dbByte:
        case dao::dbInteger:
        case dao::dbLong:
        case dao::dbCurrency:
            return "INTEGER";
        case dao::dbSingle:
        case dao::dbDouble:
            return "REAL";
        case dao::dbLongBinary:
            return "BLOB";
        default:
            return "TEXT";
    }
}

std::string Quote(const std::string& name) { return JetSqlTranslator::QuoteName(name); }

std::string TextLiteral(const std::string& text) {
    std::string out = "'";
    for (const char c : text) out += c == '\'' ? std::string("''") : std::string(1, c);
    return out + "'";
}

// An SQLite connection with the Jet functions and the engine's collations.
class Connection {
  public:
    explicit Connection(const std::string& path) {
        sqlite3_open(path.c_str(), &db_);
        SqliteCollations::Register(db_);
        SqliteFunctions::Register(db_);
    }
    ~Connection() { sqlite3_close(db_); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    void Exec(const std::string& sql) const {
        char* message = nullptr;
        const int rc = sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, &message);
        const std::string text = message == nullptr ? "" : message;
        sqlite3_free(message);
        ASSERT_EQ(rc, SQLITE_OK) << sql << ": " << text;
    }

    // Rows as "a|b;c|d", Null as "NULL"; parameters bound as text, in order.
    std::string Rows(const std::string& sql,
                     const std::vector<std::string>& parameters = {}) const {
        sqlite3_stmt* statement = nullptr;
        if (sqlite3_prepare_v2(db_, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
            ADD_FAILURE() << sql << ": " << sqlite3_errmsg(db_);
            return "";
        }
        for (std::size_t i = 0; i < parameters.size(); ++i) {
            sqlite3_bind_text(statement, static_cast<int>(i + 1), parameters[i].c_str(), -1,
                              SQLITE_TRANSIENT);
        }
        std::string rows;
        int rc = SQLITE_ROW;
        while ((rc = sqlite3_step(statement)) == SQLITE_ROW) {
            if (!rows.empty()) rows += ";";
            for (int c = 0; c < sqlite3_column_count(statement); ++c) {
                const unsigned char* text = sqlite3_column_text(statement, c);
                rows +=
                    (c > 0 ? "|" : "") +
                    (text == nullptr ? std::string("NULL") : reinterpret_cast<const char*>(text));
            }
        }
        if (rc != SQLITE_DONE) ADD_FAILURE() << sql << ": " << sqlite3_errmsg(db_);
        sqlite3_finalize(statement);
        return rows;
    }

    sqlite3* Handle() const { return db_; }

  private:
    sqlite3* db_ = nullptr;
};

TableInfo MakeTable(const std::string& name, const std::vector<Col>& columns) {
    TableInfo table;
    table.name = name;
    for (const Col& column : columns) {
        FieldInfo field;
        field.name = column.name;
        field.type = column.type;
        field.size = column.size;
        field.ordinalPosition = static_cast<std::int16_t>(table.fields.size());
        table.fields.push_back(field);
    }
    return table;
}

// Makes the table of a design with plain SQL, as the engine stores it.
void CreateStored(const Connection& connection, const TableInfo& table) {
    std::string sql = "CREATE TABLE " + Quote(table.name) + " (";
    for (std::size_t i = 0; i < table.fields.size(); ++i) {
        sql += (i > 0 ? ", " : "") + Quote(table.fields[i].name) + " " +
               StorageType(table.fields[i].type);
    }
    connection.Exec(sql + ")");
}

// A project file in memory: tables made with plain SQL, their design in a
// catalog that the translator reads, and other project files on disk.
class ProjectDb : public JetCatalogView {
  public:
    ProjectDb() : main_(":memory:") {}

    void AddTable(const std::string& name, const std::vector<Col>& columns,
                  const std::string& rows = "") {
        tables_.push_back(MakeTable(name, columns));
        CreateStored(main_, tables_.back());
        if (!rows.empty()) main_.Exec("INSERT INTO " + Quote(name) + " VALUES " + rows);
    }

    // A table of another project file `path`.
    void AddTableIn(const std::string& path, const std::string& name,
                    const std::vector<Col>& columns, const std::string& rows) {
        const Connection other(path);
        TableInfo table = MakeTable(name, columns);
        CreateStored(other, table);
        other.Exec("INSERT INTO " + Quote(name) + " VALUES " + rows);
        otherFiles_[path].push_back(std::move(table));
    }

    // A table of this file linked to table `source` of the file `path`.
    void AddLink(const std::string& name, const std::string& path, const std::string& source) {
        TableInfo link = *FindTableIn(path, source);
        link.name = name;
        link.connect = ";DATABASE=" + path + ";";
        link.sourceTableName = source;
        tables_.push_back(std::move(link));
    }

    std::optional<TableInfo> FindTable(std::string_view name) const override {
        return Find(tables_, name);
    }
    std::optional<TableInfo> FindTableIn(std::string_view file,
                                         std::string_view name) const override {
        const auto found = otherFiles_.find(std::string(file));
        return found == otherFiles_.end() ? std::nullopt : Find(found->second, name);
    }
    bool IsQuery(std::string_view) const override { return false; }

    TableInfo& Table(std::string_view name) {
        return *std::find_if(tables_.begin(), tables_.end(),
                             [name](const TableInfo& t) { return t.name == name; });
    }

    JetTranslation Translate(const std::string& jet,
                             const JetTranslateOptions& options = {}) const {
        return JetSqlTranslator(*this).Translate(jet, options);
    }

    // Runs a translation as the engine would: attaches the other files,
    // carries out a schema change, runs the statement; gives a query's rows.
    std::string Run(const JetTranslation& translation,
                    const std::vector<std::string>& parameters = {}) {
        for (const JetAttachment& attachment : translation.attachments) {
            main_.Exec("ATTACH DATABASE " + TextLiteral(attachment.file) + " AS " +
                       Quote(attachment.schema));
        }
        for (const JetSchemaOperation& operation : translation.schema) {
            if (operation.kind != Kind::CreateTable) continue;
            CreateStored(main_, operation.tableInfo);
            tables_.push_back(operation.tableInfo);
        }
        std::string rows;
        if (translation.kind == JetStatementKind::Query) {
            rows = main_.Rows(translation.sql, parameters);
        } else if (!translation.sql.empty()) {
            main_.Exec(translation.sql);
        }
        for (const JetAttachment& attachment : translation.attachments)
            main_.Exec("DETACH DATABASE " + Quote(attachment.schema));
        return rows;
    }

    std::string Run(const std::string& jet) { return Run(Translate(jet)); }

    // Rows of plain SQLite SQL, to see what a change left.
    std::string Plain(const std::string& sql) const { return main_.Rows(sql); }

    // The number of the failure of translating `jet`, 0 when it translates.
    std::int32_t ErrorOf(const std::string& jet) const {
        try {
            Translate(jet);
            return 0;
        } catch (const VornError& error) {
            return error.Number();
        }
    }

  private:
    static std::optional<TableInfo> Find(const std::vector<TableInfo>& tables,
                                         std::string_view name) {
        for (const TableInfo& table : tables) {
            if (utf8::EqualsIgnoreCase(table.name, name)) return table;
        }
        return std::nullopt;
    }

    Connection main_;
    std::vector<TableInfo> tables_;
    std::map<std::string, std::vector<TableInfo>> otherFiles_;
};

const std::string kPage = "\x7fGIDPAGE";
const std::string kLayer = "\x7fGIDLAYER";

// The tables of a small project, filled.
void FillProject(ProjectDb& db) {
    db.AddTable("PROJECT",
                {{"VornRecID", dao::dbLong},
                 {"Name", dao::dbText, 50},
                 {"Started", dao::dbDate},
                 {"Budget", dao::dbCurrency},
                 {"Active", dao::dbBoolean},
                 {"Code", dao::dbText, 20}},
                "(1, 'Alpha', '2004-05-06 10:00:00', 15000, 1, '9'), (2, 'beta', '1750-01-01 "
                "00:00:00', NULL, 0, '10'),(3, '  ', '2020-02-29 00:00:00', 25000, 1, '-5'), (4, "
                "NULL, NULL, NULL, 0, 'abc'),(5, 'ALPHA', '1753-01-01 00:00:00', 1, 1, '1E5')");
    db.AddTable(
        "POINT",
        {{"PointID", dao::dbText, 20}, {"Elevation", dao::dbDouble}, {"VornRecID", dao::dbLong}},
        "('BH1', 10.5, 1), ('bh2', NULL, 2), ('TP3', -2, 3)");
    db.AddTable(
        "SAMPLE",
        {{"PointID", dao::dbText, 20},
         {"Depth", dao::dbDouble},
         {"Ref", dao::dbText, 20},
         {"Taken", dao::dbDate}},
        "('BH1', 1.5, 'S1', '2004-05-06 10:00:00'), ('BH1', 3, 'S2', NULL),"
        "('BH2', 0.5, 's1', '1752-12-31 00:00:00'), ('XX9', 2, 'S9', '2001-01-01 00:00:00')");
    db.AddTable(kPage,
                {{"PageType", dao::dbInteger},
                 {"PageID", dao::dbLong},
                 {"Name", dao::dbText, 255},
                 {"Date", dao::dbDate}},
                "(1, 1, '>Unnamed<', NULL), (3, 2, 'Plan', '2004-05-06 00:00:00'), (2, 3, "
                "'>unnamed<', NULL)");
    db.AddTable(kLayer,
                {{"PageID", dao::dbLong},
                 {"LayerID", dao::dbLong},
                 {"Name", dao::dbText, 255},
                 {"System", dao::dbBoolean},
                 {"Hidden", dao::dbBoolean}},
                "(1, 1, 'Base', 1, 0), (1, 2, 'Holes', 0, 0), (2, 3, 'Top', 0, 0)");
    db.AddTable("KEYS", {{"K", dao::dbText, 20}},
                "('10'), ('9'), ('-2'), ('1/2/2003'), ('abc'), ('2.5')");
}

class JetSql : public ::testing::Test {
  protected:
    void SetUp() override { FillProject(db_); }
    ProjectDb db_;
};

struct RowCase {
    const char* jet;
    const char* rows;
};

class JetQueries : public JetSql, public ::testing::WithParamInterface<RowCase> {};

TEST_P(JetQueries, GiveTheRowsJetGives) {
    EXPECT_EQ(db_.Run(GetParam().jet), GetParam().rows) << GetParam().jet;
}

INSTANTIATE_TEST_SUITE_P(
    CountsAndMax, JetQueries,
    ::testing::Values(
        RowCase{"select Max(VornRecID) from [PROJECT]", "5"},
        RowCase{"SELECT Count(*) FROM project WHERE vornrecid = 3;", "1"},
        RowCase{"SELECT Sum([Budget]), Avg([Budget]), Min([Name]), Max([Code]) FROM PROJECT",
                "40001|1.33336666666667|  |abc"}));

INSTANTIATE_TEST_SUITE_P(
    Probes, JetQueries,
    ::testing::Values(RowCase{"SELECT * FROM [\x7fGIDPAGE] WHERE 1 = 2 ", ""},
                      RowCase{"SELECT [PointID] FROM [SAMPLE] WHERE 1 = 1 AND [Depth] = 3",
                              "BH1"}));

INSTANTIATE_TEST_SUITE_P(
    TextAndArithmetic, JetQueries,
    ::testing::Values(
        RowCase{"SELECT \"a\" & Null & 1.5", "a1.5"}, RowCase{"SELECT Null & Null", "NULL"},
        RowCase{"SELECT [PointID] + '-' + [Ref] FROM SAMPLE WHERE [Depth] = 1.5", "BH1-S1"},
        RowCase{"SELECT [Code] & [VornRecID] FROM PROJECT WHERE VornRecID = 2", "102"},
        RowCase{"SELECT 1 + 2, 5 / 2, 7 \\ 2, 7 Mod 3, 2 ^ 3, -2 ^ 2", "3|2.5|3|1|8.0|-4.0"},
        RowCase{"SELECT '1' + 2, &H10 + 1, .5 * 2", "3.0|17|1.0"},
        RowCase{"SELECT [Budget] * 2 FROM PROJECT WHERE VornRecID = 1", "3.0"},
        RowCase{"SELECT [Budget] FROM PROJECT WHERE [Budget] > 1.4 ORDER BY [Budget]",
                "15000;25000"},
        RowCase{"SELECT UCase(Left([Name], 2)) & Mid([Name], 3) FROM PROJECT WHERE VornRecID = 2",
                "BEta"},
        RowCase{"SELECT InStr([Name], 'PH'), Len([Name]) FROM PROJECT WHERE VornRecID = 1", "3|5"},
        RowCase{"SELECT Nz([Name], '(none)') FROM PROJECT WHERE VornRecID = 4", "(none)"},
        RowCase{"SELECT Count(*) FROM PROJECT WHERE IsNull([Name]) OR Trim$([Name]) = ''", "2"},
        RowCase{"SELECT CLng('12') + CInt(2.5), CDbl('1.5'), CStr(3) & Int(-2.5)", "14|1.5|3-3"},
        RowCase{"SELECT LTrim('  a') & '|' & RTrim('b  ') & '|' & Right('abc', 2) & '|' & "
                "LCase('ABC') & '|' & "
                "Abs(-2) & '|' & Val('12abc') & '|' & IsNumeric('x') & IsNumeric('1')",
                // Jet's comparisons and tests are -1 and 0 in an expression.
                "a|b|bc|abc|2|12|0-1"}));

INSTANTIATE_TEST_SUITE_P(
    Dates, JetQueries,
    ::testing::Values(
        RowCase{"SELECT [VornRecID] FROM PROJECT WHERE [Started] + 1 > #5/6/2004# ORDER BY 1 DESC",
                "3;1"},
        RowCase{"SELECT Format([Started],'yyyymmddhhnn') FROM PROJECT WHERE VornRecID = 1",
                "200405061000"},
        RowCase{"SELECT [Name] FROM PROJECT WHERE [Started] = #2004/05/06 10:00:00#", "Alpha"},
        RowCase{
            "SELECT [VornRecID] FROM PROJECT WHERE [Started] >= '1/1/2000' ORDER BY [VornRecID]",
            "1;3"},
        RowCase{"SELECT [VornRecID] FROM PROJECT WHERE [Started] BETWEEN #1/1/1753# AND #1/1/2005# "
                "ORDER BY [VornRecID]",
                "1;5"},
        RowCase{
            "SELECT Year([Started]), Int([Started] - #1/1/2004#) FROM PROJECT WHERE VornRecID = 1",
            "2004|126.0"},
        RowCase{"SELECT [Started] + 1 FROM PROJECT WHERE VornRecID = 3", "2020-03-01 00:00:00"},
        RowCase{"SELECT 'On ' & [Started] FROM PROJECT WHERE VornRecID = 3", "On 2/29/2020"},
        RowCase{"SELECT IsDate([Started]), IsDate([Code]) FROM PROJECT WHERE VornRecID = 1", "1|0"},
        RowCase{"SELECT [Name] FROM [\x7fGIDPAGE] WHERE [Date] IN (#5/6/2004#)", "Plan"},
        RowCase{"SELECT Now() > #1/1/2020#, Date() <= Now(), Now - Date < 1, Count(*) FROM PROJECT "
                "WHERE [Started] < Date",
                "1|1|1|4"}));

INSTANTIATE_TEST_SUITE_P(
    Like, JetQueries,
    ::testing::Values(
        RowCase{"SELECT [Code] FROM PROJECT WHERE [Code] LIKE '*[de]*'", "1E5"},
        RowCase{"SELECT [PointID] FROM POINT WHERE [PointID] LIKE '[!b]*'", "TP3"},
        RowCase{"SELECT [PointID] FROM POINT WHERE [PointID] LIKE 'BH#' ORDER BY [PointID]",
                "BH1;bh2"},
        RowCase{"SELECT [Code] FROM PROJECT WHERE [Code] NOT LIKE '#*' ORDER BY [Code]",
                "-5;abc"}));

INSTANTIATE_TEST_SUITE_P(
    InAndSubqueries, JetQueries,
    ::testing::Values(
        RowCase{"SELECT [PointID] FROM POINT WHERE [PointID] NOT IN ('bh1') ORDER BY [PointID]",
                "bh2;TP3"},
        RowCase{"SELECT [PointID], (SELECT Max([Depth]) FROM SAMPLE WHERE SAMPLE.PointID = "
                "POINT.PointID) FROM POINT ORDER BY [PointID]",
                "BH1|3.0;bh2|0.5;TP3|NULL"},
        RowCase{"SELECT [PointID] FROM POINT WHERE [PointID] IN (SELECT [PointID] FROM SAMPLE "
                "WHERE [Depth] > 1)",
                "BH1"},
        RowCase{"SELECT [PointID] FROM POINT WHERE NOT EXISTS (SELECT * FROM SAMPLE WHERE "
                "SAMPLE!PointID = POINT!PointID)",
                "TP3"},
        RowCase{"SELECT Count(*) FROM (SELECT DISTINCT [Name] FROM PROJECT WHERE [Name] LIKE 'a*') "
                "AS d",
                "1"}));

INSTANTIATE_TEST_SUITE_P(
    Booleans, JetQueries,
    ::testing::Values(
        RowCase{"SELECT Count(*) FROM PROJECT WHERE [Active] = True", "3"},
        RowCase{"SELECT Count(*) FROM PROJECT WHERE [Active] = -1", "3"},
        RowCase{"SELECT Count(*) FROM PROJECT WHERE [Active] = 1", "0"},
        RowCase{"SELECT Count(*) FROM PROJECT WHERE [Active] = False", "2"},
        RowCase{"SELECT Count(*) FROM PROJECT WHERE [Active]", "3"},
        RowCase{"SELECT Count(*) FROM PROJECT WHERE Not [Active] And [Code] Is Not Null", "2"},
        RowCase{"SELECT [LayerID] FROM [\x7fGIDLAYER] WHERE [System]=0 AND [PageID] = 1", "2"},
        RowCase{"SELECT True, False, 3 > 2, True + 0", "1|0|1|-1"}));

INSTANTIATE_TEST_SUITE_P(
    Ordering, JetQueries,
    ::testing::Values(
        RowCase{"SELECT TOP 2 [VornRecID] FROM PROJECT ORDER BY [VornRecID] DESC", "5;4"},
        // TOP keeps the rows that tie with the last one.
        RowCase{"SELECT TOP 2 [PointID], [Depth] FROM SAMPLE ORDER BY [PointID]",
                "BH1|1.5;BH1|3.0"},
        RowCase{"SELECT TOP 1 [Active] FROM PROJECT ORDER BY [Active] DESC", "0;0"},
        RowCase{"SELECT TOP 1 [PointID] FROM SAMPLE WHERE [Depth] > 1 ORDER BY [Depth] DESC",
                "BH1"},
        RowCase{"SELECT [Name], [VornRecID] FROM PROJECT WHERE [VornRecID] < 4 ORDER BY 2 DESC, 1",
                "  |3;beta|2;Alpha|1"},
        RowCase{"SELECT [PointID] FROM POINT ORDER BY [PointID]", "BH1;bh2;TP3"},
        RowCase{"SELECT [PointID], Count(*) FROM SAMPLE GROUP BY [PointID] HAVING Count(*) > 1",
                "BH1|2"},
        RowCase{"SELECT Count(*) FROM (SELECT [Ref] FROM SAMPLE GROUP BY [Ref]) AS g", "3"},
        RowCase{"SELECT [Active], Count(*) FROM PROJECT GROUP BY [Active] ORDER BY [Active]",
                "1|3;0|2"},
        // The sort expression that makes numbers kept as text sort as numbers.
        RowCase{"SELECT [Code] FROM [PROJECT] ORDER BY IIf(ISNUMERIC([Code])AND [Code] NOT LIKE "
                "'*[de]*',IIf(Val([Code])< 0,Format(1/Val([Code]),'00000000000.00000'),"
                "Format([Code],'00000000000.00000')),[Code])",
                "-5;9;10;1E5;abc"},
        RowCase{
            "SELECT [K] FROM [KEYS] ORDER BY IIf(ISNUMERIC([KEYS].[K])AND [KEYS].[K] NOT LIKE "
            "'*[de]*',IIf(Val([KEYS].[K])< 0,Format(1/Abs(Val([KEYS].[K])),' "
            "0000000000.00000'),Format([KEYS].[K],'00000000000.00000')),IIf(IsDate([KEYS].[K]) AND "
            "Len([KEYS].[K])>7,Format([KEYS].[K],'yyyymmddhhnn'),[KEYS].[K]))",
            "-2;2.5;9;10;1/2/2003;abc"},
        RowCase{"SELECT [K] FROM [KEYS] WHERE [K] IN ('9','10') UNION SELECT [PointID] FROM POINT "
                "WHERE [PointID] = 'TP3' ORDER BY [K] DESC",
                "TP3;9;10"},
        RowCase{"SELECT [K] FROM [KEYS] WHERE [K] = '9' UNION ALL SELECT [PointID] FROM POINT "
                "ORDER BY 1",
                "9;BH1;bh2;TP3"}));

INSTANTIATE_TEST_SUITE_P(
    Joins, JetQueries,
    ::testing::Values(RowCase{"SELECT POINT.PointID, SAMPLE.Ref FROM POINT INNER JOIN SAMPLE ON "
                              "POINT.PointID = SAMPLE.PointID ORDER BY SAMPLE.Depth",
                              "bh2|s1;BH1|S1;BH1|S2"},
                      RowCase{"SELECT POINT.PointID, Count(SAMPLE.Ref) FROM POINT LEFT JOIN SAMPLE "
                              "ON POINT.PointID = SAMPLE.PointID "
                              "GROUP BY POINT.PointID ORDER BY POINT.PointID",
                              "BH1|2;bh2|1;TP3|0"},
                      RowCase{"SELECT SAMPLE.Ref, POINT.Elevation FROM POINT RIGHT JOIN SAMPLE ON "
                              "POINT.PointID = SAMPLE.PointID ORDER BY SAMPLE.Depth",
                              "s1|NULL;S1|10.5;S9|NULL;S2|10.5"},
                      RowCase{"SELECT p.Name, s.Ref FROM (PROJECT AS p INNER JOIN POINT AS pt ON "
                              "p.VornRecID = pt.VornRecID) "
                              "INNER JOIN SAMPLE AS s ON pt.PointID = s.PointID WHERE s.Depth > 2",
                              "Alpha|S2"},
                      RowCase{"SELECT pt.PointID, s.Ref FROM SAMPLE AS s RIGHT JOIN (PROJECT AS p "
                              "INNER JOIN POINT AS pt ON p.VornRecID = pt.VornRecID) ON pt.PointID "
                              "= s.PointID WHERE p.VornRecID > 1 ORDER BY s.Ref",
                              "TP3|NULL;bh2|s1"},
                      RowCase{"SELECT Count(*) FROM POINT, SAMPLE", "12"}));

INSTANTIATE_TEST_SUITE_P(
    EnterpriseQuoting, JetQueries,
    ::testing::Values(
        RowCase{"SELECT \"PointID\",\"Depth\" FROM \"SAMPLE\" WHERE \"Depth\">2", "BH1|3.0"},
        RowCase{"SELECT \"PointID\" FROM \"SAMPLE\" WHERE \"Ref\" = 'S9'", "XX9"}));

// The statements of key sets, transfers, validation and record links, as their
// builders write them.
INSTANTIATE_TEST_SUITE_P(
    TransferShapes, JetQueries,
    ::testing::Values(
        // A record link: the key fields joined with "&", a number as Jet writes it.
        RowCase{"SELECT Count(*) FROM [SAMPLE] WHERE [PointID] & ',' & [Depth]='bh2,0.5'", "1"},
        // Yes and No are True and False.
        RowCase{"SELECT Count(*) FROM PROJECT WHERE [Active] = Yes", "3"},
        RowCase{"SELECT Count(*) FROM PROJECT WHERE [Active]=No", "2"},
        RowCase{"SELECT * FROM [\x7fGIDLAYER] WHERE [PageID] = 1", "1|1|Base|1|0;1|2|Holes|0|0"}));

TEST_F(JetSql, NamesWithQuotesBracketsBlanksAndLettersWorkAndInjectNothing) {
    db_.AddTable("we\"ird [x]", {{"a b\"c", dao::dbText, 10}, {"Größe", dao::dbLong}},
                 "('one', 1), ('two', 2)");
    db_.AddTable("t\"; DROP TABLE POINT; --", {{"x", dao::dbLong}}, "(7)");
    EXPECT_EQ(db_.Run("SELECT [a b\"c], [größe] FROM [we\"ird [x]]] WHERE [Größe] = 2"), "two|2");
    EXPECT_EQ(db_.Run("SELECT [x] FROM [t\"; DROP TABLE POINT; --]"), "7");
    EXPECT_EQ(db_.Run("SELECT Count(*) FROM POINT"), "3");
    const JetTranslation translation = db_.Translate("SELECT [x] FROM [t\"; DROP TABLE POINT; --]");
    EXPECT_EQ(translation.sql,
              "SELECT \"t\"\"; DROP TABLE POINT; --\".\"x\" AS \"x\" FROM \"t\"\"; DROP TABLE "
              "POINT; --\"");
}

TEST_F(JetSql, WritesCountsDatesAndNamesInSqliteForm) {
    EXPECT_EQ(db_.Translate("SELECT Count(*)  FROM [PROJECT]").sql,
              "SELECT count(*) AS \"Expr1000\" FROM \"PROJECT\"");
    EXPECT_EQ(
        db_.Translate("SELECT COUNT( [Taken] ) FROM [SAMPLE] WHERE [Taken]  < #1/1/1753# ").sql,
        "SELECT count(\"SAMPLE\".\"Taken\") AS \"Expr1000\" FROM \"SAMPLE\" WHERE "
        "(\"SAMPLE\".\"Taken\" < '1753-01-01 00:00:00')");
    EXPECT_EQ(
        db_.Translate("SELECT p.Name AS [Project Name] FROM PROJECT p WHERE p.Name LIKE 'A*'").sql,
        "SELECT \"p\".\"Name\" AS \"Project Name\" FROM \"PROJECT\" AS \"p\" WHERE "
        "vorn_like(\"p\".\"Name\", 'A*')");
}

TEST_F(JetSql, DescribesTheColumnsOfAQuery) {
    const JetTranslation translation = db_.Translate(
        "SELECT Count(*), Max(Depth) AS Deepest, PointID, Max([Taken]), [Depth] & '' FROM SAMPLE "
        "GROUP BY PointID, [Depth] & ''");
    ASSERT_EQ(translation.columns.size(), 5u);
    const std::vector<std::pair<std::string, std::int16_t>> expected = {{"Expr1000", dao::dbLong},
                                                                        {"Deepest", dao::dbDouble},
                                                                        {"PointID", dao::dbText},
                                                                        {"Expr1001", dao::dbDate},
                                                                        {"Expr1002", dao::dbText}};
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(translation.columns[i].name, expected[i].first);
        EXPECT_EQ(translation.columns[i].type, expected[i].second) << expected[i].first;
        EXPECT_EQ(translation.columns[i].ordinalPosition, static_cast<std::int16_t>(i));
    }
    EXPECT_EQ(translation.columns[2].sourceTable, "SAMPLE");
    EXPECT_EQ(translation.columns[2].size, 20);
    EXPECT_TRUE(translation.updatableTable.empty());
}

TEST_F(JetSql, NamesColumnsOfOneNameFromTwoTablesByTable) {
    const JetTranslation translation =
        db_.Translate("SELECT * FROM POINT INNER JOIN SAMPLE ON POINT.PointID = SAMPLE.PointID");
    std::vector<std::string> names;
    for (const FieldInfo& column : translation.columns) names.push_back(column.name);
    EXPECT_EQ(names, (std::vector<std::string>{"POINT.PointID", "Elevation", "VornRecID",
                                               "SAMPLE.PointID", "Depth", "Ref", "Taken"}));
    EXPECT_EQ(db_.Run(translation),
              "BH1|10.5|1|BH1|1.5|S1|2004-05-06 10:00:00;BH1|10.5|1|BH1|3.0|S2|NULL;"
              "bh2|NULL|2|BH2|0.5|s1|1752-12-31 00:00:00");
}

TEST_F(JetSql, TellsWhichQueriesGiveRowsOfOneTable) {
    JetTranslateOptions options;
    options.withRowKey = true;
    const JetTranslation probe = db_.Translate("SELECT * FROM [\x7fGIDPAGE] WHERE 1 = 2 ", options);
    EXPECT_EQ(probe.updatableTable, kPage);
    ASSERT_EQ(probe.rowKeyColumn, std::optional<std::size_t>(4));
    EXPECT_EQ(
        db_.Run(db_.Translate("SELECT [Name] FROM [\x7fGIDPAGE] WHERE [PageID] = 2", options)),
        "Plan|2");
    for (const char* jet :
         {"SELECT DISTINCT [PointID] FROM SAMPLE", "SELECT Max(Depth) + 1 FROM SAMPLE",
          "SELECT * FROM POINT INNER JOIN SAMPLE ON POINT.PointID = SAMPLE.PointID",
          "SELECT [PointID] FROM SAMPLE GROUP BY [PointID]"}) {
        const JetTranslation translation = db_.Translate(jet, options);
        EXPECT_TRUE(translation.updatableTable.empty()) << jet;
        EXPECT_FALSE(translation.rowKeyColumn.has_value()) << jet;
    }
}

TEST_F(JetSql, NumbersParametersByNameAndPosition) {
    const JetTranslation translation = db_.Translate(
        "SELECT [PointID] FROM POINT WHERE [PointID] = @param0 OR [Elevation] > ? OR [PointID] = "
        "@PARAM0");
    EXPECT_EQ(translation.parameters, (std::vector<std::string>{"param0", ""}));
    EXPECT_NE(translation.sql.find("= ?1) OR"), std::string::npos) << translation.sql;
    EXPECT_NE(translation.sql.find("?2"), std::string::npos) << translation.sql;
    EXPECT_EQ(db_.Run(translation, {"tp3", "10"}), "BH1;TP3");
}

// ---- Data changes ----

TEST_F(JetSql, InsertValuesStoresEachValueInItsFieldsForm) {
    db_.Run(
        "INSERT INTO PROJECT (VornRecID, Name, Started, Budget, Active) "
        "VALUES (6, \"New\", #2004/05/06 10:00:00#, 12.5, True)");
    db_.Run("INSERT INTO PROJECT VALUES (7, 'x', '5/6/2004', '2', -1, 12)");
    EXPECT_EQ(db_.Plain("SELECT * FROM PROJECT WHERE VornRecID > 5"),
              "6|New|2004-05-06 10:00:00|125000|1|NULL;7|x|2004-05-06 00:00:00|20000|1|12");
}

TEST_F(JetSql, InsertSelectMatchesColumnsByName) {
    db_.AddTable("ARCHIVE", {{"Ref", dao::dbText, 20},
                             {"Taken", dao::dbDate},
                             {"PointID", dao::dbText, 20},
                             {"Depth", dao::dbDouble}});
    db_.Run("INSERT INTO [ARCHIVE]SELECT * FROM [SAMPLE] WHERE [Depth] < 2");
    EXPECT_EQ(db_.Plain("SELECT * FROM ARCHIVE ORDER BY Depth"),
              "s1|1752-12-31 00:00:00|BH2|0.5;S1|2004-05-06 10:00:00|BH1|1.5");
    db_.Run(
        "INSERT INTO ARCHIVE (PointID, Depth) SELECT [PointID], [Elevation] FROM POINT WHERE "
        "[Elevation] < 0");
    EXPECT_EQ(db_.Plain("SELECT PointID, Depth FROM ARCHIVE WHERE Ref IS NULL"), "TP3|-2.0");
    EXPECT_EQ(db_.ErrorOf("INSERT INTO ARCHIVE SELECT PointID, Elevation FROM POINT"),
              errnum::kJetUnknownFieldInInsert);
}

TEST_F(JetSql, InsertSelectReadsATableOfAnotherProjectFile) {
    const testing::TempFolder folder;
    const std::string other = (folder / "other's.vpj").string();
    db_.AddTableIn(other, "SAMPLE",
                   {{"PointID", dao::dbText, 20},
                    {"Depth", dao::dbDouble},
                    {"Ref", dao::dbText, 20},
                    {"Taken", dao::dbDate}},
                   "('NEW1', 4.5, 'N1', NULL), ('NEW2', 0.5, 'N2', NULL)");
    // As the field codec builds it: no blank after the bracket, the file in double quotes for its
    // "'".
    const JetTranslation translation =
        db_.Translate("INSERT INTO [SAMPLE]SELECT PointID,Depth,Ref FROM [SAMPLE] In \"" + other +
                      "\" WHERE Depth > 1");
    ASSERT_EQ(translation.attachments.size(), 1u);
    EXPECT_EQ(translation.attachments[0].file, other);
    db_.Run(translation);
    EXPECT_EQ(db_.Plain("SELECT PointID, Depth, Ref FROM SAMPLE WHERE PointID LIKE 'NEW%'"),
              "NEW1|4.5|N1");
    EXPECT_EQ(db_.ErrorOf("INSERT INTO [SAMPLE]SELECT * FROM [NOPE] In \"" + other + "\""),
              errnum::kJetInputTableNotFound);
}

TEST_F(JetSql, ALinkedTableReadsAndWritesThroughToItsFile) {
    const testing::TempFolder folder;
    const std::string other = (folder / "source.vpj").string();
    db_.AddTableIn(other, "SAMPLE", {{"PointID", dao::dbText, 20}, {"Depth", dao::dbDouble}},
                   "('L1', 1), ('L2', 2)");
    db_.AddLink("LinkedSample", other, "SAMPLE");
    const JetTranslation count =
        db_.Translate("SELECT Count(*) FROM [LinkedSample] WHERE [Depth] > 1");
    ASSERT_EQ(count.attachments.size(), 1u);
    EXPECT_EQ(count.attachments[0].file, other);
    EXPECT_EQ(db_.Run(count), "1");
    JetTranslateOptions options;
    options.schemaOf = [](const std::string&) { return std::string("engine alias"); };
    EXPECT_EQ(db_.Translate("SELECT [Depth] FROM [LinkedSample]", options).sql,
              "SELECT \"LinkedSample\".\"Depth\" AS \"Depth\" FROM \"engine alias\".\"SAMPLE\" AS "
              "\"LinkedSample\"");
    db_.Run("UPDATE [LinkedSample] SET [Depth] = 5 WHERE [PointID] = 'l1'");
    db_.Run("INSERT INTO [LinkedSample] VALUES ('L3', 3)");
    db_.Run("DELETE FROM [LinkedSample] WHERE [PointID] = 'L2'");
    EXPECT_EQ(
        db_.Run("SELECT s.PointID, s.Depth, p.PointID FROM LinkedSample AS s LEFT JOIN POINT AS p "
                "ON s.PointID = p.PointID ORDER BY s.PointID"),
        "L1|5.0|NULL;L3|3.0|NULL");
    // The rows stayed in the other file.
    EXPECT_EQ(Connection(other).Rows("SELECT PointID, Depth FROM SAMPLE ORDER BY PointID"),
              "L1|5.0;L3|3.0");
}

TEST_F(JetSql, ProjectIdentityComesFromACorrelatedSubquery) {
    // As the enterprise names build it: an alias without AS, a bare field after a bracketed table.
    EXPECT_EQ(db_.Run("SELECT [PointID], (SELECT [Name] FROM [PROJECT] WHERE "
                      "[PROJECT].VornRecID=[POINT].[VornRecID]) "
                      "ProjectName FROM [POINT] ORDER BY [PointID]"),
              "BH1|Alpha;bh2|beta;TP3|  ");
    EXPECT_EQ(db_.Translate("SELECT (SELECT [Name] FROM [PROJECT] WHERE "
                            "[PROJECT].VornRecID=[POINT].[VornRecID]) ProjectName FROM [POINT]")
                  .columns.at(0)
                  .name,
              "ProjectName");
}

TEST_F(JetSql, UpdateConvertsEachValueToItsField) {
    db_.Run(
        "UPDATE PROJECT SET [Budget] = [Budget] * 2, [Started] = #1/2/2003#, Code = 42 WHERE "
        "[VornRecID] = 1");
    EXPECT_EQ(db_.Plain("SELECT Budget, Started, Code FROM PROJECT WHERE VornRecID = 1"),
              "30000|2003-01-02 00:00:00|42");
    db_.Run("UPDATE [\x7fGIDLAYER] SET [Hidden] = True WHERE [System]=0 AND [PageID] = 1");
    EXPECT_EQ(db_.Plain("SELECT LayerID, Hidden FROM \"\x7fGIDLAYER\" ORDER BY LayerID"),
              "1|0;2|1;3|0");
}

TEST_F(JetSql, UpdateThroughAJoinChangesTheTableOfTheFields) {
    db_.Run(
        "UPDATE POINT INNER JOIN SAMPLE ON POINT.PointID = SAMPLE.PointID SET POINT.Elevation = "
        "SAMPLE.Depth WHERE SAMPLE.Ref = 'S2'");
    EXPECT_EQ(db_.Plain("SELECT PointID, Elevation FROM POINT ORDER BY VornRecID"),
              "BH1|3.0;bh2|NULL;TP3|-2.0");
}

TEST_F(JetSql, DeleteIgnoresCaseAndTakesRowsOfTheNamedTableFromAJoin) {
    db_.Run("DELETE FROM [SAMPLE] WHERE [PointID]='bh1'");
    EXPECT_EQ(db_.Plain("SELECT PointID FROM SAMPLE ORDER BY PointID"), "BH2;XX9");
    db_.Run(
        "DELETE SAMPLE.* FROM SAMPLE INNER JOIN POINT ON SAMPLE.PointID = POINT.PointID WHERE "
        "POINT.VornRecID = 2");
    EXPECT_EQ(db_.Plain("SELECT PointID FROM SAMPLE"), "XX9");
    db_.Run("DELETE * FROM SAMPLE");
    EXPECT_EQ(db_.Plain("SELECT Count(*) FROM SAMPLE"), "0");
}

TEST_F(JetSql, SelectIntoMakesTheTableThenFillsIt) {
    const JetTranslation translation =
        db_.Translate("SELECT [PointID],[Depth] INTO [\x7fSAMPLELINK] FROM [SAMPLE]");
    EXPECT_EQ(translation.kind, JetStatementKind::SchemaChange);
    ASSERT_EQ(translation.schema.size(), 1u);
    const JetSchemaOperation& create = translation.schema[0];
    EXPECT_EQ(create.kind, Kind::CreateTable);
    EXPECT_EQ(create.tableInfo.name, "\x7fSAMPLELINK");
    ASSERT_EQ(create.tableInfo.fields.size(), 2u);
    EXPECT_EQ(create.tableInfo.fields[0].type, dao::dbText);
    EXPECT_EQ(create.tableInfo.fields[0].size, 20);
    EXPECT_EQ(create.tableInfo.fields[1].type, dao::dbDouble);
    EXPECT_EQ(create.tableInfo.fields[1].ordinalPosition, 1);
    db_.Run(translation);
    EXPECT_EQ(db_.Run("SELECT Count(*) FROM [\x7fSAMPLELINK] WHERE [PointID] = 'bh1'"), "2");
}

// ---- Recordset filters and sorts ----

TEST_F(JetSql, RecordsetFilterAndSortApplyToTheRows) {
    const JetSqlTranslator translator(db_);
    // Text sorts as text, ignoring case: "9" > "1E5" > "10" > "-5".
    EXPECT_EQ(db_.Run(translator.TranslateRows(
                  "PROJECT", true, "IsNumeric([Code]) AND [VornRecID] < 3", "[Code] DESC")),
              "1|Alpha|2004-05-06 10:00:00|15000|1|9;2|beta|1750-01-01 00:00:00|NULL|0|10");
    EXPECT_EQ(db_.Run(translator.TranslateRows("SELECT [VornRecID] FROM PROJECT", false,
                                               "IsNumeric([Code])", "[Code] DESC")),
              "1;5;2;3");
    // The test of a key column for values that are all dates written with "/".
    EXPECT_EQ(db_.Run(translator.TranslateRows("SELECT [K] FROM [KEYS]", false,
                                               "Not (IsDate([K]) AND InStr([K],'/'))", "")),
              "10;9;-2;abc;2.5");
    EXPECT_EQ(db_.Run(translator.TranslateRows("SELECT [Depth] * 2 AS D2 FROM SAMPLE", false,
                                               "D2 > 5", "D2")),
              "6.0");
    EXPECT_EQ(db_.Run(translator.TranslateRows(
                  "SELECT [PointID], Count(*) AS N FROM SAMPLE GROUP BY [PointID]", false,
                  "N > 1 OR PointID = 'xx9'", "PointID DESC")),
              "XX9|1;BH1|2");
}

TEST_F(JetSql, RecordsetOfATableKeepsItsRowKeyUnderAFilter) {
    JetTranslateOptions options;
    options.withRowKey = true;
    const JetTranslation translation =
        JetSqlTranslator(db_).TranslateRows("SAMPLE", true, "[Depth] > 2", "", options);
    EXPECT_EQ(translation.updatableTable, "SAMPLE");
    EXPECT_EQ(translation.rowKeyColumn, std::optional<std::size_t>(4));
    EXPECT_EQ(db_.Run(translation), "BH1|3.0|S2|NULL|2");
}

// ---- Schema changes ----

struct TypeCase {
    const char* type;
    std::int16_t daoType;
    std::int32_t size;
    std::int32_t attributes;
};

class JetFieldTypes : public JetSql, public ::testing::WithParamInterface<TypeCase> {};

TEST_P(JetFieldTypes, MakeTheDaoField) {
    const JetTranslation translation =
        db_.Translate(std::string("CREATE TABLE [New] ([F] ") + GetParam().type + ")");
    ASSERT_EQ(translation.schema.size(), 1u);
    const FieldInfo& field = translation.schema[0].tableInfo.fields.at(0);
    EXPECT_EQ(field.type, GetParam().daoType) << GetParam().type;
    EXPECT_EQ(field.size, GetParam().size) << GetParam().type;
    EXPECT_EQ(field.attributes, GetParam().attributes) << GetParam().type;
}

INSTANTIATE_TEST_SUITE_P(
    Types, JetFieldTypes,
    ::testing::Values(TypeCase{"TEXT(50)", dao::dbText, 50, dao::dbVariableField},
                      TypeCase{"TEXT", dao::dbText, 255, dao::dbVariableField},
                      TypeCase{"TEXT (255)", dao::dbText, 255, dao::dbVariableField},
                      TypeCase{"VARCHAR(10)", dao::dbText, 10, dao::dbVariableField},
                      TypeCase{"MEMO", dao::dbMemo, 0, dao::dbVariableField},
                      TypeCase{"LONG", dao::dbLong, 4, dao::dbFixedField},
                      TypeCase{"INTEGER", dao::dbLong, 4, dao::dbFixedField},
                      TypeCase{"SHORT", dao::dbInteger, 2, dao::dbFixedField},
                      TypeCase{"SMALLINT", dao::dbInteger, 2, dao::dbFixedField},
                      TypeCase{"BYTE", dao::dbByte, 1, dao::dbFixedField},
                      TypeCase{"TINYINT", dao::dbByte, 1, dao::dbFixedField},
                      TypeCase{"SINGLE", dao::dbSingle, 4, dao::dbFixedField},
                      TypeCase{"DOUBLE", dao::dbDouble, 8, dao::dbFixedField},
                      TypeCase{"FLOAT", dao::dbDouble, 8, dao::dbFixedField},
                      TypeCase{"CURRENCY", dao::dbCurrency, 8, dao::dbFixedField},
                      TypeCase{"DATETIME", dao::dbDate, 8, dao::dbFixedField},
                      TypeCase{"BIT", dao::dbBoolean, 1, dao::dbFixedField},
                      TypeCase{"YESNO", dao::dbBoolean, 1, dao::dbFixedField},
                      TypeCase{"COUNTER", dao::dbLong, 4, dao::dbFixedField | dao::dbAutoIncrField},
                      TypeCase{"AUTOINCREMENT(1, 1)", dao::dbLong, 4,
                               dao::dbFixedField | dao::dbAutoIncrField},
                      TypeCase{"LONGBINARY", dao::dbLongBinary, 0, dao::dbVariableField},
                      TypeCase{"GUID", dao::dbGUID, 16, dao::dbFixedField},
                      TypeCase{"DECIMAL(10, 2)", dao::dbDecimal, 16, dao::dbFixedField}));

TEST_F(JetSql, CreateTableMakesFieldsIndexesAndRelations) {
    const JetTranslation translation = db_.Translate(
        "CREATE TABLE [Log] (ID COUNTER CONSTRAINT PK PRIMARY KEY, Code TEXT(10) NOT NULL, Name "
        "TEXT(20) UNIQUE, Amount DECIMAL(10,2), PointID TEXT(20) REFERENCES POINT (PointID), "
        "CONSTRAINT UX UNIQUE (Code DESC, Name), CONSTRAINT FK FOREIGN KEY (ID) REFERENCES PROJECT "
        "(VornRecID) ON UPDATE CASCADE ON DELETE CASCADE)");
    ASSERT_EQ(translation.schema.size(), 3u);
    const TableInfo& table = translation.schema[0].tableInfo;
    ASSERT_EQ(table.fields.size(), 5u);
    EXPECT_TRUE(table.fields[1].required);
    EXPECT_FALSE(table.fields[2].required);
    EXPECT_EQ(table.fields[3].precision, 10);
    EXPECT_EQ(table.fields[3].scale, 2);
    ASSERT_EQ(table.indexes.size(), 3u);
    EXPECT_EQ(table.indexes[0].name, "PK");
    EXPECT_TRUE(table.indexes[0].primary);
    EXPECT_EQ(table.indexes[1].name, "Index_Name");
    EXPECT_TRUE(table.indexes[1].unique);
    EXPECT_FALSE(table.indexes[1].primary);
    EXPECT_EQ(table.indexes[2].name, "UX");
    ASSERT_EQ(table.indexes[2].fields.size(), 2u);
    EXPECT_EQ(table.indexes[2].fields[0].attributes, dao::dbDescending);
    EXPECT_EQ(table.indexes[2].fields[1].attributes, 0);
    const RelationInfo& toPoint = translation.schema[1].relation;
    EXPECT_EQ(translation.schema[1].kind, Kind::CreateRelation);
    EXPECT_EQ(toPoint.table, "POINT");
    EXPECT_EQ(toPoint.foreignTable, "Log");
    EXPECT_EQ(toPoint.fields.at(0).name, "PointID");
    const RelationInfo& toProject = translation.schema[2].relation;
    EXPECT_EQ(toProject.name, "FK");
    EXPECT_EQ(toProject.fields.at(0).name, "VornRecID");
    EXPECT_EQ(toProject.fields.at(0).foreignName, "ID");
    EXPECT_EQ(toProject.attributes, dao::dbRelationUpdateCascade | dao::dbRelationDeleteCascade);
}

TEST_F(JetSql, AlterTableChangesAddsAndDropsFields) {
    JetTranslation alter = db_.Translate("ALTER TABLE [SAMPLE] ALTER COLUMN [depth] TEXT (255)");
    ASSERT_EQ(alter.schema.size(), 1u);
    EXPECT_EQ(alter.schema[0].kind, Kind::AlterField);
    EXPECT_EQ(alter.schema[0].name, "Depth");
    EXPECT_EQ(alter.schema[0].field.name, "Depth");
    EXPECT_EQ(alter.schema[0].field.type, dao::dbText);
    EXPECT_EQ(alter.schema[0].field.size, 255);
    EXPECT_EQ(alter.schema[0].field.ordinalPosition, 1);

    const JetTranslation drop = db_.Translate("ALTER TABLE [SAMPLE] DROP COLUMN [Ref]");
    ASSERT_EQ(drop.schema.size(), 1u);
    EXPECT_EQ(drop.schema[0].kind, Kind::DropField);
    EXPECT_EQ(drop.schema[0].table, "SAMPLE");
    EXPECT_EQ(drop.schema[0].name, "Ref");

    const JetTranslation add =
        db_.Translate("ALTER TABLE SAMPLE ADD COLUMN Notes MEMO, Flag BIT NOT NULL");
    ASSERT_EQ(add.schema.size(), 2u);
    EXPECT_EQ(add.schema[0].kind, Kind::AddField);
    EXPECT_EQ(add.schema[0].field.ordinalPosition, 4);
    EXPECT_EQ(add.schema[1].field.name, "Flag");
    EXPECT_TRUE(add.schema[1].field.required);

    const JetTranslation key =
        db_.Translate("ALTER TABLE SAMPLE ADD CONSTRAINT PK_S PRIMARY KEY (PointID, Depth)");
    ASSERT_EQ(key.schema.size(), 1u);
    EXPECT_EQ(key.schema[0].kind, Kind::CreateIndex);
    EXPECT_TRUE(key.schema[0].index.primary);
    EXPECT_EQ(key.schema[0].index.fields.size(), 2u);

    const JetTranslation relation = db_.Translate(
        "ALTER TABLE SAMPLE ADD CONSTRAINT FK_S FOREIGN KEY (PointID) REFERENCES POINT (PointID) "
        "ON DELETE CASCADE");
    ASSERT_EQ(relation.schema.size(), 1u);
    EXPECT_EQ(relation.schema[0].relation.attributes, dao::dbRelationDeleteCascade);
}

TEST_F(JetSql, IndexesAreMadeAndDropped) {
    const JetTranslation create =
        db_.Translate("CREATE UNIQUE INDEX VORNINDEX ON SAMPLE (PointID, Depth DESC) WITH PRIMARY");
    ASSERT_EQ(create.schema.size(), 1u);
    const IndexInfo& index = create.schema[0].index;
    EXPECT_EQ(create.schema[0].table, "SAMPLE");
    EXPECT_TRUE(index.primary && index.unique && index.required);
    EXPECT_EQ(index.fields.at(1).attributes, dao::dbDescending);
    const JetTranslation ignore =
        db_.Translate("CREATE INDEX Refs ON SAMPLE (Ref) WITH IGNORE NULL");
    EXPECT_TRUE(ignore.schema.at(0).index.ignoreNulls);
    EXPECT_FALSE(ignore.schema.at(0).index.unique);

    IndexInfo present;
    present.name = "Refs";
    present.fields.push_back({"Ref", 0});
    db_.Table("SAMPLE").indexes.push_back(present);
    const JetTranslation drop = db_.Translate("DROP INDEX refs ON SAMPLE");
    EXPECT_EQ(drop.schema.at(0).kind, Kind::DropIndex);
    EXPECT_EQ(drop.schema.at(0).name, "Refs");
    EXPECT_EQ(db_.ErrorOf("CREATE INDEX Refs ON SAMPLE (Depth)"), 3375);
    EXPECT_EQ(db_.Translate("ALTER TABLE SAMPLE DROP CONSTRAINT Refs").schema.at(0).kind,
              Kind::DropIndex);
    EXPECT_EQ(db_.Translate("ALTER TABLE SAMPLE DROP CONSTRAINT FK_S").schema.at(0).kind,
              Kind::DropRelation);
}

TEST_F(JetSql, DropTableNamesTheTableAsTheCatalogHasIt) {
    const JetTranslation drop = db_.Translate("DROP TABLE [sample]");
    ASSERT_EQ(drop.schema.size(), 1u);
    EXPECT_EQ(drop.schema[0].kind, Kind::DropTable);
    EXPECT_EQ(drop.schema[0].table, "SAMPLE");
    EXPECT_TRUE(drop.sql.empty());
}

// ---- Refusals ----

struct ErrorCase {
    const char* jet;
    std::int32_t number;
};

class JetRefusals : public JetSql, public ::testing::WithParamInterface<ErrorCase> {};

TEST_P(JetRefusals, FailWithJetsNumberAndQuoteTheStatement) {
    try {
        db_.Translate(GetParam().jet);
        FAIL() << "translated: " << GetParam().jet;
    } catch (const VornError& error) {
        EXPECT_EQ(error.Number(), GetParam().number)
            << GetParam().jet << ": " << error.Description();
        EXPECT_NE(error.Description().find(GetParam().jet), std::string::npos)
            << error.Description();
    }
}

INSTANTIATE_TEST_SUITE_P(
    Statements, JetRefusals,
    ::testing::Values(
        ErrorCase{"SELEC * FROM POINT", errnum::kJetInvalidSqlStatement},
        ErrorCase{"", errnum::kJetInvalidSqlStatement},
        ErrorCase{"SELECT * FROM", errnum::kJetSyntaxErrorInFrom},
        ErrorCase{"SELECT * FROM POINT INNER JOIN SAMPLE", errnum::kJetSyntaxErrorInFrom},
        ErrorCase{"SELECT * FROM NOPE", errnum::kJetInputTableNotFound},
        ErrorCase{"SELECT Nope FROM POINT", errnum::kJetTableNotFound},
        ErrorCase{"SELECT POINT.Nope FROM POINT", errnum::kJetTableNotFound},
        ErrorCase{"SELECT [PointID] FROM POINT WHERE Nope.PointID = 1", errnum::kJetTableNotFound},
        ErrorCase{"SELECT VornRecID FROM PROJECT, POINT", 3079},
        ErrorCase{"SELECT Frobnicate(1) FROM POINT", 3085},
        ErrorCase{"SELECT Left('a') FROM POINT", errnum::kJetSyntaxErrorInExpression},
        ErrorCase{"SELECT (1 + FROM POINT", errnum::kJetSyntaxErrorInExpression},
        ErrorCase{"SELECT * FROM POINT WHERE", errnum::kJetSyntaxErrorInExpression},
        ErrorCase{"SELECT * FROM POINT WHERE PointID LIKE '[a'",
                  errnum::kJetSyntaxErrorInExpression},
        ErrorCase{"SELECT * FROM POINT WHERE #13/45/2004# > 1",
                  errnum::kJetSyntaxErrorInExpression},
        ErrorCase{"SELECT 'unterminated FROM POINT", errnum::kJetSyntaxErrorInExpression},
        ErrorCase{"SELECT * FROM POINT p q", errnum::kJetCharactersAfterEnd},
        ErrorCase{"SELECT * FROM PROJECT WHERE [Started] = 'not a date'", 3464},
        ErrorCase{"SELECT TOP 10 PERCENT * FROM POINT", errnum::kJetOperationNotSupported},
        // A "]" in a name is not escaped by the builders: Jet reads the name as ending there.
        ErrorCase{"select max(len([Na]me])) FROM [PROJECT]", errnum::kJetSyntaxErrorInExpression},
        ErrorCase{"SELECT TOP 99999999999999999999 * FROM POINT",
                  errnum::kJetSyntaxErrorInExpression},
        ErrorCase{"SELECT &HFFFFFFFFFFFFFFFFFF", errnum::kJetSyntaxErrorInExpression},
        ErrorCase{"INSERT INTO POINT (Elevation) VALUES (1e999)",
                  errnum::kJetSyntaxErrorInExpression},
        ErrorCase{"PARAMETERS p Text; SELECT * FROM POINT", errnum::kJetOperationNotSupported},
        ErrorCase{"INSERT INTO POINT (Nope) VALUES (1)", errnum::kJetUnknownFieldInInsert},
        ErrorCase{"INSERT INTO POINT (PointID) VALUES (1, 2)", 3346},
        ErrorCase{"INSERT INTO POINT (VornRecID) VALUES ('abc')", 3464},
        ErrorCase{"INSERT POINT VALUES (1)", errnum::kJetSyntaxErrorInInsert},
        ErrorCase{"INSERT INTO NOPE VALUES (1)", errnum::kJetInputTableNotFound},
        ErrorCase{"UPDATE POINT Elevation = 1", 3144},
        ErrorCase{"UPDATE POINT SET Nope = 1", errnum::kJetTableNotFound},
        ErrorCase{"DELETE FROM POINT INNER JOIN SAMPLE ON POINT.PointID = SAMPLE.PointID", 3128},
        ErrorCase{"CREATE TABLE POINT (a LONG)", errnum::kJetTableExists},
        ErrorCase{"CREATE TABLE N (a LONG, A TEXT)", errnum::kJetFieldDefinedTwice},
        ErrorCase{"CREATE TABLE N (a WIDGET)", errnum::kJetInvalidFieldType},
        ErrorCase{"CREATE TABLE N a LONG", 3290}, ErrorCase{"CREATE TABLE N (a TEXT(300))", 3290},
        ErrorCase{"CREATE VIEW V AS SELECT * FROM POINT", 3290},
        ErrorCase{"ALTER TABLE POINT ADD COLUMN PointID TEXT", errnum::kJetFieldExists},
        ErrorCase{"ALTER TABLE POINT DROP COLUMN Nope", errnum::kJetItemNotFound},
        ErrorCase{"ALTER TABLE POINT ALTER COLUMN Nope LONG", errnum::kJetItemNotFound},
        ErrorCase{"ALTER TABLE POINT FROB x", errnum::kJetSyntaxErrorInAlterTable},
        ErrorCase{"ALTER TABLE NOPE DROP COLUMN x", errnum::kJetInputTableNotFound},
        ErrorCase{"DROP TABLE Nope", errnum::kJetTableDoesNotExist}, ErrorCase{"DROP VIEW v", 3295},
        ErrorCase{"DROP INDEX Nope ON POINT", errnum::kJetItemNotFound},
        ErrorCase{"CREATE INDEX ON POINT (PointID)", 3291},
        ErrorCase{"CREATE INDEX ix ON POINT (Nope)", errnum::kJetItemNotFound}));

}  // namespace
}  // namespace vorn
