// vxgifr.cpp - the GIF reader of module VXGIFR: LoadGIFIntoDIB.
//
// A page is a frame of an animation, and what it gives is the picture a viewer shows at that
// frame: the logical screen with frames 1 to N drawn in order, each disposed of as its graphic
// control extension says before the next is drawn. The screen starts transparent, transparent
// pixels let through what is below, "restore background" makes the frame's rectangle
// transparent again (the screen's background colour index is not used, as viewers do), and
// whatever is still transparent at the end shows as white. Frames outside the screen are
// clipped to it.
//
// giflib decodes from the file's bytes in memory, record by record, so that reading stops at
// the frame asked for and every size is checked against the pixel limit before anything is
// allocated for it. Frames that are disposed of before the page asked for ("restore
// background", "restore previous") cannot show: their data is passed over without decoding,
// which is also why "restore previous" needs no copy of the screen.
//
// The screen is kept as one cell per pixel: the index a frame drew there and the colour table
// it drew with, or "nothing" (transparent so far). Equal colour tables share one entry, so the
// result is paletted whenever every pixel shown comes from the same table, with white for the
// transparent ones taken from that table's first white entry; anything else is 24-bit. The
// choice of depth is made once, after drawing, on the cells.
#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <span>
#include <unordered_map>
#include <vector>

#include <gif_lib.h>

#include "module_support.hpp"

namespace {

using vxmod::NewDib;

// How a load failed: the status word it reports.
struct LoadFailure {
    int status;
};

// The file's bytes as giflib's input. A read that asks for more than is left marks the file as
// cut short, which is how a codec error is told apart from a truncation.
struct MemoryInput {
    const uint8_t* bytes;
    size_t size;
    size_t at = 0;
    bool ranOut = false;

    bool atEnd() const { return at == size; }
};

int ReadFromMemory(GifFileType* gif, GifByteType* into, int wanted) {
    auto* input = static_cast<MemoryInput*>(gif->UserData);
    size_t count = wanted > 0 ? static_cast<size_t>(wanted) : 0;
    if (count > input->size - input->at) {
        count = input->size - input->at;
        input->ranOut = true;
    }
    if (count > 0) std::memcpy(into, input->bytes + input->at, count);
    input->at += count;
    return static_cast<int>(count);
}

struct DecoderCloser {
    void operator()(GifFileType* gif) const { DGifCloseFile(gif, nullptr); }
};
using Decoder = std::unique_ptr<GifFileType, DecoderCloser>;

int StatusOfCodecError(const MemoryInput& input, int gifError) {
    if (input.ranOut) return VXSTATUS_TRUNCATED;
    if (gifError == D_GIF_ERR_NOT_ENOUGH_MEM) return VXSTATUS_NOMEMORY;
    return VXSTATUS_CORRUPT;
}

// Every colour table a frame drew with, equal tables kept once.
class ColourTables {
public:
    // The slot of a table with these entries, added when no equal one is kept yet.
    uint32_t slotOf(std::span<const GifColorType> colours) {
        uint64_t hash = 1469598103934665603ull ^ colours.size();
        for (const GifColorType& c : colours)
            hash = (hash ^ (uint32_t(c.Red) << 16 | uint32_t(c.Green) << 8 | c.Blue)) * 1099511628211ull;
        const auto [first, last] = byHash_.equal_range(hash);
        for (auto it = first; it != last; ++it) {
            const auto kept = table(it->second);
            if (std::equal(kept.begin(), kept.end(), colours.begin(), colours.end(), SameColour)) return it->second;
        }
        // Cells hold the slot in 24 bits with all ones meaning "nothing".
        if (starts_.size() >= (1u << 24) - 1) throw LoadFailure{VXSTATUS_UNSUPPORTED};
        const auto slot = static_cast<uint32_t>(starts_.size());
        starts_.push_back(entries_.size());
        entries_.insert(entries_.end(), colours.begin(), colours.end());
        byHash_.emplace(hash, slot);
        return slot;
    }

    std::span<const GifColorType> table(uint32_t slot) const {
        const size_t end = slot + 1 < starts_.size() ? starts_[slot + 1] : entries_.size();
        return {entries_.data() + starts_[slot], end - starts_[slot]};
    }

private:
    static bool SameColour(const GifColorType& a, const GifColorType& b) {
        return a.Red == b.Red && a.Green == b.Green && a.Blue == b.Blue;
    }
    std::vector<GifColorType> entries_;
    std::vector<size_t> starts_;
    std::unordered_multimap<uint64_t, uint32_t> byHash_;
};

// A cell of the screen: slot << 8 | index, or kNothing where no frame has left a pixel.
constexpr uint32_t kNothing = 0xFFFFFFFFu;

struct Screen {
    int width = 0, height = 0;
    std::vector<uint32_t> cells;

    uint32_t* row(int y) { return cells.data() + size_t(y) * size_t(width); }
};

// What the graphic control extension before a frame says about it.
struct FrameControl {
    int disposal = DISPOSAL_UNSPECIFIED;
    int transparent = NO_TRANSPARENT_COLOR;
};

// The part of a frame's rectangle inside the screen.
struct Clip {
    int left, top, width, height;
    bool empty() const { return width <= 0 || height <= 0; }
};

Clip ClipToScreen(const GifImageDesc& frame, const Screen& screen) {
    const int right = std::min(screen.width, frame.Left + frame.Width);
    const int bottom = std::min(screen.height, frame.Top + frame.Height);
    return {frame.Left, frame.Top, right - frame.Left, bottom - frame.Top};
}

// A gray ramp over the indices a frame's code size allows, for frames without any table.
std::vector<GifColorType> GrayRamp(int codeSize) {
    const int count = 1 << codeSize;
    std::vector<GifColorType> ramp(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) {
        const auto level = static_cast<GifByteType>(i * 255 / (count - 1));
        ramp[static_cast<size_t>(i)] = {level, level, level};
    }
    return ramp;
}

// Draws one decoded row of a frame: every pixel but the transparent index.
void DrawRow(uint32_t* cells, const GifPixelType* pixels, int count, uint32_t slotBits, int transparent) {
    for (int x = 0; x < count; ++x)
        if (pixels[x] != transparent) cells[x] = slotBits | pixels[x];
}

// The GIF being read: its decoder, the screen and the tables drawn with so far.
class GifLoad {
public:
    explicit GifLoad(const std::vector<uint8_t>& bytes) : input_{bytes.data(), bytes.size()} {
        int error = D_GIF_SUCCEEDED;
        gif_.reset(DGifOpen(&input_, ReadFromMemory, &error));
        if (!gif_)
            throw LoadFailure{error == D_GIF_ERR_NOT_GIF_FILE ? VXSTATUS_NOTFORMAT : StatusOfCodecError(input_, error)};
    }

    // Reads records up to frame `page` (from 1) and gives the picture shown at that frame.
    HDIB load(int page) {
        FrameControl control;
        for (int frame = 0;;) {
            // A file that stops where a record would start ends there, as if the trailer followed.
            if (input_.atEnd()) throw LoadFailure{VXSTATUS_NOPAGE};
            GifRecordType type = UNDEFINED_RECORD_TYPE;
            check(DGifGetRecordType(gif_.get(), &type));
            if (type == TERMINATE_RECORD_TYPE) throw LoadFailure{VXSTATUS_NOPAGE};
            if (type == EXTENSION_RECORD_TYPE) {
                readExtension(control);
                continue;
            }
            check(DGifGetImageHeader(gif_.get()));
            // DGifGetImageHeader stops right after the LZW code size byte; giflib refuses sizes
            // over 8 and would run a 0 into codes of no bits.
            const int codeSize = input_.bytes[input_.at - 1];
            if (codeSize == 0) throw LoadFailure{VXSTATUS_CORRUPT};
            ++frame;
            const GifImageDesc frameDesc = gif_->Image;
            const bool empty = frameDesc.Width <= 0 || frameDesc.Height <= 0;
            if (!empty && !vxmod::WithinPixelLimit(frameDesc.Width, frameDesc.Height))
                throw LoadFailure{VXSTATUS_TOOLARGE};
            if (screen_.cells.empty()) makeScreen(frameDesc);
            const Clip clip = ClipToScreen(frameDesc, screen_);
            const bool last = frame == page;
            const bool disposed = control.disposal == DISPOSE_BACKGROUND || control.disposal == DISPOSE_PREVIOUS;
            if (last) shownSlot_ = slotOfFrame(codeSize);
            if ((last || !disposed) && !clip.empty())
                drawFrame(frameDesc, clip, last ? shownSlot_ : slotOfFrame(codeSize), control.transparent);
            else
                passOverFrame();
            if (last) return picture();
            if (control.disposal == DISPOSE_BACKGROUND && !clip.empty()) clear(clip);
            control = {};
        }
    }

private:
    void check(int result) const {
        if (result == GIF_ERROR) throw LoadFailure{StatusOfCodecError(input_, gif_->Error)};
    }

    void readExtension(FrameControl& control) {
        int code = 0;
        GifByteType* block = nullptr;
        check(DGifGetExtension(gif_.get(), &code, &block));
        // Only a well-formed graphic control block counts; other extensions are passed over.
        GraphicsControlBlock gcb;
        if (code == GRAPHICS_EXT_FUNC_CODE && block != nullptr &&
            DGifExtensionToGCB(block[0], block + 1, &gcb) == GIF_OK)
            control = {gcb.DisposalMode, gcb.TransparentColor};
        while (block != nullptr) check(DGifGetExtensionNext(gif_.get(), &block));
    }

    // The screen, checked against the pixel limit before it is made. A screen of no width or
    // height takes the extent of the first frame; with that empty too there is no picture.
    void makeScreen(const GifImageDesc& first) {
        int width = gif_->SWidth, height = gif_->SHeight;
        if (width <= 0 || height <= 0) {
            width = first.Left + first.Width;
            height = first.Top + first.Height;
        }
        if (width <= 0 || height <= 0) throw LoadFailure{VXSTATUS_CORRUPT};
        if (!vxmod::WithinPixelLimit(width, height)) throw LoadFailure{VXSTATUS_TOOLARGE};
        screen_.width = width;
        screen_.height = height;
        screen_.cells.assign(size_t(width) * size_t(height), kNothing);
    }

    uint32_t slotOfFrame(int codeSize) {
        const ColorMapObject* map = gif_->Image.ColorMap ? gif_->Image.ColorMap : gif_->SColorMap;
        if (map != nullptr) return tables_.slotOf({map->Colors, static_cast<size_t>(map->ColorCount)});
        return tables_.slotOf(GrayRamp(codeSize));
    }

    // Decodes every row (interlaced rows in their four passes) and draws the part on screen.
    void drawFrame(const GifImageDesc& frame, const Clip& clip, uint32_t slot, int transparent) {
        std::vector<GifPixelType> pixels(static_cast<size_t>(frame.Width));
        static constexpr int kPassStart[] = {0, 4, 2, 1}, kPassStep[] = {8, 8, 4, 2};
        const int passes = frame.Interlace ? 4 : 1;
        for (int pass = 0; pass < passes; ++pass) {
            const int step = frame.Interlace ? kPassStep[pass] : 1;
            for (int y = frame.Interlace ? kPassStart[pass] : 0; y < frame.Height; y += step) {
                check(DGifGetLine(gif_.get(), pixels.data(), frame.Width));
                if (y < clip.height)
                    DrawRow(screen_.row(clip.top + y) + clip.left, pixels.data(), clip.width, slot << 8, transparent);
            }
        }
    }

    void passOverFrame() {
        int codeSize = 0;
        GifByteType* block = nullptr;
        check(DGifGetCode(gif_.get(), &codeSize, &block));
        while (block != nullptr) check(DGifGetCodeNext(gif_.get(), &block));
    }

    void clear(const Clip& clip) {
        for (int y = 0; y < clip.height; ++y) std::fill_n(screen_.row(clip.top + y) + clip.left, clip.width, kNothing);
    }

    HDIB picture();

    MemoryInput input_;
    Decoder gif_;
    Screen screen_;
    ColourTables tables_;
    uint32_t shownSlot_ = 0;
};

// What the cells of the finished screen hold: whether a single table covers every coloured
// pixel (and which), the largest index drawn, and whether anything is left transparent.
struct ScreenUse {
    std::optional<uint32_t> onlySlot;
    bool severalSlots = false;
    bool anyNothing = false;
    int largestIndex = 0;
};

ScreenUse Survey(const std::vector<uint32_t>& cells) {
    ScreenUse use;
    for (const uint32_t cell : cells) {
        if (cell == kNothing) {
            use.anyNothing = true;
            continue;
        }
        const uint32_t slot = cell >> 8;
        if (!use.onlySlot) use.onlySlot = slot;
        if (*use.onlySlot != slot) {
            use.severalSlots = true;
            return use;
        }
        use.largestIndex = std::max(use.largestIndex, int(cell & 0xFF));
    }
    return use;
}

template <int Bits>
void PackIndexRow(uint8_t* out, const uint32_t* cells, int width, uint8_t whiteIndex) {
    constexpr int kPerByte = 8 / Bits;
    for (int x = 0; x < width; ++x) {
        const uint8_t index = cells[x] == kNothing ? whiteIndex : static_cast<uint8_t>(cells[x]);
        if constexpr (Bits == 8)
            out[x] = index;
        else
            out[x / kPerByte] |= static_cast<uint8_t>(index << (8 - Bits * (x % kPerByte + 1)));
    }
}

// Colours of the cells; an index past its table reads the black of a table padded with zeros.
void ColourRow(uint8_t* out, const uint32_t* cells, int width, const ColourTables& tables) {
    for (int x = 0; x < width; ++x, out += 3) {
        if (cells[x] == kNothing) {
            out[0] = out[1] = out[2] = 255;
            continue;
        }
        const auto table = tables.table(cells[x] >> 8);
        const size_t index = cells[x] & 0xFF;
        if (index >= table.size()) continue;  // the DIB is zero-filled
        out[0] = table[index].Blue;
        out[1] = table[index].Green;
        out[2] = table[index].Red;
    }
}

HDIB GifLoad::picture() {
    const ScreenUse use = Survey(screen_.cells);
    const uint32_t slot = use.onlySlot.value_or(shownSlot_);
    const auto table = tables_.table(slot);
    const auto white = std::find_if(table.begin(), table.end(), [](const GifColorType& c) {
        return c.Red == 255 && c.Green == 255 && c.Blue == 255;
    });
    const bool paletted = !use.severalSlots && (!use.anyNothing || white != table.end());
    const int entries = std::max(static_cast<int>(table.size()), use.largestIndex + 1);
    const int bits = !paletted ? 24 : entries <= 2 ? 1 : entries <= 16 ? 4 : 8;
    int status = VXSTATUS_OK;
    std::optional<NewDib> dib =
        NewDib::Create(screen_.width, screen_.height, bits, bits == 24 ? 0 : 1 << bits, &status);
    if (!dib) throw LoadFailure{status};
    if (paletted) {
        for (size_t i = 0; i < table.size(); ++i) dib->setPalette(int(i), table[i].Red, table[i].Green, table[i].Blue);
        const auto whiteIndex = static_cast<uint8_t>(white - table.begin());
        auto pack = bits == 1 ? PackIndexRow<1> : bits == 4 ? PackIndexRow<4> : PackIndexRow<8>;
        for (int y = 0; y < screen_.height; ++y) pack(dib->row(y), screen_.row(y), screen_.width, whiteIndex);
    } else {
        for (int y = 0; y < screen_.height; ++y) ColourRow(dib->row(y), screen_.row(y), screen_.width, tables_);
    }
    return dib->release();
}

HDIB Load(LPCSTR fileName, int page, int* status) {
    int readStatus = VXSTATUS_OK;
    const auto bytes = vxmod::ReadWholeFile(fileName, &readStatus);
    if (!bytes) throw LoadFailure{readStatus};
    if (bytes->size() < 3 || std::memcmp(bytes->data(), "GIF", 3) != 0) throw LoadFailure{VXSTATUS_NOTFORMAT};
    GifLoad gif(*bytes);
    HDIB dib = gif.load(page < 1 ? 1 : page);
    vxmod::ReportLoaded(status);
    return dib;
}

}  // namespace

HDIB VXMODULECALL LoadGIFIntoDIB(LPCSTR fileName, int page, int* status) {
    try {
        return Load(fileName, page, status);
    } catch (const LoadFailure& failure) {
        return vxmod::FailLoad(status, failure.status);
    } catch (...) {
        return vxmod::FailLoad(status, VXSTATUS_NOMEMORY);
    }
}
