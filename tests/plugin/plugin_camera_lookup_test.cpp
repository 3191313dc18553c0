// Finding the lens camera without the view's link (the render start's test): the first enabled tagged camera.
#include <memory>

#include "OrlixCamVP.h"
#include "OrlixTag.h"
#include "description/OrlixTag.h"
#include "plugin_fixture.h"

namespace
{
struct LookupTest : PluginTest
{
  std::unique_ptr<OrlixCamVP> state{static_cast<OrlixCamVP*>(OrlixCamVP::Alloc())};

  BaseObject* Camera(const char* name, BaseObject* parent = nullptr)
  {
    BaseObject* cam = BaseObject::Alloc(Ocamera);
    cam->SetName(String(name));
    if (parent)
      cam->InsertUnderLast(parent);
    else
      doc->InsertObject(cam, nullptr, nullptr);
    return cam;
  }
  static BaseTag* Tag(BaseObject* cam) { return cam->MakeTag(OrlixTag::ID); }
};
} // namespace

TEST_F(LookupTest, SearchFindsTheFirstEnabledTaggedCameraDepthFirst)
{
  // Last in the list, a tagged object that is no camera: found if nothing else is, it would be wrong.
  BaseObject* null = BaseObject::Alloc(Onull);
  doc->InsertObject(null, nullptr, nullptr);
  Tag(null);
  BaseObject* off = Camera("Render mode off");
  BaseTag* offTag = Tag(off);
  BaseObject* disabled = Camera("Tag disabled");
  Tag(disabled)->GetDataInstance()->SetBool(ORLIXTAG_ENABLED, false);
  BaseObject* child = Camera("Child of disabled", disabled);
  BaseTag* childTag = Tag(child);
  // The document lists the last inserted first: disabled (with its child), then off.
  off->SetRenderMode(MODE_OFF);
  ASSERT_EQ(doc->GetFirstObject(), disabled);

  FindCameraAndTag(*state, doc);
  EXPECT_EQ(state->camera, child) << "a passed-over camera's children are still searched";
  EXPECT_EQ(state->tag, childTag);
  EXPECT_EQ(state->tagData, childTag->GetDataInstance());
  EXPECT_TRUE(state->switchSceneCamera);

  childTag->GetDataInstance()->SetBool(ORLIXTAG_ENABLED, false);
  state->switchSceneCamera = false;
  FindCameraAndTag(*state, doc);
  EXPECT_EQ(state->camera, nullptr) << "a camera switched off for rendering is passed over, and so is a non-camera";
  EXPECT_FALSE(state->switchSceneCamera);

  off->SetRenderMode(MODE_ON);
  FindCameraAndTag(*state, doc);
  EXPECT_EQ(state->tag, offTag);
}

TEST_F(LookupTest, DocumentFallsBackToTheActiveOneThenToNothing)
{
  BaseObject* cam = Camera("Cam");
  Tag(cam);
  FindCameraAndTag(*state, nullptr);
  EXPECT_EQ(state->camera, cam) << "without a document the active one is searched";

  host::ResetApp();
  doc = nullptr;
  state->camera = reinterpret_cast<BaseObject*>(0x1);
  EXPECT_EQ(FindCameraAndTag(*state, nullptr), nullptr);
  EXPECT_EQ(state->camera, nullptr);
  EXPECT_EQ(state->tagData, nullptr);
}
