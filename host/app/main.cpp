// orlixcam: the command-line host. Loads the lens plug-in through its entry point, opens scene
// files and renders them to pictures on disk.
#include <CLI/CLI.hpp>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <unistd.h>

#include "bitmap_io.h"
#include "c4d.h"
#include "c4d_objects.h"
#include "c4d_resource.h"
#include "host_app.h"
#include "plugin_loader.h"
#include "render/render_loop.h"
#include "render/render_plan.h"
#include "resource_parser.h"
#include "scene/scene_file.h"
#include "scene/scene_values.h"

namespace fs = std::filesystem;

namespace
{
constexpr int kBadInput = 2;
constexpr int kFailed = 1;

/// An error that ends the command: its message and exit code.
struct Stop
{
  std::string message;
  int code = kBadInput;
};

// ---- The plug-in --------------------------------------------------------------------------------

/// The default plug-in: its folder beside the program, and its module in that folder.
const std::string kDefaultPlugin = "OrlixCam";

/// The folder of the running program, where the build puts the plug-in folder beside it.
fs::path ProgramFolder()
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
  if (!module.Load(Filename(fs::absolute(file).string().c_str()), &error))
    throw Stop{error.GetStdString(), kFailed};
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

/// The node that a parameter of plug-in `entry` is set on: a tag on the camera the render looks
/// through, else the document's first such tag; a video post of the active render settings.
BaseList2D* NodeOfType(BaseDocument* doc, const host::PluginEntry& entry, BaseObject* camera)
{
  if (entry.kind == host::PluginEntry::Kind::Tag)
  {
    BaseTag* onCamera = camera ? camera->GetTag(entry.id) : nullptr;
    return onCamera ? onCamera : FirstTag(doc->GetFirstObject(), entry.id);
  }
  if (entry.kind == host::PluginEntry::Kind::VideoPost)
    for (BaseVideoPost* vp = doc->GetActiveRenderData()->GetFirstVideoPost(); vp; vp = vp->GetNext())
      if (vp->GetType() == entry.id)
        return vp;
  return nullptr;
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

/// A render setting by the name a scene file gives it; false if `symbol` names none.
bool SetRenderSetting(BaseDocument* doc, const std::string& assignment, const std::string& symbol,
                      const std::string& value)
{
  BaseContainer* rd = doc->GetActiveRenderData()->GetDataInstance();
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
    rd->SetInt32(symbol == "width" ? RDATA_XRES : RDATA_YRES, static_cast<Int32>(v));
    return true;
  }
  if (symbol == "stereo" || symbol == "alpha")
  {
    if (value != "true" && value != "false" && value != "1" && value != "0")
      throw Stop{"--set " + assignment + ": expected true or false"};
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
    BaseList2D* node =
      NodeOfType(doc, *owner, owner->kind == host::PluginEntry::Kind::Tag ? camera() : nullptr);
    if (!node)
      continue;
    Int32 id = 0;
    host::scene::FindEntry(*host::scene::DescriptionOf(owner->id), symbol, &id);
    GeData data;
    std::string problem;
    if (!host::scene::ParseParameterValue(node, id, value, &data, &problem))
      throw Stop{"--set " + assignment + ": " + problem};
    node->GetDataInstance()->SetData(id, data);
    return;
  }
  const host::PluginEntry& owner = *owners.front();
  throw Stop{"--set " + assignment + ": " +
             (owner.kind == host::PluginEntry::Kind::Tag
                ? "the scene has no " + TypeName(owner.id) + " tag"
                : "the scene's render settings have no " + TypeName(owner.id) + " video post") +
             ", the node with parameter " + symbol};
}

// ---- render -------------------------------------------------------------------------------------

struct RenderArgs
{
  std::string scene, out, frames, pass;
  std::optional<Int32> width, height;
  Int32 samples = 4, threads = 0;
  bool preview = false;
  std::vector<std::string> sets;
};

/// OUT with its run of '#' replaced by the frame number, zero-padded to the run's length.
std::string FramePath(const std::string& out, Int32 frame)
{
  const std::string::size_type at = out.find('#');
  if (at == std::string::npos)
    return out;
  std::string::size_type end = at;
  while (end < out.size() && out[end] == '#')
    ++end;
  std::string number = std::to_string(std::abs(frame));
  while (number.size() < end - at)
    number.insert(number.begin(), '0');
  if (frame < 0)
    number.insert(number.begin(), '-');
  return out.substr(0, at) + number + out.substr(end);
}

void ParseFrames(const std::string& text, Int32& first, Int32& last)
{
  std::string::size_type dash = text.find('-', 1);
  try
  {
    size_t used = 0;
    first = std::stoi(text.substr(0, dash), &used);
    if (used != (dash == std::string::npos ? text.size() : dash))
      throw std::invalid_argument(text);
    last = first;
    if (dash != std::string::npos)
    {
      const std::string tail = text.substr(dash + 1);
      last = std::stoi(tail, &used);
      if (used != tail.size())
        throw std::invalid_argument(text);
    }
  }
  catch (const std::exception&)
  {
    throw Stop{"--frames " + text + ": expected A-B or A, such as 0-99"};
  }
  if (last < first)
    throw Stop{"--frames " + text + ": the range ends before it starts"};
}

/// What can be checked before anything loads or renders; the frame range, if given, in `first`
/// and `last`.
bool CheckRenderArgs(const RenderArgs& args, Int32& first, Int32& last)
{
  const bool directionPass = args.pass == "direction";
  if (!args.pass.empty() && !directionPass)
    throw Stop{"--pass " + args.pass + ": the only pass is \"direction\""};
  Bool holdsFloat = false;
  if (!host::IsPictureName(args.out, &holdsFloat))
    throw Stop{"-o " + args.out + ": unknown picture format (use .png, .tif or .exr)"};
  if (directionPass && !holdsFloat)
    throw Stop{"-o " + args.out + ": the direction pass is written as 32-bit float: use .exr or .tif"};
  const fs::path outFolder = fs::absolute(fs::path(args.out)).parent_path();
  if (!fs::is_directory(outFolder))
    throw Stop{"-o " + args.out + ": folder " + outFolder.string() + " does not exist"};
  if (access(outFolder.c_str(), W_OK) != 0)
    throw Stop{"-o " + args.out + ": folder " + outFolder.string() + " cannot be written"};
  if (args.frames.empty())
    return false;
  ParseFrames(args.frames, first, last);
  if (last > first && args.out.find('#') == std::string::npos)
    throw Stop{"--frames " + args.frames + ": several frames need #### in -o to number them"};
  return true;
}

int RenderCommand(const RenderArgs& args, const std::string& plugins)
{
  Int32 first = 0, last = 0;
  const bool ranged = CheckRenderArgs(args, first, last);
  const bool directionPass = args.pass == "direction";

  host::PluginModule module;
  LoadPlugin(module, plugins);
  BaseDocument* doc = OpenScene(args.scene);
  BaseContainer* rd = doc->GetActiveRenderData()->GetDataInstance();
  if (args.width)
    rd->SetInt32(RDATA_XRES, *args.width);
  if (args.height)
    rd->SetInt32(RDATA_YRES, *args.height);

  host::RenderOptions options;
  options.samples = args.samples;
  options.threads = args.threads;
  options.editorRender = args.preview;
  options.directionPass = directionPass;
  if (ranged)
  {
    options.firstFrame = first;
    options.lastFrame = last;
  }
  std::optional<host::RenderPlan> plan;
  const auto camera = [&] {
    if (!plan)
      plan = Plan(doc, options, nullptr);
    return plan->camera;
  };
  for (const std::string& s : args.sets)
    ApplySet(doc, s, camera);

  const bool terminal = isatty(STDERR_FILENO);
  if (terminal)
    options.progress = [](Float done) {
      std::fprintf(stderr, "\rrendering %3d%%", static_cast<int>(done * 100.0));
      std::fflush(stderr);
    };
  std::vector<std::string> written;
  std::string saveError;
  const Int32 firstFrame = ranged ? first : doc->GetTime().GetFrame(doc->GetFps());
  Int32 frameIndex = 0;
  options.frameDone = [&](Int32, const BaseBitmap& picture) {
    const std::string path = FramePath(args.out, ranged ? first + frameIndex : firstFrame);
    ++frameIndex;
    if (!host::SaveBitmap(picture, path, directionPass, &saveError, args.threads))
      return false;
    written.push_back(path);
    return true;
  };
  String error;
  Bool badInput = false;
  const Bool ok = host::RenderDocument(doc, options, nullptr, &error, &badInput);
  if (terminal)
    std::fprintf(stderr, "\r%*s\r", 16, "");
  if (!ok)
  {
    if (!saveError.empty())
      throw Stop{saveError, kFailed};
    throw Stop{args.scene + ": " + error.GetStdString(), badInput ? kBadInput : kFailed};
  }
  for (const std::string& p : written)
    std::cout << "wrote " << p << "\n";
  return 0;
}

// ---- info and params ----------------------------------------------------------------------------

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

int Run(int argc, char** argv)
{
  CLI::App app{"orlixcam: renders immersive pictures (dome, panorama, cylinder, cubemap, stereo) from scene files\n"
               "through the lens plug-in of its plug-in folder."};
  app.set_version_flag("--version", std::string("orlixcam ") + ORLIXCAM_VERSION);
  app.require_subcommand(1);
  std::string plugins;
  app.add_option("--plugins", plugins, "The plug-in folder (holding the module and res/); default: plugins/" + kDefaultPlugin + " beside this program")
    ->check(CLI::ExistingDirectory);

  RenderArgs r;
  CLI::App* render = app.add_subcommand("render", "Render a scene to a picture");
  render->footer("Example:\n  orlixcam render Examples/fulldome.json -o dome.png --samples 4\n"
                 "  orlixcam render Examples/dome_slate.json -o frames/dome_####.png --frames 0-24\n"
                 "  orlixcam render Examples/panorama.json -o dirs.exr --pass direction --set width=1024");
  render->add_option("scene", r.scene, "The scene file (JSON)")->required();
  render->add_option("-o,--output", r.out, "The picture to write: .png (8-bit), .tif (16-bit) or .exr (32-bit float); #### numbers frames")
    ->required();
  render->add_option("--width", r.width, "Frame width in pixels (instead of the scene's)")->check(CLI::Range(1, 65536));
  render->add_option("--height", r.height, "Frame height in pixels (instead of the scene's)")->check(CLI::Range(1, 65536));
  render->add_option("--samples", r.samples, "Samples per pixel, stratified")->check(CLI::Range(1, 1024))->capture_default_str();
  render->add_option("--threads", r.threads, "Render threads; 0 uses every core")->check(CLI::Range(0, 1024))->capture_default_str();
  render->add_option("--frames", r.frames, "Frames A-B (or one frame A) at the scene's frame rate");
  render->add_flag("--preview", r.preview, "An editor render into the render view (no stereo merge, no slate)");
  render->add_option("--set", r.sets, "SYMBOL=VALUE: a parameter of a tag on the render camera or of a video post (see params), or width, height, fps, "
                     "stereo, alpha")
    ->allow_extra_args(false);
  render->add_option("--pass", r.pass, "direction: each pixel holds the world direction of its ray (32-bit float)");

  std::string infoScene;
  CLI::App* info = app.add_subcommand("info", "Show a scene in brief: cameras, the render camera and its lens, images per frame, size");
  info->footer("Example:\n  orlixcam info Examples/stereo_cubemap_sbs.json");
  info->add_option("scene", infoScene, "The scene file (JSON)")->required();

  CLI::App* params = app.add_subcommand("params", "List every parameter of every description the plug-ins registered");
  params->footer("Example:\n  orlixcam params | grep DOME");

  try
  {
    app.parse(argc, argv);
  }
  catch (const CLI::ParseError& e)
  {
    const int code = app.exit(e);
    return code == 0 ? 0 : kBadInput;
  }

  host::App().console.SetEcho(true);
  try
  {
    if (*render)
      return RenderCommand(r, plugins);
    if (*info)
      return InfoCommand(infoScene, plugins);
    return ParamsCommand(plugins);
  }
  catch (const Stop& stop)
  {
    std::cerr << "orlixcam: " << stop.message << "\n";
    return stop.code;
  }
}
} // namespace

int main(int argc, char** argv)
{
  const int code = Run(argc, argv);
  host::JoinRenderThreads();
  return code;
}
