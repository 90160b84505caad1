#include "dbcontract/Recordset.h"

#include <cstring>

#include "dbcontract/DaoConstants.h"
#include "dbcontract/DaoErrors.h"
#include "runtime/ErrorNumbers.h"

namespace vorn {
namespace {

// A failure of the recordset itself; kept in the engine's Errors as the
// engine's own failures are, so that a handler never reads an older one.
VornError DaoFailure(std::int32_t number, const std::string& text) {
    VornError error(number, "DAO.Recordset", text);
    EngineErrors().Record(error);
    return error;
}

Variant KeyAsBookmark(const RowSource::RowKey& key) {
    return Variant(Variant::Binary(key.begin(), key.end()));
}

// A bookmark of a recordset that can't change rows is its row's position.
RowSource::RowKey PositionKey(std::int64_t position) {
    RowSource::RowKey key(sizeof position, '\0');
    std::memcpy(key.data(), &position, sizeof position);
    return key;
}

}  // namespace

Recordset::Recordset(RowRequest request, std::unique_ptr<RowSource> rows, Opener opener,
                     std::weak_ptr<DatabaseBackend> database)
    : request_(std::move(request)), rows_(std::move(rows)), opener_(std::move(opener)),
      database_(std::move(database)) {
    BindFields();
    // An append-only recordset shows no rows, only the ones it adds.
    if ((request_.options & dao::dbAppendOnly) == 0) Fetch();
}

Recordset::~Recordset() = default;

void Recordset::BindFields() {
    std::vector<std::shared_ptr<Field>> fields;
    const auto& columns = Rows().Columns();
    for (std::size_t i = 0; i < columns.size(); ++i) {
        auto field = std::make_shared<Field>(columns[i]);
        field->Bind({.alter = nullptr,
                     .designFixed = true,
                     .getValue = [this, i] { return ValueAt(i); },
                     .setValue = [this, i](const Variant& v) { SetValueAt(i, v); }});
        fields.push_back(std::move(field));
    }
    fields_.Adopt(std::move(fields));
    using P = Property;
    properties_.SetBuiltIns({
        P::BuiltIn("Name", dao::dbText, [this] { return Variant(request_.source); }),
        P::BuiltIn("Type", dao::dbInteger, [this] { return Variant(static_cast<std::int16_t>(request_.type)); }),
        P::BuiltIn("Updatable", dao::dbBoolean, [this] { return Variant(Updatable()); }),
        P::BuiltIn("RecordCount", dao::dbLong, [this] { return Variant(RecordCount()); }),
        P::BuiltIn("EOF", dao::dbBoolean, [this] { return Variant(eof_); }),
        P::BuiltIn("BOF", dao::dbBoolean, [this] { return Variant(bof_); }),
        P::BuiltIn("Filter", dao::dbText, [this] { return Variant(request_.filter); }),
        P::BuiltIn("Sort", dao::dbText, [this] { return Variant(request_.sort); }),
        P::BuiltIn("EditMode", dao::dbInteger, [this] { return Variant(static_cast<std::int16_t>(editMode_)); }),
    });
}

RowSource& Recordset::Rows() {
    // The rows read through the database's connection: once it is closed
    // they are let go before anything can touch it.
    if (rows_ && database_.expired()) Close();
    if (!rows_) throw DaoFailure(errnum::kJetObjectInvalid, "Object invalid or no longer set.");
    return *rows_;
}

const RowSource& Recordset::Rows() const {
    if (!rows_ || database_.expired()) {
        throw DaoFailure(errnum::kJetObjectInvalid, "Object invalid or no longer set.");
    }
    return *rows_;
}

bool Recordset::Updatable() const {
    return rows_ && rows_->Updatable() && (request_.options & dao::dbReadOnly) == 0 &&
           request_.type != dao::dbOpenSnapshot && request_.type != dao::dbOpenForwardOnly;
}

// Reads the next row; keeps the count of rows reached.
bool Recordset::Fetch() {
    deleted_ = false;
    hasRow_ = Rows().Next(row_);
    if (!hasRow_) {
        eof_ = true;
        countComplete_ = true;
        return false;
    }
    ++position_;
    reached_ = std::max(reached_, position_ + 1);
    key_ = Rows().Updatable() ? Rows().CurrentKey() : PositionKey(position_);
    eof_ = false;
    bof_ = false;
    return true;
}

std::int32_t Recordset::RecordCount() const {
    if (request_.isTable && request_.type == dao::dbOpenTable && rows_) {
        if (const auto known = rows_->KnownCount()) return static_cast<std::int32_t>(*known);
    }
    return static_cast<std::int32_t>(reached_ + added_ - removed_);
}

void Recordset::RestartRows() {
    Rows().Restart();
    position_ = -1;
    // The rows read again include the ones added: they count among those
    // reached, so the count does not drop when they are read anew.
    reached_ += added_;
    added_ = 0;
}

void Recordset::MoveFirst() {
    CancelUpdate();
    RestartRows();
    if (!Fetch()) {
        bof_ = true;
        throw DaoFailure(errnum::kJetNoCurrentRecord, "No current record.");
    }
}

void Recordset::MoveLast() {
    CancelUpdate();
    // Past the end already, or rows were added after the ones read: read
    // the rows again to find the last one.
    if (!hasRow_ || added_ > 0) RestartRows();
    std::vector<Variant> last = row_;
    RowSource::RowKey lastKey = key_;
    std::int64_t lastPosition = position_;
    bool any = hasRow_;
    while (Fetch()) {
        last = row_;
        lastKey = key_;
        lastPosition = position_;
        any = true;
    }
    if (!any) throw DaoFailure(errnum::kJetNoCurrentRecord, "No current record.");
    // Stand on the last row, which the loop read past.
    row_ = std::move(last);
    key_ = std::move(lastKey);
    position_ = lastPosition;
    hasRow_ = true;
    eof_ = false;
}

void Recordset::MoveNext() {
    Rows();
    if (eof_) throw DaoFailure(errnum::kJetNoCurrentRecord, "No current record.");
    CancelUpdate();
    Fetch();
}

void Recordset::RefuseReadOnly() const {
    Rows();
    if (!Updatable()) {
        throw DaoFailure(errnum::kJetReadOnly, "Cannot update. Database or object is read-only.");
    }
}

void Recordset::RequireCurrentRow() const {
    Rows();
    if (!hasRow_ || eof_ || deleted_) throw DaoFailure(errnum::kJetNoCurrentRecord, "No current record.");
}

void Recordset::AddNew() {
    RefuseReadOnly();
    editMode_ = 2;
    pending_.assign(Rows().Columns().size(), std::nullopt);
}

void Recordset::Edit() {
    RefuseReadOnly();
    RequireCurrentRow();
    editMode_ = 1;
    pending_.assign(Rows().Columns().size(), std::nullopt);
}

void Recordset::Update() {
    if (editMode_ == 0) throw DaoFailure(errnum::kJetUpdateWithoutEdit, "Update or CancelUpdate without AddNew or Edit.");
    WithDaoErrors([&] {
        if (editMode_ == 2) {
            lastModified_ = Rows().Insert(pending_);
            ++added_;
        } else {
            Rows().Update(key_, pending_);
            lastModified_ = key_;
            Rows().Read(key_, row_);
        }
    });
    editMode_ = 0;
    pending_.clear();
}

void Recordset::CancelUpdate() {
    editMode_ = 0;
    pending_.clear();
}

void Recordset::Delete() {
    RefuseReadOnly();
    RequireCurrentRow();
    CancelUpdate();
    WithDaoErrors([&] { Rows().Delete(key_); });
    deleted_ = true;
    ++removed_;
}

Variant Recordset::ValueAt(std::size_t column) const {
    if (editMode_ != 0 && pending_[column]) return *pending_[column];
    if (editMode_ == 2) return Variant::Null();
    RequireCurrentRow();
    return row_[column];
}

void Recordset::SetValueAt(std::size_t column, const Variant& value) {
    if (editMode_ == 0) throw DaoFailure(errnum::kJetUpdateWithoutEdit, "Update or CancelUpdate without AddNew or Edit.");
    pending_[column] = Field::Coerce(Rows().Columns()[column], value);
}

Variant Recordset::Bookmark() const {
    RequireCurrentRow();
    return KeyAsBookmark(key_);
}

void Recordset::SetBookmark(const Variant& bookmark) {
    if (!bookmark.IsBinary()) throw DaoFailure(errnum::kJetInvalidArgument, "Not a valid bookmark.");
    const RowSource::RowKey key(bookmark.AsBinary().begin(), bookmark.AsBinary().end());
    CancelUpdate();
    if (Rows().Updatable()) {
        // Stand on the row in the rows read, so that MoveNext goes on from it.
        RestartRows();
        while (Fetch()) {
            if (key_ == key) return;
        }
        // A row outside the rows read (added, or no longer matching) is
        // still current; after it comes the end.
        if (!Rows().Read(key, row_)) throw DaoFailure(errnum::kJetInvalidArgument, "Not a valid bookmark.");
        key_ = key;
        hasRow_ = true;
        eof_ = bof_ = deleted_ = false;
        return;
    }
    // Read-only rows are found again by their position.
    std::int64_t wanted = 0;
    if (key.size() != sizeof wanted) throw DaoFailure(errnum::kJetInvalidArgument, "Not a valid bookmark.");
    std::memcpy(&wanted, key.data(), sizeof wanted);
    if (wanted < position_ || !hasRow_) {
        Rows().Restart();
        position_ = -1;
    }
    while (position_ < wanted && Fetch()) {
    }
    if (position_ != wanted || !hasRow_) throw DaoFailure(errnum::kJetInvalidArgument, "Not a valid bookmark.");
}

Variant Recordset::LastModified() const {
    if (lastModified_.empty()) throw DaoFailure(errnum::kJetNoCurrentRecord, "No current record.");
    return KeyAsBookmark(lastModified_);
}

std::unique_ptr<Recordset> Recordset::OpenRecordset(std::int32_t type, std::int32_t options) {
    RowRequest request = request_;
    if (type != 0) request.type = type;
    request.options = options;
    // A filtered recordset is no longer the table opened whole.
    if (!request.filter.empty() || !request.sort.empty()) {
        if (request.type == dao::dbOpenTable) request.type = dao::dbOpenDynaset;
    }
    return std::make_unique<Recordset>(request, opener_(request), opener_, database_);
}

void Recordset::Close() {
    CancelUpdate();
    rows_.reset();
    hasRow_ = false;
    eof_ = bof_ = true;
}

}  // namespace vorn
