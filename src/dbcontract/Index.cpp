#include "dbcontract/Index.h"

#include "dbcontract/DaoConstants.h"
#include "runtime/Conversions.h"
#include "runtime/ErrorNumbers.h"

namespace vorn {

Index::Index(std::string name) {
    info_.name = std::move(name);
    fields_.SetHooks({.append = [this](const std::shared_ptr<Field>&) { RefuseWhenAppended(); },
                      .remove = [this](const std::shared_ptr<Field>&) { RefuseWhenAppended(); },
                      .refresh = nullptr,
                      .duplicateNumber = errnum::kJetFieldDefinedTwice});
    fields_.Adopt({});
    MakeBuiltIns();
}

Index::Index(const IndexInfo& info) : Index(info.name) {
    info_ = info;
    std::vector<std::shared_ptr<Field>> fields;
    for (const IndexFieldInfo& f : info.fields) {
        auto field = CreateField(f.name);
        field->SetAttributes(f.attributes);
        fields.push_back(std::move(field));
    }
    fields_.Adopt(std::move(fields));
    MarkAppended();
}

void Index::RefuseWhenAppended() const {
    if (appended_) {
        throw VornError(errnum::kJetInvalidOperation, "DAO.Index",
                        "Invalid operation: index '" + info_.name + "' is already appended.");
    }
}

void Index::SetName(const std::string& name) {
    RefuseWhenAppended();
    info_.name = name;
}
void Index::SetPrimary(bool primary) {
    RefuseWhenAppended();
    info_.primary = primary;
}
void Index::SetUnique(bool unique) {
    RefuseWhenAppended();
    info_.unique = unique;
}
void Index::SetIgnoreNulls(bool ignoreNulls) {
    RefuseWhenAppended();
    info_.ignoreNulls = ignoreNulls;
}
void Index::SetRequired(bool required) {
    RefuseWhenAppended();
    info_.required = required;
}

std::shared_ptr<Field> Index::CreateField(const std::string& name) {
    return std::make_shared<Field>(name, dao::dbText, 0);
}

IndexInfo Index::Info() const {
    IndexInfo info = info_;
    info.fields.clear();
    for (const auto& field : fields_) info.fields.push_back({field->Name(), field->Attributes()});
    return info;
}

void Index::MarkAppended() {
    appended_ = true;
    info_ = Info();
    // The engine keeps a primary key unique, whatever Unique was set to.
    if (info_.primary) info_.unique = true;
    for (const auto& field : fields_) field->Bind({.alter = nullptr, .designFixed = true, .getValue = nullptr, .setValue = nullptr});
}

void Index::MakeBuiltIns() {
    using P = Property;
    properties_.SetBuiltIns({
        P::BuiltIn("Name", dao::dbText, [this] { return Variant(info_.name); },
                   [this](const Variant& v) { SetName(CStr(v)); }),
        P::BuiltIn("Foreign", dao::dbBoolean, [this] { return Variant(info_.foreign); }),
        P::BuiltIn("Unique", dao::dbBoolean, [this] { return Variant(info_.unique); },
                   [this](const Variant& v) { SetUnique(CBool(v)); }),
        P::BuiltIn("Clustered", dao::dbBoolean, [this] { return Variant(info_.clustered); }),
        P::BuiltIn("Required", dao::dbBoolean, [this] { return Variant(info_.required); },
                   [this](const Variant& v) { SetRequired(CBool(v)); }),
        P::BuiltIn("IgnoreNulls", dao::dbBoolean, [this] { return Variant(info_.ignoreNulls); },
                   [this](const Variant& v) { SetIgnoreNulls(CBool(v)); }),
        P::BuiltIn("Primary", dao::dbBoolean, [this] { return Variant(info_.primary); },
                   [this](const Variant& v) { SetPrimary(CBool(v)); }),
        P::BuiltIn("DistinctCount", dao::dbLong, [] { return Variant(std::int32_t{0}); }),
    });
}

}  // namespace vorn
