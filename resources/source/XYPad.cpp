// XY pad: the custom GUI that edits x and y of a vector parameter on a map picture.
#include "XYPad.h"

#include <cmath>
#include <new>

#include "register.h"

BaseBitmap* g_mapDome = nullptr;
BaseBitmap* g_mapPano = nullptr;

namespace
{
// The pad's user area, and the gadget whose action the dialog hears.
constexpr Int32 kAreaId = 1000;
constexpr Int32 kLibraryVersion = 1000;
constexpr Int32 kInfo = 2;

Bool IsDome(const Vector& value)
{
  return value.z > 0.0;
}

Float32 Clamp01(Float32 v)
{
  return v < 0.0f ? 0.0f : (v > 1.0f ? 1.0f : v);
}

// What the dialog's Command turns into the parameter's new value.
void SendAction(GeUserArea& area)
{
  GeDialog* dialog = area.GetDialog();
  if (!dialog)
    return;
  BaseContainer action(BFM_ACTION), result;
  action.SetInt32(BFM_ACTION_ID, kAreaId);
  dialog->Message(action, result);
}

// A picture of res/ as a bitmap of our own, or null.
BaseBitmap* LoadMap(const char* name)
{
  BaseBitmap* loaded = AutoBitmap(String(name), 1.0);
  if (!loaded)
    return nullptr;
  BaseBitmap* clone = loaded->GetClone();
  BaseBitmap::Free(loaded);
  return clone;
}
} // namespace

Bool XYPadUserArea::GetMinSize(Int32& w, Int32& h)
{
  w = IsDome(value) ? 100 : 200;
  h = 100;
  return true;
}

void XYPadUserArea::DrawMsg(Int32 x1, Int32 y1, Int32 x2, Int32 y2, const BaseContainer& /*msg*/)
{
  OffScreenOn();
  DrawSetPen(COLOR_BG);
  DrawRectangle(x1, y1, x2, y2);
  const Bool dome = IsDome(value);
  const Int32 w = dome ? 100 : 200;
  if (const BaseBitmap* map = dome ? g_mapDome : g_mapPano)
    DrawBitmap(map, 0, 0, w, 100, 0, 0, map->GetBw(), map->GetBh(), BMP_ALLOWALPHA);
  // The last pixel, not the edge past it: x = 1 puts the cross on column w - 1.
  const Int32 cx = static_cast<Int32>((w - 1.0) * value.x + x1);
  const Int32 cy = static_cast<Int32>(99.0 * value.y + y1);
  DrawSetPen(COLOR_HIGHLIGHT);
  DrawLine(cx, cy - 4, cx, cy + 4, 1.0, 0);
  DrawLine(cx - 4, cy, cx + 4, cy, 1.0, 0);
}

Bool XYPadUserArea::InputEvent(const BaseContainer& msg)
{
  if (msg.GetInt32(BFM_INPUT_DEVICE) != BFM_INPUT_MOUSE || msg.GetInt32(BFM_INPUT_CHANNEL) != BFM_INPUT_MOUSELEFT)
    return false;
  const Bool dome = IsDome(value);
  const Float32 w = dome ? 100.0f : 200.0f;
  // While the button is down the pad keeps control and polls the mouse itself.
  BaseContainer state;
  if (GetInputState(BFM_INPUT_MOUSE, BFM_INPUT_MOUSELEFT, state))
  {
    for (Bool first = true; state.GetInt32(BFM_INPUT_VALUE) != 0; first = false)
    {
      if (msg.GetBool(BFM_INPUT_DOUBLECLICK))
      {
        // The owner's cue to reset; it shows once the owner hands a new value back.
        value.x = -1.0, value.y = -1.0;
        break;
      }
      Int32 px = state.GetInt32(BFM_INPUT_X), py = state.GetInt32(BFM_INPUT_Y);
      Global2Local(&px, &py);
      Float fx = Clamp01(static_cast<Float32>(px) / w), fy = Clamp01(static_cast<Float32>(py) / 100.0f);
      if (dome)
      {
        const Float dx = 2.0 * fx - 1.0, dy = 2.0 * fy - 1.0, r = std::sqrt(dx * dx + dy * dy);
        if (r > 1.0)
        {
          // A press outside the circle does nothing; a drag beyond it slides along the rim.
          if (first)
            break;
          fx = (dx * (1.0 / r) + 1.0) * 0.5;
          fy = (dy * (1.0 / r) + 1.0) * 0.5;
        }
      }
      value.x = fx, value.y = fy;
      Redraw(false);
      SendAction(*this);
      if (!GetInputState(BFM_INPUT_MOUSE, BFM_INPUT_MOUSELEFT, state))
        break;
    }
  }
  // Delivers the double click and closes every drag.
  SendAction(*this);
  return true;
}

Bool XYPadGui::CreateLayout()
{
  AddUserArea(kAreaId, BFH_SCALEFIT | BFV_SCALEFIT, 100, 100);
  AttachUserArea(area, kAreaId, USERAREAFLAGS_COREMESSAGE);
  return true;
}

Bool XYPadGui::Command(Int32 id, const BaseContainer& msg)
{
  if (id != kAreaId)
    return true;
  BaseContainer action(msg);
  action.SetInt32(BFM_ACTION_ID, GetId());
  action.RemoveData(BFM_ACTION_VALUE);
  action.SetData(BFM_ACTION_VALUE, GetData().GetValue());
  SendParentMessage(action);
  return true;
}

Int32 XYPadGui::CustomGuiWidth()
{
  Int32 w = 0, h = 0;
  area.GetMinSize(w, h);
  return w;
}

Int32 XYPadGui::CustomGuiHeight()
{
  Int32 w = 0, h = 0;
  area.GetMinSize(w, h);
  return h;
}

void XYPadGui::CustomGuiRedraw()
{
  area.Redraw();
}

Bool XYPadGui::SetData(const TriState<GeData>& tristate)
{
  area.value = tristate.GetValue().GetVector();
  area.Redraw();
  return true;
}

TriState<GeData> XYPadGui::GetData()
{
  return TriState<GeData>(GeData(area.value));
}

CDialog* XYPadData::Alloc(const BaseContainer& settings)
{
  auto* gui = new (std::nothrow) XYPadGui(settings, GetPlugin());
  return gui ? gui->Get() : nullptr;
}

void XYPadData::Free(CDialog* /*dlg*/, void* userdata)
{
  if (userdata)
    delete static_cast<XYPadGui*>(static_cast<iCustomGui*>(userdata));
}

Int32 XYPadData::GetResourceDataType(Int32*& table)
{
  static Int32 types[] = {DTYPE_VECTOR};
  table = types;
  return 1;
}

Bool RegisterXYPad()
{
  static BaseCustomGuiLib library;
  library = BaseCustomGuiLib();
  FillBaseCustomGui(library);
  if (!InstallLibrary(XYPadData::ID, &library, kLibraryVersion, sizeof(library)))
    return false;
  // A second start keeps one copy of each picture.
  FreeXYPad();
  g_mapDome = LoadMap("map_dome.png");
  g_mapPano = LoadMap("map_pano.png");
  return RegisterCustomGuiPlugin(String("XY Pad"), kInfo, new (std::nothrow) XYPadData);
}

void FreeXYPad()
{
  BaseBitmap::Free(g_mapDome);
  BaseBitmap::Free(g_mapPano);
}
