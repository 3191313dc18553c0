// orlixcam view: a scene as the host's viewport shows it, with what plug-ins draw there, and
// the draw calls they made.
#include "cli.h"


#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>

#include "bitmap_io.h"
#include "pending_file.h"
#include "draw/draw_view.h"
#include "scene/scene_values.h"

namespace fs = std::filesystem;
using host::scene::Json;

namespace cli
{
namespace
{
Json VectorJson(const Vector& v)
{
  return Json::array({v.x, v.y, v.z});
}

const char* KindName(host::DrawKind kind)
{
  switch (kind)
  {
    case host::DrawKind::Line: return "line";
    case host::DrawKind::Poly: return "polygon";
    case host::DrawKind::Sphere: return "sphere";
    case host::DrawKind::Box: return "box";
  }
  return "";
}

Json RecordJson(const std::vector<host::DrawCall>& calls)
{
  Json out = Json::array();
  for (const host::DrawCall& c : calls)
  {
    Json points = Json::array();
    for (const Vector& p : c.points)
      points.push_back(VectorJson(p));
    Json j = {{"kind", KindName(c.kind)},
              {"pen", VectorJson(c.pen)},
              {"points", points},
              {"matrix", {{"off", VectorJson(c.matrix.off)}, {"v1", VectorJson(c.matrix.v1)},
                          {"v2", VectorJson(c.matrix.v2)}, {"v3", VectorJson(c.matrix.v3)}}},
              {"transparency", c.transparency},
              {"lineWidth", c.lineWidth},
              {"depth", c.depth},
              {"flags", c.flags}};
    if (c.kind == host::DrawKind::Sphere || c.kind == host::DrawKind::Box)
      j["size"] = VectorJson(c.size);
    if (c.kind == host::DrawKind::Box)
      j["wire"] = c.wire;
    out.push_back(j);
  }
  return out;
}

// Points the active view at the editor camera or at the scene camera of that name.
void ChooseCamera(BaseDocument* doc, BaseDraw* view, const std::string& name)
{
  if (name.empty())
    return;
  if (name == "editor")
    return view->SetSceneCamera(nullptr);
  BaseObject* cam = doc->SearchObject(String(name));
  if (!cam || cam->GetType() != Ocamera)
    throw Stop{"--camera " + name + ": the scene has no camera of that name (or use \"editor\")"};
  view->SetSceneCamera(cam);
}
} // namespace

int ViewCommand(const ViewArgs& args, const std::string& plugins)
{
  if (!host::IsPictureName(args.out, nullptr))
    throw Stop{"-o " + args.out + ": unknown picture format (use .png, .tif or .exr)"};
  CheckOutputFile("-o", args.out);
  if (!args.record.empty())
    CheckOutputFile("--record", args.record);

  host::PluginModule module;
  LoadPlugin(module, plugins);
  BaseDocument* doc = OpenScene(args.scene);
  std::optional<host::RenderPlan> plan;
  const auto camera = [&] {
    if (!plan)
      plan = Plan(doc, host::RenderOptions(), nullptr);
    return plan->camera;
  };
  for (const std::string& s : args.sets)
    ApplySet(doc, s, camera);
  BaseDraw* view = doc->GetActiveBaseDraw();
  ChooseCamera(doc, view, args.camera);

  host::draw::ViewRaster raster;
  String error;
  if (!host::draw::DrawView(doc, view, args.width, args.height, raster, &error))
    throw Stop{args.scene + ": " + error.GetStdString()};
  std::unique_ptr<BaseBitmap, void (*)(BaseBitmap*)> picture(BaseBitmap::Alloc(), [](BaseBitmap* b) { BaseBitmap::Free(b); });
  if (!picture || !raster.Store(*picture))
    throw Stop{"out of memory for a picture of " + std::to_string(args.width) + " x " + std::to_string(args.height), kFailed};

  // The record goes whole beside the picture: written first, renamed only once the picture is.
  host::PendingFile record;
  if (!args.record.empty())
  {
    const std::string text = RecordJson(host::DrawCalls(*view)).dump(1) + "\n";
    if (!record.Open(args.record) || !record.Write(text.data(), text.size()))
      throw Stop{"--record " + args.record + ": " + record.Problem(), kFailed};
  }
  std::string saveError;
  if (!host::SaveBitmap(*picture, args.out, false, &saveError, 1))
    throw Stop{saveError, kFailed};
  std::cout << "wrote " << args.out << "\n";
  if (!args.record.empty())
  {
    if (!record.Commit())
      throw Stop{"--record " + args.record + ": " + record.Problem(), kFailed};
    std::cout << "wrote " << args.record << "\n";
  }
  return 0;
}
} // namespace cli
