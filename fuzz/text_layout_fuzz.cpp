// text_layout_fuzz.cpp - fuzz target for text layout and drawing: DrawTextA, TextOutA,
// ExtTextOutA and the text family.
//
// Input: byte 0 picks DrawTextA's flags (bit 0 DT_NOPREFIX, 1 DT_EXPANDTABS, 2 DT_SINGLELINE,
// 3 DT_NOCLIP, 4 DT_CENTER, 5 DT_RIGHT, 6 DT_VCENTER, 7 DT_EXTERNALLEADING); byte 1 the mapping
// (bits 0-1: none, or MM_ANISOTROPIC squeezing or stretching by bits 2-7) and the text
// alignment (bits 2-4); the rest is the text, in a buffer of exactly its size so that
// AddressSanitizer reports any read past it. The text is
//   - measured with DT_CALCRECT: the answer is a whole number of lines (without a mapping,
//     whose roundings may make it differ a little, and unless DT_VCENTER moves a single line
//     down, which the answer includes), the rectangle grows
//     from its own corner and is as high as the answer;
//   - drawn with the same flags on a small monochrome bitmap, then by TextOutA and ExtTextOutA
//     (opaque and clipped) at points derived from the input;
//   - rendered by LoadASCIIIntoBitmap when short, which must give a 1-bit bitmap or nothing
//     (its "Lines truncated" message goes to a sink that answers at once, never to a box);
//   - converted by OemToCharA, in place, up to its first zero.
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "vexora.h"

#include "fuzz_support.hpp"

namespace {

using vexora_fuzz::Check;

UINT FlagsOf(uint8_t bits) {
    constexpr UINT kFlags[8] = {DT_NOPREFIX, DT_EXPANDTABS, DT_SINGLELINE, DT_NOCLIP,
                                DT_CENTER,   DT_RIGHT,      DT_VCENTER,    DT_EXTERNALLEADING};
    UINT flags = 0;
    for (int i = 0; i < 8; ++i)
        if ((bits >> i) & 1) flags |= kFlags[i];
    return flags;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    const UINT flags = FlagsOf(data[0]);
    const uint8_t mapping = data[1];
    const size_t length = size - 2;
    std::unique_ptr<char[]> text(new char[length == 0 ? 1 : length]);
    if (length != 0) std::memcpy(text.get(), data + 2, length);
    const int count = static_cast<int>(length);

    HDC dc = CreateCompatibleDC(nullptr);
    Check(dc != nullptr);
    HBITMAP sheet = CreateBitmap(97, 41, 1, 1, nullptr);
    HGDIOBJ previous = SelectObject(dc, sheet);
    PatBlt(dc, 0, 0, 97, 41, WHITENESS);
    if ((mapping & 3) != 0) {
        SetMapMode(dc, MM_ANISOTROPIC);
        SetWindowExtEx(dc, 64, 64, nullptr);
        const int scale = 1 + (mapping >> 2);
        SetViewportExtEx(dc, (mapping & 3) == 1 ? 64 : 64 * scale, (mapping & 3) == 1 ? 64 / scale + 1 : 64 * scale, nullptr);
    }
    SetTextAlign(dc, static_cast<UINT>((mapping >> 2) & 7) << 1 | ((mapping >> 5) & 1) * TA_BASELINE);
    TEXTMETRICA tm{};
    Check(GetTextMetricsA(dc, &tm) != FALSE);
    const LONG line = tm.tmHeight + ((flags & DT_EXTERNALLEADING) != 0 ? tm.tmExternalLeading : 0);

    RECT measured{3, 5, 3, 5};
    const int height = DrawTextA(dc, text.get(), count, &measured, flags | DT_CALCRECT);
    if (count > 0 && line > 0 && (flags & DT_VCENTER) == 0) {
        // Under a mapping the line height is rounded to logical units more than once.
        Check(height > 0 && ((mapping & 3) != 0 || height % line == 0));
        Check(measured.left == 3 && measured.top == 5 && measured.right >= 3);
        Check(measured.bottom == 5 + height || (measured.bottom == 5 && measured.right == 3));
    }
    RECT box{2, 1, 90, 38};
    DrawTextA(dc, text.get(), count, &box, flags);
    TextOutA(dc, 4 + (data[0] & 31), 2 + (data[1] & 15), text.get(), count);
    const RECT clip{1, 1, 50, 20};
    ExtTextOutA(dc, -3, 7, ETO_OPAQUE | ETO_CLIPPED, &clip, text.get(), static_cast<UINT>(count), nullptr);
    SelectObject(dc, previous);
    DeleteObject(sheet);
    DeleteDC(dc);

    if (length <= 4096) {
        VexoraSetMessageSink([](const char*, const char*, UINT, void*) { return IDOK; }, nullptr);
        HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, length == 0 ? 1 : length);
        Check(block != nullptr);
        std::memcpy(GlobalLock(block), data + 2, length);
        GlobalUnlock(block);
        if (HBITMAP rendered = LoadASCIIIntoBitmap(block)) {
            BITMAP info{};
            Check(GetObjectA(rendered, sizeof info, &info) == static_cast<int>(sizeof info) && info.bmBitsPixel == 1);
            DeleteObject(rendered);
        }
        GlobalFree(block);
    }

    std::vector<char> oem(data + 2, data + size);
    oem.push_back('\0');
    Check(OemToCharA(oem.data(), oem.data()) != FALSE);
    return 0;
}
