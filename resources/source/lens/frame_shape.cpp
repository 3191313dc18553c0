// Frame shapes and labels of the lenses, and the pad's probe direction.
#include "frame_shape.h"

#include <cmath>

#include "lens_projection.h"

namespace
{
// 180/pi and pi/180 as single-precision numbers widened, as the panel's degrees are.
constexpr double kDegreesPerRadian = 57.295780181884766;

struct CubeShape
{
  Float aspect;
  const char* word;
  const char* arrangement;
  const char* sideBySide;
  const char* aboveBelow;
};
// By cube layout; doubling or halving the proportion keeps its numbers as a user reads them.
const CubeShape kCubeShapes[7] = {
  {4.0 / 3.0, "4:3", "(cross horizontal)", "8:3", "4:6"}, {3.0 / 4.0, "3:4", "(cross vertical)", "6:4", "3:8"},
  {6.0, "6:1", "(horizontal)", "12:1", "6:2"},              {1.5, "3:2", "(horizontal)", "6:2", "3:4"},
  {1.0 / 6.0, "1:6", "(vertical)", "2:6", "1:12"},          {2.0 / 3.0, "2:3", "(vertical)", "4:3", "2:6"},
  {1.0, "1:1", "(single channel)", "2:1", "1:2"}};

std::string Label(Float aspect, const std::string& word, const std::string& arrangement)
{
  return aspect > 0.0 ? word + " " + arrangement : std::string();
}
} // namespace

FrameShape ComputeFrameShape(const FrameShapeInput& in)
{
  FrameShape out;
  const Float h = in.panoCustom ? in.panoFovH : PI2;
  const Float v = in.panoCustom ? in.panoLatMax - in.panoLatMin : PI;
  out.panoFovV = v;
  const Bool fullSphere = static_cast<Int32>(h * kDegreesPerRadian) == 360 && static_cast<Int32>(v * kDegreesPerRadian) == 180;
  if (!in.videoPostEnabled)
    return out;

  std::string word, arrangement, sideBySide, aboveBelow;
  if (in.lens == 0 && fullSphere)
    out.mono = 2.0, word = "2:1", sideBySide = "4:1", aboveBelow = "1:1";
  else if (in.lens == 0)
    out.mono = (h / PI2 + h / PI2) / (v / PI), arrangement = "(custom)";
  else if (in.lens == 1)
    out.mono = 1.0, word = "1:1", sideBySide = "2:1", aboveBelow = "1:2";
  else if (in.lens == 2)
    out.mono = (in.cylRadius * PI2 / in.cylHeight) * (in.cylFov / PI2), arrangement = "(custom)";
  else if (in.lens == 3 && in.cubeLayout >= 0 && in.cubeLayout < 7)
  {
    const CubeShape& c = kCubeShapes[in.cubeLayout];
    out.mono = c.aspect, word = c.word, arrangement = c.arrangement, sideBySide = c.sideBySide, aboveBelow = c.aboveBelow;
  }
  out.labelMono = Label(out.mono, word, arrangement);
  if (!in.stereo)
    return out;

  if (in.stereoMode == 1 && in.pairLayout == 0)
    out.stereo = out.mono + out.mono, out.labelStereo = Label(out.stereo, sideBySide, "(horizontal)");
  else if (in.stereoMode == 1 && in.pairLayout == 1)
    out.stereo = out.mono * 0.5, out.labelStereo = Label(out.stereo, aboveBelow, "(vertical)");
  else
    out.stereo = out.mono, out.labelStereo = Label(out.stereo, word, in.stereoMode == 3 ? "(single channel)" : "(merged)");
  return out;
}

Vector PadToProbeAngles(const Vector& pad, Bool dome, Bool domeZenith, Float domeFov, Vector* resetPad)
{
  const Bool zenith = dome && domeZenith;
  Vector d;
  if (pad.x == -1.0 && pad.y == -1.0)
  {
    if (resetPad)
      *resetPad = Vector(0.5, zenith ? 1.0 : 0.5, pad.z);
  }
  else if (dome)
  {
    d = DomeDirection(pad.x, pad.y, domeFov, false);
    d = Vector(-d.y, d.x, d.z);
    if (!zenith)
      d = Vector(d.z, d.y, -d.x);
  }
  else
  {
    d = EquirectDirection(pad.x, pad.y);
    d = Vector(-d.y, d.x, d.z);
  }
  Float longitude = std::atan2(d.y, d.x);
  while (longitude < 0.0)
    longitude += PI2;
  while (longitude >= PI2)
    longitude -= PI2;
  if (longitude > PI)
    longitude -= PI2;
  const Float latitude = d.z >= 1.0 ? PI05 : d.z <= -1.0 ? -PI05 : std::asin(d.z);
  return Vector(latitude, longitude, 0.0);
}
