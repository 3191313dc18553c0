// The dome's overlays at the closing of each image: mask, logo, and a slate of text, all laid
// into the render's RGBA buffer through one blit.
#include <cmath>
#include <cstdio>
#include <memory>
#include <vector>

#include "OrlixCamVP.h"
#include "console_log.h"
#include "slate_text.h"

namespace
{
/// Frames of `t` at `fps`, as the slate counts them.
Int32 FrameOf(const BaseTime& t, Float fps)
{
  return TruncateToInt32(std::floor(fps * t.GetNumerator()) / std::floor(t.GetDenominator()));
}

struct ClipMapFree
{
  void operator()(GeClipMap* map) const { GeClipMap::Free(map); }
};
struct BitmapFree
{
  void operator()(BaseBitmap* bmp) const { BaseBitmap::Free(bmp); }
};

} // namespace

std::vector<String> SlateTechnicalLines(const OrlixCamVP& s)
{
  std::vector<String> lines;
  const Filename name = s.documentName.GetFile();
  lines.push_back(name.IsEmpty() ? String("<Document>") : name.GetString());
  char text[128];
  std::snprintf(text, sizeof text, "Resolution: %d x %d", static_cast<Int32>(s.activeArea.width),
                static_cast<Int32>(s.activeArea.height));
  lines.push_back(String(text));
  const BaseTime total(s.docMinTime.GetDenominator() * s.docMaxTime.GetNumerator() -
                         s.docMaxTime.GetDenominator() * s.docMinTime.GetNumerator(),
                       s.docMinTime.GetDenominator() * s.docMaxTime.GetDenominator());
  lines.push_back(String("Total Time: " + FormatTimecode(total, s.settings.fps)));
  // In 64 bits: time settings may hold anything, and the count of a huge range is held at the end.
  const Int64 frames = Int64(FrameOf(s.docMaxTime, s.settings.fps)) - Int64(FrameOf(s.docMinTime, s.settings.fps)) + 1;
  lines.push_back(String("Total Frames: " + FormatFrameNumber(TruncateToInt32(static_cast<Float>(frames)))));
  std::snprintf(text, sizeof text, "Frame Rate: %.2f", s.settings.fps);
  lines.push_back(String(text));
  lines.push_back(String(FormatDateTime()));
  return lines;
}

namespace
{
/// The slate's text drawn white on a square clip map of the dome's size; null if nothing can be
/// drawn. The caller owns the result.
BaseBitmap* DrawSlate(const OrlixCamVP& s)
{
  std::unique_ptr<GeClipMap, ClipMapFree> map(GeClipMap::Alloc());
  if (!map)
    return nullptr;
  const Int32 frameNumber = FrameOf(s.frameTime, s.settings.fps);
  const Float d = s.domeDiameter;
  const Int32 D = static_cast<Int32>(d);
  // 0.005 as a 32-bit float lies just below it: a dome of 2000 gets a margin of 9.
  const Int32 margin = static_cast<Int32>(d * static_cast<Float>(0.005f));
  if (map->Init(D, D, 32) != IMAGERESULT_OK)
    return nullptr;
  map->BeginDraw();
  map->SetColor(255, 255, 255, 255);
  const BaseContainer system = GeClipMap::GetDefaultFont(GE_FONT_DEFAULT_SYSTEM);
  map->SetFont(&system, d / 100.0 * s.settings.slateTextSize);

  if (s.settings.showSlateText)
  {
    const Int32 h = map->GetTextHeight();
    const std::vector<String> lines = SplitLines(s.settings.slateText);
    for (size_t i = 0; i < lines.size(); ++i)
      map->TextAt(margin, margin + static_cast<Int32>(i) * h, lines[i]);
  }
  if (s.settings.showInfo)
  {
    const Int32 h = map->GetTextHeight();
    const std::vector<String> lines = SlateTechnicalLines(s);
    for (size_t i = 0; i < lines.size(); ++i)
      map->TextAt(D - map->GetTextWidth(lines[i]) - margin, margin + static_cast<Int32>(i) * h, lines[i]);
  }
  if (s.settings.showTimecode || s.settings.showFrameNumber)
  {
    const BaseContainer mono = GeClipMap::GetDefaultFont(GE_FONT_DEFAULT_MONOSPACED);
    map->SetFont(&mono, d / 30.0);
    const Int32 h = map->GetTextHeight();
    const Int32 x = 3 * margin;
    Int32 y = D - 2 * margin;
    if (s.settings.showTimecode)
    {
      y -= h;
      map->TextAt(x, y, String(FormatTimecode(s.frameTime, s.settings.fps)));
    }
    if (s.settings.showFrameNumber)
    {
      y -= h;
      map->TextAt(x, y, String(FormatFrameNumber(frameNumber)));
    }
  }
  if (s.settings.logoMode == LogoMode::BuiltIn)
  {
    map->SetFont(&system, d / 75.0);
    const String caption("Orlix Cam");
    const Int32 w = map->GetTextWidth(caption), h = map->GetTextHeight();
    map->TextAt(TruncateToInt32((s.logoInset - w) * 0.5 + (d - s.logoInset)), D - h - margin, caption);
  }
  map->EndDraw();

  BaseBitmap* drawn = map->GetBitmap();
  BaseBitmap* b = drawn ? drawn->GetClone() : nullptr;
  if (!b)
    return nullptr;
  // White, with the text's coverage (its red) as alpha.
  BaseBitmap* alpha = b->GetInternalChannel();
  if (!alpha)
    alpha = b->AddChannel(true, false);
  if (alpha)
  {
    for (Int32 y = 0; y < b->GetBh(); ++y)
      for (Int32 x = 0; x < b->GetBw(); ++x)
      {
        UInt16 r, g, bl;
        b->GetPixel(x, y, &r, &g, &bl);
        b->SetPixel(x, y, 255, 255, 255);
        b->SetAlphaPixel(alpha, x, y, r);
      }
  }
  return b;
}
} // namespace

Bool DrawBitmapToVPBuffer(OrlixCamVP& /*state*/, BaseBitmap* source, VPBuffer* buffer, const LensArea& area, Bool keepScaled)
{
  if (!buffer)
    return false;
  // An area from extreme settings may lie anywhere, even at infinity: whole numbers held within
  // Int32, and the sizes in 64 bits, before the checks turn it away.
  const Int32 x0 = TruncateToInt32(area.start.x), y0 = TruncateToInt32(area.start.y);
  const Int32 x1 = TruncateToInt32(area.end.x), y1 = TruncateToInt32(area.end.y);
  const Int64 w64 = Int64(x1) - x0 + 1, h64 = Int64(y1) - y0 + 1;
  const Int32 bw = buffer->GetInfo(VPGETINFO_XRESOLUTION), bh = buffer->GetInfo(VPGETINFO_YRESOLUTION);
  if (x0 < 0 || y0 < 0 || x1 >= bw || y1 >= bh || w64 <= 0 || h64 <= 0)
    return false;
  const Int32 w = static_cast<Int32>(w64), h = static_cast<Int32>(h64);
  const Int32 bits = buffer->GetInfo(VPGETINFO_BITDEPTH), cpp = buffer->GetInfo(VPGETINFO_CPP);
  if (bits != 32 || cpp != 4)
  {
    LogConsole("OrlixCamVP::DrawBitmapToVPBuffer() Invalid buffer Bt %ld cpp %ld", long(bits), long(cpp));
    return false;
  }
  if (!source || source->GetBw() == 0 || source->GetBh() == 0)
    return false;

  std::unique_ptr<BaseBitmap, BitmapFree> scaled;
  BaseBitmap* src = source;
  if (source->GetBw() != w || source->GetBh() != h)
  {
    scaled.reset(BaseBitmap::Alloc());
    if (!scaled || scaled->Init(w, h, 32) != IMAGERESULT_OK)
      return false;
    if (source->GetInternalChannel())
      scaled->AddChannel(true, false);
    source->ScaleBicubic(scaled.get(), 0, 0, source->GetBw() - 1, source->GetBh() - 1, 0, 0, w - 1, h - 1);
    src = scaled.get();
    // Later images of the render find the picture at its size already.
    if (keepScaled)
      src->CopyTo(source);
  }

  std::vector<Float32> from, to;
  try
  {
    from.resize(static_cast<size_t>(w) * 4u);
    to.resize(static_cast<size_t>(w) * 4u);
  }
  catch (const std::bad_alloc&)
  {
    return false;
  }
  const BaseBitmap* alpha = src->GetInternalChannel();
  for (Int32 y = y0; y <= y1; ++y)
  {
    const Int32 sy = y - y0;
    src->GetPixelCnt(0, sy, w, reinterpret_cast<UChar*>(from.data()), 16, COLORMODE_ARGBf);
    buffer->GetLine(x0, y, w, to.data(), 32, true);
    for (Int32 x = 0; x < w; ++x)
    {
      const Float32* s = &from[static_cast<size_t>(x) * 4u]; // alpha, red, green, blue
      Float32* d = &to[static_cast<size_t>(x) * 4u];         // red, green, blue, alpha
      Float32 a = s[0];
      if (alpha)
      {
        UInt16 v = 0;
        src->GetAlphaPixel(alpha, x, sy, &v);
        a = static_cast<Float32>(v) / 255.0f;
      }
      for (int c = 0; c < 3; ++c)
        d[c] = a * s[1 + c] + (1.0f - a) * d[c];
      d[3] = std::max(a, d[3]);
    }
    buffer->SetLine(x0, y, w, to.data(), 32, true);
  }
  return true;
}

RENDERRESULT DrawOverlays(OrlixCamVP& s, VideoPostStruct* vps)
{
  const LensSettings& set = s.settings;
  const Bool text = set.showInfo || set.showSlateText || set.showFrameNumber || set.showTimecode || set.logoMode == LogoMode::BuiltIn;
  if (s.settings.maskMode != MaskMode::Picture && s.settings.logoMode == LogoMode::None && !text)
    return RENDERRESULT_OK;
  VPBuffer* buffer = vps && vps->render ? vps->render->GetBuffer(VPBUFFER_RGBA, -1) : nullptr;
  if (!buffer)
    return RENDERRESULT_OUTOFMEMORY;

  if (s.settings.maskMode == MaskMode::Picture)
    DrawBitmapToVPBuffer(s, s.maskBitmap, buffer, s.activeArea, true);

  if (s.settings.logoMode != LogoMode::None)
  {
    // The corner grows to the left or upward to keep the logo's shape on a frame that isn't square.
    LensArea c = s.logoCorner;
    const Float a = s.activeArea.aspect;
    if (a > 1.0)
    {
      c.start.x = c.end.x - c.width * a;
      UpdateArea(c);
    }
    else if (a < 1.0)
    {
      c.start.y = c.end.y - c.height / a;
      UpdateArea(c);
    }
    DrawBitmapToVPBuffer(s, s.logoBitmap, buffer, c, true);
  }

  if (text)
  {
    std::unique_ptr<BaseBitmap, BitmapFree> slate(DrawSlate(s));
    if (slate)
      DrawBitmapToVPBuffer(s, slate.get(), buffer, s.activeArea, false);
  }
  return RENDERRESULT_OK;
}
