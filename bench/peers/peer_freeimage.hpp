// peer_freeimage.hpp - what the FreeImage side of the peer benchmark shares, in terms that
// need neither FreeImage's header nor the library's: a picture described by plain fields.
//
// Provides: PictureView, FreeImageCopy, FreeImageStart/Stop (and FreeImageUnload, declared in
// peer_bench.hpp too). Files that call FreeImage include this and FreeImage.h, never vexora.h.
#pragma once

#include <cstddef>
#include <cstdint>

struct FIBITMAP;

namespace peers {

// Rows bottom-up with `stride` bytes each, as a DIB stores them; `colours` holds 4 << bits
// bytes of blue, green, red and zero for pictures of 8 bits or fewer.
struct PictureView {
    int width, height, bits;
    size_t stride;
    const uint8_t* pixels;
    const uint8_t* colours;
};

FIBITMAP* FreeImageCopy(const PictureView& picture);
void FreeImageUnload(FIBITMAP* bitmap);
void FreeImageStart();
void FreeImageStop();

}  // namespace peers
