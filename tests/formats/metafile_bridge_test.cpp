// Metafiles: pictures written from DIBs read back pixel for pixel through both kinds of
// metafile and through the format router; the sizes the reader gives each kind; the placing of
// a clipboard picture into part of an image; the refusals and their codes.
#include <gtest/gtest.h>

#include "clipboard_files.hpp"
#include "dib_builder.hpp"
#include "formats_files.hpp"

using namespace vxtest;

namespace {

// What the bridge makes of a DIB on the screen, read back: what a faithful picture reads as.
Bytes OnScreen(const Bytes& dib) {
    Block block(BlockFrom(dib));
    return PixelsOf(ConvertDIBToBitmap(block.get()));
}

// A 24-bit DIB of one colour (blue, green, red).
Bytes Solid(int width, int height, uint8_t b, uint8_t g, uint8_t r) {
    Bytes dib = SeededDib(width, height, 24);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const size_t at = 40 + size_t(y) * Stride(width, 24) + 3 * size_t(x);
            dib.at(at) = b, dib.at(at + 1) = g, dib.at(at + 2) = r;
        }
    return dib;
}

}  // namespace

TEST(MetafileBridge, DibsComeBackPixelForPixelThroughBothKinds) {
    TempDir dir;
    for (const auto& shape : {DibShape{13, 7, 8, 256, false, 5}, DibShape{6, 5, 24}, DibShape{35, 9, 4, 16, false, 2}}) {
        SCOPED_TRACE(shape.bitCount);
        const Bytes dib = PackedDib(shape);
        Block block(BlockFrom(dib));
        const std::string wmf = dir.path("picture.wmf"), emf = dir.path("picture.emf");
        EXPECT_EQ(SaveDIBIntoMetaFile(nullptr, block.get(), wmf.c_str()), 1);
        EXPECT_EQ(GetImageFormat(wmf.c_str()), FMT_WMF);
        EXPECT_EQ(PixelsOf(LoadMetaFileIntoBitmap(wmf.c_str())), OnScreen(dib));
        EXPECT_EQ(SaveDIBIntoEnhMetaFile(nullptr, block.get(), emf.c_str()), 1);
        EXPECT_EQ(GetImageFormat(emf.c_str()), FMT_EMF);
        EXPECT_EQ(PixelsOf(LoadMetaFileIntoBitmap(emf.c_str())), OnScreen(dib));
    }
}

TEST(MetafileBridge, TheRouterSavesAndLoadsCodes7_8And15) {
    TempDir dir;
    const Bytes dib = SeededDib(11, 6, 24, 9);
    Block block(BlockFrom(dib));
    for (const int format : {FMT_WMF, FMT_CLP, FMT_EMF}) {
        SCOPED_TRACE(format);
        const std::string path = dir.path("routed" + std::to_string(format));
        EXPECT_NE(SaveDIBInImageFormat(path.c_str(), block.get(), format, 0, 0), 0);
        EXPECT_EQ(GetImageFormat(path.c_str()), format);
        int status = 0;
        Block loaded(LoadImageIntoDIB(path.c_str(), 1, &status));
        ASSERT_NE(loaded, nullptr);
        EXPECT_EQ(BlockBytes(loaded.get()), OnScreen(dib));
    }
}

TEST(MetafileBridge, EachKindHasItsSize) {
    TempDir dir;
    const Bytes empty = WindowsMetaFile();
    const struct { const char* name; Bytes file; const char* size; int code; } cases[] = {
        {"placeable, twips", Placeable(0, 0, 1440, 720, 1440, empty), "96 x 48", IMGERR_SUCCESS},
        {"placeable, box upside down", Placeable(300, 200, 0, 0, 300, empty), "96 x 64", IMGERR_SUCCESS},
        {"placeable, truncated", Placeable(0, 0, 10, 10, 7, empty), "137 x 137", IMGERR_SUCCESS},
        {"placeable, zero units", Placeable(0, 0, 100, 100, 0, empty), "none", IMGERR_FILEFORMAT},
        {"placeable, gigantic", Placeable(-32768, -32768, 32767, 32767, 1, empty), "none", IMGERR_NOMEMORY},
        {"placeable, empty box", Placeable(5, 5, 5, 9, 96, empty), "none", IMGERR_BITMAPPARAMS},
        {"plain, window extent", MetaBytes().record(0x20C, {-30, 40}).end().bytes(), "40 x 30", IMGERR_SUCCESS},  // y first
        {"plain, no window extent", empty, "480 x 480", IMGERR_SUCCESS},
        {"not a metafile", Text("neither kind of metafile, nor anything else"), "none", IMGERR_FILEFORMAT},
        {"header only", Cut(empty, 18), "480 x 480", IMGERR_SUCCESS},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string path = dir.write("sized.wmf", c.file);
        HBITMAP bitmap = nullptr;
        EXPECT_EQ(Code([&] { bitmap = LoadMetaFileIntoBitmap(path.c_str()); }), c.code);
        EXPECT_EQ(SizeOf(bitmap), c.size);
        if (bitmap) DeleteObject(bitmap);
    }
    EXPECT_EQ(Code([&] { LoadMetaFileIntoBitmap(dir.path("missing.wmf").c_str()); }), IMGERR_OPENFILE);
}

TEST(MetafileBridge, RefusalsCarryTheirCodes) {
    TempDir dir;
    Block dib(MakeDib({4, 4, 24}));
    Block torn(BlockFrom(Cut(SeededDib(40, 40, 24), 100)));
    const std::string out = dir.path("out.wmf");
    EXPECT_EQ(Code([&] { EXPECT_EQ(LoadMetaFileIntoBitmap(nullptr), nullptr); }), IMGERR_OPENFILE);
    EXPECT_EQ(Code([&] { EXPECT_EQ(DrawMetaFileIntoBitmap(nullptr, 10, 10, nullptr), nullptr); }), IMGERR_PARAMETER);
    for (auto save : {SaveDIBIntoMetaFile, SaveDIBIntoEnhMetaFile}) {
        EXPECT_EQ(Code([&] { EXPECT_EQ(save(nullptr, nullptr, out.c_str()), 0); }), IMGERR_PARAMETER);
        EXPECT_EQ(Code([&] { EXPECT_EQ(save(nullptr, torn.get(), out.c_str()), 0); }), IMGERR_PARAMETER);
        EXPECT_EQ(Code([&] { EXPECT_EQ(save(nullptr, dib.get(), nullptr), 0); }), IMGERR_OPENFILE);
    }
    for (auto save : {SaveBitmapIntoMetaFile, SaveBitmapIntoEnhMetaFile})
        EXPECT_EQ(Code([&] { EXPECT_EQ(save(nullptr, nullptr, out.c_str()), 0); }), IMGERR_PARAMETER);
    EXPECT_EQ(Code([&] { EXPECT_EQ(PlaceMetaFileIntoBMPFromCLP(out.c_str(), nullptr, nullptr), FALSE); }), IMGERR_PARAMETER);
    EXPECT_EQ(Code([&] { EXPECT_EQ(PlaceMetaFileIntoDIBFromCLP(out.c_str(), nullptr, nullptr), nullptr); }), IMGERR_PARAMETER);
    EXPECT_EQ(Code([&] { EXPECT_EQ(SaveDIBIntoMetaFile(nullptr, dib.get(), dir.path("no/such/dir.wmf").c_str()), 0); }),
              IMGERR_CREATEMETAFILE);
    const Bytes wmf = WindowsMetaFile();
    HMETAFILE metafile = SetMetaFileBitsEx(UINT(wmf.size()), wmf.data());
    const struct { int width, height, code; } sizes[] = {
        {0, 5, IMGERR_BITMAPPARAMS}, {5, -1, IMGERR_BITMAPPARAMS}, {1 << 15, 1 << 14, IMGERR_NOMEMORY}, {INT32_MAX, INT32_MAX, IMGERR_NOMEMORY}};
    for (const auto& s : sizes)
        EXPECT_EQ(Code([&] { EXPECT_EQ(DrawMetaFileIntoBitmap(metafile, s.width, s.height, nullptr), nullptr); }), s.code);
    EXPECT_EQ(SizeOf(DrawMetaFileIntoBitmap(metafile, 1 << 14, 1 << 14, nullptr)), "16384 x 16384");
    DeleteMetaFile(metafile);
}

TEST(MetafileBridge, ClipboardPicturesArePlacedIntoARectangleOnly) {
    TempDir dir;
    // A 4 x 4 red picture, placed into (2, 3)-(6, 7) of a 10 x 9 blue image.
    Block red(BlockFrom(Solid(4, 4, 0, 0, 255)));
    const std::string wmf = dir.path("red.wmf");
    ASSERT_EQ(SaveDIBIntoMetaFile(nullptr, red.get(), wmf.c_str()), 1);
    const std::string clp = dir.write("red.clp", ClipboardFile({{8, SeededDib(2, 2, 8)}, {3, MetafilePicture(MM_TEXT, 4, 4, ReadFileBytes(wmf))}}));
    const Bytes blue = Solid(10, 9, 255, 0, 0);
    Block image(BlockFrom(blue));
    const RECT area{2, 3, 6, 7};
    Block placed(PlaceMetaFileIntoDIBFromCLP(clp.c_str(), image.get(), &area));
    ASSERT_NE(placed, nullptr);
    Bytes expected = blue;  // rows are stored bottom-up
    for (int y = area.top; y < area.bottom; ++y)
        for (int x = area.left; x < area.right; ++x) {
            const size_t at = 40 + size_t(8 - y) * Stride(10, 24) + 3 * size_t(x);
            expected.at(at) = 0, expected.at(at + 2) = 255;
        }
    EXPECT_EQ(BlockBytes(placed.get()), OnScreen(expected));
    EXPECT_EQ(BlockBytes(image.get()), blue);  // the source stays as it was

    // The whole bitmap when no rectangle is given; a file without a picture is refused.
    HBITMAP bitmap = ConvertDIBToBitmap(image.get());
    EXPECT_TRUE(PlaceMetaFileIntoBMPFromCLP(clp.c_str(), bitmap, nullptr));
    EXPECT_EQ(PixelsOf(bitmap), OnScreen(Solid(10, 9, 0, 0, 255)));
    const std::string noPicture = dir.write("dib.clp", ClipboardFile({{8, SeededDib(2, 2, 8)}}));
    EXPECT_EQ(Code([&] { EXPECT_EQ(PlaceMetaFileIntoDIBFromCLP(noPicture.c_str(), image.get(), &area), nullptr); }),
              IMGERR_CLIPFORMATNOTFOUND);
}
