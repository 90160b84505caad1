#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "runtime/Variant.h"

namespace vorn {

// One property of a data access object. A built-in property (Name, Type,
// Size, Required, ...) reads and writes its owner's state through accessors;
// a user-defined one holds its value and is stored by the engine once
// appended to a live object's Properties.
class Property {
public:
    using Getter = std::function<Variant()>;
    using Setter = std::function<void(const Variant&)>;

    // A user-defined property, not yet appended.
    Property(std::string name, std::int16_t type, Variant value);

    // A built-in property. Without a setter it can't be set (3219... see
    // SetValue).
    static std::shared_ptr<Property> BuiltIn(std::string name, std::int16_t type, Getter get,
                                             Setter set = nullptr);

    const std::string& Name() const { return name_; }
    // REQUIRES: not yet appended (renaming a stored property is refused).
    void SetName(std::string name);
    std::int16_t Type() const { return type_; }
    void SetType(std::int16_t type);
    bool Inherited() const { return false; }
    bool IsBuiltIn() const { return static_cast<bool>(get_); }

    Variant Value() const;
    // Sets the value: through the owner for a built-in property (which may
    // refuse with the engine's number), else stored and, when the property
    // belongs to a live object, saved by the engine.
    void SetValue(const Variant& value);

    // Called by Properties when the property joins a live object: every later
    // SetValue is saved through `save`.
    void Bind(std::function<void(const Property&)> save) { save_ = std::move(save); }
    bool IsBound() const { return static_cast<bool>(save_); }

private:
    std::string name_;
    std::int16_t type_;
    Variant value_;
    Getter get_;
    Setter set_;
    std::function<void(const Property&)> save_;
};

}  // namespace vorn
