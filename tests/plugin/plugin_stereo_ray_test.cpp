// Stereo rays through CreateRay: the eye per ray, the cylinder's origin, convergence, and the
// separation map linked from a real tag, with the render's own copy of it.
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <fstream>
#include <memory>
#include <thread>

#include <unistd.h>

#include "OrlixCamVP.h"
#include "description/OrlixTag.h"
#include "lens/lens_stereo.h"
#include "lens/separation_map.h"
#include "plugin_fixture.h"
#include "shader_kernel.h"
#include "support/alloc_counter.h"

namespace
{
constexpr double kHalf = 3.25;

// Shader types of these tests only: one that records how it was sampled, one that opens once.
constexpr Int32 kRecordingShader = 1099001;
constexpr Int32 kOpensOnceShader = 1099002;

ChannelData g_lastSample;
std::atomic<int> g_samples{0};
std::atomic<int> g_opens{0};

class RecordingKernel : public host::ShaderKernel
{
public:
  void InitDefaults(BaseContainer&) const override {}
  INITRENDERRESULT InitRender(const BaseContainer&, const InitRenderStruct&) override { return INITRENDERRESULT_OK; }
  void FreeRender() override {}
  Vector Sample(const ChannelData& cd) const override
  {
    g_lastSample = cd;
    ++g_samples;
    return Vector(0.5, 7, 7);
  }
};

class OpensOnceKernel : public RecordingKernel
{
public:
  INITRENDERRESULT InitRender(const BaseContainer&, const InitRenderStruct&) override
  {
    return ++g_opens == 1 ? INITRENDERRESULT_OK : INITRENDERRESULT_UNKNOWNERROR;
  }
};

BaseContainer Knot(double position, double value)
{
  BaseContainer knot;
  knot.SetFloat(GRADIENTKNOT_POSITION, position);
  knot.SetVector(GRADIENTKNOT_COLOR, Vector(value));
  return knot;
}

::testing::AssertionResult Near(const Vector& a, const Vector& b, double tol = 1e-12)
{
  if ((a - b).GetLength() <= tol)
    return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << a << " vs " << b;
}

/// An active stereo lens on a tagged camera; the lens kind is up to each test.
class StereoRayTest : public PluginTest
{
protected:
  void SetUp() override
  {
    PluginTest::SetUp();
    if (HasFatalFailure())
      return;
    host::RegisterShaderKernel(kRecordingShader, [] { return std::unique_ptr<host::ShaderKernel>(new RecordingKernel); });
    host::RegisterShaderKernel(kOpensOnceShader, [] { return std::unique_ptr<host::ShaderKernel>(new OpensOnceKernel); });
    camera = AddTaggedCamera("Stereo Camera");
    tag = camera->GetTag(1035138);
    ASSERT_NE(tag, nullptr);
    tagData = tag->GetDataInstance();
    vp->isActive = true;
    vp->camera = camera;
    vp->tag = tag;
    vp->tagData = tagData;
    vp->settings.isStereo = true;
    vp->settings.eyeSeparation = 2 * kHalf;
    vp->bleedPixels = 10;
  }

  void TearDown() override
  {
    vp->CloseSeparationClone();
    PluginTest::TearDown();
  }

  void Area(Int32 width, Int32 height)
  {
    vp->activeArea = LensArea();
    vp->activeArea.end = Vector(width - 1.0, height - 1.0, 0.0);
    UpdateArea(vp->activeArea);
    vp->pixelStep = PixelStep(vp->activeArea);
  }

  void Dome(Int32 size)
  {
    Area(size, size);
    vp->settings.lens = LensKind::Dome;
    vp->settings.fov = PI;
  }

  void Panorama(Int32 width, Int32 height)
  {
    Area(width, height);
    vp->settings.lens = LensKind::Panorama;
    vp->settings.fov = PI2;
    UpdateSpans(vp->settings);
  }

  void Cylinder(Int32 width, Int32 height, Float stripHeight)
  {
    Area(width, height);
    vp->settings.lens = LensKind::Cylindrical;
    vp->settings.fov = PI2;
    UpdateSpans(vp->settings);
    vp->settings.cylinderHeight = stripHeight;
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

  std::unique_ptr<OrlixCamVP> vp{static_cast<OrlixCamVP*>(OrlixCamVP::Alloc())};
  BaseObject* camera = nullptr;
  BaseTag* tag = nullptr;
  BaseContainer* tagData = nullptr;
};

// A small grey picture, as a binary PPM that needs no library to write.
std::string WriteGreyPicture(unsigned char value)
{
  const std::string path = ::testing::TempDir() + "orlix_stereo_" + std::to_string(getpid()) + ".ppm";
  std::ofstream out(path, std::ios::binary);
  out << "P6\n4 2\n255\n" << std::string(4 * 2 * 3, static_cast<char>(value));
  EXPECT_TRUE(out.good());
  return path;
}
} // namespace

TEST_F(StereoRayTest, CylinderOriginGoesAlongWorldAxesInStereoAndCameraAxesInMono)
{
  Cylinder(101, 101, 100);
  vp->settings.eyeModel = static_cast<EyeModel>(0);
  // Turned a quarter about Z: the camera's y axis is world +X.
  camera->SetMg(MatrixMove(Vector(10, 0, 0)) * MatrixRotZ(PI05));
  UseEye(-kHalf);

  // Top row: oy = +50. The left eye stands at (10, 3.25, 0) in the world.
  const Ray stereo = Shoot(50, 0);
  EXPECT_TRUE(Near(stereo.p, Vector(10, 3.25 + 50, 0), 1e-9)) << "stereo: offset along world y";
  vp->settings.isStereo = false;
  const Ray mono = Shoot(50, 0);
  EXPECT_TRUE(Near(mono.p, Vector(10 + 50, 0, 0), 1e-9)) << "mono: offset along the camera's y";
  EXPECT_TRUE(Near(stereo.v, mono.v)) << "the fixed eye looks as the camera does";

  vp->settings.isStereo = true;
  vp->settings.cylinderAxisTurned = true;
  EXPECT_TRUE(Near(Shoot(0, 50).p, Vector(10 - 50, 3.25, 0), 1e-9)) << "turned strip: ox = -50 along world x";
}

TEST_F(StereoRayTest, EyeModelsPlaceBothEyesInTheCamerasFrame)
{
  Panorama(201, 101);
  const Matrix cam = MatrixMove(Vector(1, 2, 3)) * MatrixRotY(0.5);
  camera->SetMg(cam);
  const struct
  {
    Int32 model;
    double side;
    Float x;
    Vector localOffset;
    Vector localDirection;
  } rows[] = {
    // x = 150 is u = 0.75, looking right; x = 100 looks straight ahead. Model 5 acts as fixed.
    {0, -kHalf, 150, {-kHalf, 0, 0}, {1, 0, 0}}, {0, kHalf, 150, {kHalf, 0, 0}, {1, 0, 0}},
    {1, kHalf, 150, {0, 0, -kHalf}, {1, 0, 0}},  {2, -kHalf, 150, {0, 0, kHalf}, {1, 0, 0}},
    {2, -kHalf, 100, {-kHalf, 0, 0}, {0, 0, 1}}, {3, -kHalf, 150, {0, kHalf, 0}, {1, 0, 0}},
    {5, kHalf, 150, {kHalf, 0, 0}, {1, 0, 0}},
  };
  for (const auto& row : rows)
  {
    vp->settings.eyeModel = static_cast<EyeModel>(row.model);
    UseEye(row.side);
    const Ray r = Shoot(row.x, 50);
    SCOPED_TRACE(::testing::Message() << "model " << row.model << " eye " << row.side << " x " << row.x);
    EXPECT_TRUE(Near(r.p, cam * row.localOffset, 1e-9));
    EXPECT_TRUE(Near(r.v, cam.TransformVector(row.localDirection), 1e-12));
  }
}

TEST_F(StereoRayTest, ConvergenceAndZenithThroughCreateRay)
{
  Dome(101);
  const Matrix cam = MatrixMove(Vector(0, 150, 0)) * MatrixRotY(0.2) * MatrixRotX(-0.6);
  camera->SetMg(cam);
  vp->settings.eyeModel = static_cast<EyeModel>(0);
  vp->settings.zeroParallaxDistance = 1000;
  UseEye(-kHalf);
  const Ray r = Shoot(50, 50);
  EXPECT_TRUE(Near(r.p, cam * Vector(-kHalf, 0, 0), 1e-9));
  const Vector toPoint = cam * Vector(0, 0, 1000) - r.p;
  EXPECT_GT(Dot(r.v, toPoint), 0.0);
  EXPECT_NEAR(Cross(r.v, toPoint).GetLength() / toPoint.GetLength(), 0.0, 1e-9) << "toed in: the ray passes through the point";

  // With the zenith setting the eye pair turns about the dome's axis, and the centre looks along
  // the camera's axis again.
  vp->settings.zeroParallaxDistance = 0;
  vp->settings.eyeModel = static_cast<EyeModel>(2);
  vp->settings.domeZenith = true;
  const Ray z = Shoot(50, 50);
  EXPECT_TRUE(Near(z.v, cam.v3, 1e-12));
  EXPECT_TRUE(Near(z.p, cam * Vector(-kHalf, 0, 0), 1e-9));
  // At the right rim the sweep turns the pair a quarter about the dome's axis, the camera's z.
  const Ray rim = Shoot(100, 50);
  EXPECT_TRUE(Near(rim.v, cam.v1, 1e-12));
  EXPECT_TRUE(Near(rim.p, cam * Vector(0, -kHalf, 0), 1e-9));
}

TEST_F(StereoRayTest, GradientMapFadingToZeroBringsBothEyesToTheCamera)
{
  // A frame of a stereo panorama through a real gradient linked from the tag: separation 0 towards
  // both poles (v up to 0.1 and from 0.9), 1 at the horizon, linear between.
  Panorama(64, 33);
  const Matrix cam = MatrixMove(Vector(5, 100, -20)) * MatrixRotY(0.3);
  camera->SetMg(cam);
  vp->settings.eyeModel = static_cast<EyeModel>(2);
  BaseShader* map = LinkMap(Xgradient);
  BaseContainer knots;
  knots.SetContainer(0, Knot(0.1, 0.0));
  knots.SetContainer(1, Knot(0.5, 1.0));
  knots.SetContainer(2, Knot(0.9, 0.0));
  map->GetDataInstance()->SetContainer(GRADIENTSHADER_KNOTS, knots);
  ASSERT_TRUE(vp->OpenSeparationClone(doc));

  auto strength = [](double v) { return v <= 0.1 || v >= 0.9 ? 0.0 : (v < 0.5 ? (v - 0.1) / 0.4 : (0.9 - v) / 0.4); };
  for (const double side : {-kHalf, kHalf})
  {
    UseEye(side);
    for (int y = 0; y < 33; ++y)
      for (int x = 0; x < 64; ++x)
      {
        const double v = y / 32.0;
        const Ray r = Shoot(x, y);
        // Where the map gives 0 the eye must sit on the camera to rounding, not just near it.
        const double want = kHalf * strength(v);
        EXPECT_NEAR((r.p - cam.off).GetLength(), want, want == 0.0 ? 1e-12 : 1e-9)
          << "pixel " << x << ", " << y << " eye " << side;
        // The map moves the eyes only; the fixed-axes eye looks as the camera does.
        vp->settings.isStereo = false;
        EXPECT_TRUE(Near(r.v, Shoot(x, y).v)) << "pixel " << x << ", " << y;
        vp->settings.isStereo = true;
      }
  }

  vp->CloseSeparationClone();
  EXPECT_EQ(vp->separationMap.shader, nullptr);
}

TEST_F(StereoRayTest, NoCloneWithoutAMapThatOpens)
{
  Panorama(64, 33);
  UseEye(-kHalf);
  vp->settings.eyeModel = static_cast<EyeModel>(0);
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

  // A link that doesn't resolve in this document is the Begin/End test's.
  tagData->SetLink(ORLIXTAG_SEPARATION_MAP, nullptr);
  expectNone("empty link");

  // A picture that doesn't load: no map, silently.
  LinkMap(Xbitmap)->GetDataInstance()->SetFilename(BITMAPSHADER_FILENAME, Filename("/nonexistent/orlix_map.png"));
  expectNone("picture missing");
  EXPECT_FALSE(host::App().console.Contains(String("Shader clone error")));

  EXPECT_TRUE(Near(Shoot(20, 16).p, camera->GetMg() * Vector(-kHalf, 0, 0), 1e-9)) << "full separation";
}

TEST_F(StereoRayTest, CloneIsTheRendersOwnCopy)
{
  Panorama(64, 33);
  BaseShader* map = LinkMap(Xcolor);
  map->GetDataInstance()->SetFloat(COLORSHADER_BRIGHTNESS, 0.5);
  ASSERT_TRUE(vp->OpenSeparationClone(doc));
  BaseShader* clone = vp->separationMap.shader;
  ASSERT_NE(clone, nullptr);
  EXPECT_NE(clone, map);

  ChannelData cd;
  EXPECT_EQ(map->Sample(&cd), Vector()) << "the tag's own shader is closed again";
  EXPECT_TRUE(Near(clone->Sample(&cd), Vector(0.5))) << "the copy is open";

  // The user may change the tag's shader during the render; the render keeps its copy.
  map->GetDataInstance()->SetFloat(COLORSHADER_BRIGHTNESS, 0.0);
  UseEye(-kHalf);
  vp->settings.eyeModel = static_cast<EyeModel>(0);
  EXPECT_TRUE(Near(Shoot(20, 16).p, camera->GetMg() * Vector(-kHalf * 0.5, 0, 0), 1e-9));

  // Opening again closes the old copy first.
  ASSERT_TRUE(vp->OpenSeparationClone(doc));
  EXPECT_TRUE(Near(Shoot(20, 16).p, camera->GetMg().off, 1e-9)) << "the new copy has the new setting";
  vp->CloseSeparationClone();
  vp->CloseSeparationClone(); // nothing left to close
  EXPECT_EQ(vp->separationMap.shader, nullptr);
}

TEST_F(StereoRayTest, FailedCloneIsReportedAndRendersAtFullSeparation)
{
  Panorama(64, 33);
  g_opens = 0;
  LinkMap(kOpensOnceShader);
  EXPECT_FALSE(vp->OpenSeparationClone(doc));
  EXPECT_EQ(vp->separationMap.shader, nullptr);
  EXPECT_EQ(g_opens.load(), 2) << "the tag's shader opened, its copy did not";
  ASSERT_FALSE(host::App().console.Lines().empty());
  EXPECT_EQ(host::App().console.Lines().back(), String("--- OrlixCam: Shader clone error"));

  UseEye(kHalf);
  vp->settings.eyeModel = static_cast<EyeModel>(0);
  EXPECT_TRUE(Near(Shoot(20, 16).p, camera->GetMg() * Vector(kHalf, 0, 0), 1e-9));
}

TEST_F(StereoRayTest, SampleSeparationMapContract)
{
  BaseShader* recorder = LinkMap(kRecordingShader);
  ASSERT_EQ(recorder->InitRender(InitRenderStruct(doc)), INITRENDERRESULT_OK);
  const Vector ahead(0, 0, 1); // the lens direction of a panorama's centre

  // No shader: 1.0.
  g_samples = 0;
  EXPECT_EQ(SampleSeparationMap(SeparationMapLookup(), ahead), 1.0);
  EXPECT_EQ(g_samples.load(), 0);

  // A sphere's map: the first component, and the record the shader is sampled with.
  SeparationMapLookup map{recorder, false, PI};
  EXPECT_EQ(SampleSeparationMap(map, ahead), 0.5);
  EXPECT_EQ(g_samples.load(), 1);
  EXPECT_TRUE(Near(g_lastSample.p, Vector(0.75, 0.5, 0), 1e-15)) << "a quarter of the image on";
  EXPECT_EQ(g_lastSample.texflag, TEX_TILE);

  // A dome with the zenith setting looks up dome positions, v upward.
  Dome(100);
  vp->settings.domeZenith = true;
  Vector uv(0.75, 0.25, 0);
  const Vector domeDirection = PixelToDirection(*vp, uv);
  map.domeZenith = true;
  SampleSeparationMap(map, domeDirection);
  EXPECT_TRUE(Near(g_lastSample.p, Vector(0.75, 0.75, 0.5), 1e-15));
  recorder->FreeRender();

  // No clamp: a map of 2.5 gives 2.5, a map below 0 gives its value.
  BaseShader* bright = LinkMap(Xcolor);
  for (const double value : {2.5, -0.5})
  {
    bright->GetDataInstance()->SetFloat(COLORSHADER_BRIGHTNESS, value);
    ASSERT_EQ(bright->InitRender(InitRenderStruct(doc)), INITRENDERRESULT_OK);
    EXPECT_EQ(SampleSeparationMap(SeparationMapLookup{bright, false, PI}, ahead), value);
  }
  bright->FreeRender();
}

TEST_F(StereoRayTest, BeginAndEndOpenTheLinkedShaderOnce)
{
  BaseShader* quarter = LinkMap(Xcolor);
  quarter->GetDataInstance()->SetFloat(COLORSHADER_BRIGHTNESS, 0.25);

  EndSeparationMap(); // nothing open: nothing happens
  EXPECT_EQ(OpenSeparationMap(), nullptr);

  BaseDocument* other = BaseDocument::Alloc();
  BeginSeparationMap(tagData, other);
  EXPECT_EQ(OpenSeparationMap(), nullptr) << "the linked shader isn't in that document";
  EndSeparationMap();
  BaseDocument::Free(other);

  BeginSeparationMap(tagData, doc);
  EXPECT_EQ(OpenSeparationMap(), quarter);
  BaseShader* elsewhere = quarter;
  std::thread([&] { elsewhere = OpenSeparationMap(); }).join();
  EXPECT_EQ(elsewhere, nullptr) << "another thread doesn't see this pair";
  EndSeparationMap();
  EXPECT_EQ(OpenSeparationMap(), nullptr);
  ChannelData cd;
  EXPECT_EQ(quarter->Sample(&cd), Vector()) << "EndSeparationMap closed the shader";
}

TEST_F(StereoRayTest, StereoRaysAllocateNothing)
{
  Panorama(129, 65);
  camera->SetMg(MatrixMove(Vector(0, 150, 0)) * MatrixRotY(0.4));
  vp->settings.zeroParallaxDistance = 500;
  BaseShader* picture = LinkMap(Xbitmap);
  picture->GetDataInstance()->SetFilename(BITMAPSHADER_FILENAME, Filename(WriteGreyPicture(191).c_str()));
  BaseShader* gradient = BaseShader::Alloc(Xgradient);
  tag->InsertShader(gradient);
  BaseShader* colour = BaseShader::Alloc(Xcolor);
  tag->InsertShader(colour);

  int made = 0, maps = 0;
  for (BaseShader* map : {static_cast<BaseShader*>(nullptr), picture, gradient, colour})
  {
    tagData->SetLink(ORLIXTAG_SEPARATION_MAP, map);
    ASSERT_TRUE(vp->OpenSeparationClone(doc));
    maps += vp->separationMap.shader != nullptr;
    for (Int32 model = 0; model < 4; ++model)
    {
      vp->settings.eyeModel = static_cast<EyeModel>(model);
      UseEye(model % 2 ? kHalf : -kHalf);
      const long rays = ThreadAllocationCount();
      for (int y = 0; y < 65; y += 4)
        for (int x = 0; x < 129; x += 4)
        {
          Ray r;
          vp->CreateRay(&r, x + 0.25, y - 0.25);
          made += !r.v.IsZero();
        }
      EXPECT_EQ(ThreadAllocationCount() - rays, 0) << "model " << model << ", map type " << (map ? map->GetType() : 0);
    }
    vp->CloseSeparationClone();
  }
  EXPECT_EQ(maps, 3) << "picture, gradient and colour each opened";
  EXPECT_GT(made, 4 * 4 * 500) << "the sweep must really have made rays";
}
