// The lens formulas: each projection beside its inverse, and pixel to direction.
#include "lens_projection.h"

#include <cmath>

namespace
{
// The lens turn that brings a lens's pole (+Z) up to +Y: the general rotation, whose cosine is
// about 6.1e-17 and not 0, so results match a host that builds it from cos and sin.
const Matrix kTurnUp = MatrixRotX(PI05);

// Its inverse, the general rotation too.
const Matrix kTurnDown = MatrixRotX(-PI05);

constexpr Float kRangeEpsilon = 1.1920928955078125e-7; // FLT_EPSILON

Vector CubeFacePoint(Int32 face, Float u, Float v)
{
  switch (face)
  {
    case 0: return Vector(-1.0, 1.0 - 2.0 * u, 1.0 - 2.0 * v);     // left
    case 1: return Vector(1.0, 2.0 * u - 1.0, 1.0 - 2.0 * v);      // right
    case 2: return Vector(2.0 * u - 1.0, 2.0 * v - 1.0, -1.0);     // down
    case 3: return Vector(2.0 * u - 1.0, 1.0 - 2.0 * v, 1.0);      // up
    case 4: return Vector(1.0 - 2.0 * u, 1.0, 1.0 - 2.0 * v);      // back
    case 5: return Vector(2.0 * u - 1.0, -1.0, 1.0 - 2.0 * v);     // front
    default: return Vector();
  }
}
} // namespace

Float MapRange(Float value, Float inMin, Float inMax, Float outMin, Float outMax, Bool clamp)
{
  if (std::fabs(inMin - inMax) < kRangeEpsilon)
    return outMin;
  const Float r = (value - inMin) / (inMax - inMin) * (outMax - outMin) + outMin;
  if (!clamp)
    return r;
  const Float lo = outMin < outMax ? outMin : outMax;
  const Float hi = outMin < outMax ? outMax : outMin;
  return r < lo ? lo : (r > hi ? hi : r);
}

Float WrapAngle(Float angle)
{
  if (!std::isfinite(angle))
    return 0.0;
  // Whole turns are stepped off one by one; a far-out angle, where a step would no longer change
  // it, is first brought near by a remainder.
  if (std::fabs(angle) > 1.0e6)
    angle = std::fmod(angle, PI2);
  while (angle >= PI2)
    angle += -PI2;
  while (angle < 0.0)
    angle += PI2;
  return angle;
}

void UpdateSpans(LensSettings& settings)
{
  const Float m = MapRange(settings.fov, 0.0, PI2, 0.0, 1.0, false);
  settings.spanStart = (1.0 - m) * 0.5;
  settings.spanEnd = settings.spanStart + m;
}

Vector RotateFlipUV(const LensChannel& channel, const Vector& uv)
{
  Vector p = uv;
  if (channel.flipX)
    p.x = 1.0 - p.x;
  if (channel.flipY)
    p.y = 1.0 - p.y;
  switch (channel.rotation)
  {
    case 90: return Vector(p.y, 1.0 - p.x, 0.0);
    case 180: return Vector(1.0 - p.x, 1.0 - p.y, 0.0);
    case 270: return Vector(1.0 - p.y, p.x, 0.0);
    default: return p;
  }
}

Vector DomeDirection(Float u, Float v, Float fov, Bool clip)
{
  const Float x = 2.0 * u - 1.0;
  const Float y = 2.0 * (1.0 - v) - 1.0; // grows upward in the image
  const Float r = std::sqrt(x * x + y * y);
  // 1.01, not 1: rim pixels get rays; the circle itself is cut out at the pixel stage.
  if (clip && r > 1.01)
    return Vector();
  const Float phi = std::atan2(y, x);
  const Float theta = fov * 0.5 * r; // equidistant: angle from the axis grows with r
  const Float sinTheta = std::sin(theta);
  return Vector(std::cos(phi) * sinTheta, std::sin(phi) * sinTheta, std::cos(theta));
}

Vector DirectionToDome(const Vector& p, Float fov)
{
  const Float phi = std::atan2(p.y, p.x);
  const Float theta = std::atan2(std::sqrt(p.y * p.y + p.x * p.x), p.z);
  // The axis itself maps to the centre for every field, even a field of 0.
  const Float k = theta == 0.0 ? 0.0 : theta / (fov * 0.5);
  return Vector((std::cos(phi) * k + 1.0) * 0.5, (std::sin(phi) * k + 1.0) * 0.5, 0.5);
}

Bool OutsideDome(Float u, Float v)
{
  const Float x = 2.0 * u - 1.0;
  const Float y = 2.0 * (1.0 - v) - 1.0;
  return std::sqrt(x * x + y * y) > 1.0;
}

Vector EquirectDirection(Float u, Float v)
{
  const Float theta = v * PI;
  const Float a = ((1.0 - u) - 0.25) * PI2;
  const Float sinTheta = std::sin(theta);
  return Vector(std::cos(a) * sinTheta, -(std::sin(a) * sinTheta), std::cos(theta));
}

Vector DirectionToEquirect(const Vector& p)
{
  // atan2 of (x, y), not (y, x): this puts u a quarter of the image on from EquirectDirection.
  const Float a = std::atan2(p.x, p.y) / PI2 - 0.25;
  // A z a rounding step beyond ±1 stays on the pole instead of failing acos.
  const Float theta = p.z >= 1.0 ? 0.0 : (p.z <= -1.0 ? PI : std::acos(p.z));
  Float u = 1.0 - a;
  if (u > 1.0)
    u -= 1.0;
  return Vector(u, theta / PI, 0.0);
}

Vector UndoLensTurn(const Vector& direction)
{
  return kTurnDown.TransformVector(direction);
}

Matrix UndoLensTurn(const Matrix& frame)
{
  return frame * kTurnDown;
}

Bool LensTurnsUp(const LensSettings& settings)
{
  if (settings.lens == LensKind::Dome)
    return settings.isStereo && settings.domeZenith;
  return settings.lens == LensKind::Panorama || settings.lens == LensKind::Cylindrical || settings.lens == LensKind::Cubemap;
}

Vector PixelToDirection(const LensState& state, Vector& uv)
{
  // Bleed: a few pixels beyond the image still get rays; a position exactly on a limit passes.
  const Float du = state.pixelStep.x * state.bleedPixels;
  const Float dv = state.pixelStep.y * state.bleedPixels;
  if (uv.x < -du || uv.x > du + 1.0 || uv.y < -dv || uv.y > dv + 1.0)
    return Vector();

  Vector p = uv;

  // Stereo shift: the eyes' pictures move apart by half the shift each; the seam is crossed once.
  if (state.settings.pixelShift != 0 && state.settings.isStereo)
  {
    const Float k = state.currentEye.channelIndex != 0 ? 0.5 : -0.5;
    p.x = state.settings.pixelShift * k * state.pixelStep.x + p.x;
    if (p.x < 0.0)
      p.x += 1.0;
    else if (p.x > 1.0)
      p.x -= 1.0;
  }

  p = RotateFlipUV(state.currentFace, p);
  p = RotateFlipUV(state.currentEye, p);

  const LensSettings& lens = state.settings;
  Vector d;
  switch (lens.lens)
  {
    case LensKind::Dome:
      d = DomeDirection(p.x, p.y, lens.fov, lens.maskMode != MaskMode::None);
      break;
    case LensKind::Panorama:
      if (lens.panoramaCustomField)
      {
        p.x = MapRange(p.x, 0.0, 1.0, lens.spanStart, lens.spanEnd, false);
        p.y = 1.0 - MapRange(1.0 - p.y, 0.0, 1.0, lens.verticalStart, lens.verticalEnd, false);
      }
      d = EquirectDirection(p.x, p.y);
      break;
    case LensKind::Cylindrical:
      if (lens.cylinderAxisTurned)
      {
        // Doubled span: EquirectDirection covers only half a turn from v = 0 to v = 1.
        p.y = MapRange(p.y, 0.0, 1.0, 2.0 * lens.spanStart, 2.0 * lens.spanEnd, false) - 0.5;
        d = EquirectDirection(0.5, p.y);
      }
      else
      {
        p.x = MapRange(p.x, 0.0, 1.0, lens.spanStart, lens.spanEnd, false);
        d = EquirectDirection(p.x, 0.5);
      }
      break;
    case LensKind::Cubemap:
      d = CubeFacePoint(state.currentFace.channelIndex, p.x, p.y).GetNormalized();
      break;
  }

  uv = p;
  return LensTurnsUp(lens) ? kTurnUp.TransformVector(d) : d;
}

Vector SeparationMapPosition(const Vector& direction, Bool domeZenith, Float domeFov)
{
  // A dome without the zenith setting had no quarter turn, and is turned all the same: its map
  // is looked up as a sphere.
  const Vector p = UndoLensTurn(direction);
  return domeZenith ? DirectionToDome(p, domeFov) : DirectionToEquirect(p);
}
