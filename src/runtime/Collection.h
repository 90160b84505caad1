#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "runtime/Utf8.h"
#include "runtime/VornError.h"

namespace vorn {

// An ordered collection whose items may carry a text key, as the classic
// runtime's Collection: positions count from 1, keys are compared ignoring
// case, a key given twice fails with 457 and a missing key or position with 5.
// Items keep their order of insertion unless placed before or after another.
template <class T>
class Collection {
public:
    std::int64_t Count() const { return static_cast<std::int64_t>(order_.size()); }
    bool Empty() const { return order_.empty(); }

    // Appends an item, with a key unless `key` is empty.
    void Add(T item, std::string_view key = {}) { Insert(std::move(item), key, order_.size()); }

    // Inserts an item before the item at 1-based `position`.
    void AddBefore(T item, std::string_view key, std::int64_t position) {
        Insert(std::move(item), key, IndexOf(position));
    }
    // Inserts an item after the item at 1-based `position`.
    void AddAfter(T item, std::string_view key, std::int64_t position) {
        Insert(std::move(item), key, IndexOf(position) + 1);
    }

    // The item at 1-based `position`; fails with 5 outside 1..Count.
    T& Item(std::int64_t position) { return order_[IndexOf(position)]->value; }
    const T& Item(std::int64_t position) const { return order_[IndexOf(position)]->value; }

    // The item of `key`; fails with 5 when there is none.
    T& Item(std::string_view key) { return NodeOf(key).value; }
    const T& Item(std::string_view key) const { return NodeOf(key).value; }

    // The item of `key`, or nullptr; never fails.
    T* Find(std::string_view key) {
        const auto it = byKey_.find(Fold(key));
        return it == byKey_.end() ? nullptr : &it->second->value;
    }
    const T* Find(std::string_view key) const {
        return const_cast<Collection*>(this)->Find(key);
    }
    bool Contains(std::string_view key) const { return Find(key) != nullptr; }

    // The key an item was added with ("" when none).
    const std::string& KeyAt(std::int64_t position) const { return order_[IndexOf(position)]->key; }

    void Remove(std::int64_t position) { Erase(IndexOf(position)); }
    void Remove(std::string_view key) {
        const Node& node = NodeOf(key);
        for (std::size_t i = 0; i < order_.size(); ++i) {
            if (order_[i].get() == &node) return Erase(i);
        }
    }
    void Clear() {
        order_.clear();
        byKey_.clear();
    }

    // Iteration over the items in order.
    template <class F>
    void ForEach(F&& f) {
        for (auto& node : order_) f(node->value);
    }
    template <class F>
    void ForEach(F&& f) const {
        for (const auto& node : order_) f(static_cast<const T&>(node->value));
    }

private:
    struct Node {
        std::string key;
        T value;
    };

    static std::string Fold(std::string_view key) { return utf8::ToUpper(key); }

    std::size_t IndexOf(std::int64_t position) const {
        if (position < 1 || position > Count()) throw VornError::InvalidArgument("Collection");
        return static_cast<std::size_t>(position - 1);
    }

    Node& NodeOf(std::string_view key) const {
        const auto it = byKey_.find(Fold(key));
        if (it == byKey_.end()) throw VornError::InvalidArgument("Collection");
        return *it->second;
    }

    void Insert(T item, std::string_view key, std::size_t index) {
        auto node = std::make_shared<Node>(Node{std::string(key), std::move(item)});
        if (!key.empty()) {
            const auto [it, added] = byKey_.emplace(Fold(key), node);
            if (!added) throw VornError::DuplicateKey("Collection");
        }
        order_.insert(order_.begin() + static_cast<std::ptrdiff_t>(index), std::move(node));
    }

    void Erase(std::size_t index) {
        if (!order_[index]->key.empty()) byKey_.erase(Fold(order_[index]->key));
        order_.erase(order_.begin() + static_cast<std::ptrdiff_t>(index));
    }

    std::vector<std::shared_ptr<Node>> order_;
    std::unordered_map<std::string, std::shared_ptr<Node>> byKey_;
};

}  // namespace vorn
