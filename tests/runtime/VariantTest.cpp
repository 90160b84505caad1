#include "runtime/Variant.h"

#include <gtest/gtest.h>

#include "support/TestSupport.h"

#include <functional>
#include <limits>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "runtime/VornError.h"

namespace vorn {
namespace {

using testing::FailureNumber;


const Variant kInteger30000(std::int16_t{30000});
const Variant kByte200(std::uint8_t{200});

// ---- Kinds -----------------------------------------------------------------

TEST(VariantKinds, ConstructionPicksTheRuntimeKind) {
    struct Case { Variant value; VarType type; const char* name; };
    const std::vector<Case> cases = {
        {Variant(), VarType::Empty, "Empty"},
        {Variant::Null(), VarType::Null, "Null"},
        {Variant(true), VarType::Boolean, "Boolean"},
        {Variant(std::uint8_t{1}), VarType::Byte, "Byte"},
        {Variant(std::int16_t{1}), VarType::Integer, "Integer"},
        {Variant(1), VarType::Long, "Long"},
        {Variant(std::int64_t{7}), VarType::Long, "Long"},
        {Variant(std::int64_t{1} << 40), VarType::Double, "Double"},
        {Variant(std::size_t{3}), VarType::Long, "Long"},
        {Variant(1.0f), VarType::Single, "Single"},
        {Variant(1.0), VarType::Double, "Double"},
        {Variant(Currency::FromScaled(1)), VarType::Currency, "Currency"},
        {Variant::FromDate(1.0), VarType::Date, "Date"},
        {Variant("abc"), VarType::String, "String"},
        {Variant(std::string("abc")), VarType::String, "String"},
        {Variant(Decimal::FromInt64(1)), VarType::Decimal, "Decimal"},
        {Variant(VArray()), static_cast<VarType>(8204), "Variant()"},
        {Variant(Variant::Binary{1, 2}), static_cast<VarType>(8209), "Byte()"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.value.Type(), c.type) << c.name;
        EXPECT_EQ(c.value.TypeName(), c.name);
    }
}

TEST(VariantKinds, Predicates) {
    EXPECT_TRUE(Variant().IsEmpty());
    EXPECT_TRUE(Variant::Null().IsNull());
    EXPECT_TRUE(Variant(2.5).IsNumericKind());
    EXPECT_TRUE(Variant(Currency()).IsNumericKind());
    EXPECT_FALSE(Variant(true).IsNumericKind());
    EXPECT_FALSE(Variant::FromDate(1).IsNumericKind());
    EXPECT_FALSE(Variant("1").IsNumericKind());
    EXPECT_TRUE(Variant(std::uint8_t{1}).IsIntegerKind());
    EXPECT_FALSE(Variant(1.0).IsIntegerKind());
}

TEST(VariantKinds, AccessorsRequireTheirKind) {
    EXPECT_EQ(Variant(5).AsLong(), 5);
    EXPECT_EQ(Variant("x").AsText(), "x");
    EXPECT_DOUBLE_EQ(Variant::FromDate(2.5).AsDateSerial(), 2.5);
    EXPECT_EQ(FailureNumber([] { Variant(5).AsText(); }), 13);
    EXPECT_EQ(FailureNumber([] { Variant(5.0).AsLong(); }), 13);
    EXPECT_EQ(FailureNumber([] { Variant::FromDate(1).AsDouble(); }), 13);
    EXPECT_DOUBLE_EQ(Variant(true).NumberValue(), -1.0);
    EXPECT_DOUBLE_EQ(Variant().NumberValue(), 0.0);
    EXPECT_EQ(FailureNumber([] { Variant("1").NumberValue(); }), 13);
}

TEST(VariantKinds, EqualityIsKindAndValue) {
    EXPECT_EQ(Variant(1), Variant(1));
    EXPECT_NE(Variant(1), Variant(1.0));
    EXPECT_NE(Variant(1.0), Variant::FromDate(1.0));
    EXPECT_NE(Variant(), Variant::Null());
    EXPECT_EQ(Variant(VArray::FromStrings({"a"})), Variant(VArray::FromStrings({"a"})));
}

TEST(VariantKinds, Printing) {
    std::ostringstream out;
    out << Variant(5) << '|' << Variant("a") << '|' << Variant::Null();
    EXPECT_EQ(out.str(), "Long 5|String \"a\"|Null");
}

// ---- Addition and subtraction ----------------------------------------------

TEST(VariantAdd, TypePromotion) {
    struct Case { Variant a; Variant b; Variant sum; const char* what; };
    const std::vector<Case> cases = {
        {kInteger30000, Variant(std::int16_t{10000}), Variant(40000), "Integer overflow widens to Long"},
        {kByte200, Variant(std::uint8_t{100}), Variant(std::int16_t{300}), "Byte overflow widens to Integer"},
        {kByte200, Variant(std::uint8_t{55}), Variant(std::uint8_t{255}), "Byte stays Byte"},
        {Variant(2147483647), Variant(1), Variant(2147483648.0), "Long overflow widens to Double"},
        {Variant(1.5f), Variant(1), Variant(2.5), "Single with Long gives Double"},
        {Variant(1.5f), Variant(std::int16_t{1}), Variant(2.5f), "Single with Integer stays Single"},
        {Variant(0.5), Variant(Currency::FromScaled(10000)), Variant(Currency::FromScaled(15000)),
         "Currency ranks above Double in addition"},
        {Variant(true), Variant(true), Variant(std::int16_t{-2}), "Booleans add as Integers"},
        {Variant("34"), Variant(std::int16_t{6}), Variant(40.0), "text beside a number is read as Double"},
        {Variant("34"), Variant("6"), Variant("346"), "two texts concatenate"},
        {Variant(), Variant(), Variant(std::int16_t{0}), "Empty + Empty is Integer 0"},
        {Variant(), Variant("x"), Variant("x"), "Empty gives the other side unchanged"},
        {Variant(), kByte200, kByte200, "Empty beside a Byte"},
        {Variant::FromDate(36526.0), Variant(1), Variant::FromDate(36527.0), "a Date plus days is a Date"},
        {Variant(4257.04), Variant(98112), Variant(102369.04), "the runtime's own example"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.a + c.b, c.sum) << c.what;
    }
}

TEST(VariantAdd, NullAndFailures) {
    EXPECT_TRUE((Variant::Null() + Variant(1)).IsNull());
    EXPECT_TRUE((Variant("a") + Variant::Null()).IsNull());
    EXPECT_EQ(FailureNumber([] { Variant("abc") + Variant(1); }), 13);
    EXPECT_EQ(FailureNumber([] { Variant(VArray()) + Variant(1); }), 13);
    EXPECT_EQ(FailureNumber([] {
        Variant(Currency::FromScaled(9223372036854775807)) + Variant(Currency::FromScaled(1));
    }), 6);
    EXPECT_EQ(FailureNumber([] { Variant(1e308) + Variant(1e308); }), 6);
}

TEST(VariantSubtract, DatesAndWidening) {
    EXPECT_EQ(Variant::FromDate(36530.0) - Variant::FromDate(36526.0), Variant(4.0));
    EXPECT_EQ(Variant::FromDate(36530.0) - Variant(1), Variant::FromDate(36529.0));
    EXPECT_EQ(Variant(std::uint8_t{1}) - Variant(std::uint8_t{2}), Variant(std::int16_t{-1}));
    EXPECT_EQ(Variant(std::int16_t{-32768}) - Variant(std::int16_t{1}), Variant(-32769));
    EXPECT_EQ(Variant() - Variant(5), Variant(-5));
    EXPECT_EQ(Variant("10") - Variant("4"), Variant(6.0));
    EXPECT_EQ(Variant(459.35) - Variant(334.90), Variant(459.35 - 334.90));
    EXPECT_TRUE((Variant(1) - Variant::Null()).IsNull());
}

TEST(VariantNegate, WidensWhereNeeded) {
    EXPECT_EQ(-Variant(std::int16_t{-32768}), Variant(32768));
    EXPECT_EQ(-Variant(std::uint8_t{5}), Variant(std::int16_t{-5}));
    EXPECT_EQ(-Variant(true), Variant(std::int16_t{1}));
    EXPECT_EQ(-Variant("2"), Variant(-2.0));
    EXPECT_EQ(-Variant::FromDate(2.0), Variant::FromDate(-2.0));
    EXPECT_TRUE((-Variant::Null()).IsNull());
}

// ---- Multiplication and division -------------------------------------------

TEST(VariantMultiply, OrderPutsCurrencyBelowDouble) {
    EXPECT_EQ(Variant(Currency::FromScaled(20000)) * Variant(1.5), Variant(3.0));
    EXPECT_EQ(Variant(Currency::FromScaled(20000)) * Variant(1.5f),
              Variant(Currency::FromScaled(30000)));
    EXPECT_EQ(Variant(2000) * Variant(365), Variant(730000));
    EXPECT_EQ(Variant(std::int16_t{2000}) * Variant(std::int16_t{365}), Variant(730000));
    EXPECT_EQ(Variant(65536) * Variant(65536), Variant(4294967296.0));
    EXPECT_EQ(Variant(2.0f) * Variant(3), Variant(6.0));
    EXPECT_EQ(Variant() * Variant(5), Variant(0));
    EXPECT_EQ(Variant(459.35) * Variant(334.90), Variant(459.35 * 334.90));
}

TEST(VariantDivide, ResultKinds) {
    EXPECT_EQ(Variant(10) / Variant(4), Variant(2.5));
    EXPECT_EQ(Variant(std::int16_t{1}) / Variant(std::int16_t{2}), Variant(0.5));
    EXPECT_EQ(Variant(1.0f) / Variant(std::int16_t{2}), Variant(0.5f));
    EXPECT_EQ(Variant(1.0f) / Variant(2), Variant(0.5));
    EXPECT_EQ(Variant(1.0f) / Variant(2.0f), Variant(0.5f));
    EXPECT_EQ(Variant(Currency::FromScaled(10000)) / Variant(Currency::FromScaled(20000)), Variant(0.5));
    EXPECT_EQ((Variant(Decimal::FromInt64(1)) / Variant(3)).AsDecimal().ToString(),
              "0.3333333333333333333333333333");
    EXPECT_EQ(Variant("1") / Variant(2), Variant(0.5));
    EXPECT_EQ(Variant() / Variant(2), Variant(0.0));
    EXPECT_TRUE((Variant::Null() / Variant(0)).IsNull());
}

TEST(VariantDivide, ByZero) {
    EXPECT_EQ(FailureNumber([] { Variant(1) / Variant(0); }), 11);
    EXPECT_EQ(FailureNumber([] { Variant(1) / Variant(); }), 11);
    EXPECT_EQ(FailureNumber([] { Variant(0) / Variant(0.0); }), 6);
    EXPECT_EQ(FailureNumber([] { Variant(Decimal::FromInt64(1)) / Variant(0); }), 11);
}

TEST(VariantIntegerDivision, RoundsOperandsFirst) {
    EXPECT_EQ(IntDiv(Variant(11), Variant(4)), Variant(2));
    EXPECT_EQ(IntDiv(Variant(100), Variant(3)), Variant(33));
    EXPECT_EQ(IntDiv(Variant(std::int16_t{9}), Variant(std::int16_t{3})), Variant(std::int16_t{3}));
    EXPECT_EQ(IntDiv(Variant(std::uint8_t{9}), Variant(std::uint8_t{2})), Variant(std::uint8_t{4}));
    EXPECT_EQ(IntDiv(Variant(std::uint8_t{9}), Variant(true)), Variant(std::int16_t{-9}));
    EXPECT_EQ(IntDiv(Variant(2.5), Variant(1)), Variant(2));  // 2.5 rounds to 2
    EXPECT_EQ(IntDiv(Variant(-7), Variant(2)), Variant(-3));
    EXPECT_EQ(IntDiv(Variant("7"), Variant(std::int16_t{2})), Variant(3));
    EXPECT_TRUE(IntDiv(Variant::Null(), Variant(2)).IsNull());
    EXPECT_EQ(FailureNumber([] { IntDiv(Variant(1), Variant(0.4)); }), 11);
    EXPECT_EQ(FailureNumber([] { IntDiv(Variant(1e10), Variant(2)); }), 6);
}

TEST(VariantMod, RemainderTakesTheDividendsSign) {
    EXPECT_EQ(Mod(Variant(10), Variant(5)), Variant(0));
    EXPECT_EQ(Mod(Variant(10), Variant(3)), Variant(1));
    EXPECT_EQ(Mod(Variant(12), Variant(4.3)), Variant(0));
    EXPECT_EQ(Mod(Variant(12.6), Variant(5)), Variant(3));
    EXPECT_EQ(Mod(Variant(-7), Variant(3)), Variant(-1));
    EXPECT_EQ(Mod(Variant(7), Variant(-3)), Variant(1));
    EXPECT_EQ(FailureNumber([] { Mod(Variant(1), Variant(0)); }), 11);
}

TEST(VariantPow, AlwaysDouble) {
    EXPECT_EQ(Pow(Variant(std::int16_t{2}), Variant(3)), Variant(8.0));
    EXPECT_EQ(Pow(Variant(), Variant()), Variant(1.0));
    EXPECT_EQ(Pow(Variant(true), Variant(3)), Variant(-1.0));
    EXPECT_TRUE(Pow(Variant::Null(), Variant(3)).IsNull());
    EXPECT_EQ(FailureNumber([] { Pow(Variant(-8), Variant(1.0 / 3.0)); }), 5);
}

// ---- Concatenation ---------------------------------------------------------

TEST(VariantConcat, NullActsAsEmptyText) {
    EXPECT_EQ(Concat(Variant("a"), Variant::Null()), Variant("a"));
    EXPECT_EQ(Concat(Variant::Null(), Variant(5)), Variant("5"));
    EXPECT_TRUE(Concat(Variant::Null(), Variant::Null()).IsNull());
    EXPECT_EQ(Concat(Variant(), Variant()), Variant(""));
    EXPECT_EQ(Concat(Variant(std::int16_t{4534}), Variant(0)), Variant("45340"));
    EXPECT_EQ(Concat(Variant(true), Variant(1.5)), Variant("True1.5"));
    EXPECT_EQ(FailureNumber([] { Concat(Variant(VArray()), Variant("a")); }), 13);
}

// ---- Comparison ------------------------------------------------------------

TEST(VariantCompare, Numbers) {
    EXPECT_EQ(Compare(Variant(45), Variant(35)), 1);
    EXPECT_EQ(Compare(Variant(4), Variant(4.0)), 0);
    EXPECT_EQ(Compare(Variant(std::uint8_t{1}), Variant(2)), -1);
    EXPECT_EQ(Compare(Variant(true), Variant(-1)), 0);
    EXPECT_EQ(Compare(Variant::FromDate(2.0), Variant(2)), 0);
    EXPECT_EQ(Compare(Variant(5), Variant()), 1);
    EXPECT_EQ(Compare(Variant(0), Variant()), 0);
    EXPECT_EQ(Compare(Variant(), Variant()), 0);
    // A Double beside a Single is first rounded to Single precision.
    EXPECT_EQ(Compare(Variant(1.0f), Variant(1.00000001)), 0);
    EXPECT_EQ(Compare(Variant(1.0), Variant(1.00000001)), -1);
    EXPECT_EQ(Compare(Variant(*Decimal::Parse("1.00000000000000000001")), Variant(1.0)), 1);
    EXPECT_EQ(Compare(Variant(Currency::FromScaled(15000)), Variant(1.5)), 0);
}

TEST(VariantCompare, Text) {
    EXPECT_EQ(Compare(Variant("5"), Variant("4")), 1);
    EXPECT_EQ(Compare(Variant("a"), Variant("B")), 1);        // binary: "B" < "a"
    EXPECT_EQ(Compare(Variant("a"), Variant("B"), true), -1); // text: case ignored
    EXPECT_EQ(Compare(Variant("abc"), Variant("ABC"), true), 0);
    EXPECT_EQ(Compare(Variant("7"), Variant("42")), 1);       // as text
    EXPECT_EQ(Compare(Variant(""), Variant()), 0);
    EXPECT_EQ(Compare(Variant("0"), Variant()), 1);
}

TEST(VariantCompare, NumberBesideText) {
    // Between two variants the number is simply less than any text.
    EXPECT_EQ(Compare(Variant("5"), Variant(4)), 1);
    EXPECT_EQ(Compare(Variant(7), Variant("7")), -1);
    EXPECT_EQ(Compare(Variant(""), Variant(0)), 1);
    // Beside a typed number the text is read as a number.
    EXPECT_EQ(Compare(Variant(7), Variant("7"), false, MixedCompare::ReadTextAsNumber), 0);
    EXPECT_EQ(Compare(Variant("1,000"), Variant(999), false, MixedCompare::ReadTextAsNumber), 1);
    EXPECT_EQ(FailureNumber([] { Compare(Variant(7), Variant("x"), false, MixedCompare::ReadTextAsNumber); }),
              13);
}

TEST(VariantCompare, NullAndFailures) {
    EXPECT_FALSE(Compare(Variant::Null(), Variant(1)).has_value());
    EXPECT_FALSE(Compare(Variant("a"), Variant::Null()).has_value());
    EXPECT_FALSE(VarEquals(Variant::Null(), Variant::Null()));
    EXPECT_TRUE(VarEquals(Variant("abc"), Variant("ABC"), true));
    EXPECT_FALSE(VarEquals(Variant("abc"), Variant("ABC")));
    EXPECT_EQ(FailureNumber([] { Compare(Variant(VArray()), Variant(1)); }), 13);
}


// ---- The exact number types ------------------------------------------------

TEST(CurrencyArithmetic, ExactWithFourDecimals) {
    const Currency a = Currency::FromScaled(12345);  // 1.2345
    const Currency b = Currency::FromScaled(20000);  // 2
    EXPECT_EQ(a + b, Currency::FromScaled(32345));
    EXPECT_EQ(a * b, Currency::FromScaled(24690));
    EXPECT_EQ(Currency::FromScaled(5) * Currency::FromScaled(5000), Currency::FromScaled(2));
    EXPECT_EQ(Currency::FromScaled(15) * Currency::FromScaled(5000), Currency::FromScaled(8));
    EXPECT_EQ(Currency::FromScaled(10000) / Currency::FromScaled(30000), Currency::FromScaled(3333));
    EXPECT_EQ(Currency::FromDouble(0.00005), Currency::FromScaled(0));
    EXPECT_EQ(Currency::FromDouble(-2.5), Currency::FromScaled(-25000));
    EXPECT_EQ(Currency::FromScaled(std::numeric_limits<std::int64_t>::min()).ToString(),
              "-922337203685477.5808");
    EXPECT_EQ(FailureNumber([] { Currency::FromInteger(922337203685478); }), 6);
    EXPECT_EQ(FailureNumber([] { Currency::FromScaled(1) / Currency(); }), 11);
}

TEST(DecimalArithmetic, ScalesAndLimits) {
    const Decimal a = *Decimal::Parse("1.50");
    const Decimal b = *Decimal::Parse("0.005");
    EXPECT_EQ(a, *Decimal::Parse("1.5"));
    EXPECT_EQ((a + b).ToString(), "1.505");
    EXPECT_EQ((b - a).ToString(), "-1.495");
    EXPECT_EQ((a * b).ToString(), "0.0075");
    EXPECT_EQ((Decimal::FromInt64(2) / Decimal::FromInt64(3)).ToString(),
              "0.6666666666666666666666666667");
    EXPECT_EQ((Decimal::FromInt64(1) / *Decimal::Parse("0.001")).ToString(), "1000");
    const Decimal max = *Decimal::Parse("79228162514264337593543950335");
    EXPECT_EQ(FailureNumber([&] { max + Decimal::FromInt64(1); }), 6);
    EXPECT_EQ(FailureNumber([&] { max * Decimal::FromInt64(2); }), 6);
    // Products beyond 28 decimals keep the most significant digits.
    const Decimal small = *Decimal::Parse("0.00000000000001");
    EXPECT_EQ((small * small).ToString(), "0.0000000000000000000000000001");
    EXPECT_EQ((small * *Decimal::Parse("0.1")* small).ToString(), "0");
    EXPECT_EQ((*Decimal::Parse("1.0000000000000000000000000001") * Decimal::FromInt64(3)).ToString(),
              "3.0000000000000000000000000003");
    EXPECT_EQ(Decimal::Parse("0.00000000000000000000000000005")->ToString(), "0");
    EXPECT_EQ(Decimal::Parse("0.00000000000000000000000000015")->ToString(),
              "0.0000000000000000000000000002");
    EXPECT_FALSE(Decimal::Parse("1e29").has_value());
    EXPECT_FALSE(Decimal::Parse("abc").has_value());
    EXPECT_EQ((-Decimal::FromInt64(0)).ToString(), "0");
    EXPECT_EQ(Decimal::Compare(*Decimal::Parse("-0.1"), Decimal::FromInt64(0)), -1);
}

}  // namespace
}  // namespace vorn
