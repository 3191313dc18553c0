// A view's picture: triangles and lines through the view camera into colour and depth, and the
// recorded draw calls of plug-ins turned into them.
#pragma once

#include <vector>

#include "c4d.h"
#include "draw/view_drawing.h"

namespace host::draw
{
/// How a view looks at the scene.
struct ViewCamera
{
  Matrix mg;                        ///< axes are taken at length 1
  Int32 projection = CAMERA_PERSPECTIVE;
  Float focus = 36.0, aperture = 36.0; ///< mm; the film's width spans the picture's width
  Float parallelWidth = 400.0;      ///< scene units across the picture, parallel projection
};

/// The opacity a transparency value leaves: 0 opaque, |t| of 255 see-through.
Float Opacity(Int32 transparency);

class ViewRaster
{
public:
  /// A picture of `width` × `height` filled by a vertical gradient; false for a bad size or one
  /// that doesn't fit in memory.
  Bool Init(const ViewCamera& camera, Int32 width, Int32 height);

  /// A flat triangle blended at `opacity`. With `depthWrite` it hides what comes later behind it;
  /// it is always hidden by what lies in front of it already.
  void Triangle(const Vector& a, const Vector& b, const Vector& c, const Vector& colour, Float opacity, Bool depthWrite);
  /// A line `width` pixels wide; with `depthTest` off it is drawn over everything.
  void Line(const Vector& a, const Vector& b, const Vector& colour, Int32 width, Float opacity, Bool depthTest);
  /// A recorded draw call.
  void Draw(const DrawCall& call);

  /// The colour of a triangle facing `normal` lit from the view.
  Vector Shade(const Vector& colour, const Vector& normal, const Vector& at) const;

  Int32 Width() const { return width; }
  Int32 Height() const { return height; }
  Vector Pixel(Int32 x, Int32 y) const { return colour[static_cast<size_t>(y) * width + x]; }
  /// The picture as 8-bit RGB.
  Bool Store(BaseBitmap& bmp) const;

private:
  struct Projected
  {
    Float x = 0.0, y = 0.0, q = 0.0; ///< pixel position; q grows towards the viewer, linear on screen
  };
  Vector ToCamera(const Vector& p) const;
  Projected Project(const Vector& c) const;
  void Plot(Int32 x, Int32 y, Float q, const Vector& col, Float opacity, Bool depthTest, Bool depthWrite);
  void FillTriangle(const Vector (&c)[3], const Vector& col, Float opacity, Bool depthWrite);
  void Sphere(const Vector& centre, const Vector& radii, const Vector& col, Float opacity);
  void Box(const DrawCall& call, Float opacity);

  ViewCamera cam;
  Matrix toCamera;
  Float pixelScale = 1.0; ///< pixels per unit of x/z (perspective) or of x (parallel)
  Float cx = 0.0, cy = 0.0;
  Int32 width = 0, height = 0;
  std::vector<Vector> colour;
  std::vector<Float> depth;
};
} // namespace host::draw
