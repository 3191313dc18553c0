// The plug-in's lines on the host's console.
#include "console_log.h"

#include <cstdarg>
#include <cstdio>

#include "c4d.h"

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
