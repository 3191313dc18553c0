// Documents and their nodes: object trees, matrices, tags, the render view and its camera, polygon
// objects, the active document, the registry and the expression pass.
#include <gtest/gtest.h>

#include <vector>

#include "c4d.h"
#include "c4d_objects.h"
#include "host_app.h"
#include "panel.h"
#include "render/render_scene.h"

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

TEST_F(DocTest, InsertAndRemoveKeepTheTreeConsistentAndNodesKnowTheirDocument)
{
  BaseObject* rig = BaseObject::Alloc(Onull);
  BaseObject* a = BaseObject::Alloc(Ocamera);
  BaseObject* b = BaseObject::Alloc(Onull);
  BaseObject* c = BaseObject::Alloc(Onull);
  doc->InsertObject(rig, nullptr, nullptr);
  a->InsertUnderLast(rig);
  c->InsertUnderLast(rig);
  b->InsertAfter(a);
  // The rig's children forward and backward, each knowing its parent.
  const auto children = [&] {
    std::vector<BaseObject*> forward, backward;
    for (BaseObject* op = rig->GetDown(); op; op = op->GetNext())
      forward.push_back(op->GetUp() == rig ? op : nullptr);
    for (GeListNode* op = rig->GetDownLast(); op; op = op->GetPred())
      backward.insert(backward.begin(), static_cast<BaseObject*>(op));
    EXPECT_EQ(forward, backward);
    return forward;
  };
  EXPECT_EQ(children(), (std::vector<BaseObject*>{a, b, c}));
  a->Remove();
  EXPECT_EQ(children(), (std::vector<BaseObject*>{b, c})) << "removing the first child moves the parent's link";
  a->InsertBefore(c);
  EXPECT_EQ(children(), (std::vector<BaseObject*>{b, a, c}));

  BaseTag* tag = a->MakeTag(Tprotection);
  ASSERT_NE(tag, nullptr);
  EXPECT_EQ(tag->GetDocument(), doc) << "a node two levels down knows its document";
  EXPECT_EQ(doc->SearchObject(String()), rig) << "unnamed objects match the empty name";
  a->SetName(String("Dome"));
  EXPECT_EQ(doc->SearchObject(String("Dome")), a);
  a->Remove();
  EXPECT_EQ(a->GetDocument(), nullptr) << "a removed object belongs to no document";
  EXPECT_EQ(tag->GetDocument(), nullptr);
  BaseObject::Free(a);

  // Global matrices chain the parents', and setting one sets the local matrix to match.
  rig->SetMl(MatrixMove(Vector(0, 100, 0)) * MatrixRotY(PI05));
  b->SetMl(MatrixMove(Vector(0, 0, 10)));
  EXPECT_NEAR((b->GetMg().off - Vector(-10, 100, 0)).GetLength(), 0.0, 1e-12);
  const Matrix wanted = MatrixMove(Vector(5, 6, 7)) * MatrixRotX(0.3);
  b->SetMg(wanted);
  EXPECT_NEAR((b->GetMg().off - wanted.off).GetLength() + (b->GetMg().v2 - wanted.v2).GetLength(), 0.0, 1e-12);
}

TEST_F(DocTest, RenderCameraIsTheLinkElseTheFirstDepthFirstElseTheEditorCamera)
{
  BaseDraw* view = doc->GetRenderBaseDraw();
  ASSERT_NE(view, nullptr);
  EXPECT_EQ(host::render::FindRenderCamera(doc), view->GetEditorCamera()) << "an empty scene";
  // rig (null) > [box, nested camera], then a top-level camera after the rig.
  BaseObject* rig = BaseObject::Alloc(Onull);
  BaseObject* nested = BaseObject::Alloc(Ocamera);
  BaseObject* top = BaseObject::Alloc(Ocamera);
  doc->InsertObject(rig, nullptr, nullptr);
  doc->InsertObject(top, nullptr, rig);
  doc->InsertObject(nested, rig, nullptr);
  doc->InsertObject(BaseObject::Alloc(Ocube), rig, nullptr);
  EXPECT_EQ(host::render::FindRenderCamera(doc), nested) << "depth first: the rig's children come before its sibling";
  view->SetSceneCamera(top);
  EXPECT_EQ(host::render::FindRenderCamera(doc), top) << "the render view's link wins";
  EXPECT_EQ(host::render::FindRenderCamera(nullptr), nullptr);

  top->Remove();
  BaseObject::Free(top);
  EXPECT_FALSE(view->HasCameraLink()) << "a deleted camera leaves no dangling link";
  EXPECT_EQ(view->GetSceneCamera(doc), view->GetEditorCamera());
}

TEST(HostPolygonObject, ResizeKeepsWhatFitsWithItsTextureCoordinates)
{
  EXPECT_EQ(PolygonObject::Alloc(-1, 0), nullptr);
  PolygonObject* mesh = PolygonObject::Alloc(4, 2);
  ASSERT_TRUE(mesh && mesh->SetUVWEnabled(true));
  mesh->GetPointW()[1] = Vector(1, 2, 3);
  mesh->GetUVWW()[1].c = Vector(0.5, 0.25, 0);
  ASSERT_TRUE(mesh->ResizeObject(6, 3));
  EXPECT_EQ(mesh->GetPointR()[1], Vector(1, 2, 3));
  EXPECT_EQ(mesh->GetUVWR()[1].c, Vector(0.5, 0.25, 0)) << "texture coordinates follow the polygons";
  EXPECT_FALSE(mesh->ResizeObject(-1, 3));
  BaseObject* op = mesh;
  BaseObject::Free(op);
}

TEST_F(DocTest, KillingTheActiveDocumentActivatesAnotherAndTheRegistryRefusesBadEntries)
{
  BaseDocument* second = BaseDocument::Alloc();
  InsertBaseDocument(second);
  EXPECT_EQ(GetActiveDocument(), doc);
  KillDocument(doc);
  EXPECT_EQ(GetActiveDocument(), second);
  KillDocument(second);
  EXPECT_EQ(GetActiveDocument(), nullptr);

  host::SetPluginFolder(Filename("/opt/plugins/OrlixCam"));
  EXPECT_EQ(GeGetPluginResourcePath().GetString(), String("/opt/plugins/OrlixCam/res"));
  // An id registered twice is the plug-in's entry tests' case.
  host::PluginEntry e;
  EXPECT_FALSE(host::App().plugins.Add(e)) << "id 0";
  EXPECT_FALSE(RegisterVideoPostPlugin(6, String("x"), 0, nullptr, String(), 0, 0)) << "no allocator, no plug-in";
  EXPECT_FALSE(RegisterCommandPlugin(7, String("x"), 0, nullptr, String(), nullptr));
}

namespace
{
std::vector<std::string> executed;

// An expression tag that notes its name when it runs.
struct NotingTag : TagData
{
  Int32 Execute(BaseTag* tag, BaseDocument*, BaseObject*, Int32, Int32) override
  {
    executed.push_back(tag->GetName().GetStdString());
    return 0;
  }
  static NodeData* Alloc() { return new NotingTag; }
};
} // namespace

TEST_F(DocTest, ExpressionPassRunsTagsByPriorityCameraDependentLast)
{
  ASSERT_TRUE(RegisterTagPlugin(1000101, String("Noting"), TAG_VISIBLE | TAG_EXPRESSION, NotingTag::Alloc, String(), nullptr, 0));
  ASSERT_TRUE(RegisterTagPlugin(1000102, String("Quiet"), TAG_VISIBLE, NotingTag::Alloc, String(), nullptr, 0));
  BaseObject* parent = BaseObject::Alloc(Onull);
  BaseObject* child = BaseObject::Alloc(Ocamera);
  doc->InsertObject(parent, nullptr, nullptr);
  doc->InsertObject(child, parent, nullptr);
  // name, object, priority, camera-dependent; the quiet tag isn't an expression and never runs
  const struct
  {
    const char* name;
    BaseObject* op;
    Int32 priority;
    Bool cameraDependent;
  } tags[] = {{"camera", parent, -100, true}, {"late", parent, 10, false}, {"early", child, -5, false}, {"tie", child, 10, false}};
  for (const auto& t : tags)
  {
    BaseTag* tag = BaseTag::Alloc(1000101);
    tag->SetName(String(t.name));
    PriorityData pd;
    pd.SetPriorityValue(PRIORITYVALUE_PRIORITY, GeData(t.priority));
    pd.SetPriorityValue(PRIORITYVALUE_CAMERADEPENDENT, GeData(t.cameraDependent));
    tag->GetDataInstance()->SetData(EXPRESSION_PRIORITY, GeData(CUSTOMDATATYPE_PRIORITY, pd));
    BaseTag* last = t.op->GetFirstTag();
    while (last && last->GetNext())
      last = last->GetNext();
    t.op->InsertTag(tag, last);
  }
  child->MakeTag(1000102);
  executed.clear();
  host::ExecuteExpressions(doc);
  EXPECT_EQ(executed, (std::vector<std::string>{"early", "late", "tie", "camera"})) << "ties keep the tree's order";
}

TEST_F(DocTest, AnUndoStepThatChangedNothingCanBeTakenBackAndOneThatChangedSomethingCannot)
{
  BaseObject* op = BaseObject::Alloc(Onull);
  doc->InsertObject(op, nullptr, nullptr);
  for (const Bool change : {false, true})
  {
    doc->StartUndo();
    doc->AddUndo(UNDOTYPE_CHANGE, op);
    if (change)
      op->SetName(String("moved on"));
    doc->EndUndo();
    ASSERT_TRUE(host::CanUndo(doc));
    EXPECT_EQ(host::DropLastUndoStepIfUnchanged(doc), !change) << "a step that changed " << (change ? "a name" : "nothing");
    EXPECT_EQ(host::CanUndo(doc), change);
  }
  ASSERT_TRUE(doc->DoUndo());
  EXPECT_EQ(op->GetName(), String()) << "the step that stayed is the one that changed the name";
}
