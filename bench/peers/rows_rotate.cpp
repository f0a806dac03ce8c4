// rows_rotate.cpp - the peer rows of RotateDIB at any angle: 1, 8 and 24 bits, with either walk
// (mode 0 steps in floating point, mode 1 in integers; both sample the nearest source pixel).
//
// RotateDIB turns a 4096 x 4096 picture into a canvas large enough for the turned one; the
// peers do the same: cv::warpAffine with INTER_NEAREST about the centre into that size,
// pixRotate by sampling into that size, and FreeImage_Rotate, which sizes its canvas itself.
// OpenCV has no form for 1-bit pictures, and FreeImage_Rotate turns them only by multiples of
// 90 degrees (it returns nothing at 30): both sit out the 1-bit rows.
#include <cmath>

#include <opencv2/imgproc.hpp>

#include "peer_bench.hpp"

namespace peers {
FIBITMAP* FreeImageRotateAny(FIBITMAP* bitmap, double degrees);  // rows_rotate_freeimage.cpp
}  // namespace peers

namespace {

using namespace peers;

struct RotateCase {
    int bits;
    int degrees;
    int mode;
};

std::string RotateName(const RotateCase& c) {
    char name[80];
    std::snprintf(name, sizeof name, "RotateDIB %d-bit %d degrees%s 4096", c.bits, c.degrees,
                  c.mode == 1 ? " integer walk" : "");
    return name;
}

Row RotateRow(const RotateCase& c) {
    auto s = std::make_shared<Sources>(Photo(4096, 4096, c.bits));
    Sources* t = s.get();
    // RotateDIB's output size: twice the largest rounded half-extent of the turned corners.
    const double theta = c.degrees * 0.01745329, cs = std::cos(theta), sn = std::sin(theta);
    const int halfW = int(std::fabs(2048 * cs) + std::fabs(2048 * sn) + 0.5), halfH = halfW;
    const int w = 2 * halfW, h = 2 * halfH;
    cv::Mat turn = cv::getRotationMatrix2D(cv::Point2f(2048, 2048), c.degrees, 1.0);
    turn.at<double>(0, 2) += halfW - 2048;
    turn.at<double>(1, 2) += halfH - 2048;
    const int degrees = c.degrees, mode = c.mode;
    std::vector<Contender> contenders{Vexora([=] {
        DWORD status = 0;
        return RotateDIB(t->dib.handle(), degrees, mode, &status, nullptr);
    })};
    if (c.bits != 1)
        contenders.push_back(
            Plain("OpenCV", [=] { cv::warpAffine(t->mat, t->out, turn, cv::Size(w, h), cv::INTER_NEAREST); }));
    contenders.push_back(Leptonica([=] {
        return pixRotate(t->pix.get(), float(degrees * M_PI / 180), L_ROTATE_SAMPLING, L_BRING_IN_BLACK, w, h);
    }));
    if (c.bits != 1) contenders.push_back(FreeImage([=] { return FreeImageRotateAny(t->bitmap.get(), degrees); }));
    return Row{RotateName(c), std::move(contenders), std::make_shared<std::pair<decltype(s), cv::Mat>>(s, turn)};
}

const bool registered = RegisterRows([](std::vector<RowMaker>& rows) {
    for (int mode : {0, 1})
        for (int bits : {8, 24, 1}) {
            const RotateCase c{bits, 30, mode};
            rows.push_back({RotateName(c), [c] { return RotateRow(c); }});
        }
});

}  // namespace
