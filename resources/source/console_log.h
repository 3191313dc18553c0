// The plug-in's lines on the host's console.
#pragma once

/// One line on the host's console, prefixed "--- OrlixCam: ", at most 1023 characters.
void LogConsole(const char* format, ...) __attribute__((format(printf, 1, 2)));
