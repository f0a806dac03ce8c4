// sample_image.hpp - the demo's built-in sample image, synthesised rather than shipped:
// colour bars, a gray ramp, a two-dimensional colour gradient, fine lines and a zone plate
// (where scaling, rotation and dithering show their artefacts), and small lettering.
#pragma once

#include "cli.hpp"

namespace vexora_tool {

inline constexpr int kSampleWidth = 320;
inline constexpr int kSampleHeight = 240;

// The sample as a 24-bit DIB.
Dib MakeSample24();
// The same picture as an 8-bit DIB with a 256-level gray colour table (weighted luminance).
Dib MakeSampleGray8(const Dib& sample24);
// The same picture as a 1-bit DIB, black and white by error diffusion (the diffusing halftone),
// so that ramps and gradients survive as dot densities.
Dib MakeSampleMono1(const Dib& gray8);

// A 1-bit DIB of the given size: a white disc (colour 1) filling it, on black (colour 0).
Dib MakeDiscMask(int width, int height);

// A copy of a DIB in a block of its own.
Dib Duplicate(const Dib& dib);

}  // namespace vexora_tool
