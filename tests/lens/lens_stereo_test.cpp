// The stereo eye model, the quaternion turn and the inverse lens formulas of the separation map.
#include <cmath>
#include <string>

#include "lens_stereo.h"
#include "lens_test_util.h"

namespace
{
// The usual pair: the camera at the origin, the left eye half of 6.5 to its left.
constexpr double kHalf = 3.25;
constexpr double kSeparation = 6.5;

StereoCameraInfo Eye(const Matrix& camera, double side, const char* name)
{
  StereoCameraInfo eye;
  eye.m = camera * MatrixMove(Vector(side, 0, 0));
  eye.strName = String(name);
  return eye;
}

::testing::AssertionResult AxesNear(const Matrix& got, const Matrix& want, double tol)
{
  for (const auto& pair : {std::make_pair(got.v1, want.v1), std::make_pair(got.v2, want.v2), std::make_pair(got.v3, want.v3)})
    if (!VectorNear(pair.first, pair.second, tol))
      return ::testing::AssertionFailure() << "axes " << got << ", want " << want;
  return ::testing::AssertionSuccess();
}

const Vector kGarbage(123, 456, 789);

const double kDiag = kHalf / std::sqrt(2.0); // 2.298097...

// Offset of the eye for one ray, from the left eye of an identity camera, without convergence.
const struct { const char* what; Int32 model; Bool zenith; Vector direction; double strength; Vector offset; } kOffsets[] = {
  {"fixed right", 0, false, {1, 0, 0}, 1, {-kHalf, 0, 0}},
  {"fixed half strength", 0, false, {0, 0, 1}, 0.5, {-1.625, 0, 0}},
  {"fixed strength 2.5", 0, false, {0, 0, 1}, 2.5, {-8.125, 0, 0}},
  {"circle ahead", 1, false, {0, 0, 1}, 1, {-kHalf, 0, 0}},
  {"circle right", 1, false, {1, 0, 0}, 1, {0, 0, kHalf}},
  {"circle behind", 1, false, {0, 0, -1}, 1, {kHalf, 0, 0}},
  {"circle straight up stands as for right", 1, false, {0, 1, 0}, 1, {0, 0, kHalf}},
  {"circle ahead right", 1, false, {M_SQRT1_2, 0, M_SQRT1_2}, 1, {-kDiag, 0, kDiag}},
  {"circle right half strength", 1, false, {1, 0, 0}, 0.5, {0, 0, 1.625}},
  {"sweep right", 2, false, {1, 0, 0}, 1, {0, 0, kHalf}},
  {"sweep behind has no turn", 2, false, {0, 0, -1}, 1, {-kHalf, 0, 0}},
  {"sweep x 0.5 turns an eighth", 2, false, {0.5, 0, 0.8660254037844386}, 1, {-kDiag, 0, kDiag}},
  {"roll right", 3, false, {1, 0, 0}, 1, {0, kHalf, 0}},
  {"model 7 acts as fixed", 7, false, {1, 0, 0}, 1, {-kHalf, 0, 0}},
  {"zenith fixed", 0, true, {1, 0, 0}, 1, {-kHalf, 0, 0}},
  {"zenith circle right", 1, true, {1, 0, 0}, 1, {0, -kHalf, 0}},
  {"zenith sweep right", 2, true, {1, 0, 0}, 1, {0, -kHalf, 0}},
  {"zenith roll right turns about y", 3, true, {1, 0, 0}, 1, {0, 0, kHalf}},
};
} // namespace

TEST(EyeRayMatrix, OffsetOfEveryModelInTheCamerasOwnFrame)
{
  // A moved and turned camera as well: the baseline turns within the camera's axes, not the world's.
  const Matrix turnDown = MatrixRotX(-PI05);
  const Matrix turned = MatrixMove(Vector(10, 20, 30)) * MatrixRotY(0.7) * MatrixRotX(-0.2);
  for (const Matrix& cam : {Matrix(), turned})
    for (const auto& row : kOffsets)
    {
      SCOPED_TRACE(::testing::Message() << row.what << ", direction " << row.direction << ", camera " << cam);
      Vector aim, axis;
      const Matrix e = EyeRayMatrix(cam, Eye(cam, -kHalf, "0"), true, row.direction, static_cast<EyeModel>(row.model),
                                    row.zenith, 0.0, kSeparation, row.strength, aim, axis);
      EXPECT_TRUE(VectorNear(e.off, cam * row.offset, 1e-12));
      // The turn and its undoing leave the eye's own axes; the zenith setting adds its quarter turn.
      EXPECT_TRUE(AxesNear(e, row.zenith ? cam * turnDown : cam, 1e-14));
    }
}

TEST(EyeRayMatrix, ConvergenceAngleComesFromTheUnturnedOffset)
{
  // The full circle moves the eye in line with the ray, but the angle is measured from the
  // offset before the turn: it is 0, and the ray stays parallel to the direction.
  Vector aim, axis;
  const Matrix e = EyeRayMatrix(Matrix(), Eye(Matrix(), -kHalf, "0"), true, {1, 0, 0}, EyeModel::FullCircle, false, 1000, kSeparation, 1, aim, axis);
  EXPECT_TRUE(VectorNear(e.off, {0, 0, kHalf}, 1e-12)) << "convergence turns the eye, it doesn't move it";
  EXPECT_TRUE(VectorNear(e.TransformVector(Vector(1, 0, 0)), {1, 0, 0}, 1e-15));
}

TEST(EyeRayMatrix, ConvergedFixedEyeAimsAtThePoint)
{
  // With the fixed model at full strength, each eye's ray passes through the point at the zero
  // parallax distance along the direction, for any camera, direction and either eye.
  const Matrix cam = MatrixMove(Vector(-40, 7, 12)) * MatrixRotY(-1.1) * MatrixRotX(0.4) * MatrixRotZ(0.2);
  const Vector directions[] = {{0, 0, 1}, {0.3, 0.1, 0.9}, {-0.7, 0.2, 0.4}, {0.2, -0.9, 0.3}, {0.5, 0.5, -0.7}};
  for (const Bool zenith : {false, true})
    for (const double side : {-kHalf, kHalf})
      for (const Vector& raw : directions)
      {
        const Vector d = raw.GetNormalized();
        Vector aim, axis;
        const StereoCameraInfo eye = Eye(cam, side, side < 0 ? "0" : "1");
        const Matrix e = EyeRayMatrix(cam, eye, true, d, EyeModel::Fixed, zenith, 500, kSeparation, 1, aim, axis);
        const Vector target = (zenith ? cam * MatrixRotX(-PI05) : cam) * aim;
        const Vector ray = e.TransformVector(d);
        const Vector toTarget = target - e.off;
        EXPECT_NEAR(Cross(ray, toTarget).GetLength() / toTarget.GetLength(), 0.0, 1e-9)
          << "direction " << d << " eye " << side << " zenith " << zenith;
        EXPECT_GT(Dot(ray, toTarget), 0.0) << "the ray looks toward the point, not away";
      }
}

TEST(EyeRayMatrix, ConvergenceGates)
{
  // Without convergence the offsets are those of the table above; here only whether it runs.
  const struct { const char* what; bool planned; double zeroParallax, separation, strength; } gates[] = {
    {"not one of the plan's eyes", false, 1000, kSeparation, 1},
    {"zero parallax 0", true, 0, kSeparation, 1},
    {"zero parallax negative", true, -10, kSeparation, 1},
    {"separation 0", true, 1000, 0, 1},
    {"separation negative", true, 1000, -6.5, 1},
    {"strength 0", true, 1000, kSeparation, 0},
    {"strength negative", true, 1000, kSeparation, -0.5},
    {"just inside every gate", true, 1e-9, 1e-9, 1e-9},
  };
  for (const auto& g : gates)
  {
    Vector aim = kGarbage, axis = kGarbage;
    EyeRayMatrix(Matrix(), Eye(Matrix(), -kHalf, "0"), g.planned, Vector(0.6, 0.0, 0.8), EyeModel::Sweep, false, g.zeroParallax,
                 g.separation, g.strength, aim, axis);
    const bool converges = g.zeroParallax > 0 && g.separation > 0 && g.strength > 0 && g.planned;
    EXPECT_EQ(aim != Vector(), converges) << g.what << ": the aim point is set only where the eye toes in";
    EXPECT_EQ(axis != Vector(), converges) << g.what;
  }
}

TEST(RotAxisToMatrix, AgreesWithTheHostsAxisTurnsAndKeepsAnyAxis)
{
  for (const double a : {0.3, -1.2, PI05, PI, 2.5})
  {
    EXPECT_TRUE(AxesNear(RotAxisToMatrix(Vector(1, 0, 0), a), MatrixRotX(a), 1e-15)) << "angle " << a;
    EXPECT_TRUE(AxesNear(RotAxisToMatrix(Vector(0, 3, 0), a), MatrixRotY(a), 1e-15)) << "angle " << a << ", long axis";
    EXPECT_TRUE(AxesNear(RotAxisToMatrix(Vector(0, 0, 0.5), a), MatrixRotZ(a), 1e-15)) << "angle " << a << ", short axis";
  }
  // A third of a turn about the diagonal cycles the axes: x to z, y to x, z to y.
  const Matrix cycle = RotAxisToMatrix(Vector(1, 1, 1), PI2 / 3.0);
  EXPECT_TRUE(VectorNear(cycle.v1, {0, 0, 1}, 1e-15));
  EXPECT_TRUE(VectorNear(cycle.v2, {1, 0, 0}, 1e-15));
  EXPECT_TRUE(VectorNear(cycle.v3, {0, 1, 0}, 1e-15));
  EXPECT_EQ(RotAxisToMatrix(Vector(), 1.0), Matrix()) << "zero axis";

  // An axis of three different parts, which the cycle can't tell apart: kept, and undone by the opposite angle.
  const Vector axis(0.3, -0.4, 0.5);
  const Matrix m = RotAxisToMatrix(axis, 0.9);
  EXPECT_TRUE(VectorNear(m.TransformVector(axis), axis, 1e-15));
  EXPECT_TRUE(AxesNear(RotAxisToMatrix(axis, -0.9) * m, Matrix(), 1e-15));
}

// The quarter turn, the wrap and the seams over the whole image are in lens_round_trip_test.
TEST(InverseLens, EquirectEdgePoleAndRounding)
{
  // u = 1 exactly stays 1: only beyond 1 does it wrap.
  EXPECT_EQ(DirectionToEquirect(Vector(1, 0, 0)), Vector(1, 0.5, 0));

  // At the pole atan2(0, 0) is 0: a = -0.25, u = 1.25, wrapped.
  EXPECT_EQ(DirectionToEquirect(Vector(0, 0, 1)), Vector(0.25, 0, 0));
  // z a rounding step beyond ±1 stays on the pole.
  EXPECT_EQ(DirectionToEquirect(Vector(0, 0, 1.0000000000000002)).y, 0.0);
  EXPECT_EQ(DirectionToEquirect(Vector(0, 0, -1.0000000000000002)).y, 1.0);
}

TEST(InverseLens, DomeAxisWithNoFieldAndStraightBack)
{
  // The round trip reaches the centre for fields that divide; a field of 0 doesn't.
  EXPECT_EQ(DirectionToDome(Vector(0, 0, 1), 0.0), Vector(0.5, 0.5, 0.5));
  // The round trip stops short of the full sphere's back point, where atan2 meets (0, 0).
  EXPECT_TRUE(VectorNear(DirectionToDome(Vector(0, 0, -1), PI2), {1, 0.5, 0.5}, 1e-15)) << "straight back on a full sphere";
}
