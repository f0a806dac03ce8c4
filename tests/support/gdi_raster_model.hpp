// gdi_raster_model.hpp - helpers of the raster conformance tests: Dib, a top-down DIB section
// of any depth and colour table selected into a memory DC of its own, whose bytes the tests
// set and read directly; Hex, bytes as text; and RopModel, a raster operation evaluated bit
// by bit from its truth table, the reference the word-wide evaluator is checked against.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "gdi_guards.hpp"

namespace vxtest {

class Dib {
public:
    Dib(int width, int height, int bitsPerPixel, std::vector<RGBQUAD> table = {})
        : width_(width), height_(height), stride_((width * bitsPerPixel + 31) / 32 * 4) {
        if (table.empty() && bitsPerPixel <= 8)
            for (int i = 0, n = 1 << bitsPerPixel; i < n; ++i) {
                const auto v = static_cast<BYTE>(i * 255 / (n - 1));
                table.push_back({v, v, v, 0});
            }
        std::vector<uint8_t> info(sizeof(BITMAPINFOHEADER) + 256 * sizeof(RGBQUAD));
        auto* h = reinterpret_cast<BITMAPINFOHEADER*>(info.data());
        *h = {sizeof(BITMAPINFOHEADER), width, -height, 1, static_cast<WORD>(bitsPerPixel), BI_RGB, 0, 0, 0,
              static_cast<DWORD>(table.size()), 0};
        if (!table.empty()) std::memcpy(h + 1, table.data(), table.size() * sizeof(RGBQUAD));
        void* bits = nullptr;
        bitmap_ = vx::OwnedObject<HBITMAP>(
            CreateDIBSection(nullptr, reinterpret_cast<BITMAPINFO*>(info.data()), DIB_RGB_COLORS, &bits, nullptr, 0));
        bits_ = static_cast<uint8_t*>(bits);
        if (bits_ == nullptr) {
            ADD_FAILURE() << "CreateDIBSection of " << width << " x " << height << " at " << bitsPerPixel << " bits failed";
            spare_.assign(static_cast<size_t>(stride_) * height, 0);
            bits_ = spare_.data();
        }
        previous_ = SelectObject(dc_.get(), bitmap_.get());
    }
    ~Dib() { SelectObject(dc_.get(), previous_); }
    Dib(const Dib&) = delete;
    Dib& operator=(const Dib&) = delete;

    HDC dc() const { return dc_.get(); }
    HBITMAP bitmap() const { return bitmap_.get(); }
    uint8_t* row(int y) const { return bits_ + static_cast<size_t>(y) * stride_; }
    int stride() const { return stride_; }
    // Fills every byte of the rows (padding too) with `value`, or from a list of row texts.
    void fill(uint8_t value) const { std::memset(bits_, value, static_cast<size_t>(stride_) * height_); }
    void set(const std::vector<std::string>& rows) const {
        for (size_t y = 0; y < rows.size(); ++y)
            for (size_t i = 0; i + 1 < rows[y].size(); i += 2)
                row(static_cast<int>(y))[i / 2] = static_cast<uint8_t>(std::stoul(rows[y].substr(i, 2), nullptr, 16));
    }
    // The pixel bytes of each row (no padding) as hexadecimal, rows joined by '/'.
    std::string hex(int bitsPerPixel) const {
        std::string text;
        char cell[4];
        for (int y = 0; y < height_; ++y) {
            if (y) text += '/';
            for (int i = 0; i < (width_ * bitsPerPixel + 7) / 8; ++i) {
                std::snprintf(cell, sizeof cell, "%02x", row(y)[i]);
                text += cell;
            }
        }
        return text;
    }

private:
    int width_, height_, stride_;
    vx::MemoryDC dc_;
    vx::OwnedObject<HBITMAP> bitmap_{nullptr};
    uint8_t* bits_ = nullptr;
    std::vector<uint8_t> spare_;  // stands in for the bits when the section could not be made
    HGDIOBJ previous_ = nullptr;
};

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
