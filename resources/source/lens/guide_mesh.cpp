// The viewport guide's geometry.
#include "guide_mesh.h"

#include <algorithm>

namespace
{
constexpr Float kPi = 3.141592653589793;
constexpr Float kHalfPi = 1.5707963267948966;
// No lens sees more than a full turn; a wider field would only make a mesh without end.
constexpr Float kWidestField = 4.0 * kPi;

// Calls `visit` with each value of the walk from `start` by `step` while `keep` holds. A walk
// that can't move on (an empty range) stops.
template <class Keep, class Visit>
void Walk(Float start, Float end, Float step, Keep keep, Visit visit)
{
  for (Float c = start; keep(c);)
  {
    const Float next = NextGuideStep(c, start, end, step);
    visit(c, next);
    if (!(next > c))
      break;
    c = next;
  }
}

Bool Drawable(Float width, Float extent)
{
  return std::isfinite(width) && std::isfinite(extent) && width != 0.0 && std::fabs(width) <= kWidestField &&
         std::fabs(extent) <= kWidestField;
}
} // namespace

Float NextGuideStep(Float c, Float start, Float end, Float step)
{
  Float candidate = c + step;
  if (c == start)
  {
    const Float m = std::fabs(std::fmod(c, step));
    if (m >= 0.001)
      candidate = c < 0.0 ? c + m : c + (step - m);
  }
  else if (c == end)
    return c + step;
  return std::min(candidate, end);
}

void LensGuideMesh::Clear()
{
  linePoints.clear();
  quadPoints.clear();
  quadColours.clear();
  quadNormals.clear();
}

void LensGuideMesh::AddPolyline(const std::vector<Vector>& points)
{
  for (size_t i = 1; i < points.size(); ++i)
    if (!(points[i - 1] == points[i]))
    {
      linePoints.push_back(points[i - 1]);
      linePoints.push_back(points[i]);
    }
}

void LensGuideMesh::AddQuad(const Vector (&corners)[4], const Vector (&normals)[4], const Vector& colour)
{
  for (Int32 i = 0; i < 4; ++i)
  {
    quadPoints.push_back(corners[i]);
    quadColours.push_back(colour);
    quadNormals.push_back(normals[i]);
  }
}

void LensGuideMesh::BuildSphere(Float radius, Float width, Float latLow, Float latHigh, const Vector& colour)
{
  if (isSphere && radius == guideRadius && width == fieldWidth && latLow == latMin && latHigh == latMax)
    return;
  Clear();
  isSphere = true;
  guideRadius = radius;
  fieldWidth = width;
  latMin = latLow;
  latMax = latHigh;
  if (!(latLow < latHigh) || !Drawable(width, latHigh - latLow) || !std::isfinite(radius))
    return;

  const Float t0 = -kHalfPi - width / 2.0, t1 = width / 2.0 - kHalfPi;
  auto upToT1 = [&](Float t) { return t <= t1; };
  auto upToB = [&](Float s) { return s <= latHigh; };
  std::vector<Vector> line;

  // Meridians, on multiples of the coarse step and at the field's edges.
  Walk(t0, t1, kGuideCoarseStep, upToT1, [&](Float t, Float) {
    line.clear();
    Walk(latLow, latHigh, kGuideFineStep, upToB, [&](Float s, Float) { line.push_back(GuideSpherePoint(t, s, radius)); });
    AddPolyline(line);
  });
  // Rims at the latitude limits; a pole needs none.
  auto ring = [&](Float s) {
    line.clear();
    Walk(t0, t1, kGuideFineStep, upToT1, [&](Float t, Float) { line.push_back(GuideSpherePoint(t, s, radius)); });
    AddPolyline(line);
  };
  if (latHigh < kHalfPi)
    ring(latHigh);
  if (latLow > -kHalfPi)
    ring(latLow);

  // Skin, one quad per fine cell; normals point outward from the centre.
  Walk(latLow, latHigh, kGuideFineStep, [&](Float s) { return s < latHigh; }, [&](Float s, Float s2) {
    Walk(t0, t1, kGuideFineStep, [&](Float t) { return t < t1; }, [&](Float t, Float t2) {
      const Vector p[4] = {GuideSpherePoint(t, s, radius), GuideSpherePoint(t2, s, radius),
                           GuideSpherePoint(t2, s2, radius), GuideSpherePoint(t, s2, radius)};
      const Vector n[4] = {p[0].GetNormalized(), p[1].GetNormalized(), p[2].GetNormalized(), p[3].GetNormalized()};
      AddQuad(p, n, colour);
    });
  });
}

void LensGuideMesh::BuildCylinder(Float radius, Float width, Float height, const Vector& colour)
{
  if (!isSphere && radius == guideRadius && width == fieldWidth && height == guideHeight)
    return;
  Clear();
  isSphere = false;
  guideRadius = radius;
  fieldWidth = width;
  guideHeight = height;
  if (height == 0.0 || !Drawable(width, 0.0) || !std::isfinite(height) || !std::isfinite(radius))
    return;

  const Float t0 = -kHalfPi - width / 2.0, t1 = width / 2.0 - kHalfPi, h = height / 2.0;
  auto at = [&](Float t, Float z) { return Vector(std::cos(t) * radius, std::sin(t) * radius, z); };
  auto upToT1 = [&](Float t) { return t <= t1; };

  Walk(t0, t1, kGuideCoarseStep, upToT1, [&](Float t, Float) { AddPolyline({at(t, -h), at(t, h)}); });
  std::vector<Vector> line;
  for (const Float z : {-h, h})
  {
    line.clear();
    Walk(t0, t1, kGuideFineStep, upToT1, [&](Float t, Float) { line.push_back(at(t, z)); });
    AddPolyline(line);
  }
  Walk(t0, t1, kGuideFineStep, [&](Float t) { return t < t1; }, [&](Float t, Float t2) {
    const Vector p[4] = {at(t, -h), at(t2, -h), at(t2, h), at(t, h)};
    const Vector a = Vector(p[0].x, p[0].y, 0.0).GetNormalized(), b = Vector(p[1].x, p[1].y, 0.0).GetNormalized();
    const Vector n[4] = {a, b, b, a};
    AddQuad(p, n, colour);
  });
}
