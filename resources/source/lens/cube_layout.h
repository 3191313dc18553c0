// Cube layouts: the seven arrangements of the six faces as a grid, and the grid as face rectangles.
#pragma once

#include "lens_state.h"

constexpr Int32 kGridCells = 36;

/// The cell of `grid` at column c and row r: columns are the outer step.
inline LensChannel& GridCell(LensChannel* grid, Int32 column, Int32 row)
{
  return grid[column * 6 + row];
}

/// Fills the 6 × 6 `grid` and `gridSize` (columns, rows, 0) for the layout. Every cell starts as a
/// default channel; a layout outside the enumerators leaves the grid empty and `gridSize` zero.
void BuildCubeGrid(const CubeLayoutSettings& settings, LensChannel* grid, Vector& gridSize);

/// Turns the filled cells of `grid` into face channels, row by row and left to right in each row,
/// with rectangles relative to one eye's picture of `eyeWidth` × `eyeHeight`. Gives how many faces
/// it wrote (at most 6).
Int32 PlanCubeFaceAreas(const LensChannel* grid, const Vector& gridSize, Int32 eyeWidth, Int32 eyeHeight, LensChannel* faces);
