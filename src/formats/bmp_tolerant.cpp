// bmp_tolerant.cpp - VexoraLoadBMPFile and VexoraReadBMPMemory: the BMP reader for files as
// today's writers make them, beside LoadDIBFromFile, which keeps the classic reader's limits.
//
// The reader takes the whole file as bytes, checks everything it will touch, decides the size
// of the result and only then allocates it; the pixel work is done by the kernels of
// bmp_tolerant_rows.hpp, chosen once per image. The result is always a DIB in the classic
// form: a 40-byte header, bottom-up rows, 1, 4, 8 or 24 bits, BI_RGB, a colour table of
// exactly 2^bits entries for 1, 4 and 8 bits (biClrUsed says so) and none for 24 bits,
// biSizeImage filled in, the file's resolution kept.
//
// What it reads, and how each variant maps:
//   - Headers of 12 bytes (OS/2 1.x, 3-byte table entries), 16 and 64 (OS/2 2.x), 40, 52 and
//     56 (with the masks inside), 108 (V4) and 124 (V5); fields past a short header read as 0.
//     Only the "BM" signature is read; planes must be 1.
//   - 1, 4, 8 and 24 bits are kept; 2 bits become 4 bits (same indices); 16 and 32 bits become
//     24 bits. BI_RGB 16 bits is 5-5-5 and BI_RGB 32 bits is 8-8-8 with the fourth byte
//     ignored. BI_BITFIELDS and BI_ALPHABITFIELDS take any contiguous, non-overlapping masks
//     within the pixel, scaled exactly to 8 bits; the alpha mask counts when the header holds
//     one (52 bytes and longer, or BI_ALPHABITFIELDS) and is not 0, and then every pixel is
//     composited on white. A 24-bit file's colour table is ignored.
//   - Colour tables: biClrUsed 0 means the full 2^bits; a larger count is cut to 2^bits; a
//     table that would run into the pixel data (bfOffBits) is cut there; entries the file
//     does not give are black, and so are indices past the table.
//   - Rows are stored bottom-up in the result whatever the file's order (negative height).
//   - RLE8, RLE4 and OS/2's RLE24 (compression 4 under a 16- or 64-byte header) by the
//     decoder of bmp_tolerant_rows.hpp: pixels the stream never sets are index 0 (black for
//     RLE24), and a stream cut short keeps what it decoded. Run-length data stored top-down is
//     refused, as it has no defined meaning.
//   - BI_JPEG and BI_PNG: the embedded file goes through a temporary file to the JPEG or PNG
//     format module (VXJPGR.DLL, VXPNGR.DLL); a missing module is reported the way the library
//     reports one (a message) and the read fails.
//   - The pixel data starts at bfOffBits when that lies after the header (and its masks) and
//     inside the file, otherwise right after the colour table.
//   - Uncompressed rows must all be present; only the padding of the last row may be missing.
//     A file cut shorter than that is refused with IMGERR_IO.
//
// What it refuses, with NULL, the module error code and a sentence in `reason`:
//   IMGERR_OPENFILE   the file cannot be opened
//   IMGERR_IO         the file ends inside its headers, its colour table or its pixel rows
//   IMGERR_FILEFORMAT no "BM", an unknown header size, planes other than 1, a bit count that is
//                     not a BMP depth (0 outside BI_JPEG and BI_PNG, 64, 30000, ...), a width
//                     or height of 0 or a negative width, a compression the depth cannot
//                     have or one it does not decode (OS/2 Huffman, CMYK, unknown codes), masks
//                     that overlap, are not contiguous or pass the pixel's bits, top-down
//                     run-length data, an embedded image the module cannot read
//   IMGERR_DIBSIZE    a side over VXMOD_MAX_SIDE or more than VXMOD_MAX_PIXELS pixels; a
//                     run-length image of more pixels than 1024 per byte of its stream (and
//                     more than 2^24 in all): such files are decompression bombs, not pictures
//   IMGERR_NOMEMORY   the result cannot be allocated
// Every refusal is decided before the result is allocated. Success leaves the module error
// code as it was.
#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "vexora.h"
#include "vexora_modules.h"

#include "dib_layout.hpp"
#include "dib_result.hpp"
#include "errors.hpp"
#include "file_io.hpp"
#include "formats/bmp_tolerant_rows.hpp"
#include "formats/format_modules.hpp"
#include "guards.hpp"
#include "platform/platform.hpp"

#if defined(_WIN32)
#include <windows.h>
#else
#include <unistd.h>
#endif

namespace vx::bmp {
namespace {

constexpr uint32_t kRgb = 0, kRle8 = 1, kRle4 = 2, kBitFields = 3, kJpeg = 4, kPng = 5,
                   kAlphaBitFields = 6;
// Run-length images may not expand beyond this many pixels per stream byte, above kSmallImage.
constexpr uint64_t kRunExpansion = 1024;
constexpr uint64_t kSmallImage = uint64_t{1} << 24;

// Why a read failed: the module error code and the sentence for the caller.
struct Refusal {
    int code = 0;
    std::string reason;
};

Refusal Refuse(int code, const char* format, ...) {
    char text[256];
    va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    return {code, text};
}

// "58 bytes", "24630 bytes", "12.3 MB", "4.2 GB": exact below 10 MB.
std::string Amount(uint64_t bytes) {
    char text[48];
    if (bytes < 10000000) {
        std::snprintf(text, sizeof text, "%llu bytes", static_cast<unsigned long long>(bytes));
    } else {
        const char* units[] = {"MB", "GB", "TB", "PB"};
        double v = static_cast<double>(bytes) / 1e6;
        int u = 0;
        while (v >= 1000 && u < 3) v /= 1000, ++u;
        std::snprintf(text, sizeof text, "%.1f %s", v, units[u]);
    }
    return text;
}

// What the headers say, once checked.
struct Layout {
    uint32_t headerSize = 0;
    uint32_t width = 0, height = 0;
    bool topDown = false;
    uint32_t bits = 0, compression = kRgb;
    int32_t xPels = 0, yPels = 0;
    PixelFormat format;
    bool alpha = false;
    size_t tableAt = 0, entryBytes = 4;
    uint32_t tableEntries = 0;  // entries the file gives
    size_t pixelsAt = 0;
    uint32_t outBits = 0;
};

class Reader {
public:
    Reader(const uint8_t* data, size_t size) : data_(data), size_(size) {}

    // Fills `layout` from the headers, or says why not.
    bool parse(Layout& l) {
        if (size_ < 2 || data_[0] != 'B' || data_[1] != 'M') {
            return refuse(Refuse(IMGERR_FILEFORMAT, "the file does not start with \"BM\""));
        }
        if (size_ < kFileHeaderSize + 4) return refuse(Refuse(IMGERR_IO, "the file ends inside its headers"));
        const uint32_t offBits = LoadU32(data_ + 10);
        const uint8_t* h = data_ + kFileHeaderSize;
        l.headerSize = LoadU32(h);
        constexpr std::array<uint32_t, 8> kSizes{12, 16, 40, 52, 56, 64, 108, 124};
        if (std::find(kSizes.begin(), kSizes.end(), l.headerSize) == kSizes.end()) {
            return refuse(Refuse(IMGERR_FILEFORMAT, "header size %u is not a BMP header", l.headerSize));
        }
        if (size_ < kFileHeaderSize + l.headerSize) {
            return refuse(Refuse(IMGERR_IO, "the file ends inside its %u-byte header", l.headerSize));
        }
        int64_t width = 0, height = 0;
        uint32_t planes = 0;
        uint32_t clrUsed = 0;
        if (l.headerSize == kCoreHeaderSize) {
            width = LoadU16(h + bch::kWidth);
            height = LoadU16(h + bch::kHeight);
            planes = LoadU16(h + bch::kPlanes);
            l.bits = LoadU16(h + bch::kBitCount);
            l.entryBytes = 3;
        } else {
            // Fields past the end of a short OS/2 2.x header read as 0.
            uint8_t full[124] = {};
            std::memcpy(full, h, l.headerSize);
            width = LoadI32(full + bih::kWidth);
            height = LoadI32(full + bih::kHeight);
            planes = LoadU16(full + bih::kPlanes);
            l.bits = LoadU16(full + bih::kBitCount);
            l.compression = LoadU32(full + bih::kCompression);
            l.xPels = LoadI32(full + bih::kXPels);
            l.yPels = LoadI32(full + bih::kYPels);
            clrUsed = LoadU32(full + bih::kClrUsed);
            // OS/2 2.x headers number their compressions differently from 3 on.
            const bool os2 = l.headerSize == 16 || l.headerSize == 64;
            if (os2 && l.compression == 3) {
                return refuse(Refuse(IMGERR_FILEFORMAT, "OS/2 Huffman 1D compression is not read"));
            }
            if (os2 && l.compression == 4) l.compression = kRle24;
            size_t masksAt = 40;
            if ((l.compression == kBitFields || l.compression == kAlphaBitFields) && l.headerSize == 40) {
                const size_t count = l.compression == kAlphaBitFields ? 4 : 3;
                if (size_ < kFileHeaderSize + 40 + 4 * count) {
                    return refuse(Refuse(IMGERR_IO, "the file ends inside its bit-field masks"));
                }
                std::memcpy(full + 40, h + 40, 4 * count);
                l.tableAt = 4 * count;
                l.alpha = count == 4;
            } else {
                l.alpha = l.headerSize >= 56;
            }
            if (l.compression == kBitFields || l.compression == kAlphaBitFields) {
                if (!masks(l, LoadU32(full + masksAt), LoadU32(full + masksAt + 4),
                           LoadU32(full + masksAt + 8), l.alpha ? LoadU32(full + masksAt + 12) : 0)) {
                    return false;
                }
            }
        }
        l.tableAt += kFileHeaderSize + l.headerSize;
        if (planes != 1) return refuse(Refuse(IMGERR_FILEFORMAT, "planes is %u, not 1", planes));
        if (!depth(l)) return false;
        if (width <= 0 || height == 0) {
            return refuse(Refuse(IMGERR_FILEFORMAT, "the image is %lld x %lld pixels", static_cast<long long>(width),
                                 static_cast<long long>(height)));
        }
        l.topDown = height < 0;
        const int64_t rows = height < 0 ? -height : height;
        if (width > VXMOD_MAX_SIDE || rows > VXMOD_MAX_SIDE) {
            return refuse(Refuse(IMGERR_DIBSIZE, "the image is %lld x %lld pixels, over the largest side of %d",
                                 static_cast<long long>(width), static_cast<long long>(rows), VXMOD_MAX_SIDE));
        }
        l.width = static_cast<uint32_t>(width);
        l.height = static_cast<uint32_t>(rows);
        if (l.topDown && (l.compression == kRle4 || l.compression == kRle8 || l.compression == kRle24)) {
            return refuse(Refuse(IMGERR_FILEFORMAT, "run-length data cannot be stored top-down"));
        }

        // The colour table: up to 2^bits entries, cut where the pixel data begins.
        const size_t afterHeaders = l.tableAt;
        uint32_t wanted = 0;
        if (l.bits <= 8) {
            const uint32_t full = 1u << l.bits;
            wanted = clrUsed == 0 || clrUsed > full ? full : clrUsed;
        }
        const bool offsetSane = offBits >= afterHeaders && offBits < size_;
        size_t tableEnd = offsetSane ? offBits : size_;
        l.tableEntries = static_cast<uint32_t>(std::min<size_t>(wanted, (tableEnd - afterHeaders) / l.entryBytes));
        if (l.tableEntries < wanted && !offsetSane) {
            return refuse(Refuse(IMGERR_IO, "the file ends inside its colour table"));
        }
        l.pixelsAt = offsetSane ? offBits : afterHeaders + size_t{l.tableEntries} * l.entryBytes;
        return sizes(l);
    }

    const Refusal& refusal() const { return refusal_; }
    static constexpr uint32_t kRle24 = 0x10004;  // OS/2's RLE24, renumbered out of the way

private:
    bool refuse(Refusal r) {
        refusal_ = std::move(r);
        return false;
    }

    // Picks the result's depth, or refuses a bit count or compression it does not read.
    bool depth(Layout& l) {
        switch (l.bits) {
            case 1: case 2: case 4: case 8: case 16: case 24: case 32: break;
            case 0:
                if (l.compression == kJpeg || l.compression == kPng) break;
                [[fallthrough]];
            default:
                if (l.bits == 64) return refuse(Refuse(IMGERR_FILEFORMAT, "64-bit pixels are not read"));
                return refuse(Refuse(IMGERR_FILEFORMAT, "bit count %u is not a BMP depth", l.bits));
        }
        bool fits = false;
        switch (l.compression) {
            case kRgb: fits = l.bits != 0; break;
            case kRle8: fits = l.bits == 8; break;
            case kRle4: fits = l.bits == 4; break;
            case kRle24: fits = l.bits == 24; break;
            case kBitFields: case kAlphaBitFields: fits = l.bits == 16 || l.bits == 32; break;
            case kJpeg: case kPng: fits = true; break;
            case 11: case 12: case 13:
                return refuse(Refuse(IMGERR_FILEFORMAT, "CMYK compression %u is not read", l.compression));
            default:
                return refuse(Refuse(IMGERR_FILEFORMAT, "compression %u is not a BMP encoding", l.compression));
        }
        if (!fits) {
            return refuse(Refuse(IMGERR_FILEFORMAT, "compression %u cannot hold %u-bit pixels", l.compression, l.bits));
        }
        if (l.compression == kRgb && l.bits == 16) masks(l, 0x7C00, 0x03E0, 0x001F, 0);
        if (l.compression == kRgb && l.bits == 32) masks(l, 0xFF0000, 0xFF00, 0xFF, 0);
        l.outBits = l.bits == 2 ? 4 : l.bits > 8 ? 24 : l.bits;
        return true;
    }

    bool masks(Layout& l, uint32_t red, uint32_t green, uint32_t blue, uint32_t alpha) {
        const uint32_t all[4] = {red, green, blue, alpha};
        uint32_t seen = 0;
        const uint64_t within = l.bits == 16 ? 0xFFFF : 0xFFFFFFFF;
        for (uint32_t m : all) {
            if (m == 0) continue;
            if (m & seen) return refuse(Refuse(IMGERR_FILEFORMAT, "BI_BITFIELDS masks overlap"));
            if (m > within) return refuse(Refuse(IMGERR_FILEFORMAT, "BI_BITFIELDS mask 0x%08X passes the %u-bit pixel", m, l.bits));
            const uint32_t low = m >> std::countr_zero(m);
            if ((low & (low + 1)) != 0) {
                return refuse(Refuse(IMGERR_FILEFORMAT, "BI_BITFIELDS mask 0x%08X is not contiguous", m));
            }
            seen |= m;
        }
        l.format = {Channel::From(red), Channel::From(green), Channel::From(blue), Channel::From(alpha)};
        l.alpha = alpha != 0;
        return true;
    }

    // Refuses pixel areas the file cannot hold and images over the limits, before allocating.
    bool sizes(const Layout& l) {
        const uint64_t available = size_ - std::min(l.pixelsAt, size_);
        const uint64_t pixels = uint64_t{l.width} * l.height;
        if (l.compression == kRgb || l.compression == kBitFields || l.compression == kAlphaBitFields) {
            const uint64_t stride = RowStride64(l.width, l.bits);
            const uint64_t needed = stride * (l.height - 1) + (uint64_t{l.width} * l.bits + 7) / 8;
            if (needed > available) {
                return refuse(Refuse(IMGERR_IO, "the pixel data needs %s but the file holds %s",
                                     Amount(stride * l.height).c_str(), Amount(size_).c_str()));
            }
        } else if (l.compression != kJpeg && l.compression != kPng) {
            if (pixels > kSmallImage && pixels / kRunExpansion > available) {
                return refuse(Refuse(IMGERR_DIBSIZE, "%u x %u pixels cannot come from a %s run-length stream",
                                     l.width, l.height, Amount(available).c_str()));
            }
        }
        if (pixels > VXMOD_MAX_PIXELS) {
            return refuse(Refuse(IMGERR_DIBSIZE, "the image is %u x %u pixels, over the limit of %d pixels",
                                 l.width, l.height, VXMOD_MAX_PIXELS));
        }
        return true;
    }

    const uint8_t* data_;
    size_t size_;
    Refusal refusal_;
};

// The row converter for a stored depth and encoding.
RowConverter ConverterFor(const Layout& l) {
    switch (l.bits) {
        case 1: return CopyRow<1>;
        case 2: return TwoBitRowToFour;
        case 4: return CopyRow<4>;
        case 8: return CopyRow<8>;
        case 16: return l.alpha ? BitFieldRow<uint16_t, true> : BitFieldRow<uint16_t, false>;
        case 24: return CopyRow<24>;
        default: return l.alpha ? BitFieldRow<uint32_t, true> : BitFieldRow<uint32_t, false>;
    }
}

// A removed-on-destruction temporary file holding `bytes`.
class TemporaryFile {
public:
    explicit TemporaryFile(const uint8_t* bytes, size_t size) {
#if defined(_WIN32)
        char dir[MAX_PATH], name[MAX_PATH];
        if (GetTempPathA(MAX_PATH, dir) == 0 || GetTempFileNameA(dir, "vxb", 0, name) == 0) return;
        path_ = name;
        std::FILE* file = std::fopen(name, "wb");
#else
        const char* dir = std::getenv("TMPDIR");
        std::string pattern = std::string(dir != nullptr && *dir != '\0' ? dir : "/tmp") + "/vexora-bmp-XXXXXX";
        const int fd = mkstemp(pattern.data());
        if (fd < 0) return;
        path_ = pattern;
        std::FILE* file = fdopen(fd, "wb");
        if (file == nullptr) close(fd);
#endif
        if (file == nullptr) return;
        written_ = std::fwrite(bytes, 1, size, file) == size;
        written_ = std::fclose(file) == 0 && written_;
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        if (!path_.empty()) std::remove(path_.c_str());
    }
    const char* path() const { return written_ ? path_.c_str() : nullptr; }

private:
    std::string path_;
    bool written_ = false;
};

// An embedded JPEG or PNG file, read by its format module; the BMP's resolution is kept.
HDIB ReadEmbedded(const uint8_t* data, size_t size, const Layout& l, Refusal& refusal) {
    const bool jpeg = l.compression == kJpeg;
    const char* kind = jpeg ? "JPEG" : "PNG";
    const TemporaryFile file(data + l.pixelsAt, size - std::min(l.pixelsAt, size));
    if (file.path() == nullptr) {
        refusal = Refuse(IMGERR_IO, "the embedded %s file cannot be written to a temporary file", kind);
        return nullptr;
    }
    int status = 0;
    HDIB dib = jpeg ? formats::CallModule<formats::LoadNameFn>(formats::kLoadJpeg, file.path())
                    : formats::CallModule<formats::LoadStatusFn>(formats::kLoadPng, file.path(), &status);
    if (dib == nullptr) {
        refusal = Refuse(IMGERR_FILEFORMAT, "the embedded %s image cannot be read (%s)", kind,
                         jpeg ? formats::kLoadJpeg.module : formats::kLoadPng.module);
        return nullptr;
    }
    BlockLock lock(dib);
    if (lock && lock.size() >= kInfoHeaderSize && (l.xPels != 0 || l.yPels != 0)) {
        StoreI32(lock.data() + bih::kXPels, l.xPels);
        StoreI32(lock.data() + bih::kYPels, l.yPels);
    }
    return dib;
}

// Reads a checked file into a new classic DIB.
HDIB Decode(const uint8_t* data, size_t size, const Layout& l, Refusal& refusal) {
    if (l.compression == kJpeg || l.compression == kPng) return ReadEmbedded(data, size, l, refusal);
    const uint32_t colours = l.outBits <= 8 ? 1u << l.outBits : 0;
    const uint64_t stride = RowStride64(l.width, l.outBits);
    const uint64_t tableBytes = uint64_t{colours} * 4;
    OwnedBlock block = AllocateRetrying(kInfoHeaderSize + tableBytes + stride * l.height);
    BlockLock lock(block.get());
    if (!block || !lock) {
        refusal = Refuse(IMGERR_NOMEMORY, "%s of memory for the image cannot be had",
                         Amount(kInfoHeaderSize + tableBytes + stride * l.height).c_str());
        return nullptr;
    }
    uint8_t* out = lock.data();
    WriteInfoHeader(out, {.width = static_cast<int32_t>(l.width), .height = static_cast<int32_t>(l.height),
                          .bitCount = static_cast<uint16_t>(l.outBits),
                          .sizeImage = static_cast<uint32_t>(stride * l.height),
                          .xPels = l.xPels, .yPels = l.yPels, .clrUsed = colours});
    for (uint32_t i = 0; i < l.tableEntries && i < colours; ++i) {
        const uint8_t* entry = data + l.tableAt + i * l.entryBytes;
        std::memcpy(out + kInfoHeaderSize + 4 * i, entry, 3);  // the fourth byte stays 0
    }
    uint8_t* rows = out + kInfoHeaderSize + tableBytes;
    const uint8_t* stream = data + l.pixelsAt;
    const size_t streamBytes = size - l.pixelsAt;
    switch (l.compression) {
        case kRle8: DecodeRunLengths<RunKind::Rle8>(stream, streamBytes, rows, stride, l.width, l.height); break;
        case kRle4: DecodeRunLengths<RunKind::Rle4>(stream, streamBytes, rows, stride, l.width, l.height); break;
        case Reader::kRle24: DecodeRunLengths<RunKind::Rle24>(stream, streamBytes, rows, stride, l.width, l.height); break;
        default: {
            const RowConverter convert = ConverterFor(l);
            const uint64_t sourceStride = RowStride64(l.width, l.bits);
            for (uint32_t y = 0; y < l.height; ++y) {
                const uint32_t stored = l.topDown ? l.height - 1 - y : y;
                convert(stream + sourceStride * stored, rows + stride * y, l.width, l.format);
            }
        }
    }
    lock.unlock();
    return block.release();
}

HDIB Read(const uint8_t* data, size_t size, Refusal& refusal) {
    Reader reader(data, size);
    Layout layout;
    if (!reader.parse(layout)) {
        refusal = reader.refusal();
        return nullptr;
    }
    return Decode(data, size, layout, refusal);
}

// Runs a read, reports its refusal, and keeps every exception inside.
template <typename Body>
HDIB Report(char* reason, UINT reasonSize, Body body) {
    Refusal refusal;
    HDIB dib = nullptr;
    try {
        dib = body(refusal);
    } catch (...) {
        refusal = Refuse(IMGERR_NOMEMORY, "out of memory while reading the file");
        dib = nullptr;
    }
    if (dib != nullptr) refusal.reason.clear();
    if (reason != nullptr && reasonSize > 0) {
        const size_t n = std::min<size_t>(refusal.reason.size(), reasonSize - 1);
        std::memcpy(reason, refusal.reason.data(), n);
        reason[n] = '\0';
    }
    if (dib == nullptr) SetModuleError(refusal.code);
    return dib;
}

}  // namespace
}  // namespace vx::bmp

using namespace vx;

extern "C" VXAPI HDIB VXCALL VexoraLoadBMPFile(LPCSTR fileName, char* reason, UINT reasonSize) {
    return bmp::Report(reason, reasonSize, [&](bmp::Refusal& refusal) -> HDIB {
        OFSTRUCT info;
        FileHandle file(fileName != nullptr ? OpenFile(fileName, &info, OF_READ) : HFILE_ERROR);
        if (!file.valid()) {
            refusal = bmp::Refuse(IMGERR_OPENFILE, "the file cannot be opened");
            return nullptr;
        }
        const LONG length = _llseek(file.get(), 0, FILE_END);
        _llseek(file.get(), 0, FILE_BEGIN);
        std::vector<uint8_t> bytes(length > 0 ? static_cast<size_t>(length) : 0);
        size_t got = 0;
        while (got < bytes.size()) {
            const long chunk = static_cast<long>(std::min<size_t>(bytes.size() - got, size_t{1} << 30));
            const long n = _hread(file.get(), bytes.data() + got, chunk);
            if (n <= 0) break;
            got += static_cast<size_t>(n);
        }
        return bmp::Read(bytes.data(), got, refusal);
    });
}

extern "C" VXAPI HDIB VXCALL VexoraReadBMPMemory(const void* data, DWORD size, char* reason, UINT reasonSize) {
    return bmp::Report(reason, reasonSize, [&](bmp::Refusal& refusal) -> HDIB {
        if (data == nullptr) {
            refusal = bmp::Refuse(IMGERR_PARAMETER, "no data was given");
            return nullptr;
        }
        return bmp::Read(static_cast<const uint8_t*>(data), size, refusal);
    });
}
