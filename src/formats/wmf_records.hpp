// wmf_records.hpp - the records of a Windows metafile: WmfFunction (the record function
// numbers) with WmfRecordName and WmfRecordPlayed (the records the Linux player draws),
// WmfHeader and ReadWmfHeader, and WalkWmfRecords, the bounded walk over a metafile's records
// that the player and the tool's `info` share. Platform-independent and header-only: it reads
// bytes only. The functions are named WMF_... here, as <windows.h> takes the format's own
// names (META_...) for macros; WmfRecordName gives the format's names.
//
// A Windows metafile is an 18-byte header followed by records. Each record starts with its
// size in 16-bit words (a 32-bit count, the head included) and its function number (16
// bits); its parameters follow as 16-bit words, most of them in the reverse order of the
// call's arguments. The low byte of a function number is the record's own, the high byte the
// number of parameter words it takes at most (Windows' own encoding; a few records differ).
// A record of function 0 (WMF_EOF) ends the file.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <span>

namespace vx::formats {

// The header's size and a record's head (size and function), in bytes.
inline constexpr uint32_t kWmfHeaderBytes = 18;
inline constexpr uint32_t kWmfRecordHeadBytes = 6;

enum WmfFunction : uint16_t {
    WMF_EOF = 0x0000,
    WMF_SAVEDC = 0x001E,
    WMF_REALIZEPALETTE = 0x0035,
    WMF_SETPALENTRIES = 0x0037,
    WMF_CREATEPALETTE = 0x00F7,
    WMF_SETBKMODE = 0x0102,
    WMF_SETMAPMODE = 0x0103,
    WMF_SETROP2 = 0x0104,
    WMF_SETRELABS = 0x0105,
    WMF_SETPOLYFILLMODE = 0x0106,
    WMF_SETSTRETCHBLTMODE = 0x0107,
    WMF_SETTEXTCHAREXTRA = 0x0108,
    WMF_RESTOREDC = 0x0127,
    WMF_INVERTREGION = 0x012A,
    WMF_PAINTREGION = 0x012B,
    WMF_SELECTCLIPREGION = 0x012C,
    WMF_SELECTOBJECT = 0x012D,
    WMF_SETTEXTALIGN = 0x012E,
    WMF_RESIZEPALETTE = 0x0139,
    WMF_DIBCREATEPATTERNBRUSH = 0x0142,
    WMF_SETLAYOUT = 0x0149,
    WMF_DELETEOBJECT = 0x01F0,
    WMF_CREATEPATTERNBRUSH = 0x01F9,
    WMF_SETBKCOLOR = 0x0201,
    WMF_SETTEXTCOLOR = 0x0209,
    WMF_SETTEXTJUSTIFICATION = 0x020A,
    WMF_SETWINDOWORG = 0x020B,
    WMF_SETWINDOWEXT = 0x020C,
    WMF_SETVIEWPORTORG = 0x020D,
    WMF_SETVIEWPORTEXT = 0x020E,
    WMF_OFFSETWINDOWORG = 0x020F,
    WMF_OFFSETVIEWPORTORG = 0x0211,
    WMF_LINETO = 0x0213,
    WMF_MOVETO = 0x0214,
    WMF_OFFSETCLIPRGN = 0x0220,
    WMF_FILLREGION = 0x0228,
    WMF_SETMAPPERFLAGS = 0x0231,
    WMF_SELECTPALETTE = 0x0234,
    WMF_CREATEPENINDIRECT = 0x02FA,
    WMF_CREATEFONTINDIRECT = 0x02FB,
    WMF_CREATEBRUSHINDIRECT = 0x02FC,
    WMF_POLYGON = 0x0324,
    WMF_POLYLINE = 0x0325,
    WMF_SCALEWINDOWEXT = 0x0410,
    WMF_SCALEVIEWPORTEXT = 0x0412,
    WMF_EXCLUDECLIPRECT = 0x0415,
    WMF_INTERSECTCLIPRECT = 0x0416,
    WMF_ELLIPSE = 0x0418,
    WMF_FLOODFILL = 0x0419,
    WMF_RECTANGLE = 0x041B,
    WMF_SETPIXEL = 0x041F,
    WMF_FRAMEREGION = 0x0429,
    WMF_ANIMATEPALETTE = 0x0436,
    WMF_TEXTOUT = 0x0521,
    WMF_POLYPOLYGON = 0x0538,
    WMF_EXTFLOODFILL = 0x0548,
    WMF_ROUNDRECT = 0x061C,
    WMF_PATBLT = 0x061D,
    WMF_ESCAPE = 0x0626,
    WMF_CREATEREGION = 0x06FF,
    WMF_ARC = 0x0817,
    WMF_PIE = 0x081A,
    WMF_CHORD = 0x0830,
    WMF_BITBLT = 0x0922,
    WMF_DIBBITBLT = 0x0940,
    WMF_EXTTEXTOUT = 0x0A32,
    WMF_STRETCHBLT = 0x0B23,
    WMF_DIBSTRETCHBLT = 0x0B41,
    WMF_SETDIBTODEV = 0x0D33,
    WMF_STRETCHDIB = 0x0F43,
};

struct WmfRecordKind {
    uint16_t function;
    const char* name;
    bool played;
};

// Every record function, by number, with whether the Linux player draws it. The old bitmap
// records (WMF_BITBLT, WMF_STRETCHBLT, WMF_CREATEPATTERNBRUSH) carry device-dependent
// bitmaps of Windows 2; the palette animation, text spacing, flood fill, escape and layout
// records have no call in the Linux subset.
inline constexpr WmfRecordKind kWmfRecords[] = {
    {WMF_EOF, "META_EOF", true},
    {WMF_SAVEDC, "META_SAVEDC", true},
    {WMF_REALIZEPALETTE, "META_REALIZEPALETTE", true},
    {WMF_SETPALENTRIES, "META_SETPALENTRIES", false},
    {WMF_CREATEPALETTE, "META_CREATEPALETTE", true},
    {WMF_SETBKMODE, "META_SETBKMODE", true},
    {WMF_SETMAPMODE, "META_SETMAPMODE", true},
    {WMF_SETROP2, "META_SETROP2", true},
    {WMF_SETRELABS, "META_SETRELABS", false},
    {WMF_SETPOLYFILLMODE, "META_SETPOLYFILLMODE", true},
    {WMF_SETSTRETCHBLTMODE, "META_SETSTRETCHBLTMODE", true},
    {WMF_SETTEXTCHAREXTRA, "META_SETTEXTCHAREXTRA", false},
    {WMF_RESTOREDC, "META_RESTOREDC", true},
    {WMF_INVERTREGION, "META_INVERTREGION", true},
    {WMF_PAINTREGION, "META_PAINTREGION", true},
    {WMF_SELECTCLIPREGION, "META_SELECTCLIPREGION", true},
    {WMF_SELECTOBJECT, "META_SELECTOBJECT", true},
    {WMF_SETTEXTALIGN, "META_SETTEXTALIGN", true},
    {WMF_RESIZEPALETTE, "META_RESIZEPALETTE", false},
    {WMF_DIBCREATEPATTERNBRUSH, "META_DIBCREATEPATTERNBRUSH", true},
    {WMF_SETLAYOUT, "META_SETLAYOUT", false},
    {WMF_DELETEOBJECT, "META_DELETEOBJECT", true},
    {WMF_CREATEPATTERNBRUSH, "META_CREATEPATTERNBRUSH", false},
    {WMF_SETBKCOLOR, "META_SETBKCOLOR", true},
    {WMF_SETTEXTCOLOR, "META_SETTEXTCOLOR", true},
    {WMF_SETTEXTJUSTIFICATION, "META_SETTEXTJUSTIFICATION", false},
    {WMF_SETWINDOWORG, "META_SETWINDOWORG", true},
    {WMF_SETWINDOWEXT, "META_SETWINDOWEXT", true},
    {WMF_SETVIEWPORTORG, "META_SETVIEWPORTORG", true},
    {WMF_SETVIEWPORTEXT, "META_SETVIEWPORTEXT", true},
    {WMF_OFFSETWINDOWORG, "META_OFFSETWINDOWORG", true},
    {WMF_OFFSETVIEWPORTORG, "META_OFFSETVIEWPORTORG", true},
    {WMF_LINETO, "META_LINETO", true},
    {WMF_MOVETO, "META_MOVETO", true},
    {WMF_OFFSETCLIPRGN, "META_OFFSETCLIPRGN", false},
    {WMF_FILLREGION, "META_FILLREGION", true},
    {WMF_SETMAPPERFLAGS, "META_SETMAPPERFLAGS", false},
    {WMF_SELECTPALETTE, "META_SELECTPALETTE", true},
    {WMF_CREATEPENINDIRECT, "META_CREATEPENINDIRECT", true},
    {WMF_CREATEFONTINDIRECT, "META_CREATEFONTINDIRECT", true},
    {WMF_CREATEBRUSHINDIRECT, "META_CREATEBRUSHINDIRECT", true},
    {WMF_POLYGON, "META_POLYGON", true},
    {WMF_POLYLINE, "META_POLYLINE", true},
    {WMF_SCALEWINDOWEXT, "META_SCALEWINDOWEXT", true},
    {WMF_SCALEVIEWPORTEXT, "META_SCALEVIEWPORTEXT", true},
    {WMF_EXCLUDECLIPRECT, "META_EXCLUDECLIPRECT", true},
    {WMF_INTERSECTCLIPRECT, "META_INTERSECTCLIPRECT", true},
    {WMF_ELLIPSE, "META_ELLIPSE", true},
    {WMF_FLOODFILL, "META_FLOODFILL", false},
    {WMF_RECTANGLE, "META_RECTANGLE", true},
    {WMF_SETPIXEL, "META_SETPIXEL", true},
    {WMF_FRAMEREGION, "META_FRAMEREGION", true},
    {WMF_ANIMATEPALETTE, "META_ANIMATEPALETTE", false},
    {WMF_TEXTOUT, "META_TEXTOUT", true},
    {WMF_POLYPOLYGON, "META_POLYPOLYGON", true},
    {WMF_EXTFLOODFILL, "META_EXTFLOODFILL", false},
    {WMF_ROUNDRECT, "META_ROUNDRECT", true},
    {WMF_PATBLT, "META_PATBLT", true},
    {WMF_ESCAPE, "META_ESCAPE", false},
    {WMF_CREATEREGION, "META_CREATEREGION", true},
    {WMF_ARC, "META_ARC", true},
    {WMF_PIE, "META_PIE", true},
    {WMF_CHORD, "META_CHORD", true},
    {WMF_BITBLT, "META_BITBLT", false},
    {WMF_DIBBITBLT, "META_DIBBITBLT", true},
    {WMF_EXTTEXTOUT, "META_EXTTEXTOUT", true},
    {WMF_STRETCHBLT, "META_STRETCHBLT", false},
    {WMF_DIBSTRETCHBLT, "META_DIBSTRETCHBLT", true},
    {WMF_SETDIBTODEV, "META_SETDIBTODEV", true},
    {WMF_STRETCHDIB, "META_STRETCHDIB", true},
};

static_assert(std::is_sorted(std::begin(kWmfRecords), std::end(kWmfRecords),
                             [](const WmfRecordKind& a, const WmfRecordKind& b) { return a.function < b.function; }));

// The entry of a record function, or null.
constexpr const WmfRecordKind* FindWmfRecord(uint16_t function) {
    const auto found = std::lower_bound(std::begin(kWmfRecords), std::end(kWmfRecords), function,
                                        [](const WmfRecordKind& n, uint16_t f) { return n.function < f; });
    return found != std::end(kWmfRecords) && found->function == function ? found : nullptr;
}

// The name of a record function ("META_LINETO"), or null for a number that names none.
constexpr const char* WmfRecordName(uint16_t function) {
    const WmfRecordKind* kind = FindWmfRecord(function);
    return kind != nullptr ? kind->name : nullptr;
}

// Whether the Linux player draws a record (others are skipped and counted).
constexpr bool WmfRecordPlayed(uint16_t function) {
    const WmfRecordKind* kind = FindWmfRecord(function);
    return kind != nullptr && kind->played;
}

// A 16- or 32-bit little-endian value at `p`.
inline uint16_t WmfWord(const uint8_t* p) { return static_cast<uint16_t>(p[0] | p[1] << 8); }
inline uint32_t WmfLong(const uint8_t* p) { return WmfWord(p) | uint32_t{WmfWord(p + 2)} << 16; }

// The 18-byte header.
struct WmfHeader {
    uint16_t type = 0;         // 1 in memory, 2 on disk
    uint16_t headerWords = 0;  // 9
    uint16_t version = 0;      // 0x300 (0x100 for the oldest files)
    uint32_t sizeWords = 0;    // the whole file, in 16-bit words
    uint16_t objects = 0;      // the slots of the object table the records use
    uint32_t largestRecord = 0;
};

// The header of `file`; false when it holds fewer than 18 bytes.
inline bool ReadWmfHeader(std::span<const uint8_t> file, WmfHeader& header) {
    if (file.size() < kWmfHeaderBytes) return false;
    const uint8_t* p = file.data();
    header.type = WmfWord(p);
    header.headerWords = WmfWord(p + 2);
    header.version = WmfWord(p + 4);
    header.sizeWords = WmfLong(p + 6);
    header.objects = WmfWord(p + 10);
    header.largestRecord = WmfLong(p + 12);
    return true;
}

// One record: its function, where its head starts in the file, and the bytes of it the file
// holds (head included; at least the 6 of the head).
struct WmfRecord {
    uint16_t function = 0;
    uint32_t offset = 0;
    uint32_t bytes = 0;
};

// How a walk ended: at WMF_EOF, at the end of the bytes without one, at a record whose size
// is below the 3 words of its head (zero, or lying), or at a record that claims more bytes
// than the file holds (it is visited with the bytes there are, then the walk stops).
enum class WmfWalkEnd { Eof, Unterminated, BadSize, Cut };

// Calls visit(record) for each record after the header, in order, up to (not including)
// WMF_EOF. Never reads outside `file`. Playing them is up to `visit`, which must check that a
// record holds the parameters it reads.
template <typename Visit>
WmfWalkEnd WalkWmfRecords(std::span<const uint8_t> file, Visit&& visit) {
    size_t at = kWmfHeaderBytes;
    while (at < file.size()) {
        if (file.size() - at < kWmfRecordHeadBytes) return WmfWalkEnd::Cut;
        const uint64_t claimed = uint64_t{WmfLong(file.data() + at)} * 2;
        const uint16_t function = WmfWord(file.data() + at + 4);
        if (claimed < kWmfRecordHeadBytes) return WmfWalkEnd::BadSize;
        if (function == WMF_EOF) return WmfWalkEnd::Eof;
        const size_t left = file.size() - at;
        const bool cut = claimed > left;
        visit(WmfRecord{function, static_cast<uint32_t>(at), static_cast<uint32_t>(cut ? left : claimed)});
        if (cut) return WmfWalkEnd::Cut;
        at += static_cast<size_t>(claimed);
    }
    return WmfWalkEnd::Unterminated;
}

}  // namespace vx::formats
