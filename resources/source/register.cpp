// Plug-in start and registration, the console log and the text helpers of the slate.
#include "register.h"

#include <cmath>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <limits>
#include <new>

#include "c4d_resource.h"

GeResource g_resource;

namespace
{
Int32 initCount = 0;
Filename* pluginPath = nullptr;
const C4DHostTable* hostTable = nullptr;

constexpr Int32 kMinimumApiVersion = 21000;
constexpr Int32 kStartPriority = -1000000;

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

Int32 PluginInitCount()
{
  return initCount;
}

const Filename* PluginFilePath()
{
  return pluginPath;
}

Int32 c4d_main(Int32 action, void* p1, void* p2, void* p3)
{
  switch (action)
  {
    case C4DPL_INIT_SYS:
    {
      if (++initCount != 1)
        return 1;
      hostTable = static_cast<const C4DHostTable*>(p1);
      if (!hostTable || hostTable->apiVersion < kMinimumApiVersion || !p3)
        return -3;
      pluginPath = new (std::nothrow) Filename(*static_cast<const Filename*>(p3));
      return 1;
    }
    case C4DPL_INIT:
      return PluginStart() ? 1 : 0;
    case C4DPL_END:
    {
      if (--initCount != 0)
        return 1;
      PluginEnd();
      g_resource.Free();
      delete pluginPath;
      pluginPath = nullptr;
      hostTable = nullptr;
      return 1;
    }
    case C4DPL_INIT_VERSION:
      return 5;
    case C4DPL_MESSAGE:
      return PluginMessage(static_cast<Int32>(reinterpret_cast<std::intptr_t>(p1)), p2) ? 1 : -1;
    default:
      return -1;
  }
}

Bool PluginMessage(Int32 id, void* data)
{
  switch (id)
  {
    case C4DPL_INIT_PRIORITY:
      if (data)
        *static_cast<Int32*>(data) = kStartPriority;
      return true;
    case C4DPL_STARTACTIVITY_RES:
      return g_resource.Init(GeGetPluginPath() + Filename("res"));
    default:
      return false;
  }
}

Bool PluginStart()
{
  // The first registration that fails stops the chain; what stands stays registered.
  using Registration = Bool (*)();
  const Registration chain[] = {RegisterOrlixCamVP, RegisterOrlixTag};
  for (Registration reg : chain)
    if (!reg())
      return false;
  return true;
}

void PluginEnd()
{
}

void LogConsole(const char* format, ...)
{
  char prefixed[1024];
  std::snprintf(prefixed, sizeof(prefixed), "--- OrlixCam: %s", format);

  char line[1024];
  va_list args;
  va_start(args, format);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  const int written = std::vsnprintf(line, sizeof(line), prefixed, args);
#pragma GCC diagnostic pop
  va_end(args);
  if (written < 0 || written >= 1023)
    line[1023] = '\0';
  GePrint(String(line));
}

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

Int32 TruncateToInt32(Float v)
{
  return ToInt32(TruncateSafe(v));
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
