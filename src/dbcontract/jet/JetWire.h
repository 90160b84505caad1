#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "dbcontract/CatalogInfo.h"
#include "dbcontract/jet/JetRecordSink.h"
#include "runtime/Variant.h"

namespace vorn {

// The byte form of the records that cross the pipe from the reading child
// to the parent: each a frame of a 4-byte little-endian payload length, a
// 1-byte message type and the payload. Values keep their exact kind (a
// Single stays a Single, a currency its ten-thousandths, a decimal its
// digits), so nothing is lost on the way.
class JetWire {
public:
    enum class Message : std::uint8_t {
        kTable = 1,
        kProperty,
        kBeginRows,
        kRow,
        kEndRows,
        kRelation,
        kQuery,
        kWarning,
        kFailure,
        kEnd,
    };
    static constexpr std::size_t kFrameHeader = 5;
    // A frame larger than this is taken for damage in the stream itself.
    static constexpr std::uint32_t kMaxPayload = 1u << 30;

    // Append one framed record to `out`.
    static void EncodeTable(std::string& out, const TableInfo& table, std::int64_t storedRows);
    static void EncodeProperty(std::string& out, const PropertyOwnerKey& owner, const PropertyInfo& property);
    static void EncodeBeginRows(std::string& out, const std::string& table);
    static void EncodeRow(std::string& out, const std::vector<Variant>& values);
    static void EncodeRelation(std::string& out, const RelationInfo& relation);
    static void EncodeQuery(std::string& out, const QueryInfo& query);
    static void EncodeText(std::string& out, Message type, const std::string& text);
    static void EncodeFailure(std::string& out, std::int32_t number, const std::string& text);
    static void EncodeEmpty(std::string& out, Message type);

    // The payload length of the frame whose header starts `header`.
    // REQUIRES: header.size() >= kFrameHeader.
    static std::uint32_t PayloadLength(std::span<const std::uint8_t> header);

    // Decodes one payload and hands its record to `sink`. Raises 3049 when
    // the payload is not a well-formed record of `type`.
    static void Dispatch(Message type, std::span<const std::uint8_t> payload, JetRecordSink& sink);
};

}  // namespace vorn
