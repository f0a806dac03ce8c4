// module_bench.cpp - loading a 4096 x 4096 photograph-like JPEG and PNG through the library's
// LoadImageIntoDIB (format detection, the module loaded, the file read, decoded, the module
// freed), beside the codec alone decoding the same file into a buffer in this process:
//   BM_LoadImageIntoDIBJpeg   vs  BM_LibjpegDecode   (jpeglib, the same settings, into one buffer)
//   BM_LoadImageIntoDIBPng    vs  BM_LibpngReadImage (png_read_image into one buffer)
// The pictures are made here: smooth gradients with grain, like a photograph, the JPEG written
// by libjpeg at quality 90 (4:2:0), the PNG by libpng at its default compression. Each library
// case first checks that its DIB holds exactly the codec's own pixels. The JPEG file is left in
// the temporary directory as vexora-bench-4096.jpg so that djpeg can be timed on it, e.g.
//   hyperfine 'djpeg -bmp -outfile /dev/null /tmp/vexora-bench-4096.jpg'
#include <benchmark/benchmark.h>

#include <cstdio>

#include <jpeglib.h>
#include <png.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "vexora.h"

namespace {

constexpr int kSide = 4096;
using Pixels = std::vector<uint8_t>;  // rows top-down, RGB

Pixels PhotoLike() {
    Pixels rgb(size_t{kSide} * kSide * 3);
    std::mt19937 random(90);
    for (int y = 0; y < kSide; ++y)
        for (int x = 0; x < kSide; ++x) {
            uint8_t* p = rgb.data() + (size_t(y) * kSide + x) * 3;
            const int grain = static_cast<int>(random() % 9) - 4;
            p[0] = static_cast<uint8_t>(std::clamp(x / 16 + grain, 0, 255));
            p[1] = static_cast<uint8_t>(std::clamp(y / 16 + grain, 0, 255));
            p[2] = static_cast<uint8_t>(std::clamp((x + y) / 32 + (x * y >> 14) % 40 + grain, 0, 255));
        }
    return rgb;
}

std::string TempFile(const char* name) { return (std::filesystem::temp_directory_path() / name).string(); }

const std::string& JpegFile() {
    static const std::string path = [] {
        const std::string at = TempFile("vexora-bench-4096.jpg");
        const Pixels rgb = PhotoLike();
        jpeg_compress_struct c{};
        jpeg_error_mgr errors{};
        c.err = jpeg_std_error(&errors);
        jpeg_create_compress(&c);
        std::FILE* out = std::fopen(at.c_str(), "wb");
        jpeg_stdio_dest(&c, out);
        c.image_width = c.image_height = kSide;
        c.input_components = 3;
        c.in_color_space = JCS_RGB;
        jpeg_set_defaults(&c);
        jpeg_set_quality(&c, 90, TRUE);
        jpeg_start_compress(&c, TRUE);
        for (int y = 0; y < kSide; ++y) {
            JSAMPROW row = const_cast<JSAMPROW>(rgb.data() + size_t(y) * kSide * 3);
            jpeg_write_scanlines(&c, &row, 1);
        }
        jpeg_finish_compress(&c);
        jpeg_destroy_compress(&c);
        std::fclose(out);
        return at;
    }();
    return path;
}

const std::string& PngFile() {
    static const std::string path = [] {
        const std::string at = TempFile("vexora-bench-4096.png");
        const Pixels rgb = PhotoLike();
        png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
        png_infop info = png_create_info_struct(png);
        std::FILE* out = std::fopen(at.c_str(), "wb");
        png_init_io(png, out);
        png_set_IHDR(png, info, kSide, kSide, 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                     PNG_FILTER_TYPE_DEFAULT);
        png_write_info(png, info);
        for (int y = 0; y < kSide; ++y) png_write_row(png, rgb.data() + size_t(y) * kSide * 3);
        png_write_end(png, info);
        png_destroy_write_struct(&png, &info);
        std::fclose(out);
        return at;
    }();
    return path;
}

// The codecs alone, from the file into one RGB buffer.
void LibjpegDecode(const std::string& file, Pixels& rgb) {
    jpeg_decompress_struct d{};
    jpeg_error_mgr errors{};
    d.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&d);
    std::FILE* in = std::fopen(file.c_str(), "rb");
    jpeg_stdio_src(&d, in);
    jpeg_read_header(&d, TRUE);
    d.dct_method = JDCT_ISLOW;
    jpeg_start_decompress(&d);
    rgb.resize(size_t{d.output_width} * d.output_height * 3);
    while (d.output_scanline < d.output_height) {
        JSAMPROW row = rgb.data() + size_t{d.output_scanline} * d.output_width * 3;
        jpeg_read_scanlines(&d, &row, 1);
    }
    jpeg_finish_decompress(&d);
    jpeg_destroy_decompress(&d);
    std::fclose(in);
}

void LibpngRead(const std::string& file, Pixels& rgb) {
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    std::FILE* in = std::fopen(file.c_str(), "rb");
    png_init_io(png, in);
    png_read_info(png, info);
    const size_t width = png_get_image_width(png, info), height = png_get_image_height(png, info);
    rgb.resize(width * height * 3);
    std::vector<png_bytep> rows(height);
    for (size_t y = 0; y < height; ++y) rows[y] = rgb.data() + y * width * 3;
    png_read_image(png, rows.data());
    png_read_end(png, nullptr);
    png_destroy_read_struct(&png, &info, nullptr);
    std::fclose(in);
}

// Whether a 24-bit DIB holds exactly these RGB pixels.
bool DibHolds(HDIB dib, const Pixels& rgb) {
    if (dib == nullptr) return false;
    const auto* p = static_cast<const uint8_t*>(GlobalLock(dib));
    BITMAPINFOHEADER h;
    std::memcpy(&h, p, sizeof h);
    bool same = h.biWidth == kSide && h.biHeight == kSide && h.biBitCount == 24;
    const size_t stride = size_t{kSide} * 3;
    for (int y = 0; same && y < kSide; ++y) {
        const uint8_t* row = p + 40 + size_t(kSide - 1 - y) * stride;
        const uint8_t* want = rgb.data() + size_t(y) * stride;
        for (int x = 0; same && x < kSide; ++x)
            same = row[3 * x] == want[3 * x + 2] && row[3 * x + 1] == want[3 * x + 1] && row[3 * x + 2] == want[3 * x];
    }
    GlobalUnlock(dib);
    return same;
}

void LoadThroughLibrary(benchmark::State& state, const std::string& file, void (*decode)(const std::string&, Pixels&)) {
    Pixels want;
    decode(file, want);
    int status = 0;
    HDIB first = LoadImageIntoDIB(file.c_str(), 1, &status);
    const bool same = DibHolds(first, want);
    if (first) GlobalFree(first);
    if (!same) {
        state.SkipWithError("the DIB differs from the codec's own pixels (or the module is missing)");
        return;
    }
    for (auto _ : state) {
        HDIB dib = LoadImageIntoDIB(file.c_str(), 1, &status);
        benchmark::DoNotOptimize(dib);
        GlobalFree(dib);
    }
    state.SetItemsProcessed(state.iterations() * int64_t{kSide} * kSide);
}

void DecodeAlone(benchmark::State& state, const std::string& file, void (*decode)(const std::string&, Pixels&)) {
    Pixels rgb;
    for (auto _ : state) {
        decode(file, rgb);
        benchmark::DoNotOptimize(rgb.data());
    }
    state.SetItemsProcessed(state.iterations() * int64_t{kSide} * kSide);
}

void BM_LoadImageIntoDIBJpeg(benchmark::State& state) { LoadThroughLibrary(state, JpegFile(), LibjpegDecode); }
void BM_LibjpegDecode(benchmark::State& state) { DecodeAlone(state, JpegFile(), LibjpegDecode); }
void BM_LoadImageIntoDIBPng(benchmark::State& state) { LoadThroughLibrary(state, PngFile(), LibpngRead); }
void BM_LibpngReadImage(benchmark::State& state) { DecodeAlone(state, PngFile(), LibpngRead); }

BENCHMARK(BM_LoadImageIntoDIBJpeg)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_LibjpegDecode)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_LoadImageIntoDIBPng)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_LibpngReadImage)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
