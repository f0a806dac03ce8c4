// geometry_corners.hpp - what the RotateDIB and SkewDIB tests share: one call checked against
// its model (the whole result block and the corner record), a refusal with the corner record
// written or left alone, and a probe of the source's lock.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>

#include "dib_builder.hpp"
#include "vexora.h"

namespace vxtest::geometry {

// Whether `dib` is still locked; the probe's own lock is released again.
inline bool LockHeld(HGLOBAL dib) {
    GlobalLock(dib);
    return GlobalUnlock(dib) != FALSE;
}

// call(handle, corners) on a block holding `src`: a result whose every byte and corner is the
// model's, the source unchanged.
template <typename Call>
void ExpectModelResult(const Bytes& src, const Bytes& expected, const int (&expectedCorners)[8], Call call) {
    Block dib(BlockFrom(src));
    int corners[8];
    Block out(call(dib.get(), corners));
    ASSERT_NE(out, nullptr);
    ASSERT_EQ(BlockBytes(out.get()), expected);
    EXPECT_TRUE(std::equal(corners, corners + 8, expectedCorners));
    EXPECT_EQ(BlockBytes(dib.get()), src);
}

// call(handle, corners) on a block holding `src`: null, the corner record written only when
// `cornersWritten`, the source left unlocked.
template <typename Call>
void ExpectRefused(const Bytes& src, bool cornersWritten, Call call) {
    Block dib(BlockFrom(src));
    int corners[8] = {-1, -1, -1, -1, -1, -1, -1, -1};
    EXPECT_EQ(call(dib.get(), corners), nullptr);
    EXPECT_EQ(corners[0] != -1, cornersWritten);
    EXPECT_FALSE(LockHeld(dib.get())) << "source left locked";
}

}  // namespace vxtest::geometry
