// The tolerant BMP reader (VexoraLoadBMPFile, VexoraReadBMPMemory): bmpsuite's good files
// against an independent decoder's pictures (data/make_bmpsuite_refs.py), every bad and
// questionable file it holds decided, generated bit-field files, and hostile input.
#include <fstream>

#include "formats_files.hpp"
#include "vexora_modules.h"

using namespace vxtest;

namespace {

std::string Suite(const std::string& name) { return std::string(VEXORA_FORMATS_TEST_DATA) + "/bmpsuite/" + name; }

struct Result {
    Block dib;
    std::string reason;
    int code;
};

Result ReadBytes(const Bytes& file) {
    char reason[200] = "unset";
    SetImgError(IMGERR_SUCCESS);
    Block dib(VexoraReadBMPMemory(file.data(), DWORD(file.size()), reason, sizeof reason));
    return {std::move(dib), reason, ImgError()};
}

// The picture as RGB bytes from the top row down, checking the classic form on the way.
Bytes Rgb(HDIB dib) {
    const Bytes b = BlockBytes(dib);
    const int32_t w = int32_t(GetU32(b, 4)), h = int32_t(GetU32(b, 8));
    const uint16_t bits = GetU16(b, 14);
    const uint32_t colours = bits <= 8 ? 1u << bits : 0, stride = Stride(w, bits);
    EXPECT_TRUE(GetU32(b, 0) == 40 && GetU32(b, 16) == 0 && h > 0 && GetU32(b, 32) == colours &&
                (bits == 1 || bits == 4 || bits == 8 || bits == 24) && GetU32(b, 20) == stride * uint32_t(h) &&
                b.size() == 40 + 4 * colours + size_t(stride) * h);
    Bytes rgb;
    for (int32_t y = h - 1; y >= 0; --y) {
        const uint8_t* row = b.data() + 40 + 4 * colours + size_t(stride) * y;
        for (int32_t x = 0; x < w; ++x) {
            const uint8_t* bgr = bits == 24 ? row + 3 * x
                                            : b.data() + 40 + 4 * ((row[x * bits / 8] >> (8 - bits - x * bits % 8)) & (colours - 1));
            rgb.insert(rgb.end(), {bgr[2], bgr[1], bgr[0]});
        }
    }
    return rgb;
}

std::string Fnv1a(const Bytes& bytes) {
    uint64_t h = 0xcbf29ce484222325;
    for (uint8_t b : bytes) h = (h ^ b) * 0x100000001b3;
    char text[17];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(h));
    return text;
}

// A BMP file with a header of `headerSize` bytes (masks at 40 inside it, or after a 40-byte
// one), 2 x 2 pixels of `bits` bits given from the top, stored top-down when asked.
Bytes BitFieldBmp(uint32_t headerSize, uint32_t compression, uint16_t bits, std::vector<uint32_t> masks,
                  const std::vector<uint32_t>& pixels, bool topDown) {
    Bytes dib(headerSize);
    PutU32(dib, 0, headerSize), PutU32(dib, 4, 2), PutU32(dib, 8, topDown ? uint32_t(-2) : 2);
    PutU16(dib, 12, 1), PutU16(dib, 14, bits), PutU32(dib, 16, compression), PutU32(dib, 24, 2835);
    if (headerSize == 40) dib.resize(40 + 4 * masks.size());
    for (size_t i = 0; i < masks.size(); ++i) PutU32(dib, 40 + 4 * i, masks[i]);
    const size_t at = dib.size(), stride = Stride(2, bits);
    dib.resize(at + 2 * stride);
    for (size_t i = 0; i < 4; ++i) {
        const size_t row = topDown ? i / 2 : 1 - i / 2;
        std::memcpy(&dib[at + row * stride + (i % 2) * bits / 8], &pixels[i], bits / 8);
    }
    return BmpFile(dib, uint32_t(14 + at));
}

}  // namespace

TEST(VexoraLoadBMPFile, GoodFilesGiveTheIndependentDecodersPictures) {
    std::ifstream refs(Suite("refs.txt"));
    std::string name, hash;
    int32_t width = 0, height = 0, files = 0;
    while (refs >> name >> width >> height >> hash) {
        SCOPED_TRACE(name);
        char reason[64] = "unset";
        Block dib(VexoraLoadBMPFile(Suite(name).c_str(), reason, sizeof reason));
        ASSERT_TRUE(dib) << reason;
        EXPECT_STREQ(reason, "");
        const Bytes out = BlockBytes(dib.get()), file = ReadFileBytes(Suite(name));
        EXPECT_TRUE(GetU32(out, 4) == uint32_t(width) && GetU32(out, 8) == uint32_t(height));
        EXPECT_TRUE(GetU32(file, 14) == 12 || GetU32(out, 24) == GetU32(file, 38));  // resolution kept
        EXPECT_EQ(Fnv1a(Rgb(dib.get())), hash);
        ++files;
    }
    EXPECT_EQ(files, 27);
}

TEST(VexoraLoadBMPFile, BadAndQuestionableFilesAreReadOrRefusedAsDecided) {
    const std::string pal8 = "4598e7515a0f7954", rgb24 = "7cd8f819ae69b2af";
    // Read: the depth of the result and, where it is one of bmpsuite's pictures, its hash.
    const struct { const char* name; uint16_t bits; std::string picture; } reads[] = {
        {"b/badbitssize.bmp", 1, ""}, {"b/baddens1.bmp", 1, ""}, {"b/badfilesize.bmp", 1, ""},
        {"b/badpalettesize.bmp", 8, pal8}, {"b/badrle.bmp", 8, ""}, {"b/badrle4.bmp", 4, ""},
        {"b/badrle4bis.bmp", 4, ""}, {"b/badrleter.bmp", 8, ""}, {"b/pal8badindex.bmp", 8, ""},
        {"b/rgb16-880.bmp", 24, ""}, {"q/pal1p1.bmp", 1, ""}, {"q/pal2.bmp", 4, ""},
        {"q/pal4rlecut.bmp", 4, ""}, {"q/pal4rletrns.bmp", 4, ""}, {"q/pal8rlecut.bmp", 8, ""},
        {"q/pal8rletrns.bmp", 8, ""}, {"q/pal8offs.bmp", 8, pal8}, {"q/pal8os2sp.bmp", 8, pal8},
        {"q/pal8os2v2-16.bmp", 8, pal8}, {"q/pal8os2v2.bmp", 8, pal8}, {"q/pal8oversizepal.bmp", 8, pal8},
        {"q/rgb24rle24.bmp", 24, pal8}, {"q/rgb16-231.bmp", 24, ""}, {"q/rgb32-7187.bmp", 24, ""},
        {"q/rgb32fakealpha.bmp", 24, rgb24}, {"q/rgb32h52.bmp", 24, rgb24}, {"q/rgba16-4444.bmp", 24, ""},
        {"q/rgba32-1010102.bmp", 24, ""}, {"q/rgba32abf.bmp", 24, ""}, {"q/rgba32h56.bmp", 24, ""},
    };
    for (const auto& c : reads) {
        const Result r = ReadBytes(ReadFileBytes(Suite(c.name)));
        ASSERT_TRUE(r.dib) << c.name << ": " << r.reason;
        EXPECT_EQ(GetU16(BlockBytes(r.dib.get()), 14), c.bits) << c.name;
        const std::string hash = Fnv1a(Rgb(r.dib.get()));
        EXPECT_TRUE(c.picture.empty() || hash == c.picture) << c.name;
    }
    const struct { const char* name; int code; const char* reason; } refusals[] = {
        {"b/badbitcount.bmp", IMGERR_FILEFORMAT, "bit count 30000 is not a BMP depth"},
        {"b/badheadersize.bmp", IMGERR_FILEFORMAT, "header size 66 is not a BMP header"},
        {"b/badplanes.bmp", IMGERR_FILEFORMAT, "planes is 30000, not 1"},
        {"b/badwidth.bmp", IMGERR_FILEFORMAT, "the image is -127 x 64 pixels"},
        {"b/reallybig.bmp", IMGERR_DIBSIZE, "the image is 3000000 x 2000000 pixels, over the largest side of 65535"},
        {"b/rletopdown.bmp", IMGERR_FILEFORMAT, "run-length data cannot be stored top-down"},
        {"b/shortfile.bmp", IMGERR_IO, "the pixel data needs 1024 bytes but the file holds 273 bytes"},
        {"q/pal1huffmsb.bmp", IMGERR_FILEFORMAT, "OS/2 Huffman 1D compression is not read"},
    };
    for (const auto& c : refusals) {
        const Result r = ReadBytes(ReadFileBytes(Suite(c.name)));
        EXPECT_FALSE(r.dib) << c.name;
        EXPECT_EQ(r.code, c.code) << c.name;
        EXPECT_EQ(r.reason, c.reason) << c.name;
    }
}

TEST(VexoraReadBMPMemory, EmbeddedImagesGoToTheirModules) {
    Messages messages;  // the stand-in modules: VXPNGR reports its call, VXJPGR is missing
    Result png = ReadBytes(ReadFileBytes(Suite("q/rgb24png.bmp")));
    ASSERT_TRUE(png.dib);
    const std::string reported = Reported(png.dib.get());
    EXPECT_EQ(reported.rfind("VXPNGR|LoadPNGIntoDIB|", 0), 0u) << reported;
    const std::string temporary = reported.substr(22, reported.find('|', 22) - 22);
    EXPECT_FALSE(std::filesystem::exists(temporary)) << temporary;  // removed after the call
    const Result jpeg = ReadBytes(ReadFileBytes(Suite("q/rgb24jpeg.bmp")));
    EXPECT_FALSE(jpeg.dib);
    EXPECT_EQ(jpeg.code, IMGERR_FILEFORMAT);
    EXPECT_EQ(jpeg.reason, "the embedded JPEG image cannot be read (VXJPGR.DLL)");
    messages.expect({"VEXORA DLL|'VXJPGR.DLL' module has not found (0)|8192"});
}

TEST(VexoraReadBMPMemory, BitFieldsAreScaledExactlyAndAlphaIsCompositedOnWhite) {
    const uint32_t bitFields = 3, alphaBitFields = 6;
    const struct { const char* name; Bytes file; Bytes rgb; } cases[] = {
        // Fields of 1, 9 and 22 bits: 1 -> 255, 256 of 511 -> 128, 2^21 of 2^22 - 1 -> 128.
        {"1-9-22", BitFieldBmp(40, bitFields, 32, {0x80000000, 0x7FC00000, 0x003FFFFF},
                               {0x80000000, 256u << 22, 1u << 21, 0}, false),
         {255, 0, 0, 0, 128, 0, 0, 0, 128, 0, 0, 0}},
        // 5-6-5: the 5-bit 3 is 25, not the 24 of copying the top bits down.
        {"5-6-5", BitFieldBmp(52, bitFields, 16, {0xF800, 0x07E0, 0x001F}, {3u << 11, 63u << 5, 31, 0xFFFF}, false),
         {25, 0, 0, 0, 255, 0, 0, 0, 255, 255, 255, 255}},
        // V5, top-down, 8-8-8-8 with alpha 255, 0, 128 and 0.
        {"V5 top-down alpha", BitFieldBmp(124, bitFields, 32, {0xFF0000, 0xFF00, 0xFF, 0xFF000000},
                                          {0xFF102030, 0x00102030, 0x80FF6400, 0}, true),
         {0x10, 0x20, 0x30, 255, 255, 255, 255, 177, 127, 255, 255, 255}},
        // 4-4-4-4 through BI_ALPHABITFIELDS (four masks after a 40-byte header): alpha 8 of 15.
        {"4-4-4-4", BitFieldBmp(40, alphaBitFields, 16, {0x0F00, 0x00F0, 0x000F, 0xF000}, {0xFF00, 0x8F00, 0x80F0, 0xF00F}, false),
         {255, 0, 0, 255, 119, 119, 119, 255, 119, 0, 0, 255}},
    };
    for (const auto& c : cases) {
        const Result r = ReadBytes(c.file);
        ASSERT_TRUE(r.dib) << c.name << ": " << r.reason;
        EXPECT_EQ(Rgb(r.dib.get()), c.rgb) << c.name;
    }
}

TEST(VexoraReadBMPMemory, RefusesWhatItCannotReadNamingTheCause) {
    const Bytes rgb24 = BitFieldBmp(40, 0, 24, {}, {0, 0, 0, 0}, false);
    Bytes bomb = PlainBmp({.width = 40000, .height = 40000, .bitCount = 8, .rows = 0});
    PutU32(bomb, 30, 1);                       // BI_RLE8 with a four-byte stream
    bomb.insert(bomb.end(), {0, 0, 0, 1});
    const struct { const char* name; Bytes file; int code; const char* reason; } cases[] = {
        {"overlap", BitFieldBmp(40, 3, 16, {0xF800, 0x0FE0, 0x1F}, {0, 0, 0, 0}, false), IMGERR_FILEFORMAT, "BI_BITFIELDS masks overlap"},
        {"gap", BitFieldBmp(40, 3, 16, {0xF100, 0x07E0, 0x1F}, {0, 0, 0, 0}, false), IMGERR_FILEFORMAT, "BI_BITFIELDS mask 0x0000F100 is not contiguous"},
        {"wide", BitFieldBmp(40, 3, 16, {0x1F0000, 0x7E0, 0x1F}, {0, 0, 0, 0}, false), IMGERR_FILEFORMAT, "BI_BITFIELDS mask 0x001F0000 passes the 16-bit pixel"},
        {"depth 0", With(rgb24, 28, 0), IMGERR_FILEFORMAT, "bit count 0 is not a BMP depth"},
        {"depth 64", With(rgb24, 28, 64), IMGERR_FILEFORMAT, "64-bit pixels are not read"},
        {"compression 7", With(rgb24, 30, 7), IMGERR_FILEFORMAT, "compression 7 is not a BMP encoding"},
        {"CMYK", With(rgb24, 30, 11), IMGERR_FILEFORMAT, "CMYK compression 11 is not read"},
        {"not BM", With(rgb24, 0, 0x4142), IMGERR_FILEFORMAT, "the file does not start with \"BM\""},
        {"cut header", Cut(rgb24, 30), IMGERR_IO, "the file ends inside its 40-byte header"},
        {"height -2^31", With(rgb24, 22, 0x80000000), IMGERR_DIBSIZE, "the image is 2 x 2147483648 pixels, over the largest side of 65535"},
        {"rows missing", Cut(rgb24, rgb24.size() - 9), IMGERR_IO, "the pixel data needs 16 bytes but the file holds 61 bytes"},
        {"RLE bomb", bomb, IMGERR_DIBSIZE, "40000 x 40000 pixels cannot come from a 4 bytes run-length stream"},
    };
    for (const auto& c : cases) {
        const Result r = ReadBytes(c.file);
        EXPECT_FALSE(r.dib) << c.name;
        EXPECT_EQ(r.code, c.code) << c.name;
        EXPECT_EQ(r.reason, c.reason) << c.name;
    }
    // The last row may lack its padding; a reason is cut to the buffer; null arguments refuse.
    EXPECT_TRUE(ReadBytes(Cut(rgb24, rgb24.size() - 1)).dib);
    char reason[6];
    EXPECT_EQ(VexoraReadBMPMemory(rgb24.data(), 10, reason, sizeof reason), nullptr);
    EXPECT_STREQ(reason, "the f");
    EXPECT_EQ(VexoraReadBMPMemory(nullptr, 10, nullptr, 0), nullptr);
    EXPECT_EQ(ImgError(), IMGERR_PARAMETER);
    EXPECT_EQ(VexoraLoadBMPFile(Suite("absent.bmp").c_str(), nullptr, 0), nullptr);
    EXPECT_EQ(ImgError(), IMGERR_OPENFILE);
    EXPECT_EQ(VexoraLoadBMPFile(nullptr, reason, sizeof reason), nullptr);
}

TEST(VexoraReadBMPMemory, EveryPrefixOfAFileIsReadWholeOrRefused) {
    // The shortest prefix that is read: run-length data from its offset on, uncompressed rows
    // when only the last row's padding is missing.
    const struct { const char* name; size_t shortestRead; } files[] = {
        {"g/pal8v5.bmp", 9337}, {"g/pal4rle.bmp", 102}, {"g/rgb16-565.bmp", 16448}, {"q/rgb24rle24.bmp", 78},
    };
    for (const auto& c : files) {
        const Bytes file = ReadFileBytes(Suite(c.name));
        for (size_t size = 0; size < file.size(); ++size) {
            const Result r = ReadBytes(Cut(file, size));
            if (r.dib) Rgb(r.dib.get());  // a cut stream keeps what it decoded
            EXPECT_EQ(bool(r.dib), size >= c.shortestRead) << c.name << " cut at " << size;
            EXPECT_EQ(r.reason.empty(), bool(r.dib)) << c.name << " cut at " << size;
        }
    }
    // Offsets that lie: bfOffBits past the end or inside the header reads after the table.
    const Bytes pal8 = ReadFileBytes(Suite("g/pal8.bmp"));
    for (uint32_t offBits : {0u, 20u, 100000u}) {
        const Result r = ReadBytes(With(pal8, 10, offBits));
        ASSERT_TRUE(r.dib) << offBits;
        EXPECT_EQ(Fnv1a(Rgb(r.dib.get())), "4598e7515a0f7954") << offBits;
    }
}
