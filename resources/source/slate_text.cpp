// The slate's text: frame numbers, date and time, timecodes and lines.
#include "slate_text.h"

#include <cmath>
#include <cstdio>
#include <ctime>
#include <limits>

namespace
{
// Truncation toward zero that stays defined for NaN and far-out values.
Int64 TruncateSafe(Float v)
{
  if (!(v == v))
    return 0;
  if (v >= 9.2e18)
    return std::numeric_limits<Int64>::max();
  if (v <= -9.2e18)
    return std::numeric_limits<Int64>::min();
  return static_cast<Int64>(v);
}
Int32 ToInt32(Int64 v)
{
  if (v > std::numeric_limits<Int32>::max())
    return std::numeric_limits<Int32>::max();
  if (v < std::numeric_limits<Int32>::min())
    return std::numeric_limits<Int32>::min();
  return static_cast<Int32>(v);
}
} // namespace

std::string FormatFrameNumber(Int32 frame)
{
  char text[32];
  std::snprintf(text, sizeof(text), "%06d", frame);
  return text;
}

std::string FormatDateTime()
{
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  char text[64];
  std::snprintf(text, sizeof(text), "%02d/%02d/%04d %02d:%02d:%02d", local.tm_mday, local.tm_mon + 1, local.tm_year + 1900,
                local.tm_hour, local.tm_min, local.tm_sec);
  return text;
}

std::string FormatTimecode(const BaseTime& time, Float fps)
{
  const Float num = time.GetNumerator();
  const Float den = time.GetDenominator();
  const Int32 s = ToInt32(TruncateSafe(num / den));
  const Int32 minutes = s / 60;
  const Int32 sec = s - minutes * 60;
  const Int32 frames = ToInt32(TruncateSafe(static_cast<Float>(TruncateSafe(std::floor(num * fps) / std::floor(den))) - s * fps));
  char text[64];
  std::snprintf(text, sizeof(text), "%03d:%02d.%02d", minutes, sec, frames);
  return text;
}

std::vector<String> SplitLines(const String& text)
{
  std::vector<String> lines;
  const String feed("\n");
  Int32 start = 0;
  Int32 pos = 0;
  while (text.FindFirst(feed, &pos, start))
  {
    lines.push_back(text.SubStr(start, pos - start));
    start = pos + 1;
  }
  lines.push_back(text.SubStr(start, text.GetLength() - start));
  return lines;
}
