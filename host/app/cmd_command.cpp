// orlixcam commands and orlixcam command: the menu of the plug-ins' commands, and one of them
// run on a scene as a user picks it, then undone and redone, and the document saved.
#include "cli.h"

#include <algorithm>
#include <cctype>
#include <iostream>

#include "commands.h"
#include "panel.h"
#include "scene/scene_file.h"

namespace cli
{
namespace
{
std::string Lower(std::string s)
{
  std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return s;
}

bool IsNumber(const std::string& s)
{
  return !s.empty() && s.size() < 10 && std::all_of(s.begin(), s.end(), [](unsigned char c) { return std::isdigit(c); });
}

/// The command by id, by name, or by the one name that holds the words; ambiguity is bad input.
const host::MenuCommand& FindCommand(const std::vector<host::MenuCommand>& menu, const std::string& what)
{
  std::vector<const host::MenuCommand*> partial;
  for (const host::MenuCommand& c : menu)
  {
    if ((IsNumber(what) && c.id == std::stoi(what)) || Lower(c.name.GetStdString()) == Lower(what))
      return c;
    if (Lower(c.name.GetStdString()).find(Lower(what)) != std::string::npos)
      partial.push_back(&c);
  }
  if (partial.size() == 1)
    return *partial.front();
  std::string names;
  for (const host::MenuCommand* c : partial)
    names += "\n  " + std::to_string(c->id) + "  " + c->name.GetStdString();
  throw Stop{partial.empty() ? "no command " + what + " (orlixcam commands lists them)"
                             : "\"" + what + "\" names several commands:" + names};
}

/// The submenu entry by sub id or by its text.
Int32 FindEntry(const host::MenuCommand& c, const std::string& pick)
{
  if (!c.hasSub)
    throw Stop{"--pick: " + c.name.GetStdString() + " has no submenu"};
  for (const host::MenuItem& item : c.sub)
    if ((IsNumber(pick) && item.subId == std::stoi(pick)) || item.label.GetStdString() == pick)
      return item.subId;
  throw Stop{"--pick " + pick + ": no such entry in " + c.name.GetStdString() + "'s submenu (orlixcam commands lists it)"};
}

void Repeat(BaseDocument* doc, int times, bool undo)
{
  for (int i = 0; i < times; ++i)
    if (!(undo ? doc->DoUndo() : doc->DoRedo()))
      throw Stop{std::string(undo ? "--undo " : "--redo ") + std::to_string(times) + ": only " + std::to_string(i) +
                 " step(s) to " + (undo ? "undo" : "redo")};
}

/// What the command asked of the user and of the system, as a person would have seen it.
void ShowUi(size_t questionsBefore, size_t filesBefore)
{
  const host::UiRecord& ui = host::App().ui;
  for (size_t i = questionsBefore; i < ui.questions.size(); ++i)
    std::cerr << "dialog: " << ui.questions[i].text.GetStdString() << "\n  answered "
              << (ui.questions[i].answer == GEMB_R_YES ? "yes" : ui.questions[i].answer == GEMB_R_NO ? "no" : "OK") << "\n";
  for (size_t i = filesBefore; i < ui.openedFiles.size(); ++i)
    std::cout << "the system opens " << ui.openedFiles[i].GetStdString() << "\n";
}
} // namespace

int CommandsCommand(const std::string& plugins)
{
  host::PluginModule module;
  LoadPlugin(module, plugins);
  BaseDocument* doc = BaseDocument::Alloc();
  SetActiveDocument(doc);
  for (const host::MenuCommand& c : host::BuildMenu(doc))
  {
    std::cout << c.id << "  " << c.name.GetStdString() << (c.state & CMD_ENABLED ? "" : "  (greyed out)")
              << (c.hasIcon ? "" : "  (no icon)") << "\n    " << c.help.GetStdString() << "\n";
    if (!c.hasSub)
      continue;
    std::cout << "    submenu \"" << c.subTitle.GetStdString() << "\":\n";
    for (const host::MenuItem& item : c.sub)
      std::cout << "      " << item.subId << "  " << item.label.GetStdString()
                << (item.iconId ? "  [icon of " + std::to_string(item.iconId) + "]" : std::string()) << "\n";
  }
  return 0;
}

int CommandCommand(const CommandArgs& args, const std::string& plugins)
{
  if (!args.out.empty())
    CheckOutputFile("-o", args.out);
  host::PluginModule module;
  LoadPlugin(module, plugins);
  BaseDocument* doc = OpenScene(args.scene);
  if (!args.select.empty())
  {
    BaseObject* op = doc->SearchObject(String(args.select));
    if (!op)
      throw Stop{"--select " + args.select + ": the scene has no object of that name"};
    doc->SetActiveObject(op, SELECTION_NEW);
  }
  for (const std::string& a : args.answers)
    host::App().ui.answers.push_back(a == "yes" ? GEMB_R_YES : GEMB_R_NO);

  // The user opens the menu, then picks the command or an entry of its submenu.
  const std::vector<host::MenuCommand> menu = host::BuildMenu(doc);
  const host::MenuCommand& c = FindCommand(menu, args.command);
  const Int32 subId = args.pick.empty() ? 0 : FindEntry(c, args.pick);
  if (!(c.state & CMD_ENABLED))
    throw Stop{c.name.GetStdString() + " is greyed out in this document"};
  const size_t questions = host::App().ui.questions.size(), files = host::App().ui.openedFiles.size();
  const bool ok = host::RunCommand(doc, c.id, subId);
  ShowUi(questions, files);
  if (!ok)
    throw Stop{c.name.GetStdString() + " failed; nothing saved", kFailed};

  BaseDocument* result = GetActiveDocument(); // a command may open a document of its own
  host::ExecuteExpressions(result);
  Repeat(result, args.undo, true);
  Repeat(result, args.redo, false);
  if (args.undo || args.redo)
    host::ExecuteExpressions(result);

  if (args.out.empty())
    return 0;
  host::scene::SceneError saveError;
  if (!host::scene::SaveScene(result, args.out, &saveError))
    throw Stop{saveError.Message(), kFailed};
  std::cerr << "saved " << args.out << "\n";
  return 0;
}
} // namespace cli
