// files.cpp - the file services of platform.hpp on Windows: FileExists through the C
// runtime's _access.
#include <io.h>

#include "platform/platform.hpp"

namespace vx::platform {

bool FileExists(const char* fileName) { return fileName != nullptr && _access(fileName, 0) == 0; }

}  // namespace vx::platform
