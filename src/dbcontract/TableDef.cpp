#include "dbcontract/TableDef.h"

#include "dbcontract/DaoConstants.h"
#include "dbcontract/DaoErrors.h"
#include "runtime/Conversions.h"
#include "runtime/ErrorNumbers.h"

namespace vorn {
namespace {

VornError NoLongerSet() {
    return VornError(errnum::kJetObjectInvalid, "DAO.TableDef", "Object invalid or no longer set.");
}

// The user-defined properties of one owner, as the engine keeps them.
Properties::Store PropertyStore(std::weak_ptr<DatabaseBackend> weak, std::function<PropertyOwnerKey()> owner) {
    auto backend = [weak] {
        auto b = weak.lock();
        if (!b) throw NoLongerSet();
        return b;
    };
    return {.save = [backend, owner](const Property& p) {
                WithDaoErrors([&] { backend()->SaveProperty(owner(), {p.Name(), p.Type(), p.Value()}); });
            },
            .remove = [backend, owner](std::string_view name) {
                WithDaoErrors([&] { backend()->DeleteProperty(owner(), name); });
            },
            .load = [backend, owner] {
                std::vector<std::shared_ptr<Property>> loaded;
                for (const PropertyInfo& p : backend()->ReadProperties(owner())) {
                    loaded.push_back(std::make_shared<Property>(p.name, p.type, p.value));
                }
                return loaded;
            }};
}

}  // namespace

TableDef::TableDef(std::string name, std::int32_t attributes, std::string sourceTableName, std::string connect) {
    info_.name = std::move(name);
    info_.attributes = attributes;
    info_.sourceTableName = std::move(sourceTableName);
    info_.connect = std::move(connect);
    fields_.SetHooks({.append = nullptr, .remove = nullptr, .refresh = nullptr,
                      .duplicateNumber = errnum::kJetFieldDefinedTwice});
    fields_.Adopt({});
    indexes_.SetHooks({.append = nullptr, .remove = nullptr, .refresh = nullptr,
                       .duplicateNumber = errnum::kJetIndexAlreadyExists});
    indexes_.Adopt({});
    MakeBuiltIns();
}

TableDef::TableDef(const TableInfo& info, std::weak_ptr<DatabaseBackend> backend) : TableDef(info.name) {
    info_ = info;
    SetFieldsAndIndexes(info);
    BindLive(std::move(backend));
}

void TableDef::SetFieldsAndIndexes(const TableInfo& info) {
    std::vector<std::shared_ptr<Field>> fields;
    for (const FieldInfo& f : info.fields) fields.push_back(std::make_shared<Field>(f));
    fields_.Adopt(std::move(fields));
    std::vector<std::shared_ptr<Index>> indexes;
    for (const IndexInfo& i : info.indexes) indexes.push_back(std::make_shared<Index>(i));
    indexes_.Adopt(std::move(indexes));
}

std::shared_ptr<DatabaseBackend> TableDef::Backend() const {
    auto backend = backend_.lock();
    if (!backend) throw NoLongerSet();
    return backend;
}

void TableDef::TakeStoredDesign(const TableInfo& stored) {
    info_ = stored;
    SetFieldsAndIndexes(stored);
}

void TableDef::BindLive(std::weak_ptr<DatabaseBackend> backend) {
    backend_ = std::move(backend);
    for (const auto& field : fields_) BindField(field);
    for (const auto& index : indexes_) {
        if (!index->IsAppended()) index->MarkAppended();
    }
    fields_.SetHooks({.append = [this](const std::shared_ptr<Field>& field) {
                          FieldInfo info = field->Info();
                          info.ordinalPosition = static_cast<std::int16_t>(fields_.Count());
                          WithDaoErrors([&] { Backend()->AddField(info_.name, info); });
                          field->SetInfo(info);
                          BindField(field);
                      },
                      .remove = [this](const std::shared_ptr<Field>& field) {
                          WithDaoErrors([&] { Backend()->DropField(info_.name, field->Name()); });
                      },
                      .refresh = [this] {
                          for (const TableInfo& t : Backend()->ReadTables()) {
                              if (utf8::EqualsIgnoreCase(t.name, info_.name)) {
                                  SetFieldsAndIndexes(t);
                                  break;
                              }
                          }
                          for (const auto& field : fields_) BindField(field);
                          return std::vector<std::shared_ptr<Field>>(fields_.begin(), fields_.end());
                      },
                      .duplicateNumber = errnum::kJetFieldDefinedTwice});
    indexes_.SetHooks({.append = [this](const std::shared_ptr<Index>& index) {
                           WithDaoErrors([&] { Backend()->CreateIndex(info_.name, index->Info()); });
                           index->MarkAppended();
                       },
                       .remove = [this](const std::shared_ptr<Index>& index) {
                           WithDaoErrors([&] { Backend()->DropIndex(info_.name, index->Name()); });
                       },
                       .refresh = [this] {
                           std::vector<std::shared_ptr<Index>> indexes;
                           for (const TableInfo& t : Backend()->ReadTables()) {
                               if (!utf8::EqualsIgnoreCase(t.name, info_.name)) continue;
                               for (const IndexInfo& i : t.indexes) indexes.push_back(std::make_shared<Index>(i));
                           }
                           return indexes;
                       },
                       .duplicateNumber = errnum::kJetIndexAlreadyExists});
    AttachPropertyStores();
}

void TableDef::BindField(const std::shared_ptr<Field>& field) {
    Field* const raw = field.get();  // the binding lives inside the field itself
    field->Bind({.alter = [this, raw](const FieldInfo& changed) {
                     WithDaoErrors([&] { Backend()->AlterField(info_.name, raw->Name(), changed); });
                 },
                 .designFixed = true,
                 .getValue = nullptr,
                 .setValue = nullptr});
    field->GetProperties().Attach(PropertyStore(backend_, [this, raw] { return PropertyOwnerKey{info_.name, raw->Name()}; }));
}

void TableDef::AttachPropertyStores() {
    properties_.Attach(PropertyStore(backend_, [this] { return PropertyOwnerKey{info_.name, ""}; }));
}

void TableDef::SetName(const std::string& name) {
    if (IsLive()) WithDaoErrors([&] { Backend()->RenameTable(info_.name, name); });
    info_.name = name;
}

namespace {
VornError FixedOnceAppended(const std::string& what) {
    return VornError(errnum::kJetInvalidOperation, "DAO.TableDef",
                     "Invalid operation: " + what + " can't change once the table is appended.");
}
}  // namespace

void TableDef::SetAttributes(std::int32_t attributes) {
    if (IsLive()) throw FixedOnceAppended("Attributes");
    info_.attributes = attributes;
}

void TableDef::SetConnect(const std::string& connect) {
    if (IsLive()) throw FixedOnceAppended("Connect");
    info_.connect = connect;
}

void TableDef::SetSourceTableName(const std::string& name) {
    if (IsLive()) throw FixedOnceAppended("SourceTableName");
    info_.sourceTableName = name;
}

bool TableDef::Updatable() const {
    const auto backend = backend_.lock();
    return !backend || backend->Updatable();
}

std::int32_t TableDef::RecordCount() {
    if (!info_.connect.empty()) return -1;
    RowRequest request{.source = info_.name, .isTable = true, .type = dao::dbOpenTable,
                       .options = dao::dbReadOnly, .filter = {}, .sort = {}};
    auto rows = WithDaoErrors([&] { return Backend()->OpenRows(request); });
    if (const auto known = rows->KnownCount()) return static_cast<std::int32_t>(*known);
    std::int32_t count = 0;
    std::vector<Variant> row;
    while (rows->Next(row)) ++count;
    return count;
}

std::shared_ptr<Field> TableDef::CreateField(const std::string& name, std::int16_t type, std::int32_t size) {
    // A field without a size takes the size of its type, as the engine gives it.
    if (size == 0) {
        switch (type) {
            case dao::dbBoolean:
            case dao::dbByte: size = 1; break;
            case dao::dbInteger: size = 2; break;
            case dao::dbLong:
            case dao::dbSingle: size = 4; break;
            case dao::dbCurrency:
            case dao::dbDouble:
            case dao::dbDate: size = 8; break;
            case dao::dbGUID: size = 16; break;
            case dao::dbText: size = 255; break;
            default: break;
        }
    }
    return std::make_shared<Field>(name, type, size);
}

std::shared_ptr<Index> TableDef::CreateIndex(const std::string& name) { return std::make_shared<Index>(name); }

std::shared_ptr<Property> TableDef::CreateProperty(const std::string& name, std::int16_t type, const Variant& value) {
    return std::make_shared<Property>(name, type, value);
}

std::unique_ptr<Recordset> TableDef::OpenRecordset(std::int32_t type, std::int32_t options) {
    const bool attached = !info_.connect.empty();
    if (type == 0) type = attached ? dao::dbOpenDynaset : dao::dbOpenTable;
    if (attached && type == dao::dbOpenTable) {
        throw VornError(errnum::kJetInvalidOperation, "DAO.TableDef",
                        "Invalid operation: an attached table can't be opened as a table.");
    }
    RowRequest request{.source = info_.name, .isTable = true, .type = type, .options = options,
                       .filter = {}, .sort = {}};
    std::weak_ptr<DatabaseBackend> weak = backend_;
    Recordset::Opener opener = [weak](const RowRequest& r) {
        auto backend = weak.lock();
        if (!backend) throw NoLongerSet();
        return WithDaoErrors([&] { return backend->OpenRows(r); });
    };
    auto rows = opener(request);
    return std::make_unique<Recordset>(request, std::move(rows), opener, backend_);
}

TableInfo TableDef::Info() const {
    TableInfo info = info_;
    info.fields.clear();
    info.indexes.clear();
    std::int16_t position = 0;
    for (const auto& field : fields_) {
        FieldInfo f = field->Info();
        f.ordinalPosition = position++;
        info.fields.push_back(std::move(f));
    }
    for (const auto& index : indexes_) info.indexes.push_back(index->Info());
    return info;
}

void TableDef::MakeBuiltIns() {
    using P = Property;
    properties_.SetBuiltIns({
        P::BuiltIn("Name", dao::dbText, [this] { return Variant(info_.name); },
                   [this](const Variant& v) { SetName(CStr(v)); }),
        P::BuiltIn("Updatable", dao::dbBoolean, [this] { return Variant(Updatable()); }),
        P::BuiltIn("DateCreated", dao::dbDate, [this] { return Variant::FromDate(info_.dateCreated); }),
        P::BuiltIn("LastUpdated", dao::dbDate, [this] { return Variant::FromDate(info_.lastUpdated); }),
        P::BuiltIn("Connect", dao::dbMemo, [this] { return Variant(info_.connect); },
                   [this](const Variant& v) { SetConnect(CStr(v)); }),
        P::BuiltIn("Attributes", dao::dbLong, [this] { return Variant(info_.attributes); },
                   [this](const Variant& v) { SetAttributes(CLng(v)); }),
        P::BuiltIn("SourceTableName", dao::dbText, [this] { return Variant(info_.sourceTableName); },
                   [this](const Variant& v) { SetSourceTableName(CStr(v)); }),
        P::BuiltIn("RecordCount", dao::dbLong, [this] { return Variant(RecordCount()); }),
        P::BuiltIn("ValidationRule", dao::dbText, [this] { return Variant(info_.validationRule); }),
        P::BuiltIn("ValidationText", dao::dbText, [this] { return Variant(info_.validationText); }),
    });
}

}  // namespace vorn
