// The stored property blocks of Jet objects, built here byte by byte.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "dbcontract/DaoConstants.h"
#include "dbcontract/jet/JetPropertyBlock.h"

namespace vorn {
namespace {

using Bytes = std::vector<std::uint8_t>;

void Put(Bytes& out, std::uint32_t value, int count) {
    for (int i = 0; i < count; ++i) out.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}

// Text as the block stores it: single bytes in Jet 3, UCS-2 in Jet 4.
Bytes Text(const std::string& ascii, bool jet3) {
    Bytes out;
    for (const char c : ascii) {
        out.push_back(static_cast<std::uint8_t>(c));
        if (!jet3) out.push_back(0);
    }
    return out;
}

struct Entry {
    std::uint8_t type;
    std::uint16_t nameIndex;
    Bytes value;
};

class BlockBuilder {
public:
    explicit BlockBuilder(bool jet3) : jet3_(jet3) {
        const char* magic = jet3 ? "KKD" : "MR2";
        bytes_.assign(magic, magic + 4);
    }
    BlockBuilder& Names(const std::vector<std::string>& names) {
        Bytes chunk;
        for (const auto& name : names) {
            const Bytes text = Text(name, jet3_);
            Put(chunk, static_cast<std::uint32_t>(text.size()), 2);
            chunk.insert(chunk.end(), text.begin(), text.end());
        }
        return Chunk(0x80, chunk);
    }
    BlockBuilder& Group(const std::string& name, const std::vector<Entry>& entries) {
        Bytes chunk;
        const Bytes text = Text(name, jet3_);
        Put(chunk, static_cast<std::uint32_t>(6 + text.size()), 4);
        Put(chunk, static_cast<std::uint32_t>(text.size()), 2);
        chunk.insert(chunk.end(), text.begin(), text.end());
        for (const auto& e : entries) {
            Put(chunk, static_cast<std::uint32_t>(8 + e.value.size()), 2);
            chunk.push_back(0);  // DDL flag
            chunk.push_back(e.type);
            Put(chunk, e.nameIndex, 2);
            Put(chunk, static_cast<std::uint32_t>(e.value.size()), 2);
            chunk.insert(chunk.end(), e.value.begin(), e.value.end());
        }
        return Chunk(name.empty() ? 0 : 1, chunk);
    }
    const Bytes& Build() const { return bytes_; }

private:
    BlockBuilder& Chunk(std::uint16_t type, const Bytes& chunk) {
        Put(bytes_, static_cast<std::uint32_t>(6 + chunk.size()), 4);
        Put(bytes_, type, 2);
        bytes_.insert(bytes_.end(), chunk.begin(), chunk.end());
        return *this;
    }

    bool jet3_;
    Bytes bytes_;
};

Bytes Le(std::uint64_t value, int count) {
    Bytes out;
    Put(out, static_cast<std::uint32_t>(value), std::min(count, 4));
    if (count == 8) Put(out, static_cast<std::uint32_t>(value >> 32), 4);
    return out;
}

Bytes SampleBlock(bool jet3) {
    return BlockBuilder(jet3)
        .Names({"Description", "vornKeyIsCounter", "vornSplitterPosition", "vornDisplayPs", "Caption", "GUID"})
        .Group("", {{10, 0, Text("Boreholes", jet3)}, {1, 1, {0xFF}}, {3, 2, Le(1500, 4)}, {4, 3, Le(70000, 4)}})
        .Group("Depth", {{12, 4, Text("Depth (m)", jet3)}, {9, 5, Bytes(16, 0xAB)}})
        .Build();
}

class JetPropertyBlockTest : public ::testing::TestWithParam<bool> {};

TEST_P(JetPropertyBlockTest, ReadsTypedValuesOfTheObjectAndItsColumns) {
    const JetPropertyBlock block(SampleBlock(GetParam()), GetParam());
    EXPECT_FALSE(block.Damaged());
    ASSERT_EQ(block.Groups().size(), 2u);
    const auto* table = block.Find("");
    ASSERT_NE(table, nullptr);
    const std::vector<PropertyInfo> expected = {
        {"Description", dao::dbText, Variant("Boreholes")},
        {"vornKeyIsCounter", dao::dbBoolean, Variant(true)},
        // An Integer stored in four bytes is still an Integer.
        {"vornSplitterPosition", dao::dbInteger, Variant(std::int16_t{1500})},
        {"vornDisplayPs", dao::dbLong, Variant(std::int32_t{70000})}};
    ASSERT_EQ(table->properties.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(table->properties[i].name, expected[i].name);
        EXPECT_EQ(table->properties[i].type, expected[i].type) << expected[i].name;
        EXPECT_EQ(table->properties[i].value, expected[i].value) << expected[i].name;
    }
    const auto* column = block.Find("Depth");
    ASSERT_NE(column, nullptr);
    ASSERT_EQ(column->properties.size(), 2u);
    EXPECT_EQ(column->properties[0].value, Variant("Depth (m)"));
    EXPECT_EQ(column->properties[0].type, dao::dbMemo);
    EXPECT_EQ(column->properties[1].value, Variant(Bytes(16, 0xAB)));
}

INSTANTIATE_TEST_SUITE_P(Jet3AndJet4, JetPropertyBlockTest, ::testing::Values(true, false),
                         [](const auto& param) { return param.param ? "Jet3" : "Jet4"; });

TEST(JetPropertyBlockDamageTest, ATruncatedBlockNeverPassesForAWholeOne) {
    const Bytes whole = SampleBlock(false);
    for (std::size_t cut = 1; cut < whole.size(); ++cut) {
        const JetPropertyBlock block(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(cut)), false);
        // A cut between two groups leaves a shorter block that is sound.
        EXPECT_TRUE(block.Damaged() || block.Groups().size() < 2) << cut;
        for (const auto& group : block.Groups()) EXPECT_LE(group.properties.size(), 4u);
    }
}

TEST(JetPropertyBlockDamageTest, ANameIndexOutsideThePoolEndsTheParse) {
    const Bytes bytes = BlockBuilder(true).Names({"Only"}).Group("", {{10, 7, Text("x", true)}}).Build();
    const JetPropertyBlock block(bytes, true);
    EXPECT_TRUE(block.Damaged());
    EXPECT_TRUE(block.Groups().empty());
}

TEST(JetPropertyBlockDamageTest, AnotherMagicIsNoBlock) {
    const JetPropertyBlock block(Bytes{'X', 'Y', 'Z', 0, 1, 2}, false);
    EXPECT_TRUE(block.Damaged());
    EXPECT_TRUE(block.Groups().empty());
    EXPECT_FALSE(JetPropertyBlock(Bytes{}, false).Damaged());
}

TEST(JetPropertyBlockDamageTest, AnUndecodableTypeIsNamedAndLeftOut) {
    const Bytes bytes = BlockBuilder(false).Names({"Odd", "Fine"}).Group("", {{18, 0, Bytes(4, 1)}, {2, 1, {7}}}).Build();
    const JetPropertyBlock block(bytes, false);
    EXPECT_FALSE(block.Damaged());
    ASSERT_EQ(block.Undecoded(), std::vector<std::string>{"Odd"});
    ASSERT_EQ(block.Find("")->properties.size(), 1u);
    EXPECT_EQ(block.Find("")->properties[0].value, Variant(std::uint8_t{7}));
}

}  // namespace
}  // namespace vorn
