// rows_scale_freeimage.cpp - FreeImage's side of the scaling and any-angle rotation rows.
#include <FreeImage.h>

#include "peer_freeimage.hpp"

namespace peers {

FIBITMAP* FreeImageRescale(FIBITMAP* bitmap, int width, int height, bool cubic) {
    return FreeImage_Rescale(bitmap, width, height, cubic ? FILTER_BICUBIC : FILTER_BILINEAR);
}

FIBITMAP* FreeImageRotateAny(FIBITMAP* bitmap, double degrees) { return FreeImage_Rotate(bitmap, degrees); }

}  // namespace peers
