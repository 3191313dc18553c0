// Stereo rays: the eye that each ray gets, and the inverse lens formulas the separation map is
// looked up with.
//
// Directions are in lens space, the frame PixelToDirection returns; matrices follow the host's
// convention (A × B with B acting first).
#pragma once

#include "c4d_math.h"
#include "c4d_render.h"

/// Eye models, the values of the tag's eye model setting. Any other value acts like kEyeFixed.
enum : Int32
{
  kEyeFixed = 0,      ///< the baseline stays as the eye record has it
  kEyeFullCircle = 1, ///< the baseline turns with the ray's azimuth, all the way round
  kEyeSweep = 2,      ///< a quarter turn at either side, none straight ahead or behind
  kEyeRoll = 3,       ///< as the sweep, but about the other axis: upright at the sides
};

/// Rotation by `angle` radians about `axis` (any length), made from the unit quaternion; the
/// identity for a zero axis or a zero angle. Inverse: the same axis with -angle.
Matrix RotAxisToMatrix(const Vector& axis, Float angle);

/// The matrix of `eye` for one ray along `direction` (lens space): its offset is the ray's origin
/// in world space, its axes turn a lens-space direction into world space. The eye's offset from
/// `cameraMatrix` turns by `eyeModel`, about the dome's axis with `zenith`, and is scaled by
/// `strength`. With a one-character eye name "0" or "1", `zeroParallax` > 0, `separation` > 0 and
/// `strength` > 0, the eye toes in toward `direction` × `zeroParallax`; `aimPoint` (lens space,
/// scene units) and `turnAxis` (camera axes) then tell where and about what, else they are zero.
Matrix EyeRayMatrix(const Matrix& cameraMatrix, const StereoCameraInfo& eye, const Vector& direction, Int32 eyeModel,
                    Bool zenith, Float zeroParallax, Float separation, Float strength, Vector& aimPoint,
                    Vector& turnAxis);

/// Equidistant fisheye position (u, v, 0.5) of direction `p`, `fov` the full field in radians;
/// v runs upward. Inverse of DomeDirection up to that flip: DomeDirection(u, v) comes back as
/// (u, 1 - v).
Vector DirectionToDome(const Vector& p, Float fov);

/// Equirectangular position (u, v, 0) of direction `p`, with the pole v = 0 on +Z. Inverse of
/// EquirectDirection but for a quarter turn: EquirectDirection(u, v) comes back as (u + 0.25, v),
/// u wrapped into 0..1.
Vector DirectionToEquirect(const Vector& p);

/// The texture position at which the separation map is sampled for a lens-space `direction`:
/// undoes the lens's quarter turn, then the dome position when `domeZenith` (field `domeFov`,
/// radians), else the equirectangular one.
Vector SeparationMapPosition(const Vector& direction, Bool domeZenith, Float domeFov);
