// orlixcam info and params: a scene in brief, and every parameter the plug-ins describe.
#include "cli.h"

#include <cstdio>
#include <iostream>

#include "c4d_objects.h"
#include "c4d_resource.h"
#include "resource_parser.h"
#include "scene/scene_values.h"

namespace cli
{
namespace
{
void FindCameras(BaseObject* op, std::vector<BaseObject*>& cameras)
{
  for (; op; op = op->GetNext())
  {
    if (op->GetType() == Ocamera)
      cameras.push_back(op);
    FindCameras(op->GetDown(), cameras);
  }
}

/// What `info` tells of a scene, gathered once for the text and the JSON.
struct Brief
{
  std::string scene, name, camera, cameraNote, rays;
  Float fps = 0, minTime = 0, maxTime = 0;
  std::vector<std::string> cameras, tags;
  std::vector<std::pair<std::string, bool>> videoPosts; ///< type, enabled
  Int32 images = 1, width = 0, height = 0, renderedWidth = 0, renderedHeight = 0;
  bool stereo = false;
  std::string stop; ///< why the render would stop, if it would
};

Brief Gather(const std::string& scene, BaseDocument* doc)
{
  Brief b;
  b.scene = scene;
  b.name = doc->GetDocumentName().GetString().GetStdString();
  b.fps = doc->GetFps(), b.minTime = doc->GetMinTime().Get(), b.maxTime = doc->GetMaxTime().Get();
  std::vector<BaseObject*> cameras;
  FindCameras(doc->GetFirstObject(), cameras);
  for (BaseObject* c : cameras)
    b.cameras.push_back(c->GetName().GetStdString());
  String error;
  const host::RenderPlan plan = Plan(doc, host::RenderOptions(), &error);
  BaseDraw* view = doc->GetRenderBaseDraw();
  if (!plan.camera)
    b.cameraNote = "no camera";
  else if (view && plan.camera == view->GetEditorCamera())
    b.cameraNote = "the editor camera (the scene has none)";
  else
  {
    b.camera = plan.camera->GetName().GetStdString();
    for (BaseTag* t = plan.camera->GetFirstTag(); t; t = t->GetNext())
      b.tags.push_back(TypeName(t->GetType()));
  }
  if (!plan.customLens.empty())
    b.rays = TypeName(plan.customLens.front()->GetType());
  for (BaseVideoPost* vp = doc->GetActiveRenderData()->GetFirstVideoPost(); vp; vp = vp->GetNext())
    b.videoPosts.emplace_back(TypeName(vp->GetType()), !vp->GetBit(BIT_VPDISABLED));
  const BaseContainer* rd = doc->GetActiveRenderData()->GetDataInstance();
  b.width = rd->GetInt32(RDATA_XRES), b.height = rd->GetInt32(RDATA_YRES);
  b.stereo = rd->GetBool(RDATA_STEREO);
  b.images = plan.imagesPerFrame;
  b.renderedWidth = error.IsEmpty() ? plan.width : b.width;
  b.renderedHeight = error.IsEmpty() ? plan.height : b.height;
  b.stop = error.GetStdString();
  return b;
}

void PrintBrief(const Brief& b)
{
  std::cout << "scene     " << b.scene << "\n";
  std::cout << "document  " << b.name << ", " << b.fps << " fps, " << b.minTime << " to " << b.maxTime << " s\n";
  std::cout << "cameras   " << b.cameras.size() << ":";
  for (const std::string& c : b.cameras)
    std::cout << " \"" << c << "\"";
  std::cout << "\nlens      ";
  if (!b.cameraNote.empty())
    std::cout << b.cameraNote;
  else
  {
    std::cout << "camera \"" << b.camera << "\", " << (b.tags.empty() ? "no tags" : b.tags.size() == 1 ? "tag " : "tags ");
    for (size_t i = 0; i < b.tags.size(); ++i)
      std::cout << (i ? ", " : "") << b.tags[i];
  }
  std::cout << (b.rays.empty() ? "; rays from the host's pinhole\n" : "; rays from video post " + b.rays + "\n");
  std::cout << "video post " << (b.videoPosts.empty() ? "none" : "");
  for (size_t i = 0; i < b.videoPosts.size(); ++i)
    std::cout << (i ? "; " : "") << b.videoPosts[i].first << (b.videoPosts[i].second ? ", enabled" : ", disabled");
  std::cout << "\nimages    " << b.images << " per frame" << (b.stereo ? " (stereo)" : "") << "\n";
  std::cout << "size      " << b.width << " x " << b.height;
  if (b.renderedWidth != b.width || b.renderedHeight != b.height)
    std::cout << ", rendered as " << b.renderedWidth << " x " << b.renderedHeight;
  std::cout << "\n";
  if (!b.stop.empty())
    std::cout << "render    would stop: " << b.stop << "\n";
}

void PrintBriefJson(const Brief& b)
{
  using host::scene::Json;
  Json videoPosts = Json::array();
  for (const auto& [type, enabled] : b.videoPosts)
    videoPosts.push_back({{"type", type}, {"enabled", enabled}});
  const Json camera = b.cameraNote.empty() ? Json{{"name", b.camera}, {"tags", b.tags}} : Json(nullptr);
  std::cout << Json{{"scene", b.scene},
                    {"document", {{"name", b.name}, {"fps", b.fps}, {"minTime", b.minTime}, {"maxTime", b.maxTime}}},
                    {"cameras", b.cameras},
                    {"renderCamera", camera},
                    {"rays", b.rays.empty() ? Json(nullptr) : Json(b.rays)},
                    {"videoPosts", videoPosts},
                    {"imagesPerFrame", b.images},
                    {"stereo", b.stereo},
                    {"size", {b.width, b.height}},
                    {"renderedSize", {b.renderedWidth, b.renderedHeight}},
                    {"wouldStop", b.stop.empty() ? Json(nullptr) : Json(b.stop)}}
                 .dump(2)
            << "\n";
}
} // namespace

int InfoCommand(const std::string& scene, const std::string& plugins, bool json)
{
  host::PluginModule module;
  LoadPlugin(module, plugins);
  const Brief brief = Gather(scene, OpenScene(scene));
  if (json)
    PrintBriefJson(brief);
  else
    PrintBrief(brief);
  return 0;
}

namespace
{
/// A fresh node of plug-in `entry` in `doc`, to read its defaults from; null for a kind that
/// holds no parameters of a scene.
BaseList2D* FreshNode(BaseDocument* doc, const host::PluginEntry& entry)
{
  if (entry.kind == host::PluginEntry::Kind::Tag)
  {
    BaseObject* holder = BaseObject::Alloc(Ocamera);
    doc->InsertObject(holder, nullptr, nullptr);
    return holder->MakeTag(entry.id);
  }
  if (entry.kind == host::PluginEntry::Kind::VideoPost)
  {
    BaseVideoPost* vp = BaseVideoPost::Alloc(entry.id);
    doc->GetActiveRenderData()->InsertVideoPost(vp);
    return vp;
  }
  return nullptr;
}

const char* KindName(host::PluginEntry::Kind kind)
{
  switch (kind)
  {
    case host::PluginEntry::Kind::Tag: return "tag";
    case host::PluginEntry::Kind::VideoPost: return "video post";
    case host::PluginEntry::Kind::Command: return "command";
    case host::PluginEntry::Kind::CustomGui: return "custom GUI";
    default: return "library";
  }
}

/// A cycle's choices: value, label, and the symbol that scene files and --set may write for it.
host::scene::Json Choices(const host::DescriptionResource& desc, const std::string& symbol, const BaseContainer& settings)
{
  host::scene::Json choices = host::scene::Json::array();
  const GeData* cycle = settings.GetDataPointer(DESC_CYCLE);
  const BaseContainer* values = cycle && cycle->GetType() == DA_CONTAINER ? cycle->GetContainer() : nullptr;
  for (Int32 i = 0; values && i < values->GetDataCount(); ++i)
  {
    const Int32 value = values->GetIndexId(i);
    host::scene::Json choice = {{"value", value}, {"label", values->GetString(value).GetStdString()}};
    // A cycle's symbols are named after its parameter's: NAME_CHOICE is a choice of NAME.
    for (const auto& [name, v] : desc.symbols)
      if (v == value && name.compare(0, symbol.size() + 1, symbol + "_") == 0)
        choice["symbol"] = name;
    choices.push_back(choice);
  }
  return choices;
}

/// Every parameter of one description, with its default as a fresh node writes it.
host::scene::Json DescribeParams(const host::PluginEntry& entry, const host::DescriptionResource& desc)
{
  host::scene::Json params = host::scene::Json::array();
  BaseDocument* doc = BaseDocument::Alloc();
  SetActiveDocument(doc);
  BaseList2D* node = FreshNode(doc, entry);
  for (const auto& [id, settings] : desc.entries)
  {
    const std::string type = settings.GetString(DESC_TYPE).GetStdString();
    if (type == "GROUP" || type == "STATICTEXT" || type == "SEPARATOR")
      continue;
    host::scene::Json value = nullptr;
    if (node)
      if (const GeData* d = node->GetDataInstance()->GetDataPointer(id))
        value = host::scene::WriteParameter(*d, settings, doc, std::string());
    const std::string symbol = host::scene::EntrySymbol(desc, id);
    params.push_back({{"id", id}, {"symbol", symbol}, {"type", type}, {"default", value},
                      {"unit", settings.GetString(DESC_UNIT).GetStdString()}, {"choices", Choices(desc, symbol, settings)}});
  }
  KillDocument(doc);
  return {{"description", desc.name.GetStdString()}, {"kind", KindName(entry.kind)}, {"name", entry.name.GetStdString()},
          {"params", params}};
}

void PrintParams(const host::scene::Json& d)
{
  std::cout << d["description"].get<std::string>() << " (" << d["kind"].get<std::string>() << " \""
            << d["name"].get<std::string>() << "\")\n";
  std::printf("  %-6s %-38s %-10s %-14s %s\n", "id", "symbol", "type", "default", "unit");
  for (const host::scene::Json& p : d["params"])
  {
    std::string unit = p["unit"].get<std::string>();
    if (unit == "DEGREE")
      unit = "degrees (radians inside; write {\"deg\": x})";
    else if (unit == "PERCENT")
      unit = "percent (the number is the percentage)";
    std::printf("  %-6d %-38s %-10s %-14s %s\n", p["id"].get<int>(), p["symbol"].get<std::string>().c_str(),
                p["type"].get<std::string>().c_str(), p["default"].is_null() ? "-" : p["default"].dump().c_str(),
                unit.c_str());
    for (const host::scene::Json& c : p["choices"])
      std::printf("  %-6s   %3d %s%s\n", "", c["value"].get<int>(), c["label"].get<std::string>().c_str(),
                  c.contains("symbol") ? (" (" + c["symbol"].get<std::string>() + ")").c_str() : "");
  }
  std::cout << "\n";
}

} // namespace

int ParamsCommand(const std::string& plugins, bool json)
{
  host::PluginModule module;
  LoadPlugin(module, plugins);
  host::scene::Json all = host::scene::Json::array();
  for (const host::PluginEntry& e : host::App().plugins.All())
  {
    if (!e.description.IsPopulated())
      continue;
    const host::DescriptionResource* desc = host::Descriptions().Find(e.description);
    if (!desc)
      throw Stop{"the plug-in registered no description " + e.description.GetStdString(), kFailed};
    all.push_back(DescribeParams(e, *desc));
    if (!json)
      PrintParams(all.back());
  }
  if (json)
    std::cout << all.dump(2) << "\n";
  return 0;
}

} // namespace cli
