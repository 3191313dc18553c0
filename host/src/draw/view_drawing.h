// What a view keeps of its drawing: the current draw state and the record of every draw call,
// which tests read and the rasteriser turns into a picture.
#pragma once

#include <vector>

#include "c4d.h"

namespace host
{
enum class DrawKind
{
  Line,
  Poly,
  Sphere,
  Box,
};

/// One draw call as the view saw it, its points already through the current matrix.
struct DrawCall
{
  DrawKind kind = DrawKind::Line;
  Vector pen;                  ///< the pen, or the colour the call was given
  std::vector<Vector> points;  ///< world space: a line's ends, a polygon's corners, a sphere's centre, a box's 8 corners
  std::vector<Vector> colours; ///< a polygon's corner colours
  std::vector<Vector> normals; ///< a polygon's corner normals, world space
  Matrix matrix;               ///< the current matrix (a box's: times its own)
  Vector size;                 ///< a sphere's radii; a box's half edges
  Int32 transparency = 0;
  Int32 lineWidth = 1;
  Bool depth = true;
  Int32 flags = 0;
  Bool wire = false;
};

struct ViewDrawing
{
  Int32 pass = DRAWPASS_OBJECT;
  BaseContainer params;
  Vector pen = Vector(1.0);
  Matrix matrix;
  Int32 transparency = 0;
  Bool depth = true;
  Int32 stateChanges = 0; ///< setter calls since the record was cleared
  std::vector<DrawCall> calls;

  /// The drawing of `bd`, made on first use.
  static ViewDrawing& Of(BaseDraw& bd);
  static const ViewDrawing* Find(const BaseDraw& bd) { return bd.drawing.get(); }
  /// Empties the record and sets the state back to the start of a pass; draw parameters stay.
  void Restart(Int32 drawPass);
};

/// The calls recorded by `bd` since its drawing last restarted.
inline const std::vector<DrawCall>& DrawCalls(const BaseDraw& bd)
{
  static const std::vector<DrawCall> none;
  const ViewDrawing* d = ViewDrawing::Find(bd);
  return d ? d->calls : none;
}
} // namespace host
