#include "dbcontract/mariadb/MariaDbRollbackJournal.h"

#include <algorithm>
#include <iterator>

#include "dbcontract/mariadb/MariaDbSqlText.h"
#include "runtime/Utf8.h"

namespace vorn {

namespace {

std::string Quote(std::string_view name) {
    return MariaDbSqlText::QuoteName(name);
}

}  // namespace

void MariaDbRollbackJournal::Start() {
    Clear();
    recording_ = true;
}

void MariaDbRollbackJournal::Clear() {
    recording_ = false;
    steps_.clear();
    pendingRows_.clear();
    madeTables_.clear();
    pending_.clear();
    losses_.clear();
}

void MariaDbRollbackJournal::Add(std::string sql, std::vector<Variant> params) {
    if (recording_) steps_.push_back({std::move(sql), std::move(params)});
}

bool MariaDbRollbackJournal::Made(std::string_view table) const {
    return std::any_of(madeTables_.begin(), madeTables_.end(),
                       [&](const std::string& made) { return utf8::CompareIgnoreCase(made, table) == 0; });
}

void MariaDbRollbackJournal::TableCreated(std::string_view table) {
    if (!recording_) return;
    madeTables_.emplace_back(table);
    Add("DROP TABLE IF EXISTS " + Quote(table));
}

void MariaDbRollbackJournal::ViewCreated(std::string_view view) {
    Add("DROP VIEW IF EXISTS " + Quote(view));
}

void MariaDbRollbackJournal::IndexCreated(std::string_view table, std::string_view index) {
    if (!Made(table)) Add("DROP INDEX IF EXISTS " + Quote(index) + " ON " + Quote(table));
}

void MariaDbRollbackJournal::ForeignKeyCreated(std::string_view table, std::string_view name) {
    if (!Made(table)) Add("ALTER TABLE " + Quote(table) + " DROP FOREIGN KEY IF EXISTS " + Quote(name));
}

void MariaDbRollbackJournal::ColumnAdded(std::string_view table, std::string_view column) {
    if (!Made(table)) Add("ALTER TABLE " + Quote(table) + " DROP COLUMN IF EXISTS " + Quote(column));
}

void MariaDbRollbackJournal::RowInserted(std::string_view table, const std::vector<std::string>& columns,
                                         std::vector<Variant> values, bool wholeRow) {
    if (!recording_ || Made(table) || columns.empty()) return;
    std::string sql = "DELETE FROM " + Quote(table) + " WHERE ";
    for (std::size_t i = 0; i < columns.size(); ++i) {
        // <=> matches Null to Null, as a row without a key may hold it.
        sql += (i == 0 ? "" : " AND ") + Quote(columns[i]) + " <=> ?";
    }
    if (wholeRow) sql += " LIMIT 1";
    pendingRows_.push_back({std::move(sql), std::move(values)});
}

void MariaDbRollbackJournal::RowsNumbered(std::string_view table, std::string_view counter, std::int64_t first,
                                          std::int64_t count) {
    if (!recording_ || Made(table) || count <= 0) return;
    pendingRows_.push_back({"DELETE FROM " + Quote(table) + " WHERE " + Quote(counter) + " BETWEEN ? AND ?",
                            {Variant::FromInteger(first), Variant::FromInteger(first + count - 1)}});
}

void MariaDbRollbackJournal::Unrecorded(std::string description) {
    if (recording_) pending_.push_back(std::move(description));
}

void MariaDbRollbackJournal::ImplicitCommit() {
    steps_.insert(steps_.end(), std::make_move_iterator(pendingRows_.begin()),
                  std::make_move_iterator(pendingRows_.end()));
    pendingRows_.clear();
    losses_.insert(losses_.end(), pending_.begin(), pending_.end());
    pending_.clear();
}

std::vector<MariaDbRollbackJournal::Step> MariaDbRollbackJournal::UndoSteps() const {
    return {steps_.rbegin(), steps_.rend()};
}

}  // namespace vorn
