// fuzz_support.hpp - what the fuzz targets share: a property check that stops the run, and a
// block's bytes copied out.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "vexora.h"

namespace vexora_fuzz {

// A property that must hold; a failure aborts so that the fuzzer records the input.
inline void Check(bool holds) {
    if (!holds) std::abort();
}

// Every byte of a block, as GlobalSize counts them.
inline std::vector<uint8_t> Contents(HDIB dib) {
    std::vector<uint8_t> bytes(GlobalSize(dib));
    if (const void* p = GlobalLock(dib)) {
        if (!bytes.empty()) std::memcpy(bytes.data(), p, bytes.size());
        GlobalUnlock(dib);
    }
    return bytes;
}

}  // namespace vexora_fuzz
