#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "dbcontract/CatalogInfo.h"
#include "dbcontract/Properties.h"
#include "runtime/Variant.h"

namespace vorn {

// A field: of a table's design, of an index (name and sort sense), of a
// relation (name and foreign name), or of a recordset (with a value). The
// same class serves all four, as it did in the data access objects; the
// owner binds it to its place.
class Field {
public:
    // How an owner ties the field to the database. Unbound, the field is a
    // design not yet appended, and every property may be set.
    struct Binding {
        // A field of a live table: changes of name, Required,
        // AllowZeroLength, DefaultValue and validation go to the engine.
        std::function<void(const FieldInfo& changed)> alter;
        // Type, Size and Attributes are fixed once the field is appended.
        bool designFixed = false;
        // A recordset field: the value of the current row.
        std::function<Variant()> getValue;
        std::function<void(const Variant&)> setValue;
    };

    explicit Field(FieldInfo info);
    Field(std::string name, std::int16_t type, std::int32_t size);
    // Its built-in properties refer to the field itself: it stays in place.
    Field(const Field&) = delete;
    Field& operator=(const Field&) = delete;

    const FieldInfo& Info() const { return info_; }

    const std::string& Name() const { return info_.name; }
    void SetName(const std::string& name);
    std::int16_t Type() const { return info_.type; }
    void SetType(std::int16_t type);
    std::int32_t Size() const { return info_.size; }
    void SetSize(std::int32_t size);
    std::int32_t Attributes() const { return info_.attributes; }
    void SetAttributes(std::int32_t attributes);
    bool Required() const { return info_.required; }
    void SetRequired(bool required);
    bool AllowZeroLength() const { return info_.allowZeroLength; }
    void SetAllowZeroLength(bool allow);
    const std::string& DefaultValue() const { return info_.defaultValue; }
    void SetDefaultValue(const std::string& value);
    const std::string& ValidationRule() const { return info_.validationRule; }
    void SetValidationRule(const std::string& rule);
    const std::string& ValidationText() const { return info_.validationText; }
    void SetValidationText(const std::string& text);
    std::int16_t OrdinalPosition() const { return info_.ordinalPosition; }
    void SetOrdinalPosition(std::int16_t position);
    // Of a relation field: the matching field of the child table.
    const std::string& ForeignName() const { return foreignName_; }
    void SetForeignName(const std::string& name);
    const std::string& SourceTable() const { return info_.sourceTable; }
    const std::string& SourceField() const { return info_.sourceField; }

    // The value of a recordset field on the current row. Reading it with no
    // current row fails with 3021; setting it outside AddNew or Edit with
    // 3020. The value is converted to the field's type as it is set, and
    // text that doesn't convert fails with 3421. Outside a recordset: 3219.
    Variant Value() const;
    void SetValue(const Variant& value);

    Properties& GetProperties() { return properties_; }
    std::shared_ptr<Property> CreateProperty(const std::string& name = {}, std::int16_t type = 10,
                                             const Variant& value = {});

    // For owners.
    void Bind(Binding binding) { binding_ = std::move(binding); }
    bool IsBound() const { return binding_.alter || binding_.designFixed || binding_.getValue; }
    void SetInfo(const FieldInfo& info) { info_ = info; }

    // A value converted to what a field of `info` stores: Null for Null and
    // Empty, else the runtime's conversion to the field's type. Fails with
    // 3421 for a value that doesn't convert and 3163 for text longer than a
    // text field's size.
    static Variant Coerce(const FieldInfo& info, const Variant& value);

private:
    void MakeBuiltIns();
    // Applies a change of a design property: through the engine for a live
    // field, kept only if the engine agrees.
    void ChangeDesign(const std::function<void(FieldInfo&)>& change, bool fixedOnceAppended);

    FieldInfo info_;
    std::string foreignName_;
    Binding binding_;
    Properties properties_;
};

}  // namespace vorn
