// picture_check.cpp - reads a run-length encoded BMP file the way the strictest readers do and
// compares its pixels with an uncompressed BMP file of the same picture, without the library:
//   picture_check SOURCE.bmp ENCODED.bmp
// The stream must keep every run and absolute group inside its row, end each row with
// end-of-line (or end-of-bitmap), use no delta codes and stop with end-of-bitmap after the last
// row; absolute groups at 4 bits must be of an even length, since some readers lose the last
// pixel of an odd one. Exits 0 when the pictures (colour of every pixel) agree.
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

struct Bitmap {
    long width = 0, height = 0;
    int bits = 0, compression = 0;
    std::vector<uint32_t> table;   // BGR0 entries
    std::vector<uint8_t> pixels;   // one colour-table index per pixel, bottom row first
};

uint32_t Le(const std::vector<uint8_t>& b, size_t at, int bytes) {
    uint32_t v = 0;
    for (int i = bytes - 1; i >= 0; --i) v = v << 8 | b.at(at + i);
    return v;
}

// Decodes a run-length stream strictly into `bmp.pixels`; false when it breaks a rule above.
bool DecodeStrictly(const std::vector<uint8_t>& s, Bitmap& bmp) {
    bmp.pixels.assign(static_cast<size_t>(bmp.width * bmp.height), 0);
    const bool four = bmp.bits == 4;
    size_t at = 0;
    long x = 0, y = 0;
    const auto put = [&](uint8_t v) { bmp.pixels[static_cast<size_t>(y * bmp.width + x++)] = v; };
    while (at + 2 <= s.size()) {
        const uint8_t n = s[at], code = s[at + 1];
        at += 2;
        if (n > 0) {
            if (y >= bmp.height || x + n > bmp.width) return false;
            for (int i = 0; i < n; ++i) put(four ? (i % 2 ? code & 15 : code >> 4) : code);
        } else if (code == 0 || code == 1) {
            if (x != 0 && x != bmp.width) return false;
            if (x == bmp.width) ++y;
            if (code == 1) return y == bmp.height;
            if (x == 0) return false;  // an end-of-line with nothing before it
            x = 0;
        } else if (code == 2 || y >= bmp.height || x + code > bmp.width || (four && code % 2)) {
            return false;
        } else {
            const size_t bytes = four ? (code + 1u) / 2 : code;
            if (at + bytes > s.size()) return false;
            for (int i = 0; i < code; ++i) put(four ? (i % 2 ? s[at + i / 2] & 15 : s[at + i / 2] >> 4) : s[at + i]);
            at += bytes + bytes % 2;
        }
    }
    return false;
}

bool Read(const char* path, Bitmap& bmp) {
    std::ifstream in(path, std::ios::binary);
    const std::vector<uint8_t> b((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (b.size() < 54 || b[0] != 'B' || b[1] != 'M') return false;
    const uint32_t offset = Le(b, 10, 4), headerSize = Le(b, 14, 4), colours = Le(b, 46, 4);
    bmp.width = static_cast<int32_t>(Le(b, 18, 4));
    bmp.height = static_cast<int32_t>(Le(b, 22, 4));
    bmp.bits = static_cast<int>(Le(b, 28, 2));
    bmp.compression = static_cast<int>(Le(b, 30, 4));
    if ((bmp.bits != 4 && bmp.bits != 8) || bmp.width < 1 || bmp.height < 1 || offset > b.size()) return false;
    for (uint32_t i = 0; i < (colours ? colours : 1u << bmp.bits); ++i) bmp.table.push_back(Le(b, 14 + headerSize + i * 4, 4));
    const std::vector<uint8_t> data(b.begin() + offset, b.end());
    if (bmp.compression != 0) return DecodeStrictly(data, bmp);
    const size_t stride = ((static_cast<size_t>(bmp.width) * bmp.bits + 31) / 32) * 4;
    if (data.size() < stride * bmp.height) return false;
    for (long y = 0; y < bmp.height; ++y)
        for (long x = 0; x < bmp.width; ++x) {
            const uint8_t byte = data[y * stride + (bmp.bits == 8 ? x : x / 2)];
            bmp.pixels.push_back(bmp.bits == 8 ? byte : (x % 2 ? byte & 15 : byte >> 4));
        }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    Bitmap source, encoded;
    if (argc != 3 || !Read(argv[1], source)) return std::fprintf(stderr, "usage: picture_check SOURCE.bmp ENCODED.bmp\n"), 2;
    if (!Read(argv[2], encoded) || encoded.compression != (encoded.bits == 8 ? 1 : 2))
        return std::fprintf(stderr, "%s: not a run-length stream that stays inside its rows\n", argv[2]), 1;
    if (encoded.width != source.width || encoded.height != source.height) return std::fprintf(stderr, "sizes differ\n"), 1;
    for (size_t i = 0; i < source.pixels.size(); ++i) {
        const uint8_t a = source.pixels[i], b = encoded.pixels[i];
        if (a >= source.table.size() || b >= encoded.table.size() || source.table[a] != encoded.table[b])
            return std::fprintf(stderr, "pixel %zu differs\n", i), 1;
    }
    return 0;
}
