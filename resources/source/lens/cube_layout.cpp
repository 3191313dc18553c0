// Cube layouts: the seven arrangements of the six faces as a grid, and the grid as face rectangles.
#include "cube_layout.h"

#include <cmath>

#include "lens_area.h"

namespace
{
constexpr Int32 kLeft = 0, kRight = 1, kDown = 2, kUp = 3, kBack = 4, kFront = 5;

void Place(LensChannel* grid, Int32 column, Int32 row, Int32 face, Int32 rotation = 0)
{
  LensChannel& cell = GridCell(grid, column, row);
  cell.channelIndex = face;
  cell.rotation = rotation;
}

// (column, row) of each slot in the strip and block layouts, from the horizontal strip on.
const Int32 kSlotCells[4][6][2] = {
  {{0, 0}, {1, 0}, {2, 0}, {3, 0}, {4, 0}, {5, 0}},
  {{0, 0}, {1, 0}, {2, 0}, {0, 1}, {1, 1}, {2, 1}},
  {{0, 0}, {0, 1}, {0, 2}, {0, 3}, {0, 4}, {0, 5}},
  {{0, 0}, {0, 1}, {0, 2}, {1, 0}, {1, 1}, {1, 2}},
};
const Int32 kGridSizes[7][2] = {{4, 3}, {3, 4}, {6, 1}, {3, 2}, {1, 6}, {2, 3}, {1, 1}};
} // namespace

void BuildCubeGrid(const CubeLayoutSettings& settings, LensChannel* grid, Vector& gridSize)
{
  gridSize = Vector();
  for (Int32 i = 0; i < kGridCells; ++i)
    grid[i] = LensChannel();
  const Int32 layout = static_cast<Int32>(settings.layout);
  if (layout < 0 || layout > static_cast<Int32>(CubeLayout::Single))
    return;
  gridSize = Vector(kGridSizes[layout][0], kGridSizes[layout][1], 0.0);

  // A negative turn has no meaning; it is held to the band's first position rather than
  // indexing outside the grid.
  const Int32 t = settings.turn < 0 ? 0 : settings.turn % 4;
  switch (settings.layout)
  {
    case CubeLayout::CrossHorizontal:
      Place(grid, t, 0, kUp);
      Place(grid, t, 1, kFront);
      Place(grid, (t + 1) % 4, 1, kRight);
      Place(grid, (t + 2) % 4, 1, kBack);
      Place(grid, (t + 3) % 4, 1, kLeft);
      Place(grid, t, 2, kDown);
      break;
    case CubeLayout::CrossVertical: // the face behind front stands on its head
      Place(grid, 0, t, kLeft);
      Place(grid, 1, t, kFront);
      Place(grid, 1, (t + 1) % 4, kDown);
      Place(grid, 1, (t + 2) % 4, kBack, 180);
      Place(grid, 1, (t + 3) % 4, kUp);
      Place(grid, 2, t, kRight);
      break;
    case CubeLayout::Single:
      if (settings.face >= 0 && settings.face <= 5)
        Place(grid, 0, 0, settings.face);
      break;
    default:
      for (Int32 slot = 0; slot < 6; ++slot)
        Place(grid, kSlotCells[layout - static_cast<Int32>(CubeLayout::StripHorizontal)][slot][0], kSlotCells[layout - static_cast<Int32>(CubeLayout::StripHorizontal)][slot][1], settings.slots[slot]);
      break;
  }
}

Int32 PlanCubeFaceAreas(const LensChannel* grid, const Vector& gridSize, Int32 eyeWidth, Int32 eyeHeight, LensChannel* faces)
{
  const Int32 columns = static_cast<Int32>(gridSize.x);
  const Int32 rows = static_cast<Int32>(gridSize.y);
  if (columns <= 0 || rows <= 0)
    return 0;
  const Float cellW = static_cast<Float>(eyeWidth) / gridSize.x;
  const Float cellH = static_cast<Float>(eyeHeight) / gridSize.y;
  Int32 k = 0;
  for (Int32 r = 0; r < rows && r < 6; ++r)
    for (Int32 c = 0; c < columns && c < 6; ++c)
    {
      const LensChannel& cell = grid[c * 6 + r];
      if (cell.channelIndex < 0 || k >= 6)
        continue;
      LensChannel& face = faces[k];
      face = cell;
      face.area.start = Vector(std::trunc(cellW * c), std::trunc(cellH * r), 0.0);
      UpdateArea(face.area);
      face.area.end = Vector(std::trunc((c + 1) * cellW - 1.0), std::trunc((r + 1) * cellH - 1.0), 0.0);
      UpdateArea(face.area);
      ++k;
    }
  return k;
}
