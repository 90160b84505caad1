#include "dbcontract/SqlDialect.h"

#include "runtime/Utf8.h"

namespace vorn {

bool ServerType::IsText() const {
    switch (kind) {
        case Kind::Char:
        case Kind::VarChar:
        case Kind::NChar:
        case Kind::NVarChar:
        case Kind::Text:
        case Kind::NText:
            return true;
        default:
            return false;
    }
}

bool ServerType::IsBinary() const {
    return kind == Kind::Binary || kind == Kind::VarBinary || kind == Kind::Image;
}

bool ServerType::IsLong() const {
    return length == kMax || kind == Kind::Text || kind == Kind::NText || kind == Kind::Image;
}

std::int64_t ServerType::KeyBytes(int bytesPerCharacter) const {
    switch (kind) {
        case Kind::Bit:
        case Kind::TinyInt:
            return 1;
        case Kind::SmallInt:
            return 2;
        case Kind::Int:
        case Kind::Real:
        case Kind::SmallMoney:
            return 4;
        case Kind::BigInt:
        case Kind::Float:
        case Kind::Money:
        case Kind::DateTime:
        case Kind::SmallDateTime:
        case Kind::Date:
            return 8;
        case Kind::Decimal:
            return 17;
        case Kind::Binary:
        case Kind::VarBinary:
            return length > 0 ? length : 1;
        default:
            return static_cast<std::int64_t>(length > 0 ? length : 1) * bytesPerCharacter;
    }
}

std::optional<SqlExpr> SqlDialect::JetFunction(std::string_view,
                                               const std::vector<SqlExpr>&) const {
    return std::nullopt;
}

std::optional<std::string> SqlDialect::JetLike(const SqlExpr&, const SqlExpr&) const {
    return std::nullopt;
}

std::string SqlDialect::JetConcat(const std::vector<std::string>& parts) const {
    std::vector<std::string> given;
    for (const std::string& part : parts) given.push_back("COALESCE(" + part + ", '')");
    return Concat(given);
}

std::string SqlDialect::IntegerDivide(const std::string& left, const std::string& right) const {
    return "CAST((" + left + ") / (" + right + ") AS INTEGER)";
}

std::string SqlDialect::Power(const std::string& base, const std::string& exponent) const {
    return "POWER(" + base + ", " + exponent + ")";
}

const ServerKey* ServerTable::PrimaryKey() const {
    for (const ServerKey& key : keys) {
        if (key.primary) return &key;
    }
    return nullptr;
}

const ServerColumn* ServerTable::IdentityColumn() const {
    for (const ServerColumn& column : columns) {
        if (column.identity) return &column;
    }
    return nullptr;
}

std::string SqlDialect::DropTable(std::string_view table) { return "DROP TABLE " + Quote(table); }

std::string SqlDialect::CreateView(std::string_view name, const std::string& select) {
    return "CREATE VIEW " + Quote(name) + " AS " + select;
}

std::string SqlDialect::DropView(std::string_view name, bool ifExists) {
    return std::string("DROP VIEW ") + (ifExists ? "IF EXISTS " : "") + Quote(name);
}

bool SqlDialect::HasForeignKey(const TableInfo& table, std::string_view name) {
    for (const RelationInfo& relation : Relations()) {
        if (utf8::EqualsIgnoreCase(relation.foreignTable, table.name) &&
            utf8::EqualsIgnoreCase(relation.name, name)) {
            return true;
        }
    }
    return false;
}

}  // namespace vorn
