// rows_dither_freeimage.cpp - FreeImage's side of the dither rows: its Floyd-Steinberg
// dithering to black and white (a new picture; other depths are made gray first inside it).
#include <FreeImage.h>

#include "peer_freeimage.hpp"

namespace peers {

FIBITMAP* FreeImageFloydSteinberg(FIBITMAP* bitmap) { return FreeImage_Dither(bitmap, FID_FS); }

}  // namespace peers
