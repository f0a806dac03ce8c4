// Profile (INI) files: GetPrivateProfileStringA and GetPrivateProfileIntA. The same cases run
// against the library's reader on Linux and against the Windows calls under Wine, so they pin
// down that both follow the same rules. Every profile gets a file name of its own (Windows
// caches profiles by name) and an absolute path (Windows resolves relative names against the
// Windows directory).
#include <gtest/gtest.h>

#include <string>

#include "formats_files.hpp"

using namespace vxtest;

namespace {

const char kProfile[] =
    "; a comment line\r\n"
    "[ColorFax]\r\n"
    "Name = some value  \r\n"
    "  Quoted=\"in quotes\"\r\n"
    "Single='sq'\r\n"
    "Half=\"half\r\n"
    "Lone=\"\r\n"
    "Empty=\r\n"
    "NoEquals\r\n"
    "Twice = first\r\n"
    "Twice = second\r\n"
    "Inner=a \"b\" c\r\n"
    "Eq = a = b\r\n"
    "[ Spaced ]\r\n"
    "K=spaced\r\n"
    "[Dup]\r\n"
    "K=one\r\n"
    "[dup]\r\n"
    "K=two\r\n"
    "Second=2\r\n"
    "[Open\r\n"
    "[CR]\rk=cr\rk2=v2\r\n"
    "[Ints]\r\n"
    "dec=42\nneg=-17\nplus=+8\nhex=0x1F\nupperX=0X1f\ntrail=12abc\nword=abc\nempty=\n"
    "spaced= 5 \nall=4294967295\nwrap=4294967296\nbig=99999999999\ngap=- 4\noctal=010\n"
    "quoted=\"12\"\nneghex=  -0x10\nlong=000000000000000000000000000000009\n"
    "[Last]\r\n"
    "k=last";

}  // namespace

TEST(Profiles, StringLookUpsTrimMatchCaseInsensitivelyAndTruncate) {
    TempDir dir;
    const std::string file = dir.write("strings.ini", Text(kProfile));
    const struct { const char *section, *key, *fallback; DWORD size; const char* expected; } cases[] = {
        {"ColorFax", "Name", "d", 64, "some value"},
        {"colorfax", "NAME", "d", 64, "some value"},
        {" ColorFax ", " Name ", "d", 64, "some value"},  // the names asked for are trimmed too
        {"ColorFax", "Quoted", "d", 64, "in quotes"},
        {"ColorFax", "Single", "d", 64, "sq"},
        {"ColorFax", "Half", "d", 64, "\"half"},  // quotes must match to go
        {"ColorFax", "Lone", "d", 64, "\""},
        {"ColorFax", "Inner", "d", 64, "a \"b\" c"},
        {"ColorFax", "Eq", "d", 64, "a = b"},
        {"ColorFax", "Empty", "d", 64, ""},  // present and empty: not the default
        {"ColorFax", "NoEquals", "d", 64, "d"},
        {"ColorFax", "; a comment line", "d", 64, "d"},
        {"ColorFax", "", "d", 64, "d"},
        {"ColorFax", "Twice", "d", 64, "first"},
        {"Spaced", "K", "d", 64, "spaced"},
        {"Dup", "K", "d", 64, "one"},
        {"Dup", "Second", "d", 64, "d"},  // only the first section of a name is seen
        {"CR", "k2", "d", 64, "v2"},      // a lone CR ends a line
        {"Last", "k", "d", 64, "last"},   // no line end at the end of the file
        {"ColorFax", "Missing", "dflt   ", 64, "dflt"},
        {"ColorFax", "Missing", "  dflt", 64, "  dflt"},
        {"ColorFax", "Missing", "\"q\"", 64, "q"},
        {"ColorFax", "Missing", nullptr, 64, ""},
        {"Nowhere", "Missing", "dflt", 64, "dflt"},
        {"ColorFax", "Name", "d", 3, "so"},
        {"ColorFax", "Name", "d", 1, ""},
        {"ColorFax", "Quoted", "d", 8, "in quot"},  // cut before the closing quote
        {"ColorFax", "Quoted", "d", 11, "in quotes"},
        {"ColorFax", "Missing", "longdefault", 5, "long"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.section) + " / " + c.key + " / size " + std::to_string(c.size));
        char buffer[80];
        std::memset(buffer, '#', sizeof buffer);
        const DWORD n = GetPrivateProfileStringA(c.section, c.key, c.fallback, buffer, c.size, file.c_str());
        EXPECT_EQ(std::string(buffer), c.expected);
        EXPECT_EQ(n, std::strlen(c.expected));
        EXPECT_EQ(buffer[c.size], '#');  // nothing written past the buffer
    }
    char untouched[4] = {'#', '#', '#', '#'};
    EXPECT_EQ(GetPrivateProfileStringA("ColorFax", "Name", "d", untouched, 0, file.c_str()), 0u);
    EXPECT_EQ(untouched[0], '#');
}

TEST(Profiles, AMissingFileReadsAsAnEmptyOne) {
    TempDir dir;
    const std::string absent = dir.path("absent.ini");
    char buffer[32];
    EXPECT_EQ(GetPrivateProfileStringA("ColorFax", "Name", "\"q\"   ", buffer, sizeof buffer, absent.c_str()), 1u);
    EXPECT_EQ(std::string(buffer), "q");
    EXPECT_EQ(GetPrivateProfileStringA("ColorFax", "Name", "default", buffer, 4, absent.c_str()), 3u);
    EXPECT_EQ(std::string(buffer), "def");
    EXPECT_EQ(static_cast<int>(GetPrivateProfileIntA("ColorFax", "TotalPages", -1, absent.c_str())), -1);
}

TEST(Profiles, NullNamesListKeysAndSections) {
    TempDir dir;
    const std::string file = dir.write("lists.ini", Text(kProfile));
    const auto list = [&](const char* section, DWORD size) {
        char buffer[128];
        std::memset(buffer, '#', sizeof buffer);
        const DWORD n = GetPrivateProfileStringA(section, nullptr, "dflt", buffer, size, file.c_str());
        return std::make_pair(n, std::string(buffer, n + 1));
    };
    // Keys without a value ("NoEquals", the comment) are not listed; repeated keys are.
    const char keys[] = "Name\0Quoted\0Single\0Half\0Lone\0Empty\0Twice\0Twice\0Inner\0Eq\0";
    EXPECT_EQ(list("ColorFax", 100), std::make_pair(DWORD{sizeof keys - 1}, std::string(keys, sizeof keys)));
    EXPECT_EQ(list("ColorFax", 12), std::make_pair(DWORD{10}, std::string("Name\0Quote\0", 11)));
    EXPECT_EQ(list("Nowhere", 100), std::make_pair(DWORD{4}, std::string("dflt\0", 5)));
    const char sections[] = "ColorFax\0Spaced\0Dup\0dup\0CR\0Ints\0Last\0";
    EXPECT_EQ(list(nullptr, 100), std::make_pair(DWORD{sizeof sections - 1}, std::string(sections, sizeof sections)));
    EXPECT_EQ(list(nullptr, 10), std::make_pair(DWORD{8}, std::string("ColorFax\0", 9)));
}

TEST(Profiles, IntegersParseLikeTheWindowsCall) {
    TempDir dir;
    const std::string file = dir.write("ints.ini", Text(kProfile));
    const struct { const char* key; int expected; } cases[] = {
        {"dec", 42},     {"neg", -17},   {"plus", 8},      {"hex", 31},        {"upperX", 0},
        {"trail", 12},   {"word", 0},    {"empty", 7},     {"spaced", 5},      {"all", -1},
        {"wrap", 0},     {"big", 1215752191},              {"gap", 0},         {"octal", 10},
        {"quoted", 12},  {"neghex", -16}, {"long", 0},     {"missing", 7},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(static_cast<int>(GetPrivateProfileIntA("ints", c.key, 7, file.c_str())), c.expected) << c.key;
    }
    EXPECT_EQ(static_cast<int>(GetPrivateProfileIntA("Nowhere", "dec", -3, file.c_str())), -3);
}

#ifndef _WIN32
// The library's reader keeps a line's first 64 KiB and reads no more than 4 MiB of a file, so
// a file without line breaks, or /dev/zero, costs a bounded amount of memory and time.
TEST(Profiles, ReadingIsBoundedForFilesThatAreNoProfiles) {
    TempDir dir;
    const std::string longLine = dir.write("long.ini", Text(std::string(1 << 20, 'x') + "\n[ColorFax]\nTotalPages=3\n"));
    EXPECT_EQ(static_cast<int>(GetPrivateProfileIntA("ColorFax", "TotalPages", -1, longLine.c_str())), 3);
    const std::string late = dir.write("late.ini", Text(std::string(5 << 20, '\n') + "[ColorFax]\nTotalPages=3\n"));
    EXPECT_EQ(static_cast<int>(GetPrivateProfileIntA("ColorFax", "TotalPages", -1, late.c_str())), -1);
    char buffer[8];
    EXPECT_EQ(GetPrivateProfileStringA(nullptr, nullptr, "", buffer, sizeof buffer, "/dev/zero"), 0u);
    EXPECT_EQ(GetNumberOfImagesInFaxFile("/dev/zero"), -1);
    int status = 0;
    const std::string plane = dir.write("zero-plane.fax",
        Text("[ColorFax]\nTotalPages=1\nPlanes=1\nFiles=1\nBitsPixel=1\n[Page1]\nPlane0=/dev/zero\n"));
    EXPECT_EQ(LoadColorFaxPage(plane.c_str(), 1, &status), nullptr);
}
#endif
