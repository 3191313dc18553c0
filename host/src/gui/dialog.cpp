// Dialogs: their user area gadgets, layout, messages and the picture they show.
#include <algorithm>

#include "gui/gui_host.h"

GeDialog::GeDialog() : handle(std::make_unique<CDialog>())
{
  handle->owner = this;
}

GeDialog::~GeDialog()
{
  for (CDialog::Gadget& g : handle->gadgets)
    if (g.area)
      g.area->GetHost().dialog = nullptr;
}

Int32 GeDialog::Message(const BaseContainer& msg, BaseContainer& /*result*/)
{
  if (msg.GetId() == BFM_ACTION)
    return Command(msg.GetInt32(BFM_ACTION_ID), msg) ? 1 : 0;
  return 0;
}

Bool GeDialog::AddUserArea(Int32 id, Int32 flags, Int32 initw, Int32 inith)
{
  for (const CDialog::Gadget& g : handle->gadgets)
    if (g.id == id)
      return false;
  handle->gadgets.push_back({id, flags, std::max(initw, 0), std::max(inith, 0), nullptr});
  return true;
}

Bool GeDialog::AttachUserArea(GeUserArea& ua, Int32 id, Int32 /*userareaflags*/)
{
  for (CDialog::Gadget& g : handle->gadgets)
    if (g.id == id && !g.area && !ua.GetDialog())
    {
      g.area = &ua;
      ua.GetHost().dialog = this;
      ua.GetHost().Resize(g.w, g.h);
      return true;
    }
  return false;
}

Int32 GeDialog::GetId() const
{
  return handle->id;
}

Bool GeDialog::SendParentMessage(const BaseContainer& msg)
{
  if (!handle->parent)
    return false;
  BaseContainer result;
  handle->parent->Message(msg, result);
  return true;
}

CDialog* GeDialog::Get() const
{
  return handle.get();
}

iCustomGui::iCustomGui(const BaseContainer& /*settings*/, CUSTOMGUIPLUGIN* p) : plugin(p)
{
  Get()->gui = this;
}

namespace host
{
namespace gui
{
void ColourOf(Int32 colorId, Int32 rgb[3])
{
  static const Int32 highlight[3] = {255, 255, 255}, background[3] = {56, 56, 56};
  const Int32* c = colorId == COLOR_HIGHLIGHT ? highlight : background;
  std::copy(c, c + 3, rgb);
}

void SetParent(GeDialog& dlg, GeDialog* parent, Int32 id)
{
  dlg.Get()->parent = parent;
  dlg.Get()->id = id;
}

void Layout(GeDialog& dlg, Int32 globalX, Int32 globalY, Int32 width, Int32 height)
{
  CDialog* d = dlg.Get();
  d->globalX = globalX, d->globalY = globalY;
  std::vector<std::pair<Int32, Int32>> sizes;
  Int32 fixed = 0, growing = 0;
  for (const CDialog::Gadget& g : d->gadgets)
  {
    Int32 w = g.w, h = g.h;
    if (g.area)
      g.area->GetMinSize(w, h);
    sizes.emplace_back(w, h);
    fixed += h;
    growing += (g.flags & BFV_SCALEFIT) == BFV_SCALEFIT;
  }
  const Int32 spare = growing ? std::max(0, height - fixed) / growing : 0;
  Int32 y = 0;
  for (size_t i = 0; i < d->gadgets.size(); ++i)
  {
    const CDialog::Gadget& g = d->gadgets[i];
    auto [w, h] = sizes[i];
    if ((g.flags & BFH_SCALEFIT) == BFH_SCALEFIT)
      w = std::max(w, width);
    if ((g.flags & BFV_SCALEFIT) == BFV_SCALEFIT)
      h += spare;
    if (g.area)
    {
      g.area->GetHost().x = 0, g.area->GetHost().y = y;
      g.area->GetHost().Resize(w, h);
      g.area->Redraw();
    }
    y += h;
  }
}

BaseBitmap* Picture(const GeDialog& dlg)
{
  Int32 w = 0, h = 0;
  for (const CDialog::Gadget& g : dlg.Get()->gadgets)
    if (g.area)
      w = std::max(w, g.area->GetHost().x + g.area->GetWidth()), h = std::max(h, g.area->GetHost().y + g.area->GetHeight());
  BaseBitmap* pic = BaseBitmap::Alloc();
  if (!pic || w == 0 || pic->Init(w, h, 24) != IMAGERESULT_OK)
  {
    BaseBitmap::Free(pic);
    return nullptr;
  }
  for (const CDialog::Gadget& g : dlg.Get()->gadgets)
    if (g.area)
      for (Int32 y = 0; y < g.area->GetHeight(); ++y)
        for (Int32 x = 0; x < g.area->GetWidth(); ++x)
        {
          UInt16 r, gr, b;
          g.area->GetHost().raster->GetPixel(x, y, &r, &gr, &b);
          pic->SetPixel(g.area->GetHost().x + x, g.area->GetHost().y + y, r, gr, b);
        }
  return pic;
}

Bool Deliver(GeDialog& dlg, const BaseContainer& msg)
{
  const CDialog* d = dlg.Get();
  for (const CDialog::Gadget& g : d->gadgets)
  {
    if (!g.area)
      continue;
    Int32 x = msg.GetInt32(BFM_INPUT_X), y = msg.GetInt32(BFM_INPUT_Y);
    g.area->Global2Local(&x, &y);
    if (x >= 0 && y >= 0 && x < g.area->GetWidth() && y < g.area->GetHeight())
      return g.area->InputEvent(msg);
  }
  return false;
}
} // namespace gui
} // namespace host
