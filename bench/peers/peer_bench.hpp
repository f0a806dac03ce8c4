// peer_bench.hpp - what the rows of the peer benchmark share: source pictures as the
// library's DIBs, the same pixels handed to OpenCV, Leptonica and FreeImage, and the row list.
//
// Provides: Dib (an owned, locked DIB with its geometry), the picture makers (Photo, Graphics),
// the views and copies the peers take (AsMat, ToPix, ToFreeImage), the contender makers
// (Vexora, Leptonica, FreeImage, Plain) and RegisterRows.
//
// A row is one operation on one picture: the library's export beside each peer's nearest
// operation. A row is made only when it is about to run (its pictures can be 256 MB) and
// dropped afterwards. Each contender is a call as its API makes its user pay for it: the
// library's exports return a new block, which is freed inside the timing; so do Leptonica's
// and FreeImage's functions; OpenCV writes into a destination the caller keeps, so its
// destination is made once, outside the timing, and reused (the faster form). Peers run on one
// thread.
#pragma once

#include <leptonica/allheaders.h>
#include <opencv2/core.hpp>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "vexora.h"

struct FIBITMAP;  // FreeImage's picture, opaque here

namespace peers {

// A DIB of the library, kept locked for its life so that its pixels can be viewed directly.
class Dib {
public:
    Dib() = default;
    explicit Dib(HDIB handle);  // takes ownership
    Dib(Dib&& other) noexcept;
    Dib& operator=(Dib&& other) noexcept;
    Dib(const Dib&) = delete;
    Dib& operator=(const Dib&) = delete;
    ~Dib();

    HDIB handle() const { return handle_; }
    int width() const { return width_; }
    int height() const { return height_; }
    int bits() const { return bits_; }
    size_t stride() const { return stride_; }
    uint8_t* pixels() const { return pixels_; }        // bottom row first, as stored
    uint8_t* row(int y) const { return pixels_ + stride_ * size_t(height_ - 1 - y); }  // y from the top
    const RGBQUAD* colours() const { return colours_; }

private:
    void Release();
    HDIB handle_ = nullptr;
    int width_ = 0, height_ = 0, bits_ = 0;
    size_t stride_ = 0;
    uint8_t* pixels_ = nullptr;
    const RGBQUAD* colours_ = nullptr;
};

// A photograph-like picture: smooth waves, sharp-edged bars and a little noise. 8-bit pictures
// carry the gray ramp, 4-bit ones sixteen grays, 1-bit ones black and white (thresholded).
Dib Photo(int width, int height, int bits);
// An 8-bit picture drawn like a chart or a screenshot: flat rectangles of a few colours,
// thin lines and long runs, over a colour table of 256 distinct colours.
Dib Graphics(int width, int height);
// A copy of `source` whose 8-bit colour table is replaced by 256 scattered colours, the
// pixels unchanged: a general palette, as a GIF or a quantised picture carries.
Dib WithScatteredColours(const Dib& source);

// OpenCV's view of the same pixels (no copy): CV_8UC1 for 8-bit, CV_8UC3 for 24-bit.
cv::Mat AsMat(const Dib& dib);
// Leptonica's copy: 1, 8 (gray) or 32 bits (RGB) per pixel, top row first.
struct PixDeleter { void operator()(PIX* pix) const { pixDestroy(&pix); } };
using PixPtr = std::unique_ptr<PIX, PixDeleter>;
PixPtr ToPix(const Dib& dib);
// FreeImage's copy: same depth, rows and colour table (its layout is the DIB's).
// FreeImage's header declares its own Windows types and macros that clash with the library's
// and Leptonica's, so it is only ever included by files that include neither: a family's
// FreeImage calls live in a file of their own (rows_NAME_freeimage.cpp, with peer_freeimage.hpp)
// and are declared to the family's rows as plain functions over this opaque type.
void FreeImageUnload(FIBITMAP* bitmap);
struct FiDeleter { void operator()(FIBITMAP* bitmap) const { FreeImageUnload(bitmap); } };
using FiPtr = std::unique_ptr<FIBITMAP, FiDeleter>;
FiPtr ToFreeImage(const Dib& dib);

// A picture in every library's form: the DIB, OpenCV's view of it (empty for 1- and 4-bit
// pictures, which OpenCV has no form for), Leptonica's and FreeImage's copies, and a
// destination OpenCV's calls may reuse.
struct Sources {
    explicit Sources(Dib picture);
    Dib dib;
    cv::Mat mat, out;
    PixPtr pix;
    FiPtr bitmap;
};

// One library's way of doing the row's operation, timed as a whole call.
struct Contender {
    std::string library;
    std::function<void()> run;
};

// Contenders whose call returns a new result, freed inside the timing. A null result is a
// failure and ends the program with the row's name: a row must not time an early refusal.
Contender Vexora(std::function<HGLOBAL()> call);
Contender Leptonica(std::function<PIX*()> call);
Contender FreeImage(std::function<FIBITMAP*()> call);
// A contender that keeps its own result (OpenCV into a reused destination, in-place calls).
Contender Plain(std::string library, std::function<void()> call);

struct Row {
    std::string name;
    std::vector<Contender> contenders;
    // Anything the contenders capture by reference lives here, freed with the row.
    std::shared_ptr<void> keep;
};

// A row to be made when it runs.
struct RowMaker {
    std::string name;
    std::function<Row()> make;
};

// Each family's source file adds its rows through a registrar:
//   const bool registered = peers::RegisterRows([](std::vector<peers::RowMaker>& rows) {...});
bool RegisterRows(std::function<void(std::vector<RowMaker>&)> family);

}  // namespace peers
