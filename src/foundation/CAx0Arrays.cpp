// CAx0: searching and ordering the text and integer arrays and grids that
// the host passes around. Every index is in the array's own index space.

#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>
#include <optional>

#include "foundation/CAx0.h"
#include "runtime/Conversions.h"
#include "runtime/Utf8.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

// An element as a text array held it: Null and Empty as ""; an array held
// in an element has no text and matches nothing.
std::optional<std::string> ElementText(const Variant& value) {
    if (value.IsNull() || value.IsEmpty()) return std::string();
    if (value.IsArray() || value.IsBinary()) return std::nullopt;
    return CStr(value);
}

std::string TextOrEmpty(const Variant& value) { return ElementText(value).value_or(std::string()); }

bool EqualsText(const Variant& element, std::string_view find) {
    const std::optional<std::string> text = ElementText(element);
    return text && utf8::EqualsIgnoreCase(*text, find);
}

// Holds the find as the runtime's InStr did: an empty element holds nothing.
bool HoldsText(const Variant& element, std::string_view find) {
    const std::optional<std::string> text = ElementText(element);
    return text && !text->empty() && utf8::InStr(1, *text, find, true) > 0;
}

// An element as an integer array held it: Empty as 0, text read as a number.
std::optional<double> ElementNumber(const Variant& value) {
    if (value.IsEmpty() || value.IsNumericKind() || value.IsBoolean() || value.IsDate()) {
        return value.NumberValue();
    }
    if (value.IsText()) return ParseNumber(value.AsText());
    return std::nullopt;
}

// A value held in 16 bits, as the legacy Integer variables did.
std::int16_t To16(std::int32_t value, const char* member) {
    if (value < INT16_MIN || value > INT16_MAX) throw VornError::Overflow(member);
    return static_cast<std::int16_t>(value);
}

// Shell sort of positions first..last with the gaps 1, 4, 13, 40, ...
// `before(a, b)` orders two positions; `swap(a, b)` exchanges them.
void ShellSort(std::int32_t first, std::int32_t last,
               const std::function<bool(std::int32_t, std::int32_t)>& before,
               const std::function<void(std::int32_t, std::int32_t)>& swap) {
    const std::int32_t count = last - first + 1;
    if (count < 2) return;
    std::int64_t gap = 1;
    while (gap <= count) gap = 3 * gap + 1;
    do {
        gap /= 3;
        for (std::int64_t i = first + gap; i <= last; ++i) {
            for (std::int64_t j = i; j - gap >= first; j -= gap) {
                const auto lower = static_cast<std::int32_t>(j - gap);
                const auto upper = static_cast<std::int32_t>(j);
                if (!before(upper, lower)) break;
                swap(lower, upper);
            }
        }
    } while (gap > 1);
}

// The rows that SortArray orders: a grid's second index or a plain array's
// only one, from `first`.
struct RowRange {
    bool grid;
    std::int32_t column;
    std::int32_t first;
    Variant& Cell(VArray& array, std::int32_t row, std::int32_t col) const {
        return grid ? array.At(col, first + row) : array.At(first + row);
    }
};

// The keys of SortArray: numbers when every key reads as one, else
// upper-cased text.
struct SortKeys {
    bool numeric = true;
    std::vector<double> numbers;
    std::vector<std::string> texts;
    bool Before(std::size_t a, std::size_t b) const {
        return numeric ? numbers[a] < numbers[b] : texts[a] < texts[b];
    }
};

SortKeys ReadSortKeys(VArray& array, const RowRange& rows, std::int32_t count) {
    SortKeys keys;
    for (std::int32_t k = 0; k < count; ++k) {
        const Variant& key = rows.Cell(array, k, rows.column);
        keys.numeric = keys.numeric && IsNumeric(key);
        keys.texts.push_back(utf8::ToUpper(TextOrEmpty(key)));
    }
    for (std::int32_t k = 0; keys.numeric && k < count; ++k) {
        keys.numbers.push_back(CDbl(rows.Cell(array, k, rows.column)));
    }
    return keys;
}

// Row offsets in their new order. Direction 0 sorts ascending, or turns data
// already in ascending order round.
std::vector<std::int32_t> SortedOrder(const SortKeys& keys, std::int16_t direction) {
    std::vector<std::int32_t> order(keys.texts.size());
    std::iota(order.begin(), order.end(), 0);
    const auto ascending = [&](std::int32_t a, std::int32_t b) {
        return keys.Before(static_cast<std::size_t>(a), static_cast<std::size_t>(b));
    };
    const bool descending =
        direction < 0 || (direction == 0 && std::is_sorted(order.begin(), order.end(), ascending));
    if (descending) {
        std::stable_sort(order.begin(), order.end(),
                         [&](std::int32_t a, std::int32_t b) { return ascending(b, a); });
    } else {
        std::stable_sort(order.begin(), order.end(), ascending);
    }
    return order;
}

// Rows in `order` (positions 0..n-1 hold original offsets) are moved into
// place, following each cycle so that every row moves once; a finished slot
// is marked -1. `move(from, to)` moves row offset `from` onto `to`, where
// `from` -1 means the saved row and `to` -1 means save it.
void ApplyOrder(std::vector<std::int32_t> order,
                const std::function<void(std::int32_t, std::int32_t)>& move) {
    const auto n = static_cast<std::int32_t>(order.size());
    for (std::int32_t start = 0; start < n; ++start) {
        if (order[start] < 0 || order[start] == start) continue;
        move(start, -1);
        std::int32_t slot = start;
        while (order[slot] != start) {
            const std::int32_t source = order[slot];
            move(source, slot);
            order[slot] = -1;
            slot = source;
        }
        move(-1, slot);
        order[slot] = -1;
    }
}

// Moves the rows into `order`. Rows are wide: each one moves once, through
// one saved row.
void MoveRows(VArray& array, const RowRange& rows, std::vector<std::int32_t> order) {
    const std::int32_t colLow = rows.grid ? array.LBound(1) : 0;
    const std::int32_t colHigh = rows.grid ? array.UBound(1) : 0;
    std::vector<Variant> saved(static_cast<std::size_t>(colHigh - colLow + 1));
    ApplyOrder(std::move(order), [&](std::int32_t from, std::int32_t to) {
        for (std::int32_t col = colLow; col <= colHigh; ++col) {
            Variant& keep = saved[static_cast<std::size_t>(col - colLow)];
            Variant& target = to < 0 ? keep : rows.Cell(array, to, col);
            target = std::move(from < 0 ? keep : rows.Cell(array, from, col));
        }
    });
}

// One row of VornTextKeySort, parsed once.
struct TextKeyRecord {
    std::string prefix;
    double number = 0.0;
    std::string suffix;
    std::int32_t row = 0;
    std::int32_t sortValue = 0;
    std::int32_t recordId = 0;
};

bool IsDigit(char32_t c) { return c >= U'0' && c <= U'9'; }

// "A12x" becomes "A" + "00000000000000000012" + "x", so that suffixes with a
// number order by that number.
std::string WidenSuffix(const std::u32string& suffix) {
    if (suffix.size() < 2 || !IsDigit(suffix[1])) return utf8::FromU32(suffix);
    std::size_t end = 1;
    while (end < suffix.size() && IsDigit(suffix[end])) ++end;
    std::u32string digits = suffix.substr(1, end - 1);
    if (digits.size() < 20) digits.insert(0, 20 - digits.size(), U'0');
    return utf8::FromU32(suffix.substr(0, 1) + digits + suffix.substr(end));
}

// Splits an upper-cased key into prefix (through a tab, then up to the first
// digit), the first run of digits, and the rest.
void ParseTextKey(const std::string& key, TextKeyRecord& record) {
    const std::u32string text = utf8::ToU32(key);
    const std::size_t tab = text.find(U'\t');
    std::size_t pos = tab == std::u32string::npos ? 0 : tab + 1;
    while (pos < text.size() && !IsDigit(text[pos])) ++pos;
    record.prefix = utf8::FromU32(text.substr(0, pos));
    const std::size_t digitsStart = pos;
    while (pos < text.size() && IsDigit(text[pos])) ++pos;
    record.number =
        pos > digitsStart ? Val(utf8::FromU32(text.substr(digitsStart, pos - digitsStart))) : 0.0;
    record.suffix = WidenSuffix(text.substr(pos));
}

bool TextKeyBefore(const TextKeyRecord& a, const TextKeyRecord& b) {
    if (a.prefix != b.prefix) return a.prefix < b.prefix;
    if (a.number != b.number) return a.number < b.number;
    return a.suffix < b.suffix;
}

}  // namespace

// ---- Searches ---------------------------------------------------------------

bool CAx0::FindExactFnB(VArray& psSearchV, std::int32_t& plFoundIdx,
                        std::string_view psFind) const {
    for (std::int32_t i = psSearchV.LBound(), last = psSearchV.UBound(); i <= last; ++i) {
        if (EqualsText(psSearchV.At(i), psFind)) {
            plFoundIdx = i;
            return true;
        }
    }
    return false;
}

void CAx0::FindExact(VArray& psArray, std::int32_t& plFoundAt, std::string_view psFindMe) const {
    constexpr const char* kMember = "CAx0.FindExact";
    const std::int16_t start = To16(std::max(plFoundAt, psArray.LBound()), kMember);
    std::int32_t found = 0;
    if (!FindExactFnB(psArray, found, psFindMe)) {
        plFoundAt = -1;
        return;
    }
    // Relative to the start the caller passed; a match before it is negative.
    plFoundAt = To16(found, kMember) - start;
}

void CAx0::FindExactMultiDim(VArray& psArray, std::int32_t& plFoundAt, std::string_view psFindMe,
                             std::int32_t plDim) const {
    // The bounds come from dimension plDim + 1 whatever column is walked: the
    // second index for the usual column 1.
    const int boundsDim = plDim + 1;
    const std::int32_t start = std::max(plFoundAt, psArray.LBound(boundsDim));
    for (std::int32_t i = start, last = psArray.UBound(boundsDim); i <= last; ++i) {
        if (EqualsText(psArray.At(plDim, i), psFindMe)) {
            plFoundAt = i - start;
            return;
        }
    }
    plFoundAt = -1;
}

bool CAx0::FindExactVarArrayFnB(VArray& pvArray, std::int32_t& plFoundAt,
                                std::string_view psFindMe) const {
    for (std::int32_t i = std::max(plFoundAt, pvArray.LBound()), last = pvArray.UBound(); i <= last;
         ++i) {
        if (EqualsText(pvArray.At(i), psFindMe)) {
            plFoundAt = i;
            return true;
        }
    }
    return false;
}

void CAx0::FindExactLong(VArray& plArrayV, std::int32_t plFindWhat, std::int32_t& plInd) const {
    for (std::int32_t i = plArrayV.UBound(), first = plArrayV.LBound(); i >= first; --i) {
        const std::optional<double> number = ElementNumber(plArrayV.At(i));
        if (number && *number == plFindWhat) {
            plInd = i;
            return;
        }
    }
    plInd = -1;
}

void CAx0::FindSubstringInStringArray(VArray& psArray, std::int32_t& plFoundAt,
                                      std::string_view psFindMe) const {
    if (!SearchVectorAnyPosFnB(psArray, plFoundAt, psFindMe)) plFoundAt = -1;
}

bool CAx0::SearchVectorAnyPosFnB(VArray& psDataV, std::int32_t& plFoundAt,
                                 std::string_view psFind) const {
    plFoundAt = std::max(plFoundAt, psDataV.LBound());
    for (std::int32_t i = plFoundAt, last = psDataV.UBound(); i <= last; ++i) {
        if (HoldsText(psDataV.At(i), psFind)) {
            plFoundAt = i;
            return true;
        }
    }
    return false;
}

void CAx0::FindStringBinary(VArray& psArrayV, std::int32_t& plFoundAt,
                            std::string_view psFindMe) const {
    const std::string key = utf8::ToUpper(utf8::Trim(psFindMe));
    const auto upperAt = [&](std::int32_t i) { return utf8::ToUpper(TextOrEmpty(psArrayV.At(i))); };
    plFoundAt = 0;
    std::int32_t low = psArrayV.LBound();
    std::int32_t high = psArrayV.UBound();
    if (high < low) return;
    if (high == low) {
        if (upperAt(low) == key) plFoundAt = low;
        return;
    }
    // Counted from the lower bound, so that any lower bound works; for
    // arrays from 0 this is the plain (high - low + 1) \ 2.
    std::int32_t mid = low + (high - low + 1) / 2;
    bool lastRound = false;
    for (;;) {
        const std::string element = upperAt(mid);
        if (element == key) {
            plFoundAt = mid;
            return;
        }
        if (key < element) {
            high = mid;
            mid -= (high - low + 1) / 2;
        } else {
            low = mid;
            mid += (high - low + 1) / 2;
        }
        // Reaching an end allows one more look; the second time it is absent.
        if (mid == low || mid == high) {
            if (lastRound) return;
            lastRound = true;
        }
    }
}

// ---- Sorts --------------------------------------------------------------------

void CAx0::ArraySortStrg(VArray& psDataV, std::int32_t pl1stEle, std::int32_t plLastEle) const {
    if (plLastEle - pl1stEle + 1 < 2) return;
    std::vector<std::string> keys;
    for (std::int32_t i = pl1stEle; i <= plLastEle; ++i) {
        keys.push_back(utf8::ToUpper(TextOrEmpty(psDataV.At(i))));
    }
    const auto offset = [pl1stEle](std::int32_t i) {
        return static_cast<std::size_t>(i - pl1stEle);
    };
    ShellSort(
        pl1stEle, plLastEle,
        [&](std::int32_t a, std::int32_t b) { return keys[offset(a)] < keys[offset(b)]; },
        [&](std::int32_t a, std::int32_t b) {
            std::swap(keys[offset(a)], keys[offset(b)]);
            std::swap(psDataV.At(a), psDataV.At(b));
        });
}

void CAx0::SortArray(VArray& psDataA, std::int32_t plCol, std::int16_t piDir,
                     std::int32_t plRows) const {
    std::int32_t noRow = INT32_MAX;
    SortArray(psDataA, plCol, piDir, plRows, noRow);
}

void CAx0::SortArray(VArray& psDataA, std::int32_t plCol, std::int16_t piDir, std::int32_t& plRows,
                     std::int32_t& plRowCurr) const {
    const bool grid = ArrayIsDimmedFnB(psDataA, 2);
    const RowRange rows{grid, grid ? plCol : 0, psDataA.LBound(grid ? 2 : 1)};
    if (plRows < 0) plRows = psDataA.UBound(grid ? 2 : 1) - rows.first + 1;
    const std::int32_t count = std::max(plRows, 0);
    const std::vector<std::int32_t> order = SortedOrder(ReadSortKeys(psDataA, rows, count), piDir);
    if (plRowCurr >= rows.first && plRowCurr - rows.first < count) {
        const auto at = std::find(order.begin(), order.end(), plRowCurr - rows.first);
        plRowCurr = rows.first + static_cast<std::int32_t>(at - order.begin());
    }
    MoveRows(psDataA, rows, order);
}

void CAx0::VornTextKeySort(VArray& psDataA, std::int32_t plNumRows, std::int16_t piPsKey,
                           std::int16_t piPsSort, std::int16_t piPsRecID,
                           bool pbSortFinalArray) const {
    std::vector<TextKeyRecord> records(static_cast<std::size_t>(std::max(plNumRows, 0)));
    for (std::int32_t row = 1; row <= plNumRows; ++row) {
        TextKeyRecord& record = records[static_cast<std::size_t>(row - 1)];
        ParseTextKey(utf8::ToUpper(TextOrEmpty(psDataA.At(piPsKey, row))), record);
        record.row = row;
        record.sortValue = CVarLongFnL(psDataA.At(piPsSort, row));
        if (piPsRecID >= 0) record.recordId = CVarLongFnL(psDataA.At(piPsRecID, row));
    }
    const auto at = [&](std::int32_t i) -> TextKeyRecord& {
        return records[static_cast<std::size_t>(i - 1)];
    };
    ShellSort(
        1, plNumRows, [&](std::int32_t a, std::int32_t b) { return TextKeyBefore(at(a), at(b)); },
        [&](std::int32_t a, std::int32_t b) { std::swap(at(a), at(b)); });

    // The grid is a text grid: ranks and marked ids are written as text.
    for (std::int32_t rank = 1; rank <= plNumRows; ++rank) {
        const TextKeyRecord& record = at(rank);
        if (record.sortValue == rank) continue;
        psDataA.At(piPsSort, record.row) = Variant(std::to_string(rank));
        // A negative id marks a row whose place changed.
        if (piPsRecID >= 0 && record.recordId > 0) {
            psDataA.At(piPsRecID, record.row) =
                Variant(std::to_string(-std::int64_t{record.recordId}));
        }
    }
    if (pbSortFinalArray) SortArray(psDataA, piPsSort, 1);
}

// ---- Pointers, dimensions, moves, concatenation --------------------------------

void CAx0::PointerArrayInit(VArray& plPointerV) const {
    for (std::int32_t i = plPointerV.LBound(), last = plPointerV.UBound(); i <= last; ++i) {
        plPointerV.At(i) = Variant(i);
    }
}

std::int16_t CAx0::ArrayDimensionsFnI(const VArray& pvArray) const {
    return static_cast<std::int16_t>(pvArray.Dimensions());
}

std::int16_t CAx0::ArrayDimensionsFnI(const Variant& pvArray) const {
    return pvArray.IsArray() ? ArrayDimensionsFnI(pvArray.AsArray()) : std::int16_t{0};
}

bool CAx0::ArrayIsDimmedFnB(const VArray& pvArray, std::int32_t plCheckDim) const {
    if (plCheckDim < 1 || plCheckDim > pvArray.Dimensions()) return false;
    return pvArray.UBound(plCheckDim) >= 0;
}

bool CAx0::ArrayIsDimmedFnB(const Variant& pvArray, std::int32_t plCheckDim) const {
    return pvArray.IsArray() && ArrayIsDimmedFnB(pvArray.AsArray(), plCheckDim);
}

void CAx0::ArrayMemberMoveLong(VArray& plArrayV, std::int32_t plFirstIndex, std::int32_t plPsOld,
                               std::int32_t& plPsNew, std::int32_t plPositionCode,
                               bool pbValueNotIndex) const {
    if (pbValueNotIndex) {
        FindExactLong(plArrayV, plPsOld, plPsOld);
        // -1 is "not found" unless the array reaches down to it.
        if (plPsOld < plArrayV.LBound())
            throw VornError::SubscriptOutOfRange("CAx0.ArrayMemberMoveLong");
    }
    const bool movingUp = plPsNew > plPsOld;
    plPsNew += movingUp ? std::min(plPositionCode, 0) : std::max(plPositionCode, 0);
    const std::int32_t low = movingUp ? plPsOld : plPsNew;
    const std::int32_t high = movingUp ? plPsNew : plPsOld;
    // An adjustment that turns the move back past its start leaves no gap.
    if (low >= high) return;
    const VArray copy = plArrayV;
    // Read first, so that an old place outside the array fails with 9 before
    // anything moves.
    const Variant moved = copy.At(plPsOld);
    for (std::int32_t i = plFirstIndex, last = plArrayV.UBound(); i <= last; ++i) {
        if (i == plPsNew) {
            plArrayV.At(i) = moved;
        } else if (i >= low && i <= high) {
            // Elements between the ends shift one place towards the gap.
            plArrayV.At(i) = copy.At(movingUp ? i + 1 : i - 1);
        }
    }
}

void CAx0::ConcatenateArrays2D(VArray& psBaseV, VArray& psAddV) const {
    if (!ArrayIsDimmedFnB(psAddV, 2)) return;
    if (!ArrayIsDimmedFnB(psBaseV, 2)) {
        psBaseV = psAddV;
        return;
    }
    const std::int32_t addLow1 = psAddV.LBound(1);
    const std::int32_t addHigh1 = psAddV.UBound(1);
    // Checked before anything changes, so a failure leaves base as it was.
    if (addLow1 < psBaseV.LBound(1) || addHigh1 > psBaseV.UBound(1)) {
        throw VornError::SubscriptOutOfRange("CAx0.ConcatenateArrays2D");
    }
    const std::int32_t addLow2 = psAddV.LBound(2);
    const std::int32_t addHigh2 = psAddV.UBound(2);
    const std::int32_t baseHigh2 = psBaseV.UBound(2);
    psBaseV.ReDimPreserve(psBaseV.LBound(1), psBaseV.UBound(1), psBaseV.LBound(2),
                          baseHigh2 + (addHigh2 - addLow2 + 1));
    for (std::int32_t j = addLow2; j <= addHigh2; ++j) {
        for (std::int32_t i = addLow1; i <= addHigh1; ++i) {
            psBaseV.At(i, baseHigh2 + 1 + (j - addLow2)) = psAddV.At(i, j);
        }
    }
}

VArray CAx0::ConcatenateArraysFnVS(VArray& ps1V, VArray& ps2V) const {
    std::vector<Variant> items;
    for (const VArray* part : {&ps1V, &ps2V}) {
        for (std::int32_t i = part->LBound(), last = part->UBound(); i <= last; ++i) {
            items.emplace_back(TextOrEmpty(part->At(i)));
        }
    }
    return VArray::FromItems(std::move(items), 0);
}

}  // namespace vorn
