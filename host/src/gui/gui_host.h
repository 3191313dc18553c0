// The host's side of dialogs, user areas and custom GUIs: what the runtime keeps of them, their
// layout, the scripted mouse and the registered GUIs and libraries.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "c4d.h"

/// The host's record of a registered custom GUI.
struct CUSTOMGUIPLUGIN
{
  Int32 id = 0;
  String name;
  Int32 info = 0;
  std::string symbol;        ///< the resource symbol descriptions name it by
  std::vector<Int32> types;  ///< the description data types it edits
  std::unique_ptr<CustomGuiData> data;
};

/// A user area's place and picture.
struct GeUserArea::Host
{
  GeDialog* dialog = nullptr;
  Int32 x = 0, y = 0;   ///< top left in the dialog
  BaseBitmap* raster = nullptr;
  Int32 pen[3] = {0, 0, 0};
  ~Host();
  /// Makes the raster `w` by `h` (at least 1 by 1), filled with the background colour.
  void Resize(Int32 w, Int32 h);
};

struct CDialog
{
  GeDialog* owner = nullptr;
  iCustomGui* gui = nullptr; ///< the owner as a custom GUI, or null
  Int32 id = 0;
  GeDialog* parent = nullptr;
  Int32 globalX = 0, globalY = 0; ///< the dialog's top left in the window
  struct Gadget
  {
    Int32 id, flags, w, h;
    GeUserArea* area;
  };
  std::vector<Gadget> gadgets;
};

namespace host
{
namespace gui
{
/// What the user area shows now; null before it is attached.
inline const BaseBitmap* GetRaster(const GeUserArea& area)
{
  return area.GetHost().raster;
}

/// The RGB value of a host colour id.
void ColourOf(Int32 colorId, Int32 rgb[3]);

/// Places `dlg` at (globalX, globalY) of the window, `width` by `height` pixels: its user areas in
/// a column from the top, each at its minimum size (else its initial one), widened to `width` if
/// it scales horizontally and to what is left of `height` if vertically. Then draws them.
void Layout(GeDialog& dlg, Int32 globalX, Int32 globalY, Int32 width, Int32 height);
/// Gives `dlg` its id and the dialog its messages go to.
void SetParent(GeDialog& dlg, GeDialog* parent, Int32 id);
/// The dialog as shown: its user areas' rasters at their places over the background; null if the
/// dialog has no area.
BaseBitmap* Picture(const GeDialog& dlg);

/// Hands the input event `msg` (global position) to the user area under its position; false if
/// there is none or it doesn't take the event.
Bool Deliver(GeDialog& dlg, const BaseContainer& msg);
/// A press of the left button at the first point of `path` (global), moved through the others
/// and let go at the last; the area under the press gets the event and polls the rest.
Bool Drag(GeDialog& dlg, const std::vector<std::pair<Int32, Int32>>& path, Bool doubleClick);
/// An input event of `device` and `channel` at a global position.
BaseContainer InputEvent(Int32 device, Int32 channel, Int32 x, Int32 y, Bool down, Bool doubleClick);

/// The registered custom GUI whose resource symbol is `symbol` and which edits `dtype`, or null.
CUSTOMGUIPLUGIN* FindCustomGui(const std::string& symbol, Int32 dtype);
/// The installed library of `id`, or null.
C4DLibrary* FindLibrary(Int32 id);
/// The description data type of an entry's type keyword ("VECTOR"), or 0.
Int32 DataTypeOf(const std::string& keyword);
} // namespace gui
} // namespace host
