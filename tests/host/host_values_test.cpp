// The host's value types: vectors, matrices, times, strings (shared buffers, copy on change) and
// file names.
#include <gtest/gtest.h>

#include <cmath>

#include "c4d_basetime.h"
#include "c4d_math.h"
#include "c4d_string.h"

namespace
{
::testing::AssertionResult Near(const Vector& a, const Vector& b)
{
  if ((a - b).GetLength() <= 1e-12)
    return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << a << " vs " << b;
}
::testing::AssertionResult Near(const Matrix& a, const Matrix& b)
{
  if (Near(a.off, b.off) && Near(a.v1, b.v1) && Near(a.v2, b.v2) && Near(a.v3, b.v3))
    return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << a << " vs " << b;
}
} // namespace

TEST(HostMath, VectorsAndTheMatrixMakersFollowTheHostsConventions)
{
  EXPECT_EQ(Vector().GetNormalized(), Vector()) << "zero stays zero, no NaN";
  EXPECT_TRUE(Near(Vector(3, 0, 4).GetNormalized(), Vector(0.6, 0, 0.8)));
  EXPECT_EQ(Cross(Vector(1, 0, 0), Vector(0, 1, 0)), Vector(0, 0, 1));
  EXPECT_EQ(Dot(Vector(1, 2, 3), Vector(4, 5, 6)), 32.0);
  const double a = 0.3, c = std::cos(a), s = std::sin(a);
  EXPECT_EQ(MatrixRotX(a).v2, Vector(0, c, -s));
  EXPECT_EQ(MatrixRotX(a).v3, Vector(0, s, c));
  EXPECT_EQ(MatrixRotY(a).v1, Vector(c, 0, s));
  EXPECT_EQ(MatrixRotY(a).v3, Vector(-s, 0, c));
  EXPECT_EQ(MatrixRotZ(a).v1, Vector(c, -s, 0));
  EXPECT_EQ(MatrixRotZ(a).v2, Vector(s, c, 0));
  EXPECT_EQ(MatrixMove(Vector(1, 2, 3)) * Vector(1, 1, 1), Vector(2, 3, 4));
  EXPECT_EQ(MatrixMove(Vector(1, 2, 3)).TransformVector(Vector(1, 1, 1)), Vector(1, 1, 1)) << "directions ignore the offset";
  EXPECT_NE(MatrixRotX(PI05).v2.y, 0.0) << "the quarter turn keeps its tiny cosine";
  EXPECT_TRUE(Near(HPBToMatrix(Vector(0, PI05, 0)).v3, Vector(0, 1, 0))) << "pitch +90 looks up";
  EXPECT_TRUE(Near(HPBToMatrix(Vector(0.5, 0.2, 0.1)), MatrixRotY(0.5) * MatrixRotX(0.2) * MatrixRotZ(0.1)));
}

TEST(HostMath, ProductAppliesTheRightFactorFirstAndInverseUndoes)
{
  const Matrix move = MatrixMove(Vector(10, 0, 0)), turn = MatrixRotZ(PI05);
  EXPECT_TRUE(Near((move * turn) * Vector(1, 0, 0), Vector(10, -1, 0))) << "RotZ(+90) sends +X to -Y";
  EXPECT_TRUE(Near((turn * move) * Vector(1, 0, 0), Vector(0, -11, 0)));

  const Matrix m = MatrixMove(Vector(1, -2, 3)) * MatrixRotY(0.7) * MatrixRotX(-0.4) * MatrixScale(Vector(2, 3, 0.5));
  EXPECT_TRUE(Near(m.GetInverse() * m, Matrix()));
  EXPECT_TRUE(Near(m * ~m, Matrix()));
  Matrix singular = MatrixMove(Vector(4, 5, 6));
  singular.v3 = Vector();
  EXPECT_EQ(singular.GetInverse(), Matrix());
}

TEST(HostMath, TimesAddAsFractionsAndFramesRoundDown)
{
  EXPECT_EQ(BaseTime(131, 2).Get(), 65.5);
  EXPECT_EQ(BaseTime(1, 2) + BaseTime(1, 3), BaseTime(5, 6));
  EXPECT_EQ(BaseTime(10, 25).GetFrame(25), 10);
  EXPECT_EQ(BaseTime(-1, 50).GetFrame(25), -1);
}

TEST(HostString, CopiesShareUntilOneChanges)
{
  String a("dome");
  String b = a;
  EXPECT_TRUE(a.SharesBufferWith(b));
  EXPECT_EQ(a.GetReferenceCount(), 2);
  b += String(" master");
  EXPECT_EQ(a, String("dome")) << "a change to a copy must not reach the original";
  EXPECT_EQ(b, String("dome master"));
  EXPECT_EQ(a.GetReferenceCount(), 1);
  a = a;
  EXPECT_EQ(a, String("dome"));
}

TEST(HostString, FindAndCutStayInBounds)
{
  const String s("TITLE\nDirected by\n");
  Int32 pos = -7;
  EXPECT_TRUE(s.FindFirst(String("\n"), &pos, 6));
  EXPECT_EQ(pos, 17);
  EXPECT_FALSE(s.FindFirst(String("\n"), &pos, 18));
  EXPECT_EQ(pos, 17) << "a failed search leaves the position";
  EXPECT_FALSE(s.FindFirst(String("x"), &pos, 99));
  EXPECT_EQ(s.SubStr(6, 8), String("Directed"));
  EXPECT_EQ(s.SubStr(17, 10), String("\n"));
  EXPECT_TRUE(s.SubStr(18, 1).IsEmpty());
}

TEST(HostFilename, JoinsAndSplits)
{
  EXPECT_EQ((Filename("/opt/plugins/OrlixCam") + Filename("res")).GetString(), String("/opt/plugins/OrlixCam/res"));
  EXPECT_EQ((Filename("/") + Filename("a.png")).GetString(), String("/a.png"));
  EXPECT_EQ((Filename() + Filename("a.png")).GetString(), String("a.png"));
  const Filename f("/opt/res/side_F.png");
  EXPECT_EQ(f.GetFile().GetString(), String("side_F.png"));
  EXPECT_EQ(f.GetDirectory().GetString(), String("/opt/res"));
  EXPECT_EQ(f.GetSuffix(), String("png"));
  EXPECT_TRUE(Filename(".hidden").GetSuffix().IsEmpty());
}
