// Whole frames of rays through CreateRay, as a render shoots them, for every lens.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "OrlixCamVP.h"

namespace
{
struct Frame
{
  Int32 width, height;
  std::vector<Vector> dirs; // the ray direction through each pixel centre, row by row
  const Vector& At(Int32 x, Int32 y) const { return dirs[static_cast<size_t>(y * width + x)]; }
};

/// A frame of `kind` at its usual field: a half turn for the dome, a full one otherwise.
Frame Shoot(OrlixCamVP& vp, BaseObject* camera, LensKind kind, Int32 width, Int32 height)
{
  vp.settings.lens = kind;
  vp.settings.fov = kind == LensKind::Dome ? PI : PI2;
  UpdateSpans(vp.settings);
  vp.isActive = true;
  vp.camera = camera;
  vp.activeArea.start = Vector();
  vp.activeArea.end = Vector(width - 1.0, height - 1.0, 0.0);
  UpdateArea(vp.activeArea);
  vp.pixelStep = PixelStep(vp.activeArea);
  vp.bleedPixels = 10;
  Frame f{width, height, {}};
  for (Int32 y = 0; y < height; ++y)
    for (Int32 x = 0; x < width; ++x)
    {
      Ray r;
      vp.CreateRay(&r, x, y);
      f.dirs.push_back(r.v);
    }
  return f;
}

double Angle(const Vector& a, const Vector& b)
{
  const double c = Dot(a.GetNormalized(), b.GetNormalized());
  return std::acos(c > 1.0 ? 1.0 : (c < -1.0 ? -1.0 : c));
}

struct LensFrame : ::testing::Test
{
  std::unique_ptr<OrlixCamVP> vp{static_cast<OrlixCamVP*>(OrlixCamVP::Alloc())};
  BaseObject* camera = BaseObject::Alloc(Ocamera);
  ~LensFrame() override { BaseObject::Free(camera); }
};
} // namespace

TEST_F(LensFrame, PanoramaCoversTheSphereWithoutJumps)
{
  const Frame f = Shoot(*vp, camera, LensKind::Panorama, 64, 32);
  const double step = PI2 / 63.0;
  int octants[8] = {};
  for (Int32 y = 0; y < f.height; ++y)
    for (Int32 x = 0; x < f.width; ++x)
    {
      const Vector& d = f.At(x, y);
      ASSERT_NEAR(d.GetLength(), 1.0, 1e-12) << "pixel " << x << ", " << y;
      octants[(d.x > 0) + 2 * (d.y > 0) + 4 * (d.z > 0)]++;
      EXPECT_TRUE(x == 0 || Angle(d, f.At(x - 1, y)) <= step + 1e-9) << "horizontal jump at " << x << ", " << y;
    }
  for (int o = 0; o < 8; ++o)
    EXPECT_GT(octants[o], 0) << "octant " << o << " is never looked at";
  EXPECT_LT(Angle(f.At(0, 16), f.At(63, 16)), 1e-9) << "the left and right edges meet behind the camera";
}

TEST_F(LensFrame, DomeAngleGrowsWithRadiusAndStopsAtTheRim)
{
  const Frame f = Shoot(*vp, camera, LensKind::Dome, 65, 65);
  int inside = 0;
  for (Int32 y = 0; y < f.height; ++y)
    for (Int32 x = 0; x < f.width; ++x)
    {
      const double u = x / 64.0, v = y / 64.0;
      const double r = std::hypot(2 * u - 1, 2 * v - 1);
      const Vector& d = f.At(x, y);
      if (r > 1.01)
      {
        EXPECT_TRUE(d.IsZero()) << "corner pixel " << x << ", " << y << " must have no ray";
        continue;
      }
      ++inside;
      EXPECT_NEAR(Angle(d, Vector(0, 0, 1)), r * PI05, 1e-9) << "pixel " << x << ", " << y;
    }
  EXPECT_GT(inside, 3000);
}

TEST_F(LensFrame, CubeFacesTileTheSphere)
{
  // Each face sees only directions whose major axis is its own; edge pixels sit on a tie.
  for (int face = 0; face < 6; ++face)
  {
    vp->currentFace.channelIndex = face;
    const Frame f = Shoot(*vp, camera, LensKind::Cubemap, 16, 16);
    int decided = 0;
    for (const Vector& d : f.dirs)
    {
      ASSERT_NEAR(d.GetLength(), 1.0, 1e-12);
      const double a[3] = {std::fabs(d.x), std::fabs(d.y), std::fabs(d.z)};
      const int axis = a[0] >= a[1] && a[0] >= a[2] ? 0 : (a[1] >= a[2] ? 1 : 2);
      const double second = std::max(a[(axis + 1) % 3], a[(axis + 2) % 3]);
      if (a[axis] - second < 1e-9)
        continue;
      const double sign = axis == 0 ? d.x : (axis == 1 ? d.y : d.z);
      const int major = axis == 0 ? (sign < 0 ? 0 : 1) : axis == 1 ? (sign < 0 ? 2 : 3) : (sign < 0 ? 4 : 5);
      EXPECT_EQ(major, face) << "face " << face << " looks along " << d;
      ++decided;
    }
    EXPECT_EQ(decided, 14 * 14) << "face " << face;
  }
}
