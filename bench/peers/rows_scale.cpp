// rows_scale.cpp - the peer rows of ScaleDIB (bilinear and cubic, growing and shrinking, 8-bit
// and 24-bit) and of RotateDIB at any angle.
//
// Scaling: OpenCV's cv::resize with INTER_LINEAR or INTER_CUBIC, Leptonica's linear
// interpolation (pixScaleGrayLI, pixScaleColorLI, pixScale when shrinking; it has no cubic
// filter) and FreeImage_Rescale
// with its bilinear or bicubic filter, each to the same output size. The 8-bit pictures carry
// the gray ramp, which every peer takes for a gray image; the row with scattered colours has
// no gray equivalent in the peers, which are timed on the gray picture of the same pixels.
//
// Rotation: RotateDIB samples the nearest source pixel (mode 0, floating-point stepping) into
// a picture large enough for the turned one; the peers do the same: cv::warpAffine with
// INTER_NEAREST about the centre into that size, pixRotate by sampling into that size, and
// FreeImage_Rotate, which sizes its canvas itself.
#include <cmath>

#include <opencv2/imgproc.hpp>

#include "peer_bench.hpp"

namespace peers {
FIBITMAP* FreeImageRescale(FIBITMAP* bitmap, int width, int height, bool cubic);  // rows_scale_freeimage.cpp
FIBITMAP* FreeImageRotateAny(FIBITMAP* bitmap, double degrees);
}  // namespace peers

namespace {

using namespace peers;

struct ScaleCase {
    int bits;
    int side;
    double factor;
    bool cubic;
    bool scattered;  // the 8-bit picture with a general colour table
};

std::string ScaleName(const ScaleCase& c) {
    char name[96];
    std::snprintf(name, sizeof name, "ScaleDIB %d-bit%s x%g %s %d", c.bits, c.scattered ? " palette" : "",
                  c.factor, c.cubic ? "cubic" : "bilinear", c.side);
    return name;
}

Row ScaleRow(const ScaleCase& c) {
    auto s = std::make_shared<Sources>(Photo(c.side, c.side, c.bits));
    auto scattered = std::make_shared<Dib>();
    if (c.scattered) *scattered = WithScatteredColours(s->dib);
    Sources* t = s.get();
    const HDIB source = c.scattered ? scattered->handle() : t->dib.handle();
    const int w = int(c.side * c.factor), h = int(c.side * c.factor);
    const float factor = float(c.factor);
    const bool cubic = c.cubic;
    std::vector<Contender> contenders{
        Vexora([=] { return ScaleDIB(source, cubic ? 1 : 0, w, h); }),
        Plain("OpenCV", [=] { cv::resize(t->mat, t->out, cv::Size(w, h), 0, 0, cubic ? cv::INTER_CUBIC : cv::INTER_LINEAR); })};
    // Below 0.7 Leptonica's linear interpolation hands over to pixScale (smoothing, then
    // sampling), called directly here to spare its warning.
    if (!cubic && c.factor < 0.7)
        contenders.push_back(Leptonica([=] { return pixScale(t->pix.get(), factor, factor); }));
    else if (!cubic)
        contenders.push_back(Leptonica([=] {
            return c.bits == 24 ? pixScaleColorLI(t->pix.get(), factor, factor) : pixScaleGrayLI(t->pix.get(), factor, factor);
        }));
    contenders.push_back(FreeImage([=] { return FreeImageRescale(t->bitmap.get(), w, h, cubic); }));
    return Row{ScaleName(c), std::move(contenders), std::make_shared<std::pair<decltype(s), decltype(scattered)>>(s, scattered)};
}

Row RotateRow(int bits, int degrees) {
    auto s = std::make_shared<Sources>(Photo(4096, 4096, bits));
    Sources* t = s.get();
    // RotateDIB's output size: twice the largest rounded half-extent of the turned corners.
    const double theta = degrees * 0.01745329, c = std::cos(theta), sn = std::sin(theta);
    const int halfW = int(std::fabs(2048 * c) + std::fabs(2048 * sn) + 0.5), halfH = halfW;
    const int w = 2 * halfW, h = 2 * halfH;
    cv::Mat turn = cv::getRotationMatrix2D(cv::Point2f(2048, 2048), degrees, 1.0);
    turn.at<double>(0, 2) += halfW - 2048;
    turn.at<double>(1, 2) += halfH - 2048;
    char name[64];
    std::snprintf(name, sizeof name, "RotateDIB %d-bit %d degrees 4096", bits, degrees);
    return Row{name,
               {Vexora([=] {
                    DWORD status = 0;
                    return RotateDIB(t->dib.handle(), degrees, 0, &status, nullptr);
                }),
                Plain("OpenCV", [=] { cv::warpAffine(t->mat, t->out, turn, cv::Size(w, h), cv::INTER_NEAREST); }),
                Leptonica([=] {
                    return pixRotate(t->pix.get(), float(degrees * M_PI / 180), L_ROTATE_SAMPLING, L_BRING_IN_BLACK, w, h);
                }),
                FreeImage([=] { return FreeImageRotateAny(t->bitmap.get(), degrees); })},
               std::make_shared<std::pair<decltype(s), cv::Mat>>(s, turn)};
}

const bool registered = RegisterRows([](std::vector<RowMaker>& rows) {
    std::vector<ScaleCase> cases;
    for (int bits : {8, 24})
        for (double factor : {2.0, 0.5})
            for (bool cubic : {false, true}) cases.push_back({bits, 4096, factor, cubic, false});
    cases.push_back({8, 4096, 2.0, false, true});
    cases.push_back({8, 16384, 0.5, false, false});
    for (const ScaleCase& c : cases) rows.push_back({ScaleName(c), [c] { return ScaleRow(c); }});
    for (int bits : {8, 24}) {
        char name[64];
        std::snprintf(name, sizeof name, "RotateDIB %d-bit %d degrees 4096", bits, 30);
        rows.push_back({name, [bits] { return RotateRow(bits, 30); }});
    }
});

}  // namespace
