#include "runtime/VArray.h"

#include "runtime/Conversions.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/Variant.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

constexpr const char* kSource = "VArray";

// Arrays beyond this many elements are refused as out of memory rather than
// attempted: the runtime's arrays could not be larger than its address space.
constexpr std::int64_t kMaxElements = std::int64_t{1} << 28;

// Element count of one dimension; raises 9 for an upper bound more than one
// below the lower bound.
std::int64_t Extent(std::int32_t lower, std::int32_t upper) {
    const std::int64_t extent = static_cast<std::int64_t>(upper) - lower + 1;
    if (extent < 0) {
        throw VornError::SubscriptOutOfRange(kSource);
    }
    return extent;
}

std::size_t CheckedSize(std::int64_t count) {
    if (count > kMaxElements) {
        throw VornError(errnum::kOutOfMemory, kSource,
                        VornError::RuntimeDescription(errnum::kOutOfMemory));
    }
    return static_cast<std::size_t>(count);
}

}  // namespace

VArray::VArray() = default;
VArray::~VArray() = default;
VArray::VArray(const VArray&) = default;
VArray::VArray(VArray&&) noexcept = default;
VArray& VArray::operator=(const VArray&) = default;
VArray& VArray::operator=(VArray&&) noexcept = default;

VArray VArray::FromItems(std::vector<Variant> items, std::int32_t lower) {
    VArray array;
    array.ReDim(lower, static_cast<std::int32_t>(lower + static_cast<std::int64_t>(items.size()) - 1));
    array.items_ = std::move(items);
    return array;
}

VArray VArray::FromStrings(const std::vector<std::string>& items) {
    std::vector<Variant> values(items.begin(), items.end());
    return FromItems(std::move(values));
}

void VArray::ReDim(std::int32_t lower, std::int32_t upper) {
    const std::size_t size = CheckedSize(Extent(lower, upper));
    dims_ = 1;
    lower_[0] = lower;
    upper_[0] = upper;
    items_.assign(size, Variant());
}

void VArray::ReDim(std::int32_t lower1, std::int32_t upper1, std::int32_t lower2,
                   std::int32_t upper2) {
    const std::size_t size = CheckedSize(Extent(lower1, upper1) * Extent(lower2, upper2));
    dims_ = 2;
    lower_[0] = lower1;
    upper_[0] = upper1;
    lower_[1] = lower2;
    upper_[1] = upper2;
    items_.assign(size, Variant());
}

void VArray::ReDimPreserve(std::int32_t lower, std::int32_t upper) {
    if (dims_ == 0) {
        ReDim(lower, upper);
        return;
    }
    if (dims_ != 1 || lower != lower_[0]) {
        throw VornError::SubscriptOutOfRange(kSource);
    }
    const std::size_t size = CheckedSize(Extent(lower, upper));
    upper_[0] = upper;
    items_.resize(size);
}

void VArray::ReDimPreserve(std::int32_t lower1, std::int32_t upper1, std::int32_t lower2,
                           std::int32_t upper2) {
    if (dims_ == 0) {
        ReDim(lower1, upper1, lower2, upper2);
        return;
    }
    if (dims_ != 2 || lower1 != lower_[0] || upper1 != upper_[0] || lower2 != lower_[1]) {
        throw VornError::SubscriptOutOfRange(kSource);
    }
    // The last dimension varies slowest in storage, so growing or cutting it
    // keeps every remaining element in place.
    const std::size_t size = CheckedSize(Extent(lower1, upper1) * Extent(lower2, upper2));
    upper_[1] = upper2;
    items_.resize(size);
}

void VArray::Erase() {
    dims_ = 0;
    lower_[0] = lower_[1] = 0;
    upper_[0] = upper_[1] = -1;
    items_.clear();
}

std::int32_t VArray::LBound(int dim) const {
    if (dim < 1 || dim > dims_) {
        throw VornError::SubscriptOutOfRange(kSource);
    }
    return lower_[dim - 1];
}

std::int32_t VArray::UBound(int dim) const {
    if (dim < 1 || dim > dims_) {
        throw VornError::SubscriptOutOfRange(kSource);
    }
    return upper_[dim - 1];
}

std::size_t VArray::Count() const noexcept {
    return items_.size();
}

std::size_t VArray::Offset(std::int32_t index) const {
    if (dims_ != 1 || index < lower_[0] || index > upper_[0]) {
        throw VornError::SubscriptOutOfRange(kSource);
    }
    return static_cast<std::size_t>(static_cast<std::int64_t>(index) - lower_[0]);
}

std::size_t VArray::Offset(std::int32_t index1, std::int32_t index2) const {
    if (dims_ != 2 || index1 < lower_[0] || index1 > upper_[0] || index2 < lower_[1] ||
        index2 > upper_[1]) {
        throw VornError::SubscriptOutOfRange(kSource);
    }
    const std::int64_t rows = static_cast<std::int64_t>(upper_[0]) - lower_[0] + 1;
    return static_cast<std::size_t>((static_cast<std::int64_t>(index1) - lower_[0]) +
                                    (static_cast<std::int64_t>(index2) - lower_[1]) * rows);
}

Variant& VArray::At(std::int32_t index) {
    return items_[Offset(index)];
}

const Variant& VArray::At(std::int32_t index) const {
    return items_[Offset(index)];
}

Variant& VArray::At(std::int32_t index1, std::int32_t index2) {
    return items_[Offset(index1, index2)];
}

const Variant& VArray::At(std::int32_t index1, std::int32_t index2) const {
    return items_[Offset(index1, index2)];
}

std::vector<std::string> VArray::ToStrings() const {
    if (dims_ > 1) {
        throw VornError::TypeMismatch(kSource);
    }
    std::vector<std::string> texts;
    texts.reserve(items_.size());
    for (const Variant& item : items_) {
        texts.push_back(CStr(item));
    }
    return texts;
}

bool operator==(const VArray& a, const VArray& b) {
    if (a.dims_ != b.dims_) {
        return false;
    }
    for (int d = 0; d < a.dims_; ++d) {
        if (a.lower_[d] != b.lower_[d] || a.upper_[d] != b.upper_[d]) {
            return false;
        }
    }
    return a.items_ == b.items_;
}

}  // namespace vorn
