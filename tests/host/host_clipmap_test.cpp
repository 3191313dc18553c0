// Text in clip maps and the picture calls the overlays use: coverage, sizes, fonts, scaling.
#include <gtest/gtest.h>

#include <memory>

#include "c4d.h"

namespace
{
struct ClipMapFree
{
  void operator()(GeClipMap* m) const { GeClipMap::Free(m); }
};
using ClipMap = std::unique_ptr<GeClipMap, ClipMapFree>;

Float32 Red(BaseBitmap* bmp, Int32 x, Int32 y)
{
  Float32 px[3];
  bmp->GetPixelCnt(x, y, 1, reinterpret_cast<UChar*>(px), 12, COLORMODE_RGBf);
  return px[0];
}

/// Pixels whose red is above `least`.
Int32 Covered(const ClipMap& map, Float32 least)
{
  Int32 covered = 0;
  for (Int32 y = 0; y < map->GetBh(); ++y)
    for (Int32 x = 0; x < map->GetBw(); ++x)
      covered += Red(map->GetBitmap(), x, y) > least;
  return covered;
}
} // namespace

TEST(ClipMap, WhiteTextLeavesItsCoverageInRed)
{
  ClipMap map(GeClipMap::Alloc());
  ASSERT_EQ(map->Init(200, 60, 32), IMAGERESULT_OK);
  const BaseContainer font = GeClipMap::GetDefaultFont(GE_FONT_DEFAULT_SYSTEM);
  ASSERT_TRUE(map->SetFont(&font, 24.0)) << "DejaVu Sans comes with the fonts-dejavu-core package";
  const Int32 h = map->GetTextHeight();
  EXPECT_TRUE(h >= 24 && h <= 32) << h;
  EXPECT_EQ(map->GetTextWidth(String()), 0);

  map->BeginDraw();
  map->SetColor(255, 255, 255, 255);
  map->TextAt(10, 10, String("HI"));
  map->EndDraw();
  // Where text lands and that it is white, the plug-in's slate tests check through these calls.
  EXPECT_GT(Covered(map, 0.01f) - Covered(map, 0.99f), 4) << "the strokes' edges are smoothed";

  // Found by fuzzing: a line wider than the picture, flush right, starts at a negative x.
  ClipMap narrow(GeClipMap::Alloc());
  ASSERT_EQ(narrow->Init(40, 30), IMAGERESULT_OK);
  ASSERT_TRUE(narrow->SetFont(&font, 20.0));
  narrow->SetColor(255, 255, 255);
  narrow->TextAt(-60, 2, String("MMMMMMMM"));
  EXPECT_GT(Covered(narrow, 0.5f), 20) << "the visible part of a line that starts left of the picture";
}

TEST(ClipMap, MonospacedAdvancesAreEvenAndAFontThatCantBeHadKeepsTheOldOne)
{
  ClipMap map(GeClipMap::Alloc());
  ASSERT_EQ(map->Init(50, 50), IMAGERESULT_OK);
  BaseContainer missing;
  missing.SetFilename(FONT_FILE, Filename("/nonexistent/font.ttf"));
  EXPECT_FALSE(map->SetFont(&missing, 12.0));
  map->TextAt(5, 5, String("nothing"));
  EXPECT_EQ(Covered(map, 0.0f), 0) << "without a font nothing is drawn";

  const BaseContainer mono = GeClipMap::GetDefaultFont(GE_FONT_DEFAULT_MONOSPACED);
  ASSERT_TRUE(map->SetFont(&mono, 30.0));
  EXPECT_EQ(map->GetTextWidth(String("iiii")), map->GetTextWidth(String("WWWW")));
  const BaseContainer system = GeClipMap::GetDefaultFont(GE_FONT_DEFAULT_SYSTEM);
  ASSERT_TRUE(map->SetFont(&system, 30.0));
  EXPECT_LT(map->GetTextWidth(String("iiii")), map->GetTextWidth(String("WWWW")));
  const Int32 h = map->GetTextHeight();
  EXPECT_FALSE(map->SetFont(&missing, 40.0));
  EXPECT_EQ(map->GetTextHeight(), h) << "a failed change keeps the font it had";
  EXPECT_NE(map->Init(0, 5), IMAGERESULT_OK);
}

TEST(BitmapCalls, BicubicScalingOfARampNeitherFallsNorOvershoots)
{
  std::unique_ptr<BaseBitmap, void (*)(BaseBitmap*)> ramp(BaseBitmap::Alloc(), [](BaseBitmap* b) { BaseBitmap::Free(b); }),
    wide(BaseBitmap::Alloc(), [](BaseBitmap* b) { BaseBitmap::Free(b); });
  ASSERT_EQ(ramp->Init(8, 1), IMAGERESULT_OK);
  UInt16 r, g, b;
  ramp->GetPixel(9, 9, &r, &g, &b);
  EXPECT_EQ(r, 0) << "outside reads black";
  for (Int32 x = 0; x < 8; ++x)
    ramp->SetPixel(x, 0, x * 32, 100, 255);
  ASSERT_EQ(wide->Init(32, 3), IMAGERESULT_OK);
  ramp->ScaleBicubic(wide.get(), 0, 0, 7, 0, 0, 0, 31, 2);
  UInt16 prev = 0;
  for (Int32 x = 0; x < 32; ++x)
  {
    wide->GetPixel(x, 1, &r, &g, &b);
    EXPECT_TRUE(g == 100 && b == 255) << "green " << g << ", blue " << b << " at " << x;
    EXPECT_GE(r, prev) << "the ramp rises at " << x;
    prev = r;
  }
  EXPECT_LE(prev, 224) << "no overshoot beyond the last value";
}
