// Conformance tests of enhanced metafiles: what SetEnhMetaFileBits accepts and what the
// header and bits calls answer; where PlayEnhMetaFile puts a metafile's picture for a given
// rectangle; the records a recording DC writes, byte for byte; what they play back to against
// the calls drawn directly; and hostile records. Run natively against the Linux subset and
// under Wine against Windows' GDI; the expected answers, boxes and bytes are Wine's.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "emf_builder.hpp"
#include "gdi_support.hpp"

namespace {

using vxtest::Canvas;
using vxtest::EmfBuilder;

constexpr uint32_t kStretchDIBits = 81, kSetDIBitsToDevice = 80, kBitBlt = 76, kStretchBlt = 77;
const RECT kFrame{0, 0, 40, 40};  // 4 x 4 pixels of a device of 10 pixels a millimetre
const SIZE kDevice{1000, 1000}, kMillimetres{100, 100};

// A bottom-up DIB's header (4 x 4 32-bit by default) and, for that, bits of unrelated colours.
std::vector<uint8_t> DibHeader(int width = 4, int height = 4, int bits = 32) {
    vxtest::Info info = vxtest::Header(width, height, bits);
    const auto* p = reinterpret_cast<const uint8_t*>(&info.header);
    return {p, p + sizeof(BITMAPINFOHEADER)};
}
std::vector<uint8_t> Bits4x4() {
    std::vector<uint8_t> bits;
    for (int i = 0; i < 16; ++i) {
        const COLORREF c = vxtest::Mix(i % 4, i / 4);
        bits.insert(bits.end(), {GetBValue(c), GetGValue(c), GetRValue(c), 0});
    }
    return bits;
}

// An EMR_STRETCHDIBITS of the 4 x 4 DIB onto (x, y, cx, cy).
EmfBuilder& StretchRecord(EmfBuilder& emf, int x, int y, int cx, int cy, DWORD rop = SRCCOPY) {
    return emf.bitmap(kStretchDIBits, {0, 0, 0, 0, x, y, 0, 0, 4, 4, 0, 0, 0, 0, DIB_RGB_COLORS, int32_t(rop), cx, cy},
                      10, DibHeader(), Bits4x4());
}

// Words as their bytes.
template <size_t N>
std::vector<uint8_t> Bytes(const uint32_t (&words)[N]) {
    const auto* p = reinterpret_cast<const uint8_t*>(words);
    return {p, p + sizeof words};
}

// A metafile's bytes; the metafile is deleted.
std::vector<uint8_t> Taken(HENHMETAFILE metafile) {
    std::vector<uint8_t> bytes(GetEnhMetaFileBits(metafile, 0, nullptr));
    GetEnhMetaFileBits(metafile, UINT(bytes.size()), bytes.data());
    DeleteEnhMetaFile(metafile);
    return bytes;
}

// The bytes of a white 40 x 40 32-bit section after `draw` drew on it.
template <typename Draw>
std::vector<uint8_t> Drawn(Draw draw) {
    Canvas canvas(40, 40, 32, {}, true);
    PatBlt(canvas.dc(), 0, 0, 40, 40, WHITENESS);
    draw(canvas.dc());
    return canvas.bytes();
}
std::vector<uint8_t> Played(const EmfBuilder& emf, RECT rect) {
    HENHMETAFILE metafile = emf.make();
    EXPECT_NE(metafile, nullptr);
    auto bytes = Drawn([&](HDC dc) { EXPECT_TRUE(PlayEnhMetaFile(dc, metafile, &rect)); });
    DeleteEnhMetaFile(metafile);
    return bytes;
}
// The 4 x 4 DIB stretched onto each box by the direct call.
std::vector<uint8_t> Stretched(std::initializer_list<RECT> boxes) {
    const std::vector<uint8_t> info = DibHeader(), bits = Bits4x4();
    return Drawn([&](HDC dc) {
        for (const RECT& box : boxes)
            StretchDIBits(dc, box.left, box.top, box.right - box.left, box.bottom - box.top, 0, 0, 4, 4, bits.data(),
                          reinterpret_cast<const BITMAPINFO*>(info.data()), DIB_RGB_COLORS, SRCCOPY);
    });
}

// Where the picture lands: a frame mapped onto a rectangle, the record's own placement
// inside the frame, and the reference device's pixels (96 dpi: frames in .01 mm that are not
// whole pixels, where the rounding of both corners decides).
TEST(EnhMetaFilePlay, MapsTheFrameOntoTheRectangleAsWindowsDoes) {
    const SIZE screen{1280, 1024}, screenMm{339, 271};
    struct Case {
        const char* name;
        RECT frame;
        SIZE device, millimetres;
        RECT record;  // x, y, cx, cy
        RECT rect;
        RECT box;     // Wine's
    } cases[] = {
        {"1:1", kFrame, kDevice, kMillimetres, {0, 0, 4, 4}, {0, 0, 4, 4}, {0, 0, 4, 4}},
        {"2:1", kFrame, kDevice, kMillimetres, {0, 0, 4, 4}, {0, 0, 8, 8}, {0, 0, 8, 8}},
        {"3:1 offset", kFrame, kDevice, kMillimetres, {0, 0, 4, 4}, {1, 1, 13, 13}, {1, 1, 13, 13}},
        {"1.5:1", kFrame, kDevice, kMillimetres, {0, 0, 4, 4}, {1, 1, 7, 7}, {1, 1, 7, 7}},
        {"moved", kFrame, kDevice, kMillimetres, {0, 0, 4, 4}, {5, 7, 9, 11}, {5, 7, 9, 11}},
        {"record inside", {0, 0, 60, 60}, kDevice, kMillimetres, {2, 3, 4, 4}, {0, 0, 6, 6}, {2, 3, 6, 7}},
        {"frame moved", {20, 30, 60, 70}, kDevice, kMillimetres, {2, 3, 4, 4}, {10, 10, 14, 14}, {10, 10, 14, 14}},
        {"empty rect", kFrame, kDevice, kMillimetres, {0, 0, 4, 4}, {0, 0, 0, 0}, {0, 0, 4, 4}},
        {"96 dpi", {52, 79, 132, 158}, screen, screenMm, {2, 3, 4, 4}, {2, 3, 6, 7}, {2, 3, 7, 8}},
        {"96 dpi x5", {52, 79, 132, 158}, screen, screenMm, {2, 3, 4, 4}, {0, 0, 16, 16}, {0, 0, 21, 22}},
        {"96 dpi shrunk", {0, 0, 2648, 2646}, screen, screenMm, {10, 20, 4, 4}, {0, 0, 50, 50}, {5, 10, 7, 12}},
    };
    for (const Case& c : cases) {
        EmfBuilder emf(c.frame, c.device, c.millimetres);
        StretchRecord(emf, c.record.left, c.record.top, c.record.right, c.record.bottom);
        EXPECT_EQ(Played(emf, c.rect), Stretched({c.box})) << c.name;
    }
}

// The metafile's own mapping (an anisotropic window and viewport, saved and restored)
// composes with the placement.
TEST(EnhMetaFilePlay, MetafileMappingComposesWithThePlacement) {
    constexpr uint32_t kSetMapMode = 17, kWindowExt = 9, kViewportExt = 11, kViewportOrg = 12, kSave = 33, kRestore = 34;
    EmfBuilder emf(kFrame, kDevice, kMillimetres);
    emf.add(kSave, {}).add(kSetMapMode, {MM_ANISOTROPIC}).add(kWindowExt, {2, 2}).add(kViewportExt, {1, 1});
    emf.add(kViewportOrg, {3, 5});
    StretchRecord(emf, 0, 0, 4, 4);  // half size at (3, 5)
    emf.add(kRestore, {-1});
    StretchRecord(emf, 0, 0, 2, 2);  // unmapped again
    EXPECT_EQ(Played(emf, {0, 0, 8, 8}), Stretched({{6, 10, 10, 14}, {0, 0, 4, 4}}));  // everything doubled
}

// What SetEnhMetaFileBits accepts (Windows checks the record type, the signature and that
// nBytes fits in the bytes given, and keeps nBytes of them), and what the copying calls answer.
TEST(EnhMetaFileBits, AcceptsAndAnswersAsWindows) {
    const std::vector<uint8_t> good = EmfBuilder(kFrame).bytes();  // 128 bytes
    struct Case {
        const char* name;
        size_t offset;
        uint32_t value;
        UINT size;      // of the bytes handed over
        UINT expected;  // GetEnhMetaFileBits' answer; 0: refused
    } cases[] = {
        {"valid", 0, 1, 128, 128},
        {"record type 2", 0, 2, 128, 0},
        {"signature", 40, 0x464D4521, 128, 0},
        {"nBytes past the bytes", 48, 256, 128, 0},
        {"bytes shorter than nBytes", 0, 1, 124, 0},
        {"nBytes shorter than the bytes", 48, 120, 128, 120},
        {"more bytes than nBytes", 0, 1, 140, 128},
        {"version", 44, 0, 128, 128},
        {"no handles", 56, 0, 128, 128},
        {"record count", 52, 99, 128, 128},
        {"no EOF", 108, 0x55, 128, 128},
        {"EOF size 0", 112, 0, 128, 128},
        {"header size past the end", 4, 4000, 128, 128},
    };
    for (const Case& c : cases) {
        std::vector<uint8_t> bytes = good;
        bytes.resize(std::max<size_t>(bytes.size(), c.size));
        std::memcpy(&bytes[c.offset], &c.value, 4);
        HENHMETAFILE metafile = SetEnhMetaFileBits(c.size, bytes.data());
        EXPECT_EQ(metafile != nullptr ? GetEnhMetaFileBits(metafile, 0, nullptr) : 0u, c.expected) << c.name;
        if (metafile != nullptr) {
            EXPECT_EQ(GetEnhMetaFileHeader(metafile, 0, nullptr), c.offset == 4 ? c.value : 108u) << c.name;
        }
        DeleteEnhMetaFile(metafile);
    }
    for (UINT size : {0u, 8u, 88u, 108u}) EXPECT_EQ(SetEnhMetaFileBits(size, good.data()), nullptr) << size;

    HENHMETAFILE metafile = SetEnhMetaFileBits(128, good.data());
    uint8_t out[200] = {};
    ENHMETAHEADER header{};
    EXPECT_EQ(GetEnhMetaFileBits(metafile, 50, out), 50u);   // a partial copy
    EXPECT_EQ(GetEnhMetaFileBits(metafile, 200, out), 128u);
    EXPECT_EQ(std::memcmp(out, good.data(), 128), 0);
    EXPECT_EQ(GetEnhMetaFileHeader(metafile, 50, &header), 50u);
    EXPECT_EQ(GetEnhMetaFileHeader(metafile, sizeof header + 92, &header), 108u);
    EXPECT_EQ(header.rclFrame.right, 40);
    EXPECT_EQ(GetObjectType(metafile), DWORD{OBJ_ENHMETAFILE});

    const std::string path = ::testing::TempDir() + "vexora_emf_copy.emf";
    HENHMETAFILE copy = CopyEnhMetaFileA(metafile, nullptr), onDisk = CopyEnhMetaFileA(metafile, path.c_str());
    for (HENHMETAFILE h : {copy, onDisk, GetEnhMetaFileA(path.c_str())}) {
        EXPECT_EQ(GetEnhMetaFileBits(h, 0, nullptr), 128u);
        EXPECT_TRUE(DeleteEnhMetaFile(h));
    }
    EXPECT_EQ(GetEnhMetaFileA((path + ".missing").c_str()), nullptr);
    std::remove(path.c_str());

    EXPECT_TRUE(DeleteEnhMetaFile(metafile));
    EXPECT_FALSE(DeleteEnhMetaFile(metafile));  // stale
    EXPECT_FALSE(DeleteEnhMetaFile(nullptr));
    EXPECT_EQ(GetEnhMetaFileBits(metafile, 0, nullptr), 0u);
    EXPECT_FALSE(PlayEnhMetaFile(nullptr, metafile, nullptr));
}

// Records that lie about themselves are skipped; nothing is read past a record (the sanitizer
// lane watches), and the good records around them still draw. Windows trusts a bitmap's
// offsets and sizes as long as the header lies inside the record, and draws what it finds
// past the bits; those cases run against our player only.
TEST(EnhMetaFilePlay, HostileRecordsDrawNothingOfThemselves) {
    const RECT rect{0, 0, 4, 4};
    struct Case {
        const char* name;
        size_t offset;  // into the second record (the bad one), from its start
        uint32_t value;
        bool windowsTrusts;
    } cases[] = {
        {"bitmap header past the record", 48, 4000, false},
        {"header size past its block", 52, 20, true},
        {"bits past the record", 56, 4000, true},
        {"bits shorter than the image", 60, 60, true},
        {"negative width", 80 + 4, uint32_t(-4), false},
        {"huge height", 80 + 8, 0x7FFFFFFF, false},
        {"8 bits without their table", 80 + 12, 0x00080001, true},
    };
    EmfBuilder good(kFrame, kDevice, kMillimetres);
    StretchRecord(good, 0, 0, 2, 2);
    const std::vector<uint8_t> alone = Played(good, rect);
    for (const Case& c : cases) {
#ifdef _WIN32
        if (c.windowsTrusts) {
            std::printf("skipped under Windows, which draws from past the bitmap: %s\n", c.name);
            continue;
        }
#endif
        EmfBuilder emf = good;
        StretchRecord(emf, 2, 2, 2, 2);
        emf.set(good.bytes(false).size() + c.offset, c.value);
        EXPECT_EQ(Played(emf, rect), alone) << c.name;
    }
}


// A recording DC writes the records Windows writes for the bitmap and state calls, and a
// header that counts them, bounds them in device pixels and gives the frame in .01 mm of the
// reference device. The reference device's size (szlDevice, szlMillimeters, szlMicrometers)
// comes from the machine and is only checked for consistency.
TEST(EnhMetaFileRecording, WritesTheRecordsWindowsWrites) {
    HDC dc = CreateEnhMetaFileA(nullptr, nullptr, nullptr, "Vx\0Pic\0");
    ASSERT_NE(dc, nullptr);
    EXPECT_EQ(GetObjectType(dc), DWORD{OBJ_ENHMETADC});
    const std::vector<uint8_t> info24 = DibHeader(3, 2, 24);
    std::vector<uint8_t> bits24(24);
    for (size_t i = 0; i < bits24.size(); ++i) bits24[i] = uint8_t(i * 10);
    const auto* bmi = reinterpret_cast<const BITMAPINFO*>(info24.data());
    const uint32_t pixels32[4] = {0x00FF0000, 0x0000FF00, 0x000000FF, 0x00102030};  // top row first
    vx::OwnedObject<HBITMAP> source(CreateBitmap(2, 2, 1, 32, pixels32));
    vx::MemoryDC sourceDc;
    vx::ObjectSelection selected(sourceDc.get(), source.get());
    vx::OwnedObject<HPEN> pen(CreatePen(PS_DASH, 3, RGB(1, 2, 3)));

    EXPECT_EQ(StretchDIBits(dc, 10, 20, 6, 4, 0, 0, 3, 2, bits24.data(), bmi, DIB_RGB_COLORS, SRCCOPY), 2);
    SetDIBitsToDevice(dc, 5, 6, 3, 2, 0, 0, 0, 2, bits24.data(), bmi, DIB_RGB_COLORS);
    PatBlt(dc, 1, 2, 3, 4, PATCOPY);
    BitBlt(dc, 30, 40, 2, 2, sourceDc.get(), 0, 0, SRCCOPY);
    StretchBlt(dc, 30, 40, 4, 5, sourceDc.get(), 1, 0, 1, 2, SRCINVERT);
    BitBlt(dc, 7, 7, 2, 2, sourceDc.get(), 0, 0, DSTINVERT);
    SaveDC(dc);
    SetMapMode(dc, MM_ANISOTROPIC);
    SetWindowOrgEx(dc, 1, 2, nullptr);
    SetWindowExtEx(dc, 10, 20, nullptr);
    SetViewportOrgEx(dc, 3, 4, nullptr);
    SetViewportExtEx(dc, 30, 40, nullptr);
    StretchDIBits(dc, 11, 12, 2, 2, 0, 0, 3, 2, bits24.data(), bmi, DIB_RGB_COLORS, SRCCOPY);  // (33..36, 24..28)
    RestoreDC(dc, -1);
    SelectObject(dc, pen.get());
    SelectObject(dc, GetStockObject(BLACK_PEN));
    DeleteObject(pen.release());
    SetTextColor(dc, RGB(9, 9, 9));
    SetBkColor(dc, RGB(8, 8, 8));
    SetBkMode(dc, TRANSPARENT);
    SetROP2(dc, R2_XORPEN);
    SetStretchBltMode(dc, COLORONCOLOR);
    HENHMETAFILE metafile = CloseEnhMetaFile(dc);
    ASSERT_NE(metafile, nullptr);
    EXPECT_EQ(GetObjectType(dc), 0u);

    const int32_t one = 0x3F800000, white = 0xFFFFFF;
    const uint32_t info32[13] = {40, 2, 2, 32 << 16 | 1, BI_BITFIELDS, 16, 0, 0, 0, 0, 0xFF0000, 0xFF00, 0xFF};
    const uint32_t bits32[4] = {pixels32[2], pixels32[3], pixels32[0], pixels32[1]};  // bottom up
    EmfBuilder expected(kFrame);
    const auto dib = [&](uint32_t type, std::initializer_list<int32_t> fields) { expected.bitmap(type, fields, 10, info24, bits24); };
    dib(kStretchDIBits, {10, 20, 15, 23, 10, 20, 0, 0, 3, 2, 0, 0, 0, 0, DIB_RGB_COLORS, int32_t(SRCCOPY), 6, 4});
    dib(kSetDIBitsToDevice, {5, 6, 7, 7, 5, 6, 0, 0, 3, 2, 0, 0, 0, 0, DIB_RGB_COLORS, 0, 2});
    expected.add(kBitBlt, {1, 2, 3, 5, 1, 2, 3, 4, int32_t(PATCOPY), 0, 0, one, 0, 0, one, 0, 0, 0, 0, 0, 0, 0, 0});
    expected.bitmap(kBitBlt, {30, 40, 31, 41, 30, 40, 2, 2, int32_t(SRCCOPY), 0, 0, one, 0, 0, one, 0, 0, white, 0, 0, 0, 0, 0},
                    19, Bytes(info32), Bytes(bits32));
    expected.bitmap(kStretchBlt, {30, 40, 33, 44, 30, 40, 4, 5, int32_t(SRCINVERT), 1, 0, one, 0, 0, one, 0, 0, white, 0, 0,
                                  0, 0, 0, 1, 2}, 19, Bytes(info32), Bytes(bits32));
    expected.add(kBitBlt, {7, 7, 8, 8, 7, 7, 2, 2, int32_t(DSTINVERT), 0, 0, one, 0, 0, one, 0, 0, 0, 0, 0, 0, 0, 0});
    expected.add(33, {}).add(17, {MM_ANISOTROPIC}).add(10, {1, 2}).add(9, {10, 20}).add(12, {3, 4}).add(11, {30, 40});
    dib(kStretchDIBits, {11, 12, 12, 13, 11, 12, 0, 0, 3, 2, 0, 0, 0, 0, DIB_RGB_COLORS, int32_t(SRCCOPY), 2, 2});
    expected.add(34, {-1}).add(38, {1, PS_DASH, 3, 0, int32_t(RGB(1, 2, 3))}).add(37, {1}).add(37, {int32_t(0x80000000u | BLACK_PEN)});
    expected.add(40, {1}).add(24, {int32_t(RGB(9, 9, 9))}).add(25, {int32_t(RGB(8, 8, 8))}).add(18, {TRANSPARENT});
    expected.add(20, {R2_XORPEN}).add(21, {COLORONCOLOR});

    const std::vector<uint8_t> bytes = Taken(metafile);
    ENHMETAHEADER header{};
    std::memcpy(&header, bytes.data(), sizeof header);
    ASSERT_EQ(header.nSize, 124u);  // the header, "Vx", "Pic" and two nulls in UTF-16, padded
    const std::vector<uint8_t> records = expected.records();
    EXPECT_EQ(std::vector<uint8_t>(bytes.begin() + header.nSize, bytes.end()), records);
    const RECT bounds{1, 2, 36, 44};
    EXPECT_EQ(std::memcmp(&header.rclBounds, &bounds, sizeof bounds), 0);
    const SIZE device = header.szlDevice, mm = header.szlMillimeters;
    EXPECT_EQ(header.rclFrame.right, LONG(36 * 100 * int64_t{mm.cx} / device.cx));
    EXPECT_EQ(header.rclFrame.bottom, LONG(44 * 100 * int64_t{mm.cy} / device.cy));
    EXPECT_EQ(header.szlMicrometers.cx, mm.cx * 1000);
    const std::vector<size_t> counts = {header.nBytes, header.nRecords, header.nHandles, header.nDescription,
                                        header.offDescription};
    EXPECT_EQ(counts, (std::vector<size_t>{bytes.size(), 25, 2, 8, 108}));
    const char16_t text[8] = {u'V', u'x', 0, u'P', u'i', u'c', 0, 0};
    EXPECT_EQ(std::memcmp(bytes.data() + 108, text, 16), 0);
    DeleteEnhMetaFile(metafile);
}


// What a recording DC writes plays back to what the calls draw directly: at 1:1 (a frame of
// exactly 128 x 256 reference pixels played onto as many), stretched 2:1 and moved. A
// rectangle is recorded by its first and last pixels, which are what scale. The bits of
// SetDIBitsToDevice, which are not stretched, land outside the canvas at 2:1.
TEST(EnhMetaFileRecording, PlaysBackWhatWasDrawn) {
    const std::vector<uint8_t> info = DibHeader(), bits = Bits4x4();
    const auto* bmi = reinterpret_cast<const BITMAPINFO*>(info.data());
    void* pixels = nullptr;
    vx::OwnedObject<HBITMAP> section(CreateDIBSection(nullptr, bmi, DIB_RGB_COLORS, &pixels, nullptr, 0));
    std::memcpy(pixels, bits.data(), bits.size());
    vx::MemoryDC source;
    vx::ObjectSelection selected(source.get(), section.get());
    vx::OwnedObject<HBRUSH> pattern(CreatePatternBrush(section.get()));
    // The calls at scale k, moved by (dx, dy); a recording DC gets them at 1:1.
    auto draw = [&](HDC dc, int k, int dx, int dy, bool recording = false) {
        vx::OwnedObject<HPEN> pen(CreatePen(PS_SOLID, 0, RGB(200, 10, 10)));  // one pixel at any scale
        vx::ObjectSelection pens(dc, pen.get());
        Rectangle(dc, 2 * k + dx, 3 * k + dy, 19 * k + 1 + dx, 13 * k + 1 + dy);  // its last pixels scale
        const POINT triangle[3] = {{20 * k + dx, 20 * k + dy}, {38 * k + dx, 24 * k + dy}, {25 * k + dx, 38 * k + dy}};
        Polygon(dc, triangle, 3);
        MoveToEx(dc, dx, 39 * k + dy, nullptr);
        LineTo(dc, 39 * k + dx, dy);
        const int in = recording ? 0 : 1;  // an ellipse is recorded one pixel in and drawn so
        Ellipse(dc, 26 * k + dx, 26 * k + dy, (37 - in) * k + dx, (35 - in) * k + dy);
        if (k == 1) SetDIBitsToDevice(dc, 3 + dx, 30 + dy, 4, 4, 0, 0, 0, 4, bits.data(), bmi, DIB_RGB_COLORS);
        StretchDIBits(dc, 22 * k + dx, 2 * k + dy, -8 * k, 6 * k, 0, 0, 4, 4, bits.data(), bmi, DIB_RGB_COLORS, NOTSRCCOPY);
        StretchBlt(dc, 1 * k + dx, 1 * k + dy, 3 * k, 2 * k, source.get(), 1, 1, 3, 2, SRCCOPY);
        StretchBlt(dc, 24 * k + dx, 8 * k + dy, 7 * k, 5 * k, source.get(), 0, 1, 4, 3, SRCINVERT);
        vx::ObjectSelection brushes(dc, pattern.get());
        PatBlt(dc, 10 * k + dx, 16 * k + dy, 9 * k, 7 * k, PATINVERT);
    };
    const RECT frame{0, 0, 3390, 6775};  // 128 x 256 pixels of 339 x 271 mm over 1280 x 1024
    HDC recording = CreateEnhMetaFileA(nullptr, nullptr, &frame, nullptr);
    draw(recording, 1, 0, 0, true);
    HENHMETAFILE metafile = CloseEnhMetaFile(recording);
    struct Case {
        const char* name;
        RECT rect;
        int k, dx, dy;
    } cases[] = {{"1:1", {0, 0, 128, 256}, 1, 0, 0}, {"2:1", {0, 0, 256, 512}, 2, 0, 0}, {"moved", {3, 5, 131, 261}, 1, 3, 5}};
    for (const Case& c : cases) {
        const auto played = Drawn([&](HDC dc) { EXPECT_TRUE(PlayEnhMetaFile(dc, metafile, &c.rect)); });
        EXPECT_EQ(played, Drawn([&](HDC dc) { draw(dc, c.k, c.dx, c.dy); })) << c.name;
    }
    DeleteEnhMetaFile(metafile);
}

// The records of lines, shapes, regions, clipping and objects, as Windows writes them: 16-bit
// points when they fit, inclusive boxes, a brush written for each region fill, slots reused
// once freed.
TEST(EnhMetaFileRecording, WritesShapesAndObjectsAsWindows) {
    HDC dc = CreateEnhMetaFileA(nullptr, nullptr, nullptr, nullptr);
    POINT points[3] = {{1, 2}, {30, 4}, {5, 60}};
    Polyline(dc, points, 3);
    points[1].x = 70000;
    Polyline(dc, points, 3);
    Rectangle(dc, 0, 0, 10, 10);
    Ellipse(dc, 1, 2, 10, 20);
    vx::OwnedObject<HRGN> region(CreateRectRgn(1, 1, 5, 5)), other(CreateRectRgn(7, 2, 9, 9));
    CombineRgn(region.get(), region.get(), other.get(), RGN_OR);
    FillRgn(dc, region.get(), static_cast<HBRUSH>(GetStockObject(GRAY_BRUSH)));
    SelectClipRgn(dc, nullptr);
    IntersectClipRect(dc, 1, 2, 3, 4);
    HBRUSH first = CreateSolidBrush(1), second = CreateSolidBrush(2), third = CreateSolidBrush(3);
    SelectObject(dc, first);
    SelectObject(dc, second);
    DeleteObject(first);
    SelectObject(dc, third);
    MoveToEx(dc, 3, 3, nullptr);
    LineTo(dc, 9, 9);
    SetPixel(dc, 2, 2, RGB(4, 5, 6));
    OffsetWindowOrgEx(dc, 1, 1, nullptr);
    ScaleViewportExtEx(dc, 1, 2, 3, 4, nullptr);
    const WORD rows[8] = {0x3C, 0x1E, 0x0F, 0x3C, 0x1E, 0x0F, 0x3C, 0x1E};  // top row first
    vx::OwnedObject<HBITMAP> mono(CreateBitmap(8, 8, 1, 1, rows));
    HBRUSH pattern = CreatePatternBrush(mono.get());
    SelectObject(dc, pattern);
    SelectObject(dc, GetStockObject(WHITE_BRUSH));
    std::vector<uint8_t> bytes = Taken(CloseEnhMetaFile(dc));
    for (HBRUSH b : {second, third, pattern}) DeleteObject(b);

    EmfBuilder expected(kFrame);
    expected.add(87, {1, 2, 30, 60, 3, 1 | 2 << 16, 30 | 4 << 16, 5 | 60 << 16});
    expected.add(4, {1, 2, 70000, 60, 3, 1, 2, 70000, 4, 5, 60});
    expected.add(43, {0, 0, 9, 9}).add(42, {1, 2, 9, 19});
    expected.add(39, {1, BS_SOLID, int32_t(RGB(128, 128, 128)), 0});
    expected.add(71, {1, 1, 8, 8, 96, 1, 32, 1, 4, 64, 1, 1, 9, 9, 1, 1, 5, 2, 1, 2, 5, 5, 7, 2, 9, 5, 7, 5, 9, 9});
    expected.add(75, {0, RGN_COPY}).add(30, {1, 2, 3, 4});
    expected.add(39, {2, BS_SOLID, 1, 0}).add(37, {2}).add(39, {3, BS_SOLID, 2, 0}).add(37, {3}).add(40, {2});
    expected.add(39, {2, BS_SOLID, 3, 0}).add(37, {2});
    expected.add(27, {3, 3}).add(54, {9, 9}).add(15, {2, 2, int32_t(RGB(4, 5, 6))});
    expected.add(10, {1, 1}).add(31, {1, 2, 3, 4});
    vxtest::Info monoInfo = vxtest::Header(8, 8, 1);
    monoInfo.header.biSizeImage = 32;
    const auto* m = reinterpret_cast<const uint8_t*>(&monoInfo.header);
    std::vector<uint8_t> bits;
    for (int row = 7; row >= 0; --row) bits.insert(bits.end(), {uint8_t(rows[row]), 0, 0, 0});
    expected.bitmap(93, {4, 2, 0, 0, 0, 0, 0}, 2, {m, m + sizeof(BITMAPINFOHEADER)}, bits).add(37, {4});
    expected.add(37, {int32_t(0x80000000u | WHITE_BRUSH)});

    // The four bytes before the brush's bitmap are padding, whatever Windows leaves in them.
    const std::vector<uint8_t> records = expected.records();
    ASSERT_EQ(bytes.size(), 108 + records.size());
    const size_t brushAt = bytes.size() - 20 - 12 - 12 - 108;  // then two selections and the EOF
    std::memset(&bytes[brushAt + 32], 0, 4);
    EXPECT_EQ(std::vector<uint8_t>(bytes.begin() + 108, bytes.end()), records);
    EXPECT_EQ(bytes[56], 5);  // nHandles
}


// Text is recorded as EMR_EXTTEXTOUTW: the characters in UTF-16 and an advance for each, which
// add up to the text's extent in the DC's font (fonts differ between systems, so only the
// structure is compared).
TEST(EnhMetaFileRecording, WritesTextWithItsAdvances) {
    vx::OwnedObject<HFONT> font(CreateFontA(-16, 0, 0, 0, FW_NORMAL, 0, 0, 0, ANSI_CHARSET, 0, 0, 0, 0, "Arial"));
    vx::MemoryDC measuring;
    vx::ObjectSelection measured(measuring.get(), font.get());
    SIZE extent{};
    ASSERT_TRUE(GetTextExtentPoint32A(measuring.get(), "Hi\x80", 3, &extent));
    HDC dc = CreateEnhMetaFileA(nullptr, nullptr, nullptr, nullptr);
    SelectObject(dc, font.get());
    TextOutA(dc, 5, 6, "Hi\x80", 3);
    const std::vector<uint8_t> bytes = Taken(CloseEnhMetaFile(dc));
    const size_t at = 108 + 332 + 12;  // after the font's record and its selection
    ASSERT_EQ(bytes.size(), at + 96 + 20);
    EXPECT_EQ(bytes[108], 82);  // EMR_EXTCREATEFONTINDIRECTW
    int32_t f[24];  // the text record's fields from its type on
    std::memcpy(f, &bytes[at], sizeof f);
    EXPECT_EQ(std::vector<int32_t>(f, f + 2), (std::vector<int32_t>{84, 96}));
    EXPECT_EQ(std::vector<int32_t>(f + 9, f + 14), (std::vector<int32_t>{5, 6, 3, 76, 0}));  // at, count, string
    const char16_t text[3] = {u'H', u'i', u'\u20AC'};
    EXPECT_EQ(std::memcmp(&bytes[at + 76], text, 6), 0);
    EXPECT_EQ(f[18], 84);  // the advances, after the string
    EXPECT_EQ(f[21] + f[22] + f[23], extent.cx);
}


// A Windows metafile becomes an enhanced one as Windows makes it: a comment holding it whole,
// the picture's mapping in pixels of the reference device, then its own records.
TEST(EnhMetaFileRecording, TakesAWindowsMetafileAsWindows) {
    HDC wmfDc = CreateMetaFileA(nullptr);
    SetWindowExtEx(wmfDc, 100, 100, nullptr);
    Rectangle(wmfDc, 10, 10, 50, 50);
    HMETAFILE wmf = CloseMetaFile(wmfDc);
    std::vector<uint8_t> wmfBytes(GetMetaFileBitsEx(wmf, 0, nullptr));
    GetMetaFileBitsEx(wmf, UINT(wmfBytes.size()), wmfBytes.data());
    DeleteMetaFile(wmf);
    const METAFILEPICT picture{MM_ANISOTROPIC, 2000, 1000, nullptr};
    const std::vector<uint8_t> bytes = Taken(SetWinMetaFileBits(UINT(wmfBytes.size()), wmfBytes.data(), nullptr, &picture));
    ASSERT_GT(bytes.size(), 108u);
    EmfBuilder expected(kFrame);
    // cbData, "GDIC", a Windows metafile, version 0x300, no checksum or flags, its size and bytes
    const auto n = uint32_t(wmfBytes.size());
    const uint32_t head[7] = {24 + n, 0x43494447, 0x80000001, 0x300, 0, 0, n};
    std::vector<uint8_t> comment = Bytes(head);
    comment.insert(comment.end(), wmfBytes.begin(), wmfBytes.end());
    expected.raw(70, comment);
    expected.add(17, {MM_ANISOTROPIC}).add(11, {76, 38}).add(9, {76, 38}).add(9, {100, 100}).add(43, {10, 10, 49, 49});
    const std::vector<uint8_t> records = expected.bytes(false);
    ASSERT_GE(bytes.size(), records.size());
    EXPECT_EQ(std::vector<uint8_t>(bytes.begin() + 108, bytes.begin() + long(records.size())),
              std::vector<uint8_t>(records.begin() + 108, records.end()));
    const LONG frame[4] = {0, 0, 2000, 1000};
    EXPECT_EQ(std::memcmp(&bytes[24], frame, sizeof frame), 0);
}

}  // namespace
