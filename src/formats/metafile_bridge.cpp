// metafile_bridge.cpp - LoadMetaFileIntoBitmap, DrawMetaFileIntoBitmap, SaveBitmapIntoMetaFile,
// SaveBitmapIntoEnhMetaFile, SaveDIBIntoMetaFile, SaveDIBIntoEnhMetaFile,
// PlaceMetaFileIntoBMPFromCLP and PlaceMetaFileIntoDIBFromCLP: pictures between metafiles and
// device bitmaps.
//
// Everything here is a sequence of graphics calls - SetMetaFileBitsEx, PlayMetaFile,
// SetEnhMetaFileBits, PlayEnhMetaFile, CreateMetaFileA / CreateEnhMetaFileA with one
// StretchDIBits record - so the same source runs on the real GDI and on the library's own.
//
// Playing. A picture is drawn into a white device bitmap compatible with the reference DC (the
// screen's when none is given), in MM_ANISOTROPIC with the window extent set to the picture's
// own size in its units and the viewport extent to the bitmap's: a metafile that sets its own
// window (as pictures of MM_ANISOTROPIC do) is fitted to the bitmap by the mapping, one that
// does not is drawn at one logical unit per pixel. Enhanced metafiles are fitted to the bitmap
// by PlayEnhMetaFile itself.
//
// Sizes. A placeable metafile (key 0x9AC6CDD7, 22-byte header) is as large as its bounding box
// at its units per inch, taken to the screen's LOGPIXELSX/Y and truncated; zero units per inch
// are refused as a malformed file. A plain Windows metafile is as large as the window extent of
// its first SetWindowExt record (one unit per pixel), or, without one, 5 inches square at the
// screen's resolution, as the clipboard reader sizes a picture of unknown mapping mode. An
// enhanced metafile is as large as its frame (hundredths of a millimetre) at the screen's
// resolution, rounded to the nearest pixel - the same rounding the enhanced writer uses for the
// frame, so that a written picture reads back at its size. No picture may ask for more than
// kMaxPicturePixels pixels (2^28, a 1 GiB bitmap at 32 bits): larger ones are refused with
// IMGERR_NOMEMORY before anything is made, and a width or height below 1 with
// IMGERR_BITMAPPARAMS.
//
// Writing. The DIB is recorded as it is - its header, colour table and rows in one
// StretchDIBits record covering (0, 0)-(width, height) - after a window origin of (0, 0) and a
// window extent of the image's size, so that a player that fits the window to its target draws
// the image whole. Enhanced metafiles get a frame of the image at the reference DC's
// resolution. The DC handed to the bitmap writers is that reference; the Windows metafile
// writer records device-independent bits and needs none.
#include <algorithm>
#include <cstdlib>
#include <optional>
#include <vector>

#include "vexora.h"

#include "dib_layout.hpp"
#include "file_io.hpp"
#include "formats/metafile_bridge.hpp"
#include "gdi_guards.hpp"
#include "guards.hpp"
#include "outcome.hpp"

namespace vx::formats {

namespace {

constexpr int64_t kMaxPicturePixels = int64_t{1} << 28;
constexpr uint32_t kPlaceableKey = 0x9AC6CDD7;
constexpr uint32_t kPlaceableHeaderBytes = 22;
constexpr uint32_t kMetaHeaderBytes = 18;
constexpr uint16_t kMetaSetWindowExt = 0x020C;
constexpr uint32_t kEnhHeaderMinimum = 88;
constexpr uint32_t kLargestRead = uint32_t{1} << 30;
constexpr int kHundredthsOfMmPerInch = 2540;

struct ScreenResolution {
    int x = 96;
    int y = 96;
};

ScreenResolution ResolutionOf(HDC reference) {
    const WindowDC screen(nullptr);
    const HDC dc = reference != nullptr ? reference : screen.get();
    return {GetDeviceCaps(dc, LOGPIXELSX), GetDeviceCaps(dc, LOGPIXELSY)};
}

// a * b / c rounded to the nearest integer, for a, b >= 0 and c > 0 (sizes and resolutions),
// in 64 bits and saturated to int, so that the size limit refuses what does not fit.
int ScaledRounded(int64_t a, int64_t b, int64_t c) {
    if (c <= 0) return 0;
    return static_cast<int>(std::min<int64_t>((a * b + c / 2) / c, INT32_MAX));
}

Outcome<void> CheckPictureSize(int width, int height) {
    if (width < 1 || height < 1) return Fail(IMGERR_BITMAPPARAMS);
    if (int64_t{width} * height > kMaxPicturePixels) return Fail(IMGERR_NOMEMORY);
    return {};
}

// The window a picture is drawn through: origin and extent in the picture's units.
struct PictureWindow {
    POINT origin{0, 0};
    SIZE extent{0, 0};
};

void PlayFitted(HDC dc, HMETAFILE metafile, const RECT& target, const PictureWindow& window) {
    SetMapMode(dc, MM_ANISOTROPIC);
    SetWindowOrgEx(dc, window.origin.x, window.origin.y, nullptr);
    SetWindowExtEx(dc, window.extent.cx, window.extent.cy, nullptr);
    SetViewportOrgEx(dc, target.left, target.top, nullptr);
    SetViewportExtEx(dc, target.right - target.left, target.bottom - target.top, nullptr);
    PlayMetaFile(dc, metafile);
}

// A white device bitmap of width x height compatible with `reference` (null: the screen),
// handed to `draw` selected into a memory DC.
template <typename Draw>
Outcome<HBITMAP> PaintBitmap(HDC reference, int width, int height, Draw&& draw) {
    if (auto size = CheckPictureSize(width, height); !size) return size.refusal();
    const WindowDC screen(nullptr);
    const HDC like = reference != nullptr ? reference : screen.get();
    const MemoryDC dc(like);
    if (!dc) return Fail(IMGERR_CREATEDC);
    OwnedObject<HBITMAP> bitmap(CreateCompatibleBitmap(like, width, height));
    if (!bitmap) return Fail(IMGERR_CREATEBITMAP);
    {
        const ObjectSelection selected(dc.get(), bitmap.get());
        if (!selected) return Fail(IMGERR_CREATEBITMAP);
        PatBlt(dc.get(), 0, 0, width, height, WHITENESS);
        draw(dc.get());
    }
    return bitmap.release();
}

bool ReadAll(HFILE file, std::vector<uint8_t>& bytes) {
    for (size_t done = 0; done < bytes.size();) {
        const uint32_t chunk = static_cast<uint32_t>(std::min<size_t>(bytes.size() - done, kLargestRead));
        if (!ReadExactly(file, bytes.data() + done, chunk)) return false;
        done += chunk;
    }
    return true;
}

// The window extent of the first SetWindowExt record of a Windows metafile's records, if any.
std::optional<SIZE> FirstWindowExtent(const std::vector<uint8_t>& wmf) {
    size_t at = std::min<size_t>(uint64_t{LoadU16(wmf.data() + 2)} * 2, wmf.size());
    while (at + 6 <= wmf.size()) {
        const uint64_t bytes = uint64_t{LoadU32(wmf.data() + at)} * 2;
        const uint16_t function = LoadU16(wmf.data() + at + 4);
        if (bytes < 6 || function == 0) break;
        if (function == kMetaSetWindowExt && at + 10 <= wmf.size()) {
            const auto y = static_cast<int16_t>(LoadU16(wmf.data() + at + 6));
            const auto x = static_cast<int16_t>(LoadU16(wmf.data() + at + 8));
            return SIZE{std::abs(x), std::abs(y)};
        }
        at += bytes;
    }
    return std::nullopt;
}

Outcome<HBITMAP> DrawWindowsMetaFile(HMETAFILE metafile, int width, int height, HDC reference,
                                     const PictureWindow& window) {
    return PaintBitmap(reference, width, height, [&](HDC dc) {
        PlayFitted(dc, metafile, RECT{0, 0, width, height}, window);
    });
}

Outcome<HBITMAP> LoadPlaceable(const std::vector<uint8_t>& file, ScreenResolution screen) {
    const auto field = [&](size_t at) { return static_cast<int16_t>(LoadU16(file.data() + at)); };
    const int left = field(6), top = field(8), right = field(10), bottom = field(12);
    const int inch = LoadU16(file.data() + 14);
    if (inch == 0) return Fail(IMGERR_FILEFORMAT);
    const std::vector<uint8_t> bits(file.begin() + kPlaceableHeaderBytes, file.end());
    const OwnedMetaFile metafile(SetMetaFileBitsEx(static_cast<UINT>(bits.size()), bits.data()));
    if (!metafile) return Fail(IMGERR_FILEFORMAT);
    const int width = std::abs(right - left) * screen.x / inch;
    const int height = std::abs(bottom - top) * screen.y / inch;
    return DrawWindowsMetaFile(metafile.get(), width, height, nullptr,
                               PictureWindow{{left, top}, {right - left, bottom - top}});
}

Outcome<HBITMAP> LoadPlain(const std::vector<uint8_t>& file, ScreenResolution screen) {
    const OwnedMetaFile metafile(SetMetaFileBitsEx(static_cast<UINT>(file.size()), file.data()));
    if (!metafile) return Fail(IMGERR_FILEFORMAT);
    const SIZE size = FirstWindowExtent(file).value_or(SIZE{screen.x * 5, screen.y * 5});
    return DrawWindowsMetaFile(metafile.get(), size.cx, size.cy, nullptr, PictureWindow{{0, 0}, size});
}

Outcome<HBITMAP> LoadEnhanced(const std::vector<uint8_t>& file, ScreenResolution screen) {
    const OwnedEnhMetaFile metafile(SetEnhMetaFileBits(static_cast<UINT>(file.size()), file.data()));
    if (!metafile) return Fail(IMGERR_FILEFORMAT);
    const int64_t frameWidth = int64_t{LoadI32(file.data() + 32)} - LoadI32(file.data() + 24);
    const int64_t frameHeight = int64_t{LoadI32(file.data() + 36)} - LoadI32(file.data() + 28);
    const int width = ScaledRounded(std::llabs(frameWidth), screen.x, kHundredthsOfMmPerInch);
    const int height = ScaledRounded(std::llabs(frameHeight), screen.y, kHundredthsOfMmPerInch);
    return PaintBitmap(nullptr, width, height, [&](HDC dc) {
        const RECT target{0, 0, width, height};
        PlayEnhMetaFile(dc, metafile.get(), &target);
    });
}

Outcome<HBITMAP> LoadMetaFile(LPCSTR fileName) {
    if (fileName == nullptr) return Fail(IMGERR_OPENFILE);
    const FileHandle file(_lopen(fileName, OF_READ));
    if (!file.valid()) return Fail(IMGERR_OPENFILE);
    const uint64_t size = BytesLeft(file.get());
    if (size > kMaxBlockBytes) return Fail(IMGERR_NOMEMORY);
    std::vector<uint8_t> bytes(static_cast<size_t>(size));
    if (!ReadAll(file.get(), bytes)) return Fail(IMGERR_IO);
    const ScreenResolution screen = ResolutionOf(nullptr);
    if (size >= kPlaceableHeaderBytes && LoadU32(bytes.data()) == kPlaceableKey) return LoadPlaceable(bytes, screen);
    if (size >= kEnhHeaderMinimum && LoadU32(bytes.data()) == 1 && LoadU32(bytes.data() + 40) == ENHMETA_SIGNATURE)
        return LoadEnhanced(bytes, screen);
    if (size >= kMetaHeaderBytes && LoadU16(bytes.data() + 2) == 9) return LoadPlain(bytes, screen);
    return Fail(IMGERR_FILEFORMAT);
}

// The DIB of a block, refused with IMGERR_PARAMETER when the block does not hold what its
// header says.
struct LockedDib {
    BlockLock lock;
    DibLayout layout;
};

Outcome<LockedDib> LockDib(HDIB dib) {
    if (dib == nullptr) return Fail(IMGERR_PARAMETER);
    BlockLock lock(dib);
    if (!lock) return Fail(IMGERR_LOCKMEMORY);
    const auto layout = InspectDib(lock.data(), lock.size());
    if (!layout || layout->width < 1 || layout->rows < 1 || !layout->holdsPixels()) return Fail(IMGERR_PARAMETER);
    if (layout->width > INT32_MAX || layout->rows > INT32_MAX) return Fail(IMGERR_PARAMETER);
    return LockedDib{std::move(lock), *layout};
}

void RecordDib(HDC dc, const LockedDib& dib) {
    const int width = static_cast<int>(dib.layout.width), height = static_cast<int>(dib.layout.rows);
    StretchDIBits(dc, 0, 0, width, height, 0, 0, width, height, dib.lock.data() + dib.layout.pixelOffset,
                  reinterpret_cast<const BITMAPINFO*>(dib.lock.data()), DIB_RGB_COLORS, SRCCOPY);
}

Outcome<int> SaveDibIntoMetaFile(HDIB dib, LPCSTR fileName) {
    auto locked = LockDib(dib);
    if (!locked) return locked.refusal();
    if (fileName == nullptr) return Fail(IMGERR_OPENFILE);
    const HDC dc = CreateMetaFileA(fileName);
    if (dc == nullptr) return Fail(IMGERR_CREATEMETAFILE);
    SetWindowOrgEx(dc, 0, 0, nullptr);
    SetWindowExtEx(dc, static_cast<int>(locked->layout.width), static_cast<int>(locked->layout.rows), nullptr);
    RecordDib(dc, *locked);
    const OwnedMetaFile metafile(CloseMetaFile(dc));
    if (!metafile) return Fail(IMGERR_CREATEMETAFILE);
    return 1;
}

Outcome<int> SaveDibIntoEnhMetaFile(HDC reference, HDIB dib, LPCSTR fileName) {
    auto locked = LockDib(dib);
    if (!locked) return locked.refusal();
    if (fileName == nullptr) return Fail(IMGERR_OPENFILE);
    const ScreenResolution resolution = ResolutionOf(reference);
    const RECT frame{0, 0, ScaledRounded(locked->layout.width, kHundredthsOfMmPerInch, resolution.x),
                     ScaledRounded(static_cast<int64_t>(locked->layout.rows), kHundredthsOfMmPerInch, resolution.y)};
    const HDC dc = CreateEnhMetaFileA(reference, fileName, &frame, "Vexora\0picture\0");
    if (dc == nullptr) return Fail(IMGERR_CREATEMETAFILE);
    RecordDib(dc, *locked);
    const OwnedEnhMetaFile metafile(CloseEnhMetaFile(dc));
    if (!metafile) return Fail(IMGERR_CREATEMETAFILE);
    return 1;
}

template <typename Save>
Outcome<int> SaveBitmap(HBITMAP bitmap, Save&& save) {
    if (bitmap == nullptr) return Fail(IMGERR_PARAMETER);
    const OwnedBlock dib(ConvertBitmapToDIB(bitmap, nullptr));
    if (!dib) return Fail(IMGERR_PARAMETER);
    return save(dib.get());
}

// Plays the clipboard file's metafile picture into `area` of a bitmap (null: all of it),
// clipped to that area.
Outcome<BOOL> PlaceIntoBitmap(LPCSTR fileName, HBITMAP bitmap, const RECT* area) {
    BITMAP shape{};
    if (bitmap == nullptr || GetObjectA(bitmap, sizeof shape, &shape) == 0) return Fail(IMGERR_PARAMETER);
    const RECT target = area != nullptr ? *area : RECT{0, 0, shape.bmWidth, shape.bmHeight};
    if (target.right <= target.left || target.bottom <= target.top) return Fail(IMGERR_PARAMETER);
    auto picture = ReadClipboardPicture(fileName);
    if (!picture) return picture.refusal();
    const PictureSize size = ClipboardPictureSize(*picture);
    if (auto checked = CheckPictureSize(size.width, size.height); !checked) return checked.refusal();
    const MemoryDC dc(nullptr);
    if (!dc) return Fail(IMGERR_CREATEDC);
    const ObjectSelection selected(dc.get(), bitmap);
    if (!selected) return Fail(IMGERR_PARAMETER);
    IntersectClipRect(dc.get(), target.left, target.top, target.right, target.bottom);
    PlayFitted(dc.get(), picture->metafile.get(), target, PictureWindow{{0, 0}, {size.width, size.height}});
    return TRUE;
}

Outcome<HDIB> PlaceIntoDib(LPCSTR fileName, HDIB dib, const RECT* area) {
    if (dib == nullptr) return Fail(IMGERR_PARAMETER);
    const OwnedObject<HBITMAP> bitmap(ConvertDIBToBitmap(dib));
    if (!bitmap) return Fail(IMGERR_CREATEBITMAP);
    const auto placed = PlaceIntoBitmap(fileName, bitmap.get(), area);
    if (!placed) return placed.refusal();
    HDIB result = ConvertBitmapToDIB(bitmap.get(), nullptr);
    if (result == nullptr) return Fail(IMGERR_NOMEMORY);
    return result;
}

}  // namespace

}  // namespace vx::formats

using namespace vx;
using namespace vx::formats;

extern "C" {

VXAPI HBITMAP VXCALL LoadMetaFileIntoBitmap(LPCSTR fileName) {
    return RunExport(ModuleCode{}, [&] { return LoadMetaFile(fileName); });
}

VXAPI HBITMAP VXCALL DrawMetaFileIntoBitmap(HMETAFILE metafile, int width, int height, HDC reference) {
    return RunExport(ModuleCode{}, [&]() -> Outcome<HBITMAP> {
        if (metafile == nullptr) return Fail(IMGERR_PARAMETER);
        return DrawWindowsMetaFile(metafile, width, height, reference, PictureWindow{{0, 0}, {width, height}});
    });
}

VXAPI int VXCALL SaveDIBIntoMetaFile(HDC /*reference*/, HDIB dib, LPCSTR fileName) {
    return RunExport(ModuleCode{}, [&] { return SaveDibIntoMetaFile(dib, fileName); });
}

VXAPI int VXCALL SaveDIBIntoEnhMetaFile(HDC reference, HDIB dib, LPCSTR fileName) {
    return RunExport(ModuleCode{}, [&] { return SaveDibIntoEnhMetaFile(reference, dib, fileName); });
}

VXAPI int VXCALL SaveBitmapIntoMetaFile(HDC /*reference*/, HBITMAP bitmap, LPCSTR fileName) {
    return RunExport(ModuleCode{}, [&] {
        return SaveBitmap(bitmap, [&](HDIB dib) { return SaveDibIntoMetaFile(dib, fileName); });
    });
}

VXAPI int VXCALL SaveBitmapIntoEnhMetaFile(HDC reference, HBITMAP bitmap, LPCSTR fileName) {
    return RunExport(ModuleCode{}, [&] {
        return SaveBitmap(bitmap, [&](HDIB dib) { return SaveDibIntoEnhMetaFile(reference, dib, fileName); });
    });
}

VXAPI BOOL VXCALL PlaceMetaFileIntoBMPFromCLP(LPCSTR fileName, HBITMAP bitmap, const RECT* area) {
    return RunExport(ModuleCode{}, [&] { return PlaceIntoBitmap(fileName, bitmap, area); });
}

VXAPI HDIB VXCALL PlaceMetaFileIntoDIBFromCLP(LPCSTR fileName, HDIB dib, const RECT* area) {
    return RunExport(ModuleCode{}, [&] { return PlaceIntoDib(fileName, dib, area); });
}

}  // extern "C"
