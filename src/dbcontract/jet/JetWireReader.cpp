#include "dbcontract/jet/JetWireReader.h"

#include <algorithm>
#include <cstring>

#include "dbcontract/jet/JetWire.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

constexpr std::size_t kReadBytes = 256 * 1024;

}  // namespace

bool JetWireReader::Run(JetRecordSink& sink) {
    while (Fill(JetWire::kFrameHeader)) {
        const auto header = std::span(buffer_).subspan(begin_, JetWire::kFrameHeader);
        const std::uint32_t length = JetWire::PayloadLength(header);
        const auto type = static_cast<JetWire::Message>(header[4]);
        if (length > JetWire::kMaxPayload) {
            throw VornError(errnum::kJetDatabaseDamaged, "DAO.DBEngine", "The records read from the file are malformed.");
        }
        if (!Fill(JetWire::kFrameHeader + length)) return false;
        const auto payload = std::span(buffer_).subspan(begin_ + JetWire::kFrameHeader, length);
        begin_ += JetWire::kFrameHeader + length;
        JetWire::Dispatch(type, payload, sink);
        if (type == JetWire::Message::kEnd) return true;
        if (type == JetWire::Message::kFailure) return false;
    }
    return false;
}

// Makes at least `needed` unread bytes available; false when the source
// ends first.
bool JetWireReader::Fill(std::size_t needed) {
    if (end_ - begin_ >= needed) return true;
    if (begin_ > 0) {
        std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
        end_ -= begin_;
        begin_ = 0;
    }
    if (buffer_.size() < std::max(needed, kReadBytes)) buffer_.resize(std::max(needed, kReadBytes));
    while (end_ < needed) {
        const std::size_t n = source_(std::span(buffer_).subspan(end_));
        if (n == 0) return false;
        end_ += n;
    }
    return true;
}

}  // namespace vorn
