// stretch.cpp - which source pixels each destination pixel of a stretch takes: AxisPicks
// (COLORONCOLOR, and the plain copy of a mirrored transfer) and AxisGroups (BLACKONWHITE and
// WHITEONBLACK, which combine every source pixel a destination pixel stands for).
//
// Both walk one axis with the integer error term Windows' stretcher uses. Growing, the
// destination is walked and the source position advances when the error turns positive;
// shrinking, the source is walked and each destination pixel gathers a run of source pixels
// (a group). The starting error is 3 x short - 2 x long and the steps 2 x (short - long) and
// 2 x short, which gives the same pixel choices as Wine for every pair of lengths probed
// (1 to 12 against 1 to 9 in both directions).
//
// Which pixel of a group stands for it differs by axis: columns keep the group's last pixel,
// rows its first. Mirroring the source reverses the run the picks are taken from; mirroring
// the destination reverses the order they are written in, which is not the same thing when
// shrinking. One quirk is kept as observed: shrinking a run to a single column without
// mirroring takes the next-to-last source pixel, not the last.
#include <algorithm>
#include <vector>

#include "platform/posix/gdi/raster.hpp"

namespace vx::posix::gdi {
namespace {

// Normalised groups: destination pixel i (from the low end) takes source offsets
// [low, high], also from the low end.
std::vector<Group> NormalGroups(int dest, int source) {
    std::vector<Group> groups(static_cast<size_t>(dest));
    const int64_t shortLength = std::min(dest, source), longLength = std::max(dest, source);
    if (dest >= source) {
        // Growing checks before it takes a pixel, so its error starts one step earlier.
        int64_t error = shortLength - 2 * longLength;
        int position = 0;
        for (int i = 0; i < dest; ++i) {
            if (error > 0) {
                ++position;
                error += 2 * (shortLength - longLength);
            } else {
                error += 2 * shortLength;
            }
            groups[static_cast<size_t>(i)] = {position, position};
        }
        return groups;
    }
    int64_t error = 3 * shortLength - 2 * longLength;
    int target = 0;
    for (auto& g : groups) g = {-1, -1};
    for (int i = 0; i < source; ++i) {
        if (target < dest) {
            Group& g = groups[static_cast<size_t>(target)];
            if (g.low < 0) g.low = i;
            g.high = i;
        }
        if (error > 0) {
            ++target;
            error += 2 * (shortLength - longLength);
        } else {
            error += 2 * shortLength;
        }
    }
    for (auto& g : groups)
        if (g.low < 0) g = {source - 1, source - 1};
    return groups;
}

}  // namespace

std::vector<Group> AxisGroups(int dest, int source, bool destMirrored, bool sourceMirrored) {
    std::vector<Group> groups = NormalGroups(dest, source);
    if (sourceMirrored)
        for (auto& g : groups) g = {source - 1 - g.high, source - 1 - g.low};
    if (destMirrored) std::reverse(groups.begin(), groups.end());
    return groups;
}

std::vector<int> AxisPicks(int dest, int source, bool destMirrored, bool sourceMirrored, bool first) {
    const std::vector<Group> groups = NormalGroups(dest, source);
    std::vector<int> picks(groups.size());
    for (size_t i = 0; i < groups.size(); ++i) picks[i] = first ? groups[i].low : groups[i].high;
    if (!first && dest == 1 && source >= 2 && !destMirrored && !sourceMirrored) picks[0] = source - 2;
    if (sourceMirrored)
        for (int& p : picks) p = source - 1 - p;
    if (destMirrored) std::reverse(picks.begin(), picks.end());
    return picks;
}

}  // namespace vx::posix::gdi
