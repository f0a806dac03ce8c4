// cli.hpp - what every subcommand of the vexora tool shares: owned DIB handles, the library's
// error text, usage errors, and writing an output file so that a failure never leaves half of
// it behind and never touches the input.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

#include "vexora.h"

namespace vexora_tool {

// Exit codes of the tool.
inline constexpr int kExitSuccess = 0;
inline constexpr int kExitFailed = 1;
inline constexpr int kExitUsage = 2;

// A command line the tool cannot make sense of; main prints it with a hint and exits 2.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// An operation that failed; main prints it and exits 1.
struct OperationFailed : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// A DIB handle owned by the tool, freed with GlobalFree.
class Dib {
public:
    Dib() = default;
    explicit Dib(HDIB handle) : handle_(handle) {}
    Dib(const Dib&) = delete;
    Dib& operator=(const Dib&) = delete;
    Dib(Dib&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    Dib& operator=(Dib&& other) noexcept {
        if (this != &other) {
            reset();
            handle_ = std::exchange(other.handle_, nullptr);
        }
        return *this;
    }
    ~Dib() { reset(); }
    explicit operator bool() const { return handle_ != nullptr; }
    HDIB get() const { return handle_; }
    void reset() {
        if (handle_) GlobalFree(handle_);
        handle_ = nullptr;
    }

private:
    HDIB handle_ = nullptr;
};

// The header of a DIB, copied out of its block.
BITMAPINFOHEADER HeaderOf(const Dib& dib);

// The library's text for the current error code, or words saying that it gave none when the
// code is 0 (a failure without a code is not known to be a lack of memory).
std::string LibraryErrorText();

// Loads a BMP file through the library, or throws OperationFailed with the library's reason.
Dib LoadBitmapFile(const std::string& path);

// The tool's pixel limit on inputs (--max-pixels): 2^28 pixels by default, the most the
// library's BMP reader and format modules make.
inline constexpr uint64_t kDefaultMaxPixels = uint64_t{1} << 28;
void SetMaxPixels(uint64_t pixels);
uint64_t MaxPixels();

// Throws OperationFailed when a loaded image has more pixels than the limit.
void CheckPixelCount(const Dib& dib, const std::string& path);

// Loads a file GetImageFormat calls a bitmap (or does not recognise): "BM" files through the
// library's tolerant BMP reader, after checking the header's size against the limit, bare
// packed DIBs through LoadDIBFromFile. Throws OperationFailed with the library's text and the
// reader's reason. (bmp_input.cpp)
Dib LoadBmpInput(const std::string& givenPath, const std::string& path);

// `path` made absolute. The library reads profiles (colour fax sets) through the system's
// profile calls, which look for a relative name in the Windows directory.
std::string FullPath(const std::string& path);

// The name of a format code of GetImageFormat, for messages and `info`.
std::string FormatName(int format);

// Loads page `page` of any file the library recognises: bitmaps and bare packed DIBs through
// the bitmap loader; text files (detected, or named .txt) through LoadASCIIFile, since the load
// dispatch refuses text by design; clipboard files, metafiles, colour fax sets and the module
// formats through the format dispatch; a .tga file the detection takes for a metafile through
// the TGA module directly. Run-length compressed bitmaps come back expanded. "-" reads standard
// input. Only regular files are read (CheckInputFile), and a fax page only when every plane it
// names can be read (FaxPageProblem). Throws OperationFailed with the reason.
Dib LoadImageFile(const std::string& path, int page = 1);

struct WriteChoices;

// Saves as `path` through WriteOutputFile (a failure leaves no file behind; "-" is standard
// output), in the format the choices or the name's extension give (output_formats.hpp).
// Refuses (UsageError) when `path` names the same file as `input`, or names no format.
void SaveImageFile(const Dib& dib, const std::string& path, const std::string& input, const WriteChoices& choices);
// The same with the format from the extension alone.
void SaveBitmapFile(const Dib& dib, const std::string& path, const std::string& input = {});

// Whether two paths name the same existing file.
bool SameFile(const std::string& a, const std::string& b);

// Dots per inch from pixels per metre, rounded.
long DotsPerInch(LONG pelsPerMeter);

// The file name that stands for standard input or standard output.
inline constexpr const char* kStandardStream = "-";

// Set by --quiet: the tool reports only failures.
inline bool quietRun = false;

// The system's text for an errno value ("No such file or directory").
std::string SystemReason(int error);

// Throws OperationFailed unless `path` is a regular file the tool can open for reading: a
// missing or unreadable file reads "cannot load 'NAME': Can't open file: <system reason>"; a
// device, FIFO or directory is refused without being opened (files.cpp).
void CheckInputFile(const std::string& path, const std::string& shownName);

class TemporaryFile;

// Standard input copied into a temporary file for the library to read, removed with the object.
class StandardInputFile {
public:
    StandardInputFile();
    StandardInputFile(const StandardInputFile&) = delete;
    StandardInputFile& operator=(const StandardInputFile&) = delete;
    ~StandardInputFile();
    const std::string& path() const { return path_; }

private:
    std::unique_ptr<TemporaryFile> file_;
    std::string path_;
};

// Puts the file `write` makes (it is given the name of a temporary file to write, and throws
// OperationFailed when it cannot) in place as `path`: replacing a regular file atomically with
// its mode kept, writing through symbolic links, devices and FIFOs, to standard output for "-",
// and refusing directories and write-protected files with the system's reason (files.cpp).
void WriteOutputFile(const std::string& path, const std::function<void(const std::string&)>& write);

// Why page `page` of the colour fax set `setPath` (an absolute name) cannot be loaded, or empty
// when it can: the page lies outside the set, its planes are not 1 bit deep, or a plane file
// the set names is missing, not a regular file or unreadable (fax_sets.cpp).
std::string FaxPageProblem(const std::string& setPath, int page);

// The pages LoadColorFaxPage accepts: TotalPages - FirstPage + 1, at least 0.
long long FaxPageCount(const std::string& setPath);

}  // namespace vexora_tool
