// CompressDIB and ExpandCompressedDIB: both exports against plain models of the documented steps
// (an encoder looking at one byte at a time, a decoder writing one pixel at a time that never
// stops early) on random images and streams; worked streams for the encoder's quirks; the effect
// of each kind of hostile stream; refusals; RLE8 files by ImageMagick against uncompressed twins.

#include <algorithm>
#include <cmath>
#include <iterator>
#include <initializer_list>
#include <random>

#include "export_calls.hpp"
#include "formats/rle_codec.hpp"
#include "pixels.hpp"

using namespace vxtest;

namespace {

uint32_t Offset(int bits) { return 40 + (4u << bits); }
uint32_t Rle(int bits) { return bits == 8 ? 1 : 2; }  // biCompression

// Header, a full colour table, then `data`; biSizeImage is the size of `data`.
Bytes Dib(int32_t w, int32_t h, uint16_t bits, uint32_t compression, const Bytes& data) {
    Bytes b = PackedDib({w, h, bits, 0, false, 1, -1, 0, 1, uint32_t(data.size())});
    PutU32(b, 16, compression);
    return b.insert(b.end(), data.begin(), data.end()), b;
}

// Calls an export on a block holding `bytes`: the result block, empty when there is none.
Bytes Call(HDIB (*op)(HDIB), const Bytes& bytes) { return CallOn(bytes, op).result; }

// The encoder's steps for one row; p(i) is the i-th byte from the row's start.
template <typename At>
void PlainRow(int bits, uint32_t w, At p, Bytes& o) {
    auto put = [&](std::initializer_list<int> v) { o.insert(o.end(), v.begin(), v.end()); };
    const uint32_t unit = bits == 8 ? 1 : 2;  // pixels per byte
    for (uint32_t r = w, i = 0, k; r != 0; i += k, r -= k * unit) {
        if (r < 3) {
            if (bits == 4) put({int(r), p(i)});
            else if (p(i) == p(i + 1)) put({2, p(i)});
            else put({1, p(i), 1, p(i + 1)});
            return;
        }
        const uint32_t m = bits == 8 ? std::min(r, 250u) : (r & ~1u) > 250 ? 125 : r / 2;
        if (p(i) == p(i + 1)) {
            for (k = 1; k < m && p(i + k) == p(i);) ++k;
            put({int(k * unit), p(i)});
        } else if (p(i + 1) == p(i + 2)) {
            put({int(unit), p(i)}), k = 1;
        } else if (p(i + 2) == p(i + 3)) {
            put({int(unit), p(i), int(unit), p(i + 1)}), k = 2;
        } else {
            k = 2;
            if (bits == 8 || m > 2) do {
                    if (p(i + k) == p(i + k + 1)) break;
                } while (++k < m);
            put({0, int(k * unit)});
            for (uint32_t t = 0; t < k; ++t) put({p(i + t)});
            if (k & 1) put({0xFF});
        }
        if (k * unit > r) return;  // three 4-bit pixels were left and four were written
    }
}

Bytes PlainCompress(const Bytes& dib) {
    const int bits = GetU16(dib, 14);
    const uint32_t w = GetU32(dib, 4), h = GetU32(dib, 8);
    Bytes out(dib.begin(), dib.begin() + Offset(bits)), stream;
    for (size_t y = 0, row = out.size(); y < h; ++y, row += Stride(w, bits)) {
        PlainRow(bits, w, [&](uint32_t i) { return row + i < dib.size() ? int(dib[row + i]) : 0; }, stream);
        stream.insert(stream.end(), {0, 0});
    }
    stream.insert(stream.end(), {0, 1});
    out.insert(out.end(), stream.begin(), stream.end());
    PutU32(out, 16, Rle(bits));
    PutU32(out, 20, uint32_t(stream.size()));
    return out;
}

// The decoder's steps, one pixel at a time; rows past the height are decoded and dropped.
Bytes PlainExpand(const Bytes& dib) {
    const int bits = GetU16(dib, 14);
    const int64_t w = int32_t(GetU32(dib, 4)), h = int32_t(GetU32(dib, 8)), stride = Stride(w, bits);
    const uint32_t image = Stride(w, bits) * GetU32(dib, 8);
    Bytes out(Offset(bits) + size_t{image});
    std::copy(dib.begin(), dib.begin() + Offset(bits), out.begin());
    PutU32(out, 16, 0);
    PutU32(out, 20, image);
    auto in = [&](size_t i) { return i < dib.size() ? int(dib[i]) : 0; };
    auto set = [&](int64_t x, int64_t y, int v) {
        if (y >= h) return;
        uint8_t* row = &out[size_t(Offset(bits) + y * stride)];
        bits == 8 ? vx::SetPixel<8>(row, uint64_t(x), uint32_t(v)) : vx::SetPixel<4>(row, uint64_t(x), uint32_t(v));
    };
    int64_t x = 0, y = 0;
    for (size_t pos = Offset(bits); pos < dib.size();) {
        const int a = in(pos), b = in(pos + 1), n = a ? a : b;
        pos += 2;
        if (a == 0 && b < 3) {
            if (b == 1) break;
            if (b == 0) ++y, x = 0;
            else x += in(pos), y += in(pos + 1), pos += 2;
            continue;
        }
        const int64_t cut = bits == 8 ? std::min<int64_t>(n, w - x) : n;  // RLE4 stops at the width
        for (int i = 0; i < cut; ++i) {
            const int byte = a ? b : in(pos + size_t(bits == 8 ? i : i / 2));
            if (bits == 8) set(x + i, y, byte);
            else if (x < w) set(x++, y, i % 2 ? byte & 15 : byte >> 4);
        }
        if (bits == 8) x = x + cut == w ? 0 : x + cut;
        if (a == 0) pos += size_t(bits == 8 ? (n + 1) / 2 * 2 : ((n + 1) / 2 + 1) / 2 * 2);
    }
    return out;
}

// Bytes from a small alphabet, an alternation, long runs with breaks, or noise.
Bytes RandomBytes(std::mt19937& rnd, size_t n, int kind) {
    Bytes b(n);
    for (size_t i = 0; i < n; ++i)
        b[i] = uint8_t(kind == 0 ? rnd() % 3 : kind == 1 ? 0x5A + (i % 2) : kind == 2 && i && rnd() % 40 ? b[i - 1] : rnd());
    return b;
}

TEST(CompressDIB, WorkedStreams) {
    struct Case { uint16_t bits; int32_t w, h; Bytes rows, stream; };
    const Case cases[] = {
        // Width 1: two pixels per row, the second being the byte after the pixel.
        {8, 1, 2, {5, 5, 0, 0, 7, 0, 0, 0}, {2, 5, 0, 0, 1, 7, 1, 0, 0, 0, 0, 1}},
        // The byte after a row is the next row's first pixel, or 0 past the block.
        {8, 4, 2, {1, 2, 3, 4, 4, 5, 6, 0}, {0, 3, 1, 2, 3, 0xFF, 2, 4, 0, 0, 0, 3, 4, 5, 6, 0xFF, 2, 0, 0, 0, 0, 1}},
        // Three 4-bit pixels left: four are written and the row ends.
        {4, 3, 1, {0x12, 0x34, 0, 0}, {2, 0x12, 2, 0x34, 0, 0, 0, 1}},
        {4, 3, 1, {0x12, 0x34, 0x56, 0x78}, {0, 4, 0x12, 0x34, 0, 0, 0, 1}},
        // No pixels: end-of-line codes only, more than the historic scratch block held.
        {8, 0, 3, {}, {0, 0, 0, 0, 0, 0, 0, 1}}, {4, 9, 0, {}, {0, 1}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.bits << "-bit " << c.w << "x" << c.h);
        ExpectResult(Dib(c.w, c.h, c.bits, 0, c.rows), Dib(c.w, c.h, c.bits, Rle(c.bits), c.stream), false, CompressDIB);
    }
    // Width 4, each row's last pixel equal to the next row's first: ten bytes a row, more than the
    // historic scratch block of (height + 1) * stride * 2 + 2 bytes.
    Bytes rows;
    for (uint8_t y = 0; y < 20; ++y) rows.insert(rows.end(), {uint8_t(3 * y), uint8_t(3 * y + 1), uint8_t(3 * y + 2), uint8_t(3 * y + 3)});
    EXPECT_GT(GetU32(Call(CompressDIB, Dib(4, 20, 8, 0, rows)), 20), (20u + 1) * 4 * 2 + 2);
}

TEST(CompressDIB, MatchesThePlainEncoder) {
    std::mt19937 rnd(2024);
    std::vector<int> widths{249, 250, 251, 252, 253, 300, 500, 501, 502, 777};
    for (int w = 1; w <= 40; ++w) widths.push_back(w);
    for (int bits : {8, 4})
        for (int w : widths)
            for (int kind = 0; kind < 4; ++kind) {
                SCOPED_TRACE(testing::Message() << bits << "-bit width " << w << " kind " << kind);
                const int h = 1 + int(rnd() % 3);
                Bytes dib = Dib(w, h, uint16_t(bits), 0, RandomBytes(rnd, size_t(Stride(w, bits)) * h, kind));
                if (rnd() % 2) dib.push_back(uint8_t(rnd()));  // slack: the byte after the last row
                EXPECT_EQ(Call(CompressDIB, dib), PlainCompress(dib));
            }
}

// Every row of up to 6 (8-bit) or 9 (4-bit) pixels over three byte values, with the bytes the
// encoder reads past it: the codes of the plain steps, never longer than the working memory allows.
TEST(CompressDIB, EveryShortRowStaysWithinItsBound) {
    for (int bits : {8, 4})
        for (uint32_t w = 1; w <= (bits == 8 ? 6u : 9u); ++w) {
            const uint32_t n = bits == 8 ? w + 1 : (w + 1) / 2 + 2;
            for (uint32_t c = 0, combos = uint32_t(std::pow(3, n)); c < combos; ++c) {
                Bytes row(n), want, got(64);
                for (uint32_t i = 0, v = c; i < n; ++i, v /= 3) row[i] = uint8_t(0x11 * (v % 3));
                PlainRow(bits, w, [&](uint32_t i) { return int(row.at(i)); }, want);
                got.resize(bits == 8 ? vx::formats::EncodeRle8Row(row.data(), w, got.data())
                                     : vx::formats::EncodeRle4Row(row.data(), w, got.data()));
                ASSERT_EQ(got, want) << bits << "-bit width " << w << " combination " << c;
                ASSERT_LE(got.size(), bits == 8 ? vx::formats::MaxRle8RowBytes(w) : vx::formats::MaxRle4RowBytes(w));
            }
        }
}

// The fast 8-bit steps at every instruction level the processor offers, on rows whose codes
// reach the edges of their 57-mark window, their 32-byte copy and the 250-pixel cap, with
// noise past row[width], which must decide nothing: each row's codes are the plain steps',
// alone and paired with another row.
TEST(CompressDIB, FastStepsMatchThePlainStepsAtEveryLevel) {
    std::mt19937 rnd(4242);
    const uint32_t edges[] = {1, 2, 3, 4, 31, 32, 33, 34, 55, 56, 57, 58, 63, 64, 65, 249, 250, 251};
    using vx::SimdLevel;
    for (const SimdLevel level : {SimdLevel::kScalar, SimdLevel::kSse2, SimdLevel::kAvx2}) {
        if (!vx::SimdAllows(level)) continue;
        for (int trial = 0; trial < 300; ++trial) {
            // Runs and literal groups of edge lengths, then noise; widths up to about 700.
            Bytes rows[2];
            for (Bytes& row : rows) {
                for (int part = int(rnd() % 8); part > 0; --part) {
                    const uint32_t n = edges[rnd() % std::size(edges)];
                    const Bytes piece = rnd() % 2 ? Bytes(n, uint8_t(rnd() % 3)) : RandomBytes(rnd, n, 3);
                    row.insert(row.end(), piece.begin(), piece.end());
                }
                row.resize(std::max<size_t>({row.size(), rows[0].size(), 2}), uint8_t(rnd()));
            }
            const uint32_t w = uint32_t(rows[0].size()) - 1;  // the last byte is the one after the row
            SCOPED_TRACE(testing::Message() << "level " << int(level) << " trial " << trial << " width " << w);
            Bytes want[2], got[2], marks[2];
            for (int r = 0; r < 2; ++r) {
                rows[r].resize(w + 1 + vx::formats::kRle8RowSlack);
                std::generate(rows[r].begin() + w + 1, rows[r].end(), [&] { return uint8_t(rnd()); });
                PlainRow(8, w, [&](uint32_t i) { return int(rows[r][i]); }, want[r]);
                marks[r].assign(8 * vx::formats::Rle8MarkWords(w), 0);
                vx::formats::MarkEqualNeighbours(rows[r].data(), w, reinterpret_cast<uint64_t*>(marks[r].data()), level);
                got[r].assign(vx::formats::MaxRle8RowBytes(w) + vx::formats::kRle8RowSlack, 0);
            }
            auto marksOf = [&](int r) { return reinterpret_cast<const uint64_t*>(marks[r].data()); };
            got[0].resize(vx::formats::EncodeRle8Marked(rows[0].data(), w, marksOf(0), got[0].data()));
            ASSERT_EQ(got[0], want[0]);
            Bytes paired[2] = {Bytes(got[1].size()), got[1]};
            const auto [first, second] = vx::formats::EncodeRle8MarkedPair(
                w, {rows[0].data(), marksOf(0), paired[0].data()}, {rows[1].data(), marksOf(1), paired[1].data()});
            paired[0].resize(first), paired[1].resize(second);
            ASSERT_EQ(paired[0], want[0]);
            ASSERT_EQ(paired[1], want[1]);
        }
    }
}

// What the documented cuts, wraps and skips do to a 5 x 2 picture, through the export and
// through the plain decoder, which the random streams below compare against.
TEST(ExpandCompressedDIB, HostileStreamsHaveTheirDocumentedEffect) {
    struct Case { const char* what; uint16_t bits; Bytes stream, rows; };  // rows: bottom first, 5 pixels, padded
    const Case cases[] = {
        {"a run past the row is cut; x wraps to column 0, same row", 8, {9, 7, 2, 3, 0, 1}, {3, 3, 7, 7, 7, 0, 0, 0}},
        {"one pixel, then the byte after it over column 0", 8, {3, 4, 1, 5, 1, 6, 1, 7}, {7, 4, 4, 5, 6, 0, 0, 0}},
        {"delta right of the row: the next run writes nothing, x back to 0", 8, {0, 2, 9, 0, 3, 8, 2, 6}, {6, 6, 0, 0, 0, 0, 0, 0}},
        {"literal cut at the row's end, input skips all of it", 8, {0, 7, 1, 2, 3, 4, 5, 6, 7, 0xFF, 0, 0, 0, 3, 8, 9, 1, 0xFF, 1, 4},
         {1, 2, 3, 4, 5, 0, 0, 0, 8, 9, 1, 4, 0, 0, 0, 0}},
        {"a last odd byte is a run of zeros", 8, {5, 9, 3}, {0, 0, 0, 9, 9, 0, 0, 0}},
        {"4-bit runs alternate and stop at the row's end", 4, {1, 0x9A, 7, 0x12, 3, 0x34, 0, 0, 3, 0x56},
         {0x91, 0x21, 0x20, 0, 0x56, 0x50, 0, 0}},
        {"4-bit literal from an odd column, cut", 4, {1, 0x70, 0, 6, 0x12, 0x34, 0x56, 0, 0, 0, 0, 2, 0, 1, 2, 0xAB},
         {0x71, 0x23, 0x40, 0}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Bytes rows = c.rows;
        rows.resize(2 * Stride(5, c.bits), 0);
        const Bytes source = Dib(5, 2, c.bits, Rle(c.bits), c.stream), expected = Dib(5, 2, c.bits, 0, rows);
        EXPECT_EQ(Call(ExpandCompressedDIB, source), expected);
        EXPECT_EQ(PlainExpand(source), expected);
    }
}

// What the encoder writes decodes to the image again. Rows are made so that the byte after
// a row's last pixel never changes that pixel on the way back: the padding is zero, and an
// 8-bit row ending on a lone pixel ends on the value the two-pixel emission reads after it.
TEST(RleRoundTrip, PixelsComeBack) {
    std::mt19937 rnd(77);
    for (int bits : {8, 4})
        for (int w : {1, 2, 3, 4, 5, 7, 8, 13, 31, 64, 251, 333})
            for (int kind = 0; kind < 4; ++kind) {
                SCOPED_TRACE(testing::Message() << bits << "-bit width " << w << " kind " << kind);
                const uint32_t stride = Stride(w, bits), used = uint32_t(w * bits + 7) / 8;
                Bytes rows = RandomBytes(rnd, size_t(stride) * 4, kind);
                for (uint8_t* row = rows.data(); row < rows.data() + rows.size(); row += stride) {
                    std::fill(row + used, row + stride, 0);
                    if (bits == 4 && w % 2) row[used - 1] &= 0xF0;
                    if (bits == 8) row[w - 1] = used < stride || row + stride == rows.data() + rows.size() ? 0 : row[stride];
                }
                const Bytes plain = Dib(w, 4, uint16_t(bits), 0, rows);
                EXPECT_EQ(Call(ExpandCompressedDIB, Call(CompressDIB, plain)), plain);
            }
}

// A random stream of every kind of code; `wide` gives more codes, longer runs and groups.
Bytes RandomStream(std::mt19937& rnd, int bits, bool wide) {
    const uint32_t longest = wide ? 70 : 20;
    Bytes s;
    for (int codes = int(rnd() % (wide ? 400 : 60)); codes > 0; --codes) {
        const uint32_t pick = rnd() % (wide ? 40 : 16), n = pick % 16 < 14 ? 3 + rnd() % longest : 3 + rnd() % 253;
        if (pick < 7 || pick >= 16) s.insert(s.end(), {uint8_t(pick % 8 < 5 ? 1 + rnd() % longest : 1 + rnd() % 255), uint8_t(rnd())});
        else if (pick < 10) s.insert(s.end(), {0, 0});
        else if (pick < 12) s.insert(s.end(), {0, 2, uint8_t(rnd() % 50), uint8_t(rnd() % 3 ? 0 : rnd() % 4)});
        else if (pick < 15) s.push_back(0), s.push_back(uint8_t(n)), s.resize(s.size() + ((bits == 8 ? n : (n + 1) / 2) + 1) / 2 * 2, uint8_t(rnd()));
        else s.insert(s.end(), {0, 1});
    }
    if (rnd() % 4 == 0) s.resize(rnd() % (s.size() + 1));
    return s.empty() ? Bytes{0} : s;
}

// Small pictures reach the exact steps; wide ones mostly the 8-bit decoder's 32-byte stores
// and what it zeroes around them (a row left early, skipped by a delta, or never reached).
TEST(ExpandCompressedDIB, MatchesThePlainDecoderOnRandomStreams) {
    std::mt19937 rnd(31337);
    for (int trial = 0; trial < 4000; ++trial) {
        SCOPED_TRACE(testing::Message() << "trial " << trial);
        const int bits = trial % 2 ? 4 : 8;
        const bool wide = trial % 4 >= 2;
        const Bytes s = RandomStream(rnd, bits, wide);
        const int width = wide ? 100 + int(rnd() % 600) : int(rnd() % 40);
        const Bytes source = Dib(width, 1 + int(rnd() % 6), uint16_t(bits), Rle(bits), s);
        ASSERT_EQ(Call(ExpandCompressedDIB, source), PlainExpand(source));
    }
}

// The 8-bit decoder writes every byte of its rows, padding included, so rows that hold
// anything beforehand come out as the plain decoder's zero-filled ones.
TEST(ExpandCompressedDIB, TheRle8DecoderNeedsNoZeroFill) {
    std::mt19937 rnd(99);
    for (int trial = 0; trial < 500; ++trial) {
        SCOPED_TRACE(testing::Message() << "trial " << trial);
        const Bytes s = RandomStream(rnd, 8, trial % 2);
        const int width = 1 + int(rnd() % 700), height = 1 + int(rnd() % 6);
        const Bytes want = PlainExpand(Dib(width, height, 8, 1, s));
        Bytes rows(want.size() - Offset(8), 0xCD);
        vx::formats::DecodeRle8(s.data(), s.size(), {rows.data(), Stride(width, 8), width, height});
        ASSERT_TRUE(std::equal(rows.begin(), rows.end(), want.begin() + Offset(8)));
    }
}

// The marks of equal neighbours at every level the processor offers, against the rule itself,
// at widths around the 8-, 16- and 32-pixel steps.
TEST(CompressDIB, MarksOfEqualNeighboursAtEveryLevel) {
    std::mt19937 rnd(5);
    using vx::SimdLevel;
    for (const SimdLevel level : {SimdLevel::kScalar, SimdLevel::kSse2, SimdLevel::kAvx2})
        for (uint32_t w = 1; w <= 130 && vx::SimdAllows(level); ++w) {
            const Bytes row = RandomBytes(rnd, w + vx::formats::kRle8RowSlack, 0);
            std::vector<uint64_t> marks(vx::formats::Rle8MarkWords(w));
            vx::formats::MarkEqualNeighbours(row.data(), w, marks.data(), level);
            for (uint32_t i = 0; i < w; ++i)
                ASSERT_EQ(marks[i / 64] >> (i % 64) & 1, uint64_t{row[i] == row[i + 1]}) << int(level) << " " << w << " " << i;
        }
}

TEST(RleRefusals, CodesInOrder) {
    const auto cut = [](Bytes b) { return b.resize(1000), b; };  // inside the colour table
    const int P = IMGERR_PARAMETER;
    const struct { const char* what; Source source; bool expand; int code; } cases[] = {
        {"empty block", Bytes{}, false, P}, {"null handle", kNullHandle, false, P},
        {"already compressed", Dib(4, 1, 8, 1, {2, 1, 0, 1}), false, P}, {"1-bit", Dib(4, 1, 1, 0, Bytes(4)), false, P},
        {"negative width", Dib(-4, 1, 8, 0, Bytes(4)), false, P}, {"negative height", Dib(4, -1, 8, 0, Bytes(4)), false, P},
        {"a row missing", Dib(4, 2, 8, 0, {1, 2, 3, 4}), false, P},
        {"table cut short", cut(Dib(4, 1, 8, 0, {1, 2, 3, 4})), false, P},
        {"header cut short", Bytes(39), true, P}, {"null handle", kNullHandle, true, P},
        {"not compressed", Dib(4, 1, 8, 0, Bytes(4)), true, P}, {"RLE8 on 4 bits", Dib(4, 1, 4, 1, {0, 1}), true, P},
        {"RLE4 on 8 bits", Dib(4, 1, 8, 2, {0, 1}), true, P}, {"bit fields", Dib(4, 1, 8, 3, {0, 1}), true, P},
        {"no pixel size", Dib(4, 1, 8, 1, {}), true, P}, {"table cut short", cut(Dib(4, 1, 8, 1, {0, 1})), true, P},
        {"negative height", Dib(4, -1, 8, 1, {0, 1}), true, P},
        {"result past 4 GiB", Dib(70000, 70000, 8, 1, {0, 1}), true, IMGERR_NOMEMORY},
        {"row size wraps 32 bits", Dib(0x20000000, 1, 8, 1, {0, 1}), true, IMGERR_NOMEMORY},
    };
    ExpectRefusals(Reports::kModuleCode, cases,
                   [](HDIB dib, const auto& c, auto) { return c.expand ? ExpandCompressedDIB(dib) : CompressDIB(dib); });
}

const struct { const char *name, *rle, *plain; } kTwins[] = {
#include "rle_data/twins.inc"
};

Bytes LoadHex(const TempDir& dir, const char* hex) {
    Bytes file;
    for (; hex[0] && hex[1]; hex += 2) file.push_back(uint8_t(std::stoi(std::string(hex, 2), nullptr, 16)));
    Block dib(LoadDIBFromFile(dir.write("twin.bmp", file).c_str()));
    return dib ? BlockBytes(dib.get()) : Bytes{};
}

// ImageMagick writes RLE8 only (pictures of up to 16 colours get 4-bit twins), and codes each
// row's padding bytes as pixels of index 0. Where those are coded apart from the row's last run,
// x has come back to column 0 and they land on the row's first columns (the 37-pixel picture).
TEST(ExpandCompressedDIB, FilesFromOtherSoftwareMatchTheirUncompressedTwins) {
    const TempDir dir;
    for (const auto& t : kTwins) {
        SCOPED_TRACE(t.name);
        const Bytes rle = LoadHex(dir, t.rle), plain = LoadHex(dir, t.plain);
        ASSERT_TRUE(rle.size() > 54 && plain.size() > 54 && GetU32(rle, 16) == 1);
        const int w = int(GetU32(plain, 4)), h = int(GetU32(plain, 8)), bits = GetU16(plain, 14);
        const Bytes got = Call(ExpandCompressedDIB, rle);  // header and table: see the plain decoder
        ASSERT_EQ(got.size(), Offset(8) + Stride(w, 8) * h);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const uint8_t* row = &plain[Offset(bits) + size_t(Stride(w, bits)) * y];
                const uint32_t twin = bits == 8 ? vx::GetPixel<8>(row, x) : vx::GetPixel<4>(row, x);
                const uint8_t pixel = got[Offset(8) + size_t(Stride(w, 8)) * y + x];
                ASSERT_TRUE(pixel == twin || (x < int(Stride(w, 8)) - w && pixel == 0)) << x << "," << y;
            }
    }
}

}  // namespace
