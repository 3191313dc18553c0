// Pixel to direction: the lens formulas and the helpers all lens code shares.
//
// Directions are in the camera frame: +X right, +Y up, +Z forward. Image positions run from 0 to 1,
// u to the right and v downward. The zero vector means "no ray here".
#pragma once

#include "lens_state.h"

/// value mapped linearly from [inMin, inMax] to [outMin, outMax]; clamp limits it to the output
/// interval whichever way round it lies. A degenerate input range gives outMin.
Float MapRange(Float value, Float inMin, Float inMax, Float outMin, Float outMax, Bool clamp);

/// angle brought into [0, 2π) by whole turns.
Float WrapAngle(Float angle);

/// Recomputes size, center, width, height, aspect, radius and diameter from start and end.
void UpdateArea(LensArea& area);

/// Sets spanStart and spanEnd from `fov`: the covered part of a full turn, centred on 0.5.
void UpdateSpans(LensState& state);

/// (1/width, 1/height, 0) of `area`, each reciprocal made in 32-bit float and widened.
Vector PixelStep(const LensArea& area);

/// The position flipped, then turned by the channel's rotation; `uv` itself stays as it was.
Vector RotateFlipUV(const LensChannel& channel, const Vector& uv);

/// Equidistant fisheye: (u, v) to a direction, `fov` the full field across the inscribed circle.
/// With `clip`, positions beyond r = 1.01 give the zero vector. Inverse: DirectionToDome.
Vector DomeDirection(Float u, Float v, Float fov, Bool clip);

/// Whether (u, v) lies strictly outside the circle inscribed in the image.
Bool OutsideDome(Float u, Float v);

/// Equirectangular sphere with its pole v = 0 on +Z; u = 0.5 looks along -Y before the lens turns
/// it up. Inverse: DirectionToEquirect.
Vector EquirectDirection(Float u, Float v);

/// The direction of the image position `uv` of the current sub-render. `uv` comes back with the
/// stereo shift, flips, rotations and spans applied, or unchanged when the position has no ray.
Vector PixelToDirection(const LensState& state, Vector& uv);
