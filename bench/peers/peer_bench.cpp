// peer_bench.cpp - the peer benchmark program (vexora_peer_bench): the library's operations
// beside OpenCV, Leptonica and FreeImage on the same pixels, in one process, and the table of
// how many times faster the library is than the fastest peer.
//
// Provides: main, the pictures, the peers' copies and the contender makers of peer_bench.hpp.
//
// Usage: vexora_peer_bench [--rounds N] [--markdown] [--list] [SUBSTRING...]
// Rows whose name contains any SUBSTRING run (all rows without one). Each row runs one warm-up
// round, then N rounds (5 by default); a round calls every contender once, in turn, so that a
// change in the machine's load falls on all of them alike, and the next round starts with the
// next contender. A contender's figure is its fastest
// round. The ratio is the fastest peer's time over the library's: above 1, the library is
// ahead; rows under the goal of 1.5 are marked with '<'.
#include "peer_bench.hpp"
#include "peer_freeimage.hpp"

#include <opencv2/core/utility.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <map>
#include <random>

namespace peers {

// ---- pictures ----

Dib::Dib(HDIB handle) : handle_(handle) {
    if (!handle_) {
        std::fprintf(stderr, "peer_bench: a picture could not be made\n");
        std::exit(2);
    }
    auto* p = static_cast<uint8_t*>(GlobalLock(handle_));
    BITMAPINFOHEADER header;
    std::memcpy(&header, p, sizeof header);
    width_ = header.biWidth;
    height_ = std::abs(header.biHeight);
    bits_ = header.biBitCount;
    stride_ = (size_t(width_) * bits_ + 31) / 32 * 4;
    const uint32_t entries = bits_ <= 8 ? (header.biClrUsed ? header.biClrUsed : 1u << bits_) : 0;
    colours_ = reinterpret_cast<const RGBQUAD*>(p + header.biSize);
    pixels_ = p + header.biSize + 4 * entries;
}

Dib::Dib(Dib&& other) noexcept { *this = std::move(other); }

Dib& Dib::operator=(Dib&& other) noexcept {
    if (this != &other) {
        Release();
        handle_ = std::exchange(other.handle_, nullptr);
        width_ = other.width_, height_ = other.height_, bits_ = other.bits_;
        stride_ = other.stride_, pixels_ = other.pixels_, colours_ = other.colours_;
    }
    return *this;
}

Dib::~Dib() { Release(); }

void Dib::Release() {
    if (handle_) {
        GlobalUnlock(handle_);
        GlobalFree(handle_);
        handle_ = nullptr;
    }
}

namespace {

HDIB NewDib(int width, int height, int bits) {
    const uint32_t entries = bits <= 8 ? 1u << bits : 0;
    const uint64_t stride = (uint64_t(width) * bits + 31) / 32 * 4;
    const uint64_t bytes = 40 + 4 * entries + stride * height;
    HDIB dib = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, size_t(bytes));
    if (!dib) return nullptr;
    auto* p = static_cast<uint8_t*>(GlobalLock(dib));
    const uint32_t header[10] = {40, uint32_t(width), uint32_t(height), 1u | uint32_t(bits) << 16, 0,
                                 uint32_t(stride * height), 2835, 2835, 0, 0};
    std::memcpy(p, header, sizeof header);
    for (uint32_t i = 0; i < entries; ++i) {
        const uint8_t level = uint8_t(entries > 1 ? i * 255 / (entries - 1) : 0);
        std::memset(p + 40 + 4 * i, level, 3);
    }
    GlobalUnlock(dib);
    return dib;
}

// A wave of the column and one of the row, summed per pixel: cheap enough for 16384 x 16384.
std::vector<float> Wave(int count, double period, double phase) {
    std::vector<float> wave(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) wave[size_t(i)] = float(0.25 * std::sin(i * period + phase));
    return wave;
}

}  // namespace

Dib Photo(int width, int height, int bits) {
    Dib dib(NewDib(width, height, bits));
    const int bands = bits == 24 ? 3 : 1;
    std::vector<std::vector<float>> columns, rows;
    for (int c = 0; c < bands; ++c) {
        columns.push_back(Wave(width, 0.011, c));
        rows.push_back(Wave(height, 0.007, 2.0 * c));
    }
    std::minstd_rand random(7);
    std::vector<uint8_t> levels(size_t(width) * bands);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < bands; ++c) {
                const bool bar = (x / 97 + y / 61) % 5 == 0;
                const float v = (0.5f + columns[size_t(c)][size_t(x)] + rows[size_t(c)][size_t(y)] - (bar ? 0.3f : 0.0f)) * 255.0f +
                                float(int(random() % 9) - 4);
                levels[size_t(x) * bands + c] = uint8_t(std::clamp(v, 0.0f, 255.0f));
            }
        uint8_t* row = dib.row(y);
        switch (bits) {
        case 1:
            for (int x = 0; x < width; ++x)
                if (levels[size_t(x)] >= 128) row[x / 8] |= uint8_t(0x80 >> (x % 8));
            break;
        case 4:
            for (int x = 0; x < width; ++x) row[x / 2] |= uint8_t((levels[size_t(x)] >> 4) << (x % 2 ? 0 : 4));
            break;
        default: std::memcpy(row, levels.data(), levels.size());
        }
    }
    return dib;
}

Dib Graphics(int width, int height) {
    Dib dib(NewDib(width, height, 8));
    auto* colours = const_cast<RGBQUAD*>(dib.colours());
    std::minstd_rand random(11);
    for (int i = 0; i < 256; ++i)
        colours[i] = RGBQUAD{uint8_t(random()), uint8_t(random()), uint8_t(random()), 0};
    // Panels of flat colour, each with a frame, and horizontal rules every 40 rows.
    for (int y = 0; y < height; ++y) {
        uint8_t* row = dib.row(y);
        for (int x = 0; x < width; ++x) {
            const int panel = (x / 300) * 7 + (y / 200) * 3;
            const bool frame = x % 300 < 2 || y % 200 < 2;
            const bool rule = y % 40 == 20 && x % 300 > 40 && x % 300 < 260;
            row[x] = uint8_t(frame ? 0 : rule ? 255 : 16 + panel % 200);
        }
        if (y % 50 == 25)  // a line of "text": short runs
            for (int x = 0; x + 7 < width; x += 9) row[x + random() % 6] = 1;
    }
    return dib;
}

Dib WithScatteredColours(const Dib& source) {
    const size_t entries = size_t(1) << source.bits();
    const size_t bytes = 40 + 4 * entries + source.stride() * size_t(source.height());
    HDIB copy = GlobalAlloc(GMEM_MOVEABLE, bytes);
    if (copy) {
        std::memcpy(GlobalLock(copy), GlobalLock(source.handle()), bytes);
        GlobalUnlock(source.handle());
        GlobalUnlock(copy);
    }
    Dib dib(copy);
    auto* colours = const_cast<RGBQUAD*>(dib.colours());
    std::minstd_rand random(13);
    for (size_t i = 0; i < entries; ++i) colours[i] = RGBQUAD{uint8_t(random()), uint8_t(random()), uint8_t(random()), 0};
    return dib;
}

// ---- the peers' pictures ----

cv::Mat AsMat(const Dib& dib) {
    const int type = dib.bits() == 24 ? CV_8UC3 : CV_8UC1;
    if (dib.bits() != 8 && dib.bits() != 24) {
        std::fprintf(stderr, "peer_bench: OpenCV has no %d-bit pictures\n", dib.bits());
        std::exit(2);
    }
    return cv::Mat(dib.height(), dib.width(), type, dib.pixels(), dib.stride());
}

PixPtr ToPix(const Dib& dib) {
    const int depth = dib.bits() == 24 ? 32 : dib.bits();
    PixPtr pix(pixCreateNoInit(dib.width(), dib.height(), depth));
    if (!pix) std::exit(2);
    for (int y = 0; y < dib.height(); ++y) {
        const uint8_t* in = dib.row(y);
        l_uint32* out = pixGetData(pix.get()) + size_t(y) * pixGetWpl(pix.get());
        if (depth == 32) {
            for (int x = 0; x < dib.width(); ++x)
                composeRGBPixel(in[3 * x + 2], in[3 * x + 1], in[3 * x], out + x);
        } else {
            // Leptonica keeps pixels most significant first within 32-bit words.
            const int words = pixGetWpl(pix.get());
            for (int w = 0; w < words; ++w) {
                uint8_t bytes[4] = {0, 0, 0, 0};
                for (int b = 0; b < 4; ++b)
                    if (size_t(4 * w + b) < dib.stride()) bytes[b] = in[4 * w + b];
                out[w] = uint32_t(bytes[0]) << 24 | uint32_t(bytes[1]) << 16 | uint32_t(bytes[2]) << 8 | bytes[3];
            }
        }
    }
    if (depth == 1) pixInvert(pix.get(), pix.get());  // Leptonica's 1 is black; the DIB's is white
    return pix;
}

FiPtr ToFreeImage(const Dib& dib) {
    FiPtr bitmap(FreeImageCopy(PictureView{dib.width(), dib.height(), dib.bits(), dib.stride(), dib.pixels(),
                                           reinterpret_cast<const uint8_t*>(dib.colours())}));
    if (!bitmap) std::exit(2);
    return bitmap;
}

Sources::Sources(Dib picture) : dib(std::move(picture)) {
    if (dib.bits() == 8 || dib.bits() == 24) mat = AsMat(dib);
    pix = ToPix(dib);
    bitmap = ToFreeImage(dib);
}

// ---- contenders ----

namespace {
std::string g_running;  // the row being run, for the message of a failed call

[[noreturn]] void Failed(const std::string& library) {
    std::fprintf(stderr, "peer_bench: %s gave no result in row '%s'\n", library.c_str(), g_running.c_str());
    std::exit(1);
}
}  // namespace

Contender Vexora(std::function<HGLOBAL()> call) {
    return {"Vexora", [call = std::move(call)] {
                HGLOBAL result = call();
                if (!result) Failed("Vexora");
                GlobalFree(result);
            }};
}

Contender Leptonica(std::function<PIX*()> call) {
    return {"Leptonica", [call = std::move(call)] {
                PIX* result = call();
                if (!result) Failed("Leptonica");
                pixDestroy(&result);
            }};
}

Contender FreeImage(std::function<FIBITMAP*()> call) {
    return {"FreeImage", [call = std::move(call)] {
                FIBITMAP* result = call();
                if (!result) Failed("FreeImage");
                FreeImageUnload(result);
            }};
}

Contender Plain(std::string library, std::function<void()> call) { return {std::move(library), std::move(call)}; }

namespace {
std::vector<std::function<void(std::vector<RowMaker>&)>>& Families() {
    static std::vector<std::function<void(std::vector<RowMaker>&)>> families;
    return families;
}
}  // namespace

bool RegisterRows(std::function<void(std::vector<RowMaker>&)> family) {
    Families().push_back(std::move(family));
    return true;
}

}  // namespace peers

namespace {

using Clock = std::chrono::steady_clock;

double Milliseconds(const std::function<void()>& run) {
    const auto start = Clock::now();
    run();
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

const char* const kPeers[] = {"OpenCV", "Leptonica", "FreeImage"};

}  // namespace

int main(int argc, char** argv) {
    int rounds = 5;
    bool markdown = false, list = false;
    std::vector<std::string> wanted;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--rounds" && i + 1 < argc) rounds = std::max(1, std::atoi(argv[++i]));
        else if (argument == "--markdown") markdown = true;
        else if (argument == "--list") list = true;
        else if (argument.rfind("--", 0) == 0) {
            std::fprintf(stderr, "usage: %s [--rounds N] [--markdown] [--list] [SUBSTRING...]\n", argv[0]);
            return 2;
        } else wanted.push_back(argument);
    }
    cv::setNumThreads(0);
    peers::FreeImageStart();
    setLeptDebugOK(0);
    setMsgSeverity(L_SEVERITY_NONE);  // rows probe which formats Leptonica reads

    std::vector<peers::RowMaker> rows;
    for (const auto& family : peers::Families()) family(rows);

    if (markdown) {
        std::printf("| operation | Vexora ms | OpenCV ms | Leptonica ms | FreeImage ms | ratio |\n");
        std::printf("|---|--:|--:|--:|--:|--:|\n");
    } else if (!list) {
        std::printf("%-44s %10s %10s %10s %10s %7s\n", "operation", "Vexora", "OpenCV", "Leptonica", "FreeImage", "ratio");
    }
    int behind = 0;
    for (const auto& maker : rows) {
        if (!wanted.empty() && std::none_of(wanted.begin(), wanted.end(), [&](const std::string& w) {
                return maker.name.find(w) != std::string::npos;
            }))
            continue;
        if (list) {
            std::printf("%s\n", maker.name.c_str());
            continue;
        }
        peers::g_running = maker.name;
        peers::Row row = maker.make();
        std::map<std::string, double> best;
        // Round 0 warms caches and pages up. Each round starts with the next contender, so that
        // none always runs first or right after the same neighbour.
        const size_t count = row.contenders.size();
        for (int round = 0; round <= rounds; ++round)
            for (size_t k = 0; k < count; ++k) {
                const peers::Contender& contender = row.contenders[(size_t(round) + k) % count];
                const double ms = Milliseconds(contender.run);
                if (round == 0) continue;
                auto [at, fresh] = best.try_emplace(contender.library, ms);
                if (!fresh) at->second = std::min(at->second, ms);
            }
        double fastest_peer = std::numeric_limits<double>::infinity();
        for (const char* peer : kPeers)
            if (best.count(peer)) fastest_peer = std::min(fastest_peer, best[peer]);
        const double ratio = best.count("Vexora") ? fastest_peer / best["Vexora"] : 0.0;
        const bool short_of_goal = ratio < 1.5;
        behind += short_of_goal;
        auto cell = [&](const char* library) {
            static char text[4][32];
            static int next = 0;
            char* out = text[next++ % 4];
            if (best.count(library)) std::snprintf(out, 32, "%.2f", best[library]);
            else std::snprintf(out, 32, "-");
            return out;
        };
        if (markdown)
            std::printf("| %s | %s | %s | %s | %s | %.2f%s |\n", maker.name.c_str(), cell("Vexora"), cell("OpenCV"),
                        cell("Leptonica"), cell("FreeImage"), ratio, short_of_goal ? " <" : "");
        else
            std::printf("%-44s %10s %10s %10s %10s %6.2f%s\n", maker.name.c_str(), cell("Vexora"), cell("OpenCV"),
                        cell("Leptonica"), cell("FreeImage"), ratio, short_of_goal ? " <" : "");
        std::fflush(stdout);
    }
    if (!list) std::printf("%d row(s) under 1.5\n", behind);
    peers::FreeImageStop();
    return 0;
}
