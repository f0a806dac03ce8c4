// image_format.cpp - GetImageFormat, LoadImageIntoDIB and SaveDIBInImageFormat: what kind of
// image a file holds, and the routing of loads and saves to the readers and writers.
//
// Detection reads the first 512 bytes of the file into a zeroed buffer and runs a fixed list
// of tests, the first match winning: TIFF, PCX, DCX, GIF, BMP, clipboard file, metafile,
// enhanced metafile, colour fax set, TGA, JPEG, CALS, text, PNG. The order is part of the
// behaviour. PCX is recognised by its first byte alone (0x0A), so it shadows every later test
// for files that start that way. The fax-set test opens the file again as a profile, and
// leaves IMGERR_OPENFILE behind for a file that does not exist. TGA has no signature and is
// recognised by the last three characters of the name, after every signature test, so a BMP
// called "picture.tga" is still a BMP. The CALS test is a C-string search: it stops at the
// first zero byte of the buffer, whose last byte is zeroed for the search and put back after.
// The text test looks only at the bytes actually read: all of them 6 or above, and somewhere
// in the first 511 a CR followed by an LF. A file that cannot be opened is not an error here:
// its buffer stays all zeros and matches nothing but the name test.
//
// Loading routes BMP to LoadDIBFromFile, clipboard files (LoadClipboardFormat, CF_DIB) and
// metafiles (LoadMetaFileIntoBitmap) through a device bitmap (read, converted with the current
// palette, both GDI objects deleted), fax sets to
// LoadColorFaxPage and everything else to its format module. Saving goes the other way. The
// module calls that take the address of the caller's param get the address of a local copy:
// a module may write into it, and a DCX save shares the one copy between MakeDCXFile and
// SaveDIBInDCXFormat, but nothing written there reaches the caller.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "vexora.h"

#include "dib_layout.hpp"
#include "formats/format_modules.hpp"
#include "guards.hpp"
#include "outcome.hpp"
#include "platform/platform.hpp"

namespace vx::formats {

namespace {

constexpr UINT kProbeBytes = 512;

bool NameEndsInTga(const char* fileName) {
    if (fileName == nullptr) return false;
    const size_t n = std::strlen(fileName);
    if (n < 3) return false;
    const char* tail = fileName + n - 3;
    return (tail[0] & 0xDF) == 'T' && (tail[1] & 0xDF) == 'G' && (tail[2] & 0xDF) == 'A';
}

bool HoldsCalsTag(uint8_t (&buffer)[kProbeBytes]) {
    const uint8_t last = buffer[kProbeBytes - 1];
    buffer[kProbeBytes - 1] = 0;
    const bool found = std::strstr(reinterpret_cast<const char*>(buffer), "srcdocid:") != nullptr;
    buffer[kProbeBytes - 1] = last;
    return found;
}

bool LooksLikeText(const uint8_t (&buffer)[kProbeBytes], UINT bytesRead) {
    if (!std::all_of(buffer, buffer + bytesRead, [](uint8_t b) { return b >= 6; })) return false;
    for (UINT i = 0; i + 1 < kProbeBytes; ++i) {
        if (buffer[i] == 13 && buffer[i + 1] == 10) return true;
    }
    return false;
}

// The device bitmap a reader returned, as a DIB in the current palette; both GDI objects go.
HDIB DibFromBitmap(HBITMAP bitmap) {
    if (bitmap == nullptr) return nullptr;
    HPALETTE palette = GetCurrentPalette();
    HDIB dib = ConvertBitmapToDIB(bitmap, palette);
    DeleteObject(bitmap);
    if (palette != nullptr) DeleteObject(palette);
    return dib;
}

template <typename Writer>
int SaveThroughBitmap(HDIB dib, Writer&& write) {
    HBITMAP bitmap = ConvertDIBToBitmap(dib);
    if (bitmap == nullptr) return 0;
    const int result = write(bitmap);
    DeleteObject(bitmap);
    return result;
}

// Every loader reports for itself; a format the library cannot load is refused with
// IMGERR_FILEFORMAT, which *status receives too (as 9).
Outcome<HDIB> LoadImage(LPCSTR fileName, int page, int* status) {
    switch (GetImageFormat(fileName)) {
    case FMT_TIFF: return CallModule<LoadPageFn>(kLoadTiff, fileName, page, static_cast<int*>(nullptr));
    case FMT_PCX: return CallModule<LoadStatusFn>(kLoadPcx, fileName, status);
    case FMT_DCX: return CallModule<LoadPageFn>(kLoadDcx, fileName, page, status);
    case FMT_GIF: return CallModule<LoadPageFn>(kLoadGif, fileName, page, status);
    case FMT_TGA: return CallModule<LoadStatusFn>(kLoadTga, fileName, static_cast<int*>(nullptr));
    case FMT_CALS: return CallModule<LoadStatusFn>(kLoadCals, fileName, static_cast<int*>(nullptr));
    case FMT_JPEG: return CallModule<LoadNameFn>(kLoadJpeg, fileName);
    case FMT_PNG: return CallModule<LoadStatusFn>(kLoadPng, fileName, status);
    case FMT_BMP: return LoadDIBFromFile(fileName);
    case FMT_WMF:
    case FMT_EMF: return DibFromBitmap(LoadMetaFileIntoBitmap(fileName));
    case FMT_CLP: return DibFromBitmap(static_cast<HBITMAP>(LoadClipboardFormat(fileName, 8)));
    case FMT_COLORFAX: return LoadColorFaxPage(fileName, page, status);
    default: return Fail(IMGERR_FILEFORMAT);
    }
}

int SaveImage(LPCSTR fileName, HDIB dib, int format, int option, int param) {
    int copy = param;  // the modules that take an address get this one
    switch (format) {
    case FMT_TIFF: return CallModule<SaveTiffFn>(kSaveTiff, fileName, dib, param, 1);
    case FMT_PCX: return CallModule<SaveParamAddressFn>(kSavePcx, fileName, dib, &copy);
    case FMT_DCX:
        if (!platform::FileExists(fileName)) CallModule<MakeDcxFn>(kMakeDcx, fileName, &copy);
        return CallModule<SaveParamAddressFn>(kSaveDcx, fileName, dib, &copy);
    case FMT_GIF: return CallModule<SaveGifFn>(kSaveGif, fileName, dib, option, &copy);
    case FMT_TGA: return CallModule<SaveTgaFn>(kSaveTga, fileName, dib, param != 0 ? 1 : 0, 1);
    case FMT_CALS: return CallModule<SaveCalsFn>(kSaveCals, fileName, dib, 0, 0, 0);
    case FMT_JPEG: return CallModule<SaveJpegFn>(kSaveJpeg, fileName, dib, 75);
    case FMT_BMP: return SaveDIB(fileName, dib);
    case FMT_WMF:
    case FMT_EMF:
        return SaveThroughBitmap(dib, [&](HBITMAP bitmap) {
            const platform::ActiveWindowDC dc;
            return format == FMT_WMF ? SaveBitmapIntoMetaFile(dc.get(), bitmap, fileName)
                                     : SaveBitmapIntoEnhMetaFile(dc.get(), bitmap, fileName);
        });
    case FMT_CLP:
        return SaveThroughBitmap(dib, [&](HBITMAP bitmap) { return SaveClipboardFormat(fileName, bitmap); });
    default: return 0;  // 9, 10, 11 and 14 have no writer; other codes are no formats
    }
}

}  // namespace

}  // namespace vx::formats

using namespace vx;
using namespace vx::formats;

extern "C" {

VXAPI int VXCALL GetImageFormat(LPCSTR fileName) {
    uint8_t buffer[kProbeBytes] = {};
    UINT got = 0;
    if (fileName != nullptr) {
        const HFILE file = _lopen(fileName, OF_READ);
        if (file != HFILE_ERROR) {
            const UINT n = _lread(file, buffer, kProbeBytes);
            if (n != static_cast<UINT>(HFILE_ERROR)) got = std::min(n, kProbeBytes);
            _lclose(file);
        }
    }
    const uint16_t word0 = LoadU16(buffer);
    const uint32_t dword0 = LoadU32(buffer);
    if (word0 == 0x4949 || word0 == 0x4D4D) return FMT_TIFF;
    if (buffer[0] == 0x0A) return FMT_PCX;
    if (dword0 == 0x3ADE68B1) return FMT_DCX;
    if (std::memcmp(buffer, "GIF87a", 6) == 0 || std::memcmp(buffer, "GIF89a", 6) == 0) return FMT_GIF;
    if (word0 == kBmpSignature) return FMT_BMP;
    if (word0 == 50000) return FMT_CLP;
    if (dword0 == 0x9AC6CDD7 || LoadU16(buffer + 2) == 9) return FMT_WMF;
    if (LoadU32(buffer + 40) == 0x464D4520) return FMT_EMF;
    if (GetNumberOfImagesInFaxFile(fileName) >= 1) return FMT_COLORFAX;
    if (NameEndsInTga(fileName)) return FMT_TGA;
    if (word0 == 0xD8FF) return FMT_JPEG;
    if (HoldsCalsTag(buffer)) return FMT_CALS;
    if (LooksLikeText(buffer, got)) return FMT_TEXT;
    if (std::memcmp(buffer + 1, "PNG", 3) == 0) return FMT_PNG;
    return FMT_UNKNOWN;
}

VXAPI HDIB VXCALL LoadImageIntoDIB(LPCSTR fileName, int page, int* status) {
    const Both channel{ModuleCode{.outOfMemory = kNoCode}, StatusOut{.cell = status}};
    return RunExport(channel, [&] { return LoadImage(fileName, page, status); });
}

VXAPI int VXCALL SaveDIBInImageFormat(LPCSTR fileName, HDIB dib, int format, int option, int param) {
    return RunExport(Silent{}, [&]() -> Outcome<int> {
        if (format < 1 || format > 15) return Fail();
        return SaveImage(fileName, dib, format, option, param);
    });
}

}  // extern "C"
