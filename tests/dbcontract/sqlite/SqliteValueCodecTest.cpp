#include "dbcontract/sqlite/SqliteValueCodec.h"

#include <gtest/gtest.h>

#include "dbcontract/DaoConstants.h"
#include "dbcontract/sqlite/SqliteDateText.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

using namespace dao;

FieldInfo Field(std::int16_t type, std::uint8_t precision = 0, std::uint8_t scale = 0) {
    FieldInfo field;
    field.name = "F";
    field.type = type;
    field.precision = precision;
    field.scale = scale;
    return field;
}

Decimal Dec(const char* text) { return *Decimal::Parse(text); }

struct RoundTrip {
    std::int16_t type;
    Variant value;
    StoredValue stored;
    Variant back;  // the value read again
};

TEST(SqliteValueCodecTest, ValuesTakeTheStoredFormOfTheirFieldAndComeBack) {
    const RoundTrip cases[] = {
        {dbText, Variant("abc"), std::string("abc"), Variant("abc")},
        {dbText, Variant(""), std::string(""), Variant("")},
        {dbText, Variant::Null(), std::monostate{}, Variant::Null()},
        {dbText, Variant(12), std::string("12"), Variant("12")},
        {dbMemo, Variant("Ä line\nmore"), std::string("Ä line\nmore"), Variant("Ä line\nmore")},
        {dbBoolean, Variant(true), std::int64_t{1}, Variant(true)},
        {dbBoolean, Variant(false), std::int64_t{0}, Variant(false)},
        {dbBoolean, Variant(std::int16_t{-1}), std::int64_t{1}, Variant(true)},
        {dbByte, Variant(200), std::int64_t{200}, Variant(std::uint8_t{200})},
        {dbInteger, Variant(-32768), std::int64_t{-32768}, Variant(std::int16_t{-32768})},
        {dbLong, Variant(2147483647), std::int64_t{2147483647}, Variant(2147483647)},
        {dbLong, Variant(2.5), std::int64_t{2}, Variant(2)},
        {dbBigInt, Variant(Dec("-9223372036854775808")), std::int64_t{INT64_MIN},
         Variant(Dec("-9223372036854775808"))},
        {dbCurrency, Variant(Currency::FromScaled(12345)), std::int64_t{12345},
         Variant(Currency::FromScaled(12345))},
        {dbCurrency, Variant(1.5), std::int64_t{15000}, Variant(Currency::FromScaled(15000))},
        {dbSingle, Variant(1.5f), 1.5, Variant(1.5f)},
        {dbDouble, Variant(0.1), 0.1, Variant(0.1)},
        {dbDecimal, Variant(Dec("12345678901234567890.123456")),
         std::string("12345678901234567890.123456"), Variant(Dec("12345678901234567890.123456"))},
        {dbDecimal, Variant(Dec("-0.5")), std::string("-0.5"), Variant(Dec("-0.5"))},
        {dbDate, Variant::FromDate(-1.25), std::string("1899-12-29 06:00:00"),
         Variant::FromDate(-1.25)},
        {dbDate, Variant("2024-02-29 13:14:15.016"), std::string("2024-02-29 13:14:15.016"),
         Variant::FromDate(*SqliteDateText::ToSerial("2024-02-29 13:14:15.016"))},
        {dbLongBinary, Variant(Variant::Binary{0, 255, 7}), StoredBlob{0, 255, 7},
         Variant(Variant::Binary{0, 255, 7})},
        {dbBinary, Variant(Variant::Binary{}), StoredBlob{}, Variant(Variant::Binary{})},
        {dbGUID, Variant("{0a1b2c3d-0000-1111-2222-333344445555}"),
         std::string("{0A1B2C3D-0000-1111-2222-333344445555}"),
         Variant("{0A1B2C3D-0000-1111-2222-333344445555}")},
        {dbGUID, Variant("0A1B2C3D-0000-1111-2222-333344445555"),
         std::string("{0A1B2C3D-0000-1111-2222-333344445555}"),
         Variant("{0A1B2C3D-0000-1111-2222-333344445555}")},
    };
    for (const auto& c : cases) {
        const auto stored = SqliteValueCodec::Encode(c.value, Field(c.type));
        EXPECT_EQ(stored, c.stored) << "type " << c.type << " value " << c.value;
        EXPECT_EQ(SqliteValueCodec::Decode(stored, c.type), c.back) << "type " << c.type;
    }
}

TEST(SqliteValueCodecTest, DecimalsRoundToTheFieldsScaleAndRefuseTooManyDigits) {
    const auto field = Field(dbDecimal, 6, 2);
    EXPECT_EQ(SqliteValueCodec::Encode(Variant(Dec("1234.565")), field),
              StoredValue(std::string("1234.56")));
    EXPECT_EQ(SqliteValueCodec::Encode(Variant(Dec("-0.005")), field),
              StoredValue(std::string("0")));
    try {
        SqliteValueCodec::Encode(Variant(Dec("12345.1")), field);
        FAIL() << "five integer digits fit no decimal(6, 2)";
    } catch (const VornError& error) {
        EXPECT_EQ(error.Number(), 3349);
    }
}

TEST(SqliteValueCodecTest, ValuesThatCannotBeConvertedFailWithTheEnginesNumbers) {
    struct Bad {
        std::int16_t type;
        Variant value;
        std::int32_t number;
    };
    const Bad cases[] = {
        {dbLong, Variant("abc"), errnum::kJetConversionError},
        {dbDate, Variant("not a date"), errnum::kJetConversionError},
        {dbGUID, Variant("{1234}"), errnum::kJetConversionError},
        {dbByte, Variant(256), 3349},
        {dbInteger, Variant(40000), 3349},
        {dbBigInt, Variant(Dec("9223372036854775808")), 3349},
    };
    for (const auto& c : cases) {
        try {
            SqliteValueCodec::Encode(c.value, Field(c.type));
            ADD_FAILURE() << c.value << " was taken by type " << c.type;
        } catch (const VornError& error) {
            EXPECT_EQ(error.Number(), c.number) << c.value;
        }
    }
}

TEST(SqliteValueCodecTest, StoredFormsOfOtherClassesAreStillRead) {
    EXPECT_EQ(SqliteValueCodec::Decode(std::int64_t{5}, dbText), Variant("5"));
    EXPECT_EQ(SqliteValueCodec::Decode(1.5, dbDate), Variant::FromDate(1.5));
    EXPECT_EQ(SqliteValueCodec::Decode(std::int64_t{7}, dbDecimal), Variant(Decimal::FromInt64(7)));
    EXPECT_EQ(SqliteValueCodec::Decode(std::string("-1"), dbBoolean), Variant(true));
    EXPECT_EQ(SqliteValueCodec::Decode(std::string("junk"), dbDate), Variant("junk"));
    EXPECT_EQ(SqliteValueCodec::Decode(std::int64_t{70000}, dbInteger), Variant(70000));
}

TEST(SqliteValueCodecTest, UntypedValuesAreReadByTheirStorageClass) {
    EXPECT_EQ(SqliteValueCodec::DecodeUntyped(std::int64_t{3}), Variant(3));
    EXPECT_EQ(SqliteValueCodec::DecodeUntyped(std::string("2024-01-02 03:04:05")).Kind(),
              VariantKind::Date);
    EXPECT_EQ(SqliteValueCodec::DecodeUntyped(std::string("2024-01-02")), Variant("2024-01-02"));
    EXPECT_EQ(SqliteValueCodec::UntypedDaoType(std::int64_t{1} << 40), dbDouble);
    EXPECT_EQ(SqliteValueCodec::UntypedDaoType(std::string(300, 'x')), dbMemo);
}

TEST(SqliteValueCodecTest, LiteralsQuoteWhatTheyHold) {
    EXPECT_EQ(SqliteValueCodec::SqlLiteral(std::string("it's")), "'it''s'");
    EXPECT_EQ(SqliteValueCodec::SqlLiteral(StoredBlob{0x0F, 0xA0}), "X'0FA0'");
    EXPECT_EQ(SqliteValueCodec::SqlLiteral(std::monostate{}), "NULL");
}

}  // namespace
}  // namespace vorn
