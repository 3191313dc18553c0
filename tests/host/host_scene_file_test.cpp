// Scene files over the host alone (no plug-in): the host's own objects through saving and
// loading, OBJ meshes, angles, and the limits on what a scene may ask for.
#include <cmath>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

#include "c4d.h"
#include "c4d_objects.h"
#include "host_app.h"
#include "scene/scene_file.h"

namespace fs = std::filesystem;

namespace
{
constexpr double kPi = 3.14159265358979323846;

struct HostSceneFile : ::testing::Test
{
  fs::path dir;

  void SetUp() override
  {
    host::ResetApp();
    dir = fs::path(::testing::TempDir()) / ("orlix_host_scene_" + std::to_string(getpid()) + "_" +
                                            ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(dir);
    fs::create_directories(dir);
  }
  void TearDown() override
  {
    fs::remove_all(dir);
    host::ResetApp();
  }
  std::string Write(const std::string& name, const std::string& text)
  {
    std::ofstream((dir / name).string(), std::ios::binary) << text;
    return (dir / name).string();
  }
  /// Loads `text` as a scene; null with `error` filled on bad input.
  BaseDocument* Load(const std::string& text, host::scene::SceneError* error)
  {
    return host::scene::LoadScene(Write("scene.json", text), error);
  }
  /// Loads `text` and expects it to fail at `path` with a problem containing `problem`.
  void ExpectError(const std::string& text, const std::string& path, const std::string& problem)
  {
    host::scene::SceneError error;
    BaseDocument* d = Load(text, &error);
    EXPECT_EQ(d, nullptr) << "loaded although bad: " << text;
    if (d)
    {
      BaseDocument::Free(d);
      return;
    }
    EXPECT_EQ(error.file, (dir / "scene.json").string()) << text;
    EXPECT_EQ(error.path, path) << text << "\n" << error.Message();
    EXPECT_NE(error.problem.find(problem), std::string::npos) << text << "\n" << error.Message();
  }
};

::testing::AssertionResult Near(const Matrix& a, const Matrix& b, double eps = 1e-9)
{
  const Vector* pa[] = {&a.off, &a.v1, &a.v2, &a.v3};
  const Vector* pb[] = {&b.off, &b.v1, &b.v2, &b.v3};
  for (int i = 0; i < 4; ++i)
    if ((*pa[i] - *pb[i]).GetLength() > eps * std::max(1.0, pa[i]->GetLength()))
      return ::testing::AssertionFailure() << "row " << i << ": " << *pa[i] << " vs " << *pb[i];
  return ::testing::AssertionSuccess();
}

/// Puts `op` last at the top of `doc`, or last under `parent`.
void AppendObject(BaseDocument* doc, BaseObject* op, BaseObject* parent = nullptr)
{
  if (parent)
  {
    op->InsertUnderLast(parent);
    return;
  }
  BaseObject* last = doc->GetFirstObject();
  while (last && last->GetNext())
    last = last->GetNext();
  doc->InsertObject(op, nullptr, last);
}

BaseObject* Add(BaseDocument* doc, Int32 type, const char* name, BaseObject* parent = nullptr)
{
  BaseObject* op = BaseObject::Alloc(type);
  op->SetName(String(name));
  AppendObject(doc, op, parent);
  return op;
}

/// The ids in `c` with their value types, for a failure message.
std::string Ids(const BaseContainer& c)
{
  std::string s;
  for (Int32 i = 0; i < c.GetDataCount(); ++i)
    s += " " + std::to_string(c.GetIndexId(i)) + ":" + std::to_string(c.GetData(c.GetIndexId(i)).GetType());
  return s.empty() ? " (none)" : s;
}

void ExpectSameTree(BaseObject* a, BaseObject* b, int& compared)
{
  for (; a || b; a = a->GetNext(), b = b->GetNext())
  {
    ASSERT_TRUE(a && b) << "one tree has more objects";
    const std::string name = a->GetName().GetStdString();
    EXPECT_EQ(a->GetType(), b->GetType()) << name;
    EXPECT_EQ(a->GetName(), b->GetName());
    EXPECT_TRUE(Near(a->GetMl(), b->GetMl())) << name;
    EXPECT_EQ(a->GetRenderMode(), b->GetRenderMode()) << name;
    // Every setting the original holds comes back; the loader may keep more (the numbers as written).
    const BaseContainer* ca = a->GetDataInstance();
    const BaseContainer* cb = b->GetDataInstance();
    for (Int32 i = 0; i < ca->GetDataCount(); ++i)
    {
      const Int32 id = ca->GetIndexId(i);
      const GeData* vb = cb->GetDataPointer(id);
      EXPECT_TRUE(vb && ca->GetData(id) == *vb)
        << name << ": setting " << id << " differs; saved" << Ids(*ca) << ", loaded" << Ids(*cb);
    }
    ++compared;
    ExpectSameTree(a->GetDown(), b->GetDown(), compared);
  }
}
} // namespace

TEST_F(HostSceneFile, TheHostsOwnObjectsSurviveSavingAndLoading)
{
  BaseDocument* doc = BaseDocument::Alloc();
  doc->SetFps(24);
  doc->SetMinTime(BaseTime(1.5));
  doc->SetMaxTime(BaseTime(7.25));
  doc->SetTime(BaseTime(2.0));
  BaseContainer* rd = doc->GetActiveRenderData()->GetDataInstance();
  rd->SetInt32(RDATA_XRES, 333);
  rd->SetInt32(RDATA_YRES, 77);
  rd->SetFloat(RDATA_FRAMERATE, 12.5);
  rd->SetBool(RDATA_STEREO, true);
  rd->SetBool(RDATA_ALPHACHANNEL, true);

  BaseObject* rig = Add(doc, Onull, "Rig");
  rig->SetMl(MatrixMove(Vector(1, -2, 3)) * HPBToMatrix(Vector(0.3, -0.2, 1.1)) * MatrixScale(Vector(2, 3, 0.5)));
  BaseObject* cam = Add(doc, Ocamera, "Cam", rig);
  cam->GetDataInstance()->SetFloat(CAMERA_FOCUS, 18.0);
  cam->GetDataInstance()->SetFloat(CAMERAOBJECT_APERTURE, 24.0);
  cam->SetRenderMode(MODE_ON);
  cam->SetMl(MatrixMove(Vector(0, 10, 0)) * HPBToMatrix(Vector(kPi, kPi / 2, 0)));
  BaseObject* ball = Add(doc, Osphere, "Ball", rig);
  ball->GetDataInstance()->SetFloat(PRIM_SPHERE_RAD, 12.0);
  ball->SetRenderMode(MODE_OFF);
  BaseContainer color;
  color.SetInt32(MATERIAL_TYPE, MATERIAL_TYPE_COLOR);
  color.SetVector(MATERIAL_COLOR, Vector(0.1, 0.7, 0.3));
  ball->GetDataInstance()->SetContainer(OBJECT_MATERIAL, color);
  BaseObject* box = Add(doc, Ocube, "Box");
  box->GetDataInstance()->SetVector(PRIM_CUBE_LEN, Vector(1, 2, 3));
  BaseContainer checker;
  checker.SetInt32(MATERIAL_TYPE, MATERIAL_TYPE_CHECKER);
  checker.SetVector(MATERIAL_COLOR, Vector(1, 0, 0));
  checker.SetVector(MATERIAL_COLOR2, Vector(0, 0, 1));
  checker.SetFloat(MATERIAL_CHECKER_SIZE, 25.0);
  box->GetDataInstance()->SetContainer(OBJECT_MATERIAL, checker);
  BaseObject* floor = Add(doc, Oplane, "Floor");
  floor->GetDataInstance()->SetFloat(PRIM_PLANE_WIDTH, 900.0);
  floor->GetDataInstance()->SetFloat(PRIM_PLANE_HEIGHT, 50.0);
  BaseObject* pillar = Add(doc, Ocylinder, "Pillar");
  pillar->GetDataInstance()->SetFloat(PRIM_CYLINDER_RADIUS, 3.0);
  pillar->GetDataInstance()->SetFloat(PRIM_CYLINDER_HEIGHT, 40.0);
  pillar->GetDataInstance()->SetBool(PRIM_CYLINDER_CAPS, false);
  BaseObject* sky = Add(doc, Osky, "Sky");
  sky->GetDataInstance()->SetInt32(SKY_TYPE, SKY_TYPE_GRADIENT);
  sky->GetDataInstance()->SetVector(SKY_COLOR_TOP, Vector(0, 0, 1));
  sky->GetDataInstance()->SetVector(SKY_COLOR_BOTTOM, Vector(1, 1, 0));
  sky->GetDataInstance()->SetFloat(SKY_INTENSITY, 0.5);
  BaseObject* sun = Add(doc, Olight, "Sun");
  sun->GetDataInstance()->SetInt32(LIGHT_TYPE, LIGHT_TYPE_DISTANT);
  sun->GetDataInstance()->SetVector(LIGHT_COLOR, Vector(1, 0.5, 0.25));
  sun->GetDataInstance()->SetFloat(LIGHT_BRIGHTNESS, 2.0);
  sun->GetDataInstance()->SetBool(LIGHT_SHADOW, false);
  PolygonObject* mesh = PolygonObject::Alloc(4, 2);
  ASSERT_NE(mesh, nullptr);
  mesh->SetName(String("Quad"));
  const Vector pts[] = {Vector(0, 0, 0), Vector(1, 0, 0), Vector(1, 1, 0), Vector(0, 1, 0.5)};
  for (int i = 0; i < 4; ++i)
    mesh->GetPointW()[i] = pts[i];
  mesh->GetPolygonW()[0] = CPolygon(0, 1, 2);
  mesh->GetPolygonW()[1] = CPolygon(0, 2, 3, 1);
  AppendObject(doc, mesh);
  doc->GetRenderBaseDraw()->SetSceneCamera(cam);
  doc->GetRenderBaseDraw()->SetProjection(CAMERA_PARALLEL);

  const std::string file = (dir / "saved.json").string();
  host::scene::SceneError error;
  ASSERT_TRUE(host::scene::SaveScene(doc, file, &error)) << error.Message();
  BaseDocument* back = host::scene::LoadScene(file, &error);
  ASSERT_NE(back, nullptr) << error.Message();

  EXPECT_EQ(back->GetFps(), 24);
  EXPECT_DOUBLE_EQ(back->GetMinTime().Get(), 1.5);
  EXPECT_DOUBLE_EQ(back->GetMaxTime().Get(), 7.25);
  EXPECT_DOUBLE_EQ(back->GetTime().Get(), 2.0);
  EXPECT_TRUE(*back->GetActiveRenderData()->GetDataInstance() == *rd) << "render settings differ";
  int compared = 0;
  ExpectSameTree(doc->GetFirstObject(), back->GetFirstObject(), compared);
  EXPECT_EQ(compared, 9);
  auto* quad = static_cast<PolygonObject*>(back->SearchObject(String("Quad")));
  ASSERT_NE(quad, nullptr);
  ASSERT_EQ(quad->GetType(), Opolygon);
  ASSERT_EQ(quad->GetPointCount(), 4);
  ASSERT_EQ(quad->GetPolygonCount(), 2);
  for (int i = 0; i < 4; ++i)
    EXPECT_EQ(quad->GetPointR()[i], pts[i]) << "point " << i;
  EXPECT_TRUE(quad->GetPolygonR()[0].IsTriangle());
  EXPECT_EQ(quad->GetPolygonR()[1].d, 1);
  BaseObject* linked = back->GetRenderBaseDraw()->GetSceneCamera(back);
  ASSERT_NE(linked, nullptr);
  EXPECT_EQ(linked->GetName(), String("Cam"));
  EXPECT_EQ(back->GetRenderBaseDraw()->GetProjection(), CAMERA_PARALLEL);
  BaseDocument::Free(back);
  BaseDocument::Free(doc);
}

TEST_F(HostSceneFile, AnglesInRadiansAndDegreesAreTheSame)
{
  host::scene::SceneError error;
  BaseDocument* d = Load(R"({"format": "orlixcam-scene/1", "objects": [
      {"type": "null", "name": "Rad", "rotation": [1.5707963267948966, 0.5235987755982988, 0]},
      {"type": "null", "name": "Deg", "rotation": {"deg": [90, 30, 0]}},
      {"type": "null", "name": "Up", "rotation": {"deg": [0, 90, 0]}}]})",
                         &error);
  ASSERT_NE(d, nullptr) << error.Message();
  const Matrix rad = d->SearchObject(String("Rad"))->GetMl();
  const Matrix deg = d->SearchObject(String("Deg"))->GetMl();
  EXPECT_TRUE(Near(rad, deg, 1e-12));
  EXPECT_TRUE(Near(deg, HPBToMatrix(Vector(kPi / 2, kPi / 6, 0)), 1e-12));
  // Pitch +90° turns the object's forward axis up.
  const Vector forward = d->SearchObject(String("Up"))->GetMl().v3;
  EXPECT_NEAR(forward.y, 1.0, 1e-12) << forward;
  BaseDocument::Free(d);
}

TEST_F(HostSceneFile, ObjMeshesKeepPointsPolygonsAndTextureCoordinates)
{
  // A quad and a triangle; OBJ counts from 1 and its v runs upward.
  Write("shape.obj", "# two faces\nv 0 0 0\nv 2 0 0\nv 2 3 0\nv 0 3 0\nv 1 5 1\n"
                     "vt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\nvt 0.5 0.25\n"
                     "f 1/1 2/2 3/3 4/4\nf 4/4 3/3 5/5\n");
  host::scene::SceneError error;
  BaseDocument* d = Load(R"({"format": "orlixcam-scene/1", "objects": [
      {"type": "mesh", "name": "Shape", "file": "shape.obj", "position": [0, 0, 10]}]})",
                         &error);
  ASSERT_NE(d, nullptr) << error.Message();
  auto* mesh = static_cast<PolygonObject*>(d->SearchObject(String("Shape")));
  ASSERT_NE(mesh, nullptr);
  ASSERT_EQ(mesh->GetType(), Opolygon);
  ASSERT_EQ(mesh->GetPointCount(), 5);
  ASSERT_EQ(mesh->GetPolygonCount(), 2);
  EXPECT_EQ(mesh->GetPointR()[2], Vector(2, 3, 0));
  EXPECT_EQ(mesh->GetPointR()[4], Vector(1, 5, 1));
  const CPolygon& q = mesh->GetPolygonR()[0];
  EXPECT_EQ(q.a, 0);
  EXPECT_EQ(q.b, 1);
  EXPECT_EQ(q.c, 2);
  EXPECT_EQ(q.d, 3);
  const CPolygon& t = mesh->GetPolygonR()[1];
  EXPECT_TRUE(t.IsTriangle());
  EXPECT_EQ(t.a, 3);
  EXPECT_EQ(t.c, 4);
  ASSERT_NE(mesh->GetUVWR(), nullptr) << "the file has texture coordinates";
  EXPECT_EQ(mesh->GetUVWR()[0].a, Vector(0, 1, 0)) << "v downward: OBJ's bottom left is the top's v 1";
  EXPECT_EQ(mesh->GetUVWR()[0].c, Vector(1, 0, 0));
  EXPECT_EQ(mesh->GetUVWR()[1].c, Vector(0.5, 0.75, 0));
  EXPECT_EQ(mesh->GetMl().off, Vector(0, 0, 10));

  // Saving keeps the file's name, and the mesh loads again from it.
  const std::string saved = (dir / "saved.json").string();
  ASSERT_TRUE(host::scene::SaveScene(d, saved, &error)) << error.Message();
  BaseDocument* back = host::scene::LoadScene(saved, &error);
  ASSERT_NE(back, nullptr) << error.Message();
  auto* again = static_cast<PolygonObject*>(back->SearchObject(String("Shape")));
  ASSERT_NE(again, nullptr);
  EXPECT_EQ(again->GetPolygonCount(), 2);
  EXPECT_EQ(again->GetPointR()[4], Vector(1, 5, 1));
  BaseDocument::Free(back);
  BaseDocument::Free(d);
}

TEST_F(HostSceneFile, BadMeshesAndSizesAreNamed)
{
  Write("penta.obj", "v 0 0 0\nv 1 0 0\nv 2 1 0\nv 1 2 0\nv 0 1 0\nf 1 2 3 4 5\n");
  Write("empty.obj", "");
  Write("dangling.obj", "v 0 0 0\nv 1 0 0\nf 1 2 3\n");
  const std::string head = R"({"format": "orlixcam-scene/1", )";
  ExpectError(head + R"("objects": [{"type": "mesh", "file": "penta.obj"}]})", "/objects/0/file", "has 5 corners");
  ExpectError(head + R"("objects": [{"type": "mesh", "file": "missing.obj"}]})", "/objects/0/file", "missing.obj");
  ExpectError(head + R"("objects": [{"type": "mesh", "file": "empty.obj"}]})", "/objects/0/file", "holds no polygons");
  ExpectError(head + R"("objects": [{"type": "mesh", "file": "dangling.obj"}]})", "/objects/0/file",
              "polygon 0 names a point the file does not hold");
  ExpectError(head + R"("objects": [{"type": "sky", "picture": "nope.png"}]})", "/objects/0/picture", "nope.png");
  ExpectError(head + R"("objects": [{"type": "null", "scale": [1, 0, 1]}]})", "/objects/0/scale", "");
  ExpectError(head + R"("objects": [{"type": "null", "rotation": {"rad": [1, 0, 0]}}]})", "/objects/0/rotation", "");
  ExpectError(head + R"("render": {"width": -4}})", "/render/width", "out of range 1 to 65536");
  ExpectError(head + R"("render": {"fps": 0}})", "/render/fps", "above 0");
  ExpectError(head + R"("render": {"width": 65536, "height": 65536}})", "/render", "too large for memory");
  ExpectError(head + R"("render": {"stereo": "yes"}})", "/render/stereo", "");
  ExpectError(head + R"("fps": 0})", "/fps", "out of range 1 to 1000");
  ExpectError(head + R"("objects": [{"type": "camera", "focal": [36]}]})", "/objects/0/focal", "expected a number");
  ExpectError(head + R"("render": {"videoPosts": [{"type": "NoSuchPost"}]}})", "/render/videoPosts/0/type", "");
}

TEST_F(HostSceneFile, TheLargestFrameWithinMemoryLoads)
{
  host::scene::SceneError error;
  BaseDocument* d = Load(R"({"format": "orlixcam-scene/1", "render": {"width": 16384, "height": 16384}})", &error);
  ASSERT_NE(d, nullptr) << error.Message();
  EXPECT_EQ(d->GetActiveRenderData()->GetDataInstance()->GetInt32(RDATA_XRES), 16384);
  BaseDocument::Free(d);
}

TEST_F(HostSceneFile, AFailedSaveLeavesTheOldFileAlone)
{
  const std::string file = Write("keep.json", "old contents");
  BaseDocument* doc = BaseDocument::Alloc();
  host::scene::SceneError error;
  // A folder in the file's place: the rename cannot replace it, and nothing else changes.
  fs::create_directories(dir / "blocked.json" / "inside");
  EXPECT_FALSE(host::scene::SaveScene(doc, (dir / "blocked.json").string(), &error));
  EXPECT_FALSE(error.problem.empty()) << error.Message();
  EXPECT_TRUE(fs::is_directory(dir / "blocked.json" / "inside"));
  int entries = 0;
  for (const auto& e : fs::directory_iterator(dir))
    entries += e.path().filename().string().rfind("blocked.json", 0) == 0 ? 1 : 0;
  EXPECT_EQ(entries, 1) << "no temporary file left behind";
  std::ifstream in(file);
  const std::string text((std::istreambuf_iterator<char>(in)), {});
  EXPECT_EQ(text, "old contents");
  BaseDocument::Free(doc);
}
