// Pixel rectangles and the one safe truncation of a setting's number to Int32.
#include "lens_area.h"

#include <limits>

Int32 TruncateToInt32(Float v)
{
  if (!(v == v))
    return 0;
  if (v >= static_cast<Float>(std::numeric_limits<Int32>::max()))
    return std::numeric_limits<Int32>::max();
  if (v <= static_cast<Float>(std::numeric_limits<Int32>::min()))
    return std::numeric_limits<Int32>::min();
  return static_cast<Int32>(v);
}

void UpdateArea(LensArea& area)
{
  area.width = TruncateToInt32(area.end.x - area.start.x + 1.0);
  area.height = TruncateToInt32(area.end.y - area.start.y + 1.0);
  area.diameter = area.width < area.height ? area.width : area.height;
  area.size = Vector(static_cast<Float>(area.width), static_cast<Float>(area.height), 0.0);
  // Halves in 32-bit float: centres and radii are as a single-precision host made them.
  const Float halfW = static_cast<Float32>(area.width) * 0.5f;
  const Float halfH = static_cast<Float32>(area.height) * 0.5f;
  area.center = Vector(halfW + area.start.x - 0.5, halfH + area.start.y - 0.5, 0.0);
  area.radius = static_cast<Float32>(area.diameter) * 0.5f;
  area.aspect = area.height != 0 ? static_cast<Float>(area.width) / static_cast<Float>(area.height) : 0.0;
}

Vector PixelStep(const LensArea& area)
{
  return Vector(static_cast<Float>(1.0f / static_cast<Float32>(area.width)),
                static_cast<Float>(1.0f / static_cast<Float32>(area.height)), 0.0);
}
