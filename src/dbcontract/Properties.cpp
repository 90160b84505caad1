#include "dbcontract/Properties.h"

#include <algorithm>

#include "runtime/ErrorNumbers.h"
#include "runtime/Utf8.h"
#include "runtime/VornError.h"

namespace vorn {

void Properties::Attach(Store store) {
    LoadOnce();
    store_ = std::move(store);
    // What was appended before the owner became live is stored now; what the
    // engine already had is read with it.
    std::vector<std::shared_ptr<Property>> pending = std::move(userDefined_);
    userDefined_.clear();
    loaded_ = false;
    LoadOnce();
    for (const auto& property : pending) {
        if (!Find(property->Name())) Append(property);
    }
}

void Properties::LoadOnce() const {
    if (loaded_) return;
    loaded_ = true;
    if (store_.load) {
        userDefined_ = store_.load();
        for (const auto& property : userDefined_) property->Bind(store_.save);
    }
}

std::int32_t Properties::Count() const {
    LoadOnce();
    return static_cast<std::int32_t>(builtIns_.size() + userDefined_.size());
}

std::shared_ptr<Property> Properties::Item(std::int32_t index) const {
    LoadOnce();
    if (index < 0 || index >= Count()) {
        throw VornError(errnum::kJetItemNotFound, "DAO.Properties", "Item not found in this collection.");
    }
    const auto i = static_cast<std::size_t>(index);
    return i < builtIns_.size() ? builtIns_[i] : userDefined_[i - builtIns_.size()];
}

std::shared_ptr<Property> Properties::Find(std::string_view name) const {
    LoadOnce();
    using List = std::vector<std::shared_ptr<Property>>;
    for (const List* list : {static_cast<const List*>(&builtIns_), static_cast<const List*>(&userDefined_)}) {
        for (const auto& property : *list) {
            if (utf8::EqualsIgnoreCase(property->Name(), name)) return property;
        }
    }
    return nullptr;
}

std::shared_ptr<Property> Properties::Item(std::string_view name) const {
    auto property = Find(name);
    if (!property) throw VornError(errnum::kJetPropertyNotFound, "DAO.Properties", "Property not found.");
    return property;
}

void Properties::Append(const std::shared_ptr<Property>& property) {
    LoadOnce();
    if (property->Name().empty()) {
        throw VornError(errnum::kJetNotValidName, "DAO.Properties", "The property has no name.");
    }
    if (Find(property->Name())) {
        throw VornError(errnum::kJetAlreadyInCollection, "DAO.Properties",
                        "Can't append. An object with the name '" + property->Name() +
                            "' is already in the collection.");
    }
    if (store_.save) {
        store_.save(*property);
        property->Bind(store_.save);
    }
    userDefined_.push_back(property);
}

void Properties::Delete(std::string_view name) {
    LoadOnce();
    for (const auto& builtIn : builtIns_) {
        if (utf8::EqualsIgnoreCase(builtIn->Name(), name)) {
            throw VornError(errnum::kJetInvalidOperation, "DAO.Properties", "Invalid operation.");
        }
    }
    const auto it = std::find_if(userDefined_.begin(), userDefined_.end(), [&](const auto& p) {
        return utf8::EqualsIgnoreCase(p->Name(), name);
    });
    if (it == userDefined_.end()) {
        throw VornError(errnum::kJetItemNotFound, "DAO.Properties", "Item not found in this collection.");
    }
    if (store_.remove) store_.remove((*it)->Name());
    userDefined_.erase(it);
}

void Properties::Refresh() {
    if (!store_.load) return;
    loaded_ = false;
    LoadOnce();
}

const std::vector<std::shared_ptr<Property>>& Properties::UserDefined() const {
    LoadOnce();
    return userDefined_;
}

}  // namespace vorn
