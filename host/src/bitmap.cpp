// Pictures held by the host; files go through OpenImageIO.
#include <OpenImageIO/imageio.h>

#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <sys/stat.h>

#include "c4d_bitmap.h"

BaseBitmap* BaseBitmap::Alloc()
{
  return new (std::nothrow) BaseBitmap();
}

void BaseBitmap::Free(BaseBitmap*& bmp)
{
  delete bmp;
  bmp = nullptr;
}

namespace
{
// Whether w × h pixels of `channels` floats can be held at all.
bool SizeFits(Int64 w, Int64 h, Int64 channels)
{
  if (w <= 0 || h <= 0)
    return false;
  const UInt64 limit = std::numeric_limits<std::size_t>::max() / sizeof(Float32) / static_cast<UInt64>(channels);
  return static_cast<UInt64>(w) <= limit / static_cast<UInt64>(h);
}
} // namespace

IMAGERESULT BaseBitmap::Init(Int32 w, Int32 h, Int32 /*depth*/)
{
  if (!SizeFits(w, h, 3))
  {
    // A failed Init leaves an empty picture: Init(0, 0) is how a picture is emptied.
    rgb.clear();
    alpha.clear();
    width = height = 0;
    return w <= 0 || h <= 0 ? IMAGERESULT_WRONGTYPE : IMAGERESULT_OUTOFMEMORY;
  }
  try
  {
    rgb.assign(static_cast<std::size_t>(w) * static_cast<std::size_t>(h) * 3u, 0.0f);
    alpha.clear();
  }
  catch (const std::bad_alloc&)
  {
    rgb.clear();
    width = height = 0;
    return IMAGERESULT_OUTOFMEMORY;
  }
  width = w;
  height = h;
  return IMAGERESULT_OK;
}

IMAGERESULT BaseBitmap::Init(const Filename& name, Int32 /*frame*/, Bool* ismovie)
{
  if (ismovie)
    *ismovie = false;
  rgb.clear();
  alpha.clear();
  width = height = 0;

  struct stat st;
  const std::string path = name.GetString().GetStdString();
  if (path.empty() || stat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode))
    return IMAGERESULT_NOTEXISTING;

  auto in = OIIO::ImageInput::open(path);
  if (!in)
  {
    (void)OIIO::geterror();
    return IMAGERESULT_WRONGTYPE;
  }
  const OIIO::ImageSpec& format = in->spec();
  const int channels = format.nchannels;
  if (channels < 1 || format.depth > 1 || format.width > std::numeric_limits<Int32>::max() ||
      format.height > std::numeric_limits<Int32>::max())
    return IMAGERESULT_WRONGTYPE;
  if (!SizeFits(format.width, format.height, channels) || !SizeFits(format.width, format.height, 4))
    return IMAGERESULT_OUTOFMEMORY;

  std::vector<Float32> pixels;
  try
  {
    pixels.resize(static_cast<std::size_t>(format.width) * static_cast<std::size_t>(format.height) * static_cast<std::size_t>(channels));
  }
  catch (const std::bad_alloc&)
  {
    return IMAGERESULT_OUTOFMEMORY;
  }
  if (!in->read_image(0, 0, 0, channels, OIIO::TypeDesc::FLOAT, pixels.data()))
  {
    (void)in->geterror();
    return IMAGERESULT_WRONGTYPE;
  }

  const std::size_t count = static_cast<std::size_t>(format.width) * static_cast<std::size_t>(format.height);
  const int alphaChannel = format.alpha_channel >= 0 ? format.alpha_channel : (channels == 4 || channels == 2 ? channels - 1 : -1);
  try
  {
    rgb.resize(count * 3u);
    if (alphaChannel >= 0)
      alpha.resize(count);
  }
  catch (const std::bad_alloc&)
  {
    rgb.clear();
    alpha.clear();
    return IMAGERESULT_OUTOFMEMORY;
  }
  // Grey pictures fill all three colours; a picture's alpha channel is kept apart.
  const int colourChannels = alphaChannel >= 0 ? channels - 1 : channels;
  for (std::size_t p = 0; p < count; ++p)
  {
    const Float32* src = &pixels[p * static_cast<std::size_t>(channels)];
    for (int c = 0; c < 3; ++c)
      rgb[p * 3u + static_cast<std::size_t>(c)] = src[colourChannels >= 3 ? c : 0];
    if (alphaChannel >= 0)
      alpha[p] = src[alphaChannel];
  }
  width = format.width;
  height = format.height;
  return IMAGERESULT_OK;
}

BaseBitmap* BaseBitmap::GetClone() const
{
  BaseBitmap* copy = Alloc();
  if (!copy)
    return nullptr;
  try
  {
    copy->rgb = rgb;
    copy->alpha = alpha;
  }
  catch (const std::bad_alloc&)
  {
    Free(copy);
    return nullptr;
  }
  copy->width = width;
  copy->height = height;
  return copy;
}

Bool BaseBitmap::GetPixelCnt(Int32 x, Int32 y, Int32 cnt, UChar* buffer, Int32 inc, COLORMODE mode, Int32 /*flags*/) const
{
  const Int32 need = mode == COLORMODE_ARGBf ? 16 : 12;
  if (!buffer || cnt < 0 || inc < need || (mode != COLORMODE_RGBf && mode != COLORMODE_ARGBf))
    return false;
  for (Int32 i = 0; i < cnt; ++i)
  {
    Float32 px[4] = {1.0f, 0.0f, 0.0f, 0.0f}; // a, r, g, b
    const Int64 cx = static_cast<Int64>(x) + i;
    if (y >= 0 && y < height && cx >= 0 && cx < width)
    {
      const std::size_t at = static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(cx);
      px[1] = rgb[at * 3u];
      px[2] = rgb[at * 3u + 1u];
      px[3] = rgb[at * 3u + 2u];
      if (!alpha.empty())
        px[0] = alpha[at];
    }
    UChar* out = buffer + static_cast<std::size_t>(i) * static_cast<std::size_t>(inc);
    if (mode == COLORMODE_ARGBf)
      std::memcpy(out, px, 16);
    else
      std::memcpy(out, px + 1, 12);
  }
  return true;
}

Bool BaseBitmap::SetPixelCnt(Int32 x, Int32 y, Int32 cnt, const UChar* buffer, Int32 inc, COLORMODE mode, Int32 /*flags*/)
{
  const Int32 need = mode == COLORMODE_ARGBf ? 16 : 12;
  if (!buffer || cnt < 0 || inc < need || (mode != COLORMODE_RGBf && mode != COLORMODE_ARGBf))
    return false;
  if (y < 0 || y >= height)
    return true;
  for (Int32 i = 0; i < cnt; ++i)
  {
    const Int64 cx = static_cast<Int64>(x) + i;
    if (cx < 0 || cx >= width)
      continue;
    const std::size_t at = static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(cx);
    const UChar* in = buffer + static_cast<std::size_t>(i) * static_cast<std::size_t>(inc);
    Float32 px[4];
    if (mode == COLORMODE_ARGBf)
      std::memcpy(px, in, 16);
    else
    {
      px[0] = 1.0f;
      std::memcpy(px + 1, in, 12);
    }
    rgb[at * 3u] = px[1];
    rgb[at * 3u + 1u] = px[2];
    rgb[at * 3u + 2u] = px[3];
    if (mode == COLORMODE_ARGBf && !alpha.empty())
      alpha[at] = px[0];
  }
  return true;
}
