#include "dbcontract/mariadb/MariaDbSqlText.h"

#include <gtest/gtest.h>

#include "runtime/VornError.h"

namespace vorn {
namespace {

struct KindCase {
    const char* sql;
    MariaDbStatementKind kind;
    const char* subject;
};

class MariaDbSqlTextKindTest : public ::testing::TestWithParam<KindCase> {};

TEST_P(MariaDbSqlTextKindTest, ClassifiesAndFindsTheSubjectTable) {
    const MariaDbSqlText text(GetParam().sql);
    EXPECT_EQ(text.Kind(), GetParam().kind);
    EXPECT_EQ(text.SubjectTable(), GetParam().subject);
}

INSTANTIATE_TEST_SUITE_P(
    Statements, MariaDbSqlTextKindTest,
    ::testing::Values(KindCase{"CREATE TABLE Points (ID INT)", MariaDbStatementKind::CreateTable, "Points"},
                      KindCase{"create table if not exists `Odd``Name` (a int)", MariaDbStatementKind::CreateTable,
                               "Odd`Name"},
                      KindCase{"CREATE TEMPORARY TABLE t (a int)", MariaDbStatementKind::Other, ""},
                      KindCase{"CREATE UNIQUE INDEX ix ON db.Samples (a DESC)", MariaDbStatementKind::CreateIndex,
                               "Samples"},
                      KindCase{"ALTER TABLE \"Child\" ADD CONSTRAINT fk FOREIGN KEY (p) REFERENCES Parent (id)",
                               MariaDbStatementKind::AlterTable, "Child"},
                      KindCase{"CREATE OR REPLACE VIEW v AS SELECT 1", MariaDbStatementKind::CreateView, "v"},
                      KindCase{"INSERT IGNORE INTO Log (a) VALUES (1)", MariaDbStatementKind::Insert, "Log"},
                      KindCase{"DROP TABLE Points", MariaDbStatementKind::OtherDdl, ""},
                      KindCase{"UPDATE Points SET a = 1", MariaDbStatementKind::Other, ""},
                      KindCase{"SELECT 'CREATE TABLE x'", MariaDbStatementKind::Other, ""}));

TEST(MariaDbSqlTextTest, InsertRowsReadLiteralsMarkersNullAndDefault) {
    const MariaDbSqlText text("INSERT INTO Log (ID, Name, Note, At) VALUES (-5, 'it''s', NULL, DEFAULT), "
                              "(?, ?, Concat('a', 'b'), ?)");
    const auto shape = text.Insert({Variant(7), Variant("x"), Variant::Null()});
    ASSERT_TRUE(shape.has_value());
    EXPECT_EQ(shape->table, "Log");
    EXPECT_EQ(shape->columns, (std::vector<std::string>{"ID", "Name", "Note", "At"}));
    ASSERT_EQ(shape->rows.size(), 2u);
    using Form = MariaDbInsertValue::Form;
    EXPECT_EQ(shape->rows[0][0].form, Form::Given);
    EXPECT_EQ(shape->rows[0][0].value, Variant(-5));
    EXPECT_EQ(shape->rows[0][1].value, Variant("it's"));
    EXPECT_EQ(shape->rows[0][2].form, Form::Null);
    EXPECT_EQ(shape->rows[0][3].form, Form::Default);
    EXPECT_EQ(shape->rows[1][0].value, Variant(7));
    EXPECT_EQ(shape->rows[1][1].value, Variant("x"));
    EXPECT_EQ(shape->rows[1][2].form, Form::Expression);
    EXPECT_EQ(shape->rows[1][3].form, Form::Null);
}

TEST(MariaDbSqlTextTest, InsertFromSelectHasNoRows) {
    const auto shape = MariaDbSqlText("INSERT INTO t (a) SELECT a FROM u").Insert({});
    ASSERT_TRUE(shape.has_value());
    EXPECT_EQ(shape->columns, std::vector<std::string>{"a"});
    EXPECT_TRUE(shape->rows.empty());
}

TEST(MariaDbSqlTextTest, NamedMarkersBecomePositionalInOrderOfUse) {
    std::vector<Variant> ordered;
    const std::string sql = MariaDbSqlText("UPDATE t SET a = @param1, b = '@param0' WHERE c = @PARAM0")
                                .WithPositionalMarkers({{"param0", Variant(0)}, {"param1", Variant(1)}}, ordered);
    EXPECT_EQ(sql, "UPDATE t SET a = ?, b = '@param0' WHERE c = ?");
    EXPECT_EQ(ordered, (std::vector<Variant>{Variant(1), Variant(0)}));
}

TEST(MariaDbSqlTextTest, MarkerWithoutValueFails) {
    std::vector<Variant> ordered;
    try {
        MariaDbSqlText("SELECT @param3").WithPositionalMarkers({{"param0", Variant(0)}}, ordered);
        FAIL() << "no failure";
    } catch (const VornError& e) {
        EXPECT_EQ(e.Number(), -2146233088);
        EXPECT_NE(e.Description().find("@param3"), std::string::npos);
    }
}

TEST(MariaDbSqlTextTest, StoredNamesReplaceOnlyNamesAndKeepQuotingStyle) {
    const auto stored = [](const std::string& name) -> std::optional<std::string> {
        if (name == "POINTS" || name == "points" || name == "Points") return std::string("Points");
        return std::nullopt;
    };
    EXPECT_EQ(MariaDbSqlText("SELECT points.x FROM POINTS WHERE n = 'points' -- points\n").WithStoredNames(stored),
              "SELECT Points.x FROM Points WHERE n = 'points' -- points\n");
    EXPECT_EQ(MariaDbSqlText("SELECT * FROM `POINTS`").WithStoredNames(stored), "SELECT * FROM `Points`");
}

TEST(MariaDbSqlTextTest, QuoteNameDoublesBackticks) {
    EXPECT_EQ(MariaDbSqlText::QuoteName("a`b"), "`a``b`");
    EXPECT_EQ(MariaDbSqlText::QuoteName("x'\\\"]"), "`x'\\\"]`");
}

}  // namespace
}  // namespace vorn
