// tone_dibs.hpp - test helpers for the tone exports that report through the module code:
// packed DIBs with every header field under the test's control and random table and pixel
// bytes (padding included), one export call with everything it left behind, and refusals.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>

#include "dib_builder.hpp"
#include "vexora.h"

namespace vxtest::tone {

struct Header {
    int32_t width = 8, height = 4;
    uint16_t bits = 8;
    uint32_t clrUsed = 0;
    uint32_t sizeImage = 0xFFFFFFFF;  // stride x height unless set
};

inline uint64_t Stride(uint64_t width, uint64_t bits) { return (width * bits + 31) / 32 * 4; }
inline uint16_t GetU16(const Bytes& b, size_t at) { return static_cast<uint16_t>(b.at(at) | b.at(at + 1) << 8); }

// Header, `entries` table entries (biClrUsed, else by depth) and `rows` rows (else the
// height), all random from the seed but the header and the entries' fourth bytes.
inline Bytes RandomDib(const Header& h, uint32_t seed, int64_t rows = -1, int64_t entries = -1) {
    const uint64_t byDepth = h.bits == 1 ? 2 : h.bits == 4 ? 16 : h.bits == 8 ? 256 : 0;
    const uint64_t n = entries >= 0 ? uint64_t(entries) : h.clrUsed ? h.clrUsed : byDepth;
    const uint64_t r = rows >= 0 ? uint64_t(rows) : h.height > 0 ? uint64_t(h.height) : 0;
    const uint64_t stride = h.width > 0 ? Stride(uint64_t(h.width), h.bits) : 0;
    Bytes dib(40 + 4 * n + stride * r);
    std::mt19937 random(seed);
    for (uint8_t& b : dib) b = static_cast<uint8_t>(random());
    const uint32_t fields[10] = {40, uint32_t(h.width), uint32_t(h.height), 1u | uint32_t{h.bits} << 16, 0,
                                 h.sizeImage != 0xFFFFFFFF ? h.sizeImage : uint32_t(stride * r), 3780, 2835,
                                 h.clrUsed, 9};
    std::memcpy(dib.data(), fields, sizeof fields);
    for (uint64_t i = 0; i < n; ++i) dib[43 + 4 * i] = 0;
    return dib;
}

// What one export call leaves behind.
struct Outcome {
    Bytes result;  // the whole result block; empty for a null result
    int code = -1;
    bool sourceLocked = false, sourceUnchanged = false;
};

// Calls `call(handle)` on a block holding `source`, the module code set beforehand to a value
// no export stores so that clearing it shows.
template <typename Call>
Outcome CallOn(const Bytes& source, Call call) {
    Block in(BlockFrom(source));
    SetImgError(IMGERR_NOTHINGTODO);
    Block out(call(in.get()));
    Outcome o;
    o.code = ImgError();
    if (out) o.result = BlockBytes(out.get());
    GlobalLock(in.get());
    o.sourceLocked = GlobalUnlock(in.get()) != FALSE;
    if (o.sourceLocked) GlobalUnlock(in.get());
    o.sourceUnchanged = BlockBytes(in.get()) == source;
    return o;
}

// A success: the module code cleared, the whole result block `expected`, the source unchanged
// and, when `keepsLock`, still locked.
template <typename Call>
void ExpectResult(const Bytes& source, const Bytes& expected, bool keepsLock, Call call) {
    const Outcome o = CallOn(source, call);
    ASSERT_EQ(o.code, IMGERR_SUCCESS);
    ASSERT_EQ(o.result, expected);
    EXPECT_TRUE(o.sourceUnchanged);
    EXPECT_EQ(o.sourceLocked, keepsLock);
}

// A refusal: null, `code` in the module code, the source unlocked and unchanged.
template <typename Call>
void ExpectRefusal(const char* what, const Bytes& source, int code, Call call) {
    SCOPED_TRACE(what);
    const Outcome o = CallOn(source, call);
    EXPECT_TRUE(o.result.empty());
    EXPECT_EQ(o.code, code);
    EXPECT_FALSE(o.sourceLocked);
    EXPECT_TRUE(o.sourceUnchanged);
}
// A null handle and one that cannot be locked.
template <typename Call>
void ExpectBadHandlesRefused(Call call) {
    SetImgError(IMGERR_NOTHINGTODO);
    EXPECT_EQ(call(nullptr), nullptr);
    EXPECT_EQ(ImgError(), IMGERR_PARAMETER);
    Block unlockable(GlobalAlloc(GMEM_MOVEABLE, 0));  // a discarded block
    EXPECT_EQ(call(unlockable.get()), nullptr);
    EXPECT_EQ(ImgError(), IMGERR_LOCKMEMORY);
}

inline Header Shape(int32_t w, int32_t h, uint16_t bits, uint32_t clrUsed = 0) { return {w, h, bits, clrUsed}; }
// A random DIB with one 32-bit header field replaced.
inline Bytes Patched(const Header& h, size_t at, uint32_t value, int64_t rows = -1) {
    Bytes b = RandomDib(h, 1, rows);
    PutU32(b, at, value);
    return b;
}
inline Bytes Truncated(Bytes b, size_t size) {
    b.resize(size);
    return b;
}

}  // namespace vxtest::tone
