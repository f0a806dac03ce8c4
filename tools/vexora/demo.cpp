// demo.cpp - `vexora demo [DIR]`: the sample image through every operation of the library,
// written as BMP files and shown side by side in DIR/index.html.
//
// A panel names its source (the 24-, 8- or 1-bit sample) and the operations applied to it,
// by their `convert` option names, so the demo and the command line run the same code. Each
// file is written through the library, read back through it and compared byte for byte.
#include <cstdint>
#include <iterator>
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

// The sections of the page, in order, with the sentence that introduces each.
enum class Section { Samples, Geometry, Tone, Convolution, Dithering, Halftones, Formats, Pasting };

struct SectionText {
    const char* title;
    const char* intro;
};

constexpr SectionText kSections[] = {
    {"The samples", "The picture every panel starts from, synthesised by the tool: colour bars, a gray ramp, a "
                    "colour gradient with a disc, a zone plate, fine lines and small lettering. The 1-bit sample is "
                    "the 8-bit one dithered by error diffusion, so it keeps the ramps as dot densities."},
    {"Geometry", "Turns, mirrors, shears, scaling and cuts. Quarter and half turns move pixels exactly; other angles "
                 "and shears uncover corners, which take colour 0 of the table (black) unless --background names "
                 "another colour."},
    {"Tone", "Gray conversion, tone curves, depth expansion and colour adjustments."},
    {"Convolution", "Filters over each pixel's neighbourhood: 8-bit images directly, 24-bit ones through their gray "
                    "values with the hue kept."},
    {"Dithering", "Error diffusion and 2 x 2 block dithers to fixed palettes of 2, 8 and 256 colours. Where a caption "
                  "names an artefact, the export has always made it and keeps it for compatibility."},
    {"Halftones", "Black-and-white pictures by threshold, error diffusion and a 16 x 16 ordered screen."},
    {"Formats", "Run-length encoded bitmaps and the other files the library reads and writes: colour fax sets, text, "
                "clipboard files and metafiles."},
    {"Pasting and device bitmaps", "Images pasted into others through GDI device bitmaps, and DIBs taken through a "
                                   "device bitmap of the display and back."},
};

struct Step {
    const char* option;
    const char* argument;
};

struct Panel {
    Section section;
    const char* file;
    const char* caption;  // what the picture shows; the page adds the command and the sizes
    Source source;
    std::vector<Step> steps;
};

const std::vector<Panel>& Panels() {
    using S = Section;
    static const std::vector<Panel> panels = {
        {S::Samples, "sample-24.bmp", "The sample in 24-bit colour.", Source::Colour24, {}},
        {S::Samples, "sample-8.bmp", "The same in 8-bit gray (weighted luminance).", Source::Gray8, {}},
        {S::Samples, "sample-1.bmp", "The same in black and white, dithered: the ramps become dot densities.",
         Source::Mono1, {}},
        {S::Geometry, "rotate-90-24.bmp", "A quarter turn clockwise: the top edge is now on the right.",
         Source::Colour24, {{"rotate", "90"}}},
        {S::Geometry, "rotate-270-8.bmp",
         "A quarter turn anticlockwise, made of a half turn and a clockwise quarter turn, so every column is there "
         "(the export for this turn alone shifts the picture one column, kept for compatibility).",
         Source::Gray8, {{"rotate", "270"}}},
        {S::Geometry, "rotate-180-1.bmp", "A half turn: upside down and mirrored.", Source::Mono1, {{"rotate", "180"}}},
        {S::Geometry, "flip-h-24.bmp", "Mirrored left to right: the lettering reads backwards.", Source::Colour24,
         {{"flip", "h"}}},
        {S::Geometry, "flip-v-8.bmp", "Mirrored top to bottom: the colour bars are at the bottom.", Source::Gray8,
         {{"flip", "v"}}},
        {S::Geometry, "rotate-30-24.bmp",
         "Turned 30 degrees clockwise on a canvas large enough to hold it; the corners it uncovers are black.",
         Source::Colour24, {{"rotate", "30"}}},
        {S::Geometry, "rotate-30-background-24.bmp", "The same turn with the uncovered corners in light gray.",
         Source::Colour24, {{"background", "#d0d0d0"}, {"rotate", "30"}}},
        {S::Geometry, "rotate-30-fast-1.bmp",
         "Turned 30 degrees with the integer walk of the source; the corners take white, the nearest colour of "
         "the 1-bit table to the one asked for.",
         Source::Mono1, {{"background", "white"}, {"rotate", "30:fast"}}},
        {S::Geometry, "skew-h-24.bmp", "Sheared horizontally by 80 pixels: the picture leans, black wedges fill the sides.",
         Source::Colour24, {{"skew", "h:80"}}},
        {S::Geometry, "skew-v-8.bmp", "Sheared vertically by -60 pixels, the wedges in white.", Source::Gray8,
         {{"background", "white"}, {"skew", "v:-60"}}},
        {S::Geometry, "scale-bilinear-24.bmp", "Enlarged by bilinear interpolation: soft edges.", Source::Colour24,
         {{"scale", "480x360"}}},
        {S::Geometry, "scale-cubic-24.bmp", "Enlarged by cubic interpolation: crisper edges than bilinear.",
         Source::Colour24, {{"scale", "480x360:cubic"}}},
        {S::Geometry, "scale-down-8.bmp", "Reduced, cubic: the zone plate's fine rings alias into false patterns.",
         Source::Gray8, {{"scale", "200x150:cubic"}}},
        {S::Geometry, "scale-1.bmp", "The 1-bit image enlarged by nearest neighbour: the dots become blocks.",
         Source::Mono1, {{"scale", "400x300"}}},
        {S::Geometry, "magnify-24.bmp", "The zone plate's rectangle 160,60 (100 x 60) magnified three times, cubic.",
         Source::Colour24, {{"magnify", "160,60,100,60:3x3:cubic"}}},
        {S::Geometry, "crop-24.bmp", "The fine lines cut out exactly: the rectangle 260,60 (60 x 120).",
         Source::Colour24, {{"crop", "260,60,60,120"}}},
        {S::Geometry, "crop-scale-24.bmp", "The lettering cut out and tripled by nearest neighbour: square pixels.",
         Source::Colour24, {{"crop-scale", "0,180,160,60:480x180"}}},
        {S::Tone, "gray-weighted-24.bmp", "Weighted gray: green counts most, so the green bar is light and blue dark.",
         Source::Colour24, {{"gray", "weighted"}}},
        {S::Tone, "gray-average-24.bmp", "Plain average gray: the yellow, cyan and magenta bars come out alike.",
         Source::Colour24, {{"gray", "average"}}},
        {S::Tone, "gray-soft3-1.bmp", "The 1-bit image rendered soft, 3 x 3 spread: the dots blur back into grays.",
         Source::Mono1, {{"gray", "mono:1"}}},
        {S::Tone, "gray-soft5-1.bmp", "Rendered soft, 5 x 5 spread: smoother still.", Source::Mono1,
         {{"gray", "mono:2"}}},
        {S::Tone, "tone-8.bmp", "Contrast 120, brightness -20, pivoted on the mean gray of the top-left window.",
         Source::Gray8, {{"tone", "120,-20"}}},
        {S::Tone, "negative-8.bmp", "A negative of the 8-bit image: its colour table inverted, pixels untouched.",
         Source::Gray8, {{"negative", ""}}},
        {S::Tone, "negative-24.bmp", "A negative of the colour image: every pixel complemented.", Source::Colour24,
         {{"negative", ""}}},
        {S::Tone, "invert-bits-1.bmp", "Pixel bits complemented and the two colours swapped: it looks the same.",
         Source::Mono1, {{"invert-bits", ""}}},
        {S::Tone, "to-24-8.bmp", "The gray image expanded to 24 bits: it looks the same, three bytes a pixel.",
         Source::Gray8, {{"to-24", ""}}},
        {S::Tone, "brightness-contrast-24.bmp", "Brighter by 20, contrast up 50: the gradient's ends saturate.",
         Source::Colour24, {{"brightness-contrast", "20,50"}}},
        {S::Convolution, "convolve-mean-8.bmp", "Mean of each 5 x 5 neighbourhood: blurred, the lettering smeared.",
         Source::Gray8, {{"convolve", "3:5"}}},
        {S::Convolution, "convolve-sharpen-8.bmp", "Sharpened, 3 x 3: edges ring, noise-like detail stands out.",
         Source::Gray8, {{"convolve", "5:3"}}},
        {S::Convolution, "convolve-edges-8.bmp", "A caller's 3 x 3 edge kernel: flat areas black, edges bright.",
         Source::Gray8, {{"convolve", "-1,-1,-1,-1,8,-1,-1,-1,-1/1"}}},
        {S::Convolution, "colour-convolve-24.bmp", "The colour image smoothed through its gray values, hue kept.",
         Source::Colour24, {{"colour-convolve", "4:5"}}},
        {S::Dithering, "dither-fs-1.bmp",
         "Floyd-Steinberg to black and white. The error flows up the picture, not down (kept for compatibility).",
         Source::Colour24, {{"dither", "fs:1"}}},
        {S::Dithering, "dither-fs-4.bmp",
         "Floyd-Steinberg to eight colours. Green and blue carry red's vertical error (kept for compatibility).",
         Source::Colour24, {{"dither", "fs:4"}}},
        {S::Dithering, "dither-fs-8.bmp", "Floyd-Steinberg to the 3-3-2 colour cube of 256 colours.", Source::Colour24,
         {{"dither", "fs:8"}}},
        {S::Dithering, "dither-jjn-1.bmp", "Jarvis-Judice-Ninke to black and white: a finer, calmer grain.",
         Source::Colour24, {{"dither", "jjn:1"}}},
        {S::Dithering, "dither-jjn-4.bmp", "Jarvis-Judice-Ninke to eight colours.", Source::Colour24,
         {{"dither", "jjn:4"}}},
        {S::Dithering, "dither-jjn-8.bmp",
         "Jarvis-Judice-Ninke to the 3-3-2 cube. Strong blue spills into green (kept for compatibility).",
         Source::Colour24, {{"dither", "jjn:8"}}},
        {S::Dithering, "dither-smooth-1.bmp", "Smooth 2 x 2 block dither to black and white.", Source::Colour24,
         {{"dither", "smooth:1"}}},
        {S::Dithering, "dither-smooth-4.bmp", "Smooth 2 x 2 block dither to eight colours.", Source::Colour24,
         {{"dither", "smooth:4"}}},
        {S::Dithering, "dither-sharp-1.bmp", "Sharp 2 x 2 block dither: half the error carried, more contrast.",
         Source::Colour24, {{"dither", "sharp:1"}}},
        {S::Dithering, "dither-sharp-4.bmp", "Sharp 2 x 2 block dither to eight colours.", Source::Colour24,
         {{"dither", "sharp:4"}}},
        {S::Halftones, "halftone-threshold-8.bmp", "Threshold: white from gray 129 up, black below; the ramp splits in two.",
         Source::Gray8, {{"halftone", "threshold"}}},
        {S::Halftones, "halftone-diffuse-8.bmp", "Error diffusion after brightening by 30.", Source::Gray8,
         {{"halftone", "diffuse:30"}}},
        {S::Halftones, "halftone-screen-8.bmp", "The 16 x 16 ordered screen: a regular cross-hatch of dots.",
         Source::Gray8, {{"halftone", "screen"}}},
        {S::Halftones, "halftone-screen-24.bmp",
         "The same screen from the colour image, which the tool makes 8-bit gray first (the export alone walks a "
         "24-bit image's rows at the wrong length and leaves most of it black, kept for compatibility).",
         Source::Colour24, {{"halftone", "screen"}}},
        {S::Formats, "rle-8.bmp", "The gray image saved run-length encoded (BI_RLE8): the same picture, fewer bytes.",
         Source::Gray8, {{"rle", ""}}},
        {S::Formats, "rle-4.bmp", "Eight colours saved run-length encoded (BI_RLE4).", Source::Colour24,
         {{"dither", "fs:4"}, {"rle", ""}}},
        {S::Formats, "fax-page-1.bmp",
         "Page 1 of a colour fax set: three 1-bit planes (the 1-bit sample, mirrored both ways) combined into 4 "
         "bits, red, green and blue at half strength.",
         Source::FaxPage1, {}},
        {S::Formats, "fax-page-2.bmp", "Page 2 of the set: the same planes in another order, so other colours.",
         Source::FaxPage2, {}},
        {S::Formats, "text-1.bmp", "A text file (notes.txt) rendered black on white.", Source::Text, {}},
        {S::Formats, "clipboard-24.bmp", "The colour sample saved as a clipboard file and read back from its CF_DIB "
         "entry: unchanged.", Source::Clipboard, {}},
        {S::Formats, "metafile-8.bmp", "The gray image recorded into a Windows metafile and played back on the "
         "display: the same picture, now 24 bits.", Source::Metafile, {}},
        {S::Formats, "metafile-emf-24.bmp", "The colour sample through an enhanced metafile.", Source::EnhMetafile, {}},
        {S::Pasting, "combine-copy-24.bmp", "A half-size mirrored copy pasted in at 40,30.", Source::Colour24,
         {{"combine", "{dir}overlay-24.bmp@40,30"}}},
        {S::Pasting, "combine-or-24.bmp", "The same copy OR'ed in: colours add up towards white.", Source::Colour24,
         {{"combine", "{dir}overlay-24.bmp@40,30:or"}}},
        {S::Pasting, "combine-mask-24.bmp", "The copy pasted through a 1-bit disc mask: white in the mask lets it "
         "through.", Source::Colour24, {{"combine", "{dir}overlay-24.bmp@40,30:mask={dir}disc-1.bmp"}}},
        {S::Pasting, "combine-xor-24.bmp", "The copy XOR'ed in through the disc mask.", Source::Colour24,
         {{"combine", "{dir}overlay-24.bmp@40,30:mask={dir}disc-1.bmp:xor"}}},
        {S::Pasting, "via-bitmap-8.bmp", "The gray image made a device bitmap of the display and read back: 24 bits "
         "now.", Source::Gray8, {{"via-bitmap", ""}}},
        {S::Pasting, "via-bitmap-1.bmp", "The 1-bit image through a monochrome device bitmap and back: unchanged.",
         Source::Mono1, {{"via-bitmap", ""}}},
    };
    return panels;
}

// The file a panel's picture comes from, shown beside it, and the command that makes it.
const char* SourceFile(Source s) {
    switch (s) {
    case Source::Colour24: case Source::Clipboard: case Source::EnhMetafile: return "sample-24.bmp";
    case Source::Gray8: case Source::Metafile: return "sample-8.bmp";
    case Source::Mono1: case Source::FaxPage1: case Source::FaxPage2: return "sample-1.bmp";
    case Source::Text: return "notes.txt";
    }
    return "";
}

std::string CommandLine(const Panel& panel) {
    switch (panel.source) {
    case Source::FaxPage1: return "vexora convert fax-set.ini " + std::string(panel.file) + " --page 1";
    case Source::FaxPage2: return "vexora convert fax-set.ini " + std::string(panel.file) + " --page 2";
    case Source::Clipboard: return "vexora convert sample-24.bmp sample-24.clp; vexora convert sample-24.clp clipboard-24.bmp";
    case Source::Metafile: return "vexora convert sample-8.bmp sample-8.wmf; vexora convert sample-8.wmf metafile-8.bmp";
    case Source::EnhMetafile:
        return "vexora convert sample-24.bmp sample-24.emf; vexora convert sample-24.emf metafile-emf-24.bmp";
    default: break;
    }
    std::string line = "vexora convert " + std::string(SourceFile(panel.source)) + " " + panel.file;
    for (const auto& step : panel.steps) {
        std::string argument = step.argument;
        for (size_t at; (at = argument.find("{dir}")) != std::string::npos;) argument.erase(at, 5);
        line += " --" + std::string(step.option) + (argument.empty() ? "" : " " + argument);
    }
    return line;
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

// The size and depth of a picture on the page.
struct Shown {
    long width = 0, height = 0, bits = 0;
};

Shown ShownOf(const Dib& image) {
    const BITMAPINFOHEADER h = HeaderOf(image);
    return {h.biWidth, h.biHeight < 0 ? -static_cast<long>(h.biHeight) : h.biHeight, h.biBitCount};
}

std::string SizeText(const Shown& s) {
    return std::to_string(s.width) + " x " + std::to_string(s.height) + ", " + std::to_string(s.bits) +
           (s.bits == 1 ? " bit" : " bits");
}

std::string ImageTag(const std::string& file, const Shown& s, const std::string& alt) {
    return "<a href=\"" + file + "\"><img src=\"" + file + "\" width=\"" + std::to_string(s.width) + "\" height=\"" +
           std::to_string(s.height) + "\" alt=\"" + HtmlEscape(alt) + "\"></a>";
}

// One figure: the result beside its source, both at their true size, under a caption that
// says what the result shows, the command that makes it and the sizes.
void WriteFigure(std::ostream& html, const Panel& panel, const Shown& source, const Shown& result) {
    const bool isSample = panel.section == Section::Samples;
    const std::string from = SourceFile(panel.source);
    html << "<figure><div class=\"pair\">";
    if (!isSample && panel.source == Source::Text)
        html << "<a class=\"file\" href=\"" << from << "\">" << from << "</a><span class=\"arrow\">&rarr;</span>";
    else if (!isSample)
        html << ImageTag(from, source, "the source, " + from) << "<span class=\"arrow\">&rarr;</span>";
    html << ImageTag(panel.file, result, panel.caption) << "</div>\n<figcaption>" << HtmlEscape(panel.caption);
    if (!isSample) html << "<br><code>" << HtmlEscape(CommandLine(panel)) << "</code>";
    html << "<br><span class=\"size\">";
    if (!isSample && panel.source != Source::Text) html << HtmlEscape(from) << " " << SizeText(source) << " &rarr; ";
    html << panel.file << " " << SizeText(result) << "</span></figcaption></figure>\n";
}

void WriteIndex(const fs::path& dir, const std::vector<Shown>& sources, const std::vector<Shown>& results) {
    const fs::path index = dir / "index.html";
    const fs::path temporary = dir / "index.html.tmp";
    {
        std::ofstream html(temporary, std::ios::binary);  // the same bytes on every platform
        html << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                "<title>Vexora demo</title>\n<style>\n"
                "body { font-family: sans-serif; margin: 2em; background: #f4f4f4; color: #222; }\n"
                "section { margin-bottom: 2.5em; }\n"
                ".grid { display: flex; flex-wrap: wrap; gap: 1.5em; align-items: flex-start; }\n"
                "figure { display: table; width: 1px; margin: 0; background: #fff; padding: 0.75em; "
                "box-shadow: 0 1px 3px #0003; }\n"
                ".pair { display: flex; align-items: flex-start; gap: 0.5em; }\n"
                ".pair img { display: block; image-rendering: pixelated; }\n"
                ".arrow { align-self: center; font-size: 1.5em; color: #888; }\n"
                ".file { display: block; padding: 1em; border: 1px dashed #888; }\n"
                "figcaption { display: table-caption; caption-side: bottom; background: #fff; padding: 0 0.75em 0.75em; "
                "font-size: 0.9em; }\n"
                "figcaption code { font-size: 0.95em; color: #335; }\n"
                ".size { color: #666; }\n"
                "</style>\n</head>\n<body>\n<h1>Vexora demo</h1>\n"
                "<p>A synthesised sample image and the result of each operation of the library on it, each beside "
                "the picture it was made from, both at their true size (one image pixel to one screen pixel). Every "
                "image is a BMP file written and read back by the library; the command under each makes it from "
                "the files in this directory.</p>\n";
        const auto& panels = Panels();
        for (size_t s = 0; s < std::size(kSections); ++s) {
            html << "<section>\n<h2>" << kSections[s].title << "</h2>\n<p>" << HtmlEscape(kSections[s].intro)
                 << "</p>\n<div class=\"grid\">\n";
            for (size_t i = 0; i < panels.size(); ++i)
                if (static_cast<size_t>(panels[i].section) == s) WriteFigure(html, panels[i], sources[i], results[i]);
            html << "</div>\n</section>\n";
        }
        html << "</body>\n</html>\n";
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
    std::vector<Shown> sources, results;
    for (const auto& panel : Panels()) {
        Dib image = samples.of(panel.source);
        const Source shown = panel.source;
        sources.push_back(ShownOf(SourceFile(shown) == std::string("sample-24.bmp") ? samples.colour24
                                  : SourceFile(shown) == std::string("sample-8.bmp") ? samples.gray8
                                                                                      : samples.mono1));
        FindOperation("background")->apply(&image, "none");  // each panel starts from the default corners
        for (const auto& step : panel.steps) FindOperation(step.option)->apply(&image, InDirectory(step.argument, dir));
        results.push_back(ShownOf(image));
        const std::string path = (fs::path(dir) / panel.file).string();
        SaveBitmapFile(image, path);
        if (!ReadsBackAsWritten(image, LoadBitmapFile(path)))
            throw OperationFailed("'" + path + "' does not read back as written");
        std::cout << "wrote " << path << "\n";
    }
    WriteIndex(dir, sources, results);
    std::cout << "wrote " << (fs::path(dir) / "index.html").string() << "\n";
    return kExitSuccess;
}

}  // namespace vexora_tool
