// The dome's overlays: the blit every layer goes through, the logo's corner, the slate's lines.
#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <vector>

#include "OrlixCamVP.h"
#include "plugin_fixture.h"
#include "render/render_buffers.h"
#include "render/render_loop.h"
#include "support/lens_area.h"

namespace
{
using host::render::ImageBuffer;

/// An image of `w` x `h` the blit can write into, every pixel `fill`.
std::unique_ptr<ImageBuffer> Buffer(Int32 w, Int32 h, std::array<Float32, 4> fill = {})
{
  auto buf = std::make_unique<ImageBuffer>();
  EXPECT_TRUE(buf->Init(w, h));
  for (Int32 i = 0; i < w * h; ++i)
    std::copy(fill.begin(), fill.end(), buf->Pixel(i % w, i / w));
  return buf;
}

/// A buffer that claims three components a pixel, which the blit can't write.
struct ThreeComponents : VPBuffer
{
  Int32 GetInfo(Int32 type) const override { return type == VPGETINFO_CPP ? 3 : (type == VPGETINFO_BITDEPTH ? 32 : 8); }
  Bool GetLine(Int32, Int32, Int32, void*, Int32, Bool) const override { return false; }
  Bool SetLine(Int32, Int32, Int32, const void*, Int32, Bool) override { return false; }
};

using Bitmap = host::BitmapPtr;

/// A picture of one colour; with `alpha` >= 0 an alpha channel of that value (0 to 255).
Bitmap Solid(Int32 w, Int32 h, Int32 r, Int32 g, Int32 b, Int32 alpha = -1)
{
  Bitmap bmp(BaseBitmap::Alloc());
  bmp->Init(w, h, 32);
  BaseBitmap* channel = alpha >= 0 ? bmp->AddChannel(true, false) : nullptr;
  for (Int32 y = 0; y < h; ++y)
    for (Int32 x = 0; x < w; ++x)
    {
      bmp->SetPixel(x, y, r, g, b);
      if (channel)
        bmp->SetAlphaPixel(channel, x, y, alpha);
    }
  return bmp;
}

struct Overlays : PluginTest
{
  /// A mono dome of diameter `d` filling the height of `buf`'s frame, with the logo's corner as
  /// the render's start works it out; the image's closing drawing into `buf`.
  VideoPostStruct Dome(ImageBuffer& buf, Int32 d)
  {
    const Int32 w = buf.Width(), h = buf.Height();
    render = std::make_unique<host::render::RunningRender>(BaseContainer());
    render->SetImage(&buf);
    VideoPostStruct vps;
    vps.render = render.get();
    vp->activeArea = Area(0, 0, w - 1, h - 1);
    vp->domeDiameter = d;
    vp->logoInset = d / 2.0 - std::sin(0.25 * 3.14159265358979323846) * (d / 2.0);
    vp->logoCorner = Area(w - 1 - vp->logoInset, h - 1 - vp->logoInset, w - 1, h - 1);
    return vps;
  }
  std::unique_ptr<host::render::RunningRender> render;

  std::unique_ptr<OrlixCamVP> vp{static_cast<OrlixCamVP*>(OrlixCamVP::Alloc())};
};
} // namespace

TEST_F(Overlays, BlitBlendsByCoverageAndKeepsTheLargerAlpha)
{
  auto buf = Buffer(4, 4, {0.2f, 0.4f, 0.6f, 0.5f});
  // Without an alpha channel the first component is the coverage: red 255 covers fully.
  Bitmap full = Solid(2, 2, 255, 0, 0);
  ASSERT_TRUE(DrawBitmapToVPBuffer(*vp, full.get(), buf.get(), Area(0, 0, 1, 1), false));
  EXPECT_FLOAT_EQ(buf->Pixel(1, 1)[0], 1.0f);
  EXPECT_FLOAT_EQ(buf->Pixel(1, 1)[1], 0.0f);
  EXPECT_FLOAT_EQ(buf->Pixel(1, 1)[3], 1.0f) << "alpha: the larger of the cover and what was there";
  EXPECT_FLOAT_EQ(buf->Pixel(2, 2)[0], 0.2f) << "outside the area nothing changes";

  // With an alpha channel the channel decides and the first component is colour only.
  Bitmap clear = Solid(2, 2, 255, 255, 255, 0);
  ASSERT_TRUE(DrawBitmapToVPBuffer(*vp, clear.get(), buf.get(), Area(2, 2, 3, 3), false));
  EXPECT_FLOAT_EQ(buf->Pixel(3, 3)[0], 0.2f) << "a fully transparent pixel leaves the colour alone";
  EXPECT_FLOAT_EQ(buf->Pixel(3, 3)[3], 0.5f) << "and the alpha";
  Bitmap half = Solid(2, 2, 0, 255, 0, 128);
  ASSERT_TRUE(DrawBitmapToVPBuffer(*vp, half.get(), buf.get(), Area(2, 0, 3, 1), false));
  const Float32 a = 128.0f / 255.0f;
  EXPECT_NEAR(buf->Pixel(2, 0)[0], (1 - a) * 0.2f, 1e-6);
  EXPECT_NEAR(buf->Pixel(2, 0)[1], a + (1 - a) * 0.4f, 1e-6);
  EXPECT_FLOAT_EQ(buf->Pixel(2, 0)[3], a) << "the larger alpha: the cover's " << a << " over 0.5";
}

TEST_F(Overlays, BlitChecksAreaBufferAndBitmap)
{
  auto buf = Buffer(8, 4);
  Bitmap logo = Solid(3, 2, 255, 255, 255);
  EXPECT_TRUE(DrawBitmapToVPBuffer(*vp, logo.get(), buf.get(), Area(5, 2, 7, 3), false)) << "ending on the last column";
  EXPECT_FALSE(DrawBitmapToVPBuffer(*vp, logo.get(), buf.get(), Area(6, 2, 8, 3), false)) << "one beyond";
  EXPECT_FALSE(DrawBitmapToVPBuffer(*vp, logo.get(), buf.get(), Area(-1, 0, 1, 1), false));
  EXPECT_FALSE(DrawBitmapToVPBuffer(*vp, logo.get(), nullptr, Area(0, 0, 1, 1), false));
  Bitmap empty(BaseBitmap::Alloc());
  EXPECT_FALSE(DrawBitmapToVPBuffer(*vp, empty.get(), buf.get(), Area(0, 0, 1, 1), false));
  ASSERT_TRUE(DrawBitmapToVPBuffer(*vp, logo.get(), buf.get(), Area(0, 0, 5, 3), false));
  EXPECT_EQ(logo->GetBw(), 3) << "scaled to the area, but without keepScaled the source stays";

  ThreeComponents rgb;
  EXPECT_FALSE(DrawBitmapToVPBuffer(*vp, logo.get(), &rgb, Area(0, 0, 1, 1), false));
  EXPECT_TRUE(host::App().console.Contains(String("OrlixCamVP::DrawBitmapToVPBuffer() Invalid buffer Bt 32 cpp 3")));
}

TEST_F(Overlays, LogoCornerOfAWideDomeGrowsToTheLeft)
{
  // A mono dome at 2:1, 2000 × 1000: the corner is 147 wide, the logo's area twice that plus one.
  auto buf = Buffer(2000, 1000);
  VideoPostStruct vps = Dome(*buf, 1000);
  ASSERT_EQ(vp->logoCorner.width, 147);
  vp->settings.logoMode = LogoMode::File;
  ASSERT_TRUE(Solid(10, 10, 255, 255, 255, 255)->CopyTo(vp->logoBitmap));
  EXPECT_EQ(DrawOverlays(*vp, &vps), RENDERRESULT_OK);
  EXPECT_EQ(vp->logoBitmap->GetBw(), 295) << "start.x lies 147 × 2 left of end.x";
  EXPECT_EQ(vp->logoBitmap->GetBh(), 148);
  EXPECT_NE(vp->logoBitmap->GetInternalChannel(), nullptr) << "the scaled logo keeps its alpha channel";
  EXPECT_FLOAT_EQ(buf->Pixel(1999 - 294, 999)[0], 1.0f);
  EXPECT_FLOAT_EQ(buf->Pixel(1999 - 295, 999)[0], 0.0f);

  vps.render = nullptr;
  EXPECT_EQ(DrawOverlays(*vp, &vps), RENDERRESULT_OUTOFMEMORY) << "no RGBA buffer";
  vp->settings.logoMode = LogoMode::None;
  EXPECT_EQ(DrawOverlays(*vp, &vps), RENDERRESULT_OK) << "nothing to draw needs no buffer";
}

TEST_F(Overlays, SlateTextIsWhiteCoverageFromTheMarginOnAndTheTechnicalLinesReadRight)
{
  // A dome of 2000: the margin is 9, not 10.
  const Int32 D = 2000;
  auto buf = Buffer(D, D);
  VideoPostStruct vps = Dome(*buf, D);
  vp->settings = LensFor(LensKind::Dome, [](LensSettings& s) {
    s.showSlateText = s.showInfo = s.showTimecode = s.showFrameNumber = true;
    s.slateText = String("Title\nSecond line");
    s.slateTextSize = 1.0;
    s.fps = 25.0;
  });
  vp->frameTime = BaseTime(2.0, 1.0);
  vp->docMaxTime = BaseTime(4.0, 1.0);
  ASSERT_EQ(DrawOverlays(*vp, &vps), RENDERRESULT_OK);
  auto covered = [&](Int32 x0, Int32 y0, Int32 x1, Int32 y1) {
    Int32 n = 0;
    for (Int32 y = y0; y < y1; ++y)
      for (Int32 x = x0; x < x1; ++x)
        if (buf->Pixel(x, y)[3] > 0.5f)
        {
          EXPECT_GT(buf->Pixel(x, y)[0], 0.5f) << "text is white where it covers";
          ++n;
        }
    return n;
  };
  // Where each block lands, the whole-render slate test checks; here the margin's width.
  EXPECT_EQ(covered(0, 0, 9, D), 0) << "the left margin of 9 stays free";
  EXPECT_EQ(covered(0, 0, D, 9), 0) << "and the top margin";
  EXPECT_GT(covered(9, 9, 13, 40), 0) << "the title starts right at the margin";

  // The technical block's lines: a document without a name first, then the file part of a name.
  const std::vector<String> lines = SlateTechnicalLines(*vp);
  ASSERT_EQ(lines.size(), 6u);
  const std::vector<String> first = {String("<Document>"), String("Resolution: 2000 x 2000"),
                                     String("Total Time: 000:04.00"), String("Total Frames: 000101")};
  EXPECT_EQ(std::vector<String>(lines.begin(), lines.begin() + 4), first);
  vp->documentName = Filename("/scenes/show/Opening.json");
  EXPECT_EQ(SlateTechnicalLines(*vp)[0], String("Opening.json"));
}
