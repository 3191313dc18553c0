// CreateRay: image position, camera matrix, the cylinder's origin, the eye per ray, convergence,
// and the separation map linked from a real tag, with the render's own copy of it.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

#include "OrlixCamVP.h"
#include "description/OrlixTag.h"
#include "lens/lens_stereo.h"
#include "lens/separation_map.h"
#include "plugin_fixture.h"
#include "shader_kernel.h"
#include "support/alloc_counter.h"
#include "support/scratch_dir.h"

namespace
{
constexpr double kHalf = 3.25;

// Shader types of these tests only: both give 0.5 and record how they were sampled; the second
// opens once only, so the tag's shader opens and its copy doesn't.
constexpr Int32 kRecordingShader = 1099001;
constexpr Int32 kOpensOnceShader = 1099002;

ChannelData g_lastSample;
std::atomic<int> g_opens{0};

struct RecordingKernel : host::ShaderKernel
{
  explicit RecordingKernel(bool once) : opensOnce(once) {}
  void InitDefaults(BaseContainer&) const override {}
  INITRENDERRESULT InitRender(const BaseContainer&, const InitRenderStruct&) override
  {
    return ++g_opens == 1 || !opensOnce ? INITRENDERRESULT_OK : INITRENDERRESULT_UNKNOWNERROR;
  }
  void FreeRender() override {}
  Vector Sample(const ChannelData& cd) const override { return g_lastSample = cd, Vector(0.5, 7, 7); }
  const bool opensOnce;
};

::testing::AssertionResult Near(const Vector& a, const Vector& b, double tol = 1e-12)
{
  if ((a - b).GetLength() <= tol)
    return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << a << " vs " << b;
}

/// An active lens on a tagged camera; `Stereo` gives it eyes 6.5 apart.
class RayTest : public PluginTest
{
protected:
  void SetUp() override
  {
    PluginTest::SetUp();
    if (HasFatalFailure())
      return;
    host::RegisterShaderKernel(kRecordingShader, [] { return std::unique_ptr<host::ShaderKernel>(new RecordingKernel(false)); });
    host::RegisterShaderKernel(kOpensOnceShader, [] { return std::unique_ptr<host::ShaderKernel>(new RecordingKernel(true)); });
    camera = AddTaggedCamera("Lens Camera");
    tag = camera->GetTag(1035138);
    ASSERT_NE(tag, nullptr);
    tagData = tag->GetDataInstance();
    vp->isActive = true;
    vp->camera = camera;
    vp->tag = tag;
    vp->tagData = tagData;
  }

  void TearDown() override
  {
    vp->CloseSeparationClone();
    PluginTest::TearDown();
  }

  void Stereo(LensKind kind, Int32 width, Int32 height, const std::function<void(LensSettings&)>& edit = {})
  {
    UseLens(*vp, LensFor(kind, [&](LensSettings& s) {
      s.isStereo = true;
      s.eyeSeparation = 2 * kHalf;
      if (edit)
        edit(s);
    }), width, height);
  }

  /// The eye record as the stereo cameras make it: the camera's matrix moved along its x axis.
  void UseEye(double side)
  {
    vp->currentEye.m = camera->GetMg() * MatrixMove(Vector(side, 0, 0));
    vp->currentEye.strName = String(side < 0 ? "0" : "1");
    vp->currentEye.channelIndex = side < 0 ? 0 : 1;
  }

  /// A shader of `type`, owned by the tag and linked as its separation map, the map switched on.
  BaseShader* LinkMap(Int32 type)
  {
    BaseShader* sh = BaseShader::Alloc(type);
    EXPECT_NE(sh, nullptr);
    tag->InsertShader(sh);
    tagData->SetLink(ORLIXTAG_SEPARATION_MAP, sh);
    tagData->SetBool(ORLIXTAG_SEPARATION_MAP_ON, true);
    vp->settings.separationMapOn = true;
    return sh;
  }

  Ray Shoot(Float x, Float y)
  {
    Ray r;
    r.p = Vector(-9, -9, -9);
    r.v = Vector(-9, -9, -9);
    vp->CreateRay(&r, x, y);
    return r;
  }

  /// Rays over a grid of every `step`-th pixel: how many had a direction, and how many
  /// allocations they cost.
  std::pair<int, long> Sweep(Int32 width, Int32 height, Int32 step)
  {
    int made = 0;
    const long before = ThreadAllocationCount();
    for (int y = 0; y < height; y += step)
      for (int x = 0; x < width; x += step)
      {
        Ray r;
        vp->CreateRay(&r, x + 0.25, y - 0.25);
        made += !r.v.IsZero();
      }
    return {made, ThreadAllocationCount() - before};
  }

  std::unique_ptr<OrlixCamVP> vp{static_cast<OrlixCamVP*>(OrlixCamVP::Alloc())};
  BaseObject* camera = nullptr;
  BaseTag* tag = nullptr;
  BaseContainer* tagData = nullptr;
};

} // namespace

TEST_F(RayTest, PixelPositionsEdgeCasesAndTheCamerasGlobalMatrix)
{
  // A full-sphere panorama turns uv into a known direction: read the position back from it.
  UseLens(*vp, LensFor(LensKind::Panorama), 201, 101, Vector(100, 50, 0));
  EXPECT_TRUE(Near(Shoot(200, 100).v, Vector(0, 0, 1))) << "centre pixel is uv (0.5, 0.5)";
  EXPECT_TRUE(Near(Shoot(100, 50).v, Vector(0, 1, 0))) << "first pixel is uv (0, 0): the pole";
  EXPECT_TRUE(Near(Shoot(300, 150).v, Vector(0, -1, 0))) << "last pixel is uv (1, 1)";

  UseLens(*vp, LensFor(LensKind::Dome), 1, 1);
  EXPECT_EQ(Shoot(0, 0).v, Vector(0, 0, 1)) << "a one-pixel area looks through the centre";

  UseLens(*vp, LensFor(LensKind::Dome), 100, 100);
  camera->SetMg(MatrixMove(Vector(7, 8, 9)));
  // Beyond the area, and a corner outside the dome's circle: a zero ray, not the camera's.
  for (const Ray& r : {Shoot(-20, 50), Shoot(0, 0)})
    EXPECT_TRUE(r.p == Vector() && r.v == Vector()) << r.p << " " << r.v;

  vp->isActive = false;
  const Ray untouched = Shoot(10, 10);
  EXPECT_TRUE(untouched.p == Vector(-9, -9, -9) && untouched.v == Vector(-9, -9, -9)) << "inactive leaves the ray alone";

  // A mono ray follows the camera's global matrix.
  vp->isActive = true;
  UseLens(*vp, LensFor(LensKind::Dome), 101, 101);
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
  doc->InsertObject(rig, nullptr, nullptr);
  camera->Remove();
  camera->SetMl(Matrix());
  camera->InsertUnder(rig);
  EXPECT_TRUE(Near(Shoot(50, 50).p, Vector(0, 150, 0))) << "a parented camera by its global matrix";
}

TEST_F(RayTest, CylinderOriginSlidesAlongTheStrip)
{
  UseLens(*vp, LensFor(LensKind::Cylindrical, [](LensSettings& s) { s.cylinderHeight = 100; }), 101, 101);
  EXPECT_TRUE(Near(Shoot(50, 0).p, Vector(0, 50, 0)));
  EXPECT_TRUE(Near(Shoot(50, 100).p, Vector(0, -50, 0)));
  EXPECT_NEAR(Shoot(50, -1).p.y, 51.0, 1e-9) << "within the bleed the strip runs on beyond its height";
  vp->currentFace.flipY = true;
  EXPECT_TRUE(Near(Shoot(50, 0).p, Vector(0, -50, 0))) << "the origin follows the channel's flip";
  vp->currentFace.flipY = false;
  vp->settings.cylinderAxisTurned = true;
  EXPECT_TRUE(Near(Shoot(0, 50).p, Vector(-50, 0, 0)));
  EXPECT_TRUE(Near(Shoot(100, 50).p, Vector(50, 0, 0)));

  // In stereo the offset goes along the world's axes, in mono along the camera's. Turned a
  // quarter about Z, the camera's y axis is world +X; the left eye stands at (10, 3.25, 0).
  Stereo(LensKind::Cylindrical, 101, 101, [](LensSettings& s) { s.cylinderHeight = 100; });
  camera->SetMg(MatrixMove(Vector(10, 0, 0)) * MatrixRotZ(PI05));
  UseEye(-kHalf);
  EXPECT_TRUE(Near(Shoot(50, 0).p, Vector(10, 3.25 + 50, 0), 1e-9)) << "stereo: offset along world y";
  vp->settings.isStereo = false;
  EXPECT_TRUE(Near(Shoot(50, 0).p, Vector(10 + 50, 0, 0), 1e-9)) << "mono: offset along the camera's y";
  vp->settings.isStereo = true;
  vp->settings.cylinderAxisTurned = true;
  EXPECT_TRUE(Near(Shoot(0, 50).p, Vector(10 - 50, 3.25, 0), 1e-9)) << "turned strip: ox = -50 along world x";
}

TEST_F(RayTest, ConvergenceAndZenithThroughCreateRay)
{
  Stereo(LensKind::Dome, 101, 101, [](LensSettings& s) { s.zeroParallaxDistance = 1000; });
  const Matrix cam = MatrixMove(Vector(0, 150, 0)) * MatrixRotY(0.2) * MatrixRotX(-0.6);
  camera->SetMg(cam);
  UseEye(-kHalf);
  const Ray r = Shoot(50, 50);
  const Vector toPoint = cam * Vector(0, 0, 1000) - r.p;
  EXPECT_GT(Dot(r.v, toPoint), 0.0);
  EXPECT_NEAR(Cross(r.v, toPoint).GetLength() / toPoint.GetLength(), 0.0, 1e-9) << "toed in: the ray passes through the point";

  // With the zenith setting the eye pair turns about the dome's axis, the camera's z: at the right
  // rim the sweep has turned it a quarter.
  vp->settings.zeroParallaxDistance = 0;
  vp->settings.eyeModel = EyeModel::Sweep;
  vp->settings.domeZenith = true;
  const Ray rim = Shoot(100, 50);
  EXPECT_TRUE(Near(rim.v, cam.v1, 1e-12));
  EXPECT_TRUE(Near(rim.p, cam * Vector(0, -kHalf, 0), 1e-9));
}

TEST_F(RayTest, MapFromTheRendersOwnCopyScalesTheEyeOffsetUnclampedWhereTheLensLooks)
{
  Stereo(LensKind::Panorama, 64, 33);
  const Matrix cam = MatrixMove(Vector(5, 100, -20)) * MatrixRotY(0.3);
  camera->SetMg(cam);
  UseEye(-kHalf);
  BaseShader* map = LinkMap(Xcolor);
  for (const double value : {0.5, 0.0, 2.5, -0.5})
  {
    map->GetDataInstance()->SetFloat(COLORSHADER_BRIGHTNESS, value);
    ASSERT_TRUE(vp->OpenSeparationClone(doc)); // opening again closes the old copy first
    // The user may change the tag's shader during the render; the render keeps its copy.
    map->GetDataInstance()->SetFloat(COLORSHADER_BRIGHTNESS, 9.0);
    // Where the map gives 0 the eye must sit on the camera to rounding, not just near it.
    EXPECT_TRUE(Near(Shoot(20, 16).p, cam * Vector(-kHalf * value, 0, 0), value == 0.0 ? 1e-12 : 1e-9)) << "map " << value;
  }
  ChannelData cd;
  EXPECT_EQ(map->Sample(&cd), Vector()) << "the tag's own shader is closed again";
  vp->CloseSeparationClone();
  vp->CloseSeparationClone(); // nothing left to close
  EXPECT_EQ(vp->separationMap.shader, nullptr);

  // The map is looked up where the lens looks.
  Stereo(LensKind::Panorama, 201, 101, [](LensSettings& s) { s.separationMapOn = true; });
  LinkMap(kRecordingShader);
  ASSERT_TRUE(vp->OpenSeparationClone(doc));
  Shoot(100, 50);
  EXPECT_TRUE(Near(g_lastSample.p, Vector(0.75, 0.5, 0), 1e-15)) << "the panorama's centre, a quarter of the map on";
  EXPECT_EQ(g_lastSample.texflag, TEX_TILE);

  // A dome with the zenith setting, taken when the copy opens, looks up dome positions, v upward.
  Stereo(LensKind::Dome, 101, 101, [](LensSettings& s) { s.domeZenith = s.separationMapOn = true; });
  ASSERT_TRUE(vp->OpenSeparationClone(doc));
  Shoot(75, 25);
  EXPECT_TRUE(Near(g_lastSample.p, Vector(0.75, 0.75, 0.5), 1e-15));
}

TEST_F(RayTest, NoCopyWithoutAMapThatOpens)
{
  Stereo(LensKind::Panorama, 64, 33);
  UseEye(-kHalf);
  auto expectNone = [&](const char* why) {
    EXPECT_TRUE(vp->OpenSeparationClone(doc)) << why;
    EXPECT_EQ(vp->separationMap.shader, nullptr) << why;
  };
  // A shader that would give 0, with the map switched off, then in a mono render.
  LinkMap(Xcolor)->GetDataInstance()->SetFloat(COLORSHADER_BRIGHTNESS, 0.0);
  vp->settings.separationMapOn = false;
  expectNone("map off");
  vp->settings.separationMapOn = true;
  vp->settings.isStereo = false;
  expectNone("mono");
  vp->settings.isStereo = true;
  tagData->SetLink(ORLIXTAG_SEPARATION_MAP, nullptr);
  expectNone("empty link");
  // A picture that doesn't load: no map, silently.
  LinkMap(Xbitmap)->GetDataInstance()->SetFilename(BITMAPSHADER_FILENAME, Filename("/nonexistent/orlix_map.png"));
  expectNone("picture missing");
  EXPECT_FALSE(host::App().console.Contains(String("Shader clone error")));
  EXPECT_TRUE(Near(Shoot(20, 16).p, camera->GetMg() * Vector(-kHalf, 0, 0), 1e-9)) << "full separation";

  // The tag's shader opens, its copy does not: reported, and the render goes on at full separation.
  g_opens = 0;
  LinkMap(kOpensOnceShader);
  EXPECT_FALSE(vp->OpenSeparationClone(doc));
  EXPECT_EQ(vp->separationMap.shader, nullptr);
  EXPECT_EQ(g_opens.load(), 2);
  EXPECT_TRUE(host::App().console.Contains(String("--- OrlixCam: Shader clone error")));
  EXPECT_TRUE(Near(Shoot(20, 16).p, camera->GetMg() * Vector(-kHalf, 0, 0), 1e-9));
}

TEST_F(RayTest, BeginOpensTheLinkedShaderOfThatDocumentForThisThread)
{
  // That End closes the shader shows in the render's copy: the tag's own shader is closed again.
  BaseShader* map = LinkMap(Xcolor);
  BaseDocument* other = BaseDocument::Alloc();
  BeginSeparationMap(tagData, other);
  EXPECT_EQ(OpenSeparationMap(), nullptr) << "the linked shader isn't in that document";
  BaseDocument::Free(other);
  BeginSeparationMap(tagData, doc);
  EXPECT_EQ(OpenSeparationMap(), map);
  BaseShader* elsewhere = map;
  std::thread([&] { elsewhere = OpenSeparationMap(); }).join();
  EXPECT_EQ(elsewhere, nullptr) << "another thread doesn't see this pair";
  EndSeparationMap();
  EXPECT_EQ(OpenSeparationMap(), nullptr);
}

TEST_F(RayTest, RaysAllocateNothing)
{
  for (const LensKind kind : {LensKind::Dome, LensKind::Panorama, LensKind::Cylindrical, LensKind::Cubemap})
  {
    UseLens(*vp, LensFor(kind, [](LensSettings& s) { s.cylinderHeight = 50; }), 257, 129);
    vp->currentFace.channelIndex = 5;
    const auto [made, allocations] = Sweep(257, 129, 8);
    EXPECT_EQ(allocations, 0) << "mono lens " << static_cast<int>(kind);
    EXPECT_GT(made, 150) << "the sweep must really have made rays";
  }

  Stereo(LensKind::Panorama, 129, 65, [](LensSettings& s) { s.zeroParallaxDistance = 500; });
  camera->SetMg(MatrixMove(Vector(0, 150, 0)) * MatrixRotY(0.4));
  // A small grey picture, as a binary PPM that needs no library to write.
  const ScratchDir scratch;
  const std::string grey = scratch.Write("grey.ppm", "P6\n4 2\n255\n" + std::string(4 * 2 * 3, static_cast<char>(191)));
  BaseShader* picture = LinkMap(Xbitmap);
  picture->GetDataInstance()->SetFilename(BITMAPSHADER_FILENAME, Filename(grey.c_str()));
  BaseShader* gradient = LinkMap(Xgradient);
  BaseShader* colour = LinkMap(Xcolor);
  int maps = 0;
  for (BaseShader* map : {static_cast<BaseShader*>(nullptr), picture, gradient, colour})
  {
    tagData->SetLink(ORLIXTAG_SEPARATION_MAP, map);
    ASSERT_TRUE(vp->OpenSeparationClone(doc));
    maps += vp->separationMap.shader != nullptr;
    for (Int32 model = 0; model < 4; ++model)
    {
      vp->settings.eyeModel = static_cast<EyeModel>(model);
      UseEye(model % 2 ? kHalf : -kHalf);
      const auto [made, allocations] = Sweep(129, 65, 4);
      EXPECT_EQ(allocations, 0) << "model " << model << ", map type " << (map ? map->GetType() : 0);
      EXPECT_GT(made, 500) << "the sweep must really have made rays";
    }
    vp->CloseSeparationClone();
  }
  EXPECT_EQ(maps, 3) << "picture, gradient and colour each opened";
}
