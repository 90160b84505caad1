#include "dbcontract/mariadb/MariaDbSqlText.h"

#include <charconv>
#include <cstdlib>

#include "dbcontract/mariadb/MariaDbHandle.h"
#include "runtime/Utf8.h"
#include "runtime/VornError.h"

namespace vorn {

namespace {

bool IsName(const SqlToken& token) {
    return token.kind == SqlTokenKind::Word || token.kind == SqlTokenKind::QuotedName;
}

// A number as written in a statement: Long when whole and small, else Double.
Variant NumberOf(const std::string& text, bool negative) {
    std::int64_t whole = 0;
    const char* end = text.data() + text.size();
    const auto [ptr, ec] = std::from_chars(text.data(), end, whole);
    if (ec == std::errc() && ptr == end) return Variant::FromInteger(negative ? -whole : whole);
    const double real = std::strtod(text.c_str(), nullptr);
    return Variant(negative ? -real : real);
}

}  // namespace

MariaDbSqlText::MariaDbSqlText(std::string_view sql) : sql_(sql) {
    try {
        tokens_ = SqlTokenizer(SqlTokenizerOptions::SqlServer()).Tokenize(sql);
    } catch (const VornError&) {
        tokens_.clear();  // the server will say what is wrong with it
    }
}

std::string MariaDbSqlText::QuoteName(std::string_view name) {
    std::string quoted = "`";
    for (const char c : name) {
        if (c == '`') quoted += '`';
        quoted += c;
    }
    return quoted + "`";
}

// The text again, with some tokens replaced; white space and comments kept.
std::string MariaDbSqlText::Rebuild(const std::function<std::optional<std::string>(const SqlToken&)>& replace) const {
    std::string out;
    std::size_t position = 0;
    for (const SqlToken& token : tokens_) {
        if (token.kind == SqlTokenKind::End) break;
        const std::optional<std::string> replacement = replace(token);
        if (!replacement) continue;
        out.append(sql_, position, token.offset - position);
        out += *replacement;
        position = token.offset + token.text.size();
    }
    out.append(sql_, position);
    return out;
}

std::string MariaDbSqlText::WithPositionalMarkers(const std::vector<NamedValue>& named,
                                                  std::vector<Variant>& ordered) const {
    ordered.clear();
    if (tokens_.empty()) RaiseMariaDbFailure("the statement could not be read: " + sql_);
    return Rebuild([&](const SqlToken& token) -> std::optional<std::string> {
        if (token.kind != SqlTokenKind::Parameter) return std::nullopt;
        for (const NamedValue& value : named) {
            if (!token.value.empty() && utf8::CompareIgnoreCase(value.name, token.value) == 0) {
                ordered.push_back(value.value);
                return std::string("?");
            }
        }
        RaiseMariaDbFailure("no value was given for the parameter " + token.text);
    });
}

std::string MariaDbSqlText::WithStoredNames(
    const std::function<std::optional<std::string>(const std::string&)>& stored) const {
    if (tokens_.empty()) return sql_;
    return Rebuild([&](const SqlToken& token) -> std::optional<std::string> {
        if (!IsName(token)) return std::nullopt;
        const std::optional<std::string> name = stored(token.value);
        if (!name || *name == token.value) return std::nullopt;
        // A bare word keeps its letters but for case, so it stays bare.
        return token.kind == SqlTokenKind::Word ? *name : QuoteName(*name);
    });
}

MariaDbStatementKind MariaDbSqlText::Kind() const {
    if (tokens_.empty() || tokens_[0].kind != SqlTokenKind::Word) return MariaDbStatementKind::Other;
    const SqlToken& first = tokens_[0];
    if (first.Is("CREATE")) {
        for (std::size_t i = 1; i < tokens_.size() && i < 8; ++i) {
            const SqlToken& word = tokens_[i];
            // A temporary table neither commits nor outlives the session.
            if (word.Is("TEMPORARY")) return MariaDbStatementKind::Other;
            if (word.Is("TABLE")) return MariaDbStatementKind::CreateTable;
            if (word.Is("VIEW")) return MariaDbStatementKind::CreateView;
            if (word.Is("INDEX")) return MariaDbStatementKind::CreateIndex;
        }
        return MariaDbStatementKind::OtherDdl;
    }
    if (first.Is("ALTER")) {
        for (std::size_t i = 1; i < tokens_.size() && i < 4; ++i) {
            if (tokens_[i].Is("TABLE")) return MariaDbStatementKind::AlterTable;
        }
        return MariaDbStatementKind::OtherDdl;
    }
    if (first.Is("INSERT")) return MariaDbStatementKind::Insert;
    for (const char* word : {"DROP", "RENAME", "TRUNCATE", "GRANT", "REVOKE", "ANALYZE", "OPTIMIZE"}) {
        if (first.Is(word)) return MariaDbStatementKind::OtherDdl;
    }
    return MariaDbStatementKind::Other;
}

std::size_t MariaDbSqlText::NameIndex() const {
    const MariaDbStatementKind kind = Kind();
    std::size_t i = 1;
    const auto skipTo = [&](std::initializer_list<const char*> words) {
        for (; i < tokens_.size(); ++i) {
            for (const char* word : words) {
                if (tokens_[i].Is(word)) {
                    ++i;
                    return;
                }
            }
        }
    };
    switch (kind) {
        case MariaDbStatementKind::CreateTable:
        case MariaDbStatementKind::AlterTable: skipTo({"TABLE"}); break;
        case MariaDbStatementKind::CreateView: skipTo({"VIEW"}); break;
        case MariaDbStatementKind::CreateIndex: skipTo({"ON"}); break;
        case MariaDbStatementKind::Insert:
            while (i < tokens_.size() && tokens_[i].kind == SqlTokenKind::Word &&
                   (tokens_[i].Is("INTO") || tokens_[i].Is("IGNORE") || tokens_[i].Is("LOW_PRIORITY") ||
                    tokens_[i].Is("DELAYED") || tokens_[i].Is("HIGH_PRIORITY"))) {
                ++i;
            }
            break;
        default: return tokens_.size();
    }
    // IF NOT EXISTS stands before the name.
    if (i + 2 < tokens_.size() && tokens_[i].Is("IF") && tokens_[i + 1].Is("NOT") && tokens_[i + 2].Is("EXISTS")) {
        i += 3;
    }
    return i;
}

// The name at `index`, the last part of a dotted one; `next` is set past it.
std::string MariaDbSqlText::NameAt(std::size_t index, std::size_t* next) const {
    std::string name;
    while (index < tokens_.size() && IsName(tokens_[index])) {
        name = tokens_[index].value;
        ++index;
        if (index + 1 < tokens_.size() && tokens_[index].IsSymbol(".") && IsName(tokens_[index + 1])) {
            ++index;
            continue;
        }
        break;
    }
    if (next != nullptr) *next = index;
    return name;
}

std::string MariaDbSqlText::SubjectTable() const {
    return NameAt(NameIndex());
}

bool MariaDbSqlText::IfNotExists() const {
    const std::size_t index = NameIndex();
    return index >= 3 && index <= tokens_.size() && tokens_[index - 1].Is("EXISTS") && tokens_[index - 2].Is("NOT");
}

// The position of the "?" marker among the statement's markers.
std::size_t MariaDbSqlText::ParameterIndex(std::size_t token) const {
    std::size_t count = 0;
    for (std::size_t i = 0; i < token; ++i) {
        if (tokens_[i].kind == SqlTokenKind::Parameter) ++count;
    }
    return count;
}

// The value of the expression between tokens begin and end, when it is a
// literal, NULL, DEFAULT or a marker.
MariaDbInsertValue MariaDbSqlText::ValueOf(std::size_t begin, std::size_t end,
                                           const std::vector<Variant>& params) const {
    MariaDbInsertValue result;
    const bool negative = end - begin == 2 && tokens_[begin].IsSymbol("-");
    if (negative) ++begin;
    if (end - begin != 1) return result;
    const SqlToken& token = tokens_[begin];
    if (token.kind == SqlTokenKind::Number) {
        result = {MariaDbInsertValue::Form::Given, NumberOf(token.text, negative)};
    } else if (negative) {
        return result;
    } else if (token.kind == SqlTokenKind::String) {
        result = {MariaDbInsertValue::Form::Given, Variant(token.value)};
    } else if (token.kind == SqlTokenKind::Parameter) {
        const std::size_t index = ParameterIndex(begin);
        if (index >= params.size()) return result;
        const Variant& value = params[index];
        result = {value.IsNull() || value.IsEmpty() ? MariaDbInsertValue::Form::Null : MariaDbInsertValue::Form::Given,
                  value};
    } else if (token.Is("NULL")) {
        result.form = MariaDbInsertValue::Form::Null;
    } else if (token.Is("DEFAULT")) {
        result.form = MariaDbInsertValue::Form::Default;
    }
    return result;
}

std::optional<MariaDbInsertShape> MariaDbSqlText::Insert(const std::vector<Variant>& params) const {
    if (Kind() != MariaDbStatementKind::Insert) return std::nullopt;
    MariaDbInsertShape shape;
    std::size_t i = 0;
    shape.table = NameAt(NameIndex(), &i);
    if (i < tokens_.size() && tokens_[i].IsSymbol("(") && i + 1 < tokens_.size() && IsName(tokens_[i + 1]) &&
        !tokens_[i + 1].Is("SELECT")) {
        for (++i; i < tokens_.size() && !tokens_[i].IsSymbol(")"); ++i) {
            if (IsName(tokens_[i])) shape.columns.push_back(tokens_[i].value);
        }
        ++i;
    }
    if (i >= tokens_.size() || !(tokens_[i].Is("VALUES") || tokens_[i].Is("VALUE"))) return shape;
    ++i;
    // Rows: "(" value, value ")" separated by commas; values may nest parentheses.
    while (i < tokens_.size() && tokens_[i].IsSymbol("(")) {
        std::vector<MariaDbInsertValue> row;
        std::size_t begin = ++i;
        int depth = 0;
        for (; i < tokens_.size() && tokens_[i].kind != SqlTokenKind::End; ++i) {
            const SqlToken& token = tokens_[i];
            if (token.IsSymbol("(")) ++depth;
            if (token.IsSymbol(")") && depth-- == 0) break;
            if (token.IsSymbol(",") && depth == 0) {
                row.push_back(ValueOf(begin, i, params));
                begin = i + 1;
            }
        }
        row.push_back(ValueOf(begin, i, params));
        shape.rows.push_back(std::move(row));
        ++i;
        if (i < tokens_.size() && tokens_[i].IsSymbol(",")) ++i;
    }
    return shape;
}

}  // namespace vorn
