// A lens area from its first and last pixel, as tests and benchmarks lay them out.
#pragma once

#include "lens_projection.h"

inline LensArea Area(double x0, double y0, double x1, double y1)
{
  LensArea a;
  a.start = Vector(x0, y0, 0);
  a.end = Vector(x1, y1, 0);
  UpdateArea(a);
  return a;
}
