// expand_rle_fuzz.cpp - fuzz target for the run-length decoder and encoders.
//
// Input: byte 0 chooses the depth (odd: 4 bits, even: 8 bits), bytes 1-2 the width (little-endian,
// below 1024), byte 3 the height; the rest is the encoded stream. The stream is
//   - decoded by the kernel from a buffer of exactly its size into rows of exactly the image's
//     size, so that AddressSanitizer reports any access outside either;
//   - expanded through ExpandCompressedDIB, whose result must have the documented size; that
//     result is compressed and expanded again, which must give it back exactly at 4 bits (x never
//     wraps there) and a block of the same size at 8 bits;
//   - read as a row of pixels by both row encoders, from a buffer that ends where their look past
//     the row ends and into a buffer of exactly the longest code sequence a row may give.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "vexora.h"

#include "formats/rle_codec.hpp"

#include "fuzz_support.hpp"

namespace {

using vexora_fuzz::Check;
using vexora_fuzz::Contents;

using vx::formats::RleTarget;

HDIB BlockOf(const std::vector<uint8_t>& bytes) {
    HDIB block = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, bytes.size());
    Check(block != nullptr);
    std::memcpy(GlobalLock(block), bytes.data(), bytes.size());
    GlobalUnlock(block);
    return block;
}

// Exactly `n` bytes on the heap (at least one, so that the pointer is valid), copied from `from`.
std::unique_ptr<uint8_t[]> Exact(const uint8_t* from, size_t n) {
    std::unique_ptr<uint8_t[]> p(new uint8_t[n == 0 ? 1 : n]);
    if (n != 0) std::memcpy(p.get(), from, n);
    return p;
}

void EncodeRows(const uint8_t* data, size_t size, uint32_t width) {
    const size_t rle8In = width + vx::formats::kRle8ReadsPastRow;
    if (width != 0 && size >= rle8In) {
        const auto row = Exact(data, rle8In);
        const auto out = std::make_unique<uint8_t[]>(vx::formats::MaxRle8RowBytes(width));
        Check(vx::formats::EncodeRle8Row(row.get(), width, out.get()) <= vx::formats::MaxRle8RowBytes(width));
    }
    const size_t rle4In = (width + 1) / 2 + vx::formats::kRle4ReadsPastRow;
    if (width != 0 && size >= rle4In) {
        const auto row = Exact(data, rle4In);
        const auto out = std::make_unique<uint8_t[]>(vx::formats::MaxRle4RowBytes(width));
        Check(vx::formats::EncodeRle4Row(row.get(), width, out.get()) <= vx::formats::MaxRle4RowBytes(width));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 4) return 0;
    const uint16_t bits = (data[0] & 1) ? 4 : 8;
    const int32_t width = (data[1] | data[2] << 8) & 0x3FF, height = data[3];
    const uint8_t* stream = data + 4;
    const size_t streamBytes = size - 4;
    const uint32_t stride = (uint32_t(width) * bits + 31) / 32 * 4;
    const size_t offset = 40 + (size_t{4} << bits), imageBytes = size_t{stride} * uint32_t(height);

    {
        const auto in = Exact(stream, streamBytes);
        const auto rows = std::make_unique<uint8_t[]>(imageBytes == 0 ? 1 : imageBytes);
        const RleTarget target{rows.get(), stride, width, height};
        if (bits == 8) vx::formats::DecodeRle8(in.get(), streamBytes, target);
        else vx::formats::DecodeRle4(in.get(), streamBytes, target);
    }

    std::vector<uint8_t> dib(offset, 0);
    const uint32_t header[10] = {40, uint32_t(width), uint32_t(height), 1u | uint32_t{bits} << 16,
                                 bits == 8 ? 1u : 2u, uint32_t(streamBytes) | 1u, 0, 0, 0, 0};
    std::memcpy(dib.data(), header, sizeof header);
    dib.insert(dib.end(), stream, stream + streamBytes);
    HDIB source = BlockOf(dib);
    HDIB expanded = ExpandCompressedDIB(source);
    GlobalFree(source);
    Check(expanded != nullptr && GlobalSize(expanded) == offset + imageBytes);

    HDIB packed = CompressDIB(expanded);
    Check(packed != nullptr);
    HDIB again = ExpandCompressedDIB(packed);
    Check(again != nullptr);
    if (bits == 4) Check(Contents(again) == Contents(expanded));
    else Check(GlobalSize(again) == GlobalSize(expanded));
    GlobalFree(again);
    GlobalFree(packed);
    GlobalFree(expanded);

    EncodeRows(stream, streamBytes, uint32_t(width));
    return 0;
}
