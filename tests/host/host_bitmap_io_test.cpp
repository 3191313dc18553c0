// Writing pictures to disk: values as each format stores them, whole files or none.
#include <gtest/gtest.h>

#include <OpenImageIO/imageio.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "bitmap_io.h"
#include "c4d.h"

namespace
{
namespace fs = std::filesystem;

struct Bitmap
{
  BaseBitmap* bmp = BaseBitmap::Alloc();
  ~Bitmap() { BaseBitmap::Free(bmp); }
};

/// The colour a test picture holds at (x, y): values inside 0..1 just either side of half a step,
/// values outside it, and a NaN, so that clamping and rounding both show.
void Colour(Int32 x, Int32 y, Float32 argb[4])
{
  argb[0] = static_cast<Float32>((x + y) % 5) / 4.0f;
  argb[1] = (static_cast<Float32>(x * 7 + y) + (x % 2 ? 0.501f : 0.499f)) / 255.0f;
  argb[2] = static_cast<Float32>(y % 3) - 1.0f + 0.25f; // -0.75, 0.25, 1.25
  argb[3] = x == 3 && y == 100 ? std::nanf("") : static_cast<Float32>(y) / 149.0f;
}

/// A w × h picture of Colour, with alpha where asked; taller than one strip of the writer.
void Fill(BaseBitmap* bmp, Int32 w, Int32 h, Bool alpha)
{
  ASSERT_EQ(bmp->Init(w, h, 96), IMAGERESULT_OK) << "a float picture, as renders are";
  if (alpha)
  {
    ASSERT_NE(bmp->AddChannel(true, false), nullptr);
  }
  std::vector<Float32> row(static_cast<size_t>(w) * 4);
  for (Int32 y = 0; y < h; ++y)
  {
    for (Int32 x = 0; x < w; ++x)
      Colour(x, y, &row[static_cast<size_t>(x) * 4]);
    ASSERT_TRUE(bmp->SetPixelCnt(0, y, w, reinterpret_cast<UChar*>(row.data()), 16, COLORMODE_ARGBf));
  }
}

std::vector<float> Read(const std::string& path, int& channels, OIIO::TypeDesc& type)
{
  auto in = OIIO::ImageInput::open(path);
  EXPECT_TRUE(in) << path;
  if (!in)
    return {};
  const OIIO::ImageSpec file = in->spec_dimensions(0);
  channels = file.nchannels;
  type = file.format;
  std::vector<float> values(static_cast<size_t>(file.width) * file.height * channels);
  EXPECT_TRUE(in->read_image(0, 0, 0, channels, OIIO::TypeDesc::FLOAT, values.data()));
  return values;
}

class BitmapIoTest : public ::testing::Test
{
protected:
  void SetUp() override
  {
    dir = fs::path(::testing::TempDir()) / ("orlix_bitmap_io_" + std::to_string(getpid()) + "_" +
                                            ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::create_directories(dir);
  }
  void TearDown() override { fs::remove_all(dir); }

  /// Only the files named, no temporary left over.
  std::vector<std::string> Files() const
  {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(dir))
      names.push_back(entry.path().filename().string());
    return names;
  }

  fs::path dir;
};
} // namespace

TEST_F(BitmapIoTest, EachFormatStoresTheValuesItCan)
{
  // PNG keeps straight alpha, which the library makes by dividing the colours; its rounding is
  // checked on a picture without alpha, where the stored value is the colour itself.
  constexpr Int32 w = 9, h = 150;
  Bitmap withAlpha, withoutAlpha;
  Fill(withAlpha.bmp, w, h, true);
  Fill(withoutAlpha.bmp, w, h, false);
  struct Case
  {
    const char* name;
    Bool alpha;
    Bool floatData;
    OIIO::TypeDesc type;
    float steps; ///< 0: float, stored as it is
  };
  for (const Case& c : {Case{"p.png", false, false, OIIO::TypeDesc::UINT8, 255.0f},
                        Case{"p.tif", true, false, OIIO::TypeDesc::UINT16, 65535.0f},
                        Case{"f.tif", true, true, OIIO::TypeDesc::FLOAT, 0.0f},
                        Case{"p.exr", true, false, OIIO::TypeDesc::FLOAT, 0.0f}})
  {
    SCOPED_TRACE(c.name);
    std::string error;
    const std::string path = (dir / c.name).string();
    ASSERT_TRUE(host::SaveBitmap(c.alpha ? *withAlpha.bmp : *withoutAlpha.bmp, path, c.floatData, &error, 2)) << error;
    int channels = 0;
    OIIO::TypeDesc type;
    const std::vector<float> values = Read(path, channels, type);
    const int want = c.alpha ? 4 : 3;
    ASSERT_EQ(channels, want) << "the alpha channel goes along where there is one";
    EXPECT_EQ(type, c.type);
    ASSERT_EQ(values.size(), size_t(w) * h * want);
    Int32 wrong = 0;
    for (Int32 y = 0; y < h; ++y)
      for (Int32 x = 0; x < w; ++x)
      {
        Float32 argb[4];
        Colour(x, y, argb);
        for (int ch = 0; ch < want; ++ch)
        {
          const float v = argb[ch < 3 ? ch + 1 : 0];
          float expected = v;
          if (c.steps > 0.0f)
            expected = std::isnan(v) ? 0.0f : std::round(std::min(1.0f, std::max(0.0f, v)) * c.steps) / c.steps;
          const float got = values[(size_t(y) * w + x) * want + ch];
          const Bool same = std::isnan(expected) ? std::isnan(got) : std::fabs(got - expected) <= 1e-7f;
          if (!same && ++wrong < 5)
            ADD_FAILURE() << "pixel " << x << ", " << y << " channel " << ch << ": " << got << " for " << v;
        }
      }
    EXPECT_EQ(wrong, 0);
  }
  EXPECT_EQ(Files().size(), 4u) << "no temporary files left";
}

TEST_F(BitmapIoTest, RefusedWritesLeaveNothingAndKeepTheOldFile)
{
  Bitmap b;
  Fill(b.bmp, 4, 4, false);
  std::string error;
  EXPECT_FALSE(host::SaveBitmap(*b.bmp, (dir / "p.jpg").string(), false, &error));
  EXPECT_NE(error.find("unknown picture format \".jpg\""), std::string::npos) << error;
  EXPECT_FALSE(host::SaveBitmap(*b.bmp, (dir / "d.png").string(), true, &error));
  EXPECT_NE(error.find("float data needs .exr or .tif"), std::string::npos) << error;
  EXPECT_FALSE(host::SaveBitmap(*b.bmp, (dir / "missing" / "p.png").string(), false, &error));
  EXPECT_NE(error.find("missing/p.png"), std::string::npos) << error;
  EXPECT_TRUE(Files().empty());

  // A good file stays as it was when a later write is refused.
  const std::string keep = (dir / "keep.png").string();
  ASSERT_TRUE(host::SaveBitmap(*b.bmp, keep, false, &error)) << error;
  const auto size = fs::file_size(keep);
  Bitmap empty;
  EXPECT_FALSE(host::SaveBitmap(*empty.bmp, keep, false, &error)) << "an empty picture";
  EXPECT_EQ(fs::file_size(keep), size);
  EXPECT_EQ(Files(), std::vector<std::string>{"keep.png"});
}
