// tiff_memory.cpp - the read, write and seek procedures and the quiet message handlers of
// MemoryTiff. The procedures are called from libtiff's C code: nothing may throw out of them.
#include "tiff_memory.hpp"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <new>

namespace vxtiff {

bool MemoryTiff::open(const char* mode) {
    close();
    position_ = 0;
    writable_ = mode[0] != 'r';
    TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
    if (options == nullptr) return false;
    TIFFOpenOptionsSetErrorHandlerExtR(options, &MemoryTiff::Error, this);
    TIFFOpenOptionsSetWarningHandlerExtR(options, &MemoryTiff::Warning, this);
    tif_ = TIFFClientOpenExt("memory", mode, this, &MemoryTiff::Read, &MemoryTiff::Write, &MemoryTiff::Seek,
                             &MemoryTiff::Close, &MemoryTiff::Size, &MemoryTiff::Map, &MemoryTiff::Unmap, options);
    TIFFOpenOptionsFree(options);
    return tif_ != nullptr;
}

bool MemoryTiff::close() {
    if (tif_ == nullptr) return !diagnostics_.writeFailed;
    TIFF* tif = tif_;
    tif_ = nullptr;
    // TIFFClose writes a writing handle's pending directory; a failure there is reported as
    // an error and as a failed write.
    const bool errorBefore = diagnostics_.error;
    diagnostics_.error = false;
    TIFFClose(tif);
    const bool closedCleanly = !diagnostics_.error;
    diagnostics_.error = diagnostics_.error || errorBefore;
    return closedCleanly && !diagnostics_.writeFailed;
}

tmsize_t MemoryTiff::Read(thandle_t handle, void* buffer, tmsize_t size) {
    auto& self = *static_cast<MemoryTiff*>(handle);
    if (size <= 0) return 0;
    const uint64_t available = self.position_ < self.bytes_.size() ? self.bytes_.size() - self.position_ : 0;
    const uint64_t count = std::min<uint64_t>(available, static_cast<uint64_t>(size));
    if (count < static_cast<uint64_t>(size)) self.diagnostics_.shortRead = true;
    if (count > 0) std::memcpy(buffer, self.bytes_.data() + self.position_, static_cast<size_t>(count));
    self.position_ += count;
    return static_cast<tmsize_t>(count);
}

tmsize_t MemoryTiff::Write(thandle_t handle, void* buffer, tmsize_t size) {
    auto& self = *static_cast<MemoryTiff*>(handle);
    if (!self.writable_ || size < 0) return -1;
    const uint64_t end = self.position_ + static_cast<uint64_t>(size);
    if (end > SIZE_MAX / 2) {
        self.diagnostics_.writeFailed = true;
        return -1;
    }
    try {
        if (end > self.bytes_.size()) self.bytes_.resize(static_cast<size_t>(end));
    } catch (const std::bad_alloc&) {
        self.diagnostics_.writeFailed = true;
        return -1;
    }
    if (size > 0) std::memcpy(self.bytes_.data() + self.position_, buffer, static_cast<size_t>(size));
    self.position_ = end;
    return size;
}

toff_t MemoryTiff::Seek(thandle_t handle, toff_t offset, int whence) {
    auto& self = *static_cast<MemoryTiff*>(handle);
    uint64_t base = 0;
    if (whence == SEEK_CUR) base = self.position_;
    else if (whence == SEEK_END) base = self.bytes_.size();
    // Offsets are unsigned: a backward seek arrives as its two's complement and wraps.
    self.position_ = base + offset;
    return self.position_;
}

int MemoryTiff::Close(thandle_t) { return 0; }

toff_t MemoryTiff::Size(thandle_t handle) { return static_cast<MemoryTiff*>(handle)->bytes_.size(); }

int MemoryTiff::Error(TIFF*, void* handle, const char*, const char*, va_list) {
    static_cast<MemoryTiff*>(handle)->diagnostics_.error = true;
    return 1;  // handled: the global handler (stderr) is not called
}

int MemoryTiff::Warning(TIFF*, void* handle, const char*, const char* format, va_list) {
    // The fax decoder warns, and fills the rest of the strip with white, when its data runs out.
    if (format != nullptr && std::strstr(format, "Premature EOF") != nullptr)
        static_cast<MemoryTiff*>(handle)->diagnostics_.prematureEnd = true;
    return 1;
}

}  // namespace vxtiff
