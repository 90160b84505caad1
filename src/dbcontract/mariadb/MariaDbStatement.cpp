#include "dbcontract/mariadb/MariaDbStatement.h"

#include <charconv>
#include <cstring>
#include <limits>

#include "dbcontract/DaoConstants.h"
#include "dbcontract/mariadb/MariaDbTypeMap.h"
#include "runtime/DateSerial.h"
#include "runtime/VornError.h"

namespace vorn {

namespace {

constexpr unsigned long kInitialTextBuffer = 256;
constexpr double kMicrosecondsPerDay = 86400.0 * 1e6;

bool IsTemporal(enum_field_types type) {
    return type == MYSQL_TYPE_DATE || type == MYSQL_TYPE_NEWDATE || type == MYSQL_TYPE_DATETIME ||
           type == MYSQL_TYPE_TIMESTAMP || type == MYSQL_TYPE_TIME;
}

bool IsInteger(enum_field_types type) {
    return type == MYSQL_TYPE_TINY || type == MYSQL_TYPE_SHORT || type == MYSQL_TYPE_LONG ||
           type == MYSQL_TYPE_INT24 || type == MYSQL_TYPE_LONGLONG || type == MYSQL_TYPE_YEAR;
}

// "-12.5" as a count of ten-thousandths; the server writes DECIMAL(19,4)
// with exactly four decimals, shorter text is padded.
Currency ParseCurrency(std::string_view text) {
    const bool negative = !text.empty() && text.front() == '-';
    if (negative) text.remove_prefix(1);
    const std::size_t point = text.find('.');
    std::string digits(text.substr(0, point));
    std::string fraction = point == std::string_view::npos ? "" : std::string(text.substr(point + 1));
    fraction.resize(4, '0');
    digits += fraction.substr(0, 4);
    std::int64_t scaled = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), scaled);
    return Currency::FromScaled(negative ? -scaled : scaled);
}

MYSQL_TIME TimeOfSerial(double serial) {
    const DateParts parts = DatePartsFromSerial(serial);
    MYSQL_TIME time{};
    time.year = static_cast<unsigned>(parts.year);
    time.month = static_cast<unsigned>(parts.month);
    time.day = static_cast<unsigned>(parts.day);
    time.hour = static_cast<unsigned>(parts.hour);
    time.minute = static_cast<unsigned>(parts.minute);
    time.second = static_cast<unsigned>(parts.second);
    time.time_type = MYSQL_TIMESTAMP_DATETIME;
    return time;
}

Variant SerialOfTime(const MYSQL_TIME& time) {
    if (time.time_type == MYSQL_TIMESTAMP_TIME) {
        double serial = TimeSerial(static_cast<int>(time.hour), static_cast<int>(time.minute),
                                   static_cast<int>(time.second));
        return Variant::FromDate(time.neg ? -serial : serial);
    }
    if (time.year == 0) return Variant::Null();  // the zero date stands for no date
    DateParts parts;
    parts.year = static_cast<int>(time.year);
    parts.month = static_cast<int>(time.month);
    parts.day = static_cast<int>(time.day);
    parts.hour = static_cast<int>(time.hour);
    parts.minute = static_cast<int>(time.minute);
    parts.second = static_cast<int>(time.second);
    double serial = DateSerialFromParts(parts);
    // Fractions of a second lie on the side of the time of day.
    const double fraction = static_cast<double>(time.second_part) / kMicrosecondsPerDay;
    serial += serial < 0 ? -fraction : fraction;
    return Variant::FromDate(serial);
}

// A whole number as the runtime's smallest kind that holds it, starting
// from the column's kind.
Variant IntegerValue(std::int16_t daoType, std::int64_t value) {
    if (daoType == dao::dbBoolean) return Variant(value != 0);
    if (daoType == dao::dbByte && value >= 0 && value <= 255) return Variant(static_cast<std::uint8_t>(value));
    if ((daoType == dao::dbByte || daoType == dao::dbInteger) && value >= std::numeric_limits<std::int16_t>::min() &&
        value <= std::numeric_limits<std::int16_t>::max()) {
        return Variant(static_cast<std::int16_t>(value));
    }
    return Variant::FromInteger(value);
}

}  // namespace

struct MariaDbStatement::ParamSlot {
    std::int64_t integer = 0;
    double real = 0;
    float single = 0;
    MYSQL_TIME time{};
    std::string bytes;
    unsigned long length = 0;
};

struct MariaDbStatement::ResultSlot {
    std::int64_t integer = 0;
    double real = 0;
    float single = 0;
    MYSQL_TIME time{};
    std::vector<char> bytes;
    unsigned long length = 0;
    my_bool isNull = 0;
    my_bool error = 0;
};

MariaDbStatement::MariaDbStatement(MariaDbHandle& handle, std::string_view sql)
    : stmt_(mysql_stmt_init(handle.get())) {
    if (!stmt_) handle.Fail();
    if (mysql_stmt_prepare(stmt_.get(), sql.data(), sql.size()) != 0) Fail();
    PrepareResult();
}

MariaDbStatement::~MariaDbStatement() = default;

void MariaDbStatement::Fail() const {
    RaiseMariaDbFailure(mysql_stmt_error(stmt_.get()));
}

std::size_t MariaDbStatement::ParameterCount() const {
    return mysql_stmt_param_count(stmt_.get());
}

// Binds each value with the server type of its kind.
void MariaDbStatement::BindParameters(const std::vector<Variant>& values) {
    if (values.size() != ParameterCount()) {
        RaiseMariaDbFailure("the statement has " + std::to_string(ParameterCount()) + " parameters, " +
                            std::to_string(values.size()) + " values were given");
    }
    params_.assign(values.size(), ParamSlot{});
    paramBinds_.assign(values.size(), MYSQL_BIND{});
    for (std::size_t i = 0; i < values.size(); ++i) {
        const Variant& value = values[i];
        ParamSlot& slot = params_[i];
        MYSQL_BIND& bind = paramBinds_[i];
        switch (value.Kind()) {
            case VariantKind::Empty:
            case VariantKind::Null: bind.buffer_type = MYSQL_TYPE_NULL; continue;
            case VariantKind::Boolean:
            case VariantKind::Byte:
            case VariantKind::Integer:
            case VariantKind::Long:
                // A true boolean is stored as 1, as a bit column holds it.
                slot.integer = value.IsBoolean() ? (value.AsBoolean() ? 1 : 0)
                                                 : static_cast<std::int64_t>(value.NumberValue());
                bind.buffer_type = MYSQL_TYPE_LONGLONG;
                bind.buffer = &slot.integer;
                continue;
            case VariantKind::Single:
                slot.single = value.AsSingle();
                bind.buffer_type = MYSQL_TYPE_FLOAT;
                bind.buffer = &slot.single;
                continue;
            case VariantKind::Double:
                slot.real = value.AsDouble();
                bind.buffer_type = MYSQL_TYPE_DOUBLE;
                bind.buffer = &slot.real;
                continue;
            case VariantKind::Date:
                slot.time = TimeOfSerial(value.AsDateSerial());
                bind.buffer_type = MYSQL_TYPE_DATETIME;
                bind.buffer = &slot.time;
                continue;
            case VariantKind::Currency:
            case VariantKind::Decimal:
                // Exact numbers travel as decimal text, never through a double.
                slot.bytes = value.Kind() == VariantKind::Currency ? value.AsCurrency().ToString()
                                                                   : value.AsDecimal().ToString();
                bind.buffer_type = MYSQL_TYPE_NEWDECIMAL;
                break;
            case VariantKind::Text:
                slot.bytes = value.AsText();
                bind.buffer_type = MYSQL_TYPE_STRING;
                break;
            case VariantKind::Binary:
                slot.bytes.assign(value.AsBinary().begin(), value.AsBinary().end());
                bind.buffer_type = MYSQL_TYPE_BLOB;
                break;
            case VariantKind::Array: throw VornError::TypeMismatch("MariaDbStatement");
        }
        slot.length = static_cast<unsigned long>(slot.bytes.size());
        bind.buffer = slot.bytes.data();
        bind.buffer_length = slot.length;
        bind.length = &slot.length;
    }
    if (!paramBinds_.empty() && mysql_stmt_bind_param(stmt_.get(), paramBinds_.data()) != 0) Fail();
}

// Describes the result's columns and gives each a buffer of its kind.
void MariaDbStatement::PrepareResult() {
    const MariaDbResultPtr meta(mysql_stmt_result_metadata(stmt_.get()));
    if (!meta) return;
    const unsigned count = mysql_num_fields(meta.get());
    const MYSQL_FIELD* fields = mysql_fetch_fields(meta.get());
    results_.assign(count, ResultSlot{});
    resultBinds_.assign(count, MYSQL_BIND{});
    for (unsigned i = 0; i < count; ++i) {
        const MYSQL_FIELD& field = fields[i];
        MariaDbColumn column;
        column.name.assign(field.name, field.name_length);
        column.table.assign(field.table, field.table_length);
        column.orgTable.assign(field.org_table, field.org_table_length);
        column.orgName.assign(field.org_name, field.org_name_length);
        column.daoType = MariaDbTypeMap::DaoTypeOfResult(field);
        column.size = static_cast<std::int32_t>(field.length);
        column.autoIncrement = (field.flags & AUTO_INCREMENT_FLAG) != 0;
        column.primaryKey = (field.flags & PRI_KEY_FLAG) != 0;
        column.notNull = (field.flags & NOT_NULL_FLAG) != 0;
        columns_.push_back(std::move(column));

        ResultSlot& slot = results_[i];
        MYSQL_BIND& bind = resultBinds_[i];
        bind.is_null = &slot.isNull;
        bind.error = &slot.error;
        bind.length = &slot.length;
        if (IsInteger(field.type)) {
            bind.buffer_type = MYSQL_TYPE_LONGLONG;
            bind.buffer = &slot.integer;
            bind.is_unsigned = (field.flags & UNSIGNED_FLAG) != 0;
        } else if (field.type == MYSQL_TYPE_FLOAT) {
            bind.buffer_type = MYSQL_TYPE_FLOAT;
            bind.buffer = &slot.single;
        } else if (field.type == MYSQL_TYPE_DOUBLE) {
            bind.buffer_type = MYSQL_TYPE_DOUBLE;
            bind.buffer = &slot.real;
        } else if (IsTemporal(field.type)) {
            bind.buffer_type = field.type;
            bind.buffer = &slot.time;
        } else {
            slot.bytes.resize(kInitialTextBuffer);
            bind.buffer_type = MYSQL_TYPE_BLOB;
            bind.buffer = slot.bytes.data();
            bind.buffer_length = kInitialTextBuffer;
        }
    }
}

std::uint64_t MariaDbStatement::Execute(const std::vector<Variant>& values) {
    BindParameters(values);
    if (mysql_stmt_execute(stmt_.get()) != 0) Fail();
    if (columns_.empty()) return mysql_stmt_affected_rows(stmt_.get());
    if (mysql_stmt_bind_result(stmt_.get(), resultBinds_.data()) != 0) Fail();
    if (mysql_stmt_store_result(stmt_.get()) != 0) Fail();
    return mysql_stmt_num_rows(stmt_.get());
}

std::uint64_t MariaDbStatement::InsertId() const {
    return mysql_stmt_insert_id(stmt_.get());
}

bool MariaDbStatement::Fetch(std::vector<Variant>& row) {
    if (columns_.empty()) return false;
    const int status = mysql_stmt_fetch(stmt_.get());
    if (status == MYSQL_NO_DATA) return false;
    if (status == 1) Fail();
    row.clear();
    for (std::size_t i = 0; i < columns_.size(); ++i) row.push_back(ReadColumn(i));
    return true;
}

void MariaDbStatement::Rewind() {
    mysql_stmt_data_seek(stmt_.get(), 0);
}

// The value of column `index` of the row just fetched.
Variant MariaDbStatement::ReadColumn(std::size_t index) {
    ResultSlot& slot = results_[index];
    MYSQL_BIND& bind = resultBinds_[index];
    const std::int16_t daoType = columns_[index].daoType;
    if (slot.isNull) return Variant::Null();
    if (bind.buffer_type == MYSQL_TYPE_LONGLONG) {
        if (bind.is_unsigned && static_cast<std::uint64_t>(slot.integer) > std::numeric_limits<std::int64_t>::max()) {
            return Variant(static_cast<double>(static_cast<std::uint64_t>(slot.integer)));
        }
        return IntegerValue(daoType, slot.integer);
    }
    if (bind.buffer_type == MYSQL_TYPE_FLOAT) return Variant(slot.single);
    if (bind.buffer_type == MYSQL_TYPE_DOUBLE) return Variant(slot.real);
    if (IsTemporal(bind.buffer_type)) return SerialOfTime(slot.time);

    // Text, binary, decimal and bit values: read whole when longer than the buffer.
    std::string bytes;
    if (slot.length > bind.buffer_length) {
        bytes.resize(slot.length);
        MYSQL_BIND whole{};
        whole.buffer_type = MYSQL_TYPE_BLOB;
        whole.buffer = bytes.data();
        whole.buffer_length = slot.length;
        if (mysql_stmt_fetch_column(stmt_.get(), &whole, static_cast<unsigned>(index), 0) != 0) Fail();
    } else {
        bytes.assign(slot.bytes.data(), slot.length);
    }
    if (daoType == dao::dbBoolean) {
        bool any = false;
        for (const char c : bytes) any = any || (c != 0 && c != '0');
        return Variant(any);
    }
    if (daoType == dao::dbCurrency) return Variant(ParseCurrency(bytes));
    if (daoType == dao::dbDecimal) {
        if (auto decimal = Decimal::Parse(bytes)) return Variant(*decimal);
        return Variant(bytes);
    }
    if (daoType == dao::dbLongBinary) return Variant(Variant::Binary(bytes.begin(), bytes.end()));
    return Variant(std::move(bytes));
}

}  // namespace vorn
