// Tests of the text family (LoadASCIIIntoBitmap, LoadASCIIFile), natively and under Wine. The
// fonts differ between the two, so the bitmaps are checked by structure: depth, white
// background, black ink in every line, a height of one font line per text line, the cut of
// long texts, the codes of each step; never by a glyph's pixels.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "clipboard_files.hpp"
#include "formats_files.hpp"
#include "gdi_guards.hpp"
#include "ink.hpp"

namespace {

using vxtest::Block;
using vxtest::Bytes;
using vxtest::MonoRows;

// The height of a line of the default font, as the family measures it.
LONG LineHeight() {
    vx::MemoryDC dc;
    TEXTMETRICA tm{};
    EXPECT_TRUE(GetTextMetricsA(dc.get(), &tm));
    return tm.tmHeight + tm.tmExternalLeading;
}

BITMAP InfoOf(HBITMAP bitmap) {
    BITMAP info{};
    EXPECT_EQ(GetObjectA(bitmap, sizeof info, &info), static_cast<int>(sizeof info));
    return info;
}

using Bitmap = vx::OwnedObject<HBITMAP>;

// The bitmap of a block holding exactly `bytes`.
Bitmap Render(const Bytes& bytes) {
    Block block(vxtest::BlockFrom(bytes));
    return Bitmap(LoadASCIIIntoBitmap(block.get()));
}
Bitmap Render(const std::string& text) { return Render(vxtest::Text(text + '\0')); }

std::string Repeat(const std::string& piece, int times) {
    std::string text;
    for (int i = 0; i < times; ++i) text += piece;
    return text;
}

// A rendered text is a 1-bit bitmap as wide as its widest line and one line high per line,
// white with black ink in every line.
TEST(TextFile, TextBecomesBlackInkOnWhiteOneLineHighPerLine) {
    const LONG line = LineHeight();
    const struct { std::string text; int lines; } cases[] = {
        {"Hello, world", 1},
        {"First line\r\nSecond", 2},
        {"one\ntwo\nthree\nfour", 4},  // line feeds break lines though the estimate ignores them
        {"one\rtwo\rthree", 3},
        {Repeat("Line\r\n", 8), 8},
        {"x\tTab\x08" "back", 1},
    };
    for (const auto& c : cases) {
        const Bitmap bitmap = Render(c.text);
        ASSERT_TRUE(bitmap) << c.text;
        const BITMAP info = InfoOf(bitmap.get());
        EXPECT_EQ(info.bmBitsPixel, 1) << c.text;
        EXPECT_EQ(info.bmHeight, c.lines * line) << c.text;
        const MonoRows rows(bitmap.get());
        const vxtest::Ink all = vxtest::InkOf(rows);
        EXPECT_LT(all.pixels, int64_t{info.bmWidth} * info.bmHeight / 2) << c.text << "\n" << vxtest::Picture(rows);
        EXPECT_FALSE(rows.black(info.bmWidth - 1, info.bmHeight - 1)) << c.text;
        for (int i = 0; i < c.lines; ++i)
            EXPECT_TRUE(vxtest::InkOf(rows, i * line, (i + 1) * line).any())
                << c.text << ": line " << i << "\n" << vxtest::Picture(rows);
        EXPECT_GT(all.right, info.bmWidth * 2 / 3) << c.text;  // the widest line fills the width
    }
}

// The block's last byte ends the text whatever it held, and the first zero ends it before.
TEST(TextFile, TheBlocksLastByteAndFirstZeroEndTheText) {
    Block block(vxtest::BlockFrom(vxtest::Text("AB\r\nCD")));
    const Bitmap cut(LoadASCIIIntoBitmap(block.get()));
    ASSERT_TRUE(cut);
    EXPECT_EQ(vxtest::BlockBytes(block.get()), vxtest::Text(std::string("AB\r\nC") + '\0'));
    EXPECT_EQ(vxtest::BitsOf(cut.get()), vxtest::BitsOf(Render("AB\r\nC").get()));

    const Bitmap early = Render(vxtest::Text(std::string("AB\0CD\r\nEF\0", 10)));
    ASSERT_TRUE(early);
    EXPECT_EQ(InfoOf(early.get()).bmHeight, LineHeight());
}

// A text whose carriage returns take the estimate near 32767 pixels is cut there, with a
// message, and the bitmap holds the lines before the cut; line feeds alone are never cut.
TEST(TextFile, LongTextsAreCutAtTheEstimatesLimit) {
    const LONG line = LineHeight();
    vxtest::Messages messages;
    const struct { std::string text; LONG lines; std::vector<std::string> shown; } cases[] = {
        {Repeat("x\r\n", 2000), 2000, {}},
        {Repeat("x\r\n", 2100), 0, {"SORRY|Lines truncated|48"}},  // 0: cut just below 32767 pixels
        {Repeat("x\n", 2100), 2100, {}},
    };
    for (const auto& c : cases) {
        const Bitmap bitmap = Render(c.text);
        ASSERT_TRUE(bitmap) << c.lines;
        const LONG height = InfoOf(bitmap.get()).bmHeight;
        if (c.lines != 0) EXPECT_EQ(height, c.lines * line);
        else EXPECT_TRUE(height % line == 0 && height < 32767 && height >= 32767 - 2 * line) << height;
        messages.expect(c.shown);
    }
}

// LoadASCIIFile reports the step that failed; once the text is read the code is success, and
// an OEM text is converted before it is drawn.
TEST(TextFile, LoadingAFileReportsEachStep) {
    vxtest::TempDir dir;
    SetImgError(IMGERR_IO);
    EXPECT_EQ(LoadASCIIFile(dir.path("missing.txt").c_str(), TRUE), nullptr);
    EXPECT_EQ(ImgError(), IMGERR_OPENFILE);

    SetImgError(IMGERR_IO);
    const Bitmap text(LoadASCIIFile(dir.write("text.txt", vxtest::Text("Two\r\nlines\r\n")).c_str(), TRUE));
    ASSERT_TRUE(text);
    EXPECT_EQ(ImgError(), IMGERR_SUCCESS);
    EXPECT_EQ(InfoOf(text.get()).bmHeight, 2 * LineHeight());

    // An empty file measures as an empty rectangle: the bitmap of an empty size.
    const Bitmap empty(LoadASCIIFile(dir.write("empty.txt", {}).c_str(), TRUE));
    EXPECT_EQ(vxtest::SizeOf(empty.get()), "1 x 1");

    const Bitmap oem(LoadASCIIFile(dir.write("oem.txt", vxtest::Text("a\xC4\xC4z")).c_str(), FALSE));
    const Bitmap ansi(LoadASCIIFile(dir.write("ansi.txt", vxtest::Text("a--z")).c_str(), TRUE));
    ASSERT_TRUE(oem && ansi);
    EXPECT_EQ(vxtest::BitsOf(oem.get()), vxtest::BitsOf(ansi.get()));
    const Bitmap unconverted(LoadASCIIFile(dir.path("oem.txt").c_str(), TRUE));
    EXPECT_NE(vxtest::BitsOf(unconverted.get()), vxtest::BitsOf(ansi.get()));

    SetImgError(IMGERR_SUCCESS);
    EXPECT_EQ(LoadASCIIIntoBitmap(nullptr), nullptr);
    EXPECT_EQ(ImgError(), IMGERR_NOMEMORY);
}

// Hostile texts end in a bitmap or a clean refusal: binary junk, a long line without breaks,
// and 100 MB of lines (cut by the estimate after one pass over them).
TEST(TextFile, HostileTextsEndCleanly) {
    const LONG line = LineHeight();
    Bytes junk(1 << 16);
    uint32_t state = 7;
    for (uint8_t& byte : junk) byte = static_cast<uint8_t>((state = state * 1664525u + 1013904223u) >> 24);
    for (size_t i = 1000; i < junk.size(); i += 1000) junk[i] = static_cast<uint8_t>(junk[i] | 1);  // fewer zeros
    const Bitmap binary = Render(junk);
    if (binary) {
        EXPECT_EQ(InfoOf(binary.get()).bmBitsPixel, 1);
    }

    const Bitmap wide = Render(std::string(200000, 'x'));  // shown up to DrawTextA's 1024 characters
    vx::MemoryDC dc;
    SIZE shown{};
    GetTextExtentPoint32A(dc.get(), std::string(1024, 'x').c_str(), 1024, &shown);
    EXPECT_EQ(vxtest::SizeOf(wide.get()), std::to_string(shown.cx) + " x " + std::to_string(line));

    vxtest::TempDir dir;
    vxtest::Messages messages;
    const std::string big = dir.write("big.txt", vxtest::Text(Repeat(std::string(98, 'x') + "\r\n", 1 << 20)));
    const Bitmap cut(LoadASCIIFile(big.c_str(), TRUE));
    ASSERT_TRUE(cut);
    EXPECT_LT(InfoOf(cut.get()).bmHeight, 32767);
    messages.expect({"SORRY|Lines truncated|48"});
}

}  // namespace
