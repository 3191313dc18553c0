// Pictures for look-ups by the render: sky panoramas and material textures, with the
// equirectangular mapping between directions and picture positions.
#pragma once

#include <cmath>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "c4d.h"

namespace host::render
{
/// Picture position (u to the right, v downward, both 0 to 1) of a direction: u = 0.5 looks along
/// +Z, 0.75 towards +X, 0.25 towards −X; v = 0 straight up. `d` must have length 1.
/// Inverse: SkyUVToDirection.
inline void DirectionToSkyUV(const Vector& d, Float& u, Float& v)
{
  u = 0.5 + std::atan2(d.x, d.z) * (1.0 / PI2);
  v = std::acos(d.y < -1.0 ? -1.0 : (d.y > 1.0 ? 1.0 : d.y)) * (1.0 / PI);
}

/// The direction of length 1 that picture position (u, v) looks at. Inverse: DirectionToSkyUV.
inline Vector SkyUVToDirection(Float u, Float v)
{
  const Float lon = (u - 0.5) * PI2;
  const Float lat = (0.5 - v) * PI;
  return Vector(std::sin(lon) * std::cos(lat), std::sin(lat), std::cos(lon) * std::cos(lat));
}

/// A picture read once and sampled bilinearly by many threads. Files of 8 bits a channel stay
/// 8-bit (a quarter of the memory of floats), deeper ones are float.
class Picture : public BaseBitmap
{
public:
  Picture() = default;
  ~Picture() override = default;

  /// Reads a picture file; false with a message naming the file.
  Bool Load(const Filename& file, String* error);

  /// Bilinear between pixel centres at ((i + 0.5) / width, (j + 0.5) / height). u repeats;
  /// v repeats with `repeatV`, else it stops at the first and last rows (a panorama's poles).
  Vector Sample(Float u, Float v, Bool repeatV) const
  {
    // Into [0, 1) first, so that far-off or non-finite positions stay inside the picture.
    u -= std::floor(u);
    if (!(u >= 0.0 && u < 1.0))
      u = 0.0;
    if (repeatV)
      v -= std::floor(v);
    if (!(v >= 0.0 && v <= 1.0))
      v = v > 1.0 ? 1.0 : 0.0;
    const Float fx = u * width - 0.5;
    const Float fy = v * height - 0.5;
    // fx and fy lie in [-0.5, size - 0.5]: truncation after a shift by one is the floor, and a
    // neighbour wraps at most once.
    Int32 x0 = static_cast<Int32>(fx + 1.0) - 1, y0 = static_cast<Int32>(fy + 1.0) - 1;
    const Float tx = fx - x0, ty = fy - y0;
    Int32 x1 = x0 + 1, y1 = y0 + 1;
    if (x0 < 0)
      x0 = width - 1;
    if (x1 >= width)
      x1 = 0;
    if (y0 < 0)
      y0 = repeatV ? height - 1 : 0;
    if (y1 >= height)
      y1 = repeatV ? 0 : height - 1;
    // The four texels weighted in single precision.
    const Float32 wx = static_cast<Float32>(tx), wy = static_cast<Float32>(ty);
    const Float32 w[4] = {(1.0f - wx) * (1.0f - wy), wx * (1.0f - wy), (1.0f - wx) * wy, wx * wy};
    const size_t at[4] = {Index(x0, y0), Index(x1, y0), Index(x0, y1), Index(x1, y1)};
    return isFloat ? Blend(rgb.data(), at, w, [](Float32 c) { return c; })
                   : Blend(rgb8.data(), at, w, [](UChar c) { return kByteValue[c]; });
  }

private:
  size_t Index(Int32 x, Int32 y) const
  {
    return (static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)) * 3u;
  }

  template <typename T, typename ToFloat>
  static Vector Blend(const T* texels, const size_t (&at)[4], const Float32 (&w)[4], ToFloat value)
  {
    Float32 c[3];
    for (size_t k = 0; k < 3; ++k)
      c[k] = value(texels[at[0] + k]) * w[0] + value(texels[at[1] + k]) * w[1] + value(texels[at[2] + k]) * w[2] +
             value(texels[at[3] + k]) * w[3];
    return Vector(c[0], c[1], c[2]);
  }
};

/// Pictures of one render by absolute path, each read once.
class PictureCache
{
public:
  /// The picture of `file` (relative to `folder` unless absolute), or null with a message that
  /// names `what` and the file.
  const Picture* Get(const Filename& file, const Filename& folder, const String& what, String* error);

private:
  std::map<std::string, std::unique_ptr<Picture>> pictures;
};
} // namespace host::render
