// The attribute panels of the tag and the video post as a user sees them, and what the user's
// edits, presses and the expression pass do.
#include "OrlixCamVP.h"
#include "OrlixTag.h"
#include "c4d_objects.h"
#include "description/OrlixCam.h"
#include "description/OrlixTag.h"
#include "panel.h"
#include "plugin_fixture.h"

namespace
{
class PanelTest : public PluginTest
{
protected:
  void SetUp() override
  {
    PluginTest::SetUp();
    camera = AddTaggedCamera("Cam");
    tag = camera->GetTag(OrlixTag::ID);
    vp = doc->GetActiveRenderData()->GetFirstVideoPost();
    ASSERT_TRUE(tag && vp);
  }
  const host::PanelEntry& Entry(BaseList2D* node, Int32 id)
  {
    String error;
    EXPECT_TRUE(host::EvaluatePanel(node, panel, &error)) << error.GetStdString();
    for (const host::PanelEntry& e : panel.entries)
      if (e.id == id)
        return e;
    ADD_FAILURE() << "no entry " << id;
    return panel.entries.front();
  }
  void Edit(BaseList2D* node, Int32 id, const GeData& v) { ASSERT_TRUE(host::UserEdit(node, id, v)); }
  Float TagFloat(Int32 id) { return tag->GetDataInstance()->GetFloat(id); }

  BaseObject* camera = nullptr;
  BaseTag* tag = nullptr;
  BaseVideoPost* vp = nullptr;
  host::Panel panel;
};

// One rule of a panel: after `setup`, entry `id` of the tag or the video post is hidden, enabled.
struct Rule
{
  const char* name;
  std::function<void(BaseContainer& tag, BaseContainer& vp, BaseContainer& render)> setup;
  Bool onTag;
  Int32 id;
  Bool hidden, enabled;
};
} // namespace

TEST_F(PanelTest, HideAndGreyRulesOfBothPanels)
{
  using C = BaseContainer&;
  const Rule rules[] = {
    {"dome shows its group", [](C, C, C) {}, true, ORLIXTAG_GROUP_DOME, false, true},
    {"dome hides the panorama's", [](C, C, C) {}, true, ORLIXTAG_GROUP_PANORAMA, true, true},
    {"panorama hides the zenith", [](C t, C, C) { t.SetInt32(ORLIXTAG_LENS, 0); }, true, ORLIXTAG_DOME_ZENITH, true, false},
    {"full sphere greys the field", [](C t, C, C) { t.SetInt32(ORLIXTAG_LENS, 0); }, true, ORLIXTAG_PANO_FOV_H, false, false},
    {"custom field", [](C t, C, C) { t.SetInt32(ORLIXTAG_LENS, 0), t.SetBool(ORLIXTAG_PANO_CUSTOM, true); }, true, ORLIXTAG_PANO_LAT_MIN, false, true},
    {"vertical field never edited", [](C t, C, C) { t.SetInt32(ORLIXTAG_LENS, 0), t.SetBool(ORLIXTAG_PANO_CUSTOM, true); }, true, ORLIXTAG_PANO_FOV_V, false, false},
    {"note hidden while the video post works", [](C, C, C) {}, true, ORLIXTAG_VP_DISABLED_NOTE, true, true},
    {"tag switched off keeps its switch", [](C t, C, C) { t.SetBool(ORLIXTAG_ENABLED, false); }, true, ORLIXTAG_ENABLED, false, true},
    {"tag switched off greys the lens", [](C t, C, C) { t.SetBool(ORLIXTAG_ENABLED, false); }, true, ORLIXTAG_LENS, false, false},
    {"mono greys the stereo rows", [](C, C, C) {}, true, ORLIXTAG_EYE_SEPARATION, false, false},
    {"stereo", [](C, C, C r) { r.SetBool(RDATA_STEREO, true); }, true, ORLIXTAG_EYE_SEPARATION, false, true},
    {"parallel eyes grey the distance", [](C t, C, C r) { r.SetBool(RDATA_STEREO, true), t.SetInt32(ORLIXTAG_CONVERGENCE, 0); }, true, ORLIXTAG_ZERO_PARALLAX, false, false},
    {"probe off hides the pad", [](C t, C, C) { t.SetBool(ORLIXTAG_PROBE, false); }, true, ORLIXTAG_PROBE_PAD, true, false},
    {"the fit buttons follow the aspect", [](C, C, C) {}, true, ORLIXTAG_FIT_KEEP_WIDTH, false, true},
    {"always hidden", [](C, C, C) {}, true, ORLIXTAG_HIDDEN_1048, true, true},
    {"slate off greys what it shows", [](C, C, C) {}, false, ORLIXVP_SHOW_INFO, false, false},
    {"title greys without its block", [](C, C v, C) { v.SetBool(ORLIXVP_SLATE, true), v.SetBool(ORLIXVP_SHOW_TEXT, false); }, false, ORLIXVP_TEXT, false, false},
    {"anaglyph group in mode 0", [](C, C, C) {}, false, ORLIXVP_GROUP_ANAGLYPH, false, true},
    {"pair group hidden in mode 0", [](C, C, C) {}, false, ORLIXVP_GROUP_PAIR, true, true},
    {"gamma with optimised colours only", [](C, C v, C) { v.SetInt32(ORLIXVP_ANAGLYPH_COLOURS, 0); }, false, ORLIXVP_ANAGLYPH_GAMMA, false, false},
    {"gamma whatever the method", [](C, C v, C) { v.SetInt32(ORLIXVP_ANAGLYPH_METHOD, 1); }, false, ORLIXVP_ANAGLYPH_GAMMA, false, true},
    {"pair layout active when interlaced", [](C, C v, C) { v.SetInt32(ORLIXVP_STEREO_MODE, 2); }, false, ORLIXVP_PAIR_LAYOUT, true, true},
    {"one eye greys the swap", [](C, C v, C) { v.SetInt32(ORLIXVP_STEREO_MODE, 3); }, false, ORLIXVP_SWAP_EYES, false, false},
    {"eye shift greyed for a dome", [](C, C, C) {}, false, ORLIXVP_EYE_SHIFT, false, false},
    {"cross: slots hidden", [](C, C, C) {}, false, ORLIXVP_GROUP_CUBE_SLOTS, true, false},
    {"cross: cell row 2 shown", [](C, C, C) {}, false, ORLIXVP_CUBE_CELL_FIRST + 2 * 6 + 5, false, true},
    {"cross: cell row 3 hidden", [](C, C, C) {}, false, ORLIXVP_CUBE_CELL_FIRST + 3 * 6, true, true},
    {"block 3 x 2: row 2 hidden", [](C, C v, C) { v.SetInt32(ORLIXVP_CUBE_LAYOUT, 3); }, false, ORLIXVP_CUBE_CELL_FIRST + 2 * 6, true, true},
    {"time offset with timecode or frame", [](C, C v, C) { v.SetBool(ORLIXVP_SLATE, true), v.SetBool(ORLIXVP_SHOW_TIMECODE, false); }, false, ORLIXVP_TIME_OFFSET, false, true},
  };
  const BaseContainer tag0 = tag->GetData(), vp0 = vp->GetData(), rd0 = doc->GetActiveRenderData()->GetData();
  for (const Rule& r : rules)
  {
    BaseContainer t = tag0, v = vp0, rd = rd0;
    r.setup(t, v, rd);
    tag->SetData(t), vp->SetData(v), doc->GetActiveRenderData()->SetData(rd);
    const host::PanelEntry& e = Entry(r.onTag ? static_cast<BaseList2D*>(tag) : vp, r.id);
    EXPECT_EQ(e.hidden, r.hidden) << r.name;
    if (!e.hidden || e.type != "GROUP")
      EXPECT_EQ(e.enabled, r.enabled) << r.name;
  }
}

TEST_F(PanelTest, GroupsOpenByLensAndStereoAndTheVersionShows)
{
  doc->GetActiveRenderData()->GetDataInstance()->SetBool(RDATA_STEREO, true);
  EXPECT_TRUE(Entry(vp, ORLIXVP_GROUP_DOME).open);
  EXPECT_FALSE(Entry(vp, ORLIXVP_GROUP_CUBEMAP).open);
  EXPECT_TRUE(Entry(vp, ORLIXVP_GROUP_STEREO).open);
  EXPECT_EQ(Entry(vp, ORLIXVP_VERSION).value.GetString(), String("Version 2.2.1 build 008"));
  vp->SetBit(BIT_VPDISABLED);
  EXPECT_FALSE(Entry(tag, ORLIXTAG_ENABLED).enabled) << "a disabled video post greys the whole tag";
  EXPECT_FALSE(Entry(tag, ORLIXTAG_VP_DISABLED_NOTE).hidden);
  EXPECT_EQ(Entry(tag, ORLIXTAG_ASPECT_MONO).value.GetFloat(), 0.0);
}

TEST_F(PanelTest, EditsKeepTheTagConsistent)
{
  Edit(tag, ORLIXTAG_PANO_CUSTOM, GeData(true));
  Edit(tag, ORLIXTAG_PANO_LAT_MAX, GeData(30 * PI / 180));
  Edit(tag, ORLIXTAG_PANO_LAT_MIN, GeData(40 * PI / 180));
  EXPECT_NEAR(TagFloat(ORLIXTAG_PANO_LAT_MIN), 30 * PI / 180 - 0.01745329238474369, 1e-15) << "the typed edge gives way";
  EXPECT_NEAR(TagFloat(ORLIXTAG_PANO_LAT_MAX), 30 * PI / 180, 1e-15);
  EXPECT_NEAR(TagFloat(ORLIXTAG_PANO_FOV_V), 0.01745329238474369, 1e-12) << "the aspect pass ran";

  Edit(tag, ORLIXTAG_PROTECT_CAMERA, GeData(true));
  Edit(tag, ORLIXTAG_PROTECT_CAMERA, GeData(true));
  EXPECT_TRUE(camera->GetTag(Tprotection) && !camera->GetTag(Tprotection, 1)) << "one Protection tag";
  Edit(tag, ORLIXTAG_PROTECT_CAMERA, GeData(false));
  EXPECT_EQ(camera->GetTag(Tprotection), nullptr);

  Edit(tag, ORLIXTAG_CREATED_BY, GeData(Int32(1036110)));
  EXPECT_TRUE(camera->GetDataInstance()->GetBool(CAMERAOBJECT_SHOWCONE, true)) << "the cubemap command keeps the cone";
  Edit(tag, ORLIXTAG_CREATED_BY, GeData(Int32(1036687)));
  EXPECT_FALSE(camera->GetDataInstance()->GetBool(CAMERAOBJECT_SHOWCONE, true));
  EXPECT_EQ(vp->GetDataInstance()->GetInt32(ORLIXVP_MASK_MODE), 2) << "a little planet keeps its frame";

  Edit(tag, ORLIXTAG_LENS, GeData(Int32(0)));
  Edit(tag, ORLIXTAG_PROBE_PAD, GeData(Vector(0.75, 0.5, 0)));
  EXPECT_NEAR(TagFloat(ORLIXTAG_PROBE_LONGITUDE), PI05, 1e-12);
  EXPECT_GT(host::App().ui.drawViews, 0) << "the views follow the drag";

  Edit(tag, ORLIXTAG_STEREO, GeData(Int32(1)));
  EXPECT_TRUE(doc->GetActiveRenderData()->GetDataInstance()->GetBool(RDATA_STEREO));
  EXPECT_EQ(camera->GetDataInstance()->GetInt32(CAMERAOBJECT_STEREO_MODE), 1) << "the expression pass ran";
  Edit(tag, ORLIXTAG_EYE_SEPARATION, GeData(7.0));
  Edit(tag, ORLIXTAG_CONVERGENCE, GeData(Int32(0)));
  EXPECT_EQ(camera->GetDataInstance()->GetFloat(CAMERAOBJECT_STEREO_EYESEPARATION), 7.0);
  EXPECT_EQ(camera->GetDataInstance()->GetInt32(CAMERAOBJECT_STEREO_CONVERGENCE, 1), 0);
  Edit(tag, ORLIXTAG_GUIDES, GeData(Int32(1)));
  EXPECT_TRUE(vp->GetDataInstance()->GetBool(ORLIXVP_GUIDES)) << "the tag shows the video post's switch";

  camera->InsertTag(BaseTag::Alloc(Tprotection));
  host::ExecuteExpressions(doc);
  EXPECT_TRUE(tag->GetDataInstance()->GetBool(ORLIXTAG_PROTECT_CAMERA)) << "a Protection tag added by hand shows";
  EXPECT_EQ(tag->GetDataInstance()->GetVector(ORLIXTAG_PROBE_PAD).z, 0.0) << "the panorama's pad";
}

TEST_F(PanelTest, FitButtonsAskBeforeTheyResize)
{
  BaseContainer* rd = doc->GetActiveRenderData()->GetDataInstance();
  rd->SetFloat(RDATA_XRES, 1920), rd->SetFloat(RDATA_YRES, 1000);
  Edit(tag, ORLIXTAG_LENS, GeData(Int32(0))); // a full sphere: 2:1
  host::PressButton(tag, ORLIXTAG_FIT_KEEP_WIDTH);
  ASSERT_EQ(host::App().ui.questions.size(), 1u);
  EXPECT_EQ(host::App().ui.questions[0].flags, 36);
  EXPECT_EQ(rd->GetFloat(RDATA_YRES), 1000) << "no: nothing changes";
  host::App().ui.answers.push_back(GEMB_R_YES);
  host::PressButton(tag, ORLIXTAG_FIT_KEEP_WIDTH);
  EXPECT_EQ(rd->GetFloat(RDATA_YRES), 960) << "1920 / 2 + 0.5, truncated";
  EXPECT_NE(host::App().ui.questions[1].text.GetStdString().find("1920 x 1000"), std::string::npos);
  host::PressButton(tag, ORLIXTAG_FIT_KEEP_HEIGHT);
  EXPECT_EQ(host::App().ui.questions.back().flags, 0) << "the size fits: a note, no question";
  host::PressButton(tag, ORLIXTAG_CUBE_RENDER_SETTINGS);
  EXPECT_EQ(host::App().ui.commands.back(), std::make_pair(Int32(12161), Int32(0)));
}

TEST_F(PanelTest, BitmapsAndIconOnRequest)
{
  EXPECT_TRUE(tag->Message(MSG_DESCRIPTION_GETBITMAP, nullptr)) << "null data is no request";
  DescriptionGetBitmap red{DescID(ORLIXTAG_SEPARATION_MAP_BITMAP)}, other{DescID(ORLIXTAG_LENS)};
  tag->Message(MSG_DESCRIPTION_GETBITMAP, &red);
  tag->Message(MSG_DESCRIPTION_GETBITMAP, &other);
  ASSERT_NE(red.bmp, nullptr);
  UInt16 r = 0, g = 0, b = 0;
  red.bmp->GetPixel(49, 49, &r, &g, &b);
  EXPECT_EQ(red.bmp->GetBw(), 50);
  EXPECT_TRUE(r > 0 && g == 0 && b == 0);
  EXPECT_EQ(other.bmp, nullptr);
  BaseBitmap::Free(red.bmp);

  auto* vpData = static_cast<OrlixCamVP*>(vp->GetNodeData());
  DescriptionGetBitmap empty{DescID(ORLIXVP_CUBE_CELL_FIRST)}, outside{DescID(ORLIXVP_CUBE_CELL_FIRST + 5)};
  vp->Message(MSG_DESCRIPTION_GETBITMAP, &empty); // the cross's top-left cell holds no face
  vp->Message(MSG_DESCRIPTION_GETBITMAP, &outside);
  ASSERT_TRUE(empty.bmp && outside.bmp);
  EXPECT_EQ(empty.bmp->GetBw(), vpData->faceBitmaps[6]->GetBw());
  EXPECT_EQ(outside.bmp->GetBw(), 0) << "beyond the grid: an empty bitmap";
  BaseBitmap::Free(empty.bmp), BaseBitmap::Free(outside.bmp);

  auto* tagData = static_cast<OrlixTag*>(tag->GetNodeData());
  IconData icon;
  GetCustomIconData request{&icon, false};
  tag->Message(MSG_GETCUSTOMICON, &request);
  EXPECT_TRUE(request.filled && icon.bmp == tagData->iconBitmaps[1] && icon.w == 32);
  camera->SetRenderMode(MODE_OFF);
  tag->Message(MSG_GETCUSTOMICON, &request);
  EXPECT_EQ(icon.bmp, tagData->iconBitmaps[0]) << "a camera off for rendering shows the tag off";
}
