// The attribute manager's model: a node's description, as its plug-in shapes it, evaluated into
// the panel a user sees, and the user's edits and button presses on it. The command line's
// `panel` and the studio show this one model.
#pragma once

#include <string>
#include <vector>

#include "c4d.h"

namespace host
{
struct PanelEntry
{
  Int32 id = 0;
  std::string symbol;
  String label;
  std::string type;           ///< the description's element type: BOOL, LONG, REAL, GROUP, ...
  BaseContainer settings;     ///< the entry's description settings (unit, cycle, limits)
  Bool hasValue = false;
  GeData value;               ///< as GetParameter gives it
  Bool hidden = false;        ///< hidden itself or inside a hidden group
  Bool enabled = true;
  Bool open = false;          ///< groups only
  Int32 parent = 0;           ///< the group holding it, 0 at the top
  String customGui;           ///< the name of the registered custom GUI that shows it, or empty
};

struct Panel
{
  String description;
  std::vector<PanelEntry> entries; ///< in description order
};

/// Evaluates `node`'s panel: its plug-in's GetDDescription (else the registered description),
/// then per entry GetDParameter and GetDEnabling. False with `error` set if the node has no
/// description or its plug-in fails to give one.
Bool EvaluatePanel(BaseList2D* node, Panel& panel, String* error);

/// A user's edit in the panel: SetParameter as a user's interaction (which sends message 19),
/// then the expression pass of the node's document.
Bool UserEdit(BaseList2D* node, Int32 id, const GeData& value);

/// A user's press of the button `id`: message 18, then the expression pass.
void PressButton(BaseList2D* node, Int32 id);

/// The expression pass: every expression tag of `doc` runs Execute, in priority order (the
/// priority's mode, then its value, camera-dependent tags after the others; ties in the order of
/// the object tree).
void ExecuteExpressions(BaseDocument* doc);
} // namespace host
