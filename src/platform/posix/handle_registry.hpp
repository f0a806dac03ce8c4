// handle_registry.hpp - the set of live handles of one kind (memory blocks, palettes).
//
// Handles are pointers; a caller may still pass a stale or invented one. Every call that takes
// a handle looks it up here first, so a bad handle gets the Win32 failure result instead of a
// wild dereference, and a double free is refused instead of corrupting the heap.
#pragma once

#include <mutex>
#include <unordered_map>

namespace vx::posix {

template <typename Object>
class HandleRegistry {
public:
    void add(const void* handle, Object* object) {
        std::lock_guard lock(mutex_);
        live_[handle] = object;
    }
    // The object behind a live handle, or null.
    Object* find(const void* handle) const {
        std::lock_guard lock(mutex_);
        auto it = live_.find(handle);
        return it == live_.end() ? nullptr : it->second;
    }
    // Removes a live handle and returns its object, or null when it was not live.
    Object* remove(const void* handle) {
        std::lock_guard lock(mutex_);
        auto it = live_.find(handle);
        if (it == live_.end()) return nullptr;
        Object* object = it->second;
        live_.erase(it);
        return object;
    }
    // Runs f(object) while holding the registry lock; false when the handle is not live.
    template <typename F>
    bool with(const void* handle, F&& f) {
        std::lock_guard lock(mutex_);
        auto it = live_.find(handle);
        if (it == live_.end()) return false;
        f(*it->second);
        return true;
    }

private:
    mutable std::mutex mutex_;
    std::unordered_map<const void*, Object*> live_;
};

}  // namespace vx::posix
