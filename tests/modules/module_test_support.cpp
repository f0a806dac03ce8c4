// module_test_support.cpp - the format modules' shared test helpers.
#include "module_test_support.hpp"

#include <cstdio>
#include <cstring>
#include <fstream>
#include <random>
#include <sstream>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace vxtest {

namespace {

size_t Stride(int width, int bits) { return (size_t(width) * bits + 31) / 32 * 4; }

std::string Hex(uint32_t v) {
    char text[16];
    std::snprintf(text, sizeof text, "%06X", v);
    return text;
}

}  // namespace

uint32_t TestImage::rgb(int x, int y) const {
    const size_t at = (size_t(y) * width + x) * channels();
    if (bits == 24) return uint32_t(pixels[at]) << 16 | pixels[at + 1] << 8 | pixels[at + 2];
    const RGBQUAD& c = palette.at(pixels[at]);
    return uint32_t(c.rgbRed) << 16 | c.rgbGreen << 8 | c.rgbBlue;
}

TestImage Pattern(int width, int height, int bits, uint32_t seed, bool gray) {
    TestImage image{width, height, bits, {}, Bytes(size_t(width) * height * (bits == 24 ? 3 : 1)), 2835, 3780};
    std::mt19937 random(seed);
    if (bits <= 8) {
        const int colours = 1 << bits;
        for (int i = 0; i < colours; ++i) {
            if (gray) {
                const auto level = uint8_t(i * 255 / (colours - 1));
                image.palette.push_back({level, level, level, 0});
            } else {
                // Distinct entries, the first two black and white.
                const uint32_t c = i == 0 ? 0 : i == 1 ? 0xFFFFFF : (random() & 0xFFFFFF) | uint32_t(i);
                image.palette.push_back({uint8_t(c), uint8_t(c >> 8), uint8_t(c >> 16), 0});
            }
        }
    }
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const size_t at = (size_t(y) * width + x) * image.channels();
            if (bits == 24) {
                image.pixels[at] = uint8_t(x * 255 / std::max(1, width - 1));
                image.pixels[at + 1] = uint8_t(y * 255 / std::max(1, height - 1));
                image.pixels[at + 2] = uint8_t((x / 8 + y / 8) % 2 ? random() : 128);
            } else {
                // Bands of every index with noise in the lower half.
                const int colours = 1 << bits;
                image.pixels[at] = uint8_t(y < height / 2 ? (x * colours / std::max(1, width)) % colours
                                                          : random() % colours);
            }
        }
    return image;
}

HDIB DibOf(const TestImage& image) {
    const size_t stride = Stride(image.width, image.bits);
    const size_t tableBytes = image.palette.size() * 4;
    HDIB dib = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, 40 + tableBytes + stride * image.height);
    auto* p = static_cast<uint8_t*>(GlobalLock(dib));
    BITMAPINFOHEADER h{};
    h.biSize = 40;
    h.biWidth = image.width;
    h.biHeight = image.height;
    h.biPlanes = 1;
    h.biBitCount = WORD(image.bits);
    h.biSizeImage = DWORD(stride * image.height);
    h.biXPelsPerMeter = image.xPelsPerMeter;
    h.biYPelsPerMeter = image.yPelsPerMeter;
    h.biClrUsed = DWORD(image.palette.size());
    std::memcpy(p, &h, 40);
    if (tableBytes) std::memcpy(p + 40, image.palette.data(), tableBytes);
    for (int y = 0; y < image.height; ++y) {
        uint8_t* row = p + 40 + tableBytes + stride * (image.height - 1 - y);
        for (int x = 0; x < image.width; ++x) {
            const size_t at = (size_t(y) * image.width + x) * image.channels();
            if (image.bits == 24) {
                row[x * 3] = image.pixels[at + 2];
                row[x * 3 + 1] = image.pixels[at + 1];
                row[x * 3 + 2] = image.pixels[at];
            } else {
                const int perByte = 8 / image.bits, shift = 8 - image.bits * (x % perByte + 1);
                row[x / perByte] |= uint8_t(image.pixels[at] << shift);
            }
        }
    }
    GlobalUnlock(dib);
    return dib;
}

TestImage ImageOf(HDIB dib) {
    TestImage image;
    const auto* p = static_cast<const uint8_t*>(GlobalLock(dib));
    BITMAPINFOHEADER h;
    std::memcpy(&h, p, 40);
    image.width = h.biWidth;
    image.height = h.biHeight;
    image.bits = h.biBitCount;
    image.xPelsPerMeter = h.biXPelsPerMeter;
    image.yPelsPerMeter = h.biYPelsPerMeter;
    const size_t colours = h.biBitCount <= 8 ? (h.biClrUsed ? h.biClrUsed : 1u << h.biBitCount) : h.biClrUsed;
    image.palette.resize(colours);
    if (colours) std::memcpy(image.palette.data(), p + h.biSize, colours * 4);
    const uint8_t* pixels = p + h.biSize + colours * 4;
    const size_t stride = Stride(image.width, image.bits);
    image.pixels.resize(size_t(image.width) * image.height * image.channels());
    for (int y = 0; y < image.height; ++y) {
        const uint8_t* row = pixels + stride * (image.height - 1 - y);
        for (int x = 0; x < image.width; ++x) {
            const size_t at = (size_t(y) * image.width + x) * image.channels();
            if (image.bits == 24) {
                image.pixels[at] = row[x * 3 + 2];
                image.pixels[at + 1] = row[x * 3 + 1];
                image.pixels[at + 2] = row[x * 3];
            } else {
                const int perByte = 8 / image.bits, shift = 8 - image.bits * (x % perByte + 1);
                image.pixels[at] = uint8_t(row[x / perByte] >> shift & ((1 << image.bits) - 1));
            }
        }
    }
    GlobalUnlock(dib);
    return image;
}

std::string CompareRgb(const TestImage& got, const TestImage& want, int tolerance) {
    if (got.width != want.width || got.height != want.height)
        return "size " + std::to_string(got.width) + "x" + std::to_string(got.height) + ", want " +
               std::to_string(want.width) + "x" + std::to_string(want.height);
    for (int y = 0; y < got.height; ++y)
        for (int x = 0; x < got.width; ++x) {
            const uint32_t a = got.rgb(x, y), b = want.rgb(x, y);
            for (int shift = 0; shift < 24; shift += 8)
                if (std::abs(int(a >> shift & 255) - int(b >> shift & 255)) > tolerance)
                    return "pixel (" + std::to_string(x) + "," + std::to_string(y) + ") " + Hex(a) + ", want " + Hex(b);
        }
    return "";
}

std::string CompareIndexed(const TestImage& got, const TestImage& want) {
    if (got.bits != want.bits) return "depth " + std::to_string(got.bits) + ", want " + std::to_string(want.bits);
    if (got.palette.size() != want.palette.size())
        return "table of " + std::to_string(got.palette.size()) + ", want " + std::to_string(want.palette.size());
    for (size_t i = 0; i < got.palette.size(); ++i)
        if (std::memcmp(&got.palette[i], &want.palette[i], 3) != 0) return "table entry " + std::to_string(i);
    if (got.width != want.width || got.height != want.height) return "size";
    for (size_t i = 0; i < got.pixels.size(); ++i)
        if (got.pixels[i] != want.pixels[i])
            return "index at (" + std::to_string(i % got.width) + "," + std::to_string(i / got.width) + ")";
    return "";
}

TestImage ReadNetpbm(const std::filesystem::path& path) {
    const Bytes bytes = ReadBytes(path);
    size_t at = 0;
    auto token = [&] {
        std::string text;
        while (at < bytes.size()) {
            if (bytes[at] == '#') {
                while (at < bytes.size() && bytes[at] != '\n') ++at;
            } else if (std::isspace(bytes[at])) {
                if (!text.empty()) break;
                ++at;
            } else {
                text += char(bytes[at++]);
            }
        }
        return text;
    };
    const std::string magic = token();
    TestImage image;
    image.width = std::stoi(token());
    image.height = std::stoi(token());
    const int maxval = magic == "P4" ? 1 : std::stoi(token());
    ++at;  // the one whitespace byte before the samples
    const size_t count = size_t(image.width) * image.height;
    if (magic == "P4") {
        image.bits = 1;
        image.palette = {{255, 255, 255, 0}, {0, 0, 0, 0}};
        image.pixels.resize(count);
        const size_t stride = (image.width + 7) / 8;
        for (int y = 0; y < image.height; ++y)
            for (int x = 0; x < image.width; ++x)
                image.pixels[size_t(y) * image.width + x] = bytes.at(at + y * stride + x / 8) >> (7 - x % 8) & 1;
        return image;
    }
    const int channels = magic == "P6" ? 3 : 1;
    image.bits = channels == 3 ? 24 : 8;
    if (channels == 1)
        for (int i = 0; i < 256; ++i) image.palette.push_back({uint8_t(i), uint8_t(i), uint8_t(i), 0});
    image.pixels.resize(count * channels);
    for (size_t i = 0; i < count * channels; ++i) {
        unsigned v = maxval > 255 ? unsigned(bytes.at(at + 2 * i)) << 8 | bytes.at(at + 2 * i + 1) : bytes.at(at + i);
        image.pixels[i] = uint8_t((v * 255 + maxval / 2) / maxval);
    }
    return image;
}

std::filesystem::path DataFile(const std::string& name) { return std::filesystem::path(VEXORA_MODULE_TEST_DATA) / name; }

Bytes ReadBytes(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}

void WriteBytes(const std::filesystem::path& path, const Bytes& bytes) {
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
}

ScratchDir::ScratchDir() {
    const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
    std::string name = "vexora-modules";
    if (test) name += std::string("-") + test->test_suite_name() + "-" + test->name();
    // A random suffix keeps two builds' runs of the same test (two lanes, two work trees) apart.
    path_ = std::filesystem::temp_directory_path() / (name + "-" + std::to_string(std::random_device{}()));
    std::filesystem::remove_all(path_);
    std::filesystem::create_directories(path_);
}

ScratchDir::~ScratchDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

Loaded LoadThroughLibrary(const std::filesystem::path& path, int page) {
    Loaded result;
    SetImgError(0);
    HeldDib dib(LoadImageIntoDIB(path.string().c_str(), page, &result.status));
    result.error = ImgError();
    if (dib) {
        result.ok = true;
        result.image = ImageOf(dib.get());
    }
    return result;
}

int SaveThroughLibrary(const std::filesystem::path& path, const TestImage& image, int format, int option, int param) {
    HeldDib dib(DibOf(image));
    return SaveDIBInImageFormat(path.string().c_str(), dib.get(), format, option, param);
}

void* ModuleEntry(const std::string& module, const char* entry) {
#if defined(_WIN32)
    HMODULE loaded = LoadLibraryA((module + ".DLL").c_str());
    return loaded ? reinterpret_cast<void*>(GetProcAddress(loaded, entry)) : nullptr;
#else
    Dl_info info{};  // beside libvexora.so, as the library looks (a sanitizer's dlopen sees no run path)
    dladdr(reinterpret_cast<void*>(&LoadImageIntoDIB), &info);
    const std::string library = info.dli_fname ? info.dli_fname : "";
    void* loaded = dlopen((library.substr(0, library.rfind('/') + 1) + module + ".so").c_str(), RTLD_NOW | RTLD_LOCAL);
    return loaded ? dlsym(loaded, entry) : nullptr;
#endif
}

int SweepHostileVersions(const Bytes& good, const std::filesystem::path& scratchFile, const FileLoader& load) {
    int loaded = 0;
    auto attempt = [&](const Bytes& bytes) {
        WriteBytes(scratchFile, bytes);
        loaded += load(scratchFile) ? 1 : 0;
    };
    std::vector<size_t> cuts;
    for (size_t n = 0; n < good.size() && n <= 4096; ++n) cuts.push_back(n);
    if (good.size() > 4096)
        for (size_t i = 0; i < 256; ++i) cuts.push_back(4096 + (good.size() - 4096) * i / 256);
    for (size_t n : cuts) attempt(Bytes(good.begin(), good.begin() + std::ptrdiff_t(n)));
    for (size_t i = 0; i < std::min<size_t>(good.size(), 256); ++i)
        for (uint8_t value : {0x00, 0xFF, 0x80}) {
            Bytes bad = good;
            bad[i] = value;
            attempt(bad);
        }
    return loaded;
}

}  // namespace vxtest
