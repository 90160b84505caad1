#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "dbcontract/Property.h"

namespace vorn {

// The Properties collection of a data access object: its built-in
// properties first, as the engine lists them, then the user-defined ones.
// A name that is neither fails with 3270; appending a name that exists fails
// with 3367. User-defined properties of a live object are stored by the
// engine through the hooks the owner gives.
class Properties {
public:
    struct Store {
        std::function<void(const Property&)> save;
        std::function<void(std::string_view)> remove;
        std::function<std::vector<std::shared_ptr<Property>>()> load;
    };

    Properties() = default;

    // The built-in properties, made by the owner when it is made.
    void SetBuiltIns(std::vector<std::shared_ptr<Property>> builtIns) { builtIns_ = std::move(builtIns); }

    // Binds the collection to storage: the owner became live. Properties
    // appended before are saved now, in their order.
    void Attach(Store store);
    bool IsAttached() const { return static_cast<bool>(store_.save); }

    std::int32_t Count() const;
    // The property at 0-based `index`; 3265 outside.
    std::shared_ptr<Property> Item(std::int32_t index) const;
    // The property of `name` (ignoring case); 3270 when there is none.
    std::shared_ptr<Property> Item(std::string_view name) const;
    std::shared_ptr<Property> Find(std::string_view name) const;

    void Append(const std::shared_ptr<Property>& property);
    // Deletes a user-defined property; 3265 when none, 3219 for a built-in one.
    void Delete(std::string_view name);
    void Refresh();

    // The user-defined properties.
    const std::vector<std::shared_ptr<Property>>& UserDefined() const;

private:
    void LoadOnce() const;

    std::vector<std::shared_ptr<Property>> builtIns_;
    mutable std::vector<std::shared_ptr<Property>> userDefined_;
    mutable bool loaded_ = false;
    Store store_;
};

}  // namespace vorn
