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
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "vexora.h"

#ifdef _WIN32
#include <process.h>
constexpr bool kWindows = true;
#else
constexpr bool kWindows = false;
#endif

namespace {

constexpr int kImageWidth = 700, kImageHeight = 900, kFrameWidth = 400, kFrameHeight = 300;
constexpr uint32_t kBackground = 0xC0C0C0;

struct Point { int x, y; };

std::optional<Point> Decode(uint32_t rgb) {
    const int b = int(rgb & 255);
    const Point p{int(rgb >> 16) | (b & 15) << 8, int((rgb >> 8) & 255) | (b >> 4) << 8};
    return p.x < kImageWidth && p.y < kImageHeight ? std::optional(p) : std::nullopt;
}

// Whether both points are known and within d image pixels of each other on each axis.
bool Near(std::optional<Point> a, std::optional<Point> b, int d) {
    return a && b && std::abs(a->x - b->x) <= d && std::abs(a->y - b->y) <= d;
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
    if (!condition) std::cerr << "FAILED: " << what << "\n", ++g_failures;
    return condition;
}

// Whether the w x h area at (left, top) shows the image at `scale` screen pixels per image
// pixel (inverted when asked): each pixel must be the image pixel under it, within `slack`
// image pixels of the one the top-left pixel names (the phase of a scaled pixel is open).
// Answers the image point shown at the area's top-left.
struct Area { int left, top, w, h; };
std::optional<Point> ShowsImage(const Shot& shot, Area a, double scale = 1.0, int slack = 0, bool inverted = false) {
    const auto [left, top, w, h] = a;
    auto decode = [&](int x, int y) { return Decode(inverted ? ~shot.at(x, y) & 0xFFFFFF : shot.at(x, y)); };
    const std::optional<Point> origin = decode(left, top);
    if (!origin) return std::nullopt;
    for (int y = top; y < top + h; ++y)
        for (int x = left; x < left + w; ++x) {
            const std::optional<Point> p = decode(x, y);
            const int ex = origin->x + int(std::floor((x - left) / scale)), ey = origin->y + int(std::floor((y - top) / scale));
            if (!p || std::abs(p->x - ex) > slack || std::abs(p->y - ey) > slack) {
                std::cerr << "  at (" << x << ", " << y << ") expected image pixel near (" << ex << ", " << ey << ")\n";
                return std::nullopt;
            }
        }
    return origin;
}

// Whether two shots agree everywhere outside the area `skip` (none when empty).
bool SameOutside(const Shot& a, const Shot& b, Area skip = {}) {
    if (a.width != b.width || a.height != b.height) return false;
    for (int y = 0; y < a.height; ++y)
        for (int x = 0; x < a.width; ++x)
            if ((x < skip.left || x >= skip.left + skip.w || y < skip.top || y >= skip.top + skip.h) && a.at(x, y) != b.at(x, y))
                return false;
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
            // Each pixel names its own position: x and y in red and green, their high bits in blue.
            const uint32_t c = uint32_t(x & 255) << 16 | uint32_t(y & 255) << 8 | uint32_t((x >> 8) | (y >> 8) << 4);
            unsigned char* p = file.data() + 54 + size_t(kImageHeight - 1 - y) * stride + size_t(x) * 3;
            p[0] = uint8_t(c), p[1] = uint8_t(c >> 8), p[2] = uint8_t(c >> 16);
        }
    std::ofstream out(path, std::ios::binary);
    return bool(out.write(reinterpret_cast<const char*>(file.data()), std::streamsize(file.size())));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) return std::cerr << "usage: view_check TOOL DIR\n", 2;
    const std::string tool = argv[1], dir = argv[2];
    const std::string image = dir + "/pattern.bmp", script = dir + "/view.script";
    if (!WritePattern(image)) return std::cerr << "cannot write " << image << "\n", 1;
    // The image is larger than the window: both scroll bars take their strips.
    const int bar = GetSystemMetrics(SM_CXVSCROLL), cw = kFrameWidth - bar, ch = kFrameHeight - bar;
    const Area client{0, 0, cw, ch};
    // Windows draws its own scroll bars, so there the page comes from the key; the Linux host
    // draws them, so there it is a click in the trough, and a drag of the horizontal thumb
    // (in the middle while the view is centred) past the bar's end. "@NAME" takes a screenshot.
    const std::string barY = " " + std::to_string(ch + bar / 2);
    std::string steps = "@start|key right|key down|@lines|" + std::string(kWindows ? "key pagedown" : "vbar -24") +
                        "|@page|wheel -1|@wheel|" +
                        (kWindows ? "" : "press " + std::to_string(cw / 2) + barY + "|move 1000" + barY + "|release 1000" + barY + "|@thumb|") +
                        "key home|char +|@zoom2|key i|@inverted|key i|press 100 100|move 150 130|move 180 160|@band|release 180 160|"
                        "@rectangle|move 200 150|keydown m|@lens|move 120 100|@lens-moved|keyup m|@lens-gone|key f|@fit|"
                        "resize 760 960|@fit-larger|quit|";
    std::ofstream out(script);
    for (size_t from = 0, to; (to = steps.find('|', from)) != std::string::npos; from = to + 1) {
        const std::string step = steps.substr(from, to - from);
        out << (step[0] == '@' ? "shot " + dir + "/" + step.substr(1) + ".ppm" : step) << "\n";
    }
    out.close();
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
        if (s && s->width == w && s->height == h) return *s;
        std::cerr << "FAILED: no " << w << " x " << h << " screenshot " << name << "\n";
        std::exit(1);
    };
    const Shot start = shot("start");
    const auto origin = ShowsImage(start, client);
    Expect(origin.has_value(), "at start the client shows the image 1:1");
    bool barsDrawn = true;
    for (int y = 0; y < ch && !kWindows; ++y)
        for (int x = cw; x < kFrameWidth; ++x) barsDrawn = barsDrawn && !Decode(start.at(x, y)) && start.at(x, y) != kBackground;
    Expect(barsDrawn, "the vertical scroll bar is drawn beside the client");
    if (!origin) return 1;

    // Each scroll moves the 1:1 view from where the one before left it: a line right and a
    // line down by 8 pixels; a click in the trough below the thumb by half the client height;
    // a wheel notch by three lines; the horizontal thumb dragged past the end (dx -1) to the
    // right edge.
    struct Scroll { const char* name; int dx, dy; const char* what; } scrolls[] = {
        {"lines", 8, 8, "arrow keys scroll one line each"}, {"page", 0, ch / 2, "a trough click pages down"},
        {"wheel", 0, 24, "a wheel notch scrolls three lines"},
        {"thumb", -1, 0, "dragging the horizontal thumb past the end scrolls to the right edge"}};
    std::optional<Point> before = origin;
    for (const Scroll& step : scrolls) {
        if (kWindows && step.dx < 0) continue;
        const auto now = ShowsImage(shot(step.name), client);
        Expect(before && now && now->x == (step.dx < 0 ? kImageWidth - cw : before->x + step.dx) && now->y == before->y + step.dy, step.what);
        before = now;
    }

    // Home goes to the top-left corner, then `+` doubles the scale keeping the middle.
    const Shot zoom2 = shot("zoom2");
    Expect(ShowsImage(zoom2, client, 2.0, 1) && Near(Decode(zoom2.at(cw / 2, ch / 2)), Point{cw / 2, ch / 2}, 2),
           "+ zooms to 2:1 around the middle of the view");
    Expect(ShowsImage(shot("inverted"), client, 2.0, 1, true).has_value(), "i draws the image inverted");

    // The band: the rectangle's outline is drawn inverted over the image, its inside untouched.
    const Shot band = shot("band");
    bool outline = band.at(140, 130) == zoom2.at(140, 130);
    for (int x = 100; x <= 180; ++x)
        for (int y = 100; y <= 160; ++y)
            if (((y == 100 || y == 160) && x >= 102 && x <= 178) || ((x == 100 || x == 180) && y >= 102 && y <= 158))
                outline = outline && band.at(x, y) == (~zoom2.at(x, y) & 0xFFFFFF);
    Expect(outline, "the dragged rectangle shows as an inverted outline");

    // Released: 80 x 60 pixels fill the window at about min(cw / 80, ch / 60) (the engine keeps
    // its extents small, so the scale drawn is near that, not equal), and the rectangle's middle
    // (140, 130) comes to the middle of the view.
    const double z = std::min(cw / 80.0, ch / 60.0);
    const Shot rectangle = shot("rectangle");
    const auto west = Decode(rectangle.at(0, ch / 2)), east = Decode(rectangle.at(cw - 1, ch / 2));
    const double scale = west && east && east->x > west->x ? (cw - 1.0) / (east->x - west->x) : 0;
    Expect(scale > z * 0.75 && scale < z * 1.25 && ShowsImage(rectangle, client, scale, 2) &&
               Near(Decode(rectangle.at(cw / 2, ch / 2)), Decode(zoom2.at(140, 130)), 2),
           "the rectangle zooms to fill the window around its middle");

    // The lens: 180 x 80, a black frame, the point under the mouse magnified in its middle; the
    // rest of the window as it was; moving it restores its first place; releasing m restores
    // the window.
    const int lw = M_GetWidth(), lh = M_GetHeight();
    const Shot lens = shot("lens");
    Expect(lens.at(200 - lw / 2, 150 - lh / 2) == 0 && Near(Decode(rectangle.at(200, 150)), Decode(lens.at(200, 150)), 1) &&
               SameOutside(lens, rectangle, {200 - lw / 2, 150 - lh / 2, lw, lh}) && ShowsImage(lens, {190, 140, 20, 20}, 2 * scale, 2),
           "m shows the lens at twice the view's scale under the mouse");
    Expect(SameOutside(shot("lens-moved"), rectangle, {120 - lw / 2, 100 - lh / 2, lw, lh}), "the moved lens restores its first place");
    Expect(SameOutside(shot("lens-gone"), rectangle), "releasing m restores the window");

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
