// rows_turns_freeimage.cpp - FreeImage's side of the turn and flip rows.
#include <FreeImage.h>

#include "peer_freeimage.hpp"

namespace peers {

FIBITMAP* FreeImageRotate(FIBITMAP* bitmap, double degrees) { return FreeImage_Rotate(bitmap, degrees); }

}  // namespace peers
