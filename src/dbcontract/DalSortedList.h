#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "runtime/Variant.h"

namespace vorn {

// The answer of DalConnection::QueryPairs: pairs kept sorted by key, read
// by position from 0. Keys compare as the runtime compares variants (numbers
// by value, text by code point); a key met again keeps its first value, and
// a Null key is not kept.
class DalSortedList {
  public:
    std::int32_t Count() const { return static_cast<std::int32_t>(pairs_.size()); }
    // The key and the value at `index` (0-based); 9 outside 0..Count-1.
    const Variant& GetKey(std::int32_t index) const;
    const Variant& GetByIndex(std::int32_t index) const;

    // Puts the pair in its place by key.
    void Add(Variant key, Variant value);

  private:
    const std::pair<Variant, Variant>& At(std::int32_t index) const;

    std::vector<std::pair<Variant, Variant>> pairs_;
};

}  // namespace vorn
