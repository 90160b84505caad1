#pragma once

#include <cstdint>
#include <string>

namespace vorn {

// Keeps the current error (Err()) intact across work that may disturb it,
// such as writing a trace line inside an error handler: the error's number,
// source and description are read when the cache is made and written back
// when it ends.
class CErrorCache {
public:
    CErrorCache();
    ~CErrorCache();
    CErrorCache(const CErrorCache&) = delete;
    CErrorCache& operator=(const CErrorCache&) = delete;

    // The cached error's description ("" when there was no error).
    const std::string& ErrorText() const { return description_; }

private:
    std::int32_t number_;
    std::string source_;
    std::string description_;
};

}  // namespace vorn
