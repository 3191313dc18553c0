// orlixcam panel: a node's attribute panel as the host shows it, after the user's edits and
// button presses given on the command line.
#include "cli.h"

#include <iostream>

#include "c4d_resource.h"
#include "panel.h"
#include "scene/scene_file.h"
#include "scene/scene_values.h"

namespace cli
{
namespace
{
/// The node the panel shows: that of the first registered plug-in of the kind with a description.
BaseList2D* PanelNode(BaseDocument* doc, const std::string& kind, const std::function<BaseObject*()>& camera)
{
  const auto want = kind == "tag" ? host::PluginEntry::Kind::Tag : host::PluginEntry::Kind::VideoPost;
  for (const host::PluginEntry& e : host::App().plugins.All())
  {
    if (e.kind != want || !e.description.IsPopulated())
      continue;
    if (BaseList2D* node = NodeOfType(doc, e, camera))
      return node;
    throw Stop{MissingNode(e)};
  }
  throw Stop{"the plug-in registered no " + std::string(kind == "tag" ? "tag" : "video post") + " with a panel"};
}

host::scene::Json EntryValue(const host::PanelEntry& e, const BaseDocument* doc, const std::string& folder)
{
  if (!e.hasValue)
    return nullptr;
  if (e.type == "STATICTEXT")
    return e.value.GetType() == DA_STRING ? host::scene::Json(e.value.GetString().GetStdString()) : nullptr;
  return host::scene::WriteParameter(e.value, e.settings, doc, folder);
}

/// A value as a person reads it: a cycle's label beside its number.
std::string ValueText(const host::PanelEntry& e, const host::scene::Json& value)
{
  if (value.is_null())
    return std::string();
  if (value.is_string())
  {
    std::string text = value.get<std::string>();
    for (size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + 2))
      text.replace(at, 1, "\\n");
    return text;
  }
  const GeData& cycleData = e.settings.GetData(DESC_CYCLE);
  const BaseContainer* cycle = cycleData.GetType() == DA_CONTAINER ? cycleData.GetContainer() : nullptr;
  if (cycle && value.is_number_integer() && cycle->GetDataPointer(value.get<Int32>()))
    return cycle->GetString(value.get<Int32>()).GetStdString() + " (" + value.dump() + ")";
  return value.dump();
}

void PrintText(const host::Panel& panel, BaseList2D* node, const BaseDocument* doc, const std::string& folder)
{
  std::cout << panel.description.GetStdString() << " \"" << node->GetName().GetStdString() << "\"\n";
  std::map<Int32, int> depth;
  int hidden = 0;
  for (const host::PanelEntry& e : panel.entries)
  {
    const int d = depth.count(e.parent) ? depth[e.parent] + 1 : 1;
    if (e.type == "GROUP")
      depth[e.id] = d;
    if (e.hidden)
    {
      ++hidden;
      continue;
    }
    std::string line(static_cast<size_t>(d) * 2, ' ');
    if (e.type == "GROUP")
      line += (e.open ? "v " : "> ") + e.label.GetStdString();
    else
    {
      std::string label = e.label.GetStdString();
      if (label.empty())
        label = e.symbol;
      label.resize(std::max<size_t>(label.size(), 30 - std::min<size_t>(30, line.size())), ' ');
      line += label + "  " + ValueText(e, EntryValue(e, doc, folder));
      if (e.type == "BUTTON")
        line += "[button]";
      if (e.customGui.IsPopulated())
        line += "  [" + e.customGui.GetStdString() + "]";
    }
    if (!e.enabled)
      line += "  (greyed out)";
    std::cout << line << "\n";
  }
  if (hidden)
    std::cout << "(" << hidden << " hidden entries; --json lists them)\n";
}

void PrintJson(const host::Panel& panel, const BaseDocument* doc, const std::string& folder)
{
  host::scene::Json entries = host::scene::Json::array();
  for (const host::PanelEntry& e : panel.entries)
  {
    host::scene::Json j = {{"id", e.id},
                           {"symbol", e.symbol},
                           {"label", e.label.GetStdString()},
                           {"type", e.type},
                           {"value", EntryValue(e, doc, folder)},
                           {"hidden", static_cast<bool>(e.hidden)},
                           {"enabled", static_cast<bool>(e.enabled)},
                           {"parent", e.parent}};
    if (e.type == "GROUP")
      j["open"] = static_cast<bool>(e.open);
    if (e.customGui.IsPopulated())
      j["customGui"] = e.customGui.GetStdString();
    entries.push_back(std::move(j));
  }
  std::cout << host::scene::Json{{"node", panel.description.GetStdString()}, {"entries", entries}}.dump(2) << "\n";
}
} // namespace

int PanelCommand(const PanelArgs& args, const std::string& plugins)
{
  if (!args.out.empty())
    CheckOutputFile("-o", args.out);
  host::PluginModule module;
  LoadPlugin(module, plugins);
  BaseDocument* doc = OpenScene(args.scene);
  host::App().ui.defaultAnswer = args.answer == "yes" ? GEMB_R_YES : GEMB_R_NO;
  std::optional<host::RenderPlan> plan;
  const std::function<BaseObject*()> camera = [&] {
    if (!plan)
      plan = Plan(doc, host::RenderOptions(), nullptr);
    return plan->camera;
  };
  BaseList2D* node = PanelNode(doc, args.node, camera);
  host::ExecuteExpressions(doc);
  for (const std::string& s : args.sets)
    ApplySet(doc, s, camera);
  for (const std::string& symbol : args.presses)
  {
    Int32 id = 0;
    const host::DescriptionResource* desc = host::scene::DescriptionOf(node->GetType());
    const BaseContainer* entry = desc ? host::scene::FindEntry(*desc, symbol, &id) : nullptr;
    const std::string type = entry ? entry->GetString(DESC_TYPE).GetStdString() : std::string();
    if (!entry)
      throw Stop{"--press " + symbol + ": " + TypeName(node->GetType()) + " has no entry " + symbol};
    if (type != "BUTTON" && type != "BITMAPBUTTON")
      throw Stop{"--press " + symbol + ": " + symbol + " is a " + type + ", not a button"};
    const size_t asked = host::App().ui.questions.size();
    host::PressButton(node, id);
    for (size_t i = asked; i < host::App().ui.questions.size(); ++i)
    {
      const host::Question& q = host::App().ui.questions[i];
      std::cerr << "dialog: " << q.text.GetStdString() << "\n  answered "
                << (q.answer == GEMB_R_YES ? "yes" : q.answer == GEMB_R_NO ? "no" : "OK") << "\n";
    }
  }

  host::Panel panel;
  String error;
  if (!host::EvaluatePanel(node, panel, &error))
    throw Stop{error.GetStdString(), kFailed};
  const std::string folder = doc->GetDocumentPath().GetString().GetStdString();
  if (args.json)
    PrintJson(panel, doc, folder);
  else
    PrintText(panel, node, doc, folder);

  if (!args.out.empty())
  {
    host::scene::SceneError saveError;
    if (!host::scene::SaveScene(doc, args.out, &saveError))
      throw Stop{saveError.Message(), kFailed};
    std::cerr << "saved " << args.out << "\n";
  }
  return 0;
}
} // namespace cli
