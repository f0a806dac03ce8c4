// ComputeHistogram, ComputeLUT and ApplyLUT against plain models written from their documented
// steps (the window histogram and its strip updates pixel by pixel, the table entry by entry,
// the applied table byte by byte), the module state across calls, and every refusal.

#include <array>
#include <climits>
#include <cmath>
#include <random>

#include "export_calls.hpp"
#include "tone/histogram_lut.hpp"

using namespace vxtest;

namespace {

using Counts = std::array<uint16_t, 256>;
using Table = std::array<uint8_t, 256>;

Bytes Of(const auto& a) { return Bytes(reinterpret_cast<const uint8_t*>(a.data()), reinterpret_cast<const uint8_t*>(a.data() + a.size())); }

// Geometry of an 8-bit DIB; at(x, y) is the byte the row arithmetic reaches, 0 outside the block.
struct Image {
    const Bytes& b;
    int64_t W = static_cast<int32_t>(GetU32(b, 4)), H = static_cast<int32_t>(GetU32(b, 8));
    int64_t bits = 40 + (GetU32(b, 32) ? GetU32(b, 32) : 256) * 4, stride = W > 0 ? (W * 8 + 31) / 32 * 4 : 0;
    uint8_t at(int64_t x, int64_t y) const {
        const int64_t i = bits + (H - 1 - y) * stride + x;
        return i >= 0 && i < static_cast<int64_t>(b.size()) ? b[i] : 0;
    }
};

Counts WindowCount(const Bytes& dib, int64_t x0, int64_t y0) {
    const Image im{dib};
    Counts c{};
    for (int64_t y = y0; y < y0 + std::min<int64_t>(im.H, 256); ++y)
        for (int64_t x = x0; x < x0 + std::min<int64_t>(im.W, 256); ++x) ++c[im.at(x, y)];
    return c;
}

// The documented placement, fresh count and strip updates, with the module state they keep.
struct HistogramModel {
    int64_t ox = -256, oy = -256;
    static int64_t Place(int64_t v, int64_t n) { return n < 256 || v < 0 ? 0 : v + 256 > n ? n - 256 : v; }
    void compute(const Bytes& dib, int x, int y, Counts& c) {
        const Image im{dib};
        auto add = [&](int64_t col, int64_t row, int d) { c[im.at(col, row)] += d; };
        const int64_t x0 = Place(x, im.W), y0 = Place(y, im.H), dx = ox - x0, dy = oy - y0;
        if (x0 == ox && y0 == oy) return;
        if (std::abs(dx) > 128 || std::abs(dy) > 128) {
            c = WindowCount(dib, x0, y0);
        } else {
            for (int64_t r = oy; r < oy + std::min<int64_t>(im.H - y0, 256); ++r) {
                for (int64_t col = std::min(x0, ox); col < std::max(x0, ox); ++col) add(col, r, dx > 0 ? 1 : -1);
                for (int64_t col = std::min(x0, ox) + 256; col < std::max(x0, ox) + 256 && col < im.W; ++col)
                    add(col, r, dx > 0 ? -1 : 1);
            }
            for (int64_t col = x0; col < x0 + std::min<int64_t>(im.W - x0, 256); ++col) {
                for (int64_t r = std::min(y0, oy); r < std::max(y0, oy); ++r) add(col, r, dy > 0 ? 1 : -1);
                for (int64_t k = 0; k < std::abs(dy) && k < im.H - (std::min(y0, oy) + 256); ++k)
                    add(col, std::min(y0, oy) + 256 + k, dy > 0 ? -1 : 1);
            }
        }
        ox = x0, oy = y0;
    }
};

Table ModelLut(const Counts* hist, int c, int b) {
    uint32_t sum = 0, total = 0;
    for (uint32_t i = 0; hist != nullptr && i < 256; ++i) sum += i * (*hist)[i], total += (*hist)[i];
    const uint8_t m = total != 0 ? static_cast<uint8_t>(sum / total) : 128;
    const auto cm = static_cast<int32_t>(static_cast<uint32_t>(c) * m), slope = static_cast<int32_t>(c + 255u);
    Table lut{};
    for (int i = 0; i < 256; ++i) {
        const double t = std::trunc((static_cast<double>(i) * slope - cm) * 0.00392156862745098 + b);
        lut[i] = t <= 0 || t >= 2147483648.0 ? 0 : static_cast<uint8_t>(std::min(t, 255.0));
    }
    return lut;
}

Bytes ModelApply(const Bytes& src, const Table& lut, bool newDib) {
    const Image im{src};
    const uint32_t used = GetU32(src, 32), pal = used ? used * 4 : 1024, size = GetU32(src, 20);
    auto entry = [&](size_t i) -> int { return i < src.size() ? src[i] : 0; };
    Bytes out = src;
    if (newDib) {
        out.assign(40 + pal + (size ? size : static_cast<uint32_t>(im.stride) * static_cast<uint32_t>(im.H)), 0);
        std::copy_n(src.begin(), std::min<size_t>(40, out.size()), out.begin());
    }
    for (size_t i = 0; i < 1024 && 40 + i < out.size(); ++i) out[40 + i] = i % 4 == 3 ? 0 : static_cast<uint8_t>(i / 4);
    for (int64_t r = 0; r < im.H; ++r)
        for (int64_t x = 0; x < im.W; ++x)
            if (const size_t at = 40 + pal + r * im.stride + x; at < out.size()) {
                const size_t k = (newDib ? src : out)[at] * 4 + 40;
                out[at] = lut[(entry(k) + entry(k + 1) + entry(k + 2) + 1) / 3];
            }
    return out;
}

class Tables : public testing::Test {
protected:
    void SetUp() override { vx::tone::ResetTableState(); }
    static HGLOBAL Create(bool lut) {
        DWORD error = 99;
        HGLOBAL h = lut ? ComputeLUT(nullptr, TABLE_CREATE, nullptr, 0, 0, &error)
                        : ComputeHistogram(nullptr, TABLE_CREATE, nullptr, nullptr, &error);
        EXPECT_EQ(error, 0u);
        return h;
    }
    static DWORD Compute(HDIB dib, HGLOBAL hist, int x, int y) {
        int origin[2] = {x, y};
        DWORD error = 99;
        HGLOBAL r = ComputeHistogram(dib, TABLE_COMPUTE, hist, origin, &error);
        EXPECT_EQ(r, error == 0 ? hist : nullptr);
        return error;
    }
};

// Random moves (with the 128 / 129 boundaries) over images of awkward sizes, switching between
// a large and a small image so that strips from another image's origin fall outside.
TEST_F(Tables, HistogramFollowsTheModelOverImagesAndMoves) {
    const int sizes[][2] = {{1, 1}, {1, 300}, {300, 1}, {3, 5}, {255, 257}, {257, 255}, {40, 30}, {517, 390}};
    std::mt19937 random(5);
    for (uint32_t seed = 0; seed < std::size(sizes); ++seed) {
        const Bytes images[2] = {SeededDib(sizes[seed][0], sizes[seed][1], 8, seed, seed % 2 ? 0 : 200), SeededDib(700, 650, 8, seed + 50)};
        Block dibs[2] = {Block(BlockFrom(images[0])), Block(BlockFrom(images[1]))};
        Block hist(Create(false));
        HistogramModel model;
        Counts expected{};
        int x = 0, y = 0;
        // First the moves of exactly 128 and 129 between the two images, in both directions.
        const int scripted[][3] = {{1, 128, 128}, {0, 0, 0}, {1, 129, 3}, {0, 0, 0}, {1, 3, 129}, {0, 0, 0}, {1, 0, 0}, {1, 128, 128}};
        for (int step = 0; step < 68; ++step) {
            const int kind = step < 8 ? -1 : static_cast<int>(random() % 6), which = step < 8 ? scripted[step][0] : step % 5 == 4;
            if (kind < 0) x = scripted[step][1], y = scripted[step][2];
            else if (kind == 0) x = static_cast<int>(random() % 800) - 100, y = static_cast<int>(random() % 800) - 100;
            else if (kind == 1) x += 128, y -= 128;
            else if (kind == 2) x -= 129;
            else x += static_cast<int>(random() % 257) - 128, y += static_cast<int>(random() % 257) - 128;
            SCOPED_TRACE(testing::Message() << sizes[seed][0] << "x" << sizes[seed][1] << " step " << step << " at " << x << "," << y);
            ASSERT_EQ(Compute(dibs[which].get(), hist.get(), x, y), 0u);
            model.compute(images[which], x, y, expected);
            ASSERT_EQ(BlockBytes(hist.get()), Of(expected));
        }
    }
}

// At load the origin is (0, 0) and nothing is cleared by a fresh count; TABLE_CREATE resets
// the origin shared by every histogram; the same origin reads nothing, not even hHist.
TEST_F(Tables, ModuleStateAcrossCalls) {
    const Bytes a = SeededDib(400, 400, 8, 8), b = SeededDib(400, 400, 8, 9);
    Block dibA(BlockFrom(a)), dibB(BlockFrom(b)), unlockable(GlobalAlloc(GMEM_MOVEABLE, 0));
    Bytes preset(512, 0);
    preset[34] = 5;  // counter 17
    Block own(BlockFrom(preset)), lut(BlockFrom(Bytes(256, 0xAB)));
    EXPECT_EQ(Compute(dibA.get(), own.get(), -5, 0), 0u);
    EXPECT_EQ(BlockBytes(own.get()), preset);
    EXPECT_EQ(Compute(dibA.get(), own.get(), 140, 0), 0u);
    Counts expected = WindowCount(a, 140, 0);
    expected[17] += 5;
    EXPECT_EQ(BlockBytes(own.get()), Of(expected));
    EXPECT_EQ(ComputeLUT(nullptr, TABLE_COMPUTE, lut.get(), 40, 3, nullptr), lut.get());
    EXPECT_EQ(BlockBytes(lut.get()), Bytes(256, 0xAB));  // LUT length 0: nothing written

    Block first(Create(false));
    EXPECT_EQ(Compute(dibA.get(), first.get(), 100, 1000), 0u);  // placed at (100, 144)
    EXPECT_EQ(Compute(dibB.get(), first.get(), 100, 144), 0u);   // same origin: the counts of a
    EXPECT_EQ(Compute(dibB.get(), unlockable.get(), 100, 144), 0u);
    EXPECT_EQ(BlockBytes(first.get()), Of(WindowCount(a, 100, 144)));
    Block second(Create(false));
    EXPECT_EQ(Compute(dibB.get(), first.get(), 100, 144), 0u);
    EXPECT_EQ(BlockBytes(first.get()), Of(WindowCount(b, 100, 144)));
    EXPECT_EQ(BlockBytes(second.get()), Bytes(512, 0));
}

TEST_F(Tables, ToneTableMatchesTheFormula) {
    Block lut(Create(true)), hist(Create(false)), none(GlobalAlloc(GMEM_MOVEABLE, 0));  // none: no lock, pivot 128
    Table identity;
    for (int i = 0; i < 256; ++i) identity[i] = static_cast<uint8_t>(i);
    EXPECT_EQ(BlockBytes(lut.get()), Of(identity));
    Bytes flat = SeededDib(256, 256, 8, 9);
    std::fill(flat.begin() + 1064, flat.end(), 200);  // 65536 equal pixels total 0: pivot 128
    const Bytes src = SeededDib(333, 297, 8, 4);
    Block dib(BlockFrom(src)), flatDib(BlockFrom(flat));
    std::mt19937 random(3);
    for (int round = 0; round < 200; ++round) {
        const bool withHist = round % 3 != 0;
        const int x = static_cast<int>(random() % 80), y = static_cast<int>(random() % 41);
        ASSERT_EQ(withHist ? Compute(round == 1 ? flatDib.get() : dib.get(), hist.get(), round == 1 ? 0 : x, y) : 0, 0u);
        Counts counts;
        std::memcpy(counts.data(), BlockBytes(hist.get()).data(), 512);
        int c = static_cast<int>(random() % 1021) - 510, b = static_cast<int>(random() % 601) - 300;
        if (round % 7 == 0) c = static_cast<int>(random()), b = static_cast<int>(random());  // wrapping products
        if (round % 50 == 5) c = INT32_MAX - round;                                          // and slope
        SCOPED_TRACE(testing::Message() << "round " << round << " c " << c << " b " << b);
        DWORD error = 99;
        ASSERT_EQ(ComputeLUT(withHist ? hist.get() : round % 2 ? none.get() : nullptr, TABLE_COMPUTE, lut.get(), c, b, &error), lut.get());
        EXPECT_EQ(error, 0u);
        ASSERT_EQ(BlockBytes(lut.get()), Of(ModelLut(withHist ? &counts : nullptr, c, b)));
    }
    // Pivot 128: c = 0, b = 0 is the identity; c = -255 gives 128 + b everywhere, clamped.
    for (const auto& [c, b, level] : {std::array<int, 3>{0, 0, -1}, {-255, 0, 128}, {-255, 100, 228}, {-255, -200, 0}}) {
        ComputeLUT(nullptr, TABLE_COMPUTE, lut.get(), c, b, nullptr);
        EXPECT_EQ(BlockBytes(lut.get()), level < 0 ? Of(identity) : Bytes(256, static_cast<uint8_t>(level))) << c << " " << b;
    }
}

TEST_F(Tables, ApplyLutMatchesTheByteModel) {
    // width, height, biClrUsed, biSizeImage (-1: as built); negative widths set after building.
    const int64_t shapes[][4] = {{1, 1, 0, -1}, {1, 9, 0, -1},  {13, 1, 0, -1}, {37, 23, 0, 0},  {5, 4, 16, -1},
                                 {3, 2, 1, 0},  {29, 11, 300, -1}, {6, -4, 0, -1}, {9, 7, 0, 8}, {-5, 3, 0, -1},
                                 {19, 17, 2, 100}, {10, -3, 0, 0}, {64, 3, 256, -1}};
    std::mt19937 random(77);
    for (const auto& s : shapes)
        for (const BOOL newDib : {FALSE, TRUE}) {
            SCOPED_TRACE(testing::Message() << s[0] << "x" << s[1] << " clrUsed " << s[2] << " size " << s[3] << " new " << newDib);
            Bytes src = SeededDib(int32_t(std::abs(s[0])), int32_t(s[1]), 8, uint32_t(random()), uint32_t(s[2]));
            PutU32(src, 4, static_cast<uint32_t>(s[0]));
            if (s[3] >= 0) PutU32(src, 20, static_cast<uint32_t>(s[3]));
            Table table;
            for (auto& v : table) v = static_cast<uint8_t>(random());
            Block lut(BlockFrom(Of(table)));
            ExpectNewOrInPlace(src, newDib, ModelApply(src, table, newDib),
                               [&](HDIB dib, DWORD* error) { return ApplyLUT(dib, lut.get(), newDib, error); });
        }
}

TEST_F(Tables, ModesAndWhatTheyReturn) {
    HGLOBAL freed = Create(true);
    EXPECT_EQ(ComputeHistogram(nullptr, TABLE_FREE, Create(false), nullptr, nullptr), nullptr);
    EXPECT_EQ(ComputeLUT(nullptr, TABLE_FREE, freed, 0, 0, nullptr), freed);  // the handle it was given
    Block dib(BlockFrom(SeededDib(4, 4, 8, 1))), hist(Create(false));
    int origin[2] = {0, 0};
    for (int mode : {0, 29, 33, -31}) {
        DWORD errors[2] = {99, 99};
        EXPECT_EQ(ComputeHistogram(dib.get(), mode, hist.get(), origin, &errors[0]), nullptr);
        EXPECT_EQ(ComputeLUT(hist.get(), mode, hist.get(), 9, 9, &errors[1]), nullptr);
        EXPECT_EQ(errors[0] + errors[1], 0u);
    }
}

// Every refusal, in check order (a case failing two checks expects the first), leaves the
// counters, the stored origin, the table and the image as they were, and the image unlocked.
TEST_F(Tables, RefusalsInCheckOrder) {
    const Bytes good = SeededDib(300, 280, 8, 3);
    const std::pair<Bytes, DWORD> images[] = {
        {Cut(good, 39), IMGERR_PARAMETER}, {With(With(good, 0, 108), 16, 1), IMGERR_PARAMETER},
        {With(With(good, 16, 1), 14, 4 | 1 << 16), IMGERR_COMPRESSED}, {With(With(good, 14, 24), 4, 0), IMGERR_BITCOUNT},
        {With(good, 4, 0), IMGERR_DIBSIZE}, {With(good, 8, 0), IMGERR_DIBSIZE}, {Cut(good, good.size() - 1), IMGERR_DIBSIZE},
        {With(good, 32, 0x40000000), IMGERR_DIBSIZE}, {With(With(good, 4, 0x20000000), 8, 1), IMGERR_DIBSIZE},
        {With(With(good, 8, uint32_t(-280)), 20, 0), IMGERR_NOMEMORY},  // new DIB only: 32-bit size wraps
    };
    Block okDib(BlockFrom(good)), hist(Create(false)), lut(Create(true)), none(GlobalAlloc(GMEM_MOVEABLE, 0));
    Block shortHist(BlockFrom(Bytes(511, 0))), shortLut(BlockFrom(Bytes(255, 0)));
    ASSERT_EQ(Compute(okDib.get(), hist.get(), 20, 20), 0u);
    const Bytes counts = BlockBytes(hist.get()), identity = BlockBytes(lut.get());
    enum Call { kHistogram, kApplyInPlace, kApplyNew };
    struct Case { std::string what; Source source; int code; Call call; HGLOBAL table; };
    std::vector<Case> cases = {
        {"histogram: no image, no table", kNullHandle, 8, kHistogram, nullptr}, {"histogram: no table", good, 8, kHistogram, nullptr},
        {"histogram: no image", kNullHandle, 8, kHistogram, hist.get()},
        {"histogram: image unlockable", kUnlockable, 17, kHistogram, hist.get()},
        {"histogram: table unlockable", good, 17, kHistogram, none.get()},
        {"histogram: table short", good, 8, kHistogram, shortHist.get()},
        {"apply: no image, no table", kNullHandle, 8, kApplyNew, nullptr}, {"apply: no table", good, 8, kApplyNew, nullptr},
        {"apply: no image", kNullHandle, 8, kApplyInPlace, lut.get()},
        {"apply: image unlockable", kUnlockable, 17, kApplyInPlace, lut.get()},
        {"apply: table unlockable", good, 17, kApplyNew, none.get()},
        {"apply: table short", good, 8, kApplyInPlace, shortLut.get()},
    };
    for (const auto& [bytes, code] : images) {
        const std::string image = "image with code " + std::to_string(code);
        if (code != IMGERR_NOMEMORY) {
            cases.push_back({"histogram: " + image, bytes, int(code), kHistogram, hist.get()});
            cases.push_back({"apply in place, the image checked first: " + image, bytes, int(code), kApplyInPlace, none.get()});
        }
        cases.push_back({"apply new: " + image, bytes, int(code), kApplyNew, lut.get()});
    }
    ExpectRefusals(Reports::kCallerWord, cases, [](HDIB dib, const Case& c, DWORD* error) {
        int origin[2] = {0, 0};
        return c.call == kHistogram ? ComputeHistogram(dib, TABLE_COMPUTE, c.table, origin, error)
                                    : ApplyLUT(dib, c.table, c.call == kApplyNew, error);
    });
    int origin[2] = {0, 0};
    DWORD error = 99;
    EXPECT_EQ(ComputeHistogram(okDib.get(), TABLE_COMPUTE, hist.get(), nullptr, &error), nullptr);
    EXPECT_EQ(error, DWORD{IMGERR_PARAMETER});
    EXPECT_EQ(ComputeHistogram(nullptr, TABLE_COMPUTE, nullptr, origin, nullptr), nullptr);
    auto table = [&](HGLOBAL h, HGLOBAL t) { DWORD e = 99; EXPECT_EQ(ComputeLUT(h, TABLE_COMPUTE, t, 5, 5, &e), nullptr); return e; };
    const DWORD tableCodes[] = {table(nullptr, nullptr), table(shortHist.get(), lut.get()), table(nullptr, none.get()), table(nullptr, shortLut.get())};
    EXPECT_EQ(Bytes(std::begin(tableCodes), std::end(tableCodes)), Bytes({8, 8, 17, 8}));
    EXPECT_EQ(BlockBytes(hist.get()), counts);
    EXPECT_EQ(BlockBytes(lut.get()), identity);
    EXPECT_EQ(BlockBytes(okDib.get()), good);
    // The origin is still (20, 20): asking for it with another image reads nothing.
    Block other(BlockFrom(SeededDib(300, 280, 8, 4)));
    EXPECT_EQ(Compute(other.get(), hist.get(), 20, 20), 0u);
    EXPECT_EQ(BlockBytes(hist.get()), counts);
}

}  // namespace
