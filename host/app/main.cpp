// orlixcam: the command-line host. Loads the lens plug-in through its entry point, opens scene
// files, renders them to pictures on disk and shows the attribute panels.
#include "pending_file.h"
#include <CLI/CLI.hpp>

#include <iostream>

#include "cli.h"

using namespace cli;

namespace
{
CLI::App* AddRender(CLI::App& app, RenderArgs& r)
{
  CLI::App* render = app.add_subcommand("render", "Render a scene to a picture");
  render->footer("Example:\n  orlixcam render Examples/fulldome.json -o dome.png --samples 4\n"
                 "  orlixcam render Examples/dome_slate.json -o frames/dome_####.png --frames 0-24\n"
                 "  orlixcam render Examples/panorama.json -o dirs.exr --pass direction --set width=1024\n"
                 "  orlixcam render Examples/stereo_panorama_tb.json -o pair.exr --views --half --compression piz\n"
                 "  orlixcam render Examples/stereo_panorama_tb.json -o eye_%V.png");
  render->add_option("scene", r.scene, "The scene file (JSON)")->required();
  render->add_option("-o,--output", r.out, "The picture to write: .png or .jpg (8-bit), .tif (16-bit) or .exr (32-bit float); #### numbers frames")
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
  render->add_flag("--views", r.views, "A stereo pair as the views \"left\" and \"right\" of one .exr (%V or %v in -o's file name: a file per eye)");
  render->add_option("--compression", r.compression, "OpenEXR compression (default zip)")->check(CLI::IsMember({"zip", "piz", "dwaa", "none"}));
  render->add_flag("--half", r.half, "OpenEXR channels as 16-bit float");
  render->add_flag("--quiet", r.quiet, "No progress line");
  render->add_option("--quality", r.quality, "JPEG quality, 1 to 100 (default 90)")->check(CLI::Range(1, 100));
  render->add_option("--pass", r.pass, "direction, st or origin: each pixel holds its ray's world direction, its place in an "
                     "equirectangular picture (an ST map) or its world origin (32-bit float)");
  return render;
}

CLI::App* AddPanel(CLI::App& app, PanelArgs& p)
{
  CLI::App* panel = app.add_subcommand("panel", "Show a node's attribute panel as the host does, after edits and button presses");
  panel->footer("Edits (--set) come first, in order, then the presses (--press); each is a user's action in the panel:\n"
                "the value set, the node told, the document evaluated.\n"
                "The symbols that --set and --press take: orlixcam params.\n"
                "Example:\n  orlixcam panel Examples/fulldome.json\n"
                "  orlixcam panel Examples/fulldome.json --set stereo=true\n"
                "  orlixcam panel Examples/stereo_cubemap_sbs.json --node videopost --json");
  panel->add_option("scene", p.scene, "The scene file (JSON)")->required();
  panel->add_option("--node", p.node, "Whose panel: the lens tag or the video post")
    ->check(CLI::IsMember({"tag", "videopost"}))
    ->capture_default_str();
  panel->add_option("--set", p.sets, "SYMBOL=VALUE: a user's edit, as render --set takes it")->allow_extra_args(false);
  panel->add_option("--press", p.presses, "SYMBOL: a button of the node pressed")->allow_extra_args(false);
  panel->add_option("--answer", p.answer, "How the user answers a yes/no question a press asks")
    ->check(CLI::IsMember({"yes", "no"}))
    ->capture_default_str();
  panel->add_flag("--json", p.json, "Every entry as JSON, hidden ones included: id, symbol, label, type, value, hidden, enabled, open, parent");
  panel->add_option("-o,--output", p.out, "Save the scene after the edits to this file");
  return panel;
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
  CLI::App* render = AddRender(app, r);

  std::string infoScene;
  CLI::App* info = app.add_subcommand("info", "Show a scene in brief: cameras, the render camera and its lens, images per frame, size");
  info->footer("Example:\n  orlixcam info Examples/stereo_cubemap_sbs.json");
  info->add_option("scene", infoScene, "The scene file (JSON)")->required();
  bool infoJson = false;
  info->add_flag("--json", infoJson, "The same as one JSON object");

  PanelArgs p;
  CLI::App* panel = AddPanel(app, p);

  CLI::App* params = app.add_subcommand("params", "List every parameter of every description the plug-ins registered");
  params->footer("Example:\n  orlixcam params | grep DOME\n  orlixcam params --json");
  bool paramsJson = false;
  params->add_flag("--json", paramsJson, "Every description as JSON: id, symbol, type, default, unit and a cycle's choices");

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
      return InfoCommand(infoScene, plugins, infoJson);
    if (*panel)
      return PanelCommand(p, plugins);
    return ParamsCommand(plugins, paramsJson);
  }
  catch (const Stop& stop)
  {
    std::cerr << "orlixcam: " << stop.message << "\n";
    return stop.code;
  }
  catch (const std::exception& e)
  {
    // Whatever the commands didn't foresee still ends with a message, not an abort.
    std::cerr << "orlixcam: " << e.what() << "\n";
    return kFailed;
  }
}
} // namespace

int main(int argc, char** argv)
{
  host::RemovePendingFilesOnSignals();
  const int code = Run(argc, argv);
  host::JoinRenderThreads();
  return code;
}
