// rows_filters.cpp - the peer rows of the convolution filters: Convolve on 8-bit gray pictures
// and ColorConvolution on 24-bit ones, for every filter a peer can match (mean, smoothing,
// sharpening and an edge kernel given by the caller), 3 x 3 and 5 x 5, into a new DIB.
//
// The peers: OpenCV's cv::blur (mean), cv::sepFilter2D (the separable smoothing kernel) and
// cv::filter2D (the others), each with the same weights and the nearest-pixel border; Leptonica's
// pixBlockconv (mean) and pixConvolve with the same kernel (8-bit gray; pixConvolveRGB for
// colour). FreeImage has no convolution. The peers filter each colour channel, where
// ColorConvolution filters one brightness plane and moves the three channels by its change:
// the same output, the nearest work they offer.
#include <opencv2/imgproc.hpp>

#include <string>
#include <vector>

#include "peer_bench.hpp"

namespace {

using namespace peers;

struct Filter {
    const char* name;
    int type, size;
    std::vector<int> weights;  // n x n, row by row (symmetric kernels: orientation is moot)
    int divisor;
};

const std::vector<Filter>& Filters() {
    static const std::vector<Filter> filters = {
        {"mean 3x3", 3, 3, std::vector<int>(9, 1), 9},
        {"mean 5x5", 3, 5, std::vector<int>(25, 1), 25},
        {"smooth 3x3", 4, 3, {1, 2, 1, 2, 4, 2, 1, 2, 1}, 16},
        {"smooth 5x5", 4, 5, {0, 1, 1, 1, 0, 1, 2, 4, 2, 1, 1, 4, 8, 4, 1, 1, 2, 4, 2, 1, 0, 1, 1, 1, 0}, 44},
        {"sharpen 3x3", 6, 3, {-1, -1, -1, -1, 9, -1, -1, -1, -1}, 1},
        {"edge 3x3", 1, 3, {-1, -1, -1, -1, 8, -1, -1, -1, -1}, 1},
    };
    return filters;
}

cv::Mat KernelMat(const Filter& f) {
    cv::Mat k(f.size, f.size, CV_32F);
    for (int i = 0; i < f.size * f.size; ++i) k.at<float>(i / f.size, i % f.size) = float(f.weights[i]) / float(f.divisor);
    return k;
}

// What a row's contenders use: the pictures and the kernel in each library's form.
struct Kept {
    Kept(const Filter& f, int side, int bits) : sources(Photo(side, side, bits)), kernel(KernelMat(f)) {
        setMsgSeverity(L_SEVERITY_ERROR);  // pixConvolveRGB warns that a zero-sum kernel is not normalised
        callerKernel.assign(f.weights.begin(), f.weights.end());
        callerKernel.push_back(0);  // divisor 0: the sum of the weights, or 1
        callerKernel16.assign(callerKernel.begin(), callerKernel.end());
        lkernel = kernelCreate(f.size, f.size);
        kernelSetOrigin(lkernel, f.size / 2, f.size / 2);
        for (int i = 0; i < f.size * f.size; ++i)
            kernelSetElement(lkernel, i / f.size, i % f.size, float(f.weights[i]) / float(f.divisor));
        if (f.type == 4 && f.size == 3) line = (cv::Mat_<float>(1, 3) << 0.25f, 0.5f, 0.25f);
    }
    Kept(const Kept&) = delete;
    Kept& operator=(const Kept&) = delete;
    ~Kept() { kernelDestroy(&lkernel); }

    Sources sources;
    std::vector<int> callerKernel;
    std::vector<short> callerKernel16;
    cv::Mat kernel, line;
    L_KERNEL* lkernel = nullptr;
};

Row MakeRow(const std::string& name, const Filter& f, int side, int bits) {
    auto keep = std::make_shared<Kept>(f, side, bits);
    Kept* s = keep.get();

    std::vector<Contender> c;
    if (bits == 8) {
        c.push_back(Vexora([s, f] {
            return Convolve(s->sources.dib.handle(), TRUE, f.type, f.size, nullptr, s->callerKernel.data(), nullptr);
        }));
    } else {
        c.push_back(Vexora([s, f] {
            return ColorConvolution(s->sources.dib.handle(), TRUE, 1, short(f.type), f.size, nullptr,
                                    s->callerKernel16.data(), nullptr);
        }));
    }
    const int border = cv::BORDER_REPLICATE;
    if (f.type == 3) {
        c.push_back(Plain("OpenCV", [s, f, border] {
            cv::blur(s->sources.mat, s->sources.out, cv::Size(f.size, f.size), cv::Point(-1, -1), border);
        }));
        c.push_back(Leptonica([s, f] { return pixBlockconv(s->sources.pix.get(), f.size / 2, f.size / 2); }));
    } else {
        if (!s->line.empty()) {
            c.push_back(Plain("OpenCV", [s, border] {
                cv::sepFilter2D(s->sources.mat, s->sources.out, -1, s->line, s->line, cv::Point(-1, -1), 0, border);
            }));
        } else {
            c.push_back(Plain("OpenCV", [s, border] {
                cv::filter2D(s->sources.mat, s->sources.out, -1, s->kernel, cv::Point(-1, -1), 0, border);
            }));
        }
        if (bits == 8)
            c.push_back(Leptonica([s] { return pixConvolve(s->sources.pix.get(), s->lkernel, 8, 0); }));
        else
            c.push_back(Leptonica([s] { return pixConvolveRGB(s->sources.pix.get(), s->lkernel); }));
    }
    return Row{name, std::move(c), keep};
}

const bool registered = RegisterRows([](std::vector<RowMaker>& rows) {
    for (const int bits : {8, 24})
        for (const Filter& f : Filters()) {
            const std::string name = f.name + std::string(bits == 8 ? " 8-bit" : " 24-bit") + " 4096";
            rows.push_back({name, [name, &f, bits] { return MakeRow(name, f, 4096, bits); }});
        }
    const std::string big = "smooth 3x3 8-bit 16384";
    rows.push_back({big, [big] { return MakeRow(big, Filters()[2], 16384, 8); }});
});

}  // namespace
