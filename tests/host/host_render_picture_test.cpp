// The render's picture look-ups: one result whatever depth the file stores its values in.
#include <gtest/gtest.h>

#include <OpenImageIO/imageio.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "render/render_picture.h"

namespace
{
using host::render::Picture;

/// Writes a w × h picture of `channels` values per pixel, each the byte `value(x, y, c)`, stored
/// as `type` in the format of the name's extension; returns its path.
template <typename Value>
std::string WritePicture(const std::string& name, int w, int h, int channels, OIIO::TypeDesc type, Value value)
{
  const std::string path = ::testing::TempDir() + "orlix_picture_" + std::to_string(getpid()) + "_" + name;
  std::vector<float> pixels;
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      for (int c = 0; c < channels; ++c)
        pixels.push_back(static_cast<float>(value(x, y, c)) / 255.0f);
  auto out = OIIO::ImageOutput::create(path);
  EXPECT_TRUE(out);
  if (out)
  {
    EXPECT_TRUE(out->open(path, OIIO::ImageSpec(w, h, channels, type)));
    EXPECT_TRUE(out->write_image(OIIO::TypeDesc::FLOAT, pixels.data()));
    out->close();
  }
  return path;
}

int Byte(int x, int y, int c)
{
  return (x * 37 + y * 91 + c * 53) % 256;
}
} // namespace

TEST(RenderPicture, EightBitSixteenBitAndFloatFilesSampleAlike)
{
  // The same bytes stored three ways; positions between texels, across the seam and at the poles.
  const std::string png8 = WritePicture("8.png", 8, 4, 3, OIIO::TypeDesc::UINT8, Byte);
  const std::string png16 = WritePicture("16.png", 8, 4, 3, OIIO::TypeDesc::UINT16, Byte);
  const std::string exr = WritePicture("f.exr", 8, 4, 3, OIIO::TypeDesc::FLOAT, Byte);
  Picture p8, p16, pf;
  String error;
  ASSERT_TRUE(p8.Load(Filename(png8.c_str()), &error)) << error.GetStdString();
  ASSERT_TRUE(p16.Load(Filename(png16.c_str()), &error)) << error.GetStdString();
  ASSERT_TRUE(pf.Load(Filename(exr.c_str()), &error)) << error.GetStdString();
  EXPECT_EQ(p8.GetBw(), 8);
  EXPECT_EQ(p8.GetBh(), 4);

  // At a texel's centre the value is the texel's own, whatever the storage.
  const Vector centre = p8.Sample((2 + 0.5) / 8.0, (1 + 0.5) / 4.0, false);
  EXPECT_FLOAT_EQ(centre.x, Byte(2, 1, 0) / 255.0f);
  EXPECT_FLOAT_EQ(centre.y, Byte(2, 1, 1) / 255.0f);
  EXPECT_FLOAT_EQ(centre.z, Byte(2, 1, 2) / 255.0f);

  const std::pair<Float, Float> at[] = {{0.3, 0.4}, {0.01, 0.5}, {0.99, 0.02}, {0.5, 1.0}, {-0.25, 0.7}, {0.61, 0.93}};
  for (const auto& [u, v] : at)
  {
    const Vector a = p8.Sample(u, v, false), b = p16.Sample(u, v, false), c = pf.Sample(u, v, false);
    EXPECT_LE((a - c).GetLength(), 1e-6) << "8-bit " << a << " vs float " << c << " at u " << u << " v " << v;
    EXPECT_LE((b - c).GetLength(), 1e-6) << "16-bit " << b << " vs float " << c << " at u " << u << " v " << v;
  }
  // Halfway between the last column and the first, the look-up wraps around the seam.
  const Vector seam = p8.Sample(0.0, (0 + 0.5) / 4.0, false);
  EXPECT_FLOAT_EQ(seam.x, (Byte(7, 0, 0) + Byte(0, 0, 0)) / 2.0f / 255.0f);
  for (const std::string& path : {png8, png16, exr})
    std::remove(path.c_str());
}

TEST(RenderPicture, GreyPicturesFillAllThreeChannels)
{
  for (OIIO::TypeDesc type : {OIIO::TypeDesc::UINT8, OIIO::TypeDesc::FLOAT})
  {
    const std::string path = WritePicture(type == OIIO::TypeDesc::UINT8 ? "grey.png" : "grey.exr", 4, 2, 1, type,
                                          [](int x, int y, int) { return 40 * x + 100 * y; });
    Picture p;
    String error;
    ASSERT_TRUE(p.Load(Filename(path.c_str()), &error)) << error.GetStdString();
    const Vector c = p.Sample((3 + 0.5) / 4.0, (1 + 0.5) / 2.0, false);
    EXPECT_LE((c - Vector(220 / 255.0)).GetLength(), 1e-6) << type << ": " << c;
    std::remove(path.c_str());
  }
}
