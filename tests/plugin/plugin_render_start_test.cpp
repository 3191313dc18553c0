// The render-start check, the camera counts and the channel plan, driven stage by stage; and the
// channel records' hand-written copy.
#include <memory>

#include "OrlixCamVP.h"
#include "OrlixTag.h"
#include "description/OrlixCam.h"
#include "description/OrlixTag.h"
#include "plugin_fixture.h"

namespace
{
// A running render without a picture: only its own copy of the settings.
class SettingsRender : public Render
{
public:
  explicit SettingsRender(const BaseContainer& bc) : settings(bc) {}
  VPBuffer* GetBuffer(Int32, Int32) override { return nullptr; }
  BaseContainer GetRenderData() const override { return settings; }
  void SetRenderData(const BaseContainer& bc) override { settings = bc; }
  BaseContainer settings;
};

struct RenderStart : PluginTest
{
  BaseObject* cam = nullptr;
  BaseTag* tag = nullptr;
  BaseVideoPost* vpNode = nullptr;
  OrlixCamVP* vp = nullptr;

  void SetUp() override
  {
    PluginTest::SetUp();
    cam = AddTaggedCamera("Lens");
    tag = cam->GetTag(OrlixTag::ID);
    vpNode = doc->GetActiveRenderData()->GetFirstVideoPost();
    vp = static_cast<OrlixCamVP*>(vpNode->GetNodeData());
  }
  BaseContainer& Tag() { return *tag->GetDataInstance(); }
  BaseContainer& VP() { return *vpNode->GetDataInstance(); }
  BaseContainer& Settings() { return *doc->GetActiveRenderData()->GetDataInstance(); }

  /// AllocateBuffers and the opening of the frame sequence, as the host runs them.
  std::unique_ptr<SettingsRender> Start(Int32 w, Int32 h)
  {
    Settings().SetInt32(RDATA_XRES, w);
    Settings().SetInt32(RDATA_YRES, h);
    auto render = std::make_unique<SettingsRender>(doc->GetActiveRenderData()->GetData());
    vp->AllocateBuffers(vpNode, render.get(), doc);
    Open(VIDEOPOSTCALL_FRAMESEQUENCE, render.get());
    return render;
  }
  void Open(VIDEOPOSTCALL call = VIDEOPOSTCALL_RENDER, Render* render = nullptr)
  {
    VideoPostStruct vps;
    vps.vp = call;
    vps.open = true;
    vps.doc = doc;
    vps.render = render;
    vp->Execute(vpNode, &vps);
  }
};
} // namespace

TEST_F(RenderStart, MissingCameraOrTagOrATagSwitchedOffTurnsTheLensOff)
{
  tag->Remove();
  BaseTag::Free(tag);
  Start(64, 64);
  EXPECT_FALSE(vp->isActive);
  EXPECT_EQ(vp->GetRenderInfo(vpNode), VIDEOPOSTINFO_NONE);
  EXPECT_TRUE(host::App().console.Contains(String("--- OrlixCam: No Orlix camera found! Create a camera on the Plugins Menu.")));
  EXPECT_EQ(vp->StereoGetCameraCountEditor(vpNode, doc, nullptr), 0) << "the editor sees no eyes either";

  // A view linked to a camera without tag: the search for a tagged camera doesn't run.
  BaseObject* tagged = AddTaggedCamera("Tagged");
  doc->GetRenderBaseDraw()->SetSceneCamera(cam);
  host::App().console.Clear();
  Start(64, 64);
  EXPECT_FALSE(vp->isActive);
  EXPECT_TRUE(host::App().console.Contains(String("--- OrlixCam: No Orlix tag found! Add a Orlix tag to the active camera.")));

  // Linked from the view, a camera is found though its tag is off; the lens stays off, silently.
  doc->GetRenderBaseDraw()->SetSceneCamera(tagged);
  tagged->GetTag(OrlixTag::ID)->GetDataInstance()->SetBool(ORLIXTAG_ENABLED, false);
  host::App().console.Clear();
  Start(64, 64);
  EXPECT_FALSE(vp->isActive);
  EXPECT_TRUE(host::App().console.Lines().empty()) << host::App().console.Lines().front();
}

TEST_F(RenderStart, CountsForEveryCase)
{
  RenderData* rd = doc->GetActiveRenderData();
  struct Case { Int32 lens, layout, stereoMode; Bool stereo; Int32 images; } cases[] = {
    // One row for each setting read; how they combine is the channel plan's test's.
    {1, 0, 0, true, 2}, {1, 0, 3, true, 1}, {3, 6, 0, false, 1}, {3, 0, 0, false, 6},
  };
  for (const Case& c : cases)
  {
    Tag().SetInt32(ORLIXTAG_LENS, c.lens);
    VP().SetInt32(ORLIXVP_CUBE_LAYOUT, c.layout);
    VP().SetInt32(ORLIXVP_STEREO_MODE, c.stereoMode);
    Settings().SetBool(RDATA_STEREO, c.stereo);
    EXPECT_EQ(vp->StereoGetCameraCountRenderer(vpNode, doc, rd), c.images)
      << "lens " << c.lens << " layout " << c.layout << " mode " << c.stereoMode << " stereo " << c.stereo;
  }
  vp->isPreview = true;
  EXPECT_EQ(vp->StereoGetCameraCountRenderer(vpNode, doc, rd), 1) << "a preview shoots one image";
  EXPECT_EQ(vp->eyeCount, 0);
}

TEST_F(RenderStart, EyeCamerasSitOnTheCamerasXAxis)
{
  vp->StereoGetCameraCountRenderer(vpNode, doc, doc->GetActiveRenderData());
  StereoCameraInfo left, right, other;
  ASSERT_TRUE(vp->StereoGetCameraInfo(vpNode, doc, nullptr, nullptr, 0, left));
  ASSERT_TRUE(vp->StereoGetCameraInfo(vpNode, doc, nullptr, nullptr, 1, right));
  EXPECT_EQ(left.m.off, Vector(-3.25, 0, 0));
  EXPECT_EQ(right.m.off, Vector(3.25, 0, 0));
  EXPECT_EQ(left.strName, String("0"));
  ASSERT_TRUE(vp->StereoGetCameraInfo(vpNode, doc, nullptr, nullptr, 2, other));
  EXPECT_EQ(other.strName, String("2"));
  EXPECT_EQ(other.m, right.m);
  EXPECT_FALSE(vp->StereoGetCameraInfo(vpNode, doc, nullptr, nullptr, 3, other));
  EXPECT_FALSE(vp->StereoGetCameraInfo(vpNode, doc, nullptr, nullptr, -1, other));
}

TEST_F(RenderStart, StereoSwitchesAlphaOffInTheRunningRenderOnlyAndSwappedEyesTakeTheirFlipsAlong)
{
  // The odd width's lost column is the whole-render side-by-side test's.
  VP().SetInt32(ORLIXVP_STEREO_MODE, 1);
  VP().SetBool(ORLIXVP_FLIP_X_RIGHT, true);
  VP().SetBool(ORLIXVP_SWAP_EYES, true);
  Settings().SetBool(RDATA_STEREO, true);
  Settings().SetBool(RDATA_ALPHACHANNEL, true);
  auto render = Start(1000, 500);
  EXPECT_TRUE(vp->settings.isStereo);
  EXPECT_FALSE(render->settings.GetBool(RDATA_ALPHACHANNEL));
  EXPECT_TRUE(Settings().GetBool(RDATA_ALPHACHANNEL)) << "the document's settings stay as they were";
  EXPECT_TRUE(host::App().console.Contains(String("Alpha channel disabled for Stereoscopic render")));
  EXPECT_EQ(vp->plan.eyes[0].channelIndex, 1) << "swapped: the first image is the right eye";
  EXPECT_TRUE(vp->plan.eyes[0].flipX) << "flips follow the eye, not the place";
  EXPECT_FALSE(vp->plan.eyes[1].flipX);
}

TEST_F(RenderStart, SnapshotTakesTheLensSettingsAndTheDomeItsLogoCorner)
{
  Tag().SetInt32(ORLIXTAG_LENS, 0);
  Tag().SetBool(ORLIXTAG_PANO_CUSTOM, true);
  Tag().SetFloat(ORLIXTAG_PANO_FOV_H, PI);
  Tag().SetFloat(ORLIXTAG_PANO_LAT_MIN, -PI / 4);
  VP().SetBool(ORLIXVP_SLATE, true);
  Start(200, 100);
  EXPECT_EQ(vp->settings.lens, LensKind::Panorama);
  EXPECT_DOUBLE_EQ(vp->settings.spanStart, 0.25);
  EXPECT_DOUBLE_EQ(vp->settings.spanEnd, 0.75);
  EXPECT_DOUBLE_EQ(vp->settings.verticalStart, 0.25);
  EXPECT_DOUBLE_EQ(vp->settings.verticalEnd, 1.0);
  EXPECT_FALSE(vp->settings.slateOn) << "the slate belongs to domes only";

  // A dome's logo corner; pictures that don't load are the whole-render tests'.
  Tag().SetInt32(ORLIXTAG_LENS, 1);
  Start(1000, 1000);
  Open();
  EXPECT_EQ(vp->activeArea.radius, 500.0);
  EXPECT_DOUBLE_EQ(vp->logoInset, 146.44660940672628);
  EXPECT_EQ(vp->logoCorner.end, Vector(999, 999, 0));
  EXPECT_EQ(vp->logoCorner.width, 147);
}

TEST_F(RenderStart, CubemapPreviewIsOneSquareFace)
{
  // The 2:1 box of the other lenses is the whole-render editor test's.
  Tag().SetFloat(ORLIXTAG_ASPECT_MONO, 2.0);
  vp->isPreview = true;
  Tag().SetInt32(ORLIXTAG_LENS, 3);
  Start(1000, 1000);
  EXPECT_EQ(vp->plan.frameArea.height, 1000) << "a cubemap preview is square";
  EXPECT_EQ(vp->gridSize, Vector(1, 1, 0)) << "a preview shows one face";
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
