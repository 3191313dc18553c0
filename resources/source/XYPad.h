// XY pad: the custom GUI that edits x and y of a vector parameter on a map picture.
#pragma once

#include "c4d.h"

/// The pads' pictures, loaded once at registration and shared by every pad; null if missing.
extern BaseBitmap* g_mapDome;
extern BaseBitmap* g_mapPano;

/// The pad itself: the picture, its cross, and the left button's drag. `value` is (x, y) as
/// fractions of the pad from the top left, z > 0 for the dome's round pad.
class XYPadUserArea : public GeUserArea
{
public:
  ~XYPadUserArea() override = default;
  Bool GetMinSize(Int32& w, Int32& h) override;
  void DrawMsg(Int32 x1, Int32 y1, Int32 x2, Int32 y2, const BaseContainer& msg) override;
  Bool InputEvent(const BaseContainer& msg) override;

  Vector value;
};

/// The GUI the attribute manager holds: a dialog with the pad as its one user area.
class XYPadGui : public iCustomGui
{
public:
  XYPadGui(const BaseContainer& settings, CUSTOMGUIPLUGIN* plugin) : iCustomGui(settings, plugin) {}
  ~XYPadGui() override = default;
  Bool CreateLayout() override;
  Bool InitValues() override { return true; }
  Bool Command(Int32 id, const BaseContainer& msg) override;
  Int32 CustomGuiWidth() override;
  Int32 CustomGuiHeight() override;
  void CustomGuiRedraw() override;
  Bool SetData(const TriState<GeData>& tristate) override;
  TriState<GeData> GetData() override;

  XYPadUserArea area;
};

/// The factory of pads that the host keeps.
class XYPadData : public CustomGuiData
{
public:
  static constexpr Int32 ID = 1036905;

  ~XYPadData() override = default;
  Int32 GetId() override { return ID; }
  CDialog* Alloc(const BaseContainer& settings) override;
  void Free(CDialog* dlg, void* userdata) override;
  const Char* GetResourceSym() override { return "XYPAD"; }
  CustomProperty* GetProperties() override { return nullptr; }
  Int32 GetResourceDataType(Int32*& table) override;
};
