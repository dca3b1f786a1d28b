// The handles of one kind that are alive, so that a stale or foreign handle is refused and not
// followed. For the platform libraries only. Safe for several threads; the objects themselves
// aren't guarded.
#pragma once

#include <basalt/types.h>

#include <mutex>
#include <unordered_set>

namespace basalt {

template <class Object>
class HandleSet {
public:
    // Throws for want of memory; the object is the caller's until this returns.
    ULONG_PTR add(Object* object) {
        const std::lock_guard lock(mutex_);
        objects_.insert(object);
        return reinterpret_cast<ULONG_PTR>(object);
    }

    // Null for a handle that is none.
    Object* find(ULONG_PTR handle) {
        const std::lock_guard lock(mutex_);
        return known(handle);
    }

    // Takes the handle out of the set and hands over the object; null for a handle that is none.
    Object* remove(ULONG_PTR handle) {
        const std::lock_guard lock(mutex_);
        Object* object = known(handle);
        objects_.erase(object);
        return object;
    }

    // The same, if the predicate, asked under the lock, says so. False for a handle that is none.
    template <class Predicate>
    bool remove_if(ULONG_PTR handle, Object*& removed, Predicate predicate) {
        const std::lock_guard lock(mutex_);
        Object* object = known(handle);
        if (object != nullptr && predicate(*object)) {
            objects_.erase(object);
            removed = object;
        }
        return object != nullptr;
    }

    // Does `work` on the object under the lock of the set, which keeps the object alive meanwhile.
    // False for a handle that is none.
    template <class Work>
    bool with(ULONG_PTR handle, Work work) {
        const std::lock_guard lock(mutex_);
        Object* object = known(handle);
        if (object != nullptr) {
            work(*object);
        }
        return object != nullptr;
    }

private:
    Object* known(ULONG_PTR handle) const {
        auto* object = reinterpret_cast<Object*>(handle);
        return objects_.contains(object) ? object : nullptr;
    }

    std::mutex mutex_;
    std::unordered_set<Object*> objects_;
};

} // namespace basalt
