// The command-line host's shared pieces: the plug-in it loads, the scene it opens, and the
// user's edits from the command line; and its commands.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "c4d.h"
#include "host_app.h"
#include "plugin_loader.h"
#include "render/render_plan.h"
#include "render/render_loop.h"

namespace cli
{
constexpr int kBadInput = 2;
constexpr int kFailed = 1;

/// An error that ends the command: its message and exit code.
struct Stop
{
  std::string message;
  int code = kBadInput;
};

/// The default plug-in: its folder beside the program, and its module in that folder.
extern const std::string kDefaultPlugin;

/// The folder of the running program, where the build puts the plug-in folder and the studio's
/// web folder beside it.
std::filesystem::path ProgramFolder();

/// Refuses, before any work, an output file that can't be written: a folder, a name too long for
/// the file system, a folder that doesn't exist or can't be written. `option` names it in the message.
void CheckOutputFile(const std::string& option, const std::string& file);

/// Loads the plug-in module of `folderOption`, else the default plug-in beside the program.
void LoadPlugin(host::PluginModule& module, const std::string& folderOption);
/// A node type by the name scene files give it: its description's, else its plug-in's, else its id.
std::string TypeName(Int32 type);
/// Loads a scene file and makes it the active document; an empty name makes an empty one.
BaseDocument* OpenScene(const std::string& file);
/// The first tag of `type` under `op`, depth first.
BaseTag* FirstTag(BaseObject* op, Int32 type);
/// The node of plug-in `entry` that the user edits: its tag on the camera the render looks through
/// (`camera` is asked for only for a tag), else the document's first such tag; its video post in
/// the active render settings. Null if the scene has none, which MissingNode then says.
BaseList2D* NodeOfType(BaseDocument* doc, const host::PluginEntry& entry, const std::function<BaseObject*()>& camera);
std::string MissingNode(const host::PluginEntry& entry);
/// The start of a render of `doc` as `options` would run it, without a pixel traced.
host::RenderPlan Plan(BaseDocument* doc, const host::RenderOptions& options, String* error);
/// SYMBOL=VALUE as a user's edit of a render setting, or of the node of the plug-in whose
/// description has SYMBOL. `camera` is asked for once, and only where a tag's parameter needs it.
void ApplySet(BaseDocument* doc, const std::string& assignment, const std::function<BaseObject*()>& camera);

struct RenderArgs
{
  std::string scene, out, frames, pass;
  std::optional<Int32> width, height;
  Int32 samples = 4, threads = 0;
  bool preview = false;
  std::vector<std::string> sets;
  bool views = false, half = false, quiet = false;
  std::string shard;         ///< K/N: every N-th frame of the range from the K-th
  bool skipExisting = false; ///< frames whose files are there and whole are not rendered again
  std::string compression;
  std::optional<Int32> quality;
};

int RenderCommand(const RenderArgs& args, const std::string& plugins);
int InfoCommand(const std::string& scene, const std::string& plugins, bool json = false);
int ParamsCommand(const std::string& plugins, bool json = false);

struct PanelArgs
{
  std::string scene, node = "tag", answer = "no", out;
  std::vector<std::string> sets, presses;
  bool json = false;
};
int PanelCommand(const PanelArgs& args, const std::string& plugins);

struct PadArgs
{
  std::string scene, out, save;
  std::vector<std::string> drags;
  bool doubleClick = false;
};
int PadCommand(const PadArgs& args, const std::string& plugins);
struct ViewArgs
{
  std::string scene, out, camera, record;
  Int32 width = 960, height = 540;
  std::vector<std::string> sets;
};
int ViewCommand(const ViewArgs& args, const std::string& plugins);
struct CommandArgs
{
  std::string command, scene, out, select, pick;
  std::vector<std::string> answers;
  int undo = 0, redo = 0;
};
int CommandsCommand(const std::string& plugins);
struct StudioArgs
{
  std::string scene;
  int port = 0;
};
int StudioCommand(const StudioArgs& args, const std::string& plugins);
int CommandCommand(const CommandArgs& args, const std::string& plugins);
} // namespace cli
