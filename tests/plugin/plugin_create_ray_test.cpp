// CreateRay: image position, cylindrical origin, camera matrix, rays without a direction.
#include <gtest/gtest.h>

#include <memory>

#include "OrlixCamVP.h"
#include "support/alloc_counter.h"

namespace
{
struct RayFixture : ::testing::Test
{
  std::unique_ptr<OrlixCamVP> vp{static_cast<OrlixCamVP*>(OrlixCamVP::Alloc())};
  BaseObject* camera = BaseObject::Alloc(Ocamera);

  ~RayFixture() override { BaseObject::Free(camera); }

  /// An active lens over the area from `start` with the given size.
  void Activate(Vector start, Int32 width, Int32 height)
  {
    vp->isActive = true;
    vp->camera = camera;
    vp->activeArea.start = start;
    vp->activeArea.end = start + Vector(width - 1.0, height - 1.0, 0.0);
    UpdateArea(vp->activeArea);
    vp->pixelStep = PixelStep(vp->activeArea);
    vp->bleedPixels = 10;
  }
  void Cylinder(Float height, Bool turned)
  {
    vp->isCylindrical = true;
    vp->fov = PI2;
    UpdateSpans(*vp);
    vp->cylinderHeight = height;
    vp->cylinderAxisTurned = turned;
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

TEST_F(RayFixture, InactiveLeavesTheRayAlone)
{
  vp->isDome = true;
  vp->fov = PI;
  const Ray r = Shoot(10, 10);
  EXPECT_EQ(r.p, Vector(-9, -9, -9));
  EXPECT_EQ(r.v, Vector(-9, -9, -9));
}

TEST_F(RayFixture, PixelCentresSpanTheAreaFromZeroToOne)
{
  // A full-sphere panorama turns uv into a known direction: read the position back from it.
  Activate(Vector(100, 50, 0), 201, 101);
  vp->isPanorama = true;
  vp->fov = PI2;
  UpdateSpans(*vp);
  EXPECT_TRUE(Near(Shoot(200, 100).v, Vector(0, 0, 1))) << "centre pixel is uv (0.5, 0.5)";
  EXPECT_TRUE(Near(Shoot(100, 50).v, Vector(0, 1, 0))) << "first pixel is uv (0, 0): the pole";
  EXPECT_TRUE(Near(Shoot(250, 100).v, Vector(1, 0, 0))) << "uv (0.75, 0.5)";
  EXPECT_TRUE(Near(Shoot(300, 150).v, Vector(0, -1, 0))) << "last pixel is uv (1, 1)";
}

TEST_F(RayFixture, MonoDomeFollowsTheCamera)
{
  Activate(Vector(), 101, 101);
  vp->isDome = true;
  vp->fov = PI;
  const Matrix mg = MatrixMove(Vector(1, 2, 3)) * MatrixRotY(0.4) * MatrixRotX(-0.3);
  camera->SetMg(mg);
  const Ray centre = Shoot(50, 50);
  EXPECT_TRUE(Near(centre.p, Vector(1, 2, 3)));
  EXPECT_TRUE(Near(centre.v, mg.v3)) << "the centre looks along the camera's z axis";
  const Ray right = Shoot(100, 50);
  EXPECT_TRUE(Near(right.v, mg.v1)) << "the rim's right edge looks along the camera's x axis";
}

TEST_F(RayFixture, DirectionIsScaledByTheCameraAxes)
{
  Activate(Vector(), 64, 64);
  vp->isDome = true;
  vp->fov = PI;
  camera->SetMg(MatrixScale(Vector(2, 2, 2)));
  EXPECT_NEAR(Shoot(20, 30).v.GetLength(), 2.0, 1e-12) << "the ray is not normalised";
}

TEST_F(RayFixture, ParentedCameraUsesItsGlobalMatrix)
{
  BaseObject* rig = BaseObject::Alloc(Onull);
  rig->SetMl(MatrixMove(Vector(0, 150, 0)));
  camera->InsertUnder(rig);
  Activate(Vector(), 11, 11);
  vp->isDome = true;
  vp->fov = PI;
  EXPECT_TRUE(Near(Shoot(5, 5).p, Vector(0, 150, 0)));
  camera->Remove();
  BaseObject::Free(rig);
}

TEST_F(RayFixture, CylinderOriginSlidesAlongTheCameraAxes)
{
  Activate(Vector(), 101, 101);
  Cylinder(100, false);
  EXPECT_TRUE(Near(Shoot(50, 0).p, Vector(0, 50, 0)));
  EXPECT_TRUE(Near(Shoot(50, 100).p, Vector(0, -50, 0)));
  EXPECT_NEAR(Shoot(50, 0).v.y, 0.0, 1e-15) << "the strip looks horizontally";
  EXPECT_NEAR(Shoot(50, -1).p.y, 51.0, 1e-9) << "within the bleed the strip runs on beyond its height";

  vp->cylinderAxisTurned = true;
  EXPECT_TRUE(Near(Shoot(0, 50).p, Vector(-50, 0, 0)));
  EXPECT_TRUE(Near(Shoot(100, 50).p, Vector(50, 0, 0)));

  // In mono the offset follows the camera: turned a quarter about Z, its y axis is world +X.
  vp->cylinderAxisTurned = false;
  camera->SetMg(MatrixMove(Vector(10, 0, 0)) * MatrixRotZ(PI05));
  EXPECT_TRUE(Near(Shoot(50, 0).p, Vector(10 + 50, 0, 0), 1e-9));
}

TEST_F(RayFixture, CylinderOriginUsesThePositionAfterTheChannelTurn)
{
  Activate(Vector(), 101, 101);
  Cylinder(100, false);
  vp->currentFace.flipY = true;
  EXPECT_TRUE(Near(Shoot(50, 0).p, Vector(0, -50, 0))) << "a flipped picture slides the origin the other way";
}

TEST_F(RayFixture, NoDirectionGivesAZeroRayNotTheCamera)
{
  Activate(Vector(), 100, 100);
  vp->isDome = true;
  vp->fov = PI;
  camera->SetMg(MatrixMove(Vector(7, 8, 9)));
  const Ray beyond = Shoot(-20, 50);
  EXPECT_EQ(beyond.p, Vector());
  EXPECT_EQ(beyond.v, Vector());
  const Ray corner = Shoot(0, 0); // outside the dome's circle
  EXPECT_EQ(corner.p, Vector());
  EXPECT_EQ(corner.v, Vector());
}

TEST_F(RayFixture, OnePixelWideAreaLooksThroughTheCentre)
{
  Activate(Vector(), 1, 1);
  vp->isDome = true;
  vp->fov = PI;
  const Ray r = Shoot(0, 0);
  EXPECT_EQ(r.v, Vector(0, 0, 1));
  EXPECT_TRUE(std::isfinite(r.v.x));
}

TEST_F(RayFixture, RayPathAllocatesNothing)
{
  Activate(Vector(), 257, 129);
  vp->isCylindrical = true;
  vp->fov = PI2;
  UpdateSpans(*vp);
  vp->cylinderHeight = 50;
  int made = 0;
  const long before = ThreadAllocationCount();
  for (int mode = 0; mode < 4; ++mode)
  {
    vp->isDome = mode == 0;
    vp->isPanorama = mode == 1;
    vp->isCylindrical = mode == 2;
    vp->isCubemap = mode == 3;
    vp->fov = mode == 0 ? PI : PI2;
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
