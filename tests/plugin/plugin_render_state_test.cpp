// The channel records' hand-written copy.
#include <gtest/gtest.h>

#include "OrlixCamVP.h"

TEST(LensChannelRecord, CopySharesTheNameAndReleasesTheOld)
{
  LensChannel a, b;
  a.strName = String("left eye");
  a.rotation = 270;
  b.strName = String("old name");
  const String oldName = b.strName;
  ASSERT_EQ(oldName.GetReferenceCount(), 2);

  b = a;
  EXPECT_TRUE(b.strName.SharesBufferWith(a.strName)) << "the copy holds the same string";
  EXPECT_EQ(a.strName.GetReferenceCount(), 2);
  EXPECT_EQ(oldName.GetReferenceCount(), 1) << "the target's old string is released";
  EXPECT_EQ(b.rotation, 270) << "the lens fields come along";

  LensChannel& self = a;
  a = self;
  EXPECT_EQ(a.strName, String("left eye")) << "a record copied onto itself is left alone";
  EXPECT_EQ(a.strName.GetReferenceCount(), 2);
}
