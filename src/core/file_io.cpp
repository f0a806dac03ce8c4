// file_io.cpp - ReadExactly and BytesLeft (see file_io.hpp).
#include "file_io.hpp"

namespace vx {

bool ReadExactly(HFILE file, void* buffer, uint32_t bytes) {
    return _lread(file, buffer, bytes) == bytes;
}

uint64_t BytesLeft(HFILE file) {
    const LONG here = _llseek(file, 0, FILE_CURRENT);
    if (here < 0) return kUnknownLength;
    const LONG end = _llseek(file, 0, FILE_END);
    _llseek(file, here, FILE_BEGIN);
    return end >= here ? static_cast<uint64_t>(end - here) : 0;
}

}  // namespace vx
