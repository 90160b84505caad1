#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace vorn {

// What the first page of a Jet or ACE file says about it: the format
// version, the page size, the code page and sort language, whether its pages
// are encrypted, and the stored database password. Read before anything
// else touches the file, so that a file of another kind, a truncated one or
// an encrypted one is refused at once.
class JetFileHeader {
public:
    // Format versions as the header's byte 0x14 gives them.
    static constexpr int kJet3 = 0;
    static constexpr int kJet4 = 1;
    static constexpr int kNewestAce = 6;

    // Bytes needed to tell whether a file is a Jet or ACE file at all.
    static constexpr std::size_t kSignatureBytes = 20;

    // True when the bytes start with the signature of a Jet or ACE file
    // ("Standard Jet DB" or "Standard ACE DB").
    static bool HasSignature(std::span<const std::uint8_t> start);

    // Reads a header page. nullopt when the bytes are not the header of a Jet
    // or ACE file of a known version, or too short to hold one.
    static std::optional<JetFileHeader> Parse(std::span<const std::uint8_t> page0);

    int Version() const { return version_; }
    bool IsJet3() const { return version_ == kJet3; }
    bool IsAce() const { return version_ > kJet4; }
    std::size_t PageSize() const { return IsJet3() ? 2048 : 4096; }
    std::uint16_t CodePage() const { return codePage_; }
    std::uint16_t LanguageId() const { return languageId_; }

    // An ACE file encrypted with a password: its pages cannot be read without
    // decrypting them, which this reader does not do. (A Jet 4 file with a
    // key is only RC4-masked, and the reader unmasks it.)
    bool IsEncrypted() const { return IsAce() && databaseKey_ != 0; }

    // The stored database password (Jet 3 and Jet 4), "" when none.
    const std::string& Password() const { return password_; }

    // The version as the engine answers it: "3.0", "4.0", "12.0", ...
    std::string VersionText() const;

    // The locale text of a new project file with the same collation:
    // ";LANGID=0x0409;CP=1252;COUNTRY=0".
    std::string LocaleText() const;

private:
    int version_ = kJet4;
    std::uint32_t databaseKey_ = 0;
    std::uint16_t codePage_ = 1252;
    std::uint16_t languageId_ = 0x0409;
    std::string password_;
};

}  // namespace vorn
