// What the picture tests share: bitmaps that free themselves, pictures written by OpenImageIO,
// pixels read and written by value, a float picture whose values show clamping and rounding,
// and the comparison of our reading of a file with OpenImageIO's.
#pragma once

#include <gtest/gtest.h>

#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "c4d.h"
#include "support/scratch_dir.h"

namespace picture_test
{
namespace fs = std::filesystem;

struct Bitmap
{
  BaseBitmap* bmp = BaseBitmap::Alloc();
  ~Bitmap() { BaseBitmap::Free(bmp); }
};

/// Writes a w × h picture of `channels` values per pixel (a fourth is alpha), each value(x, y, c),
/// stored as `type` in the format of the name's extension; returns its path.
inline std::string WritePicture(const ScratchDir& dir, const std::string& name, int w, int h, int channels, OIIO::TypeDesc type,
                         const std::function<float(int x, int y, int c)>& value)
{
  const std::string path = dir.Path(name);
  std::vector<float> pixels;
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      for (int c = 0; c < channels; ++c)
        pixels.push_back(value(x, y, c));
  OIIO::ImageSpec format(w, h, channels, type);
  format.alpha_channel = channels == 4 ? 3 : -1;
  auto out = OIIO::ImageOutput::create(path);
  EXPECT_TRUE(out && out->open(path, format) && out->write_image(OIIO::TypeDesc::FLOAT, pixels.data())) << path;
  if (out)
    out->close();
  return path;
}

/// Bytes with odd pixels white, even ones black, and alpha a half.
inline std::string WritePicture(const ScratchDir& dir, const std::string& name, int w, int h, int channels)
{
  return WritePicture(dir, name, w, h, channels, OIIO::TypeDesc::UINT8,
                      [&](int x, int y, int c) { return c == 3 ? 0.5f : static_cast<float>((y * w + x) % 2); });
}

inline std::vector<Float32> ReadArgb(const BaseBitmap& b, Int32 x, Int32 y)
{
  std::vector<Float32> px(4);
  EXPECT_TRUE(b.GetPixelCnt(x, y, 1, reinterpret_cast<UChar*>(px.data()), 16, COLORMODE_ARGBf));
  return px;
}

inline void WriteArgb(BaseBitmap& b, Int32 x, Int32 y, std::vector<Float32> argb)
{
  EXPECT_TRUE(b.SetPixelCnt(x, y, 1, reinterpret_cast<const UChar*>(argb.data()), 16, COLORMODE_ARGBf));
}
/// The colour a test picture holds at (x, y): values inside 0..1 just either side of half a step,
/// values outside it, and a NaN, so that clamping and rounding both show.
inline void Colour(Int32 x, Int32 y, Float32 argb[4])
{
  argb[0] = static_cast<Float32>((x + y) % 5) / 4.0f;
  argb[1] = (static_cast<Float32>(x * 7 + y) + (x % 2 ? 0.501f : 0.499f)) / 255.0f;
  argb[2] = static_cast<Float32>(y % 3) - 1.0f + 0.25f; // -0.75, 0.25, 1.25
  argb[3] = x == 3 && y == 100 ? std::nanf("") : static_cast<Float32>(y) / 149.0f;
}

/// A w × h picture of Colour, with alpha where asked; taller than one strip of the writer.
inline void Fill(BaseBitmap* bmp, Int32 w, Int32 h, Bool alpha)
{
  ASSERT_EQ(bmp->Init(w, h, 96), IMAGERESULT_OK) << "a float picture, as renders are";
  ASSERT_TRUE(!alpha || bmp->AddChannel(true, false) != nullptr);
  std::vector<Float32> row(static_cast<size_t>(w) * 4);
  for (Int32 y = 0; y < h; ++y)
  {
    for (Int32 x = 0; x < w; ++x)
      Colour(x, y, &row[static_cast<size_t>(x) * 4]);
    ASSERT_TRUE(bmp->SetPixelCnt(0, y, w, reinterpret_cast<UChar*>(row.data()), 16, COLORMODE_ARGBf));
  }
}

struct BitmapTest : ::testing::Test
{
  /// Only the files named, no temporary left over.
  std::vector<std::string> Files() const
  {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(scratch.dir))
      names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
  }

  ScratchDir scratch;
};

/// OpenImageIO's reading of the file at `path` (colours multiplied by alpha) against ours, behind
/// BaseBitmap, value for value.
inline void ExpectReadsAsOpenImageIoReadsIt(const std::string& path, int w, int h, int channels, OIIO::TypeDesc type)
{
  auto in = OIIO::ImageInput::open(path);
  ASSERT_TRUE(in);
  std::vector<float> theirs(size_t(w) * h * channels);
  ASSERT_TRUE(in->read_image(0, 0, 0, channels, OIIO::TypeDesc::FLOAT, theirs.data()));
  Bitmap mine;
  ASSERT_EQ(mine.bmp->Init(Filename(path.c_str())), IMAGERESULT_OK);
  ASSERT_EQ(std::vector<Int32>({mine.bmp->GetBw(), mine.bmp->GetBh(), mine.bmp->HasAlpha(), mine.bmp->IsFloat()}),
            std::vector<Int32>({w, h, channels % 2 == 0, type != OIIO::TypeDesc::UINT8}));
  int wrong = 0;
  for (Int32 y = 0; y < h; ++y)
    for (Int32 x = 0; x < w; ++x)
    {
      const float* t = &theirs[(size_t(y) * w + x) * channels];
      // Bytes are compared as bytes: the two sides scale them to floats a little differently.
      const auto value = [&](float v) { return type == OIIO::TypeDesc::UINT8 ? std::round(v * 255.0f) : v; };
      std::vector<Float32> got = ReadArgb(*mine.bmp, x, y);
      std::transform(got.begin(), got.end(), got.begin(), value);
      const std::vector<Float32> want = {value(channels % 2 ? 1.0f : t[channels - 1]), value(t[0]),
                                         value(t[channels > 2 ? 1 : 0]), value(t[channels > 2 ? 2 : 0])};
      if (got != want && ++wrong < 4)
        ADD_FAILURE() << "pixel " << x << ", " << y << ": " << ::testing::PrintToString(got) << " for "
                      << ::testing::PrintToString(want);
    }
  EXPECT_EQ(wrong, 0);
}
} // namespace picture_test
