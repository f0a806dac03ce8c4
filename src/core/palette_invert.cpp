// palette_invert.cpp - InvertMonoDIB and InvertDIBPalette, the two colour-table inversions that
// work on a DIB in place.
//
// InvertMonoDIB complements every pixel index of a 1-bit DIB and swaps its two colours, so the
// picture looks the same while the bits are inverted (what a device expecting "1 = black"
// needs). It addresses the pixels as the library always has, at byte 48 (a 40-byte header and
// two entries), whatever biSize and biClrUsed say. InvertDIBPalette makes a negative of an
// indexed image by inverting its colour table alone. Neither reports anything: a block they
// cannot work on is left as it is (InvertDIBPalette answers FALSE).
#include <cstdint>
#include <utility>

#include "vexora.h"

#include "dib_layout.hpp"
#include "guards.hpp"
#include "outcome.hpp"

namespace vx {
namespace {

constexpr uint64_t kMonoPixelOffset = kInfoHeaderSize + 2 * 4;

void InvertBytes(uint8_t* p, uint64_t n) {
    for (uint64_t i = 0; i < n; ++i) p[i] = static_cast<uint8_t>(~p[i]);
}

}  // namespace
}  // namespace vx

using namespace vx;

extern "C" {

VXAPI void VXCALL InvertMonoDIB(HDIB dib) {
    RunExport(Silent{}, [&]() -> Outcome<void> {
        if (dib == nullptr) return Fail();
        BlockLock lock(dib);
        if (!lock || lock.size() < kMonoPixelOffset) return Fail();
        uint8_t* block = lock.data();
        if (LoadU16(block + bih::kBitCount) != 1) return Fail();
        const int64_t width = LoadI32(block + bih::kWidth);
        const int64_t height = LoadI32(block + bih::kHeight);
        if (width < 0) return Fail();
        const uint64_t rows = static_cast<uint64_t>(height < 0 ? -height : height);
        const uint64_t bytes = rows * RowStride64(static_cast<uint64_t>(width), 1);
        if (kMonoPixelOffset + bytes > lock.size()) return Fail();

        uint8_t* colours = block + kInfoHeaderSize;
        for (int c = 0; c < 3; ++c) std::swap(colours[c], colours[4 + c]);  // reserved bytes stay
        InvertBytes(block + kMonoPixelOffset, bytes);
        return {};
    });
}

VXAPI BOOL VXCALL InvertDIBPalette(HDIB dib) {
    return RunExport(Silent{}, [&]() -> Outcome<BOOL> {
        if (dib == nullptr) return Fail();
        BlockLock lock(dib);
        if (!lock || lock.size() < kInfoHeaderSize) return Fail();
        uint8_t* block = lock.data();
        if (LoadU32(block + bih::kSize) != kInfoHeaderSize) return Fail();
        const uint64_t entries = LoadU32(block + bih::kClrUsed);
        if (kInfoHeaderSize + entries * 4 > lock.size()) return Fail();
        uint8_t* table = block + kInfoHeaderSize;
        for (uint64_t i = 0; i < entries; ++i)
            for (int c = 0; c < 3; ++c) table[i * 4 + c] = static_cast<uint8_t>(255 - table[i * 4 + c]);
        return TRUE;
    });
}

}  // extern "C"
