#include "render/render_limits.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

namespace host::render
{
Bool ReadSize(const BaseContainer& settings, Int32& width, Int32& height, String* error)
{
  const Float w = settings.GetFloat(RDATA_XRES), h = settings.GetFloat(RDATA_YRES);
  if (!(w >= 1.0 && h >= 1.0))
  {
    *error = String("render size " + std::to_string(std::lround(std::isfinite(w) ? w : 0.0)) + " x " +
                    std::to_string(std::lround(std::isfinite(h) ? h : 0.0)) +
                    ": width and height must be at least 1 pixel");
    return false;
  }
  if (w > kMaxSide || h > kMaxSide)
  {
    *error = String("render size " + std::to_string(static_cast<long long>(std::min(w, 1e18))) + " x " +
                    std::to_string(static_cast<long long>(std::min(h, 1e18))) + ": at most " +
                    std::to_string(kMaxSide) + " pixels a side");
    return false;
  }
  width = static_cast<Int32>(w);
  height = static_cast<Int32>(h);
  return true;
}

namespace
{
/// Bytes of memory the machine has; infinite where the system doesn't say.
double PhysicalMemory()
{
  const long pages = sysconf(_SC_PHYS_PAGES), pageSize = sysconf(_SC_PAGE_SIZE);
  return pages > 0 && pageSize > 0 ? static_cast<double>(pages) * static_cast<double>(pageSize)
                                   : std::numeric_limits<double>::infinity();
}
} // namespace

Bool CheckMemory(Int32 width, Int32 height, Int32 images, Bool keepImages, String* error)
{
  const double pixels = static_cast<double>(width) * height;
  // RGBA float buffer, the frame's bitmap with alpha, and with a merge each image and the result.
  const double bytes = pixels * (16.0 + 16.0 + (keepImages ? (images + 1.0) * 12.0 : 0.0));
  const double memory = PhysicalMemory();
  if (bytes > memory)
  {
    *error = String("render size " + std::to_string(width) + " x " + std::to_string(height) + " with " +
                    std::to_string(images) + " image(s) per frame needs " +
                    std::to_string(std::llround(bytes / 1048576.0)) + " MiB, more than the machine's " +
                    std::to_string(std::llround(memory / 1048576.0)) + " MiB");
    return false;
  }
  return true;
}
} // namespace host::render
