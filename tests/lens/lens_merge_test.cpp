// The merge of a frame's images: faces found by rectangle, eyes combined by the stereo mode.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "cube_layout.h"
#include "lens_projection.h"
#include "stereo_merge.h"
#include "support/lens_area.h"

namespace
{
// Images of one colour each; merges row y of a frame `width` wide.
struct Merge
{
  MergePlan plan;
  LensChannel faces[6];
  LensChannel eyes[2];
  std::vector<std::vector<float>> colours; // one RGB per image
  int width = 8;

  std::vector<float> Row(int y)
  {
    plan.faces = faces;
    plan.eyes = eyes;
    MergeRows rows;
    EXPECT_TRUE(rows.Allocate(static_cast<int>(colours.size()), width));
    for (size_t i = 0; i < colours.size(); ++i)
      for (int x = 0; x < width; ++x)
        for (int c = 0; c < 3; ++c)
          rows.Source(static_cast<int>(i))[x * 3 + c] = colours[i][c];
    MergeRow(plan, y, rows);
    return std::vector<float>(rows.Source(0), rows.Source(0) + width * 3);
  }
};

std::vector<float> Px(const std::vector<float>& row, int x)
{
  return {row[x * 3], row[x * 3 + 1], row[x * 3 + 2]};
}
} // namespace

TEST(StereoMerge, MonoCubemapTakesEachPixelFromItsFaceAndBlackElsewhere)
{
  Merge m;
  m.width = 8;
  CubeLayoutSettings s;
  LensChannel grid[kGridCells];
  Vector size;
  BuildCubeGrid(s, grid, size);
  ASSERT_EQ(PlanCubeFaceAreas(grid, size, 8, 6, m.faces), 6);
  m.plan.faceCount = 6;
  m.plan.eyeCount = 1;
  m.eyes[0].area = Area(0, 0, 7, 5);
  for (int i = 0; i < 6; ++i)
    m.colours.push_back({float(i + 1), 0, 0});
  const auto top = m.Row(0);
  EXPECT_EQ(Px(top, 0)[0], 0.0f) << "the cross's corner belongs to no face";
  EXPECT_EQ(Px(top, 2)[0], 1.0f) << "up is image 0";
  EXPECT_EQ(Px(top, 4)[0], 0.0f);
  const auto middle = m.Row(3);
  for (int x = 0; x < 8; ++x)
    EXPECT_EQ(Px(middle, x)[0], float(2 + x / 2)) << "band pixel " << x;
  EXPECT_EQ(Px(m.Row(5), 3)[0], 6.0f) << "down is image 5";
}

TEST(StereoMerge, SideBySideTakesEachHalfFromItsEyeAtTheSameColumn)
{
  Merge m;
  m.width = 9; // odd: the last column belongs to no eye
  m.plan.pair = true;
  m.plan.eyeCount = 2;
  m.faces[0].area = Area(0, 0, 3, 3);
  m.eyes[0].area = Area(0, 0, 3, 3);
  m.eyes[1].area = Area(4, 0, 7, 3);
  m.colours = {{1, 0, 0}, {0, 1, 0}};
  const auto row = m.Row(1);
  EXPECT_EQ(Px(row, 3), (std::vector<float>{1, 0, 0}));
  EXPECT_EQ(Px(row, 4), (std::vector<float>{0, 1, 0}));
  EXPECT_EQ(Px(row, 8), (std::vector<float>{0, 0, 0})) << "the odd last column stays black";
}

TEST(StereoMerge, InterlaceModes)
{
  Merge m;
  m.plan.interlaced = true;
  m.plan.eyeCount = 2;
  m.faces[0].area = Area(0, 0, 7, 7);
  m.eyes[0].area = m.eyes[1].area = Area(0, 0, 7, 7);
  m.colours = {{1, 1, 1}, {2, 2, 2}};
  m.plan.interlaceMode = 0;
  EXPECT_EQ(Px(m.Row(0), 3)[0], 1.0f) << "rows: row 0 from the first eye";
  EXPECT_EQ(Px(m.Row(1), 3)[0], 2.0f);
  m.plan.interlaceMode = 1;
  EXPECT_EQ(Px(m.Row(0), 1)[0], 2.0f) << "columns: column 1 from the second eye";
  EXPECT_EQ(Px(m.Row(1), 2)[0], 1.0f);
  m.plan.interlaceMode = 2;
  EXPECT_EQ(Px(m.Row(1), 1)[0], 1.0f) << "checkerboard: (1, 1) from the first";
  EXPECT_EQ(Px(m.Row(0), 1)[0], 2.0f) << "checkerboard: (1, 0) from the second";
  m.plan.interlaceMode = 5;
  EXPECT_EQ(Px(m.Row(1), 0)[0], 2.0f) << "any other mode interlaces rows";
}

TEST(StereoMerge, AnaglyphTable)
{
  const float a[3] = {0.2f, 0.4f, 0.6f}, b[3] = {0.1f, 0.3f, 0.5f};
  const double la = 0.299 * 0.2f + 0.587 * 0.4f + 0.114 * 0.6f, lb = 0.299 * 0.1f + 0.587 * 0.3f + 0.114 * 0.5f;
  struct Row { int method, colours; double r, g, bl; } rows[] = {
    {0, 1, 0.2f, 0.3f, 0.5f}, {0, 2, la, 0.3f, 0.5f}, {0, 3, 0.7 * 0.4f + 0.3 * 0.6f, 0.3f, 0.5f},
    {0, 4, la, lb, lb}, {0, 0, la, 0, lb}, {0, 9, la, 0, lb}, {1, 3, 0.2f, 0.3f, 0}, {2, 1, 0, 0, 0},
  };
  for (const Row& r : rows)
  {
    float out[3];
    AnaglyphPixel(a, b, r.method, r.colours, 1.0, out);
    EXPECT_NEAR(out[0], r.r, 1e-6) << "method " << r.method << " colours " << r.colours;
    EXPECT_NEAR(out[1], r.g, 1e-6) << "method " << r.method << " colours " << r.colours;
    EXPECT_NEAR(out[2], r.bl, 1e-6) << "method " << r.method << " colours " << r.colours;
  }
  const float first[3] = {0, 0.25f, 0.25f};
  float out[3];
  AnaglyphPixel(first, b, 0, 3, 2.0, out);
  EXPECT_FLOAT_EQ(out[0], 0.5f) << "gamma 2 takes the square root of red";
  AnaglyphPixel(first, b, 0, 2, 2.0, out);
  EXPECT_NEAR(out[0], 0.299 * 0 + 0.587 * 0.25 + 0.114 * 0.25, 1e-6) << "only colour set 3 has a gamma";
  AnaglyphPixel(first, b, 0, 3, 0.5, out);
  EXPECT_FLOAT_EQ(out[0], 0.25f) << "a gamma of 1 or less changes nothing";
}

TEST(StereoMerge, DomeAnaglyphLeavesTheCornersUnmixed)
{
  Merge m;
  m.plan.anaglyph = true;
  m.plan.eyeCount = 2;
  m.plan.anaglyphColours = 1;
  m.faces[0].area = Area(0, 0, 7, 7);
  m.eyes[0].area = m.eyes[1].area = Area(0, 0, 7, 7);
  m.plan.activeArea = Area(0, 0, 7, 7);
  m.colours = {{1, 1, 1}, {0, 0, 0}};
  m.plan.isDome = true;
  EXPECT_EQ(Px(m.Row(0), 0), (std::vector<float>{1, 1, 1})) << "corner of a dome: the first eye as it is";
  EXPECT_EQ(Px(m.Row(4), 4), (std::vector<float>{1, 0, 0})) << "inside the circle: mixed";
  m.plan.isDome = false;
  EXPECT_EQ(Px(m.Row(0), 0), (std::vector<float>{1, 0, 0})) << "a panorama's corner is mixed";
}
