#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "dbcontract/jet/JetRecordSink.h"

namespace vorn {

// The parent's end of the pipe: reads framed records from a byte source
// and hands each to a sink as soon as it is complete, so that no more than
// one record (and a read buffer) is held at a time.
class JetWireReader {
public:
    // `source` fills the span it is given and returns the count, 0 at the end.
    using Source = std::function<std::size_t(std::span<std::uint8_t>)>;

    explicit JetWireReader(Source source) : source_(std::move(source)) {}

    // Reads until the End or Failure record, or until the source ends.
    // Returns true when End was read. Raises 3049 for a malformed stream;
    // whatever the sink raises passes through.
    bool Run(JetRecordSink& sink);

private:
    bool Fill(std::size_t needed);

    Source source_;
    std::vector<std::uint8_t> buffer_;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
};

}  // namespace vorn
