// Image buffers, render bitmaps and the running render.
#include "render/render_buffers.h"

#include <cstring>
#include <new>

namespace host::render
{
// ---- ImageBuffer -------------------------------------------------------------------------------

Bool ImageBuffer::Init(Int32 w, Int32 h)
{
  if (w <= 0 || h <= 0)
    return false;
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

void RenderBitmap::CopyRows(const ImageBuffer& buffer, Int32 y0, Int32 y1)
{
  if (buffer.Width() != width || buffer.Height() != height || y0 < 0 || y1 > height || y0 >= y1)
    return;
  const size_t begin = static_cast<size_t>(y0) * static_cast<size_t>(width);
  const size_t end = static_cast<size_t>(y1) * static_cast<size_t>(width);
  const Float32* src = buffer.Pixel(0, 0);
  Float32* const out = rgb.data();
  if (!hasAlpha)
  {
    for (size_t p = begin; p < end; ++p)
    {
      out[p * 3u] = src[p * 4u];
      out[p * 3u + 1u] = src[p * 4u + 1u];
      out[p * 3u + 2u] = src[p * 4u + 2u];
    }
    return;
  }
  Float32* const a = alpha.data();
  for (size_t p = begin; p < end; ++p)
  {
    out[p * 3u] = src[p * 4u];
    out[p * 3u + 1u] = src[p * 4u + 1u];
    out[p * 3u + 2u] = src[p * 4u + 2u];
    a[p] = src[p * 4u + 3u];
  }
}

// ---- RunningRender -----------------------------------------------------------------------------

VPBuffer* RunningRender::GetBuffer(Int32 id, Int32 /*subid*/)
{
  return id == VPBUFFER_RGBA ? image : nullptr;
}
} // namespace host::render
