// gdi_raster_model.hpp - helpers of the raster conformance tests: Dib, a Canvas that is a
// top-down DIB section at every depth, whose bytes the tests set and read directly; FirstBytes,
// the first byte of each row of a 1-bit device canvas; and RopModel, a raster operation
// evaluated bit by bit from its truth table, the reference the word-wide evaluator is checked
// against.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "gdi_support.hpp"

namespace vxtest {

class Dib : public Canvas {
public:
    Dib(int width, int height, int bitsPerPixel, std::vector<RGBQUAD> table = {})
        : Canvas(width, height, bitsPerPixel, std::move(table), true), stride_(format().stride(width)) {
        bits_ = static_cast<uint8_t*>(pixels());
        if (bits_ == nullptr) spare_.assign(static_cast<size_t>(stride_) * height, 0), bits_ = spare_.data();
    }

    uint8_t* row(int y) const { return bits_ + static_cast<size_t>(y) * stride_; }
    int stride() const { return stride_; }
    void fill(uint8_t value) const { std::memset(bits_, value, static_cast<size_t>(stride_) * height()); }
    // Sets the first bytes of each row from hexadecimal text, rows separated by '/'.
    void set(const std::string& rows) const {
        int y = 0, x = 0;
        for (size_t i = 0; i + 1 < rows.size(); i += 2)
            if (rows[i] == '/') ++y, x = 0, --i;
            else row(y)[x++] = static_cast<uint8_t>(std::stoul(rows.substr(i, 2), nullptr, 16));
    }
    // The pixel bytes of each row (no padding) as hexadecimal, rows separated by '/'.
    std::string hex() const {
        std::string text;
        for (int y = 0; y < height(); ++y) text += (y ? "/" : "") + Hex(row(y), (width() * format().bits + 7) / 8, 1);
        return text;
    }

private:
    int stride_;
    uint8_t* bits_ = nullptr;
    std::vector<uint8_t> spare_;  // stands in for the bits when the section could not be made
};

// The first byte of each row of a 1-bit canvas 16 pixels wide (its first 8 pixels), as hexadecimal.
inline std::string FirstBytes(const Canvas& canvas) { return Hex(canvas.bytes().data(), canvas.height(), 2); }

// The raster operation with truth table `code` on bytes, bit by bit.
inline uint8_t RopModel(uint8_t code, uint8_t p, uint8_t s, uint8_t d) {
    uint8_t out = 0;
    for (int bit = 0; bit < 8; ++bit) {
        const int index = ((p >> bit) & 1) << 2 | ((s >> bit) & 1) << 1 | ((d >> bit) & 1);
        out = static_cast<uint8_t>(out | ((code >> index) & 1) << bit);
    }
    return out;
}

}  // namespace vxtest

namespace vxtest {

// Whether polygons (each closed) cover pixel (x, y) as Windows fills them: the edges that span
// row y (upper end included, lower end not) and cross it at or left of x, counted with their
// directions; ALTERNATE takes an odd count, WINDING a non-zero sum. Exact for 32-bit points.
inline bool PolygonCovers(const std::vector<POINT>& points, const std::vector<int>& counts, bool winding, int x,
                          int y) {
    int crossings = 0, sum = 0;
    for (size_t first = 0, n = 0; n < counts.size(); first += static_cast<size_t>(counts[n++]))
        for (int i = 0; i < counts[n]; ++i) {
            POINT a = points[first + i], b = points[first + (i + 1) % counts[n]];
            const int direction = a.y < b.y ? 1 : -1;
            if (a.y > b.y) std::swap(a, b);
            // The crossing a.x + (y - a.y) dx / dy compared with x without dividing.
            if (y >= a.y && y < b.y && static_cast<__int128>(y - int64_t{a.y}) * (int64_t{b.x} - a.x) <=
                                           static_cast<__int128>(x - int64_t{a.x}) * (int64_t{b.y} - a.y))
                ++crossings, sum += direction;
        }
    return winding ? sum != 0 : crossings % 2 != 0;
}

// FNV-1a of a canvas's pixel rows: a short name for a picture Windows drew.
inline uint32_t PictureHash(const Dib& dib) {
    uint32_t hash = 2166136261u;
    for (int y = 0; y < dib.height(); ++y)
        for (int i = 0; i < (dib.width() * dib.format().bits + 7) / 8; ++i) hash = (hash ^ dib.row(y)[i]) * 16777619u;
    return hash;
}

}  // namespace vxtest
