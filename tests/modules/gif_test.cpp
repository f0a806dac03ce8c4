// The GIF module: round trips through the writer and reader, animation frames against the
// frames ImageMagick coalesces, other tools' files against their own decoding, hostile files.
#include <tuple>

#include "module_test_support.hpp"

namespace {

using namespace vxtest;

using SaveGif = int(VXMODULECALL*)(LPCSTR, HDIB, int, int*);
SaveGif Saver() { return reinterpret_cast<SaveGif>(ModuleEntry("VXGIFW", "SaveDIBInGIFFormat")); }

// A GIF by hand: a screen with a global table of 2^(bits) gray entries, one frame at 0,0 with
// its LZW code size and one data sub-block, then the trailer.
Bytes HandMadeGif(int screenW, int screenH, int tableBits, int frameW, int frameH, int codeSize, const Bytes& data) {
    Bytes gif{'G', 'I', 'F', '8', '7', 'a', uint8_t(screenW), uint8_t(screenW >> 8), uint8_t(screenH),
              uint8_t(screenH >> 8), uint8_t(0x80 | (tableBits - 1)), 0, 0};
    for (int i = 0; i < 1 << tableBits; ++i) gif.insert(gif.end(), 3, uint8_t(i));
    gif.insert(gif.end(), {',', 0, 0, 0, 0, uint8_t(frameW), uint8_t(frameW >> 8), uint8_t(frameH),
                           uint8_t(frameH >> 8), 0, uint8_t(codeSize), uint8_t(data.size())});
    gif.insert(gif.end(), data.begin(), data.end());
    gif.insert(gif.end(), {0, ';'});
    return gif;
}

TEST(Gif, PalettedImagesComeBackWithTheirIndicesAndTable) {
    ScratchDir dir;
    for (const int bits : {1, 4, 8})
        for (const int interlaced : {0, 1}) {
            const TestImage image = Pattern(37, 21, bits, uint32_t(bits + interlaced));
            ASSERT_EQ(SaveThroughLibrary(dir / "p.gif", image, FMT_GIF, interlaced), 1);
            const Bytes file = ReadBytes(dir / "p.gif");
            EXPECT_TRUE(file[4] == '7' && (file[13 + 3 * (2 << (file[10] & 7)) + 9] & 0x40) == (interlaced ? 0x40 : 0));
            const Loaded back = LoadThroughLibrary(dir / "p.gif");
            EXPECT_EQ(CompareIndexed(back.image, image), "") << bits << " bits, interlaced " << interlaced;
            EXPECT_TRUE(back.ok && back.image.xPelsPerMeter == 0);
        }
}

// Above 256 colours the median cut misses by 6 per sample on average, by 30 at worst here.
TEST(Gif, TwentyFourBitImagesAreExactUpTo256ColoursAndQuantisedAbove) {
    ScratchDir dir;
    const TestImage indexed = Pattern(30, 20, 8, 3);
    TestImage few{30, 20, 24, {}, {}, 0, 0}, many = Pattern(64, 48, 24);
    for (int i = 0; i < 600; ++i)
        for (int shift : {16, 8, 0}) few.pixels.push_back(uint8_t(indexed.rgb(i % 30, i / 30) >> shift));
    for (int i = 0; i < 64 * 48; ++i) many.pixels[3 * i + 2] = uint8_t(many.pixels[3 * i] / 2 + 40);  // smooth
    for (const auto& [image, tolerance] : {std::pair{few, 0}, std::pair{many, 32}}) {
        int param = 0;
        ASSERT_EQ(Saver()((dir / "c.gif").string().c_str(), HeldDib(DibOf(image)).get(), 0, &param), 1);
        const Loaded back = LoadThroughLibrary(dir / "c.gif");
        EXPECT_TRUE(back.ok && back.image.bits == 8 && param == 256);
        EXPECT_EQ(CompareRgb(back.image, image, tolerance), "");
    }
}

TEST(Gif, TransparentIndexShowsWhiteAndParamsAreChecked) {
    ScratchDir dir;
    const TestImage image = Pattern(19, 9, 4);  // entry 0 black, entry 1 white
    const std::string file = (dir / "t.gif").string();
    int param = 1;
    ASSERT_EQ(Saver()(file.c_str(), HeldDib(DibOf(image)).get(), 1, &param), 1);
    EXPECT_TRUE(param == 16 && ReadBytes(file)[4] == '9');
    const Loaded back = LoadThroughLibrary(file);
    TestImage want = image;
    for (auto& index : want.pixels) index = index == 0 ? 1 : index;
    EXPECT_EQ(CompareIndexed(back.image, want), "");

    for (const auto& [option, param] : {std::pair{2, 0}, {0, -1}, {0, 257}, {0, 17}}) {  // 17: past the table
        SetImgError(0);
        EXPECT_EQ(SaveThroughLibrary(file, image, FMT_GIF, option, param), 0) << option << " " << param;
        EXPECT_EQ(ImgError(), IMGERR_PARAMETER);
    }
}

TEST(Gif, AnimationFramesAreWhatImageMagickCoalesces) {
    const int expectedBits[] = {4, 24, 4, 4};  // frame 2 draws with a table of its own
    for (int page = 1; page <= 4; ++page) {
        const Loaded frame = LoadThroughLibrary(DataFile("gif_anim.gif"), page);
        EXPECT_TRUE(frame.ok && frame.image.bits == expectedBits[page - 1]) << page;
        EXPECT_EQ(CompareRgb(frame.image, ReadNetpbm(DataFile("gif_anim_frame" + std::to_string(page) + ".ppm"))), "")
            << "frame " << page;
    }
    const Loaded past = LoadThroughLibrary(DataFile("gif_anim.gif"), 5);
    EXPECT_TRUE(!past.ok && past.status == VXSTATUS_NOPAGE && past.error == IMGERR_FILEFORMAT);
}

TEST(Gif, OtherToolsFilesDecodeToTheirPixels) {
    const struct {
        const char* name;
        int bits;
    } files[] = {{"gif_im_bilevel", 1}, {"gif_im_16", 4}, {"gif_im_256_interlaced", 8}, {"gif_im_transparent", 24},
                 {"gif_gb_local", 4}};
    for (const auto& file : files) {
        const Loaded got = LoadThroughLibrary(DataFile(std::string(file.name) + ".gif"));
        EXPECT_TRUE(got.ok && got.image.bits == file.bits) << file.name;
        EXPECT_EQ(CompareRgb(got.image, ReadNetpbm(DataFile(std::string(file.name) + ".ppm"))), "") << file.name;
    }
}

TEST(Gif, AFileWithoutColourTablesReadsItsIndicesAsAGrayRamp) {
    ScratchDir dir;
    ASSERT_EQ(SaveThroughLibrary(dir / "g.gif", Pattern(12, 5, 1), FMT_GIF), 1);
    Bytes file = ReadBytes(dir / "g.gif");
    file[10] &= 0x7F;  // no global table, LZW code size 2: a ramp of 4 levels
    file.erase(file.begin() + 13, file.begin() + 19);
    WriteBytes(dir / "g.gif", file);
    const Loaded got = LoadThroughLibrary(dir / "g.gif");
    ASSERT_TRUE(got.ok && got.image.bits == 4);
    EXPECT_TRUE(got.image.palette[1].rgbRed == 85 && got.image.pixels == Pattern(12, 5, 1).pixels);
}

TEST(Gif, HostileFilesFailCleanly) {
    ScratchDir dir;
    const Bytes data{0x44, 0x01};  // clear code, then pixel 0, in 3-bit codes
    Bytes cutInTable = HandMadeGif(4, 4, 8, 4, 4, 2, data);
    cutInTable.resize(400);
    const std::tuple<const char*, Bytes, int> cases[] = {
        {"screen and frame of 65535 x 65535", HandMadeGif(65535, 65535, 1, 65535, 65535, 2, data), VXSTATUS_TOOLARGE},
        {"screen of 65535 x 65535", HandMadeGif(65535, 65535, 1, 4, 4, 2, data), VXSTATUS_TOOLARGE},
        {"LZW code size 12", HandMadeGif(4, 4, 1, 4, 4, 12, data), VXSTATUS_CORRUPT},
        {"LZW code size 0", HandMadeGif(4, 4, 1, 4, 4, 0, data), VXSTATUS_CORRUPT},
        {"data ending early", HandMadeGif(4, 4, 1, 4, 4, 2, data), VXSTATUS_CORRUPT},
        {"file ending in a 256-entry table", cutInTable, VXSTATUS_TRUNCATED},
    };
    for (const auto& [what, file, status] : cases) {
        WriteBytes(dir / "h.gif", file);
        const Loaded got = LoadThroughLibrary(dir / "h.gif");
        EXPECT_TRUE(!got.ok && got.status == status && got.error != 0) << what << ": " << got.status;
    }
    // Cut and overwritten versions of a real animation: any outcome but a fault.
    SweepHostileVersions(ReadBytes(DataFile("gif_anim.gif")), dir / "s.gif", [](const auto& path) {
        return LoadThroughLibrary(path, 4).ok;
    });
}

}  // namespace
