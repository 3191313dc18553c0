// Whole renders of small scenes: the host's pinhole, shading with shadows, materials, primitives
// and meshes, and a sky picture.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "c4d.h"
#include "c4d_objects.h"
#include "host_app.h"
#include "render/render_loop.h"
#include "render_picture.h"
#include "support/scratch_dir.h"

namespace
{
/// The sky picture: smooth, periodic across the seam, different in every quadrant.
Rgba SkyPixel(Int32 x, Int32 y)
{
  const Float u = (x + 0.5) / 64, v = (y + 0.5) / 32;
  return Rgba{Float32(0.5 + 0.4 * std::sin(2.0 * PI * u)), Float32(v), Float32(0.5 + 0.3 * std::cos(4.0 * PI * u) * std::sin(PI * v)), 1.0f};
}

/// Four quadrants: red top left, green top right, blue bottom left, white.
Rgba QuadrantPixel(Int32 x, Int32 y)
{
  const Int32 q = (y >= 2) * 2 + (x >= 2);
  return Rgba{q == 0 || q == 3 ? 1.0f : 0.0f, q == 1 || q == 3 ? 1.0f : 0.0f, q == 2 || q == 3 ? 1.0f : 0.0f, 1.0f};
}

struct SceneRender : ::testing::Test, ScratchDir
{
  void SetUp() override
  {
    host::ResetApp();
    doc = BaseDocument::Alloc();
    SetActiveDocument(doc);
    Size(64, 32);
  }
  void TearDown() override { host::ResetApp(); }

  void Size(Int32 w, Int32 h)
  {
    doc->GetActiveRenderData()->GetDataInstance()->SetInt32(RDATA_XRES, w);
    doc->GetActiveRenderData()->GetDataInstance()->SetInt32(RDATA_YRES, h);
  }

  BaseObject* Add(Int32 type, const Matrix& mg = Matrix())
  {
    BaseObject* op = BaseObject::Alloc(type);
    doc->InsertObject(op, nullptr, nullptr);
    op->SetMg(mg);
    return op;
  }
  BaseObject* Sphere(const Vector& pos, Float radius, const Vector& colour)
  {
    BaseObject* op = Add(Osphere, MatrixMove(pos));
    op->GetDataInstance()->SetFloat(PRIM_SPHERE_RAD, radius);
    Colour(op, colour);
    return op;
  }
  /// A square of `half` each way in the XY plane, corners from bottom left clockwise.
  PolygonObject* Square(Float half, const Matrix& mg)
  {
    PolygonObject* quad = PolygonObject::Alloc(4, 1);
    EXPECT_NE(quad, nullptr);
    for (Int32 i = 0; i < 4; ++i)
      quad->GetPointW()[i] = Vector(i < 2 ? -half : half, i == 1 || i == 2 ? half : -half, 0);
    quad->GetPolygonW()[0] = CPolygon(0, 1, 2, 3);
    doc->InsertObject(quad, nullptr, nullptr);
    quad->SetMg(mg);
    return quad;
  }
  BaseObject* Floor(Float size)
  {
    BaseObject* floor = Add(Oplane);
    floor->GetDataInstance()->SetFloat(PRIM_PLANE_WIDTH, size);
    floor->GetDataInstance()->SetFloat(PRIM_PLANE_HEIGHT, size);
    return floor;
  }
  static void Colour(BaseObject* op, const Vector& colour)
  {
    BaseContainer material;
    material.SetVector(MATERIAL_COLOR, colour);
    op->GetDataInstance()->SetContainer(OBJECT_MATERIAL, material);
  }
  void Sky(const Vector& colour) { Add(Osky)->GetDataInstance()->SetVector(SKY_COLOR, colour); }
  /// A picture material showing the quadrants, written as `name`.
  BaseContainer QuadrantMaterial(const std::string& name) const
  {
    BaseContainer m;
    m.SetInt32(MATERIAL_TYPE, MATERIAL_TYPE_PICTURE);
    m.SetFilename(MATERIAL_PICTURE, Filename(WritePicture(Path(name), 4, 4, QuadrantPixel)));
    return m;
  }
  /// A camera at `pos` looking straight down, image up along +Z, 90° across.
  BaseObject* CameraLookingDown(const Vector& pos)
  {
    BaseObject* cam = Add(Ocamera, MatrixMove(pos) * HPBToMatrix(Vector(0, -PI05, 0)));
    cam->GetDataInstance()->SetFloat(CAMERA_FOCUS, 18.0);
    cam->GetDataInstance()->SetFloat(CAMERAOBJECT_APERTURE, 36.0);
    return cam;
  }

  host::BitmapPtr Render(Int32 samples = 4)
  {
    host::RenderOptions options;
    options.samples = samples;
    host::BitmapPtr picture;
    String error;
    EXPECT_TRUE(host::RenderDocument(doc, options, &picture, &error)) << error;
    return picture;
  }

  /// The quadrant picture's colours at columns x0 (left) and x1 and rows y0 (top) and y1 of `bmp`.
  static void ExpectQuadrants(const BaseBitmap& bmp, Int32 x0, Int32 x1, Int32 y0, Int32 y1)
  {
    const Rgba tl = At(bmp, x0, y0), tr = At(bmp, x1, y0), bl = At(bmp, x0, y1), br = At(bmp, x1, y1);
    EXPECT_TRUE(tl.r > 0.3f && tl.g == 0.0f && tl.b == 0.0f) << "top left " << tl;
    EXPECT_TRUE(tr.g > 0.3f && tr.r == 0.0f && tr.b == 0.0f) << "top right " << tr;
    EXPECT_TRUE(bl.b > 0.3f && bl.r == 0.0f && bl.g == 0.0f) << "bottom left " << bl;
    EXPECT_TRUE(br.r > 0.3f && br.g > 0.3f && br.b > 0.3f) << "bottom right " << br;
  }
  static Bool Same(const Rgba& p, const Vector& c, Float tol = 1e-6)
  {
    return std::fabs(p.r - c.x) <= tol && std::fabs(p.g - c.y) <= tol && std::fabs(p.b - c.z) <= tol;
  }

  BaseDocument* doc = nullptr;
};

} // namespace

TEST_F(SceneRender, PinholeSeesTheSphereAtItsSizeAndPlaceAndTheSkyAroundIt)
{
  const Vector skyColour(0.1, 0.2, 0.9);
  Sky(skyColour);
  Add(Olight)->GetDataInstance()->SetInt32(LIGHT_TYPE, LIGHT_TYPE_DISTANT); // a sun along +Z, from the camera
  Sphere(Vector(0, 0, 300), 50, Vector(1, 0, 0));
  Sphere(Vector(80, 40, 300), 10, Vector(0, 0, 1));
  Sphere(Vector(-100, 0, 300), 40, Vector(0, 1, 0))->SetRenderMode(MODE_OFF);
  BaseObject* cam = Add(Ocamera); // at the origin, looking along +Z, 36 mm on 36 mm: 53.13° across

  host::BitmapPtr bmp = Render();
  ASSERT_TRUE(bmp);
  const Rgba centre = At(*bmp, 31, 15);
  EXPECT_TRUE(centre.r > 0.9f && centre.g == 0.0f && centre.a == 1.0f) << centre;
  // The silhouette: tan of the sphere's angular radius over tan of half the field, in half widths.
  const Float radius = 50.0 / std::sqrt(300.0 * 300.0 - 50.0 * 50.0) / 0.5 * 32.0;
  Int32 inside = 0, outside = 0;
  for (Int32 y = 0; y < 32; ++y)
    for (Int32 x = 20; x < 44; ++x)
    {
      const Float d = std::hypot(x - 31.5, y - 15.5);
      const Rgba p = At(*bmp, x, y);
      const Bool in = d < radius - 0.8, out = d > radius + 0.8;
      inside += in;
      outside += out;
      EXPECT_TRUE(!in || (p.r > 0.09f && p.g == 0.0f && p.b == 0.0f)) << "sphere at " << x << ", " << y << ": " << p;
      EXPECT_TRUE(!out || Same(p, skyColour)) << "sky at " << x << ", " << y << ": " << p;
    }
  EXPECT_GT(inside, 250);
  EXPECT_GT(outside, 200);
  // Up in the scene is up in the picture, +X is right; an object switched off isn't there.
  const Rgba small = At(*bmp, 49, 7);
  EXPECT_TRUE(small.b > 0.5f && small.r == 0.0f) << small;
  EXPECT_TRUE(Same(At(*bmp, 10, 15), skyColour)) << "the sphere switched off for rendering shows";

  // At 72 mm the silhouette is twice the 36 mm one: 21.6 pixels.
  cam->GetDataInstance()->SetFloat(CAMERA_FOCUS, 72.0);
  bmp = Render();
  ASSERT_TRUE(bmp);
  EXPECT_GT(At(*bmp, 31 + 19, 15).r, 0.05f) << "19 pixels out is still on the sphere at 72 mm";
  EXPECT_TRUE(Same(At(*bmp, 31 + 23, 15), skyColour)) << "23 pixels out is beyond it";

  cam->GetDataInstance()->SetFloat(CAMERA_FOCUS, 0.0);
  String error;
  EXPECT_FALSE(host::RenderDocument(doc, host::RenderOptions(), nullptr, &error));
  EXPECT_EQ(error, String("camera: focal length and film width must be above 0"));
}

TEST_F(SceneRender, SunAndPointLightCastTheSphereShadowOnTheFloor)
{
  Size(64, 64);
  Colour(Floor(2000.0), Vector(1, 1, 1));
  Sphere(Vector(0, 100, 0), 30, Vector(1, 1, 1));
  CameraLookingDown(Vector(0, 400, 0));
  // The shadow of the sphere's centre falls on (100, 0, 0): pixel (39.5, 31.5); (−100, 0, 0) is lit.
  auto check = [&](const char* what, Float litExpected, Bool shadows) {
    host::BitmapPtr bmp = Render();
    ASSERT_TRUE(bmp) << what;
    const Rgba shadow = At(*bmp, 39, 31), lit = At(*bmp, 23, 31);
    EXPECT_NEAR(lit.r, litExpected, 0.02) << what << ": lit floor " << lit;
    if (!shadows)
      EXPECT_NEAR(shadow.r, litExpected, 0.02) << what << ": a light without shadows lights all";
    else
    {
      EXPECT_GT(shadow.r, 0.05f) << what << ": the ambient light reaches into the shadow";
      EXPECT_LT(shadow.r, 0.3f * lit.r) << what << ": shadow " << shadow << " against lit " << lit;
      EXPECT_GT(At(*bmp, 39, 20).r, 0.5f * lit.r) << what << ": the floor beside the shadow is lit";
    }
  };
  BaseObject* sun = Add(Olight, HPBToMatrix(Vector(-PI05, -PI / 4, 0))); // along its +Z: down at 45° towards +X
  sun->GetDataInstance()->SetInt32(LIGHT_TYPE, LIGHT_TYPE_DISTANT);
  check("sun at 45°", 0.1 + std::sqrt(0.5), true);
  sun->GetDataInstance()->SetBool(LIGHT_SHADOW, false);
  check("sun without shadows", 0.1 + std::sqrt(0.5), false);
  sun->Remove();
  BaseObject::Free(sun);
  Add(Olight, MatrixMove(Vector(-100, 200, 0)))->GetDataInstance()->SetVector(LIGHT_COLOR, Vector(1, 1, 1));
  check("point light", 0.1 + 1.0, true); // straight above (−100, 0, 0)
}

TEST_F(SceneRender, CheckerAndPicturePlanesFromAbove)
{
  Size(64, 64);
  CameraLookingDown(Vector(0, 400, 0)); // 12.5 units a pixel on the floor, a 100 cell is 8 pixels
  BaseObject* floor = Floor(2000.0);
  BaseContainer checker;
  checker.SetInt32(MATERIAL_TYPE, MATERIAL_TYPE_CHECKER);
  checker.SetVector(MATERIAL_COLOR, Vector(1, 1, 1));
  checker.SetVector(MATERIAL_COLOR2, Vector(0, 0, 0));
  checker.SetFloat(MATERIAL_CHECKER_SIZE, 100.0);
  floor->GetDataInstance()->SetContainer(OBJECT_MATERIAL, checker);

  host::BitmapPtr bmp = Render();
  ASSERT_TRUE(bmp);
  for (Int32 y = 0; y < 64; ++y)
    for (Int32 x = 0; x < 64; ++x)
    {
      const Float wx = (x - 31.5) * 12.5, wz = (31.5 - y) * 12.5;
      const Bool first = std::fmod(std::floor(wx / 100.0) + std::floor(wz / 100.0), 2.0) == 0.0;
      const Rgba p = At(*bmp, x, y);
      ASSERT_TRUE(first ? p.r > 0.5f : p.r == 0.0f) << "pixel " << x << ", " << y << " over (" << wx << ", " << wz << "): " << p;
    }

  // The quadrant picture on a plane 400 across, seen upright: its top towards +Z.
  floor->GetDataInstance()->SetFloat(PRIM_PLANE_WIDTH, 400.0);
  floor->GetDataInstance()->SetFloat(PRIM_PLANE_HEIGHT, 400.0);
  floor->GetDataInstance()->SetContainer(OBJECT_MATERIAL, QuadrantMaterial("render_quadrants.exr"));
  doc->GetActiveRenderData()->GetDataInstance()->SetBool(RDATA_ALPHACHANNEL, true);
  bmp = Render();
  ASSERT_TRUE(bmp);
  ExpectQuadrants(*bmp, 23, 40, 23, 40);
  EXPECT_EQ(At(*bmp, 5, 5).a, 0.0f) << "beyond the plane there is neither object nor sky";
}

TEST_F(SceneRender, PrimitivesAndMeshesShowAtTheirPlaceAndSize)
{
  Sky(Vector(0, 0, 0));
  Add(Ocamera); // 53.13° across 64 pixels: at distance 300 a pixel is 4.6875 units
  // A 100 × 100 quad scaled by a half, centred on pixel 10: 25 units is 5.33 pixels each way. Its
  // texture coordinates show the quadrant picture upright.
  PolygonObject* quad = Square(50, MatrixMove(Vector(-100, 0, 300)) * MatrixScale(Vector(0.5)));
  ASSERT_TRUE(quad->SetUVWEnabled(true));
  quad->GetUVWW()[0] = UVWStruct{Vector(0, 1, 0), Vector(0, 0, 0), Vector(1, 0, 0), Vector(1, 1, 0)};
  quad->GetDataInstance()->SetContainer(OBJECT_MATERIAL, QuadrantMaterial("mesh_quadrants.exr"));
  // A cylinder standing in the middle: 20 wide is 4.27 pixels, 100 high 21.3.
  BaseObject* cylinder = Add(Ocylinder, MatrixMove(Vector(0, 0, 300)));
  cylinder->GetDataInstance()->SetFloat(PRIM_CYLINDER_RADIUS, 10.0);
  cylinder->GetDataInstance()->SetFloat(PRIM_CYLINDER_HEIGHT, 100.0);
  Colour(cylinder, Vector(0, 1, 0));
  // A 40 cube right of the centre, turned 45° about Y: its corners reach 28.3 units to each side,
  // from pixel 46.8 to 58.9, its front edge at 55.1; 4.7 pixels up and down.
  BaseObject* cube = Add(Ocube, MatrixMove(Vector(100, 0, 300)) * HPBToMatrix(Vector(PI / 4, 0, 0)));
  cube->GetDataInstance()->SetVector(PRIM_CUBE_LEN, Vector(40, 40, 40));
  Colour(cube, Vector(0, 0, 1));

  host::BitmapPtr bmp = Render();
  ASSERT_TRUE(bmp);
  const struct
  {
    Int32 x, y, channel; // 0 quad (its red, only where it isn't), 1 cylinder (green), 2 cube (blue)
    Bool on;
  } probes[] = {
    {4, 16, 0, false}, {17, 16, 0, false}, {10, 9, 0, false}, {10, 22, 0, false},
    {31, 6, 1, true}, {32, 25, 1, true}, {31, 2, 1, false}, {27, 15, 1, false}, {36, 15, 1, false},
    {48, 16, 2, true}, {53, 16, 2, true}, {55, 16, 2, true}, {57, 16, 2, true}, {44, 16, 2, false},
    {61, 16, 2, false}, {53, 8, 2, false},
  };
  for (const auto& p : probes)
  {
    const Rgba got = At(*bmp, p.x, p.y);
    const Float32 value = p.channel == 0 ? got.r : p.channel == 1 ? got.g : got.b;
    EXPECT_TRUE(p.on ? value > 0.05f : value == 0.0f)
      << "object " << p.channel << (p.on ? " missing" : " present") << " at " << p.x << ", " << p.y << ": " << got;
  }
  ExpectQuadrants(*bmp, 8, 13, 13, 18);
}

TEST_F(SceneRender, SkyPictureIsLookedUpByDirectionBetweenItsPixels)
{
  BaseContainer* sky = Add(Osky)->GetDataInstance();
  sky->SetInt32(SKY_TYPE, SKY_TYPE_PICTURE);
  sky->SetFilename(SKY_PICTURE, Filename(WritePicture(Path("sky.exr"), 64, 32, SkyPixel)));
  sky->SetFloat(SKY_INTENSITY, 2.0);
  BaseObject* cam = Add(Ocamera);
  Size(3, 3);
  // Column u = (x + 0.5) / 64 looks along +Z at 0.5 and towards +X at 0.75; row 0 looks up. Each
  // look falls halfway between two columns and two rows, so the centre pixel gets their mean,
  // twice for the sky's intensity 2. Red changes along columns only, green along rows.
  const struct
  {
    const char* towards;
    Vector hpb;
    Int32 column, row; ///< the first of the two
  } looks[] = {
    {"+Z", Vector(0, 0, 0), 31, 15},
    {"+X", Vector(-PI05, 0, 0), 47, 15},
    {"-Z, across the seam", Vector(PI, 0, 0), 63, 15},
    {"+Z, 45° up", Vector(0, PI / 4, 0), 31, 7},
  };
  for (const auto& l : looks)
  {
    cam->SetMg(HPBToMatrix(l.hpb));
    host::BitmapPtr bmp = Render(1);
    ASSERT_TRUE(bmp);
    const Rgba got = At(*bmp, 1, 1), a = SkyPixel(l.column, l.row), b = SkyPixel((l.column + 1) % 64, l.row + 1);
    EXPECT_NEAR(got.r, a.r + b.r, 1e-4) << l.towards << ": " << got;
    EXPECT_NEAR(got.g, a.g + b.g, 1e-4) << l.towards << ": " << got;
  }
}
