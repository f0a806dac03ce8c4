// file_io.hpp - small helpers over the compatibility file calls.
#pragma once

#include <cstdint>

#include "vexora.h"

namespace vx {

// Reads exactly `bytes` bytes; false on a short read or an error.
bool ReadExactly(HFILE file, void* buffer, uint32_t bytes);

}  // namespace vx
