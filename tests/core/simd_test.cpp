// The SIMD switch: a run under VEXORA_SIMD takes no path above the level it names, and a value
// that names no level fails here rather than leaving a lane quietly on the fast paths.
#include <gtest/gtest.h>

#include <cstdlib>

#include "simd.hpp"

TEST(SimdPolicy, TheSwitchCapsTheLevelOfTheRun) {
    const char* forced = std::getenv("VEXORA_SIMD");
    const std::optional<vx::SimdLevel> cap = forced && *forced ? vx::SimdLevelNamed(forced) : vx::SimdLevel::kAvx2;
    ASSERT_TRUE(cap) << "VEXORA_SIMD=" << forced << " names no level (scalar, sse2, ssse3, avx2)";
    EXPECT_LE(vx::ActiveSimdLevel(), *cap);
}
