// The menu commands: the six create commands on a fresh scene and on a selection, their undo
// step, the help commands' submenu and manual, and the order of the start chain.
#include <optional>

#include "OrlixCreateCamera.h"
#include "OrlixHelpCommands.h"
#include "commands.h"
#include "description/OrlixCam.h"
#include "description/OrlixTag.h"
#include "plugin_fixture.h"
#include "scene/scene_file.h"
#include "support/scratch_dir.h"

namespace
{
struct CreateCase
{
  const char* name;
  Int32 id;
  Int32 lens, eyeModel, zenith;
  Float fov;
  bool pad, protect;
  std::optional<Float> pitch; ///< the camera's new pitch; none: its rotation stays
  std::optional<Float> focus; ///< none: the camera's focal length stays
  bool planetMove;            ///< a camera at the origin goes up to (0, 200, 0)
};

const CreateCase kCreates[] = {
  {"Fulldome", 1036701, 1, 2, 1, PI, true, true, PI05, 8.0, false},
  {"Fisheye", 1035136, 1, 3, 0, PI, true, false, std::nullopt, 8.0, false},
  {"Panorama", 1035137, 0, 2, 0, PI, false, false, std::nullopt, std::nullopt, false},
  {"Cylindrical", 1036297, 2, 2, 0, PI, false, false, std::nullopt, std::nullopt, false},
  {"Cubemap", 1036110, 3, 2, 0, PI, false, false, std::nullopt, 18.0, false},
  {"Little Planet", 1036687, 1, 3, 0, 5.497786998748779, true, false, -PI05, 8.0, true},
};

enum class Selected { Nothing, Camera, Cube };

class CommandTest : public PluginTest
{
protected:
  /// A scene of a cube and a camera at (0, 0, 1), turned and with a 50 mm lens; `pick` selected.
  void Stage(Selected pick)
  {
    cube = BaseObject::Alloc(Ocube);
    cube->SetName(String("Box"));
    doc->InsertObject(cube, nullptr, nullptr);
    cam = BaseObject::Alloc(Ocamera);
    cam->SetName(String("Shot"));
    cam->InsertUnder(cube);
    cam->SetMl(MatrixMove(Vector(0, 0, 1)) * MatrixRotY(0.3));
    static_cast<CameraObject*>(cam)->SetFocus(50.0);
    doc->SetActiveObject(pick == Selected::Camera ? cam : pick == Selected::Cube ? cube : nullptr);
  }

  std::string Saved(const char* name)
  {
    host::scene::SceneError error;
    EXPECT_TRUE(host::scene::SaveScene(doc, scratch.Path(name), &error)) << error.Message();
    return ScratchDir::Read(scratch.Path(name));
  }

  BaseObject* cube = nullptr;
  BaseObject* cam = nullptr;
  ScratchDir scratch;
};
} // namespace

TEST_F(CommandTest, EachCreateCommandOnAFreshSceneACameraAndAnotherObject)
{
  for (const CreateCase& c : kCreates)
    for (Selected pick : {Selected::Nothing, Selected::Camera, Selected::Cube})
    {
      const std::string what = std::string(c.name) + " with " + (pick == Selected::Camera ? "the camera" : pick == Selected::Cube ? "a cube" : "nothing") + " selected";
      host::ResetApp();
      ASSERT_TRUE(PluginStart());
      doc = BaseDocument::Alloc();
      SetActiveDocument(doc);
      Stage(pick);
      BaseObject* const selected = doc->GetActiveObject();
      ASSERT_TRUE(host::RunCommand(doc, c.id)) << what;

      BaseObject* target = pick == Selected::Camera ? cam : doc->GetFirstObject();
      ASSERT_TRUE(target->IsInstanceOf(Ocamera)) << what << ": a new camera stands at the top";
      EXPECT_EQ(target == cam, pick == Selected::Camera) << what;
      EXPECT_EQ(cam->GetUp(), cube) << what << ": the selected camera keeps its place";
      EXPECT_EQ(doc->GetActiveObject(), selected) << what << ": the object selection stays";
      BaseTag* tag = target->GetFirstTag();
      ASSERT_TRUE(tag && tag->IsInstanceOf(1035138)) << what;
      EXPECT_EQ(doc->GetActiveTag(), tag) << what;

      const BaseContainer* t = tag->GetDataInstance();
      EXPECT_EQ(t->GetInt32(ORLIXTAG_CREATED_BY), c.id) << what;
      EXPECT_EQ(t->GetInt32(ORLIXTAG_LENS), c.lens) << what;
      EXPECT_EQ(t->GetInt32(ORLIXTAG_EYE_MODEL), c.eyeModel) << what;
      EXPECT_EQ(t->GetInt32(ORLIXTAG_DOME_ZENITH), c.zenith) << what;
      EXPECT_EQ(t->GetFloat(ORLIXTAG_DOME_FOV), c.fov) << what;
      EXPECT_EQ(t->GetVector(ORLIXTAG_PROBE_PAD) == Vector(0.5, 0.5, 1.0), c.pad) << what;
      EXPECT_EQ(t->GetBool(ORLIXTAG_PROTECT_CAMERA), c.protect) << what;
      // The tag's own reaction to who created it.
      EXPECT_EQ(target->GetDataInstance()->GetBool(CAMERAOBJECT_SHOWCONE, true), c.id == 1036110) << what;
      BaseVideoPost* vp = doc->GetActiveRenderData()->GetFirstVideoPost();
      ASSERT_NE(vp, nullptr) << what << ": the tag brings the video post";
      EXPECT_EQ(vp->GetDataInstance()->GetInt32(ORLIXVP_MASK_MODE) == ORLIXVP_MASK_MODE_NONE, c.id == 1036687) << what;

      const Matrix before = target == cam ? MatrixMove(Vector(0, 0, 1)) * MatrixRotY(0.3) : Matrix();
      const Matrix& ml = target->GetMl();
      const Vector pos = c.planetMove && before.off == Vector() ? Vector(0, 200, 0) : before.off;
      EXPECT_EQ(ml.off, pos) << what;
      if (c.pitch)
      {
        EXPECT_NEAR(ml.v3.y, *c.pitch > 0 ? 1.0 : -1.0, 1e-12) << what << ": the camera looks straight up or down";
        EXPECT_NEAR(ml.v1.x, 1.0, 1e-12) << what << ": heading and bank are 0";
      }
      else
        EXPECT_TRUE(ml.v1 == before.v1 && ml.v2 == before.v2 && ml.v3 == before.v3) << what;
      const Float focusBefore = target == cam ? 50.0 : 36.0;
      EXPECT_EQ(static_cast<CameraObject*>(target)->GetFocus(), c.focus.value_or(focusBefore)) << what;

      std::vector<host::UndoCall> calls;
      if (target != cam)
        calls.push_back({UNDOTYPE_NEWOBJ, target});
      calls.push_back({UNDOTYPE_NEWOBJ, tag});
      if (c.focus)
        calls.push_back({UNDOTYPE_CHANGE, target});
      EXPECT_EQ(host::LastUndoStep(doc), calls) << what << ": one step with the calls of the command";
    }
}

TEST_F(CommandTest, UndoGivesBackTheDocumentAndRedoTheCommandsOwn)
{
  for (const CreateCase& c : kCreates)
    for (Selected pick : {Selected::Nothing, Selected::Camera})
    {
      host::ResetApp();
      ASSERT_TRUE(PluginStart());
      doc = BaseDocument::Alloc();
      SetActiveDocument(doc);
      if (pick == Selected::Camera)
        Stage(pick);
      const std::string before = Saved("before.json");
      ASSERT_TRUE(host::RunCommand(doc, c.id));
      // Twice: two steps (on a selected camera, two tags).
      ASSERT_TRUE(host::RunCommand(doc, c.id));
      BaseTag* second = doc->GetActiveTag();
      const std::string after = Saved("after.json");
      ASSERT_TRUE(doc->DoUndo());
      ASSERT_TRUE(doc->DoUndo());
      EXPECT_FALSE(doc->DoUndo()) << "two steps only";
      EXPECT_EQ(Saved("undone.json"), before) << c.name << ": undo gives back the scene";
      EXPECT_EQ(doc->GetActiveTag(), nullptr) << c.name;
      ASSERT_TRUE(doc->DoRedo());
      ASSERT_TRUE(doc->DoRedo());
      EXPECT_EQ(Saved("redone.json"), after) << c.name << ": redo brings the very same document";
      EXPECT_EQ(doc->GetActiveTag(), second) << c.name;
      if (pick == Selected::Camera)
      {
        EXPECT_EQ(cam->GetTag(1035138, 1), second->GetNext()) << c.name << ": a second run gives the camera a second tag";
      }
    }
}

TEST_F(CommandTest, ExamplesSubmenuListsSortsAndLoadsTheFolder)
{
  host::SetPluginFolder(Filename(scratch.dir.string().c_str()));
  const auto submenu = [&] { return host::BuildMenu(doc).back(); };
  host::MenuCommand m = submenu();
  ASSERT_EQ(m.id, OrlixExamplesCommand::ID) << "the Examples command stands last";
  ASSERT_EQ(m.sub.size(), 1u);
  EXPECT_EQ(m.sub[0].subId, 9999);
  EXPECT_EQ(m.sub[0].label, String("No Examples found")) << "no Examples folder";
  EXPECT_TRUE(host::RunCommand(doc, m.id, 9999)) << "picking it does nothing";

  std::filesystem::create_directories(scratch.dir / "Examples" / "more");
  const std::string scene = R"({"format": "orlixcam-scene/1", "objects": [{"type": "cube", "name": "Loaded"}]})";
  scratch.Write("Examples/scene 10.json", scene);
  scratch.Write("Examples/scene 2.json", scene);
  scratch.Write("Examples/a.json", "not a scene");
  m = submenu();
  EXPECT_EQ(m.subTitle, String("Examples"));
  std::vector<std::pair<Int32, std::string>> entries;
  for (const host::MenuItem& item : m.sub)
  {
    entries.emplace_back(item.subId, item.label.GetStdString());
    EXPECT_EQ(item.iconId, OrlixExamplesCommand::ID) << item.label;
  }
  const std::vector<std::pair<Int32, std::string>> want = {{1000, "a.json"}, {1001, "more"}, {1002, "scene 2.json"}, {1003, "scene 10.json"}};
  EXPECT_EQ(entries, want) << "every entry, numbers in order, ids from 1000 without gaps";

  ASSERT_TRUE(host::RunCommand(doc, m.id, 1003));
  BaseDocument* loaded = GetActiveDocument();
  ASSERT_NE(loaded, doc) << "the example comes as a further, active document";
  EXPECT_NE(loaded->SearchObject(String("Loaded")), nullptr);
  EXPECT_EQ(host::App().documents.size(), 2u) << "the current document stays open";
  for (Int32 bad : {1000, 1001})
  {
    EXPECT_FALSE(host::RunCommand(doc, m.id, bad));
    EXPECT_TRUE(host::App().console.Contains(String("Error loading example [") + String(scratch.Path("Examples/" + want[bad - 1000].second)) + String("]")))
      << want[bad - 1000].second;
  }
  EXPECT_EQ(GetActiveDocument(), loaded) << "a failed load leaves the active document";
}

TEST_F(CommandTest, ManualIsHandedToTheSystemFromThePluginFolder)
{
  host::SetPluginFolder(Filename(scratch.dir.string().c_str()));
  EXPECT_TRUE(host::RunCommand(doc, OrlixManualCommand::ID)) << "a missing manual shows nothing";
  EXPECT_TRUE(host::App().ui.openedFiles.empty());
  scratch.Write("Manual.pdf", "%PDF-1.4");
  EXPECT_TRUE(host::RunCommand(doc, OrlixManualCommand::ID));
  ASSERT_EQ(host::App().ui.openedFiles.size(), 1u);
  EXPECT_EQ(host::App().ui.openedFiles[0], String(scratch.Path("Manual.pdf")));
}

TEST_F(CommandTest, StartRegistersInOrderAndStopsAtTheFirstFailure)
{
  const std::vector<Int32> chain = {1033675, 1036701, 1035136, 1035137, 1036297, 1036110, 1036687, 1035138, 1036905, 1041519, 1041520};
  // A squatter on each id in turn: the chain runs up to it and no further.
  for (size_t failAt = 0; failAt <= chain.size(); ++failAt)
  {
    host::ResetApp();
    if (failAt < chain.size())
    {
      host::PluginEntry squatter;
      squatter.id = chain[failAt];
      ASSERT_TRUE(host::App().plugins.Add(squatter));
    }
    EXPECT_EQ(PluginStart(), failAt == chain.size()) << "failing at " << failAt;
    std::vector<Int32> registered;
    for (const host::PluginEntry& e : host::App().plugins.All())
      if (e.name.IsPopulated())
        registered.push_back(e.id);
    EXPECT_EQ(registered, std::vector<Int32>(chain.begin(), chain.begin() + static_cast<long>(failAt))) << "failing at " << failAt;
  }
  // Each command's name is its help, from the string table.
  for (const host::MenuCommand& m : host::BuildMenu(doc))
  {
    EXPECT_TRUE(m.name.IsPopulated() && m.name == m.help) << m.id;
    EXPECT_TRUE(m.hasIcon) << m.id;
    EXPECT_EQ(m.state, CMD_ENABLED) << m.id;
  }
}
