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

// Every piece of a source, calling until the cursor comes back 0.
Pieces AllPieces(const CAx0& ax, const std::string& source, const std::string& delimiter) {
    Pieces pieces;
    std::int32_t cursor = 0;
    do {
        pieces.push_back(ax.ParseStringFnS(cursor, source, delimiter));
    } while (cursor > 0 && pieces.size() < 100);
    return pieces;
}

Pieces AllFields(const CAx0& ax, const std::string& line, const std::string& quote) {
    Pieces fields;
    std::int32_t cursor = 1;
    do {
        fields.push_back(ax.ParseCSVFnS(cursor, line, quote));
    } while (cursor > 0 && fields.size() < 100);
    return fields;
}

TEST(CAx0ParseString, PiecesUpToEachDelimiter) {
    const CAx0 ax;
    const std::vector<std::tuple<std::string, std::string, Pieces>> cases = {
        {"a,b,,c,", ",", {"a", "b", "", "c", ""}},  // a closing delimiter gives a last empty piece
        {"", ",", {""}},
        {"abc", ",", {"abc"}},
        {"a||b|c", "||", {"a", "b|c"}},
        {" a , b", ",", {" a ", " b"}},
        {"é,ü", ",", {"é", "ü"}},
    };
    for (const auto& [source, delimiter, expected] : cases) {
        EXPECT_EQ(AllPieces(ax, source, delimiter), expected) << source;
    }
}

TEST(CAx0ParseString, CursorMovesBehindTheDelimiter) {
    const CAx0 ax;
    std::int32_t cursor = -5;  // raised to 1
    EXPECT_EQ(ax.ParseStringFnS(cursor, "ä,bc"), "ä");
    EXPECT_EQ(cursor, 3);
    EXPECT_EQ(ax.ParseStringFnS(cursor, "ä,bc"), "bc");
    EXPECT_EQ(cursor, 0);
}

TEST(CAx0ParseCsv, FieldsOfALine) {
    const CAx0 ax;
    const std::vector<std::tuple<std::string, std::string, Pieces>> cases = {
        {"a,b,c", "\"", {"a", "b", "c"}},
        {"a,", "\"", {"a", ""}},
        {",", "\"", {"", ""}},
        {"\"a,b\",c", "\"", {"a,b", "c"}},
        {"\"\"\"x\"\"y\"", "\"", {"\"x\"y"}},  // each doubled quote keeps one
        {"\"a\"\"\",b", "\"", {"a\"", "b"}},
        {"\"\"", "\"", {""}},
        {"\"ab\"x,c", "\"", {"ab", "c"}},  // text behind the closing quote is dropped
        {"  a, \tb", "\"", {"a", "b"}},
        {"a ,b", "\"", {"a ", "b"}},      // blanks at the right of a field stay
        {"\"abc", "\"", {"abc"}},          // no closing quote: the rest of the line
        {"a\"\"b,c", "\"", {"a\"b", "c"}},  // pairs shrink in unquoted fields too
        {"\"é,ü\",ß", "\"", {"é,ü", "ß"}},
        {"'a,b',c", "'", {"a,b", "c"}},
        {"'a''b',c", "'", {"a", "c"}},      // only double quotes are read as pairs
        {"'x\"\"y'", "'", {"x'y"}},
    };
    for (const auto& [line, quote, expected] : cases) EXPECT_EQ(AllFields(ax, line, quote), expected) << line;
}

TEST(CAx0ParseCsv, CursorMovesBehindTheNextComma) {
    const CAx0 ax;
    std::int32_t cursor = 0;
    EXPECT_EQ(ax.ParseCSVFnS(cursor, "\"a\" ,b"), "a");
    EXPECT_EQ(cursor, 6);
    EXPECT_EQ(ax.ParseCSVFnS(cursor, "\"a\" ,b"), "b");
    EXPECT_EQ(cursor, 0);
}

TEST(CAx0CsvLineSplit, FieldsStandFromOne) {
    const CAx0 ax;
    VArray fields;
    ax.CSVLineSplit("  a,\"b,c\",\"d\"\"\"  ", fields);
    EXPECT_EQ(fields.LBound(), 0);
    EXPECT_EQ(fields.UBound(), 3);
    EXPECT_EQ(fields[0], Variant(""));
    EXPECT_EQ(fields[1], Variant("a"));
    EXPECT_EQ(fields[2], Variant("b,c"));
    EXPECT_EQ(fields[3], Variant("d\""));

    ax.CSVLineSplit("one", fields);
    EXPECT_EQ(fields.UBound(), 1);
    EXPECT_EQ(fields[0], Variant(""));
    EXPECT_EQ(fields[1], Variant("one"));
}

TEST(CAx0CsvLineSplit, EmptyLineGivesBoundsZeroToZero) {
    const CAx0 ax;
    for (const char* line : {"", "   "}) {
        VArray fields = VArray::FromStrings({"old", "old"});
        ax.CSVLineSplit(line, fields);
        EXPECT_EQ(fields.LBound(), 0);
        EXPECT_EQ(fields.UBound(), 0);
        EXPECT_EQ(fields[0], Variant(""));
    }
}

TEST(CAx0CsvLineSplit, LongLinesGrowTheArray) {
    const CAx0 ax;
    std::string line;
    for (int i = 1; i <= 250; ++i) line += (i > 1 ? "," : "") + std::to_string(i);
    VArray fields;
    ax.CSVLineSplit(line, fields);
    ASSERT_EQ(fields.UBound(), 250);
    EXPECT_EQ(fields[100], Variant("100"));
    EXPECT_EQ(fields[101], Variant("101"));
    EXPECT_EQ(fields[250], Variant("250"));
}

struct EndQuoteCase {
    std::string text;
    std::int32_t start;
    std::int32_t result;
    std::int32_t startAfter;
};

TEST(CAx0EndQuote, PositionBehindTheClosingQuote) {
    const CAx0 ax;
    const std::vector<EndQuoteCase> cases = {
        {"x\"ab\"y", 1, 6, 2},
        {"\"a\"\"b\"c", 1, 7, 1},  // the doubled quote is inside
        {"no quotes", 1, 0, 1},
        {"\"open", 1, 0, 1},
        {"a\"b\"", 3, 0, 3},
        {"é\"ü\"", 1, 5, 2},
    };
    for (const EndQuoteCase& c : cases) {
        std::int32_t start = c.start;
        EXPECT_EQ(ax.EndQuotePsFnL(start, c.text), c.result) << c.text;
        EXPECT_EQ(start, c.startAfter) << c.text;
    }
    std::int32_t zero = 0;
    EXPECT_EQ(FailureNumber([&] { ax.EndQuotePsFnL(zero, "\"a\""); }), errnum::kInvalidProcedureCall);
}

TEST(CAx0FixedField, FieldsByWidth) {
    const CAx0 ax;
    const std::string data = "AB  CD  ÉF";
    std::int16_t cursor = 1;
    EXPECT_EQ(ax.GetFxFldFnS(cursor, 4, data), "AB");
    EXPECT_EQ(ax.GetFxFldFnS(cursor, 4, data), "CD");
    EXPECT_EQ(ax.GetFxFldFnS(cursor, 4, data), "ÉF");
    EXPECT_EQ(cursor, 13);
    EXPECT_EQ(ax.GetFxFldFnS(cursor, 4, data), "");
}

TEST(CAx0FixedField, CursorIsHeldInSixteenBits) {
    const CAx0 ax;
    std::int16_t cursor = 32760;
    EXPECT_EQ(ax.GetFxFldFnS(cursor, 7, "x"), "");
    EXPECT_EQ(cursor, 32767);
    cursor = 32760;
    EXPECT_EQ(FailureNumber([&] { ax.GetFxFldFnS(cursor, 8, "x"); }), errnum::kOverflow);
    EXPECT_EQ(cursor, 32760);
    cursor = 0;
    EXPECT_EQ(FailureNumber([&] { ax.GetFxFldFnS(cursor, 1, "x"); }), errnum::kInvalidProcedureCall);
}

TEST(CAx0ReplaceString, OneOccurrenceACallIgnoringCase) {
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
    EXPECT_EQ(source, "x xyz");
    EXPECT_EQ(cursor, 0);
    ax.ReplaceString(cursor, source, "x", "y");  // a cursor of 0 does nothing
    EXPECT_EQ(source, "x xyz");
}

TEST(CAx0ReplaceString, PositionsCountCharacters) {
    const CAx0 ax;
    std::string source = "ääÄä";
    std::int32_t cursor = 2;
    ax.ReplaceString(cursor, source, "Ä", "bb");
    EXPECT_EQ(source, "äbbÄä");
    EXPECT_EQ(cursor, 4);
    ax.ReplaceString(cursor, source, "ä", "");
    EXPECT_EQ(source, "äbbä");
    EXPECT_EQ(cursor, 4);
}

}  // namespace
}  // namespace vorn
