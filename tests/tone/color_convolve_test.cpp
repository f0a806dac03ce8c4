// ColorConvolution against a per-pixel model (gray level, filtered gray, the change added to
// each channel), on random 24-bit images of awkward sizes, for every type, size and gray mode,
// 16-bit kernels from memory and from files, in place and into new DIBs; the 16-bit size and
// width; kernel files; refusals.

#include <random>

#include "dib_builder.hpp"
#include "tone/color_convolve_rows.hpp"
#include "tone_convolution_model.hpp"

using namespace vxtest;

namespace {

Bytes ReferenceColor(const Bytes& src, bool newDib, int grayMode, const ModelKernel& k) {
    const int64_t w = static_cast<int32_t>(GetU32(src, 4)), h = static_cast<int32_t>(GetU32(src, 8));
    const uint64_t from = 40 + uint64_t{GetU32(src, 32)} * 4, sizeImage = GetU32(src, 20);
    const uint64_t stride = (w * 24 + 31) / 32 * 4, to = newDib ? 40 : from;
    Bytes out = src;
    if (newDib) {
        out.assign(40 + (sizeImage ? sizeImage : stride * h), 0);
        std::copy(src.begin(), src.begin() + 40, out.begin());
    }
    std::vector<int64_t> gray(static_cast<size_t>(w * h));
    for (int64_t i = 0; i < w * h; ++i) {
        const uint8_t* p = &src.at(from + i / w * stride + i % w * 3);
        gray[i] = grayMode == 1 ? (8 * p[0] + 15 * p[1] + 3 * p[2]) / 26 : (p[0] + p[1] + p[2]) / 3;
    }
    const std::vector<int64_t> sums = ModelSums(gray, w, h, k);
    for (int64_t i = 0; i < w * h * 3; ++i) {
        const uint64_t offset = i / 3 / w * stride + i / 3 % w * 3 + i % 3;
        const auto delta = static_cast<int16_t>(ModelDivide(sums[i / 3], k.divisor) - gray[i / 3]);
        if (to + offset < out.size()) out[to + offset] = static_cast<uint8_t>(std::clamp(src[from + offset] + delta, 0, 255));
    }
    return out;
}

std::vector<short> Narrow(const std::vector<int64_t>& e) { return std::vector<short>(e.begin(), e.end()); }

Bytes Filtered(const Bytes& src, short type, int n, DWORD* error = nullptr, const char* file = nullptr) {
    return CallOn(src, [&](HDIB d) { return ColorConvolution(d, TRUE, 1, type, n, file, nullptr, error); }).result;
}

TEST(ColorConvolution, MatchesTheModelForEveryTypeSizeGrayModeAndMode) {
    ForEveryFilterRun({{1, 1}, {1, 5}, {2, 2}, {3, 1}, {5, 3}, {13, 4}, {4, 11}, {101, 6}}, 17, 16,
                              [](const FilterRun& r) {
        const int grayMode = r.seed % 3 == 0 ? 1 : r.seed % 3 == 1 ? 0 : 7;
        SCOPED_TRACE(testing::Message() << "gray " << grayMode);
        // Sometimes a colour-table count: source rows after it, new rows at 40.
        Bytes src = PackedDib({r.width, r.height, 24, r.seed % 4 == 0 ? 3u : 0u, false, r.seed});
        VarySizeImage(src, r.seed, 5);
        const std::vector<short> kernel = Narrow(r.entries);
        ExpectNewOrInPlace(src, r.newDib, ReferenceColor(src, r.newDib, grayMode, r.kernel),
                               [&](HDIB dib, DWORD* error) {
            return ColorConvolution(dib, r.newDib, grayMode, static_cast<short>(r.type), r.n, r.file.c_str(),
                                    kernel.data(), error);
        });
    });
}

// The size is its low 16 bits, signed; only the low 16 bits of the width are tested for 0.
TEST(ColorConvolution, SixteenBitSizeAndWidth) {
    const Bytes src = PackedDib({8, 5, 24, 0, false, 21});
    EXPECT_EQ(Filtered(src, 4, 0x10003), Filtered(src, 4, 3));
    EXPECT_EQ(Filtered(src, 4, 0x10008), Bytes{});
    const Bytes wide = PackedDib({65537, 2, 24, 0, false, 8});
    EXPECT_EQ(Filtered(wide, 4, 3), ReferenceColor(wide, true, 1, ModelBuiltIn(4, 3)));
}

// A file cut inside a negative entry keeps its low byte, a weight of 255, and is refused.
TEST(ColorConvolution, KernelFiles) {
    const Bytes src = PackedDib({9, 6, 24, 0, false, 31});
    Bytes cut = EntryFile({-1, 0, 1, -2, 9, 2, -1, 0, 1, 0}, 2);
    cut.resize(13);
    ExpectKernelFilesRead(
        16, {-1, 0, 1, -2, 9, 2, -1, 0, 1, 0}, {cut},
        [&](const std::string& path, DWORD* error) { return Filtered(src, 2, 3, error, path.c_str()); },
        [&](const ModelKernel& k) { return ReferenceColor(src, true, 1, k); });
}

// The shuffled row loops against the portable ones, on widths around their 16- and 32-pixel
// steps, sums over the whole range the weight limits allow, every division mode, into another
// row and in place.
TEST(ColorConvolution, EveryRowPathGivesThePortableBytes) {
    using namespace vx::tone;
    std::mt19937 rng(5);
    const int32_t divisors[] = {1, 2, 16, 64, 3, 9, 26, 255, 30000, 32768};
    for (const ColorRowPath path : {ColorRowPath::kSsse3, ColorRowPath::kAvx2}) {
        if (!ColorRowPathRuns(path)) continue;
        for (const bool weighted : {false, true})
            for (const size_t width : {size_t{1}, size_t{15}, size_t{16}, size_t{33}, size_t{63}, size_t{64}, size_t{97}}) {
                SCOPED_TRACE(testing::Message() << "path " << int(path) << " weighted " << weighted << " width " << width);
                Bytes pixels(width * 3);
                std::vector<int16_t> sums(width), gray(width), fastGray(width);
                for (uint8_t& b : pixels) b = rng() % 4 == 0 ? uint8_t(rng() % 2 * 255) : uint8_t(rng());
                const ColorRowLoops plain = ColorRowLoopsFor(ColorRowPath::kPortable, weighted);
                const ColorRowLoops fast = ColorRowLoopsFor(path, weighted);
                plain.gray(pixels.data(), gray.data(), width);
                fast.gray(pixels.data(), fastGray.data(), width);
                EXPECT_EQ(fastGray, gray);
                for (const int32_t divisor : divisors) {
                    for (int16_t& v : sums) v = int16_t(rng() % 3 == 0 ? (rng() % 2 ? 32385 : -32385) : int(rng() % 64771) - 32385);
                    Bytes expected(width * 3), got(width * 3), inPlace = pixels;
                    const Divider d = MakeDivider(divisor);
                    plain.shift(d, sums.data(), gray.data(), pixels.data(), expected.data(), width);
                    fast.shift(d, sums.data(), gray.data(), pixels.data(), got.data(), width);
                    fast.shift(d, sums.data(), gray.data(), inPlace.data(), inPlace.data(), width);
                    EXPECT_EQ(got, expected) << divisor;
                    EXPECT_EQ(inPlace, expected) << divisor;
                }
            }
    }
}

TEST(ColorConvolution, RefusalsReportThroughTheErrorWordOnly) {
    const Bytes good = PackedDib({8, 4, 24, 0, false, 12});
    std::vector<FilterCase> cases = SharedCases(good);
    cases.push_back({"depth 8", PackedDib({8, 4, 8, 0, false, 12}), 3, 3, {}, IMGERR_BITCOUNT});
    cases.push_back({"width 65536", PackedDib({65536, 1, 24, 0, false, 1}), 3, 3, {}, IMGERR_DIBSIZE});
    cases.push_back({"weight -32768", good, 1, 3, {0, 0, 0, 0, -32768, 0, 0, 0, 0, 1}, IMGERR_PARAMETER});
    ExpectFilterRefusals(good, cases, [](HDIB dib, bool newDib, const FilterCase& c, DWORD* error) {
        const std::vector<short> k = Narrow(c.kernel);
        return ColorConvolution(dib, newDib, 1, static_cast<short>(c.type), c.size, nullptr,
                                k.empty() ? nullptr : k.data(), error);
    });
}

}  // namespace
