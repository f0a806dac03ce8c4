// print_layout.cpp - the page arithmetic and texts of print_layout.hpp.
#include "print/print_layout.hpp"

#include <algorithm>
#include <cstdio>

#include "dib_layout.hpp"

namespace vx::print {
namespace {

// The factor from pels per metre to dots per inch that printed pages have always used.
constexpr double kPelsPerMetreToDpi = 0.025400052;

VX_EXACT_DOUBLES bool Usable(double resolution) { return resolution > 0 && resolution < 1e300; }

VX_EXACT_DOUBLES int Round(double value) { return TruncToInt32(value + 0.5); }

}  // namespace

VX_EXACT_DOUBLES Resolution ImageResolution(Resolution printer, bool useImageDpi, const int* given, long xPelsPerMeter,
                           long yPelsPerMeter) {
    Resolution chosen = printer;
    if (useImageDpi) {
        if (given != nullptr) {
            chosen = {static_cast<double>(given[0]), static_cast<double>(given[1])};
        } else if (xPelsPerMeter != 0 && yPelsPerMeter != 0) {
            chosen = {xPelsPerMeter * kPelsPerMetreToDpi, yPelsPerMeter * kPelsPerMetreToDpi};
        }
    }
    if (!Usable(chosen.x)) chosen.x = printer.x;
    if (!Usable(chosen.y)) chosen.y = printer.y;
    return chosen;
}

VX_EXACT_DOUBLES PageLayout LayOutPage(const PageRequest& r) {
    PageLayout layout;
    if (r.fit) {
        const double widthInches = r.widthPixels / r.resolution.x;
        const double heightInches = r.heightPixels / r.resolution.y;
        const double sx = widthInches == 0 ? 1 : r.pageWidthInches / widthInches;
        const double sy = heightInches == 0 ? 1 : r.pageHeightInches / heightInches;
        layout.scale = std::min(sx, sy);
    }
    if (r.stretch) {
        layout.imageWidthInches = r.pageWidthInches;
        layout.imageHeightInches = r.pageHeightInches;
        layout.pixelsPerInch = {r.widthPixels / r.pageWidthInches, r.heightPixels / r.pageHeightInches};
    } else {
        layout.imageWidthInches = r.widthPixels / r.resolution.x;
        layout.imageHeightInches = r.heightPixels / r.resolution.y;
        layout.pixelsPerInch = r.resolution;
    }
    layout.pixelsPerInch.x /= layout.scale;
    layout.pixelsPerInch.y /= layout.scale;
    const double printedWidth = layout.scale * layout.imageWidthInches;
    const double printedHeight = layout.scale * layout.imageHeightInches;
    const double left = r.centreHorizontally ? (r.pageWidthInches - printedWidth) * 0.5 : 0;
    const double top = r.centreVertically ? (r.pageHeightInches - printedHeight) * 0.5 : 0;
    layout.printed = {left, top, left + printedWidth, top + printedHeight};
    return layout;
}

VX_EXACT_DOUBLES InchRect BandInches(int left, int top, int right, int bottom, Resolution printer) {
    return {left / printer.x, top / printer.y, right / printer.x, bottom / printer.y};
}

VX_EXACT_DOUBLES bool IntersectInches(const InchRect& a, const InchRect& b, InchRect& common) {
    common = {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
              std::min(a.bottom, b.bottom)};
    if (common.left < common.right && common.top < common.bottom) return true;
    common = {};
    return false;
}

VX_EXACT_DOUBLES PixelRect SourcePixels(const InchRect& piece, const PageLayout& layout) {
    const InchRect& margin = layout.printed;
    const Resolution ppi = layout.pixelsPerInch;
    return {Round((piece.left - margin.left) * ppi.x), Round((piece.top - margin.top) * ppi.y),
            Round((piece.right - margin.left) * ppi.x), Round((piece.bottom - margin.top) * ppi.y)};
}

VX_EXACT_DOUBLES PixelRect DevicePixels(const InchRect& piece, Resolution printer) {
    return {Round(piece.left * printer.x), Round(piece.top * printer.y), Round(piece.right * printer.x),
            Round(piece.bottom * printer.y)};
}

std::string DocumentTitle(const char* documentName) {
    if (documentName == nullptr) return {};
    const std::string name(documentName);
    const size_t slash = name.rfind('\\');
    return slash == std::string::npos ? name : name.substr(slash + 1);
}

std::string PageText(const std::string& title, int pageIndex, int pageCount) {
    // The page number wraps as the 32-bit sum always has.
    const int page = static_cast<int>(static_cast<unsigned>(pageIndex) + 1u);
    char counter[40];
    std::snprintf(counter, sizeof counter, "  Page: %d / %d", page, pageCount);
    return title + counter;
}

DeviceEntry SplitDeviceEntry(const std::string& entry) {
    DeviceEntry pieces;
    size_t at = entry.find_first_not_of(',');
    if (at == std::string::npos) return pieces;
    size_t end = std::min(entry.find(',', at), entry.size());
    pieces.name = entry.substr(at, end - at);
    pieces.noName = false;
    at = end == entry.size() ? end : end + 1;
    for (std::string* piece : {&pieces.driver, &pieces.port}) {
        at = entry.find_first_not_of(", ", at);
        if (at == std::string::npos) break;
        end = std::min(entry.find_first_of(", ", at), entry.size());
        *piece = entry.substr(at, end - at);
        at = end == entry.size() ? end : end + 1;
    }
    return pieces;
}

}  // namespace vx::print
