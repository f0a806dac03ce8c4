// text_file.cpp - LoadASCIIFile and LoadASCIIIntoBitmap: plain text rendered black on white
// into a 1-bit device bitmap.
//
// Both are the library's fixed sequence of GDI and USER calls, the same on every platform: a
// memory DC compatible with the active window's (the screen's when no window is active, as
// always on Linux) measures the text with its default font, the stock system font, a bitmap
// of that size is made, painted white and the text drawn on it in the default black. On
// Windows the font is Windows' own; on Linux the GDI subset draws the same layout with DejaVu
// Sans Condensed Bold, whose metrics match the system font's (16-pixel lines, 7-pixel average
// width), so the two give bitmaps of the same height and similar width.
//
// The estimate. Before measuring, one pass over the text guesses its extent the way the
// library always has: x and y start at 1, a backspace (8) adds eight average widths to x, a
// carriage return (13) adds a line to y and sets x to 0, any other byte adds one average width,
// and x stops growing short of 32767. The pass ends at the terminating zero or when y comes
// within a line of 32767; in that case the text is cut there and the user is told ("Lines
// truncated"). Only carriage returns count: a text of bare line feeds is never cut here, and
// DrawTextA, which breaks at both, decides the real size. The guessed rectangle goes to
// DrawTextA(DT_CALCRECT), which sets it to the text's real extent.
//
// The bitmap. If a bitmap of the full height cannot be made, the height is halved until one
// can be made or it is no longer above one line; a lower bitmap keeps the full layout squeezed
// vertically by an anisotropic mapping (window extent the full size, viewport the bitmap's).
// A text whose measured width or height is 0 (an empty text, or one of nothing but line
// breaks) gets the stock 1 x 1 bitmap CreateBitmap answers for an empty size, as on Windows;
// deleting it does nothing.
//
// Large and hostile input. The estimate is one pass over the bytes and DrawTextA measures and
// draws in one pass each, so a 100 MB text takes well under a second on Linux. A text with
// line breaks is cut after about 2047 lines of the system font; one without carriage returns
// is measured whole, but DrawTextA shows only the first 1024 characters of each line, so no
// text asks for a bitmap wider than 1024 characters. Binary junk is text like any other: bytes
// below 32 show the font's default glyph, and the first zero byte ends the text.
#include <algorithm>
#include <cstdint>
#include <memory>

#include "vexora.h"

#include "errors.hpp"
#include "gdi_guards.hpp"
#include "guards.hpp"
#include "outcome.hpp"
#include "platform/platform.hpp"

namespace vx::formats {
namespace {

constexpr int kLargestCoordinate = 32767;
constexpr UINT kMeasureFlags = DT_CALCRECT | DT_EXTERNALLEADING;  // 0x600
constexpr UINT kDrawFlags = DT_NOCLIP | DT_EXTERNALLEADING;       // 0x300
constexpr uint64_t kLargestRead = uint64_t{1} << 30;             // _hread takes a 32-bit count

struct Estimate {
    int x = 1;
    int y = 1;
    size_t stop = 0;  // the byte the pass ended at: the terminating zero, or where the text is cut
};

// The library's guess of a text's extent, for line height `line` and average width `average`.
Estimate EstimateExtent(const uint8_t* text, int line, int average) {
    Estimate e;
    const int widest = kLargestCoordinate - average, lowest = kLargestCoordinate - line;
    for (; text[e.stop] != 0 && e.y < lowest; ++e.stop) {
        switch (text[e.stop]) {
            case 8:
                if (e.x < widest) e.x += 8 * average;
                break;
            case 13:
                e.y += line;
                e.x = 0;
                break;
            default:
                if (e.x < widest) e.x += average;
                break;
        }
    }
    return e;
}

// The tallest monochrome bitmap of width `width` that can be made, from `height` down by
// halving while above `line`; null when none can.
HBITMAP MakeBitmap(int width, int& height, int line) {
    HBITMAP bitmap = CreateBitmap(width, height, 1, 1, nullptr);
    while (bitmap == nullptr) {
        height /= 2;
        if (height <= line) return nullptr;
        bitmap = CreateBitmap(width, height, 1, 1, nullptr);
    }
    return bitmap;
}

Outcome<HBITMAP> RenderText(HGLOBAL text) {
    BlockLock lock(text);
    if (!lock || lock.size() == 0) return Fail(IMGERR_NOMEMORY);
    uint8_t* bytes = lock.data();
    bytes[lock.size() - 1] = 0;
    auto* characters = reinterpret_cast<char*>(bytes);

    std::unique_ptr<MemoryDC> dc;
    {
        WindowDC window(GetActiveWindow());
        dc = std::make_unique<MemoryDC>(window.get());
    }
    if (!*dc) return Fail(IMGERR_CREATEDC);
    TEXTMETRICA metrics{};
    // Windows always has its default font; a Linux machine without any font file cannot draw
    // text, and says so with the DC's code.
    if (!GetTextMetricsA(dc->get(), &metrics)) return Fail(IMGERR_CREATEDC);
    const int line = static_cast<int>(metrics.tmAscent + metrics.tmDescent + metrics.tmExternalLeading);
    const int average = static_cast<int>(metrics.tmAveCharWidth);

    const Estimate estimate = EstimateExtent(bytes, line, average);
    if (bytes[estimate.stop] != 0) {
        bytes[estimate.stop] = 0;
        platform::ShowMessage("Lines truncated", "SORRY", MB_ICONEXCLAMATION);
    }
    RECT rect{0, 0, average + estimate.x, line + estimate.y};
    DrawTextA(dc->get(), characters, -1, &rect, kMeasureFlags);
    const int width = static_cast<int>(rect.right), fullHeight = static_cast<int>(rect.bottom);

    int height = fullHeight;
    OwnedObject<HBITMAP> bitmap(MakeBitmap(width, height, line));
    if (!bitmap) return Fail(IMGERR_NOMEMORY);
    {
        ObjectSelection selectedBitmap(dc->get(), bitmap.get());
        ObjectSelection selectedBrush(dc->get(), GetStockObject(WHITE_BRUSH));
        PatBlt(dc->get(), 0, 0, width, height, PATCOPY);
        SetMapMode(dc->get(), MM_ANISOTROPIC);
        SetWindowExtEx(dc->get(), width, fullHeight, nullptr);
        SetViewportExtEx(dc->get(), width, height, nullptr);
        DrawTextA(dc->get(), characters, -1, &rect, kDrawFlags);
    }
    return bitmap.release();
}

Outcome<HBITMAP> LoadText(LPCSTR fileName, BOOL ansi) {
    platform::WaitCursor wait;
    OFSTRUCT info;
    FileHandle file(OpenFile(fileName, &info, OF_READ));
    if (!file.valid()) return Fail(IMGERR_OPENFILE);

    const uint64_t length = FileLength(file.get());
    OwnedBlock block = OwnedBlock::Allocate(length + 10);  // zero-filled: the text ends in zeros
    BlockLock lock(block.get());
    if (!lock) return Fail(IMGERR_NOMEMORY);

    for (uint64_t done = 0; done < length;) {
        const long chunk = static_cast<long>(std::min(length - done, kLargestRead));
        if (_hread(file.get(), lock.data() + done, chunk) != chunk) return Fail(IMGERR_IO);
        done += static_cast<uint64_t>(chunk);
    }
    if (!ansi) {
        char* characters = reinterpret_cast<char*>(lock.data());
        OemToCharA(characters, characters);
    }
    lock.unlock();
    HBITMAP bitmap = LoadASCIIIntoBitmap(block.get());
    // Whatever the rendering reported is overwritten: a text that could not be rendered loads
    // as a success with no bitmap, as it always has.
    SetModuleError(IMGERR_SUCCESS);
    return bitmap;
}

}  // namespace
}  // namespace vx::formats

using namespace vx;

extern "C" {

VXAPI HBITMAP VXCALL LoadASCIIIntoBitmap(HGLOBAL text) {
    return RunExport(ModuleCode{}, [&] { return formats::RenderText(text); });
}

VXAPI HBITMAP VXCALL LoadASCIIFile(LPCSTR fileName, BOOL ansi) {
    return RunExport(ModuleCode{}, [&] { return formats::LoadText(fileName, ansi); });
}

}  // extern "C"
