// combine.cpp - CombineBMP and CombineDIB: pasting one image into another at a position,
// opaquely, OR'ed, or through a monochrome mask (replacing or XOR'ing).
//
// CombineBMP is nothing but GDI raster operations on device bitmaps selected into memory DCs
// compatible with the screen. Without a mask it is one BitBlt of the destination's own width
// and height from the source's origin (SRCCOPY, or SRCPAINT in the alternative mode): a source
// smaller than the destination is clipped by GDI to the source bitmap, so the destination
// beyond it stays as it was. With a mask the sequence is
//     source := source AND mask          (SRCAND, source-sized, at the origin)
//     mask   := NOT mask                 (DSTINVERT)
//     dest   := dest XOR source          (SRCINVERT)                  alternative mode
//     dest   := (dest AND mask) OR source (SRCAND, then SRCPAINT)      otherwise
// each step only if the one before succeeded. With a memory DC's default colours, white mask
// pixels let the source through and black ones keep the destination. The caller's source and
// a monochrome mask passed in come back modified (source masked, mask inverted): callers rely
// on that, so the sequence works on them and not on copies. A mask of another depth is first
// turned into a monochrome copy, which is the one inverted and then deleted.
//
// CombineDIB converts source, destination and mask to device bitmaps (ConvertDIBToBitmap),
// runs CombineBMP, and reads the destination bitmap back into the destination DIB's own block
// with GetDIBits and the DIB's own header, after filling its colour table from the system
// palette and realising the display's current palette. GetDIBits rewrites that colour table
// (and sets biClrUsed to 0), so the DIB ends with GDI's table; on a true-colour display the
// palette look-ups fail and leave IMGERR_CREATEPALETTE in the module code. Only the source and
// mask DIBs are left as they were (their bitmaps are copies).
//
// Both create the destination when *phDest is null: a copy of the source, result TRUE, nothing
// pasted. Failures store the family's own codes in the module code, beyond the message table
// (COMBINE_ERR_ in vexora.h); otherwise the result is GDI's and no code is set.
//
// What this library decided where the classic sequence was undefined or unsafe:
//   - A null phDest: FALSE with IMGERR_PARAMETER.
//   - A source or destination bitmap that cannot be selected into its DC (deleted, not a
//     bitmap, selected into another DC) ends CombineBMP with FALSE and no code, before any
//     raster operation, where the classic sequence blitted into the DC's empty default bitmap.
//   - CombineDIB's copy of a source block shorter than its header says (40 bytes, the table
//     and biSizeImage): FALSE with IMGERR_DIBSIZE; nothing outside the block is read.
//   - GetDIBits writes the destination's colour table and rows within its block only (see
//     GetDIBitsIntoBlock); the system palette likewise.
#include <algorithm>
#include <cstring>
#include <optional>

#include "vexora.h"

#include "bitmap_bridge.hpp"
#include "dib_layout.hpp"
#include "gdi_guards.hpp"
#include "guards.hpp"
#include "outcome.hpp"

namespace vx::tone {
namespace {

// Width and height of a device bitmap; 0 x 0 for a handle that is not one.
SIZE BitmapSize(HBITMAP bitmap) {
    BITMAP bm{};
    if (bitmap == nullptr || GetObjectA(bitmap, sizeof bm, &bm) == 0) return SIZE{0, 0};
    return SIZE{bm.bmWidth, bm.bmHeight};
}

bool IsMonochrome(HBITMAP bitmap) {
    BITMAP bm{};
    return GetObjectA(bitmap, sizeof bm, &bm) != 0 && bm.bmPlanes == 1 && bm.bmBitsPixel == 1;
}

Outcome<BOOL> PasteOpaque(int x, int y, HBITMAP dest, HBITMAP source, BOOL orMode) {
    WindowDC screen(nullptr);
    MemoryDC sourceDC(screen.get()), destDC(screen.get());
    if (!sourceDC || !destDC) return Fail();
    const SIZE size = BitmapSize(dest);
    ObjectSelection sourceIn(sourceDC.get(), source), destIn(destDC.get(), dest);
    if (!sourceIn || !destIn) return Fail();
    return BitBlt(destDC.get(), x, y, size.cx, size.cy, sourceDC.get(), 0, 0, orMode ? SRCPAINT : SRCCOPY);
}

Outcome<BOOL> PasteMasked(int x, int y, HBITMAP dest, HBITMAP source, HBITMAP mask, BOOL xorMode) {
    const SIZE sourceSize = BitmapSize(source), destSize = BitmapSize(dest), maskSize = BitmapSize(mask);
    if (maskSize.cx != sourceSize.cx || maskSize.cy != sourceSize.cy) return Fail(COMBINE_ERR_MASKSIZE);

    WindowDC screen(nullptr);
    MemoryDC sourceDC(screen.get()), destDC(screen.get()), maskDC(screen.get());
    if (!sourceDC || !destDC || !maskDC) return Fail();
    OwnedObject<HBITMAP> monochromeMask;
    if (!IsMonochrome(mask)) {
        monochromeMask = OwnedObject<HBITMAP>(ConvertToMonochromeBitmap(mask));
        if (!monochromeMask) return Fail();
        mask = monochromeMask.get();
    }
    ObjectSelection sourceIn(sourceDC.get(), source), destIn(destDC.get(), dest), maskIn(maskDC.get(), mask);
    if (!sourceIn || !destIn || !maskIn) return Fail();

    const HDC s = sourceDC.get(), d = destDC.get(), m = maskDC.get();
    BOOL done = BitBlt(s, 0, 0, sourceSize.cx, sourceSize.cy, m, 0, 0, SRCAND);
    if (done) done = BitBlt(m, 0, 0, maskSize.cx, maskSize.cy, m, 0, 0, DSTINVERT);
    if (xorMode) {
        if (done) done = BitBlt(d, x, y, destSize.cx, destSize.cy, s, 0, 0, SRCINVERT);
    } else {
        if (done) done = BitBlt(d, x, y, destSize.cx, destSize.cy, m, 0, 0, SRCAND);
        if (done) done = BitBlt(d, x, y, destSize.cx, destSize.cy, s, 0, 0, SRCPAINT);
    }
    return done;
}

Outcome<BOOL> CombineBitmaps(int x, int y, HBITMAP* phDest, HBITMAP source, HBITMAP mask, BOOL altMode) {
    if (source == nullptr) return Fail(COMBINE_ERR_NOSOURCE);
    if (phDest == nullptr) return Fail(IMGERR_PARAMETER);
    if (*phDest == nullptr) {
        HBITMAP copy = DuplicateBitmap(source);
        if (copy == nullptr) return Fail(COMBINE_ERR_DUPLICATE);
        *phDest = copy;
        return TRUE;
    }
    if (mask == nullptr) return PasteOpaque(x, y, *phDest, source, altMode);
    return PasteMasked(x, y, *phDest, source, mask, altMode);
}

// A new block holding the source DIB's header, colour table and biSizeImage bytes.
Outcome<HDIB> CopyDib(HDIB source) {
    BlockLock from(source);
    if (!from) return Fail(COMBINE_ERR_LOCK);
    if (from.size() < kInfoHeaderSize) return Fail(IMGERR_DIBSIZE);
    const uint8_t* header = from.data();
    if (LoadU32(header + bih::kCompression) != 0) return Fail(COMBINE_ERR_COMPRESSED);
    const uint32_t used = LoadU32(header + bih::kClrUsed);
    const uint32_t colours = used != 0 ? used : ColorCountForDepth(LoadU16(header + bih::kBitCount));
    const uint64_t bytes = kInfoHeaderSize + uint64_t{colours} * 4 + LoadU32(header + bih::kSizeImage);
    if (bytes > from.size()) return Fail(IMGERR_DIBSIZE);
    OwnedBlock copy = OwnedBlock::Allocate(bytes);
    if (!copy) return Fail(COMBINE_ERR_NOMEMORY);
    BlockLock to(copy.get());
    if (!to) return Fail(COMBINE_ERR_LOCK);
    std::memcpy(to.data(), header, bytes);
    to.unlock();
    return copy.release();
}

// Reads the destination bitmap back into the locked destination DIB, in the DIB's own format.
void ReadBack(HBITMAP bitmap, uint8_t* block, uint64_t blockBytes) {
    const uint64_t tableOffset = std::min<uint64_t>(LoadU32(block + bih::kSize), blockBytes);
    bridge::ReadSystemPalette(reinterpret_cast<RGBQUAD*>(block + tableOffset), (blockBytes - tableOffset) / 4);
    OwnedObject<HPALETTE> palette(GetCurrentPalette());
    WindowDC screen(nullptr);
    if (!screen) return;
    PaletteSelection selection(screen.get(), palette.get(), FALSE);
    RealizePalette(screen.get());
    BITMAP bm{};
    GetObjectA(bitmap, sizeof bm, &bm);
    bridge::GetDIBitsIntoBlock(screen.get(), bitmap, static_cast<UINT>(std::max<LONG>(bm.bmHeight, 0)), block,
                               blockBytes);
}

Outcome<BOOL> CombineDibs(int x, int y, HDIB* phDest, HDIB source, HDIB mask, BOOL altMode) {
    if (source == nullptr) return Fail(COMBINE_ERR_NOSOURCE);
    if (phDest == nullptr) return Fail(IMGERR_PARAMETER);
    if (*phDest == nullptr) {
        auto copy = CopyDib(source);
        if (!copy) return copy.refusal();
        *phDest = *copy;
        return TRUE;
    }
    OwnedObject<HBITMAP> sourceBitmap(ConvertDIBToBitmap(source));
    if (!sourceBitmap) return Fail(COMBINE_ERR_TOBITMAP);
    OwnedObject<HBITMAP> destBitmap(ConvertDIBToBitmap(*phDest));
    if (!destBitmap) return Fail(COMBINE_ERR_TOBITMAP);
    OwnedObject<HBITMAP> maskBitmap;
    if (mask != nullptr) {
        maskBitmap = OwnedObject<HBITMAP>(ConvertDIBToBitmap(mask));
        if (!maskBitmap) return Fail(COMBINE_ERR_TOBITMAP);
    }

    BlockLock dest(*phDest);
    if (!dest) return Fail(COMBINE_ERR_LOCK);
    HBITMAP destHandle = destBitmap.get();
    const BOOL result = CombineBMP(x, y, &destHandle, sourceBitmap.get(), maskBitmap.get(), altMode);
    if (result) ReadBack(destBitmap.get(), dest.data(), dest.size());
    return result;
}

}  // namespace
}  // namespace vx::tone

using namespace vx;

extern "C" {

VXAPI BOOL VXCALL CombineBMP(int x, int y, HBITMAP* phDest, HBITMAP hSrc, HBITMAP hMask, BOOL altMode) {
    return RunExport(ModuleCode{}, [&] { return tone::CombineBitmaps(x, y, phDest, hSrc, hMask, altMode); });
}

VXAPI BOOL VXCALL CombineDIB(int x, int y, HDIB* phDest, HDIB hSrc, HDIB hMask, BOOL altMode) {
    return RunExport(ModuleCode{}, [&] { return tone::CombineDibs(x, y, phDest, hSrc, hMask, altMode); });
}

}  // extern "C"
