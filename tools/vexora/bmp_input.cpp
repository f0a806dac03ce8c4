// bmp_input.cpp - LoadBmpInput, SetMaxPixels, MaxPixels and CheckPixelCount: how the tool reads
// BMP files and how it keeps inputs within the pixel limit.
//
// Every file that starts with "BM" goes through the library's tolerant reader
// (VexoraLoadBMPFile), which reads today's headers, bit fields, top-down rows and run-length
// data with short colour tables, and names what it refuses; a file without the signature is a
// bare packed DIB, which only the classic loader (LoadDIBFromFile) knows. A refusal keeps the
// library's text for the error code and adds the reader's reason.
//
// The pixel limit (--max-pixels) is checked on the BMP header before anything is decoded, and
// on the loaded image for the other formats, whose headers only their modules read.
#include "cli.hpp"

#include <cstdio>
#include <cstring>
#include <fstream>

namespace vexora_tool {
namespace {

uint64_t maxPixels = kDefaultMaxPixels;

std::string TooLarge(const std::string& path, uint64_t width, uint64_t height) {
    return "cannot load '" + path + "': the image is " + std::to_string(width) + " x " + std::to_string(height) +
           " pixels, over the limit of " + std::to_string(maxPixels) + " (--max-pixels)";
}

uint32_t Le(const unsigned char* at, int bytes) {
    uint32_t v = 0;
    for (int i = bytes - 1; i >= 0; --i) v = (v << 8) | at[i];
    return v;
}

}  // namespace

void SetMaxPixels(uint64_t pixels) { maxPixels = pixels; }
uint64_t MaxPixels() { return maxPixels; }

void CheckPixelCount(const Dib& dib, const std::string& path) {
    const BITMAPINFOHEADER h = HeaderOf(dib);
    const uint64_t width = h.biWidth < 0 ? 0u - static_cast<uint64_t>(h.biWidth) : static_cast<uint64_t>(h.biWidth);
    const uint64_t height = h.biHeight < 0 ? 0u - static_cast<uint64_t>(h.biHeight) : static_cast<uint64_t>(h.biHeight);
    if (width * height > maxPixels) throw OperationFailed(TooLarge(path, width, height));
}

Dib LoadBmpInput(const std::string& givenPath, const std::string& path) {
    unsigned char head[26] = {};
    std::ifstream file(path, std::ios::binary);
    file.read(reinterpret_cast<char*>(head), sizeof head);
    const std::streamsize got = file.gcount();
    if (got < 2 || head[0] != 'B' || head[1] != 'M') return LoadBitmapFile(givenPath);
    if (got == sizeof head) {
        const bool core = Le(head + 14, 4) == 12;
        const uint64_t width = core ? Le(head + 18, 2) : Le(head + 18, 4);
        uint64_t height = core ? Le(head + 20, 2) : Le(head + 22, 4);
        if (!core && (height & 0x80000000u)) height = (0x100000000u - height);
        if (width * height > maxPixels && !(width & 0x80000000u)) throw OperationFailed(TooLarge(givenPath, width, height));
    }
    SetImgError(IMGERR_SUCCESS);
    char reason[256] = {};
    Dib dib(VexoraLoadBMPFile(path.c_str(), reason, sizeof reason));
    if (!dib) throw OperationFailed("cannot load '" + givenPath + "': " + LibraryErrorText() + " (" + reason + ")");
    return dib;
}

}  // namespace vexora_tool
