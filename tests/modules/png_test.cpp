// VXPNGR through the library: files written by netpbm decode to the pixels ImageMagick decodes
// them to, in the DIB depth each kind of PNG maps to; hostile files fail with their status and
// error code.
#include <string>

#include "module_test_support.hpp"

namespace {

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

TEST(PngReader, HostileFilesFailWithTheirStatus) {
    const struct { const char* name; int status, error; } files[] = {
        {"hostile_huge.png", VXSTATUS_TOOLARGE, IMGERR_DIBSIZE},  // 100000 x 100000: nothing allocated
        {"hostile_palette0.png", VXSTATUS_CORRUPT, IMGERR_FILEFORMAT},
        {"hostile_palette300.png", VXSTATUS_CORRUPT, IMGERR_FILEFORMAT},
        {"hostile_no_palette.png", VXSTATUS_CORRUPT, IMGERR_FILEFORMAT},
        {"hostile_rows_short.png", VXSTATUS_CORRUPT, IMGERR_FILEFORMAT},
        {"hostile_header_crc.png", VXSTATUS_CORRUPT, IMGERR_FILEFORMAT},
        {"hostile_cut.png", VXSTATUS_TRUNCATED, IMGERR_IO},
        {"hostile_text_crc.png", VXSTATUS_OK, 0},  // the ancillary chunk is dropped
        {"hostile_index_past_palette.png", VXSTATUS_OK, 0},
    };
    for (const auto& file : files) {
        const auto loaded = vxtest::LoadThroughLibrary(vxtest::DataFile(file.name));
        EXPECT_EQ(loaded.ok, file.status == VXSTATUS_OK) << file.name;
        EXPECT_EQ(loaded.status, file.status) << file.name;
        EXPECT_EQ(loaded.error, file.error) << file.name;
    }
    // Indices past the file's two entries show black; the table is the full 256.
    const auto loaded = vxtest::LoadThroughLibrary(vxtest::DataFile("hostile_index_past_palette.png"));
    EXPECT_EQ(loaded.image.palette.size(), 256u);
    EXPECT_EQ(loaded.image.rgb(0, 0), 0xFF0000u);
    EXPECT_EQ(loaded.image.rgb(2, 0), 0x000000u);
}

TEST(PngReader, HostileVersionsOfRealFilesFailCleanly) {
    vxtest::ScratchDir dir;
    for (const char* name : {"png_palette2_interlaced.png", "png_rgba8_interlaced.png", "png_gray16_trns.png"})
        vxtest::SweepHostileVersions(vxtest::ReadBytes(vxtest::DataFile(name)), dir / "hostile.png",
                                     [](const std::filesystem::path& path) { return vxtest::LoadThroughLibrary(path).ok; });
}

}  // namespace
