// PNG writing with strips deflated in parallel, and reading with one inflate of the whole image.
#include "png_codec.h"

#include "deflate_strips.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include <libdeflate.h>
#include <zlib.h>

namespace host::png
{
namespace
{
constexpr unsigned char kSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
/// Rows of about this many bytes go into one deflate run: large enough that starting the run
/// afresh (no window from the strip before) costs well under a percent of the file.
constexpr size_t kStripBytes = 512 * 1024;

int ColourType(int channels)
{
  static constexpr int kTypes[] = {0, 4, 2, 6};
  return kTypes[channels - 1];
}

int Paeth(int a, int b, int c)
{
  const int p = a + b - c, pa = std::abs(p - a), pb = std::abs(p - b), pc = std::abs(p - c);
  return pa <= pb && pa <= pc ? a : pb <= pc ? b : c;
}

/// Row `raw` under filter `type` into `out` (its type byte first); `prev` is the row above, zeros
/// for the first.
void FilterRow(int type, const unsigned char* raw, const unsigned char* prev, size_t n, int bpp, unsigned char* out)
{
  *out++ = static_cast<unsigned char>(type);
  const size_t b = static_cast<size_t>(bpp);
  switch (type)
  {
  case 0:
    std::memcpy(out, raw, n);
    break;
  case 1:
    std::memcpy(out, raw, std::min(b, n));
    for (size_t i = b; i < n; ++i)
      out[i] = static_cast<unsigned char>(raw[i] - raw[i - b]);
    break;
  case 2:
    for (size_t i = 0; i < n; ++i)
      out[i] = static_cast<unsigned char>(raw[i] - prev[i]);
    break;
  case 3:
    for (size_t i = 0; i < n; ++i)
      out[i] = static_cast<unsigned char>(raw[i] - ((i < b ? 0 : raw[i - b]) + prev[i]) / 2);
    break;
  default:
    for (size_t i = 0; i < n; ++i)
      out[i] = static_cast<unsigned char>(raw[i] - Paeth(i < b ? 0 : raw[i - b], prev[i], i < b ? 0 : prev[i - b]));
  }
}

/// The filtered row whose bytes, read as signed, sum smallest in magnitude.
void FilterAdaptive(const unsigned char* raw, const unsigned char* prev, size_t n, int bpp, unsigned char* out,
                    unsigned char* scratch)
{
  size_t best = SIZE_MAX;
  for (int type = 0; type < 5; ++type)
  {
    unsigned char* at = type == 0 ? out : scratch;
    FilterRow(type, raw, prev, n, bpp, at);
    size_t sum = 0;
    for (size_t i = 1; i <= n; ++i)
      sum += static_cast<size_t>(std::abs(static_cast<int>(static_cast<signed char>(at[i]))));
    if (sum < best)
    {
      best = sum;
      if (at != out)
        std::memcpy(out, at, n + 1);
    }
  }
}

} // namespace

void PutBigEndian(std::string& out, uint32_t value, int bytes)
{
  for (int i = bytes - 1; i >= 0; --i)
    out.push_back(static_cast<char>(value >> (8 * i) & 0xffu));
}

std::string Chunk(const char type[4], const void* data, size_t size)
{
  std::string chunk;
  chunk.reserve(size + 12);
  PutBigEndian(chunk, static_cast<uint32_t>(size), 4);
  chunk.append(type, 4);
  chunk.append(static_cast<const char*>(data), size);
  const auto* body = reinterpret_cast<const Bytef*>(chunk.data() + 4);
  PutBigEndian(chunk, static_cast<uint32_t>(crc32(crc32(0, nullptr, 0), body, static_cast<uInt>(size + 4))), 4);
  return chunk;
}

bool Encode(int w, int h, int channels, const std::string& chunks, const RowSource& rows, const Sink& sink,
            const EncodeSettings& settings, std::string& error)
{
  if (w <= 0 || h <= 0 || channels < 1 || channels > 4 || static_cast<uint64_t>(w) * channels > 0x7fffffffu)
  {
    error = "a PNG can't hold a picture of that size";
    return false;
  }
  std::string head(reinterpret_cast<const char*>(kSignature), 8);
  std::string ihdr;
  PutBigEndian(ihdr, static_cast<uint32_t>(w), 4);
  PutBigEndian(ihdr, static_cast<uint32_t>(h), 4);
  ihdr += std::string{8, static_cast<char>(ColourType(channels)), 0, 0, 0};
  head += Chunk("IHDR", ihdr.data(), ihdr.size()) + chunks;
  if (!sink(head.data(), head.size()))
  {
    error = "writing failed";
    return false;
  }

  const size_t rowBytes = static_cast<size_t>(w) * static_cast<size_t>(channels);
  const int stripRows = strips::StripRows(rowBytes + 1, kStripBytes, h);
  const int last = (h + stripRows - 1) / stripRows - 1;
  const auto pack = [&](int s, int count, const unsigned char* raw, const unsigned char* above, strips::Strip& strip) {
    std::vector<unsigned char> filtered((rowBytes + 1) * static_cast<size_t>(count)), scratch(rowBytes + 1);
    for (int y = 0; y < count; ++y)
    {
      const unsigned char* row = raw + rowBytes * static_cast<size_t>(y);
      unsigned char* out = filtered.data() + (rowBytes + 1) * static_cast<size_t>(y);
      if (settings.filter == Filter::Adaptive)
        FilterAdaptive(row, y == 0 ? above : row - rowBytes, rowBytes, channels, out, scratch.data());
      else
        FilterRow(static_cast<int>(settings.filter), row, y == 0 ? above : row - rowBytes, rowBytes, channels, out);
    }
    // Each strip a raw run ended by a sync flush (the last by the stream's end), joined under one header.
    strip.check = static_cast<uint32_t>(adler32(adler32(0, nullptr, 0), filtered.data(), static_cast<uInt>(filtered.size())));
    strip.rawSize = filtered.size();
    return strips::Deflate(filtered.data(), filtered.size(), settings.level, s == last ? strips::Stream::RawEnd : strips::Stream::RawFlush,
                           strip.bytes);
  };
  uLong adler = adler32(0, nullptr, 0);
  const auto put = [&](int s, const strips::Strip& strip) {
    adler = adler32_combine(adler, strip.check, static_cast<z_off_t>(strip.rawSize));
    std::string data;
    if (s == 0) // the zlib header: deflate with a 32 KiB window, a fast level
      data = std::string{0x78, 0x5e};
    data.append(reinterpret_cast<const char*>(strip.bytes.data()), strip.bytes.size());
    if (s == last)
      PutBigEndian(data, static_cast<uint32_t>(adler), 4);
    const std::string chunk = Chunk("IDAT", data.data(), data.size());
    return sink(chunk.data(), chunk.size());
  };
  if (!strips::Encode(h, rowBytes, stripRows, settings.threads, rows, pack, put, error))
    return false;
  const std::string end = Chunk("IEND", nullptr, 0);
  if (!sink(end.data(), end.size()))
  {
    error = "writing failed";
    return false;
  }
  return true;
}

namespace
{
uint32_t BigEndian(const unsigned char* p)
{
  return uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | p[3];
}

/// Undoes the filters of `rows` (each its type byte and n bytes) into `out`, n bytes a row.
bool Unfilter(const unsigned char* rows, int h, size_t n, int bpp, unsigned char* out)
{
  const size_t b = static_cast<size_t>(bpp);
  const std::vector<unsigned char> zeros(n, 0);
  for (int y = 0; y < h; ++y, rows += n + 1, out += n)
  {
    const unsigned char* in = rows + 1;
    const unsigned char* prev = y == 0 ? zeros.data() : out - n;
    switch (rows[0])
    {
    case 0:
      std::memcpy(out, in, n);
      break;
    case 1:
      std::memcpy(out, in, std::min(b, n));
      for (size_t i = b; i < n; ++i)
        out[i] = static_cast<unsigned char>(in[i] + out[i - b]);
      break;
    case 2:
      for (size_t i = 0; i < n; ++i)
        out[i] = static_cast<unsigned char>(in[i] + prev[i]);
      break;
    case 3:
      for (size_t i = 0; i < n; ++i)
        out[i] = static_cast<unsigned char>(in[i] + ((i < b ? 0 : out[i - b]) + prev[i]) / 2);
      break;
    case 4:
      for (size_t i = 0; i < b && i < n; ++i)
        out[i] = static_cast<unsigned char>(in[i] + prev[i]);
      for (size_t i = b; i < n; ++i)
        out[i] = static_cast<unsigned char>(in[i] + Paeth(out[i - b], prev[i], prev[i - b]));
      break;
    default:
      return false;
    }
  }
  return true;
}
} // namespace

Reader::Result Reader::Open(const std::string& path)
{
  file = std::fopen(path.c_str(), "rb");
  if (!file)
    return Fail("cannot be opened");
  unsigned char head[33];
  if (std::fread(head, 1, sizeof head, file) != sizeof head || std::memcmp(head, kSignature, 8) != 0)
    return Result::Other;
  const uint32_t crc = static_cast<uint32_t>(crc32(crc32(0, nullptr, 0), head + 12, 17));
  if (BigEndian(head + 8) != 13 || std::memcmp(head + 12, "IHDR", 4) != 0 || BigEndian(head + 29) != crc)
    return Fail("a broken PNG header");
  const uint32_t w = BigEndian(head + 16), h = BigEndian(head + 20);
  const int bits = head[24], type = head[25];
  if (w == 0 || h == 0 || w > 0x7fffffffu || h > 0x7fffffffu || head[26] != 0 || head[27] != 0 || head[28] > 1)
    return Fail("a broken PNG header");
  width = static_cast<int>(w), height = static_cast<int>(h), depth = bits;
  channels = type == 0 ? 1 : type == 4 ? 2 : type == 2 ? 3 : type == 6 ? 4 : 0;
  // Palettes, fewer than 8 bits and interlacing are rare in pictures of this kind.
  bool other = channels == 0 || (bits != 8 && bits != 16) || head[28] != 0;
  // The chunks' places, not their data: the size a file claims is checked before anything is read.
  bool colourSpace = false;
  for (long at = sizeof head;;)
  {
    unsigned char chunk[8];
    if (std::fseek(file, at, SEEK_SET) != 0 || std::fread(chunk, 1, 8, file) != 8)
      return Fail("the PNG file is cut short");
    const uint32_t size = BigEndian(chunk);
    const char* name = reinterpret_cast<const char*>(chunk + 4);
    if (size > 0x7fffffffu)
      return Fail("a broken PNG chunk");
    if (!std::memcmp(name, "IEND", 4))
      break;
    if (!std::memcmp(name, "IDAT", 4))
      idat.push_back({at + 8, size});
    else if ((chunk[4] & 0x20) == 0 || !std::memcmp(name, "tRNS", 4))
      other = true; // a palette, a chunk that may not be skipped, or a transparent colour
    colourSpace = colourSpace || !std::memcmp(name, "gAMA", 4) || !std::memcmp(name, "sRGB", 4) || !std::memcmp(name, "iCCP", 4);
    at += 12 + static_cast<long>(size);
  }
  if (idat.empty())
    return Fail("a PNG without pixels");
  // Colours multiplied by alpha through a gamma curve are left to the library that knows the curve.
  return other || (colourSpace && channels % 2 == 0) ? Result::Other : Result::Ok;
}

Reader::Result Reader::Inflate(std::vector<unsigned char>& rows)
{
  std::vector<unsigned char> packed;
  size_t total = 0;
  for (const auto& [at, size] : idat)
    total += size;
  packed.resize(total);
  unsigned char* to = packed.data();
  for (const auto& [at, size] : idat)
  {
    unsigned char crc[4];
    if (std::fseek(file, at, SEEK_SET) != 0 || std::fread(to, 1, size, file) != size || std::fread(crc, 1, 4, file) != 4)
      return Fail("the PNG file is cut short");
    const uLong sum = crc32(crc32(crc32(0, nullptr, 0), reinterpret_cast<const Bytef*>("IDAT"), 4), to, static_cast<uInt>(size));
    if (static_cast<uint32_t>(sum) != BigEndian(crc))
      return Fail("a PNG chunk whose checksum is wrong");
    to += size;
  }
  const size_t n = static_cast<size_t>(width) * static_cast<size_t>(channels) * static_cast<size_t>(depth / 8);
  rows.resize((n + 1) * static_cast<size_t>(height));
  std::unique_ptr<libdeflate_decompressor, void (*)(libdeflate_decompressor*)> inflater(libdeflate_alloc_decompressor(),
                                                                                        libdeflate_free_decompressor);
  if (!inflater)
    throw std::bad_alloc();
  const libdeflate_result result =
    libdeflate_zlib_decompress(inflater.get(), packed.data(), packed.size(), rows.data(), rows.size(), nullptr);
  if (result != LIBDEFLATE_SUCCESS)
    return Fail(result == LIBDEFLATE_BAD_DATA ? "the PNG's compressed pixels are broken" : "the PNG holds the wrong number of pixels");
  return Result::Ok;
}

Reader::Result Reader::Read(unsigned char* out)
{
  if (depth != 8)
    return Fail("not an 8-bit PNG");
  std::vector<unsigned char> rows;
  if (const Result r = Inflate(rows); r != Result::Ok)
    return r;
  const size_t n = static_cast<size_t>(width) * static_cast<size_t>(channels);
  if (!Unfilter(rows.data(), height, n, channels, out))
    return Fail("a PNG row with an unknown filter");
  if (channels % 2 == 0)
    for (size_t p = 0, count = n * static_cast<size_t>(height); p < count; p += static_cast<size_t>(channels))
    {
      const unsigned a = out[p + static_cast<size_t>(channels) - 1];
      for (int c = 0; c < channels - 1; ++c)
        out[p + static_cast<size_t>(c)] = static_cast<unsigned char>(out[p + static_cast<size_t>(c)] * a / 255u);
    }
  return Result::Ok;
}

Reader::Result Reader::Read(float* out)
{
  if (depth != 16)
    return Fail("not a 16-bit PNG");
  std::vector<unsigned char> rows;
  if (const Result r = Inflate(rows); r != Result::Ok)
    return r;
  const size_t n = static_cast<size_t>(width) * static_cast<size_t>(channels) * 2u;
  std::vector<unsigned char> values(n * static_cast<size_t>(height));
  if (!Unfilter(rows.data(), height, n, channels * 2, values.data()))
    return Fail("a PNG row with an unknown filter");
  rows = std::vector<unsigned char>();
  const size_t count = values.size() / 2, step = static_cast<size_t>(channels);
  for (size_t p = 0; p < count; p += step)
  {
    const unsigned a = channels % 2 == 0 ? (values[2 * (p + step - 1)] << 8 | values[2 * (p + step - 1) + 1]) : 65535u;
    for (size_t c = 0; c < step; ++c)
    {
      unsigned v = values[2 * (p + c)] << 8 | values[2 * (p + c) + 1];
      if (c + 1 < step || channels % 2 != 0)
        v = v * a / 65535u;
      out[p + c] = static_cast<float>(v) * (1.0f / 65535.0f);
    }
  }
  return Result::Ok;
}
} // namespace host::png
