// rows_turns.cpp - the peer rows of quarter and half turns and flips: each operation at 8 and
// 24 bits on 4096 x 4096 pictures and at 1 bit on 8192 x 8192, and the quarter turn and the
// horizontal flip once more on 16384 x 16384 pictures (8 and 1 bit), far beyond the caches.
//
// The peers' nearest operations: cv::rotate and cv::flip into a reused destination (OpenCV has
// no 1-bit pictures), Leptonica's pixRotate90, pixRotate180, pixFlipLR and pixFlipTB into a new
// picture, FreeImage_Rotate by multiples of 90 degrees into a new picture, and FreeImage's
// flips, which work in place on the picture and are timed as they are.
#include <opencv2/core.hpp>

#include <string>

#include "peer_bench.hpp"

namespace peers {
// rows_turns_freeimage.cpp
FIBITMAP* FreeImageRotate(FIBITMAP* bitmap, double degrees);
bool FreeImageFlipHorizontal(FIBITMAP* bitmap);
bool FreeImageFlipVertical(FIBITMAP* bitmap);
}  // namespace peers

namespace {

using namespace peers;

enum class Turn { kQuarter, kHalf, kFlipHorizontal, kFlipVertical };

std::string NameOf(Turn turn, int bits, int side) {
    static const char* const kNames[] = {"quarter turn", "half turn", "horizontal flip", "vertical flip"};
    return std::string(kNames[int(turn)]) + " " + std::to_string(bits) + "-bit " + std::to_string(side);
}

// The contenders of one operation on the pictures of `t`.
std::vector<Contender> Contenders(Turn turn, Sources* t) {
    std::vector<Contender> all;
    switch (turn) {
    case Turn::kQuarter:
        all.push_back(Vexora([t] { return RotateDIB90(t->dib.handle()); }));
        if (!t->mat.empty())
            all.push_back(Plain("OpenCV", [t] { cv::rotate(t->mat, t->out, cv::ROTATE_90_CLOCKWISE); }));
        all.push_back(Leptonica([t] { return pixRotate90(t->pix.get(), 1); }));
        all.push_back(FreeImage([t] { return FreeImageRotate(t->bitmap.get(), -90); }));
        break;
    case Turn::kHalf:
        all.push_back(Vexora([t] { return RotateDIB180(t->dib.handle()); }));
        if (!t->mat.empty()) all.push_back(Plain("OpenCV", [t] { cv::rotate(t->mat, t->out, cv::ROTATE_180); }));
        all.push_back(Leptonica([t] { return pixRotate180(nullptr, t->pix.get()); }));
        all.push_back(FreeImage([t] { return FreeImageRotate(t->bitmap.get(), 180); }));
        break;
    case Turn::kFlipHorizontal:
        all.push_back(Vexora([t] { return FlipDIBHorizontal(t->dib.handle()); }));
        if (!t->mat.empty()) all.push_back(Plain("OpenCV", [t] { cv::flip(t->mat, t->out, 1); }));
        all.push_back(Leptonica([t] { return pixFlipLR(nullptr, t->pix.get()); }));
        all.push_back(Plain("FreeImage", [t] { FreeImageFlipHorizontal(t->bitmap.get()); }));
        break;
    case Turn::kFlipVertical:
        all.push_back(Vexora([t] { return FlipDIBVertical(t->dib.handle()); }));
        if (!t->mat.empty()) all.push_back(Plain("OpenCV", [t] { cv::flip(t->mat, t->out, 0); }));
        all.push_back(Leptonica([t] { return pixFlipTB(nullptr, t->pix.get()); }));
        all.push_back(Plain("FreeImage", [t] { FreeImageFlipVertical(t->bitmap.get()); }));
        break;
    }
    return all;
}

void Add(std::vector<RowMaker>& rows, Turn turn, int bits, int side) {
    const std::string name = NameOf(turn, bits, side);
    rows.push_back({name, [=] {
                        auto s = std::make_shared<Sources>(Photo(side, side, bits));
                        return Row{name, Contenders(turn, s.get()), s};
                    }});
}

const bool registered = RegisterRows([](std::vector<RowMaker>& rows) {
    for (Turn turn : {Turn::kQuarter, Turn::kHalf, Turn::kFlipHorizontal, Turn::kFlipVertical}) {
        Add(rows, turn, 8, 4096);
        Add(rows, turn, 24, 4096);
        Add(rows, turn, 1, 8192);
    }
    for (Turn turn : {Turn::kQuarter, Turn::kFlipHorizontal}) {
        Add(rows, turn, 8, 16384);
        Add(rows, turn, 1, 16384);
    }
});

}  // namespace
