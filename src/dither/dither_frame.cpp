// dither_frame.cpp - DitherFrame's checks (checkSource), set-up and working memory (prepare),
// row loading and result (finish) for the four dithers (see dither_frame.hpp for the method).
//
// The check order is the family's: output depth argument, handle, lock, then the source depth
// (whose refusal leaves the source locked); after those come the checks that keep every access
// inside the source block (width 1 to 32767, height at least 1, a block that holds the header,
// the full colour table of its depth and every row). Working memory is taken in the documented
// order (channel planes, output planes, error rows); when the planes cannot be had the source
// is unlocked, when a later block cannot be had it stays locked, again as the family has
// always left it. Every refusal carries the code the module code receives.
//
// The luminance of 24-bit rows is taken 16 pixels at a time in AVX2 where the process allows
// it (decided once per call), giving the bytes of the portable loop.
#include "dither/dither_frame.hpp"

#include <array>
#include <cstring>
#include <new>

#include "dib_layout.hpp"
#include "simd.hpp"

#if defined(VX_SIMD_SSE2)
#include <immintrin.h>
#endif

namespace vx::dither {
namespace {

template <typename T>
std::unique_ptr<T[]> ZeroFilled(uint64_t count) {
    if (count > SIZE_MAX / sizeof(T)) return nullptr;
    return std::unique_ptr<T[]>(new (std::nothrow) T[static_cast<size_t>(count)]());
}

// One source row of `Bits` bits into the planes: red, green and blue, or the luminance alone.
template <unsigned Bits, bool Gray>
void LoadRow(const uint8_t* row, int32_t padded, const DitherFrame::Palette& palette, uint8_t* planes) {
    uint8_t* red = planes;
    uint8_t* green = planes + padded;
    uint8_t* blue = planes + 2 * padded;
    const auto entry = [&](int32_t x, unsigned index) {
        if constexpr (Gray) {
            red[x] = palette.luminance[index];
        } else {
            red[x] = palette.red[index];
            green[x] = palette.green[index];
            blue[x] = palette.blue[index];
        }
    };
    if constexpr (Bits == 4) {
        for (int32_t i = 0; i < padded / 2; ++i) {
            entry(2 * i, row[i] >> 4);
            entry(2 * i + 1, row[i] & 15u);
        }
    } else if constexpr (Bits == 8) {
        for (int32_t x = 0; x < padded; ++x) entry(x, row[x]);
    } else {
        for (int32_t x = 0; x < padded; ++x) {
            const uint8_t* p = row + 3 * x;
            if constexpr (Gray) {
                red[x] = Luminance(p[2], p[1], p[0]);
            } else {
                red[x] = p[2];
                green[x] = p[1];
                blue[x] = p[0];
            }
        }
    }
}

#if defined(VX_SIMD_TARGETS) && defined(VX_SIMD_SSE2)
// Luminance of the blue-green-red pixels of a 24-bit row, 16 at a time, while the loads (which
// read 4 bytes past the 16th pixel) stay inside the `count` pixels; returns how many it did.
// Each pixel's bytes are spread to b g r 0, multiplied by 11 59 30 0 and summed in pairs, so
// the 32-bit lanes hold 30 R + 59 G + 11 B; the division by 100 is the multiply-shift of
// Luminance as a high-half multiply by 5243 and a shift by 3.
// 30 R + 59 G + 11 B of the 4 pixels at `low` and the 4 at `high`, in 32-bit lanes.
VX_TARGET_AVX2 inline __m256i WeightedSums24(const uint8_t* low, const uint8_t* high) {
    const __m256i spread = _mm256_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1,  //
                                            0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1);
    const __m256i weights = _mm256_setr_epi8(11, 59, 30, 0, 11, 59, 30, 0, 11, 59, 30, 0, 11, 59, 30, 0,  //
                                             11, 59, 30, 0, 11, 59, 30, 0, 11, 59, 30, 0, 11, 59, 30, 0);
    const __m256i px =
        _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(low))),
                                _mm_loadu_si128(reinterpret_cast<const __m128i*>(high)), 1);
    return _mm256_madd_epi16(_mm256_maddubs_epi16(_mm256_shuffle_epi8(px, spread), weights), _mm256_set1_epi16(1));
}

VX_TARGET_AVX2 int32_t Luminance24Avx2(const uint8_t* row, int32_t count, uint8_t* out) {
    const __m256i reciprocal = _mm256_set1_epi16(5243);
    int32_t x = 0;
    for (; 3 * x + 52 <= 3 * count; x += 16) {
        const uint8_t* p = row + 3 * x;
        // Lanes: pixels 0-3 and 8-11, then 4-7 and 12-15, so that the packs come out in order.
        const __m256i words = _mm256_packus_epi32(WeightedSums24(p, p + 24), WeightedSums24(p + 12, p + 36));
        const __m256i gray = _mm256_srli_epi16(_mm256_mulhi_epu16(words, reciprocal), 3);
        const __m256i bytes = _mm256_permute4x64_epi64(_mm256_packus_epi16(gray, gray), 0x08);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x), _mm256_castsi256_si128(bytes));
    }
    return x;
}

// LoadRow<24, true> with the pixels Luminance24Avx2 takes done there.
void LoadLuminance24Avx2(const uint8_t* row, int32_t padded, const DitherFrame::Palette&, uint8_t* planes) {
    int32_t x = Luminance24Avx2(row, padded, planes);
    for (; x < padded; ++x) planes[x] = Luminance(row[3 * x + 2], row[3 * x + 1], row[3 * x]);
}
#endif

template <unsigned Bits>
constexpr DitherFrame::RowLoader kColourLoader = LoadRow<Bits, false>;
template <unsigned Bits>
constexpr DitherFrame::RowLoader kLuminanceLoader = LoadRow<Bits, true>;

void WritePalette(uint8_t* table, int bits) {
    for (unsigned i = 0; i < (1u << bits); ++i) {
        unsigned red, green, blue;
        if (bits == 1) {
            red = green = blue = i != 0 ? 255 : 0;
        } else if (bits == 4) {
            red = i & 8 ? 255 : 0;
            green = i & 4 ? 255 : 0;
            blue = i & 2 ? 255 : 0;
        } else {
            red = i / 32 * 36;
            green = i / 4 % 8 * 36;
            blue = i % 4 * 85;
        }
        table[4 * i] = static_cast<uint8_t>(blue);
        table[4 * i + 1] = static_cast<uint8_t>(green);
        table[4 * i + 2] = static_cast<uint8_t>(red);
        table[4 * i + 3] = 0;
    }
}

// The 8 bits of a 1-bit byte spread to bit 0 of the 8 nibbles of four 4-bit pixels bytes,
// left pixel in the high nibble, as a little-endian word.
constexpr std::array<uint32_t, 256> kSpread = [] {
    std::array<uint32_t, 256> t{};
    for (unsigned v = 0; v < 256; ++v)
        for (unsigned j = 0; j < 8; ++j)
            if (v & (0x80u >> j)) t[v] |= 1u << (8 * (j / 2) + (j % 2 != 0 ? 0 : 4));
    return t;
}();

}  // namespace

Outcome<void> DitherFrame::checkSource(HDIB dib, int depth, const DitherRules& rules) {
    if (depth != 1 && depth != 4 && !(depth == 8 && rules.acceptsEightBits)) return Fail(IMGERR_PARAMETER);
    if (dib == nullptr) return Fail(rules.nullHandleCode);
    source_ = BlockLock(dib);
    if (!source_) return Fail(rules.lockFailureCode);
    if (source_.size() < kInfoHeaderSize) {
        source_.unlock();
        return Fail(IMGERR_PARAMETER);
    }
    const uint8_t* header = source_.data();
    const uint32_t bits = sourceBits_ = LoadU16(header + bih::kBitCount);
    if (static_cast<uint32_t>(depth) >= bits || (bits != 4 && bits != 8 && bits != 24)) {
        source_.keepLocked();
        return Fail(IMGERR_DITHERPARAM);
    }
    width_ = LoadI32(header + bih::kWidth);
    height_ = LoadI32(header + bih::kHeight);
    pixelOffset_ = kInfoHeaderSize + 4 * uint64_t{ColorCountForDepth(bits)};
    const bool sized = width_ >= 1 && width_ <= kWidestImage && height_ >= 1;
    sourceStride_ = sized ? RowStride64(static_cast<uint64_t>(width_), bits) : 0;
    if (!sized || pixelOffset_ + sourceStride_ * static_cast<uint64_t>(height_) > source_.size()) {
        source_.unlock();
        return Fail(IMGERR_PARAMETER);
    }
    return {};
}

Outcome<void> DitherFrame::prepare(int depth, const DitherRules& rules) {
    const uint32_t bits = sourceBits_;
    const uint8_t* header = source_.data();
    outBits_ = depth;
    const auto w = static_cast<uint32_t>(width_);
    padded_ = static_cast<int32_t>(bits == 4 ? (w * 4 + 31) / 32 * 8 : (w * 8 + 31) / 32 * 4);
    rowReadBytes_ = static_cast<uint64_t>(padded_) * (bits == 24 ? 3 : 1) / (bits == 4 ? 2 : 1);
    const uint32_t colours = ColorCountForDepth(bits);
    for (uint32_t i = 0; i < colours; ++i) {
        const uint8_t* q = header + kInfoHeaderSize + 4 * i;
        palette_.blue[i] = q[0];
        palette_.green[i] = q[1];
        palette_.red[i] = q[2];
        palette_.luminance[i] = Luminance(q[2], q[1], q[0]);
    }
    colours_ = bits == 4 ? kColourLoader<4> : bits == 8 ? kColourLoader<8> : kColourLoader<24>;
    luminance_ = bits == 4 ? kLuminanceLoader<4> : bits == 8 ? kLuminanceLoader<8> : kLuminanceLoader<24>;
#if defined(VX_SIMD_TARGETS) && defined(VX_SIMD_SSE2)
    if (bits == 24 && SimdAllows(SimdLevel::kAvx2)) luminance_ = LoadLuminance24Avx2;
#endif
    firstRowRightToLeft_ = rules.firstRowRightToLeft && depth == 1;

    const auto p = static_cast<uint64_t>(padded_), h = static_cast<uint64_t>(height_);
    planes_ = ZeroFilled<uint8_t>(3 * p + 1 + rowReadBytes_);
    if (!planes_) {
        source_.unlock();
        return Fail(IMGERR_NOMEMORY);
    }
    outputStride_ = RowStride64(w, depth == 4 ? 1 : static_cast<uint64_t>(depth));
    outputPlaneBytes_ = outputStride_ * h;
    output_ = ZeroFilled<uint8_t>(outputPlaneBytes_ * (depth == 4 ? 3 : 1));
    if (output_) {
        const auto rows = static_cast<uint64_t>(rules.errorRowsPerChannel * channels());
        errors_ = ZeroFilled<int16_t>(kLeadingSlots + rows * (p + kSpareSlots) + kTrailingSlots);
    }
    if (!output_ || !errors_) {
        source_.keepLocked();
        return Fail(IMGERR_NOMEMORY);
    }
    return {};
}

Outcome<void> DitherFrame::open(HDIB dib, int depth, const DitherRules& rules) {
    const Outcome<void> checked = checkSource(dib, depth, rules);
    if (!checked) return checked;
    return prepare(depth, rules);
}

const uint8_t* DitherFrame::sourceRow(int32_t y) {
    const uint64_t at = pixelOffset_ + static_cast<uint64_t>(y) * sourceStride_;
    const uint64_t size = source_.size();
    if (at + rowReadBytes_ <= size) return source_.data() + at;
    // The read runs past the block: what the block holds, then zeros.
    uint8_t* scratch = planes_.get() + 3 * padded_ + 1;
    const uint64_t have = at < size ? size - at : 0;
    if (have != 0) std::memcpy(scratch, source_.data() + at, have);
    std::memset(scratch + have, 0, rowReadBytes_ - have);
    return scratch;
}

void DitherFrame::loadRow(int32_t y) {
    (outBits_ == 1 ? luminance_ : colours_)(sourceRow(y), padded_, palette_, planes_.get());
}

void DitherFrame::loadFirstRow() {
    if (!firstRowRightToLeft_) {
        loadRow(0);
        return;
    }
    colours_(sourceRow(0), padded_, palette_, planes_.get());
    // From slot P down to slot 1: slot P of plane 0 is slot 0 of the green plane, and the
    // blue value read for it is the zero byte after the planes.
    uint8_t* p = planes_.get();
    for (int32_t i = padded_; i >= 1; --i) p[i] = Luminance(p[i], p[padded_ + i], p[2 * padded_ + i]);
}

Outcome<HDIB> DitherFrame::finish() {
    const int32_t xPels = LoadI32(source_.data() + bih::kXPels);
    const int32_t yPels = LoadI32(source_.data() + bih::kYPels);
    source_.unlock();

    const uint32_t colours = 1u << outBits_;
    const auto w = static_cast<uint64_t>(width_), h = static_cast<uint64_t>(height_);
    const uint64_t stride = RowStride64(w, static_cast<uint64_t>(outBits_));
    const uint64_t image = stride * h;
    const uint64_t pixels = kInfoHeaderSize + 4 * uint64_t{colours};
    OwnedBlock block = OwnedBlock::Allocate(pixels + image);
    BlockLock lock;
    if (block) lock = BlockLock(block.get());
    if (!lock) return Fail(IMGERR_NOMEMORY);
    uint8_t* out = lock.data();
    WriteInfoHeader(out, {.width = width_,
                          .height = height_,
                          .bitCount = static_cast<uint16_t>(outBits_),
                          .sizeImage = static_cast<uint32_t>(image),
                          .xPels = xPels,
                          .yPels = yPels,
                          .clrUsed = colours});
    WritePalette(out + kInfoHeaderSize, outBits_);

    if (outBits_ != 4) {
        std::memcpy(out + pixels, output_.get(), image);
    } else {
        // One byte of each 1-bit image makes 8 pixels, 4 bytes; stride / 4 groups per row.
        for (uint64_t y = 0; y < h; ++y) {
            const uint8_t* red = outputRow(0, static_cast<int32_t>(y));
            const uint8_t* green = outputRow(1, static_cast<int32_t>(y));
            const uint8_t* blue = outputRow(2, static_cast<int32_t>(y));
            uint8_t* row = out + pixels + y * stride;
            for (uint64_t g = 0; g < stride / 4; ++g)
                StoreU32(row + 4 * g, kSpread[red[g]] << 3 | kSpread[green[g]] << 2 | kSpread[blue[g]] << 1);
        }
    }
    lock.unlock();
    return block.release();
}

}  // namespace vx::dither
