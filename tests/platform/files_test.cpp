// The compatibility file calls, and the nearest-colour look-up in logical palettes.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

#include "dib_builder.hpp"

using namespace vxtest;

TEST(FileCalls, SeekReadWriteAndTruncate) {
    TempDir dir;
    HFILE f = _lcreat(dir.path("data.bin").c_str(), 0);
    EXPECT_EQ(_lwrite(f, "hello world", 11), 11u);
    EXPECT_EQ(_llseek(f, 0, FILE_END), 11);
    EXPECT_EQ(_llseek(f, 5, FILE_BEGIN), 5);
    EXPECT_EQ(_lwrite(f, "", 0), 0u);  // writing nothing truncates here
    EXPECT_EQ(FileLength(f), 5u);
    EXPECT_EQ(_llseek(f, -2, FILE_CURRENT), 3);
    char buffer[16] = {};
    EXPECT_EQ(_lread(f, buffer, sizeof buffer), 2u);
    EXPECT_EQ(_hwrite(f, "!", 1), 1);
    EXPECT_EQ(_llseek(f, 0, FILE_BEGIN), 0);
    EXPECT_EQ(_hread(f, buffer, sizeof buffer), 6);
    EXPECT_EQ(std::string(buffer), "hello!");
    EXPECT_EQ(_lclose(f), 0);
}

TEST(FileCalls, OpenFileFillsTheRecordAndReportsMissingFiles) {
    TempDir dir;
    const std::string present = dir.write("present.bmp", {1, 2, 3}), absent = dir.path("absent.bmp");
    OFSTRUCT info;
    HFILE f = OpenFile(present.c_str(), &info, OF_READ);
    EXPECT_EQ(info.cBytes, sizeof(OFSTRUCT));
    EXPECT_TRUE(std::filesystem::equivalent(info.szPathName, present));
    EXPECT_EQ(FileLength(f), 3u);
    _lclose(f);
    EXPECT_NE(OpenFile(present.c_str(), &info, OF_EXIST), HFILE_ERROR);
    for (const UINT style : {OF_READ, OF_EXIST}) {
        EXPECT_EQ(OpenFile(absent.c_str(), &info, style), HFILE_ERROR);
        EXPECT_EQ(info.nErrCode, 2) << "file not found, style " << style;
    }
    f = OpenFile(present.c_str(), &info, OF_CREATE | OF_READWRITE);  // creating truncates
    EXPECT_EQ(FileLength(f), 0u);
    _lclose(f);
}

TEST(Palettes, NearestIndexIsTheLeastSquaredDistanceLowestIndexFirst) {
    const PALETTEENTRY colours[] = {{200, 200, 200, 0}, {10, 0, 0, 0},   {6, 6, 0, 0},     {0, 5, 0, 0},
                                    {5, 0, 0, 0},       {54, 50, 50, 0}, {52, 52, 52, 0}, {0, 0, 120, 0}};
    std::vector<uint8_t> storage(4 + sizeof colours);
    auto* logical = reinterpret_cast<LOGPALETTE*>(storage.data());
    *logical = {0x300, 8, {}};
    std::memcpy(logical->palPalEntry, colours, sizeof colours);
    HPALETTE palette = CreatePalette(logical);
    const struct { COLORREF colour; UINT index; } cases[] = {
        {RGB(0, 0, 0), 3},        // 3 and 4 tie: the lower index wins
        {RGB(50, 50, 50), 6},     // 3 * 2 * 2 = 12 beats 4 * 4 = 16, though 6 > 4 summed
        {RGB(0, 0, 118), 7},      // blue is the third byte of a COLORREF
        {RGB(255, 255, 255), 0},
    };
    for (const auto& c : cases) EXPECT_EQ(GetNearestPaletteIndex(palette, c.colour), c.index) << c.colour;
    EXPECT_TRUE(DeleteObject(palette));
}
