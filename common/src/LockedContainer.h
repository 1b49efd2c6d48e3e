#pragma once
// The plumbing of Vector and Map: a standard container with its own recursive
// lock, held for each operation. Copies are made under the source's lock and
// get a lock of their own. begin()/end() are unguarded; use them on a
// snapshot you own, or hold mutex() yourself.
#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/thread/locks.hpp>
#include <boost/thread/recursive_mutex.hpp>

#include <utility>

namespace quorl {

// Derived is the container class itself (it must be constructible from a
// container_type), so that copy() hands out the right type.
template <class Derived, class Container>
class LockedContainer {
public:
    typedef Container container_type;
    typedef typename container_type::size_type size_type;
    typedef typename container_type::iterator iterator;
    typedef typename container_type::const_iterator const_iterator;

    size_type size() const {
        Guard g(mutex_);
        return items_.size();
    }
    bool empty() const {
        Guard g(mutex_);
        return items_.empty();
    }
    void clear() {
        Guard g(mutex_);
        items_.clear();
    }

    // Copy of the contents, made under the lock.
    container_type snapshot() const {
        Guard g(mutex_);
        return items_;
    }
    // A new shared container holding a copy of the contents.
    boost::shared_ptr<Derived> copy() const { return boost::make_shared<Derived>(snapshot()); }

    boost::recursive_mutex& mutex() const { return mutex_; }

    // Unguarded iteration (snapshots, or with mutex() held).
    iterator begin() { return items_.begin(); }
    iterator end() { return items_.end(); }
    const_iterator begin() const { return items_.begin(); }
    const_iterator end() const { return items_.end(); }

protected:
    typedef boost::lock_guard<boost::recursive_mutex> Guard;

    LockedContainer() = default;
    explicit LockedContainer(container_type items) : items_(std::move(items)) {}
    LockedContainer(const LockedContainer& other) : items_(other.snapshot()) {}
    LockedContainer& operator=(const LockedContainer& other) {
        if (this != &other) {
            container_type copy = other.snapshot();
            Guard g(mutex_);
            items_.swap(copy);
        }
        return *this;
    }

    mutable boost::recursive_mutex mutex_;
    container_type items_;
};

}  // namespace quorl
