// VXPNGR through the library: files written by netpbm decode to the pixels ImageMagick decodes
// them to, in the DIB depth each kind of PNG maps to; hostile files made here (a small PNG
// writer with stored deflate blocks) fail with their status and error code.
#include <array>
#include <string>
#include <vector>

#include "module_test_support.hpp"

namespace {

using vxtest::Bytes;

struct ToolFile {
    const char* name;
    int bits;       // the DIB's depth
    int tolerance;  // ImageMagick composites alpha in 16 bits: its rounding may differ by one
};

TEST(PngReader, DecodesEveryKindToTheToolsPixelsInItsDepth) {
    const ToolFile files[] = {
        {"png_palette1.png", 1, 0},  {"png_palette2.png", 4, 0},    {"png_palette2_interlaced.png", 4, 0},
        {"png_palette4.png", 4, 0},  {"png_palette8.png", 8, 0},    {"png_palette8_trns.png", 8, 0},
        {"png_gray1.png", 1, 0},     {"png_gray2.png", 8, 0},       {"png_gray4.png", 8, 0},
        {"png_gray4_trns.png", 8, 0}, {"png_gray8.png", 8, 0},      {"png_gray16.png", 8, 0},
        {"png_gray16_trns.png", 8, 0}, {"png_graya8.png", 8, 1},    {"png_rgb8.png", 24, 0},
        {"png_rgb8_interlaced.png", 24, 0}, {"png_rgb16.png", 24, 0}, {"png_rgb8_trns.png", 24, 0},
        {"png_rgba8.png", 24, 1},    {"png_rgba8_interlaced.png", 24, 1}, {"png_rgba16.png", 24, 1},
    };
    for (const ToolFile& file : files) {
        SCOPED_TRACE(file.name);
        const auto loaded = vxtest::LoadThroughLibrary(vxtest::DataFile(file.name));
        ASSERT_TRUE(loaded.ok);
        EXPECT_EQ(loaded.status, VXSTATUS_OK);
        EXPECT_EQ(loaded.image.bits, file.bits);
        EXPECT_EQ(vxtest::CompareRgb(loaded.image, vxtest::ReadNetpbm(vxtest::DataFile(std::string(file.name) + ".pnm")),
                                     file.tolerance),
                  "");
    }
}

TEST(PngReader, PixelsPerMetreOnlyFromAResolutionInMetres) {
    const struct { const char* name; int32_t x, y; } files[] = {
        {"png_phys_metre.png", 3780, 2835}, {"png_phys_unknown.png", 0, 0}, {"png_rgb8.png", 0, 0}};
    for (const auto& file : files) {
        const auto loaded = vxtest::LoadThroughLibrary(vxtest::DataFile(file.name));
        EXPECT_EQ(loaded.image.xPelsPerMeter, file.x) << file.name;
        EXPECT_EQ(loaded.image.yPelsPerMeter, file.y) << file.name;
    }
}

// ---- A PNG writer for hostile files: chunks with their CRC, image data in stored deflate
// blocks with their Adler-32, so every byte of the file is the test's choice.

uint32_t Crc32(const uint8_t* p, size_t n, uint32_t crc = 0) {
    crc = ~crc;
    while (n--) {
        crc ^= *p++;
        for (int k = 0; k < 8; ++k) crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1)));
    }
    return ~crc;
}

void PutU32(Bytes& out, uint32_t v) {
    for (int shift = 24; shift >= 0; shift -= 8) out.push_back(uint8_t(v >> shift));
}

void AddChunk(Bytes& png, const char* type, const Bytes& data) {
    PutU32(png, uint32_t(data.size()));
    const size_t start = png.size();
    png.insert(png.end(), type, type + 4);
    png.insert(png.end(), data.begin(), data.end());
    PutU32(png, Crc32(png.data() + start, png.size() - start));
}

Bytes StoredZlib(const Bytes& raw) {
    Bytes z = {0x78, 0x01};
    size_t at = 0;
    do {
        const size_t n = std::min<size_t>(raw.size() - at, 65535);
        z.push_back(at + n == raw.size() ? 1 : 0);
        z.insert(z.end(), {uint8_t(n), uint8_t(n >> 8), uint8_t(~n), uint8_t(~n >> 8)});
        z.insert(z.end(), raw.begin() + std::ptrdiff_t(at), raw.begin() + std::ptrdiff_t(at + n));
        at += n;
    } while (at < raw.size());
    uint32_t a = 1, b = 0;
    for (uint8_t v : raw) a = (a + v) % 65521, b = (b + a) % 65521;
    PutU32(z, b << 16 | a);
    return z;
}

struct PngParts {
    uint32_t width = 4, height = 3;
    uint8_t depth = 8, colourType = 3;
    std::vector<std::pair<const char*, Bytes>> before;  // chunks between IHDR and IDAT
    Bytes rows;                                          // filter byte and samples, every row
};

Bytes BuildPng(const PngParts& parts) {
    Bytes png = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    Bytes header;
    PutU32(header, parts.width);
    PutU32(header, parts.height);
    header.insert(header.end(), {parts.depth, parts.colourType, 0, 0, 0});
    AddChunk(png, "IHDR", header);
    for (const auto& [type, data] : parts.before) AddChunk(png, type, data);
    AddChunk(png, "IDAT", StoredZlib(parts.rows));
    AddChunk(png, "IEND", {});
    return png;
}

// A 4 x 3 8-bit paletted image of two entries, indices 0, 1 and 200 (past the palette).
PngParts SmallPaletted() {
    PngParts parts;
    parts.before = {{"PLTE", {255, 0, 0, 0, 0, 255}}};
    for (int y = 0; y < 3; ++y) parts.rows.insert(parts.rows.end(), {0, 0, 1, 200, uint8_t(y & 1)});
    return parts;
}

vxtest::Loaded LoadBytes(const Bytes& png) {
    vxtest::ScratchDir dir;
    vxtest::WriteBytes(dir / "test.png", png);
    return vxtest::LoadThroughLibrary(dir / "test.png");
}

TEST(PngReader, BuiltFileLoadsWithIndicesPastThePaletteBlack) {
    const auto loaded = LoadBytes(BuildPng(SmallPaletted()));
    ASSERT_TRUE(loaded.ok);
    ASSERT_EQ(loaded.image.bits, 8);
    EXPECT_EQ(loaded.image.palette.size(), 256u);
    EXPECT_EQ(loaded.image.rgb(0, 0), 0xFF0000u);
    EXPECT_EQ(loaded.image.rgb(1, 1), 0x0000FFu);
    EXPECT_EQ(loaded.image.rgb(2, 2), 0x000000u);
}

TEST(PngReader, HostileFilesFailWithTheirStatus) {
    struct Case {
        const char* what;
        Bytes file;
        int status, error;
    };
    std::vector<Case> cases;
    PngParts huge = SmallPaletted();
    huge.width = huge.height = 100000;  // refused from the header: the rows are never allocated
    cases.push_back({"100000 x 100000", BuildPng(huge), VXSTATUS_TOOLARGE, IMGERR_DIBSIZE});
    PngParts empty = SmallPaletted();
    empty.before = {{"PLTE", {}}};
    cases.push_back({"palette of 0", BuildPng(empty), VXSTATUS_CORRUPT, IMGERR_FILEFORMAT});
    PngParts big = SmallPaletted();
    big.before = {{"PLTE", Bytes(900, 7)}};
    cases.push_back({"palette of 300", BuildPng(big), VXSTATUS_CORRUPT, IMGERR_FILEFORMAT});
    PngParts missing = SmallPaletted();
    missing.before.clear();
    cases.push_back({"no palette", BuildPng(missing), VXSTATUS_CORRUPT, IMGERR_FILEFORMAT});
    PngParts shortRows = SmallPaletted();
    shortRows.rows.resize(9);
    cases.push_back({"image data ends early", BuildPng(shortRows), VXSTATUS_CORRUPT, IMGERR_FILEFORMAT});
    Bytes badHeaderCrc = BuildPng(SmallPaletted());
    badHeaderCrc[29] ^= 1;
    cases.push_back({"header CRC", badHeaderCrc, VXSTATUS_CORRUPT, IMGERR_FILEFORMAT});
    Bytes cut = BuildPng(SmallPaletted());
    cut.resize(cut.size() - 20);
    cases.push_back({"file cut in the image data", cut, VXSTATUS_TRUNCATED, IMGERR_IO});
    for (const Case& c : cases) {
        const auto loaded = LoadBytes(c.file);
        EXPECT_FALSE(loaded.ok) << c.what;
        EXPECT_EQ(loaded.status, c.status) << c.what;
        EXPECT_EQ(loaded.error, c.error) << c.what;
    }
}

TEST(PngReader, AnAncillaryChunkWithABadCrcIsDropped) {
    PngParts parts = SmallPaletted();
    parts.before.push_back({"tEXt", {'a', 0, 'b'}});
    Bytes png = BuildPng(parts);
    png[png.size() - 12 - 12 - StoredZlib(parts.rows).size() - 1] ^= 1;  // the tEXt chunk's CRC
    EXPECT_TRUE(LoadBytes(png).ok);
}

TEST(PngReader, CutAndDamagedVersionsOfRealFilesFailCleanly) {
    for (const char* name : {"png_palette2_interlaced.png", "png_rgba8_interlaced.png", "png_gray16_trns.png"}) {
        const Bytes good = vxtest::ReadBytes(vxtest::DataFile(name));
        vxtest::ScratchDir dir;
        int cutLoaded = 0;
        for (size_t n = 0; n < good.size(); ++n) {
            vxtest::WriteBytes(dir / "cut.png", Bytes(good.begin(), good.begin() + std::ptrdiff_t(n)));
            cutLoaded += vxtest::LoadThroughLibrary(dir / "cut.png").ok;
        }
        EXPECT_EQ(cutLoaded, 0) << name;
        vxtest::SweepHostileVersions(good, dir / "hostile.png",
                                     [](const std::filesystem::path& path) { return vxtest::LoadThroughLibrary(path).ok; });
    }
}

}  // namespace
