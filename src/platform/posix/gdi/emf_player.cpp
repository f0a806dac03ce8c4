// emf_player.cpp - PlayEnhMetaFile of the Linux subset: draws the records of an enhanced
// metafile on a DC through the subset's own GDI calls.
//
// Placement. The metafile's picture frame (rclFrame, in .01 mm) is turned into pixels of the
// reference device the metafile was made on (szlDevice pixels over szlMillimeters) and mapped
// onto the rectangle given, in the target DC's logical units: x' = x * sx + dx, where sx is
// the rectangle's width over the frame's width in those pixels and dx puts the frame's left
// edge on the rectangle's. The coefficients are single-precision floats and a point is mapped
// in double precision and rounded half up, as Windows does with the world transform it sets
// for playback; so a bitmap record lands on exactly Windows' pixels for any rectangle. A
// rectangle without width or height, or a frame without one, plays the records unscaled, as
// Windows does.
//
// Our GDI has no world transform, so the player keeps the metafile's own mapping itself (its
// SetMapMode, window and viewport records, saved and restored with SaveDC and RestoreDC), in
// the units of the reference device, composes it with the placement, and hands the target DC
// coordinates already mapped: the target's own mapping mode still applies to them, which is
// exact for MM_TEXT targets. A blit is mapped by its two corners; a size (the corners of a
// rounded rectangle, a font height, text advances) is scaled by the composed factors.
//
// Objects. The records create pens, brushes, fonts and palettes into a table of the header's
// nHandles slots and select them by index (an index with the high bit set names a stock
// object); everything the metafile made is deleted when it ends. The target's state is saved
// before playing and restored after, so a metafile leaves the DC as it found it.
//
// Trust. Every record is reached through the bounded walker of emf_records.hpp; each handler
// checks that the record holds the fields it reads, that a count of points fits in it, and
// that a bitmap's header, colour table and bits (offBmiSrc, cbBmiSrc, offBitsSrc, cbBitsSrc)
// lie inside it and are large enough for the image they describe. A record that fails a check
// is skipped, as is one the player does not know (EmfRecordPlayed); playing goes on with the
// next one. A slot index past nHandles is ignored.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <span>
#include <string>
#include <vector>

#include "formats/emf_records.hpp"
#include "platform/posix/gdi/objects.hpp"

namespace vx::posix::gdi {
namespace {

using namespace vx::formats;

// x' = x * m11 + dx, y' = y * m22 + dy, in single-precision coefficients.
struct Scaling {
    float m11 = 1, m22 = 1, dx = 0, dy = 0;
    Scaling then(const Scaling& next) const {
        return {m11 * next.m11, m22 * next.m22, dx * next.m11 + next.dx, dy * next.m22 + next.dy};
    }
};

LONG Round(double value) {
    const double rounded = std::floor(value + 0.5);
    if (!(rounded >= -2147483648.0 && rounded < 2147483648.0)) return INT32_MIN;
    return static_cast<LONG>(rounded);
}

// The metafile's own mapping, in the reference device's pixels.
struct Mapping {
    int mode = MM_TEXT;
    POINT windowOrigin{0, 0}, viewportOrigin{0, 0};
    SIZE windowExtent{1, 1}, viewportExtent{1, 1};

    Scaling scaling() const {
        const double sx = static_cast<double>(viewportExtent.cx) / windowExtent.cx;
        const double sy = static_cast<double>(viewportExtent.cy) / windowExtent.cy;
        return {static_cast<float>(sx), static_cast<float>(sy),
                static_cast<float>(viewportOrigin.x - sx * windowOrigin.x),
                static_cast<float>(viewportOrigin.y - sy * windowOrigin.y)};
    }
};

// A DIB without a colour table (its pixels are indices of whatever the DC holds).
constexpr UINT kPalIndices = 2;

// Where a bitmap record's header, colour table and bits sit in the record.
struct DibInRecord {
    std::vector<uint8_t> info;  // the BITMAPINFO, copied so that it is aligned
    std::vector<uint8_t> bits;
    const BITMAPINFO* bitmapInfo() const { return reinterpret_cast<const BITMAPINFO*>(info.data()); }
};

class Player {
public:
    Player(HDC dc, std::span<const uint8_t> bytes, const RECT* rect) : dc_(dc), bytes_(bytes) {
        device_ = {ReadI32(bytes, 72), ReadI32(bytes, 76)};
        millimetres_ = {ReadI32(bytes, 80), ReadI32(bytes, 84)};
        handles_.assign(size_t{ReadU32(bytes, 56) & 0xFFFF}, nullptr);
        if (rect != nullptr) Place(*rect);
        Update();
    }
    ~Player() {
        for (HGDIOBJ object : handles_)
            if (object != nullptr) DeleteObject(object);
    }

    void Play() {
        const int saved = SaveDC(dc_);
        SetROP2(dc_, R2_COPYPEN);
        SetStretchBltMode(dc_, BLACKONWHITE);
        SetPolyFillMode(dc_, ALTERNATE);
        SetTextAlign(dc_, TA_LEFT | TA_TOP | TA_NOUPDATECP);
        EmfRecords walk(bytes_);
        for (EmfRecordView record; walk.next(record);) {
            if (EmfRecordPlayed(record.type)) Record(record.type, bytes_.subspan(record.offset, record.size));
        }
        RestoreDC(dc_, saved);
    }

private:
    // The placement of the frame on `rect`.
    void Place(const RECT& rect) {
        const double frameWidth = static_cast<double>(ReadI32(bytes_, 32)) - ReadI32(bytes_, 24);
        const double frameHeight = static_cast<double>(ReadI32(bytes_, 36)) - ReadI32(bytes_, 28);
        const double rectWidth = static_cast<double>(rect.right) - rect.left;
        const double rectHeight = static_cast<double>(rect.bottom) - rect.top;
        if (rectWidth == 0 || rectHeight == 0 || frameWidth == 0 || frameHeight == 0 || device_.cx == 0 ||
            device_.cy == 0)
            return;
        const auto pixelX = static_cast<float>(millimetres_.cx) / static_cast<float>(device_.cx);
        const auto pixelY = static_cast<float>(millimetres_.cy) / static_cast<float>(device_.cy);
        placement_.m11 = static_cast<float>(rectWidth * 100.0 / frameWidth * pixelX);
        placement_.m22 = static_cast<float>(rectHeight * 100.0 / frameHeight * pixelY);
        placement_.dx = static_cast<float>(rect.left - rectWidth * ReadI32(bytes_, 24) / frameWidth);
        placement_.dy = static_cast<float>(rect.top - rectHeight * ReadI32(bytes_, 28) / frameHeight);
    }
    void Update() { total_ = mapping_.scaling().then(placement_); }

    POINT Map(int64_t x, int64_t y) const {
        return {Round(static_cast<double>(x) * total_.m11 + total_.dx),
                Round(static_cast<double>(y) * total_.m22 + total_.dy)};
    }
    // The extent from one mapped corner to the other, wrapping as Windows' 32-bit sums do.
    static int Span(LONG from, LONG to) {
        return static_cast<int32_t>(static_cast<uint32_t>(to) - static_cast<uint32_t>(from));
    }
    int ScaleX(int size) const { return Round(std::fabs(static_cast<double>(size) * total_.m11)); }
    int ScaleY(int size) const { return Round(std::fabs(static_cast<double>(size) * total_.m22)); }
    // A region rectangle is in the reference device's pixels: only the placement applies.
    RECT PlaceRect(const RECT& r) const {
        return {Round(static_cast<double>(r.left) * placement_.m11 + placement_.dx),
                Round(static_cast<double>(r.top) * placement_.m22 + placement_.dy),
                Round(static_cast<double>(r.right) * placement_.m11 + placement_.dx),
                Round(static_cast<double>(r.bottom) * placement_.m22 + placement_.dy)};
    }

    // The fixed modes' extents, from the reference device's size.
    void SetMode(int mode) {
        if (mode < MM_TEXT || mode > MM_ANISOTROPIC) return;
        mapping_.mode = mode;
        int per = 0;  // logical units per 10 mm
        switch (mode) {
            case MM_TEXT: mapping_.windowExtent = mapping_.viewportExtent = {1, 1}; return;
            case MM_LOMETRIC:
            case MM_ISOTROPIC: per = 100; break;
            case MM_HIMETRIC: per = 1000; break;
            case MM_LOENGLISH: per = 3937; break;   // 0.01 inch
            case MM_HIENGLISH: per = 39370; break;  // 0.001 inch
            case MM_TWIPS: per = 56693; break;      // 1/1440 inch
            default: return;                        // MM_ANISOTROPIC keeps the extents it has
        }
        mapping_.windowExtent = {static_cast<LONG>(int64_t{millimetres_.cx} * per / 100),
                                 static_cast<LONG>(int64_t{millimetres_.cy} * per / 100)};
        mapping_.viewportExtent = {device_.cx, -device_.cy};
        if (mapping_.windowExtent.cx == 0 || mapping_.windowExtent.cy == 0 || device_.cx == 0 || device_.cy == 0)
            mapping_.windowExtent = mapping_.viewportExtent = {1, 1};
    }
    void SetExtent(SIZE Mapping::*extent, int x, int y) {
        if (mapping_.mode != MM_ISOTROPIC && mapping_.mode != MM_ANISOTROPIC) return;
        if (x == 0 || y == 0) return;
        mapping_.*extent = {x, y};
        if (mapping_.mode == MM_ISOTROPIC) {
            SIZE& v = mapping_.viewportExtent;
            const double xdim = std::fabs(static_cast<double>(v.cx) / mapping_.windowExtent.cx);
            const double ydim = std::fabs(static_cast<double>(v.cy) / mapping_.windowExtent.cy);
            if (xdim > ydim)
                v.cx = std::max<LONG>(1, Round(std::fabs(v.cx * ydim / xdim))) * (v.cx < 0 ? -1 : 1);
            else
                v.cy = std::max<LONG>(1, Round(std::fabs(v.cy * xdim / ydim))) * (v.cy < 0 ? -1 : 1);
        }
    }

    HGDIOBJ Slot(uint32_t index) const {
        if (index & 0x80000000u) return GetStockObject(static_cast<int>(index & 0x7FFFFFFFu));
        return index < handles_.size() ? handles_[index] : nullptr;
    }
    void Keep(uint32_t index, HGDIOBJ object) {
        if (index == 0 || index >= handles_.size()) {
            if (object != nullptr) DeleteObject(object);
            return;
        }
        if (handles_[index] != nullptr) DeleteObject(handles_[index]);
        handles_[index] = object;
    }

    // `count` points of 16 or 32 bits a coordinate from `offset`, mapped; false when they
    // do not fit in the record.
    static bool Fits(std::span<const uint8_t> r, size_t offset, uint64_t count, size_t each) {
        return offset <= r.size() && count <= (r.size() - offset) / each;
    }
    std::vector<POINT> Points(std::span<const uint8_t> r, size_t offset, size_t count, bool small) const {
        std::vector<POINT> points(count);
        for (size_t i = 0; i < count; ++i) {
            int x, y;
            if (small) {
                const uint32_t both = ReadU32(r, offset + 4 * i);
                x = static_cast<int16_t>(both & 0xFFFF);
                y = static_cast<int16_t>(both >> 16);
            } else {
                x = ReadI32(r, offset + 8 * i);
                y = ReadI32(r, offset + 8 * i + 4);
            }
            points[i] = Map(x, y);
        }
        return points;
    }
    // A polygon or polyline record (bounds, count, points).
    void Poly(uint32_t type, std::span<const uint8_t> r, bool small) {
        const uint32_t count = ReadU32(r, 24);
        if (r.size() < 28 || !Fits(r, 28, count, small ? 4 : 8) || count > INT32_MAX) return;
        const std::vector<POINT> p = Points(r, 28, count, small);
        const int n = static_cast<int>(count);
        if (type == kEmrPolygon || type == kEmrPolygon16)
            Polygon(dc_, p.data(), n);
        else if (type == kEmrPolyline || type == kEmrPolyline16)
            Polyline(dc_, p.data(), n);
        else
            for (const POINT& point : p) LineTo(dc_, point.x, point.y);
    }
    // A poly-polygon or poly-polyline record (bounds, polygons, points, counts, points).
    void PolyPoly(uint32_t type, std::span<const uint8_t> r, bool small) {
        const uint32_t polygons = ReadU32(r, 24), count = ReadU32(r, 28);
        if (r.size() < 32 || !Fits(r, 32, polygons, 4)) return;
        const size_t pointsAt = 32 + size_t{polygons} * 4;
        if (!Fits(r, pointsAt, count, small ? 4 : 8)) return;
        std::vector<INT> counts(polygons);
        uint64_t sum = 0;
        for (uint32_t i = 0; i < polygons; ++i) sum += counts[i] = ReadI32(r, 32 + 4 * size_t{i});
        if (sum != count || std::any_of(counts.begin(), counts.end(), [](INT c) { return c < 0; })) return;
        const std::vector<POINT> p = Points(r, pointsAt, count, small);
        if (type == kEmrPolyPolygon || type == kEmrPolyPolygon16) {
            PolyPolygon(dc_, p.data(), counts.data(), static_cast<int>(polygons));
            return;
        }
        size_t first = 0;
        for (INT c : counts) {
            Polyline(dc_, p.data() + first, c);
            first += static_cast<size_t>(c);
        }
    }

    // The bitmap of a bitmap record, checked to lie inside it and to hold `rows` rows of its
    // width (all of them when rows < 0); false when it does not.
    static bool ReadDib(std::span<const uint8_t> r, size_t at, int64_t rows, UINT usage, DibInRecord& dib) {
        const uint32_t offInfo = ReadU32(r, at), infoSize = ReadU32(r, at + 4);
        const uint32_t offBits = ReadU32(r, at + 8), bitsSize = ReadU32(r, at + 12);
        if (offInfo > r.size() || infoSize > r.size() - offInfo || offBits > r.size() || bitsSize > r.size() - offBits)
            return false;
        const auto info = r.subspan(offInfo, infoSize);
        const uint32_t headerSize = ReadU32(info, 0);
        if (infoSize < sizeof(BITMAPINFOHEADER) || headerSize < sizeof(BITMAPINFOHEADER) || headerSize > infoSize)
            return false;
        const int32_t width = ReadI32(info, 4), height = ReadI32(info, 8);
        const uint32_t bitCount = ReadU32(info, 12) >> 16, compression = ReadU32(info, 16), used = ReadU32(info, 32);
        if (width <= 0 || height == 0 || height == INT32_MIN || width > (1 << 24)) return false;
        if (compression != BI_RGB && compression != BI_BITFIELDS) return false;
        size_t table = 0;
        if (bitCount <= 8) {
            const uint32_t entries = used != 0 && used < (1u << bitCount) ? used : 1u << bitCount;
            table = entries * (usage == DIB_PAL_COLORS ? 2 : usage == kPalIndices ? 0 : 4);
        } else if (compression == BI_BITFIELDS) {
            table = headerSize == sizeof(BITMAPINFOHEADER) ? 12 : 0;
        }
        if (table > infoSize - headerSize) return false;
        const uint64_t stride = (uint64_t{static_cast<uint32_t>(width)} * bitCount + 31) / 32 * 4;
        const uint64_t lines =
            rows < 0 ? static_cast<uint64_t>(height < 0 ? -int64_t{height} : height) : uint64_t(rows);
        if (stride * lines > bitsSize) return false;
        dib.info.assign(info.begin(), info.end());
        dib.info.resize(std::max<size_t>(dib.info.size(), sizeof(BITMAPINFOHEADER) + 256 * sizeof(RGBQUAD)), 0);
        const auto bits = r.subspan(offBits, static_cast<size_t>(stride * lines));
        dib.bits.assign(bits.begin(), bits.end());
        return true;
    }

    // A blit record: EMR_BITBLT (no source: a pattern fill) or EMR_STRETCHBLT.
    void Blit(std::span<const uint8_t> r, bool stretch) {
        if (r.size() < (stretch ? 108u : 100u)) return;
        const int x = ReadI32(r, 24), y = ReadI32(r, 28), cx = ReadI32(r, 32), cy = ReadI32(r, 36);
        const DWORD rop = ReadU32(r, 40);
        const POINT a = Map(x, y), b = Map(int64_t{x} + cx, int64_t{y} + cy);
        if (ReadU32(r, 88) == 0) {  // no bitmap: the raster operation reads no source
            PatBlt(dc_, a.x, a.y, Span(a.x, b.x), Span(a.y, b.y), rop);
            return;
        }
        const UINT usage = ReadU32(r, 80);
        DibInRecord dib;
        if (!ReadDib(r, 84, -1, usage, dib)) return;
        void* pixels = nullptr;
        HBITMAP bitmap = CreateDIBSection(dc_, dib.bitmapInfo(), usage, &pixels, nullptr, 0);
        HDC source = CreateCompatibleDC(dc_);
        if (bitmap != nullptr && source != nullptr && pixels != nullptr) {
            std::memcpy(pixels, dib.bits.data(), dib.bits.size());
            HGDIOBJ previous = SelectObject(source, bitmap);
            SetBkColor(source, ReadU32(r, 76));
            const int sourceWidth = stretch ? ReadI32(r, 100) : cx, sourceHeight = stretch ? ReadI32(r, 104) : cy;
            StretchBlt(dc_, a.x, a.y, Span(a.x, b.x), Span(a.y, b.y), source, ReadI32(r, 44), ReadI32(r, 48),
                       sourceWidth, sourceHeight, rop);
            SelectObject(source, previous);
        }
        if (source != nullptr) DeleteDC(source);
        if (bitmap != nullptr) DeleteObject(bitmap);
    }
    void StretchDib(std::span<const uint8_t> r) {
        if (r.size() < 80) return;
        const UINT usage = ReadU32(r, 64);
        DibInRecord dib;
        if (!ReadDib(r, 48, -1, usage, dib)) return;
        const int x = ReadI32(r, 24), y = ReadI32(r, 28);
        const POINT a = Map(x, y), b = Map(int64_t{x} + ReadI32(r, 72), int64_t{y} + ReadI32(r, 76));
        StretchDIBits(dc_, a.x, a.y, Span(a.x, b.x), Span(a.y, b.y), ReadI32(r, 32), ReadI32(r, 36), ReadI32(r, 40),
                      ReadI32(r, 44), dib.bits.data(), dib.bitmapInfo(), usage, ReadU32(r, 68));
    }
    void DibToDevice(std::span<const uint8_t> r) {
        if (r.size() < 76) return;
        const UINT usage = ReadU32(r, 64), lines = ReadU32(r, 72);
        DibInRecord dib;
        if (!ReadDib(r, 48, lines, usage, dib)) return;
        const POINT a = Map(ReadI32(r, 24), ReadI32(r, 28));
        SetDIBitsToDevice(dc_, a.x, a.y, ReadU32(r, 40), ReadU32(r, 44), ReadI32(r, 32), ReadI32(r, 36), ReadU32(r, 68),
                          lines, dib.bits.data(), dib.bitmapInfo(), usage);
    }

    // A region of RGNDATA at `offset`, `size` bytes long, in the reference device's pixels.
    HRGN Region(std::span<const uint8_t> r, size_t offset, uint32_t size) const {
        if (offset > r.size() || size > r.size() - offset || size < 32) return nullptr;
        const auto data = r.subspan(offset, size);
        const uint32_t headerSize = ReadU32(data, 0), count = ReadU32(data, 8);
        if (headerSize < 32 || headerSize > size || !Fits(data, headerSize, count, 16)) return nullptr;
        HRGN region = CreateRectRgn(0, 0, 0, 0);
        for (uint32_t i = 0; i < count && region != nullptr; ++i) {
            const size_t at = headerSize + 16 * size_t{i};
            const RECT box =
                PlaceRect({ReadI32(data, at), ReadI32(data, at + 4), ReadI32(data, at + 8), ReadI32(data, at + 12)});
            HRGN part = CreateRectRgn(box.left, box.top, box.right, box.bottom);
            if (part != nullptr) {
                CombineRgn(region, region, part, RGN_OR);
                DeleteObject(part);
            }
        }
        return region;
    }

    void Text(std::span<const uint8_t> r, bool wide) {
        if (r.size() < 76) return;
        const POINT at = Map(ReadI32(r, 36), ReadI32(r, 40));
        const uint32_t count = ReadU32(r, 44), offString = ReadU32(r, 48), options = ReadU32(r, 52);
        const uint32_t offDx = ReadU32(r, 72);
        if (count > INT32_MAX || !Fits(r, offString, count, wide ? 2 : 1)) return;
        std::string text(count, '\0');
        for (uint32_t i = 0; i < count; ++i) {
            const uint32_t c =
                wide ? (r[offString + 2 * size_t{i}] | r[offString + 2 * size_t{i} + 1] << 8) : r[offString + i];
            text[i] = static_cast<char>(c < 256 ? c : '?');
        }
        std::vector<INT> dx;
        if (offDx != 0 && Fits(r, offDx, count, 4))
            for (uint32_t i = 0; i < count; ++i) dx.push_back(ScaleX(ReadI32(r, offDx + 4 * size_t{i})));
        const POINT a = Map(ReadI32(r, 56), ReadI32(r, 60)), b = Map(ReadI32(r, 64), ReadI32(r, 68));
        const RECT clip{a.x, a.y, b.x, b.y};
        ExtTextOutA(dc_, at.x, at.y, options, (options & (ETO_OPAQUE | ETO_CLIPPED)) ? &clip : nullptr, text.data(),
                    count, dx.empty() ? nullptr : dx.data());
    }

    // A pattern brush of the bitmap of the record (ihBrush, iUsage, then the bitmap's offsets):
    // a monochrome one (its bits as a 1-bit device bitmap, drawn in the DC's colours) or one
    // of the DIB's own colours.
    void PatternBrush(std::span<const uint8_t> r, bool monochrome) {
        if (r.size() < 32) return;
        const UINT usage = ReadU32(r, 12);
        DibInRecord dib;
        if (!ReadDib(r, 16, -1, usage, dib)) return;
        const BITMAPINFOHEADER& h = dib.bitmapInfo()->bmiHeader;
        HBITMAP bitmap = nullptr;
        if (monochrome) {
            if (h.biBitCount != 1) return;
            const int height = h.biHeight < 0 ? -h.biHeight : h.biHeight;
            const size_t from = (size_t(h.biWidth) + 31) / 32 * 4, to = (size_t(h.biWidth) + 15) / 16 * 2;
            std::vector<uint8_t> rows(to * size_t(height));
            for (int y = 0; y < height; ++y)
                std::memcpy(&rows[to * size_t(y)], &dib.bits[from * size_t(h.biHeight < 0 ? y : height - 1 - y)], to);
            bitmap = CreateBitmap(h.biWidth, height, 1, 1, rows.data());
        } else {
            void* pixels = nullptr;
            bitmap = CreateDIBSection(dc_, dib.bitmapInfo(), usage, &pixels, nullptr, 0);
            if (pixels != nullptr) std::memcpy(pixels, dib.bits.data(), dib.bits.size());
        }
        if (bitmap == nullptr) return;
        Keep(ReadU32(r, 8), CreatePatternBrush(bitmap));
        DeleteObject(bitmap);
    }

    void Font(std::span<const uint8_t> r) {
        if (r.size() < 12 + 92) return;
        LOGFONTA font{};
        font.lfHeight = Round(static_cast<double>(ReadI32(r, 12)) * std::fabs(total_.m22));
        font.lfWidth = ScaleX(ReadI32(r, 16));
        font.lfEscapement = ReadI32(r, 20);
        font.lfOrientation = ReadI32(r, 24);
        font.lfWeight = ReadI32(r, 28);
        const uint32_t flags = ReadU32(r, 32), more = ReadU32(r, 36);
        font.lfItalic = static_cast<BYTE>(flags), font.lfUnderline = static_cast<BYTE>(flags >> 8);
        font.lfStrikeOut = static_cast<BYTE>(flags >> 16), font.lfCharSet = static_cast<BYTE>(flags >> 24);
        font.lfOutPrecision = static_cast<BYTE>(more), font.lfClipPrecision = static_cast<BYTE>(more >> 8);
        font.lfQuality = static_cast<BYTE>(more >> 16), font.lfPitchAndFamily = static_cast<BYTE>(more >> 24);
        for (int i = 0; i < LF_FACESIZE - 1; ++i) {
            const unsigned c = r[40 + 2 * i] | r[41 + 2 * i] << 8;
            if (c == 0) break;
            font.lfFaceName[i] = static_cast<char>(c < 256 ? c : '?');
        }
        Keep(ReadU32(r, 8), CreateFontIndirectA(&font));
    }

    void Record(uint32_t type, std::span<const uint8_t> r) {
        const auto i32 = [&](size_t at) { return ReadI32(r, at); };
        const size_t size = r.size();
        switch (type) {
            case kEmrSetMapMode:
                if (size >= 12) SetMode(i32(8)), Update();
                break;
            case kEmrSetWindowOrgEx:
                if (size >= 16) mapping_.windowOrigin = {i32(8), i32(12)}, Update();
                break;
            case kEmrSetViewportOrgEx:
                if (size >= 16) mapping_.viewportOrigin = {i32(8), i32(12)}, Update();
                break;
            case kEmrSetWindowExtEx:
                if (size >= 16) SetExtent(&Mapping::windowExtent, i32(8), i32(12)), Update();
                break;
            case kEmrSetViewportExtEx:
                if (size >= 16) SetExtent(&Mapping::viewportExtent, i32(8), i32(12)), Update();
                break;
            case kEmrScaleWindowExtEx:
            case kEmrScaleViewportExtEx: {
                if (size < 24 || i32(12) == 0 || i32(20) == 0) break;
                SIZE Mapping::*extent =
                    type == kEmrScaleWindowExtEx ? &Mapping::windowExtent : &Mapping::viewportExtent;
                const SIZE now = mapping_.*extent;
                SetExtent(extent, static_cast<int>(int64_t{now.cx} * i32(8) / i32(12)),
                          static_cast<int>(int64_t{now.cy} * i32(16) / i32(20)));
                Update();
                break;
            }
            case kEmrSaveDC: SaveDC(dc_), saved_.push_back(mapping_); break;
            case kEmrRestoreDC: {
                if (size < 12) break;
                const int level = i32(8), depth = static_cast<int>(saved_.size());
                const int target = level < 0 ? depth + level : level - 1;  // entries kept
                if (target < 0 || target >= depth) break;
                RestoreDC(dc_, target - depth);
                mapping_ = saved_[static_cast<size_t>(target)];
                saved_.resize(static_cast<size_t>(target));
                Update();
                break;
            }
            case kEmrSetBkMode:
                if (size >= 12) SetBkMode(dc_, i32(8));
                break;
            case kEmrSetPolyFillMode:
                if (size >= 12) SetPolyFillMode(dc_, i32(8));
                break;
            case kEmrSetRop2:
                if (size >= 12) SetROP2(dc_, i32(8));
                break;
            case kEmrSetStretchBltMode:
                if (size >= 12) SetStretchBltMode(dc_, i32(8));
                break;
            case kEmrSetTextAlign:
                if (size >= 12) SetTextAlign(dc_, ReadU32(r, 8));
                break;
            case kEmrSetTextColor:
                if (size >= 12) SetTextColor(dc_, ReadU32(r, 8));
                break;
            case kEmrSetBkColor:
                if (size >= 12) SetBkColor(dc_, ReadU32(r, 8));
                break;
            case kEmrMoveToEx:
                if (size >= 16) {
                    const POINT p = Map(i32(8), i32(12));
                    MoveToEx(dc_, p.x, p.y, nullptr);
                }
                break;
            case kEmrLineTo:
                if (size >= 16) {
                    const POINT p = Map(i32(8), i32(12));
                    LineTo(dc_, p.x, p.y);
                }
                break;
            case kEmrSetPixelV:
                if (size >= 20) {
                    const POINT p = Map(i32(8), i32(12));
                    SetPixel(dc_, p.x, p.y, ReadU32(r, 16));
                }
                break;
            case kEmrRectangle:
            case kEmrEllipse:
            case kEmrRoundRect: {
                if (size < (type == kEmrRoundRect ? 32u : 24u)) break;
                // A rectangle's box is inclusive: its mapped corners are both drawn. The
                // other shapes are drawn on their box as it is, as Windows plays them.
                const POINT a = Map(i32(8), i32(12)), b = Map(i32(16), i32(20));
                if (type == kEmrRectangle)
                    Rectangle(dc_, a.x, a.y, Span(-1, b.x), Span(-1, b.y));  // b + 1
                else if (type == kEmrEllipse)
                    Ellipse(dc_, a.x, a.y, b.x, b.y);
                else
                    RoundRect(dc_, a.x, a.y, b.x, b.y, ScaleX(i32(24)), ScaleY(i32(28)));
                break;
            }
            case kEmrArc:
            case kEmrChord:
            case kEmrPie: {
                if (size < 40) break;
                const POINT a = Map(i32(8), i32(12)), b = Map(i32(16), i32(20));
                const POINT s = Map(i32(24), i32(28)), e = Map(i32(32), i32(36));
                auto* draw = type == kEmrArc ? &Arc : type == kEmrChord ? &Chord : &Pie;
                draw(dc_, a.x, a.y, b.x, b.y, s.x, s.y, e.x, e.y);
                break;
            }
            case kEmrPolygon:
            case kEmrPolyline:
            case kEmrPolylineTo: Poly(type, r, false); break;
            case kEmrPolygon16:
            case kEmrPolyline16:
            case kEmrPolylineTo16: Poly(type, r, true); break;
            case kEmrPolyPolygon:
            case kEmrPolyPolyline: PolyPoly(type, r, false); break;
            case kEmrPolyPolygon16:
            case kEmrPolyPolyline16: PolyPoly(type, r, true); break;
            case kEmrSelectObject:
                if (size >= 12)
                    if (HGDIOBJ o = Slot(ReadU32(r, 8))) SelectObject(dc_, o);
                break;
            case kEmrDeleteObject:
                if (size >= 12 && ReadU32(r, 8) < handles_.size() && handles_[ReadU32(r, 8)] != nullptr) {
                    DeleteObject(handles_[ReadU32(r, 8)]);
                    handles_[ReadU32(r, 8)] = nullptr;
                }
                break;
            case kEmrCreatePen:
                if (size >= 28) Keep(ReadU32(r, 8), CreatePen(i32(12), ScaleX(i32(16)), ReadU32(r, 24)));
                break;
            case kEmrCreateBrushIndirect: {
                if (size < 24) break;
                const LOGBRUSH brush{ReadU32(r, 12), ReadU32(r, 16), ReadU32(r, 20)};
                Keep(ReadU32(r, 8), CreateBrushIndirect(&brush));
                break;
            }
            case kEmrCreateMonoBrush: PatternBrush(r, true); break;
            case kEmrCreateDibPatternBrushPt: PatternBrush(r, false); break;
            case kEmrCreatePalette: {
                if (size < 16) break;
                const uint32_t entries = ReadU32(r, 12) >> 16;
                if (!Fits(r, 16, entries, 4)) break;
                std::vector<uint8_t> logical(4 + 4 * size_t{std::max<uint32_t>(entries, 1)}, 0);
                std::memcpy(logical.data(), r.data() + 12, 4 + 4 * size_t{entries});
                Keep(ReadU32(r, 8), CreatePalette(reinterpret_cast<const LOGPALETTE*>(logical.data())));
                break;
            }
            case kEmrSelectPalette:
                if (size >= 12)
                    if (auto* p = static_cast<HPALETTE>(Slot(ReadU32(r, 8)))) SelectPalette(dc_, p, FALSE);
                break;
            case kEmrRealizePalette: RealizePalette(dc_); break;
            case kEmrExtCreateFontIndirectW: Font(r); break;
            case kEmrExtTextOutA:
            case kEmrExtTextOutW: Text(r, type == kEmrExtTextOutW); break;
            case kEmrIntersectClipRect:
            case kEmrExcludeClipRect: {
                if (size < 24) break;
                const POINT a = Map(i32(8), i32(12)), b = Map(i32(16), i32(20));
                (type == kEmrIntersectClipRect ? IntersectClipRect : ExcludeClipRect)(dc_, a.x, a.y, b.x, b.y);
                break;
            }
            case kEmrExtSelectClipRgn: {
                if (size < 16 || i32(12) != RGN_COPY) break;
                HRGN region = ReadU32(r, 8) != 0 ? Region(r, 16, ReadU32(r, 8)) : nullptr;
                if (region != nullptr || ReadU32(r, 8) == 0) SelectClipRgn(dc_, region);
                if (region != nullptr) DeleteObject(region);
                break;
            }
            case kEmrFillRgn:
            case kEmrFrameRgn:
            case kEmrInvertRgn:
            case kEmrPaintRgn: {
                const bool brushed = type == kEmrFillRgn || type == kEmrFrameRgn;
                const size_t dataAt = type == kEmrFrameRgn ? 40 : brushed ? 32 : 28;
                if (size < dataAt) break;
                HRGN region = Region(r, dataAt, ReadU32(r, 24));
                if (region == nullptr) break;
                HBRUSH brush = brushed ? static_cast<HBRUSH>(Slot(ReadU32(r, 28))) : nullptr;
                if (type == kEmrFillRgn)
                    FillRgn(dc_, region, brush);
                else if (type == kEmrFrameRgn)
                    FrameRgn(dc_, region, brush, ScaleX(i32(32)), ScaleY(i32(36)));
                else if (type == kEmrInvertRgn)
                    InvertRgn(dc_, region);
                else
                    PaintRgn(dc_, region);
                DeleteObject(region);
                break;
            }
            case kEmrBitBlt: Blit(r, false); break;
            case kEmrStretchBlt: Blit(r, true); break;
            case kEmrStretchDIBits: StretchDib(r); break;
            case kEmrSetDIBitsToDevice: DibToDevice(r); break;
            default: break;  // the header, EOF, comments, brush origin and mapper flags draw nothing
        }
    }

    HDC dc_;
    std::span<const uint8_t> bytes_;
    SIZE device_{0, 0}, millimetres_{0, 0};
    std::vector<HGDIOBJ> handles_;
    Mapping mapping_;
    std::vector<Mapping> saved_;
    Scaling placement_, total_;
};

}  // namespace
}  // namespace vx::posix::gdi

extern "C" {

VXPLATFORMAPI BOOL PlayEnhMetaFile(HDC dc, HENHMETAFILE metafile, const RECT* rect) {
    using namespace vx::posix::gdi;
    std::shared_ptr<const std::vector<uint8_t>> bytes;
    try {
        {
            auto objects = Objects();
            const EnhMetaFile* source = objects.find<EnhMetaFile>(metafile);
            if (source == nullptr || objects.find<DeviceContext>(dc) == nullptr) return FALSE;
            bytes = source->bytes.share();
        }
        Player(dc, *bytes, rect).Play();
        return TRUE;
    } catch (...) {
        return FALSE;
    }
}

}  // extern "C"
