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
};
} // namespace

TEST_F(LookupTest, SearchFindsTheFirstEnabledTaggedCameraDepthFirst)
{
  // Last in the list, a tagged object that is no camera: found if nothing else is, it would be wrong.
  BaseObject* null = BaseObject::Alloc(Onull);
  doc->InsertObject(null, nullptr, nullptr);
  null->MakeTag(OrlixTag::ID);
  BaseObject* off = AddTaggedCamera("Render mode off");
  BaseTag* offTag = off->GetTag(OrlixTag::ID);
  BaseObject* disabled = AddTaggedCamera("Tag disabled");
  disabled->GetTag(OrlixTag::ID)->GetDataInstance()->SetBool(ORLIXTAG_ENABLED, false);
  BaseObject* child = BaseObject::Alloc(Ocamera);
  child->InsertUnderLast(disabled);
  BaseTag* childTag = child->MakeTag(OrlixTag::ID);
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
  BaseObject* cam = AddTaggedCamera("Cam");
  FindCameraAndTag(*state, nullptr);
  EXPECT_EQ(state->camera, cam) << "without a document the active one is searched";

  host::ResetApp();
  doc = nullptr;
  state->camera = reinterpret_cast<BaseObject*>(0x1);
  EXPECT_EQ(FindCameraAndTag(*state, nullptr), nullptr);
  EXPECT_EQ(state->camera, nullptr);
  EXPECT_EQ(state->tagData, nullptr);
}
