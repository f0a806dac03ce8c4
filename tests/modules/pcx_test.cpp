// PCX and DCX through the library: round trips of every depth, files other tools wrote, DCX pages
// appended and read back, and hostile files.
#include <cstring>

#include "module_test_support.hpp"

namespace {

using namespace vxtest;

TEST(Pcx, EveryDepthRoundTripsWithItsTableAndResolution) {
    ScratchDir dir;
    for (int bits : {1, 4, 8, 24})
        for (bool gray : {false, true}) {
            const TestImage image = Pattern(37, 23, bits, uint32_t(bits), gray && bits == 8);
            int bytes = -1;
            ASSERT_EQ(SaveThroughLibrary(dir / "p.pcx", image, FMT_PCX, 0, bytes), 1) << bits;
            const Loaded back = LoadThroughLibrary(dir / "p.pcx");
            ASSERT_TRUE(back.ok) << bits;
            EXPECT_EQ(back.status, VXSTATUS_OK);
            EXPECT_EQ(bits == 24 ? CompareRgb(back.image, image) : CompareIndexed(back.image, image), "") << bits;
            EXPECT_EQ(back.image.xPelsPerMeter, 2835);  // 72 dpi
            EXPECT_EQ(back.image.yPelsPerMeter, 3780);  // 96 dpi
        }
}

TEST(Pcx, FilesOtherToolsWroteDecodeToTheirPixels) {
    const std::pair<const char*, int> files[] = {
        {"pcx_im_palette", 0}, {"pcx_im_palette_stored", 0}, {"pcx_im_rgb", 0},    {"pcx_im_rgba", 1},
        {"pcx_nb_mono", 0},    {"pcx_nb_planes4", 0},        {"pcx_nb_packed4", 0}, {"pcx_nb_packed2", 0},
        {"pcx_nb_8bit", 0},    {"pcx_nb_24bit", 0}};
    for (const auto& [name, tolerance] : files) {
        const Loaded got = LoadThroughLibrary(DataFile(std::string(name) + ".pcx"));
        ASSERT_TRUE(got.ok) << name << " status " << got.status;
        EXPECT_EQ(CompareRgb(got.image, ReadNetpbm(DataFile(std::string(name) + ".ref.ppm")), tolerance), "") << name;
    }
}

// A DCX of one page: the table's first offset, then the page.
Bytes DcxFile(uint32_t offset, const Bytes& page) {
    Bytes file(12 + page.size(), 0);
    const uint32_t words[] = {0x3ADE68B1, offset};
    std::memcpy(file.data(), words, sizeof words);
    std::copy(page.begin(), page.end(), file.begin() + 12);
    return file;
}

TEST(Dcx, PagesAppendedThroughTheLibraryReadBackOneByOne) {
    ScratchDir dir;
    const TestImage pages[] = {Pattern(20, 9, 24), Pattern(33, 5, 1), Pattern(7, 40, 8)};
    for (const TestImage& page : pages) ASSERT_EQ(SaveThroughLibrary(dir / "d.dcx", page, FMT_DCX), 1);
    EXPECT_EQ(GetImageFormat((dir / "d.dcx").string().c_str()), FMT_DCX);
    for (int n = 0; n <= 3; ++n) {
        const Loaded got = LoadThroughLibrary(dir / "d.dcx", n);
        ASSERT_TRUE(got.ok) << n;
        EXPECT_EQ(CompareRgb(got.image, pages[std::max(n, 1) - 1]), "") << n;
    }
    const Loaded past = LoadThroughLibrary(dir / "d.dcx", 4);
    EXPECT_FALSE(past.ok);
    EXPECT_EQ(past.status, VXSTATUS_NOPAGE);
    EXPECT_EQ(past.error, IMGERR_FILEFORMAT);

    // A file that is not a DCX takes no page and keeps its bytes.
    const Bytes pcx = ReadBytes(DataFile("pcx_nb_mono.pcx"));
    WriteBytes(dir / "not.dcx", pcx);
    SetImgError(0);
    EXPECT_EQ(SaveThroughLibrary(dir / "not.dcx", pages[0], FMT_DCX), 0);
    EXPECT_EQ(ImgError(), IMGERR_FILEFORMAT);
    EXPECT_EQ(ReadBytes(dir / "not.dcx"), pcx);

    // Nor does a DCX whose table is full (1023 pages) or leaves no slot before its first page.
    for (const auto& [count, firstPage] : {std::pair{1023u, 4100u}, {1u, 12u}}) {
        Bytes full = DcxFile(firstPage, pcx);
        full.resize(std::max<size_t>(full.size(), 4100));
        for (uint32_t slot = 1; slot < count; ++slot) std::memcpy(&full[4 + 4 * slot], &firstPage, 4);
        WriteBytes(dir / "full.dcx", full);
        EXPECT_EQ(SaveThroughLibrary(dir / "full.dcx", pages[0], FMT_DCX), 0) << count;
        EXPECT_EQ(ImgError(), IMGERR_PARAMETER);
        EXPECT_EQ(ReadBytes(dir / "full.dcx"), full);
    }
}

// A header for a PCX of the given geometry, followed by `body`.
Bytes PcxFile(int width, int height, int bits, int planes, int bytesPerLine, const Bytes& body) {
    Bytes file(128 + body.size(), 0);
    std::copy(body.begin(), body.end(), file.begin() + 128);
    file[0] = 10, file[1] = 5, file[2] = 1, file[3] = uint8_t(bits), file[65] = uint8_t(planes);
    const int fields[][2] = {{8, width - 1}, {10, height - 1}, {66, bytesPerLine}};
    for (const auto& [at, v] : fields) file[at] = uint8_t(v), file[at + 1] = uint8_t(v >> 8);
    return file;
}

TEST(Pcx, HostileFilesFailCleanly) {
    ScratchDir dir;
    const struct {
        Bytes file;
        int status;
    } cases[] = {
        {PcxFile(65535, 65535, 8, 1, 65535, Bytes(72, 0xFF)), VXSTATUS_TOOLARGE},
        // 16384 x 16384 within the limit, but 72 bytes of runs cannot expand to 256 MiB.
        {PcxFile(16384, 16384, 8, 1, 16384, Bytes(72, 0xFF)), VXSTATUS_TRUNCATED},
        {PcxFile(16, 1, 8, 1, 8, Bytes(16, 1)), VXSTATUS_CORRUPT},       // lines shorter than the width
        {PcxFile(8, 1, 4, 4, 4, Bytes(16, 1)), VXSTATUS_UNSUPPORTED},     // 4 bits x 4 planes
        {PcxFile(8, 2, 8, 1, 8, {0xC9, 7}), VXSTATUS_TRUNCATED},          // runs end inside the second line
    };
    for (const auto& c : cases) {
        WriteBytes(dir / "h.pcx", c.file);
        const Loaded got = LoadThroughLibrary(dir / "h.pcx");
        EXPECT_FALSE(got.ok);
        EXPECT_EQ(got.status, c.status) << &c - cases;
    }
    // A run crossing the end of a line continues into the next one.
    WriteBytes(dir / "h.pcx", PcxFile(3, 2, 8, 1, 4, {0xC8, 9}));
    const Loaded crossed = LoadThroughLibrary(dir / "h.pcx");
    ASSERT_TRUE(crossed.ok);
    EXPECT_EQ(crossed.image.pixels, Bytes(6, 9));

    // DCX tables pointing past the end, into the table itself, or at nothing.
    const Bytes page = ReadBytes(DataFile("pcx_nb_mono.pcx"));
    const std::pair<uint32_t, int> tables[] = {
        {100000, VXSTATUS_TRUNCATED}, {4, VXSTATUS_CORRUPT}, {0, VXSTATUS_NOPAGE}};
    for (const auto& [offset, status] : tables) {
        WriteBytes(dir / "h.dcx", DcxFile(offset, page));
        EXPECT_EQ(LoadThroughLibrary(dir / "h.dcx").status, status) << offset;
    }
    auto load = [](const std::filesystem::path& path) { return LoadThroughLibrary(path).ok; };
    for (const char* name : {"pcx_nb_planes4.pcx", "pcx_nb_packed2.pcx"})
        SweepHostileVersions(ReadBytes(DataFile(name)), dir / "s.pcx", load);
    SweepHostileVersions(DcxFile(12, page), dir / "s.dcx", load);
}

}  // namespace
