// VXJPGR and VXJPGW: files from cjpeg and ImageMagick decode to djpeg's pixels exactly, the
// writer gives cjpeg's bytes for the same pixels, round trips at quality 100 stay close, and
// hostile files fail with the module error code.
#include <string>

#include "module_test_support.hpp"

namespace {

// The writer's entry point called directly, for the qualities the library never passes.
int SaveJpegWithQuality(const std::filesystem::path& path, const vxtest::TestImage& image, int quality) {
    static const auto save = vxtest::ModuleFunction<decltype(&SaveDIBInJPEGFile)>("VXJPGW", "SaveDIBInJPEGFile");
    vxtest::HeldDib dib(vxtest::DibOf(image));
    return save(path.string().c_str(), dib.get(), quality);
}

TEST(JpegReader, DecodesToDjpegsPixelsExactly) {
    const struct { const char* name; int bits; } files[] = {
        {"jpeg_baseline.jpg", 24}, {"jpeg_progressive.jpg", 24}, {"jpeg_arithmetic.jpg", 24},
        {"jpeg_gray.jpg", 8},      {"jpeg_444.jpg", 24},         {"jpeg_422_restart.jpg", 24},
        {"jpeg_cmyk.jpg", 24},     {"jpeg_300dpi.jpg", 24},      {"jpeg_exif.jpg", 24},
    };
    for (const auto& file : files) {
        SCOPED_TRACE(file.name);
        const auto loaded = vxtest::LoadThroughLibrary(vxtest::DataFile(file.name));
        ASSERT_TRUE(loaded.ok);
        EXPECT_EQ(loaded.image.bits, file.bits);
        const auto want = vxtest::ReadNetpbm(vxtest::DataFile(std::string(file.name) + ".pnm"));
        EXPECT_EQ(vxtest::CompareRgb(loaded.image, want), "");
        if (file.bits == 8) {
            EXPECT_EQ(vxtest::CompareIndexed(loaded.image, want), "");
        }
    }
}

TEST(JpegReader, ResolutionFromJfifThenExif) {
    const struct { const char* name; int32_t x, y; } files[] = {
        {"jpeg_baseline.jpg", 0, 0},  // JFIF with an aspect ratio only
        {"jpeg_300dpi.jpg", 11811, 11811},
        {"jpeg_50dpcm.jpg", 5000, 5000},
        {"jpeg_exif.jpg", 7874, 5906},  // 200 x 150 dpi, no JFIF segment
    };
    for (const auto& file : files) {
        const auto loaded = vxtest::LoadThroughLibrary(vxtest::DataFile(file.name));
        EXPECT_EQ(loaded.image.xPelsPerMeter, file.x) << file.name;
        EXPECT_EQ(loaded.image.yPelsPerMeter, file.y) << file.name;
    }
}

TEST(JpegWriter, WritesCjpegsBytesAtTheLibrarysQuality) {
    vxtest::ScratchDir dir;
    const struct { const char* source; const char* cjpeg; } cases[] = {
        {"source.ppm", "cjpeg_q75.jpg"}, {"source.pgm", "cjpeg_gray_q75.jpg"}};
    for (const auto& c : cases) {
        const auto image = vxtest::ReadNetpbm(vxtest::DataFile(c.source));
        ASSERT_EQ(vxtest::SaveThroughLibrary(dir / "out.jpg", image, FMT_JPEG), 1) << c.source;
        EXPECT_EQ(vxtest::ReadBytes(dir / "out.jpg"), vxtest::ReadBytes(vxtest::DataFile(c.cjpeg))) << c.source;
    }
}

// A paletted DIB is written as its colours: the same file as the 24-bit image of them, or
// with a table of grays only (Pattern's 1-bit black and white), as the 8-bit gray image.
TEST(JpegWriter, PalettedImagesAreWrittenThroughTheirTable) {
    vxtest::ScratchDir dir;
    for (int bits : {1, 4, 8}) {
        const auto indexed = vxtest::Pattern(35, 39, bits, 9);
        const bool gray = bits == 1;
        vxtest::TestImage expanded = vxtest::Pattern(35, 39, gray ? 8 : 24, 9, gray);
        expanded.pixels.clear();
        for (int y = 0; y < indexed.height; ++y)
            for (int x = 0; x < indexed.width; ++x)
                for (int shift : {16, 8, 0})
                    if (!gray || shift == 0) expanded.pixels.push_back(uint8_t(indexed.rgb(x, y) >> shift));
        ASSERT_EQ(vxtest::SaveThroughLibrary(dir / "indexed.jpg", indexed, FMT_JPEG), 1);
        ASSERT_EQ(vxtest::SaveThroughLibrary(dir / "expanded.jpg", expanded, FMT_JPEG), 1);
        EXPECT_EQ(vxtest::ReadBytes(dir / "indexed.jpg"), vxtest::ReadBytes(dir / "expanded.jpg")) << bits;
    }
}

// Smooth pictures (the colour one subsampled 2 x 2 in chroma) come back within a level or two.
TEST(JpegWriter, RoundTripsAtQuality100KeepPixelsAndResolution) {
    vxtest::ScratchDir dir;
    for (int bits : {24, 8}) {
        auto image = vxtest::Pattern(67, 45, bits, 1, true);
        for (int y = 0; y < image.height; ++y)
            for (int x = 0; x < image.width; ++x)
                for (int c = 0; c < image.channels(); ++c)
                    image.pixels[(size_t(y) * image.width + x) * image.channels() + c] = uint8_t(x + y * (c + 1));
        image.xPelsPerMeter = 2835;
        image.yPelsPerMeter = 11811;
        ASSERT_EQ(SaveJpegWithQuality(dir / "out.jpg", image, 100), 1);
        const auto loaded = vxtest::LoadThroughLibrary(dir / "out.jpg");
        ASSERT_TRUE(loaded.ok) << bits;
        EXPECT_EQ(loaded.image.bits, bits);
        EXPECT_EQ(vxtest::CompareRgb(loaded.image, image, 2), "") << bits;
        EXPECT_EQ(loaded.image.xPelsPerMeter, 2835) << bits;
        EXPECT_EQ(loaded.image.yPelsPerMeter, 11811) << bits;
    }
}

TEST(JpegReader, HostileFilesFailWithTheErrorCode) {
    vxtest::ScratchDir dir;
    const struct { const char* name; int error; } cases[] = {
        {"hostile_huge.jpg", IMGERR_DIBSIZE},  // 65000 x 65000
        {"hostile_cut.jpg", IMGERR_IO},        // ends in the scan
        {"hostile_no_eoi.jpg", IMGERR_IO},
    };
    for (const auto& c : cases) {
        const auto loaded = vxtest::LoadThroughLibrary(vxtest::DataFile(c.name));
        EXPECT_FALSE(loaded.ok) << c.name;
        EXPECT_EQ(loaded.error, c.error) << c.name;
    }
    for (const char* name : {"jpeg_progressive.jpg", "jpeg_arithmetic.jpg", "jpeg_cmyk.jpg"})
        vxtest::SweepHostileVersions(vxtest::ReadBytes(vxtest::DataFile(name)), dir / "hostile.jpg",
                                     [](const std::filesystem::path& path) { return vxtest::LoadThroughLibrary(path).ok; });
}

}  // namespace
