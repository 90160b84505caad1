#include "dbcontract/jet/JetWireWriter.h"

#include <cerrno>
#include <unistd.h>

#include "dbcontract/jet/JetWire.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

constexpr std::size_t kBatchBytes = 64 * 1024;
constexpr std::chrono::milliseconds kMaxHold{100};

}  // namespace

void JetWireWriter::Table(const TableInfo& table, std::int64_t storedRows) {
    JetWire::EncodeTable(buffer_, table, storedRows);
    Sent();
}

void JetWireWriter::Property(const PropertyOwnerKey& owner, const PropertyInfo& property) {
    JetWire::EncodeProperty(buffer_, owner, property);
    Sent();
}

void JetWireWriter::BeginRows(const std::string& table) {
    JetWire::EncodeBeginRows(buffer_, table);
    Sent();
}

void JetWireWriter::Row(const std::vector<Variant>& values) {
    JetWire::EncodeRow(buffer_, values);
    Sent();
}

void JetWireWriter::EndRows() {
    JetWire::EncodeEmpty(buffer_, JetWire::Message::kEndRows);
    Sent();
}

void JetWireWriter::Relation(const RelationInfo& relation) {
    JetWire::EncodeRelation(buffer_, relation);
    Sent();
}

void JetWireWriter::Query(const QueryInfo& query) {
    JetWire::EncodeQuery(buffer_, query);
    Sent();
}

void JetWireWriter::Warning(const std::string& text) {
    JetWire::EncodeText(buffer_, JetWire::Message::kWarning, text);
    Sent();
}

void JetWireWriter::Failure(std::int32_t number, const std::string& text) {
    JetWire::EncodeFailure(buffer_, number, text);
    Flush();
}

void JetWireWriter::End() {
    JetWire::EncodeEmpty(buffer_, JetWire::Message::kEnd);
    Flush();
}

void JetWireWriter::Sent() {
    // Reading the clock for every record costs little beside decoding it.
    if (buffer_.size() >= kBatchBytes || std::chrono::steady_clock::now() - lastFlush_ >= kMaxHold) Flush();
}

void JetWireWriter::Flush() {
    std::size_t done = 0;
    while (done < buffer_.size()) {
        const ssize_t n = write(fd_, buffer_.data() + done, buffer_.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) throw VornError(errnum::kJetDatabaseDamaged, "DAO.DBEngine", "The reader's pipe is closed.");
        done += static_cast<std::size_t>(n);
    }
    buffer_.clear();
    lastFlush_ = std::chrono::steady_clock::now();
}

}  // namespace vorn
