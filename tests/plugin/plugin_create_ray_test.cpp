// CreateRay: image position, cylindrical origin, camera matrix, rays without a direction.
#include <gtest/gtest.h>

#include <memory>

#include "OrlixCamVP.h"
#include "support/alloc_counter.h"

namespace
{
struct RayTest : ::testing::Test
{
  std::unique_ptr<OrlixCamVP> vp{static_cast<OrlixCamVP*>(OrlixCamVP::Alloc())};
  BaseObject* camera = BaseObject::Alloc(Ocamera);

  ~RayTest() override { BaseObject::Free(camera); }

  /// An active lens over the area from `start` with the given size.
  void Activate(Int32 width, Int32 height, Vector start = Vector())
  {
    vp->isActive = true;
    vp->camera = camera;
    vp->activeArea.start = start;
    vp->activeArea.end = start + Vector(width - 1.0, height - 1.0, 0.0);
    UpdateArea(vp->activeArea);
    vp->pixelStep = PixelStep(vp->activeArea);
    vp->bleedPixels = 10;
  }
  void Dome(Int32 size)
  {
    Activate(size, size);
    vp->settings.lens = LensKind::Dome;
    vp->settings.fov = PI;
  }
  void Cylinder(Int32 width, Int32 height, Float stripHeight)
  {
    Activate(width, height);
    vp->settings.lens = LensKind::Cylindrical;
    vp->settings.fov = PI2;
    UpdateSpans(vp->settings);
    vp->settings.cylinderHeight = stripHeight;
  }
  Ray Shoot(Float x, Float y)
  {
    Ray r;
    r.p = Vector(-9, -9, -9);
    r.v = Vector(-9, -9, -9);
    vp->CreateRay(&r, x, y);
    return r;
  }
};

::testing::AssertionResult Near(const Vector& a, const Vector& b, double tol = 1e-12)
{
  if ((a - b).GetLength() <= tol)
    return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << a << " vs " << b;
}
} // namespace

TEST_F(RayTest, InactiveLeavesTheRayAlone)
{
  vp->settings.lens = LensKind::Dome;
  vp->settings.fov = PI;
  const Ray r = Shoot(10, 10);
  EXPECT_EQ(r.p, Vector(-9, -9, -9));
  EXPECT_EQ(r.v, Vector(-9, -9, -9));
}

TEST_F(RayTest, PixelCentresSpanTheAreaFromZeroToOne)
{
  // A full-sphere panorama turns uv into a known direction: read the position back from it.
  Activate(201, 101, Vector(100, 50, 0));
  vp->settings.lens = LensKind::Panorama;
  vp->settings.fov = PI2;
  UpdateSpans(vp->settings);
  EXPECT_TRUE(Near(Shoot(200, 100).v, Vector(0, 0, 1))) << "centre pixel is uv (0.5, 0.5)";
  EXPECT_TRUE(Near(Shoot(100, 50).v, Vector(0, 1, 0))) << "first pixel is uv (0, 0): the pole";
  EXPECT_TRUE(Near(Shoot(250, 100).v, Vector(1, 0, 0))) << "uv (0.75, 0.5)";
  EXPECT_TRUE(Near(Shoot(300, 150).v, Vector(0, -1, 0))) << "last pixel is uv (1, 1)";
}

TEST_F(RayTest, MonoRayFollowsTheCamerasGlobalMatrix)
{
  Dome(101);
  const Matrix mg = MatrixMove(Vector(1, 2, 3)) * MatrixRotY(0.4) * MatrixRotX(-0.3);
  camera->SetMg(mg);
  const Ray centre = Shoot(50, 50);
  EXPECT_TRUE(Near(centre.p, Vector(1, 2, 3)));
  EXPECT_TRUE(Near(centre.v, mg.v3)) << "the centre looks along the camera's z axis";
  EXPECT_TRUE(Near(Shoot(100, 50).v, mg.v1)) << "the rim's right edge looks along the camera's x axis";

  camera->SetMg(MatrixScale(Vector(2, 2, 2)));
  EXPECT_NEAR(Shoot(20, 30).v.GetLength(), 2.0, 1e-12) << "the ray is not normalised";

  BaseObject* rig = BaseObject::Alloc(Onull);
  rig->SetMl(MatrixMove(Vector(0, 150, 0)));
  camera->SetMl(Matrix());
  camera->InsertUnder(rig);
  EXPECT_TRUE(Near(Shoot(50, 50).p, Vector(0, 150, 0))) << "a parented camera by its global matrix";
  camera->Remove();
  BaseObject::Free(rig);
}

TEST_F(RayTest, CylinderOriginSlidesAlongTheStrip)
{
  Cylinder(101, 101, 100);
  EXPECT_TRUE(Near(Shoot(50, 0).p, Vector(0, 50, 0)));
  EXPECT_TRUE(Near(Shoot(50, 100).p, Vector(0, -50, 0)));
  EXPECT_NEAR(Shoot(50, 0).v.y, 0.0, 1e-15) << "the strip looks horizontally";
  EXPECT_NEAR(Shoot(50, -1).p.y, 51.0, 1e-9) << "within the bleed the strip runs on beyond its height";

  vp->settings.cylinderAxisTurned = true;
  EXPECT_TRUE(Near(Shoot(0, 50).p, Vector(-50, 0, 0)));
  EXPECT_TRUE(Near(Shoot(100, 50).p, Vector(50, 0, 0)));

  // The origin uses the position after the channel's turn.
  vp->settings.cylinderAxisTurned = false;
  vp->currentFace.flipY = true;
  EXPECT_TRUE(Near(Shoot(50, 0).p, Vector(0, -50, 0))) << "a flipped picture slides the origin the other way";
}

TEST_F(RayTest, NoDirectionGivesAZeroRayNotTheCamera)
{
  Dome(100);
  camera->SetMg(MatrixMove(Vector(7, 8, 9)));
  // Beyond the area, and a corner outside the dome's circle.
  for (const Ray& r : {Shoot(-20, 50), Shoot(0, 0)})
  {
    EXPECT_EQ(r.p, Vector());
    EXPECT_EQ(r.v, Vector());
  }
}

TEST_F(RayTest, OnePixelWideAreaLooksThroughTheCentre)
{
  Dome(1);
  EXPECT_EQ(Shoot(0, 0).v, Vector(0, 0, 1));
}

TEST_F(RayTest, RayPathAllocatesNothing)
{
  Cylinder(257, 129, 50);
  int made = 0;
  const long before = ThreadAllocationCount();
  for (int mode = 0; mode < 4; ++mode)
  {
    const LensKind kinds[] = {LensKind::Dome, LensKind::Panorama, LensKind::Cylindrical, LensKind::Cubemap};
    vp->settings.lens = kinds[mode];
    vp->settings.fov = mode == 0 ? PI : PI2;
    vp->currentFace.channelIndex = 5;
    for (int y = 0; y < 129; y += 8)
      for (int x = 0; x < 257; x += 8)
      {
        Ray r;
        vp->CreateRay(&r, x + 0.25, y - 0.25);
        made += !r.v.IsZero();
      }
  }
  EXPECT_EQ(ThreadAllocationCount() - before, 0);
  EXPECT_GT(made, 1000) << "the sweep must really have made rays";
}
