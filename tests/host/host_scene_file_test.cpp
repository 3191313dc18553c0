// Scene files over the host alone (no plug-in): what only the host's own objects hold through
// saving and loading, OBJ meshes, and the limits on what a scene may ask for.
#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "c4d.h"
#include "c4d_objects.h"
#include "host_app.h"
#include "support/scene_dir.h"

namespace
{
struct HostSceneFile : ::testing::Test, SceneDir
{
  void SetUp() override { host::ResetApp(); }
  void TearDown() override { host::ResetApp(); }
};
} // namespace

TEST_F(HostSceneFile, WhatTheRichSceneLacksSurvivesSavingAndLoading)
{
  // Fractional times, a gradient sky and a mesh of its own with a four-cornered polygon; the other
  // objects and the render settings go through saving and loading with the plug-in's scene test.
  host::scene::SceneError error;
  DocPtr doc = Load(R"({"format": "orlixcam-scene/1", "fps": 24, "minTime": 1.5, "maxTime": 7.25, "time": 2, "objects": [
    {"type": "sky", "name": "Sky", "gradient": {"top": [0, 0, 1], "bottom": [1, 1, 0]}, "intensity": 0.5},
    {"type": "mesh", "name": "Quad", "points": [[0, 0, 0], [1, 0, 0], [1, 1, 0], [0, 1, 0.5]], "polygons": [[0, 1, 2], [0, 2, 3, 1]]}]})",
                    &error);
  ASSERT_TRUE(doc) << error.Message();
  const Vector pts[] = {Vector(0, 0, 0), Vector(1, 0, 0), Vector(1, 1, 0), Vector(0, 1, 0.5)};
  DocPtr back = RoundTrip(doc.get());
  ASSERT_TRUE(back);
  EXPECT_EQ(std::vector<Float>({Float(back->GetFps()), back->GetMinTime().Get(), back->GetMaxTime().Get(), back->GetTime().Get()}),
            std::vector<Float>({24, 1.5, 7.25, 2.0})) << "frame rate, first, last and current time";
  int compared = 0;
  ExpectSameTree(doc->GetFirstObject(), back->GetFirstObject(), doc.get(), back.get(), compared, false);
  EXPECT_EQ(compared, 2);
  EXPECT_EQ(back->SearchObject(String("Sky"))->GetDataInstance()->GetVector(SKY_COLOR_BOTTOM), Vector(1, 1, 0));
  auto* quad = static_cast<PolygonObject*>(back->SearchObject(String("Quad")));
  ASSERT_TRUE(quad && quad->GetType() == Opolygon && quad->GetPointCount() == 4);
  EXPECT_TRUE(std::equal(pts, pts + 4, quad->GetPointR()));
  EXPECT_TRUE(quad->GetPolygonR()[0].IsTriangle());
  EXPECT_EQ(quad->GetPolygonR()[1].d, 1);
}

TEST_F(HostSceneFile, ObjMeshesKeepTheirQuadsAndTurnTextureCoordinatesDownward)
{
  // The rest of OBJ loading goes through the plug-in's scene test; OBJ counts from 1, its v runs upward.
  Write("shape.obj", "v 0 0 0\nv 2 0 0\nv 2 3 0\nv 0 3 0\nv 1 5 1\nvt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\nvt 0.5 0.25\n"
                     "f 1/1 2/2 3/3 4/4\nf 4/4 3/3 5/5\n");
  host::scene::SceneError error;
  DocPtr d = Load(R"({"format": "orlixcam-scene/1", "objects": [{"type": "mesh", "name": "Shape", "file": "shape.obj"}]})", &error);
  ASSERT_TRUE(d) << error.Message();
  auto* mesh = static_cast<PolygonObject*>(d->SearchObject(String("Shape")));
  ASSERT_TRUE(mesh && mesh->GetPolygonCount() == 2 && mesh->GetUVWR());
  const CPolygon &q = mesh->GetPolygonR()[0], &t = mesh->GetPolygonR()[1];
  EXPECT_EQ(std::vector<Int32>({q.a, q.b, q.c, q.d, t.a, t.c, t.d}), std::vector<Int32>({0, 1, 2, 3, 3, 4, 4}));
  EXPECT_EQ(mesh->GetUVWR()[0].a, Vector(0, 1, 0)) << "v downward: OBJ's bottom left is the top's v 1";
  EXPECT_EQ(mesh->GetUVWR()[1].c, Vector(0.5, 0.75, 0));
}

TEST_F(HostSceneFile, BadMeshesAndSizesAreNamed)
{
  // Missing files, bad JSON types and the common range checks are covered with the plug-in loaded.
  Write("penta.obj", "v 0 0 0\nv 1 0 0\nv 2 1 0\nv 1 2 0\nv 0 1 0\nf 1 2 3 4 5\n");
  Write("empty.obj", "");
  Write("dangling.obj", "v 0 0 0\nv 1 0 0\nf 1 2 3\n");
  const std::string head = R"({"format": "orlixcam-scene/1", )";
  const struct
  {
    std::string text, path, problem;
  } cases[] = {
    {head + R"("objects": [{"type": "mesh", "file": "penta.obj"}]})", "/objects/0/file", "has 5 corners"},
    {head + R"("objects": [{"type": "mesh", "file": "empty.obj"}]})", "/objects/0/file", "holds no polygons"},
    {head + R"("objects": [{"type": "mesh", "file": "dangling.obj"}]})", "/objects/0/file",
     "polygon 0 names a point the file does not hold"},
    {head + R"("objects": [{"type": "null", "scale": [1, 0, 1]}]})", "/objects/0/scale", ""},
    {head + R"("objects": [{"type": "null", "rotation": {"rad": [1, 0, 0]}}]})", "/objects/0/rotation", ""},
    {head + R"("render": {"fps": 0}})", "/render/fps", "above 0"},
    {head + R"("render": {"width": 65536, "height": 65536}})", "/render", "too large for memory"},
    {head + R"("render": {"stereo": "yes"}})", "/render/stereo", ""},
    {head + R"("fps": 0})", "/fps", "out of range 1 to 1000"},
    {head + R"("render": {"videoPosts": [{"type": "NoSuchPost"}]}})", "/render/videoPosts/0/type", ""},
  };
  for (const auto& c : cases)
    ExpectError(c.text, c.path, c.problem);

  host::scene::SceneError error;
  DocPtr d = Load(R"({"format": "orlixcam-scene/1", "render": {"width": 16384, "height": 16384}})", &error);
  ASSERT_TRUE(d) << "the largest frame within memory loads: " << error.Message();
  EXPECT_EQ(d->GetActiveRenderData()->GetDataInstance()->GetInt32(RDATA_XRES), 16384);
}

TEST_F(HostSceneFile, AFailedSaveLeavesNothingBehind)
{
  // A folder in the file's place: the rename cannot replace it, and nothing else changes.
  DocPtr doc(BaseDocument::Alloc());
  std::filesystem::create_directories(dir / "blocked.json" / "inside");
  host::scene::SceneError error;
  EXPECT_FALSE(host::scene::SaveScene(doc.get(), Path("blocked.json"), &error));
  EXPECT_FALSE(error.problem.empty()) << error.Message();
  EXPECT_TRUE(std::filesystem::is_directory(dir / "blocked.json" / "inside"));
  int entries = 0;
  for (const auto& e : std::filesystem::directory_iterator(dir))
    entries += e.path().filename().string().rfind("blocked.json", 0) == 0 ? 1 : 0;
  EXPECT_EQ(entries, 1) << "no temporary file left behind";
}
