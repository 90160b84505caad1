#include "dbcontract/jet/JetPropertyBlock.h"

#include <cstring>

#include "dbcontract/jet/JetValueDecoder.h"

namespace vorn {
namespace {

constexpr std::uint16_t kNamePool = 0x80;
constexpr std::uint16_t kObjectGroup = 0x00;
constexpr std::uint16_t kColumnGroup = 0x01;

std::uint32_t Word(std::span<const std::uint8_t> bytes, std::size_t offset, std::size_t count) {
    std::uint32_t value = 0;
    for (std::size_t i = count; i-- > 0;) value = (value << 8) | bytes[offset + i];
    return value;
}

// A property value in its stored form. Numbers may be stored wider than
// their type (an Integer in four bytes), so only the leading bytes count.
std::optional<Variant> PropertyValue(const JetValueDecoder& decoder, std::uint8_t type,
                                     std::span<const std::uint8_t> value) {
    const auto jetType = static_cast<JetType>(type);
    switch (jetType) {
    case JetType::kBoolean: return Variant(!value.empty() && value[0] != 0);
    case JetType::kByte:
        if (value.empty()) return std::nullopt;
        return decoder.Decode(jetType, value.first(1));
    case JetType::kInteger:
        if (value.size() < 2) return std::nullopt;
        return decoder.Decode(jetType, value.first(2));
    case JetType::kLong:
    case JetType::kSingle:
        if (value.size() < 4) return std::nullopt;
        return decoder.Decode(jetType, value.first(4));
    default: return decoder.Decode(jetType, value);
    }
}

}  // namespace

JetPropertyBlock::JetPropertyBlock(std::span<const std::uint8_t> bytes, bool jet3, std::uint16_t codePage)
    : jet3_(jet3), codePage_(codePage) {
    if (bytes.size() < 4 || (std::memcmp(bytes.data(), "KKD", 4) != 0 && std::memcmp(bytes.data(), "MR2", 4) != 0)) {
        damaged_ = !bytes.empty();
        return;
    }
    std::size_t offset = 4;
    while (offset + 6 <= bytes.size()) {
        const std::uint32_t length = Word(bytes, offset, 4);
        const auto type = static_cast<std::uint16_t>(Word(bytes, offset + 4, 2));
        if (length < 6 || length > bytes.size() - offset) {
            damaged_ = true;
            return;
        }
        const auto chunk = bytes.subspan(offset + 6, length - 6);
        bool read = true;
        if (type == kNamePool) {
            read = ReadNames(chunk);
        } else if (type == kObjectGroup || type == kColumnGroup) {
            read = ReadGroup(chunk);
        }
        if (!read) {
            damaged_ = true;
            return;
        }
        offset += length;
    }
    if (offset != bytes.size()) damaged_ = true;
}

const JetPropertyBlock::Group* JetPropertyBlock::Find(const std::string& name) const {
    for (const Group& group : groups_) {
        if (group.name == name) return &group;
    }
    return nullptr;
}

bool JetPropertyBlock::ReadNames(std::span<const std::uint8_t> chunk) {
    const JetValueDecoder decoder(jet3_, codePage_);
    std::size_t offset = 0;
    while (offset + 2 <= chunk.size()) {
        const std::size_t length = Word(chunk, offset, 2);
        if (length > chunk.size() - offset - 2) return false;
        names_.push_back(decoder.Text(chunk.subspan(offset + 2, length)));
        offset += 2 + length;
    }
    return offset == chunk.size();
}

// A group: the length of its name part (the 4-byte length included), the
// name, then entries of: length (2), DDL flag (1), type (1), name index (2),
// value length (2), value.
bool JetPropertyBlock::ReadGroup(std::span<const std::uint8_t> chunk) {
    const JetValueDecoder decoder(jet3_, codePage_);
    if (chunk.size() < 6) return false;
    const std::uint32_t nameBlock = Word(chunk, 0, 4);
    const std::size_t nameLength = Word(chunk, 4, 2);
    if (nameBlock < 6 || nameBlock > chunk.size() || nameLength > nameBlock - 6) return false;
    Group group;
    group.name = decoder.Text(chunk.subspan(6, nameLength));
    std::size_t offset = nameBlock;
    while (offset + 8 <= chunk.size()) {
        const std::size_t length = Word(chunk, offset, 2);
        const std::uint8_t type = chunk[offset + 3];
        const std::size_t nameIndex = Word(chunk, offset + 4, 2);
        const std::size_t valueLength = Word(chunk, offset + 6, 2);
        if (length < 8 || length > chunk.size() - offset || valueLength > length - 8 || nameIndex >= names_.size()) {
            return false;
        }
        const auto value = PropertyValue(decoder, type, chunk.subspan(offset + 8, valueLength));
        const std::int16_t daoType = JetValueDecoder::DaoType(type);
        if (value && daoType != 0) {
            group.properties.push_back({names_[nameIndex], daoType, *value});
        } else {
            undecoded_.push_back(names_[nameIndex]);
        }
        offset += length;
    }
    groups_.push_back(std::move(group));
    return offset == chunk.size();
}

}  // namespace vorn
