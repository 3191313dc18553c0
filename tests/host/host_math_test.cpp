// The host's value types: vectors, matrices and times.
#include <gtest/gtest.h>

#include <cmath>

#include "c4d_basetime.h"
#include "c4d_math.h"

namespace
{
::testing::AssertionResult Near(const Vector& a, const Vector& b, double tol = 1e-12)
{
  if ((a - b).GetLength() <= tol)
    return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << a << " vs " << b;
}
::testing::AssertionResult Near(const Matrix& a, const Matrix& b, double tol = 1e-12)
{
  if (Near(a.off, b.off, tol) && Near(a.v1, b.v1, tol) && Near(a.v2, b.v2, tol) && Near(a.v3, b.v3, tol))
    return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << a << " vs " << b;
}
} // namespace

TEST(HostVector, NormalizeKeepsZeroAndScalesOthers)
{
  EXPECT_EQ(Vector().GetNormalized(), Vector());
  EXPECT_TRUE(Near(Vector(3, 0, 4).GetNormalized(), Vector(0.6, 0, 0.8)));
  EXPECT_EQ(Cross(Vector(1, 0, 0), Vector(0, 1, 0)), Vector(0, 0, 1));
  EXPECT_EQ(Dot(Vector(1, 2, 3), Vector(4, 5, 6)), 32.0);
}

TEST(HostMatrix, MakersHaveTheHostsElements)
{
  const double a = 0.3, c = std::cos(a), s = std::sin(a);
  const Matrix x = MatrixRotX(a), y = MatrixRotY(a), z = MatrixRotZ(a);
  EXPECT_EQ(x.v2, Vector(0, c, -s));
  EXPECT_EQ(x.v3, Vector(0, s, c));
  EXPECT_EQ(y.v1, Vector(c, 0, s));
  EXPECT_EQ(y.v3, Vector(-s, 0, c));
  EXPECT_EQ(z.v1, Vector(c, -s, 0));
  EXPECT_EQ(z.v2, Vector(s, c, 0));
  EXPECT_EQ(MatrixMove(Vector(1, 2, 3)) * Vector(1, 1, 1), Vector(2, 3, 4));
  EXPECT_EQ(MatrixMove(Vector(1, 2, 3)).TransformVector(Vector(1, 1, 1)), Vector(1, 1, 1)) << "directions ignore the offset";
  EXPECT_NE(MatrixRotX(PI05).v2.y, 0.0) << "the quarter turn keeps its tiny cosine";
}

TEST(HostMatrix, ProductAppliesTheRightFactorFirst)
{
  const Matrix move = MatrixMove(Vector(10, 0, 0));
  const Matrix turn = MatrixRotZ(PI05);
  const Vector p(1, 0, 0);
  EXPECT_TRUE(Near((move * turn) * p, move * (turn * p)));
  EXPECT_TRUE(Near((move * turn) * p, Vector(10, -1, 0))) << "RotZ(+90) sends +X to -Y";
  EXPECT_TRUE(Near((turn * move) * p, Vector(0, -11, 0)));
}

TEST(HostMatrix, InverseUndoesAndSingularGivesIdentity)
{
  const Matrix m = MatrixMove(Vector(1, -2, 3)) * MatrixRotY(0.7) * MatrixRotX(-0.4) * MatrixScale(Vector(2, 3, 0.5));
  EXPECT_TRUE(Near(m.GetInverse() * m, Matrix()));
  EXPECT_TRUE(Near(m * ~m, Matrix()));
  const Vector p(0.3, 5, -7);
  EXPECT_TRUE(Near(~m * (m * p), p));

  Matrix singular = MatrixMove(Vector(4, 5, 6));
  singular.v3 = Vector();
  EXPECT_EQ(singular.GetInverse(), Matrix());
}

TEST(HostMatrix, HeadingPitchBankFollowTheCameraConvention)
{
  EXPECT_TRUE(Near(HPBToMatrix(Vector(0, PI05, 0)).v3, Vector(0, 1, 0))) << "pitch +90 looks up";
  EXPECT_TRUE(Near(HPBToMatrix(Vector(0.5, 0.2, 0.1)), MatrixRotY(0.5) * MatrixRotX(0.2) * MatrixRotZ(0.1)));
}

TEST(HostBaseTime, DefaultsAndArithmetic)
{
  const BaseTime t;
  EXPECT_EQ(t.GetNumerator(), 0.0);
  EXPECT_EQ(t.GetDenominator(), 1.0);
  EXPECT_EQ(BaseTime(131, 2).Get(), 65.5);
  EXPECT_EQ(BaseTime(1, 2) + BaseTime(1, 3), BaseTime(5, 6));
  EXPECT_EQ(BaseTime(10, 25).GetFrame(25), 10);
  EXPECT_EQ(BaseTime(-1, 50).GetFrame(25), -1);
}
