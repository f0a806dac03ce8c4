// rows_tone_freeimage.cpp - FreeImage's side of the tone rows: brightness and contrast, tone
// curves, gray conversion, thresholds and dithering to black and white.
#include <FreeImage.h>

#include <cstdint>

#include "peer_freeimage.hpp"

namespace peers {

bool FreeImageAdjustColours(FIBITMAP* bitmap, double brightness, double contrast) {
    return FreeImage_AdjustColors(bitmap, brightness, contrast, 1.0, FALSE) != 0;
}
bool FreeImageCurve(FIBITMAP* bitmap, uint8_t* table) { return FreeImage_AdjustCurve(bitmap, table, FICC_RGB) != 0; }
FIBITMAP* FreeImageGray(FIBITMAP* bitmap) { return FreeImage_ConvertToGreyscale(bitmap); }
FIBITMAP* FreeImageThreshold(FIBITMAP* bitmap, uint8_t level) { return FreeImage_Threshold(bitmap, level); }
FIBITMAP* FreeImageErrorDiffusion(FIBITMAP* bitmap) { return FreeImage_Dither(bitmap, FID_FS); }
FIBITMAP* FreeImageScreen16(FIBITMAP* bitmap) { return FreeImage_Dither(bitmap, FID_BAYER16x16); }

}  // namespace peers
