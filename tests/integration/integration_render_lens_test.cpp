// Whole renders through the lens video post: every lens, cube layout and stereo mode, checked in
// pixels (the panorama against a whole picture with the command line). The sky is a picture whose colour tells the direction: red grows with the picture's
// column (longitude), green with its row (from straight up to straight down).
#include <gtest/gtest.h>

#include <OpenImageIO/imageio.h>

#include <cmath>
#include <string>
#include <vector>

#include <unistd.h>

#include "OrlixCamVP.h"
#include "OrlixTag.h"
#include "c4d.h"
#include "c4d_objects.h"
#include "description/OrlixCam.h"
#include "description/OrlixTag.h"
#include "host_app.h"
#include "register.h"
#include "render/render_loop.h"

namespace
{
struct Px
{
  Float32 r, g, b;
};
std::ostream& operator<<(std::ostream& os, const Px& p)
{
  return os << '(' << p.r << ", " << p.g << ", " << p.b << ')';
}

std::string DirectionSky()
{
  // One file per process: ctest runs the cases of this binary side by side.
  const std::string path = ::testing::TempDir() + "orlix_direction_sky_" + std::to_string(getpid()) + ".exr";
  const int w = 256, h = 128;
  std::vector<float> px;
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      px.insert(px.end(), {(x + 0.5f) / w, (y + 0.5f) / h, 0.25f});
  auto out = OIIO::ImageOutput::create(path);
  EXPECT_TRUE(out && out->open(path, OIIO::ImageSpec(w, h, 3, OIIO::TypeDesc::FLOAT)));
  EXPECT_TRUE(out->write_image(OIIO::TypeDesc::FLOAT, px.data()));
  out->close();
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
  void TearDown() override
  {
    host::ResetApp();
    c4d_main(C4DPL_END, nullptr, nullptr, nullptr);
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
  Px At(Int32 x, Int32 y) const
  {
    Px p;
    picture->GetPixelCnt(x, y, 1, reinterpret_cast<UChar*>(&p), 12, COLORMODE_RGBf, 0);
    return p;
  }
  static bool Black(const Px& p) { return p.r == 0.0f && p.g == 0.0f && p.b == 0.0f; }

  C4DHostTable table;
  Filename modulePath = Filename(ORLIX_SOURCE_DIR) + Filename("OrlixCam.so");
  BaseDocument* doc = nullptr;
  BaseObject* cam = nullptr;
  BaseTag* tag = nullptr;
  BaseVideoPost* vp = nullptr;
  host::BitmapPtr picture;
};
} // namespace

TEST_F(LensRender, DomeCornersFollowTheMaskMode)
{
  Render(64, 64);
  EXPECT_TRUE(Black(At(0, 0))) << At(0, 0);
  EXPECT_TRUE(Black(At(63, 63)));
  const Px centre = At(32, 32);
  EXPECT_NEAR(centre.g, 0.5, 0.03) << "the dome's axis looks at the horizon ahead: " << centre;
  EXPECT_NEAR(centre.r, 0.5, 0.03) << centre;
  EXPECT_NEAR(At(32, 0).g, 0.0, 0.05) << "the top of a half sphere looks straight up";

  VP().SetInt32(ORLIXVP_MASK_MODE, 2);
  Render(64, 64);
  EXPECT_FALSE(Black(At(0, 0))) << "mask mode 2 leaves the corners as the lens sees them";
}

TEST_F(LensRender, CylinderStripStaysOnTheHorizon)
{
  Tag().SetInt32(ORLIXTAG_LENS, 2);
  Render(64, 16);
  for (Int32 x = 4; x < 64; x += 12)
  {
    EXPECT_NEAR(At(x, 0).g, 0.5, 0.03) << "every row of the strip looks horizontally";
    EXPECT_NEAR(At(x, 15).g, 0.5, 0.03);
    EXPECT_NEAR(At(x, 8).r, x / 63.0, 0.03);
  }
}

TEST_F(LensRender, EveryCubeLayoutPlacesItsFaces)
{
  Tag().SetInt32(ORLIXTAG_LENS, 3);
  const struct
  {
    Int32 layout, turn, w, h, frontX, frontY, upX, upY, gapX, gapY;
  } layouts[] = {
    {0, 1, 64, 48, 24, 24, 24, 8, 8, 8},    // cross: front in column 1 row 1, up above it, corners empty
    {0, 3, 64, 48, 56, 24, 56, 8, -1, -1},  // turned: front moves to column 3, up stays above it
    {1, 1, 48, 64, 24, 24, 24, 8, 8, 8},    // vertical cross with the default turn: up, front, down, back
    {2, 1, 96, 16, 72, 8, 40, 8, -1, -1},   // strip by slots: right, left, up, down, front, back
    {3, 1, 48, 32, 24, 24, 40, 8, -1, -1},  // 3 × 2: front in slot 5, the second row's middle
    {4, 1, 16, 96, 8, 72, 8, 40, -1, -1},
    {5, 1, 32, 48, 24, 24, 8, 40, -1, -1},  // 2 × 3: slots down the first column, then the second
    {6, 1, 32, 32, 16, 16, -1, -1, -1, -1}, // one face: front
  };
  for (const auto& l : layouts)
  {
    SCOPED_TRACE("layout " + std::to_string(l.layout) + ", turn " + std::to_string(l.turn));
    VP().SetInt32(ORLIXVP_CUBE_LAYOUT, l.layout);
    VP().SetInt32(ORLIXVP_CUBE_TURN, l.turn);
    Render(l.w, l.h);
    const Px front = At(l.frontX, l.frontY);
    EXPECT_NEAR(front.r, 0.5, 0.05) << "front " << front;
    EXPECT_NEAR(front.g, 0.5, 0.05) << "front " << front;
    EXPECT_TRUE(l.upX < 0 || At(l.upX, l.upY).g < 0.2) << "up looks up";
    EXPECT_TRUE(l.gapX < 0 || Black(At(l.gapX, l.gapY))) << "cells between the faces stay black";
  }
}

TEST_F(LensRender, SideBySideStereoGivesEachEyeItsHalf)
{
  Tag().SetInt32(ORLIXTAG_LENS, 0);
  Settings().SetBool(RDATA_STEREO, true);
  VP().SetInt32(ORLIXVP_STEREO_MODE, 1);
  Render(129, 32); // odd: the last column belongs to neither eye
  EXPECT_NEAR(At(32, 16).r, 0.5, 0.03) << "the left eye's panorama centre";
  EXPECT_NEAR(At(96, 16).r, 0.5, 0.03) << "the right eye's panorama centre";
  EXPECT_TRUE(Black(At(128, 16)));
}

TEST_F(LensRender, AnaglyphMixesTheEyesByTheTable)
{
  Tag().SetInt32(ORLIXTAG_LENS, 0);
  Settings().SetBool(RDATA_STEREO, true);
  VP().SetInt32(ORLIXVP_STEREO_MODE, 0);
  VP().SetInt32(ORLIXVP_ANAGLYPH_COLOURS, 1);
  Render(64, 32);
  const Px p = At(20, 10);
  // Colour set 1: red from the first eye, green and blue from the second; both eyes look almost alike.
  EXPECT_NEAR(p.r, 20 / 63.0, 0.03) << p;
  EXPECT_NEAR(p.g, 10 / 31.0, 0.03) << p;
  EXPECT_NEAR(p.b, 0.25, 0.01) << p;
  VP().SetInt32(ORLIXVP_ANAGLYPH_METHOD, 1);
  Render(64, 32);
  EXPECT_EQ(At(20, 10).b, 0.0f) << "method 1 has no blue";
}

TEST_F(LensRender, InterlacedRowsAlternateEyes)
{
  Tag().SetInt32(ORLIXTAG_LENS, 0);
  Tag().SetFloat(ORLIXTAG_EYE_SEPARATION, 0.0);
  Settings().SetBool(RDATA_STEREO, true);
  VP().SetInt32(ORLIXVP_STEREO_MODE, 2);
  VP().SetInt32(ORLIXVP_EYE_SHIFT, 16); // the eyes' pictures 8 pixels apart each way
  Render(64, 32);
  // Rows alternate between the eyes: a column seen shifted one way, then the other.
  EXPECT_GT(std::fabs(At(32, 10).r - At(32, 11).r), 0.1) << At(32, 10) << " vs " << At(32, 11);
  EXPECT_NEAR(At(32, 10).r, At(32, 12).r, 0.03);
}

TEST_F(LensRender, StereoCubemapShootsTwelveImages)
{
  Tag().SetInt32(ORLIXTAG_LENS, 3);
  Settings().SetBool(RDATA_STEREO, true);
  VP().SetInt32(ORLIXVP_STEREO_MODE, 1);
  Render(128, 48);
  auto* state = static_cast<OrlixCamVP*>(vp->GetNodeData());
  EXPECT_EQ(state->subRenderCount, 12);
  EXPECT_EQ(state->subRenderIndex, 11) << "the last image shot was the second eye's last face";
  EXPECT_NEAR(At(24, 24).r, 0.5, 0.05) << "left eye's front";
  EXPECT_NEAR(At(88, 24).r, 0.5, 0.05) << "right eye's front";
  EXPECT_TRUE(Black(At(72, 8))) << "the second eye's cross has empty corners too";
}

TEST_F(LensRender, SearchedCameraIsLinkedOnlyDuringTheRender)
{
  ASSERT_FALSE(doc->GetRenderBaseDraw()->HasCameraLink());
  Render(32, 32);
  EXPECT_FALSE(doc->GetRenderBaseDraw()->HasCameraLink()) << "the view gets its missing link back";
  doc->GetRenderBaseDraw()->SetSceneCamera(cam);
  Render(32, 32);
  EXPECT_TRUE(doc->GetRenderBaseDraw()->HasCameraLink()) << "a link the view had stays";
}

TEST_F(LensRender, EditorRenderShowsTheLensInItsBox)
{
  Tag().SetInt32(ORLIXTAG_LENS, 0);
  Tag().SetFloat(ORLIXTAG_ASPECT_MONO, 2.0);
  Render(64, 64, true);
  EXPECT_TRUE(Black(At(32, 4))) << "above the 2:1 box";
  EXPECT_FALSE(Black(At(32, 32)));
  EXPECT_TRUE(Black(At(32, 60))) << "below the box";
}

TEST_F(LensRender, DomeSlateFillsTheCornersAndLeavesTheCircleAlone)
{
  Render(1024, 1024);
  const host::BitmapPtr plain(picture->GetClone());
  VP().SetBool(ORLIXVP_SLATE, true); // its text, information, time, frame and built-in logo are on by default
  VP().SetString(ORLIXVP_TEXT, String("Slate"));
  Render(1024, 1024);
  // Pixels of `one` and `two` that differ in the given box.
  auto differsIn = [](const BaseBitmap& one, const BaseBitmap& two, Int32 x0, Int32 y0, Int32 x1, Int32 y1) {
    Int32 n = 0;
    Px a, b;
    for (Int32 y = y0; y < y1; ++y)
      for (Int32 x = x0; x < x1; ++x)
      {
        one.GetPixelCnt(x, y, 1, reinterpret_cast<UChar*>(&a), 12, COLORMODE_RGBf, 0);
        two.GetPixelCnt(x, y, 1, reinterpret_cast<UChar*>(&b), 12, COLORMODE_RGBf, 0);
        n += a.r != b.r || a.g != b.g || a.b != b.b;
      }
    return n;
  };
  auto differs = [&](Int32 x0, Int32 y0, Int32 x1, Int32 y1) { return differsIn(*plain, *picture, x0, y0, x1, y1); };
  EXPECT_GT(differs(0, 0, 150, 40), 0) << "title, top left";
  EXPECT_GT(differs(850, 0, 1024, 100), 0) << "technical block, top right";
  EXPECT_GT(differs(0, 900, 250, 1024), 0) << "time and frame, bottom left";
  EXPECT_GT(differs(880, 880, 1024, 1024), 0) << "logo and caption, bottom right";
  Int32 inside = 0;
  for (Int32 y = 0; y < 1024; ++y)
    for (Int32 x = 0; x < 1024; ++x)
      if ((x - 511.5) * (x - 511.5) + (y - 511.5) * (y - 511.5) < 508.0 * 508.0)
        inside += differs(x, y, x + 1, y + 1);
  EXPECT_EQ(inside, 0) << "the picture inside the circle is untouched";

  // A preview draws no slate: with and without it the preview is the same.
  Render(1024, 1024, true);
  const host::BitmapPtr preview(picture->GetClone());
  VP().SetBool(ORLIXVP_SLATE, false);
  Render(1024, 1024, true);
  EXPECT_EQ(differsIn(*preview, *picture, 0, 0, 1024, 1024), 0);
}

TEST_F(LensRender, MissingLogoAndMaskPicturesLeaveTheRenderGoing)
{
  Render(128, 128);
  const Px centre = At(64, 64);
  VP().SetBool(ORLIXVP_SLATE, true);
  VP().SetInt32(ORLIXVP_LOGO_MODE, 1);
  VP().SetFilename(ORLIXVP_LOGO_FILE, Filename("/nonexistent/logo.png"));
  VP().SetInt32(ORLIXVP_MASK_MODE, 1);
  VP().SetFilename(ORLIXVP_MASK_FILE, Filename("/nonexistent/mask.png"));
  Render(128, 128);
  EXPECT_EQ(At(64, 64).r, centre.r) << "the picture renders as before";
  EXPECT_TRUE(Black(At(127, 127))) << "no logo, and the missing mask falls back to black corners";
  EXPECT_TRUE(Black(At(3, 30))) << "outside the circle, away from the slate's text";
}
