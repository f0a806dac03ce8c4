// module_files.cpp - LibraryLocation, the library's file for --version; FindFormatModule: whether the format module a file needs can be loaded,
// and where the library looks for it, so that `vexora info` names a missing module instead of
// promising one; and LoadTgaThroughModule, for the TGA files the library's detection takes for
// metafiles.
//
// The search is the library's own: on Linux "NAME.so" beside libvexora.so, then the dynamic
// loader's path; on Windows "NAME.DLL" through LoadLibraryA's search, which starts in the
// program's directory (where VEXORA.DLL sits beside the tool).
#include "commands.hpp"

#include <cstdlib>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#include <link.h>
#endif

namespace vexora_tool {

ModuleSearch FindFormatModule(const std::string& moduleFile) {
    ModuleSearch search;
#if defined(_WIN32)
    char directory[MAX_PATH] = {};
    const DWORD n = GetModuleFileNameA(GetModuleHandleA("VEXORA.DLL"), directory, MAX_PATH);
    std::string place = n > 0 ? std::string(directory, n) : std::string();
    place = place.substr(0, place.find_last_of("\\/") + 1);
    search.where = "the program's directory " + place + ", the system directories and PATH";
    if (HMODULE module = LoadLibraryA(moduleFile.c_str())) {
        char found[MAX_PATH] = {};
        const DWORD length = GetModuleFileNameA(module, found, MAX_PATH);
        search.path.assign(found, length);
        FreeLibrary(module);
        search.found = true;
    }
#else
    const std::string name = moduleFile.substr(0, moduleFile.rfind('.')) + ".so";
    Dl_info info{};
    std::string beside;
    if (dladdr(reinterpret_cast<void*>(&LoadImageIntoDIB), &info) != 0 && info.dli_fname != nullptr) {
        beside = info.dli_fname;
        beside = beside.substr(0, beside.rfind('/') + 1);
    }
    search.where = beside + name + " (beside libvexora.so), then " + name + " on the dynamic loader's path";
    for (const std::string& candidate : {beside + name, name}) {
        if (void* module = dlopen(candidate.c_str(), RTLD_NOW | RTLD_LOCAL)) {
            link_map* map = nullptr;
            search.path = dlinfo(module, RTLD_DI_LINKMAP, &map) == 0 && map && map->l_name ? map->l_name : candidate;
            dlclose(module);
            search.found = true;
            break;
        }
        if (beside.empty()) break;
    }
#endif
    return search;
}

std::string LibraryLocation() {
#if defined(_WIN32)
    char path[MAX_PATH] = {};
    const DWORD n = GetModuleFileNameA(GetModuleHandleA("VEXORA.DLL"), path, MAX_PATH);
    return n > 0 ? std::string(path, n) : std::string("VEXORA.DLL");
#else
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&LoadImageIntoDIB), &info) == 0 || info.dli_fname == nullptr) return "libvexora.so";
    char* real = realpath(info.dli_fname, nullptr);
    const std::string path = real != nullptr ? real : info.dli_fname;
    std::free(real);
    return path;
#endif
}

HDIB LoadTgaThroughModule(const std::string& fileName, int* status) {
    using LoadTga = HDIB(VXCALL*)(LPCSTR, int*);
#if defined(_WIN32)
    HMODULE module = LoadLibraryA("VXTGAR.DLL");
    if (module == nullptr) return nullptr;
    const auto load = reinterpret_cast<LoadTga>(reinterpret_cast<void*>(GetProcAddress(module, "LoadTGAIntoDIB")));
    HDIB dib = load ? load(fileName.c_str(), status) : nullptr;
    FreeLibrary(module);
#else
    const ModuleSearch search = FindFormatModule("VXTGAR.DLL");
    void* module = search.found ? dlopen(search.path.c_str(), RTLD_NOW | RTLD_LOCAL) : nullptr;
    if (module == nullptr) return nullptr;
    const auto load = reinterpret_cast<LoadTga>(dlsym(module, "LoadTGAIntoDIB"));
    HDIB dib = load ? load(fileName.c_str(), status) : nullptr;
    dlclose(module);
#endif
    return dib;
}

}  // namespace vexora_tool
