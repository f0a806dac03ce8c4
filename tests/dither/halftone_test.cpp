// Halftone against a literal model of its whole-image planes, its screen against the
// published tables, and its error-cell, lock and refusal contracts.

#include "export_calls.hpp"

using namespace vxtest;

namespace {

using Grid = std::vector<std::vector<int>>;

Grid ModelScreen() {
    Grid m = {{0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};
    for (int h = 4; h < 16; h *= 2) {
        Grid d(2 * h, std::vector<int>(2 * h));
        for (int r = 0; r < 2 * h; ++r)
            for (int c = 0; c < 2 * h; ++c) d[r][c] = 4 * m[r % h][c % h] + (r < h ? (c < h ? 0 : 2) : (c < h ? 3 : 1));
        m = d;
    }
    return m;
}

// The whole result block, through three planes of L x height entries, one error block of
// 16L + 420 bytes whose rows (L + 20 entries) start 6 entries in, and a packing pass.
Bytes ModelHalftone(const Bytes& src, int mode, int brightness) {
    const int64_t W = int32_t(GetU32(src, 4)), H = int32_t(GetU32(src, 8)), bits = src[14], used = GetU32(src, 32);
    const size_t table = GetU32(src, 0), pix = table + 4 * (used ? used : bits == 4 ? 16 : bits == 8 ? 256 : 0);
    const size_t stride = (bits * W + 31) / 32 * 4, L = bits == 4 ? 2 * stride : stride, P8 = (W * 8 + 31) / 32 * 4;
    auto at = [&](size_t i) -> int { return i < src.size() ? src[i] : 0; };
    std::vector<int> R(L * H), G(L * H), B(L * H);
    for (size_t p = 0; p < L * H && bits != 24; ++p) {
        const size_t e = table + 4 * (bits == 8 ? at(pix + p) : at(pix + p / 2) >> (p % 2 ? 0 : 4) & 15);
        B[p] = at(e), G[p] = at(e + 1), R[p] = at(e + 2);
    }
    for (size_t r = 0; r < size_t(H) && bits == 24; ++r)
        for (size_t c = 0, o = pix + r * stride; c < P8; ++c, o += 3)
            B[r * P8 + c] = at(o), G[r * P8 + c] = at(o + 1), R[r * P8 + c] = at(o + 2);
    const Grid screen = ModelScreen();
    for (size_t p = 0; p < L * H; ++p) {
        R[p] = std::clamp((30 * R[p] + 59 * G[p] + 11 * B[p]) / 100 + brightness, 0, 255);
        if (mode == 2) R[p] = R[p] > screen[p / L % 16][p % L % 16] ? 255 : 0;
        if (mode == 0) R[p] = R[p] < 129 ? 0 : 255;
    }
    const size_t outStride = (W + 31) / 32 * 4;
    Bytes out(48 + outStride * H);
    const uint32_t header[12] = {40, uint32_t(W), uint32_t(H), 1 | 1 << 16, 0, uint32_t(outStride * H),
                                 GetU32(src, 24), GetU32(src, 28), 2, 0, 0, 0xFFFFFF};
    for (int i = 0; i < 12; ++i) PutU32(out, 4 * i, header[i]);
    auto setBit = [&](size_t y, size_t x) { out.at(48 + y * outStride + x / 8) |= uint8_t(0x80 >> x % 8); };
    std::vector<int32_t> err((16 * L + 420) / 4);
    const size_t cur = 6, next = cur + L + 20, after = next + L + 20;
    for (size_t y = 0; y < size_t(H); ++y) {
        for (size_t x = 0; x < size_t(W); ++x) {
            if (mode != 1 && R[y * L + x] != 0) setBit(y, x);
            if (mode == 1) err[cur + x] += R[y * L + x];
        }
        for (size_t x = 0; x < size_t(W) && mode == 1; ++x) {
            const int32_t v = err[cur + x], e = v > 128 ? v - 255 : v;
            if (v > 128) setBit(y, x);
            if (e == 0) continue;
            err[cur + x + 1] += e * 7 / 48, err[cur + x + 2] += e * 5 / 48;
            const int nextShare[5] = {3, 5, 7, 5, 3}, afterShare[5] = {1, 3, 5, 3, 1};
            for (int k = 0; k < 5; ++k)
                err[next + x + k - 2] += e * nextShare[k] / 48, err[after + x + k - 2] = e * afterShare[k] / 48;
        }
        std::copy_n(err.begin() + next, L, err.begin() + cur);
        std::copy_n(err.begin() + after, L, err.begin() + next);
    }
    return out;
}

// One call on a block holding `src`, the error cell set beforehand to 0xBEEF.
Outcome HalftoneOf(const Source& src, int mode, int brightness, WORD* cell = nullptr) {
    if (cell) *cell = 0xBEEF;
    return CallOn(src, [&](HDIB dib) { return Halftone(dib, static_cast<WORD>(mode), brightness, cell); });
}

// An 8-bit DIB whose table maps every index to one gray, or index i to gray i (gray < 0).
Bytes GrayDib(int width, int height, int gray) {
    Bytes src = PackedDib({width, height, 8, 0, false, 1});
    for (int i = 0; i < 256; ++i) std::fill_n(src.begin() + 40 + 4 * i, 3, uint8_t(gray < 0 ? i : gray));
    return src;
}

TEST(Halftone, MatchesThePlaneModelOnRandomSourcesForEveryModeAndBrightness) {
    const int sizes[][2] = {{1, 1}, {3, 2}, {7, 1}, {9, 2}, {17, 1}, {33, 2}, {1, 6}, {13, 9}, {45, 37}, {64, 3}, {95, 2}, {40000, 2}};
    uint32_t seed = 7;
    for (int bits : {4, 8, 24})
        for (const auto& size : sizes) {
            // Some sources carry bytes after their rows (read by 24-bit rows that run past the
            // width), some a short colour table (looked up into the pixels).
            Bytes src = PackedDib({size[0], size[1], uint16_t(bits), bits == 8 && ++seed % 3 == 0 ? 20u : 0u, false, seed});
            if (seed % 2) src.insert(src.end(), 7, 0xEE);
            PutU32(src, 24, seed), PutU32(src, 28, ~seed);
            for (int mode : {0, 1, 2})
                for (int brightness : {-300, -255, -17, 0, 40, 255, 300}) {
                    SCOPED_TRACE(::testing::Message() << bits << "-bit " << size[0] << "x" << size[1] << " seed "
                                                      << seed << " mode " << mode << " brightness " << brightness);
                    WORD cell;
                    const Outcome o = HalftoneOf(src, mode, brightness, &cell);
                    ASSERT_NO_FATAL_FAILURE(ExpectSameBytes(o.result, ModelHalftone(src, mode, brightness)));
                    // A success reports nothing, leaves the module code alone and unlocks the source.
                    EXPECT_TRUE(cell == 0xBEEF && o.moduleCode == kUntouched && o.sourceUnchanged && !o.sourceLocked);
                }
        }
}

// The model's screen, which the model comparison reads through the export, against the
// published tables.
TEST(Halftone, OrderedScreenIsTheDoubledSeed) {
    const Grid screen = ModelScreen();
    EXPECT_EQ(screen[0], (std::vector<int>{0, 128, 32, 160, 8, 136, 40, 168, 2, 130, 34, 162, 10, 138, 42, 170}));
    EXPECT_EQ(screen[8], (std::vector<int>{3, 131, 35, 163, 11, 139, 43, 171, 1, 129, 33, 161, 9, 137, 41, 169}));
}

TEST(Halftone, TwentyFourBitRowsAreLoadedAndReadAtDifferentStrides) {
    // 24 bits, width 4: rows are loaded 4 slots apart and read 12 apart, so output row y shows
    // source row 3y while 3y < 6, and the zero-filled planes (black) above.
    Bytes src = PackedDib({4, 6, 24, 0, false, 3});
    for (int r = 0; r < 6; ++r) std::fill_n(src.begin() + 40 + 12 * r, 12, uint8_t(r % 3 ? 0 : 255));
    PutU32(src, 16, 1);  // biCompression is not read
    const Bytes b = HalftoneOf(src, 0, 0).result;
    for (int y = 0; y < 6; ++y) EXPECT_EQ(b.at(48 + 4 * y), y < 2 ? 0xF0 : 0) << "row " << y;
}

TEST(Halftone, DiffusionStoresOneThreeFiveThreeOneTwoRowsAhead) {
    // Row 0: 128 (black, error 128), then pixels its shares bring to exactly 255 (error 0, so
    // nothing is written): two rows ahead keep 5, 3, 1 x 128 / 48 = 13, 8, 2 at columns 0..2.
    // Row 1 is brought to 255 throughout; row 2 reads those values back at one probe column.
    for (const int probe : {121, 126}) {  // 121 + 8 > 128 at column 1; 126 + 2 = 128 at column 2
        Bytes src = GrayDib(6, 3, -1);
        const int rows[3][6] = {{128, 237, 242, 255, 255, 255}, {237, 242, 247, 255, 255, 255},
                                {242, probe == 121 ? 121 : 247, probe == 121 ? 0 : 126, 255, 255, 255}};
        for (int i = 0; i < 18; ++i) src.at(1064 + 8 * (i / 6) + i % 6) = uint8_t(rows[i / 6][i % 6]);
        const Bytes b = HalftoneOf(src, 1, 0).result;
        EXPECT_EQ(b, ModelHalftone(src, 1, 0));
        EXPECT_EQ(b.at(48 + 8) & 0xE0, 0xC0) << "row 2 starts white, white, black; probe " << probe;
    }
}

TEST(Halftone, RefusalsGoToTheCellInOrderAndLeaveTheModuleCodeAlone) {
    const Bytes good = GrayDib(8, 4, 50);
    const int P = IMGERR_PARAMETER, M = IMGERR_NOMEMORY;
    struct Case { const char* what; Source source; int mode, code; bool leftLocked = false; };
    const Case cases[] = {
        {"mode 3", good, 3, P}, {"mode 0xFFFF before depth", With(good, 14, 1), 0xFFFF, P},
        {"1 bit", With(good, 14, 1), 0, P, true}, {"16 bits", With(good, 14, 16), 1, P, true},
        {"32 bits", With(good, 14, 32), 2, P, true}, {"negative width", With(good, 4, uint32_t(-8)), 0, P},
        {"top-down", With(good, 8, uint32_t(-4)), 0, P}, {"width 0", With(good, 4, 0), 0, M},
        {"height 0", With(good, 8, 0), 1, M}, {"planes of 2^32 bytes", With(With(good, 4, 70000), 8, 70000), 0, M},
        {"rows past the block", Cut(good, good.size() - 1), 0, P}, {"table past the block", With(good, 32, 300), 2, P},
        {"header only", Cut(good, 20), 0, P}, {"null handle", kNullHandle, 0, P}, {"unlockable", kUnlockable, 0, M},
        {"mode 3, before the lock", kUnlockable, 3, P},
    };
    ExpectRefusals(Reports::kCallerWord, cases, [](HDIB dib, const Case& c, DWORD* word) {
        WORD cell = 0xBEEF;
        HDIB out = Halftone(dib, static_cast<WORD>(c.mode), 0, &cell);
        *word = cell;
        return out;
    });
    EXPECT_EQ(HalftoneOf(good, 3, 0).moduleCode, kUntouched);  // without a cell nothing is reported
}

}  // namespace
