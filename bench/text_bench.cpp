// LoadASCIIIntoBitmap of 100 MB of text: lines of 98 characters (cut by the estimate after
// some 2047 lines, so the pass over the whole text is what costs), and one line without any
// break (estimated and measured whole, drawn to DrawTextA's 1024 characters). Glyphs depend on
// the installed FreeType and fonts, so each case checks the structure of its first bitmap (one
// bit per pixel, the height its lines give) rather than a digest. The rendering cuts the text
// in its block, so the block is filled again, untimed, before each run.
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>

#include "vexora.h"

namespace {

constexpr size_t kTextBytes = size_t{100} << 20;

// `bytes` of text made of `line` repeated, in a movable block with room for its terminator.
struct TextBlock {
    explicit TextBlock(const std::string& line) : text(kTextBytes, '\0') {
        for (size_t at = 0; at < kTextBytes; at += line.size())
            text.replace(at, std::min(line.size(), kTextBytes - at), line, 0, std::min(line.size(), kTextBytes - at));
        block = GlobalAlloc(GMEM_MOVEABLE, kTextBytes + 1);
        refill();
    }
    ~TextBlock() { GlobalFree(block); }
    void refill() const {
        if (void* p = GlobalLock(block)) {
            std::memcpy(p, text.data(), kTextBytes);
            GlobalUnlock(block);
        }
    }
    std::string text;
    HGLOBAL block = nullptr;
};

void BM_LoadASCIIIntoBitmap(benchmark::State& state) {
    VexoraSetMessageSink([](const char*, const char*, UINT, void*) { return IDOK; }, nullptr);
    const bool lines = state.range(0) != 0;
    const TextBlock text(lines ? std::string(98, 'x') + "\r\n" : std::string("The quick brown fox. "));
    HBITMAP first = LoadASCIIIntoBitmap(text.block);
    BITMAP info{};
    const bool ok = first != nullptr && GetObjectA(first, sizeof info, &info) == static_cast<int>(sizeof info) &&
                    info.bmBitsPixel == 1 && info.bmHeight % 16 == 0 &&
                    (lines ? info.bmHeight > 32000 && info.bmHeight < 32767 : info.bmHeight == 16);
    DeleteObject(first);
    VexoraSetMessageSink(nullptr, nullptr);
    if (!ok) {
        state.SkipWithError(("unexpected bitmap: " + std::to_string(info.bmWidth) + " x " +
                             std::to_string(info.bmHeight) + " at " + std::to_string(info.bmBitsPixel) + " bits")
                                .c_str());
        return;
    }
    VexoraSetMessageSink([](const char*, const char*, UINT, void*) { return IDOK; }, nullptr);
    for (auto _ : state) {
        state.PauseTiming();
        text.refill();
        state.ResumeTiming();
        HBITMAP bitmap = LoadASCIIIntoBitmap(text.block);
        benchmark::DoNotOptimize(bitmap);
        DeleteObject(bitmap);
    }
    VexoraSetMessageSink(nullptr, nullptr);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(kTextBytes));
}
BENCHMARK(BM_LoadASCIIIntoBitmap)->ArgName("lines")->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond);

}  // namespace
