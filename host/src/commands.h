// The menu of the registered commands, and running them as a user's pick.
#pragma once

#include <vector>

#include "c4d.h"

namespace host
{
/// An entry of a command's submenu: its sub id, its text, and the plug-in whose icon stands
/// beside it (the label's "&i" notation), or 0.
struct MenuItem
{
  Int32 subId = 0;
  String label;
  Int32 iconId = 0;
};

/// A command as the menu shows it.
struct MenuCommand
{
  Int32 id = 0;
  String name, help;
  bool hasIcon = false;
  Int32 state = 0;      ///< what GetState answered
  bool hasSub = false;  ///< GetSubContainer answered with a submenu
  String subTitle;
  std::vector<MenuItem> sub; ///< in the container's order
};

/// The registered commands in the order of registration, each asked for its state and submenu
/// in `doc`, as the host does when it opens the menu.
std::vector<MenuCommand> BuildMenu(BaseDocument* doc);

/// The user picks command `id` (with `subId`, an entry of its submenu) in `doc`: false if no such
/// command is registered, it isn't enabled, or it fails.
Bool RunCommand(BaseDocument* doc, Int32 id, Int32 subId = 0);
} // namespace host
