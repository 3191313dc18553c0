// What the whole-render tests share: pictures written for a sky or a material, pixels read back.
#pragma once

#include <gtest/gtest.h>

#include <OpenImageIO/imageio.h>

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "c4d.h"

struct Rgba
{
  Float32 r, g, b, a;
};

inline std::ostream& operator<<(std::ostream& os, const Rgba& p)
{
  return os << '(' << p.r << ", " << p.g << ", " << p.b << ", " << p.a << ')';
}

inline bool Black(const Rgba& p) { return p.r == 0.0f && p.g == 0.0f && p.b == 0.0f; }

/// A float RGB picture of `pixel(x, y)`, written to `path`; the path.
inline std::string WritePicture(const std::string& path, Int32 w, Int32 h, const std::function<Rgba(Int32, Int32)>& pixel)
{
  std::vector<float> px;
  for (Int32 y = 0; y < h; ++y)
    for (Int32 x = 0; x < w; ++x)
    {
      const Rgba p = pixel(x, y);
      px.insert(px.end(), {p.r, p.g, p.b});
    }
  auto out = OIIO::ImageOutput::create(path);
  EXPECT_TRUE(out && out->open(path, OIIO::ImageSpec(w, h, 3, OIIO::TypeDesc::FLOAT)));
  EXPECT_TRUE(out && out->write_image(OIIO::TypeDesc::FLOAT, px.data()));
  if (out)
    out->close();
  return path;
}

inline Rgba At(const BaseBitmap& bmp, Int32 x, Int32 y)
{
  Float32 argb[4];
  bmp.GetPixelCnt(x, y, 1, reinterpret_cast<UChar*>(argb), 16, COLORMODE_ARGBf);
  return Rgba{argb[1], argb[2], argb[3], argb[0]};
}
