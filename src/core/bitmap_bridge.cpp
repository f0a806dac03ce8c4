// bitmap_bridge.cpp - ConvertDIBToBitmap, ConvertBitmapToDIB, ConvertToMonochromeBitmap,
// DuplicateBitmap, GetCurrentPalette, GetSystemPalette, LoadBitmapFromFile and SaveBitmap: the
// bridge between the library's DIBs and GDI device bitmaps and palettes, and inside the
// library GetDIBitsIntoBlock and ReadSystemPalette (bitmap_bridge.hpp).
//
// Each export is the library's fixed sequence of GDI calls under their Win32 names: the real
// GDI on Windows, the Linux subset elsewhere, so both platforms give the same bytes. The
// platform-neutral steps (the header of a DIB made from a bitmap, the default tables, copying
// a palette into a table) are in bitmap_bridge_tables.cpp.
//
// ConvertBitmapToDIB reads one scan line per GetDIBits call into a row buffer, so that no more
// than one row of extra memory is needed, and hands GDI the DIB's own header each time. GDI
// then rewrites the colour table that follows the header (with the device's or its default
// colours) and sets biClrUsed to 0: the table the DIB ends with is GDI's, not the one filled
// in before the loop, and applications get exactly that. When the caller gives no palette the
// display's current palette is asked for (GetCurrentPalette); on a true-colour display there is
// none, and that look-up leaves IMGERR_CREATEPALETTE in the module code although the DIB is
// made: the bridge has always left it there.
//
// What this library decided where the classic sequence was undefined or unsafe:
//   - A DIB block shorter than its header, colour table and rows is refused before GDI reads
//     it (ConvertDIBToBitmap: IMGERR_CREATEBITMAP, as for any DIB GDI cannot make a bitmap of).
//   - A handle GetObjectA does not describe as a whole BITMAP (null, deleted, another kind of
//     object) is refused: ConvertBitmapToDIB quietly, ConvertToMonochromeBitmap with
//     IMGERR_PARAMETER, DuplicateBitmap with IMGERR_COPYBITS (the classic sequence went on with
//     a zero size and answered the stock 1 x 1 bitmap).
//   - Sizes that no block could hold are refused (ConvertBitmapToDIB quietly, the others with
//     IMGERR_NOMEMORY) before anything is allocated.
//   - Nothing leaks: the palette GetSystemPalette makes, the LOGPALETTE and DC of a failed
//     GetCurrentPalette and the intermediate DIB of SaveBitmap are all freed. GetSystemPalette
//     with a null table answers FALSE.
#include <algorithm>
#include <cstddef>
#include <cstring>
#include <optional>
#include <vector>

#include "vexora.h"

#include "bitmap_bridge.hpp"
#include "bitmap_bridge_tables.hpp"
#include "dib_layout.hpp"
#include "gdi_guards.hpp"
#include "guards.hpp"
#include "outcome.hpp"
#include "platform/platform.hpp"

namespace vx {
namespace {

constexpr uint32_t kBiBitfields = 3;
// The most GDI writes after a header: 256 colour entries (or three masks).
constexpr uint64_t kLargestTableBytes = 256 * 4;

// The description of a device bitmap, when `object` is one.
std::optional<BITMAP> DescribeBitmap(HGDIOBJ object) {
    BITMAP bm{};
    if (object == nullptr || GetObjectA(object, sizeof bm, &bm) != static_cast<int>(sizeof bm)) return std::nullopt;
    return bm;
}

// The DIB a block carries, when the block holds everything GDI reads of it: the header, the
// colour table, the masks of a bit-field DIB and the rows (compressed rows: biSizeImage bytes).
// A negative width, which Windows' CreateDIBitmap refuses, is refused here already.
std::optional<DibLayout> DibGdiCanRead(const uint8_t* block, uint64_t blockBytes) {
    const auto dib = InspectDib(block, blockBytes);
    if (!dib || !dib->holdsHeaderAndTable() || dib->width < 0) return std::nullopt;
    const bool runLength = dib->compression == 1 || dib->compression == 2;
    const uint64_t stride = RowStride64(static_cast<uint64_t>(dib->width), dib->bitCount);
    const uint64_t rows = runLength ? dib->sizeImage : stride * dib->rows;
    const uint64_t masks = dib->compression == kBiBitfields ? 12 : 0;
    if (dib->pixelOffset + masks + rows > blockBytes) return std::nullopt;
    return dib;
}

// A DC that is either a memory DC (deleted at the end) or the screen's (released).
class BridgeDC {
public:
    explicit BridgeDC(bool memory) : memory_(memory), dc_(memory ? CreateCompatibleDC(nullptr) : GetDC(nullptr)) {}
    BridgeDC(const BridgeDC&) = delete;
    BridgeDC& operator=(const BridgeDC&) = delete;
    ~BridgeDC() {
        if (dc_ != nullptr && memory_) DeleteDC(dc_);
        if (dc_ != nullptr && !memory_) ReleaseDC(nullptr, dc_);
    }
    HDC get() const { return dc_; }

private:
    bool memory_;
    HDC dc_;
};

Outcome<HBITMAP> DibToBitmap(HDIB dib) {
    if (dib == nullptr) return Fail();
    OwnedObject<HPALETTE> palette(CreateDIBPalette(dib));
    BlockLock lock(dib);
    if (!lock) return Fail();
    const uint8_t* header = lock.data();
    const auto layout = DibGdiCanRead(header, lock.size());
    if (!layout) return Fail(IMGERR_CREATEBITMAP);

    // A monochrome DIB becomes a monochrome bitmap through a memory DC; any other one a bitmap
    // of the display's format.
    BridgeDC dc(layout->bitCount == 1 && layout->planes == 1);
    if (dc.get() == nullptr) return Fail();
    PaletteSelection selection(dc.get(), palette.get(), FALSE);
    if (palette) RealizePalette(dc.get());
    const auto* info = reinterpret_cast<const BITMAPINFO*>(header);
    const void* pixels = header + layout->pixelOffset;
    HBITMAP bitmap = CreateDIBitmap(dc.get(), &info->bmiHeader, CBM_INIT, pixels, info, DIB_RGB_COLORS);
    if (bitmap == nullptr) return Fail(IMGERR_CREATEBITMAP);
    return bitmap;
}

// The colour table of a DIB made from a bitmap: the palette's entries when it has no more of
// them than the depth has colours, else (and without a palette) the default table.
void FillBitmapDibTable(uint8_t* table, uint16_t bitCount, uint32_t colours, HPALETTE palette) {
    if (palette == nullptr) return bridge::WriteDefaultTable(table, bitCount);
    WORD entries = 0;
    GetObjectA(palette, sizeof entries, &entries);
    if (entries > colours) return bridge::WriteDefaultTable(table, bitCount);
    std::vector<PALETTEENTRY> copied(entries);
    if (entries > 0) GetPaletteEntries(palette, 0, entries, copied.data());
    bridge::WritePaletteTable(table, copied.data(), entries);
}

Outcome<HDIB> BitmapToDib(HBITMAP bitmap, HPALETTE palette) {
    const auto bm = DescribeBitmap(bitmap);
    if (!bm) return Fail();
    const auto plan = bridge::PlanBitmapDib(bm->bmWidth, bm->bmHeight, bm->bmPlanes, bm->bmBitsPixel);
    if (!plan) return Fail();
    OwnedBlock dib = OwnedBlock::Allocate(plan->blockBytes);
    if (!dib) return Fail();
    BlockLock dibLock(dib.get());
    if (!dibLock) return Fail();
    uint8_t* header = dibLock.data();
    WriteInfoHeader(header, plan->header);
    OwnedBlock rowBuffer = OwnedBlock::Allocate(plan->stride);
    if (!rowBuffer) return Fail();
    BlockLock row(rowBuffer.get());
    if (!row) return Fail();

    const uint16_t bitCount = plan->header.bitCount;
    OwnedObject<HPALETTE> displayPalette;
    if (palette == nullptr && bitCount != 1) {
        displayPalette = OwnedObject<HPALETTE>(GetCurrentPalette());
        palette = displayPalette.get();
    }
    WindowDC screen(nullptr);
    if (!screen) return Fail();
    PaletteSelection selection(screen.get(), palette, FALSE);
    if (palette != nullptr) RealizePalette(screen.get());
    FillBitmapDibTable(header + kInfoHeaderSize, bitCount, plan->header.clrUsed, palette);

    // One scan line per call, bottom line first; a line GDI does not deliver is copied from
    // the buffer as it stands, as it always has been.
    uint8_t* rows = header + kInfoHeaderSize + plan->tableBytes;
    auto* info = reinterpret_cast<BITMAPINFO*>(header);
    const UINT height = static_cast<UINT>(bm->bmHeight);
    for (UINT y = 0; y < height; ++y) {
        GetDIBits(screen.get(), bitmap, y, 1, row.data(), info, DIB_RGB_COLORS);
        std::memcpy(rows + uint64_t{y} * plan->stride, row.data(), plan->stride);
    }
    dibLock.unlock();
    return dib.release();
}

Outcome<HBITMAP> MonochromeCopy(HBITMAP bitmap) {
    if (bitmap == nullptr) return Fail(IMGERR_PARAMETER);
    platform::WaitCursor cursor;
    const auto bm = DescribeBitmap(bitmap);
    if (!bm || bm->bmWidth <= 0 || bm->bmHeight <= 0) return Fail(IMGERR_PARAMETER);
    const auto stride = Stride32(static_cast<uint64_t>(bm->bmWidth), 1);
    if (!stride) return Fail(IMGERR_NOMEMORY);
    const uint64_t imageBytes = *stride * static_cast<uint64_t>(bm->bmHeight);
    if (imageBytes > kMaxBlockBytes) return Fail(IMGERR_NOMEMORY);

    struct {
        BITMAPINFOHEADER header;
        RGBQUAD colours[2];
    } info{};
    WriteInfoHeader(reinterpret_cast<uint8_t*>(&info.header),
                    {.width = bm->bmWidth, .height = bm->bmHeight, .bitCount = 1,
                     .sizeImage = static_cast<uint32_t>(imageBytes)});
    info.colours[1] = RGBQUAD{255, 255, 255, 0};
    OwnedBlock bits = OwnedBlock::Allocate(imageBytes);
    if (!bits) return Fail(IMGERR_NOMEMORY);
    BlockLock bitsLock(bits.get());
    if (!bitsLock) return Fail(IMGERR_NOMEMORY);

    WindowDC screen(nullptr);
    if (!screen) return Fail();
    const UINT lines = static_cast<UINT>(bm->bmHeight);
    auto* bitmapInfo = reinterpret_cast<BITMAPINFO*>(&info);
    GetDIBits(screen.get(), bitmap, 0, lines, bitsLock.data(), bitmapInfo, DIB_RGB_COLORS);
    HBITMAP mono = CreateBitmap(bm->bmWidth, bm->bmHeight, 1, 1, nullptr);
    if (mono != nullptr) SetDIBits(screen.get(), mono, 0, lines, bitsLock.data(), bitmapInfo, DIB_RGB_COLORS);
    return mono;
}

Outcome<HBITMAP> CopyBitmap(HBITMAP bitmap) {
    auto bm = DescribeBitmap(bitmap);
    if (!bm) return Fail(IMGERR_COPYBITS);
    const int64_t size = int64_t{bm->bmPlanes} * bm->bmHeight * bm->bmWidthBytes;
    if (size < 0 || size > INT32_MAX) return Fail(IMGERR_NOMEMORY);
    OwnedBlock buffer = OwnedBlock::Allocate(static_cast<uint64_t>(size));
    if (!buffer) return Fail(IMGERR_NOMEMORY);
    BlockLock bits(buffer.get());
    if (!bits) return Fail(IMGERR_NOMEMORY);
    if (GetBitmapBits(bitmap, static_cast<LONG>(size), bits.data()) != size) return Fail(IMGERR_COPYBITS);
    bm->bmBits = bits.data();
    HBITMAP copy = CreateBitmapIndirect(&*bm);
    if (copy == nullptr) return Fail();
    return copy;
}

Outcome<HPALETTE> DisplayPalette() {
    std::vector<uint8_t> storage;
    {
        WindowDC screen(nullptr);
        if (!screen) return Fail(IMGERR_CREATEDC);
        int count = GetDeviceCaps(screen.get(), SIZEPALETTE);
        if (count == 0) count = GetDeviceCaps(screen.get(), NUMCOLORS);
        if (count < 0 || count > 0xFFFF) return Fail(IMGERR_CREATEPALETTE);
        storage.assign(offsetof(LOGPALETTE, palPalEntry) + sizeof(PALETTEENTRY) * (static_cast<size_t>(count) + 1), 0);
        auto* logical = reinterpret_cast<LOGPALETTE*>(storage.data());
        logical->palVersion = 0x300;
        logical->palNumEntries = static_cast<WORD>(count);
        GetSystemPaletteEntries(screen.get(), 0, static_cast<UINT>(count), logical->palPalEntry);
    }
    HPALETTE palette = CreatePalette(reinterpret_cast<const LOGPALETTE*>(storage.data()));
    if (palette == nullptr) return Fail();
    return palette;
}

}  // namespace

namespace bridge {

int GetDIBitsIntoBlock(HDC dc, HBITMAP bitmap, UINT lines, uint8_t* block, uint64_t blockBytes) {
    const auto dib = InspectDib(block, blockBytes);
    if (!dib || !dib->holdsHeaderAndTable()) return 0;
    if (dib->compression != 0 && dib->compression != kBiBitfields) return 0;
    const uint32_t b = dib->bitCount;
    if (b != 1 && b != 4 && b != 8 && b != 16 && b != 24 && b != 32) return 0;
    const uint64_t width = static_cast<uint64_t>(dib->width < 0 ? -dib->width : dib->width);
    const uint64_t rows = std::min<uint64_t>(lines, dib->rows);
    const uint64_t reach = std::max(dib->headerSize + 12 + kLargestTableBytes,
                                    dib->pixelOffset + RowStride64(width, b) * rows);
    auto* info = reinterpret_cast<BITMAPINFO*>(block);
    if (reach <= blockBytes) return GetDIBits(dc, bitmap, 0, lines, block + dib->pixelOffset, info, DIB_RGB_COLORS);
    if (reach > kMaxBlockBytes) return 0;
    std::vector<uint8_t> room(block, block + blockBytes);
    room.resize(reach, 0);
    const int result = GetDIBits(dc, bitmap, 0, lines, room.data() + dib->pixelOffset,
                                 reinterpret_cast<BITMAPINFO*>(room.data()), DIB_RGB_COLORS);
    std::memcpy(block, room.data(), blockBytes);
    return result;
}

BOOL ReadSystemPalette(RGBQUAD* table, uint64_t room) {
    WindowDC screen(nullptr);
    if (!screen) return FALSE;
    const int count = GetDeviceCaps(screen.get(), SIZEPALETTE);
    if (count <= 0) return FALSE;
    OwnedObject<HPALETTE> palette(GetCurrentPalette());
    if (!palette) return FALSE;
    PaletteSelection selection(screen.get(), palette.get(), FALSE);
    RealizePalette(screen.get());
    const uint64_t entries = std::min<uint64_t>(static_cast<uint64_t>(count), room);
    for (uint64_t i = 0; i < entries; ++i) {
        const COLORREF colour = GetNearestColor(screen.get(), PALETTEINDEX(i));
        table[i] = RGBQUAD{GetBValue(colour), GetGValue(colour), GetRValue(colour), 0};
    }
    return TRUE;
}

}  // namespace bridge
}  // namespace vx

using namespace vx;

extern "C" {

VXAPI HBITMAP VXCALL ConvertDIBToBitmap(HDIB dib) {
    return RunExport(ModuleCode{.outOfMemory = IMGERR_CREATEBITMAP}, [&] { return DibToBitmap(dib); });
}

VXAPI HDIB VXCALL ConvertBitmapToDIB(HBITMAP bitmap, HPALETTE palette) {
    return RunExport(Silent{}, [&] { return BitmapToDib(bitmap, palette); });
}

VXAPI HBITMAP VXCALL ConvertToMonochromeBitmap(HBITMAP bitmap) {
    return RunExport(ModuleCode{}, [&] { return MonochromeCopy(bitmap); });
}

VXAPI HBITMAP VXCALL DuplicateBitmap(HBITMAP bitmap) {
    return RunExport(ModuleCode{}, [&] { return CopyBitmap(bitmap); });
}

VXAPI HPALETTE VXCALL GetCurrentPalette(void) {
    return RunExport(ModuleCode{.outOfMemory = IMGERR_CREATEPALETTE}, [] { return DisplayPalette(); });
}

VXAPI BOOL VXCALL GetSystemPalette(RGBQUAD* table) {
    if (table == nullptr) return FALSE;
    return RunExport(Silent{}, [&]() -> Outcome<BOOL> { return bridge::ReadSystemPalette(table, UINT64_MAX); });
}

VXAPI HBITMAP VXCALL LoadBitmapFromFile(LPCSTR fileName) {
    OwnedBlock dib(LoadDIBFromFile(fileName));
    if (!dib) return nullptr;
    return ConvertDIBToBitmap(dib.get());
}

VXAPI BOOL VXCALL SaveBitmap(LPCSTR fileName, HBITMAP bitmap, HPALETTE palette) {
    OwnedBlock dib(ConvertBitmapToDIB(bitmap, palette));
    if (!dib) return FALSE;
    return SaveDIB(fileName, dib.get());
}

}  // extern "C"
