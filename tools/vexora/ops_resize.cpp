// ops_resize.cpp - the tool's resizing for viewing (the library's resampler).
#include "operations.hpp"

namespace vexora_tool {

std::vector<Operation> ResizeOperations() { return {}; }

}  // namespace vexora_tool
