// The lens formulas: each projection beside its inverse, and pixel to direction.
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

/// The position flipped, then turned by the channel's rotation; `uv` itself stays as it was.
Vector RotateFlipUV(const LensChannel& channel, const Vector& uv);

/// Equidistant fisheye: (u, v) to a direction, `fov` the full field across the inscribed circle.
/// With `clip`, positions beyond r = 1.01 give the zero vector.
Vector DomeDirection(Float u, Float v, Float fov, Bool clip);

/// Equidistant fisheye position (u, v, 0.5) of direction `p`, `fov` the full field in radians;
/// v runs upward. Inverse of DomeDirection up to that flip: DomeDirection(u, v) comes back as
/// (u, 1 - v).
Vector DirectionToDome(const Vector& p, Float fov);

/// Whether (u, v) lies strictly outside the circle inscribed in the image.
Bool OutsideDome(Float u, Float v);

/// Equirectangular sphere with its pole v = 0 on +Z; u = 0.5 looks along -Y before the lens turns
/// it up.
Vector EquirectDirection(Float u, Float v);

/// Equirectangular position (u, v, 0) of direction `p`, with the pole v = 0 on +Z. Inverse of
/// EquirectDirection but for a quarter turn: EquirectDirection(u, v) comes back as (u + 0.25, v),
/// u wrapped into 0..1.
Vector DirectionToEquirect(const Vector& p);

/// The lens's quarter turn, which brings a lens's pole (+Z) up to +Y, undone: for a direction,
/// and for a frame (the turn acting first).
Vector UndoLensTurn(const Vector& direction);
Matrix UndoLensTurn(const Matrix& frame);

/// Whether the lens turns its directions by the quarter turn: every lens but a dome, which does
/// so only in stereo with its eyes about its axis (the dome-zenith setting).
Bool LensTurnsUp(const LensSettings& settings);

/// The direction of the image position `uv` of the current sub-render. `uv` comes back with the
/// stereo shift, flips, rotations and spans applied, or unchanged when the position has no ray.
Vector PixelToDirection(const LensState& state, Vector& uv);

/// The texture position at which the separation map is sampled for a lens-space `direction`:
/// undoes the lens's quarter turn, then the dome position when `domeZenith` (field `domeFov`,
/// radians), else the equirectangular one.
Vector SeparationMapPosition(const Vector& direction, Bool domeZenith, Float domeFov);
