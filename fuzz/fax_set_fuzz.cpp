// fax_set_fuzz.cpp - fuzz target for the profile reader and colour fax sets.
//
// The input is a profile. Every "@/" in it becomes the path of the target's private directory,
// which holds plane files made once: a.bmp (1-bit, 13 x 7), b.bmp (1-bit, 9 x 11) and c.bmp
// (8-bit, 5 x 3). The profile is written as a file, then
//   - read back by GetPrivateProfileStringA as a list of sections and as the key list of
//     [ColorFax], into buffers of 1, 2, 7 and 64 bytes: the answer always fits its buffer, a
//     terminator after it;
//   - counted by GetNumberOfImagesInFaxFile and loaded by LoadColorFaxPage for pages 0, 1, 2
//     and the last: a page is a 4-bit DIB of 16 colours or a plane's own DIB, or nothing.
#include <cstdint>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "vexora.h"
#include "fuzz_support.hpp"

namespace {

using vexora_fuzz::Check;
using vexora_fuzz::WorkDir;

// A bottom-up BMP file of width x height at 1 or 8 bits, with a gray colour table and a
// diagonal pattern.
std::vector<uint8_t> BitmapFile(int width, int height, int bits) {
    const int colours = 1 << bits;
    const int stride = ((width * bits + 31) / 32) * 4;
    const uint32_t offBits = 14 + 40 + 4 * colours;
    std::vector<uint8_t> file(offBits + static_cast<size_t>(stride) * height);
    auto put32 = [&](size_t at, uint32_t v) { std::memcpy(&file[at], &v, 4); };
    auto put16 = [&](size_t at, uint16_t v) { std::memcpy(&file[at], &v, 2); };
    file[0] = 'B';
    file[1] = 'M';
    put32(2, static_cast<uint32_t>(file.size()));
    put32(10, offBits);
    put32(14, 40);
    put32(18, static_cast<uint32_t>(width));
    put32(22, static_cast<uint32_t>(height));
    put16(26, 1);
    put16(28, static_cast<uint16_t>(bits));
    for (int i = 0; i < colours; ++i) {
        const uint8_t level = static_cast<uint8_t>(i * 255 / (colours - 1));
        std::memset(&file[54 + 4 * i], level, 3);
    }
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            if ((x + y) % 3 != 0) continue;
            uint8_t* row = &file[offBits + static_cast<size_t>(y) * stride];
            if (bits == 1) row[x / 8] |= static_cast<uint8_t>(0x80 >> (x % 8));
            else row[x] = static_cast<uint8_t>(x * 40 + y);
        }
    return file;
}

struct FaxDir : WorkDir {
    FaxDir() {
        for (const auto& [name, w, h, bits] : {std::tuple{"a.bmp", 13, 7, 1}, std::tuple{"b.bmp", 9, 11, 1},
                                               std::tuple{"c.bmp", 5, 3, 8}}) {
            const auto bytes = BitmapFile(w, h, bits);
            write(name, bytes.data(), bytes.size());
        }
        prefix = (path / "").string();
    }
    std::string prefix;
};

void CheckList(const char* section, const char* file) {
    for (const DWORD size : {1u, 2u, 7u, 64u}) {
        std::vector<char> buffer(size, 'x');
        const DWORD length = GetPrivateProfileStringA(section, nullptr, "", buffer.data(), size, file);
        Check(length < size && buffer[length] == '\0');
    }
}

void CheckPage(HDIB page) {
    if (page == nullptr) return;
    BITMAPINFOHEADER header{};
    const size_t size = GlobalSize(page);
    Check(size >= sizeof header);
    std::memcpy(&header, GlobalLock(page), sizeof header);
    GlobalUnlock(page);
    Check(header.biBitCount == 1 || header.biBitCount == 4 || header.biBitCount == 8);
    GlobalFree(page);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const FaxDir dir;
    std::string text(reinterpret_cast<const char*>(data), size);
    for (size_t at = text.find("@/"); at != std::string::npos; at = text.find("@/", at + dir.prefix.size()))
        text.replace(at, 2, dir.prefix);
    const std::string file = dir.write("set.fax", reinterpret_cast<const uint8_t*>(text.data()), text.size());
    CheckList(nullptr, file.c_str());
    CheckList("ColorFax", file.c_str());
    const int pages = GetNumberOfImagesInFaxFile(file.c_str());
    for (const int page : {0, 1, 2, pages}) {
        int status = 0;
        CheckPage(LoadColorFaxPage(file.c_str(), page, &status));
    }
    return 0;
}
