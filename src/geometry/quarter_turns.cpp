// quarter_turns.cpp - RotateDIB90, RotateDIB270, RotateDIB180, FlipDIBVertical and
// FlipDIBHorizontal: the five orthogonal transforms of an uncompressed DIB into a new one.
//
// Each export locks the source, checks that the block holds what its header says, allocates a
// result, copies the header and colour table into it, adjusts the header and runs a kernel of
// orthogonal_kernels.cpp. The kernels write every byte of the rows, padding included, so the
// result is zero-filled only where they move no pixels (depths other than 1, 4, 8 and 24).
// The source is read as the library has always read it, and applications depend on the exact
// bytes that follow from that:
//   - The header is taken to be 40 bytes whatever biSize says: the pixels start at
//     40 + PaletteSize, and exactly those 40 + PaletteSize bytes are copied to the result.
//   - Rows are biPlanes x biBitCount bits per pixel wide, but pixels are moved at biBitCount
//     bits. Depths other than 1, 4, 8 and 24 move nothing and give a right-sized result whose
//     pixels are all zero; FlipDIBVertical copies whole rows and works at any depth.
//   - Every result block is 4 bytes longer than its header, table and rows.
//   - A quarter turn swaps width and height and the two resolutions, and sets biSizeImage to
//     the new stride times the source width; the other three leave the header as copied.
//   - No error code is ever set, on success or on failure: the exports run on the Silent
//     channel.
//
// Why the anticlockwise turn lands one column in: its loop counts the destination column down
// from the height instead of from height - 1, so source row y goes to result column
// height - y. Result column 0 is never written (colour index 0, or black), and the bottom
// source row goes one pixel past the end of every result row: into the row's padding when
// the stride leaves room, otherwise over the start of the next result row, and for the last
// row into the 4 bytes of slack at the end of the block (which exist for exactly this). Files
// written from such results carry the shift, so it is kept.
//
// Refusals (a null result, nothing written, no error code): a null handle or one that cannot
// be locked; a block shorter than 40 bytes, its colour table and its rows; a negative width or
// height; rows narrower than the pixels they are said to hold (biPlanes 0, or a row size that
// does not fit 32 bits), where rows would overlap and the moves would leave both blocks; and a
// result that would need more than 2^32 - 1 bytes.
#include <cstdint>
#include <cstring>
#include <optional>

#include "vexora.h"

#include "dib_layout.hpp"
#include "dib_result.hpp"
#include "geometry/orthogonal.hpp"
#include "guards.hpp"
#include "outcome.hpp"
#include "platform/platform.hpp"

namespace vx::geometry {

namespace {

constexpr bool IsQuarterTurn(Orthogonal op) {
    return op == Orthogonal::Rotate90 || op == Orthogonal::Rotate270;
}

// Whether the pixel mover touches pixels of this depth.
constexpr bool MovesPixels(uint32_t bitCount) {
    return bitCount == 1 || bitCount == 4 || bitCount == 8 || bitCount == 24;
}

// The bytes a row of `width` pixels of `bitCount` bits spans.
constexpr uint64_t PixelBytes(uint64_t width, uint32_t bitCount) { return (width * bitCount + 7) / 8; }

// Header changes of a quarter turn: the dimensions and resolutions swap places.
void TurnHeader(uint8_t* header, const OrthogonalPlan& plan) {
    const int32_t xPels = LoadI32(header + bih::kXPels);
    const int32_t yPels = LoadI32(header + bih::kYPels);
    StoreI32(header + bih::kWidth, static_cast<int32_t>(plan.height));
    StoreI32(header + bih::kHeight, static_cast<int32_t>(plan.width));
    StoreI32(header + bih::kXPels, yPels);
    StoreI32(header + bih::kYPels, xPels);
    StoreU32(header + bih::kSizeImage, static_cast<uint32_t>(plan.resultStride * plan.width));
}

// Whether the kernel of `op` writes every pixel byte of the result, padding included, so that
// the block need not be zero-filled first: all but the pixel movers at depths they skip.
constexpr bool WritesEveryByte(Orthogonal op, uint32_t bitCount) {
    return op == Orthogonal::FlipVertical || MovesPixels(bitCount);
}

// Fills a result whose header and table have been copied, its slack included. Cannot fail.
void Transform(Orthogonal op, const OrthogonalPlan& plan, const uint8_t* source, uint8_t* result) {
    const SourceRows from{source + plan.headerAndTable, plan.sourceStride, plan.width, plan.height};
    const ResultRows to{result + plan.headerAndTable, plan.resultStride};
    std::memset(to.bits + plan.resultPixelBytes(), 0, kResultSlackBytes);
    const SimdLevel level = ActiveSimdLevel();
    switch (op) {
    case Orthogonal::Rotate90:
        TurnHeader(result, plan);
        TurnClockwise(from, to, plan.bitCount, level);
        break;
    case Orthogonal::Rotate270:
        TurnHeader(result, plan);
        TurnAnticlockwiseShifted(from, to, plan.bitCount, level);
        break;
    case Orthogonal::Rotate180: TurnHalf(from, to, plan.bitCount, level); break;
    case Orthogonal::FlipVertical: ReverseRowOrder(from, to); break;
    case Orthogonal::FlipHorizontal: MirrorRows(from, to, plan.bitCount, level); break;
    }
}

// The body of all five exports; every refusal is quiet.
Outcome<HDIB> Orthogonally(HDIB dib, Orthogonal op) {
    if (dib == nullptr) return Fail();
    BlockLock source(dib);
    if (!source) return Fail();
    const auto plan = PlanOrthogonal(source.data(), source.size(), op);
    if (!plan) return Fail();
    const BlockFill fill = WritesEveryByte(op, plan->bitCount) ? BlockFill::kWrittenWhole : BlockFill::kZero;
    auto result = AllocateDibLike(source.data(), plan->headerAndTable, plan->resultPixelBytes(), kResultSlackBytes,
                                  false, fill);
    if (!result) return Fail();
    platform::WaitCursor wait;
    Transform(op, *plan, source.data(), result->data());
    return result->release();
}

}  // namespace

std::optional<OrthogonalPlan> PlanOrthogonal(const uint8_t* block, uint64_t blockBytes, Orthogonal op) {
    if (block == nullptr || blockBytes < kInfoHeaderSize) return std::nullopt;
    const int32_t width = LoadI32(block + bih::kWidth);
    const int32_t height = LoadI32(block + bih::kHeight);
    if (width < 0 || height < 0) return std::nullopt;

    OrthogonalPlan plan;
    plan.width = static_cast<uint32_t>(width);
    plan.height = static_cast<uint32_t>(height);
    plan.bitCount = LoadU16(block + bih::kBitCount);
    const uint64_t rowBits = uint64_t{LoadU16(block + bih::kPlanes)} * plan.bitCount;
    plan.headerAndTable = kInfoHeaderSize + uint64_t{DibPaletteBytes(block)};

    const auto sourceStride = Stride32(plan.width, rowBits);
    if (!sourceStride) return std::nullopt;
    plan.sourceStride = *sourceStride;
    if (plan.headerAndTable + plan.sourceStride * plan.height > blockBytes) return std::nullopt;

    if (IsQuarterTurn(op)) {
        const auto resultStride = Stride32(plan.height, rowBits);
        if (!resultStride) return std::nullopt;
        plan.resultStride = *resultStride;
        plan.resultRows = plan.width;
    } else {
        plan.resultStride = plan.sourceStride;
        plan.resultRows = plan.height;
    }

    // Rows that cannot hold their own pixels overlap, and moving pixels through them would
    // step outside both blocks. Copying whole rows (the vertical flip) is safe at any stride.
    if (op != Orthogonal::FlipVertical && MovesPixels(plan.bitCount) && plan.width > 0 &&
        plan.height > 0) {
        const uint64_t resultWidth = IsQuarterTurn(op) ? plan.height : plan.width;
        if (plan.sourceStride < PixelBytes(plan.width, plan.bitCount) ||
            plan.resultStride < PixelBytes(resultWidth, plan.bitCount))
            return std::nullopt;
    }

    if (plan.resultBytes() > kMaxBlockBytes) return std::nullopt;
    return plan;
}

}  // namespace vx::geometry

using namespace vx;
using vx::geometry::Orthogonal;
using vx::geometry::Orthogonally;

extern "C" {

VXAPI HDIB VXCALL RotateDIB90(HDIB dib) {
    return RunExport(Silent{}, [&] { return Orthogonally(dib, Orthogonal::Rotate90); });
}

VXAPI HDIB VXCALL RotateDIB270(HDIB dib) {
    return RunExport(Silent{}, [&] { return Orthogonally(dib, Orthogonal::Rotate270); });
}

VXAPI HDIB VXCALL RotateDIB180(HDIB dib) {
    return RunExport(Silent{}, [&] { return Orthogonally(dib, Orthogonal::Rotate180); });
}

VXAPI HDIB VXCALL FlipDIBVertical(HDIB dib) {
    return RunExport(Silent{}, [&] { return Orthogonally(dib, Orthogonal::FlipVertical); });
}

VXAPI HDIB VXCALL FlipDIBHorizontal(HDIB dib) {
    return RunExport(Silent{}, [&] { return Orthogonally(dib, Orthogonal::FlipHorizontal); });
}

}  // extern "C"
