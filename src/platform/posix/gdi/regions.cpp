// regions.cpp - regions of the Linux subset: CreateRectRgn, CreateRectRgnIndirect, CombineRgn,
// GetRgnBox, OffsetRgn and PtInRegion, over the banded lists of regions.hpp (RectRegion,
// CombineBands, RegionComplexity, RegionBox), which clipping uses too.
//
// CombineBands sweeps both regions band by band: the tops and bottoms of both cut the plane
// into horizontal strips, in each strip the spans of the two regions are merged by the
// operation, and a strip whose spans equal those of the strip just above it (and touches it)
// is folded into it. That yields the unique banded form Windows answers, so GetRgnBox and the
// SIMPLEREGION / COMPLEXREGION answers agree with it for any sequence of combinations.
//
// A region call given anything but a live region answers ERROR (FALSE for PtInRegion), as
// Windows does; CombineRgn checks its second source only for the modes that read it.
#include <algorithm>
#include <cstdint>
#include <memory>

#include "platform/posix/gdi/objects.hpp"
#include "platform/posix/gdi/regions.hpp"

namespace vx::posix::gdi {
namespace {

struct Span {
    int left, right;
};

// One band of a region: rectangles [first, last) of its list share top and bottom.
struct Band {
    int top, bottom;
    size_t first, last;
};

std::vector<Band> SplitBands(const Bands& rects) {
    std::vector<Band> bands;
    for (size_t i = 0; i < rects.size();) {
        size_t j = i;
        while (j < rects.size() && rects[j].top == rects[i].top) ++j;
        bands.push_back({static_cast<int>(rects[i].top), static_cast<int>(rects[i].bottom), i, j});
        i = j;
    }
    return bands;
}

// The spans of two sorted, disjoint span lists that `mode` keeps, merged where they touch.
void CombineSpans(const Bands& a, const Band* bandA, const Bands& b, const Band* bandB, int mode,
                  std::vector<Span>& out) {
    out.clear();
    std::vector<int> edges;
    auto add = [&](const Bands& rects, const Band* band) {
        if (band == nullptr) return;
        for (size_t i = band->first; i < band->last; ++i) {
            edges.push_back(rects[i].left);
            edges.push_back(rects[i].right);
        }
    };
    add(a, bandA);
    add(b, bandB);
    std::sort(edges.begin(), edges.end());
    edges.erase(std::unique(edges.begin(), edges.end()), edges.end());
    auto inside = [](const Bands& rects, const Band* band, int x) {
        if (band == nullptr) return false;
        for (size_t i = band->first; i < band->last; ++i) {
            if (rects[i].left <= x && x < rects[i].right) return true;
        }
        return false;
    };
    for (size_t i = 0; i + 1 < edges.size(); ++i) {
        const bool inA = inside(a, bandA, edges[i]), inB = inside(b, bandB, edges[i]);
        bool keep = false;
        switch (mode) {
            case RGN_AND: keep = inA && inB; break;
            case RGN_OR: keep = inA || inB; break;
            case RGN_XOR: keep = inA != inB; break;
            case RGN_DIFF: keep = inA && !inB; break;
        }
        if (!keep) continue;
        if (!out.empty() && out.back().right == edges[i]) {
            out.back().right = edges[i + 1];
        } else {
            out.push_back({edges[i], edges[i + 1]});
        }
    }
}

}  // namespace

Bands RectRegion(int left, int top, int right, int bottom) {
    if (left > right) std::swap(left, right);
    if (top > bottom) std::swap(top, bottom);
    if (left == right || top == bottom) return {};
    return {RECT{left, top, right, bottom}};
}

Bands CombineBands(const Bands& first, const Bands& second, int mode) {
    const std::vector<Band> bandsA = SplitBands(first), bandsB = SplitBands(second);
    std::vector<int> cuts;
    for (const Band& band : bandsA) cuts.insert(cuts.end(), {band.top, band.bottom});
    for (const Band& band : bandsB) cuts.insert(cuts.end(), {band.top, band.bottom});
    std::sort(cuts.begin(), cuts.end());
    cuts.erase(std::unique(cuts.begin(), cuts.end()), cuts.end());

    Bands result;
    std::vector<Span> spans, previous;
    size_t previousFirst = 0;  // where the last band emitted starts in result
    int previousBottom = 0;
    bool havePrevious = false;
    size_t ia = 0, ib = 0;
    for (size_t c = 0; c + 1 < cuts.size(); ++c) {
        const int top = cuts[c], bottom = cuts[c + 1];
        while (ia < bandsA.size() && bandsA[ia].bottom <= top) ++ia;
        while (ib < bandsB.size() && bandsB[ib].bottom <= top) ++ib;
        const Band* bandA = ia < bandsA.size() && bandsA[ia].top <= top ? &bandsA[ia] : nullptr;
        const Band* bandB = ib < bandsB.size() && bandsB[ib].top <= top ? &bandsB[ib] : nullptr;
        CombineSpans(first, bandA, second, bandB, mode, spans);
        if (spans.empty()) continue;
        const bool same = havePrevious && previousBottom == top && spans.size() == previous.size() &&
                          std::equal(spans.begin(), spans.end(), previous.begin(), [](Span x, Span y) {
                              return x.left == y.left && x.right == y.right;
                          });
        if (same) {
            for (size_t i = previousFirst; i < result.size(); ++i) result[i].bottom = bottom;
        } else {
            previousFirst = result.size();
            for (const Span& span : spans) result.push_back(RECT{span.left, top, span.right, bottom});
            previous = spans;
        }
        previousBottom = bottom;
        havePrevious = true;
    }
    return result;
}

int RegionComplexity(const Bands& bands) {
    return bands.empty() ? NULLREGION : bands.size() == 1 ? SIMPLEREGION : COMPLEXREGION;
}

RECT RegionBox(const Bands& bands) {
    if (bands.empty()) return RECT{0, 0, 0, 0};
    RECT box{bands.front().left, bands.front().top, bands.front().right, bands.back().bottom};
    for (const RECT& rect : bands) {
        box.left = std::min(box.left, rect.left);
        box.right = std::max(box.right, rect.right);
    }
    return box;
}

}  // namespace vx::posix::gdi

using vx::posix::gdi::Bands;
using vx::posix::gdi::Objects;
using vx::posix::gdi::Region;

namespace {

HRGN NewRegion(Bands bands) {
    try {
        auto region = std::make_unique<Region>();
        region->rects = std::move(bands);
        return static_cast<HRGN>(Objects().add(std::move(region)));
    } catch (...) {
        return nullptr;
    }
}

}  // namespace

extern "C" {

VXPLATFORMAPI HRGN CreateRectRgn(int left, int top, int right, int bottom) {
    try {
        return NewRegion(vx::posix::gdi::RectRegion(left, top, right, bottom));
    } catch (...) {
        return nullptr;
    }
}

VXPLATFORMAPI HRGN CreateRectRgnIndirect(const RECT* rect) {
    if (rect == nullptr) return nullptr;
    return CreateRectRgn(rect->left, rect->top, rect->right, rect->bottom);
}

VXPLATFORMAPI int CombineRgn(HRGN dest, HRGN source1, HRGN source2, int mode) {
    if (mode < RGN_AND || mode > RGN_COPY) return ERROR;
    try {
        auto objects = Objects();
        Region* target = objects.find<Region>(dest);
        const Region* first = objects.find<Region>(source1);
        const Region* second = objects.find<Region>(source2);
        if (target == nullptr || first == nullptr || (mode != RGN_COPY && second == nullptr)) return ERROR;
        if (mode == RGN_COPY) {
            target->rects = first->rects;
        } else {
            target->rects = vx::posix::gdi::CombineBands(first->rects, second->rects, mode);
        }
        return vx::posix::gdi::RegionComplexity(target->rects);
    } catch (...) {
        return ERROR;
    }
}

VXPLATFORMAPI int GetRgnBox(HRGN region, LPRECT box) {
    auto objects = Objects();
    const Region* found = objects.find<Region>(region);
    if (found == nullptr || box == nullptr) return ERROR;
    *box = vx::posix::gdi::RegionBox(found->rects);
    return vx::posix::gdi::RegionComplexity(found->rects);
}

VXPLATFORMAPI int OffsetRgn(HRGN region, int x, int y) {
    auto objects = Objects();
    Region* found = objects.find<Region>(region);
    if (found == nullptr) return ERROR;
    // Coordinates wrap as Windows' 32-bit arithmetic does, without overflow in C++ terms.
    auto shift = [](LONG value, int by) {
        return static_cast<LONG>(static_cast<int32_t>(static_cast<uint32_t>(value) + static_cast<uint32_t>(by)));
    };
    for (RECT& rect : found->rects) {
        rect = RECT{shift(rect.left, x), shift(rect.top, y), shift(rect.right, x), shift(rect.bottom, y)};
    }
    return vx::posix::gdi::RegionComplexity(found->rects);
}

VXPLATFORMAPI BOOL PtInRegion(HRGN region, int x, int y) {
    auto objects = Objects();
    const Region* found = objects.find<Region>(region);
    if (found == nullptr) return FALSE;
    return std::any_of(found->rects.begin(), found->rects.end(), [&](const RECT& rect) {
        return rect.left <= x && x < rect.right && rect.top <= y && y < rect.bottom;
    });
}

}  // extern "C"
