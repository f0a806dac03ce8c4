// tiff_memory.hpp - libtiff over bytes in memory, for both TIFF modules.
//
// Provides MemoryTiff: a libtiff handle opened on a byte vector (read, write or append), whose
// messages never reach stderr but are kept as facts the modules act on (an error was reported,
// the data ended inside a fax-coded strip, a read ran past the last byte).
//
// The readers decode from memory because the whole file bounds what a hostile directory can
// claim: libtiff asks for bytes at offsets the file gives, and every answer past the end is a
// short read recorded here, so a file cut anywhere fails as "ends early" rather than decoding
// the zeros a codec may fill in. The writers compose the file in memory so that a failed
// encoding leaves nothing on disk and an append touches an existing file only once it is whole.
// No map procedure is given: every byte libtiff sees goes through the read procedure.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <vector>

#include <tiffio.h>

namespace vxtiff {

// What libtiff said while a handle was open.
struct Diagnostics {
    bool error = false;         // an error was reported
    bool prematureEnd = false;  // a fax-coded strip ended before its last row
    bool shortRead = false;     // a read asked for bytes past the end of the data
    bool writeFailed = false;   // the vector could not grow
};

class MemoryTiff {
public:
    explicit MemoryTiff(std::vector<uint8_t>& bytes) : bytes_(bytes) {}
    ~MemoryTiff() { close(); }
    MemoryTiff(const MemoryTiff&) = delete;
    MemoryTiff& operator=(const MemoryTiff&) = delete;

    // Opens the handle in a libtiff mode ("r", "w", "a"); false when libtiff refuses.
    bool open(const char* mode);
    // Closes the handle (writing the directory of a writing handle); false when anything
    // written was lost.
    bool close();

    TIFF* get() const { return tif_; }
    std::vector<uint8_t>& bytes() { return bytes_; }
    const Diagnostics& diagnostics() const { return diagnostics_; }
    Diagnostics& diagnostics() { return diagnostics_; }

private:
    static tmsize_t Read(thandle_t self, void* buffer, tmsize_t size);
    static tmsize_t Write(thandle_t self, void* buffer, tmsize_t size);
    static toff_t Seek(thandle_t self, toff_t offset, int whence);
    static int Close(thandle_t);
    static toff_t Size(thandle_t self);
    static int Map(thandle_t, void**, toff_t*) { return 0; }
    static void Unmap(thandle_t, void*, toff_t) {}
    static int Error(TIFF*, void* self, const char*, const char*, va_list);
    static int Warning(TIFF*, void* self, const char*, const char* format, va_list);

    std::vector<uint8_t>& bytes_;
    uint64_t position_ = 0;
    bool writable_ = false;
    Diagnostics diagnostics_;
    TIFF* tif_ = nullptr;
};

}  // namespace vxtiff
