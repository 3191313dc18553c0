// Pixel to direction: the lens formulas and the helpers all lens code shares.
#include "lens_projection.h"

#include <cmath>
#include <limits>

namespace
{
// The lens turn that brings a lens's pole (+Z) up to +Y: the general rotation, whose cosine is
// about 6.1e-17 and not 0, so results match a host that builds it from cos and sin.
const Matrix kTurnUp = MatrixRotX(PI05);

constexpr Float kRangeEpsilon = 1.1920928955078125e-7; // FLT_EPSILON

// Truncation toward zero that stays defined for NaN and values beyond the Int32 range.
Int32 TruncateToInt32(Float v)
{
  if (!(v == v))
    return 0;
  if (v >= static_cast<Float>(std::numeric_limits<Int32>::max()))
    return std::numeric_limits<Int32>::max();
  if (v <= static_cast<Float>(std::numeric_limits<Int32>::min()))
    return std::numeric_limits<Int32>::min();
  return static_cast<Int32>(v);
}

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

void UpdateArea(LensArea& area)
{
  area.width = TruncateToInt32(area.end.x - area.start.x + 1.0);
  area.height = TruncateToInt32(area.end.y - area.start.y + 1.0);
  area.diameter = area.width < area.height ? area.width : area.height;
  area.size = Vector(static_cast<Float>(area.width), static_cast<Float>(area.height), 0.0);
  const Float halfW = static_cast<Float32>(area.width) * 0.5f;
  const Float halfH = static_cast<Float32>(area.height) * 0.5f;
  area.center = Vector(halfW + area.start.x - 0.5, halfH + area.start.y - 0.5, 0.0);
  area.radius = static_cast<Float32>(area.diameter) * 0.5f;
  area.aspect = area.height != 0 ? static_cast<Float>(area.width) / static_cast<Float>(area.height) : 0.0;
}

void UpdateSpans(LensState& state)
{
  const Float m = MapRange(state.fov, 0.0, PI2, 0.0, 1.0, false);
  state.spanStart = (1.0 - m) * 0.5;
  state.spanEnd = state.spanStart + m;
}

Vector PixelStep(const LensArea& area)
{
  return Vector(static_cast<Float>(1.0f / static_cast<Float32>(area.width)),
                static_cast<Float>(1.0f / static_cast<Float32>(area.height)), 0.0);
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

Vector PixelToDirection(const LensState& state, Vector& uv)
{
  // Bleed: a few pixels beyond the image still get rays; a position exactly on a limit passes.
  const Float du = state.pixelStep.x * state.bleedPixels;
  const Float dv = state.pixelStep.y * state.bleedPixels;
  if (uv.x < -du || uv.x > du + 1.0 || uv.y < -dv || uv.y > dv + 1.0)
    return Vector();

  Vector p = uv;

  // Stereo shift: the eyes' pictures move apart by half the shift each; the seam is crossed once.
  if (state.stereoPixelShift != 0 && state.isStereo)
  {
    const Float k = state.currentEye.channelIndex != 0 ? 0.5 : -0.5;
    p.x = state.stereoPixelShift * k * state.pixelStep.x + p.x;
    if (p.x < 0.0)
      p.x += 1.0;
    else if (p.x > 1.0)
      p.x -= 1.0;
  }

  p = RotateFlipUV(state.currentFace, p);
  p = RotateFlipUV(state.currentEye, p);

  Vector d;
  if (state.isDome)
  {
    d = DomeDirection(p.x, p.y, state.fov, state.maskMode != 2);
    if (state.isStereo && state.domeZenithStereo)
      d = kTurnUp.TransformVector(d);
  }
  else if (state.isPanorama)
  {
    if (state.panoramaCustomField)
    {
      p.x = MapRange(p.x, 0.0, 1.0, state.spanStart, state.spanEnd, false);
      p.y = 1.0 - MapRange(1.0 - p.y, 0.0, 1.0, state.verticalStart, state.verticalEnd, false);
    }
    d = kTurnUp.TransformVector(EquirectDirection(p.x, p.y));
  }
  else if (state.isCylindrical)
  {
    if (state.cylinderAxisTurned)
    {
      // Doubled span: EquirectDirection covers only half a turn from v = 0 to v = 1.
      p.y = MapRange(p.y, 0.0, 1.0, 2.0 * state.spanStart, 2.0 * state.spanEnd, false) - 0.5;
      d = kTurnUp.TransformVector(EquirectDirection(0.5, p.y));
    }
    else
    {
      p.x = MapRange(p.x, 0.0, 1.0, state.spanStart, state.spanEnd, false);
      d = kTurnUp.TransformVector(EquirectDirection(p.x, 0.5));
    }
  }
  else if (state.isCubemap)
  {
    d = kTurnUp.TransformVector(CubeFacePoint(state.currentFace.channelIndex, p.x, p.y).GetNormalized());
  }

  uv = p;
  return d;
}
