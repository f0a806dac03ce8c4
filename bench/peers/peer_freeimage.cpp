// peer_freeimage.cpp - FreeImage's copy of a picture, its release and its start and stop.
#include "peer_freeimage.hpp"

#include <FreeImage.h>

#include <cstring>

namespace peers {

FIBITMAP* FreeImageCopy(const PictureView& picture) {
    FIBITMAP* bitmap = FreeImage_Allocate(picture.width, picture.height, picture.bits);
    if (!bitmap) return nullptr;
    for (int y = 0; y < picture.height; ++y)  // both store the bottom row first
        std::memcpy(FreeImage_GetScanLine(bitmap, y), picture.pixels + picture.stride * size_t(y), picture.stride);
    if (picture.bits <= 8) std::memcpy(FreeImage_GetPalette(bitmap), picture.colours, size_t(4) << picture.bits);
    return bitmap;
}

void FreeImageUnload(FIBITMAP* bitmap) { FreeImage_Unload(bitmap); }
void FreeImageStart() { FreeImage_Initialise(FALSE); }
void FreeImageStop() { FreeImage_DeInitialise(); }

}  // namespace peers
