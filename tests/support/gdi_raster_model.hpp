// gdi_raster_model.hpp - helpers of the raster conformance tests: Dib, a top-down DIB section
// of any depth and colour table selected into a memory DC of its own, whose bytes the tests
// set and read directly; MonoDevice, a 1-bit device bitmap in its
// own DC; and RopModel, a raster operation evaluated bit by bit from its truth table, the
// reference the word-wide evaluator is checked against.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "gdi_support.hpp"

namespace vxtest {

class Dib {
public:
    Dib(int width, int height, int bitsPerPixel, std::vector<RGBQUAD> table = {})
        : width_(width), height_(height), bpp_(bitsPerPixel), stride_((width * bitsPerPixel + 31) / 32 * 4) {
        void* bits = nullptr;
        bitmap_ = vx::OwnedObject<HBITMAP>(TopDownSection(width, height, bitsPerPixel, table, &bits));
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
    void fill(uint8_t value) const { std::memset(bits_, value, static_cast<size_t>(stride_) * height_); }
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
        for (int y = 0; y < height_; ++y) text += (y ? "/" : "") + Hex(row(y), (width_ * bpp_ + 7) / 8, 1);
        return text;
    }

private:
    int width_, height_, bpp_, stride_;
    vx::MemoryDC dc_;
    vx::OwnedObject<HBITMAP> bitmap_{nullptr};
    uint8_t* bits_ = nullptr;
    std::vector<uint8_t> spare_;  // stands in for the bits when the section could not be made
    HGDIOBJ previous_ = nullptr;
};

// A 1-bit device bitmap 16 pixels wide in a DC of its own.
struct MonoDevice {
    explicit MonoDevice(int rows) : height(rows) { SelectObject(dc.get(), bitmap.get()); }
    int height;
    vx::OwnedObject<HBITMAP> bitmap{CreateBitmap(16, height, 1, 1, nullptr)};
    vx::MemoryDC dc;
    // The first byte of each row (its first 8 pixels), as hexadecimal.
    std::string firstBytes() const {
        const std::vector<uint8_t> bits = BitmapBytes(bitmap.get());
        return Hex(bits.data(), height, 2);
    }
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
