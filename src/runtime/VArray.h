#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace vorn {

class Variant;

// The runtime's dynamic array of variant values: undimensioned, or one or two
// dimensions each with its own lower and upper bound. An upper bound one below
// the lower bound is a dimensioned array with no items (what Split("") gives).
// Copies are deep, as an array assigned from one variant to another was.
//
// Subscripts and bounds out of range raise 9 (subscript out of range).
// Elements of a two-dimensional array are stored with the first subscript
// varying fastest, as the runtime laid them out, so ReDimPreserve can grow the
// last dimension without moving anything.
class VArray {
public:
    VArray();
    ~VArray();
    VArray(const VArray&);
    VArray(VArray&&) noexcept;
    VArray& operator=(const VArray&);
    VArray& operator=(VArray&&) noexcept;

    // One dimension lower..upper filled with `items` (lower..lower+n-1).
    static VArray FromItems(std::vector<Variant> items, std::int32_t lower = 0);
    // One dimension 0..n-1 (or 0..-1) of text items.
    static VArray FromStrings(const std::vector<std::string>& items);

    // New bounds; every element becomes Empty. Raises 9 when upper < lower - 1
    // and 7 (out of memory) for absurd sizes.
    void ReDim(std::int32_t lower, std::int32_t upper);
    void ReDim(std::int32_t lower1, std::int32_t upper1, std::int32_t lower2, std::int32_t upper2);
    // Keeps the elements. Only the upper bound of the last dimension may change;
    // a different lower bound or a different first dimension of a
    // two-dimensional array raises 9. An undimensioned array is simply
    // dimensioned.
    void ReDimPreserve(std::int32_t lower, std::int32_t upper);
    void ReDimPreserve(std::int32_t lower1, std::int32_t upper1, std::int32_t lower2,
                       std::int32_t upper2);
    // Back to undimensioned.
    void Erase();

    bool IsDimensioned() const noexcept { return dims_ > 0; }
    // 0 when undimensioned.
    int Dimensions() const noexcept { return dims_; }
    // Raise 9 when undimensioned or `dim` is not a dimension.
    std::int32_t LBound(int dim = 1) const;
    std::int32_t UBound(int dim = 1) const;
    // Total number of elements (0 when undimensioned).
    std::size_t Count() const noexcept;

    // Element access with bounds checks (9). The one-subscript forms need a
    // one-dimensional array, the two-subscript forms a two-dimensional one.
    Variant& At(std::int32_t index);
    const Variant& At(std::int32_t index) const;
    Variant& At(std::int32_t index1, std::int32_t index2);
    const Variant& At(std::int32_t index1, std::int32_t index2) const;
    Variant& operator[](std::int32_t index) { return At(index); }
    const Variant& operator[](std::int32_t index) const { return At(index); }

    // All elements in storage order (first subscript fastest).
    const std::vector<Variant>& Items() const noexcept { return items_; }

    // The elements of a one-dimensional array as text (CStr of each; Null
    // and arrays raise as CStr does). An undimensioned array gives none.
    std::vector<std::string> ToStrings() const;

    // Same shape, bounds and elements.
    friend bool operator==(const VArray& a, const VArray& b);

private:
    std::size_t Offset(std::int32_t index) const;
    std::size_t Offset(std::int32_t index1, std::int32_t index2) const;

    int dims_ = 0;
    std::int32_t lower_[2] = {0, 0};
    std::int32_t upper_[2] = {-1, -1};
    std::vector<Variant> items_;
};

}  // namespace vorn
