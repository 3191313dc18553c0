// User areas: their raster, the drawing calls and the mouse as the host's script moves it.
#include <algorithm>
#include <cmath>
#include <deque>

#include "gui/gui_host.h"

namespace
{
// The scripted states of the left button that GetInputState hands out in turn; once they run
// out, the button is up where it was last.
struct Mouse
{
  std::deque<BaseContainer> states;
  Int32 x = 0, y = 0;
};
Mouse& TheMouse()
{
  static Mouse mouse;
  return mouse;
}

void Fill(BaseBitmap* bmp, Int32 x1, Int32 y1, Int32 x2, Int32 y2, const Int32 rgb[3])
{
  x1 = std::max(x1, 0), y1 = std::max(y1, 0);
  x2 = std::min(x2, bmp->GetBw() - 1), y2 = std::min(y2, bmp->GetBh() - 1);
  for (Int32 y = y1; y <= y2; ++y)
    for (Int32 x = x1; x <= x2; ++x)
      bmp->SetPixel(x, y, rgb[0], rgb[1], rgb[2]);
}
} // namespace

GeUserArea::Host::~Host()
{
  BaseBitmap::Free(raster);
}

void GeUserArea::Host::Resize(Int32 w, Int32 h)
{
  BaseBitmap::Free(raster);
  raster = BaseBitmap::Alloc();
  if (raster && raster->Init(std::max(w, 1), std::max(h, 1), 24) != IMAGERESULT_OK)
    BaseBitmap::Free(raster);
  Int32 bg[3];
  host::gui::ColourOf(COLOR_BG, bg);
  if (raster)
    Fill(raster, 0, 0, raster->GetBw() - 1, raster->GetBh() - 1, bg);
}

GeUserArea::GeUserArea() : host(std::make_unique<Host>()) {}

GeUserArea::~GeUserArea()
{
  // A dialog outliving its area must not reach it.
  if (host->dialog)
    for (CDialog::Gadget& g : host->dialog->Get()->gadgets)
      if (g.area == this)
        g.area = nullptr;
}

GeDialog* GeUserArea::GetDialog() const
{
  return host->dialog;
}

Int32 GeUserArea::GetWidth() const
{
  return host->raster ? host->raster->GetBw() : 0;
}

Int32 GeUserArea::GetHeight() const
{
  return host->raster ? host->raster->GetBh() : 0;
}

Bool GeUserArea::OffScreenOn()
{
  return true;
}

void GeUserArea::DrawSetPen(Int32 colorId)
{
  host::gui::ColourOf(colorId, host->pen);
}

void GeUserArea::DrawRectangle(Int32 x1, Int32 y1, Int32 x2, Int32 y2)
{
  if (host->raster)
    Fill(host->raster, x1, y1, x2, y2, host->pen);
}

void GeUserArea::DrawBitmap(const BaseBitmap* bmp, Int32 wx, Int32 wy, Int32 ww, Int32 wh, Int32 x, Int32 y, Int32 w,
                            Int32 h, Int32 mode)
{
  BaseBitmap* dst = host->raster;
  if (!bmp || !dst || ww <= 0 || wh <= 0 || w <= 0 || h <= 0)
    return;
  const BaseBitmap* alpha = mode & BMP_ALLOWALPHA ? bmp->GetInternalChannel() : nullptr;
  for (Int32 j = std::max(0, -wy); j < wh && wy + j < dst->GetBh(); ++j)
  {
    const Int32 sy = y + static_cast<Int32>((j + 0.5) * h / wh);
    for (Int32 i = std::max(0, -wx); i < ww && wx + i < dst->GetBw(); ++i)
    {
      const Int32 sx = x + static_cast<Int32>((i + 0.5) * w / ww);
      UInt16 r, g, b, a = 255;
      bmp->GetPixel(sx, sy, &r, &g, &b);
      if (alpha)
        bmp->GetAlphaPixel(alpha, sx, sy, &a);
      if (a < 255)
      {
        UInt16 under[3];
        dst->GetPixel(wx + i, wy + j, &under[0], &under[1], &under[2]);
        auto mix = [a](Int32 over, Int32 back) { return (over * a + back * (255 - a) + 127) / 255; };
        r = static_cast<UInt16>(mix(r, under[0])), g = static_cast<UInt16>(mix(g, under[1]));
        b = static_cast<UInt16>(mix(b, under[2]));
      }
      dst->SetPixel(wx + i, wy + j, r, g, b);
    }
  }
}

void GeUserArea::DrawLine(Int32 x1, Int32 y1, Int32 x2, Int32 y2, Float lineWidth, Int32 /*lineStyle*/)
{
  if (!host->raster)
    return;
  // A square brush of the line's width stepped along the line, one step per pixel of its length.
  const Int32 width = std::max(1, static_cast<Int32>(std::lround(lineWidth)));
  const Int32 lo = -(width - 1) / 2, hi = width / 2;
  const Int32 steps = std::max(std::abs(x2 - x1), std::abs(y2 - y1));
  for (Int32 s = 0; s <= steps; ++s)
  {
    const Float t = steps ? static_cast<Float>(s) / steps : 0.0;
    const Int32 x = x1 + static_cast<Int32>(std::lround(t * (x2 - x1)));
    const Int32 y = y1 + static_cast<Int32>(std::lround(t * (y2 - y1)));
    Fill(host->raster, x + lo, y + lo, x + hi, y + hi, host->pen);
  }
}

Bool GeUserArea::Global2Local(Int32* x, Int32* y) const
{
  if (!host->dialog || !x || !y)
    return false;
  const CDialog* d = host->dialog->Get();
  *x -= d->globalX + host->x;
  *y -= d->globalY + host->y;
  return true;
}

Bool GeUserArea::GetInputState(Int32 askdevice, Int32 askchannel, BaseContainer& res) const
{
  if (!host->dialog || askdevice != BFM_INPUT_MOUSE || askchannel != BFM_INPUT_MOUSELEFT)
    return false;
  Mouse& mouse = TheMouse();
  if (mouse.states.empty())
  {
    res = host::gui::InputEvent(askdevice, askchannel, mouse.x, mouse.y, false, false);
    return true;
  }
  res = mouse.states.front();
  mouse.states.pop_front();
  mouse.x = res.GetInt32(BFM_INPUT_X), mouse.y = res.GetInt32(BFM_INPUT_Y);
  return true;
}

void GeUserArea::Redraw(Bool /*threaded*/)
{
  if (host->raster)
    DrawMsg(0, 0, GetWidth() - 1, GetHeight() - 1, BaseContainer());
}

namespace host
{
namespace gui
{
BaseContainer InputEvent(Int32 device, Int32 channel, Int32 x, Int32 y, Bool down, Bool doubleClick)
{
  BaseContainer msg(BFM_INPUT);
  msg.SetInt32(BFM_INPUT_DEVICE, device);
  msg.SetInt32(BFM_INPUT_CHANNEL, channel);
  msg.SetInt32(BFM_INPUT_VALUE, down ? 1 : 0);
  msg.SetInt32(BFM_INPUT_X, x);
  msg.SetInt32(BFM_INPUT_Y, y);
  msg.SetBool(BFM_INPUT_DOUBLECLICK, doubleClick);
  return msg;
}

Bool Drag(GeDialog& dlg, const std::vector<std::pair<Int32, Int32>>& path, Bool doubleClick)
{
  if (path.empty())
    return false;
  Mouse& mouse = TheMouse();
  mouse.states.clear();
  for (const auto& [x, y] : path)
    mouse.states.push_back(InputEvent(BFM_INPUT_MOUSE, BFM_INPUT_MOUSELEFT, x, y, true, false));
  mouse.states.push_back(InputEvent(BFM_INPUT_MOUSE, BFM_INPUT_MOUSELEFT, path.back().first, path.back().second, false, false));
  const Bool taken = Deliver(dlg, InputEvent(BFM_INPUT_MOUSE, BFM_INPUT_MOUSELEFT, path.front().first,
                                             path.front().second, true, doubleClick));
  // Whatever the area didn't poll, the mouse did anyway: it ends up released at the last point.
  mouse.states.clear();
  mouse.x = path.back().first, mouse.y = path.back().second;
  return taken;
}
} // namespace gui
} // namespace host
