#include "dbcontract/jet/JetFileHeader.h"

#include <cstdio>
#include <cstring>
#include <vector>

#include "dbcontract/jet/JetPassword.h"

namespace vorn {
namespace {

constexpr std::uint8_t kMagic[4] = {0x00, 0x01, 0x00, 0x00};
constexpr std::size_t kVersionOffset = 0x14;
constexpr std::size_t kCodePageOffset = 0x3C;
constexpr std::size_t kDatabaseKeyOffset = 0x3E;
constexpr std::size_t kJet4LanguageOffset = 0x6E;

std::uint32_t Word(std::span<const std::uint8_t> bytes, std::size_t offset, std::size_t count) {
    std::uint32_t value = 0;
    for (std::size_t i = count; i-- > 0;) value = (value << 8) | bytes[offset + i];
    return value;
}

}  // namespace

bool JetFileHeader::HasSignature(std::span<const std::uint8_t> start) {
    if (start.size() < kSignatureBytes) return false;
    if (std::memcmp(start.data(), kMagic, sizeof kMagic) != 0) return false;
    const char* name = reinterpret_cast<const char*>(start.data() + 4);
    return std::memcmp(name, "Standard Jet DB", 16) == 0 || std::memcmp(name, "Standard ACE DB", 16) == 0;
}

std::optional<JetFileHeader> JetFileHeader::Parse(std::span<const std::uint8_t> page0) {
    if (page0.size() < JetPassword::kHeaderBytes || !HasSignature(page0)) return std::nullopt;
    JetFileHeader header;
    header.version_ = page0[kVersionOffset];
    if (header.version_ > kNewestAce) return std::nullopt;
    // The fields below sit in the region the engine masks with a fixed key.
    std::vector<std::uint8_t> clear(page0.begin(), page0.begin() + JetPassword::kHeaderBytes);
    JetPassword::Rc4(JetPassword::kMaskKey,
                     std::span(clear).subspan(JetPassword::kMaskedStart, JetPassword::MaskedLength(header.IsJet3())));
    header.codePage_ = static_cast<std::uint16_t>(Word(clear, kCodePageOffset, 2));
    header.databaseKey_ = Word(clear, kDatabaseKeyOffset, 4);
    if (!header.IsJet3()) {
        const auto language = static_cast<std::uint16_t>(Word(clear, kJet4LanguageOffset, 2));
        if (language != 0) header.languageId_ = language;
    }
    if (!header.IsAce()) header.password_ = JetPassword::Decode(page0, header.IsJet3(), header.codePage_);
    return header;
}

std::string JetFileHeader::VersionText() const {
    switch (version_) {
    case kJet3: return "3.0";
    case kJet4: return "4.0";
    case 2: return "12.0";
    case 3: return "14.0";
    case 4: return "15.0";
    case 5: return "16.0";
    default: return "17.0";
    }
}

std::string JetFileHeader::LocaleText() const {
    char text[64];
    std::snprintf(text, sizeof text, ";LANGID=0x%04X;CP=%u;COUNTRY=0", languageId_, codePage_);
    return text;
}

}  // namespace vorn
