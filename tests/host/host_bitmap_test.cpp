// Pictures: bitmaps in memory, read from files (formats, depth, alpha, files that are missing or
// not pictures), written to files (values as each format stores them, whole files or none), and
// the render's picture look-ups.
#include <gtest/gtest.h>

#include <OpenImageIO/imagebuf.h>
#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "bitmap_io.h"
#include "png_codec.h"
#include "c4d.h"
#include "render/render_buffers.h"
#include "render/render_loop.h"
#include "render/render_picture.h"
#include "support/scratch_dir.h"
#include "host/picture_test_support.h"

namespace
{
using namespace picture_test;
using host::render::Picture;

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

TEST_F(BitmapTest, PngsRoundTripThroughOurWriterAndReadAsOpenImageIoReadsThem)
{
  // Our writer's files (strips deflated on two threads; the largest spans several strips and
  // bands, its height no multiple of either) and OpenImageIO's (grey, 16 bits, which only our
  // reader sees) are read by both readers, which must agree value for value.
  const struct
  {
    int w, h, channels;
    Bool ours;
    OIIO::TypeDesc type;
  } rows[] = {{1, 5, 3, true, OIIO::TypeDesc::UINT8},   {2, 1, 4, true, OIIO::TypeDesc::UINT8},
              {7, 3, 3, true, OIIO::TypeDesc::UINT8},   {333, 129, 4, true, OIIO::TypeDesc::UINT8},
              {1001, 700, 4, true, OIIO::TypeDesc::UINT8}, {999, 401, 3, true, OIIO::TypeDesc::UINT8},
              {5, 3, 1, false, OIIO::TypeDesc::UINT8},  {5, 3, 2, false, OIIO::TypeDesc::UINT16},
              {9, 4, 3, false, OIIO::TypeDesc::UINT16}, {6, 5, 4, false, OIIO::TypeDesc::UINT16},
              {400, 300, 3, false, OIIO::TypeDesc::UINT8}}; // large enough for libpng to use every filter
  const std::function<int(int, int, int)> contents[] = {
    [](int, int, int c) { return c == 3 ? 255 : 90; },                                  // flat
    [](int x, int y, int c) { return static_cast<int>((x * 7919u + y * 104729u + c * 31u) * 2654435761u >> 24); }, // noise
    [](int x, int y, int c) { return (x + 2 * y + 60 * c) % 256; }};                   // gradients
  for (const auto& row : rows)
    for (size_t k = 0; k < std::size(contents); ++k)
    {
      const auto& value = contents[k];
      const std::string name = std::to_string(row.w) + "x" + std::to_string(row.h) + "_" + std::to_string(row.channels) +
                               (row.ours ? "_ours_" : "_oiio_") + std::to_string(k) + ".png";
      SCOPED_TRACE(name);
      std::string path = scratch.Path(name);
      if (row.ours)
      {
        Bitmap b;
        ASSERT_EQ(b.bmp->Init(row.w, row.h, 96), IMAGERESULT_OK);
        ASSERT_TRUE(row.channels == 3 || b.bmp->AddChannel(true, false));
        for (Int32 y = 0; y < row.h; ++y)
          for (Int32 x = 0; x < row.w; ++x)
            WriteArgb(*b.bmp, x, y, {row.channels == 4 ? value(x, y, 3) / 255.0f : 1.0f, value(x, y, 0) / 255.0f,
                                     value(x, y, 1) / 255.0f, value(x, y, 2) / 255.0f});
        std::string error;
        ASSERT_TRUE(host::SaveBitmap(*b.bmp, path, false, &error, 2)) << error;
        // The file holds colours divided by alpha, as PNG wants them.
        OIIO::ImageSpec straight;
        straight.attribute("oiio:UnassociatedAlpha", 1);
        auto in = OIIO::ImageInput::open(path, &straight);
        ASSERT_TRUE(in && in->spec_dimensions(0).nchannels == row.channels);
        std::vector<unsigned char> stored(size_t(row.w) * row.h * row.channels);
        ASSERT_TRUE(in->read_image(0, 0, 0, row.channels, OIIO::TypeDesc::UINT8, stored.data()));
        int wrong = 0;
        for (size_t i = 0; i < stored.size(); ++i)
        {
          const int x = static_cast<int>(i / row.channels % row.w), y = static_cast<int>(i / row.channels / row.w);
          const int c = static_cast<int>(i % row.channels), a = row.channels == 4 ? value(x, y, 3) : 255;
          const int want = c == 3 || a == 0 ? value(x, y, c) : std::min(255, value(x, y, c) * 255 / a);
          if (stored[i] != want && ++wrong < 4)
            ADD_FAILURE() << "value " << i << ": " << int(stored[i]) << " for " << want;
        }
        EXPECT_EQ(wrong, 0);
      }
      else
        path = WritePicture(scratch, name, row.w, row.h, row.channels, row.type, [&](int x, int y, int c) { return value(x, y, c) / 255.0f; });

      ExpectReadsAsOpenImageIoReadsIt(path, row.w, row.h, row.channels, row.type);
    }
}

TEST_F(BitmapTest, EveryPngFilterWritesAndReadsBack)
{
  // The host writes Up alone; the other filters come in pictures from elsewhere, so our reader
  // must undo each of them, here on grey and alpha rows as much as on colours.
  using host::png::Filter;
  for (const Filter filter : {Filter::None, Filter::Sub, Filter::Up, Filter::Paeth, Filter::Adaptive})
    for (const int channels : {1, 2, 3, 4})
    {
      SCOPED_TRACE("filter " + std::to_string(static_cast<int>(filter)) + ", " + std::to_string(channels) + " channels");
      constexpr int w = 61, h = 37;
      std::vector<unsigned char> values(size_t(w) * h * channels);
      for (size_t i = 0; i < values.size(); ++i)
        values[i] = static_cast<unsigned char>(i % 7 == 0 ? i * 2654435761u >> 24 : i / 3 % 256);
      const std::string path = scratch.Path("filter.png");
      std::FILE* f = std::fopen(path.c_str(), "wb");
      ASSERT_NE(f, nullptr);
      std::string error;
      const bool written = host::png::Encode(
        w, h, channels, "",
        [&](int y0, int y1, unsigned char* out) {
          std::copy(values.begin() + ptrdiff_t(y0) * w * channels, values.begin() + ptrdiff_t(y1) * w * channels, out);
          return true;
        },
        [&](const void* data, size_t size) { return std::fwrite(data, 1, size, f) == size; }, {2, filter, 2}, error);
      ASSERT_EQ(std::fclose(f), 0);
      ASSERT_TRUE(written) << error;
      OIIO::ImageSpec straight;
      straight.attribute("oiio:UnassociatedAlpha", 1);
      auto in = OIIO::ImageInput::open(path, &straight);
      std::vector<unsigned char> theirs(values.size()), mine(values.size());
      ASSERT_TRUE(in && in->read_image(0, 0, 0, channels, OIIO::TypeDesc::UINT8, theirs.data()));
      EXPECT_TRUE(theirs == values) << "as OpenImageIO reads it";
      host::png::Reader reader;
      ASSERT_EQ(reader.Open(path), host::png::Reader::Result::Ok);
      ASSERT_EQ(reader.Read(mine.data()), host::png::Reader::Result::Ok) << reader.Error();
      // Ours hands out colours multiplied by alpha, as OpenImageIO does by default.
      auto associated = OIIO::ImageInput::open(path);
      ASSERT_TRUE(associated && associated->read_image(0, 0, 0, channels, OIIO::TypeDesc::UINT8, theirs.data()));
      EXPECT_TRUE(mine == theirs) << "as our reader reads it";
    }
}

TEST_F(BitmapTest, BrokenPngsAreRefusedWithTheirReason)
{
  Bitmap b;
  Fill(b.bmp, 300, 200, true);
  std::string error;
  ASSERT_TRUE(host::SaveBitmap(*b.bmp, scratch.Path("whole.png"), false, &error)) << error;
  const std::string bytes = ScratchDir::Read(scratch.Path("whole.png"));
  const size_t idat = bytes.find("IDAT") - 4;
  size_t size = 0;
  for (size_t i = 0; i < 4; ++i)
    size = size << 8 | static_cast<unsigned char>(bytes[idat + i]);
  // A byte of the pixels changed, with and without the chunk's checksum made to match.
  std::string flipped = bytes, packed = bytes.substr(idat + 8, size);
  flipped[idat + 8 + size / 2] ^= 0x55;
  packed[size / 2] ^= 0x55;
  packed[1] ^= 0x55; // the zlib header
  const std::string resealed = bytes.substr(0, idat) + host::png::Chunk("IDAT", packed.data(), packed.size()) + bytes.substr(idat + 12 + size);
  const struct
  {
    const char* name;
    std::string bytes, reason;
  } cases[] = {{"cut.png", bytes.substr(0, bytes.size() / 2), "cut short"},
               {"header.png", bytes.substr(0, 40), "cut short"},
               {"flipped.png", flipped, "checksum is wrong"},
               {"resealed.png", resealed, "compressed pixels are broken"}};
  for (const auto& c : cases)
  {
    SCOPED_TRACE(c.name);
    const std::string path = scratch.Write(c.name, c.bytes);
    host::png::Reader reader;
    host::png::Reader::Result result = reader.Open(path);
    std::vector<unsigned char> pixels(300 * 200 * 4);
    if (result == host::png::Reader::Result::Ok)
      result = reader.Read(pixels.data());
    EXPECT_EQ(result, host::png::Reader::Result::Failed);
    EXPECT_NE(reader.Error().find(c.reason), std::string::npos) << reader.Error();
    EXPECT_EQ(b.bmp->Init(Filename(path.c_str())), IMAGERESULT_WRONGTYPE);
    EXPECT_EQ(b.bmp->GetBw(), 0);
  }
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
