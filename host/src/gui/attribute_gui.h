// The attribute manager's side of a custom GUI: a parameter shown through the GUI its description
// names, the user's input on it, and the GUI's edits taken back as the user's.
#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "c4d.h"

struct CUSTOMGUIPLUGIN;

namespace host
{
/// The registered custom GUI that the description settings of an entry name for its type, or null.
CUSTOMGUIPLUGIN* CustomGuiFor(const BaseContainer& settings);

class CustomGuiView
{
public:
  /// Where the manager's window puts the GUI: right of the labels' column.
  static constexpr Int32 kLeft = 160, kTop = 24;

  /// Opens the GUI of parameter `id` of `node` as the manager shows it: allocated, laid out,
  /// given the parameter's value, drawn. Null with `error` if the node's description names no
  /// registered GUI for the parameter, the GUI has no library, or it can't be made.
  static std::unique_ptr<CustomGuiView> Open(BaseList2D* node, Int32 id, String* error);
  ~CustomGuiView();

  /// The left button pressed at the first point of `path` (the GUI's pixels), moved through the
  /// rest and let go at the last; whether the GUI took it.
  Bool Drag(const std::vector<std::pair<Int32, Int32>>& path);
  /// A click and a double click at (x, y).
  Bool DoubleClick(Int32 x, Int32 y);
  /// Any input event, its position in the GUI's pixels.
  Bool Input(BaseContainer event);

  iCustomGui* Gui() const { return gui; }
  /// The GUI as drawn now; the caller frees it. Null if it has nothing to show.
  BaseBitmap* Picture() const;
  /// How many values the GUI sent back, each taken as the user's edit.
  Int32 Edits() const { return parent.edits; }

private:
  // The manager's own dialog, which the GUI's actions reach through SendParentMessage.
  struct Parent : GeDialog
  {
    CustomGuiView* view = nullptr;
    Int32 edits = 0;
    Int32 Message(const BaseContainer& msg, BaseContainer& result) override;
  };

  CustomGuiView() = default;
  std::pair<Int32, Int32> Global(Int32 x, Int32 y) const { return {x + kLeft, y + kTop}; }

  BaseList2D* node = nullptr;
  Int32 id = 0;
  CUSTOMGUIPLUGIN* plugin = nullptr;
  BaseCustomGuiLib* lib = nullptr;
  CDialog* handle = nullptr;
  iCustomGui* gui = nullptr;
  Parent parent;
};
} // namespace host
