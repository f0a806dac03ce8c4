// memory.cpp - movable memory blocks (GlobalAlloc and friends) with Win32 semantics, and the
// local blocks of the dialogs (LocalAlloc, LocalFree, LocalLock, LocalUnlock, LocalHandle),
// which are the same blocks under the same rules.
//
// An HDIB is one of these blocks, so this allocator sits on the path of every operation. The
// contract is Windows': GlobalSize answers exactly the size asked for (SaveDIB writes the
// whole block, so rounding would change files), GMEM_ZEROINIT blocks read as zero, lock counts
// are kept, a locked or fixed block is only resized in place unless GMEM_MOVEABLE allows a
// move, and a GMEM_FIXED handle is the address of its memory.
//
// Speed: a result block is written once, right after it is allocated. Writing into freshly
// mapped pages costs a page fault per 4 KiB and runs several times slower than writing into
// memory already touched, so large blocks are mapped 2 MiB-aligned with transparent huge pages
// requested (one fault per 2 MiB), and freed large mappings are kept in a small cache and
// reused (zeroed with memset, which runs at copy speed). Cached mappings are handed back to the
// kernel with MADV_FREE, so memory pressure can still reclaim them.
#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <unordered_map>
#include <vector>

#include "vexora_win32.h"

#include "platform/posix/pooled_bytes.hpp"

namespace vx::posix {
namespace {

constexpr size_t kMapThreshold = size_t{1} << 20;      // blocks from 1 MiB are mapped
constexpr size_t kHugePage = size_t{2} << 20;
constexpr size_t kPageSize = 4096;
constexpr size_t kCacheEntries = 8;
constexpr size_t kCacheBytes = size_t{512} << 20;

size_t RoundUp(size_t n, size_t to) { return (n + to - 1) / to * to; }

struct Storage {
    uint8_t* data = nullptr;
    size_t capacity = 0;
    bool mapped = false;
};

// Maps `bytes` (a multiple of the page size), aligned to a huge page when large enough.
uint8_t* MapAligned(size_t bytes) {
    const size_t align = bytes >= kHugePage ? kHugePage : kPageSize;
    const size_t span = bytes + align - kPageSize;
    void* raw = mmap(nullptr, span, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (raw == MAP_FAILED) return nullptr;
    const auto base = reinterpret_cast<uintptr_t>(raw);
    const uintptr_t aligned = RoundUp(base, align);
    if (aligned > base) munmap(raw, aligned - base);
    const uintptr_t end = base + span, used = aligned + bytes;
    if (end > used) munmap(reinterpret_cast<void*>(used), end - used);
    auto* p = reinterpret_cast<uint8_t*>(aligned);
#ifdef MADV_HUGEPAGE
    if (bytes >= kHugePage) madvise(p, bytes, MADV_HUGEPAGE);
#endif
    return p;
}

// Builds with AddressSanitizer fill blocks asked for without GMEM_ZEROINIT with a pattern, so a
// kernel that skips the zero fill but leaves a byte unwritten gives other bytes there and its
// tests fail, instead of passing on fresh pages that happen to read as zero.
#if defined(__SANITIZE_ADDRESS__)
#define VX_POISON_UNZEROED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VX_POISON_UNZEROED 1
#endif
#endif

Storage Poisoned(Storage s, size_t bytes, bool zero) {
#ifdef VX_POISON_UNZEROED
    if (!zero && s.data != nullptr) std::memset(s.data, 0xA5, bytes);
#else
    (void)bytes, (void)zero;
#endif
    return s;
}

class StoragePool {
public:
    Storage acquire(size_t bytes, bool zero) {
        if (bytes < kMapThreshold) {
            void* p = zero ? std::calloc(bytes ? bytes : 1, 1) : std::malloc(bytes ? bytes : 1);
            return Poisoned(Storage{static_cast<uint8_t*>(p), p ? bytes : 0, false}, bytes, zero);
        }
        const size_t capacity = RoundUp(bytes, bytes >= kHugePage ? kHugePage : kPageSize);
        if (Storage reused = takeCached(capacity); reused.data != nullptr) {
            if (zero) std::memset(reused.data, 0, bytes);
            return Poisoned(reused, bytes, zero);
        }
        uint8_t* p = MapAligned(capacity);  // fresh anonymous pages read as zero
        return Poisoned(p ? Storage{p, capacity, true} : Storage{}, bytes, zero);
    }

    void release(Storage s) {
        if (s.data == nullptr) return;
        if (!s.mapped) {
            std::free(s.data);
            return;
        }
        std::lock_guard lock(mutex_);
        if (s.capacity > kCacheBytes) {
            munmap(s.data, s.capacity);
            return;
        }
#ifdef MADV_FREE
        madvise(s.data, s.capacity, MADV_FREE);
#endif
        cache_.push_back(s);
        cachedBytes_ += s.capacity;
        while (cache_.size() > kCacheEntries || cachedBytes_ > kCacheBytes) {
            munmap(cache_.front().data, cache_.front().capacity);
            cachedBytes_ -= cache_.front().capacity;
            cache_.erase(cache_.begin());
        }
    }

private:
    // The smallest cached mapping that holds `capacity` without wasting more than half of it.
    Storage takeCached(size_t capacity) {
        std::lock_guard lock(mutex_);
        auto best = cache_.end();
        for (auto it = cache_.begin(); it != cache_.end(); ++it) {
            if (it->capacity >= capacity && it->capacity / 2 <= capacity &&
                (best == cache_.end() || it->capacity < best->capacity))
                best = it;
        }
        if (best == cache_.end()) return Storage{};
        Storage s = *best;
        cache_.erase(best);
        cachedBytes_ -= s.capacity;
        return s;
    }

    std::mutex mutex_;
    std::vector<Storage> cache_;
    size_t cachedBytes_ = 0;
};

StoragePool& Pool() {
    static StoragePool* pool = new StoragePool;  // never destroyed: blocks may outlive statics
    return *pool;
}

}  // namespace

void PooledBytes::acquire(size_t size, bool zero) {
    const Storage storage = Pool().acquire(size, zero);
    if (storage.data == nullptr) throw std::bad_alloc();
    release();
    data_ = storage.data;
    size_ = size;
    capacity_ = storage.capacity;
    mapped_ = storage.mapped;
}

void PooledBytes::release() {
    Pool().release(Storage{data_, capacity_, mapped_});
    data_ = nullptr;
    size_ = capacity_ = 0;
    mapped_ = false;
}

void PooledBytes::assign(size_t size, uint8_t zero) {
    acquire(size, true);
    if (zero != 0) std::memset(data_, zero, size);
}

void PooledBytes::assign(const uint8_t* first, const uint8_t* last) {
    const auto size = static_cast<size_t>(last - first);
    acquire(size, false);
    if (size != 0) std::memcpy(data_, first, size);
}

namespace {

// The set of live blocks. Handles are pointers; a caller may still pass a stale or invented
// one. Every call looks its handle up here first, so a bad handle gets the Win32 failure result
// instead of a wild dereference, and a double free is refused instead of corrupting the heap.
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
    // The handle of the live object for which `matches` holds, or null.
    template <typename F>
    const void* findHandle(F&& matches) const {
        std::lock_guard lock(mutex_);
        for (const auto& [handle, object] : live_)
            if (matches(*object)) return handle;
        return nullptr;
    }

private:
    mutable std::mutex mutex_;
    std::unordered_map<const void*, Object*> live_;
};

struct Block {
    Storage storage;
    size_t size = 0;
    unsigned locks = 0;
    bool fixed = false;
};

HandleRegistry<Block>& Blocks() {
    static auto* registry = new HandleRegistry<Block>;
    return *registry;
}

// The handle callers see: the block record for movable blocks, the memory for fixed ones.
const void* HandleOf(const Block* b) {
    return b->fixed ? static_cast<const void*>(b->storage.data) : static_cast<const void*>(b);
}

}  // namespace
}  // namespace vx::posix

using vx::posix::Block;
using vx::posix::Blocks;
using vx::posix::Pool;

extern "C" {

VXPLATFORMAPI HGLOBAL GlobalAlloc(UINT flags, size_t bytes) {
    auto* b = new (std::nothrow) Block;
    if (b == nullptr) return nullptr;
    b->fixed = (flags & GMEM_MOVEABLE) == 0;
    if (bytes > 0 || b->fixed) {
        b->storage = Pool().acquire(bytes, (flags & GMEM_ZEROINIT) != 0);
        if (b->storage.data == nullptr) {
            delete b;
            return nullptr;
        }
    }
    b->size = bytes;
    const void* handle = vx::posix::HandleOf(b);
    try {
        Blocks().add(handle, b);
    } catch (...) {
        Pool().release(b->storage);
        delete b;
        return nullptr;
    }
    return const_cast<void*>(handle);
}

VXPLATFORMAPI LPVOID GlobalLock(HGLOBAL handle) {
    LPVOID result = nullptr;
    Blocks().with(handle, [&](Block& b) {
        if (b.storage.data == nullptr) return;  // a zero-size movable block is discarded
        if (!b.fixed) ++b.locks;
        result = b.storage.data;
    });
    return result;
}

VXPLATFORMAPI BOOL GlobalUnlock(HGLOBAL handle) {
    BOOL stillLocked = FALSE;
    Blocks().with(handle, [&](Block& b) {
        if (b.locks > 0) --b.locks;
        stillLocked = b.locks > 0 ? TRUE : FALSE;
    });
    return stillLocked;
}

VXPLATFORMAPI size_t GlobalSize(HGLOBAL handle) {
    size_t size = 0;
    Blocks().with(handle, [&](Block& b) { size = b.size; });
    return size;
}

VXPLATFORMAPI HGLOBAL GlobalFree(HGLOBAL handle) {
    if (handle == nullptr) return nullptr;
    Block* b = Blocks().remove(handle);
    if (b == nullptr) return handle;  // not a live block: report failure, touch nothing
    Pool().release(b->storage);
    delete b;
    return nullptr;
}

VXPLATFORMAPI HGLOBAL GlobalReAlloc(HGLOBAL handle, size_t bytes, UINT flags) {
    Block* b = Blocks().find(handle);
    if (b == nullptr) return nullptr;
    if (flags & GMEM_MODIFY) return handle;  // attribute changes only: nothing to do here
    if (bytes <= b->storage.capacity && (bytes > 0 || b->fixed)) {
        // In place. Bytes past the old size may hold data of an earlier, larger size.
        if (bytes > b->size) std::memset(b->storage.data + b->size, 0, bytes - b->size);
        b->size = bytes;
        return handle;
    }
    if (bytes == 0) {  // a movable block resized to nothing is discarded, its handle kept
        if (b->locks > 0) return nullptr;
        Pool().release(b->storage);
        b->storage = {};
        b->size = 0;
        return handle;
    }
    if ((b->locks > 0 || b->fixed) && (flags & GMEM_MOVEABLE) == 0) return nullptr;
    vx::posix::Storage grown = Pool().acquire(bytes, true);
    if (grown.data == nullptr) return nullptr;
    if (b->size > 0) std::memcpy(grown.data, b->storage.data, std::min(b->size, bytes));
    if (b->fixed) {
        Blocks().remove(handle);
        Pool().release(b->storage);
        b->storage = grown;
        b->size = bytes;
        try {
            Blocks().add(b->storage.data, b);
        } catch (...) {
            Pool().release(b->storage);
            delete b;
            return nullptr;
        }
        return b->storage.data;
    }
    Pool().release(b->storage);
    b->storage = grown;
    b->size = bytes;
    return handle;
}

VXPLATFORMAPI HLOCAL LocalAlloc(UINT flags, size_t bytes) { return GlobalAlloc(flags, bytes); }
VXPLATFORMAPI HLOCAL LocalFree(HLOCAL block) { return GlobalFree(block); }
VXPLATFORMAPI LPVOID LocalLock(HLOCAL block) { return GlobalLock(block); }
VXPLATFORMAPI BOOL LocalUnlock(HLOCAL block) { return GlobalUnlock(block); }

// The block whose memory starts at `pointer` (a fixed block's handle is its memory), or NULL.
VXPLATFORMAPI HLOCAL LocalHandle(LPCVOID pointer) {
    if (pointer == nullptr) return nullptr;
    return const_cast<void*>(Blocks().findHandle([&](const Block& b) { return b.storage.data == pointer; }));
}

}  // extern "C"
