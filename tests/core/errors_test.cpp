// The module error code, its range rules and its messages.

#include "errors.hpp"
#include "formats_files.hpp"

namespace {

// The messages are part of the interface: applications show and compare them as they are.
const char* const kMessages[] = {
    "Operation was successful.", "Not enough memory.", "Unable to create DC", "Can't open file",
    "General I/O error in reading or writting.", "Can't open clipboard",
    "Could not receive from clipboard", "Can't copy bits from bitmap", "Parameter error",
    "Invalid file format", "Can't create palette", "Can't create bitmap",
    "Mapping mode is improperly set in metafile", "Invalid bit/pixel value",
    "Format not found in clipboard file", "Can't get bitmap parameters", "Can't create metafile",
    "Can't lock global memory", "DIB must be uncompressed", "Invalid DIB size",
    "Paramater error in Dithering", "Bad bit/pixel value in DIB header",
    "The CAPIX algorithm creates only 1 or 4 bit image", "Could not get printer DC",
    "Device not capable to handle raster", "Could not get dispaly DC", "Escape failed SETABORTPROC",
    "Escape failed STARTDOC", "Escape failed NEXTBAND", "Clipboard error", "Nothing to do.",
};

// The text ImgErrorString copies; it must write the terminator and nothing after it.
std::string MessageOf(int code) {
    char buffer[80];
    std::memset(buffer, '#', sizeof buffer);
    EXPECT_EQ(ImgErrorString(buffer, code), buffer);
    const auto length = static_cast<size_t>(std::find(buffer, buffer + 79, '\0') - buffer);
    EXPECT_EQ(buffer[length + 1], '#');
    return std::string(buffer, length);
}

}  // namespace

TEST(ImgErrorString, CopiesEveryMessageVerbatim) {
    static_assert(sizeof kMessages / sizeof kMessages[0] == IMGERR_NOTHINGTODO + 1);
    SetImgError(IMGERR_SUCCESS);
    for (int code = 0; code <= IMGERR_NOTHINGTODO; ++code) {
        EXPECT_EQ(MessageOf(code), kMessages[code]) << code;
    }
    EXPECT_EQ(MessageOf(IMGERR_CAPIXDEPTH).size() + 1, 50u);  // the longest: 50 bytes fill the room
    EXPECT_EQ(ImgError(), IMGERR_SUCCESS);
}

TEST(SetImgError, StoresOnlyCodesFrom0To31AndAnswersThePreviousOne) {
    vx::SetModuleError(IMGERR_SUCCESS);
    const struct { int code, answer, after; } steps[] = {
        {5, 0, 5}, {40, 5, 5}, {-1, 5, 5}, {32, 5, 5}, {31, 5, 31}, {0, 31, 0}, {INT32_MIN, 0, 0},
    };
    for (const auto& s : steps) {
        EXPECT_EQ(SetImgError(s.code), s.answer) << s.code;
        EXPECT_EQ(ImgError(), s.after) << s.code;
    }
}

TEST(ImgErrorString, OutOfRangeCodesAskForTheCurrentOne) {
    SetImgError(IMGERR_FILEFORMAT);
    for (const int code : {-1, 32, 1000, INT32_MIN}) {
        EXPECT_EQ(MessageOf(code), "Invalid file format") << code;
    }
    EXPECT_EQ(MessageOf(31), "Unknown error");  // a legal code without a message
    vx::SetModuleError(505);                     // as some operations store directly
    EXPECT_EQ(MessageOf(-1), "Unknown error");
    EXPECT_EQ(MessageOf(IMGERR_IO), kMessages[IMGERR_IO]);
    EXPECT_EQ(ImgError(), 505);
    vx::SetModuleError(IMGERR_SUCCESS);
}

TEST(ImgErrorString, WithoutABufferTheMessageGoesToTheSink) {
    vxtest::Messages messages;
    SetImgError(IMGERR_NOMEMORY);
    EXPECT_EQ(ImgErrorString(nullptr, IMGERR_OPENFILE), nullptr);
    EXPECT_EQ(ImgErrorString(nullptr, -1), nullptr);
    // MB_OK | MB_ICONEXCLAMATION is 48.
    messages.expect({"VEXORA error|Can't open file|48", "VEXORA error|Not enough memory.|48"});
    EXPECT_EQ(ImgError(), IMGERR_NOMEMORY);
}
