// The viewport guide's geometry: a sphere cap or band, or a drum, as grid lines and a skin of
// quads, kept until the values it was built from change.
#pragma once

#include <vector>

#include "c4d_math.h"

/// Grid steps of the guide in radians: 45 degrees and 10 degrees, each a hair short of it.
constexpr Float kGuideCoarseStep = 0.7853981573134661;
constexpr Float kGuideFineStep = 0.1745329238474369;

/// The value after `c` in a walk from `start` to `end` by `step`: the next multiple of the step,
/// with both ends of the range as extra values; past `end` once `c` is `end`.
Float NextGuideStep(Float c, Float start, Float end, Float step);

/// The guide in its own frame: the sphere's pole and the drum's axis are +Z, the middle of the
/// field looks along (0, -1, 0), longitude -pi/2.
struct LensGuideMesh
{
  Float guideRadius = 0.0;
  Float fieldWidth = 0.0; ///< radians, centred on the front
  Float latMin = 0.0;     ///< radians
  Float latMax = 0.0;
  Float guideHeight = 0.0;
  Bool isSphere = false;          ///< the lists hold a sphere, else a drum or nothing
  std::vector<Vector> linePoints; ///< two per segment
  std::vector<Vector> quadPoints; ///< four per quad
  std::vector<Vector> quadColours;
  std::vector<Vector> quadNormals;

  /// Meridians, rims and skin of a sphere of radius `radius` over `width` of longitude and the
  /// latitudes `latLow` to `latHigh` (radians). Nothing is done when the mesh already holds it.
  void BuildSphere(Float radius, Float width, Float latLow, Float latHigh, const Vector& colour);

  /// Uprights, rings and skin of a drum of radius `radius` over `width` radians, `height` tall
  /// and centred on z = 0. Nothing is done when the mesh already holds it.
  void BuildCylinder(Float radius, Float width, Float height, const Vector& colour);

private:
  void Clear();
  void AddPolyline(const std::vector<Vector>& points);
  void AddQuad(const Vector (&corners)[4], const Vector (&normals)[4], const Vector& colour);
};

/// The point of latitude `lat` and longitude `lon` on a sphere of radius `radius`.
inline Vector GuideSpherePoint(Float lon, Float lat, Float radius)
{
  return Vector(std::cos(lon) * std::cos(lat) * radius, std::sin(lon) * std::cos(lat) * radius, std::sin(lat) * radius);
}
