// The menu of the registered commands, and running them as a user's pick.
#include "commands.h"

#include "host_app.h"

namespace host
{
namespace
{
/// Splits a label's icon notation off: "Name&i123" shows "Name" with the icon of plug-in 123.
MenuItem ParseItem(Int32 subId, const String& label)
{
  MenuItem item{subId, label, 0};
  const std::string& text = label.GetStdString();
  const std::string::size_type at = text.rfind("&i");
  if (at == std::string::npos || at + 2 >= text.size() ||
      text.find_first_not_of("0123456789", at + 2) != std::string::npos || text.size() - at > 11)
    return item;
  item.label = String(text.substr(0, at));
  item.iconId = static_cast<Int32>(std::stol(text.substr(at + 2)));
  return item;
}

void ReadSubmenu(const BaseContainer& bc, MenuCommand& cmd)
{
  const GeData& menu = bc.GetData(0);
  if (menu.GetType() != DA_CONTAINER || !menu.GetContainer())
    return;
  const BaseContainer& sub = *menu.GetContainer();
  cmd.hasSub = true;
  cmd.subTitle = sub.GetString(1);
  for (Int32 i = 0; i < sub.GetDataCount(); ++i)
  {
    const Int32 id = sub.GetIndexId(i);
    if (id != 1 && sub.GetData(id).GetType() == DA_STRING)
      cmd.sub.push_back(ParseItem(id, sub.GetString(id)));
  }
}
} // namespace

std::vector<MenuCommand> BuildMenu(BaseDocument* doc)
{
  std::vector<MenuCommand> menu;
  for (const PluginEntry& e : App().plugins.All())
  {
    if (e.kind != PluginEntry::Kind::Command || !e.command)
      continue;
    MenuCommand cmd;
    cmd.id = e.id;
    cmd.name = e.name;
    cmd.help = e.help;
    cmd.hasIcon = e.icon != nullptr;
    cmd.state = e.command->GetState(doc, nullptr);
    BaseContainer bc;
    if (e.command->GetSubContainer(doc, bc, nullptr))
      ReadSubmenu(bc, cmd);
    menu.push_back(std::move(cmd));
  }
  return menu;
}

Bool RunCommand(BaseDocument* doc, Int32 id, Int32 subId)
{
  const PluginEntry* e = App().plugins.Find(id);
  if (!e || e->kind != PluginEntry::Kind::Command || !e->command)
    return false;
  const std::shared_ptr<CommandData> command = e->command; // the command may register others
  if (!(command->GetState(doc, nullptr) & CMD_ENABLED))
    return false;
  return subId ? command->ExecuteSubID(doc, subId, nullptr) : command->Execute(doc, nullptr);
}
} // namespace host
