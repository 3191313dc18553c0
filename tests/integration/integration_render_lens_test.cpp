// Whole renders through the lens video post: every lens, cube layout and stereo mode, checked in
// pixels. The sky is a picture whose colour tells the direction: red grows with the picture's
// column (longitude), green with its row (from straight up to straight down), blue is 0.25.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "OrlixTag.h"
#include "c4d.h"
#include "c4d_objects.h"
#include "description/OrlixCam.h"
#include "description/OrlixTag.h"
#include "host_app.h"
#include "register.h"
#include "render/render_loop.h"
#include "render_picture.h"
#include "support/scratch_dir.h"

namespace
{
std::string DirectionSky()
{
  // Written once for all the cases of the process, in a folder of its own that goes at exit.
  static const ScratchDir scratch;
  static const std::string path = WritePicture(scratch.Path("direction_sky.exr"), 256, 128, [](Int32 x, Int32 y) {
    return Rgba{(x + 0.5f) / 256, (y + 0.5f) / 128, 0.25f, 1.0f};
  });
  return path;
}

class LensRender : public ::testing::Test
{
protected:
  void SetUp() override
  {
    host::ResetApp();
    host::SetPluginFolder(Filename(ORLIX_SOURCE_DIR));
    ASSERT_EQ(c4d_main(C4DPL_INIT_SYS, &table, nullptr, &modulePath), 1);
    ASSERT_EQ(c4d_main(C4DPL_MESSAGE, reinterpret_cast<void*>(C4DPL_STARTACTIVITY_RES), nullptr, nullptr), 1);
    ASSERT_EQ(c4d_main(C4DPL_INIT, nullptr, nullptr, nullptr), 1);
    NewScene();
  }
  void TearDown() override
  {
    host::ResetApp();
    c4d_main(C4DPL_END, nullptr, nullptr, nullptr);
  }

  /// A fresh document: the direction sky and a camera whose lens tag brings the video post.
  void NewScene()
  {
    if (doc)
      KillDocument(doc);
    doc = BaseDocument::Alloc();
    SetActiveDocument(doc);
    BaseObject* sky = BaseObject::Alloc(Osky);
    sky->GetDataInstance()->SetInt32(SKY_TYPE, SKY_TYPE_PICTURE);
    sky->GetDataInstance()->SetFilename(SKY_PICTURE, Filename(DirectionSky().c_str()));
    doc->InsertObject(sky, nullptr, nullptr);
    cam = BaseObject::Alloc(Ocamera);
    doc->InsertObject(cam, nullptr, nullptr);
    tag = cam->MakeTag(OrlixTag::ID);
    ASSERT_NE(tag, nullptr);
    vp = doc->GetActiveRenderData()->GetFirstVideoPost();
    ASSERT_NE(vp, nullptr);
  }

  BaseContainer& Tag() { return *tag->GetDataInstance(); }
  BaseContainer& VP() { return *vp->GetDataInstance(); }
  BaseContainer& Settings() { return *doc->GetActiveRenderData()->GetDataInstance(); }

  void Render(Int32 w, Int32 h, Bool editor = false)
  {
    Settings().SetInt32(RDATA_XRES, w);
    Settings().SetInt32(RDATA_YRES, h);
    host::RenderOptions options;
    options.samples = 1;
    options.editorRender = editor;
    String error;
    ASSERT_TRUE(host::RenderDocument(doc, options, &picture, &error)) << error;
    ASSERT_TRUE(picture);
    ASSERT_EQ(picture->GetBw(), w);
  }
  Rgba At(Int32 x, Int32 y) const { return ::At(*picture, x, y); }

  C4DHostTable table;
  Filename modulePath = Filename(ORLIX_SOURCE_DIR) + Filename("OrlixCam.so");
  BaseDocument* doc = nullptr;
  BaseObject* cam = nullptr;
  BaseTag* tag = nullptr;
  BaseVideoPost* vp = nullptr;
  host::BitmapPtr picture;
};

/// A pixel and what it must show: 'r', 'g' or 'b' near `want`, 'k' black, 'n' not black.
struct Probe
{
  Int32 x, y;
  char what;
  Float want = 0.0, tol = 0.03;
};
using Params = std::vector<std::pair<Int32, GeData>>;
} // namespace

TEST_F(LensRender, EveryLensAndStereoModeShowsTheSkyWhereItBelongs)
{
  const Int32 lens = ORLIXTAG_LENS, mode = ORLIXVP_STEREO_MODE, colours = ORLIXVP_ANAGLYPH_COLOURS;
  const struct Case
  {
    const char* name;
    Int32 w, h;
    Bool editor, stereo;
    Params tag, vp;
    std::vector<Probe> probes;
  } cases[] = {
    {"dome: black corners, the axis on the horizon ahead, the rim's top straight up", 64, 64, false, false, {}, {},
     {{0, 0, 'k'}, {63, 63, 'k'}, {32, 32, 'g', 0.5}, {32, 32, 'r', 0.5}, {32, 0, 'g', 0.0, 0.05}}},
    {"dome, mask mode 2: the corners as the lens sees them", 64, 64, false, false, {}, {{ORLIXVP_MASK_MODE, 2}},
     {{0, 0, 'n'}}},
    {"dome whose logo and mask pictures are missing: renders, corners black", 128, 128, false, false, {},
     {{ORLIXVP_SLATE, true}, {ORLIXVP_LOGO_MODE, 1}, {ORLIXVP_LOGO_FILE, Filename("/nonexistent/logo.png")},
      {ORLIXVP_MASK_MODE, 1}, {ORLIXVP_MASK_FILE, Filename("/nonexistent/mask.png")}},
     {{64, 64, 'r', 0.5}, {127, 127, 'k'}, {3, 30, 'k'}}},
    {"cylinder: every row of the strip looks horizontally", 64, 16, false, false, {{lens, 2}}, {},
     {{4, 0, 'g', 0.5}, {52, 15, 'g', 0.5}, {4, 8, 'r', 4 / 63.0}, {52, 8, 'r', 52 / 63.0}}},
    {"editor render: the panorama in its 2:1 box", 64, 64, true, false, {{lens, 0}, {ORLIXTAG_ASPECT_MONO, 2.0}}, {},
     {{32, 4, 'k'}, {32, 32, 'n'}, {32, 60, 'k'}}},
    {"side by side: each eye's panorama in its half, the odd last column in neither", 129, 32, false, true,
     {{lens, 0}}, {{mode, 1}}, {{32, 16, 'r', 0.5}, {96, 16, 'r', 0.5}, {128, 16, 'k'}}},
    {"anaglyph colour set 1: red from the first eye, green and blue from the second", 64, 32, false, true,
     {{lens, 0}}, {{mode, 0}, {colours, 1}},
     {{20, 10, 'r', 20 / 63.0}, {20, 10, 'g', 10 / 31.0}, {20, 10, 'b', 0.25, 0.01}}},
    {"anaglyph method 1 has no blue", 64, 32, false, true, {{lens, 0}},
     {{mode, 0}, {colours, 1}, {ORLIXVP_ANAGLYPH_METHOD, 1}}, {{20, 10, 'b', 0.0, 0.0}}},
    {"interlaced: rows alternate between eyes whose pictures lie 8 pixels apart each way", 64, 32, false, true,
     {{lens, 0}, {ORLIXTAG_EYE_SEPARATION, 0.0}}, {{mode, 2}, {ORLIXVP_EYE_SHIFT, 16}},
     {{32, 10, 'r', 24 / 63.0}, {32, 11, 'r', 40 / 63.0}, {32, 12, 'r', 24 / 63.0}}},
    {"stereo cubemap side by side: both eyes' crosses with empty corners", 128, 48, false, true, {{lens, 3}},
     {{mode, 1}}, {{24, 24, 'r', 0.5, 0.05}, {88, 24, 'r', 0.5, 0.05}, {72, 8, 'k'}}},
    {"cubemap 3 x 2 (the grids are the layout tests'): front in the second row's middle, up above right", 48, 32,
     false, false, {{lens, 3}}, {{ORLIXVP_CUBE_LAYOUT, 3}},
     {{24, 24, 'r', 0.5, 0.05}, {24, 24, 'g', 0.5, 0.05}, {40, 8, 'g', 0.0, 0.2}}},
  };
  for (const Case& c : cases)
  {
    SCOPED_TRACE(c.name);
    NewScene();
    Settings().SetBool(RDATA_STEREO, c.stereo);
    for (const auto& [id, value] : c.tag)
      Tag().SetData(id, value);
    for (const auto& [id, value] : c.vp)
      VP().SetData(id, value);
    Render(c.w, c.h, c.editor);
    for (const Probe& p : c.probes)
    {
      const Rgba got = At(p.x, p.y);
      if (p.what == 'k' || p.what == 'n')
        EXPECT_EQ(Black(got), p.what == 'k') << "pixel " << p.x << ", " << p.y << ": " << got;
      else
        EXPECT_NEAR(p.what == 'r' ? got.r : p.what == 'g' ? got.g : got.b, p.want, p.tol)
          << p.what << " at pixel " << p.x << ", " << p.y << ": " << got;
    }
  }
}

TEST_F(LensRender, DomeSlateFillsTheCornersAndLeavesTheCircleAloneAndTheCameraLinkIsOnlyTheRenders)
{
  // Pixels of `one` and `two` that differ in the given box.
  auto differs = [](const BaseBitmap& one, const BaseBitmap& two, Int32 x0, Int32 y0, Int32 x1, Int32 y1) {
    Int32 n = 0;
    for (Int32 y = y0; y < y1; ++y)
      for (Int32 x = x0; x < x1; ++x)
      {
        const Rgba a = ::At(one, x, y), b = ::At(two, x, y);
        n += a.r != b.r || a.g != b.g || a.b != b.b;
      }
    return n;
  };
  Render(1024, 1024);
  EXPECT_FALSE(doc->GetRenderBaseDraw()->HasCameraLink()) << "the searched camera is unlinked after the render";
  const host::BitmapPtr plain(picture->GetClone());
  VP().SetBool(ORLIXVP_SLATE, true); // its text, information, time, frame and built-in logo are on by default
  VP().SetString(ORLIXVP_TEXT, String("Slate"));
  doc->GetRenderBaseDraw()->SetSceneCamera(cam);
  Render(1024, 1024);
  EXPECT_TRUE(doc->GetRenderBaseDraw()->HasCameraLink()) << "a link the view had stays";
  EXPECT_GT(differs(*plain, *picture, 0, 0, 150, 40), 0) << "title, top left";
  EXPECT_GT(differs(*plain, *picture, 850, 0, 1024, 100), 0) << "technical block, top right";
  EXPECT_GT(differs(*plain, *picture, 0, 900, 250, 1024), 0) << "time and frame, bottom left";
  EXPECT_GT(differs(*plain, *picture, 880, 880, 1024, 1024), 0) << "logo and caption, bottom right";
  Int32 inside = 0;
  for (Int32 y = 0; y < 1024; ++y)
    for (Int32 x = 0; x < 1024; ++x)
      if ((x - 511.5) * (x - 511.5) + (y - 511.5) * (y - 511.5) < 508.0 * 508.0)
        inside += differs(*plain, *picture, x, y, x + 1, y + 1);
  EXPECT_EQ(inside, 0) << "the picture inside the circle is untouched";

  // A preview draws no slate: with and without it the preview is the same.
  Render(1024, 1024, true);
  const host::BitmapPtr preview(picture->GetClone());
  VP().SetBool(ORLIXVP_SLATE, false);
  Render(1024, 1024, true);
  EXPECT_EQ(differs(*preview, *picture, 0, 0, 1024, 1024), 0);
}
