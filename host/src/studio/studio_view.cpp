// The studio's viewport and XY pad: the editor view with what the tags draw, the editor camera
// moved by the mouse, and a custom GUI's raster with the mouse delivered as the host's input.
#include "studio/studio_impl.h"

#include <cmath>
#include <memory>

#include "animation.h"
#include "draw/draw_view.h"
#include "gui/attribute_gui.h"
#include "gui/gui_host.h"
#include "host_app.h"

namespace host::studio
{
namespace
{
void Cameras(BaseObject* op, Json& out)
{
  for (; op; op = op->GetNext())
  {
    if (op->GetType() == Ocamera)
      out.push_back(op->GetName().GetStdString());
    Cameras(op->GetDown(), out);
  }
}

Json ViewJson(BaseDocument* doc)
{
  BaseDraw* view = doc->GetActiveBaseDraw();
  Json cameras = Json::array();
  Cameras(doc->GetFirstObject(), cameras);
  BaseObject* linked = view->HasCameraLink() ? view->GetSceneCamera(doc) : nullptr;
  return {{"camera", linked ? linked->GetName().GetStdString() : "editor"}, {"cameras", cameras},
          {"projection", view->GetProjection()}};
}

/// The pad's GUI as the attribute manager opens it; a Refusal if the entry has none.
std::unique_ptr<CustomGuiView> OpenGui(BaseList2D* node, Int32 id)
{
  String error;
  std::unique_ptr<CustomGuiView> gui = CustomGuiView::Open(node, id, &error);
  if (!gui)
    throw Refusal{400, error.GetStdString()};
  return gui;
}

struct Point
{
  Int32 x, y;
};

Point ReadPoint(const Json& e)
{
  const auto coordinate = [&](const char* key) {
    const auto it = e.find(key);
    if (it == e.end() || !it->is_number_integer() || std::abs(it->get<Int64>()) > 100000)
      throw Refusal{400, std::string("an event's \"") + key + "\" must be a whole number of pixels"};
    return static_cast<Int32>(it->get<Int64>());
  };
  return {coordinate("x"), coordinate("y")};
}
} // namespace

void Studio::Impl::PadRoutes()
{
  server.Get("/api/pad.png", [this](const httplib::Request& req, httplib::Response& res) {
    try
    {
      std::lock_guard<std::mutex> hold(docLock);
      BaseList2D* node = Node(req.get_param_value("node"));
      AnswerPicture(res, OpenGui(node, IntParam(req, "id", 0, 0x7fffffff, -1))->Picture());
    }
    catch (const Refusal& r)
    {
      AnswerError(res, r.status, r.message);
    }
  });
  server.Post("/api/pad", [this](const httplib::Request& req, httplib::Response& res) {
    AnswerJson(res, [&] {
      const Json body = Body(req);
      const Int32 id = IntField(body, "id", 0, 0x7fffffff);
      const std::string strokeId = body.contains("stroke") ? StringField(body, "stroke") : std::string();
      const auto events = body.find("events");
      if (events == body.end() || !events->is_array() || events->empty() || events->size() > 10000)
        throw Refusal{400, "\"events\" must be a list of 1 to 10000 mouse events"};
      // Check every event before any reaches the GUI, so a bad one changes nothing.
      std::vector<std::pair<std::string, Point>> input;
      for (const Json& e : *events)
      {
        const std::string kind = e.is_object() ? StringField(e, "kind") : std::string();
        if (kind != "down" && kind != "move" && kind != "up" && kind != "double")
          throw Refusal{400, "an event's \"kind\" is down, move, up or double"};
        input.emplace_back(kind, ReadPoint(e));
      }
      std::lock_guard<std::mutex> hold(docLock);
      BaseList2D* node = Node(StringField(body, "node"));
      std::unique_ptr<CustomGuiView> gui = OpenGui(node, id);
      BaseDocument* doc = Doc();
      // A stroke that goes on from the last request stays the one undo step it began.
      const bool goesOn = !strokeId.empty() && strokeId == stroke && strokeRevision == revision &&
                          input.front().first != "down";
      if (!goesOn)
      {
        doc->StartUndo();
        doc->AddUndo(UNDOTYPE_CHANGE, node);
      }
      std::vector<std::pair<Int32, Int32>> path;
      for (const auto& [kind, p] : input)
      {
        if (kind == "double")
        {
          gui->DoubleClick(p.x, p.y);
          continue;
        }
        if (kind == "down")
          path.clear();
        path.emplace_back(p.x, p.y);
        if (kind == "up")
          gui->Drag(path), path.clear();
      }
      // The button is still down: what came so far goes as a drag, and the next part starts here.
      if (!path.empty())
        gui->Drag(path);
      if (goesOn)
        ExtendLastUndoStep(doc);
      else
        doc->EndUndo();
      if (gui->Edits() > 0)
        ++revision;
      stroke = input.back().first == "up" ? std::string() : strokeId;
      strokeRevision = revision;
      return Json{{"panel", PanelOf(node)}, {"revision", revision}, {"edits", gui->Edits()}};
    });
  });
}

void Studio::Impl::ViewRoutes()
{
  server.Get("/api/view.png", [this](const httplib::Request& req, httplib::Response& res) {
    try
    {
      const Int32 w = IntParam(req, "w", 16, 4096, 960), h = IntParam(req, "h", 16, 4096, 540);
      std::lock_guard<std::mutex> hold(docLock);
      BaseDocument* doc = Doc();
      draw::ViewRaster raster;
      String error;
      if (!draw::DrawView(doc, doc->GetActiveBaseDraw(), w, h, raster, &error))
        throw Refusal{400, error.GetStdString()};
      BaseBitmap* bmp = BaseBitmap::Alloc();
      if (!bmp || !raster.Store(*bmp))
        BaseBitmap::Free(bmp);
      AnswerPicture(res, bmp);
    }
    catch (const Refusal& r)
    {
      AnswerError(res, r.status, r.message);
    }
  });
  server.Get("/api/view", [this](const httplib::Request&, httplib::Response& res) {
    AnswerJson(res, [&] {
      std::lock_guard<std::mutex> hold(docLock);
      return ViewJson(Doc());
    });
  });
  server.Post("/api/view", [this](const httplib::Request& req, httplib::Response& res) {
    AnswerJson(res, [&] {
      const Json body = Body(req);
      std::lock_guard<std::mutex> hold(docLock);
      BaseDocument* doc = Doc();
      BaseDraw* view = doc->GetActiveBaseDraw();
      if (body.contains("camera"))
      {
        const std::string name = StringField(body, "camera");
        BaseObject* cam = name == "editor" ? nullptr : doc->SearchObject(String(name));
        if (name != "editor" && (!cam || cam->GetType() != Ocamera))
          throw Refusal{404, "no camera " + name + " in the document"};
        view->SetSceneCamera(cam);
        return ViewJson(doc);
      }
      MoveEditorCamera(body);
      return ViewJson(doc);
    });
  });
}

void Studio::Impl::MoveEditorCamera(const Json& body)
{
  const auto pair = [&](const char* key) {
    const Json& v = body[key];
    if (!v.is_array() || v.size() != 2 || !v[0].is_number() || !v[1].is_number() ||
        std::abs(v[0].get<Float>()) > 1e5 || std::abs(v[1].get<Float>()) > 1e5)
      throw Refusal{400, std::string("\"") + key + "\" must be two numbers of pixels"};
    return std::make_pair(v[0].get<Float>(), v[1].get<Float>());
  };
  const bool orbit = body.contains("orbit"), pan = body.contains("pan"), zoom = body.contains("zoom");
  if (orbit + pan + zoom != 1)
    throw Refusal{400, "give one of \"camera\", \"orbit\", \"pan\" or \"zoom\""};
  const std::pair<Float, Float> delta = orbit ? pair("orbit") : pan ? pair("pan") : std::make_pair(0.0, 0.0);
  Float factor = 1.0;
  if (zoom && (!body["zoom"].is_number() || !((factor = body["zoom"].get<Float>()) >= 0.05 && factor <= 20.0)))
    throw Refusal{400, "\"zoom\" must be a factor from 0.05 to 20"};

  BaseDocument* doc = Doc();
  BaseDraw* view = doc->GetActiveBaseDraw();
  BaseObject* editor = view->GetEditorCamera();
  // Moving the view takes over from a linked scene camera where it stood.
  if (view->HasCameraLink())
  {
    if (BaseObject* linked = view->GetSceneCamera(doc))
      editor->SetMl(linked->GetMg());
    view->SetSceneCamera(nullptr);
  }
  const Matrix mg = editor->GetMl();
  if (!pivotSet)
  {
    BaseObject* lens = doc->GetRenderBaseDraw() ? doc->GetRenderBaseDraw()->GetSceneCamera(doc) : nullptr;
    pivot = lens && lens != editor ? lens->GetMg().off : mg.off + mg.v3.GetNormalized() * 500.0;
    pivotSet = true;
  }
  Vector toCamera = mg.off - pivot;
  Float distance = std::max(1.0, toCamera.GetLength());
  const Vector aim = AimAlong(toCamera.GetLength() > 0 ? -toCamera : mg.v3);
  Float heading = aim.x, pitch = aim.y;
  if (orbit)
  {
    heading -= delta.first * 0.01;
    pitch = std::max(-1.55, std::min(1.55, pitch + delta.second * 0.01));
  }
  if (pan)
  {
    const Float scale = distance * 0.002;
    pivot = pivot - mg.v1.GetNormalized() * (delta.first * scale) + mg.v2.GetNormalized() * (delta.second * scale);
  }
  if (zoom)
    distance = std::max(1.0, distance * factor);
  const Matrix rotation = MatrixRotY(heading) * MatrixRotX(pitch);
  editor->SetMl(MatrixMove(pivot - rotation.v3 * distance) * rotation);
}
} // namespace host::studio
