// module_support.hpp - what every format module shares: the status word and error code of a
// failure, a new DIB being filled (NewDib), a caller's DIB being read (DibSource), the whole
// input file in memory (ReadWholeFile) and an output file that disappears unless it is
// completed (OutputFile).
//
// Modules are separate libraries: this code is compiled into each of them, and their only
// calls into the library are the memory-block functions and SetImgError.
#pragma once

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "vexora_modules.h"

namespace vxmod {

// A loader failure: writes `status` into the caller's status word (when there is one), sets
// the module error code that goes with it, and gives the null DIB a loader returns.
HDIB FailLoad(int* statusWord, int status);
// A loader success: VXSTATUS_OK into the status word; the module error code stays as it was.
void ReportLoaded(int* statusWord);
// A writer failure: sets `imageError` as the module error code and gives 0.
int FailSave(int imageError);

// Whether an image of width x height may be made (VXMOD_MAX_PIXELS, VXMOD_MAX_SIDE).
bool WithinPixelLimit(int64_t width, int64_t height);

// Pels per metre from dots per inch or per centimetre, rounded; 0 for what is not positive.
int32_t PelsPerMeterFromInch(double dpi);
int32_t PelsPerMeterFromCentimetre(double dpcm);

// A new packed DIB (40-byte header, colour table, bottom-up rows), zero-filled and locked for
// as long as the object lives; freed unless released. Rows are addressed top-down, as the
// codecs deliver them.
class NewDib {
public:
    // Empty with `status` set (VXSTATUS_TOOLARGE, VXSTATUS_NOMEMORY) when it cannot be made.
    // bits: 1, 4, 8 or 24; colours: 0 for 24 bits, else up to 2^bits.
    static std::optional<NewDib> Create(int64_t width, int64_t height, int bits, int colours, int* status);

    NewDib(NewDib&& other) noexcept;
    NewDib& operator=(NewDib&&) = delete;
    NewDib(const NewDib&) = delete;
    ~NewDib();

    int width() const { return width_; }
    int height() const { return height_; }
    size_t stride() const { return stride_; }
    RGBQUAD* palette() { return reinterpret_cast<RGBQUAD*>(bytes_ + 40); }
    uint8_t* row(int topDownIndex) { return pixels_ + (height_ - 1 - topDownIndex) * stride_; }
    void setPalette(int index, uint8_t red, uint8_t green, uint8_t blue);
    void setGrayPalette();  // a gray ramp over the whole table
    void setResolution(int32_t xPelsPerMeter, int32_t yPelsPerMeter);

    // Unlocks the block and hands it to the caller.
    HDIB release();

private:
    NewDib() = default;
    HGLOBAL block_ = nullptr;
    uint8_t* bytes_ = nullptr;
    uint8_t* pixels_ = nullptr;
    int width_ = 0, height_ = 0;
    size_t stride_ = 0;
};

// A caller's DIB, checked and locked for reading while the object lives. Only what the
// writers take: the 40-byte header, BI_RGB, 1, 4, 8 or 24 bits, a block that holds it all.
class DibSource {
public:
    // Empty with the module error code set (IMGERR_PARAMETER, IMGERR_COMPRESSED,
    // IMGERR_BITCOUNT) when the DIB cannot be read.
    static std::optional<DibSource> Open(HDIB dib);

    DibSource(DibSource&& other) noexcept;
    DibSource& operator=(DibSource&&) = delete;
    DibSource(const DibSource&) = delete;
    ~DibSource();

    int width() const { return width_; }
    int height() const { return height_; }
    int bits() const { return bits_; }
    int colours() const { return colours_; }  // entries in the colour table
    size_t stride() const { return stride_; }
    const RGBQUAD* palette() const { return reinterpret_cast<const RGBQUAD*>(bytes_ + 40); }
    const uint8_t* row(int topDownIndex) const { return pixels_ + (height_ - 1 - topDownIndex) * stride_; }
    int32_t xPelsPerMeter() const;
    int32_t yPelsPerMeter() const;
    // Whether the colour table is the gray ramp of its size (0 .. 255 in equal steps).
    bool grayPalette() const;

private:
    DibSource() = default;
    HGLOBAL block_ = nullptr;
    const uint8_t* bytes_ = nullptr;
    const uint8_t* pixels_ = nullptr;
    int width_ = 0, height_ = 0, bits_ = 0, colours_ = 0;
    size_t stride_ = 0;
};

// The whole file, or empty with `status` set (VXSTATUS_OPENFILE, VXSTATUS_TRUNCATED,
// VXSTATUS_NOMEMORY). Files are read whole: every codec here decodes from memory, and the
// file's size bounds what a hostile header can make the decoder believe.
std::optional<std::vector<uint8_t>> ReadWholeFile(LPCSTR fileName, int* status);

// A file being written: created (truncating) or opened for update, and removed again on
// destruction unless commit() succeeded. Files opened for update are never removed.
class OutputFile {
public:
    enum class Mode { Create, Update };
    // Empty with IMGERR_PARAMETER (a null name) or IMGERR_OPENFILE set when it cannot be opened.
    static std::optional<OutputFile> Open(LPCSTR fileName, Mode mode);

    OutputFile(OutputFile&& other) noexcept;
    OutputFile& operator=(OutputFile&&) = delete;
    OutputFile(const OutputFile&) = delete;
    ~OutputFile();

    std::FILE* get() const { return file_; }
    bool write(const void* data, size_t bytes);
    // Flushes and closes; false (IMGERR_IO set) when anything written failed to reach the file.
    bool commit();

private:
    OutputFile() = default;
    std::FILE* file_ = nullptr;
    std::string name_;
    bool removeOnFailure_ = false;
    bool failed_ = false;
};

}  // namespace vxmod
