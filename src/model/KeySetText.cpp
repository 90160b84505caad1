#include "model/KeySetText.h"

#include <algorithm>

namespace vorn::keyset {

std::vector<std::string> Split(std::string_view list, std::string_view separator) {
    return SplitLimit(list, 0, separator);
}

std::vector<std::string> SplitLimit(std::string_view list, std::size_t parts,
                                    std::string_view separator) {
    std::vector<std::string> items;
    if (list.empty()) return items;
    std::size_t start = 0;
    while (parts == 0 || items.size() + 1 < parts) {
        const std::size_t next = list.find(separator, start);
        if (next == std::string_view::npos) break;
        items.emplace_back(list.substr(start, next - start));
        start = next + separator.size();
    }
    items.emplace_back(list.substr(start));
    return items;
}

std::string Join(const std::vector<std::string>& items, std::string_view separator) {
    std::string joined;
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (i > 0) joined += separator;
        joined += items[i];
    }
    return joined;
}

std::int32_t CommaCount(std::string_view list) {
    return static_cast<std::int32_t>(std::count(list.begin(), list.end(), ','));
}

std::size_t FieldStart(std::string_view list, std::int32_t column) {
    std::size_t start = 0;
    for (std::int32_t i = 1; i < column; ++i) {
        const std::size_t comma = list.find(',', start);
        if (comma == std::string_view::npos) return 0;
        start = comma + 1;
    }
    return start;
}

}  // namespace vorn::keyset
