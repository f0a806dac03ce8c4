// byte_map.cpp - ByteMap and IndexBits (see byte_map.hpp): table look-ups of 8-bit samples,
// portable and in AVX2.
#include "tone/byte_map.hpp"

#include <bit>
#include <cstring>

#include "simd.hpp"

#if defined(VX_SIMD_TARGETS)
#include <immintrin.h>
#endif

namespace vx::tone {
namespace {

// Eight look-ups gathered into one word before they are stored, so that the loads of a group
// never wait on its stores (dst may be src).
void PortableRow(const uint8_t* src, uint8_t* dst, uint64_t n, const uint8_t* table) {
    uint64_t i = 0;
    for (; i + 8 <= n; i += 8) {
        uint64_t in;
        std::memcpy(&in, src + i, 8);
        uint64_t out = 0;
        for (unsigned k = 0; k < 8; ++k) out |= uint64_t{table[(in >> (8 * k)) & 0xFF]} << (8 * k);
        std::memcpy(dst + i, &out, 8);
    }
    for (; i < n; ++i) dst[i] = table[src[i]];
}

// Eight 0/1 bytes, first at the lowest address, packed into one byte, first in the top bit:
// the multiplier moves byte k's bit to bit 63 - k, and no two partial products overlap.
inline uint8_t PackFlags(const uint8_t* flags) {
    static_assert(std::endian::native == std::endian::little);
    uint64_t v;
    std::memcpy(&v, flags, 8);
    return static_cast<uint8_t>(v * 0x8040201008040201u >> 56);
}

void PortableBits(const uint8_t* index, uint64_t width, uint8_t* out, const uint8_t* set) {
    uint8_t flags[8];
    uint64_t x = 0;
    for (; x + 8 <= width; x += 8) {
        for (unsigned k = 0; k < 8; ++k) flags[k] = set[index[x + k]] != 0 ? 1 : 0;
        *out++ = PackFlags(flags);
    }
    if (x < width) {
        std::memset(flags, 0, sizeof flags);
        for (unsigned k = 0; x + k < width; ++k) flags[k] = set[index[x + k]] != 0 ? 1 : 0;
        *out = PackFlags(flags);
    }
}

#if defined(VX_SIMD_TARGETS)
// The table as the look-up wants it: for each half (indices below and from 128), slice k of
// 16 entries exclusive-ored with slice k - 1 of the same half, so that the slices 0 ... k of a
// half, combined by exclusive or, give slice k itself.
struct Slices {
    __m256i low[8], high[8];
};

VX_TARGET_AVX2 inline __m256i Broadcast16(const uint8_t* bytes) {
    return _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes)));
}

VX_TARGET_AVX2 inline Slices LoadSlices(const uint8_t* table) {
    Slices t;
    t.low[0] = Broadcast16(table);
    t.high[0] = Broadcast16(table + 128);
    for (int k = 1; k < 8; ++k) {
        t.low[k] = _mm256_xor_si256(Broadcast16(table + 16 * k), Broadcast16(table + 16 * (k - 1)));
        t.high[k] = _mm256_xor_si256(Broadcast16(table + 128 + 16 * k), Broadcast16(table + 128 + 16 * (k - 1)));
    }
    return t;
}

// table[x] for 32 bytes. With i = x & 127, step k shuffles slice k by i - 16k: a shuffle gives
// entry (i & 15) where the top bit of its index is clear, that is where i >= 16k, and 0 where
// it is set. So the steps 0 ... i / 16 contribute, and their exclusive or is slice i / 16 of
// each half; bit 7 of x then picks the half.
VX_TARGET_AVX2 inline __m256i LookUp(const Slices& t, __m256i x) {
    __m256i index = _mm256_and_si256(x, _mm256_set1_epi8(0x7F));
    const __m256i step = _mm256_set1_epi8(16);
    __m256i low = _mm256_shuffle_epi8(t.low[0], index), high = _mm256_shuffle_epi8(t.high[0], index);
    for (int k = 1; k < 8; ++k) {
        index = _mm256_sub_epi8(index, step);
        low = _mm256_xor_si256(low, _mm256_shuffle_epi8(t.low[k], index));
        high = _mm256_xor_si256(high, _mm256_shuffle_epi8(t.high[k], index));
    }
    return _mm256_blendv_epi8(low, high, x);
}

VX_TARGET_AVX2 void Avx2Row(const uint8_t* src, uint8_t* dst, uint64_t n, const uint8_t* table) {
    const Slices t = LoadSlices(table);
    uint64_t i = 0;
    for (; i + 32 <= n; i += 32) {
        // A kilobyte ahead: more reads in flight than the hardware prefetcher keeps alone.
        _mm_prefetch(reinterpret_cast<const char*>(src + i + 1024), _MM_HINT_T0);
        const __m256i x = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + i));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + i), LookUp(t, x));
    }
    if (i < n) {
        alignas(32) uint8_t part[32] = {};
        std::memcpy(part, src + i, n - i);
        _mm256_store_si256(reinterpret_cast<__m256i*>(part),
                           LookUp(t, _mm256_load_si256(reinterpret_cast<const __m256i*>(part))));
        std::memcpy(dst + i, part, n - i);
    }
}

// 0xFF for each of 32 indices whose bit is set in `bits`: byte i >> 3 of the 32-byte table
// (two 16-byte shuffles, the upper half chosen by bit 7), tested against 1 << (i & 7). Each
// group of eight flags is then reversed, so that a byte mask puts the first in the top bit.
VX_TARGET_AVX2 inline uint32_t BitsOf32(__m256i x, __m256i lowBits, __m256i highBits) {
    const __m256i byteAt = _mm256_and_si256(_mm256_srli_epi16(x, 3), _mm256_set1_epi8(0x0F));
    const __m256i bytes = _mm256_blendv_epi8(_mm256_shuffle_epi8(lowBits, byteAt),
                                             _mm256_shuffle_epi8(highBits, byteAt), x);
    const __m256i bitOf = _mm256_setr_epi8(1, 2, 4, 8, 16, 32, 64, -128, 1, 2, 4, 8, 16, 32, 64, -128, 1, 2, 4,
                                           8, 16, 32, 64, -128, 1, 2, 4, 8, 16, 32, 64, -128);
    const __m256i bit = _mm256_shuffle_epi8(bitOf, _mm256_and_si256(x, _mm256_set1_epi8(7)));
    const __m256i flags = _mm256_cmpeq_epi8(_mm256_and_si256(bytes, bit), bit);
    const __m256i reverse = _mm256_setr_epi8(7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3,
                                             2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8);
    return static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_shuffle_epi8(flags, reverse)));
}

// The same where the set indices are those above `below` (0 ... 254), as a gray ramp makes
// them: one unsigned comparison, as a signed one of both sides less 128.
VX_TARGET_AVX2 inline uint32_t StepBitsOf32(__m256i x, __m256i below) {
    const __m256i flags = _mm256_cmpgt_epi8(_mm256_xor_si256(x, _mm256_set1_epi8(-128)), below);
    const __m256i reverse = _mm256_setr_epi8(7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3,
                                             2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8);
    return static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_shuffle_epi8(flags, reverse)));
}

// Bits of a row, 32 indices a step, through `bitsOf`; the last byte's bits past the width 0.
template <typename BitsOf>
VX_TARGET_AVX2 inline void Avx2PackRow(const uint8_t* index, uint64_t width, uint8_t* out, BitsOf bitsOf) {
    uint64_t x = 0;
    for (; x + 32 <= width; x += 32, out += 4) {
        _mm_prefetch(reinterpret_cast<const char*>(index + x + 1024), _MM_HINT_T0);  // as in Avx2Row
        const uint32_t packed = bitsOf(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(index + x)));
        std::memcpy(out, &packed, 4);
    }
    if (x < width) {
        const uint64_t rest = width - x;
        alignas(32) uint8_t part[32] = {};
        std::memcpy(part, index + x, rest);
        const uint32_t packed = bitsOf(_mm256_load_si256(reinterpret_cast<const __m256i*>(part)));
        // Byte k holds indices 8k ... 8k + 7, first in the top bit; bits past the width are cleared.
        uint8_t bytes[4];
        std::memcpy(bytes, &packed, 4);
        for (uint64_t k = 0; k * 8 < rest; ++k) {
            const uint64_t inByte = rest - 8 * k < 8 ? rest - 8 * k : 8;
            out[k] = static_cast<uint8_t>(bytes[k] & (0xFF00u >> inByte));
        }
    }
}

struct TableBits {
    __m256i low, high;
    VX_TARGET_AVX2 uint32_t operator()(__m256i x) const { return BitsOf32(x, low, high); }
};
struct StepBits {
    __m256i below;
    VX_TARGET_AVX2 uint32_t operator()(__m256i x) const { return StepBitsOf32(x, below); }
};

VX_TARGET_AVX2 void Avx2Bits(const uint8_t* index, uint64_t width, uint8_t* out, const uint8_t* bits, int step) {
    if (step > 0) Avx2PackRow(index, width, out, StepBits{_mm256_set1_epi8(static_cast<char>(step - 1 - 128))});
    else Avx2PackRow(index, width, out, TableBits{Broadcast16(bits), Broadcast16(bits + 16)});
}
#endif

}  // namespace

ByteMap::ByteMap(const uint8_t* table, bool portable) : row_(PortableRow) {
    std::memcpy(table_, table, sizeof table_);
#if defined(VX_SIMD_TARGETS)
    if (!portable && SimdAllows(SimdLevel::kAvx2)) row_ = Avx2Row;
#else
    (void)portable;
#endif
}

IndexBits::IndexBits(const uint8_t* set, bool portable) : bits_{}, vectored_(false) {
    std::memcpy(set_, set, sizeof set_);
    for (unsigned i = 0; i < 256; ++i)
        if (set[i] != 0) bits_[i >> 3] = static_cast<uint8_t>(bits_[i >> 3] | 1u << (i & 7));
    int first = 0;
    while (first < 256 && set[first] == 0) ++first;
    step_ = first >= 1 && first <= 255 ? first : 0;
    for (int i = first; i < 256; ++i)
        if (set[i] == 0) step_ = 0;
#if defined(VX_SIMD_TARGETS)
    vectored_ = !portable && SimdAllows(SimdLevel::kAvx2);
#else
    (void)portable;
#endif
}

void IndexBits::pack(const uint8_t* index, uint64_t width, uint8_t* out) const {
#if defined(VX_SIMD_TARGETS)
    if (vectored_) {
        Avx2Bits(index, width, out, bits_, step_);
        return;
    }
#endif
    PortableBits(index, width, out, set_);
}

}  // namespace vx::tone
