// The TIFF and CALS modules: our files read back, other tools' files decoded to their pixels,
// pages appended and read one by one, and hostile files refused cleanly.
#include <cstring>
#include <functional>
#include <numeric>
#include <string>

#include "module_test_support.hpp"

namespace {

using namespace vxtest;

// Entry points called directly, for what the library never passes.
const auto LoadTiff = ModuleFunction<decltype(&LoadTiffIntoDIB)>("VXTIFR", "LoadTiffIntoDIB");
const auto LoadCals = ModuleFunction<decltype(&LoadCALSIntoDIB)>("VXTIFR", "LoadCALSIntoDIB");
const auto SaveTiff = ModuleFunction<decltype(&SaveDIBInTiffFormat)>("VXTIFW", "SaveDIBInTiffFormat");

int StatusOf(const std::filesystem::path& path, int page = 1) {
    int status = -1;
    HeldDib dib(page ? LoadTiff(path.string().c_str(), page, &status) : LoadCals(path.string().c_str(), &status));
    EXPECT_EQ(dib.get() != nullptr, status == VXSTATUS_OK) << path;
    return status;
}
int CalsStatus(const std::filesystem::path& path) { return StatusOf(path, 0); }

double MeanDifference(const TestImage& a, const TestImage& b) {
    return std::transform_reduce(a.pixels.begin(), a.pixels.end(), b.pixels.begin(), 0.0, std::plus<>(),
                                 [](int p, int q) { return std::abs(p - q); }) / double(a.pixels.size());
}

TEST(Tiff, EveryDepthRoundTripsThroughEveryCompressionThatHoldsIt) {
    ScratchDir dir;
    TestImage twoColour = Pattern(37, 23, 1, 5);
    twoColour.palette = {{0, 0, 255, 0}, {255, 0, 0, 0}};
    TestImage whiteFirst = Pattern(37, 23, 1, 9);
    whiteFirst.palette = {{255, 255, 255, 0}, {0, 0, 0, 0}};
    const struct { const char* name; TestImage image; int readBits; bool groupFour, jpeg; } depths[] = {
        {"1-bit", Pattern(37, 23, 1), 1, true, false},           {"1-bit colours", twoColour, 1, false, false},
        {"1-bit white first", whiteFirst, 1, true, false},
        {"4-bit", Pattern(37, 23, 4), 4, false, false},          {"4-bit gray", Pattern(37, 23, 4, 2, true), 8, false, false},
        {"8-bit", Pattern(37, 23, 8), 8, false, false},          {"8-bit gray", Pattern(37, 23, 8, 3, true), 8, false, true},
        {"24-bit", Pattern(37, 23, 24), 24, false, true},
    };
    for (const auto& depth : depths)
        for (int compression : {0, 1, 4, 5, 7, 8, 32773, 2, 99}) {
            const bool holds = compression == 4 ? depth.groupFour : compression == 7 ? depth.jpeg : compression != 2 && compression != 99;
            const std::string trace = std::string(depth.name) + " compression " + std::to_string(compression);
            SetImgError(0);
            ASSERT_EQ(SaveThroughLibrary(dir / "t.tif", depth.image, 1, 0, compression), holds ? 1 : 0) << trace;
            if (!holds) {
                EXPECT_EQ(ImgError(), IMGERR_PARAMETER) << trace;
                continue;
            }
            const Loaded back = LoadThroughLibrary(dir / "t.tif");
            ASSERT_TRUE(back.ok) << trace;
            EXPECT_EQ(back.image.bits, depth.readBits) << trace;
            EXPECT_EQ(back.image.xPelsPerMeter, 2835) << trace;
            EXPECT_EQ(back.image.yPelsPerMeter, 3780) << trace;
            if (compression == 7) EXPECT_LT(MeanDifference(back.image, depth.image), 16.0) << trace;
            else if (back.image.bits == depth.image.bits) EXPECT_EQ(CompareIndexed(back.image, depth.image), "") << trace;
            else EXPECT_EQ(CompareRgb(back.image, depth.image), "") << trace;
        }
    HeldDib dib(DibOf(Pattern(8, 8, 24)));
    EXPECT_EQ(SaveTiff((dir / "t.tif").string().c_str(), dib.get(), 0, 3), 0);
    EXPECT_EQ(ImgError(), IMGERR_PARAMETER);
}

TEST(Tiff, OtherToolsFilesDecodeToTheirPixels) {
    const struct { const char* file; const char* reference; int bits, tolerance; } cases[] = {
        {"tiff_rgb_lzw.tif", "tiff_rgb.ppm", 24, 0},         {"tiff_rgb_zip.tif", "tiff_rgb.ppm", 24, 0},
        {"tiff_rgb_planar.tif", "tiff_rgb.ppm", 24, 0},      {"tiff_gray_tiled.tif", "tiff_gray.pgm", 8, 0},
        {"tiff_gray_lzw.tif", "tiff_gray.pgm", 8, 0},        {"tiff_bilevel_g4.tif", "tiff_bilevel.pbm", 1, 0},
        {"tiff_bilevel_g3.tif", "tiff_bilevel.pbm", 1, 0},   {"tiff_bilevel_packbits.tif", "tiff_bilevel.pbm", 1, 0},
        {"tiff_bilevel_black.tif", "tiff_bilevel.pbm", 1, 0}, {"tiff_rgb_jpeg.tif", "tiff_rgb_jpeg.ppm", 24, 2},
        {"tiff_rgb16.tif", "tiff_rgb16.ppm", 24, 0},         {"tiff_rgb16_msb.tif", "tiff_rgb16.ppm", 24, 0},         {"tiff_gray16.tif", "tiff_gray16.pgm", 8, 0},
        {"tiff_gray4.tif", "tiff_gray4.pgm", 8, 0},          {"tiff_palette2.tif", "tiff_palette2.ppm", 4, 1},
        {"tiff_palette4.tif", "tiff_palette4.ppm", 4, 1},    {"tiff_palette8.tif", "tiff_palette8.ppm", 8, 1},
        {"tiff_rgba.tif", "tiff_rgba.ppm", 24, 1},           {"tiff_graya.tif", "tiff_graya.pgm", 8, 1},
        {"tiff_cmyk.tif", "tiff_cmyk.ppm", 24, 1},           {"tiff_lab.tif", "tiff_lab.ppm", 24, 0},
        {"tiff_orient_TopRight.tif", "tiff_orient_TopRight.ppm", 24, 0}, {"tiff_orient_LeftTop.tif", "tiff_orient_LeftTop.ppm", 24, 0},
        {"tiff_orient_BottomRight.tif", "tiff_orient_BottomRight.ppm", 24, 0}, {"tiff_orient_RightTop.tif", "tiff_orient_RightTop.ppm", 24, 0},
        {"tiff_orient_LeftBottom.tif", "tiff_orient_LeftBottom.ppm", 24, 0},
        {"cals_g4.cal", "cals_g4.pbm", 1, 0},
    };
    for (const auto& c : cases) {
        const Loaded got = LoadThroughLibrary(DataFile(c.file));
        ASSERT_TRUE(got.ok) << c.file;
        EXPECT_EQ(got.image.bits, c.bits) << c.file;
        EXPECT_EQ(CompareRgb(got.image, ReadNetpbm(DataFile(c.reference)), c.tolerance), "") << c.file;
    }
    EXPECT_EQ(LoadThroughLibrary(DataFile("tiff_dpi.tif")).image.xPelsPerMeter, 11811);
    EXPECT_EQ(LoadThroughLibrary(DataFile("tiff_dpi.tif")).image.yPelsPerMeter, 5906);
    EXPECT_EQ(LoadThroughLibrary(DataFile("tiff_dpcm.tif")).image.yPelsPerMeter, 4000);
    EXPECT_EQ(LoadThroughLibrary(DataFile("cals_g4.cal")).image.xPelsPerMeter, 7874);
}

TEST(Tiff, PlanesAndAppendedPagesLoadPageByPage) {
    for (int page = 1; page <= 4; ++page) {
        const Loaded got = LoadThroughLibrary(DataFile("tiff_planes.tif"), page);
        ASSERT_TRUE(got.ok) << page;
        EXPECT_EQ(CompareIndexed(got.image, ReadNetpbm(DataFile("tiff_plane" + std::to_string(page) + ".pbm"))), "") << page;
    }
    EXPECT_EQ(StatusOf(DataFile("tiff_planes.tif"), 5), VXSTATUS_NOPAGE);
    ScratchDir dir;
    const TestImage pages[] = {Pattern(37, 23, 1), Pattern(20, 9, 8), Pattern(5, 31, 24)};
    for (const TestImage& image : pages) {
        HeldDib dib(DibOf(image));
        ASSERT_EQ(SaveTiff((dir / "pages.tif").string().c_str(), dib.get(), 0, 2), 1);
    }
    for (int page = 1; page <= 3; ++page)
        EXPECT_EQ(CompareRgb(LoadThroughLibrary(dir / "pages.tif", page).image, pages[page - 1]), "") << page;
    EXPECT_EQ(StatusOf(dir / "pages.tif", 4), VXSTATUS_NOPAGE);
    WriteBytes(dir / "other.bmp", Bytes(100, 'B'));
    HeldDib dib(DibOf(pages[0]));
    EXPECT_EQ(SaveTiff((dir / "other.bmp").string().c_str(), dib.get(), 0, 2), 0);
    EXPECT_EQ(ImgError(), IMGERR_FILEFORMAT);
    EXPECT_EQ(ReadBytes(dir / "other.bmp"), Bytes(100, 'B'));
}

TEST(Cals, OurRasterReadsBackAndHeadersAreChecked) {
    ScratchDir dir;
    TestImage image = Pattern(45, 17, 1);  // entry 0 black: the raster is inverted to keep 0 white
    HeldDib dib(DibOf(image));
    ASSERT_EQ(SaveDIBInImageFormat((dir / "a.cal").string().c_str(), dib.get(), 12, 0, 0), 1);
    const Loaded back = LoadThroughLibrary(dir / "a.cal");
    EXPECT_EQ(CompareRgb(back.image, image), "");
    EXPECT_EQ(back.image.xPelsPerMeter, 2835);
    HeldDib colour(DibOf(Pattern(4, 4, 8)));
    EXPECT_EQ(SaveDIBInImageFormat((dir / "b.cal").string().c_str(), colour.get(), 12, 0, 0), 0);
    EXPECT_EQ(ImgError(), IMGERR_BITCOUNT);

    const Bytes good = ReadBytes(DataFile("cals_g4.cal"));
    const TestImage want = ReadNetpbm(DataFile("cals_g4.pbm"));
    auto edited = [&](int record, const std::string& text, size_t keep = SIZE_MAX) {
        Bytes bytes(good.begin(), good.begin() + std::ptrdiff_t(std::min(keep, good.size())));
        std::memset(bytes.data() + record * 128, ' ', 128);
        std::memcpy(bytes.data() + record * 128, text.data(), text.size());
        WriteBytes(dir / "e.cal", bytes);
        return dir / "e.cal";
    };
    EXPECT_EQ(CalsStatus(edited(6, "rtype: 2")), VXSTATUS_UNSUPPORTED);
    EXPECT_EQ(CalsStatus(edited(7, "rorient: 045,270")), VXSTATUS_UNSUPPORTED);
    EXPECT_EQ(CalsStatus(edited(8, "notes: no size")), VXSTATUS_CORRUPT);
    EXPECT_EQ(CalsStatus(edited(8, "rpelcnt: 100000,100000")), VXSTATUS_TOOLARGE);
    EXPECT_EQ(CalsStatus(edited(10, "notes:", 2048)), VXSTATUS_TRUNCATED);
    // The pel path turned half way: each line runs right to left, the lines bottom to top.
    const Loaded turned = LoadThroughLibrary(edited(7, "rorient: 180,090"));
    ASSERT_TRUE(turned.ok);
    for (int y = 0; y < want.height; ++y)
        for (int x = 0; x < want.width; ++x) ASSERT_EQ(turned.image.rgb(x, y), want.rgb(want.width - 1 - x, want.height - 1 - y));
    const Loaded sideways = LoadThroughLibrary(edited(7, "rorient: 270,180"));  // the first line is the right edge
    EXPECT_TRUE(sideways.ok && sideways.image.width == want.height && sideways.image.rgb(0, 0) == want.rgb(0, want.height - 1));
}

// Little-endian files only: sets a tag of the first directory to one LONG, or the next-directory link.
Bytes Patched(Bytes bytes, uint16_t tag, uint32_t value) {
    const uint32_t ifd = bytes[4] | bytes[5] << 8 | bytes[6] << 16 | uint32_t(bytes[7]) << 24;
    const int count = bytes[ifd] | bytes[ifd + 1] << 8;
    size_t at = ifd + 2 + size_t(count) * 12;
    for (int i = 0; i < count && tag != 0; ++i)
        if ((bytes[ifd + 2 + i * 12] | bytes[ifd + 3 + i * 12] << 8) == tag) at = ifd + 2 + i * 12 + 8, bytes[at - 6] = 4;
    for (int i = 0; i < 4; ++i) bytes[at + i] = uint8_t(value >> 8 * i);
    return bytes;
}

TEST(Tiff, HostileFilesFailCleanly) {
    ScratchDir dir;
    const Bytes g4 = ReadBytes(DataFile("tiff_bilevel_g4.tif"));
    WriteBytes(dir / "big.tif", Patched(Patched(g4, 256, 100000), 257, 100000));
    EXPECT_EQ(StatusOf(dir / "big.tif"), VXSTATUS_TOOLARGE);
    WriteBytes(dir / "loop.tif", Patched(g4, 0, g4[4] | g4[5] << 8));  // the first directory links to itself
    EXPECT_EQ(StatusOf(dir / "loop.tif", 2), VXSTATUS_NOPAGE);
    // No cut version loads (the directory comes last); the changed ones may.
    auto loadTiff = [](const std::filesystem::path& p) { return StatusOf(p) == VXSTATUS_OK; };
    EXPECT_LE(SweepHostileVersions(ReadBytes(DataFile("tiff_gray_tiled.tif")), dir / "h.tif", loadTiff), 3 * 256);
    SweepHostileVersions(ReadBytes(DataFile("cals_g4.cal")), dir / "h.cal",
                         [](const std::filesystem::path& p) { return CalsStatus(p) == VXSTATUS_OK; });
}

}  // namespace
