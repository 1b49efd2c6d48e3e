#pragma once
// A std::map with its own recursive lock, held for each operation.
//
// Like Vector, lookups return copies of the mapped values, and the listing
// operations return snapshots made under the lock. begin()/end() are
// unguarded; use them on a copy you own, or hold mutex() yourself.
#include "common/src/LockedContainer.h"

#include <map>
#include <utility>
#include <vector>

namespace quorl {

template <class K, class V>
class Map : public LockedContainer<Map<K, V>, std::map<K, V>> {
    typedef LockedContainer<Map<K, V>, std::map<K, V>> Base;
    typedef typename Base::Guard Guard;
    using Base::items_;
    using Base::mutex_;

public:
    typedef K key_type;
    typedef V mapped_type;
    typedef typename Base::container_type container_type;

    Map() = default;
    explicit Map(container_type items) : Base(std::move(items)) {}

    bool contains(const K& key) const {
        Guard g(mutex_);
        return items_.count(key) != 0;
    }

    // The value under key, or a value-initialised V (a null pointer for
    // shared pointers) if the key is absent.
    V get(const K& key) const {
        Guard g(mutex_);
        auto it = items_.find(key);
        return it == items_.end() ? V() : it->second;
    }
    // Copies the value under key into out; false if absent.
    bool find(const K& key, V& out) const {
        Guard g(mutex_);
        auto it = items_.find(key);
        if (it == items_.end()) return false;
        out = it->second;
        return true;
    }

    // Enters key if it is new; an existing entry is kept. True if entered.
    bool insert(const K& key, const V& value) {
        Guard g(mutex_);
        return items_.emplace(key, value).second;
    }
    // Enters or replaces.
    void set(const K& key, const V& value) {
        Guard g(mutex_);
        items_[key] = value;
    }
    // Removes key; false if it was not there.
    bool erase(const K& key) {
        Guard g(mutex_);
        return items_.erase(key) != 0;
    }

    // Values and keys in ascending key order.
    std::vector<V> values() const {
        Guard g(mutex_);
        std::vector<V> out;
        out.reserve(items_.size());
        for (const auto& kv : items_) out.push_back(kv.second);
        return out;
    }
    std::vector<K> keys() const {
        Guard g(mutex_);
        std::vector<K> out;
        out.reserve(items_.size());
        for (const auto& kv : items_) out.push_back(kv.first);
        return out;
    }
    // Calls f(key, value) for every entry in key order, under the lock.
    template <class F>
    void forEach(F f) const {
        Guard g(mutex_);
        for (const auto& kv : items_) f(kv.first, kv.second);
    }
};

}  // namespace quorl
