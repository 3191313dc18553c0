// The help commands: the manual beside the plug-in, and the example scenes as a submenu.
#include "OrlixHelpCommands.h"

#include <algorithm>
#include <new>
#include <vector>

#include "c4d_symbols.h"
#include "console_log.h"

Bool OrlixManualCommand::Execute(BaseDocument*, GeDialog*)
{
  // A missing manual, or none of the system's applications for it, shows nothing.
  SystemOpenFile(GeGetPluginPath() + Filename("/Manual.pdf"), String());
  return true;
}

Bool OrlixExamplesCommand::Execute(BaseDocument*, GeDialog*)
{
  // The parent entry itself does nothing: its submenu does the work.
  return true;
}

Bool OrlixExamplesCommand::GetSubContainer(BaseDocument*, BaseContainer& submenu, GeDialog*)
{
  BaseContainer menu;
  menu.SetString(1, String("Examples"));
  const Filename folder = GeGetPluginPath() + Filename("/Examples");
  exampleFiles.clear();

  // Every entry is offered: no test of extension or kind. What the folder holds is the build's.
  std::vector<String> names;
  if (BrowseFiles* bf = BrowseFiles::Alloc())
  {
    bf->Init(folder, 0);
    while (bf->GetNext())
      names.push_back(bf->GetFilename().GetString());
    BrowseFiles::Free(bf);
  }
  std::sort(names.begin(), names.end(), [](const String& a, const String& b) {
    return a.Compare(b, STRINGCOMPARISON::UNICODE_NUMBERS) < 0;
  });

  if (names.empty())
    menu.SetString(NO_EXAMPLES, String("No Examples found"));
  for (size_t i = 0; i < names.size(); ++i)
  {
    const Int32 subid = FIRST_EXAMPLE + static_cast<Int32>(i);
    // "&i" and a plug-in id: the host shows that plug-in's icon beside the entry.
    menu.SetString(subid, names[i] + String("&i") + String::IntToString(ID));
    exampleFiles[subid] = folder + Filename(names[i]);
  }
  submenu.InsData(0, GeData(menu));
  return true;
}

Bool OrlixExamplesCommand::ExecuteSubID(BaseDocument*, Int32 subid, GeDialog*)
{
  const auto it = exampleFiles.find(subid);
  if (it == exampleFiles.end())
    return true;
  const Filename path = it->second;
  BaseDocument* loaded = LoadDocument(path, SCENEFILTER_OBJECTS | SCENEFILTER_MATERIALS, nullptr, nullptr);
  if (!loaded)
  {
    LogConsole("Error loading example [%s]", path.GetString().GetCString());
    return false;
  }
  InsertBaseDocument(loaded);
  SetActiveDocument(loaded);
  EventAdd(0);
  return true;
}

namespace
{
template <typename Command>
Bool RegisterHelpCommand(Int32 stringId, const char* iconFile)
{
  BaseBitmap* icon = AutoBitmap(String(iconFile), 1.0);
  Command* command = new (std::nothrow) Command();
  Bool ok = false;
  if (command)
  {
    const String name = GeLoadString(stringId);
    ok = RegisterCommandPlugin(Command::ID, name, 0, icon, name, command);
  }
  BaseBitmap::Free(icon);
  return ok;
}
} // namespace

Bool RegisterOrlixManualCommand()
{
  return RegisterHelpCommand<OrlixManualCommand>(IDS_MANUAL, "help.tif");
}

Bool RegisterOrlixExamplesCommand()
{
  return RegisterHelpCommand<OrlixExamplesCommand>(IDS_EXAMPLES, "c4dapp.tif");
}
