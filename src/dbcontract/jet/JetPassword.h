#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace vorn {

// The database password of a Jet 3 or Jet 4 file. Such a file keeps its data
// pages in clear and only stores the password, masked, in its header page;
// the engine refuses to open it without that password, and so do we.
class JetPassword {
public:
    // The RC4 stream cipher, applied in place (encrypting and decrypting are
    // the same operation).
    static void Rc4(std::span<const std::uint8_t> key, std::span<std::uint8_t> data);

    // The password stored in a header page, as UTF-8; "" when the file has
    // none. `page0` is the file's first page as stored (at least 0x98
    // bytes); `jet3` picks the older layout (single-byte characters in the
    // file's code page, no date mask).
    // REQUIRES: page0.size() >= kHeaderBytes.
    static std::string Decode(std::span<const std::uint8_t> page0, bool jet3, std::uint16_t codePage = 1252);

    // The header bytes that Decode reads.
    static constexpr std::size_t kHeaderBytes = 0x18 + 128;

    // The region of page 0 that the engine masks with RC4, and its key.
    static constexpr std::size_t kMaskedStart = 0x18;
    static constexpr std::size_t MaskedLength(bool jet3) { return jet3 ? 126 : 128; }
    static constexpr std::uint8_t kMaskKey[4] = {0xC7, 0xDA, 0x39, 0x6B};
};

}  // namespace vorn
