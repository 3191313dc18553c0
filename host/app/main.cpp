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
                 "  orlixcam render Examples/flight_dome.json -o f/dome_####.png --frames 0-99 --shard 2/4 --skip-existing\n"
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
  render->add_option("--frames", r.frames, "Frames A-B, every STEP-th of them with A-B:STEP, or one frame A, at the scene's frame rate");
  render->add_option("--shard", r.shard, "K/N: only every N-th frame of --frames from the K-th (K from 0), for one of N machines");
  render->add_flag("--skip-existing", r.skipExisting, "Leave out frames whose files are already there and read as pictures");
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

CLI::App* AddPad(CLI::App& app, PadArgs& a)
{
  CLI::App* pad = app.add_subcommand("pad", "Draw the custom GUI of the lens tag's panel after mouse input, as the host shows it");
  pad->footer("Points are the GUI's pixels from its top left. Each --drag presses the left button at its first\n"
              "point, moves through the others and lets go at the last; each value the GUI sends back is the\n"
              "user's edit of the parameter (the node told, the document evaluated). --double-click clicks twice\n"
              "where the last drag ended, else in the middle of the GUI. The panel's changed values are listed.\n"
              "Example:\n  orlixcam pad Examples/fulldome.json -o pad.png --drag 50,50:80,40\n"
              "  orlixcam pad Examples/panorama.json -o pad.png --drag 100,50:250,50 --save turned.json\n"
              "  orlixcam pad turned.json -o pad.png --double-click");
  pad->add_option("scene", a.scene, "The scene file (JSON)")->required();
  pad->add_option("-o,--output", a.out, "The picture of the GUI to write: .png, .tif or .exr")->required();
  pad->add_option("--drag", a.drags, "X,Y[:X,Y...]: a drag with the left button through these points")->allow_extra_args(false);
  pad->add_flag("--double-click", a.doubleClick, "A double click, after the drags");
  pad->add_option("--save", a.save, "Save the scene after the input to this file");
  return pad;
}

CLI::App* AddView(CLI::App& app, ViewArgs& v)
{
  CLI::App* view = app.add_subcommand("view", "Draw a scene's active view as the host's viewport shows it, with what plug-ins draw there");
  view->footer("The scene's objects are drawn flat shaded from the view's camera; the tags of every object then\n"
               "draw in the object pass. A view through a scene camera is drawn from that camera.\n"
               "Example:\n  orlixcam view Examples/fulldome.json -o view.png\n"
               "  orlixcam view Examples/panorama.json -o view.png --width 1280 --height 720 --record calls.json\n"
               "  orlixcam view Examples/fulldome.json -o through.png --camera \"Lens Camera\"");
  view->add_option("scene", v.scene, "The scene file (JSON)")->required();
  view->add_option("-o,--output", v.out, "The picture to write: .png, .tif or .exr")->required();
  view->add_option("--camera", v.camera, "editor: the view's own camera; NAME: look through that scene camera; default: as the scene's active view says");
  view->add_option("--width", v.width, "Picture width in pixels")->check(CLI::Range(1, 16384))->capture_default_str();
  view->add_option("--height", v.height, "Picture height in pixels")->check(CLI::Range(1, 16384))->capture_default_str();
  view->add_option("--set", v.sets, "SYMBOL=VALUE: a user's edit, as render --set takes it")->allow_extra_args(false);
  view->add_option("--record", v.record, "Also write the draw calls as JSON: kind, pen, points in world space, matrix, transparency, line width, depth, flags");
  return view;
}

CLI::App* AddCommand(CLI::App& app, CommandArgs& c)
{
  CLI::App* command = app.add_subcommand("command", "Run a menu command on a scene as a user picks it, then undo and redo, and save");
  command->footer("NAME is a command's name as orlixcam commands lists it (or a word of it, or its id).\n"
                  "The command runs on the scene's active document (on the object --select names), then\n"
                  "--undo steps are undone and --redo steps redone; the document is saved whole or not at all.\n"
                  "Example:\n  orlixcam command \"Create Fulldome Camera\" -o dome.json\n"
                  "  orlixcam command Fisheye Examples/panorama.json --select \"Lens Camera\" -o fish.json --undo 1 --redo 1\n"
                  "  orlixcam command Examples --pick fulldome.json -o loaded.json");
  command->add_option("name", c.command, "The command: its name, a word of it, or its id")->required();
  command->add_option("scene", c.scene, "The scene file (JSON); without it, an empty document");
  command->add_option("-o,--output", c.out, "The scene file to save the active document to; without it nothing is saved");
  command->add_option("--select", c.select, "The object selected when the command runs");
  command->add_option("--answer", c.answers, "How the user answers the command's yes/no questions, in order")
    ->check(CLI::IsMember({"yes", "no"}))
    ->allow_extra_args(false);
  command->add_option("--pick", c.pick, "An entry of the command's submenu: its sub id or its text");
  command->add_option("--undo", c.undo, "Steps to undo after the command")->check(CLI::Range(0, 1000));
  command->add_option("--redo", c.redo, "Steps to redo after the undos")->check(CLI::Range(0, 1000));
  return command;
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

  PadArgs pa;
  CLI::App* pad = AddPad(app, pa);
  ViewArgs v;
  CLI::App* view = AddView(app, v);
  CLI::App* commands = app.add_subcommand("commands", "List the menu of the plug-ins' commands: id, name, help, submenus");
  commands->footer("Example:\n  orlixcam commands");
  CommandArgs c;
  CLI::App* command = AddCommand(app, c);

  StudioArgs st;
  CLI::App* studio = app.add_subcommand("studio", "Serve the host's interface in a browser on this machine: panels, viewport, pad, menu, render");
  studio->footer("Prints the address to open (http://127.0.0.1:PORT/?token=...); Ctrl+C ends it.\n"
                 "Scenes are saved and opened only under the folder of SCENE (or the working folder).\n"
                 "Example:\n  orlixcam studio Examples/stereo_anaglyph_dome.json\n  orlixcam studio --port 8080");
  studio->add_option("scene", st.scene, "The scene file (JSON) to start from; without it, an empty document")
    ->check(CLI::ExistingFile);
  studio->add_option("--port", st.port, "The port on 127.0.0.1; 0 picks a free one")->check(CLI::Range(0, 65535));

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
    if (*pad)
      return PadCommand(pa, plugins);
    if (*view)
      return ViewCommand(v, plugins);
    if (*commands)
      return CommandsCommand(plugins);
    if (*command)
      return CommandCommand(c, plugins);
    if (*studio)
      return StudioCommand(st, plugins);
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
