// file_io.hpp - ReadExactly, BytesLeft, ReadUpTo and FileRewrite: small helpers over the
// compatibility file calls.
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

// Reads up to `bytes` bytes with one _hread (pieces of 1 GiB where a count would not fit the
// call's signed 32-bit count on Windows); returns how many arrived before the end of the file
// or an error.
uint64_t ReadUpTo(HFILE file, uint8_t* at, uint64_t bytes);

// A file written anew from its start: what OpenFile(OF_CREATE | OF_READWRITE) gives, a file
// that ends where the writes end. On Windows it is exactly that call. On POSIX systems the file
// is opened without truncating it and cut at the end of what was written when the guard closes
// it: the pages an existing file of that name already has are written over instead of being
// released and allocated again, which halves the cost of saving over a file on a tmpfs.
class FileRewrite {
public:
    explicit FileRewrite(LPCSTR fileName);
    ~FileRewrite();
    FileRewrite(const FileRewrite&) = delete;
    FileRewrite& operator=(const FileRewrite&) = delete;

    bool valid() const { return file_ != HFILE_ERROR && file_ >= 0; }
    // Writes `head` and then `body` (one system call on POSIX systems, _lwrite and _hwrite on
    // Windows); false when either is not written whole.
    bool write(const uint8_t* head, uint32_t headBytes, const uint8_t* body, uint64_t bodyBytes);

private:
    HFILE file_ = HFILE_ERROR;
    uint64_t written_ = 0;
};

}  // namespace vx
