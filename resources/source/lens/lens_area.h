// Pixel rectangles and the one safe truncation of a setting's number to Int32.
#pragma once

#include "c4d_math.h"
#include "c4d_types.h"

/// A pixel rectangle, inclusive at both ends, with values derived from its corners by UpdateArea.
struct LensArea
{
  Vector start;  ///< first pixel; z stays 0
  Vector end;    ///< last pixel, inclusive; z stays 0
  Vector size;   ///< (width, height, 0)
  Vector center; ///< centre in pixel coordinates
  Int32 width = 0;
  Int32 height = 0;
  Float aspect = 0.0; ///< width / height, 0 for a height of 0
  Float radius = 0.0; ///< half the shorter side
  Int32 diameter = 0; ///< the shorter side
};

/// Recomputes size, center, width, height, aspect, radius and diameter from start and end.
void UpdateArea(LensArea& area);

/// (1/width, 1/height, 0) of `area`, each reciprocal made in 32-bit float and widened.
Vector PixelStep(const LensArea& area);

/// `v` truncated toward zero and held within Int32; NaN gives 0. Settings may hold any double.
Int32 TruncateToInt32(Float v);
