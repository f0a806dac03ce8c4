// wmf_player.cpp - PlayMetaFile of the Linux subset: draws a Windows metafile's records on a
// DC by calling the subset's GDI calls by their Win32 names, as Windows plays them.
//
// The records are walked with WalkWmfRecords (formats/wmf_records.hpp), which never reads
// outside the metafile: the walk stops at WMF_EOF, at a record whose size is below its head
// (zero included), and after a record that claims more than the file holds, which is played
// with what there is. A record too short for the parameters it needs is skipped, and so is one
// the player does not know (WmfRecordPlayed says which it draws); the walk goes on after them.
// DIBs inside records are checked against the record's bytes (header, colour table and the
// rows the header describes) before any call sees them, and copied to aligned memory.
//
// Objects. The metafile's object table has as many slots as its header says. A creation
// record takes the lowest free slot, or is dropped when there is none; it takes the slot even
// when the object cannot be made here (a hatched brush becomes a solid brush of its colour; a
// font or pattern that cannot be made, or a record too short to hold its object, leaves the
// slot empty), so the slots the later records name stay the ones the recorder meant. SELECTOBJECT, SELECTPALETTE, the region records and
// DELETEOBJECT of an empty or missing slot do nothing.
//
// Like Windows, the player puts the DC's pen, brush, palette, font and clipping region back
// when it is done, then deletes whatever the table still holds; the other settings the
// records changed (colours, modes, mapping) stay as the records left them. PlayMetaFile
// answers TRUE for any metafile, whatever it held and whatever the DC, FALSE only for a handle
// that is not a metafile.
#include <cstring>
#include <optional>
#include <span>
#include <vector>

#include "formats/wmf_records.hpp"
#include "platform/posix/gdi/objects.hpp"

namespace vx::posix::gdi {
namespace {

using namespace vx::formats;

// The parameters of one record, as 16-bit words after its head.
class Params {
public:
    Params(std::span<const uint8_t> file, const WmfRecord& record)
        : p_(file.data() + record.offset + kWmfRecordHeadBytes), words_((record.bytes - kWmfRecordHeadBytes) / 2) {}

    size_t words() const { return words_; }
    bool has(size_t count) const { return words_ >= count; }
    int s(size_t i) const { return static_cast<int16_t>(WmfWord(p_ + 2 * i)); }
    unsigned u(size_t i) const { return WmfWord(p_ + 2 * i); }
    uint32_t l(size_t i) const { return WmfLong(p_ + 2 * i); }
    const uint8_t* at(size_t word) const { return p_ + 2 * word; }
    size_t bytesFrom(size_t word) const { return 2 * (words_ - word); }
    POINT point(size_t i) const { return POINT{s(i), s(i + 1)}; }

private:
    const uint8_t* p_;
    size_t words_;
};

// A packed DIB inside a record: its header and table copied to aligned memory, its rows in
// place.
struct RecordDib {
    std::vector<uint32_t> info;  // BITMAPINFOHEADER and colour table
    const uint8_t* bits = nullptr;

    const BITMAPINFO* get() const { return reinterpret_cast<const BITMAPINFO*>(info.data()); }
};

// The DIB at `data` (`bytes` long) when its header, table and `rows` rows (-1: all) fit.
std::optional<RecordDib> ReadDib(const uint8_t* data, size_t bytes, UINT usage, int64_t rows = -1) {
    if (bytes < sizeof(BITMAPINFOHEADER)) return std::nullopt;
    BITMAPINFOHEADER h;
    std::memcpy(&h, data, sizeof h);
    if (h.biSize < sizeof h || h.biSize > bytes || h.biWidth <= 0 || h.biHeight == 0 || h.biHeight == INT32_MIN)
        return std::nullopt;
    const int bpp = h.biBitCount;
    if (bpp != 1 && bpp != 4 && bpp != 8 && bpp != 16 && bpp != 24 && bpp != 32) return std::nullopt;
    uint64_t table = 0;
    if (h.biCompression == BI_BITFIELDS) {
        table = 12;
    } else {
        uint64_t entries = h.biClrUsed;
        if (bpp <= 8 && (entries == 0 || entries > (1u << bpp))) entries = 1u << bpp;
        table = entries * (usage == DIB_PAL_COLORS ? 2 : 4);
    }
    const uint64_t stride = (uint64_t{static_cast<uint32_t>(h.biWidth)} * bpp + 31) / 32 * 4;
    const uint64_t height = h.biHeight < 0 ? uint64_t{0} - static_cast<uint64_t>(int64_t{h.biHeight})
                                           : static_cast<uint64_t>(h.biHeight);
    const uint64_t lines = rows < 0 ? height : std::min<uint64_t>(static_cast<uint64_t>(rows), height);
    // The table sits after the caller's header, the masks after the first 40 bytes.
    const uint64_t tableAt = h.biCompression == BI_BITFIELDS ? sizeof h : h.biSize;
    const uint64_t headerAndTable = std::max<uint64_t>(h.biSize, tableAt + table);
    if (headerAndTable > bytes || stride * lines > bytes - headerAndTable) return std::nullopt;
    RecordDib dib;
    dib.info.resize(static_cast<size_t>((headerAndTable + 3) / 4));
    std::memcpy(dib.info.data(), data, static_cast<size_t>(headerAndTable));
    dib.bits = data + headerAndTable;
    return dib;
}

class Player {
public:
    Player(HDC dc, std::span<const uint8_t> file, size_t slots) : dc_(dc), file_(file), table_(slots) {}

    ~Player() {
        for (HGDIOBJ object : table_)
            if (object != nullptr) DeleteObject(object);
    }

    void Play(const WmfRecord& record) {
        const Params p(file_, record);
        switch (record.function) {
            case WMF_SAVEDC: SaveDC(dc_); break;
            case WMF_REALIZEPALETTE: RealizePalette(dc_); break;
            case WMF_SETBKMODE: if (p.has(1)) SetBkMode(dc_, p.s(0)); break;
            case WMF_SETMAPMODE: if (p.has(1)) SetMapMode(dc_, p.s(0)); break;
            case WMF_SETROP2: if (p.has(1)) SetROP2(dc_, p.s(0)); break;
            case WMF_SETPOLYFILLMODE: if (p.has(1)) SetPolyFillMode(dc_, p.s(0)); break;
            case WMF_SETSTRETCHBLTMODE: if (p.has(1)) SetStretchBltMode(dc_, p.s(0)); break;
            case WMF_SETTEXTALIGN: if (p.has(1)) SetTextAlign(dc_, p.u(0)); break;
            case WMF_RESTOREDC: if (p.has(1)) RestoreDC(dc_, p.s(0)); break;
            case WMF_SETBKCOLOR: if (p.has(2)) SetBkColor(dc_, p.l(0)); break;
            case WMF_SETTEXTCOLOR: if (p.has(2)) SetTextColor(dc_, p.l(0)); break;
            case WMF_SETWINDOWORG: if (p.has(2)) SetWindowOrgEx(dc_, p.s(1), p.s(0), nullptr); break;
            case WMF_SETWINDOWEXT: if (p.has(2)) SetWindowExtEx(dc_, p.s(1), p.s(0), nullptr); break;
            case WMF_SETVIEWPORTORG: if (p.has(2)) SetViewportOrgEx(dc_, p.s(1), p.s(0), nullptr); break;
            case WMF_SETVIEWPORTEXT: if (p.has(2)) SetViewportExtEx(dc_, p.s(1), p.s(0), nullptr); break;
            case WMF_OFFSETWINDOWORG: if (p.has(2)) OffsetWindowOrgEx(dc_, p.s(1), p.s(0), nullptr); break;
            case WMF_OFFSETVIEWPORTORG: if (p.has(2)) OffsetViewportOrgEx(dc_, p.s(1), p.s(0), nullptr); break;
            case WMF_SCALEWINDOWEXT:
                if (p.has(4)) ScaleWindowExtEx(dc_, p.s(3), p.s(2), p.s(1), p.s(0), nullptr);
                break;
            case WMF_SCALEVIEWPORTEXT:
                if (p.has(4)) ScaleViewportExtEx(dc_, p.s(3), p.s(2), p.s(1), p.s(0), nullptr);
                break;
            case WMF_INTERSECTCLIPRECT: if (p.has(4)) IntersectClipRect(dc_, p.s(3), p.s(2), p.s(1), p.s(0)); break;
            case WMF_EXCLUDECLIPRECT: if (p.has(4)) ExcludeClipRect(dc_, p.s(3), p.s(2), p.s(1), p.s(0)); break;

            case WMF_MOVETO: if (p.has(2)) MoveToEx(dc_, p.s(1), p.s(0), nullptr); break;
            case WMF_LINETO: if (p.has(2)) LineTo(dc_, p.s(1), p.s(0)); break;
            case WMF_POLYLINE:
            case WMF_POLYGON: {
                if (!p.has(1) || !p.has(1 + 2 * size_t{p.u(0)})) break;
                const std::vector<POINT> points = Points(p, 1, p.u(0));
                const int count = static_cast<int>(points.size());
                if (record.function == WMF_POLYLINE) Polyline(dc_, points.data(), count);
                else Polygon(dc_, points.data(), count);
                break;
            }
            case WMF_POLYPOLYGON: PlayPolyPolygon(p); break;
            case WMF_RECTANGLE: if (p.has(4)) Rectangle(dc_, p.s(3), p.s(2), p.s(1), p.s(0)); break;
            case WMF_ROUNDRECT:
                if (p.has(6)) RoundRect(dc_, p.s(5), p.s(4), p.s(3), p.s(2), p.s(1), p.s(0));
                break;
            case WMF_ELLIPSE: if (p.has(4)) Ellipse(dc_, p.s(3), p.s(2), p.s(1), p.s(0)); break;
            case WMF_ARC:
            case WMF_PIE:
            case WMF_CHORD: {
                if (!p.has(8)) break;
                const auto call = record.function == WMF_ARC ? Arc : record.function == WMF_PIE ? Pie : Chord;
                call(dc_, p.s(7), p.s(6), p.s(5), p.s(4), p.s(3), p.s(2), p.s(1), p.s(0));
                break;
            }
            case WMF_SETPIXEL: if (p.has(4)) SetPixel(dc_, p.s(3), p.s(2), p.l(0)); break;
            case WMF_PATBLT: if (p.has(6)) PatBlt(dc_, p.s(5), p.s(4), p.s(3), p.s(2), p.l(0)); break;
            case WMF_TEXTOUT: PlayTextOut(p); break;
            case WMF_EXTTEXTOUT: PlayExtTextOut(p); break;

            case WMF_SELECTOBJECT: if (HGDIOBJ o = Slot(p, 0)) SelectObject(dc_, o); break;
            case WMF_SELECTPALETTE:
                if (HGDIOBJ o = Slot(p, 0)) SelectPalette(dc_, static_cast<HPALETTE>(o), FALSE);
                break;
            case WMF_SELECTCLIPREGION:
                if (p.has(1)) SelectClipRgn(dc_, static_cast<HRGN>(Slot(p, 0)));
                break;
            case WMF_DELETEOBJECT:
                if (p.has(1) && p.u(0) < table_.size()) {
                    if (table_[p.u(0)] != nullptr) DeleteObject(table_[p.u(0)]);
                    table_[p.u(0)] = nullptr;
                    taken_[p.u(0)] = false;
                }
                break;
            case WMF_FILLREGION:
                if (p.has(2)) FillRgn(dc_, static_cast<HRGN>(Slot(p, 1)), static_cast<HBRUSH>(Slot(p, 0)));
                break;
            case WMF_FRAMEREGION:
                if (p.has(4))
                    FrameRgn(dc_, static_cast<HRGN>(Slot(p, 3)), static_cast<HBRUSH>(Slot(p, 2)), p.s(1), p.s(0));
                break;
            case WMF_PAINTREGION: if (p.has(1)) PaintRgn(dc_, static_cast<HRGN>(Slot(p, 0))); break;
            case WMF_INVERTREGION: if (p.has(1)) InvertRgn(dc_, static_cast<HRGN>(Slot(p, 0))); break;

            case WMF_CREATEPENINDIRECT: Add(p.has(5) ? CreatePen(p.s(0), p.s(1), p.l(3)) : nullptr); break;
            case WMF_CREATEBRUSHINDIRECT: {
                if (!p.has(4)) {
                    Add(nullptr);
                    break;
                }
                LOGBRUSH brush{p.u(0), p.l(1), static_cast<ULONG_PTR>(p.u(3))};
                // Hatches are not part of the subset: their colour stands in for them.
                constexpr UINT kHatched = 2;  // BS_HATCHED
                if (brush.lbStyle == kHatched) brush.lbStyle = BS_SOLID;
                Add(brush.lbStyle == BS_SOLID || brush.lbStyle == BS_NULL ? CreateBrushIndirect(&brush) : nullptr);
                break;
            }
            case WMF_DIBCREATEPATTERNBRUSH: PlayPatternBrush(p); break;
            case WMF_CREATEFONTINDIRECT: PlayFont(p); break;
            case WMF_CREATEPALETTE: PlayPalette(p); break;
            case WMF_CREATEREGION: PlayRegion(p); break;

            case WMF_DIBBITBLT:
            case WMF_DIBSTRETCHBLT: PlayDibBlit(p, record.function == WMF_DIBSTRETCHBLT); break;
            case WMF_STRETCHDIB: {
                if (!p.has(11)) break;
                const auto dib = ReadDib(p.at(11), p.bytesFrom(11), p.u(2));
                if (dib)
                    StretchDIBits(dc_, p.s(10), p.s(9), p.s(8), p.s(7), p.s(6), p.s(5), p.s(4), p.s(3), dib->bits,
                                  dib->get(), p.u(2), p.l(0));
                break;
            }
            case WMF_SETDIBTODEV: {
                if (!p.has(9)) break;
                const auto dib = ReadDib(p.at(9), p.bytesFrom(9), p.u(0), p.u(1));
                if (dib)
                    SetDIBitsToDevice(dc_, p.s(8), p.s(7), static_cast<DWORD>(p.s(6)), static_cast<DWORD>(p.s(5)),
                                      p.s(4), p.s(3), p.u(2), p.u(1), dib->bits, dib->get(), p.u(0));
                break;
            }
            default: break;  // not drawn here (WmfRecordPlayed)
        }
    }

private:
    // The object in the slot named by parameter i; null for an empty or missing slot.
    HGDIOBJ Slot(const Params& p, size_t i) const {
        if (!p.has(i + 1) || p.u(i) >= table_.size()) return nullptr;
        return table_[p.u(i)];
    }

    // Puts a new object into the lowest free slot; without one, the object goes. The slot is
    // taken even when the object could not be made (it then stays empty, but taken).
    void Add(HGDIOBJ object) {
        for (size_t i = 0; i < table_.size(); ++i) {
            if (table_[i] == nullptr && !taken_[i]) {
                table_[i] = object;
                taken_[i] = object == nullptr;
                return;
            }
        }
        if (object != nullptr) DeleteObject(object);
    }

    std::vector<POINT> Points(const Params& p, size_t first, size_t count) const {
        std::vector<POINT> points(count);
        for (size_t i = 0; i < count; ++i) points[i] = p.point(first + 2 * i);
        return points;
    }

    void PlayPolyPolygon(const Params& p) {
        if (!p.has(1)) return;
        const size_t polygons = p.u(0);
        if (!p.has(1 + polygons)) return;
        std::vector<INT> counts(polygons);
        size_t total = 0;
        for (size_t i = 0; i < polygons; ++i) total += counts[i] = static_cast<INT>(p.u(1 + i));
        if (!p.has(1 + polygons + 2 * total)) return;
        const std::vector<POINT> points = Points(p, 1 + polygons, total);
        PolyPolygon(dc_, points.data(), counts.data(), static_cast<int>(polygons));
    }

    // WMF_TEXTOUT: the length, the string (padded to a word), then y and x.
    void PlayTextOut(const Params& p) {
        if (!p.has(1)) return;
        const size_t length = p.u(0), words = (length + 1) / 2;
        if (!p.has(1 + words + 2)) return;
        const auto* text = reinterpret_cast<const char*>(p.at(1));
        TextOutA(dc_, p.s(1 + words + 1), p.s(1 + words), text, static_cast<int>(length));
    }

    // WMF_EXTTEXTOUT: y, x, length, options, the rectangle when the options clip or fill,
    // the string (padded to a word), then one advance per character when the record has room.
    void PlayExtTextOut(const Params& p) {
        if (!p.has(4)) return;
        const size_t length = p.u(2);
        const UINT options = p.u(3);
        size_t at = 4;
        RECT rect{};
        const bool hasRect = (options & (ETO_CLIPPED | ETO_OPAQUE)) != 0;
        if (hasRect) {
            if (!p.has(8)) return;
            rect = RECT{p.s(4), p.s(5), p.s(6), p.s(7)};
            at = 8;
        }
        const size_t words = (length + 1) / 2;
        if (!p.has(at + words)) return;
        const auto* text = reinterpret_cast<const char*>(p.at(at));
        std::vector<INT> dx;
        if (p.has(at + words + length)) {
            dx.resize(length);
            for (size_t i = 0; i < length; ++i) dx[i] = p.s(at + words + i);
        }
        ExtTextOutA(dc_, p.s(1), p.s(0), options, hasRect ? &rect : nullptr, text, static_cast<UINT>(length),
                    dx.empty() ? nullptr : dx.data());
    }

    void PlayFont(const Params& p) {
        if (!p.has(9)) return Add(nullptr);
        LOGFONTA font{};
        font.lfHeight = p.s(0);
        font.lfWidth = p.s(1);
        font.lfEscapement = p.s(2);
        font.lfOrientation = p.s(3);
        font.lfWeight = p.s(4);
        const uint8_t* flags = p.at(5);
        font.lfItalic = flags[0];
        font.lfUnderline = flags[1];
        font.lfStrikeOut = flags[2];
        font.lfCharSet = flags[3];
        font.lfOutPrecision = flags[4];
        font.lfClipPrecision = flags[5];
        font.lfQuality = flags[6];
        font.lfPitchAndFamily = flags[7];
        const size_t face = std::min(p.bytesFrom(9), sizeof font.lfFaceName - 1);
        std::memcpy(font.lfFaceName, p.at(9), face);
        Add(CreateFontIndirectA(&font));
    }

    void PlayPalette(const Params& p) {
        const size_t count = p.has(2) ? p.u(1) : 0;
        if (!p.has(2 + 2 * count)) return Add(nullptr);
        std::vector<uint8_t> memory(sizeof(LOGPALETTE) + count * sizeof(PALETTEENTRY));
        auto* palette = reinterpret_cast<LOGPALETTE*>(memory.data());
        palette->palVersion = 0x300;
        palette->palNumEntries = static_cast<WORD>(count);
        std::memcpy(palette->palPalEntry, p.at(2), count * sizeof(PALETTEENTRY));
        Add(CreatePalette(palette));
    }

    // WMF_CREATEREGION: a head of 11 words (the scan count at 5, the bounding box last),
    // then the scans: edge count, top, bottom, the left and right edges, the edge count again.
    void PlayRegion(const Params& p) {
        if (!p.has(11)) return Add(nullptr);
        const size_t scans = p.u(5);
        HRGN region = CreateRectRgn(0, 0, 0, 0);
        size_t at = 11;
        for (size_t i = 0; i < scans && region != nullptr; ++i) {
            if (!p.has(at + 3)) break;
            const size_t edges = p.u(at);
            if (!p.has(at + 3 + edges + 1)) break;
            const int top = p.s(at + 1), bottom = p.s(at + 2);
            for (size_t e = 0; e + 1 < edges; e += 2) {
                HRGN band = CreateRectRgn(p.s(at + 3 + e), top, p.s(at + 4 + e), bottom);
                if (band != nullptr) CombineRgn(region, region, band, RGN_OR), DeleteObject(band);
            }
            at += 3 + edges + 1;
        }
        Add(region);
    }

    void PlayPatternBrush(const Params& p) {
        if (!p.has(2)) return Add(nullptr);
        HBRUSH brush = nullptr;
        if (const auto dib = ReadDib(p.at(2), p.bytesFrom(2), p.u(1))) {
            void* bits = nullptr;
            HBITMAP bitmap = CreateDIBSection(nullptr, dib->get(), p.u(1), &bits, nullptr, 0);
            if (bitmap != nullptr) {
                const BITMAPINFOHEADER& h = dib->get()->bmiHeader;
                SetDIBits(nullptr, bitmap, 0, static_cast<UINT>(h.biHeight < 0 ? -h.biHeight : h.biHeight), dib->bits,
                          dib->get(), p.u(1));
                brush = CreatePatternBrush(bitmap);
                DeleteObject(bitmap);
            }
        }
        Add(brush);
    }

    // WMF_DIBBITBLT / WMF_DIBSTRETCHBLT: without a bitmap (the record's size is the
    // function's high byte plus the 3 words of the head) they are a PatBlt; with one, the
    // source rectangle is in the bitmap's rows from the top.
    void PlayDibBlit(const Params& p, bool stretched) {
        const size_t fixed = stretched ? 10 : 8;
        const size_t bare = stretched ? 11 : 9;  // rop, a reserved word, the rectangles
        if (p.words() == bare) {
            const size_t d = bare - 4;
            PatBlt(dc_, p.s(d + 3), p.s(d + 2), p.s(d + 1), p.s(d), p.l(0));
            return;
        }
        if (!p.has(fixed)) return;
        const auto dib = ReadDib(p.at(fixed), p.bytesFrom(fixed), DIB_RGB_COLORS);
        if (!dib) return;
        const int destX = p.s(fixed - 1), destY = p.s(fixed - 2), width = p.s(fixed - 3), height = p.s(fixed - 4);
        const int sourceX = p.s(fixed - 5), sourceY = p.s(fixed - 6);
        const int sourceWidth = stretched ? p.s(3) : width, sourceHeight = stretched ? p.s(2) : height;
        const LONG rows = dib->get()->bmiHeader.biHeight;
        // StretchDIBits counts source rows from the bottom of the image.
        const int fromBottom = (rows < 0 ? -rows : rows) - sourceY - sourceHeight;
        StretchDIBits(dc_, destX, destY, width, height, sourceX, fromBottom, sourceWidth, sourceHeight, dib->bits,
                      dib->get(), DIB_RGB_COLORS, p.l(0));
    }

    HDC dc_;
    std::span<const uint8_t> file_;
    std::vector<HGDIOBJ> table_;
    std::vector<bool> taken_ = std::vector<bool>(table_.size());
};

// What PlayMetaFile puts back: the DC's selections and its clipping region.
struct Selections {
    HGDIOBJ pen = nullptr, brush = nullptr, palette = nullptr, font = nullptr;
    std::optional<std::vector<RECT>> clip;
    bool live = false;
};

Selections Save(HDC dc) {
    Selections saved;
    auto objects = Objects();
    const DeviceContext* context = objects.find<DeviceContext>(dc);
    if (context == nullptr) return saved;
    saved = {context->state.pen, context->state.brush, context->state.palette, context->state.font,
             context->state.clip, true};
    return saved;
}

void Restore(HDC dc, const Selections& saved) {
    if (!saved.live) return;
    for (HGDIOBJ object : {saved.brush, saved.pen, saved.font})
        if (object != nullptr) SelectObject(dc, object);
    if (saved.palette != nullptr) SelectPalette(dc, static_cast<HPALETTE>(saved.palette), FALSE);
    auto objects = Objects();
    if (DeviceContext* context = objects.find<DeviceContext>(dc)) context->state.clip = saved.clip;
}

}  // namespace
}  // namespace vx::posix::gdi

extern "C" {

VXPLATFORMAPI BOOL PlayMetaFile(HDC dc, HMETAFILE metafile) {
    using namespace vx::posix::gdi;
    try {
        std::shared_ptr<const std::vector<uint8_t>> shared;
        {
            auto objects = Objects();
            const MetaFile* found = objects.find<MetaFile>(metafile);
            if (found == nullptr) return FALSE;
            shared = found->bytes.share();
        }
        const std::vector<uint8_t>& file = *shared;
        vx::formats::WmfHeader header;
        if (!vx::formats::ReadWmfHeader(file, header)) return TRUE;
        const Selections saved = Save(dc);
        {
            Player player(dc, file, header.objects);
            vx::formats::WalkWmfRecords(file, [&](const vx::formats::WmfRecord& record) { player.Play(record); });
            Restore(dc, saved);
        }  // the table's objects go once the DC has let go of them
        return TRUE;
    } catch (...) {
        return FALSE;
    }
}

}  // extern "C"
