#include "render/render_limits.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
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

std::string FrameSizeProblem(Int64 width, Int64 height)
{
  const std::string size = std::to_string(width) + " x " + std::to_string(height);
  if (width < 1 || height < 1)
    return "a frame of " + size + " pixels: width and height must be at least 1";
  if (width > kMaxFrameSide || height > kMaxFrameSide)
    return "a frame of " + size + " pixels: at most " + std::to_string(kMaxFrameSide) + " pixels a side";
  if (width * height > kMaxFramePixels)
    return "a frame of " + size + " pixels is too large for memory (at most " + std::to_string(kMaxFramePixels) +
           " pixels)";
  return {};
}

namespace
{
constexpr double kUnlimited = std::numeric_limits<double>::infinity();

/// A number from the first line of `file` (cgroup files), or infinite for "max" or no file.
double ReadLimitFile(const char* file)
{
  std::ifstream in(file);
  std::string word;
  if (!(in >> word) || word == "max")
    return kUnlimited;
  char* end = nullptr;
  const double v = std::strtod(word.c_str(), &end);
  return end && *end == '\0' && v > 0.0 ? v : kUnlimited;
}

/// The "MemAvailable" line of /proc/meminfo in bytes; the physical memory where there is none.
double SystemAvailable()
{
  std::ifstream in("/proc/meminfo");
  std::string key, unit;
  double kib = 0.0;
  while (in >> key >> kib >> unit)
    if (key == "MemAvailable:")
      return kib * 1024.0;
  const long pages = sysconf(_SC_PHYS_PAGES), pageSize = sysconf(_SC_PAGE_SIZE);
  return pages > 0 && pageSize > 0 ? static_cast<double>(pages) * static_cast<double>(pageSize) : kUnlimited;
}

/// Address space left under RLIMIT_AS.
double AddressSpaceLeft()
{
  rlimit lim;
  if (getrlimit(RLIMIT_AS, &lim) != 0 || lim.rlim_cur == RLIM_INFINITY)
    return kUnlimited;
  std::ifstream in("/proc/self/statm");
  double pages = 0.0;
  in >> pages;
  const double used = pages * static_cast<double>(sysconf(_SC_PAGE_SIZE));
  return std::max(0.0, static_cast<double>(lim.rlim_cur) - used);
}

/// What the control group (v2, else v1) lets this process add to what it uses.
double GroupLeft()
{
  const double limit2 = ReadLimitFile("/sys/fs/cgroup/memory.max");
  if (limit2 != kUnlimited)
    return std::max(0.0, limit2 - std::min(limit2, ReadLimitFile("/sys/fs/cgroup/memory.current")));
  const double limit1 = ReadLimitFile("/sys/fs/cgroup/memory/memory.limit_in_bytes");
  // v1 writes a huge number for no limit.
  if (limit1 == kUnlimited || limit1 > 1e18)
    return kUnlimited;
  return std::max(0.0, limit1 - std::min(limit1, ReadLimitFile("/sys/fs/cgroup/memory/memory.usage_in_bytes")));
}
} // namespace

double AvailableMemory()
{
  return std::min({SystemAvailable(), AddressSpaceLeft(), GroupLeft()});
}

Bool CheckMemory(Int32 width, Int32 height, Int32 images, Bool keepImages, String* error)
{
  const double pixels = static_cast<double>(width) * height;
  // RGBA float buffer, the frame's bitmap with alpha, and with a merge each image and the result.
  const double bytes = pixels * (16.0 + 16.0 + (keepImages ? (images + 1.0) * 12.0 : 0.0));
  const double memory = AvailableMemory();
  if (bytes > memory)
  {
    *error = String("render size " + std::to_string(width) + " x " + std::to_string(height) + " with " +
                    std::to_string(images) + " image(s) per frame needs " +
                    std::to_string(std::llround(bytes / 1048576.0)) + " MiB, more than the " +
                    std::to_string(std::llround(memory / 1048576.0)) + " MiB this process can have");
    return false;
  }
  return true;
}
} // namespace host::render
