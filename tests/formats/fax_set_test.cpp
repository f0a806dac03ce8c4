// Colour fax sets: page counts, the two layouts, the plane merge against a per-pixel model,
// and the refusals. Planes are BMP files, except where a stand-in TIFF module shows which
// image of a multi-image file a page asked for. Set files are given absolute paths (Windows
// resolves relative profile names against the Windows directory).

#include "export_calls.hpp"
#include "formats_files.hpp"

using namespace vxtest;

namespace {

// The page the documented merge makes of these plane blocks (empty = not loaded): a 4-bit DIB
// the size of the first plane with the fixed table; plane p's set bits at x OR 128 >> p (even
// x) or 8 >> p (odd x) into byte x / 2, plane rows read as 1-bit rows after 48 bytes.
Bytes ModelPage(const std::vector<Bytes>& planes) {
    const Bytes& first = planes.at(0);
    const int32_t w = int32_t(GetU32(first, 4)), h = int32_t(GetU32(first, 8));
    Bytes page = ResultFrame(With(With(With(first, 12, 1 | 4 << 16), 32, 16), 36, 16), 40, w, h, Stride(w, 4));
    page.insert(page.begin() + 40, 64, 0);
    // Entry i: blue, green and red of bits 1, 2 and 3 at 128, or 255 when bit 0 is set too.
    for (int i = 2; i < 16; ++i)
        for (int k = 0; k < 3; ++k) page[40 + 4 * i + k] = i >> (k + 1) & 1 ? (i & 1 ? 255 : 128) : 0;
    for (size_t p = 0; p < planes.size(); ++p) {
        const Bytes& plane = planes[p];
        const int32_t pw = plane.empty() ? 0 : int32_t(GetU32(plane, 4)), ph = plane.empty() ? 0 : int32_t(GetU32(plane, 8));
        for (int32_t y = 0; y < std::min(h, ph); ++y)
            for (int32_t x = 0; x < std::min(w, pw); ++x) {
                const size_t at = 48 + size_t{Stride(pw, 1)} * y + x / 8;
                if (at >= plane.size() || !(plane[at] & (0x80 >> (x % 8)))) continue;
                const unsigned mask = x % 2 == 0 ? (p < 8 ? 128u >> p : 0u) : (p < 4 ? 8u >> p : 0u);
                page[104 + size_t{Stride(w, 4)} * y + x / 2] |= static_cast<uint8_t>(mask);
            }
    }
    return page;
}

Bytes Loaded(const std::string& path) {
    Block dib(LoadDIBFromFile(path.c_str()));
    return dib ? BlockBytes(dib.get()) : Bytes{};
}

std::string Set(const std::string& counts, const std::string& sections) {
    return "[ColorFax]\r\n" + counts + "BitsPixel=1\r\n" + sections;
}

}  // namespace

TEST(LoadColorFaxPage, OnePlaneFilePerPlaneMergesIntoTheFixedTable) {
    // Shape of the first plane; the other planes may differ in size and depth, and one may be
    // missing (its bits stay clear).
    const struct { int width, height, planes, firstPage; std::vector<DibShape> others; } cases[] = {
        {13, 5, 3, 1, {{13, 5, 1}, {13, 5, 1}}}, {1, 1, 2, 3, {{1, 1, 1}}}, {35, 4, 2, 1, {{35, 4, 1}}},
        {9, 6, 3, 1, {{20, 9, 1}, {4, 2, 1}}},          // larger and smaller planes
        {12, 4, 3, 1, {{12, 4, 8}, {12, 4, 4}}},         // planes of other depths
        {10, 3, 6, 1, {{10, 3, 1}, {10, 3, 1}, {10, 3, 1}, {10, 3, 1}, {10, 3, 1}}},  // planes 4, 5
        {11, 2, 0, 1, {}},                                // no planes: plane 0 alone, 4-bit
        {7, 3, 3, 1, {{0, 0, 0}, {7, 3, 1}}},              // plane 1 missing
    };
    TempDir dir;
    uint32_t seed = 1;
    const auto S = [](auto v) { return std::to_string(v); };
    for (const auto& c : cases) {
        SCOPED_TRACE(S(c.width) + "x" + S(c.height) + ", " + S(c.planes) + " planes, seed " + S(seed));
        std::vector<Bytes> blocks;
        std::vector<DibShape> shapes{{c.width, c.height, 1}};
        shapes.insert(shapes.end(), c.others.begin(), c.others.end());
        // Page 1 lists other files; page 2 is the one loaded, in section Page<2 - first + 1>.
        std::string page1, page2;
        for (size_t p = 0; p < shapes.size(); ++p) {
            DibShape shape = shapes[p];
            shape.seed = seed++;
            const std::string name = "plane" + S(seed) + ".bmp";  // bit count 0: a missing file
            const std::string path = shape.bitCount ? dir.write(name, PlainBmp(shape)) : dir.path(name);
            blocks.push_back(shape.bitCount ? Loaded(path) : Bytes{});
            page1 += "Plane" + S(p) + "=" + dir.path("nowhere.bmp") + "\r\n";
            page2 += "plane" + S(p) + " = " + path + "\r\n";
        }
        const std::string set = dir.write(
            "set" + S(seed) + ".cfx",
            Text(Set("TotalPages=" + S(c.firstPage + 1) + "\r\nFirstPage=" + S(c.firstPage) + "\r\nPlanes=" +
                         S(c.planes) + "\r\nFiles=" + S((c.firstPage + 1) * c.planes) + "\r\n",
                     "[Page" + S(3 - c.firstPage) + "]\r\n" + page2 + "[Page" + S(2 - c.firstPage) + "]\r\n" + page1)));
        int status = 17;
        const Outcome page = CallOn(kNullHandle, [&](HDIB) { return LoadColorFaxPage(set.c_str(), 2, &status); });
        const bool missing = std::any_of(blocks.begin(), blocks.end(), [](const Bytes& b) { return b.empty(); });
        EXPECT_EQ(page.result, ModelPage(blocks));
        EXPECT_EQ(page.moduleCode, missing ? IMGERR_FILEFORMAT : kUntouched);  // a failed plane's code stands
        EXPECT_EQ(status, missing ? 9 : 17);
    }
}

TEST(LoadColorFaxPage, APageOfOnePlaneIsThatPlane) {
    TempDir dir;
    const std::string plane = dir.write("plane.bmp", PlainBmp({13, 5, 1, 0, false, 9}));
    const std::string set = dir.write(
        "set.cfx", Text(Set("TotalPages=1\r\nPlanes=257\r\nFiles=1\r\n", "[Page1]\r\nPlane0=" + plane + "\r\n")));
    Block page(LoadColorFaxPage(set.c_str(), 1, nullptr));  // Planes counts its low 8 bits only
    EXPECT_EQ(BlockBytes(page.get()), Loaded(plane));
    int status = 0;
    Block viaDispatch(LoadImageIntoDIB(set.c_str(), 1, &status));
    EXPECT_EQ(GetImageFormat(set.c_str()), FMT_COLORFAX);
    EXPECT_EQ(BlockBytes(viaDispatch.get()), Loaded(plane));
}

TEST(LoadColorFaxPage, MultiImageFilesAreFoundByWalkingTheirPageCounts) {
    // Files of 2, 3 and 1 pages, numbered from FirstPage 5, one plane a page. The walk stops
    // as soon as page <= the running sum, so a page equal to it stays with the file before.
    TempDir dir;
    std::string sections;
    std::vector<std::string> files;
    const int pages[] = {2, 3, 1};
    for (int k = 0; k < 3; ++k) {
        files.push_back(dir.write("multi" + std::to_string(k) + ".tif", Text("II*")));
        sections += "[File" + std::to_string(5 + k) + "]\r\nPages=" + std::to_string(pages[k]) +
                    "\r\nName=" + files.back() + "\r\n";
    }
    const std::string set =
        dir.write("set.cfx", Text(Set("TotalPages=12\r\nFirstPage=5\r\nPlanes=1\r\nFiles=3\r\n", sections)));
    const struct { int page; int file; int image; } cases[] = {
        {1, 0, 1}, {2, 0, 2}, {3, 0, 3}, {4, 1, 2}, {6, 1, 4}, {7, 2, 2},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.page);
        Block dib(LoadColorFaxPage(set.c_str(), c.page, nullptr));
        EXPECT_EQ(Reported(dib.get()),
                  "VXTIFR|LoadTiffIntoDIB|" + files[c.file] + "|page=" + std::to_string(c.image) + "|status=null");
    }
}

TEST(LoadColorFaxPage, AHugeFileCountEndsAtTheSectionsTheSetHas) {
    // Files 1 and 1000000 exist; everything between adds no pages. Page 5 passes file 1 (sum 3)
    // and is found in file 1000000 (sum 8) as its image 5 - 3 + 1.
    TempDir dir;
    const std::string distant = dir.write("far.tif", Text("II*"));
    const std::string set = dir.write(
        "set.cfx", Text(Set("TotalPages=100\r\nPlanes=1\r\nFiles=2000000000\r\n",
                            "[File1]\r\nPages=2\r\nName=" + dir.path("near.tif") + "\r\n[file1000000]\r\nPages=5\r\nName=" +
                                distant + "\r\n")));
    Block dib(LoadColorFaxPage(set.c_str(), 5, nullptr));
    EXPECT_EQ(Reported(dib.get()), "VXTIFR|LoadTiffIntoDIB|" + distant + "|page=3|status=null");
    // Page 20 runs past every section, to the last file's, which names nothing.
    int status = 0;
    SetImgError(IMGERR_SUCCESS);
    EXPECT_EQ(LoadColorFaxPage(set.c_str(), 20, &status), nullptr);
    EXPECT_EQ(ImgError(), IMGERR_FILEFORMAT);
    EXPECT_EQ(status, 9);
}

TEST(LoadColorFaxPage, RefusalsAndTheirCodes) {
    TempDir dir;
    const std::string plane = dir.write("plane.bmp", PlainBmp({8, 2, 1}));
    const std::string topDown = dir.write("topdown.bmp", PlainBmp({8, -2, 1}));
    // A set of two planes a page, the first plane named by `plane0`; `bits` is its BitsPixel line.
    const auto set = [&](const std::string& name, const std::string& plane0, const std::string& bits = "BitsPixel=1") {
        return dir.write(name, Text("[ColorFax]\r\nTotalPages=3\r\nPlanes=2\r\nFiles=6\r\n" + bits +
                                    "\r\n[Page1]\r\nPlane0=" + plane0 + "\r\nPlane1=" + plane + "\r\n"));
    };
    const std::string good = set("good.cfx", plane);
    const int N = IMGERR_NOTHINGTODO, F = IMGERR_FILEFORMAT;
    const struct { const char* what; std::string file; int page; int code; int status; } cases[] = {
        {"missing set", dir.path("absent.cfx"), 1, IMGERR_OPENFILE, 3}, {"page 0", good, 0, N, 17}, {"page past the last", good, 4, N, 17},
        {"BitsPixel 8", set("deep.cfx", plane, "BitsPixel=8"), 1, N, 17}, {"no BitsPixel", set("nobits.cfx", plane, ""), 1, N, 17},
        {"first plane missing", set("noplane.cfx", dir.path("absent.bmp")), 1, F, 9},
        {"first plane upside down", set("topdown.cfx", topDown), 1, N, 17}, {"set naming itself", set("self.cfx", dir.path("self.cfx")), 1, F, 9},
    };
    ExpectRefusals(Reports::kModuleCode, cases, [](HDIB, const auto& c, auto) {
        int status = 17;
        HDIB page = LoadColorFaxPage(c.file.c_str(), c.page, &status);
        EXPECT_EQ(status, c.status);
        return page;
    });
    EXPECT_EQ(LoadColorFaxPage(nullptr, 1, nullptr), nullptr);
    Block page(LoadColorFaxPage(good.c_str(), 3, nullptr));  // the last page is in range
    EXPECT_EQ(page, nullptr);                                 // ...but has no Page3 section
}

TEST(GetNumberOfImagesInFaxFile, ReadsTotalPages) {
    TempDir dir;
    const std::string counted = dir.write("counted.cfx", Text("[colorfax]\r\ntotalpages = 7\r\n"));
    const std::string uncounted = dir.write("uncounted.cfx", Text("[ColorFax]\r\nPlanes=3\r\n"));
    SetImgError(IMGERR_NOTHINGTODO);
    EXPECT_EQ(GetNumberOfImagesInFaxFile(counted.c_str()), 7);
    EXPECT_EQ(GetNumberOfImagesInFaxFile(uncounted.c_str()), -1);
    EXPECT_EQ(GetImageFormat(uncounted.c_str()), FMT_TEXT);  // not a set, but text
    EXPECT_EQ(ImgError(), IMGERR_NOTHINGTODO);
    EXPECT_EQ(GetNumberOfImagesInFaxFile(dir.path("absent.cfx").c_str()), -1);
    EXPECT_EQ(ImgError(), IMGERR_OPENFILE);
    SetImgError(IMGERR_NOTHINGTODO);
    EXPECT_EQ(GetImageFormat(dir.path("absent.bmp").c_str()), FMT_UNKNOWN);
    EXPECT_EQ(ImgError(), IMGERR_OPENFILE);  // left by the fax-set test of detection
}
