// The host's viewport: the active view in scene files, apart from the render view, and a view
// rasterised with depth, line width and a see-through fill, checked at a few pixels.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "c4d.h"
#include "c4d_objects.h"
#include "draw/draw_view.h"
#include "host_app.h"
#include "support/scene_dir.h"

namespace
{
struct HostView : ::testing::Test, SceneDir
{
  void SetUp() override { host::ResetApp(); }
  void TearDown() override { host::ResetApp(); }

  std::string Read(const std::string& name) const
  {
    std::ifstream in(Path(name));
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
  }
};

const std::string kHead = R"({"format": "orlixcam-scene/1", "objects": [
  {"type": "camera", "name": "Cam", "position": [0, 150, 0]}, {"type": "sphere", "name": "Ball"}], )";
} // namespace

TEST_F(HostView, ActiveViewIsSavedAndLoadedApartFromTheRenderView)
{
  host::scene::SceneError error;
  DocPtr doc = Load(kHead + R"("views": {"render": {"camera": "Cam"},
    "active": {"position": [10, 20, -30], "rotation": {"deg": [15, -20, 0]}, "focal": 24, "projection": 1}}})", &error);
  ASSERT_TRUE(doc) << error.Message();
  BaseDraw* active = doc->GetActiveBaseDraw();
  ASSERT_NE(active, doc->GetRenderBaseDraw());
  EXPECT_FALSE(active->HasCameraLink());
  EXPECT_TRUE(doc->GetRenderBaseDraw()->HasCameraLink());
  EXPECT_EQ(active->GetProjection(), CAMERA_PARALLEL);
  const Float deg = PI / 180.0;
  EXPECT_TRUE(SameMatrix(active->GetEditorCamera()->GetMg(), MatrixMove(Vector(10, 20, -30)) * HPBToMatrix(Vector(15 * deg, -20 * deg, 0))));
  EXPECT_EQ(active->GetEditorCamera()->GetDataInstance()->GetFloat(CAMERA_FOCUS), 24.0);

  // Saved, loaded and saved again: the same text, for the editor camera and for a linked view.
  DocPtr back = RoundTrip(doc.get(), "a.json");
  ASSERT_TRUE(back);
  DocPtr again = RoundTrip(back.get(), "b.json");
  EXPECT_EQ(Read("a.json"), Read("b.json"));
  EXPECT_TRUE(SameMatrix(back->GetActiveBaseDraw()->GetEditorCamera()->GetMg(), active->GetEditorCamera()->GetMg()));
  DocPtr linked = Load(kHead + R"("views": {"active": {"camera": "Cam"}}})", &error);
  ASSERT_TRUE(linked) << error.Message();
  DocPtr linkedBack = RoundTrip(linked.get(), "c.json");
  ASSERT_TRUE(linkedBack);
  EXPECT_EQ(linkedBack->GetActiveBaseDraw()->GetSceneCamera(linkedBack.get()), linkedBack->SearchObject(String("Cam")));
  EXPECT_FALSE(linkedBack->GetRenderBaseDraw()->HasCameraLink());

  // Without an active view the editor camera stands back and looks at the render's camera.
  DocPtr plain = Load(kHead + R"("views": {"render": {"camera": "Cam"}}})", &error);
  ASSERT_TRUE(plain) << error.Message();
  const Matrix editor = plain->GetActiveBaseDraw()->GetEditorCamera()->GetMg();
  const Vector toCam = (Vector(0, 150, 0) - editor.off).GetNormalized();
  EXPECT_GT(editor.off.y, 150.0);
  EXPECT_NEAR(Dot(editor.v3.GetNormalized(), toCam), 1.0, 1e-9) << editor.v3 << " towards " << toCam;

  const struct
  {
    std::string views, path, problem;
  } bad[] = {
    {R"({"active": {"camera": "Cam", "position": [0, 0, 0]}})", "/views/active/position", "takes that camera's placement"},
    {R"({"active": {"focal": 0}})", "/views/active/focal", "above 0"},
  };
  for (const auto& c : bad)
    ExpectError(kHead + R"("views": )" + c.views + "}", c.path, c.problem);
}

TEST_F(HostView, RasterHonoursDepthLineWidthAndTheSeeThroughFill)
{
  // A red cube 400 to 600 ahead of the editor camera, which stands at the origin looking along +Z.
  BaseDocument* doc = BaseDocument::Alloc();
  BaseObject* cube = BaseObject::Alloc(Ocube);
  cube->SetMl(MatrixMove(Vector(0, 0, 500)));
  BaseContainer red;
  red.SetVector(MATERIAL_COLOR, Vector(1, 0, 0));
  cube->GetDataInstance()->SetContainer(OBJECT_MATERIAL, red);
  doc->InsertObject(cube, nullptr, nullptr);
  BaseDraw* view = doc->GetActiveBaseDraw();
  host::draw::ViewRaster raster;
  ASSERT_TRUE(host::draw::DrawView(doc, view, 64, 48, raster, nullptr));
  const host::draw::ViewRaster scene = raster;
  const Vector cubeFace = scene.Pixel(24, 30);
  EXPECT_GT(cubeFace.x, 0.9);
  EXPECT_EQ(cubeFace.y, 0.0);

  // Behind the cube a thick line, and one drawn over everything; in front a see-through blue fill.
  const Vector green(0, 1, 0), blue(0, 0, 1);
  view->SetDrawParam(DRAW_PARAMETER_LINEWIDTH, GeData(Int32(5)));
  view->SetPen(green);
  view->DrawLine(Vector(-1000, 0, 1000), Vector(1000, 0, 1000), 0);
  view->DrawLine(Vector(0, -1000, 1000), Vector(0, 1000, 1000), DRAWLINE_NODEPTH);
  view->SetTransparency(-240);
  view->SetDepth(false);
  const Vector quad[4] = {Vector(-300, -300, 300), Vector(-60, -300, 300), Vector(-60, 300, 300), Vector(-300, 300, 300)};
  const Vector colours[4] = {blue, blue, blue, blue};
  view->DrawPoly(quad, colours, nullptr, 4, 0);
  for (const host::DrawCall& call : host::DrawCalls(*view))
    raster.Draw(call);

  const Float a = 15.0 / 255.0;
  auto filled = [&](const Vector& under) { return under * (1 - a) + blue * a; };
  const struct
  {
    Int32 x, y;
    Vector want;
    const char* what;
  } pixels[] = {
    {63, 0, scene.Pixel(63, 0), "backdrop, untouched"},
    {50, 22, green, "the thick line two rows above its centre, beside the cube"},
    {50, 26, green, "and two rows below"},
    {50, 28, scene.Pixel(50, 28), "below the line"},
    {5, 24, filled(green), "the line under the fill"},
    {40, 24, cubeFace, "the line behind the cube is hidden"},
    {32, 10, green, "the line drawn over everything shows on the cube"},
    {17, 12, filled(cubeFace), "the fill over the cube lets it through"},
    {5, 40, filled(scene.Pixel(5, 40)), "the fill over the backdrop"},
  };
  for (const auto& p : pixels)
  {
    const Vector got = raster.Pixel(p.x, p.y);
    EXPECT_LT((got - p.want).GetLength(), 1e-9) << p.what << " at " << p.x << ", " << p.y << ": " << got << " want " << p.want;
  }
  BaseDocument::Free(doc);
}
