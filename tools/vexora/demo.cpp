// demo.cpp - `vexora demo [DIR]`: the sample image through every operation of the library,
// written as BMP files and shown side by side in DIR/index.html.
//
// A panel names its source (the 24-, 8- or 1-bit sample) and the operations applied to it,
// by their `convert` option names, so the demo and the command line run the same code. Each
// file is written through the library, read back through it and compared byte for byte.
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

enum class Source { Colour24, Gray8, Mono1 };

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
    };
    return panels;
}

struct Samples {
    Dib colour24 = MakeSample24();
    Dib gray8 = MakeSampleGray8(colour24);
    Dib mono1 = MakeSampleMono1(gray8);

    const Dib& of(Source s) const {
        return s == Source::Colour24 ? colour24 : s == Source::Gray8 ? gray8 : mono1;
    }
};

bool SameBlocks(const Dib& a, const Dib& b) {
    const size_t size = GlobalSize(a.get());
    if (size != GlobalSize(b.get())) return false;
    const bool same = std::memcmp(GlobalLock(a.get()), GlobalLock(b.get()), size) == 0;
    GlobalUnlock(a.get());
    GlobalUnlock(b.get());
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
        std::ofstream html(temporary);
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

    const Samples samples;
    for (const auto& panel : Panels()) {
        Dib image = Duplicate(samples.of(panel.source));
        for (const auto& step : panel.steps) FindOperation(step.option)->apply(image, step.argument);
        const std::string path = (fs::path(dir) / panel.file).string();
        SaveBitmapFile(image, path);
        if (!SameBlocks(image, LoadBitmapFile(path)))
            throw OperationFailed("'" + path + "' does not read back as written");
        std::cout << "wrote " << path << "\n";
    }
    WriteIndex(dir);
    std::cout << "wrote " << (fs::path(dir) / "index.html").string() << "\n";
    return kExitSuccess;
}

}  // namespace vexora_tool
