// Cube layouts: the grid of each layout and turn, and the face rectangles planned from it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <string>

#include "cube_layout.h"

namespace
{
struct Grid
{
  LensChannel cells[kGridCells];
  Vector size;
};

Grid Build(int layout, int turn = 1, int face = 5)
{
  CubeLayoutSettings s;
  s.layout = static_cast<CubeLayout>(layout);
  s.turn = turn;
  s.face = face;
  Grid g;
  g.cells[7].channelIndex = 3; // stale content from an earlier layout must go
  BuildCubeGrid(s, g.cells, g.size);
  return g;
}

// The grid row by row, '/' between rows: a face's letter, lower case when it stands on its head,
// '.' for an empty cell.
std::string Picture(Grid& g)
{
  std::string out;
  for (int r = 0; r < g.size.y; ++r)
  {
    out += r ? "/" : "";
    for (int c = 0; c < g.size.x; ++c)
    {
      const LensChannel& cell = GridCell(g.cells, c, r);
      const char letter = cell.channelIndex < 0 ? '.' : "LRDUBF"[cell.channelIndex];
      out += cell.rotation == 180 ? static_cast<char>(letter - 'A' + 'a') : letter;
    }
  }
  return out;
}

int Filled(const Grid& g)
{
  int n = 0;
  for (const LensChannel& cell : g.cells)
    n += cell.channelIndex >= 0;
  return n;
}
} // namespace

TEST(CubeLayout, EveryLayoutAndTurn)
{
  const struct { int layout, turn, face; const char* picture; } rows[] = {
    {0, 1, 5, ".U../LFRB/.D.."},
    {0, 3, 5, "...U/RBLF/...D"},
    {0, 5, 5, ".U../LFRB/.D.."},             // the turn counts modulo 4
    {0, -3, 5, "U.../FRBL/D..."},            // a negative turn is held to the band's start
    {1, 0, 5, "LFR/.D./.b./.U."},            // the face behind front stands on its head
    {2, 1, 5, "RLUDFB"},                     // the default slots
    {3, 1, 5, "RLU/DFB"},
    {4, 1, 5, "R/L/U/D/F/B"},
    {5, 1, 5, "RD/LF/UB"},                   // slots down the first column, then the second
    {6, 1, 5, "F"},
    {6, 1, 6, "."},                          // a face number beyond 0..5 leaves the cell empty
    {-1, 1, 5, ""}, {7, 1, 5, ""}, {1000, 1, 5, ""},
  };
  for (const auto& row : rows)
  {
    Grid g = Build(row.layout, row.turn, row.face);
    const std::string want = row.picture;
    EXPECT_EQ(Picture(g), want) << "layout " << row.layout << " turn " << row.turn;
    // Nothing written outside the layout's own cells.
    EXPECT_EQ(Filled(g), std::count_if(want.begin(), want.end(), ::isalpha)) << "layout " << row.layout << " turn " << row.turn;
  }
}

TEST(CubeLayout, PlannedAreasGoRowByRowAndLeaveNoColumnOut)
{
  Grid cross = Build(0);
  LensChannel faces[6];
  ASSERT_EQ(PlanCubeFaceAreas(cross.cells, cross.size, 2000, 1500, faces), 6);
  std::string order;
  for (const LensChannel& f : faces)
    order += "LRDUBF"[f.channelIndex];
  EXPECT_EQ(order, "ULFRBD") << "the cross's rectangles themselves are in lens_channel_plan_test";

  // A third of 1000 pixels: the cells' edges are truncated, the last column is one pixel wider.
  Grid block = Build(3);
  ASSERT_EQ(PlanCubeFaceAreas(block.cells, block.size, 1000, 1000, faces), 6);
  EXPECT_EQ(faces[0].area.end.x, 332);
  EXPECT_EQ(faces[1].area.start.x, 333);
  EXPECT_EQ(faces[1].area.end.x, 665);
  EXPECT_EQ(faces[2].area.start.x, 666);
  EXPECT_EQ(faces[2].area.width, 334);
  EXPECT_EQ(faces[3].area.start.y, 500);

  Grid none = Build(7);
  EXPECT_EQ(PlanCubeFaceAreas(none.cells, none.size, 1000, 1000, faces), 0);
}
