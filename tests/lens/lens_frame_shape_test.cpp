// Frame shapes and labels of the lenses, and the eye probe's direction from the pad.
#include <gtest/gtest.h>

#include <cmath>

#include "frame_shape.h"

namespace
{
constexpr double kDeg = PI / 180.0;

FrameShapeInput Lens(Int32 lens, Bool stereo = false, Int32 mode = 0, Int32 pair = 0)
{
  FrameShapeInput in;
  in.lens = lens, in.stereo = stereo, in.stereoMode = mode, in.pairLayout = pair;
  return in;
}
} // namespace

TEST(FrameShape, AspectsAndLabelsByLensLayoutAndStereo)
{
  FrameShapeInput customHalf = Lens(0), customFull = Lens(0), strip = Lens(3, true, 1, 1),
                  unknown = Lens(3), disabled = Lens(1, true), cylinder = Lens(2);
  customHalf.panoCustom = customFull.panoCustom = true;
  customHalf.panoFovH = 180 * kDeg, customHalf.panoLatMin = -45 * kDeg, customHalf.panoLatMax = 45 * kDeg;
  strip.cubeLayout = 4, unknown.cubeLayout = 7, disabled.videoPostEnabled = false;
  const struct
  {
    const char* name;
    FrameShapeInput in;
    double mono, stereo;
    const char *labelMono, *labelStereo;
  } rows[] = {
    {"dome", Lens(1), 1.0, 0.0, "1:1 ", ""},
    {"full sphere side by side", Lens(0, true, 1, 0), 2.0, 4.0, "2:1 ", "4:1 (horizontal)"},
    {"full sphere above below", Lens(0, true, 1, 1), 2.0, 1.0, "2:1 ", "1:1 (vertical)"},
    {"custom 180 x 90 is not a full sphere", customHalf, 2.0, 0.0, " (custom)", ""},
    {"custom 360 x 180 is a full sphere", customFull, 2.0, 0.0, "2:1 ", ""},
    {"cylinder 100 / 100 all round", cylinder, PI2, 0.0, " (custom)", ""},
    {"cross, anaglyph", Lens(3, true, 0), 4.0 / 3.0, 4.0 / 3.0, "4:3 (cross horizontal)", "4:3 (merged)"},
    {"cross, one eye", Lens(3, true, 3), 4.0 / 3.0, 4.0 / 3.0, "4:3 (cross horizontal)", "4:3 (single channel)"},
    {"vertical strip above below", strip, 1.0 / 6.0, 1.0 / 12.0, "1:6 (vertical)", "1:12 (vertical)"},
    {"layout beyond the seven", unknown, 0.0, 0.0, "", ""},
    {"video post disabled", disabled, 0.0, 0.0, "", ""},
  };
  for (const auto& row : rows)
  {
    const FrameShape s = ComputeFrameShape(row.in);
    EXPECT_DOUBLE_EQ(s.mono, row.mono) << row.name;
    EXPECT_DOUBLE_EQ(s.stereo, row.stereo) << row.name;
    EXPECT_EQ(s.labelMono, row.labelMono) << row.name;
    EXPECT_EQ(s.labelStereo, row.labelStereo) << row.name;
  }
  EXPECT_DOUBLE_EQ(ComputeFrameShape(customHalf).panoFovV, 90 * kDeg);
  EXPECT_DOUBLE_EQ(ComputeFrameShape(disabled).panoFovV, PI) << "written whatever the lens or video post";
}

TEST(FrameShape, PadGivesTheProbeDirection)
{
  const struct
  {
    const char* name;
    Vector pad;
    Bool dome, zenith;
    double latitude, longitude;
  } rows[] = {
    {"panorama centre", Vector(0.5, 0.5, 0), false, false, 0.0, 0.0},
    {"panorama three quarters: +X", Vector(0.75, 0.5, 0), false, false, 0.0, PI05},
    {"fisheye centre", Vector(0.5, 0.5, 1), true, false, 0.0, 0.0},
    {"fisheye right rim, half sphere: +X", Vector(1.0, 0.5, 1), true, false, 0.0, PI05},
    {"full dome centre: the zenith, any longitude", Vector(0.5, 0.5, 1), true, true, PI05, NAN},
    {"double click", Vector(-1, -1, 1), true, true, 0.0, 0.0},
  };
  for (const auto& row : rows)
  {
    Vector reset(9, 9, 9);
    const Vector a = PadToProbeAngles(row.pad, row.dome, row.zenith, PI, &reset);
    EXPECT_NEAR(a.x, row.latitude, 1e-9) << row.name;
    if (!std::isnan(row.longitude))
      EXPECT_NEAR(a.y, row.longitude, 1e-9) << row.name;
  }
  Vector reset;
  PadToProbeAngles(Vector(-1, -1, 1), true, true, PI, &reset);
  EXPECT_EQ(reset, Vector(0.5, 1.0, 1.0)) << "a zenith dome's home is straight ahead, at the lower edge";
  PadToProbeAngles(Vector(-1, -1, 0), false, true, PI, &reset);
  EXPECT_EQ(reset, Vector(0.5, 0.5, 0.0)) << "zenith counts for domes only";
}
