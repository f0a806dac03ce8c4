// rows_turns_freeimage.cpp - FreeImage's side of the turn and flip rows: its rotation by a
// multiple of 90 degrees (a new picture) and its two flips (in place).
#include <FreeImage.h>

#include "peer_freeimage.hpp"

namespace peers {

FIBITMAP* FreeImageRotate(FIBITMAP* bitmap, double degrees) { return FreeImage_Rotate(bitmap, degrees); }
bool FreeImageFlipHorizontal(FIBITMAP* bitmap) { return FreeImage_FlipHorizontal(bitmap) != FALSE; }
bool FreeImageFlipVertical(FIBITMAP* bitmap) { return FreeImage_FlipVertical(bitmap) != FALSE; }

}  // namespace peers
