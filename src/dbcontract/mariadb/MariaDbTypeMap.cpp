#include "dbcontract/mariadb/MariaDbTypeMap.h"

#include "dbcontract/DaoConstants.h"
#include "runtime/Utf8.h"

namespace vorn {

namespace {

constexpr unsigned kBinaryCharset = 63;
constexpr int kCurrencyPrecision = 19;
constexpr int kCurrencyScale = 4;

struct TypeAndSize {
    std::int16_t type;
    std::int32_t size;
};

bool IsOneOf(const std::string& word, std::initializer_list<const char*> words) {
    for (const char* candidate : words) {
        if (word == candidate) return true;
    }
    return false;
}

// The DAO type and Size of a column by its declared type.
TypeAndSize TypeOf(const MariaDbColumnType& column, const std::string& dataType) {
    const std::string columnType = utf8::ToLower(column.columnType);
    if (dataType == "tinyint") {
        // tinyint(1) is how this server spells a boolean.
        if (columnType.starts_with("tinyint(1)")) return {dao::dbBoolean, 1};
        return {dao::dbByte, 1};
    }
    if (dataType == "bit") return {dao::dbBoolean, 1};
    if (dataType == "smallint" || dataType == "year") return {dao::dbInteger, 2};
    if (dataType == "mediumint" || dataType == "int") return {dao::dbLong, 4};
    if (dataType == "bigint") return {dao::dbBigInt, 8};
    if (dataType == "decimal" || dataType == "numeric") {
        if (column.precision == kCurrencyPrecision && column.scale == kCurrencyScale) return {dao::dbCurrency, 8};
        return {dao::dbDecimal, 16};
    }
    if (dataType == "float") return {dao::dbSingle, 4};
    if (dataType == "double" || dataType == "real") return {dao::dbDouble, 8};
    if (IsOneOf(dataType, {"datetime", "date", "timestamp", "time"})) return {dao::dbDate, 8};
    if (IsOneOf(dataType, {"varchar", "char", "enum", "set"})) {
        return {dao::dbText, static_cast<std::int32_t>(column.charLength)};
    }
    if (IsOneOf(dataType, {"tinytext", "text", "mediumtext", "longtext", "json"})) return {dao::dbMemo, 0};
    if (dataType == "uuid") return {dao::dbGUID, 16};
    // varbinary, binary and the blobs.
    return {dao::dbLongBinary, 0};
}

bool IsVariable(std::int16_t type) {
    return type == dao::dbText || type == dao::dbMemo || type == dao::dbLongBinary;
}

}  // namespace

void MariaDbTypeMap::Describe(const MariaDbColumnType& column, FieldInfo& field) {
    const std::string dataType = utf8::ToLower(column.dataType);
    const TypeAndSize typeAndSize = TypeOf(column, dataType);
    field.type = typeAndSize.type;
    field.size = typeAndSize.size;
    field.attributes = IsVariable(field.type) ? dao::dbVariableField : dao::dbFixedField;
    if (utf8::ToLower(column.extra).find("auto_increment") != std::string::npos) {
        field.attributes |= dao::dbAutoIncrField;
    }
    if (field.type == dao::dbDecimal) {
        field.precision = static_cast<std::uint8_t>(column.precision);
        field.scale = static_cast<std::uint8_t>(column.scale);
    }
}

int MariaDbTypeMap::DecimalPrecision(const MYSQL_FIELD& field) {
    // The display length counts the sign (when signed) and the point.
    int precision = static_cast<int>(field.length);
    if (field.decimals > 0) --precision;
    if ((field.flags & UNSIGNED_FLAG) == 0) --precision;
    return precision;
}

std::int16_t MariaDbTypeMap::DaoTypeOfResult(const MYSQL_FIELD& field) {
    const bool binary = field.charsetnr == kBinaryCharset;
    switch (field.type) {
        case MYSQL_TYPE_TINY: return field.length == 1 ? dao::dbBoolean : dao::dbByte;
        case MYSQL_TYPE_BIT: return dao::dbBoolean;
        case MYSQL_TYPE_SHORT:
        case MYSQL_TYPE_YEAR: return dao::dbInteger;
        case MYSQL_TYPE_INT24:
        case MYSQL_TYPE_LONG: return dao::dbLong;
        case MYSQL_TYPE_LONGLONG: return dao::dbBigInt;
        case MYSQL_TYPE_DECIMAL:
        case MYSQL_TYPE_NEWDECIMAL:
            return DecimalPrecision(field) == kCurrencyPrecision && field.decimals == kCurrencyScale
                       ? dao::dbCurrency
                       : dao::dbDecimal;
        case MYSQL_TYPE_FLOAT: return dao::dbSingle;
        case MYSQL_TYPE_DOUBLE: return dao::dbDouble;
        case MYSQL_TYPE_DATE:
        case MYSQL_TYPE_NEWDATE:
        case MYSQL_TYPE_TIME:
        case MYSQL_TYPE_DATETIME:
        case MYSQL_TYPE_TIMESTAMP: return dao::dbDate;
        case MYSQL_TYPE_TINY_BLOB:
        case MYSQL_TYPE_MEDIUM_BLOB:
        case MYSQL_TYPE_LONG_BLOB:
        case MYSQL_TYPE_BLOB: return binary ? dao::dbLongBinary : dao::dbMemo;
        case MYSQL_TYPE_NULL: return dao::dbText;
        default: return binary ? dao::dbLongBinary : dao::dbText;
    }
}

std::string MariaDbTypeMap::ServerType(const FieldInfo& field) {
    const bool counter = (field.attributes & dao::dbAutoIncrField) != 0 || field.type == dao::dbCounter;
    std::string type;
    switch (field.type) {
        case dao::dbBoolean: type = "TINYINT(1)"; break;
        case dao::dbByte: type = "TINYINT UNSIGNED"; break;
        case dao::dbInteger: type = "SMALLINT"; break;
        case dao::dbLong:
        case dao::dbCounter: type = "INT"; break;
        case dao::dbBigInt: type = "BIGINT"; break;
        case dao::dbCurrency: type = "DECIMAL(19,4)"; break;
        case dao::dbSingle: type = "FLOAT"; break;
        case dao::dbDouble:
        case dao::dbFloat: type = "DOUBLE"; break;
        case dao::dbDate:
        case dao::dbTime:
        case dao::dbTimeStamp: type = "DATETIME"; break;
        case dao::dbText:
        case dao::dbChar: type = "VARCHAR(" + std::to_string(field.size > 0 ? field.size : 255) + ")"; break;
        case dao::dbMemo: type = "LONGTEXT"; break;
        case dao::dbBinary:
        case dao::dbVarBinary: type = "VARBINARY(" + std::to_string(field.size > 0 ? field.size : 255) + ")"; break;
        case dao::dbGUID: type = "CHAR(38)"; break;
        case dao::dbDecimal:
        case dao::dbNumeric:
            type = "DECIMAL(" + std::to_string(field.precision > 0 ? field.precision : 18) + "," +
                   std::to_string(field.scale) + ")";
            break;
        default: type = "LONGBLOB"; break;
    }
    return counter ? type + " AUTO_INCREMENT" : type;
}

}  // namespace vorn
