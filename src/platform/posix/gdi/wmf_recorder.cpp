// wmf_recorder.cpp - the Windows metafile recorder of the Linux subset (NewWmfRecorder and
// FinishWmf of wmf_recorder.hpp) and the calls that make and end a metafile DC:
// CreateMetaFileA and CloseMetaFile.
//
// The recorder writes each call as Windows writes it on a metafile DC: a record of the call's
// arguments as 16-bit words (coordinates truncated to 16 bits, as the format holds them), in
// the order the format gives, which is mostly the reverse of the call's. TextOut is written as
// the ExtTextOut record. The header is made when the metafile is closed, from what the records
// needed: the file's size in words, the largest record, and the number of object slots used.
//
// Objects. A metafile names the objects it uses by the slots of a table that its player
// keeps; the recorder hands out the lowest free slot. A pen, brush or font gets a slot the
// first time it is selected (a creation record, then the selection) and keeps it: selecting
// it again records only the selection. Deleting it frees the slot with a deletion record,
// unless it is the pen, brush or font selected at the time (the slot then stays taken). A
// palette is written anew at every SelectPalette, and a region at every region call, their
// slots never freed, except the region of SelectClipRgn, which is created, selected and
// deleted at once; SelectClipRgn(NULL) records nothing. Pattern brushes are written as
// WMF_DIBCREATEPATTERNBRUSH with their pattern as a DIB: 1 bit (black and white) for a
// pattern of a monochrome bitmap, 32 bits otherwise.
//
// Bitmaps. BitBlt and StretchBlt write WMF_DIBBITBLT / WMF_DIBSTRETCHBLT with the whole
// source bitmap as a bottom-up DIB of its own depth: a 1-bit device bitmap with a black and
// white table, 16 and 32 bits as BI_BITFIELDS with their channel masks, 24 bits as BI_RGB,
// 1 to 8 bits with the full table of their depth (entries past the bitmap's own are zero).
// The source rectangle is written as the caller gave it. StretchDIBits and SetDIBitsToDevice
// copy the caller's header (biSize written as 40), its colour table (biClrUsed entries, or
// all of the depth's when it is 0; the three masks of BI_BITFIELDS; 16-bit indices for
// DIB_PAL_COLORS) and the pixel rows the header describes (for SetDIBitsToDevice the `lines`
// rows given). Wine writes the table of biClrUsed entries and biSizeImage bytes of pixels
// whatever the header says; both agree for a header that states them.
#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "formats/wmf_records.hpp"
#include "platform/posix/gdi/wmf_recorder.hpp"

namespace vx::posix::gdi {
namespace {

using namespace vx::formats;

// A slot taken for good (a palette or region the metafile never deletes).
const HGDIOBJ kKept = reinterpret_cast<HGDIOBJ>(~uintptr_t{0});

// The colour table and row size of a DIB header as the recorder writes it.
struct DibLayout {
    uint32_t tableBytes = 0;  // what follows the 40-byte header: colours, indices or masks
    uint64_t stride = 0;
    uint64_t height = 0;
};

DibLayout LayoutOf(const BITMAPINFOHEADER& h, UINT usage) {
    DibLayout layout;
    const int bpp = h.biBitCount;
    if (h.biCompression == BI_BITFIELDS) {
        layout.tableBytes = 12;
    } else {
        uint32_t entries = h.biClrUsed;
        if (bpp <= 8 && (entries == 0 || entries > (1u << bpp))) entries = 1u << bpp;
        layout.tableBytes = entries * (usage == DIB_PAL_COLORS ? 2 : 4);
    }
    layout.stride = (static_cast<uint64_t>(static_cast<uint32_t>(h.biWidth)) * bpp + 31) / 32 * 4;
    layout.height = h.biHeight < 0 ? 0 - static_cast<uint64_t>(static_cast<int64_t>(h.biHeight))
                                   : static_cast<uint64_t>(h.biHeight);
    return layout;
}

class WmfRecorder final : public MetaRecorder {
public:
    explicit WmfRecorder(std::string fileName) : fileName_(std::move(fileName)) {}
    bool keepsState() const override { return false; }
    const std::string& fileName() const { return fileName_; }

    void SaveDC() override { Record(WMF_SAVEDC, {}); }
    void RestoreDC(int saved) override { Record(WMF_RESTOREDC, {saved}); }
    void SetMapMode(int mode) override { Record(WMF_SETMAPMODE, {mode}); }
    void SetWindowOrg(int x, int y) override { Record(WMF_SETWINDOWORG, {y, x}); }
    void SetWindowExt(int x, int y) override { Record(WMF_SETWINDOWEXT, {y, x}); }
    void SetViewportOrg(int x, int y) override { Record(WMF_SETVIEWPORTORG, {y, x}); }
    void SetViewportExt(int x, int y) override { Record(WMF_SETVIEWPORTEXT, {y, x}); }
    void OffsetWindowOrg(int x, int y) override { Record(WMF_OFFSETWINDOWORG, {y, x}); }
    void OffsetViewportOrg(int x, int y) override { Record(WMF_OFFSETVIEWPORTORG, {y, x}); }
    void ScaleWindowExt(int xNum, int xDenom, int yNum, int yDenom) override {
        Record(WMF_SCALEWINDOWEXT, {yDenom, yNum, xDenom, xNum});
    }
    void ScaleViewportExt(int xNum, int xDenom, int yNum, int yDenom) override {
        Record(WMF_SCALEVIEWPORTEXT, {yDenom, yNum, xDenom, xNum});
    }
    void SetTextColor(COLORREF colour) override { RecordLong(WMF_SETTEXTCOLOR, colour, {}); }
    void SetBkColor(COLORREF colour) override { RecordLong(WMF_SETBKCOLOR, colour, {}); }
    void SetBkMode(int mode) override { Record(WMF_SETBKMODE, {mode}); }
    void SetROP2(int mode) override { Record(WMF_SETROP2, {mode}); }
    void SetStretchBltMode(int mode) override { Record(WMF_SETSTRETCHBLTMODE, {mode}); }
    void SetPolyFillMode(int mode) override { Record(WMF_SETPOLYFILLMODE, {mode}); }
    void SetTextAlign(UINT align) override { RecordLong(WMF_SETTEXTALIGN, align, {}); }

    void SelectObject(HGDIOBJ handle, const GdiObject& object) override {
        if (object.kind() == ObjectKind::Region) return;  // a Windows metafile DC takes none
        int slot = SlotOf(handle);
        if (slot < 0) {
            slot = Create(object);
            if (slot < 0) return;
            slots_[static_cast<size_t>(slot)] = handle;
        }
        Record(WMF_SELECTOBJECT, {slot});
        switch (object.kind()) {
            case ObjectKind::Pen: pen_ = handle; break;
            case ObjectKind::Brush: brush_ = handle; break;
            default: font_ = handle; break;
        }
    }
    void SelectPalette(HPALETTE, const Palette& palette) override {
        const int slot = Keep(palette);
        if (slot >= 0) Record(WMF_SELECTPALETTE, {slot});
    }
    void RealizePalette() override { Record(WMF_REALIZEPALETTE, {}); }
    void ObjectDeleted(HGDIOBJ handle) override {
        const int slot = SlotOf(handle);
        if (slot < 0 || handle == pen_ || handle == brush_ || handle == font_) return;
        Record(WMF_DELETEOBJECT, {slot});
        slots_[static_cast<size_t>(slot)] = nullptr;
    }

    void SelectClipRgn(const Region* region) override {
        const int slot = region != nullptr ? Create(*region) : -1;
        if (slot < 0) return;
        Record(WMF_SELECTOBJECT, {slot});
        Record(WMF_DELETEOBJECT, {slot});
        slots_[static_cast<size_t>(slot)] = nullptr;
    }
    void IntersectClipRect(int left, int top, int right, int bottom) override {
        Record(WMF_INTERSECTCLIPRECT, {bottom, right, top, left});
    }
    void ExcludeClipRect(int left, int top, int right, int bottom) override {
        Record(WMF_EXCLUDECLIPRECT, {bottom, right, top, left});
    }

    void MoveTo(int x, int y) override { Record(WMF_MOVETO, {y, x}); }
    void LineTo(int x, int y) override { Record(WMF_LINETO, {y, x}); }
    void Polyline(std::span<const POINT> points) override { RecordPoints(WMF_POLYLINE, points); }
    void Polygon(std::span<const POINT> points) override { RecordPoints(WMF_POLYGON, points); }
    void PolyPolygon(std::span<const POINT> points, std::span<const INT> counts) override {
        const size_t at = Begin(WMF_POLYPOLYGON);
        Word(static_cast<int>(counts.size()));
        for (INT count : counts) Word(count);
        for (const POINT& p : points) Word(p.x), Word(p.y);
        Word(0);  // Windows ends this record with a spare word
        End(at);
    }
    void Rectangle(int left, int top, int right, int bottom) override {
        Record(WMF_RECTANGLE, {bottom, right, top, left});
    }
    void RoundRect(int left, int top, int right, int bottom, int width, int height) override {
        Record(WMF_ROUNDRECT, {height, width, bottom, right, top, left});
    }
    void Ellipse(int left, int top, int right, int bottom) override {
        Record(WMF_ELLIPSE, {bottom, right, top, left});
    }
    void ArcFamily(ArcKind kind, int left, int top, int right, int bottom, int startX, int startY, int endX,
                   int endY) override {
        const uint16_t function = kind == ArcKind::Arc ? WMF_ARC : kind == ArcKind::Pie ? WMF_PIE : WMF_CHORD;
        Record(function, {endY, endX, startY, startX, bottom, right, top, left});
    }
    void SetPixel(int x, int y, COLORREF colour) override { RecordLong(WMF_SETPIXEL, colour, {y, x}); }
    void FillRgn(const Region& region, HBRUSH, const Brush& brush) override {
        const int regionSlot = Keep(region), brushSlot = Keep(brush);
        if (regionSlot >= 0 && brushSlot >= 0) Record(WMF_FILLREGION, {brushSlot, regionSlot});
    }
    void PaintRgn(const Region& region) override {
        if (const int slot = Keep(region); slot >= 0) Record(WMF_PAINTREGION, {slot});
    }
    void FrameRgn(const Region& region, HBRUSH, const Brush& brush, int width, int height) override {
        const int regionSlot = Keep(region), brushSlot = Keep(brush);
        if (regionSlot >= 0 && brushSlot >= 0) Record(WMF_FRAMEREGION, {height, width, brushSlot, regionSlot});
    }
    void InvertRgn(const Region& region) override {
        if (const int slot = Keep(region); slot >= 0) Record(WMF_INVERTREGION, {slot});
    }

    void TextOut(int x, int y, std::string_view text) override { ExtTextOut(x, y, 0, nullptr, text, {}); }
    void ExtTextOut(int x, int y, UINT options, const RECT* rect, std::string_view text,
                    std::span<const INT> dx) override {
        const size_t at = Begin(WMF_EXTTEXTOUT);
        Word(y), Word(x), Word(static_cast<int>(text.size())), Word(static_cast<int>(options));
        if (rect != nullptr && (options & (ETO_CLIPPED | ETO_OPAQUE)) != 0)
            Word(rect->left), Word(rect->top), Word(rect->right), Word(rect->bottom);
        Bytes(text.data(), text.size());
        if (text.size() % 2 != 0) records_.push_back(0);
        for (INT advance : dx.first(std::min(dx.size(), text.size()))) Word(advance);
        End(at);
    }

    void PatBlt(int x, int y, int width, int height, DWORD rop) override {
        RecordLong(WMF_PATBLT, rop, {height, width, y, x});
    }
    void StretchBlt(int x, int y, int width, int height, const Surface* source, int sourceX, int sourceY,
                    int sourceWidth, int sourceHeight, DWORD rop, bool stretched) override {
        if (source == nullptr) return;
        const size_t at = Begin(stretched ? WMF_DIBSTRETCHBLT : WMF_DIBBITBLT);
        Long(rop);
        if (stretched) Word(sourceHeight), Word(sourceWidth);
        Word(sourceY), Word(sourceX), Word(height), Word(width), Word(y), Word(x);
        SurfaceDib(*source);
        End(at);
    }
    void StretchDIBits(int x, int y, int width, int height, int sourceX, int sourceY, int sourceWidth,
                       int sourceHeight, const void* bits, const BITMAPINFO* info, UINT usage, DWORD rop) override {
        const DibLayout layout = LayoutOf(info->bmiHeader, usage);
        if (!Fits(layout, layout.height)) return;
        const size_t at = Begin(WMF_STRETCHDIB);
        Long(rop);
        Word(static_cast<int>(usage)), Word(sourceHeight), Word(sourceWidth), Word(sourceY), Word(sourceX);
        Word(height), Word(width), Word(y), Word(x);
        CallerDib(*info, layout, usage, bits, layout.height);
        End(at);
    }
    void SetDIBitsToDevice(int x, int y, DWORD width, DWORD height, int sourceX, int sourceY, UINT start,
                           UINT lines, const void* bits, const BITMAPINFO* info, UINT usage) override {
        const DibLayout layout = LayoutOf(info->bmiHeader, usage);
        const uint64_t rows = std::min<uint64_t>(lines, layout.height);
        if (!Fits(layout, rows)) return;
        const size_t at = Begin(WMF_SETDIBTODEV);
        Word(static_cast<int>(usage)), Word(static_cast<int>(lines)), Word(static_cast<int>(start));
        Word(sourceY), Word(sourceX), Word(static_cast<int>(height)), Word(static_cast<int>(width)), Word(y), Word(x);
        CallerDib(*info, layout, usage, bits, rows);
        End(at);
    }

    std::vector<uint8_t> Finish() const {
        constexpr uint8_t kEnd[kWmfRecordHeadBytes] = {3, 0, 0, 0, WMF_EOF & 0xFF, WMF_EOF >> 8};
        std::vector<uint8_t> file(kWmfHeaderBytes);
        const auto put16 = [&](size_t at, uint32_t v) {
            file[at] = static_cast<uint8_t>(v);
            file[at + 1] = static_cast<uint8_t>(v >> 8);
        };
        const auto put32 = [&](size_t at, uint32_t v) {
            put16(at, v & 0xFFFF);
            put16(at + 2, v >> 16);
        };
        const size_t bytes = kWmfHeaderBytes + records_.size() + sizeof kEnd;
        put16(0, 1);  // mtType: in memory, which Windows writes for files too
        put16(2, kWmfHeaderBytes / 2);
        put16(4, 0x300);  // mtVersion
        put32(6, static_cast<uint32_t>(bytes / 2));
        put16(10, static_cast<uint32_t>(slots_.size()));  // mtNoObjects: the slots ever used
        put32(12, std::max<uint32_t>(largestRecord_, 3));
        put16(16, 0);  // mtNoParameters
        file.reserve(bytes);
        file.insert(file.end(), records_.begin(), records_.end());
        file.insert(file.end(), std::begin(kEnd), std::end(kEnd));
        return file;
    }

private:
    void Word(int value) {
        records_.push_back(static_cast<uint8_t>(value));
        records_.push_back(static_cast<uint8_t>(value >> 8));
    }
    void Long(uint32_t value) {
        Word(static_cast<int>(value & 0xFFFF));
        Word(static_cast<int>(value >> 16));
    }
    void Bytes(const void* data, size_t count) {
        const auto* p = static_cast<const uint8_t*>(data);
        records_.insert(records_.end(), p, p + count);
    }
    void Zeros(size_t count) { records_.resize(records_.size() + count); }

    // Starts a record, answering where it starts; End writes its size.
    size_t Begin(uint16_t function) {
        const size_t at = records_.size();
        Long(0);
        Word(function);
        return at;
    }
    void End(size_t at) {
        if (records_.size() % 2 != 0) records_.push_back(0);
        const auto words = static_cast<uint32_t>((records_.size() - at) / 2);
        for (int i = 0; i < 4; ++i) records_[at + static_cast<size_t>(i)] = static_cast<uint8_t>(words >> (8 * i));
        largestRecord_ = std::max(largestRecord_, words);
    }
    void Record(uint16_t function, std::initializer_list<int> words) {
        const size_t at = Begin(function);
        for (int w : words) Word(w);
        End(at);
    }
    // A record whose first two words are a 32-bit value (a colour, a raster operation).
    void RecordLong(uint16_t function, DWORD value, std::initializer_list<int> words) {
        const size_t at = Begin(function);
        Long(value);
        for (int w : words) Word(w);
        End(at);
    }
    void RecordPoints(uint16_t function, std::span<const POINT> points) {
        const size_t at = Begin(function);
        Word(static_cast<int>(points.size()));
        for (const POINT& p : points) Word(p.x), Word(p.y);
        End(at);
    }

    // A 40-byte BITMAPINFOHEADER.
    void Header(int width, int height, int bitCount, DWORD compression, DWORD sizeImage) {
        Long(40), Long(static_cast<uint32_t>(width)), Long(static_cast<uint32_t>(height));
        Word(1), Word(bitCount), Long(compression), Long(sizeImage);
        Zeros(16);
    }

    // A surface as a bottom-up DIB of its depth.
    void SurfaceDib(const Surface& s) {
        const uint64_t stride = (static_cast<uint64_t>(s.width) * s.bitsPerPixel + 31) / 32 * 4;
        const bool masked = s.bitsPerPixel == 16 || s.bitsPerPixel == 32;
        Header(s.width, s.height, s.bitsPerPixel, masked ? BI_BITFIELDS : BI_RGB,
               static_cast<DWORD>(stride * static_cast<uint64_t>(s.height)));
        if (masked) {
            const bool given = (s.redMask | s.greenMask | s.blueMask) != 0;
            if (given) Long(s.redMask), Long(s.greenMask), Long(s.blueMask);
            else if (s.bitsPerPixel == 16) Long(0x7C00), Long(0x03E0), Long(0x001F);
            else Long(0xFF0000), Long(0x00FF00), Long(0x0000FF);
        } else if (s.bitsPerPixel <= 8) {
            const int entries = 1 << s.bitsPerPixel;
            const int own = s.colours != nullptr ? std::min(s.colourCount, entries) : 0;
            Bytes(s.colours, static_cast<size_t>(own) * sizeof(RGBQUAD));
            Zeros(static_cast<size_t>(entries - own) * sizeof(RGBQUAD));
        }
        const auto rowBytes = static_cast<size_t>((static_cast<uint64_t>(s.width) * s.bitsPerPixel + 7) / 8);
        for (int y = s.height - 1; y >= 0; --y) {
            Bytes(s.bits + static_cast<ptrdiff_t>(y) * s.stride, rowBytes);
            Zeros(static_cast<size_t>(stride) - rowBytes);
        }
    }

    // The caller's header, table and `rows` rows of `bits`.
    void CallerDib(const BITMAPINFO& info, const DibLayout& layout, UINT, const void* bits, uint64_t rows) {
        BITMAPINFOHEADER header = info.bmiHeader;
        header.biSize = 40;
        Bytes(&header, sizeof header);
        // Masks follow the 40-byte header; a colour table follows the caller's header.
        const auto* table = reinterpret_cast<const uint8_t*>(&info) +
                            (info.bmiHeader.biCompression == BI_BITFIELDS ? 40 : info.bmiHeader.biSize);
        Bytes(table, layout.tableBytes);
        Bytes(bits, static_cast<size_t>(layout.stride * rows));
    }

    // Whether a DIB of `rows` rows fits a record, whose size is a 32-bit count of words, with
    // room to spare; a header claiming more is not recorded.
    static bool Fits(const DibLayout& layout, uint64_t rows) {
        return layout.stride * rows <= 0x7FFFFFFF - 1024;
    }

    int SlotOf(HGDIOBJ handle) const {
        const auto found = std::find(slots_.begin(), slots_.end(), handle);
        return found == slots_.end() ? -1 : static_cast<int>(found - slots_.begin());
    }
    int FreeSlot() {
        const auto found = std::find(slots_.begin(), slots_.end(), nullptr);
        if (found != slots_.end()) return static_cast<int>(found - slots_.begin());
        if (slots_.size() >= 0xFFFF) return -1;
        slots_.push_back(nullptr);
        return static_cast<int>(slots_.size() - 1);
    }
    // An object written into a slot the metafile never frees.
    int Keep(const GdiObject& object) {
        const int slot = Create(object);
        if (slot >= 0) slots_[static_cast<size_t>(slot)] = kKept;
        return slot;
    }

    // Writes the creation record of an object into a free slot (left free for the caller to
    // fill); -1 when it cannot be written.
    int Create(const GdiObject& object) {
        const int slot = FreeSlot();
        if (slot < 0) return -1;
        switch (object.kind()) {
            case ObjectKind::Pen: {
                const auto& pen = static_cast<const Pen&>(object);
                // The stock NULL_PEN, which every PS_NULL pen is, is written as Windows keeps it.
                const bool none = pen.style == PS_NULL;
                RecordLong(WMF_CREATEPENINDIRECT, pen.style | (none ? 1u : static_cast<uint32_t>(pen.width)) << 16,
                           {0, none ? 0 : static_cast<int>(pen.colour & 0xFFFF), none ? 0 : static_cast<int>(pen.colour >> 16)});
                break;
            }
            case ObjectKind::Brush: WriteBrush(static_cast<const Brush&>(object)); break;
            case ObjectKind::Font: WriteFont(static_cast<const Font&>(object).logical); break;
            case ObjectKind::Palette: {
                const auto& entries = static_cast<const Palette&>(object).entries;
                const size_t at = Begin(WMF_CREATEPALETTE);
                Word(0x300), Word(static_cast<int>(entries.size()));
                Bytes(entries.data(), entries.size() * sizeof(PALETTEENTRY));
                End(at);
                break;
            }
            case ObjectKind::Region: WriteRegion(static_cast<const Region&>(object)); break;
            default: return -1;
        }
        return slot;
    }

    void WriteBrush(const Brush& brush) {
        if (brush.style != BS_PATTERN) {
            const uint32_t colour = brush.style == BS_NULL ? 0 : brush.colour;
            RecordLong(WMF_CREATEBRUSHINDIRECT, brush.style | (colour & 0xFFFF) << 16, {static_cast<int>(colour >> 16), 0});
            return;
        }
        const size_t at = Begin(WMF_DIBCREATEPATTERNBRUSH);
        Word(BS_PATTERN), Word(DIB_RGB_COLORS);
        const int w = brush.patternWidth, h = brush.patternHeight;
        if (brush.patternMonochrome) {
            const int stride = (w + 31) / 32 * 4;
            Header(w, h, 1, BI_RGB, static_cast<DWORD>(stride * h));
            Long(0), Long(0xFFFFFF);
            for (int y = h - 1; y >= 0; --y) {
                std::vector<uint8_t> row(static_cast<size_t>(stride));
                for (int x = 0; x < w; ++x)
                    if ((brush.pattern[static_cast<size_t>(y) * w + x] & 0xFFFFFF) != 0)
                        row[static_cast<size_t>(x) / 8] |= static_cast<uint8_t>(0x80 >> (x % 8));
                Bytes(row.data(), row.size());
            }
        } else {
            Header(w, h, 32, BI_RGB, static_cast<DWORD>(4 * w * h));
            for (int y = h - 1; y >= 0; --y)
                for (int x = 0; x < w; ++x) {
                    const COLORREF c = brush.pattern[static_cast<size_t>(y) * w + x];
                    Long(GetBValue(c) | GetGValue(c) << 8 | GetRValue(c) << 16);
                }
        }
        End(at);
    }

    void WriteFont(const LOGFONTA& font) {
        const size_t at = Begin(WMF_CREATEFONTINDIRECT);
        Word(font.lfHeight), Word(font.lfWidth), Word(font.lfEscapement), Word(font.lfOrientation);
        Word(font.lfWeight);
        const uint8_t flags[8] = {font.lfItalic,       font.lfUnderline,     font.lfStrikeOut, font.lfCharSet,
                                  font.lfOutPrecision, font.lfClipPrecision, font.lfQuality,   font.lfPitchAndFamily};
        Bytes(flags, sizeof flags);
        Bytes(font.lfFaceName, sizeof font.lfFaceName);
        End(at);
    }

    // The region as scans: one per band of equal top and bottom, each its left and right
    // edges.
    void WriteRegion(const Region& region) {
        const std::vector<RECT>& rects = region.rects;
        std::vector<std::pair<size_t, size_t>> bands;  // [first, end) of each band
        for (size_t i = 0; i < rects.size(); ++i) {
            if (bands.empty() || rects[i].top != rects[bands.back().first].top ||
                rects[i].bottom != rects[bands.back().first].bottom)
                bands.emplace_back(i, i);
            bands.back().second = i + 1;
        }
        RECT box{0, 0, 0, 0};
        size_t widest = 0;
        for (const auto& [first, end] : bands) widest = std::max(widest, end - first);
        if (!rects.empty()) {
            box = rects.front();
            for (const RECT& r : rects) {
                box.left = std::min(box.left, r.left), box.right = std::max(box.right, r.right);
                box.bottom = std::max(box.bottom, r.bottom);
            }
        }
        const size_t at = Begin(WMF_CREATEREGION);
        Word(0), Word(6), Long(0x2F6);  // nextInChain, object type, object count (as Windows writes)
        Word(static_cast<int>(24 + 8 * bands.size() + 4 * rects.size()));
        Word(static_cast<int>(bands.size())), Word(static_cast<int>(2 * widest));
        Word(box.left), Word(box.top), Word(box.right), Word(box.bottom);
        for (const auto& [first, end] : bands) {
            const int edges = static_cast<int>(2 * (end - first));
            Word(edges), Word(rects[first].top), Word(rects[first].bottom);
            for (size_t i = first; i < end; ++i) Word(rects[i].left), Word(rects[i].right);
            Word(edges);
        }
        End(at);
    }

    std::string fileName_;  // empty: in memory
    std::vector<uint8_t> records_;
    uint32_t largestRecord_ = 0;
    std::vector<HGDIOBJ> slots_;  // the handle in each slot, null when free, kKept for good
    HGDIOBJ pen_ = nullptr, brush_ = nullptr, font_ = nullptr;  // selected, so never deleted
};

}  // namespace

std::shared_ptr<MetaRecorder> NewWmfRecorder(std::string fileName) {
    return std::make_shared<WmfRecorder>(std::move(fileName));
}

std::vector<uint8_t> FinishWmf(const MetaRecorder& recorder, std::string& fileName) {
    const auto& wmf = static_cast<const WmfRecorder&>(recorder);
    fileName = wmf.fileName();
    return wmf.Finish();
}

}  // namespace vx::posix::gdi

using namespace vx::posix::gdi;

extern "C" {

// A file name makes the file at once (empty), as Windows does, so a name that cannot be
// written is refused here; CloseMetaFile fills it.
VXPLATFORMAPI HDC CreateMetaFileA(LPCSTR fileName) {
    try {
        if (fileName != nullptr && !WriteMetaFile(fileName, {})) return nullptr;
        return NewMetaDC(ObjectKind::MetaDC, NewWmfRecorder(fileName != nullptr ? fileName : ""));
    } catch (...) {
        return nullptr;
    }
}

// The DC goes (a second CloseMetaFile of it fails) and its records become a metafile, written
// to its file when it has one.
VXPLATFORMAPI HMETAFILE CloseMetaFile(HDC dc) {
    try {
        auto metafile = std::make_unique<MetaFile>();
        std::unique_ptr<GdiObject> closed;
        std::string fileName;
        std::vector<uint8_t> bytes;
        {
            auto objects = Objects();
            DeviceContext* context = objects.find<DeviceContext>(dc);
            if (context == nullptr || context->kind() != ObjectKind::MetaDC) return nullptr;
            bytes = FinishWmf(*context->recorder, fileName);
            ReleaseSelections(objects, dc, context->state);
            closed = objects.remove(dc);
        }
        if (!fileName.empty() && !WriteMetaFile(fileName.c_str(), bytes)) return nullptr;
        metafile->bytes = std::move(bytes);
        return static_cast<HMETAFILE>(Objects().add(std::move(metafile)));
    } catch (...) {
        return nullptr;
    }
}

}  // extern "C"
