// Format detection, and the routing of loads and saves to the library's readers and writers
// and to the format modules. The modules are the stand-ins of tests/formats/modules: each one
// reports the module file, entry point and arguments it was called with (VXGIFR has no entry
// points, VXJPGR does not exist).

#include <filesystem>

#include "formats_files.hpp"

using namespace vxtest;

namespace {

// A file that starts with `head` and is zero after it, `size` bytes long.
Bytes Head(const std::string& head, size_t size = 64) { Bytes b = Text(head); return b.resize(std::max(size, b.size())), b; }

}  // namespace

TEST(GetImageFormat, SignaturesAreTestedInTheirOrder) {
    // `n` bytes of `fill` with `text` at `at`.
    const auto with = [](size_t n, char fill, size_t at, const std::string& text) {
        Bytes b(n, uint8_t(fill));
        return std::copy(text.begin(), text.end(), b.begin() + at), b;
    };
    const Bytes cals = with(600, 'x', 100, "srcdocid: x");
    Bytes hiddenCals = cals, emf = with(88, 0, 40, " EMF");
    hiddenCals[50] = 0, emf[0] = 1;  // the CALS search stops at a zero byte
    const struct { const char* name; Bytes bytes; int format; } cases[] = {
        // Signatures come before the name, the TGA name test (three characters, no dot needed)
        // before JPEG's signature, CALS before text; the CALS ':' of late.cal is the last byte
        // read, edge.txt has the last pair the text test can see, late.txt one past the 512
        // bytes read; all eight bytes of short.png are text.
        {"intel.tif", Head("II*"), FMT_TIFF}, {"motorola.tif", Head("MM"), FMT_TIFF}, {"page.pcx", Head("\x0A\x05\x01"), FMT_PCX},
        {"jpeg-looking.pcx", Head("\x0A\xD8\xFF"), FMT_PCX}, {"GIF87a.tif", Head("\x0A" "GIF87a"), FMT_PCX},
        {"pages.dcx", Head("\xB1\x68\xDE\x3A"), FMT_DCX}, {"old.gif", Head("GIF87a"), FMT_GIF}, {"new.gif", Head("GIF89a"), FMT_GIF},
        {"odd.gif", Head("GIF88a"), FMT_UNKNOWN}, {"image.bmp", PlainBmp({5, 3, 8}), FMT_BMP}, {"bitmap.tga", PlainBmp({5, 3, 8}), FMT_BMP},
        {"clip.clp", Head("\x50\xC3\x02"), FMT_CLP}, {"placeable.wmf", Head("\xD7\xCD\xC6\x9A"), FMT_WMF},
        {"plain.wmf", Head(std::string("\x01\x00\x09\x00", 4)), FMT_WMF}, {"enhanced.emf", emf, FMT_EMF},
        {"no-signature.Tga", Head("\x01\x02"), FMT_TGA}, {"tga", Head("\x01\x02"), FMT_TGA}, {"xtGA", Head("\x01\x02"), FMT_TGA},
        {"jpeg.tga", Head("\xFF\xD8\xFF"), FMT_TGA}, {"photo.jpg", Head("\xFF\xD8\xFF\xE0"), FMT_JPEG}, {"drawing.cal", cals, FMT_CALS},
        {"text.cal", Text("srcdocid: a\r\n"), FMT_CALS}, {"hidden.cal", hiddenCals, FMT_UNKNOWN},
        {"late.cal", with(512, 'a', 503, "srcdocid:"), FMT_UNKNOWN}, {"notes.txt", Text("hello\tworld\r\nsecond line\r\n"), FMT_TEXT},
        {"edge.txt", with(512, 'a', 510, "\r\n"), FMT_TEXT}, {"late.txt", with(600, 'a', 511, "\r\n"), FMT_UNKNOWN},
        {"unix.txt", Text("hello\nworld\n"), FMT_UNKNOWN}, {"control.txt", Text("hello\x05\r\n"), FMT_UNKNOWN},
        {"high.txt", Text("caf\xE9\r\n"), FMT_TEXT}, {"short.png", Text("\x89PNG\r\n\x1A\n"), FMT_TEXT},
        {"image.png", Head("\x89PNG\r\n\x1A\n"), FMT_PNG}, {"empty.bin", Bytes{}, FMT_UNKNOWN}, {"nothing.bin", Head("\x01\x02\x03"), FMT_UNKNOWN},
    };
    TempDir dir;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        SetImgError(IMGERR_NOTHINGTODO);
        EXPECT_EQ(GetImageFormat(dir.write(c.name, c.bytes).c_str()), c.format);
        EXPECT_EQ(ImgError(), IMGERR_NOTHINGTODO);
    }
}

TEST(GetImageFormat, AFileThatCannotBeOpenedMatchesOnlyByName) {
    TempDir dir;
    EXPECT_EQ(GetImageFormat(dir.path("absent.bmp").c_str()), FMT_UNKNOWN);
    EXPECT_EQ(GetImageFormat(dir.path("absent.TGA").c_str()), FMT_TGA);
    EXPECT_EQ(GetImageFormat(nullptr), FMT_UNKNOWN);
}

TEST(LoadImageIntoDIB, ModulesGetTheirEntryPointsAndArguments) {
    TempDir dir;
    const struct { const char* name; Bytes bytes; std::string reported; } cases[] = {
        {"page.tif", Head("II*"), "VXTIFR|LoadTiffIntoDIB|{}|page=3|status=null"},
        {"page.pcx", Head("\x0A"), "VXPCXR|LoadPCXIntoDIB|{}|status=17"},
        {"pages.dcx", Head("\xB1\x68\xDE\x3A"), "VXPCXR|LoadDCXIntoDIB|{}|page=3|status=17"},
        {"page.tga", Head("\x01"), "VXTGAR|LoadTGAIntoDIB|{}|status=null"},
        {"page.cal", Head("srcdocid:"), "VXTIFR|LoadCALSIntoDIB|{}|status=null"},
        {"page.png", Head("\x89PNG"), "VXPNGR|LoadPNGIntoDIB|{}|status=17"},
    };
    Messages messages;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string path = dir.write(c.name, c.bytes);
        std::string expected = c.reported;
        expected.replace(expected.find("{}"), 2, path);
        int status = 17;
        SetImgError(IMGERR_NOTHINGTODO);
        Block dib(LoadImageIntoDIB(path.c_str(), 3, &status));
        EXPECT_EQ(Reported(dib.get()), expected);
        EXPECT_EQ(status, expected.find("status=17") != std::string::npos ? 4242 : 17);
        EXPECT_EQ(ImgError(), IMGERR_NOTHINGTODO);
    }
    messages.expect({});
}

TEST(LoadImageIntoDIB, AMissingModuleOrEntryPointIsShownAndGivesNull) {
    TempDir dir;
    Messages messages;
    int status = 17;
    SetImgError(IMGERR_NOTHINGTODO);
    EXPECT_EQ(LoadImageIntoDIB(dir.write("photo.jpg", Head("\xFF\xD8")).c_str(), 1, &status), nullptr);
    messages.expect({"VEXORA DLL|'VXJPGR.DLL' module has not found (0)|8192"});
    EXPECT_EQ(LoadImageIntoDIB(dir.write("anim.gif", Head("GIF89a")).c_str(), 1, &status), nullptr);
    messages.expect({"VEXORA-DLL|'LoadGIFIntoDIB' function has not found in 'VXGIFR.DLL' module|8192"});
    EXPECT_EQ(status, 17);
    EXPECT_EQ(ImgError(), IMGERR_NOTHINGTODO);
}

TEST(LoadImageIntoDIB, TheLibraryReadsBmpAndRefusesWhatItCannotLoad) {
    TempDir dir;
    const std::string bmp = dir.write("image.bmp", PlainBmp({13, 5, 4}));
    int status = 17;
    Block viaDispatch(LoadImageIntoDIB(bmp.c_str(), 2, &status)), direct(LoadDIBFromFile(bmp.c_str()));
    EXPECT_EQ(BlockBytes(viaDispatch.get()), BlockBytes(direct.get()));
    EXPECT_EQ(status, 17);

    for (const std::string& path : {dir.write("notes.txt", Text("plain text\r\n")), dir.write("unknown.bin", Head("\x01"))}) {
        SCOPED_TRACE(path);
        status = 17;
        SetImgError(IMGERR_SUCCESS);
        EXPECT_EQ(LoadImageIntoDIB(path.c_str(), 1, &status), nullptr);
        EXPECT_EQ(ImgError(), IMGERR_FILEFORMAT);
        EXPECT_EQ(status, 9);
        EXPECT_EQ(LoadImageIntoDIB(path.c_str(), 1, nullptr), nullptr);  // no status word: no store
    }
}

TEST(SaveDIBInImageFormat, ModulesGetTheirEntryPointsAndArguments) {
    TempDir dir;
    Block dib(MakeDib({7, 3, 8}));
    const struct { int format; int option, param; int result; const char* recorded; } cases[] = {
        {FMT_TIFF, 2, 5, 11, "VXTIFW|SaveDIBInTiffFormat|dib=given|5,1\n"}, {FMT_PCX, 2, 5, 13, "VXPCXW|SaveDIBInPCXFormat|dib=given|param=5\n"},
        {FMT_GIF, 2, 5, 16, "VXGIFW|SaveDIBInGIFFormat|dib=given|option=2|param=5\n"},
        {FMT_TGA, 2, 5, 17, "VXTGAW|SaveDIBInTGAFormat|dib=given|1,1\n"}, {FMT_TGA, 2, -1, 17, "VXTGAW|SaveDIBInTGAFormat|dib=given|1,1\n"},
        {FMT_TGA, 2, 0, 17, "VXTGAW|SaveDIBInTGAFormat|dib=given|0,1\n"}, {FMT_CALS, 2, 5, 12, "VXTIFW|SAVEDIBINCALSFORMAT|dib=given|0,0,0\n"},
        {FMT_JPEG, 2, 5, 18, "VXJPGW|SaveDIBInJPEGFile|dib=given|75\n"},
        // A new DCX file is made first; the two calls share the library's copy of param.
        {FMT_DCX, 2, 5, 15,
         "VXPCXW|MakeDCXFile|dib=null|param=5\nVXPCXW|SaveDIBInDCXFormat|dib=given|param=1005\n"},
    };
    Messages messages;
    int n = 0;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.recorded);
        const std::string path = dir.path("out" + std::to_string(n++));
        SetImgError(IMGERR_NOTHINGTODO);
        EXPECT_EQ(SaveDIBInImageFormat(path.c_str(), dib.get(), c.format, c.option, c.param), c.result);
        EXPECT_EQ(FileText(path), c.recorded);
        EXPECT_EQ(ImgError(), IMGERR_NOTHINGTODO);
    }
    // Saving into a DCX file that exists adds a page without making the file.
    const std::string existing = dir.write("existing.dcx", Text("x\n"));
    EXPECT_EQ(SaveDIBInImageFormat(existing.c_str(), dib.get(), FMT_DCX, 0, 7), 15);
    EXPECT_EQ(FileText(existing), "x\nVXPCXW|SaveDIBInDCXFormat|dib=given|param=7\n");
    messages.expect({});
}

TEST(SaveDIBInImageFormat, FormatsWithoutAWriterGiveZeroWithoutACode) {
    TempDir dir;
    Block dib(MakeDib({7, 3, 8, 256}));
    Messages messages;
    // No writer (fax sets, text, PNG, code 11), and no format at all.
    for (const int format : {FMT_COLORFAX, FMT_TEXT, 11, FMT_PNG, 0, 16, -1}) {
        SCOPED_TRACE(format);
        const std::string path = dir.path("none" + std::to_string(format));
        SetImgError(IMGERR_NOTHINGTODO);
        EXPECT_EQ(SaveDIBInImageFormat(path.c_str(), dib.get(), format, 1, 1), 0);
        EXPECT_FALSE(std::filesystem::exists(path));
        EXPECT_EQ(ImgError(), IMGERR_NOTHINGTODO);
    }
    messages.expect({});
    const std::string bmp = dir.path("saved.bmp");
    EXPECT_EQ(SaveDIBInImageFormat(bmp.c_str(), dib.get(), FMT_BMP, 0, 0), 1);
    Block back(LoadDIBFromFile(bmp.c_str()));
    EXPECT_EQ(BlockBytes(back.get()), BlockBytes(dib.get()));
}
