// The render state: an inactive render, and the channel records' hand-written copy.
#include <gtest/gtest.h>

#include <memory>

#include "OrlixCamVP.h"

namespace
{
std::unique_ptr<OrlixCamVP> MakeVP()
{
  return std::unique_ptr<OrlixCamVP>(static_cast<OrlixCamVP*>(OrlixCamVP::Alloc()));
}
} // namespace

TEST(RenderState, InactiveRenderAnswersNothing)
{
  auto vp = MakeVP();
  EXPECT_EQ(vp->GetRenderInfo(nullptr), VIDEOPOSTINFO_NONE);
  EXPECT_EQ(vp->Execute(nullptr, nullptr), RENDERRESULT_OK);
  EXPECT_EQ(vp->StereoGetCameraCountEditor(nullptr, nullptr, nullptr), 0);
  vp->isActive = true;
  EXPECT_EQ(static_cast<Int32>(vp->GetRenderInfo(nullptr)), 1072) << "execute line, execute pixel and custom lens";
}

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
