// Writing pictures to disk through OpenImageIO, by way of a temporary file and a rename.
#include "bitmap_io.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <vector>

#include <unistd.h>

#include <OpenImageIO/imageio.h>

namespace host
{
namespace
{
constexpr int kPngLevel = 2;

std::string Extension(const std::string& path)
{
  std::string ext = std::filesystem::path(path).extension().string();
  std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return ext;
}
} // namespace

Bool IsPictureName(const std::string& path, Bool* holdsFloat)
{
  const std::string ext = Extension(path);
  if (holdsFloat)
    *holdsFloat = ext == ".exr" || ext == ".tif" || ext == ".tiff";
  return ext == ".png" || ext == ".tif" || ext == ".tiff" || ext == ".exr";
}

Bool SaveBitmap(const BaseBitmap& bmp, const std::string& path, Bool floatData, std::string* error)
{
  std::string ignored;
  std::string& err = error ? *error : ignored;
  const std::string ext = Extension(path);
  OIIO::TypeDesc type;
  if (ext == ".png")
  {
    if (floatData)
    {
      err = path + ": PNG holds 8 bits a channel; float data needs .exr or .tif";
      return false;
    }
    type = OIIO::TypeDesc::UINT8;
  }
  else if (ext == ".tif" || ext == ".tiff")
    type = floatData ? OIIO::TypeDesc::FLOAT : OIIO::TypeDesc::UINT16;
  else if (ext == ".exr")
    type = OIIO::TypeDesc::FLOAT;
  else
  {
    err = path + ": unknown picture format \"" + ext + "\" (use .png, .tif or .exr)";
    return false;
  }
  const Int32 w = bmp.GetBw(), h = bmp.GetBh();
  if (w <= 0 || h <= 0)
  {
    err = path + ": the picture is empty";
    return false;
  }
  const int channels = bmp.HasAlpha() ? 4 : 3;
  // The temporary file keeps the extension: it tells OpenImageIO the format.
  const std::filesystem::path target(path);
  const std::filesystem::path temp =
    target.parent_path() / ("." + target.stem().string() + ".part" + std::to_string(getpid()) + target.extension().string());
  auto out = OIIO::ImageOutput::create(temp.string());
  if (!out)
  {
    err = path + ": " + OIIO::geterror();
    return false;
  }
  OIIO::ImageSpec format(w, h, channels, type);
  if (channels == 4)
    format.alpha_channel = 3;
  if (ext == ".exr")
    format.attribute("compression", "zip");
  // Fast deflate: most of the time of writing a PNG goes into zlib, and level 6 saves a third of
  // the bytes for three times the time at dome-master sizes.
  if (ext == ".png")
    format.attribute("png:compressionLevel", kPngLevel);
  if (!out->open(temp.string(), format))
  {
    err = path + ": cannot write: " + out->geterror();
    std::remove(temp.string().c_str());
    return false;
  }
  // Strips of rows, converted as they go: no second copy of the whole picture in memory.
  constexpr Int32 kStrip = 64;
  std::vector<float> strip, row(size_t(w) * 4);
  Bool written = true;
  try
  {
    strip.resize(size_t(w) * size_t(channels) * kStrip);
  }
  catch (const std::bad_alloc&)
  {
    written = false;
  }
  for (Int32 y0 = 0; written && y0 < h; y0 += kStrip)
  {
    const Int32 y1 = std::min(h, y0 + kStrip);
    for (Int32 y = y0; y < y1; ++y)
    {
      bmp.GetPixelCnt(0, y, w, reinterpret_cast<UChar*>(row.data()), 16, COLORMODE_ARGBf);
      float* o = strip.data() + size_t(y - y0) * size_t(w) * size_t(channels);
      for (Int32 x = 0; x < w; ++x)
      {
        const float* in = &row[size_t(x) * 4];
        o[0] = in[1];
        o[1] = in[2];
        o[2] = in[3];
        if (channels == 4)
          o[3] = in[0];
        o += channels;
      }
    }
    written = out->write_scanlines(y0, y1, 0, OIIO::TypeDesc::FLOAT, strip.data());
  }
  const Bool closed = out->close();
  if (!written || !closed)
  {
    err = path + ": writing failed: " + out->geterror();
    std::remove(temp.string().c_str());
    return false;
  }
  std::error_code ec;
  std::filesystem::rename(temp, target, ec);
  if (ec)
  {
    err = path + ": cannot be replaced: " + ec.message();
    std::remove(temp.string().c_str());
    return false;
  }
  return true;
}
} // namespace host
