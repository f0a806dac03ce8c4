// mono_render.hpp - MonoSource, GrayTarget, the mono modes, MonoScratchBytes and RenderMono:
// 1-bit images rendered as 8-bit gray, shared by ConvColorDIBtoGrayscale and
// ConvMonoDIBtoGrayscale. See mono_render.cpp for the method.
#pragma once

#include <cstdint>

namespace vx::tone {

// Rendering modes: expansion to 0 and 255, or the 3 x 3 or 5 x 5 spread.
inline constexpr int kMonoExpand = 0;
inline constexpr int kMonoSpread3 = 1;
inline constexpr int kMonoSpread5 = 2;

constexpr bool IsMonoMode(int mode) { return mode >= kMonoExpand && mode <= kMonoSpread5; }

// The mode an image of `height` rows is rendered with: the 5 x 5 spread falls back to the
// expansion below 4 rows and to the 3 x 3 spread at 4 and 5 rows.
constexpr int EffectiveMonoMode(int mode, int64_t height) {
    if (mode == kMonoSpread5 && height < 4) return kMonoExpand;
    if (mode == kMonoSpread5 && height <= 5) return kMonoSpread3;
    return mode;
}

// The 1-bit rows to render, inside their locked block. Rows that run past the end of the block
// are read as if the missing bytes were 0.
struct MonoSource {
    const uint8_t* block = nullptr;
    uint64_t blockBytes = 0;
    uint64_t pixelOffset = 0;  // the first stored row
    uint64_t stride = 0;
    uint64_t width = 0;
    uint64_t height = 0;
    bool complement = false;  // count the 0-bits instead of the 1-bits
};

// The 8-bit rows to fill, inside their locked block; writes past its end are dropped.
struct GrayTarget {
    uint8_t* block = nullptr;
    uint64_t blockBytes = 0;
    uint64_t pixelOffset = 0;
    uint64_t stride = 0;
};

// Working memory the spreads need (0 for the expansion): the accumulator rows.
uint64_t MonoScratchBytes(int mode, uint64_t width);

// Renders every row in `mode` (an effective mode). `scratch` holds MonoScratchBytes(mode,
// width) bytes of any content. Cannot fail, except for std::bad_alloc of a one-row buffer.
void RenderMono(const MonoSource& source, int mode, const GrayTarget& target, uint8_t* scratch);

}  // namespace vx::tone
