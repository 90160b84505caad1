#include <gtest/gtest.h>

#include "support/TestSupport.h"

#include <string>
#include <vector>

#include "foundation/CAx0.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

using testing::FailureNumber;
using Pieces = std::vector<std::string>;

TEST(CAx0ParseString, PiecesUpToEachDelimiter) {
    const CAx0 ax;
    const std::vector<std::tuple<std::string, std::string, Pieces>> cases = {
        {"a,b,,c,", ",", {"a", "b", "", "c", ""}},  // a closing delimiter gives a last empty piece
        {"", ",", {""}},
        {"a||b|c", "||", {"a", "b|c"}},
        {"é,ü", ",", {"é", "ü"}},
    };
    for (const auto& [source, delimiter, expected] : cases) {
        Pieces pieces;
        std::int32_t cursor = -5;  // raised to 1
        do {
            pieces.push_back(ax.ParseStringFnS(cursor, source, delimiter));
        } while (cursor > 0 && pieces.size() < 100);
        EXPECT_EQ(pieces, expected) << source;
    }
}

TEST(CAx0ParseCsv, FieldsOfALine) {
    const CAx0 ax;
    const std::vector<std::tuple<std::string, std::string, Pieces>> cases = {
        {"a,", "\"", {"a", ""}},
        {"\"a,b\",c", "\"", {"a,b", "c"}},
        {"\"\"\"x\"\"y\"", "\"", {"\"x\"y"}},  // each doubled quote keeps one
        {"\"ab\"x,c", "\"", {"ab", "c"}},      // text behind the closing quote is dropped
        {"  a, \tb", "\"", {"a", "b"}},
        {"a ,b", "\"", {"a ", "b"}},           // blanks at the right of a field stay
        {"\"abc", "\"", {"abc"}},              // no closing quote: the rest of the line
        {"a\"\"b,c", "\"", {"a\"b", "c"}},     // pairs shrink in unquoted fields too
        {"'a''b',c", "'", {"a", "c"}},         // only double quotes are read as pairs
        {"'x\"\"y'", "'", {"x'y"}},
    };
    for (const auto& [line, quote, expected] : cases) {
        Pieces fields;
        std::int32_t cursor = 1;
        do {
            fields.push_back(ax.ParseCSVFnS(cursor, line, quote));
        } while (cursor > 0 && fields.size() < 100);
        EXPECT_EQ(fields, expected) << line;
    }
    std::int32_t cursor = 0;
    EXPECT_EQ(ax.ParseCSVFnS(cursor, "\"a\" ,b"), "a");
    EXPECT_EQ(cursor, 6);  // behind the next comma
}

TEST(CAx0CsvLineSplit, FieldsStandFromOne) {
    const CAx0 ax;
    VArray fields;
    ax.CSVLineSplit("  a,\"b,c\",\"d\"\"\"  ", fields);
    EXPECT_EQ(fields, VArray::FromStrings({"", "a", "b,c", "d\""}));
    ax.CSVLineSplit("one", fields);
    EXPECT_EQ(fields, VArray::FromStrings({"", "one"}));
    for (const char* line : {"", "   "}) {
        fields = VArray::FromStrings({"old", "old"});
        ax.CSVLineSplit(line, fields);
        EXPECT_EQ(fields, VArray::FromStrings({""})) << "[" << line << "]";
    }

    std::string line;
    for (int i = 1; i <= 250; ++i) line += (i > 1 ? "," : "") + std::to_string(i);
    ax.CSVLineSplit(line, fields);  // long lines grow the array
    ASSERT_EQ(fields.UBound(), 250);
    EXPECT_EQ(fields[101], Variant("101"));
    EXPECT_EQ(fields[250], Variant("250"));
}

TEST(CAx0EndQuote, PositionBehindTheClosingQuote) {
    const CAx0 ax;
    const std::vector<std::tuple<std::string, std::int32_t, std::int32_t, std::int32_t>> cases = {
        {"x\"ab\"y", 1, 6, 2},
        {"\"a\"\"b\"c", 1, 7, 1},  // the doubled quote is inside
        {"\"open", 1, 0, 1},
        {"é\"ü\"", 1, 5, 2},
    };
    for (const auto& [text, startIn, result, startAfter] : cases) {
        std::int32_t start = startIn;
        EXPECT_EQ(ax.EndQuotePsFnL(start, text), result) << text;
        EXPECT_EQ(start, startAfter) << text;
    }
    std::int32_t zero = 0;
    EXPECT_EQ(FailureNumber([&] { ax.EndQuotePsFnL(zero, "\"a\""); }), errnum::kInvalidProcedureCall);
}

TEST(CAx0FixedField, FieldsByWidthWithACursorInSixteenBits) {
    const CAx0 ax;
    std::int16_t cursor = 1;
    EXPECT_EQ(ax.GetFxFldFnS(cursor, 4, "AB  ÉF"), "AB");
    EXPECT_EQ(ax.GetFxFldFnS(cursor, 4, "AB  ÉF"), "ÉF");
    EXPECT_EQ(cursor, 9);

    cursor = 32760;
    EXPECT_EQ(ax.GetFxFldFnS(cursor, 7, "x"), "");
    EXPECT_EQ(cursor, 32767);
    cursor = 32760;
    EXPECT_EQ(FailureNumber([&] { ax.GetFxFldFnS(cursor, 8, "x"); }), errnum::kOverflow);
    EXPECT_EQ(cursor, 32760);
    cursor = 0;
    EXPECT_EQ(FailureNumber([&] { ax.GetFxFldFnS(cursor, 1, "x"); }), errnum::kInvalidProcedureCall);
}

TEST(CAx0ReplaceString, OneOccurrenceACallIgnoringCaseCountingCharacters) {
    const CAx0 ax;
    std::string source = "Abc abc";
    std::int32_t cursor = 1;
    ax.ReplaceString(cursor, source, "ABC", "x");
    EXPECT_EQ(source, "x abc");
    EXPECT_EQ(cursor, 2);
    ax.ReplaceString(cursor, source, "ABC", "xyz");
    EXPECT_EQ(source, "x xyz");
    EXPECT_EQ(cursor, 6);
    ax.ReplaceString(cursor, source, "ABC", "x");
    EXPECT_EQ(cursor, 0);
    ax.ReplaceString(cursor, source, "x", "y");  // a cursor of 0 does nothing
    EXPECT_EQ(source, "x xyz");

    source = "ääÄä";
    cursor = 2;
    ax.ReplaceString(cursor, source, "Ä", "bb");
    EXPECT_EQ(source, "äbbÄä");
    EXPECT_EQ(cursor, 4);
}

}  // namespace
}  // namespace vorn
