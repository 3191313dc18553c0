// The host's String (shared buffers, copy on change) and Filename.
#include <gtest/gtest.h>

#include "c4d_string.h"

TEST(HostString, CopiesShareUntilOneChanges)
{
  String a("dome");
  String b = a;
  EXPECT_TRUE(a.SharesBufferWith(b));
  EXPECT_EQ(a.GetReferenceCount(), 2);
  b += String(" master");
  EXPECT_FALSE(a.SharesBufferWith(b));
  EXPECT_EQ(a, String("dome")) << "a change to a copy must not reach the original";
  EXPECT_EQ(b, String("dome master"));
  EXPECT_EQ(a.GetReferenceCount(), 1);
  EXPECT_FALSE(String().SharesBufferWith(String()));
  a = a;
  EXPECT_EQ(a, String("dome"));
}

TEST(HostString, FindAndCut)
{
  const String s("TITLE\nDirected by\n");
  Int32 pos = -7;
  EXPECT_TRUE(s.FindFirst(String("\n"), &pos, 0));
  EXPECT_EQ(pos, 5);
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
  const Filename dir("/opt/plugins/OrlixCam");
  EXPECT_EQ((dir + Filename("res")).GetString(), String("/opt/plugins/OrlixCam/res"));
  EXPECT_EQ((Filename("/") + Filename("a.png")).GetString(), String("/a.png"));
  EXPECT_EQ((Filename() + Filename("a.png")).GetString(), String("a.png"));
  const Filename f("/opt/res/side_F.png");
  EXPECT_EQ(f.GetFile().GetString(), String("side_F.png"));
  EXPECT_EQ(f.GetDirectory().GetString(), String("/opt/res"));
  EXPECT_EQ(f.GetSuffix(), String("png"));
  EXPECT_TRUE(Filename(".hidden").GetSuffix().IsEmpty());
}
