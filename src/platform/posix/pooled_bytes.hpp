// pooled_bytes.hpp - PooledBytes, memory for large pixel stores drawn from the same pool as
// movable memory blocks (memory.cpp).
//
// A device bitmap of the screen's format is written once, right after it is made, like a
// result block: taking its rows from the block pool gives it 2 MiB-aligned mappings with
// transparent huge pages (one page fault per 2 MiB rather than per 4 KiB) and reuses freed
// mappings, so making a 64 MB bitmap costs about the writing of its rows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

namespace vx::posix {

class PooledBytes {
public:
    PooledBytes() = default;
    PooledBytes(const PooledBytes&) = delete;
    PooledBytes& operator=(const PooledBytes&) = delete;
    PooledBytes(PooledBytes&& other) noexcept { swap(other); }
    PooledBytes& operator=(PooledBytes&& other) noexcept {
        PooledBytes gone(static_cast<PooledBytes&&>(other));
        swap(gone);
        return *this;
    }
    ~PooledBytes() { release(); }

    // `size` bytes of zero. Throws std::bad_alloc.
    void assign(size_t size, uint8_t zero);
    // A copy of [first, last). Throws std::bad_alloc.
    void assign(const uint8_t* first, const uint8_t* last);

    uint8_t* data() { return data_; }
    const uint8_t* data() const { return data_; }
    size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }

private:
    void acquire(size_t size, bool zero);
    void release();
    void swap(PooledBytes& other) noexcept {
        std::swap(data_, other.data_);
        std::swap(size_, other.size_);
        std::swap(capacity_, other.capacity_);
        std::swap(mapped_, other.mapped_);
    }
    uint8_t* data_ = nullptr;
    size_t size_ = 0;
    size_t capacity_ = 0;
    bool mapped_ = false;
};

}  // namespace vx::posix
