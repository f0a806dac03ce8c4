// vxpcxw.cpp - the PCX and DCX writer (module VXPCXW): SaveDIBInPCXFormat, MakeDCXFile and
// SaveDIBInDCXFormat.
//
// Every image is written as version 5, run-length coded, in the layout most readers take for
// its depth: 1-bit DIBs as 1 bit x 1 plane and 4-bit DIBs as 1 bit x 4 planes, both with the
// colour table in the header's EGA palette; 8-bit DIBs as 8 bits x 1 plane with the 256-colour
// trailer; 24-bit DIBs as 8 bits x 3 planes (red, green, blue). Lines are padded to an even
// number of bytes per plane, and runs never cross a plane or a line. The whole image is coded
// in memory first, so nothing is written for a DIB that cannot be coded.
//
// A new DCX file (MakeDCXFile) has the full table of 1024 slots, all 0, so that pages can be
// appended without moving anything: SaveDIBInDCXFormat writes the page at the end of the file,
// then the 0 after the new slot, and the slot itself last, so that a failure at any point
// leaves a valid file, which is then cut back to its former length. A DCX written by others
// with a shorter table takes pages as long as its first page leaves room for one more slot.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <new>
#include <vector>

#include "dib_layout.hpp"
#include "module_support.hpp"
#include "pcx_format.hpp"

namespace {

using namespace vxmod::pcx;
using Bytes = std::vector<uint8_t>;

void AppendRuns(const uint8_t* bytes, size_t count, Bytes& out) {
    for (size_t i = 0; i < count;) {
        const uint8_t value = bytes[i];
        size_t run = 1;
        while (i + run < count && run < kLongestRun && bytes[i + run] == value) ++run;
        if (run > 1 || (value & kRunFlag) == kRunFlag) out.push_back(uint8_t(kRunFlag | run));
        out.push_back(value);
        i += run;
    }
}

// Splits a row of DIB bytes into planes of bytesPerLine bytes (zeroed beforehand).
using PlaneSplitter = void (*)(const uint8_t* row, int width, size_t bytesPerLine, uint8_t* scan);

void CopyRow1(const uint8_t* row, int width, size_t, uint8_t* scan) {
    const size_t bytes = (size_t(width) + 7) / 8;
    std::copy(row, row + bytes, scan);
    if (width % 8 != 0) scan[bytes - 1] &= uint8_t(0xFF00u >> (width % 8));
}

void CopyRow8(const uint8_t* row, int width, size_t, uint8_t* scan) { std::copy(row, row + width, scan); }

// A byte of two 4-bit pixels to, for each plane p, its two bits in byte p of the result.
constexpr std::array<uint32_t, 256> kNibblePlaneBits = [] {
    std::array<uint32_t, 256> table{};
    for (unsigned b = 0; b < 256; ++b)
        for (unsigned p = 0; p < 4; ++p) table[b] |= ((b >> (4 + p) & 1) << 1 | (b >> p & 1)) << (8 * p);
    return table;
}();

void SplitNibbles(const uint8_t* row, int width, size_t bytesPerLine, uint8_t* scan) {
    const size_t bytes = (size_t(width) + 7) / 8;  // four DIB bytes per plane byte, all in the stride
    for (size_t i = 0; i < bytes; ++i) {
        const uint32_t a = kNibblePlaneBits[row[4 * i]], b = kNibblePlaneBits[row[4 * i + 1]],
                       c = kNibblePlaneBits[row[4 * i + 2]], d = kNibblePlaneBits[row[4 * i + 3]];
        for (unsigned p = 0; p < 4; ++p)
            scan[p * bytesPerLine + i] = uint8_t((a >> 8 * p & 3) << 6 | (b >> 8 * p & 3) << 4 |
                                                 (c >> 8 * p & 3) << 2 | (d >> 8 * p & 3));
    }
    if (width % 8 != 0)
        for (unsigned p = 0; p < 4; ++p) scan[p * bytesPerLine + bytes - 1] &= uint8_t(0xFF00u >> (width % 8));
}

void SplitRgb(const uint8_t* row, int width, size_t bytesPerLine, uint8_t* scan) {
    uint8_t *red = scan, *green = scan + bytesPerLine, *blue = scan + 2 * bytesPerLine;
    for (int x = 0; x < width; ++x) {
        blue[x] = row[3 * x];
        green[x] = row[3 * x + 1];
        red[x] = row[3 * x + 2];
    }
}

struct Plan {
    int bitsPerPixel, planes;
    size_t planeBytes;
    PlaneSplitter split;
};

Plan PlanOf(const vxmod::DibSource& dib) {
    const size_t w = size_t(dib.width());
    switch (dib.bits()) {
        case 1: return {1, 1, (w + 7) / 8, CopyRow1};
        case 4: return {1, 4, (w + 7) / 8, SplitNibbles};
        case 8: return {8, 1, w, CopyRow8};
        default: return {8, 3, w, SplitRgb};
    }
}

uint16_t DotsPerInch(int32_t pelsPerMeter) {
    if (pelsPerMeter <= 0) return 0;
    return uint16_t(std::min(65535.0, std::round(pelsPerMeter * 0.0254)));
}

// The whole PCX file of `dib`, or empty with the module error code set.
Bytes EncodePcx(const vxmod::DibSource& dib) {
    const Plan plan = PlanOf(dib);
    const size_t bytesPerLine = (plan.planeBytes + 1) & ~size_t(1);
    if (bytesPerLine > 0xFFFF || dib.width() > 0x10000 || dib.height() > 0x10000) {
        vxmod::FailSave(IMGERR_DIBSIZE);
        return {};
    }
    Bytes out(kHeaderBytes, 0);
    out[0] = kManufacturer;
    out[kVersion] = kVersionCurrent;
    out[kEncoding] = kEncodingRunLength;
    out[kBitsPerPixel] = uint8_t(plan.bitsPerPixel);
    vx::StoreU16(&out[kXMax], uint16_t(dib.width() - 1));
    vx::StoreU16(&out[kYMax], uint16_t(dib.height() - 1));
    vx::StoreU16(&out[kHorizontalDpi], DotsPerInch(dib.xPelsPerMeter()));
    vx::StoreU16(&out[kVerticalDpi], DotsPerInch(dib.yPelsPerMeter()));
    if (dib.bits() <= 4)
        for (int i = 0; i < std::min(dib.colours(), 16); ++i) {
            const RGBQUAD& c = dib.palette()[i];
            out[kEgaPalette + 3 * i] = c.rgbRed;
            out[kEgaPalette + 3 * i + 1] = c.rgbGreen;
            out[kEgaPalette + 3 * i + 2] = c.rgbBlue;
        }
    out[kPlanes] = uint8_t(plan.planes);
    vx::StoreU16(&out[kBytesPerLine], uint16_t(bytesPerLine));
    vx::StoreU16(&out[kPaletteInfo], dib.bits() <= 8 && dib.grayPalette() ? kPaletteGray : kPaletteColour);

    Bytes scan(bytesPerLine * plan.planes, 0);
    for (int y = 0; y < dib.height(); ++y) {
        plan.split(dib.row(y), dib.width(), bytesPerLine, scan.data());
        for (int p = 0; p < plan.planes; ++p) AppendRuns(scan.data() + p * bytesPerLine, bytesPerLine, out);
    }
    if (dib.bits() == 8) {
        out.push_back(kPaletteMarker);
        for (int i = 0; i < 256; ++i) {
            const RGBQUAD c = i < dib.colours() ? dib.palette()[i] : RGBQUAD{};
            out.insert(out.end(), {c.rgbRed, c.rgbGreen, c.rgbBlue});
        }
    }
    return out;
}

// Runs `body` and maps running out of memory to the writer's failure.
template <typename Body>
int Guarded(Body body) {
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return vxmod::FailSave(IMGERR_NOMEMORY);
    }
}

// Appends `page` to the DCX file `fileName` of `fileBytes` bytes; the new page's number, or 0
// with the module error code set. The file may have changed when this fails.
int AppendPage(LPCSTR fileName, const Bytes& page, uint64_t fileBytes) {
    auto out = vxmod::OutputFile::Open(fileName, vxmod::OutputFile::Mode::Update);
    if (!out) return 0;
    std::FILE* file = out->get();
    uint8_t table[kDcxTableEnd];
    const size_t got = std::fread(table, 1, sizeof table, file);
    if (got < 8 || vx::LoadU32(table) != kDcxSignature) return vxmod::FailSave(IMGERR_FILEFORMAT);
    size_t pages = 0;
    uint32_t firstPage = UINT32_MAX;
    for (; 4 + 4 * pages + 4 <= got; ++pages) {
        const uint32_t offset = vx::LoadU32(table + 4 + 4 * pages);
        if (offset == 0) break;
        firstPage = std::min(firstPage, offset);
    }
    if (4 + 4 * pages + 4 > got) return vxmod::FailSave(IMGERR_FILEFORMAT);  // no terminating 0
    const uint64_t tableNeeded = 4 + 4 * (pages + 2);
    if (pages >= kDcxMaxPages || tableNeeded > firstPage) return vxmod::FailSave(IMGERR_PARAMETER);
    const uint64_t pageOffset = std::max(fileBytes, tableNeeded);
    if (pageOffset + page.size() > uint64_t(INT32_MAX)) return vxmod::FailSave(IMGERR_DIBSIZE);

    uint8_t slot[4];
    vx::StoreU32(slot, 0);
    const bool written = std::fseek(file, long(pageOffset), SEEK_SET) == 0 && out->write(page.data(), page.size()) &&
                         std::fseek(file, long(tableNeeded - 4), SEEK_SET) == 0 && out->write(slot, 4) &&
                         std::fflush(file) == 0;
    vx::StoreU32(slot, uint32_t(pageOffset));
    if (!written || std::fseek(file, long(4 + 4 * pages), SEEK_SET) != 0 || !out->write(slot, 4))
        return vxmod::FailSave(IMGERR_IO);
    return out->commit() ? int(pages + 1) : 0;
}

}  // namespace

int VXMODULECALL SaveDIBInPCXFormat(LPCSTR fileName, HDIB dib, int* param) {
    return Guarded([&] {
        const auto source = vxmod::DibSource::Open(dib);
        if (!source) return 0;
        const Bytes bytes = EncodePcx(*source);
        if (bytes.empty()) return 0;
        auto out = vxmod::OutputFile::Open(fileName, vxmod::OutputFile::Mode::Create);
        if (!out || !out->write(bytes.data(), bytes.size()) || !out->commit()) return vxmod::FailSave(IMGERR_IO);
        if (param != nullptr) *param = int(bytes.size());
        return 1;
    });
}

int VXMODULECALL MakeDCXFile(LPCSTR fileName, int* param) {
    return Guarded([&] {
        Bytes table(kDcxTableEnd, 0);
        vx::StoreU32(table.data(), kDcxSignature);
        auto out = vxmod::OutputFile::Open(fileName, vxmod::OutputFile::Mode::Create);
        if (!out) return 0;
        if (!out->write(table.data(), table.size()) || !out->commit()) return vxmod::FailSave(IMGERR_IO);
        if (param != nullptr) *param = 0;
        return 1;
    });
}

int VXMODULECALL SaveDIBInDCXFormat(LPCSTR fileName, HDIB dib, int* param) {
    return Guarded([&] {
        const auto source = vxmod::DibSource::Open(dib);
        if (!source) return 0;
        const Bytes page = EncodePcx(*source);
        if (page.empty()) return 0;
        if (fileName == nullptr) return vxmod::FailSave(IMGERR_PARAMETER);
        std::error_code error;
        const std::filesystem::path path(fileName);
        const uint64_t fileBytes = std::filesystem::file_size(path, error);
        if (error) return vxmod::FailSave(IMGERR_OPENFILE);
        const int number = AppendPage(fileName, page, fileBytes);
        if (number == 0) {
            // The file is closed by now: give it back its former length.
            const int reason = ImgError();
            if (std::filesystem::file_size(path, error) != fileBytes && !error)
                std::filesystem::resize_file(path, fileBytes, error);
            return vxmod::FailSave(reason);
        }
        if (param != nullptr) *param = number;
        return 1;
    });
}
