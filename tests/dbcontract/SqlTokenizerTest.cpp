#include "dbcontract/SqlTokenizer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "runtime/ErrorNumbers.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

using K = SqlTokenKind;

// "kind:value" of each token but the End token, joined by blanks.
std::string Describe(const std::vector<SqlToken>& tokens) {
    static const char* const kNames[] = {"W", "N", "S", "#", "D", "P", "O", "."};
    std::string out;
    for (const SqlToken& token : tokens) {
        if (token.kind == K::End) break;
        out += (out.empty() ? "" : " ") + std::string(kNames[static_cast<int>(token.kind)]) + ":" +
               token.value;
    }
    return out;
}

struct TokenCase {
    const char* sql;
    const char* tokens;
};

class JetTokens : public ::testing::TestWithParam<TokenCase> {};

TEST_P(JetTokens, SplitAsJetReadsThem) {
    EXPECT_EQ(Describe(SqlTokenizer().Tokenize(GetParam().sql)), GetParam().tokens)
        << GetParam().sql;
}

INSTANTIATE_TEST_SUITE_P(
    Forms, JetTokens,
    ::testing::Values(
        TokenCase{"SELECT Count(*)  FROM [PROJECT]",
                  "W:SELECT W:Count .:( O:* .:) W:FROM N:PROJECT"},
        TokenCase{"[a]]b]", "N:a]b"}, TokenCase{"`my table`.`x``y`", "N:my table .:. N:x`y"},
        TokenCase{"\"say \"\"hi\"\"\"", "S:say \"hi\""}, TokenCase{"'O''Brien'", "S:O'Brien"},
        TokenCase{"'' \"\"", "S: S:"},
        TokenCase{"12 1.5 .5 1e5 1E-3 2.5e+2", "#:12 #:1.5 #:.5 #:1e5 #:1E-3 #:2.5e+2"},
        TokenCase{"x = &HFF + &o17", "W:x O:= #:&HFF O:+ #:&o17"},
        // After an operand "&" joins: "a&Hb" is a & Hb, not a hex number.
        TokenCase{"a&Hb", "W:a O:& W:Hb"},
        TokenCase{"#1/1/1753# < #2004/05/06 10:00:00#", "D:1/1/1753 O:< D:2004/05/06 10:00:00"},
        TokenCase{"@param0, ?, @p_2", "P:param0 .:, P: .:, P:p_2"},
        TokenCase{"a<>b<=c>=d!=e", "W:a O:<> W:b O:<= W:c O:>= W:d O:!= W:e"},
        TokenCase{"a & b + c \\ d ^ e Mod f", "W:a O:& W:b O:+ W:c O:\\ W:d O:^ W:e W:Mod W:f"},
        TokenCase{"[T]![F].[G];", "N:T .:! N:F .:. N:G .:;"}, TokenCase{"t.5", "W:t .:. #:5"},
        TokenCase{"SELECT a -- note\n, b /* c */ FROM t", "W:SELECT W:a .:, W:b W:FROM W:t"},
        TokenCase{"INSERT INTO [dest]SELECT a", "W:INSERT W:INTO N:dest W:SELECT W:a"},
        TokenCase{"ISNUMERIC([f])AND [f] NOT LIKE '*[de]*'",
                  "W:ISNUMERIC .:( N:f .:) W:AND N:f W:NOT W:LIKE S:*[de]*"},
        TokenCase{"[\x7fGIDPAGE] [Größe]", "N:\x7fGIDPAGE N:Größe"},
        TokenCase{"Straße_1", "W:Straße_1"}));

TEST(SqlTokenizer, KeepsTheTextAndWhereEachTokenStandsCountingCharacters) {
    const std::vector<SqlToken> tokens = SqlTokenizer().Tokenize("[Größe] ='x'");
    ASSERT_EQ(tokens.size(), 4u);
    EXPECT_EQ(tokens[0].text, "[Größe]");
    EXPECT_EQ(tokens[0].quote, '[');
    EXPECT_EQ(tokens[1].position, 9u);  // seven characters, not nine bytes, stand before the blank
    EXPECT_EQ(tokens[1].offset, 10u);
    EXPECT_TRUE(tokens[1].spaceBefore);
    EXPECT_FALSE(tokens[2].spaceBefore);
    EXPECT_EQ(tokens[2].text, "'x'");
    EXPECT_EQ(tokens[3].kind, K::End);
}

TEST(SqlTokenizer, TellsKeywordsFromNames) {
    const std::vector<SqlToken> tokens = SqlTokenizer().Tokenize("select Date, [select] from Type");
    EXPECT_TRUE(tokens[0].IsKeyword());
    EXPECT_TRUE(tokens[0].Is("SELECT"));
    EXPECT_FALSE(tokens[1].IsKeyword());
    EXPECT_FALSE(tokens[3].IsKeyword());  // a bracketed keyword is a name
    EXPECT_TRUE(tokens[4].IsKeyword());
    EXPECT_FALSE(tokens[5].IsKeyword());
}

TEST(SqlTokenizer, ServerFormReadsDoubleQuotesAsNamesAndHashAsPartOfAName) {
    const SqlTokenizer tokenizer(SqlTokenizerOptions::SqlServer());
    EXPECT_EQ(Describe(tokenizer.Tokenize("SELECT \"A\"\"B\" FROM #temp WHERE x = 'y'")),
              "W:SELECT N:A\"B W:FROM W:#temp W:WHERE W:x O:= S:y");
    EXPECT_EQ(Describe(tokenizer.Tokenize("SELECT @@IDENTITY")), "W:SELECT W:@@IDENTITY");
}

struct BadCase {
    const char* sql;
    const char* what;
};

class UntokenisableInput : public ::testing::TestWithParam<BadCase> {};

TEST_P(UntokenisableInput, FailsWithThePlaceAndTheStatement) {
    try {
        SqlTokenizer().Tokenize(GetParam().sql);
        FAIL() << "no failure for " << GetParam().sql;
    } catch (const VornError& error) {
        EXPECT_EQ(error.Number(), errnum::kJetSyntaxErrorInExpression);
        EXPECT_NE(error.Description().find(GetParam().what), std::string::npos)
            << error.Description();
        EXPECT_NE(error.Description().find(GetParam().sql), std::string::npos)
            << error.Description();
    }
}

INSTANTIATE_TEST_SUITE_P(
    Faults, UntokenisableInput,
    ::testing::Values(BadCase{"SELECT 'abc FROM t", "unterminated string at position 8"},
                      BadCase{"SELECT [abc FROM t", "unterminated name at position 8"},
                      BadCase{"SELECT `abc", "unterminated name"},
                      BadCase{"SELECT \"abc", "unterminated string"},
                      BadCase{"WHERE d < #1/1/1753", "unterminated date literal"},
                      BadCase{"WHERE d < ## ", "malformed date literal"},
                      BadCase{"SELECT a /* b", "unterminated comment"},
                      BadCase{"SELECT a { b", "unexpected character at position 10"},
                      BadCase{"SELECT @ FROM t", "a parameter needs a name"}));

}  // namespace
}  // namespace vorn
