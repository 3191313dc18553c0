// The lens formulas and their shared helpers: exact values, limits and seams.
#include <cmath>
#include <limits>

#include "lens_test_util.h"

namespace
{
Vector Direction(LensState s, double u, double v)
{
  Vector uv(u, v, 0.0);
  return PixelToDirection(s, uv);
}

LensState Cubemap(int face)
{
  LensState s = MakeState(512, 512);
  s.settings.lens = LensKind::Cubemap;
  s.currentFace.channelIndex = face;
  return s;
}
} // namespace

TEST(LensHelpers, MapRangeDegenerateClampAndReversedOutput)
{
  EXPECT_EQ(MapRange(0.5, 1, 1, 7, 9, true), 7.0);
  EXPECT_EQ(MapRange(2, 0, 1, 9, 7, true), 7.0) << "outMin above outMax still limits to the interval";
  EXPECT_EQ(MapRange(-1, 0, 1, 9, 7, true), 9.0);
  EXPECT_EQ(MapRange(2, 0, 1, 9, 7, false), 5.0);
  // The degenerate test is strict: a range exactly one float epsilon wide still maps.
  const double eps = 1.1920928955078125e-7;
  EXPECT_DOUBLE_EQ(MapRange(eps, 0, eps, 0, 1, false), 1.0);
  EXPECT_EQ(MapRange(eps, 0, eps * 0.5, 3, 1, false), 3.0);
}

TEST(LensHelpers, WrapAngleStepsIntoOneTurn)
{
  EXPECT_EQ(WrapAngle(PI2), 0.0);
  EXPECT_NEAR(WrapAngle(-0.1), 6.183185307179586, 1e-15);
  EXPECT_NEAR(WrapAngle(3 * PI2 + 1.0), 1.0, 1e-13);
  EXPECT_NEAR(WrapAngle(-5 * PI2 - 1.0), PI2 - 1.0, 1e-13);
  const double far = WrapAngle(1e300);
  EXPECT_TRUE(far >= 0.0 && far < PI2) << far << ": a far-out angle must neither hang nor escape the turn";
  EXPECT_EQ(WrapAngle(std::numeric_limits<double>::infinity()), 0.0);
}

TEST(LensHelpers, AreaValuesFromCornersInFramePixelsAndSinglePrecisionHalves)
{
  const struct { const char* what; Vector start, end; Int32 width, height, diameter; Vector center; double radius, aspect; } rows[] = {
    {"full HD", {0, 0, 0}, {1919, 1079, 0}, 1920, 1080, 1080, {959.5, 539.5, 0}, 540, 1920.0 / 1080.0},
    {"moved: centre in frame pixels", {100, 50, 0}, {300, 150, 0}, 201, 101, 101, {200, 100, 0}, 50.5, 201.0 / 101.0},
    {"no height: aspect 0", {0, 10, 0}, {9, 9, 0}, 10, 0, 0, {4.5, 9.5, 0}, 0, 0},
    // 2^24 + 1 pixels is the first width a float can't hold: the half comes out of 2^24.
    {"2^24 + 1", {0, 0, 0}, {16777216, 16777216, 0}, 16777217, 16777217, 16777217, {8388607.5, 8388607.5, 0}, 8388608, 1},
  };
  for (const auto& r : rows)
  {
    LensArea a;
    a.start = r.start;
    a.end = r.end;
    UpdateArea(a);
    EXPECT_EQ(a.width, r.width) << r.what;
    EXPECT_EQ(a.height, r.height) << r.what;
    EXPECT_EQ(a.diameter, r.diameter) << r.what;
    EXPECT_EQ(a.center, r.center) << r.what;
    EXPECT_EQ(a.radius, r.radius) << r.what;
    EXPECT_DOUBLE_EQ(a.aspect, r.aspect) << r.what;
  }
  LensArea small;
  small.end = Vector(2, 999, 0);
  UpdateArea(small);
  EXPECT_EQ(PixelStep(small), Vector(static_cast<double>(1.0f / 3.0f), static_cast<double>(1.0f / 1000.0f), 0))
    << "reciprocals made in 32-bit float";
}

TEST(LensHelpers, RotateFlipFlipsBeforeTurning)
{
  const Vector p(0.2, 0.3, 0.7);
  const struct { bool flipX, flipY; int rotation; Vector want; } rows[] = {
    {true, false, 90, {0.3, 0.2, 0}}, // turned first it would be (0.7, 0.8)
    {false, false, 90, {0.3, 0.8, 0}}, {false, false, 180, {0.8, 0.7, 0}}, {false, false, 270, {0.7, 0.2, 0}},
    {true, true, 45, {0.8, 0.7, 0.7}}, // an unknown turn only flips, and keeps w
    {false, false, 45, p},
  };
  for (const auto& r : rows)
  {
    LensChannel c;
    c.flipX = r.flipX;
    c.flipY = r.flipY;
    c.rotation = r.rotation;
    EXPECT_TRUE(VectorNear(RotateFlipUV(c, p), r.want, 1e-15)) << "rotation " << r.rotation << " flips " << r.flipX;
  }
}

TEST(LensFormulas, DomeRimAndItsTolerance)
{
  // The round trip stops short of the full sphere's rim, where directions repeat.
  EXPECT_TRUE(VectorNear(DomeDirection(1.0, 0.5, PI2, true), Vector(0, 0, -1), 1e-15)) << "a full-sphere rim looks back";

  // Rays run on to r = 1.01; the circle itself is r = 1.
  EXPECT_FALSE(DomeDirection(1.004, 0.5, PI, true).IsZero());
  EXPECT_TRUE(DomeDirection(1.006, 0.5, PI, true).IsZero());
  EXPECT_FALSE(DomeDirection(1.006, 0.5, PI, false).IsZero()) << "without clip the formula runs on";
  EXPECT_TRUE(OutsideDome(1.004, 0.5));
  EXPECT_FALSE(OutsideDome(1.0, 0.5)) << "r exactly 1 is inside";
}

TEST(LensFormulas, CubeFacesMeetAtTheirEdges)
{
  // The right edge of the front face is the left edge of the right face, and so on round.
  auto at = [](int face, double u, double v) { return Direction(Cubemap(face), u, v); };
  EXPECT_TRUE(VectorNear(at(5, 1.0, 0.3), at(1, 0.0, 0.3), 1e-12));
  EXPECT_TRUE(VectorNear(at(1, 1.0, 0.3), at(4, 0.0, 0.3), 1e-12));
  EXPECT_TRUE(VectorNear(at(4, 1.0, 0.3), at(0, 0.0, 0.3), 1e-12));
  EXPECT_TRUE(VectorNear(at(0, 1.0, 0.3), at(5, 0.0, 0.3), 1e-12));
  EXPECT_TRUE(VectorNear(at(5, 0.3, 0.0), at(3, 0.3, 1.0), 1e-12)) << "front top meets up bottom";
  EXPECT_TRUE(VectorNear(at(5, 0.3, 1.0), at(2, 0.3, 0.0), 1e-12)) << "front bottom meets down top";
  EXPECT_TRUE(at(6, 0.5, 0.5).IsZero());
  EXPECT_TRUE(at(-1, 0.5, 0.5).IsZero());
}

TEST(LensMapping, BleedLimitsAndNoClampingInside)
{
  const LensState s = MakeLens(LensKind::Panorama, PI2, 1000, 500);
  const double dv = s.pixelStep.y * 10; // exactly on the limit passes
  const struct { double u, v; bool ray; } rows[] = {
    {-0.01, 0.5, true}, {-0.0101, 0.5, false}, {0.5, -dv, true}, {0.5, 1.0 + dv, true}, {0.5, -dv - 1e-12, false},
  };
  for (const auto& r : rows)
    EXPECT_EQ(Direction(s, r.u, r.v).IsZero(), !r.ray) << "uv " << r.u << ", " << r.v;

  Vector rejected(1.0101, 0.3, 0.0);
  EXPECT_TRUE(PixelToDirection(s, rejected).IsZero()) << "beyond the bleed on the right";
  EXPECT_EQ(rejected, Vector(1.0101, 0.3, 0.0)) << "a rejected position comes back unchanged";

  Vector uv(-0.005, 0.5, 0.0);
  const Vector before = PixelToDirection(s, uv);
  EXPECT_EQ(uv.x, -0.005) << "no clamping inside the bleed";
  EXPECT_TRUE(VectorNear(before, Direction(s, 0.995, 0.5), 1e-12)) << "the sphere continues past its seam";
}

TEST(LensMapping, StereoShiftMovesEyesApartAndWrapsOnce)
{
  LensState s = MakeLens(LensKind::Panorama, PI2, 1000, 500);
  s.settings.isStereo = true;
  s.settings.pixelShift = 20;
  auto shifted = [&](int eye, double u) {
    s.currentEye.channelIndex = eye;
    Vector uv(u, 0.5, 0.0);
    PixelToDirection(s, uv);
    return uv.x;
  };
  EXPECT_NEAR(shifted(0, 0.5), 0.49, 1e-9);
  EXPECT_NEAR(shifted(7, 0.5), 0.51, 1e-9) << "any eye but 0 is the right one";
  EXPECT_NEAR(shifted(0, 0.005), 0.995, 1e-9) << "left eye crosses the seam";
  EXPECT_NEAR(shifted(1, 0.995), 0.005, 1e-9) << "right eye crosses the seam";

  s.settings.pixelShift = 5000; // 2.5 image widths for one eye
  EXPECT_NEAR(shifted(1, 0.5), 2.0, 1e-6) << "the seam is crossed at most once";

  s.settings.isStereo = false;
  EXPECT_EQ(shifted(1, 0.5), 0.5) << "no shift without stereo";
}

TEST(LensMapping, FaceTransformComesBeforeEye)
{
  LensState s = Cubemap(5);
  s.currentFace.rotation = 90;
  s.currentEye.flipX = true;
  Vector uv(0.2, 0.3, 0.0);
  PixelToDirection(s, uv);
  // Face turn first: (0.3, 0.8); then the eye's flip: (0.7, 0.8). The other order gives (0.3, 0.2).
  EXPECT_TRUE(VectorNear(uv, Vector(0.7, 0.8, 0.0), 1e-15)) << uv;
}

TEST(LensMapping, NoModeAndZenithOnlyInStereo)
{
  LensState s = MakeLens(static_cast<LensKind>(7), PI, 100, 100);
  EXPECT_TRUE(Direction(s, 0.5, 0.5).IsZero()) << "no lens mode, no ray";
  s.settings.lens = LensKind::Dome;
  s.settings.domeZenith = true;
  EXPECT_EQ(Direction(s, 0.5, 0.5), Vector(0, 0, 1)) << "zenith without stereo has no effect";
}
