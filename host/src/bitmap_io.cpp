// Writing pictures to disk, by way of a temporary file and a rename: PNG and TIFF through our own
// encoders, which deflate on every thread, the other formats through OpenImageIO.
#include "bitmap_io.h"

#include "pending_file.h"
#include "picture_library.h"
#include "png_codec.h"
#include "tiff_codec.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

#include <OpenImageIO/filesystem.h>
#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

namespace host
{
namespace
{
/// One row of ARGB floats as the file's RGB(A) values: integers are clamped to 0..1 and rounded
/// to the nearest step (`scale` steps), floats go as they are.
template <typename T>
void ConvertRow(const float* argb, Int32 w, int channels, T* out, int stride, float scale)
{
  for (Int32 x = 0; x < w; ++x, argb += 4, out += stride)
    for (int c = 0; c < channels; ++c)
    {
      const float v = argb[c < 3 ? c + 1 : 0];
      if constexpr (std::is_floating_point_v<T>)
        out[c] = v;
      else
        out[c] = static_cast<T>(std::lround((v > 0.0f ? (v < 1.0f ? v : 1.0f) : 0.0f) * scale));
    }
}

/// Rows [y0, y1) of `bmp` into `out` as the file's values of type T, `channels` of them a pixel
/// (the alpha fourth), `rowBytes` a row; false without memory.
template <typename T>
bool ConvertRows(const BaseBitmap& bmp, int y0, int y1, int channels, float scale, unsigned char* out, size_t rowBytes)
{
  try
  {
    const Int32 w = bmp.GetBw();
    std::vector<float> row(size_t(w) * 4);
    for (int y = y0; y < y1; ++y, out += rowBytes)
    {
      bmp.GetPixelCnt(0, y, w, reinterpret_cast<UChar*>(row.data()), 16, COLORMODE_ARGBf);
      ConvertRow(row.data(), w, channels, reinterpret_cast<T*>(out), channels, scale);
    }
    return true;
  }
  catch (const std::bad_alloc&)
  {
    return false;
  }
}

/// The encoder's bytes go through this into the pending file, so that every write is checked:
/// some encoders don't look at what their writes return. A block given (the XMP packet of a JPEG)
/// is spliced in as the bytes stream past its place, so the file is written once.
class PendingProxy final : public OIIO::Filesystem::IOProxy
{
public:
  PendingProxy(const std::string& name, PendingFile& file, std::string block)
    : IOProxy(name, Write), file(file), block(std::move(block)), spliced(this->block.empty())
  {
  }
  const char* proxytype() const override { return "pending"; }
  size_t write(const void* buf, size_t count) override
  {
    if (!spliced)
      return Hold(buf, count);
    if (!file.WriteAt(buf, count, m_pos + shift))
      return 0;
    m_pos += static_cast<int64_t>(count);
    return count;
  }
  size_t pwrite(const void* buf, size_t count, int64_t offset) override
  {
    // Writers that go back (OpenEXR) get no block; JPEG streams.
    return spliced && file.WriteAt(buf, count, offset + shift) ? count : 0;
  }
  size_t read(void* buf, size_t count) override
  {
    const size_t n = pread(buf, count, m_pos);
    m_pos += static_cast<int64_t>(n);
    return n;
  }
  size_t pread(void* buf, size_t count, int64_t offset) override { return spliced ? file.ReadAt(buf, count, offset + shift) : 0; }
  size_t size() const override { return spliced ? static_cast<size_t>(file.Size() - shift) : head.size(); }
  /// Whether the block found its place: false for a file shorter than its own header.
  bool Spliced() const { return spliced; }

private:
  /// Keeps the first bytes until the block's place is known and reached, then writes them with it.
  size_t Hold(const void* buf, size_t count)
  {
    head.append(static_cast<const char*>(buf), count);
    m_pos += static_cast<int64_t>(count);
    const size_t at = Place();
    if (at == std::string::npos || head.size() < at)
      return count;
    head.insert(at, block);
    if (!file.WriteAt(head.data(), head.size(), 0))
      return 0;
    shift = static_cast<int64_t>(block.size());
    spliced = true;
    head.clear();
    return count;
  }
  /// After the JFIF segment, which stays first, else right after the start marker. Unknown until
  /// the first bytes are in.
  size_t Place() const
  {
    if (head.size() < 4)
      return std::string::npos;
    const auto byte = [&](size_t i) { return static_cast<size_t>(static_cast<unsigned char>(head[i])); };
    if (byte(2) != 0xff || byte(3) != 0xe0)
      return 2;
    return head.size() < 6 ? std::string::npos : 4 + (byte(4) << 8 | byte(5));
  }

  PendingFile& file;
  std::string block;
  bool spliced;
  std::string head;
  int64_t shift = 0;
};

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
  return ext == ".png" || ext == ".jpg" || ext == ".jpeg" || ext == ".tif" || ext == ".tiff" || ext == ".exr";
}

namespace
{
/// The value type a file of extension `ext` stores; false with a message for one this host can't write.
Bool FileType(const std::string& ext, Bool floatData, const std::string& path, OIIO::TypeDesc* type, std::string& err)
{
  if (ext == ".png" || ext == ".jpg" || ext == ".jpeg")
  {
    if (floatData)
    {
      err = path + ": " + (ext == ".png" ? "PNG" : "JPEG") + " holds 8 bits a channel; float data needs .exr or .tif";
      return false;
    }
    *type = OIIO::TypeDesc::UINT8;
  }
  else if (ext == ".tif" || ext == ".tiff")
    *type = floatData ? OIIO::TypeDesc::FLOAT : OIIO::TypeDesc::UINT16;
  else if (ext == ".exr")
    *type = OIIO::TypeDesc::FLOAT;
  else
  {
    err = path + ": unknown picture format \"" + ext + "\" (use .png, .jpg, .tif or .exr)";
    return false;
  }
  return true;
}

/// Every row of `views` (pictures of one size, side by side in each pixel) into the opened `out`
/// as values of `type`; false where memory or the writer fails.
Bool WriteRows(const std::vector<const BaseBitmap*>& views, pictures::Writer& out, OIIO::TypeDesc type, int channels,
               Int32 threads)
{
  // Strips of rows, converted to the file's type as they go, rows side by side: no second copy
  // of the whole picture in memory, and only the encoder's own work left on one thread.
  constexpr Int32 kStrip = 64;
  const Int32 w = views.front()->GetBw(), h = views.front()->GetBh();
  const int stride = channels * static_cast<int>(views.size());
  const size_t valueSize = type.size();
  const size_t rowValues = size_t(w) * size_t(stride);
  std::vector<unsigned char> strip;
  try
  {
    strip.resize(rowValues * valueSize * kStrip);
  }
  catch (const std::bad_alloc&)
  {
    return false;
  }
  Bool written = true;
  tbb::task_arena arena(threads > 0 ? threads : tbb::task_arena::automatic);
  for (Int32 y0 = 0; written && y0 < h; y0 += kStrip)
  {
    const Int32 y1 = std::min(h, y0 + kStrip);
    arena.execute([&] {
      tbb::parallel_for(tbb::blocked_range<Int32>(y0, y1, 8), [&](const tbb::blocked_range<Int32>& rows) {
        std::vector<float> row(size_t(w) * 4);
        for (Int32 y = rows.begin(); y < rows.end(); ++y)
          for (size_t v = 0; v < views.size(); ++v)
          {
            views[v]->GetPixelCnt(0, y, w, reinterpret_cast<UChar*>(row.data()), 16, COLORMODE_ARGBf);
            unsigned char* o = strip.data() + (size_t(y - y0) * rowValues + v * size_t(channels)) * valueSize;
            if (type == OIIO::TypeDesc::UINT8)
              ConvertRow(row.data(), w, channels, o, stride, 255.0f);
            else if (type == OIIO::TypeDesc::UINT16)
              ConvertRow(row.data(), w, channels, reinterpret_cast<std::uint16_t*>(o), stride, 65535.0f);
            else
              ConvertRow(row.data(), w, channels, reinterpret_cast<float*>(o), stride, 0.0f);
          }
      });
    });
    written = out.WriteRows(y0, y1, type, strip.data());
  }
  return written;
}

/// The XMP packet as its readers look for it: in a JPEG an APP1 segment, in a PNG an iTXt chunk.
/// Empty where there is no packet or the format keeps none; false for a packet too large.
Bool XmpBlock(const std::string& ext, const std::string& xmp, std::string& block)
{
  block.clear();
  const bool jpeg = ext == ".jpg" || ext == ".jpeg";
  if (xmp.empty() || (!jpeg && ext != ".png"))
    return true;
  if (jpeg)
  {
    const std::string body = std::string("http://ns.adobe.com/xap/1.0/", 29) + xmp;
    if (body.size() + 2 > 0xffff)
      return false;
    block = "\xff\xe1";
    png::PutBigEndian(block, static_cast<uint32_t>(body.size() + 2), 2);
    block += body;
    return true;
  }
  const std::string text = std::string("XML:com.adobe.xmp\0\0\0\0\0", 22) + xmp;
  block = png::Chunk("iTXt", text.data(), text.size());
  return true;
}

/// The channels of `views` named by the multi-view convention; one unnamed view is plain RGB(A).
std::vector<std::string> ChannelNames(const std::vector<std::string>& views, int channels)
{
  std::vector<std::string> names;
  for (size_t v = 0; v < std::max<size_t>(1, views.size()); ++v)
    for (int c = 0; c < channels; ++c)
      names.push_back((v == 0 ? std::string() : views[v] + ".") + "RGBA"[c]);
  return names;
}

/// `bmp` as a PNG into `sink`, rows converted and deflated on `threads` threads (0: every core).
/// Colours are stored straight, divided by alpha, as the format wants and OpenImageIO did.
Bool WritePng(const BaseBitmap& bmp, const std::string& chunks, Int32 threads, const png::Sink& sink, std::string& err)
{
  const Int32 w = bmp.GetBw();
  const int channels = bmp.HasAlpha() ? 4 : 3;
  const size_t rowBytes = size_t(w) * size_t(channels);
  const png::RowSource rows = [&](int y0, int y1, unsigned char* out) {
    if (!ConvertRows<unsigned char>(bmp, y0, y1, channels, 255.0f, out, rowBytes))
      return false;
    for (unsigned char* px = out; channels == 4 && px < out + rowBytes * size_t(y1 - y0); px += 4)
      for (int c = 0; c < 3 && px[3] != 0; ++c)
        px[c] = static_cast<unsigned char>(std::min(255u, px[c] * 255u / px[3]));
    return true;
  };
  // Fast deflate: most of the time of writing a PNG goes into it, and level 6 saves a third of
  // the bytes for three times the time at dome-master sizes.
  png::EncodeSettings settings;
  settings.level = 2;
  settings.filter = png::Filter::Up;
  settings.threads = threads;
  return png::Encode(w, bmp.GetBh(), channels, chunks, rows, sink, settings, err);
}

/// `bmp` as a TIFF through `write`: 16-bit values rounded as ConvertRow rounds them, or the floats
/// as they are, colours as the bitmap holds them (premultiplied, as the file's alpha says).
Bool WriteTiff(const BaseBitmap& bmp, Bool floatData, Int32 threads, const tiff::Writer& write, std::string& err)
{
  const Int32 w = bmp.GetBw();
  const int channels = bmp.HasAlpha() ? 4 : 3;
  const size_t rowBytes = size_t(w) * size_t(channels) * (floatData ? 4 : 2);
  const tiff::RowSource rows = [&](int y0, int y1, unsigned char* out) {
    return floatData ? ConvertRows<float>(bmp, y0, y1, channels, 0.0f, out, rowBytes)
                     : ConvertRows<std::uint16_t>(bmp, y0, y1, channels, 65535.0f, out, rowBytes);
  };
  // Level 4: 2-3 % larger than OpenImageIO's level 6 made them, in about half its time on one
  // thread; level 2 is faster again but 12-16 % larger.
  tiff::EncodeSettings settings;
  settings.level = 4;
  // The floats' bytes in planes pack renders 16-25 % smaller than the plain floats, in about the same time.
  settings.predictor = floatData ? tiff::Predictor::FloatingPoint : tiff::Predictor::Horizontal;
  settings.threads = threads;
  return tiff::Encode(w, bmp.GetBh(), channels, floatData ? tiff::Sample::Float32 : tiff::Sample::UInt16,
                      std::string("orlixcam ") + HOST_VERSION, rows, write, settings, err);
}

Bool Save(const std::vector<const BaseBitmap*>& bitmaps, const std::vector<std::string>& viewNames,
          const std::string& path, const SaveOptions& options, std::string& err)
{
  const std::string ext = Extension(path);
  OIIO::TypeDesc type;
  if (!FileType(ext, options.floatData, path, &type, err))
    return false;
  const Int32 w = bitmaps.front()->GetBw(), h = bitmaps.front()->GetBh();
  if (w <= 0 || h <= 0)
  {
    err = path + ": the picture is empty";
    return false;
  }
  const bool jpeg = ext == ".jpg" || ext == ".jpeg";
  const int channels = bitmaps.front()->HasAlpha() && !jpeg ? 4 : 3;
  std::string xmp;
  if (!XmpBlock(ext, options.xmp, xmp))
  {
    err = path + ": the XMP packet is too large for a JPEG segment";
    return false;
  }
  PendingFile file;
  if (!file.Open(path))
  {
    err = path + ": " + file.Problem();
    return false;
  }
  if (ext == ".png")
  {
    std::string why;
    const auto sink = [&](const void* data, size_t size) { return file.Write(data, size); };
    if (!WritePng(*bitmaps.front(), xmp, options.threads, sink, why) || !file.Commit())
    {
      err = path + ": " + (file.Problem().empty() ? "writing failed: " + why : file.Problem());
      return false;
    }
    return true;
  }
  if (ext == ".tif" || ext == ".tiff")
  {
    std::string why;
    const auto write = [&](const void* data, size_t size, uint64_t offset) {
      return file.WriteAt(data, size, static_cast<off_t>(offset));
    };
    if (!WriteTiff(*bitmaps.front(), options.floatData, options.threads, write, why) || !file.Commit())
    {
      err = path + ": " + (file.Problem().empty() ? "writing failed: " + why : file.Problem());
      return false;
    }
    return true;
  }
  const pictures::Library* library = pictures::Load(&err);
  if (!library)
  {
    err = path + ": " + err;
    return false;
  }
  PendingProxy proxy(path, file, std::move(xmp));
  pictures::Format format;
  format.width = w, format.height = h;
  format.type = ext == ".exr" && options.half ? OIIO::TypeDesc::HALF : type;
  format.channelNames = ChannelNames(viewNames, channels);
  format.alphaChannel = channels == 4 ? 3 : -1;
  format.attributes = options.attributes;
  if (ext == ".exr")
    format.attributes.attribute("compression", options.compression);
  if (viewNames.size() > 1)
  {
    std::vector<const char*> names;
    for (const std::string& n : viewNames)
      names.push_back(n.c_str());
    format.attributes.attribute("multiView", OIIO::TypeDesc(OIIO::TypeDesc::STRING, static_cast<int>(names.size())), names.data());
  }
  if (jpeg)
    format.attributes.attribute("compression", "jpeg:" + std::to_string(std::clamp(options.quality, 1, 100)));
  std::string why;
  std::unique_ptr<pictures::Writer> out = library->create(path, format, &proxy, why);
  if (!out)
  {
    err = path + ": cannot write: " + (file.Problem().empty() ? why : file.Problem());
    return false;
  }
  const Bool written = WriteRows(bitmaps, *out, type, channels, options.threads);
  const Bool closed = out->Close();
  if (!written || !closed || !proxy.Spliced() || !file.Commit())
  {
    const std::string encoder = out->Error();
    err = path + ": " + (file.Problem().empty() ? "writing failed: " + encoder : file.Problem());
    return false;
  }
  return true;
}
} // namespace

Bool EncodePng(const BaseBitmap& bmp, std::vector<unsigned char>& bytes, std::string* error)
{
  std::string ignored;
  std::string& err = error ? *error : ignored;
  bytes.clear();
  if (bmp.GetBw() <= 0 || bmp.GetBh() <= 0)
  {
    err = "the picture is empty";
    return false;
  }
  const auto sink = [&](const void* data, size_t size) {
    try
    {
      bytes.insert(bytes.end(), static_cast<const unsigned char*>(data), static_cast<const unsigned char*>(data) + size);
      return true;
    }
    catch (const std::bad_alloc&)
    {
      return false;
    }
  };
  std::string why;
  if (WritePng(bmp, "", 1, sink, why))
    return true;
  err = "encoding a PNG failed: " + why;
  return false;
}

Bool SaveBitmap(const BaseBitmap& bmp, const std::string& path, Bool floatData, std::string* error, Int32 threads)
{
  SaveOptions options;
  options.floatData = floatData;
  options.threads = threads;
  return SaveBitmap(bmp, path, options, error);
}

Bool SaveBitmap(const BaseBitmap& bmp, const std::string& path, const SaveOptions& options, std::string* error)
{
  std::string ignored;
  return Save({&bmp}, {}, path, options, error ? *error : ignored);
}

Bool SaveViews(const std::vector<std::pair<std::string, const BaseBitmap*>>& views, const std::string& path,
               const SaveOptions& options, std::string* error)
{
  std::string ignored;
  std::string& err = error ? *error : ignored;
  if (Extension(path) != ".exr")
  {
    err = path + ": only OpenEXR (.exr) holds several views in one file";
    return false;
  }
  std::vector<const BaseBitmap*> bitmaps;
  std::vector<std::string> names;
  for (const auto& [name, bmp] : views)
  {
    if (bmp->GetBw() != views.front().second->GetBw() || bmp->GetBh() != views.front().second->GetBh() ||
        bmp->HasAlpha() != views.front().second->HasAlpha())
    {
      err = path + ": the views differ in size";
      return false;
    }
    bitmaps.push_back(bmp);
    names.push_back(name);
  }
  if (bitmaps.empty())
  {
    err = path + ": no views to write";
    return false;
  }
  return Save(bitmaps, names, path, options, err);
}
} // namespace host
