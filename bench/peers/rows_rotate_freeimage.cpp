// rows_rotate_freeimage.cpp - FreeImage's side of the any-angle rotation rows: FreeImage_Rotate,
// which sizes its canvas itself.
#include <FreeImage.h>

#include "peer_freeimage.hpp"

namespace peers {

FIBITMAP* FreeImageRotateAny(FIBITMAP* bitmap, double degrees) { return FreeImage_Rotate(bitmap, degrees); }

}  // namespace peers
