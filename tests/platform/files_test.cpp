// The compatibility file calls.
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
