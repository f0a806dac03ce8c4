// Convolve against a per-pixel model on random 8-bit images of awkward sizes (every type and
// size, kernels from memory and files, in place and new, every divisor path); the kernel
// orientation pinned by hand; kernel files; refusals.

#include "dib_builder.hpp"
#include "tone_convolution_model.hpp"

using namespace vxtest;

namespace {

// The block Convolve leaves: the source changed in place, or the new DIB.
Bytes ReferenceConvolve(const Bytes& src, bool newDib, const ModelKernel& k) {
    const int64_t w = static_cast<int32_t>(GetU32(src, 4)), h = static_cast<int32_t>(GetU32(src, 8));
    const uint64_t used = GetU32(src, 32), sizeImage = GetU32(src, 20);
    const uint64_t pixels = 40 + (used ? used * 4 : 1024), stride = (w * 8 + 31) / 32 * 4;
    Bytes out = src;
    if (newDib) {
        out.assign(pixels + (sizeImage ? sizeImage : stride * h), 0);
        std::copy(src.begin(), src.begin() + 40, out.begin());
    }
    for (size_t i = 0; i < 1024 && 40 + i < out.size(); ++i) out[40 + i] = i % 4 == 3 ? 0 : static_cast<uint8_t>(i / 4);
    const Bytes& read = newDib ? src : out;  // in place the ramp lands before the rows are read
    std::vector<int64_t> values(static_cast<size_t>(w * h));
    for (int64_t i = 0; i < w * h; ++i) values[i] = read.at(pixels + i / w * stride + i % w);
    const std::vector<int64_t> sums = ModelSums(values, w, h, k);
    for (int64_t i = 0; i < w * h; ++i) {
        const uint64_t at = pixels + i / w * stride + i % w;
        const int64_t s = k.clamp ? std::clamp<int64_t>(sums[i], 0, 255) : sums[i];
        if (at < out.size()) out[at] = static_cast<uint8_t>(ModelDivide(s, k.divisor));
    }
    return out;
}

std::vector<int> Narrow(const std::vector<int64_t>& e) { return std::vector<int>(e.begin(), e.end()); }

TEST(Convolve, MatchesTheModelForEveryTypeSizeAndMode) {
    const uint32_t tables[] = {0, 256, 16, 300};  // a short table is overrun by the ramp
    ForEveryFilterRun({{1, 1}, {1, 6}, {2, 3}, {3, 1}, {5, 2}, {7, 4}, {13, 9}, {4, 17}, {197, 5}}, 7, 32,
                              [&](const FilterRun& r) {
        Bytes src = PackedDib({r.width, r.height, 8, tables[r.seed % 4], false, r.seed});
        VarySizeImage(src, r.seed, 9);
        const std::vector<int> kernel = Narrow(r.entries);
        ExpectNewOrInPlace(src, r.newDib, ReferenceConvolve(src, r.newDib, r.kernel), [&](HDIB dib, DWORD* error) {
            return Convolve(dib, r.newDib, r.type, r.n, r.file.c_str(), kernel.data(), error);
        });
    });
}

// Pinning the model: the orientation of caller kernels. Loading is transposed and the kernel
// reflected: element 1 is matrix row 1, column 0, which meets pixel(y, x + 1), the right-hand
// neighbour (the last one repeated).
TEST(Convolve, KernelsAreTransposedAndReflected) {
    Bytes ramp = PackedDib({4, 3, 8, 0, false, 5});
    for (int i = 0; i < 12; ++i) ramp[1064 + i] = static_cast<uint8_t>(10 * (i / 4) + i % 4);
    const Bytes r = ReferenceConvolve(ramp, true, *ModelCallerKernel({0, 1, 0, 0, 0, 0, 0, 0, 0, 1}, 3, 32));
    for (int i = 0; i < 12; ++i) EXPECT_EQ(r[1064 + i], 10 * (i / 4) + std::min(i % 4 + 1, 3)) << i;
}

TEST(Convolve, KernelFiles) {
    const Bytes src = PackedDib({11, 6, 8, 0, false, 9});
    ExpectKernelFilesRead(
        32, {1, 2, 1, 0, 5, 0, -1, -2, -1, 0}, {EntryFile({0, 0, 0, 0, 128, 0, 0, 0, 0, 1}, 4)},
        [&](const std::string& path, DWORD* error) {
            return CallOn(src, [&](HDIB d) { return Convolve(d, TRUE, 2, 3, path.c_str(), nullptr, error); }).result;
        },
        [&](const ModelKernel& k) { return ReferenceConvolve(src, true, k); });
}

TEST(Convolve, RefusalsReportThroughTheErrorWordOnly) {
    const Bytes good = PackedDib({8, 4, 8, 0, false, 2});
    std::vector<FilterCase> cases = SharedCases(good);
    cases.push_back({"depth 24", PackedDib({8, 4, 24, 0, false, 2, 256}), 3, 3, {}, IMGERR_BITCOUNT});
    ExpectFilterRefusals(good, cases, [](HDIB dib, bool newDib, const FilterCase& c, DWORD* error) {
        const std::vector<int> k = Narrow(c.kernel);
        return Convolve(dib, newDib, c.type, c.size, nullptr, k.empty() ? nullptr : k.data(), error);
    });
}

}  // namespace
