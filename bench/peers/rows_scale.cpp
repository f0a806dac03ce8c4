// rows_scale.cpp - the peer rows of ScaleDIB (bilinear and cubic, growing and shrinking, 8-bit
// and 24-bit).
//
// Scaling: OpenCV's cv::resize with INTER_LINEAR or INTER_CUBIC, Leptonica's linear
// interpolation (pixScaleGrayLI, pixScaleColorLI, pixScale when shrinking; it has no cubic
// filter) and FreeImage_Rescale
// with its bilinear or bicubic filter, each to the same output size. The 8-bit pictures carry
// the gray ramp, which every peer takes for a gray image; the row with scattered colours has
// no gray equivalent in the peers, which are timed on the gray picture of the same pixels.
#include <opencv2/imgproc.hpp>

#include "peer_bench.hpp"

namespace peers {
FIBITMAP* FreeImageRescale(FIBITMAP* bitmap, int width, int height, bool cubic);  // rows_scale_freeimage.cpp
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

const bool registered = RegisterRows([](std::vector<RowMaker>& rows) {
    std::vector<ScaleCase> cases;
    for (int bits : {8, 24})
        for (double factor : {2.0, 0.5})
            for (bool cubic : {false, true}) cases.push_back({bits, 4096, factor, cubic, false});
    cases.push_back({8, 4096, 2.0, false, true});
    cases.push_back({8, 16384, 0.5, false, false});
    for (const ScaleCase& c : cases) rows.push_back({ScaleName(c), [c] { return ScaleRow(c); }});
});

}  // namespace
