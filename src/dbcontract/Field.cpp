#include "dbcontract/Field.h"

#include "dbcontract/DaoConstants.h"
#include "runtime/Conversions.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/Utf8.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

VornError InvalidOperation(const std::string& what) {
    return VornError(errnum::kJetInvalidOperation, "DAO.Field", "Invalid operation: " + what + ".");
}

// The conversion of the runtime for a field type, which raises the
// runtime's own errors.
Variant ConvertTo(std::int16_t type, const Variant& value) {
    switch (type) {
        case dao::dbBoolean: return Variant(CBool(value));
        case dao::dbByte: return Variant(CByte(value));
        case dao::dbInteger: return Variant(CInt(value));
        case dao::dbLong:
        case dao::dbCounter: return Variant(CLng(value));
        case dao::dbCurrency: return Variant(CCur(value));
        case dao::dbSingle: return Variant(CSng(value));
        case dao::dbDouble:
        case dao::dbFloat: return Variant(CDbl(value));
        case dao::dbDate:
        case dao::dbTime:
        case dao::dbTimeStamp: return Variant::FromDate(CDate(value));
        case dao::dbDecimal:
        case dao::dbNumeric:
        case dao::dbBigInt: return Variant(CDec(value));
        case dao::dbGUID:
            // Sixteen bytes are a GUID as they stand; text is read as its braced form.
            if (value.IsBinary()) return value;
            return Variant(CStr(value));
        case dao::dbBinary:
        case dao::dbVarBinary:
        case dao::dbLongBinary:
            if (value.IsBinary()) return value;
            {
                const std::string text = CStr(value);
                return Variant(Variant::Binary(text.begin(), text.end()));
            }
        default: return Variant(CStr(value));
    }
}

}  // namespace

Field::Field(FieldInfo info) : info_(std::move(info)) { MakeBuiltIns(); }

Field::Field(std::string name, std::int16_t type, std::int32_t size) {
    info_.name = std::move(name);
    info_.type = type;
    info_.size = size;
    MakeBuiltIns();
}

void Field::ChangeDesign(const std::function<void(FieldInfo&)>& change, bool fixedOnceAppended) {
    if (binding_.getValue) throw InvalidOperation("the design of a recordset field can't change");
    if (fixedOnceAppended && binding_.designFixed) throw InvalidOperation("the field is already appended");
    FieldInfo changed = info_;
    change(changed);
    if (binding_.alter) binding_.alter(changed);
    info_ = std::move(changed);
}

void Field::SetName(const std::string& name) {
    ChangeDesign([&](FieldInfo& f) { f.name = name; }, false);
}
void Field::SetType(std::int16_t type) {
    ChangeDesign([&](FieldInfo& f) { f.type = type; }, true);
}
void Field::SetSize(std::int32_t size) {
    ChangeDesign([&](FieldInfo& f) { f.size = size; }, true);
}
void Field::SetAttributes(std::int32_t attributes) {
    // An index field keeps its sort sense here; a table field its kind.
    ChangeDesign([&](FieldInfo& f) { f.attributes = attributes; }, true);
}
void Field::SetRequired(bool required) {
    ChangeDesign([&](FieldInfo& f) { f.required = required; }, false);
}
void Field::SetAllowZeroLength(bool allow) {
    ChangeDesign([&](FieldInfo& f) { f.allowZeroLength = allow; }, false);
}
void Field::SetDefaultValue(const std::string& value) {
    ChangeDesign([&](FieldInfo& f) { f.defaultValue = value; }, false);
}
void Field::SetValidationRule(const std::string& rule) {
    ChangeDesign([&](FieldInfo& f) { f.validationRule = rule; }, false);
}
void Field::SetValidationText(const std::string& text) {
    ChangeDesign([&](FieldInfo& f) { f.validationText = text; }, false);
}
void Field::SetOrdinalPosition(std::int16_t position) {
    ChangeDesign([&](FieldInfo& f) { f.ordinalPosition = position; }, false);
}
void Field::SetForeignName(const std::string& name) {
    if (binding_.designFixed) throw InvalidOperation("the relation is already appended");
    foreignName_ = name;
}

Variant Field::Value() const {
    if (!binding_.getValue) throw InvalidOperation("only a recordset field has a value");
    return binding_.getValue();
}

void Field::SetValue(const Variant& value) {
    if (!binding_.setValue) throw InvalidOperation("only a recordset field has a value");
    binding_.setValue(value);
}

std::shared_ptr<Property> Field::CreateProperty(const std::string& name, std::int16_t type, const Variant& value) {
    return std::make_shared<Property>(name, type, value);
}

Variant Field::Coerce(const FieldInfo& info, const Variant& value) {
    if (value.IsNull() || value.IsEmpty()) return Variant::Null();
    Variant converted;
    try {
        converted = ConvertTo(info.type, value);
    } catch (const VornError& e) {
        if (e.Number() != errnum::kTypeMismatch && e.Number() != errnum::kOverflow) throw;
        throw VornError(errnum::kJetConversionError, "DAO.Field",
                        "Data type conversion error: '" + CStr(value) + "' can't be stored in field '" +
                            info.name + "'.");
    }
    if (info.type == dao::dbText && info.size > 0 && utf8::Length(converted.AsText()) > info.size) {
        throw VornError(errnum::kJetFieldTooSmall, "DAO.Field",
                        "The field '" + info.name + "' is too small to accept the amount of data you attempted to add.");
    }
    return converted;
}

void Field::MakeBuiltIns() {
    using P = Property;
    std::vector<std::shared_ptr<Property>> builtIns = {
        P::BuiltIn("Value", 0, [this] { return Value(); }, [this](const Variant& v) { SetValue(v); }),
        P::BuiltIn("Attributes", dao::dbLong, [this] { return Variant(info_.attributes); },
                   [this](const Variant& v) { SetAttributes(CLng(v)); }),
        P::BuiltIn("CollatingOrder", dao::dbLong, [] { return Variant(std::int32_t{1033}); }),
        P::BuiltIn("Type", dao::dbInteger, [this] { return Variant(info_.type); },
                   [this](const Variant& v) { SetType(CInt(v)); }),
        P::BuiltIn("Name", dao::dbText, [this] { return Variant(info_.name); },
                   [this](const Variant& v) { SetName(CStr(v)); }),
        P::BuiltIn("Size", dao::dbLong, [this] { return Variant(info_.size); },
                   [this](const Variant& v) { SetSize(CLng(v)); }),
        P::BuiltIn("SourceField", dao::dbText, [this] { return Variant(info_.sourceField); }),
        P::BuiltIn("SourceTable", dao::dbText, [this] { return Variant(info_.sourceTable); }),
        P::BuiltIn("ValidateOnSet", dao::dbBoolean, [] { return Variant(false); }),
        P::BuiltIn("DataUpdatable", dao::dbBoolean, [this] { return Variant(static_cast<bool>(binding_.setValue)); }),
        P::BuiltIn("ForeignName", dao::dbText, [this] { return Variant(foreignName_); },
                   [this](const Variant& v) { SetForeignName(CStr(v)); }),
        P::BuiltIn("DefaultValue", dao::dbText, [this] { return Variant(info_.defaultValue); },
                   [this](const Variant& v) { SetDefaultValue(CStr(v)); }),
        P::BuiltIn("ValidationRule", dao::dbText, [this] { return Variant(info_.validationRule); },
                   [this](const Variant& v) { SetValidationRule(CStr(v)); }),
        P::BuiltIn("ValidationText", dao::dbText, [this] { return Variant(info_.validationText); },
                   [this](const Variant& v) { SetValidationText(CStr(v)); }),
        P::BuiltIn("Required", dao::dbBoolean, [this] { return Variant(info_.required); },
                   [this](const Variant& v) { SetRequired(CBool(v)); }),
        P::BuiltIn("AllowZeroLength", dao::dbBoolean, [this] { return Variant(info_.allowZeroLength); },
                   [this](const Variant& v) { SetAllowZeroLength(CBool(v)); }),
        P::BuiltIn("OrdinalPosition", dao::dbInteger, [this] { return Variant(info_.ordinalPosition); },
                   [this](const Variant& v) { SetOrdinalPosition(CInt(v)); }),
    };
    properties_.SetBuiltIns(std::move(builtIns));
}

}  // namespace vorn
