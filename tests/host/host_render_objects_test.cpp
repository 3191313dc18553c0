// What the render reads of the scene: polygon objects and the camera it shoots through.
#include <gtest/gtest.h>

#include "c4d.h"
#include "c4d_objects.h"
#include "host_app.h"
#include "render/render_scene.h"

TEST(HostRenderObjects, PolygonObjectCountsResizeAndTextureCoordinates)
{
  EXPECT_EQ(PolygonObject::Alloc(-1, 0), nullptr);
  EXPECT_EQ(PolygonObject::Alloc(0, -1), nullptr);
  PolygonObject* mesh = PolygonObject::Alloc(4, 2);
  ASSERT_NE(mesh, nullptr);
  EXPECT_EQ(mesh->GetType(), Opolygon);
  EXPECT_EQ(mesh->GetPointCount(), 4);
  EXPECT_EQ(mesh->GetPolygonCount(), 2);
  EXPECT_EQ(mesh->GetPointR()[3], Vector()) << "new points are at the origin";
  EXPECT_EQ(mesh->GetUVWR(), nullptr) << "no texture coordinates until asked for";

  mesh->GetPointW()[1] = Vector(1, 2, 3);
  mesh->GetPolygonW()[0] = CPolygon(0, 1, 2);
  mesh->GetPolygonW()[1] = CPolygon(0, 2, 3, 1);
  EXPECT_TRUE(mesh->GetPolygonR()[0].IsTriangle());
  EXPECT_FALSE(mesh->GetPolygonR()[1].IsTriangle());

  ASSERT_TRUE(mesh->SetUVWEnabled(true));
  ASSERT_NE(mesh->GetUVWW(), nullptr);
  mesh->GetUVWW()[1].c = Vector(0.5, 0.25, 0);
  ASSERT_TRUE(mesh->ResizeObject(6, 3));
  EXPECT_EQ(mesh->GetPointR()[1], Vector(1, 2, 3)) << "resizing keeps what fits";
  EXPECT_EQ(mesh->GetUVWR()[1].c, Vector(0.5, 0.25, 0)) << "texture coordinates follow the polygons";
  EXPECT_FALSE(mesh->ResizeObject(-1, 3));
  ASSERT_TRUE(mesh->SetUVWEnabled(false));
  EXPECT_EQ(mesh->GetUVWR(), nullptr);

  BaseObject* op = mesh;
  BaseObject::Free(op);
}

TEST(HostRenderObjects, RenderCameraIsTheLinkElseTheFirstDepthFirstElseTheEditorCamera)
{
  host::ResetApp();
  BaseDocument* doc = BaseDocument::Alloc();
  BaseDraw* view = doc->GetRenderBaseDraw();
  EXPECT_EQ(host::render::FindRenderCamera(doc), view->GetEditorCamera()) << "an empty scene";

  // rig (null) > [box, nested camera], then a top-level camera after the rig.
  BaseObject* rig = BaseObject::Alloc(Onull);
  BaseObject* box = BaseObject::Alloc(Ocube);
  BaseObject* nested = BaseObject::Alloc(Ocamera);
  BaseObject* top = BaseObject::Alloc(Ocamera);
  doc->InsertObject(rig, nullptr, nullptr);
  doc->InsertObject(top, nullptr, rig);
  doc->InsertObject(nested, rig, nullptr);
  doc->InsertObject(box, rig, nullptr);
  ASSERT_EQ(rig->GetDown(), box);
  ASSERT_EQ(rig->GetNext(), top);
  EXPECT_EQ(host::render::FindRenderCamera(doc), nested) << "depth first: the rig's children come before its sibling";

  view->SetSceneCamera(top);
  EXPECT_EQ(host::render::FindRenderCamera(doc), top) << "the render view's link wins";
  EXPECT_EQ(host::render::FindRenderCamera(nullptr), nullptr);
  BaseDocument::Free(doc);
}
