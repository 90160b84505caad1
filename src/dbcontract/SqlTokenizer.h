#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// The tokens of an SQL statement, shared by the rewriters of the Jet and the
// server dialects. The tokenizer knows lexical forms only; what a word means
// is the parser's business.
namespace vorn {

enum class SqlTokenKind {
    Word,         // an unquoted name or keyword: Select, PointID, Count
    QuotedName,   // [name], `name`, and "name" where double quotes quote names
    String,       // 'text', and "text" where double quotes quote text (Jet)
    Number,       // 12, 1.5, .5, 1e5, 1E-3, &HFF, &O17
    Date,         // #1/1/1753#, #2004/05/06 10:00:00# (Jet)
    Parameter,    // ?, @param0
    Operator,     // = <> < > <= >= != + - * / \ ^ & %
    Punctuation,  // ( ) , . ; !
    End,          // after the last token
};

struct SqlToken {
    SqlTokenKind kind = SqlTokenKind::End;
    // The token as written, quotes included.
    std::string text;
    // What it stands for: a name without its quotes and with doubled quotes
    // undone, a string's content, a date literal's text between the "#",
    // a parameter's name without "@" ("" for "?"); else the text.
    std::string value;
    // The opening quote of a quoted name or string: '[', '`', '"' or '\''.
    char quote = 0;
    // Where the token starts: byte offset, and 1-based position counted in
    // characters (code points) for messages.
    std::size_t offset = 0;
    std::size_t position = 1;
    // White space or a comment stands before the token.
    bool spaceBefore = false;

    // A Word equal to `word`, ignoring ASCII case.
    bool Is(std::string_view word) const;
    // An Operator or Punctuation token of exactly this text.
    bool IsSymbol(std::string_view symbol) const;
    // A Word that is a reserved word of SQL (SELECT, FROM, AND, ...): such a
    // word names a column only in quotes.
    bool IsKeyword() const;
};

struct SqlTokenizerOptions {
    // "x" is a name (SQL Server, ANSI) rather than text (Jet).
    bool doubleQuotedNames = false;
    // #...# is a date literal (Jet); otherwise "#" is a character of names
    // (SQL Server temporary tables).
    bool hashDates = true;
    // &H1F and &O17 are numbers where an operand may stand (Jet).
    bool ampersandNumbers = true;

    static SqlTokenizerOptions Jet();
    static SqlTokenizerOptions SqlServer();
};

// Splits a statement into tokens. Comments ("--" to the end of the line,
// "/* */") and white space fall away, remembered only in spaceBefore.
class SqlTokenizer {
  public:
    explicit SqlTokenizer(SqlTokenizerOptions options = SqlTokenizerOptions::Jet());

    // The tokens of `sql`, ending with one End token. Raises VornError 3075
    // (syntax error in expression) for text it cannot split: an unterminated
    // string, name, date or comment, or a character that begins no token.
    // The message names the fault and its position and quotes the statement.
    std::vector<SqlToken> Tokenize(std::string_view sql) const;

    // Whether `word` is one of the reserved words (any case).
    static bool IsReservedWord(std::string_view word);

  private:
    SqlTokenizerOptions options_;
};

}  // namespace vorn
