// DIB arithmetic, the version text, palettes made from DIBs, the colour-table inversions and the
// attach/detach logic of the module entry point.

#include "library.hpp"
#include "dib_builder.hpp"

using namespace vxtest;

TEST(DibArithmetic, OnlyAHeaderOfExactly40BytesHasFourByteEntriesAndClrUsed) {
    const struct { uint32_t size; uint16_t word10, bits; uint32_t clrUsed, colours, bytes; } cases[] = {
        {40, 0, 8, 0, 256, 1024}, {40, 0, 8, 20, 20, 80}, {40, 0, 24, 0, 0, 0}, {40, 0, 24, 5, 5, 20},
        {40, 0, 1, 0, 2, 8},      {40, 0, 4, 0, 16, 64},  {40, 0, 16, 0, 0, 0}, {12, 4, 0, 99, 16, 48},
        {12, 8, 0, 0, 256, 768},  {12, 1, 0, 0, 2, 6},
        // Any other size is read as a core header: the word at offset 10 is its bit count.
        {108, 0, 8, 20, 0, 0},    {124, 4, 8, 20, 16, 48}, {41, 1, 8, 20, 2, 6},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "biSize " << c.size << ", " << c.bits << " bits");
        Bytes header(40);
        PutU32(header, 0, c.size);
        PutU16(header, 10, c.word10);
        PutU16(header, 14, c.bits);
        PutU32(header, 32, c.clrUsed);
        EXPECT_EQ(DIBColorCount(header.data()), c.colours);
        EXPECT_EQ(PaletteSize(header.data()), c.bytes);
        EXPECT_EQ(DIBPixelBits(header.data()), reinterpret_cast<char*>(&header[0]) + c.size + c.bytes);
    }
}

TEST(GetImageVersion, CopiesAsManyBytesAsAskedUpToTheTerminator) {
    for (const int size : {-1, 0, 1, 7, 12, 13, 50}) {
        std::string buffer(64, '#');
        GetImageVersion(buffer.data(), size);
        const int written = size <= 0 ? 0 : size <= 12 ? size : 13;
        EXPECT_EQ(buffer.substr(0, written + 1), std::string("Version 5.56", written) + '#') << size;
    }
}

TEST(CreateDIBPalette, HoldsTheColourTableAndNeverTouchesTheCode) {
    SetImgError(IMGERR_IO);
    for (const DibShape& shape : {DibShape{5, 2, 8, 3}, DibShape{9, 2, 1}, DibShape{3, 3, 4}}) {
        const Bytes bytes = PackedDib(shape);
        Block dib(BlockFrom(bytes));
        HPALETTE palette = CreateDIBPalette(dib.get());
        const UINT n = GetPaletteEntries(palette, 0, 0, nullptr);
        Bytes got(4 * n), want;  // red, green, blue, flags
        for (UINT i = 0; i < n; ++i) want.insert(want.end(), {bytes[42 + 4 * i], bytes[41 + 4 * i], bytes[40 + 4 * i], 0});
        EXPECT_EQ(GetPaletteEntries(palette, 0, n, reinterpret_cast<PALETTEENTRY*>(got.data())), n);
        EXPECT_EQ(got, want) << shape.bitCount;
        EXPECT_EQ(n, (PixelOffset(shape) - 40) / 4);
        EXPECT_TRUE(DeleteObject(palette));
    }
    for (const Bytes& refused : {Cut(PackedDib({4, 4, 8}), 140), PackedDib({4, 4, 24})})  // no room for the table; none
        EXPECT_EQ(CreateDIBPalette(Block(BlockFrom(refused)).get()), nullptr);
    EXPECT_EQ(CreateDIBPalette(nullptr), nullptr);
    EXPECT_EQ(ImgError(), IMGERR_IO);
}

// In place: what the block holds after call(handle).
template <typename Call>
Bytes After(const Bytes& bytes, Call call) {
    Block dib(BlockFrom(bytes));
    call(dib.get());
    return BlockBytes(dib.get());
}

TEST(InvertMonoDIB, ComplementsPixelsSwapsColoursAndTwiceRestores) {
    for (const int32_t width : {1, 3, 31, 33}) {
        for (const int32_t height : {2, -3}) {
            SCOPED_TRACE(testing::Message() << width << " x " << height);
            Bytes before = PackedDib({width, height, 1, 0, false, static_cast<uint32_t>(width)});
            before[43] = 7, before[47] = 9;  // reserved bytes stay where they are
            Bytes want = before;
            std::swap_ranges(&want[40], &want[43], &want[44]);
            for (size_t i = 48; i < want.size(); ++i) want[i] = static_cast<uint8_t>(~want[i]);
            before.resize(before.size() + 8, 0x5A);  // slack is not touched
            want.resize(want.size() + 8, 0x5A);
            EXPECT_EQ(After(before, InvertMonoDIB), want);
            EXPECT_EQ(After(before, [](HDIB d) { InvertMonoDIB(d), InvertMonoDIB(d); }), before);
        }
    }
    const Bytes cut = Cut(PackedDib({40, 6, 1}), PixelOffset({40, 6, 1}) + 6 * 8 - 1);  // one byte short of its rows
    for (const Bytes& bytes : {PackedDib({5, 3, 4}), PackedDib({5, 3, 8}), PackedDib({5, 3, 24}), cut})
        EXPECT_EQ(After(bytes, InvertMonoDIB), bytes);
    InvertMonoDIB(nullptr);
}

TEST(InvertDIBPalette, InvertsTheFirstClrUsedEntriesOfAnInfoHeaderOnly) {
    Bytes full = PackedDib({6, 2, 8, 256}), two = PackedDib({6, 2, 8, 2});
    const uint8_t blueGreenRedReserved[4] = {30, 20, 10, 0x55};
    std::memcpy(&full[60], blueGreenRedReserved, 4);
    const struct { const char* name; Bytes bytes; BOOL result; size_t inverted; } cases[] = {
        {"256 entries", full, TRUE, 256}, {"2 entries", two, TRUE, 2},
        {"clrUsed 0", PackedDib({6, 2, 8}), TRUE, 0}, {"core", PackedDib({6, 2, 8, 0, true}), FALSE, 0},
        {"108-byte header", With(PackedDib({6, 2, 8}), 0, 108), FALSE, 0},
        {"clrUsed past the block", With(two, 32, 300), FALSE, 0},
    };
    for (const auto& c : cases) {
        Bytes want = c.bytes;
        for (size_t i = 40; i < 40 + c.inverted * 4; ++i) want[i] = i % 4 == 3 ? want[i] : 255 - want[i];
        EXPECT_TRUE(c.inverted != 256 || Bytes(&want[60], &want[64]) == Bytes({225, 235, 245, 0x55}));
        BOOL result = -1;
        EXPECT_EQ(After(c.bytes, [&](HDIB d) { result = InvertDIBPalette(d); }), want) << c.name;
        EXPECT_EQ(result, c.result) << c.name;
    }
    EXPECT_FALSE(InvertDIBPalette(nullptr));
}

// The attach and detach flags are module-wide and never reset: this is the only test that
// touches them, and its steps run in order.
TEST(LibraryEntry, AttachDetachAndTheHostingLayerRefusal) {
    const DWORD plain = 0x4A65000A, hosting = 0x80000A03;
    auto* a = reinterpret_cast<HINSTANCE>(0x10000);
    auto* b = reinterpret_cast<HINSTANCE>(0x20000);
    const struct { HINSTANCE instance; DWORD reason, version; BOOL result; HINSTANCE recorded; } steps[] = {
        {a, 2, plain, TRUE, nullptr}, {a, 3, hosting, TRUE, nullptr}, {a, 4, plain, FALSE, nullptr},
        {a, 0xFFFFFFFF, hosting, FALSE, nullptr}, {a, 1, hosting, TRUE, a}, {b, 1, hosting, FALSE, a},
        {b, 1, plain, TRUE, b}, {b, 0, hosting, TRUE, b}, {b, 0, hosting, FALSE, b}, {b, 0, plain, TRUE, b},
        {b, 3, hosting, TRUE, b},
    };
    for (size_t i = 0; i < std::size(steps); ++i) {
        const auto& s = steps[i];
        EXPECT_EQ(vx::LibraryEntry(s.instance, s.reason, s.version), s.result) << "step " << i;
        EXPECT_EQ(vx::LibraryInstance(), s.recorded) << "step " << i;
    }
}

#ifndef _WIN32
// Handles are looked up before use here: a freed block, or memory that never was a block, is
// refused the way a null handle is.
TEST(BadHandles, StaleAndForeignHandlesAreRefusedPosix) {
    TempDir dir;
    HDIB stale = MakeDib({4, 4, 8});
    GlobalFree(stale);
    const Bytes foreign = PackedDib({4, 4, 1});
    Bytes memory = foreign;
    for (HDIB handle : {stale, static_cast<HDIB>(memory.data())}) {
        SetImgError(IMGERR_SUCCESS);
        EXPECT_FALSE(SaveDIB(dir.path("out.bmp").c_str(), handle));
        EXPECT_EQ(ImgError(), IMGERR_PARAMETER);
        EXPECT_FALSE(std::filesystem::exists(dir.path("out.bmp")));
        EXPECT_EQ(CreateDIBPalette(handle), nullptr);
        EXPECT_FALSE(InvertDIBPalette(handle));
        InvertMonoDIB(handle);
        EXPECT_EQ(GlobalFree(handle), handle);
    }
    EXPECT_EQ(memory, foreign);
}
#endif
