#include "dbcontract/sqlite/SqliteFunctions.h"
#include "dbcontract/sqlite/SqliteCollations.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <string>

#include "runtime/Conversions.h"
#include "runtime/Format.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

// An in-memory database with the functions and, as every engine
// connection has them, the collations registered.
class FunctionDb {
  public:
    FunctionDb() {
        sqlite3_open(":memory:", &db_);
        SqliteCollations::Register(db_);
        SqliteFunctions::Register(db_);
    }
    ~FunctionDb() { sqlite3_close(db_); }
    FunctionDb(const FunctionDb&) = delete;
    FunctionDb& operator=(const FunctionDb&) = delete;

    sqlite3* Handle() const { return db_; }

    // The first column of the first row as SQLite prints it: "NULL" for
    // Null, "error: <message>" for a failure.
    std::string Eval(const std::string& sql) const {
        sqlite3_stmt* statement = nullptr;
        if (sqlite3_prepare_v2(db_, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
            return std::string("error: ") + sqlite3_errmsg(db_);
        }
        std::string result = "no row";
        const int rc = sqlite3_step(statement);
        if (rc == SQLITE_ROW) {
            const unsigned char* text = sqlite3_column_text(statement, 0);
            result = text == nullptr ? "NULL" : reinterpret_cast<const char*>(text);
        } else if (rc != SQLITE_DONE) {
            result = std::string("error: ") + sqlite3_errmsg(db_);
        }
        sqlite3_finalize(statement);
        return result;
    }

    void Exec(const std::string& sql) const {
        ASSERT_EQ(sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sql;
    }

  private:
    sqlite3* db_ = nullptr;
};

struct EvalCase {
    const char* expression;
    const char* expected;
};

class Functions : public ::testing::TestWithParam<EvalCase> {};

TEST_P(Functions, AnswerAsTheRuntimeDoes) {
    const FunctionDb db;
    EXPECT_EQ(db.Eval(std::string("SELECT ") + GetParam().expression), GetParam().expected)
        << GetParam().expression;
}

INSTANTIATE_TEST_SUITE_P(
    Text, Functions,
    ::testing::Values(
        EvalCase{"vorn_concat('a', NULL)", "a"}, EvalCase{"vorn_concat(NULL, NULL)", "NULL"},
        EvalCase{"vorn_concat(1.0, 'x')", "1x"}, EvalCase{"vorn_concat(2.5, 3)", "2.53"},
        EvalCase{"vorn_left('abc', 2)", "ab"}, EvalCase{"vorn_left(NULL, 2)", "NULL"},
        EvalCase{"vorn_right('Größe', 3)", "öße"}, EvalCase{"vorn_mid('abcdef', 2, 3)", "bcd"},
        EvalCase{"vorn_mid('abcdef', 4)", "def"}, EvalCase{"vorn_len('Größe')", "5"},
        EvalCase{"vorn_len(12.5)", "4"}, EvalCase{"vorn_len(NULL)", "NULL"},
        EvalCase{"vorn_trim('  a b  ')", "a b"}, EvalCase{"vorn_ltrim('  a ')", "a "},
        EvalCase{"vorn_rtrim('  a ')", "  a"}, EvalCase{"vorn_ucase('straße é')", "STRAßE É"},
        EvalCase{"vorn_lcase('ABC')", "abc"}, EvalCase{"vorn_instr('abcABC', 'C')", "3"},
        EvalCase{"vorn_instr(4, 'abcABC', 'c')", "6"},
        EvalCase{"vorn_instr(1, 'abcABC', 'c', 0)", "3"},
        EvalCase{"vorn_instr(1, 'abcABC', 'C', 0)", "6"},
        EvalCase{"vorn_instr(9, 'abc', 'c')", "0"}, EvalCase{"vorn_instr('a', NULL)", "NULL"},
        EvalCase{"vorn_cstr(1.0)", "1"}, EvalCase{"vorn_cstr(0.1 + 0.2)", "0.3"},
        EvalCase{"vorn_chr(65)", "A"}, EvalCase{"vorn_asc('a')", "97"},
        EvalCase{"vorn_space(3) || '|'", "   |"}, EvalCase{"vorn_str(12)", " 12"},
        EvalCase{"vorn_nz(NULL, 5)", "5"}, EvalCase{"vorn_nz(NULL)", ""},
        EvalCase{"vorn_nz(3, 5)", "3"}));

INSTANTIATE_TEST_SUITE_P(
    Numbers, Functions,
    ::testing::Values(EvalCase{"vorn_val(' 1 2 3abc')", "123.0"},
                      EvalCase{"vorn_val('&HFF')", "255.0"}, EvalCase{"vorn_val('abc')", "0.0"},
                      EvalCase{"vorn_val(NULL)", "NULL"}, EvalCase{"vorn_isnumeric('1E5')", "1"},
                      EvalCase{"vorn_isnumeric('abc')", "0"}, EvalCase{"vorn_isnumeric(NULL)", "0"},
                      EvalCase{"vorn_isnumeric(12)", "1"}, EvalCase{"vorn_clng(2.5)", "2"},
                      EvalCase{"vorn_clng(3.5)", "4"}, EvalCase{"vorn_cint('12')", "12"},
                      EvalCase{"vorn_clng(NULL)", "NULL"}, EvalCase{"vorn_cdbl('1.5')", "1.5"},
                      EvalCase{"vorn_cbool('True')", "1"}, EvalCase{"vorn_int(-2.5)", "-3.0"},
                      EvalCase{"vorn_fix(-2.5)", "-2.0"}, EvalCase{"vorn_int(7)", "7"},
                      EvalCase{"vorn_abs(-3)", "3"}, EvalCase{"vorn_abs(NULL)", "NULL"},
                      EvalCase{"vorn_sgn(-5)", "-1"}, EvalCase{"vorn_round(2.5)", "2.0"},
                      EvalCase{"vorn_round(1.2345, 2)", "1.23"},
                      EvalCase{"vorn_add('a', 'b')", "ab"}, EvalCase{"vorn_add(1, 2)", "3"},
                      EvalCase{"vorn_add('1', 2)", "3.0"}, EvalCase{"vorn_add(NULL, 1)", "NULL"},
                      EvalCase{"vorn_intdiv(7, 2)", "3"}, EvalCase{"vorn_intdiv(7, 0)", "NULL"},
                      EvalCase{"vorn_mod(-7, 3)", "-1"}, EvalCase{"vorn_pow(2, 10)", "1024.0"}));

INSTANTIATE_TEST_SUITE_P(
    Dates, Functions,
    ::testing::Values(
        EvalCase{"vorn_format(vorn_asdate('2004-05-06 10:00:00'), 'yyyymmddhhnn')", "200405061000"},
        // Unmarked, the stored text is only text: CStr gives it back as it is.
        EvalCase{"vorn_cstr('2004-05-06 00:00:00')", "2004-05-06 00:00:00"},
        EvalCase{"vorn_cstr(vorn_asdate('2004-05-06 00:00:00'))", "5/6/2004"},
        EvalCase{"vorn_cstr(vorn_asdate('2004-05-06 13:30:00'))", "5/6/2004 1:30:00 PM"},
        EvalCase{"vorn_concat('d=', vorn_asdate('1899-12-30 06:00:00'))", "d=6:00:00 AM"},
        EvalCase{"vorn_cdate('5/6/2004')", "2004-05-06 00:00:00"},
        EvalCase{"vorn_todate(38113.5)", "2004-05-06 12:00:00"},
        EvalCase{"vorn_serial('2004-05-06 12:00:00')", "38113.5"},
        EvalCase{"vorn_cdate(vorn_serial('2004-05-06 00:00:00') + 1)", "2004-05-07 00:00:00"},
        EvalCase{"vorn_dateserial(2024, 14, 0)", "2025-01-31 00:00:00"},
        EvalCase{"vorn_year('2004-05-06 10:20:30')", "2004"},
        EvalCase{"vorn_month('2004-05-06 10:20:30')", "5"},
        EvalCase{"vorn_day('2004-05-06 10:20:30')", "6"},
        EvalCase{"vorn_minute('2004-05-06 10:20:30')", "20"},
        EvalCase{"vorn_weekday('2004-05-06')", "5"},
        EvalCase{"vorn_isdate(vorn_asdate('2004-05-06 10:00:00'))", "1"},
        EvalCase{"vorn_isdate('5/6/2004')", "1"}, EvalCase{"vorn_isdate('abc')", "0"},
        EvalCase{"vorn_isdate(12)", "0"}, EvalCase{"vorn_isdate(vorn_now())", "1"},
        EvalCase{"substr(vorn_date(), 11)", " 00:00:00"},
        EvalCase{"vorn_asdate('not a date')", "not a date"}));

INSTANTIATE_TEST_SUITE_P(
    Stored, Functions,
    ::testing::Values(EvalCase{"vorn_store('5/6/2004', 8)", "2004-05-06 00:00:00"},
                      EvalCase{"vorn_store(38113.25, 8)", "2004-05-06 06:00:00"},
                      EvalCase{"vorn_store('1.5', 5)", "15000"}, EvalCase{"vorn_store(-1, 1)", "1"},
                      EvalCase{"vorn_store(0, 1)", "0"}, EvalCase{"vorn_store('True', 1)", "1"},
                      EvalCase{"vorn_store(2.5, 4)", "2"},
                      EvalCase{"vorn_store('12.50', 20)", "12.5"},
                      EvalCase{"vorn_store(12, 10)", "12"}, EvalCase{"vorn_store(NULL, 4)", "NULL"},
                      EvalCase{"vorn_store('1.235', 20, 5, 2)", "1.24"},
                      EvalCase{"vorn_store(x'01ab', 11) = x'01ab'", "1"},
                      EvalCase{"typeof(vorn_store('7', 7))", "real"}));

TEST(SqliteFunctions, RuntimeFailuresFailTheStatementWithTheirNumber) {
    const FunctionDb db;
    EXPECT_EQ(db.Eval("SELECT vorn_clng('x')"), "error: Type mismatch (13)");
    EXPECT_EQ(db.Eval("SELECT vorn_cint(40000)"), "error: Overflow (6)");
    // Storing goes by the engine's rules, with the data engine's numbers.
    EXPECT_EQ(SqliteFunctions::ErrorNumberIn(db.Eval("SELECT vorn_store(40000, 3)")), 3349);
    EXPECT_EQ(db.Eval("SELECT vorn_left('abc', -1)"),
              "error: Invalid procedure call or argument (5)");
    EXPECT_EQ(db.Eval("SELECT vorn_like('a', '[a')"), "error: Invalid pattern string '[a' (3075)");
    EXPECT_EQ(SqliteFunctions::ErrorNumberIn("Type mismatch (13)"), 13);
    EXPECT_EQ(SqliteFunctions::ErrorNumberIn("Overflow (6)"), 6);
    EXPECT_EQ(SqliteFunctions::ErrorNumberIn("no such column: x"), std::nullopt);
    EXPECT_EQ(SqliteFunctions::ErrorNumberIn("a (b)"), std::nullopt);
}

// The SQL function and the C++ function give one answer.
TEST(SqliteFunctions, FormatInSqlIsFormatInCpp) {
    const FunctionDb db;
    struct Case {
        const char* sqlValue;
        Variant value;
        const char* format;
    };
    const Case cases[] = {
        {"12", Variant(12), "00000000000.00000"},
        {"'12'", Variant("12"), "00000000000.00000"},
        {"-0.2", Variant(-0.2), " 0000000000.00000"},
        {"1234.5", Variant(1234.5), "#,##0.00"},
        {"0.125", Variant(0.125), "0.00"},
        {"'abc'", Variant("abc"), ">"},
        {"vorn_asdate('2004-05-06 10:00:00')", Variant::FromDate(38113 + 10.0 / 24), "Long Date"},
        {"NULL", Variant::Null(), "0.00"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(
            db.Eval(std::string("SELECT vorn_format(") + c.sqlValue + ", '" + c.format + "')"),
            Format(c.value, c.format))
            << c.sqlValue << " with " << c.format;
    }
}

TEST(SqliteFunctions, FirstAndLastTakeTheFirstAndLastRowOfAGroup) {
    const FunctionDb db;
    db.Exec("CREATE TABLE t (g INTEGER, v TEXT)");
    db.Exec("INSERT INTO t VALUES (1, 'a'), (1, NULL), (1, 'c'), (2, 'x')");
    EXPECT_EQ(db.Eval("SELECT vorn_first(v) FROM t WHERE g = 1"), "a");
    EXPECT_EQ(db.Eval("SELECT vorn_last(v) FROM t WHERE g = 1"), "c");
    EXPECT_EQ(db.Eval("SELECT vorn_first(v) FROM t WHERE g = 3"), "NULL");
}

TEST(SqliteFunctions, CollationIgnoresCaseOfLatinLetters) {
    const FunctionDb db;
    EXPECT_EQ(db.Eval("SELECT 'abc' = 'ABC' COLLATE VORNNOCASE"), "1");
    EXPECT_EQ(db.Eval("SELECT 'Größe' = 'GRÖßE' COLLATE VORNNOCASE"), "1");
    EXPECT_EQ(db.Eval("SELECT 'b' > 'A' COLLATE VORNNOCASE"), "1");
    EXPECT_EQ(db.Eval("SELECT 'b' > 'A'"), "1");
    EXPECT_EQ(db.Eval("SELECT 'B' > 'a' COLLATE VORNNOCASE"), "1");
    EXPECT_EQ(db.Eval("SELECT 'B' > 'a'"), "0");
}

struct LikeCase {
    const char* text;
    const char* pattern;
    bool matches;
};

class JetLike : public ::testing::TestWithParam<LikeCase> {};

TEST_P(JetLike, MatchesAsJetDoes) {
    EXPECT_EQ(SqliteFunctions::LikeMatches(GetParam().text, GetParam().pattern), GetParam().matches)
        << GetParam().text << " LIKE " << GetParam().pattern;
}

INSTANTIATE_TEST_SUITE_P(
    Patterns, JetLike,
    ::testing::Values(
        LikeCase{"abc", "A*", true}, LikeCase{"xabc", "A*", false}, LikeCase{"abc", "*C", true},
        LikeCase{"abc", "a?c", true}, LikeCase{"ac", "a?c", false}, LikeCase{"a1c", "a#c", true},
        LikeCase{"abc", "a#c", false}, LikeCase{"1E5", "*[de]*", true},
        LikeCase{"1d5", "*[de]*", true}, LikeCase{"125", "*[de]*", false},
        LikeCase{"b", "[a-c]", true}, LikeCase{"d", "[a-c]", false}, LikeCase{"x", "[!x]", false},
        LikeCase{"y", "[!x]", true}, LikeCase{"a*b", "a[*]b", true},
        LikeCase{"axb", "a[*]b", false}, LikeCase{"a-b", "a[-]b", true}, LikeCase{"", "*", true},
        LikeCase{"", "?", false}, LikeCase{"ab", "a[]b", true}, LikeCase{"ÄBC", "ä*", true},
        LikeCase{"mississippi", "*ss*ss*i", true}, LikeCase{"50%", "50%", true},
        LikeCase{"a_c", "a_c", true}, LikeCase{"abc", "a_c", false}));

TEST(SqliteFunctions, LikeNeedsClosedBrackets) {
    EXPECT_TRUE(SqliteFunctions::IsValidLikePattern("*[de]*"));
    EXPECT_FALSE(SqliteFunctions::IsValidLikePattern("a[bc"));
    const FunctionDb db;
    EXPECT_EQ(db.Eval("SELECT vorn_like('abc', 'A*')"), "1");
    EXPECT_EQ(db.Eval("SELECT vorn_like(NULL, 'A*')"), "NULL");
    EXPECT_EQ(db.Eval("SELECT vorn_like(125, '1#5')"), "1");
}

}  // namespace
}  // namespace vorn
