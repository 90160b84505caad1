#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "runtime/Decimal.h"
#include "runtime/Variant.h"

namespace vorn {

// The column type codes that a Jet or ACE file stores. They are not DAO's:
// 16 is a decimal (DAO 20) and 19 a big integer (DAO 16).
enum class JetType : std::uint8_t {
    kBoolean = 1,
    kByte = 2,
    kInteger = 3,
    kLong = 4,
    kMoney = 5,
    kSingle = 6,
    kDouble = 7,
    kDateTime = 8,
    kBinary = 9,
    kText = 10,
    kOle = 11,
    kMemo = 12,
    kGuid = 15,
    kNumeric = 16,
    kBinary17 = 17,  // a binary kind seen in Access's own system tables
    kComplex = 18,
    kBigInt = 19,
};

// Values from the bytes a Jet or ACE file stores, exactly: the reader's own
// text conversion rounds floating-point numbers, loses dates outside about
// 1900-2100, cuts long texts and drops big integers, so every value is
// decoded here from its stored form instead.
class JetValueDecoder {
public:
    // `jet3` selects the older text form: bytes in the file's code page
    // (`codePage`, from its header) instead of UCS-2.
    explicit JetValueDecoder(bool jet3, std::uint16_t codePage = 1252) : jet3_(jet3), codePage_(codePage) {}

    // The value of a stored field that is not Null, as the runtime holds a
    // value of that type: text and memo as UTF-8, byte/integer/long/single/
    // double as themselves, currency exact, dates as serials, big integers
    // and decimals as Decimal (no wider integer fits a Variant), GUIDs as
    // "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}", binary and OLE as bytes.
    // nullopt when the bytes cannot hold a value of the type (a damaged
    // row) or the type is one nobody decodes. A boolean's value is its null
    // bit, so booleans are not decoded here. `scale` is a decimal's.
    std::optional<Variant> Decode(JetType type, std::span<const std::uint8_t> bytes, int scale = 0) const;

    // Text as the file stores it: Jet 3 in the file's code page; Jet 4 and
    // ACE in UCS-2, or "compressed" when it starts with FF FE.
    std::string Text(std::span<const std::uint8_t> bytes) const;

    static std::string Cp1252ToUtf8(std::span<const std::uint8_t> bytes);
    // Text in a Windows code page. A code page the system cannot convert
    // is read as 1252; a byte sequence the code page does not define
    // becomes U+FFFD.
    static std::string CodePageToUtf8(std::span<const std::uint8_t> bytes, std::uint16_t codePage);
    // UTF-16 little-endian, surrogate pairs joined; a lone surrogate becomes U+FFFD.
    static std::string Utf16ToUtf8(std::span<const std::uint8_t> bytes);
    // Jet 4's compressed form after its FF FE mark: single bytes standing for
    // U+0000-U+00FF, with each 00 byte switching to UCS-2 pairs and back.
    static std::string CompressedToUtf8(std::span<const std::uint8_t> bytes);

    // A decimal of 17 bytes: a sign byte (0x80 negative), then four
    // little-endian 32-bit words, the most significant first. nullopt when
    // the magnitude needs more than 96 bits or the scale is beyond 28.
    static std::optional<Decimal> Numeric(std::span<const std::uint8_t> bytes, int scale);

    // A GUID of 16 bytes in the order the file keeps them (the first three
    // groups little-endian).
    static std::string GuidText(std::span<const std::uint8_t> bytes);

    // The DAO type of a stored type code; 0 for a code DAO has no type for.
    static std::int16_t DaoType(std::uint8_t jetType);

private:
    bool jet3_;
    std::uint16_t codePage_;
};

}  // namespace vorn
