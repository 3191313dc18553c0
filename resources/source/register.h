// Plug-in start, registration and the console log.
#pragma once

/// Marks a development trace; a release build writes nothing.
template <typename... Args>
inline void LogDebug(const char* /*format*/, Args... /*args*/)
{
}
