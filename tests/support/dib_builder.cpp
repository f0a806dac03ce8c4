// dib_builder.cpp - see dib_builder.hpp.
#include "dib_builder.hpp"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <fstream>
#include <iterator>
#include <random>

namespace vxtest {

uint32_t PixelOffset(const DibShape& s) {
    uint64_t entries = s.bitCount <= 8 ? 1u << s.bitCount : 0;
    if (!s.coreHeader && s.clrUsed != 0) entries = s.clrUsed;
    if (s.entries >= 0) entries = uint64_t(s.entries);
    return uint32_t(s.coreHeader ? 12 + entries * 3 : 40 + entries * 4);
}

Bytes PackedDib(const DibShape& s) {
    const uint64_t rows = s.rows >= 0 ? uint64_t(s.rows) : uint64_t(s.height < 0 ? -int64_t{s.height} : s.height);
    const uint32_t stride = s.width > 0 ? Stride(s.width, int64_t{s.bitCount} * s.planes) : 0;
    Bytes b(PixelOffset(s) + stride * rows);
    uint32_t state = s.seed * 2654435761u + 1;
    for (uint8_t& byte : b) {  // xorshift32
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        byte = static_cast<uint8_t>(state);
    }
    if (s.coreHeader) {
        const uint16_t core[4] = {uint16_t(s.width), uint16_t(s.height), 1, s.bitCount};
        PutU32(b, 0, 12);
        std::memcpy(&b[4], core, sizeof core);
        return b;
    }
    const uint32_t sizeImage = s.sizeImage != kAsBuilt ? s.sizeImage : uint32_t(stride * rows);
    const uint32_t header[10] = {40, static_cast<uint32_t>(s.width), static_cast<uint32_t>(s.height),
                                 s.planes | uint32_t{s.bitCount} << 16, 0, sizeImage, 3780, 2835, s.clrUsed, 0};
    std::memcpy(b.data(), header, sizeof header);
    for (uint32_t at = 43; at < PixelOffset(s); at += 4) b[at] = 0;
    return b;
}

HDIB BlockFrom(const Bytes& bytes) {
    HDIB block = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, bytes.size());
    if (block != nullptr && !bytes.empty()) {
        std::memcpy(GlobalLock(block), bytes.data(), bytes.size());
        GlobalUnlock(block);
    }
    return block;
}

HDIB MakeDib(const DibShape& shape, uint32_t slack) {
    Bytes bytes = PackedDib(shape);
    bytes.resize(bytes.size() + slack, 0xEE);
    return BlockFrom(bytes);
}

Bytes BlockBytes(HDIB block) {
    Bytes out(GlobalSize(block));
    if (auto* p = static_cast<const uint8_t*>(GlobalLock(block))) {
        std::memcpy(out.data(), p, out.size());
        GlobalUnlock(block);
    }
    return out;
}

Bytes BmpFile(const Bytes& packed, uint32_t offBits) {
    Bytes file(14 + packed.size());
    PutU16(file, 0, 0x4D42);
    PutU32(file, 2, static_cast<uint32_t>(file.size()));
    PutU32(file, 10, offBits);
    std::copy(packed.begin(), packed.end(), file.begin() + 14);
    return file;
}

Bytes PlainBmp(const DibShape& shape) { return BmpFile(PackedDib(shape), 14 + PixelOffset(shape)); }

Bytes ReadFileBytes(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

TempDir::TempDir() {
    static std::atomic<unsigned> counter{0};
    dir_ = std::filesystem::temp_directory_path() /
           ("vexora-test-" + std::to_string(std::random_device{}()) + "-" + std::to_string(counter++));
    std::filesystem::create_directories(dir_);
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(dir_, ignored);
}

std::string TempDir::path(const std::string& name) const { return (dir_ / name).string(); }

std::string TempDir::write(const std::string& name, const Bytes& bytes) const {
    std::ofstream(path(name), std::ios::binary | std::ios::trunc)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return path(name);
}

}  // namespace vxtest
