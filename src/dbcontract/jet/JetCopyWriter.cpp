#include "dbcontract/jet/JetCopyWriter.h"

#include <algorithm>

#include "dbcontract/DaoConstants.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/Utf8.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

constexpr std::int64_t kProgressEvery = 1000;
// The data engine's numbers for a broken validation rule of a table or field.
constexpr std::int32_t kTableRuleBroken = 3316;
constexpr std::int32_t kFieldRuleBroken = 3317;

bool IsSystemTable(const TableInfo& table) { return (table.attributes & dao::dbSystemObject) != 0; }
bool IsAttached(const TableInfo& table) { return !table.connect.empty(); }

}  // namespace

JetCopyWriter::JetCopyWriter(std::string source, DatabaseBackend& target, Mode mode, Progress progress)
    : source_(std::move(source)), target_(target), mode_(mode), progress_(std::move(progress)) {}

// Cursors are the engine's; they go before the writer does.
JetCopyWriter::~JetCopyWriter() = default;

bool JetCopyWriter::Try(const std::string& what, const std::function<void()>& write) {
    try {
        write();
        return true;
    } catch (const VornError& error) {
        warnings_.push_back("The " + what + " could not be copied: " + error.Description());
        return false;
    }
}

const TableInfo* JetCopyWriter::Designed(const std::string& table) const {
    for (const TableInfo& info : design_.tables) {
        if (info.name == table) return &info;
    }
    return nullptr;
}

void JetCopyWriter::Table(const TableInfo& table, std::int64_t storedRows) {
    design_.tables.push_back(table);
    const bool convert = mode_ == Mode::kConvert;
    if ((convert && IsSystemTable(table)) || (!convert && IsAttached(table))) {
        leftOut_.insert(table.name);
        return;
    }
    TableInfo copy = table;
    // Jet keeps a relation's foreign index with the table; here the relation
    // makes it, so it is left out until then.
    std::erase_if(copy.indexes, [](const IndexInfo& index) { return index.foreign; });
    total_ += std::max<std::int64_t>(storedRows, 0);
    if (Try("table '" + table.name + "'", [&] { target_.CreateTable(copy); })) design_.copied.insert(table.name);
}

void JetCopyWriter::Property(const PropertyOwnerKey& owner, const PropertyInfo& property) {
    if (!owner.table.empty() && !Copied(owner.table)) {
        // Kept for the design's answers; a table that was refused lost them
        // with its own warning.
        if (leftOut_.count(owner.table) != 0) design_.heldProperties[{owner.table, owner.field}].push_back(property);
        return;
    }
    std::string of = owner.table.empty() ? "the database" : "table '" + owner.table + "'";
    if (!owner.field.empty()) of = "field '" + owner.field + "' of " + of;
    Try("property '" + property.name + "' of " + of, [&] { target_.SaveProperty(owner, property); });
}

void JetCopyWriter::BeginRows(const std::string& table) {
    EndTableRows();
    rowsTable_ = table;
    rowCounts_[table] = 0;
    if (!Copied(table)) return;
    rowsDesign_ = *Designed(table);
    OpenRows();
}

void JetCopyWriter::OpenRows() {
    Try("rows of table '" + rowsTable_ + "'", [&] {
        rows_ = target_.OpenRows(RowRequest{.source = rowsTable_, .isTable = true, .type = dao::dbOpenTable,
                                            .options = 0, .filter = {}, .sort = {}});
    });
    if (!rows_) return;
    // The copy's columns are matched to the file's by name, whatever order
    // the engine keeps them in.
    const auto& columns = rows_->Columns();
    changes_.assign(columns.size(), std::nullopt);
    valueOf_.assign(columns.size(), rowsDesign_.fields.size());
    for (std::size_t c = 0; c < columns.size(); ++c) {
        for (std::size_t f = 0; f < rowsDesign_.fields.size(); ++f) {
            if (utf8::EqualsIgnoreCase(columns[c].name, rowsDesign_.fields[f].name)) valueOf_[c] = f;
        }
    }
}

void JetCopyWriter::Row(const std::vector<Variant>& values) {
    ++done_;
    if (progress_ && done_ % kProgressEvery == 0) progress_(rowsTable_, done_, std::max(total_, done_));
    if (!rows_) return;
    for (std::size_t i = 0; i < changes_.size(); ++i) {
        const std::size_t from = valueOf_[i];
        changes_[i] = from < values.size() ? std::optional<Variant>(values[from]) : std::nullopt;
    }
    for (int attempt = 0; attempt < 2; ++attempt) {
        try {
            rows_->Insert(changes_);
            ++rowCounts_[rowsTable_];
            return;
        } catch (const VornError& error) {
            if (attempt == 0 && Relax(values, error) && rows_) continue;
            if (refusedRows_++ == 0) firstRefusal_ = error.Description();
            return;
        }
    }
}

bool JetCopyWriter::Relax(const std::vector<Variant>& values, const VornError& refusal) {
    const bool ruleBroken = refusal.Number() == kFieldRuleBroken || refusal.Number() == kTableRuleBroken;
    std::vector<FieldInfo> relaxed;
    for (std::size_t i = 0; i < rowsDesign_.fields.size() && i < values.size(); ++i) {
        FieldInfo field = rowsDesign_.fields[i];
        const bool missing = field.required && values[i].IsNull();
        const bool empty = !field.allowZeroLength && values[i].IsText() && values[i].AsText().empty();
        const bool rule = ruleBroken && !field.validationRule.empty();
        if (!missing && !empty && !rule) continue;
        if (missing) field.required = false;
        if (empty) field.allowZeroLength = true;
        if (rule) field.validationRule.clear(), field.validationText.clear();
        relaxed.push_back(field);
    }
    if (relaxed.empty()) return false;
    rows_.reset();
    for (const FieldInfo& field : relaxed) {
        const std::string what = "rule of field '" + field.name + "' of table '" + rowsTable_ + "'";
        if (!Try(what, [&] { target_.AlterField(rowsTable_, field.name, field); })) continue;
        for (FieldInfo& kept : rowsDesign_.fields) {
            if (kept.name == field.name) kept = field;
        }
        if (mode_ == Mode::kConvert) {
            warnings_.push_back("Table '" + rowsTable_ + "', field '" + field.name +
                                "': a rule (Required, AllowZeroLength or ValidationRule) that rows of the file "
                                "break is not kept in the copy.");
        }
    }
    OpenRows();
    return true;
}

void JetCopyWriter::EndRows() {
    EndTableRows();
    if (progress_) progress_(rowsTable_, done_, std::max(total_, done_));
}

void JetCopyWriter::EndTableRows() {
    rows_.reset();
    if (refusedRows_ > 0) {
        warnings_.push_back("Table '" + rowsTable_ + "': " + std::to_string(refusedRows_) +
                            " row(s) could not be copied; the first because: " + firstRefusal_);
    }
    refusedRows_ = 0;
    firstRefusal_.clear();
}

void JetCopyWriter::Relation(const RelationInfo& relation) {
    design_.relations.push_back(relation);
    if (!Copied(relation.table) || !Copied(relation.foreignTable)) {
        const bool onPurpose = leftOut_.count(relation.table) != 0 || leftOut_.count(relation.foreignTable) != 0;
        if (!onPurpose) {
            warnings_.push_back("The relation '" + relation.name + "' could not be copied: its tables were not copied.");
        }
        return;
    }
    Try("relation '" + relation.name + "'", [&] { target_.CreateRelation(relation); });
}

void JetCopyWriter::Query(const QueryInfo& query) {
    design_.queries.push_back(query);
    try {
        target_.CreateQuery(query);
    } catch (const VornError& error) {
        // A served copy answers QueryDefs from the design; only a project
        // file of our own loses the query.
        if (mode_ == Mode::kConvert) {
            warnings_.push_back("The query '" + query.name + "' could not be copied: " + error.Description());
        }
    }
}

void JetCopyWriter::Warning(const std::string& text) { warnings_.push_back(text); }

void JetCopyWriter::Failure(std::int32_t number, const std::string& text) {
    rows_.reset();
    if (number == errnum::kJetDatabaseDamaged) {
        throw VornError(number, "DAO.DBEngine", "The database '" + source_ + "' is damaged and cannot be read: " + text + ".");
    }
    throw VornError(number, "DAO.DBEngine", "The database '" + source_ + "' cannot be read: " + text + ".");
}

}  // namespace vorn
