// The command-line host's plug-in, scene and edits.
#include "cli.h"

#include <unistd.h>

#include <climits>
#include <cmath>
#include <cstdlib>
#include <filesystem>

#include "animation.h"
#include "c4d_objects.h"
#include "panel.h"
#include "resource_parser.h"
#include "scene/scene_file.h"
#include "scene/scene_values.h"

namespace fs = std::filesystem;

namespace cli
{
const std::string kDefaultPlugin = "OrlixCam";

std::filesystem::path ProgramFolder()
{
  std::error_code ec;
  const fs::path self = fs::read_symlink("/proc/self/exe", ec);
  return ec ? fs::current_path() : self.parent_path();
}

void LoadPlugin(host::PluginModule& module, const std::string& folderOption)
{
  fs::path folder = folderOption.empty() ? ProgramFolder() / "plugins" / kDefaultPlugin : fs::path(folderOption);
  const fs::path file = folder / (kDefaultPlugin + ".so");
  if (!fs::exists(file))
    throw Stop{"no plug-in module at " + file.string() +
                 (folderOption.empty() ? " (give the plug-in folder with --plugins DIR)" : ""),
               kBadInput};
  String error;
  // A module that can't be loaded or started is a bad plug-in folder (exit 2); one whose
  // registrations stopped half way stays loaded and has failed at its work (exit 1).
  if (!module.Load(Filename(fs::absolute(file).string().c_str()), &error))
    throw Stop{error.GetStdString(), module.IsLoaded() ? kFailed : kBadInput};
}

void CheckOutputFile(const std::string& option, const std::string& file)
{
  const fs::path p(file);
  const std::string name = p.filename().string();
  if (name.size() > NAME_MAX)
    throw Stop{option + " " + file + ": the file name is " + std::to_string(name.size()) + " bytes long; at most " +
               std::to_string(NAME_MAX)};
  if (file.size() >= PATH_MAX)
    throw Stop{option + " " + file + ": the path is longer than " + std::to_string(PATH_MAX - 1) + " bytes"};
  std::error_code ec;
  if (fs::is_directory(p, ec))
    throw Stop{option + " " + file + ": is a folder; give a file name such as " + (p / "frame.png").string()};
  const fs::path folder = fs::absolute(p, ec).parent_path();
  if (!fs::is_directory(folder, ec))
    throw Stop{option + " " + file + ": folder " + folder.string() + " does not exist"};
  if (access(folder.c_str(), W_OK) != 0)
    throw Stop{option + " " + file + ": folder " + folder.string() + " cannot be written"};
}

/// A node type by the name scene files give it: its description's, else its plug-in's, else its id.
std::string TypeName(Int32 type)
{
  const host::PluginEntry* e = host::App().plugins.Find(type);
  if (e && e->description.IsPopulated())
    return e->description.GetStdString();
  if (e && e->name.IsPopulated())
    return e->name.GetStdString();
  return "type " + std::to_string(type);
}

// ---- The document -------------------------------------------------------------------------------

BaseDocument* OpenScene(const std::string& file)
{
  if (file.empty())
  {
    BaseDocument* doc = BaseDocument::Alloc();
    SetActiveDocument(doc);
    return doc;
  }
  host::scene::SceneError error;
  BaseDocument* doc = host::scene::LoadScene(file, &error);
  if (!doc)
    throw Stop{error.Message(), kBadInput};
  SetActiveDocument(doc);
  return doc;
}

/// The first tag of `type` under `op`, depth first.
BaseTag* FirstTag(BaseObject* op, Int32 type)
{
  for (; op; op = op->GetNext())
  {
    if (BaseTag* t = op->GetTag(type))
      return t;
    if (BaseTag* t = FirstTag(op->GetDown(), type))
      return t;
  }
  return nullptr;
}

BaseList2D* NodeOfType(BaseDocument* doc, const host::PluginEntry& entry, const std::function<BaseObject*()>& camera)
{
  if (entry.kind == host::PluginEntry::Kind::Tag)
  {
    BaseObject* lensCamera = camera();
    BaseTag* onCamera = lensCamera ? lensCamera->GetTag(entry.id) : nullptr;
    return onCamera ? onCamera : FirstTag(doc->GetFirstObject(), entry.id);
  }
  if (entry.kind == host::PluginEntry::Kind::VideoPost)
    for (BaseVideoPost* vp = doc->GetActiveRenderData()->GetFirstVideoPost(); vp; vp = vp->GetNext())
      if (vp->GetType() == entry.id)
        return vp;
  return nullptr;
}

std::string MissingNode(const host::PluginEntry& entry)
{
  return entry.kind == host::PluginEntry::Kind::Tag
           ? "the scene has no " + TypeName(entry.id) + " tag"
           : "the scene's render settings have no " + TypeName(entry.id) + " video post";
}

/// The start of a render of `doc` as `options` would run it, without a pixel traced. What the
/// plug-ins print meanwhile stays off the terminal: it belongs to a render, and this is none.
host::RenderPlan Plan(BaseDocument* doc, const host::RenderOptions& options, String* error)
{
  host::RenderPlan plan;
  host::App().console.SetEcho(false);
  host::PlanRender(doc, options, &plan, error);
  host::App().console.SetEcho(true);
  return plan;
}

namespace
{
/// A render setting by the name a scene file gives it; false if `symbol` names none.
bool SetRenderSetting(BaseDocument* doc, const std::string& assignment, const std::string& symbol,
                      const std::string& value)
{
  BaseContainer* rd = doc->GetActiveRenderData()->GetDataInstance();
  const auto fixed = [&](Int32 id) {
    if (host::IsAnimated(doc->GetActiveRenderData(), id))
      throw Stop{"--set " + assignment + ": " + symbol + " is animated in the scene, and its track sets it at every frame; "
                 "change the track in the scene file"};
  };
  auto number = [&](Float lo, Float hi) {
    char* end = nullptr;
    const double v = std::strtod(value.c_str(), &end);
    if (value.empty() || *end != '\0' || !(v >= lo && v <= hi))
      throw Stop{"--set " + assignment + ": expected a number from " + std::to_string(lo) + " to " + std::to_string(hi)};
    return v;
  };
  if (symbol == "width" || symbol == "height")
  {
    const Float v = number(1, 65536);
    if (v != std::floor(v))
      throw Stop{"--set " + assignment + ": expected a whole number"};
    fixed(symbol == "width" ? RDATA_XRES : RDATA_YRES);
    rd->SetInt32(symbol == "width" ? RDATA_XRES : RDATA_YRES, static_cast<Int32>(v));
    return true;
  }
  if (symbol == "stereo" || symbol == "alpha")
  {
    if (value != "true" && value != "false" && value != "1" && value != "0")
      throw Stop{"--set " + assignment + ": expected true or false"};
    fixed(symbol == "stereo" ? RDATA_STEREO : RDATA_ALPHACHANNEL);
    rd->SetBool(symbol == "stereo" ? RDATA_STEREO : RDATA_ALPHACHANNEL, value == "true" || value == "1");
    return true;
  }
  if (symbol == "fps")
  {
    rd->SetFloat(RDATA_FRAMERATE, number(1e-6, 1000));
    return true;
  }
  return false;
}

/// The plug-ins whose descriptions have a parameter `symbol` (a symbol or an id): tags first,
/// then video posts, each in the order they registered.
std::vector<const host::PluginEntry*> OwnersOf(const std::string& symbol)
{
  std::vector<const host::PluginEntry*> owners;
  for (const auto kind : {host::PluginEntry::Kind::Tag, host::PluginEntry::Kind::VideoPost})
    for (const host::PluginEntry& e : host::App().plugins.All())
    {
      const host::DescriptionResource* desc = e.kind == kind ? host::scene::DescriptionOf(e.id) : nullptr;
      Int32 id = 0;
      if (desc && host::scene::FindEntry(*desc, symbol, &id))
        owners.push_back(&e);
    }
  return owners;
}

} // namespace

/// SYMBOL=VALUE on a render setting, or on the node of the plug-in whose description has SYMBOL.
/// `camera` is asked for once, and only where a tag's parameter needs it.
void ApplySet(BaseDocument* doc, const std::string& assignment, const std::function<BaseObject*()>& camera)
{
  const std::string::size_type eq = assignment.find('=');
  if (eq == std::string::npos || eq == 0)
    throw Stop{"--set " + assignment + ": expected SYMBOL=VALUE"};
  const std::string symbol = assignment.substr(0, eq), value = assignment.substr(eq + 1);
  if (SetRenderSetting(doc, assignment, symbol, value))
    return;

  const std::vector<const host::PluginEntry*> owners = OwnersOf(symbol);
  if (owners.empty())
    throw Stop{"--set " + assignment + ": unknown parameter " + symbol +
               " (a parameter of a tag or a video post, see `orlixcam params`, or width, height, fps, stereo, alpha)"};
  for (const host::PluginEntry* owner : owners)
  {
    BaseList2D* node = NodeOfType(doc, *owner, camera);
    if (!node)
      continue;
    Int32 id = 0;
    host::scene::FindEntry(*host::scene::DescriptionOf(owner->id), symbol, &id);
    if (host::IsAnimated(node, id))
      throw Stop{"--set " + assignment + ": " + symbol + " is animated in the scene, and its track sets it at every "
                 "frame; change the track in the scene file"};
    GeData data;
    std::string problem;
    if (!host::scene::ParseParameterValue(node, id, value, &data, &problem))
      throw Stop{"--set " + assignment + ": " + problem};
    host::UserEdit(node, id, data);
    return;
  }
  throw Stop{"--set " + assignment + ": " + MissingNode(*owners.front()) + ", the node with parameter " + symbol};
}

} // namespace cli
