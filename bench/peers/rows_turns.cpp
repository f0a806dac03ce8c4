// rows_turns.cpp - the peer rows of quarter and half turns and flips.
#include <opencv2/core.hpp>

#include "peer_bench.hpp"

namespace peers {
FIBITMAP* FreeImageRotate(FIBITMAP* bitmap, double degrees);  // rows_turns_freeimage.cpp
}

namespace {

using namespace peers;

const bool registered = RegisterRows([](std::vector<RowMaker>& rows) {
    rows.push_back({"quarter turn 8-bit 4096", [] {
                        auto s = std::make_shared<Sources>(Photo(4096, 4096, 8));
                        Sources* t = s.get();
                        return Row{"quarter turn 8-bit 4096",
                                   {Vexora([t] { return RotateDIB90(t->dib.handle()); }),
                                    Plain("OpenCV", [t] { cv::rotate(t->mat, t->out, cv::ROTATE_90_CLOCKWISE); }),
                                    Leptonica([t] { return pixRotate90(t->pix.get(), 1); }),
                                    FreeImage([t] { return FreeImageRotate(t->bitmap.get(), -90); })},
                                   s};
                    }});
});

}  // namespace
