// wmf_recorder.cpp - the Windows metafile recorder of the Linux subset (NewWmfRecorder and
// FinishWmf of wmf_recorder.hpp) and the calls that make and end a metafile DC:
// CreateMetaFileA and CloseMetaFile.
//
// The recorder writes each call as Windows writes it on a metafile DC: a record of the call's
// arguments as 16-bit words (coordinates truncated to 16 bits, as the format holds them), in
// the order the format gives, which is mostly the reverse of the call's. The header is made
// when the metafile is closed, from what the records needed: the file's size in words, the
// largest record, and the number of object slots used.
#include <algorithm>
#include <iterator>
#include <span>
#include <initializer_list>
#include <memory>
#include <utility>
#include <vector>

#include "formats/wmf_records.hpp"
#include "platform/posix/gdi/wmf_recorder.hpp"

namespace vx::posix::gdi {
namespace {

using namespace vx::formats;

class WmfRecorder final : public MetaRecorder {
public:
    bool keepsState() const override { return false; }

    void SaveDC() override { Record(META_SAVEDC, {}); }
    void RestoreDC(int saved) override { Record(META_RESTOREDC, {saved}); }
    void SetMapMode(int mode) override { Record(META_SETMAPMODE, {mode}); }
    void SetWindowOrg(int x, int y) override { Record(META_SETWINDOWORG, {y, x}); }
    void SetWindowExt(int x, int y) override { Record(META_SETWINDOWEXT, {y, x}); }
    void SetViewportOrg(int x, int y) override { Record(META_SETVIEWPORTORG, {y, x}); }
    void SetViewportExt(int x, int y) override { Record(META_SETVIEWPORTEXT, {y, x}); }
    void SetTextColor(COLORREF colour) override { RecordColour(META_SETTEXTCOLOR, colour, {}); }
    void SetBkColor(COLORREF colour) override { RecordColour(META_SETBKCOLOR, colour, {}); }
    void SetBkMode(int mode) override { Record(META_SETBKMODE, {mode}); }
    void SetROP2(int mode) override { Record(META_SETROP2, {mode}); }
    void SetStretchBltMode(int mode) override { Record(META_SETSTRETCHBLTMODE, {mode}); }

    void IntersectClipRect(int left, int top, int right, int bottom) override {
        Record(META_INTERSECTCLIPRECT, {bottom, right, top, left});
    }
    void ExcludeClipRect(int left, int top, int right, int bottom) override {
        Record(META_EXCLUDECLIPRECT, {bottom, right, top, left});
    }

    void MoveTo(int x, int y) override { Record(META_MOVETO, {y, x}); }
    void LineTo(int x, int y) override { Record(META_LINETO, {y, x}); }
    void Polyline(std::span<const POINT> points) override {
        const size_t at = Begin(META_POLYLINE);
        Word(static_cast<int>(points.size()));
        for (const POINT& p : points) {
            Word(p.x);
            Word(p.y);
        }
        End(at);
    }
    void Rectangle(int left, int top, int right, int bottom) override {
        Record(META_RECTANGLE, {bottom, right, top, left});
    }
    void SetPixel(int x, int y, COLORREF colour) override { RecordColour(META_SETPIXEL, colour, {y, x}); }
    void PatBlt(int x, int y, int width, int height, DWORD rop) override {
        RecordColour(META_PATBLT, rop, {height, width, y, x});
    }

    std::vector<uint8_t> Finish(bool disk) const {
        constexpr uint8_t kEnd[kWmfRecordHeadBytes] = {3, 0, 0, 0, META_EOF & 0xFF, META_EOF >> 8};
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
        put16(0, disk ? 2 : 1);  // mtType
        put16(2, kWmfHeaderBytes / 2);
        put16(4, 0x300);  // mtVersion
        put32(6, static_cast<uint32_t>(bytes / 2));
        put16(10, objectSlots_);
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
    // Starts a record, answering where it starts; End writes its size.
    size_t Begin(uint16_t function) {
        const size_t at = records_.size();
        Word(0);
        Word(0);
        Word(function);
        return at;
    }
    void End(size_t at) {
        const auto words = static_cast<uint32_t>((records_.size() - at) / 2);
        for (int i = 0; i < 4; ++i) records_[at + i] = static_cast<uint8_t>(words >> (8 * i));
        largestRecord_ = std::max(largestRecord_, words);
    }
    void Record(uint16_t function, std::initializer_list<int> words) {
        const size_t at = Begin(function);
        for (int w : words) Word(w);
        End(at);
    }
    // A record whose first two words are a 32-bit value (a colour, a raster operation).
    void RecordColour(uint16_t function, DWORD value, std::initializer_list<int> words) {
        const size_t at = Begin(function);
        Word(static_cast<int>(value & 0xFFFF));
        Word(static_cast<int>(value >> 16));
        for (int w : words) Word(w);
        End(at);
    }

    std::vector<uint8_t> records_;
    uint32_t largestRecord_ = 0;
    uint16_t objectSlots_ = 0;
};

}  // namespace

std::shared_ptr<MetaRecorder> NewWmfRecorder() { return std::make_shared<WmfRecorder>(); }

std::vector<uint8_t> FinishWmf(MetaRecorder& recorder, bool disk) {
    return static_cast<WmfRecorder&>(recorder).Finish(disk);
}

}  // namespace vx::posix::gdi

using namespace vx::posix::gdi;

extern "C" {

VXPLATFORMAPI HDC CreateMetaFileA(LPCSTR fileName) {
    if (fileName != nullptr) return nullptr;  // files on disk: not yet
    try {
        return NewMetaDC(ObjectKind::MetaDC, NewWmfRecorder());
    } catch (...) {
        return nullptr;
    }
}

// The DC goes (a second CloseMetaFile of it fails) and its records become a metafile.
VXPLATFORMAPI HMETAFILE CloseMetaFile(HDC dc) {
    try {
        auto metafile = std::make_unique<MetaFile>();
        std::unique_ptr<GdiObject> closed;
        auto objects = Objects();
        DeviceContext* context = objects.find<DeviceContext>(dc);
        if (context == nullptr || context->kind() != ObjectKind::MetaDC) return nullptr;
        metafile->bytes = FinishWmf(*context->recorder, false);
        const auto handle = static_cast<HMETAFILE>(objects.add(std::move(metafile)));
        ReleaseSelections(objects, dc, context->state);
        closed = objects.remove(dc);
        return handle;
    } catch (...) {
        return nullptr;
    }
}

}  // extern "C"
