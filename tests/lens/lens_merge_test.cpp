// The merge of a frame's images: faces found by rectangle, eyes combined by the stereo mode.
// Side-by-side pairs and interlaced rows are checked in whole renders (integration_render_lens_test).
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "cube_layout.h"
#include "lens_projection.h"
#include "stereo_merge.h"
#include "support/lens_area.h"

namespace
{
// Images of one colour each, merged into a frame 8 pixels wide; two eyes over one 8 × 8 face
// unless a test plans otherwise.
struct Merge
{
  MergePlan plan;
  LensChannel faces[6];
  LensChannel eyes[2];
  std::vector<std::vector<float>> colours; // one RGB per image

  explicit Merge(std::vector<std::vector<float>> c) : colours(std::move(c))
  {
    plan.eyeCount = 2;
    faces[0].area = eyes[0].area = eyes[1].area = plan.activeArea = Area(0, 0, 7, 7);
  }

  // The merged colour of pixel (x, y).
  std::vector<float> Px(int x, int y)
  {
    plan.faces = faces;
    plan.eyes = eyes;
    MergeRows rows;
    EXPECT_TRUE(rows.Allocate(static_cast<int>(colours.size()), 8));
    for (size_t i = 0; i < colours.size(); ++i)
      for (int p = 0; p < 8 * 3; ++p)
        rows.Source(static_cast<int>(i))[p] = colours[i][p % 3];
    MergeRow(plan, y, rows);
    return std::vector<float>(rows.Source(0) + x * 3, rows.Source(0) + x * 3 + 3);
  }
};
} // namespace

TEST(StereoMerge, MonoCubemapTakesEachPixelFromItsFaceAndBlackElsewhere)
{
  Merge m({{1, 0, 0}, {2, 0, 0}, {3, 0, 0}, {4, 0, 0}, {5, 0, 0}, {6, 0, 0}});
  LensChannel grid[kGridCells];
  Vector size;
  BuildCubeGrid(CubeLayoutSettings(), grid, size);
  ASSERT_EQ(PlanCubeFaceAreas(grid, size, 8, 6, m.faces), 6);
  m.plan.faceCount = 6;
  m.plan.eyeCount = 1;
  m.eyes[0].area = Area(0, 0, 7, 5);
  EXPECT_EQ(m.Px(0, 0)[0], 0.0f) << "the cross's corner belongs to no face";
  EXPECT_EQ(m.Px(2, 0)[0], 1.0f) << "up is image 0";
  for (int x = 0; x < 8; ++x)
    EXPECT_EQ(m.Px(x, 3)[0], float(2 + x / 2)) << "band pixel " << x;
}

TEST(StereoMerge, InterlaceModes)
{
  Merge m({{1, 1, 1}, {2, 2, 2}});
  m.plan.stereoMode = StereoMode::Interlaced;
  const struct { int mode, x, y; float want; } rows[] = {
    {0, 3, 0, 1}, {0, 3, 1, 2},  // rows
    {1, 1, 0, 2}, {1, 2, 1, 1},  // columns
    {2, 1, 1, 1}, {2, 1, 0, 2},  // checkerboard
    {5, 0, 1, 2},                // any other mode interlaces rows
  };
  for (const auto& r : rows)
  {
    m.plan.interlaceMode = static_cast<InterlaceMode>(r.mode);
    EXPECT_EQ(m.Px(r.x, r.y)[0], r.want) << "mode " << r.mode << " at " << r.x << ", " << r.y;
  }
}

TEST(StereoMerge, AnaglyphTable)
{
  const float a[3] = {0.2f, 0.4f, 0.6f}, b[3] = {0.1f, 0.3f, 0.5f};
  const double la = 0.299 * 0.2f + 0.587 * 0.4f + 0.114 * 0.6f, lb = 0.299 * 0.1f + 0.587 * 0.3f + 0.114 * 0.5f;
  const double optimised = 0.7 * 0.4f + 0.3 * 0.6f;
  // Only colour set 3 has a gamma, and only one above 1 changes it: the root of the mixed red.
  struct Row { int method, colours; double gamma, r, g, bl; } rows[] = {
    {0, 1, 1, 0.2f, 0.3f, 0.5f}, {0, 2, 1, la, 0.3f, 0.5f}, {0, 3, 1, optimised, 0.3f, 0.5f}, {0, 4, 1, la, lb, lb},
    {0, 0, 1, la, 0, lb}, {0, 9, 1, la, 0, lb}, {1, 3, 1, 0.2f, 0.3f, 0}, {2, 1, 1, 0, 0, 0},
    {0, 3, 2, std::sqrt(optimised), 0.3f, 0.5f}, {0, 3, 0.5, optimised, 0.3f, 0.5f}, {0, 2, 2, la, 0.3f, 0.5f},
  };
  float out[3];
  for (const Row& r : rows)
  {
    SCOPED_TRACE(::testing::Message() << "method " << r.method << " colours " << r.colours << " gamma " << r.gamma);
    AnaglyphPixel(a, b, static_cast<AnaglyphMethod>(r.method), static_cast<AnaglyphColours>(r.colours), r.gamma, out);
    EXPECT_NEAR(out[0], r.r, 1e-6);
    EXPECT_NEAR(out[1], r.g, 1e-6);
    EXPECT_NEAR(out[2], r.bl, 1e-6);
  }
}

TEST(StereoMerge, DomeAnaglyphLeavesTheCornersUnmixed)
{
  Merge m({{1, 1, 1}, {0, 0, 0}});
  m.plan.stereoMode = StereoMode::Anaglyph;
  m.plan.anaglyphColours = AnaglyphColours::Full;
  m.plan.isDome = true;
  EXPECT_EQ(m.Px(0, 0), (std::vector<float>{1, 1, 1})) << "corner of a dome: the first eye as it is";
  EXPECT_EQ(m.Px(4, 4), (std::vector<float>{1, 0, 0})) << "inside the circle: mixed";
  m.plan.isDome = false;
  EXPECT_EQ(m.Px(0, 0), (std::vector<float>{1, 0, 0})) << "a panorama's corner is mixed";
}
