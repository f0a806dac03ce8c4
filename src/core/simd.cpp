// simd.cpp - ActiveSimdLevel and SimdLevelNamed: the processor's level, capped by VEXORA_SIMD
// (see simd.hpp for the policy).
//
// The processor is asked through the compiler's CPU model (__builtin_cpu_supports), which also
// checks that the system saves the AVX registers. Levels are taken in order, each only when the
// ones below it are there too, so that a family allowed one level may use the instructions of
// the levels below it.
#include "simd.hpp"

#include <algorithm>
#include <cstdlib>

namespace vx {
namespace {

SimdLevel ProcessorLevel() {
#if defined(VX_SIMD_TARGETS)
    __builtin_cpu_init();
    if (!__builtin_cpu_supports("sse2")) return SimdLevel::kScalar;
    if (!__builtin_cpu_supports("ssse3")) return SimdLevel::kSse2;
    if (!__builtin_cpu_supports("avx2")) return SimdLevel::kSsse3;
    return SimdLevel::kAvx2;
#else
    return SimdLevel::kScalar;
#endif
}

SimdLevel DecideLevel() {
    SimdLevel level = ProcessorLevel();
    if (const char* name = std::getenv("VEXORA_SIMD")) {
        if (const std::optional<SimdLevel> cap = SimdLevelNamed(name)) level = std::min(level, *cap);
    }
    return level;
}

}  // namespace

SimdLevel ActiveSimdLevel() {
    static const SimdLevel level = DecideLevel();
    return level;
}

std::optional<SimdLevel> SimdLevelNamed(std::string_view name) {
    constexpr struct {
        std::string_view name;
        SimdLevel level;
    } kNames[] = {{"scalar", SimdLevel::kScalar}, {"sse2", SimdLevel::kSse2},
                  {"ssse3", SimdLevel::kSsse3}, {"avx2", SimdLevel::kAvx2}};
    for (const auto& n : kNames)
        if (n.name == name) return n.level;
    return std::nullopt;
}

}  // namespace vx
