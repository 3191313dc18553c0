// The merge of a frame's images by the planned rectangles, and the stereo combinations.
#include "stereo_merge.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "lens_projection.h"

MergeRows::~MergeRows()
{
  std::free(block);
}

Bool MergeRows::Allocate(Int32 images, Int32 width)
{
  std::free(block);
  block = nullptr;
  if (images <= 0 || width <= 0)
    return false;
  rowFloats = static_cast<size_t>(width) * 3u;
  const size_t rowsNeeded = static_cast<size_t>(images) + 2u; // sources, then the two eyes
  if (rowFloats > std::numeric_limits<size_t>::max() / sizeof(Float32) / rowsNeeded)
    return false;
  block = static_cast<Float32*>(std::malloc(rowFloats * rowsNeeded * sizeof(Float32)));
  imageCount = images;
  rowWidth = width;
  return block != nullptr;
}

namespace
{
inline Float Lum(const Float32* c)
{
  return 0.299 * c[0] + 0.587 * c[1] + 0.114 * c[2];
}

// Whether row y lies in `area` and, if so, its column span clipped to the row.
bool RowSpan(const LensArea& area, const Vector& shift, Float y, Int32 width, Int32& x0, Int32& x1)
{
  const Float sy = area.start.y + shift.y, ey = area.end.y + shift.y;
  if (y < sy || y > ey)
    return false;
  const Float sx = std::ceil(area.start.x + shift.x), ex = std::floor(area.end.x + shift.x);
  x0 = sx < 0.0 ? 0 : (sx > width ? width : static_cast<Int32>(sx));
  x1 = ex >= width - 1.0 ? width - 1 : (ex < -1.0 ? -1 : static_cast<Int32>(ex));
  return x0 <= x1;
}

// The row of one eye: each pixel from the first face that holds it, black where none does.
void EyeRow(const MergePlan& plan, Int32 eye, Float y, Int32 width, MergeRows& rows, Float32* out)
{
  std::memset(out, 0, static_cast<size_t>(width) * 3u * sizeof(Float32));
  const Vector shift = plan.eyes[eye].area.start;
  // Later faces first, so that an earlier face overwrites where two overlap: the first one wins.
  for (Int32 f = plan.faceCount - 1; f >= 0; --f)
  {
    Int32 x0, x1;
    if (!RowSpan(plan.faces[f].area, shift, y, width, x0, x1))
      continue;
    const Float32* src = rows.Source(plan.faceCount * eye + f);
    std::memcpy(out + x0 * 3, src + x0 * 3, static_cast<size_t>(x1 - x0 + 1) * 3u * sizeof(Float32));
  }
}
} // namespace

void AnaglyphPixel(const Float32* a, const Float32* b, AnaglyphMethod method, AnaglyphColours colours, Float gamma,
                   Float32* out)
{
  Float r = 0.0, g = 0.0, bl = 0.0;
  if (method == AnaglyphMethod::Matrix)
  {
    switch (colours)
    {
      case AnaglyphColours::Full: r = a[0]; g = b[1]; bl = b[2]; break;
      case AnaglyphColours::Half: r = Lum(a); g = b[1]; bl = b[2]; break;
      case AnaglyphColours::Optimised:
        r = 0.7 * a[1] + 0.3 * a[2];
        g = b[1];
        bl = b[2];
        if (gamma > 1.0)
          r = std::pow(r, 1.0 / gamma);
        break;
      case AnaglyphColours::Grey: r = Lum(a); g = Lum(b); bl = Lum(b); break;
      default: r = Lum(a); g = 0.0; bl = Lum(b); break;
    }
  }
  else if (method == AnaglyphMethod::Simple)
  {
    r = a[0];
    g = b[1];
  }
  out[0] = static_cast<Float32>(r);
  out[1] = static_cast<Float32>(g);
  out[2] = static_cast<Float32>(bl);
}

void MergeRow(const MergePlan& plan, Int32 y, MergeRows& rows)
{
  const Int32 width = rows.rowWidth;
  const size_t rowBytes = static_cast<size_t>(width) * 3u * sizeof(Float32);
  Float32* first = rows.Source(rows.imageCount);
  Float32* second = rows.Source(rows.imageCount + 1);
  Float32* out = rows.Source(0);
  const Float fy = y;

  EyeRow(plan, 0, fy, width, rows, first);
  if (plan.eyeCount < 2)
  {
    std::memcpy(out, first, rowBytes);
    return;
  }
  EyeRow(plan, 1, fy, width, rows, second);

  if (plan.stereoMode == StereoMode::Pair)
  {
    std::memset(out, 0, rowBytes);
    // Eye 1 first, so that eye 0 wins where the two areas overlap.
    Int32 x0, x1;
    if (RowSpan(plan.eyes[1].area, Vector(), fy, width, x0, x1))
      std::memcpy(out + x0 * 3, second + x0 * 3, static_cast<size_t>(x1 - x0 + 1) * 3u * sizeof(Float32));
    if (RowSpan(plan.eyes[0].area, Vector(), fy, width, x0, x1))
      std::memcpy(out + x0 * 3, first + x0 * 3, static_cast<size_t>(x1 - x0 + 1) * 3u * sizeof(Float32));
    return;
  }
  if (plan.stereoMode == StereoMode::Interlaced)
  {
    for (Int32 x = 0; x < width; ++x)
    {
      bool useSecond;
      if (plan.interlaceMode == InterlaceMode::Columns)
        useSecond = (x & 1) != 0;
      else if (plan.interlaceMode == InterlaceMode::Checkerboard)
        useSecond = ((x + y) & 1) != 0;
      else
        useSecond = (y & 1) != 0;
      std::memcpy(out + x * 3, (useSecond ? second : first) + x * 3, 3 * sizeof(Float32));
    }
    return;
  }
  if (plan.stereoMode == StereoMode::Anaglyph)
  {
    const LensArea& a = plan.activeArea;
    const Float du = a.width - 1.0, dv = a.height - 1.0;
    const Float v = (y - a.start.y) / dv;
    for (Int32 x = 0; x < width; ++x)
    {
      // Outside the dome's circle the picture is not mixed.
      if (plan.isDome && OutsideDome((x - a.start.x) / du, v))
        std::memcpy(out + x * 3, first + x * 3, 3 * sizeof(Float32));
      else
        AnaglyphPixel(first + x * 3, second + x * 3, plan.anaglyphMethod, plan.anaglyphColours, plan.anaglyphGamma, out + x * 3);
    }
    return;
  }
  std::memset(out, 0, rowBytes);
}
