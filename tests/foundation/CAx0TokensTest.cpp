#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/CAx0.h"
#include "FoundationTestHelpers.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/SessionSlot.h"
#include "runtime/VornError.h"
#include "support/TestSupport.h"

namespace vorn {
namespace {

using testing::FailureNumber;

TEST(CAx0Session, AxIsTheOneObjectOnceMade) {
    EXPECT_EQ(FailureNumber([] { Ax(); }), errnum::kObjectVariableNotSet);
    CAx0& made = SessionSlot<CAx0>::Make(std::make_unique<CAx0>());
    EXPECT_EQ(&Ax(), &made);
    SessionSlot<CAx0>::ResetForTests();
}

struct MatchCase {
    const char* source;
    std::int32_t cursor;
    const char* open;
    const char* close;
    std::int32_t expected;
};

TEST(CAx0MatchDelim, LengthThroughTheBalancingCloser) {
    const CAx0 ax;
    const std::vector<MatchCase> cases = {
        {"<<a>>", 1, "<<", ">>", 5},
        {"<<a<<b>>c>>", 1, "<<", ">>", 11},
        {"<<a>><<b>>", 6, "<<", ">>", 5},
        {"<<a", 1, "<<", ">>", 0},
        {"<<a<<b>>", 1, "<<", ">>", 0},      // the inner token is balanced, the outer not
        {"x<<a>>", 1, "<<", ">>", 0},        // the cursor must stand on the opener
        {"<<a>>>", 1, "<<", ">>", 5},        // ">>>" is read from the left
        {"((a)(b))", 1, "(", ")", 8},
        {"<<a>>", 1, "", ">>", 0},
        {"é<<ü>>", 2, "<<", ">>", 5},       // positions count characters
        {"<<a>>", 9, "<<", ">>", 0},
    };
    for (const MatchCase& c : cases) {
        EXPECT_EQ(ax.MatchDelimFnL(c.cursor, c.source, c.open, c.close), c.expected)
            << c.source << " at " << c.cursor;
    }
    EXPECT_EQ(FailureNumber([&] { ax.MatchDelimFnL(0, "<<a>>", "<<", ">>"); }),
              errnum::kInvalidProcedureCall);
}

TEST(CAx0DataToken, GetCollectsOutsideTextAcrossCalls) {
    const CAx0 ax;
    std::int32_t cursor = 0;
    std::string outside;
    EXPECT_EQ(ax.DataTokenGetFnS(cursor, "a<<b>>c", outside), "b");
    EXPECT_EQ(cursor, 7);
    EXPECT_EQ(outside, "a");
    EXPECT_EQ(ax.DataTokenGetFnS(cursor, "a<<b>>c", outside), "");
    EXPECT_EQ(cursor, 0);
    EXPECT_EQ(outside, "ac");

    outside = "kept:";  // an opener without closer stays in the outside text
    EXPECT_EQ(ax.DataTokenGetFnS(cursor, "<<a", outside), "");
    EXPECT_EQ(cursor, 0);
    EXPECT_EQ(outside, "kept:<<a");

    cursor = 1;
    EXPECT_EQ(ax.DataTokenGetFnS(cursor, "<<a<<b>>c>>"), "a<<b>>c");  // nested tokens whole
    EXPECT_EQ(cursor, 12);
    cursor = 0;
    EXPECT_EQ(ax.DataTokenGetFnS(cursor, "<<>>x"), "");  // an empty token is not the end
    EXPECT_EQ(cursor, 5);
}

TEST(CAx0DataToken, LoopYieldsEveryTokenAndSkipPassesBalancedOnes) {
    const CAx0 ax;
    const std::string source = "ä<<T.F>> x <<a <<G>>é";
    std::int32_t cursor = 0;
    std::string outside;
    std::vector<std::string> tokens;
    while (true) {
        std::string token = ax.DataTokenGetFnS(cursor, source, outside);
        if (cursor == 0) break;
        tokens.push_back(token);
    }
    EXPECT_EQ(tokens, (std::vector<std::string>{"T.F", "G"}));
    EXPECT_EQ(outside, "ä x <<a é");

    cursor = 1;  // skipping passes over balanced tokens only
    EXPECT_TRUE(ax.DataTokenSkipFnB(cursor, "<<a <<b>>c"));
    EXPECT_EQ(cursor, 10);
    EXPECT_FALSE(ax.DataTokenSkipFnB(cursor, "<<a <<b>>c"));
    EXPECT_EQ(cursor, 0);
    EXPECT_EQ(FailureNumber([&] { ax.DataTokenSkipFnB(cursor, "<<a>>"); }),
              errnum::kInvalidProcedureCall);
}

TEST(CAx0DataToken, MakeRefusesExistingTokensAndRemoveUnwraps) {
    const CAx0 ax;
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"  x ", "<<x>>"}, {"<<x>>", ""}, {"T.F", "<<T.F>>"}, {"x>>", "<<x>>>>"},
    };
    for (const auto& [data, expected] : cases) EXPECT_EQ(ax.DataTokenMakeFnS(data), expected) << data;
    EXPECT_EQ(ax.FieldTokenMakeFnS("POINT", "Depth"), "<<POINT.Depth>>");

    const std::vector<std::pair<std::string, std::string>> unwrapped = {
        {"  <<  T.F >> ", "T.F"}, {"<<x", "<<x"}, {"<<>>", ""}, {"<<a>>b", "<<a>>b"},
    };
    for (const auto& [data, expected] : unwrapped) {
        std::string value = data;
        ax.RemoveFieldDelim(value);
        EXPECT_EQ(value, expected) << data;
    }
}

TEST(CAx0FieldSpec, FieldNameAndParentChildParts) {
    const CAx0 ax;
    EXPECT_EQ(ax.FieldNameFromFieldSpecFnS("T.F.G"), "F.G");  // behind the first dot
    EXPECT_EQ(ax.FieldNameFromFieldSpecFnS("TF"), "TF");
    const std::vector<std::tuple<std::string, std::string, std::string>> cases = {
        {"a!b! c ", "A!B", "C"},  // split at the last bang
        {"abc", "ABC", ""},
        {"é !ß", "É ", "ß"},  // Latin-1 has no capital sharp s
        {std::string(32766, 'x') + "y", std::string(32766, 'X') + "Y", "Y"},
    };
    for (const auto& [spec, parentOut, childOut] : cases) {
        std::string parent = "old";
        std::string child = "old";
        ax.ParentChildSpecParse(spec, parent, child);
        EXPECT_EQ(parent, parentOut) << spec.substr(0, 20);
        EXPECT_EQ(child, childOut) << spec.substr(0, 20);
    }
}

// Table-field checks need the text table for their messages.
class CAx0TableFieldTest : public ::testing::Test {
protected:
    const testing::SessionTexts texts_{"5272\tno dot\n5273\ttwo dots\n5274\tnone of <<>>\n"};
    const CAx0 ax_;
};

struct TableFieldCase {
    std::string spec;
    bool checkChars;
    bool valid;
    std::int32_t dot;
    std::string message;
};

TEST_F(CAx0TableFieldTest, ChecksInOrderAndReportsTheFirstFault) {
    const std::vector<TableFieldCase> cases = {
        {"POINT.Depth", true, true, 6, "untouched"},
        {"POINTDepth", true, false, 0, "no dot"},
        {"T.F.G", false, false, 0, "two dots"},
        {"T.F!", true, false, 0, "none of ![]`.,"},
        {"T.F!", false, true, 2, "untouched"},
        {"<<T.F>>", true, true, 4, "untouched"},   // the closer is not field text
        {"<<T.F]>>", true, false, 0, "none of ![]`.,"},
        {"T!.F", true, true, 3, "untouched"},      // the table part is not checked
    };
    for (const TableFieldCase& c : cases) {
        std::int32_t dot = 99;
        std::string message = "untouched";
        EXPECT_EQ(ax_.TableFieldStringValidFnB(c.spec, c.checkChars, dot, message), c.valid) << c.spec;
        EXPECT_EQ(dot, c.dot) << c.spec;
        EXPECT_EQ(message, c.message) << c.spec;
    }
    // The dot's position is held in 16 bits.
    std::int32_t dot = 0;
    std::string message;
    const std::string near = std::string(32766, 'T') + ".F";
    EXPECT_TRUE(ax_.TableFieldStringValidFnB(near, true, dot, message));
    EXPECT_EQ(dot, 32767);
    const std::string far = std::string(32767, 'T') + ".F";
    EXPECT_EQ(FailureNumber([&] { ax_.TableFieldStringValidFnB(far, true, dot, message); }),
              errnum::kOverflow);
}

}  // namespace
}  // namespace vorn
