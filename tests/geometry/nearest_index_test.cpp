// nearest_index_test.cpp - the library's own nearest-colour search against the platform's
// GetNearestPaletteIndex (under Wine, Windows' own answer) on tables built to trip it: random,
// with duplicate entries, with entries at equal distances, short, gray, and longer than 256.

#include <functional>
#include <random>

#include "dib_builder.hpp"
#include "geometry/nearest_index.hpp"

namespace {

using vx::geometry::NearestColour;
using vx::geometry::PaletteFromColourTable;
using vxtest::Bytes;

// A colour table of `count` RGBQUADs; entry(i, random) gives blue, green, red.
template <typename Entry>
Bytes Table(uint32_t count, std::mt19937& random, Entry entry) {
    Bytes table(size_t{count} * 4, 0);
    for (uint32_t i = 0; i < count; ++i) {
        const auto [b, g, r] = entry(i, random);
        table[4 * i] = uint8_t(b), table[4 * i + 1] = uint8_t(g), table[4 * i + 2] = uint8_t(r);
    }
    return table;
}

struct Rgb { int b, g, r; };

TEST(NearestColour, AnswersAsGetNearestPaletteIndex) {
    auto any = [](uint32_t, std::mt19937& r) { return Rgb{int(r() & 255), int(r() & 255), int(r() & 255)}; };
    // Few levels per colour: many entries repeat, and many colours lie halfway between two.
    auto coarse = [](uint32_t, std::mt19937& r) { return Rgb{int(r() % 3 * 100), int(r() % 3 * 100), int(r() % 3 * 100)}; };
    auto gray = [](uint32_t i, std::mt19937&) { return Rgb{int(i), int(i), int(i)}; };
    auto shuffledGray = [](uint32_t i, std::mt19937& r) { const int v = int(i * 37 % 256 & ~(r() & 3)); return Rgb{v, v, v}; };
    // Entries in pairs mirrored about 127: (127, 127, 127) is as far from both of a pair.
    auto mirrored = [](uint32_t i, std::mt19937&) {
        const int v = int(i / 2 * 53 % 255), w = int(i / 2 * 101 % 255);
        return i % 2 == 0 ? Rgb{v, w, v} : Rgb{254 - v, 254 - w, 254 - v};
    };
    const struct { const char* what; uint32_t count; std::function<Rgb(uint32_t, std::mt19937&)> entry; } tables[] = {
        {"random 256", 256, any},          {"random 16", 16, any},          {"one entry", 1, any},
        {"two entries", 2, coarse},        {"coarse 256", 256, coarse},     {"coarse 3", 3, coarse},
        {"gray ramp", 256, gray},          {"gray shuffled", 256, shuffledGray}, {"mirrored 64", 64, mirrored},
        {"random 1000", 1000, any},        {"coarse 700", 700, coarse},
    };
    for (const auto& t : tables)
        for (uint32_t seed : {1u, 2u, 3u}) {
            SCOPED_TRACE(testing::Message() << t.what << " seed " << seed);
            std::mt19937 random(seed);
            const Bytes table = Table(t.count, random, t.entry);
            const auto palette = PaletteFromColourTable(table.data(), table.size(), uint16_t(t.count));
            ASSERT_TRUE(palette);
            const NearestColour nearest(table.data(), table.size(), uint16_t(t.count));
            // Random colours, the entries themselves and their neighbours, midpoints of pairs.
            std::vector<Rgb> asks;
            for (int k = 0; k < 1500; ++k) asks.push_back({int(random() & 255), int(random() & 255), int(random() & 255)});
            for (uint32_t i = 0; i < t.count && i < 300; ++i) {
                const Rgb e{table[4 * i], table[4 * i + 1], table[4 * i + 2]};
                const uint32_t j = random() % t.count;
                const Rgb f{table[4 * j], table[4 * j + 1], table[4 * j + 2]};
                asks.push_back(e);
                asks.push_back({std::min(e.b + 1, 255), e.g, std::max(e.r - 1, 0)});
                asks.push_back({(e.b + f.b) / 2, (e.g + f.g) / 2, (e.r + f.r) / 2});
            }
            for (int v = 0; v < 256; v += 5) asks.push_back({v, v, v});
            for (const Rgb& c : asks)
                ASSERT_EQ(nearest(uint8_t(c.r), uint8_t(c.g), uint8_t(c.b)),
                          GetNearestPaletteIndex(palette.get(), RGB(c.r, c.g, c.b)))
                    << "colour " << c.r << "," << c.g << "," << c.b;
        }
}

}  // namespace
