// Scene files: what loads, what saving and loading again keeps, and how bad input is reported.
#include <cmath>
#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>

#include "c4d_objects.h"
#include "c4d_shader.h"
#include "description/OrlixCam.h"
#include "description/OrlixTag.h"
#include "plugin_fixture.h"
#include "scene/scene_file.h"

namespace fs = std::filesystem;

namespace
{
struct SceneFile : PluginTest
{
  fs::path dir;

  void SetUp() override
  {
    PluginTest::SetUp();
    dir = fs::path(::testing::TempDir()) / ("orlix_scene_" + std::to_string(getpid()) + "_" +
                                            ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(dir);
    fs::create_directories(dir);
    Write("sky.png", std::string()); // replaced by a real picture where a test renders
    Write("tri.obj", "v 0 0 0\nv 100 0 0\nv 0 100 0\nv 100 100 0\nvt 0 0\nvt 1 0\nvt 0 1\nvt 1 1\n"
                     "f 1/1 2/2 3/3\nf 2/2 4/4 3/3\n");
  }
  void TearDown() override
  {
    fs::remove_all(dir);
    PluginTest::TearDown();
  }
  std::string Write(const std::string& name, const std::string& text)
  {
    std::ofstream((dir / name).string(), std::ios::binary) << text;
    return (dir / name).string();
  }
  BaseDocument* Load(const std::string& text, host::scene::SceneError* error = nullptr)
  {
    host::scene::SceneError local;
    BaseDocument* d = host::scene::LoadScene(Write("scene.json", text), error ? error : &local);
    EXPECT_TRUE(d || error) << (error ? error->Message() : local.Message());
    return d;
  }
};

const char* kRich = R"({
  "format": "orlixcam-scene/1", "name": "Rich", "fps": 24, "minTime": 1, "maxTime": 10, "time": 2,
  "render": {"width": 640, "height": 320, "fps": 24, "stereo": true, "alpha": true,
    "videoPosts": [{"type": "OrlixCam", "enabled": false,
                    "params": {"ORLIXVP_CUBE_LAYOUT": "ORLIXVP_CUBE_LAYOUT_STRIP_HORIZONTAL", "ORLIXVP_TEXT": "hello",
                               "ORLIXVP_TEXT_SIZE": 2.5, "ORLIXVP_LOGO_FILE": "logo.png"}}]},
  "objects": [
    {"type": "null", "name": "Rig", "position": [10, 20, 30], "rotation": {"deg": [30, -20, 10]}, "scale": [2, 2, 2],
     "children": [
       {"type": "camera", "name": "Cam", "focal": 24, "aperture": 30, "renderMode": "on",
        "rotation": [0.1, 0.2, 0.3],
        "tags": [{"type": "OrlixTag", "params": {"ORLIXTAG_LENS": 0, "1008": {"deg": 220}, "ORLIXTAG_STEREO": true,
                  "ORLIXTAG_SEPARATION_MAP": {"shader": "gradient", "knots": [[0, [0, 0, 0]], [1, [1, 1, 1]]]}}}]}]},
    {"type": "sky", "picture": "sky.png", "intensity": 2},
    {"type": "plane", "name": "Floor", "size": [500, 300], "material": {"checker": [[1, 0, 0], [0, 0, 1]], "scale": 50}},
    {"type": "sphere", "name": "Ball", "radius": 40, "renderMode": "off", "material": {"color": [0.5, 0.5, 0.5]}},
    {"type": "cube", "name": "Box", "size": [1, 2, 3], "material": {"picture": "sky.png", "projection": "planar", "size": 80}},
    {"type": "cylinder", "name": "Pillar", "radius": 5, "height": 50, "caps": false},
    {"type": "mesh", "name": "Tri", "file": "tri.obj"},
    {"type": "mesh", "name": "Inline", "points": [[0, 0, 0], [1, 0, 0], [0, 1, 0]], "polygons": [[0, 1, 2]]},
    {"type": "light", "name": "Sun", "kind": "sun", "color": [1, 0.9, 0.8], "intensity": 0.5, "shadow": false}
  ],
  "views": {"render": {"camera": "Cam", "projection": 1}}
})";

::testing::AssertionResult SameMatrix(const Matrix& a, const Matrix& b)
{
  const Vector* pa[] = {&a.off, &a.v1, &a.v2, &a.v3};
  const Vector* pb[] = {&b.off, &b.v1, &b.v2, &b.v3};
  for (int i = 0; i < 4; ++i)
    if ((*pa[i] - *pb[i]).GetLength() > 1e-9 * std::max(1.0, pa[i]->GetLength()))
      return ::testing::AssertionFailure() << "row " << i << ": " << *pa[i] << " vs " << *pb[i];
  return ::testing::AssertionSuccess();
}

/// Compares two object trees: types, names, matrices, render modes, settings, tags.
void ExpectSameObjects(BaseObject* a, BaseObject* b, BaseDocument* da, BaseDocument* db, int& compared)
{
  for (; a || b; a = a->GetNext(), b = b->GetNext())
  {
    ASSERT_TRUE(a && b) << "one tree has more objects";
    const std::string name = a->GetName().GetStdString();
    EXPECT_EQ(a->GetType(), b->GetType()) << name;
    EXPECT_EQ(a->GetName(), b->GetName());
    EXPECT_TRUE(SameMatrix(a->GetMl(), b->GetMl())) << name;
    EXPECT_EQ(a->GetRenderMode(), b->GetRenderMode()) << name;
    EXPECT_TRUE(*a->GetDataInstance() == *b->GetDataInstance()) << name << ": settings differ";
    if (a->GetType() == Opolygon)
    {
      auto* pa = static_cast<PolygonObject*>(a);
      auto* pb = static_cast<PolygonObject*>(b);
      EXPECT_EQ(pa->GetPointCount(), pb->GetPointCount()) << name;
      EXPECT_EQ(pa->GetPolygonCount(), pb->GetPolygonCount()) << name;
    }
    BaseTag* ta = a->GetFirstTag();
    BaseTag* tb = b->GetFirstTag();
    for (; ta || tb; ta = ta->GetNext(), tb = tb->GetNext())
    {
      ASSERT_TRUE(ta && tb) << name << ": tag counts differ";
      EXPECT_EQ(ta->GetType(), tb->GetType());
      const BaseContainer* ca = ta->GetDataInstance();
      const BaseContainer* cb = tb->GetDataInstance();
      for (Int32 i = 0; i < ca->GetDataCount(); ++i)
      {
        const Int32 id = ca->GetIndexId(i);
        const GeData& va = ca->GetData(id);
        if (va.GetType() == DA_ALIASLINK)
        {
          const BaseList2D* la = va.GetLink(da);
          const BaseList2D* lb = cb->GetLink(id, db);
          ASSERT_EQ(la == nullptr, lb == nullptr) << name << " tag id " << id;
          if (la)
          {
            EXPECT_EQ(la->GetType(), lb->GetType());
            EXPECT_TRUE(*la->GetDataInstance() == *lb->GetDataInstance()) << "linked shader of id " << id;
          }
        }
        else
          EXPECT_TRUE(va == cb->GetData(id)) << name << " tag id " << id;
      }
    }
    ++compared;
    ExpectSameObjects(a->GetDown(), b->GetDown(), da, db, compared);
  }
}
} // namespace

TEST_F(SceneFile, LoadsEveryKindOfThing)
{
  BaseDocument* d = Load(kRich);
  ASSERT_NE(d, nullptr);
  EXPECT_EQ(d->GetFps(), 24);
  EXPECT_DOUBLE_EQ(d->GetMaxTime().Get(), 10.0);
  const BaseContainer* rd = d->GetActiveRenderData()->GetDataInstance();
  EXPECT_EQ(rd->GetInt32(RDATA_XRES), 640);
  EXPECT_TRUE(rd->GetBool(RDATA_STEREO));
  BaseVideoPost* vp = d->GetActiveRenderData()->GetFirstVideoPost();
  ASSERT_NE(vp, nullptr);
  EXPECT_EQ(vp->GetNext(), nullptr) << "the lens tag finds the listed video post instead of adding one";
  EXPECT_TRUE(vp->GetBit(BIT_VPDISABLED));
  EXPECT_EQ(vp->GetDataInstance()->GetInt32(ORLIXVP_CUBE_LAYOUT), 2) << "a cycle's value by its symbol";
  EXPECT_EQ(vp->GetDataInstance()->GetFilename(ORLIXVP_LOGO_FILE).GetString().GetStdString(), (dir / "logo.png").string())
    << "file names resolve against the scene's folder";

  BaseObject* cam = d->SearchObject(String("Cam"));
  ASSERT_NE(cam, nullptr);
  EXPECT_EQ(cam->GetUp(), d->SearchObject(String("Rig")));
  const Matrix expected = MatrixMove(Vector(10, 20, 30)) *
                          HPBToMatrix(Vector(30, -20, 10) * (3.14159265358979323846 / 180.0)) * MatrixScale(Vector(2, 2, 2)) *
                          HPBToMatrix(Vector(0.1, 0.2, 0.3));
  EXPECT_TRUE(SameMatrix(cam->GetMg(), expected)) << "parent times child, heading-pitch-bank in degrees and radians";
  EXPECT_DOUBLE_EQ(cam->GetDataInstance()->GetFloat(CAMERA_FOCUS), 24.0);
  BaseTag* tag = cam->GetFirstTag();
  ASSERT_NE(tag, nullptr);
  EXPECT_NEAR(tag->GetDataInstance()->GetFloat(ORLIXTAG_DOME_FOV), 220.0 * 3.14159265358979323846 / 180.0, 1e-12)
    << "a parameter by its id, in degrees";
  const BaseList2D* map = tag->GetDataInstance()->GetLink(ORLIXTAG_SEPARATION_MAP, d);
  ASSERT_NE(map, nullptr) << "the separation map's shader lives in the tag";
  EXPECT_EQ(map->GetType(), Xgradient);
  EXPECT_EQ(d->GetRenderBaseDraw()->GetSceneCamera(d), cam);
  EXPECT_EQ(d->GetRenderBaseDraw()->GetProjection(), 1);

  auto* tri = static_cast<PolygonObject*>(d->SearchObject(String("Tri")));
  ASSERT_NE(tri, nullptr);
  ASSERT_EQ(tri->GetPolygonCount(), 2);
  EXPECT_EQ(tri->GetPointR()[3], Vector(100, 100, 0));
  ASSERT_NE(tri->GetUVWR(), nullptr);
  EXPECT_EQ(tri->GetUVWR()[0].c, Vector(0, 0, 0)) << "OBJ's v upward becomes the host's v downward";
  EXPECT_EQ(d->SearchObject(String("Ball"))->GetRenderMode(), MODE_OFF);
  BaseDocument::Free(d);
}

TEST_F(SceneFile, SavingAndLoadingAgainGivesTheSameDocument)
{
  BaseDocument* first = Load(kRich);
  ASSERT_NE(first, nullptr);
  const std::string saved = (dir / "saved.json").string();
  host::scene::SceneError error;
  ASSERT_TRUE(host::scene::SaveScene(first, saved, &error)) << error.Message();
  BaseDocument* second = host::scene::LoadScene(saved, &error);
  ASSERT_NE(second, nullptr) << error.Message();

  EXPECT_EQ(first->GetFps(), second->GetFps());
  EXPECT_EQ(first->GetMinTime().Get(), second->GetMinTime().Get());
  EXPECT_EQ(first->GetTime().Get(), second->GetTime().Get());
  EXPECT_TRUE(*first->GetActiveRenderData()->GetDataInstance() == *second->GetActiveRenderData()->GetDataInstance());
  BaseVideoPost* va = first->GetActiveRenderData()->GetFirstVideoPost();
  BaseVideoPost* vb = second->GetActiveRenderData()->GetFirstVideoPost();
  ASSERT_TRUE(va && vb);
  EXPECT_EQ(va->GetAllBits() & BIT_VPDISABLED, vb->GetAllBits() & BIT_VPDISABLED);
  EXPECT_TRUE(*va->GetDataInstance() == *vb->GetDataInstance()) << "video post parameters";
  int compared = 0;
  ExpectSameObjects(first->GetFirstObject(), second->GetFirstObject(), first, second, compared);
  EXPECT_EQ(compared, 10);
  EXPECT_EQ(second->GetRenderBaseDraw()->GetSceneCamera(second)->GetName(), String("Cam"));

  // A second save of the reloaded document writes the same text: nothing drifts.
  const std::string again = (dir / "again.json").string();
  ASSERT_TRUE(host::scene::SaveScene(second, again, &error)) << error.Message();
  std::ifstream a(saved), b(again);
  const std::string ta((std::istreambuf_iterator<char>(a)), {}), tb((std::istreambuf_iterator<char>(b)), {});
  EXPECT_EQ(ta, tb);
  BaseDocument::Free(first);
  BaseDocument::Free(second);
}

TEST_F(SceneFile, RotationsSurviveTheRoundTripAtEveryPose)
{
  int tested = 0;
  for (double h : {0.0, 1.0, -2.5, 3.1})
    for (double p : {0.0, 0.7, -1.2, 1.5707963267948966})
      for (double b : {0.0, 0.4, -3.0})
      {
        BaseDocument* doc = BaseDocument::Alloc();
        BaseObject* op = BaseObject::Alloc(Onull);
        op->SetName(String("N"));
        op->SetMl(MatrixMove(Vector(1, 2, 3)) * HPBToMatrix(Vector(h, p, b)) * MatrixScale(Vector(1, 3, 0.5)));
        doc->InsertObject(op, nullptr, nullptr);
        const std::string file = (dir / "pose.json").string();
        host::scene::SceneError error;
        ASSERT_TRUE(host::scene::SaveScene(doc, file, &error)) << error.Message();
        BaseDocument* back = host::scene::LoadScene(file, &error);
        ASSERT_NE(back, nullptr) << error.Message();
        EXPECT_TRUE(SameMatrix(back->GetFirstObject()->GetMl(), op->GetMl())) << "hpb " << h << ", " << p << ", " << b;
        BaseDocument::Free(back);
        BaseDocument::Free(doc);
        ++tested;
      }
  EXPECT_EQ(tested, 48);
}

TEST_F(SceneFile, BadInputNamesThePlaceAndTheProblem)
{
  struct Case
  {
    std::string text, path, problem;
  } cases[] = {
    {"{\"format\": \"orlixcam-scene/1\",\n \"name\": }", "", "malformed JSON: parse error at line 2, column"},
    {"{\"name\": \"x\"}", "/format", "missing"},
    // Found by fuzzing: a number beyond a double's range once ended the program.
    {"{\"format\": \"orlixcam-scene/1\", \"fps\": 1e999}", "", "malformed JSON: number overflow parsing '1e999'"},
    {"{\"format\": \"other/2\"}", "/format", "is not a format this program reads"},
    {"{\"format\": \"orlixcam-scene/1\", \"colour\": 1}", "/colour", "unknown key for a scene"},
    {"{\"format\": \"orlixcam-scene/1\", \"objects\": [{\"type\": \"teapot\"}]}", "/objects/0/type", "unknown object type \"teapot\""},
    {"{\"format\": \"orlixcam-scene/1\", \"objects\": [{\"type\": \"sphere\", \"radius\": \"big\"}]}", "/objects/0/radius",
     "expected a number, found a string"},
    {"{\"format\": \"orlixcam-scene/1\", \"objects\": [{\"type\": \"sphere\", \"size\": 3}]}", "/objects/0/size",
     "unknown key for a sphere"},
    {"{\"format\": \"orlixcam-scene/1\", \"render\": {\"width\": 0}}", "/render/width", "0 is out of range 1 to 65536"},
    {"{\"format\": \"orlixcam-scene/1\", \"render\": {\"height\": 100000}}", "/render/height", "out of range 1 to 65536"},
    {"{\"format\": \"orlixcam-scene/1\", \"render\": {\"width\": 12.5}}", "/render/width", "expected a whole number"},
    {"{\"format\": \"orlixcam-scene/1\", \"objects\": [{\"type\": \"sky\", \"picture\": \"nowhere.png\"}]}",
     "/objects/0/picture", "nowhere.png\" not found"},
    {"{\"format\": \"orlixcam-scene/1\", \"objects\": [{\"type\": \"mesh\", \"file\": \"gone.obj\"}]}", "/objects/0/file",
     "OBJ file"},
    {"{\"format\": \"orlixcam-scene/1\", \"objects\": [{\"type\": \"camera\", \"tags\": [{\"type\": \"OrlixTag\", "
     "\"params\": {\"ORLIXTAG_DOME_FOV\": {\"deg\": 400}}}]}]}",
     "/objects/0/tags/0/params/ORLIXTAG_DOME_FOV", "400° is out of range 1 to 360°"},
    {"{\"format\": \"orlixcam-scene/1\", \"objects\": [{\"type\": \"camera\", \"tags\": [{\"type\": \"OrlixTag\", "
     "\"params\": {\"ORLIXTAG_LENS\": 7}}]}]}",
     "/objects/0/tags/0/params/ORLIXTAG_LENS", "7 is not one of 0, 1, 2, 3"},
    {"{\"format\": \"orlixcam-scene/1\", \"objects\": [{\"type\": \"camera\", \"tags\": [{\"type\": \"OrlixTag\", "
     "\"params\": {\"ORLIXTAG_NOPE\": 1}}]}]}",
     "/objects/0/tags/0/params/ORLIXTAG_NOPE", "has no parameter ORLIXTAG_NOPE"},
    {"{\"format\": \"orlixcam-scene/1\", \"objects\": [{\"type\": \"camera\", \"tags\": [{\"type\": \"Sticker\"}]}]}",
     "/objects/0/tags/0/type", "unknown tag type \"Sticker\""},
    // Found by fuzzing: a bad knot once left its shader behind.
    {"{\"format\": \"orlixcam-scene/1\", \"objects\": [{\"type\": \"camera\", \"tags\": [{\"type\": \"OrlixTag\", "
     "\"params\": {\"ORLIXTAG_SEPARATION_MAP\": {\"shader\": \"gradient\", \"knots\": [[0, [0, 0, 0]], [\"x\", [1, 1, 1]]]}}}]}]}",
     "/objects/0/tags/0/params/ORLIXTAG_SEPARATION_MAP/knots/1/0", "expected a number, found a string"},
    {"{\"format\": \"orlixcam-scene/1\", \"views\": {\"render\": {\"camera\": \"Ghost\"}}}", "/views/render/camera",
     "no object is named \"Ghost\""},
    {"{\"format\": \"orlixcam-scene/1\", \"objects\": [{\"type\": \"sphere\", \"name\": \"S\"}], "
     "\"views\": {\"render\": {\"camera\": \"S\"}}}",
     "/views/render/camera", "is a sphere, not a camera"},
    {"{\"format\": \"orlixcam-scene/1\", \"objects\": [{\"type\": \"mesh\", \"points\": [[0,0,0]], \"polygons\": [[0, 1, 2]]}]}",
     "/objects/0/polygons/0/1", "out of range 0 to 0"},
  };
  for (const Case& c : cases)
  {
    host::scene::SceneError error;
    BaseDocument* d = Load(c.text, &error);
    EXPECT_EQ(d, nullptr) << c.text;
    if (d)
    {
      BaseDocument::Free(d);
      continue;
    }
    EXPECT_EQ(error.file, (dir / "scene.json").string());
    EXPECT_EQ(error.path, c.path) << c.text << "\n" << error.Message();
    EXPECT_NE(error.problem.find(c.problem), std::string::npos) << c.text << "\n" << error.Message();
  }

  host::scene::SceneError error;
  EXPECT_EQ(host::scene::LoadScene((dir / "none.json").string(), &error), nullptr);
  EXPECT_EQ(error.Message(), (dir / "none.json").string() + ": no such file");
  EXPECT_EQ(GetActiveDocument(), doc) << "a failed load leaves the active document alone";
}

TEST_F(SceneFile, SavingIntoAFolderThatCantBeWrittenLeavesNothing)
{
  BaseDocument* d = Load(kRich);
  ASSERT_NE(d, nullptr);
  host::scene::SceneError error;
  EXPECT_FALSE(host::scene::SaveScene(d, (dir / "missing" / "x.json").string(), &error));
  EXPECT_NE(error.problem.find("cannot write"), std::string::npos) << error.Message();
  EXPECT_FALSE(fs::exists(dir / "missing"));
  BaseDocument::Free(d);
}

TEST_F(SceneFile, ParameterValuesForTheCommandLine)
{
  BaseObject* cam = AddTaggedCamera("Cam");
  BaseTag* tag = cam->GetFirstTag();
  Int32 id = 0;
  ASSERT_TRUE(host::scene::ResolveParameter("ORLIXTAG_DOME_FOV", &id));
  EXPECT_EQ(id, ORLIXTAG_DOME_FOV);
  ASSERT_TRUE(host::scene::ResolveParameter("1006", &id));
  EXPECT_EQ(id, 1006);
  EXPECT_FALSE(host::scene::ResolveParameter("ORLIXTAG_MISSING", &id));

  GeData value;
  std::string problem;
  ASSERT_TRUE(host::scene::ParseParameterValue(tag, ORLIXTAG_DOME_FOV, "{\"deg\": 90}", &value, &problem)) << problem;
  EXPECT_NEAR(value.GetFloat(), 3.14159265358979323846 / 2, 1e-15);
  ASSERT_TRUE(host::scene::ParseParameterValue(tag, ORLIXTAG_LENS, "ORLIXTAG_LENS_CUBEMAP", &value, &problem)) << problem;
  EXPECT_EQ(value.GetInt32(), 3);
  EXPECT_FALSE(host::scene::ParseParameterValue(tag, ORLIXTAG_LENS, "9", &value, &problem));
  EXPECT_NE(problem.find("not one of"), std::string::npos) << problem;
  EXPECT_FALSE(host::scene::ParseParameterValue(tag, ORLIXTAG_STEREO, "maybe", &value, &problem));
  EXPECT_NE(problem.find("expected true or false"), std::string::npos) << problem;
}

TEST_F(SceneFile, TheDocumentedExampleLoads)
{
  // The complete example of the scene format's documentation, with the files it names.
  std::ifstream docFile(std::string(ORLIX_SOURCE_DIR) + "/docs/scene-format.md");
  const std::string text((std::istreambuf_iterator<char>(docFile)), {});
  const std::string::size_type start = text.find("```json\n");
  ASSERT_NE(start, std::string::npos);
  const std::string::size_type end = text.find("```", start + 8);
  ASSERT_NE(end, std::string::npos);
  fs::copy_file(std::string(ORLIX_SOURCE_DIR) + "/tests/host/fixtures/scenes/sky.png", dir / "sky.png", fs::copy_options::overwrite_existing);
  Write("statue.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
  host::scene::SceneError error;
  BaseDocument* d = Load(text.substr(start + 8, end - start - 8), &error);
  ASSERT_NE(d, nullptr) << error.Message();
  EXPECT_NE(d->SearchObject(String("Statue")), nullptr);
  EXPECT_EQ(d->GetRenderBaseDraw()->GetSceneCamera(d)->GetName(), String("Dome Camera"));
  BaseDocument::Free(d);
}

TEST_F(SceneFile, EveryDefaultSurvivesSavingAndLoading)
{
  // Found by fuzzing: a default that lay outside its own description's range (a percentage read
  // as a fraction) made a saved scene unloadable.
  BaseObject* cam = AddTaggedCamera("Cam");
  ASSERT_NE(cam->GetFirstTag(), nullptr);
  ASSERT_NE(doc->GetActiveRenderData()->GetFirstVideoPost(), nullptr) << "the tag adds its video post";
  const std::string file = (dir / "defaults.json").string();
  host::scene::SceneError error;
  ASSERT_TRUE(host::scene::SaveScene(doc, file, &error)) << error.Message();
  BaseDocument* back = host::scene::LoadScene(file, &error);
  ASSERT_NE(back, nullptr) << error.Message();
  EXPECT_TRUE(*back->GetActiveRenderData()->GetFirstVideoPost()->GetDataInstance() ==
              *doc->GetActiveRenderData()->GetFirstVideoPost()->GetDataInstance());
  BaseDocument::Free(back);
}

TEST_F(SceneFile, TheExampleFixtureIsTheDocumentedOneAndSurvivesARoundTrip)
{
  // tests/host/fixtures/scenes/dome-demo.json is the documentation's complete example, with the
  // picture and mesh it names beside it.
  const std::string fixtures = std::string(ORLIX_SOURCE_DIR) + "/tests/host/fixtures/scenes/";
  std::ifstream docFile(std::string(ORLIX_SOURCE_DIR) + "/docs/scene-format.md");
  const std::string doc_text((std::istreambuf_iterator<char>(docFile)), {});
  const std::string::size_type start = doc_text.find("```json\n");
  ASSERT_NE(start, std::string::npos);
  const std::string::size_type end = doc_text.find("```", start + 8);
  std::ifstream fixtureFile(fixtures + "dome-demo.json");
  const std::string fixture((std::istreambuf_iterator<char>(fixtureFile)), {});
  EXPECT_EQ(fixture, doc_text.substr(start + 8, end - start - 8)) << "the fixture and the documented example differ";

  host::scene::SceneError error;
  BaseDocument* d = host::scene::LoadScene(fixtures + "dome-demo.json", &error);
  ASSERT_NE(d, nullptr) << error.Message();
  EXPECT_EQ(d->GetFps(), 25);
  EXPECT_DOUBLE_EQ(d->GetMaxTime().Get(), 4.0);
  EXPECT_EQ(d->GetActiveRenderData()->GetDataInstance()->GetInt32(RDATA_XRES), 1024);
  BaseVideoPost* vp = d->GetActiveRenderData()->GetFirstVideoPost();
  ASSERT_NE(vp, nullptr);
  EXPECT_EQ(vp->GetDataInstance()->GetString(ORLIXVP_TEXT), String("Dome demo, take 3"));
  EXPECT_TRUE(vp->GetDataInstance()->GetBool(ORLIXVP_SLATE));
  BaseObject* cam = d->SearchObject(String("Dome Camera"));
  ASSERT_NE(cam, nullptr);
  ASSERT_NE(cam->GetFirstTag(), nullptr);
  EXPECT_EQ(cam->GetFirstTag()->GetDataInstance()->GetInt32(ORLIXTAG_LENS), 1);
  EXPECT_NEAR(cam->GetFirstTag()->GetDataInstance()->GetFloat(ORLIXTAG_DOME_FOV), 3.14159265358979323846, 1e-15);
  auto* statue = static_cast<PolygonObject*>(d->SearchObject(String("Statue")));
  ASSERT_NE(statue, nullptr);
  EXPECT_EQ(statue->GetPointCount(), 5);
  EXPECT_EQ(statue->GetPolygonCount(), 5);
  EXPECT_EQ(statue->GetUp(), d->SearchObject(String("Ring")));

  const std::string saved = (dir / "dome-demo.json").string();
  fs::copy_file(fixtures + "sky.png", dir / "sky.png", fs::copy_options::overwrite_existing);
  fs::copy_file(fixtures + "statue.obj", dir / "statue.obj");
  ASSERT_TRUE(host::scene::SaveScene(d, saved, &error)) << error.Message();
  BaseDocument* back = host::scene::LoadScene(saved, &error);
  ASSERT_NE(back, nullptr) << error.Message();
  int compared = 0;
  ExpectSameObjects(d->GetFirstObject(), back->GetFirstObject(), d, back, compared);
  EXPECT_EQ(compared, 8);
  EXPECT_TRUE(*back->GetActiveRenderData()->GetFirstVideoPost()->GetDataInstance() == *vp->GetDataInstance());
  BaseDocument::Free(back);
  BaseDocument::Free(d);
}

TEST_F(SceneFile, SymbolsIdsAndDegreesNameTheSameValues)
{
  // The same tag written three ways: by symbol with degrees, by decimal id with radians, and
  // with the value's own symbol.
  const char* ways[] = {
    R"({"ORLIXTAG_LENS": 1, "ORLIXTAG_DOME_FOV": {"deg": 180}, "ORLIXTAG_STEREO": true})",
    R"({"1006": 1, "1008": 3.141592653589793, "ORLIXTAG_STEREO": 1})",
    R"({"ORLIXTAG_LENS": "ORLIXTAG_LENS_DOME", "ORLIXTAG_DOME_FOV": {"deg": 180}, "ORLIXTAG_STEREO": true})",
  };
  ASSERT_EQ(ORLIXTAG_LENS, 1006);
  ASSERT_EQ(ORLIXTAG_DOME_FOV, 1008);
  BaseContainer first;
  for (int i = 0; i < 3; ++i)
  {
    const std::string text = std::string(R"({"format": "orlixcam-scene/1", "objects": [{"type": "camera", "tags": [)"
                                         R"({"type": "OrlixTag", "params": )") + ways[i] + "}]}]}";
    host::scene::SceneError error;
    BaseDocument* d = Load(text, &error);
    ASSERT_NE(d, nullptr) << text << "\n" << error.Message();
    const BaseContainer* tag = d->GetFirstObject()->GetFirstTag()->GetDataInstance();
    EXPECT_EQ(tag->GetInt32(ORLIXTAG_LENS), ORLIXTAG_LENS_DOME) << text;
    EXPECT_NEAR(tag->GetFloat(ORLIXTAG_DOME_FOV), 3.14159265358979323846, 1e-15) << text;
    EXPECT_TRUE(tag->GetBool(ORLIXTAG_STEREO)) << text;
    if (i == 0)
      first = *tag;
    else
      EXPECT_TRUE(*tag == first) << "differs from the first way: " << text;
    BaseDocument::Free(d);
  }
}
