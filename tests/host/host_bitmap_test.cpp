// Pictures from files: formats, alpha, and files that are missing or not pictures.
#include <gtest/gtest.h>

#include <OpenImageIO/imageio.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "c4d.h"

namespace
{
std::string WritePicture(const std::string& name, int w, int h, int channels)
{
  const std::string path = ::testing::TempDir() + name;
  std::vector<float> pixels(static_cast<size_t>(w * h * channels));
  for (int i = 0; i < w * h; ++i)
    for (int c = 0; c < channels; ++c)
      pixels[static_cast<size_t>(i * channels + c)] = c == channels - 1 && channels == 4 ? 0.5f : (i % 2 ? 1.0f : 0.0f);
  auto out = OIIO::ImageOutput::create(path);
  EXPECT_TRUE(out);
  OIIO::ImageSpec format(w, h, channels, OIIO::TypeDesc::UINT8);
  if (channels == 4)
    format.alpha_channel = 3;
  EXPECT_TRUE(out->open(path, format));
  EXPECT_TRUE(out->write_image(OIIO::TypeDesc::FLOAT, pixels.data()));
  out->close();
  return path;
}

struct Bitmap
{
  BaseBitmap* bmp = BaseBitmap::Alloc();
  ~Bitmap() { BaseBitmap::Free(bmp); }
};
} // namespace

TEST(HostBitmap, LoadsPicturesWithAndWithoutAlpha)
{
  Bitmap rgb;
  EXPECT_EQ(rgb.bmp->Init(Filename(WritePicture("orlix_rgb.png", 5, 3, 3).c_str())), IMAGERESULT_OK);
  EXPECT_EQ(rgb.bmp->GetBw(), 5);
  EXPECT_EQ(rgb.bmp->GetBh(), 3);
  EXPECT_FALSE(rgb.bmp->HasAlpha());

  Bitmap rgba;
  EXPECT_EQ(rgba.bmp->Init(Filename(WritePicture("orlix_rgba.tif", 4, 4, 4).c_str())), IMAGERESULT_OK);
  EXPECT_TRUE(rgba.bmp->HasAlpha());

  Bitmap grey;
  EXPECT_EQ(grey.bmp->Init(Filename(WritePicture("orlix_grey.png", 2, 2, 1).c_str())), IMAGERESULT_OK);

  BaseBitmap* clone = rgba.bmp->GetClone();
  ASSERT_NE(clone, nullptr);
  EXPECT_EQ(clone->GetBw(), 4);
  EXPECT_TRUE(clone->HasAlpha());
  BaseBitmap::Free(clone);
  EXPECT_EQ(clone, nullptr);
}

TEST(HostBitmap, BadFilesFailAndLeaveTheBitmapEmpty)
{
  Bitmap b;
  ASSERT_EQ(b.bmp->Init(Filename(WritePicture("orlix_ok.png", 8, 8, 3).c_str())), IMAGERESULT_OK);
  EXPECT_EQ(b.bmp->Init(Filename("/nonexistent/logo.png")), IMAGERESULT_NOTEXISTING);
  EXPECT_EQ(b.bmp->GetBw(), 0) << "a failed load leaves an empty picture";

  const std::string notPicture = ::testing::TempDir() + "orlix_not_a_picture.png";
  std::ofstream(notPicture) << "this is text, not a picture\n";
  EXPECT_EQ(b.bmp->Init(Filename(notPicture.c_str())), IMAGERESULT_WRONGTYPE);

  // A PNG cut off half way.
  const std::string whole = WritePicture("orlix_whole.png", 64, 64, 3);
  std::ifstream in(whole, std::ios::binary);
  std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  const std::string truncated = ::testing::TempDir() + "orlix_truncated.png";
  std::ofstream(truncated, std::ios::binary) << bytes.substr(0, bytes.size() / 2);
  EXPECT_NE(b.bmp->Init(Filename(truncated.c_str())), IMAGERESULT_OK);
  EXPECT_EQ(b.bmp->GetBw(), 0);

  EXPECT_EQ(b.bmp->Init(Filename(::testing::TempDir().c_str())), IMAGERESULT_NOTEXISTING) << "a folder is no picture file";
}

TEST(HostBitmap, SizesOutOfReachFail)
{
  Bitmap b;
  EXPECT_EQ(b.bmp->Init(0, 10), IMAGERESULT_WRONGTYPE);
  EXPECT_EQ(b.bmp->Init(-5, 10), IMAGERESULT_WRONGTYPE);
  EXPECT_EQ(b.bmp->Init(10, 10), IMAGERESULT_OK);
  EXPECT_EQ(b.bmp->GetBw(), 10);
}
