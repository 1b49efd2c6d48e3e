#pragma once
// A std::vector with its own recursive lock, held for each operation.
//
// Lists handed out by the configuration tree are new Vector objects: a caller
// iterates a snapshot of the membership while the tree may change. Element
// access returns copies, never references into the guarded storage.
// begin()/end() are unguarded; use them on a snapshot you own, or hold
// mutex() yourself.
#include "common/src/LockedContainer.h"

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <stdexcept>
#include <utility>
#include <vector>

namespace quorl {

template <class T>
class Vector : public LockedContainer<Vector<T>, std::vector<T>> {
    typedef LockedContainer<Vector<T>, std::vector<T>> Base;
    typedef typename Base::Guard Guard;
    using Base::items_;
    using Base::mutex_;

public:
    typedef T value_type;
    typedef typename Base::container_type container_type;
    typedef typename Base::size_type size_type;

    Vector() = default;
    explicit Vector(container_type items) : Base(std::move(items)) {}
    Vector(std::initializer_list<T> items) : Base(container_type(items)) {}

    // Bounds-checked copy of one element; throws std::out_of_range.
    T at(size_type index) const {
        Guard g(mutex_);
        return items_.at(index);
    }
    T operator[](size_type index) const { return at(index); }
    T front() const { return at(0); }
    T back() const {
        Guard g(mutex_);
        if (items_.empty()) throw std::out_of_range("Vector::back on an empty vector");
        return items_.back();
    }

    void reserve(size_t n) {
        Guard g(mutex_);
        items_.reserve(n);
    }
    void push_back(const T& item) {
        Guard g(mutex_);
        items_.push_back(item);
    }
    void push_back(T&& item) {
        Guard g(mutex_);
        items_.push_back(std::move(item));
    }
    void assign(container_type items) {
        Guard g(mutex_);
        items_.swap(items);
    }
    void set(size_type index, const T& item) {
        Guard g(mutex_);
        items_.at(index) = item;
    }
    // Inserts before index (index == size() appends).
    void insert(size_type index, const T& item) {
        Guard g(mutex_);
        if (index > items_.size()) throw std::out_of_range("Vector::insert");
        items_.insert(items_.begin() + static_cast<std::ptrdiff_t>(index), item);
    }
    // Removes the element at index; false if out of range.
    bool eraseAt(size_type index) {
        Guard g(mutex_);
        if (index >= items_.size()) return false;
        items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(index));
        return true;
    }

    // The first element for which pred holds, or a value-initialised T
    // (a null pointer for shared pointers).
    template <class Pred>
    T findFirst(Pred pred) const {
        Guard g(mutex_);
        for (const T& item : items_)
            if (pred(item)) return item;
        return T();
    }
    template <class Pred>
    bool anyOf(Pred pred) const {
        Guard g(mutex_);
        return std::any_of(items_.begin(), items_.end(), pred);
    }
    // Removes the first element for which pred holds; false if none.
    template <class Pred>
    bool removeFirst(Pred pred) {
        Guard g(mutex_);
        auto it = std::find_if(items_.begin(), items_.end(), pred);
        if (it == items_.end()) return false;
        items_.erase(it);
        return true;
    }
    // Calls f on every element, in order, under the lock.
    template <class F>
    void forEach(F f) const {
        Guard g(mutex_);
        for (const T& item : items_) f(item);
    }
};

}  // namespace quorl
