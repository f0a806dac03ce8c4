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

// Whether a result block is zero-filled when allocated. kWrittenWhole is for kernels that
// write every byte after the header and table, row padding and slack included: the fill would
// be overwritten, and costs about a millisecond per 48 MiB. Sanitizer builds fill such blocks
// with a pattern instead, so a byte left unwritten changes the result and fails its tests.
enum class BlockFill { kZero, kWrittenWhole };

// A locked result of headerAndTable + pixelBytes + slack bytes whose first headerAndTable
// bytes are copied from `source`. Empty when the block cannot be had.
inline std::optional<NewDib> AllocateDibLike(const uint8_t* source, uint64_t headerAndTable,
                                             uint64_t pixelBytes, uint64_t slack = 0,
                                             bool retry = false, BlockFill fill = BlockFill::kZero) {
    const uint64_t bytes = headerAndTable + pixelBytes + slack;
    const UINT flags = fill == BlockFill::kZero ? GMEM_MOVEABLE | GMEM_ZEROINIT : GMEM_MOVEABLE;
    OwnedBlock block = OwnedBlock::Allocate(bytes, flags);
    if (!block && retry) block = OwnedBlock::Allocate(bytes, flags);
    NewDib dib{std::move(block), BlockLock()};
    if (!dib.block) return std::nullopt;
    dib.lock = BlockLock(dib.block.get());
    if (!dib.lock) return std::nullopt;
    std::memcpy(dib.lock.data(), source, headerAndTable);
    return dib;
}

}  // namespace vx
