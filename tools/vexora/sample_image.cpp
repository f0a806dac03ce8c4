// sample_image.cpp - the demo's sample pictures (MakeSample24, MakeSampleGray8,
// MakeSampleMono1), the disc mask it pastes through (MakeDiscMask) and block copies
// (Duplicate). The colour picture is painted top-down on a small canvas with a 5 x 7 font and
// stored bottom-up; the gray and black-and-white ones are derived from it.
#include "sample_image.hpp"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace vexora_tool {
namespace {

constexpr uint32_t Stride(int width, int bits) { return ((width * bits + 31) / 32) * 4; }

struct Rgb {
    uint8_t r, g, b;
};

// A 5 x 7 font: seven rows of five bits, most significant bit leftmost.
struct Glyph {
    char c;
    uint8_t rows[7];
};
constexpr Glyph kFont[] = {
    {'A', {0x0E, 0x11, 0x11, 0x1F, 0x11, 0x11, 0x11}}, {'B', {0x1E, 0x11, 0x11, 0x1E, 0x11, 0x11, 0x1E}},
    {'C', {0x0E, 0x11, 0x10, 0x10, 0x10, 0x11, 0x0E}}, {'D', {0x1E, 0x11, 0x11, 0x11, 0x11, 0x11, 0x1E}},
    {'E', {0x1F, 0x10, 0x10, 0x1E, 0x10, 0x10, 0x1F}}, {'F', {0x1F, 0x10, 0x10, 0x1E, 0x10, 0x10, 0x10}},
    {'G', {0x0E, 0x11, 0x10, 0x17, 0x11, 0x11, 0x0F}}, {'H', {0x11, 0x11, 0x11, 0x1F, 0x11, 0x11, 0x11}},
    {'I', {0x0E, 0x04, 0x04, 0x04, 0x04, 0x04, 0x0E}}, {'J', {0x07, 0x02, 0x02, 0x02, 0x02, 0x12, 0x0C}},
    {'K', {0x11, 0x12, 0x14, 0x18, 0x14, 0x12, 0x11}}, {'L', {0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x1F}},
    {'M', {0x11, 0x1B, 0x15, 0x15, 0x11, 0x11, 0x11}}, {'N', {0x11, 0x11, 0x19, 0x15, 0x13, 0x11, 0x11}},
    {'O', {0x0E, 0x11, 0x11, 0x11, 0x11, 0x11, 0x0E}}, {'P', {0x1E, 0x11, 0x11, 0x1E, 0x10, 0x10, 0x10}},
    {'Q', {0x0E, 0x11, 0x11, 0x11, 0x15, 0x12, 0x0D}}, {'R', {0x1E, 0x11, 0x11, 0x1E, 0x14, 0x12, 0x11}},
    {'S', {0x0F, 0x10, 0x10, 0x0E, 0x01, 0x01, 0x1E}}, {'T', {0x1F, 0x04, 0x04, 0x04, 0x04, 0x04, 0x04}},
    {'U', {0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x0E}}, {'V', {0x11, 0x11, 0x11, 0x11, 0x11, 0x0A, 0x04}},
    {'W', {0x11, 0x11, 0x11, 0x15, 0x15, 0x15, 0x0A}}, {'X', {0x11, 0x11, 0x0A, 0x04, 0x0A, 0x11, 0x11}},
    {'Y', {0x11, 0x11, 0x0A, 0x04, 0x04, 0x04, 0x04}}, {'Z', {0x1F, 0x01, 0x02, 0x04, 0x08, 0x10, 0x1F}},
    {'0', {0x0E, 0x11, 0x13, 0x15, 0x19, 0x11, 0x0E}}, {'1', {0x04, 0x0C, 0x04, 0x04, 0x04, 0x04, 0x0E}},
    {'2', {0x0E, 0x11, 0x01, 0x02, 0x04, 0x08, 0x1F}}, {'3', {0x1F, 0x02, 0x04, 0x02, 0x01, 0x11, 0x0E}},
    {'4', {0x02, 0x06, 0x0A, 0x12, 0x1F, 0x02, 0x02}}, {'5', {0x1F, 0x10, 0x1E, 0x01, 0x01, 0x11, 0x0E}},
    {'6', {0x06, 0x08, 0x10, 0x1E, 0x11, 0x11, 0x0E}}, {'7', {0x1F, 0x01, 0x02, 0x04, 0x08, 0x08, 0x08}},
    {'8', {0x0E, 0x11, 0x11, 0x0E, 0x11, 0x11, 0x0E}}, {'9', {0x0E, 0x11, 0x11, 0x0F, 0x01, 0x02, 0x0C}},
    {'.', {0x00, 0x00, 0x00, 0x00, 0x00, 0x0C, 0x0C}}, {'-', {0x00, 0x00, 0x00, 0x1F, 0x00, 0x00, 0x00}},
};

const Glyph* FindGlyph(char c) {
    for (const auto& g : kFont)
        if (g.c == c) return &g;
    return nullptr;
}

// Paints into a top-down RGB canvas, then stores it bottom-up as a DIB.
class Canvas {
public:
    Canvas(int width, int height) : width_(width), height_(height), pixels_(new Rgb[width * height]()) {}
    ~Canvas() { delete[] pixels_; }
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    void set(int x, int y, Rgb c) {
        if (x >= 0 && y >= 0 && x < width_ && y < height_) pixels_[y * width_ + x] = c;
    }
    void fill(int x0, int y0, int x1, int y1, Rgb c) {
        for (int y = y0; y < y1; ++y)
            for (int x = x0; x < x1; ++x) set(x, y, c);
    }
    void text(int x, int y, std::string_view s, int scale, Rgb c) {
        for (char ch : s) {
            if (const Glyph* g = FindGlyph(ch)) {
                for (int row = 0; row < 7; ++row)
                    for (int col = 0; col < 5; ++col)
                        if (g->rows[row] & (0x10 >> col)) fill(x + col * scale, y + row * scale, x + (col + 1) * scale, y + (row + 1) * scale, c);
            }
            x += 6 * scale;
        }
    }
    Rgb at(int x, int y) const { return pixels_[y * width_ + x]; }

private:
    int width_, height_;
    Rgb* pixels_;
};

Dib AllocateDib(int width, int height, int bits, int colours) {
    const uint32_t bytes = 40 + colours * 4 + Stride(width, bits) * height;
    Dib dib(GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, bytes));
    if (!dib) throw OperationFailed("Not enough memory.");
    auto* h = static_cast<BITMAPINFOHEADER*>(GlobalLock(dib.get()));
    h->biSize = 40;
    h->biWidth = width;
    h->biHeight = height;
    h->biPlanes = 1;
    h->biBitCount = static_cast<WORD>(bits);
    h->biSizeImage = Stride(width, bits) * height;
    h->biXPelsPerMeter = h->biYPelsPerMeter = 3780;  // 96 dots per inch
    h->biClrUsed = static_cast<DWORD>(colours);
    GlobalUnlock(dib.get());
    return dib;
}

void PaintSample(Canvas& c) {
    const int w = kSampleWidth, h = kSampleHeight;
    // Colour bars.
    const Rgb bars[] = {{255, 255, 255}, {255, 255, 0}, {0, 255, 255}, {0, 255, 0},
                        {255, 0, 255}, {255, 0, 0},     {0, 0, 255},   {0, 0, 0}};
    for (int i = 0; i < 8; ++i) c.fill(i * w / 8, 0, (i + 1) * w / 8, 40, bars[i]);
    // Gray ramp.
    for (int x = 0; x < w; ++x) {
        const auto v = static_cast<uint8_t>(x * 255 / (w - 1));
        c.fill(x, 40, x + 1, 60, {v, v, v});
    }
    // Two-dimensional colour gradient with a disc.
    for (int y = 60; y < 180; ++y)
        for (int x = 0; x < 160; ++x) {
            const int dx = x - 80, dy = y - 120;
            const bool disc = dx * dx + dy * dy < 40 * 40;
            c.set(x, y, {static_cast<uint8_t>(x * 255 / 159), static_cast<uint8_t>((y - 60) * 255 / 119),
                         static_cast<uint8_t>(disc ? 255 - x : 96)});
        }
    // Zone plate: rings whose spacing shrinks outwards, the classic test of resampling.
    for (int y = 60; y < 180; ++y)
        for (int x = 160; x < 260; ++x) {
            const double r2 = (x - 210.0) * (x - 210.0) + (y - 120.0) * (y - 120.0);
            const auto v = static_cast<uint8_t>(127.5 + 127.5 * std::cos(r2 * 0.0125));
            c.set(x, y, {v, v, v});
        }
    // Fine lines: one-pixel verticals, alternating horizontals and a fan of diagonals.
    c.fill(260, 60, w, 180, {255, 255, 255});
    for (int x = 262; x < 290; x += 2) c.fill(x, 62, x + 1, 118, {0, 0, 0});
    for (int y = 62; y < 118; y += 2) c.fill(292, y, 318, y + 1, {0, 0, 128});
    for (int k = 0; k < 6; ++k)
        for (int t = 0; t < 56; ++t) c.set(262 + t, 122 + t * (k + 1) / 6, {static_cast<uint8_t>(40 * k), 0, 0});
    // Lettering, at one and two pixels per dot.
    c.fill(0, 180, w, h, {240, 236, 224});
    c.text(6, 186, "VEXORA IMAGING 5.56", 2, {16, 16, 64});
    c.text(6, 206, "THE QUICK BROWN FOX JUMPS OVER THE LAZY DOG", 1, {0, 0, 0});
    c.text(6, 216, "0123456789 - SHARP EDGES. FINE DETAIL.", 1, {128, 0, 0});
    c.text(6, 226, "ABCDEFGHIJKLMNOPQRSTUVWXYZ", 1, {0, 96, 0});
}

}  // namespace

Dib MakeSample24() {
    Canvas canvas(kSampleWidth, kSampleHeight);
    PaintSample(canvas);
    Dib dib = AllocateDib(kSampleWidth, kSampleHeight, 24, 0);
    auto* base = static_cast<uint8_t*>(GlobalLock(dib.get())) + 40;
    const uint32_t stride = Stride(kSampleWidth, 24);
    for (int y = 0; y < kSampleHeight; ++y) {
        uint8_t* row = base + (kSampleHeight - 1 - y) * stride;  // bottom row first
        for (int x = 0; x < kSampleWidth; ++x) {
            const Rgb p = canvas.at(x, y);
            row[x * 3] = p.b;
            row[x * 3 + 1] = p.g;
            row[x * 3 + 2] = p.r;
        }
    }
    GlobalUnlock(dib.get());
    return dib;
}

Dib MakeSampleGray8(const Dib& sample24) {
    Dib dib = AllocateDib(kSampleWidth, kSampleHeight, 8, 256);
    const auto* src = static_cast<const uint8_t*>(GlobalLock(sample24.get())) + 40;
    auto* out = static_cast<uint8_t*>(GlobalLock(dib.get()));
    for (int i = 0; i < 256; ++i) std::memset(out + 40 + i * 4, i, 3);
    uint8_t* dst = out + 40 + 1024;
    const uint32_t srcStride = Stride(kSampleWidth, 24), dstStride = Stride(kSampleWidth, 8);
    for (int y = 0; y < kSampleHeight; ++y)
        for (int x = 0; x < kSampleWidth; ++x) {
            const uint8_t* p = src + y * srcStride + x * 3;
            dst[y * dstStride + x] = static_cast<uint8_t>((p[0] * 29 + p[1] * 150 + p[2] * 77 + 128) >> 8);
        }
    GlobalUnlock(dib.get());
    GlobalUnlock(sample24.get());
    return dib;
}

Dib MakeSampleMono1(const Dib& gray8) {
    WORD error = IMGERR_SUCCESS;
    Dib dib(Halftone(gray8.get(), 1, 0, &error));
    if (!dib) throw OperationFailed("the 1-bit sample could not be made (error " + std::to_string(error) + ")");
    return dib;
}

Dib MakeDiscMask(int width, int height) {
    Dib dib = AllocateDib(width, height, 1, 2);
    auto* out = static_cast<uint8_t*>(GlobalLock(dib.get()));
    std::memset(out + 44, 255, 3);  // entry 0 black, entry 1 white
    uint8_t* rows = out + 48;
    const uint32_t stride = Stride(width, 1);
    // Inside the ellipse (x - cx)^2 / rx^2 + (y - cy)^2 / ry^2 <= 1, in doubled coordinates so
    // that the centre falls between pixels and the disc is symmetric.
    const int64_t rx = width, ry = height;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const int64_t dx = 2 * x + 1 - width, dy = 2 * y + 1 - height;
            if (dx * dx * ry * ry + dy * dy * rx * rx <= rx * rx * ry * ry)
                rows[y * stride + x / 8] |= static_cast<uint8_t>(0x80 >> (x % 8));
        }
    GlobalUnlock(dib.get());
    return dib;
}

Dib Duplicate(const Dib& dib) {
    const size_t bytes = GlobalSize(dib.get());
    Dib copy(GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, bytes));
    if (!copy) throw OperationFailed("Not enough memory.");
    std::memcpy(GlobalLock(copy.get()), GlobalLock(dib.get()), bytes);
    GlobalUnlock(copy.get());
    GlobalUnlock(dib.get());
    return copy;
}

}  // namespace vexora_tool
