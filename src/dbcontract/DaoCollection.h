#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "runtime/ErrorNumbers.h"
#include "runtime/Utf8.h"
#include "runtime/VornError.h"

namespace vorn {

// The name a caller passes, without the brackets that some callers put
// around it ("[POINT]" finds "POINT").
std::string_view UnbracketedName(std::string_view name);

// A live collection of data access objects (TableDefs, Fields, Indexes, ...):
// positions count from 0, names are looked up ignoring case and also in
// brackets, and a missing item fails with 3265. What Append, Delete and
// Refresh do to the database is given by the owner as hooks; the collection
// keeps its items in step.
template <class T>
class DaoCollection {
public:
    using Ptr = std::shared_ptr<T>;

    struct Hooks {
        // Called before an item joins; throws to refuse it.
        std::function<void(const Ptr&)> append;
        // Called before an item leaves; throws to refuse.
        std::function<void(const Ptr&)> remove;
        // Gives the items as the database has them now.
        std::function<std::vector<Ptr>()> refresh;
        // The number and text of the failure for a name given twice.
        std::int32_t duplicateNumber = errnum::kJetAlreadyInCollection;
    };

    DaoCollection() = default;
    explicit DaoCollection(Hooks hooks) : hooks_(std::move(hooks)) {}

    void SetHooks(Hooks hooks) { hooks_ = std::move(hooks); }

    std::int32_t Count() const {
        LoadOnce();
        return static_cast<std::int32_t>(items_.size());
    }

    // The item at 0-based `index`; 3265 outside 0..Count-1.
    Ptr Item(std::int32_t index) const {
        LoadOnce();
        if (index < 0 || index >= static_cast<std::int32_t>(items_.size())) throw NotFound(std::to_string(index));
        return items_[static_cast<std::size_t>(index)];
    }

    // The item of `name`, ignoring case, brackets allowed; 3265 when none.
    Ptr Item(std::string_view name) const {
        Ptr found = Find(name);
        if (!found) throw NotFound(std::string(name));
        return found;
    }

    // The item of `name`, or nullptr.
    Ptr Find(std::string_view name) const {
        LoadOnce();
        const std::string_view bare = UnbracketedName(name);
        for (const Ptr& item : items_) {
            if (utf8::EqualsIgnoreCase(item->Name(), bare)) return item;
        }
        return nullptr;
    }

    void Append(const Ptr& item) {
        LoadOnce();
        if (Find(item->Name())) {
            throw VornError(hooks_.duplicateNumber, "DAO.Append",
                            "Object '" + item->Name() + "' is already in the collection.");
        }
        if (hooks_.append) hooks_.append(item);
        items_.push_back(item);
    }

    // Removes the item of `name`; 3265 when none.
    void Delete(std::string_view name) {
        LoadOnce();
        const Ptr item = Item(name);
        if (hooks_.remove) hooks_.remove(item);
        std::erase(items_, item);
    }

    // Reads the items anew from the database.
    void Refresh() {
        if (hooks_.refresh) items_ = hooks_.refresh();
        loaded_ = true;
    }

    // The items are read again at the next use.
    void Invalidate() { loaded_ = !hooks_.refresh; }

    // Items without hooks: the owner fills a collection that it built.
    void Adopt(std::vector<Ptr> items) {
        items_ = std::move(items);
        loaded_ = true;
    }

    typename std::vector<Ptr>::const_iterator begin() const {
        LoadOnce();
        return items_.begin();
    }
    typename std::vector<Ptr>::const_iterator end() const {
        LoadOnce();
        return items_.end();
    }

private:
    static VornError NotFound(const std::string& what) {
        return VornError(errnum::kJetItemNotFound, "DAO.Collection",
                         "Item not found in this collection. (" + what + ")");
    }

    void LoadOnce() const {
        if (loaded_) return;
        loaded_ = true;
        if (hooks_.refresh) items_ = hooks_.refresh();
    }

    Hooks hooks_;
    mutable std::vector<Ptr> items_;
    mutable bool loaded_ = false;
};

}  // namespace vorn
