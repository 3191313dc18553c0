// TIFF files: what the host's writer stores for every size, kind and thread count, and what its
// reader takes from OpenImageIO's files (and hands on to OpenImageIO).
#include <gtest/gtest.h>

#include <OpenImageIO/imagebuf.h>
#include <OpenImageIO/imagecache.h>
#include <OpenImageIO/imageio.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "bitmap_io.h"
#include "c4d.h"
#include "host/picture_test_support.h"

namespace
{
using namespace picture_test;
} // namespace

TEST_F(BitmapTest, TiffsStoreWhatOpenImageIoStoredForEverySizeKindAndThreadCount)
{
  // Our writer's strips hold a fixed number of rows: the wide pictures span several strips and
  // bands, their heights no multiple of either. OpenImageIO reads the values back in the file's
  // own type: 16-bit values rounded and clamped as before (a NaN stored as 0), floats exact.
  const struct
  {
    Int32 w, h;
    Bool alpha, floatData;
    Int32 threads;
  } rows[] = {{1, 1, false, false, 1},   {1, 5, true, true, 2},        {7, 3, true, false, 2},
              {2049, 101, false, false, 2}, {2049, 101, true, true, 0}, {4099, 45, true, false, 2},
              {4099, 45, false, true, 2}};
  int severalStrips = 0;
  for (const auto& c : rows)
  {
    SCOPED_TRACE("case " + std::to_string(c.w) + " x " + std::to_string(c.h) + (c.alpha ? " RGBA" : " RGB") +
                 (c.floatData ? " float" : " 16-bit") + ", threads " + std::to_string(c.threads));
    Bitmap b;
    Fill(b.bmp, c.w, c.h, c.alpha);
    std::string error;
    const std::string path = scratch.Path("p.tif"), one = scratch.Path("one.tiff");
    ASSERT_TRUE(host::SaveBitmap(*b.bmp, path, c.floatData, &error, c.threads)) << error;
    ASSERT_TRUE(host::SaveBitmap(*b.bmp, one, c.floatData, &error, 1)) << error;
    EXPECT_TRUE(ScratchDir::Read(path) == ScratchDir::Read(one)) << "the same bytes on one thread";

    auto in = OIIO::ImageInput::open(path);
    ASSERT_TRUE(in) << OIIO::geterror();
    // The file's own header, its attributes too; the shared cache would keep the last case's.
    OIIO::ImageCache::create()->invalidate(OIIO::ustring(path));
    OIIO::ImageBuf file(path);
    ASSERT_TRUE(file.init_spec(path, 0, 0));
    const OIIO::ImageSpec& head = file.nativespec();
    const int channels = c.alpha ? 4 : 3;
    ASSERT_EQ(std::vector<int>({head.width, head.height, head.nchannels, head.alpha_channel}),
              std::vector<int>({c.w, c.h, channels, c.alpha ? 3 : -1}));
    EXPECT_EQ(head.format, c.floatData ? OIIO::TypeDesc::FLOAT : OIIO::TypeDesc::UINT16);
    EXPECT_EQ(head.get_int_attribute("oiio:UnassociatedAlpha"), 0) << "colours stay premultiplied, as they were";
    severalStrips += head.get_int_attribute("tiff:RowsPerStrip", c.h) < c.h;
    const size_t count = size_t(c.w) * size_t(c.h) * size_t(channels);
    std::vector<std::uint16_t> integers(c.floatData ? 0 : count);
    std::vector<float> floats(c.floatData ? count : 0);
    ASSERT_TRUE(in->read_image(0, 0, 0, channels, head.format, c.floatData ? static_cast<void*>(floats.data()) : integers.data()))
      << in->geterror();
    Int32 wrong = 0;
    for (Int32 y = 0; y < c.h; ++y)
      for (Int32 x = 0; x < c.w; ++x)
      {
        Float32 argb[4];
        Colour(x, y, argb);
        for (int ch = 0; ch < channels; ++ch)
        {
          const float v = argb[ch < 3 ? ch + 1 : 0];
          const size_t i = (size_t(y) * size_t(c.w) + size_t(x)) * size_t(channels) + size_t(ch);
          const bool same = c.floatData ? (std::isnan(v) ? std::isnan(floats[i]) : floats[i] == v)
                                        : integers[i] == (std::isnan(v) ? 0 : std::lround(std::clamp(v, 0.0f, 1.0f) * 65535.0f));
          if (!same && ++wrong < 5)
            ADD_FAILURE() << "pixel " << x << ", " << y << " channel " << ch << " for " << v << ": "
                          << (c.floatData ? floats[i] : integers[i]);
        }
      }
    EXPECT_EQ(wrong, 0);
  }
  EXPECT_GE(severalStrips, 4) << "pictures of several strips were written";
  EXPECT_EQ(Files(), (std::vector<std::string>{"one.tiff", "p.tif"})) << "no temporary files left";
}


TEST_F(BitmapTest, TiffsReadAsOpenImageIoReadsThemWhetherOurReaderOrItsOwnTakesThem)
{
  // Strips of 8 and 16 bits, grey to RGBA, stored plain and deflated (ours), and LZW and tiles,
  // which go to OpenImageIO; heights no multiple of the strips.
  const struct
  {
    int w, h, channels;
    OIIO::TypeDesc type;
    const char* compression;
    int tile;
  } rows[] = {{1, 5, 3, OIIO::TypeDesc::UINT8, "none", 0},  {7, 3, 4, OIIO::TypeDesc::UINT8, "zip", 0},
              {33, 70, 1, OIIO::TypeDesc::UINT8, "zip", 0}, {9, 4, 2, OIIO::TypeDesc::UINT16, "zip", 0},
              {65, 37, 3, OIIO::TypeDesc::UINT16, "none", 0}, {40, 90, 4, OIIO::TypeDesc::UINT16, "zip", 0},
              {31, 17, 3, OIIO::TypeDesc::UINT8, "lzw", 0}, {40, 40, 4, OIIO::TypeDesc::UINT8, "zip", 16}};
  for (const auto& row : rows)
  {
    const std::string path = scratch.Path(std::to_string(row.w) + "x" + std::to_string(row.h) + "_" + std::to_string(row.channels) + "_" +
                                          row.compression + std::to_string(row.tile) + ".tif");
    SCOPED_TRACE(path);
    OIIO::ImageSpec format(row.w, row.h, row.channels, row.type);
    format.alpha_channel = row.channels % 2 == 0 ? row.channels - 1 : -1;
    format.attribute("compression", row.compression);
    format.attribute("tiff:RowsPerStrip", 8);
    if (row.tile)
      format.tile_width = format.tile_height = row.tile;
    std::vector<float> pixels;
    for (int y = 0; y < row.h; ++y)
      for (int x = 0; x < row.w; ++x)
        for (int c = 0; c < row.channels; ++c)
          pixels.push_back(static_cast<float>((x * 7919u + y * 104729u + c * 31u) * 2654435761u >> 16) / 65535.0f);
    auto out = OIIO::ImageOutput::create(path);
    ASSERT_TRUE(out && out->open(path, format) && out->write_image(OIIO::TypeDesc::FLOAT, pixels.data())) << OIIO::geterror();
    out->close();
    ExpectReadsAsOpenImageIoReadsIt(path, row.w, row.h, row.channels, row.type);
  }

  // Cut short in its strips, or its directory: refused, and the bitmap stays empty.
  const std::string whole = scratch.Path("40x90_4_zip0.tif");
  for (const double keep : {0.5, 0.02})
  {
    std::ifstream in(whole, std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    const std::string cut = scratch.Path("cut.tif");
    std::ofstream(cut, std::ios::binary) << bytes.substr(0, static_cast<size_t>(bytes.size() * keep));
    Bitmap b;
    EXPECT_EQ(b.bmp->Init(Filename(cut.c_str())), IMAGERESULT_WRONGTYPE) << "kept " << keep;
    EXPECT_EQ(b.bmp->GetBw(), 0);
  }
}

