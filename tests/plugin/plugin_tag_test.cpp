// The lens tag: its priority, the video post it brings, and the pictures it loads from res/.
#include <filesystem>
#include <string>

#include "OrlixCamVP.h"
#include "OrlixTag.h"
#include "plugin_fixture.h"
#include "support/scratch_dir.h"

namespace
{
Int32 CountVideoPosts(RenderData* rd, Int32 type)
{
  Int32 n = 0;
  for (BaseVideoPost* vp = rd->GetFirstVideoPost(); vp; vp = vp->GetNext())
    n += vp->GetType() == type;
  return n;
}

using TagTest = PluginTest;
} // namespace

TEST_F(TagTest, NewTagRunsCameraDependentAndBringsTheVideoPostLast)
{
  // A disabled video post found, not doubled, is the scene file test's; that every picture of res/
  // loads, the unreadable picture's.
  RenderData* rd = doc->GetActiveRenderData();
  rd->InsertVideoPost(BaseVideoPost::Alloc(1000001));
  BaseTag* tag = AddTaggedCamera("Cam")->GetTag(OrlixTag::ID);
  GeData priority;
  ASSERT_TRUE(tag->GetParameter(DescID(EXPRESSION_PRIORITY), priority));
  auto* pd = static_cast<PriorityData*>(priority.GetCustomDataType(CUSTOMDATATYPE_PRIORITY));
  ASSERT_NE(pd, nullptr);
  EXPECT_TRUE(pd->GetPriorityValue(PRIORITYVALUE_CAMERADEPENDENT).GetBool());
  auto* tagData = static_cast<OrlixTag*>(tag->GetNodeData());
  EXPECT_GT(tagData->sideBitmaps[5]->GetBw(), 0);
  ASSERT_EQ(CountVideoPosts(rd, OrlixCamVP::ID), 1);
  BaseVideoPost* existing = rd->GetFirstVideoPost()->GetNext();
  ASSERT_TRUE(existing && existing->GetType() == OrlixCamVP::ID && !existing->GetNext()) << "inserted behind what was there";
  EXPECT_GT(static_cast<OrlixCamVP*>(existing->GetNodeData())->faceBitmaps[6]->GetBw(), 0) << "the layout pictures load at Init";

  // Deleted by the user, it comes back at the next call; without create it stays away.
  EXPECT_EQ(tagData->FindOrAddVideoPost(nullptr, true), existing);
  existing->Remove();
  BaseVideoPost::Free(existing);
  EXPECT_EQ(tagData->FindOrAddVideoPost(nullptr, false), nullptr);
  EXPECT_NE(tagData->FindOrAddVideoPost(nullptr, true), nullptr);
  EXPECT_EQ(CountVideoPosts(rd, OrlixCamVP::ID), 1);
}

TEST_F(TagTest, TagWithoutAnyDocumentIsNotMade)
{
  KillDocument(doc); // no document at all
  doc = nullptr;
  ASSERT_EQ(GetActiveDocument(), nullptr);
  EXPECT_EQ(BaseTag::Alloc(OrlixTag::ID), nullptr);
}

TEST_F(TagTest, MissingResFolderCostsEightLinesNotTheTag)
{
  host::SetPluginFolder(Filename("/nonexistent/OrlixCam"));
  host::App().console.Clear();
  BaseObject* cam = AddTaggedCamera("Cam");
  ASSERT_NE(cam->GetTag(OrlixTag::ID), nullptr) << "the tag still comes up";
  const auto& lines = host::App().console.Lines();
  ASSERT_EQ(lines.size(), 8u);
  for (const String& line : lines)
    EXPECT_TRUE(line.FindFirst(String("--- OrlixCam: >>> ERROR bmp not exist [/nonexistent/OrlixCam/res/"), nullptr, 0)) << line;
}

TEST_F(TagTest, UnreadablePictureIsLoggedAsNotLoaded)
{
  // A folder that has the files, but one of them is no picture.
  const ScratchDir scratch;
  const std::filesystem::path res = scratch.dir / "res";
  std::filesystem::create_directory(res);
  for (const auto& entry : std::filesystem::directory_iterator(ORLIX_SOURCE_DIR "/res"))
    if (entry.path().extension() == ".png" || entry.path().extension() == ".tif")
      std::filesystem::copy(entry.path(), res);
  scratch.Write("res/side_U.png", "broken\n");
  host::SetPluginFolder(Filename(scratch.dir.c_str()));
  host::App().console.Clear();
  AddTaggedCamera("Cam");
  const auto& lines = host::App().console.Lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0], String(("--- OrlixCam: >>> ERROR loadign bmp [" + (res / "side_U.png").string() + "]").c_str()));
}
