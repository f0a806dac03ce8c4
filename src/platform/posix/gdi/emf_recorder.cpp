// emf_recorder.cpp - the enhanced metafile DC of the Linux subset: CreateEnhMetaFileA and
// CloseEnhMetaFile, over EmfRecorder, the MetaRecorder that writes the records Windows writes
// for the calls made on such a DC; and SetWinMetaFileBits, a Windows metafile played onto
// such a DC.
//
// The bytes open with an EMR_HEADER of 108 bytes (then the description, in UTF-16, padded to
// 4 bytes) and end with an EMR_EOF without palette entries. Each call appends its record as the
// caller gave its arguments (logical coordinates, colours unresolved); the header is finished
// when the DC is closed: its nBytes, nRecords, nHandles (the object slots used, slot 0 counted),
// and its bounds, the union of the records' bounds in device pixels. A drawing record's own
// rclBounds is the inclusive box of what it touches in logical units; the union maps the two
// corners through the DC's mapping at the time of the call. The frame is the one given, or
// the bounds turned into .01 mm of the reference device (truncated toward zero, as Windows
// does). The reference device is the screen: 1280 x 1024 pixels, 339 x 271 mm.
//
// Objects. A pen, brush, font or palette is written (EMR_CREATE...) into the lowest free slot
// the first time it is selected, and selected by slot from then on; a stock object is selected
// by its index with the high bit set and never written. When a known object is deleted its
// slot is freed with EMR_DELETEOBJECT. The brush of FillRgn and FrameRgn is written into a
// slot of its own at each call, as Windows does. A pattern brush is written as the DIB of its
// pattern (1 bit without colours for one drawn in the DC's text and background colours).
// Rectangles, ellipses and the arc family are recorded with their box's right and bottom one
// in (the inclusive box), again as Windows writes them.
//
// SetWinMetaFileBits writes what Windows writes: unless the picture is in MM_TEXT, a comment
// holding the Windows metafile whole and MM_ANISOTROPIC; a viewport and window of the
// picture's size in pixels of the reference device (the device's size without one); then the
// Windows metafile's records as its player draws them. The frame is the picture's size.
//
// Blits. BitBlt and StretchBlt with a source record the whole source bitmap as a bottom-up DIB
// (1, 4 and 8 bits with their full colour table, 24 bits plain, 16 and 32 bits with channel
// masks) and the source rectangle as given; a raster operation that reads no source records
// an EMR_BITBLT without a bitmap. StretchDIBits and SetDIBitsToDevice copy the caller's header
// and colour table as given and the bits of the image (of the lines given).
#include <algorithm>
#include <array>
#include <climits>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "formats/emf_records.hpp"
#include "platform/posix/gdi/fonts.hpp"
#include "platform/posix/gdi/metafile_recorder.hpp"

namespace vx::posix::gdi {

HENHMETAFILE AddEnhMetaFile(std::vector<uint8_t> bytes);  // enh_metafile.cpp

namespace {

using namespace vx::formats;

constexpr uint32_t kHeaderSize = 108;
constexpr uint32_t kStockFlag = 0x80000000u;
constexpr int kLastStockObject = DEFAULT_GUI_FONT;
// What holds the slot of a region call's brush: no handle, and never freed.
const HGDIOBJ kRegionBrush = reinterpret_cast<HGDIOBJ>(~uintptr_t{0});

// The reference device: its pixels and millimetres.
struct Reference {
    SIZE device{1280, 1024};
    SIZE millimetres{339, 271};
};

// The fields of a record as they are appended, little-endian.
class RecordWriter {
public:
    RecordWriter() = default;
    explicit RecordWriter(uint32_t type) { put(type).put(0u); }
    RecordWriter& put(uint32_t value) {
        bytes.resize(bytes.size() + 4);
        WriteU32(&bytes[bytes.size() - 4], value);
        return *this;
    }
    RecordWriter& put(int32_t value) { return put(static_cast<uint32_t>(value)); }
    RecordWriter& put(const RECT& r) { return put(r.left).put(r.top).put(r.right).put(r.bottom); }
    RecordWriter& put(const void* data, size_t size) {
        const auto* p = static_cast<const uint8_t*>(data);
        bytes.insert(bytes.end(), p, p + size);
        return *this;
    }
    RecordWriter& align() {
        bytes.resize((bytes.size() + 3) / 4 * 4, 0);
        return *this;
    }
    size_t size() const { return bytes.size(); }
    std::vector<uint8_t> bytes;
};

// The colour table entries a DIB header carries (0 for 16 bits and more) and the bytes of the
// header and table (masks included).
size_t InfoSize(const BITMAPINFOHEADER& h, UINT usage) {
    size_t size = h.biSize;
    if (h.biBitCount <= 8) {
        const uint32_t full = 1u << h.biBitCount;
        const uint32_t entries = h.biClrUsed != 0 && h.biClrUsed < full ? h.biClrUsed : full;
        size += entries * (usage == DIB_PAL_COLORS ? 2 : 4);
    } else if (h.biCompression == BI_BITFIELDS && h.biSize == sizeof(BITMAPINFOHEADER)) {
        size += 12;
    }
    return size;
}
size_t DibStride(const BITMAPINFOHEADER& h) { return (size_t(uint32_t(h.biWidth)) * h.biBitCount + 31) / 32 * 4; }

// A source surface as a bottom-up DIB: header and table, then bits.
void SurfaceDib(const Surface& s, std::vector<uint8_t>& info, std::vector<uint8_t>& bits) {
    BITMAPINFOHEADER h{};
    h.biSize = sizeof h;
    h.biWidth = s.width;
    h.biHeight = s.height;
    h.biPlanes = 1;
    h.biBitCount = static_cast<WORD>(s.bitsPerPixel);
    const bool masked = s.bitsPerPixel == 16 || s.bitsPerPixel == 32;
    h.biCompression = masked ? BI_BITFIELDS : BI_RGB;
    const size_t stride = DibStride(h);
    h.biSizeImage = static_cast<DWORD>(stride * size_t(s.height));
    info.assign(reinterpret_cast<const uint8_t*>(&h), reinterpret_cast<const uint8_t*>(&h) + sizeof h);
    if (s.bitsPerPixel <= 8) {
        std::vector<RGBQUAD> table(size_t{1} << s.bitsPerPixel, RGBQUAD{0, 0, 0, 0});
        if (s.colours != nullptr)
            std::copy_n(s.colours, std::min<size_t>(table.size(), size_t(std::max(s.colourCount, 0))), table.begin());
        const auto* t = reinterpret_cast<const uint8_t*>(table.data());
        info.insert(info.end(), t, t + table.size() * sizeof(RGBQUAD));
    } else if (masked) {
        const bool own = (s.redMask | s.greenMask | s.blueMask) != 0;
        const uint32_t masks[3] = {own                    ? s.redMask
                                   : s.bitsPerPixel == 16 ? 0x7C00u
                                                          : 0xFF0000u,
                                   own                    ? s.greenMask
                                   : s.bitsPerPixel == 16 ? 0x03E0u
                                                          : 0x00FF00u,
                                   own                    ? s.blueMask
                                   : s.bitsPerPixel == 16 ? 0x001Fu
                                                          : 0x0000FFu};
        const auto* m = reinterpret_cast<const uint8_t*>(masks);
        info.insert(info.end(), m, m + sizeof masks);
    }
    bits.assign(stride * size_t(s.height), 0);
    const size_t rowBytes = (size_t(s.width) * s.bitsPerPixel + 7) / 8;
    for (int y = 0; y < s.height; ++y)
        std::memcpy(&bits[size_t(s.height - 1 - y) * stride], s.bits + y * s.stride, std::min(rowBytes, stride));
}

// A region's rectangles as RGNDATA (header, bounding box, rectangles).
std::vector<uint8_t> RegionData(const Region& region) {
    RecordWriter data;
    RECT box{0, 0, 0, 0};
    for (const RECT& r : region.rects) {
        if (&r == &region.rects.front()) box = r;
        box = {std::min(box.left, r.left), std::min(box.top, r.top), std::max(box.right, r.right),
               std::max(box.bottom, r.bottom)};
    }
    data.put(32u).put(1u).put(uint32_t(region.rects.size())).put(uint32_t(region.rects.size() * 16)).put(box);
    for (const RECT& r : region.rects) data.put(r);
    return std::move(data.bytes);
}

class EmfRecorder final : public MetaRecorder {
public:
    EmfRecorder(const Reference& reference, std::optional<RECT> frame, std::u16string description,
                std::array<HGDIOBJ, kLastStockObject + 1> stock)
        : reference_(reference), frame_(frame), stock_(std::move(stock)), slots_(1, nullptr) {
        RecordWriter header(kEmrHeader);
        header.put(RECT{0, 0, -1, -1}).put(RECT{0, 0, 0, 0}).put(uint32_t{ENHMETA_SIGNATURE}).put(0x10000u);
        header.put(0u).put(0u).put(0u);  // nBytes, nRecords, nHandles and sReserved: when closed
        header.put(uint32_t(description.size())).put(description.empty() ? 0u : kHeaderSize).put(0u);
        header.put(reference.device.cx).put(reference.device.cy);
        header.put(reference.millimetres.cx).put(reference.millimetres.cy);
        header.put(0u).put(0u).put(0u);
        header.put(reference.millimetres.cx * 1000).put(reference.millimetres.cy * 1000);
        header.put(description.data(), description.size() * 2).align();
        Append(header);
    }

    void Attach(const DcState* state) { state_ = state; }
    // An EMR_GDICOMMENT holding a Windows metafile whole, as SetWinMetaFileBits opens with.
    void WindowsMetafileComment(std::span<const uint8_t> wmf) {
        RecordWriter r(kEmrGdiComment);
        r.put(uint32_t(24 + wmf.size())).put(0x43494447u).put(0x80000001u).put(0x300u).put(0u).put(0u);
        r.put(uint32_t(wmf.size())).put(wmf.data(), wmf.size());
        Append(r);
    }
    std::string fileName;  // where CloseEnhMetaFile writes the bytes; empty: memory only

    // The finished metafile: the header completed and an EMR_EOF appended.
    std::vector<uint8_t> Finish() {
        Append(RecordWriter(kEmrEof).put(0u).put(16u).put(20u));
        const RECT bounds = bounds_.value_or(RECT{0, 0, -1, -1});
        const RECT frame = frame_.value_or(
            RECT{Frame(bounds.left, 0), Frame(bounds.top, 1), Frame(bounds.right, 0), Frame(bounds.bottom, 1)});
        uint8_t* h = bytes_.data();
        const LONG fields[8] = {bounds.left, bounds.top, bounds.right, bounds.bottom,
                                frame.left,  frame.top,  frame.right,  frame.bottom};
        for (int i = 0; i < 8; ++i) WriteU32(h + 8 + 4 * i, static_cast<uint32_t>(fields[i]));
        WriteU32(h + 48, static_cast<uint32_t>(bytes_.size()));
        WriteU32(h + 52, records_);
        WriteU32(h + 56, static_cast<uint32_t>(std::min<size_t>(slots_.size(), 0xFFFF)));
        return std::move(bytes_);
    }

    // State.
    void SaveDC() override { Simple(kEmrSaveDC, {}); }
    void RestoreDC(int saved) override { Simple(kEmrRestoreDC, {saved}); }
    void SetMapMode(int mode) override { Simple(kEmrSetMapMode, {mode}); }
    void SetWindowOrg(int x, int y) override { Simple(kEmrSetWindowOrgEx, {x, y}); }
    void SetWindowExt(int x, int y) override { Simple(kEmrSetWindowExtEx, {x, y}); }
    void SetViewportOrg(int x, int y) override { Simple(kEmrSetViewportOrgEx, {x, y}); }
    void SetViewportExt(int x, int y) override { Simple(kEmrSetViewportExtEx, {x, y}); }
    void OffsetWindowOrg(int x, int y) override {
        const POINT o = state_ != nullptr ? state_->windowOrigin : POINT{0, 0};
        Simple(kEmrSetWindowOrgEx, {Wrap(int64_t{o.x} + x), Wrap(int64_t{o.y} + y)});
    }
    void OffsetViewportOrg(int x, int y) override {
        const POINT o = state_ != nullptr ? state_->viewportOrigin : POINT{0, 0};
        Simple(kEmrSetViewportOrgEx, {Wrap(int64_t{o.x} + x), Wrap(int64_t{o.y} + y)});
    }
    void ScaleWindowExt(int xn, int xd, int yn, int yd) override { Simple(kEmrScaleWindowExtEx, {xn, xd, yn, yd}); }
    void ScaleViewportExt(int xn, int xd, int yn, int yd) override { Simple(kEmrScaleViewportExtEx, {xn, xd, yn, yd}); }
    void SetTextColor(COLORREF colour) override { Simple(kEmrSetTextColor, {int32_t(colour)}); }
    void SetBkColor(COLORREF colour) override { Simple(kEmrSetBkColor, {int32_t(colour)}); }
    void SetBkMode(int mode) override { Simple(kEmrSetBkMode, {mode}); }
    void SetROP2(int mode) override { Simple(kEmrSetRop2, {mode}); }
    void SetStretchBltMode(int mode) override { Simple(kEmrSetStretchBltMode, {mode}); }
    void SetPolyFillMode(int mode) override { Simple(kEmrSetPolyFillMode, {mode}); }
    void SetTextAlign(UINT align) override { Simple(kEmrSetTextAlign, {int32_t(align)}); }

    // Objects.
    void SelectObject(HGDIOBJ handle, const GdiObject& object) override {
        if (object.kind() == ObjectKind::Region) {
            SelectClipRgn(static_cast<const Region*>(&object));
            return;
        }
        if (const int stock = StockIndex(handle); stock >= 0) {
            Simple(kEmrSelectObject, {int32_t(kStockFlag | uint32_t(stock))});
            return;
        }
        const uint32_t slot = SlotOf(handle, object);
        if (slot != 0) Simple(kEmrSelectObject, {int32_t(slot)});
    }
    void SelectPalette(HPALETTE handle, const Palette& palette) override {
        if (const int stock = StockIndex(handle); stock >= 0) {
            Simple(kEmrSelectPalette, {int32_t(kStockFlag | uint32_t(stock))});
            return;
        }
        const uint32_t slot = SlotOf(handle, palette);
        if (slot != 0) Simple(kEmrSelectPalette, {int32_t(slot)});
    }
    void ObjectDeleted(HGDIOBJ handle) override {
        const auto known = std::find(slots_.begin() + 1, slots_.end(), handle);
        std::erase_if(fonts_, [&](const auto& f) { return f.first == handle; });
        if (handle == nullptr || known == slots_.end()) return;
        *known = nullptr;
        Simple(kEmrDeleteObject, {int32_t(known - slots_.begin())});
    }

    // Clipping.
    void SelectClipRgn(const Region* region) override {
        RecordWriter r(kEmrExtSelectClipRgn);
        if (region == nullptr) {
            r.put(0u).put(int32_t{RGN_COPY});
        } else {
            const std::vector<uint8_t> data = RegionData(*region);
            r.put(uint32_t(data.size())).put(int32_t{RGN_COPY}).put(data.data(), data.size());
        }
        Append(r);
    }
    void IntersectClipRect(int l, int t, int r, int b) override { Simple(kEmrIntersectClipRect, {l, t, r, b}); }
    void ExcludeClipRect(int l, int t, int r, int b) override { Simple(kEmrExcludeClipRect, {l, t, r, b}); }

    // Lines and shapes.
    void MoveTo(int x, int y) override { Simple(kEmrMoveToEx, {x, y}); }
    void LineTo(int x, int y) override {
        const POINT from = state_ != nullptr ? state_->position : POINT{0, 0};
        Touch(RECT{std::min<LONG>(from.x, x), std::min<LONG>(from.y, y), std::max<LONG>(from.x, x),
                   std::max<LONG>(from.y, y)});
        Simple(kEmrLineTo, {x, y});
    }
    void Polyline(std::span<const POINT> points) override { Poly(kEmrPolyline16, kEmrPolyline, points); }
    void Polygon(std::span<const POINT> points) override { Poly(kEmrPolygon16, kEmrPolygon, points); }
    void PolyPolygon(std::span<const POINT> points, std::span<const INT> counts) override {
        const bool small = Small(points);
        RecordWriter r(small ? kEmrPolyPolygon16 : kEmrPolyPolygon);
        const RECT box = Box(points);
        r.put(box).put(uint32_t(counts.size())).put(uint32_t(points.size()));
        for (INT c : counts) r.put(c);
        PutPoints(r, points, small);
        Touch(box);
        Append(r);
    }
    void Rectangle(int l, int t, int r, int b) override {
        Boxed(kEmrRectangle, {l, t, Wrap(int64_t{r} - 1), Wrap(int64_t{b} - 1)}, {});
    }
    void Ellipse(int l, int t, int r, int b) override {
        Boxed(kEmrEllipse, {l, t, Wrap(int64_t{r} - 1), Wrap(int64_t{b} - 1)}, {});
    }
    void RoundRect(int l, int t, int r, int b, int w, int h) override {
        Boxed(kEmrRoundRect, {l, t, Wrap(int64_t{r} - 1), Wrap(int64_t{b} - 1)}, {w, h});
    }
    void ArcFamily(ArcKind kind, int l, int t, int r, int b, int sx, int sy, int ex, int ey) override {
        const uint32_t type = kind == ArcKind::Arc ? kEmrArc : kind == ArcKind::Pie ? kEmrPie : kEmrChord;
        Boxed(type, {l, t, Wrap(int64_t{r} - 1), Wrap(int64_t{b} - 1)}, {sx, sy, ex, ey});
    }
    void SetPixel(int x, int y, COLORREF colour) override {
        Touch(RECT{x, y, x, y});
        Simple(kEmrSetPixelV, {x, y, int32_t(colour)});
    }
    void FillRgn(const Region& region, HBRUSH, const Brush& brush) override {
        RegionRecord(kEmrFillRgn, region, &brush, nullptr);
    }
    void PaintRgn(const Region& region) override { RegionRecord(kEmrPaintRgn, region, nullptr, nullptr); }
    void FrameRgn(const Region& region, HBRUSH, const Brush& brush, int width, int height) override {
        const SIZE stroke{width, height};
        RegionRecord(kEmrFrameRgn, region, &brush, &stroke);
    }
    void InvertRgn(const Region& region) override { RegionRecord(kEmrInvertRgn, region, nullptr, nullptr); }

    // Text, as UTF-16 of the DC's bytes (Windows-1252), each character's advance given: the
    // caller's, or the advances of the DC's font in logical units. The bounds are the text's
    // box placed by the DC's alignment.
    void TextOut(int x, int y, std::string_view text) override { ExtTextOut(x, y, 0, nullptr, text, {}); }
    void ExtTextOut(int x, int y, UINT options, const RECT* rect, std::string_view text,
                    std::span<const INT> dx) override {
        std::vector<INT> advances(dx.begin(), dx.end());
        const auto font = CurrentFont();
        const TextScale scale = state_ != nullptr ? ScaleOf(*state_) : TextScale{};
        if (advances.size() < text.size()) {
            advances.clear();
            if (font != nullptr)
                for (char c : text) advances.push_back(scale.toLogicalX(font->advance(static_cast<uint8_t>(c))));
        }
        const auto count = static_cast<uint32_t>(text.size());
        const uint32_t stringAt = 76, dxAt = advances.empty() || count == 0 ? 0 : (stringAt + 2 * count + 3) / 4 * 4;
        const float exScale =
            static_cast<float>(reference_.millimetres.cx) / static_cast<float>(reference_.device.cx) * 100.0f;
        const float eyScale =
            static_cast<float>(reference_.millimetres.cy) / static_cast<float>(reference_.device.cy) * 100.0f;
        uint32_t scales[2];
        std::memcpy(&scales[0], &exScale, 4);
        std::memcpy(&scales[1], &eyScale, 4);
        const RECT bounds = TextBounds(x, y, advances, font != nullptr ? scale.toLogicalY(font->metrics().ascent) : 0,
                                       font != nullptr ? scale.toLogicalY(font->metrics().descent) : 0);
        RecordWriter r(kEmrExtTextOutW);
        r.put(bounds).put(1u).put(scales[0]).put(scales[1]);
        r.put(x)
            .put(y)
            .put(count)
            .put(stringAt)
            .put(uint32_t(options))
            .put(rect != nullptr ? *rect : RECT{0, 0, -1, -1});
        r.put(dxAt);
        for (char c : text) {
            const uint16_t unit = Unicode(static_cast<uint8_t>(c));
            const uint8_t le[2] = {static_cast<uint8_t>(unit), static_cast<uint8_t>(unit >> 8)};
            r.put(le, 2);
        }
        r.align();
        if (dxAt != 0)
            for (INT advance : advances) r.put(advance);
        if (count != 0) Touch(bounds);
        Append(r);
    }

    // Transfers.
    void PatBlt(int x, int y, int width, int height, DWORD rop) override {
        Append(BlitHeader(kEmrBitBlt, x, y, width, height, rop, 0, 0, 0).put(0u).put(0u).put(0u).put(0u).put(0u));
    }
    void StretchBlt(int x, int y, int width, int height, const Surface* source, int sx, int sy, int sw, int sh,
                    DWORD rop, bool stretched) override {
        const bool readsSource = ((rop >> 2) ^ rop) & 0x330000;
        if (!readsSource) {
            PatBlt(x, y, width, height, rop);
            return;
        }
        if (source == nullptr || source->bits == nullptr) return;
        std::vector<uint8_t> info, bits;
        SurfaceDib(*source, info, bits);
        const uint32_t fixed = stretched ? 108 : 100;
        RecordWriter r =
            BlitHeader(stretched ? kEmrStretchBlt : kEmrBitBlt, x, y, width, height, rop, sx, sy, RGB(255, 255, 255));
        r.put(0u).put(fixed).put(uint32_t(info.size())).put(fixed + uint32_t(info.size())).put(uint32_t(bits.size()));
        if (stretched) r.put(sw).put(sh);
        r.put(info.data(), info.size()).put(bits.data(), bits.size());
        Append(r);
    }
    void StretchDIBits(int x, int y, int width, int height, int sx, int sy, int sw, int sh, const void* bits,
                       const BITMAPINFO* info, UINT usage, DWORD rop) override {
        const BITMAPINFOHEADER& h = info->bmiHeader;
        const size_t lines = size_t(h.biHeight < 0 ? -int64_t{h.biHeight} : h.biHeight);
        Touch(RECT{x, y, Wrap(int64_t{x} + width - 1), Wrap(int64_t{y} + height - 1)});
        RecordWriter r(kEmrStretchDIBits);
        r.put(RECT{x, y, Wrap(int64_t{x} + width - 1), Wrap(int64_t{y} + height - 1)})
            .put(x)
            .put(y)
            .put(sx)
            .put(sy)
            .put(sw)
            .put(sh);
        DibFields(r, 80, info, usage, bits, DibStride(h) * lines,
                  [&](RecordWriter& w) { w.put(uint32_t(usage)).put(uint32_t(rop)).put(width).put(height); });
    }
    void SetDIBitsToDevice(int x, int y, DWORD width, DWORD height, int sx, int sy, UINT start, UINT lines,
                           const void* bits, const BITMAPINFO* info, UINT usage) override {
        const RECT bounds{x, y, Wrap(int64_t{x} + width - 1), Wrap(int64_t{y} + height - 1)};
        Touch(bounds);
        RecordWriter r(kEmrSetDIBitsToDevice);
        r.put(bounds).put(x).put(y).put(sx).put(sy).put(uint32_t(width)).put(uint32_t(height));
        DibFields(r, 76, info, usage, bits, DibStride(info->bmiHeader) * lines,
                  [&](RecordWriter& w) { w.put(uint32_t(usage)).put(uint32_t(start)).put(uint32_t(lines)); });
    }

private:
    // The font the DC draws with: a stock font, or one selected on it; null when none is known.
    std::shared_ptr<const RealizedFont> CurrentFont() const {
        if (state_ == nullptr) return nullptr;
        const HGDIOBJ handle = state_->font;
        const int stock = StockIndex(handle);
        const auto known = std::find_if(fonts_.begin(), fonts_.end(), [&](const auto& f) { return f.first == handle; });
        if (stock < OEM_FIXED_FONT && known == fonts_.end()) return nullptr;
        return RealizeFont(stock >= OEM_FIXED_FONT ? StockFont(stock) : known->second, ScaleOf(*state_).y);
    }
    RECT TextBounds(int x, int y, const std::vector<INT>& advances, int ascent, int descent) const {
        int64_t width = 0;
        for (INT a : advances) width += a;
        const UINT align = state_ != nullptr ? state_->textAlign : 0;
        const int64_t left = (align & TA_CENTER) == TA_CENTER ? x - width / 2 : (align & TA_RIGHT) ? x - width : x;
        const int64_t top = (align & TA_BASELINE) == TA_BASELINE ? y - ascent
                            : (align & TA_BOTTOM)                ? y - ascent - descent
                                                                 : y;
        return RECT{Wrap(left), Wrap(top), Wrap(left + width - 1), Wrap(top + ascent + descent - 1)};
    }
    // A byte of Windows-1252 as UTF-16.
    static uint16_t Unicode(uint8_t byte) {
        static constexpr uint16_t k80[32] = {0x20AC, 0x81,   0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                             0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x8D,   0x017D, 0x8F,
                                             0x90,   0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                             0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x9D,   0x017E, 0x0178};
        return byte >= 0x80 && byte < 0xA0 ? k80[byte - 0x80] : byte;
    }

    // The stock index of a handle, -1 for an object of the caller's.
    int StockIndex(HGDIOBJ handle) const {
        const auto found = std::find(stock_.begin(), stock_.end(), handle);
        return handle != nullptr && found != stock_.end() ? static_cast<int>(found - stock_.begin()) : -1;
    }
    // A 32-bit sum as Windows' wraps.
    static LONG Wrap(int64_t v) { return static_cast<int32_t>(static_cast<uint32_t>(v)); }
    static LONG Clamp(int64_t v) { return static_cast<LONG>(std::clamp<int64_t>(v, INT32_MIN, INT32_MAX)); }
    LONG Frame(LONG pixels, int axis) const {
        const int64_t mm = axis == 0 ? reference_.millimetres.cx : reference_.millimetres.cy;
        const int64_t device = axis == 0 ? reference_.device.cx : reference_.device.cy;
        return device != 0 ? Clamp(int64_t{pixels} * 100 * mm / device) : 0;
    }

    void Append(const RecordWriter& record) {
        const size_t at = bytes_.size();
        bytes_.insert(bytes_.end(), record.bytes.begin(), record.bytes.end());
        bytes_.resize((bytes_.size() + 3) / 4 * 4, 0);
        WriteU32(&bytes_[at + 4], static_cast<uint32_t>(bytes_.size() - at));
        ++records_;
    }
    void Simple(uint32_t type, std::initializer_list<int32_t> fields) {
        RecordWriter r(type);
        for (int32_t f : fields) r.put(f);
        Append(r);
    }

    // Adds a record's logical bounds (inclusive) to the metafile's, in device pixels.
    void Touch(const RECT& logical) {
        POINT a{logical.left, logical.top}, b{logical.right, logical.bottom};
        if (state_ != nullptr) a = ToDevice(*state_, a), b = ToDevice(*state_, b);
        const RECT device{std::min(a.x, b.x), std::min(a.y, b.y), std::max(a.x, b.x), std::max(a.y, b.y)};
        if (!bounds_) {
            bounds_ = device;
            return;
        }
        bounds_ = RECT{std::min(bounds_->left, device.left), std::min(bounds_->top, device.top),
                       std::max(bounds_->right, device.right), std::max(bounds_->bottom, device.bottom)};
    }

    static bool Small(std::span<const POINT> points) {
        return std::all_of(points.begin(), points.end(), [](const POINT& p) {
            return p.x >= INT16_MIN && p.x <= INT16_MAX && p.y >= INT16_MIN && p.y <= INT16_MAX;
        });
    }
    static RECT Box(std::span<const POINT> points) {
        if (points.empty()) return RECT{0, 0, -1, -1};
        RECT box{points[0].x, points[0].y, points[0].x, points[0].y};
        for (const POINT& p : points)
            box = {std::min(box.left, p.x), std::min(box.top, p.y), std::max(box.right, p.x),
                   std::max(box.bottom, p.y)};
        return box;
    }
    static void PutPoints(RecordWriter& r, std::span<const POINT> points, bool small) {
        for (const POINT& p : points) {
            if (small)
                r.put((uint32_t(uint16_t(p.x))) | uint32_t(uint16_t(p.y)) << 16);
            else
                r.put(p.x).put(p.y);
        }
    }
    void Poly(uint32_t small16, uint32_t full, std::span<const POINT> points) {
        const bool small = Small(points);
        RecordWriter r(small ? small16 : full);
        const RECT box = Box(points);
        r.put(box).put(uint32_t(points.size()));
        PutPoints(r, points, small);
        if (!points.empty()) Touch(box);
        Append(r);
    }
    void Boxed(uint32_t type, const RECT& box, std::initializer_list<int32_t> more) {
        RecordWriter r(type);
        r.put(box);
        for (int32_t f : more) r.put(f);
        Touch(box);
        Append(r);
    }

    // The slot of a pen, brush, font or palette, written into the lowest free slot when new;
    // 0 for an object a metafile cannot hold.
    uint32_t SlotOf(HGDIOBJ handle, const GdiObject& object) {
        const auto known = std::find(slots_.begin() + 1, slots_.end(), handle);
        if (known != slots_.end()) return static_cast<uint32_t>(known - slots_.begin());
        return Create(handle, object);
    }
    uint32_t Create(HGDIOBJ handle, const GdiObject& object) {
        auto free = std::find(slots_.begin() + 1, slots_.end(), nullptr);
        const auto slot = static_cast<uint32_t>(free - slots_.begin());
        RecordWriter r;
        switch (object.kind()) {
            case ObjectKind::Pen: {
                const auto& pen = static_cast<const Pen&>(object);
                r = RecordWriter(kEmrCreatePen);
                r.put(slot).put(uint32_t(pen.style)).put(pen.width).put(0).put(uint32_t(pen.colour));
                break;
            }
            case ObjectKind::Brush: {
                r = BrushRecord(slot, static_cast<const Brush&>(object));
                break;
            }
            case ObjectKind::Font: {
                const LOGFONTA& f = static_cast<const Font&>(object).logical;
                fonts_.emplace_back(handle, f);
                r = RecordWriter(kEmrExtCreateFontIndirectW);
                r.put(slot).put(f.lfHeight).put(f.lfWidth).put(f.lfEscapement).put(f.lfOrientation).put(f.lfWeight);
                const uint8_t flags[8] = {f.lfItalic,       f.lfUnderline,     f.lfStrikeOut, f.lfCharSet,
                                          f.lfOutPrecision, f.lfClipPrecision, f.lfQuality,   f.lfPitchAndFamily};
                r.put(flags, sizeof flags);
                for (int i = 0; i < LF_FACESIZE; ++i) {
                    const uint8_t unit[2] = {static_cast<uint8_t>(f.lfFaceName[i]), 0};
                    r.put(unit, 2);
                }
                r.bytes.resize(332, 0);  // the rest of the extended logical font, empty
                break;
            }
            case ObjectKind::Palette: {
                const auto& palette = static_cast<const Palette&>(object);
                r = RecordWriter(kEmrCreatePalette);
                r.put(slot).put(0x300u | uint32_t(palette.entries.size()) << 16);
                r.put(palette.entries.data(), palette.entries.size() * sizeof(PALETTEENTRY));
                break;
            }
            default: return 0;
        }
        if (free == slots_.end())
            slots_.push_back(handle);
        else
            *free = handle;
        Append(r);
        return slot;
    }

    // A solid or hollow brush as its style and colour; a pattern brush as a DIB, rows bottom
    // up: 1 bit a pixel without colours (EMR_CREATEMONOBRUSH) when it takes the DC's colours,
    // 32 bits otherwise (EMR_CREATEDIBPATTERNBRUSHPT).
    static RecordWriter BrushRecord(uint32_t slot, const Brush& brush) {
        if (brush.style != BS_PATTERN) {
            RecordWriter r(kEmrCreateBrushIndirect);
            r.put(slot).put(uint32_t(brush.style)).put(uint32_t(brush.colour)).put(0u);
            return r;
        }
        const bool mono = brush.patternMonochrome;
        const int width = brush.patternWidth, height = brush.patternHeight;
        const size_t stride = mono ? (size_t(width) + 31) / 32 * 4 : size_t(width) * 4;
        std::vector<uint8_t> bits(stride * size_t(height), 0);
        for (int y = 0; y < height; ++y) {
            uint8_t* row = &bits[stride * size_t(height - 1 - y)];
            for (int x = 0; x < width; ++x) {
                const COLORREF c = brush.pattern[size_t(y) * size_t(width) + size_t(x)];
                if (mono)
                    row[x / 8] |= static_cast<uint8_t>((c & 1) << (7 - x % 8));
                else
                    row[4 * x] = GetBValue(c), row[4 * x + 1] = GetGValue(c), row[4 * x + 2] = GetRValue(c);
            }
        }
        const BITMAPINFOHEADER info{
            sizeof(BITMAPINFOHEADER), width, height, 1, WORD(mono ? 1 : 32), BI_RGB, DWORD(bits.size()), 0, 0, 0, 0};
        RecordWriter r(mono ? kEmrCreateMonoBrush : kEmrCreateDibPatternBrushPt);
        r.put(slot)
            .put(mono ? 2u : uint32_t{DIB_RGB_COLORS})
            .put(36u)
            .put(40u)
            .put(76u)
            .put(uint32_t(bits.size()))
            .put(0u);
        r.put(&info, sizeof info).put(bits.data(), bits.size());
        return r;
    }

    // The bitmap fields of StretchDIBits and SetDIBitsToDevice from `offsetsAt` on: the four
    // offsets, `tail` (the record's fields after them), then header, table and bits.
    template <typename Tail>
    void DibFields(RecordWriter& r, uint32_t fixed, const BITMAPINFO* info, UINT usage, const void* bits,
                   size_t bitsSize, Tail tail) {
        const size_t infoSize = InfoSize(info->bmiHeader, usage);
        const uint32_t bitsAt = static_cast<uint32_t>((fixed + infoSize + 3) / 4 * 4);
        r.put(fixed).put(uint32_t(infoSize)).put(bitsAt).put(uint32_t(bitsSize));
        tail(r);
        r.put(info, infoSize).align().put(bits, bitsSize);
        Append(r);
    }
    RecordWriter BlitHeader(uint32_t type, int x, int y, int width, int height, DWORD rop, int sx, int sy,
                            COLORREF background) {
        const RECT bounds{x, y, Wrap(int64_t{x} + width - 1), Wrap(int64_t{y} + height - 1)};
        Touch(bounds);
        RecordWriter r(type);
        r.put(bounds).put(x).put(y).put(width).put(height).put(uint32_t(rop)).put(sx).put(sy);
        r.put(0x3F800000u).put(0u).put(0u).put(0x3F800000u).put(0u).put(0u);  // xformSrc: the identity
        r.put(uint32_t(background));
        return r;
    }

    void RegionRecord(uint32_t type, const Region& region, const Brush* brush, const SIZE* stroke) {
        const std::vector<uint8_t> data = RegionData(region);
        const RECT box = RegionBox(region);
        uint32_t slot = 0;
        if (brush != nullptr) {  // a slot of its own, as Windows writes it
            slot = static_cast<uint32_t>(slots_.size());
            slots_.push_back(kRegionBrush);
            Append(BrushRecord(slot, *brush));
        }
        RecordWriter r(type);
        r.put(box).put(uint32_t(data.size()));
        if (brush != nullptr) r.put(slot);
        if (stroke != nullptr) r.put(stroke->cx).put(stroke->cy);
        r.put(data.data(), data.size());
        if (!region.rects.empty()) Touch(box);
        Append(r);
    }
    static RECT RegionBox(const Region& region) {
        if (region.rects.empty()) return RECT{0, 0, -1, -1};
        RECT box = region.rects.front();
        for (const RECT& r : region.rects)
            box = {std::min(box.left, r.left), std::min(box.top, r.top), std::max(box.right, r.right),
                   std::max(box.bottom, r.bottom)};
        return RECT{box.left, box.top, Wrap(int64_t{box.right} - 1), Wrap(int64_t{box.bottom} - 1)};
    }

    Reference reference_;
    std::optional<RECT> frame_;
    std::array<HGDIOBJ, kLastStockObject + 1> stock_;  // the stock objects by index
    std::vector<std::pair<HGDIOBJ, LOGFONTA>> fonts_;  // the fonts written, for their advances
    std::vector<HGDIOBJ> slots_;                       // slot 0 is the metafile's own
    const DcState* state_ = nullptr;
    std::vector<uint8_t> bytes_;
    uint32_t records_ = 0;
    std::optional<RECT> bounds_;
};

// The description as the header holds it: the two strings of `description` (application and
// picture, each ended by a null, the second followed by another) widened to UTF-16.
std::u16string Description(LPCSTR description) {
    std::u16string text;
    if (description == nullptr) return text;
    const size_t first = std::strlen(description);
    const size_t second = std::strlen(description + first + 1);
    for (size_t i = 0; i < first + 1 + second + 1; ++i) text.push_back(static_cast<uint8_t>(description[i]));
    text.push_back(0);
    return text;
}

// The size of the reference device (null: the screen); false for a handle that is no DC.
bool ReferenceOf(HDC reference, Reference& device) {
    if (reference == nullptr) return true;
    if (GetObjectType(reference) == 0) return false;
    device = {{GetDeviceCaps(reference, HORZRES), GetDeviceCaps(reference, VERTRES)},
              {GetDeviceCaps(reference, HORZSIZE), GetDeviceCaps(reference, VERTSIZE)}};
    return true;
}

// a x b / c rounded to the nearest, halves away from zero; 0 when c is 0.
LONG RoundedRatio(int64_t a, int64_t b, int64_t c) {
    if (c == 0) return 0;
    const int64_t product = a * b;
    return static_cast<LONG>((product >= 0 ? product + c / 2 : product - c / 2) / c);
}

}  // namespace
}  // namespace vx::posix::gdi

using namespace vx::posix::gdi;

extern "C" {

VXPLATFORMAPI HDC CreateEnhMetaFileA(HDC reference, LPCSTR fileName, const RECT* frame, LPCSTR description) {
    try {
        Reference device;
        if (!ReferenceOf(reference, device)) return nullptr;
        std::array<HGDIOBJ, kLastStockObject + 1> stock{};
        for (int i = 0; i <= kLastStockObject; ++i) stock[size_t(i)] = GetStockObject(i);
        auto recorder =
            std::make_shared<EmfRecorder>(device, frame != nullptr ? std::optional<RECT>(*frame) : std::nullopt,
                                          Description(description), std::move(stock));
        HDC dc = NewMetaDC(ObjectKind::EnhMetaDC, recorder);
        if (dc == nullptr) return nullptr;
        auto objects = Objects();
        if (DeviceContext* context = objects.find<DeviceContext>(dc)) recorder->Attach(&context->state);
        if (fileName != nullptr) recorder->fileName = fileName;
        return dc;
    } catch (...) {
        return nullptr;
    }
}

VXPLATFORMAPI HENHMETAFILE CloseEnhMetaFile(HDC dc) {
    std::vector<uint8_t> bytes;
    std::string fileName;
    std::unique_ptr<GdiObject> closed;
    try {
        auto objects = Objects();
        DeviceContext* context = objects.find<DeviceContext>(dc);
        if (context == nullptr || context->kind() != ObjectKind::EnhMetaDC) return nullptr;
        auto* recorder = static_cast<EmfRecorder*>(context->recorder.get());
        recorder->Attach(nullptr);
        bytes = recorder->Finish();
        fileName = recorder->fileName;
        ReleaseSelections(objects, dc, context->state);
        closed = objects.remove(dc);
    } catch (...) {
        return nullptr;
    }
    closed.reset();
    if (!fileName.empty()) {
        std::FILE* file = std::fopen(fileName.c_str(), "wb");
        const bool written = file != nullptr && std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
        if (file != nullptr && std::fclose(file) != 0) return nullptr;
        if (!written) return nullptr;
    }
    return AddEnhMetaFile(std::move(bytes));
}

VXPLATFORMAPI HENHMETAFILE SetWinMetaFileBits(UINT size, const BYTE* bits, HDC reference, const METAFILEPICT* picture) {
    Reference device;
    if (bits == nullptr || !ReferenceOf(reference, device)) return nullptr;
    HMETAFILE wmf = SetMetaFileBitsEx(size, bits);
    if (wmf == nullptr) return nullptr;
    const bool sized = picture != nullptr && picture->xExt > 0 && picture->yExt > 0;
    const RECT frame{0, 0, sized ? picture->xExt : 0, sized ? picture->yExt : 0};
    const SIZE extent = sized ? SIZE{RoundedRatio(picture->xExt, device.device.cx, device.millimetres.cx * 100),
                                     RoundedRatio(picture->yExt, device.device.cy, device.millimetres.cy * 100)}
                              : device.device;
    HDC dc = CreateEnhMetaFileA(reference, nullptr, sized ? &frame : nullptr, nullptr);
    if (dc == nullptr) {
        DeleteMetaFile(wmf);
        return nullptr;
    }
    if (picture == nullptr || picture->mm != MM_TEXT) {
        {
            auto objects = Objects();
            if (DeviceContext* context = objects.find<DeviceContext>(dc))
                static_cast<EmfRecorder*>(context->recorder.get())->WindowsMetafileComment({bits, size});
        }
        SetMapMode(dc, MM_ANISOTROPIC);
    }
    SetViewportExtEx(dc, extent.cx, extent.cy, nullptr);
    SetWindowExtEx(dc, extent.cx, extent.cy, nullptr);
    PlayMetaFile(dc, wmf);
    DeleteMetaFile(wmf);
    return CloseEnhMetaFile(dc);
}

}  // extern "C"
