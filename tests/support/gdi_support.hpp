// gdi_support.hpp - bitmaps for the GDI conformance tests: Canvas, a bitmap of any depth
// selected into a memory DC of its own, filled from a list of colours and read back as colours
// (GetPixel) or as its device bytes (GetBitmapBits); Show, a grid of colours for failure
// messages; Info and Header, a BITMAPINFO with room for any table; TopDownSection, BitmapBytes,
// Hex and PixelAt, the section, bytes and pixel values the other helpers share; SetMapping, an
// anisotropic mapping in one call; MakePalette, a logical palette from a list of entries; Mix, a colour
// a function of a position, for patterns without structure; and DibFormat with Pack, a plain per-pixel model of DIB rows (table look-ups, the
// nearest entry, channels widened by repeating their high bits and narrowed by truncation)
// that the converted bytes are checked against.
//
// Monochrome and 32-bit canvases are device bitmaps (what CreateBitmap makes and a memory DC
// takes on a true-colour screen); other depths are top-down DIB sections with the table given,
// or a table of evenly spread grays. The same code runs against Windows' GDI and ours.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <climits>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "gdi_guards.hpp"

namespace vxtest {

using Colours = std::vector<COLORREF>;

// True (after saying why) when a case is left out on Windows, where `reason` says what Wine
// does wrong with it; a case without a reason runs everywhere.
inline bool SkippedOnWindows([[maybe_unused]] const char* name, [[maybe_unused]] const char* reason) {
#ifdef _WIN32
    if (reason != nullptr) {
        std::printf("skipped on Windows: %s: %s\n", name, reason);
        return true;
    }
#endif
    return false;
}

// A colour that varies with (x, y) with no simple structure.
inline COLORREF Mix(int x, int y) {
    const uint32_t h = (static_cast<uint32_t>(x) * 73856093u) ^ (static_cast<uint32_t>(y) * 19349663u);
    return RGB(h >> 3, h >> 11, h >> 19);
}

// A DIB pixel layout: a depth with its table (1 to 8 bits) or channel masks (16 and 32 bits;
// none: 5-5-5 and 8-8-8).
struct DibFormat {
    explicit DibFormat(int depth = 32) : bits(depth) {}
    int bits;
    std::vector<RGBQUAD> table;
    uint32_t masks[3] = {0, 0, 0};

    int stride(int width) const { return (width * bits + 31) / 32 * 4; }
    uint32_t mask(int channel) const {
        if (masks[0] | masks[1] | masks[2]) return masks[channel];
        return bits == 16 ? 0x7C00u >> (5 * channel) : 0xFF0000u >> (8 * channel);
    }
    // Where channel i sits and how many bits it has (masks are runs of ones).
    std::pair<int, int> field(int i) const { return {std::countr_zero(mask(i)) % 32, std::popcount(mask(i))}; }
    COLORREF decode(uint32_t value) const {
        if (bits <= 8) return value < table.size() ? RGB(table[value].rgbRed, table[value].rgbGreen, table[value].rgbBlue) : 0;
        uint32_t c[3] = {0, 0, 0};
        for (int i = 0; i < 3; ++i) {
            const auto [shift, length] = field(i);
            const uint32_t v = length != 0 ? (value & mask(i)) >> shift : 0;
            c[i] = length >= 8 ? v >> (length - 8) : (v << (8 - length) | v << (8 - length) >> length) & 0xFF;
        }
        return RGB(c[0], c[1], c[2]);
    }
    // The pixel value of a colour: its channels cut, or the nearest entry of the table (a
    // direct colour matched to an 8-bit table at 5 bits a channel, as Windows converts).
    uint32_t encode(COLORREF colour, bool direct = false) const {
        int rgb[3] = {GetRValue(colour), GetGValue(colour), GetBValue(colour)};
        uint32_t best = 0, bestDistance = UINT32_MAX;
        if (bits <= 8) {
            if (direct && bits == 8)
                for (int& c : rgb) c = (c & ~7) + 4;
            for (uint32_t i = 0; i < table.size(); ++i) {
                const int d[3] = {table[i].rgbRed - rgb[0], table[i].rgbGreen - rgb[1], table[i].rgbBlue - rgb[2]};
                const auto distance = static_cast<uint32_t>(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
                if (distance < bestDistance) bestDistance = distance, best = i;
            }
            return best;
        }
        for (int i = 0; i < 3; ++i) {
            const auto [shift, length] = field(i);
            best |= (length >= 8 ? uint32_t(rgb[i]) << (length - 8) : uint32_t(rgb[i]) >> (8 - length)) << shift;
        }
        return best;
    }
};

// DIB rows of pixel values given rows top down (bottomUp: stored last row first).
inline std::vector<uint8_t> Pack(const DibFormat& format, const std::vector<uint32_t>& values, int width,
                                 bool bottomUp) {
    const int height = static_cast<int>(values.size()) / width, stride = format.stride(width);
    std::vector<uint8_t> bytes(static_cast<size_t>(stride) * height, 0);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            uint8_t* row = bytes.data() + static_cast<size_t>(bottomUp ? height - 1 - y : y) * stride;
            const uint32_t v = values[static_cast<size_t>(y) * width + x];
            const int bit = x * format.bits;
            if (format.bits < 8) row[bit / 8] |= static_cast<uint8_t>(v << (8 - format.bits - bit % 8));
            for (int b = 0; b < format.bits / 8; ++b) row[bit / 8 + b] = static_cast<uint8_t>(v >> (8 * b));
        }
    return bytes;
}
// A BITMAPINFO with room for any table or masks.
struct Info {
    BITMAPINFOHEADER header;
    RGBQUAD table[256];
    BITMAPINFO* get() { return reinterpret_cast<BITMAPINFO*>(this); }
};

inline Info Header(int width, int height, int bits, DWORD compression = BI_RGB) {
    return {{sizeof(BITMAPINFOHEADER), width, height, 1, static_cast<WORD>(bits), compression, 0, 0, 0, 0, 0}, {}};
}

// A top-down DIB section with `table`; an empty one becomes evenly spread grays (1 to 8 bits).
inline HBITMAP TopDownSection(int width, int height, int bits, std::vector<RGBQUAD>& table, void** pixels) {
    for (int i = 0, n = table.empty() && bits <= 8 ? 1 << bits : 0; i < n; ++i) {
        const auto v = static_cast<BYTE>(i * 255 / (n - 1));
        table.push_back({v, v, v, 0});
    }
    Info info = Header(width, -height, bits);
    info.header.biClrUsed = static_cast<DWORD>(table.size());
    std::copy_n(table.begin(), std::min<size_t>(table.size(), 256), info.table);
    return CreateDIBSection(nullptr, info.get(), DIB_RGB_COLORS, pixels, nullptr, 0);
}

// A bitmap's bytes as GetBitmapBits gives them (rows top down, 16-bit padded).
inline std::vector<uint8_t> BitmapBytes(HBITMAP bitmap) {
    std::vector<uint8_t> out(static_cast<size_t>(GetBitmapBits(bitmap, 0, nullptr)));
    GetBitmapBits(bitmap, static_cast<LONG>(out.size()), out.data());
    return out;
}

// `count` bytes, every `step`th from `bytes`, as hexadecimal.
inline std::string Hex(const uint8_t* bytes, int count, int step) {
    std::string text;
    char cell[4];
    for (int i = 0; i < count; ++i) {
        std::snprintf(cell, sizeof cell, "%02x", bytes[static_cast<size_t>(i) * step]);
        text += cell;
    }
    return text;
}

// Colours as rows of hexadecimal RRGGBB, for failure messages.
inline std::string Show(const Colours& colours, int width) {
    std::string text;
    for (size_t i = 0; i < colours.size(); ++i) {
        const uint8_t rgb[3] = {GetRValue(colours[i]), GetGValue(colours[i]), GetBValue(colours[i])};
        text += Hex(rgb, 3, 1) + ((i + 1) % static_cast<size_t>(width) == 0 ? '\n' : ' ');
    }
    return text;
}

// A logical palette of the given entries.
inline HPALETTE MakePalette(std::initializer_list<PALETTEENTRY> entries) {
    std::vector<uint8_t> storage(offsetof(LOGPALETTE, palPalEntry) + entries.size() * sizeof(PALETTEENTRY));
    auto* logical = reinterpret_cast<LOGPALETTE*>(storage.data());
    *logical = {0x300, static_cast<WORD>(entries.size()), {}};
    std::memcpy(logical->palPalEntry, entries.begin(), entries.size() * sizeof(PALETTEENTRY));
    return CreatePalette(logical);
}

// MM_ANISOTROPIC with window origin and extent, viewport origin and extent, in that order.
inline void SetMapping(HDC dc, const LONG (&m)[8]) {
    SetMapMode(dc, MM_ANISOTROPIC);
    SetWindowExtEx(dc, m[2], m[3], nullptr);
    SetViewportExtEx(dc, m[6], m[7], nullptr);
    SetWindowOrgEx(dc, m[0], m[1], nullptr);
    SetViewportOrgEx(dc, m[4], m[5], nullptr);
}

// The value of pixel x of a row of `bits`-bit pixels (little-endian from 16 bits up).
inline uint32_t PixelAt(const uint8_t* row, int bits, int x) {
    if (bits < 8) return (row[x * bits / 8] >> (8 - bits - x * bits % 8)) & ((1u << bits) - 1);
    uint32_t value = 0;
    std::memcpy(&value, row + x * bits / 8, static_cast<size_t>(bits / 8));  // little-endian hosts only
    return value;
}

class Canvas {
public:
    // section: a DIB section whatever the depth (its bits at pixels()).
    Canvas(int width, int height, int bitsPerPixel, std::vector<RGBQUAD> table = {}, bool section = false)
        : width_(width), height_(height) {
        format_.bits = bitsPerPixel;
        if (!section && (bitsPerPixel == 1 || bitsPerPixel == 32)) {
            if (bitsPerPixel == 1) format_.table = {{0, 0, 0, 0}, {255, 255, 255, 0}};
            bitmap_ = vx::OwnedObject<HBITMAP>(CreateBitmap(width, height, 1, bitsPerPixel, nullptr));
        } else {
            bitmap_ = vx::OwnedObject<HBITMAP>(TopDownSection(width, height, bitsPerPixel, table, &pixels_));
            format_.table = table;
        }
        EXPECT_NE(bitmap_.get(), nullptr) << width << " x " << height << " at " << bitsPerPixel << " bits";
        EXPECT_NE(previous_ = SelectObject(dc_.get(), bitmap_.get()), nullptr);
    }
    ~Canvas() { SelectObject(dc_.get(), previous_); }
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    HDC dc() const { return dc_.get(); }
    HBITMAP bitmap() const { return bitmap_.get(); }
    int width() const { return width_; }
    int height() const { return height_; }
    // The layout of its pixels (a table for 1 to 8 bits, default masks otherwise).
    const DibFormat& format() const { return format_; }
    void* pixels() const { return pixels_; }

    // Sets the pixels, rows top down (width x height colours).
    void fill(const Colours& colours) const {
        for (int i = 0; i < width_ * height_; ++i) SetPixel(dc(), i % width_, i / width_, colours[static_cast<size_t>(i)]);
    }
    // The pixels, rows top down.
    Colours read() const {
        Colours colours;
        for (int i = 0; i < width_ * height_; ++i) colours.push_back(GetPixel(dc(), i % width_, i / width_));
        return colours;
    }
    std::vector<uint8_t> bytes() const { return BitmapBytes(bitmap()); }

private:
    int width_, height_;
    vx::MemoryDC dc_;
    vx::OwnedObject<HBITMAP> bitmap_{nullptr};
    HGDIOBJ previous_ = nullptr;
    DibFormat format_;
    void* pixels_ = nullptr;
};

}  // namespace vxtest
