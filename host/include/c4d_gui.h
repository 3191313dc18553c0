// The host's GUI: dialogs, user areas that draw off screen, and the custom GUIs through which the
// attribute manager shows a parameter.
#pragma once

#include <memory>
#include <vector>

#include "c4d_container.h"
#include "c4d_string.h"
#include "c4d_types.h"

class BaseBitmap;
class GeDialog;
class iCustomGui;

/// A GUI event id: four characters read as a big-endian Int32.
constexpr Int32 FourCharId(const char (&c)[5])
{
  return static_cast<Int32>((static_cast<UInt32>(static_cast<UChar>(c[0])) << 24) |
                            (static_cast<UInt32>(static_cast<UChar>(c[1])) << 16) |
                            (static_cast<UInt32>(static_cast<UChar>(c[2])) << 8) | static_cast<UChar>(c[3]));
}

// Events and their keys.
enum : Int32
{
  BFM_INPUT = FourCharId("inpt"),             ///< an input event; its container holds the keys below
  BFM_INPUT_DEVICE = FourCharId("ipdv"),      ///< Int32: BFM_INPUT_MOUSE or BFM_INPUT_KEYBOARD
  BFM_INPUT_MOUSE = FourCharId("mous"),
  BFM_INPUT_KEYBOARD = FourCharId("kbrd"),
  BFM_INPUT_CHANNEL = FourCharId("ipca"),     ///< Int32: the button (or the key's code)
  BFM_INPUT_VALUE = FourCharId("ipva"),       ///< Int32: 1 while the button is down
  BFM_INPUT_DOUBLECLICK = FourCharId("ipdb"), ///< Bool: the press is the second of a double click
  BFM_INPUT_X = FourCharId("ipvx"),           ///< Int32: mouse position in global coordinates
  BFM_INPUT_Y = FourCharId("ipvy"),
  BFM_ACTION = FourCharId("bACT"),            ///< a gadget's action, turned into Command
  BFM_ACTION_ID = FourCharId("meid"),         ///< Int32: the gadget's id
  BFM_ACTION_VALUE = FourCharId("meva"),      ///< GeData: the gadget's value
};

/// Mouse channels of BFM_INPUT_CHANNEL.
enum : Int32
{
  BFM_INPUT_MOUSELEFT = 1,
  BFM_INPUT_MOUSERIGHT = 2,
};

/// Layout flags of a gadget: grow and fill the space given, horizontally and vertically.
enum : Int32
{
  BFV_SCALEFIT = 7,
  BFH_SCALEFIT = 56,
};

/// Flags of AttachUserArea. This host hears no core messages, so the flag changes nothing here.
enum : Int32
{
  USERAREAFLAGS_NONE = 0,
  USERAREAFLAGS_COREMESSAGE = 4,
};

/// The host's colours by id, as DrawSetPen takes them. This host's values (RGB):
/// COLOR_BG (56, 56, 56), the panel's dark grey; COLOR_HIGHLIGHT (255, 255, 255), white, readable
/// over the dark maps and their coloured lines. Any other id draws in COLOR_BG.
enum : Int32
{
  COLOR_BG = 1000,
  COLOR_HIGHLIGHT = 1004,
};

/// Modes of DrawBitmap: the picture's alpha, where it has one, blends it over what is there.
enum : Int32
{
  BMP_NORMAL = 0,
  BMP_ALLOWALPHA = 256,
};

/// Description data types, as a custom GUI lists those it can edit.
enum : Int32
{
  DTYPE_VECTOR = 23,
};

/// A value shown for one or for several nodes at once: `tri` when they differ.
template <class T>
class TriState
{
public:
  TriState() = default;
  explicit TriState(const T& v) : value(v) {}
  const T& GetValue() const { return value; }
  Bool GetTri() const { return tri; }

private:
  T value{};
  Bool tri = false;
};

/// A rectangle of the window that draws itself. This host keeps an RGB raster of the area's
/// size, drawn whenever the area redraws, and delivers input from a script.
class GeUserArea
{
public:
  GeUserArea();
  virtual ~GeUserArea();
  GeUserArea(const GeUserArea&) = delete;
  GeUserArea& operator=(const GeUserArea&) = delete;

  /// The smallest size the area accepts; false leaves the size of AddUserArea.
  virtual Bool GetMinSize(Int32& w, Int32& h) { (void)w, (void)h; return false; }
  /// Draws the region (inclusive corners) in the area's own coordinates.
  virtual void DrawMsg(Int32 x1, Int32 y1, Int32 x2, Int32 y2, const BaseContainer& msg) { (void)x1, (void)y1, (void)x2, (void)y2, (void)msg; }
  /// An input event (BFM_INPUT); true if the area took it.
  virtual Bool InputEvent(const BaseContainer& msg) { (void)msg; return false; }

  /// The dialog the area is attached to, or null.
  GeDialog* GetDialog() const;
  Int32 GetWidth() const;
  Int32 GetHeight() const;

  /// Draws into a hidden raster that is shown once DrawMsg returns. This host always does, so
  /// the call only says so.
  Bool OffScreenOn();
  void DrawSetPen(Int32 colorId);
  /// Fills the rectangle (inclusive corners) with the pen's colour.
  void DrawRectangle(Int32 x1, Int32 y1, Int32 x2, Int32 y2);
  /// Draws the source rectangle (x, y, w, h) of `bmp` into (wx, wy, ww, wh), scaled to it by the
  /// nearest pixel. A null bitmap draws nothing.
  void DrawBitmap(const BaseBitmap* bmp, Int32 wx, Int32 wy, Int32 ww, Int32 wh, Int32 x, Int32 y, Int32 w, Int32 h, Int32 mode);
  /// A line in the pen's colour, both ends drawn; `lineWidth` in pixels (at least one), style 0 solid.
  void DrawLine(Int32 x1, Int32 y1, Int32 x2, Int32 y2, Float lineWidth = 1.0, Int32 lineStyle = 0);
  /// Turns a global position into the area's coordinates.
  Bool Global2Local(Int32* x, Int32* y) const;
  /// The state of `channel` of `device` now, as a BFM_INPUT container; false if the host can't say.
  Bool GetInputState(Int32 askdevice, Int32 askchannel, BaseContainer& res) const;
  /// Draws the area now; this host has no GUI thread, so `threaded` draws at once as well.
  void Redraw(Bool threaded = false);

  struct Host;
  /// The host's side of the area.
  Host& GetHost() const { return *host; }

private:
  std::unique_ptr<Host> host;
};

/// The host's handle of a dialog.
struct CDialog;

/// A window of gadgets. This host lays its user areas out in a column.
class GeDialog
{
public:
  GeDialog();
  virtual ~GeDialog();
  GeDialog(const GeDialog&) = delete;
  GeDialog& operator=(const GeDialog&) = delete;

  virtual Bool CreateLayout() { return true; }
  virtual Bool InitValues() { return true; }
  /// A gadget's action: `id` is the gadget's, `msg` the BFM_ACTION container.
  virtual Bool Command(Int32 id, const BaseContainer& msg) { (void)id, (void)msg; return true; }
  /// Every message the dialog gets; the base turns BFM_ACTION into Command.
  virtual Int32 Message(const BaseContainer& msg, BaseContainer& result);

  /// Adds a user area gadget with the layout `flags` and its initial size.
  Bool AddUserArea(Int32 id, Int32 flags, Int32 initw = 0, Int32 inith = 0);
  /// Puts `ua` into the gadget `id`; false if there is no such gadget or it holds an area already.
  Bool AttachUserArea(GeUserArea& ua, Int32 id, Int32 userareaflags = USERAREAFLAGS_NONE);
  /// The dialog's own id, given by whoever holds it (the attribute manager: the parameter's).
  Int32 GetId() const;
  /// Hands `msg` to the dialog holding this one; false if there is none.
  Bool SendParentMessage(const BaseContainer& msg);
  CDialog* Get() const;

private:
  std::unique_ptr<CDialog> handle;
};

/// A dialog that lives inside another one.
class SubDialog : public GeDialog
{
};

/// The host's record of a registered custom GUI.
struct CUSTOMGUIPLUGIN;

/// A parameter's editor in the attribute manager, made by its CustomGuiData.
class iCustomGui : public SubDialog
{
public:
  /// `settings` are the parameter's description settings; this host lays custom GUIs out by
  /// their own width and height and reads none of them.
  iCustomGui(const BaseContainer& settings, CUSTOMGUIPLUGIN* plugin);

  virtual Int32 CustomGuiWidth() { return 0; }
  virtual Int32 CustomGuiHeight() { return 0; }
  virtual void CustomGuiRedraw() {}
  /// Shows `tristate`'s value; false if it can't.
  virtual Bool SetData(const TriState<GeData>& tristate) { (void)tristate; return false; }
  virtual TriState<GeData> GetData() { return TriState<GeData>(); }

  CUSTOMGUIPLUGIN* GetPlugin() const { return plugin; }

private:
  CUSTOMGUIPLUGIN* plugin;
};

/// A node's data every plug-in kind derives from.
class BaseData
{
public:
  virtual ~BaseData() = default;
};

/// A description setting that a custom GUI offers; this host offers none.
struct CustomProperty;

/// The factory of a custom GUI, which the host holds from its registration on.
class CustomGuiData : public BaseData
{
public:
  virtual Int32 GetId() = 0;
  /// Makes the GUI for a parameter with the description `settings`; gives its dialog's handle.
  virtual CDialog* Alloc(const BaseContainer& settings) = 0;
  /// Frees a GUI made by Alloc: `userdata` is its iCustomGui.
  virtual void Free(CDialog* dlg, void* userdata) = 0;
  /// The symbol a description names the GUI by (CUSTOMGUI XYPAD).
  virtual const Char* GetResourceSym() = 0;
  virtual CustomProperty* GetProperties() { return nullptr; }
  /// Points `table` at the data types the GUI edits; gives their number.
  virtual Int32 GetResourceDataType(Int32*& table) = 0;

  /// This GUI's record with the host, null before its registration.
  CUSTOMGUIPLUGIN* GetPlugin() const;
};

/// A table of functions that a plug-in installs for others to call by the library's id.
struct C4DLibrary
{
  Int32 size = 0;
  Int32 version = 0;
};

/// The library of a custom GUI: the host's dispatch to its operations.
struct BaseCustomGuiLib : C4DLibrary
{
  Bool (*SetData)(iCustomGui* gui, const TriState<GeData>& value) = nullptr;
  TriState<GeData> (*GetData)(iCustomGui* gui) = nullptr;
  Int32 (*Width)(iCustomGui* gui) = nullptr;
  Int32 (*Height)(iCustomGui* gui) = nullptr;
  void (*Redraw)(iCustomGui* gui) = nullptr;
};

/// Fills `lib` with the host's dispatch functions.
void FillBaseCustomGui(BaseCustomGuiLib& lib);
/// Installs the library `lib` (which stays the caller's and must outlive the host's use) under `id`;
/// false if `size` is smaller than the host's record or the id has a library of a newer version.
Bool InstallLibrary(Int32 id, C4DLibrary* lib, Int32 version, Int32 size);
/// Registers a custom GUI under its own id; the host owns `dat` from here on, whatever the result.
Bool RegisterCustomGuiPlugin(const String& name, Int32 info, CustomGuiData* dat);
