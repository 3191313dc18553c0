// orlixcam pad: the custom GUI of the lens tag's panel drawn as the attribute manager shows it,
// after the user's mouse input given on the command line.
#include "cli.h"


#include <filesystem>
#include <iostream>
#include <memory>

#include "bitmap_io.h"
#include "gui/attribute_gui.h"
#include "panel.h"
#include "scene/scene_file.h"
#include "scene/scene_values.h"

namespace fs = std::filesystem;

namespace cli
{
namespace
{
using Path = std::vector<std::pair<Int32, Int32>>;

/// One whole number of up to six digits, all of `text`.
bool ParseCoordinate(const std::string& text, Int32& value)
{
  const size_t digits = text.size() - (!text.empty() && text[0] == '-');
  if (digits == 0 || digits > 6 || text.find_first_not_of("0123456789", text.size() - digits) != std::string::npos)
    return false;
  value = std::stoi(text);
  return true;
}

/// X,Y[:X,Y...] in whole pixels.
Path ParsePath(const std::string& text)
{
  Path path;
  size_t start = 0;
  for (;;)
  {
    const size_t end = text.find(':', start);
    const std::string item = text.substr(start, end == std::string::npos ? std::string::npos : end - start);
    const size_t comma = item.find(',');
    Int32 x = 0, y = 0;
    if (comma == std::string::npos || !ParseCoordinate(item.substr(0, comma), x) || !ParseCoordinate(item.substr(comma + 1), y))
      throw Stop{"--drag " + text + ": \"" + item + "\" is not a point X,Y of two whole numbers, such as 50,50:90,50"};
    path.emplace_back(x, y);
    if (end == std::string::npos)
      return path;
    start = end + 1;
  }
}

/// The lens tag the panel would show, and its first parameter shown through a custom GUI.
std::pair<BaseList2D*, const host::PanelEntry*> PadOf(BaseDocument* doc, host::Panel& panel)
{
  std::optional<host::RenderPlan> plan;
  const std::function<BaseObject*()> camera = [&] {
    if (!plan)
      plan = Plan(doc, host::RenderOptions(), nullptr);
    return plan->camera;
  };
  for (const host::PluginEntry& e : host::App().plugins.All())
  {
    if (e.kind != host::PluginEntry::Kind::Tag || !e.description.IsPopulated())
      continue;
    BaseList2D* node = NodeOfType(doc, e, camera);
    if (!node)
      throw Stop{MissingNode(e)};
    host::ExecuteExpressions(doc);
    String error;
    if (!host::EvaluatePanel(node, panel, &error))
      throw Stop{error.GetStdString(), kFailed};
    for (const host::PanelEntry& entry : panel.entries)
      if (entry.customGui.IsPopulated())
        return {node, &entry};
    throw Stop{"the " + TypeName(e.id) + " tag has no parameter shown through a custom GUI", kFailed};
  }
  throw Stop{"the plug-in registered no tag with a panel"};
}

std::string ValueText(const host::PanelEntry& e, const GeData& value, const BaseDocument* doc)
{
  return host::scene::WriteParameter(value, e.settings, doc, std::string()).dump();
}

/// Every value of the panel that the input changed, as the panel shows it.
void PrintChanges(const host::Panel& before, const host::Panel& after, const BaseDocument* doc)
{
  for (size_t i = 0; i < before.entries.size() && i < after.entries.size(); ++i)
  {
    const host::PanelEntry &a = before.entries[i], &b = after.entries[i];
    if (!a.hasValue || !b.hasValue || a.value == b.value)
      continue;
    std::string label = b.label.IsPopulated() ? b.label.GetStdString() : b.symbol;
    label.resize(std::max<size_t>(label.size(), 24), ' ');
    std::cout << "  " << label << "  " << ValueText(a, a.value, doc) << " -> " << ValueText(b, b.value, doc) << "\n";
  }
}
} // namespace

int PadCommand(const PadArgs& args, const std::string& plugins)
{
  std::vector<Path> drags;
  for (const std::string& d : args.drags)
    drags.push_back(ParsePath(d));
  if (!host::IsPictureName(args.out))
    throw Stop{"-o " + args.out + ": unknown picture format (use .png, .tif or .exr)"};
  CheckOutputFile("-o", args.out);
  if (!args.save.empty())
    CheckOutputFile("--save", args.save);

  host::PluginModule module;
  LoadPlugin(module, plugins);
  BaseDocument* doc = OpenScene(args.scene);
  host::Panel before;
  const auto [node, entry] = PadOf(doc, before);
  const Int32 id = entry->id;
  const std::string label = entry->label.IsPopulated() ? entry->label.GetStdString() : entry->symbol;
  String error;
  std::unique_ptr<host::CustomGuiView> view = host::CustomGuiView::Open(node, id, &error);
  if (!view)
    throw Stop{error.GetStdString(), kFailed};
  std::cout << entry->customGui.GetStdString() << " of \"" << label << "\"" << (entry->hidden ? " (hidden in the panel)" : "")
            << (!entry->hidden && !entry->enabled ? " (greyed out in the panel)" : "") << "\n";

  for (const Path& path : drags)
    view->Drag(path);
  if (args.doubleClick)
  {
    // Where the hand is: at the end of the last drag, else in the middle of the GUI.
    const std::pair<Int32, Int32> at = drags.empty() ? std::pair<Int32, Int32>(view->Gui()->CustomGuiWidth() / 2,
                                                                               view->Gui()->CustomGuiHeight() / 2)
                                                     : drags.back().back();
    view->DoubleClick(at.first, at.second);
  }

  host::Panel after;
  if (!host::EvaluatePanel(node, after, &error))
    throw Stop{error.GetStdString(), kFailed};
  std::cout << view->Edits() << " edit" << (view->Edits() == 1 ? "" : "s") << " from the GUI\n";
  PrintChanges(before, after, doc);

  BaseBitmap* picture = view->Picture();
  std::string saveError;
  const bool saved = picture && host::SaveBitmap(*picture, args.out, false, &saveError);
  BaseBitmap::Free(picture);
  if (!saved)
    throw Stop{"-o " + args.out + ": " + (saveError.empty() ? "the GUI drew nothing" : saveError), kFailed};
  if (!args.save.empty())
  {
    host::scene::SceneError sceneError;
    if (!host::scene::SaveScene(doc, args.save, &sceneError))
      throw Stop{sceneError.Message(), kFailed};
    std::cerr << "saved " << args.save << "\n";
  }
  return 0;
}
} // namespace cli
