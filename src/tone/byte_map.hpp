// byte_map.hpp - ByteMap: bytes mapped through a 256-entry table, the step shared by every
// point operation on 8-bit samples (tone tables, brightness and contrast), and the rows of
// index flags the black-and-white thresholds pack into bits.
//
// Two row workers give the same bytes: a portable one that gathers eight look-ups into a word
// before storing them, and, where the SIMD policy allows AVX2, one that looks up 32 bytes at a
// time: the table is held as sixteen 16-byte slices, every slice is looked up by the low four
// bits of each byte (a byte shuffle) and a tree of byte blends picks the slice named by the high
// four bits. Which worker runs is decided when the map is made, once per call.
#pragma once

#include <cstdint>

namespace vx::tone {

class ByteMap {
public:
    using Row = void (*)(const uint8_t* src, uint8_t* dst, uint64_t n, const uint8_t* table);

    // A map through the 256 entries of `table` (copied), with the fastest row worker the
    // process allows, or the portable one when `portable`.
    explicit ByteMap(const uint8_t* table, bool portable = false);

    // dst[i] = table[src[i]] for n bytes. dst may be src; otherwise they must not overlap.
    void map(const uint8_t* src, uint8_t* dst, uint64_t n) const { row_(src, dst, n, table_); }

private:
    alignas(32) uint8_t table_[256];
    Row row_;
};

// Bits of a black-and-white row from 8-bit indices: bit x of the row (most significant first
// in each byte) is set where `set[index[x]]` is not 0. The last byte's bits past `width` are
// 0. Where AVX2 is allowed (and not `portable`), 32 indices at a time look their bit up in a
// 256-bit table, or are compared with the first set index where the set ones are those from
// it on (1 ... 255), and are packed by a byte mask.
class IndexBits {
public:
    explicit IndexBits(const uint8_t* set, bool portable = false);  // 256 entries
    void pack(const uint8_t* index, uint64_t width, uint8_t* out) const;

private:
    alignas(32) uint8_t bits_[32];  // bit (i & 7) of byte i >> 3: index i is set
    uint8_t set_[256];
    int step_;  // the first set index where the set ones are those from it on (1 ... 255), else 0
    bool vectored_;
};

}  // namespace vx::tone
