// rows_scale_freeimage.cpp - FreeImage's side of the scaling rows.
#include <FreeImage.h>

#include "peer_freeimage.hpp"

namespace peers {

FIBITMAP* FreeImageRescale(FIBITMAP* bitmap, int width, int height, bool cubic) {
    return FreeImage_Rescale(bitmap, width, height, cubic ? FILTER_BICUBIC : FILTER_BILINEAR);
}

}  // namespace peers
