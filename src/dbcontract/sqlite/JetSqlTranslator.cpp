#include "dbcontract/sqlite/JetSqlTranslator.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <utility>

#include "dbcontract/DaoConstants.h"
#include "dbcontract/SqlTokenizer.h"
#include "dbcontract/sqlite/SqliteCollations.h"
#include "dbcontract/sqlite/SqliteDateText.h"
#include "dbcontract/sqlite/SqliteFunctions.h"
#include "dbcontract/sqlite/SqliteValueCodec.h"
#include "runtime/Conversions.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/Utf8.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

const char* const kSource = "JetSqlTranslator";

// Jet's own wording of each failure, before the detail.
std::string JetMessage(std::int32_t number) {
    switch (number) {
        case errnum::kJetSyntaxErrorInExpression:
            return "Syntax error in query expression";
        case errnum::kJetInvalidSqlStatement:
            return "Invalid SQL statement; expected 'DELETE', 'INSERT', 'PROCEDURE', 'SELECT', or "
                   "'UPDATE'";
        case errnum::kJetSyntaxErrorInFrom:
            return "Syntax error in FROM clause";
        case errnum::kJetSyntaxErrorInInsert:
            return "Syntax error in INSERT INTO statement";
        case errnum::kJetSyntaxErrorInUpdate:
            return "Syntax error in UPDATE statement";
        case errnum::kJetSyntaxErrorInCreateTable:
            return "Syntax error in CREATE TABLE statement";
        case errnum::kJetSyntaxErrorInCreateIndex:
            return "Syntax error in CREATE INDEX statement";
        case errnum::kJetSyntaxErrorInAlterTable:
            return "Syntax error in ALTER TABLE statement";
        case errnum::kJetSyntaxErrorInDrop:
            return "Syntax error in DROP TABLE or DROP INDEX";
        case errnum::kJetCharactersAfterEnd:
            return "Characters found after end of SQL statement";
        case errnum::kJetTableNotFound:
            return "Too few parameters. Expected 1";
        case errnum::kJetInputTableNotFound:
            return "The database engine cannot find the input table or query";
        case errnum::kJetAmbiguousField:
            return "The specified field could refer to more than one table listed in the FROM "
                   "clause";
        case errnum::kJetUndefinedFunction:
            return "Undefined function in expression";
        case errnum::kJetUnknownFieldInInsert:
            return "The INSERT INTO statement contains an unknown field name";
        case errnum::kJetTableExists:
            return "Table already exists";
        case errnum::kJetTableDoesNotExist:
            return "Table does not exist";
        case errnum::kJetFieldExists:
            return "Field already exists";
        case errnum::kJetFieldDefinedTwice:
            return "Cannot define field more than once";
        case errnum::kJetItemNotFound:
            return "Item not found in this collection";
        case errnum::kJetInvalidFieldType:
            return "Invalid field data type";
        case errnum::kJetOperationNotSupported:
            return "This Jet SQL is not supported";
        case errnum::kJetValueCountMismatch:
            return "Number of query values and destination fields are not the same";
        case errnum::kJetIndexExists:
            return "The table already has an index of that name";
        case errnum::kJetDeleteNeedsTable:
            return "Specify the table containing the records you want to delete";
        case errnum::kJetTypeMismatchInCriteria:
            return "Data type mismatch in criteria expression";
        default:
            return "Invalid SQL statement";
    }
}

bool EqualsNoCase(std::string_view a, std::string_view b) { return utf8::EqualsIgnoreCase(a, b); }

std::string Upper(std::string_view text) { return utf8::ToUpper(text); }

// The value of a token that is a plain whole number of at most 9 digits.
std::optional<std::int32_t> SmallWholeNumber(const SqlToken& token) {
    if (token.kind != SqlTokenKind::Number || token.text.size() > 9 ||
        token.text.find_first_not_of("0123456789") != std::string::npos) {
        return std::nullopt;
    }
    return std::stoi(token.text);
}

// ---- Syntax tree -------------------------------------------------------------

struct Select;
struct Expr;
using ExprPtr = std::unique_ptr<Expr>;

struct Expr {
    enum class Kind {
        Literal,
        Name,
        Parameter,
        Star,
        Unary,
        Binary,
        Call,
        InList,
        InQuery,
        Exists,
        Subquery,
        Between,
        IsNull
    };
    Kind kind = Kind::Literal;
    SqlToken token;  // the literal, parameter or function name; the operator
    std::string op;  // Unary and Binary: the operator, upper case ("+", "AND", "LIKE")
    std::vector<std::string> parts;  // Name: qualifier(s) and name; Star: its qualifier, if any
    std::vector<ExprPtr> args;
    std::unique_ptr<Select> query;
    bool negated = false;  // NOT IN, NOT BETWEEN, IS NOT NULL
    std::size_t position = 1;
};

struct TableRef {
    enum class Kind { Table, Query, Join };
    Kind kind = Kind::Table;
    std::string name;
    std::string file;  // IN '<file>'
    std::string alias;
    std::unique_ptr<Select> query;
    std::string join;  // INNER, LEFT, RIGHT
    std::unique_ptr<TableRef> left;
    std::unique_ptr<TableRef> right;
    ExprPtr on;
    std::size_t position = 1;
};
using TableRefPtr = std::unique_ptr<TableRef>;

struct SelectItem {
    ExprPtr expr;
    std::string alias;
};

struct OrderItem {
    ExprPtr expr;
    bool descending = false;
};

struct Select {
    bool distinct = false;
    std::optional<std::int64_t> top;
    std::vector<SelectItem> items;
    bool hasInto = false;
    std::string intoTable;
    std::string intoFile;
    std::vector<TableRefPtr> from;
    ExprPtr where;
    std::vector<ExprPtr> groupBy;
    ExprPtr having;
    std::vector<OrderItem> orderBy;
    std::unique_ptr<Select> unionNext;
    bool unionAll = false;
    // A recordset filter merged into WHERE may name the select's aliases.
    bool whereSeesAliases = false;
    // Add the row id of its one table as a last column.
    bool withRowKey = false;
    std::size_t position = 1;
};

struct Assignment {
    ExprPtr target;
    ExprPtr value;
};

struct InsertStatement {
    std::string table;
    std::string file;
    std::vector<std::string> columns;
    std::vector<ExprPtr> values;
    std::unique_ptr<Select> select;
    std::size_t position = 1;
};

struct UpdateStatement {
    TableRefPtr target;
    std::vector<Assignment> assignments;
    ExprPtr where;
};

struct DeleteStatement {
    std::string qualifier;  // DELETE t.* FROM ...
    TableRefPtr from;
    ExprPtr where;
};

// ---- Parser ------------------------------------------------------------------

// Recursive descent over the tokens of one statement. Every failure names
// Jet's number for the clause at hand.
class Parser {
  public:
    Parser(std::string_view sql, std::vector<SqlToken> tokens)
        : sql_(sql), tokens_(std::move(tokens)) {}

    const SqlToken& Peek(std::size_t ahead = 0) const {
        return tokens_[std::min(index_ + ahead, tokens_.size() - 1)];
    }
    const SqlToken& Take() {
        const SqlToken& token = tokens_[index_];
        if (index_ + 1 < tokens_.size()) ++index_;
        return token;
    }
    bool AtEnd() const { return Peek().kind == SqlTokenKind::End; }

    bool Accept(std::string_view word) {
        if (!Peek().Is(word)) return false;
        Take();
        return true;
    }
    bool AcceptSymbol(std::string_view symbol) {
        if (!Peek().IsSymbol(symbol)) return false;
        Take();
        return true;
    }
    void Expect(std::string_view word, std::int32_t number) {
        if (!Accept(word)) Fail(number, "expected " + std::string(word));
    }
    void ExpectSymbol(std::string_view symbol, std::int32_t number) {
        if (!AcceptSymbol(symbol)) Fail(number, "expected \"" + std::string(symbol) + "\"");
    }

    // The end of the statement: an optional ";" and nothing after it.
    void ExpectEnd() {
        AcceptSymbol(";");
        if (!AtEnd()) Fail(errnum::kJetCharactersAfterEnd, "\"" + Peek().text + "\"");
    }

    [[noreturn]] void Fail(std::int32_t number, const std::string& detail) const {
        FailAt(number, detail, Peek().position);
    }

    [[noreturn]] void FailAt(std::int32_t number, const std::string& detail,
                             std::size_t position) const {
        throw VornError(number, kSource,
                        JetMessage(number) + (detail.empty() ? "" : ": " + detail) +
                            " (at position " + std::to_string(position) + " of \"" +
                            std::string(sql_) + "\").");
    }

    // A name: a Word that is no reserved word, or a quoted name.
    bool AtName() const {
        const SqlToken& token = Peek();
        return token.kind == SqlTokenKind::QuotedName ||
               (token.kind == SqlTokenKind::Word && !token.IsKeyword());
    }
    std::string TakeName(std::int32_t number) {
        if (!AtName()) Fail(number, "expected a name");
        return Take().value;
    }

    // name, t.name or t!name.
    std::vector<std::string> QualifiedName(std::int32_t number) {
        std::vector<std::string> parts{TakeName(number)};
        while (AcceptSymbol(".") || AcceptSymbol("!")) parts.push_back(TakeName(number));
        return parts;
    }

    // A file name after IN: 'file' or "file".
    std::string FileName(std::int32_t number) {
        if (Peek().kind != SqlTokenKind::String) Fail(number, "IN needs a file name in quotes");
        return Take().value;
    }

    // ---- Expressions ----

    ExprPtr Expression() { return Imp(); }

    std::unique_ptr<Select> SelectStatement();
    TableRefPtr FromItem();
    std::vector<OrderItem> OrderList();

  private:
    ExprPtr MakeBinary(std::string op, ExprPtr left, ExprPtr right, std::size_t position) {
        auto expr = std::make_unique<Expr>();
        expr->kind = Expr::Kind::Binary;
        expr->op = std::move(op);
        expr->position = position;
        expr->args.push_back(std::move(left));
        expr->args.push_back(std::move(right));
        return expr;
    }

    // One level of left-associative binary operators named by words.
    ExprPtr WordLevel(ExprPtr (Parser::*next)(), std::initializer_list<std::string_view> words) {
        ExprPtr left = (this->*next)();
        while (true) {
            const auto found = std::find_if(words.begin(), words.end(),
                                            [this](std::string_view w) { return Peek().Is(w); });
            if (found == words.end()) return left;
            const std::size_t position = Take().position;
            left = MakeBinary(Upper(*found), std::move(left), (this->*next)(), position);
        }
    }

    // One level of left-associative binary operators named by symbols.
    ExprPtr SymbolLevel(ExprPtr (Parser::*next)(),
                        std::initializer_list<std::string_view> symbols) {
        ExprPtr left = (this->*next)();
        while (true) {
            const auto found =
                std::find_if(symbols.begin(), symbols.end(),
                             [this](std::string_view s) { return Peek().IsSymbol(s); });
            if (found == symbols.end()) return left;
            const std::size_t position = Take().position;
            left = MakeBinary(std::string(*found), std::move(left), (this->*next)(), position);
        }
    }

    ExprPtr Imp() { return WordLevel(&Parser::Eqv, {"IMP"}); }
    ExprPtr Eqv() { return WordLevel(&Parser::Xor, {"EQV"}); }
    ExprPtr Xor() { return WordLevel(&Parser::Or, {"XOR"}); }
    ExprPtr Or() { return WordLevel(&Parser::And, {"OR"}); }
    ExprPtr And() { return WordLevel(&Parser::Not, {"AND"}); }

    ExprPtr Not();

    ExprPtr Comparison();
    ExprPtr ComparisonTail(ExprPtr left);
    ExprPtr Predicate(ExprPtr left, bool negated, std::size_t position);
    ExprPtr Concat() { return SymbolLevel(&Parser::Additive, {"&"}); }
    ExprPtr Additive() { return SymbolLevel(&Parser::Modulo, {"+", "-"}); }
    ExprPtr Modulo() { return WordLevel(&Parser::IntDivide, {"MOD"}); }
    ExprPtr IntDivide() { return SymbolLevel(&Parser::Multiply, {"\\"}); }
    ExprPtr Multiply() { return SymbolLevel(&Parser::Unary, {"*", "/"}); }
    ExprPtr Unary();
    ExprPtr Power();
    ExprPtr Primary();
    ExprPtr NameOrCall();
    ExprPtr Call(SqlToken name);
    ExprPtr SubqueryAfterParen(std::size_t position);

    // ---- Selects ----
    void SelectHead(Select& select);
    void SelectItems(Select& select);
    void SelectInto(Select& select);
    void SelectTail(Select& select);
    TableRefPtr FromPrimary();
    std::string OptionalAlias(std::int32_t number);

    std::string_view sql_;
    std::vector<SqlToken> tokens_;
    std::size_t index_ = 0;
};

ExprPtr Negated(ExprPtr operand, std::size_t position);

ExprPtr Parser::Not() {
    if (!Peek().Is("NOT")) return Comparison();
    const std::size_t position = Take().position;
    return Negated(Not(), position);
}

ExprPtr Parser::Comparison() { return ComparisonTail(Concat()); }

ExprPtr Negated(ExprPtr operand, std::size_t position) {
    auto expr = std::make_unique<Expr>();
    expr->kind = Expr::Kind::Unary;
    expr->op = "NOT";
    expr->position = position;
    expr->args.push_back(std::move(operand));
    return expr;
}

// Comparisons, [NOT] LIKE, IS [NOT] NULL, [NOT] IN, [NOT] BETWEEN after an
// operand, as many as follow.
ExprPtr Parser::ComparisonTail(ExprPtr left) {
    static constexpr std::string_view kComparisons[] = {"=", "<>", "<", ">", "<=", ">=", "!="};
    while (true) {
        const SqlToken& token = Peek();
        const std::size_t position = token.position;
        const auto found =
            std::find_if(std::begin(kComparisons), std::end(kComparisons),
                         [&token](std::string_view op) { return token.IsSymbol(op); });
        if (found != std::end(kComparisons)) {
            Take();
            left = MakeBinary(*found == "!=" ? "<>" : std::string(*found), std::move(left),
                              Concat(), position);
            continue;
        }
        const bool negated =
            token.Is("NOT") && (Peek(1).Is("LIKE") || Peek(1).Is("IN") || Peek(1).Is("BETWEEN"));
        if (negated) Take();
        if (Accept("LIKE")) {
            left = MakeBinary("LIKE", std::move(left), Concat(), position);
            if (negated) left = Negated(std::move(left), position);
        } else if (Peek().Is("IS") || Peek().Is("IN") || Peek().Is("BETWEEN")) {
            left = Predicate(std::move(left), negated, position);
        } else {
            return left;
        }
    }
}

// IS [NOT] NULL, IN (...), BETWEEN a AND b; the operand is args[0].
ExprPtr Parser::Predicate(ExprPtr left, bool negated, std::size_t position) {
    auto expr = std::make_unique<Expr>();
    expr->position = position;
    expr->negated = negated;
    expr->args.push_back(std::move(left));
    if (Accept("IS")) {
        expr->kind = Expr::Kind::IsNull;
        expr->negated = Accept("NOT");
        Expect("NULL", errnum::kJetSyntaxErrorInExpression);
    } else if (Accept("IN")) {
        ExpectSymbol("(", errnum::kJetSyntaxErrorInExpression);
        if (Peek().Is("SELECT")) {
            expr->kind = Expr::Kind::InQuery;
            expr->query = SelectStatement();
        } else {
            expr->kind = Expr::Kind::InList;
            do {
                expr->args.push_back(Expression());
            } while (AcceptSymbol(","));
        }
        ExpectSymbol(")", errnum::kJetSyntaxErrorInExpression);
    } else {
        Expect("BETWEEN", errnum::kJetSyntaxErrorInExpression);
        expr->kind = Expr::Kind::Between;
        expr->args.push_back(Concat());
        Expect("AND", errnum::kJetSyntaxErrorInExpression);
        expr->args.push_back(Concat());
    }
    return expr;
}

ExprPtr Parser::Unary() {
    if (Peek().IsSymbol("-") || Peek().IsSymbol("+")) {
        auto expr = std::make_unique<Expr>();
        expr->kind = Expr::Kind::Unary;
        expr->op = Peek().text;
        expr->position = Take().position;
        expr->args.push_back(Unary());
        return expr;
    }
    return Power();
}

// "^" binds tighter than a sign before it (-2^2 is -4) but takes a signed
// exponent (2^-1).
ExprPtr Parser::Power() {
    ExprPtr left = Primary();
    while (Peek().IsSymbol("^")) {
        const std::size_t position = Take().position;
        ExprPtr right;
        if (Peek().IsSymbol("-") || Peek().IsSymbol("+")) {
            right = Unary();
        } else {
            right = Primary();
        }
        left = MakeBinary("^", std::move(left), std::move(right), position);
    }
    return left;
}

ExprPtr Parser::Primary() {
    const SqlToken& token = Peek();
    auto expr = std::make_unique<Expr>();
    expr->position = token.position;
    switch (token.kind) {
        case SqlTokenKind::Number:
        case SqlTokenKind::String:
        case SqlTokenKind::Date:
            expr->kind = Expr::Kind::Literal;
            expr->token = Take();
            return expr;
        case SqlTokenKind::Parameter:
            expr->kind = Expr::Kind::Parameter;
            expr->token = Take();
            return expr;
        default:
            break;
    }
    // Yes and No are Jet's other names of True and False (saved queries write
    // "=No"); a field of that name is named in brackets.
    if (token.Is("TRUE") || token.Is("FALSE") || token.Is("YES") || token.Is("NO") ||
        token.Is("NULL")) {
        expr->kind = Expr::Kind::Literal;
        expr->token = Take();
        return expr;
    }
    if (token.Is("EXISTS")) {
        Take();
        ExpectSymbol("(", errnum::kJetSyntaxErrorInExpression);
        expr->kind = Expr::Kind::Exists;
        expr->query = SelectStatement();
        ExpectSymbol(")", errnum::kJetSyntaxErrorInExpression);
        return expr;
    }
    if (token.IsSymbol("(")) {
        Take();
        if (Peek().Is("SELECT")) return SubqueryAfterParen(expr->position);
        ExprPtr inner = Expression();
        ExpectSymbol(")", errnum::kJetSyntaxErrorInExpression);
        return inner;
    }
    if (token.IsSymbol("*")) {
        expr->kind = Expr::Kind::Star;
        Take();
        return expr;
    }
    // Left and Right are functions as well as kinds of join.
    const bool joinWordCall = (token.Is("LEFT") || token.Is("RIGHT")) && Peek(1).IsSymbol("(");
    if (AtName() || joinWordCall) return NameOrCall();
    Fail(errnum::kJetSyntaxErrorInExpression,
         token.kind == SqlTokenKind::End ? "missing operand" : "unexpected \"" + token.text + "\"");
}

ExprPtr Parser::SubqueryAfterParen(std::size_t position) {
    auto expr = std::make_unique<Expr>();
    expr->kind = Expr::Kind::Subquery;
    expr->position = position;
    expr->query = SelectStatement();
    ExpectSymbol(")", errnum::kJetSyntaxErrorInExpression);
    return expr;
}

// A name, a qualified name (t.f, t!f, t.*), or a function call f(...).
ExprPtr Parser::NameOrCall() {
    const SqlToken first = Take();
    if (first.kind == SqlTokenKind::Word && Peek().IsSymbol("(")) return Call(first);
    auto expr = std::make_unique<Expr>();
    expr->kind = Expr::Kind::Name;
    expr->token = first;
    expr->position = first.position;
    expr->parts.push_back(first.value);
    while (Peek().IsSymbol(".") || Peek().IsSymbol("!")) {
        Take();
        if (AcceptSymbol("*")) {
            expr->kind = Expr::Kind::Star;
            return expr;
        }
        expr->parts.push_back(TakeName(errnum::kJetSyntaxErrorInExpression));
    }
    return expr;
}

ExprPtr Parser::Call(SqlToken name) {
    auto expr = std::make_unique<Expr>();
    expr->kind = Expr::Kind::Call;
    expr->position = name.position;
    expr->token = std::move(name);
    Take();  // "("
    if (!AcceptSymbol(")")) {
        do {
            expr->args.push_back(Expression());
        } while (AcceptSymbol(","));
        ExpectSymbol(")", errnum::kJetSyntaxErrorInExpression);
    }
    return expr;
}

// ---- Select statements ----

std::unique_ptr<Select> Parser::SelectStatement() {
    auto select = std::make_unique<Select>();
    select->position = Peek().position;
    Expect("SELECT", errnum::kJetInvalidSqlStatement);
    SelectHead(*select);
    SelectItems(*select);
    SelectInto(*select);
    if (Accept("FROM")) {
        do {
            select->from.push_back(FromItem());
        } while (AcceptSymbol(","));
    }
    SelectTail(*select);
    return select;
}

void Parser::SelectHead(Select& select) {
    if (Accept("DISTINCT")) {
        select.distinct = true;
    } else if (!Accept("DISTINCTROW")) {
        Accept("ALL");
    }
    if (Accept("TOP")) {
        const std::optional<std::int32_t> count = SmallWholeNumber(Peek());
        if (!count) Fail(errnum::kJetSyntaxErrorInExpression, "TOP needs a whole number");
        Take();
        select.top = *count;
        if (Peek().Is("PERCENT")) Fail(errnum::kJetOperationNotSupported, "TOP ... PERCENT");
    }
}

void Parser::SelectItems(Select& select) {
    do {
        SelectItem item;
        item.expr = Expression();
        if (Accept("AS")) {
            item.alias = Peek().kind == SqlTokenKind::String
                             ? Take().value
                             : TakeName(errnum::kJetSyntaxErrorInExpression);
        } else if (AtName() && !Peek().Is("INTO")) {
            item.alias = Take().value;
        }
        select.items.push_back(std::move(item));
    } while (AcceptSymbol(","));
}

void Parser::SelectInto(Select& select) {
    if (!Accept("INTO")) return;
    select.hasInto = true;
    select.intoTable = TakeName(errnum::kJetSyntaxErrorInExpression);
    if (Accept("IN")) select.intoFile = FileName(errnum::kJetSyntaxErrorInFrom);
}

void Parser::SelectTail(Select& select) {
    if (Accept("WHERE")) select.where = Expression();
    if (Accept("GROUP")) {
        Expect("BY", errnum::kJetSyntaxErrorInExpression);
        do {
            select.groupBy.push_back(Expression());
        } while (AcceptSymbol(","));
    }
    if (Accept("HAVING")) select.having = Expression();
    if (Accept("UNION")) {
        select.unionAll = Accept("ALL");
        select.unionNext = SelectStatement();
        return;  // a closing ORDER BY belongs to the last select of the union
    }
    if (Accept("ORDER")) {
        Expect("BY", errnum::kJetSyntaxErrorInExpression);
        select.orderBy = OrderList();
    }
}

std::vector<OrderItem> Parser::OrderList() {
    std::vector<OrderItem> items;
    do {
        OrderItem item;
        item.expr = Expression();
        if (Accept("DESC")) {
            item.descending = true;
        } else {
            Accept("ASC");
        }
        items.push_back(std::move(item));
    } while (AcceptSymbol(","));
    return items;
}

std::string Parser::OptionalAlias(std::int32_t number) {
    if (Accept("AS")) return TakeName(number);
    static constexpr std::string_view kNotAliases[] = {"INNER", "LEFT",  "RIGHT", "JOIN",
                                                       "ON",    "WHERE", "IN"};
    const bool reserved = std::any_of(std::begin(kNotAliases), std::end(kNotAliases),
                                      [this](std::string_view word) { return Peek().Is(word); });
    if (AtName() && !reserved) return Take().value;
    return {};
}

// A table, "(SELECT ...) AS alias" or a join in parentheses.
TableRefPtr Parser::FromPrimary() {
    auto ref = std::make_unique<TableRef>();
    ref->position = Peek().position;
    if (AcceptSymbol("(")) {
        if (Peek().Is("SELECT")) {
            ref->kind = TableRef::Kind::Query;
            ref->query = SelectStatement();
            ExpectSymbol(")", errnum::kJetSyntaxErrorInFrom);
            ref->alias = OptionalAlias(errnum::kJetSyntaxErrorInFrom);
            return ref;
        }
        TableRefPtr inner = FromItem();
        ExpectSymbol(")", errnum::kJetSyntaxErrorInFrom);
        return inner;
    }
    ref->name = TakeName(errnum::kJetSyntaxErrorInFrom);
    if (Peek().IsSymbol(".")) Fail(errnum::kJetSyntaxErrorInFrom, "a table name with a qualifier");
    if (Accept("IN")) ref->file = FileName(errnum::kJetSyntaxErrorInFrom);
    ref->alias = OptionalAlias(errnum::kJetSyntaxErrorInFrom);
    return ref;
}

// A table with the joins that follow it.
TableRefPtr Parser::FromItem() {
    TableRefPtr left = FromPrimary();
    while (true) {
        std::string join;
        if (Accept("INNER")) {
            join = "INNER";
        } else if (Accept("LEFT")) {
            join = "LEFT";
        } else if (Accept("RIGHT")) {
            join = "RIGHT";
        } else {
            return left;
        }
        if (join != "INNER") Accept("OUTER");
        Expect("JOIN", errnum::kJetSyntaxErrorInFrom);
        auto ref = std::make_unique<TableRef>();
        ref->kind = TableRef::Kind::Join;
        ref->position = left->position;
        ref->join = join;
        ref->left = std::move(left);
        ref->right = FromPrimary();
        Expect("ON", errnum::kJetSyntaxErrorInFrom);
        ref->on = Expression();
        left = std::move(ref);
    }
}

// In Jet "text" is a string, but the row copy reads a source with the
// quoting of its destination, where "name" is a name. A double-quoted token
// where only a table can stand (never valid Jet) shows which is meant, and
// then every double-quoted token of the statement is a name.
void PromoteDoubleQuotedNames(std::vector<SqlToken>& tokens) {
    static constexpr std::string_view kTableWords[] = {"FROM", "JOIN", "INTO", "UPDATE", "TABLE"};
    bool names = false;
    for (std::size_t i = 1; i < tokens.size() && !names; ++i) {
        const SqlToken& token = tokens[i];
        if (token.kind != SqlTokenKind::String || token.quote != '"') continue;
        const SqlToken& before = tokens[i - 1];
        names = std::any_of(std::begin(kTableWords), std::end(kTableWords),
                            [&before](std::string_view w) { return before.Is(w); }) ||
                before.IsSymbol(".") || tokens[i + 1].IsSymbol(".");
    }
    if (!names) return;
    for (SqlToken& token : tokens) {
        if (token.kind == SqlTokenKind::String && token.quote == '"')
            token.kind = SqlTokenKind::QuotedName;
    }
}

Parser MakeParser(std::string_view sql) {
    std::vector<SqlToken> tokens = SqlTokenizer(SqlTokenizerOptions::Jet()).Tokenize(sql);
    PromoteDoubleQuotedNames(tokens);
    return Parser(sql, std::move(tokens));
}

// ---- Types -------------------------------------------------------------------

// What the translator knows of a value's kind, which decides how Jet's
// operators are written: stored dates are text, currency ten-thousandths,
// decimals text digits, booleans 1 or 0.
enum class VType {
    Unknown,
    Null,
    Boolean,
    Integer,
    Double,
    Currency,
    Decimal,
    Date,
    Text,
    Binary,
    Guid
};

VType VTypeOfDao(std::int16_t type) {
    switch (type) {
        case dao::dbBoolean:
            return VType::Boolean;
        case dao::dbByte:
        case dao::dbInteger:
        case dao::dbLong:
        case dao::dbBigInt:
            return VType::Integer;
        case dao::dbCurrency:
            return VType::Currency;
        case dao::dbSingle:
        case dao::dbDouble:
        case dao::dbFloat:
            return VType::Double;
        case dao::dbDecimal:
        case dao::dbNumeric:
            return VType::Decimal;
        case dao::dbDate:
        case dao::dbTime:
        case dao::dbTimeStamp:
            return VType::Date;
        case dao::dbText:
        case dao::dbMemo:
        case dao::dbChar:
            return VType::Text;
        case dao::dbBinary:
        case dao::dbLongBinary:
        case dao::dbVarBinary:
            return VType::Binary;
        case dao::dbGUID:
            return VType::Guid;
        default:
            return VType::Unknown;
    }
}

std::int16_t DaoOfVType(VType type) {
    switch (type) {
        case VType::Boolean:
            return dao::dbBoolean;
        case VType::Integer:
            return dao::dbLong;
        case VType::Double:
            return dao::dbDouble;
        case VType::Currency:
            return dao::dbCurrency;
        case VType::Decimal:
            return dao::dbDecimal;
        case VType::Date:
            return dao::dbDate;
        case VType::Text:
            return dao::dbText;
        case VType::Binary:
            return dao::dbLongBinary;
        case VType::Guid:
            return dao::dbGUID;
        default:
            return 0;
    }
}

bool IsNumber(VType type) {
    return type == VType::Integer || type == VType::Double || type == VType::Currency ||
           type == VType::Decimal || type == VType::Boolean;
}

// A translated expression.
struct Typed {
    std::string sql;
    VType type = VType::Unknown;
    // The column it reads, for an expression that is just a column.
    std::optional<FieldInfo> column;
    // A date already marked as one (the result of a date function).
    bool markedDate = false;
    // The literal it is, for literals folded at translation.
    std::optional<SqlToken> literal;
};

std::string Collated(const std::string& sql) {
    return sql + " COLLATE " + JetSqlTranslator::QuoteName(SqliteCollations::kNoCase);
}

// The value in its natural units for arithmetic: currency as a number of
// units, decimals as REAL, True as -1 as Jet counts it.
std::string Natural(const Typed& value) {
    switch (value.type) {
        case VType::Currency:
            return "(" + value.sql + " / 10000.0)";
        case VType::Decimal:
            return "CAST(" + value.sql + " AS REAL)";
        case VType::Boolean:
            return "(- " + value.sql + ")";
        default:
            return value.sql;
    }
}

// The value as a function of SqliteFunctions takes it: dates marked as
// dates, numbers in natural units.
std::string Argument(const Typed& value) {
    if (value.type == VType::Date && !value.markedDate) return "vorn_asdate(" + value.sql + ")";
    return Natural(value);
}

// ---- Scopes ------------------------------------------------------------------

// A table of a FROM clause as expressions see it.
struct ScopeTable {
    std::string jetName;    // what the statement calls it: its alias or its name
    std::string reference;  // how the output qualifies its columns
    std::string tableName;  // the catalog's name; empty for a subquery
    std::string place;      // the table's name in the output, with its schema
    bool attached = false;
    std::vector<FieldInfo> fields;
};

struct Scope {
    const Scope* outer = nullptr;
    std::vector<ScopeTable> tables;
    // Names of select items that ORDER BY (and a recordset filter) may use.
    const std::vector<std::pair<std::string, Typed>>* aliases = nullptr;
};

const FieldInfo* FindField(const std::vector<FieldInfo>& fields, std::string_view name) {
    const auto found = std::find_if(fields.begin(), fields.end(), [name](const FieldInfo& field) {
        return EqualsNoCase(field.name, name);
    });
    return found == fields.end() ? nullptr : &*found;
}

// What one statement collects while it is written.
struct Context {
    const JetCatalogView& catalog;
    const JetTranslateOptions& options;
    // The statement as messages quote it.
    std::string display;
    std::vector<std::string> parameters;
    std::vector<JetAttachment> attachments;
    int subqueryAliases = 0;

    [[noreturn]] void Fail(std::int32_t number, const std::string& detail,
                           std::size_t position) const {
        throw VornError(number, kSource,
                        JetMessage(number) + (detail.empty() ? "" : ": " + detail) +
                            " (at position " + std::to_string(position) + " of \"" + display +
                            "\").");
    }

    // The schema name of an attached file, made on first use.
    std::string SchemaFor(const std::string& file) {
        for (const JetAttachment& attachment : attachments) {
            if (attachment.file == file) return attachment.schema;
        }
        std::string schema = options.schemaOf ? options.schemaOf(file)
                                              : "vorn_in" + std::to_string(attachments.size() + 1);
        attachments.push_back({file, std::move(schema)});
        return attachments.back().schema;
    }

    // The table `name` of this file or of `file`; 3078 when there is none.
    TableInfo Table(const std::string& name, const std::string& file, std::size_t position) const {
        std::optional<TableInfo> table =
            file.empty() ? catalog.FindTable(name) : catalog.FindTableIn(file, name);
        if (!table) Fail(errnum::kJetInputTableNotFound, "'" + name + "'", position);
        return std::move(*table);
    }

    // "?N" for a parameter; one name is one number.
    std::string Parameter(const SqlToken& token) {
        if (!token.value.empty()) {
            for (std::size_t i = 0; i < parameters.size(); ++i) {
                if (EqualsNoCase(parameters[i], token.value)) return "?" + std::to_string(i + 1);
            }
        }
        parameters.push_back(token.value);
        return "?" + std::to_string(parameters.size());
    }
};

// The file of a table linked to another project file, from its connect
// string ";DATABASE=<file>;"; empty for a table of this file.
std::string LinkedFile(const TableInfo& table) {
    // Upper case keeps byte offsets: both cases of a letter take as many bytes.
    const std::size_t at = Upper(table.connect).find("DATABASE=");
    if (at == std::string::npos) return {};
    const std::size_t start = at + 9;
    const std::size_t end = table.connect.find(';', start);
    return table.connect.substr(start, end == std::string::npos ? std::string::npos : end - start);
}

// Where a table's rows are: its quoted name, in the schema of the file that
// holds them for a table of another file (IN '<file>') or a link to one.
struct TablePlace {
    std::string sql;
    bool attached = false;
};

TablePlace Place(Context& context, const TableInfo& table, const std::string& inFile) {
    const std::string linked = inFile.empty() ? LinkedFile(table) : std::string();
    const std::string& file = inFile.empty() ? linked : inFile;
    if (file.empty()) return {JetSqlTranslator::QuoteName(table.name), false};
    const std::string& stored =
        !linked.empty() && !table.sourceTableName.empty() ? table.sourceTableName : table.name;
    return {JetSqlTranslator::QuoteName(context.SchemaFor(file)) + "." +
                JetSqlTranslator::QuoteName(stored),
            true};
}

// ---- Functions ---------------------------------------------------------------

// How a Jet function is written and what it gives.
struct FunctionInfo {
    std::string_view jetName;
    std::string_view sqlName;
    int minArgs;
    int maxArgs;
    VType result;  // Unknown: like the first argument
};

constexpr FunctionInfo kFunctions[] = {
    {"VAL", "vorn_val", 1, 1, VType::Double},
    {"FORMAT", "vorn_format", 1, 2, VType::Text},
    {"ISNUMERIC", "vorn_isnumeric", 1, 1, VType::Boolean},
    {"ISDATE", "vorn_isdate", 1, 1, VType::Boolean},
    {"INSTR", "vorn_instr", 2, 4, VType::Integer},
    {"LEN", "vorn_len", 1, 1, VType::Integer},
    {"TRIM", "vorn_trim", 1, 1, VType::Text},
    {"LTRIM", "vorn_ltrim", 1, 1, VType::Text},
    {"RTRIM", "vorn_rtrim", 1, 1, VType::Text},
    {"LEFT", "vorn_left", 2, 2, VType::Text},
    {"RIGHT", "vorn_right", 2, 2, VType::Text},
    {"MID", "vorn_mid", 2, 3, VType::Text},
    {"UCASE", "vorn_ucase", 1, 1, VType::Text},
    {"LCASE", "vorn_lcase", 1, 1, VType::Text},
    {"CSTR", "vorn_cstr", 1, 1, VType::Text},
    {"STR", "vorn_str", 1, 1, VType::Text},
    {"CHR", "vorn_chr", 1, 1, VType::Text},
    {"SPACE", "vorn_space", 1, 1, VType::Text},
    {"HEX", "vorn_hex", 1, 1, VType::Text},
    {"ASC", "vorn_asc", 1, 1, VType::Integer},
    {"CLNG", "vorn_clng", 1, 1, VType::Integer},
    {"CINT", "vorn_cint", 1, 1, VType::Integer},
    {"CDBL", "vorn_cdbl", 1, 1, VType::Double},
    {"CSNG", "vorn_csng", 1, 1, VType::Double},
    {"CCUR", "vorn_ccur", 1, 1, VType::Double},
    {"CBOOL", "vorn_cbool", 1, 1, VType::Boolean},
    {"CDATE", "vorn_cdate", 1, 1, VType::Date},
    {"CVDATE", "vorn_cdate", 1, 1, VType::Date},
    {"DATEVALUE", "vorn_cdate", 1, 1, VType::Date},
    {"DATESERIAL", "vorn_dateserial", 3, 3, VType::Date},
    {"NOW", "vorn_now", 0, 0, VType::Date},
    {"DATE", "vorn_date", 0, 0, VType::Date},
    {"YEAR", "vorn_year", 1, 1, VType::Integer},
    {"MONTH", "vorn_month", 1, 1, VType::Integer},
    {"DAY", "vorn_day", 1, 1, VType::Integer},
    {"HOUR", "vorn_hour", 1, 1, VType::Integer},
    {"MINUTE", "vorn_minute", 1, 1, VType::Integer},
    {"SECOND", "vorn_second", 1, 1, VType::Integer},
    {"WEEKDAY", "vorn_weekday", 1, 1, VType::Integer},
    {"ABS", "vorn_abs", 1, 1, VType::Unknown},
    {"INT", "vorn_int", 1, 1, VType::Unknown},
    {"FIX", "vorn_fix", 1, 1, VType::Unknown},
    {"SGN", "vorn_sgn", 1, 1, VType::Integer},
    {"ROUND", "vorn_round", 1, 2, VType::Unknown},
    {"NZ", "vorn_nz", 1, 2, VType::Unknown},
};

const FunctionInfo* FindFunction(std::string_view name) {
    const auto found =
        std::find_if(std::begin(kFunctions), std::end(kFunctions),
                     [name](const FunctionInfo& f) { return EqualsNoCase(f.jetName, name); });
    return found == std::end(kFunctions) ? nullptr : &*found;
}

bool IsAggregateName(std::string_view name) {
    static constexpr std::string_view kAggregates[] = {"COUNT", "SUM",   "AVG", "MIN",
                                                       "MAX",   "FIRST", "LAST"};
    return std::any_of(std::begin(kAggregates), std::end(kAggregates),
                       [name](std::string_view a) { return EqualsNoCase(a, name); });
}

struct SelectOutput;
// Rewrites the value of select item (index, value, name) where it goes into a
// table (INSERT INTO ... SELECT).
using ItemWriter = std::function<std::string(std::size_t, const Typed&, const std::string&)>;
SelectOutput EmitSelect(Context& context, const Select& select, const Scope* outer,
                        const ItemWriter& itemWriter = {});

// ---- Expressions -------------------------------------------------------------

class ExprWriter {
  public:
    ExprWriter(Context& context, const Scope& scope) : context_(context), scope_(scope) {}

    Typed Write(const Expr& expr);

    // A comparison of two translated operands, as Jet compares them.
    Typed Compare(const std::string& op, Typed left, Typed right, std::size_t position);

  private:
    Typed Literal(const Expr& expr) const;
    Typed Column(const Expr& expr) const;
    std::optional<Typed> ResolveUnqualified(const std::string& name, std::size_t position) const;
    Typed Unary(const Expr& expr);
    Typed Binary(const Expr& expr);
    Typed Arithmetic(const std::string& op, const Typed& left, const Typed& right);
    Typed Plus(const Typed& left, const Typed& right);
    Typed Minus(const Typed& left, const Typed& right);
    Typed Logical(const std::string& op, const Typed& left, const Typed& right) const;
    Typed Like(const Expr& expr);
    Typed Call(const Expr& expr);
    Typed Aggregate(const Expr& expr);
    Typed IIf(const Expr& expr);
    Typed InList(const Expr& expr);
    Typed InQuery(const Expr& expr);
    Typed Between(const Expr& expr);
    Typed Subquery(const Expr& expr);
    Typed DateOperand(const Typed& other, std::size_t position) const;

    Context& context_;
    const Scope& scope_;
};

Typed Fixed(std::string sql, VType type) {
    Typed typed;
    typed.sql = std::move(sql);
    typed.type = type;
    return typed;
}

Typed ExprWriter::Write(const Expr& expr) {
    switch (expr.kind) {
        case Expr::Kind::Literal:
            return Literal(expr);
        case Expr::Kind::Name:
            return Column(expr);
        case Expr::Kind::Parameter:
            return Fixed(context_.Parameter(expr.token), VType::Unknown);
        case Expr::Kind::Star:
            context_.Fail(errnum::kJetSyntaxErrorInExpression, "\"*\" stands alone", expr.position);
        case Expr::Kind::Unary:
            return Unary(expr);
        case Expr::Kind::Binary:
            return Binary(expr);
        case Expr::Kind::Call:
            return Call(expr);
        case Expr::Kind::InList:
            return InList(expr);
        case Expr::Kind::InQuery:
            return InQuery(expr);
        case Expr::Kind::Exists: {
            const std::string sql = "(" + std::string(expr.negated ? "NOT " : "") + "EXISTS " +
                                    Subquery(expr).sql + ")";
            return Fixed(sql, VType::Boolean);
        }
        case Expr::Kind::Subquery:
            return Subquery(expr);
        case Expr::Kind::Between:
            return Between(expr);
        case Expr::Kind::IsNull: {
            const Typed operand = Write(*expr.args[0]);
            return Fixed("(" + operand.sql + (expr.negated ? " IS NOT NULL)" : " IS NULL)"),
                         VType::Boolean);
        }
    }
    return {};
}

std::string QuoteText(std::string_view text) {
    std::string out = "'";
    for (const char c : text) {
        out += c;
        if (c == '\'') out += '\'';
    }
    return out + "'";
}

// Whether a number as written reads as a finite number of at most 32 bits
// for "&H" and "&O" forms, as the runtime reads it.
bool NumberFits(const std::string& text) {
    if (text[0] == '&' && text.size() > 10) return false;
    try {
        return std::isfinite(Val(text));
    } catch (const VornError&) {
        return false;
    }
}

// A number as written in Jet, as an SQLite literal; "&H" and "&O" numbers
// read as the runtime reads them (at most 32 bits).
std::string NumberLiteral(const std::string& text) {
    if (!text.empty() && text[0] == '&')
        return std::to_string(static_cast<std::int64_t>(Val(text)));
    return text[0] == '.' ? "0" + text : text;
}

Typed ExprWriter::Literal(const Expr& expr) const {
    const SqlToken& token = expr.token;
    Typed typed;
    typed.literal = token;
    switch (token.kind) {
        case SqlTokenKind::Number:
            if (!NumberFits(token.text)) {
                context_.Fail(errnum::kJetSyntaxErrorInExpression,
                              "the number " + token.text + " is too large", expr.position);
            }
            typed.sql = NumberLiteral(token.text);
            typed.type =
                token.text.find_first_of(".eE") == std::string::npos || token.text[0] == '&'
                    ? VType::Integer
                    : VType::Double;
            return typed;
        case SqlTokenKind::String:
            typed.sql = QuoteText(token.value);
            typed.type = VType::Text;
            return typed;
        case SqlTokenKind::Date: {
            const std::optional<double> serial = ParseDate(token.value);
            const std::optional<std::string> text =
                serial ? SqliteDateText::FromSerial(*serial) : std::nullopt;
            if (!text)
                context_.Fail(errnum::kJetSyntaxErrorInExpression,
                              "a date that is no date: " + token.text, expr.position);
            typed.sql = QuoteText(*text);
            typed.type = VType::Date;
            return typed;
        }
        default:
            break;
    }
    // True and False are stored as 1 and 0; Natural gives Jet's -1 where a
    // number is wanted.
    if (token.Is("TRUE") || token.Is("YES")) return Fixed("1", VType::Boolean);
    if (token.Is("FALSE") || token.Is("NO")) return Fixed("0", VType::Boolean);
    return Fixed("NULL", VType::Null);
}

// A field of a table of the scope, as an expression.
Typed ColumnOf(const ScopeTable& table, const FieldInfo& field) {
    Typed typed;
    typed.sql = table.reference + "." + JetSqlTranslator::QuoteName(field.name);
    typed.type = VTypeOfDao(field.type);
    typed.column = field;
    if (typed.column->sourceTable.empty() && !table.tableName.empty()) {
        typed.column->sourceTable = table.tableName;
        typed.column->sourceField = field.name;
    }
    return typed;
}

// A name without a qualifier: a field of exactly one table of the nearest
// scope that has it, or a select item's alias where those may be named.
std::optional<Typed> ExprWriter::ResolveUnqualified(const std::string& name,
                                                    std::size_t position) const {
    for (const Scope* scope = &scope_; scope != nullptr; scope = scope->outer) {
        const ScopeTable* owner = nullptr;
        const FieldInfo* found = nullptr;
        for (const ScopeTable& table : scope->tables) {
            const FieldInfo* field = FindField(table.fields, name);
            if (field == nullptr) continue;
            if (owner != nullptr) context_.Fail(errnum::kJetAmbiguousField, "'" + name + "'", position);
            owner = &table;
            found = field;
        }
        if (owner != nullptr) return ColumnOf(*owner, *found);
        if (scope->aliases != nullptr) {
            for (const auto& [alias, value] : *scope->aliases) {
                if (EqualsNoCase(alias, name)) return value;
            }
        }
    }
    return std::nullopt;
}

Typed ExprWriter::Column(const Expr& expr) const {
    const std::vector<std::string>& parts = expr.parts;
    if (parts.size() > 2)
        context_.Fail(errnum::kJetTableNotFound, "'" + parts.front() + "." + parts[1] + "'",
                      expr.position);
    if (parts.size() == 1) {
        if (std::optional<Typed> typed = ResolveUnqualified(parts[0], expr.position))
            return std::move(*typed);
        // Now and Date may stand without parentheses where no field has the name.
        if (EqualsNoCase(parts[0], "Now") || EqualsNoCase(parts[0], "Date")) {
            Typed typed =
                Fixed(EqualsNoCase(parts[0], "Now") ? "vorn_now()" : "vorn_date()", VType::Date);
            typed.markedDate = true;
            return typed;
        }
        context_.Fail(errnum::kJetTableNotFound, "unknown name '" + parts[0] + "'", expr.position);
    }
    for (const Scope* scope = &scope_; scope != nullptr; scope = scope->outer) {
        for (const ScopeTable& table : scope->tables) {
            if (!EqualsNoCase(table.jetName, parts[0])) continue;
            const FieldInfo* field = FindField(table.fields, parts[1]);
            if (field == nullptr) {
                context_.Fail(errnum::kJetTableNotFound,
                              "unknown name '" + parts[0] + "." + parts[1] + "'", expr.position);
            }
            return ColumnOf(table, *field);
        }
    }
    context_.Fail(errnum::kJetTableNotFound, "unknown name '" + parts[0] + "." + parts[1] + "'",
                  expr.position);
}

Typed ExprWriter::Unary(const Expr& expr) {
    const Typed operand = Write(*expr.args[0]);
    if (expr.op == "NOT") return Fixed("(NOT " + operand.sql + ")", VType::Boolean);
    if (expr.op == "+") return operand;
    const VType type = operand.type == VType::Boolean ? VType::Integer
                       : IsNumber(operand.type)
                           ? (operand.type == VType::Integer ? VType::Integer : VType::Double)
                           : VType::Unknown;
    return Fixed("(- " + Natural(operand) + ")", type);
}

Typed ExprWriter::Binary(const Expr& expr) {
    if (expr.op == "LIKE") return Like(expr);
    Typed left = Write(*expr.args[0]);
    Typed right = Write(*expr.args[1]);
    static constexpr std::string_view kComparisons[] = {"=", "<>", "<", ">", "<=", ">="};
    if (std::find(std::begin(kComparisons), std::end(kComparisons), expr.op) !=
        std::end(kComparisons)) {
        return Compare(expr.op, std::move(left), std::move(right), expr.position);
    }
    if (expr.op == "AND" || expr.op == "OR" || expr.op == "XOR" || expr.op == "EQV" ||
        expr.op == "IMP") {
        return Logical(expr.op, left, right);
    }
    if (expr.op == "&")
        return Fixed("vorn_concat(" + Argument(left) + ", " + Argument(right) + ")", VType::Text);
    if (expr.op == "+") return Plus(left, right);
    if (expr.op == "-") return Minus(left, right);
    return Arithmetic(expr.op, left, right);
}

Typed ExprWriter::Logical(const std::string& op, const Typed& left, const Typed& right) const {
    if (op == "AND" || op == "OR")
        return Fixed("(" + left.sql + " " + op + " " + right.sql + ")", VType::Boolean);
    const std::string a = "(" + left.sql + " <> 0)";
    const std::string b = "(" + right.sql + " <> 0)";
    if (op == "XOR") return Fixed("(" + a + " <> " + b + ")", VType::Boolean);
    if (op == "EQV") return Fixed("(" + a + " = " + b + ")", VType::Boolean);
    return Fixed("(NOT " + a + " OR " + b + ")", VType::Boolean);
}

VType NumericResult(VType a, VType b) {
    if ((a == VType::Integer || a == VType::Boolean) &&
        (b == VType::Integer || b == VType::Boolean)) {
        return VType::Integer;
    }
    return IsNumber(a) && IsNumber(b) ? VType::Double : VType::Unknown;
}

Typed ExprWriter::Arithmetic(const std::string& op, const Typed& left, const Typed& right) {
    if (op == "*")
        return Fixed("(" + Natural(left) + " * " + Natural(right) + ")",
                     NumericResult(left.type, right.type));
    // Jet divides as floating point also between whole numbers.
    if (op == "/")
        return Fixed("(CAST(" + Natural(left) + " AS REAL) / " + Natural(right) + ")",
                     VType::Double);
    const std::string args = "(" + Argument(left) + ", " + Argument(right) + ")";
    if (op == "\\") return Fixed("vorn_intdiv" + args, VType::Integer);
    if (op == "MOD") return Fixed("vorn_mod" + args, VType::Integer);
    return Fixed("vorn_pow" + args, VType::Double);
}

// "+" adds numbers, joins text (Null making the result Null), and moves a
// date by days.
Typed ExprWriter::Plus(const Typed& left, const Typed& right) {
    if (left.type == VType::Date || right.type == VType::Date) {
        const Typed& date = left.type == VType::Date ? left : right;
        const Typed& days = left.type == VType::Date ? right : left;
        Typed typed =
            Fixed("vorn_cdate(vorn_serial(" + date.sql + ") + " + Natural(days) + ")", VType::Date);
        typed.markedDate = true;
        return typed;
    }
    const bool leftText = left.type == VType::Text || left.type == VType::Null;
    const bool rightText = right.type == VType::Text || right.type == VType::Null;
    if (leftText && rightText) return Fixed("(" + left.sql + " || " + right.sql + ")", VType::Text);
    if (IsNumber(left.type) && IsNumber(right.type)) {
        return Fixed("(" + Natural(left) + " + " + Natural(right) + ")",
                     NumericResult(left.type, right.type));
    }
    return Fixed("vorn_add(" + Argument(left) + ", " + Argument(right) + ")", VType::Unknown);
}

Typed ExprWriter::Minus(const Typed& left, const Typed& right) {
    if (left.type == VType::Date && right.type == VType::Date) {
        return Fixed("(vorn_serial(" + left.sql + ") - vorn_serial(" + right.sql + "))",
                     VType::Double);
    }
    if (left.type == VType::Date) {
        Typed typed = Fixed("vorn_cdate(vorn_serial(" + left.sql + ") - " + Natural(right) + ")",
                            VType::Date);
        typed.markedDate = true;
        return typed;
    }
    return Fixed("(" + Natural(left) + " - " + Natural(right) + ")",
                 NumericResult(left.type, right.type));
}

// The operand that meets a date in a comparison, as stored date text: a
// text literal is read as a date now, anything else when the row is read.
Typed ExprWriter::DateOperand(const Typed& other, std::size_t position) const {
    if (other.type == VType::Date || other.type == VType::Null) return other;
    if (other.literal && other.literal->kind == SqlTokenKind::String) {
        std::optional<double> serial = SqliteDateText::ToSerial(other.literal->value);
        if (!serial) serial = ParseDate(other.literal->value);
        const std::optional<std::string> text =
            serial ? SqliteDateText::FromSerial(*serial) : std::nullopt;
        if (!text)
            context_.Fail(errnum::kJetTypeMismatchInCriteria, "'" + other.literal->value + "' is no date",
                          position);
        return Fixed(QuoteText(*text), VType::Date);
    }
    Typed typed = Fixed("vorn_todate(" + Argument(other) + ")", VType::Date);
    typed.markedDate = true;
    return typed;
}

Typed ExprWriter::Compare(const std::string& op, Typed left, Typed right, std::size_t position) {
    const auto write = [&op](const std::string& a, const std::string& b) {
        return Fixed("(" + a + " " + op + " " + b + ")", VType::Boolean);
    };
    if (left.type == VType::Date && IsNumber(right.type))
        return write("vorn_serial(" + left.sql + ")", Natural(right));
    if (right.type == VType::Date && IsNumber(left.type))
        return write(Natural(left), "vorn_serial(" + right.sql + ")");
    if (left.type == VType::Date) return write(left.sql, DateOperand(right, position).sql);
    if (right.type == VType::Date) return write(DateOperand(left, position).sql, right.sql);
    const bool sameExact =
        left.type == right.type && (left.type == VType::Currency || left.type == VType::Boolean);
    if (!sameExact && (IsNumber(left.type) || IsNumber(right.type))) {
        const bool textAgainstNumber = left.type == VType::Text || right.type == VType::Text;
        if (!textAgainstNumber) return write(Natural(left), Natural(right));
    }
    if (sameExact || IsNumber(left.type) || IsNumber(right.type)) return write(left.sql, right.sql);
    // Text compares ignoring case, as Jet compares it.
    return write(Collated(left.sql), right.sql);
}

Typed ExprWriter::Like(const Expr& expr) {
    const Typed value = Write(*expr.args[0]);
    const Typed pattern = Write(*expr.args[1]);
    if (pattern.literal && pattern.literal->kind == SqlTokenKind::String &&
        !SqliteFunctions::IsValidLikePattern(pattern.literal->value)) {
        context_.Fail(errnum::kJetSyntaxErrorInExpression,
                      "invalid pattern string '" + pattern.literal->value + "'", expr.position);
    }
    return Fixed("vorn_like(" + Argument(value) + ", " + Argument(pattern) + ")", VType::Boolean);
}

Typed ExprWriter::InList(const Expr& expr) {
    const Typed left = Write(*expr.args[0]);
    const bool natural =
        left.type == VType::Currency || left.type == VType::Decimal || left.type == VType::Boolean;
    std::string items;
    for (std::size_t i = 1; i < expr.args.size(); ++i) {
        Typed item = Write(*expr.args[i]);
        if (left.type == VType::Date) item = DateOperand(item, expr.args[i]->position);
        items += (i > 1 ? ", " : "") + (natural ? Natural(item) : item.sql);
    }
    std::string subject = natural ? Natural(left) : left.sql;
    if (left.type == VType::Text || left.type == VType::Unknown) subject = Collated(subject);
    return Fixed("(" + subject + (expr.negated ? " NOT IN (" : " IN (") + items + "))",
                 VType::Boolean);
}

Typed ExprWriter::Between(const Expr& expr) {
    const Typed low = Compare(">=", Write(*expr.args[0]), Write(*expr.args[1]), expr.position);
    const Typed high = Compare("<=", Write(*expr.args[0]), Write(*expr.args[2]), expr.position);
    const std::string both = "(" + low.sql + " AND " + high.sql + ")";
    return Fixed(expr.negated ? "(NOT " + both + ")" : both, VType::Boolean);
}

// ---- Selects -----------------------------------------------------------------

struct SelectOutput {
    std::string sql;
    std::vector<FieldInfo> columns;
    std::vector<Typed> items;
    std::string updatableTable;
    std::string rowKey;  // the row id of that table, as the select names it
};

Typed ExprWriter::Subquery(const Expr& expr) {
    const SelectOutput inner = EmitSelect(context_, *expr.query, &scope_);
    Typed typed = Fixed("(" + inner.sql + ")",
                        inner.items.empty() ? VType::Unknown : inner.items.front().type);
    if (!inner.items.empty()) typed.markedDate = inner.items.front().markedDate;
    return typed;
}

Typed ExprWriter::InQuery(const Expr& expr) {
    const Typed left = Write(*expr.args[0]);
    const SelectOutput inner = EmitSelect(context_, *expr.query, &scope_);
    if (inner.items.size() != 1) {
        context_.Fail(errnum::kJetSyntaxErrorInExpression,
                      "a subquery after IN must return one field", expr.position);
    }
    const std::string subject = left.type == VType::Text ? Collated(left.sql) : left.sql;
    return Fixed("(" + subject + (expr.negated ? " NOT IN (" : " IN (") + inner.sql + "))",
                 VType::Boolean);
}

Typed ExprWriter::Call(const Expr& expr) {
    std::string name = expr.token.value;
    // Left$, Trim$ and the like give text where their plain forms give a
    // variant; in a query both give the same.
    if (name.size() > 1 && name.back() == '$') name.pop_back();
    if (IsAggregateName(name)) return Aggregate(expr);
    if (EqualsNoCase(name, "IIf")) return IIf(expr);
    if (EqualsNoCase(name, "IsNull") && expr.args.size() == 1) {
        return Fixed("(" + Write(*expr.args[0]).sql + " IS NULL)", VType::Boolean);
    }
    const FunctionInfo* function = FindFunction(name);
    if (function == nullptr) context_.Fail(errnum::kJetUndefinedFunction, "'" + name + "'", expr.position);
    const int count = static_cast<int>(expr.args.size());
    if (count < function->minArgs || count > function->maxArgs) {
        context_.Fail(errnum::kJetSyntaxErrorInExpression,
                      "wrong number of arguments used with function '" + name + "'", expr.position);
    }
    std::string sql = std::string(function->sqlName) + "(";
    VType first = VType::Unknown;
    for (int i = 0; i < count; ++i) {
        const Typed arg = Write(*expr.args[static_cast<std::size_t>(i)]);
        if (i == 0) first = arg.type;
        sql += (i > 0 ? ", " : "") + Argument(arg);
    }
    VType result = function->result;
    if (result == VType::Unknown) {
        result = first == VType::Integer || first == VType::Boolean ? VType::Integer
                 : IsNumber(first)                                  ? VType::Double
                 : EqualsNoCase(name, "Nz")                         ? first
                                                                    : VType::Unknown;
    }
    Typed typed = Fixed(sql + ")", result);
    typed.markedDate = result == VType::Date && !EqualsNoCase(name, "Nz");
    return typed;
}

Typed ExprWriter::Aggregate(const Expr& expr) {
    const std::string name = Upper(expr.token.value);
    if (expr.args.size() != 1) {
        context_.Fail(errnum::kJetSyntaxErrorInExpression,
                      "wrong number of arguments used with function '" + name + "'", expr.position);
    }
    Typed result;
    if (name == "COUNT" && expr.args[0]->kind == Expr::Kind::Star && expr.args[0]->parts.empty()) {
        result = Fixed("count(*)", VType::Integer);
    } else {
        const Typed arg = Write(*expr.args[0]);
        if (name == "COUNT") {
            result = Fixed("count(" + arg.sql + ")", VType::Integer);
        } else if (name == "SUM") {
            result = arg.type == VType::Currency
                         ? Fixed("sum(" + arg.sql + ")", VType::Currency)
                         : Fixed("sum(" + Natural(arg) + ")", VType::Double);
        } else if (name == "AVG") {
            result = Fixed("avg(" + Natural(arg) + ")", VType::Double);
        } else if (name == "MIN" || name == "MAX") {
            const bool text = arg.type == VType::Text || arg.type == VType::Unknown;
            const bool natural = arg.type == VType::Decimal || arg.type == VType::Boolean;
            result =
                Fixed(Upper(name) == "MIN" ? "min(" : "max(", natural ? VType::Double : arg.type);
            result.sql += (text ? Collated(arg.sql) : natural ? Natural(arg) : arg.sql) + ")";
            if (!natural) result.column = arg.column;
        } else {
            result =
                Fixed((name == "FIRST" ? "vorn_first(" : "vorn_last(") + arg.sql + ")", arg.type);
            result.column = arg.column;
        }
    }
    return result;
}

// IIf(condition, then, else) as CASE, which evaluates only the branch taken.
Typed ExprWriter::IIf(const Expr& expr) {
    if (expr.args.size() != 3) {
        context_.Fail(errnum::kJetSyntaxErrorInExpression,
                      "wrong number of arguments used with function 'IIf'", expr.position);
    }
    const Typed condition = Write(*expr.args[0]);
    const Typed yes = Write(*expr.args[1]);
    const Typed no = Write(*expr.args[2]);
    const auto make = [&condition](const std::string& a, const std::string& b, VType type) {
        return Fixed("CASE WHEN " + condition.sql + " THEN " + a + " ELSE " + b + " END", type);
    };
    if (yes.type == no.type || no.type == VType::Null || yes.type == VType::Null) {
        const VType type = yes.type == VType::Null ? no.type : yes.type;
        return make(yes.sql, no.sql, type);
    }
    if (IsNumber(yes.type) && IsNumber(no.type)) {
        return make(Natural(yes), Natural(no), NumericResult(yes.type, no.type));
    }
    return make(Argument(yes), Argument(no), VType::Unknown);
}

// ---- FROM ----

std::string EmitTableRef(Context& context, const TableRef& ref, Scope& scope);

std::string EmitTable(Context& context, const TableRef& ref, Scope& scope) {
    const TableInfo info = context.Table(ref.name, ref.file, ref.position);
    const TablePlace place = Place(context, info, ref.file);
    ScopeTable table;
    table.jetName = ref.alias.empty() ? ref.name : ref.alias;
    table.tableName = info.name;
    table.fields = info.fields;
    table.place = place.sql;
    table.attached = place.attached;
    std::string sql = place.sql;
    if (!ref.alias.empty() || table.attached) {
        table.reference = JetSqlTranslator::QuoteName(table.jetName);
        sql += " AS " + table.reference;
    } else {
        table.reference = JetSqlTranslator::QuoteName(info.name);
    }
    scope.tables.push_back(std::move(table));
    return sql;
}

std::string EmitDerivedTable(Context& context, const TableRef& ref, Scope& scope) {
    const SelectOutput inner = EmitSelect(context, *ref.query, scope.outer);
    ScopeTable table;
    table.jetName =
        ref.alias.empty() ? "vorn_q" + std::to_string(++context.subqueryAliases) : ref.alias;
    table.reference = JetSqlTranslator::QuoteName(table.jetName);
    table.fields = inner.columns;
    for (FieldInfo& field : table.fields) field.sourceTable.clear();
    scope.tables.push_back(std::move(table));
    return "(" + inner.sql + ") AS " + scope.tables.back().reference;
}

// A join. SQLite before 3.39 has no RIGHT JOIN, so "a RIGHT JOIN b" is
// written "b LEFT JOIN a"; the scope keeps Jet's order for "*".
std::string EmitJoin(Context& context, const TableRef& ref, Scope& scope) {
    const auto side = [&](const TableRef& part) {
        const std::string sql = EmitTableRef(context, part, scope);
        return part.kind == TableRef::Kind::Join ? "(" + sql + ")" : sql;
    };
    const std::string left = side(*ref.left);
    const std::string right = side(*ref.right);
    const Typed on = ExprWriter(context, scope).Write(*ref.on);
    if (ref.join == "RIGHT") return right + " LEFT JOIN " + left + " ON " + on.sql;
    return left + (ref.join == "LEFT" ? " LEFT JOIN " : " INNER JOIN ") + right + " ON " + on.sql;
}

std::string EmitTableRef(Context& context, const TableRef& ref, Scope& scope) {
    switch (ref.kind) {
        case TableRef::Kind::Table:
            return EmitTable(context, ref, scope);
        case TableRef::Kind::Query:
            return EmitDerivedTable(context, ref, scope);
        case TableRef::Kind::Join:
            break;
    }
    return EmitJoin(context, ref, scope);
}

// ---- The select list ----

struct NamedItem {
    Typed value;
    std::string name;
    bool named = false;     // given by AS
    std::string tableName;  // the table of a plain column, to tell equal names apart
};

void AddStar(const Scope& scope, const Expr& star, std::vector<NamedItem>& out, Context& context) {
    bool any = false;
    for (const ScopeTable& table : scope.tables) {
        if (!star.parts.empty() && !EqualsNoCase(table.jetName, star.parts[0])) continue;
        any = true;
        for (const FieldInfo& field : table.fields) {
            NamedItem item;
            item.value = ColumnOf(table, field);
            item.name = field.name;
            item.tableName = table.jetName;
            out.push_back(std::move(item));
        }
    }
    if (!any) {
        context.Fail(star.parts.empty() ? errnum::kJetSyntaxErrorInFrom : errnum::kJetTableNotFound,
                     star.parts.empty() ? "SELECT * needs a FROM clause"
                                        : "unknown name '" + star.parts[0] + ".*'",
                     star.position);
    }
}

// Jet names a column by its alias, its field, or "Expr1000", "Expr1001"...;
// two fields of one name from two tables become "Table.Field".
std::vector<NamedItem> NameItems(Context& context, const Select& select, const Scope& scope) {
    std::vector<NamedItem> items;
    int expressions = 0;
    for (const SelectItem& item : select.items) {
        if (item.expr->kind == Expr::Kind::Star) {
            AddStar(scope, *item.expr, items, context);
            continue;
        }
        NamedItem named;
        named.value = ExprWriter(context, scope).Write(*item.expr);
        named.named = !item.alias.empty();
        if (named.named) {
            named.name = item.alias;
        } else if (item.expr->kind == Expr::Kind::Name && named.value.column) {
            named.name = named.value.column->name;
            named.tableName =
                item.expr->parts.size() > 1 ? item.expr->parts[0] : named.value.column->sourceTable;
        } else {
            named.name = "Expr" + std::to_string(1000 + expressions++);
        }
        items.push_back(std::move(named));
    }
    std::vector<bool> repeated(items.size(), false);
    for (std::size_t i = 0; i < items.size(); ++i) {
        const auto same = std::count_if(items.begin(), items.end(), [&](const NamedItem& other) {
            return EqualsNoCase(other.name, items[i].name);
        });
        repeated[i] = same > 1 && !items[i].named && !items[i].tableName.empty();
    }
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (repeated[i]) items[i].name = items[i].tableName + "." + items[i].name;
    }
    return items;
}

FieldInfo ColumnInfo(const NamedItem& item, std::size_t position) {
    FieldInfo field;
    if (item.value.column) {
        field = *item.value.column;
    } else {
        field.type = DaoOfVType(item.value.type);
        field.size = field.type == dao::dbText ? 255 : 0;
    }
    field.name = item.name;
    field.ordinalPosition = static_cast<std::int16_t>(position);
    return field;
}

// The sort key of an ORDER BY or GROUP BY term: text ignoring case, True
// (-1) before False, decimals by value.
std::string SortKey(const Typed& value) {
    if (value.type == VType::Text || value.type == VType::Unknown) return Collated(value.sql);
    if (value.type == VType::Boolean || value.type == VType::Decimal) return Natural(value);
    return value.sql;
}

// The position K of an ORDER BY term that is a whole number: Jet sorts by
// the K-th column of the result.
std::optional<std::size_t> OrdinalOf(const Expr& expr, std::size_t columns) {
    const std::optional<std::int32_t> position =
        expr.kind == Expr::Kind::Literal ? SmallWholeNumber(expr.token) : std::nullopt;
    if (!position || *position < 1 || static_cast<std::size_t>(*position) > columns)
        return std::nullopt;
    return static_cast<std::size_t>(*position - 1);
}

std::string EmitOrderBy(Context& context, const std::vector<OrderItem>& order, const Scope& scope,
                        const std::vector<NamedItem>& items) {
    std::string sql;
    for (const OrderItem& item : order) {
        const std::optional<std::size_t> ordinal = OrdinalOf(*item.expr, items.size());
        // Any other constant sorts nothing; SQLite would take a number for a column.
        if (!ordinal && item.expr->kind == Expr::Kind::Literal) continue;
        const Typed key =
            ordinal ? items[*ordinal].value : ExprWriter(context, scope).Write(*item.expr);
        sql +=
            (sql.empty() ? " ORDER BY " : ", ") + SortKey(key) + (item.descending ? " DESC" : "");
    }
    return sql;
}

// Whether an aggregate function stands in the expression (not counting
// subqueries, which aggregate on their own).
bool HasAggregate(const Expr& expr) {
    if (expr.kind == Expr::Kind::Call && IsAggregateName(expr.token.value)) return true;
    return std::any_of(expr.args.begin(), expr.args.end(),
                       [](const ExprPtr& arg) { return arg && HasAggregate(*arg); });
}

// A select of the rows of one table, not joined, grouped or merged, whose
// rows the engine can change through it.
bool IsUpdatableShape(const Select& select) {
    if (select.unionNext || select.distinct || !select.groupBy.empty() || select.having ||
        select.from.size() != 1 || select.from[0]->kind != TableRef::Kind::Table ||
        !select.from[0]->file.empty()) {
        return false;
    }
    return std::none_of(select.items.begin(), select.items.end(),
                        [](const SelectItem& item) { return HasAggregate(*item.expr); });
}

// TOP n. Jet does not choose between rows that tie on the ORDER BY keys:
// all rows ranked within the first n come, so a select with an order is
// ranked and cut by rank; without one it is cut after n rows.
std::string TopWithTies(const std::string& head, const std::string& body, const std::string& order,
                        std::int64_t count, const std::vector<FieldInfo>& columns,
                        bool withRowKey) {
    const std::string limit = std::to_string(count);
    if (order.empty()) return head + body + " LIMIT " + limit;
    const std::string ranked =
        head + ", rank() OVER (" + order.substr(1) + ") AS \"vorn_rank\"" + body;
    std::string list;
    for (const FieldInfo& column : columns)
        list += (list.empty() ? "" : ", ") + JetSqlTranslator::QuoteName(column.name);
    if (withRowKey) list += ", " + JetSqlTranslator::QuoteName(JetSqlTranslator::kRowKeyColumn);
    return "SELECT " + list + " FROM (" + ranked + ") WHERE \"vorn_rank\" <= " + limit +
           " ORDER BY \"vorn_rank\"";
}

// The select list, filling the output's columns; the aliases it names.
std::string EmitItems(const Select& select, const std::vector<NamedItem>& items,
                      const ItemWriter& itemWriter, SelectOutput& output,
                      std::vector<std::pair<std::string, Typed>>& aliases) {
    std::string list;
    for (std::size_t i = 0; i < items.size(); ++i) {
        const NamedItem& item = items[i];
        if (item.named) aliases.emplace_back(item.name, item.value);
        std::string sql = itemWriter ? itemWriter(i, item.value, item.name) : item.value.sql;
        // DISTINCT tells text apart ignoring case, as Jet does.
        if (select.distinct &&
            (item.value.type == VType::Text || item.value.type == VType::Unknown))
            sql = Collated(sql);
        list += (i > 0 ? ", " : "") + sql + " AS " + JetSqlTranslator::QuoteName(item.name);
        output.columns.push_back(ColumnInfo(item, i));
        output.items.push_back(item.value);
    }
    return list;
}

// WHERE, GROUP BY and HAVING.
std::string EmitConditions(Context& context, const Select& select, const Scope& scope,
                           const Scope& aliasScope) {
    std::string sql;
    if (select.where) {
        sql += " WHERE " + ExprWriter(context, select.whereSeesAliases ? aliasScope : scope)
                               .Write(*select.where)
                               .sql;
    }
    for (std::size_t i = 0; i < select.groupBy.size(); ++i) {
        sql += (i == 0 ? " GROUP BY " : ", ") +
               SortKey(ExprWriter(context, scope).Write(*select.groupBy[i]));
    }
    if (select.having)
        sql += " HAVING " + ExprWriter(context, aliasScope).Write(*select.having).sql;
    return sql;
}

// One SELECT of a union (or the only one); ORDER BY only when `withOrder`.
SelectOutput EmitSingle(Context& context, const Select& select, const Scope* outer, bool withOrder,
                        const ItemWriter& itemWriter) {
    Scope scope;
    scope.outer = outer;
    std::string from;
    for (const TableRefPtr& ref : select.from) {
        from += (from.empty() ? " FROM " : ", ") + EmitTableRef(context, *ref, scope);
    }
    const std::vector<NamedItem> items = NameItems(context, select, scope);
    std::vector<std::pair<std::string, Typed>> aliases;
    SelectOutput output;
    std::string list = EmitItems(select, items, itemWriter, output, aliases);
    if (IsUpdatableShape(select) && !context.catalog.IsQuery(scope.tables.front().tableName)) {
        output.updatableTable = scope.tables.front().tableName;
        output.rowKey = scope.tables.front().reference + ".rowid";
        if (select.withRowKey) {
            list += ", " + output.rowKey + " AS " +
                    JetSqlTranslator::QuoteName(JetSqlTranslator::kRowKeyColumn);
        }
    }
    const std::string head = "SELECT " + std::string(select.distinct ? "DISTINCT " : "") + list;
    Scope aliasScope = scope;
    aliasScope.aliases = &aliases;
    const std::string body = from + EmitConditions(context, select, scope, aliasScope);
    const std::string order =
        withOrder ? EmitOrderBy(context, select.orderBy, aliasScope, items) : "";
    const bool rowKey = !output.rowKey.empty() && select.withRowKey;
    output.sql = select.top ? TopWithTies(head, body, order, *select.top, output.columns, rowKey)
                            : head + body + order;
    return output;
}

// ORDER BY of a union: each term must name a column of the result.
std::string UnionOrderBy(Context& context, const std::vector<OrderItem>& order,
                         const SelectOutput& first) {
    std::string sql;
    for (const OrderItem& item : order) {
        const Expr& expr = *item.expr;
        const std::string name = expr.kind == Expr::Kind::Name ? expr.parts.back() : "";
        const auto found =
            std::find_if(first.columns.begin(), first.columns.end(),
                         [&name](const FieldInfo& c) { return EqualsNoCase(c.name, name); });
        std::optional<std::size_t> index = OrdinalOf(expr, first.columns.size());
        if (!index && found != first.columns.end())
            index = static_cast<std::size_t>(found - first.columns.begin());
        if (!index) {
            context.Fail(errnum::kJetOperationNotSupported,
                         "ORDER BY of a UNION must name a column of the result", expr.position);
        }
        const VType type = first.items[*index].type;
        const std::string position = std::to_string(*index + 1);
        sql += (sql.empty() ? " ORDER BY " : ", ") +
               (type == VType::Text || type == VType::Unknown ? Collated(position) : position) +
               (item.descending ? " DESC" : "");
    }
    return sql;
}

SelectOutput EmitSelect(Context& context, const Select& select, const Scope* outer,
                        const ItemWriter& itemWriter) {
    if (!select.unionNext) return EmitSingle(context, select, outer, true, itemWriter);
    SelectOutput output = EmitSingle(context, select, outer, false, itemWriter);
    output.updatableTable.clear();
    output.rowKey.clear();
    const Select* last = &select;
    for (const Select* member = select.unionNext.get(); member != nullptr;
         member = member->unionNext.get()) {
        if (member->top || last->top)
            context.Fail(errnum::kJetOperationNotSupported, "TOP inside a UNION", member->position);
        const SelectOutput next = EmitSingle(context, *member, outer, false, itemWriter);
        if (next.items.size() != output.items.size()) {
            context.Fail(errnum::kJetSyntaxErrorInExpression,
                         "the selects of a UNION do not have the same number of fields",
                         member->position);
        }
        output.sql += std::string(last->unionAll ? " UNION ALL " : " UNION ") + next.sql;
        last = member;
    }
    output.sql += UnionOrderBy(context, last->orderBy, output);
    return output;
}

// ---- Writing into tables -------------------------------------------------------

// A Jet literal as a runtime value, for folding into a column's stored form.
std::optional<Variant> LiteralValue(const SqlToken& token) {
    switch (token.kind) {
        case SqlTokenKind::String:
            return Variant(token.value);
        case SqlTokenKind::Number:
            return Variant(Val(token.text));
        case SqlTokenKind::Date:
            if (const std::optional<double> serial = ParseDate(token.value))
                return Variant::FromDate(*serial);
            return std::nullopt;
        default:
            return std::nullopt;
    }
}

// A value as the field stores it: unchanged when it has the field's kind
// already, converted by vorn_store (or now, for a literal) otherwise.
std::string Coerce(const Context& context, const Typed& value, const FieldInfo& field,
                   std::size_t position) {
    const VType target = VTypeOfDao(field.type);
    if (value.type == VType::Null) return "NULL";
    if (value.type == target || target == VType::Unknown) return value.sql;
    if (value.literal) {
        if (const std::optional<Variant> literal = LiteralValue(*value.literal)) {
            try {
                return SqliteValueCodec::SqlLiteral(SqliteValueCodec::Encode(*literal, field));
            } catch (const VornError&) {
                context.Fail(errnum::kJetTypeMismatchInCriteria,
                             value.literal->text + " for field '" + field.name + "'", position);
            }
        }
    }
    const bool decimal = target == VType::Decimal && field.precision > 0;
    return "vorn_store(" + Argument(value) + ", " + std::to_string(field.type) +
           (decimal ? ", " + std::to_string(field.precision) + ", " + std::to_string(field.scale)
                    : "") +
           ")";
}

std::string ColumnList(const std::vector<const FieldInfo*>& fields) {
    std::string sql;
    for (const FieldInfo* field : fields)
        sql += (sql.empty() ? "" : ", ") + JetSqlTranslator::QuoteName(field->name);
    return "(" + sql + ")";
}

InsertStatement ParseInsert(Parser& parser) {
    InsertStatement statement;
    statement.position = parser.Peek().position;
    parser.Expect("INSERT", errnum::kJetInvalidSqlStatement);
    parser.Expect("INTO", errnum::kJetSyntaxErrorInInsert);
    statement.table = parser.TakeName(errnum::kJetSyntaxErrorInInsert);
    if (parser.Accept("IN")) statement.file = parser.FileName(errnum::kJetSyntaxErrorInInsert);
    if (parser.AcceptSymbol("(")) {
        do {
            statement.columns.push_back(parser.TakeName(errnum::kJetSyntaxErrorInInsert));
        } while (parser.AcceptSymbol(","));
        parser.ExpectSymbol(")", errnum::kJetSyntaxErrorInInsert);
    }
    if (parser.Accept("VALUES")) {
        parser.ExpectSymbol("(", errnum::kJetSyntaxErrorInInsert);
        do {
            statement.values.push_back(parser.Expression());
        } while (parser.AcceptSymbol(","));
        parser.ExpectSymbol(")", errnum::kJetSyntaxErrorInInsert);
    } else if (parser.Peek().Is("SELECT")) {
        statement.select = parser.SelectStatement();
    } else {
        parser.Fail(errnum::kJetSyntaxErrorInInsert, "expected VALUES or SELECT");
    }
    parser.ExpectEnd();
    return statement;
}

const FieldInfo& InsertField(const Context& context, const TableInfo& table,
                             const std::string& name, std::size_t position) {
    const FieldInfo* field = FindField(table.fields, name);
    if (field == nullptr)
        context.Fail(errnum::kJetUnknownFieldInInsert, "'" + name + "'", position);
    return *field;
}

// INSERT INTO t [(fields)] VALUES (...) or SELECT .... Without a field list
// the values go to the fields in order, and the columns of a SELECT go to
// the fields of their names, as Jet appends.
JetTranslation EmitInsert(Context& context, const InsertStatement& statement) {
    const TableInfo table = context.Table(statement.table, statement.file, statement.position);
    std::vector<const FieldInfo*> fields;
    for (const std::string& column : statement.columns) {
        fields.push_back(&InsertField(context, table, column, statement.position));
    }
    JetTranslation translation;
    translation.kind = JetStatementKind::DataChange;
    const std::string target = "INSERT INTO " + Place(context, table, statement.file).sql;
    if (!statement.select) {
        if (fields.empty()) {
            for (const FieldInfo& field : table.fields) fields.push_back(&field);
        }
        if (fields.size() != statement.values.size())
            context.Fail(errnum::kJetValueCountMismatch, "", statement.position);
        const Scope scope;
        std::string values;
        for (std::size_t i = 0; i < fields.size(); ++i) {
            const Typed value = ExprWriter(context, scope).Write(*statement.values[i]);
            values += (i > 0 ? ", " : "") +
                      Coerce(context, value, *fields[i], statement.values[i]->position);
        }
        translation.sql = target + " " + ColumnList(fields) + " VALUES (" + values + ")";
        return translation;
    }
    const bool byName = fields.empty();
    const ItemWriter writer = [&](std::size_t index, const Typed& value, const std::string& name) {
        if (byName && index == fields.size())
            fields.push_back(&InsertField(context, table, name, statement.position));
        if (index >= fields.size()) context.Fail(errnum::kJetValueCountMismatch, "", statement.position);
        return Coerce(context, value, *fields[index], statement.position);
    };
    const SelectOutput select = EmitSelect(context, *statement.select, nullptr, writer);
    if (select.items.size() != fields.size())
        context.Fail(errnum::kJetValueCountMismatch, "", statement.position);
    translation.sql = target + " " + ColumnList(fields) + " " + select.sql;
    return translation;
}

// ---- UPDATE ----

UpdateStatement ParseUpdate(Parser& parser) {
    UpdateStatement statement;
    parser.Expect("UPDATE", errnum::kJetInvalidSqlStatement);
    parser.Accept("DISTINCTROW");
    statement.target = parser.FromItem();
    parser.Expect("SET", errnum::kJetSyntaxErrorInUpdate);
    do {
        Assignment assignment;
        assignment.target = std::make_unique<Expr>();
        assignment.target->kind = Expr::Kind::Name;
        assignment.target->position = parser.Peek().position;
        assignment.target->parts = parser.QualifiedName(errnum::kJetSyntaxErrorInUpdate);
        parser.ExpectSymbol("=", errnum::kJetSyntaxErrorInUpdate);
        assignment.value = parser.Expression();
        statement.assignments.push_back(std::move(assignment));
    } while (parser.AcceptSymbol(","));
    if (parser.Accept("WHERE")) statement.where = parser.Expression();
    parser.ExpectEnd();
    return statement;
}

// The tables of a join of INNER JOINs, in order, with their conditions.
void FlattenInnerJoins(const Context& context, const TableRef& ref,
                       std::vector<const TableRef*>& tables, std::vector<const Expr*>& conditions) {
    if (ref.kind != TableRef::Kind::Join) {
        tables.push_back(&ref);
        return;
    }
    if (ref.join != "INNER")
        context.Fail(errnum::kJetOperationNotSupported, "an outer join in UPDATE", ref.position);
    FlattenInnerJoins(context, *ref.left, tables, conditions);
    FlattenInnerJoins(context, *ref.right, tables, conditions);
    conditions.push_back(ref.on.get());
}

// The table an assignment's field belongs to, among the scope's tables.
std::size_t AssignedTable(const Context& context, const Scope& scope, const Expr& target) {
    for (std::size_t i = 0; i < scope.tables.size(); ++i) {
        const ScopeTable& table = scope.tables[i];
        const bool named = target.parts.size() == 2 && EqualsNoCase(table.jetName, target.parts[0]);
        if ((named || target.parts.size() == 1) &&
            FindField(table.fields, target.parts.back()) != nullptr)
            return i;
    }
    context.Fail(errnum::kJetTableNotFound, "unknown field '" + target.parts.back() + "'",
                 target.position);
}

// UPDATE t SET ...; a join of tables becomes UPDATE target SET ... FROM others.
JetTranslation EmitUpdate(Context& context, const UpdateStatement& statement) {
    std::vector<const TableRef*> refs;
    std::vector<const Expr*> conditions;
    FlattenInnerJoins(context, *statement.target, refs, conditions);
    Scope scope;
    std::vector<std::string> tableSql;
    for (const TableRef* ref : refs) tableSql.push_back(EmitTableRef(context, *ref, scope));
    const std::size_t target = AssignedTable(context, scope, *statement.assignments.front().target);
    if (refs[target]->kind != TableRef::Kind::Table) {
        context.Fail(errnum::kJetOperationNotSupported, "UPDATE of a subquery",
                     refs[target]->position);
    }
    std::string sets;
    for (const Assignment& assignment : statement.assignments) {
        if (AssignedTable(context, scope, *assignment.target) != target) {
            context.Fail(errnum::kJetOperationNotSupported, "UPDATE of fields of two tables",
                         assignment.target->position);
        }
        const FieldInfo& field =
            *FindField(scope.tables[target].fields, assignment.target->parts.back());
        const Typed value = ExprWriter(context, scope).Write(*assignment.value);
        sets += (sets.empty() ? "" : ", ") + JetSqlTranslator::QuoteName(field.name) + " = " +
                Coerce(context, value, field, assignment.value->position);
    }
    std::string others;
    for (std::size_t i = 0; i < refs.size(); ++i) {
        if (i != target) others += (others.empty() ? " FROM " : ", ") + tableSql[i];
    }
    std::string where;
    for (const Expr* condition : conditions) {
        where += (where.empty() ? " WHERE " : " AND ") +
                 ExprWriter(context, scope).Write(*condition).sql;
    }
    if (statement.where)
        where += (where.empty() ? " WHERE " : " AND ") +
                 ExprWriter(context, scope).Write(*statement.where).sql;
    JetTranslation translation;
    translation.kind = JetStatementKind::DataChange;
    translation.sql = "UPDATE " + tableSql[target] + " SET " + sets + others + where;
    return translation;
}

// ---- DELETE ----

DeleteStatement ParseDelete(Parser& parser) {
    DeleteStatement statement;
    parser.Expect("DELETE", errnum::kJetInvalidSqlStatement);
    parser.Accept("DISTINCTROW");
    if (!parser.AcceptSymbol("*") && !parser.Peek().Is("FROM")) {
        statement.qualifier = parser.TakeName(errnum::kJetSyntaxErrorInFrom);
        if (parser.AcceptSymbol(".") || parser.AcceptSymbol("!")) {
            parser.ExpectSymbol("*", errnum::kJetSyntaxErrorInFrom);
        }
    }
    parser.Expect("FROM", errnum::kJetSyntaxErrorInFrom);
    statement.from = parser.FromItem();
    if (parser.Accept("WHERE")) statement.where = parser.Expression();
    parser.ExpectEnd();
    return statement;
}

// DELETE FROM t; from a join, the rows of the table named before FROM go,
// picked by row id.
JetTranslation EmitDelete(Context& context, const DeleteStatement& statement) {
    Scope scope;
    const std::string from = EmitTableRef(context, *statement.from, scope);
    const std::string where =
        statement.where ? " WHERE " + ExprWriter(context, scope).Write(*statement.where).sql : "";
    JetTranslation translation;
    translation.kind = JetStatementKind::DataChange;
    if (statement.from->kind == TableRef::Kind::Table) {
        translation.sql = "DELETE FROM " + from + where;
        return translation;
    }
    const auto target =
        std::find_if(scope.tables.begin(), scope.tables.end(), [&](const ScopeTable& table) {
            return !statement.qualifier.empty() && EqualsNoCase(table.jetName, statement.qualifier);
        });
    if (target == scope.tables.end() || target->tableName.empty()) {
        context.Fail(errnum::kJetDeleteNeedsTable, statement.qualifier, statement.from->position);
    }
    translation.sql = "DELETE FROM " + target->place + " WHERE rowid IN (SELECT " +
                      target->reference + ".rowid FROM " + from + where + ")";
    return translation;
}

// ---- SELECT ... INTO ----

// A field of a table made by SELECT ... INTO, from a column of the select.
FieldInfo NewTableField(const FieldInfo& column, std::size_t position) {
    FieldInfo field;
    field.name = column.name;
    field.type = column.type == 0 ? dao::dbText : column.type;
    const VType type = VTypeOfDao(field.type);
    field.size = column.size;
    if (field.type == dao::dbText && field.size <= 0) field.size = 255;
    field.attributes =
        (type == VType::Text || type == VType::Binary) ? dao::dbVariableField : dao::dbFixedField;
    field.allowZeroLength = type == VType::Text;
    field.precision = column.precision;
    field.scale = column.scale;
    field.ordinalPosition = static_cast<std::int16_t>(position);
    return field;
}

JetTranslation EmitSelectInto(Context& context, const Select& select) {
    if (!select.intoFile.empty()) {
        context.Fail(errnum::kJetOperationNotSupported, "SELECT ... INTO a table of another file",
                     select.position);
    }
    if (context.catalog.FindTable(select.intoTable)) {
        context.Fail(errnum::kJetTableExists, "'" + select.intoTable + "'", select.position);
    }
    const SelectOutput output = EmitSelect(context, select, nullptr);
    JetSchemaOperation create;
    create.kind = JetSchemaOperation::Kind::CreateTable;
    create.table = select.intoTable;
    create.tableInfo.name = select.intoTable;
    std::string columns;
    for (std::size_t i = 0; i < output.columns.size(); ++i) {
        create.tableInfo.fields.push_back(NewTableField(output.columns[i], i));
        columns += (i > 0 ? ", " : "") + JetSqlTranslator::QuoteName(output.columns[i].name);
    }
    JetTranslation translation;
    translation.kind = JetStatementKind::SchemaChange;
    translation.schema.push_back(std::move(create));
    translation.sql = "INSERT INTO " + JetSqlTranslator::QuoteName(select.intoTable) + " (" +
                      columns + ") " + output.sql;
    return translation;
}

JetTranslation EmitQuery(Context& context, const Select& select) {
    if (select.hasInto) return EmitSelectInto(context, select);
    const SelectOutput output = EmitSelect(context, select, nullptr);
    JetTranslation translation;
    translation.kind = JetStatementKind::Query;
    translation.sql = output.sql;
    translation.columns = output.columns;
    translation.updatableTable = output.updatableTable;
    if (select.withRowKey && !output.updatableTable.empty())
        translation.rowKeyColumn = output.columns.size();
    return translation;
}

// ---- Schema statements -----------------------------------------------------------

// A Jet type name and what DAO makes of it.
struct TypeName {
    std::string_view name;
    std::int16_t type;
    std::int32_t size;  // -1: taken from "(n)", with the default below
    std::int32_t defaultSize;
};

constexpr TypeName kTypeNames[] = {
    {"TEXT", dao::dbText, -1, 255},
    {"VARCHAR", dao::dbText, -1, 255},
    {"CHAR", dao::dbText, -1, 255},
    {"CHARACTER", dao::dbText, -1, 255},
    {"ALPHANUMERIC", dao::dbText, -1, 255},
    {"STRING", dao::dbText, -1, 255},
    {"NVARCHAR", dao::dbText, -1, 255},
    {"NCHAR", dao::dbText, -1, 255},
    {"MEMO", dao::dbMemo, 0, 0},
    {"LONGTEXT", dao::dbMemo, 0, 0},
    {"LONGCHAR", dao::dbMemo, 0, 0},
    {"NOTE", dao::dbMemo, 0, 0},
    {"NTEXT", dao::dbMemo, 0, 0},
    {"BYTE", dao::dbByte, 1, 1},
    {"TINYINT", dao::dbByte, 1, 1},
    {"INTEGER1", dao::dbByte, 1, 1},
    {"SHORT", dao::dbInteger, 2, 2},
    {"SMALLINT", dao::dbInteger, 2, 2},
    {"INTEGER2", dao::dbInteger, 2, 2},
    {"LONG", dao::dbLong, 4, 4},
    {"INT", dao::dbLong, 4, 4},
    {"INTEGER", dao::dbLong, 4, 4},
    {"INTEGER4", dao::dbLong, 4, 4},
    {"SINGLE", dao::dbSingle, 4, 4},
    {"REAL", dao::dbSingle, 4, 4},
    {"FLOAT4", dao::dbSingle, 4, 4},
    {"IEEESINGLE", dao::dbSingle, 4, 4},
    {"DOUBLE", dao::dbDouble, 8, 8},
    {"FLOAT", dao::dbDouble, 8, 8},
    {"FLOAT8", dao::dbDouble, 8, 8},
    {"IEEEDOUBLE", dao::dbDouble, 8, 8},
    {"NUMBER", dao::dbDouble, 8, 8},
    {"CURRENCY", dao::dbCurrency, 8, 8},
    {"MONEY", dao::dbCurrency, 8, 8},
    {"DATETIME", dao::dbDate, 8, 8},
    {"DATE", dao::dbDate, 8, 8},
    {"TIME", dao::dbDate, 8, 8},
    {"TIMESTAMP", dao::dbDate, 8, 8},
    {"BIT", dao::dbBoolean, 1, 1},
    {"YESNO", dao::dbBoolean, 1, 1},
    {"LOGICAL", dao::dbBoolean, 1, 1},
    {"LOGICAL1", dao::dbBoolean, 1, 1},
    {"BOOLEAN", dao::dbBoolean, 1, 1},
    {"COUNTER", dao::dbLong, 4, 4},
    {"AUTOINCREMENT", dao::dbLong, 4, 4},
    {"IDENTITY", dao::dbLong, 4, 4},
    {"LONGBINARY", dao::dbLongBinary, 0, 0},
    {"GENERAL", dao::dbLongBinary, 0, 0},
    {"OLEOBJECT", dao::dbLongBinary, 0, 0},
    {"IMAGE", dao::dbLongBinary, 0, 0},
    {"BINARY", dao::dbBinary, -1, 510},
    {"VARBINARY", dao::dbBinary, -1, 510},
    {"GUID", dao::dbGUID, 16, 16},
    {"UNIQUEIDENTIFIER", dao::dbGUID, 16, 16},
    {"DECIMAL", dao::dbDecimal, 16, 16},
    {"NUMERIC", dao::dbDecimal, 16, 16},
    {"DEC", dao::dbDecimal, 16, 16},
};

bool IsCounter(std::string_view name) {
    return EqualsNoCase(name, "COUNTER") || EqualsNoCase(name, "AUTOINCREMENT") ||
           EqualsNoCase(name, "IDENTITY");
}

// What one column definition adds besides its field.
struct ColumnExtras {
    std::vector<IndexInfo> indexes;
    std::vector<RelationInfo> relations;
};

// Parses and checks the schema statements, making DAO's records of them.
class SchemaWriter {
  public:
    SchemaWriter(Parser& parser, const JetCatalogView& catalog)
        : parser_(parser), catalog_(catalog) {}

    JetTranslation CreateTable();
    JetTranslation CreateIndex();
    JetTranslation AlterTable();
    JetTranslation Drop();

  private:
    FieldInfo FieldType(std::int32_t number);
    FieldInfo ColumnDefinition(const std::string& table, ColumnExtras& extras, std::int32_t number);
    void ColumnConstraint(const std::string& table, FieldInfo& field, const std::string& constraint,
                          ColumnExtras& extras, std::int32_t number);
    void TableConstraint(const std::string& table, const std::vector<FieldInfo>& fields,
                         ColumnExtras& extras, std::int32_t number);
    std::vector<IndexFieldInfo> IndexFields(const std::vector<FieldInfo>& fields,
                                            std::int32_t number);
    RelationInfo References(const std::string& table, const std::string& name,
                            std::vector<std::string> childFields, std::int32_t number);
    TableInfo ExistingTable(const std::string& name, std::int32_t missing);
    std::vector<JetSchemaOperation> AddColumns(const TableInfo& table, ColumnExtras& extras);
    JetSchemaOperation AlterColumn(const TableInfo& table, ColumnExtras& extras);
    std::vector<JetSchemaOperation> DropParts(const TableInfo& table);
    std::vector<JetSchemaOperation> ExtrasAsOperations(const std::string& table,
                                                       ColumnExtras extras) const;
    JetTranslation Result(std::vector<JetSchemaOperation> operations) {
        parser_.ExpectEnd();
        JetTranslation translation;
        translation.kind = JetStatementKind::SchemaChange;
        translation.schema = std::move(operations);
        return translation;
    }
    [[noreturn]] void Fail(std::int32_t number, const std::string& detail) const {
        parser_.Fail(number, detail);
    }

    Parser& parser_;
    const JetCatalogView& catalog_;
};

// A type name with its "(size)" or "(precision, scale)".
FieldInfo SchemaWriter::FieldType(std::int32_t number) {
    const SqlToken& token = parser_.Peek();
    const auto found =
        std::find_if(std::begin(kTypeNames), std::end(kTypeNames), [&token](const TypeName& t) {
            return token.kind == SqlTokenKind::Word && token.Is(t.name);
        });
    if (found == std::end(kTypeNames)) {
        Fail(token.kind == SqlTokenKind::Word ? errnum::kJetInvalidFieldType : number,
             "type '" + token.text + "'");
    }
    parser_.Take();
    if (found->type == dao::dbDouble && EqualsNoCase(found->name, "DOUBLE"))
        parser_.Accept("PRECISION");
    FieldInfo field;
    field.type = found->type;
    field.size = found->size < 0 ? found->defaultSize : found->size;
    const VType type = VTypeOfDao(field.type);
    field.attributes =
        type == VType::Text || type == VType::Binary ? dao::dbVariableField : dao::dbFixedField;
    if (IsCounter(found->name)) field.attributes |= dao::dbAutoIncrField;
    if (field.type == dao::dbDecimal) field.precision = 18;
    field.allowZeroLength = type == VType::Text;
    if (!parser_.AcceptSymbol("(")) return field;
    std::vector<std::int32_t> numbers;
    do {
        const std::optional<std::int32_t> value = SmallWholeNumber(parser_.Peek());
        if (!value) Fail(number, "a whole number in the type's parentheses");
        parser_.Take();
        numbers.push_back(*value);
    } while (parser_.AcceptSymbol(","));
    parser_.ExpectSymbol(")", number);
    if (found->size < 0) {
        field.size = numbers[0];
        if (field.type == dao::dbText && (field.size < 1 || field.size > 255))
            Fail(number, "a text size from 1 to 255");
    } else if (field.type == dao::dbDecimal) {
        field.precision = static_cast<std::uint8_t>(numbers[0]);
        field.scale = static_cast<std::uint8_t>(numbers.size() > 1 ? numbers[1] : 0);
    } else if (!IsCounter(found->name)) {
        Fail(number, "no size for type " + std::string(found->name));
    }
    return field;
}

// name type [NOT NULL] [PRIMARY KEY] [UNIQUE] [DEFAULT x] [CONSTRAINT c ...] [REFERENCES ...]
FieldInfo SchemaWriter::ColumnDefinition(const std::string& table, ColumnExtras& extras,
                                         std::int32_t number) {
    const std::string name = parser_.TakeName(number);
    FieldInfo field = FieldType(number);
    field.name = name;
    while (true) {
        if (parser_.Accept("NOT")) {
            parser_.Expect("NULL", number);
            field.required = true;
        } else if (parser_.Accept("NULL")) {
            field.required = false;
        } else if (parser_.Accept("DEFAULT")) {
            const SqlToken& value = parser_.Take();
            if (value.kind == SqlTokenKind::End) Fail(number, "a value after DEFAULT");
            field.defaultValue = value.text;
        } else if (parser_.Accept("WITH")) {
            if (!parser_.Accept("COMPRESSION") && !parser_.Accept("COMP"))
                Fail(number, "WITH COMPRESSION");
        } else if (parser_.Accept("CONSTRAINT")) {
            ColumnConstraint(table, field, parser_.TakeName(number), extras, number);
        } else if (parser_.Peek().Is("PRIMARY") || parser_.Peek().Is("UNIQUE") ||
                   parser_.Peek().Is("REFERENCES")) {
            ColumnConstraint(table, field, "", extras, number);
        } else {
            return field;
        }
    }
}

void SchemaWriter::ColumnConstraint(const std::string& table, FieldInfo& field,
                                    const std::string& constraint, ColumnExtras& extras,
                                    std::int32_t number) {
    if (parser_.Accept("NOT")) {
        parser_.Expect("NULL", number);
        field.required = true;
        return;
    }
    if (parser_.Peek().Is("REFERENCES")) {
        extras.relations.push_back(References(table, constraint, {field.name}, number));
        return;
    }
    IndexInfo index;
    index.primary = parser_.Accept("PRIMARY");
    if (index.primary) {
        parser_.Expect("KEY", number);
    } else {
        parser_.Expect("UNIQUE", number);
    }
    index.unique = true;
    index.required = index.primary;
    index.name = !constraint.empty() ? constraint
                 : index.primary     ? "PrimaryKey"
                                     : "Index_" + field.name;
    index.fields.push_back(IndexFieldInfo{field.name, 0});
    extras.indexes.push_back(std::move(index));
}

// "(field [ASC|DESC], ...)" of an index, each a field of `fields`.
std::vector<IndexFieldInfo> SchemaWriter::IndexFields(const std::vector<FieldInfo>& fields,
                                                      std::int32_t number) {
    std::vector<IndexFieldInfo> result;
    parser_.ExpectSymbol("(", number);
    do {
        const std::string name = parser_.TakeName(number);
        const FieldInfo* field = FindField(fields, name);
        if (field == nullptr) Fail(errnum::kJetItemNotFound, "no field '" + name + "'");
        IndexFieldInfo indexField{field->name, 0};
        if (parser_.Accept("DESC")) {
            indexField.attributes = dao::dbDescending;
        } else {
            parser_.Accept("ASC");
        }
        result.push_back(indexField);
    } while (parser_.AcceptSymbol(","));
    parser_.ExpectSymbol(")", number);
    return result;
}

// [CONSTRAINT name] PRIMARY KEY (...) | UNIQUE (...) | FOREIGN KEY (...) REFERENCES ...
void SchemaWriter::TableConstraint(const std::string& table, const std::vector<FieldInfo>& fields,
                                   ColumnExtras& extras, std::int32_t number) {
    const std::string constraint =
        parser_.Accept("CONSTRAINT") ? parser_.TakeName(number) : std::string();
    if (parser_.Accept("FOREIGN")) {
        parser_.Expect("KEY", number);
        std::vector<std::string> children;
        for (const IndexFieldInfo& field : IndexFields(fields, number))
            children.push_back(field.name);
        extras.relations.push_back(References(table, constraint, std::move(children), number));
        return;
    }
    IndexInfo index;
    index.primary = parser_.Accept("PRIMARY");
    if (index.primary) {
        parser_.Expect("KEY", number);
    } else {
        parser_.Expect("UNIQUE", number);
    }
    index.unique = true;
    index.required = index.primary;
    index.fields = IndexFields(fields, number);
    index.name = !constraint.empty() ? constraint
                 : index.primary     ? "PrimaryKey"
                                     : "Index_" + index.fields.front().name;
    extras.indexes.push_back(std::move(index));
}

// REFERENCES parent [(fields)] [ON UPDATE CASCADE] [ON DELETE CASCADE]: a
// relation from the parent to `table`; without fields, the parent's
// primary key.
RelationInfo SchemaWriter::References(const std::string& table, const std::string& name,
                                      std::vector<std::string> childFields, std::int32_t number) {
    parser_.Expect("REFERENCES", number);
    const std::string parentName = parser_.TakeName(number);
    const TableInfo parent = EqualsNoCase(parentName, table)
                                 ? TableInfo{}
                                 : ExistingTable(parentName, errnum::kJetInputTableNotFound);
    RelationInfo relation;
    relation.name = name.empty() ? parentName + table : name;
    relation.table = parent.name.empty() ? table : parent.name;
    relation.foreignTable = table;
    std::vector<std::string> parentFields;
    if (parser_.AcceptSymbol("(")) {
        do {
            parentFields.push_back(parser_.TakeName(number));
        } while (parser_.AcceptSymbol(","));
        parser_.ExpectSymbol(")", number);
    } else {
        for (const IndexInfo& index : parent.indexes) {
            if (!index.primary) continue;
            for (const IndexFieldInfo& field : index.fields) parentFields.push_back(field.name);
        }
    }
    if (parentFields.size() != childFields.size())
        Fail(number, "the fields of the relation do not pair up");
    for (std::size_t i = 0; i < childFields.size(); ++i)
        relation.fields.push_back({parentFields[i], childFields[i]});
    while (parser_.Accept("ON")) {
        const bool update = parser_.Accept("UPDATE");
        if (!update) parser_.Expect("DELETE", number);
        if (parser_.Accept("CASCADE")) {
            relation.attributes |=
                update ? dao::dbRelationUpdateCascade : dao::dbRelationDeleteCascade;
        } else {
            parser_.Expect("NO", number);
            parser_.Expect("ACTION", number);
        }
    }
    return relation;
}

TableInfo SchemaWriter::ExistingTable(const std::string& name, std::int32_t missing) {
    std::optional<TableInfo> table = catalog_.FindTable(name);
    if (!table) Fail(missing, "'" + name + "'");
    return std::move(*table);
}

std::vector<JetSchemaOperation> SchemaWriter::ExtrasAsOperations(const std::string& table,
                                                                 ColumnExtras extras) const {
    std::vector<JetSchemaOperation> operations;
    for (IndexInfo& index : extras.indexes) {
        JetSchemaOperation operation;
        operation.kind = JetSchemaOperation::Kind::CreateIndex;
        operation.table = table;
        operation.index = std::move(index);
        operations.push_back(std::move(operation));
    }
    for (RelationInfo& relation : extras.relations) {
        JetSchemaOperation operation;
        operation.kind = JetSchemaOperation::Kind::CreateRelation;
        operation.table = relation.foreignTable;
        operation.name = relation.name;
        operation.relation = std::move(relation);
        operations.push_back(std::move(operation));
    }
    return operations;
}

bool AtTableConstraint(const Parser& parser) {
    const SqlToken& token = parser.Peek();
    return token.Is("CONSTRAINT") || token.Is("PRIMARY") || token.Is("UNIQUE") ||
           token.Is("FOREIGN");
}

JetTranslation SchemaWriter::CreateTable() {
    constexpr std::int32_t number = errnum::kJetSyntaxErrorInCreateTable;
    parser_.Expect("TABLE", number);
    const std::string name = parser_.TakeName(number);
    if (catalog_.FindTable(name)) Fail(errnum::kJetTableExists, "'" + name + "'");
    TableInfo table;
    table.name = name;
    ColumnExtras extras;
    parser_.ExpectSymbol("(", number);
    do {
        if (AtTableConstraint(parser_)) {
            TableConstraint(name, table.fields, extras, number);
            continue;
        }
        FieldInfo field = ColumnDefinition(name, extras, number);
        if (FindField(table.fields, field.name) != nullptr)
            Fail(errnum::kJetFieldDefinedTwice, "'" + field.name + "'");
        field.ordinalPosition = static_cast<std::int16_t>(table.fields.size());
        table.fields.push_back(std::move(field));
    } while (parser_.AcceptSymbol(","));
    parser_.ExpectSymbol(")", number);
    table.indexes = std::move(extras.indexes);
    extras.indexes.clear();
    JetSchemaOperation create;
    create.kind = JetSchemaOperation::Kind::CreateTable;
    create.table = name;
    create.tableInfo = std::move(table);
    std::vector<JetSchemaOperation> operations{std::move(create)};
    for (JetSchemaOperation& operation : ExtrasAsOperations(name, std::move(extras)))
        operations.push_back(std::move(operation));
    return Result(std::move(operations));
}

// CREATE [UNIQUE] INDEX name ON table (fields) [WITH PRIMARY | DISALLOW NULL | IGNORE NULL]
JetTranslation SchemaWriter::CreateIndex() {
    constexpr std::int32_t number = errnum::kJetSyntaxErrorInCreateIndex;
    IndexInfo index;
    index.unique = parser_.Accept("UNIQUE");
    parser_.Expect("INDEX", number);
    index.name = parser_.TakeName(number);
    parser_.Expect("ON", number);
    const TableInfo table = ExistingTable(parser_.TakeName(number), errnum::kJetInputTableNotFound);
    const bool exists =
        std::any_of(table.indexes.begin(), table.indexes.end(),
                    [&index](const IndexInfo& i) { return EqualsNoCase(i.name, index.name); });
    if (exists) Fail(errnum::kJetIndexExists, "'" + index.name + "' on '" + table.name + "'");
    index.fields = IndexFields(table.fields, number);
    if (parser_.Accept("WITH")) {
        do {
            if (parser_.Accept("PRIMARY")) {
                index.primary = index.unique = index.required = true;
            } else if (parser_.Accept("DISALLOW")) {
                parser_.Expect("NULL", number);
                index.required = true;
            } else {
                parser_.Expect("IGNORE", number);
                parser_.Expect("NULL", number);
                index.ignoreNulls = true;
            }
        } while (parser_.Peek().Is("PRIMARY") || parser_.Peek().Is("DISALLOW") ||
                 parser_.Peek().Is("IGNORE"));
    }
    ColumnExtras extras;
    extras.indexes.push_back(std::move(index));
    return Result(ExtrasAsOperations(table.name, std::move(extras)));
}

// ALTER TABLE t ADD [COLUMN] ... | ALTER [COLUMN] ... | DROP [COLUMN] ... |
// ADD CONSTRAINT ... | DROP CONSTRAINT ...
JetTranslation SchemaWriter::AlterTable() {
    constexpr std::int32_t number = errnum::kJetSyntaxErrorInAlterTable;
    parser_.Expect("TABLE", number);
    const TableInfo table = ExistingTable(parser_.TakeName(number), errnum::kJetInputTableNotFound);
    std::vector<JetSchemaOperation> operations;
    ColumnExtras extras;
    if (parser_.Accept("ADD")) {
        if (AtTableConstraint(parser_)) {
            TableConstraint(table.name, table.fields, extras, number);
        } else {
            operations = AddColumns(table, extras);
        }
    } else if (parser_.Accept("ALTER")) {
        operations.push_back(AlterColumn(table, extras));
    } else if (parser_.Accept("DROP")) {
        operations = DropParts(table);
    } else {
        Fail(number, "expected ADD, ALTER or DROP");
    }
    for (JetSchemaOperation& operation : ExtrasAsOperations(table.name, std::move(extras))) {
        operations.push_back(std::move(operation));
    }
    return Result(std::move(operations));
}

std::vector<JetSchemaOperation> SchemaWriter::AddColumns(const TableInfo& table,
                                                         ColumnExtras& extras) {
    parser_.Accept("COLUMN");
    std::vector<JetSchemaOperation> operations;
    auto position = static_cast<std::int16_t>(table.fields.size());
    do {
        JetSchemaOperation add;
        add.kind = JetSchemaOperation::Kind::AddField;
        add.table = table.name;
        add.field = ColumnDefinition(table.name, extras, errnum::kJetSyntaxErrorInAlterTable);
        if (FindField(table.fields, add.field.name) != nullptr) {
            Fail(errnum::kJetFieldExists, "'" + add.field.name + "' in '" + table.name + "'");
        }
        add.field.ordinalPosition = position++;
        operations.push_back(std::move(add));
    } while (parser_.AcceptSymbol(","));
    return operations;
}

// The field's new type, size and Required; the rest of its design stays.
JetSchemaOperation SchemaWriter::AlterColumn(const TableInfo& table, ColumnExtras& extras) {
    parser_.Accept("COLUMN");
    JetSchemaOperation alter;
    alter.kind = JetSchemaOperation::Kind::AlterField;
    alter.table = table.name;
    alter.field = ColumnDefinition(table.name, extras, errnum::kJetSyntaxErrorInAlterTable);
    const FieldInfo* present = FindField(table.fields, alter.field.name);
    if (present == nullptr)
        Fail(errnum::kJetItemNotFound,
             "no field '" + alter.field.name + "' in '" + table.name + "'");
    alter.name = present->name;
    alter.field.name = present->name;
    alter.field.ordinalPosition = present->ordinalPosition;
    alter.field.allowZeroLength =
        present->allowZeroLength && VTypeOfDao(alter.field.type) == VType::Text;
    if (alter.field.defaultValue.empty()) alter.field.defaultValue = present->defaultValue;
    alter.field.validationRule = present->validationRule;
    alter.field.validationText = present->validationText;
    return alter;
}

std::vector<JetSchemaOperation> SchemaWriter::DropParts(const TableInfo& table) {
    constexpr std::int32_t number = errnum::kJetSyntaxErrorInAlterTable;
    std::vector<JetSchemaOperation> operations;
    if (parser_.Accept("CONSTRAINT")) {
        JetSchemaOperation drop;
        drop.name = parser_.TakeName(number);
        drop.table = table.name;
        const bool isIndex =
            std::any_of(table.indexes.begin(), table.indexes.end(),
                        [&drop](const IndexInfo& i) { return EqualsNoCase(i.name, drop.name); });
        drop.kind =
            isIndex ? JetSchemaOperation::Kind::DropIndex : JetSchemaOperation::Kind::DropRelation;
        operations.push_back(std::move(drop));
        return operations;
    }
    parser_.Accept("COLUMN");
    do {
        const std::string name = parser_.TakeName(number);
        const FieldInfo* present = FindField(table.fields, name);
        if (present == nullptr)
            Fail(errnum::kJetItemNotFound, "no field '" + name + "' in '" + table.name + "'");
        JetSchemaOperation drop;
        drop.kind = JetSchemaOperation::Kind::DropField;
        drop.table = table.name;
        drop.name = present->name;
        operations.push_back(std::move(drop));
    } while (parser_.AcceptSymbol(","));
    return operations;
}

// DROP TABLE t | DROP INDEX i ON t
JetTranslation SchemaWriter::Drop() {
    constexpr std::int32_t number = errnum::kJetSyntaxErrorInDrop;
    JetSchemaOperation drop;
    if (parser_.Accept("TABLE")) {
        const TableInfo table =
            ExistingTable(parser_.TakeName(number), errnum::kJetTableDoesNotExist);
        drop.kind = JetSchemaOperation::Kind::DropTable;
        drop.table = table.name;
    } else if (parser_.Accept("INDEX")) {
        const std::string name = parser_.TakeName(number);
        parser_.Expect("ON", number);
        const TableInfo table =
            ExistingTable(parser_.TakeName(number), errnum::kJetTableDoesNotExist);
        const auto index =
            std::find_if(table.indexes.begin(), table.indexes.end(),
                         [&name](const IndexInfo& i) { return EqualsNoCase(i.name, name); });
        if (index == table.indexes.end())
            Fail(errnum::kJetItemNotFound, "no index '" + name + "' on '" + table.name + "'");
        drop.kind = JetSchemaOperation::Kind::DropIndex;
        drop.table = table.name;
        drop.name = index->name;
    } else {
        Fail(number, "expected TABLE or INDEX");
    }
    std::vector<JetSchemaOperation> operations;
    operations.push_back(std::move(drop));
    return Result(std::move(operations));
}

// ---- Statements ------------------------------------------------------------------

JetTranslation TranslateStatement(Parser& parser, Context& context,
                                  const JetTranslateOptions& options) {
    const SqlToken& first = parser.Peek();
    if (first.Is("SELECT")) {
        std::unique_ptr<Select> select = parser.SelectStatement();
        parser.ExpectEnd();
        select->withRowKey = options.withRowKey;
        return EmitQuery(context, *select);
    }
    if (first.Is("INSERT")) return EmitInsert(context, ParseInsert(parser));
    if (first.Is("UPDATE")) return EmitUpdate(context, ParseUpdate(parser));
    if (first.Is("DELETE")) return EmitDelete(context, ParseDelete(parser));
    SchemaWriter schema(parser, context.catalog);
    if (parser.Accept("CREATE")) {
        if (parser.Peek().Is("TABLE")) return schema.CreateTable();
        if (parser.Peek().Is("INDEX") || parser.Peek().Is("UNIQUE")) return schema.CreateIndex();
        parser.Fail(errnum::kJetSyntaxErrorInCreateTable, "expected TABLE or INDEX");
    }
    if (parser.Accept("ALTER")) return schema.AlterTable();
    if (parser.Accept("DROP")) return schema.Drop();
    if (first.Is("PARAMETERS") || first.Is("TRANSFORM") || first.Is("PROCEDURE")) {
        parser.Fail(errnum::kJetOperationNotSupported, first.text);
    }
    parser.Fail(errnum::kJetInvalidSqlStatement, "");
}

// Puts the recordset's parameters and files into the translation.
JetTranslation Finish(JetTranslation translation, Context& context) {
    translation.parameters = std::move(context.parameters);
    translation.attachments = std::move(context.attachments);
    return translation;
}

std::string BracketName(std::string_view name) {
    std::string out = "[";
    for (const char c : name) {
        out += c;
        if (c == ']') out += ']';
    }
    return out + "]";
}

}  // namespace

JetSqlTranslator::JetSqlTranslator(const JetCatalogView& catalog) : catalog_(catalog) {}

JetTranslation JetSqlTranslator::Translate(std::string_view jetSql,
                                           const JetTranslateOptions& options) const {
    Parser parser = MakeParser(jetSql);
    Context context{catalog_, options, std::string(jetSql), {}, {}, 0};
    JetTranslation translation = TranslateStatement(parser, context, options);
    return Finish(std::move(translation), context);
}

JetTranslation JetSqlTranslator::TranslateRows(std::string_view source, bool isTable,
                                               std::string_view filter, std::string_view sort,
                                               const JetTranslateOptions& options) const {
    const std::string statement =
        isTable ? "SELECT * FROM " + BracketName(source) : std::string(source);
    if (filter.empty() && sort.empty()) return Translate(statement, options);
    Parser parser = MakeParser(statement);
    std::unique_ptr<Select> select = parser.SelectStatement();
    parser.ExpectEnd();
    ExprPtr filterExpr;
    if (!filter.empty()) {
        Parser filterParser = MakeParser(filter);
        filterExpr = filterParser.Expression();
        filterParser.ExpectEnd();
    }
    std::vector<OrderItem> order;
    if (!sort.empty()) {
        Parser sortParser = MakeParser(sort);
        order = sortParser.OrderList();
        sortParser.ExpectEnd();
    }
    if (select->hasInto)
        parser.Fail(errnum::kJetInvalidSqlStatement, "a recordset on SELECT ... INTO");
    // A select of one table takes the filter into its WHERE, so its rows stay
    // rows of that table; any other select becomes the table of the filter.
    if (IsUpdatableShape(*select) && !select->top) {
        if (filterExpr) {
            select->where = select->where ? [&] {
                auto both = std::make_unique<Expr>();
                both->kind = Expr::Kind::Binary;
                both->op = "AND";
                both->args.push_back(std::move(select->where));
                both->args.push_back(std::move(filterExpr));
                return both;
            }() : std::move(filterExpr);
            select->whereSeesAliases = true;
        }
        if (!order.empty()) select->orderBy = std::move(order);
        select->withRowKey = options.withRowKey;
    } else {
        auto outer = std::make_unique<Select>();
        auto star = std::make_unique<Expr>();
        star->kind = Expr::Kind::Star;
        outer->items.push_back(SelectItem{std::move(star), {}});
        auto inner = std::make_unique<TableRef>();
        inner->kind = TableRef::Kind::Query;
        inner->alias = "vorn_rows";
        inner->query = std::move(select);
        outer->from.push_back(std::move(inner));
        outer->where = std::move(filterExpr);
        outer->orderBy = std::move(order);
        select = std::move(outer);
    }
    std::string display = statement;
    if (!filter.empty()) display += "\" filtered by \"" + std::string(filter);
    if (!sort.empty()) display += "\" sorted by \"" + std::string(sort);
    Context context{catalog_, options, display, {}, {}, 0};
    return Finish(EmitQuery(context, *select), context);
}

std::string JetSqlTranslator::QuoteName(std::string_view name) {
    std::string out = "\"";
    for (const char c : name) {
        out += c;
        if (c == '"') out += '"';
    }
    return out + "\"";
}

}  // namespace vorn
