// The header page: the file's kind, version, encryption, and the stored
// database password, decoded from page-0 images made here from the
// documented format with known passwords.

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "dbcontract/jet/JetFileHeader.h"
#include "dbcontract/jet/JetPassword.h"

namespace vorn {
namespace {

// RC4, written here again so that the images do not depend on the code
// under test.
void Rc4(std::vector<std::uint8_t>& bytes, std::size_t start, std::size_t length) {
    const std::uint8_t key[] = {0xC7, 0xDA, 0x39, 0x6B};
    std::array<std::uint8_t, 256> s{};
    for (int i = 0; i < 256; ++i) s[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(i);
    int j = 0;
    for (int i = 0; i < 256; ++i) {
        j = (j + s[static_cast<std::size_t>(i)] + key[i % 4]) & 0xFF;
        std::swap(s[static_cast<std::size_t>(i)], s[static_cast<std::size_t>(j)]);
    }
    int x = 0;
    int y = 0;
    for (std::size_t n = 0; n < length; ++n) {
        x = (x + 1) & 0xFF;
        y = (y + s[static_cast<std::size_t>(x)]) & 0xFF;
        std::swap(s[static_cast<std::size_t>(x)], s[static_cast<std::size_t>(y)]);
        bytes[start + n] ^= s[static_cast<std::size_t>((s[static_cast<std::size_t>(x)] + s[static_cast<std::size_t>(y)]) & 0xFF)];
    }
}

// A header page of `version` whose clear bytes are `clear` from 0x18 on,
// masked as the engine masks them.
std::vector<std::uint8_t> HeaderPage(int version, const std::vector<std::pair<std::size_t, std::vector<std::uint8_t>>>& clear) {
    std::vector<std::uint8_t> page(version == 0 ? 2048 : 4096, 0);
    page[1] = 0x01;
    std::memcpy(page.data() + 4, version >= 2 ? "Standard ACE DB" : "Standard Jet DB", 16);
    page[0x14] = static_cast<std::uint8_t>(version);
    page[0x3C] = 0xE4;  // code page 1252
    page[0x3D] = 0x04;
    for (const auto& [offset, bytes] : clear) std::copy(bytes.begin(), bytes.end(), page.begin() + static_cast<std::ptrdiff_t>(offset));
    Rc4(page, 0x18, version == 0 ? 126 : 128);
    return page;
}

std::vector<std::uint8_t> DoubleBytes(double value) {
    const auto bits = std::bit_cast<std::uint64_t>(value);
    std::vector<std::uint8_t> bytes(8);
    for (int i = 0; i < 8; ++i) bytes[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(bits >> (8 * i));
    return bytes;
}

// Jet 4 keeps UCS-2 of the password mixed with the whole days of the
// creation date.
std::vector<std::uint8_t> Jet4Password(const std::u16string& password, double created) {
    const auto days = static_cast<std::uint32_t>(static_cast<std::int32_t>(std::floor(created)));
    std::vector<std::uint8_t> bytes(40, 0);
    for (std::size_t i = 0; i < password.size(); ++i) {
        bytes[2 * i] = static_cast<std::uint8_t>(password[i]);
        bytes[2 * i + 1] = static_cast<std::uint8_t>(password[i] >> 8);
    }
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] ^= static_cast<std::uint8_t>(days >> (8 * (i % 4)));
    return bytes;
}

struct Jet4Case {
    const char* name;
    std::u16string password;
    double created;
    std::string expected;
};

class Jet4PasswordTest : public ::testing::TestWithParam<Jet4Case> {};

TEST_P(Jet4PasswordTest, DecodesTheStoredPassword) {
    const auto& c = GetParam();
    const auto page = HeaderPage(1, {{0x42, Jet4Password(c.password, c.created)}, {0x72, DoubleBytes(c.created)}});
    EXPECT_EQ(JetPassword::Decode(page, false), c.expected);
    EXPECT_EQ(JetFileHeader::Parse(page)->Password(), c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Jet4, Jet4PasswordTest,
    ::testing::Values(Jet4Case{"none", u"", 38135.74, ""},
                      Jet4Case{"plain", u"secret", 38135.74, "secret"},
                      Jet4Case{"mixed case and blanks", u" Geheim 42 ", 44532.65, " Geheim 42 "},
                      Jet4Case{"non-ASCII", u"M\u00FCller\u20AC", 39237.9, "M\xC3\xBCller\xE2\x82\xAC"},
                      Jet4Case{"twenty characters", u"abcdefghijklmnopqrst", 40000.0, "abcdefghijklmnopqrst"},
                      Jet4Case{"created before 1900", u"old", -1234.25, "old"}),
    [](const auto& param) {
        std::string name = param.param.name;
        for (char& ch : name) ch = std::isalnum(static_cast<unsigned char>(ch)) ? ch : '_';
        return name;
    });

TEST(Jet3PasswordTest, DecodesSingleByteCharactersWithoutADateMask) {
    std::vector<std::uint8_t> password = {'K', 0xE4, 's', 'e'};  // "Käse" in code page 1252
    const auto page = HeaderPage(0, {{0x42, password}, {0x72, DoubleBytes(35000.0)}});
    EXPECT_EQ(JetPassword::Decode(page, true), "K\xC3\xA4se");
}

TEST(Jet3PasswordTest, StopsAtTwentyCharacters) {
    const std::string twenty = "ABCDEFGHIJKLMNOPQRST";
    std::vector<std::uint8_t> bytes(twenty.begin(), twenty.end());
    bytes.push_back('X');  // the byte after the field belongs to the sort order
    const auto page = HeaderPage(0, {{0x42, bytes}});
    EXPECT_EQ(JetPassword::Decode(page, true), twenty);
}

TEST(JetPasswordTest, Rc4MatchesAPublishedTestVector) {
    // Key "Key", plain text "Plaintext" -> BB F3 16 E8 D9 40 AF 0A D3.
    const std::uint8_t key[] = {'K', 'e', 'y'};
    std::vector<std::uint8_t> data = {'P', 'l', 'a', 'i', 'n', 't', 'e', 'x', 't'};
    JetPassword::Rc4(key, data);
    EXPECT_EQ(data, (std::vector<std::uint8_t>{0xBB, 0xF3, 0x16, 0xE8, 0xD9, 0x40, 0xAF, 0x0A, 0xD3}));
}

// ---- The rest of the header ------------------------------------------------

struct VersionCase {
    int version;
    const char* text;
    std::size_t pageSize;
};

class JetHeaderVersionTest : public ::testing::TestWithParam<VersionCase> {};

TEST_P(JetHeaderVersionTest, KnowsVersionAndPageSize) {
    const auto header = JetFileHeader::Parse(HeaderPage(GetParam().version, {}));
    ASSERT_TRUE(header);
    EXPECT_EQ(header->VersionText(), GetParam().text);
    EXPECT_EQ(header->PageSize(), GetParam().pageSize);
}

INSTANTIATE_TEST_SUITE_P(All, JetHeaderVersionTest,
                         ::testing::Values(VersionCase{0, "3.0", 2048}, VersionCase{1, "4.0", 4096},
                                           VersionCase{2, "12.0", 4096}, VersionCase{3, "14.0", 4096},
                                           VersionCase{5, "16.0", 4096}));

TEST(JetHeaderTest, RefusesOtherFilesAndUnknownVersions) {
    auto page = HeaderPage(1, {});
    EXPECT_TRUE(JetFileHeader::HasSignature(page));
    page[0x14] = 0x40;
    EXPECT_FALSE(JetFileHeader::Parse(page));
    std::vector<std::uint8_t> text(4096, 'x');
    EXPECT_FALSE(JetFileHeader::HasSignature(text));
    EXPECT_FALSE(JetFileHeader::Parse(text));
    const auto whole = HeaderPage(1, {});
    EXPECT_FALSE(JetFileHeader::Parse(std::span(whole).first(100)));
}

TEST(JetHeaderTest, AnAceFileWithAKeyIsEncryptedAJet4FileIsNot) {
    const std::vector<std::uint8_t> key = {0xCF, 0x68, 0xB3, 0xA0};
    EXPECT_TRUE(JetFileHeader::Parse(HeaderPage(3, {{0x3E, key}}))->IsEncrypted());
    EXPECT_FALSE(JetFileHeader::Parse(HeaderPage(3, {}))->IsEncrypted());
    EXPECT_FALSE(JetFileHeader::Parse(HeaderPage(1, {{0x3E, key}}))->IsEncrypted());
}

TEST(JetHeaderTest, LocaleTextCarriesLanguageAndCodePage) {
    const auto header = JetFileHeader::Parse(HeaderPage(1, {{0x3C, {0xE4, 0x04}}, {0x6E, {0x07, 0x04}}}));
    EXPECT_EQ(header->LocaleText(), ";LANGID=0x0407;CP=1252;COUNTRY=0");
}

}  // namespace
}  // namespace vorn
