// The viewport guide's mesh: its points against the sphere and drum formulas, the grid's lines
// and counts in the edge cases, and when the cache builds anew.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "guide_mesh.h"

namespace
{
constexpr double kPi = 3.141592653589793;
constexpr double kDeg = kPi / 180.0;
const Vector kPen(0.8, 0.7, 0.0);

// Values that differ by less than `tol` count once, in ascending order.
std::vector<double> Distinct(std::vector<double> v, double tol)
{
  std::sort(v.begin(), v.end());
  std::vector<double> out;
  for (double x : v)
    if (out.empty() || x - out.back() > tol)
      out.push_back(x);
  return out;
}

// Longitude of a point in degrees, brought into the field [t0, t1] by whole turns where it can be.
double FieldLongitude(const Vector& p, double t0, double t1)
{
  double t = std::atan2(p.y, p.x);
  while (t > t1 + 1e-9)
    t -= 2.0 * kPi;
  while (t < t0 - 1e-9)
    t += 2.0 * kPi;
  return t;
}

struct SphereCase
{
  const char* name;
  double width, latLow, latHigh;
  size_t meridians;             // grid lines of constant longitude
  std::vector<double> ringsDeg; // latitudes of the rims
  size_t skinRows, skinCols;
  std::vector<double> meridiansDeg; // where given, the meridians' longitudes
};
} // namespace

TEST(LensGuideMesh, SphereGridLiesOnTheShellAtItsLatitudesAndEdges)
{
  const std::vector<SphereCase> cases = {
    {"default dome", 2 * kPi, 0.0, kPi / 2, 10, {0.0}, 10, 37, {}},
    {"dome of 360 degrees", 2 * kPi, -kPi / 2, kPi / 2, 10, {}, 19, 37, {}},
    {"dome of 120 degrees", 2 * kPi, kPi / 6, kPi / 2, 10, {30.0}, 7, 37, {}},
    {"default panorama", 2 * kPi, -kPi / 2, kPi / 2, 10, {}, 19, 37, {}},
    {"panorama of 100 degrees", 100 * kDeg, -kPi / 4, kPi / 4, 5, {-45.0, 45.0}, 10, 11, {-140, -135, -90, -45, -40}},
    {"band off the grid: 35, 40 ... 80", 2 * kPi, 35 * kDeg, 80 * kDeg, 10, {35.0, 80.0}, 6, 37, {}},
    {"empty latitude range", 2 * kPi, 0.3, 0.3, 0, {}, 0, 0, {}},
    {"no width", 0.0, -0.5, 0.5, 0, {}, 0, 0, {}},
  };
  const double R = 70.0;
  for (const SphereCase& c : cases)
  {
    SCOPED_TRACE(c.name);
    LensGuideMesh mesh;
    mesh.BuildSphere(R, c.width, c.latLow, c.latHigh, kPen);
    const double t0 = -kPi / 2 - c.width / 2, t1 = c.width / 2 - kPi / 2;
    ASSERT_EQ(mesh.linePoints.size() % 2, 0u);
    std::vector<double> meridians, rings;
    for (size_t i = 0; i < mesh.linePoints.size(); i += 2)
    {
      const Vector& a = mesh.linePoints[i];
      const Vector& b = mesh.linePoints[i + 1];
      EXPECT_FALSE(a == b) << "segment " << i / 2;
      // A meridian's segments keep their longitude, even at the pole; a rim's don't.
      const bool meridian = std::fabs(std::remainder(std::atan2(a.y, a.x) - std::atan2(b.y, b.x), 2 * kPi)) < 1e-10;
      if (!meridian)
      {
        EXPECT_EQ(a.z, b.z) << "segment " << i / 2;
        rings.push_back(std::asin(a.z / R) / kDeg);
      }
      else if (std::min(a.z, b.z) == std::sin(c.latLow) * R) // each meridian's first segment
        meridians.push_back(FieldLongitude(a.z < b.z ? a : b, t0, t1) / kDeg);
    }
    std::sort(meridians.begin(), meridians.end());
    const std::vector<double>& gotMeridians = meridians;
    EXPECT_EQ(gotMeridians.size(), c.meridians);
    for (size_t i = 0; i < c.meridiansDeg.size() && i < gotMeridians.size(); ++i)
      EXPECT_NEAR(gotMeridians[i], c.meridiansDeg[i], 1e-5);
    const std::vector<double> gotRings = Distinct(rings, 1e-9);
    ASSERT_EQ(gotRings.size(), c.ringsDeg.size());
    for (size_t i = 0; i < gotRings.size(); ++i)
      EXPECT_NEAR(gotRings[i], c.ringsDeg[i], 1e-9);

    ASSERT_EQ(mesh.quadPoints.size(), 4 * c.skinRows * c.skinCols);
    ASSERT_EQ(mesh.quadColours.size(), mesh.quadPoints.size());
    ASSERT_EQ(mesh.quadNormals.size(), mesh.quadPoints.size());
    std::vector<Vector> all = mesh.linePoints;
    all.insert(all.end(), mesh.quadPoints.begin(), mesh.quadPoints.end());
    for (size_t i = 0; i < all.size(); ++i)
    {
      const Vector& p = all[i];
      ASSERT_NEAR(p.GetLength(), R, 1e-9) << "point " << i << " " << p;
      const double lat = std::asin(std::max(-1.0, std::min(1.0, p.z / R)));
      ASSERT_GE(lat, c.latLow - 1e-9) << p;
      ASSERT_LE(lat, c.latHigh + 1e-9) << p;
      if (std::hypot(p.x, p.y) > 1e-6)
      {
        const double t = FieldLongitude(p, t0, t1);
        ASSERT_TRUE(t >= t0 - 1e-9 && t <= t1 + 1e-9) << "longitude " << t / kDeg << " of " << p;
      }
    }
    for (size_t i = 0; i < mesh.quadPoints.size(); ++i)
    {
      ASSERT_TRUE(mesh.quadColours[i] == kPen);
      ASSERT_NEAR((mesh.quadNormals[i] - mesh.quadPoints[i] / R).GetLength(), 0.0, 1e-12) << "quad point " << i;
    }
  }
}

TEST(LensGuideMesh, DrumUprightsRingsAndSkin)
{
  LensGuideMesh mesh;
  const double R = 100.0, H = 50.0;
  mesh.BuildCylinder(R, kPi, H, kPen);
  std::vector<double> uprights, rings;
  for (size_t i = 0; i < mesh.linePoints.size(); i += 2)
  {
    const Vector& a = mesh.linePoints[i];
    const Vector& b = mesh.linePoints[i + 1];
    if (a.z == b.z)
      rings.push_back(a.z);
    else
    {
      EXPECT_EQ(a.x, b.x);
      EXPECT_EQ(a.y, b.y);
      EXPECT_EQ(a.z, -H / 2);
      EXPECT_EQ(b.z, H / 2);
      uprights.push_back(std::atan2(a.y, a.x) / kDeg);
    }
  }
  // -180 to 0 by 45 degrees, the last two a hair apart.
  EXPECT_EQ(uprights.size(), 6u);
  EXPECT_EQ(Distinct(uprights, 1e-5).size(), 5u);
  EXPECT_EQ(Distinct(rings, 0.0), (std::vector<double>{-H / 2, H / 2}));
  ASSERT_EQ(mesh.quadPoints.size(), 4u * 19);
  for (size_t i = 0; i < mesh.quadPoints.size(); ++i)
  {
    const Vector& p = mesh.quadPoints[i];
    ASSERT_NEAR(std::hypot(p.x, p.y), R, 1e-9) << p;
    ASSERT_EQ(std::fabs(p.z), H / 2) << p;
    ASSERT_LE(p.y, 1e-9) << "outside the field's half turn: " << p;
    ASSERT_NEAR((mesh.quadNormals[i] - Vector(p.x, p.y, 0.0) / R).GetLength(), 0.0, 1e-12);
  }
  LensGuideMesh flat;
  flat.BuildCylinder(R, kPi, 0.0, kPen);
  EXPECT_TRUE(flat.linePoints.empty() && flat.quadPoints.empty());
}

TEST(LensGuideMesh, BuildsAnewOnlyWhenShapeOrValuesChange)
{
  struct Step
  {
    bool sphere;
    double r, w, a, b; // a, b: latitudes of a sphere; a: height of a drum
    bool rebuilt;
  };
  const std::vector<Step> steps = {
    {true, 70, 2 * kPi, 0, kPi / 2, true},       {true, 70, 2 * kPi, 0, kPi / 2, false},
    {true, 70, 2 * kPi, 0.1, kPi / 2, true},     {true, 70, 2 * kPi, 0.1, 1.5, true},
    {true, 71, 2 * kPi, 0.1, 1.5, true},         {true, 71, 3.0, 0.1, 1.5, true},
    {false, 71, 3.0, 50, 0, true},               {false, 71, 3.0, 50, 0, false},
    {false, 71, 3.0, 60, 0, true},               {true, 71, 3.0, 0.1, 1.5, true},
  };
  LensGuideMesh mesh;
  const Vector sentinel(1e9, 0, 0);
  for (size_t i = 0; i < steps.size(); ++i)
  {
    const Step& s = steps[i];
    if (s.sphere)
      mesh.BuildSphere(s.r, s.w, s.a, s.b, kPen);
    else
      mesh.BuildCylinder(s.r, s.w, s.a, kPen);
    const bool rebuilt = mesh.linePoints.empty() || !(mesh.linePoints.back() == sentinel);
    EXPECT_EQ(rebuilt, s.rebuilt) << "step " << i;
    mesh.linePoints.push_back(sentinel);
  }
}
