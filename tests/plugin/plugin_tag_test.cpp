// The lens tag's parameters and the video post it brings; the video post's own defaults.
#include <cmath>

#include "OrlixCamVP.h"
#include "OrlixTag.h"
#include "description/OrlixCam.h"
#include "description/OrlixTag.h"
#include "plugin_fixture.h"

namespace
{
Int32 CountVideoPosts(RenderData* rd, Int32 type)
{
  Int32 n = 0;
  for (BaseVideoPost* vp = rd->GetFirstVideoPost(); vp; vp = vp->GetNext())
    n += vp->GetType() == type;
  return n;
}

BaseVideoPost* LastVideoPost(RenderData* rd)
{
  BaseVideoPost* last = rd->GetFirstVideoPost();
  while (last && last->GetNext())
    last = last->GetNext();
  return last;
}

using TagTest = PluginTest;
} // namespace

TEST_F(TagTest, NewTagWritesEveryDefault)
{
  BaseObject* cam = AddTaggedCamera("Dome Camera");
  const BaseContainer& bc = *cam->GetTag(OrlixTag::ID)->GetDataInstance();
  EXPECT_TRUE(bc.GetBool(ORLIXTAG_ENABLED));
  EXPECT_TRUE(bc.GetBool(ORLIXTAG_EDITOR_RENDER_PERSPECTIVE));
  EXPECT_FALSE(bc.GetBool(ORLIXTAG_EDITOR_RENDER_PARALLEL, true));
  EXPECT_EQ(bc.GetInt32(ORLIXTAG_LENS, -1), 1);
  EXPECT_EQ(bc.GetFloat(ORLIXTAG_DOME_FOV), PI);
  EXPECT_EQ(bc.GetFloat(ORLIXTAG_PANO_FOV_H), PI2);
  EXPECT_EQ(bc.GetFloat(ORLIXTAG_PANO_LAT_MAX) - bc.GetFloat(ORLIXTAG_PANO_LAT_MIN), PI) << "the vertical field is exactly pi";
  EXPECT_EQ(bc.GetFloat(ORLIXTAG_CYL_FOV), PI2);
  EXPECT_EQ(bc.GetFloat(ORLIXTAG_CYL_HEIGHT), 100.0);
  EXPECT_EQ(bc.GetFloat(ORLIXTAG_CYL_RADIUS), 100.0);
  EXPECT_EQ(bc.GetFloat(ORLIXTAG_EYE_SEPARATION), 6.5);
  EXPECT_EQ(bc.GetFloat(ORLIXTAG_ZERO_PARALLAX), 1000.0);
  EXPECT_EQ(bc.GetInt32(ORLIXTAG_CONVERGENCE), 1);
  EXPECT_EQ(bc.GetInt32(ORLIXTAG_EYE_MODEL), 2);
  EXPECT_TRUE(bc.GetBool(ORLIXTAG_PROBE));
  EXPECT_EQ(bc.GetFloat(ORLIXTAG_SEPARATION_MAP_VALUE), 0.5);
  EXPECT_EQ(bc.GetData(ORLIXTAG_SEPARATION_MAP).GetType(), DA_ALIASLINK);
  EXPECT_EQ(bc.GetLink(ORLIXTAG_SEPARATION_MAP), nullptr);
  EXPECT_EQ(bc.GetVector(ORLIXTAG_PROBE_PAD), Vector(0.5, 0.5, 0.0));
  EXPECT_EQ(bc.GetInt32(ORLIXTAG_CUBE_PREVIEW_FACE), 5);

  // Values worked out later are absent until then.
  for (Int32 id : {ORLIXTAG_PROTECT_CAMERA, ORLIXTAG_PANO_FOV_V, ORLIXTAG_ASPECT_MONO, ORLIXTAG_ASPECT_STEREO,
                   ORLIXTAG_ASPECT_LABEL_MONO, ORLIXTAG_ASPECT_LABEL_STEREO, ORLIXTAG_CREATED_BY})
    EXPECT_EQ(bc.GetDataPointer(id), nullptr) << "parameter " << id << " must not be written by Init";
  EXPECT_FALSE(bc.GetBool(ORLIXTAG_PROTECT_CAMERA));
  EXPECT_EQ(bc.GetFloat(ORLIXTAG_ASPECT_MONO), 0.0);
  EXPECT_TRUE(bc.GetString(ORLIXTAG_ASPECT_LABEL_MONO).IsEmpty());
}

TEST_F(TagTest, TagRunsCameraDependentAndLoadsItsPictures)
{
  BaseObject* cam = AddTaggedCamera("Cam");
  BaseTag* tag = cam->GetTag(OrlixTag::ID);
  GeData priority;
  ASSERT_TRUE(tag->GetParameter(DescID(EXPRESSION_PRIORITY), priority));
  auto* pd = static_cast<PriorityData*>(priority.GetCustomDataType(CUSTOMDATATYPE_PRIORITY));
  ASSERT_NE(pd, nullptr);
  EXPECT_TRUE(pd->GetPriorityValue(PRIORITYVALUE_CAMERADEPENDENT).GetBool());

  auto* data = static_cast<OrlixTag*>(tag->GetNodeData());
  EXPECT_EQ(data->iconBitmaps[1]->GetBw(), 64);
  EXPECT_GT(data->sideBitmaps[5]->GetBw(), 0);
  EXPECT_FALSE(host::App().console.Contains(String("ERROR"))) << "every picture of res/ loads";
}

TEST_F(TagTest, NewTagBringsTheVideoPostLast)
{
  RenderData* rd = doc->GetActiveRenderData();
  rd->InsertVideoPost(BaseVideoPost::Alloc(1000001));
  AddTaggedCamera("Cam");
  ASSERT_EQ(CountVideoPosts(rd, OrlixCamVP::ID), 1);
  EXPECT_EQ(LastVideoPost(rd)->GetType(), OrlixCamVP::ID) << "inserted behind what was there";

  // Its defaults are readable from its container.
  const BaseContainer& vp = *LastVideoPost(rd)->GetDataInstance();
  EXPECT_EQ(vp.GetInt32(ORLIXVP_ANAGLYPH_COLOURS), 3);
  EXPECT_EQ(vp.GetFloat(ORLIXVP_ANAGLYPH_GAMMA), 1.0);
  EXPECT_EQ(vp.GetFloat(ORLIXVP_TEXT_SIZE), 1.0);
  EXPECT_EQ(vp.GetString(ORLIXVP_TEXT), String("TITLE\nDirected by\nProduced by\nMusic by\nLicence"));
  EXPECT_TRUE(vp.GetBool(ORLIXVP_SHOW_INFO) && vp.GetBool(ORLIXVP_SHOW_TIMECODE) && vp.GetBool(ORLIXVP_SHOW_FRAME) &&
              vp.GetBool(ORLIXVP_SHOW_TEXT));
  EXPECT_FALSE(vp.GetBool(ORLIXVP_SLATE, true));
  EXPECT_EQ(vp.GetInt32(ORLIXVP_CUBE_FACE), 5);
  const Int32 slots[6] = {1, 0, 3, 2, 5, 4};
  for (Int32 i = 0; i < 6; ++i)
    EXPECT_EQ(vp.GetInt32(ORLIXVP_CUBE_SLOT_1 + i, -1), slots[i]) << "slot " << i + 1;
  EXPECT_EQ(vp.GetInt32(ORLIXVP_CUBE_TURN), 1);
  EXPECT_EQ(vp.GetDataPointer(ORLIXVP_STEREO_MODE), nullptr) << "the stereo mode is not written";
  EXPECT_EQ(vp.GetDataPointer(ORLIXVP_TIME_OFFSET), nullptr);

  auto* state = static_cast<OrlixCamVP*>(LastVideoPost(rd)->GetNodeData());
  EXPECT_GT(state->faceBitmaps[0]->GetBw(), 0) << "the layout pictures load at Init";
  EXPECT_GT(state->faceBitmaps[6]->GetBw(), 0);
  EXPECT_EQ(state->gridSize, Vector(4, 3, 0)) << "Init builds the default cross for the panel";
  EXPECT_EQ(state->areaGrid[1 * 6 + 1].channelIndex, 5) << "front in column 1, row 1";
}

TEST_F(TagTest, DisabledVideoPostIsFoundNotDoubled)
{
  RenderData* rd = doc->GetActiveRenderData();
  BaseVideoPost* existing = BaseVideoPost::Alloc(OrlixCamVP::ID);
  existing->SetBit(BIT_VPDISABLED);
  rd->InsertVideoPost(existing);
  BaseObject* cam = AddTaggedCamera("Cam");
  EXPECT_EQ(CountVideoPosts(rd, OrlixCamVP::ID), 1);
  auto* tagData = static_cast<OrlixTag*>(cam->GetTag(OrlixTag::ID)->GetNodeData());
  EXPECT_EQ(tagData->FindOrAddVideoPost(nullptr, true), existing);

  // Deleted by the user, it comes back at the next call; without create it stays away.
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

TEST_F(TagTest, StereoSwitchIsReadFromTheTagsDocument)
{
  BaseObject* cam = AddTaggedCamera("Cam");
  auto* tagData = static_cast<OrlixTag*>(cam->GetTag(OrlixTag::ID)->GetNodeData());
  EXPECT_FALSE(tagData->IsStereoRender(nullptr));
  doc->GetActiveRenderData()->GetDataInstance()->SetBool(RDATA_STEREO, true);
  EXPECT_TRUE(tagData->IsStereoRender(nullptr));
}

TEST_F(TagTest, MissingResFolderCostsEightLinesNotTheTag)
{
  host::SetPluginFolder(Filename("/nonexistent/OrlixCam"));
  host::App().console.Clear();
  BaseObject* cam = AddTaggedCamera("Cam");
  ASSERT_NE(cam->GetTag(OrlixTag::ID), nullptr) << "the tag still comes up";
  const auto& lines = host::App().console.Lines();
  ASSERT_EQ(lines.size(), 8u);
  int tif = 0, png = 0;
  for (const String& line : lines)
  {
    EXPECT_TRUE(line.FindFirst(String("--- OrlixCam: >>> ERROR bmp not exist [/nonexistent/OrlixCam/res/"), nullptr, 0)) << line;
    tif += line.FindFirst(String(".tif]"), nullptr, 0);
    png += line.FindFirst(String(".png]"), nullptr, 0);
  }
  EXPECT_EQ(tif, 2);
  EXPECT_EQ(png, 6);
}

TEST_F(TagTest, UnreadablePictureIsLoggedAsNotLoaded)
{
  // A folder that has the files, but one of them is no picture.
  const std::string dir = ::testing::TempDir() + "orlix_bad_res";
  const std::string res = dir + "/res";
  ASSERT_EQ(std::system(("rm -rf '" + dir + "' && mkdir -p '" + res + "' && cp '" ORLIX_SOURCE_DIR "'/res/*.png '" ORLIX_SOURCE_DIR
                         "'/res/*.tif '" + res + "/' && echo broken > '" + res + "/side_U.png'").c_str()),
            0);
  host::SetPluginFolder(Filename(dir.c_str()));
  host::App().console.Clear();
  AddTaggedCamera("Cam");
  const auto& lines = host::App().console.Lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0], String(("--- OrlixCam: >>> ERROR loadign bmp [" + res + "/side_U.png]").c_str()));
}
