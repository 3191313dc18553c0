// The render's progress line.
#include "progress_line.h"

#include <cmath>
#include <algorithm>
#include <cstdio>

namespace cli
{
namespace
{
std::string Duration(double seconds)
{
  const long s = std::lround(seconds);
  char text[32];
  if (s >= 3600)
    std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", s / 3600, s / 60 % 60, s % 60);
  else
    std::snprintf(text, sizeof text, "%ld:%02ld", s / 60, s % 60);
  return text;
}
} // namespace

ProgressLine::ProgressLine(Int32 frameCount, double rays) : frames(frameCount > 0 ? frameCount : 1), raysPerFrame(rays) {}

std::string ProgressLine::Text(Float done, Int32 frame, Int32 frameIndex, Int32 frames, double raysPerFrame, double seconds)
{
  char text[160];
  const int n = std::snprintf(text, sizeof text, "frame %d (%d of %d)  %3d%%", frame, frameIndex + 1, frames,
                              static_cast<int>(done * 100.0));
  std::string line(text, n > 0 ? static_cast<size_t>(n) : 0u);
  // Too early for a rate that means anything: the first half second only says where it is.
  if (seconds < 0.5 || done <= 0.0)
    return line;
  const double rate = done * frames * raysPerFrame / seconds;
  std::snprintf(text, sizeof text, "  %.1f M rays/s  %s left", rate / 1e6, Duration(seconds * (1.0 - done) / done).c_str());
  return line + text;
}

void ProgressLine::Show(Float done, Int32 frame, Int32 index)
{
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  const std::string line = Text(done, frame, std::min(index, frames - 1), frames, raysPerFrame, seconds);
  // Spaces over what a longer line before left behind.
  std::fprintf(stderr, "\r%s%*s", line.c_str(), static_cast<int>(shown > line.size() ? shown - line.size() : 0), "");
  std::fflush(stderr);
  shown = line.size();
}

void ProgressLine::End()
{
  std::fprintf(stderr, "\r%*s\r", static_cast<int>(shown), "");
  std::fflush(stderr);
}
} // namespace cli
