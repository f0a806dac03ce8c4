// demo.cpp - `vexora demo [DIR]`: the sample image through every operation of the library,
// written as BMP files and shown side by side in DIR/index.html.
//
// A panel names its source (the 24-, 8- or 1-bit sample) and the operations applied to it,
// by their `convert` option names, so the demo and the command line run the same code. Each
// file is written through the library, read back through it and compared byte for byte.
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "commands.hpp"
#include "operations.hpp"
#include "sample_image.hpp"

namespace vexora_tool {
namespace {

namespace fs = std::filesystem;

enum class Source { Colour24, Gray8, Mono1, FaxPage1, FaxPage2, Text, Clipboard, Metafile, EnhMetafile };

struct Step {
    const char* option;
    const char* argument;
};

struct Panel {
    const char* file;
    const char* caption;
    Source source;
    std::vector<Step> steps;
};

const std::vector<Panel>& Panels() {
    static const std::vector<Panel> panels = {
        {"sample-24.bmp", "The sample, 24 bits per pixel", Source::Colour24, {}},
        {"sample-8.bmp", "The sample, 8-bit gray", Source::Gray8, {}},
        {"sample-1.bmp", "The sample, 1 bit per pixel", Source::Mono1, {}},
        {"negative-8.bmp", "Negative: the 8-bit colour table inverted (--negative)", Source::Gray8, {{"negative", ""}}},
        {"invert-bits-1.bmp", "Pixel bits complemented, colours swapped: looks the same (--invert-bits)",
         Source::Mono1, {{"invert-bits", ""}}},
        {"rotate-90-24.bmp", "Quarter turn clockwise (--rotate 90)", Source::Colour24, {{"rotate", "90"}}},
        {"rotate-270-8.bmp", "Quarter turn anticlockwise; it lands one column in, as it always has (--rotate 270)",
         Source::Gray8, {{"rotate", "270"}}},
        {"rotate-180-1.bmp", "Half turn of the 1-bit image (--rotate 180)", Source::Mono1, {{"rotate", "180"}}},
        {"flip-h-24.bmp", "Mirrored left to right (--flip h)", Source::Colour24, {{"flip", "h"}}},
        {"flip-v-8.bmp", "Mirrored top to bottom (--flip v)", Source::Gray8, {{"flip", "v"}}},
        {"rotate-30-24.bmp", "Turned 30 degrees on an enlarged canvas, floating-point walk (--rotate 30)",
         Source::Colour24, {{"rotate", "30"}}},
        {"rotate-30-fast-1.bmp", "Turned 30 degrees, integer walk, 1-bit (--rotate 30:fast)", Source::Mono1,
         {{"rotate", "30:fast"}}},
        {"skew-h-24.bmp", "Sheared horizontally by 80 pixels (--skew h:80)", Source::Colour24, {{"skew", "h:80"}}},
        {"skew-v-8.bmp", "Sheared vertically by -60 pixels (--skew v:-60)", Source::Gray8, {{"skew", "v:-60"}}},
        {"scale-bilinear-24.bmp", "Scaled to 480 x 360, bilinear (--scale 480x360)", Source::Colour24,
         {{"scale", "480x360"}}},
        {"scale-cubic-24.bmp", "Scaled to 480 x 360, cubic (--scale 480x360:cubic)", Source::Colour24,
         {{"scale", "480x360:cubic"}}},
        {"scale-down-8.bmp", "Scaled down to 200 x 150, 8-bit gray, cubic (--scale 200x150:cubic)", Source::Gray8,
         {{"scale", "200x150:cubic"}}},
        {"scale-1.bmp", "Scaled to 400 x 300, 1-bit nearest neighbour (--scale 400x300)", Source::Mono1,
         {{"scale", "400x300"}}},
        {"magnify-24.bmp", "The zone plate magnified 3 times, cubic (--magnify 160,60,100,60:3x3:cubic)",
         Source::Colour24, {{"magnify", "160,60,100,60:3x3:cubic"}}},
        {"crop-scale-24.bmp", "The lettering cut out and tripled, nearest neighbour (--crop-scale 0,180,160,60:480x180)",
         Source::Colour24, {{"crop-scale", "0,180,160,60:480x180"}}},
        {"gray-weighted-24.bmp", "Weighted gray of the 24-bit sample (--gray weighted)", Source::Colour24,
         {{"gray", "weighted"}}},
        {"gray-average-24.bmp", "Plain average gray (--gray average)", Source::Colour24, {{"gray", "average"}}},
        {"gray-soft3-1.bmp", "The 1-bit image rendered soft, 3 x 3 spread (--gray mono:1)", Source::Mono1,
         {{"gray", "mono:1"}}},
        {"gray-soft5-1.bmp", "The 1-bit image rendered soft, 5 x 5 spread (--gray mono:2)", Source::Mono1,
         {{"gray", "mono:2"}}},
        {"tone-8.bmp", "Tone curve: contrast 120, brightness -20, pivoted on the window's mean (--tone 120,-20)",
         Source::Gray8, {{"tone", "120,-20"}}},
        {"to-24-8.bmp", "The 8-bit gray image expanded to 24 bits (--to-24)", Source::Gray8, {{"to-24", ""}}},
        {"convolve-mean-8.bmp", "Mean filter, 5 x 5 (--convolve 3:5)", Source::Gray8, {{"convolve", "3:5"}}},
        {"convolve-sharpen-8.bmp", "Sharpened, 3 x 3 (--convolve 5:3)", Source::Gray8, {{"convolve", "5:3"}}},
        {"convolve-edges-8.bmp", "A caller's kernel: edges (--convolve -1,-1,-1,-1,8,-1,-1,-1,-1/1)", Source::Gray8,
         {{"convolve", "-1,-1,-1,-1,8,-1,-1,-1,-1/1"}}},
        {"colour-convolve-24.bmp", "Colour image smoothed through its gray values, hue kept (--colour-convolve 4:5)",
         Source::Colour24, {{"colour-convolve", "4:5"}}},
        {"brightness-contrast-24.bmp", "Brighter by 20, contrast up 50 (--brightness-contrast 20,50)",
         Source::Colour24, {{"brightness-contrast", "20,50"}}},
        {"dither-fs-1.bmp", "Floyd-Steinberg to black and white; the error flows up the picture (--dither fs:1)",
         Source::Colour24, {{"dither", "fs:1"}}},
        {"dither-fs-4.bmp", "Floyd-Steinberg to eight colours; green and blue carry red's vertical error (--dither fs:4)",
         Source::Colour24, {{"dither", "fs:4"}}},
        {"dither-fs-8.bmp", "Floyd-Steinberg to the 3-3-2 colour cube (--dither fs:8)", Source::Colour24,
         {{"dither", "fs:8"}}},
        {"dither-jjn-1.bmp", "Jarvis-Judice-Ninke to black and white (--dither jjn:1)", Source::Colour24,
         {{"dither", "jjn:1"}}},
        {"dither-jjn-4.bmp", "Jarvis-Judice-Ninke to eight colours (--dither jjn:4)", Source::Colour24,
         {{"dither", "jjn:4"}}},
        {"dither-jjn-8.bmp", "Jarvis-Judice-Ninke to the 3-3-2 cube; strong blue spills into green (--dither jjn:8)",
         Source::Colour24, {{"dither", "jjn:8"}}},
        {"dither-smooth-1.bmp", "Smooth 2 x 2 block dither to black and white (--dither smooth:1)", Source::Colour24,
         {{"dither", "smooth:1"}}},
        {"dither-smooth-4.bmp", "Smooth 2 x 2 block dither to eight colours (--dither smooth:4)", Source::Colour24,
         {{"dither", "smooth:4"}}},
        {"dither-sharp-1.bmp", "Sharp 2 x 2 block dither to black and white: the carry is halved (--dither sharp:1)",
         Source::Colour24, {{"dither", "sharp:1"}}},
        {"dither-sharp-4.bmp", "Sharp 2 x 2 block dither to eight colours (--dither sharp:4)", Source::Colour24,
         {{"dither", "sharp:4"}}},
        {"halftone-threshold-8.bmp", "Halftone by threshold, white from 129 up (--halftone threshold)", Source::Gray8,
         {{"halftone", "threshold"}}},
        {"halftone-diffuse-8.bmp", "Halftone by error diffusion, 30 brighter (--halftone diffuse:30)", Source::Gray8,
         {{"halftone", "diffuse:30"}}},
        {"halftone-screen-8.bmp", "Halftone through the 16 x 16 ordered screen (--halftone screen)", Source::Gray8,
         {{"halftone", "screen"}}},
        {"halftone-screen-24.bmp",
         "The same from the 24-bit sample: its rows are walked at the wrong length, so every third row of the lower "
         "third shows and the rest stays black, as it always has (--halftone screen)",
         Source::Colour24, {{"halftone", "screen"}}},
        {"rle-8.bmp", "The 8-bit gray image saved run-length encoded, BI_RLE8 (--rle)", Source::Gray8, {{"rle", ""}}},
        {"rle-4.bmp", "Eight colours saved run-length encoded, BI_RLE4 (--dither fs:4 --rle)", Source::Colour24,
         {{"dither", "fs:4"}, {"rle", ""}}},
        {"combine-copy-24.bmp", "A half-size, mirrored copy pasted in at 40,30 (--combine overlay-24.bmp@40,30)",
         Source::Colour24, {{"combine", "{dir}overlay-24.bmp@40,30"}}},
        {"combine-or-24.bmp", "The same copy OR'ed into the picture (--combine overlay-24.bmp@40,30:or)",
         Source::Colour24, {{"combine", "{dir}overlay-24.bmp@40,30:or"}}},
        {"combine-mask-24.bmp",
         "The copy pasted through a 1-bit disc mask: white lets it through (--combine "
         "overlay-24.bmp@40,30:mask=disc-1.bmp)",
         Source::Colour24, {{"combine", "{dir}overlay-24.bmp@40,30:mask={dir}disc-1.bmp"}}},
        {"combine-xor-24.bmp",
         "The copy XOR'ed in through the disc mask (--combine overlay-24.bmp@40,30:mask=disc-1.bmp:xor)",
         Source::Colour24, {{"combine", "{dir}overlay-24.bmp@40,30:mask={dir}disc-1.bmp:xor"}}},
        {"via-bitmap-8.bmp",
         "The 8-bit gray image made a device bitmap of the display and read back: 24 bits now (--via-bitmap)",
         Source::Gray8, {{"via-bitmap", ""}}},
        {"via-bitmap-1.bmp", "The 1-bit image through a monochrome device bitmap and back (--via-bitmap)",
         Source::Mono1, {{"via-bitmap", ""}}},
        {"fax-page-1.bmp", "Page 1 of a colour fax set: three 1-bit planes (the 1-bit sample, mirrored both ways) "
         "combined into 4 bits, red, green and blue at half strength (convert fax-set.ini --page 1)",
         Source::FaxPage1, {}},
        {"fax-page-2.bmp", "Page 2 of the set: the planes in another order (convert fax-set.ini --page 2)",
         Source::FaxPage2, {}},
        {"text-1.bmp", "A text file rendered black on white by the text renderer (convert notes.txt)", Source::Text, {}},
        {"clipboard-24.bmp", "The 24-bit sample saved as a clipboard file and read back from its CF_DIB entry "
         "(convert sample-24.bmp sample-24.clp)", Source::Clipboard, {}},
        {"metafile-8.bmp", "The 8-bit gray image recorded into a Windows metafile and played back on the display: "
         "24 bits now (convert sample-8.bmp sample-8.wmf)", Source::Metafile, {}},
        {"metafile-emf-24.bmp", "The 24-bit sample through an enhanced metafile (convert sample-24.bmp sample-24.emf)",
         Source::EnhMetafile, {}},
    };
    return panels;
}

// A two-page colour fax set in `dir`: a profile naming three 1-bit plane files per page. The
// profile holds full paths, since the library reads plane names as given.
fs::path WriteFaxSet(const fs::path& dir, const Dib& mono1) {
    const char* flips[3] = {nullptr, "h", "v"};
    std::string planes[3];
    for (int plane = 0; plane < 3; ++plane) {
        Dib image = Duplicate(mono1);
        if (flips[plane]) FindOperation("flip")->apply(&image, flips[plane]);
        planes[plane] = fs::absolute(dir / ("fax-plane-" + std::to_string(plane) + ".bmp")).string();
        SaveBitmapFile(image, planes[plane]);
    }
    const fs::path profile = fs::absolute(dir / "fax-set.ini");
    const fs::path temporary = fs::absolute(dir / "fax-set.ini.tmp");
    {
        std::ofstream ini(temporary, std::ios::binary);
        ini << "[ColorFax]\nTotalPages=2\nFirstPage=1\nPlanes=3\nFiles=6\nBitsPixel=1\n"
            << "\n[Page1]\nPlane0=" << planes[0] << "\nPlane1=" << planes[1] << "\nPlane2=" << planes[2] << "\n"
            << "\n[Page2]\nPlane0=" << planes[2] << "\nPlane1=" << planes[0] << "\nPlane2=" << planes[1] << "\n";
        if (!ini) throw OperationFailed("cannot write '" + profile.string() + "'");
    }
    std::error_code ec;
    fs::rename(temporary, profile, ec);
    if (ec) throw OperationFailed("cannot write '" + profile.string() + "': " + ec.message());
    std::cout << "wrote " << (dir / "fax-set.ini").string() << "\n";
    return profile;
}

// The images the combine panels paste: the sample at half size, mirrored, and a 1-bit disc of
// the same size to paste it through.
void WritePasteSources(const fs::path& dir, const Dib& colour24) {
    const auto write = [&](const Dib& image, const char* name) {
        SaveBitmapFile(image, (dir / name).string());
        std::cout << "wrote " << (dir / name).string() << "\n";
    };
    Dib overlay = Duplicate(colour24);
    FindOperation("scale")->apply(&overlay, std::to_string(kSampleWidth / 2) + "x" + std::to_string(kSampleHeight / 2));
    FindOperation("flip")->apply(&overlay, "h");
    write(overlay, "overlay-24.bmp");
    write(MakeDiscMask(kSampleWidth / 2, kSampleHeight / 2), "disc-1.bmp");
}

// A panel's argument with "{dir}" standing for the demo directory.
std::string InDirectory(std::string argument, const fs::path& dir) {
    const std::string prefix = (dir / "").string();
    for (size_t at; (at = argument.find("{dir}")) != std::string::npos;) argument.replace(at, 5, prefix);
    return argument;
}

// A short text file with Windows line ends, as the text renderer reads them.
fs::path WriteNotes(const fs::path& dir) {
    const fs::path notes = dir / "notes.txt";
    {
        std::ofstream text(notes, std::ios::binary | std::ios::trunc);
        text << "Vexora demo notes\r\n\r\nA text file rendered into a 1-bit bitmap,\r\n"
                "one line of the font's height per line of text.\r\n";
        if (!text) throw OperationFailed("cannot write '" + notes.string() + "'");
    }
    std::cout << "wrote " << notes.string() << "\n";
    return notes;
}

// An image written in another format (by the name's ending) and read back.
Dib ThroughFile(const Dib& image, const fs::path& file) {
    SaveBitmapFile(image, file.string());
    std::cout << "wrote " << file.string() << "\n";
    return LoadImageFile(file.string());
}

struct Samples {
    Dib colour24 = MakeSample24();
    Dib gray8 = MakeSampleGray8(colour24);
    Dib mono1 = MakeSampleMono1(gray8);
    fs::path faxSet;
    fs::path dir;

    Dib of(Source s) const {
        switch (s) {
        case Source::Colour24: return Duplicate(colour24);
        case Source::Gray8: return Duplicate(gray8);
        case Source::Mono1: return Duplicate(mono1);
        case Source::FaxPage1: return LoadImageFile(faxSet.string(), 1);
        case Source::FaxPage2: return LoadImageFile(faxSet.string(), 2);
        case Source::Text: return LoadImageFile(WriteNotes(dir).string());
        case Source::Clipboard: return ThroughFile(colour24, dir / "sample-24.clp");
        case Source::Metafile: return ThroughFile(gray8, dir / "sample-8.wmf");
        case Source::EnhMetafile: return ThroughFile(colour24, dir / "sample-24.emf");
        }
        return {};
    }
};

// Whether the file read back holds the DIB that was written. A result block may end in slack
// the operation needs as working room; the file carries it, the loader reads the DIB only. The
// loader also fills in a zero biSizeImage and biClrUsed, so those are compared as it fills them.
bool ReadsBackAsWritten(const Dib& written, const Dib& loaded) {
    const size_t size = GlobalSize(loaded.get());
    if (size > GlobalSize(written.get()) || size < sizeof(BITMAPINFOHEADER)) return false;
    const auto* w = static_cast<const uint8_t*>(GlobalLock(written.get()));
    const auto* l = static_cast<const uint8_t*>(GlobalLock(loaded.get()));
    BITMAPINFOHEADER expected, got;
    std::memcpy(&expected, w, sizeof expected);
    std::memcpy(&got, l, sizeof got);
    if (expected.biSizeImage == 0) expected.biSizeImage = got.biSizeImage;
    if (expected.biClrUsed == 0 && expected.biBitCount <= 8) expected.biClrUsed = 1u << expected.biBitCount;
    const bool same = std::memcmp(&expected, &got, sizeof got) == 0 &&
                      std::memcmp(w + sizeof got, l + sizeof got, size - sizeof got) == 0;
    GlobalUnlock(written.get());
    GlobalUnlock(loaded.get());
    return same;
}

std::string HtmlEscape(const std::string& s) {
    std::string out;
    for (char c : s) {
        if (c == '<') out += "&lt;";
        else if (c == '>') out += "&gt;";
        else if (c == '&') out += "&amp;";
        else out += c;
    }
    return out;
}

void WriteIndex(const fs::path& dir) {
    const fs::path index = dir / "index.html";
    const fs::path temporary = dir / "index.html.tmp";
    {
        std::ofstream html(temporary, std::ios::binary);  // the same bytes on every platform
        html << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                "<title>Vexora demo</title>\n<style>\n"
                "body { font-family: sans-serif; margin: 2em; background: #f4f4f4; color: #222; }\n"
                ".grid { display: flex; flex-wrap: wrap; gap: 1.5em; }\n"
                "figure { margin: 0; background: #fff; padding: 0.75em; box-shadow: 0 1px 3px #0003; }\n"
                "figure img { display: block; width: 480px; image-rendering: pixelated; }\n"
                "figcaption { max-width: 480px; margin-top: 0.5em; font-size: 0.9em; }\n"
                "</style>\n</head>\n<body>\n<h1>Vexora demo</h1>\n"
                "<p>A synthesised sample image and the result of each library operation on it, "
                "shown at one and a half times their size. Every image is a BMP file written "
                "and read back by the library.</p>\n<div class=\"grid\">\n";
        for (const auto& panel : Panels())
            html << "<figure><a href=\"" << panel.file << "\"><img src=\"" << panel.file << "\" alt=\""
                 << HtmlEscape(panel.caption) << "\"></a><figcaption>" << HtmlEscape(panel.caption)
                 << " <code>" << panel.file << "</code></figcaption></figure>\n";
        html << "</div>\n</body>\n</html>\n";
        if (!html) throw OperationFailed("cannot write '" + index.string() + "'");
    }
    std::error_code ec;
    fs::rename(temporary, index, ec);
    if (ec) throw OperationFailed("cannot write '" + index.string() + "': " + ec.message());
}

}  // namespace

int RunDemo(const std::vector<std::string>& args) {
    std::string dir = "vexora-demo";
    if (!args.empty() && (args[0] == "--help" || args[0] == "-h")) {
        std::cout << kDemoHelp;
        return kExitSuccess;
    }
    if (args.size() > 1) throw UsageError("demo: takes at most one directory");
    if (!args.empty()) {
        if (args[0].size() > 1 && args[0][0] == '-') throw UsageError("demo: unknown option '" + args[0] + "'");
        dir = args[0];
    }
    std::error_code ec;
    fs::create_directories(dir, ec);
    if (ec) throw OperationFailed("cannot create '" + dir + "': " + ec.message());

    Samples samples;
    samples.dir = dir;
    samples.faxSet = WriteFaxSet(dir, samples.mono1);
    WritePasteSources(dir, samples.colour24);
    for (const auto& panel : Panels()) {
        Dib image = samples.of(panel.source);
        for (const auto& step : panel.steps) FindOperation(step.option)->apply(&image, InDirectory(step.argument, dir));
        const std::string path = (fs::path(dir) / panel.file).string();
        SaveBitmapFile(image, path);
        if (!ReadsBackAsWritten(image, LoadBitmapFile(path)))
            throw OperationFailed("'" + path + "' does not read back as written");
        std::cout << "wrote " << path << "\n";
    }
    WriteIndex(dir);
    std::cout << "wrote " << (fs::path(dir) / "index.html").string() << "\n";
    return kExitSuccess;
}

}  // namespace vexora_tool
