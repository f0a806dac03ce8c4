// record_module.cpp - a stand-in format module for the format tests. Built once per module
// file name (MODULE_NAME), it exports every reading and writing entry point and reports how it
// was called, since the library unloads a module after each call:
//   - a loader returns a 1-row 8-bit DIB (one colour entry) whose pixels are the text
//     "<module>|<entry>|<file>|<arguments>", and stores 4242 in a status word it is given;
//   - a writer appends such a line to the file it is asked to write, adds 1000 to a param it
//     is given the address of, and returns a value of its own (see below).
// Built with NO_ENTRY_POINTS it exports none of them (a module without the entry point).
#include <cstdio>
#include <cstring>
#include <string>

#include "vexora.h"

#if defined(_WIN32)
#define MODULE_EXPORT extern "C" __declspec(dllexport)
#else
#define MODULE_EXPORT extern "C" __attribute__((visibility("default")))
#endif

#if !defined(NO_ENTRY_POINTS)

namespace {

std::string Status(int* status) {
    if (status == nullptr) return "status=null";
    const std::string text = "status=" + std::to_string(*status);
    *status = 4242;
    return text;
}

std::string Param(int* param) {
    if (param == nullptr) return "param=null";
    const std::string text = "param=" + std::to_string(*param);
    *param += 1000;
    return text;
}

HDIB Report(const char* entry, LPCSTR file, const std::string& arguments) {
    const std::string text = std::string(MODULE_NAME) + "|" + entry + "|" + (file ? file : "(null)") + "|" + arguments;
    const size_t stride = (text.size() + 3) / 4 * 4;
    HDIB dib = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, 44 + stride);
    auto* p = static_cast<unsigned char*>(GlobalLock(dib));
    const int32_t header[10] = {40, static_cast<int32_t>(text.size()), 1, 1 | 8 << 16, 0,
                                static_cast<int32_t>(stride), 0, 0, 1, 0};
    std::memcpy(p, header, sizeof header);
    std::memcpy(p + 44, text.data(), text.size());
    GlobalUnlock(dib);
    return dib;
}

int Record(int result, const char* entry, LPCSTR file, HDIB dib, const std::string& arguments) {
    if (std::FILE* out = std::fopen(file, "ab")) {
        std::fprintf(out, "%s|%s|dib=%s|%s\n", MODULE_NAME, entry, dib ? "given" : "null", arguments.c_str());
        std::fclose(out);
    }
    return result;
}

std::string Ints(int a, int b) { return std::to_string(a) + "," + std::to_string(b); }

}  // namespace

// Loaders with a page number and a status word, and loaders with a status word only.
#define PAGED_LOADER(name)                                                          \
    MODULE_EXPORT HDIB VXCALL name(LPCSTR file, int page, int* status) {            \
        return Report(#name, file, "page=" + std::to_string(page) + "|" + Status(status)); \
    }
#define LOADER(name) \
    MODULE_EXPORT HDIB VXCALL name(LPCSTR file, int* status) { return Report(#name, file, Status(status)); }
PAGED_LOADER(LoadTiffIntoDIB)
PAGED_LOADER(LoadDCXIntoDIB)
PAGED_LOADER(LoadGIFIntoDIB)
LOADER(LoadCALSIntoDIB)
LOADER(LoadPCXIntoDIB)
LOADER(LoadTGAIntoDIB)
LOADER(LoadPNGIntoDIB)
MODULE_EXPORT HDIB VXCALL LoadJPEGIntoDIB(LPCSTR file) { return Report("LoadJPEGIntoDIB", file, ""); }

// Writers: the result each returns, the arguments it records, and its parameters after the
// file and the DIB.
#define WRITER(name, result, arguments, ...) \
    MODULE_EXPORT int VXCALL name(LPCSTR file, HDIB dib, __VA_ARGS__) { return Record(result, #name, file, dib, arguments); }
WRITER(SaveDIBInTiffFormat, 11, Ints(param, b), int param, int b)
WRITER(SAVEDIBINCALSFORMAT, 12, Ints(a, b) + "," + std::to_string(c), int a, int b, int c)
WRITER(SaveDIBInPCXFormat, 13, Param(param), int* param)
WRITER(SaveDIBInDCXFormat, 15, Param(param), int* param)
WRITER(SaveDIBInGIFFormat, 16, "option=" + std::to_string(option) + "|" + Param(param), int option, int* param)
WRITER(SaveDIBInTGAFormat, 17, Ints(a, b), int a, int b)
WRITER(SaveDIBInJPEGFile, 18, std::to_string(quality), int quality)
MODULE_EXPORT int VXCALL MakeDCXFile(LPCSTR file, int* param) { return Record(14, "MakeDCXFile", file, nullptr, Param(param)); }

#else

MODULE_EXPORT int VXCALL SomethingElse(void) { return 0; }

#endif
