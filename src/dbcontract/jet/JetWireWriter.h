#pragma once

#include <chrono>
#include <string>

#include "dbcontract/jet/JetRecordSink.h"

namespace vorn {

// The reading child's end of the pipe: a sink that encodes each record and
// writes it to a file descriptor, in batches, but never holding a record
// back for long, so that the parent sees steady progress.
class JetWireWriter : public JetRecordSink {
public:
    // Does not own `fd`.
    explicit JetWireWriter(int fd) : fd_(fd) {}
    ~JetWireWriter() override = default;

    void Table(const TableInfo& table, std::int64_t storedRows) override;
    void Property(const PropertyOwnerKey& owner, const PropertyInfo& property) override;
    void BeginRows(const std::string& table) override;
    void Row(const std::vector<Variant>& values) override;
    void EndRows() override;
    void Relation(const RelationInfo& relation) override;
    void Query(const QueryInfo& query) override;
    void Warning(const std::string& text) override;
    void Failure(std::int32_t number, const std::string& text) override;
    void End() override;

    // Writes what is buffered. Raises 3049 when the pipe is gone.
    void Flush();

private:
    void Sent();

    int fd_;
    std::string buffer_;
    std::chrono::steady_clock::time_point lastFlush_ = std::chrono::steady_clock::now();
};

}  // namespace vorn
