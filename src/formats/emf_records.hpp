// emf_records.hpp - the record types of an enhanced metafile by name (EmfRecord), which of them
// the player draws (EmfRecordPlayed), and EmfRecords, a bounded walk over the records of a
// metafile's bytes (type, offset, size), with the little-endian readers the player and the
// recorder share (ReadU32, ReadI32, WriteU32).
//
// An enhanced metafile is a sequence of records, each opening with its type and its size in
// bytes (a multiple of 4, at least 8), the first an EMR_HEADER and the last an EMR_EOF. The
// walker trusts none of that: it stops at the end of the bytes, at a size that is zero, not a
// multiple of 4 or reaches past the end, and after EMR_EOF; `broken()` then says whether it
// stopped on a lie rather than at an end. Nothing here reads past the span it is given, so the
// player, the tool's `info` and the fuzz target walk hostile bytes through it alike. It needs
// no GDI and is the same on every platform.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace vx::formats {

inline uint32_t ReadU32(std::span<const uint8_t> bytes, size_t offset) {
    if (offset > bytes.size() || bytes.size() - offset < 4) return 0;
    const uint8_t* p = bytes.data() + offset;
    return uint32_t{p[0]} | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16 | uint32_t{p[3]} << 24;
}
inline int32_t ReadI32(std::span<const uint8_t> bytes, size_t offset) {
    return static_cast<int32_t>(ReadU32(bytes, offset));
}
inline void WriteU32(uint8_t* at, uint32_t value) {
    for (int i = 0; i < 4; ++i) at[i] = static_cast<uint8_t>(value >> (8 * i));
}

enum EmfRecord : uint32_t {
    kEmrHeader = 1,
    kEmrPolyBezier = 2,
    kEmrPolygon = 3,
    kEmrPolyline = 4,
    kEmrPolyBezierTo = 5,
    kEmrPolylineTo = 6,
    kEmrPolyPolyline = 7,
    kEmrPolyPolygon = 8,
    kEmrSetWindowExtEx = 9,
    kEmrSetWindowOrgEx = 10,
    kEmrSetViewportExtEx = 11,
    kEmrSetViewportOrgEx = 12,
    kEmrSetBrushOrgEx = 13,
    kEmrEof = 14,
    kEmrSetPixelV = 15,
    kEmrSetMapperFlags = 16,
    kEmrSetMapMode = 17,
    kEmrSetBkMode = 18,
    kEmrSetPolyFillMode = 19,
    kEmrSetRop2 = 20,
    kEmrSetStretchBltMode = 21,
    kEmrSetTextAlign = 22,
    kEmrSetTextColor = 24,
    kEmrSetBkColor = 25,
    kEmrMoveToEx = 27,
    kEmrExcludeClipRect = 29,
    kEmrIntersectClipRect = 30,
    kEmrScaleViewportExtEx = 31,
    kEmrScaleWindowExtEx = 32,
    kEmrSaveDC = 33,
    kEmrRestoreDC = 34,
    kEmrSelectObject = 37,
    kEmrCreatePen = 38,
    kEmrCreateBrushIndirect = 39,
    kEmrDeleteObject = 40,
    kEmrEllipse = 42,
    kEmrRectangle = 43,
    kEmrRoundRect = 44,
    kEmrArc = 45,
    kEmrChord = 46,
    kEmrPie = 47,
    kEmrSelectPalette = 48,
    kEmrCreatePalette = 49,
    kEmrRealizePalette = 52,
    kEmrLineTo = 54,
    kEmrGdiComment = 70,
    kEmrFillRgn = 71,
    kEmrFrameRgn = 72,
    kEmrInvertRgn = 73,
    kEmrPaintRgn = 74,
    kEmrExtSelectClipRgn = 75,
    kEmrBitBlt = 76,
    kEmrStretchBlt = 77,
    kEmrSetDIBitsToDevice = 80,
    kEmrStretchDIBits = 81,
    kEmrExtCreateFontIndirectW = 82,
    kEmrExtTextOutA = 83,
    kEmrExtTextOutW = 84,
    kEmrPolygon16 = 86,
    kEmrPolyline16 = 87,
    kEmrPolylineTo16 = 89,
    kEmrPolyPolyline16 = 90,
    kEmrPolyPolygon16 = 91,
    kEmrCreateMonoBrush = 93,
    kEmrCreateDibPatternBrushPt = 94,
};

// The records the player draws or keeps state from; every other record is skipped (and
// counted) as one it does not know. A comment is known and draws nothing.
constexpr bool EmfRecordPlayed(uint32_t type) {
    switch (type) {
        case kEmrHeader: case kEmrPolygon: case kEmrPolyline: case kEmrPolylineTo: case kEmrPolyPolyline:
        case kEmrPolyPolygon: case kEmrSetWindowExtEx: case kEmrSetWindowOrgEx: case kEmrSetViewportExtEx:
        case kEmrSetViewportOrgEx: case kEmrSetBrushOrgEx: case kEmrEof: case kEmrSetPixelV: case kEmrSetMapperFlags:
        case kEmrSetMapMode: case kEmrSetBkMode: case kEmrSetPolyFillMode: case kEmrSetRop2:
        case kEmrSetStretchBltMode: case kEmrSetTextAlign: case kEmrSetTextColor: case kEmrSetBkColor:
        case kEmrMoveToEx: case kEmrExcludeClipRect: case kEmrIntersectClipRect: case kEmrScaleViewportExtEx:
        case kEmrScaleWindowExtEx: case kEmrSaveDC: case kEmrRestoreDC: case kEmrSelectObject: case kEmrCreatePen:
        case kEmrCreateBrushIndirect: case kEmrDeleteObject: case kEmrEllipse: case kEmrRectangle:
        case kEmrRoundRect: case kEmrArc: case kEmrChord: case kEmrPie: case kEmrSelectPalette:
        case kEmrCreatePalette: case kEmrRealizePalette: case kEmrLineTo: case kEmrGdiComment: case kEmrFillRgn:
        case kEmrFrameRgn: case kEmrInvertRgn: case kEmrPaintRgn: case kEmrExtSelectClipRgn: case kEmrBitBlt:
        case kEmrStretchBlt: case kEmrSetDIBitsToDevice: case kEmrStretchDIBits: case kEmrExtCreateFontIndirectW:
        case kEmrExtTextOutA: case kEmrExtTextOutW: case kEmrPolygon16: case kEmrPolyline16:
        case kEmrPolylineTo16: case kEmrPolyPolyline16: case kEmrPolyPolygon16: case kEmrCreateMonoBrush:
        case kEmrCreateDibPatternBrushPt:
            return true;
        default:
            return false;
    }
}

// One record: its type, where it starts in the metafile and its size (the whole record, its
// type and size fields included, within the bytes).
struct EmfRecordView {
    uint32_t type = 0;
    size_t offset = 0;
    size_t size = 0;
};

// The records of a metafile's bytes, in order, up to and including EMR_EOF. Use as
//   EmfRecords walk(bytes); for (EmfRecordView record; walk.next(record);) ...
class EmfRecords {
public:
    explicit EmfRecords(std::span<const uint8_t> bytes) : bytes_(bytes) {}

    bool next(EmfRecordView& record) {
        if (done_ || bytes_.size() - offset_ < 8) {
            done_ = true;
            return false;
        }
        const uint32_t type = ReadU32(bytes_, offset_), size = ReadU32(bytes_, offset_ + 4);
        if (size < 8 || size % 4 != 0 || size > bytes_.size() - offset_) {
            done_ = broken_ = true;
            return false;
        }
        record = {type, offset_, size};
        offset_ += size;
        done_ = type == kEmrEof;
        return true;
    }
    // True when the walk stopped at a record whose size lies.
    bool broken() const { return broken_; }

private:
    std::span<const uint8_t> bytes_;
    size_t offset_ = 0;
    bool done_ = false;
    bool broken_ = false;
};

}  // namespace vx::formats
