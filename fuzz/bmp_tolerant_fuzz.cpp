// bmp_tolerant_fuzz.cpp - fuzz target for the tolerant BMP reader (VexoraReadBMPMemory).
//
// The input is read from a heap copy of exactly its size, so that any read past the end is a
// fault AddressSanitizer reports. Besides the absence of faults the reader's contract is
// checked: a result is a classic DIB (40-byte header, BI_RGB, bottom-up, 1/4/8/24 bits, a full
// colour table, a block of exactly header, table and rows) with an empty reason; a refusal
// sets the module error code and says why. Embedded JPEG and PNG files go to format modules,
// which the fuzz programs do not have: the message about the missing module is swallowed.
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "vexora.h"
#include "fuzz_support.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using vexora_fuzz::Check;
    static const bool quiet = (VexoraSetMessageSink([](const char*, const char*, UINT, void*) { return IDOK; }, nullptr), true);
    (void)quiet;
    const std::unique_ptr<uint8_t[]> copy(new uint8_t[size > 0 ? size : 1]);
    if (size > 0) std::memcpy(copy.get(), data, size);
    char reason[128] = "unset";
    SetImgError(IMGERR_SUCCESS);
    HDIB dib = VexoraReadBMPMemory(copy.get(), static_cast<DWORD>(size), reason, sizeof reason);
    if (dib == nullptr) {
        Check(ImgError() != IMGERR_SUCCESS && reason[0] != '\0' && std::strlen(reason) < sizeof reason);
        return 0;
    }
    Check(reason[0] == '\0');
    const std::vector<uint8_t> b = vexora_fuzz::Contents(dib);
    GlobalFree(dib);
    BITMAPINFOHEADER h;
    Check(b.size() >= sizeof h);
    std::memcpy(&h, b.data(), sizeof h);
    const bool embedded = size >= 34 && (data[30] == 4 || data[30] == 5) && data[31] == 0 && data[32] == 0 && data[33] == 0;
    if (embedded) return 0;  // a module's DIB: not this reader's form to check
    const uint32_t colours = h.biBitCount <= 8 ? 1u << h.biBitCount : 0;
    const uint64_t stride = (uint64_t(h.biWidth) * h.biBitCount + 31) / 32 * 4;
    Check(h.biSize == 40 && h.biCompression == 0 && h.biWidth > 0 && h.biHeight > 0 && h.biPlanes == 1);
    Check(h.biBitCount == 1 || h.biBitCount == 4 || h.biBitCount == 8 || h.biBitCount == 24);
    Check(h.biClrUsed == colours && h.biSizeImage == stride * uint64_t(h.biHeight));
    Check(b.size() == 40 + 4 * uint64_t(colours) + h.biSizeImage);
    return 0;
}
