// scale_models.hpp - test models of the scaling family, written pixel by pixel from the
// library's mapping: the nearest-neighbour crop-and-scale (also ScaleDIB's 1-bit path).
#pragma once

#include <algorithm>
#include <cstdint>

#include "dib_builder.hpp"
#include "pixels.hpp"

namespace vxtest {

template <typename F>
void WithDepth(int bits, F&& f) {
    vx::DispatchDepth(uint32_t(bits), std::forward<F>(f));
}

// The rectangle (x0, y0, w, h), counted from the top of the picture, resampled to outW x outH:
// output row j from the top samples y0 + floor((8 j h + 4 outH) / (8 outH)), column x likewise;
// the first index at or past the image's edge ends the row, or the picture. The block has a
// spare row and 16 spare bytes; biSizeImage is the source's.
inline Bytes ModelCropScale(const Bytes& src, int64_t x0, int64_t y0, int64_t w, int64_t h,
                            int64_t outW, int64_t outH) {
    const int bits = src[14];
    const int64_t imageW = int32_t(GetU32(src, 4)), imageH = int32_t(GetU32(src, 8));
    const uint32_t used = GetU32(src, 32);
    const size_t table = 4 * size_t(used ? used : bits <= 8 ? 1u << bits : 0u);
    const size_t outStride = Stride(outW, bits);
    Bytes out(40 + table + (size_t(outH) + 1) * outStride + 16, 0);
    std::copy(src.begin(), src.begin() + long(40 + table), out.begin());
    PutU32(out, 4, uint32_t(outW));
    PutU32(out, 8, uint32_t(outH));
    WithDepth(bits, [&](auto depth) {
        constexpr unsigned kBits = decltype(depth)::value;
        for (int64_t j = 0; j < outH; ++j) {
            const int64_t sy = y0 + (8 * j * h + 4 * outH) / (8 * outH);
            if (sy >= imageH) break;
            const uint8_t* row = &src[40 + table + size_t(imageH - 1 - sy) * Stride(imageW, bits)];
            uint8_t* dst = &out[40 + table + size_t(outH - 1 - j) * outStride];
            for (int64_t x = 0; x < outW; ++x) {
                const int64_t sx = x0 + (8 * x * w + 4 * outW) / (8 * outW);
                if (sx >= imageW) break;
                vx::SetPixel<kBits>(dst, uint64_t(x), vx::GetPixel<kBits>(row, uint64_t(sx)));
            }
        }
    });
    return out;
}

}  // namespace vxtest
