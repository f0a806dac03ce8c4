// format_modules.hpp - ModuleEntry, the entry-point types, ModuleCall and CallModule: which
// module file and entry point serve each format code, the entry points' types, and the loader
// that makes one call into a module.
//
// Reading and writing are separate module files with separate entry points (there is no PNG
// writer). Each call loads its module by file name, looks the entry point up by its exact
// name, calls it once and frees the module again: nothing is cached, so a module replaced on
// disk is used from the next call on. A missing module or entry point is reported to the user
// with a message box and makes the call answer 0; the module error code is left to the
// modules, which report through the status word or their own means.
#pragma once

#include <type_traits>

#include "vexora.h"

#include "platform/platform.hpp"

namespace vx::formats {

struct ModuleEntry {
    const char* module;  // the module's file name, as it appears in messages
    const char* entry;   // the entry point's exact name
};

// Reading side. `status` is the caller's status word of LoadImageIntoDIB.
inline constexpr ModuleEntry kLoadTiff{"VXTIFR.DLL", "LoadTiffIntoDIB"};  // (file, page, null)
inline constexpr ModuleEntry kLoadCals{"VXTIFR.DLL", "LoadCALSIntoDIB"};  // (file, null)
inline constexpr ModuleEntry kLoadPcx{"VXPCXR.DLL", "LoadPCXIntoDIB"};    // (file, status)
inline constexpr ModuleEntry kLoadDcx{"VXPCXR.DLL", "LoadDCXIntoDIB"};    // (file, page, status)
inline constexpr ModuleEntry kLoadGif{"VXGIFR.DLL", "LoadGIFIntoDIB"};    // (file, page, status)
inline constexpr ModuleEntry kLoadTga{"VXTGAR.DLL", "LoadTGAIntoDIB"};    // (file, null)
inline constexpr ModuleEntry kLoadJpeg{"VXJPGR.DLL", "LoadJPEGIntoDIB"};  // (file)
inline constexpr ModuleEntry kLoadPng{"VXPNGR.DLL", "LoadPNGIntoDIB"};    // (file, status)

// Writing side. `param` is the library's own copy of the caller's fifth argument wherever its
// address is passed.
inline constexpr ModuleEntry kSaveTiff{"VXTIFW.DLL", "SaveDIBInTiffFormat"};   // (file, dib, param, 1)
inline constexpr ModuleEntry kSaveCals{"VXTIFW.DLL", "SAVEDIBINCALSFORMAT"};   // (file, dib, 0, 0, 0)
inline constexpr ModuleEntry kSavePcx{"VXPCXW.DLL", "SaveDIBInPCXFormat"};     // (file, dib, &param)
inline constexpr ModuleEntry kMakeDcx{"VXPCXW.DLL", "MakeDCXFile"};            // (file, &param)
inline constexpr ModuleEntry kSaveDcx{"VXPCXW.DLL", "SaveDIBInDCXFormat"};     // (file, dib, &param)
inline constexpr ModuleEntry kSaveGif{"VXGIFW.DLL", "SaveDIBInGIFFormat"};     // (file, dib, option, &param)
inline constexpr ModuleEntry kSaveTga{"VXTGAW.DLL", "SaveDIBInTGAFormat"};     // (file, dib, param != 0, 1)
inline constexpr ModuleEntry kSaveJpeg{"VXJPGW.DLL", "SaveDIBInJPEGFile"};     // (file, dib, 75)

// The entry points' types: __stdcall on Windows, the C convention elsewhere.
using LoadPageFn = HDIB(VXCALL*)(LPCSTR, int, int*);  // DCX, GIF; TIFF (null status)
using LoadStatusFn = HDIB(VXCALL*)(LPCSTR, int*);      // PCX, PNG; TGA and CALS (null status)
using LoadNameFn = HDIB(VXCALL*)(LPCSTR);                     // JPEG
using SaveTiffFn = int(VXCALL*)(LPCSTR, HDIB, int, int);
using SaveCalsFn = int(VXCALL*)(LPCSTR, HDIB, int, int, int);
using SaveParamAddressFn = int(VXCALL*)(LPCSTR, HDIB, int*);  // PCX, DCX
using MakeDcxFn = int(VXCALL*)(LPCSTR, int*);
using SaveGifFn = int(VXCALL*)(LPCSTR, HDIB, int, int*);
using SaveTgaFn = int(VXCALL*)(LPCSTR, HDIB, int, int);
using SaveJpegFn = int(VXCALL*)(LPCSTR, HDIB, int);

// One call into a module: the module is loaded and the entry point looked up on construction
// (a failure of either is shown in a message box), and the module is freed on destruction.
class ModuleCall {
public:
    explicit ModuleCall(const ModuleEntry& entry);
    ModuleCall(const ModuleCall&) = delete;
    ModuleCall& operator=(const ModuleCall&) = delete;

    // The entry point as its real type, or null when the module or the entry was not found.
    template <typename Fn>
    Fn as() const {
        return reinterpret_cast<Fn>(entry_);
    }

private:
    platform::Module module_;
    platform::Module::Entry entry_ = nullptr;
};

// Loads the module, calls the entry point with `args` and frees the module; 0 (or null) when
// the module or the entry point is missing.
template <typename Fn, typename... Args>
auto CallModule(const ModuleEntry& entry, Args... args) {
    using Result = std::invoke_result_t<Fn, Args...>;
    const ModuleCall call(entry);
    const Fn fn = call.as<Fn>();
    if (fn == nullptr) return Result{};
    return fn(args...);
}

}  // namespace vx::formats
