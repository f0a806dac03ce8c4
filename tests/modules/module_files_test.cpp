// The module files: each one is where the library looks for it and exports its entry points
// under their exact, undecorated names.
#include <string>
#include <utility>
#include <vector>

#include "module_test_support.hpp"

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace {

const std::vector<std::pair<const char*, std::vector<const char*>>> kModuleTable = {
    {"VXTIFR", {"LoadTiffIntoDIB", "LoadCALSIntoDIB"}},
    {"VXTIFW", {"SaveDIBInTiffFormat", "SAVEDIBINCALSFORMAT"}},
    {"VXPCXR", {"LoadPCXIntoDIB", "LoadDCXIntoDIB"}},
    {"VXPCXW", {"SaveDIBInPCXFormat", "MakeDCXFile", "SaveDIBInDCXFormat"}},
    {"VXGIFR", {"LoadGIFIntoDIB"}},
    {"VXGIFW", {"SaveDIBInGIFFormat"}},
    {"VXTGAR", {"LoadTGAIntoDIB"}},
    {"VXTGAW", {"SaveDIBInTGAFormat"}},
    {"VXJPGR", {"LoadJPEGIntoDIB"}},
    {"VXJPGW", {"SaveDIBInJPEGFile"}},
    {"VXPNGR", {"LoadPNGIntoDIB"}},
};

#if defined(_WIN32)
void* OpenModule(const std::string& name) { return LoadLibraryA((name + ".DLL").c_str()); }
void* EntryOf(void* module, const char* entry) {
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(module), entry));
}
void CloseModule(void* module) { FreeLibrary(static_cast<HMODULE>(module)); }
#else
// Beside libvexora.so, as the library looks.
void* OpenModule(const std::string& name) {
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&LoadImageIntoDIB), &info) == 0 || info.dli_fname == nullptr) return nullptr;
    const std::string library = info.dli_fname;
    return dlopen((library.substr(0, library.rfind('/') + 1) + name + ".so").c_str(), RTLD_NOW | RTLD_LOCAL);
}
void* EntryOf(void* module, const char* entry) { return dlsym(module, entry); }
void CloseModule(void* module) { dlclose(module); }
#endif

TEST(ModuleFiles, EveryModuleExportsItsEntryPointsByTheirExactNames) {
    for (const auto& [name, entries] : kModuleTable) {
        void* module = OpenModule(name);
        ASSERT_NE(module, nullptr) << name;
        for (const char* entry : entries) EXPECT_NE(EntryOf(module, entry), nullptr) << name << " " << entry;
        CloseModule(module);
    }
}

}  // namespace
