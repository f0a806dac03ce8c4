// module_test_support.hpp - what the format modules' tests share: images as plain pixels
// (TestImage), DIB blocks made from them and read back, the netpbm files other tools decode to,
// scratch files, and the hostile-file sweep every reader gets.
//
// The module tests run against the shipped library (libvexora.so or VEXORA.DLL) and the real
// module files beside it, so only the public interface is used here.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "vexora.h"
#include "vexora_modules.h"

namespace vxtest {

using Bytes = std::vector<uint8_t>;

// An image as plain pixels, rows top-down: one byte per pixel (the index) for 1 to 8 bits, three
// bytes (red, green, blue) per pixel for 24 bits.
struct TestImage {
    int width = 0, height = 0, bits = 0;
    std::vector<RGBQUAD> palette;
    Bytes pixels;
    int32_t xPelsPerMeter = 0, yPelsPerMeter = 0;

    int channels() const { return bits == 24 ? 3 : 1; }
    // 0xRRGGBB of a pixel, through the palette for indexed images.
    uint32_t rgb(int x, int y) const;
};

// A deterministic picture: every palette entry and index used, edges and gradients that a
// codec bug would move. Palettes of 1, 4 and 8 bits are full and distinct; `gray` makes an
// 8-bit image with the gray ramp.
TestImage Pattern(int width, int height, int bits, uint32_t seed = 1, bool gray = false);

// A new DIB block (owned by the caller) holding `image`, and the pixels of a DIB block.
HDIB DibOf(const TestImage& image);
TestImage ImageOf(HDIB dib);

// The colours of two images, pixel by pixel: empty when equal, else the first difference.
std::string CompareRgb(const TestImage& got, const TestImage& want, int tolerance = 0);
// Indices and palettes equal (same depth, same table size and entries).
std::string CompareIndexed(const TestImage& got, const TestImage& want);

// PBM (P4), PGM (P5) and PPM (P6), 8 or 16 bits per sample (16-bit samples rounded to 8), as
// other tools write them; PGM gives an 8-bit gray image, PBM a 1-bit one (0 white).
TestImage ReadNetpbm(const std::filesystem::path& path);

// The committed test files (tests/modules/data).
std::filesystem::path DataFile(const std::string& name);
Bytes ReadBytes(const std::filesystem::path& path);
void WriteBytes(const std::filesystem::path& path, const Bytes& bytes);

// A directory of its own for one test, removed afterwards.
class ScratchDir {
public:
    ScratchDir();
    ~ScratchDir();
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;
    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

private:
    std::filesystem::path path_;
};

// A DIB block freed when the holder goes.
class HeldDib {
public:
    explicit HeldDib(HDIB dib = nullptr) : dib_(dib) {}
    ~HeldDib() { if (dib_) GlobalFree(dib_); }
    HeldDib(const HeldDib&) = delete;
    HeldDib& operator=(const HeldDib&) = delete;
    HDIB get() const { return dib_; }
    explicit operator bool() const { return dib_ != nullptr; }

private:
    HDIB dib_;
};

// Through the library, as applications load and save.
struct Loaded {
    TestImage image;
    bool ok = false;
    int status = -1;
    int error = 0;  // ImgError after the call
};
Loaded LoadThroughLibrary(const std::filesystem::path& path, int page = 1);
// Saves `image` in `format`; the writer's result.
int SaveThroughLibrary(const std::filesystem::path& path, const TestImage& image, int format, int option = 0,
                       int param = 0);

// An entry point of a module file beside the library, for the options the library never
// passes; null when the module or the entry is missing. The module stays loaded.
void* ModuleEntry(const std::string& module, const char* entry);
template <typename Function>
Function ModuleFunction(const std::string& module, const char* entry) {
    return reinterpret_cast<Function>(ModuleEntry(module, entry));
}

// Hostile versions of a good file, each loaded by `load` (which must return cleanly, a DIB or
// not): the file cut at every offset (every offset up to 4096, then 256 evenly spread), and
// with bytes of the first 256 set to 0x00, 0xFF and 0x80 one at a time. Counts how many loaded.
using FileLoader = std::function<bool(const std::filesystem::path&)>;
int SweepHostileVersions(const Bytes& good, const std::filesystem::path& scratchFile, const FileLoader& load);

}  // namespace vxtest
