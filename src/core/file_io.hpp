// file_io.hpp - ReadExactly and BytesLeft: small helpers over the compatibility file calls.
#pragma once

#include <cstdint>

#include "vexora.h"

namespace vx {

// Reads exactly `bytes` bytes; false on a short read or an error.
bool ReadExactly(HFILE file, void* buffer, uint32_t bytes);

// What BytesLeft answers for a file that cannot tell (it does not seek).
inline constexpr uint64_t kUnknownLength = UINT64_MAX;

// Bytes from the current position to the end of the file, or kUnknownLength. The position is
// left where it was.
uint64_t BytesLeft(HFILE file);

}  // namespace vx
