// Forward and inverse lens formulas together: every projection's direction comes back to the
// position its inverse promises, over the whole image and on both sides of its seams.
#include <cmath>
#include <vector>

#include "lens_stereo.h"
#include "lens_test_util.h"

namespace
{
// Distance of two u on a circle of circumference 1, for positions that wrap.
double WrappedDistance(double a, double b)
{
  const double d = std::fabs(a - b);
  return std::fmin(d, 1.0 - d);
}

double Wrap(double u)
{
  return u - std::floor(u);
}

template <int FovDegrees>
struct DomeProjection
{
  static constexpr double kFov = FovDegrees * PI / 180.0;
  static constexpr bool kWrapsU = false;
  static bool Covers(double u, double v)
  {
    // Inside the circle, and short of the point where directions repeat.
    const double r = std::hypot(2 * u - 1, 1 - 2 * v);
    return r <= 1.0 && kFov * 0.5 * r < PI - 1e-6;
  }
  static Vector Forward(double u, double v) { return DomeDirection(u, v, kFov, true); }
  static Vector Inverse(const Vector& d) { return DirectionToDome(d, kFov); }
  static Vector Promise(double u, double v) { return Vector(u, 1 - v, 0.5); }
};

// The whole road of a stereo ray's map look-up: the lens with its quarter turn, then the look-up.
// The panorama's road holds the sphere's own formulas, its turn up and the turn undone; a dome
// without the zenith setting is looked up along the same road.
struct PanoramaLookUp
{
  static constexpr bool kWrapsU = true;
  static bool Covers(double, double v) { return v > 0 && v < 1; }
  static Vector Forward(double u, double v)
  {
    LensState s = MakeLens(LensKind::Panorama, PI2, 1000, 500);
    Vector uv(u, v, 0);
    return PixelToDirection(s, uv);
  }
  static Vector Inverse(const Vector& d) { return SeparationMapPosition(d, false, PI); }
  static Vector Promise(double u, double v) { return Vector(Wrap(u + 0.25), v, 0); }
};

struct ZenithDomeLookUp
{
  static constexpr bool kWrapsU = false;
  static bool Covers(double u, double v) { return std::hypot(2 * u - 1, 1 - 2 * v) <= 1.0; }
  static Vector Forward(double u, double v)
  {
    LensState s = MakeLens(LensKind::Dome, PI, 1000, 1000);
    s.settings.isStereo = true;
    s.settings.domeZenith = true;
    Vector uv(u, v, 0);
    return PixelToDirection(s, uv);
  }
  static Vector Inverse(const Vector& d) { return SeparationMapPosition(d, true, PI); }
  static Vector Promise(double u, double v) { return Vector(u, 1 - v, 0.5); }
};

template <typename T>
class ProjectionRoundTrip : public ::testing::Test
{
};

using Projections = ::testing::Types<DomeProjection<180>, DomeProjection<220>, DomeProjection<360>, PanoramaLookUp,
                                     ZenithDomeLookUp>;
TYPED_TEST_SUITE(ProjectionRoundTrip, Projections);
} // namespace

TYPED_TEST(ProjectionRoundTrip, InverseKeepsItsPromise)
{
  std::vector<double> steps;
  for (int i = 0; i <= 40; ++i)
    steps.push_back(i / 40.0);
  // Both sides of every seam: the image's edges and, for the sphere, its quarter-turn wrap.
  for (const double s : {0.001, 0.999, 0.749, 0.751, 0.249, 0.251})
    steps.push_back(s);

  int tested = 0;
  for (const double u : steps)
    for (const double v : steps)
    {
      if (!TypeParam::Covers(u, v))
        continue;
      const Vector back = TypeParam::Inverse(TypeParam::Forward(u, v));
      const Vector want = TypeParam::Promise(u, v);
      const double du = TypeParam::kWrapsU ? WrappedDistance(back.x, want.x) : std::fabs(back.x - want.x);
      EXPECT_LT(du, 1e-12) << "uv (" << u << ", " << v << ") came back as " << back << ", want " << want;
      EXPECT_NEAR(back.y, want.y, 1e-12) << "uv (" << u << ", " << v << ")";
      EXPECT_EQ(back.z, want.z) << "uv (" << u << ", " << v << ")";
      if (TypeParam::kWrapsU)
      {
        EXPECT_TRUE(back.x >= 0.0 && back.x <= 1.0) << "u stays within the image: " << back;
      }
      ++tested;
    }
  EXPECT_GE(tested, 800) << "the sweep must cover the image";
}
