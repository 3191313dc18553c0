// Image buffers, render bitmaps and the running render.
#include "render/render_buffers.h"

#include "render/render_loop.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

namespace host::render
{
// ---- ImageBuffer -------------------------------------------------------------------------------

Bool ImageBuffer::Init(Int32 w, Int32 h)
{
  if (w <= 0 || h <= 0)
    return false;
  pixels.reset(); // the old pixels go first: a frame never holds two buffers
  pixels.reset(new (std::nothrow) Float32[static_cast<size_t>(w) * static_cast<size_t>(h) * 4u]);
  if (!pixels)
  {
    width = height = 0;
    return false;
  }
  width = w;
  height = h;
  return true;
}

Int32 ImageBuffer::GetInfo(Int32 type) const
{
  switch (type)
  {
    case VPGETINFO_XRESOLUTION: return width;
    case VPGETINFO_YRESOLUTION: return height;
    case VPGETINFO_BITDEPTH: return 32;
    case VPGETINFO_CPP: return 4;
    default: return 0;
  }
}

Bool ImageBuffer::LineFits(Int32 x, Int32 y, Int32 cnt, const void* data, Int32 bitdepth) const
{
  return data && bitdepth == 32 && cnt >= 0 && x >= 0 && y >= 0 && y < height &&
         static_cast<Int64>(x) + cnt <= width;
}

Bool ImageBuffer::GetLine(Int32 x, Int32 y, Int32 cnt, void* data, Int32 bitdepth, Bool /*dithering*/) const
{
  if (!LineFits(x, y, cnt, data, bitdepth))
    return false;
  std::memcpy(data, Pixel(x, y), static_cast<size_t>(cnt) * 4u * sizeof(Float32));
  return true;
}

Bool ImageBuffer::SetLine(Int32 x, Int32 y, Int32 cnt, const void* data, Int32 bitdepth, Bool /*dithering*/)
{
  if (!LineFits(x, y, cnt, data, bitdepth))
    return false;
  std::memcpy(Pixel(x, y), data, static_cast<size_t>(cnt) * 4u * sizeof(Float32));
  return true;
}

// ---- RenderBitmap ------------------------------------------------------------------------------

RenderBitmap* RenderBitmap::Alloc()
{
  return new (std::nothrow) RenderBitmap();
}

Bool RenderBitmap::Init(Int32 w, Int32 h, Bool withAlpha)
{
  // Renders keep floats: values above 1 and below 0 go on to the file.
  if (BaseBitmap::Init(w, h, withAlpha ? 128 : 96) != IMAGERESULT_OK)
    return false;
  return !withAlpha || AddChannel(true, false);
}

Bool RenderBitmap::InitCrop(Int32 w, Int32 h, Int32 x0, Int32 y0, Int32 cw, Int32 ch, Bool withAlpha)
{
  if (x0 < 0 || y0 < 0 || cw < 1 || ch < 1 || x0 + cw > w || y0 + ch > h || !Init(cw, ch, withAlpha))
    return false;
  width = w, height = h;
  storeX = x0, storeY = y0;
  return true;
}

Bool RenderBitmap::InitMade(Int32 w, Int32 h, std::function<void(Int32 x, Int32 y, Int32 cnt, Float32* rgb)> colours)
{
  if (w <= 0 || h <= 0 || !Init(1, 1, false))
    return false;
  width = w, height = h;
  storeW = storeH = 0;
  made = std::move(colours);
  return true;
}

void RenderBitmap::CopyRows(const ImageBuffer& buffer, Int32 y0, Int32 y1)
{
  y0 = std::max(y0, storeY), y1 = std::min(y1, storeY + storeH);
  if (buffer.Width() != width || buffer.Height() != height || y0 >= y1)
    return;
  Float32* const out = rgb.data();
  Float32* const a = hasAlpha ? alpha.data() : nullptr;
  for (Int32 y = y0; y < y1; ++y)
  {
    const Float32* src = buffer.Pixel(storeX, y);
    const size_t row = static_cast<size_t>(StoredAt(storeX, y));
    for (size_t i = 0; i < static_cast<size_t>(storeW); ++i)
    {
      const size_t p = row + i;
      out[p * 3u] = src[i * 4u];
      out[p * 3u + 1u] = src[i * 4u + 1u];
      out[p * 3u + 2u] = src[i * 4u + 2u];
      if (a)
        a[p] = src[i * 4u + 3u];
    }
  }
}

// ---- RunningRender -----------------------------------------------------------------------------

VPBuffer* RunningRender::GetBuffer(Int32 id, Int32 /*subid*/)
{
  return id == VPBUFFER_RGBA ? image : nullptr;
}

namespace
{
// Marker pictures: image k's pixel (x, y) holds (k + 1, (k + 1) b + x + 1/4, (k + 1) b + y + 1/2) with
// b above both sides, so a pixel picked whole decodes to one image and place, and a mix, or
// channels picked from different images, decodes to none. Exact in 32-bit floats below 2^24.
struct Marker
{
  Float32 base;
  void Encode(Float32* px, Int32 k, Int32 x, Int32 y) const
  {
    px[0] = static_cast<Float32>(k + 1);
    px[1] = static_cast<Float32>(k + 1) * base + static_cast<Float32>(x) + 0.25f;
    px[2] = static_cast<Float32>(k + 1) * base + static_cast<Float32>(y) + 0.5f;
  }
  Bool Decode(const Float32* px, Int32 count, Int32 w, Int32 h, Int32& k, Int32& x, Int32& y) const
  {
    k = static_cast<Int32>(px[0]) - 1;
    if (static_cast<Float32>(k + 1) != px[0] || k < 0 || k >= count)
      return false;
    const Float32 fx = px[1] - static_cast<Float32>(k + 1) * base - 0.25f;
    const Float32 fy = px[2] - static_cast<Float32>(k + 1) * base - 0.5f;
    x = static_cast<Int32>(fx), y = static_cast<Int32>(fy);
    return fx == static_cast<Float32>(x) && fy == static_cast<Float32>(y) && x >= 0 && x < w && y >= 0 && y < h;
  }
};
} // namespace

MergeKind LearnMerge(VideoPostData* data, BaseVideoPost* node, Int32 count, Int32 w, Int32 h, RenderBitmap& frame,
                     const std::function<void(Int32 fx, Int32 fy, Int32 k, Int32 x, Int32 y)>& visit)
{
  const Int32 frameW = frame.GetBw(), frameH = frame.GetBh();
  const Marker marker{static_cast<Float32>(std::max(w, h) + 1)};
  std::vector<std::unique_ptr<RenderBitmap, BitmapFree>> pictures;
  std::vector<const BaseBitmap*> sources;
  for (Int32 k = 0; k < count; ++k)
  {
    pictures.emplace_back(RenderBitmap::Alloc());
    if (!pictures.back() || !pictures.back()->InitMade(w, h, [marker, k](Int32 x, Int32 y, Int32 cnt, Float32* rgb) {
          for (Int32 i = 0; i < cnt; ++i)
            marker.Encode(rgb + 3 * i, k, x + i, y);
        }))
      return MergeKind::Declines;
    sources.push_back(pictures.back().get());
  }
  if (!data->StereoMergeImages(node, &frame, sources.data(), count))
    return MergeKind::Declines;

  for (Int32 fy = 0; fy < frameH; ++fy)
    for (Int32 fx = 0; fx < frameW; ++fx)
    {
      const Float32* px = frame.Colours(fx, fy);
      if (px[0] == 0.0f && px[1] == 0.0f && px[2] == 0.0f)
        continue;
      Int32 k = 0, x = 0, y = 0;
      if (!marker.Decode(px, count, w, h, k, x, y))
        return MergeKind::Mixes;
      visit(fx, fy, k, x, y);
    }
  return MergeKind::Selects;
}

void Select(PassSelection& selection, Int32 fx, Int32 fy, Int32 k, Int32 x, Int32 y)
{
  const size_t i = static_cast<size_t>(fy) * static_cast<size_t>(selection.width) + static_cast<size_t>(fx);
  selection.image[i] = k, selection.x[i] = x, selection.y[i] = y;
}

void ApplySelection(const PassSelection& selection, const std::vector<const RenderBitmap*>& images, RenderBitmap& frame)
{
  for (Int32 y = 0; y < selection.height; ++y)
    for (Int32 x = 0; x < selection.width; ++x)
    {
      const size_t i = static_cast<size_t>(y) * static_cast<size_t>(selection.width) + static_cast<size_t>(x);
      Float32* out = frame.Colours(x, y);
      const Int32 k = selection.image[i];
      if (k < 0)
      {
        out[0] = out[1] = out[2] = 0.0f;
        frame.SetAlphaAt(x, y, 0.0f);
        continue;
      }
      const Float32* in = images[static_cast<size_t>(k)]->Colours(selection.x[i], selection.y[i]);
      out[0] = in[0], out[1] = in[1], out[2] = in[2];
      frame.SetAlphaAt(x, y, images[static_cast<size_t>(k)]->AlphaAt(selection.x[i], selection.y[i]));
    }
}

std::vector<FrameArea> ImageAreas(const PassSelection& selection, Int32 count, std::string& problem)
{
  std::vector<FrameArea> areas(static_cast<size_t>(count), FrameArea{selection.width, selection.height, 0, 0});
  for (Int32 y = 0; y < selection.height; ++y)
    for (Int32 x = 0; x < selection.width; ++x)
    {
      const Int32 k = selection.image[static_cast<size_t>(y) * static_cast<size_t>(selection.width) + static_cast<size_t>(x)];
      if (k < 0 || k >= count)
        continue;
      FrameArea& a = areas[static_cast<size_t>(k)];
      a.x0 = std::min(a.x0, x), a.y0 = std::min(a.y0, y), a.x1 = std::max(a.x1, x + 1), a.y1 = std::max(a.y1, y + 1);
    }
  // Each rectangle must be its image's alone and whole: rows interlaced or a cube's cross are not.
  for (Int32 k = 0; k < count; ++k)
  {
    const FrameArea& a = areas[static_cast<size_t>(k)];
    Bool whole = a.x0 < a.x1;
    for (Int32 y = a.y0; whole && y < a.y1; ++y)
      for (Int32 x = a.x0; whole && x < a.x1; ++x)
        whole = selection.image[static_cast<size_t>(y) * static_cast<size_t>(selection.width) + static_cast<size_t>(x)] == k;
    if (!whole)
    {
      problem = "image " + std::to_string(k + 1) + " of " + std::to_string(count) +
                " doesn't fill a rectangle of the frame of its own";
      return {};
    }
  }
  return areas;
}

RenderBitmap* CopyArea(const RenderBitmap& frame, const FrameArea& area)
{
  RenderBitmap* part = RenderBitmap::Alloc();
  if (!part || !part->Init(area.x1 - area.x0, area.y1 - area.y0, frame.HasAlpha()))
  {
    BaseBitmap* unused = part;
    BaseBitmap::Free(unused);
    return nullptr;
  }
  for (Int32 y = area.y0; y < area.y1; ++y)
    for (Int32 x = area.x0; x < area.x1; ++x)
    {
      const Float32* in = frame.Colours(x, y);
      Float32* out = part->Colours(x - area.x0, y - area.y0);
      out[0] = in[0], out[1] = in[1], out[2] = in[2];
      part->SetAlphaAt(x - area.x0, y - area.y0, frame.AlphaAt(x, y));
    }
  return part;
}
} // namespace host::render
