#include "dbcontract/sqlite/SqliteRowSource.h"

#include "dbcontract/DaoConstants.h"
#include "dbcontract/sqlite/SqliteDdl.h"
#include "dbcontract/sqlite/SqliteErrors.h"
#include "dbcontract/sqlite/SqliteHandle.h"
#include "dbcontract/sqlite/SqliteValueCodec.h"
#include "runtime/ErrorNumbers.h"

namespace vorn {
namespace {

VornError RecordDeleted() {
    return SqliteErrors::Jet(errnum::kJetRecordDeleted, "Record is deleted.");
}

}  // namespace

SqliteRowSource::SqliteRowSource(const SqliteHandle& db, Setup setup)
    : db_(db), setup_(std::move(setup)), select_(db.Get(), setup_.selectSql) {
    InferUntypedColumns();
}

SqliteRowSource::RowKey SqliteRowSource::KeyOf(std::int64_t rowid) {
    RowKey key(sizeof rowid, '\0');
    const auto bits = static_cast<std::uint64_t>(rowid);
    for (std::size_t i = 0; i < sizeof rowid; ++i)
        key[i] = static_cast<char>((bits >> (8 * i)) & 0xFF);
    return key;
}

std::int64_t SqliteRowSource::RowidOf(const RowKey& key) {
    if (key.size() != sizeof(std::int64_t)) {
        throw SqliteErrors::Jet(errnum::kJetInvalidArgument, "Not a valid bookmark.");
    }
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < key.size(); ++i) {
        bits |= static_cast<std::uint64_t>(static_cast<unsigned char>(key[i])) << (8 * i);
    }
    return static_cast<std::int64_t>(bits);
}

// Computed columns have no design type: the first row tells it. That row is
// kept for the first Next.
void SqliteRowSource::InferUntypedColumns() {
    bool anyUntyped = false;
    for (const bool typed : setup_.typed) anyUntyped = anyUntyped || !typed;
    if (!anyUntyped || !select_.Step()) return;
    pending_ = true;
    for (std::size_t i = 0; i < setup_.columns.size(); ++i) {
        if (setup_.typed[i]) continue;
        auto& column = setup_.columns[i];
        column.type = SqliteValueCodec::UntypedDaoType(select_.Column(static_cast<int>(i)));
        column.size = SqliteValueCodec::FixedSize(column.type);
        if (column.type == dao::dbText) column.size = 255;
    }
}

void SqliteRowSource::ReadRow(const SqliteStatement& statement, std::vector<Variant>& row) const {
    row.clear();
    row.reserve(setup_.columns.size());
    for (std::size_t i = 0; i < setup_.columns.size(); ++i) {
        const auto stored = statement.Column(static_cast<int>(i));
        row.push_back(setup_.typed[i] ? SqliteValueCodec::Decode(stored, setup_.columns[i].type)
                                      : SqliteValueCodec::DecodeUntyped(stored));
    }
}

bool SqliteRowSource::Next(std::vector<Variant>& row) {
    // Stepped again once done, the statement would start over from the
    // first row: the end stays the end until Restart.
    if (done_) return false;
    if (pending_) {
        pending_ = false;
    } else if (!select_.Step()) {
        done_ = true;
        return false;
    }
    if (Updatable()) currentRowid_ = select_.Int(RowKeyColumn());
    ReadRow(select_, row);
    return true;
}

void SqliteRowSource::Restart() {
    select_.Reset();
    pending_ = false;
    done_ = false;
    currentRowid_ = 0;
}

std::optional<std::int64_t> SqliteRowSource::KnownCount() {
    if (!setup_.countSql) return std::nullopt;
    SqliteStatement count(db_, *setup_.countSql);
    return count.Step() ? count.Int(0) : 0;
}

SqliteRowSource::RowKey SqliteRowSource::CurrentKey() const { return KeyOf(currentRowid_); }

const SqliteRowSource::Target& SqliteRowSource::WriteTarget() const {
    if (!setup_.target) throw SqliteErrors::ReadOnly(setup_.readOnlyReason);
    return *setup_.target;
}

std::string SqliteRowSource::TargetName() const {
    return SqliteDdl::Qualified(WriteTarget().schema, WriteTarget().table);
}

const FieldInfo& SqliteRowSource::WritableField(std::size_t i, bool inserting) const {
    const auto& field = WriteTarget().fields.at(i);
    if (!field || (!inserting && SqliteDdl::IsCounter(*field))) {
        throw SqliteErrors::Jet(errnum::kJetFieldNotUpdatable,
                                "Field '" + setup_.columns.at(i).name + "' cannot be updated.");
    }
    return *field;
}

SqliteRowSource::RowKey SqliteRowSource::Insert(const Changes& values) {
    std::vector<bool> columns(setup_.columns.size(), false);
    std::vector<StoredValue> stored;
    for (std::size_t i = 0; i < values.size() && i < setup_.columns.size(); ++i) {
        if (!values[i]) continue;
        columns[i] = true;
        stored.push_back(SqliteValueCodec::Encode(*values[i], WritableField(i, true)));
    }
    if (!insert_ || columns != insertColumns_) {
        insert_.reset();
        insert_.emplace(db_, InsertSql(columns));
        insertColumns_ = std::move(columns);
    }
    insert_->Reset();
    for (std::size_t i = 0; i < stored.size(); ++i) insert_->Bind(static_cast<int>(i + 1), stored[i]);
    insert_->Run();
    return KeyOf(db_.LastInsertRowid());
}

std::string SqliteRowSource::InsertSql(const std::vector<bool>& columns) const {
    const std::string table = TargetName();
    std::vector<std::string> names;
    std::vector<std::string> markers;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (!columns[i]) continue;
        names.push_back(SqliteDdl::Quote(WritableField(i, true).name));
        markers.push_back("?" + std::to_string(names.size()));
    }
    if (names.empty()) return "INSERT INTO " + table + " DEFAULT VALUES";
    return "INSERT INTO " + table + " (" + SqliteDdl::Join(names, ", ") + ") VALUES (" +
           SqliteDdl::Join(markers, ", ") + ")";
}

void SqliteRowSource::Update(const RowKey& key, const Changes& changes) {
    const std::string table = TargetName();
    std::vector<std::string> sets;
    std::vector<StoredValue> stored;
    for (std::size_t i = 0; i < changes.size() && i < setup_.columns.size(); ++i) {
        if (!changes[i]) continue;
        const auto& field = WritableField(i, false);
        stored.push_back(SqliteValueCodec::Encode(*changes[i], field));
        sets.push_back(SqliteDdl::Quote(field.name) + " = ?" + std::to_string(stored.size()));
    }
    const auto rowid = RowidOf(key);
    if (sets.empty()) {
        std::vector<Variant> unchanged;
        if (!Read(key, unchanged)) throw RecordDeleted();
        return;
    }
    SqliteStatement update(db_, "UPDATE " + table + " SET " + SqliteDdl::Join(sets, ", ") +
                                          " WHERE _rowid_ = ?" + std::to_string(stored.size() + 1));
    for (std::size_t i = 0; i < stored.size(); ++i) update.Bind(static_cast<int>(i + 1), stored[i]);
    update.BindInt(static_cast<int>(stored.size() + 1), rowid).Run();
    if (db_.Changes() == 0) throw RecordDeleted();
}

void SqliteRowSource::Delete(const RowKey& key) {
    SqliteStatement remove(db_, "DELETE FROM " + TargetName() + " WHERE _rowid_ = ?1");
    remove.BindInt(1, RowidOf(key)).Run();
    if (db_.Changes() == 0) throw RecordDeleted();
}

bool SqliteRowSource::Read(const RowKey& key, std::vector<Variant>& row) {
    const auto& target = WriteTarget();
    std::vector<std::string> columns;
    for (const auto& field : target.fields) {
        columns.push_back(field ? SqliteDdl::Quote(field->name) : "NULL");
    }
    SqliteStatement read(db_, "SELECT " + SqliteDdl::Join(columns, ", ") + " FROM " +
                                        TargetName() + " WHERE _rowid_ = ?1");
    read.BindInt(1, RowidOf(key));
    if (!read.Step()) return false;
    ReadRow(read, row);
    return true;
}

}  // namespace vorn
