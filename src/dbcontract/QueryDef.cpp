#include "dbcontract/QueryDef.h"

#include "dbcontract/DaoConstants.h"
#include "dbcontract/DaoErrors.h"
#include "runtime/Conversions.h"
#include "runtime/ErrorNumbers.h"

namespace vorn {

QueryDef::QueryDef(std::string name, std::string sql) : name_(std::move(name)), sql_(std::move(sql)) {
    MakeBuiltIns();
}

std::shared_ptr<DatabaseBackend> QueryDef::Backend() const {
    auto backend = backend_.lock();
    if (!backend) throw VornError(errnum::kJetObjectInvalid, "DAO.QueryDef", "Object invalid or no longer set.");
    return backend;
}

void QueryDef::BindLive(std::weak_ptr<DatabaseBackend> backend, bool stored) {
    backend_ = std::move(backend);
    stored_ = stored;
}

void QueryDef::SetName(const std::string& name) {
    if (stored_) {
        throw VornError(errnum::kJetInvalidOperation, "DAO.QueryDef", "Invalid operation: the query is stored.");
    }
    name_ = name;
}

void QueryDef::SetSQL(const std::string& sql) {
    if (stored_) {
        WithDaoErrors([&] {
            // Replace the stored query whole, and put the old one back if the
            // new text is refused.
            const auto backend = Backend();
            backend->DropQuery(name_);
            try {
                backend->CreateQuery({name_, sql});
            } catch (...) {
                backend->CreateQuery({name_, sql_});
                throw;
            }
        });
    }
    sql_ = sql;
}

std::unique_ptr<Recordset> QueryDef::OpenRecordset(std::int32_t type, std::int32_t options) {
    if (type == 0) type = dao::dbOpenDynaset;
    RowRequest request{.source = sql_, .isTable = false, .type = type, .options = options, .filter = {}, .sort = {}};
    std::weak_ptr<DatabaseBackend> weak = backend_;
    Recordset::Opener opener = [weak](const RowRequest& r) {
        auto backend = weak.lock();
        if (!backend) throw VornError(errnum::kJetObjectInvalid, "DAO.QueryDef", "Object invalid or no longer set.");
        return WithDaoErrors([&] { return backend->OpenRows(r); });
    };
    auto rows = opener(request);
    return std::make_unique<Recordset>(request, std::move(rows), opener, backend_);
}

std::int64_t QueryDef::Execute(std::int32_t options) {
    return WithDaoErrors([&] { return Backend()->Execute(sql_, options); });
}

void QueryDef::MakeBuiltIns() {
    using P = Property;
    properties_.SetBuiltIns({
        P::BuiltIn("Name", dao::dbText, [this] { return Variant(name_); },
                   [this](const Variant& v) { SetName(CStr(v)); }),
        P::BuiltIn("SQL", dao::dbMemo, [this] { return Variant(sql_); },
                   [this](const Variant& v) { SetSQL(CStr(v)); }),
        P::BuiltIn("Updatable", dao::dbBoolean, [] { return Variant(true); }),
    });
}

}  // namespace vorn
