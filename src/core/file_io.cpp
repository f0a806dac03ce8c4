// file_io.cpp - ReadExactly, BytesLeft, ReadUpTo and FileRewrite (see file_io.hpp).
#include "file_io.hpp"

#include <algorithm>

#if !defined(_WIN32)
#include <fcntl.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#endif

namespace vx {
namespace {

// The compatibility calls take a signed 32-bit count on Windows: move larger areas in pieces.
constexpr uint64_t kLargestTransfer = uint64_t{1} << 30;

}  // namespace

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

uint64_t ReadUpTo(HFILE file, uint8_t* at, uint64_t bytes) {
    uint64_t done = 0;
    while (done < bytes) {
        const long chunk = static_cast<long>(std::min(bytes - done, kLargestTransfer));
        const long got = _hread(file, at + done, chunk);
        if (got <= 0) break;
        done += static_cast<uint64_t>(got);
        if (got < chunk) break;
    }
    return done;
}

#if defined(_WIN32)

FileRewrite::FileRewrite(LPCSTR fileName) {
    OFSTRUCT info;
    file_ = OpenFile(fileName, &info, OF_CREATE | OF_READWRITE);
}

FileRewrite::~FileRewrite() {
    if (valid()) _lclose(file_);
}

bool FileRewrite::write(const uint8_t* head, uint32_t headBytes, const uint8_t* body, uint64_t bodyBytes) {
    if (_lwrite(file_, reinterpret_cast<LPCCH>(head), headBytes) != headBytes) return false;
    while (bodyBytes > 0) {
        const long chunk = static_cast<long>(std::min(bodyBytes, kLargestTransfer));
        if (_hwrite(file_, reinterpret_cast<LPCCH>(body), chunk) != chunk) return false;
        body += chunk;
        bodyBytes -= static_cast<uint64_t>(chunk);
    }
    return true;
}

#else

// As OpenFile creates files (read and write, mode 0666 before the umask), without O_TRUNC.
FileRewrite::FileRewrite(LPCSTR fileName) {
    if (fileName != nullptr) file_ = open(fileName, O_RDWR | O_CREAT | O_CLOEXEC, 0666);
}

FileRewrite::~FileRewrite() {
    if (!valid()) return;
    // The old content past the new end goes. A file that cannot be cut (a device, a pipe) is
    // left as it is, as truncation on opening would have left it.
    const bool cut = ftruncate(file_, static_cast<off_t>(written_)) == 0;
    static_cast<void>(cut);
    close(file_);
}

bool FileRewrite::write(const uint8_t* head, uint32_t headBytes, const uint8_t* body, uint64_t bodyBytes) {
    const uint64_t total = headBytes + bodyBytes;
    uint64_t done = 0;
    while (done < total) {
        iovec parts[2];
        int count = 0;
        if (done < headBytes) parts[count++] = {const_cast<uint8_t*>(head + done), static_cast<size_t>(headBytes - done)};
        const uint64_t bodyDone = done > headBytes ? done - headBytes : 0;
        if (bodyDone < bodyBytes)
            parts[count++] = {const_cast<uint8_t*>(body + bodyDone), static_cast<size_t>(bodyBytes - bodyDone)};
        const ssize_t n = writev(file_, parts, count);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;
        done += static_cast<uint64_t>(n);
    }
    written_ += done;
    return done == total;
}

#endif

}  // namespace vx
