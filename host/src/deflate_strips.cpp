// Strips of rows deflated in parallel, a band at a time, handed on in order.
#include "deflate_strips.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <new>

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>
#include <zlib.h>

namespace host::strips
{
bool Deflate(const unsigned char* in, size_t size, int level, Stream stream, std::vector<unsigned char>& out)
{
  z_stream z{};
  if (deflateInit2(&z, std::clamp(level, 1, 9), Z_DEFLATED, stream == Stream::Zlib ? 15 : -15, 8, Z_DEFAULT_STRATEGY) != Z_OK)
    return false;
  const bool last = stream != Stream::RawFlush;
  out.resize(deflateBound(&z, size) + 16);
  z.next_in = const_cast<Bytef*>(in);
  z.avail_in = static_cast<uInt>(size);
  z.next_out = out.data();
  z.avail_out = static_cast<uInt>(out.size());
  const int status = deflate(&z, last ? Z_FINISH : Z_SYNC_FLUSH);
  const bool ok = (last ? status == Z_STREAM_END : status == Z_OK) && z.avail_in == 0;
  out.resize(out.size() - z.avail_out);
  deflateEnd(&z);
  return ok;
}

int StripRows(size_t rowBytes, size_t stripBytes, int h)
{
  return static_cast<int>(std::clamp<size_t>(stripBytes / std::max<size_t>(rowBytes, 1), 1, static_cast<size_t>(h)));
}

bool Encode(int h, size_t rowBytes, int stripRows, int threads, const RowSource& rows, const Pack& pack, const Put& put,
            std::string& error)
{
  const int cores = threads > 0 ? threads : tbb::this_task_arena::max_concurrency();
  // A band of strips at a time: every thread busy, and memory bounded whatever the height.
  const int bandStrips = std::max(1, cores) * 2;
  const int strips = (h + stripRows - 1) / stripRows;
  tbb::task_arena arena(threads > 0 ? threads : tbb::task_arena::automatic);
  std::vector<unsigned char> raw, above(rowBytes, 0);
  std::vector<Strip> packed;
  try
  {
    raw.resize(rowBytes * static_cast<size_t>(stripRows) * static_cast<size_t>(bandStrips));
    packed.resize(static_cast<size_t>(bandStrips));
  }
  catch (const std::bad_alloc&)
  {
    error = "out of memory";
    return false;
  }
  for (int s0 = 0; s0 < strips; s0 += bandStrips)
  {
    const int s1 = std::min(strips, s0 + bandStrips), y0 = s0 * stripRows, y1 = std::min(h, s1 * stripRows);
    std::atomic<bool> ok{true};
    arena.execute([&] {
      tbb::parallel_for(tbb::blocked_range<int>(y0, y1, 16), [&](const tbb::blocked_range<int>& r) {
        if (!rows(r.begin(), r.end(), raw.data() + rowBytes * static_cast<size_t>(r.begin() - y0)))
          ok = false;
      });
      if (!ok)
        return;
      tbb::parallel_for(s0, s1, [&](int s) {
        const int a = s * stripRows, b = std::min(h, a + stripRows);
        const unsigned char* first = raw.data() + rowBytes * static_cast<size_t>(a - y0);
        try
        {
          if (!pack(s, b - a, first, a == y0 ? above.data() : first - rowBytes, packed[static_cast<size_t>(s - s0)]))
            ok = false;
        }
        catch (const std::bad_alloc&)
        {
          ok = false;
        }
      });
    });
    if (!ok)
    {
      error = "encoding failed (out of memory, or the picture's rows could not be had)";
      return false;
    }
    std::memcpy(above.data(), raw.data() + rowBytes * static_cast<size_t>(y1 - 1 - y0), rowBytes);
    for (int s = s0; s < s1; ++s)
      if (!put(s, packed[static_cast<size_t>(s - s0)]))
      {
        error = "writing failed";
        return false;
      }
  }
  return true;
}
} // namespace host::strips
