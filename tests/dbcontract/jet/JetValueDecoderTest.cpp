// Values decoded from the bytes a Jet file stores, one row a case.

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <string>
#include <vector>

#include "dbcontract/DaoConstants.h"
#include "dbcontract/jet/JetValueDecoder.h"
#include "runtime/DateSerial.h"

namespace vorn {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes Le(std::uint64_t value, int count) {
    Bytes bytes;
    for (int i = 0; i < count; ++i) bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    return bytes;
}

struct DecodeCase {
    const char* name;
    JetType type;
    Bytes bytes;
    Variant expected;
    int scale = 0;
};

class JetDecodeTest : public ::testing::TestWithParam<DecodeCase> {};

TEST_P(JetDecodeTest, DecodesTheStoredBytes) {
    const auto& c = GetParam();
    const auto value = JetValueDecoder(false).Decode(c.type, c.bytes, c.scale);
    ASSERT_TRUE(value.has_value());
    EXPECT_EQ(*value, c.expected);
}

// A magnitude that needs all three words of a Decimal.
Bytes BigDecimal() {
    // -12345678901234567890123: words 0, 0x29D, 0x42B64E76, 0x714244CB.
    Bytes bytes(17, 0);
    bytes[0] = 0x80;  // negative
    const std::uint32_t words[4] = {0, 0x29D, 0x42B64E76, 0x714244CB};
    for (int w = 0; w < 4; ++w) {
        for (int b = 0; b < 4; ++b) bytes[1 + 4 * w + b] = static_cast<std::uint8_t>(words[w] >> (8 * b));
    }
    return bytes;
}

INSTANTIATE_TEST_SUITE_P(
    Numbers, JetDecodeTest,
    ::testing::Values(
        DecodeCase{"byte", JetType::kByte, {0xFE}, Variant(std::uint8_t{254})},
        DecodeCase{"integer", JetType::kInteger, Le(0xFFFE, 2), Variant(std::int16_t{-2})},
        DecodeCase{"long", JetType::kLong, Le(0x80000000u, 4), Variant(std::int32_t{INT32_MIN})},
        DecodeCase{"currency", JetType::kMoney, Le(static_cast<std::uint64_t>(-35001), 8),
                   Variant(Currency::FromScaled(-35001))},
        DecodeCase{"single keeps its bits", JetType::kSingle, Le(std::bit_cast<std::uint32_t>(0.15f), 4), Variant(0.15f)},
        DecodeCase{"double round-trips", JetType::kDouble, Le(std::bit_cast<std::uint64_t>(444.555), 8), Variant(444.555)},
        DecodeCase{"big integer beyond a Long", JetType::kBigInt, Le(static_cast<std::uint64_t>(-9007199254740993LL), 8),
                   Variant(Decimal::FromInt64(-9007199254740993LL))},
        DecodeCase{"decimal with scale", JetType::kNumeric,
                   Bytes{0x00, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x39, 0x30, 0, 0}, Variant(*Decimal::Parse("123.45")), 2},
        DecodeCase{"decimal of three words", JetType::kNumeric, BigDecimal(),
                   Variant(*Decimal::Parse("-12345678901234567890123"))}),
    [](const auto& param) {
        std::string name = param.param.name;
        for (char& ch : name) ch = std::isalnum(static_cast<unsigned char>(ch)) ? ch : '_';
        return name;
    });

INSTANTIATE_TEST_SUITE_P(
    Dates, JetDecodeTest,
    ::testing::Values(
        DecodeCase{"time of day", JetType::kDateTime, Le(std::bit_cast<std::uint64_t>(44532.75), 8), Variant::FromDate(44532.75)},
        DecodeCase{"year 632", JetType::kDateTime,
                   Le(std::bit_cast<std::uint64_t>(DateSerialFromParts({632, 1, 1, 0, 0, 0})), 8),
                   Variant::FromDate(DateSerialFromParts({632, 1, 1, 0, 0, 0}))},
        DecodeCase{"before day 0 with a time", JetType::kDateTime, Le(std::bit_cast<std::uint64_t>(-1.25), 8),
                   Variant::FromDate(-1.25)}));

INSTANTIATE_TEST_SUITE_P(
    Others, JetDecodeTest,
    ::testing::Values(
        DecodeCase{"GUID groups little-endian", JetType::kGuid,
                   Bytes{0x33, 0x22, 0x11, 0x00, 0x55, 0x44, 0x77, 0x66, 0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF},
                   Variant("{00112233-4455-6677-8899-AABBCCDDEEFF}")},
        DecodeCase{"binary with zero bytes", JetType::kBinary, Bytes{0x00, 0x01, 0x00}, Variant(Bytes{0x00, 0x01, 0x00})},
        DecodeCase{"empty text is not Null", JetType::kText, Bytes{}, Variant("")},
        DecodeCase{"UCS-2 text", JetType::kText, Bytes{'U', 0, 'm', 0, 's', 0, 0xE4, 0, 't', 0, 'z', 0, 'e', 0},
                   Variant("Ums\xC3\xA4tze")},
        DecodeCase{"compressed text", JetType::kMemo, Bytes{0xFF, 0xFE, 'a', 0xE9, '\r', '\n', 'b'},
                   Variant("a\xC3\xA9\r\nb")},
        DecodeCase{"compressed text switching to UCS-2 and back", JetType::kText,
                   Bytes{0xFF, 0xFE, 'x', 0x00, 0xAC, 0x20, 0x00, 'y'}, Variant("x\xE2\x82\xACy")},
        DecodeCase{"surrogate pair", JetType::kText, Bytes{0x3D, 0xD8, 0x00, 0xDE}, Variant("\xF0\x9F\x98\x80")}),
    [](const auto& param) {
        std::string name = param.param.name;
        for (char& ch : name) ch = std::isalnum(static_cast<unsigned char>(ch)) ? ch : '_';
        return name;
    });

TEST(JetValueDecoderTest, Jet3TextIsCodePage1252) {
    const Bytes bytes = {0x80, ' ', 0xE4, 0x9C, 0x81};
    EXPECT_EQ(JetValueDecoder(true).Text(bytes), "\xE2\x82\xAC \xC3\xA4\xC5\x93\xC2\x81");
}

struct CodePageCase {
    const char* name;
    std::uint16_t codePage;
    Bytes bytes;
    std::string expected;
};

class JetCodePageTest : public ::testing::TestWithParam<CodePageCase> {};

TEST_P(JetCodePageTest, Jet3TextIsReadInTheFilesCodePage) {
    EXPECT_EQ(JetValueDecoder(true, GetParam().codePage).Text(GetParam().bytes), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    All, JetCodePageTest,
    ::testing::Values(
        CodePageCase{"cyrillic", 1251, Bytes{0xC0, 'b', 0xE4, 0xFF, 0xA8}, "\xD0\x90" "b\xD0\xB4\xD1\x8F\xD0\x81"},
        CodePageCase{"central_european", 1250, Bytes{0x8A, 0xE8, 0xB9, 0xF8}, "\xC5\xA0\xC4\x8D\xC4\x85\xC5\x99"},
        CodePageCase{"double_byte", 932, Bytes{'x', 0x82, 0xA0, 0x93, 0xFA}, "x\xE3\x81\x82\xE6\x97\xA5"},
        // A byte the code page leaves undefined, and a lead byte at the end.
        CodePageCase{"undefined_byte", 1251, Bytes{'a', 0x98, 'b'}, "a\xEF\xBF\xBD" "b"},
        CodePageCase{"cut_double_byte", 932, Bytes{'a', 0x82}, "a\xEF\xBF\xBD"},
        // A code page the system does not know is read as 1252.
        CodePageCase{"unknown", 0, Bytes{0x80, 0xE4}, "\xE2\x82\xAC\xC3\xA4"},
        CodePageCase{"unknown_high", 65000, Bytes{0xE4}, "\xC3\xA4"}),
    [](const auto& param) { return std::string(param.param.name); });

TEST(JetValueDecoderTest, RefusesBytesThatCannotHoldTheType) {
    const JetValueDecoder decoder(false);
    EXPECT_FALSE(decoder.Decode(JetType::kLong, Bytes{1, 2}));
    EXPECT_FALSE(decoder.Decode(JetType::kDouble, Bytes(7, 0)));
    EXPECT_FALSE(decoder.Decode(JetType::kGuid, Bytes(15, 0)));
    // A date outside years 100-9999 (a damaged row) is no date.
    for (const double serial : {std::nan(""), 1e300, kMinDateSerial - 1.5, kMaxDateSerial + 1.0}) {
        EXPECT_FALSE(decoder.Decode(JetType::kDateTime, Le(std::bit_cast<std::uint64_t>(serial), 8))) << serial;
    }
    EXPECT_FALSE(decoder.Decode(JetType::kComplex, Bytes(4, 0)));
    // A magnitude beyond 96 bits, or a scale beyond 28, is no Decimal.
    Bytes huge(17, 0);
    huge[1] = 1;
    EXPECT_FALSE(decoder.Decode(JetType::kNumeric, huge));
    EXPECT_FALSE(decoder.Decode(JetType::kNumeric, Bytes(17, 0), 29));
}

TEST(JetValueDecoderTest, MapsStoredTypeCodesToDaoTypes) {
    const std::pair<std::uint8_t, std::int16_t> cases[] = {
        {1, dao::dbBoolean}, {4, dao::dbLong},      {5, dao::dbCurrency}, {6, dao::dbSingle},
        {8, dao::dbDate},    {10, dao::dbText},     {11, dao::dbLongBinary}, {12, dao::dbMemo},
        {15, dao::dbGUID},   {16, dao::dbDecimal},  {19, dao::dbBigInt},  {18, 0}};
    for (const auto& [code, dao] : cases) EXPECT_EQ(JetValueDecoder::DaoType(code), dao) << int(code);
}

}  // namespace
}  // namespace vorn
