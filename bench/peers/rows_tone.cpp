// rows_tone.cpp - the peer rows of the tone family: brightness and contrast, tone tables
// (in place and into a new DIB), gray conversion of colour pictures, the fixed threshold, the
// 16 x 16 screen and Floyd-Steinberg error diffusion to black and white.
//
// Nearest equivalents: brightness and contrast is a linear map of each channel (OpenCV's
// convertTo with a gain and offset, Leptonica's gamma curve between two levels, FreeImage's
// colour adjustment, in place). A tone table is cv::LUT, Leptonica's curve map (in place) or
// gamma curve (a new picture), FreeImage's curve (in place only: it has no form that returns
// a new picture). The threshold of a colour picture is a gray conversion then a threshold
// for the peers that threshold gray pictures only; OpenCV's threshold writes a byte per pixel
// where the others pack bits, and it has no error diffusion or ordered screen (nor has
// Leptonica a 16 x 16 screen), so those rows leave it out.
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "peer_bench.hpp"

namespace peers {
bool FreeImageAdjustColours(FIBITMAP* bitmap, double brightness, double contrast);  // rows_tone_freeimage.cpp
bool FreeImageCurve(FIBITMAP* bitmap, uint8_t* table);
FIBITMAP* FreeImageGray(FIBITMAP* bitmap);
FIBITMAP* FreeImageThreshold(FIBITMAP* bitmap, uint8_t level);
FIBITMAP* FreeImageErrorDiffusion(FIBITMAP* bitmap);
FIBITMAP* FreeImageScreen16(FIBITMAP* bitmap);
}  // namespace peers

namespace {

using namespace peers;

constexpr int kBrightness = 10, kContrast = 40;  // percent

// A picture with the library's tone table for it and the same table in each peer's form.
struct ToneSources {
    explicit ToneSources(Dib picture) : s(std::move(picture)) {
        DWORD error = 0;
        lut = ComputeLUT(nullptr, TABLE_CREATE, nullptr, 0, 0, &error);
        if (!lut || !ComputeLUT(nullptr, TABLE_COMPUTE, lut, kContrast, kBrightness, &error)) {
            std::fprintf(stderr, "peer_bench: no tone table (error %lu)\n", static_cast<unsigned long>(error));
            std::exit(2);
        }
        std::memcpy(table.data(), GlobalLock(lut), table.size());
        GlobalUnlock(lut);
        mat = cv::Mat(1, 256, CV_8U, table.data()).clone();
        numa = numaCreate(256);
        for (uint8_t v : table) numaAddNumber(numa, v);
    }
    ~ToneSources() {
        GlobalFree(lut);
        numaDestroy(&numa);
    }
    Sources s;
    HGLOBAL lut = nullptr;
    std::array<uint8_t, 256> table{};
    cv::Mat mat;
    NUMA* numa = nullptr;
    cv::Mat gray;  // a reused intermediate
};

HGLOBAL Check(HGLOBAL result, const char* what) {
    if (!result) {
        std::fprintf(stderr, "peer_bench: %s failed\n", what);
        std::exit(2);
    }
    return result;
}

RowMaker BrightnessContrast(int bits) {
    const std::string name = "brightness/contrast " + std::to_string(bits) + "-bit 4096";
    return {name, [name, bits] {
                auto s = std::make_shared<Sources>(Photo(4096, 4096, bits));
                Sources* t = s.get();
                const double gain = (100 + kContrast) / 100.0, offset = kBrightness * 1.28 * gain - kContrast * 1.28;
                return Row{name,
                           {Vexora([t] { return ColorBrightnessContrast(t->dib.handle(), kBrightness, kContrast); }),
                            Plain("OpenCV", [t, gain, offset] { t->mat.convertTo(t->out, -1, gain, offset); }),
                            Leptonica([t] { return pixGammaTRC(nullptr, t->pix.get(), 1.0, 20, 230); }),
                            Plain("FreeImage",
                                  [t] { FreeImageAdjustColours(t->bitmap.get(), kBrightness, kContrast); })},
                           s};
            }};
}

RowMaker LutInPlace(int side) {
    const std::string name = "LUT in place 8-bit " + std::to_string(side);
    return {name, [name, side] {
                auto s = std::make_shared<ToneSources>(Photo(side, side, 8));
                ToneSources* t = s.get();
                return Row{name,
                           {Plain("Vexora",
                                  [t] { Check(ApplyLUT(t->s.dib.handle(), t->lut, FALSE, nullptr), "ApplyLUT"); }),
                            Plain("OpenCV", [t] { cv::LUT(t->s.mat, t->mat, t->s.out); }),
                            Plain("Leptonica", [t] { pixTRCMap(t->s.pix.get(), nullptr, t->numa); }),
                            Plain("FreeImage", [t] { FreeImageCurve(t->s.bitmap.get(), t->table.data()); })},
                           s};
            }};
}

RowMaker LutNew() {
    const std::string name = "LUT new DIB 8-bit 4096";
    return {name, [name] {
                auto s = std::make_shared<ToneSources>(Photo(4096, 4096, 8));
                ToneSources* t = s.get();
                return Row{name,
                           {Vexora([t] { return ApplyLUT(t->s.dib.handle(), t->lut, TRUE, nullptr); }),
                            Plain("OpenCV", [t] { cv::LUT(t->s.mat, t->mat, t->s.out); }),
                            Leptonica([t] { return pixGammaTRC(nullptr, t->s.pix.get(), 1.0, 20, 230); })},
                           s};
            }};
}

RowMaker Gray(bool weighted) {
    const std::string name = std::string("RGB to gray ") + (weighted ? "weighted" : "plain") + " 4096";
    return {name, [name, weighted] {
                auto s = std::make_shared<Sources>(Photo(4096, 4096, 24));
                Sources* t = s.get();
                return Row{name,
                           {Vexora([t, weighted] { return ConvColorDIBtoGrayscale(t->dib.handle(), 0, weighted); }),
                            Plain("OpenCV", [t] { cv::cvtColor(t->mat, t->out, cv::COLOR_BGR2GRAY); }),
                            Leptonica([t, weighted] {
                                return weighted ? pixConvertRGBToLuminance(t->pix.get())
                                                : pixConvertRGBToGray(t->pix.get(), 1.0f / 3, 1.0f / 3, 1.0f / 3);
                            }),
                            FreeImage([t] { return FreeImageGray(t->bitmap.get()); })},
                           s};
            }};
}

RowMaker Threshold(int bits) {
    const std::string name = "threshold " + std::to_string(bits) + "-bit 4096";
    return {name, [name, bits] {
                auto s = std::make_shared<ToneSources>(Photo(4096, 4096, bits));
                ToneSources* t = s.get();
                Contender opencv = bits == 8 ? Plain("OpenCV", [t] {
                    cv::threshold(t->s.mat, t->s.out, 128, 255, cv::THRESH_BINARY);
                })
                                             : Plain("OpenCV", [t] {
                                                   cv::cvtColor(t->s.mat, t->gray, cv::COLOR_BGR2GRAY);
                                                   cv::threshold(t->gray, t->s.out, 128, 255, cv::THRESH_BINARY);
                                               });
                Contender leptonica = bits == 8 ? Leptonica([t] { return pixThresholdToBinary(t->s.pix.get(), 129); })
                                                : Leptonica([t] {
                                                      PIX* gray = pixConvertRGBToLuminance(t->s.pix.get());
                                                      PIX* binary = pixThresholdToBinary(gray, 129);
                                                      pixDestroy(&gray);
                                                      return binary;
                                                  });
                return Row{name,
                           {Vexora([t] { return Halftone(t->s.dib.handle(), 0, 0, nullptr); }), opencv, leptonica,
                            FreeImage([t] { return FreeImageThreshold(t->s.bitmap.get(), 129); })},
                           s};
            }};
}

RowMaker ErrorDiffusion(int bits) {
    const std::string name = "Floyd-Steinberg to 1 bit " + std::to_string(bits) + "-bit 4096";
    return {name, [name, bits] {
                auto s = std::make_shared<Sources>(Photo(4096, 4096, bits));
                Sources* t = s.get();
                Contender leptonica = bits == 8 ? Leptonica([t] { return pixDitherToBinary(t->pix.get()); })
                                                : Leptonica([t] {
                                                      PIX* gray = pixConvertRGBToLuminance(t->pix.get());
                                                      PIX* binary = pixDitherToBinary(gray);
                                                      pixDestroy(&gray);
                                                      return binary;
                                                  });
                return Row{name,
                           {Vexora([t] { return DitherFS4(t->dib.handle(), 1); }), leptonica,
                            FreeImage([t] { return FreeImageErrorDiffusion(t->bitmap.get()); })},
                           s};
            }};
}

RowMaker Screen16() {
    const std::string name = "16 x 16 screen 8-bit 4096";
    return {name, [name] {
                auto s = std::make_shared<Sources>(Photo(4096, 4096, 8));
                Sources* t = s.get();
                return Row{name,
                           {Vexora([t] { return Halftone(t->dib.handle(), 2, 0, nullptr); }),
                            FreeImage([t] { return FreeImageScreen16(t->bitmap.get()); })},
                           s};
            }};
}

const bool registered = RegisterRows([](std::vector<RowMaker>& rows) {
    rows.push_back(BrightnessContrast(8));
    rows.push_back(BrightnessContrast(24));
    rows.push_back(LutInPlace(4096));
    rows.push_back(LutNew());
    rows.push_back(LutInPlace(16384));
    rows.push_back(Gray(true));
    rows.push_back(Gray(false));
    rows.push_back(Threshold(8));
    rows.push_back(Threshold(24));
    rows.push_back(ErrorDiffusion(8));
    rows.push_back(ErrorDiffusion(24));
    rows.push_back(Screen16());
});

}  // namespace
