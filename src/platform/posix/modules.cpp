// modules.cpp - format modules on Linux: shared objects opened with dlopen.
//
// The library asks for its modules by their Windows file names ("VXPNGR.DLL"); here the same
// module is the shared object "VXPNGR.so" (a final ".DLL" in any letter case becomes ".so").
// It is looked for beside the object that holds the library's code first - libvexora.so, or
// the program the static library is linked into - and then on the loader's own path, the way
// Windows looks in the application's directory before the system's. Which object holds the
// code is asked of the dynamic loader for an address inside this file; the main program has
// no name of its own in the loader's list, so its path is read from /proc/self/exe. Modules
// are opened with RTLD_NOW (a module with missing symbols fails here, not in the middle of a
// load) and RTLD_LOCAL (two modules may export the same names), and closed after each call.
#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <climits>
#include <cstring>
#include <string>

#include "platform/platform.hpp"

namespace vx::platform {

namespace {

std::string SharedObjectName(const char* fileName) {
    std::string name(fileName);
    const size_t n = name.size();
    if (n >= 4 && name[n - 4] == '.' && (name[n - 3] | 0x20) == 'd' && (name[n - 2] | 0x20) == 'l' &&
        (name[n - 1] | 0x20) == 'l')
        name.resize(n - 4);
    return name + ".so";
}

// The directory of the object this code was linked into, with a trailing '/', or empty.
std::string LibraryDirectory() {
    Dl_info info;
    link_map* map = nullptr;
    static const int anchor = 0;
    if (dladdr1(&anchor, &info, reinterpret_cast<void**>(&map), RTLD_DL_LINKMAP) == 0) return {};
    std::string path;
    if (map != nullptr && map->l_name != nullptr && map->l_name[0] != '\0') {
        path = map->l_name;
    } else {
        char self[PATH_MAX];
        const ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
        if (n <= 0) return {};
        path.assign(self, static_cast<size_t>(n));
    }
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

}  // namespace

Module::Module(const char* fileName) {
    if (fileName == nullptr) return;
    const std::string name = SharedObjectName(fileName);
    void* handle = nullptr;
    if (name.find('/') == std::string::npos) {
        const std::string beside = LibraryDirectory();
        if (!beside.empty()) handle = dlopen((beside + name).c_str(), RTLD_NOW | RTLD_LOCAL);
    }
    if (handle == nullptr) handle = dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
    handle_ = handle;
    loadResult_ = handle == nullptr ? 0 : 1;
}

Module::~Module() {
    if (handle_ != nullptr) dlclose(handle_);
}

Module::Entry Module::entry(const char* name) const {
    if (handle_ == nullptr || name == nullptr) return nullptr;
    return reinterpret_cast<Entry>(dlsym(handle_, name));
}

}  // namespace vx::platform
