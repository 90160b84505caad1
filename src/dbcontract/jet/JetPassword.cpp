#include "dbcontract/jet/JetPassword.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <vector>

#include "dbcontract/jet/JetValueDecoder.h"

namespace vorn {
namespace {

constexpr std::size_t kPasswordOffset = 0x42;
constexpr std::size_t kCreationDateOffset = 0x72;

// The four little-endian bytes of the whole days of the creation date, which
// Jet 4 mixes into the stored password.
std::array<std::uint8_t, 4> DateMask(std::span<const std::uint8_t> header) {
    std::uint64_t bits = 0;
    for (std::size_t i = 8; i-- > 0;) bits = (bits << 8) | header[kCreationDateOffset + i];
    const double created = std::bit_cast<double>(bits);
    std::int32_t days = 0;
    if (std::isfinite(created) && std::fabs(created) < 2.0e9) days = static_cast<std::int32_t>(std::floor(created));
    const auto word = static_cast<std::uint32_t>(days);
    return {static_cast<std::uint8_t>(word), static_cast<std::uint8_t>(word >> 8),
            static_cast<std::uint8_t>(word >> 16), static_cast<std::uint8_t>(word >> 24)};
}

}  // namespace

void JetPassword::Rc4(std::span<const std::uint8_t> key, std::span<std::uint8_t> data) {
    std::array<std::uint8_t, 256> s{};
    for (std::size_t i = 0; i < s.size(); ++i) s[i] = static_cast<std::uint8_t>(i);
    std::uint8_t j = 0;
    for (std::size_t i = 0; i < s.size(); ++i) {
        j = static_cast<std::uint8_t>(j + s[i] + key[i % key.size()]);
        std::swap(s[i], s[j]);
    }
    std::uint8_t x = 0;
    std::uint8_t y = 0;
    for (std::uint8_t& byte : data) {
        x = static_cast<std::uint8_t>(x + 1);
        y = static_cast<std::uint8_t>(y + s[x]);
        std::swap(s[x], s[y]);
        byte ^= s[static_cast<std::uint8_t>(s[x] + s[y])];
    }
}

std::string JetPassword::Decode(std::span<const std::uint8_t> page0, bool jet3, std::uint16_t codePage) {
    std::vector<std::uint8_t> header(page0.begin(), page0.begin() + kHeaderBytes);
    Rc4(kMaskKey, std::span(header).subspan(kMaskedStart, MaskedLength(jet3)));
    if (jet3) {
        std::size_t length = 0;
        while (length < 20 && header[kPasswordOffset + length] != 0) ++length;
        return JetValueDecoder::CodePageToUtf8(std::span(header).subspan(kPasswordOffset, length), codePage);
    }
    const auto mask = DateMask(header);
    std::array<std::uint8_t, 40> stored{};
    for (std::size_t i = 0; i < stored.size(); ++i) stored[i] = header[kPasswordOffset + i] ^ mask[i % 4];
    std::size_t length = 0;
    while (length + 1 < stored.size() && (stored[length] != 0 || stored[length + 1] != 0)) length += 2;
    return JetValueDecoder::Utf16ToUtf8(std::span(stored).first(length));
}

}  // namespace vorn
