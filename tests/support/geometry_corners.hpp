// geometry_corners.hpp - what the RotateDIB and SkewDIB tests share: one call checked against
// its model (the whole result block and the corner record), with the source unchanged and
// still locked, as both exports leave it after a success.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>

#include "export_calls.hpp"

namespace vxtest::geometry {

// call(handle, corners) on a block holding `src`: a result whose every byte and corner is the
// model's, the source unchanged and locked once.
template <typename Call>
void ExpectModelResult(const Bytes& src, const Bytes& expected, const int (&expectedCorners)[8], Call call) {
    Block dib(BlockFrom(src));
    int corners[8];
    Block out(call(dib.get(), corners));
    ASSERT_NE(out, nullptr);
    ASSERT_EQ(BlockBytes(out.get()), expected);
    EXPECT_TRUE(std::equal(corners, corners + 8, expectedCorners));
    EXPECT_EQ(BlockBytes(dib.get()), src);
    EXPECT_TRUE(LockHeld(dib.get())) << "the lock the export took is released";
    GlobalUnlock(dib.get());
}

}  // namespace vxtest::geometry
