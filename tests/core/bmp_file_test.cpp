// Reading DIB headers from files, loading and saving BMP files, and files built to hurt.

#include "export_calls.hpp"

#if !defined(_WIN32)
#include <unistd.h>
#endif

using namespace vxtest;

namespace {

Bytes Loaded(const TempDir& dir, const Bytes& file) {
    Block dib(LoadDIBFromFile(dir.write("in.bmp", file).c_str()));
    return dib ? BlockBytes(dib.get()) : Bytes{};
}

}  // namespace

// Reading starts where the file stands and leaves it at the first pixel byte: after the table,
// or at bfOffBits counted from where the file header began.
TEST(ReadDIBInfo, ReadsHeaderAndTableAndStopsAtThePixels) {
    Bytes info = PackedDib({5, 3, 4}), core = PackedDib({5, 3, 4, 0, true});
    PutU32(info, 20, 0);  // biSizeImage and biClrUsed are filled in
    const struct { const char* name; Bytes file; LONG pixels; } cases[] = {
        {"bare packed DIB", info, 7 + 104}, {"offBits 0", BmpFile(info, 0), 7 + 14 + 104},
        {"offBits past a gap", BmpFile(info, 14 + 104 + 6), 7 + 14 + 104 + 6},
        {"core header", BmpFile(core, 0), 7 + 14 + 12 + 48},
    };
    TempDir dir;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Bytes file(7 + c.file.size(), 0xCC);
        std::copy(c.file.begin(), c.file.end(), file.begin() + 7);
        const HFILE f = _lopen(dir.write("info.bmp", file).c_str(), OF_READ);
        ASSERT_EQ(_llseek(f, 7, FILE_BEGIN), 7);
        Block block(ReadDIBInfo(f));
        EXPECT_EQ(_llseek(f, 0, FILE_CURRENT), c.pixels);
        _lclose(f);
        const Bytes got = BlockBytes(block.get());
        ASSERT_EQ(got.size(), 104u);
        EXPECT_EQ(GetU32(got, 20), 12u);  // 4 bytes a row, 3 rows
        EXPECT_EQ(GetU32(got, 32), 16u);
    }
    SetImgError(IMGERR_SUCCESS);
    EXPECT_EQ(ReadDIBInfo(HFILE_ERROR), nullptr);
    EXPECT_EQ(ImgError(), IMGERR_PARAMETER);
}

#if !defined(_WIN32)
// A pipe cannot tell how much it holds: a table longer than 256 entries is refused before
// anything is allocated for it, while one of up to 256 is read as far as the pipe goes.
TEST(ReadDIBInfo, AHandleThatCannotSeekHasNoRoomForALongTable) {
    for (const uint32_t colours : {0x10000000u, 257u, 256u}) {
        SCOPED_TRACE(colours);
        Bytes dib = PackedDib({4, 2, 8, 0});
        dib.resize(40);
        PutU32(dib, 32, colours);
        const Bytes file = BmpFile(dib, 0);  // a pipe cannot go back, so the file header says BM
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        ASSERT_EQ(write(ends[1], file.data(), file.size()), 54);
        close(ends[1]);
        SetImgError(IMGERR_SUCCESS);
        Block block(ReadDIBInfo(ends[0]));
        close(ends[0]);
        EXPECT_EQ(block != nullptr, colours == 256u);
        EXPECT_EQ(ImgError(), colours == 256u ? IMGERR_SUCCESS : IMGERR_FILEFORMAT);
    }
}
#endif

// A plain file loads as its packed DIB byte for byte, and saving that gives the file back.
TEST(LoadDIBFromFile, RoundTripsEveryDepthAtAwkwardWidths) {
    TempDir dir;
    for (const uint16_t depth : {1, 4, 8, 24}) {
        for (const int32_t width : {1, 3, 31, 33}) {
            const DibShape shape{width, 3, depth, depth == 24 ? 0u : 1u << depth, false, width * 31u + depth};
            SCOPED_TRACE(testing::Message() << depth << "-bit, width " << width << ", seed " << shape.seed);
            Block dib(LoadDIBFromFile(dir.write("in.bmp", PlainBmp(shape)).c_str()));
            ASSERT_NE(dib, nullptr);
            EXPECT_EQ(BlockBytes(dib.get()), PackedDib(shape));
            ASSERT_TRUE(SaveDIB(dir.path("out.bmp").c_str(), dib.get()));
            EXPECT_EQ(ReadFileBytes(dir.path("out.bmp")), PlainBmp(shape));
        }
    }
    SetImgError(IMGERR_SUCCESS);
    EXPECT_EQ(LoadDIBFromFile(dir.path("absent.bmp").c_str()), nullptr);
    EXPECT_EQ(ImgError(), IMGERR_OPENFILE);
}

// Files that are not plain BMP files but load, leaving the error code alone.
TEST(LoadDIBFromFile, WidensCoreHeadersAndToleratesOddSizesAndDamage) {
    const Bytes core = PackedDib({5, 2, 8, 0, true});
    Bytes widened = PackedDib({5, 2, 8, 256});
    const uint32_t fields[4] = {0, 0, 256, 256};  // no resolution; clrUsed and clrImportant
    std::memcpy(&widened[24], fields, sizeof fields);
    for (int i = 0; i < 256; ++i) std::memcpy(&widened[40 + i * 4], &core[12 + i * 3], 3);
    std::copy(core.begin() + 780, core.end(), widened.begin() + 1064);
    const DibShape topDown{5, -2, 8, 256}, many{4, 2, 8, 300};
    Bytes understated = PackedDib({9, 4, 8, 256}), rle = understated;
    PutU32(understated, 20, 4);  // the block still gets room for all rows
    PutU32(rle, 16, BI_RLE8);
    PutU32(rle, 20, 10);  // a compressed DIB loads with its own size
    // The DIB in a file, with its bytes from `at` on read as zero.
    auto zeroFrom = [](const Bytes& file, size_t at) {
        Bytes b(file.begin() + 14, file.end());
        std::fill(b.begin() + at, b.end(), 0);
        return b;
    };
    const Bytes cutRows = PlainBmp({5, 4, 8, 256}), shortTable = PlainBmp({4, 2, 8, 200});
    Bytes farPixels = cutRows, overstated = cutRows, overstatedDib = PackedDib({5, 4, 8, 256});
    PutU32(farPixels, 10, 100000);
    PutU32(overstated, 14 + 20, 0xF0000000u);  // honoured only as far as the file holds bytes
    PutU32(overstatedDib, 20, 0xF0000000u);
    const struct { const char* name; Bytes file, dib; } cases[] = {
        {"core header", BmpFile(core, 0), widened}, {"top-down rows", PlainBmp(topDown), PackedDib(topDown)},
        {"understated biSizeImage", BmpFile(understated, 14 + 1064), understated},
        {"RLE8", BmpFile(rle, 0), Bytes(rle.begin(), rle.begin() + 1064 + 10)},
        {"more than 256 colours", PlainBmp(many), PackedDib(many)},
        {"rows cut short", Bytes(cutRows.begin(), cutRows.end() - 12), zeroFrom(cutRows, 1064 + 20)},
        {"pixels past the end", farPixels, zeroFrom(farPixels, 1064)},
        {"overstated biSizeImage", overstated, overstatedDib},
        {"table cut short", Bytes(shortTable.begin(), shortTable.begin() + 454), zeroFrom(shortTable, 440)},
    };
    TempDir dir;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        SetImgError(IMGERR_COPYBITS);
        EXPECT_EQ(Loaded(dir, c.file), c.dib);
        EXPECT_EQ(ImgError(), IMGERR_COPYBITS);
    }
}

// A file of the same name, longer or shorter, is replaced whole.
TEST(SaveDIB, WritesTheFileHeaderAndTheWholeBlockSlackIncluded) {
    TempDir dir;
    for (const DibShape& shape : {DibShape{7, 3, 4}, DibShape{7, 3, 8, 0, true}}) {
        Block dib(MakeDib(shape, 16));  // the slack is written too, and counted in bfSize
        const Bytes bytes = BlockBytes(dib.get());
        SetImgError(IMGERR_OPENFILE);  // success does not clear it
        dir.write("out.bmp", Bytes(shape.bitCount == 4 ? 5000 : 7, 0xEE));
        ASSERT_TRUE(SaveDIB(dir.path("out.bmp").c_str(), dib.get()));
        EXPECT_EQ(ReadFileBytes(dir.path("out.bmp")), BmpFile(bytes, 14 + PixelOffset(shape)));
        EXPECT_EQ(ImgError(), IMGERR_OPENFILE);
        EXPECT_EQ(BlockBytes(dib.get()), bytes);
    }
}

TEST(SaveDIB, RefusesBadBlocksBeforeTouchingTheFile) {
    TempDir dir;
    const Bytes kept = {'k', 'e', 'e', 'p'};
    const std::string path = dir.write("keep.bmp", kept);
    Bytes cut = PackedDib({4, 4, 8});
    cut.resize(140);
    Block undersized(BlockFrom(cut)), tiny(BlockFrom({40, 0, 0})), dib(MakeDib({4, 4, 8}));
    for (HDIB bad : {static_cast<HDIB>(nullptr), undersized.get(), tiny.get()}) {
        SetImgError(IMGERR_SUCCESS);
        EXPECT_FALSE(SaveDIB(path.c_str(), bad));
        EXPECT_EQ(ImgError(), IMGERR_PARAMETER);
        EXPECT_EQ(ReadFileBytes(path), kept);
    }
    EXPECT_FALSE(SaveDIB(dir.path("no/such/dir.bmp").c_str(), dib.get()));
    EXPECT_EQ(ImgError(), IMGERR_OPENFILE);
#ifndef _WIN32
    EXPECT_FALSE(SaveDIB("/dev/full", dib.get()));  // every write fails there
    EXPECT_EQ(ImgError(), IMGERR_IO);
#endif
}

// Damaged and malicious files: each is refused with its code; the sanitizer build checks that
// none of them makes a read or write outside a block.
TEST(HostileFiles, AreRefusedWithTheirCode) {
    const Bytes rgb = PlainBmp({4, 2, 24}), indexed = PlainBmp({4, 2, 8});
    Bytes core = BmpFile(PackedDib({4, 2, 8, 0, true}), 0);
    PutU16(core, 18, 0);
    const struct { const char* what; Bytes file; int code; } cases[] = {
        {"empty", {}, IMGERR_IO}, {"cut in the file header", Cut(rgb, 9), IMGERR_IO},
        {"cut in the info header", Cut(rgb, 34), IMGERR_IO},
        {"bare DIB cut in its header", Cut(PackedDib({4, 2, 24}), 30), IMGERR_IO},
        {"wrong signature", With(rgb, 0, 0x00005842), IMGERR_FILEFORMAT},
        {"header size 108", With(rgb, 14, 108), IMGERR_FILEFORMAT},
        {"header size 124", With(rgb, 14, 124), IMGERR_FILEFORMAT},
        {"header size 0", With(rgb, 14, 0), IMGERR_FILEFORMAT}, {"width 0", With(rgb, 18, 0), IMGERR_FILEFORMAT},
        {"negative width", With(rgb, 18, 0xFFFFFFFC), IMGERR_FILEFORMAT},
        {"height 0", With(rgb, 22, 0), IMGERR_FILEFORMAT}, {"core width 0", core, IMGERR_FILEFORMAT},
        {"65536 x 65536 x 8 wraps to 0", With(With(indexed, 18, 65536), 22, 65536), IMGERR_FILEFORMAT},
        {"stride wraps", With(rgb, 18, 0x40000000), IMGERR_FILEFORMAT},
        {"height INT_MIN", With(rgb, 22, 0x80000000), IMGERR_FILEFORMAT},
        {"1000 colours past the end", With(indexed, 46, 1000), IMGERR_FILEFORMAT},
        {"2^32-1 colours", With(indexed, 46, 0xFFFFFFFF), IMGERR_FILEFORMAT},
    };
    TempDir dir;
    ExpectRefusals(Reports::kModuleCode, cases,
                   [&](HDIB, const auto& c, auto) { return LoadDIBFromFile(dir.write("in.bmp", c.file).c_str()); });
}
