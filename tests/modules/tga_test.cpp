// TGA: round trips of every depth, stored and coded, from both origins (the writer's mode the
// library never passes is reached through the module itself), files other tools wrote, every
// origin corner, and hostile files.
#include <cstring>

#include "module_test_support.hpp"

namespace {

using namespace vxtest;

// The tests load through the module itself: the library takes a run-length colour-mapped file
// (type 9 in the 16-bit word at offset 2) for a metafile before it looks at the name.
using SaveTgaFn = int(VXMODULECALL*)(LPCSTR, HDIB, int, int);
using LoadTgaFn = HDIB(VXMODULECALL*)(LPCSTR, int*);
const auto SaveTga = reinterpret_cast<SaveTgaFn>(ModuleEntry("VXTGAW", "SaveDIBInTGAFormat"));

Loaded LoadTga(const std::filesystem::path& path) {
    static const auto load = reinterpret_cast<LoadTgaFn>(ModuleEntry("VXTGAR", "LoadTGAIntoDIB"));
    Loaded result;
    SetImgError(0);
    HeldDib dib(load(path.string().c_str(), &result.status));
    result.error = ImgError();
    if ((result.ok = bool(dib))) result.image = ImageOf(dib.get());
    return result;
}

TEST(Tga, EveryDepthRoundTripsStoredAndCodedFromBothOrigins) {
    ScratchDir dir;
    const auto path = dir / "r.tga";
    const SaveTgaFn save = SaveTga;
    ASSERT_NE(save, nullptr);
    for (int bits : {1, 4, 8, 24})
        for (bool gray : {false, true})
            for (int runLength : {0, 1})
                for (int mode : {0, 1}) {
                    const TestImage image = Pattern(37, 23, bits, uint32_t(bits + runLength), gray && bits == 8);
                    const std::string what = std::to_string(bits) + (gray ? " gray" : "") + " rle " +
                                             std::to_string(runLength) + " mode " + std::to_string(mode);
                    HeldDib dib(DibOf(image));
                    ASSERT_EQ(save(path.string().c_str(), dib.get(), runLength, mode), 1) << what;
                    const Bytes file = ReadBytes(path);
                    EXPECT_EQ(file[2] & 8, runLength * 8) << what;
                    EXPECT_EQ(file[17], mode == 0 ? 0x20 : 0) << what;
                    const Loaded back = LoadTga(path);
                    ASSERT_TRUE(back.ok) << what;
                    const std::string diff =
                        bits == 8 ? CompareIndexed(back.image, image) : CompareRgb(back.image, image);
                    EXPECT_EQ(diff, "") << what;
                }
    SetImgError(0);
    HeldDib dib(DibOf(Pattern(4, 4, 24)));
    EXPECT_EQ(save(path.string().c_str(), dib.get(), 0, 2), 0);
    EXPECT_EQ(save(path.string().c_str(), dib.get(), 2, 1), 0);
    EXPECT_EQ(ImgError(), IMGERR_PARAMETER);
}

TEST(Tga, FilesOtherToolsWroteDecodeToTheirPixels) {
    const std::pair<const char*, int> files[] = {
        {"tga_im_24.ref.ppm", 0},       {"tga_im_24_rle.ref.ppm", 0},    {"tga_im_16.ref.ppm", 0},
        {"tga_im_32.ref.ppm", 1},       {"tga_im_32_rle.ref.ppm", 1},    {"tga_im_mapped.ref.ppm", 0},
        {"tga_im_mapped_rle.ref.ppm", 0}, {"tga_im_gray.ref.pgm", 0},    {"tga_im_gray_rle.ref.pgm", 0},
        {"tga_nb_rgb_rle.ref.ppm", 0},  {"tga_nb_rgb.ref.ppm", 0},       {"tga_nb_mapped_rle.ref.ppm", 0},
        {"tga_nb_mapped.ref.ppm", 0},   {"tga_nb_gray_rle.ref.ppm", 0}};
    for (const auto& [ref, tolerance] : files) {
        const std::string name = std::string(ref).substr(0, std::strlen(ref) - 8);
        const bool type9 = ReadBytes(DataFile(name + ".tga"))[2] == 9;
        const Loaded got = type9 ? LoadTga(DataFile(name + ".tga")) : LoadThroughLibrary(DataFile(name + ".tga"));
        ASSERT_TRUE(got.ok) << name << " status " << got.status;
        EXPECT_EQ(CompareRgb(got.image, ReadNetpbm(DataFile(ref)), tolerance), "") << name;
    }
}

TEST(Tga, EveryOriginCornerPlacesTheRows) {
    ScratchDir dir;
    const Bytes stored = ReadBytes(DataFile("tga_im_24_rle.tga"));  // bottom-left
    const TestImage ref = ReadNetpbm(DataFile("tga_im_24_rle.ref.ppm"));
    for (uint8_t corner : {0x00, 0x10, 0x20, 0x30}) {
        Bytes file = stored;
        file[17] = corner;
        WriteBytes(dir / "c.tga", file);
        const Loaded got = LoadTga(dir / "c.tga");
        ASSERT_TRUE(got.ok);
        TestImage want = ref;
        for (int y = 0; y < ref.height; ++y)
            for (int x = 0; x < ref.width; ++x) {
                const int fx = corner & 0x10 ? ref.width - 1 - x : x, fy = corner & 0x20 ? ref.height - 1 - y : y;
                const size_t to = (size_t(y) * ref.width + x) * 3, from = (size_t(fy) * ref.width + fx) * 3;
                std::memcpy(&want.pixels[to], &ref.pixels[from], 3);
            }
        EXPECT_EQ(CompareRgb(got.image, want), "") << int(corner);
    }
}

// A colour-mapped 2 x 2 image with a map of `entries` 24-bit entries, then `pixels`.
Bytes MappedFile(int entries, int type, const Bytes& pixels) {
    Bytes file(18 + size_t(entries) * 3 + pixels.size(), 0);
    file[1] = 1, file[2] = uint8_t(type), file[5] = uint8_t(entries), file[6] = uint8_t(entries >> 8), file[7] = 24;
    file[12] = 2, file[14] = 2, file[16] = 8, file[17] = 0x20;
    for (int i = 0; i < entries * 3; ++i) file[18 + i] = uint8_t(i);
    std::copy(pixels.begin(), pixels.end(), file.end() - std::ptrdiff_t(pixels.size()));
    return file;
}

TEST(Tga, HostileFilesFailCleanly) {
    ScratchDir dir;
    const auto path = dir / "h.tga";
    const struct {
        Bytes file;
        int status;
    } cases[] = {
        {MappedFile(0, 1, {0, 0, 0, 0}), VXSTATUS_CORRUPT},
        {MappedFile(4, 1, {0, 1, 2, 4}), VXSTATUS_CORRUPT},     // an index past the map
        {MappedFile(4, 9, {0x83}), VXSTATUS_TRUNCATED},         // a packet without its pixel
        {MappedFile(4, 9, {0x85, 3}), VXSTATUS_OK},             // one packet longer than the image
        {MappedFile(4, 9, {0x81, 3, 0x01, 2, 1}), VXSTATUS_OK},  // packets crossing a row
        {MappedFile(1000, 1, {255, 0, 9, 200}), VXSTATUS_OK},
        {MappedFile(4, 4, {0, 0, 0, 0}), VXSTATUS_NOTFORMAT},
    };
    for (const auto& c : cases) {
        WriteBytes(path, c.file);
        const Loaded got = LoadTga(path);
        EXPECT_EQ(got.status, c.status) << &c - cases;
        EXPECT_EQ(got.ok, c.status == VXSTATUS_OK) << &c - cases;
    }
    // The map of 1000 entries gives its first 256; the crossing packets give 3, 3, 2, 1.
    WriteBytes(path, cases[5].file);
    const TestImage big = LoadTga(path).image;
    ASSERT_EQ(big.palette.size(), 256u);
    EXPECT_EQ(big.rgb(0, 0), 0xFFFEFDu);  // entry 255: bytes 765 to 767 of the map
    WriteBytes(path, cases[4].file);
    EXPECT_EQ(LoadTga(path).image.pixels, (Bytes{3, 3, 2, 1}));
    // A 65535 x 65535 claim in a few bytes costs nothing.
    Bytes bomb = MappedFile(4, 9, Bytes(60, 0xFF));
    bomb[12] = bomb[13] = bomb[14] = bomb[15] = 0xFF;
    WriteBytes(path, bomb);
    EXPECT_EQ(LoadTga(path).status, VXSTATUS_TOOLARGE);
    auto load = [](const std::filesystem::path& p) { return LoadTga(p).ok; };
    for (const char* name : {"tga_nb_mapped_rle.tga", "tga_im_16.tga"})
        SweepHostileVersions(ReadBytes(DataFile(name)), dir / "s.tga", load);
}

}  // namespace
