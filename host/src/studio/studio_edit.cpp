// The studio's attribute manager and scenes: panels, the user's edits and presses, saving and
// opening under the scene folder.
#include "studio/studio_impl.h"

#include <filesystem>

#include "host_app.h"
#include "panel.h"
#include "scene/scene_file.h"
#include "studio/studio_guard.h"

namespace fs = std::filesystem;

namespace host::studio
{
namespace
{
/// The scene file `path` names under `folder`: a .json inside it, else a Refusal.
std::string SceneFile(const std::string& folder, const std::string& path)
{
  if (fs::path(path).extension() != ".json")
    throw Refusal{400, path + ": a scene file's name ends in .json"};
  const std::optional<std::string> file = InsideFolder(folder, path);
  if (file)
    return *file;
  // Outside, or inside but in a folder that isn't there: say which.
  const fs::path asked = fs::path(path).is_absolute() ? fs::path(path) : fs::path(folder) / path;
  const fs::path normal = asked.lexically_normal();
  const bool looksInside = normal.string().rfind(fs::path(folder).lexically_normal().string() + "/", 0) == 0;
  std::error_code ec;
  if (looksInside && !fs::is_directory(normal.parent_path(), ec))
    throw Refusal{404, path + ": no folder " + normal.parent_path().string()};
  throw Refusal{403, path + ": scenes are saved and opened only under " + folder};
}

void ListScenes(const fs::path& folder, const fs::path& root, int depth, Json& out)
{
  std::error_code ec;
  for (fs::directory_iterator it(folder, ec), end; !ec && it != end && out.size() < 500; it.increment(ec))
  {
    const fs::path p = it->path();
    if (p.filename().string().front() == '.')
      continue;
    if (it->is_directory(ec) && depth < 3)
      ListScenes(p, root, depth + 1, out);
    else if (p.extension() == ".json" && it->is_regular_file(ec))
      out.push_back(p.lexically_relative(root).string());
  }
}
} // namespace

Json Studio::Impl::PanelOf(BaseList2D* node)
{
  Json panel;
  std::string error;
  if (!PanelJson(node, revision, &panel, &error))
    throw Refusal{404, error};
  return panel;
}

void Studio::Impl::EditRoutes()
{
  server.Get("/api/panel", [this](const httplib::Request& req, httplib::Response& res) {
    AnswerJson(res, [&] {
      std::lock_guard<std::mutex> hold(docLock);
      return PanelOf(Node(req.get_param_value("node")));
    });
  });
  server.Post("/api/edit", [this](const httplib::Request& req, httplib::Response& res) {
    AnswerJson(res, [&] {
      const Json body = Body(req);
      const Int32 id = IntField(body, "id", 0, 0x7fffffff);
      if (!body.contains("value"))
        throw Refusal{400, "\"value\" is missing"};
      std::lock_guard<std::mutex> hold(docLock);
      BaseList2D* node = Node(StringField(body, "node"));
      GeData value;
      std::string problem;
      if (!ReadValue(node, id, body["value"], &value, &problem))
        throw Refusal{400, problem};
      const size_t questions = App().ui.questions.size();
      BaseDocument* doc = Doc();
      doc->StartUndo();
      doc->AddUndo(UNDOTYPE_CHANGE, node);
      const Bool taken = UserEdit(node, id, value);
      doc->EndUndo();
      stroke.clear();
      // A refusal that left the document as it was leaves no step to undo and no new revision.
      if (!taken)
      {
        if (!DropLastUndoStepIfUnchanged(doc))
          ++revision;
        throw Refusal{400, "the node did not take the value"};
      }
      ++revision;
      return Json{{"panel", PanelOf(node)}, {"dialogs", Dialogs(questions)}, {"revision", revision}};
    });
  });
  server.Post("/api/press", [this](const httplib::Request& req, httplib::Response& res) {
    AnswerJson(res, [&] {
      const Json body = Body(req);
      const Int32 id = IntField(body, "id", 0, 0x7fffffff);
      const std::string answer = body.contains("answer") ? StringField(body, "answer") : "no";
      if (answer != "yes" && answer != "no")
        throw Refusal{400, "\"answer\" is yes or no"};
      std::lock_guard<std::mutex> hold(docLock);
      BaseList2D* node = Node(StringField(body, "node"));
      Json entry;
      // The panel is held by name: a range-for over a member of a temporary reads freed memory.
      const Json panel = PanelOf(node);
      for (const Json& e : panel["entries"])
        if (e["id"] == id)
          entry = e;
      if (entry.is_null() || (entry["type"] != "BUTTON" && entry["type"] != "BITMAPBUTTON"))
        throw Refusal{400, "entry " + std::to_string(id) + " is not a button of this panel"};
      if (!entry["enabled"].get<bool>() || entry["hidden"].get<bool>())
        throw Refusal{409, "the button is greyed out or hidden"};
      UiRecord& ui = App().ui;
      const size_t questions = ui.questions.size(), files = ui.openedFiles.size(), urls = ui.openedUrls.size();
      ui.defaultAnswer = answer == "yes" ? GEMB_R_YES : GEMB_R_NO;
      BaseDocument* doc = Doc();
      doc->StartUndo();
      doc->AddUndo(UNDOTYPE_CHANGE, node);
      PressButton(node, id);
      doc->EndUndo();
      ui.defaultAnswer = GEMB_R_NO;
      ++revision;
      stroke.clear();
      return Json{{"panel", PanelOf(node)}, {"dialogs", Dialogs(questions)}, {"opened", Opened(files, urls)},
                  {"revision", revision}};
    });
  });
  server.Get("/api/bitmap", [this](const httplib::Request& req, httplib::Response& res) {
    try
    {
      std::lock_guard<std::mutex> hold(docLock);
      BaseList2D* node = Node(req.get_param_value("node"));
      AnswerPicture(res, ButtonBitmap(node, IntParam(req, "id", 0, 0x7fffffff, -1)));
    }
    catch (const Refusal& r)
    {
      AnswerError(res, r.status, r.message);
    }
  });
  server.Get("/api/scenes", [this](const httplib::Request&, httplib::Response& res) {
    AnswerJson(res, [&] {
      Json scenes = Json::array();
      ListScenes(options.sceneFolder, options.sceneFolder, 0, scenes);
      std::sort(scenes.begin(), scenes.end());
      return Json{{"folder", options.sceneFolder}, {"scenes", scenes}};
    });
  });
  server.Post("/api/save", [this](const httplib::Request& req, httplib::Response& res) {
    AnswerJson(res, [&] {
      const std::string path = StringField(Body(req), "path");
      const std::string file = SceneFile(options.sceneFolder, path);
      std::lock_guard<std::mutex> hold(docLock);
      scene::SceneError error;
      if (!scene::SaveScene(Doc(), file, &error))
        throw Refusal{400, error.Message()};
      return Json{{"saved", fs::path(file).lexically_relative(fs::canonical(options.sceneFolder)).string()}};
    });
  });
  server.Post("/api/open", [this](const httplib::Request& req, httplib::Response& res) {
    AnswerJson(res, [&] {
      const std::string file = SceneFile(options.sceneFolder, StringField(Body(req), "path"));
      std::lock_guard<std::mutex> hold(docLock);
      scene::SceneError error;
      BaseDocument* doc = scene::LoadScene(file, &error);
      if (!doc)
        throw Refusal{error.problem == "no such file" ? 404 : 400, error.Message()};
      BaseDocument* old = GetActiveDocument();
      SetActiveDocument(doc);
      KillDocument(old);
      ExecuteExpressions(doc);
      ++revision;
      stroke.clear();
      pivotSet = false;
      return Document();
    });
  });
}
} // namespace host::studio
