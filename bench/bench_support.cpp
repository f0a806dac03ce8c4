// bench_support.cpp - the reference digests of the benchmark cases and their check (see
// bench_support.hpp). The digest is 64-bit FNV-1a over every byte of the result block, as
// GlobalSize counts them.
#include "bench_support.hpp"

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string_view>

namespace vexora_bench {
namespace {

const std::map<std::string_view, uint64_t> kReferences = {
#include "bench_references.inc"
};

uint64_t Digest(HGLOBAL block) {
    uint64_t hash = 0xcbf29ce484222325u;
    const auto* p = static_cast<const uint8_t*>(GlobalLock(block));
    if (p == nullptr) return 0;
    for (size_t i = 0, n = GlobalSize(block); i < n; ++i) hash = (hash ^ p[i]) * 0x100000001b3u;
    GlobalUnlock(block);
    return hash;
}

}  // namespace

std::string CaseKey(const char* name, std::initializer_list<int64_t> arguments) {
    std::string key = name;
    for (int64_t a : arguments) key += "/" + std::to_string(a);
    return key;
}

bool Recording() {
    static const bool recording = std::getenv("VEXORA_BENCH_RECORD") != nullptr;
    return recording;
}

bool MatchesReference(benchmark::State& state, const std::string& key, HGLOBAL result) {
    if (result == nullptr) {
        state.SkipWithError(("no result for " + key).c_str());
        return false;
    }
    const uint64_t digest = Digest(result);
    if (Recording()) {
        std::fprintf(stderr, "    {\"%s\", 0x%016" PRIx64 "u},\n", key.c_str(), digest);
        state.SkipWithError("recorded");
        return false;
    }
    const auto reference = kReferences.find(key);
    if (reference == kReferences.end()) {
        state.SkipWithError(("no reference digest for " + key).c_str());
        return false;
    }
    if (reference->second != digest) {
        char text[160];
        std::snprintf(text, sizeof text, "%s: result digest %016" PRIx64 " differs from the reference %016" PRIx64,
                      key.c_str(), digest, reference->second);
        state.SkipWithError(text);
        return false;
    }
    return true;
}

}  // namespace vexora_bench
