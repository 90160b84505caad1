#pragma once

// Helpers of the Jet tests: the fixture files, the expected content read by
// an independent reader (JSON), and the comparison of a value with it.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <stdexcept>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "dbcontract/DaoConstants.h"
#include "dbcontract/jet/JetProjectFile.h"
#include "dbcontract/sqlite/SqliteProjectFile.h"
#include "runtime/DateSerial.h"
#include "runtime/Decimal.h"
#include "runtime/Variant.h"
#include "support/TestSupport.h"

namespace vorn::testing::jet {

inline std::filesystem::path Fixture(const std::string& name) { return SourceDir() / "tests/data/jet" / name; }

// A parsed JSON value; numbers keep their text.
struct Json {
    enum class Kind { Null, Bool, Number, String, Array, Object };
    Kind kind = Kind::Null;
    bool flag = false;
    std::string text;  // a string, or a number's digits
    std::vector<Json> items;
    std::vector<std::pair<std::string, Json>> members;

    const Json* Find(std::string_view key) const {
        for (const auto& [name, value] : members) {
            if (name == key) return &value;
        }
        return nullptr;
    }
    const Json& operator[](std::string_view key) const {
        const Json* found = Find(key);
        if (found == nullptr) throw std::runtime_error("no member " + std::string(key));
        return *found;
    }
    double Number() const { return std::strtod(text.c_str(), nullptr); }
};

class JsonParser {
public:
    explicit JsonParser(std::string_view text) : text_(text) {}

    Json Parse() {
        Json value = Value();
        Blank();
        if (pos_ != text_.size()) Fail();
        return value;
    }

private:
    [[noreturn]] void Fail() const { throw std::runtime_error("bad JSON at " + std::to_string(pos_)); }
    void Blank() {
        while (pos_ < text_.size() && std::isspace(static_cast<unsigned char>(text_[pos_]))) ++pos_;
    }
    bool Take(char c) {
        Blank();
        if (pos_ < text_.size() && text_[pos_] == c) {
            ++pos_;
            return true;
        }
        return false;
    }
    Json Value() {
        Blank();
        if (pos_ >= text_.size()) Fail();
        Json value;
        const char c = text_[pos_];
        if (c == '{') {
            value.kind = Json::Kind::Object;
            ++pos_;
            if (Take('}')) return value;
            do {
                Blank();
                std::string key = String();
                if (!Take(':')) Fail();
                value.members.emplace_back(std::move(key), Value());
            } while (Take(','));
            if (!Take('}')) Fail();
        } else if (c == '[') {
            value.kind = Json::Kind::Array;
            ++pos_;
            if (Take(']')) return value;
            do value.items.push_back(Value());
            while (Take(','));
            if (!Take(']')) Fail();
        } else if (c == '"') {
            value.kind = Json::Kind::String;
            value.text = String();
        } else if (text_.substr(pos_, 4) == "true" || text_.substr(pos_, 5) == "false") {
            value.kind = Json::Kind::Bool;
            value.flag = c == 't';
            pos_ += value.flag ? 4 : 5;
        } else if (text_.substr(pos_, 4) == "null") {
            pos_ += 4;
        } else {
            value.kind = Json::Kind::Number;
            const std::size_t start = pos_;
            while (pos_ < text_.size() && std::strchr("+-.0123456789eE", text_[pos_]) != nullptr) ++pos_;
            value.text = std::string(text_.substr(start, pos_ - start));
        }
        return value;
    }
    std::string String() {
        if (text_[pos_] != '"') Fail();
        ++pos_;
        std::string out;
        while (pos_ < text_.size() && text_[pos_] != '"') {
            char c = text_[pos_++];
            if (c != '\\') {
                out += c;
                continue;
            }
            c = text_[pos_++];
            switch (c) {
            case 'n': out += '\n'; break;
            case 'r': out += '\r'; break;
            case 't': out += '\t'; break;
            case 'b': out += '\b'; break;
            case 'f': out += '\f'; break;
            case 'u': {
                char32_t cp = static_cast<char32_t>(std::stoul(std::string(text_.substr(pos_, 4)), nullptr, 16));
                pos_ += 4;
                if (cp >= 0xD800 && cp < 0xDC00 && text_.substr(pos_, 2) == "\\u") {
                    const auto low = static_cast<char32_t>(std::stoul(std::string(text_.substr(pos_ + 2, 4)), nullptr, 16));
                    cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
                    pos_ += 6;
                }
                AppendUtf8(out, cp);
                break;
            }
            default: out += c;
            }
        }
        ++pos_;
        return out;
    }
    static void AppendUtf8(std::string& out, char32_t cp) {
        if (cp < 0x80) {
            out += static_cast<char>(cp);
        } else if (cp < 0x800) {
            out += static_cast<char>(0xC0 | (cp >> 6));
            out += static_cast<char>(0x80 | (cp & 0x3F));
        } else if (cp < 0x10000) {
            out += static_cast<char>(0xE0 | (cp >> 12));
            out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (cp & 0x3F));
        } else {
            out += static_cast<char>(0xF0 | (cp >> 18));
            out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
            out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (cp & 0x3F));
        }
    }

    std::string_view text_;
    std::size_t pos_ = 0;
};

// The expected content of a fixture: { table: { columns: [...], rows: [...] } }.
inline Json Expected(const std::string& fixture) {
    return JsonParser(ReadFile(Fixture("expected/" + fixture + ".json"))).Parse();
}

// The DAO type of a column type named in the expected files.
inline std::int16_t DaoTypeOf(const std::string& name) {
    static const std::pair<const char*, std::int16_t> kTypes[] = {
        {"boolean", dao::dbBoolean}, {"byte", dao::dbByte},      {"integer", dao::dbInteger},
        {"long", dao::dbLong},       {"currency", dao::dbCurrency}, {"float", dao::dbSingle},
        {"double", dao::dbDouble},   {"datetime", dao::dbDate},  {"binary", dao::dbBinary},
        {"text", dao::dbText},       {"ole", dao::dbLongBinary}, {"memo", dao::dbMemo},
        {"repid", dao::dbGUID},      {"numeric", dao::dbDecimal}, {"bigint", dao::dbBigInt}};
    for (const auto& [type, code] : kTypes) {
        if (name == type) return code;
    }
    return -1;
}

// The serial of "YYYY-MM-DDTHH:MM:SS.mmmZ", the wall-clock time as stored.
inline double SerialOfIso(const std::string& iso) {
    DateParts parts;
    parts.year = std::stoi(iso.substr(0, 4));
    parts.month = std::stoi(iso.substr(5, 2));
    parts.day = std::stoi(iso.substr(8, 2));
    parts.hour = std::stoi(iso.substr(11, 2));
    parts.minute = std::stoi(iso.substr(14, 2));
    parts.second = std::stoi(iso.substr(17, 2));
    const double millis = std::stod(iso.substr(20, 3)) / 86'400'000.0;
    const double serial = DateSerialFromParts(parts);
    // Before day 0 the time of day still counts forward from midnight.
    return serial < 0 ? serial - millis : serial + millis;
}

// Ten-thousandths of "12.3400".
inline std::int64_t ScaledCurrency(const std::string& text) {
    const auto point = text.find('.');
    const bool negative = text[0] == '-';
    const std::string whole = text.substr(negative ? 1 : 0, point - (negative ? 1 : 0));
    std::string fraction = point == std::string::npos ? "" : text.substr(point + 1);
    fraction.resize(4, '0');
    const std::int64_t scaled = std::stoll(whole) * 10000 + std::stoll(fraction);
    return negative ? -scaled : scaled;
}

// A value in one text form, whether read or expected, so that rows can be
// compared whatever order the engine gives them in.
inline std::string Canonical(const std::string& type, const Variant& value) {
    char text[64];
    if (value.IsNull()) return "<Null>";
    if (type == "text" || type == "memo" || type == "repid") return value.IsText() ? value.AsText() : "<not text>";
    if (type == "boolean") return value.IsBoolean() ? (value.AsBoolean() ? "true" : "false") : "<not boolean>";
    if (type == "float") {
        if (value.Kind() != VariantKind::Single) return "<not single>";
        std::snprintf(text, sizeof text, "%.17g", static_cast<double>(value.AsSingle()));
        return text;
    }
    if (type == "byte" || type == "integer" || type == "long" || type == "double") {
        if (!value.IsNumericKind()) return "<not a number>";
        std::snprintf(text, sizeof text, "%.17g", value.NumberValue());
        return text;
    }
    if (type == "currency") {
        return value.Kind() == VariantKind::Currency ? std::to_string(value.AsCurrency().Scaled()) : "<not currency>";
    }
    if (type == "datetime") {
        return value.IsDate() ? std::to_string(std::llround(value.AsDateSerial() * 86'400'000.0)) : "<not a date>";
    }
    if (type == "numeric" || type == "bigint") {
        return value.Kind() == VariantKind::Decimal ? value.AsDecimal().ToString() : "<not decimal>";
    }
    if (type == "ole" || type == "binary") {
        return value.IsBinary() ? "bytes:" + std::to_string(value.AsBinary().size()) : "<not bytes>";
    }
    return "<unknown type " + type + ">";
}

inline std::string Canonical(const std::string& type, const Json& expected) {
    char text[64];
    if (expected.kind == Json::Kind::Null) return "<Null>";
    if (type == "boolean") return expected.flag ? "true" : "false";
    if (type == "byte" || type == "integer" || type == "long" || type == "double" || type == "float") {
        std::snprintf(text, sizeof text, "%.17g", expected.Number());
        return text;
    }
    if (type == "currency") return std::to_string(ScaledCurrency(expected.text));
    if (type == "datetime") return std::to_string(std::llround(SerialOfIso(expected.text) * 86'400'000.0));
    if (type == "numeric" || type == "bigint") {
        const auto number = Decimal::Parse(expected.text);
        return number ? number->ToString() : "<bad decimal>";
    }
    if (type == "ole" || type == "binary") return "bytes:" + std::to_string(static_cast<long>(expected["blob_len"].Number()));
    return expected.text;
}


// The fixtures opened through the contract, each once per test run (a copy
// is made on opening); warnings are kept instead of shown.
struct OpenedFixture {
    std::unique_ptr<DatabaseBackend> database;
    std::vector<std::string> warnings;
};

inline OpenedFixture& Opened(const std::string& fixture) {
    static std::map<std::string, OpenedFixture> opened;
    auto found = opened.find(fixture);
    if (found != opened.end()) return found->second;
    OpenedFixture& entry = opened[fixture];
    JetOpenOptions options;
    options.warnings = [&entry](const std::vector<std::string>& warnings) { entry.warnings = warnings; };
    entry.database = JetProjectFile::Open(Fixture(fixture).string(), options);
    return entry;
}

// All rows of a table, read forward, one value per column.
inline std::vector<std::vector<Variant>> ReadRows(DatabaseBackend& database, const std::string& table,
                                                  std::vector<FieldInfo>* columns = nullptr) {
    auto rows = database.OpenRows(RowRequest{.source = table, .isTable = true, .type = dao::dbOpenSnapshot,
                                             .options = dao::dbReadOnly, .filter = {}, .sort = {}});
    if (columns != nullptr) *columns = rows->Columns();
    std::vector<std::vector<Variant>> all;
    std::vector<Variant> row;
    while (rows->Next(row)) all.push_back(row);
    return all;
}

inline const TableInfo* FindTable(const std::vector<TableInfo>& tables, const std::string& name) {
    for (const TableInfo& table : tables) {
        if (table.name == name) return &table;
    }
    return nullptr;
}

// Compares every table of a fixture's expected content with what `database`
// serves: the fields in order with their DAO types and sizes, and each row's
// values in order.
inline void ExpectSameContent(const std::string& fixture, DatabaseBackend& database) {
    const bool jet3 = fixture.starts_with("jet3") || fixture == "nwind.mdb";
    const auto tables = database.ReadTables();
    for (const auto& [name, expected] : Expected(fixture).members) {
        SCOPED_TRACE(fixture + ": table " + name);
        const TableInfo* table = FindTable(tables, name);
        ASSERT_NE(table, nullptr);
        const auto& columns = expected["columns"].items;
        ASSERT_EQ(table->fields.size(), columns.size());
        for (std::size_t i = 0; i < columns.size(); ++i) {
            const std::string type = columns[i]["type"].text;
            const auto storedSize = static_cast<std::int32_t>(columns[i]["size"].Number());
            // The expected sizes are the stored ones; DAO counts characters
            // of text, and one byte for a boolean.
            std::int32_t size = storedSize;
            if (type == "text" && !jet3) size = storedSize / 2;
            if (type == "boolean") size = 1;
            EXPECT_EQ(table->fields[i].name, columns[i]["name"].text);
            EXPECT_EQ(table->fields[i].type, DaoTypeOf(type)) << columns[i]["name"].text;
            EXPECT_EQ(table->fields[i].size, size) << columns[i]["name"].text;
        }
        std::vector<FieldInfo> read;
        const auto rows = ReadRows(database, name, &read);
        const auto& expectedRows = expected["rows"].items;
        ASSERT_EQ(rows.size(), expectedRows.size());
        // Rows are compared as sorted lists of their values' text forms: a
        // table's rows have no order of their own.
        std::vector<std::string> got;
        std::vector<std::string> want;
        for (std::size_t r = 0; r < rows.size(); ++r) {
            std::string gotRow;
            std::string wantRow;
            for (std::size_t c = 0; c < read.size(); ++c) {
                const std::string type = columns[c]["type"].text;
                const Json* value = expectedRows[r].Find(read[c].name);
                ASSERT_NE(value, nullptr) << read[c].name;
                gotRow += read[c].name + "=" + Canonical(type, rows[r][c]) + " | ";
                wantRow += read[c].name + "=" + Canonical(type, *value) + " | ";
            }
            got.push_back(gotRow);
            want.push_back(wantRow);
        }
        std::sort(got.begin(), got.end());
        std::sort(want.begin(), want.end());
        for (std::size_t r = 0; r < got.size(); ++r) ASSERT_EQ(got[r], want[r]) << "sorted row " << r;
    }
}


// A fixture converted to a project file of our format, once per test run,
// in a folder that lives as long as the run.
struct ConvertedFixture {
    std::filesystem::path path;
    std::vector<std::string> warnings;
};

inline const ConvertedFixture& Converted(const std::string& fixture) {
    static TempFolder folder;
    static std::map<std::string, ConvertedFixture> converted;
    auto found = converted.find(fixture);
    if (found != converted.end()) return found->second;
    ConvertedFixture& entry = converted[fixture];
    entry.path = folder / (fixture + ".vpj");
    entry.warnings = JetProjectFile::Convert(Fixture(fixture).string(), entry.path.string(), false);
    return entry;
}

}  // namespace vorn::testing::jet
