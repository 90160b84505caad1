#include "dbcontract/SqlServerParser.h"

#include <regex>

#include "dbcontract/DaoConstants.h"
#include "dbcontract/ServerConnection.h"
#include "runtime/Conversions.h"
#include "runtime/Utf8.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

// Double quotes name things, as SQL Server has them with QUOTED_IDENTIFIER
// on; "#" brackets a date, as some statements give one.
SqlTokenizerOptions ServerTextOptions() {
    SqlTokenizerOptions options = SqlTokenizerOptions::SqlServer();
    options.hashDates = true;
    return options;
}

// Words after a table name that end it rather than alias it.
bool EndsTableReference(const SqlToken& token) {
    for (const char* word : {"CROSS", "FULL", "JOIN", "INNER", "LEFT", "RIGHT", "OUTER", "ON",
                             "WHERE", "GROUP", "ORDER", "HAVING", "UNION", "WITH", "SET"}) {
        if (token.Is(word)) return true;
    }
    return false;
}

// The date text that a log row carries, "2026/11/15 01:00:00 PM": a strict
// server refuses it, so it becomes the engine's date value.
bool IsLoggedDateText(std::string_view text) {
    static const std::regex kForm(R"(\d{4}/\d{2}/\d{2} \d{1,2}:\d{2}:\d{2} [AaPp][Mm])");
    return std::regex_match(text.begin(), text.end(), kForm);
}

SqlValueKind KindOfDaoType(std::int16_t type) {
    switch (type) {
        case dao::dbText:
        case dao::dbMemo:
        case dao::dbChar:
            return SqlValueKind::Text;
        case dao::dbDate:
        case dao::dbTime:
        case dao::dbTimeStamp:
            return SqlValueKind::Date;
        case dao::dbBinary:
        case dao::dbLongBinary:
        case dao::dbVarBinary:
            return SqlValueKind::Binary;
        case dao::dbGUID:
            return SqlValueKind::Unknown;
        default:
            return SqlValueKind::Number;
    }
}

bool IsWholeNumberType(std::int16_t type) {
    return type == dao::dbByte || type == dao::dbInteger || type == dao::dbLong ||
           type == dao::dbBigInt;
}

// "@name": the parameters of a row copy. A "?" is left alone, since the
// rewrite may need to name the value twice.
bool IsNamedParameter(const SqlExpr& value) {
    return !value.literal && value.sql.size() > 1 && value.sql.front() == '@';
}

SqlValueKind FirstKnown(const std::vector<SqlExpr>& values) {
    for (const SqlExpr& value : values) {
        if (value.kind != SqlValueKind::Unknown) return value.kind;
    }
    return SqlValueKind::Unknown;
}

std::string Joined(const std::vector<SqlExpr>& values) {
    std::string text;
    for (const SqlExpr& value : values) text += (text.empty() ? "" : ", ") + value.sql;
    return text;
}

}  // namespace

// ---- Tokens ------------------------------------------------------------------

SqlServerParser::SqlServerParser(SqlDialect& dialect, std::string_view sql, bool jet)
    : dialect_(dialect), jet_(jet), sql_(sql) {
    try {
        tokens_ =
            SqlTokenizer(jet ? SqlTokenizerOptions::Jet() : ServerTextOptions()).Tokenize(sql);
    } catch (const VornError& e) {
        // Its own full stop would stand before the refusal's.
        std::string why = e.Description();
        if (!why.empty() && why.back() == '.') why.pop_back();
        Refuse(why);
    }
}

const SqlToken& SqlServerParser::Peek(std::size_t ahead) const {
    const std::size_t at = pos_ + ahead;
    return at < tokens_.size() ? tokens_[at] : tokens_.back();
}

const SqlToken& SqlServerParser::Next() {
    const SqlToken& token = Peek();
    if (pos_ < tokens_.size() - 1) ++pos_;
    return token;
}

bool SqlServerParser::Accept(std::string_view word) {
    if (!Peek().Is(word)) return false;
    Next();
    return true;
}

void SqlServerParser::Expect(std::string_view word) {
    if (!Accept(word)) SyntaxError(Peek());
}

bool SqlServerParser::AcceptSymbol(std::string_view symbol) {
    if (!Peek().IsSymbol(symbol)) return false;
    Next();
    return true;
}

void SqlServerParser::ExpectSymbol(std::string_view symbol) {
    if (!AcceptSymbol(symbol)) SyntaxError(Peek());
}

bool SqlServerParser::AtStatementEnd() const {
    return Peek().kind == SqlTokenKind::End ||
           (Peek().IsSymbol(";") && Peek(1).kind == SqlTokenKind::End);
}

void SqlServerParser::ExpectStatementEnd() {
    AcceptSymbol(";");
    if (Peek().kind != SqlTokenKind::End) SyntaxError(Peek());
}

bool SqlServerParser::IsNameToken(const SqlToken& token) const {
    return token.kind == SqlTokenKind::QuotedName ||
           (token.kind == SqlTokenKind::Word && !token.IsKeyword());
}

void SqlServerParser::SyntaxError(const SqlToken& at) const {
    if (at.kind == SqlTokenKind::End) Refuse("syntax error: the statement ends too early");
    Refuse("syntax error near '" + at.text + "' at position " + std::to_string(at.position));
}

void SqlServerParser::Refuse(const std::string& why) const {
    throw ServerFailure(dialect_.EngineName(), "The statement is not run on " +
                                                   std::string(dialect_.EngineName()) + ": " + why +
                                                   ". The statement: \"" + sql_ + "\"");
}

// ---- Names -------------------------------------------------------------------

std::string SqlServerParser::Name() {
    if (!IsNameToken(Peek())) SyntaxError(Peek());
    return Next().value;
}

std::string SqlServerParser::TableName() {
    std::string name = Name();
    while (Peek().IsSymbol(".") && IsNameToken(Peek(1))) {
        Next();
        name = Name();
    }
    return name;
}

std::string SqlServerParser::QuotedTable(const std::string& name) { return dialect_.Quote(name); }

const std::optional<TableInfo>& SqlServerParser::Table(const std::string& name) {
    const std::string key = utf8::ToUpper(name);
    auto found = tables_.find(key);
    if (found == tables_.end()) found = tables_.emplace(key, dialect_.FindTable(name)).first;
    return found->second;
}

TableInfo SqlServerParser::RequireTable(const std::string& name) {
    const auto& table = Table(name);
    if (!table) Refuse("there is no table '" + name + "'");
    return *table;
}

const FieldInfo* SqlServerParser::FieldOf(const TableInfo& table, std::string_view name) {
    for (const FieldInfo& field : table.fields) {
        if (utf8::EqualsIgnoreCase(field.name, name)) return &field;
    }
    return nullptr;
}

// ---- Statements ----------------------------------------------------------------

std::string SqlServerParser::Statement() {
    const SqlToken& first = Peek();
    std::string text;
    if (jet_ &&
        !(first.Is("SELECT") || first.Is("INSERT") || first.Is("UPDATE") || first.Is("DELETE"))) {
        Refuse(
            "the design of an enterprise database is changed through SQL on its connection, not "
            "through its "
            "Database");
    }
    if (first.Is("SELECT")) {
        text = Select();
    } else if (first.Is("INSERT")) {
        text = Insert();
    } else if (first.Is("UPDATE")) {
        text = Update();
    } else if (first.Is("DELETE")) {
        text = Delete();
    } else if (first.Is("CREATE")) {
        text = Create();
    } else if (first.Is("ALTER")) {
        text = AlterTable();
    } else if (first.Is("DROP")) {
        text = Drop();
    } else if (first.kind == SqlTokenKind::End) {
        Refuse("the statement is empty");
    } else {
        SyntaxError(first);
    }
    ExpectStatementEnd();
    return text;
}

std::string SqlServerParser::ConditionOnly() {
    const std::string text = Expression().sql;
    ExpectStatementEnd();
    return text;
}

std::string SqlServerParser::OrderListOnly() {
    const std::string text = OrderList();
    ExpectStatementEnd();
    return text;
}

// ---- Queries -------------------------------------------------------------------

// The tables of the FROM clause of the query starting at `from`, read ahead
// so that the select list can tell what its columns hold. A clause it cannot
// follow leaves columns of unknown kind; the real reading comes after.
std::vector<SqlServerParser::ScopeTable> SqlServerParser::ScanFrom(std::size_t from) {
    std::vector<ScopeTable> scope;
    std::size_t i = from;
    int depth = 0;
    for (; i < tokens_.size(); ++i) {
        const SqlToken& t = tokens_[i];
        if (t.kind == SqlTokenKind::End) return scope;
        if (t.IsSymbol("(")) ++depth;
        if (t.IsSymbol(")") && --depth < 0) return scope;
        if (depth == 0 && (t.Is("UNION") || t.Is("ORDER"))) return scope;
        if (depth == 0 && t.Is("FROM")) break;
    }
    bool expectTable = true;
    for (++i; i < tokens_.size(); ++i) {
        const SqlToken& t = tokens_[i];
        if (t.kind == SqlTokenKind::End) break;
        if (t.IsSymbol("(")) {
            int inner = 0;
            for (; i < tokens_.size(); ++i) {
                if (tokens_[i].IsSymbol("(")) ++inner;
                if (tokens_[i].IsSymbol(")") && --inner == 0) break;
            }
            if (expectTable) {
                std::size_t a = i + 1;
                if (a < tokens_.size() && tokens_[a].Is("AS")) ++a;
                if (a < tokens_.size() && IsNameToken(tokens_[a]) &&
                    !EndsTableReference(tokens_[a])) {
                    scope.push_back({tokens_[a].value, std::nullopt});
                    i = a;
                }
                expectTable = false;
            }
            continue;
        }
        if (t.IsSymbol(")") || t.Is("WHERE") || t.Is("GROUP") || t.Is("ORDER") || t.Is("HAVING") ||
            t.Is("UNION") || t.IsSymbol(";")) {
            break;
        }
        if (t.IsSymbol(",") || t.Is("JOIN")) {
            expectTable = true;
            continue;
        }
        if (!expectTable || !IsNameToken(t)) continue;
        std::string table = t.value;
        while (i + 2 < tokens_.size() && tokens_[i + 1].IsSymbol(".") &&
               IsNameToken(tokens_[i + 2])) {
            i += 2;
            table = tokens_[i].value;
        }
        std::string alias = table;
        std::size_t a = i + 1;
        if (a < tokens_.size() && tokens_[a].Is("AS")) ++a;
        if (a < tokens_.size() && IsNameToken(tokens_[a]) && !EndsTableReference(tokens_[a])) {
            alias = tokens_[a].value;
            i = a;
        }
        scope.push_back({alias, Table(table)});
        if (alias != table) scope.push_back({table, Table(table)});
        expectTable = false;
    }
    return scope;
}

std::string SqlServerParser::Select() {
    std::string limit;
    std::string text = SelectCore(limit);
    while (Peek().Is("UNION")) {
        if (!limit.empty()) Refuse("TOP in a part of a UNION is not supported");
        scopes_.pop_back();
        Next();
        text += Accept("ALL") ? " UNION ALL " : " UNION ";
        text += SelectCore(limit);
        if (!limit.empty()) Refuse("TOP in a part of a UNION is not supported");
    }
    if (Accept("ORDER")) {
        Expect("BY");
        text += " ORDER BY " + OrderList();
    }
    scopes_.pop_back();
    return text + limit;
}

// One SELECT without UNION and ORDER BY; its tables stay in scope for the
// ORDER BY that may follow. `limit` receives the LIMIT clause of a TOP.
std::string SqlServerParser::SelectCore(std::string& limit) {
    Expect("SELECT");
    std::string text = "SELECT ";
    if (Accept("DISTINCT") || (jet_ && Accept("DISTINCTROW"))) {
        text += "DISTINCT ";
    } else {
        Accept("ALL");
    }
    if (Accept("TOP")) {
        const bool parenthesized = AcceptSymbol("(");
        if (Peek().kind != SqlTokenKind::Number) SyntaxError(Peek());
        limit = " LIMIT " + Next().text;
        if (parenthesized) ExpectSymbol(")");
        if (Peek().Is("PERCENT")) Refuse("TOP ... PERCENT is not supported");
        if (Peek().Is("WITH")) Refuse("TOP ... WITH TIES is not supported");
    }
    scopes_.push_back(ScanFrom(pos_));
    text += SelectList();
    if (Peek().Is("INTO")) Refuse("SELECT ... INTO is not supported");
    if (Accept("FROM")) text += " FROM " + FromClause();
    if (Accept("WHERE")) text += " WHERE " + Expression().sql;
    if (Accept("GROUP")) {
        Expect("BY");
        std::vector<SqlExpr> items{Expression()};
        while (AcceptSymbol(",")) items.push_back(Expression());
        text += " GROUP BY " + Joined(items);
    }
    if (Accept("HAVING")) text += " HAVING " + Expression().sql;
    return text;
}

std::string SqlServerParser::SelectList() {
    std::string text;
    do {
        if (!text.empty()) text += ", ";
        if (AcceptSymbol("*")) {
            text += "*";
            continue;
        }
        if (IsNameToken(Peek()) && Peek(1).IsSymbol(".") && Peek(2).IsSymbol("*")) {
            text += dialect_.Quote(Name()) + ".*";
            Next();
            Next();
            continue;
        }
        // "alias = expression", SQL Server's other way of naming a column.
        if (IsNameToken(Peek()) && Peek(1).IsSymbol("=")) {
            const std::string alias = Name();
            Next();
            text += Expression().sql + " AS " + dialect_.Quote(alias);
            continue;
        }
        text += Expression().sql;
        const bool as = Accept("AS");
        if (Peek().kind == SqlTokenKind::String) {
            text += " AS " + dialect_.Quote(Next().value);
        } else if (IsNameToken(Peek()) && !Peek().Is("FROM")) {
            text += " AS " + dialect_.Quote(Name());
        } else if (as) {
            SyntaxError(Peek());
        }
    } while (AcceptSymbol(","));
    return text;
}

std::string SqlServerParser::FromClause() {
    std::string text = TableReference();
    while (true) {
        if (AcceptSymbol(",")) {
            text += ", " + TableReference();
            continue;
        }
        std::string join;
        if (Accept("CROSS")) {
            Expect("JOIN");
            text += " CROSS JOIN " + TableReference();
            continue;
        }
        if (Accept("INNER")) {
            join = " INNER JOIN ";
        } else if (Accept("LEFT")) {
            Accept("OUTER");
            join = " LEFT OUTER JOIN ";
        } else if (Accept("RIGHT")) {
            Accept("OUTER");
            join = " RIGHT OUTER JOIN ";
        } else if (Peek().Is("FULL")) {
            Refuse("FULL OUTER JOIN is not supported");
        } else if (Peek().Is("JOIN")) {
            join = " INNER JOIN ";
        } else {
            return text;
        }
        Expect("JOIN");
        text += join + TableReference();
        Expect("ON");
        text += " ON " + Expression().sql;
    }
}

std::string SqlServerParser::TableReference() {
    std::string text;
    if (AcceptSymbol("(")) {
        if (Peek().Is("SELECT")) {
            text = "(" + Select() + ")";
            ExpectSymbol(")");
            Accept("AS");
            text += " AS " + dialect_.Quote(Name());
            return text;
        }
        text = "(" + FromClause() + ")";
        ExpectSymbol(")");
        return text;
    }
    const std::string table = TableName();
    text = QuotedTable(table);
    const bool as = Accept("AS");
    if (IsNameToken(Peek()) && !EndsTableReference(Peek())) {
        text += " AS " + dialect_.Quote(Name());
    } else if (as) {
        SyntaxError(Peek());
    }
    if (Peek().Is("WITH") && Peek(1).IsSymbol("(")) Refuse("table hints are not supported");
    return text;
}

std::string SqlServerParser::OrderList() {
    std::string text;
    do {
        if (!text.empty()) text += ", ";
        text += Expression().sql;
        if (Accept("DESC")) {
            text += " DESC";
        } else if (Accept("ASC")) {
            text += " ASC";
        }
    } while (AcceptSymbol(","));
    return text;
}

// ---- Expressions ---------------------------------------------------------------

SqlExpr SqlServerParser::Expression() { return OrExpression(); }

SqlExpr SqlServerParser::OrExpression() {
    SqlExpr left = AndExpression();
    while (Accept("OR")) left = {left.sql + " OR " + AndExpression().sql, SqlValueKind::Number};
    return left;
}

SqlExpr SqlServerParser::AndExpression() {
    SqlExpr left = NotExpression();
    while (Accept("AND")) left = {left.sql + " AND " + NotExpression().sql, SqlValueKind::Number};
    return left;
}

SqlExpr SqlServerParser::NotExpression() {
    if (Accept("NOT")) return {"NOT " + NotExpression().sql, SqlValueKind::Number};
    if (Accept("EXISTS")) {
        ExpectSymbol("(");
        const std::string query = Select();
        ExpectSymbol(")");
        return {"EXISTS (" + query + ")", SqlValueKind::Number};
    }
    return Predicate();
}

SqlExpr SqlServerParser::Predicate() {
    SqlExpr left = Additive();
    if (Accept("IS")) {
        const bool negated = Accept("NOT");
        Expect("NULL");
        return {left.sql + (negated ? " IS NOT NULL" : " IS NULL"), SqlValueKind::Number};
    }
    const bool negated =
        Peek().Is("NOT") && (Peek(1).Is("LIKE") || Peek(1).Is("IN") || Peek(1).Is("BETWEEN"));
    if (negated) Next();
    const std::string no = negated ? " NOT" : "";
    if (Accept("LIKE")) {
        const SqlExpr pattern = Additive();
        if (jet_) {
            const std::optional<std::string> like = dialect_.JetLike(left, pattern);
            if (!like) Refuse("a LIKE pattern of Jet must be a text literal here");
            return {negated ? "NOT (" + *like + ")" : *like, SqlValueKind::Number};
        }
        if (Peek().Is("ESCAPE")) Refuse("LIKE ... ESCAPE is not supported");
        if (pattern.literal && pattern.text.find('[') != std::string::npos) {
            Refuse("a LIKE pattern with [ ] is not supported");
        }
        return {left.sql + no + " LIKE " + dialect_.LikePattern(pattern), SqlValueKind::Number};
    }
    if (Accept("IN")) {
        ExpectSymbol("(");
        std::string list;
        if (Peek().Is("SELECT")) {
            list = Select();
        } else {
            std::vector<SqlExpr> items{Coerced(Expression(), left.kind)};
            while (AcceptSymbol(",")) items.push_back(Coerced(Expression(), left.kind));
            list = Joined(items);
        }
        ExpectSymbol(")");
        return {left.sql + no + " IN (" + list + ")", SqlValueKind::Number};
    }
    if (Accept("BETWEEN")) {
        const SqlExpr low = Coerced(Additive(), left.kind);
        Expect("AND");
        const SqlExpr high = Coerced(Additive(), left.kind);
        return {left.sql + no + " BETWEEN " + low.sql + " AND " + high.sql, SqlValueKind::Number};
    }
    if (negated) SyntaxError(Peek());
    for (const char* op : {"=", "<>", "!=", "<=", ">=", "<", ">"}) {
        if (AcceptSymbol(op)) {
            SqlExpr right = Additive();
            right = Coerced(right, left.kind);
            left = Coerced(left, right.kind);
            const std::string written = std::string(op) == "!=" ? "<>" : op;
            return {left.sql + " " + written + " " + right.sql, SqlValueKind::Number};
        }
    }
    return left;
}

SqlExpr SqlServerParser::Additive() {
    SqlExpr left = Multiplicative();
    while (Peek().IsSymbol("+") || Peek().IsSymbol("-") || (jet_ && Peek().IsSymbol("&"))) {
        const std::string op = Next().text;
        const SqlExpr right = Multiplicative();
        if (op == "&") {
            left = {dialect_.JetConcat({left.sql, right.sql}), SqlValueKind::Text};
        } else {
            left = Combine(left, op, right);
        }
    }
    return left;
}

SqlExpr SqlServerParser::Multiplicative() {
    SqlExpr left = Unary();
    while (true) {
        if (Peek().IsSymbol("*") || Peek().IsSymbol("/") || (!jet_ && Peek().IsSymbol("%"))) {
            const std::string op = Next().text;
            left = Combine(left, op, Unary());
        } else if (jet_ && Peek().IsSymbol("\\")) {
            Next();
            left = {dialect_.IntegerDivide(left.sql, Unary().sql), SqlValueKind::Number};
        } else if (jet_ && Peek().Is("MOD")) {
            Next();
            left = Combine(left, "%", Unary());
        } else {
            return left;
        }
    }
}

// "+" joins text when one side is text and the other is not a number or a
// date: SQL Server turns text into a number where a number stands beside it.
SqlExpr SqlServerParser::Combine(const SqlExpr& left, const std::string& op, const SqlExpr& right) {
    if (left.kind == SqlValueKind::Date || right.kind == SqlValueKind::Date) {
        Refuse("arithmetic on dates is not supported");
    }
    const auto textual = [](const SqlExpr& a, const SqlExpr& b) {
        return a.kind == SqlValueKind::Text && b.kind != SqlValueKind::Number;
    };
    if (op == "+" && (textual(left, right) || textual(right, left))) {
        return {dialect_.Concat({left.sql, right.sql}), SqlValueKind::Text};
    }
    return {left.sql + " " + op + " " + right.sql, SqlValueKind::Number};
}

SqlExpr SqlServerParser::Unary() {
    if (Peek().IsSymbol("-") || Peek().IsSymbol("+")) {
        const std::string sign = Next().text;
        SqlExpr operand = Unary();
        return {sign + operand.sql, SqlValueKind::Number, operand.literal};
    }
    return Power();
}

SqlExpr SqlServerParser::Power() {
    SqlExpr base = Primary();
    while (jet_ && AcceptSymbol("^"))
        base = {dialect_.Power(base.sql, Primary().sql), SqlValueKind::Number};
    return base;
}

// A text literal compared with or written to a date becomes a date value, as
// SQL Server converts it; the engines would compare text.
SqlExpr SqlServerParser::Coerced(const SqlExpr& value, SqlValueKind target) const {
    if (target != SqlValueKind::Date || !value.literal || value.kind != SqlValueKind::Text)
        return value;
    const std::optional<double> serial = ParseDate(value.text);
    if (!serial) return value;
    return {dialect_.DateLiteral(*serial), SqlValueKind::Date, true};
}

// A value as SQL Server stores it in `field`: a date text as a date, a
// fraction cut off a whole number; a text literal longer than the column
// is refused, as SQL Server refuses it (the engines would keep it or say it
// their way). Trailing blanks do not count, as on SQL Server.
SqlExpr SqlServerParser::Written(const SqlExpr& value, const FieldInfo& field,
                                 const std::string& table) const {
    SqlExpr written = Coerced(value, KindOfDaoType(field.type));
    if (jet_) return written;
    if (IsNamedParameter(written) && IsWholeNumberType(field.type))
        written.sql = dialect_.CutFraction(written);
    const bool sizedText = field.type == dao::dbText || field.type == dao::dbChar;
    if (sizedText && field.size > 0 && written.literal && written.kind == SqlValueKind::Text) {
        const std::string_view text = written.text;
        const std::size_t end = text.find_last_not_of(' ');
        const std::string_view kept = end == std::string_view::npos ? "" : text.substr(0, end + 1);
        if (utf8::Length(kept) > field.size) {
            Refuse("String or binary data would be truncated in table '" + table + "', column '" +
                   field.name + "'");
        }
    }
    return written;
}

SqlExpr SqlServerParser::Primary() {
    const SqlToken& token = Peek();
    if (token.IsSymbol("(")) return Parenthesized();
    switch (token.kind) {
        case SqlTokenKind::Number:
        case SqlTokenKind::String:
        case SqlTokenKind::Date:
            return Literal();
        case SqlTokenKind::Parameter:
            Next();
            return {token.value.empty() ? "?" : "@" + token.value, SqlValueKind::Unknown};
        case SqlTokenKind::QuotedName:
            return ColumnReference();
        case SqlTokenKind::Word:
            break;
        default:
            SyntaxError(token);
    }
    // N'text' is a text literal in the national character set.
    if (token.Is("N") && Peek(1).kind == SqlTokenKind::String && !Peek(1).spaceBefore) {
        Next();
        return Literal();
    }
    if (token.Is("NULL")) {
        Next();
        return {"NULL", SqlValueKind::Unknown, true};
    }
    // Jet's True is -1; the engines keep a boolean as 1, which is what it
    // is compared with.
    if (jet_ && (token.Is("TRUE") || token.Is("FALSE"))) {
        return {Next().Is("TRUE") ? "1" : "0", SqlValueKind::Number, true};
    }
    // LEFT and RIGHT also name functions.
    const bool function =
        Peek(1).IsSymbol("(") && (!token.IsKeyword() || token.Is("LEFT") || token.Is("RIGHT"));
    if (jet_) {
        if (function) return FunctionCall(utf8::ToUpper(Next().text));
        return ColumnReference();
    }
    if (token.Is("CASE")) return Case();
    if (token.Is("CONVERT") && Peek(1).IsSymbol("(")) return Convert();
    if (token.Is("CAST") && Peek(1).IsSymbol("(")) return Cast();
    if (function) return FunctionCall(utf8::ToUpper(Next().text));
    return ColumnReference();
}

SqlExpr SqlServerParser::Literal() {
    const SqlToken& token = Next();
    if (token.kind == SqlTokenKind::Number) return {token.text, SqlValueKind::Number, true};
    if (token.kind == SqlTokenKind::Date) {
        const std::optional<double> serial = ParseDate(token.value);
        if (!serial) Refuse("#" + token.value + "# is not a date");
        return {dialect_.DateLiteral(*serial), SqlValueKind::Date, true};
    }
    if (IsLoggedDateText(token.value)) {
        if (const std::optional<double> serial = ParseDate(token.value)) {
            return {dialect_.DateLiteral(*serial), SqlValueKind::Date, true};
        }
    }
    return {dialect_.StringLiteral(token.value), SqlValueKind::Text, true, token.value};
}

SqlExpr SqlServerParser::Parenthesized() {
    ExpectSymbol("(");
    if (Peek().Is("SELECT")) {
        const std::string query = Select();
        ExpectSymbol(")");
        return {"(" + query + ")", SqlValueKind::Unknown};
    }
    SqlExpr inner = Expression();
    ExpectSymbol(")");
    return {"(" + inner.sql + ")", inner.kind, inner.literal, inner.text};
}

SqlExpr SqlServerParser::ColumnReference() {
    std::vector<std::string> parts{Name()};
    while (Peek().IsSymbol(".") && IsNameToken(Peek(1))) {
        Next();
        parts.push_back(Name());
    }
    std::string text = dialect_.Quote(parts.back());
    if (parts.size() >= 2) text = dialect_.Quote(parts[parts.size() - 2]) + "." + text;
    return {text, KindOfColumn(parts)};
}

// What a column holds, from the tables of the innermost query that has it.
SqlValueKind SqlServerParser::KindOfColumn(const std::vector<std::string>& parts) const {
    const std::string& column = parts.back();
    for (auto scope = scopes_.rbegin(); scope != scopes_.rend(); ++scope) {
        for (const ScopeTable& table : *scope) {
            if (parts.size() >= 2 && !utf8::EqualsIgnoreCase(table.alias, parts[parts.size() - 2]))
                continue;
            if (!table.info) continue;
            if (const FieldInfo* field = FieldOf(*table.info, column))
                return KindOfDaoType(field->type);
        }
    }
    return SqlValueKind::Unknown;
}

std::vector<SqlExpr> SqlServerParser::Arguments() {
    std::vector<SqlExpr> args;
    ExpectSymbol("(");
    if (AcceptSymbol(")")) return args;
    do {
        args.push_back(Expression());
    } while (AcceptSymbol(","));
    ExpectSymbol(")");
    return args;
}

// Aggregates, with their own forms of argument.
SqlExpr SqlServerParser::Aggregate(const std::string& name) {
    ExpectSymbol("(");
    std::string text = name + "(";
    SqlValueKind kind = SqlValueKind::Number;
    if (name == "COUNT" && AcceptSymbol("*")) {
        text += "*";
    } else {
        if (Accept("DISTINCT")) {
            text += "DISTINCT ";
        } else {
            Accept("ALL");
        }
        const SqlExpr value = Expression();
        text += value.sql;
        if (name == "MAX" || name == "MIN") kind = value.kind;
    }
    ExpectSymbol(")");
    return {text + ")", kind};
}

SqlExpr SqlServerParser::FunctionCall(const std::string& name) {
    if (name == "COUNT" || name == "MAX" || name == "MIN" || name == "SUM" || name == "AVG")
        return Aggregate(name);
    const std::vector<SqlExpr> args = Arguments();
    if (jet_) {
        const std::optional<SqlExpr> call = dialect_.JetFunction(name, args);
        if (!call) Refuse("the function " + name + " of Jet is not known");
        return *call;
    }
    const auto arity = [&](std::size_t low, std::size_t high) {
        if (args.size() < low || args.size() > high) {
            Refuse("the function " + name + " takes " + std::to_string(low) +
                   (high > low ? " to " + std::to_string(high) : std::string()) + " arguments");
        }
    };
    if (name == "COALESCE" || name == "NULLIF") {
        arity(name == "NULLIF" ? 2 : 1, name == "NULLIF" ? 2 : 64);
        return {name + "(" + Joined(args) + ")", FirstKnown(args)};
    }
    if (name == "ABS" || name == "ROUND") {
        arity(1, name == "ROUND" ? 2 : 1);
        return {name + "(" + Joined(args) + ")", SqlValueKind::Number};
    }
    if (name == "UPPER" || name == "LOWER" || name == "LTRIM" || name == "RTRIM" ||
        name == "TRIM" || name == "REPLACE") {
        arity(name == "REPLACE" ? 3 : 1, name == "REPLACE" ? 3 : 1);
        return {name + "(" + Joined(args) + ")", SqlValueKind::Text};
    }
    struct Known {
        const char* name;
        std::size_t low;
        std::size_t high;
        SqlValueKind kind;
    };
    static const Known kKnown[] = {
        {"ISNUMERIC", 1, 1, SqlValueKind::Number},  {"ISDATE", 1, 1, SqlValueKind::Number},
        {"CHARINDEX", 2, 3, SqlValueKind::Number},  {"LEN", 1, 1, SqlValueKind::Number},
        {"DATALENGTH", 1, 1, SqlValueKind::Number}, {"SPACE", 1, 1, SqlValueKind::Text},
        {"LEFT", 2, 2, SqlValueKind::Text},         {"RIGHT", 2, 2, SqlValueKind::Text},
        {"SUBSTRING", 3, 3, SqlValueKind::Text},    {"GETDATE", 0, 0, SqlValueKind::Date},
        {"ISNULL", 2, 2, SqlValueKind::Unknown},
    };
    for (const Known& known : kKnown) {
        if (name != known.name) continue;
        arity(known.low, known.high);
        const std::optional<std::string> text = dialect_.Function(name, args);
        if (!text) Refuse("the function " + name + " has no counterpart");
        return {*text, known.kind == SqlValueKind::Unknown ? FirstKnown(args) : known.kind};
    }
    Refuse("the function " + name + " is not known");
}

SqlExpr SqlServerParser::Case() {
    Expect("CASE");
    std::string text = "CASE";
    if (!Peek().Is("WHEN")) text += " " + Expression().sql;
    SqlValueKind kind = SqlValueKind::Unknown;
    if (!Peek().Is("WHEN")) SyntaxError(Peek());
    while (Accept("WHEN")) {
        text += " WHEN " + Expression().sql;
        Expect("THEN");
        const SqlExpr value = Expression();
        if (kind == SqlValueKind::Unknown) kind = value.kind;
        text += " THEN " + value.sql;
    }
    if (Accept("ELSE")) {
        const SqlExpr value = Expression();
        if (kind == SqlValueKind::Unknown) kind = value.kind;
        text += " ELSE " + value.sql;
    }
    Expect("END");
    return {text + " END", kind};
}

SqlExpr SqlServerParser::Convert() {
    Expect("CONVERT");
    ExpectSymbol("(");
    const ServerType type = Type();
    ExpectSymbol(",");
    const SqlExpr value = Expression();
    int style = 0;
    if (AcceptSymbol(",")) {
        if (Peek().kind != SqlTokenKind::Number) SyntaxError(Peek());
        style = std::stoi(Next().text);
    }
    ExpectSymbol(")");
    return ConvertTo(type, value, style);
}

SqlExpr SqlServerParser::Cast() {
    Expect("CAST");
    ExpectSymbol("(");
    const SqlExpr value = Expression();
    Expect("AS");
    const ServerType type = Type();
    ExpectSymbol(")");
    return ConvertTo(type, value, 0);
}

SqlExpr SqlServerParser::ConvertTo(const ServerType& type, const SqlExpr& value, int style) {
    if (style != 0 && style != 112)
        Refuse("CONVERT style " + std::to_string(style) + " is not supported");
    if (type.IsText()) {
        // CONVERT without a length gives 30 characters.
        const std::int32_t length = type.length == 0 ? 30 : type.length;
        const bool fixed =
            type.kind == ServerType::Kind::Char || type.kind == ServerType::Kind::NChar;
        return {dialect_.ToText(value, length, fixed, style), SqlValueKind::Text};
    }
    if (type.IsBinary()) Refuse("CONVERT to a binary type is not supported");
    switch (type.kind) {
        case ServerType::Kind::DateTime:
        case ServerType::Kind::SmallDateTime:
        case ServerType::Kind::Date:
            return {dialect_.ToDate(Coerced(value, SqlValueKind::Date)), SqlValueKind::Date};
        default:
            return {dialect_.ToNumber(value, type), SqlValueKind::Number};
    }
}

// ---- Data changes ----------------------------------------------------------------

std::string SqlServerParser::Insert() {
    Expect("INSERT");
    Accept("INTO");
    const std::string table = TableName();
    const std::optional<TableInfo> info = Table(table);
    scopes_.push_back({{table, info}});
    std::vector<std::string> columns;
    if (Peek().IsSymbol("(") && !Peek(1).Is("SELECT")) {
        Next();
        do {
            columns.push_back(Name());
        } while (AcceptSymbol(","));
        ExpectSymbol(")");
    } else if (info) {
        // Without a list the values go to the columns other than the
        // identity, which the server numbers; the engines would count it.
        bool hasIdentity = false;
        for (const FieldInfo& field : info->fields) {
            if (field.attributes & dao::dbAutoIncrField) {
                hasIdentity = true;
            } else {
                columns.push_back(field.name);
            }
        }
        if (!hasIdentity) columns.clear();
    }
    std::string text = "INSERT INTO " + QuotedTable(table);
    if (!columns.empty()) {
        std::string list;
        for (const std::string& column : columns)
            list += (list.empty() ? "" : ", ") + dialect_.Quote(column);
        text += " (" + list + ")";
    }
    if (Accept("DEFAULT")) {
        Expect("VALUES");
        scopes_.pop_back();
        return dialect_.InsertDefaults(QuotedTable(table));
    }
    if (Accept("VALUES")) {
        text += " VALUES ";
        bool first = true;
        do {
            ExpectSymbol("(");
            std::vector<SqlExpr> values;
            do {
                SqlExpr value = Expression();
                if (info && values.size() < columns.size()) {
                    if (const FieldInfo* field = FieldOf(*info, columns[values.size()]))
                        value = Written(value, *field, info->name);
                }
                values.push_back(std::move(value));
            } while (AcceptSymbol(","));
            ExpectSymbol(")");
            text += (first ? "(" : ", (") + Joined(values) + ")";
            first = false;
        } while (AcceptSymbol(","));
    } else if (Peek().Is("SELECT") || (Peek().IsSymbol("(") && Peek(1).Is("SELECT"))) {
        const bool parenthesized = AcceptSymbol("(");
        text += " " + Select();
        if (parenthesized) ExpectSymbol(")");
    } else {
        SyntaxError(Peek());
    }
    scopes_.pop_back();
    return text;
}

std::string SqlServerParser::Update() {
    Expect("UPDATE");
    const std::string table = TableName();
    const std::optional<TableInfo> info = Table(table);
    scopes_.push_back({{table, info}});
    Expect("SET");
    std::string text = "UPDATE " + QuotedTable(table) + " SET ";
    bool first = true;
    do {
        std::string column = Name();
        while (AcceptSymbol(".")) column = Name();
        ExpectSymbol("=");
        SqlExpr value = Expression();
        if (info) {
            if (const FieldInfo* field = FieldOf(*info, column))
                value = Written(value, *field, info->name);
        }
        text += (first ? "" : ", ") + dialect_.Quote(column) + " = " + value.sql;
        first = false;
    } while (AcceptSymbol(","));
    if (Peek().Is("FROM")) Refuse("UPDATE ... FROM is not supported");
    if (Accept("WHERE")) text += " WHERE " + Expression().sql;
    scopes_.pop_back();
    return text;
}

std::string SqlServerParser::Delete() {
    Expect("DELETE");
    // Jet names what goes: DELETE * FROM t, DELETE t.* FROM t.
    if (jet_ && !Peek().Is("FROM")) {
        if (!AcceptSymbol("*")) {
            Name();
            ExpectSymbol(".");
            ExpectSymbol("*");
        }
        Expect("FROM");
    }
    Accept("FROM");
    const std::string table = TableName();
    scopes_.push_back({{table, Table(table)}});
    std::string text = "DELETE FROM " + QuotedTable(table);
    if (Peek().Is("FROM")) Refuse("DELETE ... FROM ... JOIN is not supported");
    if (Accept("WHERE")) text += " WHERE " + Expression().sql;
    scopes_.pop_back();
    return text;
}

}  // namespace vorn
