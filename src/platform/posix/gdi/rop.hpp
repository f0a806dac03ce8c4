// rop.hpp - ternary raster operations of the Linux GDI subset: RopUses (whether an operation
// reads the source or the pattern), RopSpan (one operation over a run of bytes of destination
// pixels, with the source and pattern laid out as the destination's bytes are).
//
// A ternary raster operation is the 8-bit truth table in bits 16-23 of its code: bit
// (P << 2 | S << 1 | D) is the result for pattern bit P, source bit S and destination bit D.
// Windows applies it to the raw bits of destination pixels, whatever they mean (BLACKNESS
// makes every bit 0, which on a paletted surface is entry 0, not necessarily black), so the
// evaluator works on whole 64-bit words of bytes. Any of the 256 tables goes through one
// general evaluator (eight minterms ANDed with all-ones or all-zeros masks); the operations
// callers use every day have their own instances, each a single word operation, so SRCAND
// costs what a hand-written AND loop costs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace vx::posix::gdi {

struct RopUses {
    bool source;
    bool pattern;
    bool destination;
};

// Which inputs the truth table `code` depends on.
constexpr RopUses RopInputs(uint8_t code) {
    return {((code >> 2) ^ code) & 0x33 ? true : false, ((code >> 4) ^ code) & 0x0F ? true : false,
            ((code >> 1) ^ code) & 0x55 ? true : false};
}

namespace rop_detail {

// The general evaluator: the OR of the minterms whose result bit is set.
struct General {
    uint64_t m[8];
    explicit General(uint8_t code) {
        for (int i = 0; i < 8; ++i) m[i] = (code >> i) & 1 ? ~uint64_t{0} : 0;
    }
    uint64_t operator()(uint64_t p, uint64_t s, uint64_t d) const {
        return (~p & ~s & ~d & m[0]) | (~p & ~s & d & m[1]) | (~p & s & ~d & m[2]) | (~p & s & d & m[3]) |
               (p & ~s & ~d & m[4]) | (p & ~s & d & m[5]) | (p & s & ~d & m[6]) | (p & s & d & m[7]);
    }
};

#define VX_ROP(name, expr)                                                               \
    struct name {                                                                        \
        uint64_t operator()(uint64_t p, uint64_t s, uint64_t d) const {                  \
            (void)p;                                                                     \
            (void)s;                                                                     \
            (void)d;                                                                     \
            return expr;                                                                 \
        }                                                                                \
    };
VX_ROP(SrcCopy, s)
VX_ROP(SrcPaint, s | d)
VX_ROP(SrcAnd, s & d)
VX_ROP(SrcInvert, s ^ d)
VX_ROP(DstInvert, ~d)
VX_ROP(NotSrcCopy, ~s)
VX_ROP(Blackness, uint64_t{0})
VX_ROP(Whiteness, ~uint64_t{0})
VX_ROP(PatCopy, p)
VX_ROP(PatInvert, p ^ d)
VX_ROP(MergeCopy, p & s)
#undef VX_ROP

inline uint64_t Load(const uint8_t* bytes, size_t n) {
    uint64_t v = 0;
    if (bytes != nullptr) std::memcpy(&v, bytes, n);
    return v;
}

template <typename Op>
void Span(const Op& op, uint8_t* d, const uint8_t* s, const uint8_t* p, size_t n, uint8_t firstMask,
          uint8_t lastMask) {
    if (n == 0) return;
    const uint8_t d0 = d[0], dn = d[n - 1];
    size_t i = 0;
    for (; i + 8 <= n; i += 8) {
        uint64_t dv;
        std::memcpy(&dv, d + i, 8);
        const uint64_t r = op(Load(p ? p + i : nullptr, 8), Load(s ? s + i : nullptr, 8), dv);
        std::memcpy(d + i, &r, 8);
    }
    if (i < n) {
        const size_t rest = n - i;
        const uint64_t r = op(Load(p ? p + i : nullptr, rest), Load(s ? s + i : nullptr, rest), Load(d + i, rest));
        std::memcpy(d + i, &r, rest);
    }
    // Bits of the first and last byte outside the run keep their value.
    if (n == 1) {
        const uint8_t mask = firstMask & lastMask;
        d[0] = static_cast<uint8_t>((d0 & ~mask) | (d[0] & mask));
        return;
    }
    d[0] = static_cast<uint8_t>((d0 & ~firstMask) | (d[0] & firstMask));
    d[n - 1] = static_cast<uint8_t>((dn & ~lastMask) | (d[n - 1] & lastMask));
}

}  // namespace rop_detail

// Applies the operation of truth table `code` to `n` destination bytes; `s` and `p` (null
// when the operation does not read them) hold source and pattern bits at the same positions.
// Only the bits of `firstMask` in the first byte and of `lastMask` in the last are changed.
inline void RopSpan(uint8_t code, uint8_t* d, const uint8_t* s, const uint8_t* p, size_t n, uint8_t firstMask = 0xFF,
                    uint8_t lastMask = 0xFF) {
    using namespace rop_detail;
    switch (code) {
        case 0xCC: Span(SrcCopy{}, d, s, p, n, firstMask, lastMask); return;
        case 0xEE: Span(SrcPaint{}, d, s, p, n, firstMask, lastMask); return;
        case 0x88: Span(SrcAnd{}, d, s, p, n, firstMask, lastMask); return;
        case 0x66: Span(SrcInvert{}, d, s, p, n, firstMask, lastMask); return;
        case 0x55: Span(DstInvert{}, d, s, p, n, firstMask, lastMask); return;
        case 0x33: Span(NotSrcCopy{}, d, s, p, n, firstMask, lastMask); return;
        case 0x00: Span(Blackness{}, d, s, p, n, firstMask, lastMask); return;
        case 0xFF: Span(Whiteness{}, d, s, p, n, firstMask, lastMask); return;
        case 0xF0: Span(PatCopy{}, d, s, p, n, firstMask, lastMask); return;
        case 0x5A: Span(PatInvert{}, d, s, p, n, firstMask, lastMask); return;
        case 0xC0: Span(MergeCopy{}, d, s, p, n, firstMask, lastMask); return;
        default: Span(General{code}, d, s, p, n, firstMask, lastMask); return;
    }
}

}  // namespace vx::posix::gdi
