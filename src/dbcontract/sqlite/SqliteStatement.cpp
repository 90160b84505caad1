#include "dbcontract/sqlite/SqliteStatement.h"

#include <sqlite3.h>

#include <utility>

#include "dbcontract/sqlite/SqliteErrors.h"
#include "dbcontract/sqlite/SqliteHandle.h"
#include "dbcontract/sqlite/SqliteStatementCache.h"

namespace vorn {
namespace {

std::string FromNullable(const char* text) { return text != nullptr ? text : ""; }

}  // namespace

SqliteStatement::SqliteStatement(sqlite3* db, std::string_view sql) : db_(db), sql_(sql) {
    const char* tail = nullptr;
    const int rc =
        sqlite3_prepare_v2(db_, sql_.c_str(), static_cast<int>(sql_.size()), &statement_, &tail);
    if (rc != SQLITE_OK) throw SqliteErrors::FromHandle(db_);
    if (tail != nullptr) {
        tail_ = sql_.substr(static_cast<std::size_t>(tail - sql_.c_str()));
    }
}

SqliteStatement::SqliteStatement(const SqliteHandle& handle, std::string_view sql)
    : db_(handle.Get()), sql_(sql) {
    statement_ = handle.Statements()->Take(sql_);
    if (statement_ == nullptr) {
        const char* tail = nullptr;
        const int rc = sqlite3_prepare_v3(db_, sql_.c_str(), static_cast<int>(sql_.size()),
                                          SQLITE_PREPARE_PERSISTENT, &statement_, &tail);
        if (rc != SQLITE_OK) throw SqliteErrors::FromHandle(db_);
        // Only a single statement is kept: the tail of a longer text would
        // be lost on reuse.
        if (tail != nullptr && *tail != '\0') {
            tail_ = sql_.substr(static_cast<std::size_t>(tail - sql_.c_str()));
            return;
        }
    }
    cache_ = handle.Statements();
}

SqliteStatement::~SqliteStatement() { Release(); }

SqliteStatement::SqliteStatement(SqliteStatement&& other) noexcept
    : db_(other.db_),
      statement_(std::exchange(other.statement_, nullptr)),
      tail_(std::move(other.tail_)),
      sql_(std::move(other.sql_)),
      cache_(std::move(other.cache_)) {}

SqliteStatement& SqliteStatement::operator=(SqliteStatement&& other) noexcept {
    if (this != &other) {
        Release();
        db_ = other.db_;
        statement_ = std::exchange(other.statement_, nullptr);
        tail_ = std::move(other.tail_);
        sql_ = std::move(other.sql_);
        cache_ = std::move(other.cache_);
    }
    return *this;
}

void SqliteStatement::Release() noexcept {
    if (cache_) {
        cache_->Give(sql_, std::exchange(statement_, nullptr));
    } else {
        sqlite3_finalize(std::exchange(statement_, nullptr));
    }
}

SqliteStatement& SqliteStatement::Bind(int index, const StoredValue& value) {
    int rc = SQLITE_OK;
    if (const auto* number = std::get_if<std::int64_t>(&value)) {
        rc = sqlite3_bind_int64(statement_, index, *number);
    } else if (const auto* real = std::get_if<double>(&value)) {
        rc = sqlite3_bind_double(statement_, index, *real);
    } else if (const auto* text = std::get_if<std::string>(&value)) {
        rc = sqlite3_bind_text64(statement_, index, text->data(), text->size(), SQLITE_TRANSIENT,
                                 SQLITE_UTF8);
    } else if (const auto* blob = std::get_if<StoredBlob>(&value)) {
        // A zero-length blob is still a blob, not NULL.
        static constexpr std::uint8_t kNone = 0;
        rc = sqlite3_bind_blob64(statement_, index, blob->empty() ? &kNone : blob->data(),
                                 blob->size(), SQLITE_TRANSIENT);
    } else {
        rc = sqlite3_bind_null(statement_, index);
    }
    if (rc != SQLITE_OK) throw SqliteErrors::FromHandle(db_);
    return *this;
}

SqliteStatement& SqliteStatement::BindText(int index, std::string_view text) {
    return Bind(index, StoredValue(std::string(text)));
}

SqliteStatement& SqliteStatement::BindInt(int index, std::int64_t value) {
    return Bind(index, StoredValue(value));
}

bool SqliteStatement::Step() {
    const int rc = sqlite3_step(statement_);
    if (rc == SQLITE_ROW) return true;
    if (rc == SQLITE_DONE) return false;
    const auto error = SqliteErrors::FromHandle(db_);
    sqlite3_reset(statement_);
    throw error;
}

void SqliteStatement::Run() {
    while (Step()) {
    }
}

void SqliteStatement::Reset() noexcept { sqlite3_reset(statement_); }

int SqliteStatement::ColumnCount() const noexcept { return sqlite3_column_count(statement_); }

bool SqliteStatement::IsNull(int column) const noexcept {
    return sqlite3_column_type(statement_, column) == SQLITE_NULL;
}

StoredValue SqliteStatement::Column(int column) const {
    switch (sqlite3_column_type(statement_, column)) {
        case SQLITE_INTEGER:
            return static_cast<std::int64_t>(sqlite3_column_int64(statement_, column));
        case SQLITE_FLOAT:
            return sqlite3_column_double(statement_, column);
        case SQLITE_TEXT:
            return Text(column);
        case SQLITE_BLOB: {
            const auto* bytes =
                static_cast<const std::uint8_t*>(sqlite3_column_blob(statement_, column));
            const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement_, column));
            return bytes != nullptr ? StoredBlob(bytes, bytes + size) : StoredBlob();
        }
        default:
            return std::monostate{};
    }
}

std::string SqliteStatement::Text(int column) const {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement_, column));
    const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement_, column));
    return text != nullptr ? std::string(text, size) : std::string();
}

std::int64_t SqliteStatement::Int(int column) const noexcept {
    return sqlite3_column_int64(statement_, column);
}

std::string SqliteStatement::ColumnName(int column) const {
    return FromNullable(sqlite3_column_name(statement_, column));
}

std::string SqliteStatement::DeclaredType(int column) const {
    return FromNullable(sqlite3_column_decltype(statement_, column));
}

std::string SqliteStatement::OriginSchema(int column) const {
    return FromNullable(sqlite3_column_database_name(statement_, column));
}

std::string SqliteStatement::OriginTable(int column) const {
    return FromNullable(sqlite3_column_table_name(statement_, column));
}

std::string SqliteStatement::OriginField(int column) const {
    return FromNullable(sqlite3_column_origin_name(statement_, column));
}

bool SqliteStatement::ReadOnly() const noexcept { return sqlite3_stmt_readonly(statement_) != 0; }

}  // namespace vorn
