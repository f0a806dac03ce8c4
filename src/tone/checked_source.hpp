// checked_source.hpp - CheckedSource, Stride32 and WriteGrayRamp: the source side shared by
// the tone exports that report through the module error code: ConvColorDIBtoGrayscale,
// ConvMonoDIBtoGrayscale, Convert8to24 and ColorBrightnessContrast.
//
// Each of them runs the same sequence, on the ModuleCode channel cleared on entry. The source
// handle is refused when null (IMGERR_PARAMETER), when it cannot be locked (IMGERR_LOCKMEMORY)
// and when its header is not a 40-byte BITMAPINFOHEADER (IMGERR_PARAMETER; a block too short
// to hold one is refused the same way). Then each export makes its own checks, in its own
// order, each with its own code; the first one that fails decides the code and the later ones
// are not consulted. The result is allocated last (IMGERR_NOMEMORY; a new block that cannot be
// locked is freed and gives IMGERR_LOCKMEMORY). Every failure unlocks the source and refuses
// with its code; success returns the new block, leaving the source locked or not as the export
// has always done.
//
// A CheckedSource holds the locked source, its header fields and that check sequence. Checks
// are written as plain conditions on the header fields, which read as zero when the header
// could not be read, so a condition after a failed check is harmless and ignored. Conditions
// never touch the block itself.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>

#include "vexora.h"

#include "dib_layout.hpp"
#include "dib_result.hpp"
#include "guards.hpp"
#include "outcome.hpp"

namespace vx::tone {

// The fields of the source's info header as stored; all zero when it could not be read.
using SourceHeader = InfoHeader;

// Whether the source stays locked when an export succeeds.
enum class SourceLockOnSuccess { Released, Kept };

class CheckedSource {
public:
    explicit CheckedSource(HDIB dib) {
        if (dib == nullptr) {
            checks_.require(false, IMGERR_PARAMETER);
            return;
        }
        lock_ = BlockLock(dib);
        if (!lock_) {
            checks_.require(false, IMGERR_LOCKMEMORY);
            return;
        }
        const uint8_t* p = lock_.data();
        if (lock_.size() < kInfoHeaderSize || LoadU32(p + bih::kSize) != kInfoHeaderSize) {
            checks_.require(false, IMGERR_PARAMETER);
            return;
        }
        header_ = ReadInfoHeader(p);
    }
    CheckedSource(const CheckedSource&) = delete;
    CheckedSource& operator=(const CheckedSource&) = delete;

    const SourceHeader& header() const { return header_; }
    const uint8_t* data() const { return lock_.data(); }
    uint64_t size() const { return lock_.size(); }

    // Records `code` unless an earlier check has already failed.
    CheckedSource& require(bool ok, int code) {
        checks_.require(ok, code);
        return *this;
    }
    bool refused() const { return !checks_.passed(); }
    // The refusal of the first failed check; the source is unlocked when this guard goes.
    Refusal refusal() const { return checks_.refusal(); }

    // A locked result block of `bytes` (tried twice when `retry`), zero-filled unless the
    // kernel writes all of it (dib_result.hpp). Empty after recording IMGERR_NOMEMORY, or
    // IMGERR_LOCKMEMORY with the block freed. Blocks are sized in 32 bits: a larger result
    // cannot be allocated.
    std::optional<NewDib> allocate(uint64_t bytes, bool retry, BlockFill fill = BlockFill::kZero) {
        const UINT flags = fill == BlockFill::kZero ? GMEM_MOVEABLE | GMEM_ZEROINIT : GMEM_MOVEABLE;
        OwnedBlock block = OwnedBlock::Allocate(bytes, flags);
        if (!block && retry) block = OwnedBlock::Allocate(bytes, flags);
        NewDib dib{std::move(block), BlockLock()};
        if (!dib.block) {
            require(false, IMGERR_NOMEMORY);
            return std::nullopt;
        }
        dib.lock = BlockLock(dib.block.get());
        if (!dib.lock) {
            require(false, IMGERR_LOCKMEMORY);
            return std::nullopt;  // the block is freed with `dib`
        }
        return dib;
    }

    // Hands the result to the caller.
    HDIB succeed(NewDib& result, SourceLockOnSuccess source) {
        if (source == SourceLockOnSuccess::Kept) lock_.keepLocked();
        else lock_.unlock();
        return result.release();
    }

    // Copies n bytes of the source block from `offset`; bytes past the block's end read as 0.
    void readZeroExtended(uint64_t offset, uint64_t n, uint8_t* to) const {
        const uint64_t have = offset < size() ? std::min(n, size() - offset) : 0;
        if (have != 0) std::memcpy(to, data() + offset, have);
        std::memset(to + have, 0, n - have);
    }

private:
    BlockLock lock_;
    SourceHeader header_{.planes = 0};
    CheckSequence checks_;
};

// The channel of these exports.
inline constexpr ModuleCode kToneChannel{.clearedOnEntry = true};

// The gray ramp colour tables of the 8-bit results: entry i = (i, i, i, 0), ascending or
// descending.
inline void WriteGrayRamp(uint8_t* table, bool descending) {
    for (unsigned i = 0; i < 256; ++i) {
        const auto level = static_cast<uint8_t>(descending ? 255 - i : i);
        table[4 * i] = table[4 * i + 1] = table[4 * i + 2] = level;
        table[4 * i + 3] = 0;
    }
}

}  // namespace vx::tone
