// The help commands: the manual beside the plug-in, and the example scenes as a submenu.
#pragma once

#include <map>

#include "c4d.h"

class OrlixManualCommand : public CommandData
{
public:
  static constexpr Int32 ID = 1041519;
  /// Hands "Manual.pdf" of the plug-in's folder to the system to open; true whatever comes of it.
  Bool Execute(BaseDocument* doc, GeDialog* parentManager) override;
};

class OrlixExamplesCommand : public CommandData
{
public:
  static constexpr Int32 ID = 1041520;
  static constexpr Int32 FIRST_EXAMPLE = 1000;
  static constexpr Int32 NO_EXAMPLES = 9999;

  Bool Execute(BaseDocument* doc, GeDialog* parentManager) override;
  /// Loads the picked example as a new active document; false, with a console line, if it won't load.
  Bool ExecuteSubID(BaseDocument* doc, Int32 subid, GeDialog* parentManager) override;
  /// Lists the plug-in's "Examples" folder anew, sorted with numbers in order, as the submenu.
  Bool GetSubContainer(BaseDocument* doc, BaseContainer& submenu, GeDialog* parentManager) override;

private:
  std::map<Int32, Filename> exampleFiles; ///< sub id to the example's full path, as last listed
};
