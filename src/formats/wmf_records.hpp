// wmf_records.hpp - the records of a Windows metafile: WmfFunction (the record function
// numbers) with WmfRecordName and WmfRecordPlayed (the records the Linux player draws),
// WmfHeader and ReadWmfHeader, and WalkWmfRecords, the bounded walk over a metafile's records
// that the player and the tool's `info` share. Platform-independent and header-only: it reads bytes only.
//
// A Windows metafile is an 18-byte header followed by records. Each record starts with its
// size in 16-bit words (a 32-bit count, the head included) and its function number (16
// bits); its parameters follow as 16-bit words, most of them in the reverse order of the
// call's arguments. The low byte of a function number is the record's own, the high byte the
// number of parameter words it takes at most (Windows' own encoding; a few records differ).
// A record of function 0 (META_EOF) ends the file.
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
    META_EOF = 0x0000,
    META_SAVEDC = 0x001E,
    META_REALIZEPALETTE = 0x0035,
    META_SETPALENTRIES = 0x0037,
    META_CREATEPALETTE = 0x00F7,
    META_SETBKMODE = 0x0102,
    META_SETMAPMODE = 0x0103,
    META_SETROP2 = 0x0104,
    META_SETRELABS = 0x0105,
    META_SETPOLYFILLMODE = 0x0106,
    META_SETSTRETCHBLTMODE = 0x0107,
    META_SETTEXTCHAREXTRA = 0x0108,
    META_RESTOREDC = 0x0127,
    META_INVERTREGION = 0x012A,
    META_PAINTREGION = 0x012B,
    META_SELECTCLIPREGION = 0x012C,
    META_SELECTOBJECT = 0x012D,
    META_SETTEXTALIGN = 0x012E,
    META_RESIZEPALETTE = 0x0139,
    META_DIBCREATEPATTERNBRUSH = 0x0142,
    META_SETLAYOUT = 0x0149,
    META_DELETEOBJECT = 0x01F0,
    META_CREATEPATTERNBRUSH = 0x01F9,
    META_SETBKCOLOR = 0x0201,
    META_SETTEXTCOLOR = 0x0209,
    META_SETTEXTJUSTIFICATION = 0x020A,
    META_SETWINDOWORG = 0x020B,
    META_SETWINDOWEXT = 0x020C,
    META_SETVIEWPORTORG = 0x020D,
    META_SETVIEWPORTEXT = 0x020E,
    META_OFFSETWINDOWORG = 0x020F,
    META_OFFSETVIEWPORTORG = 0x0211,
    META_LINETO = 0x0213,
    META_MOVETO = 0x0214,
    META_OFFSETCLIPRGN = 0x0220,
    META_FILLREGION = 0x0228,
    META_SETMAPPERFLAGS = 0x0231,
    META_SELECTPALETTE = 0x0234,
    META_CREATEPENINDIRECT = 0x02FA,
    META_CREATEFONTINDIRECT = 0x02FB,
    META_CREATEBRUSHINDIRECT = 0x02FC,
    META_POLYGON = 0x0324,
    META_POLYLINE = 0x0325,
    META_SCALEWINDOWEXT = 0x0410,
    META_SCALEVIEWPORTEXT = 0x0412,
    META_EXCLUDECLIPRECT = 0x0415,
    META_INTERSECTCLIPRECT = 0x0416,
    META_ELLIPSE = 0x0418,
    META_FLOODFILL = 0x0419,
    META_RECTANGLE = 0x041B,
    META_SETPIXEL = 0x041F,
    META_FRAMEREGION = 0x0429,
    META_ANIMATEPALETTE = 0x0436,
    META_TEXTOUT = 0x0521,
    META_POLYPOLYGON = 0x0538,
    META_EXTFLOODFILL = 0x0548,
    META_ROUNDRECT = 0x061C,
    META_PATBLT = 0x061D,
    META_ESCAPE = 0x0626,
    META_CREATEREGION = 0x06FF,
    META_ARC = 0x0817,
    META_PIE = 0x081A,
    META_CHORD = 0x0830,
    META_BITBLT = 0x0922,
    META_DIBBITBLT = 0x0940,
    META_EXTTEXTOUT = 0x0A32,
    META_STRETCHBLT = 0x0B23,
    META_DIBSTRETCHBLT = 0x0B41,
    META_SETDIBTODEV = 0x0D33,
    META_STRETCHDIB = 0x0F43,
};

struct WmfRecordKind {
    uint16_t function;
    const char* name;
    bool played;
};

// Every record function, by number, with whether the Linux player draws it. The old bitmap
// records (META_BITBLT, META_STRETCHBLT, META_CREATEPATTERNBRUSH) carry device-dependent
// bitmaps of Windows 2; the palette animation, text spacing, flood fill, escape and layout
// records have no call in the Linux subset.
inline constexpr WmfRecordKind kWmfRecords[] = {
    {META_EOF, "META_EOF", true},
    {META_SAVEDC, "META_SAVEDC", true},
    {META_REALIZEPALETTE, "META_REALIZEPALETTE", true},
    {META_SETPALENTRIES, "META_SETPALENTRIES", false},
    {META_CREATEPALETTE, "META_CREATEPALETTE", true},
    {META_SETBKMODE, "META_SETBKMODE", true},
    {META_SETMAPMODE, "META_SETMAPMODE", true},
    {META_SETROP2, "META_SETROP2", true},
    {META_SETRELABS, "META_SETRELABS", false},
    {META_SETPOLYFILLMODE, "META_SETPOLYFILLMODE", true},
    {META_SETSTRETCHBLTMODE, "META_SETSTRETCHBLTMODE", true},
    {META_SETTEXTCHAREXTRA, "META_SETTEXTCHAREXTRA", false},
    {META_RESTOREDC, "META_RESTOREDC", true},
    {META_INVERTREGION, "META_INVERTREGION", true},
    {META_PAINTREGION, "META_PAINTREGION", true},
    {META_SELECTCLIPREGION, "META_SELECTCLIPREGION", true},
    {META_SELECTOBJECT, "META_SELECTOBJECT", true},
    {META_SETTEXTALIGN, "META_SETTEXTALIGN", true},
    {META_RESIZEPALETTE, "META_RESIZEPALETTE", false},
    {META_DIBCREATEPATTERNBRUSH, "META_DIBCREATEPATTERNBRUSH", true},
    {META_SETLAYOUT, "META_SETLAYOUT", false},
    {META_DELETEOBJECT, "META_DELETEOBJECT", true},
    {META_CREATEPATTERNBRUSH, "META_CREATEPATTERNBRUSH", false},
    {META_SETBKCOLOR, "META_SETBKCOLOR", true},
    {META_SETTEXTCOLOR, "META_SETTEXTCOLOR", true},
    {META_SETTEXTJUSTIFICATION, "META_SETTEXTJUSTIFICATION", false},
    {META_SETWINDOWORG, "META_SETWINDOWORG", true},
    {META_SETWINDOWEXT, "META_SETWINDOWEXT", true},
    {META_SETVIEWPORTORG, "META_SETVIEWPORTORG", true},
    {META_SETVIEWPORTEXT, "META_SETVIEWPORTEXT", true},
    {META_OFFSETWINDOWORG, "META_OFFSETWINDOWORG", true},
    {META_OFFSETVIEWPORTORG, "META_OFFSETVIEWPORTORG", true},
    {META_LINETO, "META_LINETO", true},
    {META_MOVETO, "META_MOVETO", true},
    {META_OFFSETCLIPRGN, "META_OFFSETCLIPRGN", false},
    {META_FILLREGION, "META_FILLREGION", true},
    {META_SETMAPPERFLAGS, "META_SETMAPPERFLAGS", false},
    {META_SELECTPALETTE, "META_SELECTPALETTE", true},
    {META_CREATEPENINDIRECT, "META_CREATEPENINDIRECT", true},
    {META_CREATEFONTINDIRECT, "META_CREATEFONTINDIRECT", true},
    {META_CREATEBRUSHINDIRECT, "META_CREATEBRUSHINDIRECT", true},
    {META_POLYGON, "META_POLYGON", true},
    {META_POLYLINE, "META_POLYLINE", true},
    {META_SCALEWINDOWEXT, "META_SCALEWINDOWEXT", true},
    {META_SCALEVIEWPORTEXT, "META_SCALEVIEWPORTEXT", true},
    {META_EXCLUDECLIPRECT, "META_EXCLUDECLIPRECT", true},
    {META_INTERSECTCLIPRECT, "META_INTERSECTCLIPRECT", true},
    {META_ELLIPSE, "META_ELLIPSE", true},
    {META_FLOODFILL, "META_FLOODFILL", false},
    {META_RECTANGLE, "META_RECTANGLE", true},
    {META_SETPIXEL, "META_SETPIXEL", true},
    {META_FRAMEREGION, "META_FRAMEREGION", true},
    {META_ANIMATEPALETTE, "META_ANIMATEPALETTE", false},
    {META_TEXTOUT, "META_TEXTOUT", true},
    {META_POLYPOLYGON, "META_POLYPOLYGON", true},
    {META_EXTFLOODFILL, "META_EXTFLOODFILL", false},
    {META_ROUNDRECT, "META_ROUNDRECT", true},
    {META_PATBLT, "META_PATBLT", true},
    {META_ESCAPE, "META_ESCAPE", false},
    {META_CREATEREGION, "META_CREATEREGION", true},
    {META_ARC, "META_ARC", true},
    {META_PIE, "META_PIE", true},
    {META_CHORD, "META_CHORD", true},
    {META_BITBLT, "META_BITBLT", false},
    {META_DIBBITBLT, "META_DIBBITBLT", true},
    {META_EXTTEXTOUT, "META_EXTTEXTOUT", true},
    {META_STRETCHBLT, "META_STRETCHBLT", false},
    {META_DIBSTRETCHBLT, "META_DIBSTRETCHBLT", true},
    {META_SETDIBTODEV, "META_SETDIBTODEV", true},
    {META_STRETCHDIB, "META_STRETCHDIB", true},
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

// How a walk ended: at META_EOF, at the end of the bytes without one, at a record whose size
// is below the 3 words of its head (zero, or lying), or at a record that claims more bytes
// than the file holds (it is visited with the bytes there are, then the walk stops).
enum class WmfWalkEnd { Eof, Unterminated, BadSize, Cut };

// Calls visit(record) for each record after the header, in order, up to (not including)
// META_EOF. Never reads outside `file`. Playing them is up to `visit`, which must check that a
// record holds the parameters it reads.
template <typename Visit>
WmfWalkEnd WalkWmfRecords(std::span<const uint8_t> file, Visit&& visit) {
    size_t at = kWmfHeaderBytes;
    while (at < file.size()) {
        if (file.size() - at < kWmfRecordHeadBytes) return WmfWalkEnd::Cut;
        const uint64_t claimed = uint64_t{WmfLong(file.data() + at)} * 2;
        const uint16_t function = WmfWord(file.data() + at + 4);
        if (claimed < kWmfRecordHeadBytes) return WmfWalkEnd::BadSize;
        if (function == META_EOF) return WmfWalkEnd::Eof;
        const size_t left = file.size() - at;
        const bool cut = claimed > left;
        visit(WmfRecord{function, static_cast<uint32_t>(at), static_cast<uint32_t>(cut ? left : claimed)});
        if (cut) return WmfWalkEnd::Cut;
        at += static_cast<size_t>(claimed);
    }
    return WmfWalkEnd::Unterminated;
}

}  // namespace vx::formats
