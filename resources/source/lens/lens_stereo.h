// Stereo rays: the eye that each ray gets.
//
// Directions are in lens space, the frame PixelToDirection returns; matrices follow the host's
// convention (A × B with B acting first).
#pragma once

#include "c4d_math.h"
#include "c4d_render.h"
#include "lens_settings.h"

/// Rotation by `angle` radians about `axis` (any length), made from the unit quaternion; the
/// identity for a zero axis or a zero angle. Inverse: the same axis with -angle.
Matrix RotAxisToMatrix(const Vector& axis, Float angle);

/// The matrix of `eye` for one ray along `direction` (lens space): its offset is the ray's origin
/// in world space, its axes turn a lens-space direction into world space. The eye's offset from
/// `cameraMatrix` turns by `eyeModel`, about the dome's axis with `zenith`, and is scaled by
/// `strength`. For one of the channel plan's two eyes (`plannedEye`), with `zeroParallax` > 0,
/// `separation` > 0 and `strength` > 0, the eye toes in toward `direction` × `zeroParallax`; `aimPoint` (lens space,
/// scene units) and `turnAxis` (camera axes) then tell where and about what, else they are zero.
Matrix EyeRayMatrix(const Matrix& cameraMatrix, const StereoCameraInfo& eye, Bool plannedEye, const Vector& direction,
                    EyeModel eyeModel, Bool zenith, Float zeroParallax, Float separation, Float strength, Vector& aimPoint,
                    Vector& turnAxis);
