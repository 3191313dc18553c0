// Documents: object trees, tags, render settings with video posts, views, and the console.
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
  EXPECT_EQ(tag->GetObject(), cam);
  EXPECT_EQ(cam->GetTag(Tprotection), tag);
  EXPECT_EQ(cam->GetTag(Tprotection, 1), nullptr);
  EXPECT_EQ(doc->GetActiveRenderData()->GetDocument(), doc);
  EXPECT_EQ(doc->SearchObject(String()), rig) << "unnamed objects match the empty name";
  cam->SetName(String("Dome"));
  EXPECT_EQ(doc->SearchObject(String("Dome")), cam);

  EXPECT_TRUE(cam->KillTag(Tprotection));
  EXPECT_EQ(cam->GetFirstTag(), nullptr);
  cam->Remove();
  EXPECT_EQ(cam->GetDocument(), nullptr) << "a removed object belongs to no document";
  BaseObject::Free(cam);
}

TEST_F(DocTest, VideoPostsKeepTheirOrder)
{
  RenderData* rd = doc->GetActiveRenderData();
  ASSERT_NE(rd, nullptr);
  BaseVideoPost* a = BaseVideoPost::Alloc(100);
  BaseVideoPost* b = BaseVideoPost::Alloc(200);
  BaseVideoPost* c = BaseVideoPost::Alloc(300);
  rd->InsertVideoPost(a);
  rd->InsertVideoPostLast(c);
  rd->InsertVideoPost(b, a);
  EXPECT_EQ(rd->GetFirstVideoPost(), a);
  EXPECT_EQ(a->GetNext(), b);
  EXPECT_EQ(b->GetNext(), c);
  a->Remove();
  BaseVideoPost::Free(a);
  EXPECT_EQ(rd->GetFirstVideoPost(), b) << "removing the first moves the head";
  EXPECT_EQ(rd->GetDataInstance()->GetInt32(RDATA_XRES), 800);
}

TEST_F(DocTest, RenderViewCameraLink)
{
  BaseDraw* view = doc->GetRenderBaseDraw();
  ASSERT_NE(view, nullptr);
  EXPECT_FALSE(view->HasCameraLink());
  EXPECT_EQ(view->GetSceneCamera(doc), view->GetEditorCamera()) << "without a link the view shoots its own camera";
  BaseObject* cam = BaseObject::Alloc(Ocamera);
  doc->InsertObject(cam, nullptr, nullptr);
  view->SetSceneCamera(cam);
  EXPECT_TRUE(view->HasCameraLink());
  EXPECT_EQ(view->GetSceneCamera(doc), cam);
  cam->Remove();
  BaseObject::Free(cam);
  EXPECT_FALSE(view->HasCameraLink()) << "a deleted camera leaves no dangling link";
  view->SetSceneCamera(nullptr);
  EXPECT_EQ(view->GetProjection(), CAMERA_PERSPECTIVE);
}

TEST_F(DocTest, ActiveDocumentAndConsole)
{
  EXPECT_EQ(GetActiveDocument(), doc);
  BaseDocument* second = BaseDocument::Alloc();
  InsertBaseDocument(second);
  EXPECT_EQ(GetActiveDocument(), doc);
  KillDocument(doc);
  EXPECT_EQ(GetActiveDocument(), second) << "killing the active document activates another";
  KillDocument(second);
  EXPECT_EQ(GetActiveDocument(), nullptr);

  GePrint(String("first"));
  GePrint(String("second line"));
  EXPECT_EQ(host::App().console.Lines().size(), 2u);
  EXPECT_TRUE(host::App().console.Contains(String("cond l")));
  EXPECT_FALSE(host::App().console.Contains(String("third")));
  EventAdd();
  EXPECT_EQ(host::App().ui.eventAdds, 1);
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
