// tone_convolution_model.hpp - a plain model of the convolution filters for the tone tests
// (kernel set-up, per-pixel sums with clamped coordinates in 64 bits, shift or truncating
// division), written from the header's description and sharing nothing with the library's
// ring and workers; plus what both filters' tests share: the model runs, kernel files and the
// refusal table.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "export_calls.hpp"

namespace vxtest {

struct ModelKernel { int n = 3; int64_t m[7][7] = {}, divisor = 1; bool clamp = false; };  // m[a][b]: pixel(y + n/2 - a, x + n/2 - b)

// A caller kernel from its entries (n*n weights, then the divisor), entryBits wide. Empty when
// the weight limits refuse it.
inline std::optional<ModelKernel> ModelCallerKernel(const std::vector<int64_t>& e, int n, int entryBits) {
    ModelKernel k;
    k.n = n;
    int64_t pos = 0, neg = 0;
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) {
            const int64_t w = k.m[j][i] = e[i * n + j];  // element i*n+j -> row j, column i
            if (w > 127 || w < -127) return std::nullopt;
            (w > 0 ? pos : neg) += w > 0 ? w : -w;
        }
    if (pos > 127 || neg > 127) return std::nullopt;
    k.clamp = pos > 0 && neg > 0;
    int64_t d = e[n * n];
    if (d == 0) d = pos != neg ? pos - neg : 1;
    if (d < 0) {
        const int64_t top = int64_t{1} << (entryBits - 1);
        d = -d == top ? d : -d;  // the most negative entry negates to itself
        for (auto& row : k.m)
            for (int64_t& w : row) w = -w;
    }
    k.divisor = d;
    return k;
}

// The built-in kernels, written out cell by cell.
inline ModelKernel ModelBuiltIn(int type, int n) {
    static const int64_t smooth[3][5][5] = {
        {{1, 2, 1}, {2, 4, 2}, {1, 2, 1}}, {{1, 3, 3, 1}, {3, 9, 9, 3}, {3, 9, 9, 3}, {1, 3, 3, 1}},
        {{0, 1, 1, 1, 0}, {1, 2, 4, 2, 1}, {1, 4, 8, 4, 1}, {1, 2, 4, 2, 1}, {0, 1, 1, 1, 0}}};
    static const int64_t sharp[3][5][5] = {
        {{-1, -2, -1}, {-2, 13, -2}, {-1, -2, -1}},
        {{-1, -3, -3, -1}, {-3, -9, -9, -3}, {-3, -9, 56, -3}, {-1, -3, -3, -1}},
        {{0, -1, -1, -1, 0}, {-1, -2, -4, -2, -1}, {-1, -4, 37, -4, -1}, {-1, -2, -4, -2, -1}, {0, -1, -1, -1, 0}}};
    static const int64_t smoothDivisor[3] = {16, 64, 44};
    ModelKernel k;
    k.n = n;
    k.clamp = type >= 5;
    k.divisor = type == 3 ? n * n : type == 4 ? smoothDivisor[n - 3] : 1;
    for (int a = 0; a < n; ++a)
        for (int b = 0; b < n; ++b)
            k.m[a][b] = type == 3 ? 1 : type == 4 ? smooth[n - 3][a][b] : type == 5 ? sharp[n - 3][a][b]
                        : a == n / 2 && b == n / 2 ? n * n : -1;
    return k;
}

// Sums over an image of values (row-major), rows and columns beyond the edges repeated.
inline std::vector<int64_t> ModelSums(const std::vector<int64_t>& v, int64_t width, int64_t height,
                                      const ModelKernel& k) {
    std::vector<int64_t> out(static_cast<size_t>(width * height));
    for (int64_t y = 0; y < height; ++y)
        for (int64_t x = 0; x < width; ++x)
            for (int a = 0; a < k.n; ++a)
                for (int b = 0; b < k.n; ++b) {
                    const int64_t yy = std::clamp<int64_t>(y + k.n / 2 - a, 0, height - 1);
                    const int64_t xx = std::clamp<int64_t>(x + k.n / 2 - b, 0, width - 1);
                    out[y * width + x] += k.m[a][b] * v[yy * width + xx];
                }
    return out;
}

// Arithmetic shift (rounding down) for 1, 2, 4 ... 64, truncating division otherwise.
inline int64_t ModelDivide(int64_t s, int64_t d) {
    for (int bits = 0; bits <= 6; ++bits)
        if (d == (int64_t{1} << bits)) return s >= 0 ? s / d : -((-s + d - 1) / d);
    return s / d;
}

// Random entries inside the limits, all positive, all negative or mixed, with a divisor drawn
// to reach every division path.
inline std::vector<int64_t> RandomEntries(std::mt19937& rng, int n, int entryBits) {
    std::vector<int64_t> e(static_cast<size_t>(n * n + 1), 0);
    int64_t pos = 0, neg = 0;
    const int64_t low = rng() % 3 == 0 ? 0 : rng() % 2 ? -20 : -10;
    for (int i = 0; i < n * n; ++i) {
        const int64_t w = rng() % 3 ? low + static_cast<int64_t>(rng() % 20) : 0;
        if ((w > 0 && pos + w > 127) || (w < 0 && neg - w > 127)) continue;
        (w > 0 ? pos : neg) += w > 0 ? w : -w;
        e[i] = w;
    }
    const int64_t divisors[] = {0, 0, 1, 2, 3, 4, 7, 9, 16, 44, 64, 128, 255, -1, -4, -9, 30000,
                                -(int64_t{1} << (entryBits - 1))};
    e[n * n] = divisors[rng() % (sizeof divisors / sizeof divisors[0])];
    return e;
}

// Kernel file bytes: entries little-endian, `bytes` wide each.
inline Bytes EntryFile(const std::vector<int64_t>& e, size_t bytes) {
    Bytes b(e.size() * bytes);
    for (size_t i = 0; i < b.size(); ++i) b[i] = static_cast<uint8_t>(static_cast<uint64_t>(e[i / bytes]) >> (8 * (i % bytes)));
    return b;
}

// The ten entries a 3 x 3 kernel file is read as: signed, `bytes` wide, as far as it goes, 0 after.
inline std::vector<int64_t> EntriesRead(Bytes file, size_t bytes) {
    file.resize(10 * bytes, 0);
    std::vector<int64_t> seen(10);
    for (size_t i = 0; i < 10; ++i) {
        uint64_t v = 0;
        for (size_t k = 0; k < bytes; ++k) v |= uint64_t{file[i * bytes + k]} << (8 * k);
        seen[i] = bytes == 4 ? int64_t(int32_t(v)) : int64_t(int16_t(v));
    }
    return seen;
}

// biSizeImage varied by the seed: 0 (size from the stride), halved (rows dropped) or longer
// by `longBy` (a zero tail).
inline void VarySizeImage(Bytes& src, uint32_t seed, uint32_t longBy) {
    if (seed % 5 == 0) PutU32(src, 20, 0);
    if (seed % 7 == 0) PutU32(src, 20, GetU32(src, 20) / 2);
    if (seed % 11 == 0) PutU32(src, 20, GetU32(src, 20) + longBy);
}

// One model comparison: the image shape, kernel type and size, the random caller entries (in
// a file for type 2) and their model kernel, in place or into a new DIB, and the image seed.
struct FilterRun {
    int width, height, type, n; const std::vector<int64_t>& entries; const ModelKernel& kernel; const std::string& file;
    bool newDib; uint32_t seed;
};

// Calls run(r) for every shape, every type (caller kernels twice) and every size the type
// accepts, in place and new, entries entryBits wide drawn from rngSeed. The row loops run at
// the level the SIMD policy allows; the scalar run of the suite takes the baseline loops.
template <typename Run>
void ForEveryFilterRun(const std::vector<std::array<int, 2>>& shapes, uint32_t rngSeed, int entryBits, Run run) {
    TempDir dir;
    std::mt19937 rng(rngSeed);
    uint32_t seed = 0;
    for (const auto& shape : shapes)
        for (int type : {1, 1, 2, 3, 4, 5, 6})
            for (int n = 3; n <= 7; ++n) {
                if (n >= 6 && type != 1 && type != 3) continue;
                const std::vector<int64_t> e = RandomEntries(rng, n, entryBits);
                const ModelKernel k = type <= 2 ? *ModelCallerKernel(e, n, entryBits) : ModelBuiltIn(type, n);
                const std::string file =
                    type == 2 ? dir.write("k" + std::to_string(seed), EntryFile(e, size_t(entryBits / 8))) : "";
                for (const bool newDib : {false, true}) {
                    ++seed;
                    SCOPED_TRACE(testing::Message() << shape[0] << "x" << shape[1] << " type " << type << " n "
                                                    << n << (newDib ? " new" : " in place") << " seed " << seed);
                    run(FilterRun{shape[0], shape[1], type, n, e, k, file, newDib, seed});
                }
            }
}

// Kernel files of entryBits-wide entries (3 x 3) are read as far as they go, missing entries
// being 0 and extra bytes ignored; `refused` files, a missing file and a directory give
// IMGERR_PARAMETER. filter(path, error) is the new DIB filtered with the file, empty for none;
// model(kernel) the block expected.
template <typename Filter, typename Model>
void ExpectKernelFilesRead(int entryBits, const std::vector<int64_t>& entries, const std::vector<Bytes>& refused,
                           Filter filter, Model model) {
    TempDir dir;
    const size_t b = size_t(entryBits / 8);
    for (const size_t length : {10 * b, 13 * b, 11 * b / 2, b, size_t{0}}) {
        Bytes file = EntryFile(entries, b);
        file.resize(length, 0x40);
        DWORD error = 0xDEAD;
        EXPECT_EQ(filter(dir.write("k" + std::to_string(length), file), &error),
                  model(*ModelCallerKernel(EntriesRead(file, b), 3, entryBits))) << length;
        EXPECT_EQ(error, DWORD{IMGERR_SUCCESS});
    }
    std::vector<std::string> paths = {dir.path("missing"), dir.path("")};
    for (const Bytes& file : refused) paths.push_back(dir.write("r" + std::to_string(paths.size()), file));
    for (const std::string& path : paths) {
        DWORD error = 0;
        EXPECT_EQ(filter(path, &error), Bytes{}) << path;
        EXPECT_EQ(error, DWORD{IMGERR_PARAMETER}) << path;
    }
}

// A refusal: image bytes, arguments and the code.
struct FilterCase { std::string what; Source source; int type, size; std::vector<int64_t> kernel /* empty: none */; int code; };

// The refusals both filters share, from a good image of their depth: header, size and argument
// checks in their order, and the weight limits.
inline std::vector<FilterCase> SharedCases(const Bytes& good) {
    const auto centre = [](int64_t w, int64_t other, int64_t d) { return std::vector<int64_t>{other, 0, 0, 0, w, 0, 0, 0, 0, d}; };
    const std::vector<int64_t> k3(10, 1), k7(50, 1);
    const int P = IMGERR_PARAMETER, S = IMGERR_DIBSIZE;
    return {
        {"header 12", With(good, 0, 12), 3, 3, {}, P}, {"header 124", With(good, 0, 124), 3, 3, {}, P},
        {"block under 40 bytes", Cut(good, 39), 3, 3, {}, P}, {"compressed", With(good, 16, 1), 3, 3, {}, IMGERR_COMPRESSED},
        {"compressed before depth", With(With(good, 16, 1), 12, 1 | 16 << 16), 3, 3, {}, IMGERR_COMPRESSED},
        {"depth 4", With(good, 12, 1 | 4 << 16), 3, 3, {}, IMGERR_BITCOUNT}, {"width 0", With(good, 4, 0), 3, 3, {}, S},
        {"height 0 before parameters", With(good, 8, 0), 9, 9, {}, S}, {"top-down", With(good, 8, uint32_t(-4)), 3, 3, {}, S},
        {"negative width", With(good, 4, uint32_t(-6)), 3, 3, {}, S}, {"rows past the block", With(good, 8, 5), 3, 3, {}, S},
        {"table past the block", With(good, 32, 0x40000000), 3, 3, {}, S},
        {"type 0", good, 0, 3, k3, P}, {"type 7", good, 7, 3, k3, P}, {"type 1 without kernel", good, 1, 3, {}, P},
        {"type 2 without file", good, 2, 3, k3, P}, {"size 2", good, 1, 2, k3, P}, {"size 8", good, 1, 8, k7, P},
        {"size 6 smoothing", good, 4, 6, {}, P}, {"size 6 sharpening", good, 5, 6, {}, P},
        {"size 7 sharpening", good, 6, 7, {}, P}, {"weight 128", good, 1, 3, centre(128, 0, 0), P},
        {"weight -128", good, 1, 3, centre(-128, 0, 0), P}, {"positive sum 128", good, 1, 3, centre(100, 28, 1), P},
        {"negative sum 128", good, 1, 3, centre(-100, -28, 1), P},
        {"null handle", kNullHandle, 3, 3, {}, P}, {"unlockable", kUnlockable, 3, 3, {}, IMGERR_LOCKMEMORY},
    };
}

// Each case through call(handle, newDib, case, error), new DIB and in place: its code in the
// error word only, the module code untouched, the image unchanged and unlocked. Weight sums at
// their limits are taken, and without an error word a filter runs the same, a refusal being
// only a null result.
template <typename Call>
void ExpectFilterRefusals(const Bytes& good, const std::vector<FilterCase>& cases, Call call) {
    for (const bool newDib : {true, false}) {
        SCOPED_TRACE(newDib ? "new" : "in place");
        ExpectRefusals(Reports::kCallerWord, cases,
                       [&](HDIB dib, const FilterCase& c, DWORD* error) { return call(dib, newDib, c, error); });
    }
    FilterCase limits{"sums at 127", good, 1, 3, {100, 27, -127, 0, 0, 0, 0, 0, 0, 1}, IMGERR_SUCCESS};
    DWORD error = 0xDEAD;
    EXPECT_FALSE(CallOn(good, [&](HDIB d) { return call(d, true, limits, &error); }).result.empty());
    EXPECT_EQ(error, DWORD{IMGERR_SUCCESS});
    limits.type = 3;
    EXPECT_FALSE(CallOn(good, [&](HDIB d) { return call(d, true, limits, nullptr); }).result.empty());
    limits.size = 9;
    EXPECT_TRUE(CallOn(good, [&](HDIB d) { return call(d, true, limits, nullptr); }).result.empty());
}

}  // namespace vxtest
