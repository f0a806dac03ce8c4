// simd.hpp - the one SIMD policy every kernel family follows.
//
// Provides: SimdLevel, ActiveSimdLevel() and SimdAllows(), SimdLevelNamed(), and the macros
// that say what a build can compile: VX_SIMD_SSE2 (SSE2 intrinsics available: every x86-64
// build, no 32-bit one, which does not assume SSE2), VX_SIMD_TARGETS (functions can be
// compiled for a later x86 level by attribute), VX_TARGET_SSSE3 and VX_TARGET_AVX2.
//
// Several families have a fast path beside their portable one: the quarter turns move 8-bit
// squares in SSE2 registers, the bilinear and cubic row mixes run sixteen samples per SSE2
// step, the gray conversion of colour rows uses SSSE3 shuffles, and the kernel filters have
// AVX2 row workers. Every fast path gives the bytes of the portable one. Which ones run is
// decided here, once per process: the best level the processor offers, capped by the
// environment variable VEXORA_SIMD (scalar, sse2, ssse3 or avx2; any other value is ignored).
// A family asks SimdAllows(level) when a call starts, never per pixel, and takes its fast
// path only where the build also compiled it. VEXORA_SIMD=scalar therefore makes an x86-64
// run execute the portable paths that the 32-bit DLL ships, which is how the tests reach them.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#if defined(__SSE2__)
#define VX_SIMD_SSE2 1
#endif
#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__))
#define VX_SIMD_TARGETS 1
#define VX_TARGET_SSSE3 __attribute__((target("ssse3")))
#define VX_TARGET_AVX2 __attribute__((target("avx2")))
#else
#define VX_TARGET_SSSE3
#define VX_TARGET_AVX2
#endif

namespace vx {

// Each level includes the ones before it.
enum class SimdLevel : uint8_t { kScalar, kSse2, kSsse3, kAvx2 };

// The level of this process, decided on first use.
SimdLevel ActiveSimdLevel();

inline bool SimdAllows(SimdLevel level) { return ActiveSimdLevel() >= level; }

// The level a value of VEXORA_SIMD names, or nothing for a value that names none.
std::optional<SimdLevel> SimdLevelNamed(std::string_view name);

}  // namespace vx
