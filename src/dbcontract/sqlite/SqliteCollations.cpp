#include "dbcontract/sqlite/SqliteCollations.h"

#include <sqlite3.h>

#include <string_view>

#include "runtime/Decimal.h"
#include "runtime/Utf8.h"

namespace vorn {
namespace {

std::string_view View(int size, const void* data) {
    return {static_cast<const char*>(data), static_cast<std::size_t>(size)};
}

int CompareNoCase(void*, int sizeA, const void* a, int sizeB, const void* b) {
    return utf8::CompareIgnoreCase(View(sizeA, a), View(sizeB, b));
}

// Numbers first, by value; text that is no number after them, by its bytes,
// so that the order stays total.
int CompareDecimal(void*, int sizeA, const void* a, int sizeB, const void* b) {
    const auto textA = View(sizeA, a);
    const auto textB = View(sizeB, b);
    const auto numberA = Decimal::Parse(textA);
    const auto numberB = Decimal::Parse(textB);
    if (numberA && numberB) return Decimal::Compare(*numberA, *numberB);
    if (numberA || numberB) return numberA ? -1 : 1;
    return textA.compare(textB);
}

}  // namespace

void SqliteCollations::Register(sqlite3* db) {
    sqlite3_create_collation_v2(db, kNoCase, SQLITE_UTF8, nullptr, CompareNoCase, nullptr);
    sqlite3_create_collation_v2(db, kDecimal, SQLITE_UTF8, nullptr, CompareDecimal, nullptr);
}

}  // namespace vorn
