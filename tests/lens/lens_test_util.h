// Helpers shared by the lens tests: a render state for an image of a given size, with or without a lens.
#pragma once

#include <gtest/gtest.h>

#include "lens_projection.h"

/// A lens state over an image of `width` × `height` pixels, bleed 10, no flips or turns.
inline LensState MakeState(Int32 width, Int32 height)
{
  LensState s;
  s.activeArea.start = Vector(0.0, 0.0, 0.0);
  s.activeArea.end = Vector(width - 1.0, height - 1.0, 0.0);
  UpdateArea(s.activeArea);
  s.pixelStep = PixelStep(s.activeArea);
  s.bleedPixels = 10;
  return s;
}

/// A lens of `kind` and field `fov` over an image of `width` × `height` pixels, its spans set.
inline LensState MakeLens(LensKind kind, double fov, Int32 width, Int32 height)
{
  LensState s = MakeState(width, height);
  s.settings.lens = kind;
  s.settings.fov = fov;
  UpdateSpans(s.settings);
  return s;
}

inline ::testing::AssertionResult VectorNear(const Vector& got, const Vector& want, double tol)
{
  if (std::fabs(got.x - want.x) <= tol && std::fabs(got.y - want.y) <= tol && std::fabs(got.z - want.z) <= tol)
    return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "got " << got << ", want " << want << " within " << tol;
}
