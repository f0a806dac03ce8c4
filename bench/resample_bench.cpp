// resample_bench.cpp - VexoraResampleDIB beside OpenCV's cv::resize and libvips on the same
// pixels: a program of its own (vexora_resample_bench), built only where both peers are
// installed (scripts/install-deps.sh bench), run by hand.
//
// Sources are 4096 x 4096, 24-bit (three bands) and 8-bit gray (one band), photograph-like:
// smooth waves, sharp-edged bars and a little noise. Each case resizes by x0.5, x0.37, x2 and
// x1.5 on both axes: the export (result block included), cv::resize with INTER_AREA to shrink
// and INTER_LANCZOS4 to grow, vips_reduce (Lanczos-3) to shrink and vips_resize (Lanczos-3) for
// both, every peer on one thread (cv::setNumThreads(0), vips_concurrency_set(1), vips's
// operation cache off). The best of several runs is reported, in milliseconds and output
// megapixels per second.
//
// Output is checked, not only timed: the export's result is compared with both peers (the
// largest and the mean difference are printed beside the times). Shrinking, OpenCV's area
// average is the same filter and may differ by one level at most; growing, no peer has the
// same filter and rounding (OpenCV's kernel has four lobes, vips's runs otherwise), so the mean
// difference from OpenCV must stay under one level. A case that fails says MISMATCH and the
// run ends with status 1.
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <vips/vips.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <random>
#include <vector>

#include "vexora.h"

namespace {

constexpr int kSide = 4096;
constexpr int kRuns = 3;

struct Image {
    int width = 0, height = 0, bands = 0;
    std::vector<uint8_t> pixels;  // rows top-down, tightly packed
};

Image Photograph(int bands) {
    Image image{kSide, kSide, bands, std::vector<uint8_t>(size_t{kSide} * kSide * bands)};
    std::mt19937 random(7);
    for (int y = 0; y < kSide; ++y)
        for (int x = 0; x < kSide; ++x)
            for (int c = 0; c < bands; ++c) {
                const double wave = 0.5 + 0.25 * std::sin(x * 0.011 + c) + 0.2 * std::cos(y * 0.007 + x * 0.003 * c);
                const double bar = ((x / 97 + y / 61) % 5 == 0) ? 0.3 : 0.0;
                const double v = (wave - bar) * 255 + int(random() % 9) - 4;
                image.pixels[(size_t(y) * kSide + x) * bands + c] = uint8_t(std::clamp(v, 0.0, 255.0));
            }
    return image;
}

// A top-down DIB holding the same rows (a 4096-pixel row needs no padding); 8-bit with the
// gray ramp.
HDIB DibOf(const Image& image) {
    const uint32_t table = image.bands == 1 ? 1024 : 0;
    const size_t bytes = 40 + table + image.pixels.size();
    HDIB dib = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, bytes);
    auto* p = static_cast<uint8_t*>(GlobalLock(dib));
    const int32_t header[10] = {40, image.width, -image.height, 1 | (image.bands * 8) << 16, 0,
                                int32_t(image.pixels.size()), 2835, 2835, 0, 0};
    std::memcpy(p, header, sizeof header);
    for (uint32_t i = 0; i < table / 4; ++i) std::memset(p + 40 + 4 * i, int(i), 3);
    std::memcpy(p + 40 + table, image.pixels.data(), image.pixels.size());
    GlobalUnlock(dib);
    return dib;
}

// The export's result as top-down packed rows.
Image FromDib(HDIB dib, int bands) {
    const auto* p = static_cast<const uint8_t*>(GlobalLock(dib));
    int32_t width, height;
    std::memcpy(&width, p + 4, 4);
    std::memcpy(&height, p + 8, 4);
    const size_t row = size_t(width) * bands, stride = (row + 3) / 4 * 4;
    const uint8_t* pixels = p + 40 + (bands == 1 ? 1024 : 0);
    Image image{width, height, bands, std::vector<uint8_t>(row * height)};
    for (int y = 0; y < height; ++y) std::memcpy(&image.pixels[row * y], pixels + stride * (height - 1 - y), row);
    GlobalUnlock(dib);
    return image;
}

// Best time in milliseconds of kRuns calls.
double BestMs(const std::function<void()>& run) {
    double best = 1e30;
    for (int i = 0; i < kRuns; ++i) {
        const auto start = std::chrono::steady_clock::now();
        run();
        best = std::min(best, std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
    }
    return best;
}

Image RunVexora(const Image& source, int outW, int outH, double& ms) {
    HDIB dib = DibOf(source);
    ms = BestMs([&] { GlobalFree(VexoraResampleDIB(dib, outW, outH)); });
    HDIB out = VexoraResampleDIB(dib, outW, outH);
    Image image = FromDib(out, source.bands);
    GlobalFree(out);
    GlobalFree(dib);
    return image;
}

Image RunOpenCv(const Image& source, int outW, int outH, double& ms) {
    const cv::Mat in(source.height, source.width, source.bands == 3 ? CV_8UC3 : CV_8UC1,
                     const_cast<uint8_t*>(source.pixels.data()));
    const int method = outW < source.width ? cv::INTER_AREA : cv::INTER_LANCZOS4;
    cv::Mat out;
    ms = BestMs([&] { cv::resize(in, out, cv::Size(outW, outH), 0, 0, method); });
    Image image{outW, outH, source.bands, std::vector<uint8_t>(out.data, out.data + out.total() * out.elemSize())};
    return image;
}

// vips_reduce when `reduce` (shrinking only), vips_resize otherwise; both Lanczos-3.
Image RunVips(const Image& source, double scale, bool reduce, double& ms) {
    Image image;
    ms = BestMs([&] {
        VipsImage* in = vips_image_new_from_memory(source.pixels.data(), source.pixels.size(), source.width,
                                                   source.height, source.bands, VIPS_FORMAT_UCHAR);
        VipsImage* out = nullptr;
        const int failed = reduce ? vips_reduce(in, &out, 1 / scale, 1 / scale, "kernel", VIPS_KERNEL_LANCZOS3, nullptr)
                                  : vips_resize(in, &out, scale, "kernel", VIPS_KERNEL_LANCZOS3, nullptr);
        if (failed) vips_error_exit("vips");
        size_t bytes = 0;
        auto* data = static_cast<uint8_t*>(vips_image_write_to_memory(out, &bytes));
        image = Image{vips_image_get_width(out), vips_image_get_height(out), source.bands,
                      std::vector<uint8_t>(data, data + bytes)};
        g_free(data);
        g_object_unref(out);
        g_object_unref(in);
    });
    return image;
}

struct Difference {
    int largest = 0;
    double mean = 0;
};

// Over the area both images cover (the peers may round the output size another way).
Difference Compare(const Image& a, const Image& b) {
    const int w = std::min(a.width, b.width), h = std::min(a.height, b.height);
    Difference d;
    double total = 0;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w * a.bands; ++x) {
            const int diff = std::abs(a.pixels[size_t(y) * a.width * a.bands + x] - b.pixels[size_t(y) * b.width * b.bands + x]);
            d.largest = std::max(d.largest, diff);
            total += diff;
        }
    d.mean = total / (double(w) * h * a.bands);
    return d;
}

}  // namespace

int main(int, char** argv) {
    if (VIPS_INIT(argv[0])) vips_error_exit("vips");
    vips_concurrency_set(1);
    vips_cache_set_max(0);
    cv::setNumThreads(0);
    std::printf("%-8s %-6s %-11s %20s %20s %20s %20s  %s\n", "source", "factor", "output", "VexoraResampleDIB",
                "cv::resize", "vips_reduce", "vips_resize", "vs cv: max, mean  vs vips: max, mean");
    bool ok = true;
    for (int bands : {3, 1}) {
        const Image source = Photograph(bands);
        for (double factor : {0.5, 0.37, 2.0, 1.5}) {
            const int out = int(std::lround(kSide * factor));
            const double megapixels = double(out) * out / 1e6;
            double msVexora, msCv, msReduce = 0, msResize;
            const Image ours = RunVexora(source, out, out, msVexora);
            const Image cv = RunOpenCv(source, out, out, msCv);
            const bool shrink = factor < 1;
            if (shrink) RunVips(source, factor, true, msReduce);
            const Image vips = RunVips(source, factor, false, msResize);
            // Shrinking, OpenCV's area average is the same filter: one level at most. Growing,
            // both peers differ in kernel or in rounding between passes: the mean must stay
            // under a level.
            const Difference dCv = Compare(ours, cv), dVips = Compare(ours, vips);
            const bool agrees = shrink ? dCv.largest <= 1 : dCv.mean <= 1.0;
            ok = ok && agrees;
            const auto cell = [&](double ms) {
                static char text[4][32];
                static int next = 0;
                char* t = text[next++ % 4];
                if (ms <= 0) std::snprintf(t, 32, "-");
                else std::snprintf(t, 32, "%7.1f ms %6.1f MP/s", ms, megapixels / (ms / 1000));
                return t;
            };
            std::printf("%-8s x%-5g %5dx%-5d %20s %20s %20s %20s  %3d %6.3f   %3d %6.3f%s\n", bands == 3 ? "24-bit" : "8-bit",
                        factor, out, out, cell(msVexora), cell(msCv), cell(msReduce), cell(msResize), dCv.largest,
                        dCv.mean, dVips.largest, dVips.mean, agrees ? "" : "  MISMATCH");
        }
    }
    vips_shutdown();
    return ok ? 0 : 1;
}
