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
  EXPECT_EQ(b.bmp->Init(0, 10), IMAGERESULT_WRONGTYPE);
  EXPECT_EQ(b.bmp->Init(-5, 10), IMAGERESULT_WRONGTYPE);
}

namespace
{
std::vector<Float32> ReadArgb(const BaseBitmap& b, Int32 x, Int32 y)
{
  std::vector<Float32> px(4);
  EXPECT_TRUE(b.GetPixelCnt(x, y, 1, reinterpret_cast<UChar*>(px.data()), 16, COLORMODE_ARGBf));
  return px;
}

void WriteArgb(BaseBitmap& b, Int32 x, Int32 y, std::vector<Float32> argb)
{
  EXPECT_TRUE(b.SetPixelCnt(x, y, 1, reinterpret_cast<const UChar*>(argb.data()), 16, COLORMODE_ARGBf));
}
} // namespace

TEST(HostBitmap, EightBitPicturesRoundAndClampWhileFloatPicturesKeepEveryValue)
{
  Bitmap byte, fp;
  ASSERT_EQ(byte.bmp->Init(3, 2, 32), IMAGERESULT_OK);
  ASSERT_EQ(fp.bmp->Init(3, 2, 128), IMAGERESULT_OK);
  ASSERT_NE(byte.bmp->AddChannel(true, false), nullptr);
  ASSERT_NE(fp.bmp->AddChannel(true, false), nullptr);
  const std::vector<Float32> value = {0.5f, 1.7f, -0.2f, 100.6f / 255.0f};
  WriteArgb(*byte.bmp, 1, 1, value);
  WriteArgb(*fp.bmp, 1, 1, value);

  EXPECT_EQ(ReadArgb(*fp.bmp, 1, 1), value) << "a render's values above 1 and below 0 survive";
  EXPECT_EQ(ReadArgb(*byte.bmp, 1, 1), std::vector<Float32>({128.0f / 255.0f, 1.0f, 0.0f, 101.0f / 255.0f}))
    << "0.5 is 127.5 steps: rounds up";
  UInt16 r = 0, g = 0, b = 0, a = 0;
  byte.bmp->GetPixel(1, 1, &r, &g, &b);
  byte.bmp->GetAlphaPixel(byte.bmp->GetInternalChannel(), 1, 1, &a);
  EXPECT_EQ(std::vector<UInt16>({r, g, b, a}), std::vector<UInt16>({255, 0, 101, 128}));
  fp.bmp->GetPixel(1, 1, &r, &g, &b);
  EXPECT_EQ(std::vector<UInt16>({r, g, b}), std::vector<UInt16>({255, 0, 101})) << "the float picture clamps only when asked for bytes";

  // Bytes set by SetPixel read back as they were, in either depth.
  for (BaseBitmap* p : {byte.bmp, fp.bmp})
  {
    p->SetPixel(2, 0, 7, 200, 255);
    p->GetPixel(2, 0, &r, &g, &b);
    EXPECT_EQ(std::vector<UInt16>({r, g, b}), std::vector<UInt16>({7, 200, 255}));
  }
}

TEST(HostBitmap, FilesChooseTheDepthAndAlphaThatCopiesAndClonesKeep)
{
  // Pictures stored as bytes (OpenEXR makes them half floats); odd pixels are white, alpha is a half.
  const struct
  {
    const char* file;
    int channels;
    Bool isFloat, alpha;
  } rows[] = {{"orlix_rgb.png", 3, false, false}, {"orlix_grey.png", 1, false, false}, {"orlix_rgba.tif", 4, false, true}, {"orlix_rgba.exr", 4, true, true}};
  for (const auto& row : rows)
  {
    SCOPED_TRACE(std::string("case ") + row.file);
    Bitmap file, copy;
    ASSERT_EQ(file.bmp->Init(Filename(WritePicture(row.file, 5, 3, row.channels).c_str())), IMAGERESULT_OK);
    EXPECT_FLOAT_EQ(ReadArgb(*file.bmp, 1, 0)[1], 1.0f);
    EXPECT_NEAR(row.alpha ? ReadArgb(*file.bmp, 0, 0)[0] : 0.5f, 0.5f, 0.5f / 255.0f);
    // Values beyond 0..1 survive copies of a float picture; an 8-bit one rounds and clamps them.
    WriteArgb(*file.bmp, 0, 1, {1.0f, 3.5f, 0.25f, -1.0f});
    ASSERT_EQ(copy.bmp->Init(2, 2, row.isFloat ? 24 : 96), IMAGERESULT_OK);
    ASSERT_TRUE(file.bmp->CopyTo(copy.bmp)) << "the copy takes the source's depth, not its own";
    BaseBitmap* clone = file.bmp->GetClone();
    ASSERT_NE(clone, nullptr);
    for (const BaseBitmap* b : {file.bmp, copy.bmp, clone})
    {
      EXPECT_EQ(std::vector<Int32>({b->GetBw(), b->GetBh(), b->IsFloat(), b->HasAlpha()}), std::vector<Int32>({5, 3, row.isFloat, row.alpha}));
      const std::vector<Float32> px = ReadArgb(*b, 0, 1);
      EXPECT_EQ(std::vector<Float32>(px.begin() + 1, px.end()),
                row.isFloat ? std::vector<Float32>({3.5f, 0.25f, -1.0f}) : std::vector<Float32>({1.0f, 64.0f / 255.0f, 0.0f}));
    }
    BaseBitmap::Free(clone);
  }

  // Scaling a float picture into an 8-bit one stores bytes.
  Bitmap flat, small;
  ASSERT_EQ(flat.bmp->Init(2, 2, 96), IMAGERESULT_OK);
  ASSERT_EQ(small.bmp->Init(1, 1, 24), IMAGERESULT_OK);
  for (Int32 i = 0; i < 4; ++i)
    WriteArgb(*flat.bmp, i % 2, i / 2, {1.0f, 2.0f, 0.3f, -0.5f});
  flat.bmp->ScaleBicubic(small.bmp, 0, 0, 1, 1, 0, 0, 0, 0);
  EXPECT_EQ(ReadArgb(*small.bmp, 0, 0), std::vector<Float32>({1.0f, 1.0f, 77.0f / 255.0f, 0.0f}));
}
