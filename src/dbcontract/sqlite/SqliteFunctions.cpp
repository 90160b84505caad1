#include "dbcontract/sqlite/SqliteFunctions.h"

#include <sqlite3.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <functional>
#include <limits>
#include <vector>

#include "dbcontract/CatalogInfo.h"
#include "dbcontract/sqlite/SqliteDateText.h"
#include "dbcontract/sqlite/SqliteValueCodec.h"
#include "runtime/Conversions.h"
#include "runtime/DateSerial.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/Format.h"
#include "runtime/Utf8.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

std::string TextOf(const Variant& value) { return value.IsText() ? value.AsText() : CStr(value); }

// CDate that also reads the stored form of a date, which the runtime's
// date reader need not know.
double DateOf(const Variant& value) {
    if (value.IsText()) {
        if (const std::optional<double> serial = SqliteDateText::ToSerial(value.AsText()))
            return *serial;
    }
    return CDate(value);
}

// The stored text of a serial; 6 (overflow) outside the dates there are.
std::string DateText(double serial) {
    const std::optional<std::string> text = SqliteDateText::FromSerial(serial);
    if (!text) throw VornError::Overflow("vorn_cdate");
    return *text;
}

// ---- Results ---------------------------------------------------------------

void ResultText(sqlite3_context* ctx, const std::string& text) {
    sqlite3_result_text64(ctx, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

void ResultDate(sqlite3_context* ctx, double serial) {
    ResultText(ctx, DateText(serial));
    sqlite3_result_subtype(ctx, SqliteFunctions::kDateSubtype);
}

void ResultStored(sqlite3_context* ctx, const StoredValue& stored) {
    if (const auto* integer = std::get_if<std::int64_t>(&stored))
        return sqlite3_result_int64(ctx, *integer);
    if (const auto* real = std::get_if<double>(&stored)) return sqlite3_result_double(ctx, *real);
    if (const auto* text = std::get_if<std::string>(&stored)) return ResultText(ctx, *text);
    if (const auto* blob = std::get_if<StoredBlob>(&stored)) {
        return sqlite3_result_blob64(ctx, blob->data(), blob->size(), SQLITE_TRANSIENT);
    }
    sqlite3_result_null(ctx);
}

// A function's Variant result: Booleans as 1 or 0, exact numbers as REAL,
// dates as marked stored text.
void ResultVariant(sqlite3_context* ctx, const Variant& value) {
    switch (value.Kind()) {
        case VariantKind::Empty:
        case VariantKind::Null:
            return sqlite3_result_null(ctx);
        case VariantKind::Boolean:
            return sqlite3_result_int(ctx, value.AsBoolean() ? 1 : 0);
        case VariantKind::Byte:
        case VariantKind::Integer:
        case VariantKind::Long:
            return sqlite3_result_int64(ctx, static_cast<std::int64_t>(value.NumberValue()));
        case VariantKind::Date:
            return ResultDate(ctx, value.AsDateSerial());
        case VariantKind::Text:
            return ResultText(ctx, value.AsText());
        case VariantKind::Binary:
            return ResultStored(ctx, StoredValue(value.AsBinary()));
        case VariantKind::Array:
            throw VornError::TypeMismatch("vorn function");
        default:
            return sqlite3_result_double(ctx, value.NumberValue());
    }
}

// Runs one function body; a runtime failure becomes the statement's error,
// except invalid use of Null, which gives Null.
template <class Body>
void Guard(sqlite3_context* ctx, Body&& body) {
    try {
        body();
    } catch (const VornError& error) {
        if (error.Number() == errnum::kInvalidUseOfNull) {
            sqlite3_result_null(ctx);
        } else {
            sqlite3_result_error(ctx, error.what(), -1);
        }
    } catch (const std::exception& error) {
        sqlite3_result_error(ctx, error.what(), -1);
    }
}

Variant Arg(sqlite3_value** argv, int index) { return SqliteFunctions::ToVariant(argv[index]); }

// ---- Function shapes -------------------------------------------------------

using Unary = Variant (*)(const Variant&);
using Binary = Variant (*)(const Variant&, const Variant&);

// One argument; Null in, Null out.
template <Unary F>
void CallUnary(sqlite3_context* ctx, int, sqlite3_value** argv) {
    Guard(ctx, [&] {
        const Variant value = Arg(argv, 0);
        if (value.IsNull()) return sqlite3_result_null(ctx);
        ResultVariant(ctx, F(value));
    });
}

// Two arguments, each passed as it is (the operator decides about Null).
template <Binary F>
void CallBinary(sqlite3_context* ctx, int, sqlite3_value** argv) {
    Guard(ctx, [&] { ResultVariant(ctx, F(Arg(argv, 0), Arg(argv, 1))); });
}

// An integer operator: division by zero gives Null, as "/" does in SQL.
template <Binary F>
void CallDividing(sqlite3_context* ctx, int, sqlite3_value** argv) {
    Guard(ctx, [&] {
        try {
            ResultVariant(ctx, F(Arg(argv, 0), Arg(argv, 1)));
        } catch (const VornError& error) {
            if (error.Number() != errnum::kDivisionByZero) throw;
            sqlite3_result_null(ctx);
        }
    });
}

// ---- The functions ---------------------------------------------------------

Variant FnCStr(const Variant& v) { return Variant(TextOf(v)); }
Variant FnVal(const Variant& v) { return Variant(Val(TextOf(v))); }
Variant FnLen(const Variant& v) { return Variant::FromInteger(utf8::Length(TextOf(v))); }
Variant FnTrim(const Variant& v) { return Variant(utf8::Trim(TextOf(v))); }
Variant FnLTrim(const Variant& v) { return Variant(utf8::LTrim(TextOf(v))); }
Variant FnRTrim(const Variant& v) { return Variant(utf8::RTrim(TextOf(v))); }
Variant FnUCase(const Variant& v) { return Variant(utf8::ToUpper(TextOf(v))); }
Variant FnLCase(const Variant& v) { return Variant(utf8::ToLower(TextOf(v))); }
Variant FnClng(const Variant& v) { return Variant(CLng(v)); }
Variant FnCInt(const Variant& v) { return Variant(CInt(v)); }
Variant FnCDbl(const Variant& v) { return Variant(CDbl(v)); }
Variant FnCSng(const Variant& v) { return Variant(CSng(v)); }
Variant FnCBool(const Variant& v) { return Variant(CBool(v)); }
Variant FnCCur(const Variant& v) { return Variant(CCur(v)); }
Variant FnCDate(const Variant& v) { return Variant::FromDate(DateOf(v)); }
Variant FnSerial(const Variant& v) { return Variant(DateOf(v)); }
Variant FnInt(const Variant& v) { return Int(v); }
Variant FnFix(const Variant& v) { return Fix(v); }
Variant FnAbs(const Variant& v) { return Abs(v); }
Variant FnSgn(const Variant& v) { return Sgn(v); }
Variant FnStr(const Variant& v) { return Str(v); }
Variant FnHex(const Variant& v) { return Hex(v); }
Variant FnChr(const Variant& v) { return Variant(Chr(CLng(v))); }
Variant FnAsc(const Variant& v) { return Variant(Asc(TextOf(v))); }
Variant FnSpace(const Variant& v) { return Variant(Space(CLng(v))); }
Variant FnYear(const Variant& v) { return Variant(DatePartsFromSerial(DateOf(v)).year); }
Variant FnMonth(const Variant& v) { return Variant(DatePartsFromSerial(DateOf(v)).month); }
Variant FnDay(const Variant& v) { return Variant(DatePartsFromSerial(DateOf(v)).day); }
Variant FnHour(const Variant& v) { return Variant(DatePartsFromSerial(DateOf(v)).hour); }
Variant FnMinute(const Variant& v) { return Variant(DatePartsFromSerial(DateOf(v)).minute); }
Variant FnSecond(const Variant& v) { return Variant(DatePartsFromSerial(DateOf(v)).second); }
Variant FnWeekday(const Variant& v) { return Variant(WeekdayOfSerial(DateOf(v))); }
Variant FnAdd(const Variant& a, const Variant& b) { return a + b; }
Variant FnConcat(const Variant& a, const Variant& b) { return Concat(a, b); }
Variant FnIntDiv(const Variant& a, const Variant& b) { return IntDiv(a, b); }
Variant FnMod(const Variant& a, const Variant& b) { return Mod(a, b); }
Variant FnPow(const Variant& a, const Variant& b) { return Pow(a, b); }

// Length arguments of Left, Right, Mid: Null is invalid use of Null, a
// negative count an invalid argument.
std::int64_t CountArg(const Variant& value) {
    if (value.IsNull()) throw VornError::InvalidUseOfNull("vorn_left");
    const std::int64_t count = CLng(value);
    if (count < 0) throw VornError::InvalidArgument("vorn_left");
    return count;
}

void FnLeft(sqlite3_context* ctx, int, sqlite3_value** argv) {
    Guard(ctx, [&] {
        const Variant text = Arg(argv, 0);
        const std::int64_t count = CountArg(Arg(argv, 1));
        if (text.IsNull()) return sqlite3_result_null(ctx);
        ResultText(ctx, utf8::Left(TextOf(text), count));
    });
}

void FnRight(sqlite3_context* ctx, int, sqlite3_value** argv) {
    Guard(ctx, [&] {
        const Variant text = Arg(argv, 0);
        const std::int64_t count = CountArg(Arg(argv, 1));
        if (text.IsNull()) return sqlite3_result_null(ctx);
        ResultText(ctx, utf8::Right(TextOf(text), count));
    });
}

// Mid(text, start[, length]): start from 1.
void FnMid(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
    Guard(ctx, [&] {
        const Variant text = Arg(argv, 0);
        const Variant startArg = Arg(argv, 1);
        if (startArg.IsNull()) throw VornError::InvalidUseOfNull("vorn_mid");
        const std::int64_t start = CLng(startArg);
        if (start < 1) throw VornError::InvalidArgument("vorn_mid");
        const std::int64_t length = argc > 2 ? CountArg(Arg(argv, 2)) : -1;
        if (text.IsNull()) return sqlite3_result_null(ctx);
        ResultText(ctx, utf8::Mid(TextOf(text), start, length));
    });
}

// InStr([start,] text, sought[, compare]). Without a compare argument the
// search ignores case, as text comparison in a query does; 0 makes it binary.
void FnInStr(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
    Guard(ctx, [&] {
        const bool withStart = argc >= 3;
        const std::int64_t start = withStart ? CLng(Arg(argv, 0)) : 1;
        if (start < 1) throw VornError::InvalidArgument("vorn_instr");
        const Variant text = Arg(argv, withStart ? 1 : 0);
        const Variant sought = Arg(argv, withStart ? 2 : 1);
        const bool ignoreCase = argc < 4 || CLng(Arg(argv, 3)) != 0;
        if (text.IsNull() || sought.IsNull()) return sqlite3_result_null(ctx);
        const std::string haystack = TextOf(text);
        if (start > utf8::Length(haystack)) return sqlite3_result_int64(ctx, 0);
        sqlite3_result_int64(ctx, utf8::InStr(start, haystack, TextOf(sought), ignoreCase));
    });
}

// Format(value[, format]).
void FnFormat(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
    Guard(ctx, [&] {
        const Variant format = argc > 1 ? Arg(argv, 1) : Variant();
        ResultText(ctx,
                   Format(Arg(argv, 0), format.IsNull() || format.IsEmpty() ? "" : TextOf(format)));
    });
}

void FnIsNumeric(sqlite3_context* ctx, int, sqlite3_value** argv) {
    Guard(ctx, [&] { sqlite3_result_int(ctx, IsNumeric(Arg(argv, 0)) ? 1 : 0); });
}

void FnIsDate(sqlite3_context* ctx, int, sqlite3_value** argv) {
    Guard(ctx, [&] { sqlite3_result_int(ctx, IsDate(Arg(argv, 0)) ? 1 : 0); });
}

// Nz(value[, instead]): the value, or what stands instead of Null ("" when
// nothing does).
void FnNz(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
    if (sqlite3_value_type(argv[0]) != SQLITE_NULL) {
        sqlite3_result_value(ctx, argv[0]);
    } else if (argc > 1) {
        sqlite3_result_value(ctx, argv[1]);
    } else {
        sqlite3_result_text(ctx, "", 0, SQLITE_STATIC);
    }
}

// Round(value[, digits]).
void FnRound(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
    Guard(ctx, [&] {
        const Variant value = Arg(argv, 0);
        if (value.IsNull()) return sqlite3_result_null(ctx);
        ResultVariant(ctx, Round(value, argc > 1 ? CLng(Arg(argv, 1)) : 0));
    });
}

double LocalNow() {
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    std::tm local{};
    localtime_r(&seconds, &local);
    DateParts parts;
    parts.year = local.tm_year + 1900;
    parts.month = local.tm_mon + 1;
    parts.day = local.tm_mday;
    parts.hour = local.tm_hour;
    parts.minute = local.tm_min;
    parts.second = local.tm_sec;
    return DateSerialFromParts(parts);
}

void FnNow(sqlite3_context* ctx, int, sqlite3_value**) {
    Guard(ctx, [&] { ResultDate(ctx, LocalNow()); });
}

void FnToday(sqlite3_context* ctx, int, sqlite3_value**) {
    Guard(ctx, [&] { ResultDate(ctx, std::floor(LocalNow())); });
}

void FnDateSerial(sqlite3_context* ctx, int, sqlite3_value** argv) {
    Guard(ctx, [&] {
        for (int i = 0; i < 3; ++i) {
            if (sqlite3_value_type(argv[i]) == SQLITE_NULL) return sqlite3_result_null(ctx);
        }
        const double serial =
            DateSerial(CInt(Arg(argv, 0)), CInt(Arg(argv, 1)), CInt(Arg(argv, 2)));
        if (serial < kMinDateSerial || serial > kMaxDateSerial)
            throw VornError::InvalidArgument("vorn_dateserial");
        ResultDate(ctx, serial);
    });
}

// vorn_asdate(x): x marked as a Date when it is one (stored date text or a
// serial); any other value unchanged.
void FnAsDate(sqlite3_context* ctx, int, sqlite3_value** argv) {
    Guard(ctx, [&] {
        sqlite3_value* value = argv[0];
        const int type = sqlite3_value_type(value);
        if (type == SQLITE_INTEGER || type == SQLITE_FLOAT)
            return ResultDate(ctx, sqlite3_value_double(value));
        if (type == SQLITE_TEXT) {
            const Variant text = Arg(argv, 0);
            const std::optional<double> serial = text.IsDate()
                                                     ? std::optional<double>(text.AsDateSerial())
                                                     : ParseDate(text.AsText());
            if (serial) return ResultDate(ctx, *serial);
        }
        sqlite3_result_value(ctx, value);
    });
}

// vorn_store(x, daoType[, precision, scale]): x as a field of that type
// keeps it, converted as the engine converts what a recordset writes.
void FnStore(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
    Guard(ctx, [&] {
        FieldInfo field;
        field.type = static_cast<std::int16_t>(sqlite3_value_int(argv[1]));
        if (argc > 3) {
            field.precision = static_cast<std::uint8_t>(sqlite3_value_int(argv[2]));
            field.scale = static_cast<std::uint8_t>(sqlite3_value_int(argv[3]));
        }
        const Variant value = Arg(argv, 0);
        if (value.IsNull()) return sqlite3_result_null(ctx);
        ResultStored(ctx, SqliteValueCodec::Encode(value, field));
    });
}

void FnLike(sqlite3_context* ctx, int, sqlite3_value** argv) {
    Guard(ctx, [&] {
        const Variant text = Arg(argv, 0);
        const Variant pattern = Arg(argv, 1);
        if (text.IsNull() || pattern.IsNull()) return sqlite3_result_null(ctx);
        const std::string patternText = TextOf(pattern);
        if (!SqliteFunctions::IsValidLikePattern(patternText)) {
            throw VornError(errnum::kJetSyntaxErrorInExpression, "vorn_like",
                            "Invalid pattern string '" + patternText + "'");
        }
        sqlite3_result_int(ctx, SqliteFunctions::LikeMatches(TextOf(text), patternText) ? 1 : 0);
    });
}

// First and Last: the value of the first and last row of a group.
struct FirstLastState {
    bool seen = false;
    sqlite3_value* value = nullptr;
};

template <bool kLast>
void FirstLastStep(sqlite3_context* ctx, int, sqlite3_value** argv) {
    auto* state =
        static_cast<FirstLastState*>(sqlite3_aggregate_context(ctx, sizeof(FirstLastState)));
    if (state == nullptr) return sqlite3_result_error_nomem(ctx);
    if (state->seen && !kLast) return;
    sqlite3_value_free(state->value);
    state->value = sqlite3_value_dup(argv[0]);
    state->seen = true;
}

void FirstLastFinal(sqlite3_context* ctx) {
    auto* state = static_cast<FirstLastState*>(sqlite3_aggregate_context(ctx, 0));
    if (state == nullptr || state->value == nullptr) return sqlite3_result_null(ctx);
    sqlite3_result_value(ctx, state->value);
    sqlite3_value_free(state->value);
    state->value = nullptr;
}

using ScalarFunction = void (*)(sqlite3_context*, int, sqlite3_value**);

struct FunctionSpec {
    const char* name;
    int argCount;  // -1: any
    ScalarFunction call;
    bool deterministic = true;
};

const FunctionSpec kFunctions[] = {
    {"vorn_cstr", 1, CallUnary<FnCStr>},
    {"vorn_val", 1, CallUnary<FnVal>},
    {"vorn_len", 1, CallUnary<FnLen>},
    {"vorn_trim", 1, CallUnary<FnTrim>},
    {"vorn_ltrim", 1, CallUnary<FnLTrim>},
    {"vorn_rtrim", 1, CallUnary<FnRTrim>},
    {"vorn_ucase", 1, CallUnary<FnUCase>},
    {"vorn_lcase", 1, CallUnary<FnLCase>},
    {"vorn_clng", 1, CallUnary<FnClng>},
    {"vorn_cint", 1, CallUnary<FnCInt>},
    {"vorn_cdbl", 1, CallUnary<FnCDbl>},
    {"vorn_csng", 1, CallUnary<FnCSng>},
    {"vorn_cbool", 1, CallUnary<FnCBool>},
    {"vorn_ccur", 1, CallUnary<FnCCur>},
    {"vorn_cdate", 1, CallUnary<FnCDate>},
    {"vorn_todate", 1, CallUnary<FnCDate>},
    {"vorn_serial", 1, CallUnary<FnSerial>},
    {"vorn_int", 1, CallUnary<FnInt>},
    {"vorn_fix", 1, CallUnary<FnFix>},
    {"vorn_abs", 1, CallUnary<FnAbs>},
    {"vorn_sgn", 1, CallUnary<FnSgn>},
    {"vorn_str", 1, CallUnary<FnStr>},
    {"vorn_hex", 1, CallUnary<FnHex>},
    {"vorn_chr", 1, CallUnary<FnChr>},
    {"vorn_asc", 1, CallUnary<FnAsc>},
    {"vorn_space", 1, CallUnary<FnSpace>},
    {"vorn_year", 1, CallUnary<FnYear>},
    {"vorn_month", 1, CallUnary<FnMonth>},
    {"vorn_day", 1, CallUnary<FnDay>},
    {"vorn_hour", 1, CallUnary<FnHour>},
    {"vorn_minute", 1, CallUnary<FnMinute>},
    {"vorn_second", 1, CallUnary<FnSecond>},
    {"vorn_weekday", 1, CallUnary<FnWeekday>},
    {"vorn_add", 2, CallBinary<FnAdd>},
    {"vorn_concat", 2, CallBinary<FnConcat>},
    {"vorn_intdiv", 2, CallDividing<FnIntDiv>},
    {"vorn_mod", 2, CallDividing<FnMod>},
    {"vorn_pow", 2, CallBinary<FnPow>},
    {"vorn_left", 2, FnLeft},
    {"vorn_right", 2, FnRight},
    {"vorn_mid", -1, FnMid},
    {"vorn_instr", -1, FnInStr},
    {"vorn_format", -1, FnFormat},
    {"vorn_isnumeric", 1, FnIsNumeric},
    {"vorn_isdate", 1, FnIsDate},
    {"vorn_nz", -1, FnNz},
    {"vorn_round", -1, FnRound},
    {"vorn_now", 0, FnNow, false},
    {"vorn_date", 0, FnToday, false},
    {"vorn_dateserial", 3, FnDateSerial},
    {"vorn_asdate", 1, FnAsDate},
    {"vorn_store", -1, FnStore},
    {"vorn_like", 2, FnLike},
};

void Check(sqlite3* db, int rc, const char* what) {
    if (rc == SQLITE_OK) return;
    throw VornError(errnum::kJetInvalidArgument, "SqliteFunctions.Register",
                    std::string("SQLite refused ") + what + ": " + sqlite3_errmsg(db));
}

// ---- LIKE patterns ---------------------------------------------------------

// One position of a compiled pattern.
struct PatternItem {
    enum class Kind { Any, One, Digit, Char, Set };
    Kind kind = Kind::Char;
    char32_t ch = 0;
    bool negated = false;
    std::vector<std::pair<char32_t, char32_t>> ranges;

    bool Matches(char32_t c) const {
        switch (kind) {
            case Kind::One:
                return true;
            case Kind::Digit:
                return c >= U'0' && c <= U'9';
            case Kind::Char:
                return c == ch;
            case Kind::Set:
                break;
            case Kind::Any:
                return false;
        }
        bool inSet = false;
        for (const auto& [low, high] : ranges) inSet = inSet || (c >= low && c <= high);
        return inSet != negated;
    }
};

// The set of "[...]" from just after "[" up to the closing "]".
PatternItem CompileSet(std::u32string_view body) {
    PatternItem item;
    item.kind = PatternItem::Kind::Set;
    if (body.size() > 1 && body.front() == U'!') {
        item.negated = true;
        body.remove_prefix(1);
    }
    for (std::size_t i = 0; i < body.size(); ++i) {
        if (i + 2 < body.size() && body[i + 1] == U'-') {
            item.ranges.emplace_back(body[i], body[i + 2]);
            i += 2;
        } else {
            item.ranges.emplace_back(body[i], body[i]);
        }
    }
    return item;
}

// The pattern as items; nullopt when a "[" is not closed.
std::optional<std::vector<PatternItem>> CompilePattern(std::string_view pattern) {
    const std::u32string folded = utf8::ToU32(utf8::ToUpper(pattern));
    std::vector<PatternItem> items;
    for (std::size_t i = 0; i < folded.size(); ++i) {
        const char32_t c = folded[i];
        PatternItem item;
        if (c == U'[') {
            const std::size_t close = folded.find(U']', i + 1);
            if (close == std::u32string::npos) return std::nullopt;
            // "[]" stands for nothing at all.
            if (close > i + 1)
                items.push_back(
                    CompileSet(std::u32string_view(folded).substr(i + 1, close - i - 1)));
            i = close;
            continue;
        }
        item.kind = c == U'*'   ? PatternItem::Kind::Any
                    : c == U'?' ? PatternItem::Kind::One
                    : c == U'#' ? PatternItem::Kind::Digit
                                : PatternItem::Kind::Char;
        item.ch = c;
        items.push_back(std::move(item));
    }
    return items;
}

// Wildcard matching that backtracks to the last "*" only, which suffices
// since every other item takes exactly one character.
bool MatchItems(std::u32string_view text, const std::vector<PatternItem>& items) {
    std::size_t t = 0;
    std::size_t p = 0;
    std::size_t starItem = std::string::npos;
    std::size_t starText = 0;
    while (t < text.size()) {
        if (p < items.size() && items[p].kind == PatternItem::Kind::Any) {
            starItem = p++;
            starText = t;
        } else if (p < items.size() && items[p].Matches(text[t])) {
            ++t;
            ++p;
        } else if (starItem != std::string::npos) {
            p = starItem + 1;
            t = ++starText;
        } else {
            return false;
        }
    }
    while (p < items.size() && items[p].kind == PatternItem::Kind::Any) ++p;
    return p == items.size();
}

}  // namespace

void SqliteFunctions::Register(sqlite3* db) {
    for (const FunctionSpec& spec : kFunctions) {
        const int flags =
            SQLITE_UTF8 | (spec.deterministic ? SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS : 0);
        Check(db,
              sqlite3_create_function_v2(db, spec.name, spec.argCount, flags, nullptr, spec.call,
                                         nullptr, nullptr, nullptr),
              spec.name);
    }
    Check(db,
          sqlite3_create_function_v2(db, "vorn_first", 1, SQLITE_UTF8, nullptr, nullptr,
                                     FirstLastStep<false>, FirstLastFinal, nullptr),
          "vorn_first");
    Check(db,
          sqlite3_create_function_v2(db, "vorn_last", 1, SQLITE_UTF8, nullptr, nullptr,
                                     FirstLastStep<true>, FirstLastFinal, nullptr),
          "vorn_last");
}

Variant SqliteFunctions::ToVariant(sqlite3_value* value) {
    switch (sqlite3_value_type(value)) {
        case SQLITE_NULL:
            return Variant::Null();
        case SQLITE_INTEGER:
            return Variant::FromInteger(sqlite3_value_int64(value));
        case SQLITE_FLOAT:
            return Variant(sqlite3_value_double(value));
        case SQLITE_BLOB: {
            const auto* bytes = static_cast<const std::uint8_t*>(sqlite3_value_blob(value));
            return Variant(Variant::Binary(bytes, bytes + sqlite3_value_bytes(value)));
        }
        default:
            break;
    }
    const std::string text(reinterpret_cast<const char*>(sqlite3_value_text(value)),
                           static_cast<std::size_t>(sqlite3_value_bytes(value)));
    if (sqlite3_value_subtype(value) == kDateSubtype) {
        if (const std::optional<double> serial = SqliteDateText::ToSerial(text))
            return Variant::FromDate(*serial);
    }
    return Variant(text);
}

bool SqliteFunctions::LikeMatches(std::string_view text, std::string_view pattern) {
    const std::optional<std::vector<PatternItem>> items = CompilePattern(pattern);
    return items && MatchItems(utf8::ToU32(utf8::ToUpper(text)), *items);
}

bool SqliteFunctions::IsValidLikePattern(std::string_view pattern) {
    return CompilePattern(pattern).has_value();
}

std::optional<std::int32_t> SqliteFunctions::ErrorNumberIn(std::string_view message) {
    if (message.empty() || message.back() != ')') return std::nullopt;
    const std::size_t open = message.rfind('(');
    if (open == std::string_view::npos) return std::nullopt;
    const std::string_view digits = message.substr(open + 1, message.size() - open - 2);
    if (digits.empty() || digits.find_first_not_of("-0123456789") != std::string_view::npos)
        return std::nullopt;
    try {
        return static_cast<std::int32_t>(std::stol(std::string(digits)));
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

}  // namespace vorn
