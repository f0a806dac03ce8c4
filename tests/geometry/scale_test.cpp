// scale_test.cpp - ScaleDIB and ScaleGrayDIB against plain per-pixel models of the
// filters, byte for byte over the whole result block, on seeded images of every accepted depth;
// the deliberate oddities; the refusals and their codes.

#include <cmath>
#include <random>

#include "export_calls.hpp"
#include "geometry/scale_filter.hpp"
#include "scale_models.hpp"

namespace {

using namespace vxtest;

struct Dib {
    Bytes bytes;
    int bits() const { return bytes[14]; }
    int width() const { return int(GetU32(bytes, 4) & 0xFFFF); }  // as the filters read it
    int height() const { return int(GetU32(bytes, 8) & 0xFFFF); }
    uint32_t colours() const { return Colours(bytes); }
    size_t table() const { return 4 * size_t{colours()}; }
    uint32_t pixel(size_t storedRow, size_t x) const {
        const uint8_t* row = &bytes[40 + table() + storedRow * Stride(width(), bits())];
        uint32_t v = 0;
        WithDepth(bits(), [&](auto d) { v = vx::GetPixel<decltype(d)::value>(row, x); });
        return v;
    }
    // Entry i as 0xRRGGBB (blue in the low byte, as stored), read after the 40-byte header;
    // past the block, zero.
    uint32_t entry(size_t i) const {
        uint32_t v = 0;
        for (size_t k = 0; k < 3; ++k)
            if (40 + 4 * i + k < bytes.size()) v |= uint32_t(bytes[40 + 4 * i + k]) << (8 * k);
        return v;
    }
};

// ---- the filters, pixel by pixel ------------------------------------------------------------

using Plane = std::vector<std::vector<int>>;  // [stored row][column]

int T(int w, int v) { return (w * v + 128) / 255; }
int Clip(int v) { return std::clamp(v, 0, 255); }

struct Taps { int p, w[4]; };  // bilinear: weights of p and p + 1; cubic: w0..w3 of p - 1 .. p + 2

Taps BilinearAt(int64_t i, int64_t src, int64_t dst) {
    const int w = int((255 * (i * src % dst) + dst / 2) / dst);
    return {int(i * src / dst), {255 - w, w, 0, 0}};
}

Taps CubicAt(int64_t i, int64_t src, int64_t dst) {
    const int p = int(i * src / dst);
    const double f = double(i * src) / double(dst) - p;
    auto outer = [](double t) { return std::pow(t, 3) - 5 * std::pow(t, 2) + 8 * t - 4; };
    auto inner = [](double t) { return std::pow(t, 3) - 2 * std::pow(t, 2) + 1; };
    return {p, {int(outer(std::fabs(1 + f)) * 255), int(inner(std::fabs(f)) * 255),
                int(inner(std::fabs(f - 1)) * 255), int(outer(std::fabs(f - 2)) * 255)}};
}

// Sums the taps over samples p - 1 .. p + 2 (cubic) or p, p + 1 (bilinear) given by at(k).
template <typename At>
int Apply(const Taps& t, bool cubic, At at) {
    if (!cubic) return std::min(255, T(t.w[0], at(t.p)) + T(t.w[1], at(t.p + 1)));
    return Clip(T(t.w[1], at(t.p)) + T(t.w[2], at(t.p + 1)) - T(t.w[0], at(t.p - 1)) - T(t.w[3], at(t.p + 2)));
}

Plane Filter(const Plane& src, int dstW, int dstH, bool cubic) {
    const int srcW = int(src[0].size()), srcH = int(src.size());
    auto taps = [&](int i, int from, int to) { return cubic ? CubicAt(i, from, to) : BilinearAt(i, from, to); };
    // Horizontally the edge pixels repeat outward (the guard bytes).
    Plane wide(src.size(), std::vector<int>(size_t(dstW), 0));
    for (int r = 0; r < srcH; ++r)
        for (int i = 0; i < dstW; ++i)
            wide[size_t(r)][size_t(i)] = Apply(taps(i, srcW, dstW), cubic, [&](int k) {
                return src[size_t(r)][size_t(std::clamp(k, 0, srcW - 1))];
            });
    // Vertically the row above the first is black, rows below the last repeat it, and the
    // bilinear filter gives the last row all the weight.
    Plane out(size_t(dstH), std::vector<int>(size_t(dstW), 0));
    for (int j = 0; j < dstH; ++j) {
        Taps t = taps(j, srcH, dstH);
        if (!cubic && t.p == srcH - 1) t.w[0] = 255, t.w[1] = 0;
        for (int x = 0; x < dstW; ++x)
            out[size_t(j)][size_t(x)] = Apply(t, cubic, [&](int k) {
                return k < 0 ? 0 : wide[size_t(std::min(k, srcH - 1))][size_t(x)];
            });
    }
    return out;
}

// The entry with the least squared distance, the lowest index winning a tie.
uint32_t Nearest(const Dib& d, uint32_t bgr) {
    uint32_t best = 0, bestDistance = UINT32_MAX;
    for (uint32_t i = 0; i < d.colours(); ++i) {
        uint32_t distance = 0;
        for (int s = 0; s < 24; s += 8) {
            const int diff = int(d.entry(i) >> s & 255) - int(bgr >> s & 255);
            distance += uint32_t(diff * diff);
        }
        if (distance < bestDistance) bestDistance = distance, best = i;
    }
    return best;
}

// Filters the given planes (blue, green, red; or one of gray levels) and stores the rows into a
// block with the source's header and table; toIndex(row, x, samples) gives an indexed pixel.
template <typename ToIndex>
Bytes FilteredResult(const Dib& src, std::vector<Plane> planes, int dstW, int dstH, bool cubic,
                     ToIndex toIndex) {
    for (auto& p : planes) p = Filter(p, dstW, dstH, cubic);
    const size_t stride = Stride(dstW, src.bits());
    Bytes out = ResultFrame(src.bytes, 40 + src.table(), dstW, dstH, stride);
    for (size_t j = 0; j < size_t(dstH); ++j) {
        uint8_t* row = &out[40 + src.table() + j * stride];
        for (size_t x = 0; x < size_t(dstW); ++x) {
            uint32_t samples = 0;
            for (size_t k = 0; k < planes.size(); ++k) samples |= uint32_t(planes[k][j][x]) << (8 * k);
            if (src.bits() == 24) vx::SetPixel<24>(row, x, samples);
            else if (src.bits() == 8) row[x] = uint8_t(toIndex(j, x, samples));
            else row[x / 2] |= uint8_t(x % 2 ? toIndex(j, x, samples) : toIndex(j, x, samples) << 4);
        }
    }
    return out;
}

Bytes ModelScaleDib(const Dib& src, int method, int dstW, int dstH) {
    std::vector<Plane> planes(3, Plane(size_t(src.height()), std::vector<int>(size_t(src.width()))));
    for (size_t r = 0; r < size_t(src.height()); ++r)
        for (size_t x = 0; x < size_t(src.width()); ++x) {
            const uint32_t bgr = src.bits() == 24 ? src.pixel(r, x) : src.entry(src.pixel(r, x));
            for (size_t k = 0; k < 3; ++k) planes[k][r][x] = int(bgr >> (8 * k) & 255);
        }
    size_t lastRow = SIZE_MAX;
    uint32_t lastColour = 0, lastIndex = 0;  // the one-entry cache, black -> 0 at each row start
    return FilteredResult(src, planes, dstW, dstH, method != 0, [&](size_t row, size_t, uint32_t bgr) {
        if (row != lastRow) lastRow = row, lastColour = 0, lastIndex = 0;
        if (bgr != lastColour) lastColour = bgr, lastIndex = Nearest(src, bgr);
        return lastIndex;
    });
}

// ScaleGrayDIB: the rectangle filtered as an image of its own; indices through gray levels.
Bytes ModelScaleGray(const Dib& src, int x0, int y0, int w, int h, int fx, int fy, int method) {
    const bool gray = src.bits() != 24;
    const uint32_t n = src.colours();
    auto level = [&](uint32_t i) { return i < n ? int(src.entry(i) >> 16 & 255) : 0; };
    std::vector<Plane> planes(gray ? 1 : 3, Plane(size_t(h), std::vector<int>(size_t(w))));
    for (int r = 0; r < h; ++r)
        for (int x = 0; x < w; ++x) {
            const uint32_t v = src.pixel(size_t(src.height() - y0 - h + r), size_t(x0 + x));
            for (size_t k = 0; k < planes.size(); ++k)
                planes[k][size_t(r)][size_t(x)] = gray ? level(v) : int(v >> (8 * k) & 255);
        }
    // The first entry at or above L (else the last), one back unless it is L exactly, the last
    // entry, or strictly nearer to L than the entry before.
    std::vector<uint32_t> indexOf(256);
    for (int L = 0; L < 256; ++L) {
        uint32_t e = 0;
        while (e < n && level(e) < L) ++e;
        if (e == n) e = n - 1;
        else if (e > 0 && level(e) != L && e != n - 1 && !(std::abs(level(e) - L) < std::abs(L - level(e - 1))))
            --e;
        indexOf[size_t(L)] = e & 255;
    }
    return FilteredResult(src, planes, w * fx & 0xFFFF, h * fy & 0xFFFF, method == 1,
                          [&](size_t, size_t, uint32_t lv) { return indexOf[lv]; });
}

// ---- cases ------------------------------------------------------------------------------------

struct Size4 { int srcW, srcH, dstW, dstH; };

Bytes Scaled(const Bytes& src, int method, int width, int height) {
    return CallOn(src, [&](HDIB d) { return ScaleDIB(d, method, width, height); }).result;
}

// Colour tables that steer indexed images down each of the filters' ways: random colours
// (per-colour look-up), few levels (duplicate and equidistant entries, black entries), the gray
// ramp (filtered levels are the indices), and grays in any order with duplicates and black
// away from index 0 (one plane of levels, mapped back through the nearest gray).
enum class Table { kRandom, kFewLevels, kGrayRamp, kGrays };

void Paint(Bytes& bytes, size_t tableEnd, Table kind, uint32_t seed) {
    std::mt19937 random(seed);
    for (size_t i = 40, entry = 0; i + 3 < tableEnd + 1 && kind != Table::kRandom; i += 4, ++entry) {
        const uint8_t gray = kind == Table::kGrayRamp ? uint8_t(entry) : uint8_t(random() % 5 == 0 ? 0 : random() % 9 * 31);
        for (size_t k = 0; k < 3; ++k) bytes[i + k] = kind == Table::kFewLevels ? uint8_t(random() % 3 * 127) : gray;
    }
}

TEST(ScaleDIB, EveryDepthMatchesThePixelModel) {
    // Width and height 1, widths off multiples of 8 and 32, up, down, 1:1 and mixed; whole
    // multiples on both axes or one (every k-th pixel, row); rows long enough for the vector kernels, growing and
    // shrinking.
    const Size4 sizes[] = {{1, 1, 1, 1},    {1, 1, 5, 3},    {1, 7, 3, 1},   {7, 1, 1, 9},   {13, 9, 13, 9},
                           {13, 9, 29, 17}, {37, 29, 11, 7}, {33, 5, 70, 12}, {9, 31, 40, 3}, {64, 3, 31, 65},
                           {5, 5, 1, 1},    {3, 40, 3, 41},  {31, 4, 33, 4},  {2, 2, 9, 9},   {8, 8, 24, 24},
                           {26, 14, 13, 7}, {39, 9, 13, 3},  {70, 6, 35, 2},  {66, 4, 33, 4}, {97, 5, 201, 11},
                           {150, 4, 67, 5}, {41, 3, 250, 4}, {26, 9, 13, 17}, {13, 12, 29, 4}, {66, 8, 33, 5},
                           {40, 9, 70, 3}};
    for (int bits : {1, 4, 8, 24})
        for (const Size4& s : sizes)
            for (int method : {0, 1, -7})
                for (Table kind : {Table::kRandom, Table::kFewLevels, Table::kGrayRamp, Table::kGrays}) {
                    if ((bits == 1 || bits == 24) && kind != Table::kRandom) continue;
                    const uint32_t seed = uint32_t(bits * 1000 + s.srcW * 37 + s.dstH + method * 5 + 11 + int(kind) * 7);
                    SCOPED_TRACE(testing::Message() << bits << "-bit " << s.srcW << "x" << s.srcH << " -> " << s.dstW << "x"
                                                    << s.dstH << " seed " << seed << " method " << method << " table " << int(kind));
                    DibShape shape{s.srcW, s.srcH, uint16_t(bits), 0, false, seed};
                    if (bits == 4 && seed % 3 == 0) shape.clrUsed = 9;  // indices without an entry
                    Bytes bytes = PackedDib(shape);
                    Paint(bytes, PixelOffset(shape), kind, seed);
                    const Outcome o = CallOn(bytes, [&](HDIB d) { return ScaleDIB(d, method, s.dstW, s.dstH); });
                    EXPECT_EQ(o.result, bits == 1 ? ModelCropScale(bytes, 0, 0, s.srcW, s.srcH, s.dstW, s.dstH)
                                                  : ModelScaleDib(Dib{bytes}, method, s.dstW, s.dstH));
                    EXPECT_TRUE(o.sourceUnchanged);
                }
    // Over long axes the truncated cubic weights depend on the exact double arithmetic of the
    // fraction; small images never reach those cases.
    for (const Size4& s : {Size4{65535, 1, 65534, 1}, {1000, 1, 65521, 1}, {40000, 1, 777, 1}, {3, 1, 65535, 1}, {65535, 1, 40961, 1}}) {
        const Bytes bytes = SeededDib(s.srcW, s.srcH, 24, uint32_t(s.dstW));
        SCOPED_TRACE(testing::Message() << s.srcW << " -> " << s.dstW);
        ExpectSameBytes(Scaled(bytes, 1, s.dstW, s.dstH), ModelScaleDib(Dib{bytes}, 1, s.dstW, s.dstH));
    }
}

// The row kernels' products are the product table's, T[w][v] = floor((w v + 128) / 255), for
// every weight and sample, in both the added (bilinear, cubic inner) and subtracted (cubic
// outer) terms, whichever vector width runs.
TEST(ScaleDIB, RowKernelsMultiplyAsTheProductTable) {
    namespace f = vx::geometry::filter;
    std::vector<uint8_t> ramp(256), zeros(256, 0), full(256, 255), out(256);
    for (int v = 0; v < 256; ++v) ramp[size_t(v)] = uint8_t(v);
    for (uint8_t w = 0;; ++w) {
        f::CombineBilinear(zeros.data(), ramp.data(), w, 256, out.data());
        const uint8_t* subtracted[4] = {ramp.data(), full.data(), zeros.data(), zeros.data()};
        std::vector<uint8_t> less(256);
        f::CombineCubic(subtracted, f::CubicTap{0, w, 255, 0, 0}, 256, less.data());
        for (int v = 0; v < 256; ++v) {
            ASSERT_EQ(out[size_t(v)], T(w, v)) << "w " << int(w) << " v " << v;
            ASSERT_EQ(less[size_t(v)], 255 - T(w, v)) << "w " << int(w) << " v " << v;
        }
        if (w == 255) break;
    }
}

// Sizes are their low 16 bits; a source 65536 + 3 wide is filtered as 3 wide, its stride taken
// from that width.
TEST(ScaleDIB, SizesAreSixteenBit) {
    for (uint16_t bits : {1, 8, 24}) {
        const Bytes src = SeededDib(19, 6, bits, 4), wrapped = Scaled(src, 1, 65536 + 7, 3 * 65536 + 5);
        EXPECT_FALSE(wrapped.empty());
        EXPECT_EQ(wrapped, Scaled(src, 1, 7, 5)) << bits;
    }
    const Bytes wide = SeededDib(65539, 1, 24, 8);
    Bytes narrow = SeededDib(3, 1, 24, 8);
    std::copy(wide.begin() + 40, wide.begin() + 52, narrow.begin() + 40);
    EXPECT_FALSE(Scaled(wide, 0, 8, 2).empty());
    EXPECT_EQ(Scaled(wide, 0, 8, 2), Scaled(narrow, 0, 8, 2));
}

// kUntouched: the module code stays as it was. A success leaves it alone too.
TEST(ScaleDIB, RefusesBadInputWithItsCode) {
    const Bytes gray = SeededDib(4, 4, 8), rgb = SeededDib(4, 4, 24), mono = SeededDib(4, 4, 1);
    const int P = IMGERR_PARAMETER, B = IMGERR_HEADERBITCOUNT;
    const struct { const char* what; Source source; int width, height, code; } cases[] = {
        {"39-byte block", Bytes(39, 0), 4, 4, P}, {"biSize 12", With(gray, 0, 12), 4, 4, P},
        {"2-bit", With(gray, 12, 1 | 2 << 16), 4, 4, B}, {"16-bit", With(rgb, 12, 1 | 16 << 16), 4, 4, B},
        {"32-bit", With(rgb, 12, 1 | 32 << 16), 4, 4, B}, {"RLE8", With(gray, 16, 1), 4, 4, IMGERR_COMPRESSED},
        {"rows one byte short", Cut(gray, gray.size() - 1), 4, 4, P},
        {"1-bit rows one byte short", Cut(mono, mono.size() - 1), 4, 4, P},
        {"huge colour table", With(gray, 32, 0x40000000), 4, 4, P}, {"zero width", gray, 0, 4, P},
        {"height 65536 masks to 0", rgb, 4, 65536, P}, {"source 65536 wide", With(rgb, 4, 65536), 4, 4, P},
        {"negative height reads 65532 rows", With(rgb, 8, uint32_t(-4)), 4, 4, P},
        {"over 4 GiB", rgb, 65535, 65535, IMGERR_NOMEMORY}, {"1-bit zero width", mono, 0, 4, kUntouched},
        {"1-bit zero source height", With(mono, 8, 0), 4, 4, kUntouched}, {"null handle", kNullHandle, 4, 4, P},
    };
    ExpectRefusals(Reports::kModuleCode, cases, [](HDIB dib, const auto& c, auto) { return ScaleDIB(dib, 0, c.width, c.height); });
    EXPECT_EQ(CallOn(gray, [](HDIB d) { return ScaleDIB(d, 1, 9, 9); }).moduleCode, kUntouched);
}

TEST(ScaleGrayDIB, MatchesThePixelModel) {
    const struct { int bits, imageW, imageH, x, y, w, h, fx, fy; } cases[] = {
        {8, 20, 15, 0, 0, 20, 15, 1, 1}, {8, 20, 15, 3, 2, 7, 9, 3, 2},   {8, 9, 9, 8, 8, 1, 1, 5, 4},
        {4, 21, 13, 1, 4, 13, 5, 2, 3},  {4, 21, 13, 0, 0, 21, 13, 1, 2}, {4, 7, 3, 3, 0, 3, 3, 7, 1},
        {24, 17, 10, 2, 1, 9, 8, 2, 2},  {24, 5, 40, 0, 7, 5, 33, 1, 1},  {8, 40, 2, 11, 1, 29, 1, 2, 9},
    };
    for (const auto& c : cases)
        for (int method : {0, 1})
            for (int palette = 0; palette < (c.bits == 24 ? 1 : 3); ++palette) {
                const uint32_t seed = uint32_t(c.imageW * 13 + c.x + c.fy * 3 + method + palette * 101);
                SCOPED_TRACE(testing::Message() << c.bits << "-bit " << c.w << "x" << c.h << " at " << c.x << ","
                                                << c.y << " method " << method << " palette " << palette << " seed " << seed);
                DibShape shape{c.imageW, c.imageH, uint16_t(c.bits), 0, false, seed};
                if (palette == 2) shape.clrUsed = c.bits == 8 ? 100 : 11;  // indices without an entry
                Bytes b = PackedDib(shape);
                std::mt19937 random(seed);
                const uint32_t entries = palette >= 1 ? Dib{b}.colours() : 0;
                for (uint32_t i = 0, level = 0; i < entries; ++i) {
                    level = std::min<uint32_t>(255, level + uint32_t(random() % 7));  // an uneven ascending ramp
                    std::fill(b.begin() + 40 + 4 * i, b.begin() + 43 + 4 * i, uint8_t(level));
                }
                const Outcome o = CallOn(b, [&](HDIB d) { return ScaleGrayDIB(d, c.x, c.y, c.w, c.h, c.fx, c.fy, method); });
                EXPECT_EQ(o.result, ModelScaleGray(Dib{b}, c.x, c.y, c.w, c.h, c.fx, c.fy, method));
                EXPECT_EQ(o.moduleCode, kUntouched);
            }
}

TEST(ScaleGrayDIB, RefusesWithoutTouchingTheCode) {
    const Bytes gray = SeededDib(10, 8, 8, 2);
    const struct { const char* what; Source source; int x, y, w, h, fx, fy, method, code = kUntouched; } cases[] = {
        {"null", kNullHandle, 0, 0, 2, 2, 2, 2, 0}, {"1-bit", SeededDib(10, 8, 1, 2), 0, 0, 2, 2, 2, 2, 0},
        {"compressed", With(gray, 16, 1), 0, 0, 2, 2, 2, 2, 0},
        {"method 2", gray, 0, 0, 2, 2, 2, 2, 2}, {"x negative", gray, -1, 0, 2, 2, 2, 2, 0},
        {"past the right edge", gray, 9, 0, 2, 2, 2, 2, 0}, {"past the bottom edge", gray, 0, 7, 2, 2, 2, 2, 1},
        {"zero width", gray, 0, 0, 0, 2, 2, 2, 0}, {"zero factor", gray, 0, 0, 2, 2, 0, 2, 0},
        {"masked to zero", gray, 0, 0, 2, 2, 32768, 2, 0},
    };
    ExpectRefusals(Reports::kModuleCode, cases, [](HDIB dib, const auto& c, auto) {
        return ScaleGrayDIB(dib, c.x, c.y, c.w, c.h, c.fx, c.fy, c.method);
    });
}

}  // namespace
