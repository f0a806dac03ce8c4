// Quarter turns, half turn and flips: every byte of the result against a per-pixel reference
// written from the documented loops, and refused blocks.

#include <functional>

#include "export_calls.hpp"
#include "geometry/orthogonal.hpp"
#include "pixels.hpp"

using namespace vxtest;
using vx::GetPixel;
using vx::SetPixel;

namespace {

struct Shape { int32_t width, height; uint16_t bits, planes = 1; uint32_t biSize = 40, clrUsed = 0; };

// Header (biSize as given), the table the library reads after it, and random rows.
Bytes RandomDib(const Shape& s, uint32_t seed, int64_t rows = -1) {
    const auto build = [&](int64_t entries, int64_t rowCount) {
        Bytes b = PackedDib({s.width, s.height, s.bits, s.clrUsed, false, seed, entries, rowCount, s.planes});
        return PutU32(b, 0, s.biSize), b;
    };
    return build(PaletteSize(build(0, 0).data()) / 4, rows);
}

using Op = HDIB (*)(HDIB);
const struct { Op op; const char* name; } kOps[] = {{RotateDIB90, "RotateDIB90"},
    {RotateDIB270, "RotateDIB270"}, {RotateDIB180, "RotateDIB180"},
    {FlipDIBVertical, "FlipDIBVertical"}, {FlipDIBHorizontal, "FlipDIBHorizontal"}};

// The documented algorithm, one pixel at a time.
Bytes Reference(Op op, const Bytes& src) {
    const uint32_t w = GetU32(src, 4), h = GetU32(src, 8), b = src[14] | src[15] << 8;
    const uint32_t rowBits = (src[12] | src[13] << 8) * b, table = 40 + PaletteSize(const_cast<uint8_t*>(src.data()));
    const bool turn = op == RotateDIB90 || op == RotateDIB270;
    const uint32_t s = Stride(w, rowBits), d = turn ? Stride(h, rowBits) : s;
    Bytes out(table + uint64_t{d} * (turn ? w : h) + 4, 0);
    std::memcpy(out.data(), src.data(), table);
    for (auto [at, v] : {std::pair{4u, h}, {8u, w}, {24u, GetU32(src, 28)}, {28u, GetU32(src, 24)}, {20u, d * w}})
        if (turn) PutU32(out, at, v);
    const uint8_t* in = src.data() + table;
    uint8_t* res = out.data() + table;
    auto row = [&](uint8_t* base, uint32_t stride, uint32_t r) { return base + uint64_t{r} * stride; };
    if (op == FlipDIBVertical) {
        for (uint32_t r = 0; r < h; ++r) std::memcpy(row(res, d, h - 1 - r), in + uint64_t{r} * s, s);
        return out;
    }
    // Moves (row y, column x) to (row ry, column rx): 1-bit pixels are ORed in, others copied.
    std::function<void(uint32_t, uint32_t, uint32_t, uint32_t)> move = [](auto...) {};
    vx::DispatchDepth(b, [&](auto depth) {
        constexpr unsigned kBits = decltype(depth)::value;
        move = [&](uint32_t y, uint32_t x, uint32_t ry, uint32_t rx) {
            const uint32_t v = GetPixel<kBits>(in + uint64_t{y} * s, x);
            if (kBits != 1 || v) SetPixel<kBits>(row(res, d, ry), rx, v);
        };
    });
    if (op == RotateDIB90 && b == 1) {  // partial byte first, then whole bytes from the right
        for (uint32_t y = 0; y < h; ++y) {
            uint32_t k = 0;
            for (int e = int(w % 8) - 1; e >= 0; --e) move(y, w / 8 * 8 + e, k++, y);
            for (int byte = int(w / 8) - 1; byte >= 0; --byte)
                for (int e = 7; e >= 0; --e) move(y, byte * 8 + e, k++, y);
        }
    } else if (op == RotateDIB90) {
        for (uint32_t y = 0; y < h; ++y)
            for (uint32_t k = 0; k < w; ++k) move(y, w - 1 - k, k, y);
    } else if (op == RotateDIB270) {
        for (uint32_t y = 0; y < h; ++y)
            for (uint32_t x = 0; x < w; ++x) move(y, x, x, h - y);
    } else {
        for (uint32_t x = 0; x < w; ++x)
            for (uint32_t r = 0; r < h; ++r) move(r, x, op == RotateDIB180 ? h - 1 - r : r, w - 1 - x);
    }
    return out;
}

TEST(OrthogonalTransforms, EveryByteMatchesTheDocumentedLoops) {
    std::vector<Shape> shapes;
    for (uint16_t bits : {1, 4, 8, 24, 16, 32}) {
        for (auto [w, h] : {std::pair{1, 1}, {1, 7}, {3, 1}, {7, 3}, {9, 32}, {31, 8}, {33, 4}, {63, 5},
                            {65, 6}, {64, 64}, {130, 67}, {200, 33}, {17, 130}}) shapes.push_back({w, h, bits});
        shapes.push_back({1100, 70, bits});
    }
    // Rows twice as wide as their pixels, a longer header read as 40 bytes, a short table,
    // and empty images.
    for (Shape s : {Shape{9, 5, 1, 2}, Shape{13, 6, 4, 3}, Shape{7, 5, 8, 2}, Shape{5, 9, 24, 2},
                    Shape{10, 7, 8, 1, 108, 20}, Shape{6, 6, 4, 1, 40, 3}, Shape{0, 5, 8}, Shape{5, 0, 24},
                    Shape{6, 3, 2}, Shape{4, 4, 0}}) shapes.push_back(s);
    uint32_t seed = 0;
    for (const Shape& shape : shapes) {
        const Bytes source = RandomDib(shape, ++seed);
        for (const auto& [op, name] : kOps) {
            SCOPED_TRACE(testing::Message() << name << " " << shape.width << "x" << shape.height << "x"
                                            << shape.bits << " planes " << shape.planes << " seed " << seed);
            const Outcome o = CallOn(source, op);
            ASSERT_NO_FATAL_FAILURE(ExpectSameBytes(o.result, Reference(op, source)));
            EXPECT_TRUE(o.sourceUnchanged && !o.sourceLocked && o.moduleCode == kUntouched);
        }
    }
}

// The kernels at every SIMD level the processor offers, into a block whose every byte starts
// as 0xA5: each writes every byte of its rows, padding included, and gives the documented
// loops' bytes. The widths sit around the 32-byte steps of the fast mirrors (and their
// overlapping last step) and the 5-pixel groups of 24-bit rows; the planes make padding.
TEST(OrthogonalTransforms, EverySimdLevelWritesEveryByteOfTheDocumentedResult) {
    using namespace vx::geometry;
    const struct { Op op; Orthogonal kind; } kKernels[] = {{RotateDIB90, Orthogonal::Rotate90},
        {RotateDIB270, Orthogonal::Rotate270}, {RotateDIB180, Orthogonal::Rotate180},
        {FlipDIBVertical, Orthogonal::FlipVertical}, {FlipDIBHorizontal, Orthogonal::FlipHorizontal}};
    std::vector<Shape> shapes;
    for (int32_t w : {1, 255, 256, 257, 263, 264, 519, 775}) shapes.push_back({w, 3, 1});
    for (int32_t w : {1, 31, 32, 33, 63, 64, 65, 95, 129}) shapes.push_back({w, 3, 8});
    for (int32_t w : {1, 5, 6, 10, 11, 12, 15, 16, 21, 37}) shapes.push_back({w, 3, 24});
    // 24-bit quarter turns move squares of 8 x 8 pixels: whole ones, cut ones and none.
    for (Shape s : {Shape{263, 4, 1, 2}, Shape{65, 5, 8, 3}, Shape{21, 2, 24, 2}, Shape{67, 9, 4}, Shape{8, 8, 24},
                    Shape{21, 19, 24}, Shape{33, 131, 24}, Shape{17, 9, 24, 2}}) shapes.push_back(s);
    uint32_t seed = 100;
    for (const Shape& shape : shapes) {
        const Bytes source = RandomDib(shape, ++seed);
        for (const auto& [op, kind] : kKernels) {
            const Bytes want = Reference(op, source);
            const auto plan = PlanOrthogonal(source.data(), source.size(), kind);
            ASSERT_TRUE(plan);
            const SourceRows from{source.data() + plan->headerAndTable, plan->sourceStride, plan->width, plan->height};
            for (auto level : {vx::SimdLevel::kScalar, vx::SimdLevel::kSse2, vx::SimdLevel::kSsse3, vx::SimdLevel::kAvx2}) {
                if (!vx::SimdAllows(level)) continue;
                SCOPED_TRACE(testing::Message() << int(kind) << " " << shape.width << "x" << shape.height << "x"
                                                << shape.bits << " planes " << shape.planes << " level " << int(level));
                Bytes got(want.size(), 0xA5);
                std::copy_n(want.begin(), plan->headerAndTable, got.begin());  // the export's part
                std::fill(got.end() - vx::geometry::kResultSlackBytes, got.end(), 0);
                const ResultRows to{got.data() + plan->headerAndTable, plan->resultStride};
                switch (kind) {
                case Orthogonal::Rotate90: TurnClockwise(from, to, plan->bitCount, level); break;
                case Orthogonal::Rotate270: TurnAnticlockwiseShifted(from, to, plan->bitCount, level); break;
                case Orthogonal::Rotate180: TurnHalf(from, to, plan->bitCount, level); break;
                case Orthogonal::FlipVertical: ReverseRowOrder(from, to); break;
                case Orthogonal::FlipHorizontal: MirrorRows(from, to, plan->bitCount, level); break;
                }
                ASSERT_NO_FATAL_FAILURE(ExpectSameBytes(got, want));
            }
        }
    }
}

TEST(OrthogonalTransforms, RefusedBlocksGiveNullAndLeaveTheCode) {
    const Bytes good = RandomDib({9, 5, 4}, 3);
    const Refusal cases[] = {{"null handle", kNullHandle, kUntouched}, {"unlockable", kUnlockable, kUntouched},
                             {"one byte short", Cut(good, good.size() - 1), kUntouched},
                             {"header only", Cut(good, 39), kUntouched}, {"negative height", With(good, 8, uint32_t(-5)), kUntouched}};
    for (const auto& [op, name] : kOps) {
        SCOPED_TRACE(name);
        ExpectRefusals(Reports::kModuleCode, cases, [call = op](HDIB dib, auto&, auto) { return call(dib); });
        // Zero planes make zero-byte rows: only whole-row copying has nothing to step past.
        EXPECT_EQ(CallOn(With(good, 12, 4 << 16), op).result.empty(), op != FlipDIBVertical);
    }

    // Sizes judged from the header alone, before anything is allocated. One 1-bit row of 2^30
    // pixels turns into 2^30 rows of 4 bytes, past 2^32 - 1; 4096 planes make its row size wrap.
    using vx::geometry::Orthogonal;
    using vx::geometry::PlanOrthogonal;
    const Bytes header = RandomDib({1 << 30, 1, 1}, 1, 0), wraps = RandomDib({1 << 20, 1, 1, 4096}, 1, 0);
    const uint64_t claimed = 48 + (1u << 27);
    EXPECT_FALSE(PlanOrthogonal(header.data(), claimed, Orthogonal::Rotate90));
    EXPECT_FALSE(PlanOrthogonal(header.data(), claimed - 1, Orthogonal::FlipVertical));
    const auto flip = PlanOrthogonal(header.data(), claimed, Orthogonal::FlipVertical);
    ASSERT_TRUE(flip);
    EXPECT_EQ(flip->resultBytes(), claimed + 4);
    for (Orthogonal op : {Orthogonal::FlipVertical, Orthogonal::FlipHorizontal})
        EXPECT_FALSE(PlanOrthogonal(wraps.data(), uint64_t{1} << 40, op));
}

}  // namespace
