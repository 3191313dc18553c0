// orlixcam: the command-line host. Loads the lens plug-in through its entry point, opens scene
// files and renders them to pictures on disk.
#include <CLI/CLI.hpp>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <iostream>
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

std::string Str(const String& s)
{
  return s.GetStdString();
}

// ---- The plug-in --------------------------------------------------------------------------------

/// The folder of the running program, where the build puts plugins/OrlixCam beside it.
fs::path ProgramFolder()
{
  std::error_code ec;
  const fs::path self = fs::read_symlink("/proc/self/exe", ec);
  return ec ? fs::current_path() : self.parent_path();
}

void LoadPlugin(host::PluginModule& module, const std::string& folderOption)
{
  fs::path folder = folderOption.empty() ? ProgramFolder() / "plugins" / "OrlixCam" : fs::path(folderOption);
  const fs::path file = folder / "OrlixCam.so";
  if (!fs::exists(file))
    throw Stop{"no plug-in module at " + file.string() +
                 (folderOption.empty() ? " (give the plug-in folder with --plugins DIR)" : ""),
               kBadInput};
  String error;
  if (!module.Load(Filename(fs::absolute(file).string().c_str()), &error))
    throw Stop{Str(error), kFailed};
}

Int32 PluginType(const char* description, host::PluginEntry::Kind kind)
{
  for (const host::PluginEntry& e : host::App().plugins.All())
    if (e.kind == kind && Str(e.description) == description)
      return e.id;
  return 0;
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

/// The camera a render shoots through the lens: the render view's linked camera, else the first
/// camera (depth first) with an enabled lens tag that isn't switched off for rendering.
BaseObject* FindLensCamera(BaseObject* op, Int32 tagType, Int32 enabledId)
{
  for (; op; op = op->GetNext())
  {
    if (op->GetType() == Ocamera && op->GetRenderMode() != MODE_OFF)
      if (BaseTag* t = op->GetTag(tagType); t && t->GetDataInstance()->GetBool(enabledId))
        return op;
    if (BaseObject* found = FindLensCamera(op->GetDown(), tagType, enabledId))
      return found;
  }
  return nullptr;
}

struct Lens
{
  BaseObject* camera = nullptr;
  BaseTag* tag = nullptr;
  BaseVideoPost* videoPost = nullptr;
};

Lens FindLens(BaseDocument* doc)
{
  Lens lens;
  const Int32 tagType = PluginType("OrlixTag", host::PluginEntry::Kind::Tag);
  const Int32 vpType = PluginType("OrlixCam", host::PluginEntry::Kind::VideoPost);
  Int32 enabledId = 0;
  host::Descriptions().ResolveSymbol(String("ORLIXTAG_ENABLED"), &enabledId);
  BaseDraw* view = doc->GetRenderBaseDraw();
  lens.camera = view && view->HasCameraLink() ? view->GetSceneCamera(doc) : FindLensCamera(doc->GetFirstObject(), tagType, enabledId);
  if (lens.camera)
    lens.tag = lens.camera->GetTag(tagType);
  for (BaseVideoPost* vp = doc->GetActiveRenderData()->GetFirstVideoPost(); vp; vp = vp->GetNext())
    if (vp->GetType() == vpType)
      lens.videoPost = vp;
  return lens;
}

/// SYMBOL=VALUE on the lens camera's tag, the lens video post or the render settings.
void ApplySet(BaseDocument* doc, const std::string& assignment)
{
  const std::string::size_type eq = assignment.find('=');
  if (eq == std::string::npos || eq == 0)
    throw Stop{"--set " + assignment + ": expected SYMBOL=VALUE"};
  const std::string symbol = assignment.substr(0, eq), value = assignment.substr(eq + 1);

  // The render settings by the names a scene file gives them.
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
    return;
  }
  if (symbol == "stereo" || symbol == "alpha")
  {
    if (value != "true" && value != "false" && value != "1" && value != "0")
      throw Stop{"--set " + assignment + ": expected true or false"};
    rd->SetBool(symbol == "stereo" ? RDATA_STEREO : RDATA_ALPHACHANNEL, value == "true" || value == "1");
    return;
  }
  if (symbol == "fps")
  {
    rd->SetFloat(RDATA_FRAMERATE, number(1e-6, 1000));
    return;
  }

  const Lens lens = FindLens(doc);
  BaseList2D* targets[] = {lens.tag, lens.videoPost};
  for (BaseList2D* node : targets)
  {
    if (!node)
      continue;
    const host::DescriptionResource* desc = host::scene::DescriptionOf(node->GetType());
    Int32 id = 0;
    if (!desc || !host::scene::FindEntry(*desc, symbol, &id))
      continue;
    GeData data;
    std::string problem;
    if (!host::scene::ParseParameterValue(node, id, value, &data, &problem))
      throw Stop{"--set " + assignment + ": " + problem};
    node->GetDataInstance()->SetData(id, data);
    return;
  }
  if (!lens.tag && symbol.rfind("ORLIXTAG_", 0) == 0)
    throw Stop{"--set " + assignment + ": the scene has no lens camera with a lens tag"};
  if (!lens.videoPost && symbol.rfind("ORLIXVP_", 0) == 0)
    throw Stop{"--set " + assignment + ": the scene's render settings have no OrlixCam video post"};
  throw Stop{"--set " + assignment + ": unknown parameter " + symbol +
             " (a parameter of the lens tag or the video post, see `orlixcam params`, or width, height, fps, stereo, alpha)"};
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

int RenderCommand(const RenderArgs& args, const std::string& plugins)
{
  // Check what can be checked before anything loads or renders.
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
  Int32 first = 0, last = 0;
  const bool ranged = !args.frames.empty();
  if (ranged)
  {
    ParseFrames(args.frames, first, last);
    if (last > first && args.out.find('#') == std::string::npos)
      throw Stop{"--frames " + args.frames + ": several frames need #### in -o to number them"};
  }

  host::PluginModule module;
  LoadPlugin(module, plugins);
  BaseDocument* doc = OpenScene(args.scene);
  BaseContainer* rd = doc->GetActiveRenderData()->GetDataInstance();
  if (args.width)
    rd->SetInt32(RDATA_XRES, *args.width);
  if (args.height)
    rd->SetInt32(RDATA_YRES, *args.height);
  for (const std::string& s : args.sets)
    ApplySet(doc, s);

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
  options.frameDone = [&](Int32 frame, const BaseBitmap& picture) {
    (void)frame;
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
    throw Stop{args.scene + ": " + Str(error), badInput ? kBadInput : kFailed};
  }
  for (const std::string& p : written)
    std::cout << "wrote " << p << "\n";
  return 0;
}

// ---- info and params ----------------------------------------------------------------------------

/// Width over height that the lens's shape asks for, 0 where no shape is known.
Float LensAspect(const BaseContainer& tag, const BaseContainer* vp, Bool stereo, const host::DescriptionResource& td,
                 const host::DescriptionResource* vd)
{
  auto id = [](const host::DescriptionResource& d, const char* s) {
    const auto it = d.symbols.find(s);
    return it == d.symbols.end() ? -1 : it->second;
  };
  const Float pi = 3.14159265358979323846;
  Float aspect = 0.0;
  const Int32 layout = vp && vd ? vp->GetInt32(id(*vd, "ORLIXVP_CUBE_LAYOUT")) : 0;
  switch (tag.GetInt32(id(td, "ORLIXTAG_LENS")))
  {
    case 0:
    {
      const Bool custom = tag.GetBool(id(td, "ORLIXTAG_PANO_CUSTOM"));
      const Float h = custom ? tag.GetFloat(id(td, "ORLIXTAG_PANO_FOV_H")) : 2.0 * pi;
      const Float v = custom ? tag.GetFloat(id(td, "ORLIXTAG_PANO_LAT_MAX")) - tag.GetFloat(id(td, "ORLIXTAG_PANO_LAT_MIN")) : pi;
      aspect = v > 0.0 ? (h / (2.0 * pi) + h / (2.0 * pi)) / (v / pi) : 0.0;
      break;
    }
    case 1:
      aspect = 1.0;
      break;
    case 2:
    {
      const Float height = tag.GetFloat(id(td, "ORLIXTAG_CYL_HEIGHT"));
      aspect = height > 0.0 ? (tag.GetFloat(id(td, "ORLIXTAG_CYL_RADIUS")) * 2.0 * pi / height) *
                                (tag.GetFloat(id(td, "ORLIXTAG_CYL_FOV")) / (2.0 * pi))
                            : 0.0;
      break;
    }
    case 3:
    {
      const Float shapes[] = {4.0 / 3.0, 3.0 / 4.0, 6.0, 1.5, 1.0 / 6.0, 2.0 / 3.0, 1.0};
      aspect = layout >= 0 && layout < 7 ? shapes[layout] : 0.0;
      break;
    }
    default:
      break;
  }
  if (stereo && vp && vd && vp->GetInt32(id(*vd, "ORLIXVP_STEREO_MODE")) == 1)
    aspect *= vp->GetInt32(id(*vd, "ORLIXVP_PAIR_LAYOUT")) == 1 ? 0.5 : 2.0;
  return aspect;
}

void PrintObjects(BaseObject* op, int depth, std::vector<BaseObject*>& cameras)
{
  for (; op; op = op->GetNext())
  {
    if (op->GetType() == Ocamera)
      cameras.push_back(op);
    PrintObjects(op->GetDown(), depth + 1, cameras);
  }
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
  std::cout << "document  " << Str(doc->GetDocumentName().GetString()) << ", " << doc->GetFps() << " fps, "
            << doc->GetMinTime().Get() << " to " << doc->GetMaxTime().Get() << " s\n";
  std::vector<BaseObject*> cameras;
  PrintObjects(doc->GetFirstObject(), 0, cameras);
  std::cout << "cameras   " << cameras.size() << ":";
  for (BaseObject* c : cameras)
    std::cout << " \"" << Str(c->GetName()) << "\"";
  std::cout << "\n";

  const Lens lens = FindLens(doc);
  const host::DescriptionResource* td = lens.tag ? host::scene::DescriptionOf(lens.tag->GetType()) : nullptr;
  const host::DescriptionResource* vd = lens.videoPost ? host::scene::DescriptionOf(lens.videoPost->GetType()) : nullptr;
  if (!lens.camera)
    std::cout << "lens      none: no camera with an enabled lens tag, the host's own camera renders\n";
  else if (!lens.tag || !td)
    std::cout << "lens      camera \"" << Str(lens.camera->GetName()) << "\" has no lens tag\n";
  else
  {
    const char* names[] = {"panorama", "dome", "cylindrical", "cubemap"};
    const Int32 lensNo = lens.tag->GetDataInstance()->GetInt32(td->symbols.at("ORLIXTAG_LENS"));
    std::cout << "lens      camera \"" << Str(lens.camera->GetName()) << "\", tag " << Str(td->name) << ", "
              << (lensNo >= 0 && lensNo < 4 ? names[lensNo] : "unknown") << " (" << lensNo << ")\n";
  }
  const bool vpOn = lens.videoPost && !lens.videoPost->GetBit(BIT_VPDISABLED);
  std::cout << "video post " << (lens.videoPost ? (vpOn ? "OrlixCam, enabled" : "OrlixCam, disabled") : "none") << "\n";
  Int32 images = 1;
  if (vpOn && lens.tag && td && vd)
  {
    const BaseContainer* vp = lens.videoPost->GetDataInstance();
    const Int32 faces = lens.tag->GetDataInstance()->GetInt32(td->symbols.at("ORLIXTAG_LENS")) == 3 &&
                            vp->GetInt32(vd->symbols.at("ORLIXVP_CUBE_LAYOUT")) != 6
                          ? 6 : 1;
    const Int32 eyes = stereo && vp->GetInt32(vd->symbols.at("ORLIXVP_STEREO_MODE")) != 3 ? 2 : 1;
    images = faces * eyes;
  }
  std::cout << "images    " << images << " per frame" << (stereo ? " (stereo)" : "") << "\n";
  std::cout << "size      " << w << " x " << h << "\n";
  if (vpOn && lens.tag && td)
  {
    const Float aspect = LensAspect(*lens.tag->GetDataInstance(), vd ? lens.videoPost->GetDataInstance() : nullptr,
                                    stereo, *td, vd);
    if (aspect > 0.0)
      std::cout << "lens size " << w << " x " << static_cast<Int32>(w / aspect + 0.5) << " (width kept), "
                << static_cast<Int32>(aspect * h + 0.5) << " x " << h << " (height kept): shape "
                << aspect << ":1\n";
  }
  return 0;
}

int ParamsCommand(const std::string& plugins)
{
  host::PluginModule module;
  LoadPlugin(module, plugins);
  for (const char* name : {"OrlixTag", "OrlixCam"})
  {
    const host::DescriptionResource* desc = host::Descriptions().Find(String(name));
    if (!desc)
      throw Stop{std::string("the plug-in registered no description ") + name, kFailed};
    std::cout << name << (std::string(name) == "OrlixTag" ? " (the lens tag)\n" : " (the video post)\n");
    std::printf("  %-6s %-38s %-10s %-14s %s\n", "id", "symbol", "type", "default", "unit");
    // Defaults as a fresh node writes them.
    BaseList2D* node = nullptr;
    BaseObject* holder = nullptr;
    const Int32 tagType = PluginType("OrlixTag", host::PluginEntry::Kind::Tag);
    const Int32 vpType = PluginType("OrlixCam", host::PluginEntry::Kind::VideoPost);
    BaseDocument* doc = BaseDocument::Alloc();
    SetActiveDocument(doc);
    if (std::string(name) == "OrlixTag")
    {
      holder = BaseObject::Alloc(Ocamera);
      doc->InsertObject(holder, nullptr, nullptr);
      node = holder->MakeTag(tagType);
    }
    else
    {
      BaseVideoPost* vp = BaseVideoPost::Alloc(vpType);
      doc->GetActiveRenderData()->InsertVideoPost(vp);
      node = vp;
    }
    for (const auto& [id, settings] : desc->entries)
    {
      const std::string type = Str(settings.GetString(DESC_TYPE));
      if (type == "GROUP" || type == "STATICTEXT" || type == "SEPARATOR")
        continue;
      std::string unit = Str(settings.GetString(DESC_UNIT));
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
      std::printf("  %-6d %-38s %-10s %-14s %s\n", id, host::scene::EntrySymbol(*desc, id).c_str(), type.c_str(),
                  value.c_str(), unit.c_str());
    }
    KillDocument(doc);
    std::cout << "\n";
  }
  return 0;
}

int Run(int argc, char** argv)
{
  CLI::App app{"orlixcam: renders immersive pictures (dome, panorama, cylinder, cubemap, stereo) from scene files\n"
               "through the OrlixCam lens plug-in."};
  app.set_version_flag("--version", std::string("orlixcam ") + ORLIXCAM_VERSION);
  app.require_subcommand(1);
  std::string plugins;
  app.add_option("--plugins", plugins, "The plug-in folder (holding OrlixCam.so and res/); default: plugins/OrlixCam beside this program")
    ->check(CLI::ExistingDirectory);

  RenderArgs r;
  CLI::App* render = app.add_subcommand("render", "Render a scene to a picture");
  render->footer("Example:\n  orlixcam render Examples/fulldome.json -o dome.png --samples 4\n"
                 "  orlixcam render Examples/dome_slate.json -o frames/dome_####.png --frames 0-24\n"
                 "  orlixcam render Examples/panorama.json -o dirs.exr --pass direction --set ORLIXTAG_LENS=1");
  render->add_option("scene", r.scene, "The scene file (JSON)")->required();
  render->add_option("-o,--output", r.out, "The picture to write: .png (8-bit), .tif (16-bit) or .exr (32-bit float); #### numbers frames")
    ->required();
  render->add_option("--width", r.width, "Frame width in pixels (instead of the scene's)")->check(CLI::Range(1, 65536));
  render->add_option("--height", r.height, "Frame height in pixels (instead of the scene's)")->check(CLI::Range(1, 65536));
  render->add_option("--samples", r.samples, "Samples per pixel, stratified")->check(CLI::Range(1, 1024))->capture_default_str();
  render->add_option("--threads", r.threads, "Render threads; 0 uses every core")->check(CLI::Range(0, 1024))->capture_default_str();
  render->add_option("--frames", r.frames, "Frames A-B (or one frame A) at the scene's frame rate");
  render->add_flag("--preview", r.preview, "An editor render into the render view (no stereo merge, no slate)");
  render->add_option("--set", r.sets, "SYMBOL=VALUE: a parameter of the lens tag or the video post (see params), or width, height, fps, stereo, alpha")
    ->allow_extra_args(false);
  render->add_option("--pass", r.pass, "direction: each pixel holds the world direction of its ray (32-bit float)");

  std::string infoScene;
  CLI::App* info = app.add_subcommand("info", "Show a scene in brief: cameras, lens, images per frame, sizes");
  info->footer("Example:\n  orlixcam info Examples/stereo_cubemap_sbs.json");
  info->add_option("scene", infoScene, "The scene file (JSON)")->required();

  CLI::App* params = app.add_subcommand("params", "List every parameter of the lens tag and the video post");
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
