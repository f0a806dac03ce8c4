// module_support.cpp - the status words, DIB blocks and files every format module shares.
#include "module_support.hpp"

#include <cerrno>
#include <cmath>
#include <cstring>
#include <utility>

#include "dib_layout.hpp"

namespace vxmod {

namespace {

int ImageErrorOf(int status) {
    switch (status) {
        case VXSTATUS_OPENFILE: return IMGERR_OPENFILE;
        case VXSTATUS_TRUNCATED: return IMGERR_IO;
        case VXSTATUS_TOOLARGE: return IMGERR_DIBSIZE;
        case VXSTATUS_NOMEMORY: return IMGERR_NOMEMORY;
        default: return IMGERR_FILEFORMAT;
    }
}

int32_t RoundedPels(double perMetre) {
    if (!(perMetre > 0) || perMetre > 2147483647.0) return 0;
    return static_cast<int32_t>(std::lround(perMetre));
}

}  // namespace

HDIB FailLoad(int* statusWord, int status) {
    if (statusWord != nullptr) *statusWord = status;
    SetImgError(ImageErrorOf(status));
    return nullptr;
}

void ReportLoaded(int* statusWord) {
    if (statusWord != nullptr) *statusWord = VXSTATUS_OK;
}

int FailSave(int imageError) {
    SetImgError(imageError);
    return 0;
}

bool WithinPixelLimit(int64_t width, int64_t height) {
    return width > 0 && height > 0 && width <= VXMOD_MAX_SIDE && height <= VXMOD_MAX_SIDE &&
           width * height <= VXMOD_MAX_PIXELS;
}

int32_t PelsPerMeterFromInch(double dpi) { return RoundedPels(dpi / 0.0254); }
int32_t PelsPerMeterFromCentimetre(double dpcm) { return RoundedPels(dpcm * 100.0); }

// ---- NewDib --------------------------------------------------------------------------------

std::optional<NewDib> NewDib::Create(int64_t width, int64_t height, int bits, int colours, int* status) {
    if (!WithinPixelLimit(width, height)) {
        *status = VXSTATUS_TOOLARGE;
        return std::nullopt;
    }
    const uint64_t stride = vx::RowStride64(static_cast<uint64_t>(width), static_cast<uint64_t>(bits));
    const uint64_t bytes = 40 + uint64_t(colours) * 4 + stride * static_cast<uint64_t>(height);
    NewDib dib;
    if (bytes > vx::kMaxBlockBytes ||
        (dib.block_ = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, static_cast<size_t>(bytes))) == nullptr ||
        (dib.bytes_ = static_cast<uint8_t*>(GlobalLock(dib.block_))) == nullptr) {
        *status = VXSTATUS_NOMEMORY;
        return std::nullopt;
    }
    dib.width_ = static_cast<int>(width);
    dib.height_ = static_cast<int>(height);
    dib.stride_ = static_cast<size_t>(stride);
    dib.pixels_ = dib.bytes_ + 40 + colours * 4;
    vx::InfoHeader h;
    h.width = dib.width_;
    h.height = dib.height_;
    h.bitCount = static_cast<uint16_t>(bits);
    h.sizeImage = static_cast<uint32_t>(stride * static_cast<uint64_t>(height));
    h.clrUsed = static_cast<uint32_t>(colours);
    vx::WriteInfoHeader(dib.bytes_, h);
    return dib;
}

NewDib::NewDib(NewDib&& other) noexcept
    : block_(std::exchange(other.block_, nullptr)), bytes_(other.bytes_), pixels_(other.pixels_),
      width_(other.width_), height_(other.height_), stride_(other.stride_) {}

NewDib::~NewDib() {
    if (block_ == nullptr) return;
    GlobalUnlock(block_);
    GlobalFree(block_);
}

void NewDib::setPalette(int index, uint8_t red, uint8_t green, uint8_t blue) {
    palette()[index] = RGBQUAD{blue, green, red, 0};
}

void NewDib::setGrayPalette() {
    const uint32_t colours = vx::LoadU32(bytes_ + vx::bih::kClrUsed);
    for (uint32_t i = 0; i < colours; ++i) {
        const auto level = static_cast<uint8_t>(colours > 1 ? i * 255 / (colours - 1) : 0);
        setPalette(static_cast<int>(i), level, level, level);
    }
}

void NewDib::setResolution(int32_t xPelsPerMeter, int32_t yPelsPerMeter) {
    vx::StoreI32(bytes_ + vx::bih::kXPels, xPelsPerMeter);
    vx::StoreI32(bytes_ + vx::bih::kYPels, yPelsPerMeter);
}

HDIB NewDib::release() {
    GlobalUnlock(block_);
    return std::exchange(block_, nullptr);
}

// ---- DibSource -----------------------------------------------------------------------------

std::optional<DibSource> DibSource::Open(HDIB dib) {
    if (dib == nullptr) {
        FailSave(IMGERR_PARAMETER);
        return std::nullopt;
    }
    DibSource source;
    const size_t blockBytes = GlobalSize(dib);
    source.bytes_ = static_cast<const uint8_t*>(GlobalLock(dib));
    if (source.bytes_ == nullptr) {
        FailSave(IMGERR_PARAMETER);
        return std::nullopt;
    }
    source.block_ = dib;
    const auto layout = vx::InspectDib(source.bytes_, blockBytes);
    if (!layout || layout->headerSize != vx::kInfoHeaderSize || layout->width <= 0 || layout->height <= 0 ||
        layout->width > INT32_MAX || layout->height > INT32_MAX) {
        FailSave(IMGERR_PARAMETER);
        return std::nullopt;
    }
    if (layout->compressed()) {
        FailSave(IMGERR_COMPRESSED);
        return std::nullopt;
    }
    if (layout->bitCount != 1 && layout->bitCount != 4 && layout->bitCount != 8 && layout->bitCount != 24) {
        FailSave(IMGERR_BITCOUNT);
        return std::nullopt;
    }
    if (!layout->holdsPixels()) {
        FailSave(IMGERR_PARAMETER);
        return std::nullopt;
    }
    source.width_ = static_cast<int>(layout->width);
    source.height_ = static_cast<int>(layout->height);
    source.bits_ = static_cast<int>(layout->bitCount);
    source.colours_ = static_cast<int>(layout->colorCount);
    source.stride_ = static_cast<size_t>(layout->stride);
    source.pixels_ = source.bytes_ + layout->pixelOffset;
    return source;
}

DibSource::DibSource(DibSource&& other) noexcept
    : block_(std::exchange(other.block_, nullptr)), bytes_(other.bytes_), pixels_(other.pixels_),
      width_(other.width_), height_(other.height_), bits_(other.bits_), colours_(other.colours_),
      stride_(other.stride_) {}

DibSource::~DibSource() {
    if (block_ != nullptr) GlobalUnlock(block_);
}

int32_t DibSource::xPelsPerMeter() const { return vx::LoadI32(bytes_ + vx::bih::kXPels); }
int32_t DibSource::yPelsPerMeter() const { return vx::LoadI32(bytes_ + vx::bih::kYPels); }

bool DibSource::grayPalette() const {
    if (colours_ < 2) return false;
    for (int i = 0; i < colours_; ++i) {
        const RGBQUAD& c = palette()[i];
        const int level = i * 255 / (colours_ - 1);
        if (c.rgbRed != level || c.rgbGreen != level || c.rgbBlue != level) return false;
    }
    return true;
}

// ---- Files ---------------------------------------------------------------------------------

std::optional<std::vector<uint8_t>> ReadWholeFile(LPCSTR fileName, int* status) {
    std::FILE* file = fileName ? std::fopen(fileName, "rb") : nullptr;
    if (file == nullptr) {
        *status = VXSTATUS_OPENFILE;
        return std::nullopt;
    }
    std::vector<uint8_t> bytes;
    long size = -1;
    if (std::fseek(file, 0, SEEK_END) == 0) size = std::ftell(file);
    std::rewind(file);
    try {
        if (size > 0) bytes.reserve(static_cast<size_t>(size));
        uint8_t chunk[65536];
        size_t got;
        while ((got = std::fread(chunk, 1, sizeof chunk, file)) > 0) bytes.insert(bytes.end(), chunk, chunk + got);
    } catch (const std::bad_alloc&) {
        std::fclose(file);
        *status = VXSTATUS_NOMEMORY;
        return std::nullopt;
    }
    const bool failed = std::ferror(file) != 0;
    std::fclose(file);
    if (failed) {
        *status = VXSTATUS_TRUNCATED;
        return std::nullopt;
    }
    return bytes;
}

std::optional<OutputFile> OutputFile::Open(LPCSTR fileName, Mode mode) {
    if (fileName == nullptr) {
        FailSave(IMGERR_PARAMETER);
        return std::nullopt;
    }
    OutputFile out;
    out.file_ = std::fopen(fileName, mode == Mode::Create ? "wb" : "r+b");
    if (out.file_ == nullptr) {
        FailSave(IMGERR_OPENFILE);
        return std::nullopt;
    }
    out.name_ = fileName;
    out.removeOnFailure_ = mode == Mode::Create;
    return out;
}

OutputFile::OutputFile(OutputFile&& other) noexcept
    : file_(std::exchange(other.file_, nullptr)), name_(std::move(other.name_)),
      removeOnFailure_(other.removeOnFailure_), failed_(other.failed_) {}

OutputFile::~OutputFile() {
    if (file_ == nullptr) return;
    std::fclose(file_);
    if (removeOnFailure_) std::remove(name_.c_str());
}

bool OutputFile::write(const void* data, size_t bytes) {
    if (!failed_ && bytes > 0 && std::fwrite(data, 1, bytes, file_) != bytes) failed_ = true;
    return !failed_;
}

bool OutputFile::commit() {
    std::FILE* file = std::exchange(file_, nullptr);
    const bool ok = !failed_ && std::ferror(file) == 0 && std::fflush(file) == 0;
    const bool closed = std::fclose(file) == 0;
    if (ok && closed) return true;
    if (removeOnFailure_) std::remove(name_.c_str());
    FailSave(IMGERR_IO);
    return false;
}

}  // namespace vxmod
