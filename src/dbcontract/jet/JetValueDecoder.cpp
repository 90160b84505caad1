#include "dbcontract/jet/JetValueDecoder.h"

#include <array>
#include <bit>
#include <cerrno>
#include <cstdio>
#include <cstdint>
#include <cstring>

#include <iconv.h>

#include "dbcontract/DaoConstants.h"
#include "runtime/Currency.h"
#include "runtime/DateSerial.h"
#include "runtime/Utf8.h"

namespace vorn {
namespace {

// Little-endian integers from stored bytes. REQUIRES: enough bytes.
std::uint64_t LittleEndian(std::span<const std::uint8_t> bytes, std::size_t count) {
    std::uint64_t value = 0;
    for (std::size_t i = count; i-- > 0;) value = (value << 8) | bytes[i];
    return value;
}

template <class T>
T FromBits(std::span<const std::uint8_t> bytes) {
    using Bits = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
    return std::bit_cast<T>(static_cast<Bits>(LittleEndian(bytes, sizeof(T))));
}

// Code page 1252 differs from Latin-1 only in 0x80-0x9F; the five holes of
// that range map to themselves, as the system's converter maps them.
constexpr std::array<char16_t, 32> kCp1252High = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

// One converter per thread, kept for the last code page asked for: a
// file's texts all share one code page, and opening a converter per value
// would cost more than converting it.
class CodePageConverter {
public:
    ~CodePageConverter() { Close(); }

    // nullptr when the system has no converter for the code page.
    iconv_t For(std::uint16_t codePage) {
        if (codePage != codePage_) {
            Close();
            codePage_ = codePage;
            const std::string name = "CP" + std::to_string(codePage);
            handle_ = iconv_open("UTF-8", name.c_str());
        }
        if (handle_ == kNone) return nullptr;
        iconv(handle_, nullptr, nullptr, nullptr, nullptr);  // a fresh shift state
        return handle_;
    }

private:
    static inline const iconv_t kNone = reinterpret_cast<iconv_t>(static_cast<std::intptr_t>(-1));

    void Close() {
        if (handle_ != kNone) iconv_close(handle_);
        handle_ = kNone;
    }

    std::uint16_t codePage_ = 0;
    iconv_t handle_ = kNone;
};

bool HasSize(JetType type, std::size_t size) {
    switch (type) {
    case JetType::kByte: return size == 1;
    case JetType::kInteger: return size == 2;
    case JetType::kLong:
    case JetType::kSingle: return size == 4;
    case JetType::kMoney:
    case JetType::kDouble:
    case JetType::kDateTime:
    case JetType::kBigInt: return size == 8;
    case JetType::kGuid: return size == 16;
    case JetType::kNumeric: return size == 17;
    default: return true;
    }
}

}  // namespace

std::optional<Variant> JetValueDecoder::Decode(JetType type, std::span<const std::uint8_t> bytes, int scale) const {
    if (!HasSize(type, bytes.size())) return std::nullopt;
    switch (type) {
    case JetType::kByte: return Variant(bytes[0]);
    case JetType::kInteger: return Variant(static_cast<std::int16_t>(LittleEndian(bytes, 2)));
    case JetType::kLong: return Variant(static_cast<std::int32_t>(LittleEndian(bytes, 4)));
    case JetType::kMoney: return Variant(Currency::FromScaled(static_cast<std::int64_t>(LittleEndian(bytes, 8))));
    case JetType::kSingle: return Variant(FromBits<float>(bytes));
    case JetType::kDouble: return Variant(FromBits<double>(bytes));
    // Jet counts dates as days from 1899-12-30, the runtime's own serials.
    // Anything outside years 100-9999 is damage, not a date.
    case JetType::kDateTime: {
        const double serial = FromBits<double>(bytes);
        if (!(serial > kMinDateSerial - 1.0 && serial < kMaxDateSerial + 1.0)) return std::nullopt;
        return Variant::FromDate(serial);
    }
    case JetType::kBigInt: return Variant(Decimal::FromInt64(static_cast<std::int64_t>(LittleEndian(bytes, 8))));
    case JetType::kGuid: return Variant(GuidText(bytes));
    case JetType::kNumeric: {
        const auto number = Numeric(bytes, scale);
        if (!number) return std::nullopt;
        return Variant(*number);
    }
    case JetType::kText:
    case JetType::kMemo: return Variant(Text(bytes));
    case JetType::kBinary:
    case JetType::kBinary17:
    case JetType::kOle: return Variant(Variant::Binary(bytes.begin(), bytes.end()));
    default: return std::nullopt;
    }
}

std::string JetValueDecoder::Text(std::span<const std::uint8_t> bytes) const {
    if (jet3_) return CodePageToUtf8(bytes, codePage_);
    if (bytes.size() >= 2 && bytes[0] == 0xFF && bytes[1] == 0xFE) return CompressedToUtf8(bytes.subspan(2));
    return Utf16ToUtf8(bytes);
}

std::string JetValueDecoder::Cp1252ToUtf8(std::span<const std::uint8_t> bytes) {
    std::string out;
    out.reserve(bytes.size());
    for (const std::uint8_t b : bytes) {
        if (b < 0x80) {
            out += static_cast<char>(b);
        } else {
            out += utf8::FromCodePoint(b < 0xA0 ? kCp1252High[b - 0x80] : b);
        }
    }
    return out;
}

std::string JetValueDecoder::CodePageToUtf8(std::span<const std::uint8_t> bytes, std::uint16_t codePage) {
    if (codePage == 1252) return Cp1252ToUtf8(bytes);
    thread_local CodePageConverter converter;
    const iconv_t handle = converter.For(codePage);
    if (handle == nullptr) return Cp1252ToUtf8(bytes);
    std::string out(bytes.size() * 4 + 8, '\0');  // no code page takes more than 4 UTF-8 bytes a byte
    char* in = const_cast<char*>(reinterpret_cast<const char*>(bytes.data()));
    std::size_t inLeft = bytes.size();
    char* put = out.data();
    std::size_t outLeft = out.size();
    while (inLeft > 0) {
        if (iconv(handle, &in, &inLeft, &put, &outLeft) != static_cast<std::size_t>(-1)) break;
        if (errno == E2BIG) break;  // cannot happen with the room given
        // An undefined byte, or a lead byte with nothing after it.
        const std::string replacement = utf8::FromCodePoint(0xFFFD);
        if (outLeft < replacement.size()) break;
        std::memcpy(put, replacement.data(), replacement.size());
        put += replacement.size();
        outLeft -= replacement.size();
        ++in;
        --inLeft;
    }
    // Code pages with combining marks may hold back the last character.
    iconv(handle, nullptr, nullptr, &put, &outLeft);
    out.resize(static_cast<std::size_t>(put - out.data()));
    return out;
}

std::string JetValueDecoder::Utf16ToUtf8(std::span<const std::uint8_t> bytes) {
    std::string out;
    out.reserve(bytes.size() / 2);
    const std::size_t units = bytes.size() / 2;
    for (std::size_t i = 0; i < units; ++i) {
        const char32_t unit = bytes[2 * i] | (bytes[2 * i + 1] << 8);
        if (unit < 0x80) {
            out += static_cast<char>(unit);
            continue;
        }
        char32_t cp = unit;
        if (unit >= 0xD800 && unit < 0xDC00 && i + 1 < units) {
            const char32_t low = bytes[2 * i + 2] | (bytes[2 * i + 3] << 8);
            if (low >= 0xDC00 && low < 0xE000) {
                cp = 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
                ++i;
            }
        }
        if (cp >= 0xD800 && cp < 0xE000) cp = 0xFFFD;
        out += utf8::FromCodePoint(cp);
    }
    return out;
}

std::string JetValueDecoder::CompressedToUtf8(std::span<const std::uint8_t> bytes) {
    std::string out;
    out.reserve(bytes.size());
    bool compressed = true;
    std::size_t i = 0;
    while (i < bytes.size()) {
        if (bytes[i] == 0x00) {
            compressed = !compressed;
            ++i;
            continue;
        }
        if (compressed) {
            out += utf8::FromCodePoint(bytes[i]);
            ++i;
            continue;
        }
        // An uncompressed run ends at a 00 byte that starts a pair, or at the end.
        const std::size_t start = i;
        while (i + 1 < bytes.size() && bytes[i] != 0x00) i += 2;
        out += Utf16ToUtf8(bytes.subspan(start, i - start));
        if (i + 1 == bytes.size() && bytes[i] != 0x00) ++i;  // a stray odd byte
    }
    return out;
}

std::optional<Decimal> JetValueDecoder::Numeric(std::span<const std::uint8_t> bytes, int scale) {
    if (bytes.size() != 17 || scale < 0 || scale > Decimal::kMaxScale) return std::nullopt;
    const bool negative = (bytes[0] & 0x80) != 0;
    std::array<std::uint32_t, 4> words{};  // most significant first
    for (std::size_t w = 0; w < 4; ++w) {
        words[w] = static_cast<std::uint32_t>(LittleEndian(bytes.subspan(1 + 4 * w, 4), 4));
    }
    if (words[0] != 0) return std::nullopt;
    const std::uint64_t low = (static_cast<std::uint64_t>(words[2]) << 32) | words[3];
    return Decimal::FromParts(words[1], low, scale, negative);
}

std::string JetValueDecoder::GuidText(std::span<const std::uint8_t> b) {
    char text[40];
    std::snprintf(text, sizeof text, "{%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X}",
                  b[3], b[2], b[1], b[0], b[5], b[4], b[7], b[6], b[8], b[9], b[10], b[11], b[12], b[13],
                  b[14], b[15]);
    return text;
}

std::int16_t JetValueDecoder::DaoType(std::uint8_t jetType) {
    switch (static_cast<JetType>(jetType)) {
    case JetType::kBoolean: return dao::dbBoolean;
    case JetType::kByte: return dao::dbByte;
    case JetType::kInteger: return dao::dbInteger;
    case JetType::kLong: return dao::dbLong;
    case JetType::kMoney: return dao::dbCurrency;
    case JetType::kSingle: return dao::dbSingle;
    case JetType::kDouble: return dao::dbDouble;
    case JetType::kDateTime: return dao::dbDate;
    case JetType::kBinary:
    case JetType::kBinary17: return dao::dbBinary;
    case JetType::kText: return dao::dbText;
    case JetType::kOle: return dao::dbLongBinary;
    case JetType::kMemo: return dao::dbMemo;
    case JetType::kGuid: return dao::dbGUID;
    case JetType::kNumeric: return dao::dbDecimal;
    case JetType::kBigInt: return dao::dbBigInt;
    default: return 0;
    }
}

}  // namespace vorn
