// bitmap_bridge_tables.cpp - PlanBitmapDib, WriteDefaultTable and WritePaletteTable: the
// header, block size and colour tables of the DIBs made from device bitmaps (see
// bitmap_bridge_tables.hpp).
//
// The header is filled as the library always has: stride and image size in its 32-bit
// arithmetic, resolutions 0, biClrUsed and biClrImportant the full count of the depth. The
// 8-bit default is a 3-3-2 cube whose brightest red and green are 252 (steps of 36), not 255:
// bitmaps converted without a palette carry exactly that table.
#include "bitmap_bridge_tables.hpp"

namespace vx::bridge {
namespace {

// The 16 colours of the classic display, as red, green, blue.
constexpr uint8_t kSixteenColours[16][3] = {
    {0, 0, 0},       {128, 0, 0},   {0, 128, 0},   {128, 128, 0}, {0, 0, 128},   {128, 0, 128},
    {0, 128, 128},   {192, 192, 192}, {128, 128, 128}, {255, 0, 0}, {0, 255, 0},   {255, 255, 0},
    {0, 0, 255},     {255, 0, 255}, {0, 255, 255}, {255, 255, 255}};

void PutEntry(uint8_t* table, uint32_t i, uint8_t red, uint8_t green, uint8_t blue) {
    table[i * 4 + 0] = blue;
    table[i * 4 + 1] = green;
    table[i * 4 + 2] = red;
    table[i * 4 + 3] = 0;
}

}  // namespace

std::optional<BitmapDibPlan> PlanBitmapDib(int32_t width, int32_t height, uint32_t planes, uint32_t bitsPerPixel) {
    if (width <= 0 || height <= 0) return std::nullopt;
    const uint16_t depth = BitmapDibDepth(planes, bitsPerPixel);
    const auto stride = Stride32(static_cast<uint64_t>(width), depth);
    if (!stride) return std::nullopt;
    const uint64_t imageBytes = *stride * static_cast<uint64_t>(height);
    const uint32_t colours = depth < 24 ? 1u << depth : 0u;
    BitmapDibPlan plan;
    plan.stride = static_cast<uint32_t>(*stride);
    plan.tableBytes = uint64_t{colours} * 4;
    plan.blockBytes = kInfoHeaderSize + plan.tableBytes + imageBytes + kBitmapDibSlack;
    if (plan.blockBytes > kMaxBlockBytes) return std::nullopt;
    plan.header = {.width = width,
                   .height = height,
                   .bitCount = depth,
                   .sizeImage = static_cast<uint32_t>(imageBytes),
                   .clrUsed = colours,
                   .clrImportant = colours};
    return plan;
}

void WriteDefaultTable(uint8_t* table, uint16_t bitCount) {
    switch (bitCount) {
    case 1:
        PutEntry(table, 0, 0, 0, 0);
        PutEntry(table, 1, 255, 255, 255);
        break;
    case 4:
        for (uint32_t i = 0; i < 16; ++i)
            PutEntry(table, i, kSixteenColours[i][0], kSixteenColours[i][1], kSixteenColours[i][2]);
        break;
    case 8:
        for (uint32_t i = 0; i < 256; ++i)
            PutEntry(table, i, static_cast<uint8_t>(i / 32 * 36), static_cast<uint8_t>(i / 4 % 8 * 36),
                     static_cast<uint8_t>(i % 4 * 85));
        break;
    default:
        break;  // no table
    }
}

void WritePaletteTable(uint8_t* table, const PALETTEENTRY* entries, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) PutEntry(table, i, entries[i].peRed, entries[i].peGreen, entries[i].peBlue);
}

}  // namespace vx::bridge
