#include "dbcontract/ServerConnection.h"

#include <cstdlib>

#include "dbcontract/DaoConstants.h"
#include "dbcontract/ProviderRules.h"
#include "runtime/Conversions.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/Utf8.h"

namespace vorn {
namespace {

bool Contains(std::string_view text, std::string_view word) {
    return text.find(word) != std::string_view::npos;
}

bool StartsWith(std::string_view text, std::string_view word) {
    return text.substr(0, word.size()) == word;
}

// The numbers in the first parentheses of a declared type: "(50)" gives
// {50}, "(18, 4)" {18, 4}, "(max)" {-1}.
std::vector<long> TypeArguments(std::string_view declared) {
    std::vector<long> numbers;
    const auto open = declared.find('(');
    const auto close = declared.find(')', open);
    if (open == std::string_view::npos || close == std::string_view::npos) return numbers;
    const std::string inside{declared.substr(open + 1, close - open - 1)};
    if (Contains(inside, "max")) return {-1};
    const char* p = inside.c_str();
    while (*p != '\0') {
        char* end = nullptr;
        const long n = std::strtol(p, &end, 10);
        if (end == p) {
            ++p;
            continue;
        }
        numbers.push_back(n);
        p = end;
    }
    return numbers;
}

void SetType(FieldInfo& field, std::int16_t type, std::int32_t size) {
    field.type = type;
    field.size = size;
}

// Text types: sized ones are 10 up to 255 characters, the rest memo.
bool MapTextType(std::string_view t, const std::vector<long>& args, FieldInfo& field) {
    const bool textual = Contains(t, "char") || Contains(t, "text") || Contains(t, "clob") ||
                         Contains(t, "character") || Contains(t, "string");
    if (!textual) return false;
    const bool sized = !args.empty() && args.front() > 0;
    if (sized && !Contains(t, "ntext") && !Contains(t, "longtext") && !Contains(t, "mediumtext")) {
        SetType(field, dao::dbText, static_cast<std::int32_t>(args.front()));
    } else {
        SetType(field, dao::dbMemo, 0);
    }
    return true;
}

bool MapBinaryType(std::string_view t, const std::vector<long>& args, FieldInfo& field) {
    if (StartsWith(t, "binary") && !args.empty() && args.front() > 0 && args.front() <= 255) {
        SetType(field, dao::dbBinary, static_cast<std::int32_t>(args.front()));
        return true;
    }
    if (Contains(t, "binary") || Contains(t, "blob") || Contains(t, "image")) {
        SetType(field, dao::dbLongBinary, 0);
        return true;
    }
    return false;
}

bool MapIntegerType(std::string_view t, FieldInfo& field) {
    if (StartsWith(t, "bit") || StartsWith(t, "bool")) {
        SetType(field, dao::dbBoolean, 1);
    } else if (Contains(t, "tinyint")) {
        SetType(field, dao::dbByte, 1);
    } else if (Contains(t, "smallint")) {
        SetType(field, dao::dbInteger, 2);
    } else if (Contains(t, "bigint")) {
        SetType(field, dao::dbBigInt, 8);
    } else if (Contains(t, "int")) {
        SetType(field, dao::dbLong, 4);
    } else {
        return false;
    }
    return true;
}

bool MapNumberType(std::string_view t, const std::vector<long>& args, FieldInfo& field) {
    if (Contains(t, "money") || Contains(t, "currency")) {
        SetType(field, dao::dbCurrency, 8);
    } else if (StartsWith(t, "decimal") || StartsWith(t, "numeric")) {
        SetType(field, dao::dbDecimal, 17);
        field.precision = static_cast<std::uint8_t>(args.empty() ? 18 : args[0]);
        field.scale = static_cast<std::uint8_t>(args.size() < 2 ? 0 : args[1]);
    } else if (StartsWith(t, "real") && !Contains(t, "double")) {
        // SQL Server's real is the 4-byte single.
        SetType(field, dao::dbSingle, 4);
    } else if (Contains(t, "float") || Contains(t, "double")) {
        SetType(field, dao::dbDouble, 8);
    } else {
        return false;
    }
    return true;
}

}  // namespace

std::string ServerTarget::Describe() const {
    std::string text = ProviderDisplayName(provider) + ", server '" + server + "'";
    if (!database.empty()) text += ", database '" + database + "'";
    if (!user.empty()) text += ", user '" + user + "'";
    return text;
}

void MapDeclaredType(std::string_view declared, FieldInfo& field) {
    const std::string t = utf8::ToLower(utf8::Trim(declared));
    const std::vector<long> args = TypeArguments(t);
    field.precision = 0;
    field.scale = 0;
    if (MapIntegerType(t, field) || MapNumberType(t, args, field)) return;
    if (Contains(t, "date") || Contains(t, "time")) {
        SetType(field, dao::dbDate, 8);
    } else if (Contains(t, "uniqueidentifier") || Contains(t, "guid")) {
        SetType(field, dao::dbGUID, 16);
    } else if (!MapTextType(t, args, field) && !MapBinaryType(t, args, field)) {
        SetType(field, dao::dbMemo, 0);
    }
}

Variant ValueForField(const Variant& value, const FieldInfo& field) {
    if (value.IsNull() || value.IsEmpty()) return Variant::Null();
    try {
        switch (field.type) {
            case dao::dbBoolean:
                return CBool(value);
            case dao::dbByte:
                return CByte(value);
            case dao::dbInteger:
                return CInt(value);
            case dao::dbLong:
                return CLng(value);
            case dao::dbCurrency:
                return CCur(value);
            case dao::dbSingle:
                return CSng(value);
            case dao::dbDouble:
                return CDbl(value);
            case dao::dbDate:
                return CVDate(value);
            case dao::dbDecimal:
                return CDec(value);
            case dao::dbText:
            case dao::dbMemo:
                return value.IsText() ? value : Variant(CStr(value));
            default:
                return value;
        }
    } catch (const VornError& e) {
        throw ServerFailure("ServerConnection", "The value for field '" + field.name +
                                                    "' does not fit: " + e.Description());
    }
}

ServerConnection::JetQuery ServerConnection::PrepareJetQuery(std::string_view source, bool, std::string_view,
                                                             std::string_view, bool) {
    throw ServerFailure(ProviderDisplayName(Target().provider),
                        "Jet SQL is not rewritten for this engine: \"" + std::string(source) + "\"");
}

std::string ServerConnection::PrepareJetChange(std::string_view sql) {
    throw ServerFailure(ProviderDisplayName(Target().provider),
                        "Jet SQL is not rewritten for this engine: \"" + std::string(sql) + "\"");
}

VornError ServerFailure(std::string_view source, std::string_view message) {
    return VornError(errnum::kDalGenericFailure, std::string(source), std::string(message));
}

std::unique_ptr<ServerConnection> OpenServerConnection(const ServerTarget& target) {
    switch (target.provider) {
        case provider::kSqlite:
            return OpenSqliteServerConnection(target);
        case provider::kMySql:
            return OpenMariaDbConnection(target);
        default:
            break;
    }
    throw ServerFailure("DalConnection", "No database engine serves " +
                                             ProviderDisplayName(target.provider) +
                                             " in this build; use SQLite (16) or MySQL (8).");
}

}  // namespace vorn
