#include "dbcontract/Relation.h"

#include "dbcontract/DaoConstants.h"
#include "runtime/Conversions.h"
#include "runtime/ErrorNumbers.h"

namespace vorn {

Relation::Relation(std::string name, std::string table, std::string foreignTable, std::int32_t attributes) {
    info_.name = std::move(name);
    info_.table = std::move(table);
    info_.foreignTable = std::move(foreignTable);
    info_.attributes = attributes;
    fields_.SetHooks({.append = [this](const std::shared_ptr<Field>&) { RefuseWhenAppended(); },
                      .remove = [this](const std::shared_ptr<Field>&) { RefuseWhenAppended(); },
                      .refresh = nullptr,
                      .duplicateNumber = errnum::kJetFieldDefinedTwice});
    fields_.Adopt({});
    MakeBuiltIns();
}

Relation::Relation(const RelationInfo& info) : Relation(info.name, info.table, info.foreignTable, info.attributes) {
    std::vector<std::shared_ptr<Field>> fields;
    for (const RelationFieldInfo& pair : info.fields) {
        auto field = CreateField(pair.name);
        field->SetForeignName(pair.foreignName);
        fields.push_back(std::move(field));
    }
    fields_.Adopt(std::move(fields));
    MarkAppended();
}

void Relation::RefuseWhenAppended() const {
    if (appended_) {
        throw VornError(errnum::kJetInvalidOperation, "DAO.Relation",
                        "Invalid operation: relation '" + info_.name + "' is already appended.");
    }
}

void Relation::SetName(const std::string& name) {
    RefuseWhenAppended();
    info_.name = name;
}
void Relation::SetTable(const std::string& table) {
    RefuseWhenAppended();
    info_.table = table;
}
void Relation::SetForeignTable(const std::string& table) {
    RefuseWhenAppended();
    info_.foreignTable = table;
}
void Relation::SetAttributes(std::int32_t attributes) {
    RefuseWhenAppended();
    info_.attributes = attributes;
}

std::shared_ptr<Field> Relation::CreateField(const std::string& name) {
    return std::make_shared<Field>(name, dao::dbText, 0);
}

RelationInfo Relation::Info() const {
    RelationInfo info = info_;
    info.fields.clear();
    for (const auto& field : fields_) info.fields.push_back({field->Name(), field->ForeignName()});
    return info;
}

void Relation::MarkAppended() {
    info_ = Info();
    appended_ = true;
    for (const auto& field : fields_) field->Bind({.alter = nullptr, .designFixed = true, .getValue = nullptr, .setValue = nullptr});
}

void Relation::MakeBuiltIns() {
    using P = Property;
    properties_.SetBuiltIns({
        P::BuiltIn("Name", dao::dbText, [this] { return Variant(info_.name); },
                   [this](const Variant& v) { SetName(CStr(v)); }),
        P::BuiltIn("Table", dao::dbText, [this] { return Variant(info_.table); },
                   [this](const Variant& v) { SetTable(CStr(v)); }),
        P::BuiltIn("ForeignTable", dao::dbText, [this] { return Variant(info_.foreignTable); },
                   [this](const Variant& v) { SetForeignTable(CStr(v)); }),
        P::BuiltIn("Attributes", dao::dbLong, [this] { return Variant(info_.attributes); },
                   [this](const Variant& v) { SetAttributes(CLng(v)); }),
        P::BuiltIn("PartialReplica", dao::dbBoolean, [] { return Variant(false); }),
    });
}

}  // namespace vorn
