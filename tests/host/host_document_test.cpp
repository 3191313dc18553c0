// Documents: object trees, tags, the render view, the active document and the registry.
#include <gtest/gtest.h>

#include "c4d.h"
#include "host_app.h"

namespace
{
struct DocTest : ::testing::Test
{
  void SetUp() override
  {
    host::ResetApp();
    doc = BaseDocument::Alloc();
    SetActiveDocument(doc);
  }
  void TearDown() override { host::ResetApp(); }
  BaseDocument* doc = nullptr;
};
} // namespace

TEST_F(DocTest, NodesKnowTheirDocumentAtAnyDepth)
{
  BaseObject* rig = BaseObject::Alloc(Onull);
  BaseObject* cam = BaseObject::Alloc(Ocamera);
  doc->InsertObject(rig, nullptr, nullptr);
  doc->InsertObject(cam, rig, nullptr);
  BaseTag* tag = cam->MakeTag(Tprotection);
  ASSERT_NE(tag, nullptr);
  EXPECT_EQ(cam->GetDocument(), doc);
  EXPECT_EQ(tag->GetDocument(), doc);
  EXPECT_EQ(doc->SearchObject(String()), rig) << "unnamed objects match the empty name";
  cam->SetName(String("Dome"));
  EXPECT_EQ(doc->SearchObject(String("Dome")), cam);
  cam->Remove();
  EXPECT_EQ(cam->GetDocument(), nullptr) << "a removed object belongs to no document";
  EXPECT_EQ(tag->GetDocument(), nullptr);
  BaseObject::Free(cam);
}

TEST_F(DocTest, ADeletedCameraLeavesNoDanglingViewLink)
{
  BaseDraw* view = doc->GetRenderBaseDraw();
  ASSERT_NE(view, nullptr);
  EXPECT_EQ(view->GetSceneCamera(doc), view->GetEditorCamera()) << "without a link the view shoots its own camera";
  BaseObject* cam = BaseObject::Alloc(Ocamera);
  doc->InsertObject(cam, nullptr, nullptr);
  view->SetSceneCamera(cam);
  EXPECT_EQ(view->GetSceneCamera(doc), cam);
  cam->Remove();
  BaseObject::Free(cam);
  EXPECT_FALSE(view->HasCameraLink());
  EXPECT_EQ(view->GetSceneCamera(doc), view->GetEditorCamera());
}

TEST_F(DocTest, KillingTheActiveDocumentActivatesAnother)
{
  BaseDocument* second = BaseDocument::Alloc();
  InsertBaseDocument(second);
  EXPECT_EQ(GetActiveDocument(), doc);
  KillDocument(doc);
  EXPECT_EQ(GetActiveDocument(), second);
  KillDocument(second);
  EXPECT_EQ(GetActiveDocument(), nullptr);
}

TEST_F(DocTest, PluginFolderAndRegistryIds)
{
  host::SetPluginFolder(Filename("/opt/plugins/OrlixCam"));
  EXPECT_EQ(GeGetPluginResourcePath().GetString(), String("/opt/plugins/OrlixCam/res"));
  host::PluginEntry e;
  e.id = 5;
  EXPECT_TRUE(host::App().plugins.Add(e));
  EXPECT_FALSE(host::App().plugins.Add(e)) << "an id can be registered once";
  e.id = 0;
  EXPECT_FALSE(host::App().plugins.Add(e));
  EXPECT_FALSE(RegisterVideoPostPlugin(6, String("x"), 0, nullptr, String(), 0, 0)) << "no allocator, no plug-in";
  EXPECT_FALSE(RegisterCommandPlugin(7, String("x"), 0, nullptr, String(), nullptr));
}
