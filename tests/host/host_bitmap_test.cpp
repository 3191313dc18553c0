// Pictures: bitmaps in memory, read from files (formats, depth, alpha, files that are missing or
// not pictures), written to files (values as each format stores them, whole files or none), and
// the render's picture look-ups.
#include <gtest/gtest.h>

#include <OpenImageIO/imagebuf.h>
#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bitmap_io.h"
#include "c4d.h"
#include "render/render_buffers.h"
#include "render/render_loop.h"
#include "render/render_picture.h"
#include "support/scratch_dir.h"

namespace
{
namespace fs = std::filesystem;
using host::render::Picture;

struct Bitmap
{
  BaseBitmap* bmp = BaseBitmap::Alloc();
  ~Bitmap() { BaseBitmap::Free(bmp); }
};

/// Writes a w × h picture of `channels` values per pixel (a fourth is alpha), each value(x, y, c),
/// stored as `type` in the format of the name's extension; returns its path.
std::string WritePicture(const ScratchDir& dir, const std::string& name, int w, int h, int channels, OIIO::TypeDesc type,
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
std::string WritePicture(const ScratchDir& dir, const std::string& name, int w, int h, int channels)
{
  return WritePicture(dir, name, w, h, channels, OIIO::TypeDesc::UINT8,
                      [&](int x, int y, int c) { return c == 3 ? 0.5f : static_cast<float>((y * w + x) % 2); });
}

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

int Byte(int x, int y, int c)
{
  return (x * 37 + y * 91 + c * 53) % 256;
}
} // namespace

TEST_F(BitmapTest, BadFilesFailAndLeaveTheBitmapEmpty)
{
  Bitmap b;
  ASSERT_EQ(b.bmp->Init(Filename(WritePicture(scratch, "ok.png", 8, 8, 3).c_str())), IMAGERESULT_OK);
  EXPECT_EQ(b.bmp->Init(Filename("/nonexistent/logo.png")), IMAGERESULT_NOTEXISTING);
  EXPECT_EQ(b.bmp->GetBw(), 0) << "a failed load leaves an empty picture";

  EXPECT_EQ(b.bmp->Init(Filename(scratch.Write("text.png", "this is text, not a picture\n").c_str())), IMAGERESULT_WRONGTYPE);

  // A PNG cut off half way.
  const std::string bytes = ScratchDir::Read(WritePicture(scratch, "whole.png", 64, 64, 3));
  EXPECT_NE(b.bmp->Init(Filename(scratch.Write("cut.png", bytes.substr(0, bytes.size() / 2)).c_str())), IMAGERESULT_OK);
  EXPECT_EQ(b.bmp->GetBw(), 0);

  EXPECT_EQ(b.bmp->Init(Filename(scratch.dir.string().c_str())), IMAGERESULT_NOTEXISTING) << "a folder is no picture file";
  EXPECT_EQ(b.bmp->Init(0, 10), IMAGERESULT_WRONGTYPE);
  EXPECT_EQ(b.bmp->Init(-5, 10), IMAGERESULT_WRONGTYPE);
}

TEST_F(BitmapTest, FilesChooseTheDepthAndAlphaThatCopiesAndClonesKeep)
{
  // Pictures stored as bytes (OpenEXR makes them half floats); odd pixels are white, alpha is a half.
  const struct
  {
    const char* file;
    int channels;
    Bool isFloat, alpha;
  } rows[] = {{"rgb.png", 3, false, false}, {"grey.png", 1, false, false}, {"rgba.tif", 4, false, true}, {"rgba.exr", 4, true, true}};
  for (const auto& row : rows)
  {
    SCOPED_TRACE(std::string("case ") + row.file);
    Bitmap file, copy;
    ASSERT_EQ(file.bmp->Init(Filename(WritePicture(scratch, row.file, 5, 3, row.channels).c_str())), IMAGERESULT_OK);
    EXPECT_FLOAT_EQ(ReadArgb(*file.bmp, 1, 0)[1], 1.0f);
    EXPECT_NEAR(row.alpha ? ReadArgb(*file.bmp, 0, 0)[0] : 0.5f, 0.5f, 1.0f / 255.0f);
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
      UInt16 r = 0, g = 0, bl = 0;
      b->GetPixel(0, 1, &r, &g, &bl);
      EXPECT_EQ(std::vector<UInt16>({r, g, bl}), std::vector<UInt16>({255, 64, 0})) << "a float picture clamps only when asked for bytes";
    }
    BaseBitmap::Free(clone);
  }
}

TEST_F(BitmapTest, EachFormatStoresTheValuesItCan)
{
  // PNG keeps straight alpha, which the library makes by dividing the colours; its rounding is
  // checked on a picture without alpha, where the stored value is the colour itself.
  constexpr Int32 w = 9, h = 150;
  Bitmap withAlpha, withoutAlpha;
  Fill(withAlpha.bmp, w, h, true);
  Fill(withoutAlpha.bmp, w, h, false);
  const struct
  {
    const char* name;
    Bool alpha, floatData;
    OIIO::TypeDesc type;
    float steps; ///< 0: float, stored as it is
  } rows[] = {{"p.png", false, false, OIIO::TypeDesc::UINT8, 255.0f},
              {"p.tif", true, false, OIIO::TypeDesc::UINT16, 65535.0f},
              {"f.tif", true, true, OIIO::TypeDesc::FLOAT, 0.0f},
              {"p.exr", true, false, OIIO::TypeDesc::FLOAT, 0.0f}};
  for (const auto& c : rows)
  {
    SCOPED_TRACE(c.name);
    std::string error;
    const std::string path = scratch.Path(c.name);
    ASSERT_TRUE(host::SaveBitmap(c.alpha ? *withAlpha.bmp : *withoutAlpha.bmp, path, c.floatData, &error, 2)) << error;
    // Read in the file's own pixel type, which the buffer then reports.
    OIIO::ImageBuf in(path);
    ASSERT_TRUE(in.read(0, 0, true)) << path;
    const int want = c.alpha ? 4 : 3;
    ASSERT_EQ(std::vector<int>({in.roi().width(), in.roi().height(), in.nchannels()}), std::vector<int>({w, h, want}))
      << "the alpha channel goes along where there is one";
    EXPECT_EQ(in.pixeltype(), c.type);
    std::vector<float> values(size_t(w) * h * want);
    ASSERT_TRUE(in.get_pixels(in.roi(), OIIO::TypeDesc::FLOAT, values.data()));
    Int32 wrong = 0;
    for (Int32 y = 0; y < h; ++y)
      for (Int32 x = 0; x < w; ++x)
      {
        Float32 argb[4];
        Colour(x, y, argb);
        for (int ch = 0; ch < want; ++ch)
        {
          const float v = argb[ch < 3 ? ch + 1 : 0];
          const float expected = c.steps == 0.0f ? v : std::isnan(v) ? 0.0f : std::round(std::clamp(v, 0.0f, 1.0f) * c.steps) / c.steps;
          const float got = values[(size_t(y) * w + x) * want + ch];
          const Bool same = std::isnan(expected) ? std::isnan(got) : std::fabs(got - expected) <= 1e-7f;
          if (!same && ++wrong < 5)
            ADD_FAILURE() << "pixel " << x << ", " << y << " channel " << ch << ": " << got << " for " << v;
        }
      }
    EXPECT_EQ(wrong, 0);
  }
  EXPECT_EQ(Files(), (std::vector<std::string>{"f.tif", "p.exr", "p.png", "p.tif"})) << "no temporary files left";
}

TEST_F(BitmapTest, RefusedWritesLeaveNothingAndKeepTheOldFile)
{
  Bitmap b;
  Fill(b.bmp, 4, 4, false);
  std::string error;
  EXPECT_FALSE(host::SaveBitmap(*b.bmp, scratch.Path("p.bmp"), false, &error));
  EXPECT_NE(error.find("unknown picture format \".bmp\""), std::string::npos) << error;
  EXPECT_FALSE(host::SaveBitmap(*b.bmp, scratch.Path("d.png"), true, &error));
  EXPECT_NE(error.find("float data needs .exr or .tif"), std::string::npos) << error;
  EXPECT_FALSE(host::SaveBitmap(*b.bmp, scratch.Path("missing/p.png"), false, &error));
  EXPECT_NE(error.find("missing/p.png"), std::string::npos) << error;
  EXPECT_TRUE(Files().empty());

  // A good file stays as it was when a later write is refused.
  const std::string keep = scratch.Path("keep.png");
  ASSERT_TRUE(host::SaveBitmap(*b.bmp, keep, false, &error)) << error;
  const auto size = fs::file_size(keep);
  Bitmap empty;
  EXPECT_FALSE(host::SaveBitmap(*empty.bmp, keep, false, &error)) << "an empty picture";
  EXPECT_EQ(fs::file_size(keep), size);
  EXPECT_EQ(Files(), std::vector<std::string>{"keep.png"});
}

TEST_F(BitmapTest, RenderPicturesOfEightBitsSixteenBitsFloatsAndGreySampleAlike)
{
  // The same bytes stored three ways; positions between texels, across the seam and at the poles.
  const auto Bytes = [](int x, int y, int c) { return static_cast<float>(Byte(x, y, c)) / 255.0f; };
  Picture p8, p16, pf;
  String error;
  ASSERT_TRUE(p8.Load(Filename(WritePicture(scratch, "8.png", 8, 4, 3, OIIO::TypeDesc::UINT8, Bytes).c_str()), &error)) << error;
  ASSERT_TRUE(p16.Load(Filename(WritePicture(scratch, "16.png", 8, 4, 3, OIIO::TypeDesc::UINT16, Bytes).c_str()), &error)) << error;
  ASSERT_TRUE(pf.Load(Filename(WritePicture(scratch, "f.exr", 8, 4, 3, OIIO::TypeDesc::FLOAT, Bytes).c_str()), &error)) << error;

  // At a texel's centre the value is the texel's own, whatever the storage.
  EXPECT_LE((p8.Sample((2 + 0.5) / 8.0, (1 + 0.5) / 4.0, false) - Vector(Byte(2, 1, 0), Byte(2, 1, 1), Byte(2, 1, 2)) / 255.0).GetLength(), 1e-6);

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

  // A grey picture fills all three channels.
  for (OIIO::TypeDesc type : {OIIO::TypeDesc::UINT8, OIIO::TypeDesc::FLOAT})
  {
    const std::string path = WritePicture(scratch, type == OIIO::TypeDesc::UINT8 ? "grey.png" : "grey.exr", 4, 2, 1, type,
                                          [](int x, int y, int) { return (40 * x + 100 * y) / 255.0f; });
    Picture p;
    ASSERT_TRUE(p.Load(Filename(path.c_str()), &error)) << error.GetStdString();
    const Vector c = p.Sample((3 + 0.5) / 4.0, (1 + 0.5) / 2.0, false);
    EXPECT_LE((c - Vector(220 / 255.0)).GetLength(), 1e-6) << type << ": " << c;
  }
}


TEST(RenderBitmapCrop, ACropReadsAsTheWholePictureEverywhereAndStoresOnlyItsRectangle)
{
  // An image whose content lies in columns 2..5 and rows 1..3 of 9 x 6; the rest transparent black.
  constexpr Int32 w = 9, h = 6;
  host::render::ImageBuffer buffer;
  ASSERT_TRUE(buffer.Init(w, h));
  for (Int32 y = 0; y < h; ++y)
    for (Int32 x = 0; x < w; ++x)
    {
      const bool inside = x >= 2 && x <= 5 && y >= 1 && y <= 3;
      Float32* px = buffer.Pixel(x, y);
      px[0] = inside ? 0.1f * static_cast<Float32>(x) : 0.0f, px[1] = inside ? 0.2f * static_cast<Float32>(y) : 0.0f;
      px[2] = inside ? 1.5f : 0.0f, px[3] = inside ? 0.25f * static_cast<Float32>(x - 1) : 0.0f;
    }
  for (const bool withAlpha : {false, true})
  {
    using Holder = std::unique_ptr<host::render::RenderBitmap, host::BitmapFree>;
    Holder whole(host::render::RenderBitmap::Alloc()), crop(host::render::RenderBitmap::Alloc());
    ASSERT_TRUE(whole->Init(w, h, withAlpha) && crop->InitCrop(w, h, 2, 1, 4, 3, withAlpha));
    EXPECT_FALSE(crop->InitCrop(w, h, 6, 1, 4, 3, withAlpha)) << "a rectangle past the picture's edge";
    ASSERT_TRUE(crop->InitCrop(w, h, 2, 1, 4, 3, withAlpha));
    whole->CopyFrom(buffer);
    crop->CopyFrom(buffer);
    EXPECT_EQ(crop->GetBw(), w);
    EXPECT_EQ(crop->GetBh(), h);
    int compared = 0;
    for (Int32 y = -1; y <= h; ++y) // a row and a column beyond each edge too
      for (Int32 x = -1; x <= w; ++x)
      {
        float a[4], b[4];
        whole->GetPixelCnt(x, y, 1, reinterpret_cast<UChar*>(a), 16, COLORMODE_ARGBf);
        crop->GetPixelCnt(x, y, 1, reinterpret_cast<UChar*>(b), 16, COLORMODE_ARGBf);
        EXPECT_EQ(std::vector<float>(a, a + 4), std::vector<float>(b, b + 4)) << x << "," << y << " alpha " << withAlpha;
        UInt16 ca = 0, cb = 0;
        whole->GetAlphaPixel(whole->GetInternalChannel(), x, y, &ca);
        crop->GetAlphaPixel(crop->GetInternalChannel(), x, y, &cb);
        EXPECT_EQ(ca, cb) << x << "," << y;
        if (x >= 0 && y >= 0 && x < w && y < h)
        {
          const auto* cw = static_cast<const host::render::RenderBitmap&>(*whole).Colours(x, y);
          const auto* cc = static_cast<const host::render::RenderBitmap&>(*crop).Colours(x, y);
          EXPECT_TRUE(cw[0] == cc[0] && cw[1] == cc[1] && cw[2] == cc[2]) << x << "," << y;
          EXPECT_EQ(whole->AlphaAt(x, y), crop->AlphaAt(x, y)) << x << "," << y;
        }
        ++compared;
      }
    EXPECT_EQ(compared, (w + 2) * (h + 2));
    // A copy of the crop is the same crop.
    std::unique_ptr<BaseBitmap, void (*)(BaseBitmap*)> clone(crop->GetClone(), [](BaseBitmap* b) { BaseBitmap::Free(b); });
    UInt16 r = 0, g = 0, bl = 0;
    clone->GetPixel(3, 2, &r, &g, &bl);
    EXPECT_EQ(bl, 255);
    clone->GetPixel(7, 5, &r, &g, &bl);
    EXPECT_EQ(bl, 0);
  }
}
