// Scene files: what loads, what saving and loading again keeps, and how bad input is reported.
#include <string>

#include "c4d_objects.h"
#include "c4d_shader.h"
#include "description/OrlixCam.h"
#include "description/OrlixTag.h"
#include "animation.h"
#include "plugin_fixture.h"
#include "support/scene_dir.h"

namespace
{
struct SceneFile : PluginTest, SceneDir
{
  /// kRich with the files it names beside it (the picture is only looked for, never decoded).
  DocPtr LoadRich()
  {
    Write("sky.png", "");
    Write("tri.obj", "v 0 0 0\nv 100 0 0\nv 0 100 0\nv 100 100 0\nvt 0 0\nvt 1 0\nvt 0 1\nvt 1 1\n"
                     "f 1/1 2/2 3/3\nf 2/2 4/4 3/3\n");
    host::scene::SceneError error;
    DocPtr d = Load(kRich, &error);
    EXPECT_TRUE(d) << error.Message();
    return d;
  }
  static const char* const kRich;
};

const char* const SceneFile::kRich = R"({
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

/// The first fenced JSON block of the scene format's documentation: its complete example.
std::string DocumentedExample()
{
  const std::string text = SceneDir::Read(std::string(ORLIX_SOURCE_DIR) + "/docs/scene-format.md");
  const std::string::size_type start = text.find("```json\n");
  const std::string::size_type end = start == std::string::npos ? start : text.find("```", start + 8);
  EXPECT_NE(end, std::string::npos) << "no JSON example in docs/scene-format.md";
  return end == std::string::npos ? std::string() : text.substr(start + 8, end - start - 8);
}
} // namespace

TEST_F(SceneFile, LoadsEveryKindOfThingAndSavingAndLoadingAgainKeepsIt)
{
  DocPtr d = LoadRich();
  ASSERT_TRUE(d);
  EXPECT_TRUE(d->GetActiveRenderData()->GetDataInstance()->GetBool(RDATA_STEREO));
  BaseVideoPost* vp = d->GetActiveRenderData()->GetFirstVideoPost();
  ASSERT_NE(vp, nullptr);
  EXPECT_EQ(vp->GetNext(), nullptr) << "the lens tag finds the listed video post instead of adding one";
  EXPECT_TRUE(vp->GetBit(BIT_VPDISABLED));
  EXPECT_EQ(vp->GetDataInstance()->GetInt32(ORLIXVP_CUBE_LAYOUT), 2) << "a cycle's value by its symbol";
  EXPECT_EQ(vp->GetDataInstance()->GetFilename(ORLIXVP_LOGO_FILE).GetString().GetStdString(), Path("logo.png"))
    << "file names resolve against the scene's folder";

  BaseObject* cam = d->SearchObject(String("Cam"));
  ASSERT_NE(cam, nullptr);
  EXPECT_EQ(cam->GetUp(), d->SearchObject(String("Rig")));
  const Matrix expected = MatrixMove(Vector(10, 20, 30)) * HPBToMatrix(Vector(30, -20, 10) * (PI / 180.0)) *
                          MatrixScale(Vector(2, 2, 2)) * HPBToMatrix(Vector(0.1, 0.2, 0.3));
  EXPECT_TRUE(SameMatrix(cam->GetMg(), expected)) << "parent times child, heading-pitch-bank in degrees and radians";
  BaseTag* tag = cam->GetFirstTag();
  ASSERT_NE(tag, nullptr);
  EXPECT_NEAR(tag->GetDataInstance()->GetFloat(ORLIXTAG_DOME_FOV), 220.0 * PI / 180.0, 1e-12)
    << "a parameter by its id, in degrees";
  const BaseList2D* map = tag->GetDataInstance()->GetLink(ORLIXTAG_SEPARATION_MAP, d.get());
  ASSERT_NE(map, nullptr) << "the separation map's shader lives in the tag";
  EXPECT_EQ(map->GetType(), Xgradient);
  EXPECT_EQ(d->GetRenderBaseDraw()->GetSceneCamera(d.get()), cam);
  EXPECT_EQ(d->SearchObject(String("Ball"))->GetRenderMode(), MODE_OFF);
  // OBJ meshes in detail are the host's scene test's.

  DocPtr second = RoundTrip(d.get());
  ASSERT_TRUE(second);

  EXPECT_EQ(d->GetTime().Get(), second->GetTime().Get());
  EXPECT_TRUE(*d->GetActiveRenderData()->GetDataInstance() == *second->GetActiveRenderData()->GetDataInstance());
  BaseVideoPost* va = vp;
  BaseVideoPost* vb = second->GetActiveRenderData()->GetFirstVideoPost();
  ASSERT_TRUE(va && vb);
  EXPECT_EQ(va->GetAllBits() & BIT_VPDISABLED, vb->GetAllBits() & BIT_VPDISABLED);
  // The video post holds every default it was made with: one outside its own description's range
  // (found by fuzzing: a percentage read as a fraction) would make the saved scene unloadable.
  EXPECT_TRUE(*va->GetDataInstance() == *vb->GetDataInstance()) << "video post parameters";
  int compared = 0;
  ExpectSameTree(d->GetFirstObject(), second->GetFirstObject(), d.get(), second.get(), compared);
  EXPECT_EQ(compared, 10);
  EXPECT_EQ(second->GetRenderBaseDraw()->GetSceneCamera(second.get())->GetName(), String("Cam"));

  // A second save of the reloaded document writes the same text: nothing drifts.
  ASSERT_TRUE(RoundTrip(second.get(), "again.json"));
  EXPECT_EQ(Read(Path("saved.json")), Read(Path("again.json")));
}

TEST_F(SceneFile, RotationsSurviveTheRoundTripAtEveryPose)
{
  // Every quadrant of each angle, and pitch straight up where heading and bank share an axis.
  for (double h : {0.0, 1.0, -2.5, 3.1, PI})
    for (double p : {0.0, 0.7, -1.2, PI / 2})
      for (double b : {0.0, 0.4, -3.0})
      {
        DocPtr pose(BaseDocument::Alloc());
        BaseObject* op = BaseObject::Alloc(Onull);
        op->SetMl(MatrixMove(Vector(1, 2, 3)) * HPBToMatrix(Vector(h, p, b)) * MatrixScale(Vector(1, 3, 0.5)));
        pose->InsertObject(op, nullptr, nullptr);
        DocPtr back = RoundTrip(pose.get());
        ASSERT_TRUE(back);
        EXPECT_TRUE(SameMatrix(back->GetFirstObject()->GetMl(), op->GetMl())) << "hpb " << h << ", " << p << ", " << b;
      }
}

TEST_F(SceneFile, BadInputNamesThePlaceAndTheProblem)
{
  const std::string head = R"({"format": "orlixcam-scene/1", )";
  const std::string tag = head + R"("objects": [{"type": "camera", "tags": [{"type": "OrlixTag", "params": )";
  const struct
  {
    std::string text, path, problem;
  } cases[] = {
    {"{\"format\": \"orlixcam-scene/1\",\n \"name\": }", "", "malformed JSON: parse error at line 2, column"},
    {R"({"name": "x"})", "/format", "missing"},
    // Found by fuzzing: a number beyond a double's range once ended the program.
    {head + R"("fps": 1e999})", "", "malformed JSON: number overflow parsing '1e999'"},
    {R"({"format": "other/2"})", "/format", "is not a format this program reads"},
    {head + R"("objects": [{"type": "teapot"}]})", "/objects/0/type", "unknown object type \"teapot\""},
    {head + R"("objects": [{"type": "sphere", "size": 3}]})", "/objects/0/size", "unknown key for a sphere"},
    {head + R"("render": {"width": 12.5}})", "/render/width", "expected a whole number"},
    {head + R"("objects": [{"type": "sky", "picture": "nowhere.png"}]})", "/objects/0/picture", "nowhere.png\" not found"},
    {head + R"("objects": [{"type": "mesh", "file": "gone.obj"}]})", "/objects/0/file", "OBJ file"},
    {tag + R"({"ORLIXTAG_DOME_FOV": {"deg": 400}}}]}]})", "/objects/0/tags/0/params/ORLIXTAG_DOME_FOV",
     "400° is out of range 1 to 360°"},
    {tag + R"({"ORLIXTAG_NOPE": 1}}]}]})", "/objects/0/tags/0/params/ORLIXTAG_NOPE", "has no parameter ORLIXTAG_NOPE"},
    {head + R"("objects": [{"type": "camera", "tags": [{"type": "Sticker"}]}]})", "/objects/0/tags/0/type",
     "unknown tag type \"Sticker\""},
    // Found by fuzzing: a bad knot once left its shader behind.
    {tag + R"({"ORLIXTAG_SEPARATION_MAP": {"shader": "gradient", "knots": [[0, [0, 0, 0]], ["x", [1, 1, 1]]]}}}]}]})",
     "/objects/0/tags/0/params/ORLIXTAG_SEPARATION_MAP/knots/1/0", "expected a number, found a string"},
    {head + R"("views": {"render": {"camera": "Ghost"}}})", "/views/render/camera", "no object is named \"Ghost\""},
    {head + R"("objects": [{"type": "sphere", "name": "S"}], "views": {"render": {"camera": "S"}}})",
     "/views/render/camera", "is a sphere, not a camera"},
    {head + R"("objects": [{"type": "mesh", "points": [[0,0,0]], "polygons": [[0, 1, 2]]}]})",
     "/objects/0/polygons/0/1", "out of range 0 to 0"},
  };
  for (const auto& c : cases)
    ExpectError(c.text, c.path, c.problem);

  host::scene::SceneError error;
  EXPECT_EQ(host::scene::LoadScene(Path("none.json"), &error), nullptr);
  EXPECT_EQ(error.Message(), Path("none.json") + ": no such file");
  EXPECT_EQ(GetActiveDocument(), doc) << "a failed load leaves the active document alone";
}

TEST_F(SceneFile, TheExampleFixtureIsTheDocumentedOneAndLoads)
{
  // The fixture is the documentation's complete example, with the picture and mesh it names
  // beside it: that the fixture loads is that the documented example does.
  const std::string fixtures = std::string(ORLIX_SOURCE_DIR) + "/tests/host/fixtures/scenes/";
  EXPECT_EQ(Read(fixtures + "dome-demo.json"), DocumentedExample()) << "the fixture and the documented example differ";
  host::scene::SceneError error;
  DocPtr d(host::scene::LoadScene(fixtures + "dome-demo.json", &error));
  EXPECT_TRUE(d) << error.Message();
}

TEST_F(SceneFile, TracksSurviveSavingAndLoadingAndGiveTheSameDocumentAtEveryTime)
{
  const std::string text = R"({"format": "orlixcam-scene/1", "fps": 10, "maxTime": 2, "time": 0.5,
    "render": {"width": 64, "height": 32, "tracks": {"width": [{"time": 0, "value": 64}, {"time": 1, "value": 128}]},
      "videoPosts": [{"type": "OrlixCam", "tracks": {"ORLIXVP_TEXT": [{"time": 0, "value": "take 1"}, {"time": 1, "value": "take 2"}]}}]},
    "objects": [{"type": "camera", "name": "Cam", "position": [5, 5, 5], "scale": [2, 2, 2],
      "tracks": {"position": [{"time": 0, "value": [0, 0, 0], "interpolation": "linear"}, {"time": 2, "value": [100, 50, -20]}],
                 "rotation": [{"time": 0, "value": {"deg": [0, 0, 0]}}, {"time": 1, "value": {"deg": [90, 10, 0]}}, {"time": 1, "value": {"deg": [45, 0, 0]}}]},
      "tags": [{"type": "OrlixTag", "params": {"ORLIXTAG_LENS": 1},
                "tracks": {"ORLIXTAG_DOME_FOV": [{"time": 0, "value": {"deg": 180}, "interpolation": "linear"}, {"time": 2, "value": {"deg": 220}}],
                           "ORLIXTAG_LENS": [{"time": 0, "value": "ORLIXTAG_LENS_DOME"}, {"time": 1.5, "value": 2}]}}]}]})";
  host::scene::SceneError error;
  DocPtr d = Load(text, &error);
  ASSERT_TRUE(d) << error.Message();
  BaseObject* cam = d->SearchObject(String("Cam"));
  ASSERT_NE(cam, nullptr);
  EXPECT_TRUE(SameMatrix(cam->GetMl(), MatrixMove(Vector(25, 12.5, -5)) * HPBToMatrix(Vector(45, 5, 0) * (PI / 180.0)) *
                                        MatrixScale(Vector(2, 2, 2))))
    << "loading evaluates the tracks at the scene's time; the scale, not animated, stays";
  EXPECT_NEAR(cam->GetFirstTag()->GetDataInstance()->GetFloat(ORLIXTAG_DOME_FOV), 190.0 * PI / 180.0, 1e-12);

  DocPtr second = RoundTrip(d.get());
  ASSERT_TRUE(second);
  ASSERT_TRUE(RoundTrip(second.get(), "again.json"));
  EXPECT_EQ(Read(Path("saved.json")), Read(Path("again.json")));
  int compared = 0;
  for (const Float t : {0.0, 0.3, 0.999, 1.0, 1.7, 2.5})
  {
    host::EvaluateDocumentAt(d.get(), BaseTime(t));
    host::EvaluateDocumentAt(second.get(), BaseTime(t));
    ExpectSameTree(d->GetFirstObject(), second->GetFirstObject(), d.get(), second.get(), compared);
    EXPECT_TRUE(*d->GetActiveRenderData()->GetDataInstance() == *second->GetActiveRenderData()->GetDataInstance()) << t;
    EXPECT_TRUE(*d->GetActiveRenderData()->GetFirstVideoPost()->GetDataInstance() ==
                *second->GetActiveRenderData()->GetFirstVideoPost()->GetDataInstance())
      << t;
  }
  EXPECT_EQ(compared, 6);
  EXPECT_EQ(d->GetActiveRenderData()->GetDataInstance()->GetInt32(RDATA_XRES), 128);
  EXPECT_EQ(cam->GetFirstTag()->GetDataInstance()->GetInt32(ORLIXTAG_LENS), 2);
}

TEST_F(SceneFile, BadTracksNameThePlaceAndTheProblem)
{
  const std::string head = R"({"format": "orlixcam-scene/1", )";
  const std::string cam = head + R"("objects": [{"type": "camera", "tracks": )";
  const std::string tag = head + R"("objects": [{"type": "camera", "tags": [{"type": "OrlixTag", "tracks": )";
  const struct
  {
    std::string text, path, problem;
  } cases[] = {
    {cam + R"({"position": []}}]})", "/objects/0/tracks/position", "at least one key"},
    {cam + R"({"spin": []}}]})", "/objects/0/tracks/spin", "unknown key"},
    {cam + R"({"position": [{"time": 1, "value": [0, 0, 0]}, {"time": 0.5, "value": [1, 1, 1]}]}}]})",
     "/objects/0/tracks/position/1/time", "keys go in time order"},
    {cam + R"({"scale": [{"time": 0, "value": [1, 0, 1]}]}}]})", "/objects/0/tracks/scale/0/value", "a scale of 0"},
    {cam + R"({"position": [{"time": 0, "value": [0, 0, 0], "interpolation": "bouncy"}]}}]})",
     "/objects/0/tracks/position/0/interpolation", "not step, linear or smooth"},
    {cam + R"({"position": [{"value": [0, 0, 0]}]}}]})", "/objects/0/tracks/position/0", "missing \"time\""},
    {tag + R"({"ORLIXTAG_LENS": [{"time": 0, "value": 1, "interpolation": "linear"}]}}]}]})",
     "/objects/0/tags/0/tracks/ORLIXTAG_LENS/0/interpolation", "can only step"},
    {tag + R"({"ORLIXTAG_DOME_FOV": [{"time": 0, "value": {"deg": 400}}]}}]}]})",
     "/objects/0/tags/0/tracks/ORLIXTAG_DOME_FOV/0/value", "out of range"},
    {tag + R"({"ORLIXTAG_NOPE": [{"time": 0, "value": 1}]}}]}]})", "/objects/0/tags/0/tracks/ORLIXTAG_NOPE",
     "has no parameter"},
    {tag + R"({"ORLIXTAG_SEPARATION_MAP": [{"time": 0, "value": null}]}}]}]})",
     "/objects/0/tags/0/tracks/ORLIXTAG_SEPARATION_MAP", "has no track"},
    {head + R"("render": {"tracks": {"fps": [{"time": 0, "value": 25}]}}})", "/render/tracks/fps", "can't be animated"},
    {head + R"("render": {"tracks": {"height": [{"time": 0, "value": 0}]}}})", "/render/tracks/height/0/value",
     "out of range"},
  };
  for (const auto& c : cases)
    ExpectError(c.text, c.path, c.problem);
}
