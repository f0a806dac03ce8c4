// Conformance tests of the bit transfers, stretching, brushes and DC colours: run natively
// against the Linux subset and under Wine against Windows' GDI. Expected bytes are Wine's,
// learned by probing; the raster operations and plain copies are checked against models.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "gdi_raster_model.hpp"
#include "gdi_support.hpp"

namespace {

using vxtest::Dib;
using vxtest::Canvas;
using vxtest::FirstBytes;

const std::vector<RGBQUAD> kBlackWhite = {{0, 0, 0, 0}, {255, 255, 255, 0}};
const std::vector<RGBQUAD> kRedBlue = {{0, 0, 255, 0}, {255, 0, 0, 0}};
const std::vector<RGBQUAD> kFour = {{0, 0, 0, 0}, {255, 255, 255, 0}, {0, 0, 255, 0}, {255, 0, 0, 0}};
const char* const kMixed7x5 =
    "7ec64100b07e9600e48127009b6bc400df4bf90074fb9500b6e2d900/aefb9c00bc54bf00d5f60f0032bd0a00f4df3100227c2300f01caf00/"
    "45e17d00eb87c400dd01e200a1bfd2009a31e200cddee3007856e900/847293009f0f50009747280041672c00f46675007e8742000559b300/"
    "42aa4d000e88e400243cf7009259ef0048eaee00ae5656003c13e100";

uint8_t Noise(int i, int y, unsigned salt) { return static_cast<uint8_t>((i * 37u + y * 101u + salt) * 2654435761u >> 24); }

// Every truth table on raw bits, source and pattern (a pattern brush) in the destination's
// format, at different bit offsets of 1-, 4-, 8- and 32-bit rows and within one bitmap
// (scrolling each way), against a pixel model: the pixels around a run keep their values, even
// those sharing its bytes.
TEST(GdiRaster, EveryRopAtOffsetsAndOverlaps) {
    struct Move { int destX, destY, sourceX, sourceY; bool same; };
    const Move moves[] = {{1, 0, 1, 0, false}, {1, 0, 6, 1, false}, {5, 1, 2, 0, false}, {3, 1, 1, 0, true}, {0, 0, 3, 1, true}};
    for (const int bpp : {1, 4, 8, 32}) {
        Dib source(21, 3, bpp), dest(21, 3, bpp), tile(13, 2, bpp);
        const auto noise = [bpp](const Dib& d, unsigned salt) {
            for (int i = 0; i < d.stride() * d.height(); ++i)
                d.row(0)[i] = bpp == 32 && i % 4 == 3 ? 0 : Noise(i % d.stride(), i / d.stride(), salt);
        };
        const auto pixels = [bpp](const Dib& d) {
            std::vector<uint32_t> values;
            for (int i = 0; i < 63; ++i) values.push_back(vxtest::PixelAt(d.row(i / 21), bpp, i % 21));
            return values;
        };
        noise(source, 1), noise(tile, 2);
        const vx::OwnedObject<HBRUSH> brush(CreatePatternBrush(tile.bitmap()));
        SelectObject(dest.dc(), brush.get());
        for (const Move& m : moves)
            for (int code = 0; code < 256; ++code) {
                // With the pattern, only where source and destination line up: elsewhere Wine
                // combines a pattern and a source in ways ours does not yet follow.
                if (&m != moves && (code >> 4) != (code & 15)) continue;
                noise(dest, 3);
                const Dib& from = m.same ? dest : source;
                const std::vector<uint32_t> before = pixels(from);
                std::vector<uint32_t> model = pixels(dest);
                for (int y = m.destY; y < m.destY + 2 && y - m.destY + m.sourceY < 3; ++y)
                    for (int x = m.destX; x < m.destX + 13 && x - m.destX + m.sourceX < 21; ++x) {
                        const uint32_t p = vxtest::PixelAt(tile.row(y % 2), bpp, x % 13),
                                       s = before[(y - m.destY + m.sourceY) * 21 + x - m.destX + m.sourceX];
                        uint32_t& d = model[y * 21 + x];
                        uint32_t out = 0;
                        for (int b = 0; b < 32; b += 8)
                            out |= uint32_t{vxtest::RopModel(static_cast<uint8_t>(code), static_cast<uint8_t>(p >> b),
                                                             static_cast<uint8_t>(s >> b), static_cast<uint8_t>(d >> b))} << b;
                        d = bpp == 32 ? out : out & ((1u << bpp) - 1);
                    }
                ASSERT_TRUE(BitBlt(dest.dc(), m.destX, m.destY, 13, 2, from.dc(), m.sourceX, m.sourceY, static_cast<DWORD>(code) << 16));
                ASSERT_EQ(pixels(dest), model) << bpp << " bits, rop " << code << ", to " << m.destX << "," << m.destY
                                               << " from " << m.sourceX << "," << m.sourceY;
            }
    }
}

// Monochrome and colour meet through the DCs' colours: a 1-bit device bitmap reads as the
// destination's text (0) and background (1) colours and takes 1 where a colour source has the
// source DC's background colour; 1-bit DIB sections convert through their own tables.
// Long 1-bit runs of a fill and of a pattern 8 pixels wide (written a byte at a time between
// their partial ends) at every bit offset and length around a byte, against the pixel model.
TEST(GdiRaster, LongMonochromeRunsAtEveryOffset) {
    Dib dest(100, 2, 1), tile(8, 2, 1);
    tile.row(0)[0] = 0xB4, tile.row(1)[0] = 0x1D;
    const vx::OwnedObject<HBRUSH> brush(CreatePatternBrush(tile.bitmap()));
    for (const DWORD rop : {PATCOPY, WHITENESS})
        for (int x = 0; x < 10; ++x)
            for (const int width : {1, 7, 8, 9, 17, 64, 81}) {
                for (int i = 0; i < dest.stride() * 2; ++i) dest.row(0)[i] = Noise(i, x, width);
                std::vector<uint32_t> model;
                for (int y = 0; y < 2; ++y)
                    for (int px = 0; px < 100; ++px) {
                        const bool inside = px >= x && px < x + width;
                        model.push_back(!inside ? vxtest::PixelAt(dest.row(y), 1, px)
                                        : rop == WHITENESS ? 1 : vxtest::PixelAt(tile.row(y), 1, px % 8));
                    }
                SelectObject(dest.dc(), brush.get());
                ASSERT_TRUE(PatBlt(dest.dc(), x, 0, width, 2, rop));
                std::vector<uint32_t> got;
                for (int y = 0; y < 2; ++y)
                    for (int px = 0; px < 100; ++px) got.push_back(vxtest::PixelAt(dest.row(y), 1, px));
                ASSERT_EQ(got, model) << "at " << x << ", " << width << " wide, rop " << std::hex << rop;
            }
}

TEST(GdiRaster, MonochromeAndColour) {
    Dib monoBw(4, 1, 1, kBlackWhite), monoRb(4, 1, 1, kRedBlue), colour(4, 1, 32), four(4, 1, 8, kFour),
        monoBw2(4, 1, 1, kBlackWhite);
    const Canvas device(16, 1, 1);
    monoBw.set("50"), monoRb.set("50");
    const BYTE deviceBits[2] = {0x50, 0};
    SetBitmapBits(device.bitmap(), 2, deviceBits);
    SetTextColor(colour.dc(), RGB(255, 0, 0)), SetBkColor(colour.dc(), RGB(0, 255, 0));
    SetTextColor(monoBw.dc(), RGB(1, 2, 3)), SetBkColor(monoBw.dc(), RGB(4, 5, 6));
    SetTextColor(four.dc(), RGB(255, 0, 0)), SetBkColor(four.dc(), RGB(0, 0, 255));
    const auto copy = [](const Dib& to, const Canvas& from) {
        return BitBlt(to.dc(), 0, 0, 4, 1, from.dc(), 0, 0, SRCCOPY) ? to.hex() : "failed";
    };
    EXPECT_EQ(copy(colour, monoBw), "00000000ffffff0000000000ffffff00");
    EXPECT_EQ(copy(colour, monoRb), "0000ff00ff0000000000ff00ff000000");
    EXPECT_EQ(copy(colour, device), "0000ff0000ff00000000ff0000ff0000");
    EXPECT_EQ(copy(four, monoRb), "02030203");
    EXPECT_EQ(copy(monoBw2, monoRb), "00");
    colour.set("332211006655440033221100ffffff00");
    SetBkColor(colour.dc(), RGB(0x11, 0x22, 0x33));
    EXPECT_EQ(copy(monoBw2, colour), "10");  // the nearest entry, not the background rule
    EXPECT_EQ(copy(monoRb, colour), "e0");
    EXPECT_TRUE(BitBlt(device.dc(), 0, 0, 4, 1, colour.dc(), 0, 0, SRCCOPY));
    EXPECT_EQ(FirstBytes(device), "a0");
}

// Which source pixel each destination pixel takes (COLORONCOLOR), shrinking and growing,
// either side mirrored; rows keep the first pixel of a dropped group, columns the last, and
// clipping keeps the same picks. BLACKONWHITE ANDs and WHITEONBLACK ORs the raw bits of a
// dropped group instead. Of a source rectangle partly outside its bitmap only the destination
// pixels whose source exists change; mirrored, the run drawn stays at the end it would take
// unmirrored.
TEST(GdiRaster, StretchPicks) {
    Dib source(9, 1, 8), six(6, 1, 8), square(9, 9, 8), dest(5, 4, 8), mono(16, 1, 1, kBlackWhite), eight(6, 1, 8);
    source.set("000102030405060708"), six.set("101112131415"), mono.set("5af0"), eight.set("310ff0881122");
    const int C = COLORONCOLOR, B = BLACKONWHITE, W = WHITEONBLACK;
    const struct { const Dib& source; int x, w, sourceX, sourceWidth, mode; const char* expected; } cases[] = {
        {source, 0, 1, 0, 9, C, "07"}, {source, 0, 1, 0, 2, C, "00"}, {source, 0, 2, 0, 9, C, "0408"},
        {source, 0, 4, 0, 9, C, "01040608"}, {source, 0, 5, 0, 9, C, "0103040608"}, {source, 0, 5, 0, 7, C, "0002030506"},
        {source, 0, 7, 0, 8, C, "00010204050607"}, {source, 0, 3, 0, 2, C, "000001"}, {source, 0, 4, 0, 3, C, "00010102"},
        {source, 0, 8, 0, 5, C, "0000010202030404"}, {source, 0, 12, 0, 7, C, "000001020203030404050606"},
        {source, 0, 3, 8, -7, C, "070402"}, {source, 0, 1, 8, -7, C, "02"}, {source, 2, -3, 0, 7, C, "060401"},
        {source, 0, -1, 0, 7, C, "06"}, {source, 0, 10, 8, -7, C, "08070706050504030302"},
        {source, 9, -10, 0, 7, C, "06050504030302010100"}, {mono, 0, 8, 0, 16, B, "0c"}, {mono, 0, 8, 0, 16, W, "fc"},
        {eight, 0, 2, 0, 6, B, "0000"}, {eight, 0, 2, 0, 6, W, "ffbb"}, {eight, 0, 3, 0, 6, B, "018000"},
        {eight, 0, 5, 0, 6, B, "310f801122"},
        {six, 0, 4, 0, -4, C, "eeeeee10eeeeeeee"}, {six, 0, 4, 2, -4, C, "ee121110eeeeeeee"}, {six, 0, 8, 5, -8, C, "eeee151413121110"},
        {six, 0, 4, 7, -4, C, "1514eeeeeeeeeeee"}, {six, 0, 8, 9, -8, C, "15141312eeeeeeee"}, {six, 2, -4, -1, 4, C, "121110eeeeeeeeee"},
        {six, 9, -8, 0, 6, C, "eeee151414131211"}, {six, 0, 8, -2, 4, C, "eeeeeeee10101111"}, {six, 0, 3, -2, 6, C, "ee1113eeeeeeeeee"},
        {six, 0, 8, 2, -4, C, "eeee121211111010"}, {six, 0, 3, 4, -6, C, "ee1311eeeeeeeeee"}};
    for (const auto& c : cases) {
        const int bpp = &c.source == &mono ? 1 : 8;
        Dib row(bpp == 1 ? 8 : static_cast<int>(std::strlen(c.expected)) / 2, 1, bpp, bpp == 1 ? kBlackWhite : std::vector<RGBQUAD>{});
        row.fill(0xee);
        SetStretchBltMode(row.dc(), c.mode);
        EXPECT_TRUE(StretchBlt(row.dc(), c.x, 0, c.w, 1, c.source.dc(), c.sourceX, 0, c.sourceWidth, 1, SRCCOPY));
        EXPECT_EQ(row.hex(), c.expected) << c.x << " " << c.w << " from " << c.sourceX << " " << c.sourceWidth << " mode " << c.mode;
    }
    for (int i = 0; i < 81; ++i) square.row(i / 9)[i % 9] = static_cast<uint8_t>(i);
    SetStretchBltMode(dest.dc(), COLORONCOLOR);
    const vx::OwnedObject<HRGN> clip(CreateRectRgn(2, 1, 4, 3));
    const struct { HRGN clip; int x, y, w, h, sourceX, sourceY; const char* expected; } squares[] = {
        {nullptr, 0, 0, 5, 4, 0, 0, "0103040608/131516181a/2e30313335/4042434547"},
        {clip.get(), 0, 0, 5, 4, 0, 0, "eeeeeeeeee/eeee1618ee/eeee3133ee/eeeeeeeeee"},
        {nullptr, -2, -1, 7, 5, 0, 0, "151617191a/2728292b2c/3031323435/4243444647"},
        {nullptr, 0, 0, 5, 4, -3, -2, "eeeeeeeeee/ee00010305/ee1b1c1e20/ee2d2e3032"}};
    for (const auto& c : squares) {
        dest.fill(0xee);
        SelectClipRgn(dest.dc(), c.clip);
        StretchBlt(dest.dc(), c.x, c.y, c.w, c.h, square.dc(), c.sourceX, c.sourceY, 9, 9, SRCCOPY);
        EXPECT_EQ(dest.hex(), c.expected) << &c - squares;
    }
    Dib four(4, 4, 8), sixBySix(6, 6, 8);
    for (int i = 0; i < 16; ++i) four.row(i / 4)[i % 4] = static_cast<uint8_t>(0x10 + i);
    sixBySix.fill(0xee);
    EXPECT_TRUE(BitBlt(sixBySix.dc(), 0, 0, 4, 4, four.dc(), -1, -1, NOTSRCCOPY));
    EXPECT_EQ(sixBySix.hex(), "eeeeeeeeeeee/eeefeeedeeee/eeebeae9eeee/eee7e6e5eeee/eeeeeeeeeeee/eeeeeeeeeeee");
}

// HALFTONE interpolates bilinearly at x * source / dest, each pass rounded, on the source in
// the destination's format; mirroring reads the source backwards; an inner source rectangle
// reads no neighbour beyond its edge.
TEST(GdiRaster, Halftone) {
    Dib source(7, 5, 32);
    source.set(kMixed7x5);
    struct Case { int w, h, bpp, x, sourceX, sourceY, sourceWidth, sourceHeight; const char* expected; } cases[] = {
        {5, 3, 32, 0, 0, 0, 7, 5,
         "7ec64100c57f6a00aa6fa500ca6ee5009cecbe00/68ea8700db68b3008fa99200b17ca6009b73c200/"
         "6e857c00703c7900605c6d00b18d8d0047579200"},
        {-5, 3, 32, 4, 0, 0, 7, 5,
         "b6e2d9009fb5bd00a965cf00da803d0092a96300/a043d600a39da50088ae9400db5aa30096bb9f00/"
         "1742c200a0826a006f6c7700714171006e657e00"},
        {5, 3, 32, 0, 1, 1, 4, 3,
         "bc54bf00d0d6320073d40c0080cb1a00f4df3100/eb87c400e01cdc00b973d8009e86d8009a31e200/"
         "9f0f5000993c3000635a2a0089674900f4667500"},
        {5, 3, 8, 0, 0, 0, 7, 5, "818f95b5c2/9ea7999c9c/7b61639865"},
        {5, 3, 1, 0, 0, 0, 7, 5, "f8/f8/90"},
        {3, 3, 32, 0, 0, 0, 7, 2, "7ec64100cc7a5b0098c0b600/9ee97e00aec0270078a95700/aefb9c009fe30d00689d2800"},
    };
    for (const Case& c : cases) {
        Dib dest(c.w < 0 ? -c.w : c.w, c.h, c.bpp, c.bpp == 1 ? kBlackWhite : std::vector<RGBQUAD>{});
        SetStretchBltMode(dest.dc(), HALFTONE);
        StretchBlt(dest.dc(), c.x, 0, c.w, c.h, source.dc(), c.sourceX, c.sourceY, c.sourceWidth, c.sourceHeight, SRCCOPY);
        EXPECT_EQ(dest.hex(), c.expected) << c.w << " x " << c.h << " at " << c.bpp;
    }
}

// Depth conversions through a copy: a 32-bit source of mixed colours into 24, 16, 8 (a direct
// colour takes the entry nearest its 5-bit cell's middle), 4 (the entry nearest itself) and 1
// bits, and back into 32.
TEST(GdiRaster, FormatConversions) {
    Dib source(5, 2, 32);
    vxtest::Colours mixed;
    for (int i = 0; i < 10; ++i) mixed.push_back(vxtest::Mix(i % 5, i / 5));
    source.Canvas::fill(mixed);
    struct Case { int bpp; const char *there, *back; } cases[] = {
        {24, "0000008cde8b19bd17a69ba2337a2e/24e813a836983d55048273b117923d",
         "000000008cde8b0019bd1700a69ba200337a2e00/24e81300a83698003d5504008273b10017923d00"},
        {16, "00007147e30a7452e615/a40bd54c4701d059421e",
         "000000008cde8c0018bd1000a59ca500317b2900/21ef1000ad319c00395200008473b50010943900"},
        {8, "04a74fa149/617f318f4c", "04040400a7a7a7004f4f4f00a1a1a10049494900/616161007f7f7f00313131008f8f8f004c4c4c00"},
        {4, "0a5940/673850", "00000000aaaaaa00555555009999990044444400/6666660077777700333333008888880055555500"},
        {1, "50/10", "00000000ffffff0000000000ffffff0000000000/000000000000000000000000ffffff0000000000"},
    };
    for (const Case& c : cases) {
        Dib dest(5, 2, c.bpp, c.bpp == 1 ? kBlackWhite : std::vector<RGBQUAD>{}), back(5, 2, 32);
        EXPECT_TRUE(BitBlt(dest.dc(), 0, 0, 5, 2, source.dc(), 0, 0, SRCCOPY) &&
                    BitBlt(back.dc(), 0, 0, 5, 2, dest.dc(), 0, 0, SRCCOPY));
        EXPECT_EQ(dest.hex(), c.there) << c.bpp;
        EXPECT_EQ(back.hex(), c.back) << c.bpp;
    }
}

// Brushes: solid colours take the nearest entry (no dithering) except on a 1-bit device
// bitmap, which dithers every colour (8 x 8 ordered dither of its gray); monochrome patterns
// take the DC's colours; patterns tile from the origin, whole; palette indices go through the
// DC's palette; a hollow brush draws nothing.
TEST(GdiRaster, Brushes) {
    Dib four(8, 1, 8, kFour), mono(8, 1, 1, kBlackWhite), wide(10, 3, 32), monoWide(10, 3, 1, kBlackWhite);
    const auto fill = [](const Canvas& c, HBRUSH brush, DWORD rop = PATCOPY) {
        const vx::ObjectSelection selected(c.dc(), brush);
        EXPECT_TRUE(PatBlt(c.dc(), 0, 0, c.width(), c.height(), rop));
    };
    const auto painted = [&](const Dib& d, HBRUSH brush, DWORD rop = PATCOPY) { return fill(d, brush, rop), d.hex(); };
    vx::OwnedObject<HBRUSH> gray(CreateSolidBrush(RGB(128, 128, 128))), reddish(CreateSolidBrush(RGB(200, 10, 10)));
    EXPECT_EQ(painted(four, reddish.get()), "0202020202020202");
    EXPECT_EQ(painted(mono, gray.get()), "00");
    SetBkColor(mono.dc(), RGB(128, 128, 128));
    EXPECT_EQ(painted(mono, gray.get()), "ff");

    const Canvas device(16, 8, 1);
    const std::pair<COLORREF, const char*> dithers[] = {
        {RGB(8, 8, 8), "0000000800000080"}, {RGB(96, 96, 96), "11aa44aa11aa44aa"}, {RGB(200, 200, 200), "55ff5dff55ffd5ff"},
        {RGB(250, 250, 250), "7fffffffffffffff"}, {RGB(255, 0, 0), "00aa04aa00aa44aa"}, {RGB(0, 255, 0), "55ab55ee55ba55ee"},
        {RGB(0, 0, 255), "0002008800220088"}, {RGB(100, 150, 200), "55aa55ae55aa55ee"}, {RGB(1, 2, 3), "0000000000000000"}};
    for (const auto& [colour, expected] : dithers) {
        vx::OwnedObject<HBRUSH> brush(CreateSolidBrush(colour));
        fill(device, brush.get());
        EXPECT_EQ(FirstBytes(device), expected) << std::hex << colour;
    }
    Dib stripes(4, 1, 32);
    stripes.set("0000ff0000ff0000ffffff0000000000");
    vx::OwnedObject<HBRUSH> striped(CreatePatternBrush(stripes.bitmap()));
    fill(device, striped.get());
    EXPECT_EQ(FirstBytes(device).substr(0, 2), "66");

    BYTE rows[16] = {};
    for (int i = 0; i < 8; ++i) rows[2 * i] = static_cast<BYTE>(0x81 ^ (1 << i));
    vx::OwnedObject<HBITMAP> eightByEight(CreateBitmap(8, 8, 1, 1, rows));
    vx::OwnedObject<HBRUSH> pattern(CreatePatternBrush(eightByEight.get()));
    SetTextColor(wide.dc(), RGB(255, 0, 0)), SetBkColor(wide.dc(), RGB(0, 0, 255));
    EXPECT_EQ(painted(wide, pattern.get()).substr(0, 80), "ff0000000000ff000000ff000000ff000000ff000000ff000000ff000000ff00ff0000000000ff00");
    SetTextColor(monoWide.dc(), RGB(255, 255, 255)), SetBkColor(monoWide.dc(), RGB(0, 0, 0));
    EXPECT_EQ(painted(monoWide, pattern.get()), "7f40/7c40/7a40");

    Dib big(12, 10, 32), target(14, 12, 32);
    for (int i = 0; i < 120; ++i) reinterpret_cast<DWORD*>(big.row(0))[i] = static_cast<DWORD>(i);
    vx::OwnedObject<HBRUSH> tile(CreatePatternBrush(big.bitmap()));
    fill(target, tile.get());
    EXPECT_TRUE(reinterpret_cast<DWORD*>(target.row(11))[13] == 13u && reinterpret_cast<DWORD*>(target.row(0))[12] == 0u);

    Dib colour(2, 1, 32);
    const BYTE fives[2] = {0x5a, 0};
    SetBitmapBits(device.bitmap(), 2, fives);
    SetTextColor(colour.dc(), PALETTEINDEX(12)), SetBkColor(colour.dc(), PALETTEINDEX(9));
    BitBlt(colour.dc(), 0, 0, 2, 1, device.dc(), 0, 0, SRCCOPY);
    EXPECT_EQ(colour.hex(), "80808000f0caa600");
    vx::OwnedObject<HBRUSH> indexed(CreateSolidBrush(PALETTEINDEX(13)));
    EXPECT_EQ(painted(colour, indexed.get()), "0000ff000000ff00");
    EXPECT_EQ(painted(colour, static_cast<HBRUSH>(GetStockObject(NULL_BRUSH)), PATINVERT), "0000ff000000ff00");

    LOGBRUSH logical{}, solid{BS_SOLID, RGB(1, 2, 3), 0}, bad{77, 0, 0};
    vx::OwnedObject<HBRUSH> indirect(CreateBrushIndirect(&solid));
    EXPECT_TRUE(GetObjectA(indirect.get(), sizeof logical, &logical) && logical.lbColor == RGB(1, 2, 3));
    EXPECT_EQ(CreateBrushIndirect(&bad), nullptr);
    EXPECT_EQ(CreatePatternBrush(nullptr), nullptr);
}

// The DIB transfers: source rows counted from the bottom, the scan-line bands of
// SetDIBitsToDevice, negative extents, DIB_PAL_COLORS tables, bit fields, and Wine's answers.
TEST(GdiRaster, DibTransfers) {
    Dib dest(4, 8, 8);
    vxtest::Info info = vxtest::Header(4, 8, 8);
    BITMAPINFOHEADER* const header = &info.header;
    for (int i = 0; i < 256; ++i) info.table[i] = {BYTE(i), BYTE(i), BYTE(i), 0};
    uint8_t bits[32];
    for (int i = 0; i < 32; ++i) bits[i] = static_cast<uint8_t>(i * 4);
    const BITMAPINFO* const bmi = info.get();
    struct Band { int height, w, h, sx, sy; UINT start, lines; int answer; const char* firstRows; } bands[] = {
        {8, 4, 8, 0, 0, 0, 8, 8, "7074787c/6064686c"},  {8, 4, 4, 0, 0, 0, 8, 4, "3034383c/2024282c"},
        {8, 4, 8, 0, 0, 2, 3, 3, "eeeeeeee/eeeeeeee"},  {8, 2, 2, 1, 1, 0, 8, 3, "2428eeee/1418eeee"},
        {8, 4, 8, 0, 0, 7, 4, 1, "0004080c/eeeeeeee"},  {8, 4, 8, 0, -2, 0, 8, 6, "5054585c/4044484c"},
        {8, 0, 8, 0, 0, 0, 8, 0, "eeeeeeee/eeeeeeee"},  {8, 4, 0, 0, 0, 0, 8, 0, "eeeeeeee/eeeeeeee"},
        {-8, 4, 4, 0, 0, 0, 8, 8, "4044484c/5054585c"}, {-8, 4, 8, 0, 0, 0, 20, 0, "eeeeeeee/eeeeeeee"},
        {-8, 4, 8, 0, 0, 7, 4, 4, "3034383c/eeeeeeee"}, {-8, 4, 0, 0, 0, 0, 8, 8, "eeeeeeee/eeeeeeee"},
        {-8, 4, 8, 0, 0, 9, 4, 0, "eeeeeeee/eeeeeeee"}};
    // The answer and the first two rows a transfer from a DIB `height` rows high leaves.
    const auto transfer = [&](int height, const auto& call) {
        header->biHeight = height, dest.fill(0xee);
        const int answer = call();
        return std::to_string(answer) + " " + dest.hex().substr(0, 17);
    };
    for (const Band& b : bands)
        EXPECT_EQ(transfer(b.height, [&] { return SetDIBitsToDevice(dest.dc(), 0, 0, b.w, b.h, b.sx, b.sy, b.start, b.lines,
                                                                    bits, bmi, DIB_RGB_COLORS); }),
                  std::to_string(b.answer) + " " + b.firstRows) << b.height << " " << b.start << " " << b.lines;
    struct Stretch { int height, w, h, sx, sy, sw, sh; DWORD rop; int answer; const char* firstRows; } stretches[] = {
        {8, 4, 8, 0, 0, 2, 2, SRCCOPY, 8, "10101414/10101414"},    {8, 4, 8, 0, 2, 4, 3, SRCCOPY, 8, "4044484c/4044484c"},
        {8, 2, 3, 0, 0, 4, 8, SRCAND, 8, "4048eeee/0008eeee"},     {-8, 4, 8, 0, 2, 4, 3, SRCCOPY, 8, "3034383c/3034383c"},
        {-8, 4, 8, 0, 0, 4, 8, BLACKNESS, -8, "00000000/00000000"}, {8, 4, 8, 10, 10, 4, 8, SRCCOPY, 0, "eeeeeeee/eeeeeeee"},
        {8, 4, 8, -2, -2, 4, 8, SRCCOPY, 8, "eeee5054/eeee4044"},  {8, 4, 8, 0, 0, 0, 8, SRCCOPY, 0, "eeeeeeee/eeeeeeee"},
        {-8, 4, 8, 0, 0, 4, 8, SRCCOPY, 8, "0004080c/1014181c"},   {8, 4, 8, 0, 0, -4, 8, SRCCOPY, 8, "eeeeee70/eeeeee60"},
        {8, -4, 8, 0, 0, 4, 8, SRCCOPY, 8, "70eeeeee/60eeeeee"},   {8, 4, 2, 0, 2, 4, -2, SRCCOPY, 8, "0004080c/1014181c"},
        {8, 4, 2, 0, 0, 4, -2, SRCCOPY, 0, "eeeeeeee/eeeeeeee"}};
    for (const Stretch& s : stretches)
        EXPECT_EQ(transfer(s.height, [&] { return StretchDIBits(dest.dc(), 0, 0, s.w, s.h, s.sx, s.sy, s.sw, s.sh, bits, bmi,
                                                                DIB_RGB_COLORS, s.rop); }),
                  std::to_string(s.answer) + " " + s.firstRows) << s.height << " " << s.sx << "," << s.sy << " " << s.sw << "x" << s.sh;
    header->biHeight = 8;
    EXPECT_EQ(StretchDIBits(dest.dc(), 0, 0, 4, 8, 0, 0, 4, 8, nullptr, bmi, DIB_RGB_COLORS, SRCCOPY), 0);
    EXPECT_EQ(SetDIBitsToDevice(nullptr, 0, 0, 4, 8, 0, 0, 0, 8, bits, bmi, DIB_RGB_COLORS), 0);
    header->biBitCount = 7;
    EXPECT_EQ(StretchDIBits(dest.dc(), 0, 0, 4, 8, 0, 0, 4, 8, bits, bmi, DIB_RGB_COLORS, SRCCOPY), 0);

    // Indices 3, 2, 1 and 7 (wrapping round) into a 4-entry palette of grays 0, 60, 120, 180.
    vx::OwnedObject<HPALETTE> palette(vxtest::MakePalette({{0, 0, 0, 0}, {60, 60, 60, 0}, {120, 120, 120, 0}, {180, 180, 180, 0}}));
    Dib four(4, 1, 32);
    SelectPalette(four.dc(), palette.get(), FALSE);  // the DC goes before the palette
    *header = {sizeof(BITMAPINFOHEADER), 4, 1, 1, 8, BI_RGB, 0, 0, 0, 4, 0};
    const WORD indices[4] = {3, 2, 1, 7};
    std::memcpy(header + 1, indices, sizeof indices);
    for (uint8_t i = 0; i < 4; ++i) bits[i] = i;
    EXPECT_EQ(StretchDIBits(four.dc(), 0, 0, 4, 1, 0, 0, 4, 1, bits, bmi, DIB_PAL_COLORS, SRCCOPY), 1);
    EXPECT_EQ(four.hex(), "b4b4b400787878003c3c3c00b4b4b400");

    // 5-6-5 and 10-10-10 bit-field DIBs.
    const uint8_t fields[12] = {0x12, 0x34, 0x56, 0x78, 0x9a, 0xbc, 0xde, 0xf0, 0x0f, 0xed, 0xcb, 0xa9};
    const DWORD masks[2][3] = {{0xF800, 0x07E0, 0x001F}, {0x3FF00000, 0x000FFC00, 0x000003FF}};
    const char* const expected[2] = {"94823100b5087b00d692bd00", "0463e10026ebc30043bea700"};
    Dib three(3, 1, 32);
    for (int i = 0; i < 2; ++i) {
        *header = {sizeof(BITMAPINFOHEADER), 3, -1, 1, static_cast<WORD>(16 + 16 * i), BI_BITFIELDS, 0, 0, 0, 0, 0};
        std::memcpy(header + 1, masks[i], sizeof masks[i]);
        EXPECT_EQ(StretchDIBits(three.dc(), 0, 0, 3, 1, 0, 0, 3, 1, fields, bmi, DIB_RGB_COLORS, SRCCOPY), 1);
        EXPECT_EQ(three.hex(), expected[i]) << 16 + 16 * i << " bits";
    }
}

// Refusals, the screen, huge extents, mapped DCs (a scaled DC stretches a BitBlt), and the DC
// colour and mode calls.
TEST(GdiRaster, CallsAndRefusals) {
    Dib dib(4, 4, 8), source(2, 2, 8), dest(6, 6, 8);
    EXPECT_FALSE(BitBlt(dib.dc(), 0, 0, 4, 4, nullptr, 0, 0, SRCCOPY));
    EXPECT_TRUE(BitBlt(dib.dc(), 0, 0, 4, 4, nullptr, 0, 0, PATCOPY));
    EXPECT_FALSE(BitBlt(nullptr, 0, 0, 4, 4, dib.dc(), 0, 0, SRCCOPY));
    EXPECT_FALSE(PatBlt(dib.dc(), 0, 0, 4, 4, SRCCOPY));
    EXPECT_TRUE(StretchBlt(dib.dc(), 0, 0, 4, 4, dib.dc(), 0, 0, 0, 4, SRCCOPY));
    const vx::WindowDC screen(nullptr);
    EXPECT_TRUE(BitBlt(screen.get(), 0, 0, 4, 4, dib.dc(), 0, 0, SRCCOPY) && BitBlt(dib.dc(), 0, 0, 4, 4, screen.get(), 0, 0, SRCCOPY));
    for (const int extent : {INT32_MAX, INT32_MIN, 1 << 30}) {
        EXPECT_TRUE(BitBlt(dest.dc(), 0, 0, extent, extent, source.dc(), 0, 0, SRCCOPY));
        EXPECT_TRUE(StretchBlt(dest.dc(), INT32_MIN, 0, extent, 3, source.dc(), 0, 0, 2, extent, SRCCOPY));
        EXPECT_TRUE(PatBlt(dest.dc(), extent, extent, extent, extent, PATINVERT));
    }
    source.set("0102/0304");
    dest.fill(0xee);
    vxtest::SetMapping(dest.dc(), {0, 0, 1, 1, 1, 1, 2, 2});
    SetStretchBltMode(dest.dc(), COLORONCOLOR);
    EXPECT_TRUE(BitBlt(dest.dc(), 0, 0, 2, 2, source.dc(), 0, 0, SRCCOPY));
    EXPECT_EQ(dest.hex(), "eeeeeeeeeeee/ee01010202ee/ee01010202ee/ee03030404ee/ee03030404ee/eeeeeeeeeeee");

    // Colours are kept as given; bad handles and modes get Windows' answers.
    HDC dc = dib.dc();
    EXPECT_EQ(std::vector<COLORREF>({GetTextColor(dc), GetBkColor(dc), SetTextColor(dc, 0x01000005),
                                     SetTextColor(dc, 0xff123456), GetTextColor(dc)}),
              std::vector<COLORREF>({0, RGB(255, 255, 255), 0, 0x01000005, 0xff123456}));
    EXPECT_EQ(std::vector<int>({SetBkMode(dc, 3), SetBkMode(dc, TRANSPARENT), GetBkMode(dc), SetStretchBltMode(dc, 5),
                                SetStretchBltMode(dc, COLORONCOLOR), GetStretchBltMode(dc), GetBkMode(nullptr),
                                GetStretchBltMode(nullptr)}),
              std::vector<int>({0, OPAQUE, TRANSPARENT, 0, BLACKONWHITE, COLORONCOLOR, 0, 0}));
    EXPECT_EQ(std::vector<COLORREF>(
                  {SetTextColor(nullptr, 1), GetTextColor(nullptr), SetBkColor(nullptr, 1), GetBkColor(nullptr)}),
              std::vector<COLORREF>({CLR_INVALID, 0, CLR_INVALID, CLR_INVALID}));
}

}  // namespace
