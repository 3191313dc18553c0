// The channel plan: how many eyes and faces a frame is shot as, and where each one lies.
#include <gtest/gtest.h>

#include "channel_plan.h"
#include "cube_layout.h"

struct Box { Int32 x0, y0, x1, y1; };
constexpr Int32 kMono = -1;
struct Row { const char* name; LensKind lens; CubeLayout cube; Int32 stereo; PairLayout pair; Int32 w, h, cameras;
             Int32 eyes, faces; Box eye0, eye1, face0, face1, face5; };

static ::testing::AssertionResult Is(const LensArea& a, const Box& b)
{
  if (a.start.x == b.x0 && a.start.y == b.y0 && a.end.x == b.x1 && a.end.y == b.y1)
    return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "(" << a.start.x << "," << a.start.y << ")-(" << a.end.x << "," << a.end.y << ")";
}

static const Row kRows[] = {
  {"dome mono", LensKind::Dome, CubeLayout::CrossHorizontal, kMono, PairLayout::SideBySide, 1000, 800, 1, 1, 1,
   {0, 0, 999, 799}, {}, {0, 0, 999, 799}, {}, {}},
  {"cross pair side by side", LensKind::Cubemap, CubeLayout::CrossHorizontal, 1, PairLayout::SideBySide, 4000, 1500, 2,
   2, 6, {0, 0, 1999, 1499}, {2000, 0, 3999, 1499}, {500, 0, 999, 499}, {0, 500, 499, 999}, {500, 1000, 999, 1499}},
  {"odd width side by side", LensKind::Panorama, CubeLayout::CrossHorizontal, 1, PairLayout::SideBySide, 1001, 500, 2,
   2, 1, {0, 0, 499, 499}, {500, 0, 999, 499}, {0, 0, 499, 499}, {}, {}},
  {"odd height top and bottom", LensKind::Cylindrical, CubeLayout::CrossHorizontal, 1, PairLayout::TopBottom, 800, 601,
   2, 2, 1, {0, 0, 799, 299}, {0, 300, 799, 599}, {0, 0, 799, 299}, {}, {}},
  {"strip mono", LensKind::Cubemap, CubeLayout::StripHorizontal, kMono, PairLayout::SideBySide, 600, 100, 1, 1, 6,
   {0, 0, 599, 99}, {}, {0, 0, 99, 99}, {100, 0, 199, 99}, {500, 0, 599, 99}},
  {"anaglyph keeps whole frames", LensKind::Cubemap, CubeLayout::Single, 0, PairLayout::SideBySide, 300, 300, 2, 2, 1,
   {0, 0, 299, 299}, {0, 0, 299, 299}, {0, 0, 299, 299}, {}, {}},
};

TEST(ChannelPlan, EyesAndFacesByLensLayoutAndStereo)
{
  for (const Row& r : kRows)
  {
    SCOPED_TRACE(r.name);
    LensSettings s;
    s.lens = r.lens;
    s.cube.layout = r.cube;
    s.isStereo = r.stereo != kMono;
    s.stereoMode = static_cast<StereoMode>(r.stereo);
    s.pairLayout = r.pair;
    s.width = r.w;
    s.height = r.h;
    LensChannel grid[kGridCells];
    Vector gridSize;
    BuildCubeGrid(s.cube, grid, gridSize);
    const ChannelPlan p = PlanChannels(s, r.cameras, grid, gridSize);
    EXPECT_EQ((p.eyes[0].channelIndex >= 0) + (p.eyes[1].channelIndex >= 0), r.eyes);
    EXPECT_EQ(p.plannedFaces, r.faces);
    EXPECT_TRUE(Is(p.eyes[0].area, r.eye0));
    EXPECT_TRUE(r.eyes < 2 || Is(p.eyes[1].area, r.eye1));
    EXPECT_TRUE(Is(p.faces[0].area, r.face0));
    EXPECT_TRUE(r.faces < 6 || (Is(p.faces[1].area, r.face1) && Is(p.faces[5].area, r.face5)));
  }
}

TEST(ChannelPlan, PreviewBoxKeepsTheAspectCentred)
{
  LensArea frame;
  frame.end = Vector(999.0, 999.0, 0.0);
  UpdateArea(frame);
  EXPECT_TRUE(Is(PreviewBox(frame, 2.0), {0, 250, 999, 749})); // 1000 x 500
}
