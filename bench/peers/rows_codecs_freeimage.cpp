// rows_codecs_freeimage.cpp - FreeImage's side of the run-length and BMP file rows: RLE8
// encoding into and decoding from memory, BMP files written and read.
#include <FreeImage.h>

#include "peer_freeimage.hpp"

namespace peers {

// The whole RLE8 BMP in a memory stream, as a caller keeping it in memory would.
bool FreeImageEncodeRle8(FIBITMAP* bitmap) {
    FIMEMORY* stream = FreeImage_OpenMemory();
    const bool saved = stream && FreeImage_SaveToMemory(FIF_BMP, bitmap, stream, BMP_SAVE_RLE);
    if (stream) FreeImage_CloseMemory(stream);
    return saved;
}

FIBITMAP* FreeImageDecodeBmp(const uint8_t* file, size_t bytes) {
    FIMEMORY* stream = FreeImage_OpenMemory(const_cast<BYTE*>(file), static_cast<DWORD>(bytes));
    if (!stream) return nullptr;
    FIBITMAP* bitmap = FreeImage_LoadFromMemory(FIF_BMP, stream, 0);
    FreeImage_CloseMemory(stream);
    return bitmap;
}

bool FreeImageSaveBmp(FIBITMAP* bitmap, const char* path) { return FreeImage_Save(FIF_BMP, bitmap, path, 0); }
FIBITMAP* FreeImageLoadBmp(const char* path) { return FreeImage_Load(FIF_BMP, path, 0); }

}  // namespace peers
