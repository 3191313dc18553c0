// The render state: what the allocator leaves, the channel records, and an inactive render.
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

TEST(RenderState, AllocatorLeavesDefaults)
{
  auto vp = MakeVP();
  ASSERT_NE(vp, nullptr);
  EXPECT_FALSE(vp->isActive);
  EXPECT_FALSE(vp->isDome || vp->isPanorama || vp->isCylindrical || vp->isCubemap);
  EXPECT_EQ(vp->camera, nullptr);
  EXPECT_EQ(vp->tag, nullptr);
  EXPECT_EQ(vp->tagData, nullptr);
  EXPECT_EQ(vp->separationShader, nullptr);
  EXPECT_EQ(vp->slateTimeOffset, BaseTime());
  EXPECT_EQ(vp->frameTime.GetDenominator(), 1.0);
  EXPECT_TRUE(vp->slateText.IsEmpty());
  EXPECT_EQ(vp->bleedPixels, 0) << "not set until the first frame";
  EXPECT_EQ(vp->subRenderCount, 0);
  EXPECT_EQ(vp->activeArea.width, 0);
  EXPECT_EQ(vp->pixelStep, Vector());

  // The nine pictures exist from the start, empty.
  ASSERT_NE(vp->logoBitmap, nullptr);
  ASSERT_NE(vp->maskBitmap, nullptr);
  EXPECT_EQ(vp->logoBitmap->GetBw(), 0);
  for (BaseBitmap* bmp : vp->faceBitmaps)
    ASSERT_NE(bmp, nullptr);

  // Every channel record has its own default: no channel, identity matrix.
  for (const LensChannel& c : vp->faceChannels)
    EXPECT_EQ(c.channelIndex, -1);
  for (const LensChannel& c : vp->areaGrid)
    EXPECT_EQ(c.channelIndex, -1);
  EXPECT_EQ(vp->currentFace.channelIndex, -1);
  EXPECT_EQ(vp->currentEye.m, Matrix());
  EXPECT_EQ(vp->stereoChannels[1].rotation, 0);
}

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
  a.channelIndex = 0;
  a.rotation = 270;
  a.flipY = true;
  a.area.width = 64;
  a.m = MatrixMove(Vector(-3.25, 0, 0));
  b.strName = String("old name");
  const String oldName = b.strName;
  EXPECT_EQ(oldName.GetReferenceCount(), 2);

  b = a;
  EXPECT_TRUE(b.strName.SharesBufferWith(a.strName)) << "the copy holds the same string";
  EXPECT_EQ(a.strName.GetReferenceCount(), 2);
  EXPECT_EQ(oldName.GetReferenceCount(), 1) << "the target's old string is released";
  EXPECT_EQ(b.channelIndex, 0);
  EXPECT_EQ(b.rotation, 270);
  EXPECT_TRUE(b.flipY);
  EXPECT_EQ(b.area.width, 64);
  EXPECT_EQ(b.m, a.m);

  LensChannel& self = a;
  a = self;
  EXPECT_EQ(a.strName, String("left eye")) << "a record copied onto itself is left alone";
  EXPECT_EQ(a.strName.GetReferenceCount(), 2);
}
