// rows_codecs.cpp - the peer rows of run-length coding (CompressDIB, ExpandCompressedDIB) and
// of BMP files (SaveDIB, LoadDIBFromFile).
//
// RLE8 encoding: only FreeImage writes RLE8 (BMP_SAVE_RLE); it encodes into a memory stream,
// as CompressDIB works in memory. RLE8 decoding: every peer decodes a BMP file held in memory
// whose pixels are the stream CompressDIB made (the file header followed by the compressed
// DIB); a peer that refuses it is left out of the row (Leptonica reads no compressed BMP, and
// the FreeImage of Debian 12 fails on every RLE8 file, its own included). File rows write and read real files,
// every library in the same directory, a tmpfs (/dev/shm) so that the disk does not dominate;
// the read rows all read the file SaveDIB wrote.
#include <opencv2/imgcodecs.hpp>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "peer_bench.hpp"

namespace peers {
bool FreeImageEncodeRle8(FIBITMAP* bitmap);                         // rows_codecs_freeimage.cpp
FIBITMAP* FreeImageDecodeBmp(const uint8_t* file, size_t bytes);
bool FreeImageSaveBmp(FIBITMAP* bitmap, const char* path);
FIBITMAP* FreeImageLoadBmp(const char* path);
}  // namespace peers

namespace {

using namespace peers;

const char kDirectory[] = "/dev/shm/vexora_peer_codecs_";

[[noreturn]] void Refused(const char* what) {
    std::fprintf(stderr, "peer_bench: %s failed\n", what);
    std::exit(1);
}

// A BMP file in memory: the file header, then the DIB's whole block.
std::vector<uint8_t> BmpFileBytes(HDIB dib) {
    const size_t block = GlobalSize(dib);
    std::vector<uint8_t> file(14 + block);
    const auto* p = static_cast<const uint8_t*>(GlobalLock(dib));
    uint32_t header, bits, used;
    std::memcpy(&header, p, 4);
    bits = uint32_t(p[14]) | uint32_t(p[15]) << 8;
    std::memcpy(&used, p + 32, 4);
    const uint32_t offBits = 14 + header + 4 * (bits <= 8 ? (used ? used : 1u << bits) : 0);
    const uint32_t size = uint32_t(file.size());
    file[0] = 'B', file[1] = 'M';
    std::memcpy(&file[2], &size, 4);
    std::memcpy(&file[10], &offBits, 4);
    std::memcpy(&file[14], p, block);
    GlobalUnlock(dib);
    return file;
}

struct Encoded {
    Sources sources;
    HDIB compressed;
    std::vector<uint8_t> file;
    explicit Encoded(Dib picture) : sources(std::move(picture)), compressed(CompressDIB(sources.dib.handle())) {
        if (!compressed) Refused("CompressDIB");
        file = BmpFileBytes(compressed);
    }
    ~Encoded() { GlobalFree(compressed); }
};

RowMaker EncodeRow(std::string name, Dib (*picture)()) {
    return {name, [name, picture] {
                auto s = std::make_shared<Sources>(picture());
                Sources* t = s.get();
                return Row{name,
                           {Vexora([t] { return CompressDIB(t->dib.handle()); }),
                            Plain("FreeImage", [t] { if (!FreeImageEncodeRle8(t->bitmap.get())) Refused("FreeImage RLE8"); })},
                           s};
            }};
}

RowMaker DecodeRow(std::string name, Dib (*picture)()) {
    return {name, [name, picture] {
                auto e = std::make_shared<Encoded>(picture());
                Encoded* t = e.get();
                std::vector<Contender> contenders{
                    Vexora([t] { return ExpandCompressedDIB(t->compressed); }),
                    Plain("OpenCV", [t] {
                        cv::imdecode(t->file, cv::IMREAD_UNCHANGED, &t->sources.out);
                        if (t->sources.out.rows != t->sources.dib.height()) Refused("cv::imdecode");
                    })};
                if (FIBITMAP* probe = FreeImageDecodeBmp(t->file.data(), t->file.size())) {
                    FreeImageUnload(probe);
                    contenders.push_back(FreeImage([t] { return FreeImageDecodeBmp(t->file.data(), t->file.size()); }));
                }
                if (PIX* probe = pixReadMemBmp(t->file.data(), t->file.size())) {
                    pixDestroy(&probe);
                    contenders.push_back(Leptonica([t] { return pixReadMemBmp(t->file.data(), t->file.size()); }));
                }
                return Row{name, std::move(contenders), e};
            }};
}

struct Files {
    Sources sources;
    std::string vexora, opencv, leptonica, freeimage;
    explicit Files(Dib picture, int bits)
        : sources(std::move(picture)),
          vexora(kDirectory + std::to_string(bits) + "_vexora.bmp"),
          opencv(kDirectory + std::to_string(bits) + "_opencv.bmp"),
          leptonica(kDirectory + std::to_string(bits) + "_leptonica.bmp"),
          freeimage(kDirectory + std::to_string(bits) + "_freeimage.bmp") {}
    ~Files() {
        for (const auto* path : {&vexora, &opencv, &leptonica, &freeimage}) std::remove(path->c_str());
    }
};

RowMaker WriteRow(int bits) {
    const std::string name = "BMP write " + std::to_string(bits) + "-bit 4096 /dev/shm";
    return {name, [name, bits] {
                auto f = std::make_shared<Files>(Photo(4096, 4096, bits), bits);
                Files* t = f.get();
                return Row{name,
                           {Plain("Vexora", [t] { if (!SaveDIB(t->vexora.c_str(), t->sources.dib.handle())) Refused("SaveDIB"); }),
                            Plain("OpenCV", [t] { if (!cv::imwrite(t->opencv, t->sources.mat)) Refused("cv::imwrite"); }),
                            Plain("Leptonica", [t] { if (pixWrite(t->leptonica.c_str(), t->sources.pix.get(), IFF_BMP)) Refused("pixWrite"); }),
                            Plain("FreeImage", [t] { if (!FreeImageSaveBmp(t->sources.bitmap.get(), t->freeimage.c_str())) Refused("FreeImage_Save"); })},
                           f};
            }};
}

RowMaker ReadRow(int bits) {
    const std::string name = "BMP read " + std::to_string(bits) + "-bit 4096 /dev/shm";
    return {name, [name, bits] {
                auto f = std::make_shared<Files>(Photo(4096, 4096, bits), bits);
                Files* t = f.get();
                if (!SaveDIB(t->vexora.c_str(), t->sources.dib.handle())) Refused("SaveDIB");
                return Row{name,
                           {Vexora([t] { return LoadDIBFromFile(t->vexora.c_str()); }),
                            Plain("OpenCV", [t] { t->sources.out = cv::imread(t->vexora, cv::IMREAD_UNCHANGED); if (t->sources.out.empty()) Refused("cv::imread"); }),
                            Leptonica([t] { return pixRead(t->vexora.c_str()); }),
                            FreeImage([t] { return FreeImageLoadBmp(t->vexora.c_str()); })},
                           f};
            }};
}

Dib GraphicsPicture() { return Graphics(4096, 4096); }
Dib PhotoPicture() { return Photo(4096, 4096, 8); }

const bool registered = RegisterRows([](std::vector<RowMaker>& rows) {
    rows.push_back(EncodeRow("RLE8 encode graphics 4096", GraphicsPicture));
    rows.push_back(EncodeRow("RLE8 encode photo 8-bit 4096", PhotoPicture));
    rows.push_back(DecodeRow("RLE8 decode graphics 4096", GraphicsPicture));
    rows.push_back(DecodeRow("RLE8 decode photo 8-bit 4096", PhotoPicture));
    for (int bits : {8, 24}) rows.push_back(WriteRow(bits));
    for (int bits : {8, 24}) rows.push_back(ReadRow(bits));
});

}  // namespace
