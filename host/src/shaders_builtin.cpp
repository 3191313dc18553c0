// The host's built-in shaders (constant colour, picture, gradient along v) and the table of
// shader types.
#include <algorithm>
#include <cmath>
#include <new>
#include <utility>
#include <vector>

#include "c4d_bitmap.h"
#include "shader_kernel.h"

namespace host
{
namespace
{
// ---- Constant colour ---------------------------------------------------------------------------

class ColorKernel : public ShaderKernel
{
public:
  void InitDefaults(BaseContainer& settings) const override
  {
    settings.SetVector(COLORSHADER_COLOR, Vector(1.0, 1.0, 1.0));
    settings.SetFloat(COLORSHADER_BRIGHTNESS, 1.0);
  }

  INITRENDERRESULT InitRender(const BaseContainer& settings, const InitRenderStruct& /*irs*/) override
  {
    colour = settings.GetVector(COLORSHADER_COLOR) * settings.GetFloat(COLORSHADER_BRIGHTNESS, 1.0);
    return INITRENDERRESULT_OK;
  }

  void FreeRender() override { colour = Vector(); }

  Vector Sample(const ChannelData& /*cd*/) const override { return colour; }

private:
  Vector colour;
};

// ---- Picture -----------------------------------------------------------------------------------

class PictureKernel : public ShaderKernel
{
public:
  void InitDefaults(BaseContainer& settings) const override { settings.SetFilename(BITMAPSHADER_FILENAME, Filename()); }

  INITRENDERRESULT InitRender(const BaseContainer& settings, const InitRenderStruct& irs) override
  {
    const Filename name = settings.GetFilename(BITMAPSHADER_FILENAME);
    if (name.IsEmpty())
      return INITRENDERRESULT_ASSETMISSING;

    BaseBitmap* picture = BaseBitmap::Alloc();
    if (!picture)
      return INITRENDERRESULT_OUTOFMEMORY;
    IMAGERESULT loaded = IMAGERESULT_NOTEXISTING;
    const Bool relative = name.GetString().GetStdString()[0] != '/';
    if (relative && irs.docpath.IsPopulated())
      loaded = picture->Init(irs.docpath + name);
    if (loaded != IMAGERESULT_OK)
      loaded = picture->Init(name);

    INITRENDERRESULT result = INITRENDERRESULT_OK;
    if (loaded == IMAGERESULT_OUTOFMEMORY)
      result = INITRENDERRESULT_OUTOFMEMORY;
    else if (loaded != IMAGERESULT_OK || picture->GetBw() <= 0 || picture->GetBh() <= 0)
      result = INITRENDERRESULT_ASSETMISSING;
    else
      result = CopyPixels(*picture);
    BaseBitmap::Free(picture);
    return result;
  }

  void FreeRender() override
  {
    std::vector<Float32>().swap(rgb);
    width = height = 0;
  }

  Vector Sample(const ChannelData& cd) const override
  {
    Float u = cd.p.x, v = cd.p.y;
    if (!std::isfinite(u) || !std::isfinite(v) || rgb.empty())
      return Vector();
    const Bool tile = (cd.texflag & TEX_TILE) != 0;
    if (tile)
    {
      u -= std::floor(u);
      v -= std::floor(v);
    }
    else
    {
      u = std::clamp(u, 0.0, 1.0);
      v = std::clamp(v, 0.0, 1.0);
    }

    // Bilinear between pixel centres, which lie at (i + 0.5) / size.
    const Float x = u * width - 0.5, y = v * height - 0.5;
    const Float x0f = std::floor(x), y0f = std::floor(y);
    const Float fx = x - x0f, fy = y - y0f;
    const Int32 x0 = static_cast<Int32>(x0f), y0 = static_cast<Int32>(y0f);
    const Int32 cx0 = Index(x0, width, tile), cx1 = Index(x0 + 1, width, tile);
    const Int32 cy0 = Index(y0, height, tile), cy1 = Index(y0 + 1, height, tile);
    const Vector top = Texel(cx0, cy0) * (1.0 - fx) + Texel(cx1, cy0) * fx;
    const Vector bottom = Texel(cx0, cy1) * (1.0 - fx) + Texel(cx1, cy1) * fx;
    return top * (1.0 - fy) + bottom * fy;
  }

private:
  INITRENDERRESULT CopyPixels(const BaseBitmap& picture)
  {
    const Int32 w = picture.GetBw(), h = picture.GetBh();
    try
    {
      rgb.assign(static_cast<std::size_t>(w) * static_cast<std::size_t>(h) * 3u, 0.0f);
    }
    catch (const std::bad_alloc&)
    {
      return INITRENDERRESULT_OUTOFMEMORY;
    }
    for (Int32 row = 0; row < h; ++row)
    {
      auto* line = reinterpret_cast<UChar*>(&rgb[static_cast<std::size_t>(row) * static_cast<std::size_t>(w) * 3u]);
      picture.GetPixelCnt(0, row, w, line, 12, COLORMODE_RGBf);
    }
    width = w;
    height = h;
    return INITRENDERRESULT_OK;
  }

  // A pixel index that repeats the picture with tiling and holds its edge without.
  static Int32 Index(Int32 i, Int32 size, Bool tile)
  {
    if (tile)
      return ((i % size) + size) % size;
    return i < 0 ? 0 : (i >= size ? size - 1 : i);
  }

  Vector Texel(Int32 x, Int32 y) const
  {
    const Float32* px = &rgb[(static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)) * 3u];
    return Vector(px[0], px[1], px[2]);
  }

  std::vector<Float32> rgb; // rows from the top, 3 floats a pixel
  Int32 width = 0;
  Int32 height = 0;
};

// ---- Gradient along v --------------------------------------------------------------------------

class GradientKernel : public ShaderKernel
{
public:
  void InitDefaults(BaseContainer& settings) const override
  {
    BaseContainer knotList;
    knotList.SetContainer(0, MakeKnot(0.0, Vector(0.0)));
    knotList.SetContainer(1, MakeKnot(1.0, Vector(1.0)));
    settings.SetContainer(GRADIENTSHADER_KNOTS, knotList);
  }

  INITRENDERRESULT InitRender(const BaseContainer& settings, const InitRenderStruct& /*irs*/) override
  {
    const BaseContainer knotList = settings.GetContainer(GRADIENTSHADER_KNOTS);
    try
    {
      knots.clear();
      for (Int32 i = 0; i < knotList.GetDataCount(); ++i)
      {
        const BaseContainer* knot = knotList.GetData(knotList.GetIndexId(i)).GetContainer();
        if (!knot)
          continue;
        const Float position = knot->GetFloat(GRADIENTKNOT_POSITION);
        if (!std::isfinite(position))
          return INITRENDERRESULT_UNKNOWNERROR;
        knots.push_back({position, knot->GetVector(GRADIENTKNOT_COLOR)});
      }
    }
    catch (const std::bad_alloc&)
    {
      return INITRENDERRESULT_OUTOFMEMORY;
    }
    if (knots.size() < 2)
      return INITRENDERRESULT_UNKNOWNERROR;
    // Stable, so that of two knots at one position the later one holds from there on.
    std::stable_sort(knots.begin(), knots.end(), [](const Knot& a, const Knot& b) { return a.position < b.position; });
    return INITRENDERRESULT_OK;
  }

  void FreeRender() override { std::vector<Knot>().swap(knots); }

  Vector Sample(const ChannelData& cd) const override
  {
    const Float v = cd.p.y;
    if (!(v == v) || knots.empty())
      return Vector();
    if (v < knots.front().position)
      return knots.front().colour;
    // The last knot at or before v; the next one lies strictly after it.
    std::size_t i = 0;
    while (i + 1 < knots.size() && knots[i + 1].position <= v)
      ++i;
    if (i + 1 == knots.size())
      return knots[i].colour;
    const Knot& a = knots[i];
    const Knot& b = knots[i + 1];
    const Float t = (v - a.position) / (b.position - a.position);
    return a.colour * (1.0 - t) + b.colour * t;
  }

private:
  struct Knot
  {
    Float position;
    Vector colour;
  };

  static BaseContainer MakeKnot(Float position, const Vector& colour)
  {
    BaseContainer knot;
    knot.SetFloat(GRADIENTKNOT_POSITION, position);
    knot.SetVector(GRADIENTKNOT_COLOR, colour);
    return knot;
  }

  std::vector<Knot> knots; // by position
};

// ---- The table of types ------------------------------------------------------------------------

template <typename T>
std::unique_ptr<ShaderKernel> Make()
{
  return std::unique_ptr<ShaderKernel>(new (std::nothrow) T());
}

std::vector<std::pair<Int32, ShaderKernelMaker>>& ExtraTypes()
{
  static std::vector<std::pair<Int32, ShaderKernelMaker>> types;
  return types;
}
} // namespace

std::unique_ptr<ShaderKernel> MakeShaderKernel(Int32 type)
{
  switch (type)
  {
    case Xcolor: return Make<ColorKernel>();
    case Xbitmap: return Make<PictureKernel>();
    case Xgradient: return Make<GradientKernel>();
    default: break;
  }
  for (const auto& entry : ExtraTypes())
    if (entry.first == type)
      return entry.second();
  return nullptr;
}

Bool RegisterShaderKernel(Int32 type, ShaderKernelMaker make)
{
  if (!make || type == Xcolor || type == Xbitmap || type == Xgradient)
    return false;
  for (const auto& entry : ExtraTypes())
    if (entry.first == type)
      return false;
  ExtraTypes().emplace_back(type, make);
  return true;
}
} // namespace host
