#include "dbcontract/Property.h"

#include "runtime/ErrorNumbers.h"
#include "runtime/VornError.h"

namespace vorn {

Property::Property(std::string name, std::int16_t type, Variant value)
    : name_(std::move(name)), type_(type), value_(std::move(value)) {}

std::shared_ptr<Property> Property::BuiltIn(std::string name, std::int16_t type, Getter get, Setter set) {
    auto property = std::make_shared<Property>(std::move(name), type, Variant());
    property->get_ = std::move(get);
    property->set_ = std::move(set);
    return property;
}

void Property::SetName(std::string name) {
    if (IsBuiltIn() || IsBound()) {
        throw VornError(errnum::kJetInvalidOperation, "DAO.Property", "Invalid operation.");
    }
    name_ = std::move(name);
}

void Property::SetType(std::int16_t type) {
    if (IsBuiltIn() || IsBound()) {
        throw VornError(errnum::kJetInvalidOperation, "DAO.Property", "Invalid operation.");
    }
    type_ = type;
}

Variant Property::Value() const { return get_ ? get_() : value_; }

void Property::SetValue(const Variant& value) {
    if (get_) {
        if (!set_) {
            throw VornError(errnum::kJetInvalidOperation, "DAO.Property",
                            "Property '" + name_ + "' can't be set on this object.");
        }
        set_(value);
        return;
    }
    const Variant previous = value_;
    value_ = value;
    if (!save_) return;
    try {
        save_(*this);
    } catch (...) {
        value_ = previous;  // a value the engine refused is not kept either
        throw;
    }
}

}  // namespace vorn
