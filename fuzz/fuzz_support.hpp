// fuzz_support.hpp - what the fuzz targets share: a property check that stops the run, a
// block's bytes copied out, and a private directory for the files the file readers are given.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <system_error>
#include <vector>

#include "vexora.h"

namespace vexora_fuzz {

// A property that must hold; a failure aborts so that the fuzzer records the input.
inline void Check(bool holds) {
    if (!holds) std::abort();
}

// Every byte of a block, as GlobalSize counts them.
inline std::vector<uint8_t> Contents(HDIB dib) {
    std::vector<uint8_t> bytes(GlobalSize(dib));
    if (const void* p = GlobalLock(dib)) {
        if (!bytes.empty()) std::memcpy(bytes.data(), p, bytes.size());
        GlobalUnlock(dib);
    }
    return bytes;
}

// A private directory for the files of one run, removed at exit.
struct WorkDir {
    WorkDir() {
        path = std::filesystem::temp_directory_path() / ("vexora-fuzz-" + std::to_string(std::random_device{}()));
        std::filesystem::create_directories(path);
    }
    ~WorkDir() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    std::string file(const char* name) const { return (path / name).string(); }
    // Writes the input as file `name` and answers its path.
    std::string write(const char* name, const uint8_t* data, size_t size) const {
        const std::string at = file(name);
        std::ofstream out(at, std::ios::binary | std::ios::trunc);
        if (size > 0) out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
        return at;
    }
    std::filesystem::path path;
};

}  // namespace vexora_fuzz
