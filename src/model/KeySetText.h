#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// Plain text work on comma lists of field names (key sets, relation
// definitions). Commas are single bytes in UTF-8, so offsets here are byte
// offsets; names are never cut in the middle.
namespace vorn::keyset {

// The items of a comma list in order; "" gives no items, "a," gives "a" and "".
std::vector<std::string> Split(std::string_view list, std::string_view separator = ",");
// At most `parts` items: the last one keeps the separators of the rest.
std::vector<std::string> SplitLimit(std::string_view list, std::size_t parts,
                                    std::string_view separator = ",");
std::string Join(const std::vector<std::string>& items, std::string_view separator);
std::int32_t CommaCount(std::string_view list);
// The byte offset at which 1-based field `column` begins (0 for column 1 or
// less, and for a column past the end).
std::size_t FieldStart(std::string_view list, std::int32_t column);

}  // namespace vorn::keyset
