// Cube layouts: the grid of each layout and turn, and the face rectangles planned from it.
#include <gtest/gtest.h>

#include "cube_layout.h"

namespace
{
struct Grid
{
  LensChannel cells[kGridCells];
  Vector size;
  int Face(int c, int r) { return GridCell(cells, c, r).channelIndex; }
  int Rotation(int c, int r) { return GridCell(cells, c, r).rotation; }
  int Filled() const
  {
    int n = 0;
    for (const LensChannel& cell : cells)
      n += cell.channelIndex >= 0;
    return n;
  }
};

Grid Build(int layout, int turn = 1)
{
  CubeLayoutSettings s;
  s.layout = layout;
  s.turn = turn;
  Grid g;
  g.cells[7].channelIndex = 3; // stale content from an earlier layout must go
  BuildCubeGrid(s, g.cells, g.size);
  return g;
}
constexpr int L = 0, R = 1, D = 2, U = 3, B = 4, F = 5;
} // namespace

TEST(CubeLayout, HorizontalCrossFollowsTheTurn)
{
  Grid g = Build(0);
  EXPECT_EQ(g.size, Vector(4, 3, 0));
  EXPECT_EQ(g.Face(1, 0), U);
  EXPECT_EQ(g.Face(0, 1), L);
  EXPECT_EQ(g.Face(1, 1), F);
  EXPECT_EQ(g.Face(2, 1), R);
  EXPECT_EQ(g.Face(3, 1), B);
  EXPECT_EQ(g.Face(1, 2), D);
  EXPECT_EQ(g.Face(0, 0), -1) << "the cross leaves its corners empty";
  EXPECT_EQ(g.Filled(), 6);

  g = Build(0, 3);
  EXPECT_EQ(g.Face(3, 1), F);
  EXPECT_EQ(g.Face(0, 1), R);
  EXPECT_EQ(g.Face(1, 1), B);
  EXPECT_EQ(g.Face(2, 1), L);
  EXPECT_EQ(g.Face(3, 0), U);
  EXPECT_EQ(g.Face(3, 2), D);
  EXPECT_EQ(Build(0, 5).Face(1, 1), F) << "the turn counts modulo 4";
}

TEST(CubeLayout, VerticalCrossTurnsTheBackFace)
{
  Grid g = Build(1, 0);
  EXPECT_EQ(g.size, Vector(3, 4, 0));
  EXPECT_EQ(g.Face(0, 0), L);
  EXPECT_EQ(g.Face(1, 0), F);
  EXPECT_EQ(g.Face(2, 0), R);
  EXPECT_EQ(g.Face(1, 1), D);
  EXPECT_EQ(g.Face(1, 2), B);
  EXPECT_EQ(g.Rotation(1, 2), 180);
  EXPECT_EQ(g.Face(1, 3), U);
  EXPECT_EQ(g.Rotation(1, 3), 0);
}

TEST(CubeLayout, SlotLayoutsAndTheSingleFace)
{
  const Vector sizes[] = {{6, 1, 0}, {3, 2, 0}, {1, 6, 0}, {2, 3, 0}};
  for (int layout = 2; layout <= 5; ++layout)
  {
    Grid g = Build(layout);
    EXPECT_EQ(g.size, sizes[layout - 2]) << "layout " << layout;
    EXPECT_EQ(g.Filled(), 6) << "layout " << layout;
    EXPECT_EQ(g.Face(0, 0), R) << "slot 1 holds right by default, layout " << layout;
  }
  EXPECT_EQ(Build(3).Face(0, 1), D) << "layout 3: slot 4 starts the second row";
  EXPECT_EQ(Build(5).Face(1, 0), D) << "layout 5: slot 4 starts the second column";

  CubeLayoutSettings same;
  same.layout = 2;
  for (int& slot : same.slots)
    slot = F;
  Grid twice;
  BuildCubeGrid(same, twice.cells, twice.size);
  EXPECT_EQ(twice.Filled(), 6) << "a face may stand in several slots";

  Grid one = Build(6);
  EXPECT_EQ(one.size, Vector(1, 1, 0));
  EXPECT_EQ(one.Face(0, 0), F);
  CubeLayoutSettings bad;
  bad.layout = 6;
  bad.face = 6;
  BuildCubeGrid(bad, one.cells, one.size);
  EXPECT_EQ(one.Filled(), 0) << "a face number beyond 0..5 leaves the cell empty";
}

TEST(CubeLayout, LayoutOutOfRangeLeavesAnEmptyGrid)
{
  for (int layout : {-1, 7, 1000})
  {
    Grid g = Build(layout);
    EXPECT_EQ(g.size, Vector()) << layout;
    EXPECT_EQ(g.Filled(), 0) << layout;
    LensChannel faces[6];
    EXPECT_EQ(PlanCubeFaceAreas(g.cells, g.size, 1000, 1000, faces), 0);
  }
  EXPECT_EQ(Build(0, -3).Filled(), 6) << "a negative turn must not write outside the grid";
}

TEST(CubeLayout, PlannedAreasGoRowByRow)
{
  Grid g = Build(0);
  LensChannel faces[6];
  ASSERT_EQ(PlanCubeFaceAreas(g.cells, g.size, 2000, 1500, faces), 6);
  const int order[6] = {U, L, F, R, B, D};
  for (int k = 0; k < 6; ++k)
    EXPECT_EQ(faces[k].channelIndex, order[k]) << "face " << k;
  EXPECT_EQ(faces[0].area.start, Vector(500, 0, 0));
  EXPECT_EQ(faces[0].area.end, Vector(999, 499, 0));
  EXPECT_EQ(faces[0].area.width, 500);
  EXPECT_EQ(faces[5].area.start, Vector(500, 1000, 0));
  EXPECT_EQ(faces[5].area.end, Vector(999, 1499, 0));
}

TEST(CubeLayout, FractionalCellsLeaveNoColumnOut)
{
  Grid g = Build(3);
  LensChannel faces[6];
  ASSERT_EQ(PlanCubeFaceAreas(g.cells, g.size, 1000, 1000, faces), 6);
  EXPECT_EQ(faces[0].area.start.x, 0);
  EXPECT_EQ(faces[0].area.end.x, 332);
  EXPECT_EQ(faces[1].area.start.x, 333);
  EXPECT_EQ(faces[1].area.end.x, 665);
  EXPECT_EQ(faces[2].area.start.x, 666);
  EXPECT_EQ(faces[2].area.end.x, 999);
  EXPECT_EQ(faces[2].area.width, 334) << "the last column is one pixel wider";
  EXPECT_EQ(faces[3].area.start.y, 500);
}
