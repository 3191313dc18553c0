// TIFF files written without a library between us and zlib: the strips of a TIFF are compressed
// independently by design, so they are deflated on every thread at once (docs/performance.md,
// "Picture encoding and decoding").
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace host::tiff
{
/// The type of the values the file stores.
enum class Sample
{
  UInt16,
  Float32,
};

/// How the values of a row are turned before they are deflated, by the format's numbers.
enum class Predictor
{
  None = 1,
  Horizontal = 2,    ///< each value less the one of the pixel before; integers only
  FloatingPoint = 3, ///< the values' bytes in planes, most significant first, then each less the one before
};

struct EncodeSettings
{
  int level = 4; ///< zlib's level, 1 (fast) to 9 (small)
  Predictor predictor = Predictor::Horizontal;
  int threads = 0; ///< 0: every core
};

/// Puts rows [y0, y1) into `out` as values of the sample type as they lie in memory, channels
/// interleaved. Called from several threads at once, for rows that don't overlap; false stops.
using RowSource = std::function<bool(int y0, int y1, unsigned char* out)>;
/// Writes `size` bytes at `offset` of the file; false stops the writing. The strips come in
/// order; the header, at offset 0, comes last.
using Writer = std::function<bool(const void* data, size_t size, uint64_t offset)>;

/// A little-endian TIFF of one w × h picture: RGB (3 channels) or RGB and associated alpha (4),
/// channels interleaved, Deflate-compressed strips, the picture's rows top to bottom; BigTIFF
/// where the file would pass 4 GiB. `software` names the writer in the file. False with `error`.
bool Encode(int w, int h, int channels, Sample sample, const std::string& software, const RowSource& rows,
            const Writer& write, const EncodeSettings& settings, std::string& error);
} // namespace host::tiff
