#include "dbcontract/DalSortedList.h"

#include <algorithm>

#include "runtime/VornError.h"

namespace vorn {

const std::pair<Variant, Variant>& DalSortedList::At(std::int32_t index) const {
    if (index < 0 || index >= Count()) throw VornError::SubscriptOutOfRange("DalSortedList");
    return pairs_[static_cast<std::size_t>(index)];
}

const Variant& DalSortedList::GetKey(std::int32_t index) const { return At(index).first; }

const Variant& DalSortedList::GetByIndex(std::int32_t index) const { return At(index).second; }

void DalSortedList::Add(Variant key, Variant value) {
    if (key.IsNull()) return;
    const auto less = [](const std::pair<Variant, Variant>& pair, const Variant& k) {
        return Compare(pair.first, k).value_or(0) < 0;
    };
    const auto at = std::lower_bound(pairs_.begin(), pairs_.end(), key, less);
    if (at != pairs_.end() && Compare(at->first, key).value_or(1) == 0) return;
    pairs_.insert(at, {std::move(key), std::move(value)});
}

}  // namespace vorn
