// TIFF strips read with one libdeflate call each.
#include "tiff_reader.h"
#include "tiff_tags.h"

#include <algorithm>
#include <cstring>
#include <map>

#include <libdeflate.h>

namespace host::tiff
{
namespace
{
constexpr uint32_t kMaxEntries = 4096;
} // namespace

uint32_t Reader::Value(const unsigned char* p, int bytes) const
{
  uint32_t v = 0;
  for (int i = 0; i < bytes; ++i)
    v |= static_cast<uint32_t>(p[bigEndian ? bytes - 1 - i : i]) << (8 * i);
  return v;
}

Reader::Result Reader::Open(const std::string& path)
{
  file = std::fopen(path.c_str(), "rb");
  if (!file)
    return Fail("cannot be opened");
  unsigned char head[8];
  if (std::fread(head, 1, 8, file) != 8 || !((head[0] == 'I' && head[1] == 'I') || (head[0] == 'M' && head[1] == 'M')))
    return Result::Other;
  bigEndian = head[0] == 'M';
  if (Value(head + 2, 2) != 42) // 43 is BigTIFF, which goes to OpenImageIO
    return Result::Other;
  unsigned char countBytes[2];
  if (std::fseek(file, static_cast<long>(Value(head + 4, 4)), SEEK_SET) != 0 || std::fread(countBytes, 1, 2, file) != 2)
    return Fail("the TIFF directory is missing");
  const uint32_t entries = Value(countBytes, 2);
  if (entries == 0 || entries > kMaxEntries)
    return Fail("a broken TIFF directory");
  std::vector<unsigned char> dir(entries * 12u);
  if (std::fread(dir.data(), 1, dir.size(), file) != dir.size())
    return Fail("the TIFF file is cut short");

  // Each tag's values as numbers; only short and long ones matter here.
  std::map<uint16_t, std::vector<uint32_t>> tags;
  for (uint32_t e = 0; e < entries; ++e)
  {
    const unsigned char* entry = &dir[e * 12u];
    const uint16_t tag = static_cast<uint16_t>(Value(entry, 2)), type = static_cast<uint16_t>(Value(entry + 2, 2));
    const uint32_t count = Value(entry + 4, 4);
    const int size = type == 3 ? 2 : type == 4 ? 4 : 0;
    if (size == 0 || count == 0)
    {
      tags[tag];
      continue;
    }
    if (count > (1u << 24))
      return Fail("a broken TIFF directory");
    std::vector<unsigned char> raw(static_cast<size_t>(count) * static_cast<size_t>(size));
    if (raw.size() <= 4)
      std::memcpy(raw.data(), entry + 8, raw.size());
    else if (std::fseek(file, static_cast<long>(Value(entry + 8, 4)), SEEK_SET) != 0 ||
             std::fread(raw.data(), 1, raw.size(), file) != raw.size())
      return Fail("the TIFF file is cut short");
    std::vector<uint32_t>& values = tags[tag];
    for (uint32_t i = 0; i < count; ++i)
      values.push_back(Value(&raw[static_cast<size_t>(i) * static_cast<size_t>(size)], size));
  }
  const auto one = [&](Tag tag, uint32_t fallback) {
    const auto it = tags.find(tag);
    return it == tags.end() || it->second.empty() ? fallback : it->second.front();
  };
  const auto has = [&](Tag tag) { return tags.count(tag) > 0; };

  const uint32_t w = one(kWidth, 0), h = one(kHeight, 0), samples = one(kSamplesPerPixel, 1);
  if (w == 0 || h == 0 || w > 0x7fffffffu || h > 0x7fffffffu || !has(kStripOffsets) || !has(kStripByteCounts))
    return has(kTileWidth) ? Result::Other : Fail("a broken TIFF directory");
  width = static_cast<int>(w), height = static_cast<int>(h);
  channels = static_cast<int>(samples);
  depth = static_cast<int>(one(kBitsPerSample, 1));
  compression = static_cast<int>(one(kCompression, 1));
  predictor = static_cast<int>(one(kPredictor, 1));
  const uint32_t photometric = one(kPhotometric, 99), extra = one(kExtraSamples, 0);
  const std::vector<uint32_t>& bits = tags[kBitsPerSample];
  // The kinds read here; an alpha must be stored premultiplied (extra sample 1), which is what
  // OpenImageIO hands out as it is.
  const bool plain = (depth == 8 || depth == 16) && std::all_of(bits.begin(), bits.end(), [&](uint32_t b) { return b == bits.front(); }) &&
                     (compression == 1 || compression == 8 || compression == 32946) && (predictor == 1 || predictor == 2) &&
                     one(kPlanarConfig, 1) == 1 && one(kSampleFormat, 1) == 1 && !has(kTileWidth) &&
                     ((photometric == 1 && (channels == 1 || (channels == 2 && extra == 1))) ||
                      (photometric == 2 && (channels == 3 || (channels == 4 && extra == 1))));
  if (!plain)
    return Result::Other;
  rowsPerStrip = std::min(one(kRowsPerStrip, h), h);
  offsets = tags[kStripOffsets];
  counts = tags[kStripByteCounts];
  const size_t strips = (h + rowsPerStrip - 1) / rowsPerStrip;
  if (rowsPerStrip == 0 || offsets.size() != strips || counts.size() != strips)
    return Fail("a broken TIFF directory: its strips don't cover the picture");
  return Result::Ok;
}

Reader::Result Reader::Strip(size_t s, std::vector<unsigned char>& rows)
{
  const size_t rowBytes = static_cast<size_t>(width) * static_cast<size_t>(channels) * static_cast<size_t>(depth / 8);
  const size_t count = std::min<size_t>(rowsPerStrip, static_cast<size_t>(height) - s * rowsPerStrip);
  rows.resize(rowBytes * count);
  std::vector<unsigned char> packed(counts[s]);
  if (std::fseek(file, static_cast<long>(offsets[s]), SEEK_SET) != 0 || std::fread(packed.data(), 1, packed.size(), file) != packed.size())
    return Fail("the TIFF file is cut short");
  if (compression == 1)
  {
    if (packed.size() < rows.size())
      return Fail("a TIFF strip is cut short");
    std::memcpy(rows.data(), packed.data(), rows.size());
  }
  else
  {
    libdeflate_decompressor* d = libdeflate_alloc_decompressor();
    size_t got = 0;
    const libdeflate_result r = d ? libdeflate_zlib_decompress(d, packed.data(), packed.size(), rows.data(), rows.size(), &got)
                                  : LIBDEFLATE_INSUFFICIENT_SPACE;
    libdeflate_free_decompressor(d);
    if (r != LIBDEFLATE_SUCCESS || got != rows.size())
      return Fail("a TIFF strip's compressed data is broken");
  }
  if (predictor == 2)
    for (size_t y = 0; y < count; ++y)
    {
      unsigned char* row = &rows[y * rowBytes];
      const size_t n = static_cast<size_t>(width) * static_cast<size_t>(channels), c = static_cast<size_t>(channels);
      if (depth == 8)
        for (size_t i = c; i < n; ++i)
          row[i] = static_cast<unsigned char>(row[i] + row[i - c]);
      else
        for (size_t i = c; i < n; ++i)
        {
          const uint32_t sum = Value(row + 2 * i, 2) + Value(row + 2 * (i - c), 2);
          const int lo = bigEndian ? 1 : 0;
          row[2 * i + lo] = static_cast<unsigned char>(sum & 0xffu);
          row[2 * i + 1 - lo] = static_cast<unsigned char>(sum >> 8 & 0xffu);
        }
    }
  return Result::Ok;
}

Reader::Result Reader::Read(unsigned char* out)
{
  std::vector<unsigned char> rows;
  for (size_t s = 0; s < offsets.size(); ++s)
  {
    if (Strip(s, rows) != Result::Ok)
      return Result::Failed;
    out = std::copy(rows.begin(), rows.end(), out);
  }
  return Result::Ok;
}

Reader::Result Reader::Read(float* out)
{
  std::vector<unsigned char> rows;
  for (size_t s = 0; s < offsets.size(); ++s)
  {
    if (Strip(s, rows) != Result::Ok)
      return Result::Failed;
    for (size_t i = 0; i + 1 < rows.size(); i += 2)
      *out++ = static_cast<float>(Value(&rows[i], 2)) * (1.0f / 65535.0f);
  }
  return Result::Ok;
}
} // namespace host::tiff
