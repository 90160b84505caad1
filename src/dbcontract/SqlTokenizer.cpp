#include "dbcontract/SqlTokenizer.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <iterator>

#include "runtime/ErrorNumbers.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

// Words that the grammar gives a meaning where a name could also stand, so
// that they name a table or column only in quotes.
constexpr std::string_view kReservedWords[] = {
    "ADD",        "ALL",    "ALTER",  "AND",    "AS",       "ASC",         "BETWEEN", "BY",
    "CONSTRAINT", "CREATE", "DELETE", "DESC",   "DISTINCT", "DISTINCTROW", "DROP",    "EQV",
    "EXISTS",     "FROM",   "GROUP",  "HAVING", "IMP",      "IN",          "INDEX",   "INNER",
    "INSERT",     "INTO",   "IS",     "JOIN",   "LEFT",     "LIKE",        "MOD",     "NOT",
    "NULL",       "ON",     "OR",     "ORDER",  "OUTER",    "PERCENT",     "PRIMARY", "RIGHT",
    "SELECT",     "SET",    "TABLE",  "TOP",    "UNION",    "UNIQUE",      "UPDATE",  "VALUES",
    "WHERE",      "XOR",
};

bool EqualsAsciiIgnoreCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::toupper(static_cast<unsigned char>(x)) ==
                      std::toupper(static_cast<unsigned char>(y));
           });
}

bool IsNameStart(unsigned char c) { return std::isalpha(c) || c == '_' || c >= 0x80; }
bool IsNameChar(unsigned char c) { return IsNameStart(c) || std::isdigit(c) || c == '$'; }
bool IsDigit(char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; }

// Walks the statement once, making tokens. `operandExpected` says whether the
// last token leaves room for an operand, which is what tells "&H1F" (a
// number) from "&" followed by a name, and ".5" from a qualifier.
class Scanner {
  public:
    Scanner(std::string_view sql, const SqlTokenizerOptions& options)
        : sql_(sql), options_(options) {}

    std::vector<SqlToken> Run() {
        while (true) {
            const bool space = SkipBlanks();
            SqlToken token = Next(space);
            token.spaceBefore = space;
            const bool end = token.kind == SqlTokenKind::End;
            UpdateOperandExpected(token);
            tokens_.push_back(std::move(token));
            if (end) return std::move(tokens_);
        }
    }

  private:
    // Skips white space and comments; true when anything was skipped.
    bool SkipBlanks() {
        const std::size_t start = pos_;
        while (pos_ < sql_.size()) {
            const unsigned char c = static_cast<unsigned char>(sql_[pos_]);
            if (std::isspace(c) || c == 0) {
                ++pos_;
            } else if (sql_.substr(pos_, 2) == "--") {
                const std::size_t eol = sql_.find('\n', pos_);
                pos_ = eol == std::string_view::npos ? sql_.size() : eol + 1;
            } else if (sql_.substr(pos_, 2) == "/*") {
                const std::size_t close = sql_.find("*/", pos_ + 2);
                if (close == std::string_view::npos) Fail(pos_, "unterminated comment");
                pos_ = close + 2;
            } else {
                break;
            }
        }
        return pos_ > start;
    }

    // The token at the position; `space` says blanks stand before it.
    SqlToken Next(bool space) {
        if (pos_ >= sql_.size()) return Make(SqlTokenKind::End, pos_, pos_, "");
        const char c = sql_[pos_];
        if (c == '[') return Quoted(SqlTokenKind::QuotedName, '[', ']');
        if (c == '`') return Quoted(SqlTokenKind::QuotedName, '`', '`');
        if (c == '"') {
            return Quoted(
                options_.doubleQuotedNames ? SqlTokenKind::QuotedName : SqlTokenKind::String, '"',
                '"');
        }
        if (c == '\'') return Quoted(SqlTokenKind::String, '\'', '\'');
        if (c == '#' && options_.hashDates) return DateLiteral();
        if (IsDigit(c) || (c == '.' && (operandExpected_ || space) && IsDigit(Peek(1))))
            return Number();
        if (c == '&' && options_.ampersandNumbers && operandExpected_ && IsRadixNumber())
            return RadixNumber();
        if (c == '?') return Make(SqlTokenKind::Parameter, pos_, pos_ + 1, "");
        if (c == '@') return AtWord();
        if (IsNameStart(static_cast<unsigned char>(c)) || (c == '#' && !options_.hashDates))
            return Word();
        return Symbol();
    }

    char Peek(std::size_t ahead) const {
        return pos_ + ahead < sql_.size() ? sql_[pos_ + ahead] : '\0';
    }

    // A token from `start` to `end`, which becomes the new position.
    SqlToken Make(SqlTokenKind kind, std::size_t start, std::size_t end, std::string value) {
        SqlToken token;
        token.kind = kind;
        token.text = std::string(sql_.substr(start, end - start));
        token.value = std::move(value);
        token.offset = start;
        token.position = PositionOf(start);
        pos_ = end;
        return token;
    }

    // A quoted name or string; a doubled closing quote stands for itself.
    SqlToken Quoted(SqlTokenKind kind, char open, char close) {
        const std::size_t start = pos_;
        std::string value;
        std::size_t i = pos_ + 1;
        while (true) {
            if (i >= sql_.size()) {
                Fail(start,
                     kind == SqlTokenKind::String ? "unterminated string" : "unterminated name");
            }
            if (sql_[i] == close) {
                if (i + 1 < sql_.size() && sql_[i + 1] == close) {
                    value += close;
                    i += 2;
                    continue;
                }
                break;
            }
            value += sql_[i++];
        }
        SqlToken token = Make(kind, start, i + 1, std::move(value));
        token.quote = open;
        return token;
    }

    SqlToken DateLiteral() {
        const std::size_t start = pos_;
        const std::size_t close = sql_.find('#', pos_ + 1);
        if (close == std::string_view::npos) Fail(start, "unterminated date literal");
        const std::string_view body = sql_.substr(start + 1, close - start - 1);
        if (body.find_first_not_of(" \t") == std::string_view::npos ||
            body.find('\n') != std::string_view::npos) {
            Fail(start, "malformed date literal");
        }
        return Make(SqlTokenKind::Date, start, close + 1, std::string(body));
    }

    SqlToken Number() {
        const std::size_t start = pos_;
        std::size_t i = pos_;
        while (i < sql_.size() && IsDigit(sql_[i])) ++i;
        if (i < sql_.size() && sql_[i] == '.') {
            ++i;
            while (i < sql_.size() && IsDigit(sql_[i])) ++i;
        }
        if (i < sql_.size() && (sql_[i] == 'e' || sql_[i] == 'E')) {
            std::size_t j = i + 1;
            if (j < sql_.size() && (sql_[j] == '+' || sql_[j] == '-')) ++j;
            if (j < sql_.size() && IsDigit(sql_[j])) {
                while (j < sql_.size() && IsDigit(sql_[j])) ++j;
                i = j;
            }
        }
        const std::string text(sql_.substr(start, i - start));
        return Make(SqlTokenKind::Number, start, i, text);
    }

    bool IsRadixNumber() const {
        const char radix = static_cast<char>(std::toupper(static_cast<unsigned char>(Peek(1))));
        const char digit = Peek(2);
        if (radix == 'H') return std::isxdigit(static_cast<unsigned char>(digit)) != 0;
        if (radix == 'O') return digit >= '0' && digit <= '7';
        return false;
    }

    SqlToken RadixNumber() {
        const std::size_t start = pos_;
        const bool hex = std::toupper(static_cast<unsigned char>(Peek(1))) == 'H';
        std::size_t i = pos_ + 2;
        while (i < sql_.size() && (hex ? std::isxdigit(static_cast<unsigned char>(sql_[i])) != 0
                                       : (sql_[i] >= '0' && sql_[i] <= '7'))) {
            ++i;
        }
        const std::string text(sql_.substr(start, i - start));
        return Make(SqlTokenKind::Number, start, i, text);
    }

    // "@name" is a parameter; "@@name" a server variable, kept as a word.
    SqlToken AtWord() {
        const std::size_t start = pos_;
        std::size_t i = pos_ + 1;
        const bool variable = Peek(1) == '@';
        if (variable) ++i;
        const std::size_t nameStart = i;
        while (i < sql_.size() && IsNameChar(static_cast<unsigned char>(sql_[i]))) ++i;
        if (i == nameStart) Fail(start, "a parameter needs a name after \"@\"");
        if (variable)
            return Make(SqlTokenKind::Word, start, i, std::string(sql_.substr(start, i - start)));
        return Make(SqlTokenKind::Parameter, start, i,
                    std::string(sql_.substr(nameStart, i - nameStart)));
    }

    SqlToken Word() {
        const std::size_t start = pos_;
        std::size_t i = pos_ + 1;
        while (i < sql_.size() && (IsNameChar(static_cast<unsigned char>(sql_[i])) ||
                                   (sql_[i] == '#' && !options_.hashDates))) {
            ++i;
        }
        return Make(SqlTokenKind::Word, start, i, std::string(sql_.substr(start, i - start)));
    }

    SqlToken Symbol() {
        static constexpr std::array<std::string_view, 4> kPairs = {"<>", "<=", ">=", "!="};
        for (const std::string_view pair : kPairs) {
            if (sql_.substr(pos_, 2) == pair)
                return Make(SqlTokenKind::Operator, pos_, pos_ + 2, std::string(pair));
        }
        const char c = sql_[pos_];
        if (std::string_view("=<>+-*/\\^&%").find(c) != std::string_view::npos) {
            return Make(SqlTokenKind::Operator, pos_, pos_ + 1, std::string(1, c));
        }
        if (std::string_view("(),.;!").find(c) != std::string_view::npos) {
            return Make(SqlTokenKind::Punctuation, pos_, pos_ + 1, std::string(1, c));
        }
        Fail(pos_, "unexpected character");
    }

    // After an operand (a name, a literal, ")") an operator is due; after
    // anything else an operand may follow.
    void UpdateOperandExpected(const SqlToken& token) {
        switch (token.kind) {
            case SqlTokenKind::Word:
                operandExpected_ = token.IsKeyword();
                break;
            case SqlTokenKind::QuotedName:
            case SqlTokenKind::String:
            case SqlTokenKind::Number:
            case SqlTokenKind::Date:
            case SqlTokenKind::Parameter:
                operandExpected_ = false;
                break;
            default:
                operandExpected_ = !token.IsSymbol(")");
                break;
        }
    }

    // 1-based character position of a byte offset; continuation bytes of
    // UTF-8 sequences do not count.
    std::size_t PositionOf(std::size_t offset) const {
        std::size_t position = 1;
        for (std::size_t i = 0; i < offset && i < sql_.size(); ++i) {
            if ((static_cast<unsigned char>(sql_[i]) & 0xC0) != 0x80) ++position;
        }
        return position;
    }

    [[noreturn]] void Fail(std::size_t offset, std::string_view what) const {
        throw VornError(errnum::kJetSyntaxErrorInExpression, "SqlTokenizer",
                        "Syntax error: " + std::string(what) + " at position " +
                            std::to_string(PositionOf(offset)) + " in the statement \"" +
                            std::string(sql_) + "\".");
    }

    std::string_view sql_;
    const SqlTokenizerOptions& options_;
    std::size_t pos_ = 0;
    bool operandExpected_ = true;
    std::vector<SqlToken> tokens_;
};

}  // namespace

bool SqlToken::Is(std::string_view word) const {
    return kind == SqlTokenKind::Word && EqualsAsciiIgnoreCase(text, word);
}

bool SqlToken::IsSymbol(std::string_view symbol) const {
    return (kind == SqlTokenKind::Operator || kind == SqlTokenKind::Punctuation) && text == symbol;
}

bool SqlToken::IsKeyword() const {
    return kind == SqlTokenKind::Word && SqlTokenizer::IsReservedWord(text);
}

SqlTokenizerOptions SqlTokenizerOptions::Jet() { return SqlTokenizerOptions{}; }

SqlTokenizerOptions SqlTokenizerOptions::SqlServer() {
    SqlTokenizerOptions options;
    options.doubleQuotedNames = true;
    options.hashDates = false;
    options.ampersandNumbers = false;
    return options;
}

SqlTokenizer::SqlTokenizer(SqlTokenizerOptions options) : options_(options) {}

std::vector<SqlToken> SqlTokenizer::Tokenize(std::string_view sql) const {
    return Scanner(sql, options_).Run();
}

bool SqlTokenizer::IsReservedWord(std::string_view word) {
    return std::any_of(
        std::begin(kReservedWords), std::end(kReservedWords),
        [word](std::string_view reserved) { return EqualsAsciiIgnoreCase(word, reserved); });
}

}  // namespace vorn
