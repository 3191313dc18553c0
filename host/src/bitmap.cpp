// Pictures held by the host; PNG and plain TIFF files are read by our own readers, others through
// OpenImageIO, loaded when first needed.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <type_traits>
#include <sys/stat.h>

#include "render/render_limits.h"
#include "c4d_bitmap.h"
#include "picture_library.h"
#include "png_codec.h"
#include "tiff_reader.h"

const std::array<Float32, 256> BaseBitmap::kByteValue = [] {
  std::array<Float32, 256> values{};
  for (size_t b = 0; b < values.size(); ++b)
    values[b] = static_cast<Float32>(b) / 255.0f;
  return values;
}();

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

// The size a file claims is checked before anything is decoded: a few bytes of PNG can claim
// gigabytes. Decoding takes the file's values and then our own copy of them.
bool DeclaredSizeFits(const host::pictures::Header& format)
{
  const int channels = format.channels;
  if (!SizeFits(format.width, format.height, channels) || !SizeFits(format.width, format.height, 4))
    return false;
  const double pixels = static_cast<double>(format.width) * static_cast<double>(format.height);
  const double bytes = pixels * channels * (format.format.size() + (format.format == OIIO::TypeDesc::UINT8 ? 1.0 : 4.0));
  return pixels <= static_cast<double>(host::render::kMaxFramePixels) && bytes <= host::render::AvailableMemory();
}
} // namespace

IMAGERESULT BaseBitmap::Init(Int32 w, Int32 h, Int32 depth)
{
  rgb.clear();
  alpha.clear();
  rgb8.clear();
  alpha8.clear();
  hasAlpha = false;
  isFloat = depth > 32;
  width = height = storeW = storeH = storeX = storeY = 0;
  made = nullptr;
  // A failed Init leaves an empty picture: Init(0, 0) is how a picture is emptied.
  if (!SizeFits(w, h, 3))
    return w <= 0 || h <= 0 ? IMAGERESULT_WRONGTYPE : IMAGERESULT_OUTOFMEMORY;
  const std::size_t values = static_cast<std::size_t>(w) * static_cast<std::size_t>(h) * 3u;
  try
  {
    if (isFloat)
      rgb.assign(values, 0.0f);
    else
      rgb8.assign(values, UChar(0));
  }
  catch (const std::bad_alloc&)
  {
    return IMAGERESULT_OUTOFMEMORY;
  }
  width = storeW = w;
  height = storeH = h;
  storeX = storeY = 0;
  return IMAGERESULT_OK;
}

IMAGERESULT BaseBitmap::Init(const Filename& name, Int32 /*frame*/, Bool* ismovie)
{
  if (ismovie)
    *ismovie = false;
  Init(0, 0);

  struct stat st;
  const std::string path = name.GetString().GetStdString();
  if (path.empty() || stat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode))
    return IMAGERESULT_NOTEXISTING;

  // PNG and plain TIFF through our own readers, whose inflate is several times faster and which
  // need no OpenImageIO; the kinds they leave (palettes, interlacing, tiles, LZW...) and every
  // other format through OpenImageIO.
  host::png::Reader png;
  host::tiff::Reader tif;
  host::FileReader* own = nullptr;
  for (host::FileReader* reader : {static_cast<host::FileReader*>(&png), static_cast<host::FileReader*>(&tif)})
  {
    const host::FileReader::Result kind = reader->Open(path);
    if (kind == host::FileReader::Result::Failed)
      return IMAGERESULT_WRONGTYPE;
    if (kind == host::FileReader::Result::Ok)
    {
      own = reader;
      break;
    }
  }
  std::unique_ptr<host::pictures::Reader> in;
  host::pictures::Header format;
  if (own)
  {
    format.width = own->Width(), format.height = own->Height(), format.channels = own->Channels();
    format.format = own->Depth() == 8 ? OIIO::TypeDesc::UINT8 : OIIO::TypeDesc::UINT16;
  }
  else
  {
    std::string why;
    const host::pictures::Library* library = host::pictures::Load(&why);
    in = library ? library->open(path, why) : nullptr;
    if (!in)
      return IMAGERESULT_WRONGTYPE;
    format = in->Head();
  }
  const int channels = format.channels;
  if (channels < 1 || format.depth > 1 || format.width > std::numeric_limits<Int32>::max() ||
      format.height > std::numeric_limits<Int32>::max())
    return IMAGERESULT_WRONGTYPE;
  if (!DeclaredSizeFits(format))
    return IMAGERESULT_OUTOFMEMORY;

  const Bool eightBit = format.format == OIIO::TypeDesc::UINT8;
  const std::size_t count = static_cast<std::size_t>(format.width) * static_cast<std::size_t>(format.height);
  const int alphaChannel = format.alphaChannel >= 0 ? format.alphaChannel : (channels == 4 || channels == 2 ? channels - 1 : -1);
  // Grey pictures fill all three colours; a picture's alpha channel is kept apart.
  const int colourChannels = alphaChannel >= 0 ? channels - 1 : channels;
  auto read = [&](auto& values, OIIO::TypeDesc type) {
    values.resize(count * static_cast<std::size_t>(channels));
    if (own)
      return own->Read(values.data()) == host::FileReader::Result::Ok;
    if (in->ReadRows(format.y, format.y + format.height, type, values.data()))
      return true;
    (void)in->Error();
    return false;
  };
  // Three colour channels go straight into place; others through an interleaved copy.
  auto load = [&](auto& colours, auto& alphas, OIIO::TypeDesc type) {
    if (channels == 3 && alphaChannel < 0)
      return read(colours, type);
    std::remove_reference_t<decltype(colours)> pixels;
    if (!read(pixels, type))
      return false;
    colours.resize(count * 3u);
    if (alphaChannel >= 0)
      alphas.resize(count);
    for (std::size_t p = 0; p < count; ++p)
    {
      const auto* src = &pixels[p * static_cast<std::size_t>(channels)];
      for (int c = 0; c < 3; ++c)
        colours[p * 3u + static_cast<std::size_t>(c)] = src[colourChannels >= 3 ? c : 0];
      if (alphaChannel >= 0)
        alphas[p] = src[alphaChannel];
    }
    return true;
  };
  try
  {
    if (!(eightBit ? load(rgb8, alpha8, OIIO::TypeDesc::UINT8) : load(rgb, alpha, OIIO::TypeDesc::FLOAT)))
    {
      Init(0, 0);
      return IMAGERESULT_WRONGTYPE;
    }
  }
  catch (const std::bad_alloc&)
  {
    Init(0, 0);
    return IMAGERESULT_OUTOFMEMORY;
  }
  isFloat = !eightBit;
  hasAlpha = alphaChannel >= 0;
  width = storeW = format.width;
  height = storeH = format.height;
  storeX = storeY = 0;
  return IMAGERESULT_OK;
}

BaseBitmap* BaseBitmap::GetClone() const
{
  BaseBitmap* copy = Alloc();
  if (copy && !CopyTo(copy))
    Free(copy);
  return copy;
}

Bool BaseBitmap::GetPixelCnt(Int32 x, Int32 y, Int32 cnt, UChar* buffer, Int32 inc, COLORMODE mode, Int32 /*flags*/) const
{
  const Int32 need = mode == COLORMODE_ARGBf ? 16 : 12;
  if (!buffer || cnt < 0 || inc < need || (mode != COLORMODE_RGBf && mode != COLORMODE_ARGBf))
    return false;
  if (mode == COLORMODE_RGBf && inc == 12 && isFloat)
  {
    // Packed colours, as a merge reads whole rows: black around the stored span, which is copied.
    Float32* out = reinterpret_cast<Float32*>(buffer);
    const Int64 begin = x, end = begin + cnt;
    const Int64 inside0 = std::max<Int64>(begin, 0), inside1 = std::min<Int64>(end, y >= 0 && y < height ? width : 0);
    if (made)
    {
      std::fill(out, out + 3 * cnt, 0.0f);
      if (inside0 < inside1)
        made(static_cast<Int32>(inside0), y, static_cast<Int32>(inside1 - inside0), out + 3 * (inside0 - begin));
      return true;
    }
    const Int64 s0 = std::max<Int64>(begin, storeX), s1 = std::min<Int64>(end, storeX + storeW);
    const Bool rowStored = y >= storeY && y < storeY + storeH && s0 < s1;
    std::fill(out, out + 3 * (rowStored ? s0 - begin : cnt), 0.0f);
    if (!rowStored)
      return true;
    std::memcpy(out + 3 * (s0 - begin), &rgb[static_cast<size_t>(StoredAt(s0, y)) * 3u], static_cast<size_t>(s1 - s0) * 12u);
    std::fill(out + 3 * (s1 - begin), out + 3 * cnt, 0.0f);
    return true;
  }
  if (mode == COLORMODE_ARGBf && inc == 16 && isFloat && !made)
  {
    // Whole rows with alpha, as the writers read them: the same values as the loop below, by spans.
    Float32* out = reinterpret_cast<Float32*>(buffer);
    const Int64 begin = x, end = begin + cnt;
    const bool rowInside = y >= 0 && y < height;
    const Int64 inside0 = rowInside ? std::max<Int64>(begin, 0) : end, inside1 = rowInside ? std::min<Int64>(end, width) : end;
    const bool rowStored = y >= storeY && y < storeY + storeH;
    const Int64 s0 = rowStored ? std::max<Int64>(begin, storeX) : end, s1 = rowStored ? std::min<Int64>(end, storeX + storeW) : end;
    const std::ptrdiff_t first = s0 < s1 ? StoredAt(s0, y) : 0;
    for (Int64 cx = begin; cx < end; ++cx, out += 4)
    {
      if (cx >= s0 && cx < s1)
      {
        const std::size_t at = static_cast<std::size_t>(first + (cx - s0));
        out[0] = hasAlpha ? alpha[at] : 1.0f;
        std::memcpy(out + 1, &rgb[at * 3u], 12);
        continue;
      }
      // Inside the picture but outside what a crop kept: transparent black, as it was before the crop.
      out[0] = hasAlpha && cx >= inside0 && cx < inside1 ? 0.0f : 1.0f;
      out[1] = out[2] = out[3] = 0.0f;
    }
    return true;
  }
  for (Int32 i = 0; i < cnt; ++i)
  {
    Float32 px[4] = {1.0f, 0.0f, 0.0f, 0.0f}; // a, r, g, b
    const Int64 cx = static_cast<Int64>(x) + i;
    const std::ptrdiff_t stored = StoredAt(cx, y);
    // Inside the picture but outside what a crop kept: transparent black, as it was before the crop.
    if (hasAlpha && stored < 0 && y >= 0 && y < height && cx >= 0 && cx < width)
      px[0] = 0.0f;
    if (made && y >= 0 && y < height && cx >= 0 && cx < width)
      made(static_cast<Int32>(cx), y, 1, px + 1);
    else if (stored >= 0)
    {
      const std::size_t at = static_cast<std::size_t>(stored);
      px[1] = Colour(at * 3u);
      px[2] = Colour(at * 3u + 1u);
      px[3] = Colour(at * 3u + 2u);
      if (hasAlpha)
        px[0] = Alpha(at);
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
  for (Int32 i = 0; i < cnt; ++i)
  {
    const std::ptrdiff_t stored = StoredAt(static_cast<Int64>(x) + i, y);
    if (stored < 0)
      continue;
    const std::size_t at = static_cast<std::size_t>(stored);
    const UChar* in = buffer + static_cast<std::size_t>(i) * static_cast<std::size_t>(inc);
    Float32 px[4];
    if (mode == COLORMODE_ARGBf)
      std::memcpy(px, in, 16);
    else
    {
      px[0] = 0.0f;
      std::memcpy(px + 1, in, 12);
    }
    SetColour(at * 3u, px[1]);
    SetColour(at * 3u + 1u, px[2]);
    SetColour(at * 3u + 2u, px[3]);
    if (mode == COLORMODE_ARGBf && hasAlpha)
      SetAlpha(at, px[0]);
  }
  return true;
}

namespace
{
UInt16 To255(Float32 v)
{
  const Float32 c = std::min(1.0f, std::max(0.0f, v));
  return static_cast<UInt16>(c * 255.0f + 0.5f);
}

// Catmull-Rom weights of the four samples around a position with fraction t.
void CubicWeights(Float t, Float w[4])
{
  const Float t2 = t * t, t3 = t2 * t;
  w[0] = -0.5 * t3 + t2 - 0.5 * t;
  w[1] = 1.5 * t3 - 2.5 * t2 + 1.0;
  w[2] = -1.5 * t3 + 2.0 * t2 + 0.5 * t;
  w[3] = 0.5 * t3 - 0.5 * t2;
}
} // namespace

Bool BaseBitmap::CopyTo(BaseBitmap* dst) const
{
  if (!dst)
    return false;
  if (dst == this)
    return true;
  try
  {
    dst->rgb = rgb;
    dst->alpha = alpha;
    dst->rgb8 = rgb8;
    dst->alpha8 = alpha8;
  }
  catch (const std::bad_alloc&)
  {
    dst->Init(0, 0);
    return false;
  }
  dst->isFloat = isFloat;
  dst->hasAlpha = hasAlpha;
  dst->width = width;
  dst->height = height;
  dst->storeX = storeX, dst->storeY = storeY, dst->storeW = storeW, dst->storeH = storeH;
  dst->made = made;
  return true;
}

void BaseBitmap::GetPixel(Int32 x, Int32 y, UInt16* r, UInt16* g, UInt16* b) const
{
  UInt16 c[3] = {0, 0, 0};
  if (const std::ptrdiff_t stored = StoredAt(x, y); stored >= 0)
  {
    const size_t at = static_cast<size_t>(stored) * 3u;
    for (size_t i = 0; i < 3; ++i)
      c[i] = isFloat ? To255(rgb[at + i]) : rgb8[at + i];
  }
  if (r)
    *r = c[0];
  if (g)
    *g = c[1];
  if (b)
    *b = c[2];
}

void BaseBitmap::SetPixel(Int32 x, Int32 y, Int32 r, Int32 g, Int32 b)
{
  const std::ptrdiff_t stored = StoredAt(x, y);
  if (stored < 0)
    return;
  const size_t at = static_cast<size_t>(stored) * 3u;
  SetColour(at, static_cast<Float32>(r) / 255.0f);
  SetColour(at + 1u, static_cast<Float32>(g) / 255.0f);
  SetColour(at + 2u, static_cast<Float32>(b) / 255.0f);
}

BaseBitmap* BaseBitmap::AddChannel(Bool /*internal*/, Bool /*straight*/)
{
  if (hasAlpha || width == 0)
    return width == 0 ? nullptr : this;
  const size_t count = static_cast<size_t>(storeW) * static_cast<size_t>(storeH);
  try
  {
    if (isFloat)
      alpha.assign(count, 0.0f);
    else
      alpha8.assign(count, UChar(0));
    hasAlpha = true;
  }
  catch (const std::bad_alloc&)
  {
    return nullptr;
  }
  return this;
}

void BaseBitmap::GetAlphaPixel(const BaseBitmap* channel, Int32 x, Int32 y, UInt16* val) const
{
  if (!val)
    return;
  *val = 0;
  const std::ptrdiff_t stored = channel && channel->hasAlpha ? channel->StoredAt(x, y) : -1;
  if (stored >= 0)
  {
    const size_t at = static_cast<size_t>(stored);
    *val = channel->isFloat ? To255(channel->alpha[at]) : channel->alpha8[at];
  }
}

void BaseBitmap::SetAlphaPixel(BaseBitmap* channel, Int32 x, Int32 y, Int32 val)
{
  const std::ptrdiff_t stored = channel && channel->hasAlpha ? channel->StoredAt(x, y) : -1;
  if (stored >= 0)
    channel->SetAlpha(static_cast<size_t>(stored), static_cast<Float32>(val) / 255.0f);
}

void BaseBitmap::ScaleBicubic(BaseBitmap* dest, Int32 sx0, Int32 sy0, Int32 sx1, Int32 sy1, Int32 dx0, Int32 dy0,
                              Int32 dx1, Int32 dy1) const
{
  if (!dest || dest == this || width == 0 || height == 0 || dest->width == 0 || dest->height == 0)
    return;
  sx0 = std::max(0, sx0), sy0 = std::max(0, sy0), sx1 = std::min(width - 1, sx1), sy1 = std::min(height - 1, sy1);
  dx0 = std::max(0, dx0), dy0 = std::max(0, dy0), dx1 = std::min(dest->width - 1, dx1), dy1 = std::min(dest->height - 1, dy1);
  if (sx1 < sx0 || sy1 < sy0 || dx1 < dx0 || dy1 < dy0)
    return;
  const Bool withAlpha = hasAlpha && dest->hasAlpha;
  const Float scaleX = static_cast<Float>(sx1 - sx0 + 1) / (dx1 - dx0 + 1);
  const Float scaleY = static_cast<Float>(sy1 - sy0 + 1) / (dy1 - dy0 + 1);
  for (Int32 y = dy0; y <= dy1; ++y)
  {
    // Pixel centres map onto pixel centres of the source rectangle.
    const Float fy = sy0 + (y - dy0 + 0.5) * scaleY - 0.5;
    const Int32 iy = static_cast<Int32>(std::floor(fy));
    Float wy[4];
    CubicWeights(fy - iy, wy);
    for (Int32 x = dx0; x <= dx1; ++x)
    {
      const Float fx = sx0 + (x - dx0 + 0.5) * scaleX - 0.5;
      const Int32 ix = static_cast<Int32>(std::floor(fx));
      Float wx[4];
      CubicWeights(fx - ix, wx);
      Float sum[4] = {0.0, 0.0, 0.0, 0.0};
      Float lo[4] = {1e300, 1e300, 1e300, 1e300}, hi[4] = {-1e300, -1e300, -1e300, -1e300};
      for (int j = 0; j < 4; ++j)
      {
        const Int32 py = std::min(sy1, std::max(sy0, iy - 1 + j));
        for (int i = 0; i < 4; ++i)
        {
          const Int32 px = std::min(sx1, std::max(sx0, ix - 1 + i));
          const std::ptrdiff_t stored = StoredAt(px, py);
          const size_t at = static_cast<size_t>(stored);
          const Float w = wx[i] * wy[j];
          const Float v[4] = {stored < 0 ? 0.0f : Colour(at * 3u), stored < 0 ? 0.0f : Colour(at * 3u + 1u),
                              stored < 0 ? 0.0f : Colour(at * 3u + 2u), withAlpha && stored >= 0 ? Alpha(at) : 0.0f};
          for (int c = 0; c < 4; ++c)
          {
            sum[c] += w * v[c];
            lo[c] = std::min(lo[c], v[c]);
            hi[c] = std::max(hi[c], v[c]);
          }
        }
      }
      // Bicubic overshoots at hard edges: each value stays within its neighbours' range.
      const std::ptrdiff_t toStored = dest->StoredAt(x, y);
      if (toStored < 0)
        continue;
      const size_t to = static_cast<size_t>(toStored);
      for (int c = 0; c < 3; ++c)
        dest->SetColour(to * 3u + static_cast<size_t>(c), static_cast<Float32>(std::min(hi[c], std::max(lo[c], sum[c]))));
      if (withAlpha)
        dest->SetAlpha(to, static_cast<Float32>(std::min(hi[3], std::max(lo[3], sum[3]))));
    }
  }
}

void BaseBitmap::Line(Int32 x1, Int32 y1, Int32 x2, Int32 y2)
{
  const Int32 dx = std::abs(x2 - x1), dy = -std::abs(y2 - y1);
  const Int32 sx = x1 < x2 ? 1 : -1, sy = y1 < y2 ? 1 : -1;
  Int32 err = dx + dy;
  for (;;)
  {
    if (x1 >= 0 && y1 >= 0 && x1 < width && y1 < height)
      SetPixel(x1, y1, pen[0], pen[1], pen[2]);
    if (x1 == x2 && y1 == y2)
      return;
    const Int32 e2 = 2 * err;
    if (e2 >= dy)
      err += dy, x1 += sx;
    if (e2 <= dx)
      err += dx, y1 += sy;
  }
}
