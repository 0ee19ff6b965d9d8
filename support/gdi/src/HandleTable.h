#pragma once
#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <utility>

namespace gdi {

/// A number for a handle, which none had before and none will have.
void* NewHandle() noexcept;

/// The objects of one kind by their handles, so that a handle which is no more finds nothing. Whoever found an object
/// shares it, and may go on with it while its handle ends.
template <class Object>
class HandleTable {
public:
    std::shared_ptr<Object> Find(const void* handle) noexcept {
        const std::lock_guard lock(mutex);
        const auto found = objects.find(handle);
        return found == objects.end() ? nullptr : found->second;
    }

    /// Raises std::bad_alloc.
    void* Add(std::shared_ptr<Object> object) {
        void* const handle = NewHandle();
        const std::lock_guard lock(mutex);
        objects.emplace(handle, std::move(object));
        return handle;
    }

    /// The object, which may end with what is returned; null if there is none.
    std::shared_ptr<Object> Remove(const void* handle) noexcept {
        const std::lock_guard lock(mutex);
        const auto found = objects.find(handle);
        if (found == objects.end()) return nullptr;
        std::shared_ptr<Object> removed = std::move(found->second);
        objects.erase(found);
        return removed;
    }

private:
    std::mutex mutex;
    std::unordered_map<const void*, std::shared_ptr<Object>> objects;
};

}  // namespace gdi
