// dib_result.hpp - NewDib, AllocateRetrying and AllocateDibLike: building the new DIB an
// operation returns, a zero-filled movable block that starts with a copy of the source's
// header and colour table, locked while the kernel fills it, handed to the caller with
// release().
#pragma once

#include <cstdint>
#include <cstring>
#include <optional>

#include "dib_layout.hpp"
#include "guards.hpp"

namespace vx {

struct NewDib {
    OwnedBlock block;
    BlockLock lock;
    uint8_t* data() const { return lock.data(); }
    // Unlocks and gives the block to the caller.
    [[nodiscard]] HDIB release() {
        lock.unlock();
        return block.release();
    }
};

// A zero-filled block of `bytes`; the allocation is tried a second time with the same size
// before giving up, as the library's larger operations do.
inline OwnedBlock AllocateRetrying(uint64_t bytes) {
    OwnedBlock block = OwnedBlock::Allocate(bytes);
    if (!block) block = OwnedBlock::Allocate(bytes);
    return block;
}

// A locked zero-filled result of headerAndTable + pixelBytes + slack bytes whose first
// headerAndTable bytes are copied from `source`. Empty when the block cannot be had.
inline std::optional<NewDib> AllocateDibLike(const uint8_t* source, uint64_t headerAndTable,
                                             uint64_t pixelBytes, uint64_t slack = 0,
                                             bool retry = false) {
    const uint64_t bytes = headerAndTable + pixelBytes + slack;
    NewDib dib{retry ? AllocateRetrying(bytes) : OwnedBlock::Allocate(bytes), BlockLock()};
    if (!dib.block) return std::nullopt;
    dib.lock = BlockLock(dib.block.get());
    if (!dib.lock) return std::nullopt;
    std::memcpy(dib.lock.data(), source, headerAndTable);
    return dib;
}

}  // namespace vx
