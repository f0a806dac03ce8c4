// rows_dither.cpp - the dither rows beside the tone family's: Floyd-Steinberg error diffusion
// to black and white from a 4-bit picture of sixteen grays, and from an 8-bit picture at a
// size whose rows and working memory stay in cache.
//
// Nearest equivalents: FreeImage dithers any depth (making it gray first); Leptonica dithers
// 8-bit gray only, so the 4-bit picture is first widened to 8 bits, as its own calls do. No
// peer has the twelve-neighbour weights or error diffusion to 4- or 8-bit fixed palettes, and
// OpenCV has no error diffusion, so those stay out.
#include <string>

#include "peer_bench.hpp"

namespace peers {
FIBITMAP* FreeImageFloydSteinberg(FIBITMAP* bitmap);  // rows_dither_freeimage.cpp
}  // namespace peers

namespace {

using namespace peers;

RowMaker FloydSteinberg(int bits, int side) {
    const std::string name = "Floyd-Steinberg to 1 bit " + std::to_string(bits) + "-bit " + std::to_string(side);
    return {name, [name, bits, side] {
                auto s = std::make_shared<Sources>(Photo(side, side, bits));
                Sources* t = s.get();
                Contender leptonica = bits == 8 ? Leptonica([t] { return pixDitherToBinary(t->pix.get()); })
                                                : Leptonica([t] {
                                                      PIX* gray = pixConvertTo8(t->pix.get(), 0);
                                                      PIX* binary = pixDitherToBinary(gray);
                                                      pixDestroy(&gray);
                                                      return binary;
                                                  });
                return Row{name,
                           {Vexora([t] { return DitherFS4(t->dib.handle(), 1); }), leptonica,
                            FreeImage([t] { return FreeImageFloydSteinberg(t->bitmap.get()); })},
                           s};
            }};
}

const bool registered = RegisterRows([](std::vector<RowMaker>& rows) {
    rows.push_back(FloydSteinberg(4, 4096));
    rows.push_back(FloydSteinberg(8, 1024));
});

}  // namespace
