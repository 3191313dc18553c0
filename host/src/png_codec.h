// PNG files written and read without a library between us and zlib: the writer deflates strips
// of rows on several threads at once (one stream, joined as parallel gzip tools join theirs), the
// reader inflates the whole image in one call. Both are several times faster than going through
// libpng (docs/performance.md, "Picture encoding and decoding").
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "file_reader.h"

namespace host::png
{
/// Appends `value` as `bytes` bytes, most significant first, as PNG and JPEG store their lengths.
void PutBigEndian(std::string& out, uint32_t value, int bytes);
/// A whole chunk: length, type, data and the CRC over type and data.
std::string Chunk(const char type[4], const void* data, size_t size);

/// The filter each row gets before it is deflated.
enum class Filter
{
  None,
  Sub,
  Up,
  Paeth,
  Adaptive ///< per row, the one of the five whose bytes sum smallest, as libpng chooses
};

struct EncodeSettings
{
  int level = 2;             ///< zlib's level, 1 (fast) to 9 (small)
  Filter filter = Filter::Up;
  int threads = 0;           ///< 0: every core
};

/// Puts rows [y0, y1) into `out` as 8-bit values, channels interleaved, w * channels bytes a row.
/// Called from several threads at once, for rows that don't overlap; false stops the writing.
using RowSource = std::function<bool(int y0, int y1, unsigned char* out)>;
/// Takes the file's bytes in order; false stops the writing.
using Sink = std::function<bool(const void* data, size_t size)>;

/// An 8-bit PNG of w × h pixels with 1 (grey), 2 (grey, alpha), 3 (RGB) or 4 (RGBA) channels.
/// `chunks` (whole chunks) go right after the header chunk. False with `error` set.
bool Encode(int w, int h, int channels, const std::string& chunks, const RowSource& rows, const Sink& sink,
            const EncodeSettings& settings, std::string& error);

/// A PNG file being read. Other for a file that is no PNG, or a kind left to others (palettes,
/// fewer than 8 bits, interlacing, a transparency key, alpha with a colour space).
class Reader final : public FileReader
{
public:
  Result Open(const std::string& path) override;
  Result Read(unsigned char* out) override;
  Result Read(float* out) override;

private:
  Result Inflate(std::vector<unsigned char>& rows);

  std::vector<std::pair<long, uint32_t>> idat; ///< where each chunk of pixels starts, and its size
};
} // namespace host::png
