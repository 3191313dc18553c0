// Pictures deflated in strips of rows on several threads at once, a band of strips in memory at a
// time, the strips handed on in order: what the PNG and TIFF writers share.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace host::strips
{
/// What one deflate call makes of its input.
enum class Stream
{
  Zlib,     ///< a whole zlib stream: header, data, Adler-32
  RawFlush, ///< a raw run ending on a byte boundary (a sync flush), to be followed by more
  RawEnd,   ///< a raw run that ends the stream
};

/// `size` bytes from `in` deflated at zlib's `level` into `out`; false where zlib fails.
bool Deflate(const unsigned char* in, size_t size, int level, Stream stream, std::vector<unsigned char>& out);

/// One strip's compressed bytes, with what its writer needs to join it to the others.
struct Strip
{
  std::vector<unsigned char> bytes;
  uint32_t check = 0;  ///< a writer's own checksum of the strip's data, where it needs one
  size_t rawSize = 0;  ///< bytes before compression
};

/// Puts rows [y0, y1) into `out`, `rowBytes` a row. Called from several threads at once, for rows
/// that don't overlap; false stops the writing.
using RowSource = std::function<bool(int y0, int y1, unsigned char* out)>;
/// Compresses strip `index` of `rows` rows at `raw` into `strip`; `above` is the row before the
/// strip's first (zeros for the picture's first). Called from several threads at once.
using Pack = std::function<bool(int index, int rows, const unsigned char* raw, const unsigned char* above, Strip& strip)>;
/// Takes the strips one after another, in order, on the calling thread.
using Put = std::function<bool(int index, const Strip& strip)>;

/// The rows per strip that make strips of about `stripBytes`, at least 1 and at most `h`.
int StripRows(size_t rowBytes, size_t stripBytes, int h);

/// Runs a picture of `h` rows through `rows`, `pack` and `put`, strips of `stripRows` rows, on
/// `threads` threads (0: every core). The strips don't depend on the number of threads. False with
/// `error` set.
bool Encode(int h, size_t rowBytes, int stripRows, int threads, const RowSource& rows, const Pack& pack, const Put& put,
            std::string& error);
} // namespace host::strips
