// Clipboard files: the directory walk, the formats read, the metafile-picture sizes, the file
// written, and every refusal with its code.
#include <gtest/gtest.h>

#include <filesystem>

#include "clipboard_files.hpp"
#include "dib_builder.hpp"
#include "formats_files.hpp"

using namespace vxtest;

TEST(LoadClipboardFormat, RefusalsCarryTheirCodeInTheOrderChecked) {
    TempDir dir;
    const Bytes dib = SeededDib(5, 3, 8);
    const struct { const char* name; Bytes file; WORD format; int code; } cases[] = {
        {"bad signature, empty directory", ClipboardFile({}, 0, 50001), 8, IMGERR_FILEFORMAT},
        {"shorter than its signature", Bytes{0x50}, 8, IMGERR_FILEFORMAT},
        {"empty directory", ClipboardFile({{8, dib}}, 0), 8, IMGERR_CLIPFORMATNOTFOUND},
        {"no entry of the format", ClipboardFile({{2, dib}, {1, Text("x")}}), 8, IMGERR_CLIPFORMATNOTFOUND},
        {"directory cut short", Cut(ClipboardFile({{8, dib}}, 40000), 4 + 89), 2, IMGERR_CLIPFORMATNOTFOUND},
        {"found but not read", ClipboardFile({{4, dib, -1, 0x80000000u}}), 4, IMGERR_CLIPFORMATNOTFOUND},
        {"data past the end", ClipboardFile({{8, dib, int64_t(dib.size()) + 1}}), 8, IMGERR_IO},
        {"offset past the end", ClipboardFile({{2, dib, -1, 1 << 20}}), 2, IMGERR_IO},
        {"offset beyond 2 GiB", ClipboardFile({{2, dib, -1, 0x80000000u}}), 2, IMGERR_IO},
        {"length 4 GiB - 1", ClipboardFile({{1, dib, 0xFFFFFFFFu}}), 1, IMGERR_IO},
        {"offset and length summing past 2^32", ClipboardFile({{8, dib, 0xFFFFFF00u, 0x200}}), 8, IMGERR_IO},
        {"picture shorter than its header", ClipboardFile({{3, Bytes(8, 1)}}), 3, IMGERR_IO},
        {"picture header cut by the file", Cut(ClipboardFile({{3, MetafilePicture(1, 2, 2)}}), 4 + 89 + 10), 3, IMGERR_IO},
    };
    const auto refusal = [](const char* path, WORD format) {
        return Code([&] { EXPECT_EQ(LoadClipboardFormat(path, format), nullptr); });
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(refusal(dir.write("case.clp", c.file).c_str(), c.format), c.code);
    }
    EXPECT_EQ(refusal(dir.path("missing.clp").c_str(), 8), IMGERR_OPENFILE);
    EXPECT_EQ(refusal(nullptr, 8), IMGERR_OPENFILE);
}

TEST(LoadClipboardFormat, TheFirstEntryOfTheFormatIsRead) {
    TempDir dir;
    const Bytes first = SeededDib(7, 5, 4, 3), second = SeededDib(9, 2, 8, 4), raw = Text("device bits");
    const std::string path = dir.write("two.clp", ClipboardFile({{2, raw}, {8, first}, {8, second}}));

    // CF_DIB: a device bitmap made of the first DIB entry, as the bridge makes it.
    Block direct(BlockFrom(first));
    EXPECT_EQ(PixelsOf(static_cast<HBITMAP>(LoadClipboardFormat(path.c_str(), 8))),
              PixelsOf(ConvertDIBToBitmap(direct.get())));

    // CF_BITMAP: the entry's bytes in a block of exactly their length.
    Block block(LoadClipboardFormat(path.c_str(), 2));
    EXPECT_EQ(BlockBytes(block.get()), raw);
}

TEST(LoadClipboardFormat, MetafilePicturesAreSizedByTheirMappingMode) {
    HDC screen = GetDC(nullptr);
    const std::pair<int, int> dpi{GetDeviceCaps(screen, LOGPIXELSX), GetDeviceCaps(screen, LOGPIXELSY)};
    ReleaseDC(nullptr, screen);
    ASSERT_EQ(dpi, std::make_pair(96, 96));  // the expected sizes below are at 96 dpi
    TempDir dir;
    const struct { int mode, x, y; const char* size; } cases[] = {
        {MM_TEXT, 37, 21, "37 x 21"},
        {MM_LOMETRIC, 100, 254, "37 x 96"},
        {MM_HIMETRIC, 2540, 1270, "96 x 48"},
        {MM_LOENGLISH, 100, 50, "96 x 48"},
        {MM_HIENGLISH, 1000, 333, "96 x 31"},
        {MM_TWIPS, 100, 50, "2000 x 1000"},        // twenty pixels a twip, whatever the resolution
        {MM_ISOTROPIC, 2540, 5080, "96 x 192"},
        {MM_ISOTROPIC, -2, -3, "192 x 288"},       // the negative branch: -(X x dx)
        {MM_ISOTROPIC, 0, 7, "none"},              // ...which makes no bitmap for 0
        {MM_ANISOTROPIC, 0, 999, "480 x 480"},     // five inches, Y unused
        {MM_ANISOTROPIC, 1270, -5, "48 x none"},   // the branch goes by X alone
        {42, 1, 1, "480 x 480"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.size);
        const std::string path = dir.write("picture.clp", ClipboardFile({{3, MetafilePicture(c.mode, c.x, c.y)}}));
        HANDLE bitmap = LoadClipboardFormat(path.c_str(), 3);
        const std::string expected = std::string(c.size).find("none") != std::string::npos ? "none" : c.size;
        EXPECT_EQ(SizeOf(bitmap), expected);
        if (bitmap) DeleteObject(bitmap);
    }
}

TEST(LoadClipboardFormat, TextEntriesRenderThroughTheTextRenderer) {
    TempDir dir;
    Bytes text = Text("clipboard text\r\nsecond line");
    text.push_back(0);
    const std::string path = dir.write("text.clp", ClipboardFile({{1, text}}));
    Block block(BlockFrom(text));
    HBITMAP direct = LoadASCIIIntoBitmap(block.get());
    ASSERT_NE(direct, nullptr);
    HANDLE viaFile = LoadClipboardFormat(path.c_str(), 1);
    EXPECT_EQ(SizeOf(viaFile), SizeOf(direct));
    EXPECT_EQ(PixelsOf(static_cast<HBITMAP>(viaFile)), PixelsOf(direct));
}

TEST(SaveClipboardFormat, WritesOneDibEntryThatReadsBack) {
    TempDir dir;
    for (const auto& shape : {DibShape{13, 7, 1}, DibShape{6, 3, 24}}) {
        SCOPED_TRACE(shape.bitCount);
        Block source(MakeDib(shape));
        HBITMAP bitmap = ConvertDIBToBitmap(source.get());
        ASSERT_NE(bitmap, nullptr);
        Block dib(ConvertBitmapToDIB(bitmap, nullptr));
        const Bytes expectedDib = BlockBytes(dib.get());
        const uint32_t length = 40 + PaletteSize(static_cast<LPSTR>(GlobalLock(dib.get()))) + GetU32(expectedDib, 20);
        GlobalUnlock(dib.get());

        const std::string path = dir.path("saved.clp");
        EXPECT_TRUE(SaveClipboardFormat(path.c_str(), bitmap));
        const Bytes file = ReadFileBytes(path);
        ASSERT_EQ(file.size(), 93 + length);
        EXPECT_EQ(Bytes(file.begin(), file.begin() + 14), (Bytes{0x50, 0xC3, 1, 0, 8, 0, uint8_t(length), uint8_t(length >> 8), 0, 0, 93, 0, 0, 0}));
        EXPECT_EQ(Bytes(file.begin() + 14, file.begin() + 93), Bytes(79, 0));
        EXPECT_EQ(Bytes(file.begin() + 93, file.end()), Cut(expectedDib, length));
        EXPECT_EQ(PixelsOf(static_cast<HBITMAP>(LoadClipboardFormat(path.c_str(), 8))), PixelsOf(bitmap));
    }
    // No bitmap: FALSE without a code; a file that cannot be made: IMGERR_OPENFILE.
    SetImgError(IMGERR_NOTHINGTODO);
    EXPECT_FALSE(SaveClipboardFormat(dir.path("none.clp").c_str(), nullptr));
    EXPECT_EQ(ImgError(), IMGERR_NOTHINGTODO);  // left as it was
    EXPECT_FALSE(std::filesystem::exists(dir.path("none.clp")));
    Block source(MakeDib({4, 4, 24}));
    HBITMAP bitmap = ConvertDIBToBitmap(source.get());
    EXPECT_EQ(Code([&] { EXPECT_FALSE(SaveClipboardFormat(dir.path("no/such/dir.clp").c_str(), bitmap)); }),
              IMGERR_OPENFILE);
    DeleteObject(bitmap);
}
