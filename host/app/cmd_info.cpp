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

/// The camera the render looks through, the tags on it and where its rays come from.
void PrintLens(BaseDocument* doc, const host::RenderPlan& plan)
{
  BaseDraw* view = doc->GetRenderBaseDraw();
  std::cout << "lens      ";
  if (!plan.camera)
    std::cout << "no camera";
  else if (view && plan.camera == view->GetEditorCamera())
    std::cout << "the editor camera (the scene has none)";
  else
  {
    std::vector<std::string> tags;
    for (BaseTag* t = plan.camera->GetFirstTag(); t; t = t->GetNext())
      tags.push_back(TypeName(t->GetType()));
    std::cout << "camera \"" << plan.camera->GetName().GetStdString() << "\", "
              << (tags.empty() ? "no tags" : tags.size() == 1 ? "tag " : "tags ");
    for (size_t i = 0; i < tags.size(); ++i)
      std::cout << (i ? ", " : "") << tags[i];
  }
  if (plan.customLens.empty())
    std::cout << "; rays from the host's pinhole\n";
  else
    std::cout << "; rays from video post " << TypeName(plan.customLens.front()->GetType()) << "\n";
}

} // namespace

int InfoCommand(const std::string& scene, const std::string& plugins)
{
  host::PluginModule module;
  LoadPlugin(module, plugins);
  BaseDocument* doc = OpenScene(scene);
  const BaseContainer* rd = doc->GetActiveRenderData()->GetDataInstance();
  const Int32 w = rd->GetInt32(RDATA_XRES), h = rd->GetInt32(RDATA_YRES);
  const Bool stereo = rd->GetBool(RDATA_STEREO);
  std::cout << "scene     " << scene << "\n";
  std::cout << "document  " << doc->GetDocumentName().GetString().GetStdString() << ", " << doc->GetFps()
            << " fps, " << doc->GetMinTime().Get() << " to " << doc->GetMaxTime().Get() << " s\n";
  std::vector<BaseObject*> cameras;
  FindCameras(doc->GetFirstObject(), cameras);
  std::cout << "cameras   " << cameras.size() << ":";
  for (BaseObject* c : cameras)
    std::cout << " \"" << c->GetName().GetStdString() << "\"";
  std::cout << "\n";

  String error;
  const host::RenderPlan plan = Plan(doc, host::RenderOptions(), &error);
  PrintLens(doc, plan);
  std::cout << "video post ";
  BaseVideoPost* vp = doc->GetActiveRenderData()->GetFirstVideoPost();
  if (!vp)
    std::cout << "none";
  for (; vp; vp = vp->GetNext())
    std::cout << TypeName(vp->GetType()) << (vp->GetBit(BIT_VPDISABLED) ? ", disabled" : ", enabled")
              << (vp->GetNext() ? "; " : "");
  std::cout << "\nimages    " << plan.imagesPerFrame << " per frame" << (stereo ? " (stereo)" : "") << "\n";
  std::cout << "size      " << w << " x " << h;
  if (error.IsEmpty() && (plan.width != w || plan.height != h))
    std::cout << ", rendered as " << plan.width << " x " << plan.height;
  std::cout << "\n";
  if (!error.IsEmpty())
    std::cout << "render    would stop: " << error.GetStdString() << "\n";
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

/// Every parameter of one description, with its default as a fresh node writes it.
void PrintParams(const host::PluginEntry& entry, const host::DescriptionResource& desc)
{
  std::cout << desc.name.GetStdString() << " (" << KindName(entry.kind) << " \"" << entry.name.GetStdString()
            << "\")\n";
  std::printf("  %-6s %-38s %-10s %-14s %s\n", "id", "symbol", "type", "default", "unit");
  BaseDocument* doc = BaseDocument::Alloc();
  SetActiveDocument(doc);
  BaseList2D* node = FreshNode(doc, entry);
  for (const auto& [id, settings] : desc.entries)
  {
    const std::string type = settings.GetString(DESC_TYPE).GetStdString();
    if (type == "GROUP" || type == "STATICTEXT" || type == "SEPARATOR")
      continue;
    std::string unit = settings.GetString(DESC_UNIT).GetStdString();
    std::string value = "-";
    if (node)
      if (const GeData* d = node->GetDataInstance()->GetDataPointer(id))
      {
        const host::scene::Json j = host::scene::WriteParameter(*d, settings, doc, std::string());
        value = j.is_null() ? "-" : j.dump();
      }
    if (unit == "DEGREE")
      unit = "degrees (radians inside; write {\"deg\": x})";
    else if (unit == "PERCENT")
      unit = "percent (the number is the percentage)";
    std::printf("  %-6d %-38s %-10s %-14s %s\n", id, host::scene::EntrySymbol(desc, id).c_str(), type.c_str(),
                value.c_str(), unit.c_str());
  }
  KillDocument(doc);
  std::cout << "\n";
}

} // namespace

int ParamsCommand(const std::string& plugins)
{
  host::PluginModule module;
  LoadPlugin(module, plugins);
  for (const host::PluginEntry& e : host::App().plugins.All())
  {
    if (!e.description.IsPopulated())
      continue;
    const host::DescriptionResource* desc = host::Descriptions().Find(e.description);
    if (!desc)
      throw Stop{"the plug-in registered no description " + e.description.GetStdString(), kFailed};
    PrintParams(e, *desc);
  }
  return 0;
}

} // namespace cli
