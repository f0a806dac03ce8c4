// view_check.cpp - drives `vexora view` through a script of input events and checks its
// screenshots against the pixels the image should give.
//
//   view_check TOOL DIR
//
// The same checks run natively against the Linux host (SDL on a virtual display) and under
// Wine against the Windows one.
//
// The image is a coordinate pattern (700 x 900, 24 bits): each pixel's colour names its own
// position, so any pixel of a screenshot says which image pixel the viewer put there (or that
// it is no image pixel: background, scroll bar, lens frame). Each check then states what the
// input must have done: a line or page scroll moves the view by that many pixels, `+` doubles
// the scale around the middle, `i` inverts, a dragged rectangle shows the XOR band and then
// fills the window with the rectangle's middle in the middle, the lens magnifies the point
// under the mouse and leaves the window as it was, and fit shows the whole image centred.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "vexora.h"

#ifdef _WIN32
#include <process.h>
#endif

namespace {

#ifdef _WIN32
constexpr bool kWindows = true;
#else
constexpr bool kWindows = false;
#endif

constexpr int kImageWidth = 700, kImageHeight = 900, kFrameWidth = 400, kFrameHeight = 300;
constexpr uint32_t kBackground = 0xC0C0C0;

uint32_t PatternAt(int x, int y) {
    return uint32_t(x & 255) << 16 | uint32_t(y & 255) << 8 | uint32_t((x >> 8) | (y >> 8) << 4);
}

struct Point {
    int x, y;
};

std::optional<Point> Decode(uint32_t rgb) {
    const int b = int(rgb & 255);
    const Point p{int(rgb >> 16) | (b & 15) << 8, int((rgb >> 8) & 255) | (b >> 4) << 8};
    if (p.x >= kImageWidth || p.y >= kImageHeight) return std::nullopt;
    return p;
}

struct Shot {
    int width = 0, height = 0;
    std::vector<uint32_t> pixels;
    uint32_t at(int x, int y) const { return pixels[size_t(y) * size_t(width) + size_t(x)]; }
};

std::optional<Shot> ReadShot(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::string magic;
    Shot shot;
    int maxValue = 0;
    if (!(in >> magic >> shot.width >> shot.height >> maxValue) || magic != "P6" || maxValue != 255) return std::nullopt;
    in.get();
    std::vector<unsigned char> bytes(size_t(shot.width) * size_t(shot.height) * 3);
    if (!in.read(reinterpret_cast<char*>(bytes.data()), std::streamsize(bytes.size()))) return std::nullopt;
    for (size_t i = 0; i < bytes.size(); i += 3) shot.pixels.push_back(uint32_t(bytes[i]) << 16 | uint32_t(bytes[i + 1]) << 8 | bytes[i + 2]);
    return shot;
}

int g_failures = 0;

bool Expect(bool condition, const std::string& what) {
    if (!condition) {
        std::cerr << "FAILED: " << what << "\n";
        ++g_failures;
    }
    return condition;
}

// Whether the w x h area at (left, top) shows the image at `scale` screen pixels per image
// pixel (inverted when asked): each pixel must be the image pixel under it, within `slack`
// image pixels of the one the top-left pixel names (the phase of a scaled pixel is open).
// Answers the image point shown at the area's top-left.
std::optional<Point> ShowsImage(const Shot& shot, int left, int top, int w, int h, double scale, bool inverted, int slack) {
    auto decode = [&](int x, int y) { return Decode(inverted ? ~shot.at(x, y) & 0xFFFFFF : shot.at(x, y)); };
    const std::optional<Point> origin = decode(left, top);
    if (!origin) return std::nullopt;
    for (int y = top; y < top + h; ++y) {
        for (int x = left; x < left + w; ++x) {
            const std::optional<Point> p = decode(x, y);
            const int ex = origin->x + int(std::floor((x - left) / scale)), ey = origin->y + int(std::floor((y - top) / scale));
            if (!p || std::abs(p->x - ex) > slack || std::abs(p->y - ey) > slack) {
                std::cerr << "  at (" << x << ", " << y << ") expected image pixel near (" << ex << ", " << ey << ")\n";
                return std::nullopt;
            }
        }
    }
    return origin;
}

bool SameArea(const Shot& a, const Shot& b, const std::function<bool(int, int)>& skip = {}) {
    if (a.width != b.width || a.height != b.height) return false;
    for (int y = 0; y < a.height; ++y)
        for (int x = 0; x < a.width; ++x)
            if ((!skip || !skip(x, y)) && a.at(x, y) != b.at(x, y)) return false;
    return true;
}

bool WritePattern(const std::string& path) {
    const int stride = (kImageWidth * 3 + 3) / 4 * 4;
    std::vector<unsigned char> file(54 + size_t(stride) * kImageHeight);
    const uint32_t header[13] = {uint32_t(file.size()), 0, 54, 40, kImageWidth, kImageHeight, 1u | 24u << 16, 0,
                                 uint32_t(stride * kImageHeight), 3780, 3780, 0, 0};
    file[0] = 'B', file[1] = 'M';
    std::memcpy(file.data() + 2, header, sizeof header);
    for (int y = 0; y < kImageHeight; ++y)
        for (int x = 0; x < kImageWidth; ++x) {
            const uint32_t c = PatternAt(x, y);
            unsigned char* p = file.data() + 54 + size_t(kImageHeight - 1 - y) * stride + size_t(x) * 3;
            p[0] = uint8_t(c), p[1] = uint8_t(c >> 8), p[2] = uint8_t(c >> 16);
        }
    std::ofstream out(path, std::ios::binary);
    return bool(out.write(reinterpret_cast<const char*>(file.data()), std::streamsize(file.size())));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: view_check TOOL DIR\n";
        return 2;
    }
    const std::string tool = argv[1], dir = argv[2];
    const std::string image = dir + "/pattern.bmp", script = dir + "/view.script";
    if (!WritePattern(image)) return std::cerr << "cannot write " << image << "\n", 1;
    // The image is larger than the window: both scroll bars take their strips.
    const int bar = GetSystemMetrics(SM_CXVSCROLL), cw = kFrameWidth - bar, ch = kFrameHeight - bar;
    // Windows draws its own scroll bars, so there the page comes from the key; the Linux host
    // draws them, so there it is a click in the trough, and a drag of the horizontal thumb
    // (in the middle while the view is centred) past the bar's end.
    const std::string barY = std::to_string(ch + bar / 2);
    std::ofstream(script) << "shot " << dir << "/start.ppm\nkey right\nkey down\nshot " << dir << "/lines.ppm\n"
                          << (kWindows ? "key pagedown" : "vbar -24") << "\nshot " << dir << "/page.ppm\nwheel -1\nshot "
                          << dir << "/wheel.ppm\n"
                          << (kWindows ? "" : "press " + std::to_string(cw / 2) + " " + barY + "\nmove 1000 " + barY +
                                                  "\nrelease 1000 " + barY + "\nshot " + dir + "/thumb.ppm\n")
                          << "key home\nchar +\nshot " << dir << "/zoom2.ppm\nkey i\nshot " << dir << "/inverted.ppm\nkey i\n"
                          << "press 100 100\nmove 150 130\nmove 180 160\nshot " << dir << "/band.ppm\nrelease 180 160\n"
                          << "shot " << dir << "/rectangle.ppm\nmove 200 150\nkeydown m\nshot " << dir << "/lens.ppm\n"
                          << "move 120 100\nshot " << dir << "/lens-moved.ppm\nkeyup m\nshot " << dir << "/lens-gone.ppm\n"
                          << "key f\nshot " << dir << "/fit.ppm\nresize 760 960\nshot " << dir << "/fit-larger.ppm\nquit\n";
    const std::string size = std::to_string(kFrameWidth) + "x" + std::to_string(kFrameHeight);
#ifdef _WIN32
    const auto status = _spawnl(_P_WAIT, tool.c_str(), tool.c_str(), "view", image.c_str(), "--size", size.c_str(),
                                "--script", script.c_str(), nullptr);
#else
    const std::string command = "\"" + tool + "\" view \"" + image + "\" --size " + size + " --script \"" + script + "\"";
    const int status = std::system(command.c_str());
#endif
    if (!Expect(status == 0, "the viewer ran its script and exited 0")) return 1;
    // The Linux host's screenshots hold the whole window, bars included; Windows' the client
    // area.
    auto shot = [&](const char* name, bool whole = !kWindows, int w = kFrameWidth, int h = kFrameHeight) {
        std::optional<Shot> s = ReadShot(dir + "/" + name + ".ppm");
        if (!whole) w = cw, h = ch;
        if (!s || s->width != w || s->height != h) {
            std::cerr << "FAILED: no " << w << " x " << h << " screenshot " << name << "\n";
            std::exit(1);
        }
        return *s;
    };
    const Shot start = shot("start");
    const auto origin = ShowsImage(start, 0, 0, cw, ch, 1.0, false, 0);
    Expect(origin.has_value(), "at start the client shows the image 1:1");
    bool barsDrawn = true;
    for (int y = 0; y < ch && !kWindows; ++y)
        for (int x = cw; x < kFrameWidth; ++x) barsDrawn = barsDrawn && !Decode(start.at(x, y)) && start.at(x, y) != kBackground;
    Expect(barsDrawn, "the vertical scroll bar is drawn beside the client");
    if (!origin) return 1;

    // A line right and a line down move by 8 pixels at 1:1; a click in the trough below the
    // thumb pages down by half the client height; a wheel notch scrolls three lines.
    const auto lines = ShowsImage(shot("lines"), 0, 0, cw, ch, 1.0, false, 0);
    Expect(lines && lines->x == origin->x + 8 && lines->y == origin->y + 8, "arrow keys scroll one line each");
    const auto page = ShowsImage(shot("page"), 0, 0, cw, ch, 1.0, false, 0);
    Expect(lines && page && page->x == lines->x && page->y == lines->y + ch / 2, "a trough click pages down");
    const auto wheel = ShowsImage(shot("wheel"), 0, 0, cw, ch, 1.0, false, 0);
    Expect(page && wheel && wheel->y == page->y + 24, "a wheel notch scrolls three lines");
    if (!kWindows) {
        const auto thumb = ShowsImage(shot("thumb"), 0, 0, cw, ch, 1.0, false, 0);
        Expect(thumb && wheel && thumb->x == kImageWidth - cw && thumb->y == wheel->y,
               "dragging the horizontal thumb past the end scrolls to the right edge");
    }

    // Home goes to the top-left corner, then `+` doubles the scale keeping the middle.
    const Shot zoom2 = shot("zoom2");
    const auto doubled = ShowsImage(zoom2, 0, 0, cw, ch, 2.0, false, 1);
    const auto middle = Decode(zoom2.at(cw / 2, ch / 2));
    Expect(doubled && middle && std::abs(middle->x - cw / 2) <= 2 && std::abs(middle->y - ch / 2) <= 2,
           "+ zooms to 2:1 around the middle of the view");
    Expect(ShowsImage(shot("inverted"), 0, 0, cw, ch, 2.0, true, 1).has_value(), "i draws the image inverted");

    // The band: the rectangle's outline is drawn inverted over the image, its inside untouched.
    const Shot band = shot("band");
    bool outline = true;
    for (int x = 102; x <= 178; ++x)
        for (int y : {100, 160}) outline = outline && band.at(x, y) == (~zoom2.at(x, y) & 0xFFFFFF);
    for (int y = 102; y <= 158; ++y)
        for (int x : {100, 180}) outline = outline && band.at(x, y) == (~zoom2.at(x, y) & 0xFFFFFF);
    Expect(outline && band.at(140, 130) == zoom2.at(140, 130), "the dragged rectangle shows as an inverted outline");

    // Released: 80 x 60 pixels fill the window at about min(cw / 80, ch / 60) (the engine keeps
    // its extents small, so the scale drawn is near that, not equal), and the rectangle's middle
    // (140, 130) comes to the middle of the view.
    const double z = std::min(cw / 80.0, ch / 60.0);
    const Shot rectangle = shot("rectangle");
    const auto west = Decode(rectangle.at(0, ch / 2)), east = Decode(rectangle.at(cw - 1, ch / 2));
    const double scale = west && east && east->x > west->x ? (cw - 1.0) / (east->x - west->x) : 0;
    const auto centre = Decode(rectangle.at(cw / 2, ch / 2)), wanted = Decode(zoom2.at(140, 130));
    Expect(scale > z * 0.75 && scale < z * 1.25 && ShowsImage(rectangle, 0, 0, cw, ch, scale, false, 2) && centre &&
               wanted && std::abs(centre->x - wanted->x) <= 2 && std::abs(centre->y - wanted->y) <= 2,
           "the rectangle zooms to fill the window around its middle");

    // The lens: 180 x 80, a black frame, the point under the mouse magnified in its middle; the
    // rest of the window as it was; moving it restores its first place; releasing m restores
    // the window.
    const int lw = M_GetWidth(), lh = M_GetHeight();
    auto outside = [&](int cx, int cy) {
        return [=](int x, int y) { return x >= cx - lw / 2 && x < cx + lw / 2 && y >= cy - lh / 2 && y < cy + lh / 2; };
    };
    const Shot lens = shot("lens");
    const auto under = Decode(rectangle.at(200, 150)), magnified = Decode(lens.at(200, 150));
    Expect(lens.at(200 - lw / 2, 150 - lh / 2) == 0 && under && magnified && std::abs(under->x - magnified->x) <= 1 &&
               std::abs(under->y - magnified->y) <= 1 && SameArea(lens, rectangle, outside(200, 150)) &&
               ShowsImage(lens, 200 - 10, 150 - 10, 20, 20, 2 * scale, false, 2),
           "m shows the lens at twice the view's scale under the mouse");
    Expect(SameArea(shot("lens-moved"), rectangle, outside(120, 100)), "the moved lens restores its first place");
    Expect(SameArea(shot("lens-gone"), rectangle), "releasing m restores the window");

    // Fit: the whole image in the window without scroll bars, centred; and again, enlarged,
    // when the window grows.
    auto fits = [&](const char* name, int w, int h) {
        const Shot fit = shot(name, true, w, h);
        const double s = std::min(double(w) / kImageWidth, double(h) / kImageHeight);
        const int fw = int(kImageWidth * s), fh = int(kImageHeight * s), left = (w - fw) / 2, top = (h - fh) / 2;
        const auto first = Decode(fit.at(left + 1, top)), last = Decode(fit.at(left + fw - 2, top + fh - 1));
        return (left < 2 || fit.at(left - 2, h / 2) == kBackground) && fit.at(left + fw + 1, h / 2) == kBackground &&
               first && last && first->x <= 6 && first->y <= 3 && last->x >= kImageWidth - 7 && last->y >= kImageHeight - 4;
    };
    Expect(fits("fit", kFrameWidth, kFrameHeight), "f fits the whole image, centred, without scroll bars");
    Expect(fits("fit-larger", 760, 960), "a larger window fits the image again, enlarged");
    std::cout << (g_failures == 0 ? "view checks passed\n" : "view checks failed\n");
    return g_failures == 0 ? 0 : 1;
}
